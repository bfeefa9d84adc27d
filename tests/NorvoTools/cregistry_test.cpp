#include "NorvoTools/CRegistry.h"
#include "NorvoTools/CeString.h"
#include "NorvoTools/paths.h"
#include "tests/support/devicefiles.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>

namespace {

constexpr const WCHAR* kKey = u"Software\\Norvo\\T";

class CRegistryTest : public DeviceFilesTest {
protected:
    CRegistryTest() { FreeNorvoDirectory(); }
    ~CRegistryTest() override { FreeNorvoDirectory(); }

    static std::string Ascii(const CeStrList<>& list) {
        std::string out;
        for (const WCHAR* text : list) {
            for (; *text; ++text) out += static_cast<char>(*text);
            out += '|';
        }
        return out;
    }
    // The open key's value: a number, a text, "-" for none.
    static std::string Value(CRegistry& reg, const WCHAR* name) {
        DWORD number = 0;
        if (reg.QueryValue(name, &number) == 0) return std::to_string(static_cast<LONG>(number));
        std::array<WCHAR, 32> text = {};
        if (reg.QueryValue(name, text.data(), 32) != 0) return "-";
        const std::u16string_view view(text.data());
        return {view.begin(), view.end()};
    }
};

// What holds on both stores.
class BothStores : public CRegistryTest, public testing::WithParamInterface<_REGISTRY_TYPE> {
protected:
    // A file of its own: the cache lives as long as the process.
    static std::unique_ptr<CRegistry> Make() {
        return GetParam() == kRegistryPlatform ? std::make_unique<CRegistry>()
                                               : std::make_unique<CRegistry>(kRegistryText, u"\\both.reg", 0);
    }
};

TEST_P(BothStores, OpeningMakesAKey) {
    auto reg = Make();
    DWORD disposition = 0;
    EXPECT_EQ(reg->OpenKey(HKEY_CURRENT_USER, kKey, &disposition), 0);
    EXPECT_EQ(disposition, 1u);
    EXPECT_EQ(reg->OpenKey(HKEY_CURRENT_USER, u"\\SOFTWARE\\norvo\\t\\", &disposition), 0);
    EXPECT_EQ(disposition, 2u);
    EXPECT_EQ(reg->SetValue(u"n", DWORD{1}), 0); // open for writing too
    EXPECT_FALSE(reg->Exists(HKEY_LOCAL_MACHINE, kKey));
    EXPECT_NE(reg->SetValue(u"n", DWORD{1}), 0); // and closed after a miss
    EXPECT_EQ(reg->DeleteKey(HKEY_CURRENT_USER, kKey), 0);
    EXPECT_FALSE(reg->Exists(HKEY_CURRENT_USER, kKey));
    EXPECT_LT(reg->DeleteKey(HKEY_CURRENT_USER, kKey), 0);
}

TEST_P(BothStores, ValuesByTypeAndName) {
    auto reg = Make();
    EXPECT_EQ(Value(*reg, u"n"), "-"); // no key is open
    ASSERT_EQ(reg->OpenKey(HKEY_CURRENT_USER, kKey), 0);
    EXPECT_EQ(Value(*reg, u"n"), "-");
    EXPECT_EQ(reg->SetValue(u"n", LONG{-2}), 0);
    EXPECT_EQ(reg->SetValue(u"s", u"abc"), 0);
    EXPECT_EQ(reg->SetValue(nullptr, u"default"), 0); // as an empty name: the key's own
    EXPECT_EQ(Value(*reg, u"N") + Value(*reg, u"s") + Value(*reg, u""), "-2abcdefault");
    DWORD number = 5, type = 0;
    std::array<WCHAR, 8> text = {u'k'};
    EXPECT_LT(reg->QueryValue(u"s", &number), 0); // of another type
    EXPECT_LT(reg->QueryValue(u"n", text.data(), 8), 0);
    EXPECT_EQ(number, 5u);
    EXPECT_EQ(text[0], u'k');
    EXPECT_EQ(reg->QueryValueType(u"s", &type), 0);
    EXPECT_EQ(type, 1u);
    EXPECT_EQ(reg->QueryValueType(u"n", &type), 0);
    EXPECT_EQ(type, 4u);
    EXPECT_EQ(reg->SetValue(u"s", static_cast<const WCHAR*>(nullptr)), 0);
    EXPECT_EQ(Value(*reg, u"s"), "");
    EXPECT_EQ(reg->ValueCount(), 3);
    EXPECT_EQ(reg->ValueCount(HKEY_CURRENT_USER, u"none"), 0);
}

TEST_P(BothStores, NamesComeInTheOrderTheyWereMade) {
    auto reg = Make();
    ASSERT_EQ(reg->OpenKey(HKEY_CURRENT_USER, kKey), 0);
    for (const WCHAR* name : {u"9", u"10", u"a"}) reg->SetValue(name, DWORD{1});
    reg->SetValue(u"9", DWORD{2}); // keeps its place
    EXPECT_EQ(Ascii(*reg->ValueNames()), "9|10|a|");
    EXPECT_EQ(reg->DeleteValue(u"10"), 0);
    EXPECT_EQ(reg->DeleteValue(u"10"), reg->RegistryType() == kRegistryText ? CRegistry::kNoSuchValue : -2);
    EXPECT_EQ(Ascii(*reg->ValueNames()), "9|a|");
    std::array<WCHAR, 10> name = {};
    EXPECT_EQ(reg->ValueName(1, name.data(), 10), 0);
    EXPECT_EQ(std::u16string(name.data()), u"a");
    EXPECT_EQ(reg->ValueName(2, name.data(), 10), -259);
}

TEST_P(BothStores, WriteBackStoresWhatTheVariableHolds) {
    auto reg = Make();
    ASSERT_EQ(reg->OpenKey(HKEY_CURRENT_USER, kKey), 0);
    DWORD number = 0;
    std::array<WCHAR, 8> text = {};
    EXPECT_LT(reg->QueryValue(u"zero", &number, true), 0);         // isn't worth it
    EXPECT_LT(reg->QueryValue(u"empty", text.data(), 8, true), 0); // but an empty text is
    number = 3;
    text = {u'x', 0};
    EXPECT_LT(reg->QueryValue(u"n", &number, true), 0);
    EXPECT_LT(reg->QueryValue(u"t", text.data(), 8, true), 0);
    EXPECT_EQ(Ascii(*reg->ValueNames()), "empty|n|t|");
    EXPECT_EQ(Value(*reg, u"empty") + Value(*reg, u"n") + Value(*reg, u"t"), "3x");
    DWORD a = 9, b = 9;
    QNREG rows[] = {{u"n", &a, 1}, {u"missing", &b, 2}};
    EXPECT_LT(reg->QueryArray(rows, 2, true), 0);
    EXPECT_EQ(a, 3u);
    EXPECT_EQ(b, 2u);
    EXPECT_EQ(reg->QueryArray(rows, 2, false), 0); // the default has been written
}

TEST_P(BothStores, CopiesValuesToAnotherKey) {
    auto reg = Make();
    ASSERT_EQ(reg->OpenKey(HKEY_CURRENT_USER, kKey), 0);
    reg->SetValue(u"n", DWORD{1});
    reg->SetValue(u"", std::u16string(500, u'x').c_str());
    EXPECT_EQ(reg->CopyValuesToKey(HKEY_LOCAL_MACHINE, u"Copy"), 0);
    EXPECT_EQ(reg->SetValue(u"later", DWORD{1}), 0); // the source is still the open key
    EXPECT_EQ(reg->ValueCount(HKEY_LOCAL_MACHINE, u"Copy"), 2);
    EXPECT_EQ(reg->ValueCount(HKEY_CURRENT_USER, kKey), 3);
}

INSTANTIATE_TEST_SUITE_P(Stores, BothStores, testing::Values(kRegistryText, kRegistryPlatform),
                         [](const auto& store) {
                             return store.param == kRegistryText ? "Text" : "Platform";
                         });

TEST_F(CRegistryTest, TextStringsBySize) {
    CRegistry reg(kRegistryText, u"\\sizes.reg", 0);
    reg.OpenKey(HKEY_CURRENT_USER, kKey);
    reg.SetValue(u"s", u"abcdef");
    EXPECT_EQ(reg.QueryValue(u"s", static_cast<WCHAR*>(nullptr), 0), 6); // the length
    for (const auto& [size, text] : {std::pair{0, u"abcdef"}, {4, u"abc"}}) {
        std::array<WCHAR, 10> buffer = {};
        EXPECT_EQ(reg.QueryValue(u"s", buffer.data(), static_cast<DWORD>(size)), 0);
        EXPECT_EQ(std::u16string(buffer.data()), text);
    }
    CeString object(u"kept");
    EXPECT_EQ(reg.QueryValue(u"s", object, u"default"), CRegistry::kFailure);
    EXPECT_EQ(object, u"kept");
}

TEST_F(CRegistryTest, PlatformStringsAndBytes) {
    CRegistry reg;
    reg.OpenKey(HKEY_CURRENT_USER, kKey);
    const std::u16string longText(5000, u'y');
    reg.SetValue(u"long", longText.c_str());
    CeString text;
    EXPECT_EQ(reg.QueryValue(u"long", text, u"d"), 0);
    EXPECT_EQ(text.View(), longText);
    EXPECT_LT(reg.QueryValue(u"none", text, u"d"), 0);
    EXPECT_EQ(text, u"d");
    std::array<WCHAR, 200> buffer = {};
    EXPECT_EQ(reg.QueryValue(u"long", buffer.data(), 0), -234); // 0 stands for 200
    const BYTE bytes[] = {1, 2, 3};
    EXPECT_EQ(reg.SetBinValue(u"b", bytes, 3), 0);
    BYTE back[4] = {};
    DWORD size = 4;
    EXPECT_EQ(reg.QueryBinValue(u"b", back, &size), 0);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(back[2], 3);
    EXPECT_FALSE(reg.QueryValueUpdated(u"b"));
}

TEST_F(CRegistryTest, TextKeysAreSectionsWithTheirRoot) {
    CRegistry reg(kRegistryText, u"\\roots.reg", 0);
    for (HKEY root : {HKEY_CLASSES_ROOT, HKEY_LOCAL_MACHINE, HKEY_USERS, HKEY_CURRENT_USER})
        EXPECT_EQ(reg.OpenKey(root, u"\\K\\"), 0);
    EXPECT_TRUE(reg.Exists(reinterpret_cast<HKEY>(LONG_PTR{77}), u"K")); // any other root is the user's
    const char* names = "HKEY_CLASSES_ROOT\\K|HKEY_LOCAL_MACHINE\\K|HKEY_USERS\\K|HKEY_CURRENT_USER\\K|";
    EXPECT_EQ(Ascii(*reg.SubKeyNames()), names); // whichever key is open
    EXPECT_EQ(reg.SubKeyCount(), 4);
    std::array<WCHAR, 30> name = {};
    EXPECT_EQ(reg.SubKeyName(2, name.data(), 30), 0);
    EXPECT_EQ(std::u16string(name.data()), u"HKEY_USERS\\K");
    EXPECT_EQ(reg.SubKeyName(4, name.data(), 30), -259);
}

TEST_F(CRegistryTest, TheDefaultFileLiesInTheSuiteDirectory) {
    {
        CRegistry reg(kRegistryText, nullptr, 0);
        EXPECT_EQ(std::u16string(reg.INIFileName()),
                  u"\\Program Files\\Norvo\\Quillonary\\Norvo\\Settings.txt");
        EXPECT_TRUE(OnDisk("Program Files/Norvo/Quillonary/Norvo")); // the folder is made at once
        reg.OpenKey(HKEY_USERS, u"K");
        EXPECT_FALSE(reg.Updated(HKEY_USERS, u"K"));
        reg.SetValue(u"n", DWORD{16});
        EXPECT_TRUE(reg.Updated(HKEY_USERS, u"K"));
        EXPECT_TRUE(reg.QueryValueUpdated(u"N"));
    } // saved at its end
    EXPECT_EQ(Narrow(Get("Program Files/Norvo/Quillonary/Norvo/Settings.txt")),
              "|[HKEY_USERS\\K]|\"n\"=dword:00000010||");
    CRegistry reg;
    EXPECT_EQ(reg.SetRegistryType(kRegistryText, nullptr, 1), CRegistry::kNoFileName);
    EXPECT_EQ(reg.OpenKey(HKEY_CURRENT_USER, kKey), CRegistry::kFailure);
    EXPECT_EQ(std::u16string(reg.INIFileName()), u"");
}

TEST_F(CRegistryTest, ACachedFileIsSharedAndSavedByTheLast) {
    auto first = std::make_unique<CRegistry>(kRegistryText, u"\\shared.reg");
    EXPECT_TRUE(CRegistry::INIFileInCache(u"\\SHARED.reg"));
    auto second = std::make_unique<CRegistry>(kRegistryText, u"\\Shared.reg");
    first->OpenKey(HKEY_CURRENT_USER, u"A");
    first->SetValue(u"n", DWORD{1});
    second->OpenKey(HKEY_CURRENT_USER, u"A");
    EXPECT_EQ(Value(*second, u"n"), "1");
    first.reset();
    EXPECT_FALSE(OnDisk("shared.reg")); // another object is still on it
    EXPECT_EQ(second->SaveINIFile(false), 0);
    EXPECT_TRUE(OnDisk("shared.reg"));
    second.reset();
    EXPECT_TRUE(CRegistry::INIFileInCache(u"\\shared.reg"));
    Put("shared.reg", "[HKEY_CURRENT_USER\\A]\r\nn=dword:7\r\n");
    CRegistry third(kRegistryText, u"\\shared.reg");
    third.OpenKey(HKEY_CURRENT_USER, u"A");
    EXPECT_EQ(Value(third, u"n"), "1"); // memory, not disk
}

// Whoever of two goes last saves, also when they go at once.
class ThreadsSettings : public CRegistryTest {};

TEST_F(ThreadsSettings, ObjectsThatGoAtOnceLoseNothing) {
    for (int round = 1; round <= 200; ++round) {
        std::atomic<int> coming{2};
        const auto change = [&](const WCHAR* name) {
            CRegistry settings(kRegistryText, u"\\together.reg");
            settings.OpenKey(HKEY_CURRENT_USER, kKey);
            settings.SetValue(name, static_cast<DWORD>(round));
            for (--coming; coming > 0;) {} // so that both go in the same moment
        };
        std::thread other(change, u"a");
        change(u"b");
        other.join();
        char number[16];
        std::snprintf(number, sizeof number, "dword:%08X", static_cast<unsigned>(round));
        const std::string saved = Narrow(Get("together.reg"));
        for (const char* name : {"\"a\"=", "\"b\"="})
            ASSERT_NE(saved.find(std::string(name) + number), std::string::npos) << round;
    }
}

// An open key is a section's index: what other objects delete or merge must not turn it into another key.
TEST_F(CRegistryTest, AnOpenKeyStaysTheSameKey) {
    CRegistry one(kRegistryText, u"\\moving.reg"), other(kRegistryText, u"\\moving.reg");
    one.OpenKey(HKEY_CURRENT_USER, u"A");
    one.SetValue(u"n", DWORD{1});
    one.OpenKey(HKEY_CURRENT_USER, u"B");
    one.SetValue(u"n", DWORD{2});
    other.DeleteKey(HKEY_CURRENT_USER, u"A");
    EXPECT_EQ(Value(one, u"n"), "2");
    Put("moving.reg", "[HKEY_CURRENT_USER\\Z]\r\nn=dword:9\r\n");
    EXPECT_EQ(one.SaveINIFile(true), 0); // Z stands first now
    EXPECT_EQ(Value(one, u"n"), "2");
    other.DeleteKey(HKEY_CURRENT_USER, u"B");
    EXPECT_EQ(Value(one, u"n"), "-"); // gone, and nothing in its place
    EXPECT_LT(one.SetValue(u"n", DWORD{3}), 0);
    EXPECT_EQ(Ascii(*one.SubKeyNames()), "HKEY_CURRENT_USER\\Z|");
    EXPECT_EQ(one.SubKeyCount(), 1);
}

TEST_F(CRegistryTest, ImportExportAppend) {
    Put("in.reg", "[HKEY_CURRENT_USER\\Old\\Views]\r\n@=\"d\"\r\n\"n\"=dword:1F\r\n"
                  "[HKEY_LOCAL_MACHINE\\M]\r\ns=\"text\"\r\n[Rootless]\r\nx=1\r\n");
    EXPECT_EQ(CRegistry::ImportINIFile(u"\\in.reg"), CRegistry::kFailure); // told in all cases
    CRegistry reg;
    ASSERT_TRUE(reg.Exists(HKEY_CURRENT_USER, u"Old\\Views"));
    EXPECT_EQ(Value(reg, u"n") + Value(reg, u""), "31d");
    EXPECT_TRUE(reg.Exists(HKEY_LOCAL_MACHINE, u"M"));
    EXPECT_TRUE(reg.Exists(HKEY_CURRENT_USER, u"Rootless"));

    CRegistry::ExportRegistry(HKEY_CURRENT_USER, u"Old", u"\\out.reg", nullptr);
    EXPECT_EQ(Narrow(Get("out.reg")), "|[HKEY_CURRENT_USER\\Old\\Views]|@=\"d\"|\"n\"=dword:0000001F||");
    {
        CRegistry target(kRegistryText, u"\\appended.reg", 0);
        target.AppendINIFile(u"\\out.reg", u"Old", u"New");
    }
    EXPECT_EQ(Narrow(Get("appended.reg")), "|[HKEY_CURRENT_USER\\New\\Views]|@=\"d\"|\"n\"=dword:0000001F||");
    CRegistry source(kRegistryText, u"\\in.reg", 0);
    source.ExportINIFile(HKEY_CURRENT_USER, u"old", u"\\part.reg");
    EXPECT_EQ(Narrow(Get("part.reg")), "|[HKEY_CURRENT_USER\\Old\\Views]|@=\"d\"|\"n\"=dword:0000001F||");
}

} // namespace
