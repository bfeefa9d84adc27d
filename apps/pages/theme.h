// The colours of the programs: one table with two columns, light and dark. The setting "Colors\Scheme" chooses.
//
// The grounds and texts of items are settings of their own (CalendarColors.h), whose defaults follow the scheme.
#pragma once

#include "Platform/types.h"

#include <string>

namespace qn {

enum class Scheme { Light, Dark };

enum class Paint {
    Bar,
    BarText,
    Pressed, // ground of a cell of a bar while it is held
    Active,
    ActiveText,
    Busy, // the line below the bar while a load runs
    Window,
    Text,
    Quiet, // text of less weight
    Link,
    Line,
    Heading, // of a day
    Today,   // the heading of today
    TodayText,
    Hours,    // the column of the hours
    Alert,    // text of what is overdue or in conflict
    Progress, // the line that tells how far something is
    Focus,    // the frame of what has the focus
    Count
};

Scheme ReadScheme();
void KeepScheme(Scheme scheme);
// Before the windows are made that show it: they take their colours when they are.
void UseScheme(Scheme scheme);

COLORREF ColorOf(Paint paint);
// Tags: the ground of a cell; the programs' font in a colour, for small facts a point smaller.
std::u16string GroundTag(Paint paint);
std::u16string FontTag(Paint paint);
std::u16string SmallFontTag(Paint paint);
std::u16string PictureTag(WORD picture); // of Resources/pictures.h
// On a ground of its own.
std::u16string FilledFontTag(Paint ink, Paint ground);

} // namespace qn
