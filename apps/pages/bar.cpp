#include "apps/pages/bar.h"

#include "NorvoTools/globals.h"
#include "QNGridCtrl/DrawHTML.h"
#include "QNGridCtrl/PNGPicture.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"

#include <algorithm>

namespace qn {

namespace {

constexpr int kPictureSide = 16; // pixels at 96 dots an inch, as the next
constexpr int kPictureGap = 2;   // to the word below it
constexpr int kBusyHeight = 2;

void Fill(HDC hdc, const RECT& rect, Paint paint) {
    const HBRUSH brush = CreateSolidBrush(ColorOf(paint));
    FillRect(hdc, &rect, brush);
    DeleteObject(brush);
}

// Round a cell, just inside of it.
void Frame(HDC hdc, RECT rect, Paint paint) {
    const int width = Scaled(2);
    InflateRect(&rect, -Scaled(2), -Scaled(2));
    Fill(hdc, {rect.left, rect.top, rect.right, rect.top + width}, paint);
    Fill(hdc, {rect.left, rect.bottom - width, rect.right, rect.bottom}, paint);
    Fill(hdc, {rect.left, rect.top, rect.left + width, rect.bottom}, paint);
    Fill(hdc, {rect.right - width, rect.top, rect.right, rect.bottom}, paint);
}

} // namespace

bool Bar::Open(HWND parent, const RECT& rect) {
    return Create(nullptr, parent, rect, u"", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS);
}

void Bar::SetCells(std::vector<Cell> cells) {
    if (cells.size() != m_cells.size()) m_pressed = -1; // else the same cells, with other texts
    m_cells = std::move(cells);
    if (!CanAct(m_pressed)) m_pressed = -1;
    if (!CanAct(m_focus)) m_focus = -1;
    if (m_focused) FindFocus();
    InvalidateRect(nullptr, FALSE);
}

void Bar::SetColumn(int cellHeight) {
    m_cellHeight = cellHeight;
    InvalidateRect(nullptr, FALSE);
}

void Bar::SetBusy(bool busy) {
    if (busy == m_busy) return;
    m_busy = busy;
    InvalidateRect(nullptr, FALSE);
}

// --- Places -------------------------------------------------------------------------------------------------------

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

bool Bar::CanAct(int cell) const {
    return cell >= 0 && cell < static_cast<int>(m_cells.size()) &&
           m_cells[static_cast<std::size_t>(cell)].tapped;
}

// --- Painting -----------------------------------------------------------------------------------------------------

// Picture and word stand in the middle of their cell both ways; the word in one line.
void Bar::PaintCell(HDC hdc, int index, const RECT& place) const {
    const Cell& cell = m_cells[static_cast<std::size_t>(index)];
    const bool pressed = index == m_pressed;
    const bool active = cell.active && !pressed;
    const Paint ink = active ? Paint::ActiveText : Paint::BarText;
    Fill(hdc, place, pressed ? Paint::Pressed : active ? Paint::Active : Paint::Bar);
    const std::u16string text = u"<P CENTER>" + FontTag(ink) + cell.markup;
    CHTMLParser parser;
    parser.SetHTML(text.c_str());
    parser.ParseHTML(nullptr);
    RECT measured{0, 0, place.right - place.left, 0};
    if (!cell.markup.empty()) DrawHTML(hdc, measured, 0, parser, nullptr, HTML_MEASURE, HTML_NO_COLOR, true);
    const int side = cell.picture ? Scaled(kPictureSide) : 0;
    const int gap = cell.picture && !cell.markup.empty() ? Scaled(kPictureGap) : 0;
    RECT box = place;
    box.top += std::max<LONG>((place.bottom - place.top - side - gap - measured.bottom) / 2, 0);
    const int saved = SaveDC(hdc);
    IntersectClipRect(hdc, place.left, place.top, place.right, place.bottom);
    if (cell.picture)
        PNGPicture::DrawFromResources(hdc, (place.left + place.right - side) / 2, box.top, side, side,
                                      g_hResources, cell.picture);
    box.top += side + gap;
    DrawHTML(hdc, box, 0, parser, nullptr, 0, HTML_NO_COLOR, true);
    RestoreDC(hdc, saved);
    if (m_focused && index == m_focus) Frame(hdc, place, ink);
}

LRESULT Bar::OnPaint(bool& handled) {
    handled = true;
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(&paint);
    Fill(hdc, paint.rcPaint, Paint::Bar);
    const std::vector<RECT> places = Places();
    for (std::size_t i = 0; i < places.size(); ++i) PaintCell(hdc, static_cast<int>(i), places[i]);
    RECT client{};
    GetClientRect(&client);
    if (m_busy) Fill(hdc, {0, client.bottom - Scaled(kBusyHeight), client.right, client.bottom}, Paint::Busy);
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

// --- Pointer ------------------------------------------------------------------------------------------------------

void Bar::Press(int cell) {
    m_pressed = cell;
    InvalidateRect(nullptr, FALSE);
}

void Bar::Act(int cell) {
    const auto act = m_cells[static_cast<std::size_t>(cell)].tapped; // it may set other cells
    act();
}

LRESULT Bar::OnLButtonDown(WPARAM, POINT point, bool& handled) {
    handled = true;
    const int cell = CellAt(point);
    if (!CanAct(cell)) return 0;
    SetCapture();
    Press(cell);
    return 0;
}

LRESULT Bar::OnLButtonUp(WPARAM, POINT point, bool& handled) {
    handled = true;
    const int pressed = m_pressed;
    if (GetCapture() == GetHWnd()) ReleaseCapture(); // also when the pressed cell went meanwhile
    if (pressed < 0) return 0;
    Press(-1);
    if (CellAt(point) == pressed) Act(pressed);
    return 0;
}

// --- Keys ---------------------------------------------------------------------------------------------------------

// The focus comes to the cell that had it, else to the active one or the first.
void Bar::FindFocus() {
    if (CanAct(m_focus)) return;
    const auto active =
        std::ranges::find_if(m_cells, [](const Cell& cell) { return cell.active && cell.tapped; });
    m_focus = active != m_cells.end() ? static_cast<int>(active - m_cells.begin()) : -1;
    if (m_focus < 0) MoveFocus(1);
}

void Bar::MoveFocus(int step) {
    const int count = static_cast<int>(m_cells.size());
    for (int i = m_focus + step; i >= 0 && i < count; i += step)
        if (CanAct(i)) {
            m_focus = i;
            break;
        }
    InvalidateRect(nullptr, FALSE);
}

LRESULT Bar::OnKeyDown(WPARAM code, UINT, UINT, bool& handled) {
    handled = true;
    switch (code) {
    case VK_LEFT:
    case VK_UP:
        return MoveFocus(-1), 0;
    case VK_RIGHT:
    case VK_DOWN:
        return MoveFocus(1), 0;
    case VK_RETURN:
    case VK_SPACE:
        if (CanAct(m_focus)) Act(m_focus);
        return 0;
    default:
        handled = false;
        return 0;
    }
}

LRESULT Bar::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    if ((msg == WM_CAPTURECHANGED || msg == WM_CANCELMODE) && m_pressed >= 0) Press(-1);
    if (msg == WM_SETFOCUS || msg == WM_KILLFOCUS) {
        m_focused = msg == WM_SETFOCUS;
        if (m_focused) FindFocus();
        InvalidateRect(nullptr, FALSE);
    }
    return CeWnd::OnMessage(msg, wParam, lParam, handled);
}

} // namespace qn
