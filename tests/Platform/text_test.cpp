// Text: widths that add up, what fits, where the pixels fall. The fonts are those of the machine, so nothing here knows a
// width; in what is written for one layout the text of fixed width stands in.
#include "Platform/gdi.h"
#include "Platform/testing.h"
#include "Platform/threads.h"
#include "tests/support/canvas.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>

namespace {

using Text = std::u16string;

struct Style {
    LONG height = 14;
    LONG weight = FW_NORMAL;
    bool italic = false;
    BYTE quality = 0;
    const char16_t* face = u"Tahoma";
    bool underline = false;
    bool strikeOut = false;
};

// Selects a font of that style for the time of a test.
class Font {
public:
    Font(HDC dc, const Style& style) : m_dc(dc) {
        LOGFONTW description{};
        description.lfHeight = style.height;
        description.lfWeight = style.weight;
        description.lfItalic = style.italic;
        description.lfQuality = style.quality;
        description.lfUnderline = style.underline;
        description.lfStrikeOut = style.strikeOut;
        Text(style.face).copy(description.lfFaceName, LF_FACESIZE - 1);
        m_font = CreateFontIndirectW(&description);
        m_former = SelectObject(dc, m_font);
    }
    ~Font() {
        SelectObject(m_dc, m_former);
        DeleteObject(m_font);
    }
    Font(const Font&) = delete;
    Font& operator=(const Font&) = delete;

private:
    HDC m_dc;
    HFONT m_font;
    HGDIOBJ m_former;
};

int LengthOf(const Text& text) { return static_cast<int>(text.size()); }

int WidthOf(HDC dc, const Text& text) {
    SIZE size{};
    EXPECT_TRUE(GetTextExtentPoint32W(dc, text.data(), LengthOf(text), &size));
    return size.cx;
}

int FitOf(HDC dc, const Text& text, int width) {
    int fit = -1;
    EXPECT_TRUE(GetTextExtentExPointW(dc, text.data(), LengthOf(text), width, &fit, nullptr, nullptr));
    return fit;
}

TEXTMETRICW MetricsOf(HDC dc) {
    TEXTMETRICW metrics{};
    EXPECT_TRUE(GetTextMetricsW(dc, &metrics));
    return metrics;
}

void Put(HDC dc, int x, int y, const Text& text, UINT options = 0, const RECT* rect = nullptr) {
    EXPECT_TRUE(ExtTextOutW(dc, x, y, options, rect, text.data(), static_cast<UINT>(text.size()), nullptr));
}

bool SplitsPair(const Text& text, int at) {
    const auto place = static_cast<std::size_t>(at);
    return at > 0 && at < LengthOf(text) && (text[place] & 0xFC00) == 0xDC00 &&
           (text[place - 1] & 0xFC00) == 0xD800;
}

// White, with black text on it.
class Page : public Canvas {
public:
    static constexpr int kWidth = 400, kHeight = 60;
    Page() : Canvas(kWidth, kHeight) { Clear(); }
    void Clear() {
        SelectClipRgn(*this, nullptr);
        std::memset(Bits(), 0xFF, Size());
        SetBkMode(*this, TRANSPARENT);
        SetTextColor(*this, 0);
    }
    static constexpr std::size_t Size() { return std::size_t{kWidth} * kHeight * 4; }
    std::vector<BYTE> Pixels() const { return {Bits(), Bits() + Size()}; }

    struct Ink {
        RECT box{kWidth, kHeight, 0, 0};
        int count = 0;
        int grey = 0;
    };
    Ink InkOf() const {
        Ink ink;
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x) {
                const BYTE* pixel =
                    Bits() +
                    (std::size_t{kWidth} * static_cast<std::size_t>(y) + static_cast<std::size_t>(x)) * 4;
                if (*pixel == 0xFF) continue;
                ++ink.count;
                ink.grey += *pixel != 0;
                ink.box = {std::min<LONG>(ink.box.left, x), std::min<LONG>(ink.box.top, y),
                           std::max<LONG>(ink.box.right, x + 1), std::max<LONG>(ink.box.bottom, y + 1)};
            }
        return ink;
    }
};

const Style kStyles[] = {{14},
                         {28, FW_BOLD},
                         {-11, 800, true},
                         {13, FW_NORMAL, false, 3},
                         {19, FW_NORMAL, true, 0, u"DejaVu Serif"},
                         {1}};

const Text kPlainTexts[] = {
    u"",
    u"Quarterly review, AVAWA To. fi ffl 12:30",
    u"J\u00FCrgen M\u00FCller \u2014 \u20AC 5 \u00A0 caf\u00E9",
    u"e\u0301 a\u0308\u0323b n\u0303 x\u0301\u0302y",
    u"\u0395\u03BB\u03BB\u03B7\u03BD\u03B9\u03BA\u03AC \u041F\u0440\u0438\u0432\u0435\u0442",
    u"\u65E5\u672C\u8A9E\u306E\u30C6\u30AD\u30B9\u30C8 \uD55C\uAD6D\uC5B4",
    u"\U0001F600 \U0001F382x\u2764\uFE0F \U0001F468\U0001F469 \U00020000",
    u"\u05E9\u05B8\u05DC\u05D5\u05DD (abc) 12 \u05D8\u05E7\u05E1\u05D8",
    {u'a', 0xD83D, u'b', 0xDE00, u'c', 0xD83D},
    {u'\t', 1, u'x', 0x7F, u'\n', 0xAD, u'y', 0x200B, u'z', 0, u'!'},
};
const Text kJoiningTexts[] = {
    u"ab \U0001F468\u200D\U0001F469 cd",
    u"\u0645\u0631\u062D\u0628\u0627 \u0628\u0627\u0644\u0639\u0627\u0644\u0645 (2026) abc \u0644\u0627",
    u"\u0939\u093F\u0928\u094D\u0926\u0940 \u0E44\u0E17\u0E22",
};

// Widths grow, end in that of the whole, and what is said to fit does.
void CheckWidths(HDC dc, const Text& text) {
    const int count = LengthOf(text);
    std::vector<int> widths(text.size(), -1);
    SIZE size{-1, -1};
    ASSERT_TRUE(GetTextExtentExPointW(dc, text.data(), count, 0, nullptr, widths.data(), &size));
    EXPECT_EQ(size.cy, MetricsOf(dc).tmHeight);
    EXPECT_EQ(size.cx, widths.empty() ? 0 : widths.back());
    EXPECT_TRUE(std::is_sorted(widths.begin(), widths.end()));
    EXPECT_EQ(WidthOf(dc, text), size.cx);
    for (int limit = -1; limit <= size.cx; limit += 3) {
        const int fit = FitOf(dc, text, limit);
        ASSERT_TRUE(fit >= 0 && fit <= count);
        EXPECT_FALSE(SplitsPair(text, fit));
        if (fit > 0) {
            EXPECT_LE(WidthOf(dc, text.substr(0, static_cast<std::size_t>(fit))), limit);
        }
    }
    EXPECT_EQ(FitOf(dc, text, size.cx), count);
}

TEST(Text, WidthsAddUp) {
    const Page page;
    for (const Style& style : kStyles) {
        const Font font(page, style);
        for (const Text& text : kJoiningTexts) CheckWidths(page, text);
        for (const Text& text : kPlainTexts) {
            SCOPED_TRACE(testing::Message() << "height " << style.height << ", text " << &text - kPlainTexts);
            CheckWidths(page, text);
            std::vector<int> widths(text.size());
            GetTextExtentExPointW(page, text.data(), LengthOf(text), 0, nullptr, widths.data(), nullptr);
            for (int i = 1; i < LengthOf(text); ++i) {
                if (SplitsPair(text, i)) continue;
                const auto at = static_cast<std::size_t>(i);
                EXPECT_EQ(WidthOf(page, text.substr(0, at)), widths[at - 1]);
                EXPECT_EQ(WidthOf(page, text.substr(at)), widths.back() - widths[at - 1]);
                const int fit = FitOf(page, text, widths[at - 1]);
                EXPECT_EQ(fit > 0 ? widths[static_cast<std::size_t>(fit) - 1] : 0, widths[at - 1]);
            }
        }
    }
}

// Letters that join are cut at blanks without a change.
TEST(Text, JoinedWordsAddUp) {
    const Page page;
    const Font font(page, {19});
    for (const Text& text : kJoiningTexts)
        for (std::size_t i = text.find(u' '); i != Text::npos; i = text.find(u' ', i + 1))
            EXPECT_EQ(WidthOf(page, text.substr(0, i)) + WidthOf(page, text.substr(i)), WidthOf(page, text));
}

TEST(Text, HeightsAreThoseAskedFor) {
    const Page page;
    const struct {
        LONG asked;
        LONG cell; // 0: any
        LONG em;   // 0: any
    } cases[] = {{1, 1, 0},   {2, 2, 0},      {11, 11, 0},     {14, 14, 0},
                 {97, 97, 0}, {0, 12, 0},     {1000, 1000, 0}, {2'000'000'000, 1000, 0},
                 {-9, 0, 9},  {-100, 0, 100}, {-1, 0, 1},      {static_cast<LONG>(0x80000000), 0, 1000}};
    for (const auto& c : cases)
        for (const char16_t* face : {u"Tahoma", u"DejaVu Serif", u"", u"no such face"}) {
            SCOPED_TRACE(c.asked);
            const Font font(page, {c.asked, FW_NORMAL, false, 0, face});
            const TEXTMETRICW metrics = MetricsOf(page);
            EXPECT_EQ(metrics.tmHeight, metrics.tmAscent + metrics.tmDescent);
            EXPECT_GE(metrics.tmDescent, 0);
            EXPECT_GT(metrics.tmAscent, 0);
            if (c.cell) {
                EXPECT_EQ(metrics.tmHeight, c.cell);
            }
            if (c.em) {
                EXPECT_EQ(metrics.tmHeight - metrics.tmInternalLeading, c.em);
            }
        }
}

// In two pieces, cut where it is said to fit, a text has the same pixels.
TEST(Text, PiecesPaintLikeTheWhole) {
    Page page;
    for (const Style& style : kStyles) {
        const Font font(page, style);
        for (const Text& text : kPlainTexts) {
            if (text.find(u'\u05E9') != Text::npos) continue; // its pieces stand in another order
            page.Clear();
            Put(page, 2, 3, text);
            const std::vector<BYTE> whole = page.Pixels();
            for (int width = 0; width < WidthOf(page, text); width += 7) {
                const auto fit = static_cast<std::size_t>(FitOf(page, text, width));
                const Text first = text.substr(0, fit);
                page.Clear();
                Put(page, 2, 3, first);
                Put(page, 2 + WidthOf(page, first), 3, text.substr(fit));
                ASSERT_EQ(page.Pixels() == whole, true)
                    << style.height << " text " << &text - kPlainTexts << " at " << fit;
            }
        }
    }
}

TEST(Text, InkStandsWhereItMeasures) {
    Page page;
    for (const LONG height : {11, 14, 28}) {
        const Font font(page, {height});
        for (const Text& text : {Text(u"HxM"), kPlainTexts[5], kPlainTexts[7], kJoiningTexts[0]}) {
            page.Clear();
            Put(page, 20, 10, text);
            const Page::Ink ink = page.InkOf();
            EXPECT_GT(ink.count, 10);
            // A side bearing, and marks that reach beyond the cell, may take some pixels.
            EXPECT_NEAR(ink.box.left, 20, 4);
            EXPECT_NEAR(ink.box.right, 20 + WidthOf(page, text), 4);
            EXPECT_GE(ink.box.top, 10 - height / 4);
            EXPECT_LE(ink.box.bottom, 10 + height + height / 4);
        }
    }
}

TEST(Text, NothingIsPaintedOutsideTheClip) {
    Page page;
    const Font font(page, {28, FW_BOLD, true, 0, u"Tahoma", true, true});
    const RECT rect{50, 10, 120, 25};
    for (const int mode : {TRANSPARENT, OPAQUE})
        for (const Text& text : {kPlainTexts[1], kPlainTexts[3], kJoiningTexts[0]}) {
            page.Clear();
            SetBkMode(page, mode);
            SetBkColor(page, kRed);
            IntersectClipRect(page, 0, 0, 100, 50);
            ExcludeClipRect(page, 70, 0, 80, 50);
            Put(page, -20, 5, text, ETO_CLIPPED, &rect);
            SelectClipRgn(page, nullptr);
            int inside = 0;
            for (int y = 0; y < Page::kHeight; ++y)
                for (int x = 0; x < Page::kWidth; ++x) {
                    const bool white = page.At(x, y) == kWhite;
                    if (x >= 50 && x < 100 && (x < 70 || x >= 80) && y >= 10 && y < 25)
                        inside += !white;
                    else
                        ASSERT_TRUE(white) << x << "," << y;
                }
            const bool covered = mode == OPAQUE && text.size() > 30; // long enough for all of it
            EXPECT_GE(inside, covered ? 40 * 15 : 50);
            EXPECT_LE(inside, 40 * 15);
        }
}

TEST(Text, GroundsColoursAndLines) {
    Page page;
    const auto paint = [&](const Style& style) {
        const Font font(page, style);
        page.Clear();
        Put(page, 5, 5, u"nnnn");
        return page.InkOf();
    };
    const Page::Ink plain = paint({20});
    const std::vector<BYTE> upright = page.Pixels();
    EXPECT_GT(plain.grey, 0);
    EXPECT_EQ(paint({20, FW_NORMAL, false, 3}).grey, 0);
    EXPECT_GT(paint({20, FW_BOLD}).count, plain.count);
    paint({20, FW_NORMAL, true});
    EXPECT_FALSE(page.Pixels() == upright);
    EXPECT_GT(paint({20, FW_NORMAL, false, 0, u"Tahoma", true}).box.bottom,
              plain.box.bottom); // n has no descender
    const Page::Ink struck = paint({20, FW_NORMAL, false, 0, u"Tahoma", false, true});
    EXPECT_EQ(struck.box.bottom, plain.box.bottom);
    EXPECT_GT(struck.count, plain.count);

    // Edges lie between the two colours in every channel alike, and the byte above the colour stays.
    {
        const Font font(page, {20});
        page.Clear();
        SetTextColor(page, 0x204060);
        Put(page, 5, 5, u"oSo");
        for (std::size_t i = 0; i < Page::Size(); i += 4) {
            const BYTE* pixel = page.Bits() + i; // blue, green, red
            ASSERT_TRUE(pixel[3] == 0xFF && pixel[0] >= 0x20 && pixel[1] >= 0x40 && pixel[2] >= 0x60);
            const int blue = (0xFF - pixel[0]) * 1000 / (0xFF - 0x20);
            const int green = (0xFF - pixel[1]) * 1000 / (0xFF - 0x40);
            const int red = (0xFF - pixel[2]) * 1000 / (0xFF - 0x60);
            ASSERT_TRUE(std::abs(green - blue) <= 12 && std::abs(red - blue) <= 12) << i;
        }
    }

    // A ground behind the text alone, and one of the rectangle, also without text.
    page.Clear();
    const Font font(page, {20, FW_NORMAL, false, 3});
    SetBkMode(page, OPAQUE);
    SetBkColor(page, kGreen);
    SetTextColor(page, kBlue);
    Put(page, 10, 8, u"il");
    const int width = WidthOf(page, u"il");
    for (int y = 0; y < Page::kHeight; ++y)
        for (int x = 0; x < Page::kWidth; ++x) {
            const bool box = x >= 10 && x < 10 + width && y >= 8 && y < 28;
            const COLORREF color = page.At(x, y);
            ASSERT_TRUE(box ? color == kGreen || color == kBlue : color == kWhite) << x << "," << y;
        }
    const RECT rect{0, 40, 3, 42};
    Put(page, 0, 0, u"", ETO_OPAQUE, &rect);
    EXPECT_EQ(page.At(2, 41), kGreen);
    EXPECT_EQ(page.At(3, 41), kWhite);
    EXPECT_EQ(page.At(2, 42), kWhite);
}

// Finer edges have a colour. They need a screen that can, and a font that asks for them; widths stay.
TEST(Text, EdgesFinerThanAPixel) {
    const struct {
        bool columns;
        BYTE quality;
        bool colored;
    } cases[] = {{true, 5, true}, {true, 6, true}, {true, 0, false}, {true, 3, false}, {false, 5, false}};
    for (const auto& c : cases) {
        Page page;
        PlatUsePixelColumns(c.columns);
        const Font font(page, {20, FW_NORMAL, false, c.quality});
        Put(page, 5, 5, u"MoWv il");
        const int width = WidthOf(page, u"MoWv il");
        PlatUsePixelColumns(false);
        bool colored = false;
        for (std::size_t i = 0; i < Page::Size(); i += 4)
            colored |= page.Bits()[i] != page.Bits()[i + 1] || page.Bits()[i] != page.Bits()[i + 2];
        EXPECT_EQ(colored, c.colored) << c.columns << " " << int{c.quality};
        EXPECT_GT(page.InkOf().count, 50);
        const Font plain(page, {20, FW_NORMAL, false, c.quality});
        EXPECT_EQ(width, WidthOf(page, u"MoWv il"));
    }
}

TEST(Text, SpacingMovesTheLetters) {
    Page page;
    const Font font(page, {20});
    for (const Text& text : {Text(u"ab"), Text(u"\u0628\u0301b")}) { // as it is, and shaped
        page.Clear();
        Put(page, 10, 5, text.substr(0, text.size() - 1));
        Put(page, 110, 5, u"b");
        const std::vector<BYTE> apart = page.Pixels();
        page.Clear();
        const int spacing[] = {100, text.size() == 2 ? 7 : 0, 7};
        ExtTextOutW(page, 10, 5, 0, nullptr, text.data(), static_cast<UINT>(text.size()), spacing);
        EXPECT_TRUE(page.Pixels() == apart);
    }
}

TEST(Text, LongAndWrongArguments) {
    Page page;
    const Font font(page, {14});
    for (const Text& unit : {Text(u"x"), Text(u"\u0628"), Text(u"a\u0301"), Text(u"\u05D0 ")}) {
        Text text;
        while (text.size() < 200'000) text += unit;
        const int one = WidthOf(page, text.substr(0, 1000)), whole = WidthOf(page, text);
        EXPECT_NEAR(whole, one * 200LL, 200 * 20); // 20: the ends of joined letters
        EXPECT_GT(FitOf(page, text, 500), 20);
        Put(page, -whole / 2, 5, text);
        EXPECT_GT(page.InkOf().count, 0);
        page.Clear();
    }
    SIZE size{7, 7};
    SetLastError(0);
    EXPECT_FALSE(GetTextExtentPoint32W(page, u"x", -1, &size));
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_FALSE(GetTextExtentPoint32W(page, nullptr, 1, &size));
    EXPECT_EQ(size.cx, 7);
    EXPECT_TRUE(GetTextExtentPoint32W(page, nullptr, 0, &size));
    EXPECT_EQ(size.cx, 0);
    SetLastError(0);
    EXPECT_FALSE(ExtTextOutW(nullptr, 0, 0, 0, nullptr, u"x", 1, nullptr));
    EXPECT_EQ(GetLastError(), 6u);
    TEXTMETRICW metrics;
    EXPECT_FALSE(GetTextMetricsW(nullptr, &metrics));
    Put(page, 0x7FFFFFFF, static_cast<int>(0x80000000), u"far away");
    EXPECT_EQ(page.InkOf().count, 0);
}

// Two threads with a font in common, each on a context of its own.
TEST(ThreadsText, PaintAtOnce) {
    const Style style{23, FW_BOLD};
    const auto paint = [&](std::vector<BYTE>& pixels) {
        Page page;
        SelectObject(page, GetStockObject(SYSTEM_FONT));
        Put(page, 0, 0, kPlainTexts[1]);
        const Font font(page, style);
        for (const Text& text : kPlainTexts) Put(page, WidthOf(page, text) % 50, 20, text);
        pixels = page.Pixels();
    };
    std::vector<BYTE> pixels[3];
    std::thread other([&] { paint(pixels[0]); });
    paint(pixels[1]);
    other.join();
    paint(pixels[2]);
    EXPECT_TRUE(pixels[0] == pixels[2] && pixels[1] == pixels[2]);
}

// What is written from the right is cut at its left, and there the dots stand.
TEST(Text, DotsStandWhereTheTextIsCut) {
    Page page;
    const Font font(page, {20});
    const Text whole = u"\u05E9\u05DC\u05D5\u05DD \u05E2\u05D5\u05DC\u05DD", front = whole.substr(0, 4);
    const int dots = WidthOf(page, u"...");
    Put(page, 10, 5, u"...");
    Put(page, 10 + dots, 5, front);
    const std::vector<BYTE> expected = page.Pixels();
    page.Clear();
    RECT rect{10, 5, 10 + dots + WidthOf(page, front), 40};
    DrawTextW(page, whole.c_str(), -1, &rect, DT_END_ELLIPSIS | DT_NOCLIP);
    EXPECT_TRUE(page.Pixels() == expected);
}

// --- Text in a rectangle, of fixed width: 6 pixels a character, lines of 10 ----------------------------------------

class DrawTextTest : public testing::Test {
protected:
    DrawTextTest() { PlatUseFixedWidthText(true); }
    ~DrawTextTest() override { PlatUseFixedWidthText(false); }

    Page m_page;
    Font m_font{m_page, {10}};
};

TEST_F(DrawTextTest, SizesAndBreaksLines) {
    Text longLine = u"word";
    while (longLine.size() < 1999) longLine += u" word";
    const struct {
        const char16_t* text;
        int width; // of the rectangle
        UINT flags;
        SIZE size;
    } cases[] = {
        {u"one two", 200, 0, {42, 10}},
        {u"", 200, 0, {0, 10}},
        {u"one\r\ntwo three\nx", 200, 0, {54, 30}},
        {u"one\ntwo", 200, DT_SINGLELINE, {42, 10}},
        {u"one two", 30, 0, {42, 10}},
        {u"one two three", 45, DT_WORDBREAK, {42, 20}},
        {u"one two  three", 30, DT_WORDBREAK, {30, 30}},
        {u"immeasurable x", 30, DT_WORDBREAK, {72, 20}},
        {u"a immeasurable", 30, DT_WORDBREAK, {72, 20}},
        {u"&one && two", 200, 0, {54, 10}},
        {u"&one && two", 200, DT_NOPREFIX, {66, 10}},
        {longLine.c_str(), 13000, DT_WORDBREAK, {11994, 10}},
    };
    for (const auto& c : cases) {
        RECT rect{10, 20, 10 + c.width, 25};
        const int height = DrawTextW(m_page, c.text, -1, &rect, c.flags | DT_CALCRECT);
        SCOPED_TRACE(testing::Message() << &c - cases);
        EXPECT_EQ(height, c.size.cy);
        EXPECT_EQ(rect.left, 10);
        EXPECT_EQ(rect.top, 20);
        EXPECT_EQ(rect.right - rect.left, c.size.cx);
        EXPECT_EQ(rect.bottom - rect.top, c.size.cy);
    }
    EXPECT_EQ(m_page.InkOf().count, 0);
}

// A character is a bar of 5 pixels and 8 rows (two of the ten lie below the base line).
TEST_F(DrawTextTest, PlacesLines) {
    const struct {
        const char16_t* text;
        RECT rect;
        UINT flags;
        RECT ink;
    } cases[] = {
        {u"ab", {10, 20, 60, 50}, DT_LEFT, {10, 20, 21, 28}},
        {u"ab", {10, 20, 60, 50}, DT_RIGHT, {48, 20, 59, 28}},
        {u"ab", {10, 20, 60, 50}, DT_CENTER | DT_VCENTER, {29, 30, 40, 38}},
        {u"ab\nc", {10, 20, 60, 50}, DT_VCENTER, {10, 20, 21, 38}},
        {u"abcdef", {10, 20, 30, 25}, DT_LEFT, {10, 20, 30, 25}},
        {u"abcdef", {10, 20, 30, 25}, DT_NOCLIP, {10, 20, 45, 28}},
        {u"a\nb\nc", {10, 20, 30, 35}, DT_LEFT, {10, 20, 15, 35}},
        {u"abcdef", {10, 20, 45, 50}, DT_END_ELLIPSIS, {10, 20, 39, 28}},           // ab...
        {u"ab\U0001F600cdef", {10, 20, 50, 50}, DT_END_ELLIPSIS, {10, 20, 39, 28}}, // room for half a pair
        {u"&\U0001F600", {10, 20, 45, 50}, DT_LEFT, {10, 20, 22, 30}},
        {u"&a",
         {10, 20, 45, 50},
         DT_LEFT,
         {10, 20, 16, 30}}, // with a line under it, as wide as the character
    };
    for (const auto& c : cases) {
        RECT rect = c.rect;
        m_page.Clear();
        DrawTextW(m_page, c.text, -1, &rect, c.flags);
        SCOPED_TRACE(testing::Message() << &c - cases);
        EXPECT_TRUE(EqualRect(&rect, &c.rect));
        const RECT ink = m_page.InkOf().box;
        EXPECT_EQ(ink.left, c.ink.left);
        EXPECT_EQ(ink.top, c.ink.top);
        EXPECT_EQ(ink.right, c.ink.right);
        EXPECT_EQ(ink.bottom, c.ink.bottom);
    }
}

} // namespace
