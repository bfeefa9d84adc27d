// No path, link or odd name leads out of the device folder, and every host file has a name of its own on the device.
#include "Platform/files.h"
#include "Platform/threads.h"
#include "tests/support/devicefiles.h"

#include <algorithm>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

class DeviceFolder : public DeviceFilesTest {
protected:
    DeviceFolder() : m_outside(m_folder + "-outside") {
        fs::create_directories(m_outside);
        std::ofstream(m_outside + "/secret.txt") << "secret";
    }
    ~DeviceFolder() override { fs::remove_all(m_outside); }

    // The content, or "error <n>".
    static std::string Read(const std::u16string& path) {
        const HANDLE file =
            CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE) return "error " + std::to_string(GetLastError());
        char bytes[64];
        DWORD read = 0;
        EXPECT_TRUE(ReadFile(file, bytes, sizeof bytes, &read, nullptr));
        CloseHandle(file);
        return {bytes, read};
    }
    static DWORD Make(const std::u16string& path) {
        const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE) return GetLastError();
        CloseHandle(file);
        return 0;
    }
    static std::vector<std::u16string> List(LPCWSTR pattern) {
        std::vector<std::u16string> names;
        WIN32_FIND_DATAW data{};
        const HANDLE find = FindFirstFileW(pattern, &data);
        if (find == INVALID_HANDLE_VALUE) return names;
        do names.emplace_back(data.cFileName);
        while (FindNextFileW(find, &data));
        EXPECT_EQ(GetLastError(), ERROR_NO_MORE_FILES);
        EXPECT_TRUE(FindClose(find));
        return names;
    }

    const std::string m_outside;
};

TEST_F(DeviceFolder, PathsOfEverySpelling) {
    Put("My Documents/Letters/a.txt", "letter");
    const struct {
        const char16_t* path;
        const char* result;
    } cases[] = {{u"\\My Documents\\Letters\\a.txt", "letter"},
                 {u"My Documents/Letters/a.txt", "letter"},
                 {u"\\\\my documents\\/\\LETTERS\\\\A.TXT", "letter"},
                 {u"\\My Documents\\.\\Letters\\a.txt", "letter"},
                 {u"\\My Documents\\Letters\\b.txt", "error 2"},
                 {u"\\My Documents\\Post\\a.txt", "error 3"},
                 {u"\\My Documents\\Letters\\a.txt\\b.txt", "error 3"},
                 {u"\\My Documents\\..\\My Documents\\Letters\\a.txt", "error 123"},
                 {u"..\\secret.txt", "error 123"},
                 {u"\\My Documents\\a*.txt", "error 123"},
                 {u"\\COM1:", "error 123"},
                 {u"\\My Documents\\Letters", "error 5"},
                 {u"\\", "error 5"},
                 {u"", "error 3"}};
    for (const auto& c : cases) EXPECT_EQ(Read(c.path), c.result) << fs::path(c.path).string();
}

TEST_F(DeviceFolder, LinksStayInsideAndOtherKindsOfFilesNeverBlock) {
    Put("My Documents/a.txt", "inside");
    const std::string outside = fs::path(m_outside).filename().string();
    const struct {
        const char* name;
        std::string target;
        const char16_t* path;
        const char* result;
    } links[] = {{"relative", "My Documents", u"\\relative\\a.txt", "inside"},
                 {"absolute", m_folder + "/My Documents", u"\\ABSOLUTE\\a.txt", "inside"},
                 {"back", "My Documents/../My Documents/a.txt", u"\\back", "inside"},
                 {"folder", m_outside, u"\\folder\\secret.txt", "error 5"},
                 {"file", m_outside + "/secret.txt", u"\\file", "error 5"},
                 {"up", "../" + outside + "/secret.txt", u"\\up", "error 5"},
                 {"round", "My Documents/../../" + outside + "/secret.txt", u"\\round", "error 5"},
                 {"ring1", "ring2", u"\\ring1", "error 5"},
                 {"ring2", "ring1", u"\\ring2", "error 5"},
                 {"proc", "/proc/self/root/etc/passwd", u"\\proc", "error 5"},
                 // The name begins like the device folder's, but it is another.
                 {"sibling", m_outside + "/../" + outside + "/secret.txt", u"\\sibling", "error 5"}};
    for (const auto& link : links) fs::create_symlink(link.target, HostPath(link.name));
    for (const auto& link : links) EXPECT_EQ(Read(link.path), link.result) << link.name;
    ASSERT_EQ(::mkfifo(HostPath("pipe").c_str(), 0600), 0);
    EXPECT_EQ(Read(u"\\pipe"), "error 5");

    EXPECT_EQ(Make(u"\\folder\\new.txt"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Make(u"\\file"), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(CreateDirectoryW(u"\\folder\\sub", nullptr));
    EXPECT_FALSE(MoveFileW(u"\\My Documents\\a.txt", u"\\folder\\a.txt"));
    EXPECT_FALSE(CopyFileW(u"\\My Documents\\a.txt", u"\\file", FALSE));
    EXPECT_FALSE(PlatReplaceFile(u"\\My Documents\\a.txt", u"\\file"));
    EXPECT_FALSE(RemoveDirectoryW(u"\\folder"));
    for (const LPCWSTR path : {u"\\file", u"\\pipe"})
        EXPECT_EQ(GetFileAttributesW(path), INVALID_FILE_ATTRIBUTES);
    for (const LPCWSTR pattern : {u"\\folder\\*", u"\\fo*", u"\\pi*"}) EXPECT_TRUE(List(pattern).empty());
    // Deleting a link takes the link, not what it points to.
    EXPECT_TRUE(DeleteFileW(u"\\file"));
    EXPECT_EQ(Get("../" + outside + "/secret.txt"), "secret");
    EXPECT_EQ(std::distance(fs::directory_iterator(m_outside), fs::directory_iterator()), 1);
}

TEST_F(DeviceFolder, EveryNameComesBack) {
    // Halves of pairs stand alone, or the wrong way round; others look like the escapes that they are kept by.
    std::vector<std::u16string> names{u"K\u00E4se \u20AC.txt",
                                      u"\U0001F600.txt",
                                      u"high\xD83D.txt",
                                      u"low\xDE00",
                                      u"turned\xDE00\xD83D",
                                      u"byte\xDC80\xDCFF",
                                      u"%u0041.txt",
                                      u"%uD83D",
                                      u"100%",
                                      u"%u",
                                      u"%\xD800",
                                      u".hidden",
                                      u"trailing. "};
    CreateDirectoryW(u"\\names", nullptr);
    for (const auto& name : names) EXPECT_EQ(Make(u"\\names\\" + name), 0u) << fs::path(name).string();
    std::ranges::sort(names);
    EXPECT_EQ(List(u"\\names\\*"), names);
    for (const auto& name : names) EXPECT_TRUE(DeleteFileW((u"\\names\\" + name).c_str()));
    EXPECT_TRUE(RemoveDirectoryW(u"\\names")); // nothing was left under another spelling
}

TEST_F(DeviceFolder, HostFilesWithOddBytesCanBeReached) {
    // Latin-1, a byte that can't be, reserved characters, an escape that we would not write, and a name twice by case.
    const char* const hosts[] = {"caf\xE9.txt", "\xFF\xFE",     "a:b",         "tab\there",
                                 "back\\slash", "%uD83D%uDE00", "over\xC0\xAF"};
    for (const char* host : hosts) Put(std::string("odd/") + host, host);
    const auto listed = List(u"\\odd\\*");
    ASSERT_EQ(listed.size(), std::size(hosts));
    std::vector<std::string> read;
    for (const auto& name : listed) read.push_back(Read(u"\\odd\\" + name));
    std::vector<std::string> expected(std::begin(hosts), std::end(hosts));
    std::ranges::sort(read);
    std::ranges::sort(expected);
    EXPECT_EQ(read, expected);
}

TEST_F(DeviceFolder, ExactCaseWinsThenTheFirstByBytes) {
    Put("case/note.txt", "lower");
    Put("case/Note.txt", "mixed");
    EXPECT_EQ(Read(u"\\case\\note.txt"), "lower");
    EXPECT_EQ(Read(u"\\case\\NOTE.TXT"), "mixed"); // "N" is before "n"
    Put("case/\xC3\x84rger.txt", "umlaut");
    EXPECT_EQ(Read(u"\\CASE\\\u00E4RGER.TXT"), "umlaut");
}

TEST_F(DeviceFolder, NamesTooLongAreRefusedNotCut) {
    EXPECT_EQ(Make(u"\\" + std::u16string(255, u'x')), 0u);
    EXPECT_EQ(Make(u"\\" + std::u16string(256, u'x')), ERROR_INVALID_NAME);
    EXPECT_EQ(Make(u"\\" + std::u16string(128, u'\u00E4')), ERROR_INVALID_NAME); // 256 bytes on the host
    std::u16string deep;
    for (int i = 0; i < 1000; ++i) deep += u"\\d";
    EXPECT_EQ(Make(deep), ERROR_INVALID_NAME);
}

} // namespace
