#include "QNGridCtrl/MenuRows.h"

#include "NorvoUI/chrome.h"
#include "Platform/system.h"
#include "QNGridCtrl/DrawHTML.h"
#include "NorvoTools/HTMLEscape.h"

#include <algorithm>

namespace {

constexpr int kMarkWidth = 26; // pixels at 96 dots an inch, as the others: check and dot, left of the text
constexpr int kMarkSide = 12;
constexpr int kKeysGap = 16;
constexpr int kArrowWidth = 22;
constexpr int kSeparatorHeight = 7;
constexpr int kRowPadding = 3; // above and below a text that wraps

WCHAR UpperCase(WCHAR c) { return c >= u'a' && c <= u'z' ? static_cast<WCHAR>(c - u'a' + u'A') : c; }

std::u16string ItemText(HMENU menu, UINT position) {
    MENUITEMINFOW info{};
    info.cbSize = sizeof info;
    info.fMask = MIIM_TYPE;
    if (!GetMenuItemInfoW(menu, position, TRUE, &info) || (info.fType & MF_OWNERDRAW)) return {};
    std::u16string text(info.cch + 1, u'\0');
    info.dwTypeData = text.data();
    info.cch = static_cast<UINT>(text.size());
    GetMenuItemInfoW(menu, position, TRUE, &info);
    text.resize(std::min<std::size_t>(info.cch, text.size() - 1));
    return text;
}

MenuRow ReadRow(HMENU menu, UINT position) {
    MENUITEMINFOW info{};
    info.cbSize = sizeof info;
    info.fMask = MIIM_STATE | MIIM_ID | MIIM_SUBMENU | MIIM_TYPE;
    GetMenuItemInfoW(menu, position, TRUE, &info);
    const std::u16string text = ItemText(menu, position);
    const std::size_t tab = std::min(text.find(u'\t'), text.size());
    MenuRow row{info.fType | info.fState, info.wID, info.hSubMenu, text.substr(0, tab)};
    if (tab < text.size()) row.keys = text.substr(tab + 1);
    return row;
}

std::u16string FontTag(COLORREF color) {
    WCHAR code[8];
    ColorRefToHTML(color, code, 8);
    return std::u16string(u"<FONT SIZE=2 NAME=\"Tahoma\" COLOR=") + code + u">";
}

// Mark-up of a text whose "&" underlines the letter behind it; "&&" is one.
std::u16string RowMarkup(const MenuRow& row, COLORREF color) {
    std::u16string markup = FontTag(color);
    const std::u16string_view text = row.text;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool marked = text[i] == u'&' && ++i < text.size() && text[i] != u'&';
        if (i == text.size()) break;
        markup += (marked ? u"<U>" : u"") + HTMLEscape(text.substr(i, 1)) + (marked ? u"</U>" : u"");
    }
    return markup;
}

std::u16string KeysMarkup(const MenuRow& row, COLORREF color) {
    return u"<P RIGHT>" + FontTag(color) + HTMLEscape(row.keys);
}

void FindLetter(MenuRow& row) {
    for (std::size_t i = 0; i + 1 < row.text.size(); ++i)
        if (row.text[i] == u'&' && row.text[++i] != u'&')
            row.letter = UpperCase(row.text[i]), row.marked = true;
    if (!row.marked && !row.text.empty()) row.letter = UpperCase(row.text.front());
}

// The size of a text in one line, or wrapped at a width.
SIZE TextSize(HDC hdc, const std::u16string& markup, int width, bool wraps) {
    CHTMLParser parser;
    parser.SetHTML(markup.c_str());
    parser.ParseHTML(nullptr);
    RECT box = {0, 0, width, 0};
    DrawHTML(hdc, box, 0, parser, nullptr, HTML_MEASURE, HTML_NO_COLOR, !wraps);
    return {box.right, box.bottom};
}

// In the middle of the box from top to bottom.
void DrawText(HDC hdc, RECT box, const std::u16string& markup) {
    const SIZE size = TextSize(hdc, markup, static_cast<int>(box.right - box.left), true);
    box.top += (box.bottom - box.top - size.cy) / 2;
    CHTMLParser parser;
    parser.SetHTML(markup.c_str());
    parser.ParseHTML(nullptr);
    DrawHTML(hdc, box, 0, parser, nullptr, 0, HTML_NO_COLOR, false);
}

RECT SquareIn(const RECT& place, int side) {
    const LONG x = (place.left + place.right - side) / 2, y = (place.top + place.bottom - side) / 2;
    return {x, y, x + side, y + side};
}

} // namespace

MenuRows::MenuRows(HMENU menu) {
    const int count = std::max(GetMenuItemCount(menu), 0);
    for (int i = 0; i < count; ++i) {
        m_rows.push_back(ReadRow(menu, static_cast<UINT>(i)));
        FindLetter(m_rows.back());
    }
}

SIZE MenuRows::Measure(int most) {
    const HDC hdc = CreateCompatibleDC(nullptr);
    LONG widest = 0, keys = 0;
    bool opens = false;
    for (const MenuRow& row : m_rows) {
        widest = std::max(widest, TextSize(hdc, RowMarkup(row, 0), most, false).cx);
        if (!row.keys.empty())
            keys = std::max(keys, TextSize(hdc, FontTag(0) + HTMLEscape(row.keys), most, false).cx);
        opens = opens || row.subMenu;
    }
    m_keysWidth = keys > 0 ? static_cast<int>(keys) + 1 + ChromePx(kKeysGap) : 0;
    m_arrowWidth = ChromePx(opens ? kArrowWidth : 2 * kRowPadding);
    const int columns = ChromePx(kMarkWidth) + m_keysWidth + m_arrowWidth;
    const int texts = std::max(std::min(static_cast<int>(widest) + 1, most - columns), 1);
    int top = 0;
    for (MenuRow& row : m_rows) {
        const int high =
            static_cast<int>(TextSize(hdc, RowMarkup(row, 0), texts, true).cy) + 2 * ChromePx(kRowPadding);
        row.top = top;
        row.height = row.IsSeparator() ? ChromePx(kSeparatorHeight) : std::max(high, ChromeTapHeight());
        top += row.height;
    }
    DeleteDC(hdc);
    return {columns + texts, top};
}

// --- Painting -----------------------------------------------------------------------------------------------------

void MenuRows::Paint(HDC hdc, const RECT& place, int scrolled, int highlighted) const {
    const int saved = SaveDC(hdc);
    IntersectClipRect(hdc, place.left, place.top, place.right, place.bottom);
    for (int i = 0; i < Count(); ++i) {
        const LONG top = place.top + At(i).top - scrolled;
        const RECT row = {place.left, top, place.right, top + At(i).height};
        if (row.bottom > place.top && row.top < place.bottom) PaintRow(hdc, At(i), row, i == highlighted);
    }
    RestoreDC(hdc, saved);
}

void MenuRows::PaintRow(HDC hdc, const MenuRow& row, const RECT& place, bool highlighted) const {
    FillColor(hdc, place, GetSysColor(highlighted ? COLOR_HIGHLIGHT : COLOR_WINDOW));
    if (row.IsSeparator()) {
        const LONG middle = (place.top + place.bottom) / 2;
        return FillColor(hdc, {place.left, middle, place.right, middle + ChromePx(1)},
                         ChromeColor(CHROME_LINE));
    }
    const COLORREF color = GetSysColor(!row.CanChoose() ? COLOR_GRAYTEXT
                                       : highlighted    ? COLOR_HIGHLIGHTTEXT
                                                        : COLOR_WINDOWTEXT);
    const RECT mark = {place.left, place.top, place.left + ChromePx(kMarkWidth), place.bottom};
    const RECT arrow = {place.right - m_arrowWidth, place.top, place.right, place.bottom};
    if (row.flags & MF_CHECKED)
        DrawMark(hdc, SquareIn(mark, ChromePx(kMarkSide)),
                 row.flags & MFT_RADIOCHECK ? MARK_RADIO : MARK_CHECK, color);
    if (row.subMenu) DrawMark(hdc, SquareIn(arrow, ChromePx(kMarkSide)), MARK_RIGHT, color);
    const LONG keys = arrow.left - m_keysWidth;
    DrawText(hdc, {mark.right, place.top, keys, place.bottom}, RowMarkup(row, color));
    if (row.keys.empty()) return;
    const COLORREF quiet = highlighted ? color : GetSysColor(COLOR_GRAYTEXT);
    DrawText(hdc, {keys, place.top, arrow.left, place.bottom}, KeysMarkup(row, quiet));
}

// --- Finding ------------------------------------------------------------------------------------------------------

int MenuRows::RowAt(int y) const {
    const auto row = std::ranges::find_if(
        m_rows, [y](const MenuRow& at) { return y >= at.top && y < at.top + at.height; });
    return row == m_rows.end() ? -1 : static_cast<int>(row - m_rows.begin());
}

int MenuRows::Next(int from, int step) const {
    const int count = Count();
    for (int i = 0, at = from; i < count; ++i) {
        at = at < 0 && step < 0 ? count - 1 : (at + step + count) % count;
        if (At(at).CanChoose()) return at;
    }
    return -1;
}

int MenuRows::ByLetter(WCHAR letter, int from, bool* only) const {
    const WCHAR wanted = UpperCase(letter);
    for (const bool marked : {true, false}) {
        const auto fits = [&](const MenuRow& row) {
            return row.CanChoose() && row.letter == wanted && row.marked == marked;
        };
        const auto count = std::ranges::count_if(m_rows, fits);
        if (count == 0) continue;
        *only = marked && count == 1;
        int at = from;
        do at = (at + 1) % Count();
        while (!fits(At(at)));
        return at;
    }
    return -1;
}
