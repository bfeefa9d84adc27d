// Fills, frames, lines, single pixels and gradients.
#include "Platform/host/faults.h"
#include "Platform/host/gdiobjects.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <span>

namespace plat {

void FillColor(GdiContext& context, const RECT& rect, COLORREF color) {
    const Pixel pixel = PixelOf(color);
    Surface& surface = context.Pixels();
    ForEachSpan(context, rect, [&](int x, int y, int n) { surface.Fill(x, y, n, pixel); });
}

namespace {

int Wrapped(int value, int size) {
    const int rest = value % size;
    return rest < 0 ? rest + size : rest;
}

// Tiled from the origin of the context; mix(pixel, of the pattern) puts each there.
template<class Mix>
void MixPattern(GdiContext& context, const RECT& rect, const Surface& pattern, Mix&& mix) {
    ForEachSpan(context, rect, [&](int x, int y, int n) {
        const Pixel* tile =
            pattern.Read(0, Wrapped(y - context.origin.y, pattern.Height()), pattern.Width(), nullptr);
        int at = Wrapped(x - context.origin.x, pattern.Width());
        context.Pixels().Edit(x, y, n, [&](Pixel* row, int count) {
            for (int i = 0; i < count; ++i, at = at + 1 < pattern.Width() ? at + 1 : 0) mix(row[i], tile[at]);
        });
    });
}

void InvertPixels(GdiContext& context, const RECT& rect, Pixel mask) {
    Surface& surface = context.Pixels();
    ForEachSpan(context, rect, [&](int x, int y, int n) {
        surface.Edit(x, y, n, [mask](Pixel* row, int count) {
            for (int i = 0; i < count; ++i) row[i] ^= mask;
        });
    });
}

// One pen dot: a square of the pen's width round the point.
void Dot(GdiContext& context, int x, int y, const GdiPen& pen) {
    const int before = (pen.Width() - 1) / 2;
    FillColor(context, Moved({0, 0, pen.Width(), pen.Width()}, x - before, y - before), pen.data.lopnColor);
}

// One dot for each step along the longer side, as far as it comes near to what can be seen.
void SlantedLine(GdiContext& context, POINT a, POINT b, const GdiPen& pen) {
    const long long dx = b.x - a.x, dy = b.y - a.y;
    const bool wide = std::llabs(dx) >= std::llabs(dy);
    const long long steps = std::llabs(wide ? dx : dy);
    const RECT seen = Moved(context.Paintable().Box(), -context.origin.x, -context.origin.y);
    const long long start = wide ? a.x : a.y;
    const long long low = (wide ? seen.left : seen.top) - pen.Width();
    const long long high = (wide ? seen.right : seen.bottom) + pen.Width();
    const bool forth = (wide ? dx : dy) > 0;
    const long long last = std::min(steps - 1, forth ? high - start : start - low);
    const auto moved = [steps](long long i, long long d) {
        return (2 * i * d + (d < 0 ? -steps : steps)) / (2 * steps);
    };
    for (long long i = std::max(0LL, forth ? low - start : start - high); i <= last; ++i)
        Dot(context, NearPixel(a.x + moved(i, dx)), NearPixel(a.y + moved(i, dy)), pen);
}

// From a to b without b. Straight ones are filled at once.
void Line(GdiContext& context, POINT a, POINT b, const GdiPen& pen) {
    a = {NearPixel(a.x), NearPixel(a.y)};
    b = {NearPixel(b.x), NearPixel(b.y)};
    const int before = (pen.Width() - 1) / 2, after = pen.Width() - before;
    const RECT reach{std::min(a.x, b.x + 1), std::min(a.y, b.y + 1), std::max(a.x + 1, b.x),
                     std::max(a.y + 1, b.y)};
    if (a.x != b.x && a.y != b.y) return SlantedLine(context, a, b, pen);
    if (a.x != b.x)
        FillColor(context, {reach.left, a.y - before, reach.right, a.y + after}, pen.data.lopnColor);
    if (a.y != b.y)
        FillColor(context, {a.x - before, reach.top, a.x + after, reach.bottom}, pen.data.lopnColor);
}

void Lines(GdiContext& context, std::span<const POINT> points, bool closed) {
    const GdiPen& pen = *context.state.pen;
    if (pen.IsNull() || points.empty()) return;
    for (std::size_t i = 0; i + 1 < points.size(); ++i) Line(context, points[i], points[i + 1], pen);
    if (closed) Line(context, points.back(), points.front(), pen);
}

// The first pixel whose middle lies at x or right of it.
int FirstPixel(double x) { return NearPixel(static_cast<long long>(std::ceil(x - 0.5))); }

// By the even-odd rule: the pixels whose middle lies inside, or on a left edge.
void FillPolygon(GdiContext& context, std::span<const POINT> points) {
    if (points.size() < 3 || context.state.brush->IsHollow()) return;
    LONG top = points[0].y, bottom = points[0].y;
    for (const POINT& p : points) {
        top = std::min(top, p.y);
        bottom = std::max(bottom, p.y);
    }
    const RECT visible = Moved(context.Paintable().Box(), -context.origin.x, -context.origin.y);
    std::vector<double> crossings;
    for (LONG y = std::max(top, visible.top); y < std::min(bottom, visible.bottom); ++y) {
        crossings.clear();
        const double middle = y + 0.5;
        for (std::size_t i = 0; i < points.size(); ++i) {
            const POINT a = points[i], b = points[(i + 1) % points.size()];
            if ((a.y <= middle) == (b.y <= middle)) continue;
            crossings.push_back(a.x + (middle - a.y) * (static_cast<double>(b.x) - a.x) /
                                          (static_cast<double>(b.y) - a.y));
        }
        std::ranges::sort(crossings);
        for (std::size_t i = 0; i + 1 < crossings.size(); i += 2)
            FillWith(context, {FirstPixel(crossings[i]), y, FirstPixel(crossings[i + 1]), y + 1},
                     *context.state.brush);
    }
}

int Between(int from, int to, int at, int size) {
    return from + static_cast<int>(static_cast<long long>(to - from) * at / size);
}

Pixel MixedAt(const TRIVERTEX& a, const TRIVERTEX& b, int at, int size) {
    const auto channel = [&](WORD from, WORD to) {
        return static_cast<Pixel>(Between(from >> 8, to >> 8, at, size)) & 0xFF;
    };
    return channel(a.Red, b.Red) << 16 | channel(a.Green, b.Green) << 8 | channel(a.Blue, b.Blue);
}

void FillGradient(GdiContext& context, const TRIVERTEX& a, const TRIVERTEX& b, bool vertical) {
    const RECT rect = Moved({a.x, a.y, b.x, b.y}, 0, 0);
    const int size = vertical ? HeightOf(rect) : WidthOf(rect);
    if (size < 1) return;
    const RECT visible = Moved(context.Paintable().Box(), -context.origin.x, -context.origin.y);
    const RECT shown = Intersection(rect, visible);
    if (vertical) {
        for (LONG y = shown.top; y < shown.bottom; ++y)
            FillColor(context, {rect.left, y, rect.right, y + 1}, ColorOf(MixedAt(a, b, y - rect.top, size)));
        return;
    }
    std::vector<Pixel> row;
    for (LONG x = shown.left; x < shown.right; ++x) row.push_back(MixedAt(a, b, x - rect.left, size));
    ForEachSpan(context, shown, [&](int x, int y, int n) {
        context.Pixels().Write(x, y, n, row.data() + (x - context.origin.x - shown.left));
    });
}

} // namespace

void FillWith(GdiContext& context, const RECT& rect, const GdiBrush& brush) {
    if (brush.IsPattern())
        return MixPattern(context, rect, brush.pattern, [](Pixel& out, Pixel in) { out = in; });
    if (!brush.IsHollow()) FillColor(context, rect, brush.data.lbColor);
}

void InvertWith(GdiContext& context, const RECT& rect, const GdiBrush& brush) {
    if (brush.IsPattern())
        return MixPattern(context, rect, brush.pattern, [](Pixel& out, Pixel in) { out ^= in & 0xFFFFFF; });
    if (!brush.IsHollow()) InvertPixels(context, rect, PixelOf(brush.data.lbColor));
}

} // namespace plat

using namespace plat;

int FillRect(HDC dc, const RECT* rect, HBRUSH handle) {
    HostCall call;
    const auto context = FindContext(dc);
    const auto brush = FindGdi<GdiBrush>(handle);
    if (!context || !brush) return 0;
    FillWith(*context, *rect, *brush);
    return 1;
}

// Without a pen the figure is one pixel smaller at the right and at the bottom.
BOOL Rectangle(HDC dc, int left, int top, int right, int bottom) {
    HostCall call;
    const auto context = FindContext(dc);
    if (!context) return FALSE;
    const RECT r = Moved({left, top, right, bottom}, 0, 0);
    const GdiPen& pen = *context->state.pen;
    if (pen.IsNull()) {
        FillWith(*context, {r.left, r.top, r.right - 1, r.bottom - 1}, *context->state.brush);
        return TRUE;
    }
    const int w = std::min({pen.Width(), std::max(WidthOf(r), 0), std::max(HeightOf(r), 0)});
    const COLORREF color = pen.data.lopnColor;
    FillWith(*context, {r.left + w, r.top + w, r.right - w, r.bottom - w}, *context->state.brush);
    FillColor(*context, {r.left, r.top, r.right, r.top + w}, color);
    FillColor(*context, {r.left, r.bottom - w, r.right, r.bottom}, color);
    FillColor(*context, {r.left, r.top + w, r.left + w, r.bottom - w}, color);
    FillColor(*context, {r.right - w, r.top + w, r.right, r.bottom - w}, color);
    return TRUE;
}

BOOL Polyline(HDC dc, const POINT* points, int count) {
    HostCall call;
    const auto context = FindContext(dc);
    if (!context || count < 0) return FALSE;
    Lines(*context, {points, static_cast<std::size_t>(count)}, false);
    return TRUE;
}

BOOL Polygon(HDC dc, const POINT* points, int count) {
    HostCall call;
    const auto context = FindContext(dc);
    if (!context || count < 0) return FALSE;
    const std::span all(points, static_cast<std::size_t>(count));
    FillPolygon(*context, all);
    Lines(*context, all, true);
    return TRUE;
}

COLORREF SetPixel(HDC dc, int x, int y, COLORREF color) {
    HostCall call;
    const auto context = FindContext(dc);
    COLORREF set = 0xFFFFFFFF;
    if (!context) return set;
    ForEachSpan(*context, Moved({0, 0, 1, 1}, x, y), [&](int atX, int atY, int n) {
        context->Pixels().Fill(atX, atY, n, PixelOf(color));
        set = color & 0xFFFFFF;
    });
    return set;
}

COLORREF GetPixel(HDC dc, int x, int y) {
    HostCall call;
    const auto context = FindContext(dc);
    COLORREF color = 0xFFFFFFFF;
    if (!context) return color;
    ForEachSpan(*context, Moved({0, 0, 1, 1}, x, y),
                [&](int atX, int atY, int) { color = ColorOf(context->Pixels().Get(atX, atY)) & 0xFFFFFF; });
    return color;
}

BOOL DrawFocusRect(HDC dc, const RECT* rect) {
    HostCall call;
    const auto context = FindContext(dc);
    if (!context) return FALSE;
    const RECT r = Moved(*rect, 0, 0);
    Surface& surface = context->Pixels();
    const RECT edges[] = {{r.left, r.top, r.right, r.top + 1},
                          {r.left, r.bottom - 1, r.right, r.bottom},
                          {r.left, r.top + 1, r.left + 1, r.bottom - 1},
                          {r.right - 1, r.top + 1, r.right, r.bottom - 1}};
    if (WidthOf(r) < 2 || HeightOf(r) < 2) return TRUE;
    for (const RECT& edge : edges)
        ForEachSpan(*context, edge, [&](int x, int y, int n) {
            // Every second pixel, by its place and not by the frame's: neighbours meet in one pattern.
            int at = x - context->origin.x + y - context->origin.y;
            surface.Edit(x, y, n, [&at](Pixel* row, int count) {
                for (int i = 0; i < count; ++i, ++at)
                    if (at & 1) row[i] ^= 0xFFFFFF;
            });
        });
    return TRUE;
}

BOOL InvertRect(HDC dc, const RECT* rect) {
    HostCall call;
    const auto context = FindContext(dc);
    if (!context) return FALSE;
    InvertPixels(*context, *rect, 0xFFFFFF);
    return TRUE;
}

BOOL GradientFill(HDC dc, TRIVERTEX* vertices, ULONG vertexCount, void* mesh, ULONG meshCount, ULONG mode) {
    HostCall call;
    const auto context = FindContext(dc);
    if (!context) return FALSE;
    if (FaultStrikes(PlatFault::Gradient)) {
        SetLastError(ERROR_NOT_SUPPORTED);
        return FALSE;
    }
    const auto* rects = static_cast<const GRADIENT_RECT*>(mesh);
    for (ULONG i = 0; i < meshCount; ++i) {
        if (mode > GRADIENT_FILL_RECT_V || rects[i].UpperLeft >= vertexCount ||
            rects[i].LowerRight >= vertexCount) {
            SetLastError(ERROR_INVALID_PARAMETER);
            return FALSE;
        }
        FillGradient(*context, vertices[rects[i].UpperLeft], vertices[rects[i].LowerRight],
                     mode == GRADIENT_FILL_RECT_V);
    }
    return TRUE;
}
