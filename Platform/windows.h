// Windows: classes, the tree, places. The rest of their life stands in the headers included below, so that this one serves
// for all of it: messages.h, painting.h, input.h, scroll.h, menus.h, system.h.
//
// A window belongs to the thread that made it: its procedure runs there alone, and only that thread may destroy it. Any
// thread may post and send to it. A handle of a window that is gone is simply not a window: operations on it fail with
// error 1400. Positions are pixels; those of a child are relative to its parent's client area, all others to the screen.
#pragma once

#include "Platform/gdi.h"
#include "Platform/input.h"
#include "Platform/menus.h"
#include "Platform/messages.h"
#include "Platform/painting.h"
#include "Platform/scroll.h"
#include "Platform/system.h"
#include "Platform/types.h"

#pragma GCC visibility push(default)

// --- Styles -------------------------------------------------------------------------------------------------------

inline constexpr DWORD WS_TABSTOP = 0x00010000;
inline constexpr DWORD WS_HSCROLL = 0x00100000;
inline constexpr DWORD WS_VSCROLL = 0x00200000;
inline constexpr DWORD WS_BORDER = 0x00800000;
inline constexpr DWORD WS_CLIPCHILDREN = 0x02000000;
inline constexpr DWORD WS_CLIPSIBLINGS = 0x04000000;
inline constexpr DWORD WS_VISIBLE = 0x10000000;
inline constexpr DWORD WS_DISABLED = 0x08000000;
inline constexpr DWORD WS_CHILD = 0x40000000;
inline constexpr DWORD WS_POPUP = 0x80000000;

inline constexpr DWORD WS_EX_NOACTIVATE = 0x08000000; // showing it makes it active no more than a child

inline constexpr int GWL_WNDPROC = -4;
inline constexpr int GWL_ID = -12;
inline constexpr int GWL_STYLE = -16;
inline constexpr int GWL_EXSTYLE = -20;
inline constexpr int GWL_USERDATA = -21;

inline const HWND HWND_MESSAGE = reinterpret_cast<HWND>(static_cast<LONG_PTR>(-3));
inline const HWND HWND_TOP = nullptr;
inline const HWND HWND_BOTTOM = reinterpret_cast<HWND>(static_cast<LONG_PTR>(1));

// --- Classes ------------------------------------------------------------------------------------------------------

inline constexpr UINT CS_DBLCLKS = 0x0008;
inline constexpr UINT CS_GLOBALCLASS = 0x4000;

using WNDPROC = LRESULT (*)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

struct WNDCLASSW {
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra;
    int cbWndExtra; // bytes as on the device: every four of them hold one LONG_PTR
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground; // or the index of a system colour and 1
    LPCWSTR lpszMenuName;
    LPCWSTR lpszClassName;
};

// Class names are compared without regard to case; where one is taken, a number of RegisterClassW serves too.
// 0 with error 1410 when the name is taken, 87 without a name or procedure.
ATOM RegisterClassW(const WNDCLASSW* windowClass);
// False with error 1411 (no such class) or 1412 (windows of it are left).
BOOL UnregisterClassW(LPCWSTR name, HINSTANCE instance);
// The name in the answer belongs to the class.
BOOL GetClassInfoW(HINSTANCE instance, LPCWSTR name, WNDCLASSW* windowClass);
// The number of characters copied, cut to `count` - 1; 0 on failure.
int GetClassNameW(HWND window, LPWSTR buffer, int count);

// --- Windows ------------------------------------------------------------------------------------------------------

inline constexpr int CW_USEDEFAULT = static_cast<int>(0x80000000);

struct CREATESTRUCTW {
    void* lpCreateParams;
    HINSTANCE hInstance;
    HMENU hMenu;
    HWND hwndParent;
    int cy;
    int cx;
    int y;
    int x;
    LONG style;
    LPCWSTR lpszName;
    LPCWSTR lpszClass;
    DWORD dwExStyle;
};

// Makes a window of the calling thread and sends it WM_CREATE, and nothing before; an answer of -1 takes it away again.
// Then WM_SIZE, WM_MOVE and, if it is visible, WM_SHOWWINDOW (none of these without a parent and place on the screen).
// `menu` of a child is its id. With WS_CHILD `parent` is the parent, otherwise the owner, with which it goes; with the
// parent HWND_MESSAGE no other window finds it. Null with error 1407 (class), 1400 (parent), 8 (no more windows).
HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR name, DWORD style, int x, int y, int width,
                     int height, HWND parent, HMENU menu, HINSTANCE instance, void* parameter);
// Sends WM_DESTROY to what it owns and to its children, then to itself; then the handles are none, focus, capture and
// timers are given up, and what stood behind it is painted. False with error 5 on another thread.
BOOL DestroyWindow(HWND window);
// WM_CLOSE destroys; the three text messages keep the text, WM_SETFONT and WM_GETFONT the font; WM_PAINT validates;
// WM_ERASEBKGND fills with the class brush, if it has one; WM_SETREDRAW stops and starts painting; WM_ACTIVATE takes the
// focus; WM_CANCELMODE gives up the capture; the WM_CTLCOLOR numbers give a system brush; WM_MOUSEWHEEL goes to the parent;
// everything else gives 0.
LRESULT DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
LRESULT CallWindowProcW(WNDPROC procedure, HWND window, UINT message, WPARAM wParam, LPARAM lParam);
// One of the GWL numbers, or the offset of a value in the window's extra bytes, in steps of four. Setting gives the
// former value; on failure 0 with error 1400 or 87.
LONG_PTR GetWindowLongW(HWND window, int index);
LONG_PTR SetWindowLongW(HWND window, int index, LONG_PTR value);

BOOL IsWindow(HWND window);
// True when `window` stands anywhere under `parent`.
BOOL IsChild(HWND parent, HWND window);
// The first top-level window of that class and with that text; a null argument fits everything.
HWND FindWindowW(LPCWSTR className, LPCWSTR text);
// The parent of a child, the owner of any other window.
HWND GetParent(HWND window);
// Gives the former parent. A null parent makes it top-level. Null with error 87 when the parent stands under the window.
HWND SetParent(HWND window, HWND parent);
inline constexpr UINT GW_HWNDFIRST = 0;
inline constexpr UINT GW_HWNDLAST = 1;
inline constexpr UINT GW_HWNDNEXT = 2;
inline constexpr UINT GW_HWNDPREV = 3;
inline constexpr UINT GW_OWNER = 4;
inline constexpr UINT GW_CHILD = 5;
HWND GetWindow(HWND window, UINT relation);
HWND GetDesktopWindow();
// The active window of the calling thread, and the one of the whole device; both may be null.
HWND GetActiveWindow();
// Gives the window that was active; sends WM_ACTIVATE 0 to it and 1 to the new one.
HWND SetActiveWindow(HWND window);
HWND GetForegroundWindow();
BOOL SetForegroundWindow(HWND window);
HWND GetDlgItem(HWND parent, int id);
int GetDlgCtrlID(HWND window);

// True when it was disabled before; a change is told by WM_ENABLE.
BOOL EnableWindow(HWND window, BOOL enable);
BOOL IsWindowEnabled(HWND window);
// The window and all its parents are shown.
BOOL IsWindowVisible(HWND window);
inline constexpr int SW_HIDE = 0;
inline constexpr int SW_SHOW = 5;
inline constexpr int SW_SHOWNA = 8; // without making it active
// True when it was shown before; a change is told by WM_SHOWWINDOW. Any other command shows too.
BOOL ShowWindow(HWND window, int command);

inline constexpr UINT SWP_NOSIZE = 0x01;
inline constexpr UINT SWP_NOMOVE = 0x02;
inline constexpr UINT SWP_NOZORDER = 0x04;
inline constexpr UINT SWP_NOREDRAW = 0x08; // nothing is painted for it, neither here nor behind
inline constexpr UINT SWP_NOACTIVATE = 0x10;
inline constexpr UINT SWP_FRAMECHANGED = 0x20; // border and bars of the style as it is now
inline constexpr UINT SWP_SHOWWINDOW = 0x40;
inline constexpr UINT SWP_HIDEWINDOW = 0x80;
// Changes are told by WM_MOVE and WM_SIZE, with the place and size of the client area in lParam.
BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags);
BOOL MoveWindow(HWND window, int x, int y, int width, int height, BOOL repaint);
BOOL BringWindowToTop(HWND window);
// In screen coordinates; the client rectangle starts at 0, 0 and is the window less its border and the bars it shows.
BOOL GetWindowRect(HWND window, RECT* rect);
BOOL GetClientRect(HWND window, RECT* rect);
BOOL ClientToScreen(HWND window, POINT* point);
BOOL ScreenToClient(HWND window, POINT* point);
// From the client area of one window to that of another; null is the screen. Gives the shift: x low, y high.
int MapWindowPoints(HWND from, HWND to, POINT* points, UINT count);

// By WM_SETTEXT, WM_GETTEXT and WM_GETTEXTLENGTH.
BOOL SetWindowTextW(HWND window, LPCWSTR text);
int GetWindowTextW(HWND window, LPWSTR buffer, int count);
int GetWindowTextLengthW(HWND window);
// The id of the owning thread, 0 for none; `processId` may be null.
DWORD GetWindowThreadProcessId(HWND window, DWORD* processId);

#pragma GCC visibility pop
