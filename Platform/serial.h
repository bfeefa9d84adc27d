// Serial ports. CreateFileW opens one by its device name, "COM1:" or "BTC1:" (case-blind, one digit); ReadFile, WriteFile
// and CloseHandle of Platform/files.h and Platform/threads.h serve its handle.
//
// This host has none by itself: without a provider opening fails with error 55. CreateFileW never makes a file of such a
// name.
// Any thread may call. What is not a port's handle gives FALSE with error 6, a null pointer 87.
#pragma once

#include "Platform/types.h"

#include <memory>

#pragma GCC visibility push(default)

struct OVERLAPPED;                               // never used: always null
inline constexpr DWORD ERROR_DEV_NOT_EXIST = 55; // no such port

struct DCB {
    DWORD DCBlength; // 28
    DWORD BaudRate;
    // Bits: 0 binary, 1 parity check, 2 and 3 CTS and DSR flow, 4 and 5 DTR, 12 and 13 RTS (1 is on).
    DWORD dwControl;
    WORD wReserved;
    WORD XonLim;
    WORD XoffLim;
    BYTE ByteSize;
    BYTE Parity;   // 0 none
    BYTE StopBits; // 0 one
    char XonChar;
    char XoffChar;
    char ErrorChar;
    char EofChar;
    char EvtChar;
    WORD wReserved1;
};
static_assert(sizeof(DCB) == 28);

// Milliseconds.
struct COMMTIMEOUTS {
    DWORD ReadIntervalTimeout;
    DWORD ReadTotalTimeoutMultiplier;
    DWORD ReadTotalTimeoutConstant;
    DWORD WriteTotalTimeoutMultiplier;
    DWORD WriteTotalTimeoutConstant;
};

BOOL GetCommState(HANDLE port, DCB* state);
BOOL SetCommState(HANDLE port, const DCB* state);
BOOL SetCommTimeouts(HANDLE port, const COMMTIMEOUTS* timeouts);

inline constexpr DWORD SETRTS = 3;
inline constexpr DWORD CLRRTS = 4;
inline constexpr DWORD SETDTR = 5;
inline constexpr DWORD CLRDTR = 6;
BOOL EscapeCommFunction(HANDLE port, DWORD function);

inline constexpr DWORD MS_CTS_ON = 0x10;
inline constexpr DWORD MS_DSR_ON = 0x20;
inline constexpr DWORD MS_RING_ON = 0x40;
inline constexpr DWORD MS_RLSD_ON = 0x80; // carrier
BOOL GetCommModemStatus(HANDLE port, DWORD* status);

inline constexpr DWORD PURGE_TXABORT = 1;
inline constexpr DWORD PURGE_RXABORT = 2;
inline constexpr DWORD PURGE_TXCLEAR = 4;
inline constexpr DWORD PURGE_RXCLEAR = 8;
BOOL PurgeComm(HANDLE port, DWORD what);

inline constexpr DWORD EV_RXCHAR = 0x01;
inline constexpr DWORD EV_TXEMPTY = 0x04;
inline constexpr DWORD EV_RLSD = 0x20;
BOOL SetCommMask(HANDLE port, DWORD events);
// Waits for one of the events of the mask, and ends when another thread closes the port.
BOOL WaitCommEvent(HANDLE port, DWORD* events, OVERLAPPED* overlapped);

// Host side: one open port. Every operation gives 0 or an error code, and may be called by several threads at once. It ends
// with the last handle on it and the last call in it.
class PlatSerialPort {
public:
    virtual ~PlatSerialPort() = default;
    virtual DWORD Read(void* buffer, DWORD count, DWORD& read) = 0;
    virtual DWORD Write(const void* bytes, DWORD count, DWORD& written) = 0;
    virtual DWORD GetState(DCB& state) = 0;
    virtual DWORD SetState(const DCB& state) = 0;
    virtual DWORD SetTimeouts(const COMMTIMEOUTS& timeouts) = 0;
    virtual DWORD Escape(DWORD function) = 0;
    virtual DWORD GetModemStatus(DWORD& status) = 0;
    virtual DWORD Purge(DWORD what) = 0;
    virtual DWORD SetMask(DWORD events) = 0;
    virtual DWORD WaitEvent(DWORD& events) = 0;
    // The last handle was closed: whoever waits inside comes back. Must not block.
    virtual void Close() = 0;
};
// Opens a port, on the thread of CreateFileW; null when there is none of that name.
using PlatSerialProvider = std::unique_ptr<PlatSerialPort> (*)(void* user, LPCWSTR name, DWORD access);
// Null puts the absent ports back.
void PlatSetSerialProvider(PlatSerialProvider provider, void* user);

#pragma GCC visibility pop
