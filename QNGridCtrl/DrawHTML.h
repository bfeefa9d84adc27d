// Measures and paints parsed mark-up in a rectangle.
//
// The same walk does both, so that what is measured is what is painted, to the pixel. Text hangs from the top of its
// line. Lines break behind a blank, hyphen, semicolon or comma, else inside the word; see HTMLParser.h for the tags.
#pragma once

#include "Platform/gdi.h"
#include "QNGridCtrl/HTMLParser.h"

#include <vector>

inline constexpr COLORREF HTML_NO_COLOR = 0xFFB43480; // the system's colour of selected text
inline constexpr DWORD HTML_SELECTED = 1;
inline constexpr DWORD HTML_KEEP_COLORS = 8; // although selected
inline constexpr DWORD HTML_MEASURE = 0x400; // DT_CALCRECT: nothing is painted

// Something in the text that can be tapped: a link, or an image by the name of its source.
struct tagHOTSPOT {
    static constexpr std::size_t kCapacity = 260;

    RECT rect; // from the top left of the rectangle that the text was drawn in
    WCHAR szText[kCapacity];
};
using HTMLHotSpots = std::vector<tagHOTSPOT>;

// Lays the tokens out in `rect`. While measuring, `rect` comes back with the size; otherwise it comes back as it was.
//   wrapIndent  pixels that every line behind the first one is moved in
//   hotSpots    refilled when not null; images count only while painting
//   bNoWrap     a single line: nothing wraps, what is too long is clipped
// Main thread; it leaves the context's text colour as the last token set it and everything else as it was.
QN_API void DrawHTML(HDC hdc, RECT& rect, WORD wrapIndent, CHTMLParser& parser, HTMLHotSpots* hotSpots,
                     DWORD flags, COLORREF selectionTextColor, bool bNoWrap);
