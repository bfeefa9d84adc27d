// Scroll bars among the host's own files: how they lie, how they are drawn and worked.
#pragma once

#include "Platform/host/desktop.h"

namespace plat {

inline constexpr int kBarPixels = 13; // across, at 96 dots an inch

// A bar on the screen, measured along its length.
struct BarLayout {
    RECT rect{}; // on the screen
    bool upright = false;
    int length = 0;
    int arrow = 0;       // the length of each of the two
    int thumb = 0;       // where it begins
    int thumbLength = 0; // 0: there is none

    int Along(POINT point) const { return upright ? point.y - rect.top : point.x - rect.left; }
    bool Holds(POINT point) const {
        return point.x >= rect.left && point.x < rect.right && point.y >= rect.top && point.y < rect.bottom;
    }
    BarDrag::Part PartAt(POINT point) const;
    // The position at which the thumb begins there.
    int PositionAt(const ScrollBar& bar, int start) const;
};

// --- Under the desktop's lock -------------------------------------------------------------------------------------

// Nothing when the window has no such bar.
std::optional<BarLayout> LayoutOf(Desktop& desktop, const Window& window, int bar);
// The bar of a window that lies there; -1 for none.
int BarAt(Desktop& desktop, const Window& window, POINT onScreen);

// --- Under a SceneLock --------------------------------------------------------------------------------------------

void PaintBar(Desktop& desktop, const Window& window, int bar, const Region& onScreen);
// Both bars and the corner between them; `whole` is the window on the screen.
void PaintWindowBars(Desktop& desktop, const Window& window, const RECT& whole, const Region& onScreen);

// --- On the window's thread, with no lock held --------------------------------------------------------------------

void PressBar(HWND window, int bar, POINT onScreen);
void DragBar(POINT onScreen);
void ReleaseBar();

LRESULT ScrollBarProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

} // namespace plat
