// The faces one font takes its characters from: its own, then those of the system that have what it lacks. Under
// TextLock.
#pragma once

#include "Platform/host/fontfaces.h"
#include "Platform/host/fonts.h"

#include <string_view>

namespace plat {

// What a character is to the layout of text.
enum class CharKind {
    Plain,     // one glyph of its own width, whatever stands beside it
    Mark,      // stands on the character before, without width
    Invisible, // controls and format characters: neither glyph nor width
    Shaped,    // of a script whose letters change with their neighbours
};
CharKind KindOf(char32_t c);
// Written from the right, or steering the direction: a text that has one is put in order first.
bool NeedsOrder(char32_t c);
// The character that begins at a unit, and past it; half a pair is U+FFFD.
char32_t CharAt(std::u16string_view text, std::size_t& at);

struct CharPlace {
    int advance = 0;
    FT_UInt glyph = 0;
    int face = kNone;
    static constexpr int kNone = 255; // nothing to paint
};

// What a description asks of its faces.
FaceStyle StyleOf(const LOGFONTW& description);

class FaceChain {
public:
    // Without any face when the system has none.
    explicit FaceChain(const LOGFONTW& description);

    // Of a face, in its own units.
    struct Cell {
        int em;
        int ascent;
        int descent;
    };

    bool IsEmpty() const { return m_faces.empty(); }
    const FontMetrics& Metrics() const { return m_metrics; }
    SizedFace& At(int face) { return *m_faces[static_cast<std::size_t>(face)].sized; }

    // Of a character by itself. One that no face has is a box of the first face.
    CharPlace PlaceOf(char32_t c);
    // The face for a character with the marks on it.
    int FaceFor(const char32_t* characters, std::size_t count);

private:
    struct Member {
        FaceFile* file;
        std::unique_ptr<SizedFace> sized;
    };

    void TakeMetrics(const Cell& cell, int height);
    int Add(FaceFile& file);
    bool Has(int face, const char32_t* characters, std::size_t count);
    CharPlace Find(char32_t c);

    FaceStyle m_style;
    FontMetrics m_metrics;
    std::vector<Member> m_faces;
    std::unordered_map<char32_t, CharPlace> m_known;
};

} // namespace plat
