// The session on the object model, and the bridge to context-menu extensions.
#include "NorvoTools/CeDb.h"
#include "NorvoTools/globals.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/contextmenu.h"
#include "Platform/memory.h"
#include "Platform/modules.h"
#include "QNWorkerClass/COutlook.h"
#include "tests/support/plainwindow.h"
#include "tests/support/poom.h"

#include <atomic>
#include <functional>
#include <thread>

namespace {

// An application object that fails as told and counts what it is asked.
class FakeApp final : public IPOutlookApp2 {
public:
    struct Script {
        int made = 0, alive = 0, logons = 0, logoffs = 0, folders = 0; // counted
        HRESULT create = S_OK, logon = S_OK, names = S_OK;             // what these give
        int badFolders = 0;                                            // so many calls fail
        HWND owner = nullptr;
        std::function<void()> onLogon;
        ULONG nameFlags = 77;
        CEPROPID nameId = 0x80010013;
    };
    static Script script;

    static HRESULT Make(void** object) {
        ++script.made;
        if (FAILED(script.create)) return script.create;
        ++script.alive;
        *object = static_cast<IPOutlookApp2*>(new FakeApp);
        return S_OK;
    }
    HRESULT QueryInterface(const IID&, void** object) override {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++m_refs; }
    ULONG Release() override {
        const ULONG left = --m_refs;
        if (left == 0) delete this;
        return left;
    }
    HRESULT Logon(HWND owner) override {
        ++script.logons;
        script.owner = owner;
        if (script.onLogon) script.onLogon();
        return script.logon;
    }
    HRESULT Logoff() override { return ++script.logoffs, S_OK; }
    HRESULT GetDefaultFolder(int, IFolder**) override {
        ++script.folders;
        if (script.badFolders == 0) return S_OK;
        return --script.badFolders, E_UNEXPECTED;
    }
    HRESULT CreateItem(int, IDispatch**) override { return 0x1001; }
    HRESULT GetItemFromOid(LONG, IDispatch**) override { return 0x1002; }
    HRESULT GetItemFromOidEx(CEOID, DWORD flags, IItem**) override { return flags ? E_FAIL : 0x1003; }
    HRESULT GetIDsFromNames(ULONG, const WCHAR* const*, ULONG flags, CEPROPID* ids) override {
        script.nameFlags = flags;
        *ids = script.nameId;
        return script.names;
    }
    HRESULT GetTimeZoneInformationFromIndex(int, TIME_ZONE_INFORMATION*) override { return 0x1004; }
    HRESULT get_OutlookCompatible(VARIANT_BOOL*) override { return E_NOTIMPL; }
    HRESULT put_OutlookCompatible(VARIANT_BOOL) override { return E_NOTIMPL; }

private:
    ~FakeApp() { --script.alive; }
    std::atomic<ULONG> m_refs{1};
};
FakeApp::Script FakeApp::script;

std::string Boxes() {
    std::string all;
    for (const auto& box : PlatTakeMessageBoxes())
        all += std::string(box.text.begin(), box.text.end()) + "|" +
               std::string(box.caption.begin(), box.caption.end()) + "\n";
    return all;
}

class Session : public DeviceTest {
protected:
    Session() {
        FakeApp::script = {};
        PlatRegisterClassObject(CLSID_Application, IID_IPOutlookApp2, &FakeApp::Make);
    }
    static FakeApp::Script& Script() { return FakeApp::script; }
};

TEST_F(Session, LogsOnAtFirstUseAndOnce) {
    {
        COutlook outlook;
        EXPECT_EQ(0, Script().made);
        EXPECT_EQ(0x1001, outlook.CreateItem(olTaskItem, nullptr));
        EXPECT_EQ(0x1002, outlook.GetItemFromOid(0xC0000001, nullptr));
        EXPECT_EQ(0x1003, outlook.GetItemFromOidEx(0xC0000001, nullptr));
        EXPECT_EQ(0x1004, outlook.GetTimeZoneInformationFromIndex(0, nullptr));
        outlook.Open();
        EXPECT_EQ(1, Script().made);
        EXPECT_EQ(1, Script().logons);
    }
    EXPECT_EQ(1, Script().logoffs);
    EXPECT_EQ(0, Script().alive);
    EXPECT_EQ("", Boxes());
}

TEST_F(Session, WithoutAnObjectEachOperationFailsItsOwnWay) {
    Script().create = E_FAIL;
    COutlook outlook;
    EXPECT_EQ(
        (std::vector<HRESULT>{-1, -1, -1, E_FAIL, E_FAIL, E_FAIL, E_FAIL}),
        (std::vector<HRESULT>{outlook.GetItemFromOid(1, nullptr), outlook.CreateItem(1, nullptr),
                              outlook.GetDefaultFolder(9, nullptr), outlook.GetItemFromOidEx(1, nullptr),
                              outlook.SubscribeToNotifications(9, 1),
                              outlook.FindMatchingContact(u"x", 0, nullptr, nullptr),
                              outlook.GetTimeZoneInformationFromIndex(0, nullptr)}));
    EXPECT_EQ(0u, outlook.GetPOOM2Property(u"x", CEVT_UI4, true));
    std::string expected;
    for (int i = 0; i < 8; ++i) expected += "Cannot create the object|\n"; // once an attempt
    EXPECT_EQ(expected, Boxes());
}

TEST_F(Session, AFailedLogonKeepsTheObject) {
    Script().logon = E_FAIL;
    COutlook outlook;
    EXPECT_EQ(0x1001, outlook.CreateItem(1, nullptr));
    EXPECT_EQ(0x1001, outlook.CreateItem(1, nullptr));
    EXPECT_EQ(1, Script().logons);
    const auto boxes = PlatTakeMessageBoxes();
    ASSERT_EQ(1u, boxes.size());
    EXPECT_EQ(u"Cannot logon to the Pocket Outlook Database.", boxes[0].text);
    EXPECT_EQ(0x40010u, boxes[0].flags);
    EXPECT_EQ(nullptr, boxes[0].owner);
}

TEST_F(Session, ADeadSessionIsHealedOnce) {
    const struct {
        int badFolders, made; // as many folders are asked for
        HRESULT result;
    } cases[] = {{0, 1, S_OK}, {1, 2, S_OK}, {2, 2, E_UNEXPECTED}};
    for (const auto& c : cases) {
        Script() = {};
        Script().badFolders = c.badFolders;
        COutlook outlook;
        IFolder* folder = nullptr;
        EXPECT_EQ(c.result, outlook.GetDefaultFolder(olFolderTasks, &folder));
        EXPECT_EQ(c.made, Script().made);
        EXPECT_EQ(c.made - 1, Script().logoffs);
        EXPECT_EQ(c.made, Script().folders);
        EXPECT_EQ(1, Script().alive);
    }
}

TEST_F(Session, ASecondOpenDuringTheFirstReturnsAtOnce) {
    COutlook outlook;
    bool returned = false;
    Script().onLogon = [&] {
        std::thread other([&] { outlook.Open(); });
        other.join();   // for ever, if it waited for the logon
        outlook.Open(); // from a window that ran under a box of the logon
        returned = true;
    };
    outlook.Open();
    EXPECT_TRUE(returned);
    EXPECT_EQ(1, Script().made);
    // The section is free again: another thread may open what is closed.
    outlook.Close();
    Script().onLogon = nullptr;
    std::thread([&] { outlook.Open(); }).join();
    outlook.Open();
    EXPECT_EQ(2, Script().made);
}

TEST_F(Session, OwnerOfTheLogon) {
    const HWND owner = PlainWindow();
    COutlook outlook;
    outlook.SetParentWindow(owner);
    outlook.Open();
    ASSERT_TRUE(owner);
    EXPECT_EQ(owner, Script().owner);
    outlook.Close();
    DestroyWindow(owner);
    outlook.Open();
    EXPECT_EQ(GetForegroundWindow(), Script().owner);
}

TEST_F(Session, NamesOfProperties) {
    const struct {
        bool create;
        CEPROPID answer;
        HRESULT result;
        DWORD told;
        ULONG flags; // also without the type
    } cases[] = {{true, 0x80010013, S_OK, 0x80010013, 0x10013},
                 {false, 0x80010013, S_OK, 0x80010013, 0},
                 {false, 0xFFFF0002, S_OK, 0, 0},
                 {true, 5, E_FAIL, 0, 0x10013}};
    COutlook outlook;
    for (const auto& c : cases) {
        Script().nameId = c.answer;
        Script().names = c.result;
        EXPECT_EQ(c.told, outlook.GetPOOM2Property(u"QN_GTDProject", CEVT_UI4, c.create));
        EXPECT_EQ(c.flags, Script().nameFlags);
    }
}

TEST(ItemTypes, FromTheTopBits) {
    const struct {
        CEOID oid;
        DataType type;
    } cases[] = {{0x3FFFFFFF, kDataNone},
                 {0x40000001, kDataAppointment},
                 {0x80000001, kDataContact},
                 {0xFFFFFFFF, kDataTask}};
    for (const auto& c : cases) EXPECT_EQ(c.type, COutlook::GetQNItemType(c.oid)) << c.oid;
}

// --- Save errors ----------------------------------------------------------------------------------------------------

TEST_F(Session, SaveErrors) {
    g_hResources = LoadLibraryW(u"\\WINDOWS\\QNResources.dll");
    ASSERT_TRUE(g_hResources);
    const struct {
        DWORD code;
        const char* shown; // text|caption
    } cases[] = {
        {0, ""},
        {0x8007000E, ""},
        {0x80040064, "The item lacks a required value.|QN Message\n"},
        {0x80040066, "The item's dates are not valid.|QN Message\n"},
        {0x8004006D, "The item can't be changed.|QN Message\n"},
        {0x8000FFFF, "Pocket Outlook API: Catastrophic failure.|\n"},
        {0x80070057, "Pocket Outlook subsystem returns that data may be corrupted.|\n"},
        {0x80040065, "The item could not be saved. Error code: -2147221403|\n"},
        {5, "The item could not be saved. Error code: 5|\n"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(*c.shown != 0, COutlook::DisplayPIMSaveError(static_cast<HRESULT>(c.code))) << c.code;
        EXPECT_EQ(c.shown, Boxes()) << c.code;
    }
    FreeLibrary(g_hResources);
    g_hResources = nullptr;
    EXPECT_TRUE(COutlook::DisplayPIMSaveError(5));
    EXPECT_EQ("5|\n", Boxes());
}

// --- On the real object model ---------------------------------------------------------------------------------------

class RealSession : public PoomTest {
protected:
    COutlook m_outlook;

    void TearDown() override {
        m_outlook.Close();
        PoomTest::TearDown();
    }
};

TEST_F(RealSession, RecordAndNumberOfAnItem) {
    m_outlook.Open();
    LONG oid = 0;
    for (int i = 0; i < 2; ++i) {
        auto task = NewTask();
        ASSERT_EQ(S_OK, task->Save());
        oid = OidOf(task);
    }
    const auto number = static_cast<WORD>(oid & 0xFFFF);
    CeDb db;
    const CEOID record = COutlook::OpenAndSeekInEDB(&db, u"Tasks Database", number);
    EXPECT_GE(record, 0x00100000u);
    EXPECT_EQ(number, COutlook::GetAutoIDFromEDBID(u"Tasks Database", record));
    EXPECT_EQ(0u, COutlook::OpenAndSeekInEDB(&db, u"Tasks Database", 999));
    EXPECT_EQ(0u, COutlook::OpenAndSeekInEDB(&db, nullptr, number));
    EXPECT_EQ(0u, COutlook::OpenAndSeekInEDB(nullptr, u"Tasks Database", number));
    EXPECT_EQ(0u, COutlook::OpenAndSeekInEDB(&db, u"No Database", number));
    EXPECT_EQ(0, COutlook::GetAutoIDFromEDBID(u"Tasks Database", 0x7FFFFFF));
    EXPECT_EQ(0, COutlook::GetAutoIDFromEDBID(u"No Database", record));
}

TEST_F(RealSession, PropertiesAndNotificationMask) {
    EXPECT_EQ(0u, m_outlook.GetPOOM2Property(u"QN_New", CEVT_UI4, false));
    const DWORD id = m_outlook.GetPOOM2Property(u"QN_New", CEVT_UI4, true);
    EXPECT_NE(0u, id);
    EXPECT_EQ(id, m_outlook.GetPOOM2Property(u"QN_New", CEVT_LPWSTR, false));
    EXPECT_EQ(S_OK, m_outlook.SubscribeToNotifications(olFolderTasks, 0x0F));
    Com<IFolder> folder;
    ASSERT_EQ(0, m_outlook.GetDefaultFolder(olFolderTasks, folder.Out()));
    const auto item = folder.As<IItem>(IID_IItem);
    ASSERT_TRUE(item);
    const CEPROPID mask = PIMPR_FOLDERNOTIFICATIONS;
    CEPROPVAL* values = nullptr;
    ULONG size = 0;
    ASSERT_EQ(S_OK, item->GetProps(&mask, 0, 1, &values, &size, GetProcessHeap()));
    EXPECT_EQ(0x0Fu, values[0].val.ulVal);
    LocalFree(values);
    EXPECT_NE(0, m_outlook.SubscribeToNotifications(12345, 1)); // no such folder
}

TEST_F(RealSession, ExchangePartners) {
    const std::u16string partners = u"Software\\Microsoft\\ActiveSync\\Partners\\";
    const auto set = [&](const WCHAR* partner, const WCHAR* engine) {
        SetToRegistrySZ(HKEY_CURRENT_USER, (partners + partner).c_str(), u"Engine", engine);
    };
    EXPECT_FALSE(IsExchangeSync());
    set(u"{1}", u"{00000000-0000-0000-0000-000000000000}");
    EXPECT_FALSE(IsExchangeSync());
    set(u"{2}", u"{22c7da12-f3fd-4875-8344-7786454f6534}");
    EXPECT_TRUE(IsExchangeSync());
}

// --- Context menus --------------------------------------------------------------------------------------------------

// The object that counts one reference beside one a row.
class Counted final : public IUnknown {
public:
    explicit Counted(ULONG refs) : m_refs(refs) {}
    HRESULT QueryInterface(const IID&, void** object) override { return *object = nullptr, E_NOINTERFACE; }
    ULONG AddRef() override { return ++m_refs; }
    ULONG Release() override { return --m_refs; }
    ULONG m_refs;
};

class Extensions final : public PlatContextMenuProvider {
public:
    HANDLE Extend(IDataObject* data, const WCHAR* className, const WCHAR* extensionClass, HMENU popup,
                  UINT first, UINT last, IUnknown** context) override {
        m_asked += NarrowOf(className) + " " + NarrowOf(extensionClass) + " " + std::to_string(first) + "-" +
                   std::to_string(last) + "\n";
        Read(data);
        AppendMenuW(popup, MF_STRING, first, u"Send");
        AppendMenuW(popup, MF_STRING, first + 1, u"Print");
        *context = &m_object;
        ++m_handles;
        return this;
    }
    void Invoke(HANDLE extensions, HWND owner, UINT command) override {
        EXPECT_EQ(this, extensions);
        m_owner = owner;
        m_command = command;
    }
    void Free(HANDLE extensions) override {
        EXPECT_EQ(this, extensions);
        --m_handles;
    }

    std::string m_asked;
    std::vector<DWORD> m_reference;
    Counted m_object{3};
    int m_handles = 0;
    HWND m_owner = nullptr;
    UINT m_command = 0;

private:
    static std::string NarrowOf(const WCHAR* text) {
        const std::u16string wide = text;
        return {wide.begin(), wide.end()};
    }
    void Read(IDataObject* data) {
        FORMATETC format{static_cast<WORD>(RegisterClipboardFormatW(u"ItemRefArray")), nullptr, 1, -1, 1};
        STGMEDIUM medium{};
        ASSERT_EQ(S_OK, data->GetData(&format, &medium));
        EXPECT_EQ(1u, medium.tymed);
        const auto* words = static_cast<const DWORD*>(medium.hGlobal);
        m_reference.assign(words, words + 3);
        LocalFree(medium.hGlobal);
        const WORD number = format.cfFormat;
        for (const FORMATETC& wrong :
             {FORMATETC{static_cast<WORD>(number ^ 1), nullptr, 1, -1, 1},
              FORMATETC{number, nullptr, 2, -1, 1}, FORMATETC{number, nullptr, 1, 0, 1},
              FORMATETC{number, nullptr, 1, -1, 2}}) {
            format = wrong;
            EXPECT_EQ(static_cast<HRESULT>(0x80040064), data->GetData(&format, &medium));
        }
    }
};

class ContextMenu : public DeviceTest {
protected:
    ContextMenu() { PlatSetContextMenuProvider(&m_extensions); }
    ~ContextMenu() override { PlatSetContextMenuProvider(nullptr); }
    static void Enable() {
        SetToRegistry(HKEY_CURRENT_USER, u"Software\\Norvo\\Quillonary", u"EnableThirdPartyContext", 1);
    }
    Extensions m_extensions;
};

TEST_F(ContextMenu, ThereIsOnlyTheMenuWithoutSettingProviderOrKind) {
    const auto rows = [](DataType kind) { // -1 for no menu
        CPocketOutlookIContext context(kind);
        EXPECT_EQ(nullptr, context.GetMenu());
        context.SetOID(0xC0000001);
        EXPECT_EQ(0, context.GetMenuCount());
        context.InvokeMenu(nullptr, 5500);
        return GetMenuItemCount(context.GetMenu());
    };
    EXPECT_EQ(0, rows(kDataTask));
    Enable();
    EXPECT_EQ(-1, rows(kDataNoteFile));
    EXPECT_EQ("", m_extensions.m_asked);
    EXPECT_EQ(0u, m_extensions.m_command);
    PlatSetContextMenuProvider(nullptr);
    EXPECT_EQ(1, rows(kDataTask)); // the separator
}

TEST_F(ContextMenu, ExtensionsOfEachKind) {
    Enable();
    const struct {
        DataType kind;
        CEOID oid;
        const char* asked;
        int rows;      // with the separator that tasks and appointments get
        bool disabled; // the first of them
    } cases[] = {
        {kDataContact, 0x80000002, "Contacts Main_ContextMenu 5500-5600\n", 2, false},
        {kDataAppointment, 0x40000003, "Calendar Main_ContextMenu 5500-5600\n", 3, true},
        {kDataTask, 0xC0000004, "Tasks Main_ContextMenu 5500-5600\n", 3, true},
    };
    for (const auto& c : cases) {
        m_extensions.m_asked.clear();
        m_extensions.m_object.m_refs = 3;
        HMENU menu = nullptr;
        {
            CPocketOutlookIContext context(c.kind);
            context.SetOID(c.oid);
            menu = context.GetMenu();
            EXPECT_EQ(c.asked, m_extensions.m_asked);
            EXPECT_EQ((std::vector<DWORD>{1, static_cast<DWORD>(c.kind), c.oid}), m_extensions.m_reference);
            EXPECT_EQ(2, context.GetMenuCount());
            EXPECT_EQ(c.rows, GetMenuItemCount(menu));
            EXPECT_EQ(c.disabled, (GetMenuState(menu, 0, MF_BYPOSITION) & MF_GRAYED) != 0);
            EXPECT_EQ(0u, GetMenuState(menu, 1, MF_BYPOSITION) & MF_GRAYED);
            context.InvokeMenu(nullptr, 5501);
            EXPECT_EQ(5501u, m_extensions.m_command);
        }
        EXPECT_EQ(0, m_extensions.m_handles);
        EXPECT_EQ(2u, m_extensions.m_object.m_refs);
        EXPECT_EQ(-1, GetMenuItemCount(menu)); // gone with its owner
    }
}

TEST_F(ContextMenu, AnotherItemTakesThePlaceOfTheFirst) {
    Enable();
    CPocketOutlookIContext context(kDataContact);
    context.SetOID(0x80000001);
    context.SetOID(0x80000002);
    EXPECT_EQ(1, m_extensions.m_handles);
    EXPECT_EQ(0x80000002u, m_extensions.m_reference.at(2));
    DeleteRegistryValue(HKEY_CURRENT_USER, u"Software\\Norvo\\Quillonary", u"EnableThirdPartyContext");
    context.SetOID(0x80000003);
    EXPECT_EQ(0, context.GetMenuCount()); // nothing is left of the extensions of before
    EXPECT_EQ(0, m_extensions.m_handles);
    EXPECT_EQ(0, GetMenuItemCount(context.GetMenu()));
}

} // namespace
