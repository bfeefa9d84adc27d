// The layout of texts that are more than a row of glyphs: other directions, marks, letters that change with their
// neighbours. Under TextLock.
#pragma once

#include "Platform/host/facechain.h"

namespace plat {

struct ShapedGlyph {
    int face;
    FT_UInt glyph;
    int x; // from the pen of its cluster
    int y; // downwards
};

// Units that stand together, and the glyphs they make.
struct ShapedCluster {
    int start;
    int count;
    int width;
    int firstGlyph;
    int glyphs;
};

struct ShapedText {
    std::vector<ShapedCluster> clusters; // from the left to the right
    std::vector<ShapedGlyph> glyphs;
    std::vector<int> widths; // of each unit; that of a cluster stands at its first one
    std::vector<char> ends;  // a cluster ends behind this unit
    long long width = 0;
    bool joins = false; // has letters whose widths depend on their neighbours
};

ShapedText ShapeText(FaceChain& faces, std::u16string_view text);

} // namespace plat
