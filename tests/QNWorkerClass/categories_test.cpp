// Categories: the cached list, the filter on texts, text forms, sets in the settings, colours and icons, menu, chooser.
#include "NorvoTools/CRegistry.h"
#include "NorvoTools/globals.h"
#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "NorvoUI/CeMenus.h"
#include "Platform/modules.h"
#include "Platform/windows.h"
#include "QNWorkerClass/categories.h"
#include "QNWorkerClass/categorychooser.h"
#include "QNWorkerClass/categorycolors.h"
#include "QNWorkerClass/categorymenu.h"
#include "tests/support/sidestores.h"

#include <filesystem>
#include <fstream>

namespace {

constexpr const WCHAR* kKey = u"Software\\Norvo\\Quillonary\\TV";

class Categories : public SideStoresTest {
protected:
    ~Categories() override {
        CCategoryColorIcons::ClearInit();
        if (g_hResources) FreeLibrary(g_hResources);
        g_hResources = nullptr;
    }
    void Make(std::initializer_list<const WCHAR*> names) {
        for (const WCHAR* name : names) AddCategory(name);
        ResetFullCategoryList();
    }
    // "a b c " of a list of texts.
    static std::string Joined(const CeStrList<WCHAR*>& texts) {
        std::string all;
        for (const WCHAR* text : texts) all += Narrow(text) + " ";
        return all;
    }
    static void UseTexts() { g_hResources = LoadLibraryW(u"\\WINDOWS\\QNResources.dll"); }
    static void SetKey(const std::u16string& sub, const WCHAR* name, DWORD value) {
        SetToRegistry(HKEY_CURRENT_USER, (std::u16string(kSuiteKey) + u"\\" + sub).c_str(), name, value);
    }
    void PutFile(const std::string& relative, std::size_t size = 1) {
        std::filesystem::create_directories(std::filesystem::path(HostPath(relative)).parent_path());
        std::ofstream(HostPath(relative), std::ios::binary) << std::string(size, 'x');
    }
};

// --- The list -------------------------------------------------------------------------------------------------------

TEST_F(Categories, ListComesFromTheStore) {
    const LONG work = AddCategory(u"Work");
    AddCategory(u"Home");
    CFullCategoryList list(0, PTRLIST_DELETE);
    EXPECT_EQ(2, GetFullCategoryInfo(list, true));
    EXPECT_EQ("Work, Home", Names(list));
    EXPECT_EQ(work, list[0]->m_lId);
    EXPECT_GE(list[0]->m_oidRecord, 0x00100000u);
    EXPECT_EQ(1, list[0]->m_wChosen);
    EXPECT_EQ(1, list[0]->m_bVisible);
    AddCategory(u"Away");
    EXPECT_EQ(2, GetFullCategoryInfo(list, false)); // cached
    ResetFullCategoryList();
    EXPECT_EQ("Work, Home, Away", Names(g_FullCategoryList));
    Choose(list, {{u"apple", 1}, {u"Banana", 2}});
    CFullCategory* none = nullptr;
    EXPECT_LT(FullCategoryCompareFunc(list[0], list[1], 0), 0); // by the locale, not by code
    EXPECT_GT(FullCategoryCompareFunc(none, list[0], 0), 0);
    EXPECT_LT(FullCategoryCompareFunc(list[0], none, 0), 0);
}

TEST_F(Categories, NamelessRecordsDisappear) {
    const HANDLE db = Open(u"CategoryMainDB");
    for (const WCHAR* name : {u"", u"Work", u"", u"Home", u""}) Add(db, Values().Text(2, name));
    Add(db, Values().Int(9, 1)); // no name at all
    ResetFullCategoryList();
    EXPECT_EQ("Work, Home", Names(g_FullCategoryList));
    EXPECT_EQ("'Work' 'Home'", Walk(db, 0x0002001F));
}

TEST_F(Categories, UseByKinds) {
    AddCategory(u"None");
    Associate(0x40000001, AddCategory(u"Appt"));
    Associate(0x80000001, AddCategory(u"Contact"));
    Associate(0xC0000001, AddCategory(u"Task"));
    const LONG both = AddCategory(u"ApptAndContact");
    Associate(0x80000002, both);
    Associate(0x40000002, both);
    ResetFullCategoryList();
    std::string uses;
    for (const CFullCategory* category : g_FullCategoryList)
        uses += Narrow(category->m_szName) + (category->m_wUsedByAppointments ? ":a" : ":") +
                (category->m_wUsedByContacts ? "c" : "") + (category->m_wUsedByTasks ? "t " : " ");
    // A task's number has the bits of both other kinds, so its category counts for them too.
    EXPECT_EQ("None: Appt:a Contact:c Task:act ApptAndContact:ac ", uses);
    const auto used = [](DWORD mask) {
        CeStrList<WCHAR*> names;
        GetCategories(names, false, mask);
        return Joined(names);
    };
    EXPECT_EQ("None Appt Contact Task ApptAndContact ", used(0));
    EXPECT_EQ("Appt Task ApptAndContact ", used(kUsedByAppointments));
    EXPECT_EQ("Appt Contact Task ApptAndContact ", used(kUsedByContacts | kUsedByAppointments));
}

TEST_F(Categories, MissingStoresGiveAnEmptyListOrNoUses) {
    AddCategory(u"Work");
    DeleteDatabase(u"CategoryAssocDB");
    ResetFullCategoryList();
    ASSERT_EQ("Work", Names(g_FullCategoryList));
    EXPECT_EQ(0, g_FullCategoryList[0]->m_wUsedByTasks);
    DeleteDatabase(u"CategoryMainDB");
    CFullCategoryList list(0, PTRLIST_DELETE);
    list.Add(new CFullCategory);
    EXPECT_EQ(0, GetFullCategoryInfo(list, true));
    EXPECT_EQ(0, list.Count());
}

// --- The filter on texts --------------------------------------------------------------------------------------------

TEST_F(Categories, FilterOnTexts) {
    enum { Or = 0, And = 1 };
    const struct {
        LONG mode, andOr, includeNone;
        std::vector<std::u16string> chosen;
        std::vector<const WCHAR*> pass, fail;
    } cases[] = {
        // Nothing chosen. Hiding gives the opposite of the AND flag for a text, unlike the filter by the store.
        {0, Or, 0, {}, {u"Work", u""}, {}},
        {1, Or, 0, {}, {u"Work", u""}, {}},
        {1, And, 0, {}, {u""}, {u"Work"}},
        // One of them: as a piece, case and all, one leading blank dropped; a name with a comma is never found.
        {0, Or, 0, {u"Work"}, {u"Work", u"Home, Work", u"Home,Work"}, {u"Home,  Work", u"work", u""}},
        {0, Or, 0, {u"work"}, {}, {u"Homework"}},
        {0, Or, 0, {u"A,B"}, {}, {u"A,B"}},
        {0, Or, 1, {u"Work"}, {u"", nullptr}, {u"Home"}},
        // All of them: another category beside a chosen one fails, none of the chosen passes; a name that is contained
        // has the pieces looked at.
        {0, And, 0, {u"Work"}, {u"Work", u"Idle"}, {u"Home, Work", u""}},
        {0, And, 0, {u"Work", u"Home"}, {}, {u"Work, Home"}},
        {0, And, 0, {u"work"}, {}, {u"Homework"}},
        // Hide.
        {1, Or, 0, {u"Work"}, {u"Home", u""}, {u"Work"}},
        // Only without: a text gives the AND flag.
        {-1, Or, 0, {u"Work"}, {u"", nullptr}, {u"Work"}},
        {-1, And, 0, {u"Work"}, {u"Work", u"Work, Home"}, {}},
    };
    for (const auto& c : cases) {
        CCategoryFilterInfo filter;
        filter.bHideCategories = c.mode;
        filter.CategoryANDOR = c.andOr;
        filter.m_bIncludeNoCat = c.includeNone;
        for (const auto& name : c.chosen) AddTo(filter.m_list, name, 1);
        for (const auto& [texts, passes] : {std::pair(c.pass, true), std::pair(c.fail, false)})
            for (const WCHAR* text : texts)
                EXPECT_EQ(passes, CategoryFilterHighLevel(text, &filter))
                    << "'" << Narrow(text) << "' mode " << c.mode << " and " << c.andOr << " none "
                    << c.includeNone << " chosen " << Names(filter.m_list);
    }
    EXPECT_TRUE(CategoryFilterHighLevel(u"Work", nullptr));
}

// --- Text forms and sets --------------------------------------------------------------------------------------------

TEST_F(Categories, TextOfAnItemToCategories) {
    Make({u"Work", u"Home", u"Idle", u"A,B", u"ork"});
    const struct {
        const WCHAR* text;
        const char* categories;
    } cases[] = {
        {u"Home, Work", "Work, Home"}, // in the order of the store
        {u"Home,Work", "Home, ork"},   // one character behind a comma is skipped, whatever it is
        {u"Home,  Work", "Home"},      {u" Home", ""}, {u"A,B", ""}, {u"", ""}, {nullptr, ""},
    };
    for (const auto& c : cases) {
        CFullCategoryList list(0, PTRLIST_DELETE);
        list.Add(new CFullCategory);
        ConvertCategoryToCFullCategory(c.text, list);
        EXPECT_EQ(c.categories, Names(list)) << Narrow(c.text);
    }
}

TEST_F(Categories, SetsInTheSettings) {
    Make({u"Work", u"Home", u"Idle"});
    CFullCategoryList list(0, PTRLIST_DELETE);
    const auto saved = [&] {
        SaveCategoryToRegistry(kKey, u"Set", list);
        std::vector<WCHAR> stored(3000);
        EXPECT_EQ(0, GetFromRegistrySZ(HKEY_CURRENT_USER, kKey, u"Set", stored.data(), 3000));
        return std::u16string(stored.data());
    };
    const struct {
        const WCHAR* stored;
        const char* read;
    } cases[] = {{nullptr, ""},
                 {u"Idle\u0007Work", "Work, Idle"},
                 {u"\u0007\u0007Home\u0007", "Home"},
                 {u"Gone\u0007Work\u0007Work", "Work"},
                 {u"Work, Home", ""}};
    for (const auto& c : cases) {
        if (c.stored) SetToRegistrySZ(HKEY_CURRENT_USER, kKey, u"Set", c.stored);
        Choose(list, {{u"Idle", 3}});
        ReadCategoryFromRegistry(kKey, u"Set", list, false);
        EXPECT_EQ(c.read, Names(list));
    }
    Choose(list, {{u"Idle", 3}, {u"Work", 1}});
    EXPECT_EQ(u"Idle\u0007Work", saved());
    // 990 + 1 + 1010 is one too many; 990 + 1 + 1008 is 1999, and then no room for a separator and a letter.
    const std::u16string a(990, u'a'), b(1010, u'b'), c(1008, u'c');
    Choose(list, {{a, 1}, {b, 2}, {c, 3}, {u"", 4}, {u"d", 5}});
    EXPECT_EQ(a + u'\u0007' + c, saved());
}

TEST_F(Categories, SetsOfCustomViewsLieInAFile) {
    Make({u"Work", u"Home"});
    SetToRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, u"InstallDir", u"\\Card");
    DeleteRegistryValue(HKEY_CURRENT_USER, kSuiteKey, u"Norvo_Folder");
    FreeNorvoDirectory();
    {
        CRegistry file(kRegistryText, u"%s\\Norvo\\QNCustomViews.reg");
        file.OpenKey(HKEY_CURRENT_USER, kKey);
        file.SetValue(u"Set", u"Home");
    }
    SetToRegistrySZ(HKEY_CURRENT_USER, kKey, u"Set", u"Work");
    CFullCategoryList list(0, PTRLIST_DELETE);
    ReadCategoryFromRegistry(kKey, u"Set", list, true);
    EXPECT_EQ("Home", Names(list));
    ReadCategoryFromRegistry(kKey, u"Set", list, false);
    EXPECT_EQ("Work", Names(list));
    FreeNorvoDirectory();
}

// --- Colours and icons ----------------------------------------------------------------------------------------------

TEST_F(Categories, ColorOfTheLastColoredCategory) {
    Make({u"Work", u"Home", u"Black", u"High", u"Over"});
    const std::pair<const WCHAR*, DWORD> colors[] = {{u"Work", 0x112233},  {u"Home", 0xFF},
                                                     {u"Black", 0},        {u"High", 0x1000000},
                                                     {u"Over", 0x1000001}, {u"NoCategory", 5}};
    for (const auto& [name, value] : colors) SetKey(u"Colors\\Categories", name, value);
    CCategoryColorIcons::InitCategoryColors();
    CCategoryColorIcons parsed;
    const auto color = [&](const WCHAR* text) { // "332211", by both ways of asking
        parsed.ParseCategory(text, true, false);
        char number[16];
        const COLORREF cr = parsed.GetCategoryColorCR();
        std::snprintf(number, sizeof number, "%08X ", cr);
        return number + Narrow(parsed.GetCategoryColorString());
    };
    const struct {
        const WCHAR* text;
        const char* color;
    } cases[] = {
        {u"Work", "00112233 #332211"}, // red, green, blue
        {u"Home", "000000FF #FF0000"}, {u"Work, Home", "000000FF #FF0000"},
        {u"High", "01000000 #000000"}, {u"Black", "FFB43480 "}, // and none from here on
        {u"Over", "FFB43480 "},        {u"NoCategory", "FFB43480 "},
    };
    for (const auto& c : cases) EXPECT_EQ(c.color, color(c.text)) << Narrow(c.text);
    color(u"Work");
    parsed.ParseCategory(u"Work", false, false);
    EXPECT_EQ(nullptr, parsed.GetCategoryColorString());
    // The table is read once.
    SetKey(u"Colors\\Categories", u"Work", 0x00AABBCC);
    CCategoryColorIcons::InitCategoryColors();
    EXPECT_EQ("00112233 #332211", color(u"Work"));
    CCategoryColorIcons::ClearInit();
    CCategoryColorIcons::InitCategoryColors();
    color(u"Home"); // the same text as last time would not be looked up
    EXPECT_EQ("00AABBCC #CCBBAA", color(u"Work"));
}

TEST_F(Categories, IconsOfTheFilesThereAre) {
    SetToRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, u"IconPath", u"\\Icons");
    for (const char* file :
         {"Icons/Work.bmp", "Icons/Home.png", "Icons/Both.bmp", "Icons/Both.png", "Icons/a\"b.bmp"})
        PutFile(file);
    const struct {
        const WCHAR* text;
        bool noneIcon;
        const char* markup;
        bool any;
    } cases[] = {
        {u"Work", false, "<IMG SRC=\"Work.bmp\">", true},
        {u"Idle, Home", false, "<IMG SRC=\"Home.png\">", true},
        {u"Both, Work", true, "<IMG SRC=\"Both.bmp\"><IMG SRC=\"Work.bmp\">", true},
        {u"a\"b, Work", true, "<IMG SRC=\"Work.bmp\">", true}, // a quote would leave its tag open
        {u"Idle", true, "", false},                            // has a category, though no icon
        {u"", true, "<IMG SRC=\"~NoCategory.bmp\">", true},
        {u"", false, "", false},
    };
    CCategoryColorIcons parsed;
    WCHAR markup[CCategoryColorIcons::kIconText];
    for (const auto& c : cases) {
        parsed.ParseCategory(c.text, false, true);
        EXPECT_EQ(c.any, parsed.GetIconString(markup, c.noneIcon)) << Narrow(c.text);
        EXPECT_EQ(c.markup, Narrow(markup));
    }
    // Far more icons than the buffer takes: whole tags, as many as fit 2,248 characters.
    std::u16string many = u"Work";
    for (int i = 0; i < 300; ++i) many += u", Work";
    parsed.ParseCategory(many.c_str(), false, true);
    ASSERT_TRUE(parsed.GetIconString(markup, false));
    EXPECT_EQ(112u * 20, wcslen(markup)); // a tag has 20
}

TEST_F(Categories, IconFilesOfAFolder) {
    for (const char* file : {"Icons/b.bmp", "Icons/A.bmp", "Icons/c.png"}) PutFile(file);
    PutFile("Icons/big.bmp", 256000);
    PutFile("Icons/fits.bmp", 255999);
    std::filesystem::create_directories(HostPath("Icons/folder.bmp"));
    CCategoryDisplay display(u"\\Icons");
    EXPECT_EQ("A.bmp b.bmp fits.bmp ", Joined(display.GetList()));
    CCategoryDisplay both(u"\\Icons", u".bmp.png");
    EXPECT_EQ("A.bmp b.bmp c.png fits.bmp ", Joined(both.GetList()));
    both.Init(u"\\Absent");
    EXPECT_EQ("", Joined(both.GetList()));
}

// --- The menu -------------------------------------------------------------------------------------------------------

class CategoryMenu : public Categories {
protected:
    CategoryMenu() { AppendMenuW(m_menu, MF_STRING, kMenuAllCategories, u"All"); }
    ~CategoryMenu() override { DestroyMenu(m_menu); }
    // "*5000 +5002:Work - 5003:Home".
    std::string Rows() {
        TrackPopupMenuEx(m_menu, TPM_RETURNCMD, 0, 0, nullptr, nullptr);
        std::string all;
        const auto shown = PlatTakeMenus();
        for (const auto& row : shown.at(0).rows) {
            if (row.flags & MF_SEPARATOR) {
                all += "- ";
                continue;
            }
            if (row.flags & MF_CHECKED) all += row.flags & MFT_RADIOCHECK ? '*' : '+';
            all += std::to_string(row.id) + ":" + std::string(row.text.begin(), row.text.end()) + " ";
        }
        return all;
    }
    HMENU m_menu = CreatePopupMenu();
};

TEST_F(CategoryMenu, EntriesAndChecks) {
    Make({u"Work", u"R&D", u"c", u"d", u"e", u"f"});
    CFullCategoryList chosen(0, PTRLIST_DELETE);
    for (bool any : {false, true}) {
        if (any) Choose(chosen, {{u"R&D", 2}});
        CeMenus bar;
        AddCategoriesToMenuBar(&bar, m_menu, chosen, false, 0);
        EXPECT_EQ(any ? "5000:All - 5002:Work +5003:R&&D 5004:c 5005:d 5006:e - 5007:f "
                      : "*5000:All - 5002:Work 5003:R&&D 5004:c 5005:d 5006:e - 5007:f ",
                  Rows());
        EXPECT_EQ(any, bar.IsEnabled(40293));
        EXPECT_EQ(!any, bar.IsDepressed(40106));
    }
    // The entries of before go, those of others stay.
    AppendMenuW(m_menu, MF_STRING, 40001, u"Edit");
    AppendMenuW(m_menu, MF_SEPARATOR, 0, nullptr);
    for (HANDLE db = Open(u"CategoryMainDB"); CEOID oid = First(db);) CeDeleteRecord(db, oid);
    AddCategory(u"z");
    chosen.Clear();
    AddCategoriesToMenuBar(nullptr, m_menu, chosen, true, 0);
    EXPECT_EQ("*5000:All 40001:Edit - - 5002:z ", Rows());
}

TEST_F(CategoryMenu, MaskAndLimit) {
    InOneTransaction([](HANDLE db) {
        for (int i = 0; i < 960; ++i) Add(db, Values().Text(2, {u'n', static_cast<WCHAR>(0x4E00 + i)}));
    });
    const CFullCategoryList chosen(0, PTRLIST_DELETE);
    AddCategoriesToMenuBar(nullptr, m_menu, chosen, true, 0);
    // 949 entries, a separator in front of every fifth from the first, and "All".
    EXPECT_EQ(1 + 949 + 190, GetMenuItemCount(m_menu));
    EXPECT_EQ(5950u, GetMenuItemID(m_menu, GetMenuItemCount(m_menu) - 1));
    AddCategoriesToMenuBar(nullptr, m_menu, chosen, false, kUsedByTasks);
    EXPECT_EQ("*5000:All ", Rows());
}

// --- The chooser ----------------------------------------------------------------------------------------------------

class Chooser : public Categories {
protected:
    Chooser() { UseTexts(); }
    static void Group(const WCHAR* group, std::initializer_list<const WCHAR*> members) {
        for (const WCHAR* member : members)
            SetKey(std::u16string(u"Category_GroupHeadings\\") + group, member, 1);
    }
    // "[None] Work +Home | (hidden)" with collapsed headers as "]None[".
    static std::string Rows(CCategoryBase& chooser) {
        std::string all;
        for (const CCategoryItemList* row : chooser.GetRows()) {
            std::string name(row->m_szName.begin(), row->m_szName.end());
            if (row->IsHeader()) name = row->m_nGroup == 1 ? "[" + name + "]" : "]" + name + "[";
            if (row->m_nCheck) name = "+" + name;
            if (!row->m_bVisible) name = "(" + name + ")";
            all += name + " ";
        }
        return all;
    }
};

TEST_F(Chooser, RowsUnderTheirGroups) {
    Make({u"work", u"Home", u"Away", u"Zoo"});
    Group(u"Private", {u"Home", u"Away", u"Gone"});
    Group(u"Business", {u"work"});
    Group(u"None", {u"Zoo"}); // has the name of the first header, so it is no group
    CCategoryBase chooser;
    chooser.SetupCategories(0);
    EXPECT_EQ("[None] Zoo [Business] work [Private] Away Home ", Rows(chooser));
    EXPECT_FALSE(chooser.HasDuplicates());
    CCategoryBase extra;
    extra.AddExtraCategory(u"Special");
    extra.SetupCategories(0);
    EXPECT_EQ("[None] Zoo [Steflilgu] Special [Business] work [Private] Away Home ", Rows(extra));
}

TEST_F(Chooser, AMaskDropsHeadersWithNothing) {
    const LONG work = AddCategory(u"Work");
    AddCategory(u"Home");
    Associate(0x40000001, work);
    ResetFullCategoryList();
    Group(u"A", {u"Home"});
    Group(u"B", {u"Work"});
    Group(u"C", {});
    SetKey(u"Category_GroupHeadings\\C", u"Gone", 1);
    CCategoryBase chooser;
    chooser.SetupCategories(0);
    EXPECT_EQ("[None] [A] Home [B] Work [C] ", Rows(chooser));
    chooser.SetupCategories(kUsedByAppointments);
    EXPECT_EQ("[B] Work ", Rows(chooser));
    chooser.SetupCategories(kUsedByTasks);
    EXPECT_EQ("", Rows(chooser));
}

TEST_F(Chooser, CollapsedGroupsAreKept) {
    Make({u"Work", u"Home", u"Idle"});
    Group(u"G", {u"Home"});
    const WCHAR* state = u"Software\\Norvo\\Quillonary\\CategoryGroupState";
    CCategoryBase chooser;
    chooser.SetupCategories(0);
    EXPECT_FALSE(chooser.ExpandGroup(1, false)); // no header
    EXPECT_FALSE(chooser.ExpandGroup(99, false));
    EXPECT_TRUE(chooser.ExpandGroup(0, false));
    EXPECT_EQ("]None[ (Idle) (Work) [G] Home ", Rows(chooser));
    EXPECT_EQ(1u, ReadRegistryWithDefault(state, u"None", 0));
    CCategoryBase next;
    next.SetupCategories(0);
    EXPECT_EQ("]None[ (Idle) (Work) [G] Home ", Rows(next));
    EXPECT_TRUE(next.ExpandGroup(0, true));
    EXPECT_EQ(0u, ReadRegistryWithDefault(state, u"None", 0));
    EXPECT_TRUE(next.ExpandGroup(3, false));
    EXPECT_EQ("[None] Idle Work ]G[ (Home) ", Rows(next));
}

TEST_F(Chooser, ChecksInAndOut) {
    Make({u"Work", u"Home", u"Idle"});
    Group(u"A", {u"Work"});
    Group(u"B", {u"Work", u"Home"}); // one choice in two groups
    CCategoryFilterDlg dialog;
    dialog.AddExtraCategory(u"Special");
    dialog.SetupCategories(0);
    EXPECT_TRUE(dialog.HasDuplicates());
    CFullCategoryList chosen(0, PTRLIST_DELETE);
    Choose(chosen, {{u"Work", 1}, {u"Special", -1}, {u"Gone", 9}, {u"None", 9}});
    dialog.SetupChecks(chosen);
    EXPECT_EQ("[None] Idle [Steflilgu] +Special [A] +Work [B] Home +Work ", Rows(dialog));
    dialog.GetRows()[1]->m_nCheck = 1;
    dialog.OnOK(chosen);
    EXPECT_EQ("Work, Idle, Special", Names(chosen)); // in the order of the store
    EXPECT_EQ(g_FullCategoryList[2]->m_lId, chosen[1]->m_lId);
    EXPECT_EQ(-1, chosen[2]->m_lId);
}

} // namespace
