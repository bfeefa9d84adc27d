// A bar of things to tap, side by side or one below the other: each a picture, a word, or a picture over a word. It shows
// a press at once and acts at the release. With the focus, arrows go from one to the next and Enter or Space acts.
#pragma once

#include "NorvoUI/CeWnd.h"

#include <functional>
#include <string>
#include <vector>

namespace qn {

class Bar : public CeWnd {
public:
    struct Cell {
        std::u16string markup; // without a ground of its own
        int width = 0;         // pixels; 0: a share of what is left
        std::function<void()> tapped = nullptr;
        WORD picture = 0; // of Resources/pictures.h
        bool active = false;
    };

    bool Open(HWND parent, const RECT& rect);
    void SetCells(std::vector<Cell> cells);
    // The cells stand one below the other, each so high; 0: side by side again.
    void SetColumn(int cellHeight);
    // A thin line at the lower edge: something is going on.
    void SetBusy(bool busy);

private:
    LRESULT OnPaint(bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnLButtonDown(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnLButtonUp(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnKeyDown(WPARAM code, UINT repeat, UINT flags, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;

    std::vector<RECT> Places() const;
    std::vector<RECT> PlacesInColumn(const RECT& client) const;
    int CellAt(POINT point) const; // -1 for none
    bool CanAct(int cell) const;
    void PaintCell(HDC hdc, int index, const RECT& place) const;
    void Press(int cell);
    void Act(int cell);
    void MoveFocus(int step);
    void FindFocus();

    std::vector<Cell> m_cells;
    int m_cellHeight = 0;
    int m_pressed = -1;
    int m_focus = -1; // the cell that keys act on
    bool m_focused = false;
    bool m_busy = false;
};

} // namespace qn
