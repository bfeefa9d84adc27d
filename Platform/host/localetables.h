// What one locale says of dates, times and numbers: taken from ICU once, then plain data for the formatters.
#pragma once

#include "Platform/types.h"

#include <array>
#include <string>
#include <vector>

namespace plat {

enum class DateOrder { MonthDayYear, DayMonthYear, YearMonthDay };

// Never changed once made; lives as long as the process.
struct LocaleTables {
    std::string id;       // of ICU: "de_DE"
    std::string language; // "de"
    std::string country;  // "DE"
    LCID lcid = 0x0409;
    std::u16string shortDate, longDate, time, shortTime; // pictures; the short time has no seconds
    std::array<std::u16string, 16> timePictures;         // by the flags of GetTimeFormatW
    std::u16string dateSeparator, timeSeparator;
    std::u16string morning, afternoon;
    std::u16string era;
    std::u16string decimal, thousand;
    DateOrder order = DateOrder::MonthDayYear;
    bool twentyFourHours = false;
    bool metric = true;
    int firstWeekday = 0;                                         // 0 Sunday
    std::array<std::u16string, 7> weekdays, shortWeekdays;        // from Sunday
    std::array<std::u16string, 12> months, shortMonths;           // as they stand beside a day ("марта")
    std::array<std::u16string, 12> aloneMonths, aloneShortMonths; // as they stand alone ("март")
};

// The device's locale.
const LocaleTables& CurrentTables();
// Of a locale number: 0, 1024 and 2048 are the device's, as is one that ICU doesn't know.
const LocaleTables& TablesOf(LCID locale);
// By ICU id; an unknown one is American English.
const LocaleTables& TablesOf(const std::string& id);

// The id that the environment asks for, "en_US" without one.
std::string EnvironmentLocale();

// A time picture as the flags of GetTimeFormatW want it.
std::u16string AdaptTimePicture(const std::u16string& picture, DWORD flags);

// An ICU pattern in the letters of the device's pictures ("EEEE, d. MMMM y" as "dddd, d. MMMM yyyy").
std::u16string PictureOfPattern(const std::u16string& pattern);

} // namespace plat
