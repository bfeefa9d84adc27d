// The formatter behind wvsprintfW and _snwprintf, and swscanf: see Platform/strings.h for the forms it knows.
//
// Formats come from settings, translations and templates too, so they are hostile: widths are bounded by the room,
// an unknown type takes no argument, and nothing is ever written through one.
#include "Platform/host/text.h"
#include "Platform/strings.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>

namespace {

// A va_list that can be handed on by reference.
struct Arguments {
    std::va_list list;
};

// The buffer and what is left of it.
class Output {
public:
    Output(WCHAR* buffer, std::size_t room) : m_buffer(buffer), m_room(room) {}
    void Put(WCHAR c) {
        if (m_size < m_room)
            m_buffer[m_size++] = c;
        else
            m_cut = true;
    }
    void Fill(WCHAR c, std::size_t count) {
        for (; count > 0 && !m_cut; --count) Put(c);
    }
    template<class Unit>
    void Put(std::basic_string_view<Unit> text) {
        for (std::size_t i = 0; i < text.size() && !m_cut; ++i) Put(static_cast<WCHAR>(text[i]));
    }
    std::size_t Size() const { return m_size; }
    bool IsCut() const { return m_cut; }

private:
    WCHAR* m_buffer;
    std::size_t m_room;
    std::size_t m_size = 0;
    bool m_cut = false;
};

enum class Length { None, Short, Long, LongLong };

// What stands between % and the type.
struct Directive {
    bool left = false, plus = false, blank = false, alternate = false, zeros = false;
    std::size_t width = 0;
    bool hasPrecision = false;
    std::size_t precision = 0;
    Length length = Length::None;
};

constexpr std::size_t kMostWidth = 0x10000; // more than any buffer of the library holds

// A number of the format, or of the arguments for "*".
long long ReadCount(const WCHAR*& at, Arguments& arguments) {
    if (*at == u'*') {
        ++at;
        return va_arg(arguments.list, int);
    }
    long long count = 0;
    for (; *at >= u'0' && *at <= u'9'; ++at)
        count = std::min<long long>(count * 10 + (*at - u'0'), kMostWidth);
    return count;
}

bool ReadFlag(WCHAR c, Directive& directive) {
    switch (c) {
    case u'-':
        directive.left = true;
        return true;
    case u'+':
        directive.plus = true;
        return true;
    case u' ':
        directive.blank = true;
        return true;
    case u'#':
        directive.alternate = true;
        return true;
    case u'0':
        directive.zeros = true;
        return true;
    default:
        return false;
    }
}

Length ReadLength(const WCHAR*& at) {
    if (at[0] == u'I' && at[1] == u'6' && at[2] == u'4') return at += 3, Length::LongLong;
    if (at[0] == u'l' && at[1] == u'l') return at += 2, Length::LongLong;
    if (at[0] == u'l' || at[0] == u'w') return ++at, Length::Long;
    if (at[0] == u'h') return ++at, Length::Short;
    return Length::None;
}

Directive ReadDirective(const WCHAR*& at, Arguments& arguments) {
    Directive directive;
    while (ReadFlag(*at, directive)) ++at;
    const long long width = ReadCount(at, arguments);
    directive.left |= width < 0;
    directive.width = static_cast<std::size_t>(std::min<long long>(std::llabs(width), kMostWidth));
    if (*at == u'.') {
        ++at;
        const long long precision = ReadCount(at, arguments);
        directive.hasPrecision = precision >= 0;
        directive.precision = static_cast<std::size_t>(std::clamp<long long>(precision, 0, kMostWidth));
    }
    directive.length = ReadLength(at);
    return directive;
}

// --- One value of each kind -----------------------------------------------------------------------------------------

template<class Unit>
void PutPadded(Output& out, const Directive& directive, std::basic_string_view<Unit> text) {
    const std::size_t padding = directive.width > text.size() ? directive.width - text.size() : 0;
    if (!directive.left) out.Fill(directive.zeros ? u'0' : u' ', padding);
    out.Put(text);
    if (directive.left) out.Fill(u' ', padding);
}

// The length of a text that may lack its end within the precision.
template<class Unit>
std::basic_string_view<Unit> Bounded(const Unit* text, const Directive& directive) {
    std::size_t length = 0;
    while ((!directive.hasPrecision || length < directive.precision) && text[length]) ++length;
    return {text, length};
}

void PutText(Output& out, const Directive& directive, Arguments& arguments, bool narrow) {
    if (narrow) {
        const char* text = va_arg(arguments.list, const char*);
        const std::u16string wide = plat::ToUtf16(Bounded(text ? text : "(null)", directive));
        return PutPadded(out, directive, std::u16string_view(wide));
    }
    const WCHAR* text = va_arg(arguments.list, const WCHAR*);
    PutPadded(out, directive, Bounded(text ? text : u"(null)", directive));
}

void PutUnit(Output& out, const Directive& directive, Arguments& arguments, bool narrow) {
    const int value = va_arg(arguments.list, int);
    const auto unit = narrow ? static_cast<WCHAR>(value & 0xFF) : static_cast<WCHAR>(value);
    PutPadded(out, directive, std::u16string_view(&unit, 1));
}

// Sign or prefix, zeros up to the precision (or the width), digits.
void PutDigits(Output& out, const Directive& directive, std::string_view prefix, std::string_view digits) {
    std::size_t zeros = directive.hasPrecision && directive.precision > digits.size()
                            ? directive.precision - digits.size()
                            : 0;
    const std::size_t size = prefix.size() + digits.size();
    if (directive.zeros && !directive.left && !directive.hasPrecision && directive.width > size)
        zeros = directive.width - size;
    const std::size_t padding = directive.width > size + zeros ? directive.width - size - zeros : 0;
    if (!directive.left) out.Fill(u' ', padding);
    out.Put(prefix);
    out.Fill(u'0', zeros);
    out.Put(digits);
    if (directive.left) out.Fill(u' ', padding);
}

std::string_view SignOf(const Directive& directive, bool negative) {
    return negative ? "-" : directive.plus ? "+" : directive.blank ? " " : "";
}

std::string_view DigitsOf(unsigned long long value, int radix, bool upper, const Directive& directive,
                          char (&buffer)[24]) {
    if (value == 0 && directive.hasPrecision && directive.precision == 0) return {};
    char* end = std::to_chars(buffer, buffer + sizeof buffer, value, radix).ptr;
    if (upper) std::for_each(buffer, end, [](char& c) { c = c >= 'a' ? static_cast<char>(c - 0x20) : c; });
    return {buffer, static_cast<std::size_t>(end - buffer)};
}

// Every number but those of 64 bits comes as a 32-bit one, also with "l".
long long TakeSigned(const Directive& directive, Arguments& arguments) {
    if (directive.length == Length::LongLong) return va_arg(arguments.list, long long);
    const int value = va_arg(arguments.list, int);
    return directive.length == Length::Short ? static_cast<short>(value) : value;
}

unsigned long long TakeUnsigned(const Directive& directive, Arguments& arguments) {
    if (directive.length == Length::LongLong) return va_arg(arguments.list, unsigned long long);
    const unsigned value = va_arg(arguments.list, unsigned);
    return directive.length == Length::Short ? static_cast<unsigned short>(value) : value;
}

void PutSigned(Output& out, const Directive& directive, Arguments& arguments) {
    const long long value = TakeSigned(directive, arguments);
    const auto magnitude =
        value < 0 ? 0ULL - static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value);
    char buffer[24];
    PutDigits(out, directive, SignOf(directive, value < 0),
              DigitsOf(magnitude, 10, false, directive, buffer));
}

void PutUnsigned(Output& out, const Directive& directive, Arguments& arguments, WCHAR type) {
    const unsigned long long value = TakeUnsigned(directive, arguments);
    const int radix = type == u'u' ? 10 : type == u'o' ? 8 : 16;
    const bool prefixed = directive.alternate && value != 0;
    const std::string_view prefix = !prefixed || radix == 10 ? ""
                                    : radix == 8             ? "0"
                                    : type == u'X'           ? "0X"
                                                             : "0x";
    char buffer[24];
    PutDigits(out, directive, prefix, DigitsOf(value, radix, type == u'X', directive, buffer));
}

void PutPointer(Output& out, Directive directive, Arguments& arguments) {
    const auto value = reinterpret_cast<ULONG_PTR>(va_arg(arguments.list, void*));
    directive.hasPrecision = true;
    directive.precision = 2 * sizeof(void*);
    char buffer[24];
    PutDigits(out, directive, "", DigitsOf(value, 16, true, directive, buffer));
}

void PutReal(Output& out, Directive directive, Arguments& arguments, WCHAR type) {
    constexpr std::size_t kMostDecimals = 100;
    constexpr int kDefaultDecimals = 6;
    const double value = va_arg(arguments.list, double);
    const WCHAR lower = type | 0x20;
    const auto form = lower == u'f'   ? std::chars_format::fixed
                      : lower == u'e' ? std::chars_format::scientific
                                      : std::chars_format::general;
    const int decimals = directive.hasPrecision
                             ? static_cast<int>(std::min(directive.precision, kMostDecimals))
                             : kDefaultDecimals;
    char buffer[512];
    char* end = std::to_chars(buffer, buffer + sizeof buffer, std::fabs(value), form, decimals).ptr;
    if (type != lower)
        std::for_each(buffer, end, [](char& c) { c = c >= 'a' ? static_cast<char>(c - 0x20) : c; });
    directive.hasPrecision = false;
    directive.zeros = directive.zeros && std::isfinite(value);
    PutDigits(out, directive, SignOf(directive, std::signbit(value)),
              {buffer, static_cast<std::size_t>(end - buffer)});
}

// --- The format -----------------------------------------------------------------------------------------------------

// False for a type that is none; then no argument has been taken for it.
bool PutValue(Output& out, const Directive& directive, Arguments& arguments, WCHAR type) {
    switch (type) {
    case u'd':
    case u'i':
        PutSigned(out, directive, arguments);
        return true;
    case u'u':
    case u'x':
    case u'X':
    case u'o':
        PutUnsigned(out, directive, arguments, type);
        return true;
    case u'c':
        PutUnit(out, directive, arguments, directive.length == Length::Short);
        return true;
    case u'C':
        PutUnit(out, directive, arguments, directive.length != Length::Long);
        return true;
    case u's':
        PutText(out, directive, arguments, directive.length == Length::Short);
        return true;
    case u'S':
        PutText(out, directive, arguments, directive.length != Length::Long);
        return true;
    case u'p':
        PutPointer(out, directive, arguments);
        return true;
    case u'e':
    case u'E':
    case u'f':
    case u'F':
    case u'g':
    case u'G':
        PutReal(out, directive, arguments, type);
        return true;
    default:
        return false;
    }
}

void Format(Output& out, const WCHAR* format, Arguments& arguments) {
    for (const WCHAR* at = format; *at && !out.IsCut();) {
        if (*at != u'%') {
            out.Put(*at++);
            continue;
        }
        const WCHAR* percent = at++;
        if (*at == u'%') {
            out.Put(*at++);
            continue;
        }
        const Directive directive = ReadDirective(at, arguments);
        if (*at && PutValue(out, directive, arguments, *at))
            ++at;
        else
            out.Put(std::u16string_view(percent, static_cast<std::size_t>(at - percent)));
    }
}

Output FormatTo(WCHAR* buffer, std::size_t room, const WCHAR* format, std::va_list list) {
    Arguments arguments;
    va_copy(arguments.list, list);
    Output out(buffer, room);
    Format(out, format, arguments);
    va_end(arguments.list);
    return out;
}

constexpr std::size_t kFormatRoom = 1024; // what every caller of wvsprintfW has at least

} // namespace

int wvsprintfW(WCHAR* buffer, const WCHAR* format, std::va_list arguments) {
    const Output out = FormatTo(buffer, kFormatRoom - 1, format, arguments);
    buffer[out.Size()] = 0;
    return static_cast<int>(out.Size());
}

int wsprintfW(WCHAR* buffer, const WCHAR* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int length = wvsprintfW(buffer, format, arguments);
    va_end(arguments);
    return length;
}

int _vsnwprintf(WCHAR* buffer, std::size_t count, const WCHAR* format, std::va_list arguments) {
    const Output out = FormatTo(buffer, std::min<std::size_t>(count, INT_MAX), format, arguments);
    if (out.IsCut()) return -1;
    if (out.Size() < count) buffer[out.Size()] = 0;
    return static_cast<int>(out.Size());
}

int _snwprintf(WCHAR* buffer, std::size_t count, const WCHAR* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int length = _vsnwprintf(buffer, count, format, arguments);
    va_end(arguments);
    return length;
}

HRESULT StringCchVPrintfW(WCHAR* buffer, std::size_t room, const WCHAR* format, std::va_list arguments) {
    if (room == 0) return E_INVALIDARG;
    const Output out = FormatTo(buffer, room - 1, format, arguments);
    buffer[out.Size()] = 0;
    return out.IsCut() ? E_INSUFFICIENTBUFFER : S_OK;
}

HRESULT StringCchPrintfW(WCHAR* buffer, std::size_t room, const WCHAR* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const HRESULT result = StringCchVPrintfW(buffer, room, format, arguments);
    va_end(arguments);
    return result;
}
