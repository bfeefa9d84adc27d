#include "NorvoTools/errors.h"
#include "NorvoTools/globals.h"
#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/clock.h"
#include "Platform/files.h"
#include "Platform/threads.h"
#include "tests/support/devicefiles.h"

#include <array>
#include <cstdlib>
#include <string>

namespace {

class PathsTest : public DeviceFilesTest {
protected:
    PathsTest() { FreeNorvoDirectory(); }
    ~PathsTest() override { FreeNorvoDirectory(); }

    static void Set(const WCHAR* name, const WCHAR* value) {
        ASSERT_EQ(SetToRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, name, value), 0);
    }
    static std::u16string Value(const WCHAR* name) {
        std::array<WCHAR, 400> text = {};
        GetFromRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, name, text.data(), 400);
        return text.data();
    }
};

TEST_F(PathsTest, TheDirectoryIsSettledInOrder) {
    struct Case {
        const char* name;
        const WCHAR* folder; // Norvo_Folder
        const WCHAR* install;
        const WCHAR* result;
    };
    const Case cases[] = {
        {"stored and there", u"\\Card\\Suite", u"\\Install", u"\\Card\\Suite"},
        {"stored and gone: the installation's, though missing too", u"\\Gone", u"\\Install", u"\\Install"},
        {"stored and gone, no installation", u"\\Gone", nullptr, u"\\Program Files\\Norvo\\Quillonary"},
        {"an empty one is none", u"", u"\\Install", u"\\Install"},
        {"nothing stored", nullptr, nullptr, u"\\Program Files\\Norvo\\Quillonary"},
    };
    std::filesystem::create_directories(HostPath("Card/Suite"));
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FreeNorvoDirectory();
        DeleteRegistryValue(HKEY_CURRENT_USER, kSuiteKey, u"Norvo_Folder");
        DeleteRegistryValue(HKEY_CURRENT_USER, kSuiteKey, u"InstallDir");
        if (c.folder) Set(u"Norvo_Folder", c.folder);
        if (c.install) Set(u"InstallDir", c.install);
        EXPECT_EQ(std::u16string(GetNorvoDirectory()), c.result);
        EXPECT_EQ(Value(u"Norvo_Folder"), c.result); // written back for the next start
    }
    // Settled once: a change shows after the next clearing only.
    Set(u"Norvo_Folder", u"\\Card\\Suite");
    InitNorvoDirectory();
    EXPECT_EQ(std::u16string(GetNorvoDirectory()), u"\\Program Files\\Norvo\\Quillonary");
    FreeNorvoDirectory();
    g_szNorvoDirectory = static_cast<WCHAR*>(std::calloc(1, sizeof(WCHAR))); // an empty one is none
    InitNorvoDirectory();
    EXPECT_EQ(std::u16string(g_szNorvoDirectory), u"\\Card\\Suite");
}

TEST_F(PathsTest, ResourcesAndUtilities) {
    std::array<WCHAR, 400> buffer = {};
    EXPECT_EQ(GetResourcesPath(buffer.data()), buffer.data());
    EXPECT_EQ(std::u16string(buffer.data()), u"\\WINDOWS\\QNResources.dll");
    Set(u"ResourcesLoc", u"\\x.dll");
    EXPECT_EQ(GetResourcesPath(buffer.data()), nullptr); // and the value stands in the buffer
    EXPECT_EQ(std::u16string(buffer.data()), u"\\x.dll");
    for (const auto& [stored, path] : {std::pair{static_cast<const WCHAR*>(nullptr), u"\\WINDOWS"},
                                       {u"", u"\\WINDOWS"},
                                       {u"\\u", u"\\u"}}) {
        if (stored) Set(u"UtilsInstallDir", stored);
        GetQNUtilsPath(buffer.data());
        EXPECT_EQ(std::u16string(buffer.data()), path);
    }
}

TEST_F(PathsTest, RegistryFunctionsLeaveTheVariableOnFailure) {
    DWORD number = 7;
    EXPECT_EQ(GetFromRegistry(HKEY_CURRENT_USER, u"K", u"n", &number), 2);
    EXPECT_EQ(number, 7u);
    EXPECT_EQ(ReadRegistryWithDefault(u"K", u"n", 9), 9u);
    EXPECT_EQ(SetToRegistry(HKEY_CURRENT_USER, u"K", u"n", 0xFFFFFFFF), 0);
    EXPECT_EQ(ReadRegistryWithDefault(u"\\K\\", u"N", 9), 0xFFFFFFFFu); // either spelling of the path
    EXPECT_EQ(SetToRegistrySZ(HKEY_CURRENT_USER, u"K", u"s", u"text"), 0);
    EXPECT_NE(GetFromRegistry(HKEY_CURRENT_USER, u"K", u"s", &number), 0); // of another type
    EXPECT_EQ(number, 7u);
    std::array<WCHAR, 5> exact = {};
    EXPECT_EQ(GetFromRegistrySZ(HKEY_CURRENT_USER, u"K", u"s", exact.data(), 5), 0);
    EXPECT_EQ(std::u16string(exact.data()), u"text");
    std::array<WCHAR, 5> kept = {u'k', 0};
    EXPECT_EQ(GetFromRegistrySZ(HKEY_CURRENT_USER, u"K", u"s", kept.data(), 4), 234);
    EXPECT_EQ(GetFromRegistrySZ(HKEY_CURRENT_USER, u"K", u"n", kept.data(), 5), 2);
    EXPECT_EQ(std::u16string(kept.data()), u"k");
    DWORD subKeys = 0, values = 0;
    SetToRegistry(HKEY_CURRENT_USER, u"K\\Sub", u"x", 1);
    EXPECT_EQ(QueryKey(HKEY_CURRENT_USER, u"K", &subKeys, &values), 0);
    EXPECT_EQ(subKeys, 1u);
    EXPECT_EQ(values, 2u);
    std::array<WCHAR, kRegistryKeyNameChars> name = {};
    EXPECT_EQ(EnumRegistryKeysSZ(HKEY_CURRENT_USER, u"K", name.data(), 0), 0);
    EXPECT_EQ(std::u16string(name.data()), u"Sub");
    EXPECT_EQ(EnumRegistryKeysSZ(HKEY_CURRENT_USER, u"K", name.data(), 1), 259);
    EXPECT_EQ(DeleteRegistryValue(HKEY_CURRENT_USER, u"K", u"n"), 0);
    EXPECT_EQ(DeleteRegistryValue(HKEY_CURRENT_USER, u"K", u"n"), 2);
}

std::u16string s_traced;

TEST_F(PathsTest, ErrorsReachTheUserAndTheLog) {
    const SYSTEMTIME now = {2026, 11, 6, 21, 8, 0, 0, 0};
    PlatSetClock(&now);
    PlatTakeMessageBoxes();
    SetLastError(ERROR_FILE_NOT_FOUND);
    ShowError();
    SetLastError(0x2ABCDEF0); // no such code: nothing is shown and nothing logged
    ShowError();
    auto boxes = PlatTakeMessageBoxes();
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].flags, 0x40010u);
    EXPECT_FALSE(boxes[0].text.empty());
    SetLastError(77);
    CeTraceLog(u"%s %d%%", u"\u00FC", 5);
    EXPECT_EQ(GetLastError(), 77u);
    const std::string ticks = std::to_string(static_cast<LONG>(GetTickCount())) + ": ";
    EXPECT_EQ(Get("QN8_ERROR_LOG.txt"), ticks + std::string(boxes[0].text.begin(), boxes[0].text.end()) +
                                            "\r\n" + ticks + "\xC3\xBC 5%\r\n");

    ShowError(u"%d and %s", 3, u"text");
    EXPECT_EQ(PlatTakeMessageBoxes().at(0).text, u"3 and text");
    CShowError none(1, nullptr, 0);
    EXPECT_TRUE(PlatTakeMessageBoxes().empty());
}

TEST_F(PathsTest, TheTraceGoesToItsHookOnly) {
    CeTrace(u"nobody listens %d", 1);
    CeSetTraceHook([](const WCHAR* line) { s_traced = line; });
    CeTrace(u"%s DB(%s)\n", u"Open", u"x");
    CeSetTraceHook(nullptr);
    EXPECT_EQ(s_traced, u"Open DB(x)\n");
    EXPECT_FALSE(OnDisk("QN8_ERROR_LOG.txt"));
}

} // namespace
