// Copies: C-heap texts and BSTRs.
#include "NorvoTools/StrFunctions.h"

#include "Platform/memory.h"
#include "Platform/strings.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kSpareRoom = 8;  // characters beyond the text, its terminator among them
constexpr std::size_t kEmptyBlock = 8; // bytes

// The first byte decides, not the first character; see the header.
bool IsEmptyBSTR(const WCHAR* s) { return !s || (*s & 0xFF) == 0; }

} // namespace

WCHAR* AllocLPWSTR(const WCHAR* s) {
    if (!s || !*s) return static_cast<WCHAR*>(std::calloc(kEmptyBlock, 1));
    std::size_t length = wcslen(s);
    auto* copy = static_cast<WCHAR*>(std::malloc((length + kSpareRoom) * sizeof(WCHAR)));
    if (copy) std::memcpy(copy, s, (length + 1) * sizeof(WCHAR));
    return copy;
}

BSTR AllocBSTR(const WCHAR* s) { return IsEmptyBSTR(s) ? SysAllocStringLen(nullptr, 0) : SysAllocString(s); }

int ReAllocBSTR(BSTR* b, const WCHAR* s) {
    if (!b || !s) return 0;
    BSTR fresh = AllocBSTR(s);
    if (!fresh) return 0;
    FreeBSTR(*b);
    *b = fresh;
    return 1;
}

void FreeBSTR(BSTR b) {
    if (!IsEmptyBSTR(b)) SysFreeString(b);
}

int BSTRLen(BSTR b) { return IsEmptyBSTR(b) ? 0 : static_cast<int>(SysStringLen(b)); }
