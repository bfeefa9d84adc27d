// Floaters: blocks that lie over the cells of one column and cross rows. Those that overlap, directly or through others,
// form a block of rows; its width is divided into as many slots as its fullest cell has floaters.
#pragma once

#include "QNGridCtrl/HTMLGridCells.h"

#include <array>

struct tagFLOATERINFO {
    tagCELLINFO* pCell = nullptr; // of its first row
    BYTE bNoDrag = 0;             // a drag never moves it
    WORD wRowSpan = 0;
    WORD wBarPercent = 0;    // length of the coloured part of its marker bar, in hundredths of its height
    WORD wBarTopPercent = 0; // where that begins
    COLORREF crBar = 0;
    DWORD dwID = 0; // the owner's, unique in a column
    BYTE nSlots = 0;
    BYTE nSlotSpan = 0;
    BYTE nFirstSlot = 0;
    CHTMLParser Text;
    HTMLHotSpots HotSpots; // of its text, as painted last
};

// All floaters of a grid. The cells' floater maps point here; rows and columns are inserted and removed here, so that
// both stay together. Slots are given at Validate; any change takes them from the whole block.
class QN_API HTMLGridFloaters {
public:
    explicit HTMLGridFloaters(HTMLGridCells& cells) : m_Cells(cells) {}

    int Count() const { return static_cast<int>(m_All.size()); }
    tagFLOATERINFO* Find(WORD col, DWORD id);
    WORD FirstRow(WORD col, DWORD id) const; // GRID_NONE when there is none
    // Null without a cell at its first row, or when the column has that id. It ends before the first row without a cell.
    tagFLOATERINFO* Add(WORD col, WORD row, DWORD id, WORD rowSpan);
    bool Delete(WORD col, DWORD id);
    // As Delete and Add; false leaves it where it was.
    bool Move(WORD col, DWORD id, WORD toCol, WORD toRow, WORD rowSpan);
    void Clear();

    // A floater that crosses the new row grows by it, its cell there is made.
    void InsertRow(WORD row);
    // Floaters lose the rows that go, and end with the last one.
    void DeleteRows(WORD first, WORD count);
    void DeleteCols(WORD first, WORD count);

    // First and last row of the block round a cell; gives the largest number of floaters in one of its cells.
    int BlockBounds(WORD row, WORD col, WORD& first, WORD& last) const;
    void Validate(WORD row, WORD col);
    void Invalidate(WORD row, WORD col);
    // The floater at `x` pixels from the left of a validated cell; whole pixels a slot, the rest of the width hits none.
    static tagFLOATERINFO* Hit(const tagCELLINFO& cell, int x, int cellWidth);

    template<class F>
    void ForEach(F visit) {
        for (auto& floater : m_All) visit(floater.second.info);
    }

private:
    static constexpr int kMostSlots = 255; // floaters beyond that share the last one

    struct Placed {
        WORD row = 0;
        tagFLOATERINFO info;
    };
    using Key = std::pair<WORD, DWORD>; // column, id
    using All = std::map<Key, Placed>;
    using Holders = std::array<const tagFLOATERINFO*, kMostSlots>;

    int CountAt(WORD col, int row) const;
    bool Crosses(WORD col, int row) const;
    void Attach(WORD col, Placed& floater);
    void Detach(WORD col, Placed& floater);
    void DetachAll();
    void Place(WORD col, WORD row, tagFLOATERINFO& floater, Holders& holders, int slots) const;
    bool MayGrow(WORD col, WORD row, const tagFLOATERINFO& floater, int slots) const;
    template<class F>
    void Rearrange(F change);

    HTMLGridCells& m_Cells;
    All m_All;
};
