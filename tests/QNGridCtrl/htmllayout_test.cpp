// Where mark-up stands: lines, breaks, alignment, columns, images, hot spots. All on a text layer of fixed widths, 6
// pixels a character; the default font is 14 high at 96 dots an inch.
#include "tests/support/fixedcanvas.h"

#include "tests/support/pictureowner.h"

#include <chrono>
#include <cstdio>
#include <gtest/gtest.h>
#include <random>

namespace {

class HTMLLayoutTest : public testing::Test {
protected:
    struct Options {
        int indent = 0;
        bool noWrap = false;
        DWORD flags = 0;
        int left = 0;
        int top = 0;
    };

    SIZE Measure(const std::u16string& html, int width, Options o) {
        Parse(html);
        RECT rect{o.left, o.top, o.left + width, o.top};
        HTMLLayout(m_canvas, m_parser, rect, o.indent, nullptr, o.flags | HTML_MEASURE, HTML_NO_COLOR,
                   o.noWrap)
            .Run();
        EXPECT_EQ(m_canvas.Take(), "");
        EXPECT_EQ(rect.left, o.left);
        EXPECT_EQ(rect.top, o.top);
        return {rect.right - rect.left, rect.bottom - rect.top};
    }

    std::string Paint(const std::u16string& html, int width, Options o) {
        const SIZE size = Measure(html, width, o);
        std::ostringstream out;
        out << size.cx << "x" << size.cy << "\n";
        RECT rect{o.left, o.top, o.left + width, o.top + size.cy};
        HTMLLayout(m_canvas, m_parser, rect, o.indent, &m_spots, o.flags, HTML_NO_COLOR, o.noWrap).Run();
        EXPECT_EQ(rect.right - rect.left, width);
        out << m_canvas.Take();
        for (const tagHOTSPOT& spot : m_spots)
            out << "spot " << FixedCanvas::Rect(spot.rect) << " " << FixedCanvas::Narrow(spot.szText) << "\n";
        return out.str();
    }
    std::string Paint(const std::u16string& html, int width) { return Paint(html, width, Options()); }

    void Parse(const std::u16string& html) {
        m_html = html;
        m_parser.SetHTML(m_html.c_str());
        m_parser.ParseHTML(m_pictures.Window());
    }

    PictureOwner m_pictures;
    std::u16string m_html;
    CHTMLParser m_parser;
    FixedCanvas m_canvas;
    HTMLHotSpots m_spots;
};

struct Case {
    const char* what;
    const WCHAR* html;
    int width;
    const char* result;
};

TEST_F(HTMLLayoutTest, BreaksLines) {
    const Case cases[] = {
        {"nothing", u"", 60, "0x0\n"},
        {"a line", u"hello", 60, "30x14\ntext 0,0 'hello'\n"},
        {"behind blanks", u"hello world foo bar", 60,
         "60x42\ntext 0,0 'hello '\ntext 0,14 'world foo '\ntext 0,28 'bar'\n"},
        {"the blank counts: a word that only just fits goes on", u"abcd efghi x", 60,
         "42x28\ntext 0,0 'abcd '\ntext 0,14 'efghi x'\n"},
        {"hyphen, semicolon, comma", u"ab-cd;ef,gh", 42, "36x28\ntext 0,0 'ab-cd;'\ntext 0,14 'ef,gh'\n"},
        {"inside a word that is too long, not at its slashes", u"a/b/c/d[e]+f", 30,
         "30x42\ntext 0,0 'a/b/c'\ntext 0,14 '/d[e]'\ntext 0,28 '+f'\n"},
        {"a token that ends at the edge wraps the next", u"abcde<B>fg", 30,
         "30x28\ntext 0,0 'abcde'\ntext 0,14 'fg'\n"},
        {"BR: an empty line has no height", u"<BR>a<BR><BR>b<BR>", 60, "6x28\ntext 0,0 'a'\ntext 0,14 'b'\n"},
        {"too narrow for a character", u"abc", 5, "0x0\n"},
        // (9 + 9) * 96 / 72 = 24
        {"a taller text makes a taller line, hanging from its top", u"a<FONT SIZE=9>b<FONT SIZE=2>c<BR>d", 60,
         "18x38\ntext 0,0 'a'\ntext 6,0 'b'\ntext 12,0 'c'\ntext 0,24 'd'\n"},
    };
    for (const Case& c : cases) EXPECT_EQ(Paint(c.html, c.width), c.result) << c.what;
    EXPECT_EQ(Paint(u"one two three", 48, {.indent = 10}),
              "48x28\ntext 0,0 'one two '\ntext 10,14 'three'\n");
    EXPECT_EQ(Paint(u"one two three", 48, {.noWrap = true}), "78x14\ntext 0,0 'one two three' clipped 30\n");
}

// Nothing shows beyond the right edge. A quarter of its height is for tails and marks, unless its line is too low for it.
TEST_F(HTMLLayoutTest, LettersReachOutOfTheirLine) {
    Paint(u"a<BR>b", 60);
    EXPECT_EQ(FixedCanvas::Rect(m_canvas.lastClip), "-3,11 63x20");
    Paint(u"<P RIGHT>a<P LEFT><FONT SIZE=9>b", 60); // 24 high
    EXPECT_EQ(FixedCanvas::Rect(m_canvas.lastClip), "-6,-6 66x36");
    Paint(u"<EDGE>a", 60);
    EXPECT_EQ(FixedCanvas::Rect(m_canvas.lastClip), "0,0 60x2");
}

TEST_F(HTMLLayoutTest, Aligns) {
    const Case cases[] = {
        {"label and value", u"Label<P RIGHT>value<BR><P LEFT>next", 120,
         "120x28\ntext 0,0 'Label'\ntext 90,0 'value'\ntext 0,14 'next'\n"},
        {"a value that doesn't fit beside it", u"A long label here<P RIGHT>value that is long<BR><P LEFT>x",
         120, "120x42\ntext 0,0 'A long label here'\ntext 12,14 'value that is long'\ntext 0,28 'x'\n"},
        {"a right-aligned text measures each line", u"<P RIGHT>one two three", 48,
         "48x28\ntext 0,0 'one two '\ntext 18,14 'three'\n"},
        // A centred line is placed by the width of the piece before it: "world" stands where 36 pixels would.
        {"centred", u"<P CENTER>hello world", 60, "48x28\ntext 12,0 'hello '\ntext 12,14 'world'\n"},
        {"the middle of the page", u"a<TB>b", 60, "36x14\ntext 0,0 'a'\ntext 30,0 'b'\n"},
    };
    for (const Case& c : cases) EXPECT_EQ(Paint(c.html, c.width), c.result) << c.what;
}

TEST_F(HTMLLayoutTest, FlowsRoundAColumn) {
    // The column: 118 wide at most 120 / 2.5 = 48 pixels, two lines, "aa bb " 36 wide, 2 from the right edge.
    const std::string expected = "118x56\ntext 82,0 'aa bb '\ntext 82,14 'cc dd'\n"
                                 "text 0,0 'main text '\ntext 0,14 'that flows '\n"
                                 "text 0,28 'around the column '\ntext 0,42 'and below it'\n";
    const WCHAR* text = u"<SPAN>aa bb cc dd</SPAN>main text that flows around the column and below it";
    EXPECT_EQ(Paint(text, 120), expected);
    // No line in the column is moved in, those of the main text are.
    EXPECT_EQ(Paint(u"<SPAN>aa bb cc dd</SPAN>main text that", 120, {.indent = 4}),
              "118x28\ntext 82,0 'aa bb '\ntext 82,14 'cc dd'\ntext 0,0 'main text '\ntext 4,14 'that'\n");
    // A column behind the text stands on its last line; one line of it is as wide as it gets, two thirds of the width.
    EXPECT_EQ(Paint(u"ab<BR>cd<SPAN>ef</SPAN>", 60, {}),
              "58x28\ntext 0,0 'ab'\ntext 0,14 'cd'\ntext 46,14 'ef'\n");
    EXPECT_EQ(Paint(u"<SPAN>abc def</SPAN>x", 60, {.noWrap = true}),
              "58x14\ntext 16,0 'abc def'\ntext 0,0 'x'\n");
    EXPECT_EQ(Paint(u"</SPAN>x<SPAN>y", 60),
              "58x14\ntext 0,0 'x'\ntext 52,0 'y'\n"); // neither opened nor closed
}

TEST_F(HTMLLayoutTest, StandsImages) {
    const Case cases[] = {
        {"centred in its line", u"<IMG SRC=p20x10>ab", 60,
         "32x14\nimage 0,2 20x10\ntext 20,0 'ab'\nspot 0,0 20x14 p20x10\n"},
        // A fifth of the text, 2 pixels, is below the base line: 2 + 20.
        {"a tall one behind text", u"ab<IMG SRC=p20x20>", 60,
         "32x22\ntext 0,0 'ab'\nimage 12,1 20x20\nspot 12,0 20x22 p20x20\n"},
        {"not drawn: an area with a name", u"<IMG SRC=p20x10 NODRAW>", 60, "20x10\nspot 0,0 20x10 p20x10\n"},
        {"wraps", u"abcd<IMG SRC=p20x10>", 40,
         "24x24\ntext 0,0 'abcd'\nimage 0,14 20x10\nspot 0,14 20x10 p20x10\n"},
        {"a size, and one that is as good as its own", u"<IMG SRC=p20x10 SIZE=5><IMG SRC=p20x10 SIZE=11>", 60,
         "30x10\nimage 0,2 10x5\nimage 10,0 20x10\nspot 0,0 10x10 p20x10\nspot 10,0 20x10 p20x10\n"},
        {"a size that is too wide", u"<IMG SRC=p20x10 SIZE=100>", 60,
         "58x29\nimage 0,0 58x29\nspot 0,0 58x29 p20x10\n"},
        {"too wide in its own size: a square to measure", u"<IMG SRC=p100x10>", 60,
         "58x58\nimage 0,24 100x10\nspot 0,0 100x58 p100x10\n"},
        {"taller than the line that a text began", u"aaaa bb<IMG SRC=p20x30>", 40,
         "32x44\ntext 0,0 'aaaa '\ntext 0,14 'bb'\nimage 12,14 20x30\nspot 12,14 20x30 p20x30\n"},
        {"too small to show", u"<IMG SRC=p1x9>a<IMG SRC=p9x1>", 60, "6x14\ntext 0,0 'a'\n"},
        {"a size beyond all", u"<IMG SRC=p999x2 SIZE=4000000000>", 60, "0x0\n"},
    };
    for (const Case& c : cases) EXPECT_EQ(Paint(c.html, c.width), c.result) << c.what;
    // Back at the left it is moved in as text is; brought to the middle, it is the middle of all.
    EXPECT_EQ(
        Paint(u"a<BR><P RIGHT>b<P LEFT><IMG SRC=p20x10><BR>c<P CENTER><IMG SRC=p20x10>", 60, {.indent = 10}),
        "60x42\ntext 0,0 'a'\ntext 54,14 'b'\nimage 10,16 20x10\ntext 10,28 'c'\nimage 20,30 20x10\n"
        "spot 10,14 20x14 p20x10\nspot 20,28 20x14 p20x10\n");
}

TEST_F(HTMLLayoutTest, RulesAlongTheBottom) {
    EXPECT_EQ(Paint(u"a<EDGE><BR>b", 60), "6x30\ntext 0,0 'a'\nedge 0-60,29\ntext 0,16 'b'\n");
    EXPECT_EQ(Paint(u"a<BR><EDGE>", 60), "6x16\ntext 0,0 'a'\nedge 0-60,15\n");
}

TEST_F(HTMLLayoutTest, ColorsOfTextAndSelection) {
    m_canvas.ShowColors();
    const WCHAR* text = u"<BODY BGCOLOR=#FFFF00>a<FONT COLOR=#0000FF BGCOLOR=#00FF00>b";
    EXPECT_EQ(Paint(text, 60), "12x14\ncolor 0\ntext 0,0 'a'\ncolor ff0000\nground ff00\ntext 6,0 'b'\n");
    EXPECT_EQ(Paint(text, 60, {.flags = HTML_SELECTED}),
              "12x14\ncolor ffffff\ntext 0,0 'a'\ncolor ffffff\ntext 6,0 'b'\n");
    EXPECT_EQ(Paint(text, 60, {.flags = HTML_SELECTED | HTML_KEEP_COLORS}),
              "12x14\ncolor 0\ntext 0,0 'a'\ncolor ff0000\nground ff00\ntext 6,0 'b'\n");
}

TEST_F(HTMLLayoutTest, LinksAreHotSpots) {
    EXPECT_EQ(Paint(u"<A=\"x\">one two three</A> four", 60, {.indent = 10, .left = 100, .top = -5}),
              "48x42\ntext 100,-5 'one two '\ntext 110,9 'three'\ntext 140,9 ' '\ntext 110,23 'four'\n"
              "spot 0,0 48x14 x\nspot 10,14 30x14 x\n");
    Parse(u"<A=\"x\">one</A> <A=\"y\">two");
    m_parser.SetNavigatable(true);
    m_parser.OnNavigationButton(39);
    RECT rect{0, 0, 60, 14};
    HTMLLayout(m_canvas, m_parser, rect, 0, nullptr, HTML_SELECTED | HTML_KEEP_COLORS, HTML_NO_COLOR, false)
        .Run();
    EXPECT_EQ(m_canvas.Take(), "text 0,0 'one'\nfocus 0,0 18x14\ntext 18,0 ' '\ntext 24,0 'two'\n");
}

// Texts put together of the tags that lines are made of. Absolute tabs and pictures too wide for a line are exempt.
std::u16string RandomText(std::mt19937& random) {
    static const WCHAR* const kPieces[] = {
        u"a",          u"word ",     u"two-part ",     u"longer words here ",
        u"<BR>",       u"<P RIGHT>", u"<P LEFT>",      u"<P CENTER>",
        u"<B>",        u"</B>",      u"<FONT SIZE=6>", u"</FONT>",
        u"<SPAN>",     u"</SPAN>",   u"<A=\"l\">",     u"</A>",
        u"<EDGE><BR>", u"\t",        u"<SPAN>x</SPAN>"};
    std::u16string text;
    for (unsigned n = random() % 14 + 1; n > 0; --n) text += kPieces[random() % std::size(kPieces)];
    return text;
}

TEST_F(HTMLLayoutTest, PaintsWhatItMeasures) {
    std::mt19937 random(7);
    for (int i = 0; i < 4000; ++i) {
        const std::u16string text = RandomText(random);
        const int width = static_cast<int>(random() % 200 + 20);
        Options at{.indent = static_cast<int>(random() % 3) * 5};
        const std::string first = Paint(text, width, at);
        at.left = 40;
        at.top = -60;
        const SIZE size = Measure(text, width, at);
        std::istringstream lines(first);
        std::string expected, line;
        std::getline(lines, line);
        std::ostringstream moved;
        moved << size.cx << "x" << size.cy;
        ASSERT_EQ(line, moved.str()) << FixedCanvas::Narrow(text) << " " << width;
        // Every piece lies inside of what was measured.
        while (std::getline(lines, line)) {
            int x, y;
            char kind[8];
            if (std::sscanf(line.c_str(), "%7s %d,%d", kind, &x, &y) != 3 || std::string(kind) != "text")
                continue;
            const auto length = static_cast<int>(line.rfind('\'') - line.find('\'') - 1);
            if (line.find("clipped") == std::string::npos) {
                ASSERT_LE(x + length * FixedCanvas::kCharacter, size.cx)
                    << FixedCanvas::Narrow(text) << " " << width;
            }
            ASSERT_LT(y, size.cy) << FixedCanvas::Narrow(text) << " " << width;
        }
    }
}

// A million characters, a hundred thousand tags: the time grows with the length and not faster.
TEST_F(HTMLLayoutTest, HostileTextsEnd) {
    const auto repeated = [](int n, std::u16string_view piece) {
        std::u16string text;
        for (int i = 0; i < n; ++i) text += piece;
        return text;
    };
    const std::u16string texts[] = {
        repeated(1000000, u"x"),
        repeated(100000, u"<B>"),
        repeated(100000, u"<A=\"q"),
        repeated(100000, u"<Foo"),
        repeated(50000, u"<SPAN>x"),
        repeated(50000, u"<P RIGHT>a<P LEFT>b") + u"<EDGE>",
        repeated(50000, u"<FONT SIZE=999999999999>a"),
        repeated(500000, u"\xD800"),
        repeated(200000, u"&<"),
    };
    for (const std::u16string& text : texts) {
        const auto start = std::chrono::steady_clock::now();
        Measure(text, 240, {});
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        EXPECT_LT(took.count(), 20) << FixedCanvas::Narrow(text.substr(0, 20)); // quadratic ones take minutes
    }
}

} // namespace
