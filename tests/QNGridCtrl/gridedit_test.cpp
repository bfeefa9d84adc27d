// The text field over a cell.
#include "tests/support/gridlog.h"

using namespace qntest;

namespace {

class GridEdit : public InputTest {
protected:
    GridEdit() {
        Make(6, 2);
        for (WORD row = 0; row < 6; ++row) Text(1, row, u"no <EDITABLE>yes</EDITABLE> no");
    }
    bool Open(WORD row = 2) { return grid->EnableCellEdit(1, row, false); }
    HWND Editor() const { return GetWindow(grid->GetHWnd(), GW_CHILD); }
    std::u16string Content() const {
        WCHAR text[100];
        GetWindowTextW(Editor(), text, 100);
        return text;
    }
    void Type(LPCWSTR text) {
        PlatText(text);
        Pump();
    }
};

TEST_F(GridEdit, TakesTheEditableText) {
    ASSERT_TRUE(Open());
    EXPECT_EQ(Log(), "edit? 1,2; ");
    EXPECT_TRUE(grid->GetEditMode());
    EXPECT_EQ(Selected(), "1,2");
    EXPECT_EQ(Content(), u"yes");
    EXPECT_EQ(GetFocus(), Editor());
    EXPECT_EQ(GetCapture(), Editor());
    RECT cell{}, field{};
    grid->GetCellRect(1, 2, cell);
    GetWindowRect(Editor(), &field);
    EXPECT_EQ(field.left, cell.left + 1);
    EXPECT_EQ(field.top, cell.top - 1);
    EXPECT_EQ(field.right - field.left, cell.right - cell.left - 3);
    EXPECT_EQ(field.bottom - field.top, 22);
    Type(u"new"); // all was selected
    EXPECT_EQ(Content(), u"new");
}

TEST_F(GridEdit, EndsInManyWays) {
    const struct {
        const char *script, *result;
    } cases[] = {{"Enter", "edited 1,2 new 3; =1,2"},
                 {"Esc", "=1,2"},
                 {"d20,110 u20,110", "edited 1,2 new 3; =1,2"}, // outside
                 {"!", "edited 1,2 new 3; =1,2"},
                 {"=0,0", "edited 1,2 new 3; =0,0"},
                 {"", "edited 1,2 new 3; =1,2"}}; // another window has the focus
    for (const auto& c : cases) {
        SCOPED_TRACE(c.script);
        ASSERT_TRUE(Open());
        Type(u"new");
        Log();
        const HWND focus = *c.script ? grid->GetHWnd() : owner->GetHWnd();
        if (!*c.script) SetFocus(focus);
        EXPECT_EQ(Play(c.script), c.result);
        EXPECT_EQ(Editor(), nullptr);
        EXPECT_EQ(GetCapture(), nullptr);
        EXPECT_EQ(GetFocus(), focus);
        grid->SetFocus();
    }
}

TEST_F(GridEdit, EnterCountsOnlyWhenItWentDownThere) {
    Play("=1,2 F2");
    ASSERT_TRUE(grid->GetEditMode());
    SendMessageW(Editor(), WM_KEYUP, VK_RETURN, 1);
    EXPECT_TRUE(grid->GetEditMode());
    PlatKey(VK_RETURN, true);
    Pump();
    EXPECT_EQ(Content().find(u'\n'), std::u16string::npos);
    EXPECT_TRUE(grid->GetEditMode());
    PlatKey(VK_RETURN, false);
    Pump();
    EXPECT_FALSE(grid->GetEditMode());
}

// A press that ends it finds the grid as the owner has made it.
TEST_F(GridEdit, WhatWasEditedMayChangeTheGrid) {
    ASSERT_TRUE(Open());
    owner->onEdited = [this] { grid->DeleteRows(3, 3); };
    SendMessageW(grid->GetHWnd(), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(10, 110)); // on row 5
    EXPECT_EQ(Play(""), "edit? 1,2; edited 1,2 yes 3; click nowhere; =none");
    ASSERT_TRUE(Open(1));
    owner->onEdited = [this] { grid.reset(); };
    Key(VK_RETURN);
    EXPECT_FALSE(grid.has_value());
}

TEST_F(GridEdit, MayBeRefusedOrOverTaken) {
    owner->answers[GRIDM_EDIT_BEGIN] = 0;
    EXPECT_FALSE(Open());
    EXPECT_FALSE(grid->EnableCellEdit(5, 0, false));
    EXPECT_EQ(Editor(), nullptr);
    owner->answers[GRIDM_EDIT_BEGIN] = 1;
    const std::u16string large = u"<EDITABLE>" + std::u16string(5000, u'x') + u"</EDITABLE>";
    Text(1, 0, large.c_str());
    Log();
    ASSERT_TRUE(Open(0));
    EXPECT_EQ(GetWindowTextLengthW(Editor()), 4095);
    SetWindowTextW(Editor(), large.c_str());
    Key(VK_RETURN);
    EXPECT_NE(Log().find(" 5021; "), std::string::npos) << "nothing is cut on the way back";
    Text(1, 0, u"");
    grid->SetMultiSelect(true);
    grid->SetSelection(0, 2, 1, 3);
    ASSERT_TRUE(grid->EnableCellEdit(1, 2, true));
    RECT field{};
    GetWindowRect(Editor(), &field);
    EXPECT_EQ(field.right - field.left, 197);
    EXPECT_EQ(field.bottom - field.top, 42);
    grid.reset(); // with the field open
}

} // namespace
