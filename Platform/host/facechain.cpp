#include "Platform/host/facechain.h"

#include "Platform/host/faults.h"
#include "Platform/host/text.h"

#include <algorithm>
#include <atomic>
#include <string>
#include FT_TRUETYPE_TABLES_H
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/uscript.h>
#include <unicode/utf16.h>

namespace plat {
namespace {

constexpr LONG kUsualHeight = 12;
constexpr std::size_t kMostFaces = 64;
constexpr std::size_t kMostKnown = 8192;

std::atomic<bool> g_columns{false};
[[maybe_unused]] const bool g_registered = (AtReset([] { PlatUsePixelColumns(false); }), true);

bool IsPlainScript(char32_t c) {
    UErrorCode error = U_ZERO_ERROR;
    switch (uscript_getScript(static_cast<UChar32>(c), &error)) {
    case USCRIPT_COMMON:
    case USCRIPT_LATIN:
    case USCRIPT_GREEK:
    case USCRIPT_CYRILLIC:
    case USCRIPT_ARMENIAN:
    case USCRIPT_GEORGIAN:
    case USCRIPT_HEBREW:
    case USCRIPT_HAN:
    case USCRIPT_HIRAGANA:
    case USCRIPT_KATAKANA:
    case USCRIPT_BOPOMOFO:
    case USCRIPT_ETHIOPIC:
    case USCRIPT_CHEROKEE:
    case USCRIPT_UNKNOWN:
        return true;
    case USCRIPT_HANGUL: // syllables; their parts make up one together
        return c >= 0xAC00 && c < 0xD7A4;
    default:
        return false;
    }
}

// A mark without a glyph of its own may still be part of a letter that has one.
bool HasComposed(FT_Face face, char32_t base, char32_t mark) {
    UErrorCode error = U_ZERO_ERROR;
    const UNormalizer2* normalizer = unorm2_getNFCInstance(&error);
    if (U_FAILURE(error)) return false;
    const UChar32 composed =
        unorm2_composePair(normalizer, static_cast<UChar32>(base), static_cast<UChar32>(mark));
    return composed >= 0 && FT_Get_Char_Index(face, static_cast<FT_ULong>(composed)) != 0;
}

// What a device measures of a face: the box of its letters, which a face tells apart from its line spacing.
FaceChain::Cell CellOf(FT_Face face) {
    const int em = std::max<int>(1, face->units_per_EM);
    const auto* table = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
    constexpr int kMostEms = 8; // the file may say anything
    const int most = em * kMostEms;
    if (table && table->version != 0xFFFF && table->usWinAscent + table->usWinDescent > 0)
        return {em, std::min<int>(table->usWinAscent, most), std::min<int>(table->usWinDescent, most)};
    return {em, std::clamp<int>(face->ascender, 0, most), std::clamp<int>(-face->descender, 0, most)};
}

} // namespace

int BoundedHeight(LONG height) {
    return static_cast<int>(height == 0 ? kUsualHeight
                                        : std::clamp<LONG>(height, -kTallestFont, kTallestFont));
}

FaceStyle StyleOf(const LOGFONTW& description) {
    constexpr LONG kBoldFrom = 600;
    constexpr BYTE kNotSmooth = 3, kFine = 5, kFineToo = 6;
    const BYTE quality = description.lfQuality;
    return {description.lfWeight >= kBoldFrom, description.lfItalic != 0, quality != kNotSmooth,
            (quality == kFine || quality == kFineToo) && g_columns.load(std::memory_order_relaxed)};
}

CharKind KindOf(char32_t c) {
    if (c < 0x20 || (c >= 0x7F && c < 0xA0)) return CharKind::Invisible;
    if (c < 0x300) return c == 0xAD ? CharKind::Invisible : CharKind::Plain;
    const auto character = static_cast<UChar32>(c);
    if (u_hasBinaryProperty(character, UCHAR_DEFAULT_IGNORABLE_CODE_POINT)) return CharKind::Invisible;
    if (u_getIntPropertyValue(character, UCHAR_JOINING_TYPE) != U_JT_NON_JOINING &&
        u_getIntPropertyValue(character, UCHAR_JOINING_TYPE) != U_JT_TRANSPARENT)
        return CharKind::Shaped;
    const auto category = u_charType(character);
    if (category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK) return CharKind::Mark;
    if (category == U_FORMAT_CHAR || category == U_LINE_SEPARATOR || category == U_PARAGRAPH_SEPARATOR)
        return CharKind::Invisible;
    return IsPlainScript(c) ? CharKind::Plain : CharKind::Shaped;
}

bool NeedsOrder(char32_t c) {
    switch (u_charDirection(static_cast<UChar32>(c))) {
    case U_RIGHT_TO_LEFT:
    case U_RIGHT_TO_LEFT_ARABIC:
    case U_ARABIC_NUMBER:
    case U_RIGHT_TO_LEFT_EMBEDDING:
    case U_RIGHT_TO_LEFT_OVERRIDE:
    case U_RIGHT_TO_LEFT_ISOLATE:
        return true;
    default:
        return false;
    }
}

char32_t CharAt(std::u16string_view text, std::size_t& at) {
    constexpr char32_t kReplacement = 0xFFFD;
    const char16_t first = text[at++];
    if (!U16_IS_SURROGATE(first)) return first;
    if (!U16_IS_SURROGATE_LEAD(first) || at >= text.size() || !U16_IS_TRAIL(text[at])) return kReplacement;
    return static_cast<char32_t>(U16_GET_SUPPLEMENTARY(first, text[at++]));
}

// --- The chain ----------------------------------------------------------------------------------------------------

FaceChain::FaceChain(const LOGFONTW& description) : m_style(StyleOf(description)) {
    FaceFile* file = FindFace(ToUtf8(description.lfFaceName), m_style);
    if (!file) return;
    const int height = BoundedHeight(description.lfHeight);
    const Cell cell = CellOf(file->face);
    const int units = std::max(1, cell.ascent + cell.descent);
    // A cell of that height holds letters of the size that comes closest to it.
    m_metrics.em = height < 0 ? -height : std::clamp((height * cell.em + units / 2) / units, 1, kTallestFont);
    Add(*file);
    TakeMetrics(cell, height);
}

void FaceChain::TakeMetrics(const Cell& cell, int height) {
    const auto scaled = [&](int units) { return (units * m_metrics.em + cell.em / 2) / cell.em; };
    m_metrics.ascent = scaled(cell.ascent);
    m_metrics.descent = scaled(cell.descent);
    if (height > 0) {
        m_metrics.ascent = std::clamp(m_metrics.ascent, 1, height);
        m_metrics.descent = height - m_metrics.ascent;
    }
    m_metrics.averageWidth = PlaceOf(U'x').advance;
    m_metrics.widest = std::max(scaled(At(0).Face()->max_advance_width), m_metrics.averageWidth);
}

int FaceChain::Add(FaceFile& file) {
    for (std::size_t i = 0; i < m_faces.size(); ++i)
        if (m_faces[i].file == &file) return static_cast<int>(i);
    if (m_faces.size() >= kMostFaces) return CharPlace::kNone;
    m_faces.push_back({&file, std::make_unique<SizedFace>(file, m_metrics.em, m_style)});
    return static_cast<int>(m_faces.size()) - 1;
}

bool FaceChain::Has(int face, const char32_t* characters, std::size_t count) {
    const SizedFace& sized = At(face);
    if (sized.GlyphOf(characters[0]) == 0) return false;
    for (std::size_t i = 1; i < count; ++i)
        if (KindOf(characters[i]) == CharKind::Mark && sized.GlyphOf(characters[i]) == 0 &&
            !HasComposed(sized.Face(), characters[0], characters[i]))
            return false;
    return true;
}

int FaceChain::FaceFor(const char32_t* characters, std::size_t count) {
    if (Has(0, characters, count)) return 0;
    FaceFile* file = FindFallback(m_style, characters, count);
    const int face = file ? Add(*file) : CharPlace::kNone;
    if (face != CharPlace::kNone && At(face).GlyphOf(characters[0]) != 0) return face;
    return count > 1 ? FaceFor(characters, 1) : 0;
}

CharPlace FaceChain::PlaceOf(char32_t c) {
    if (const auto known = m_known.find(c); known != m_known.end()) return known->second;
    if (m_known.size() >= kMostKnown) m_known.clear();
    return m_known[c] = Find(c);
}

CharPlace FaceChain::Find(char32_t c) {
    if (KindOf(c) == CharKind::Invisible) return {};
    constexpr char32_t kHardBlank = 0xA0;
    const char32_t shown = c == kHardBlank ? U' ' : c;
    const int face = FaceFor(&shown, 1);
    const FT_UInt glyph = At(face).GlyphOf(shown);
    return {At(face).Advance(glyph), glyph, face};
}

} // namespace plat

void PlatUsePixelColumns(bool on) { plat::g_columns.store(on, std::memory_order_relaxed); }
