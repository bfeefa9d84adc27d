// The pixels of glyphs, rendered once and kept as long as there is room. Under TextLock.
#pragma once

#include "Platform/host/fontfaces.h"
#include "Platform/host/gdiobjects.h"

namespace plat {

// Where a glyph stands: its pen on the base line, on the context's bitmap.
struct StandingGlyph {
    SizedFace* face;
    FT_UInt glyph;
    int x;
    int y;
};

// Paints them in the colour, within `clip` (on the bitmap) and where the context may paint.
void PaintGlyphs(GdiContext& context, const RECT& clip, const std::vector<StandingGlyph>& glyphs,
                 Pixel color);

} // namespace plat
