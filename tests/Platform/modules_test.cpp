// Modules: finding by name, entry points, texts, resources, shared objects of the device folder.
#include "Platform/modules.h"
#include "Platform/threads.h"
#include "tests/support/devicefiles.h"

#include <array>
#include <dlfcn.h>
#include <sqlite3.h>

namespace {

int Seven() { return 7; }
int Eight() { return 8; }
FARPROC Address(int (*function)()) { return reinterpret_cast<FARPROC>(function); }
int Call(FARPROC address) { return address ? reinterpret_cast<int (*)()>(address)() : -1; }

const PlatModuleEntry kEntries[] = {{"Seven", 0, Address(Seven)}, {nullptr, 8, Address(Eight)}};
const PlatModuleString kStrings[] = {{5, u"five", 4}, {3, u"three ", 6}};
const PlatStringTable kLanguages[] = {{"en", kStrings, std::size(kStrings)}};
constexpr BYTE kBytes[] = {1, 2, 3};
const PlatModuleResource kResources[] = {{10, 100, kBytes, sizeof kBytes}};

class Modules : public DeviceFilesTest {
protected:
    static HINSTANCE Register(LPCWSTR name) {
        return PlatRegisterModule({name, kEntries, std::size(kEntries), kLanguages, 1, kResources, 1, true});
    }
    static std::u16string Text(HINSTANCE module, UINT id, int chars = 128) {
        std::array<WCHAR, 128> buffer{u'?'};
        const int length = LoadStringW(module, id, buffer.data(), chars);
        EXPECT_EQ(length, static_cast<int>(std::u16string(buffer.data()).size()));
        return buffer.data();
    }
};

TEST_F(Modules, NamesMatchWithoutCaseAndPath) {
    const HINSTANCE module = Register(u"Helper.dll");
    for (const char16_t* name : {u"helper.DLL", u"\\Windows\\HELPER.dll", u"helper", u"/x/y\\Helper.dll"}) {
        EXPECT_EQ(LoadLibraryW(name), module);
        EXPECT_EQ(GetModuleHandleW(name), module);
        EXPECT_TRUE(FreeLibrary(module));
    }
    for (const char16_t* name : {u"helper.exe", u"helpe", u"pwnotesapi.dll", u"\\Helper.dll\\other.dll"}) {
        EXPECT_EQ(ErrorOf(LoadLibraryW(name)), ERROR_MOD_NOT_FOUND);
    }
    EXPECT_FALSE(FreeLibrary(module)); // no reference is left
    EXPECT_EQ(GetModuleHandleW(u"Helper.dll"), module);
    WCHAR buffer[MAX_PATH];
    EXPECT_EQ(GetModuleFileNameW(module, buffer, MAX_PATH), 19u);
    EXPECT_EQ(std::u16string(buffer), u"\\WINDOWS\\Helper.dll");
    EXPECT_EQ(GetModuleFileNameW(module, buffer, 5), 4u);
    EXPECT_EQ(std::u16string(buffer), u"\\WIN");
    EXPECT_GT(GetModuleFileNameW(nullptr, buffer, MAX_PATH), 9u);
    EXPECT_NE(GetModuleHandleW(nullptr), nullptr);
}

TEST_F(Modules, TheLastRegistrationWinsUntilItIsTakenOut) {
    const HINSTANCE first = Register(u"helper.dll");
    const HINSTANCE second = Register(u"HELPER.DLL");
    EXPECT_NE(first, second);
    EXPECT_EQ(GetModuleHandleW(u"helper"), second);
    EXPECT_TRUE(PlatUnregisterModule(u"helper"));
    EXPECT_EQ(GetModuleHandleW(u"helper"), first);
    for (int i = 0; i < 50; ++i) EXPECT_NE(Register(u"other.dll"), second); // its number never comes again
    EXPECT_EQ(ErrorOf(GetProcAddressW(second, u"Seven")), ERROR_INVALID_HANDLE);
    PlatResetForTests();
    EXPECT_EQ(GetModuleHandleW(u"helper"), nullptr);
    EXPECT_FALSE(PlatUnregisterModule(u"helper"));
    EXPECT_NE(GetModuleHandleW(u"QNResources.dll"), nullptr); // what is built in stays
}

TEST_F(Modules, EntriesByNameAndOrdinal) {
    const HINSTANCE module = Register(u"helper.dll");
    EXPECT_EQ(Call(GetProcAddressW(module, u"Seven")), 7);
    EXPECT_EQ(Call(GetProcAddressW(module, MAKEINTRESOURCEW(8))), 8);
    for (const LPCWSTR name :
         {LPCWSTR{u"seven"}, LPCWSTR{u"Eight"}, MAKEINTRESOURCEW(7), MAKEINTRESOURCEW(0)}) {
        EXPECT_EQ(ErrorOf(GetProcAddressW(module, name)), ERROR_PROC_NOT_FOUND);
    }
}

TEST_F(Modules, TextsAndResources) {
    const HINSTANCE module = Register(u"helper.dll");
    EXPECT_EQ(Text(module, 5), u"five");
    EXPECT_EQ(Text(module, 3), u"three ");
    EXPECT_EQ(Text(module, 5, 3), u"fi");
    EXPECT_EQ(Text(module, 4), u"");
    EXPECT_EQ(GetLastError(), ERROR_RESOURCE_NAME_NOT_FOUND);
    EXPECT_EQ(Text(nullptr, 5), u"");

    const HRSRC resource = FindResourceW(module, MAKEINTRESOURCEW(100), RT_RCDATA);
    ASSERT_NE(resource, nullptr);
    EXPECT_EQ(SizeofResource(module, resource), 3u);
    EXPECT_EQ(LoadResource(module, resource), kBytes);
    EXPECT_EQ(FindResourceW(module, MAKEINTRESOURCEW(100), MAKEINTRESOURCEW(2)), nullptr);
    EXPECT_EQ(FindResourceW(module, u"named", RT_RCDATA), nullptr);
    EXPECT_EQ(SizeofResource(GetModuleHandleW(u"QNResources.dll"), resource), 0u); // another module's
}

TEST_F(Modules, TextsAreInTheLanguageOfTheLocaleElseInTheFirst) {
    static constexpr PlatModuleString kEnglish[] = {{1, u"day", 3}, {2, u"week", 4}, {3, u"month", 5}};
    static constexpr PlatModuleString kPortuguese[] = {{1, u"dia", 3}, {2, u"semana", 6}};
    static constexpr PlatModuleString kBrazilian[] = {{1, u"dia!", 4}};
    static constexpr PlatStringTable kTables[] = {
        {"en", kEnglish, 3}, {"pt", kPortuguese, 2}, {"pt_BR", kBrazilian, 1}};
    const HINSTANCE module = PlatRegisterModule({u"many.dll", nullptr, 0, kTables, 3, nullptr, 0, true});
    const std::pair<const char*, std::u16string> cases[] = {{"en_US", u"day week month "},
                                                            {"pt_PT", u"dia semana month "},
                                                            {"pt_BR", u"dia! semana month "},
                                                            {"de_DE", u"day week month "}};
    for (const auto& [locale, texts] : cases) {
        PlatSetLocale(locale);
        EXPECT_EQ(Text(module, 1) + u" " + Text(module, 2) + u" " + Text(module, 3) + u" " + Text(module, 4),
                  texts)
            << locale;
    }
}

TEST_F(Modules, BuiltInTexts) {
    const HINSTANCE module = LoadLibraryW(u"\\WINDOWS\\QNResources.dll");
    ASSERT_NE(module, nullptr);
    const std::pair<UINT, LPCWSTR> cases[] = {{40433, u"The item's dates are not valid."},
                                              {40443, u"The item could not be saved. Error code: "},
                                              {41162, u"Normal"},
                                              {42474, u"days"},
                                              {42358, u"None"},
                                              {42482, u"(No notes)"},
                                              {44034, u"No Due Date"},
                                              {44180, u"Completed Earlier"},
                                              {44751, u"Next 30 Days"},
                                              {44811, u"Reference"},
                                              {40441, u""}};
    for (const auto& [id, text] : cases) EXPECT_EQ(Text(module, id), text) << id;
    EXPECT_TRUE(FreeLibrary(module));
}

TEST_F(Modules, SharedObjectsComeFromTheWindowsFolderAlone) {
    Dl_info info{};
    ASSERT_NE(dladdr(reinterpret_cast<void*>(sqlite3_libversion_number), &info), 0);
    std::filesystem::create_directories(HostPath("Windows"));
    std::filesystem::copy_file(std::filesystem::canonical(info.dli_fname), HostPath("Windows/Store.dll"));
    Put("Windows/text.dll", "no library");
    std::filesystem::copy_file(HostPath("Windows/Store.dll"), HostPath("Elsewhere.dll"));
    std::filesystem::create_symlink(std::filesystem::canonical(info.dli_fname), HostPath("Windows/link.dll"));

    const HINSTANCE module = LoadLibraryW(u"\\Program Files\\x\\STORE");
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(Call(GetProcAddressW(module, u"sqlite3_libversion_number")), sqlite3_libversion_number());
    EXPECT_EQ(GetProcAddressW(module, u"no_such_entry"), nullptr);
    EXPECT_EQ(LoadLibraryW(u"store.dll"), module);
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_FALSE(FreeLibrary(module));
    EXPECT_EQ(GetModuleHandleW(u"store.dll"), nullptr);

    EXPECT_EQ(ErrorOf(LoadLibraryW(u"text.dll")), ERROR_BAD_FORMAT);
    for (const char16_t* name :
         {u"Elsewhere.dll", u"\\Elsewhere.dll", u"link.dll", u"..\\Elsewhere.dll", u"libsqlite3.so.0"})
        EXPECT_EQ(LoadLibraryW(name), nullptr);
}

} // namespace
