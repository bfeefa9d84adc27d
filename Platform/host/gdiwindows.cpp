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

// The context that a thread found last: operations come in rows on one, and find it here without the table's lock.
struct LastContext {
    HDC dc = nullptr;
    unsigned gone = 0; // the count of those that had gone by then
    int uses = 0;      // operations under way on it
    std::shared_ptr<GdiContext> context;
};

#define OF_THREAD thread_local __attribute__((tls_model("initial-exec")))
OF_THREAD LastContext* t_last = nullptr; // null before the thread's first operation and at its end
OF_THREAD bool t_ended = false;

struct ThreadsLast {
    LastContext last;
    ThreadsLast() { t_last = &last; }
    ~ThreadsLast() {
        t_last = nullptr;
        t_ended = true;
    }
};

LastContext* Last() {
    if (t_last || t_ended) return t_last;
    thread_local ThreadsLast made;
    return &made.last;
}

ContextPointer Find(HDC dc) {
    LastContext* last = Last();
    const unsigned gone = g_contextsGone.load(std::memory_order_acquire);
    if (!last) return ContextPointer(FindGdi<GdiContext>(dc));
    if (last->context && last->dc == dc && last->gone == gone) return {*last->context, last->uses};
    auto context = FindGdi<GdiContext>(dc);
    if (!context || last->uses > 0) return ContextPointer(std::move(context));
    last->dc = dc;
    last->gone = gone;
    last->context = std::move(context);
    return {*last->context, last->uses};
}

} // namespace

void ForgetLastContext(HDC dc) {
    if (t_last && t_last->dc == dc && t_last->uses == 0) t_last->context.reset();
}

ContextPointer FindContext(HDC dc) {
    ContextPointer found = Find(dc);
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
