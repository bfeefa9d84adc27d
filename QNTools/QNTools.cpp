#include "QNTools/QNTools.h"

#include "NorvoUI/CeBaseDialog.h"
#include "Platform/gdi.h"
#include "Platform/modules.h"
#include "Platform/notify.h"
#include "Platform/registry.h"
#include "Platform/windows.h"

BYTE g_bInitialised = 0;
DWORD g_nInitCount = 0;

namespace {

constexpr DWORD kHighResolution = 128;   // a screen of this many dots an inch always has soft keys
constexpr DWORD kControlClasses = 0x11F; // list view, tree view, bar, tab, up-down and date classes
constexpr int kWindowColor = 0x40000005;

void InitCom() {
    if (FAILED(CoInitializeEx(nullptr, 0))) ShowError(u"%s", u"Cannot initialize COM");
    DWORD softKeys = 0;
    const bool known = g_HIDPI_LogPixelsX != kHighResolution &&
                       GetFromRegistry(HKEY_CURRENT_USER, kSuiteKey, u"UseSoftKeys", &softKeys) == 0;
    CeBaseDialog::m_bSoftKeys = known ? static_cast<int>(softKeys) : 1;
}

void LoadResources() {
    if (g_hResources) return;
    WCHAR path[kPathValueChars];
    GetResourcesPath(path); // the result may be null, the path stands in the buffer
    g_hResources = LoadLibraryW(path);
    if (!g_hResources) ShowError();
}

// Which sides the mark-up engine takes for left and right: left 2 and right 0 mirror it.
void ReadAlignment() {
    constexpr const WCHAR* kMachineKey = u"\\Software\\Norvo"; // with the leading backslash, as it is stored
    const auto read = [&](const WCHAR* name, DWORD& define) {
        DWORD value = 0;
        if (GetFromRegistry(HKEY_LOCAL_MACHINE, kMachineKey, name, &value) == 0 && (value == 0 || value == 2))
            define = value;
    };
    read(u"QNGridLeft", g_dwLeftDefine);
    read(u"QNGridRight", g_dwRightDefine);
}

void InitControls() {
    INITCOMMONCONTROLSEX classes{sizeof(INITCOMMONCONTROLSEX), kControlClasses};
    InitCommonControlsEx(&classes);
    // The shell's own controls, where there is such a shell: its entry number 9.
    const HINSTANCE shell = LoadLibraryW(u"AYGSHELL.dll");
    if (!shell) return;
    if (const FARPROC init = GetProcAddressW(shell, MAKEINTRESOURCEW(9))) init();
    FreeLibrary(shell);
}

} // namespace

void InitQNTools(COutlook* pOutlook, bool bInitCOM) {
    if (g_bInitialised) return;
    if (bInitCOM) InitCom();
    InitNorvoDirectory();
    GetFullCategoryInfo(g_FullCategoryList, true);
    HIDPI_InitScaling();
    LoadResources();
    ReadAlignment();
    if (!g_hWindowBrush) g_hWindowBrush = GetSysColorBrush(kWindowColor);
    if (!g_hBoldFont) g_hBoldFont = CreateFontPoint(u"Tahoma", 9, FW_BOLD, 0, 0, 0, 0);
    g_pOutlook = pOutlook ? pOutlook : new COutlook;
    InitControls();
    InitLabelColors(true);
    PlatStartNotificationPump(); // what came due while nothing ran is delivered now
    g_bInitialised = 1;
    ++g_nInitCount;
}

void UnInitQNTools() {
    if (!g_bInitialised) return;
    if (g_nInitCount-- != 1) return;
    PlatStopNotificationPump();
    delete g_pOutlook; // also one that the application handed in: it is the library's since then
    g_pOutlook = nullptr;
    g_hWindowBrush = nullptr; // the system's
    if (g_hBoldFont) DeleteObject(g_hBoldFont);
    g_hBoldFont = nullptr;
    for (HINSTANCE* module : {&g_hResources, &g_hInkLibrary}) {
        if (*module) FreeLibrary(*module);
        *module = nullptr;
    }
    FreeNorvoDirectory();
    g_bInitialised = 0;
}

DWORD GetLeftDefine() { return g_dwLeftDefine; }

HINSTANCE CeGetAppInstance() { return GetModuleHandleW(nullptr); }

HWND CeGetAppWindow() {
    HWND top = nullptr;
    for (HWND window = GetActiveWindow(); window; window = GetParent(window)) top = window;
    return top;
}
