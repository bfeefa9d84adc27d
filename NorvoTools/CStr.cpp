#include "NorvoTools/CStr.h"

#include "Platform/memory.h"
#include "Platform/strings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

struct EmptyBlock {
    DWORD dwLength = 0;
    WCHAR text[2] = {0, 0};
};
constinit EmptyBlock s_empty;

DWORD* LengthOf(WCHAR* c) { return reinterpret_cast<DWORD*>(c) - 1; }
int TextLength(const WCHAR* s) { return s ? static_cast<int>(wcslen(s)) : 0; }

// A block of n characters: the length and the terminator are written, the text is not.
WCHAR* NewBlock(int n, HANDLE heap) {
    std::size_t bytes = (static_cast<std::size_t>(n) + 3) * sizeof(WCHAR);
    void* block = heap ? HeapAlloc(heap, 0, bytes) : std::malloc(bytes);
    if (!block) return nullptr;
    *static_cast<DWORD*>(block) = static_cast<DWORD>(n);
    WCHAR* text = reinterpret_cast<WCHAR*>(static_cast<DWORD*>(block) + 1);
    text[n] = 0;
    return text;
}

void Copy(WCHAR* to, const WCHAR* from, int n) {
    if (n > 0) std::memcpy(to, from, static_cast<std::size_t>(n) * sizeof(WCHAR));
}

// The blocks of a private heap die with the heap.
void Exchange(WCHAR** c, WCHAR* fresh, HANDLE heap) {
    WCHAR* old = std::exchange(*c, fresh);
    if (!heap) FreeCSTR(old);
}

} // namespace

WCHAR* AllocHeapText(std::u16string_view text, HANDLE heap) {
    const std::size_t bytes = (text.size() + 1) * sizeof(WCHAR);
    auto* copy = static_cast<WCHAR*>(heap ? HeapAlloc(heap, 0, bytes) : std::malloc(bytes));
    if (!copy) return nullptr;
    Copy(copy, text.data(), static_cast<int>(text.size()));
    copy[text.size()] = 0;
    return copy;
}

WCHAR* AllocCSTR(const WCHAR* s, HANDLE heap) { return AllocCSTRLen(s, TextLength(s), heap); }

WCHAR* AllocCSTRLen(const WCHAR* s, int n, HANDLE heap) {
    if (n < 0) n = 0;
    WCHAR* fresh = NewBlock(n, heap);
    if (!fresh) return nullptr;
    if (s)
        Copy(fresh, s, n);
    else
        std::fill_n(fresh, n, WCHAR(0));
    return fresh;
}

int ReAllocCSTR(WCHAR** c, const WCHAR* s, HANDLE heap) { return ReAllocCSTRLen(c, s, TextLength(s), heap); }

int ReAllocCSTRLen(WCHAR** c, const WCHAR* s, int n, HANDLE heap) {
    if (!c) return 0;
    WCHAR* fresh = AllocCSTRLen(s, n, heap);
    if (!fresh) return 0;
    Exchange(c, fresh, heap);
    return 1;
}

int ExtendCSTR(WCHAR** c, const WCHAR* s, HANDLE heap) { return ExtendCSTRLen(c, s, TextLength(s), heap); }

int ExtendCSTRLen(WCHAR** c, const WCHAR* s, int n, HANDLE heap) {
    if (!c || !*c || !s || n <= 0) return 0;
    int length = CSTRLen(*c);
    WCHAR* fresh = NewBlock(length + n, heap);
    if (!fresh) return 0;
    Copy(fresh, *c, length);
    Copy(fresh + length, s, n);
    Exchange(c, fresh, heap);
    return 1;
}

int CSTRLen(const WCHAR* c) { return c ? static_cast<int>(*LengthOf(const_cast<WCHAR*>(c))) : 0; }

void FreeCSTR(WCHAR* c) {
    if (c && c != s_empty.text) std::free(LengthOf(c));
}

// --- CStr ---------------------------------------------------------------------------------------------------------

const CStr CStr::Null;

// The shared empty block stands for a failed allocation too.
static WCHAR* OrEmpty(WCHAR* block) { return block ? block : s_empty.text; }

CStr::CStr() : m_psz(s_empty.text) {}
CStr::CStr(const WCHAR* s) : m_psz(OrEmpty(AllocCSTR(s))) {}
CStr::CStr(const WCHAR* s, int n) : m_psz(OrEmpty(AllocCSTRLen(s, n))) {}
CStr::CStr(const CStr& other) : m_psz(OrEmpty(AllocCSTRLen(other.m_psz, other.GetLength()))) {}
CStr::CStr(CStr&& other) noexcept : m_psz(std::exchange(other.m_psz, s_empty.text)) {}
CStr::~CStr() { FreeCSTR(std::exchange(m_psz, nullptr)); }

CStr& CStr::operator=(const CStr& other) {
    if (this != &other) ReAllocCSTRLen(&m_psz, other.m_psz, other.GetLength());
    return *this;
}

CStr& CStr::operator=(CStr&& other) noexcept {
    std::swap(m_psz, other.m_psz);
    return *this;
}

CStr& CStr::operator=(const WCHAR* s) {
    ReAllocCSTR(&m_psz, s);
    return *this;
}

CStr& CStr::operator+=(const WCHAR* s) { return Append(s, TextLength(s)); }

CStr& CStr::Append(const WCHAR* s, int n) {
    ExtendCSTRLen(&m_psz, s, n);
    return *this;
}

void CStr::Empty() { FreeCSTR(std::exchange(m_psz, s_empty.text)); }
