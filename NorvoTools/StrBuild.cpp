// Building texts in buffers of the caller, and cleaning them.
#include "NorvoTools/StrFunctions.h"

#include "Platform/strings.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr int kLongestFileName = 225;
constexpr std::u16string_view kForbiddenInFileNames = u"\t\n\r\"*/:<>?\\|";

bool IsForbidden(WCHAR c) { return kForbiddenInFileNames.find(c) != std::u16string_view::npos; }

bool StaysInUrl(WCHAR c) {
    return (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
}

// At most n characters of a text (-1: all), none of which is looked at behind them; null is empty.
std::u16string_view AtMost(const WCHAR* text, int n) {
    if (!text) return {};
    std::size_t length = 0;
    for (const auto limit = static_cast<std::size_t>(n); length < limit && text[length]; ++length) {}
    return {text, length};
}

// The text may overlap its place.
void Put(WCHAR* to, std::u16string_view text) {
    if (!text.empty()) std::memmove(to, text.data(), text.size() * sizeof(WCHAR));
    to[text.size()] = 0;
}

} // namespace

// The length is taken first, so that a source in the destination does not grow under the copying.
void StringBuilder(WCHAR* dst, int* pos, const WCHAR* src, int n) {
    const std::u16string_view text = AtMost(src, n);
    Put(dst + *pos, text);
    *pos += static_cast<int>(text.size());
}

void SafeStringBuilder(WCHAR* dst, int* pos, const WCHAR* src, int n) {
    if (dst && pos && src && *src) StringBuilder(dst, pos, src, n);
}

WCHAR* wstrncpy(WCHAR* dst, const WCHAR* src, int n) {
    if (dst) Put(dst, AtMost(src, std::max(n, 0)));
    return dst;
}

// The place of the terminator is what the phone and message screens were built on: a buffer that starts empty and
// zero-filled gets the bare number, any other is cut at the source's length.
void CopyPhone(WCHAR* dst, const WCHAR* src) {
    if (!dst || !src) return;
    const std::u16string_view phone(src);
    std::copy_if(phone.begin(), phone.end(), dst + wcslen(dst),
                 [](WCHAR c) { return std::u16string_view(u" -()").find(c) == std::u16string_view::npos; });
    dst[phone.size()] = 0;
}

WCHAR* CleanupStringForPrintable(WCHAR* s, int n) {
    if (!s || n <= 0) return s;
    const std::u16string_view text = AtMost(s, n);
    auto* copy = static_cast<WCHAR*>(std::malloc((text.size() + 1) * sizeof(WCHAR)));
    if (!copy) return nullptr;
    WCHAR* end = std::copy_if(text.begin(), text.end(), copy,
                              [](WCHAR c) { return iswctype(c, kCharPrintable) != 0; });
    *end = 0;
    return copy;
}

int FilenameContrabandCleaner(WCHAR* s, bool bTestOnly) {
    if (!s) return 0;
    std::u16string_view text(s);
    if (bTestOnly) return std::any_of(text.begin(), text.end(), IsForbidden);
    std::replace_if(s, s + text.size(), IsForbidden, u'_');
    return static_cast<int>(std::min<std::size_t>(text.size(), kLongestFileName));
}

void UrlEncode(const WCHAR* src, WCHAR* dst, int size) {
    if (!dst || size <= 0) return;
    int used = 0;
    for (; src && *src; ++src) {
        std::array<WCHAR, 16> piece{*src};
        int length = 1;
        if (*src == u' ') {
            piece[0] = u'+';
        } else if (!StaysInUrl(*src)) {
            // A character above 0xFF has three or four digits, of which only the first two are taken.
            wsprintfW(piece.data(), u"%%%-2.2X", static_cast<UINT>(*src));
            length = 3;
        }
        if (used + length > size - 2) break;
        std::copy_n(piece.data(), length, dst + used);
        used += length;
    }
    dst[used] = 0;
}
