// A grid and its owner: what is asked for, measured, estimated, selected, and where it lies. Text is 6 pixels a
// character and 14 high; a row without more has 15.
#include "QNGridCtrl/HTMLGrid.h"
#include "tests/support/devicefiles.h"
#include "tests/support/narrow.h"
#include "tests/support/pngmaker.h"

#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace {

// Answers by tables and keeps what it was asked and told.
class Owner : public CeWnd {
public:
    Owner() { Create(nullptr, nullptr, RECT{0, 0, 240, 320}, nullptr, WS_VISIBLE); }
    ~Owner() override { DestroyWindow(); }

    std::function<std::u16string(WORD col, WORD row)> m_text;
    std::function<void(tagNM_GRIDCELL&)> m_more;
    std::map<DWORD, std::u16string> m_floaters;
    HBITMAP m_swatch = nullptr;
    std::string m_asked; // cells as "col,row ", swatches as "#number "
    int m_requests = 0;
    std::string m_told;

    LRESULT OnMessage(UINT msg, WPARAM, LPARAM lParam, bool& handled) override {
        handled = true;
        switch (msg) {
        case GRIDM_CELL:
            Answer(*reinterpret_cast<tagNM_GRIDCELL*>(lParam));
            return 0;
        case GRIDM_FLOATER_TEXT: {
            auto& view = *reinterpret_cast<tagNM_GRIDVIEW*>(lParam);
            const auto found = m_floaters.find(view.dwData);
            view.pszText = found == m_floaters.end() ? nullptr : found->second.c_str();
            return 0;
        }
        case GRIDM_SWATCH:
            m_asked += "#" + std::to_string(lParam) + " ";
            return reinterpret_cast<LRESULT>(m_swatch);
        default:
            handled = false;
            return 0;
        }
    }
    LRESULT OnNotify(int, NMHDR* header, bool& handled) override {
        handled = true;
        const auto& view = *reinterpret_cast<tagNM_GRIDVIEW*>(header);
        m_told += std::to_string(header->code) + " " + Narrow(view.pszHotSpot ? view.pszHotSpot : u"") + "\n";
        return 0;
    }

private:
    void Answer(tagNM_GRIDCELL& ask) {
        const WORD col = LOWORD(ask.hdr.idFrom), row = HIWORD(ask.hdr.idFrom);
        ++m_requests;
        m_asked += std::to_string(col) + "," + std::to_string(row) + " ";
        if (m_text) m_last = m_text(col, row);
        if (!m_last.empty()) ask.pszText = m_last.c_str();
        if (m_more) m_more(ask);
    }

    std::u16string m_last;
};

class Grid : public DeviceFilesTest {
protected:
    Grid() {
        PlatUseFixedWidthText(true);
        m_owner = std::make_unique<Owner>();
    }
    ~Grid() override {
        m_grid.reset();
        m_owner.reset();
    }
    CHTMLGrid& Make(int width, int height, DWORD rows, DWORD cols, bool bVirtual = false) {
        m_grid = std::make_unique<CHTMLGrid>(*m_owner, RECT{0, 0, width, height}, bVirtual, u"");
        m_grid->SetDimensions(rows, cols);
        if (!bVirtual) m_grid->CreateCells();
        m_owner->m_asked.clear();
        return *m_grid;
    }
    void List(const char16_t* text) {
        m_owner->m_text = [text](WORD, WORD) { return std::u16string(text); };
    }
    std::string Selection() {
        WORD l, t, r, b;
        m_grid->GetSelection(l, t, r, b);
        std::string text;
        for (const WORD bound : {l, t, r, b}) text += bound == GRID_NONE ? "- " : std::to_string(bound) + " ";
        return text + "at " + std::to_string(m_grid->GetCol()) + "," + std::to_string(m_grid->GetRow());
    }
    std::string CellAt(LONG x, LONG y) {
        WORD col, row;
        return m_grid->GetCellFromPoint({x, y}, col, row) ? std::to_string(col) + "," + std::to_string(row)
                                                          : "none";
    }
    std::string RectOf(WORD col, WORD row) {
        RECT r{};
        if (!m_grid->GetCellRect(col, row, r)) return "none";
        return std::to_string(r.left) + "," + std::to_string(r.top) + " " + std::to_string(r.right - r.left) +
               "x" + std::to_string(r.bottom - r.top);
    }

    std::unique_ptr<Owner> m_owner;
    std::unique_ptr<CHTMLGrid> m_grid;
};

// --- Widths and heights -------------------------------------------------------------------------------------------

TEST_F(Grid, AutomaticColumnsShareWhatIsLeft) {
    CHTMLGrid& grid = Make(101, 300, 1, 2);
    EXPECT_EQ(grid.GetColWidth(0), 51);
    EXPECT_EQ(grid.GetColWidth(1), 50);
    grid.SetColWidth(1, 80);
    EXPECT_EQ(grid.GetColWidth(0), 21);
    grid.SetColWidth(1, 200); // nothing is left, and the row runs over the edge
    EXPECT_EQ(grid.GetColWidth(0), 0);
    EXPECT_EQ(grid.GetTotalWidth(), 200);
    EXPECT_EQ(grid.GetColWidth(2), 0);
}

// Sixty pixels: ten characters, but for the pixel of the line.
TEST_F(Grid, ARowIsAsHighAsItsHighestCell) {
    CHTMLGrid& grid = Make(120, 300, 1, 2);
    EXPECT_EQ(grid.GetRowHeight(0), 15);
    EXPECT_TRUE(grid.SetCellText(0, 0, u"aaaaabbbbb"));
    EXPECT_EQ(grid.GetRowHeight(0), 28);
    grid.SetShowHLines(true);
    EXPECT_EQ(grid.GetRowHeight(0), 29);
    grid.SetShowVLines(false);
    EXPECT_EQ(grid.GetRowHeight(0), 15);
    grid.SetCellText(1, 0, u"a", RECT{0, 20, 0, 5});
    EXPECT_EQ(grid.GetRowHeight(0), 14 + 1 + 25);
    grid.SetCellText(1, 0, u"aaaaabbbbb", RECT{6, 0, 0, 0});
    EXPECT_EQ(grid.GetRowHeight(0), 29);
    grid.SetCellSingleLine(1, 0, true);
    EXPECT_EQ(grid.GetRowHeight(0), 15);
    grid.SetRowHeight(0, 17);
    EXPECT_EQ(grid.GetRowHeight(0, true), 17);
    grid.SetRowHeight(0, HTMLGridAxis::kAutomatic);
    grid.SetCellText(1, 0, u"a<BR>b", RECT{});
    grid.SetCellSingleLine(1, 0, false);
    EXPECT_EQ(grid.GetRowHeight(0), 29);
    grid.SetRowHeightFixed(true);
    EXPECT_EQ(grid.GetRowHeight(0), 15);
}

TEST_F(Grid, NothingIsRecalculatedInAnUpdate) {
    CHTMLGrid& grid = Make(120, 300, 2, 1);
    grid.BeginUpdate();
    grid.BeginUpdate();
    grid.SetCellText(0, 0, u"a<BR>b");
    grid.EndUpdate();
    EXPECT_EQ(grid.GetTotalHeight(), 30);
    grid.EndUpdate();
    EXPECT_EQ(grid.GetTotalHeight(), 43);
    grid.EndUpdate(); // one too many does nothing
    EXPECT_FALSE(grid.IsInUpdate());
}

TEST_F(Grid, ABarTakesItsRoomFromTheColumns) {
    CHTMLGrid& grid = Make(101, 100, 6, 1);
    const int withBar = 101 - GetSystemMetrics(SM_CXVSCROLL);
    const auto range = [&] {
        SCROLLINFO info{sizeof info, SIF_ALL, 0, 0, 0, 0, 0};
        grid.GetScrollInfo(SB_VERT, &info);
        return std::to_string(info.nMax) + " by " + std::to_string(info.nPage);
    };
    EXPECT_EQ(grid.GetColWidth(0), 101);
    grid.InsertRow(0);
    EXPECT_EQ(grid.GetColWidth(0), withBar);
    EXPECT_EQ(range(), "104 by 100");
    grid.DeleteRows(0, 1);
    EXPECT_EQ(grid.GetColWidth(0), 101);
    grid.SetCellText(0, 5, u"a<BR>b"); // 103
    EXPECT_EQ(grid.GetColWidth(0), withBar);
    grid.SetCellText(0, 4, u"a<BR>b");
    EXPECT_EQ(range(), "115 by 100");
    grid.SetShowScrollBars(0);
    EXPECT_EQ(grid.GetColWidth(0), 101);
}

// --- Cells on request ---------------------------------------------------------------------------------------------

// As many rows as there can be. Rows of 15 are asked for until the screen of 300 is more than full; the last one of
// them stands in for all the others.
TEST_F(Grid, AVirtualListAsksForItsFirstScreenAlone) {
    List(u"a row");
    CHTMLGrid& grid = Make(200, 300, 100000, 1, true);
    EXPECT_EQ(grid.GetRowCount(), 65535);
    EXPECT_EQ(m_owner->m_requests, 21);
    EXPECT_EQ(grid.GetTotalHeight(), 65535 * 15);

    m_owner->m_requests = 0;
    List(u"two<BR>lines");
    grid.SetTopRow(1000);
    EXPECT_EQ(grid.GetTopPixel(), 15000);
    EXPECT_EQ(grid.GetTopRow(), 1000);
    EXPECT_EQ(m_owner->m_requests, 11); // 28 each
    EXPECT_EQ(grid.GetTotalHeight(), 65535 * 15 + 11 * 13);
    EXPECT_EQ(grid.RowToPixel(1002), 15000 + 56);
    EXPECT_EQ(grid.PixelToRow(15000 + 55), 1001);
    EXPECT_EQ(grid.GetRowHeight(5000), 28);
    EXPECT_EQ(m_owner->m_requests, 12);
}

// The first screen makes the list look longer than it is: at its end it slips, and what comes into view then is asked for.
TEST_F(Grid, AListThatTurnsOutShorterHasAllOfItsLastScreen) {
    m_owner->m_text = [](WORD, WORD row) { return std::u16string(row < 11 ? u"two<BR>lines" : u"one"); };
    CHTMLGrid& grid = Make(200, 300, 50, 1, true);
    EXPECT_EQ(grid.GetTotalHeight(), 50 * 28);
    grid.SetTopRow(49);
    EXPECT_EQ(grid.GetTopPixel(), grid.GetTotalHeight() - 300 - 1);
    for (WORD row = grid.GetTopRow(); row < 50; ++row) {
        EXPECT_TRUE(grid.FindCell(0, row)) << row;
        EXPECT_EQ(grid.GetRowHeight(row), 15) << row;
    }
}

TEST_F(Grid, TheAnswerFillsTheCell) {
    List(u"x");
    m_owner->m_more = [this](tagNM_GRIDCELL& ask) {
        EXPECT_EQ(ask.hdr.code, 2021u);
        EXPECT_EQ(ask.hdr.hwndFrom, m_grid->GetHWnd());
        EXPECT_EQ(ask.wColWidth, 65535);
        EXPECT_EQ(ask.wRowHeight, 65535);
        const WORD col = LOWORD(ask.hdr.idFrom), row = HIWORD(ask.hdr.idFrom);
        EXPECT_EQ(ask.dwRowID, row + 70u);
        if (col == 0) ask.wColWidth = 30;
        if (row == 1) ask.wRowHeight = 50;
        ask.dwData = 5;
        ask.bOwnerFlag = 9;
        ask.wMinHeight = 40;
        if (col == 1 && row == 1) ask.pszText = nullptr;
    };
    m_grid = std::make_unique<CHTMLGrid>(*m_owner, RECT{0, 0, 200, 300}, true, u"");
    m_grid->BeginUpdate();
    m_grid->SetDimensions(2, 2);
    m_grid->SetRowUserID(0, 70);
    m_grid->SetRowUserID(1, 71);
    m_grid->EndUpdate();
    EXPECT_EQ(m_grid->GetColWidth(0), 30);
    EXPECT_EQ(m_grid->GetColWidth(1), 170);
    EXPECT_EQ(m_grid->GetRowHeight(0), 40);
    EXPECT_EQ(m_grid->GetRowHeight(1), 50);
    EXPECT_EQ(m_grid->GetCellData(0, 0), 5u);
    EXPECT_EQ(m_grid->FindCell(1, 0)->bOwnerFlag, 9);
    EXPECT_FALSE(m_grid->FindCell(1, 1));
    EXPECT_EQ(m_grid->GetCellData(1, 1), 0u);
}

TEST_F(Grid, AnOwnerThatAnswersWithFewerRowsIsHeard) {
    m_owner->m_text = [this](WORD, WORD row) {
        if (row == 3) m_grid->SetDimensions(2, 1);
        return std::u16string(u"x");
    };
    m_grid = std::make_unique<CHTMLGrid>(*m_owner, RECT{0, 0, 200, 300}, true, u"");
    m_grid->SetDimensions(1000, 1);
    EXPECT_EQ(m_grid->GetRowCount(), 2);
    EXPECT_EQ(m_grid->GetTotalHeight(), 30);
}

TEST_F(Grid, CellsThatAreNotThereTakeNoText) {
    CHTMLGrid& grid = Make(200, 300, 2, 1);
    EXPECT_FALSE(grid.SetCellText(0, 0, nullptr));
    EXPECT_FALSE(grid.SetCellText(1, 0, u"x"));
    EXPECT_FALSE(grid.GetCellText(1, 0, false));
    grid.DestroyCells();
    EXPECT_FALSE(grid.SetCellText(0, 0, u"x"));
    grid.CreateCells();
    const std::u16string longest = u"a <B>" + std::u16string(5000, u'x');
    EXPECT_TRUE(grid.SetCellText(0, 0, longest.c_str()));
    const std::unique_ptr<WCHAR, decltype(&std::free)> text(grid.GetCellText(0, 0, false), &std::free);
    EXPECT_EQ(std::u16string(text.get()), u"a " + std::u16string(4093, u'x'));
}

// --- Images -------------------------------------------------------------------------------------------------------

TEST_F(Grid, ASwatchIsMadeOnceAndForgottenEverywhere) {
    m_owner->m_swatch = CreateBitmap(10, 8, 1, 24, nullptr);
    m_owner->m_floaters[1] = u"<IMG SRC=S4294967292>f";
    CHTMLGrid& grid = Make(200, 300, 2, 1);
    grid.SetCellText(0, 0, u"<IMG SRC=S4294967292>a");
    grid.SetCellText(0, 1, u"<IMG SRC=\"S4294967292\">b<IMG SRC=0><IMG SRC=nothing.bmp>");
    EXPECT_TRUE(grid.AddFloater(0, 0, 1, 1, 0, 0, 0, false));
    EXPECT_EQ(m_owner->m_asked, "#4294967292 ");
    const CHTMLImage* image = grid.FindCell(0, 0)->Tokens()[0].pImage;
    ASSERT_TRUE(image);
    EXPECT_EQ(image->GetWidth(), 10);
    EXPECT_EQ(grid.FindCell(0, 1)->Tokens()[0].pImage, image);
    EXPECT_EQ(grid.FindCell(0, 1)->Tokens().size(), 2u); // the others don't exist
    grid.ClearBitmapCache();                             // ends the bitmap too
    EXPECT_FALSE(grid.FindCell(0, 0)->Tokens()[0].pImage);
    EXPECT_FALSE(grid.FindCell(0, 0)->Floaters.begin()->second->Text.Tokens()[0].pImage);
    BITMAP gone{};
    EXPECT_EQ(GetObjectW(m_owner->m_swatch, sizeof gone, &gone), 0);
}

TEST_F(Grid, FilesOfTheResourcesRootAreLoadedOnce) {
    const auto put = [this](const char* file, DWORD width, DWORD height) {
        const PNGBytes png = MakePNG({.width = width, .height = height});
        Put(file, {reinterpret_cast<const char*>(png.data()), png.size()});
    };
    put("icons/a.png", 3, 5);
    put("other/c.png", 7, 1);
    const char bmp[] = "BM\x3E\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\2\0\0\0\1\0\0\0\1\0\x18\0" // two pixels
                       "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0abcdef\0";
    Put("icons/b.bmp", {bmp, sizeof bmp});
    CHTMLGrid& grid = Make(200, 300, 2, 1);
    grid.SetResourcesRootPath(u"\\icons");
    EXPECT_EQ(std::u16string(grid.GetResourcesRootPath()), u"\\icons\\");
    grid.SetCellText(0, 0, u"<IMG SRC=a.png><IMG SRC=\"\\other\\c.png\"><IMG SRC=b.bmp><IMG SRC=none.png>");
    std::string sizes;
    for (const HTMLTOKEN& token : grid.FindCell(0, 0)->Tokens())
        sizes +=
            std::to_string(token.pImage->GetWidth()) + "x" + std::to_string(token.pImage->GetHeight()) + " ";
    EXPECT_EQ(sizes, "3x5 7x1 2x1 ");
    Put("icons/a.png", "");
    grid.SetCellText(0, 1, u"<IMG SRC=a.png>");
    EXPECT_EQ(grid.FindCell(0, 1)->Tokens()[0].pImage, grid.FindCell(0, 0)->Tokens()[0].pImage);
}

// --- Places -------------------------------------------------------------------------------------------------------

// Two fixed rows and one fixed column; 10 rows of 15 in 100 pixels, 4 columns of 50 in 100.
TEST_F(Grid, FixedCellsStayWhileOthersScroll) {
    CHTMLGrid& grid = Make(100, 100, 10, 4);
    grid.SetShowScrollBars(0);
    grid.SetFixedRowCount(2);
    grid.SetFixedColCount(1);
    for (WORD col = 0; col < 4; ++col) grid.SetColWidth(col, 50);
    EXPECT_EQ(grid.GetTopPixel(), 30);
    grid.SetTopRow(4);
    grid.SetLeftCol(2);
    EXPECT_EQ(RectOf(0, 0), "0,0 50x15");
    EXPECT_EQ(RectOf(2, 1), "50,15 50x15");
    EXPECT_EQ(RectOf(0, 4), "0,30 50x15");
    EXPECT_EQ(RectOf(2, 4), "50,30 50x15");
    EXPECT_EQ(RectOf(1, 3), "0,15 50x15");
    EXPECT_EQ(RectOf(4, 0), "none");
    EXPECT_EQ(CellAt(99, 30), "2,4");
    EXPECT_EQ(CellAt(10, 29), "0,1");
    EXPECT_EQ(CellAt(-1, 0), "none");
    EXPECT_EQ(CellAt(10, 200), "none");
    EXPECT_FALSE(grid.IsCellVisible(2, 3)); // under the fixed rows
    EXPECT_TRUE(grid.IsCellVisible(0, 1));
    EXPECT_EQ(grid.GetBottomRow(), 8);
    EXPECT_TRUE(grid.MakeCellVisible(3, 3));
    EXPECT_EQ(RectOf(3, 3), "51,30 50x15"); // the last pixel is never reached
    EXPECT_FALSE(grid.MakeCellVisible(3, 3));
    grid.SetTopRow(9);
    EXPECT_EQ(grid.GetTopPixel(), 30 - 100 + 150 - 1);
}

// --- Floaters -----------------------------------------------------------------------------------------------------

TEST_F(Grid, FloatersNeedTextAndAreMovedByTheirBar) {
    m_owner->m_floaters = {{1, u"one"}, {2, u"two"}};
    CHTMLGrid& grid = Make(100, 300, 4, 1);
    EXPECT_FALSE(grid.AddFloater(0, 0, 3, 1, 0, 0, 0, false)); // no text
    EXPECT_FALSE(grid.AddFloater(0, 9, 1, 1, 0, 0, 0, false));
    EXPECT_TRUE(grid.AddFloater(0, 1, 1, 2, 50, 25, 0xFF, true));
    EXPECT_TRUE(grid.AddFloater(0, 2, 2, 99, 0, 0, 0, false));
    EXPECT_FALSE(grid.AddFloater(0, 3, 2, 1, 0, 0, 0, false)); // has that id
    EXPECT_EQ(grid.FloaterCount(), 2);
    EXPECT_TRUE(grid.CellHasFloaters(0, 3));
    EXPECT_FALSE(grid.CellHasFloaters(0, 0));

    bool movable = false;
    const auto hit = [&](LONG x, LONG y) {
        const tagFLOATERINFO* floater = grid.GetFloaterFromPoint({x, y}, movable);
        return floater ? floater->dwID : 0;
    };
    EXPECT_EQ(hit(6, 20), 1u);
    EXPECT_TRUE(movable);
    EXPECT_EQ(hit(7, 20), 1u);
    EXPECT_FALSE(movable);
    EXPECT_EQ(hit(56, 50), 2u);
    EXPECT_TRUE(movable);
    EXPECT_EQ(hit(20, 50), 0u);
    grid.SetFloaterOptions(true, false);
    EXPECT_EQ(hit(50, 50), 2u);
    EXPECT_FALSE(movable);
    EXPECT_EQ(grid.GetFloaterFromPoint({6, 20}, movable)->wBarTopPercent, 25);
}

TEST_F(Grid, TheSelectedFloaterFollowsTheCurrentCell) {
    m_owner->m_floaters = {{1, u"one"}, {2, u"two"}, {3, u"three"}};
    CHTMLGrid& grid = Make(100, 300, 4, 1);
    grid.AddFloater(0, 1, 1, 2, 0, 0, 0, false);
    grid.AddFloater(0, 2, 2, 1, 0, 0, 0, false);
    const auto move = [&](WORD row, bool forward) {
        grid.SetRow(row);
        grid.UpdateSelectionForFloaters(forward);
        return grid.IsFloaterSelected() ? grid.GetSelectedFloater()->dwID : 0;
    };
    EXPECT_EQ(move(0, true), 0u);
    EXPECT_EQ(move(1, true), 1u);
    EXPECT_FALSE(grid.MoveFloaterSelection(true)); // behind the last
    EXPECT_FALSE(grid.IsFloaterSelected());
    EXPECT_EQ(move(2, true), 1u);
    EXPECT_TRUE(grid.MoveFloaterSelection(true));
    EXPECT_EQ(grid.GetSelectedFloater()->dwID, 2u);
    EXPECT_EQ(move(3, false), 0u);
    EXPECT_EQ(move(2, false), 2u);
    EXPECT_TRUE(grid.DeleteFloater(0, 2));
    EXPECT_FALSE(grid.IsFloaterSelected());
}

// --- Selection ----------------------------------------------------------------------------------------------------

TEST_F(Grid, ASelectionTellsWhetherItChanged) {
    CHTMLGrid& grid = Make(100, 300, 5, 3);
    EXPECT_EQ(Selection(), "- - - - at 65535,65535");
    EXPECT_TRUE(grid.SetSelection(0, 0, 1, 2));
    EXPECT_EQ(Selection(), "1 2 1 2 at 1,2");
    EXPECT_FALSE(grid.SetSelection(1, 2, 1, 2));
    grid.SetMultiSelect(true);
    EXPECT_TRUE(grid.SetSelection(2, 4, 1, 3));
    EXPECT_EQ(Selection(), "1 3 2 4 at 2,4");
    EXPECT_TRUE(grid.IsCellSelected(1, 4));
    grid.SetRowSelect(true);
    grid.SetColInRowSelect(1);
    EXPECT_TRUE(grid.SetSelection(2, 4, 2, 4));
    EXPECT_EQ(Selection(), "0 4 2 4 at 1,4");
    EXPECT_FALSE(grid.SetSelectionMode(4));
    EXPECT_TRUE(grid.SetSelectionMode(GRID_SELECT_NOTHING));
    EXPECT_FALSE(grid.SetSelection(0, 0, 0, 0));
    grid.EmptySelection();
    EXPECT_EQ(Selection(), "- - - - at 1,4");
}

TEST_F(Grid, RowsThatGoTakeWhatStandsOnThem) {
    CHTMLGrid& grid = Make(100, 300, 6, 1);
    for (WORD row = 0; row < 6; ++row) grid.SetCellData(0, row, row), grid.SetRowUserID(row, row * 10u);
    grid.SetFixedRowCount(2);
    grid.SetRow(4);
    grid.DeleteRows(1, 2);
    EXPECT_EQ(grid.GetFixedRowCount(), 1);
    EXPECT_EQ(Selection(), "0 2 0 2 at 0,2");
    EXPECT_EQ(grid.GetCellData(0, 2), 4u);
    EXPECT_EQ(grid.GetRowUserID(2), 40u);
    grid.InsertRow(1);
    EXPECT_EQ(Selection(), "0 3 0 3 at 0,3");
    EXPECT_EQ(grid.GetCellData(0, 1), 0u);
    EXPECT_EQ(grid.GetRowUserID(3), 40u);
    EXPECT_TRUE(grid.SetCellText(0, 1, u"new"));
    grid.DeleteRows(3, 99);
    EXPECT_EQ(Selection(), "- - - - at 0,65535");
    EXPECT_EQ(grid.GetRowCount(), 3);
}

TEST_F(Grid, SelectedTextGoesToTheClipboard) {
    CHTMLGrid& grid = Make(200, 300, 2, 2);
    grid.SetCellText(0, 0, u"<B>one</B> &amp;");
    grid.SetCellText(1, 1, u"four");
    grid.SetMultiSelect(true);
    EXPECT_FALSE(grid.CopySelectedCellsToClipBoard());
    grid.SetSelection(0, 0, 1, 1);
    EXPECT_TRUE(grid.CopySelectedCellsToClipBoard());
    ASSERT_TRUE(OpenClipboard(nullptr));
    EXPECT_EQ(std::u16string(static_cast<WCHAR*>(GetClipboardData(CF_UNICODETEXT))),
              u"one &amp;\t\r\n\tfour");
    CloseClipboard();
}

// --- Hot spots, links, drawing by the owner -----------------------------------------------------------------------

TEST_F(Grid, HotSpotsAreCopiedAndTold) {
    CHTMLGrid& grid = Make(200, 300, 1, 2);
    EXPECT_FALSE(grid.GetCellHotSpot(0, 0, 0));
    for (WCHAR c = u'a'; c < u'a' + 200; ++c)
        grid.FindCell(0, 0)->HotSpots.push_back({{c, 1, c + 9, 2}, {c}});
    const std::unique_ptr<WCHAR, decltype(&std::free)> last(grid.GetCellHotSpot(0, 0, 999), &std::free);
    EXPECT_EQ(last.get()[0], u'a' + 199);
    HTMLHotSpots copy(1);
    grid.CopyCellHotSpots(copy, 0, 0, -7);
    ASSERT_EQ(copy.size(), 151u);
    EXPECT_EQ(copy[1].rect.left, 'a' - 7);
    EXPECT_EQ(copy[1].rect.right, 'a' + 2);

    tagNM_GRIDVIEW view{};
    view.hdr.code = GRIDN_HOT_SPOT;
    view.pszHotSpot = u"TEL:1";
    grid.OnHotspotNotify(view);
    EXPECT_EQ(m_owner->m_told, "1125 TEL:1\n");
}

TEST_F(Grid, LinksAreNavigatedByModeAndRequest) {
    CHTMLGrid& grid = Make(200, 300, 1, 1);
    const auto active = [&](ELinkNavigationMode mode, bool on) {
        grid.SetLinkNavigationMode(mode);
        grid.SetLinkNavigationOn(on);
        return grid.IsLinkNavigationActive();
    };
    EXPECT_FALSE(active(LINK_NAVIGATION_OFF, true));
    EXPECT_FALSE(active(LINK_NAVIGATION_BY_REQUEST, false));
    EXPECT_TRUE(active(LINK_NAVIGATION_BY_REQUEST, true));
    EXPECT_TRUE(active(LINK_NAVIGATION_ALWAYS, false));
    EXPECT_FALSE(grid.SetBarsScrollMode(3));
    EXPECT_FALSE(grid.SetKeysScrollMode(3));
}

TEST_F(Grid, TheOwnerTellsTheSizeOfCellsThatItDraws) {
    CHTMLGrid& grid = Make(200, 300, 2, 1);
    const GRIDDRAWPROC draw = [](tagDRAWITEMSTRUCT&, tagCELLINFO&) { return GRID_DRAW_NOTHING; };
    const GRIDDRAWPROC ideal = [](tagDRAWITEMSTRUCT& item, tagCELLINFO&) {
        item.rcItem.bottom = item.rcItem.top + 70;
        return item.itemID == HTMLGridCells::Key(0, 1) ? 1 : 0;
    };
    EXPECT_EQ(grid.SetCellOwnerDrawProc(draw, ideal), nullptr);
    EXPECT_EQ(grid.GetRowHeight(0), 15);
    EXPECT_EQ(grid.GetRowHeight(1), 70);
    EXPECT_EQ(grid.SetCellOwnerDrawProc(nullptr, nullptr), draw);
    EXPECT_EQ(grid.GetRowHeight(1), 15);
}

// Twenty characters of 120 pixels: in a column of 60 three lines, over the client less the indent of 5 two.
TEST_F(Grid, AFullLineIsMeasuredOverTheWholeClient) {
    CHTMLGrid& grid = Make(120, 300, 1, 2);
    grid.SetCellText(0, 0, u"aaaa bbbb cccc dddd ");
    grid.SetCellText(1, 0, u"a<BR>b<BR>c<BR>d<BR>e");
    grid.SetCellOwnerDrawProc(&GlobalFullLineOwnerDrawCell, &GlobalFullLineOwnerGetIdealRect);
    EXPECT_EQ(grid.GetRowHeight(0), 28);
}

} // namespace
