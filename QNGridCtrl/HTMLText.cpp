// The free functions of the dialect: entities, plain text, closing tags, colours.
#include "QNGridCtrl/HTMLParser.h"

#include "Platform/strings.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

namespace {

using Text = std::u16string_view;

struct Entity {
    std::string_view name;
    WCHAR character;
};

// In the order of their numbers, and the first fit counts: without regard to case &agrave; is &Agrave;.
constexpr std::array<Entity, 100> kEntities = {{
    {"quot", 34},    {"amp", 38},     {"lt", 60},      {"gt", 62},      {"nbsp", 160},   {"iexcl", 161},
    {"cent", 162},   {"pound", 163},  {"curren", 164}, {"yen", 165},    {"brvbar", 166}, {"sect", 167},
    {"uml", 168},    {"copy", 169},   {"ordf", 170},   {"laquo", 171},  {"not", 172},    {"shy", 173},
    {"reg", 174},    {"macr", 175},   {"deg", 176},    {"plusmn", 177}, {"sup2", 178},   {"sup3", 179},
    {"acute", 180},  {"micro", 181},  {"para", 182},   {"middot", 183}, {"cedil", 184},  {"sup1", 185},
    {"ordm", 186},   {"raquo", 187},  {"frac14", 188}, {"frac12", 189}, {"frac34", 190}, {"iquest", 191},
    {"Agrave", 192}, {"Aacute", 193}, {"Acirc", 194},  {"Atilde", 195}, {"Auml", 196},   {"Aring", 197},
    {"AElig", 198},  {"Ccedil", 199}, {"Egrave", 200}, {"Eacute", 201}, {"Ecirc", 202},  {"Euml", 203},
    {"Igrave", 204}, {"Iacute", 205}, {"Icirc", 206},  {"Iuml", 207},   {"ETH", 208},    {"Ntilde", 209},
    {"Ograve", 210}, {"Oacute", 211}, {"Ocirc", 212},  {"Otilde", 213}, {"Ouml", 214},   {"times", 215},
    {"Oslash", 216}, {"Ugrave", 217}, {"Uacute", 218}, {"Ucirc", 219},  {"Uuml", 220},   {"Yacute", 221},
    {"THORN", 222},  {"szlig", 223},  {"agrave", 224}, {"aacute", 225}, {"acirc", 226},  {"atilde", 227},
    {"auml", 228},   {"aring", 229},  {"aelig", 230},  {"ccedil", 231}, {"egrave", 232}, {"eacute", 233},
    {"ecirc", 234},  {"euml", 235},   {"igrave", 236}, {"iacute", 237}, {"icirc", 238},  {"iuml", 239},
    {"eth", 240},    {"ntilde", 241}, {"ograve", 242}, {"oacute", 243}, {"ocirc", 244},  {"otilde", 245},
    {"ouml", 246},   {"divide", 247}, {"oslash", 248}, {"ugrave", 249}, {"uacute", 250}, {"ucirc", 251},
    {"uuml", 252},   {"yacute", 253}, {"thorn", 254},  {"yuml", 255},
}};

constexpr std::size_t kLongestEntity = 255; // characters looked at behind an &

WCHAR LowerAscii(WCHAR c) { return c >= u'A' && c <= u'Z' ? static_cast<WCHAR>(c + 32) : c; }

bool EqualsNoCase(Text text, std::string_view name) {
    return std::equal(text.begin(), text.end(), name.begin(), name.end(), [](WCHAR a, char b) {
        return LowerAscii(a) == LowerAscii(static_cast<unsigned char>(b));
    });
}

// Decimal, without leading zeros, as it stands in the table.
bool IsNumberOf(Text text, WCHAR character) {
    WCHAR digits[3];
    std::size_t n = 0;
    for (unsigned rest = character; rest != 0; rest /= 10) digits[n++] = static_cast<WCHAR>(u'0' + rest % 10);
    return text.size() == n && std::equal(text.begin(), text.end(), std::reverse_iterator(digits + n));
}

WCHAR EntityOf(Text text) {
    if (text.size() < 3 || text.front() != u'&' || text.back() != u';') return 0;
    const Text inner = text.substr(1, text.size() - 2);
    const bool number = inner.front() == u'#';
    for (const Entity& entity : kEntities)
        if (number ? IsNumberOf(inner.substr(1), entity.character) : EqualsNoCase(inner, entity.name))
            return entity.character;
    return 0;
}

// The text from an & to its ;, or to where none can come any more.
Text EntityText(Text rest) {
    std::size_t end = 1;
    while (end < rest.size() && end < kLongestEntity && rest[end - 1] != u';' && rest[end] != u' ' &&
           rest[end] != u'\r' && rest[end] != u'\n')
        ++end;
    return rest.substr(0, end);
}

int HexValue(WCHAR c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    const WCHAR lower = LowerAscii(c);
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

} // namespace

WCHAR GetHTMLEntity(const WCHAR* pszEntity) { return pszEntity ? EntityOf(pszEntity) : WCHAR{0}; }

WCHAR* HTMLToText(const WCHAR* pszHTML) {
    if (!pszHTML) return nullptr;
    const Text html = pszHTML;
    auto* result = static_cast<WCHAR*>(std::malloc((html.size() + 1) * sizeof(WCHAR)));
    if (!result) return nullptr;
    WCHAR* out = result;
    for (std::size_t i = 0; i < html.size();) {
        if (html[i] == u'<') {
            i = std::min(html.find(u'>', i), html.size() - 1) + 1;
        } else if (const Text entity = html[i] == u'&' ? EntityText(html.substr(i)) : Text();
                   const WCHAR character = EntityOf(entity)) {
            *out++ = character;
            i += entity.size() +
                 1; // the character behind an entity goes with it: texts are written with a blank there
        } else {
            *out++ = html[i++];
        }
    }
    *out = 0;
    return result;
}

void CloseTags(const WCHAR* pszTags, WCHAR* pszOut) {
    for (; *pszTags; ++pszTags) {
        *pszOut++ = *pszTags;
        if (*pszTags == u'<') *pszOut++ = u'/';
    }
    *pszOut = 0;
}

int ColorRefToHTML(COLORREF color, WCHAR* pszBuffer, int capacity) {
    if (!pszBuffer || capacity < 8) return 0;
    return wsprintfW(pszBuffer, u"#%.2X%.2X%.2X", color & 0xFF, (color >> 8) & 0xFF, (color >> 16) & 0xFF);
}

bool HTMLToColorRef(const WCHAR* pszText, COLORREF* pResult) {
    if (!pszText) return false;
    Text digits = pszText;
    digits.remove_prefix(std::min(digits.find_first_not_of(u'#'), digits.size()));
    constexpr std::size_t kMostDigits = 7;
    if (digits.empty() || digits.size() > kMostDigits) return false;
    DWORD value = 0;
    for (WCHAR c : digits) {
        const int digit = HexValue(c);
        if (digit < 0) return false;
        value = value << 4 | static_cast<DWORD>(digit);
    }
    *pResult = (value & 0xFF) << 16 | (value & 0xFF00) | (value >> 16 & 0xFF);
    return true;
}
