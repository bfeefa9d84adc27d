#include "apps/qn/vcardfile.h"

#include "apps/qn/support.h"

#include <unicode/ucnv.h>

#include <algorithm>

namespace qn {

namespace {

constexpr std::size_t kLargestCard = 16 << 20; // a picture may be inside
constexpr std::size_t kLineCost = 64;          // of memory, beside its text
constexpr std::size_t kMostNotices = 1000;
constexpr std::size_t kLongestShown = 40; // of a word of the file, in messages
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string Trimmed(std::string_view text) {
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return std::string(text);
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

int Base64Digit(char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char upper = static_cast<char>(c & ~0x20);
    return upper >= 'A' && upper <= 'F' ? upper - 'A' + 10 : -1;
}

// False when a "=" is no escape; it then stays as it is.
bool DecodeQuotedPrintable(std::string& text) {
    bool whole = true;
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = i + 2 < text.size() ? HexDigit(text[i + 1]) : -1;
        const int low = high >= 0 ? HexDigit(text[i + 2]) : -1;
        if (text[i] != '=') {
            bytes += text[i];
        } else if (low >= 0) {
            bytes += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            whole = false;
            bytes += '=';
        }
    }
    text = std::move(bytes);
    return whole;
}

// Line ends as one character, and no zero, which would end the text for all who read it.
void Settle(std::string& text) {
    std::string settled;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\0')
            settled += "\xEF\xBF\xBD";
        else if (text[i] == '\r')
            settled += i + 1 < text.size() && text[i + 1] == '\n' ? "" : "\n";
        else
            settled += text[i];
    }
    text = std::move(settled);
}

// --- Lines --------------------------------------------------------------------------------------------------------

// One line being put together: where its value begins is known as soon as it has come.
class Folded {
public:
    explicit Folded(std::string text) : m_text(std::move(text)) { Scan(); }
    void Append(std::string_view text) {
        m_text += text;
        Scan();
    }
    bool IsBase64() const { return m_base64; }
    // A quoted-printable line that goes on in the next one.
    bool GoesOn() const { return m_quoted && m_text.ends_with('='); }
    void AppendSoft(std::string_view text) {
        m_text.pop_back();
        m_text += text;
    }
    std::size_t Colon() const { return m_colon; }
    std::string Take() { return std::move(m_text); }

private:
    void Scan() {
        for (; m_colon == std::string::npos && m_at < m_text.size(); ++m_at) {
            if (m_text[m_at] == '"') m_inQuotes = !m_inQuotes;
            if (m_text[m_at] != ':' || m_inQuotes) continue;
            m_colon = m_at;
            const std::string head = Upper(std::string_view(m_text).substr(0, m_at)) + ";";
            m_quoted = head.find("QUOTED-PRINTABLE;") != std::string::npos;
            m_base64 =
                head.find("BASE64;") != std::string::npos || head.find("ENCODING=B;") != std::string::npos;
        }
    }

    std::string m_text;
    std::size_t m_at = 0;
    bool m_inQuotes = false;
    std::size_t m_colon = std::string::npos;
    bool m_quoted = false;
    bool m_base64 = false;
};

// A further line of base64 that lost the blank in front.
bool IsBareBase64(std::string_view line) {
    return !line.empty() && std::ranges::all_of(line, [](char c) { return Base64Digit(c) >= 0 || c == '='; });
}

// A line of no colon may have lost a quote: then the first colon ends its head.
std::size_t ColonOf(const Folded& folded, const std::string& text) {
    return folded.Colon() != std::string::npos ? folded.Colon() : text.find(':');
}

bool IsName(std::string_view name) {
    return !name.empty() && std::ranges::all_of(name, [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    });
}

// Parts of a head, which quotes keep together.
std::vector<std::string> SplitHead(std::string_view head, char separator) {
    std::vector<std::string> parts(1);
    bool quoted = false;
    for (const char c : head) {
        if (c == '"') quoted = !quoted;
        if (c == separator && !quoted)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

std::string Unquoted(std::string text) {
    std::erase(text, '"');
    return text;
}

// What stands alone, without a name: an encoding, or a type.
std::string_view NameOfBare(std::string_view value) {
    for (const char* encoding : {"QUOTED-PRINTABLE", "BASE64", "8BIT", "7BIT"})
        if (value == encoding) return "ENCODING";
    return "TYPE";
}

void AddParameter(VcardProperty& property, const std::string& part) {
    constexpr std::size_t kMostParameters = 100;
    const std::size_t equals = part.find('=');
    const bool isBare = equals == std::string::npos;
    const std::string bare = Upper(Unquoted(part));
    const std::string name = isBare ? std::string(NameOfBare(bare)) : Trimmed(Upper(part.substr(0, equals)));
    const std::string value = isBare ? bare : part.substr(equals + 1);
    if (property.parameters.size() >= kMostParameters) return;
    if (name != "TYPE") {
        property.parameters.emplace_back(name, Unquoted(value));
        return;
    }
    for (const std::string& type : SplitHead(Unquoted(value), ','))
        property.parameters.emplace_back(name, Upper(type));
}

// "item1.TEL;TYPE=home,fax". False when it makes no sense.
bool TakeHead(std::string_view head, VcardProperty& property) {
    const std::vector<std::string> parts = SplitHead(head, ';');
    std::string name = Trimmed(Upper(parts[0]));
    if (const std::size_t dot = name.rfind('.'); dot != std::string::npos) {
        property.group = name.substr(0, dot);
        name.erase(0, dot + 1);
    }
    property.name = name;
    for (std::size_t i = 1; i < parts.size(); ++i) AddParameter(property, parts[i]);
    return IsName(name);
}

// Whether a backslash here takes away what the character behind it means.
bool IsEscape(std::string_view value, std::size_t at, bool isOld) {
    const std::string_view escaped = isOld ? ";," : ";,\\:nN";
    return value[at] == '\\' && at + 1 < value.size() && escaped.find(value[at + 1]) != escaped.npos;
}

int VersionOf(std::string value) {
    value.erase(0, value.find_first_not_of(" \t"));
    return value.starts_with("2.1") ? 21 : value.starts_with("3") ? 30 : value.starts_with("4") ? 40 : 0;
}

} // namespace

// --- Values -------------------------------------------------------------------------------------------------------

bool VcardProperty::HasType(std::string_view type) const {
    return std::ranges::any_of(parameters, [&](const auto& one) {
        return one.first == "TYPE" && (one.second == type || one.second == "X-" + std::string(type));
    });
}

std::string VcardProperty::Parameter(std::string_view wanted) const {
    for (const auto& [key, text] : parameters)
        if (key == wanted) return text;
    return {};
}

std::string PlainValue(std::string_view value, bool isOld) {
    std::string plain;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (!IsEscape(value, i, isOld)) {
            plain += value[i];
            continue;
        }
        ++i;
        plain += value[i] == 'n' || value[i] == 'N' ? '\n' : value[i];
    }
    return plain;
}

std::vector<std::string_view> RawParts(std::string_view value, char separator, bool isOld) {
    constexpr std::size_t kMostParts = 1000; // the last one has the rest
    std::vector<std::string_view> parts;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < value.size() && parts.size() + 1 < kMostParts; ++i) {
        if (IsEscape(value, i, isOld)) {
            ++i;
        } else if (value[i] == separator) {
            parts.push_back(value.substr(begin, i - begin));
            begin = i + 1;
        }
    }
    parts.push_back(value.substr(begin));
    return parts;
}

std::vector<std::string> SplitValue(std::string_view value, char separator, bool isOld) {
    std::vector<std::string> parts;
    for (const std::string_view part : RawParts(value, separator, isOld))
        parts.push_back(PlainValue(part, isOld));
    return parts;
}

std::string EncodeBase64(std::span<const BYTE> bytes) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t left = std::min<std::size_t>(bytes.size() - i, 3);
        std::uint32_t bits = 0;
        for (std::size_t k = 0; k < 3; ++k) bits = bits << 8 | (k < left ? bytes[i + k] : 0);
        for (std::size_t k = 0; k < 4; ++k) text += k <= left ? kDigits[bits >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

bool DecodeBase64(std::string_view text, std::string& bytes) {
    bytes.clear();
    std::uint32_t bits = 0;
    int count = 0;
    bool ended = false;
    for (const char c : text) {
        if (IsBlank(c) || c == '\n') continue;
        const int digit = Base64Digit(c);
        if (c == '=') {
            ended = true;
        } else if (digit < 0 || ended) {
            return false;
        } else {
            bits = bits << 6 | static_cast<std::uint32_t>(digit);
            constexpr int kShift[] = {0, 0, 4, 2}; // by the digits of the group; one is no byte yet
            if (++count % 4 != 1) bytes += static_cast<char>(bits >> kShift[count % 4] & 0xFF);
        }
    }
    return count % 4 != 1;
}

void VcardNotices::Add(unsigned line, std::string what, bool isBroken) {
    m_broken += isBroken;
    if (m_list.size() < kMostNotices) m_list.push_back({line, std::move(what), isBroken});
}

// --- The reader ---------------------------------------------------------------------------------------------------

VcardReader::VcardReader(std::istream& in, std::string name)
    : m_lines(in, kLargestCard), m_name(std::move(name)) {}

VcardReader::~VcardReader() { ucnv_close(m_converter); }

// Goes behind the next BEGIN:VCARD.
bool VcardReader::FindCard(VcardNotices& notices) {
    std::string line;
    bool told = false;
    while (m_lines.Next(line)) {
        if (line.starts_with(kByteOrderMark))
            line.erase(0, kByteOrderMark.size()); // of a file put behind another
        const std::string upper = Trimmed(Upper(std::string_view(line).substr(0, kLongestShown)));
        if (upper == "BEGIN:VCARD") {
            m_begin = m_lines.Number();
            return m_any = true;
        }
        if (line.starts_with("\xFF\xFE") || line.starts_with("\xFE\xFF"))
            throw Failure(m_name + ": UTF-16 text; it must be UTF-8");
        if (upper.empty() || told) continue;
        told = true;
        notices.Add(m_lines.Number(), "stands in no card");
    }
    if (!m_any) throw Failure(m_name + (told ? ": not a vCard file" : ": the file is empty"));
    return false;
}

// Takes the lines up to END:VCARD; where that is missing the card ends with the next one or with the file, and what it has
// counts. A card in a card is the value of AGENT. False for one that is too large.
bool VcardReader::GatherCard(VcardNotices& notices) {
    m_card.clear();
    std::size_t size = 0;
    int depth = 0;
    bool agent = false;
    std::string line;
    while (m_lines.Next(line)) {
        const std::string upper = Trimmed(Upper(std::string_view(line).substr(0, kLongestShown)));
        const bool begins = upper == "BEGIN:VCARD";
        if (begins && depth == 0 && !agent) {
            notices.Add(m_begin, "END:VCARD is missing; what stands before the next card is taken");
            m_lines.Again(line);
            return size < kLargestCard;
        }
        if (begins) ++depth;
        if (upper == "END:VCARD" && depth-- == 0) {
            if (size >= kLargestCard) notices.Add(m_begin, "a card of more than 16 MiB: skipped");
            return size < kLargestCard;
        }
        if (!upper.empty()) agent = upper.starts_with("AGENT") && upper.ends_with(':');
        if (begins || depth > 0 || upper == "END:VCARD") continue;
        size += line.size() + kLineCost;
        if (size < kLargestCard) m_card.push_back({m_lines.Number(), line});
    }
    notices.Add(m_begin, size < kLargestCard
                             ? "the file ends inside of the card; what there is of it is taken"
                             : "a card of more than 16 MiB: skipped");
    return size < kLargestCard;
}

bool VcardReader::Next(Vcard& card, VcardNotices& notices) {
    do
        if (!FindCard(notices)) return false;
    while (!GatherCard(notices));
    card = {};
    card.line = m_begin;
    for (const Line& line : m_card)
        if (Upper(std::string_view(line.text).substr(0, 8)) == "VERSION:")
            card.version = VersionOf(line.text.substr(8));
    TakeLines(card, notices);
    return true;
}

// Folded lines are one: a blank in front goes on, and it is part of the text where the version is old; a soft line break of
// quoted-printable does; and so does base64 whose blanks were lost.
void VcardReader::TakeLines(Vcard& card, VcardNotices& notices) {
    for (std::size_t i = 0; i < m_card.size();) {
        const unsigned number = m_card[i].number;
        Folded folded(std::move(m_card[i++].text));
        for (; i < m_card.size(); ++i) {
            const std::string_view next = m_card[i].text;
            if (folded.GoesOn())
                folded.AppendSoft(next);
            else if (!next.empty() && IsBlank(next[0]))
                folded.Append(card.IsOld() ? next : next.substr(1));
            else if (folded.IsBase64() && IsBareBase64(next))
                folded.Append(next);
            else
                break;
        }
        const bool cut = folded.GoesOn();
        std::string text = folded.Take();
        if (Trimmed(text).empty()) continue;
        VcardProperty property;
        property.line = number;
        const std::size_t colon = ColonOf(folded, text);
        if (colon == std::string::npos || !TakeHead(std::string_view(text).substr(0, colon), property)) {
            notices.Add(number, "a line that makes no sense");
            continue;
        }
        text.erase(0, colon + 1);
        if (cut) text.pop_back();
        property.value = std::move(text);
        Decode(property, notices);
        card.properties.push_back(std::move(property));
    }
}

void VcardReader::Decode(VcardProperty& property, VcardNotices& notices) {
    const std::string shown = Printable(property.name.substr(0, kLongestShown));
    const std::string encoding = Upper(property.Parameter("ENCODING"));
    if (encoding == "QUOTED-PRINTABLE" && !DecodeQuotedPrintable(property.value))
        notices.Add(property.line, shown + ": quoted-printable that is none, taken as it stands");
    if (encoding == "BASE64" || encoding == "B") {
        std::string bytes;
        property.isEncoded = true;
        property.isBroken = !DecodeBase64(property.value, bytes);
        if (property.isBroken) {
            notices.Add(property.line, shown + ": base64 that is none");
            bytes.clear();
        }
        property.value = std::move(bytes);
        if (property.name == "PHOTO" || property.name == "LOGO" || property.name == "SOUND" ||
            property.name == "KEY")
            return;
    }
    const std::string charset = Upper(property.Parameter("CHARSET"));
    const bool told = !charset.empty() && charset != "UTF-8" && charset != "UTF8";
    if (told && !FromCharset(charset, property.value))
        notices.Add(property.line,
                    shown + ": the characters are not all of " + Printable(charset.substr(0, kLongestShown)));
    if (!IsUtf8(property.value)) {
        FromCharset("WINDOWS-1252", property.value);
        notices.Add(property.line, shown + ": not UTF-8, taken as Windows-1252");
    }
    Settle(property.value);
}

// False when the set is not known, and the text as it was, or when it has not all the characters.
bool VcardReader::FromCharset(const std::string& charset, std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    if (charset != m_charset) {
        ucnv_close(m_converter);
        m_converter = ucnv_open(charset.c_str(), &status);
        m_charset = charset;
    }
    if (!m_converter) return false;
    ucnv_reset(m_converter);
    std::u16string wide(text.size() * 2 + 1, u'\0');
    status = U_ZERO_ERROR;
    const int length = ucnv_toUChars(m_converter, wide.data(), static_cast<int>(wide.size()), text.data(),
                                     static_cast<int>(text.size()), &status);
    if (U_FAILURE(status)) return false;
    wide.resize(static_cast<std::size_t>(length));
    text = Utf8(wide);
    return wide.find(u'\xFFFD') == std::u16string::npos;
}

} // namespace qn
