// The fields that ride in front of a task's subject: priority letter, number, and the days after which a done task comes
// again. "A1: Call", "B03|7: Report", "|7: Water plants".
#pragma once

#include "Platform/types.h"

#include <string_view>

struct TaskSubject {
    WCHAR szLetter[2] = {}; // as it was written
    WCHAR szNumber[3] = {}; // without a leading zero
    LONG nDays = 0;
    std::u16string_view text; // what is left, in the text that was given
};

// A prefix that isn't exactly of the form is part of the subject.
QN_API TaskSubject ParseTaskSubject(std::u16string_view text);
