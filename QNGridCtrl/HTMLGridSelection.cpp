#include "QNGridCtrl/HTMLGridSelection.h"

#include <algorithm>

namespace {

WORD Bound(WORD index, WORD count) {
    if (index == GRID_NONE || count == 0) return 0;
    return std::min(index, static_cast<WORD>(count - 1));
}

WORD Last(WORD count) { return static_cast<WORD>(count > 0 ? count - 1 : 0); }

// The bounds `low` to `high` without those that go.
bool CloseBounds(WORD& low, WORD& high, WORD first, WORD count) {
    const int end = first + count;
    const int newLow = low < first ? low : std::max(low - count, int{first});
    const int newHigh = high < first ? high : std::max(high - count, first - 1);
    const bool left = low < first || high >= end;
    low = static_cast<WORD>(newLow);
    high = static_cast<WORD>(newHigh);
    return left;
}

} // namespace

void HTMLGridSelection::CloseRows(WORD first, WORD count) {
    if (!IsEmpty() && !CloseBounds(top, bottom, first, count)) *this = {};
}

void HTMLGridSelection::CloseCols(WORD first, WORD count) {
    if (!IsEmpty() && !CloseBounds(left, right, first, count)) *this = {};
}

HTMLGridSelection HTMLGridSelectionRules::Bounded(HTMLGridSelection asked) const {
    const auto [left, right] = std::minmax({Bound(asked.left, cols), Bound(asked.right, cols)});
    const auto [top, bottom] = std::minmax({Bound(asked.top, rows), Bound(asked.bottom, rows)});
    return {left, top, right, bottom};
}

HTMLGridSelection HTMLGridSelectionRules::Apply(HTMLGridSelection bounds) const {
    if (!multi) bounds.left = bounds.right, bounds.top = bounds.bottom;
    if (SelectsRows()) {
        bounds.right = Last(cols);
        bounds.left = std::min(fixedCols, bounds.right);
    } else if (mode == GRID_SELECT_COLS) {
        bounds.bottom = Last(rows);
        bounds.top = std::min(fixedRows, bounds.bottom);
    }
    return bounds;
}
