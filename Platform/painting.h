// Painting of windows: update regions, painting them, the picture of the screen.
//
// A window paints on the one bitmap of the screen, inside its client area, and there only where it can be seen: inside its
// parents, outside of its children with WS_CLIPCHILDREN, outside of the siblings above it with WS_CLIPSIBLINGS (top-level
// windows always). Contexts follow when windows move meanwhile. The host itself draws borders and scroll bars, and the bare
// ground of the screen.
//
// What becomes visible when windows move, hide or end joins the update regions of those that stand there. A window with
// such a region gets WM_PAINT when nothing else waits in its thread's queue. Any thread may invalidate; a window is painted
// by its own thread.
#pragma once

#include "Platform/gdi.h"

#pragma GCC visibility push(default)

// --- Update regions -----------------------------------------------------------------------------------------------

// Adds to the update region what can be seen of the rectangle of the client area (null: all of it), and of the children
// there unless the window has WS_CLIPCHILDREN. With `erase`, BeginPaint will send WM_ERASEBKGND. False with error 1400.
BOOL InvalidateRect(HWND window, const RECT* rect, BOOL erase);
// Takes it out again; null takes out all.
BOOL ValidateRect(HWND window, const RECT* rect);
// The box of the update region (`rect` may be null); false when it is empty. With `erase` the ground is erased now.
BOOL GetUpdateRect(HWND window, RECT* rect, BOOL erase);
// Sends WM_PAINT at once when there is something to paint or RDW_INTERNALPAINT asked for it.
BOOL UpdateWindow(HWND window);

inline constexpr UINT RDW_INVALIDATE = 0x001;
inline constexpr UINT RDW_INTERNALPAINT =
    0x002; // WM_PAINT even when nothing is invalid, unless it is validated first
inline constexpr UINT RDW_ERASE = 0x004;
inline constexpr UINT RDW_VALIDATE = 0x008;
inline constexpr UINT RDW_NOERASE = 0x020;
inline constexpr UINT RDW_NOCHILDREN = 0x040;
inline constexpr UINT RDW_ALLCHILDREN = 0x080;
inline constexpr UINT RDW_UPDATENOW = 0x100; // paints it now
inline constexpr UINT RDW_ERASENOW = 0x200;
inline constexpr UINT RDW_FRAME = 0x400; // border and scroll bars too
// The rectangle, or if there is none the region (a copy), or all. Children as with InvalidateRect unless told otherwise.
BOOL RedrawWindow(HWND window, const RECT* rect, HRGN region, UINT flags);

inline constexpr UINT SW_SCROLLCHILDREN = 1; // the children that meet the rectangle too, each painted anew
inline constexpr UINT SW_INVALIDATE = 2;
inline constexpr UINT SW_ERASE = 4; // with it: the ground too
// Moves the pixels of a rectangle of the client area, and what of it is to be painted along with them. Nothing outside of
// `clip` changes; null is all for both. What has none of the window's own pixels afterwards, because it is left behind or
// another window stands here or there, is told in `update` and as a box (both may be null), joins the update region if
// wanted, and else stays as it is. Not between BeginPaint and EndPaint, which take for painted what is still to be.
// Gives the kind of that region; 0 with error 1400 or 6.
int ScrollWindowEx(HWND window, int dx, int dy, const RECT* scroll, const RECT* clip, HRGN update, RECT* box,
                   UINT flags);

// --- Painting -----------------------------------------------------------------------------------------------------

struct PAINTSTRUCT {
    HDC hdc;
    BOOL fErase;  // the ground is still to be erased: WM_ERASEBKGND gave 0
    RECT rcPaint; // the box of what is to be painted, in the client area
    BOOL fRestore;
    BOOL fIncUpdate;
    BYTE rgbReserved[32];
};
// A context that paints the update region alone, which is empty from now on; the ground is erased first. Null with error
// 1400. Every BeginPaint is paired with an EndPaint.
HDC BeginPaint(HWND window, PAINTSTRUCT* paint);
BOOL EndPaint(HWND window, const PAINTSTRUCT* paint);

// --- Host side ----------------------------------------------------------------------------------------------------

// Who shows the screen, in a real window. All are called on any thread, and while the screen may be held:
// they must not call windows back, only wake somebody who does.
class PlatPresenter {
public:
    virtual ~PlatPresenter() = default;
    // Something was painted since the last PlatTakeDirty. Told once until then.
    virtual void ScreenPainted() = 0;
    // SHSipPreference: text is going to be typed, or no more.
    virtual void ShowInputPanel(BOOL show) = 0;
    // The caret is there on the screen: an input method shows what it offers beside it.
    virtual void CaretAt(const RECT&) {}
};
// The presenter stays the caller's; null takes it out. It isn't called any more once this returns. Gives the former one.
PlatPresenter* PlatSetPresenter(PlatPresenter* presenter);

// Calls take(context, rect, pixels, stride) for each rectangle of the screen that was painted since the last call, and
// gives their number. `pixels` is the rectangle's first one: four bytes each, B, G, R and one without meaning; `stride`
// bytes to the row below. Nobody paints meanwhile; `take` calls nothing of the device.
UINT PlatTakeDirty(void (*take)(void* context, const RECT& rect, const BYTE* pixels, int stride),
                   void* context);
// Everything counts as painted, for a presenter that begins.
void PlatTouchScreen();
// The screen, or what a window takes up of it (the calling thread's own: painted first), as a PNG file of the host (UTF-8
// path). False when the window is none, lies outside, or the file can't be written.
bool PlatSaveScreen(const char* file);
bool PlatSaveWindow(HWND window, const char* file);

#pragma GCC visibility pop
