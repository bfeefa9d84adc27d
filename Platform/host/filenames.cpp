#include "Platform/host/filenames.h"

#include "Platform/host/text.h"

#include <algorithm>
#include <limits.h>

namespace plat {
namespace {

constexpr std::u16string_view kReserved = u"\\/:*?\"<>|";
constexpr WCHAR kByteBase = 0xDC00;      // host bytes without a meaning stand here, in the lower surrogates
constexpr std::size_t kEscapeLength = 6; // "%uXXXX"

constexpr bool IsHigh(WCHAR c) { return c >= 0xD800 && c <= 0xDBFF; }
constexpr bool IsLow(WCHAR c) { return c >= 0xDC00 && c <= 0xDFFF; }
constexpr bool IsReserved(WCHAR c) { return c < 0x20 || kReserved.find(c) != kReserved.npos; }

void AppendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
        return;
    }
    const int more = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    constexpr unsigned kLead[] = {0, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(kLead[more] | (c >> (6 * more)));
    for (int i = more - 1; i >= 0; --i) out += static_cast<char>(0x80 | ((c >> (6 * i)) & 0x3F));
}

void AppendEscape(std::string& out, WCHAR c) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    out += "%u";
    for (int shift = 12; shift >= 0; shift -= 4) out += kDigits[(c >> shift) & 15];
}

// The character at the start of `bytes` and its length; length 0 when there is no well-formed one.
struct Decoded {
    char32_t c = 0;
    std::size_t length = 0;
};
Decoded DecodeUtf8(std::string_view bytes) {
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned lead = at(0);
    if (lead < 0x80) return {lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() < length) return {};
    char32_t c = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((at(i) & 0xC0) != 0x80) return {};
        c = (c << 6) | (at(i) & 0x3Fu);
    }
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
    if (c < kSmallest[length] || c > 0x10FFFF || surrogate) return {};
    return {c, length};
}

// The unit of an escape at the start of `bytes`, 0 when there is none.
WCHAR DecodeEscape(std::string_view bytes) {
    if (bytes.size() < kEscapeLength || bytes[1] != 'u') return 0;
    unsigned unit = 0;
    for (const char digit : bytes.substr(2, 4)) {
        const bool decimal = digit >= '0' && digit <= '9';
        if (!decimal && (digit < 'A' || digit > 'F')) return 0;
        unit = unit * 16 + static_cast<unsigned>(decimal ? digit - '0' : digit - 'A' + 10);
    }
    const bool ours = unit == u'%' || (unit >= 0xD800 && unit <= 0xDFFF);
    return ours ? static_cast<WCHAR>(unit) : WCHAR{0};
}

void AppendUnits(std::u16string& out, char32_t c) {
    if (c < 0x10000) {
        out += static_cast<WCHAR>(c);
        return;
    }
    out += static_cast<WCHAR>(0xD7C0 + (c >> 10));
    out += static_cast<WCHAR>(0xDC00 + (c & 0x3FF));
}

constexpr bool IsPlain(unsigned char c) { return c < 0x80 && c != '%' && !IsReserved(c); }

} // namespace

bool ValidDeviceName(std::u16string_view name) {
    if (name.empty() || name == u"..") return false;
    if (name.size() > NAME_MAX || std::any_of(name.begin(), name.end(), IsReserved)) return false;
    return ToHostName(name).size() <= NAME_MAX;
}

std::string ToHostName(std::u16string_view name) {
    std::string host;
    host.reserve(name.size());
    for (std::size_t i = 0; i < name.size(); ++i) {
        const WCHAR c = name[i];
        const WCHAR next = i + 1 < name.size() ? name[i + 1] : WCHAR{0};
        if (IsHigh(c) && IsLow(next)) {
            AppendUtf8(host, 0x10000 + ((c & 0x3FFu) << 10) + (next & 0x3FFu));
            ++i;
        } else if (IsHigh(c) || IsLow(c) || (c == u'%' && next == u'u')) {
            AppendEscape(host, c);
        } else {
            AppendUtf8(host, c);
        }
    }
    return host;
}

std::u16string ToDeviceName(std::string_view hostName) {
    std::u16string name;
    name.reserve(hostName.size());
    while (!hostName.empty()) {
        const auto byte = static_cast<unsigned char>(hostName[0]);
        std::size_t used = 1;
        if (const WCHAR unit = byte == '%' ? DecodeEscape(hostName) : WCHAR{0}) {
            name += unit;
            used = kEscapeLength;
        } else if (const Decoded decoded = DecodeUtf8(hostName); decoded.length == 0 || IsReserved(byte)) {
            name += static_cast<WCHAR>(kByteBase + byte);
        } else {
            AppendUnits(name, decoded.c);
            used = decoded.length;
        }
        hostName.remove_prefix(used);
    }
    return name;
}

std::u16string FoldName(std::u16string_view name) {
    std::u16string folded(name);
    std::transform(folded.begin(), folded.end(), folded.begin(), UpperUnit);
    return folded;
}

bool HasDeviceName(std::string_view hostName, std::u16string_view folded) {
    for (std::size_t i = 0; i < hostName.size(); ++i) {
        const auto byte = static_cast<unsigned char>(hostName[i]);
        if (!IsPlain(byte)) return FoldName(ToDeviceName(hostName)) == folded;
        // Nearly every name of a scanned folder ends here, without a conversion.
        const int upper = byte >= 'a' && byte <= 'z' ? byte - 'a' + 'A' : byte;
        if (i >= folded.size() || upper != folded[i]) return false;
    }
    return hostName.size() == folded.size();
}

} // namespace plat
