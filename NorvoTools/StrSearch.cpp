// Searching and replacing.
#include "NorvoTools/StrFunctions.h"

#include "Platform/strings.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

bool IsEmptyText(const WCHAR* s) { return !s || !*s; }

// A text that ends early differs at its terminator.
bool StartsWithNoCase(const WCHAR* text, const WCHAR* wanted) {
    for (; *wanted; ++text, ++wanted)
        if (*text != *wanted && towupper(*text) != towupper(*wanted)) return false;
    return true;
}

const WCHAR* FindText(const WCHAR* s, const WCHAR* text, bool bCase) {
    return bCase ? wcsstr(s, text) : wcsistr(s, text);
}

int CountOf(const WCHAR* s, const WCHAR* find, std::size_t length, bool bCase) {
    int count = 0;
    for (const WCHAR* at = FindText(s, find, bCase); at; at = FindText(at + length, find, bCase)) ++count;
    return count;
}

WCHAR* Append(WCHAR* to, const WCHAR* from, std::size_t length) {
    if (length) std::memcpy(to, from, length * sizeof(WCHAR));
    return to + length;
}

} // namespace

WCHAR* wcsistr(const WCHAR* a, const WCHAR* b) {
    if (IsEmptyText(a) || IsEmptyText(b)) return nullptr;
    const WCHAR first = towupper(*b);
    for (; *a; ++a)
        if (towupper(*a) == first && StartsWithNoCase(a, b)) return const_cast<WCHAR*>(a);
    return nullptr;
}

int IndexOf(const WCHAR* s, WCHAR ch, int start) {
    if (!s || start < 0) return -1;
    auto at = std::u16string_view(s).find(ch, static_cast<std::size_t>(start));
    return at == std::u16string_view::npos ? -1 : static_cast<int>(at);
}

int IndexOf(const WCHAR* s, const WCHAR* text, int start, bool bCase) {
    if (IsEmptyText(s) || IsEmptyText(text) || start < 0 || static_cast<std::size_t>(start) >= wcslen(s))
        return -1;
    const WCHAR* found = FindText(s + start, text, bCase);
    return found ? static_cast<int>(found - s) : -1;
}

int IndexOfA(const char* a, const char* b) {
    if (!a || !b || !*b) return -1;
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    for (int at = 0; a[at]; ++at) {
        int n = 0;
        while (b[n] && lower(a[at + n]) == lower(b[n])) ++n;
        if (!b[n]) return at;
    }
    return -1;
}

void ReplaceChar(WCHAR* s, WCHAR from, WCHAR to) {
    if (!s) return;
    for (; *s; ++s)
        if (*s == from) *s = to;
}

WCHAR* ReplaceStr(const WCHAR* s, const WCHAR* find, const WCHAR* with, int start, bool bCase) {
    if (!s) return AllocLPWSTR(nullptr);
    const std::size_t length = wcslen(s);
    if (length == 0 || IsEmptyText(find) || start < 0 || static_cast<std::size_t>(start) >= length)
        return _wcsdup(s);
    if (!with) with = u"";
    const std::size_t findLength = wcslen(find);
    const std::size_t withLength = wcslen(with);
    const auto count = static_cast<std::size_t>(CountOf(s + start, find, findLength, bCase));
    auto* result = static_cast<WCHAR*>(
        std::malloc((length - count * findLength + count * withLength + 1) * sizeof(WCHAR)));
    if (!result) return nullptr;
    WCHAR* to = Append(result, s, static_cast<std::size_t>(start));
    const WCHAR* from = s + start;
    for (const WCHAR* at = FindText(from, find, bCase); at; at = FindText(from, find, bCase)) {
        to = Append(to, from, static_cast<std::size_t>(at - from));
        to = Append(to, with, withLength);
        from = at + findLength;
    }
    Append(to, from, wcslen(from) + 1);
    return result;
}
