// What a grid paints, and that painting a part of it gives what painting all would.
#include "tests/support/gridwindow.h"

#include <random>

namespace {

constexpr DWORD kWhitePixel = 0xFFFFFF, kBlackPixel = 0, kFixedPixel = 0xF0F0F0, kSelectedPixel = 0x0078D7;

int g_drawn = 0; // cells
int g_result = GRID_DRAW_ALL;

int CountCell(tagDRAWITEMSTRUCT& item, tagCELLINFO&) {
    ++g_drawn;
    if (g_result == GRID_DRAW_NOTHING || g_result == GRID_DRAW_LINES) {
        const HBRUSH brush = CreateSolidBrush(kGreen);
        FillRect(item.hDC, &item.rcItem, brush);
        DeleteObject(brush);
    }
    return g_result;
}

class GridPaint : public GridTest {
protected:
    GridPaint() { g_drawn = 0, g_result = GRID_DRAW_ALL; }
    int DrawnBy(const std::function<void()>& change) {
        Shown();
        g_drawn = 0;
        change();
        Shown();
        return g_drawn;
    }
};

// --- A part as the whole ------------------------------------------------------------------------------------------

struct Scene {
    const char* name;
    bool isVirtual;
    std::function<void(OpenGrid&, GridOwner&)> prepare;
    bool isCovered = false; // by its editor, by a sibling and by a window of its own, which move about
};

void AddFloaters(OpenGrid& grid, GridOwner& owner) {
    owner.floaters = {
        {1, u"<B>one</B> of some words"}, {2, u"<BODY BGCOLOR=#80FFFF>two"}, {3, u"three <A=\"x\">link</A>"}};
    grid.AddFloater(1, 3, 1, 5, 50, 25, kRed, false);
    grid.AddFloater(1, 5, 2, 4, 100, 0, kBlue, false);
    grid.AddFloater(2, 12, 3, 1, 30, 0, kGreen, false);
}

// Windows over a grid, or partly so. A grid that paints over its siblings isn't asked for.
class Covers {
public:
    Covers(OpenGrid& grid, GridOwner& owner) {
        SetWindowLongW(grid.GetHWnd(), GWL_STYLE,
                       GetWindowLongW(grid.GetHWnd(), GWL_STYLE) | LONG_PTR{WS_CLIPSIBLINGS});
        const HWND over[] = {grid.GetHWnd(), owner.GetHWnd(), nullptr};
        for (const HWND parent : over)
            m_windows.push_back(CreateWindowExW(0, u"EDIT", u"over",
                                                (parent ? WS_CHILD : WS_POPUP) | WS_VISIBLE | WS_BORDER, 0, 0,
                                                0, 0, parent, nullptr, nullptr, nullptr));
    }
    ~Covers() {
        for (const HWND window : m_windows) DestroyWindow(window);
    }
    // Where one goes, what is there isn't painted yet, or is.
    void Move(std::mt19937& random) {
        const auto pixels = [&](unsigned most) { return static_cast<int>(random() % most); };
        const HWND window = m_windows[random() % m_windows.size()];
        SetWindowPos(window, HWND_TOP, pixels(220) - 20, pixels(180) - 20, pixels(90), pixels(60),
                     SWP_NOACTIVATE);
        if (random() % 2 == 0) UpdateWindow(window);
    }

private:
    std::vector<HWND> m_windows;
};

// One change that a person or owner may make, by the numbers given.
void Change(OpenGrid& grid, int what, int amount) {
    const auto cell = static_cast<WORD>(amount % grid.GetRowCount()),
               col = static_cast<WORD>(amount % grid.GetColCount());
    switch (what) {
    case 0:
        grid.ScrollByPixelUp(amount);
        break;
    case 1:
        grid.ScrollByPixelDown(amount);
        break;
    case 2:
        grid.ScrollByPixelLeft(amount / 2);
        break;
    case 3:
        grid.ScrollByPixelRight(amount / 2);
        break;
    case 4:
        grid.ScrollByRowDown(static_cast<WORD>(amount % 5));
        break;
    case 5:
        grid.ScrollByRowUp(static_cast<WORD>(amount % 5));
        break;
    case 6:
        grid.ScrollByPixelUp(amount, false, true); // beyond the top, when near it
        break;
    case 7:
        grid.ScrollByPixelDown(amount, false, true);
        break;
    case 8:
        grid.SetSelection(col, cell, static_cast<WORD>(col + amount % 3),
                          static_cast<WORD>(cell + amount % 7));
        break;
    case 9:
        grid.EmptySelection();
        break;
    default:
        grid.RequestCellUpdate(col, grid.GetTopRow());
    }
}

TEST_F(GridPaint, APartIsPaintedAsTheWholeIs) {
    const Scene scenes[] = {
        {"plain", false, [](OpenGrid&, GridOwner&) {}},
        {"fixed rows and columns, lines", false,
         [](OpenGrid& g, GridOwner&) {
             g.SetFixedRowCount(2);
             g.SetFixedColCount(1);
             g.SetShowHLines(true);
         }},
        {"whole rows, several", false,
         [](OpenGrid& g, GridOwner&) { g.SetRowSelect(true), g.SetMultiSelect(true); }},
        {"floaters", false, AddFloaters},
        {"floaters over lines, fixed ones too, one selected", false,
         [](OpenGrid& g, GridOwner& o) {
             g.SetShowHLines(true);
             g.SetFixedRowCount(1);
             g.SetFixedColCount(2);
             g.SetFixedColsFix(true);
             AddFloaters(g, o);
             g.SetRow(4);
             g.SetCol(1);
             g.UpdateSelectionForFloaters(true);
         }},
        {"wide cells", false,
         [](OpenGrid& g, GridOwner&) {
             for (WORD row = 0; row < 40; row += 3)
                 g.SetCellText(0, row, u"a long text that goes on", RECT{2, 1, -60, 0});
             for (WORD row = 0; row < 40; ++row) g.FindCell(1, row)->rcMargins.left = 9;
         }},
        {"shaded ground", false, [](OpenGrid&, GridOwner&) { CHTMLGrid::SetGradientDrawSupported(true); }},
        {"links with the focus", false,
         [](OpenGrid& g, GridOwner&) {
             g.SetLinkNavigationMode(LINK_NAVIGATION_ALWAYS);
             g.SetRowSelect(true);
             g.SetMultiSelect(true);
             for (WORD row = 0; row < 40; ++row) {
                 g.SetCellText(2, row, u"<A=\"x\">link</A>");
                 g.FindCell(2, row)->SetNavigatable(true);
                 g.FindCell(2, row)->OnNavigationButton(VK_RIGHT);
             }
             g.SetSelection(0, 0, 0, 39);
         }},
        {"rows of a virtual grid", true, [](OpenGrid& g, GridOwner&) { g.SetMultiSelect(true); }},
        {"covered", false, [](OpenGrid& g, GridOwner&) { g.SetFixedRowCount(1), g.SetShowHLines(true); },
         true},
        {"rows of a virtual grid, covered", true, [](OpenGrid&, GridOwner&) {}, true},
        {"few rows", false, [](OpenGrid& g, GridOwner&) { g.SetDimensions(4, 6); }},
    };
    const unsigned seed = std::random_device()();
    for (const Scene& scene : scenes) {
        SCOPED_TRACE(testing::Message() << scene.name << ", seed " << seed);
        std::mt19937 random(seed);
        owner->cells = [](WORD col, WORD row) {
            std::u16string text(static_cast<std::size_t>((row * 7 + col * 3) % 20), u'x');
            for (std::size_t i = 5; i < text.size(); i += 6) text[i] = u' ';
            return row % 4 == 2 ? u"<BODY BGCOLOR=#FFE0C0><B>" + text : text;
        };
        Make(40, 6, {0, 0, 200, 160}, scene.isVirtual);
        for (WORD col = 0; col < 6; ++col) grid->SetColWidth(col, static_cast<WORD>(30 + 9 * col));
        scene.prepare(*grid, *owner);
        std::optional<Covers> covers;
        if (scene.isCovered) covers.emplace(*grid, *owner);
        Shown();
        for (int step = 0; step < 60 && !HasFailure(); ++step) {
            for (int changes = static_cast<int>(random() % 3) + 1; changes > 0; --changes) {
                if (covers && random() % 2 == 0) covers->Move(random);
                Change(*grid, static_cast<int>(random() % 11), static_cast<int>(random() % 90));
                if (random() % 4 != 0) Shown();
            }
            EXPECT_EQ(Shown().Against(PaintedAnew()), "") << "step " << step;
        }
        CHTMLGrid::SetGradientDrawSupported(false);
        covers.reset();
        grid.reset();
    }
}

// Row 30 of 15 pixels comes into view; what is seen stays as wide, but both columns are others.
TEST_F(GridPaint, ColumnsThatTheOwnerChangesOnTheWay) {
    owner->more = [](tagNM_GRIDCELL& cell) {
        if (cell.hdr.idFrom == HTMLGridCells::Key(0, 30)) cell.wColWidth = 70;
    };
    Make(100, 2, {0, 0, 200, 100}, true).ScrollByPixelDown(340);
    Shown();
    grid->ScrollByPixelDown(20);
    EXPECT_EQ(grid->GetColWidth(0), 70);
    EXPECT_EQ(Shown().Against(PaintedAnew()), "");
}

// 12 rows of 10 pixels are in view, of one column.
TEST_F(GridPaint, OnlyWhatChangesIsPainted) {
    Make(100, 1, {0, 0, 100, 120});
    grid->SetShowScrollBars(0);
    grid->SetMinRowHeight(10);
    grid->SetRowHeightFixed(true);
    grid->SetCellOwnerDrawProc(&CountCell, nullptr);
    struct Case {
        const char* what;
        std::function<void()> change;
        int drawn;
    };
    const Case cases[] = {
        {"nothing", [] {}, 0},
        {"exposed", [&] { InvalidateRect(grid->GetHWnd(), nullptr, FALSE); }, 0},
        {"by a row and a half", [&] { grid->ScrollByPixelDown(15); }, 2},
        {"to whole rows", [&] { grid->ScrollByPixelDown(5); }, 1},
        {"there and back", [&] { grid->ScrollByPixelDown(50), grid->ScrollByPixelUp(50); }, 0},
        {"up", [&] { grid->ScrollByPixelUp(20); }, 2},
        {"by more than is in view", [&] { grid->ScrollByPixelDown(120); }, 12},
        {"to the end, whose last pixel isn't reached", [&] { grid->ScrollToBottom(); }, 13},
        {"back to the top", [&] { grid->ScrollToTop(); }, 12},
        {"a row selected", [&] { grid->SetSelection(0, 3, 0, 3); }, 1},
        {"another", [&] { grid->SetSelection(0, 5, 0, 5); }, 2},
        {"one out of view", [&] { grid->SetSelection(0, 50, 0, 50); }, 1},
        {"none", [&] { grid->EmptySelection(); }, 0},
        {"a cell", [&] { grid->RequestCellUpdate(0, 4); }, 1},
        {"the cell twice", [&] { grid->RequestCellUpdate(0, 4), grid->RequestCellUpdate(0, 4); }, 1},
        {"two kinds of work", [&] { grid->ScrollByPixelDown(10), grid->SetSelection(0, 3, 0, 3); }, 12},
        {"during an update", [&] { grid->BeginUpdate(), grid->ScrollByPixelDown(10), grid->EndUpdate(); }, 1},
    };
    for (const Case& c : cases) EXPECT_EQ(DrawnBy(c.change), c.drawn) << c.what;
    DrawnBy([&] { grid->SetMultiSelect(true); });
    EXPECT_EQ(DrawnBy([&] { grid->SetSelection(0, 3, 0, 6); }), 3) << "3 was selected";
    EXPECT_EQ(DrawnBy([&] { grid->SetSelection(0, 2, 0, 7); }), 2) << "above and below";
}

// --- Pixels -------------------------------------------------------------------------------------------------------

struct Pixel {
    const char* what;
    LONG x, y;
    DWORD color;
};

void ExpectPixels(const WindowPixels& shown, std::initializer_list<Pixel> pixels) {
    for (const Pixel& pixel : pixels) EXPECT_EQ(shown.At(pixel.x, pixel.y), pixel.color) << pixel.what;
}

// Two columns of 50 and rows of 20 from 0; the fixed ones are the first of each. No text.
TEST_F(GridPaint, GroundAndLines) {
    owner->cells = [](WORD col, WORD row) { return col == 1 && row == 2 ? u"<BODY BGCOLOR=#FF0000>" : u""; };
    Make(4, 2, {0, 0, 120, 100});
    grid->SetMinRowHeight(20);
    grid->SetColWidth(0, 50);
    grid->SetColWidth(1, 50);
    grid->SetFixedRowCount(1);
    grid->SetFixedColCount(1);
    grid->SetShowHLines(true);
    grid->SetSelection(1, 3, 1, 3);
    ExpectPixels(Shown(), {{"fixed ground", 5, 5, kFixedPixel},
                           {"fixed column", 5, 25, kFixedPixel},
                           {"fixed line at the right", 49, 5, kBlackPixel},
                           {"fixed line below", 5, 19, kBlackPixel},
                           {"cell", 60, 30, kWhitePixel},
                           {"its line at the right", 99, 30, kBlackPixel},
                           {"its line below", 60, 39, kBlackPixel},
                           {"a colour of its own", 60, 50, 0xFF0000},
                           {"selected", 60, 70, kSelectedPixel},
                           {"right of all columns", 110, 50, kWhitePixel},
                           {"below all rows", 60, 90, kWhitePixel}});
    grid->SetBackColor(0x00FFFF);
    grid->SetShowVLines(false);
    ExpectPixels(Shown(), {{"below all rows", 60, 90, 0xFFFF00}, {"no line", 99, 30, kWhitePixel}});
}

TEST_F(GridPaint, WhatTheOwnerDrawsIsKept) {
    owner->cells = [](WORD, WORD) { return u"<BODY BGCOLOR=#FF0000>"; };
    Make(1, 1, {0, 0, 100, 50});
    grid->SetMinRowHeight(20);
    grid->SetCellOwnerDrawProc(&CountCell, nullptr);
    struct Case {
        int result;
        DWORD ground, line;
    };
    for (const Case& c :
         {Case{GRID_DRAW_ALL, 0xFF0000, kBlackPixel}, Case{GRID_DRAW_NOTHING, 0x00FF00, 0x00FF00},
          Case{GRID_DRAW_LINES_TEXT, kWhitePixel, kBlackPixel},
          Case{GRID_DRAW_LINES, 0x00FF00, kBlackPixel}}) {
        g_result = c.result;
        const WindowPixels shown = PaintedAnew();
        EXPECT_EQ(shown.At(50, 10), c.ground) << c.result;
        EXPECT_EQ(shown.At(99, 10), c.line) << c.result;
    }
}

// A slot of 60 pixels from 40 on, rows of 20: the floater's first is row 1, at 20. Its bar is 7 wide.
TEST_F(GridPaint, Floaters) {
    owner->cells = [](WORD, WORD) { return u""; };
    owner->floaters[7] = u"<BODY BGCOLOR=#00FF00>text text text text text text text";
    Make(30, 2, {0, 0, 120, 100});
    grid->SetShowScrollBars(0);
    grid->SetMinRowHeight(20);
    grid->SetColWidth(0, 40);
    grid->SetColWidth(1, 60);
    EXPECT_TRUE(grid->AddFloater(1, 1, 7, 5, 50, 0, kRed, false));
    const WindowPixels top = Shown();
    ExpectPixels(
        top, {{"above it", 60, 19, kWhitePixel},
              {"clear of the cell above", 60, 20, kWhitePixel},
              {"clear of the cell beside", 40, 30, kWhitePixel},
              {"marked part of the bar, the right end of the shade is next to red", 46, 30, top.At(46, 69)},
              {"frame", 47, 30, kBlackPixel},
              {"frame on top", 60, 21, kBlackPixel},
              {"body", 49, 22, 0x00FF00}});
    EXPECT_GT(top.At(46, 30), 0xE00000u) << "red";
    EXPECT_EQ(top.At(46, 71), kWhitePixel) << "half of 100 pixels is marked";

    grid->ScrollByPixelDown(60); // its first two rows, and part of row 3
    const WindowPixels scrolled = Shown();
    for (LONG y = 0; y < 40; ++y)
        for (LONG x = 0; x < 100; ++x) ASSERT_EQ(scrolled.At(x, y), top.At(x, y + 60)) << x << "," << y;
    ExpectPixels(scrolled, {{"frame at its end", 60, 57, kBlackPixel},
                            {"ground below", 60, 58, kWhitePixel},
                            {"clear of the next cell", 60, 59, kWhitePixel}});
    grid->SetFloaterOptions(false, true);
    EXPECT_EQ(Shown().At(80, 50), kSelectedPixel) << "without text they are all as selected";
}

// Beyond the ends there is nothing but the ground.
TEST_F(GridPaint, GapsBeyondTheEnds) {
    owner->cells = [](WORD, WORD) { return u"<BODY BGCOLOR=#FF0000>"; };
    Make(20, 1, {0, 0, 100, 100});
    grid->SetShowScrollBars(0);
    grid->SetMinRowHeight(20);
    Shown();
    grid->ScrollByPixelUp(30, false, true);
    ExpectPixels(Shown(), {{"beyond the top", 10, 14, kWhitePixel}, {"first row", 10, 15, 0xFF0000}});
    grid->ScrollToBottom();
    ExpectPixels(Shown(), {{"last row", 10, 98, 0xFF0000}, {"all but a pixel", 10, 99, 0xFF0000}});
    grid->ScrollByPixelDown(30, false, true);
    ExpectPixels(Shown(), {{"last row", 10, 85, 0xFF0000}, {"beyond the end", 10, 86, kWhitePixel}});
}

// A picture of the grid as it was goes out, and what is hidden isn't shown before it has come in.
TEST_F(GridPaint, ViewsSlideIn) {
    Make(4, 1, {0, 0, 40, 40});
    Shown();
    grid->SlideViewBefore();
    EXPECT_FALSE(grid->IsWindowVisible());
    grid->SetBackColor(0x0000FF);
    owner->cells = nullptr;
    grid->DestroyCells();
    grid->SlideViewAfter(true);
    EXPECT_TRUE(grid->IsWindowVisible());
    Pump();
    EXPECT_EQ(WindowPixels(grid->GetHWnd()).At(5, 5), 0xFF0000u);
}

} // namespace
