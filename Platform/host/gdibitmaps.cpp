// Bitmaps and what is copied between them.
#include "Platform/host/gdiobjects.h"

#include <algorithm>
#include <cstdlib>

namespace plat {
namespace {

LONG RowBytes(int width, int bits, int padding) {
    return (width * (bits / 8) + padding - 1) / padding * padding;
}

HBITMAP MakeBitmap(int width, int height, UINT bits, const void* pixels) {
    auto bitmap = std::make_shared<GdiBitmap>();
    if (width < 1 || height < 1 || (bits != 24 && bits != 32)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (!bitmap->surface.Make(width, height)) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    bitmap->bits = static_cast<WORD>(bits);
    bitmap->rowBytes = RowBytes(width, static_cast<int>(bits), 2);
    const auto handle = static_cast<HBITMAP>(AddGdi(bitmap));
    if (handle && pixels) SetBitmapBits(handle, static_cast<DWORD>(bitmap->rowBytes * height), pixels);
    return handle;
}

DWORD MakeSection(GdiBitmap& bitmap, const BITMAPINFOHEADER& header) {
    const long long height = std::abs(static_cast<long long>(header.biHeight));
    const bool known = (header.biBitCount == 24 || header.biBitCount == 32) && header.biCompression == BI_RGB;
    if (!known || header.biWidth < 1 || height < 1) return ERROR_INVALID_PARAMETER;
    if (header.biWidth > Surface::kLargestSide || height > Surface::kLargestSide)
        return ERROR_NOT_ENOUGH_MEMORY;
    bitmap.bits = header.biBitCount;
    bitmap.section = header;
    bitmap.rowBytes = RowBytes(header.biWidth, header.biBitCount, 4);
    if (!TryAssign(bitmap.memory,
                   static_cast<std::size_t>(bitmap.rowBytes) * static_cast<std::size_t>(height)))
        return ERROR_NOT_ENOUGH_MEMORY;
    const bool topDown = header.biHeight < 0;
    BYTE* top = bitmap.memory.data() + (topDown ? 0 : bitmap.rowBytes * (height - 1));
    bitmap.surface.Attach(top, header.biWidth, static_cast<int>(height), header.biBitCount / 8,
                          topDown ? bitmap.rowBytes : -std::ptrdiff_t{bitmap.rowBytes});
    return 0;
}

BITMAPINFOHEADER HeaderOf(const GdiBitmap& bitmap) {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof header;
    header.biWidth = bitmap.surface.Width();
    header.biHeight = bitmap.surface.Height();
    header.biPlanes = 1;
    header.biBitCount = bitmap.bits;
    header.biSizeImage = static_cast<DWORD>(RowBytes(header.biWidth, bitmap.bits, 4) * header.biHeight);
    return header;
}

// A rectangle of one context as the source of a copy: its pixels row by row, none outside of its bitmap.
class Source {
public:
    Source(GdiContext& context, int x, int y, int width, int height)
        : m_surface(context.Pixels()), m_rect(Moved({0, 0, std::max(width, 0), std::max(height, 0)},
                                                    x + static_cast<long long>(context.origin.x),
                                                    y + static_cast<long long>(context.origin.y))),
          m_room(m_surface.IsPlain() ? 0 : static_cast<std::size_t>(m_surface.Width())) {}

    const Surface& GetSurface() const { return m_surface; }
    const RECT& Rect() const { return m_rect; }
    RECT Held() const { return Intersection(m_rect, m_surface.Bounds()); }
    // The whole row y of the bitmap.
    const Pixel* Row(int y) { return m_surface.Read(0, y, m_surface.Width(), m_room.data()); }

private:
    const Surface& m_surface;
    RECT m_rect;
    std::vector<Pixel> m_room;
};

void CopyPlain(GdiContext& to, int x, int y, Source& source) {
    x = NearPixel(x), y = NearPixel(y);
    const RECT held = source.Held();
    const RECT& whole = source.Rect();
    if (held.left >= held.right || held.top >= held.bottom) return;
    const RECT target =
        Moved(held, static_cast<long long>(x) - whole.left, static_cast<long long>(y) - whole.top);
    const int shiftX = whole.left - x - to.origin.x;
    const int shiftY = whole.top - y - to.origin.y;
    Surface& surface = to.Pixels();
    if (&surface == &source.GetSurface()) {
        Region place(Moved(target, to.origin.x, to.origin.y));
        place.And(to.Paintable());
        return MoveWithin(surface, place, {shiftX, shiftY});
    }
    ForEachSpan(to, target, [&](int atX, int atY, int n) {
        surface.Write(atX, atY, n, source.Row(atY + shiftY) + atX + shiftX);
    });
}

// Each pixel of the target asks for the nearest one of the source; mix(row, pixel) puts it there.
template<class Mix>
void CopyStretched(GdiContext& to, const RECT& target, Source& source, Mix&& mix) {
    const RECT& from = source.Rect();
    const int width = WidthOf(target), height = HeightOf(target);
    if (width < 1 || height < 1 || WidthOf(from) < 1 || HeightOf(from) < 1) return;
    const Surface& pixels = source.GetSurface();
    Surface& surface = to.Pixels();
    const RECT place = Moved(target, to.origin.x, to.origin.y);
    std::vector<Pixel> kept; // within one bitmap the source is what it was before
    if (&surface == &pixels) {
        const RECT held = source.Held();
        for (int y = held.top; y < held.bottom; ++y)
            kept.insert(kept.end(), source.Row(y) + held.left,
                        source.Row(y) + std::max(held.right, held.left));
    }
    const RECT held = source.Held();
    ForEachSpan(to, target, [&](int x, int y, int n) {
        const int fromY =
            from.top + static_cast<int>(static_cast<long long>(y - place.top) * HeightOf(from) / height);
        if (fromY < held.top || fromY >= held.bottom) return;
        const Pixel* row =
            kept.empty()
                ? source.Row(fromY)
                : kept.data() + static_cast<std::ptrdiff_t>(fromY - held.top) * WidthOf(held) - held.left;
        int at = x;
        surface.Edit(x, y, n, [&](Pixel* out, int count) {
            for (int i = 0; i < count; ++i, ++at) {
                const int fromX = from.left + static_cast<int>(static_cast<long long>(at - place.left) *
                                                               WidthOf(from) / width);
                if (fromX >= held.left && fromX < held.right) mix(out[i], row[fromX]);
            }
        });
    });
}

Pixel Blended(Pixel below, Pixel above, int constant, bool hasAlpha) {
    const int alpha = hasAlpha ? static_cast<int>(above >> 24) * constant / 255 : constant;
    const auto channel = [&](int shift) {
        const int over = static_cast<int>(above >> shift & 0xFF),
                  under = static_cast<int>(below >> shift & 0xFF);
        // Colours that carry their alpha are multiplied with it already.
        const int part = hasAlpha ? over * constant : over * alpha;
        return static_cast<Pixel>(std::min((part + under * (255 - alpha) + 127) / 255, 255)) << shift;
    };
    return channel(16) | channel(8) | channel(0);
}

struct Copy {
    Copy(HDC target, HDC source) : to(FindContext(target)), from(FindContext(source)) {}
    bool IsGood() const { return to && from; }

    ContextPointer to;
    ContextPointer from;
};

} // namespace

// Rows and their parts are copied in the order in which none is read behind its change.
void MoveWithin(Surface& surface, const Region& target, POINT from) {
    struct Span {
        int x, y, n;
    };
    static thread_local std::vector<Span> spans; // kept: lists scroll by this
    spans.clear();
    target.ForEach([](const RECT& part) {
        for (int y = part.top; y < part.bottom; ++y) spans.push_back({part.left, y, WidthOf(part)});
    });
    const auto isBefore = [&](const Span& a, const Span& b) {
        if (a.y != b.y) return from.y < 0 ? a.y > b.y : a.y < b.y;
        return from.x < 0 ? a.x > b.x : a.x < b.x;
    };
    // Of a rectangle they come from the top, which is the order or its opposite.
    if (from.y < 0) std::ranges::reverse(spans);
    if (!std::ranges::is_sorted(spans, isBefore)) std::ranges::sort(spans, isBefore);
    std::vector<Pixel> room(surface.IsPlain() ? 0 : static_cast<std::size_t>(surface.Width()));
    for (const Span& span : spans)
        surface.Write(span.x, span.y, span.n,
                      surface.Read(span.x + from.x, span.y + from.y, span.n, room.data()));
}

} // namespace plat

using namespace plat;

HBITMAP CreateCompatibleBitmap(HDC, int width, int height) {
    HostCall call;
    return MakeBitmap(width, height, 24, nullptr);
}

HBITMAP CreateBitmap(int width, int height, UINT, UINT bitsPixel, const void* bits) {
    HostCall call;
    return MakeBitmap(width, height, bitsPixel, bits);
}

LONG SetBitmapBits(HBITMAP handle, DWORD bytes, const void* bits) {
    HostCall call;
    const auto bitmap = FindGdi<GdiBitmap>(handle);
    if (!bitmap || !bits) return 0;
    Surface& surface = bitmap->surface;
    const int pixelBytes = bitmap->bits / 8;
    const LONG rowBytes = RowBytes(surface.Width(), bitmap->bits, 2);
    const int rows = static_cast<int>(
        std::min<DWORD>(bytes / static_cast<DWORD>(rowBytes), static_cast<DWORD>(surface.Height())));
    Surface given;
    given.Attach(static_cast<BYTE*>(const_cast<void*>(bits)), surface.Width(), surface.Height(),
                 pixelBytes == 3 ? 3 : 4, rowBytes);
    std::vector<Pixel> room(static_cast<std::size_t>(surface.Width()));
    for (int y = 0; y < rows; ++y)
        surface.Write(0, y, surface.Width(), given.Read(0, y, surface.Width(), room.data()));
    return rows * rowBytes;
}

HBITMAP CreateDIBSection(HDC, const BITMAPINFO* info, UINT, void** bits, HANDLE, DWORD) {
    HostCall call;
    if (bits) *bits = nullptr;
    auto bitmap = std::make_shared<GdiBitmap>();
    if (const DWORD error = info ? MakeSection(*bitmap, info->bmiHeader) : ERROR_INVALID_PARAMETER) {
        SetLastError(error);
        return nullptr;
    }
    BYTE* memory = bitmap->memory.data();
    const auto handle = static_cast<HBITMAP>(AddGdi(std::move(bitmap)));
    if (bits && handle) *bits = memory;
    return handle;
}

int GetDIBits(HDC, HBITMAP handle, UINT start, UINT rows, void* bits, BITMAPINFO* info, UINT) {
    HostCall call;
    const auto bitmap = FindGdi<GdiBitmap>(handle);
    if (!bitmap || !info) return 0;
    const Surface& surface = bitmap->surface;
    BITMAPINFOHEADER& header = info->bmiHeader;
    if (!bits) {
        header = HeaderOf(*bitmap);
        return surface.Height();
    }
    const auto height = static_cast<UINT>(surface.Height());
    const bool known = header.biBitCount == 24 || header.biBitCount == 32;
    if (!known || start >= height || header.biWidth < 1 || header.biWidth > Surface::kLargestSide) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const int count = static_cast<int>(std::min(rows, height - start));
    const int width = std::min(surface.Width(), header.biWidth);
    Surface target;
    target.Attach(static_cast<BYTE*>(bits), width, count, header.biBitCount / 8,
                  RowBytes(header.biWidth, header.biBitCount, 4));
    std::vector<Pixel> room(static_cast<std::size_t>(surface.Width()));
    for (int i = 0; i < count; ++i) { // row i from the bottom
        const int y = static_cast<int>(height - start) - 1 - i;
        const int to = header.biHeight < 0 ? count - 1 - i : i;
        target.Write(0, to, width, surface.Read(0, y, width, room.data()));
    }
    return count;
}

BOOL PatBlt(HDC dc, int x, int y, int width, int height, DWORD operation) {
    HostCall call;
    const auto context = FindContext(dc);
    if (!context) return FALSE;
    const RECT rect = Moved({0, 0, std::max(width, 0), std::max(height, 0)}, x, y);
    switch (operation) {
    case PATCOPY:
        FillWith(*context, rect, *context->state.brush);
        return TRUE;
    case PATINVERT:
        InvertWith(*context, rect, *context->state.brush);
        return TRUE;
    case BLACKNESS:
        FillColor(*context, rect, 0x000000);
        return TRUE;
    case WHITENESS:
        FillColor(*context, rect, 0xFFFFFF);
        return TRUE;
    default:
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
}

BOOL BitBlt(HDC to, int x, int y, int width, int height, HDC from, int fromX, int fromY, DWORD operation) {
    HostCall call;
    if (operation != SRCCOPY) return PatBlt(to, x, y, width, height, operation);
    const Copy copy(to, from);
    if (!copy.IsGood()) return FALSE;
    Source source(*copy.from, fromX, fromY, width, height);
    CopyPlain(*copy.to, x, y, source);
    return TRUE;
}

BOOL StretchBlt(HDC to, int x, int y, int width, int height, HDC from, int fromX, int fromY, int fromWidth,
                int fromHeight, DWORD operation) {
    HostCall call;
    if (operation != SRCCOPY) return PatBlt(to, x, y, width, height, operation);
    const Copy copy(to, from);
    if (!copy.IsGood()) return FALSE;
    Source source(*copy.from, fromX, fromY, fromWidth, fromHeight);
    CopyStretched(*copy.to, Moved({0, 0, width, height}, x, y), source,
                  [](Pixel& out, Pixel in) { out = in; });
    return TRUE;
}

BOOL TransparentImage(HDC to, int x, int y, int width, int height, HDC from, int fromX, int fromY,
                      int fromWidth, int fromHeight, COLORREF key) {
    HostCall call;
    const Copy copy(to, from);
    if (!copy.IsGood()) return FALSE;
    Source source(*copy.from, fromX, fromY, fromWidth, fromHeight);
    const Pixel left = PixelOf(key);
    CopyStretched(*copy.to, Moved({0, 0, width, height}, x, y), source, [left](Pixel& out, Pixel in) {
        if ((in & 0xFFFFFF) != left) out = in;
    });
    return TRUE;
}

BOOL AlphaBlend(HDC to, int x, int y, int width, int height, HDC from, int fromX, int fromY, int fromWidth,
                int fromHeight, BLENDFUNCTION blend) {
    HostCall call;
    const Copy copy(to, from);
    if (!copy.IsGood()) return FALSE;
    Source source(*copy.from, fromX, fromY, fromWidth, fromHeight);
    const bool hasAlpha = (blend.AlphaFormat & AC_SRC_ALPHA) != 0;
    if (blend.BlendOp != AC_SRC_OVER || (hasAlpha && copy.from->bitmap->bits != 32)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    CopyStretched(*copy.to, Moved({0, 0, width, height}, x, y), source,
                  [&](Pixel& out, Pixel in) { out = Blended(out, in, blend.SourceConstantAlpha, hasAlpha); });
    return TRUE;
}
