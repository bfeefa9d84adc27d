// Menus as data, chosen from by script; message boxes.
#include "Platform/testing.h"
#include "Platform/threads.h"
#include "Platform/windows.h"
#include "tests/support/device.h"

namespace {

class Menus : public DeviceTest {
protected:
    // One row a line: depth as blanks, marks, id, text.
    static std::string Dump(HMENU menu) {
        PlatTakeMenus();
        TrackPopupMenuEx(menu, TPM_RETURNCMD, 0, 0, nullptr, nullptr);
        const auto shown = PlatTakeMenus();
        std::string lines;
        for (const auto& row : shown.at(0).rows) {
            lines += std::string(static_cast<std::size_t>(row.depth), ' ');
            if (row.flags & MF_CHECKED) lines += row.flags & MFT_RADIOCHECK ? '*' : '+';
            if (row.flags & MF_GRAYED) lines += '-';
            if (row.flags & MF_SEPARATOR)
                lines += "---";
            else
                lines += std::to_string(row.id) + " " + std::string(row.text.begin(), row.text.end());
            lines += '\n';
        }
        return lines;
    }
    Menus() {
        AppendMenuW(m_sub, MF_STRING, 20, u"Small");
        AppendMenuW(m_sub, MF_STRING, 21, u"Medium");
        AppendMenuW(m_sub, MF_STRING, 22, u"Large");
        AppendMenuW(m_menu, MF_STRING, 10, u"New");
        AppendMenuW(m_menu, MF_SEPARATOR, 0, nullptr);
        AppendMenuW(m_menu, MF_POPUP, reinterpret_cast<ULONG_PTR>(m_sub), u"Size");
        AppendMenuW(m_menu, MF_STRING | MF_GRAYED, 11, u"Delete");
    }
    ~Menus() override { DestroyMenu(m_menu); }

    HMENU m_sub = CreatePopupMenu();
    HMENU m_menu = CreatePopupMenu();
};

TEST_F(Menus, RowsAreInsertedByCommandAndPlace) {
    EXPECT_TRUE(InsertMenuW(m_menu, 22, MF_BYCOMMAND, 23, u"Wide")); // found in the sub-menu
    EXPECT_TRUE(InsertMenuW(m_menu, 0, MF_BYPOSITION, 9, u"Open"));
    EXPECT_TRUE(InsertMenuW(m_menu, 99, MF_BYPOSITION | MF_CHECKED, 12, u"Last"));
    EXPECT_EQ(
        Dump(m_menu),
        "9 Open\n10 New\n---\n0 Size\n 20 Small\n 21 Medium\n 23 Wide\n 22 Large\n-11 Delete\n+12 Last\n");
    EXPECT_EQ(GetMenuItemCount(m_menu), 6);
    EXPECT_EQ(GetMenuItemID(m_menu, 0), 9u);
    EXPECT_EQ(GetMenuItemID(m_menu, 3), 0xFFFFFFFFu);
    EXPECT_EQ(GetSubMenu(m_menu, 3), m_sub);
    EXPECT_EQ(GetSubMenu(m_menu, 0), nullptr);
    EXPECT_EQ(GetMenuItemCount(nullptr), -1);
}

TEST_F(Menus, StatesChangeAndTellTheFormerOne) {
    EXPECT_EQ(CheckMenuItem(m_menu, 21, MF_CHECKED), MF_UNCHECKED);
    EXPECT_EQ(CheckMenuItem(m_menu, 21, MF_CHECKED), MF_CHECKED);
    EXPECT_EQ(EnableMenuItem(m_menu, 3, MF_BYPOSITION | MF_ENABLED), MF_GRAYED);
    EXPECT_EQ(EnableMenuItem(m_menu, 99, MF_GRAYED), 0xFFFFFFFFu);
    EXPECT_EQ(GetMenuState(m_menu, 21, MF_BYCOMMAND), MF_CHECKED);
    EXPECT_EQ(GetMenuState(m_menu, 2, MF_BYPOSITION), MF_POPUP | 3u << 8);
    EXPECT_TRUE(CheckMenuRadioItem(m_menu, 20, 22, 22, MF_BYCOMMAND));
    EXPECT_EQ(Dump(m_menu), "10 New\n---\n0 Size\n 20 Small\n 21 Medium\n *22 Large\n11 Delete\n");
}

TEST_F(Menus, ItemInfo) {
    WCHAR text[4];
    MENUITEMINFOW info{};
    info.cbSize = sizeof info;
    info.fMask = MIIM_STATE | MIIM_ID | MIIM_SUBMENU | MIIM_TYPE;
    info.dwTypeData = text;
    info.cch = 4;
    EXPECT_TRUE(GetMenuItemInfoW(m_menu, 11, FALSE, &info));
    EXPECT_EQ(info.fState, MF_GRAYED);
    EXPECT_EQ(info.wID, 11u);
    EXPECT_EQ(info.hSubMenu, nullptr);
    EXPECT_EQ(std::u16string(text), u"Del");
    EXPECT_EQ(info.cch, 6u);
    EXPECT_FALSE(GetMenuItemInfoW(m_menu, 99, FALSE, &info));
    info.cbSize = 44;
    EXPECT_FALSE(GetMenuItemInfoW(m_menu, 11, FALSE, &info));
}

TEST_F(Menus, RemovedSubMenusLiveDeletedOnesDont) {
    EXPECT_TRUE(RemoveMenu(m_menu, 2, MF_BYPOSITION));
    EXPECT_EQ(GetMenuItemCount(m_sub), 3);
    EXPECT_TRUE(AppendMenuW(m_menu, MF_POPUP, reinterpret_cast<ULONG_PTR>(m_sub), u"Size"));
    EXPECT_TRUE(DeleteMenu(m_menu, 3, MF_BYPOSITION));
    EXPECT_EQ(GetMenuItemCount(m_sub), -1);
    EXPECT_FALSE(DeleteMenu(m_menu, 20, MF_BYCOMMAND));
}

TEST_F(Menus, AMenuNeverStandsInItself) {
    EXPECT_FALSE(AppendMenuW(m_menu, MF_POPUP, reinterpret_cast<ULONG_PTR>(m_menu), u"Again"));
    EXPECT_FALSE(AppendMenuW(m_sub, MF_POPUP, reinterpret_cast<ULONG_PTR>(m_menu), u"Again"));
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST_F(Menus, ChosenByScriptAmongWhatCanBeChosen) {
    EnableMenuItem(m_menu, 22, MF_GRAYED);
    const std::pair<UINT, BOOL> answers[] = {{21, 21}, {10, 10}, {11, 0}, {22, 0}, {99, 0}};
    for (const auto& [answer, chosen] : answers) {
        PlatAnswerMenu(answer);
        EXPECT_EQ(TrackPopupMenuEx(m_menu, TPM_RETURNCMD, 0, 0, nullptr, nullptr), chosen) << answer;
    }
    EXPECT_EQ(TrackPopupMenuEx(m_menu, TPM_RETURNCMD, 0, 0, nullptr, nullptr), 0); // nobody there
    EnableMenuItem(m_menu, 2, MF_BYPOSITION | MF_GRAYED);
    PlatAnswerMenu(21);
    EXPECT_EQ(TrackPopupMenuEx(m_menu, TPM_RETURNCMD, 0, 0, nullptr, nullptr),
              0); // its sub-menu does not open
    EXPECT_FALSE(TrackPopupMenuEx(nullptr, TPM_RETURNCMD, 0, 0, nullptr, nullptr));
}

int g_popups = 0;
LRESULT MenuOwner(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITMENUPOPUP) ++g_popups;
    return DefWindowProcW(window, message, wParam, lParam);
}

TEST_F(Menus, TheOwnerIsAskedBeforeAndToldAfter) {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &MenuOwner;
    windowClass.lpszClassName = u"QN test menu owner";
    ASSERT_NE(RegisterClassW(&windowClass), 0);
    const HWND owner =
        CreateWindowExW(0, u"QN test menu owner", nullptr, 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, nullptr);
    g_popups = 0;
    PlatAnswerMenu(20);
    EXPECT_TRUE(TrackPopupMenuEx(m_menu, 0, 0, 0, owner, nullptr));
    EXPECT_EQ(g_popups, 1);
    MSG message;
    ASSERT_TRUE(PeekMessageW(&message, owner, 0, 0, PM_REMOVE));
    EXPECT_EQ(message.message, WM_COMMAND);
    EXPECT_EQ(message.wParam, 20u);
    DestroyWindow(owner);
    EXPECT_TRUE(UnregisterClassW(u"QN test menu owner", nullptr));
}

// --- Message boxes ------------------------------------------------------------------------------------------------

TEST_F(Menus, BoxesAnswerByScriptThenByTheirFirstButton) {
    const std::pair<UINT, int> kinds[] = {
        {MB_OK, IDOK},           {MB_OKCANCEL, IDOK}, {MB_ABORTRETRYIGNORE, IDABORT},
        {MB_YESNOCANCEL, IDYES}, {MB_YESNO, IDYES},   {MB_RETRYCANCEL, IDRETRY},
        {0x40010, IDOK}};
    for (const auto& [kind, answer] : kinds)
        EXPECT_EQ(MessageBoxW(nullptr, u"text", nullptr, kind), answer) << kind;
    PlatAnswerMessageBox(IDNO);
    PlatAnswerMessageBox(IDCANCEL);
    EXPECT_EQ(MessageBoxW(nullptr, u"Really?", u"QN Message", MB_YESNO | MB_ICONQUESTION), IDNO);
    EXPECT_EQ(MessageBoxW(nullptr, nullptr, nullptr, MB_OKCANCEL), IDCANCEL);
    const auto boxes = PlatTakeMessageBoxes();
    ASSERT_EQ(boxes.size(), 9u);
    EXPECT_EQ(boxes[7].text, u"Really?");
    EXPECT_EQ(boxes[7].caption, u"QN Message");
    EXPECT_EQ(boxes[7].flags, MB_YESNO | MB_ICONQUESTION);
    EXPECT_TRUE(PlatTakeMessageBoxes().empty());
}

struct Presenter final : PlatPromptProvider {
    int ShowMessageBox(HWND, LPCWSTR text, LPCWSTR, UINT) override {
        return text[0] == u'c' ? IDCANCEL : IDOK;
    }
    UINT PickFromMenu(HWND, HMENU menu, int, int) override { return GetMenuItemID(menu, 0); }
    BOOL Beep(UINT) override { return FALSE; }
};

TEST_F(Menus, AProviderTakesOver) {
    Presenter presenter;
    EXPECT_EQ(PlatSetPromptProvider(&presenter), nullptr);
    EXPECT_EQ(MessageBoxW(nullptr, u"cancel", u"", MB_OKCANCEL), IDCANCEL);
    EXPECT_EQ(TrackPopupMenuEx(m_menu, TPM_RETURNCMD, 0, 0, nullptr, nullptr), 10);
    EXPECT_FALSE(MessageBeep(0));
    PlatAnswerMessageBox(IDYES);
    EXPECT_EQ(MessageBoxW(nullptr, u"cancel", u"", MB_YESNO), IDYES); // the script goes first
    EXPECT_EQ(PlatSetPromptProvider(nullptr), &presenter);
    EXPECT_TRUE(MessageBeep(0));
}

} // namespace
