#include "apps/qn/support.h"

#include "NorvoTools/datetime.h"
#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/strings.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace qn {

void Usage(const std::string& text) { throw Failure(text + "\nTry `qn --help`.", kExitBroken); }

std::string Plural(std::size_t count, std::string_view noun, std::string_view rest) {
    return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s") + std::string(rest);
}

std::string Utf8(std::u16string_view text) {
    const int length = static_cast<int>(text.size());
    std::string out(text.size() * 3, '\0');
    const int bytes = length ? WideCharToMultiByte(CP_ACP, 0, text.data(), length, out.data(),
                                                   static_cast<int>(out.size()), nullptr, nullptr)
                             : 0;
    out.resize(static_cast<std::size_t>(bytes));
    return out;
}

std::string TextOf(const WCHAR* text) { return text ? Utf8(text) : std::string(); }

std::u16string Utf16(std::string_view text) {
    std::u16string out(text.size(), u'\0');
    const int units = text.empty()
                          ? 0
                          : MultiByteToWideChar(CP_ACP, 0, text.data(), static_cast<int>(text.size()),
                                                out.data(), static_cast<int>(out.size()));
    out.resize(static_cast<std::size_t>(units));
    return out;
}

std::string Printable(std::string_view utf8) {
    std::string text(utf8);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
        if (c < 0x20 || c == 0x7F) text[i] = ' ';
        if (c == 0xC2 && next >= 0x80 && next < 0xA0) text.replace(i, 2, " "); // U+0080 to U+009F
    }
    return text;
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

std::optional<DATE> InRange(DATE day) {
    const DATE first = static_cast<DATE>(civil::DaysFromCivil(1602, 1, 1) - civil::kDaysTo1899);
    return day >= first && day < kNoDate ? std::optional(day) : std::nullopt;
}

std::optional<DATE> ParseIsoDay(std::string_view text) {
    int year = 0;
    int month = 0;
    int day = 0;
    int used = 0;
    const std::string copy(text);
    if (std::sscanf(copy.c_str(), "%4d-%2d-%2d%n", &year, &month, &day, &used) != 3 ||
        static_cast<std::size_t>(used) != copy.size() || year < 1601 || month < 1 || month > 12 || day < 1 ||
        day > civil::DaysInMonth(year, month))
        return std::nullopt;
    SYSTEMTIME date{};
    date.wYear = static_cast<WORD>(year);
    date.wMonth = static_cast<WORD>(month);
    date.wDay = static_cast<WORD>(day);
    DATE out = 0;
    if (!SystemTimeToVariantTime(&date, &out)) return std::nullopt;
    return InRange(out);
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
    if (text.empty()) return std::nullopt;
    if (text == "today") return Today();
    if (text == "tomorrow") return Today() + 1;
    if (text == "yesterday") return Today() - 1;
    if (text.size() > 1 && (text[0] == '+' || text[0] == '-')) {
        int days = 0;
        const auto [end, error] = std::from_chars(text.data() + 1, text.data() + text.size(), days);
        if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
        return InRange(Today() + (text[0] == '-' ? -1.0 : 1.0) * days);
    }
    if (text[0] >= '0' && text[0] <= '9' && text.find('-') == 4) return ParseIsoDay(text);
    DATE date = 0;
    constexpr DWORD kDateOnly = 2;
    if (VarDateFromStr(Utf16(text).c_str(), LOCALE_USER_DEFAULT, kDateOnly, &date) != S_OK)
        return std::nullopt;
    return InRange(std::floor(date));
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
    std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02u", date.wYear, date.wMonth, date.wDay,
                  date.wHour, date.wMinute, date.wSecond);
    return text;
}

std::string LongDay(LONG day) { return Formatted(ToSystemTime(day), DATE_LONGDATE, false); }

std::string ShortDay(LONG day) { return Formatted(ToSystemTime(day), DATE_SHORTDATE, false); }

std::string ClockTime(DATE moment) { return Formatted(ToSystemTime(moment), TIME_NOSECONDS, true); }

} // namespace qn
