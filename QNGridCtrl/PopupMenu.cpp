// Popup menus on the screen: their windows, and the pointer and the keys meanwhile.
#include "QNGridCtrl/PopupMenu.h"

#include "NorvoUI/CePopupFrame.h"
#include "NorvoUI/CeWnd.h"
#include "NorvoUI/chrome.h"
#include "NorvoUI/modalkeys.h"
#include "QNGridCtrl/MenuRows.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>

namespace {

constexpr ULONG_PTR kRestTimer = 1;
constexpr UINT kRestWait = 300; // milliseconds until a row that the pointer rests on opens
constexpr int kStripHeight =
    14;                     // pixels at 96 dots an inch, as below: tells that there is more above or below
constexpr int kMoved = 4;   // what is less is no move
constexpr int kOverlap = 3; // of a sub-menu and its parent

RECT WorkArea() {
    RECT work{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
    return work;
}

class PopupMenuSession;

// One menu of those that are open.
class PopupMenuWindow : public CeWnd {
public:
    PopupMenuWindow(PopupMenuSession& session, HMENU menu) : m_session(session), m_rows(menu) {}
    ~PopupMenuWindow() override { Close(); }
    void Close() {
        m_closing = true;
        if (m_hWnd) DestroyWindow();
    }

    // Beside `beside` (an empty one at its place): below or above, right or left, as there is room.
    bool Open(HWND hOwner, const RECT& beside, bool isSubMenu);
    const MenuRows& Rows() const { return m_rows; }
    bool HasPoint(POINT onScreen) const;
    int RowAt(POINT onScreen) const; // -1 for none
    RECT RowOnScreen(int row) const;
    int Highlighted() const { return m_highlighted; }
    void Highlight(int row, bool show);
    bool CanScroll() const { return m_all > m_shown.bottom - m_shown.top; }
    void ScrollBy(int pixels);
    // On the strips above and below the rows: -1 or 1, else 0.
    int StripAt(POINT onScreen) const;

private:
    LRESULT OnPaint(bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;
    LRESULT OnLButtonDown(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnLButtonUp(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnMouseMove(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnTimer(WPARAM id, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;
    LRESULT OnDestroy(bool& handled) override;
    LRESULT OnSettingChange(WORD flag, LPCWSTR text, bool& handled) override;
    void Arrange(SIZE rows, const RECT& beside, bool isSubMenu);
    void PaintStrips(HDC hdc);
    POINT OnScreen(POINT point) const {
        ClientToScreen(&point);
        return point;
    }

    PopupMenuSession& m_session;
    MenuRows m_rows;
    CePopupFrame m_frame;
    RECT m_shown{}; // the rows' part of the client area
    int m_all = 0;  // the height of all rows
    int m_scrolled = 0;
    int m_highlighted = -1;
    bool m_closing = false;
};

// From the first menu to the choice.
class PopupMenuSession {
public:
    PopupMenuSession(HWND hOwner, POINT at) : m_hOwner(hOwner), m_at(at) {}

    UINT Run(HMENU menu);
    void Press(POINT point);
    void Move(POINT point, bool down);
    void ReleaseAt(POINT point);
    void Rest();
    void End(UINT chosen);

private:
    PopupMenuWindow& Deepest() { return *m_open.back(); }
    int LevelAt(POINT point) const; // -1 for none
    bool Open(HMENU menu, const RECT& beside);
    void CloseBelow(int level);
    void OpenSubMenu(int level, bool first);
    void Choose(int level);
    bool Take(const MSG& message);
    void Key(WPARAM key, bool again);
    void Letter(WCHAR letter);

    HWND m_hOwner;
    POINT m_at; // where the first menu was asked for
    std::vector<std::unique_ptr<PopupMenuWindow>> m_open;
    std::vector<int> m_openers; // of each level the row whose sub-menu stands above it
    bool m_running = true;
    UINT m_chosen = 0;
    bool m_armed = false; // a release chooses: it isn't the one of the press that opened the menu
    bool m_pressed = false;
    bool m_scrolling = false;
    POINT m_last{};
    int m_restLevel = -1;
};

// --- A menu's window ----------------------------------------------------------------------------------------------

bool PopupMenuWindow::Open(HWND hOwner, const RECT& beside, bool isSubMenu) {
    const RECT inside = CePopupFrame::Inside(WorkArea());
    const SIZE rows = m_rows.Measure(static_cast<int>(inside.right - inside.left));
    if (!Create(nullptr, hOwner, RECT{}, u"", WS_POPUP, WS_EX_NOACTIVATE)) return false;
    Arrange(rows, beside, isSubMenu);
    CePopupFrame::SettleBelow();
    ShowWindow(SW_SHOWNA);
    UpdateWindow();
    return true;
}

void PopupMenuWindow::Arrange(SIZE rows, const RECT& beside, bool isSubMenu) {
    const RECT work = WorkArea();
    const SIZE whole = CePopupFrame::Around(rows);
    const LONG height = std::min(whole.cy, work.bottom - work.top);
    LONG x = beside.right, y = beside.top;
    if (x + whole.cx > work.right && isSubMenu) x = beside.left - whole.cx;
    const bool over = isSubMenu && x < work.left; // no room at either side: below the row that it belongs to
    if (over) y = beside.bottom;
    x = std::max(std::min(over ? beside.right : x, work.right - whole.cx), work.left);
    if (y + height > work.bottom)
        y = !isSubMenu && beside.top - height >= work.top ? beside.top - height : work.bottom - height;
    SetWindowPos(nullptr, x, std::max(y, work.top), whole.cx, height, SWP_NOZORDER | SWP_NOACTIVATE);
    RECT client{};
    GetClientRect(&client);
    m_shown = CePopupFrame::Inside(client);
    m_all = static_cast<int>(rows.cy);
    if (CanScroll()) InflateRect(&m_shown, 0, -ChromePx(kStripHeight));
}

bool PopupMenuWindow::HasPoint(POINT onScreen) const {
    RECT rect{};
    return GetWindowRect(&rect) && PtInRect(&rect, onScreen);
}

int PopupMenuWindow::RowAt(POINT onScreen) const {
    ScreenToClient(&onScreen);
    return PtInRect(&m_shown, onScreen)
               ? m_rows.RowAt(static_cast<int>(onScreen.y - m_shown.top) + m_scrolled)
               : -1;
}

int PopupMenuWindow::StripAt(POINT onScreen) const {
    ScreenToClient(&onScreen);
    if (!CanScroll()) return 0;
    return onScreen.y < m_shown.top ? -1 : onScreen.y >= m_shown.bottom ? 1 : 0;
}

RECT PopupMenuWindow::RowOnScreen(int row) const {
    const LONG top = m_shown.top + m_rows.At(row).top - m_scrolled;
    RECT rect = {m_shown.left, top, m_shown.right, top + m_rows.At(row).height};
    ClientToScreen(&rect);
    return rect;
}

void PopupMenuWindow::Highlight(int row, bool show) {
    if (row >= 0 && !m_rows.At(row).CanChoose()) row = -1;
    if (std::exchange(m_highlighted, row) != row) InvalidateRect(&m_shown, FALSE);
    if (row < 0 || !show) return;
    const int top = m_rows.At(row).top,
              below = top + m_rows.At(row).height - static_cast<int>(m_shown.bottom - m_shown.top);
    if (top < m_scrolled) ScrollBy(top - m_scrolled);
    if (below > m_scrolled) ScrollBy(below - m_scrolled);
}

void PopupMenuWindow::ScrollBy(int pixels) {
    const int most = std::max(m_all - static_cast<int>(m_shown.bottom - m_shown.top), 0);
    m_scrolled = std::clamp(m_scrolled + pixels, 0, most);
    InvalidateRect(nullptr, FALSE);
}

LRESULT PopupMenuWindow::OnPaint(bool& handled) {
    handled = true;
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(&paint);
    if (!hdc) return 0;
    m_frame.Paint(m_hWnd, hdc);
    PaintStrips(hdc);
    m_rows.Paint(hdc, m_shown, m_scrolled, m_highlighted);
    EndPaint(&paint);
    return 0;
}

void PopupMenuWindow::PaintStrips(HDC hdc) {
    if (!CanScroll()) return;
    const LONG high = ChromePx(kStripHeight);
    const bool atEnd = m_scrolled + m_shown.bottom - m_shown.top >= m_all;
    const RECT above = {m_shown.left, m_shown.top - high, m_shown.right, m_shown.top};
    const RECT below = {m_shown.left, m_shown.bottom, m_shown.right, m_shown.bottom + high};
    FillColor(hdc, above, GetSysColor(COLOR_WINDOW));
    FillColor(hdc, below, GetSysColor(COLOR_WINDOW));
    DrawMark(hdc, above, MARK_UP, m_scrolled > 0 ? GetSysColor(COLOR_WINDOWTEXT) : ChromeColor(CHROME_LINE));
    DrawMark(hdc, below, MARK_DOWN, atEnd ? ChromeColor(CHROME_LINE) : GetSysColor(COLOR_WINDOWTEXT));
}

LRESULT PopupMenuWindow::OnEraseBkgnd(HDC, bool& handled) {
    handled = true;
    return 1;
}

LRESULT PopupMenuWindow::OnLButtonDown(WPARAM, POINT point, bool& handled) {
    handled = true;
    m_session.Press(OnScreen(point)); // this window may be gone
    return 0;
}

LRESULT PopupMenuWindow::OnLButtonUp(WPARAM, POINT point, bool& handled) {
    handled = true;
    m_session.ReleaseAt(OnScreen(point));
    return 0;
}

LRESULT PopupMenuWindow::OnMouseMove(WPARAM flags, POINT point, bool& handled) {
    handled = true;
    m_session.Move(OnScreen(point), (flags & MK_LBUTTON) != 0);
    return 0;
}

LRESULT PopupMenuWindow::OnTimer(WPARAM id, bool& handled) {
    if (id != kRestTimer) return CeWnd::OnTimer(id, handled);
    handled = true;
    KillTimer(kRestTimer);
    m_session.Rest();
    return 0;
}

LRESULT PopupMenuWindow::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    constexpr int kNotch = 120;
    switch (msg) {
    case WM_CAPTURECHANGED:
    case WM_CANCELMODE:
        handled = true;
        m_session.End(0);
        return 0;
    case WM_MOUSEWHEEL:
        handled = true;
        if (CanScroll()) ScrollBy(-static_cast<SHORT>(HIWORD(wParam)) * ChromeTapHeight() / kNotch);
        return 0;
    default:
        return CeWnd::OnMessage(msg, wParam, lParam, handled);
    }
}

// Taken away with its owner.
LRESULT PopupMenuWindow::OnDestroy(bool&) {
    if (!m_closing) m_session.End(0);
    return 0;
}

// The screen may be another.
LRESULT PopupMenuWindow::OnSettingChange(WORD flag, LPCWSTR text, bool& handled) {
    m_session.End(0);
    return CeWnd::OnSettingChange(flag, text, handled);
}

// --- The session --------------------------------------------------------------------------------------------------

UINT PopupMenuSession::Run(HMENU menu) {
    if (!Open(menu, {m_at.x, m_at.y, m_at.x, m_at.y})) return 0;
    SetCapture(Deepest().GetHWnd());
    MSG message{};
    while (m_running) {
        const BOOL got = GetMessageW(&message, nullptr, 0, 0);
        if (got == 0) PostQuitMessage(static_cast<int>(message.wParam)); // for the loop outside
        if (got <= 0) break;
        if (!Take(message)) DispatchMessageW(&message);
    }
    m_running = false;
    while (!m_open.empty()) m_open.pop_back();
    return m_chosen;
}

// The windows go at once, their objects with the loop.
void PopupMenuSession::End(UINT chosen) {
    if (!std::exchange(m_running, false)) return;
    m_chosen = chosen;
    PostMessageW(nullptr, WM_NULL, 0, 0); // what another thread has sent comes within the loop's wait
    for (auto window = m_open.rbegin(); window != m_open.rend(); ++window) (*window)->ShowWindow(SW_HIDE);
    if (!m_open.empty() && GetCapture() == m_open.front()->GetHWnd()) ReleaseCapture();
}

bool PopupMenuSession::Open(HMENU menu, const RECT& beside) {
    auto window = std::make_unique<PopupMenuWindow>(*this, menu);
    if (window->Rows().Count() == 0 || !window->Open(m_hOwner, beside, !m_open.empty())) return false;
    m_open.push_back(std::move(window));
    return true;
}

// The topmost one.
int PopupMenuSession::LevelAt(POINT point) const {
    for (int level = static_cast<int>(m_open.size()) - 1; level >= 0; --level)
        if (m_open[static_cast<std::size_t>(level)]->HasPoint(point)) return level;
    return -1;
}

void PopupMenuSession::CloseBelow(int level) {
    while (static_cast<int>(m_open.size()) > level + 1) {
        const auto closing = std::move(m_open.back());
        m_open.pop_back();
    }
}

// Of the highlighted row, where it has one; any other that is open at this level closes.
void PopupMenuSession::OpenSubMenu(int level, bool first) {
    PopupMenuWindow& window = *m_open[static_cast<std::size_t>(level)];
    CloseBelow(level);
    const int row = window.Highlighted();
    if (row < 0 || !window.Rows().At(row).subMenu) return;
    const HMENU menu = window.Rows().At(row).subMenu;
    if (m_hOwner) SendMessageW(m_hOwner, WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu), row);
    RECT beside = window.RowOnScreen(row);
    InflateRect(&beside, -ChromePx(kOverlap), 0);
    if (!m_running || !Open(menu, beside)) return;
    m_openers.resize(static_cast<std::size_t>(level));
    m_openers.push_back(row);
    if (first) Deepest().Highlight(Deepest().Rows().Next(-1, 1), true);
}

void PopupMenuSession::Choose(int level) {
    const PopupMenuWindow& window = *m_open[static_cast<std::size_t>(level)];
    const int row = window.Highlighted();
    if (row < 0) return;
    if (window.Rows().At(row).subMenu)
        OpenSubMenu(level, true);
    else
        End(window.Rows().At(row).id);
}

// --- Pointer ------------------------------------------------------------------------------------------------------

void PopupMenuSession::Press(POINT point) {
    const int level = LevelAt(point);
    if (level < 0) return End(0);
    PopupMenuWindow& window = *m_open[static_cast<std::size_t>(level)];
    m_armed = m_pressed = true;
    m_scrolling = false;
    m_last = point;
    if (const int strip = window.StripAt(point)) {
        m_armed = false;
        return window.ScrollBy(strip * 3 * ChromeTapHeight());
    }
    window.Highlight(window.RowAt(point), false);
    OpenSubMenu(level, false);
}

void PopupMenuSession::Move(POINT point, bool down) {
    const int far = ChromePx(kMoved);
    if (down && !m_pressed && std::max(std::abs(point.x - m_at.x), std::abs(point.y - m_at.y)) > far)
        m_armed = true;
    const int level = LevelAt(point);
    if (level < 0) return;
    PopupMenuWindow& window = *m_open[static_cast<std::size_t>(level)];
    if (m_pressed && window.CanScroll() && (m_scrolling || std::abs(point.y - m_last.y) > far)) {
        m_scrolling = true;
        window.Highlight(-1, false);
        window.ScrollBy(static_cast<int>(m_last.y - point.y));
        m_last = point;
        return;
    }
    // On the way to a sub-menu the pointer may have crossed other rows.
    if (m_restLevel >= 0 && m_restLevel < level) m_restLevel = -1;
    for (int above = 0; above < level; ++above)
        m_open[static_cast<std::size_t>(above)]->Highlight(m_openers[static_cast<std::size_t>(above)], false);
    const int row = window.RowAt(point);
    if (row == window.Highlighted() || (row >= 0 && !window.Rows().At(row).CanChoose())) return;
    window.Highlight(row, false);
    m_restLevel = level;
    m_open.front()->SetTimer(kRestTimer, kRestWait);
}

void PopupMenuSession::ReleaseAt(POINT point) {
    const bool scrolled = std::exchange(m_scrolling, false),
               chooses = std::exchange(m_armed, false) && !scrolled;
    m_pressed = false;
    const int level = LevelAt(point);
    if (level < 0 || !chooses) return;
    const PopupMenuWindow& window = *m_open[static_cast<std::size_t>(level)];
    const int row = window.RowAt(point);
    if (row >= 0 && row == window.Highlighted() && !window.Rows().At(row).subMenu) Choose(level);
}

void PopupMenuSession::Rest() {
    const int level = std::exchange(m_restLevel, -1);
    if (m_running && level >= 0 && level < static_cast<int>(m_open.size()) && !m_scrolling)
        OpenSubMenu(level, false);
}

// --- Keys ---------------------------------------------------------------------------------------------------------

// All keys are the menu's, whoever has the focus.
bool PopupMenuSession::Take(const MSG& message) {
    switch (message.message) {
    case WM_KEYDOWN:
        if (message.wParam == VK_RETURN || message.wParam == VK_ESCAPE || message.wParam == VK_TAB)
            SwallowCharacter(message.wParam);
        Key(message.wParam, (message.lParam & KF_KEY_REPEATED) != 0);
        return true;
    case WM_CHAR:
        Letter(static_cast<WCHAR>(message.wParam));
        return true;
    case WM_SYSKEYDOWN:
        if (message.wParam == VK_MENU && !(message.lParam & KF_KEY_REPEATED)) End(0);
        return true;
    case WM_KEYUP:
    case WM_SYSKEYUP:
        return true;
    default:
        return false;
    }
}

void PopupMenuSession::Key(WPARAM key, bool again) {
    PopupMenuWindow& menu = Deepest();
    const int level = static_cast<int>(m_open.size()) - 1, row = menu.Highlighted();
    switch (key) {
    case VK_DOWN:
    case VK_UP:
        return menu.Highlight(menu.Rows().Next(row, key == VK_DOWN ? 1 : -1), true);
    case VK_HOME:
    case VK_END:
        return menu.Highlight(menu.Rows().Next(-1, key == VK_HOME ? 1 : -1), true);
    case VK_RIGHT:
        if (row >= 0 && menu.Rows().At(row).subMenu) OpenSubMenu(level, true);
        return;
    case VK_LEFT:
        if (level > 0) CloseBelow(level - 1);
        return;
    case VK_RETURN: // the press that opened the menu may go on
        if (!again) Choose(level);
        return;
    case VK_ESCAPE:
        return level > 0 ? CloseBelow(level - 1) : End(0);
    case VK_TAB:
        return End(0);
    default:
        return;
    }
}

void PopupMenuSession::Letter(WCHAR letter) {
    bool only = false;
    const int row = Deepest().Rows().ByLetter(letter, Deepest().Highlighted(), &only);
    if (row < 0) return;
    Deepest().Highlight(row, true);
    if (only) Choose(static_cast<int>(m_open.size()) - 1);
}

} // namespace

UINT ShowPopupMenu(HWND hOwner, HMENU menu, POINT at) { return PopupMenuSession(hOwner, at).Run(menu); }
