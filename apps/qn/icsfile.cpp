#include "apps/qn/icsfile.h"

#include "apps/qn/support.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace qn {

namespace {

constexpr std::size_t kLongestLine = 1 << 20;       // bytes of a physical line
constexpr std::size_t kLongestComponent = 32 << 20; // an attachment may be inside

struct FreeComponent {
    void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};
using Component = std::unique_ptr<icalcomponent, FreeComponent>;

// Physical lines with their numbers, any line end, byte-order mark dropped.
class Lines {
public:
    explicit Lines(std::istream& in) : m_in(in) {}
    bool Next(std::string& line) {
        line.clear();
        int c = m_in.get();
        if (c == std::istream::traits_type::eof()) return false;
        for (; c != std::istream::traits_type::eof() && c != '\n' && line.size() < kLongestLine; c = m_in.get()) {
            line += static_cast<char>(c);
            ++m_bytes;
        }
        ++m_bytes;
        if (m_number == 0 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
        while (line.ends_with('\r')) line.pop_back();
        ++m_number;
        return true;
    }
    unsigned Number() const { return m_number; }
    std::size_t Bytes() const { return m_bytes; }

private:
    std::istream& m_in;
    unsigned m_number = 0;
    std::size_t m_bytes = 0;
};

std::string Upper(std::string_view text) {
    std::string upper(text);
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : static_cast<char>(c); });
    return upper;
}

// --- One component ------------------------------------------------------------------------------------------------

std::string Text(icalcomponent* component, icalproperty_kind kind) {
    icalproperty* property = icalcomponent_get_first_property(component, kind);
    icalvalue* value = property ? icalproperty_get_value(property) : nullptr;
    if (!value) return {};
    const char* text = nullptr;
    switch (icalvalue_isa(value)) {
    case ICAL_TEXT_VALUE: text = icalvalue_get_text(value); break;
    case ICAL_STRING_VALUE: text = icalvalue_get_string(value); break;
    case ICAL_URI_VALUE: text = icalvalue_get_uri(value); break;
    case ICAL_CALADDRESS_VALUE: text = icalvalue_get_caladdress(value); break;
    default: text = icalvalue_as_ical_string(value); break;
    }
    return text ? text : "";
}

std::string Parameter(icalproperty* property, icalparameter_kind kind, const char* (*get)(const icalparameter*)) {
    icalparameter* parameter = icalproperty_get_first_parameter(property, kind);
    const char* text = parameter ? get(parameter) : nullptr;
    return text ? text : "";
}

When WhenOf(icalproperty* property) {
    When when;
    icalvalue* value = property ? icalproperty_get_value(property) : nullptr;
    if (!value) return when;
    switch (icalvalue_isa(value)) {
    case ICAL_DATE_VALUE: when.time = icalvalue_get_date(value); break;
    case ICAL_DATETIME_VALUE: when.time = icalvalue_get_datetime(value); break;
    case ICAL_DATETIMEDATE_VALUE: when.time = icalvalue_get_datetimedate(value); break;
    case ICAL_DATETIMEPERIOD_VALUE: {
        const icaldatetimeperiodtype both = icalvalue_get_datetimeperiod(value);
        when.time = icaltime_is_null_time(both.time) ? both.period.start : both.time;
        break;
    }
    default: return when;
    }
    if (FromIcal(when.time).wYear == 0) when.time = icaltime_null_time(); // out of range
    when.tzid = Parameter(property, ICAL_TZID_PARAMETER, &icalparameter_get_tzid);
    return when;
}

When FirstWhen(icalcomponent* component, icalproperty_kind kind) {
    return WhenOf(icalcomponent_get_first_property(component, kind));
}

template<class Visit>
void ForEach(icalcomponent* component, icalproperty_kind kind, Visit visit) {
    for (icalproperty* p = icalcomponent_get_first_property(component, kind); p;
         p = icalcomponent_get_next_property(component, kind))
        visit(p);
}

std::string WithoutMailto(std::string address) {
    if (Upper(address).starts_with("MAILTO:")) address.erase(0, 7);
    return address;
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
        case ICAL_PARTSTAT_ACCEPTED: attendee.response = 1; break;
        case ICAL_PARTSTAT_DECLINED: attendee.response = 2; break;
        case ICAL_PARTSTAT_TENTATIVE: attendee.response = 3; break;
        default: break;
        }
    }
    return attendee;
}

int SensitivityOf(icalcomponent* component) {
    const std::string text = Upper(Text(component, ICAL_CLASS_PROPERTY));
    return text == "PRIVATE" ? 2 : text == "CONFIDENTIAL" ? 3 : 0;
}

// The busy status: as a calendar program wrote it in words, else by transparency and status.
int BusyStatusOf(icalcomponent* component) {
    std::string words;
    ForEach(component, ICAL_X_PROPERTY, [&](icalproperty* p) {
        const char* name = icalproperty_get_x_name(p);
        if (name && !strcmp(name, "X-MICROSOFT-CDO-BUSYSTATUS")) {
            const char* value = icalproperty_get_x(p);
            words = Upper(value ? value : "");
        }
    });
    if (words == "FREE") return 0;
    if (words == "TENTATIVE") return 1;
    if (words == "OOF") return 3;
    if (words == "BUSY") return 2;
    if (Upper(Text(component, ICAL_TRANSP_PROPERTY)) == "TRANSPARENT") return 0;
    return icalcomponent_get_status(component) == ICAL_STATUS_TENTATIVE ? 1 : 2;
}

void TakeAlarms(icalcomponent* component, IcsItem& item) {
    for (icalcomponent* alarm = icalcomponent_get_first_component(component, ICAL_VALARM_COMPONENT); alarm;
         alarm = icalcomponent_get_next_component(component, ICAL_VALARM_COMPONENT)) {
        icalproperty* property = icalcomponent_get_first_property(alarm, ICAL_TRIGGER_PROPERTY);
        if (!property) continue;
        if (item.reminderMinutes || item.reminderTime) {
            ++item.furtherAlarms;
            continue;
        }
        const icaltriggertype trigger = icalproperty_get_trigger(property);
        if (!icaltime_is_null_time(trigger.time)) {
            item.reminderTime = When{trigger.time, {}};
            continue;
        }
        icalparameter* related = icalproperty_get_first_parameter(property, ICAL_RELATED_PARAMETER);
        const bool fromEnd = related && icalparameter_get_related(related) == ICAL_RELATED_END;
        const int seconds = icaldurationtype_as_int(trigger.duration);
        if (fromEnd || seconds > 0)
            ++item.furtherAlarms; // behind the start: no reminder can say that
        else
            item.reminderMinutes = -seconds / 60;
    }
}

void TakeTexts(icalcomponent* component, IcsItem& item) {
    item.uid = Text(component, ICAL_UID_PROPERTY);
    item.summary = Text(component, ICAL_SUMMARY_PROPERTY);
    item.location = Text(component, ICAL_LOCATION_PROPERTY);
    item.note = Text(component, ICAL_DESCRIPTION_PROPERTY);
    const std::string url = Text(component, ICAL_URL_PROPERTY);
    if (!url.empty() && item.note.find(url) == std::string::npos) item.note += (item.note.empty() ? "" : "\n") + url;
    ForEach(component, ICAL_CATEGORIES_PROPERTY, [&](icalproperty* p) {
        const char* text = icalproperty_get_categories(p);
        std::string_view rest = text ? text : "";
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find(','), rest.size());
            std::string name(rest.substr(0, end));
            while (name.starts_with(' ')) name.erase(0, 1);
            while (name.ends_with(' ')) name.pop_back();
            if (!name.empty()) item.categories.push_back(name);
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
    });
}

void TakePeople(icalcomponent* component, IcsItem& item) {
    if (icalproperty* p = icalcomponent_get_first_property(component, ICAL_ORGANIZER_PROPERTY)) {
        item.organizer = Parameter(p, ICAL_CN_PARAMETER, &icalparameter_get_cn);
        const char* address = icalproperty_get_organizer(p);
        if (item.organizer.empty()) item.organizer = WithoutMailto(address ? address : "");
    }
    ForEach(component, ICAL_ATTENDEE_PROPERTY, [&](icalproperty* p) { item.attendees.push_back(AttendeeOf(p)); });
}

void TakeDates(icalcomponent* component, IcsItem& item) {
    item.start = FirstWhen(component, ICAL_DTSTART_PROPERTY);
    item.end = FirstWhen(component, item.isTodo ? ICAL_DUE_PROPERTY : ICAL_DTEND_PROPERTY);
    if (icalproperty* p = icalcomponent_get_first_property(component, ICAL_DURATION_PROPERTY))
        item.duration = icaldurationtype_as_int(icalproperty_get_duration(p));
    if (icalproperty* p = icalcomponent_get_first_property(component, ICAL_RECURRENCEID_PROPERTY)) {
        item.recurrenceId = WhenOf(p);
        icalparameter* range = icalproperty_get_first_parameter(p, ICAL_RANGE_PARAMETER);
        item.thisAndFuture = range && icalparameter_get_range(range) == ICAL_RANGE_THISANDFUTURE;
    }
    ForEach(component, ICAL_RRULE_PROPERTY, [&](icalproperty* p) {
        const char* text = icalproperty_get_value_as_string(p);
        item.rules.emplace_back(text ? text : "");
    });
    ForEach(component, ICAL_EXDATE_PROPERTY, [&](icalproperty* p) { item.exceptionDates.push_back(WhenOf(p)); });
    ForEach(component, ICAL_RDATE_PROPERTY, [&](icalproperty* p) { item.extraDates.push_back(WhenOf(p)); });
    std::erase_if(item.exceptionDates, [](const When& w) { return !w.IsSet(); });
    std::erase_if(item.extraDates, [](const When& w) { return !w.IsSet(); });
}

void TakeTodo(icalcomponent* component, IcsItem& item) {
    if (icalproperty* p = icalcomponent_get_first_property(component, ICAL_PRIORITY_PROPERTY))
        item.priority = icalproperty_get_priority(p);
    if (icalproperty* p = icalcomponent_get_first_property(component, ICAL_PERCENTCOMPLETE_PROPERTY))
        item.percent = std::clamp(icalproperty_get_percentcomplete(p), 0, 100);
    item.completedAt = FirstWhen(component, ICAL_COMPLETED_PROPERTY);
    item.completed =
        item.completedAt.IsSet() || item.percent == 100 || icalcomponent_get_status(component) == ICAL_STATUS_COMPLETED;
}

IcsItem ItemOf(icalcomponent* component, unsigned line) {
    IcsItem item;
    item.line = line;
    item.isTodo = icalcomponent_isa(component) == ICAL_VTODO_COMPONENT;
    TakeTexts(component, item);
    TakeDates(component, item);
    TakeAlarms(component, item);
    TakePeople(component, item);
    item.sensitivity = SensitivityOf(component);
    item.busyStatus = BusyStatusOf(component);
    item.cancelled = icalcomponent_get_status(component) == ICAL_STATUS_CANCELLED;
    item.attachments = static_cast<unsigned>(icalcomponent_count_properties(component, ICAL_ATTACH_PROPERTY));
    if (item.isTodo) TakeTodo(component, item);
    return item;
}

// Why an item can't be taken; empty when it can.
std::string Objection(icalcomponent* component, const IcsItem& item) {
    if (!item.isTodo && !item.start.IsSet()) return "an event without a start that can be read";
    for (icalproperty* p = icalcomponent_get_first_property(component, ICAL_XLICERROR_PROPERTY); p;
         p = icalcomponent_get_next_property(component, ICAL_XLICERROR_PROPERTY)) {
        const char* text = icalproperty_get_xlicerror(p);
        const std::string error = text ? text : "";
        for (const char* vital : {"DTSTART", "RRULE", "RECURRENCE-ID"})
            if (error.find(vital) != std::string::npos) return "a " + std::string(vital) + " that can't be read";
    }
    return {};
}

// --- The file -----------------------------------------------------------------------------------------------------

class Reader {
public:
    Reader(std::istream& in, const std::string& name, const std::function<void(std::size_t)>& progress)
        : m_lines(in), m_name(name), m_progress(progress) {}

    IcsFile Read() {
        std::string line;
        bool calendar = false;
        while (m_lines.Next(line)) {
            if (line.empty()) continue;
            const std::string upper = Upper(std::string_view(line).substr(0, 64));
            if (!calendar) {
                if (!upper.starts_with("BEGIN:VCALENDAR")) throw Failure(Place() + "not an iCalendar file");
                calendar = true;
            } else if (upper.starts_with("BEGIN:") && upper != "BEGIN:VCALENDAR") {
                ReadComponent(line, upper.substr(6));
            }
        }
        if (!calendar) throw Failure(m_name + " is empty");
        return std::move(m_file);
    }

private:
    std::string Place() const { return m_name + ":" + std::to_string(m_lines.Number()) + ": "; }

    void ReadComponent(std::string line, const std::string& kind) {
        const unsigned begin = m_lines.Number();
        const std::string end = "END:" + kind;
        std::string text = line + "\r\n";
        bool complete = false;
        while (m_lines.Next(line)) {
            if (text.size() < kLongestComponent) text += line + "\r\n";
            if (line.size() == end.size() && Upper(line) == end) {
                complete = true;
                break;
            }
        }
        if (!complete)
            Skip(begin, "the file ends inside of it");
        else if (text.size() >= kLongestComponent)
            Skip(begin, "larger than 32 MiB");
        else if (kind == "VTIMEZONE")
            m_file.zones.AddDefinition(text);
        else if (kind == "VEVENT" || kind == "VTODO")
            Take(text, begin);
        else
            Skip(begin, "a component of kind " + kind);
        if (m_progress) m_progress(m_lines.Bytes());
    }

    void Take(const std::string& text, unsigned line) {
        const Component component(icalcomponent_new_from_string(text.c_str()));
        if (!component || (icalcomponent_isa(component.get()) != ICAL_VEVENT_COMPONENT &&
                           icalcomponent_isa(component.get()) != ICAL_VTODO_COMPONENT)) {
            Skip(line, "can't be read");
            return;
        }
        IcsItem item = ItemOf(component.get(), line);
        const std::string objection = Objection(component.get(), item);
        if (!objection.empty())
            Skip(line, objection);
        else
            m_file.items.push_back(std::move(item));
    }

    void Skip(unsigned line, std::string why) { m_file.skipped.push_back({line, std::move(why)}); }

    Lines m_lines;
    const std::string& m_name;
    const std::function<void(std::size_t)>& m_progress;
    IcsFile m_file;
};

} // namespace

IcsFile ReadIcs(std::istream& in, const std::string& name, const std::function<void(std::size_t)>& progress) {
    icalerror_set_errors_are_fatal(0);
    return Reader(in, name, progress).Read();
}

} // namespace qn
