// One component of an iCalendar file as an item.
#include "Platform/civil.h"
#include "apps/qn/icsfile.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qn {

namespace {

constexpr int kFirstYear = 1602; // the store's, with a day to spare for zones
constexpr int kLastYear = 4499;
constexpr std::size_t kMostAttendees = 1000;

// --- Values -------------------------------------------------------------------------------------------------------

std::string Text(icalcomponent* component, icalproperty_kind kind) {
    icalproperty* property = icalcomponent_get_first_property(component, kind);
    icalvalue* value = property ? icalproperty_get_value(property) : nullptr;
    if (!value) return {};
    const char* text = nullptr;
    switch (icalvalue_isa(value)) {
    case ICAL_TEXT_VALUE:
        text = icalvalue_get_text(value);
        break;
    case ICAL_STRING_VALUE:
        text = icalvalue_get_string(value);
        break;
    case ICAL_URI_VALUE:
        text = icalvalue_get_uri(value);
        break;
    case ICAL_CALADDRESS_VALUE:
        text = icalvalue_get_caladdress(value);
        break;
    default:
        text = icalvalue_as_ical_string(value);
        break;
    }
    return text ? text : "";
}

std::string Parameter(icalproperty* property, icalparameter_kind kind,
                      const char* (*get)(const icalparameter*)) {
    icalparameter* parameter = icalproperty_get_first_parameter(property, kind);
    const char* text = parameter ? get(parameter) : nullptr;
    return text ? text : "";
}

template<class Visit>
void ForEach(icalcomponent* component, icalproperty_kind kind, Visit visit) {
    for (icalproperty* p = icalcomponent_get_first_property(component, kind); p;
         p = icalcomponent_get_next_property(component, kind))
        visit(p);
}

// Midnight may be written as 24:00, a leap second as 60.
bool IsReal(const icaltimetype& t) {
    if (t.year < kFirstYear || t.year > kLastYear) return false;
    if (t.day < 1 || t.day > civil::DaysInMonth(t.year, t.month)) return false;
    if (t.is_date) return true;
    if (t.hour == 24 && (t.minute || t.second)) return false;
    return t.hour >= 0 && t.hour <= 24 && t.minute >= 0 && t.minute < 60 && t.second >= 0 && t.second <= 60;
}

When WhenOf(icalproperty* property, icaltimetype time) {
    When when;
    if (!IsReal(time)) return when;
    time.second = std::min(time.second, 59);
    when.time = icaltime_normalize(time);
    when.tzid = Parameter(property, ICAL_TZID_PARAMETER, &icalparameter_get_tzid);
    return when;
}

When WhenOf(icalproperty* property) {
    icalvalue* value = property ? icalproperty_get_value(property) : nullptr;
    if (!value) return {};
    switch (icalvalue_isa(value)) {
    case ICAL_DATE_VALUE:
        return WhenOf(property, icalvalue_get_date(value));
    case ICAL_DATETIME_VALUE:
        return WhenOf(property, icalvalue_get_datetime(value));
    case ICAL_DATETIMEDATE_VALUE:
        return WhenOf(property, icalvalue_get_datetimedate(value));
    default:
        return {};
    }
}

// Whole minutes towards nought. Field by field in 64 bits: a hostile duration fills more than the library's seconds.
LONG MinutesOf(const icaldurationtype& length) {
    const std::int64_t minutes = (std::int64_t{length.weeks} * 7 + length.days) * civil::kMinutesPerDay +
                                 std::int64_t{length.hours} * 60 + length.minutes + length.seconds / 60;
    constexpr std::int64_t kMost = std::int64_t{civil::kMinutesPerDay} * 366 * 3000;
    return static_cast<LONG>(
        std::clamp(length.is_neg ? -minutes : minutes, -kMost, std::int64_t{0x7FFFFFFF}));
}

ExtraDate ExtraDateOf(icalproperty* property) {
    const icaldatetimeperiodtype both = icalproperty_get_rdate(property);
    if (icaltime_is_null_time(both.period.start)) return {WhenOf(property, both.time), {}};
    ExtraDate extra{WhenOf(property, both.period.start), {}};
    if (icaltime_is_null_time(both.period.end))
        extra.minutes = MinutesOf(both.period.duration);
    else
        extra.minutes = MinutesOf(icaltime_subtract(both.period.end, both.period.start));
    return extra;
}

std::string WithoutMailto(std::string address) {
    if (Upper(std::string_view(address).substr(0, 7)) == "MAILTO:") address.erase(0, 7);
    return address;
}

// --- Parts of an item ---------------------------------------------------------------------------------------------

class Taker {
public:
    Taker(icalcomponent* component, IcsItem& item) : m_component(component), m_item(item) {}
    std::string Take();

private:
    void TakeTexts();
    void TakeCategories();
    std::string TakeDates();
    When TakeWhen(icalproperty_kind kind, const char* name);
    void TakeAlarms();
    void TakeAlarm(icalcomponent* alarm);
    void TakePeople();
    void TakeStatus();
    int BusyStatus();
    void TakeTodo();
    void TakeRelations();
    void TakeJournal();
    std::string TakeUnread();
    void TakeOthers();
    void Unkept(const std::string& what) { ++m_item.unkept[what]; }

    icalcomponent* m_component;
    IcsItem& m_item;
};

void Taker::TakeTexts() {
    m_item.uid = Text(m_component, ICAL_UID_PROPERTY);
    m_item.summary = Text(m_component, ICAL_SUMMARY_PROPERTY);
    m_item.location = Text(m_component, ICAL_LOCATION_PROPERTY);
    m_item.note = Text(m_component, ICAL_DESCRIPTION_PROPERTY);
    const std::string url = Text(m_component, ICAL_URL_PROPERTY);
    if (!url.empty() && m_item.note.find(url) == std::string::npos)
        m_item.note += (m_item.note.empty() ? "" : "\n") + url;
    m_item.stamp = Text(m_component, ICAL_DTSTAMP_PROPERTY);
    if (icalproperty* p = icalcomponent_get_first_property(m_component, ICAL_SEQUENCE_PROPERTY))
        m_item.sequence = icalproperty_get_sequence(p);
}

void Taker::TakeCategories() {
    ForEach(m_component, ICAL_CATEGORIES_PROPERTY, [&](icalproperty* p) {
        const char* text = icalproperty_get_categories(p);
        std::string name = text ? text : "";
        const auto first = name.find_first_not_of(" \t");
        if (first == std::string::npos) return;
        name = name.substr(first, name.find_last_not_of(" \t") - first + 1);
        // The store joins the names of an item with commas.
        if (name.find(',') != std::string::npos) Unkept("commas in category names (semicolons now)");
        std::replace(name.begin(), name.end(), ',', ';');
        if (std::find(m_item.categories.begin(), m_item.categories.end(), name) == m_item.categories.end())
            m_item.categories.push_back(name);
    });
}

When Taker::TakeWhen(icalproperty_kind kind, const char* name) {
    icalproperty* property = icalcomponent_get_first_property(m_component, kind);
    When when = WhenOf(property);
    if (property && !when.IsSet()) Unkept(std::string(name) + " that is no date");
    return when;
}

std::string Taker::TakeDates() {
    m_item.start = TakeWhen(ICAL_DTSTART_PROPERTY, "DTSTART");
    m_item.end = m_item.isTodo ? TakeWhen(ICAL_DUE_PROPERTY, "DUE") : TakeWhen(ICAL_DTEND_PROPERTY, "DTEND");
    if (icalproperty* p = icalcomponent_get_first_property(m_component, ICAL_DURATION_PROPERTY))
        m_item.minutes = MinutesOf(icalproperty_get_duration(p));
    if (icalproperty* p = icalcomponent_get_first_property(m_component, ICAL_RECURRENCEID_PROPERTY)) {
        m_item.recurrenceId = WhenOf(p);
        if (!m_item.recurrenceId.IsSet()) return "a RECURRENCE-ID that is no date";
        icalparameter* range = icalproperty_get_first_parameter(p, ICAL_RANGE_PARAMETER);
        m_item.thisAndFuture = range && icalparameter_get_range(range) == ICAL_RANGE_THISANDFUTURE;
    }
    ForEach(m_component, ICAL_RRULE_PROPERTY, [&](icalproperty* p) {
        const char* text = icalproperty_get_value_as_string(p);
        m_item.rules.emplace_back(text ? text : "");
    });
    ForEach(m_component, ICAL_EXDATE_PROPERTY, [&](icalproperty* p) {
        const When when = WhenOf(p);
        when.IsSet() ? m_item.exceptionDates.push_back(when) : Unkept("EXDATE that is no date");
    });
    ForEach(m_component, ICAL_RDATE_PROPERTY, [&](icalproperty* p) {
        const ExtraDate extra = ExtraDateOf(p);
        extra.start.IsSet() ? m_item.extraDates.push_back(extra) : Unkept("RDATE that is no date");
    });
    return {};
}

void Taker::TakeAlarm(icalcomponent* alarm) {
    // Some programs write an alarm of no action to say that there shall be none.
    icalproperty* action = icalcomponent_get_first_property(alarm, ICAL_ACTION_PROPERTY);
    if (action && Upper(icalproperty_get_value_as_string(action)) == "NONE") return;
    icalproperty* property = icalcomponent_get_first_property(alarm, ICAL_TRIGGER_PROPERTY);
    if (!property) return Unkept("alarms without a time");
    if (m_item.reminderMinutes || m_item.reminderTime) return Unkept("further alarms");
    const icaltriggertype trigger = icalproperty_get_trigger(property);
    if (!icaltime_is_null_time(trigger.time)) {
        const When when = WhenOf(property, trigger.time);
        if (!when.IsSet()) return Unkept("alarms without a time");
        m_item.reminderTime = when;
        return;
    }
    icalparameter* related = icalproperty_get_first_parameter(property, ICAL_RELATED_PARAMETER);
    const bool fromEnd = related && icalparameter_get_related(related) == ICAL_RELATED_END;
    const LONG minutes = MinutesOf(trigger.duration);
    if (fromEnd && !m_item.isTodo) return Unkept("alarms by the end");
    if (minutes > 0) return Unkept("alarms behind the start");
    m_item.reminderMinutes = -minutes;
    m_item.reminderFromEnd = fromEnd;
}

void Taker::TakeAlarms() {
    for (icalcomponent* alarm = icalcomponent_get_first_component(m_component, ICAL_VALARM_COMPONENT); alarm;
         alarm = icalcomponent_get_next_component(m_component, ICAL_VALARM_COMPONENT))
        TakeAlarm(alarm);
}

Attendee AttendeeOf(icalproperty* property) {
    Attendee attendee;
    const char* address = icalproperty_get_attendee(property);
    attendee.address = WithoutMailto(address ? address : "");
    attendee.name = Parameter(property, ICAL_CN_PARAMETER, &icalparameter_get_cn);
    if (attendee.name.empty()) attendee.name = attendee.address;
    if (icalparameter* role = icalproperty_get_first_parameter(property, ICAL_ROLE_PARAMETER))
        if (icalparameter_get_role(role) == ICAL_ROLE_OPTPARTICIPANT ||
            icalparameter_get_role(role) == ICAL_ROLE_NONPARTICIPANT)
            attendee.type = 2;
    if (icalparameter* type = icalproperty_get_first_parameter(property, ICAL_CUTYPE_PARAMETER))
        if (icalparameter_get_cutype(type) == ICAL_CUTYPE_RESOURCE ||
            icalparameter_get_cutype(type) == ICAL_CUTYPE_ROOM)
            attendee.type = 3;
    if (icalparameter* state = icalproperty_get_first_parameter(property, ICAL_PARTSTAT_PARAMETER)) {
        switch (icalparameter_get_partstat(state)) {
        case ICAL_PARTSTAT_ACCEPTED:
            attendee.response = 1;
            break;
        case ICAL_PARTSTAT_DECLINED:
            attendee.response = 2;
            break;
        case ICAL_PARTSTAT_TENTATIVE:
            attendee.response = 3;
            break;
        default:
            break;
        }
    }
    return attendee;
}

void Taker::TakePeople() {
    std::string address;
    if (icalproperty* p = icalcomponent_get_first_property(m_component, ICAL_ORGANIZER_PROPERTY)) {
        m_item.organizer = Parameter(p, ICAL_CN_PARAMETER, &icalparameter_get_cn);
        const char* value = icalproperty_get_organizer(p);
        address = WithoutMailto(value ? value : "");
        if (m_item.organizer.empty()) m_item.organizer = address;
    }
    ForEach(m_component, ICAL_ATTENDEE_PROPERTY, [&](icalproperty* p) {
        if (m_item.attendees.size() == kMostAttendees) return Unkept("attendees beyond a thousand");
        m_item.attendees.push_back(AttendeeOf(p));
    });
    // The store has the name alone, and the addresses of those who come.
    const bool told = address != m_item.organizer && address != kNoAddress;
    if (told && std::ranges::find(m_item.attendees, address, &Attendee::address) == m_item.attendees.end())
        Unkept("addresses of organizers");
}

// The busy status: as a calendar program wrote it in words, else by transparency and status.
int Taker::BusyStatus() {
    std::string words;
    ForEach(m_component, ICAL_X_PROPERTY, [&](icalproperty* p) {
        const char* name = icalproperty_get_x_name(p);
        const char* value = icalproperty_get_x(p);
        if (name && !strcmp(name, "X-MICROSOFT-CDO-BUSYSTATUS")) words = Upper(value ? value : "");
    });
    constexpr const char* kWords[] = {"FREE", "TENTATIVE", "BUSY", "OOF"};
    for (int status = 0; status < 4; ++status)
        if (words == kWords[status]) return status;
    if (Upper(Text(m_component, ICAL_TRANSP_PROPERTY)) == "TRANSPARENT") return 0;
    return icalcomponent_get_status(m_component) == ICAL_STATUS_TENTATIVE ? 1 : 2;
}

void Taker::TakeStatus() {
    const std::string access = Upper(Text(m_component, ICAL_CLASS_PROPERTY));
    m_item.sensitivity = access == "PRIVATE" ? 2 : access == "CONFIDENTIAL" ? 3 : 0;
    m_item.busyStatus = BusyStatus();
    m_item.cancelled = icalcomponent_get_status(m_component) == ICAL_STATUS_CANCELLED;
}

void Taker::TakeTodo() {
    if (icalproperty* p = icalcomponent_get_first_property(m_component, ICAL_PRIORITY_PROPERTY))
        m_item.priority = icalproperty_get_priority(p);
    if (icalproperty* p = icalcomponent_get_first_property(m_component, ICAL_PERCENTCOMPLETE_PROPERTY))
        m_item.percent = std::clamp(icalproperty_get_percentcomplete(p), 0, 100);
    m_item.completedAt = TakeWhen(ICAL_COMPLETED_PROPERTY, "COMPLETED");
    m_item.completed = m_item.completedAt.IsSet() || m_item.percent == 100 ||
                       icalcomponent_get_status(m_component) == ICAL_STATUS_COMPLETED;
    if (!m_item.location.empty()) Unkept("locations of to-dos");
    if (!m_item.attendees.empty() || !m_item.organizer.empty()) Unkept("people of to-dos");
}

// An entry may have several descriptions: one note, a paragraph each.
void Taker::TakeJournal() {
    m_item.createdAt = TakeWhen(ICAL_CREATED_PROPERTY, "CREATED");
    bool first = true;
    ForEach(m_component, ICAL_DESCRIPTION_PROPERTY, [&](icalproperty* p) {
        const char* text = icalproperty_get_description(p);
        if (text && !std::exchange(first, false)) m_item.note += std::string("\n\n") + text;
    });
    if (!m_item.rules.empty() || !m_item.extraDates.empty()) Unkept("rules of journal entries");
    if (m_item.sensitivity != 0) Unkept("privacy of journal entries");
    if (!m_item.location.empty()) Unkept("locations of journal entries");
    if (!m_item.attendees.empty() || !m_item.organizer.empty()) Unkept("people of journal entries");
}

// A task hangs below its first parent, and a relation without a type is one to a parent; all others become links.
void Taker::TakeRelations() {
    constexpr std::size_t kMostLinks = 100;
    ForEach(m_component, ICAL_RELATEDTO_PROPERTY, [&](icalproperty* p) {
        icalparameter* type = icalproperty_get_first_parameter(p, ICAL_RELTYPE_PARAMETER);
        const bool isParent = !type || icalparameter_get_reltype(type) == ICAL_RELTYPE_PARENT;
        const char* uid = icalproperty_get_relatedto(p);
        if (!uid) return;
        if (isParent && (m_item.isTodo || m_item.isJournal) && m_item.parentUid.empty())
            m_item.parentUid = uid;
        else if (!m_item.isJournal && m_item.relatedUids.size() < kMostLinks)
            m_item.relatedUids.emplace_back(uid);
        else
            Unkept("relations to other items");
    });
}

// What the reader of the format threw away. A date or a rule that is lost makes another event of it: then it isn't taken.
std::string Taker::TakeUnread() {
    std::string objection;
    ForEach(m_component, ICAL_XLICERROR_PROPERTY, [&](icalproperty* p) {
        const char* text = icalproperty_get_xlicerror(p);
        const std::string error = text ? text : "";
        if (error.starts_with("Got a data line")) return Unkept("lines that make no sense");
        if (error.starts_with("Parse error in property name")) return Unkept("values of a kind not known");
        const auto begin = error.find(" in ");
        const auto end = error.find(" property", begin);
        if (!error.starts_with("Can't parse") || end == std::string::npos) return;
        const std::string name = error.substr(begin + 4, end - begin - 4);
        for (const char* vital : {"DTSTART", "RRULE", "RECURRENCE-ID"})
            if (name == vital && objection.empty()) objection = name + " can't be read";
        Unkept(name + " that can't be read");
    });
    return objection;
}

// Properties that are taken, say the same as others, or only where the item comes from: not missed.
bool IsTakenOrSpare(icalproperty* property, bool isTodo) {
    constexpr icalproperty_kind kBoth[] = {
        ICAL_UID_PROPERTY,         ICAL_SUMMARY_PROPERTY,      ICAL_LOCATION_PROPERTY,
        ICAL_DESCRIPTION_PROPERTY, ICAL_URL_PROPERTY,          ICAL_SEQUENCE_PROPERTY,
        ICAL_CATEGORIES_PROPERTY,  ICAL_DTSTART_PROPERTY,      ICAL_DURATION_PROPERTY,
        ICAL_RRULE_PROPERTY,       ICAL_RECURRENCEID_PROPERTY, ICAL_STATUS_PROPERTY,
        ICAL_CLASS_PROPERTY,       ICAL_TRANSP_PROPERTY,       ICAL_ORGANIZER_PROPERTY,
        ICAL_ATTENDEE_PROPERTY,    ICAL_XLICERROR_PROPERTY,    ICAL_DTSTAMP_PROPERTY,
        ICAL_CREATED_PROPERTY,     ICAL_LASTMODIFIED_PROPERTY, ICAL_REQUESTSTATUS_PROPERTY,
        ICAL_RELATEDTO_PROPERTY};
    constexpr icalproperty_kind kEvent[] = {ICAL_DTEND_PROPERTY, ICAL_EXDATE_PROPERTY, ICAL_RDATE_PROPERTY};
    constexpr icalproperty_kind kTodo[] = {ICAL_DUE_PROPERTY, ICAL_COMPLETED_PROPERTY, ICAL_PRIORITY_PROPERTY,
                                           ICAL_PERCENTCOMPLETE_PROPERTY};
    const auto kind = icalproperty_isa(property);
    const auto isKind = [&](icalproperty_kind one) { return one == kind; };
    if (kind == ICAL_X_PROPERTY) {
        const char* name = icalproperty_get_x_name(property);
        return name && !strcmp(name, "X-MICROSOFT-CDO-BUSYSTATUS");
    }
    return std::ranges::any_of(kBoth, isKind) ||
           (isTodo ? std::ranges::any_of(kTodo, isKind) : std::ranges::any_of(kEvent, isKind));
}

// Properties that have no place in the store.
void Taker::TakeOthers() {
    constexpr struct {
        icalproperty_kind kind;
        const char* words;
    } kWords[] = {{ICAL_ATTACH_PROPERTY, "attachments"},
                  {ICAL_COMMENT_PROPERTY, "comments"},
                  {ICAL_CONTACT_PROPERTY, "contacts"},
                  {ICAL_CONFERENCE_PROPERTY, "conferences"},
                  {ICAL_GEO_PROPERTY, "positions on earth"},
                  {ICAL_PRIORITY_PROPERTY, "priorities of events"},
                  {ICAL_RESOURCES_PROPERTY, "resources"},
                  {ICAL_X_PROPERTY, "values private to other programs (X-...)"}};
    ForEach(m_component, ICAL_ANY_PROPERTY, [&](icalproperty* p) {
        if (IsTakenOrSpare(p, m_item.isTodo)) return;
        if (icalproperty_isa(p) == ICAL_X_PROPERTY && TakeOwn(p, m_item.own)) return;
        const auto words =
            std::ranges::find(kWords, icalproperty_isa(p), [](const auto& one) { return one.kind; });
        Unkept(words != std::end(kWords) ? words->words : icalproperty_get_property_name(p));
    });
}

std::string Taker::Take() {
    m_item.isTodo = icalcomponent_isa(m_component) == ICAL_VTODO_COMPONENT;
    m_item.isJournal = icalcomponent_isa(m_component) == ICAL_VJOURNAL_COMPONENT;
    if (std::string objection = TakeUnread(); !objection.empty()) return objection;
    TakeTexts();
    TakeCategories();
    if (std::string objection = TakeDates(); !objection.empty()) return objection;
    if (!m_item.isTodo && !m_item.isJournal && !m_item.start.IsSet())
        return "an event without a date that it starts on";
    TakeAlarms();
    TakePeople();
    TakeStatus();
    if (m_item.isTodo) TakeTodo();
    if (m_item.isJournal) TakeJournal();
    TakeRelations();
    TakeOthers();
    return {};
}

} // namespace

std::string TakeItem(icalcomponent* component, IcsItem& item) { return Taker(component, item).Take(); }

} // namespace qn
