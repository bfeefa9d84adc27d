#include "Platform/host/fonts.h"

#include "Platform/host/facechain.h"
#include "Platform/host/faults.h"
#include "Platform/host/glyphs.h"
#include "Platform/host/textshape.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <string>

namespace plat {
namespace {

// --- Widths of single units ---------------------------------------------------------------------------------------

// What every unit of the basic plane measures and paints as by itself. Units are filled in at first use, under TextLock,
// and read without it: the advance is written last.
class UnitTable {
public:
    static constexpr std::uint16_t kUnknown = 0xFFFF;
    static constexpr std::uint16_t kShaped = 0xFFFE; // not by itself: the text it stands in is shaped
    static constexpr std::uint16_t kWidest = 0xFFFD;

    struct Page {
        static constexpr unsigned kUnits = 128;
        std::array<std::atomic<std::uint16_t>, kUnits> advance;
        std::array<std::uint16_t, kUnits> glyph{};
        std::array<std::uint8_t, kUnits> face{};
        Page() {
            for (auto& unit : advance) unit.store(kUnknown, std::memory_order_relaxed);
        }
    };

    ~UnitTable() {
        for (auto& page : m_pages) delete page.load(std::memory_order_relaxed);
    }

    // Null when nothing of it is known.
    const Page* PageOf(char16_t unit) const {
        return m_pages[unit / Page::kUnits].load(std::memory_order_acquire);
    }
    static unsigned PlaceOn(char16_t unit) { return unit % Page::kUnits; }

    // Under TextLock.
    std::uint16_t Fill(FaceChain& faces, char16_t unit) {
        std::atomic<Page*>& slot = m_pages[unit / Page::kUnits];
        Page* page = slot.load(std::memory_order_relaxed);
        if (!page) slot.store(page = new Page, std::memory_order_release);
        const unsigned i = PlaceOn(unit);
        std::uint16_t advance = kShaped;
        if (StandsAlone(unit)) {
            const CharPlace place = faces.PlaceOf(unit);
            page->glyph[i] = static_cast<std::uint16_t>(place.glyph);
            page->face[i] = static_cast<std::uint8_t>(place.face);
            advance = static_cast<std::uint16_t>(std::clamp(place.advance, 0, int{kWidest}));
        }
        page->advance[i].store(advance, std::memory_order_release);
        return advance;
    }

private:
    static bool StandsAlone(char16_t unit) {
        if (unit >= 0xD800 && unit < 0xE000) return false;
        const CharKind kind = KindOf(unit);
        return (kind == CharKind::Plain || kind == CharKind::Invisible) && !NeedsOrder(unit);
    }

    std::array<std::atomic<Page*>, 0x10000 / Page::kUnits> m_pages{};
};

// --- A font of the system -----------------------------------------------------------------------------------------

class SystemTextFont : public TextFont {
public:
    // Under TextLock.
    explicit SystemTextFont(const LOGFONTW& description) : m_faces(new FaceChain(description)) {
        m_metrics = m_faces->Metrics();
    }
    ~SystemTextFont() override {
        std::lock_guard lock(TextLock());
        m_faces.reset();
    }
    bool IsEmpty() const { return m_faces->IsEmpty(); }

    // No text is taken for wider than the farthest pixel: so plain whole numbers do.
    long long Measure(std::u16string_view text, long long limit, int* fit, int* widths) override {
        Row row{text.data(), text.data() + text.size(), text.data(), 0, NearPixel(limit), widths};
        while (row.at != row.end) {
            if (const UnitTable::Page* page = m_units.PageOf(*row.at))
                widths ? Walk<true>(row, *page) : Walk<false>(row, *page);
            if (row.at != row.end && AdvanceOf(*row.at) == UnitTable::kShaped)
                return MeasureShaped(text, limit, fit, widths);
        }
        if (fit) *fit = static_cast<int>(row.fits - text.data());
        return row.width;
    }

    void Paint(const TextPainting& painting) override {
        std::lock_guard lock(TextLock());
        static std::vector<StandingGlyph>& glyphs = *new std::vector<StandingGlyph>;
        glyphs.clear();
        const RECT clip = Moved(painting.clip, painting.context.origin.x, painting.context.origin.y);
        Stand stand{
            glyphs, clip.left - 4LL * m_metrics.em - m_metrics.widest, clip.right + 4LL * m_metrics.em,
            painting.x + static_cast<long long>(painting.context.origin.x),
            NearPixel(painting.y + static_cast<long long>(painting.context.origin.y) + m_metrics.ascent)};
        if (!StandUnits(painting, stand)) {
            glyphs.clear();
            stand.pen = painting.x + static_cast<long long>(painting.context.origin.x);
            StandShaped(painting, stand);
        }
        PaintGlyphs(painting.context, clip, glyphs, painting.color);
    }

private:
    struct TextHash { // a text is looked for without a copy of it
        using is_transparent = void;
        std::size_t operator()(std::u16string_view text) const {
            return std::hash<std::u16string_view>{}(text);
        }
    };

    static constexpr std::size_t kLongestKept = 256;
    static constexpr std::size_t kMostKept = 64;

    // The glyphs of a text that may show, and the pen.
    struct Stand {
        std::vector<StandingGlyph>& glyphs;
        long long from;
        long long to;
        long long pen;
        int base;

        void Add(SizedFace& face, FT_UInt glyph, int x, int y) {
            if (pen >= from && pen < to)
                glyphs.push_back({&face, glyph, static_cast<int>(pen) + x, base + y});
        }
    };

    // A text on its way through the units that are measured by themselves.
    struct Row {
        const char16_t* at;
        const char16_t* end;
        const char16_t* fits; // the end of what fits
        int width;            // of what stands before `at`
        int limit;
        int* widths;
    };

    // On to the first unit that is of another page or not known.
    template<bool toldWidths>
    static void Walk(Row& row, const UnitTable::Page& page) {
        const char16_t first = *row.at - UnitTable::PlaceOn(*row.at);
        const char16_t* at = row.at;
        const char16_t* fits = row.fits;
        int width = row.width;
        int* told = row.widths;
        // So many can't run over.
        const char16_t* end =
            at + std::min<std::ptrdiff_t>(row.end - at, kFarthestPixel / UnitTable::kWidest);
        for (; at != end; ++at) {
            const unsigned place = static_cast<unsigned>(*at) - first;
            if (place >= UnitTable::Page::kUnits) break;
            const unsigned advance = page.advance[place].load(std::memory_order_acquire);
            if (advance >= UnitTable::kShaped) break;
            width += static_cast<int>(advance);
            if (width <= row.limit) fits = at + 1;
            if (toldWidths) *told++ = width;
        }
        row = {at, row.end, fits, std::min(width, kFarthestPixel), row.limit, told};
    }

    std::uint16_t AdvanceOf(char16_t unit) {
        const UnitTable::Page* page = m_units.PageOf(unit);
        const std::uint16_t known =
            page ? page->advance[UnitTable::PlaceOn(unit)].load(std::memory_order_acquire)
                 : UnitTable::kUnknown;
        if (known != UnitTable::kUnknown) return known;
        std::lock_guard lock(TextLock());
        return m_units.Fill(*m_faces, unit);
    }

    // False when the text has to be shaped.
    bool StandUnits(const TextPainting& painting, Stand& stand) {
        const std::u16string_view text = painting.text;
        for (std::size_t i = 0; i < text.size(); ++i) {
            const UnitTable::Page* page = m_units.PageOf(text[i]);
            const unsigned at = UnitTable::PlaceOn(text[i]);
            std::uint16_t advance =
                page ? page->advance[at].load(std::memory_order_relaxed) : UnitTable::kUnknown;
            if (advance == UnitTable::kUnknown) {
                advance = m_units.Fill(*m_faces, text[i]);
                page = m_units.PageOf(text[i]);
            }
            if (advance == UnitTable::kShaped) return false;
            if (page->face[at] != CharPlace::kNone)
                stand.Add(m_faces->At(page->face[at]), page->glyph[at], 0, 0);
            stand.pen += painting.spacing ? painting.spacing[i] : advance;
        }
        return true;
    }

    void StandShaped(const TextPainting& painting, Stand& stand) {
        const ShapedText& shaped = Shaped(painting.text);
        for (const ShapedCluster& cluster : shaped.clusters) {
            for (int i = 0; i < cluster.glyphs; ++i) {
                const ShapedGlyph& glyph =
                    shaped.glyphs[static_cast<std::size_t>(cluster.firstGlyph) + static_cast<std::size_t>(i)];
                stand.Add(m_faces->At(glyph.face), glyph.glyph, glyph.x, glyph.y);
            }
            int width = cluster.width;
            if (painting.spacing) {
                width = 0;
                for (int i = 0; i < cluster.count; ++i)
                    width = NearPixel(static_cast<long long>(width) + painting.spacing[cluster.start + i]);
            }
            stand.pen += width;
        }
    }

    // Stays until the next call. Under TextLock.
    const ShapedText& Shaped(std::u16string_view text) {
        if (const auto known = m_shaped.find(text); known != m_shaped.end()) return known->second;
        if (text.size() > kLongestKept) return m_longText = ShapeText(*m_faces, text);
        if (m_shaped.size() >= kMostKept) m_shaped.clear();
        return m_shaped[std::u16string(text)] = ShapeText(*m_faces, text);
    }

    long long MeasureShaped(std::u16string_view text, long long limit, int* fit, int* widths) {
        std::lock_guard lock(TextLock());
        const ShapedText& shaped = Shaped(text);
        const long long whole = shaped.width;
        long long width = 0;
        std::size_t fits = 0;
        bool over = false;
        for (std::size_t i = 0; i < text.size(); ++i) {
            width += shaped.widths[i];
            over = over || width > limit;
            if (!over && shaped.ends[i]) fits = i + 1;
            if (widths) widths[i] = NearPixel(width);
        }
        if (fit)
            *fit =
                static_cast<int>(shaped.joins && over ? FitOfJoined(text, shaped.ends, limit, fits) : fits);
        return whole;
    }

    // Where letters join, those that are cut off may look and measure differently at the end: so what fits is tried.
    std::size_t FitOfJoined(std::u16string_view text, const std::vector<char>& endsOfWhole, long long limit,
                            std::size_t fits) {
        constexpr int kSteps = 16;
        // A copy, since shaping another text ends what was shaped last.
        const std::vector<char> ends(endsOfWhole.begin(), endsOfWhole.end());
        for (int tried = 0; fits > 0; ++tried) {
            if (Shaped(text.substr(0, fits)).width <= limit) return fits;
            fits = tried < kSteps ? fits - 1 : fits / 2;
            while (fits > 0 && !ends[fits - 1]) --fits;
        }
        return 0;
    }

    UnitTable m_units;
    std::unique_ptr<FaceChain> m_faces;
    std::unordered_map<std::u16string, ShapedText, TextHash, std::equal_to<>> m_shaped;
    ShapedText m_longText;
};

// --- The fonts there are ------------------------------------------------------------------------------------------

// What of a description makes another font; lines under and through are drawn by whoever paints.
struct FontKey {
    int height;
    FaceStyle style;
    std::array<WCHAR, LF_FACESIZE> name{}; // zeros behind its end

    explicit FontKey(const LOGFONTW& description)
        : height(BoundedHeight(description.lfHeight)), style(StyleOf(description)) {
        for (std::size_t i = 0; i < name.size() && description.lfFaceName[i]; ++i)
            name[i] = description.lfFaceName[i];
    }
    bool operator==(const FontKey&) const = default;
};

struct KnownFont {
    FontKey key;
    std::shared_ptr<TextFont> font;
};

struct Fonts {
    std::mutex lock;
    std::vector<KnownFont> known; // a suite uses few: a look along them is the shortest way
};
Fonts& TheFonts() {
    static Fonts& fonts = *new Fonts;
    return fonts;
}

std::shared_ptr<TextFont> MakeFont(const LOGFONTW& description) {
    std::unique_lock lock(TextLock());
    auto font = std::make_shared<SystemTextFont>(description);
    lock.unlock();
    if (font->IsEmpty())
        return MakeFixedFont(description); // a system without fonts: bars are better than nothing
    return font;
}

// The font of that description, found or made; the same description gives the same font while one of it lives. Under the
// lock of the fonts.
std::shared_ptr<TextFont> FindTextFont(Fonts& fonts, const LOGFONTW& description) {
    constexpr std::size_t kMostKept = 128;
    const FontKey key(description);
    const auto known = std::ranges::find(fonts.known, key, &KnownFont::key);
    if (known != fonts.known.end()) return known->font;
    if (fonts.known.size() >= kMostKept)
        std::erase_if(fonts.known, [](const KnownFont& k) { return k.font.use_count() == 1; });
    std::shared_ptr<TextFont> made = MakeFont(description);
    fonts.known.push_back({key, made});
    return made;
}

std::atomic<bool> g_fixedWidth{false};
[[maybe_unused]] const bool g_registered = (AtReset([] { PlatUseFixedWidthText(false); }), true);

} // namespace

std::mutex& TextLock() {
    static std::mutex& lock = *new std::mutex;
    return lock;
}

namespace {

TextFont& FixedFontOf(const GdiFont& font) {
    thread_local std::shared_ptr<TextFont> last;
    last = MakeFixedFont(font.data);
    return *last;
}

TextFont& FoundFontOf(GdiFont& font) {
    Fonts& fonts = TheFonts();
    std::lock_guard lock(fonts.lock);
    if (!font.face) {
        std::shared_ptr<TextFont> found = FindTextFont(fonts, font.data);
        font.text.store(found.get(), std::memory_order_release);
        font.face = std::move(found);
    }
    return *static_cast<TextFont*>(font.text.load(std::memory_order_relaxed));
}

} // namespace

TextFont& TextFontOf(GdiFont& font) {
    if (g_fixedWidth.load(std::memory_order_relaxed)) return FixedFontOf(font);
    void* text = font.text.load(std::memory_order_acquire);
    return text ? *static_cast<TextFont*>(text) : FoundFontOf(font);
}

} // namespace plat

void PlatUseFixedWidthText(bool on) { plat::g_fixedWidth.store(on, std::memory_order_relaxed); }
