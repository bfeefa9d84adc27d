// The picture of the screen: who shows it, what of it was painted, and files of it.
#include "Platform/host/dragimage.h"
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

struct SurfaceEnd {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using CairoSurface = std::unique_ptr<cairo_surface_t, SurfaceEnd>;

bool Meet(const RECT& a, const RECT& b) {
    const RECT common = Intersection(a, b);
    return common.left < common.right && common.top < common.bottom;
}

void LayOver(cairo_surface_t* copy, const RECT& part, const DragPicture& picture) {
    auto* pixels = reinterpret_cast<BYTE*>(const_cast<Pixel*>(picture.pixels->data())); // it is only read
    const CairoSurface over(
        cairo_image_surface_create_for_data(pixels, CAIRO_FORMAT_ARGB32, WidthOf(picture.place),
                                            HeightOf(picture.place), WidthOf(picture.place) * 4));
    const std::unique_ptr<cairo_t, SurfaceEnd> context(cairo_create(copy));
    cairo_set_source_surface(context.get(), over.get(), picture.place.left - part.left,
                             picture.place.top - part.top);
    cairo_paint(context.get());
    cairo_surface_flush(copy);
}

// A copy of a part of the screen, with what is dragged over it.
CairoSurface CopyOfScreen(const RECT& asked) {
    std::lock_guard lock(ScreenLock());
    const auto bitmap = ScreenBitmap();
    const RECT part = Intersection(asked, bitmap->surface.Bounds());
    if (part.left >= part.right || part.top >= part.bottom) return nullptr;
    CairoSurface copy(cairo_image_surface_create(CAIRO_FORMAT_RGB24, WidthOf(part), HeightOf(part)));
    BYTE* row = cairo_image_surface_get_data(copy.get());
    if (!row) return nullptr;
    for (int y = part.top; y < part.bottom; ++y, row += cairo_image_surface_get_stride(copy.get()))
        std::copy_n(bitmap->surface.Read(part.left, y, WidthOf(part), nullptr), WidthOf(part),
                    reinterpret_cast<Pixel*>(row));
    cairo_surface_mark_dirty(copy.get());
    if (const auto picture = ShownDragPicture()) LayOver(copy.get(), part, *picture);
    return copy;
}

bool Save(const RECT& part, const char* file) {
    HostCall call;
    const CairoSurface copy = CopyOfScreen(part);
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

void TellCaret(const RECT& onScreen) {
    Presenting& presenting = ThePresenting();
    std::lock_guard lock(presenting.lock);
    if (presenting.presenter) presenting.presenter->CaretAt(onScreen);
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
    const auto dragged = ShownDragPicture();
    UINT count = 0;
    painted.ForEach([&](const RECT& part) {
        ++count;
        const CairoSurface copy = dragged && Meet(part, dragged->place) ? CopyOfScreen(part) : nullptr;
        if (copy)
            return take(context, part, cairo_image_surface_get_data(copy.get()),
                        cairo_image_surface_get_stride(copy.get()));
        const Pixel* first = bitmap->surface.Read(part.left, part.top, 1, nullptr);
        take(context, part, reinterpret_cast<const BYTE*>(first), bitmap->surface.Width() * 4);
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
