// qn page: pictures of the calendar's pages, compared with each other; what is refused.
#include "tests/apps/qn_run.h"

namespace {

class Page : public QnTest {
protected:
    // The bytes of a picture of a day that is neither today nor near it, so that nothing in it moves.
    std::string Draw(const std::string& page, std::vector<std::string> more = {}) const {
        more.insert(more.begin(), {"page", page, "--date", "2031-03-05", "--png", "page.png"});
        const Ran ran = Qn(more);
        EXPECT_EQ(ran.code, 0) << ran.err;
        return Read("page.png");
    }
};

TEST_F(Page, ShowsWhatTheStoreHolds) {
    const auto event = [](const std::string& uid, const std::string& times, const std::string& category) {
        return Event(uid, times + "\r\nSUMMARY:Talk\r\nCATEGORIES:" + category);
    };
    for (const std::string page : {"day", "week", "agenda"}) {
        m_device = m_folder + "/" + page;
        const std::string empty = Draw(page);
        EXPECT_TRUE(Draw(page) == empty) << page << " is drawn the same twice";
        ASSERT_EQ(Import(event("1", "DTSTART:20310305T090000Z\r\nDTEND:20310305T100000Z", "Work")).code, 0);
        const std::string one = Draw(page);
        EXPECT_FALSE(one == empty) << page;
        ASSERT_EQ(Import(event("2", "DTSTART;VALUE=DATE:20310305", "Home")).code, 0);
        EXPECT_FALSE(Draw(page) == one) << page << " shows all-day items";
        EXPECT_TRUE(Draw(page, {"--category", "Work"}) == one) << page << " leaves other categories out";
    }
}

TEST_F(Page, EachListShowsItsItems) {
    Write("one.ics", "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VTODO\r\nUID:1\r\nSUMMARY:Oak\r\nEND:VTODO\r\n"
                     "END:VCALENDAR\r\n");
    Write("one.vcf", "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann Oak\r\nN:Oak;Ann\r\nEND:VCARD\r\n");
    Write("one.txt", "Oak");
    const auto draw = [this](std::vector<std::string> words) {
        words.insert(words.begin(), "page");
        words.insert(words.end(), {"--png", "page.png"});
        const Ran ran = Qn(words);
        EXPECT_EQ(ran.code, 0) << ran.err;
        return Read("page.png");
    };
    const struct {
        std::vector<std::string> words;
        std::string file; // what changes the picture
    } pages[] = {{{"tasks"}, "one.ics"},
                 {{"contacts"}, "one.vcf"},
                 {{"notes"}, "one.txt"},
                 {{"search", "--find", "oak"}, "one.ics"}};
    for (const auto& page : pages) {
        m_device = m_folder + "/" + page.words[0];
        const std::string empty = draw(page.words);
        ASSERT_EQ(0, Qn({"import", page.file}).code);
        EXPECT_FALSE(draw(page.words) == empty) << page.words[0];
    }
    m_device = m_folder + "/contacts";
    EXPECT_FALSE(draw({"contacts", "--find", "zoe"}) == draw({"contacts", "--find", "ann"}));
}

TEST_F(Page, CategoriesHaveTheirIcons) {
    const std::string icon = Draw("day", {"--size", "12x12"});
    ASSERT_EQ(Import(Event("1", "DTSTART:20310305T090000Z\r\nSUMMARY:Talk\r\nCATEGORIES:Work")).code, 0);
    const std::string plain = Draw("agenda");
    ASSERT_EQ(0, Qn({"set", "IconPath", "\\Icons"}).code);
    EXPECT_TRUE(Draw("agenda") == plain);
    std::filesystem::create_directory(m_device + "/Icons");
    std::ofstream(m_device + "/Icons/Work.png", std::ios::binary) << icon;
    EXPECT_FALSE(Draw("agenda") == plain);
}

TEST_F(Page, HasTheSizeAndTheColoursThatWereAskedFor) {
    const auto numberAt = [](const std::string& png, std::size_t at) { // of the header of a PNG file
        int number = 0;
        for (std::size_t i = at; i < at + 4; ++i) number = number * 256 + static_cast<unsigned char>(png[i]);
        return number;
    };
    const std::string light = Draw("day");
    EXPECT_EQ(480, numberAt(light, 16));
    const std::string small = Draw("day", {"--size", "240x320", "--dpi", "120"});
    EXPECT_EQ(240, numberAt(small, 16));
    EXPECT_EQ(320, numberAt(small, 20));
    EXPECT_FALSE(small == Draw("day", {"--size", "240x320"})) << "dots count";
    const std::string dark = Draw("day", {"--scheme", "dark"});
    EXPECT_FALSE(dark == light);
    ASSERT_EQ(0, Qn({"set", "Colors/Scheme", "1"}).code);
    EXPECT_TRUE(Draw("day") == dark);
    EXPECT_TRUE(Draw("day", {"--scheme", "light"}) == light);
}

TEST_F(Page, WhatCantBeDoneIsTold) {
    const struct {
        std::vector<std::string> words;
        int code;
    } cases[] = {
        {{"page"}, 2},
        {{"page", "month"}, 2},
        {{"page", "day", "week"}, 2},
        {{"page", "day", "--date", "2026-02-30"}, 2},
        {{"page", "tasks", "--date", "today"}, 2},
        {{"page", "notes", "--find", "x"}, 2},
        {{"page", "day", "--size", "480"}, 2},
        {{"page", "day", "--size", "0x10"}, 2},
        {{"page", "day", "--dpi", "10"}, 2},
        {{"page", "day", "--scheme", "blue"}, 2},
        {{"page", "day", "--size", "99999x99999"}, 1},
        {{"page", "day", "--category", "Nobody"}, 1},
        {{"page", "day", "--png", "no/such/day.png"}, 1},
    };
    for (const auto& one : cases) EXPECT_EQ(Qn(one.words).code, one.code) << one.words.back();
    m_device = m_folder + "/broken";
    std::filesystem::create_directory(m_device);
    Write("broken/pim.vol", "no volume");
    EXPECT_EQ(2, Qn({"page", "day"}).code) << "no empty page of a store that can't be read";
}

} // namespace
