#include "QNGridCtrl/HTMLStore.h"

#include "Platform/memory.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <type_traits>
#include <unordered_map>
#include <utility>

HTMLTexts::HTMLTexts(HTMLTexts&& other) noexcept
    : m_last(std::exchange(other.m_last, nullptr)), m_free(std::exchange(other.m_free, nullptr)),
      m_left(std::exchange(other.m_left, 0)), m_nextBlock(std::exchange(other.m_nextBlock, kFirstBlock)) {}

HTMLTexts& HTMLTexts::operator=(HTMLTexts&& other) noexcept {
    std::swap(m_last, other.m_last);
    std::swap(m_free, other.m_free);
    std::swap(m_left, other.m_left);
    std::swap(m_nextBlock, other.m_nextBlock);
    return *this;
}

void HTMLTexts::Expect(std::size_t characters) {
    m_nextBlock = std::clamp(characters, m_nextBlock, kLargestBlock);
}

const WCHAR* HTMLTexts::Add(std::u16string_view text) {
    const std::size_t needed = text.size() + 1;
    if (needed > m_left && !AddBlock(needed)) return nullptr;
    WCHAR* place = m_free;
    std::copy(text.begin(), text.end(), place);
    place[text.size()] = 0;
    m_free += needed;
    m_left -= needed;
    return place;
}

bool HTMLTexts::AddBlock(std::size_t needed) {
    const std::size_t size = std::max(m_nextBlock, needed);
    m_nextBlock = std::min(m_nextBlock * 2, kLargestBlock);
    void* memory = LocalAlloc(LMEM_FIXED, sizeof(Block) + size * sizeof(WCHAR));
    if (!memory) return false;
    m_last = new (memory) Block{m_last};
    m_free = reinterpret_cast<WCHAR*>(m_last + 1);
    m_left = size;
    return true;
}

void HTMLTexts::Clear() {
    while (m_last) LocalFree(std::exchange(m_last, m_last->former));
    m_free = nullptr;
    m_left = 0;
    m_nextBlock = kFirstBlock;
}

// --- Fonts --------------------------------------------------------------------------------------------------------

struct HTMLSharedFont {
    const LOGFONTW& style;
    HFONT font;
    unsigned parsers; // that have it
};

namespace {

using StyleWords = std::array<std::uint32_t, sizeof(LOGFONTW) / sizeof(std::uint32_t)>;
static_assert(std::has_unique_object_representations_v<LOGFONTW>);

// No operation of the host is called under the lock: a thread may be ended in one.
class SharedFonts {
public:
    HTMLSharedFont* Take(const LOGFONTW& style) {
        if (HTMLSharedFont* known = TakeKnown(style)) return known;
        const HFONT made = CreateFontIndirectW(&style);
        if (!made) return nullptr;
        HTMLSharedFont& font = Add(style, made);
        if (font.font != made) DeleteObject(made); // another thread was faster
        return &font;
    }

    void GiveBack(const std::vector<HTMLSharedFont*>& fonts) {
        std::vector<HFONT> ended;
        {
            std::lock_guard lock(m_lock);
            for (HTMLSharedFont* font : fonts)
                if (--font->parsers == 0) ++m_unused;
            if (m_unused > kMostUnused) ended = RemoveUnused();
        }
        for (const HFONT font : ended) DeleteObject(font);
    }

private:
    static constexpr std::size_t kMostUnused = 32;

    struct Hash {
        std::size_t operator()(const LOGFONTW& style) const {
            const auto words = std::bit_cast<StyleWords>(style);
            std::uint64_t hash = 0;
            for (const std::size_t i :
                 {0, 4, 5, 6, 7, 8, 9, 10}) // height, weight, switches, the face's front
                hash = (hash ^ words[i]) * 0x9E3779B97F4A7C15;
            return hash ^ hash >> 32;
        }
    };
    struct Same {
        bool operator()(const LOGFONTW& a, const LOGFONTW& b) const {
            return std::memcmp(&a, &b, sizeof a) == 0;
        }
    };

    HTMLSharedFont* TakeKnown(const LOGFONTW& style) {
        std::lock_guard lock(m_lock);
        const auto known = m_fonts.find(style);
        if (known == m_fonts.end()) return nullptr;
        if (known->second->parsers++ == 0) --m_unused;
        return known->second.get();
    }
    HTMLSharedFont& Add(const LOGFONTW& style, HFONT made) {
        std::lock_guard lock(m_lock);
        const auto [place, added] = m_fonts.try_emplace(style);
        if (added) place->second.reset(new HTMLSharedFont{place->first, made, 0});
        HTMLSharedFont& font = *place->second;
        if (font.parsers++ == 0 && !added) --m_unused;
        return font;
    }
    std::vector<HFONT> RemoveUnused() {
        std::vector<HFONT> removed;
        std::erase_if(m_fonts, [&](const auto& entry) {
            if (entry.second->parsers == 0) removed.push_back(entry.second->font);
            return entry.second->parsers == 0;
        });
        m_unused = 0;
        return removed;
    }

    std::mutex m_lock;
    std::unordered_map<LOGFONTW, std::unique_ptr<HTMLSharedFont>, Hash, Same> m_fonts;
    std::size_t m_unused = 0;
};

// Stays to the end: parsers in static objects give back late.
SharedFonts& TheFonts() {
    static SharedFonts& fonts = *new SharedFonts;
    return fonts;
}

} // namespace

HTMLFonts::HTMLFonts(HTMLFonts&& other) noexcept : m_fonts(std::exchange(other.m_fonts, {})) {}

HTMLFonts& HTMLFonts::operator=(HTMLFonts&& other) noexcept {
    std::swap(m_fonts, other.m_fonts);
    return *this;
}

HFONT HTMLFonts::Get(const LOGFONTW& style) {
    for (std::size_t i = m_fonts.size(); i-- > 0;)
        if (std::memcmp(&m_fonts[i]->style, &style, sizeof style) == 0) return m_fonts[i]->font;
    if (m_fonts.size() >= kMost) return m_fonts.back()->font;
    HTMLSharedFont* font = TheFonts().Take(style);
    if (!font) return nullptr;
    constexpr std::size_t kUsual = 4;
    if (m_fonts.empty()) m_fonts.reserve(kUsual);
    m_fonts.push_back(font);
    return font->font;
}

void HTMLFonts::Clear() {
    if (m_fonts.empty()) return;
    TheFonts().GiveBack(m_fonts);
    m_fonts.clear();
}
