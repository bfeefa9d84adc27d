// What is seen where on the screen: visible areas, what has to be painted when they change, and the lock of the pixels.
//
// Whoever paints on the screen holds ScreenLock for the length of one operation; whoever changes what is seen where holds a
// SceneLock. Order: the screen's lock, then the desktop's.
#pragma once

#include "Platform/host/desktop.h"

#include <atomic>
#include <mutex>

namespace plat {

std::recursive_mutex& ScreenLock();

class SceneLock {
public:
    SceneLock() : m_pixels(ScreenLock()), m_desktop(TheDesktop().lock) {}

private:
    std::lock_guard<std::recursive_mutex> m_pixels;
    std::lock_guard<std::mutex> m_desktop;
};

// Counts up whenever a visible area may have changed; contexts look here whether theirs is still good.
extern std::atomic<unsigned> g_scene;

// --- Under the desktop's lock -------------------------------------------------------------------------------------

// The place of the client area on the screen; of the screen itself for null.
POINT OriginOf(Desktop& desktop, const Window* window);
RECT WindowOnScreen(Desktop& desktop, const Window& window);
// The client area by border and bars of its style.
RECT ClientInside(const Desktop& desktop, const Window& window);
// On the screen. The client area is less the children of a window that clips them.
enum class Area { Window, Client };
Region VisibleArea(Desktop& desktop, const Window& window, Area area);
// What of the client area shows this window and nothing else: no child, nobody that stands above it or one of its parents,
// and nobody below that may have painted over them.
Region OwnArea(Desktop& desktop, const Window& window);
// Adds to the update regions of a window and, unless told otherwise, of those under it.
enum class Children { None, Unclipped, All };
void Invalidate(Desktop& desktop, Window& window, const Region& onScreen, bool erase, Children children);
void WakeOwner(Desktop& desktop, const Window& window);

// --- Under a SceneLock --------------------------------------------------------------------------------------------

// A window and all under it are to be painted there, frames are painted at once.
void Expose(Desktop& desktop, Window& window, Region onScreen);
// Border and bars of a window, and of all under it.
void PaintFrame(Desktop& desktop, const Window& window, const Region& onScreen);
void PaintFramesBelow(Desktop& desktop, const Window& window, const Region& onScreen);
// Fills on the screen's bitmap.
void FillScreen(const Region& onScreen, COLORREF color);
// A presenter has to show this part anew.
void MarkPainted(const Region& onScreen);
// Is there anybody who shows the screen?
bool IsPresented();
void TellCaret(const RECT& onScreen);
unsigned PaintedSerial(); // goes on with each look of the presenter

// Changes a window by change(window), which says whether all of it is to be painted; then all that comes of it.
template<class F>
void ChangeScene(Desktop& desktop, Window& window, bool redraw, F change) {
    const Region before = VisibleArea(desktop, window, Area::Window);
    const HWND parent = window.parent;
    const bool whole = change(window);
    ++g_scene;
    if (!redraw) return;
    Region gained = VisibleArea(desktop, window, Area::Window);
    Region lost = before;
    lost.Subtract(gained);
    if (!whole) gained.Subtract(before);
    if (Window* behind = desktop.Find(parent)) Expose(desktop, *behind, std::move(lost));
    Expose(desktop, window, std::move(gained));
}

// The screen has other measures; or other colours.
void ScreenChanged();
void RedrawEverything();

} // namespace plat
