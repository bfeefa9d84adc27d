// Text fields, worked by keys and pointer. A script is what is typed, with keys in <>: "ab<S-Left>" (S Shift, C Ctrl). A
// field's state is its text with | for the caret or [ ] round the selection.
#include "Platform/edit.h"
#include "tests/support/keys.h"
#include "tests/support/narrow.h"
#include "tests/support/windows.h"

#include <random>
#include <string_view>
#include <vector>

using namespace qntest;
using enum PlatPointerAction;

namespace {

using Text = std::u16string;

class EditTest : public WindowTest {
protected:
    EditTest() {
        PlatUseFixedWidthText(true); // 6 pixels a unit
        LOGFONTW font{};
        font.lfHeight = 10;
        m_font = CreateFontIndirectW(&font);
        m_parent = Make('P', {0, 0, 240, 320}, nullptr, WS_CLIPCHILDREN);
        s_handler = [this](HWND, UINT message, WPARAM wParam, LPARAM) {
            if (message != WM_COMMAND) return false;
            EXPECT_EQ(LOWORD(wParam), 7);
            m_codes.push_back(HIWORD(wParam));
            if (m_onCommand) m_onCommand(HIWORD(wParam));
            return true;
        };
    }
    ~EditTest() override {
        DestroyWindow(m_parent);
        DeleteObject(m_font);
    }

    // Ten units fit in a row of the width given here.
    HWND Field(DWORD style, const Text& text = u"", int height = 34) {
        if (m_field) DestroyWindow(m_field);
        m_field =
            CreateWindowExW(0, u"EDIT", text.c_str(), WS_CHILD | WS_VISIBLE | style, 10, 10,
                            style & WS_VSCROLL ? 65 + GetSystemMetrics(SM_CXVSCROLL) : 65, height, m_parent,
                            reinterpret_cast<HMENU>(static_cast<LONG_PTR>(7)), nullptr, nullptr);
        SendMessageW(m_field, WM_SETFONT, reinterpret_cast<WPARAM>(m_font), 0);
        SetFocus(m_field);
        m_codes.clear();
        return m_field;
    }
    LRESULT Send(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) {
        return SendMessageW(m_field, message, wParam, lParam);
    }
    void SetText(const Text& text) { Send(WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str())); }
    void Put(const Text& text, bool undo = true) {
        Send(EM_REPLACESEL, undo, reinterpret_cast<LPARAM>(text.c_str()));
    }

    static void Press(std::u16string_view name, int times = 1) {
        for (; times > 0; --times) PressKey({name.begin(), name.end()});
        Pump();
    }
    void Play(std::u16string_view script) {
        while (!script.empty()) {
            const std::size_t close = script[0] == u'<' ? script.find(u'>') : script.find(u'<');
            if (script[0] == u'<')
                Press(script.substr(1, close - 1));
            else
                PlatText(Text(script.substr(0, close)).c_str());
            Pump();
            script = close == script.npos ? u"" : script.substr(close + (script[0] == u'<' ? 1 : 0));
        }
    }
    Text Content() {
        Text text(static_cast<std::size_t>(GetWindowTextLengthW(m_field)), 0);
        GetWindowTextW(m_field, text.data(), static_cast<int>(text.size()) + 1);
        return text;
    }
    Text State() {
        DWORD start = 0, end = 0;
        Send(EM_GETSEL, reinterpret_cast<WPARAM>(&start), reinterpret_cast<LPARAM>(&end));
        Text text = Content();
        if (start == end) return text.insert(start, u"|");
        return text.insert(end, u"]").insert(start, u"[");
    }
    // Units of a row lie at 2 + 6 i in the field.
    static void Point(PlatPointerAction action, int unit, int row = 0) {
        PlatPointer(action, 10 + 2 + 6 * unit + 1, 10 + 10 * row + 5);
        Pump();
    }
    static void Click(int unit, int row = 0) {
        Point(Down, unit, row);
        Point(Up, unit, row);
    }

    HWND m_parent = nullptr;
    HWND m_field = nullptr;
    HFONT m_font = nullptr;
    std::vector<WORD> m_codes;
    std::function<void(WORD)> m_onCommand;
};

TEST_F(EditTest, Scripts) {
    const Text steps = u"abcdef\r\nab\r\nabcdef", wrapped = u"one two three four";
    const Text hebrew = u"\u05D0\u05D1", family = u"\U0001F468\u200D\U0001F469"; // two joined to one
    const struct {
        DWORD style;
        Text text, script, state;
    } cases[] = {
        // --- caret and selection
        {0, u"", u"hello<Left><Left>p", u"help|lo"},
        {0, u"one two", u"<End><C-Left>x", u"one x|two"},
        {0, u"one two", u"<C-Right>", u"one |two"},
        {0, u"abc", u"<End><S-Left><S-Left>", u"a[bc]"},
        {0, u"abc", u"<End><S-Left><S-Left><Left>", u"a|bc"},
        {0, u"abc", u"<End><S-Left><S-Left><Right>", u"abc|"},
        {0, u"abc", u"<S-End>", u"[abc]"},
        {0, u"ab", u"<End><Up><Up><Down>", u"a|b"},
        {0, u"ab", u"<C-A>x", u"x|"},
        // --- changes, and back
        {0, u"abc", u"<Del><C-Del>", u"|"},
        {0, u"", u"one two<C-BS>", u"one |"},
        {0, u"", u"a<Enter>b<Esc>", u"ab|"},
        {0, u"", u"abc<C-Z>", u"|"},
        {0, u"", u"abc<C-Z><C-Y>", u"abc|"},
        {0, u"", u"abc<Left><BS><C-Z>", u"ab|c"},
        {0, u"", u"ab<Left>x<C-Z>", u"a|b"},
        {0, u"", u"abc<C-A>xy<C-Z>", u"abc|"},
        {0, u"abc", u"<C-A><C-X><C-V><C-V>", u"abcabc|"},
        {0, u"abc", u"<S-End><S-Del><S-Ins><S-Ins>", u"abcabc|"},
        // --- characters of several units, and what is written from the right
        {0, u"\U0001F600b", u"<End><Left><S-Left>", u"[\U0001F600]b"},
        {0, u"", u"a\U0001F600<BS>", u"a|"},
        {0, u"e\u0301x", u"<Right><S-Right>", u"e\u0301[x]"},
        {0, u"e\u0301x", u"<End><Left><BS>", u"|x"},
        {0, family + u"x", u"<Del>", u"|x"},
        {0, u"\u0301", u"e", u"e\u0301|"},
        {0, hebrew, u"<Right><Left>x", u"\u05D0x|\u05D1"},
        {0, hebrew + u" a", u"<End><C-Right><S-Right>", hebrew + u"[ ]a"},
        // --- fields that refuse
        {ES_NUMBER, u"", u"1a-2", u"12|"},
        {ES_READONLY, u"abc", u"x<Del><End><BS><C-A><C-X>", u"[abc]"},
        {0, u"old", u"<C-A><C-C>", u"[old]"},
        {ES_PASSWORD, u"secret", u"<C-A><C-C><C-X><End><C-V>", u"secretold|"},
        {ES_PASSWORD, u"two words", u"<C-Right>", u"two words|"}, // where they end is nobody's to know
        {ES_NUMBER, u"1", u"<End><C-V>", u"1|"},
        {ES_MULTILINE, u"a\r\nb", u"<C-A><C-C>", u"[a\r\nb]"},
        {0, u"", u"<C-V>", u"a|"},
        {ES_READONLY, u"", u"<C-V>", u"|"},
        // --- rows
        {ES_MULTILINE, u"", u"a<Enter>b", u"a\r\nb|"},
        {ES_MULTILINE, u"a\r\nb", u"<C-End><Left><BS>", u"a|b"},
        {ES_MULTILINE, u"a\r\nb", u"<End><Right>", u"a\r\n|b"},
        {ES_MULTILINE, steps, u"<End><Left><Down>", u"abcdef\r\nab|\r\nabcdef"},
        {ES_MULTILINE, steps, u"<End><Left><Down><Down>", u"abcdef\r\nab\r\nabcde|f"},
        {ES_MULTILINE, steps, u"<C-End><S-Up>", u"abcdef\r\nab[\r\nabcdef]"},
        {ES_MULTILINE, steps, u"<PgDn>", u"abcdef\r\nab\r\n|abcdef"},
        {ES_MULTILINE, wrapped, u"<End>", u"one two| three four"},
        {ES_MULTILINE, wrapped, u"<Down><Right><Home>", u"one two |three four"},
        {ES_MULTILINE | ES_AUTOHSCROLL, wrapped, u"<End>", u"one two three four|"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow((c.text + u" " + c.script).c_str()));
        Field(c.style, c.text);
        Play(c.script);
        EXPECT_EQ(State(), c.state) << Narrow(State().c_str());
    }
}

TEST_F(EditTest, WhatAProgramPutsIn) {
    Field(0);
    Send(EM_LIMITTEXT, 3);
    Play(u"abcd<C-A>xyzw");
    EXPECT_EQ(State(), u"xyz|");
    Play(u"<BS>\U0001F600"); // a pair is not cut
    EXPECT_EQ(State(), u"xy|");
    Put(u"e\u0301");
    EXPECT_EQ(State(), u"xy|");
    SetText(u"longer");
    EXPECT_EQ(Content(), u"longer");
    Send(EM_SETREADONLY, TRUE);
    Send(EM_SETSEL, 0, -1);
    Send(WM_CLEAR);
    EXPECT_EQ(Content(), u"longer");
    Put(u"by the program");
    EXPECT_FALSE(Send(EM_UNDO));
    EXPECT_EQ(Content(), u"by ");
}

TEST_F(EditTest, WhereRowsBegin) {
    const struct {
        Text text;
        std::vector<LRESULT> starts;
    } cases[] = {
        {u"", {0}},
        {u"one two three four", {0, 8}}, // "three four" is ten
        {u"abcdefghijklm", {0, 10}},
        {u"abcdefghij k", {0, 11}}, // blanks stand out
        {u"abcdefg-hijk", {0, 8}},
        {u"a\r\n\r\nb\n", {0, 3, 5, 7}},
        {u"123456789\U0001F600", {0, 9}},
        {u"123456789e\u0301", {0, 9}},
        {Text(12, u'\u0301'), {0}}, // one character has one row
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.text.c_str()));
        Field(ES_MULTILINE, c.text);
        std::vector<LRESULT> starts;
        for (int row = 0; row < Send(EM_GETLINECOUNT); ++row)
            starts.push_back(Send(EM_LINEINDEX, static_cast<WPARAM>(row)));
        EXPECT_EQ(starts, c.starts);
        EXPECT_EQ(Send(EM_LINEINDEX, c.starts.size()), -1);
        Send(EM_SETSEL, 9999, 9999);
        EXPECT_EQ(Send(EM_LINEINDEX, static_cast<WPARAM>(-1)), c.starts.back());
    }
}

TEST_F(EditTest, SelectionByMessages) {
    Field(0, u"ab\U0001F600cd");
    const struct {
        int start, end;
        Text state;
    } cases[] = {
        {0, -1, u"[ab\U0001F600cd]"}, {4, 2, u"ab[\U0001F600]cd"},  {3, 3, u"ab|\U0001F600cd"},
        {-1, 0, u"ab|\U0001F600cd"},  {99, 99, u"ab\U0001F600cd|"}, {1, 1000000, u"a[b\U0001F600cd]"},
    };
    for (const auto& c : cases) {
        Send(EM_SETSEL, static_cast<WPARAM>(c.start), c.end);
        EXPECT_EQ(State(), c.state) << c.start << " " << c.end;
    }
    EXPECT_EQ(Send(EM_GETSEL), MAKELPARAM(1, 6));
}

// The message goes one step back and forth, the key as far as there are changes.
TEST_F(EditTest, UndoByMessage) {
    Field(0);
    EXPECT_FALSE(Send(EM_CANUNDO));
    Play(u"ab<Left>x");
    EXPECT_TRUE(Send(EM_GETMODIFY));
    EXPECT_TRUE(Send(EM_CANUNDO));
    EXPECT_TRUE(Send(EM_UNDO));
    EXPECT_EQ(Content(), u"ab");
    EXPECT_TRUE(Send(WM_UNDO));
    EXPECT_EQ(Content(), u"axb");
    Put(u"y", false);
    EXPECT_FALSE(Send(EM_CANUNDO));
    SetText(u"new");
    EXPECT_FALSE(Send(EM_GETMODIFY));
    EXPECT_FALSE(Send(EM_UNDO));
}

TEST_F(EditTest, AllChangesGoBackAndForth) {
    std::mt19937 random(20);
    const auto below = [&random](std::size_t most) { return random() % most; };
    for (int round = 0; round < 20; ++round) {
        Field(ES_MULTILINE, u"first text");
        for (int change = 0; change < 90; ++change) {
            const std::size_t length = Content().size() + 1;
            Send(EM_SETSEL, below(length), static_cast<LPARAM>(below(length)));
            if (below(2))
                Put(Text(below(6), static_cast<char16_t>(u'a' + change % 26)));
            else
                for (std::size_t i = below(4); i > 0; --i) Send(WM_CHAR, u'z');
        }
        const Text last = Content();
        Press(u"C-Z", 200);
        EXPECT_EQ(Content(), u"first text") << "round " << round;
        Press(u"C-Y", 200);
        EXPECT_EQ(Content(), last) << "round " << round;
    }
}

// More than the store of changes holds can't be brought back, and breaks nothing.
TEST_F(EditTest, LargeTexts) {
    Field(ES_MULTILINE);
    Send(EM_LIMITTEXT, 0);
    const Text large(200000, u'x');
    Put(large);
    EXPECT_EQ(Send(EM_GETLINECOUNT), 20000);
    Play(u"<C-Z>");
    EXPECT_EQ(Content(), u"");
    Play(u"<C-Y>ab<C-Z>");
    EXPECT_EQ(Content(), u"");
    SetText(large);
    Play(u"<C-A>y<C-Z><C-Z>");
    EXPECT_EQ(Content(), u"y");
}

// --- What the parent hears ----------------------------------------------------------------------------------------

TEST_F(EditTest, TellsItsParent) {
    using Codes = std::vector<WORD>;
    Field(0);
    SetFocus(m_parent);
    EXPECT_EQ(std::exchange(m_codes, {}), Codes({EN_KILLFOCUS}));
    SetFocus(m_field);
    Play(u"a<Left>");
    EXPECT_EQ(std::exchange(m_codes, {}), Codes({EN_SETFOCUS, EN_UPDATE, EN_CHANGE}));
    SetText(u"b");
    EXPECT_EQ(std::exchange(m_codes, {}), Codes({EN_UPDATE, EN_CHANGE}));
    Field(ES_MULTILINE);
    SetText(u"b");
    EXPECT_EQ(m_codes, Codes({}));
    for (const WORD code : {EN_UPDATE, EN_CHANGE, EN_SETFOCUS}) { // it may go while it tells
        m_onCommand = nullptr;
        Field(0);
        SetFocus(m_parent);
        m_onCommand = [=, this](WORD told) {
            if (told == code) DestroyWindow(m_field);
        };
        SetFocus(m_field);
        Play(u"ab");
        EXPECT_FALSE(IsWindow(m_field)) << code;
    }
}

// --- Pointer ------------------------------------------------------------------------------------------------------

TEST_F(EditTest, Pointer) {
    Field(ES_MULTILINE, u"one two\r\nthree");
    SetFocus(m_parent);
    Point(Down, 2);
    EXPECT_EQ(GetFocus(), m_field);
    Point(Move, 3, 1);
    Point(Up, 3, 1);
    EXPECT_EQ(State(), u"on[e two\r\nthr]ee");
    Point(Move, 0);
    EXPECT_EQ(State(), u"on[e two\r\nthr]ee") << "the button is up";
    EXPECT_EQ(GetCapture(), nullptr);
    Click(5);
    Click(5);
    EXPECT_EQ(State(), u"one [two]\r\nthree");
    PlatKey(VK_SHIFT, true);
    Click(9, 2); // below the last row and right of it
    PlatKey(VK_SHIFT, false);
    EXPECT_EQ(State(), u"one [two\r\nthree]");
    SetCapture(m_field); // what was there before a press stays
    Click(1);
    EXPECT_EQ(GetCapture(), m_field);
    Point(Down, 2);
    ReleaseCapture();
    Point(Move, 4);
    EXPECT_EQ(State(), u"on|e two\r\nthree") << "the drag is over";
}

// Points lie in the left half of a unit.
TEST_F(EditTest, PointerOnWhatIsNotOneUnitAfterTheOther) {
    const struct {
        Text text;
        int unit;
        Text state;
    } cases[] = {
        {u"\U0001F600b", 0, u"|\U0001F600b"},
        {u"\U0001F600b", 1, u"\U0001F600|b"}, // its right half
        {u"a\u05D0\u05D1\u05D2", 1, u"a\u05D0\u05D1\u05D2|"},
        {u"a\u05D0\u05D1\u05D2", 3, u"a\u05D0|\u05D1\u05D2"},
        {u"a\u05D0\u05D1\u05D2", 9, u"a|\u05D0\u05D1\u05D2"},
    };
    for (const auto& c : cases) {
        Field(0, c.text);
        Click(c.unit);
        EXPECT_EQ(State(), c.state) << c.unit;
    }
}

// --- Looks --------------------------------------------------------------------------------------------------------

TEST_F(EditTest, BarFollowsTheRows) {
    Field(ES_MULTILINE | WS_VSCROLL, u"1\n2\n3\n4\n5\n6\n7\n8\n9\n10", 32);
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_ALL;
    const auto position = [&] { return GetScrollInfo(m_field, SB_VERT, &info), info.nPos; };
    EXPECT_EQ(position(), 0);
    EXPECT_EQ(info.nMax, 9);
    EXPECT_EQ(info.nPage, 3u);
    Play(u"<C-End>");
    EXPECT_EQ(position(), 7);
    for (const auto& [code, expected] :
         {std::pair(SB_LINEUP, 6), {SB_PAGEUP, 4}, {SB_TOP, 0}, {SB_LINEUP, 0}, {SB_BOTTOM, 7}}) {
        Send(WM_VSCROLL, static_cast<WPARAM>(code));
        EXPECT_EQ(position(), expected) << code;
    }
    EXPECT_EQ(State().substr(State().size() - 3), u"10|");
}

struct Watcher : PlatPresenter {
    void ScreenPainted() override {}
    void ShowInputPanel(BOOL) override {}
    void CaretAt(const RECT& place) override { caret = place; }
    RECT caret{};
};

TEST_F(EditTest, SelectionAndCaretShow) {
    SYSTEMTIME time{2026, 3, 0, 1, 12, 0, 0, 0};
    PlatSetClock(&time);
    Field(0, u"    ", 14); // one row of ten pixels in the middle
    const auto pixel = [this](int unit) {
        UpdateWindow(m_field);
        return ScreenPixel(10 + 2 + 6 * unit, 10 + 6);
    };
    const auto after = [&](DWORD milliseconds) {
        PlatAdvanceClock(milliseconds);
        Pump();
        return pixel(0);
    };
    const COLORREF selected = GetSysColor(COLOR_HIGHLIGHT);
    EXPECT_EQ(pixel(0), 0u) << "the caret";
    EXPECT_EQ(after(530), 0u) << "nobody looks";
    Send(EM_SETSEL, 1, 3);
    EXPECT_EQ(pixel(0), 0xFFFFFFu);
    EXPECT_EQ(pixel(1), selected);
    SetFocus(m_parent);
    EXPECT_EQ(pixel(1), 0xFFFFFFu);
    Watcher watcher;
    PlatSetPresenter(&watcher);
    Send(EM_SETSEL, 0, 0);
    SetFocus(m_field);
    EXPECT_EQ(pixel(0), 0u);
    EXPECT_EQ(after(530), 0xFFFFFFu);
    EXPECT_EQ(after(529), 0xFFFFFFu);
    Play(u"<Right>");
    const RECT behindOne = {18, 12, 19, 22};
    EXPECT_TRUE(EqualRect(&watcher.caret, &behindOne)) << watcher.caret.left << "," << watcher.caret.top;
    Play(u"<Home>");
    EXPECT_EQ(after(529), 0u) << "it stands while it is moved";
    EXPECT_EQ(after(1), 0xFFFFFFu);
    PlatSetPresenter(nullptr);
    Field(0, u"\u05D0  \u05D1", 14); // from the right: its second unit is the third one seen
    Send(EM_SETSEL, 2, 1);
    EXPECT_EQ(pixel(2), selected);
    EXPECT_EQ(pixel(1), 0xFFFFFFu);
}

} // namespace
