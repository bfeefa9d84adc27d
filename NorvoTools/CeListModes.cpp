// The tables behind the copy, delete and compare modes of the list templates.
#include "NorvoTools/CePtrList.h"
#include "NorvoTools/CeStrList.h"
#include "NorvoTools/StrFunctions.h"

#include "Platform/locale.h"
#include "Platform/memory.h"
#include "Platform/strings.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

const WCHAR* Wide(const void* p) { return static_cast<const WCHAR*>(p); }
const char* Narrow(const void* p) { return static_cast<const char*>(p); }

void* CopyBytes(void* to, const void* from, std::size_t bytes) {
    return to ? std::memcpy(to, from, bytes) : nullptr;
}

int CompareNumbers(const void* a, const void* b) {
    auto x = reinterpret_cast<ULONG_PTR>(a);
    auto y = reinterpret_cast<ULONG_PTR>(b);
    return x < y ? -1 : x > y;
}

int CompareByLocale(const void* a, const void* b, DWORD flags) {
    return CompareStringW(LOCALE_USER_DEFAULT, SORT_STRINGSORT | flags, Wide(a), -1, Wide(b), -1) -
           CSTR_EQUAL;
}

bool IsNarrow(int mode) { return mode == STRLIST_STRDUP; }
bool OwnsText(int mode) { return mode >= STRLIST_MALLOC && mode <= STRLIST_BSTR && mode != STRLIST_ADDREF; }

DWORD TextBytes(int mode, const void* text) {
    if (IsNarrow(mode)) return static_cast<DWORD>(std::strlen(Narrow(text)) + 1);
    return static_cast<DWORD>((wcslen(Wide(text)) + 1) * sizeof(WCHAR));
}

// The local heap and the C heap copy by the size of the block; a new block has exactly the text's.
void* NewBlockFor(int mode, std::size_t bytes) {
    return mode == STRLIST_LOCAL ? LocalAlloc(LMEM_FIXED, bytes) : std::malloc(bytes);
}

// Texts from outside need not be terminated; whole characters are taken, and a zero put behind them.
void* TextFromBytes(int mode, const CeElementBytes& bytes) {
    std::size_t unit = IsNarrow(mode) ? 1 : sizeof(WCHAR);
    std::size_t length = bytes.dwSize / unit * unit;
    if (mode == STRLIST_BSTR) {
        std::u16string text(length / unit, u'\0'); // its own length must not count the terminator
        std::memcpy(text.data(), bytes.pData, length);
        return CeCopyForMode(mode, text.c_str());
    }
    auto* text = static_cast<BYTE*>(NewBlockFor(mode, length + unit));
    if (!text) return nullptr;
    std::memcpy(text, bytes.pData, length);
    std::memset(text + length, 0, unit);
    return text;
}

} // namespace

void CeFreeElement(void* p) { std::free(p); }
void CeLocalFreeElement(void* p) { LocalFree(p); }
void CeBstrFreeElement(void* p) { SysFreeString(static_cast<BSTR>(p)); }

void* CeCopyForMode(int nCopyMode, const void* element) {
    void* same = const_cast<void*>(element);
    if (!element) return nullptr;
    switch (nCopyMode) {
    case STRLIST_MALLOC:
        return CopyBytes(std::malloc(_msize(same)), element, _msize(same));
    case STRLIST_LOCAL:
        return CopyBytes(LocalAlloc(LMEM_FIXED, LocalSize(same)), element, LocalSize(same));
    case STRLIST_WCSDUP:
        return _wcsdup(Wide(element));
    case STRLIST_STRDUP:
        return _strdup(Narrow(element));
    case STRLIST_BSTR:
        return *Wide(element) ? SysAllocString(Wide(element)) : SysAllocStringLen(nullptr, 0);
    default:
        return same;
    }
}

void CeDeleteForMode(int nCopyMode, void* element) {
    switch (nCopyMode) {
    case STRLIST_MALLOC:
    case STRLIST_WCSDUP:
    case STRLIST_STRDUP:
        return std::free(element);
    case STRLIST_LOCAL:
        LocalFree(element);
        return;
    case STRLIST_BSTR:
        return SysFreeString(static_cast<BSTR>(element));
    default:
        return;
    }
}

int CeCompareForMode(int nCompareMode, const void* a, const void* b) {
    const bool holds = nCompareMode == STRCOMPARE_HOLDS || nCompareMode == STRCOMPARE_HOLDSNOCASE;
    if (!a || !b) return holds ? 1 : CompareNumbers(a, b);
    switch (nCompareMode) {
    case STRCOMPARE_WCS:
        return wcscmp(Wide(a), Wide(b));
    case STRCOMPARE_WCSNOCASE:
        return _wcsicmp(Wide(a), Wide(b));
    case STRCOMPARE_STR:
        return std::strcmp(Narrow(a), Narrow(b));
    case STRCOMPARE_STRNOCASE:
        return _stricmp(Narrow(a), Narrow(b));
    case STRCOMPARE_LOCALE:
        return CompareByLocale(a, b, 0);
    case STRCOMPARE_LOCALENOCASE:
        return CompareByLocale(a, b, NORM_IGNORECASE);
    case STRCOMPARE_HOLDS:
        return wcsstr(Wide(a), Wide(b)) ? 0 : 1;
    case STRCOMPARE_HOLDSNOCASE:
        return wcsistr(Wide(a), Wide(b)) ? 0 : 1;
    default:
        return CompareNumbers(a, b);
    }
}

bool CeDescribeForMode(int nCopyMode, void** element, CeElementBytes* bytes) {
    if (!bytes->bStore) {
        bytes->pData = *element;
        bytes->dwSize = *element ? TextBytes(nCopyMode, *element) : 0;
        return true;
    }
    if (!OwnsText(nCopyMode)) return false; // nobody would free it
    *element = bytes->dwSize ? TextFromBytes(nCopyMode, *bytes) : nullptr;
    return *element || bytes->dwSize == 0;
}
