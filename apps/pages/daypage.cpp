#include "apps/pages/daypage.h"

#include "Platform/locale.h"
#include "Platform/strings.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"

#include <algorithm>
#include <cmath>

namespace qn {

namespace {

constexpr int kRows = 48;
constexpr int kRowMinutes = 30;
constexpr int kDayMinutes = 1440;
constexpr int kRowHeight = 22; // pixels at 96 dots an inch, as the next
constexpr int kHourWidth = 46;
constexpr int kAllDayHeight = 26;
constexpr int kRoomForFacts = 350;
constexpr int kMostAllDay = 3; // rows that are shown at once
constexpr WORD kHours = 0;     // columns
constexpr WORD kItems = 1;

int MinuteOf(double fraction) { return static_cast<int>(std::lround(fraction * kDayMinutes)); }

// "9:00", or "9 AM" where the clock has twelve hours.
std::u16string HourName(int hour) {
    WCHAR text[64] = {};
    WCHAR clock[4] = {};
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_ITIME, clock, 4);
    SYSTEMTIME time{};
    time.wHour = static_cast<WORD>(hour);
    const DWORD flags = clock[0] == u'1' ? TIME_NOSECONDS : TIME_NOMINUTESORSECONDS;
    GetTimeFormatW(LOCALE_USER_DEFAULT, flags, &time, nullptr, text, 64);
    return text;
}

// The mark-up of an hour's label, at its first half.
std::u16string HourText(int row) {
    const std::u16string ground = GroundTag(Paint::Hours);
    return row % 2 != 0 ? ground : ground + u"<P RIGHT>" + FontTag(Paint::Quiet) + HourName(row / 2);
}

// Without the swatch of the status, which the bar of the floater shows.
std::u16string WithoutStatus(std::u16string text) {
    const std::size_t at = text.find(u"<IMG SRC=S");
    const std::size_t end = at == std::u16string::npos ? at : text.find(u"> ", at);
    if (end != std::u16string::npos) text.erase(at, end + 2 - at);
    return text;
}

} // namespace

std::u16string DayPage::Title(LONG day, bool narrow) const {
    if (narrow) return DateText(day, u"ddd d MMM");
    const LONG ahead = day - static_cast<LONG>(Today());
    const std::u16string date = DateText(day, u"d MMMM yyyy");
    return (ahead >= -1 && ahead <= 1 ? NearDay(day) : DateText(day, u"dddd")) + u", " + date;
}

bool DayPage::SetUpGrids() {
    m_grid.SetMinRowHeight(static_cast<WORD>(Scaled(kRowHeight)));
    m_allDayGrid.SetMinRowHeight(static_cast<WORD>(Scaled(kAllDayHeight)));
    m_allDayGrid.SetRowHeightFixed(true);
    m_allDayGrid.SetRowSelect(true);
    if (!OpenGrid(m_allDayGrid, true) || !OpenGrid(m_grid, false)) return false;
    m_allDayGrid.SetShowVLines(false);
    m_allDayGrid.SetShowHLines(true);
    return true;
}

// Many all-day items scroll in their own place, so that the hours keep most of the page.
void DayPage::Place(int cx, int cy) {
    const int rows = std::min<int>(static_cast<int>(m_allDay.size()), kMostAllDay);
    const int top = rows * Scaled(kAllDayHeight);
    m_allDayGrid.ShowWindow(rows > 0 ? SW_SHOWNA : SW_HIDE);
    m_allDayGrid.MoveWindow(0, 0, cx, top);
    m_grid.MoveWindow(0, top, cx, std::max(cy - top, 0));
}

DayPage::Span DayPage::SpanOf(const DATACALENDAR& line) const {
    Span place{};
    place.begins = std::floor(line.m_dtStart) == m_day;
    place.startMinute = std::clamp(MinuteOf(line.m_dtStart - m_day), 0, kDayMinutes - 1);
    place.endMinute = std::clamp(MinuteOf(line.m_dtEnd - m_day), place.startMinute, kDayMinutes);
    place.row = place.startMinute / kRowMinutes;
    const int endRow = (place.endMinute + kRowMinutes - 1) / kRowMinutes;
    place.rows = std::max(endRow - place.row, 1);
    return place;
}

void DayPage::Fill(bool sameDay) {
    m_scrolled = sameDay ? m_grid.GetTopPixel() : -1;
    const tagFLOATERINFO* floater = m_grid.GetSelectedFloater();
    m_selectedOid = sameDay && floater && floater->dwID < m_oids.size() ? m_oids[floater->dwID] : 0;
    m_allDay.clear();
    m_oids.clear();
    for (std::size_t i = 0; i < m_data->Lines().size(); ++i) {
        const DATACALENDAR* line = LineOf(i);
        m_oids.push_back(line->m_oid);
        if (line->m_lDay == m_day && !IsOnHours(*line)) m_allDay.push_back(i);
    }
    m_onAllDay = m_onAllDay && sameDay && !m_allDay.empty();
    m_allDayGrid.DestroyCells();
    m_allDayGrid.SetDimensions(static_cast<DWORD>(m_allDay.size()), 1);
    m_grid.DestroyCells();
    m_grid.SetDimensions(kRows, 2);
    m_grid.SetFixedColCount(1);
    m_grid.SetColWidth(kHours, static_cast<WORD>(Scaled(kHourWidth)));
    m_grid.SetColWidth(kItems, HTMLGridAxis::kAutomatic);
    m_grid.SetShowHLines(true);
    m_grid.CreateCells();
    FillHours();
    AddAppointments();
    RECT client{};
    GetClientRect(&client);
    Place(client.right, client.bottom);
}

void DayPage::FillHours() {
    const int weekday = (Weekday(m_day) + 1) % 7; // 0 Sunday
    const int from = m_view.WorkMinute(weekday, CCalendarSubview::kWorkStart);
    const int to = m_view.WorkMinute(weekday, CCalendarSubview::kWorkEnd);
    const RECT margins{0, Scaled(2), Scaled(4), 0};
    for (int row = 0; row < kRows; ++row) {
        const auto gridRow = static_cast<WORD>(row);
        const int minute = row * kRowMinutes;
        const bool work = minute >= from && minute < to;
        m_grid.SetCellText(kHours, gridRow, HourText(row).c_str(), margins);
        m_grid.SetCellSingleLine(kHours, gridRow, true);
        const std::u16string ground =
            std::u16string(u"<BODY BGCOLOR=") + m_view.Colors().Text(work ? kColorWork : kColorNoWork) + u">";
        m_grid.SetCellText(kItems, gridRow, ground.c_str());
    }
}

void DayPage::AddAppointments() {
    for (std::size_t i = 0; i < m_data->Lines().size(); ++i) {
        const DATACALENDAR& line = *LineOf(i);
        if (!IsOnHours(line)) continue;
        const Span place = SpanOf(line);
        const int minutes = place.rows * kRowMinutes;
        const int top = (place.startMinute - place.row * kRowMinutes) * 100 / minutes;
        const int length = (place.endMinute - place.startMinute) * 100 / minutes;
        m_grid.AddFloater(kItems, static_cast<WORD>(place.row), static_cast<DWORD>(i),
                          static_cast<WORD>(place.rows), static_cast<WORD>(length), static_cast<WORD>(top),
                          m_view.Colors().OfStatus(line.m_lBusyStatus).cr, !place.begins);
    }
}

// Where it stood, else half an hour above the working hours.
void DayPage::Scroll() {
    const int from = m_view.WorkMinute((Weekday(m_day) + 1) % 7, CCalendarSubview::kWorkStart);
    m_grid.SetTopRow(m_scrolled >= 0 ? m_grid.PixelToRow(m_scrolled)
                                     : static_cast<WORD>(std::max(from / kRowMinutes - 1, 0)));
    const auto& lines = m_data->Lines();
    const auto selected = std::ranges::find_if(
        lines, [this](const DATACALENDAR* line) { return line->m_oid == m_selectedOid && IsOnHours(*line); });
    m_selectedOid != 0 && selected != lines.end() ? Select(static_cast<DWORD>(selected - lines.begin()))
                                                  : m_grid.EmptySelection();
}

// The keys' way to a floater: its first cell, then from one to the next.
void DayPage::Select(DWORD id) {
    const auto row = static_cast<WORD>(SpanOf(*LineOf(id)).row);
    m_grid.SetSelection(kItems, row, kItems, row);
    m_grid.UpdateSelectionForFloaters(true);
    const auto found = [&] {
        const tagFLOATERINFO* floater = m_grid.GetSelectedFloater();
        return floater && floater->dwID == id;
    };
    while (!found() && m_grid.MoveFloaterSelection(true)) {}
}

std::vector<HWND> DayPage::Lists() const {
    if (m_allDay.empty()) return {m_grid.GetHWnd()};
    return {m_allDayGrid.GetHWnd(), m_grid.GetHWnd()};
}

bool DayPage::BeginSelection() {
    return ::GetFocus() == m_allDayGrid.GetHWnd() ? CalendarPage::BeginSelection(m_allDayGrid)
                                                  : CalendarPage::BeginSelection();
}

const DATACALENDAR* DayPage::SelectedLine(HWND list) const {
    if (list == m_allDayGrid.GetHWnd()) {
        const WORD row = m_allDayGrid.GetRow();
        return row < m_allDay.size() ? LineOf(m_allDay[row]) : nullptr;
    }
    const tagFLOATERINFO* floater = m_grid.GetSelectedFloater();
    return floater ? LineOf(floater->dwID) : nullptr;
}

// One of both lists has a selection.
void DayPage::Selected(HWND list) {
    m_onAllDay = list == m_allDayGrid.GetHWnd();
    (m_onAllDay ? m_grid : m_allDayGrid).EmptySelection();
}

void DayPage::Tapped(const tagNM_GRIDVIEW& view) {
    if (const DATACALENDAR* line = SelectedLine(view.hdr.hwndFrom)) m_host.OpenItem(*line);
}

LRESULT DayPage::OnCellRequest(tagNM_GRIDCELL& cell) {
    const auto row = static_cast<std::size_t>(cell.hdr.idFrom >> 16);
    const DATACALENDAR* line = row < m_allDay.size() ? LineOf(m_allDay[row]) : nullptr;
    if (!line) return 0;
    m_text = m_view.BuildWeekItem(*line, 2, CCalendarSubview::kShowLocation | CCalendarSubview::kOneLine);
    cell.bSingleLine = 1;
    cell.pszText = m_text.c_str();
    cell.rcMargins = {Scaled(6), Scaled(3), Scaled(6), Scaled(3)};
    return 1;
}

DATE DayPage::StartAt(const DATACALENDAR& line, int row) const {
    const Span place = SpanOf(line);
    const int minute = row * kRowMinutes + place.startMinute % kRowMinutes;
    return m_day + static_cast<double>(std::clamp(minute, 0, kDayMinutes - 1)) / kDayMinutes;
}

// A short one on a small screen has room for its beginning and its subject alone.
DWORD DayPage::FactsOf(const DATACALENDAR& line) const {
    RECT client{}; // the column has no width of its own before it is laid out
    GetClientRect(&client);
    if (SpanOf(line).rows == 1 && client.right < Scaled(kRoomForFacts)) return 0;
    return CCalendarSubview::kShowEnd | CCalendarSubview::kShowLocation;
}

LRESULT DayPage::OnFloater(UINT message, tagNM_GRIDVIEW& view) {
    const DATACALENDAR* line = LineOf(view.dwData);
    if (!line) return 0;
    switch (message) {
    case GRIDM_FLOATER_TEXT:
        m_text = WithoutStatus(m_view.BuildWeekItem(*line, 2, FactsOf(*line)));
        view.pszText = m_text.c_str();
        return 1;
    case GRIDM_FLOATER_TO:
        return 2;
    case GRIDM_FLOATER_TIP:
        m_text = TimeText(StartAt(*line, view.wRow));
        view.pszText = m_text.c_str();
        return 1;
    case GRIDM_FLOATER_MOVED:
        m_host.MoveItem(*line, StartAt(*line, view.wRow));
        return 1;
    default:
        return 0;
    }
}

} // namespace qn
