#include "NorvoTools/CRegistry.h"
#include "NorvoTools/MRU.h"
#include "tests/support/devicefiles.h"

#include <string>

namespace {

class MruTest : public DeviceFilesTest {
protected:
    static std::string List(bool checkFiles = false) {
        CeStrList<> list(0);
        MRU(nullptr, u"L", 0, MruTarget::List, checkFiles, &list);
        std::string out;
        for (const WCHAR* text : list) {
            for (; *text; ++text) out += static_cast<char>(*text);
            out += '|';
        }
        return out;
    }
};

TEST_F(MruTest, NewestFirstAndOnce) {
    for (const WCHAR* text : {u"a", u"b", u"", u"c", u"a", u"a", u"A"}) MRUSave(u"L", text);
    EXPECT_EQ(List(), "A|a|c|b|"); // compared by case
    MRUSave(u"L", u"c");
    EXPECT_EQ(List(), "c|A|a|b|");
    MRUSave(u"Other", u"x");
    EXPECT_EQ(List(), "c|A|a|b|");
}

TEST_F(MruTest, TheSixteenthDrops) {
    std::string expected;
    for (int i = 1; i <= 17; ++i)
        MRUSave(u"L", (u"t" + std::u16string(static_cast<std::size_t>(i), u'x')).c_str());
    for (int i = 17; i > 2; --i) expected += "t" + std::string(static_cast<std::size_t>(i), 'x') + "|";
    EXPECT_EQ(List(), expected); // names 10 to 14 stand behind 9, not behind 1
}

TEST_F(MruTest, LongTextsStay) {
    MRUSave(u"L", std::u16string(1000, u'l').c_str());
    MRUSave(u"L", u"b");
    EXPECT_EQ(List(), "b|" + std::string(1000, 'l') + "|");
}

TEST_F(MruTest, FilesThatAreGoneLeaveTheList) {
    Put("here.txt", "x");
    MRUSave(u"L", u"\\here.txt");
    MRUSave(u"L", u"\\gone.txt");
    EXPECT_EQ(List(true), "\\here.txt|");
    EXPECT_EQ(List(false), "\\here.txt|");
}

TEST_F(MruTest, StringsReadsTheSecondEntryOnly) {
    WCHAR** strings = nullptr;
    DWORD count = 5;
    MRUStrings(u"L", &strings, &count); // (no array to free yet)
    ASSERT_NE(strings, nullptr);
    EXPECT_EQ(std::u16string(strings[0]), u"");
    EXPECT_EQ(count, 5u); // an empty list leaves it
    count = 0;
    MRUSave(u"L", u"first");
    MRUStrings(u"L", &strings, &count);
    EXPECT_EQ(std::u16string(strings[0]), u""); // there is no "1" yet
    EXPECT_EQ(count, 1u);
    MRUSave(u"L", u"second");
    MRUStrings(u"L", &strings, &count);
    EXPECT_EQ(std::u16string(strings[0]), u"first");
    CleanupMRUStrings(&strings, count);
    EXPECT_EQ(strings, nullptr);
}

} // namespace
