// The list of categories, each to be tapped: only items of the chosen ones are shown, with none chosen all are.
#pragma once

#include "QNGridCtrl/HTMLGrid.h"

#include <functional>
#include <string>
#include <vector>

namespace qn {

class CategoryPage : public CeWnd {
public:
    bool Open(HWND parent, const RECT& rect);
    // Reads the categories of the store; `names` are chosen.
    void Show(std::vector<std::u16string> names);
    void TakeFocus() { m_grid.SetFocus(); }
    std::function<void(const std::vector<std::u16string>&)> chosen; // whenever the choice changes

private:
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;
    LRESULT OnNotify(int id, NMHDR* header, bool& handled) override;
    void ToggleRow(WORD row);
    std::u16string RowText(WORD row) const;
    bool IsChosen(const std::u16string& name) const;

    CHTMLGrid m_grid;
    std::vector<std::u16string> m_names;
    std::vector<std::u16string> m_chosen;
    std::u16string m_text; // lent to the grid
};

} // namespace qn
