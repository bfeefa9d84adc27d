// Text in, text out: what the settings form takes, and what a save leaves on disk.
#include "NorvoTools/INIFile.h"
#include "Platform/files.h"
#include "tests/support/devicefiles.h"

#include <string>
#include <thread>

using namespace std::string_literals;

namespace {

constexpr const WCHAR* kFile = u"\\Norvo\\s.reg";
constexpr const char* kOnDisk = "Norvo/s.reg";

std::u16string Wider(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

std::string LinesOf(const INIFile& file) {
    std::string out;
    for (const std::u16string& line : file.Lines()) out += std::string(line.begin(), line.end()) + "|";
    return out;
}

struct TextCase {
    std::string in;
    std::string out;      // lines, each ended by "|"
    std::size_t lost = 0; // lines that a rewrite would lose
};

class INIFileText : public testing::TestWithParam<TextCase> {};

TEST_P(INIFileText, ReadsAndWrites) {
    INIFile file(kFile);
    file.Parse(Wider(GetParam().in));
    EXPECT_EQ(LinesOf(file), GetParam().out);
    EXPECT_EQ(file.LinesLost(), GetParam().lost);
    EXPECT_FALSE(file.IsDirty());
}

INSTANTIATE_TEST_SUITE_P(
    Forms, INIFileText,
    testing::Values(
        TextCase{"", "|"}, TextCase{"[A]\r\n", "|"}, // a section without values isn't written
        TextCase{"  [A]\t\r\n \"n\"=\"v\"  ", "|[A]|\"n\"=\"v\"||"},
        TextCase{"[A]\nn=v\n@=\"d\"\n@x=1",
                 "|[A]|\"n\"=\"v\"|@=\"d\"|@x=\"1\"||"}, // quotes come, "@" stays bare
        TextCase{"[A]\nn=dword:00000010\nm=dword:ab", "|[A]|\"n\"=dword:00000010|\"m\"=dword:000000AB||"},
        TextCase{"[A]\nn=\"xdword:123\"",
                 "|[A]|\"n\"=dword:00000000||"},                        // from the seventh character: ":123"
        TextCase{"[A]\nn=\"dword:12\"", "|[A]|\"n\"=dword:00000012||"}, // quotes are off before the search
        TextCase{"[A]\nn=DWORD:12", "|[A]|\"n\"=\"DWORD:12\"||"},       // by case
        TextCase{"[A]\nn=dword:FFFFFFFFFF", "|[A]|\"n\"=dword:FFFFFFFF||"},
        TextCase{"[A]\na=1\n[A]\na=2", "|[A]|\"a\"=\"1\"||[A]|\"a\"=\"2\"||"}, // two sections of one name
        TextCase{"n=v\n[A]\na=1", "|[A]|\"a\"=\"1\"||", 1},                    // before any section
        TextCase{"[A]\nrubbish\na=1", "|[A]|\"a\"=\"1\"||", 1},
        TextCase{"[A]\n=x\n\"\"=y\na=1", "|[A]|\"a\"=\"1\"||", 2}, // empty names aren't written
        TextCase{"[A]\na=b=c", "|[A]|\"a\"=\"b=c\"||"},            // the first "=" splits
        TextCase{"[A]\na=\"b\"c\"", "|[A]|\"a\"=\"b\"c\"||"}, TextCase{"[A]\na=\"", "|[A]|\"a\"=\"\"\"||"},
        TextCase{"[", "|"}, TextCase{"[]\na=1", "|[]|\"a\"=\"1\"||"},
        TextCase{"[A]\na=1\0b\nc=2"s, "|[A]|\"a\"=\"1\"|\"c\"=\"2\"||", 1},
        TextCase{"[A]\na=" + std::string(8094, 'x') + "\nb=1",
                 "|[A]|\"a\"=\"" + std::string(8094, 'x') + "\"|\"b\"=\"1\"||"},
        TextCase{"[A]\na=" + std::string(8095, 'x') + "\nb=1", "|[A]|\"b\"=\"1\"||", 1}));

class INIFileSave : public DeviceFilesTest {
protected:
    static void SetText(INIFile& file, const WCHAR* section, const WCHAR* name, const WCHAR* text) {
        bool isNew = false;
        file.Open(section, isNew).Set({name, text, 0, kValueString, true});
        file.SetDirty();
    }
    std::string SavedText() const { return Narrow(Get(kOnDisk)); }
};

TEST_F(INIFileSave, WritesUtf16WithTheMark) {
    INIFile file(kFile);
    EXPECT_TRUE(file.Load()); // a missing file is an empty store
    SetText(file, u"HKEY_CURRENT_USER\\S", u"n", u"\u00FC");
    EXPECT_EQ(file.Save(), 0);
    EXPECT_FALSE(file.IsDirty());
    std::string expected = Wide("\r\n[HKEY_CURRENT_USER\\S]\r\n\"n\"=\"#\"\r\n\r\n");
    expected[expected.find('#')] = '\xFC';
    EXPECT_EQ(Get(kOnDisk), expected);
    EXPECT_FALSE(OnDisk("Norvo/s.reg.tmp"));
}

TEST_F(INIFileSave, ReadsNarrowFilesByTheCodePage) {
    Put(kOnDisk, "[S]\r\nn=\"M\xC3\xBC\xE4\"\r\n");
    INIFile file(kFile);
    ASSERT_TRUE(file.Load());
    EXPECT_EQ(file.Sections().at(0).values.at(0).text, u"M\u00FC\u00E4");
}

// Two stores on one file, as two processes have them: both loaded before either saves.
TEST_F(INIFileSave, MergesWithWhatAnotherProcessWrote) {
    struct Case {
        const char* name;
        void (*ours)(INIFile&);
        void (*theirs)(INIFile&);
        const char* out;
    };
    const Case cases[] = {
        {"different values of one section", [](INIFile& f) { SetText(f, u"S", u"a", u"A"); },
         [](INIFile& f) { SetText(f, u"S", u"b", u"B"); }, "|[S]|\"b\"=\"B\"|\"a\"=\"A\"||"},
        {"the same value: the later save wins", [](INIFile& f) { SetText(f, u"S", u"a", u"A"); },
         [](INIFile& f) { SetText(f, u"S", u"a", u"B"); }, "|[S]|\"b\"=\"2\"|\"a\"=\"A\"||"},
        {"a value deleted here stays deleted", [](INIFile& f) { f.Find(u"s")->Delete(u"A"); },
         [](INIFile& f) { SetText(f, u"S", u"b", u"B"); }, "|[S]|\"b\"=\"B\"||"},
        {"a value deleted there comes back from a changed section",
         [](INIFile& f) { SetText(f, u"S", u"b", u"B"); }, [](INIFile& f) { f.Find(u"S")->Delete(u"a"); },
         "|[S]|\"a\"=\"1\"|\"b\"=\"B\"||"},
        {"a section deleted here", [](INIFile& f) { f.Delete(u"S"); },
         [](INIFile& f) { SetText(f, u"U", u"y", u"2"); }, "|[U]|\"y\"=\"2\"||"},
        {"deleted and made again: the old values are gone",
         [](INIFile& f) {
             f.Delete(u"S");
             SetText(f, u"S", u"b", u"new");
         },
         [](INIFile&) {}, "|[S]|\"b\"=\"new\"||"},
        {"no change here: theirs stays as it is", [](INIFile&) {},
         [](INIFile& f) { f.Find(u"S")->Delete(u"a"); }, "|[S]|\"b\"=\"2\"||"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Put(kOnDisk, "[S]\r\n\"a\"=\"1\"\r\n\"b\"=\"2\"\r\n");
        INIFile ours(kFile), theirs(kFile);
        ASSERT_TRUE(ours.Load() && theirs.Load());
        c.ours(ours);
        c.theirs(theirs);
        EXPECT_EQ(theirs.Save(), 0);
        EXPECT_EQ(ours.Save(), 0);
        EXPECT_EQ(SavedText(), c.out);
        EXPECT_EQ(Narrow(Wide(LinesOf(ours))), c.out); // memory is what the file is
    }
}

TEST_F(INIFileSave, KeepsACopyOfWhatARewriteWouldLose) {
    const std::string damaged = Wide("[S]\r\n\"a\"=\"1\"\r\nrubbish\r\n");
    Put(kOnDisk, damaged);
    INIFile file(kFile);
    ASSERT_TRUE(file.Load());
    SetText(file, u"S", u"b", u"2");
    EXPECT_EQ(file.Save(), 0);
    EXPECT_EQ(SavedText(), "|[S]|\"a\"=\"1\"|\"b\"=\"2\"||");
    EXPECT_EQ(Get("Norvo/s.reg.bad"), damaged);
    // Damaged again: the first copy stays.
    Put(kOnDisk, Wide("more rubbish\r\n"));
    SetText(file, u"S", u"c", u"3");
    EXPECT_EQ(file.Save(), 0);
    EXPECT_EQ(Get("Norvo/s.reg.bad"), damaged);
    EXPECT_EQ(Get("Norvo/s.reg.bad1"), Wide("more rubbish\r\n"));
    // A value that no reader takes, set before each save: a copy each time, and no end of the saving.
    const std::u16string tooLong(8100, u'x');
    for (int i = 0; i < 110; ++i) {
        SetText(file, u"S", u"long", tooLong.c_str());
        ASSERT_EQ(file.Save(), 0) << i;
    }
    EXPECT_TRUE(OnDisk("Norvo/s.reg.bad99"));
    EXPECT_FALSE(OnDisk("Norvo/s.reg.bad100"));
    EXPECT_EQ(Get("Norvo/s.reg.bad"), damaged);
}

TEST_F(INIFileSave, AFaultLeavesTheOldFileAndTheChange) {
    Put(kOnDisk, "[S]\r\n\"a\"=\"1\"\r\n");
    const std::string before = Get(kOnDisk);
    INIFile file(kFile);
    ASSERT_TRUE(file.Load());
    SetText(file, u"S", u"b", u"2");
    for (PlatFault fault : {PlatFault::FileWrite, PlatFault::FileSync, PlatFault::FileRename}) {
        PlatInjectFault(fault, 1, true);
        EXPECT_LT(file.Save(), 0);
        EXPECT_GT(PlatFaultCount(fault), 0u);
        PlatInjectFault(fault, 0);
        EXPECT_EQ(Get(kOnDisk), before);
        EXPECT_FALSE(OnDisk("Norvo/s.reg.tmp"));
        EXPECT_TRUE(file.IsDirty());
    }
    EXPECT_EQ(file.Save(), 0);
    EXPECT_EQ(SavedText(), "|[S]|\"a\"=\"1\"|\"b\"=\"2\"||");
}

// Each writer has a store of its own, as two processes have; what one saves the other must not write over.
TEST_F(INIFileSave, TwoWritersAtOnceLoseNothing) {
    constexpr int kSaves = 40;
    auto writer = [](const char* prefix) {
        INIFile file(kFile);
        file.Load();
        for (int i = 0; i < kSaves; ++i) {
            SetText(file, u"S", Wider(prefix + std::to_string(i)).c_str(), u"v");
            EXPECT_EQ(file.Save(), 0);
        }
    };
    std::thread first(writer, "a"), second(writer, "b");
    first.join();
    second.join();
    INIFile result(kFile);
    ASSERT_TRUE(result.Load());
    EXPECT_EQ(result.Sections().at(0).values.size(), std::size_t{2 * kSaves});
    EXPECT_FALSE(OnDisk("Norvo/s.reg.bad"));
}

} // namespace
