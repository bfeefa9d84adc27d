// A bar of things to tap, side by side: each a piece of mark-up in a cell of its own. It shows a press at once and acts at
// the release; the keyboard reaches the same actions by the window that the bar stands in.
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
        int width;             // pixels; 0: a share of what is left
        bool active = false;   // filled
        std::function<void()> tapped;
    };

    bool Open(HWND parent, const RECT& rect);
    void SetCells(std::vector<Cell> cells);
    // The cells stand one below the other, each so high; 0: side by side again.
    void SetColumn(int cellHeight);

private:
    LRESULT OnPaint(bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnLButtonDown(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnLButtonUp(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;

    std::vector<RECT> Places() const;
    std::vector<RECT> PlacesInColumn(const RECT& client) const;
    int CellAt(POINT point) const; // -1 for none
    static void PaintCell(HDC hdc, const Cell& cell, const RECT& place, bool pressed);
    void Press(int cell);

    std::vector<Cell> m_cells;
    int m_cellHeight = 0;
    int m_pressed = -1;
};

} // namespace qn
