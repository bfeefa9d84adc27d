#include "NorvoTools/CeFile.h"
#include "Platform/clock.h"
#include "Platform/threads.h"
#include "tests/support/devicefiles.h"

#include <array>
#include <string>
#include <vector>

using namespace std::string_literals;

namespace {

class CeFileTest : public DeviceFilesTest {
protected:
    static std::string Ascii(const WCHAR* text, DWORD count) {
        std::string out;
        for (; count > 0; --count, ++text) out += *text > 0 && *text < 128 ? static_cast<char>(*text) : '?';
        return out;
    }
    // Reads `count` lines, each shown in brackets.
    static std::string Lines(CeFile& file, int count, DWORD max, bool wideOnly = false) {
        std::vector<WCHAR> line(max + 1);
        std::string out;
        for (int i = 0; i < count; ++i) {
            const DWORD n = wideOnly ? file.ReadULine(line.data(), max) : file.ReadLine(line.data(), max);
            EXPECT_EQ(line[n], 0);
            out += "[" + Ascii(line.data(), n) + "]";
        }
        return out;
    }
};

TEST_F(CeFileTest, OpeningLooksForTheMark) {
    struct Case {
        std::string bytes;
        bool open, unicode;
        DWORD position;
        const char* firstLine;
    };
    const Case cases[] = {
        {"", false, false, 0xFFFFFFFF, "[]"}, // empty: success with the object closed
        {"\xFF\xFE", true, true, 2, "[]"},
        {"\xFF", true, false, 0, "[?]"},
        {"ab", true, false, 0, "[ab]"},
        {Wide("ab"), true, true, 2, "[ab]"},
        {"\xFE\xFF\0a"s, true, false, 0, "[???a]"}, // the other byte order is no mark
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.bytes));
        Put("t.txt", c.bytes);
        CeFile file;
        EXPECT_TRUE(file.Open(u"\\t.txt", GENERIC_READ, FILE_SHARE_READ, false));
        EXPECT_EQ(file.IsOpen(), c.open);
        EXPECT_EQ(file.IsUnicode(), c.unicode);
        EXPECT_EQ(file.GetPosition(), c.position);
        EXPECT_EQ(Lines(file, 1, 100), c.firstLine);
    }
}

TEST_F(CeFileTest, MissingAndNewFiles) {
    CeFile file;
    EXPECT_FALSE(file.Open(u"\\new.txt", GENERIC_READ, 0, false));
    EXPECT_TRUE(file.Open(u"\\new.txt", GENERIC_READ | GENERIC_WRITE, 0, true));
    EXPECT_FALSE(file.IsOpen()); // made, found empty, closed
    EXPECT_FALSE(file.Create(u"\\new.txt", GENERIC_WRITE, FILE_ATTRIBUTE_NORMAL, false));
}

TEST_F(CeFileTest, LinesEndAtCarriageReturnsAndStartOver) {
    struct Case {
        const char* text;
        DWORD max;
        int count;
        const char* lines;
    };
    const Case cases[] = {
        {"one\r\ntwo", 10, 3, "[one][two][one]"}, // no final line end, then the first line again
        {"one\r\ntwo\r\n", 10, 3, "[one][two][one]"},
        {"a\nb\rc", 10, 2, "[a\nb][c]"}, // a line feed alone is text
        {"\r\n\r\nx", 10, 3, "[][][x]"},
        {"abcdef\r\ng", 4, 3, "[abcd][ef][g]"}, // a longer line goes on
        {"abcd\r\ng", 4, 2, "[abcd][g]"},
        {"a\r\n\ny", 10, 2, "[a][\ny]"}, // one line feed belongs to the line end
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.text));
        Put("wide.txt", Wide(c.text));
        Put("narrow.txt", c.text);
        CeFile wide, narrow;
        ASSERT_TRUE(wide.Open(u"\\wide.txt", GENERIC_READ, FILE_SHARE_READ, false));
        ASSERT_TRUE(narrow.Open(u"\\narrow.txt", GENERIC_READ, FILE_SHARE_READ, false));
        EXPECT_EQ(Lines(wide, c.count, c.max, true), c.lines);
        EXPECT_EQ(Lines(narrow, c.count, c.max), c.lines);
    }
}

TEST_F(CeFileTest, NarrowLinesGoThroughTheCodePage) {
    Put("t.txt", "M\xC3\xBCller\r\n\xE4");
    CeFile file;
    ASSERT_TRUE(file.Open(u"\\t.txt", GENERIC_READ, 0, false));
    std::array<WCHAR, 20> line = {};
    EXPECT_EQ(file.ReadLine(line.data(), 10), 6u);
    EXPECT_EQ(std::u16string(line.data()), u"M\u00FCller");
    EXPECT_EQ(file.ReadLine(line.data(), 10), 1u); // no UTF-8: taken by windows-1252
    EXPECT_EQ(std::u16string(line.data()), u"\u00E4");
    EXPECT_FALSE(file.EndOfFile()); // never, once lines are read
}

// What a file holds when a write meets the end of the buffer of 65,536 bytes.
TEST_F(CeFileTest, WritesAtTheEndOfTheBuffer) {
    struct Case {
        DWORD before, count;
        std::string added;
    };
    const Case cases[] = {
        {65530, 5, std::string(5, 'b')},       {65530, 6, ""}, // fits exactly: not stored
        {65530, 10, std::string(6 + 10, 'b')},                 // the first six stand twice
        {10, 65536, std::string(65536, 'b')},                  // straight to the file
        {0, 65535, std::string(65535, 'b')},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.before) + "+" + std::to_string(c.count));
        const std::string before(c.before, 'a'), block(c.count, 'b');
        {
            CeFile file;
            ASSERT_TRUE(file.Create(u"\\t.bin", GENERIC_WRITE, FILE_ATTRIBUTE_NORMAL, true));
            EXPECT_EQ(file.Write(before.data(), c.before), c.before);
            EXPECT_EQ(file.Write(block.data(), c.count), c.count);
            EXPECT_FALSE(file.WriteFailed());
        }
        EXPECT_EQ(Get("t.bin"), before + c.added);
    }
}

TEST_F(CeFileTest, ReadsAreCutAtTheEnd) {
    std::string big;
    for (int i = 0; i < 150000; ++i) big += static_cast<char>('a' + i % 23);
    Put("big.bin", big);
    CeFile file;
    ASSERT_TRUE(file.Open(u"\\big.bin", GENERIC_READ, 0, false));
    std::string got(200000, '\0');
    EXPECT_EQ(file.Read(got.data(), 70000), 70000u);
    EXPECT_EQ(file.GetPosition(), 70000u);
    EXPECT_FALSE(file.EndOfFile());
    EXPECT_EQ(file.Read(got.data() + 70000, 130000), 80000u);
    got.resize(150000);
    EXPECT_EQ(got, big);
    EXPECT_TRUE(file.EndOfFile());
    char c;
    EXPECT_EQ(file.Read(&c, 1), 0u);
    EXPECT_EQ(file.SetPosition(149999), 149999u);
    EXPECT_EQ(file.Read(&c, 1), 1u);
    EXPECT_EQ(c, big.back());

    Put("wide.txt", Wide("abc"));
    ASSERT_TRUE(file.Open(u"\\wide.txt", GENERIC_READ, 0, false));
    EXPECT_EQ(file.Read(got.data(), 100), 6u); // the mark is not part of it
}

TEST_F(CeFileTest, PositionsSeeWhatIsPendingAndReadAhead) {
    Put("t.bin", "0123456789");
    CeFile file;
    ASSERT_TRUE(file.Open(u"\\t.bin", GENERIC_READ | GENERIC_WRITE, 0, false));
    char c[3] = {};
    EXPECT_EQ(file.Read(c, 2), 2u);
    EXPECT_EQ(file.GetPosition(), 2u);
    EXPECT_EQ(file.MovePosition(3), 5u);
    file.Write("XY", 2); // lands where the reader stands, not behind what was read ahead
    EXPECT_EQ(file.GetPosition(), 7u);
    EXPECT_EQ(file.Read(c, 1), 1u);
    EXPECT_EQ(c[0], '7');
    file.Write("Z", 1);
    file.SetPositionEnd();
    file.Write("!", 1);
    file.SetPosition(10);
    EXPECT_TRUE(file.SetEndOfFile());
    file.Close();
    EXPECT_EQ(Get("t.bin"), "01234XY7Z9");
}

TEST_F(CeFileTest, WritingLines) {
    CeFile file;
    ASSERT_TRUE(file.Create(u"\\t.txt", GENERIC_WRITE, FILE_ATTRIBUTE_NORMAL, true));
    EXPECT_TRUE(file.WriteUnicodeHeader());
    EXPECT_TRUE(file.WriteLine(u"ab", false));
    EXPECT_TRUE(file.IsUnicode());
    EXPECT_TRUE(file.WriteLine(u"\u00FC", true)); // narrow all the same
    EXPECT_FALSE(file.IsUnicode());
    EXPECT_TRUE(file.WriteLine(u"", true));
    file.Close();
    EXPECT_EQ(Get("t.txt"), Wide("ab\r\n") + "\xC3\xBC\r\n\r\n");
    Put("r.txt", "x");
    ASSERT_TRUE(file.Open(u"\\r.txt", GENERIC_READ, 0, false));
    EXPECT_FALSE(file.WriteLine(u"no", true));
    EXPECT_EQ(file.Write("no", 2), 2u); // told as written, and not
    file.Close();
    EXPECT_EQ(Get("r.txt"), "x");
}

TEST_F(CeFileTest, FaultsAreTold) {
    for (PlatFault fault : {PlatFault::FileWrite, PlatFault::FileSync}) {
        CeFile file;
        ASSERT_TRUE(file.Create(u"\\t.txt", GENERIC_WRITE, FILE_ATTRIBUTE_NORMAL, true));
        PlatInjectFault(fault, 1);
        file.WriteLine(u"text", true);
        EXPECT_FALSE(file.Commit());
        EXPECT_TRUE(file.WriteFailed());
        PlatInjectFault(fault, 0);
    }
}

TEST_F(CeFileTest, InformationIsThatOfTheOpenFile) {
    Put("a.txt", "x");
    Put("b.txt", "x");
    CeFile a, b;
    EXPECT_EQ(a.GetFileOID(), 0u); // of no file
    EXPECT_EQ(a.GetAttributes(), 0u);
    ASSERT_TRUE(a.Open(u"\\a.txt", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, false));
    ASSERT_TRUE(b.Open(u"\\b.txt", GENERIC_READ, FILE_SHARE_READ, false));
    EXPECT_EQ(a.GetAttributes(), FILE_ATTRIBUTE_ARCHIVE);
    EXPECT_NE(a.GetFileOID(), b.GetFileOID());
    const FILETIME before = a.GetLastWriteTime();
    Sleep(20);
    a.Write("y", 1);
    a.Flush();
    const FILETIME after = a.GetLastWriteTime(); // asked anew each time
    EXPECT_EQ(CompareFileTime(&before, &after), -1);
}

TEST_F(CeFileTest, ExistsAndCreatePath) {
    CeFile::CreatePath(u"\\a\\b\\c.txt");
    CeFile::CreatePath(u"\\a\\d\\"); // ends in a backslash: all of it is folders
    CeFile::CreatePath(u"plain.txt");
    EXPECT_TRUE(OnDisk("a/b") && OnDisk("a/d"));
    EXPECT_FALSE(OnDisk("a/b/c.txt") || OnDisk("plain.txt"));
    EXPECT_FALSE(CeFile::Exists(u"\\a\\b", false)); // a folder is no file
    EXPECT_TRUE(CeFile::Exists(u"\\a\\b", true));
    Put("a/f.txt", "x");
    EXPECT_TRUE(CeFile::Exists(u"\\A\\F.TXT", false));
    EXPECT_FALSE(CeFile::Exists(nullptr, true));
}

} // namespace
