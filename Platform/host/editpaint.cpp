// How a text field looks: its rows, the selection, the caret.
#include "Platform/host/edit.h"
#include "Platform/host/scene.h"

#include <algorithm>

namespace plat {
namespace {

constexpr ULONG_PTR kBlinkTimer = 0xFFFFFFF1;
constexpr UINT kBlink = 530; // milliseconds on, and off
constexpr int kMargin = 2;   // pixels at both sides, at 96 dots an inch

int ScreenDots() { return PlatGetScreen().dotsPerInch; }
int Scaled(int pixels) { return (ScreenDots() * pixels + 48) / 96; }

// A context with a font in it.
class TextContext {
public:
    TextContext(HWND window, HFONT font) : m_window(window), m_dc(GetDC(window)) {
        m_former = SelectObject(m_dc, font ? font : GetStockObject(SYSTEM_FONT));
    }
    ~TextContext() {
        SelectObject(m_dc, m_former);
        ReleaseDC(m_window, m_dc);
    }
    TextContext(const TextContext&) = delete;
    TextContext& operator=(const TextContext&) = delete;
    operator HDC() const { return m_dc; }

private:
    HWND m_window;
    HDC m_dc;
    HGDIOBJ m_former;
};

} // namespace

std::optional<LRESULT> EditControl::HandlePaint(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_PAINT: {
        PAINTSTRUCT paint;
        if (const HDC hdc = BeginPaint(m_hWnd, &paint)) Paint(hdc);
        EndPaint(m_hWnd, &paint);
        return 0;
    }
    case WM_ERASEBKGND:
        return 1;
    case WM_SETFONT:
        m_hFont = reinterpret_cast<HFONT>(wParam);
        Relayout();
        return 0;
    case WM_GETFONT:
        return reinterpret_cast<LRESULT>(m_hFont);
    case WM_SIZE:
        Relayout();
        return 0;
    case WM_ENABLE:
        Invalidate();
        return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
        SetFocusState(message == WM_SETFOCUS);
        return 0;
    case WM_TIMER:
        if (wParam != kBlinkTimer) return std::nullopt;
        Blink();
        return 0;
    default:
        static_cast<void>(lParam);
        return std::nullopt;
    }
}

// --- Rows ---------------------------------------------------------------------------------------------------------

RECT EditControl::TextRect() const {
    RECT rect{};
    GetClientRect(m_hWnd, &rect);
    InflateRect(&rect, -Scaled(kMargin), 0);
    const int height = rect.bottom - rect.top;
    if (!Is(ES_MULTILINE)) rect.top += std::max(height - m_nLineHeight, 0) / 2;
    return rect;
}

int EditControl::VisibleRows() const {
    const RECT rect = TextRect();
    return std::max(1, static_cast<int>(rect.bottom - rect.top) / m_nLineHeight);
}

int EditControl::TopOf(int row) const { return TextRect().top + (row - m_nTopRow) * m_nLineHeight; }

void EditControl::Relayout() {
    const TextContext hdc(m_hWnd, m_hFont);
    TEXTMETRICW metrics{};
    GetTextMetricsW(hdc, &metrics);
    m_nLineHeight = std::max<int>(metrics.tmHeight, 1);
    m_Shown = EditLayout::Shown(m_Text.Text(), m_cPassword);
    const RECT rect = TextRect();
    const bool wraps = Is(ES_MULTILINE) && !Is(ES_AUTOHSCROLL);
    const int width = wraps ? std::max(static_cast<int>(rect.right - rect.left) - 1, 1) : 0;
    m_Layout.Build(hdc, m_Text.Text(), m_Shown, Is(ES_MULTILINE), width);
    m_nGoalX = -1;
    ScrollTo(m_nScrollX, m_nTopRow);
    Invalidate();
}

// Its rows are the bar's units. A bar that comes or goes gives the window another width.
void EditControl::UpdateBar() {
    if (!m_bHasBar) return;
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_RANGE | SIF_PAGE | SIF_POS | SIF_DISABLENOSCROLL;
    info.nMax = m_Layout.RowCount() - 1;
    info.nPage = static_cast<UINT>(VisibleRows());
    info.nPos = m_nTopRow;
    SetScrollInfo(m_hWnd, SB_VERT, &info, TRUE);
}

void EditControl::ScrollTo(int x, int row) {
    const int lastTop = std::max(m_Layout.RowCount() - VisibleRows(), 0);
    m_nTopRow = std::clamp(row, 0, lastTop);
    m_nScrollX = Is(ES_MULTILINE) && !Is(ES_AUTOHSCROLL) ? 0 : std::max(x, 0);
    UpdateBar();
    Invalidate();
}

// Scrolls as little as it takes; sideways a third of the width at once, so that what comes next can be seen.
void EditControl::ShowCaret() {
    const int row = m_Layout.RowOf(m_Text.Caret()), left = m_Layout.LeftOf(m_Text.Caret());
    const RECT rect = TextRect();
    const int width = static_cast<int>(rect.right - rect.left);
    int x = m_nScrollX;
    if (left < x) x = left - width / 3;
    if (left >= x + width) x = left - width + width / 3;
    x = std::min(x, std::max(m_Layout.WidthOf(row) - width + 1, 0));
    ScrollTo(x, std::clamp(m_nTopRow, row - VisibleRows() + 1, row));
    if (m_bFocused) ShowSteadyCaret();
}

// --- Focus and caret ----------------------------------------------------------------------------------------------

// It blinks from now on. Pictures of a screen that nobody looks at come out the same each time: there it stands still.
void EditControl::ShowSteadyCaret() {
    m_bCaretOn = true;
    if (!IsPresented()) return;
    SetTimer(m_hWnd, kBlinkTimer, kBlink, nullptr);
    RECT caret = CaretRect();
    MapWindowPoints(m_hWnd, nullptr, reinterpret_cast<POINT*>(&caret), 2);
    TellCaret(caret);
}

void EditControl::SetFocusState(bool focused) {
    m_bFocused = focused;
    m_bCaretOn = false;
    KillTimer(m_hWnd, kBlinkTimer);
    if (focused) ShowSteadyCaret();
    Invalidate();
    Notify(focused ? EN_SETFOCUS : EN_KILLFOCUS);
}

void EditControl::Blink() {
    m_bCaretOn = !m_bCaretOn;
    Invalidate();
}

void EditControl::Invalidate() { InvalidateRect(m_hWnd, nullptr, FALSE); }

// --- Painting -----------------------------------------------------------------------------------------------------

// The parent says what a field looks like.
HBRUSH EditControl::PrepareColors(HDC hdc) const {
    const bool enabled = IsWindowEnabled(m_hWnd);
    SetTextColor(hdc, GetSysColor(enabled ? COLOR_WINDOWTEXT : COLOR_GRAYTEXT));
    const UINT message = enabled && !IsReadOnly() ? WM_CTLCOLOREDIT : WM_CTLCOLORSTATIC;
    const LRESULT brush = SendMessageW(GetParent(m_hWnd), message, reinterpret_cast<WPARAM>(hdc),
                                       reinterpret_cast<LPARAM>(m_hWnd));
    return brush ? reinterpret_cast<HBRUSH>(brush) : GetSysColorBrush(COLOR_WINDOW);
}

void EditControl::Paint(HDC hdc) {
    RECT client{};
    GetClientRect(m_hWnd, &client);
    const HGDIOBJ former = SelectObject(hdc, m_hFont ? m_hFont : GetStockObject(SYSTEM_FONT));
    FillRect(hdc, &client, PrepareColors(hdc));
    SetBkMode(hdc, TRANSPARENT);
    const int endRow = std::min(m_nTopRow + VisibleRows(), m_Layout.RowCount()); // none is cut
    for (int row = m_nTopRow; row < endRow; ++row) PaintRow(hdc, row, TopOf(row));
    if (m_bCaretOn) PaintCaret(hdc);
    SelectObject(hdc, former);
}

// All of it each time, so that letters join and turn as they do in the whole. The selection shows while the field has the
// focus.
void EditControl::PaintRow(HDC hdc, int row, int y) {
    const EditLayout::Row& at = m_Layout.At(row);
    const RECT rect = TextRect();
    const int left = rect.left - m_nScrollX;
    const auto paint = [&](const RECT& box) {
        ExtTextOutW(hdc, left, y, ETO_CLIPPED, &box, m_Shown.data() + at.start,
                    static_cast<UINT>(at.end - at.start), nullptr);
    };
    paint({rect.left, y, rect.right, y + m_nLineHeight});
    if (!m_bFocused) return;
    const COLORREF color = SetTextColor(hdc, GetSysColor(COLOR_HIGHLIGHTTEXT));
    const int from = std::clamp(m_Text.SelectionStart(), at.start, at.end),
              to = std::clamp(m_Text.SelectionEnd(), at.start, at.end);
    for (const EditLayout::Piece& piece : m_Layout.PiecesOf(from, to)) {
        const RECT box = {std::max<LONG>(left + piece.left, rect.left), y,
                          std::min<LONG>(left + piece.right, rect.right), y + m_nLineHeight};
        FillRect(hdc, &box, GetSysColorBrush(COLOR_HIGHLIGHT));
        paint(box);
    }
    SetTextColor(hdc, color);
}

RECT EditControl::CaretRect() const {
    const int x = TextRect().left + m_Layout.LeftOf(m_Text.Caret()) - m_nScrollX,
              y = TopOf(m_Layout.RowOf(m_Text.Caret()));
    return {x, y, x + std::max(Scaled(1), 1), y + m_nLineHeight};
}

void EditControl::PaintCaret(HDC hdc) {
    const RECT rect = TextRect(), caret = CaretRect();
    if (caret.left >= rect.left && caret.left <= rect.right) InvertRect(hdc, &caret);
}

} // namespace plat
