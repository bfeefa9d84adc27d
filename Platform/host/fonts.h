// How text is measured and painted. A font answers for itself: the host's fonts through FreeType and HarfBuzz, or, in
// tests, one of fixed width. Every answer is in whole pixels.
#pragma once

#include "Platform/host/gdiobjects.h"

#include <memory>
#include <mutex>
#include <string_view>

namespace plat {

inline constexpr int kTallestFont = 1000; // pixels; a larger one is made as large as this

struct FontMetrics {
    int ascent = 0;
    int descent = 0;
    int em = 0;
    int averageWidth = 0;
    int widest = 0;
    int Height() const { return ascent + descent; }
};

// What is painted, and where it shows.
struct TextPainting {
    GdiContext& context;
    RECT clip; // in the context's coordinates
    int x;
    int y; // the top of the text
    std::u16string_view text;
    const int* spacing; // the width of each unit instead of its own, or null
    Pixel color;
};

class TextFont {
public:
    virtual ~TextFont() = default;

    const FontMetrics& Metrics() const { return m_metrics; }
    // The width of the whole text. *fit: how many of the first units are no wider than `limit` together; widths[i]: the
    // width of the first i + 1. Either may be null.
    virtual long long Measure(std::u16string_view text, long long limit, int* fit, int* widths) = 0;
    virtual void Paint(const TextPainting& painting) = 0;

protected:
    FontMetrics m_metrics;
};

// The one of an object, found at first use; it stays as long as the object, in tests until the thread's next call.
TextFont& TextFontOf(GdiFont& font);

// Of fixed width: every unit 6 pixels, a fifth of the height below the base line; a character paints as a bar.
std::shared_ptr<TextFont> MakeFixedFont(const LOGFONTW& description);

// Held while fonts are looked up, glyphs rendered or texts shaped: the libraries below serve one thread at a time.
std::mutex& TextLock();

// What a description asks for, within bounds: a height, 0 being a usual one.
int BoundedHeight(LONG height);

} // namespace plat
