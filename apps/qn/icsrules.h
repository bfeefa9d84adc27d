// From an iCalendar rule to a pattern of the store, or to the dates themselves where no pattern can hold it.
#pragma once

#include "Platform/types.h"

#include <libical/ical.h>

#include <optional>
#include <string>
#include <vector>

namespace qn {

// A pattern as the object model takes it.
struct Pattern {
    LONG type = 0; // olRecurs...
    LONG interval = 1;
    LONG mask = 0;
    LONG day = 0;
    LONG instance = 0;
    LONG month = 0;
    LONG occurrences = 0;            // 0: by the end date
    std::optional<LONG> endDay = {}; // variant day of the last date; none with occurrences 0: without an end
};

// The pattern that gives the same dates as the rule from `start` on (wall clock of the series): proved by walking both.
// `untilWall` is the rule's UNTIL on that clock. A count that leads behind the year 4500 is no end. None when no pattern
// does.
std::optional<Pattern> PatternOf(const std::string& rule, const icaltimetype& start,
                                 const std::optional<icaltimetype>& untilWall);

// The rule that gives the same dates as the pattern from `start` on, proved likewise, without its end; empty when none
// does.
std::string RuleTextOf(const Pattern& pattern, const icaltimetype& start);

// UNTIL of a rule; none when it has none.
std::optional<icaltimetype> UntilOf(const std::string& rule);

// The first date of a rule on or behind `start`, with its time; none when there is none before its end.
std::optional<icaltimetype> FirstDateOf(const std::string& rule, const icaltimetype& start,
                                        const std::optional<icaltimetype>& untilWall);

// What the dates of a rule are wanted for.
struct Expansion {
    icaltimetype start = icaltime_null_time();   // on the wall clock of the series
    std::optional<icaltimetype> untilWall;       // the rule's UNTIL there
    icaltimetype horizon = icaltime_null_time(); // no date behind this day
    icaltimetype past = icaltime_null_time();    // where there are too many, those before it go first
    std::size_t most = 4000;
};

// The dates, ascending, each once. False when there are more than were given.
bool ExpandRule(const std::string& rule, const Expansion& expansion, std::vector<icaltimetype>& dates);

} // namespace qn
