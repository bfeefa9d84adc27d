// Parts of a text, trimming, fields between delimiters, and the tokenizer.
#include "NorvoTools/StrFunctions.h"

#include "Platform/strings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace {

bool IsWhite(WCHAR c) { return iswctype(c, kCharSpace) != 0; }

template<class Char>
Char* NewText(std::basic_string_view<Char> text) {
    auto* copy = static_cast<Char*>(std::malloc((text.size() + 1) * sizeof(Char)));
    if (!copy) return nullptr;
    if (!text.empty()) std::memcpy(copy, text.data(), text.size() * sizeof(Char));
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

// The n-th delimiter, or null. The terminator is never one.
template<class Char>
Char* NthDelimiter(const Char* s, int n, Char ch) {
    if (!s || n < 1) return nullptr;
    for (; *s; ++s)
        if (*s == ch && --n == 0) return const_cast<Char*>(s);
    return nullptr;
}

template<class Char>
Char* NthField(const Char* s, int n, Char ch) {
    if (!s || n < 1) return nullptr;
    const Char* begin = s;
    if (n > 1) {
        begin = NthDelimiter(s, n - 1, ch);
        if (!begin) return nullptr;
        ++begin;
    }
    std::basic_string_view<Char> rest(begin);
    return NewText(rest.substr(0, ch ? rest.find(ch) : rest.npos));
}

} // namespace

// --- Parts and trimming -------------------------------------------------------------------------------------------

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

// --- Fields and tokens --------------------------------------------------------------------------------------------

int SubStrCount(const WCHAR* s, WCHAR ch) {
    if (!s) return 0;
    std::u16string_view text(s);
    return 1 + static_cast<int>(std::count(text.begin(), text.end(), ch));
}

WCHAR* GetDelimeterPtr(const WCHAR* s, int n, WCHAR ch) { return NthDelimiter(s, n, ch); }
char* GetDelimeterPtrA(const char* s, int n, char ch) { return NthDelimiter(s, n, ch); }
WCHAR* SubStr(const WCHAR* s, int n, WCHAR ch) { return NthField(s, n, ch); }
char* SubStrA(const char* s, int n, char ch) { return NthField(s, n, ch); }

CeStrList<>* Split(const WCHAR* s, WCHAR ch) {
    auto list = std::make_unique<CeStrList<>>(0, STRLIST_WCSDUP, STRCOMPARE_LOCALENOCASE);
    if (!s) return list.release();
    std::u16string field;
    for (; *s; ++s) {
        if (*s != ch) {
            field.push_back(*s);
            continue;
        }
        list->Add(field.c_str());
        field.clear();
    }
    list->Add(field.c_str());
    return list.release();
}

WCHAR* xstrtok(XSTRTOK* state) {
    if (!state) return nullptr;
    if (state->m_pStart) {
        state->m_pResume = state->m_pStart;
        state->m_pStart = nullptr;
    }
    WCHAR* token = state->m_pResume;
    if (!token || !*token) return nullptr;
    const WCHAR delimiter = state->m_pDelimiter ? *state->m_pDelimiter : WCHAR(0);
    WCHAR* end = token;
    while (*end && *end != delimiter) ++end;
    if (*end) *end++ = 0;
    state->m_pResume = end;
    return token;
}
