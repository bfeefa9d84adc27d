#include "Platform/host/gdiobjects.h"

#include "Platform/host/faults.h"
#include "Platform/host/scene.h"
#include "Platform/host/slots.h"
#include "Platform/windows.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>

namespace plat {
namespace {

using ObjectPointer = std::shared_ptr<GdiObject>;

struct Gdi {
    std::mutex lock;
    SlotTable<ObjectPointer> objects;
    std::map<COLORREF, HBRUSH> systemBrushes;
    std::map<int, Selected<GdiObject>> stock;
    PlatScreen screen;
    std::vector<std::shared_ptr<GdiContext>> spare;
    std::shared_ptr<GdiBitmap> pixels; // of the screen, made at first use
};
bool IsScreen(const PlatScreen& screen) {
    constexpr int kMostDots = 2400;
    const auto isSide = [](int pixels) { return pixels >= 1 && pixels <= Surface::kLargestSide; };
    return isSide(screen.width) && isSide(screen.height) && screen.dotsPerInch >= 1 &&
           screen.dotsPerInch <= kMostDots;
}

// What the environment tells: WIDTHxHEIGHT, or WIDTHxHEIGHT@DPI.
PlatScreen FirstScreen() {
    PlatScreen screen;
    const char* told = std::getenv("QN_SCREEN");
    const int read =
        told ? std::sscanf(told, "%5dx%5d@%5d", &screen.width, &screen.height, &screen.dotsPerInch) : 0;
    return read >= 2 && IsScreen(screen) ? screen : PlatScreen{};
}

Gdi& TheGdi() {
    static Gdi& gdi = *[] {
        auto* made = new Gdi;
        made->screen = FirstScreen();
        made->spare.reserve(8);
        return made;
    }();
    return gdi;
}

void Reset() {
    {
        Gdi& gdi = TheGdi();
        std::lock_guard lock(gdi.lock);
        gdi.screen = FirstScreen();
        gdi.pixels.reset();
        gdi.stock.erase(SYSTEM_FONT);
    }
    ScreenChanged();
}
[[maybe_unused]] const bool g_registered = (AtReset(&Reset), true);

// Under the lock.
HGDIOBJ AddLocked(Gdi& gdi, ObjectPointer object) {
    const auto handle = HandleOf<HGDIOBJ>(gdi.objects.Add(std::move(object)));
    if (!handle) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return handle;
}

std::shared_ptr<GdiBrush> MakeBrush(UINT style, COLORREF color) {
    auto brush = std::make_shared<GdiBrush>();
    brush->data = {style, color, 0};
    return brush;
}

std::shared_ptr<GdiPen> MakePen(UINT style, int width, COLORREF color) {
    auto pen = std::make_shared<GdiPen>();
    pen->data = {style, {width, 0}, color};
    return pen;
}

std::shared_ptr<GdiFont> SystemFont(int dotsPerInch) {
    auto font = std::make_shared<GdiFont>();
    font->data.lfHeight = -(dotsPerInch * 9 / 72);
    font->data.lfWeight = FW_NORMAL;
    constexpr std::u16string_view kFace = u"Tahoma";
    std::ranges::copy(kFace, font->data.lfFaceName);
    return font;
}

ObjectPointer MakeStock(int index, int dotsPerInch) {
    switch (index) {
    case WHITE_BRUSH:
        return MakeBrush(BS_SOLID, 0xFFFFFF);
    case LTGRAY_BRUSH:
        return MakeBrush(BS_SOLID, 0xC0C0C0);
    case GRAY_BRUSH:
        return MakeBrush(BS_SOLID, 0x808080);
    case DKGRAY_BRUSH:
        return MakeBrush(BS_SOLID, 0x404040);
    case BLACK_BRUSH:
        return MakeBrush(BS_SOLID, 0x000000);
    case NULL_BRUSH:
        return MakeBrush(BS_HOLLOW, 0);
    case WHITE_PEN:
        return MakePen(PS_SOLID, 1, 0xFFFFFF);
    case BLACK_PEN:
        return MakePen(PS_SOLID, 1, 0x000000);
    case NULL_PEN:
        return MakePen(PS_NULL, 1, 0);
    case SYSTEM_FONT:
        return SystemFont(dotsPerInch);
    default:
        return nullptr;
    }
}

// Under the lock.
Selected<GdiObject> StockObject(Gdi& gdi, int index) {
    if (const auto known = gdi.stock.find(index); known != gdi.stock.end()) return known->second;
    Selected<GdiObject> made{MakeStock(index, gdi.screen.dotsPerInch)};
    if (!made.object) return {};
    made.object->system = true;
    made.handle = AddLocked(gdi, made.object);
    return made.handle ? gdi.stock[index] = made : made; // a full table may have room the next time
}

template<class T>
Selected<T> SelectedStock(Gdi& gdi, int index) {
    Selected<GdiObject> stock = StockObject(gdi, index);
    return {std::static_pointer_cast<T>(std::move(stock.object)), stock.handle};
}

std::shared_ptr<GdiBitmap> SystemBitmap(int width, int height) {
    auto bitmap = std::make_shared<GdiBitmap>();
    bitmap->system = true;
    return bitmap->surface.Make(width, height) ? bitmap : nullptr;
}

// Bare ground, until windows paint on it.
std::shared_ptr<GdiBitmap> GroundOf(const PlatScreen& screen) {
    auto bitmap = SystemBitmap(screen.width, screen.height);
    const Pixel ground = PixelOf(GetSysColor(COLOR_BACKGROUND));
    for (int y = 0; bitmap && y < screen.height; ++y) bitmap->surface.Fill(0, y, screen.width, ground);
    return bitmap;
}

// What a context in memory starts with: a pixel of its own, under one handle for all.
Selected<GdiBitmap> OnePixel(Gdi& gdi) {
    static const HGDIOBJ handle = AddLocked(gdi, SystemBitmap(1, 1));
    return {SystemBitmap(1, 1), handle};
}

// Contexts of windows come and go with each painting: a few wait for the next. Under the lock.
void Recycle(Gdi& gdi, std::shared_ptr<GdiContext> context) {
    if (context.use_count() > 1 || gdi.spare.size() == gdi.spare.capacity()) return;
    context->Renew();
    gdi.spare.push_back(std::move(context));
}

std::shared_ptr<GdiContext> SpareContext(Gdi& gdi) {
    if (gdi.spare.empty()) return std::make_shared<GdiContext>();
    auto context = std::move(gdi.spare.back());
    gdi.spare.pop_back();
    return context;
}

template<class T>
int CopyDescription(const T& description, int size, void* buffer) {
    if (!buffer) return sizeof description;
    if (size <= 0) return 0;
    const std::size_t bytes = std::min(static_cast<std::size_t>(size), sizeof description);
    std::memcpy(buffer, &description, bytes);
    return static_cast<int>(bytes);
}

// Of a section asked for as a plain bitmap only the front comes, as of any other.
int DescribeBitmap(const GdiBitmap& bitmap, int size, void* buffer) {
    DIBSECTION whole{};
    whole.dsBm = {0,      bitmap.surface.Width(), bitmap.surface.Height(), bitmap.rowBytes, 1, bitmap.bits,
                  nullptr};
    if (!bitmap.section) return CopyDescription(whole.dsBm, size, buffer);
    whole.dsBm.bmBits = const_cast<BYTE*>(bitmap.memory.data());
    whole.dsBmih = *bitmap.section;
    if (static_cast<std::size_t>(std::max(size, 0)) >= sizeof whole)
        return CopyDescription(whole, size, buffer);
    return CopyDescription(whole.dsBm, size, buffer);
}

} // namespace

HGDIOBJ AddGdi(ObjectPointer object) {
    Gdi& gdi = TheGdi();
    std::lock_guard lock(gdi.lock);
    return AddLocked(gdi, std::move(object));
}

ObjectPointer FindGdiObject(HGDIOBJ handle) {
    Gdi& gdi = TheGdi();
    std::lock_guard lock(gdi.lock);
    const ObjectPointer* found = gdi.objects.Find(NumberOf(handle));
    return found ? *found : nullptr;
}

std::atomic<unsigned> g_contextsGone{0};

bool RemoveContext(HDC dc, bool memory) {
    ForgetLastContext(dc);
    Gdi& gdi = TheGdi();
    std::lock_guard lock(gdi.lock);
    const ObjectPointer* found = gdi.objects.Find(NumberOf(dc));
    if (!found || (*found)->kind != GdiObject::Kind::Context) return false;
    if (static_cast<const GdiContext&>(**found).memory != memory) return false;
    auto removed = std::static_pointer_cast<GdiContext>(*gdi.objects.Remove(NumberOf(dc)));
    ++g_contextsGone;
    Recycle(gdi, std::move(removed));
    return true;
}

HBRUSH SystemBrush(COLORREF color) {
    Gdi& gdi = TheGdi();
    std::lock_guard lock(gdi.lock);
    HBRUSH& brush = gdi.systemBrushes[color];
    if (brush) return brush;
    auto object = MakeBrush(BS_SOLID, color);
    object->system = true;
    return brush = static_cast<HBRUSH>(AddLocked(gdi, std::move(object)));
}

std::shared_ptr<GdiContext> MakeContext() {
    Gdi& gdi = TheGdi();
    std::lock_guard lock(gdi.lock);
    auto context = SpareContext(gdi);
    context->state.pen = SelectedStock<GdiPen>(gdi, BLACK_PEN);
    context->state.brush = SelectedStock<GdiBrush>(gdi, WHITE_BRUSH);
    context->state.font = SelectedStock<GdiFont>(gdi, SYSTEM_FONT);
    return context;
}

std::shared_ptr<GdiContext> MakeMemoryContext() {
    auto context = MakeContext();
    Gdi& gdi = TheGdi();
    std::lock_guard lock(gdi.lock);
    context->memory = true;
    context->bitmap = OnePixel(gdi);
    return context;
}

std::shared_ptr<GdiBitmap> ScreenBitmap() {
    Gdi& gdi = TheGdi();
    std::lock_guard lock(gdi.lock);
    if (!gdi.pixels) gdi.pixels = GroundOf(gdi.screen);
    return gdi.pixels;
}

} // namespace plat

using namespace plat;

// --- Objects ------------------------------------------------------------------------------------------------------

HFONT CreateFontIndirectW(const LOGFONTW* description) {
    HostCall call;
    if (!description) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    auto font = std::make_shared<GdiFont>();
    font->data = *description;
    font->data.lfFaceName[LF_FACESIZE - 1] = 0;
    return static_cast<HFONT>(AddGdi(std::move(font)));
}

HBRUSH CreateSolidBrush(COLORREF color) {
    HostCall call;
    return static_cast<HBRUSH>(AddGdi(MakeBrush(BS_SOLID, color & 0xFFFFFF)));
}

HBRUSH CreatePatternBrush(HBITMAP bitmap) {
    HostCall call;
    const auto source = FindGdi<GdiBitmap>(bitmap);
    if (!source) return nullptr;
    auto brush = MakeBrush(BS_PATTERN, 0);
    brush->data.lbHatch = reinterpret_cast<LONG_PTR>(bitmap);
    const Surface& from = source->surface;
    if (!brush->pattern.Make(from.Width(), from.Height())) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    std::vector<Pixel> row(static_cast<std::size_t>(from.Width()));
    for (int y = 0; y < from.Height(); ++y)
        brush->pattern.Write(0, y, from.Width(), from.Read(0, y, from.Width(), row.data()));
    return static_cast<HBRUSH>(AddGdi(std::move(brush)));
}

HPEN CreatePen(int style, int width, COLORREF color) {
    HostCall call;
    const UINT kind = style == static_cast<int>(PS_NULL) ? PS_NULL : PS_SOLID;
    return static_cast<HPEN>(
        AddGdi(MakePen(kind, std::clamp(width, 0, Surface::kLargestSide), color & 0xFFFFFF)));
}

int GetObjectW(HGDIOBJ handle, int size, void* buffer) {
    HostCall call;
    const ObjectPointer object = FindGdiObject(handle);
    switch (object ? object->kind : GdiObject::Kind::Context) {
    case GdiObject::Kind::Font:
        return CopyDescription(static_cast<const GdiFont&>(*object).data, size, buffer);
    case GdiObject::Kind::Brush:
        return CopyDescription(static_cast<const GdiBrush&>(*object).data, size, buffer);
    case GdiObject::Kind::Pen:
        return CopyDescription(static_cast<const GdiPen&>(*object).data, size, buffer);
    case GdiObject::Kind::Bitmap:
        return DescribeBitmap(static_cast<const GdiBitmap&>(*object), size, buffer);
    default:
        SetLastError(ERROR_INVALID_HANDLE);
        return 0;
    }
}

BOOL DeleteObject(HGDIOBJ handle) {
    HostCall call;
    Gdi& gdi = TheGdi();
    std::optional<ObjectPointer> ended; // goes behind the lock
    std::lock_guard lock(gdi.lock);
    const ObjectPointer* found = gdi.objects.Find(NumberOf(handle));
    if (!found || (*found)->kind == GdiObject::Kind::Context) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (!(*found)->system) ended = gdi.objects.Remove(NumberOf(handle));
    return TRUE;
}

HGDIOBJ GetStockObject(int index) {
    HostCall call;
    Gdi& gdi = TheGdi();
    std::lock_guard lock(gdi.lock);
    return StockObject(gdi, index).handle;
}

// --- The screen ---------------------------------------------------------------------------------------------------

bool PlatSetScreen(const PlatScreen& screen) {
    HostCall call;
    if (!IsScreen(screen)) return false;
    auto pixels = GroundOf(screen);
    if (!pixels) return false;
    {
        Gdi& gdi = TheGdi();
        std::lock_guard lock(gdi.lock);
        // Made anew by other measures; the former stays for those who have it.
        if (gdi.screen.dotsPerInch != screen.dotsPerInch) gdi.stock.erase(SYSTEM_FONT);
        gdi.screen = screen;
        gdi.pixels = std::move(pixels);
    }
    ScreenChanged();
    PostMessageW(HWND_BROADCAST, WM_SETTINGCHANGE, SPI_SETWORKAREA, 0);
    return true;
}

PlatScreen PlatGetScreen() {
    HostCall call;
    Gdi& gdi = TheGdi();
    std::lock_guard lock(gdi.lock);
    return gdi.screen;
}
