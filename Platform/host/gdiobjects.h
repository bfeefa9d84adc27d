// The objects of drawing and the contexts that they are selected in. A handle names a shared object: one that was deleted
// lives on in the contexts that still have it selected. The table has a lock of its own; an object is used outside of it.
#pragma once

#include "Platform/gdi.h"
#include "Platform/host/call.h"
#include "Platform/host/region.h"
#include "Platform/host/surface.h"
#include "Platform/threads.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace plat {

struct GdiObject {
    enum class Kind { Context, Bitmap, Pen, Brush, Font, Region };
    explicit GdiObject(Kind k) : kind(k) {}
    virtual ~GdiObject() = default;

    const Kind kind;
    bool system = false; // never deleted
};

struct GdiBitmap : GdiObject {
    static constexpr Kind kKind = Kind::Bitmap;
    GdiBitmap() : GdiObject(kKind) {}

    Surface surface;
    WORD bits = 24;
    // Of a section: its memory and what it was made of.
    std::vector<BYTE> memory;
    std::optional<BITMAPINFOHEADER> section;
    LONG rowBytes = 0;
};

struct GdiPen : GdiObject {
    static constexpr Kind kKind = Kind::Pen;
    GdiPen() : GdiObject(kKind) {}
    LOGPEN data{};
    int Width() const { return data.lopnWidth.x > 1 ? data.lopnWidth.x : 1; }
    bool IsNull() const { return data.lopnStyle == PS_NULL; }
};

struct GdiBrush : GdiObject {
    static constexpr Kind kKind = Kind::Brush;
    GdiBrush() : GdiObject(kKind) {}
    LOGBRUSH data{};
    Surface pattern; // a copy of the bitmap
    bool IsHollow() const { return data.lbStyle == BS_HOLLOW; }
    bool IsPattern() const { return data.lbStyle == BS_PATTERN; }
};

struct GdiFont : GdiObject {
    static constexpr Kind kKind = Kind::Font;
    GdiFont() : GdiObject(kKind) {}
    LOGFONTW data{};
    std::shared_ptr<void> face;       // the text layer's, found at first use
    std::atomic<void*> text{nullptr}; // the same, once it stands
};

struct GdiRegion : GdiObject {
    static constexpr Kind kKind = Kind::Region;
    GdiRegion() : GdiObject(kKind) {}
    Region region;
};

// An object in a context, and the handle that SelectObject gives back.
template<class T>
struct Selected {
    std::shared_ptr<T> object;
    HGDIOBJ handle = nullptr;
    T* operator->() const { return object.get(); }
    T& operator*() const { return *object; }
};

// What belongs to a context, but for what it draws on.
struct ContextState {
    Selected<GdiPen> pen;
    Selected<GdiBrush> brush;
    Selected<GdiFont> font;
    COLORREF textColor = 0;
    COLORREF backColor = 0xFFFFFF;
    int backMode = OPAQUE;
    std::optional<Region> clip; // in the context's coordinates
};

struct GdiContext : GdiObject {
    static constexpr Kind kKind = Kind::Context;
    GdiContext() : GdiObject(kKind) {}

    ContextState state;
    Selected<GdiBitmap> bitmap; // what is drawn on: the one selected, or the screen
    // Of SaveDC.
    struct Saved {
        ContextState state;
        Selected<GdiBitmap> bitmap;
        POINT origin;
    };
    std::vector<Saved> saved;
    bool memory = false;
    bool onScreen = false;         // of a window or of the whole screen
    HWND window = nullptr;         // whose context it is
    POINT origin{0, 0};            // where its coordinates begin on the bitmap
    std::optional<Region> visible; // of a window: what it may paint, in its coordinates
    std::optional<Region> update;  // of BeginPaint: no more than this
    unsigned scene = 0;            // the state of the windows that these were taken from
    unsigned marked = 0;           // for which look of the presenter it was told what is painted

    Surface& Pixels() const { return bitmap->surface; }
    // Where it may paint, on the bitmap. Kept until Changed.
    const Region& Paintable();
    void Changed() { m_paintable.reset(); }
    // As new, without its objects.
    void Renew() {
        state = {};
        saved.clear();
        bitmap = {};
        memory = onScreen = false;
        window = nullptr;
        origin = {0, 0};
        visible.reset();
        update.reset();
        scene = marked = 0;
        Changed();
    }

private:
    std::optional<Region> m_paintable;
};

// Makes a handle; null with error 8 when the table is full.
HGDIOBJ AddGdi(std::shared_ptr<GdiObject> object);
// Null when there is none.
std::shared_ptr<GdiObject> FindGdiObject(HGDIOBJ handle);
// False when it is none or not of that kind.
bool RemoveContext(HDC dc, bool memory);

// The object of that kind; null with error 6.
template<class T>
std::shared_ptr<T> FindGdi(HGDIOBJ handle) {
    std::shared_ptr<GdiObject> object = FindGdiObject(handle);
    if (object && object->kind == T::kKind) return std::static_pointer_cast<T>(object);
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

// A context for the length of one operation. One that paints on the screen holds it: no other paints there meanwhile, and
// no window moves.
class ContextPointer {
public:
    ContextPointer() = default;
    explicit ContextPointer(std::shared_ptr<GdiContext> context)
        : m_context(context.get()), m_owned(std::move(context)) {}
    // Somebody else keeps it while `uses` counts this one.
    ContextPointer(GdiContext& context, int& uses) : m_context(&context), m_use(&++uses) {}
    void Lock(std::recursive_mutex& screen) { m_lock = std::unique_lock(screen); }

    explicit operator bool() const { return m_context != nullptr; }
    GdiContext* operator->() const { return m_context; }
    GdiContext& operator*() const { return *m_context; }

private:
    struct Leave {
        void operator()(int* uses) const { --*uses; }
    };

    GdiContext* m_context = nullptr;
    std::shared_ptr<GdiContext> m_owned;
    std::unique_ptr<int, Leave> m_use;
    std::unique_lock<std::recursive_mutex> m_lock;
};
ContextPointer FindContext(HDC dc);

// A thread remembers the context that it found last, as long as this count of those that have gone stands.
extern std::atomic<unsigned> g_contextsGone;
// The calling thread lets go of what it remembers.
void ForgetLastContext(HDC dc);

HBRUSH SystemBrush(COLORREF color);
// A context with the objects that each one starts with; one in memory has a bitmap of one pixel.
std::shared_ptr<GdiContext> MakeContext();
std::shared_ptr<GdiContext> MakeMemoryContext();
// What the windows' contexts draw on; it has the size of the screen.
std::shared_ptr<GdiBitmap> ScreenBitmap();

// Calls paint(x, y, n) for the runs of pixels of a rectangle that can be painted: the rectangle in the context's
// coordinates, the runs on its bitmap.
template<class F>
void ForEachSpan(GdiContext& context, const RECT& rect, F&& paint) {
    const RECT place = Moved(rect, context.origin.x, context.origin.y);
    context.Paintable().ForEach([&](const RECT& part) {
        const RECT r = Intersection(place, part);
        if (r.left >= r.right) return;
        for (int y = r.top; y < r.bottom; ++y) paint(r.left, y, WidthOf(r));
    });
}

// The pixels of `target` become those that are so far away from them.
void MoveWithin(Surface& surface, const Region& target, POINT from);
// Fills in the colour or pattern of a brush; a hollow one does nothing.
void FillWith(GdiContext& context, const RECT& rect, const GdiBrush& brush);
// The pixels of the brush change those that are there; done twice it is undone.
void InvertWith(GdiContext& context, const RECT& rect, const GdiBrush& brush);
void FillColor(GdiContext& context, const RECT& rect, COLORREF color);

} // namespace plat
