// The scanner: where tags and texts begin and end, and the records that are stored.
#include "QNGridCtrl/HTMLTokenizer.h"

#include "Platform/process.h"

#include <algorithm>

namespace {
constexpr WCHAR kFirstVisible = 32;
}

// --- The scanner --------------------------------------------------------------------------------------------------

bool HTMLTokenizer::Run() {
    m_parser.m_Texts.Expect(m_html.size());
    while (!Ended() && !m_bOutOfMemory) {
        const WCHAR c = At(m_next);
        if (c == u'\r' || c == u'\n')
            TakeBreak();
        else if (c < kFirstVisible)
            TakeControl();
        else if (c == u'<')
            TakeTag();
        else
            TakeText(m_next, m_next);
    }
    return !m_bOutOfMemory;
}

void HTMLTokenizer::TakeBreak() {
    while (At(m_next) == u'\r' || At(m_next) == u'\n') ++m_next;
    TakeColors();
    if (m_pending.bNavigatable) ++m_parser.m_nNavigableLinks;
    Store(TOKEN_TAG, u"BR", HTMLAlignLeft());
}

// They keep the font that is selected and have no colour of their own.
void HTMLTokenizer::TakeControl() {
    const bool tab = At(m_next++) == u'\t';
    m_pending.crFore = 0;
    m_pending.crBack = m_parser.m_crBack;
    Store(TOKEN_TEXT, tab ? u"    " : u" ", m_parser.m_uAlign);
}

void HTMLTokenizer::TakeTag() {
    const std::size_t start = m_next;
    const WCHAR second = At(start + 1);
    if (start + 1 == m_html.size()) { // a lone < at the end is dropped
        ++m_next;
        return;
    }
    if (second == u'>' || second == u'<') { // no tag: <> shows as >, << as <
        const std::size_t from = second == u'>' ? start + 1 : start;
        TakeText(from, from);
        return;
    }
    const std::size_t end = TagEnd(start + 1);
    const Text body = m_html.substr(start + 1, end - start - 1);
    m_next = std::min(end + 1, m_html.size()); // the stopper is consumed, also a < that opens no tag any more
    if (const Rule* rule = RuleOf(body))
        StoreMade((this->*rule->apply)(body), body);
    else
        TakeText(start, m_next); // unknown tags show
}

// The first > or < outside of quotes, or the end.
std::size_t HTMLTokenizer::TagEnd(std::size_t from) const {
    const WCHAR* at = m_html.data() + from;
    for (bool quoted = false;; ++at) {
        if (*at > u'>') continue; // most letters
        if (*at == u'"') quoted = !quoted;
        if (*at == 0 || (!quoted && (*at == u'>' || *at == u'<'))) break;
    }
    return static_cast<std::size_t>(at - m_html.data());
}

void HTMLTokenizer::TakeText(std::size_t from, std::size_t searchFrom) {
    m_next = TextEnd(searchFrom);
    CHTMLParser& p = m_parser;
    m_pending.bEditable = p.m_bEditable;
    m_pending.pszHREF = p.m_pszHREF;
    TakeColors();
    m_pending.hFont = p.m_Fonts.Get(p.m_lf);
    if (p.m_dwBitmapScaling != 0) p.m_nMaxFontHeight = std::max(p.m_nMaxFontHeight, p.m_lf.lfHeight);
    Store(TOKEN_TEXT, m_html.substr(from, m_next - from), p.m_uAlign);
}

// The first control character, the zero at the end being one, or the first < that no second one follows.
std::size_t HTMLTokenizer::TextEnd(std::size_t from) const {
    const WCHAR* at = m_html.data() + from;
    while (*at > u'<' || (*at >= kFirstVisible && (*at != u'<' || at[1] == u'<'))) ++at; // most are letters
    return static_cast<std::size_t>(at - m_html.data());
}

// --- Storing ------------------------------------------------------------------------------------------------------

void HTMLTokenizer::StoreMade(Made made, Text body) {
    CHTMLParser& p = m_parser;
    TakeColors();
    switch (made) {
    case Made::State:
        if (m_pending.bNavigatable) ++p.m_nNavigableLinks;
        return;
    case Made::Break: // keeps the alignment of the paragraph before it
        if (m_pending.bNavigatable) ++p.m_nNavigableLinks;
        return Store(TOKEN_TAG, u"BR", LastAlign());
    case Made::Image:
        return Store(TOKEN_IMAGE, Text(m_pending.pszText, m_pending.nLength), p.m_uAlign);
    case Made::Span:
        return Store(TOKEN_SPAN, body, p.m_uAlign);
    case Made::EndSpan:
        if (!p.m_Tokens.empty() && p.m_Tokens.back().eType == TOKEN_SPAN) return p.m_Tokens.pop_back();
        return Store(TOKEN_ENDSPAN, body, p.m_uAlign);
    case Made::Tab:
        return Store(TOKEN_TAB, body, LastAlign());
    case Made::Edge:
        return Store(TOKEN_EDGE, body, LastAlign());
    }
}

void HTMLTokenizer::TakeColors() {
    m_pending.crFore = m_parser.m_crFore;
    m_pending.crBack = m_parser.m_crBack;
}

void HTMLTokenizer::Store(TOKENTYPE type, Text text, UINT align) {
    m_pending.eType = type;
    m_pending.uAlign = align;
    m_pending.nLength = static_cast<DWORD>(text.size());
    if (type != TOKEN_IMAGE) m_pending.pszText = m_parser.m_Texts.Add(text);
    if (!m_pending.pszText) {
        m_bOutOfMemory = true;
        return;
    }
    constexpr std::size_t kUsual = 8; // tokens of a cell
    if (m_parser.m_Tokens.empty()) m_parser.m_Tokens.reserve(kUsual);
    m_parser.m_Tokens.push_back(m_pending);
    m_pending = {};
}

UINT HTMLTokenizer::LastAlign() const {
    return m_parser.m_Tokens.empty() ? HTMLAlignLeft() : m_parser.m_Tokens.back().uAlign;
}

// --- The parser's side --------------------------------------------------------------------------------------------

void CHTMLParser::Reset() {
    DeleteAllTokens();
    m_nCurrToken = 1;
    m_bFirstParagraph = 1;
    m_nMaxFontHeight = 0;
    m_uAlign = HTMLAlignLeft();
    m_bEditable = 0;
    m_crDefaultBack = m_crBack = 0xFFFFFF;
    m_crDefaultFore = m_crFore = 0;
    m_lf = HTMLTokenizer::DefaultFont(m_FontQuality);
    m_pszHREF = u"";
}

int CHTMLParser::ParseHTML(HWND hNotifyWnd) {
    m_hNotifyWnd = hNotifyWnd;
    Reset();
    if (!m_pszHTML || HTMLTokenizer(*this).Run()) return 1;
    SHShowOutOfMemory(hNotifyWnd, 0);
    return 0;
}
