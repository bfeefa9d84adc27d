#include "NorvoTools/listfile.h"
#include "NorvoTools/CePtrList.h"
#include "NorvoTools/CeStrList.h"

#include "Platform/files.h"
#include "Platform/memory.h"
#include "tests/support/device.h"

#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace {

constexpr const WCHAR* kPath = u"\\TaskContexts.bin";
using Bytes = std::vector<BYTE>;

// The bytes of a contexts list of "ab", null and "".
const Bytes kContexts = {
    1,                                                        // version
    12,  0,   0,   0,                                         // length of the magic
    'C', 'O', 'N', 'T', 'E', 'X', 'T', 'S', '1', '0', '0', 0, //
    3,   0,   0,   0,                                         // count
    2,   0,   0,   0,                                         // last index
    0,   0,   0,   0,                                         // base index
    0,   0,   0,   0,                                         // element argument
    6,   0,   0,   0,   'a', 0,   'b', 0,   0,   0,           //
    0,   0,   0,   0,                                         // a null element
    2,   0,   0,   0,   0,   0,                               //
};
// Two object ids of a list of base 1, the first being the current one.
const Bytes kRecent = {
    1,                                                  //
    10,  0,   0,   0,                                   //
    'R', 'E', 'C', 'E', 'N',  'T',  '1',  '0',  '1', 0, //
    2,   0,   0,   0,                                   //
    1,   0,   0,   0,                                   // current index
    1,   0,   0,   0,                                   // base index
    0,   0,   0,   0,                                   //
    4,   0,   0,   0,   0x01, 0,    0,    0x80,         //
    4,   0,   0,   0,   0x02, 0x34, 0x12, 0x80,         //
};

class ListFileTest : public DeviceTest {
protected:
    Bytes OnDisk(const std::string& name = "TaskContexts.bin") {
        std::ifstream in(HostPath(name), std::ios::binary);
        return Bytes(std::istreambuf_iterator<char>(in), {});
    }
    void PutOnDisk(const Bytes& bytes) {
        std::ofstream out(HostPath("TaskContexts.bin"), std::ios::binary);
        out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    static std::vector<std::string> Entries(const std::string& folder) {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().filename().string().starts_with("TaskContexts"))
                names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
};

TEST_F(ListFileTest, TextsByteByByte) {
    CeStrList<> list(0, STRLIST_WCSDUP);
    list.Add(u"ab");
    list.Add(nullptr);
    list.Add(u"");
    ASSERT_EQ(LISTFILE_OK, WriteListFile(kPath, "CONTEXTS100", list));
    EXPECT_EQ(kContexts, OnDisk());

    CeStrList<> read(1, STRLIST_WCSDUP);
    read.Add(u"old");
    ASSERT_EQ(LISTFILE_OK, ReadListFile(kPath, "CONTEXTS100", read));
    ASSERT_EQ(3, read.GetCount());
    EXPECT_EQ(3, read.GetCurrent()); // the last one, in the list's own base
    EXPECT_EQ(u"ab", std::u16string(read[1]));
    EXPECT_EQ(nullptr, read[2]);
    EXPECT_EQ(u"", std::u16string(read[3]));
}

TEST_F(ListFileTest, ObjectIdsAndTheCurrentIndexByteByByte) {
    CePtrList<CEOID> list(1);
    list.SetDescribe(&CeDescribeNumber<CEOID>);
    list.Add(0x80000001);
    list.Add(0x80123402);
    list.MoveTo(1);
    ASSERT_EQ(LISTFILE_OK, WriteListFile(kPath, "RECENT101", list, CeListFileIndex::Current));
    EXPECT_EQ(kRecent, OnDisk());
    list.SetDescribe(nullptr);
    EXPECT_EQ(LISTFILE_SHORT, WriteListFile(kPath, "RECENT101", list));
    EXPECT_EQ(kRecent, OnDisk());

    CePtrList<CEOID> read(1);
    read.SetDescribe(&CeDescribeNumber<CEOID>);
    ASSERT_EQ(LISTFILE_OK, ReadListFile(kPath, "RECENT101", read));
    EXPECT_EQ(1, read.GetCurrent());
    EXPECT_EQ(0x80123402u, read[2]);

    Bytes threeByteId(kRecent.begin(), kRecent.end() - 1);
    threeByteId[kRecent.size() - 8] = 3;
    PutOnDisk(threeByteId);
    EXPECT_EQ(LISTFILE_SHORT, ReadListFile(kPath, "RECENT101", read));
    EXPECT_TRUE(read.IsEmpty());
}

TEST_F(ListFileTest, AMissingFileIsAnEmptyListAndItsFolderIsMade) {
    constexpr const WCHAR* kNowhere = u"\\no\\where\\list.bin";
    CeStrList<> list;
    list.Add(u"old");
    EXPECT_EQ(LISTFILE_OK, ReadListFile(kNowhere, "CONTEXTS100", list));
    EXPECT_TRUE(list.IsEmpty());
    list.Add(u"new");
    EXPECT_EQ(LISTFILE_OK, WriteListFile(kNowhere, "CONTEXTS100", list));
    EXPECT_EQ(LISTFILE_OK, ReadListFile(kNowhere, "CONTEXTS100", list));
    EXPECT_EQ(1, list.GetCount());
}

TEST_F(ListFileTest, OddFiles) {
    Bytes noTerminator(kContexts.begin(), kContexts.begin() + 33); // and half a character behind
    for (BYTE b : {5, 0, 0, 0, int{'a'}, 0, int{'b'}, 0, int{'c'}}) noTerminator.push_back(b);
    const struct {
        Bytes bytes;
        bool opens;
        int code;
        int count;
    } cases[] = {{{}, true, LISTFILE_SHORT, 0},          // lacks its version
                 {kContexts, false, LISTFILE_CLOSED, 0}, // not damaged
                 {noTerminator, true, LISTFILE_OK, 1}};
    CeStrList<> list;
    list.Add(u"old");
    for (const auto& c : cases) {
        PutOnDisk(c.bytes);
        PlatInjectFault(PlatFault::FileOpen, c.opens ? 0 : 1);
        EXPECT_EQ(c.code, ReadListFile(kPath, "CONTEXTS100", list));
        ASSERT_EQ(c.count, list.GetCount());
    }
    EXPECT_EQ(u"ab", std::u16string(list[0]));
}

TEST_F(ListFileTest, TwoSaversAtOnceBothSucceed) {
    auto save = [](const WCHAR* text) {
        CeStrList<> list;
        list.Add(text);
        for (int i = 0; i < 30; ++i) EXPECT_EQ(LISTFILE_OK, WriteListFile(kPath, "CONTEXTS100", list));
    };
    std::thread other(save, u"other");
    save(u"mine");
    other.join();
    CeStrList<> list;
    EXPECT_EQ(LISTFILE_OK, ReadListFile(kPath, "CONTEXTS100", list));
    EXPECT_EQ(1, list.GetCount());
}

// Wherever the file is cut, it is either whole up to an element or a short one; never more, never a crash.
TEST_F(ListFileTest, EveryCutIsShortOrEndsAtAnElement) {
    const std::size_t head = 33;
    const std::size_t wholeAt[] = {head, head + 10, head + 14, kContexts.size()};
    for (std::size_t length = 1; length <= kContexts.size(); ++length) {
        CeListFileContents contents;
        int code = ParseListFile(std::span(kContexts).first(length), "CONTEXTS100", contents);
        auto whole = std::find(std::begin(wholeAt), std::end(wholeAt), length);
        if (whole == std::end(wholeAt)) {
            EXPECT_EQ(LISTFILE_SHORT, code) << length;
            EXPECT_TRUE(contents.elements.empty());
        } else {
            EXPECT_EQ(LISTFILE_OK, code) << length;
            EXPECT_EQ(static_cast<std::size_t>(whole - wholeAt), contents.elements.size());
        }
    }
}

TEST_F(ListFileTest, Damage) {
    struct Case {
        const char* name;
        std::size_t at;
        BYTE value;
        int code;
    };
    const Case cases[] = {
        {"version", 0, 2, LISTFILE_FORMAT},
        {"magic", 8, 'X', LISTFILE_FORMAT},
        {"magic one shorter", 15, 0, LISTFILE_FORMAT},
        {"length of the magic over the end", 3, 0x7F, LISTFILE_SHORT},
        {"length of an element huge", 36, 0xFF, LISTFILE_SHORT},
        {"count huge", 20, 0xFF, LISTFILE_OK}, // elements are read to the end of the file
        {"base negative", 28, 0x80, LISTFILE_OK},
    };
    for (const Case& c : cases) {
        Bytes bytes = kContexts;
        bytes[c.at] = c.value;
        PutOnDisk(bytes);
        CeStrList<> list;
        EXPECT_EQ(c.code, ReadListFile(kPath, "CONTEXTS100", list)) << c.name;
        EXPECT_EQ(c.code == LISTFILE_OK ? 3 : 0, list.GetCount()) << c.name;
        EXPECT_EQ(bytes, OnDisk()) << c.name; // throwing it away is the owner's step
    }
}

TEST_F(ListFileTest, EveryKindOfTextComesBackAsItself) {
    CeStrList<char*> narrow(0, STRLIST_STRDUP, STRCOMPARE_STR);
    narrow.Add("ab");
    ASSERT_EQ(LISTFILE_OK, WriteListFile(kPath, "CONTEXTS100", narrow));
    const Bytes onDisk = OnDisk();
    EXPECT_EQ((Bytes{3, 0, 0, 0, 'a', 'b', 0}), Bytes(onDisk.begin() + 33, onDisk.end()));
    ASSERT_EQ(LISTFILE_OK, ReadListFile(kPath, "CONTEXTS100", narrow));
    EXPECT_STREQ("ab", narrow[0]);

    PutOnDisk(kContexts);
    for (int mode : {STRLIST_MALLOC, STRLIST_LOCAL, STRLIST_WCSDUP, STRLIST_BSTR}) {
        CeStrList<> list(0, mode);
        ASSERT_EQ(LISTFILE_OK, ReadListFile(kPath, "CONTEXTS100", list)) << mode;
        EXPECT_EQ(u"ab", std::u16string(list[0])) << mode;
        EXPECT_EQ(nullptr, list[1]) << mode;
        EXPECT_EQ(u"", std::u16string(list[2])) << mode;
        EXPECT_TRUE(mode != STRLIST_BSTR || SysStringLen(list[0]) == 2);
        ASSERT_EQ(LISTFILE_OK, WriteListFile(kPath, "CONTEXTS100", list)) << mode;
        EXPECT_EQ(kContexts, OnDisk()) << mode;
    }
}

TEST_F(ListFileTest, ADamagedFileIsKeptAside) {
    PutOnDisk({1, 2, 3});
    ASSERT_TRUE(SetListFileAside(kPath));
    PutOnDisk({4, 5});
    ASSERT_TRUE(SetListFileAside(kPath)); // in place of the older one
    EXPECT_EQ(std::vector<std::string>{"TaskContexts.bin.bad"}, Entries(m_folder));
    EXPECT_EQ((Bytes{4, 5}), OnDisk("TaskContexts.bin.bad"));
    EXPECT_FALSE(SetListFileAside(kPath));
}

TEST_F(ListFileTest, AFailedSaveLeavesTheOldFile) {
    PutOnDisk(kContexts);
    CeStrList<> list;
    list.Add(u"new");
    for (PlatFault fault :
         {PlatFault::FileOpen, PlatFault::FileWrite, PlatFault::FileSync, PlatFault::FileRename}) {
        PlatInjectFault(fault, 1);
        EXPECT_EQ(LISTFILE_SHORT, WriteListFile(kPath, "CONTEXTS100", list)) << static_cast<int>(fault);
        PlatInjectFault(fault, 0);
        EXPECT_EQ(kContexts, OnDisk()) << static_cast<int>(fault);
        EXPECT_EQ(std::vector<std::string>{"TaskContexts.bin"}, Entries(m_folder)) << static_cast<int>(fault);
    }
    EXPECT_EQ(LISTFILE_OK, WriteListFile(kPath, "CONTEXTS100", list));
    EXPECT_NE(kContexts, OnDisk());
}

} // namespace
