#include "Platform/host/textshape.h"

#include <algorithm>
#include <array>
#include <unicode/ubidi.h>
#include <unicode/uscript.h>

namespace plat {
namespace {

// Units of one direction, face and script.
struct Item {
    std::size_t start;
    std::size_t end;
    int face;
    UScriptCode script;
};

struct BidiDeleter {
    void operator()(UBiDi* bidi) const { ubidi_close(bidi); }
};
struct BufferDeleter {
    void operator()(hb_buffer_t* buffer) const { hb_buffer_destroy(buffer); }
};

UScriptCode ScriptOf(char32_t c) {
    UErrorCode error = U_ZERO_ERROR;
    return uscript_getScript(static_cast<UChar32>(c), &error);
}

// Punctuation and marks go with any script.
bool IsOpen(UScriptCode script) { return script == USCRIPT_COMMON || script == USCRIPT_INHERITED; }

class Shaper {
public:
    Shaper(FaceChain& faces, std::u16string_view text)
        : m_faces(faces), m_text(text), m_buffer(hb_buffer_create()) {
        m_shaped.widths.assign(text.size(), 0);
        m_shaped.ends.assign(text.size(), 0);
    }

    ShapedText Run() {
        UErrorCode error = U_ZERO_ERROR;
        const auto size = static_cast<std::int32_t>(m_text.size());
        const std::unique_ptr<UBiDi, BidiDeleter> bidi(ubidi_open());
        ubidi_setPara(bidi.get(), m_text.data(), size, UBIDI_LTR, nullptr, &error);
        const std::int32_t runs = ubidi_countRuns(bidi.get(), &error);
        if (U_FAILURE(error)) Direction(0, m_text.size(), false);
        for (std::int32_t i = 0; U_SUCCESS(error) && i < runs; ++i) {
            std::int32_t start = 0, count = 0;
            const bool fromRight = ubidi_getVisualRun(bidi.get(), i, &start, &count) == UBIDI_RTL;
            Direction(static_cast<std::size_t>(start),
                      static_cast<std::size_t>(start) + static_cast<std::size_t>(count), fromRight);
        }
        return std::move(m_shaped);
    }

private:
    void Direction(std::size_t start, std::size_t end, bool fromRight) {
        std::vector<Item> items;
        while (start < end) start = TakeCharacter(items, start, end);
        if (fromRight) std::reverse(items.begin(), items.end());
        for (const Item& item : items) Shape(item, fromRight);
    }

    // Adds the character at `at`, with the marks on it, to the last item or to a new one.
    std::size_t TakeCharacter(std::vector<Item>& items, std::size_t at, std::size_t end) {
        constexpr std::size_t kMostMarks = 8;
        std::array<char32_t, kMostMarks> cluster{};
        std::size_t count = 0, next = at;
        while (next < end) {
            std::size_t behind = next;
            const char32_t c = CharAt(m_text, behind);
            const CharKind kind = KindOf(c);
            if (count > 0 && kind != CharKind::Mark && kind != CharKind::Invisible) break;
            if (count < kMostMarks) cluster[count++] = c;
            next = behind;
        }
        const int face = KindOf(cluster[0]) == CharKind::Invisible ? (items.empty() ? 0 : items.back().face)
                                                                   : m_faces.FaceFor(cluster.data(), count);
        const UScriptCode script = ScriptOf(cluster[0]);
        Item* last = items.empty() ? nullptr : &items.back();
        if (last && last->face == face &&
            (IsOpen(script) || IsOpen(last->script) || script == last->script)) {
            last->end = next;
            if (IsOpen(last->script)) last->script = script;
        } else {
            items.push_back({at, next, face, script});
        }
        return next;
    }

    void Shape(const Item& item, bool fromRight) {
        hb_buffer_t* buffer = m_buffer.get();
        hb_buffer_reset(buffer);
        hb_buffer_add_utf16(buffer, reinterpret_cast<const std::uint16_t*>(m_text.data()),
                            static_cast<int>(m_text.size()), static_cast<unsigned>(item.start),
                            static_cast<int>(item.end - item.start));
        hb_buffer_set_direction(buffer, fromRight ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
        hb_buffer_set_script(buffer, hb_script_from_string(uscript_getShortName(item.script), -1));
        constexpr auto kAll = static_cast<unsigned>(-1);
        static constexpr hb_feature_t kOff[] = {{HB_TAG('k', 'e', 'r', 'n'), 0, 0, kAll},
                                                {HB_TAG('l', 'i', 'g', 'a'), 0, 0, kAll},
                                                {HB_TAG('c', 'l', 'i', 'g'), 0, 0, kAll},
                                                {HB_TAG('c', 'a', 'l', 't'), 0, 0, kAll}};
        hb_shape(m_faces.At(item.face).Shaper(), buffer, kOff, std::size(kOff));
        TakeGlyphs(item, fromRight);
    }

    void TakeGlyphs(const Item& item, bool fromRight) {
        unsigned count = 0;
        const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(m_buffer.get(), &count);
        const hb_glyph_position_t* positions = hb_buffer_get_glyph_positions(m_buffer.get(), &count);
        std::size_t end = item.end; // of the cluster at hand, when it goes from the right
        for (unsigned i = 0; i < count;) {
            unsigned next = i;
            while (next < count && infos[next].cluster == infos[i].cluster) ++next;
            const std::size_t start = infos[i].cluster;
            if (!fromRight) end = next < count ? infos[next].cluster : item.end;
            TakeCluster(item.face, start, end, infos + i, positions + i, next - i);
            end = start;
            i = next;
        }
    }

    void TakeCluster(int face, std::size_t start, std::size_t end, const hb_glyph_info_t* infos,
                     const hb_glyph_position_t* positions, unsigned count) {
        const auto first = static_cast<int>(m_shaped.glyphs.size());
        int pen = 0;
        const bool known =
            std::any_of(infos, infos + count, [](const auto& info) { return info.codepoint != 0; });
        std::size_t at = start;
        const bool hidden = KindOf(CharAt(m_text, at)) == CharKind::Invisible;
        for (unsigned i = 0; i < count; ++i) {
            // A mark that the face lacks is left out; a letter that none has is a box.
            if (!hidden && (infos[i].codepoint != 0 || !known))
                m_shaped.glyphs.push_back({face, infos[i].codepoint, Whole(pen + positions[i].x_offset),
                                           -Whole(positions[i].y_offset)});
            pen += positions[i].x_advance;
        }
        m_shaped.clusters.push_back({static_cast<int>(start), static_cast<int>(end - start),
                                     TakeWidths(start, end, Whole(pen)), first,
                                     static_cast<int>(m_shaped.glyphs.size()) - first});
        m_shaped.width += m_shaped.clusters.back().width;
    }

    // Of plain characters what they measure by themselves, whatever shaping made of them: so the parts of a text measure
    // what the whole does. Gives the width of the cluster.
    int TakeWidths(std::size_t start, std::size_t end, int shaped) {
        int width = 0;
        for (std::size_t at = start; at < end;) {
            const std::size_t from = at;
            const char32_t c = CharAt(m_text, at);
            const CharKind kind = KindOf(c);
            if (kind == CharKind::Shaped) {
                m_shaped.joins = true;
                std::fill(m_shaped.widths.begin() + static_cast<std::ptrdiff_t>(start),
                          m_shaped.widths.begin() + static_cast<std::ptrdiff_t>(end), 0);
                m_shaped.widths[start] = width = std::max(shaped, 0);
                break;
            }
            if (kind != CharKind::Plain) continue;
            if (from > start) m_shaped.ends[from - 1] = 1;
            width += m_shaped.widths[from] = m_faces.PlaceOf(c).advance;
        }
        m_shaped.ends[end - 1] = 1;
        return width;
    }

    static int Whole(int position) { return (position + 32) >> 6; }

    FaceChain& m_faces;
    const std::u16string_view m_text;
    const std::unique_ptr<hb_buffer_t, BufferDeleter> m_buffer;
    ShapedText m_shaped;
};

} // namespace

ShapedText ShapeText(FaceChain& faces, std::u16string_view text) { return Shaper(faces, text).Run(); }

} // namespace plat
