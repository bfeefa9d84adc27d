// What of a grid is selected, and the rules that make a selection of what was asked for.
#pragma once

#include "QNGridCtrl/HTMLGridCells.h"

// Bounds, all included; GRID_NONE in all of them when nothing is selected.
struct QN_API HTMLGridSelection {
    WORD left = GRID_NONE;
    WORD top = GRID_NONE;
    WORD right = GRID_NONE;
    WORD bottom = GRID_NONE;

    bool IsEmpty() const { return top == GRID_NONE; }
    bool Holds(WORD col, WORD row) const {
        return !IsEmpty() && col >= left && col <= right && row >= top && row <= bottom;
    }
    friend bool operator==(const HTMLGridSelection&, const HTMLGridSelection&) = default;

    // Rows or columns of the grid go: what lies behind closes up, what has nothing left is empty.
    void CloseRows(WORD first, WORD count);
    void CloseCols(WORD first, WORD count);
};

inline constexpr WORD GRID_SELECT_CELLS = 0;
inline constexpr WORD GRID_SELECT_ROWS = 1;
inline constexpr WORD GRID_SELECT_COLS = 2;
inline constexpr WORD GRID_SELECT_NOTHING = 3;

struct QN_API HTMLGridSelectionRules {
    WORD mode = GRID_SELECT_CELLS;
    bool multi = false;     // more than one row, column or cell
    bool rowSelect = false; // whole rows in place of cells
    WORD cols = 0;
    WORD rows = 0;
    WORD fixedCols = 0;
    WORD fixedRows = 0;

    bool SelectsRows() const { return mode == GRID_SELECT_ROWS || (mode == GRID_SELECT_CELLS && rowSelect); }
    // GRID_NONE becomes 0, what is behind the end the last, and the order is put right.
    HTMLGridSelection Bounded(HTMLGridSelection asked) const;
    // What bounds become in this mode. Its newest cell is the right bottom one: that stays where only one may be.
    HTMLGridSelection Apply(HTMLGridSelection bounds) const;
};
