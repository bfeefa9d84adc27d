// A recursive lock of one process. Any thread may leave it, also one that is not inside: what a terminated thread held
// is put right that way. Leaving a free one does nothing.
#pragma once

#include "Platform/threads.h"
#include "Platform/types.h"

class CeCriticalSection {
public:
    CeCriticalSection() { InitializeCriticalSection(&m_cs); }
    ~CeCriticalSection() { DeleteCriticalSection(&m_cs); }
    CeCriticalSection(const CeCriticalSection&) = delete;
    CeCriticalSection& operator=(const CeCriticalSection&) = delete;

    void Lock() { EnterCriticalSection(&m_cs); }
    void Leave() { LeaveCriticalSection(&m_cs); }
    bool TryLock() { return TryEnterCriticalSection(&m_cs) != FALSE; }

    // A copy of the bytes, to look at: it is not the lock.
    operator CRITICAL_SECTION() const { return m_cs; }

private:
    CRITICAL_SECTION m_cs;
};

// Holds a section for a scope, in which the thread is not ended from outside.
class CeSectionLock {
public:
    explicit CeSectionLock(CeCriticalSection& section) : m_section(section) { m_section.Lock(); }
    ~CeSectionLock() { m_section.Leave(); }
    CeSectionLock(const CeSectionLock&) = delete;
    CeSectionLock& operator=(const CeSectionLock&) = delete;

private:
    PlatUnended m_unended; // made before the lock is taken, gone after it is left
    CeCriticalSection& m_section;
};
