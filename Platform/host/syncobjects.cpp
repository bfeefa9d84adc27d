#include "Platform/host/syncobjects.h"
#include "Platform/host/faults.h"
#include "Platform/threads.h"

#include <algorithm>
#include <map>
#include <utility>

namespace plat {

// --- What waits share ---------------------------------------------------------------------------------------------

void Waitable::Join(Entry& entry) {
    std::lock_guard lock(m_lock);
    m_waiters.push_back(&entry);
}

void Waitable::Leave(Entry& entry) {
    std::lock_guard lock(m_lock);
    std::erase(m_waiters, &entry);
}

void Waitable::WakeWaiters() {
    for (Entry* entry : m_waiters) entry->waker->Wake();
}

// --- Events -------------------------------------------------------------------------------------------------------

void Event::Set() {
    std::lock_guard lock(m_lock);
    m_set = true;
    WakeWaiters();
}

void Event::Reset() {
    std::lock_guard lock(m_lock);
    m_set = false;
}

void Event::Pulse() {
    std::lock_guard lock(m_lock);
    m_set = false;
    for (Entry* entry : m_waiters) {
        if (entry->granted) continue;
        entry->granted = true;
        entry->waker->Wake();
        if (!m_manual) break;
    }
}

Taken Event::Take(Thread&) {
    if (!m_set) return Taken::No;
    m_set = m_manual;
    return Taken::Yes;
}

// --- Semaphores ---------------------------------------------------------------------------------------------------

bool Semaphore::Release(LONG add, LONG& previous) {
    std::lock_guard lock(m_lock);
    if (add > m_maximum - m_count) return false;
    previous = m_count;
    m_count += add;
    WakeWaiters();
    return true;
}

Taken Semaphore::Take(Thread&) {
    if (m_count == 0) return Taken::No;
    --m_count;
    return Taken::Yes;
}

// --- Mutexes ------------------------------------------------------------------------------------------------------

Taken Mutex::Take(Thread& self) {
    if (m_owner == self.threadId) {
        ++m_depth;
        return Taken::Yes;
    }
    if (m_owner != 0) return Taken::No;
    const Taken shared = m_shared ? m_shared->TryHold() : Taken::Yes;
    if (shared == Taken::No) return Taken::No;
    m_owner = self.threadId;
    m_depth = 1;
    self.OwnMutex(shared_from_this());
    const bool abandoned = std::exchange(m_abandoned, false) || shared == Taken::Abandoned;
    return abandoned ? Taken::Abandoned : Taken::Yes;
}

void Mutex::LetGo(bool abandoned) {
    m_owner = 0;
    m_depth = 0;
    m_abandoned = abandoned && !m_shared;
    if (m_shared) m_shared->LetGo(abandoned);
    WakeWaiters();
}

bool Mutex::Release(Thread& self) {
    std::lock_guard lock(m_lock);
    if (m_owner != self.threadId) return false;
    if (--m_depth > 0) return true;
    self.DisownMutex(this);
    LetGo(false);
    return true;
}

void Mutex::Abandon(DWORD owner) {
    std::lock_guard lock(m_lock);
    if (m_owner != owner) return;
    LetGo(true);
}

namespace {

// --- Names --------------------------------------------------------------------------------------------------------

// Named objects of this process, as long as anybody holds them.
struct Names {
    std::mutex lock;
    std::map<std::u16string, std::weak_ptr<KernelObject>> objects;
};
Names& TheNames() {
    static Names& names = *new Names;
    return names;
}

// The object of that name, else a new one of `make(existed)`. A handle on it, or null and the error.
template<class T, class F>
HANDLE OpenNamed(LPCWSTR name, F make) {
    bool existed = false;
    std::shared_ptr<KernelObject> object;
    if (!name || !*name) {
        object = make(existed);
    } else {
        Names& names = TheNames();
        std::lock_guard lock(names.lock);
        std::erase_if(names.objects, [](const auto& entry) { return entry.second.expired(); });
        auto& known = names.objects[name];
        object = known.lock();
        existed = object != nullptr;
        if (!object) known = object = make(existed);
    }
    if (object && object->ObjectKind() != T::kKind) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    const HANDLE handle = object ? AddHandle(std::move(object)) : nullptr;
    SetLastError(!handle ? ERROR_NOT_ENOUGH_MEMORY : existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

template<class T>
std::shared_ptr<T> ObjectOf(HANDLE handle) {
    auto object = FindObject<T>(handle);
    if (!object) SetLastError(ERROR_INVALID_HANDLE);
    return object;
}

} // namespace
} // namespace plat

// --- Operations ---------------------------------------------------------------------------------------------------

HANDLE CreateEventW(const SECURITY_ATTRIBUTES*, BOOL manualReset, BOOL initialState, LPCWSTR name) {
    plat::HostCall call;
    if (plat::FaultStrikes(PlatFault::EventCreate)) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    return plat::OpenNamed<plat::Event>(
        name, [&](bool&) { return std::make_shared<plat::Event>(manualReset != 0, initialState != 0); });
}

BOOL EventModify(HANDLE handle, DWORD action) {
    plat::HostCall call;
    const auto event = plat::ObjectOf<plat::Event>(handle);
    if (!event) return FALSE;
    switch (action) {
    case EVENT_PULSE:
        event->Pulse();
        return TRUE;
    case EVENT_RESET:
        event->Reset();
        return TRUE;
    case EVENT_SET:
        event->Set();
        return TRUE;
    default:
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
}

HANDLE CreateSemaphoreW(const SECURITY_ATTRIBUTES*, LONG initialCount, LONG maximumCount, LPCWSTR name) {
    plat::HostCall call;
    if (maximumCount < 1 || initialCount < 0 || initialCount > maximumCount) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return plat::OpenNamed<plat::Semaphore>(
        name, [&](bool&) { return std::make_shared<plat::Semaphore>(initialCount, maximumCount); });
}

BOOL ReleaseSemaphore(HANDLE handle, LONG add, LONG* previous) {
    plat::HostCall call;
    const auto semaphore = plat::ObjectOf<plat::Semaphore>(handle);
    if (!semaphore) return FALSE;
    LONG before = 0;
    if (add < 1 || !semaphore->Release(add, before)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    if (previous) *previous = before;
    return TRUE;
}

HANDLE CreateMutexW(const SECURITY_ATTRIBUTES*, BOOL initialOwner, LPCWSTR name) {
    plat::HostCall call;
    plat::Thread& self = plat::CurrentThread();
    return plat::OpenNamed<plat::Mutex>(name, [&](bool& existed) {
        const bool named = name && *name;
        auto file = named ? plat::MutexFile::Open(name, initialOwner != 0, existed) : nullptr;
        auto mutex = named && !file ? nullptr : std::make_shared<plat::Mutex>(std::move(file));
        if (mutex && initialOwner && !existed) mutex->TryTake(self);
        return mutex;
    });
}

BOOL ReleaseMutex(HANDLE handle) {
    plat::HostCall call;
    const auto mutex = plat::ObjectOf<plat::Mutex>(handle);
    if (!mutex) return FALSE;
    if (mutex->Release(plat::CurrentThread())) return TRUE;
    SetLastError(ERROR_NOT_OWNER);
    return FALSE;
}
