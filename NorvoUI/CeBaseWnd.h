// A window handle and the window calls that take one, as members. The wrappers do what the call of the same name does
// with m_hWnd; those with a rule of their own say so. An object may be without a handle: then they fail as the calls do.
#pragma once

#include "Platform/gdi.h"
#include "Platform/windows.h"

class CeString;

class QN_API CeBaseWnd {
public:
    explicit CeBaseWnd(HWND hWnd = nullptr) : m_hWnd(hWnd) {}
    virtual ~CeBaseWnd() = default;

    operator HWND() const { return m_hWnd; }
    HWND GetHWnd() const { return m_hWnd; }
    void Attach(HWND hWnd) { m_hWnd = hWnd; }
    HWND Detach();

    // --- Life
    BOOL DestroyWindow() { return ::DestroyWindow(m_hWnd); }
    BOOL IsWindow() const { return ::IsWindow(m_hWnd); }

    // --- Attributes
    LONG_PTR GetWindowLongW(int index) const { return ::GetWindowLongW(m_hWnd, index); }
    LONG_PTR SetWindowLongW(int index, LONG_PTR value) { return ::SetWindowLongW(m_hWnd, index, value); }
    DWORD GetStyle() const { return static_cast<DWORD>(GetWindowLongW(GWL_STYLE)); }
    DWORD GetExStyle() const { return static_cast<DWORD>(GetWindowLongW(GWL_EXSTYLE)); }
    // True when it changed anything. With `flags` not 0 SetWindowPos follows, without move, size, order, activation.
    bool ModifyStyle(DWORD remove, DWORD add, UINT flags = 0) {
        return ModifyStyle(m_hWnd, remove, add, flags);
    }
    bool ModifyStyleEx(DWORD remove, DWORD add, UINT flags = 0) {
        return ModifyStyleEx(m_hWnd, remove, add, flags);
    }
    static bool ModifyStyle(HWND hWnd, DWORD remove, DWORD add, UINT flags);
    static bool ModifyStyleEx(HWND hWnd, DWORD remove, DWORD add, UINT flags);
    int GetClassNameW(LPWSTR buffer, int count) const { return ::GetClassNameW(m_hWnd, buffer, count); }
    int GetDlgCtrlID() const { return ::GetDlgCtrlID(m_hWnd); }
    DWORD GetWindowThreadProcessId(DWORD* pProcessId = nullptr) const {
        return ::GetWindowThreadProcessId(m_hWnd, pProcessId);
    }

    // --- Messages
    LRESULT SendMessageW(UINT msg, WPARAM wParam = 0, LPARAM lParam = 0) const {
        return ::SendMessageW(m_hWnd, msg, wParam, lParam);
    }
    BOOL PostMessageW(UINT msg, WPARAM wParam = 0, LPARAM lParam = 0) const {
        return ::PostMessageW(m_hWnd, msg, wParam, lParam);
    }
    LRESULT SendDlgItemMessageW(int id, UINT msg, WPARAM wParam = 0, LPARAM lParam = 0) const {
        return ::SendDlgItemMessageW(m_hWnd, id, msg, wParam, lParam);
    }

    // --- Text, font
    BOOL SetWindowTextW(LPCWSTR text) { return ::SetWindowTextW(m_hWnd, text); }
    int GetWindowTextW(LPWSTR buffer, int count) const { return ::GetWindowTextW(m_hWnd, buffer, count); }
    bool GetWindowTextW(CeString& text) const;
    int GetWindowTextLengthW() const { return ::GetWindowTextLengthW(m_hWnd); }
    void SetFont(HFONT font, BOOL redraw = TRUE) {
        SendMessageW(WM_SETFONT, reinterpret_cast<WPARAM>(font), redraw);
    }
    HFONT GetFont() const { return reinterpret_cast<HFONT>(SendMessageW(WM_GETFONT)); }

    // --- Place and order
    BOOL SetWindowPos(HWND after, int x, int y, int cx, int cy, UINT flags) {
        return ::SetWindowPos(m_hWnd, after, x, y, cx, cy, flags);
    }
    BOOL SetWindowPos(HWND after, const RECT& rect, UINT flags) {
        return SetWindowPos(after, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top,
                            flags);
    }
    BOOL MoveWindow(int x, int y, int cx, int cy, BOOL repaint = TRUE) {
        return ::MoveWindow(m_hWnd, x, y, cx, cy, repaint);
    }
    BOOL MoveWindow(const RECT& rect, BOOL repaint = TRUE) {
        return MoveWindow(rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top, repaint);
    }
    BOOL BringWindowToTop() { return ::BringWindowToTop(m_hWnd); }
    BOOL GetWindowRect(RECT* rect) const { return ::GetWindowRect(m_hWnd, rect); }
    BOOL GetClientRect(RECT* rect) const { return ::GetClientRect(m_hWnd, rect); }
    BOOL ClientToScreen(POINT* point) const { return ::ClientToScreen(m_hWnd, point); }
    BOOL ScreenToClient(POINT* point) const { return ::ScreenToClient(m_hWnd, point); }
    void ClientToScreen(RECT* rect) const;
    void ScreenToClient(RECT* rect) const;
    int MapWindowPoints(HWND to, POINT* points, UINT count) const {
        return ::MapWindowPoints(m_hWnd, to, points, count);
    }
    // Over `over`, the parent of a child or the owner: a child in its parent's client area, any other window over a visible
    // one, else in the middle of the work area, which it never leaves.
    bool CenterWindow(HWND over = nullptr);

    // --- State
    BOOL ShowWindow(int command) { return ::ShowWindow(m_hWnd, command); }
    BOOL IsWindowVisible() const { return ::IsWindowVisible(m_hWnd); }
    BOOL EnableWindow(BOOL enable = TRUE) { return ::EnableWindow(m_hWnd, enable); }
    BOOL IsWindowEnabled() const { return ::IsWindowEnabled(m_hWnd); }
    HWND SetActiveWindow() { return ::SetActiveWindow(m_hWnd); }
    BOOL SetForegroundWindow() { return ::SetForegroundWindow(m_hWnd); }
    HWND SetFocus() { return ::SetFocus(m_hWnd); }
    HWND SetCapture() { return ::SetCapture(m_hWnd); }

    // --- Relations
    HWND GetParent() const { return ::GetParent(m_hWnd); }
    HWND SetParent(HWND parent) { return ::SetParent(m_hWnd, parent); }
    HWND GetWindow(UINT relation) const { return ::GetWindow(m_hWnd, relation); }
    HWND GetTopLevelParent() const;
    HWND GetDlgItem(int id) const { return ::GetDlgItem(m_hWnd, id); }
    BOOL IsChild(HWND window) const { return ::IsChild(m_hWnd, window); }
    BOOL SetDlgItemTextW(int id, LPCWSTR text) { return ::SetWindowTextW(GetDlgItem(id), text); }
    int GetDlgItemTextW(int id, LPWSTR buffer, int count) const {
        return ::GetWindowTextW(GetDlgItem(id), buffer, count);
    }
    BOOL EnableDlgItem(int id, BOOL enable) { return ::EnableWindow(GetDlgItem(id), enable); }

    // --- Painting
    HDC BeginPaint(PAINTSTRUCT* paint) { return ::BeginPaint(m_hWnd, paint); }
    BOOL EndPaint(const PAINTSTRUCT* paint) { return ::EndPaint(m_hWnd, paint); }
    HDC GetDC() const { return ::GetDC(m_hWnd); }
    int ReleaseDC(HDC dc) const { return ::ReleaseDC(m_hWnd, dc); }
    BOOL InvalidateRect(const RECT* rect, BOOL erase = TRUE) { return ::InvalidateRect(m_hWnd, rect, erase); }
    BOOL ValidateRect(const RECT* rect) { return ::ValidateRect(m_hWnd, rect); }
    BOOL GetUpdateRect(RECT* rect, BOOL erase = FALSE) { return ::GetUpdateRect(m_hWnd, rect, erase); }
    BOOL RedrawWindow(const RECT* rect, HRGN region, UINT flags) {
        return ::RedrawWindow(m_hWnd, rect, region, flags);
    }
    BOOL UpdateWindow() { return ::UpdateWindow(m_hWnd); }

    // --- Timers, scroll bars
    ULONG_PTR SetTimer(ULONG_PTR id, UINT milliseconds) {
        return ::SetTimer(m_hWnd, id, milliseconds, nullptr);
    }
    BOOL KillTimer(ULONG_PTR id) { return ::KillTimer(m_hWnd, id); }
    int SetScrollInfo(int bar, const SCROLLINFO* info, BOOL redraw = TRUE) {
        return ::SetScrollInfo(m_hWnd, bar, info, redraw);
    }
    BOOL GetScrollInfo(int bar, SCROLLINFO* info) const { return ::GetScrollInfo(m_hWnd, bar, info); }
    int SetScrollPos(int bar, int position, BOOL redraw = TRUE) {
        return ::SetScrollPos(m_hWnd, bar, position, redraw);
    }
    int GetScrollPos(int bar) const { return ::GetScrollPos(m_hWnd, bar); }
    BOOL SetScrollRange(int bar, int least, int most, BOOL redraw = TRUE) {
        return ::SetScrollRange(m_hWnd, bar, least, most, redraw);
    }
    // Sets or clears the style bit alone, of the vertical bar for any `bar` but 0: the frame follows at its next change.
    void ShowScrollBar(int bar, BOOL show = TRUE);

    // --- Prompts, clipboard, input
    BOOL OpenClipboard() const { return ::OpenClipboard(m_hWnd); }
    BOOL EnableGestures(BOOL enable) { return ::EnableGestures(m_hWnd, enable); }
    int MessageBoxW(LPCWSTR text, LPCWSTR caption = nullptr, UINT type = MB_OK) const {
        return ::MessageBoxW(m_hWnd, text, caption, type);
    }

    // Slides `to` over `from`, both as wide as the rectangle on the screen, in five steps of 50 ms: to the left with
    // bForward, else to the right.
    static void SlideBitmaps(const RECT& rect, HBITMAP from, HBITMAP to, bool bForward);

protected:
    HWND m_hWnd;
};
