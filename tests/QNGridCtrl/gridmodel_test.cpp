// A grid and its owner: what is asked for, measured, estimated, selected, and where it lies. Text is 6 pixels a
// character and 14 high; a row without more has 15.
#include "NorvoTools/globals.h"
#include "Platform/modules.h"
#include "QNGridCtrl/HTMLGrid.h"
#include "tests/support/gridwindow.h"
#include "tests/support/pngmaker.h"

#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

namespace {

class Grid : public GridTest {
protected:
    CHTMLGrid& Make(int width, int height, DWORD rows, DWORD cols, bool isVirtual = false) {
        if (!owner->cells) owner->cells = [](WORD, WORD) { return std::u16string(); };
        return GridTest::Make(rows, cols, {0, 0, width, height}, isVirtual);
    }
    void List(const char16_t* text) {
        owner->cells = [text](WORD, WORD) { return std::u16string(text); };
    }
    std::string Selection() {
        WORD l, t, r, b;
        grid->GetSelection(l, t, r, b);
        std::string text;
        for (const WORD bound : {l, t, r, b}) text += bound == GRID_NONE ? "- " : std::to_string(bound) + " ";
        return text + "at " + std::to_string(grid->GetCol()) + "," + std::to_string(grid->GetRow());
    }
    std::string CellAt(LONG x, LONG y) {
        WORD col, row;
        return grid->GetCellFromPoint({x, y}, col, row) ? std::to_string(col) + "," + std::to_string(row)
                                                        : "none";
    }
    std::string RectOf(WORD col, WORD row) {
        RECT r{};
        if (!grid->GetCellRect(col, row, r)) return "none";
        return std::to_string(r.left) + "," + std::to_string(r.top) + " " + std::to_string(r.right - r.left) +
               "x" + std::to_string(r.bottom - r.top);
    }
};

// --- Widths and heights -------------------------------------------------------------------------------------------

TEST_F(Grid, AutomaticColumnsShareWhatIsLeft) {
    CHTMLGrid& g = Make(101, 300, 1, 2);
    EXPECT_EQ(g.GetColWidth(0), 51);
    EXPECT_EQ(g.GetColWidth(1), 50);
    g.SetColWidth(1, 80);
    EXPECT_EQ(g.GetColWidth(0), 21);
    g.SetColWidth(1, 200); // nothing is left, and the row runs over the edge
    EXPECT_EQ(g.GetColWidth(0), 0);
    EXPECT_EQ(g.GetTotalWidth(), 200);
    EXPECT_EQ(g.GetColWidth(2), 0);
}

// Sixty pixels: ten characters, but for the pixel of the line.
TEST_F(Grid, ARowIsAsHighAsItsHighestCell) {
    CHTMLGrid& g = Make(120, 300, 1, 2);
    EXPECT_EQ(g.GetRowHeight(0), 15);
    EXPECT_TRUE(g.SetCellText(0, 0, u"aaaaabbbbb"));
    EXPECT_EQ(g.GetRowHeight(0), 28);
    g.SetShowHLines(true);
    EXPECT_EQ(g.GetRowHeight(0), 29);
    g.SetShowVLines(false);
    EXPECT_EQ(g.GetRowHeight(0), 15);
    g.SetCellText(1, 0, u"a", RECT{0, 20, 0, 5});
    EXPECT_EQ(g.GetRowHeight(0), 14 + 1 + 25);
    g.SetCellText(1, 0, u"aaaaabbbbb", RECT{6, 0, 0, 0});
    EXPECT_EQ(g.GetRowHeight(0), 29);
    g.SetCellSingleLine(1, 0, true);
    EXPECT_EQ(g.GetRowHeight(0), 15);
    g.SetRowHeight(0, 17);
    EXPECT_EQ(g.GetRowHeight(0, true), 17);
    g.SetRowHeight(0, HTMLGridAxis::kAutomatic);
    g.SetCellText(1, 0, u"a<BR>b", RECT{});
    g.SetCellSingleLine(1, 0, false);
    EXPECT_EQ(g.GetRowHeight(0), 29);
    g.SetRowHeightFixed(true);
    EXPECT_EQ(g.GetRowHeight(0), 15);
}

TEST_F(Grid, NothingIsRecalculatedInAnUpdate) {
    CHTMLGrid& g = Make(120, 300, 2, 1);
    g.BeginUpdate();
    g.BeginUpdate();
    g.SetCellText(0, 0, u"a<BR>b");
    g.EndUpdate();
    EXPECT_EQ(g.GetTotalHeight(), 30);
    g.EndUpdate();
    EXPECT_EQ(g.GetTotalHeight(), 43);
    g.EndUpdate(); // one too many does nothing
    EXPECT_FALSE(g.IsInUpdate());
}

TEST_F(Grid, ABarTakesItsRoomFromTheColumns) {
    CHTMLGrid& g = Make(101, 100, 6, 1);
    const int withBar = 101 - GetSystemMetrics(SM_CXVSCROLL);
    const auto range = [&] {
        SCROLLINFO info{sizeof info, SIF_ALL, 0, 0, 0, 0, 0};
        g.GetScrollInfo(SB_VERT, &info);
        return std::to_string(info.nMax) + " by " + std::to_string(info.nPage);
    };
    EXPECT_EQ(g.GetColWidth(0), 101);
    g.InsertRow(0);
    EXPECT_EQ(g.GetColWidth(0), withBar);
    EXPECT_EQ(range(), "104 by 100");
    g.DeleteRows(0, 1);
    EXPECT_EQ(g.GetColWidth(0), 101);
    g.SetCellText(0, 5, u"a<BR>b"); // 103
    EXPECT_EQ(g.GetColWidth(0), withBar);
    g.SetCellText(0, 4, u"a<BR>b");
    EXPECT_EQ(range(), "115 by 100");
    g.SetShowScrollBars(0);
    EXPECT_EQ(g.GetColWidth(0), 101);
}

// --- Cells on request ---------------------------------------------------------------------------------------------

// As many rows as there can be. Rows of 15 are asked for until the screen of 300 is more than full; the last one of
// them stands in for all the others.
TEST_F(Grid, AVirtualListAsksForItsFirstScreenAlone) {
    List(u"a row");
    CHTMLGrid& g = Make(200, 300, 100000, 1, true);
    EXPECT_EQ(g.GetRowCount(), 65535);
    EXPECT_EQ(owner->requests, 21);
    EXPECT_EQ(g.GetTotalHeight(), 65535 * 15);

    owner->requests = 0;
    List(u"two<BR>lines");
    g.SetTopRow(1000);
    EXPECT_EQ(g.GetTopPixel(), 15000);
    EXPECT_EQ(g.GetTopRow(), 1000);
    EXPECT_EQ(owner->requests, 11); // 28 each
    EXPECT_EQ(g.GetTotalHeight(), 65535 * 15 + 11 * 13);
    EXPECT_EQ(g.RowToPixel(1002), 15000 + 56);
    EXPECT_EQ(g.PixelToRow(15000 + 55), 1001);
    EXPECT_EQ(g.GetRowHeight(5000), 28);
    EXPECT_EQ(owner->requests, 12);
}

// The first screen makes the list look longer than it is: at its end it slips, and what comes into view then is asked for.
TEST_F(Grid, AListThatTurnsOutShorterHasAllOfItsLastScreen) {
    owner->cells = [](WORD, WORD row) { return std::u16string(row < 11 ? u"two<BR>lines" : u"one"); };
    CHTMLGrid& g = Make(200, 300, 50, 1, true);
    EXPECT_EQ(g.GetTotalHeight(), 50 * 28);
    g.SetTopRow(49);
    EXPECT_EQ(g.GetTopPixel(), g.GetTotalHeight() - 300 - 1);
    for (WORD row = g.GetTopRow(); row < 50; ++row) {
        EXPECT_TRUE(g.FindCell(0, row)) << row;
        EXPECT_EQ(g.GetRowHeight(row), 15) << row;
    }
}

TEST_F(Grid, TheAnswerFillsTheCell) {
    List(u"x");
    owner->more = [this](tagNM_GRIDCELL& ask) {
        EXPECT_EQ(ask.hdr.code, 2021u);
        EXPECT_EQ(ask.hdr.hwndFrom, grid->GetHWnd());
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
    grid.emplace();
    grid->InitWindow(owner->GetHWnd(), {0, 0, 200, 300}, true, u"");
    grid->BeginUpdate();
    grid->SetDimensions(2, 2);
    grid->SetRowUserID(0, 70);
    grid->SetRowUserID(1, 71);
    grid->EndUpdate();
    EXPECT_EQ(grid->GetColWidth(0), 30);
    EXPECT_EQ(grid->GetColWidth(1), 170);
    EXPECT_EQ(grid->GetRowHeight(0), 40);
    EXPECT_EQ(grid->GetRowHeight(1), 50);
    EXPECT_EQ(grid->GetCellData(0, 0), 5u);
    EXPECT_EQ(grid->FindCell(1, 0)->bOwnerFlag, 9);
    EXPECT_FALSE(grid->FindCell(1, 1));
    EXPECT_EQ(grid->GetCellData(1, 1), 0u);
    owner->more = [](tagNM_GRIDCELL& ask) { ask.wColWidth = 44; };
    grid->UpdateCellText(0, 0);
    EXPECT_EQ(grid->GetColWidth(0), 44);
    EXPECT_EQ(grid->GetColWidth(1), 156);
}

// Odd rows have no text: they are asked for once, whatever is scrolled, and again when the grid is worked out anew.
TEST_F(Grid, CellsTheOwnerDoesNotHaveAreNotAskedForAtEachStep) {
    owner->cells = [](WORD, WORD row) { return std::u16string(row % 2 ? u"" : u"x"); };
    CHTMLGrid& g = Make(200, 300, 100, 1, true);
    EXPECT_EQ(owner->requests, 21);
    for (int step = 0; step < 5; ++step) g.ScrollByPixelDown(1);
    EXPECT_EQ(owner->requests, 21);
    g.UpdateGrid();
    EXPECT_EQ(owner->requests, 21 + 10);
}

TEST_F(Grid, AnOwnerThatAnswersWithFewerRowsIsHeard) {
    owner->cells = [this](WORD, WORD row) {
        if (row == 3) grid->SetDimensions(2, 1);
        return std::u16string(u"x");
    };
    grid.emplace();
    grid->InitWindow(owner->GetHWnd(), {0, 0, 200, 300}, true, u"");
    grid->SetDimensions(1000, 1);
    EXPECT_EQ(grid->GetRowCount(), 2);
    EXPECT_EQ(grid->GetTotalHeight(), 30);
}

TEST_F(Grid, CellsThatAreNotThereTakeNoText) {
    CHTMLGrid& g = Make(200, 300, 2, 1);
    EXPECT_FALSE(g.SetCellText(0, 0, nullptr));
    EXPECT_FALSE(g.SetCellText(1, 0, u"x"));
    EXPECT_FALSE(g.GetCellText(1, 0, false));
    g.DestroyCells();
    EXPECT_FALSE(g.SetCellText(0, 0, u"x"));
    g.CreateCells();
    const std::u16string longest = u"a <B>" + std::u16string(5000, u'x');
    EXPECT_TRUE(g.SetCellText(0, 0, longest.c_str()));
    const std::unique_ptr<WCHAR, decltype(&std::free)> text(g.GetCellText(0, 0, false), &std::free);
    EXPECT_EQ(std::u16string(text.get()), u"a " + std::u16string(4093, u'x'));
}

// --- Images -------------------------------------------------------------------------------------------------------

TEST_F(Grid, ASwatchIsMadeOnceAndForgottenEverywhere) {
    owner->swatch = CreateBitmap(10, 8, 1, 24, nullptr);
    owner->floaters[1] = u"<IMG SRC=S4294967292>f";
    CHTMLGrid& g = Make(200, 300, 2, 1);
    g.SetCellText(0, 0, u"<IMG SRC=S4294967292>a");
    g.SetCellText(0, 1, u"<IMG SRC=\"S4294967292\">b<IMG SRC=0><IMG SRC=nothing.bmp>");
    EXPECT_TRUE(g.AddFloater(0, 0, 1, 1, 0, 0, 0, false));
    EXPECT_EQ(owner->swatches, std::vector<DWORD>{4294967292});
    const CHTMLImage* image = g.FindCell(0, 0)->Tokens()[0].pImage;
    ASSERT_TRUE(image);
    EXPECT_EQ(image->GetWidth(), 10);
    EXPECT_EQ(g.FindCell(0, 1)->Tokens()[0].pImage, image);
    EXPECT_EQ(g.FindCell(0, 1)->Tokens().size(), 2u); // the others don't exist
    g.ClearBitmapCache();                             // ends the bitmap too
    EXPECT_FALSE(g.FindCell(0, 0)->Tokens()[0].pImage);
    EXPECT_FALSE(g.FindCell(0, 0)->Floaters.begin()->second->Text.Tokens()[0].pImage);
    BITMAP gone{};
    EXPECT_EQ(GetObjectW(owner->swatch, sizeof gone, &gone), 0);
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
    g_hResources = LoadLibraryW(u"QNResources.dll");
    CHTMLGrid& g = Make(200, 300, 2, 1);
    g.SetResourcesRootPath(u"\\icons");
    EXPECT_EQ(std::u16string(g.GetResourcesRootPath()), u"\\icons\\");
    g.SetCellText(0, 0,
                  u"<IMG SRC=a.png><IMG SRC=\"\\other\\c.png\"><IMG SRC=b.bmp><IMG SRC=none.png>"
                  u"<IMG SRC=~NoCategory.bmp><IMG SRC=~none.bmp>");
    std::string sizes;
    for (const HTMLTOKEN& token : g.FindCell(0, 0)->Tokens())
        sizes +=
            std::to_string(token.pImage->GetWidth()) + "x" + std::to_string(token.pImage->GetHeight()) + " ";
    EXPECT_EQ(sizes, "3x5 7x1 2x1 16x16 "); // the last one is the suite's
    FreeLibrary(std::exchange(g_hResources, nullptr));
    Put("icons/a.png", "");
    g.SetCellText(0, 1, u"<IMG SRC=a.png>");
    EXPECT_EQ(g.FindCell(0, 1)->Tokens()[0].pImage, g.FindCell(0, 0)->Tokens()[0].pImage);
}

// --- Places -------------------------------------------------------------------------------------------------------

// Two fixed rows and one fixed column; 10 rows of 15 in 100 pixels, 4 columns of 50 in 100.
TEST_F(Grid, FixedCellsStayWhileOthersScroll) {
    CHTMLGrid& g = Make(100, 100, 10, 4);
    g.SetShowScrollBars(0);
    g.SetFixedRowCount(2);
    g.SetFixedColCount(1);
    for (WORD col = 0; col < 4; ++col) g.SetColWidth(col, 50);
    EXPECT_EQ(g.GetTopPixel(), 30);
    g.SetTopRow(4);
    g.SetLeftCol(2);
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
    EXPECT_FALSE(g.IsCellVisible(2, 3)); // under the fixed rows
    EXPECT_TRUE(g.IsCellVisible(0, 1));
    EXPECT_EQ(g.GetBottomRow(), 8);
    EXPECT_TRUE(g.MakeCellVisible(3, 3));
    EXPECT_EQ(RectOf(3, 3), "51,30 50x15"); // the last pixel is never reached
    EXPECT_FALSE(g.MakeCellVisible(3, 3));
    g.SetTopRow(9);
    EXPECT_EQ(g.GetTopPixel(), 30 - 100 + 150 - 1);
    g.ScrollToTop();
    g.ScrollByPixelUp(40, false, true); // by half as much
    EXPECT_EQ(CellAt(10, 49), "none");
    EXPECT_EQ(CellAt(10, 50), "0,2");
    EXPECT_EQ(CellAt(10, 29), "0,1");
}

// --- Floaters -----------------------------------------------------------------------------------------------------

TEST_F(Grid, FloatersNeedTextAndAreMovedByTheirBar) {
    owner->floaters = {{1, u"one"}, {2, u"two"}};
    CHTMLGrid& g = Make(100, 300, 4, 1);
    EXPECT_FALSE(g.AddFloater(0, 0, 3, 1, 0, 0, 0, false)); // no text
    EXPECT_FALSE(g.AddFloater(0, 9, 1, 1, 0, 0, 0, false));
    EXPECT_TRUE(g.AddFloater(0, 1, 1, 2, 50, 25, 0xFF, true));
    EXPECT_TRUE(g.AddFloater(0, 2, 2, 99, 0, 0, 0, false));
    EXPECT_FALSE(g.AddFloater(0, 3, 2, 1, 0, 0, 0, false)); // has that id
    EXPECT_EQ(g.FloaterCount(), 2);
    EXPECT_TRUE(g.CellHasFloaters(0, 3));
    EXPECT_FALSE(g.CellHasFloaters(0, 0));

    bool movable = false;
    const auto hit = [&](LONG x, LONG y) {
        const tagFLOATERINFO* floater = g.GetFloaterFromPoint({x, y}, movable);
        return floater ? floater->dwID : 0;
    };
    EXPECT_EQ(hit(6, 20), 1u);
    EXPECT_TRUE(movable);
    EXPECT_EQ(hit(7, 20), 1u);
    EXPECT_FALSE(movable);
    EXPECT_EQ(hit(56, 50), 2u);
    EXPECT_TRUE(movable);
    EXPECT_EQ(hit(20, 50), 0u);
    g.SetFloaterOptions(true, false);
    EXPECT_EQ(hit(50, 50), 2u);
    EXPECT_FALSE(movable);
    EXPECT_EQ(g.GetFloaterFromPoint({6, 20}, movable)->wBarTopPercent, 25);
}

TEST_F(Grid, TheSelectedFloaterFollowsTheCurrentCell) {
    owner->floaters = {{1, u"one"}, {2, u"two"}, {3, u"three"}};
    CHTMLGrid& g = Make(100, 300, 4, 1);
    g.AddFloater(0, 1, 1, 2, 0, 0, 0, false);
    g.AddFloater(0, 2, 2, 1, 0, 0, 0, false);
    const auto move = [&](WORD row, bool forward) {
        g.SetRow(row);
        g.UpdateSelectionForFloaters(forward);
        return g.IsFloaterSelected() ? g.GetSelectedFloater()->dwID : 0;
    };
    EXPECT_EQ(move(0, true), 0u);
    EXPECT_EQ(move(1, true), 1u);
    EXPECT_FALSE(g.MoveFloaterSelection(true)); // behind the last
    EXPECT_FALSE(g.IsFloaterSelected());
    EXPECT_EQ(move(2, true), 1u);
    EXPECT_TRUE(g.MoveFloaterSelection(true));
    EXPECT_EQ(g.GetSelectedFloater()->dwID, 2u);
    EXPECT_EQ(move(3, false), 0u);
    EXPECT_EQ(move(2, false), 2u);
    EXPECT_TRUE(g.DeleteFloater(0, 2));
    EXPECT_FALSE(g.IsFloaterSelected());
}

// --- Selection ----------------------------------------------------------------------------------------------------

TEST_F(Grid, ASelectionTellsWhetherItChanged) {
    CHTMLGrid& g = Make(100, 300, 5, 3);
    EXPECT_EQ(Selection(), "- - - - at 65535,65535");
    EXPECT_TRUE(g.SetSelection(0, 0, 1, 2));
    EXPECT_EQ(Selection(), "1 2 1 2 at 1,2");
    EXPECT_FALSE(g.SetSelection(1, 2, 1, 2));
    g.SetMultiSelect(true);
    EXPECT_TRUE(g.SetSelection(2, 4, 1, 3));
    EXPECT_EQ(Selection(), "1 3 2 4 at 2,4");
    EXPECT_TRUE(g.IsCellSelected(1, 4));
    g.SetRowSelect(true);
    g.SetColInRowSelect(1);
    EXPECT_TRUE(g.SetSelection(2, 4, 2, 4));
    EXPECT_EQ(Selection(), "0 4 2 4 at 1,4");
    EXPECT_FALSE(g.SetSelectionMode(4) || g.SetBarsScrollMode(3) || g.SetKeysScrollMode(3));
    EXPECT_TRUE(g.SetSelectionMode(GRID_SELECT_NOTHING));
    EXPECT_FALSE(g.SetSelection(0, 0, 0, 0));
    g.EmptySelection();
    EXPECT_EQ(Selection(), "- - - - at 1,4");
}

TEST_F(Grid, RowsThatGoTakeWhatStandsOnThem) {
    CHTMLGrid& g = Make(100, 300, 6, 1);
    for (WORD row = 0; row < 6; ++row) g.SetCellData(0, row, row), g.SetRowUserID(row, row * 10u);
    g.SetFixedRowCount(2);
    g.SetRow(4);
    g.DeleteRows(1, 2);
    EXPECT_EQ(g.GetFixedRowCount(), 1);
    EXPECT_EQ(Selection(), "0 2 0 2 at 0,2");
    EXPECT_EQ(g.GetCellData(0, 2), 4u);
    EXPECT_EQ(g.GetRowUserID(2), 40u);
    g.InsertRow(1);
    EXPECT_EQ(Selection(), "0 3 0 3 at 0,3");
    EXPECT_EQ(g.GetCellData(0, 1), 0u);
    EXPECT_EQ(g.GetRowUserID(3), 40u);
    EXPECT_TRUE(g.SetCellText(0, 1, u"new"));
    g.DeleteRows(3, 99);
    EXPECT_EQ(Selection(), "- - - - at 0,65535");
    EXPECT_EQ(g.GetRowCount(), 3);
}

TEST_F(Grid, SelectedTextGoesToTheClipboard) {
    CHTMLGrid& g = Make(200, 300, 2, 2);
    g.SetCellText(0, 0, u"<B>one</B> &amp;");
    g.SetCellText(1, 1, u"four");
    g.SetMultiSelect(true);
    EXPECT_FALSE(g.CopySelectedCellsToClipBoard());
    g.SetSelection(0, 0, 1, 1);
    EXPECT_TRUE(g.CopySelectedCellsToClipBoard());
    ASSERT_TRUE(OpenClipboard(nullptr));
    EXPECT_EQ(std::u16string(static_cast<WCHAR*>(GetClipboardData(CF_UNICODETEXT))),
              u"one &amp;\t\r\n\tfour");
    CloseClipboard();
}

// --- Hot spots, links, drawing by the owner -----------------------------------------------------------------------

TEST_F(Grid, HotSpotsAreCopied) {
    CHTMLGrid& g = Make(200, 300, 1, 2);
    EXPECT_FALSE(g.GetCellHotSpot(0, 0, 0));
    for (WCHAR c = u'a'; c < u'a' + 200; ++c) g.FindCell(0, 0)->HotSpots.push_back({{c, 1, c + 9, 2}, {c}});
    const std::unique_ptr<WCHAR, decltype(&std::free)> last(g.GetCellHotSpot(0, 0, 999), &std::free);
    EXPECT_EQ(last.get()[0], u'a' + 199);
    HTMLHotSpots copy(1);
    g.CopyCellHotSpots(copy, 0, 0, -7);
    ASSERT_EQ(copy.size(), 151u);
    EXPECT_EQ(copy[1].rect.left, 'a' - 7);
    EXPECT_EQ(copy[1].rect.right, 'a' + 2);
}

TEST_F(Grid, TheOwnerTellsTheSizeOfCellsThatItDraws) {
    CHTMLGrid& g = Make(200, 300, 2, 1);
    const GRIDDRAWPROC draw = [](tagDRAWITEMSTRUCT&, tagCELLINFO&) { return GRID_DRAW_NOTHING; };
    const GRIDDRAWPROC ideal = [](tagDRAWITEMSTRUCT& item, tagCELLINFO&) {
        item.rcItem.bottom = item.rcItem.top + 70;
        return item.itemID == HTMLGridCells::Key(0, 1) ? 1 : 0;
    };
    EXPECT_EQ(g.SetCellOwnerDrawProc(draw, ideal), nullptr);
    EXPECT_EQ(g.GetRowHeight(0), 15);
    EXPECT_EQ(g.GetRowHeight(1), 70);
    EXPECT_EQ(g.SetCellOwnerDrawProc(nullptr, nullptr), draw);
    EXPECT_EQ(g.GetRowHeight(1), 15);
}

// Twenty characters of 120 pixels: in a column of 60 three lines, over the client less the indent of 5 two.
TEST_F(Grid, AFullLineIsMeasuredOverTheWholeClient) {
    CHTMLGrid& g = Make(120, 300, 1, 2);
    g.SetCellText(0, 0, u"aaaa bbbb cccc dddd ");
    g.SetCellText(1, 0, u"a<BR>b<BR>c<BR>d<BR>e");
    g.SetCellOwnerDrawProc(&GlobalFullLineOwnerDrawCell, &GlobalFullLineOwnerGetIdealRect);
    EXPECT_EQ(g.GetRowHeight(0), 28);
    // The link stands at 5 + 5 * 6 of the client area; each cell counts from its own left.
    g.SetCellText(0, 0, u"aaaa <A=\"x\">link</A>", RECT{2, 0, 0, 0});
    g.ForcePaint();
    ASSERT_EQ(g.FindCell(0, 0)->HotSpots.size(), 1u);
    ASSERT_EQ(g.FindCell(1, 0)->HotSpots.size(), 1u);
    EXPECT_EQ(g.FindCell(0, 0)->HotSpots[0].rect.left, 35 - 2);
    EXPECT_EQ(g.FindCell(1, 0)->HotSpots[0].rect.left, 35 - 60);
}

} // namespace
