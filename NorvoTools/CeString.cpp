#include "NorvoTools/CeString.h"

#include "Platform/strings.h"
#include "NorvoTools/StrFunctions.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace {

constexpr WCHAR kFilledBlank = 0xFFA0; // half-width filler: LTrim alone takes it for white space, and must
constexpr ULONG_PTR kLastResourceId = 65535;

bool IsWhite(WCHAR c) { return iswctype(c, kCharSpace) != 0; }
int TextLength(const WCHAR* psz) { return psz ? static_cast<int>(wcslen(psz)) : 0; }
std::size_t Bytes(int nChars) { return static_cast<std::size_t>(nChars) * sizeof(WCHAR); }

} // namespace

// --- The representation -------------------------------------------------------------------------------------------

struct CeStringRep::NullData {
    CeStringRep rep;
    WCHAR text[2];
};
constinit CeStringRep::NullData CeStringRep::s_rgNullData = {{0, 0}, {0, 0}};
constinit CeStringRep* const CeStringRep::s_cerepNullRep = &CeStringRep::s_rgNullData.rep;
constinit const WCHAR* const CeStringRep::s_lpszCeEmpty = CeStringRep::s_rgNullData.text;

CeStringRep* CeStringRep::AllocBuf(int n) {
    if (n < 0) n = 0;
    static_assert(sizeof(CeStringRep) == 4 * sizeof(WCHAR)); // the text follows the two words at once
    void* block = std::malloc(sizeof(CeStringRep) + Bytes(n) + sizeof(WCHAR));
    if (!block) std::abort(); // strings have no way to tell that memory ran out
    auto* rep = new (block) CeStringRep{1, n};
    rep->Data()[n] = 0;
    return rep;
}

void CeStringRep::Release(CeStringRep* rep) {
    if (rep == s_cerepNullRep) return;
    std::atomic_ref<std::int32_t> refs(rep->m_nRefs);
    if (refs.load(std::memory_order_relaxed) == -1) return;
    if (refs.fetch_sub(1, std::memory_order_acq_rel) <= 1) std::free(rep);
}

// --- Ownership ----------------------------------------------------------------------------------------------------

static WCHAR* EmptyText() { return const_cast<WCHAR*>(CeStringRep::s_lpszCeEmpty); }

void CeString::Release() {
    CeStringRep::Release(Rep());
    m_psz = EmptyText();
}

void CeString::Take(CeStringRep* rep) {
    CeStringRep::Release(Rep());
    m_psz = rep->Data();
}

WCHAR* CeString::Fresh(int n) {
    Take(CeStringRep::AllocBuf(n));
    return m_psz;
}

void CeString::CopyOnWrite() {
    int length = GetLength();
    if (length == 0 || std::atomic_ref(Rep()->m_nRefs).load(std::memory_order_acquire) <= 1) return;
    CeStringRep* own = CeStringRep::AllocBuf(length);
    std::memcpy(own->Data(), m_psz, Bytes(length + 1));
    Take(own);
}

// The text may lie in the present representation: the new one stands before that is released.
void CeString::SetText(const WCHAR* psz, int nLength) {
    if (!psz || nLength <= 0) return Release();
    CeStringRep* rep = CeStringRep::AllocBuf(nLength);
    std::memcpy(rep->Data(), psz, Bytes(nLength));
    Take(rep);
}

void CeString::SetNarrow(const char* psz, int nLength) {
    if (!psz || nLength <= 0) return Release();
    WCHAR* to = Fresh(nLength);
    for (int i = 0; i < nLength; ++i) to[i] = static_cast<WCHAR>(static_cast<signed char>(psz[i]));
}

int CeString::GetRefs() const { return std::atomic_ref(Rep()->m_nRefs).load(std::memory_order_relaxed); }

// --- Construction and assignment ----------------------------------------------------------------------------------

CeString::CeString() : m_psz(EmptyText()) {}
CeString::CeString(const CeString& other) : CeString() { SetText(other.m_psz, other.GetLength()); }
CeString::CeString(CeString&& other) noexcept : m_psz(std::exchange(other.m_psz, EmptyText())) {}
CeString::CeString(WCHAR c, int nRepeat) : CeString() {
    if (nRepeat > 0) std::fill_n(Fresh(nRepeat), nRepeat, c);
}
CeString::CeString(const char* psz) : CeString(psz, psz ? static_cast<int>(std::strlen(psz)) : 0) {}
CeString::CeString(const char* psz, int nLength) : CeString() { SetNarrow(psz, nLength); }
CeString::CeString(const WCHAR* psz) : CeString() {
    auto number = reinterpret_cast<ULONG_PTR>(psz);
    if (number >= 1 && number <= kLastResourceId)
        LoadStringW(static_cast<UINT>(number));
    else
        SetText(psz, TextLength(psz));
}
CeString::CeString(const WCHAR* psz, int nLength) : CeString() { SetText(psz, nLength); }
CeString::CeString(std::u16string_view text) : CeString() {
    SetText(text.data(), static_cast<int>(text.size()));
}
CeString::CeString(HWND hWnd) : CeString() { GetWindowTextW(hWnd); }
CeString::CeString(SHORT n, int nRadix) : CeString() { SetShort(n, nRadix); }
CeString::CeString(LONG n, int nRadix) : CeString() { SetLong(n, nRadix); }
CeString::CeString(DWORD n, int nRadix) : CeString() { SetULong(n, nRadix); }
CeString::CeString(double value, int nDigits) : CeString() { SetDouble(value, nDigits); }
CeString::CeString(UINT nResource, HINSTANCE hModule) : CeString() { LoadStringW(nResource, hModule); }
CeString::~CeString() { Release(); }

CeString& CeString::operator=(const CeString& other) {
    if (this == &other || other.m_psz == m_psz) return *this; // already shared
    if (other.IsEmpty()) {
        Release();
        return *this;
    }
    std::atomic_ref<std::int32_t> refs(other.Rep()->m_nRefs);
    if (refs.load(std::memory_order_relaxed) != -1) refs.fetch_add(1, std::memory_order_relaxed);
    Take(other.Rep());
    return *this;
}

CeString& CeString::operator=(const WCHAR* psz) {
    SetText(psz, TextLength(psz));
    return *this;
}

CeString& CeString::operator=(const char* psz) {
    SetNarrow(psz, psz ? static_cast<int>(std::strlen(psz)) : 0);
    return *this;
}

CeString& CeString::operator=(WCHAR c) {
    *Fresh(1) = c;
    return *this;
}

// --- Compare and find ---------------------------------------------------------------------------------------------

int CeString::Compare(const WCHAR* psz) const { return psz ? wcscmp(m_psz, psz) : -1; }
int CeString::CompareNoCase(const WCHAR* psz) const { return psz ? _wcsicmp(m_psz, psz) : -1; }

const WCHAR* CeString::Find(WCHAR c) const { return wcschr(m_psz, c); }
const WCHAR* CeString::Find(const WCHAR* psz) const { return psz ? wcsstr(m_psz, psz) : nullptr; }
const WCHAR* CeString::ReverseFind(WCHAR c) const { return wcsrchr(m_psz, c); }

const WCHAR* CeString::FindNoCase(const WCHAR* psz) const {
    if (!psz) return nullptr;
    auto length = wcslen(psz);
    for (const WCHAR* at = m_psz; *at; ++at)
        if (_wcsnicmp(at, psz, length) == 0) return at;
    return nullptr;
}

const WCHAR* CeString::FindOneOf(const WCHAR* pszSet) const {
    auto at = pszSet ? View().find_first_of(pszSet) : std::u16string_view::npos;
    return at == std::u16string_view::npos ? nullptr : m_psz + at;
}

const WCHAR* CeString::FindNotOneOf(const WCHAR* pszSet) const {
    auto at = View().find_first_not_of(pszSet ? pszSet : u"");
    return at == std::u16string_view::npos ? nullptr : m_psz + at;
}

static int IndexIn(const WCHAR* text, const WCHAR* found) {
    return found ? static_cast<int>(found - text) : -1;
}

int CeString::FindIndex(WCHAR c) const { return IndexIn(m_psz, Find(c)); }
int CeString::FindIndex(const WCHAR* psz) const { return IndexIn(m_psz, Find(psz)); }
int CeString::ReverseFindIndex(WCHAR c) const { return IndexIn(m_psz, ReverseFind(c)); }

// --- Change -------------------------------------------------------------------------------------------------------

CeString& CeString::Append(const WCHAR* psz) { return Append(psz, TextLength(psz)); }
CeString& CeString::Append(WCHAR c) { return Append(&c, 1); }

CeString& CeString::Append(const WCHAR* psz, int nLength) {
    if (!psz || nLength <= 0) return *this;
    int length = GetLength();
    CeStringRep* rep = CeStringRep::AllocBuf(length + nLength);
    std::memcpy(rep->Data(), m_psz, Bytes(length));
    std::memcpy(rep->Data() + length, psz, Bytes(nLength));
    Take(rep);
    return *this;
}

void CeString::Set(WCHAR c) {
    CopyOnWrite();
    if (!IsEmpty()) std::fill_n(m_psz, GetLength(), c);
}

void CeString::Truncate(int nLength) {
    if (nLength >= 0 && nLength < GetLength()) SetText(m_psz, nLength);
}

void CeString::Trim() {
    LTrim();
    RTrim();
}

void CeString::LTrim() {
    int first = 0;
    while (first < GetLength() && (IsWhite(m_psz[first]) || m_psz[first] == kFilledBlank)) ++first;
    if (first > 0) SetText(m_psz + first, GetLength() - first);
}

void CeString::RTrim() {
    int length = GetLength();
    while (length > 0 && IsWhite(m_psz[length - 1])) --length;
    Truncate(length);
}

void CeString::MakeUpper() {
    CopyOnWrite();
    if (!IsEmpty()) _wcsupr(m_psz);
}

void CeString::MakeLower() {
    CopyOnWrite();
    if (!IsEmpty()) _wcslwr(m_psz);
}

void CeString::Reverse() {
    CopyOnWrite();
    if (!IsEmpty()) _wcsrev(m_psz);
}

void CeString::Replace(const WCHAR* pszFind, const WCHAR* pszWith, bool bCase) {
    std::unique_ptr<WCHAR, decltype(&std::free)> changed(ReplaceStr(m_psz, pszFind, pszWith, 0, bCase),
                                                         &std::free);
    if (changed) SetText(changed.get(), TextLength(changed.get()));
}

void CeString::Replace(WCHAR cFrom, WCHAR cTo) {
    CopyOnWrite();
    if (!IsEmpty()) ReplaceChar(m_psz, cFrom, cTo);
}

void CeString::Empty() { Release(); }

// --- Parts --------------------------------------------------------------------------------------------------------

CeString CeString::Left(int n) const {
    int length = GetLength();
    return CeString(m_psz, n < 0 || n > length ? length : n);
}

CeString CeString::Right(int n) const {
    int length = GetLength();
    int wanted = n < 0 || n > length ? length : n;
    return CeString(m_psz + length - wanted, wanted);
}

CeString CeString::Mid(int nStart, int n) const {
    int length = GetLength();
    if (nStart < 0 || nStart >= length || n < -1) return CeString();
    int rest = length - nStart;
    return CeString(m_psz + nStart, n == -1 || n > rest ? rest : n);
}

CeString CeString::Delete(int n) const {
    int length = GetLength();
    if (n < 0 || n >= length) return CeString(*this);
    CeString result(m_psz, n);
    result.Append(m_psz + n + 1, length - n - 1);
    return result;
}

// --- Buffer -------------------------------------------------------------------------------------------------------

WCHAR* CeString::GetBuffer(int n) {
    if (n == 0) return nullptr;
    if (n <= GetLength()) return m_psz;
    *Fresh(n) = 0; // a caller that writes nothing finds it empty
    return m_psz;
}

WCHAR* CeString::GetBufferSetLength(int n) {
    if (n > 0 && n == GetLength()) return m_psz;
    if (n <= 0)
        CopyOnWrite();
    else
        *Fresh(n) = 0;
    return m_psz;
}

void CeString::ReleaseBuffer() {
    int length = TextLength(m_psz);
    if (length < 1)
        Release();
    else if (length != GetLength())
        SetText(m_psz, length);
}

// --- Element ------------------------------------------------------------------------------------------------------

WCHAR& CeString::operator[](int nIndex) {
    static thread_local WCHAR t_nowhere;
    CopyOnWrite();
    if (nIndex < 0) nIndex = 0;
    if (nIndex < GetLength()) return m_psz[nIndex];
    t_nowhere = 0; // past the end there is nothing to change
    return t_nowhere;
}

WCHAR CeString::GetIndexChar(int nIndex) const {
    if (nIndex < 0) nIndex = 0;
    return nIndex < GetLength() ? m_psz[nIndex] : WCHAR(0);
}

void CeString::SetIndexChar(int nIndex, WCHAR c) {
    if (nIndex < 0) nIndex = 0;
    if (nIndex < GetLength()) m_psz[nIndex] = c;
}
