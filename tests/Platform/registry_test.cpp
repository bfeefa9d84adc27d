// The registry: names, order, sizes, durability, faults, damage, and several processes at once.
#include "Platform/registry.h"
#include "tests/support/devicefiles.h"
#include "tests/support/helperprocess.h"

#include <cstring>
#include <sqlite3.h>
#include <thread>
#include <vector>

namespace {

// A key that closes itself.
class Key {
public:
    explicit Key(LPCWSTR path, HKEY root = HKEY_CURRENT_USER) {
        EXPECT_EQ(RegCreateKeyExW(root, path, 0, nullptr, 0, 0, nullptr, &m_key, &m_disposition), 0);
    }
    ~Key() { EXPECT_EQ(RegCloseKey(m_key), 0); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    operator HKEY() const { return m_key; }
    DWORD Disposition() const { return m_disposition; }

    LONG Set(LPCWSTR name, DWORD number) const {
        return RegSetValueExW(m_key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                              sizeof number);
    }
    // -1 when it can't be read.
    LONGLONG Get(LPCWSTR name) const {
        DWORD number = 0;
        DWORD size = sizeof number;
        const LONG error =
            RegQueryValueExW(m_key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size);
        return error ? -1 : LONGLONG{number};
    }
    std::u16string Names() const { return All(&RegEnumValueW); }
    std::u16string SubKeys() const { return All(&RegEnumKeyExW); }

private:
    template<class F>
    std::u16string All(F next) const {
        std::u16string names;
        WCHAR name[64];
        DWORD chars = 64;
        for (DWORD i = 0; next(m_key, i, name, &chars, nullptr, nullptr, nullptr, nullptr) == 0;
             ++i, chars = 64)
            names += std::u16string(name) + u" ";
        return names;
    }

    HKEY m_key = nullptr;
    DWORD m_disposition = 0;
};

class Registry : public DeviceFilesTest {
protected:
    void Restart() { PlatSetDeviceFolder(m_folder); }
};

// The other process: run by the tests below alone.
class Other : public HelperProcess {
public:
    Other(const std::string& folder, const std::string& job)
        : HelperProcess("RegistryHelper.DISABLED_Works", job + " " + folder) {}
    // Its last word, once it has ended.
    LONG Last() {
        LONG word = -1;
        while (Hear(word)) {}
        Wait();
        return word;
    }
};

constexpr int kRounds = 60;

TEST(RegistryHelper, DISABLED_Works) {
    const std::string given = HelperProcess::Job(), job = given.substr(0, given.find(' '));
    PlatSetDeviceFolder(given.substr(job.size() + 1));
    const Key key(u"Shared");
    if (job == "writes")
        return HelperProcess::Say(key.Set(u"fromOther", 41) + key.Set(u"v", 42) +
                                  RegDeleteKeyW(key, u"Doomed"));
    const std::u16string name(job.begin(), job.end());
    const bool endless = job == "endless";
    for (DWORD i = static_cast<DWORD>(key.Get(name.c_str()) + 1); endless || i <= kRounds; ++i) {
        LONG error = key.Set(name.c_str(), i);
        if (!endless) error += key.Set((name + std::u16string(i, u'-')).c_str(), i);
        HelperProcess::Say(error ? -1 : static_cast<LONG>(i));
    }
}

TEST_F(Registry, KeyPathsOfEverySpelling) {
    const Key made(u"\\Software\\Norvo\\");
    EXPECT_EQ(made.Disposition(), REG_CREATED_NEW_KEY);
    EXPECT_EQ(made.Set(u"QNGridLeft", 2), 0);
    for (const char16_t* path :
         {u"Software\\Norvo", u"\\SOFTWARE\\norvo", u"Software\\Norvo\\\\", u"software\\\\NORVO"}) {
        const Key same(path);
        EXPECT_EQ(same.Disposition(), REG_OPENED_EXISTING_KEY);
        EXPECT_EQ(same.Get(u"qngridLEFT"), 2);
    }
    const Key below(u"Norvo", Key(u"Software"));
    EXPECT_EQ(below.Get(u"QNGridLeft"), 2);
    EXPECT_EQ(Key(u"Software\\Norvo", HKEY_LOCAL_MACHINE).Get(u"QNGridLeft"), -1); // another root
    EXPECT_EQ(Key(u"Software").SubKeys(), u"Norvo "); // the case it was made with

    HKEY opened = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software\\Other", 0, 0, &opened), 2);
    EXPECT_EQ(RegOpenKeyExW(nullptr, u"Software", 0, 0, &opened), 6);
    EXPECT_EQ(RegCreateKeyExW(HKEY_USERS, std::u16string(256, u'k').c_str(), 0, nullptr, 0, 0, nullptr,
                              &opened, nullptr),
              87);
}

TEST_F(Registry, EnumerationIsInTheOrderOfMaking) {
    {
        const Key key(u"MRU");
        for (const char16_t* name : {u"9", u"10", u"b", u"A"}) EXPECT_EQ(key.Set(name, 1), 0);
        EXPECT_EQ(key.Set(u"B", 2), 0); // keeps its place, and the case of its name
        EXPECT_EQ(key.Names(), u"9 10 b A ");
        for (const LONG error : {0, 2}) EXPECT_EQ(RegDeleteValueW(key, u"10"), error);
        EXPECT_EQ(key.Set(u"10", 3), 0);
        EXPECT_EQ(key.Get(u"A"), 1); // found behind what moved up
        for (const char16_t* sub : {u"Z", u"a", u"M"}) Key(sub, key);
    }
    Restart();
    const Key again(u"MRU");
    EXPECT_EQ(again.Names(), u"9 b A 10 ");
    EXPECT_EQ(again.SubKeys(), u"Z a M ");
    EXPECT_EQ(again.Get(u"b"), 2);
}

TEST_F(Registry, SizesOfValues) {
    const Key key(u"Sizes");
    const std::u16string text(u"\xD83D half"); // text that is no valid Unicode stays as it is
    const DWORD bytes = static_cast<DWORD>((text.size() + 1) * 2);
    ASSERT_EQ(RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()), bytes), 0);
    Restart();
    const Key again(u"Sizes");
    DWORD type = 0;
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExW(again, u"", nullptr, &type, nullptr, &size), 0);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(size, bytes);
    WCHAR buffer[16];
    size = bytes - 1;
    EXPECT_EQ(RegQueryValueExW(again, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &size),
              234);
    EXPECT_EQ(size, bytes);
    EXPECT_EQ(RegQueryValueExW(again, nullptr, nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &size), 0);
    EXPECT_EQ(std::u16string(buffer), text);
    EXPECT_EQ(RegQueryValueExW(again, u"none", nullptr, nullptr, reinterpret_cast<BYTE*>(buffer), &size), 2);

    const BYTE blob[5] = {0, 1, 2, 0, 255};
    const auto set = [&](LPCWSTR value, const BYTE* data, DWORD count) {
        return RegSetValueExW(again, value, 0, REG_BINARY, data, count);
    };
    EXPECT_EQ(set(u"Binary", blob, 5) + set(u"Empty", nullptr, 0), 0);
    EXPECT_EQ(set(u"Bad", nullptr, 1), 87);
    WCHAR name[8];
    DWORD chars = 6;
    EXPECT_EQ(RegEnumValueW(again, 1, name, &chars, nullptr, nullptr, nullptr, nullptr), 234);
    EXPECT_EQ(chars, 6u);
    chars = 7;
    BYTE data[8];
    size = 8;
    EXPECT_EQ(RegEnumValueW(again, 1, name, &chars, nullptr, &type, data, &size), 0);
    EXPECT_EQ(std::u16string(name, chars), u"Binary");
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(std::memcmp(data, blob, 5), 0);
    EXPECT_EQ(RegEnumValueW(again, 3, name, &chars, nullptr, nullptr, nullptr, nullptr), 259);

    const Key sub(u"LongName", again);
    DWORD keys = 0, longestKey = 0, values = 0, longestName = 0, longestValue = 0;
    EXPECT_EQ(RegQueryInfoKeyW(again, nullptr, nullptr, nullptr, &keys, &longestKey, nullptr, &values,
                               &longestName, &longestValue, nullptr, nullptr),
              0);
    EXPECT_EQ((std::vector{keys, longestKey, values, longestName, longestValue}),
              (std::vector<DWORD>{1, 8, 3, 6, bytes}));
}

TEST_F(Registry, DeletingAKeyTakesEverythingBelow) {
    const Key deep(u"A\\B\\C\\D");
    EXPECT_EQ(deep.Set(u"v", 1), 0);
    const Key middle(u"A\\b");
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u""), 87);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"\\"), 87);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"A\\X"), 2);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"\\a\\B\\"), 0);
    EXPECT_EQ(deep.Get(u"v"), -1);
    EXPECT_EQ(deep.Set(u"v", 2), 1018);
    EXPECT_EQ(RegFlushKey(middle), 1018);
    HKEY opened = nullptr;
    EXPECT_EQ(RegOpenKeyExW(middle, u"C", 0, 0, &opened), 1018);
    Restart();
    // Made again it is a new, empty key; the old handles stay dead.
    const Key fresh(u"A\\B");
    EXPECT_EQ(fresh.Disposition(), REG_CREATED_NEW_KEY);
    EXPECT_EQ(fresh.SubKeys(), u"");
    EXPECT_EQ(deep.Get(u"v"), -1);
    EXPECT_EQ(middle.Set(u"v", 3), 1018);
}

TEST_F(Registry, FailedWriteChangesNothing) {
    const Key key(u"Faults");
    EXPECT_EQ(key.Set(u"v", 1), 0);
    PlatInjectFault(PlatFault::RegistryWrite, 1, true);
    HKEY made = nullptr;
    EXPECT_EQ(key.Set(u"v", 2), 112);
    EXPECT_EQ(key.Set(u"w", 2), 112);
    EXPECT_EQ(RegDeleteValueW(key, u"v"), 112);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Faults"), 112);
    EXPECT_EQ(RegCreateKeyExW(key, u"Sub", 0, nullptr, 0, 0, nullptr, &made, nullptr), 112);
    EXPECT_EQ(PlatFaultCount(PlatFault::RegistryWrite), 5u);
    // What stands there already needs no write.
    EXPECT_EQ(key.Set(u"v", 1), 0);
    EXPECT_EQ(PlatFaultCount(PlatFault::RegistryWrite), 5u);
    for (int round = 0; round < 2; ++round, Restart()) {
        const Key same(u"Faults");
        EXPECT_EQ(same.Get(u"v"), 1);
        EXPECT_EQ(same.Names(), u"v ");
        EXPECT_EQ(same.SubKeys(), u"");
    }
}

TEST_F(Registry, DamagedFileIsSetAsideAndTold) {
    const std::string whole = [&] {
        const Key key(u"K");
        for (char16_t c = u'a'; c < u'z'; ++c) EXPECT_EQ(key.Set(std::u16string(200, c).c_str(), 7), 0);
        Restart(); // closes it: all of it is in the one file
        return Get("registry.db");
    }();
    ASSERT_GT(whole.size(), 8192u);
    std::string broken = whole;
    std::fill(broken.begin() + 4096, broken.end(), '\xAB');
    std::string miscounted = whole;
    miscounted[39] = 5; // pages that are free, the last byte of four at 36
    sqlite3* foreign = nullptr;
    ASSERT_EQ(sqlite3_open(HostPath("foreign").c_str(), &foreign), SQLITE_OK);
    ASSERT_EQ(
        sqlite3_exec(foreign, "CREATE TABLE keys(a); CREATE TABLE letters(b)", nullptr, nullptr, nullptr),
        SQLITE_OK);
    sqlite3_close(foreign);
    for (const std::string& damaged :
         {std::string("this is no database, but it is long enough to be looked at"), miscounted,
          Get("foreign"), broken}) {
        Restart();
        for (const auto& entry : std::filesystem::directory_iterator(m_folder))
            std::filesystem::remove_all(entry);
        Put("registry.db", damaged);
        PlatTakeDebugOutput();
        const Key key(u"K");
        EXPECT_EQ(key.Disposition(), REG_CREATED_NEW_KEY);
        EXPECT_EQ(key.Set(u"v", 1), 0);
        EXPECT_EQ(Get("registry.db.bad"), damaged);
        const auto lines = PlatTakeDebugOutput();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_NE(lines[0].find(u"registry.db.bad"), std::u16string::npos);
    }
    // A second one keeps the first.
    Restart();
    Put("registry.db", "again");
    std::filesystem::remove(HostPath("registry.db-wal"));
    const Key key(u"K");
    EXPECT_EQ(Get("registry.db.bad"), broken);
    EXPECT_EQ(Get("registry.db.bad1"), "again");
}

TEST_F(Registry, ReadingMakesNoFiles) {
    PlatSetDeviceFolder(HostPath("new"));
    HKEY opened = nullptr;
    DWORD keys = 7;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, u"Software", 0, 0, &opened), 2);
    EXPECT_EQ(RegQueryValueExW(HKEY_CURRENT_USER, u"v", nullptr, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(RegDeleteValueW(HKEY_CURRENT_USER, u"v"), 2);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, u"Software"), 2);
    EXPECT_EQ(RegQueryInfoKeyW(HKEY_USERS, nullptr, nullptr, nullptr, &keys, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(keys, 0u);
    EXPECT_FALSE(OnDisk("new"));
    const Key key(u"Software");
    EXPECT_EQ(key.Set(u"v", 1), 0);
    EXPECT_TRUE(OnDisk("new/registry.db"));
    EXPECT_EQ(key.Get(u"v"), 1);
}

// Put there by hand while programs run: the keys that are open in the former file aren't those of the new one.
TEST_F(Registry, AReplacedFileIsAnother) {
    const Key old(u"Old");
    for (const char* file : {"registry.db", "registry.db-wal", "registry.db-shm"})
        std::filesystem::remove(HostPath(file));
    EXPECT_EQ(Key(u"Fresh").Set(u"v", 2), 0);
    EXPECT_EQ(old.Set(u"v", 1), 1018);
    Restart();
    EXPECT_EQ(Key(u"Fresh").Get(u"v"), 2);
}

TEST_F(Registry, WhatIsNoFileIsNotOpened) {
    HKEY opened = nullptr;
    const auto make = [&] {
        return RegCreateKeyExW(HKEY_USERS, u"k", 0, nullptr, 0, 0, nullptr, &opened, nullptr);
    };
    const std::string outside = std::filesystem::path(m_folder).filename().string() + "-outside";
    std::filesystem::create_symlink("../" + outside, HostPath("registry.db"));
    EXPECT_EQ(make(), 5);
    EXPECT_FALSE(OnDisk("../" + outside));
    std::filesystem::remove(HostPath("registry.db"));
    std::filesystem::create_directory(HostPath("registry.db"));
    EXPECT_EQ(make(), 5);
    EXPECT_EQ(RegOpenKeyExW(HKEY_USERS, u"k", 0, 0, &opened), 5); // not 2, as if nothing had ever been set
    std::filesystem::remove(HostPath("registry.db"));
    EXPECT_EQ(make(), 0);
    RegCloseKey(opened);
}

TEST_F(Registry, SeesAnotherProcessAtOnce) {
    const Key key(u"Shared");
    const Key doomed(u"Doomed", key);
    EXPECT_EQ(key.Set(u"v", 1), 0);
    EXPECT_EQ(key.Get(u"v"), 1);
    EXPECT_EQ(Other(m_folder, "writes").Last(), 0);
    EXPECT_EQ(key.Get(u"v"), 42);
    EXPECT_EQ(key.Get(u"fromOther"), 41);
    EXPECT_EQ(key.Names(), u"v fromOther ");
    EXPECT_EQ(RegFlushKey(doomed), 1018);
}

TEST_F(Registry, TwoWritersLoseNothing) {
    const Key key(u"Shared");
    EXPECT_EQ(key.Set(u"p", 0) + key.Set(u"q", 0), 0);
    Other first(m_folder, "p"), second(m_folder, "q");
    // Meanwhile this process reads, and what it has seen never goes back.
    LONGLONG last = 0;
    for (LONG told = 0; first.Hear(told);) {
        const LONGLONG now = key.Get(u"p");
        EXPECT_GE(now, std::max<LONGLONG>(last, told));
        last = now;
    }
    EXPECT_EQ(second.Last(), kRounds);
    EXPECT_EQ(key.Get(u"p"), kRounds);
    EXPECT_EQ(key.Get(u"q"), kRounds);
    DWORD values = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr,
                     nullptr, nullptr);
    EXPECT_EQ(values, 2u + 2 * kRounds);
}

TEST_F(Registry, WhatWasAcknowledgedSurvivesAKill) {
    const Key key(u"Shared");
    EXPECT_EQ(key.Set(u"endless", 0), 0);
    for (int round = 0; round < 5; ++round) {
        Other other(m_folder, "endless");
        LONG last = 0;
        for (int i = 0; i < 20 + round * 7; ++i) ASSERT_TRUE(other.Hear(last));
        other.Kill();
        while (other.Hear(last)) {}
        EXPECT_GE(key.Get(u"endless"), last);
        EXPECT_LE(key.Get(u"endless"), last + 1);
    }
}

TEST_F(Registry, ThreadsReadAndWriteTogether) {
    const Key key(u"Threads");
    std::vector<std::thread> threads;
    for (const char16_t* name : {u"a", u"b", u"c"})
        threads.emplace_back([&key, name] {
            for (DWORD i = 1; i <= 20; ++i) {
                EXPECT_EQ(key.Set(name, i), 0);
                EXPECT_EQ(key.Get(name), i); // one's own writes are read back
            }
        });
    for (auto& thread : threads) thread.join();
}

} // namespace
