// A grid worked by scripts, and its owner, who writes down what it hears: "tap 0,2" is column 0, row 2. Rows are 20 pixels
// high, the clock stands.
#pragma once

#include "Platform/edit.h"
#include "Platform/imagelist.h"
#include "tests/support/gridwindow.h"
#include "tests/support/keys.h"

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
            if (onEdited) onEdited();
            return Line("edited " + Cell(*view) + " " + Narrow(view->pszText) + " " +
                        std::to_string(view->dwData));
        case GRIDM_FLOATER_TO:
            return Line("to " + Place(LOWORD(wParam), HIWORD(wParam)) + ">" + Cell(*view)), Answer(msg, 3);
        case GRIDM_FLOATER_MOVED:
            return Line("moved " + std::to_string(view->dwData) + " " + Cell(*view));
        case GRIDM_FLOATER_TIP:
        case GRIDM_SELECTION_TIP:
            return view->pszText = Answer(msg, 1) ? u"tip" : nullptr, 1;
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
    LRESULT OnKeyDown(WPARAM code, UINT, UINT, bool& handled) override {
        handled = code == VK_DELETE;
        return handled ? Line("delete") : 0;
    }

    std::string TakeLog() { return std::exchange(m_log, {}); }
    std::map<UINT, LRESULT> answers;
    std::function<void()> onEdited;

private:
    static std::string Place(WORD col, WORD row) {
        return row == GRID_NONE ? "none" : std::to_string(col) + "," + std::to_string(row);
    }
    static std::string Cell(const tagNM_GRIDVIEW& view) { return Place(view.wCol, view.wRow); }
    static std::string Narrow(const WCHAR* text) {
        const std::u16string wide = text ? text : u"(none)";
        return std::string(wide.begin(), wide.end());
    }
    LRESULT Line(const std::string& line) { return m_log += line + "; ", 0; }
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
        case GRIDN_CLICK:
            return view.wRow == GRID_NONE ? Line("click nowhere") : 0;
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
        owner->answers.clear();
        Log();
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
    static void Point(PlatPointerAction action, int x, int y) {
        PlatPointer(action, x, y);
        Pump();
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

    // What the owner heard and how the grid stands: the selection behind "=", then what is not as usual. A script has, with
    // blanks between:
    //   d60,45  the pointer is pressed there; m moves it, u releases, t taps, q taps at once behind the last tap (all others
    //           wait until no tap can be the second of two), r taps with the right button, v turns the wheel a notch down
    //   w300    milliseconds pass
    //   {  }    Shift goes down, and up
    //   =1,2    the program selects a cell
    //   !       the real window loses the input
    //   Down    a key; S-, C- or A- before it: with Shift, Ctrl or Alt; 3Down: it is held and comes three times
    std::string Play(const std::string& script) {
        std::istringstream steps(script);
        for (std::string step; steps >> step;) Do(step);
        return Log() + "=" + Selected() + State();
    }

    std::optional<LoggingOwner> owner;
    std::optional<OpenGrid> grid;

private:
    void Do(const std::string& step) {
        using enum PlatPointerAction;
        const char kind = step[0];
        int x = 0, y = 0;
        const int numbers = std::sscanf(step.c_str() + 1, "%d,%d", &x, &y);
        if (kind == '{' || kind == '}') return PlatKey(VK_SHIFT, kind == '{');
        if (kind == '!') return PlatLoseInput(), Pump();
        if (kind == 'w') return Wait(static_cast<DWORD>(x));
        if (kind == '=') {
            const WORD col = static_cast<WORD>(x), row = static_cast<WORD>(y);
            grid->SetSelection(col, row, col, row);
            return;
        }
        const bool held = kind >= '1' && kind <= '9';
        if (numbers != 2) return PressKey(step.substr(held), held ? kind - '0' : 1), Pump();
        if (kind == 'v') return PlatWheel(x, y, -1), Pump();
        const bool right = kind == 'r', tap = right || kind == 't' || kind == 'q';
        if (kind == 'd' || kind == 't' || right) Wait(201);
        if (kind == 'm') Point(Move, x, y);
        if (kind == 'd' || tap) Point(right ? HoldDown : Down, x, y);
        if (kind == 'u' || tap) Point(right ? HoldUp : Up, x, y);
    }
    std::string State() {
        std::string state;
        if (grid->GetTopPixel() != grid->GetFixedRowsHeight())
            state += " top " + std::to_string(grid->GetTopPixel());
        if (GetCapture() == grid->GetHWnd()) state += " captured";
        const HWND child = GetWindow(grid->GetHWnd(), GW_CHILD);
        if (child && IsWindowVisible(child)) state += grid->GetEditMode() ? " editing" : " tip";
        if (grid->IsLinkNavigationActive()) state += " in links";
        for (DWORD place = 0; place < DWORD{grid->GetColCount()} * grid->GetRowCount(); ++place) {
            const WORD col = static_cast<WORD>(place / grid->GetRowCount()),
                       row = static_cast<WORD>(place % grid->GetRowCount());
            if (!grid->CellHasFloaters(col, row)) continue;
            const auto& floater = *grid->FindCell(col, row)->Floaters.begin();
            return state + (grid->IsFloaterSelected() ? " floater! " : " floater ") + std::to_string(col) +
                   "," + std::to_string(row) + " links " +
                   std::to_string(floater.second->Text.CountNavigableTokens());
        }
        return state;
    }
};

} // namespace qntest
