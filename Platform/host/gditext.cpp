// Measuring and painting one row of text.
#include "Platform/host/fonts.h"

#include <algorithm>

namespace plat {
namespace {

struct TextCall {
    HostCall call;
    ContextPointer context;
    TextFont* font = nullptr;

    explicit TextCall(HDC dc) : context(FindContext(dc)) {
        if (context) font = &TextFontOf(*context->state.font);
    }
    explicit operator bool() const { return font != nullptr; }
};

// False with error 87 for a text that is none.
bool IsText(LPCWSTR text, long long count) {
    if (count == 0 || (text && count > 0)) return true;
    SetLastError(ERROR_INVALID_PARAMETER);
    return false;
}

std::u16string_view Text(LPCWSTR text, long long count) {
    return count > 0 ? std::u16string_view(text, static_cast<std::size_t>(count)) : std::u16string_view();
}

// The lines under and through a text.
void PaintLines(GdiContext& context, const FontMetrics& metrics, const RECT& box, const RECT& clip) {
    const LOGFONTW& style = context.state.font->data;
    const int width = std::max(1, metrics.em / 14);
    const auto line = [&](int y) {
        FillColor(context, Intersection(clip, {box.left, box.top + y, box.right, box.top + y + width}),
                  context.state.textColor);
    };
    if (style.lfUnderline) line(std::min(metrics.ascent + 1, metrics.Height() - width));
    if (style.lfStrikeOut) line(metrics.ascent - (metrics.em * 3 + 5) / 10);
}

long long WidthOf(TextFont& font, std::u16string_view text, const int* spacing) {
    if (!spacing) return font.Measure(text, 0, nullptr, nullptr);
    long long width = 0;
    for (std::size_t i = 0; i < text.size(); ++i) width += spacing[i];
    return width;
}

void PaintText(GdiContext& context, TextFont& font, const TextPainting& painting) {
    const LOGFONTW& style = context.state.font->data;
    const bool lines = style.lfUnderline || style.lfStrikeOut;
    if (context.state.backMode == OPAQUE || lines) {
        const RECT box =
            Moved({0, 0, NearPixel(WidthOf(font, painting.text, painting.spacing)), font.Metrics().Height()},
                  painting.x, painting.y);
        if (context.state.backMode == OPAQUE)
            FillColor(context, Intersection(box, painting.clip), context.state.backColor);
        font.Paint(painting);
        if (lines) PaintLines(context, font.Metrics(), box, painting.clip);
        return;
    }
    font.Paint(painting);
}

constexpr RECT kEverywhere = {-kFarthestPixel, -kFarthestPixel, kFarthestPixel, kFarthestPixel};

} // namespace
} // namespace plat

using namespace plat;

BOOL GetTextMetricsW(HDC dc, TEXTMETRICW* metrics) {
    const TextCall text(dc);
    if (!text) return FALSE;
    if (!metrics) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const FontMetrics& of = text.font->Metrics();
    *metrics = {of.Height(), of.ascent,       of.descent, std::max(0, of.Height() - of.em),
                0,           of.averageWidth, of.widest,  text.context->state.font->data.lfWeight};
    return TRUE;
}

BOOL GetTextExtentExPointW(HDC dc, LPCWSTR text, int count, int extent, int* fit, int* widths, SIZE* size) {
    const TextCall call(dc);
    if (!call || !IsText(text, count)) return FALSE;
    const long long width = call.font->Measure(Text(text, count), extent, fit, widths);
    if (size) *size = {NearPixel(width), call.font->Metrics().Height()};
    return TRUE;
}

BOOL GetTextExtentPoint32W(HDC dc, LPCWSTR text, int count, SIZE* size) {
    return GetTextExtentExPointW(dc, text, count, 0, nullptr, nullptr, size);
}

BOOL ExtTextOutW(HDC dc, int x, int y, UINT options, const RECT* rect, LPCWSTR text, UINT count,
                 const int* spacing) {
    const TextCall call(dc);
    if (!call || !IsText(text, count)) return FALSE;
    GdiContext& context = *call.context;
    const RECT place = rect ? Moved(*rect, 0, 0) : kEverywhere;
    if (rect && (options & ETO_OPAQUE)) FillColor(context, place, context.state.backColor);
    if (count == 0) return TRUE;
    PaintText(context, *call.font,
              {context, rect && (options & ETO_CLIPPED) ? place : kEverywhere, NearPixel(x), NearPixel(y),
               Text(text, count), spacing, PixelOf(context.state.textColor)});
    return TRUE;
}
