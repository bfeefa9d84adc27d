// An iCalendar file as events, to-dos and journal entries: read component by component, so that a broken one costs only itself, and each
// knows the line it began on.
#pragma once

#include "apps/qn/icszones.h"
#include "apps/qn/ownvalues.h"
#include "apps/qn/textlines.h"

#include <libical/ical.h>

#include <functional>
#include <istream>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace qn {

// A date or moment as the file has it, with the name of its zone. Always a real date of the years that the store holds.
struct When {
    icaltimetype time = icaltime_null_time();
    std::string tzid;
    bool IsSet() const { return !icaltime_is_null_time(time); }
    bool IsDate() const { return time.is_date != 0; }
};

// A date beside the rule, with a length of its own when it came as a period.
struct ExtraDate {
    When start;
    std::optional<LONG> minutes;
};

struct Attendee {
    std::string name;
    std::string address;
    int type = 1;     // 1 required, 2 optional, 3 resource
    int response = 0; // 0 none, 1 accepted, 2 declined, 3 tentative
    bool operator==(const Attendee&) const = default;
};

// What events, to-dos and journal entries share.
struct IcsItem {
    unsigned line = 0;
    std::string
        uid; // made of start and summary when the file has none, so that the next import knows it again
    int sequence = 0;
    std::string stamp; // when it was written, as the file has it; the same form sorts by time
    bool IsNewerThan(const IcsItem& other) const {
        return std::tie(sequence, stamp) > std::tie(other.sequence, other.stamp);
    }
    std::string summary;
    std::string location;
    std::string note;
    std::vector<std::string> categories;
    std::vector<std::string> rules;
    std::vector<When> exceptionDates;
    std::vector<ExtraDate> extraDates;
    When start;
    When end; // DTEND, or DUE of a to-do
    When recurrenceId;
    bool thisAndFuture = false;
    std::optional<LONG> minutes; // DURATION, when there is no end
    int sensitivity = 0;
    int busyStatus = 2;
    bool cancelled = false;
    std::optional<LONG> reminderMinutes; // before the start, or before the end
    bool reminderFromEnd = false;        // of a to-do
    std::optional<When> reminderTime;    // a moment of its own
    std::string organizer;
    std::vector<Attendee> attendees;
    std::map<std::string, unsigned>
        unkept; // what the item has and no field of it can hold, in words, and how often
    bool isTodo = false;
    bool isJournal = false;
    std::string parentUid;                // of a to-do; of a journal entry the item that it belongs to
    std::vector<std::string> relatedUids; // items it is related to otherwise
    When createdAt;                       // of a journal entry
    OwnValues own;                        // values of this suite
    // To-dos only.
    int priority = 0; // 1 to 9, 0 none
    int percent = 0;
    bool completed = false;
    When completedAt;
};

struct IcsFile {
    ZoneTable zones;
    std::vector<IcsItem> items;
    struct Skipped {
        unsigned line;
        std::string why;
    };
    std::vector<Skipped> skipped;
};

// Reads the whole stream. `name` is for messages; `progress` is told the bytes read so far. A stream that is no iCalendar
// at all is a Failure with file and line.
IcsFile ReadIcs(std::istream& in, const std::string& name, const std::function<void(std::size_t)>& progress);

// One VEVENT, VTODO or VJOURNAL. Returns why it can't be taken, empty when it can.
std::string TakeItem(icalcomponent* component, IcsItem& item);

// The address of an organizer of whom only the name is known, as iCalendar says it.
inline constexpr std::string_view kNoAddress = "invalid:nomail";

} // namespace qn
