// The device's heaps: the local heap, private heaps that are dropped whole, and BSTR texts.
//
// LocalAlloc and HeapAlloc(GetProcessHeap()) are one allocator, so a block of the one may be freed by the other; it is
// not the C heap. Any thread may call; a private heap may be used by several threads at once, but not while one of
// them destroys it. Every allocation is aligned for any type. Failure gives null and error 8.
#pragma once

#include "Platform/types.h"

#include <cstddef>

#pragma GCC visibility push(default)

inline constexpr UINT LMEM_FIXED = 0x00;
inline constexpr UINT LMEM_MOVEABLE =
    0x02; // LocalReAlloc: the block may move; without it it may all the same
inline constexpr UINT LMEM_ZEROINIT = 0x40;
inline constexpr UINT LPTR = 0x40;
inline constexpr DWORD HEAP_NO_SERIALIZE = 1; // HeapCreate: one thread alone uses the heap
inline constexpr DWORD HEAP_ZERO_MEMORY = 8;

// --- Local heap -----------------------------------------------------------------------------------------------------

HLOCAL LocalAlloc(UINT flags, std::size_t bytes);
// Keeps the content up to the smaller size; what is added is zero with LMEM_ZEROINIT. Null leaves the old block.
HLOCAL LocalReAlloc(HLOCAL block, std::size_t bytes, UINT flags);
// Null when it was freed (null too is freed); the block itself when it is none of this heap: error 6.
HLOCAL LocalFree(HLOCAL block);
// Exactly the bytes asked for; 0 and error 6 for a block of another kind.
std::size_t LocalSize(HLOCAL block);
// LocalAlloc that says where it was called; the place is not kept.
HLOCAL LocalAllocTrace(UINT flags, std::size_t bytes, UINT line, const char* file);

// --- Heaps ----------------------------------------------------------------------------------------------------------

HANDLE GetProcessHeap();
// A private heap, which grows as it needs: the two sizes are not read. Its blocks live until they are freed or the heap is
// destroyed, which costs the same for one block as for thousands.
HANDLE HeapCreate(DWORD flags, std::size_t initial, std::size_t maximum);
// FALSE and error 6 for a handle that is no private heap (the process heap is none).
BOOL HeapDestroy(HANDLE heap);
void* HeapAlloc(HANDLE heap, DWORD flags, std::size_t bytes);
void* HeapReAlloc(HANDLE heap, DWORD flags, void* block, std::size_t bytes);
BOOL HeapFree(HANDLE heap, DWORD flags, void* block);
// The bytes asked for; (size_t)-1 and error 6 for a heap that is none.
std::size_t HeapSize(HANDLE heap, DWORD flags, const void* block);

// --- BSTR -----------------------------------------------------------------------------------------------------------
//
// A text with its length in bytes in the four bytes before it and a zero behind it.

// Null gives null.
BSTR SysAllocString(const WCHAR* text);
// With a null text the units are zero.
BSTR SysAllocStringLen(const WCHAR* text, UINT length);
// Replaces the text of *text; FALSE leaves it.
BOOL SysReAllocString(BSTR* text, const WCHAR* from);
BOOL SysReAllocStringLen(BSTR* text, const WCHAR* from, UINT length);
void SysFreeString(BSTR text);
// In units; 0 for null.
UINT SysStringLen(BSTR text);
UINT SysStringByteLen(BSTR text);

#pragma GCC visibility pop
