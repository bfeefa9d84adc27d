#include "QNGridCtrl/HTMLGridFloaters.h"

#include <algorithm>
#include <utility>

namespace {

// Of the rows `row` to `row + span`, how many lie before `edge`.
int RowsBefore(int row, int span, int edge) { return std::clamp(edge - row, 0, span); }

} // namespace

// --- All of them --------------------------------------------------------------------------------------------------

tagFLOATERINFO* HTMLGridFloaters::Find(WORD col, DWORD id) {
    const auto found = m_All.find({col, id});
    return found == m_All.end() ? nullptr : &found->second.info;
}

WORD HTMLGridFloaters::FirstRow(WORD col, DWORD id) const {
    const auto found = m_All.find({col, id});
    return found == m_All.end() ? GRID_NONE : found->second.row;
}

tagFLOATERINFO* HTMLGridFloaters::Add(WORD col, WORD row, DWORD id, WORD rowSpan) {
    if (!m_Cells.Find(col, row)) return nullptr;
    const auto [place, added] = m_All.try_emplace({col, id});
    if (!added) return nullptr;
    Placed& floater = place->second;
    floater.row = row;
    floater.info.dwID = id;
    floater.info.wRowSpan = rowSpan;
    Attach(col, floater);
    Invalidate(row, col);
    return &floater.info;
}

bool HTMLGridFloaters::Delete(WORD col, DWORD id) {
    const auto found = m_All.find({col, id});
    if (found == m_All.end()) return false;
    Invalidate(found->second.row, col);
    Detach(col, found->second);
    m_All.erase(found);
    return true;
}

bool HTMLGridFloaters::Move(WORD col, DWORD id, WORD toCol, WORD toRow, WORD rowSpan) {
    const auto found = m_All.find({col, id});
    if (found == m_All.end() || !m_Cells.Find(toCol, toRow)) return false;
    if (toCol != col && m_All.contains({toCol, id})) return false;
    Invalidate(found->second.row, col);
    Detach(col, found->second);
    auto node = m_All.extract(found);
    node.key() = {toCol, id};
    Placed& floater = m_All.insert(std::move(node)).position->second;
    floater.row = toRow;
    floater.info.wRowSpan = rowSpan;
    Attach(toCol, floater);
    Invalidate(toRow, toCol);
    return true;
}

void HTMLGridFloaters::Clear() {
    DetachAll();
    m_All.clear();
}

void HTMLGridFloaters::DetachAll() {
    for (auto& [key, floater] : m_All) Detach(key.first, floater);
}

// Into the map of each cell of its span, which is at least its first row.
void HTMLGridFloaters::Attach(WORD col, Placed& floater) {
    const int wanted = std::max<int>(floater.info.wRowSpan, 1);
    floater.info.pCell = m_Cells.Find(col, floater.row);
    floater.info.wRowSpan = 0;
    for (int row = floater.row; row < std::min<int>(floater.row + wanted, GRID_NONE); ++row) {
        tagCELLINFO* cell = m_Cells.Find(col, static_cast<WORD>(row));
        if (!cell) break;
        cell->Floaters[floater.info.dwID] = &floater.info;
        ++floater.info.wRowSpan;
    }
}

void HTMLGridFloaters::Detach(WORD col, Placed& floater) {
    for (int row = floater.row; row < floater.row + floater.info.wRowSpan; ++row)
        if (tagCELLINFO* cell = m_Cells.Find(col, static_cast<WORD>(row))) {
            cell->Floaters.erase(floater.info.dwID);
            cell->bFloatersValid = 0;
        }
}

// --- Rows and columns ---------------------------------------------------------------------------------------------

// Attaches all floaters to where they belong now: `change` gets the column and floater of each, changes both, or gives
// false to end it.
template<class F>
void HTMLGridFloaters::Rearrange(F change) {
    All former = std::exchange(m_All, All());
    while (!former.empty()) {
        auto node = former.extract(former.begin());
        if (!change(node.key().first, node.mapped())) continue;
        const WORD col = node.key().first;
        Attach(col, m_All.insert(std::move(node)).position->second);
    }
}

void HTMLGridFloaters::InsertRow(WORD at) {
    DetachAll();
    m_Cells.InsertRow(at);
    Rearrange([&](WORD col, Placed& floater) {
        if (floater.row >= at) {
            ++floater.row;
        } else if (floater.row + floater.info.wRowSpan > at) {
            ++floater.info.wRowSpan;
            m_Cells.Make(col, at);
        }
        return true;
    });
}

void HTMLGridFloaters::DeleteRows(WORD first, WORD count) {
    DetachAll();
    m_Cells.DeleteRows(first, count);
    Rearrange([=](WORD, Placed& floater) {
        const int row = floater.row, span = floater.info.wRowSpan;
        const int before = RowsBefore(row, span, first), behind = span - RowsBefore(row, span, first + count);
        floater.row = static_cast<WORD>(row < first ? row : std::max<int>(row - count, first));
        floater.info.wRowSpan = static_cast<WORD>(before + behind);
        return before + behind > 0;
    });
}

void HTMLGridFloaters::DeleteCols(WORD first, WORD count) {
    DetachAll();
    m_Cells.DeleteCols(first, count);
    Rearrange([=](WORD& col, Placed&) { return (col = GridClosedUp(col, first, count)) != GRID_NONE; });
}

// --- Blocks and slots ---------------------------------------------------------------------------------------------

int HTMLGridFloaters::CountAt(WORD col, int row) const {
    const tagCELLINFO* cell = m_Cells.Find(col, static_cast<WORD>(row));
    return cell ? static_cast<int>(cell->Floaters.size()) : 0;
}

// Whether a floater goes on from this row to the next.
bool HTMLGridFloaters::Crosses(WORD col, int row) const {
    if (row < 0 || row + 1 >= GRID_NONE) return false;
    const tagCELLINFO* cell = m_Cells.Find(col, static_cast<WORD>(row));
    const tagCELLINFO* next = m_Cells.Find(col, static_cast<WORD>(row + 1));
    return cell && next && std::ranges::any_of(cell->Floaters, [next](const auto& floater) {
               return next->Floaters.contains(floater.first);
           });
}

int HTMLGridFloaters::BlockBounds(WORD row, WORD col, WORD& first, WORD& last) const {
    first = last = row;
    while (Crosses(col, first - 1)) --first;
    while (Crosses(col, last)) ++last;
    int most = 0;
    for (int r = first; r <= last; ++r) most = std::max(most, CountAt(col, r));
    return most;
}

void HTMLGridFloaters::Invalidate(WORD row, WORD col) {
    WORD first, last;
    BlockBounds(row, col, first, last);
    for (int r = first; r <= last; ++r)
        if (tagCELLINFO* cell = m_Cells.Find(col, static_cast<WORD>(r))) cell->bFloatersValid = 0;
}

void HTMLGridFloaters::Validate(WORD row, WORD col) {
    WORD first, last;
    const int slots = std::min(BlockBounds(row, col, first, last), kMostSlots);
    Holders holders{};
    for (int r = first; r <= last; ++r) {
        tagCELLINFO* cell = m_Cells.Find(col, static_cast<WORD>(r));
        if (!cell) continue;
        for (const tagFLOATERINFO*& holder : holders)
            if (holder && !cell->Floaters.contains(holder->dwID)) holder = nullptr;
        for (const auto& [id, floater] : cell->Floaters)
            if (floater->pCell == cell) Place(col, static_cast<WORD>(r), *floater, holders, slots);
        cell->bFloatersValid = 1;
    }
}

// The first free slot, and when it may grow those behind that up to the next one that is held.
void HTMLGridFloaters::Place(WORD col, WORD row, tagFLOATERINFO& floater, Holders& holders, int slots) const {
    const auto end = holders.begin() + slots;
    const auto free = std::find(holders.begin(), end, nullptr);
    auto slot = free == end ? end - 1 : free;
    floater.nSlots = static_cast<BYTE>(slots);
    floater.nFirstSlot = static_cast<BYTE>(slot - holders.begin());
    floater.nSlotSpan = 1;
    *slot = &floater;
    if (!MayGrow(col, row, floater, slots)) return;
    for (++slot; slot != end && !*slot; ++slot) {
        *slot = &floater;
        ++floater.nSlotSpan;
    }
}

// Only the last floater of its first cell, beside room there, and when no cell of its span is fuller than that one.
bool HTMLGridFloaters::MayGrow(WORD col, WORD row, const tagFLOATERINFO& floater, int slots) const {
    const int here = CountAt(col, row);
    if (floater.pCell->Floaters.rbegin()->first != floater.dwID || here >= slots) return false;
    for (int r = row; r < row + floater.wRowSpan; ++r)
        if (CountAt(col, r) > here) return false;
    return true;
}

tagFLOATERINFO* HTMLGridFloaters::Hit(const tagCELLINFO& cell, int x, int cellWidth) {
    for (const auto& [id, floater] : cell.Floaters) {
        if (floater->nSlots == 0) continue;
        const int slot = cellWidth / floater->nSlots;
        const int left = floater->nFirstSlot * slot;
        if (x >= left && x < left + floater->nSlotSpan * slot) return floater;
    }
    return nullptr;
}
