#include "Platform/host/text.h"

#include "Platform/host/codepages.h"

#include <unicode/uchar.h>

namespace plat {

namespace {

// Windows-1252 where it differs from Latin-1; the five bytes without a character keep their control code.
constexpr WCHAR kWindows1252[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

constexpr bool IsHigh(char32_t c) { return (c & 0xFFFFFC00) == 0xD800; }
constexpr bool IsLow(char32_t c) { return (c & 0xFFFFFC00) == 0xDC00; }

// The bytes of the sequence that starts with `lead`, 0 when none does.
int SequenceLength(BYTE lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 0;
}

} // namespace

int DecodeUtf8(std::string_view text, char32_t& c) {
    const auto byteAt = [&](int i) { return static_cast<BYTE>(text[static_cast<std::size_t>(i)]); };
    const int length = SequenceLength(byteAt(0));
    if (length == 0 || static_cast<std::size_t>(length) > text.size()) return 0;
    if (length == 1) {
        c = byteAt(0);
        return 1;
    }
    c = byteAt(0) & (0x7Fu >> length);
    for (int i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) return 0;
        c = (c << 6) | (byteAt(i) & 0x3Fu);
    }
    constexpr char32_t kLeast[5] = {0, 0, 0x80, 0x800, 0x10000};
    const bool valid = c >= kLeast[length] && c <= 0x10FFFF && !IsHigh(c) && !IsLow(c);
    return valid ? length : 0;
}

WCHAR From1252(BYTE byte) { return byte >= 0x80 && byte < 0xA0 ? kWindows1252[byte - 0x80] : byte; }

bool To1252(char32_t c, char& byte) {
    if (c < 0x80 || (c >= 0xA0 && c < 0x100)) {
        byte = static_cast<char>(c);
        return true;
    }
    for (int i = 0; i < 32; ++i) {
        if (kWindows1252[i] != c) continue;
        byte = static_cast<char>(0x80 + i);
        return true;
    }
    return false;
}

std::size_t DecodeUtf16(std::u16string_view text, char32_t& c) {
    c = text[0];
    if (!IsHigh(c) && !IsLow(c)) return 1;
    if (IsHigh(c) && text.size() > 1 && IsLow(text[1])) {
        c = 0x10000 + ((c - 0xD800) << 10) + (text[1] - 0xDC00u);
        return 2;
    }
    c = kUnpaired;
    return 1;
}

std::size_t EncodeUtf8(char32_t c, char (&bytes)[4]) {
    if (c < 0x80) {
        bytes[0] = static_cast<char>(c);
        return 1;
    }
    const std::size_t length = c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    for (std::size_t i = length - 1; i > 0; --i, c >>= 6) bytes[i] = static_cast<char>(0x80 | (c & 0x3F));
    bytes[0] = static_cast<char>((0xF00u >> length) | c);
    return length;
}

std::string ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        char32_t c;
        text.remove_prefix(DecodeUtf16(text, c));
        char bytes[4];
        out.append(bytes, EncodeUtf8(c == kUnpaired ? U'?' : c, bytes));
    }
    return out;
}

std::u16string ToUtf16(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    while (!text.empty()) {
        char32_t c;
        int used = DecodeUtf8(text, c);
        if (used == 0) {
            c = From1252(static_cast<BYTE>(text[0]));
            used = 1;
        }
        text.remove_prefix(static_cast<std::size_t>(used));
        if (c > 0xFFFF) {
            out += static_cast<WCHAR>(0xD7C0 + (c >> 10));
            out += static_cast<WCHAR>(0xDC00 + (c & 0x3FF));
        } else {
            out += static_cast<WCHAR>(c);
        }
    }
    return out;
}

WCHAR UpperUnit(WCHAR c) {
    if (c < 0x80) return c >= u'a' && c <= u'z' ? static_cast<WCHAR>(c - 0x20) : c;
    return static_cast<WCHAR>(u_toupper(c));
}

WCHAR LowerUnit(WCHAR c) {
    if (c < 0x80) return c >= u'A' && c <= u'Z' ? static_cast<WCHAR>(c + 0x20) : c;
    return static_cast<WCHAR>(u_tolower(c));
}

} // namespace plat
