// The summary card of one item: a grid page of its fields, read through the object model.
#pragma once

#include "QNGridCtrl/HTMLGrid.h"
#include "QNWorkerClass/DATACALENDAR.h"

#include <string>
#include <utility>
#include <vector>

namespace qn {

class Card : public CeWnd {
public:
    bool Open(HWND parent, const RECT& rect);
    void Show(const DATACALENDAR& line);
    void TakeFocus() { m_grid.SetFocus(); }
    HWND FocusWindow() const { return m_grid.GetHWnd(); }

private:
    using Field = std::pair<std::u16string, std::u16string>; // label, mark-up of the value

    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    void Fill(const std::u16string& title, const std::vector<Field>& fields);

    CHTMLGrid m_grid;
};

} // namespace qn
