// What each tag does.
#include "QNGridCtrl/HTMLTokenizer.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/strings.h"
#include "QNGridCtrl/HTMLImage.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <utility>

namespace {

using Text = std::u16string_view;

constexpr std::size_t kLongestTarget = 255;
constexpr std::size_t kLongestSource = 259;
constexpr int kFontPoints = 9; // what SIZE=0 stands for
constexpr int kDefaultFontSize = 2;
constexpr std::size_t kColorDigits = 6;
constexpr LONG kHeavy = 800;

// Scaling modes: whose pictures keep their size while none is asked for.
constexpr DWORD kScaleNotResources = 2;
constexpr DWORD kNeverEnlarge = 3;
constexpr DWORD kScaleNotFiles = 4;

constexpr Text kDefaultFace = u"Tahoma";

// Heights are whole pixels from the top of the tallest letter to the bottom of the deepest.
LONG FontHeight(long long size) {
    const long long height = (size + kFontPoints) * g_HIDPI_LogPixelsY / 72;
    constexpr long long kLimit = std::numeric_limits<LONG>::max();
    return static_cast<LONG>(std::clamp(height, -kLimit, kLimit));
}

int HexDigit(WCHAR c) {
    if (c >= u'0' && c <= u'9') return c - u'0';
    if (c >= u'A' && c <= u'F') return c - u'A' + 10;
    if (c >= u'a' && c <= u'f') return c - u'a' + 10;
    return -1;
}

// The two digits there; the pair ends at the first that is none, and missing ones are nothing.
DWORD HexPair(Text digits, std::size_t from) {
    DWORD value = 0;
    for (WCHAR c : digits.substr(std::min(from, digits.size()), 2)) {
        const int digit = HexDigit(c);
        if (digit < 0) break;
        value = value * 16 + static_cast<DWORD>(digit);
    }
    return value;
}

COLORREF HexColor(Text rrggbb) {
    return HexPair(rrggbb, 0) | HexPair(rrggbb, 2) << 8 | HexPair(rrggbb, 4) << 16;
}

// The colour in the last six characters, when that many stand behind `front`.
std::optional<COLORREF> LastColor(Text body, std::size_t front) {
    if (body.size() < front + kColorDigits) return std::nullopt;
    return HexColor(body.substr(body.size() - kColorDigits));
}

long long Number(Text digits) {
    long long value = 0;
    std::size_t i = 0;
    while (i < digits.size() && (digits[i] == u' ' || digits[i] == u'"')) ++i;
    const bool negative = i < digits.size() && digits[i] == u'-';
    if (negative) ++i;
    for (; i < digits.size() && digits[i] >= u'0' && digits[i] <= u'9'; ++i)
        value = std::min(value * 10 + (digits[i] - u'0'), 0xFFFFFFFFLL);
    return negative ? -value : value;
}

void SetFace(LOGFONTW& style, Text face) {
    face = face.substr(0, LF_FACESIZE - 1);
    std::fill(std::copy(face.begin(), face.end(), style.lfFaceName), std::end(style.lfFaceName), u'\0');
}

// What stands behind a key: one leading quote is dropped; it ends at the next quote, else at the first blank, else with
// the tag.
Text Value(Text body, std::size_t start) {
    if (start < body.size() && body[start] == u'"') ++start;
    Text rest = body.substr(std::min(start, body.size()));
    std::size_t end = rest.find(u'"');
    if (end == Text::npos) end = rest.find(u' ');
    return rest.substr(0, end);
}

} // namespace

struct HTMLTokenizer::Rules {
    // Tried in this order.
    static constexpr std::array<Rule, 30> kAll = {{
        {u"BR", false, &HTMLTokenizer::Break},
        {u"TB", false, &HTMLTokenizer::Tab},
        {u"/B", false, &HTMLTokenizer::Normal},
        {u"/Q", false, &HTMLTokenizer::Normal},
        {u"/I", false, &HTMLTokenizer::Style<&LOGFONTW::lfItalic, 0>},
        {u"/S", false, &HTMLTokenizer::Style<&LOGFONTW::lfStrikeOut, 0>},
        {u"/U", false, &HTMLTokenizer::Style<&LOGFONTW::lfUnderline, 0>},
        {u"/V", false, &HTMLTokenizer::DefaultColors},
        {u"B", false, &HTMLTokenizer::Bold},
        {u"Q", false, &HTMLTokenizer::Heavy},
        {u"I", false, &HTMLTokenizer::Style<&LOGFONTW::lfItalic, 1>},
        {u"S", false, &HTMLTokenizer::Style<&LOGFONTW::lfStrikeOut, 1>},
        {u"U", false, &HTMLTokenizer::Style<&LOGFONTW::lfUnderline, 1>},
        {u"V", false, &HTMLTokenizer::SelectionColors},
        {u"EDGE", false, &HTMLTokenizer::Edge},
        {u"SPAN", false, &HTMLTokenizer::Span},
        {u"/SPAN", false, &HTMLTokenizer::EndSpan},
        {u"/BODY", false, &HTMLTokenizer::Nothing},
        {u"EDITABLE", true, &HTMLTokenizer::Editable},
        {u"/EDITABLE", true, &HTMLTokenizer::NotEditable},
        {u"\u2022", true, &HTMLTokenizer::Style<&LOGFONTW::lfStrikeOut, 1>},
        {u"/\u2022", true, &HTMLTokenizer::Style<&LOGFONTW::lfStrikeOut, 0>},
        {u"IMG", true, &HTMLTokenizer::Image},
        {u"A=", true, &HTMLTokenizer::Link},
        {u"/A", false, &HTMLTokenizer::EndLink},
        {u"P ", true, &HTMLTokenizer::Paragraph},
        {u"/P", false, &HTMLTokenizer::EndParagraph},
        {u"/FONT", false, &HTMLTokenizer::EndFont},
        {u"FONT", true, &HTMLTokenizer::Font},
        {u"BODY", true, &HTMLTokenizer::Body},
    }};

    // Those that begin alike, or end tags that do, are chained: few are looked at for each tag.
    static constexpr unsigned kStarts = 64;
    static constexpr unsigned StartOf(Text tag) {
        const bool end = tag.front() == u'/';
        return (end ? kStarts / 2 : 0) + (end && tag.size() > 1 ? tag[1] : tag.front()) % (kStarts / 2);
    }
    struct Chains {
        std::array<std::uint8_t, kStarts> first{};
        std::array<std::uint8_t, kAll.size()> next{};
    };
    static constexpr std::uint8_t kNone = kAll.size();
    static constexpr Chains MakeChains() {
        Chains chains;
        chains.first.fill(kNone);
        for (std::uint8_t i = kNone; i-- > 0;) {
            std::uint8_t& first = chains.first[StartOf(kAll[i].name)];
            chains.next[i] = first;
            first = i;
        }
        return chains;
    }
};

const HTMLTokenizer::Rule* HTMLTokenizer::RuleOf(Text body) {
    static constexpr Rules::Chains kChains = Rules::MakeChains();
    for (unsigned i = kChains.first[Rules::StartOf(body)]; i != Rules::kNone; i = kChains.next[i]) {
        const Rule& rule = Rules::kAll[i];
        if (rule.prefix ? body.starts_with(rule.name) : body == rule.name) return &rule;
    }
    return nullptr;
}

LOGFONTW HTMLTokenizer::DefaultFont(BYTE quality) {
    LOGFONTW style{};
    style.lfHeight = FontHeight(kDefaultFontSize);
    style.lfWeight = FW_NORMAL;
    style.lfCharSet = 255;
    style.lfQuality = quality;
    SetFace(style, kDefaultFace);
    return style;
}

// --- The tags -----------------------------------------------------------------------------------------------------

HTMLTokenizer::Made HTMLTokenizer::Weight(LONG weight) {
    m_parser.m_lf.lfWeight = weight;
    return Made::State;
}

HTMLTokenizer::Made HTMLTokenizer::Bold(Text) { return Weight(LanguageHasBold() ? FW_BOLD : FW_NORMAL); }
HTMLTokenizer::Made HTMLTokenizer::Heavy(Text) { return Weight(LanguageHasBold() ? kHeavy : FW_NORMAL); }

HTMLTokenizer::Made HTMLTokenizer::SelectionColors(Text) {
    m_parser.m_crBack = GetSysColor(static_cast<int>(COLOR_HIGHLIGHT | SYS_COLOR_INDEX_FLAG));
    m_parser.m_crFore = GetSysColor(static_cast<int>(COLOR_HIGHLIGHTTEXT | SYS_COLOR_INDEX_FLAG));
    return Made::State;
}

HTMLTokenizer::Made HTMLTokenizer::DefaultColors(Text) {
    m_parser.m_crBack = m_parser.m_crDefaultBack;
    m_parser.m_crFore = m_parser.m_crDefaultFore;
    return Made::State;
}

// Where left and right are swapped there is no right-hand column: its text stands at the other side.
HTMLTokenizer::Made HTMLTokenizer::Span(Text) {
    if (g_dwLeftDefine != HTML_ALIGN_RIGHT) return Made::Span;
    m_parser.m_uAlign = HTML_ALIGN_FLAGS;
    return Made::State;
}

HTMLTokenizer::Made HTMLTokenizer::EndSpan(Text) {
    if (g_dwLeftDefine != HTML_ALIGN_RIGHT) return Made::EndSpan;
    m_parser.m_uAlign = HTML_ALIGN_FLAGS | HTML_ALIGN_RIGHT;
    return Made::State;
}

HTMLTokenizer::Made HTMLTokenizer::Editable(Text) {
    m_parser.m_bEditable = 1;
    return Made::State;
}

HTMLTokenizer::Made HTMLTokenizer::NotEditable(Text) {
    m_parser.m_bEditable = 0;
    return Made::State;
}

HTMLTokenizer::Made HTMLTokenizer::Image(Text body) {
    const std::size_t key = body.find(u"SRC=");
    if (key == Text::npos) return Made::State;
    const std::size_t start = key + 4;
    const Text source = Value(body, start);
    if (source.size() > kLongestSource) return Made::State;
    const WCHAR* name = m_parser.m_Texts.Add(source);
    if (!name) m_bOutOfMemory = true;
    const tagNM_IMAGENOTIFY answer = AskForImage(name, source.size());
    if (!answer.pImage) return Made::State; // it takes no room: there is no place-holder

    const std::size_t size = body.find(u"SIZE=", key);
    const DWORD wanted = size == Text::npos ? 0 : static_cast<DWORD>(Number(body.substr(size + 5)));
    m_pending.pszText = name;
    m_pending.nLength = static_cast<DWORD>(source.size());
    m_pending.pImage = answer.pImage;
    m_pending.nImageSize = ImageSize(wanted, answer);
    m_pending.bDrawImage = body.find(u"NODRAW", start + source.size()) == Text::npos;
    return Made::Image;
}

tagNM_IMAGENOTIFY HTMLTokenizer::AskForImage(const WCHAR* name, std::size_t length) const {
    const HWND window = m_parser.m_hNotifyWnd;
    tagNM_IMAGENOTIFY ask{{window, length, HTMLN_IMAGE}, name, nullptr, 0};
    if (!name || !IsWindow(window)) return ask;
    if (!SendMessageW(window, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&ask))) ask.pImage = nullptr;
    return ask;
}

DWORD HTMLTokenizer::ImageSize(DWORD wanted, const tagNM_IMAGENOTIFY& answer) const {
    const DWORD mode = m_parser.m_dwBitmapScaling;
    const bool natural = mode == kScaleNotResources ? answer.bFromResource != 0
                                                    : mode == kScaleNotFiles && answer.bFromResource == 0;
    if (natural && wanted == 0) return HTML_NATURAL_SIZE;
    const bool enlarged = static_cast<long long>(wanted) > answer.pImage->GetHeight();
    return mode == kNeverEnlarge && enlarged ? HTML_NATURAL_SIZE : wanted;
}

// The target reaches to the closing quote; without quotes to the end of the tag, blanks and NONAV included.
HTMLTokenizer::Made HTMLTokenizer::Link(Text body) {
    Text target = body.substr(2);
    if (target.starts_with(u'"')) target.remove_prefix(1);
    target = target.substr(0, target.find(u'"'));
    m_parser.m_pszHREF = m_parser.m_Texts.Add(target.substr(0, kLongestTarget));
    if (!m_parser.m_pszHREF) m_bOutOfMemory = true;
    m_pending.bNavigatable = body.find(u"NONAV") == Text::npos;
    return Made::State;
}

HTMLTokenizer::Made HTMLTokenizer::EndLink(Text) {
    m_parser.m_pszHREF = u"";
    return Made::State;
}

HTMLTokenizer::Made HTMLTokenizer::Paragraph(Text body) {
    struct Alignment {
        Text name;
        UINT value;
    };
    const UINT left = HTMLAlignLeft();
    // LEFTINDENT is never reached, since LEFT takes it: producers count on it being the same as LEFT.
    const Alignment alignments[] = {{u"LEFT", left},
                                    {u"CENTER", HTML_ALIGN_FLAGS | HTML_ALIGN_CENTER},
                                    {u"RIGHT", HTMLAlignRight()},
                                    {u"LEFTINDENT", left == HTML_ALIGN_FLAGS ? 0xA10 : left}};
    const Text rest = body.substr(2);
    for (const Alignment& alignment : alignments)
        if (rest.starts_with(alignment.name)) {
            m_parser.m_uAlign = alignment.value;
            return Made::State;
        }
    // The first paragraph begins where the text begins.
    return std::exchange(m_parser.m_bFirstParagraph, BYTE{0}) ? Made::State : Made::Break;
}

HTMLTokenizer::Made HTMLTokenizer::EndParagraph(Text) {
    m_parser.m_uAlign = HTMLAlignLeft();
    return Made::State;
}

// Every FONT restates the face and the colours; a text colour stays the default of what follows, also of /FONT.
HTMLTokenizer::Made HTMLTokenizer::Font(Text body) {
    CHTMLParser& p = m_parser;
    if (const std::size_t size = body.find(u"SIZE="); size != Text::npos)
        p.m_lf.lfHeight = FontHeight(Number(body.substr(size + 5)));
    const std::size_t name = body.find(u"NAME=");
    SetFace(p.m_lf, name == Text::npos ? kDefaultFace : Value(body, name + 5));

    static constexpr Text kColor = u" COLOR=#";
    const std::size_t color = body.find(kColor);
    if (color != Text::npos) p.m_crDefaultFore = HexColor(body.substr(color + kColor.size(), kColorDigits));
    p.m_crFore = p.m_crDefaultFore;

    static constexpr Text kGround = u"BGCOLOR=#"; // stands last in the tag
    const std::size_t ground = body.find(kGround);
    p.m_crBack = p.m_crDefaultBack;
    if (ground != Text::npos)
        p.m_crBack = LastColor(body, ground + kGround.size()).value_or(p.m_crDefaultBack);
    return Made::State;
}

HTMLTokenizer::Made HTMLTokenizer::EndFont(Text) {
    m_parser.m_lf = DefaultFont(m_parser.m_FontQuality);
    return DefaultColors({});
}

HTMLTokenizer::Made HTMLTokenizer::Body(Text body) {
    static constexpr Text kName = u"BODY";
    if (const auto color = LastColor(body, kName.size()))
        m_parser.m_crBack = m_parser.m_crDefaultBack = *color;
    return Made::State;
}
