// Fields between delimiters, and the tokenizer.
#include "NorvoTools/StrFunctions.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace {

// The n-th delimiter, or null. The terminator is never one.
template<class Char>
Char* NthDelimiter(const Char* s, int n, Char ch) {
    if (!s || n < 1) return nullptr;
    for (; *s; ++s)
        if (*s == ch && --n == 0) return const_cast<Char*>(s);
    return nullptr;
}

template<class Char>
Char* NewText(std::basic_string_view<Char> text) {
    auto* copy = static_cast<Char*>(std::malloc((text.size() + 1) * sizeof(Char)));
    if (!copy) return nullptr;
    if (!text.empty()) std::memcpy(copy, text.data(), text.size() * sizeof(Char));
    copy[text.size()] = 0;
    return copy;
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
