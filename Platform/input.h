// Pointer, keys, focus, capture, gestures.
//
// Input goes into the queue of the thread that it concerns, and to its window when it is taken out: the pointer to the
// window that has captured it, else to the one under it; keys and characters to the focus of the active window. Pressing
// the button activates the top-level window that is hit. Client coordinates in lParam are signed 16-bit halves.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

// --- Keys ---------------------------------------------------------------------------------------------------------

inline constexpr int VK_LBUTTON = 1;
inline constexpr int VK_RBUTTON = 2;
inline constexpr int VK_BACK = 8;
inline constexpr int VK_TAB = 9;
inline constexpr int VK_RETURN = 13;
inline constexpr int VK_SHIFT = 16;
inline constexpr int VK_CONTROL = 17;
inline constexpr int VK_MENU = 18;
inline constexpr int VK_ESCAPE = 27;
inline constexpr int VK_SPACE = 32;
inline constexpr int VK_PRIOR = 33;
inline constexpr int VK_NEXT = 34;
inline constexpr int VK_END = 35;
inline constexpr int VK_HOME = 36;
inline constexpr int VK_LEFT = 37;
inline constexpr int VK_UP = 38;
inline constexpr int VK_RIGHT = 39;
inline constexpr int VK_DOWN = 40;
inline constexpr int VK_INSERT = 45;
inline constexpr int VK_DELETE = 46;
inline constexpr int VK_F1 = 112; // to VK_F1 + 11; letters and digits have the number of their character

// lParam of key messages: the repeat count (1) below, and these.
inline constexpr DWORD KF_KEY_ALTDOWN = 0x20000000;
inline constexpr DWORD KF_KEY_REPEATED = 0x40000000; // it was down before
inline constexpr DWORD KF_KEY_UP = 0x80000000;

// 0x8000 (as a negative number) while the key is down: by the input that this thread has taken out so far, and by now.
SHORT GetKeyState(int key);
SHORT GetAsyncKeyState(int key);

// --- Focus and capture --------------------------------------------------------------------------------------------

// The former focus of the calling thread, after WM_KILLFOCUS to it and WM_SETFOCUS to the new one; the top-level window
// above is activated. Null takes the focus away. Null with error 1400 for a window of another thread.
HWND SetFocus(HWND window);
HWND GetFocus();
// All of the pointer goes to a window of the calling thread, wherever it is. Gives the window that had it before, after
// WM_CAPTURECHANGED to it with the new one in lParam.
HWND SetCapture(HWND window);
// Of the calling thread.
HWND GetCapture();
BOOL ReleaseCapture();

// --- Pointer ------------------------------------------------------------------------------------------------------

// wParam of pointer messages.
inline constexpr WPARAM MK_LBUTTON = 0x01;
inline constexpr WPARAM MK_RBUTTON = 0x02; // with MK_LBUTTON, in the press that counts as held
inline constexpr WPARAM MK_SHIFT = 0x04;
inline constexpr WPARAM MK_CONTROL = 0x08;

// On the screen, now; and in two halves where it was at the message that this thread took out last.
BOOL GetCursorPos(POINT* point);
DWORD GetMessagePos();
// The topmost shown window, the deepest enabled child first; null on bare ground and over a disabled top-level window.
HWND WindowFromPoint(POINT point);

// --- Gestures and the input panel ---------------------------------------------------------------------------------

inline constexpr DWORD SHRG_RETURNCMD = 1;
inline constexpr DWORD GN_CONTEXTMENU = 1000;
struct SHRGINFO {
    DWORD cbSize; // sizeof(SHRGINFO)
    HWND hwndClient;
    POINT ptDown; // in its client area
    DWORD dwFlags;
};
// Waits whether the press at ptDown is held for half a second without a release or a move over 4 pixels (at 96 dots an
// inch): then 1000, else 0. A press of the right button counts as held at once. Sent messages are served meanwhile; the
// release stays in the queue.
DWORD SHRecognizeGesture(SHRGINFO* info);

using HGESTUREINFO = HANDLE;
inline constexpr DWORD GID_SCROLL = 8;
inline constexpr ULONGLONG ARG_SCROLL_LEFT = 2; // the direction of a flick, in the low bits of ullArguments
inline constexpr ULONGLONG ARG_SCROLL_RIGHT = 4;
struct GESTUREINFO {
    UINT cbSize; // sizeof(GESTUREINFO)
    DWORD dwFlags;
    DWORD dwID;
    HWND hwndTarget;
    POINT ptsLocation; // on the screen
    DWORD dwInstanceID;
    DWORD dwSequenceID;
    ULONGLONG ullArguments;
    UINT cbExtraArguments;
};
// Does the host recognise gestures (PlatEnableGestures)?
BOOL GesturesSupported();
// Only a window that has asked for them gets WM_GESTURE: the id in wParam, an HGESTUREINFO in lParam.
BOOL EnableGestures(HWND window, BOOL enable);
// False with error 87 for a record of another size, 6 for a handle that is none or belongs to an old gesture.
BOOL GetGestureInfo(HGESTUREINFO handle, GESTUREINFO* info);

inline constexpr UINT SIP_UP = 0;
inline constexpr UINT SIP_DOWN = 1;
inline constexpr UINT SIP_FORCEDOWN = 2;
// Shows or hides the panel for typing; nothing without a presenter. False with error 1400.
BOOL SHSipPreference(HWND window, UINT state);
// The hardware key of a program: this device has none, so 0.
BYTE SHGetAppKeyAssoc(LPCWSTR program);

// --- Host side ----------------------------------------------------------------------------------------------------
//
// Whoever shows the screen tells here what the person does; so do tests and scripts. Any thread may call; the thread of the
// window gets it in its queue. Points are pixels of the screen.

enum class PlatPointerAction { Move, Down, Up, HoldDown, HoldUp };
// Left button and finger: Down, Move, Up. The right button is HoldDown and HoldUp: the window sees a press and release of
// the left one, then a press that counts as held.
void PlatPointer(PlatPointerAction action, int x, int y);
// Notches of the wheel, positive away from the person: three WM_VSCROLL line codes each for the window there, or the
// nearest above it, that shows a vertical bar; without one WM_MOUSEWHEEL for the window itself.
void PlatWheel(int x, int y, int notches);
// A key pressed (again: it repeats) or released. Backspace, Tab, Enter and Escape make their character too.
void PlatKey(int key, bool down);
// Characters typed: a WM_CHAR for each unit.
void PlatText(LPCWSTR text);
// A flick that the host has recognised, before the release. False when the window there has not asked for gestures.
bool PlatGesture(int x, int y, ULONGLONG direction);
void PlatEnableGestures(bool supported);
// The real window has lost the input: all keys are up, WM_CANCELMODE to who has captured the pointer.
void PlatLoseInput();

#pragma GCC visibility pop
