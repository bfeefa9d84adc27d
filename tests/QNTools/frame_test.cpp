// Bringing the library up and down, and what is settled on the way.
#include "NorvoUI/CeBaseDialog.h"
#include "Platform/com.h"
#include "Platform/poom.h"
#include "Platform/gdi.h"
#include "Platform/modules.h"
#include "QNTools/QNTools.h"
#include "tests/support/devicefiles.h"
#include "tests/support/plainwindow.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr const WCHAR* kMachineKey = u"\\Software\\Norvo";
constexpr const WCHAR* kBuiltIn = u"\\Program Files\\Norvo\\Quillonary";

// --- Attach, before main --------------------------------------------------------------------------------------------

// The library attaches while static objects are made, so its device folder is chosen earlier still.
__attribute__((constructor(101))) void ChooseDeviceOfTheAttach() {
    static char pattern[] = "/tmp/qnattach-XXXXXX";
    setenv("QN_DEVICE", mkdtemp(pattern), 1);
    // Registered first, so it runs last: the detach still finds the folder.
    std::atexit([] {
        std::error_code ignored;
        std::filesystem::remove_all(pattern, ignored);
    });
}

// What the attach has left, seen before the first test.
struct Attached : ::testing::Environment {
    void SetUp() override {
        WCHAR stored[kPathValueChars] = {}; // written back
        GetFromRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, u"Norvo_Folder", stored, kPathValueChars);
        EXPECT_EQ(kBuiltIn, std::u16string(stored));
        EXPECT_EQ(kBuiltIn, std::u16string(g_szNorvoDirectory ? g_szNorvoDirectory : u""));
        EXPECT_EQ(0, g_bInitialised); // the directory, and nothing else
        EXPECT_NE(nullptr, g_hInstance);
        EXPECT_EQ(g_hInstance, GetModuleHandleW(u"QNTools.dll"));
    }
};
[[maybe_unused]] const auto* const g_attached = ::testing::AddGlobalTestEnvironment(new Attached);

// --- Up and down ----------------------------------------------------------------------------------------------------

class Frame : public DeviceFilesTest {
protected:
    Frame() {
        Down();
        FreeNorvoDirectory(); // that of the attach
        PlatTakeMessageBoxes();
    }
    ~Frame() override {
        Down();
        FreeNorvoDirectory();
        CeBaseDialog::m_bSoftKeys = 1;
        g_dwLeftDefine = 0;
        g_dwRightDefine = 2;
        ForgetMetrics();
    }
    static void Down() { UnInitQNTools(); }
    static void ForgetMetrics() {
        g_HIDPI_LogPixelsX = g_HIDPI_LogPixelsY = g_HIDPI_IconPixels = g_HIDPI_BorderPixels = 0;
        g_HIDPI_IconPixels_Special = g_bSquareScreen = g_HIDPI_QNFontScale = 0;
    }
    static std::u16string Boxes() {
        std::u16string all;
        for (const auto& box : PlatTakeMessageBoxes()) all += box.text + u"|";
        return all;
    }
    static void SetScreen(int width, int height, int dots) {
        PlatSetScreen({width, height, dots});
        ForgetMetrics();
    }
};

// A session of the application's own, which tells of its end.
class OwnSession final : public COutlook {
public:
    explicit OwnSession(int& ended) : m_ended(ended) {}
    ~OwnSession() override { ++m_ended; }

private:
    int& m_ended;
};

TEST_F(Frame, UpTwiceIsDownAfterOnce) {
    int ended = 0;
    auto* const session = new OwnSession(ended);
    InitQNTools(session, true);
    InitQNTools(nullptr, true); // does nothing at all
    EXPECT_EQ(session, GetOutlookObject());
    EXPECT_EQ(1u, g_nInitCount);
    EXPECT_TRUE(g_bInitialised && g_hResources && g_hBoldFont && g_hWindowBrush && g_szNorvoDirectory);
    EXPECT_EQ(0, ended);
    UnInitQNTools();
    EXPECT_EQ(1, ended); // a given session is the library's
    EXPECT_EQ(nullptr, GetOutlookObject());
    EXPECT_FALSE(g_bInitialised || g_hResources || g_hBoldFont || g_hWindowBrush || g_szNorvoDirectory);
    UnInitQNTools();
    EXPECT_EQ(0u, g_nInitCount);
    InitQNTools(nullptr, false);
    EXPECT_TRUE(g_bInitialised && g_hResources && g_szNorvoDirectory);
    EXPECT_EQ(u"", Boxes());
}

// The detach takes the library down when the application has forgotten it.
TEST_F(Frame, TheEndOfTheProcessTakesItDown) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a process of its own, attached anew
    struct Telling final : COutlook {
        ~Telling() override { std::fputs("session ended", stderr); }
    };
    const auto forget = [this] {
        PlatSetDeviceFolder(""); // that of the attach, which goes when the process has ended
        std::filesystem::remove_all(m_folder);
        InitQNTools(new Telling, true);
        std::exit(0);
    };
    EXPECT_EXIT(forget(), testing::ExitedWithCode(0), "session ended");
}

TEST_F(Frame, BringingItUpDoesNotLogOn) {
    static int logons;
    logons = 0;
    PlatRegisterClassObject(CLSID_Application, IID_IPOutlookApp2,
                            [](void**) -> HRESULT { return ++logons, E_FAIL; });
    InitQNTools(nullptr, true);
    EXPECT_EQ(0, logons);
    UnInitQNTools();
    EXPECT_EQ(0, logons);
}

// --- Resources --------------------------------------------------------------------------------------------------------

TEST_F(Frame, MissingResourcesAreToldAndDoNotStopTheStart) {
    SetToRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, u"ResourcesLoc", u"\\WINDOWS\\NoSuch.dll");
    InitQNTools(nullptr, true);
    EXPECT_EQ(1, g_bInitialised);
    EXPECT_EQ(nullptr, g_hResources);
    const auto boxes = PlatTakeMessageBoxes();
    ASSERT_EQ(1u, boxes.size());
    EXPECT_EQ(0x40010u, boxes[0].flags);
    const std::string told(boxes[0].text.begin(), boxes[0].text.begin() + 10);
    EXPECT_NE(std::string::npos, Get("QN8_ERROR_LOG.txt").find(": " + told));
    CShowError(40442, g_hResources, 0x40010); // later texts yield nothing
    EXPECT_EQ(u"", Boxes());
}

// --- Settings -------------------------------------------------------------------------------------------------------

TEST_F(Frame, Alignment) {
    const struct {
        int left; // -1: no value
        int right;
        DWORD leftDefine;
        DWORD rightDefine;
    } cases[] = {{-1, -1, 0, 2}, {2, 0, 2, 0}, {1, 3, 0, 2}};
    for (const auto& c : cases) {
        Down();
        g_dwLeftDefine = 0;
        g_dwRightDefine = 2;
        for (const auto& [name, value] :
             {std::pair{u"QNGridLeft", c.left}, std::pair{u"QNGridRight", c.right}}) {
            DeleteRegistryValue(HKEY_LOCAL_MACHINE, kMachineKey, name);
            if (value >= 0) SetToRegistry(HKEY_LOCAL_MACHINE, kMachineKey, name, static_cast<DWORD>(value));
        }
        InitQNTools(nullptr, false);
        EXPECT_EQ(c.leftDefine, GetLeftDefine()) << c.left;
        EXPECT_EQ(c.rightDefine, g_dwRightDefine) << c.right;
    }
}

TEST_F(Frame, SoftKeys) {
    const struct {
        const char* what;
        bool com;
        int setting; // -1: no value
        DWORD dots;  // as the metrics stand before the start
        int softKeys;
    } cases[] = {
        {"no setting", true, -1, 0, 1},
        {"any number", true, 5, 0, 5},
        {"a screen of 128 dots has them", true, 0, 128, 1},
        {"other screens go by the setting", true, 0, 96, 0},
        {"without COM nobody looks", false, 0, 0, 77},
    };
    for (const auto& c : cases) {
        Down();
        CeBaseDialog::m_bSoftKeys = 77;
        ForgetMetrics();
        g_HIDPI_LogPixelsX = c.dots;
        DeleteRegistryValue(HKEY_CURRENT_USER, kSuiteKey, u"UseSoftKeys");
        if (c.setting >= 0)
            SetToRegistry(HKEY_CURRENT_USER, kSuiteKey, u"UseSoftKeys", static_cast<DWORD>(c.setting));
        InitQNTools(nullptr, c.com);
        EXPECT_EQ(c.softKeys, CeBaseDialog::m_bSoftKeys) << c.what;
    }
}

TEST_F(Frame, LabelColors) {
    InitQNTools(nullptr, false);
    EXPECT_EQ(8444410u, crTabSelColor1);
    EXPECT_EQ(GetSysColor(13), crTabColor1);
    const WCHAR* key = u"Software\\Norvo\\Quillonary\\Colors";
    SetToRegistry(HKEY_CURRENT_USER, key, u"crTabBorder", 0x00010203);
    SetToRegistrySZ(HKEY_CURRENT_USER, key, u"crTabSelColor2", u"no number");
    InitLabelColors(false); // some are set
    EXPECT_EQ(10248507u, crTabBorder);
    InitLabelColors(true);
    EXPECT_EQ(0x00010203u, crTabBorder);
    EXPECT_EQ(6342645u, crTabSelColor2);
    SetToRegistry(HKEY_CURRENT_USER, key, u"crTabBorder", 0x00040506);
    crTabSelColor1 = crTopBarColor = crTabColor1 = 0;
    InitLabelColors(false);
    EXPECT_EQ(0x00040506u, crTabBorder);
}

// --- Metrics and fonts ----------------------------------------------------------------------------------------------

TEST_F(Frame, Metrics) {
    const struct {
        int width, height, dots;
        std::vector<DWORD> metrics; // dots, icon, special icon, border, font scale, square
    } cases[] = {
        {240, 320, 96, {96, 16, 13, 1, 1333, 0}},
        {480, 480, 192, {192, 32, 24, 2, 2666, 1}},
        {320, 320, 128, {128, 21, 21, 1, 1777, 1}},
    };
    for (const auto& c : cases) {
        SetScreen(c.width, c.height, c.dots);
        HIDPI_InitScaling();
        PlatSetScreen({240, 320, 72});
        HIDPI_InitScaling(); // once only
        EXPECT_EQ(c.metrics,
                  (std::vector<DWORD>{g_HIDPI_LogPixelsX, g_HIDPI_IconPixels, g_HIDPI_IconPixels_Special,
                                      g_HIDPI_BorderPixels, g_HIDPI_QNFontScale, g_bSquareScreen}));
        EXPECT_EQ(g_HIDPI_LogPixelsX, g_HIDPI_LogPixelsY);
    }
}

std::string Described(HFONT font) {
    LOGFONTW made{};
    EXPECT_NE(0, GetObjectW(font, sizeof made, &made));
    const std::u16string face = made.lfFaceName;
    std::string text(face.begin(), face.end());
    for (const LONG value : {made.lfHeight, made.lfWeight, LONG{made.lfItalic}, LONG{made.lfUnderline},
                             LONG{made.lfQuality}, made.lfEscapement, LONG{made.lfCharSet}})
        text += " " + std::to_string(value);
    return text;
}

TEST_F(Frame, FontsByPoints) {
    const struct {
        int dots, points, height;
    } cases[] = {{96, 9, -12}, {96, 8, -10}, {128, 9, -16}, {192, 9, -24}, {96, 0, 0}};
    for (const auto& c : cases) {
        SetScreen(240, 320, c.dots);
        HIDPI_InitScaling();
        const HFONT font = CreateFontPoint(u"A face name that is longer than thirty-one characters", c.points,
                                           700, 1, 1, 5, 900);
        EXPECT_EQ("A face name that is longer than " + std::to_string(c.height) + " 700 1 1 5 900 255",
                  Described(font));
        DeleteObject(font);
    }
    SetScreen(240, 320, 96);
    InitQNTools(nullptr, false);
    EXPECT_EQ("Tahoma -12 700", Described(g_hBoldFont).substr(0, 14));
}

// --- Failures told --------------------------------------------------------------------------------------------------

TEST_F(Frame, ErrorsFromTheResources) {
    InitQNTools(nullptr, false);
    PlatAnswerMessageBox(IDCANCEL);
    EXPECT_EQ(IDCANCEL, CShowError(40442, g_hResources, 0x40010).m_nResult);
    CShowError(9, g_hResources, 0x40010);
    const auto boxes = PlatTakeMessageBoxes();
    ASSERT_EQ(2u, boxes.size());
    EXPECT_EQ(u"The item lacks a required value.", boxes[0].text);
    EXPECT_EQ(u"QN Message", boxes[0].caption);
    EXPECT_EQ(0x40010u, boxes[0].flags);
    EXPECT_EQ(u"Resource Error text was not found. \r\rResource 9 not loaded.", boxes[1].text);
}

// --- Windows of the application -------------------------------------------------------------------------------------

TEST_F(Frame, TopWindowOfTheApplication) {
    EXPECT_EQ(nullptr, CeGetAppWindow());
    const HWND top = PlainWindow(nullptr, WS_VISIBLE);
    SetActiveWindow(top);
    EXPECT_EQ(top, CeGetAppWindow());
    const HWND prompt = PlainWindow(top, WS_VISIBLE | WS_POPUP);
    SetActiveWindow(prompt);
    EXPECT_EQ(prompt, GetActiveWindow());
    EXPECT_EQ(top, CeGetAppWindow());
    DestroyWindow(top);
}

} // namespace
