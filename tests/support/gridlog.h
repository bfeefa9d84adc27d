// A grid whose owner writes down what it hears, a line each: "tap 0,2" is column 0, row 2. Rows are 20 pixels high, the
// clock stands.
#pragma once

#include "Platform/edit.h"
#include "Platform/imagelist.h"
#include "tests/support/gridwindow.h"

#include <utility>

namespace qntest {

class LoggingOwner : public GridOwner {
public:
    LRESULT OnNotify(int, NMHDR* header, bool& handled) override {
        handled = true;
        return Told(header->code, *reinterpret_cast<const tagNM_GRIDVIEW*>(header));
    }
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override {
        auto* view = reinterpret_cast<tagNM_GRIDVIEW*>(lParam);
        const auto* drag = reinterpret_cast<const tagGRIDDRAG*>(lParam);
        handled = true;
        switch (msg) {
        case GRIDM_SWIPE_LEFT:
            return Line("swipe left");
        case GRIDM_SWIPE_RIGHT:
            return Line("swipe right");
        case GRIDM_KEY_SELECTED:
            return Line("key " + Cell(*view));
        case GRIDM_EDIT_BEGIN:
            return Line("edit? " + Cell(*view)), Answer(msg, 1);
        case GRIDM_EDIT_END:
            return Line("edited " + Cell(*view) + " " + Narrow(view->pszText) + " " +
                        std::to_string(view->dwData));
        case GRIDM_FLOATER_TO:
            return Line("to " + Place(LOWORD(wParam), HIWORD(wParam)) + ">" + Cell(*view)), Answer(msg, 3);
        case GRIDM_FLOATER_MOVED:
            return Line("moved " + std::to_string(view->dwData) + " " + Cell(*view));
        case GRIDM_FLOATER_TIP:
        case GRIDM_SELECTION_TIP:
            return view->pszText = u"tip", 1;
        case GRIDM_HOLD_QUERY:
            return Answer(msg, 1);
        case GRIDM_DRAG_IMAGES:
            return Answer(msg, 0);
        case GRIDM_DRAG_BEGIN:
            return Line("drag? " + Place(drag->wCol, drag->wRow)), Answer(msg, 1);
        case GRIDM_DROP_ALLOWED:
            return Answer(msg, 1);
        case GRIDM_DROP_QUERY:
            return Answer(msg, 0);
        case GRIDM_DROP:
            return Line(wParam ? "drop " + Place(drag->wCol, drag->wRow) : "dropped nowhere");
        case GRIDM_SWATCH:
            return Answer(msg, 0);
        case WM_CHAR:
            return Line("char " + std::to_string(wParam));
        default:
            return GridOwner::OnMessage(msg, wParam, lParam, handled);
        }
    }
    LRESULT OnChar(WPARAM code, UINT, UINT, bool& handled) override {
        handled = true;
        return Line("char " + std::to_string(code));
    }

    std::string TakeLog() { return std::exchange(m_log, {}); }
    std::map<UINT, LRESULT> answers;

private:
    static std::string Place(WORD col, WORD row) {
        return row == GRID_NONE ? "none" : std::to_string(col) + "," + std::to_string(row);
    }
    static std::string Cell(const tagNM_GRIDVIEW& view) { return Place(view.wCol, view.wRow); }
    static std::string Narrow(const WCHAR* text) {
        const std::u16string wide = text ? text : u"(none)";
        return std::string(wide.begin(), wide.end());
    }
    LRESULT Line(const std::string& line) { return m_log += line + "\n", 0; }
    LRESULT Answer(UINT msg, LRESULT usual) const {
        const auto found = answers.find(msg);
        return found == answers.end() ? usual : found->second;
    }
    LRESULT Told(UINT code, const tagNM_GRIDVIEW& view) {
        switch (code) {
        case GRIDN_HOT_SPOT:
            return Line("spot " + Narrow(view.pszHotSpot) + " " + Cell(view));
        case GRIDN_HOT_SPOT_PRESS:
            return Line("pressed spot " + Narrow(view.pszHotSpot) + " " + Cell(view));
        case GRIDN_TEST_HOT_SPOTS:
            return Answer(code, 0);
        case GRIDN_HOLD:
            return Line("hold " + Cell(view));
        case GRIDN_TAP:
            return Line("tap " + Cell(view));
        case GRIDN_TAP_SELECTED:
            return Line("new tap " + Cell(view));
        case GRIDN_KEY_HELD:
            return Line("held " + std::to_string(view.dwData) + " " + std::to_string(view.x) + " " +
                        Cell(view));
        default:
            return 0;
        }
    }

    std::string m_log;
};

class InputTest : public DeviceTest {
protected:
    InputTest() {
        PlatUseFixedWidthText(true);
        const SYSTEMTIME time{2026, 3, 0, 1, 12, 0, 0, 0};
        PlatSetClock(&time);
        owner.emplace();
    }
    ~InputTest() override {
        grid.reset();
        owner.reset();
        PlatEnableGestures(false);
        Pump();
    }
    // 200 by 200 pixels at the left top of the screen.
    OpenGrid& Make(DWORD rows, DWORD cols = 1) {
        grid.emplace();
        EXPECT_TRUE(grid->InitWindow(owner->GetHWnd(), {0, 0, 200, 200}, false, u""));
        grid->BeginUpdate();
        grid->SetMinRowHeight(20);
        grid->SetDimensions(rows, cols);
        grid->CreateCells();
        grid->EndUpdate();
        grid->SetFocus();
        Pump();
        return *grid;
    }
    void Text(WORD col, WORD row, LPCWSTR text) {
        grid->SetCellText(col, row, text);
        grid->ForcePaint();
    }
    static void Pump() {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    }
    static void Wait(DWORD milliseconds) {
        PlatAdvanceClock(milliseconds);
        Pump();
    }
    // A press, moves and the release, each taken out before the next. No press follows another as a double tap.
    void Down(int x, int y) {
        Wait(201);
        Point(PlatPointerAction::Down, x, y);
    }
    void Move(int x, int y) { Point(PlatPointerAction::Move, x, y); }
    void Up(int x, int y) { Point(PlatPointerAction::Up, x, y); }
    void Tap(int x, int y) {
        Down(x, y);
        Up(x, y);
    }
    static void Key(int key, int times = 1) {
        for (int i = 0; i < times; ++i) PlatKey(key, true);
        PlatKey(key, false);
        Pump();
    }
    std::string Log() { return owner->TakeLog(); }
    std::string Selected() {
        WORD left, top, right, bottom;
        grid->GetSelection(left, top, right, bottom);
        if (top == GRID_NONE) return "none";
        const auto text = [](WORD col, WORD row) { return std::to_string(col) + "," + std::to_string(row); };
        return left == right && top == bottom ? text(left, top) : text(left, top) + "-" + text(right, bottom);
    }

    std::optional<LoggingOwner> owner;
    std::optional<OpenGrid> grid;

    static void Point(PlatPointerAction action, int x, int y) {
        PlatPointer(action, x, y);
        Pump();
    }
};

} // namespace qntest
