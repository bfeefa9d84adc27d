#include "QNWorkerClass/zonecache.h"

#include "Platform/civil.h"

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
    if (zone.DaylightDate.wMonth == 0 && zone.StandardDate.wMonth == 0)
        m_form = Form::Fixed;
    else if (!IsRelative(zone.DaylightDate) || !IsRelative(zone.StandardDate) || zone.DaylightBias > 0)
        m_form = Form::Other;
    else
        m_form = zone.DaylightDate.wMonth < zone.StandardDate.wMonth ? Form::Northern : Form::Southern;
}

const ZoneCache::Year& ZoneCache::YearOf(LONGLONG day) {
    if (day >= m_pLast->firstDay && day < m_pLast->endDay) return *m_pLast;
    int number = civil::CivilFromDays(day).year;
    Year& year = m_years[static_cast<std::size_t>(number) % m_years.size()];
    m_pLast = &year;
    if (day >= year.firstDay && day < year.endDay) return year;
    SYSTEMTIME summer;
    SYSTEMTIME standard;
    ConvertToAbsolute(static_cast<WORD>(number), &m_zone.DaylightDate, &summer);
    ConvertToAbsolute(static_cast<WORD>(number), &m_zone.StandardDate, &standard);
    year.firstDay = civil::DaysFromCivil(number, 1, 1);
    year.endDay = civil::DaysFromCivil(number + 1, 1, 1);
    year.summerDay = civil::DaysOf(summer);
    year.standardDay = civil::DaysOf(standard);
    year.summerChange = SecondsOf(summer);
    year.standardChange = SecondsOf(standard);
    return year;
}

bool ZoneCache::IsInDST(LONGLONG day) {
    if (m_form == Form::Fixed) return false;
    if (m_form == Form::Other) {
        SYSTEMTIME date = civil::SystemTimeFromDays(day);
        return ::IsInDST(date.wYear, date.wMonth, date.wDay, &m_zone);
    }
    const Year& year = YearOf(day);
    if (day == year.summerDay) return true;
    if (year.summerDay < year.standardDay) return day > year.summerDay && day < year.standardDay;
    return day < year.standardDay || day > year.summerDay;
}

bool ZoneCache::ToUtc(LONGLONG local, LONGLONG& utc) {
    bool summer = IsInDST(DayOfSeconds(local));
    utc = local + 60 * (LONGLONG{m_zone.Bias} + (summer ? m_zone.DaylightBias : m_zone.StandardBias));
    return IsTime(utc);
}

bool ZoneCache::ToLocal(LONGLONG utc, LONGLONG& local) {
    LONGLONG base = utc - 60 * LONGLONG{m_zone.Bias};
    if (m_form == Form::Fixed) {
        local = base;
        return IsTime(local);
    }
    LONGLONG summerTime = base - 60 * LONGLONG{m_zone.DaylightBias};
    if (m_form == Form::Other || !IsTime(base) || !IsTime(summerTime)) return ToLocalPlainly(utc, local);
    const Year& year = YearOf(DayOfSeconds(base));
    if (summerTime >= year.endDay * kSecondsPerDay) return ToLocalPlainly(utc, local);
    bool begun = base > year.summerChange;
    bool ended = summerTime > year.standardChange;
    bool summer = m_form == Form::Northern ? begun && !ended : begun || !ended;
    local = summer ? summerTime : base - 60 * LONGLONG{m_zone.StandardBias};
    return IsTime(local);
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
