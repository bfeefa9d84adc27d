// What the tokens of one parser point to: their texts in a few large blocks, and one font for each style.
#pragma once

#include "Platform/gdi.h"

#include <array>
#include <string_view>
#include <vector>

// Texts that live until Clear, each with a zero behind it.
class QN_API HTMLTexts {
public:
    HTMLTexts() = default;
    ~HTMLTexts() { Clear(); }
    HTMLTexts(HTMLTexts&& other) noexcept;
    HTMLTexts& operator=(HTMLTexts&& other) noexcept;

    // Room for about so many characters at once.
    void Expect(std::size_t characters);
    // Null without memory.
    const WCHAR* Add(std::u16string_view text);
    void Clear();

private:
    static constexpr std::size_t kFirstBlock = 64; // characters: a short cell needs no more
    static constexpr std::size_t kLargestBlock = 4096;

    std::vector<WCHAR*> m_blocks;
    WCHAR* m_free = nullptr;
    std::size_t m_left = 0;
    std::size_t m_nextBlock = kFirstBlock;
};

// Fonts that live until Clear. A style asked for again while it is among the last ones gets the same font.
class QN_API HTMLFonts {
public:
    HTMLFonts() = default;
    ~HTMLFonts() { Clear(); }
    HTMLFonts(HTMLFonts&& other) noexcept;
    HTMLFonts& operator=(HTMLFonts&& other) noexcept;

    // Null when the host can't make it.
    HFONT Get(const LOGFONTW& style);
    void Clear();

private:
    static constexpr std::size_t kRemembered = 4;
    struct Font {
        LOGFONTW style;
        HFONT font;
    };

    std::vector<Font> m_fonts;
};
