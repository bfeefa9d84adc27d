// qn mark-up: what is told of a text, the size of its picture, what is refused.
#include "tests/apps/qn_run.h"

namespace {

class MarkUp : public QnTest {
protected:
    // Width and height as the file's first chunk tells them.
    std::pair<int, int> SizeOfPng(const std::string& name) const {
        const std::string bytes = Read(name);
        if (bytes.size() < 24 || bytes.substr(1, 3) != "PNG") return {0, 0};
        const auto number = [&](std::size_t at) {
            int value = 0;
            for (std::size_t i = at; i < at + 4; ++i)
                value = value * 256 + static_cast<unsigned char>(bytes[i]);
            return value;
        };
        return {number(16), number(20)};
    }
    static int Count(const std::string& text, const std::string& part) {
        int count = 0;
        for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
        return count;
    }
};

TEST_F(MarkUp, DumpTellsTokensPlacesAndHotSpots) {
    Write("a.txt", "<B>Bold</B><BR><A=\"42\">go \xC3\xBC</A><EDGE>");
    const Ran ran = Qn({"mark-up", "--dump", "a.txt"});
    EXPECT_EQ(ran.code, 0) << ran.err;
    for (const char* line :
         {"text \"Bold\" Tahoma 14 weight 700 #000000 on #FFFFFF\n", "  break\n",
          "text \"go \xC3\xBC\" Tahoma 14 #000000 on #FFFFFF to \"42\" navigable\n", "  rule\n",
          "layout 240x", "  text 0,0 ", "  text 0,14 ", "  rule 0,", "hot spots\n  spot 0,14 "})
        EXPECT_TRUE(ran.Says(line)) << line << ran.out;
}

TEST_F(MarkUp, TheWidthWraps) {
    const std::string words = "one two three four five six seven eight nine ten";
    Write("a.txt", words);
    EXPECT_EQ(Count(Qn({"mark-up", "--dump", "--width", "1000", "a.txt"}).out, "\n  text 0,"), 1);
    EXPECT_GT(Count(Qn({"mark-up", "--dump", "--width", "80", "a.txt"}).out, "\n  text 0,"), 3);
    EXPECT_EQ(Count(Qn({"mark-up", "--dump", "--width", "80", "--line", "a.txt"}).out, "\n  text 0,"), 1);
}

// 11 points are 14.67 pixels at 96 dots an inch and 29.33 at 192, cut.
TEST_F(MarkUp, ThePictureIsAsLargeAsTheText) {
    Write("a.txt", "line");
    EXPECT_EQ(Qn({"mark-up", "--png", "1.png", "a.txt"}).code, 0);
    EXPECT_EQ(Qn({"mark-up", "--png", "2.png", "--dpi", "192", "a.txt"}).code, 0);
    EXPECT_EQ(SizeOfPng("1.png"), std::pair(240, 14));

    EXPECT_EQ(SizeOfPng("2.png"), std::pair(480, 29));
}

TEST_F(MarkUp, WhatCantBeDoneIsTold) {
    Write("a.txt", "text");
    Write("zero.txt", std::string("a\0b", 3));
    struct Case {
        std::vector<std::string> words;
        int code;
    };
    const Case cases[] = {{{"--png", "x.png", "missing.txt"}, 1},
                          {{"--dump", "zero.txt"}, 1},
                          {{"--png", "no/such/x.png", "a.txt"}, 1},
                          {{"a.txt"}, 2},
                          {{"--dump"}, 2},
                          {{"--dump", "--width", "0", "a.txt"}, 2},
                          {{"--dump", "--dpi", "5000", "a.txt"}, 2}};
    for (Case c : cases) {
        c.words.insert(c.words.begin(), "mark-up");
        EXPECT_EQ(Qn(c.words).code, c.code) << c.words.back();
    }
    EXPECT_EQ(SizeOfPng("x.png.part"), std::pair(0, 0));
}

} // namespace
