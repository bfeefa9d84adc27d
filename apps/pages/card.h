// The summary card of one item: a grid page of its fields.
#pragma once

#include "QNGridCtrl/HTMLGrid.h"

#include <string>
#include <utility>
#include <vector>

namespace qn {

struct CardText {
    std::u16string title; // plain, as all texts
    std::u16string titleLabel = u"Subject";
    std::vector<std::pair<std::u16string, std::u16string>> fields; // label, value

    // A field without a value isn't shown.
    void Add(const WCHAR* label, std::u16string value) {
        if (!value.empty()) fields.emplace_back(label, std::move(value));
    }
};

// Has a frame while it has the focus: nothing on it is selected.
class Card : public CeWnd {
public:
    bool Open(HWND parent, const RECT& rect);
    void Show(const CardText& card);
    void TakeFocus() { m_grid.SetFocus(); }
    HWND FocusWindow() const { return m_grid.GetHWnd(); }

private:
    class Grid : public CHTMLGrid {
        LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;
    };
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;

    Grid m_grid;
};

} // namespace qn
