#include "apps/qn/support.h"

#include "NorvoTools/datetime.h"
#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/strings.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace qn {

void Usage(const std::string& text) { throw Failure(text, kExitUsage); }

std::string Utf8(std::u16string_view text) {
    const int length = static_cast<int>(text.size());
    std::string out(text.size() * 3, '\0');
    const int bytes = length ? WideCharToMultiByte(CP_ACP, 0, text.data(), length, out.data(),
                                                   static_cast<int>(out.size()), nullptr, nullptr)
                             : 0;
    out.resize(static_cast<std::size_t>(bytes));
    return out;
}

std::u16string Utf16(std::string_view text) {
    std::u16string out(text.size(), u'\0');
    const int units = text.empty() ? 0
                                   : MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                                         out.data(), static_cast<int>(out.size()));
    out.resize(static_cast<std::size_t>(units));
    return out;
}

SYSTEMTIME ToSystemTime(DATE date) {
    SYSTEMTIME out{};
    VariantTimeToSystemTime(date, &out);
    return out;
}

DATE ToDate(const SYSTEMTIME& date) {
    DATE out = kNoDate;
    SystemTimeToVariantTime(&date, &out);
    return out;
}

DATE Today() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return std::floor(ToDate(now));
}

namespace {

std::optional<DATE> ParseIsoDay(std::string_view text) {
    int year = 0;
    int month = 0;
    int day = 0;
    int used = 0;
    const std::string copy(text);
    if (std::sscanf(copy.c_str(), "%4d-%2d-%2d%n", &year, &month, &day, &used) != 3 ||
        static_cast<std::size_t>(used) != copy.size() || year < 1601 || month < 1 || day < 1)
        return std::nullopt;
    SYSTEMTIME date{};
    date.wYear = static_cast<WORD>(year);
    date.wMonth = static_cast<WORD>(month);
    date.wDay = static_cast<WORD>(day);
    DATE out = 0;
    if (!SystemTimeToVariantTime(&date, &out)) return std::nullopt;
    return out;
}

std::string Formatted(const SYSTEMTIME& date, DWORD flags, bool time) {
    WCHAR text[128] = {};
    if (time)
        GetTimeFormatW(LOCALE_USER_DEFAULT, flags, &date, nullptr, text, 128);
    else
        GetDateFormatW(LOCALE_USER_DEFAULT, flags, &date, nullptr, text, 128);
    return Utf8(text);
}

} // namespace

std::optional<DATE> ParseDay(std::string_view text) {
    if (text == "today") return Today();
    if (text == "tomorrow") return Today() + 1;
    if (text == "yesterday") return Today() - 1;
    if (text.size() > 1 && (text[0] == '+' || text[0] == '-')) {
        int days = 0;
        const auto [end, error] = std::from_chars(text.data() + 1, text.data() + text.size(), days);
        if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
        return Today() + (text[0] == '-' ? -days : days);
    }
    if (const auto iso = ParseIsoDay(text)) return iso;
    DATE date = 0;
    constexpr DWORD kDateOnly = 2;
    if (VarDateFromStr(Utf16(text).c_str(), LOCALE_USER_DEFAULT, kDateOnly, &date) != S_OK) return std::nullopt;
    return std::floor(date);
}

std::string IsoDay(LONG day) {
    const SYSTEMTIME date = ToSystemTime(day);
    char text[32];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u", date.wYear, date.wMonth, date.wDay);
    return text;
}

std::string IsoMoment(DATE moment) {
    const SYSTEMTIME date = ToSystemTime(moment);
    char text[48];
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u", date.wYear, date.wMonth, date.wDay, date.wHour,
                  date.wMinute, date.wSecond);
    return text;
}

std::string LongDay(LONG day) { return Formatted(ToSystemTime(day), DATE_LONGDATE, false); }

std::string ShortDay(LONG day) { return Formatted(ToSystemTime(day), DATE_SHORTDATE, false); }

std::string ClockTime(DATE moment) { return Formatted(ToSystemTime(moment), TIME_NOSECONDS, true); }

} // namespace qn
