// The parts of a grid that need no window: positions of rows, sources of images, selection rules.
#include "QNGridCtrl/HTMLGridAxis.h"
#include "QNGridCtrl/HTMLGridImages.h"
#include "QNGridCtrl/HTMLGridSelection.h"

#include <gtest/gtest.h>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

// --- Positions ----------------------------------------------------------------------------------------------------

// Against a plain walk over the sizes, through all that can happen to rows.
TEST(GridAxis, FindsWhatAWalkOverAllSizesFinds) {
    std::mt19937 random(7);
    const auto upTo = [&](int most) { return static_cast<int>(random() % static_cast<unsigned>(most + 1)); };
    HTMLGridAxis axis;
    std::vector<int> sizes;
    for (int step = 0; step < 2000; ++step) {
        const int count = static_cast<int>(sizes.size()), index = upTo(count), size = upTo(3) ? upTo(40) : 0;
        switch (upTo(5)) {
        case 0:
            axis.Insert(index);
            sizes.insert(sizes.begin() + index, 0);
            break;
        case 1:
            if (upTo(9)) continue;
            axis.Remove(index, (count - index) / 2);
            sizes.erase(sizes.begin() + index, sizes.begin() + index + (count - index) / 2);
            break;
        default:
            if (index == count) continue;
            axis.SetSize(index, size, true);
            sizes[static_cast<std::size_t>(index)] = size;
        }
        const int total = std::accumulate(sizes.begin(), sizes.end(), 0);
        ASSERT_EQ(axis.Total(), total) << "step " << step;
        const int pixel = upTo(total + 1);
        int at = 0, before = 0;
        while (at < axis.Count() && before + sizes[static_cast<std::size_t>(at)] <= pixel)
            before += sizes[static_cast<std::size_t>(at++)];
        ASSERT_EQ(axis.At(pixel), at) << "step " << step << " pixel " << pixel;
        ASSERT_EQ(axis.Before(at), before) << "step " << step;
    }
    EXPECT_EQ(axis.At(-1), 0);
}

TEST(GridAxis, TheHighestRowsOfTheLongestGridStayCountable) {
    HTMLGridAxis axis;
    axis.SetCount(65535);
    for (int i = 0; i < axis.Count(); ++i) axis.Put(i, 1 << 30, true);
    axis.Sum();
    EXPECT_EQ(axis.Total(), 65535 * 32767);
    EXPECT_EQ(axis.At(axis.Total() - 1), 65534);
}

// --- Images -------------------------------------------------------------------------------------------------------

TEST(GridImages, SourcesTellTheirKind) {
    using Kind = HTMLImageSource::Kind;
    const struct {
        std::u16string source;
        std::size_t rootLength;
        Kind kind;
        DWORD number;
    } table[] = {
        {u"logo.png", 0, Kind::PngFile, 0},
        {u"logo.PNG", 0, Kind::BitmapFile, 0}, // the capitals are no PNG
        {u"a.bmp", 0, Kind::BitmapFile, 0},
        {u"1.jpg", 0, Kind::BitmapFile, 0},
        {u".bmp", 0, Kind::Swatch, 0}, // too short for a file
        {u"a.jpeg", 0, Kind::Swatch, 0},
        {std::u16string(251, u'x') + u".bmp", 4, Kind::BitmapFile, 0},
        {std::u16string(251, u'x') + u".bmp", 5, Kind::Swatch, 0}, // with the root too long
        {u"237", 0, Kind::Resource, 237},
        {u"0", 0, Kind::Resource, 0},
        {u"65537x", 0, Kind::Resource, 1}, // cut to 16 bits
        {u"S4294967292", 0, Kind::Swatch, 0xFFFFFFFC},
        {u"S-12", 0, Kind::Swatch, 0xFFFFFFF4},
        {u"S4294967301", 0, Kind::Swatch, 5}, // wraps
        {u"x7", 0, Kind::Swatch, 7},
        {u"", 0, Kind::Swatch, 0},
    };
    for (const auto& row : table) {
        const HTMLImageSource source = ParseImageSource(row.source, row.rootLength);
        EXPECT_EQ(source.kind, row.kind) << row.source.size();
        EXPECT_EQ(source.number, row.number) << row.source.size();
    }
}

// 97 * 17; 98 + (98 + 1649) * 16; the long ones fold their top bits.
TEST(GridImages, NamesAreHashed) {
    EXPECT_EQ(HashImageName(u""), 0u);
    EXPECT_EQ(HashImageName(u"a"), 1649u);
    EXPECT_EQ(HashImageName(u"ab"), 28050u);
    EXPECT_EQ(HashImageName(u"S4294967292"), 0x09E04FA2u);
    EXPECT_EQ(HashImageName(u"icons\\home.png"), 0x09745E47u);
}

// --- Selection ----------------------------------------------------------------------------------------------------

// Six columns and ten rows, one of each fixed. Told as left, top, right, bottom.
TEST(GridSelection, EachModeMakesItsOwnOfTheSameBounds) {
    using Bounds = HTMLGridSelection;
    const Bounds asked = {4, 7, 2, 3}; // in the wrong order
    const struct {
        const char* what;
        WORD mode;
        bool multi, rows;
        Bounds expected;
    } table[] = {
        {"cells", GRID_SELECT_CELLS, true, false, {2, 3, 4, 7}},
        {"one cell", GRID_SELECT_CELLS, false, false, {4, 7, 4, 7}},
        {"rows in place of cells", GRID_SELECT_CELLS, true, true, {1, 3, 5, 7}},
        {"rows", GRID_SELECT_ROWS, true, false, {1, 3, 5, 7}},
        {"one row", GRID_SELECT_ROWS, false, false, {1, 7, 5, 7}},
        {"columns", GRID_SELECT_COLS, true, false, {2, 1, 4, 9}},
        {"one column", GRID_SELECT_COLS, false, true, {4, 1, 4, 9}},
    };
    for (const auto& row : table) {
        const HTMLGridSelectionRules rules{row.mode, row.multi, row.rows, 6, 10, 1, 1};
        EXPECT_EQ(rules.Apply(rules.Bounded(asked)), row.expected) << row.what;
    }
    const HTMLGridSelectionRules rules{GRID_SELECT_CELLS, true, false, 6, 10, 1, 1};
    EXPECT_EQ(rules.Bounded({GRID_NONE, 3, 99, GRID_NONE}),
              (Bounds{0, 0, 5, 3})); // none is 0, behind is the last
}

TEST(GridSelection, ShrinksWithRowsThatGo) {
    const struct {
        WORD first, count;
        WORD top, bottom;
    } table[] = {
        {0, 2, 1, 3}, {4, 1, 3, 4}, {4, 9, 3, 3}, {2, 2, 2, 3}, {6, 1, 3, 5}, {3, 3, GRID_NONE, GRID_NONE},
    };
    for (const auto& row : table) {
        HTMLGridSelection selection{1, 3, 4, 5};
        selection.CloseRows(row.first, row.count);
        EXPECT_EQ(selection.top, row.top) << row.first;
        EXPECT_EQ(selection.bottom, row.bottom) << row.first;
    }
}

} // namespace
