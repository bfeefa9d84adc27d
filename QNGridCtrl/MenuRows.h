// The rows of a popup menu: read from its data, measured, painted, found.
#pragma once

#include "Platform/gdi.h"
#include "Platform/menus.h"

#include <string>
#include <vector>

struct MenuRow {
    UINT flags;
    UINT id;
    HMENU subMenu;
    std::u16string text; // with its "&"; empty for an item that its owner would draw, whose text nobody knows
    std::u16string keys{}; // the same by keyboard: what stood behind a tab stop
    WCHAR letter = 0;      // that "&" marks, in upper case; else the first one
    bool marked = false;   // by "&"
    int top = 0;           // pixels from the first row
    int height = 0;

    bool IsSeparator() const { return (flags & MF_SEPARATOR) != 0; }
    bool CanChoose() const { return !(flags & (MF_SEPARATOR | MF_GRAYED | MF_DISABLED)); }
};

class QN_API MenuRows {
public:
    explicit MenuRows(HMENU menu);

    // As wide as the longest row, within `most`; rows that are longer wrap. Gives the size of all in pixels.
    SIZE Measure(int most);
    void Paint(HDC hdc, const RECT& place, int scrolled, int highlighted) const;

    int Count() const { return static_cast<int>(m_rows.size()); }
    const MenuRow& At(int index) const { return m_rows[static_cast<std::size_t>(index)]; }
    int RowAt(int y) const; // -1 for none
    // The next row that can be chosen, from `from` on round the end; -1 for none.
    int Next(int from, int step) const;
    // The next row behind `from` that the letter marks; where none is marked so, that begins with it. *only: there is but
    // one, and it is marked.
    int ByLetter(WCHAR letter, int from, bool* only) const;

private:
    void PaintRow(HDC hdc, const MenuRow& row, const RECT& place, bool highlighted) const;

    std::vector<MenuRow> m_rows;
    int m_keysWidth = 0; // right of the texts, with the gap between
    int m_arrowWidth = 0;
};
