// Writes what is stored as iCalendar.
#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/databases.h"
#include "Platform/files.h"
#include "Platform/rulewalk.h"
#include "Platform/stream.h"
#include "QNWorkerClass/DATACALENDARDB.h"
#include "QNWorkerClass/recurrenceblob.h"
#include "apps/qn/commands.h"
#include "apps/qn/icsrules.h"
#include "apps/qn/icszones.h"
#include "apps/qn/options.h"
#include "apps/qn/store.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>

namespace qn {

namespace {

struct FreeComponent {
    void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};
using Component = std::unique_ptr<icalcomponent, FreeComponent>;

template<class Item, class Value>
Value Get(Item* item, HRESULT (Item::*get)(Value*), Value fallback = {}) {
    Value value = fallback;
    (item->*get)(&value);
    return value;
}

icaltimetype FromMinutes(std::int64_t minutes, bool isDate) { return ToIcal(civil::SystemTimeFromMinutes(minutes), isDate); }

icaltimetype FromDate(DATE date, bool isDate) { return ToIcal(ToSystemTime(date), isDate); }

icaltimetype Utc(const FILETIME& ticks) {
    SYSTEMTIME date{};
    FileTimeToSystemTime(&ticks, &date);
    icaltimetype time = ToIcal(date, false);
    time.zone = icaltimezone_get_utc_timezone();
    return time;
}

// --- Zones --------------------------------------------------------------------------------------------------------

std::string OffsetText(LONG minutesEast) {
    char text[16];
    std::snprintf(text, sizeof text, "%c%02d%02d", minutesEast < 0 ? '-' : '+', std::abs(minutesEast) / 60,
                  std::abs(minutesEast) % 60);
    return text;
}

std::string RuleName(const SYSTEMTIME& rule) {
    return std::to_string(rule.wMonth) + "." + std::to_string(rule.wDay) + "." + std::to_string(rule.wDayOfWeek) + "." +
           std::to_string(rule.wHour * 60 + rule.wMinute);
}

// The device's zone goes by its name; any other by its rules, since the item keeps no name.
std::string ZoneName(const TIME_ZONE_INFORMATION& zone) {
    TIME_ZONE_INFORMATION device{};
    GetTimeZoneInformation(&device);
    char name[128];
    const bool same = device.Bias == zone.Bias && device.DaylightBias == zone.DaylightBias &&
                      device.StandardBias == zone.StandardBias &&
                      !std::memcmp(&device.DaylightDate, &zone.DaylightDate, sizeof zone.DaylightDate) &&
                      !std::memcmp(&device.StandardDate, &zone.StandardDate, sizeof zone.StandardDate);
    if (same && PlatGetZoneName(name, sizeof name)) return name;
    std::string text = "QN" + OffsetText(-zone.Bias - zone.StandardBias);
    if (zone.DaylightDate.wMonth)
        text += OffsetText(-zone.Bias - zone.DaylightBias) + "_" + RuleName(zone.DaylightDate) + "_" +
                RuleName(zone.StandardDate);
    return text;
}

// STANDARD or DAYLIGHT of a definition: from 1970 on, by its rule each year.
void AddObservance(std::string& text, const char* kind, const SYSTEMTIME& rule, LONG eastBefore, LONG eastAfter) {
    constexpr const char* kDays[] = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};
    char start[64] = "DTSTART:19700101T000000\r\n";
    char repeat[96] = "";
    if (rule.wMonth) {
        const bool last = rule.wDay == 5;
        const std::int64_t first = civil::DaysFromCivil(1970, rule.wMonth, 1);
        int day = 1 + (rule.wDayOfWeek - civil::WeekdayOfDays(first) + 7) % 7 + 7 * (rule.wDay - 1);
        while (day > civil::DaysInMonth(1970, rule.wMonth)) day -= 7;
        std::snprintf(start, sizeof start, "DTSTART:1970%02u%02dT%02u%02u00\r\n", rule.wMonth, day, rule.wHour,
                      rule.wMinute);
        std::snprintf(repeat, sizeof repeat, "RRULE:FREQ=YEARLY;BYMONTH=%u;BYDAY=%d%s\r\n", rule.wMonth,
                      last ? -1 : rule.wDay, kDays[rule.wDayOfWeek % 7]);
    }
    text += std::string("BEGIN:") + kind + "\r\n" + start + repeat + "TZOFFSETFROM:" + OffsetText(eastBefore) +
            "\r\nTZOFFSETTO:" + OffsetText(eastAfter) + "\r\nEND:" + kind + "\r\n";
}

std::string ZoneDefinition(const std::string& name, const TIME_ZONE_INFORMATION& zone) {
    const LONG standard = -zone.Bias - zone.StandardBias;
    const bool summer = zone.DaylightDate.wMonth != 0;
    const LONG daylight = summer ? -zone.Bias - zone.DaylightBias : standard;
    std::string text = "BEGIN:VTIMEZONE\r\nTZID:" + name + "\r\n";
    AddObservance(text, "STANDARD", zone.StandardDate, daylight, standard);
    if (summer) AddObservance(text, "DAYLIGHT", zone.DaylightDate, standard, daylight);
    text += "END:VTIMEZONE\r\n";
    const Component component(icalcomponent_new_from_string(text.c_str()));
    const std::unique_ptr<char, decltype(&free)> written(icalcomponent_as_ical_string_r(component.get()), &free);
    return written.get();
}

// --- Writing ------------------------------------------------------------------------------------------------------

// Where the calendar goes. A file is written beside its name and renamed, so that a failure leaves the old one whole.
class Output {
public:
    explicit Output(const std::string& name) : m_name(name) {
        if (m_name.empty()) return;
        m_file = std::fopen((m_name + ".part").c_str(), "wb");
        if (!m_file) throw Failure(m_name + ": " + std::strerror(errno));
    }
    ~Output() {
        if (!m_file) return;
        std::fclose(m_file);
        std::remove((m_name + ".part").c_str());
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void Write(const std::string& text) {
        if (std::fwrite(text.data(), 1, text.size(), m_file ? m_file : stdout) != text.size()) Fail();
    }
    void Write(icalcomponent* component) {
        const std::unique_ptr<char, decltype(&free)> text(icalcomponent_as_ical_string_r(component), &free);
        Write(std::string(text.get()));
    }
    void Finish() {
        if (!m_file) {
            if (std::fflush(stdout) != 0) Fail();
            return;
        }
        const bool closed = std::fclose(std::exchange(m_file, nullptr)) == 0;
        std::error_code error;
        if (closed) std::filesystem::rename(m_name + ".part", m_name, error);
        if (!closed || error) throw Failure(m_name + ": can't be written");
    }

private:
    [[noreturn]] void Fail() { throw Failure((m_name.empty() ? "standard output" : m_name) + ": " + std::strerror(errno)); }

    std::string m_name;
    FILE* m_file = nullptr;
};

class Exporter {
public:
    Exporter(Store& store, Output& output) : m_store(store), m_output(output) {
        m_output.Write("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//QNTools//qn//EN\r\n");
        SYSTEMTIME now{};
        GetSystemTime(&now);
        m_stamp = ToIcal(now, false);
        m_stamp.zone = icaltimezone_get_utc_timezone();
    }
    void Appointments();
    void Tasks();
    void Finish() {
        m_output.Write("END:VCALENDAR\r\n");
        m_output.Finish();
    }
    unsigned Written() const { return m_written; }

private:
    // A series as its record has it.
    struct Series {
        bool allDay = false;
        std::string tzid;
        icaltimetype start;
        std::int64_t startMinutes = 0; // of the day
        LONG duration = 0;
        DATACALENDARDB record;
        CeList<DWORD> deleted{0};
    };

    template<class Visit>
    void ForEach(int folder, Visit visit);
    Component Begin(icalcomponent_kind kind, const std::string& uid);
    void AddTime(icalcomponent* component, icalproperty* property, const std::string& tzid);
    void AddText(icalcomponent* component, icalproperty* (*make)(const char*), const std::string& text);
    void AddTexts(icalcomponent* component, IAppointment* item);
    void AddPeople(icalcomponent* component, IAppointment* item);
    void AddReminder(icalcomponent* component, IAppointment* item);
    void AddSingleTimes(icalcomponent* component, IAppointment* item, const Com<IItem>& bag);
    bool ReadSeries(IAppointment* item, const Com<IItem>& bag, Series& series);
    std::string SeriesZone(const Com<IItem>& bag);
    bool AddRule(icalcomponent* component, IAppointment* item, const Series& series);
    void AddDeleted(icalcomponent* component, const Series& series);
    void WriteException(IAppointment* item, const Series& series, const CALENDAREXCEPTION& exception,
                        const std::string& uid);
    void Appointment(IAppointment* item);
    void Task(ITask* item);

    Store& m_store;
    Output& m_output;
    icaltimetype m_stamp;
    std::set<std::string> m_zonesWritten;
    unsigned m_written = 0;
};

template<class Visit>
void Exporter::ForEach(int kind, Visit visit) {
    Com<IFolder> folder;
    Com<IPOutlookItemCollection> items;
    HRESULT result = m_store.App()->GetDefaultFolder(kind, folder.Out());
    if (SUCCEEDED(result)) result = folder->get_Items(items.Out());
    if (FAILED(result)) throw Failure("the store can't be read: " + Reason(result));
    int count = 0;
    items->get_Count(&count);
    for (int i = 1; i <= count; ++i) {
        Com<IDispatch> item;
        if (SUCCEEDED(items->Item(i, item.Out()))) visit(item);
    }
}

Component Exporter::Begin(icalcomponent_kind kind, const std::string& uid) {
    Component component(icalcomponent_new(kind));
    icalcomponent_add_property(component.get(), icalproperty_new_uid(uid.c_str()));
    icalcomponent_add_property(component.get(), icalproperty_new_dtstamp(m_stamp));
    return component;
}

void Exporter::AddTime(icalcomponent* component, icalproperty* property, const std::string& tzid) {
    if (!tzid.empty()) icalproperty_add_parameter(property, icalparameter_new_tzid(tzid.c_str()));
    icalcomponent_add_property(component, property);
}

void Exporter::AddText(icalcomponent* component, icalproperty* (*make)(const char*), const std::string& text) {
    if (!text.empty()) icalcomponent_add_property(component, make(text.c_str()));
}

template<class Item>
std::string NoteOf(Item* item) {
    CEBLOB ink{};
    item->get_BodyInk(&ink);
    const std::string text = NoteText(ink);
    LocalFree(ink.lpb);
    return text;
}

void AddClass(icalcomponent* component, LONG sensitivity) {
    if (sensitivity == 0) return;
    icalcomponent_add_property(
        component, icalproperty_new_class(sensitivity == 3 ? ICAL_CLASS_CONFIDENTIAL : ICAL_CLASS_PRIVATE));
}

void AddCategories(icalcomponent* component, const std::string& text) {
    for (const std::string& name : SplitCategories(text))
        icalcomponent_add_property(component, icalproperty_new_categories(name.c_str()));
}

void AddBusyStatus(icalcomponent* component, LONG busy) {
    constexpr const char* kWords[] = {"FREE", "TENTATIVE", "BUSY", "OOF"};
    icalcomponent_add_property(component, icalproperty_new_transp(busy == 0 ? ICAL_TRANSP_TRANSPARENT : ICAL_TRANSP_OPAQUE));
    if (busy < 0 || busy > 3) return;
    icalproperty* words = icalproperty_new_x(kWords[busy]);
    icalproperty_set_x_name(words, "X-MICROSOFT-CDO-BUSYSTATUS");
    icalcomponent_add_property(component, words);
}

void Exporter::AddTexts(icalcomponent* component, IAppointment* item) {
    AddText(component, &icalproperty_new_summary, TextOf(item, &IAppointment::get_Subject));
    AddText(component, &icalproperty_new_location, TextOf(item, &IAppointment::get_Location));
    AddText(component, &icalproperty_new_description, NoteOf(item));
    AddCategories(component, TextOf(item, &IAppointment::get_Categories));
    AddClass(component, Get(item, &IAppointment::get_Sensitivity));
    AddBusyStatus(component, Get(item, &IAppointment::get_BusyStatus));
}

void Exporter::AddPeople(icalcomponent* component, IAppointment* item) {
    constexpr icalparameter_partstat kStates[] = {ICAL_PARTSTAT_NEEDSACTION, ICAL_PARTSTAT_ACCEPTED,
                                                  ICAL_PARTSTAT_DECLINED, ICAL_PARTSTAT_TENTATIVE};
    Com<IRecipients> people;
    int count = 0;
    if (FAILED(item->get_Recipients(people.Out())) || FAILED(people->get_Count(&count))) return;
    for (int i = 1; i <= count; ++i) {
        Com<IRecipient> person;
        if (FAILED(people->Item(i, person.Out()))) continue;
        const Com<IRecipient2> more = person.As<IRecipient2>(IID_IRecipient2);
        icalproperty* attendee =
            icalproperty_new_attendee(("mailto:" + TextOf(person.Get(), &IRecipient::get_Address)).c_str());
        const std::string name = TextOf(person.Get(), &IRecipient::get_Name);
        if (!name.empty()) icalproperty_add_parameter(attendee, icalparameter_new_cn(name.c_str()));
        const LONG type = more ? Get(more.Get(), &IRecipient2::get_Type) : 1;
        if (type == 2) icalproperty_add_parameter(attendee, icalparameter_new_role(ICAL_ROLE_OPTPARTICIPANT));
        if (type == 3) icalproperty_add_parameter(attendee, icalparameter_new_cutype(ICAL_CUTYPE_RESOURCE));
        const LONG state = more ? Get(more.Get(), &IRecipient2::get_MeetingResponseStatus) : 0;
        icalproperty_add_parameter(attendee, icalparameter_new_partstat(kStates[state >= 0 && state <= 3 ? state : 0]));
        icalcomponent_add_property(component, attendee);
    }
}

void Exporter::AddReminder(icalcomponent* component, IAppointment* item) {
    if (Get(item, &IAppointment::get_ReminderSet) == VARIANT_FALSE) return;
    icaltriggertype trigger{};
    trigger.time = icaltime_null_time();
    trigger.duration =
        icaldurationtype_from_int(-60 * Get(item, &IAppointment::get_ReminderMinutesBeforeStart));
    icalcomponent* alarm = icalcomponent_new(ICAL_VALARM_COMPONENT);
    icalcomponent_add_property(alarm, icalproperty_new_action(ICAL_ACTION_DISPLAY));
    icalcomponent_add_property(alarm, icalproperty_new_trigger(trigger));
    AddText(alarm, &icalproperty_new_description, TextOf(item, &IAppointment::get_Subject));
    icalcomponent_add_component(component, alarm);
}

// One value of an item as its record has it; the block is freed with the object.
class Property {
public:
    Property(const Com<IItem>& bag, CEPROPID id) {
        ULONG size = 0;
        if (bag && FAILED(bag->GetProps(&id, 0, 1, &m_value, &size, nullptr))) m_value = nullptr;
    }
    ~Property() { LocalFree(m_value); }
    Property(const Property&) = delete;
    Property& operator=(const Property&) = delete;
    const CEPROPVAL* Value() const { return m_value && !(m_value->wFlags & CEDB_PROPNOTFOUND) ? m_value : nullptr; }

private:
    CEPROPVAL* m_value = nullptr;
};

void Exporter::AddSingleTimes(icalcomponent* component, IAppointment* item, const Com<IItem>& bag) {
    const LONG minutes = Get(item, &IAppointment::get_Duration);
    if (Get(item, &IAppointment::get_AllDayEvent) != VARIANT_FALSE) {
        const DATE start = Get(item, &IAppointment::get_Start);
        AddTime(component, icalproperty_new_dtstart(FromDate(start, true)), {});
        AddTime(component, icalproperty_new_dtend(FromDate(start + minutes / civil::kMinutesPerDay, true)), {});
        return;
    }
    const Property start(bag, PIMPR_START);
    if (!start.Value()) return;
    const ULONGLONG ticks = FileTimeTicks(start.Value()->val.filetime);
    AddTime(component, icalproperty_new_dtstart(Utc(start.Value()->val.filetime)), {});
    const ULONGLONG length = static_cast<ULONGLONG>(minutes) * civil::kTicksPerMinute;
    AddTime(component, icalproperty_new_dtend(Utc(FileTimeFromTicks(ticks + length))), {});
}

std::string Exporter::SeriesZone(const Com<IItem>& bag) {
    const Property property(bag, PIMPR_TIMEZONE);
    TIME_ZONE_INFORMATION zone{};
    if (!property.Value() || property.Value()->val.blob.dwCount < sizeof zone) return {};
    std::memcpy(&zone, property.Value()->val.blob.lpb, sizeof zone);
    const std::string name = ZoneName(zone);
    if (m_zonesWritten.insert(name).second) m_output.Write(ZoneDefinition(name, zone));
    return name;
}

bool Exporter::ReadSeries(IAppointment* item, const Com<IItem>& bag, Series& series) {
    Com<IStream> stream;
    ULONGLONG size = 0;
    if (FAILED(bag->OpenProperty(PIMPR_RECURRENCE, GENERIC_READ, stream.Out())) || FAILED(stream->GetSize(&size)))
        return false;
    std::vector<BYTE> blob(static_cast<std::size_t>(size));
    ULONG read = 0;
    stream->Read(blob.data(), static_cast<ULONG>(blob.size()), &read);
    CRecurrenceParser parser;
    series.allDay = Get(item, &IAppointment::get_AllDayEvent) != VARIANT_FALSE;
    if (parser.Parse(blob.data(), read, 0, &series.record, &series.deleted, series.allDay) == kBlobRefused) return false;
    series.startMinutes = series.allDay ? 0 : series.record.m_wStartHour * 60 + series.record.m_wStartMinute;
    series.duration = Get(item, &IAppointment::get_Duration);
    const std::int64_t day = static_cast<std::int64_t>(series.record.m_dtStart) + civil::kDaysTo1899;
    series.start = FromMinutes(day * civil::kMinutesPerDay + series.startMinutes, series.allDay);
    if (!series.allDay) series.tzid = SeriesZone(bag);
    return true;
}

bool Exporter::AddRule(icalcomponent* component, IAppointment* item, const Series& series) {
    Com<IRecurrencePattern> rule;
    if (FAILED(item->GetRecurrencePattern(rule.Out()))) return false;
    Pattern pattern;
    pattern.type = Get(rule.Get(), &IRecurrencePattern::get_RecurrenceType);
    pattern.interval = Get(rule.Get(), &IRecurrencePattern::get_Interval);
    pattern.mask = Get(rule.Get(), &IRecurrencePattern::get_DayOfWeekMask);
    pattern.day = Get(rule.Get(), &IRecurrencePattern::get_DayOfMonth);
    pattern.instance = Get(rule.Get(), &IRecurrencePattern::get_Instance);
    pattern.month = Get(rule.Get(), &IRecurrencePattern::get_MonthOfYear);
    std::string text = RuleTextOf(pattern, series.start);
    if (text.empty()) return false;
    if (Get(rule.Get(), &IRecurrencePattern::get_NoEndDate) == VARIANT_FALSE)
        text += ";COUNT=" + std::to_string(Get(rule.Get(), &IRecurrencePattern::get_Occurrences));
    icalcomponent_add_property(component, icalproperty_new_rrule(icalrecurrencetype_from_string(text.c_str())));
    return true;
}

void Exporter::AddDeleted(icalcomponent* component, const Series& series) {
    for (const DWORD date : series.deleted)
        AddTime(component, icalproperty_new_exdate(FromMinutes(date + series.startMinutes, series.allDay)), series.tzid);
}

void Exporter::WriteException(IAppointment* item, const Series& series, const CALENDAREXCEPTION& exception,
                              const std::string& uid) {
    const std::int64_t ruleDay = exception.RuleDay() + civil::kDaysTo1899;
    Com<IRecurrencePattern> rule;
    Com<IAppointment> changed;
    if (FAILED(item->GetRecurrencePattern(rule.Out())) ||
        FAILED(rule->GetOccurrence(static_cast<DATE>(exception.RuleDay()), changed.Out())))
        return;
    const Component event = Begin(ICAL_VEVENT_COMPONENT, uid);
    AddTime(event.get(),
            icalproperty_new_recurrenceid(
                FromMinutes(ruleDay * civil::kMinutesPerDay + series.startMinutes, series.allDay)),
            series.tzid);
    const bool allDay = Get(changed.Get(), &IAppointment::get_AllDayEvent) != VARIANT_FALSE;
    const std::string tzid = allDay ? std::string() : series.tzid;
    AddTime(event.get(), icalproperty_new_dtstart(FromMinutes(exception.dwStart, allDay)), tzid);
    AddTime(event.get(), icalproperty_new_dtend(FromMinutes(exception.dwEnd, allDay)), tzid);
    AddTexts(event.get(), changed.Get());
    m_output.Write(event.get());
}

void Exporter::Appointment(IAppointment* item) {
    const auto oid = static_cast<CEOID>(Get(item, &IAppointment::get_Oid));
    std::string uid = m_store.Uid(oid);
    if (uid.empty()) uid = "qn-" + std::to_string(oid);
    void* found = nullptr;
    item->QueryInterface(IID_IItem, &found);
    const Com<IItem> bag(static_cast<IItem*>(found));
    const Component event = Begin(ICAL_VEVENT_COMPONENT, uid);
    Series series;
    const bool recurring = Get(item, &IAppointment::get_IsRecurring) != VARIANT_FALSE && ReadSeries(item, bag, series);
    const bool ruled = recurring && AddRule(event.get(), item, series);
    if (ruled) {
        AddTime(event.get(), icalproperty_new_dtstart(series.start), series.tzid);
        icalcomponent_add_property(event.get(), icalproperty_new_duration(icaldurationtype_from_int(series.duration * 60)));
        AddDeleted(event.get(), series);
    } else {
        if (recurring)
            std::fprintf(stderr, "qn: item %u: its rule can't be written, the first date stands alone\n", oid);
        AddSingleTimes(event.get(), item, bag);
    }
    AddTexts(event.get(), item);
    AddPeople(event.get(), item);
    AddReminder(event.get(), item);
    m_output.Write(event.get());
    ++m_written;
    if (!ruled) return;
    for (const CALENDAREXCEPTION* exception : series.record.m_listExceptions)
        WriteException(item, series, *exception, uid);
}

void Exporter::Appointments() {
    ForEach(olFolderCalendar, [&](const Com<IDispatch>& item) {
        if (const auto appointment = item.As<IAppointment>(IID_IAppointment)) Appointment(appointment.Get());
    });
}

void Exporter::Task(ITask* item) {
    const auto oid = static_cast<CEOID>(Get(item, &ITask::get_Oid));
    std::string uid = m_store.Uid(oid);
    if (uid.empty()) uid = "qn-" + std::to_string(oid);
    const Component todo = Begin(ICAL_VTODO_COMPONENT, uid);
    const DATE start = Get(item, &ITask::get_StartDate, kNoDate);
    const DATE due = Get(item, &ITask::get_DueDate, kNoDate);
    const DATE completed = Get(item, &ITask::get_DateCompleted, kNoDate);
    if (start < kNoDate) AddTime(todo.get(), icalproperty_new_dtstart(FromDate(start, true)), {});
    if (due < kNoDate) AddTime(todo.get(), icalproperty_new_due(FromDate(due, true)), {});
    AddText(todo.get(), &icalproperty_new_summary, TextOf(item, &ITask::get_Subject));
    AddText(todo.get(), &icalproperty_new_description, NoteOf(item));
    AddCategories(todo.get(), TextOf(item, &ITask::get_Categories));
    AddClass(todo.get(), Get(item, &ITask::get_Sensitivity));
    constexpr int kPriorities[] = {9, 5, 1}; // low, normal, high
    const LONG importance = Get(item, &ITask::get_Importance, LONG{1});
    if (importance >= 0 && importance <= 2)
        icalcomponent_add_property(todo.get(), icalproperty_new_priority(kPriorities[importance]));
    if (Get(item, &ITask::get_Complete) != VARIANT_FALSE) {
        icalcomponent_add_property(todo.get(), icalproperty_new_status(ICAL_STATUS_COMPLETED));
        icaltimetype day = FromDate(std::min(completed, kNoDate - 1), false);
        day.zone = icaltimezone_get_utc_timezone();
        icalcomponent_add_property(todo.get(), icalproperty_new_completed(day));
    }
    m_output.Write(todo.get());
    ++m_written;
}

void Exporter::Tasks() {
    ForEach(olFolderTasks, [&](const Com<IDispatch>& item) {
        if (const auto task = item.As<ITask>(IID_ITask)) Task(task.Get());
    });
}

} // namespace

int ExportCommand(const Words& words) {
    constexpr OptionRule kRules[] = {{"--ics", false}};
    const Options options("export", words, kRules);
    if (!options.Has("--ics")) Usage("export wants --ics");
    if (options.Rest().size() > 1) Usage("export wants one file");
    const std::string name = options.Rest().empty() ? "" : options.Rest()[0];
    Store store;
    Output output(name);
    Exporter exporter(store, output);
    exporter.Appointments();
    exporter.Tasks();
    exporter.Finish();
    if (!name.empty()) std::printf("%u items written to %s\n", exporter.Written(), name.c_str());
    return kExitDone;
}

} // namespace qn
