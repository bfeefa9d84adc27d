// The suite's mark-up dialect: one string becomes a flat list of tokens, in a single pass without a tag stack.
//
// Styling is a set of current values that tags change and every later text token copies. Nothing nests; a closing tag
// restores a fixed default. Tag names are upper case. Unknown tags show as text, bad mark-up is never reported.
//
//   text        to the next character below 32, or the first `<` that no second one follows ("<<" is a literal `<`)
//   CR, LF      a run of them is one break; a tab is four blanks, any other control character one
//   <...>       a tag: to the next `>`, the next `<` or the end; inside "..." both may stand
//
//   BR  TB      break; jump to the middle of the width          B Q I S U V   bold, heavy, italic, struck, underlined,
//   SPAN        begins the right-hand column, /SPAN ends it                   selection colours; /B ... /V end them
//   EDGE        a rule along the bottom of the box              EDITABLE      /EDITABLE: text that may be edited in place
//   IMG SRC="name" SIZE=n NODRAW                                P LEFT, P CENTER, P RIGHT, /P   alignment
//   A="target" NONAV, /A                                        BODY BGCOLOR=#RRGGBB            ground of the whole box
//   FONT SIZE=n NAME="face" COLOR=#RRGGBB BGCOLOR=#RRGGBB       SIZE=2 is the default, 11 points from ascent to descent
//
// A parser belongs to one thread at a time and holds a font for each run of one style; two threads may use two parsers.
#pragma once

#include "NorvoTools/CeString.h"
#include "Platform/gdi.h"
#include "Platform/windows.h"
#include "QNGridCtrl/HTMLStore.h"

#include <optional>
#include <vector>

class CHTMLImage;

// Alignment as DrawText has it: 0 left, 1 centre, 2 right in the low bits; every value carries word break and no prefix.
inline constexpr UINT HTML_ALIGN_MASK = 0x3;
inline constexpr UINT HTML_ALIGN_CENTER = 0x1;
inline constexpr UINT HTML_ALIGN_RIGHT = 0x2;
inline constexpr UINT HTML_ALIGN_FLAGS = 0x810;

enum TOKENTYPE : DWORD {
    TOKEN_TAG = 0, // a break: of all tags without a kind of their own only "BR" is stored
    TOKEN_TEXT = 1,
    TOKEN_IMAGE = 2,
    TOKEN_SPAN = 3, // the right-hand column begins
    TOKEN_ENDSPAN = 4,
    TOKEN_TAB = 5,
    TOKEN_EDGE = 6,
};

inline constexpr DWORD HTML_NATURAL_SIZE = 0xFFFFFFFF;

// One token. All pointers are the parser's, but for the image, which the grid's cache owns.
struct HTMLTOKEN {
    BYTE bEditable = 0;
    BYTE bNavigatable = 0; // link navigation stops here: the first token behind an A
    BYTE bFocused = 0;
    const WCHAR* pszText = nullptr; // visible text, the source of an image, the tag otherwise
    const WCHAR* pszHREF =
        nullptr;       // of a text token: the target in force, empty outside a link; null otherwise
    DWORD nLength = 0; // characters in pszText
    TOKENTYPE eType = TOKEN_TAG;
    HFONT hFont = nullptr; // null leaves the font that is selected
    COLORREF crFore = 0;
    COLORREF crBack = 0;
    UINT uAlign = 0;
    CHTMLImage* pImage = nullptr;
    BYTE bDrawImage = 1;
    DWORD nImageSize = 0; // wanted height in pixels; 0 automatic, HTML_NATURAL_SIZE as it is
};

// What a parser asks of its window, by WM_NOTIFY, for each IMG. The window fills in the image and answers non-zero.
inline constexpr UINT HTMLN_IMAGE = 2074;
struct tagNM_IMAGENOTIFY {
    NMHDR hdr; // the window; idFrom is the length of the source
    const WCHAR* pszSource;
    CHTMLImage* pImage; // out
    BYTE bFromResource; // out
};

class QN_API CHTMLParser {
public:
    CHTMLParser();
    ~CHTMLParser();
    CHTMLParser(CHTMLParser&&) noexcept;
    CHTMLParser& operator=(CHTMLParser&&) noexcept;

    // Keeps the pointer: the text must outlive ParseHTML. False for null, which leaves the former one.
    bool SetHTML(const WCHAR* pszHTML);
    // Replaces the tokens. Images are asked of the window, none when it is null. 1, or 0 without memory, which has been
    // told to the user; the tokens so far stay.
    int ParseHTML(HWND hNotifyWnd);
    // The link count stays: it is only good for "has there been a link".
    void DeleteAllTokens();

    // --- The cursor -----------------------------------------------------------------------------------------------
    bool FirstToken(); // true if there is any
    void NextToken() { ++m_nCurrToken; }
    bool EndOfTokens() const;
    bool IsLastToken() const;
    void SetBookmark();  // one slot
    void GotoBookmark(); // nothing without one

    // --- The token at the cursor ----------------------------------------------------------------------------------
    // Null past the end; valid until the next ParseHTML.
    const HTMLTOKEN* Curr() const {
        const auto index = static_cast<std::size_t>(m_nCurrToken) - 1;
        return index < m_Tokens.size() ? &m_Tokens[index] : nullptr;
    }
    TOKENTYPE GetCurrTokenType() const; // TOKEN_TAG past the end
    const WCHAR* GetCurrToken(int* pLength) const;
    const WCHAR* GetCurrHREF(int* pLength) const;
    HFONT GetCurrFont() const;
    COLORREF GetForeColor() const;
    // The ground of the whole text with bDefault or past the end, the token's otherwise.
    COLORREF GetBackColor(bool bDefault) const;
    UINT GetCurrTextAlign() const;
    bool GetCurrentTokenEditable() const;
    bool IsTokenVisibleText() const;
    // The image with the height it shall have: 0 is its own.
    CHTMLImage* GetCurrTokenBitmap(DWORD& size, bool& bDraw) const;

    // --- Links ----------------------------------------------------------------------------------------------------
    bool IsCurrTokenNavigatable() const;
    bool IsCurrTokenFocused() const;
    void SetCurrTokenFocused(); // the cursor's token and no other
    void ClearFocusedState();
    void SetNavigatable(bool bOn); // off takes the focus away
    bool GetNavigatable() const { return m_bNavigatable != 0; }
    // Moves the focus: forward with VK_RIGHT (39), backward with any other key. False when it left the text.
    bool OnNavigationButton(WPARAM vk);
    // The target of the focused link; false and unchanged without one.
    bool OnActionButton(CeString& target) const;
    int GetNavigableLinkCount() const { return m_nNavigableLinks; }
    // Tokens that link navigation stops at.
    int CountNavigableTokens() const;

    // --- The whole ------------------------------------------------------------------------------------------------
    // Joins the text tokens, at most `capacity` characters (the buffer holds one more). Gives the font of the last one.
    HFONT GetText(WCHAR* pszBuffer, int capacity, bool bEditableOnly) const;
    // The images are about to go: the tokens forget them and take no room from now on.
    void ForgetImages();
    void SetFontQuality(BYTE quality) { m_FontQuality = quality; }
    void SetBitmapScaling(DWORD mode) { m_dwBitmapScaling = mode; }
    const std::vector<HTMLTOKEN>& Tokens() const { return m_Tokens; }

private:
    friend class HTMLTokenizer;
    struct Bookmark {
        BYTE bFirstParagraph;
        UINT uAlign;
        COLORREF crDefaultBack;
        COLORREF crDefaultFore;
        int nCurrToken;
        LOGFONTW lf;
    };

    void Reset();
    bool FocusForward();
    bool FocusBackward();

    COLORREF m_crBack = 0xFFFFFF;
    COLORREF m_crFore = 0;
    BYTE m_bFirstParagraph = 1;
    UINT m_uAlign = HTML_ALIGN_FLAGS;
    COLORREF m_crDefaultBack = 0xFFFFFF;
    COLORREF m_crDefaultFore = 0;
    LOGFONTW m_lf{};
    BYTE m_bEditable = 0;
    int m_nCurrToken = 1; // 1-based
    std::optional<Bookmark> m_Bookmark;
    BYTE m_FontQuality = 0;
    const WCHAR* m_pszHTML = nullptr;
    LONG m_nMaxFontHeight = 0; // of the text tokens, while images are scaled
    DWORD m_dwBitmapScaling = 0;
    HWND m_hNotifyWnd = nullptr;
    BYTE m_bNavigatable = 0;
    int m_nNavigableLinks = 0;
    std::vector<HTMLTOKEN> m_Tokens;
    const WCHAR* m_pszHREF = nullptr; // the target in force, in m_Texts
    HTMLTexts m_Texts;
    HTMLFonts m_Fonts;
};

// The alignment values of "left" and "right", which a right-to-left installation swaps.
QN_API UINT HTMLAlignLeft();
QN_API UINT HTMLAlignRight();

// --- Free functions of the dialect --------------------------------------------------------------------------------

// The character of a whole entity ("&amp;", "&#38;"), without regard to case; 0 for none. Since the upper-case letters
// stand first, lower-case ones with a twin (&agrave;) can be had by number only.
QN_API WCHAR GetHTMLEntity(const WCHAR* pszEntity);
// The text without tags and with entities replaced; the character behind an entity is lost, which producers rely on. The
// caller frees it (free); null for null or without memory.
QN_API WCHAR* HTMLToText(const WCHAR* pszHTML);
// Copies attribute-free tags with a `/` behind every `<`: <B><U> becomes </B></U>. `pszOut` has room for that.
QN_API void CloseTags(const WCHAR* pszTags, WCHAR* pszOut);
// "#RRGGBB" and its length, 7; 0 for a null buffer or a capacity below 8.
QN_API int ColorRefToHTML(COLORREF color, WCHAR* pszBuffer, int capacity);
// From hexadecimal digits, at most seven, behind any number of #; fewer are a smaller number. False leaves the result.
QN_API bool HTMLToColorRef(const WCHAR* pszText, COLORREF* pResult);
