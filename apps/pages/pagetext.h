// Texts and measures that the pages share.
#pragma once

#include "QNWorkerClass/DATACALENDAR.h"

#include <string>
#include <string_view>

namespace qn {

// Pixels of the screen for pixels at 96 dots an inch.
int Scaled(int pixels);

// A date by a picture of the locale's words ("dddd d MMMM"), or by its long form.
std::u16string DateText(LONG day, const WCHAR* picture);
std::u16string LongDate(LONG day);
// "Today", "Tomorrow", the weekday within a week, else its short form with the weekday.
std::u16string NearDay(LONG day);
std::u16string TimeText(DATE moment);
std::u16string MomentText(DATE moment); // the long form of its date, and the time
// For a message: at most so many characters, in one line.
std::u16string Shortened(std::u16string_view text, std::size_t most = 60);
// A note as a card shows it: its first 16,000 characters.
std::u16string LongText(std::u16string_view text);
// "9:30 - 10:00", "all day", with the dates where they aren't those of the line's day.
std::u16string WhenText(const DATACALENDAR& line);
// 0 Monday to 6 Sunday.
int Weekday(LONG day);
LONG WeekStart(LONG day); // by the locale
std::u16string_view TextOf(BSTR text);

} // namespace qn
