#include "apps/pages/daypage.h"

#include "Platform/locale.h"
#include "Platform/strings.h"
#include "apps/pages/pagetext.h"
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
constexpr WORD kHours = 0; // columns
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
    if (row % 2 != 0) return u"<BODY BGCOLOR=#F0F0F0>";
    return u"<BODY BGCOLOR=#F0F0F0><P RIGHT><FONT SIZE=2 NAME=\"Tahoma\" COLOR=" +
           std::u16string(kQuietText) + u">" + HourName(row / 2);
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

void DayPage::SetUpGrid() { m_grid.SetMinRowHeight(static_cast<WORD>(Scaled(kRowHeight))); }

DayPage::Place DayPage::PlaceOf(const DATACALENDAR& line) const {
    Place place{};
    place.begins = std::floor(line.m_dtStart) == m_day;
    place.startMinute = std::clamp(MinuteOf(line.m_dtStart - m_day), 0, kDayMinutes - 1);
    place.endMinute = std::clamp(MinuteOf(line.m_dtEnd - m_day), place.startMinute, kDayMinutes);
    place.row = place.startMinute / kRowMinutes;
    const int endRow = (place.endMinute + kRowMinutes - 1) / kRowMinutes;
    place.rows = std::max(endRow - place.row, 1);
    return place;
}

void DayPage::Fill(bool sameDay) {
    const int scrolled = m_grid.GetTopPixel() - m_grid.GetFixedRowsHeight();
    m_allDay.clear();
    for (std::size_t i = 0; i < m_data->Lines().size(); ++i)
        if (const DATACALENDAR* line = LineOf(i); line->m_lDay == m_day && line->m_bAllDay)
            m_allDay.push_back(i);
    m_top = m_allDay.empty() ? 0 : 1;
    m_grid.DestroyCells();
    m_grid.SetFixedRowCount(0);
    m_grid.SetDimensions(static_cast<DWORD>(kRows + m_top), 2);
    m_grid.SetFixedRowCount(static_cast<WORD>(m_top));
    m_grid.SetFixedColCount(1);
    m_grid.SetColWidth(kHours, static_cast<WORD>(Scaled(kHourWidth)));
    m_grid.SetColWidth(kItems, HTMLGridAxis::kAutomatic);
    m_grid.SetShowHLines(true);
    m_grid.CreateCells();
    FillAllDay();
    FillHours();
    AddAppointments();
    if (!sameDay) m_grid.EmptySelection();
    m_scrolled = sameDay ? scrolled : -1;
}

void DayPage::FillHours() {
    const int weekday = (Weekday(m_day) + 1) % 7; // 0 Sunday
    const int from = m_view.WorkMinute(weekday, CCalendarSubview::kWorkStart);
    const int to = m_view.WorkMinute(weekday, CCalendarSubview::kWorkEnd);
    const RECT margins{0, Scaled(2), Scaled(4), 0};
    for (int row = 0; row < kRows; ++row) {
        const auto gridRow = static_cast<WORD>(row + m_top);
        const int minute = row * kRowMinutes;
        const bool work = minute >= from && minute < to;
        m_grid.SetCellText(kHours, gridRow, HourText(row).c_str(), margins);
        m_grid.SetCellSingleLine(kHours, gridRow, true);
        const std::u16string ground =
            std::u16string(u"<BODY BGCOLOR=") + m_view.Colors().Text(work ? kColorWork : kColorNoWork) + u">";
        m_grid.SetCellText(kItems, gridRow, ground.c_str());
    }
}

// A link each, named by the number of its line.
void DayPage::FillAllDay() {
    if (m_top == 0) return;
    std::u16string text = u"<BODY BGCOLOR=#FFFFFF><FONT SIZE=2 NAME=\"Tahoma\">";
    for (const std::size_t index : m_allDay) {
        const DATACALENDAR& line = *LineOf(index);
        const std::u16string place(TextOf(line.m_bstrLocation));
        if (index != m_allDay.front()) text += u"<BR>";
        text += u"<IMG SRC=219> <A=\"" + Utf16(std::to_string(index)) + u"\"><FONT COLOR=#000000><B>" +
                Escaped(TextOf(line.m_bstrSubject)) + u"</B>" +
                (place.empty() ? u"" : u" [" + Escaped(place) + u"]") + u"</A>";
    }
    const RECT margins{Scaled(6), Scaled(3), Scaled(6), Scaled(3)};
    m_grid.SetCellText(kHours, 0, u"<BODY BGCOLOR=#F0F0F0>");
    m_grid.SetCellText(kItems, 0, text.c_str(), margins);
}

void DayPage::AddAppointments() {
    for (std::size_t i = 0; i < m_data->Lines().size(); ++i) {
        const DATACALENDAR& line = *LineOf(i);
        if (line.m_lDay != m_day || line.m_bAllDay || line.m_nType != kLineAppointment) continue;
        const Place place = PlaceOf(line);
        const int minutes = place.rows * kRowMinutes;
        const int top = (place.startMinute - place.row * kRowMinutes) * 100 / minutes;
        const int length = (place.endMinute - place.startMinute) * 100 / minutes;
        m_grid.AddFloater(kItems, static_cast<WORD>(place.row + m_top), static_cast<DWORD>(i),
                          static_cast<WORD>(place.rows), static_cast<WORD>(length), static_cast<WORD>(top),
                          m_view.Colors().OfStatus(line.m_lBusyStatus).cr, !place.begins);
    }
}

// Where it stood, else half an hour above the working hours.
void DayPage::Scroll() {
    if (m_scrolled >= 0) return m_grid.SetTopRow(m_grid.PixelToRow(m_scrolled + m_grid.GetFixedRowsHeight()));
    const int from = m_view.WorkMinute((Weekday(m_day) + 1) % 7, CCalendarSubview::kWorkStart);
    m_grid.SetTopRow(static_cast<WORD>(std::max(from / kRowMinutes - 1, 0) + m_top));
}

void DayPage::Tapped(const tagNM_GRIDVIEW& view) {
    const tagFLOATERINFO* floater = m_grid.GetSelectedFloater();
    const DATACALENDAR* line = floater ? LineOf(floater->dwID) : nullptr;
    if (view.hdr.code == GRIDN_HOT_SPOT && view.pszHotSpot && m_top == 1 && view.wRow == 0)
        line = LineOf(static_cast<std::size_t>(_wtol(view.pszHotSpot)));
    if (line) m_host.OpenItem(*line);
}

DATE DayPage::StartAt(const DATACALENDAR& line, int row) const {
    const Place place = PlaceOf(line);
    const int minute = row * kRowMinutes + place.startMinute % kRowMinutes;
    return m_day + static_cast<double>(std::clamp(minute, 0, kDayMinutes - 1)) / kDayMinutes;
}

LRESULT DayPage::OnFloater(UINT message, tagNM_GRIDVIEW& view) {
    const DATACALENDAR* line = LineOf(view.dwData);
    if (!line) return 0;
    switch (message) {
    case GRIDM_FLOATER_TEXT:
        m_text = WithoutStatus(
            m_view.BuildWeekItem(*line, 2, CCalendarSubview::kShowEnd | CCalendarSubview::kShowLocation));
        view.pszText = m_text.c_str();
        return 1;
    case GRIDM_FLOATER_TO:
        return view.wRow >= m_top ? 2 : 0;
    case GRIDM_FLOATER_TIP:
        m_text = TimeText(StartAt(*line, view.wRow - m_top));
        view.pszText = m_text.c_str();
        return 1;
    case GRIDM_FLOATER_MOVED:
        m_host.MoveItem(*line, StartAt(*line, view.wRow - m_top));
        return 1;
    default:
        return 0;
    }
}

} // namespace qn
