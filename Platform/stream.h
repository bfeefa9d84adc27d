// A run of bytes behind an interface: the streams of items, and where pictures are read from.
//
// One thread at a time uses a stream. It is reference counted; what was written counts once Commit has said S_OK.
#pragma once

#include "Platform/com.h"

#pragma GCC visibility push(default)

inline constexpr IID IID_IStream = {0x0000000C, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

inline constexpr DWORD STREAM_SEEK_FROM_START = 0;
inline constexpr DWORD STREAM_SEEK_FROM_HERE = 1;
inline constexpr DWORD STREAM_SEEK_FROM_END = 2;

inline constexpr HRESULT STG_E_ACCESSDENIED = static_cast<HRESULT>(0x80030005);
inline constexpr HRESULT STG_E_INVALIDFUNCTION = static_cast<HRESULT>(0x80030001);

struct IStream : IUnknown {
    // At most `count` bytes; fewer, or none, at the end. `*read` may be null.
    virtual HRESULT Read(void* buffer, ULONG count, ULONG* read) = 0;
    // Grows the stream when it goes past its end. STG_E_ACCESSDENIED when it is open for reading alone.
    virtual HRESULT Write(const void* buffer, ULONG count, ULONG* written) = 0;
    // From start, here or end; `*position` may be null. STG_E_INVALIDFUNCTION before the start, nothing moves.
    virtual HRESULT Seek(LONGLONG move, DWORD origin, ULONGLONG* position) = 0;
    // What is added is zero.
    virtual HRESULT SetSize(ULONGLONG size) = 0;
    virtual HRESULT GetSize(ULONGLONG* size) = 0;
    virtual HRESULT Commit(DWORD flags) = 0;
    // Back to what was last committed.
    virtual HRESULT Revert() = 0;

protected:
    ~IStream() = default;
};

#pragma GCC visibility pop
