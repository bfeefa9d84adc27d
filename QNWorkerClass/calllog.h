// The calls of the past that the device's telephone keeps, read through the entries of "phone.dll".
//
// An object belongs to one thread.
#pragma once

#include "Platform/modules.h"
#include "Platform/phone.h"
#include "Platform/types.h"

// Bits of CALLLOGENTRY::dwFlags; a call with neither was missed.
inline constexpr DWORD kCallOutgoing = 1;
inline constexpr DWORD kCallAnswered = 2;

// An entry that owns its texts.
struct QN_API CCallLogEntry : CALLLOGENTRY {
    CCallLogEntry() : CALLLOGENTRY{} { cbSize = kCallLogEntrySize; }
    ~CCallLogEntry() { NullData(); }
    CCallLogEntry(const CCallLogEntry&) = delete;
    CCallLogEntry& operator=(const CCallLogEntry&) = delete;

    void NullData();       // frees the texts
    DWORD Seconds() const; // how long it lasted
};

class QN_API CCallLog {
public:
    // Opens the log; without a telephone, or one that keeps no log, there are no entries.
    CCallLog();
    ~CCallLog();
    CCallLog(const CCallLog&) = delete;
    CCallLog& operator=(const CCallLog&) = delete;

    // The next entry, latest first. False behind the last.
    bool Next(CCallLogEntry& entry);

private:
    HINSTANCE m_hPhone;
    PhoneGetCallLogEntryProc m_pfnNext = nullptr;
    PhoneCloseCallLogProc m_pfnClose = nullptr;
    HANDLE m_hLog = nullptr;
};
