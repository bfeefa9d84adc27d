#include "Platform/gdi.h"
#include "Platform/host/call.h"
#include "Platform/host/faults.h"
#include "Platform/host/messages.h"
#include "Platform/host/slots.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <variant>

namespace plat {
namespace {

struct Context {};
struct Object {
    std::variant<Context, LOGFONTW, LOGBRUSH> is;
    bool system = false; // never deleted
};

struct Gdi {
    std::mutex lock;
    SlotTable<Object> objects;
    std::map<COLORREF, HBRUSH> systemBrushes;
    std::map<int, HGDIOBJ> stock;
    PlatScreen screen;
};
Gdi& TheGdi() {
    static Gdi& gdi = *new Gdi;
    return gdi;
}

void Reset() {
    Gdi& gdi = TheGdi();
    std::lock_guard lock(gdi.lock);
    gdi.screen = {};
}
[[maybe_unused]] const bool g_registered = (AtReset(&Reset), true);

template<class H>
H Add(Gdi& gdi, Object object) {
    const H handle = HandleOf<H>(gdi.objects.Add(object));
    if (!handle) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return handle;
}

template<class H>
H Add(Object object) {
    Gdi& gdi = TheGdi();
    std::lock_guard lock(gdi.lock);
    return Add<H>(gdi, object);
}

bool IsContext(Gdi& gdi, HDC dc) {
    const Object* object = gdi.objects.Find(NumberOf(dc));
    return object && std::holds_alternative<Context>(object->is);
}

constexpr UINT kSolid = 0;
constexpr UINT kHollow = 1;

LOGFONTW SystemFont(int dotsPerInch) {
    LOGFONTW font{};
    font.lfHeight = -(dotsPerInch * 9 / 72);
    font.lfWeight = FW_NORMAL;
    constexpr std::u16string_view kFace = u"Tahoma";
    std::ranges::copy(kFace, font.lfFaceName);
    return font;
}

bool MakeStock(int index, int dotsPerInch, Object& object) {
    object.system = true;
    switch (index) {
    case WHITE_BRUSH:
        object.is = LOGBRUSH{kSolid, 0xFFFFFF, 0};
        return true;
    case LTGRAY_BRUSH:
        object.is = LOGBRUSH{kSolid, 0xC0C0C0, 0};
        return true;
    case GRAY_BRUSH:
        object.is = LOGBRUSH{kSolid, 0x808080, 0};
        return true;
    case DKGRAY_BRUSH:
        object.is = LOGBRUSH{kSolid, 0x404040, 0};
        return true;
    case BLACK_BRUSH:
        object.is = LOGBRUSH{kSolid, 0x000000, 0};
        return true;
    case NULL_BRUSH:
        object.is = LOGBRUSH{kHollow, 0, 0};
        return true;
    case SYSTEM_FONT:
        object.is = SystemFont(dotsPerInch);
        return true;
    default:
        return false;
    }
}

template<class T>
int CopyDescription(const T& description, int size, void* buffer) {
    if (!buffer) return sizeof description;
    if (size <= 0) return 0;
    const std::size_t bytes = std::min(static_cast<std::size_t>(size), sizeof description);
    std::memcpy(buffer, &description, bytes);
    return static_cast<int>(bytes);
}

} // namespace

HBRUSH SystemBrush(COLORREF color) {
    Gdi& gdi = TheGdi();
    std::lock_guard lock(gdi.lock);
    HBRUSH& brush = gdi.systemBrushes[color];
    if (!brush) brush = Add<HBRUSH>(gdi, {LOGBRUSH{kSolid, color, 0}, true});
    return brush;
}

} // namespace plat

HDC GetDC(HWND window) {
    plat::HostCall call;
    if (window && !IsWindow(window)) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return nullptr;
    }
    return plat::Add<HDC>({plat::Context{}});
}

int ReleaseDC(HWND, HDC dc) {
    plat::HostCall call;
    plat::Gdi& gdi = plat::TheGdi();
    std::lock_guard lock(gdi.lock);
    if (!plat::IsContext(gdi, dc)) return 0;
    gdi.objects.Remove(plat::NumberOf(dc));
    return 1;
}

int GetDeviceCaps(HDC dc, int index) {
    plat::HostCall call;
    plat::Gdi& gdi = plat::TheGdi();
    std::lock_guard lock(gdi.lock);
    if (!plat::IsContext(gdi, dc)) return 0;
    switch (index) {
    case HORZRES:
        return gdi.screen.width;
    case VERTRES:
        return gdi.screen.height;
    case BITSPIXEL:
        return 32;
    case LOGPIXELSX:
    case LOGPIXELSY:
        return gdi.screen.dotsPerInch;
    default:
        return 0;
    }
}

HFONT CreateFontIndirectW(const LOGFONTW* description) {
    plat::HostCall call;
    if (description) return plat::Add<HFONT>({*description});
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
}

HBRUSH CreateSolidBrush(COLORREF color) {
    plat::HostCall call;
    return plat::Add<HBRUSH>({LOGBRUSH{plat::kSolid, color, 0}});
}

int GetObjectW(HGDIOBJ handle, int size, void* buffer) {
    plat::HostCall call;
    plat::Gdi& gdi = plat::TheGdi();
    std::lock_guard lock(gdi.lock);
    const plat::Object* object = gdi.objects.Find(plat::NumberOf(handle));
    if (object)
        if (const auto* font = std::get_if<LOGFONTW>(&object->is))
            return plat::CopyDescription(*font, size, buffer);
    if (object)
        if (const auto* brush = std::get_if<LOGBRUSH>(&object->is))
            return plat::CopyDescription(*brush, size, buffer);
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
}

BOOL DeleteObject(HGDIOBJ handle) {
    plat::HostCall call;
    plat::Gdi& gdi = plat::TheGdi();
    std::lock_guard lock(gdi.lock);
    const plat::Object* object = gdi.objects.Find(plat::NumberOf(handle));
    if (!object || std::holds_alternative<plat::Context>(object->is)) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (!object->system) gdi.objects.Remove(plat::NumberOf(handle));
    return TRUE;
}

HGDIOBJ GetStockObject(int index) {
    plat::HostCall call;
    plat::Gdi& gdi = plat::TheGdi();
    std::lock_guard lock(gdi.lock);
    const auto known = gdi.stock.find(index);
    if (known != gdi.stock.end()) return known->second;
    plat::Object object;
    if (!plat::MakeStock(index, gdi.screen.dotsPerInch, object)) return nullptr;
    return gdi.stock[index] = plat::Add<HGDIOBJ>(gdi, object);
}

bool PlatSetScreen(const PlatScreen& screen) {
    plat::HostCall call;
    if (screen.width < 1 || screen.height < 1 || screen.dotsPerInch < 1) return false;
    plat::Gdi& gdi = plat::TheGdi();
    std::lock_guard lock(gdi.lock);
    gdi.screen = screen;
    gdi.stock.erase(SYSTEM_FONT); // made anew by the new measures; the former stays for those who have it
    return true;
}

PlatScreen PlatGetScreen() {
    plat::HostCall call;
    plat::Gdi& gdi = plat::TheGdi();
    std::lock_guard lock(gdi.lock);
    return gdi.screen;
}
