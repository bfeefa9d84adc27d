// Builds a mark-up text in a buffer of fixed size. Nothing is written past its end, and no tag is ever cut: a piece that
// doesn't fit is left out.
#pragma once

#include "Platform/types.h"

#include <cstddef>
#include <string_view>

class QN_API MarkupText {
public:
    // The buffer is the caller's and becomes empty; `capacity` counts the terminator and is at least 1.
    MarkupText(WCHAR* pszBuffer, std::size_t capacity);

    MarkupText& Add(std::u16string_view markup);
    MarkupText& Format(const WCHAR* pszFormat, ...); // as wsprintfW
    // What a user wrote, so that it shows letter by letter: "a<B>b" makes no tag. Takes at most `limit` characters of the
    // buffer; of a longer text the rest becomes an ellipsis. Control characters become blanks. Gives whether all shows as
    // it is.
    bool AddUserText(std::u16string_view text, std::size_t limit);

    const WCHAR* Text() const { return m_pszBuffer; }
    std::size_t Length() const { return m_length; }

private:
    WCHAR* m_pszBuffer;
    std::size_t m_capacity;
    std::size_t m_length = 0;
};
