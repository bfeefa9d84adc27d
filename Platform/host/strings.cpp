// The C string set for 16-bit text: see Platform/strings.h. None of it can block, so there are no checkpoints here.
#include "Platform/strings.h"

#include "Platform/host/text.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale.h>
#include <malloc.h>
#include <string>
#include <string_view>

using View = std::u16string_view;

// --- Length, copy, compare, search ----------------------------------------------------------------------------------

std::size_t wcslen(const WCHAR* text) { return std::char_traits<WCHAR>::length(text); }

WCHAR* wcscpy(WCHAR* to, const WCHAR* from) {
    std::memmove(to, from, (wcslen(from) + 1) * sizeof(WCHAR));
    return to;
}

WCHAR* wcsncpy(WCHAR* to, const WCHAR* from, std::size_t count) {
    std::size_t i = 0;
    for (; i < count && from[i]; ++i) to[i] = from[i];
    std::fill(to + i, to + count, WCHAR{0});
    return to;
}

WCHAR* wcscat(WCHAR* to, const WCHAR* from) {
    wcscpy(to + wcslen(to), from);
    return to;
}

int wcscmp(const WCHAR* a, const WCHAR* b) {
    while (*a && *a == *b) ++a, ++b;
    return *a - *b;
}

int wcsncmp(const WCHAR* a, const WCHAR* b, std::size_t count) {
    for (; count > 0; --count, ++a, ++b)
        if (*a != *b || !*a) return *a - *b;
    return 0;
}

int lstrcmpW(const WCHAR* a, const WCHAR* b) { return wcscmp(a, b); }

int _wcsicmp(const WCHAR* a, const WCHAR* b) { return _wcsnicmp(a, b, SIZE_MAX); }

int _wcsnicmp(const WCHAR* a, const WCHAR* b, std::size_t count) {
    for (; count > 0; --count, ++a, ++b) {
        if (*a != *b) {
            const int difference = plat::LowerUnit(*a) - plat::LowerUnit(*b);
            if (difference != 0) return difference;
        }
        if (!*a) return 0;
    }
    return 0;
}

const WCHAR* wcsstr(const WCHAR* text, const WCHAR* find) {
    const std::size_t at = View(text).find(View(find));
    return at == View::npos ? nullptr : text + at;
}
WCHAR* wcsstr(WCHAR* text, const WCHAR* find) {
    return const_cast<WCHAR*>(wcsstr(const_cast<const WCHAR*>(text), find));
}

const WCHAR* wcschr(const WCHAR* text, WCHAR find) {
    return std::char_traits<WCHAR>::find(text, wcslen(text) + 1, find);
}
WCHAR* wcschr(WCHAR* text, WCHAR find) {
    return const_cast<WCHAR*>(wcschr(const_cast<const WCHAR*>(text), find));
}

const WCHAR* wcsrchr(const WCHAR* text, WCHAR find) {
    for (const WCHAR* at = text + wcslen(text); at >= text; --at) {
        if (*at == find) return at;
        if (at == text) break;
    }
    return nullptr;
}
WCHAR* wcsrchr(WCHAR* text, WCHAR find) {
    return const_cast<WCHAR*>(wcsrchr(const_cast<const WCHAR*>(text), find));
}

// --- Change in place, copies ----------------------------------------------------------------------------------------

WCHAR* _wcsupr(WCHAR* text) {
    for (WCHAR* at = text; *at; ++at) *at = plat::UpperUnit(*at);
    return text;
}

WCHAR* _wcslwr(WCHAR* text) {
    for (WCHAR* at = text; *at; ++at) *at = plat::LowerUnit(*at);
    return text;
}

WCHAR* _wcsrev(WCHAR* text) {
    std::reverse(text, text + wcslen(text));
    return text;
}

WCHAR* _wcsdup(const WCHAR* text) {
    if (!text) return nullptr;
    const std::size_t bytes = (wcslen(text) + 1) * sizeof(WCHAR);
    auto* copy = static_cast<WCHAR*>(std::malloc(bytes));
    if (copy) std::memcpy(copy, text, bytes);
    return copy;
}

char* _strdup(const char* text) { return text ? strdup(text) : nullptr; }

int _stricmp(const char* a, const char* b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c + 0x20 : static_cast<unsigned char>(c); };
    while (*a && lower(*a) == lower(*b)) ++a, ++b;
    return lower(*a) - lower(*b);
}

std::size_t _msize(void* block) { return malloc_usable_size(block); }

// --- Units ----------------------------------------------------------------------------------------------------------

WCHAR towupper(WCHAR c) { return plat::UpperUnit(c); }
WCHAR towlower(WCHAR c) { return plat::LowerUnit(c); }

namespace {

// What belongs to a letter but is none: marks, letter-like numbers. Without them words of many scripts fall apart.
constexpr std::uint32_t kAlphaCategories = U_GC_L_MASK | U_GC_M_MASK | U_GC_NL_MASK | U_GC_NO_MASK;
// Halves of a pair count as symbols: what stands beyond 16 bits is mostly pictures, and must not be taken for noise.
constexpr std::uint32_t kPunctCategories = U_GC_P_MASK | U_GC_S_MASK | U_GC_CS_MASK;

DWORD ClassesOf(WCHAR c) {
    const std::uint32_t category = U_GET_GC_MASK(c);
    DWORD classes = 0;
    if (category & U_GC_LU_MASK) classes |= kCharUpper;
    if (category & U_GC_LL_MASK) classes |= kCharLower;
    if (category & U_GC_ND_MASK) classes |= kCharDigit;
    if (category & kAlphaCategories) classes |= kCharAlpha;
    if (category & kPunctCategories) classes |= kCharPunct;
    if (category & U_GC_CC_MASK) classes |= kCharControl;
    if (u_isblank(c)) classes |= kCharBlank;
    if (u_isUWhiteSpace(c)) classes |= kCharSpace;
    if (u_isxdigit(c) && c < 0x80) classes |= kCharHex;
    return classes;
}

bool IsWhite(WCHAR c) { return c < 0x80 ? c == u' ' || (c >= 9 && c <= 13) : u_isUWhiteSpace(c) != 0; }

} // namespace

int iswctype(WCHAR c, DWORD mask) {
    if (mask == kCharSpace) return IsWhite(c) ? static_cast<int>(kCharSpace) : 0; // the one asked in loops
    return static_cast<int>(ClassesOf(c) & mask);
}

// --- Numbers --------------------------------------------------------------------------------------------------------

namespace {

int DigitValue(WCHAR c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'a' && c <= u'z') return c - u'a' + 10;
    if (c >= u'A' && c <= u'Z') return c - u'A' + 10;
    return INT_MAX;
}

struct WholeNumber {
    bool negative = false;
    std::uint64_t value = 0; // stops at 2^32
    const WCHAR* end;
};

// A prefix "0x" counts only when a digit follows it.
bool HasHexPrefix(const WCHAR* at) {
    return at[0] == u'0' && (at[1] | 0x20) == u'x' && DigitValue(at[2]) < 16;
}

WholeNumber ReadWhole(const WCHAR* text, int radix) {
    WholeNumber number{.end = text};
    const WCHAR* at = text;
    while (IsWhite(*at)) ++at;
    if (*at == u'-' || *at == u'+') number.negative = *at++ == u'-';
    if ((radix == 0 || radix == 16) && HasHexPrefix(at)) {
        at += 2;
        radix = 16;
    }
    if (radix == 0) radix = *at == u'0' ? 8 : 10;
    for (; DigitValue(*at) < radix; number.end = ++at) {
        number.value = number.value * static_cast<unsigned>(radix) + static_cast<unsigned>(DigitValue(*at));
        number.value = std::min<std::uint64_t>(number.value, 1ULL << 32);
    }
    return number;
}

void StoreEnd(WCHAR** end, const WCHAR* at) {
    if (end) *end = const_cast<WCHAR*>(at);
}

bool IsRadix(int radix) { return radix == 0 || (radix >= 2 && radix <= 36); }

} // namespace

LONG _wtol(const WCHAR* text) { return wcstol(text, nullptr, 10); }

LONG wcstol(const WCHAR* text, WCHAR** end, int radix) {
    if (!IsRadix(radix)) {
        StoreEnd(end, text);
        return 0;
    }
    const WholeNumber number = ReadWhole(text, radix);
    StoreEnd(end, number.end);
    const auto value = static_cast<std::int64_t>(number.value);
    return static_cast<LONG>(number.negative ? std::max<std::int64_t>(-value, INT32_MIN)
                                             : std::min<std::int64_t>(value, INT32_MAX));
}

DWORD wcstoul(const WCHAR* text, WCHAR** end, int radix) {
    if (!IsRadix(radix)) {
        StoreEnd(end, text);
        return 0;
    }
    const WholeNumber number = ReadWhole(text, radix);
    StoreEnd(end, number.end);
    if (number.value > UINT32_MAX) return UINT32_MAX;
    const auto value = static_cast<DWORD>(number.value);
    return number.negative ? 0 - value : value;
}

namespace {

const WCHAR* SkipDigits(const WCHAR* at) {
    while (*at >= u'0' && *at <= u'9') ++at;
    return at;
}

// The end of the decimal number at `text`, sign and exponent with it; `text` itself when there is none.
const WCHAR* EndOfDecimal(const WCHAR* text) {
    const WCHAR* digits = text + (*text == u'-' || *text == u'+');
    const WCHAR* at = SkipDigits(digits);
    auto count = at - digits;
    if (*at == u'.') {
        const WCHAR* fraction = at + 1;
        const WCHAR* end = SkipDigits(fraction);
        count += end - fraction;
        if (count > 0) at = end;
    }
    if (count == 0) return text;
    if ((*at | 0x20) == u'e') {
        const WCHAR* exponent = at + 1 + (at[1] == u'-' || at[1] == u'+');
        if (SkipDigits(exponent) != exponent) at = SkipDigits(exponent);
    }
    return at;
}

locale_t PlainLocale() {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    return plain;
}

} // namespace

double wcstod(const WCHAR* text, WCHAR** end) {
    const WCHAR* at = text;
    while (IsWhite(*at)) ++at;
    const WCHAR* stop = EndOfDecimal(at);
    StoreEnd(end, stop == at ? text : stop);
    if (stop == at) return 0.0;
    const std::string narrow(at, stop); // signs, digits, a point: all ASCII
    return strtod_l(narrow.c_str(), nullptr, PlainLocale());
}

char* _fcvt(double value, int digits, int* point, int* sign) {
    constexpr int kMostDecimals = 100;
    thread_local char text[std::numeric_limits<double>::max_exponent10 + kMostDecimals + 4];
    *sign = std::signbit(value);
    if (!std::isfinite(value)) {
        *point = 400; // far above any place that is written out
        return std::strcpy(text, std::isnan(value) ? "nan" : "inf");
    }
    const int decimals = std::clamp(digits, 0, kMostDecimals);
    char* end =
        std::to_chars(text, text + sizeof text - 1, std::fabs(value), std::chars_format::fixed, decimals).ptr;
    char* dot = std::find(text, end, '.');
    *point = static_cast<int>(dot - text);
    if (dot != end) end = std::copy(dot + 1, end, dot);
    *end = 0;
    if (text[0] != '0') return text;
    // Below 1 the zeros in front are told by the place of the point, but the value 0 keeps its decimals.
    const char* first = text + 1;
    if (value == 0.0) {
        *point = 0;
    } else {
        first = std::find_if(first, static_cast<const char*>(end), [](char c) { return c != '0'; });
        *point = static_cast<int>(text + 1 - first);
    }
    return const_cast<char*>(first);
}

char* _gcvt(double value, int digits, char* buffer) {
    const int significant = std::clamp(digits, 1, 17);
    const auto result =
        std::to_chars(buffer, buffer + significant + 9, value, std::chars_format::general, significant);
    *result.ptr = 0;
    return buffer;
}
