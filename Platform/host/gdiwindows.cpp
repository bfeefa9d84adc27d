// The contexts of windows and of the screen: what they may paint on, now.
#include "Platform/host/gdiobjects.h"
#include "Platform/host/scene.h"

namespace plat {
namespace {

// Under the screen's lock: windows stand still meanwhile.
void Follow(GdiContext& context) {
    const unsigned scene = g_scene.load();
    if (context.scene == scene) return;
    context.scene = scene;
    context.bitmap.object = ScreenBitmap();
    context.Changed();
    if (!context.window) return;
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    const Window* window = desktop.Find(context.window);
    if (!window) {
        context.visible = Region();
        return;
    }
    context.origin = OriginOf(desktop, window);
    Region visible = VisibleArea(desktop, *window, Area::Client);
    visible.Offset(-context.origin.x, -context.origin.y);
    if (context.update) visible.And(*context.update);
    context.visible = std::move(visible);
}

// What a context may paint counts as painted, once for each look of the presenter.
void MarkOnce(GdiContext& context) {
    if (std::exchange(context.marked, PaintedSerial()) == PaintedSerial()) return;
    Region area = context.visible ? *context.visible : Region(context.Pixels().Bounds());
    area.Offset(context.origin.x, context.origin.y);
    MarkPainted(area);
}

} // namespace

ContextPointer FindContext(HDC dc) {
    ContextPointer found(FindGdi<GdiContext>(dc));
    if (!found || !found->onScreen) return found;
    found.Lock(ScreenLock());
    const unsigned former = found->scene;
    Follow(*found);
    if (found->scene != former) found->marked = 0;
    MarkOnce(*found);
    return found;
}

} // namespace plat

using namespace plat;

HDC GetDC(HWND window) {
    HostCall call;
    if (window && !IsWindow(window)) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), nullptr;
    std::shared_ptr<GdiContext> context = MakeContext();
    context->onScreen = true;
    context->window = window;
    return static_cast<HDC>(AddGdi(std::move(context)));
}

int ReleaseDC(HWND, HDC dc) {
    HostCall call;
    return RemoveContext(dc, false);
}
