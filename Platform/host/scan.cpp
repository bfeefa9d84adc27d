// swscanf: see Platform/strings.h for the forms it knows.
#include "Platform/strings.h"

#include <algorithm>
#include <climits>

namespace {

struct ScanDirective {
    bool skipped = false;   // "*": read and not stored
    std::size_t width = 0;  // 0 none
    int size = sizeof(int); // bytes of the number
    WCHAR type = 0;
};

struct ScanState {
    const WCHAR* text;
    std::va_list arguments;
    int stored = 0;
};

const WCHAR* SkipWhite(const WCHAR* text) {
    while (iswctype(*text, kCharSpace)) ++text;
    return text;
}

ScanDirective ReadDirective(const WCHAR*& format) {
    ScanDirective directive;
    if (*format == u'*') directive.skipped = true, ++format;
    for (; *format >= u'0' && *format <= u'9'; ++format)
        directive.width = std::min<std::size_t>(directive.width * 10 + (*format - u'0'), INT_MAX);
    if (format[0] == u'l' && format[1] == u'l')
        directive.size = sizeof(long long), format += 2;
    else if (*format == u'l')
        ++format; // 32 bits, as without
    else if (*format == u'h')
        directive.size = sizeof(short), ++format;
    directive.type = *format;
    if (*format) ++format;
    return directive;
}

int DigitOf(WCHAR c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    const int letter = (c | 0x20) - u'a';
    return c < 0x80 && letter >= 0 && letter < 26 ? letter + 10 : INT_MAX;
}

int RadixOf(const ScanDirective& directive, const WCHAR*& at, const WCHAR* end) {
    const bool prefix = end - at > 2 && at[0] == u'0' && (at[1] | 0x20) == u'x' && DigitOf(at[2]) < 16;
    if (prefix && (directive.type == u'x' || directive.type == u'i')) return at += 2, 16;
    switch (directive.type) {
    case u'x':
        return 16;
    case u'o':
        return 8;
    case u'i':
        return at != end && *at == u'0' ? 8 : 10;
    default:
        return 10;
    }
}

void StoreNumber(const ScanDirective& directive, ScanState& state, unsigned long long value) {
    if (directive.size == sizeof(long long))
        *va_arg(state.arguments, unsigned long long*) = value;
    else if (directive.size == sizeof(short))
        *va_arg(state.arguments, unsigned short*) = static_cast<unsigned short>(value);
    else
        *va_arg(state.arguments, unsigned*) = static_cast<unsigned>(value);
    ++state.stored;
}

bool ScanNumber(const ScanDirective& directive, ScanState& state) {
    const WCHAR* at = state.text;
    const WCHAR* end = at;
    while (*end && (directive.width == 0 || end < at + directive.width)) ++end;
    const bool negative = at != end && *at == u'-';
    if (at != end && (*at == u'-' || *at == u'+')) ++at;
    const int radix = RadixOf(directive, at, end);
    const WCHAR* digits = at;
    unsigned long long value = 0;
    for (; at != end && DigitOf(*at) < radix; ++at)
        value = value * static_cast<unsigned>(radix) + static_cast<unsigned>(DigitOf(*at));
    if (at == digits) return false;
    state.text = at;
    if (!directive.skipped) StoreNumber(directive, state, negative ? 0 - value : value);
    return true;
}

bool ScanUnits(const ScanDirective& directive, ScanState& state) {
    const bool word = directive.type == u's';
    const std::size_t most = word ? directive.width : std::max<std::size_t>(directive.width, 1);
    std::size_t length = 0;
    while (length < most && state.text[length] && !(word && iswctype(state.text[length], kCharSpace)))
        ++length;
    if (length == 0 || (!word && length < most)) return false;
    if (!directive.skipped) {
        WCHAR* to = va_arg(state.arguments, WCHAR*);
        std::copy_n(state.text, length, to);
        if (word) to[length] = 0;
        ++state.stored;
    }
    state.text += length;
    return true;
}

bool ScanValue(const ScanDirective& directive, ScanState& state) {
    switch (directive.type) {
    case u'd':
    case u'i':
    case u'u':
    case u'x':
    case u'o':
        return ScanNumber(directive, state);
    case u'c':
    case u's':
        return ScanUnits(directive, state);
    default:
        return false;
    }
}

// Stops at the first thing that does not fit.
int Scan(ScanState& state, const WCHAR* format) {
    bool read = false;
    while (*format) {
        if (iswctype(*format, kCharSpace)) {
            state.text = SkipWhite(state.text);
            format = SkipWhite(format);
            continue;
        }
        if (*format != u'%' || format[1] == u'%') {
            if (*format == u'%') ++format;
            if (*state.text != *format) break;
            ++state.text, ++format;
            continue;
        }
        const ScanDirective directive = ReadDirective(++format);
        if (directive.type != u'c') state.text = SkipWhite(state.text);
        if (!*state.text || !ScanValue(directive, state)) break;
        read = true;
    }
    const bool endedEarly = !read && !*state.text;
    return endedEarly ? -1 : state.stored;
}

} // namespace

int swscanf(const WCHAR* text, const WCHAR* format, ...) {
    ScanState state{.text = text, .arguments = {}};
    va_start(state.arguments, format);
    const int stored = Scan(state, format);
    va_end(state.arguments);
    return stored;
}
