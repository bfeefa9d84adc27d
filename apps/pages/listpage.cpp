#include "apps/pages/listpage.h"

#include "NorvoTools/HTMLEscape.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

namespace {

constexpr int kRowHeight = 24; // pixels at 96 dots an inch, as the next
constexpr int kEmptyTop = 32;  // above the text of an empty list

} // namespace

bool ListPage::SetUpGrids() {
    m_grid.SetMinRowHeight(static_cast<WORD>(Scaled(kRowHeight)));
    m_grid.SetCellOwnerDrawProc(&ListPage::DrawCell, nullptr);
    return OpenGrid(m_grid, true);
}

void ListPage::Fill(bool sameDay) {
    const DayRange range = RangeOf(m_day);
    const Row* selected = sameDay ? RowAt(m_grid.GetRow()) : nullptr;
    m_selected = selected ? std::optional(*selected) : std::nullopt;
    m_firstDay = range.first;
    m_rows.clear();
    std::size_t next = 0;
    const auto& lines = m_data->Lines();
    while (next < lines.size() && lines[next]->m_lDay < range.first) ++next;
    for (LONG day = range.first; day <= range.last; ++day) {
        const bool empty = next >= lines.size() || lines[next]->m_lDay != day;
        if (!empty || ShowsEmptyDays()) m_rows.push_back({day, kNoLine, 0});
        for (; next < lines.size() && lines[next]->m_lDay == day; ++next)
            m_rows.push_back({day, next, lines[next]->m_oid});
    }
    FillBars();
    m_topRow = sameDay ? m_grid.GetTopRow() : WORD{0};
    m_grid.DestroyCells();
    m_grid.SetShowVLines(false);
    m_grid.SetShowHLines(!m_rows.empty());
    m_grid.SetRowSelect(true);
    m_grid.SetDimensions(static_cast<DWORD>(std::max<std::size_t>(m_rows.size(), 1)), 1);
}

void ListPage::Scroll() {
    const auto found =
        m_selected ? std::ranges::find_if(m_rows, [&](const Row& row) { return row.IsSame(*m_selected); })
                   : m_rows.end();
    if (found == m_rows.end())
        m_grid.EmptySelection();
    else
        m_grid.SetRow(static_cast<WORD>(found - m_rows.begin()));
    m_grid.SetTopRow(m_topRow);
}

void ListPage::FillBars() {
    m_bars.clear();
    if (BarWidth(100) == 0) return;
    const DayRange range = RangeOf(m_day);
    for (LONG day = range.first; day <= range.last; ++day) {
        CDataMonth bar;
        static_cast<SYSTEMTIME&>(bar) = ToSystemTime(day);
        m_bars.push_back(bar);
    }
    for (const DATACALENDAR* line : m_data->Lines())
        if (line->m_lDay >= range.first && line->m_lDay <= range.last)
            m_view.SetupBarDataStruct(m_bars[static_cast<std::size_t>(line->m_lDay - range.first)], *line,
                                      line->m_lDay, false);
}

LRESULT ListPage::OnCellRequest(tagNM_GRIDCELL& cell) {
    const auto number = static_cast<WORD>(cell.hdr.idFrom >> 16);
    const Row* row = RowAt(number);
    cell.rcMargins = {Scaled(6), Scaled(3), Scaled(6), Scaled(3)};
    cell.dwData = number;
    if (!row) cell.rcMargins.top = Scaled(kEmptyTop);
    if (!row)
        m_text = GroundTag(Paint::Window) + u"<P CENTER>" + FontTag(Paint::Quiet) + m_host.EmptyText();
    else if (row->line == kNoLine)
        m_text = HeadingText(row->day);
    else if (const DATACALENDAR* line = LineOf(row->line))
        m_text = m_view.BuildWeekItem(*line, 2, CCalendarSubview::kShowEnd | CCalendarSubview::kShowLocation);
    cell.pszText = m_text.c_str();
    return 1;
}

int ListPage::DrawCell(tagDRAWITEMSTRUCT& item, tagCELLINFO&) {
    return static_cast<ListPage*>(static_cast<PageGrid*>(item.pGrid)->page)->DrawHeading(item);
}

// The bar of the hours stands at the right of the heading.
int ListPage::DrawHeading(const tagDRAWITEMSTRUCT& item) const {
    const Row* row = RowAt(static_cast<WORD>(item.itemID >> 16));
    if (!row || row->line != kNoLine || (item.itemState & GRID_ITEM_SELECTED)) return GRID_DRAW_ALL;
    const bool today = row->day == static_cast<LONG>(Today());
    const HBRUSH ground = CreateSolidBrush(ColorOf(today ? Paint::Today : Paint::Heading));
    FillRect(item.hDC, &item.rcItem, ground);
    DeleteObject(ground);
    const int width = BarWidth(item.rcItem.right - item.rcItem.left);
    const auto index = static_cast<std::size_t>(row->day - m_firstDay);
    if (width > 0 && index < m_bars.size()) {
        const RECT bar{item.rcItem.right - width - Scaled(6), item.rcItem.top + Scaled(4),
                       item.rcItem.right - Scaled(6), item.rcItem.bottom - Scaled(5)};
        CCalendarSubview::OwnerDrawCellFullRowTimeBar(m_view, CCalendarSubview::kBarFull, m_bars[index],
                                                      item.hDC, bar, nullptr);
    }
    return GRID_DRAW_LINES_TEXT;
}

const DATACALENDAR* ListPage::SelectedLine(HWND) const {
    const Row* row = RowAt(m_grid.GetRow());
    return row && row->line != kNoLine ? LineOf(row->line) : nullptr;
}

void ListPage::Tapped(const tagNM_GRIDVIEW& view) {
    const Row* row = RowAt(view.wRow);
    if (!row) return m_host.FillEmpty();
    if (row->line == kNoLine) return m_host.OpenDay(row->day);
    if (const DATACALENDAR* line = LineOf(row->line)) m_host.OpenItem(*line);
}

// --- The week -----------------------------------------------------------------------------------------------------

DayRange WeekPage::RangeOf(LONG day) const {
    const LONG first = WeekStart(day);
    return {first, first + 6};
}

std::u16string WeekPage::Title(LONG day, bool narrow) const {
    const DayRange range = RangeOf(day);
    const bool oneMonth = DateText(range.first, u"MMM") == DateText(range.last, u"MMM");
    return DateText(range.first, oneMonth ? u"d" : u"d MMM") + u" - " +
           DateText(range.last, narrow ? u"d MMM" : u"d MMM yyyy");
}

namespace {

std::u16string Heading(LONG day, const std::u16string& text) {
    const bool today = day == static_cast<LONG>(Today());
    return GroundTag(today ? Paint::Today : Paint::Heading) +
           FontTag(today ? Paint::TodayText : Paint::Text) + u"<B>" + HTMLEscape(text) + u"</B>";
}

} // namespace

std::u16string WeekPage::HeadingText(LONG day) const { return Heading(day, DateText(day, u"ddd d MMM")); }

// --- The agenda ---------------------------------------------------------------------------------------------------

std::u16string AgendaPage::Title(LONG day, bool narrow) const {
    return narrow ? u"From " + DateText(day, u"d MMM") : u"Agenda from " + DateText(day, u"d MMMM yyyy");
}

std::u16string AgendaPage::HeadingText(LONG day) const {
    const LONG ahead = day - static_cast<LONG>(Today());
    const bool near = ahead >= -1 && ahead < 7;
    return Heading(day, NearDay(day) + (near ? u", " + DateText(day, u"d MMMM") : u""));
}

} // namespace qn
