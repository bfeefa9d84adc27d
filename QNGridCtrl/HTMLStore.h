// What the tokens of one parser point to: their texts in a few large blocks, and their fonts, which parsers share.
#pragma once

#include "Platform/gdi.h"

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

    struct Block { // the characters follow
        Block* former;
    };

    bool AddBlock(std::size_t needed);

    Block* m_last = nullptr;
    WCHAR* m_free = nullptr;
    std::size_t m_left = 0;
    std::size_t m_nextBlock = kFirstBlock;
};

struct HTMLSharedFont;

// Fonts that live until Clear. The same style has the same font in all parsers; a few that no text uses any more wait for
// the next one. The last style beyond kMost stands for all that follow, so that no text takes all handles there are.
class QN_API HTMLFonts {
public:
    static constexpr std::size_t kMost = 256;

    HTMLFonts() = default;
    ~HTMLFonts() { Clear(); }
    HTMLFonts(HTMLFonts&& other) noexcept;
    HTMLFonts& operator=(HTMLFonts&& other) noexcept;

    // Null when the host can't make it.
    HFONT Get(const LOGFONTW& style);
    void Clear();

private:
    std::vector<HTMLSharedFont*> m_fonts;
};
