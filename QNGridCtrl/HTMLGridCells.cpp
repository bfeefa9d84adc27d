#include "QNGridCtrl/HTMLGridCells.h"

#include <new>

WORD GridClosedUp(WORD index, WORD first, WORD count) {
    if (index == GRID_NONE || index < first) return index;
    return index - first < count ? GRID_NONE : static_cast<WORD>(index - count);
}

tagCELLINFO* HTMLGridCells::Find(WORD col, WORD row) const {
    const auto found = m_Cells.find(Key(col, row));
    return found == m_Cells.end() ? nullptr : found->second.get();
}

tagCELLINFO* HTMLGridCells::Make(WORD col, WORD row) {
    try {
        std::unique_ptr<tagCELLINFO>& cell = m_Cells[Key(col, row)];
        if (!cell) cell = std::make_unique<tagCELLINFO>();
        return cell.get();
    } catch (const std::bad_alloc&) {
        m_Cells.erase(Key(col, row));
        return nullptr;
    }
}

void HTMLGridCells::Clear() {
    m_Cells.clear();
    m_Refused.clear();
}

template<class F>
void HTMLGridCells::Rekey(F place) {
    m_Refused.clear();
    Map moved;
    moved.reserve(m_Cells.size());
    for (auto& cell : m_Cells) {
        WORD col = LOWORD(cell.first), row = HIWORD(cell.first);
        if (place(col, row)) moved.emplace(Key(col, row), std::move(cell.second));
    }
    m_Cells = std::move(moved);
}

void HTMLGridCells::InsertRow(WORD at) {
    Rekey([at](WORD&, WORD& row) {
        if (row >= at) ++row;
        return true;
    });
}

void HTMLGridCells::DeleteRows(WORD first, WORD count) {
    Rekey([=](WORD&, WORD& row) { return (row = GridClosedUp(row, first, count)) != GRID_NONE; });
}

void HTMLGridCells::DeleteCols(WORD first, WORD count) {
    Rekey([=](WORD& col, WORD&) { return (col = GridClosedUp(col, first, count)) != GRID_NONE; });
}
