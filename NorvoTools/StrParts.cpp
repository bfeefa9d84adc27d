// Parts of a text, and trimming.
#include "NorvoTools/StrFunctions.h"

#include "Platform/strings.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

bool IsWhite(WCHAR c) { return iswctype(c, kCharSpace) != 0; }

WCHAR* NewText(std::u16string_view text) {
    auto* copy = static_cast<WCHAR*>(std::malloc((text.size() + 1) * sizeof(WCHAR)));
    if (!copy) return nullptr;
    if (!text.empty()) std::memcpy(copy, text.data(), text.size() * sizeof(WCHAR));
    copy[text.size()] = 0;
    return copy;
}

std::u16string_view View(const WCHAR* s) { return s ? std::u16string_view(s) : std::u16string_view(); }

std::u16string_view MidOf(const WCHAR* s, int start, int n) {
    std::u16string_view text = View(s);
    if (start < 0 || n < -1 || static_cast<std::size_t>(start) >= text.size()) return {};
    return text.substr(static_cast<std::size_t>(start), n == -1 ? text.npos : static_cast<std::size_t>(n));
}

std::size_t CountOrAll(std::u16string_view text, int n) {
    return n < 0 || static_cast<std::size_t>(n) > text.size() ? text.size() : static_cast<std::size_t>(n);
}

std::u16string_view WithoutLeadingWhite(std::u16string_view text) {
    while (!text.empty() && IsWhite(text.front())) text.remove_prefix(1);
    return text;
}

std::u16string_view WithoutTrailingWhite(std::u16string_view text) {
    while (!text.empty() && IsWhite(text.back())) text.remove_suffix(1);
    return text;
}

} // namespace

WCHAR* MidStr(const WCHAR* s, int start, int n) { return NewText(MidOf(s, start, n)); }

WCHAR* MidStr(const WCHAR* s, WCHAR* buf, int start, int n) {
    if (!buf) return nullptr;
    std::u16string_view part = MidOf(s, start, n);
    if (!part.empty()) std::memmove(buf, part.data(), part.size() * sizeof(WCHAR)); // buf may be s
    buf[part.size()] = 0;
    return buf;
}

WCHAR* LeftStr(const WCHAR* s, int n) { return NewText(View(s).substr(0, CountOrAll(View(s), n))); }

WCHAR* RightStr(const WCHAR* s, int n) {
    std::u16string_view text = View(s);
    return NewText(text.substr(text.size() - CountOrAll(text, n)));
}

WCHAR* LTrimStr(const WCHAR* s) { return s ? NewText(WithoutLeadingWhite(s)) : nullptr; }
WCHAR* RTrimStr(const WCHAR* s) { return s ? NewText(WithoutTrailingWhite(s)) : nullptr; }
WCHAR* TrimStr(const WCHAR* s) { return s ? NewText(WithoutLeadingWhite(WithoutTrailingWhite(s))) : nullptr; }

int RTrimStrInPlace(WCHAR* s) {
    if (!s) return 0;
    std::size_t length = WithoutTrailingWhite(s).size(); // CR and LF are white space
    s[length] = 0;
    return static_cast<int>(length);
}

WCHAR* JustFileName(const WCHAR* path) {
    std::u16string_view text = View(path);
    return NewText(text.substr(text.rfind(u'\\') + 1)); // none: npos + 1 is the whole
}

WCHAR* JustPath(const WCHAR* path) {
    std::u16string_view text = View(path);
    auto last = text.rfind(u'\\');
    return NewText(last == text.npos ? std::u16string_view(u"\\") : text.substr(0, last + 1));
}
