// The base types of the device, with the widths they have there. Every other header stands on this one.
//
// Text is UTF-16 in char16_t. `unsigned long` of the device is DWORD (32 bits) everywhere; a number that carries
// a pointer is ULONG_PTR. Records that go to disk are written field by field, never as these structures.
#pragma once

#include "Platform/export.h"

#include <cstddef>
#include <cstdint>

using WCHAR = char16_t;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using USHORT = std::uint16_t;
using SHORT = std::int16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using ULONG = std::uint32_t;
using LONG = std::int32_t;
using BOOL = std::int32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using ULONG_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;
using LRESULT = std::intptr_t;
using HRESULT = std::int32_t; // negative is failure
using COLORREF = DWORD;       // 0x00BBGGRR
using LCID = DWORD;
using CEOID = DWORD; // object id in a property store
using DATE = double; // days since 30 December 1899, the fraction is the time of day
using BSTR = WCHAR*; // SysAllocString family
using VARIANT_BOOL = std::int16_t;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using ATOM = WORD;

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;
inline constexpr int MAX_PATH = 260;
inline constexpr DATE kNoDate = 949998.0; // 1 January 4501: the null value of every date of the suite

// Handles. Kernel handles are numbers of one table, below 2^31, never 0 or -1, not soon reused.
using HANDLE = void*;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1));

// A handle kind of its own, so that overloads and the compiler can tell them apart. Never dereferenced.
#define QN_DECLARE_HANDLE(name)                                                                              \
    struct name##__;                                                                                         \
    using name = name##__*
QN_DECLARE_HANDLE(HWND);
QN_DECLARE_HANDLE(HINSTANCE);
QN_DECLARE_HANDLE(HKEY);
QN_DECLARE_HANDLE(HMENU);
QN_DECLARE_HANDLE(HDC);
QN_DECLARE_HANDLE(HBRUSH);
QN_DECLARE_HANDLE(HFONT);
QN_DECLARE_HANDLE(HBITMAP);
QN_DECLARE_HANDLE(HPEN);
QN_DECLARE_HANDLE(HRGN);
QN_DECLARE_HANDLE(HICON);
QN_DECLARE_HANDLE(HIMAGELIST);
QN_DECLARE_HANDLE(HCURSOR);
QN_DECLARE_HANDLE(HRSRC);
#undef QN_DECLARE_HANDLE
using HMODULE = HINSTANCE;
using HGLOBAL = void*;
using HLOCAL = void*;
using HGDIOBJ = void*;

struct GUID {
    DWORD Data1;
    WORD Data2;
    WORD Data3;
    BYTE Data4[8];
    friend bool operator==(const GUID&, const GUID&) = default;
};
using CLSID = GUID;
using IID = GUID;

struct POINT {
    LONG x;
    LONG y;
};
struct SIZE {
    LONG cx;
    LONG cy;
};
struct RECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
};

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek; // 0 Sunday
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
static_assert(sizeof(SYSTEMTIME) == 16);

// 100-nanosecond ticks since 1 January 1601, in two halves.
struct FILETIME {
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};
static_assert(sizeof(FILETIME) == 8);
using _FILETIME = FILETIME;

constexpr ULONGLONG FileTimeTicks(const FILETIME& t) {
    return (static_cast<ULONGLONG>(t.dwHighDateTime) << 32) | t.dwLowDateTime;
}
constexpr FILETIME FileTimeFromTicks(ULONGLONG ticks) {
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

// Biases are minutes, UTC = local + bias. A date with year 0 is relative: month, weekday, and wDay 1 to 5 (5 last).
struct TIME_ZONE_INFORMATION {
    LONG Bias;
    WCHAR StandardName[32];
    SYSTEMTIME StandardDate;
    LONG StandardBias;
    WCHAR DaylightName[32];
    SYSTEMTIME DaylightDate;
    LONG DaylightBias;
};
static_assert(sizeof(TIME_ZONE_INFORMATION) == 172);
using _TIME_ZONE_INFORMATION = TIME_ZONE_INFORMATION;

struct SECURITY_ATTRIBUTES {
    DWORD nLength;
    void* lpSecurityDescriptor;
    BOOL bInheritHandle;
};

constexpr WORD LOWORD(ULONG_PTR v) { return static_cast<WORD>(v & 0xFFFF); }
constexpr WORD HIWORD(ULONG_PTR v) { return static_cast<WORD>((v >> 16) & 0xFFFF); }
constexpr LPARAM MAKELPARAM(WORD low, WORD high) {
    return static_cast<LPARAM>(low | (static_cast<DWORD>(high) << 16));
}

// Results of the object model.
constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
constexpr bool FAILED(HRESULT hr) { return hr < 0; }
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003);
inline constexpr HRESULT E_ABORT = static_cast<HRESULT>(0x80004004);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFF);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);
inline constexpr HRESULT E_NOTFOUND = static_cast<HRESULT>(0x80070490);
inline constexpr HRESULT E_INSUFFICIENTBUFFER = static_cast<HRESULT>(0x8007007A);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154);
inline constexpr HRESULT DV_E_FORMATETC = static_cast<HRESULT>(0x80040064);

// Error codes of GetLastError and of the registry calls.
inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_INVALID_DATA = 13;
inline constexpr DWORD ERROR_BAD_FORMAT = 11;
inline constexpr DWORD ERROR_NO_MORE_FILES = 18;
inline constexpr DWORD ERROR_BAD_LENGTH = 24;
inline constexpr DWORD ERROR_SEEK = 25;
inline constexpr DWORD ERROR_WRITE_FAULT = 29;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_DUP_NAME = 52;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_NOT_OWNER = 288;
inline constexpr DWORD ERROR_KEY_DELETED = 1018;
inline constexpr DWORD ERROR_NO_ASSOCIATION = 1155;
inline constexpr DWORD ERROR_NOT_FOUND = 1168;
inline constexpr DWORD ERROR_INVALID_WINDOW_HANDLE = 1400;
inline constexpr DWORD ERROR_RESOURCE_NAME_NOT_FOUND = 1814;

// Time-outs and results of waits.
inline constexpr DWORD INFINITE = 0xFFFFFFFF;
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_ABANDONED = 0x80;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
