#include "Platform/host/handles.h"
#include "Platform/host/call.h"
#include "Platform/host/slots.h"
#include "Platform/host/thread.h"
#include "Platform/threads.h"

#include <mutex>

namespace plat {
namespace {

struct Table {
    std::mutex lock;
    SlotTable<std::shared_ptr<KernelObject>> handles;
};

// Never destroyed: handles are used and closed by static objects of every kind.
Table& TheTable() {
    static Table& table = *new Table;
    return table;
}

// GetCurrentThread; far below every number of the table.
const HANDLE kCurrentThread = reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(65));

} // namespace

HANDLE AddHandle(std::shared_ptr<KernelObject> object) {
    NoKill section;
    KernelObject& counted = *object;
    Table& table = TheTable();
    std::lock_guard lock(table.lock);
    const std::uint32_t number = table.handles.Add(std::move(object));
    if (number) counted.m_handles.fetch_add(1, std::memory_order_relaxed);
    return HandleOf<HANDLE>(number);
}

std::shared_ptr<KernelObject> FindHandle(HANDLE handle) {
    NoKill section;
    if (handle == kCurrentThread) return CurrentThreadObject();
    Table& table = TheTable();
    std::lock_guard lock(table.lock);
    auto* object = table.handles.Find(NumberOf(handle));
    return object ? *object : nullptr;
}

bool RemoveHandle(HANDLE handle) {
    NoKill section;
    std::shared_ptr<KernelObject> object;
    {
        Table& table = TheTable();
        std::lock_guard lock(table.lock);
        auto removed = table.handles.Remove(NumberOf(handle));
        if (!removed) return false;
        object = std::move(*removed);
    }
    object->m_closed.fetch_add(1, std::memory_order_acq_rel);
    // Outside of the lock: an object may close other handles at its end.
    if (object->m_handles.fetch_sub(1, std::memory_order_acq_rel) == 1) object->OnLastClose();
    return true;
}

std::shared_ptr<Waitable> FindWaitable(HANDLE handle) {
    auto object = FindHandle(handle);
    if (!object) return nullptr;
    switch (object->ObjectKind()) {
    case Kind::Thread:
    case Kind::Event:
    case Kind::Semaphore:
    case Kind::Mutex:
        return std::static_pointer_cast<Waitable>(std::move(object));
    default:
        return std::dynamic_pointer_cast<Waitable>(std::move(object));
    }
}

} // namespace plat

BOOL CloseHandle(HANDLE handle) {
    plat::HostCall call;
    if (handle == plat::kCurrentThread || plat::RemoveHandle(handle)) return TRUE;
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

BOOL DuplicateHandle(HANDLE, HANDLE source, HANDLE, HANDLE* target, DWORD, BOOL, DWORD options) {
    plat::HostCall call;
    if (!target) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *target = nullptr;
    auto object = plat::FindHandle(source);
    if (!object) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    *target = plat::AddHandle(std::move(object));
    if (!*target) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
    if (options & DUPLICATE_CLOSE_SOURCE) plat::RemoveHandle(source);
    return TRUE;
}

HANDLE GetCurrentThread() { return plat::kCurrentThread; }
