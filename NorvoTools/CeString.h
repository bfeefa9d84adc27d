// CeString: text that lives and moves, in a reference-counted representation.
//
// Two strings on two threads may hold the same representation: its count is atomic. Everything else is unsynchronised,
// as with any plain object. A string owns one reference; an empty string points at a shared representation that is
// never counted and never freed. Assignment shares, copy-construction copies the text. An operation that changes the
// length builds a representation of exactly the new length: long texts are built with StringBuilder, not here.
#pragma once

#include "Platform/types.h"

#include <compare>
#include <string_view>

// What stands in front of the characters, in memory order.
struct QN_API CeStringRep {
    std::int32_t m_nRefs;   // owners; changed atomically; -1: never freed
    std::int32_t m_nLength; // characters, without the terminator

    WCHAR* Data() { return reinterpret_cast<WCHAR*>(this + 1); }

    // A representation of n characters with one owner; the terminator is written, the text is not.
    static CeStringRep* AllocBuf(int n);
    // Takes one owner off; the last one frees it. The shared empty one is left alone.
    static void Release(CeStringRep* rep);

    struct NullData;
    static NullData s_rgNullData;             // the words behind every empty string, all zero
    static CeStringRep* const s_cerepNullRep; // the same as a representation
    static const WCHAR* const s_lpszCeEmpty;  // its text
};

class QN_API CeString {
public:
    // --- Construction ---------------------------------------------------------------------------------------------
    CeString();
    CeString(const CeString& other); // copies the text
    CeString(CeString&& other) noexcept;
    explicit CeString(WCHAR c, int nRepeat = 1);
    // Narrow text: each byte is widened with its sign, with no code page.
    CeString(const char* psz);
    CeString(const char* psz, int nLength);
    // A value from 1 to 65,535 is a resource id of the application: that string is loaded.
    CeString(const WCHAR* psz);
    CeString(const WCHAR* psz, int nLength);
    explicit CeString(std::u16string_view text);
    explicit CeString(HWND hWnd); // the window's text
    explicit CeString(SHORT n, int nRadix = 10);
    explicit CeString(LONG n, int nRadix = 10);
    explicit CeString(DWORD n, int nRadix = 10);
    explicit CeString(double value, int nDigits = 6);
    CeString(UINT nResource, HINSTANCE hModule); // empty when the module has no such string
    virtual ~CeString();

    // --- Assignment -----------------------------------------------------------------------------------------------
    CeString& operator=(const CeString& other); // shares, unless the source is empty
    CeString& operator=(const WCHAR* psz);
    CeString& operator=(const char* psz);
    CeString& operator=(WCHAR c);

    // --- Numbers --------------------------------------------------------------------------------------------------
    void Set(WCHAR c); // every character of the text becomes c
    void SetShort(SHORT n, int nRadix = 10);
    void SetLong(LONG n, int nRadix = 10);
    void SetULong(DWORD n, int nRadix = 10);
    // Digits behind the point; with an exponent where the point would be more than 40 places off.
    void SetDouble(double value, int nDigits = 6);
    explicit operator int() const;
    explicit operator double() const;

    // --- Compare: by 16-bit units, below, equal to or above 0. A null right side gives -1. -----------------------
    int Compare(const WCHAR* psz) const;
    int CompareNoCase(const WCHAR* psz) const;
    friend bool operator==(const CeString& a, const CeString& b) { return a.Compare(b.m_psz) == 0; }
    friend bool operator==(const CeString& a, const WCHAR* b) { return a.Compare(b) == 0; }
    friend std::strong_ordering operator<=>(const CeString& a, const CeString& b) {
        return a.Compare(b.m_psz) <=> 0;
    }
    friend std::strong_ordering operator<=>(const CeString& a, const WCHAR* b) { return a.Compare(b) <=> 0; }

    // --- Find: a pointer into the text or null; the index forms an index or -1 ------------------------------------
    const WCHAR* Find(WCHAR c) const;
    const WCHAR* Find(const WCHAR* psz) const;
    const WCHAR* FindNoCase(const WCHAR* psz) const;
    const WCHAR* ReverseFind(WCHAR c) const;
    const WCHAR* FindOneOf(const WCHAR* pszSet) const;
    const WCHAR* FindNotOneOf(const WCHAR* pszSet) const;
    int FindIndex(WCHAR c) const;
    int FindIndex(const WCHAR* psz) const;
    int ReverseFindIndex(WCHAR c) const;

    // --- Change ---------------------------------------------------------------------------------------------------
    CeString& Append(const WCHAR* psz);
    CeString& Append(const WCHAR* psz, int nLength);
    CeString& Append(WCHAR c);
    // Changes the left operand and returns it: the same as +=.
    CeString& operator+(const WCHAR* psz) { return Append(psz); }
    CeString& operator+(const CeString& s) { return Append(s.m_psz, s.GetLength()); }
    CeString& operator+(WCHAR c) { return Append(c); }
    CeString& operator+=(const WCHAR* psz) { return Append(psz); }
    CeString& operator+=(const CeString& s) { return Append(s.m_psz, s.GetLength()); }
    CeString& operator+=(WCHAR c) { return Append(c); }
    void Truncate(int nLength); // nothing for a negative length or one not below the present
    void Trim();
    void LTrim(); // white space and 0xFFA0
    void RTrim(); // white space
    void MakeUpper();
    void MakeLower();
    void Reverse();
    void Replace(const WCHAR* pszFind, const WCHAR* pszWith, bool bCase = true);
    void Replace(WCHAR cFrom, WCHAR cTo);
    void Empty();

    // --- Parts ----------------------------------------------------------------------------------------------------
    CeString Left(int n) const;                 // a negative n or one over the length: the whole
    CeString Right(int n) const;                // likewise
    CeString Mid(int nStart, int n = -1) const; // n of -1: the rest
    CeString Delete(int n) const;               // a new string without the character at index n

    // --- Buffer ---------------------------------------------------------------------------------------------------
    // To receive text: beyond the present length the old text is not carried over. n of 0 gives null.
    WCHAR* GetBuffer(int n);
    WCHAR* GetBufferSetLength(int n);
    void ReleaseBuffer(); // takes the length anew from the terminator

    // --- Format ---------------------------------------------------------------------------------------------------
    // %s takes WCHAR text, %l numbers are 32 bits. The first form is cut at 1,023 characters, the second at n.
    void Format(const WCHAR* pszFormat, ...);
    void Format(int n, const WCHAR* pszFormat, ...);
    // The system's text for an error code, or "Error %d occured".
    void FormatMessageW(DWORD dwCode);

    // --- Window and resource --------------------------------------------------------------------------------------
    bool GetWindowTextW(HWND hWnd); // false and unchanged when it is not a window
    bool SetWindowTextW(HWND hWnd) const;
    // From the application when the module is null; empty and false when there is no such string.
    bool LoadStringW(UINT nResource, HINSTANCE hModule = nullptr);

    // --- Element --------------------------------------------------------------------------------------------------
    // A negative index counts as 0; past the end reading gives zero and writing does nothing.
    WCHAR& operator[](int nIndex); // unshares first
    WCHAR operator[](int nIndex) const { return GetIndexChar(nIndex); }
    WCHAR GetIndexChar(int nIndex) const;
    void SetIndexChar(int nIndex, WCHAR c); // writes without unsharing: every sharer sees it

    // --- Out ------------------------------------------------------------------------------------------------------
    int GetLength() const { return Rep()->m_nLength; }
    bool IsEmpty() const { return GetLength() == 0; }
    operator const WCHAR*() const { return m_psz; }
    const WCHAR* GetStr() const { return m_psz; }
    std::u16string_view View() const { return {m_psz, static_cast<std::size_t>(GetLength())}; }
    // A new buffer from malloc or LocalAlloc, with FF FE in front when bBOM; its bytes, terminator included, in *pSize.
    WCHAR* GetStringCopy(bool bMalloc, bool bBOM, DWORD* pSize) const;
    // The owners of the representation; 0 for the shared empty one.
    int GetRefs() const;

private:
    CeStringRep* Rep() const { return reinterpret_cast<CeStringRep*>(m_psz) - 1; }
    void CopyOnWrite();
    void Release();
    void Take(CeStringRep* rep); // releases the old one and owns this one
    WCHAR* Fresh(int n);         // an exact representation of n characters in place of the old one
    void SetText(const WCHAR* psz, int nLength);
    void SetNarrow(const char* psz, int nLength);

    WCHAR* m_psz; // the first character of the representation
};
