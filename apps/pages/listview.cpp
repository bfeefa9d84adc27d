#include "apps/pages/listview.h"

#include "NorvoUI/chrome.h"
#include "Platform/system.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"

#include <algorithm>
#include <utility>

namespace qn {

namespace {

constexpr int kRowHeight = 32; // pixels at 96 dots an inch, as the next
constexpr int kTextTop = 8;    // above and below a row's text
constexpr int kEmptyTop = 32;  // above the text of an empty list
constexpr int kCategoryBar = 4;
constexpr std::size_t kLookedBelow = 32; // rows, for one that is still there

} // namespace

bool ListView::OpenBody(const RECT& inside) {
    CCategoryColorIcons::InitCategoryColors();
    m_grid.list = this;
    m_grid.SetMinRowHeight(static_cast<WORD>(Scaled(kRowHeight)));
    m_grid.SetCellOwnerDrawProc(&ListView::DrawCell, nullptr);
    if (!m_grid.InitWindow(GetHWnd(), inside, true, u"")) return false;
    m_grid.SetTouchScrolling(true);
    m_grid.SetLinesColor(ColorOf(Paint::Line));
    m_grid.SetBarsScrollMode(GRID_SCROLL_ROW);
    m_grid.SetShowVLines(false);
    m_grid.SetRowSelect(true);
    return true;
}

// --- Rows ---------------------------------------------------------------------------------------------------------

// With little room rows say less.
LRESULT ListView::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    const LRESULT result = TabView::OnSize(type, cx, cy, handled);
    const bool narrow = IsNarrow();
    if (std::exchange(m_narrow, narrow) != narrow && m_grid.GetRowCount() > 0) ShowRows();
    return result;
}

// What stood at the top stays there and what was selected stays so, where they still are.
void ListView::ShowRows() {
    const WORD top = m_grid.GetTopRow();
    const std::size_t chosen = SelectedRow();
    const int hidden = m_grid.GetTopPixel() - m_grid.RowToPixel(top); // of the row at the top
    const std::vector<ULONGLONG> former = std::exchange(m_ids, {});
    for (std::size_t row = 0; row < ShownRows(); ++row) m_ids.push_back(RowId(row));
    m_grid.BeginUpdate();
    m_grid.DestroyCells();
    m_grid.SetShowHLines(!m_ids.empty());
    m_grid.SetDimensions(static_cast<DWORD>(std::max<std::size_t>(m_ids.size(), 1)), 1);
    m_grid.EndUpdate();
    KeepSelected(former, chosen);
    const std::size_t first = FindLeft(former, top);
    m_grid.SetTopRow(first == kNoRow ? WORD{0} : static_cast<WORD>(first));
    if (first != kNoRow && m_ids[first] == former[top]) m_grid.ScrollByPixelDown(hidden);
    if (!IsCardOpen()) return;
    const std::size_t carded = FindRow(m_cardId);
    carded == kNoRow || !IsItem(carded) ? LoseCard() : ShowCard(CardOf(carded));
}

void ListView::KeepSelected(const std::vector<ULONGLONG>& former, std::size_t chosen) {
    const std::size_t left = FindLeft(former, chosen);
    if (left != kNoRow && m_ids[left] == former[chosen]) return m_grid.SetRow(static_cast<WORD>(left));
    m_grid.EmptySelection();
    if (left != kNoRow) m_nextId = m_ids[left];
}

// Of the former rows from this one on, the first that is still there.
std::size_t ListView::FindLeft(const std::vector<ULONGLONG>& former, std::size_t from) const {
    for (std::size_t i = from; i < former.size() && i < from + kLookedBelow; ++i)
        if (const std::size_t row = FindRow(former[i]); row != kNoRow) return row;
    return kNoRow;
}

void ListView::UpdateRow(std::size_t row) {
    if (row < m_ids.size()) m_grid.UpdateRowText(static_cast<WORD>(row));
}

std::size_t ListView::FindRow(ULONGLONG id) const {
    const auto found = std::ranges::find(m_ids, id);
    return found == m_ids.end() ? kNoRow : static_cast<std::size_t>(found - m_ids.begin());
}

std::size_t ListView::SelectedRow() const {
    const WORD row = m_grid.GetRow(); // also of a selection that has been emptied
    return row < m_ids.size() && m_grid.IsCellSelected(0, row) ? row : kNoRow;
}

std::size_t ListView::CurrentItem() const {
    const std::size_t row = IsCardOpen() && IsOnCard() ? FindRow(m_cardId) : SelectedRow();
    return row != kNoRow && IsItem(row) ? row : kNoRow;
}

void ListView::SelectRow(std::size_t row) {
    if (row >= m_ids.size()) return;
    const auto number = static_cast<WORD>(row);
    m_grid.SetSelection(0, number, 0, number);
    m_grid.MakeCellVisible(0, number);
    SelectionMoved();
}

std::size_t ListView::TopRow() const {
    const WORD row = m_grid.GetTopRow();
    return row < m_ids.size() ? row : kNoRow;
}

bool ListView::BeginSelection() {
    if (SelectedRow() != kNoRow || m_ids.empty()) return false;
    const std::size_t next = FindRow(m_nextId);
    const bool seen = next != kNoRow && m_grid.IsCellVisible(0, static_cast<WORD>(next));
    SelectRow(seen ? next : m_grid.GetTopRow());
    return true;
}

// --- The grid -----------------------------------------------------------------------------------------------------

void ListView::FillCell(tagNM_GRIDCELL& cell) {
    const std::size_t row = cell.hdr.idFrom >> 16;
    const bool empty = row >= m_ids.size();
    cell.dwData = static_cast<DWORD>(row);
    cell.rcMargins = {Scaled(6), Scaled(kTextTop), Scaled(6), Scaled(kTextTop)};
    if (empty)
        cell.rcMargins.top = Scaled(kEmptyTop);
    else
        cell.rcMargins.left += Indent(row), cell.wWrapIndent = static_cast<WORD>(WrapIndent(row));
    m_text =
        empty ? GroundTag(Paint::Window) + u"<P CENTER>" + FontTag(Paint::Quiet) + EmptyText() : RowText(row);
    cell.pszText = m_text.c_str();
    if (!empty) Shape(row, cell);
}

int ListView::DrawCell(tagDRAWITEMSTRUCT& item, tagCELLINFO& cell) {
    return static_cast<ListGrid*>(item.pGrid)->list->DrawRow(item, cell);
}

int ListView::DrawRow(const tagDRAWITEMSTRUCT& item, const tagCELLINFO& cell) {
    const std::size_t row = item.itemID >> 16;
    if (row >= m_ids.size()) return GRID_DRAW_ALL;
    const bool selected = (item.itemState & GRID_ITEM_SELECTED) != 0;
    bool ground = PaintRow(item.hDC, item.rcItem, row, selected);
    if (const WCHAR* categories = CategoriesOf(row)) {
        m_colors.ParseCategory(categories, true, false);
        const COLORREF color = m_colors.GetCategoryColorCR();
        const auto fill = [&](LONG right, COLORREF paint) {
            const RECT place{item.rcItem.left, item.rcItem.top, right, item.rcItem.bottom};
            FillColor(item.hDC, place, paint);
        };
        if (color != kNoCategoryColor) {
            if (!ground)
                fill(item.rcItem.right, selected ? GetSysColor(COLOR_HIGHLIGHT) : cell.GetBackColor(true));
            fill(item.rcItem.left + Scaled(kCategoryBar), color);
            ground = true;
        }
    }
    return ground ? GRID_DRAW_LINES_TEXT : GRID_DRAW_ALL;
}

void ListView::Activate(std::size_t row) { IsItem(row) ? OpenRow(row) : ActOnHeading(row); }

// A key taps at the left edge.
void ListView::Tapped(const tagNM_GRIDVIEW& view) {
    if (view.wRow >= m_ids.size()) {
        if (m_ids.empty()) FillEmpty();
    } else if (view.x <= 0 || !TakeTap(view.wRow, view.x)) {
        view.hdr.code == GRIDN_HOT_SPOT ? ActOnLink(view.wRow, view.pszHotSpot ? view.pszHotSpot : u"")
                                        : Activate(view.wRow);
    }
}

void ListView::Held(const tagNM_GRIDVIEW& view) {
    const std::size_t row = SelectedRow();
    if (row == kNoRow || !IsItem(row)) return;
    POINT point{view.x, view.y};
    m_grid.ClientToScreen(&point);
    RunMenu(GetHWnd(), point, ItemMenu(row));
}

LRESULT ListView::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    handled = true;
    switch (msg) {
    case GRIDM_CELL:
        return FillCell(*reinterpret_cast<tagNM_GRIDCELL*>(lParam)), 1;
    case GRIDM_HOLD_QUERY: {
        const std::size_t row = SelectedRow();
        return row != kNoRow && IsItem(row) ? 0 : 1; // 0: there is a menu
    }
    case GRIDM_KEY_SELECTED:
        return SelectionMoved(), 1;
    default:
        handled = false;
        return TabView::OnMessage(msg, wParam, lParam, handled);
    }
}

LRESULT ListView::OnNotify(int id, NMHDR* header, bool& handled) {
    if (header->hwndFrom != m_grid.GetHWnd()) return TabView::OnNotify(id, header, handled);
    const auto& view = *reinterpret_cast<const tagNM_GRIDVIEW*>(header);
    handled = true;
    switch (header->code) {
    case GRIDN_HOT_SPOT:
    case GRIDN_TAP:
    case GRIDN_TAP_SELECTED:
        m_grid.SetFocus();
        if (!IsHoldNext(m_grid.GetHWnd())) Tapped(view);
        return 1;
    case GRIDN_HOLD:
        m_grid.SetFocus();
        return Held(view), 1;
    default:
        handled = false;
        return TabView::OnNotify(id, header, handled);
    }
}

// --- The item -----------------------------------------------------------------------------------------------------

bool ListView::HasItem() const { return CurrentItem() != kNoRow; }

void ListView::OpenRow(std::size_t row) {
    m_cardId = m_ids[row];
    ShowCard(CardOf(row));
    TakeFocus();
}

void ListView::OpenCurrent() {
    if (const std::size_t row = CurrentItem(); row != kNoRow) OpenRow(row);
}

// Beside the list the card follows the keys.
void ListView::SelectionMoved() {
    const std::size_t row = SelectedRow();
    if (row == kNoRow || !IsItem(row) || !IsCardOpen() || !IsWide()) return;
    m_cardId = m_ids[row];
    ShowCard(CardOf(row));
}

bool ListView::BodyKey(WPARAM key) {
    if (::GetFocus() != m_grid.GetHWnd()) return false;
    if (RowKey(SelectedRow(), key)) return true;
    return (key == VK_UP || key == VK_DOWN) && BeginSelection();
}

} // namespace qn
