#include "QNGridCtrl/HTMLParser.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"

#include <algorithm>
#include <utility>

namespace {
constexpr WPARAM kRightKey = 39; // VK_RIGHT
const WCHAR kNoText[] = u"";
} // namespace

UINT HTMLAlignLeft() { return g_dwLeftDefine | HTML_ALIGN_FLAGS; }
UINT HTMLAlignRight() { return g_dwRightDefine | HTML_ALIGN_FLAGS; }

CHTMLParser::CHTMLParser() { HIDPI_InitScaling(); }
CHTMLParser::~CHTMLParser() = default;
CHTMLParser::CHTMLParser(CHTMLParser&&) noexcept = default;
CHTMLParser& CHTMLParser::operator=(CHTMLParser&&) noexcept = default;

bool CHTMLParser::SetHTML(const WCHAR* pszHTML) {
    if (!pszHTML) return false;
    m_pszHTML = pszHTML;
    return true;
}

void CHTMLParser::DeleteAllTokens() {
    m_Tokens.clear();
    m_Texts.Clear();
    m_Fonts.Clear();
    m_pszHREF = nullptr;
    m_Bookmark.reset();
}

// --- The cursor ---------------------------------------------------------------------------------------------------

bool CHTMLParser::FirstToken() {
    m_nCurrToken = 1;
    return !m_Tokens.empty();
}

bool CHTMLParser::EndOfTokens() const { return m_nCurrToken > static_cast<int>(m_Tokens.size()); }
bool CHTMLParser::IsLastToken() const { return m_nCurrToken == static_cast<int>(m_Tokens.size()); }

void CHTMLParser::SetBookmark() {
    m_Bookmark = {m_bFirstParagraph, m_uAlign, m_crDefaultBack, m_crDefaultFore, m_nCurrToken, m_lf};
}

void CHTMLParser::GotoBookmark() {
    if (!m_Bookmark) return;
    m_bFirstParagraph = m_Bookmark->bFirstParagraph;
    m_uAlign = m_Bookmark->uAlign;
    m_crDefaultBack = m_Bookmark->crDefaultBack;
    m_crDefaultFore = m_Bookmark->crDefaultFore;
    m_nCurrToken = m_Bookmark->nCurrToken;
    m_lf = m_Bookmark->lf;
}

// --- The token at the cursor --------------------------------------------------------------------------------------

TOKENTYPE CHTMLParser::GetCurrTokenType() const {
    const HTMLTOKEN* token = Curr();
    return token ? token->eType : TOKEN_TAG;
}

const WCHAR* CHTMLParser::GetCurrToken(int* pLength) const {
    const HTMLTOKEN* token = Curr();
    if (pLength) *pLength = token ? static_cast<int>(token->nLength) : 0;
    return token ? token->pszText : nullptr;
}

const WCHAR* CHTMLParser::GetCurrHREF(int* pLength) const {
    const HTMLTOKEN* token = Curr();
    const WCHAR* target = token ? token->pszHREF : nullptr;
    if (pLength) *pLength = target ? static_cast<int>(std::u16string_view(target).size()) : 0;
    return target;
}

HFONT CHTMLParser::GetCurrFont() const {
    const HTMLTOKEN* token = Curr();
    return token ? token->hFont : nullptr;
}

COLORREF CHTMLParser::GetForeColor() const {
    const HTMLTOKEN* token = Curr();
    return token ? token->crFore : 0;
}

COLORREF CHTMLParser::GetBackColor(bool bDefault) const {
    const HTMLTOKEN* token = Curr();
    return bDefault || !token ? m_crDefaultBack : token->crBack;
}

UINT CHTMLParser::GetCurrTextAlign() const {
    const HTMLTOKEN* token = Curr();
    return token ? token->uAlign : HTMLAlignLeft();
}

bool CHTMLParser::GetCurrentTokenEditable() const {
    const HTMLTOKEN* token = Curr();
    return token && token->bEditable;
}

bool CHTMLParser::IsTokenVisibleText() const {
    const HTMLTOKEN* token = Curr();
    return token && token->eType == TOKEN_TEXT;
}

CHTMLImage* CHTMLParser::GetCurrTokenBitmap(DWORD& size, bool& bDraw) const {
    const HTMLTOKEN* token = Curr();
    if (!token) return nullptr;
    bDraw = token->bDrawImage != 0;
    size = token->nImageSize;
    if (size == HTML_NATURAL_SIZE)
        size = 0;
    else if (size == 0 && m_nMaxFontHeight >= 1)
        size = static_cast<DWORD>(m_nMaxFontHeight);
    return token->pImage;
}

// --- Links --------------------------------------------------------------------------------------------------------

bool CHTMLParser::IsCurrTokenNavigatable() const {
    const HTMLTOKEN* token = Curr();
    return token && token->bNavigatable;
}

bool CHTMLParser::IsCurrTokenFocused() const {
    const HTMLTOKEN* token = Curr();
    return m_bNavigatable && token && token->bNavigatable && token->bFocused;
}

void CHTMLParser::SetCurrTokenFocused() {
    ClearFocusedState();
    if (Curr()) m_Tokens[static_cast<std::size_t>(m_nCurrToken) - 1].bFocused = 1;
}

void CHTMLParser::ClearFocusedState() {
    for (HTMLTOKEN& token : m_Tokens) token.bFocused = 0;
}

void CHTMLParser::SetNavigatable(bool bOn) {
    m_bNavigatable = bOn;
    if (!bOn) ClearFocusedState();
}

bool CHTMLParser::OnNavigationButton(WPARAM vk) { return vk == kRightKey ? FocusForward() : FocusBackward(); }

bool CHTMLParser::FocusForward() {
    const auto focused =
        std::find_if(m_Tokens.begin(), m_Tokens.end(), [](const HTMLTOKEN& t) { return t.bFocused; });
    const bool found = focused != m_Tokens.end();
    const auto next = std::find_if(found ? focused + 1 : m_Tokens.begin(), m_Tokens.end(),
                                   [](const HTMLTOKEN& t) { return t.bNavigatable; });
    m_nCurrToken = static_cast<int>(next - m_Tokens.begin()) + 1;
    if (next != m_Tokens.end()) {
        SetCurrTokenFocused();
        return true;
    }
    ClearFocusedState();
    return !found; // behind the last link the caller goes on to the next cell; without any link it stays here
}

bool CHTMLParser::FocusBackward() {
    const int focused = static_cast<int>(
        std::find_if(m_Tokens.begin(), m_Tokens.end(), [](const HTMLTOKEN& t) { return t.bFocused; }) -
        m_Tokens.begin());
    const bool found = focused < static_cast<int>(m_Tokens.size());
    int target = 0; // 1-based: the last link before the focused one, the first of all without one
    for (int i = 0; i < focused && (found || !target); ++i)
        if (m_Tokens[static_cast<std::size_t>(i)].bNavigatable) target = i + 1;
    m_nCurrToken = target ? target : focused + 1;
    if (!target) {
        ClearFocusedState();
        return false;
    }
    SetCurrTokenFocused();
    return true;
}

bool CHTMLParser::OnActionButton(CeString& target) const {
    for (const HTMLTOKEN& token : m_Tokens)
        if (token.bFocused && token.pszHREF && *token.pszHREF) {
            target = token.pszHREF;
            return true;
        }
    return false;
}

int CHTMLParser::CountNavigableTokens() const {
    return static_cast<int>(
        std::count_if(m_Tokens.begin(), m_Tokens.end(), [](const HTMLTOKEN& t) { return t.bNavigatable; }));
}

// --- The whole ----------------------------------------------------------------------------------------------------

HFONT CHTMLParser::GetText(WCHAR* pszBuffer, int capacity, bool bEditableOnly) const {
    HFONT font = nullptr;
    int used = 0;
    for (const HTMLTOKEN& token : m_Tokens) {
        if (used >= capacity) break;
        if (token.eType != TOKEN_TEXT || (bEditableOnly && !token.bEditable)) continue;
        const int length = std::min(static_cast<int>(token.nLength), capacity - used);
        std::copy_n(token.pszText, length, pszBuffer + used);
        used += length;
        if (token.hFont) font = token.hFont;
    }
    pszBuffer[used] = 0;
    return font;
}

void CHTMLParser::ForgetImages() {
    for (HTMLTOKEN& token : m_Tokens) token.pImage = nullptr;
}
