#include "QNWorkerClass/zonecache.h"

#include "Platform/civil.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr LONGLONG kSecondsPerDay = 86400;
constexpr LONGLONG kEndOfSeconds = civil::kEndOfTicks / civil::kTicksPerSecond;

bool IsTime(LONGLONG seconds) { return seconds >= 0 && seconds < kEndOfSeconds; }

LONGLONG DayOfSeconds(LONGLONG seconds) { return civil::FloorDiv(seconds, kSecondsPerDay); }

LONGLONG SecondsOf(const SYSTEMTIME& time) { return civil::TicksOf(time) / civil::kTicksPerSecond; }

SYSTEMTIME FieldsOf(LONGLONG seconds) { return civil::SystemTimeFromTicks(seconds * civil::kTicksPerSecond); }

bool SameDate(const SYSTEMTIME& a, const SYSTEMTIME& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

bool SameRules(const TIME_ZONE_INFORMATION& a, const TIME_ZONE_INFORMATION& b) {
    return a.Bias == b.Bias && a.StandardBias == b.StandardBias && a.DaylightBias == b.DaylightBias &&
           SameDate(a.StandardDate, b.StandardDate) && SameDate(a.DaylightDate, b.DaylightDate);
}

bool IsRelative(const SYSTEMTIME& change) {
    return change.wYear == 0 && change.wMonth >= 1 && change.wMonth <= 12 && change.wDayOfWeek <= 6 &&
           change.wDay >= 1 && change.wDay <= 5 && change.wHour < 24 && change.wMinute < 60 &&
           change.wSecond < 60 && change.wMilliseconds < 1000;
}

} // namespace

void ZoneCache::SetZone(const TIME_ZONE_INFORMATION& zone) {
    if (SameRules(zone, m_zone)) return;
    m_zone = zone;
    m_years.fill({});
    m_pLast = &m_years[0];
    m_toUtc = m_toLocal = {};
    if (zone.DaylightDate.wMonth == 0 && zone.StandardDate.wMonth == 0)
        m_form = Form::Fixed;
    else if (!IsRelative(zone.DaylightDate) || !IsRelative(zone.StandardDate) || zone.DaylightBias > 0)
        m_form = Form::Other;
    else
        m_form = zone.DaylightDate.wMonth < zone.StandardDate.wMonth ? Form::Northern : Form::Southern;
}

// --- Years --------------------------------------------------------------------------------------------------------

const ZoneCache::Year& ZoneCache::YearOf(LONGLONG day) {
    if (day >= m_pLast->firstDay && day < m_pLast->endDay) return *m_pLast;
    int number = civil::CivilFromDays(day).year;
    Year& year = m_years[static_cast<std::size_t>(number) % m_years.size()];
    m_pLast = &year;
    if (day < year.firstDay || day >= year.endDay) FillYear(year, number);
    return year;
}

// The inner part is summer in the north and standard time in the south; it is empty when the changes stand the other
// way round.
void ZoneCache::FillYear(Year& year, int number) {
    SYSTEMTIME summer;
    SYSTEMTIME standard;
    ConvertToAbsolute(static_cast<WORD>(number), &m_zone.DaylightDate, &summer);
    ConvertToAbsolute(static_cast<WORD>(number), &m_zone.StandardDate, &standard);
    year.firstDay = civil::DaysFromCivil(number, 1, 1);
    year.endDay = civil::DaysFromCivil(number + 1, 1, 1);
    LONGLONG summerDay = civil::DaysOf(summer);
    LONGLONG standardDay = civil::DaysOf(standard);
    year.innerDaysAreSummer = summerDay < standardDay;
    year.dayFrom = std::min(summerDay, standardDay);
    year.dayTo = std::max(summerDay, standardDay);
    // "Later than the change", the end by the clock of summer.
    LONGLONG begins = SecondsOf(summer) + 1;
    LONGLONG ends = SecondsOf(standard) + 1 + 60 * LONGLONG{m_zone.DaylightBias};
    year.secondFrom = m_form == Form::Northern ? begins : ends;
    year.secondTo = std::max(year.secondFrom, m_form == Form::Northern ? ends : begins);
}

bool ZoneCache::HoldsByDay(LONGLONG day, const Year& year) const {
    bool inner = day >= year.dayFrom && day < year.dayTo;
    return inner == year.innerDaysAreSummer;
}

bool ZoneCache::IsInDST(LONGLONG day) {
    if (m_form == Form::Fixed) return false;
    if (m_form != Form::Other) return HoldsByDay(day, YearOf(day));
    SYSTEMTIME date = civil::SystemTimeFromDays(day);
    return ::IsInDST(date.wYear, date.wMonth, date.wDay, &m_zone);
}

// --- Conversions --------------------------------------------------------------------------------------------------

// In seconds, for a side of the year.
LONGLONG ZoneCache::Bias(bool summer) const {
    return 60 * (LONGLONG{m_zone.Bias} + (summer ? m_zone.DaylightBias : m_zone.StandardBias));
}

ZoneCache::Span ZoneCache::PartOf(LONGLONG time, const Span& year, LONGLONG from, LONGLONG to, LONGLONG inner,
                                  LONGLONG outer) {
    if (time < from) return {year.begin, std::min(from, year.end), outer};
    if (time < to) return {std::max(from, year.begin), std::min(to, year.end), inner};
    return {std::max(to, year.begin), year.end, outer};
}

bool ZoneCache::ToUtc(LONGLONG local, LONGLONG& utc) {
    if (!m_toUtc.Holds(local) && !FindSpanToUtc(local)) {
        utc = local + Bias(IsInDST(DayOfSeconds(local)));
        return IsTime(utc);
    }
    utc = local + m_toUtc.shift;
    return IsTime(utc);
}

bool ZoneCache::FindSpanToUtc(LONGLONG local) {
    if (m_form == Form::Other) return false;
    if (m_form == Form::Fixed) {
        m_toUtc = {0, kEndOfSeconds, Bias(false)};
        return m_toUtc.Holds(local);
    }
    const Year& year = YearOf(DayOfSeconds(local));
    m_toUtc = PartOf(local, {year.firstDay * kSecondsPerDay, year.endDay * kSecondsPerDay, 0},
                     year.dayFrom * kSecondsPerDay, year.dayTo * kSecondsPerDay,
                     Bias(year.innerDaysAreSummer), Bias(!year.innerDaysAreSummer));
    return true;
}

bool ZoneCache::ToLocal(LONGLONG utc, LONGLONG& local) {
    if (!m_toLocal.Holds(utc) && !FindSpanToLocal(utc)) return ToLocalPlainly(utc, local);
    local = utc + m_toLocal.shift;
    return IsTime(local);
}

bool ZoneCache::FindSpanToLocal(LONGLONG utc) {
    const LONGLONG bias = 60 * LONGLONG{m_zone.Bias};
    if (m_form == Form::Other || !IsTime(utc)) return false;
    if (m_form == Form::Fixed) {
        m_toLocal = {0, kEndOfSeconds, -bias};
        return true;
    }
    // On the clock without summer time, up to where summer's clock shows the next year: there the months decide.
    const LONGLONG base = utc - bias;
    const LONGLONG ahead = -60 * LONGLONG{m_zone.DaylightBias};
    if (!IsTime(base) || !IsTime(base + ahead)) return false;
    const Year& year = YearOf(DayOfSeconds(base));
    const Span whole{year.firstDay * kSecondsPerDay, year.endDay * kSecondsPerDay - ahead, 0};
    if (!whole.Holds(base)) return false;
    bool northern = m_form == Form::Northern;
    Span part = PartOf(base, whole, year.secondFrom, year.secondTo, -Bias(northern), -Bias(!northern));
    m_toLocal = {part.begin + bias, part.end + bias, part.shift};
    return true;
}

// By the functions themselves: zones with absolute or impossible changes, and the hour about the new year.
bool ZoneCache::ToLocalPlainly(LONGLONG utc, LONGLONG& local) const {
    if (!IsTime(utc)) return false;
    SYSTEMTIME moment = FieldsOf(utc);
    SYSTEMTIME wall;
    bool summer;
    if (!CeSystemTimeToTzSpecificLocalTime(&m_zone, &moment, &wall, &summer)) return false;
    local = SecondsOf(wall);
    return true;
}
