// Files: opening, share modes, positions, attributes, ids, copying, renaming, searching, faults.
#include "Platform/files.h"
#include "Platform/threads.h"
#include "tests/support/devicefiles.h"

#include <cstring>
#include <fcntl.h>
#include <map>
#include <optional>
#include <set>
#include <sys/file.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

class Files : public DeviceFilesTest {
protected:
    // An open file that closes itself; `error` is the last error behind the call.
    struct Opened {
        HANDLE handle;
        DWORD error;
        Opened(LPCWSTR path, DWORD access, DWORD share, DWORD creation,
               DWORD attributes = FILE_ATTRIBUTE_NORMAL)
            : handle(CreateFileW(path, access, share, nullptr, creation, attributes, nullptr)),
              error(GetLastError()) {}
        ~Opened() {
            if (*this) CloseHandle(handle);
        }
        Opened(const Opened&) = delete;
        Opened& operator=(const Opened&) = delete;
        explicit operator bool() const { return handle != INVALID_HANDLE_VALUE; }
    };
    // The id, which a search has to give as well; and size, attributes and time with it.
    static DWORD Oid(LPCWSTR path) {
        const Opened file(path, GENERIC_READ, 3, OPEN_EXISTING);
        BY_HANDLE_FILE_INFORMATION information{};
        WIN32_FIND_DATAW data{};
        FILETIME written{};
        EXPECT_TRUE(GetFileInformationByHandle(file.handle, &information));
        EXPECT_TRUE(GetFileTime(file.handle, nullptr, nullptr, &written));
        const HANDLE find = FindFirstFileW(path, &data);
        EXPECT_TRUE(FindClose(find));
        EXPECT_FALSE(FindClose(find));
        EXPECT_EQ(data.dwOID, information.dwOID);
        EXPECT_EQ(data.nFileSizeLow, information.nFileSizeLow);
        EXPECT_EQ(data.dwFileAttributes, FILE_ATTRIBUTE_ARCHIVE);
        EXPECT_EQ(FileTimeTicks(data.ftLastWriteTime), FileTimeTicks(written));
        // Between 2020 and 2100, in ticks since 1601: the epoch is right.
        EXPECT_GT(FileTimeTicks(written), 132223104000000000u);
        EXPECT_LT(FileTimeTicks(written), 157469184000000000u);
        return information.dwOID;
    }
};

TEST_F(Files, CreationModes) {
    const struct {
        bool exists;
        DWORD creation;
        bool opened;
        DWORD error;
        const char* content; // afterwards
    } cases[] = {{false, CREATE_NEW, true, 0, ""},
                 {true, CREATE_NEW, false, ERROR_FILE_EXISTS, "old"},
                 {false, CREATE_ALWAYS, true, 0, ""},
                 {true, CREATE_ALWAYS, true, ERROR_ALREADY_EXISTS, ""},
                 {false, OPEN_EXISTING, false, ERROR_FILE_NOT_FOUND, ""},
                 {true, OPEN_EXISTING, true, 0, "old"},
                 {false, OPEN_ALWAYS, true, 0, ""},
                 {true, OPEN_ALWAYS, true, ERROR_ALREADY_EXISTS, "old"},
                 {true, 0, false, ERROR_INVALID_PARAMETER, "old"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.creation) + (c.exists ? " exists" : " missing"));
        for (const DWORD access : {GENERIC_READ, GENERIC_WRITE}) {
            std::filesystem::remove(HostPath("f.txt"));
            if (c.exists) Put("f.txt", "old");
            {
                const Opened file(u"\\F.TXT", access, 0, c.creation);
                EXPECT_EQ(static_cast<bool>(file), c.opened);
                EXPECT_EQ(file.error, c.error);
            }
            EXPECT_EQ(Get(OnDisk("f.txt") ? "f.txt" : "F.TXT"), c.content);
            std::filesystem::remove(HostPath("F.TXT"));
        }
    }
}

TEST_F(Files, ShareModes) {
    Put("f.txt", "x");
    constexpr DWORD R = GENERIC_READ;
    constexpr DWORD W = GENERIC_WRITE;
    const struct {
        DWORD access1, share1, access2, share2;
        bool together;
    } cases[] = {
        {R, 0, R, 3, false}, {R, 3, R, 0, false}, {R, 1, R, 1, true},  {R, 1, W, 3, false},
        {W, 1, R, 1, false}, {W, 1, R, 3, true},  {W, 2, W, 2, true},  {W, 2, R, 3, false},
        {R, 3, W, 3, true},  {R, 3, W, 1, true},  {W, 1, W, 1, false}, {R | W, 3, R | W, 3, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(&c - cases));
        const Opened first(u"\\f.txt", c.access1, c.share1, OPEN_EXISTING);
        ASSERT_TRUE(first);
        const Opened second(u"\\f.txt", c.access2, c.share2, OPEN_EXISTING);
        EXPECT_EQ(static_cast<bool>(second), c.together);
        EXPECT_EQ(second.error, c.together ? 0 : ERROR_SHARING_VIOLATION);
    }
    EXPECT_TRUE(Opened(u"\\f.txt", W, 0, OPEN_EXISTING)); // all of them have let go
}

TEST_F(Files, RefusedOpenLeavesTheContentAlone) {
    Put("f.txt", "precious");
    {
        const Opened reader(u"\\f.txt", GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
        EXPECT_FALSE(Opened(u"\\f.txt", GENERIC_WRITE, 0, CREATE_ALWAYS));
        EXPECT_EQ(ErrorOf(DeleteFileW(u"\\f.txt")), ERROR_SHARING_VIOLATION);
        EXPECT_FALSE(MoveFileW(u"\\f.txt", u"\\g.txt"));
        EXPECT_TRUE(CopyFileW(u"\\f.txt", u"\\g.txt", FALSE)); // it lets others read
        const Opened alone(u"\\g.txt", GENERIC_READ, 0, OPEN_EXISTING);
        EXPECT_EQ(ErrorOf(CopyFileW(u"\\g.txt", u"\\h.txt", FALSE)), ERROR_SHARING_VIOLATION);
        EXPECT_FALSE(OnDisk("h.txt"));
    }
    ASSERT_TRUE(SetFileAttributesW(u"\\f.txt", FILE_ATTRIBUTE_READONLY));
    for (const DWORD creation : {OPEN_EXISTING, CREATE_ALWAYS})
        EXPECT_EQ(Opened(u"\\f.txt", GENERIC_WRITE, 0, creation).error, ERROR_ACCESS_DENIED);
    EXPECT_TRUE(Opened(u"\\f.txt", GENERIC_READ, 0, OPEN_EXISTING));
    EXPECT_FALSE(DeleteFileW(u"\\f.txt"));
    EXPECT_FALSE(CopyFileW(u"\\g.txt", u"\\f.txt", FALSE));
    EXPECT_EQ(Get("f.txt"), "precious");
    EXPECT_TRUE(SetFileAttributesW(u"\\f.txt", FILE_ATTRIBUTE_NORMAL));
    EXPECT_TRUE(DeleteFileW(u"\\f.txt"));
}

TEST_F(Files, ExclusiveFileIsExclusiveForOtherProcesses) {
    Put("f.txt", "x");
    const auto otherProcessGets = [&](int operation) {
        const pid_t child = fork();
        if (child == 0) {
            const int fd = open(HostPath("f.txt").c_str(), O_RDONLY);
            _exit(flock(fd, operation | LOCK_NB) == 0 ? 0 : 1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    };
    {
        const Opened shared(u"\\f.txt", GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);
        EXPECT_TRUE(otherProcessGets(LOCK_SH));
        EXPECT_FALSE(otherProcessGets(LOCK_EX));
    }
    {
        const Opened alone(u"\\f.txt", GENERIC_READ, 0, OPEN_EXISTING);
        EXPECT_FALSE(otherProcessGets(LOCK_SH));
    }
    const int fd = open(HostPath("f.txt").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(fd, LOCK_EX), 0);
    EXPECT_EQ(Opened(u"\\f.txt", GENERIC_READ, 3, OPEN_EXISTING).error, ERROR_SHARING_VIOLATION);
    close(fd);
}

TEST_F(Files, AccessIsKeptTo) {
    Put("f.txt", "abc");
    char bytes[4];
    DWORD count = 7;
    HANDLE stale = nullptr;
    {
        const Opened reader(u"\\f.txt", GENERIC_READ, 0, OPEN_EXISTING);
        stale = reader.handle;
        EXPECT_EQ(ErrorOf(WriteFile(stale, "x", 1, &count, nullptr)), ERROR_ACCESS_DENIED);
        EXPECT_EQ(count, 0u);
        EXPECT_FALSE(SetEndOfFile(stale));
    }
    EXPECT_EQ(ErrorOf(ReadFile(stale, bytes, 4, &count, nullptr)), ERROR_INVALID_HANDLE);
    const Opened writer(u"\\f.txt", GENERIC_WRITE, 0, OPEN_EXISTING);
    EXPECT_EQ(ErrorOf(ReadFile(writer.handle, bytes, 4, &count, nullptr)), ERROR_ACCESS_DENIED);
    EXPECT_EQ(Get("f.txt"), "abc");
}

TEST_F(Files, PositionsAndSizes) {
    const Opened file(u"\\f.bin", GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW);
    DWORD count = 0;
    ASSERT_TRUE(WriteFile(file.handle, "0123456789", 10, &count, nullptr));
    EXPECT_EQ(SetFilePointer(file.handle, -3, nullptr, FILE_END), 7u);
    EXPECT_EQ(SetFilePointer(file.handle, -2, nullptr, FILE_CURRENT), 5u);
    EXPECT_EQ(SetFilePointer(file.handle, -6, nullptr, FILE_CURRENT), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), 131u);
    EXPECT_EQ(SetFilePointer(file.handle, 0, nullptr, FILE_CURRENT), 5u); // the failure moved nothing
    EXPECT_EQ(SetFilePointer(file.handle, 0, nullptr, 3), INVALID_SET_FILE_POINTER);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_TRUE(SetEndOfFile(file.handle));
    EXPECT_EQ(GetFileSize(file.handle, nullptr), 5u);
    EXPECT_EQ(Get("f.bin"), "01234");

    char bytes[8];
    EXPECT_TRUE(ReadFile(file.handle, bytes, 8, &count, nullptr)); // at the end: success, nothing read
    EXPECT_EQ(count, 0u);

    // Beyond 32 bits; the low half that looks like a failure isn't one.
    LONG high = 1;
    EXPECT_EQ(SetFilePointer(file.handle, -1, &high, FILE_BEGIN), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), ERROR_SUCCESS);
    EXPECT_EQ(high, 1);
    EXPECT_TRUE(SetEndOfFile(file.handle));
    DWORD sizeHigh = 0;
    EXPECT_EQ(GetFileSize(file.handle, &sizeHigh), 0xFFFFFFFFu);
    EXPECT_EQ(sizeHigh, 1u);
}

TEST_F(Files, Attributes) {
    Put("f.txt", "x");
    std::filesystem::create_directory(HostPath("d"));
    EXPECT_EQ(GetFileAttributesW(u"\\f.txt"), FILE_ATTRIBUTE_ARCHIVE);
    EXPECT_EQ(GetFileAttributesW(u"\\"), FILE_ATTRIBUTE_DIRECTORY);
    for (const LPCWSTR none : {LPCWSTR{}, LPCWSTR{u""}, LPCWSTR{u"\\none"}})
        EXPECT_EQ(GetFileAttributesW(none), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    const struct {
        const char16_t* file;
        DWORD set, got;
    } cases[] = {{u"\\f.txt", FILE_ATTRIBUTE_NORMAL, 128},
                 {u"\\f.txt", 2, 2},
                 {u"\\f.txt", 1 | 2 | 4 | 32, 39},
                 {u"\\f.txt", 0, 128},
                 {u"\\f.txt", 16 | 32, 32},
                 {u"\\d", 0, 16},
                 {u"\\d", 2, 18}};
    for (const auto& c : cases) {
        EXPECT_TRUE(SetFileAttributesW(c.file, c.set));
        EXPECT_EQ(GetFileAttributesW(c.file), c.got) << c.set;
    }
    { const Opened made(u"\\h.txt", GENERIC_WRITE, 0, CREATE_NEW, FILE_ATTRIBUTE_HIDDEN); }
    EXPECT_EQ(GetFileAttributesW(u"\\h.txt"), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE);
}

TEST_F(Files, ObjectIdsStayWithTheirFiles) {
    Put("a.txt", "a");
    Put("b.txt", "b");
    const DWORD a = Oid(u"\\a.txt"), b = Oid(u"\\B.TXT");
    EXPECT_NE(a, 0u);
    EXPECT_NE(a, b);
    ASSERT_TRUE(MoveFileW(u"\\a.txt", u"\\c.txt"));
    EXPECT_EQ(Oid(u"\\c.txt"), a);
    PlatSetDeviceFolder(m_folder); // as after a restart
    EXPECT_EQ(Oid(u"\\c.txt"), a);
    Put("c.tmp", "saved anew");
    ASSERT_TRUE(PlatReplaceFile(u"\\c.tmp", u"\\c.txt"));
    EXPECT_EQ(Oid(u"\\c.txt"), a);
    ASSERT_TRUE(CopyFileW(u"\\b.txt", u"\\c.txt", FALSE));
    EXPECT_EQ(Oid(u"\\c.txt"), a);
    EXPECT_EQ(Oid(u"\\b.txt"), b);

    // The file system likes to give the number of a deleted file to the next one.
    ASSERT_TRUE(DeleteFileW(u"\\c.txt"));
    for (const char16_t* name : {u"\\n1", u"\\n2", u"\\n3", u"\\n4"}) {
        { const Opened made(name, GENERIC_WRITE, 0, CREATE_NEW); }
        EXPECT_NE(Oid(name), a);
    }
}

TEST_F(Files, SearchingTellsTheNumbersThatFilesHave) {
    Put("d/known.txt", "");
    const DWORD known = Oid(u"\\d\\known.txt");
    for (int i = 0; i < 250; ++i) Put("d/f" + std::to_string(i), "");
    std::filesystem::create_hard_link(HostPath("d/f1"), HostPath("d/twin"));
    const auto numbers = [] {
        std::map<std::u16string, DWORD> all;
        WIN32_FIND_DATAW data{};
        const HANDLE find = FindFirstFileW(u"\\d\\*", &data);
        do all[data.cFileName] = data.dwOID;
        while (FindNextFileW(find, &data));
        FindClose(find);
        return all;
    };
    const auto all = numbers();
    EXPECT_EQ(all.at(u"known.txt"), known);
    EXPECT_EQ(all.at(u"f1"), all.at(u"twin"));
    EXPECT_EQ(all.at(u"f77"), Oid(u"\\d\\f77"));
    std::set<DWORD> different;
    for (const auto& [name, number] : all) different.insert(number);
    EXPECT_EQ(different.size(), 251u);
    EXPECT_FALSE(different.contains(0));
    PlatSetDeviceFolder("");
    PlatSetDeviceFolder(m_folder); // as another process finds them
    EXPECT_EQ(numbers(), all);
}

TEST_F(Files, SearchPatterns) {
    for (const char* name : {"a.txt", "B.TXT", "ab.doc", "abc", "x.tar.gz"})
        Put(std::string("d/") + name, "");
    const struct {
        const char16_t* pattern;
        const char* found;
    } cases[] = {{u"*", "B.TXT a.txt ab.doc abc x.tar.gz"},
                 {u"*.*", "B.TXT a.txt ab.doc abc x.tar.gz"},
                 {u"*.txt", "B.TXT a.txt"},
                 {u"a*", "a.txt ab.doc abc"},
                 {u"?.txt", "B.TXT a.txt"},
                 {u"ab?", "abc"},
                 {u"*a*.*", "a.txt ab.doc x.tar.gz"},
                 {u"*.tar.*z", "x.tar.gz"},
                 {u"**c", "ab.doc abc"},
                 {u"abcd*", ""},
                 {u"AB.DOC", "ab.doc"}};
    for (const auto& c : cases) {
        std::string found;
        WIN32_FIND_DATAW data{};
        const HANDLE find = FindFirstFileW((std::u16string(u"\\d\\") + c.pattern).c_str(), &data);
        EXPECT_TRUE(find != INVALID_HANDLE_VALUE || GetLastError() == ERROR_NO_MORE_FILES);
        for (BOOL more = find != INVALID_HANDLE_VALUE; more; more = FindNextFileW(find, &data))
            found += (found.empty() ? "" : " ") + std::filesystem::path(data.cFileName).string();
        EXPECT_EQ(found, c.found) << std::filesystem::path(c.pattern).string();
        if (find != INVALID_HANDLE_VALUE) FindClose(find);
    }
    WIN32_FIND_DATAW data{};
    EXPECT_EQ(ErrorOf(FindFirstFileW(u"\\none\\*", &data)), ERROR_PATH_NOT_FOUND);
}

TEST_F(Files, FoldersAndRenames) {
    EXPECT_TRUE(CreateDirectoryW(u"\\d", nullptr));
    EXPECT_EQ(ErrorOf(CreateDirectoryW(u"\\D", nullptr)), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(ErrorOf(CreateDirectoryW(u"\\x\\y", nullptr)), ERROR_PATH_NOT_FOUND);
    Put("d/a.txt", "a");
    Put("b.txt", "b");
    EXPECT_EQ(ErrorOf(RemoveDirectoryW(u"\\d")), 145u);
    EXPECT_FALSE(RemoveDirectoryW(u"\\b.txt"));
    EXPECT_EQ(ErrorOf(DeleteFileW(u"\\d")), ERROR_ACCESS_DENIED);
    EXPECT_FALSE(RemoveDirectoryW(u"\\"));

    EXPECT_EQ(ErrorOf(MoveFileW(u"\\b.txt", u"\\D\\A.TXT")), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(ErrorOf(CopyFileW(u"\\b.txt", u"\\D\\A.TXT", TRUE)), ERROR_FILE_EXISTS);
    EXPECT_EQ(Get("d/a.txt"), "a");
    EXPECT_TRUE(MoveFileW(u"\\B.TXT", u"\\b.Txt")); // only the case changes
    EXPECT_TRUE(OnDisk("b.Txt"));
    EXPECT_TRUE(MoveFileW(u"\\d", u"\\e"));
    EXPECT_EQ(Get("e/a.txt"), "a");
    EXPECT_TRUE(CopyFileW(u"\\b.txt", u"\\e\\A.txt", FALSE));
    EXPECT_EQ(Get("e/a.txt"), "b");

    WCHAR known[MAX_PATH];
    EXPECT_EQ(GetTempPathW(6, known), 7u); // too small
    EXPECT_EQ(GetTempPathW(MAX_PATH, known), 6u);
    EXPECT_EQ(std::u16string(known), u"\\Temp\\");
    EXPECT_TRUE(Opened((std::u16string(known) + u"\\x.txt").c_str(), GENERIC_WRITE, 0, CREATE_NEW));
    EXPECT_TRUE(SHGetSpecialFolderPath(nullptr, known, CSIDL_PERSONAL, TRUE));
    EXPECT_EQ(std::u16string(known), u"\\My Documents");
    EXPECT_NE(GetFileAttributesW(known), INVALID_FILE_ATTRIBUTES);
}

// Saving is write beside, flush, rename: at whichever step it fails, the old content is whole and the caller hears of it.
std::optional<DWORD> Save(const char* text) {
    const HANDLE file = CreateFileW(u"\\f.tmp", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return GetLastError();
    DWORD written = 0;
    const bool kept = WriteFile(file, text, static_cast<DWORD>(std::strlen(text)), &written, nullptr) &&
                      FlushFileBuffers(file);
    const DWORD error = GetLastError();
    CloseHandle(file);
    if (!kept) return error;
    return PlatReplaceFile(u"\\f.tmp", u"\\f.txt") ? std::nullopt : std::optional(GetLastError());
}

TEST_F(Files, SavingAndCopyingFailWhole) {
    const std::pair<PlatFault, DWORD> cases[] = {{PlatFault::FileOpen, 5},
                                                 {PlatFault::FileWrite, 112},
                                                 {PlatFault::FileSync, 29},
                                                 {PlatFault::FileRename, 5}};
    Put("g.txt", std::string(600'000, 'g'));
    for (const auto& [fault, error] : cases) {
        Put("f.txt", "old");
        PlatInjectFault(fault, 1);
        EXPECT_EQ(Save("new"), error);
        EXPECT_EQ(PlatFaultCount(fault), 1u);
        EXPECT_EQ(Get("f.txt"), "old");
        std::filesystem::remove(HostPath("f.tmp"));
        if (fault != PlatFault::FileOpen) { // a copy opens in a way of its own
            PlatInjectFault(fault, 1);
            EXPECT_FALSE(CopyFileW(u"\\g.txt", u"\\f.txt", FALSE));
        }
        EXPECT_EQ(Get("f.txt"), "old");
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder), {}), 2); // and no scraps
        EXPECT_EQ(Save("new"), std::nullopt);                                           // struck once
        EXPECT_EQ(Get("f.txt"), "new");
        EXPECT_TRUE(CopyFileW(u"\\g.txt", u"\\f.txt", FALSE));
        EXPECT_EQ(Get("f.txt").size(), 600'000u);
        PlatResetForTests();
    }
}

TEST_F(Files, ThreadsShareAFile) {
    const Opened file(u"\\f.bin", GENERIC_READ | GENERIC_WRITE, 0, CREATE_NEW);
    std::vector<std::thread> threads;
    for (char letter : {'a', 'b', 'c', 'd'})
        threads.emplace_back([&, letter] {
            const std::string block(100, letter);
            DWORD written = 0;
            for (int i = 0; i < 50; ++i) WriteFile(file.handle, block.data(), 100, &written, nullptr);
        });
    for (auto& thread : threads) thread.join();
    const std::string content = Get("f.bin");
    ASSERT_EQ(content.size(), 20'000u);
    for (std::size_t i = 0; i < content.size(); i += 100)
        EXPECT_GE(content.find_first_not_of(content[i], i), i + 100); // no block is torn
}

} // namespace
