// The cells of a grid: their records, and the sparse map that holds them. A cell that was never set does not exist.
#pragma once

#include "QNGridCtrl/DrawHTML.h"

#include <map>
#include <memory>
#include <unordered_map>
#include <unordered_set>

inline constexpr WORD GRID_NONE = 65535; // no row, no column
// The number that a row or column has once `count` from `first` on are gone: GRID_NONE for one of those.
QN_API WORD GridClosedUp(WORD index, WORD first, WORD count);

inline constexpr DWORD GRID_NO_HOT_SPOT = 0xFFFFFFFF;

struct tagFLOATERINFO;

// A cell is its parsed text.
struct tagCELLINFO : CHTMLParser {
    DWORD dwData = 0;        // the owner's
    BYTE bFloatersValid = 0; // the slots of its floaters are up to date
    BYTE bSingleLine = 0;    // nothing wraps
    BYTE bOwnerFlag = 0;     // the owner's second byte
    BYTE bFullRowSelect = 0;
    DWORD nDefaultHotSpot = GRID_NO_HOT_SPOT; // taken when a tap hits no spot
    BYTE bOnActionLinkNavigable = 0;          // the action key enters link navigation here
    RECT rcMargins{};                         // pixels on each side of the text
    WORD wMinHeight = 0;                      // 0: the grid's
    WORD wWrapIndent = 0;
    int nTextHeight = 0; // as measured last
    HTMLHotSpots HotSpots;
    std::map<DWORD, tagFLOATERINFO*> Floaters; // those that cross this cell; the grid owns them
};

class QN_API HTMLGridCells {
public:
    static constexpr DWORD Key(WORD col, WORD row) { return col | static_cast<DWORD>(row) << 16; }

    tagCELLINFO* Find(WORD col, WORD row) const;
    // The cell that is there, or a new one; null without memory.
    tagCELLINFO* Make(WORD col, WORD row);
    void Clear();
    std::size_t Count() const { return m_Cells.size(); }
    // Places whose owner has no cell for them: not asked again until something may have changed that.
    void Refuse(WORD col, WORD row) { m_Refused.insert(Key(col, row)); }
    bool IsRefused(WORD col, WORD row) const { return m_Refused.contains(Key(col, row)); }
    void ForgetRefusals() { m_Refused.clear(); }

    // Cells behind the place move by one row; the new row has none.
    void InsertRow(WORD row);
    // Cells within go, those behind close up.
    void DeleteRows(WORD first, WORD count);
    void DeleteCols(WORD first, WORD count);

    template<class F>
    void ForEach(F visit) const {
        for (const auto& cell : m_Cells) visit(*cell.second);
    }

private:
    using Map = std::unordered_map<DWORD, std::unique_ptr<tagCELLINFO>>;

    // `place` gives the new key of a cell, or false to drop it.
    template<class F>
    void Rekey(F place);

    Map m_Cells;
    std::unordered_set<DWORD> m_Refused;
};
