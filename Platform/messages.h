// Messages: their numbers, posting and sending, the loop that takes them out, timers.
//
// Each thread has a queue. GetMessageW and PeekMessageW give first what was posted, then input (input.h), then the end, then
// WM_PAINT for windows with something to paint, then WM_TIMER: the last two are made when they are asked for. A message
// sent by another thread is served while the owner is inside GetMessageW, PeekMessageW, MsgWaitForMultipleObjectsEx or a
// send of its own; the sender waits, and gets 0 when the window or its thread goes.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

// --- Numbers ------------------------------------------------------------------------------------------------------

inline constexpr UINT WM_NULL = 0x0000;
inline constexpr UINT WM_CREATE = 0x0001;
inline constexpr UINT WM_DESTROY = 0x0002;
inline constexpr UINT WM_MOVE = 0x0003;
inline constexpr UINT WM_SIZE = 0x0005;
inline constexpr UINT WM_ACTIVATE = 0x0006;
inline constexpr UINT WM_SETFOCUS = 0x0007;
inline constexpr UINT WM_KILLFOCUS = 0x0008;
inline constexpr UINT WM_ENABLE = 0x000A;
inline constexpr UINT WM_SETREDRAW = 0x000B;
inline constexpr UINT WM_SETTEXT = 0x000C;
inline constexpr UINT WM_GETTEXT = 0x000D;
inline constexpr UINT WM_GETTEXTLENGTH = 0x000E;
inline constexpr UINT WM_PAINT = 0x000F;
inline constexpr UINT WM_CLOSE = 0x0010;
inline constexpr UINT WM_QUIT = 0x0012;
inline constexpr UINT WM_ERASEBKGND = 0x0014;
inline constexpr UINT WM_SHOWWINDOW = 0x0018;
inline constexpr UINT WM_SETTINGCHANGE = 0x001A;
inline constexpr UINT WM_CANCELMODE = 0x001F;
inline constexpr UINT WM_DRAWITEM = 0x002B;
inline constexpr UINT WM_MEASUREITEM = 0x002C;
inline constexpr UINT WM_SETFONT = 0x0030;
inline constexpr UINT WM_GETFONT = 0x0031;
inline constexpr UINT WM_NOTIFY = 0x004E;
inline constexpr UINT WM_GETDLGCODE = 0x0087;
inline constexpr UINT WM_KEYDOWN = 0x0100;
inline constexpr UINT WM_KEYUP = 0x0101;
inline constexpr UINT WM_CHAR = 0x0102;
inline constexpr UINT WM_SYSKEYDOWN = 0x0104;
inline constexpr UINT WM_SYSKEYUP = 0x0105;
inline constexpr UINT WM_INITDIALOG = 0x0110;
inline constexpr UINT WM_COMMAND = 0x0111;
inline constexpr UINT WM_TIMER = 0x0113;
inline constexpr UINT WM_HSCROLL = 0x0114;
inline constexpr UINT WM_VSCROLL = 0x0115;
inline constexpr UINT WM_INITMENUPOPUP = 0x0117;
inline constexpr UINT WM_GESTURE = 0x0119;
inline constexpr UINT WM_CTLCOLORMSGBOX = 0x0132;
inline constexpr UINT WM_CTLCOLOREDIT = 0x0133;
inline constexpr UINT WM_CTLCOLORLISTBOX = 0x0134;
inline constexpr UINT WM_CTLCOLORBTN = 0x0135;
inline constexpr UINT WM_CTLCOLORDLG = 0x0136;
inline constexpr UINT WM_CTLCOLORSCROLLBAR = 0x0137;
inline constexpr UINT WM_CTLCOLORSTATIC = 0x0138;
inline constexpr UINT WM_MOUSEMOVE = 0x0200;
inline constexpr UINT WM_LBUTTONDOWN = 0x0201;
inline constexpr UINT WM_LBUTTONUP = 0x0202;
inline constexpr UINT WM_LBUTTONDBLCLK = 0x0203;
inline constexpr UINT WM_RBUTTONDOWN = 0x0204;
inline constexpr UINT WM_RBUTTONUP = 0x0205;
inline constexpr UINT WM_MOUSEWHEEL = 0x020A;
inline constexpr UINT WM_CAPTURECHANGED = 0x0215;
inline constexpr UINT WM_CUT = 0x0300;
inline constexpr UINT WM_COPY = 0x0301;
inline constexpr UINT WM_PASTE = 0x0302;
inline constexpr UINT WM_CLEAR = 0x0303;
inline constexpr UINT WM_UNDO = 0x0304;
inline constexpr UINT WM_USER = 0x0400;

// --- Messages -----------------------------------------------------------------------------------------------------

struct MSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time; // GetTickCount
    POINT pt;   // where the pointer was, on the screen
};
struct NMHDR {
    HWND hwndFrom;
    ULONG_PTR idFrom;
    UINT code;
};

inline const HWND HWND_BROADCAST = reinterpret_cast<HWND>(static_cast<LONG_PTR>(0xFFFF));

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
// The next message of the calling thread, in the order told above. WM_PAINT stays until the window has painted.
// `window` null takes all, else those of the window and its children; numbers outside first to last stay (0, 0 takes
// all). False when there is none.
BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT remove);
// Waits for one; 0 for WM_QUIT, 1 for any other, -1 on failure.
BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last);
LRESULT DispatchMessageW(const MSG* message);
// Characters come from text input (PlatText), not from keys, so this never makes one: false.
BOOL TranslateMessage(const MSG* message);
void PostQuitMessage(int exitCode);

// --- Timers -------------------------------------------------------------------------------------------------------

using TIMERPROC = void (*)(HWND window, UINT message, ULONG_PTR id, DWORD tick);
// WM_TIMER every `milliseconds` of GetTickCount, or calls of `procedure` in its place, while messages are dispatched; a
// late one is told once. A window's timer is replaced by one with the same id; without a window the id is made. Gives the
// id, 0 on failure.
ULONG_PTR SetTimer(HWND window, ULONG_PTR id, UINT milliseconds, TIMERPROC procedure);
BOOL KillTimer(HWND window, ULONG_PTR id);

#pragma GCC visibility pop
