// Free string functions on plain pointers. They keep no state: any thread may call them.
//
// A WCHAR* result is a new block of the C heap that the caller frees (free), unless the function says otherwise; null
// when memory ran out. A null argument is allowed everywhere but in StringBuilder, and gives what is told.
#pragma once

#include "Platform/types.h"
#include "NorvoTools/CeStrList.h"

// --- Copies -------------------------------------------------------------------------------------------------------

// A copy with room for 7 spare characters; null or empty gives 8 zero bytes.
QN_API WCHAR* AllocLPWSTR(const WCHAR* s);

// BSTRs. "Empty" means that the first byte of the text is zero, so a text that begins with a character whose low byte
// is zero (U+0100, U+0200 ...) counts as empty: blocks written by other programs rely on it.
QN_API BSTR AllocBSTR(const WCHAR* s);
QN_API int ReAllocBSTR(BSTR* b, const WCHAR* s); // 1; or 0 and nothing changed with a null s or no memory
QN_API void FreeBSTR(BSTR b);                    // leaves null and empty alone
QN_API int BSTRLen(BSTR b);                      // 0 for null and empty

// --- Searching and replacing --------------------------------------------------------------------------------------

// The first place of b in a without regard to case, in a; null when there is none or one of them is null or empty.
QN_API WCHAR* wcsistr(const WCHAR* a, const WCHAR* b);
// An index in s, searched from `start` on, or -1.
QN_API int IndexOf(const WCHAR* s, WCHAR ch, int start = 0);
QN_API int IndexOf(const WCHAR* s, const WCHAR* text, int start, bool bCase);
QN_API int IndexOfA(const char* a, const char* b);       // without regard to case
QN_API void ReplaceChar(WCHAR* s, WCHAR from, WCHAR to); // in place
// Every occurrence from index `start` on; what was inserted is not searched again. A null s gives an empty text; a null
// `find`, an empty s or find, a negative start or one past the last character a plain copy. A null `with` is empty.
QN_API WCHAR* ReplaceStr(const WCHAR* s, const WCHAR* find, const WCHAR* with, int start = 0,
                         bool bCase = true);
// Whole-text match with * (any run), ? (any one) and \ (the next character literally), case-sensitive. A text that
// starts with "." is not matched by a pattern that starts with a wildcard.
QN_API bool wildmat(const WCHAR* text, const WCHAR* pattern);

// --- Parts --------------------------------------------------------------------------------------------------------

// n characters from `start`; n of -1, or over the end: the rest. Bad input gives an empty text.
QN_API WCHAR* MidStr(const WCHAR* s, int start, int n = -1);
QN_API WCHAR* MidStr(const WCHAR* s, WCHAR* buf, int start, int n); // into buf, which is returned
// A negative n or one over the length means the whole.
QN_API WCHAR* LeftStr(const WCHAR* s, int n);
QN_API WCHAR* RightStr(const WCHAR* s, int n);
// Copies without white space; null gives null.
QN_API WCHAR* LTrimStr(const WCHAR* s);
QN_API WCHAR* RTrimStr(const WCHAR* s);
QN_API WCHAR* TrimStr(const WCHAR* s);
QN_API int RTrimStrInPlace(WCHAR* s); // white space, CR and LF at the end; gives the new length

// --- Fields and tokens --------------------------------------------------------------------------------------------

// The number of fields: delimiters plus one; 0 for null.
QN_API int SubStrCount(const WCHAR* s, WCHAR ch);
// The n-th delimiter, counted from 1, in s; or null.
QN_API WCHAR* GetDelimeterPtr(const WCHAR* s, int n, WCHAR ch);
QN_API char* GetDelimeterPtrA(const char* s, int n, char ch);
// The n-th field, counted from 1; null behind the last (bound n by SubStrCount). Without a delimiter 1 is the whole.
QN_API WCHAR* SubStr(const WCHAR* s, int n, WCHAR ch);
QN_API char* SubStrA(const char* s, int n, char ch);
// Every field, empty ones kept, in a new list (delete it) of base 0 that owns its texts and compares without case.
QN_API CeStrList<>* Split(const WCHAR* s, WCHAR ch);

struct XSTRTOK {
    WCHAR* m_pResume = nullptr;          // where the next token starts
    WCHAR* m_pStart = nullptr;           // the text to start on; cleared by the first call
    const WCHAR* m_pDelimiter = nullptr; // its first character is the delimiter
};
// The next token, in the text itself, whose delimiter is overwritten by zero; empty fields are kept; null at the end.
QN_API WCHAR* xstrtok(XSTRTOK* state);

// The part after the last backslash.
QN_API WCHAR* JustFileName(const WCHAR* path);
// All up to and including the last backslash; a path without one gives "\".
QN_API WCHAR* JustPath(const WCHAR* path);

// --- Building in buffers ------------------------------------------------------------------------------------------

// Appends at most n characters (-1: all) of src at dst[pos], moves pos on, terminates. The caller knows the room.
QN_API void StringBuilder(WCHAR* dst, int* pos, const WCHAR* src, int n = -1);
// The same; nothing happens with a null or empty text.
QN_API void SafeStringBuilder(WCHAR* dst, int* pos, const WCHAR* src, int n = -1);
// Copies at most n characters and always terminates: dst holds n + 1.
QN_API WCHAR* wstrncpy(WCHAR* dst, const WCHAR* src, int n);
// Appends src to dst without blank, "-", "(" and ")". The terminator is set at the index of the source's length.
QN_API void CopyPhone(WCHAR* dst, const WCHAR* src);

// --- Cleaning -----------------------------------------------------------------------------------------------------

// A copy with only printable characters of the first n; s itself when it is null or n is 0.
QN_API WCHAR* CleanupStringForPrintable(WCHAR* s, int n);
// Characters that no file name may hold. With bTestOnly 1 when there is one, else 0. Otherwise each becomes "_" in
// place, and the result is the length, at most 225.
QN_API int FilenameContrabandCleaner(WCHAR* s, bool bTestOnly);
// Letters and digits stay, a blank becomes "+", the rest "%" and two digits. `size` is dst's room in characters; it
// stops when the output would pass size - 2.
QN_API void UrlEncode(const WCHAR* src, WCHAR* dst, int size);
