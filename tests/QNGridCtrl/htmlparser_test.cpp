// Mark-up to tokens: what each tag does, what shows as text, links and their focus, the free functions.
#include "QNGridCtrl/HTMLParser.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/testing.h"
#include "tests/support/narrow.h"
#include "tests/support/pictureowner.h"

#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>

namespace {

// The tokens as text: kind, content and what differs from plain black 14-pixel Tahoma at the left on white.
std::string Dump(const HTMLTOKEN& token) {
    static const char* const kNames[] = {"tag", "text", "image", "span", "/span", "tab", "edge"};
    std::ostringstream out;
    out << kNames[token.eType] << " '" << Narrow(token.pszText) << "'" << std::hex;
    if (token.uAlign != 0x810) out << " align " << token.uAlign;
    if (token.crFore) out << " fore " << token.crFore;
    if (token.crBack != 0xFFFFFF) out << " back " << token.crBack;
    out << std::dec;
    LOGFONTW style{};
    if (token.hFont && GetObjectW(token.hFont, sizeof style, &style)) {
        if (style.lfHeight != 14) out << " height " << style.lfHeight;
        if (style.lfWeight != 400) out << " weight " << style.lfWeight;
        if (style.lfItalic) out << " italic";
        if (style.lfUnderline) out << " underlined";
        if (style.lfStrikeOut) out << " struck";
        if (std::u16string_view(style.lfFaceName) != u"Tahoma") out << " face " << Narrow(style.lfFaceName);
    }
    if (token.bEditable) out << " editable";
    if (token.pszHREF && *token.pszHREF) out << " -> " << Narrow(token.pszHREF);
    if (token.bNavigatable) out << " navigable";
    if (token.bFocused) out << " focused";
    if (token.eType == TOKEN_IMAGE) {
        if (token.nImageSize) out << " size " << static_cast<LONG>(token.nImageSize);
        if (!token.bDrawImage) out << " undrawn";
    }
    return out.str();
}

std::string Dump(const CHTMLParser& parser) {
    std::string all;
    for (const HTMLTOKEN& token : parser.Tokens()) all += Dump(token) + "\n";
    return all;
}

class HTMLParser : public testing::Test {
protected:
    void SetUp() override { HIDPI_InitScaling(); }
    void TearDown() override {
        g_dwLeftDefine = 0;
        g_dwRightDefine = 2;
        PlatResetForTests();
    }

    std::string Parse(std::u16string html, HWND window = nullptr) {
        m_html = std::move(html);
        m_parser.SetHTML(m_html.c_str());
        EXPECT_EQ(m_parser.ParseHTML(window), 1);
        return Dump(m_parser);
    }

    std::u16string m_html;
    CHTMLParser m_parser;
};

struct Case {
    const char* what;
    const WCHAR* html;
    const char* tokens;
};

TEST_F(HTMLParser, TellsTagsFromText) {
    const Case cases[] = {
        {"nothing", u"", ""},
        {"unknown tags show", u"a<Foo bar>b", "text 'a'\ntext '<Foo bar>b'\n"},
        {"an unknown tag takes the < that stops it along", u"a<Foo<B>b", "text 'a'\ntext '<Foo<B>b'\n"},
        {"a known tag that a < stops", u"<B<I>x", "text 'I>x' weight 700\n"},
        {"<< is a <", u"a<<B>b", "text 'a<'\ntext 'b' weight 700\n"},
        {"<> is a >", u"a<>b", "text 'a'\ntext '>b'\n"},
        {"three <", u"<<<B>x", "text '<<'\ntext 'x' weight 700\n"},
        {"a tag without end", u"x<B", "text 'x'\n"},
        {"a lone < at the end", u"x<", "text 'x'\n"},
        {"names are upper case", u"<b>x<BR/>", "text '<b>x'\ntext '<BR/>'\n"},
        {"a bare P shows", u"<P>x", "text '<P>x'\n"},
        {"> inside quotes", u"<A=\"a>b<c\">x", "text 'x' -> a>b<c navigable\n"},
        {"an open quote takes all of a known tag", u"x<A=\"y>z", "text 'x'\n"},
        {"and shows an unknown one", u"x<Q \"y>z", "text 'x'\ntext '<Q \"y>z'\n"},
        {"one break for a run of line ends", u"a\r\n\r\nb", "text 'a'\ntag 'BR'\ntext 'b'\n"},
        {"tabs and control characters",
         u"a\t\x01"
         u"b",
         "text 'a'\ntext '    '\ntext ' '\ntext 'b'\n"},
        {"an address in brackets", u"<FONT COLOR=#0000FF>Ann <ann@x.org>",
         "text 'Ann ' fore ff0000\ntext '<ann@x.org>' fore ff0000\n"},
    };
    for (const Case& c : cases) EXPECT_EQ(Parse(c.html), c.tokens) << c.what;
}

TEST_F(HTMLParser, StylesAreCurrentValues) {
    const Case cases[] = {
        {"switches", u"<B>a</B><Q>b</Q><I>c</I><U>d</U><S>e</S>f<\u2022>g</\u2022>h",
         "text 'a' weight 700\ntext 'b' weight 800\ntext 'c' italic\ntext 'd' underlined\ntext 'e' struck\n"
         "text 'f'\ntext 'g' struck\ntext 'h'\n"},
        // (4 + 9) * 96 / 72 = 17 and (0 + 9) * 96 / 72 = 12
        {"size and face", u"<FONT SIZE=4 NAME=\"DejaVu Sans\">a<FONT COLOR=#0000FF>b</FONT>c<FONT SIZE=0>d",
         "text 'a' height 17 face DejaVu Sans\ntext 'b' fore ff0000 height 17\ntext 'c' fore ff0000\n"
         "text 'd' fore ff0000 height 12\n"},
        {"a colour stays the default", u"<FONT COLOR=#FF0000>a</FONT>b",
         "text 'a' fore ff\ntext 'b' fore ff\n"},
        {"grounds", u"<BODY BGCOLOR=#F5F5F5>a<FONT BGCOLOR=#102030>b<FONT SIZE=2>c",
         "text 'a' back f5f5f5\ntext 'b' back 302010\ntext 'c' back f5f5f5\n"},
        {"a pair ends at what is no digit", u"<BODY BGCOLOR=#xyF 12>a", "text 'a' back 120f00\n"},
        {"too short for a colour", u"<BODY 123>a<FONT BGCOLOR=#123>b<FONT COLOR=#F1>c<FONT COLOR=#>d",
         "text 'a'\ntext 'b'\ntext 'c' fore f1\ntext 'd'\n"},
        {"selection", u"<V>a</V>b", "text 'a' fore ffffff back d77800\ntext 'b'\n"},
        {"editable", u"<EDITABLE>a</EDITABLE>b", "text 'a' editable\ntext 'b'\n"},
    };
    for (const Case& c : cases) EXPECT_EQ(Parse(c.html), c.tokens) << c.what;
    EXPECT_EQ(m_parser.GetBackColor(true), 0xFFFFFFu);
}

TEST_F(HTMLParser, ParagraphsAndColumns) {
    const Case cases[] = {
        {"alignments", u"<P RIGHT>a<BR>b<P CENTER>c<P LEFTINDENT>d</P>e",
         "text 'a' align 812\ntag 'BR' align 812\ntext 'b' align 812\ntext 'c' align 811\ntext 'd'\ntext "
         "'e'\n"},
        {"line ends stand at the left", u"<P RIGHT>a\nb",
         "text 'a' align 812\ntag 'BR'\ntext 'b' align 812\n"},
        {"the first other paragraph is none", u"<P x>a<P x>b", "text 'a'\ntag 'BR'\ntext 'b'\n"},
        {"an empty column vanishes", u"<SPAN></SPAN>x", "text 'x'\n"},
        {"a column", u"<SPAN> </SPAN>", "span 'SPAN'\ntext ' '\n/span '/SPAN'\n"},
        {"tab and edge", u"<P RIGHT>a<TB><EDGE>",
         "text 'a' align 812\ntab 'TB' align 812\nedge 'EDGE' align 812\n"},
    };
    for (const Case& c : cases) EXPECT_EQ(Parse(c.html), c.tokens) << c.what;

    g_dwLeftDefine = 2;
    g_dwRightDefine = 0;
    EXPECT_EQ(Parse(u"a<P RIGHT>b<P CENTER>c<SPAN>d</SPAN>e"),
              "text 'a' align 812\ntext 'b'\ntext 'c' align 811\ntext 'd'\ntext 'e' align 812\n");
}

TEST_F(HTMLParser, LinksAndTheirFocus) {
    EXPECT_EQ(Parse(u"<A=\"x\"><U>one</U> two</A> three <A=Due NONAV>4<A=z></A>5"),
              "text 'one' underlined -> x navigable\ntext ' two' -> x\ntext ' three '\n"
              "text '4' -> Due NONAV\ntext '5' navigable\n");
    EXPECT_EQ(m_parser.GetNavigableLinkCount(), 4); // A and U before "one"; A and /A before "5"
    EXPECT_EQ(m_parser.CountNavigableTokens(), 2);

    CeString target;
    EXPECT_FALSE(m_parser.OnActionButton(target));
    EXPECT_TRUE(m_parser.OnNavigationButton(39));
    EXPECT_TRUE(m_parser.OnActionButton(target));
    EXPECT_EQ(target, u"x");
    EXPECT_TRUE(m_parser.OnNavigationButton(39));
    EXPECT_TRUE(m_parser.Tokens()[4].bFocused);
    EXPECT_FALSE(m_parser.OnActionButton(target)); // a link without target
    EXPECT_TRUE(m_parser.OnNavigationButton(37));
    EXPECT_TRUE(m_parser.Tokens()[0].bFocused);
    EXPECT_FALSE(m_parser.OnNavigationButton(37)); // leaves the text
    EXPECT_TRUE(m_parser.OnNavigationButton(37));  // without a focus: the first
    EXPECT_TRUE(m_parser.Tokens()[0].bFocused);
    EXPECT_TRUE(m_parser.OnNavigationButton(39));
    EXPECT_FALSE(m_parser.OnNavigationButton(39));
    for (const HTMLTOKEN& token : m_parser.Tokens()) EXPECT_FALSE(token.bFocused);

    Parse(u"no link");
    EXPECT_TRUE(m_parser.OnNavigationButton(39));
    EXPECT_FALSE(m_parser.OnNavigationButton(37));
}

TEST_F(HTMLParser, JoinsItsText) {
    Parse(u"<B>ab</B><EDITABLE>cd<U>ef</EDITABLE>gh");
    WCHAR buffer[8];
    EXPECT_EQ(m_parser.GetText(buffer, 7, true), m_parser.Tokens()[2].hFont);
    EXPECT_EQ(std::u16string_view(buffer), u"cdef");
    EXPECT_EQ(m_parser.GetText(buffer, 5, false), m_parser.Tokens()[2].hFont); // cut inside the third
    EXPECT_EQ(std::u16string_view(buffer), u"abcde");
}

TEST_F(HTMLParser, AsksForImages) {
    PictureOwner owner;
    const Case cases[] = {
        {"none without SRC or without an answer", u"<IMG p><IMG SRC=0>a<IMG SRC=\"x\">", "text 'a'\n"},
        {"size behind the source alone", u"<IMG SIZE=3 SRC=\"p q\" SIZE=7 NODRAW>",
         "image 'p q' size 7 undrawn\n"},
        {"a blank ends it", u"<IMG SRC=p7 SIZE=12>", "image 'p7' size 12\n"},
        {"a link to an image", u"<A=\"t\"><IMG SRC=p></A>x", "image 'p' navigable\ntext 'x'\n"},
        {"one that isn't there leaves the mark to the text", u"<A=\"t\"><IMG SRC=x>y",
         "text 'y' -> t navigable\n"},
    };
    for (const Case& c : cases) EXPECT_EQ(Parse(c.html, owner.Window()), c.tokens) << c.what;
    EXPECT_EQ(owner.asked.code, 2074u);
    EXPECT_EQ(owner.asked.idFrom, owner.source.size());
    EXPECT_EQ(Parse(u"<IMG SRC=p" + std::u16string(259, u'x') + u">a", owner.Window()), "text 'a'\n");

    struct Scaling {
        DWORD mode;
        bool fromResource;
        const WCHAR* html;
        LONG size;
    };
    const Scaling scalings[] = {{2, true, u"<IMG SRC=p>", -1},         {2, false, u"<IMG SRC=p>", 0},
                                {4, false, u"<IMG SRC=p>", -1},        {4, true, u"<IMG SRC=p>", 0},
                                {3, true, u"<IMG SRC=p SIZE=11>", -1}, {3, true, u"<IMG SRC=p SIZE=10>", 10},
                                {2, true, u"<IMG SRC=p SIZE=40>", 40}};
    for (const Scaling& s : scalings) {
        owner.fromResource = s.fromResource;
        m_parser.SetBitmapScaling(s.mode);
        Parse(s.html, owner.Window());
        EXPECT_EQ(static_cast<LONG>(m_parser.Tokens().at(0).nImageSize), s.size)
            << s.mode << " " << Narrow(s.html);
    }
    // An image without a size is as high as the tallest text.
    m_parser.SetBitmapScaling(1);
    Parse(u"<FONT SIZE=9>x<IMG SRC=p>", owner.Window());
    m_parser.FirstToken();
    m_parser.NextToken();
    DWORD size = 0;
    bool draw = false;
    EXPECT_NE(m_parser.GetCurrTokenBitmap(size, draw), nullptr);
    EXPECT_EQ(size, 24u); // (9 + 9) * 96 / 72
}

// One font a style for all parsers, and no end of styles takes all the handles there are.
TEST_F(HTMLParser, SharesItsFonts) {
    Parse(u"<B>a</B>b<I>c</I>d");
    const HFONT bold = m_parser.Tokens()[0].hFont, plain = m_parser.Tokens()[1].hFont;
    EXPECT_EQ(m_parser.Tokens()[3].hFont, plain);
    CHTMLParser other;
    other.SetHTML(u"x<B>y");
    other.ParseHTML(nullptr);
    EXPECT_EQ(other.Tokens()[0].hFont, plain);
    Parse(u"");
    EXPECT_EQ(other.Tokens()[1].hFont, bold);
    EXPECT_EQ(Dump(other), "text 'x'\ntext 'y' weight 700\n");

    std::u16string styles;
    for (int i = 0; i < 1000; ++i)
        styles += u"<FONT SIZE=1" + std::u16string(1, static_cast<WCHAR>(u'0' + i % 10)) + u" NAME=f" +
                  std::u16string(1, static_cast<WCHAR>(0x4E00 + i)) + u">x";
    Parse(styles);
    std::set<HFONT> fonts;
    for (const HTMLTOKEN& token : m_parser.Tokens()) fonts.insert(token.hFont);
    EXPECT_EQ(fonts.size(), HTMLFonts::kMost);
    EXPECT_FALSE(fonts.contains(nullptr));
}

TEST_F(HTMLParser, TellsTheUserOfMissingMemory) {
    m_html.assign(5000, u'x'); // more than the first block holds
    m_html = u"a<B>" + m_html;
    m_parser.SetHTML(m_html.c_str());
    PlatInjectFault(PlatFault::Allocate, 2);
    EXPECT_EQ(m_parser.ParseHTML(nullptr), 0);
    EXPECT_EQ(Dump(m_parser), "text 'a'\n");
    EXPECT_EQ(PlatTakeMessageBoxes().size(), 1u);
}

TEST(HTMLTexts, Entities) {
    const std::map<std::u16string, WCHAR> known = {
        {u"&amp;", u'&'},   {u"&LT;", u'<'},  {u"&#62;", u'>'}, {u"&nbsp;", 160},   {u"&szlig;", 223},
        {u"&agrave;", 192}, {u"&#224;", 224}, {u"&eth;", 208},  {u"&divide;", 247}, {u"&yuml;", 255},
        {u"&#034;", 0},     {u"&#x26;", 0},   {u"&#161", 0},    {u"amp;", 0},       {u"&;", 0},
        {u"&#159;", 0},     {u"&#;", 0},      {u"", 0},
    };
    for (const auto& [entity, character] : known)
        EXPECT_EQ(GetHTMLEntity(entity.c_str()), character) << Narrow(entity.c_str());
}

TEST(HTMLTexts, PlainText) {
    const std::map<std::u16string, std::u16string> texts = {
        {u"a<B>b</B>c", u"abc"},
        {u"a<B", u"a"},
        {u"&amp;x", u"&"},
        {u"&amp;", u"&"},
        {u"&lt; b&gt;<I>", u"<b>I>"},
        {u"a & b;", u"a & b;"},
        {u"&&amp; ", u"&&"},
        {u"&bogus; x", u"&bogus; x"},
    };
    for (const auto& [html, text] : texts) {
        WCHAR* plain = HTMLToText(html.c_str());
        EXPECT_EQ(std::u16string(plain), text) << Narrow(html.c_str());
        free(plain);
    }
    EXPECT_EQ(HTMLToText(nullptr), nullptr);
    WCHAR closed[16];
    CloseTags(u"<B><U>", closed);
    EXPECT_EQ(std::u16string_view(closed), u"</B></U>");
}

TEST(HTMLTexts, Colors) {
    WCHAR buffer[8];
    EXPECT_EQ(ColorRefToHTML(0x00302010, buffer, 8), 7);
    EXPECT_EQ(std::u16string_view(buffer), u"#102030");
    EXPECT_EQ(ColorRefToHTML(0, buffer, 7), 0);
    EXPECT_EQ(ColorRefToHTML(0, nullptr, 8), 0);
    COLORREF color = 0x123;
    for (const WCHAR* bad : {u"", u"#", u"#12g", u"12345678", u" 1"})
        EXPECT_FALSE(HTMLToColorRef(bad, &color)) << Narrow(bad);
    EXPECT_EQ(color, 0x123u);
    const std::map<std::u16string, COLORREF> colors = {
        {u"#102030", 0x302010}, {u"##fF", 0xFF0000}, {u"7102030", 0x302010}, {u"0", 0}};
    for (const auto& [text, value] : colors) {
        EXPECT_TRUE(HTMLToColorRef(text.c_str(), &color));
        EXPECT_EQ(color, value) << Narrow(text.c_str());
    }
}

} // namespace
