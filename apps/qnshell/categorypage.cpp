#include "apps/qnshell/categorypage.h"

#include "NorvoTools/HTMLEscape.h"
#include "QNWorkerClass/categories.h"
#include "Resources/pictures.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

bool CategoryPage::Open(HWND parent, const RECT& rect) {
    if (!Create(nullptr, parent, rect, u"", WS_CHILD | WS_CLIPCHILDREN | WS_CLIPSIBLINGS)) return false;
    const RECT inside{0, 0, rect.right - rect.left, rect.bottom - rect.top};
    if (!m_grid.InitWindow(GetHWnd(), inside, true, u"")) return false;
    m_grid.SetTouchScrolling(true);
    m_grid.SetRowSelect(true);
    m_grid.SetShowVLines(false);
    m_grid.SetShowHLines(true);
    m_grid.SetLinesColor(ColorOf(Paint::Line));
    m_grid.SetMinRowHeight(static_cast<WORD>(Scaled(40)));
    return true;
}

void CategoryPage::Show(std::vector<std::u16string> names) {
    m_chosen = std::move(names);
    m_names.clear();
    CFullCategoryList all(0, PTRLIST_DELETE);
    GetFullCategoryInfo(all, true);
    all.SetCompare(&FullCategoryCompareFunc);
    all.Sort();
    for (const CFullCategory* category : all) m_names.emplace_back(category->m_szName);
    m_grid.DestroyCells();
    m_grid.SetDimensions(static_cast<DWORD>(m_names.size()) + 1, 1);
    m_grid.SetRow(0);
}

bool CategoryPage::IsChosen(const std::u16string& name) const {
    return std::ranges::find(m_chosen, name) != m_chosen.end();
}

std::u16string CategoryPage::RowText(WORD row) const {
    const bool all = row == 0;
    const std::u16string name = all ? u"All categories" : row <= m_names.size() ? m_names[row - 1U] : u"";
    const bool on = all ? m_chosen.empty() : IsChosen(name);
    const WORD picture = on ? kPictureTask : kPictureTaskOpen;
    return GroundTag(Paint::Window) + u"<IMG SRC=" + Utf16(std::to_string(picture)) + u"> " +
           FontTag(Paint::Text) + (on ? u"<B>" : u"") + HTMLEscape(name);
}

// The first row takes the choice back.
void CategoryPage::ToggleRow(WORD row) {
    if (row > m_names.size()) return;
    if (row == 0)
        m_chosen.clear();
    else if (IsChosen(m_names[row - 1U]))
        std::erase(m_chosen, m_names[row - 1U]);
    else
        m_chosen.push_back(m_names[row - 1U]);
    for (WORD i = 0; i < m_grid.GetRowCount(); ++i) m_grid.UpdateRowText(i);
    if (chosen) chosen(m_chosen);
}

LRESULT CategoryPage::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    m_grid.MoveWindow(0, 0, cx, cy);
    return CeWnd::OnSize(type, cx, cy, handled);
}

LRESULT CategoryPage::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    if (msg != GRIDM_CELL) return CeWnd::OnMessage(msg, wParam, lParam, handled);
    handled = true;
    auto& cell = *reinterpret_cast<tagNM_GRIDCELL*>(lParam);
    m_text = RowText(static_cast<WORD>(cell.hdr.idFrom >> 16));
    cell.pszText = m_text.c_str();
    cell.rcMargins = {Scaled(8), Scaled(11), Scaled(8), Scaled(11)};
    return 1;
}

LRESULT CategoryPage::OnNotify(int id, NMHDR* header, bool& handled) {
    if (header->code != GRIDN_TAP && header->code != GRIDN_TAP_SELECTED)
        return CeWnd::OnNotify(id, header, handled);
    handled = true;
    ToggleRow(reinterpret_cast<const tagNM_GRIDVIEW*>(header)->wRow);
    return 1;
}

} // namespace qn
