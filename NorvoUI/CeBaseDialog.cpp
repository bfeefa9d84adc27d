// The frame of dialogs: its window, where it stands, its bars.
#include "NorvoUI/CeBaseDialog.h"

#include "NorvoUI/chrome.h"
#include "NorvoUI/frametexts.h"

#include <algorithm>

int CeBaseDialog::m_bSoftKeys = 1;

namespace {

const WCHAR kClass[] = u"CeDialog:FRAME";
constexpr UINT kSettle = WM_USER + 1; // to itself: the screen has changed, and everybody has heard of it
constexpr UINT kBarId = 0xFFFF;
constexpr int kTitleHeight = 28; // pixels at 96 dots an inch
constexpr int kTitlePoints = 10;

HWND TopLevelOf(HWND window) {
    while (window && (GetWindowLongW(window, GWL_STYLE) & WS_CHILD)) window = GetParent(window);
    return window;
}

// The window that a dialog stands over: a disabled one has a dialog over it already.
HWND OwnerFor(HWND asked) {
    const HWND top = TopLevelOf(asked);
    return top && IsWindowEnabled(top) ? top : GetActiveWindow();
}

RECT WorkArea() {
    RECT work{};
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &work, 0);
    return work;
}

} // namespace

CeBaseDialog::CeBaseDialog(LPCWSTR title, SIZE size) : m_title(title ? title : u""), m_size(size) {}

CeBaseDialog::~CeBaseDialog() {
    if (m_hWnd) DestroyWindow();
}

// --- Life ---------------------------------------------------------------------------------------------------------

bool CeBaseDialog::Create(HWND hOwner) {
    if (!CreateFrame(hOwner)) return false;
    ShowFrame();
    return true;
}

bool CeBaseDialog::CreateFrame(HWND hOwner) {
    static const bool registered = RegisterClassW(kClass);
    static_cast<void>(registered); // a class that stands already serves too
    m_nResult = -1;
    if (m_hWnd ||
        !CeWnd::Create(kClass, OwnerFor(hOwner), RECT{}, m_title.c_str(), WS_POPUP | WS_CLIPCHILDREN))
        return false;
    m_nResult = IDCANCEL;
    const bool focusFirst = SendMessageW(WM_INITDIALOG) != 0;
    if (!m_hWnd || !m_Bar.Create(m_hWnd, RECT{}, kBarId)) return false; // it may have ended there
    FillBar();
    Place();
    if (!IsOwn(GetFocus())) FocusFirst(focusFirst);
    return true;
}

void CeBaseDialog::ShowFrame(bool activate) {
    CePopupFrame::SettleBelow();
    ShowWindow(activate ? SW_SHOW : SW_SHOWNA);
    RedrawWindow(nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN); // complete when it is seen first
}

void CeBaseDialog::EndDialog(int result) {
    m_nResult = result;
    if (m_hWnd) DestroyWindow();
}

void CeBaseDialog::SetTitle(LPCWSTR title) {
    m_title = title ? title : u"";
    if (!m_hWnd) return;
    SetWindowTextW(m_title.c_str());
    InvalidateRect(nullptr, FALSE);
}

// --- Place --------------------------------------------------------------------------------------------------------

SIZE CeBaseDialog::GetContentSize(SIZE most) {
    return {m_size.cx > 0 ? ChromePx(m_size.cx) : most.cx, m_size.cy > 0 ? ChromePx(m_size.cy) : most.cy};
}

int CeBaseDialog::TitleHeight() const { return m_title.empty() ? 0 : ChromePx(kTitleHeight); }

void CeBaseDialog::Place() {
    const RECT work = WorkArea(), inside = CePopupFrame::Inside(work);
    const LONG bars = TitleHeight() + (m_Bar.Count() > 0 ? ChromeTapHeight() : 0);
    const SIZE most = {inside.right - inside.left, std::max<LONG>(inside.bottom - inside.top - bars, 0)};
    SIZE content = GetContentSize(most);
    content.cx = std::min<LONG>(std::max<LONG>(content.cx, m_Bar.IdealWidth()), most.cx);
    content.cy = std::min(content.cy, most.cy);
    const SIZE size = CePopupFrame::Around({content.cx, content.cy + bars});
    SetWindowPos(nullptr, work.left, work.top, size.cx, size.cy, SWP_NOZORDER | SWP_NOACTIVATE);
    CenterWindow();
    Arrange();
}

void CeBaseDialog::Arrange() {
    RECT client{};
    GetClientRect(&client);
    RECT content = CePopupFrame::Inside(client);
    content.top += TitleHeight();
    const LONG bottom = content.bottom;
    if (m_Bar.Count() > 0) content.bottom -= ChromeTapHeight();
    m_Bar.MoveWindow(content.left, content.bottom, content.right - content.left, bottom - content.bottom);
    OnLayout(content);
}

LRESULT CeBaseDialog::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    if (m_Bar.GetHWnd()) Arrange();
    InvalidateRect(nullptr, FALSE);
    return CeWnd::OnSize(type, cx, cy, handled);
}

LRESULT CeBaseDialog::OnSettingChange(WORD flag, LPCWSTR text, bool& handled) {
    if (IsWindowVisible()) PostMessageW(kSettle);
    return CeWnd::OnSettingChange(flag, text, handled);
}

// On a screen of other measures: out of its own shadow, to its new place; another dialog stays above it.
void CeBaseDialog::Settle() {
    const HWND focus = GetFocus();
    const bool active = GetActiveWindow() == m_hWnd;
    ShowWindow(SW_HIDE);
    m_Frame.Forget();
    Place();
    ShowFrame(active);
    if (IsOwn(focus)) ::SetFocus(focus);
}

// --- Commands -----------------------------------------------------------------------------------------------------

void CeBaseDialog::SetStandardButtons(bool ok, bool cancel) {
    m_ok = ok;
    m_cancel = cancel;
}

void CeBaseDialog::FillBar() {
    m_Bar.RemoveAll();
    m_Bar.SetPacked(!m_bSoftKeys);
    if (m_ok) m_Bar.AddButton(IDOK, ButtonText(IDOK).c_str());
    if (m_cancel) m_Bar.AddButton(IDCANCEL, ButtonText(IDCANCEL).c_str());
    for (const CeMenus::Button& button : m_Menus.Buttons())
        m_Bar.AddButton(button.id, button.text.c_str(), button.picture,
                        button.popup ? ICONBUTTON_DROPDOWN : 0);
    UpdateStates();
}

void CeBaseDialog::UpdateBar() {
    if (!m_Bar.GetHWnd()) return; // it is filled when it is made
    FillBar();
    Arrange();
}

// What acts by default is filled, as what is depressed.
void CeBaseDialog::UpdateStates() {
    const auto show = [this](UINT id) {
        m_Bar.EnableButton(id, m_Menus.IsEnabled(id));
        m_Bar.DepressButton(id, id == m_nDefault || m_Menus.IsDepressed(id));
    };
    show(IDOK);
    show(IDCANCEL);
    for (const CeMenus::Button& button : m_Menus.Buttons()) show(button.id);
}

LRESULT CeBaseDialog::OnCommand(WPARAM wParam, LPARAM lParam, bool& handled) {
    const UINT id = LOWORD(wParam);
    const bool ofBar = lParam != 0 && reinterpret_cast<HWND>(lParam) == m_Bar.GetHWnd();
    handled = ofBar || lParam == 0;
    if (ofBar && HIWORD(wParam) == ICONBUTTON_DROPPED)
        DropMenu(id);
    else if (handled && id == IDOK)
        OnOK();
    else if (handled && id == IDCANCEL)
        OnCancel();
    else
        return handled = false, CeWnd::OnCommand(wParam, lParam, handled);
    return 0;
}

// Below its button where there is room for it, else it stands on it.
void CeBaseDialog::DropMenu(UINT id) {
    RECT button{};
    if (!m_Bar.GetButtonRect(id, button)) return;
    const int height = GetMenuItemCount(m_Menus.GetPopup(id)) * ChromeTapHeight();
    const bool below = button.bottom + height < WorkArea().bottom;
    if (const UINT chosen = m_Menus.Track(id, m_hWnd, button.left, below ? button.bottom : button.top))
        Command(chosen);
}

void CeBaseDialog::Command(UINT id) {
    if (id != 0 && m_Menus.IsEnabled(id)) SendMessageW(WM_COMMAND, id);
}

LRESULT CeBaseDialog::OnClose(bool& handled) {
    handled = true;
    Command(m_nCancel);
    return 0;
}

LRESULT CeBaseDialog::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    if (msg != WM_INITDIALOG && msg != kSettle) return CeWnd::OnMessage(msg, wParam, lParam, handled);
    handled = true;
    if (msg == WM_INITDIALOG) return OnInitDialog();
    Settle();
    return 0;
}

// --- Painting -----------------------------------------------------------------------------------------------------

LRESULT CeBaseDialog::OnPaint(bool& handled) {
    handled = true;
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(&paint);
    if (!hdc) return 0;
    m_Frame.Paint(m_hWnd, hdc);
    RECT client{};
    GetClientRect(&client);
    RECT inside = CePopupFrame::Inside(client), title = inside;
    inside.top = title.bottom = inside.top + TitleHeight();
    FillColor(hdc, title, ChromeColor(CHROME_BAR));
    FillColor(hdc, inside, GetSysColor(COLOR_WINDOW));
    InflateRect(&title, -ChromeMargin(), 0);
    const ChromeFont font(kTitlePoints, FW_BOLD);
    const HGDIOBJ former = SelectObject(hdc, font);
    SetBkMode(hdc, TRANSPARENT);
    SetTextColor(hdc, ChromeColor(CHROME_BAR_TEXT));
    DrawTextW(hdc, m_title.c_str(), -1, &title, DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS | DT_NOPREFIX);
    SelectObject(hdc, former);
    EndPaint(&paint);
    return 0;
}

LRESULT CeBaseDialog::OnEraseBkgnd(HDC, bool& handled) {
    handled = true;
    return 1;
}
