// The one table of kernel handles: threads, events, files, sessions, databases, streams. A handle is a small number
// with a generation part (below 2^31, never 0 or -1), so that a stale one is simply not found.
#pragma once

#include "Platform/types.h"

#include <atomic>
#include <memory>

namespace plat {

enum class Kind : BYTE {
    Thread,
    Event,
    Semaphore,
    Mutex,
    File,
    Find,
    Session,
    Database,
    Stream,
    Heap,
    Process,
    Port
};

class KernelObject {
public:
    explicit KernelObject(Kind kind) : m_kind(kind) {}
    virtual ~KernelObject() = default;
    KernelObject(const KernelObject&) = delete;
    KernelObject& operator=(const KernelObject&) = delete;
    Kind ObjectKind() const { return m_kind; }
    // The last handle on the object has been closed; others may still hold the object itself.
    virtual void OnLastClose() {}
    // Changes with every handle on the object that is closed: who remembers a handle has to look it up again.
    DWORD ClosedHandles() const { return m_closed.load(std::memory_order_acquire); }

private:
    friend HANDLE AddHandle(std::shared_ptr<KernelObject> object);
    friend bool RemoveHandle(HANDLE handle);

    const Kind m_kind;
    std::atomic<int> m_handles{0}; // open on it
    std::atomic<DWORD> m_closed{0};
};

// Null when the table is full.
HANDLE AddHandle(std::shared_ptr<KernelObject> object);
std::shared_ptr<KernelObject> FindHandle(HANDLE handle);
// Takes the handle out of the table; false (and nothing else) when it is not there. CloseHandle sets error 6.
bool RemoveHandle(HANDLE handle);

// The object behind a handle of one kind; null otherwise. T has `static constexpr Kind kKind`.
template<class T>
std::shared_ptr<T> FindObject(HANDLE handle) {
    auto object = FindHandle(handle);
    if (!object || object->ObjectKind() != T::kKind) return nullptr;
    return std::static_pointer_cast<T>(std::move(object));
}

} // namespace plat
