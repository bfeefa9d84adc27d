// Mark-up on a context, with the machine's fonts: what is measured is what is painted.
#include "QNGridCtrl/DrawHTML.h"
#include "tests/support/canvas.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <cstring>
#include <random>

namespace {

class DrawHTMLTest : public testing::Test {
protected:
    static constexpr int kWidth = 320, kHeight = 1300;

    void Parse(const std::u16string& html) {
        m_html = html;
        m_parser.SetHTML(m_html.c_str());
        m_parser.ParseHTML(nullptr);
    }
    SIZE Measure(int width, WORD indent, HTMLHotSpots& spots) {
        RECT rect{0, 0, width, 0};
        DrawHTML(m_canvas, rect, indent, m_parser, &spots, HTML_MEASURE, HTML_NO_COLOR, false);
        return {rect.right, rect.bottom};
    }
    // The box of what is painted, with room to paint beyond `height` too.
    RECT Paint(int width, int height, WORD indent, HTMLHotSpots& spots) {
        const std::size_t row = kWidth * std::size_t{4};
        std::memset(m_canvas.Bits(), 0xFF, row * kHeight);
        RECT rect{0, 0, width, height};
        DrawHTML(m_canvas, rect, indent, m_parser, &spots, 0, HTML_NO_COLOR, false);
        RECT ink{kWidth, kHeight, 0, 0};
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                if (m_canvas.Bits()[row * static_cast<std::size_t>(y) + static_cast<std::size_t>(x) * 4 +
                                    1] != 0xFF)
                    ink = {std::min<LONG>(ink.left, x), std::min<LONG>(ink.top, y),
                           std::max<LONG>(ink.right, x + 1), std::max<LONG>(ink.bottom, y + 1)};
        return ink;
    }
    static std::string Dump(const HTMLHotSpots& spots) {
        std::string dump;
        for (const tagHOTSPOT& spot : spots)
            for (const LONG side : {spot.rect.left, spot.rect.top, spot.rect.right, spot.rect.bottom})
                dump += std::to_string(side) + " ";
        return dump;
    }

    Canvas m_canvas{kWidth, kHeight};
    std::u16string m_html;
    CHTMLParser m_parser;
};

TEST_F(DrawHTMLTest, PaintsWhatItMeasured) {
    static constexpr const char16_t* kPieces[] = {
        u"<B>",
        u"</B>",
        u"<I>",
        u"</I>",
        u"<U>",
        u"</U>",
        u"<FONT SIZE=5>",
        u"</FONT>",
        u"<BR>",
        u"<P RIGHT>",
        u"<P LEFT>",
        u"<P CENTER>",
        u"<A=\"L\">",
        u"</A>",
        u" review of ",
        u"papers, ",
        u" a-b;c ",
        u"<FONT SIZE=-2 NAME=DejaVu Serif>",
        u"Kraftfahrzeughaftpflichtversicherung",
        u"e\u0301a\u0308\u0323",
        u"\u0645\u0631\u062D\u0628\u0627\u0628\u0627\u0644\u0639\u0627\u0644\u0645",
        u"\u05E9\u05DC\u05D5\u05DD ",
        u"\u65E5\u672C\u8A9E\u306E\u30C6\u30AD",
        u"\U0001F600\U0001F382"};
    std::mt19937 random(20260321);
    const auto pick = [&](int most) { return std::uniform_int_distribution<int>(0, most - 1)(random); };
    for (int round = 0; round < 300; ++round) {
        std::u16string html;
        for (int i = 4 + pick(20); i > 0; --i) html += kPieces[pick(std::size(kPieces))];
        html += u"<A=\"L\">end</A>";
        const int width = 20 + pick(kWidth - 20);
        const auto indent = static_cast<WORD>(pick(2) * 10);
        SCOPED_TRACE(testing::Message() << "round " << round << ", width " << width);
        Parse(html);
        HTMLHotSpots measured, painted;
        const SIZE size = Measure(width, indent, measured);
        ASSERT_LT(size.cy, kHeight - 20);
        const RECT ink = Paint(width, size.cy + 20, indent, painted);
        EXPECT_EQ(Dump(painted), Dump(measured));
        EXPECT_FALSE(painted.empty());
        // Letters may reach out of their cell a little, most of all slanted ones and marks.
        EXPECT_LE(ink.bottom, size.cy + 4);
        EXPECT_LE(ink.right, std::min<LONG>(size.cx + 8, width));
        EXPECT_GE(ink.bottom, size.cy - 20) << "the last line is not painted";
    }
}

TEST_F(DrawHTMLTest, ColoursSelectionFocusAndRule) {
    const auto has = [&](COLORREF color, RECT box) {
        for (LONG y = box.top; y < box.bottom; ++y)
            for (LONG x = box.left; x < box.right; ++x)
                if (m_canvas.At(x, y) == color) return true;
        return false;
    };
    const RECT all{0, 0, 100, 40};
    m_parser.SetFontQuality(3); // pure colours
    Parse(u"<FONT COLOR=#FF0000 BGCOLOR=#00FF00>HH</FONT><EDGE>");
    HTMLHotSpots spots;
    const SIZE size = Measure(100, 0, spots);
    Paint(100, 40, 0, spots);
    EXPECT_TRUE(has(kRed, all));
    EXPECT_TRUE(has(kGreen, {0, 0, size.cx, size.cy}));
    EXPECT_FALSE(has(kGreen, {size.cx, 0, 100, 40}));
    for (int x = 0; x < 100; ++x) EXPECT_EQ(m_canvas.At(x, 39), 0xBEBEBEu) << x;

    const auto select = [&](DWORD flags) {
        RECT rect = all;
        std::memset(m_canvas.Bits(), 0xFF, std::size_t{kWidth} * 4 * 40);
        DrawHTML(m_canvas, rect, 0, m_parser, nullptr, flags, kBlue, false);
    };
    select(HTML_SELECTED);
    EXPECT_TRUE(has(kBlue, all));
    EXPECT_FALSE(has(kRed, all));
    EXPECT_FALSE(has(kGreen, all));
    select(HTML_SELECTED | HTML_KEEP_COLORS);
    EXPECT_TRUE(has(kRed, all));
    EXPECT_TRUE(has(kGreen, all));

    Parse(u"<A=\"x\">HH</A>");
    m_parser.SetNavigatable(true);
    m_parser.OnNavigationButton(39);
    select(HTML_SELECTED);
    EXPECT_EQ(m_canvas.At(1, 0), 0u); // the frame turns every second pixel round
    EXPECT_EQ(SetBkMode(m_canvas, TRANSPARENT), TRANSPARENT);
}

} // namespace
