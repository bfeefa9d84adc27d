#include "QNGridCtrl/hidpidraw.h"

#include "NorvoUI/hidpi.h"
#include "Platform/imaging.h"
#include "Platform/memorycontext.h"
#include "Platform/modules.h"

namespace {

constexpr int kPlainDots = 96;

int Scaled(int pixels) {
    HIDPI_InitScaling();
    return ScalePx(g_HIDPI_LogPixelsX, pixels);
}

// The pen of a context with another width, while this is.
class WidePen {
public:
    WidePen(HDC hdc, bool border) : m_dc(hdc), m_former(SelectObject(hdc, GetStockObject(BLACK_PEN))) {
        HIDPI_InitScaling();
        LOGPEN pen{};
        if (!GetObjectW(m_former, sizeof pen, &pen)) return;
        const int width = border ? static_cast<int>(g_HIDPI_BorderPixels)
                                 : Scaled(pen.lopnWidth.x > 1 ? static_cast<int>(pen.lopnWidth.x) : 1);
        m_pen = CreatePen(static_cast<int>(pen.lopnStyle), width, pen.lopnColor);
        SelectObject(hdc, m_pen);
    }
    ~WidePen() {
        if (m_former) SelectObject(m_dc, m_former);
        if (m_pen) DeleteObject(m_pen);
    }
    WidePen(const WidePen&) = delete;
    WidePen& operator=(const WidePen&) = delete;

private:
    HDC m_dc;
    HGDIOBJ m_former;
    HPEN m_pen = nullptr;
};

// The pictures of a strip, scaled. Each gets whole pixels, so none runs into its neighbour.
HIMAGELIST ListOf(HBITMAP strip, int width, int grow, COLORREF key) {
    BITMAP is{};
    if (!GetObjectW(strip, sizeof is, &is)) return nullptr;
    const int count = is.bmWidth / width, side = Scaled(width);
    const HBITMAP stretched = HIDPI_StretchBitmap(strip, side * is.bmWidth / width, 0);
    if (!stretched) return nullptr;
    const HIMAGELIST list = ImageList_Create(side, Scaled(is.bmHeight), ILC_COLOR24 | ILC_MASK, count, grow);
    if (list) ImageList_AddMasked(list, stretched, key);
    DeleteObject(stretched);
    return list;
}

} // namespace

HBITMAP HIDPI_StretchBitmap(HBITMAP bitmap, int width, int height) {
    BITMAP is{};
    if (!GetObjectW(bitmap, sizeof is, &is)) return nullptr;
    const int wide = width > 0 ? width : Scaled(is.bmWidth), high = height > 0 ? height : Scaled(is.bmHeight);
    const HBITMAP stretched = CreateBitmap(wide, high, 1, is.bmBitsPixel, nullptr);
    if (stretched)
        StretchBlt(MemoryContext(stretched), 0, 0, wide, high, MemoryContext(bitmap), 0, 0, is.bmWidth,
                   is.bmHeight, SRCCOPY);
    return stretched;
}

// The nearest pixel mixes no colours, so the key stays what it is.
HBITMAP HIDPI_StretchBitmap_Transparent(HBITMAP bitmap, int width, int height, COLORREF) {
    return HIDPI_StretchBitmap(bitmap, width, height);
}

HICON HIDPI_StretchIcon(HICON icon, int width, int height) {
    SIZE is{};
    if (!PlatGetIconSize(icon, &is)) return nullptr;
    return PlatStretchIcon(icon, width > 0 ? width : Scaled(is.cx), height > 0 ? height : Scaled(is.cy));
}

HICON HIDPI_LoadIcon(HINSTANCE instance, WORD id) {
    HIDPI_InitScaling();
    const int side = static_cast<int>(g_HIDPI_IconPixels);
    return static_cast<HICON>(LoadImageW(instance, MAKEINTRESOURCEW(id), IMAGE_ICON, side, side, 0));
}

HIMAGELIST HIDPI_ImageList_LoadImage(HINSTANCE instance, WORD id, int width, int grow, COLORREF key) {
    const HBITMAP strip = LoadBitmapW(instance, MAKEINTRESOURCEW(id));
    const HIMAGELIST list = width > 0 ? ListOf(strip, width, grow, key) : nullptr;
    if (strip) DeleteObject(strip);
    return list;
}

int HIDPI_GetBitmapLogPixels(HBITMAP bitmap) {
    constexpr int kMetre = 10000; // tenths of a millimetre
    constexpr int kInch = 254;
    DIBSECTION section{};
    if (GetObjectW(bitmap, sizeof section, &section) < static_cast<int>(sizeof section)) return kPlainDots;
    const LONG perMetre = section.dsBmih.biXPelsPerMeter;
    return perMetre > 0 ? static_cast<int>((static_cast<LONGLONG>(perMetre) * kInch + kMetre / 2) / kMetre)
                        : kPlainDots;
}

BOOL HIDPI_Rectangle(HDC hdc, int left, int top, int right, int bottom) {
    const WidePen pen(hdc, false);
    return Rectangle(hdc, left, top, right, bottom);
}

BOOL HIDPI_BorderRectangle(HDC hdc, int left, int top, int right, int bottom) {
    const WidePen pen(hdc, true);
    return Rectangle(hdc, left, top, right, bottom);
}

BOOL HIDPI_Polyline(HDC hdc, const POINT* points, int count) {
    const WidePen pen(hdc, false);
    return Polyline(hdc, points, count);
}

BOOL HIDPI_BorderPolyline(HDC hdc, const POINT* points, int count) {
    const WidePen pen(hdc, true);
    return Polyline(hdc, points, count);
}
