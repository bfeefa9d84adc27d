// Floaters: the blocks that they form, their slots, and what becomes of them when rows and columns change.
#include "QNGridCtrl/HTMLGridFloaters.h"

#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>

namespace {

// A grid of cells without a window. Rows, columns and ids are small numbers.
class Floaters : public testing::Test {
public:
    explicit Floaters(WORD rows = 8, WORD cols = 3) {
        for (WORD row = 0; row < rows; ++row)
            for (WORD col = 0; col < cols; ++col) m_cells.Make(col, row);
    }
    Floaters& Add(DWORD id, WORD first, WORD last, WORD col = 1) {
        EXPECT_TRUE(m_floaters.Add(col, first, id, static_cast<WORD>(last - first + 1)));
        return *this;
    }
    // Each row of a column: "id:slot+span/slots", as painting would find them.
    std::string Rows(WORD col = 1, WORD rows = 8) {
        std::ostringstream out;
        for (WORD row = 0; row < rows; ++row) {
            tagCELLINFO* cell = m_cells.Find(col, row);
            if (!cell || cell->Floaters.empty()) continue;
            if (!cell->bFloatersValid) m_floaters.Validate(row, col);
            out << row << ":";
            for (const auto& [id, f] : cell->Floaters)
                out << " " << id << "@" << +f->nFirstSlot << "+" << +f->nSlotSpan << "/" << +f->nSlots;
            out << "\n";
        }
        return out.str();
    }
    std::string Block(WORD row, WORD col = 1) {
        WORD first, last;
        const int most = m_floaters.BlockBounds(row, col, first, last);
        return std::to_string(first) + "-" + std::to_string(last) + " " + std::to_string(most);
    }

    HTMLGridCells m_cells;
    HTMLGridFloaters m_floaters{m_cells};
};

TEST_F(Floaters, OverlappingOnesShareTheWidthOthersHaveAllOfIt) {
    Add(1, 1, 3).Add(2, 2, 4).Add(3, 5, 5);
    EXPECT_EQ(Block(1), "1-4 2");
    EXPECT_EQ(Block(4), "1-4 2");
    EXPECT_EQ(Block(5), "5-5 1");
    EXPECT_EQ(Block(7), "7-7 0");
    EXPECT_EQ(Rows(), "1: 1@0+1/2\n2: 1@0+1/2 2@1+1/2\n3: 1@0+1/2 2@1+1/2\n4: 2@1+1/2\n5: 3@0+1/1\n");
}

// Three in a chain: never more than two in a cell. The third takes the slot that the first has left.
TEST_F(Floaters, SlotsAreAsManyAsTheFullestCellHolds) {
    Add(1, 0, 1).Add(2, 1, 3).Add(3, 3, 4);
    EXPECT_EQ(Block(0), "0-4 2");
    EXPECT_EQ(Rows(), "0: 1@0+1/2\n1: 1@0+1/2 2@1+1/2\n2: 2@1+1/2\n3: 2@1+1/2 3@0+1/2\n4: 3@0+1/2\n");
}

// Three slots. The last floater of a row with room spreads over free slots right behind its own: 10 does;
// 11 doesn't, since a cell of its span is fuller than its first one.
TEST_F(Floaters, TheLastOfItsCellGrowsWhereNothingIsInItsWay) {
    Add(9, 0, 7).Add(2, 0, 0).Add(1, 0, 0).Add(10, 2, 3).Add(11, 5, 7).Add(12, 6, 6);
    EXPECT_EQ(Rows(), "0: 1@0+1/3 2@1+1/3 9@2+1/3\n1: 9@2+1/3\n2: 9@2+1/3 10@0+2/3\n3: 9@2+1/3 10@0+2/3\n"
                      "4: 9@2+1/3\n5: 9@2+1/3 11@0+1/3\n6: 9@2+1/3 11@0+1/3 12@1+1/3\n7: 9@2+1/3 11@0+1/3\n");
}

// Only a floater that begins in the row can grow, and only the one with the highest id in it.
TEST_F(Floaters, TheHighestIdOfTheCellDecidesWhetherOneGrows) {
    Add(5, 0, 2).Add(3, 0, 0).Add(4, 0, 0).Add(1, 2, 2);
    EXPECT_EQ(Rows(), "0: 3@0+1/3 4@1+1/3 5@2+1/3\n1: 5@2+1/3\n2: 1@0+1/3 5@2+1/3\n");
}

TEST_F(Floaters, AChangeGivesTheWholeBlockNewSlots) {
    Add(1, 0, 1).Add(2, 1, 2).Add(3, 2, 3);
    Rows();
    EXPECT_TRUE(m_floaters.Delete(1, 2));
    EXPECT_EQ(Rows(), "0: 1@0+1/1\n1: 1@0+1/1\n2: 3@0+1/1\n3: 3@0+1/1\n");
    EXPECT_TRUE(m_floaters.Move(1, 1, 1, 3, 2));
    EXPECT_EQ(Rows(), "2: 3@0+1/2\n3: 1@1+1/2 3@0+1/2\n4: 1@1+1/2\n");
    EXPECT_TRUE(m_floaters.Move(1, 1, 2, 0, 1));
    EXPECT_EQ(Rows(), "2: 3@0+1/1\n3: 3@0+1/1\n");
    EXPECT_EQ(Rows(2), "0: 1@0+1/1\n");
}

TEST_F(Floaters, StandOnCellsAndOncePerColumn) {
    EXPECT_FALSE(m_floaters.Add(1, 8, 1, 1)); // no cell there
    Add(1, 6, 6);
    EXPECT_FALSE(m_floaters.Add(1, 2, 1, 1));                       // that id is in the column
    Add(1, 2, 2, 2).Add(2, 6, 30).Add(3, 0, static_cast<WORD>(-1)); // to the last cell; of no rows: one
    EXPECT_FALSE(m_floaters.Move(1, 1, 2, 0, 1));
    EXPECT_FALSE(m_floaters.Move(1, 1, 1, 9, 1));
    EXPECT_EQ(Rows(), "0: 3@0+1/1\n6: 1@0+1/2 2@1+1/2\n7: 2@1+1/2\n");
    EXPECT_EQ(m_floaters.Find(1, 2)->wRowSpan, 2);
    EXPECT_EQ(m_floaters.FirstRow(1, 2), 6);
    EXPECT_EQ(m_floaters.FirstRow(0, 2), GRID_NONE);
    m_floaters.Clear();
    EXPECT_EQ(Rows(), "");
    EXPECT_EQ(m_floaters.Count(), 0);
}

TEST_F(Floaters, GrowAndShrinkWithTheRows) {
    Add(1, 1, 3).Add(2, 3, 5).Add(3, 6, 6);
    m_floaters.InsertRow(3);
    EXPECT_EQ(Rows(1, 9),
              "1: 1@0+1/2\n2: 1@0+1/2\n3: 1@0+1/2\n4: 1@0+1/2 2@1+1/2\n5: 2@1+1/2\n6: 2@1+1/2\n7: 3@0+1/1\n");
    m_floaters.DeleteRows(4, 2); // the last of 1, the first two of 2
    EXPECT_EQ(Rows(1, 9), "1: 1@0+1/1\n2: 1@0+1/1\n3: 1@0+1/1\n4: 2@0+1/1\n5: 3@0+1/1\n");
    EXPECT_EQ(m_floaters.FirstRow(1, 2), 4);
    m_floaters.DeleteRows(4, 1);
    EXPECT_FALSE(m_floaters.Find(1, 2));
    m_floaters.DeleteCols(0, 1);
    EXPECT_EQ(Rows(0), "1: 1@0+1/1\n2: 1@0+1/1\n3: 1@0+1/1\n4: 3@0+1/1\n");
    m_floaters.DeleteCols(0, 1);
    EXPECT_EQ(m_floaters.Count(), 0);
}

// 100 pixels in three slots: 33 each, the last pixel hits none.
TEST_F(Floaters, AreHitByWholePixelsOfTheirSlots) {
    Add(1, 0, 0).Add(2, 0, 0).Add(3, 0, 0);
    m_floaters.Validate(0, 1);
    const tagCELLINFO& cell = *m_cells.Find(1, 0);
    const std::map<int, DWORD> expected = {{-1, 0}, {0, 1},  {32, 1}, {33, 2},
                                           {65, 2}, {66, 3}, {98, 3}, {99, 0}};
    for (const auto& [x, id] : expected) {
        const tagFLOATERINFO* hit = HTMLGridFloaters::Hit(cell, x, 100);
        EXPECT_EQ(hit ? hit->dwID : 0, id) << x;
    }
}

TEST_F(Floaters, MoreThanASlotNumberHoldsShareTheLast) {
    for (DWORD id = 1; id <= 300; ++id) Add(id, 0, 1);
    m_floaters.Validate(0, 1);
    EXPECT_EQ(m_floaters.Find(1, 255)->nFirstSlot, 254);
    EXPECT_EQ(m_floaters.Find(1, 300)->nFirstSlot, 254);
}

} // namespace
