#include "apps/pages/pagetext.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/memory.h"
#include "Platform/strings.h"
#include "apps/qn/support.h"

#include <algorithm>
#include <cmath>

namespace qn {

int Scaled(int pixels) { return ScalePx(g_HIDPI_LogPixelsX, pixels); }

std::u16string DateText(LONG day, const WCHAR* picture) {
    WCHAR text[128] = {};
    const SYSTEMTIME date = ToSystemTime(day);
    GetDateFormatW(LOCALE_USER_DEFAULT, picture ? 0 : DATE_SHORTDATE, &date, picture, text, 128);
    return text;
}

std::u16string LongDate(LONG day) {
    WCHAR text[128] = {};
    const SYSTEMTIME date = ToSystemTime(day);
    GetDateFormatW(LOCALE_USER_DEFAULT, DATE_LONGDATE, &date, nullptr, text, 128);
    return text;
}

std::u16string NearDay(LONG day) {
    const LONG ahead = day - static_cast<LONG>(Today());
    if (ahead == 0) return u"Today";
    if (ahead == 1) return u"Tomorrow";
    if (ahead == -1) return u"Yesterday";
    return ahead > 0 && ahead < 7 ? DateText(day, u"dddd") : DateText(day, u"ddd ") + DateText(day, nullptr);
}

std::u16string TimeText(DATE moment) {
    WCHAR text[64] = {};
    const SYSTEMTIME time = ToSystemTime(moment);
    GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_NOSECONDS, &time, nullptr, text, 64);
    return text;
}

std::u16string MomentText(DATE moment) {
    return LongDate(static_cast<LONG>(std::floor(moment))) + u", " + TimeText(moment);
}

namespace {

std::u16string Cut(std::u16string_view text, std::size_t most, std::u16string_view end) {
    std::u16string cut(text.substr(0, most));
    if (text.size() <= most) return cut;
    if (cut.back() >= 0xD800 && cut.back() < 0xDC00) cut.pop_back(); // half of a pair
    return cut.append(end);
}

} // namespace

std::u16string LongText(std::u16string_view text) {
    constexpr std::size_t kLongest = 16000;
    return Cut(text, kLongest, u"\n\u2026");
}

std::u16string Shortened(std::u16string_view text, std::size_t most) {
    std::u16string line = Cut(text, most, u"\u2026");
    for (WCHAR& c : line)
        if (c < u' ') c = u' ';
    return line;
}

std::u16string WhenText(const DATACALENDAR& line) {
    const auto first = static_cast<LONG>(std::floor(line.m_dtStart));
    const auto last = static_cast<LONG>(std::floor(line.m_dtEnd));
    if (line.m_bAllDay) // the end is the last day
        return LongDate(first) + (last > first ? u" - " + LongDate(last) : u"") + u", all day";
    std::u16string text = MomentText(line.m_dtStart);
    if (line.m_dtEnd <= line.m_dtStart) return text;
    return text + u" - " + (last != first ? LongDate(last) + u", " : u"") + TimeText(line.m_dtEnd);
}

// 30 December 1899 was a Saturday.
int Weekday(LONG day) { return static_cast<int>(((day + 5) % 7 + 7) % 7); }

LONG WeekStart(LONG day) {
    WCHAR text[8] = {};
    GetLocaleInfoW(LOCALE_USER_DEFAULT, LOCALE_IFIRSTDAYOFWEEK, text, 8);
    const int first = text[0] >= u'0' && text[0] <= u'6' ? text[0] - u'0' : 0;
    return day - (Weekday(day) - first + 7) % 7;
}

std::u16string_view TextOf(BSTR text) {
    return text ? std::u16string_view(text, SysStringLen(text)) : std::u16string_view();
}

} // namespace qn
