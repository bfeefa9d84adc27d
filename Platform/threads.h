// Threads, waits, synchronisation objects, the error of the last call, and the guard against crashes.
//
// Every operation may be called on any thread. Handles belong to whoever was given them and go back through
// CloseHandle; an object lives on while a handle or a wait needs it. Every operation is a checkpoint: a thread ended or
// suspended by another is held there. Time-outs are milliseconds of real time, whatever clock is set.
#pragma once

#include "Platform/types.h"

#include <memory>
#include <type_traits>

#pragma GCC visibility push(default)

// --- Handles ------------------------------------------------------------------------------------------------------

// Gives a handle of any kind back. False with error 6 when it is none (any more). Closing the handle of a thread does
// not end it; closing what another thread waits for does not end that wait.
BOOL CloseHandle(HANDLE handle);
inline constexpr DWORD DUPLICATE_CLOSE_SOURCE = 1;
inline constexpr DWORD DUPLICATE_SAME_ACCESS = 2;
// A second handle on the same object. The processes, the access and the inheritance are not looked at: handles live in
// one process. False with error 6 (no such handle) or 87 (no place for the result).
BOOL DuplicateHandle(HANDLE sourceProcess, HANDLE source, HANDLE targetProcess, HANDLE* target, DWORD access,
                     BOOL inherit, DWORD options);

// --- Threads ------------------------------------------------------------------------------------------------------

using LPTHREAD_START_ROUTINE = DWORD (*)(void* parameter);
inline constexpr DWORD CREATE_SUSPENDED = 4;
inline constexpr DWORD STILL_ACTIVE = 259;
inline constexpr int THREAD_PRIORITY_TIME_CRITICAL = 0;
inline constexpr int THREAD_PRIORITY_NORMAL = 3;
inline constexpr int THREAD_PRIORITY_IDLE = 7;
inline constexpr int THREAD_PRIORITY_ERROR_RETURN = 0x7FFFFFFF;

// Starts a thread; null on failure, with error 8 or 87. `stackSize` 0 takes the system's; less than the host needs is
// raised. With CREATE_SUSPENDED the routine starts at the first ResumeThread. `threadId` may be null.
HANDLE CreateThread(const SECURITY_ATTRIBUTES* security, DWORD stackSize, LPTHREAD_START_ROUTINE start,
                    void* parameter, DWORD flags, DWORD* threadId);
// Ends the calling thread as if its routine had returned `code`. A mutex that it owns is abandoned, its windows and its
// queue go. The frames on its stack are dropped without running destructors, as on the device; only those of a thread
// that CreateThread did not make are left one by one.
[[noreturn]] void ExitThread(DWORD code);
// Ends another thread from outside. It never runs code of this library again: it is held at its next checkpoint, or
// where it stands in this library's own code; no destructor runs, and critical sections that it holds stay held. Windows,
// queue and mutexes are treated as by ExitThread, and the handle is signalled with `code`. False with error 6, or 5 for a
// thread that was not made by CreateThread. A thread that has ended keeps its code.
//
// What code must know that may be terminated: a lock that others need, and the first run of a function-local static,
// belong into a section in which a thread is not ended, which every operation of this platform is.
BOOL TerminateThread(HANDLE thread, DWORD code);
// Both return the suspend count from before the call, 0xFFFFFFFF on failure. Another thread is held from its next
// checkpoint on, the calling one in the call. A resume at 0 is lost.
DWORD SuspendThread(HANDLE thread);
DWORD ResumeThread(HANDLE thread);
// 0 highest to 7 lowest, 3 normal. The number is kept and given back; the host schedules all threads alike.
BOOL SetThreadPriority(HANDLE thread, int priority);
int GetThreadPriority(HANDLE thread);
// STILL_ACTIVE while it runs.
BOOL GetExitCodeThread(HANDLE thread, DWORD* code);
// Never 0, never given twice in a process.
DWORD GetCurrentThreadId();
// A number that means the calling thread in every call; DuplicateHandle makes a real handle of it.
HANDLE GetCurrentThread();
// 0 gives the rest of the time slice away; INFINITE sleeps until the thread is ended.
void Sleep(DWORD milliseconds);

inline constexpr DWORD TLS_MINIMUM_AVAILABLE = 64;
inline constexpr DWORD TLS_OUT_OF_INDEXES = 0xFFFFFFFF;
// A slot with one pointer a thread, null at first. TlsGetValue sets error 0 on success, 87 for a slot not allocated.
DWORD TlsAlloc();
BOOL TlsFree(DWORD slot);
void* TlsGetValue(DWORD slot);
BOOL TlsSetValue(DWORD slot, void* value);

// --- Waits --------------------------------------------------------------------------------------------------------

inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;
inline constexpr DWORD QS_ALLINPUT = 127;

// Waits until the object is signalled and takes what there is to take: an auto-reset event is reset, a semaphore counted
// down, a mutex owned. WAIT_OBJECT_0; WAIT_ABANDONED for a mutex, now owned, whose owner ended without releasing it;
// WAIT_TIMEOUT; WAIT_FAILED with error 6.
DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds);
// The same for any of `count` objects (0 to 63), or a message: WAIT_OBJECT_0 + index of the object, + `count` when a
// posted message or timer waits in the calling thread's queue. Messages sent by other threads are served inside.
// `wakeMask` 0 leaves the queue out; other values mean all kinds. Waiting for all objects (flag 1) is not supported:
// WAIT_FAILED with error 87.
DWORD MsgWaitForMultipleObjectsEx(DWORD count, const HANDLE* handles, DWORD milliseconds, DWORD wakeMask,
                                  DWORD flags);

// --- Events, semaphores, mutexes ----------------------------------------------------------------------------------

inline constexpr DWORD EVENT_PULSE = 1;
inline constexpr DWORD EVENT_RESET = 2;
inline constexpr DWORD EVENT_SET = 3;

// Null with error 8 or 6 (the name is that of another kind). A named event is one object in this process; the last error
// is 183 when it was there already, else 0.
HANDLE CreateEventW(const SECURITY_ATTRIBUTES* security, BOOL manualReset, BOOL initialState, LPCWSTR name);
// One of the three actions above; a pulse releases those that wait now (one of them, for an auto-reset event).
BOOL EventModify(HANDLE event, DWORD action);
inline BOOL SetEvent(HANDLE event) { return EventModify(event, EVENT_SET); }
inline BOOL ResetEvent(HANDLE event) { return EventModify(event, EVENT_RESET); }
inline BOOL PulseEvent(HANDLE event) { return EventModify(event, EVENT_PULSE); }

HANDLE CreateSemaphoreW(const SECURITY_ATTRIBUTES* security, LONG initialCount, LONG maximumCount,
                        LPCWSTR name);
// False, and nothing added, when the count would pass the maximum (error 87). `previous` may be null.
BOOL ReleaseSemaphore(HANDLE semaphore, LONG add, LONG* previous);

// A mutex owned by a thread, which may take it several times. A named one holds between all processes on one device
// folder; when its owner dies, the next waiter gets it. Last error 0 on a fresh one, 183 on an existing one, which the
// caller then does not own whatever `initialOwner` says. The name exists while any process has a handle on it.
HANDLE CreateMutexW(const SECURITY_ATTRIBUTES* security, BOOL initialOwner, LPCWSTR name);
// False with error 288 when the calling thread does not own it.
BOOL ReleaseMutex(HANDLE mutex);

// --- Critical sections --------------------------------------------------------------------------------------------

// A recursive lock inside a process, plain data: a copy of the bytes is a lock in the same state. Odd, and relied upon:
// any thread may leave it, which lowers the depth, so that what a terminated thread held can be put right; leaving a free
// one does nothing.
struct CRITICAL_SECTION {
    DWORD owner; // thread id, 0 when free
    DWORD depth;
    DWORD word; // 0 free, 1 held, 2 held and waited for
};
void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
BOOL TryEnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);

// Both return the new value.
LONG InterlockedIncrement(LONG* value);
LONG InterlockedDecrement(LONG* value);

// --- Errors and debug output --------------------------------------------------------------------------------------

DWORD GetLastError();
void SetLastError(DWORD error);

inline constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;
// The system's text of an error code, in English whatever the language asked for, without a line end. With
// ALLOCATE_BUFFER `buffer` is the address of a pointer, which gets a block for LocalFree. Returns the number of
// characters without the terminator; 0 with error 317 for a code without text, 122 for a buffer too small.
DWORD FormatMessageW(DWORD flags, const void* source, DWORD messageId, DWORD languageId, LPWSTR buffer,
                     DWORD size, void* arguments);
// To standard error while QN_DEBUG is set in the environment; null is nothing.
void OutputDebugStringW(LPCWSTR text);

// --- Sections that must finish ------------------------------------------------------------------------------------

// A section in which the calling thread is not ended by TerminateThread: it holds a lock that others need, and nobody
// could leave it in its place. Sections nest. Keep them short and wait for no other thread inside.
class PlatUnended {
public:
    PlatUnended();
    ~PlatUnended();
    PlatUnended(const PlatUnended&) = delete;
    PlatUnended& operator=(const PlatUnended&) = delete;

private:
    void* m_thread; // the host's record of the thread; null on one that can't be ended
};

// --- Guard against crashes ----------------------------------------------------------------------------------------

// Calls `body(context)`. False when it threw, or made a processor fault (bad address, bad instruction, arithmetic): then
// frames between the guard and the fault are dropped without running destructors. Guards nest.
bool GuardedCall(void (*body)(void* context), void* context);

#pragma GCC visibility pop

// The same for anything callable: GuardedCall([&] { ... }).
template<class F>
bool GuardedCall(F&& body) {
    using Body = std::remove_reference_t<F>;
    return GuardedCall([](void* context) { (*static_cast<Body*>(context))(); },
                       const_cast<void*>(static_cast<const void*>(std::addressof(body))));
}
