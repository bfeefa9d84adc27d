// The picture of the screen: who shows it, what of it was painted, and files of it.
#include "Platform/host/gdiobjects.h"
#include "Platform/host/scene.h"

#include <cairo.h>

namespace plat {
namespace {

// Under the screen's lock.
struct Shown {
    Region painted;
    unsigned serial = 1;
    bool told = false;
};
Shown& TheShown() {
    static Shown& shown = *new Shown;
    return shown;
}

// The presenter is called under this lock, so that none is called once it was taken out.
struct Presenting {
    std::mutex lock;
    PlatPresenter* presenter = nullptr;
};
Presenting& ThePresenting() {
    static Presenting& presenting = *new Presenting;
    return presenting;
}

using Surfaces = std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)>;

// A copy of a part of the screen.
Surfaces CopyOfScreen(const RECT& asked) {
    std::lock_guard lock(ScreenLock());
    const auto bitmap = ScreenBitmap();
    const RECT part = Intersection(asked, bitmap->surface.Bounds());
    if (part.left >= part.right || part.top >= part.bottom) return {nullptr, &cairo_surface_destroy};
    Surfaces copy(cairo_image_surface_create(CAIRO_FORMAT_RGB24, WidthOf(part), HeightOf(part)),
                  &cairo_surface_destroy);
    BYTE* row = cairo_image_surface_get_data(copy.get());
    if (!row) return {nullptr, &cairo_surface_destroy};
    for (int y = part.top; y < part.bottom; ++y, row += cairo_image_surface_get_stride(copy.get()))
        std::copy_n(bitmap->surface.Read(part.left, y, WidthOf(part), nullptr), WidthOf(part),
                    reinterpret_cast<Pixel*>(row));
    cairo_surface_mark_dirty(copy.get());
    return copy;
}

bool Save(const RECT& part, const char* file) {
    HostCall call;
    const Surfaces copy = CopyOfScreen(part);
    return file && copy && cairo_surface_write_to_png(copy.get(), file) == CAIRO_STATUS_SUCCESS;
}

} // namespace

void MarkPainted(const Region& onScreen) {
    Shown& shown = TheShown();
    if (onScreen.IsEmpty()) return;
    shown.painted.Or(onScreen);
    if (std::exchange(shown.told, true)) return;
    Presenting& presenting = ThePresenting();
    std::lock_guard lock(presenting.lock);
    if (presenting.presenter) presenting.presenter->ScreenPainted();
}

bool IsPresented() {
    Presenting& presenting = ThePresenting();
    std::lock_guard lock(presenting.lock);
    return presenting.presenter != nullptr;
}

unsigned PaintedSerial() { return TheShown().serial; }

} // namespace plat

using namespace plat;

PlatPresenter* PlatSetPresenter(PlatPresenter* presenter) {
    HostCall call;
    Presenting& presenting = ThePresenting();
    std::lock_guard lock(presenting.lock);
    return std::exchange(presenting.presenter, presenter);
}

UINT PlatTakeDirty(void (*take)(void* context, const RECT& rect, const BYTE* pixels, int stride),
                   void* context) {
    HostCall call;
    std::lock_guard lock(ScreenLock());
    Shown& shown = TheShown();
    const auto bitmap = ScreenBitmap();
    Region painted(bitmap->surface.Bounds());
    painted.And(std::exchange(shown.painted, Region()));
    shown.told = false;
    ++shown.serial;
    UINT count = 0;
    painted.ForEach([&](const RECT& part) {
        const Pixel* first = bitmap->surface.Read(part.left, part.top, 1, nullptr);
        take(context, part, reinterpret_cast<const BYTE*>(first), bitmap->surface.Width() * 4);
        ++count;
    });
    return count;
}

void PlatTouchScreen() {
    HostCall call;
    std::lock_guard lock(ScreenLock());
    MarkPainted(Region(ScreenBitmap()->surface.Bounds()));
}

bool PlatSaveScreen(const char* file) {
    return Save({0, 0, Surface::kLargestSide, Surface::kLargestSide}, file);
}

bool PlatSaveWindow(HWND window, const char* file) {
    if (GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId())
        RedrawWindow(window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    RECT part{};
    return GetWindowRect(window, &part) && Save(part, file);
}

BOOL SHSipPreference(HWND window, UINT state) {
    HostCall call;
    if (!IsWindow(window)) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
    Presenting& presenting = ThePresenting();
    std::lock_guard lock(presenting.lock);
    if (presenting.presenter) presenting.presenter->ShowInputPanel(state == SIP_UP);
    return TRUE;
}
