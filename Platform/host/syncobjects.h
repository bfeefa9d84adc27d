// Events, semaphores and mutexes.
#pragma once

#include "Platform/host/thread.h"

#include <string>

namespace plat {

class Event final : public Waitable {
public:
    static constexpr Kind kKind = Kind::Event;
    Event(bool manual, bool set) : Waitable(kKind), m_manual(manual), m_set(set) {}
    void Set();
    void Reset();
    void Pulse();

private:
    Taken Take(Thread& self) override;
    const bool m_manual;
    bool m_set;
};

class Semaphore final : public Waitable {
public:
    static constexpr Kind kKind = Kind::Semaphore;
    Semaphore(LONG count, LONG maximum) : Waitable(kKind), m_count(count), m_maximum(maximum) {}
    bool Release(LONG add, LONG& previous);

private:
    Taken Take(Thread& self) override;
    LONG m_count;
    const LONG m_maximum;
};

// The part of a named mutex that all processes on a device folder see: a small file with one lock for "some process holds
// the mutex" and one for "some process has a handle". The system gives both up with the process that has them.
class MutexFile {
public:
    // Null when the file can't be had. `existed`: another process has a handle. A fresh one is held at once on demand;
    // TryHold then succeeds.
    static std::unique_ptr<MutexFile> Open(const std::u16string& name, bool hold, bool& existed);
    ~MutexFile();
    MutexFile(const MutexFile&) = delete;
    MutexFile& operator=(const MutexFile&) = delete;

    // Abandoned when the last holder died with it.
    Taken TryHold();
    // `abandoned`: the next holder, of whatever process, is told.
    void LetGo(bool abandoned);

private:
    explicit MutexFile(int file) : m_file(file) {}
    int m_file;
};

class Mutex final : public Waitable, public std::enable_shared_from_this<Mutex> {
public:
    static constexpr Kind kKind = Kind::Mutex;
    explicit Mutex(std::unique_ptr<MutexFile> shared) : Waitable(kKind), m_shared(std::move(shared)) {}
    // False when the calling thread does not own it.
    bool Release(Thread& self);
    // The owner has ended: the next one to take it is told.
    void Abandon(DWORD owner);
    unsigned PollMilliseconds() const override { return m_shared ? kPollMilliseconds : 0; }

private:
    // How soon a waiter sees that another process has let go.
    static constexpr unsigned kPollMilliseconds = 5;

    Taken Take(Thread& self) override;
    void LetGo(bool abandoned); // under m_lock

    const std::unique_ptr<MutexFile> m_shared; // of a named one
    DWORD m_owner = 0;
    DWORD m_depth = 0;
    bool m_abandoned = false; // of an unnamed one; a named one has it in its file
};

} // namespace plat
