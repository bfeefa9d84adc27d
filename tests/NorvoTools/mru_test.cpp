#include "NorvoTools/CRegistry.h"
#include "NorvoTools/MRU.h"
#include "Platform/windows.h"
#include "tests/support/devicefiles.h"

#include <string>

namespace {

class MruTest : public DeviceFilesTest {
protected:
    static std::string List(bool checkFiles = false) {
        CeStrList<> list(0);
        MRU(nullptr, u"L", 0, MruTarget::List, checkFiles, &list);
        std::string out;
        for (const WCHAR* text : list) {
            for (; *text; ++text) out += static_cast<char>(*text);
            out += '|';
        }
        return out;
    }
};

TEST_F(MruTest, NewestFirstAndOnce) {
    for (const WCHAR* text : {u"a", u"b", u"", u"c", u"a", u"a", u"A"}) MRUSave(u"L", text);
    EXPECT_EQ(List(), "A|a|c|b|"); // compared by case
    MRUSave(u"L", u"c");
    EXPECT_EQ(List(), "c|A|a|b|");
    MRUSave(u"Other", u"x");
    MRUSave(u"L", std::u16string(1000, u'l').c_str());
    EXPECT_EQ(List(), std::string(1000, 'l') + "|c|A|a|b|");
}

TEST_F(MruTest, TheSixteenthDrops) {
    std::string expected;
    for (WCHAR c = u'a'; c <= u'q'; ++c) {
        MRUSave(u"L", std::u16string(1, c).c_str());
        if (c > u'b') expected = std::string(1, static_cast<char>(c)) + "|" + expected;
    }
    EXPECT_EQ(List(), expected); // names 10 to 14 stand behind 9, not behind 1
}

TEST_F(MruTest, FilesThatAreGoneLeaveTheList) {
    Put("here.txt", "x");
    MRUSave(u"L", u"\\here.txt");
    MRUSave(u"L", u"\\gone.txt");
    EXPECT_EQ(List(true), "\\here.txt|");
    EXPECT_EQ(List(false), "\\here.txt|");
}

std::u16string s_lines; // what the control holds

LRESULT ControlProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    const auto* text = reinterpret_cast<const WCHAR*>(lParam);
    switch (message) {
    case 384: // LB_ADDSTRING
        return s_lines += std::u16string(u"list ") + text + u"|", 0;
    case 323: // CB_ADDSTRING
        return s_lines += std::u16string(u"combo ") + text + u"|", 0;
    case 331: // CB_RESETCONTENT
        return s_lines.clear(), 0;
    default:
        return DefWindowProcW(window, message, wParam, lParam);
    }
}

TEST_F(MruTest, ControlsAreFilledAndShown) {
    constexpr int kId = 7;
    WNDCLASSW known = {};
    known.lpfnWndProc = &ControlProc;
    known.lpszClassName = u"MruControl";
    RegisterClassW(&known);
    const HWND dialog =
        CreateWindowExW(0, u"MruControl", u"", 0, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    const HWND child = CreateWindowExW(0, u"MruControl", u"", WS_CHILD, 0, 0, 9, 9, dialog,
                                       reinterpret_cast<HMENU>(LONG_PTR{kId}), nullptr, nullptr);
    const struct {
        HWND window;
        int id;
        MruTarget mode;
        HWND filled;
        const WCHAR* lines; // of lists that held "old" before
    } cases[] = {{dialog, kId, MruTarget::ListBox, child, u"old|list b|list a|"},
                 {dialog, kId, MruTarget::ComboBox, child, u"combo b|combo a|"},
                 {dialog, 99, MruTarget::ListBox, dialog, u"old|list b|list a|"}, // no such child
                 {child, 0, MruTarget::ComboBox, child, u"combo b|combo a|"}};
    const auto fill = [](const auto& c) {
        s_lines = u"old|";
        ShowWindow(c.filled, SW_HIDE);
        MRU(c.window, u"L", c.id, c.mode, false, nullptr);
        return (GetWindowLongW(c.filled, GWL_STYLE) & WS_VISIBLE) != 0;
    };
    for (const auto& c : cases) { // without entries nothing is shown; a combo box is emptied all the same
        EXPECT_FALSE(fill(c));
        EXPECT_EQ(s_lines, c.mode == MruTarget::ComboBox ? u"" : u"old|");
    }
    MRUSave(u"L", u"a");
    MRUSave(u"L", u"b");
    for (const auto& c : cases) {
        EXPECT_TRUE(fill(c));
        EXPECT_EQ(s_lines, c.lines);
    }
    DestroyWindow(dialog);
}

TEST_F(MruTest, MenusGetTheIdentifiersOfTheirPlaces) {
    Put("a.txt", "x");
    Put("c.txt", "x");
    for (const WCHAR* file : {u"\\a.txt", u"\\b.txt", u"\\c.txt"}) MRUSave(u"L", file);
    const HMENU menu = CreatePopupMenu();
    AppendMenuW(menu, 0, 5, u"first");
    MRU(reinterpret_cast<HWND>(menu), u"L", 100, MruTarget::Menu, true, nullptr);
    ASSERT_EQ(GetMenuItemCount(menu), 3); // b.txt is gone, and keeps its place
    WCHAR text[20] = {};
    MENUITEMINFOW info = {};
    info.cbSize = sizeof info;
    info.fMask = MIIM_TYPE;
    info.dwTypeData = text;
    for (const auto& [position, id, file] :
         {std::tuple{1, 100U, u"\\c.txt"}, std::tuple{2, 102U, u"\\a.txt"}}) {
        EXPECT_EQ(GetMenuItemID(menu, position), id);
        info.cch = 20;
        EXPECT_TRUE(GetMenuItemInfoW(menu, static_cast<UINT>(position), TRUE, &info));
        EXPECT_EQ(std::u16string(text), file);
    }
    DestroyMenu(menu);
}

TEST_F(MruTest, StringsReadsTheSecondEntryOnly) {
    WCHAR** strings = nullptr;
    DWORD count = 5;
    MRUStrings(u"L", &strings, &count); // (no array to free yet)
    ASSERT_NE(strings, nullptr);
    EXPECT_EQ(std::u16string(strings[0]), u"");
    EXPECT_EQ(count, 5u); // an empty list leaves it
    count = 0;
    MRUSave(u"L", u"first");
    MRUStrings(u"L", &strings, &count);
    EXPECT_EQ(std::u16string(strings[0]), u""); // there is no "1" yet
    EXPECT_EQ(count, 1u);
    MRUSave(u"L", u"second");
    MRUStrings(u"L", &strings, &count);
    EXPECT_EQ(std::u16string(strings[0]), u"first");
    CleanupMRUStrings(&strings, count);
    EXPECT_EQ(strings, nullptr);
}

} // namespace
