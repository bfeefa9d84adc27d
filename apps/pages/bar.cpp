#include "apps/pages/bar.h"

#include "QNGridCtrl/DrawHTML.h"
#include "apps/pages/pagetext.h"

#include <algorithm>

namespace qn {

namespace {

constexpr COLORREF kGround = 0x996633;
constexpr COLORREF kActiveGround = 0xF6EEE8;
constexpr COLORREF kPressedGround = 0x774A22;

} // namespace

bool Bar::Open(HWND parent, const RECT& rect) {
    return Create(nullptr, parent, rect, u"", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS);
}

void Bar::SetCells(std::vector<Cell> cells) {
    m_cells = std::move(cells);
    m_pressed = -1;
    InvalidateRect(nullptr, FALSE);
}

void Bar::SetColumn(int cellHeight) {
    m_cellHeight = cellHeight;
    InvalidateRect(nullptr, FALSE);
}

std::vector<RECT> Bar::PlacesInColumn(const RECT& client) const {
    std::vector<RECT> places;
    for (int y = 0; places.size() < m_cells.size(); y += m_cellHeight)
        places.push_back({0, y, client.right, y + m_cellHeight});
    return places;
}

std::vector<RECT> Bar::Places() const {
    RECT client{};
    GetClientRect(&client);
    if (m_cellHeight > 0) return PlacesInColumn(client);
    int rest = client.right;
    int shares = 0;
    for (const Cell& cell : m_cells) cell.width > 0 ? rest -= cell.width : ++shares;
    std::vector<RECT> places;
    int x = 0;
    for (const Cell& cell : m_cells) {
        int width = cell.width;
        if (width == 0) {
            width = std::max(rest, 0) / shares;
            rest -= width;
            --shares;
        }
        places.push_back({x, 0, x + width, client.bottom});
        x += width;
    }
    return places;
}

int Bar::CellAt(POINT point) const {
    const std::vector<RECT> places = Places();
    for (std::size_t i = 0; i < places.size(); ++i)
        if (PtInRect(&places[i], point)) return static_cast<int>(i);
    return -1;
}

// The text stands in the middle of its cell both ways, in one line.
void Bar::PaintCell(HDC hdc, const Cell& cell, const RECT& place, bool pressed) {
    const HBRUSH ground = CreateSolidBrush(pressed ? kPressedGround : cell.active ? kActiveGround : kGround);
    FillRect(hdc, &place, ground);
    DeleteObject(ground);
    const std::u16string text = u"<P CENTER><FONT SIZE=2 NAME=\"Tahoma\" COLOR=" +
                                std::u16string(cell.active && !pressed ? u"#224A77" : kBarText) + u">" +
                                cell.markup;
    CHTMLParser parser;
    parser.SetHTML(text.c_str());
    parser.ParseHTML(nullptr);
    RECT measured{0, 0, place.right - place.left, 0};
    DrawHTML(hdc, measured, 0, parser, nullptr, HTML_MEASURE, HTML_NO_COLOR, true);
    RECT box = place;
    box.top += std::max<LONG>((place.bottom - place.top - measured.bottom) / 2, 0);
    const int saved = SaveDC(hdc);
    IntersectClipRect(hdc, place.left, place.top, place.right, place.bottom);
    DrawHTML(hdc, box, 0, parser, nullptr, 0, HTML_NO_COLOR, true);
    RestoreDC(hdc, saved);
}

LRESULT Bar::OnPaint(bool& handled) {
    handled = true;
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(&paint);
    const HBRUSH ground = CreateSolidBrush(kGround);
    FillRect(hdc, &paint.rcPaint, ground);
    DeleteObject(ground);
    const std::vector<RECT> places = Places();
    for (std::size_t i = 0; i < places.size(); ++i)
        PaintCell(hdc, m_cells[i], places[i], m_pressed == static_cast<int>(i));
    EndPaint(&paint);
    return 0;
}

LRESULT Bar::OnEraseBkgnd(HDC, bool& handled) {
    handled = true;
    return 1;
}

LRESULT Bar::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    InvalidateRect(nullptr, FALSE);
    return CeWnd::OnSize(type, cx, cy, handled);
}

void Bar::Press(int cell) {
    m_pressed = cell;
    InvalidateRect(nullptr, FALSE);
}

LRESULT Bar::OnLButtonDown(WPARAM, POINT point, bool& handled) {
    handled = true;
    const int cell = CellAt(point);
    if (cell < 0 || !m_cells[static_cast<std::size_t>(cell)].tapped) return 0;
    SetCapture();
    Press(cell);
    return 0;
}

LRESULT Bar::OnLButtonUp(WPARAM, POINT point, bool& handled) {
    handled = true;
    const int pressed = m_pressed;
    if (pressed < 0) return 0;
    ReleaseCapture();
    Press(-1);
    if (CellAt(point) != pressed) return 0;
    const auto act = m_cells[static_cast<std::size_t>(pressed)].tapped; // it may set other cells
    act();
    return 0;
}

LRESULT Bar::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    if ((msg == WM_CAPTURECHANGED || msg == WM_CANCELMODE) && m_pressed >= 0) Press(-1);
    return CeWnd::OnMessage(msg, wParam, lParam, handled);
}

} // namespace qn
