#include "Platform/host/fontfaces.h"

#include <algorithm>
#include <array>
#include <fontconfig/fontconfig.h>
#include <hb-ot.h>
#include <map>
#include <utility>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif
#include FT_LCD_FILTER_H
#include FT_OUTLINE_H
#include FT_SIZES_H

namespace plat {
namespace {

// The usual face of the suite has a free one of the same widths, which Debian keeps outside of the fonts' folders. Its
// bold file has the widths of bold letters, but the outlines of the regular ones.
constexpr const char* kUsualFace = "Tahoma";
constexpr const char* kUsualFile = "/usr/share/wine/fonts/tahoma.ttf";
constexpr const char* kUsualBoldFile = "/usr/share/wine/fonts/tahomabd.ttf";
constexpr const char* kSubstitute = "DejaVu Sans";

FT_Library Library() {
    static const FT_Library library = [] {
        FT_Library made = nullptr;
        FT_Init_FreeType(&made);
        FT_Library_SetLcdFilter(made, FT_LCD_FILTER_DEFAULT);
        return made;
    }();
    return library;
}

// What is kept to the end is no leak; the checker doesn't see it, as fontconfig points by distances.
struct Kept {
#ifdef __SANITIZE_ADDRESS__
    Kept() { __lsan_disable(); }
    ~Kept() { __lsan_enable(); }
#else
    Kept() {}
#endif
};

FcConfig* Config() {
    static FcConfig* const config = [] {
        const Kept kept;
        FcConfig* loaded = FcInitLoadConfigAndFonts();
        const FcChar8* root =
            FcConfigGetSysRoot(loaded); // null, but where the fonts of another root are asked for
        for (const char* file : {kUsualFile, kUsualBoldFile}) {
            const std::string path = (root ? reinterpret_cast<const char*>(root) : std::string()) + file;
            FcConfigAppFontAddFile(loaded, reinterpret_cast<const FcChar8*>(path.c_str()));
        }
        return loaded;
    }();
    return config;
}

struct PatternDeleter {
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
};
using Pattern = std::unique_ptr<FcPattern, PatternDeleter>;

Pattern Wanted(const std::string& name, const FaceStyle& style) {
    Pattern pattern(FcPatternCreate());
    const auto family = [&](const char* text) {
        FcPatternAddString(pattern.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(text));
    };
    family(name.c_str());
    family(kSubstitute);
    FcPatternAddInteger(pattern.get(), FC_WEIGHT, style.bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(pattern.get(), FC_SLANT, style.italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    FcPatternAddBool(pattern.get(), FC_OUTLINE, FcTrue);
    FcConfigSubstitute(Config(), pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    return pattern;
}

FaceFile* OpenFile(const std::string& path, int index) {
    static auto& files = *new std::map<std::pair<std::string, int>, std::unique_ptr<FaceFile>>;
    auto [known, added] = files.try_emplace({path, index});
    if (!added) return known->second.get();
    FT_Face face = nullptr;
    if (FT_New_Face(Library(), path.c_str(), index, &face)) return nullptr;
    if (!FT_IS_SCALABLE(face)) {
        FT_Done_Face(face);
        return nullptr;
    }
    hb_blob_t* blob = hb_blob_create_from_file(path.c_str());
    known->second = std::make_unique<FaceFile>(
        FaceFile{face, hb_face_create(blob, static_cast<unsigned>(index & 0xFFFF)),
                 (face->style_flags & FT_STYLE_FLAG_BOLD) != 0 && path != kUsualBoldFile,
                 (face->style_flags & FT_STYLE_FLAG_ITALIC) != 0});
    hb_blob_destroy(blob);
    return known->second.get();
}

FaceFile* Open(FcPattern* pattern) {
    FcChar8* path = nullptr;
    int index = 0;
    if (!pattern || FcPatternGetString(pattern, FC_FILE, 0, &path) != FcResultMatch) return nullptr;
    FcPatternGetInteger(pattern, FC_INDEX, 0, &index);
    return OpenFile(reinterpret_cast<const char*>(path), index);
}

// The system's faces by closeness; made once for each style.
const FcFontSet& Sorted(const FaceStyle& style) {
    static std::array<FcFontSet*, 4> sets{};
    FcFontSet*& set = sets[(style.bold ? 1U : 0U) | (style.italic ? 2U : 0U)];
    if (!set) {
        const Kept kept;
        FcResult result;
        set = FcFontSort(Config(), Wanted(kUsualFace, style).get(), FcFalse, nullptr, &result);
        if (!set) set = FcFontSetCreate();
    }
    return *set;
}

bool HasAll(FcPattern* pattern, const char32_t* characters, std::size_t count) {
    FcCharSet* set = nullptr;
    if (FcPatternGetCharSet(pattern, FC_CHARSET, 0, &set) != FcResultMatch) return false;
    return std::all_of(characters, characters + count, [&](char32_t c) { return FcCharSetHasChar(set, c); });
}

hb_position_t WholeAdvance(hb_font_t*, void* face, hb_codepoint_t glyph, void*) {
    return static_cast<SizedFace*>(face)->Advance(glyph) * 64;
}

hb_font_funcs_t* WholeAdvances() {
    static hb_font_funcs_t* const functions = [] {
        hb_font_funcs_t* made = hb_font_funcs_create();
        hb_font_funcs_set_glyph_h_advance_func(made, WholeAdvance, nullptr, nullptr);
        hb_font_funcs_make_immutable(made);
        return made;
    }();
    return functions;
}

std::uint32_t NextId() {
    static std::uint32_t last = 0;
    return ++last;
}

// Upright stems first: what lies flat grows only where there is room for it, and to both sides.
void Embolden(FT_Outline& outline, int em) {
    constexpr FT_Pos kLeast = 48; // three quarters of a pixel
    constexpr int kRoomy = 20;
    const FT_Pos across = std::max<FT_Pos>(kLeast, em * 64 / 22);
    const FT_Pos up = em < kRoomy ? 0 : across / 2;
    FT_Outline_EmboldenXY(&outline, across, up);
    FT_Outline_Translate(&outline, 0, -up / 2);
}

constexpr FT_Matrix kSlant = {0x10000, 0x3600, 0, 0x10000}; // about 12 degrees

} // namespace

bool DesktopHasPixelColumns() {
    FcResult result;
    const Pattern found(FcFontMatch(Config(), Wanted(kUsualFace, {}).get(), &result));
    int order = FC_RGBA_UNKNOWN;
    return found && FcPatternGetInteger(found.get(), FC_RGBA, 0, &order) == FcResultMatch &&
           order == FC_RGBA_RGB;
}

FaceFile* FindFace(const std::string& name, const FaceStyle& style) {
    FcResult result;
    const Pattern found(
        FcFontMatch(Config(), Wanted(name.empty() ? kUsualFace : name, style).get(), &result));
    FaceFile* face = Open(found.get());
    for (int i = 0; !face && i < Sorted(style).nfont; ++i) face = Open(Sorted(style).fonts[i]);
    return face;
}

FaceFile* FindFallback(const FaceStyle& style, const char32_t* characters, std::size_t count) {
    const FcFontSet& sorted = Sorted(style);
    for (int i = 0; i < sorted.nfont; ++i) {
        if (!HasAll(sorted.fonts[i], characters, count)) continue;
        if (FaceFile* face = Open(sorted.fonts[i])) return face;
    }
    return nullptr;
}

// --- A face in a size ---------------------------------------------------------------------------------------------

SizedFace::SizedFace(FaceFile& file, int em, const FaceStyle& style)
    : m_file(file), m_id(NextId()), m_em(em), m_embolden(style.bold && !file.bold),
      m_slant(style.italic && !file.italic), m_smooth(style.smooth),
      m_columns(style.smooth && style.columns) {
    if (FT_New_Size(file.face, &m_size)) return;
    FT_Activate_Size(m_size);
    FT_Set_Pixel_Sizes(file.face, 0, static_cast<FT_UInt>(em));
}

SizedFace::~SizedFace() {
    if (m_shaper) hb_font_destroy(m_shaper);
    if (m_size) FT_Done_Size(m_size);
}

bool SizedFace::Load(FT_UInt glyph) {
    if (!m_size || FT_Activate_Size(m_size)) return false;
    const FT_Int32 flags =
        FT_LOAD_NO_BITMAP | (m_smooth ? FT_LOAD_TARGET_LIGHT : FT_LOAD_TARGET_MONO | FT_LOAD_MONOCHROME);
    return FT_Load_Glyph(m_file.face, glyph, flags) == 0 &&
           m_file.face->glyph->format == FT_GLYPH_FORMAT_OUTLINE;
}

int SizedFace::Advance(FT_UInt glyph) {
    const auto [known, added] = m_advances.try_emplace(glyph, 0);
    if (!added || !Load(glyph)) return known->second;
    known->second = static_cast<int>((m_file.face->glyph->advance.x + 32) >> 6);
    return known->second;
}

FT_Render_Mode SizedFace::Mode() const {
    if (m_columns) return FT_RENDER_MODE_LCD;
    return m_smooth ? FT_RENDER_MODE_NORMAL : FT_RENDER_MODE_MONO;
}

GlyphBitmap SizedFace::Render(FT_UInt glyph) {
    GlyphBitmap bitmap;
    if (!Load(glyph)) return bitmap;
    const FT_GlyphSlot slot = m_file.face->glyph;
    if (m_embolden) Embolden(slot->outline, m_em);
    if (m_slant) FT_Outline_Transform(&slot->outline, &kSlant);
    if (FT_Render_Glyph(slot, Mode())) return bitmap;
    const FT_Bitmap& from = slot->bitmap;
    const int parts = m_columns ? 3 : 1;
    bitmap = {slot->bitmap_left,
              slot->bitmap_top,
              static_cast<int>(from.width) / parts,
              static_cast<int>(from.rows),
              parts,
              {}};
    bitmap.coverage.reserve(std::size_t{from.width} * from.rows);
    for (unsigned y = 0; y < from.rows; ++y) {
        const unsigned char* row = from.buffer + static_cast<std::ptrdiff_t>(y) * from.pitch;
        for (unsigned x = 0; x < from.width; ++x)
            bitmap.coverage.push_back(m_smooth ? row[x] : row[x / 8] & (0x80 >> (x % 8)) ? 255 : 0);
    }
    return bitmap;
}

hb_font_t* SizedFace::Shaper() {
    if (m_shaper) return m_shaper;
    hb_font_t* font = hb_font_create(m_file.shaper);
    hb_ot_font_set_funcs(font);
    hb_font_set_scale(font, m_em * 64, m_em * 64);
    m_shaper = hb_font_create_sub_font(font);
    hb_font_destroy(font);
    hb_font_set_funcs(m_shaper, WholeAdvances(), this, nullptr);
    return m_shaper;
}

} // namespace plat
