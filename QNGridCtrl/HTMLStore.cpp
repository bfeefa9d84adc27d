#include "QNGridCtrl/HTMLStore.h"

#include "Platform/memory.h"

#include <algorithm>
#include <cstring>
#include <utility>

HTMLTexts::HTMLTexts(HTMLTexts&& other) noexcept
    : m_blocks(std::exchange(other.m_blocks, {})), m_free(std::exchange(other.m_free, nullptr)),
      m_left(std::exchange(other.m_left, 0)), m_nextBlock(std::exchange(other.m_nextBlock, kFirstBlock)) {}

HTMLTexts& HTMLTexts::operator=(HTMLTexts&& other) noexcept {
    std::swap(m_blocks, other.m_blocks);
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
    if (needed > m_left) {
        const std::size_t size = std::max(m_nextBlock, needed);
        m_nextBlock = std::min(m_nextBlock * 2, kLargestBlock);
        auto* block = static_cast<WCHAR*>(LocalAlloc(LMEM_FIXED, size * sizeof(WCHAR)));
        if (!block) return nullptr;
        m_blocks.push_back(block);
        m_free = block;
        m_left = size;
    }
    WCHAR* place = m_free;
    std::copy(text.begin(), text.end(), place);
    place[text.size()] = 0;
    m_free += needed;
    m_left -= needed;
    return place;
}

void HTMLTexts::Clear() {
    for (WCHAR* block : m_blocks) LocalFree(block);
    m_blocks.clear();
    m_free = nullptr;
    m_left = 0;
    m_nextBlock = kFirstBlock;
}

HTMLFonts::HTMLFonts(HTMLFonts&& other) noexcept : m_fonts(std::exchange(other.m_fonts, {})) {}

HTMLFonts& HTMLFonts::operator=(HTMLFonts&& other) noexcept {
    std::swap(m_fonts, other.m_fonts);
    return *this;
}

HFONT HTMLFonts::Get(const LOGFONTW& style) {
    const std::size_t first = m_fonts.size() > kRemembered ? m_fonts.size() - kRemembered : 0;
    for (std::size_t i = m_fonts.size(); i-- > first;)
        if (std::memcmp(&m_fonts[i].style, &style, sizeof style) == 0) return m_fonts[i].font;
    HFONT font = CreateFontIndirectW(&style);
    if (m_fonts.empty()) m_fonts.reserve(kRemembered);
    if (font) m_fonts.push_back({style, font});
    return font;
}

void HTMLFonts::Clear() {
    for (const Font& font : m_fonts) DeleteObject(font.font);
    m_fonts.clear();
}
