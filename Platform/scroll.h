// Scroll bars: those of windows (WS_HSCROLL, WS_VSCROLL), and windows of the class "SCROLLBAR" (with SBS_VERT upright).
//
// The host draws and works them: the window, or the parent of a "SCROLLBAR" window, gets WM_HSCROLL or WM_VSCROLL with a
// code in the low half of wParam, for the thumb its position in the high half, and the "SCROLLBAR" window in lParam.
// Positions of more than 16 bits are read by GetScrollInfo.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

inline constexpr int SB_HORZ = 0;
inline constexpr int SB_VERT = 1;
inline constexpr int SB_CTL = 2;
inline constexpr DWORD SBS_VERT = 1;

inline constexpr int SB_LINEUP = 0;
inline constexpr int SB_LINELEFT = 0;
inline constexpr int SB_LINEDOWN = 1;
inline constexpr int SB_LINERIGHT = 1;
inline constexpr int SB_PAGEUP = 2;
inline constexpr int SB_PAGELEFT = 2;
inline constexpr int SB_PAGEDOWN = 3;
inline constexpr int SB_PAGERIGHT = 3;
inline constexpr int SB_THUMBPOSITION = 4;
inline constexpr int SB_THUMBTRACK = 5;
inline constexpr int SB_TOP = 6;
inline constexpr int SB_LEFT = 6;
inline constexpr int SB_BOTTOM = 7;
inline constexpr int SB_RIGHT = 7;
inline constexpr int SB_ENDSCROLL = 8;

inline constexpr UINT SIF_RANGE = 0x01;
inline constexpr UINT SIF_PAGE = 0x02;
inline constexpr UINT SIF_POS = 0x04;
inline constexpr UINT SIF_DISABLENOSCROLL = 0x08;
inline constexpr UINT SIF_TRACKPOS = 0x10;
inline constexpr UINT SIF_ALL = 0x17;
struct SCROLLINFO {
    UINT cbSize; // sizeof(SCROLLINFO)
    UINT fMask;
    int nMin;
    int nMax; // inclusive
    UINT nPage;
    int nPos;
    int nTrackPos; // of the thumb while it is dragged, else nPos
};

// Sets what the mask tells; the page is kept within the range, the position within max - page + 1. A window's bar hides when
// there is nothing to scroll (page > max - min), unless SIF_DISABLENOSCROLL is told, and shows otherwise; when that changes
// the client area, WM_SIZE is sent. Gives the position. A bar starts with 0 to 100 and no page.
int SetScrollInfo(HWND window, int bar, const SCROLLINFO* info, BOOL redraw);
// What the mask asks for; false with error 1400 or 87.
BOOL GetScrollInfo(HWND window, int bar, SCROLLINFO* info);
// Gives the former position.
int SetScrollPos(HWND window, int bar, int position, BOOL redraw);
int GetScrollPos(HWND window, int bar);
BOOL SetScrollRange(HWND window, int bar, int least, int most, BOOL redraw);

#pragma GCC visibility pop
