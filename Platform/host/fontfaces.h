// The faces of the system's font files, and one of them in a size. All of this under TextLock.
#pragma once

#include "Platform/types.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb.h>

#include <compare>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

typedef struct _FcFontSet FcFontSet;

namespace plat {

// What a face is asked for.
struct FaceStyle {
    bool bold = false;
    bool italic = false;
    bool smooth = true;
    bool columns = false; // a coverage for each colour of a pixel
    auto operator<=>(const FaceStyle&) const = default;
};

// The pixels of a glyph: how far each is covered (or its red, green and blue), from the top row, where they lie from the
// pen on the base line.
struct GlyphBitmap {
    int left = 0;
    int top = 0; // rows above the base line
    int width = 0;
    int height = 0;
    int parts = 1; // of a pixel: 3 with columns
    std::vector<std::uint8_t> coverage;
};

// A face of a file that stands open; there is one for each, which never goes.
struct FaceFile {
    FT_Face face = nullptr;
    hb_face_t* shaper = nullptr;
    bool bold = false; // its outlines
    bool italic = false;
};

class SizedFace {
public:
    // `em` in pixels. A face that lacks what the style asks for is made bold or slanted.
    SizedFace(FaceFile& file, int em, const FaceStyle& style);
    ~SizedFace();
    SizedFace(const SizedFace&) = delete;
    SizedFace& operator=(const SizedFace&) = delete;

    std::uint32_t Id() const { return m_id; }
    FT_Face Face() const { return m_file.face; }
    FT_UInt GlyphOf(char32_t c) const { return FT_Get_Char_Index(m_file.face, c); }
    int Advance(FT_UInt glyph); // whole pixels
    GlyphBitmap Render(FT_UInt glyph);
    hb_font_t* Shaper();

private:
    bool Load(FT_UInt glyph);
    FT_Render_Mode Mode() const;

    FaceFile& m_file;
    const std::uint32_t m_id;
    const int m_em;
    const bool m_embolden;
    const bool m_slant;
    const bool m_smooth;
    const bool m_columns;
    FT_Size m_size = nullptr;
    hb_font_t* m_shaper = nullptr;
    std::unordered_map<FT_UInt, int> m_advances;
};

// Does the person's desktop say that the pixels are columns of red, green, blue?
bool DesktopHasPixelColumns();

// The face that fits a name best; null when the system has none.
FaceFile* FindFace(const std::string& name, const FaceStyle& style);

// The closest face that has all these characters, for when the one of the font lacks them; null when none has.
FaceFile* FindFallback(const FaceStyle& style, const char32_t* characters, std::size_t count);

} // namespace plat
