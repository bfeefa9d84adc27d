#include "NorvoUI/CeMsgWnd.h"

namespace {

constexpr UINT kFirstIme = 0x010D, kLastIme = 0x010F;
constexpr UINT kFirstImeWindow = 0x0281, kLastImeWindow = 0x0291;
// A system key is only passed on with one of these bits of lParam, which belong to its repeat count.
constexpr LPARAM kSystemKeyBits = 0x1D;

constexpr DWORD kOrientationField = 0x00800000;
constexpr DWORD kTestOnly = 2;

bool IsIme(UINT msg) {
    return (msg >= kFirstIme && msg <= kLastIme) || (msg >= kFirstImeWindow && msg <= kLastImeWindow);
}

int SignedLow(LPARAM value) { return static_cast<SHORT>(LOWORD(static_cast<ULONG_PTR>(value))); }
int SignedHigh(LPARAM value) { return static_cast<SHORT>(HIWORD(static_cast<ULONG_PTR>(value))); }
POINT PointOf(LPARAM value) { return {SignedLow(value), SignedHigh(value)}; }
UINT Repeat(LPARAM value) { return LOWORD(static_cast<ULONG_PTR>(value)); }
UINT Flags(LPARAM value) { return HIWORD(static_cast<ULONG_PTR>(value)); }

} // namespace

LRESULT CeMsgWnd::Default() {
    if (m_pfnSuperWndProc) return CallWindowProcW(m_pfnSuperWndProc, m_hMsgWnd, m_uMsg, m_wParam, m_lParam);
    return DefWindowProcW(m_hMsgWnd, m_uMsg, m_wParam, m_lParam);
}

LRESULT CeMsgWnd::ProcessMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    handled = false;
    switch (msg) {
    case WM_CHAR:
        OnChar(wParam, Repeat(lParam), Flags(lParam), handled);
        return 0;
    case WM_CLOSE:
        OnClose(handled);
        return 0;
    case WM_CREATE:
        OnCreate(reinterpret_cast<CREATESTRUCTW*>(lParam), handled);
        return 0;
    case WM_COMMAND:
        return OnCommand(wParam, lParam, handled);
    case WM_NOTIFY:
        return OnNotify(static_cast<int>(wParam), reinterpret_cast<NMHDR*>(lParam), handled);
    case WM_DESTROY:
        OnDestroy(handled);
        return 0;
    case WM_ENABLE:
        OnEnable(wParam != 0, handled);
        return 0;
    case WM_ERASEBKGND:
        return OnEraseBkgnd(reinterpret_cast<HDC>(wParam), handled);
    case WM_SYSKEYDOWN:
        if (!(lParam & kSystemKeyBits)) return 0;
        [[fallthrough]];
    case WM_KEYDOWN:
        OnKeyDown(wParam, Repeat(lParam), Flags(lParam), handled);
        return 0;
    case WM_SYSKEYUP:
        if (!(lParam & kSystemKeyBits)) return 0;
        [[fallthrough]];
    case WM_KEYUP:
        OnKeyUp(wParam, Repeat(lParam), Flags(lParam), handled);
        return 0;
    case WM_LBUTTONDBLCLK:
        OnLButtonDblClk(wParam, PointOf(lParam), handled);
        return 0;
    case WM_LBUTTONDOWN:
        OnLButtonDown(wParam, PointOf(lParam), handled);
        return 0;
    case WM_LBUTTONUP:
        OnLButtonUp(wParam, PointOf(lParam), handled);
        return 0;
    case WM_MOUSEMOVE:
        OnMouseMove(wParam, PointOf(lParam), handled);
        return 0;
    case WM_MOVE:
        OnMove(SignedLow(lParam), SignedHigh(lParam), handled);
        return 0;
    case WM_PAINT:
        OnPaint(handled);
        return 0;
    case WM_SHOWWINDOW:
        OnShowWindow(wParam != 0, static_cast<int>(lParam), handled);
        return 0;
    case WM_SIZE:
        OnSize(wParam, LOWORD(static_cast<ULONG_PTR>(lParam)), HIWORD(static_cast<ULONG_PTR>(lParam)),
               handled);
        return 0;
    case WM_TIMER:
        OnTimer(wParam, handled);
        return 0;
    case WM_SETTINGCHANGE:
        OnSettingChange(LOWORD(wParam), reinterpret_cast<LPCWSTR>(lParam), handled);
        return 0;
    case WM_ACTIVATE:
        OnActivate(wParam, lParam, handled);
        return 0;
    default:
        if (!IsIme(msg)) return OnMessage(msg, wParam, lParam, handled);
        OnIMEHandler(msg, wParam, lParam, handled);
        return 0;
    }
}

LRESULT CeMsgWnd::OnSize(WPARAM, int cx, int cy, bool& handled) {
    DEVMODEW mode{};
    mode.dmSize = sizeof mode;
    mode.dmFields = kOrientationField;
    ChangeDisplaySettingsEx(nullptr, &mode, nullptr, kTestOnly, nullptr);
    if (mode.dmDisplayOrientation == m_dwOrientation) return 0;
    m_dwOrientation = mode.dmDisplayOrientation;
    return OnOrientationChange(cx, cy, handled);
}

LRESULT CeMsgWnd::OnChar(WPARAM, UINT, UINT, bool&) { return 0; }
LRESULT CeMsgWnd::OnClose(bool&) { return 0; }
LRESULT CeMsgWnd::OnCreate(CREATESTRUCTW*, bool&) { return 0; }
LRESULT CeMsgWnd::OnCommand(WPARAM, LPARAM, bool&) { return 0; }
LRESULT CeMsgWnd::OnNotify(int, NMHDR*, bool&) { return 0; }
LRESULT CeMsgWnd::OnDestroy(bool&) { return 0; }
LRESULT CeMsgWnd::OnEnable(BOOL, bool&) { return 0; }
LRESULT CeMsgWnd::OnEraseBkgnd(HDC, bool&) { return 0; }
LRESULT CeMsgWnd::OnKeyDown(WPARAM, UINT, UINT, bool&) { return 0; }
LRESULT CeMsgWnd::OnKeyUp(WPARAM, UINT, UINT, bool&) { return 0; }
LRESULT CeMsgWnd::OnLButtonDblClk(WPARAM, POINT, bool&) { return 0; }
LRESULT CeMsgWnd::OnLButtonDown(WPARAM, POINT, bool&) { return 0; }
LRESULT CeMsgWnd::OnLButtonUp(WPARAM, POINT, bool&) { return 0; }
LRESULT CeMsgWnd::OnMouseMove(WPARAM, POINT, bool&) { return 0; }
LRESULT CeMsgWnd::OnMove(int, int, bool&) { return 0; }
LRESULT CeMsgWnd::OnPaint(bool&) { return 0; }
LRESULT CeMsgWnd::OnShowWindow(BOOL, int, bool&) { return 0; }
LRESULT CeMsgWnd::OnTimer(WPARAM, bool&) { return 0; }
LRESULT CeMsgWnd::OnSettingChange(WORD, LPCWSTR, bool&) { return 0; }
LRESULT CeMsgWnd::OnActivate(WPARAM, LPARAM, bool&) { return 0; }
LRESULT CeMsgWnd::OnOrientationChange(int, int, bool&) { return 0; }
LRESULT CeMsgWnd::OnIMEHandler(UINT, WPARAM, LPARAM, bool&) { return 0; }
LRESULT CeMsgWnd::OnMessage(UINT, WPARAM, LPARAM, bool&) { return 0; }
void CeMsgWnd::OnFirstMessage(HWND) {}
void CeMsgWnd::OnFinalMessage(HWND) {}
