// The rows of a text field: where each begins, and where in it every unit stands.
#pragma once

#include "Platform/gdi.h"

#include <string>
#include <vector>

namespace plat {

class EditLayout {
public:
    struct Row {
        int start;
        int end;  // of what is shown
        int next; // start of the row below
    };

    // What is shown of a text, unit by unit: a password's character, blanks for what has no shape.
    static std::u16string Shown(std::u16string_view text, WCHAR password);

    // Measures `shown` in the font of the context. Rows end at line ends when `multiLine`, and wrap behind blanks and
    // hyphens at `width` pixels, with a width of 0 nowhere.
    void Build(HDC hdc, std::u16string_view text, std::u16string_view shown, bool multiLine, int width);

    // There is always one; positions beyond the text are at its end.
    int RowCount() const { return static_cast<int>(m_Rows.size()); }
    const Row& At(int row) const { return m_Rows[static_cast<std::size_t>(row)]; }
    int RowOf(int position) const;
    // Pixels from the left of its row, where the caret stands before the character there; at the end of a row behind the
    // last one.
    int LeftOf(int position) const;
    int WidthOf(int row) const { return Span(At(row).start, At(row).end); }
    // The place in a row that lies nearest.
    int PositionAt(int row, int x) const;
    // Where a part of a row is seen: in one piece, or in several if the row goes both ways.
    struct Piece {
        int left;
        int right;
    };
    std::vector<Piece> PiecesOf(int from, int to) const;

private:
    void Measure(HDC hdc, std::u16string_view shown);
    void Wrap(std::u16string_view text, int start, int end, int next, int width);
    int Span(int from, int to) const;
    int EndOfCharacter(int start, int end) const;
    Piece PlaceOf(int start, int end) const;

    std::vector<Row> m_Rows;
    std::vector<int> m_Widths; // of every unit, as the next three
    std::vector<int> m_Lefts;  // in its row
    std::vector<char> m_FromRight;
    std::vector<bool> m_Starts; // a character begins with it
};

} // namespace plat
