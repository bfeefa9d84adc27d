#include "NorvoTools/datetime.h"

// Whole-number arithmetic on a day count in which every fourth year is a leap year. The bars of the month view take the
// result modulo 54, so the 53 and 54 that some first days of January give must stay what they are.
namespace {

int DayCount(int year, int month, int day) {
    int count = month * 31 + year * 365 + (year - 1) / 4 + day - 27;
    if (month <= 2) return count;
    if (year % 4 == 0) ++count;
    return count - ((month < 8 ? month - 3 : month - 4) / 2 + 3);
}

bool IsInFirstWeekOfNext(int year, int count) {
    const int end = year * 365 + year / 4 + 369;
    const int weekday = end % 7;
    return weekday < 3 && end - count <= weekday;
}

int LastWeekOfPrevious(int year, int count) {
    const int start = year * 365 + (year - 1) / 4 - 360;
    const int rest = start % 7;
    if ((year - 1) % 4 == 0) count += 2;
    return (count - (start - rest)) / 7 + (rest < 4 ? 1 : 0);
}

} // namespace

int weeknumber(int year, int month, int day) {
    const int count = DayCount(year, month, day);
    if (IsInFirstWeekOfNext(year, count)) return 1;
    const int start = year * 365 + (year - 1) / 4 + 5;
    const int rest = start % 7;
    const int week = start - rest;
    if (rest <= 3) return (count - week) / 7 + 1;
    if (count >= week + 7) return (count - week) / 7;
    return LastWeekOfPrevious(year, count);
}
