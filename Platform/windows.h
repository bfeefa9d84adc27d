// Windows, messages, timers, menus and prompts.
//
// A window belongs to the thread that made it: its procedure runs there alone, and only that thread may destroy it. Any
// thread may post and send to it. A handle of a window that is gone is simply not a window: operations on it fail with
// error 1400. Positions are pixels; those of a child are relative to its parent's client area, all others to the screen.
//
// A message sent by another thread is served while the owner is inside GetMessageW, PeekMessageW,
// MsgWaitForMultipleObjectsEx or a send of its own; the sender waits, and gets 0 when the window or its thread goes.
// Nothing is drawn yet: windows are data and procedures.
#pragma once

#include "Platform/gdi.h"
#include "Platform/types.h"

#pragma GCC visibility push(default)

// --- Numbers ------------------------------------------------------------------------------------------------------

inline constexpr UINT WM_NULL = 0x0000;
inline constexpr UINT WM_CREATE = 0x0001;
inline constexpr UINT WM_DESTROY = 0x0002;
inline constexpr UINT WM_MOVE = 0x0003;
inline constexpr UINT WM_SIZE = 0x0005;
inline constexpr UINT WM_ACTIVATE = 0x0006;
inline constexpr UINT WM_ENABLE = 0x000A;
inline constexpr UINT WM_SETTEXT = 0x000C;
inline constexpr UINT WM_GETTEXT = 0x000D;
inline constexpr UINT WM_GETTEXTLENGTH = 0x000E;
inline constexpr UINT WM_CLOSE = 0x0010;
inline constexpr UINT WM_QUIT = 0x0012;
inline constexpr UINT WM_SHOWWINDOW = 0x0018;
inline constexpr UINT WM_SETTINGCHANGE = 0x001A;
inline constexpr UINT WM_NOTIFY = 0x004E;
inline constexpr UINT WM_COMMAND = 0x0111;
inline constexpr UINT WM_TIMER = 0x0113;
inline constexpr UINT WM_INITMENUPOPUP = 0x0117;
inline constexpr UINT WM_USER = 0x0400;

inline constexpr DWORD WS_VISIBLE = 0x10000000;
inline constexpr DWORD WS_DISABLED = 0x08000000;
inline constexpr DWORD WS_CHILD = 0x40000000;
inline constexpr DWORD WS_POPUP = 0x80000000;

inline constexpr int GWL_WNDPROC = -4;
inline constexpr int GWL_ID = -12;
inline constexpr int GWL_STYLE = -16;
inline constexpr int GWL_EXSTYLE = -20;
inline constexpr int GWL_USERDATA = -21;

inline const HWND HWND_MESSAGE = reinterpret_cast<HWND>(static_cast<LONG_PTR>(-3));
inline const HWND HWND_BROADCAST = reinterpret_cast<HWND>(static_cast<LONG_PTR>(0xFFFF));
inline const HWND HWND_TOP = nullptr;
inline const HWND HWND_BOTTOM = reinterpret_cast<HWND>(static_cast<LONG_PTR>(1));

// --- Classes ------------------------------------------------------------------------------------------------------

using WNDPROC = LRESULT (*)(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

struct WNDCLASSW {
    UINT style;
    WNDPROC lpfnWndProc;
    int cbClsExtra;
    int cbWndExtra; // bytes as on the device: every four of them hold one LONG_PTR
    HINSTANCE hInstance;
    HICON hIcon;
    HCURSOR hCursor;
    HBRUSH hbrBackground;
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
// `menu` of a child is its id. With WS_CHILD `parent` is the parent, otherwise the owner, with which it goes; with the
// parent HWND_MESSAGE no other window finds it. Null with error 1407 (class), 1400 (parent), 8 (no more windows).
HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR name, DWORD style, int x, int y, int width,
                     int height, HWND parent, HMENU menu, HINSTANCE instance, void* parameter);
// Sends WM_DESTROY to the window, then to its children; then the handles are none. False with error 5 on another thread.
BOOL DestroyWindow(HWND window);
// WM_CLOSE destroys; the three text messages keep the text; everything else gives 0.
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
// SW_HIDE, or any other command to show. True when it was shown before; a change is told by WM_SHOWWINDOW.
BOOL ShowWindow(HWND window, int command);

inline constexpr UINT SWP_NOSIZE = 0x01;
inline constexpr UINT SWP_NOMOVE = 0x02;
inline constexpr UINT SWP_NOZORDER = 0x04;
inline constexpr UINT SWP_NOACTIVATE = 0x10;
inline constexpr UINT SWP_SHOWWINDOW = 0x40;
inline constexpr UINT SWP_HIDEWINDOW = 0x80;
// Changes are told by WM_MOVE and WM_SIZE, with the new position or size in lParam.
BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags);
BOOL MoveWindow(HWND window, int x, int y, int width, int height, BOOL repaint);
BOOL BringWindowToTop(HWND window);
// In screen coordinates; the client rectangle starts at 0, 0.
BOOL GetWindowRect(HWND window, RECT* rect);
BOOL GetClientRect(HWND window, RECT* rect);
BOOL ClientToScreen(HWND window, POINT* point);
BOOL ScreenToClient(HWND window, POINT* point);
// From the client area of one window to that of another; null is the screen. Gives the shift: x low, y high.
int MapWindowPoints(HWND from, HWND to, POINT* points, UINT count);
// The topmost shown window, the deepest child first; null on bare ground.
HWND WindowFromPoint(POINT point);

// By WM_SETTEXT, WM_GETTEXT and WM_GETTEXTLENGTH.
BOOL SetWindowTextW(HWND window, LPCWSTR text);
int GetWindowTextW(HWND window, LPWSTR buffer, int count);
int GetWindowTextLengthW(HWND window);
// The id of the owning thread, 0 for none; `processId` may be null.
DWORD GetWindowThreadProcessId(HWND window, DWORD* processId);

// --- Messages -----------------------------------------------------------------------------------------------------

struct MSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time; // GetTickCount
    POINT pt;
};
struct NMHDR {
    HWND hwndFrom;
    ULONG_PTR idFrom;
    UINT code;
};

// Calls the window's procedure, on its own thread, and waits for its result. To HWND_BROADCAST: to every top-level
// window in turn; the result is 1.
LRESULT SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
LRESULT SendDlgItemMessageW(HWND parent, int id, UINT message, WPARAM wParam, LPARAM lParam);
// Appends to the queue of the window's thread, of the calling thread for a null window. False with error 1400, or 8 when
// 10,000 messages wait there.
BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
// False with error 87 when no such thread runs.
BOOL PostThreadMessageW(DWORD threadId, UINT message, WPARAM wParam, LPARAM lParam);
inline constexpr UINT PM_NOREMOVE = 0;
inline constexpr UINT PM_REMOVE = 1;
// The next message of the calling thread, in posting order; WM_QUIT when no other is left, then timers that are due.
// `window` null takes all, else those of the window and its children; numbers outside first to last stay (0, 0 takes
// all). False when there is none.
BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT remove);
// Waits for one; 0 for WM_QUIT, 1 for any other, -1 on failure.
BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last);
LRESULT DispatchMessageW(const MSG* message);
// True when the message was a key that gave a character: there are no keys yet, so never.
BOOL TranslateMessage(const MSG* message);
void PostQuitMessage(int exitCode);

// --- Timers -------------------------------------------------------------------------------------------------------

using TIMERPROC = void (*)(HWND window, UINT message, ULONG_PTR id, DWORD tick);
// WM_TIMER every `milliseconds` of GetTickCount, or calls of `procedure` in its place, while messages are dispatched; a
// late one is told once. A window's timer is replaced by one with the same id; without a window the id is made. Gives the
// id, 0 on failure.
ULONG_PTR SetTimer(HWND window, ULONG_PTR id, UINT milliseconds, TIMERPROC procedure);
BOOL KillTimer(HWND window, ULONG_PTR id);

// --- Menus --------------------------------------------------------------------------------------------------------

inline constexpr UINT MF_STRING = 0x0000;
inline constexpr UINT MF_ENABLED = 0x0000;
inline constexpr UINT MF_UNCHECKED = 0x0000;
inline constexpr UINT MF_BYCOMMAND = 0x0000;
inline constexpr UINT MF_GRAYED = 0x0001;
inline constexpr UINT MF_DISABLED = 0x0002;
inline constexpr UINT MF_CHECKED = 0x0008;
inline constexpr UINT MF_POPUP = 0x0010;
inline constexpr UINT MF_MENUBREAK = 0x0040;
inline constexpr UINT MF_OWNERDRAW = 0x0100;
inline constexpr UINT MF_BYPOSITION = 0x0400;
inline constexpr UINT MF_SEPARATOR = 0x0800;
inline constexpr UINT MFT_RADIOCHECK = 0x0200;

inline constexpr UINT MIIM_STATE = 0x01;
inline constexpr UINT MIIM_ID = 0x02;
inline constexpr UINT MIIM_SUBMENU = 0x04;
inline constexpr UINT MIIM_TYPE = 0x10;
inline constexpr UINT MIIM_DATA = 0x20;
struct MENUITEMINFOW {
    UINT cbSize; // sizeof(MENUITEMINFOW)
    UINT fMask;
    UINT fType;  // MF_MENUBREAK, MF_OWNERDRAW, MF_SEPARATOR, MFT_RADIOCHECK
    UINT fState; // MF_GRAYED, MF_DISABLED, MF_CHECKED
    UINT wID;
    HMENU hSubMenu;
    HBITMAP hbmpChecked;
    HBITMAP hbmpUnchecked;
    ULONG_PTR dwItemData;
    LPWSTR dwTypeData; // in: the buffer of the text, or null; an owner-drawn item's value comes out
    UINT cch;          // in: its size; out: the length of the text
};

// A menu belongs to whoever made it; a sub-menu to the menu that it was put into. By command, an item is looked for in the
// menu and its sub-menus.
HMENU CreatePopupMenu();
// Destroys its sub-menus too.
BOOL DestroyMenu(HMENU menu);
// `flags` with MF_POPUP: `id` is the sub-menu. With MF_OWNERDRAW `text` is the item's own value. False with error 87 when
// the menu would come to stand in itself.
BOOL AppendMenuW(HMENU menu, UINT flags, ULONG_PTR id, LPCWSTR text);
// Before the item `position` (a command, or with MF_BYPOSITION a place from 0); a place behind the end appends.
BOOL InsertMenuW(HMENU menu, UINT position, UINT flags, ULONG_PTR id, LPCWSTR text);
// RemoveMenu leaves a sub-menu of the item alive, DeleteMenu destroys it.
BOOL RemoveMenu(HMENU menu, UINT position, UINT flags);
BOOL DeleteMenu(HMENU menu, UINT position, UINT flags);
// Both give the former state, 0xFFFFFFFF when there is no such item.
DWORD CheckMenuItem(HMENU menu, UINT item, UINT flags);
DWORD EnableMenuItem(HMENU menu, UINT item, UINT flags);
// Marks one of the items first to last with a dot and clears the others.
BOOL CheckMenuRadioItem(HMENU menu, UINT first, UINT last, UINT check, UINT flags);
// Fills what the mask asks for; the text is cut to the buffer.
BOOL GetMenuItemInfoW(HMENU menu, UINT item, BOOL byPosition, MENUITEMINFOW* info);
HMENU GetSubMenu(HMENU menu, int position);
// -1 for no menu.
int GetMenuItemCount(HMENU menu);
// 0xFFFFFFFF for a sub-menu and for no item.
UINT GetMenuItemID(HMENU menu, int position);
// The item's flags; of a sub-menu the low byte, with the number of its items in the next. 0xFFFFFFFF for no item.
UINT GetMenuState(HMENU menu, UINT item, UINT flags);

inline constexpr UINT TPM_RETURNCMD = 0x0100;
// Sends WM_INITMENUPOPUP to the window, lets the prompt provider choose, and returns the command (0 for none) with
// TPM_RETURNCMD; otherwise posts it to the window as WM_COMMAND and returns true. Only an enabled item can be chosen.
BOOL TrackPopupMenuEx(HMENU menu, UINT flags, int x, int y, HWND window, void* parameters);

// --- Prompts ------------------------------------------------------------------------------------------------------

inline constexpr UINT MB_OK = 0;
inline constexpr UINT MB_OKCANCEL = 1;
inline constexpr UINT MB_ABORTRETRYIGNORE = 2;
inline constexpr UINT MB_YESNOCANCEL = 3;
inline constexpr UINT MB_YESNO = 4;
inline constexpr UINT MB_RETRYCANCEL = 5;
inline constexpr UINT MB_TYPEMASK = 0x0F;
inline constexpr UINT MB_ICONHAND = 0x10;
inline constexpr UINT MB_ICONQUESTION = 0x20;
inline constexpr UINT MB_ICONEXCLAMATION = 0x30;
inline constexpr UINT MB_ICONASTERISK = 0x40;
inline constexpr UINT MB_SETFOREGROUND = 0x10000;
inline constexpr UINT MB_TOPMOST = 0x40000;
inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDABORT = 3;
inline constexpr int IDRETRY = 4;
inline constexpr int IDIGNORE = 5;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;

// Null texts are empty ones. Without a prompt provider it answers at once, with the first button of its kind, and writes a
// line to standard error while QN_DEBUG is set.
int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type);
// True when the sound was given to the prompt provider or there is none.
BOOL MessageBeep(UINT type);

// Host side: who shows message boxes and menus. Called on the thread that asks, with no lock held.
class PlatPromptProvider {
public:
    virtual ~PlatPromptProvider() = default;
    // One of the ID numbers above.
    virtual int ShowMessageBox(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) = 0;
    // The id of the chosen item, 0 for none.
    virtual UINT PickFromMenu(HWND owner, HMENU menu, int x, int y) = 0;
    virtual BOOL Beep(UINT type) = 0;
};
// The provider stays the caller's and must outlive its use; null takes it out. Gives the former one.
PlatPromptProvider* PlatSetPromptProvider(PlatPromptProvider* provider);

// --- System -------------------------------------------------------------------------------------------------------

inline constexpr int SM_CXSCREEN = 0;
inline constexpr int SM_CYSCREEN = 1;
inline constexpr int SM_CXVSCROLL = 2;
inline constexpr int SM_CYHSCROLL = 3;
inline constexpr int SM_CXBORDER = 5;
inline constexpr int SM_CYBORDER = 6;
inline constexpr int SM_CXICON = 11;
inline constexpr int SM_CYICON = 12;
inline constexpr int SM_CXSMICON = 49;
inline constexpr int SM_CYSMICON = 50;
// Pixels, by the screen's dots per inch; 0 for a number that is not listed above.
int GetSystemMetrics(int index);

inline constexpr DWORD SYS_COLOR_INDEX_FLAG = 0x40000000;
inline constexpr int COLOR_WINDOW = 5;
inline constexpr int COLOR_WINDOWFRAME = 6;
inline constexpr int COLOR_WINDOWTEXT = 8;
inline constexpr int COLOR_HIGHLIGHT = 13;
inline constexpr int COLOR_HIGHLIGHTTEXT = 14;
inline constexpr int COLOR_BTNFACE = 15;
inline constexpr int COLOR_BTNSHADOW = 16;
inline constexpr int COLOR_GRAYTEXT = 17;
inline constexpr int COLOR_BTNTEXT = 18;
inline constexpr int COLOR_HOTLIGHT = 26;
// By index, with or without the flag; 0 for one that is none.
COLORREF GetSysColor(int index);
// Belongs to the host; null for an index that is none.
HBRUSH GetSysColorBrush(int index);

inline constexpr UINT SPI_GETWORKAREA = 48;
// The work area (a RECT) alone; false with error 87 for all else.
BOOL SystemParametersInfoW(UINT action, UINT parameter, void* data, UINT update);

struct INITCOMMONCONTROLSEX {
    DWORD dwSize; // 8
    DWORD dwICC;
};
// Nothing is to be prepared on this host; false for a record of another size.
BOOL InitCommonControlsEx(const INITCOMMONCONTROLSEX* classes);

#pragma GCC visibility pop
