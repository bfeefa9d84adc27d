// CSTR blocks: a 32-bit length in characters, the characters, a zero. The pointer that callers hold is the first
// character. A block comes from the C heap, or from a private heap (HeapCreate) that the caller names; the blocks of a
// private heap are never freed one by one, they die with the heap. No synchronisation.
#pragma once

#include "Platform/types.h"

#include <string_view>

// A copy of s, null counting as empty; null when memory ran out. A null heap means the C heap.
QN_API WCHAR* AllocCSTR(const WCHAR* s, HANDLE heap = nullptr);
// A block of the n characters at s; a null s gives n zero characters.
QN_API WCHAR* AllocCSTRLen(const WCHAR* s, int n, HANDLE heap = nullptr);
// Puts a copy of s in place of *c and frees the old block when the heap is null. 1, or 0 and nothing changed.
QN_API int ReAllocCSTR(WCHAR** c, const WCHAR* s, HANDLE heap = nullptr);
QN_API int ReAllocCSTRLen(WCHAR** c, const WCHAR* s, int n, HANDLE heap = nullptr);
// Appends s to the block *c, which moves. 1; or 0 with no block, nothing to append, or no memory.
QN_API int ExtendCSTR(WCHAR** c, const WCHAR* s, HANDLE heap = nullptr);
QN_API int ExtendCSTRLen(WCHAR** c, const WCHAR* s, int n, HANDLE heap = nullptr);
// The length that stands before the text; 0 for null.
QN_API int CSTRLen(const WCHAR* c);
// The text of a block; empty for null.
inline std::u16string_view CSTRView(const WCHAR* c) {
    return {c ? c : u"", static_cast<std::size_t>(CSTRLen(c))};
}
// Frees a block of the C heap; null is allowed.
QN_API void FreeCSTR(WCHAR* c);

// A plain text without a length before it, from the heap or by malloc for a null one; null when memory ran out.
QN_API WCHAR* AllocHeapText(std::u16string_view text, HANDLE heap);

// The owner of one block of the C heap.
class QN_API CStr {
public:
    CStr();
    CStr(const WCHAR* s);
    CStr(const WCHAR* s, int n);
    CStr(const CStr& other);
    CStr(CStr&& other) noexcept;
    ~CStr();
    CStr& operator=(const CStr& other);
    CStr& operator=(CStr&& other) noexcept;
    CStr& operator=(const WCHAR* s);

    CStr& operator+=(const WCHAR* s);
    CStr& Append(const WCHAR* s, int n);
    void Empty();

    operator const WCHAR*() const { return m_psz; }
    int GetLength() const { return CSTRLen(m_psz); }
    bool IsEmpty() const { return GetLength() == 0; }

    static const CStr Null; // the shared empty one

private:
    WCHAR* m_psz; // null only after destruction
};
