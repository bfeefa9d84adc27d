// The bar of a day's 24 hours: which half hours hold something, and how it is painted.
#include "QNNewEditUI/CCalendarSubview.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/clock.h"
#include "Platform/strings.h"
#include "Platform/windows.h"
#include "QNGridCtrl/gradients.h"
#include "QNNewEditUI/CalendarText.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kHours = CDataMonth::kHours;
constexpr int kNoon = 12;
constexpr LONG kStatusBusy = 2; // from here on two items at once are a conflict
constexpr COLORREF kPureRed = 0x0000FF;
constexpr COLORREF kFrame = 0xABABAB;

// 30 December 1899 was a Saturday.
int WeekdayOf(LONG day) { return ((day % 7 + 7) % 7 + 6) % 7; }

struct Clock {
    int hour;
    int minute;
};
Clock ClockOf(double moment) {
    if (!std::isfinite(moment)) return {0, 0};
    const LONG minutes = std::lround((moment - std::floor(moment)) * kMinutesPerDay) % kMinutesPerDay;
    return {static_cast<int>(minutes / 60), static_cast<int>(minutes % 60)};
}

// Fractions of a day to the minute, so that equal times of day compare equal on every date.
double DayFraction(double days) { return std::round(days * kMinutesPerDay) / kMinutesPerDay; }

// The half hours that an item takes on one day.
struct HalfHours {
    int first; // hour
    int last;  // the hour behind the last one
    bool skipsFirstHalf;
    bool fillsLastHalf;
};

LONG MinutesOn(const DATACALENDAR& item, LONG day, Clock& start) {
    const Clock end = ClockOf(item.m_dtEnd);
    LONG minutes = item.m_lDuration;
    if (day > CalendarDay(item.m_dtStart)) {
        start = {0, 0};
        minutes = day >= CalendarDay(item.m_dtEnd) ? end.hour * 60 : kMinutesPerDay;
    }
    if (minutes > kMinutesPerDay) minutes = (kHours - end.hour) * 60; // whole hours alone count here
    return std::max<LONG>(minutes, 1);
}

HalfHours HalfHoursOn(const DATACALENDAR& item, LONG day) {
    Clock start = ClockOf(item.m_dtStart);
    const LONG minutes = MinutesOn(item, day, start);
    const LONG end = start.minute + minutes; // counted from the hour
    const int behind = start.hour + static_cast<int>((end + 59) / 60);
    const LONG endMinute = end % 60;
    return {start.hour, std::clamp(behind, start.hour, kHours), start.minute >= 30,
            behind > kHours || endMinute > 30 || endMinute == 0};
}

bool Takes(const HalfHours& range, int hour, int half) {
    if (hour == range.first && half == 0) return !range.skipsFirstHalf;
    if (hour == range.last - 1 && half == 1) return range.fillsLastHalf;
    return true;
}

void FillRectangle(HDC hdc, int left, int top, int right, int bottom, COLORREF color) {
    PaintRect(hdc, left, top, right - left, bottom - top, color);
}

double HourWidth(const RECT& rect) { return static_cast<double>(rect.right - rect.left) / kHours; }

int HourX(const RECT& rect, double hour) { return rect.left + static_cast<int>(HourWidth(rect) * hour); }

void PaintNow(HDC hdc, const RECT& rect, const CDataMonth& day) {
    SYSTEMTIME now;
    GetLocalTime(&now);
    if (now.wYear != day.wYear || now.wMonth != day.wMonth || now.wDay != day.wDay) return;
    const int x = HourX(rect, now.wHour + now.wMinute / 60.0);
    const int width = ScalePx(g_HIDPI_LogPixelsX, 3);
    FillRectangle(hdc, x, rect.top, std::min<int>(x + width, rect.right), rect.bottom, kPureRed);
}

void AddHourSpots(const RECT& rect, HTMLHotSpots& spots) {
    for (int hour = 0; hour < kHours; ++hour) {
        tagHOTSPOT spot{};
        spot.rect = {HourX(rect, hour) - rect.left, 0, HourX(rect, hour + 1) - rect.left,
                     rect.bottom - rect.top};
        wsprintfW(spot.szText, u"%d", CCalendarSubview::kFirstHourSpot + hour);
        spots.push_back(spot);
    }
}

void PaintFrame(HDC hdc, const RECT& rect) {
    const HPEN pen = CreatePen(static_cast<int>(PS_SOLID), 1, kFrame);
    const HGDIOBJ formerPen = SelectObject(hdc, pen);
    const HGDIOBJ formerBrush = SelectObject(hdc, GetStockObject(NULL_BRUSH));
    Rectangle(hdc, rect.left, rect.top, rect.right, rect.bottom);
    SelectObject(hdc, formerBrush);
    SelectObject(hdc, formerPen);
    DeleteObject(pen);
}

} // namespace

// --- Filling ------------------------------------------------------------------------------------------------------

void CCalendarSubview::SetupBarDataStruct(CDataMonth& day, const DATACALENDAR& item, double date,
                                          bool bUseCategoryColor) {
    if (item.m_nType != kLineAppointment || item.m_bAllDay || item.IsHeader()) return;
    const LONG whole = CalendarDay(date);
    if (m_bFreeTime)
        TakeFreeTime(day, DayFraction(item.m_dtStart - whole), DayFraction(item.m_dtEnd - whole),
                     WeekdayOf(whole));

    const HalfHours range = HalfHoursOn(item, whole);
    if (range.first < kNoon) day.bHasAM = 1;
    if (range.first >= kNoon || range.last >= kNoon) day.bHasPM = 1;
    day.bHasBar = 1;

    const LONG status = item.m_lBusyStatus;
    COLORREF color = m_colors.OfStatus(status).cr;
    if (bUseCategoryColor) {
        m_barCategories.ParseCategory(item.m_szCategories, true, false);
        if (m_barCategories.GetCategoryColorString()) color = m_barCategories.GetCategoryColorCR();
    }
    for (int hour = range.first; hour < range.last; ++hour)
        for (int half = 0; half < 2; ++half) {
            if (!Takes(range, hour, half)) continue;
            LONG& before = day.nHalfStatus[hour][half];
            bool& used = day.bHalfUsed[hour][half];
            if (before >= kStatusBusy && status >= kStatusBusy)
                day.crHalf[hour][half] = kPureRed;
            else if (!used || before < status)
                day.crHalf[hour][half] = color;
            before = std::max(before, status);
            used = true;
        }
}

// What an item from `start` to `end` leaves of the free time.
void CCalendarSubview::TakeFreeTime(CDataMonth& day, double start, double end, int weekday) const {
    std::vector<CDataMonth::Interval>& free = day.FreeTime;
    if (free.size() == 1 && free[0] == CDataMonth::Interval{0.0, 1.0})
        free[0] = {static_cast<double>(WorkMinute(weekday, kWorkStart)) / kMinutesPerDay,
                   static_cast<double>(WorkMinute(weekday, kWorkEnd)) / kMinutesPerDay};
    for (std::size_t i = 0; i < free.size();) {
        const CDataMonth::Interval whole = free[i];
        if (start <= whole.start && end >= whole.end) {
            free.erase(free.begin() + static_cast<std::ptrdiff_t>(i));
            continue;
        }
        if (whole.start < start && start < whole.end) {
            free[i].end = start;
            if (end < whole.end)
                free.insert(free.begin() + static_cast<std::ptrdiff_t>(++i), {end, whole.end});
        } else if (start <= whole.start && whole.start < end && end < whole.end) {
            free[i].start = end;
        }
        ++i;
    }
}

// --- Painting -----------------------------------------------------------------------------------------------------

int CCalendarSubview::OwnerDrawCellFullRowTimeBar(const CCalendarSubview& view, BarForm form,
                                                  const CDataMonth& day, HDC hdc, const RECT& rect,
                                                  HTMLHotSpots* pHotSpots) {
    constexpr int kPainted = 1;
    double date = 0;
    SystemTimeToVariantTime(&day, &date);
    const int weekday = WeekdayOf(CalendarDay(date));
    const double start = view.WorkMinute(weekday, kWorkStart) / 60.0,
                 end = view.WorkMinute(weekday, kWorkEnd) / 60.0;

    FillRectangle(hdc, rect.left, rect.top, rect.right, rect.bottom, view.m_colors.Value(kColorNoWork));
    FillRectangle(hdc, HourX(rect, start), rect.top, HourX(rect, end), rect.bottom,
                  view.m_colors.Value(kColorWork));
    PaintNow(hdc, rect, day);
    view.PaintHalfHours(hdc, rect, form == kBarSmall ? ScalePx(g_HIDPI_LogPixelsY, 3) : 0, day);
    view.PaintMarks(hdc, rect, form, weekday);
    if (pHotSpots) AddHourSpots(rect, *pHotSpots);
    view.PaintSelectedSpan(hdc, rect);
    PaintFrame(hdc, rect);
    return kPainted;
}

void CCalendarSubview::PaintHalfHours(HDC hdc, const RECT& rect, int inset, const CDataMonth& day) const {
    const double width = HourWidth(rect);
    const int half = static_cast<int>(std::ceil(width * 0.5));
    for (int hour = 0; hour < kHours; ++hour)
        for (int part = 0; part < 2; ++part) {
            if (!day.bHalfUsed[hour][part]) continue;
            // The second half ends one pixel inside the next hour.
            const double from = rect.left + width * hour + (part ? width + 1 - half : 0);
            const int left = static_cast<int>(from);
            FillRectangle(hdc, left, rect.top + inset, std::min<int>(left + half, rect.right),
                          rect.bottom - inset, day.crHalf[hour][part]);
        }
}

// Noon, through the whole height in the full form, and the ends of the working hours.
void CCalendarSubview::PaintMarks(HDC hdc, const RECT& rect, BarForm form, int weekday) const {
    constexpr COLORREF kBlack = 0;
    const int tick = ScalePx(g_HIDPI_LogPixelsY, 2);
    const int noon = HourX(rect, kNoon);
    if (form == kBarFull)
        FillRectangle(hdc, noon, rect.top, noon + 1, rect.bottom, kFrame);
    else
        FillRectangle(hdc, noon, rect.bottom - 1 - tick, noon + 1, rect.bottom - 1, kBlack);
    for (WorkTime time : {kWorkStart, kWorkEnd}) {
        const int x = HourX(rect, WorkMinute(weekday, time) / 60.0);
        FillRectangle(hdc, x, rect.bottom - 1 - tick, x + 1, rect.bottom - 1, kBlack);
    }
}

void CCalendarSubview::PaintSelectedSpan(HDC hdc, const RECT& rect) const {
    constexpr BYTE kIntensity = 150;
    if (m_flDayTop >= m_flDayBottom) return;
    const RECT span{HourX(rect, m_flDayTop * kHours), rect.top, HourX(rect, m_flDayBottom * kHours),
                    rect.bottom};
    ShadeRect(hdc, span, GetSysColor(static_cast<int>(COLOR_HIGHLIGHT | SYS_COLOR_INDEX_FLAG)), nullptr,
              kIntensity);
}
