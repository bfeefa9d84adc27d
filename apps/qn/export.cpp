// Writes what is stored as iCalendar.
#include "NorvoTools/CeDb.h"
#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/databases.h"
#include "Platform/files.h"
#include "Platform/stream.h"
#include "QNWorkerClass/DATACALENDARDB.h"
#include "QNWorkerClass/journalstore.h"
#include "QNWorkerClass/linkstore.h"
#include "QNWorkerClass/recurrenceblob.h"
#include "apps/qn/commands.h"
#include "apps/qn/exportparts.h"
#include "apps/qn/exportzones.h"
#include "apps/qn/icsrules.h"
#include "apps/qn/icsfile.h"
#include "apps/qn/journaluid.h"
#include "apps/qn/options.h"
#include "apps/qn/output.h"
#include "apps/qn/ownfields.h"
#include "apps/qn/store.h"
#include "apps/qn/vcardexport.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <set>

namespace qn {

namespace {

struct FreeComponent {
    void operator()(icalcomponent* component) const { icalcomponent_free(component); }
};
using Component = std::unique_ptr<icalcomponent, FreeComponent>;

icaltimetype FromMinutes(std::int64_t minutes, bool isDate) {
    return ToIcal(civil::SystemTimeFromMinutes(minutes), isDate);
}

icaltimetype FromDate(DATE date, bool isDate) { return ToIcal(ToSystemTime(date), isDate); }

void Write(Output& output, icalcomponent* component) {
    const std::unique_ptr<char, decltype(&free)> text(icalcomponent_as_ical_string_r(component), &free);
    output.Write(text.get());
}

// The days that are asked for, both ends included.
struct Days {
    LONG first = std::numeric_limits<LONG>::min();
    LONG last = std::numeric_limits<LONG>::max();
    bool AreAll() const { return *this == Days{}; }
    bool Touch(LONG from, LONG to) const { return from <= last && to >= first; }
    bool operator==(const Days&) const = default;
};

class Exporter {
public:
    Exporter(Store& store, Output& output, const Days& days)
        : m_store(store), m_output(output), m_days(days), m_taskFields(store) {
        m_output.Write("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//QNTools//qn//EN\r\n");
        SYSTEMTIME now{};
        GetSystemTime(&now);
        m_stamp = ToIcal(now, false);
        m_stamp.zone = icaltimezone_get_utc_timezone();
        for (const auto& [owner, target] : CLinks::ItemPairs()) m_links.emplace(owner, target);
    }
    void Appointments();
    void Tasks();
    void Journal();
    void Finish() { m_output.Write("END:VCALENDAR\r\n"); }
    unsigned Written() const { return m_written; }
    unsigned Failed() const { return m_failed; }

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

    void Complain(CEOID oid, const char* why) {
        ++m_failed;
        std::fprintf(stderr, "qn: item %u: %s\n", oid, why);
    }
    Component Begin(icalcomponent_kind kind, const std::string& uid);
    icaltimetype Utc(DATE wall);
    void AddSingleTimes(icalcomponent* component, IAppointment* item);
    bool AddRule(icalcomponent* component, IRecurrencePattern* rule, const icaltimetype& start);
    bool IsAskedFor(IAppointment* item) const;
    bool IsAskedFor(ITask* item) const;
    void AddRelation(icalcomponent* component, CEOID oid, icalparameter_reltype type);
    void AddLinks(icalcomponent* component, CEOID oid);
    void AddParent(icalcomponent* component, const Com<IItem>& bag);
    void AddPercent(icalcomponent* component, ITask* item, const Com<IItem>& bag);
    void AddTaskRest(icalcomponent* component, ITask* item, const Com<IItem>& bag);
    bool ReadSeries(IAppointment* item, const Com<IItem>& bag, Series& series);
    std::string SeriesZone(const Com<IItem>& bag);
    void AddDeleted(icalcomponent* component, const Series& series);
    void WriteException(IAppointment* item, const Series& series, const CALENDAREXCEPTION& exception,
                        const std::string& uid);
    void Appointment(IAppointment* item);
    void Task(ITask* item);
    void Entry(CeDb& journal, CEOID oid);

    Store& m_store;
    Output& m_output;
    const Days m_days;
    TaskFields m_taskFields;
    std::multimap<CEOID, CEOID> m_links; // by owner
    icaltimetype m_stamp;
    std::set<std::string> m_zonesWritten;
    ZoneTable m_zones;
    unsigned m_written = 0;
    unsigned m_failed = 0; // items that are not there, or not wholly
};

Component Exporter::Begin(icalcomponent_kind kind, const std::string& uid) {
    Component component(icalcomponent_new(kind));
    icalcomponent_add_property(component.get(), icalproperty_new_uid(uid.c_str()));
    icalcomponent_add_property(component.get(), icalproperty_new_dtstamp(m_stamp));
    return component;
}

// UTC of a moment on the device's clock, by the rules that held at the time.
icaltimetype Exporter::Utc(DATE wall) {
    icaltimetype time = ToIcal(m_zones.ToUtc(When{FromDate(wall, false), {}}), false);
    time.zone = icaltimezone_get_utc_timezone();
    return time;
}

void Exporter::AddSingleTimes(icalcomponent* component, IAppointment* item) {
    const bool allDay = Get(item, &IAppointment::get_AllDayEvent) != VARIANT_FALSE;
    const LONG minutes = Get(item, &IAppointment::get_Duration);
    const DATE start = Get(item, &IAppointment::get_Start);
    const LONG days = minutes / civil::kMinutesPerDay;
    icaltimetype end = allDay ? FromDate(start + days, true) : Utc(start);
    if (!allDay) icaltime_adjust(&end, 0, 0, minutes, 0);
    icalcomponent_add_property(component,
                               icalproperty_new_dtstart(allDay ? FromDate(start, true) : Utc(start)));
    icalcomponent_add_property(component, icalproperty_new_dtend(end));
}

std::string Exporter::SeriesZone(const Com<IItem>& bag) {
    const Property property(bag, PIMPR_TIMEZONE);
    TIME_ZONE_INFORMATION zone{};
    if (!property.Value() || property.Value()->val.blob.dwCount < sizeof zone) return {};
    std::memcpy(&zone, property.Value()->val.blob.lpb, sizeof zone);
    std::string name = ZoneName(zone);
    if (m_zonesWritten.insert(name).second) m_output.Write(ZoneDefinition(name, zone));
    return name;
}

bool Exporter::ReadSeries(IAppointment* item, const Com<IItem>& bag, Series& series) {
    Com<IStream> stream;
    ULONGLONG size = 0;
    if (FAILED(bag->OpenProperty(PIMPR_RECURRENCE, GENERIC_READ, stream.Out())) ||
        FAILED(stream->GetSize(&size)))
        return false;
    std::vector<BYTE> blob(static_cast<std::size_t>(size));
    ULONG read = 0;
    stream->Read(blob.data(), static_cast<ULONG>(blob.size()), &read);
    CRecurrenceParser parser;
    series.allDay = Get(item, &IAppointment::get_AllDayEvent) != VARIANT_FALSE;
    if (parser.Parse(blob.data(), read, 0, &series.record, &series.deleted, series.allDay) == kBlobRefused)
        return false;
    series.startMinutes = series.allDay ? 0 : series.record.m_wStartHour * 60 + series.record.m_wStartMinute;
    series.duration = Get(item, &IAppointment::get_Duration);
    const std::int64_t day = static_cast<std::int64_t>(series.record.m_dtStart) + civil::kDaysTo1899;
    series.start = FromMinutes(day * civil::kMinutesPerDay + series.startMinutes, series.allDay);
    if (!series.allDay) series.tzid = SeriesZone(bag);
    return true;
}

// False when no rule says the same; the item then has none.
bool Exporter::AddRule(icalcomponent* component, IRecurrencePattern* rule, const icaltimetype& start) {
    Pattern pattern;
    pattern.type = Get(rule, &IRecurrencePattern::get_RecurrenceType);
    pattern.interval = Get(rule, &IRecurrencePattern::get_Interval);
    pattern.mask = Get(rule, &IRecurrencePattern::get_DayOfWeekMask);
    pattern.day = Get(rule, &IRecurrencePattern::get_DayOfMonth);
    pattern.instance = Get(rule, &IRecurrencePattern::get_Instance);
    pattern.month = Get(rule, &IRecurrencePattern::get_MonthOfYear);
    std::string text = RuleTextOf(pattern, start);
    if (text.empty()) return false;
    if (Get(rule, &IRecurrencePattern::get_NoEndDate) == VARIANT_FALSE)
        text += ";COUNT=" + std::to_string(Get(rule, &IRecurrencePattern::get_Occurrences));
    icalcomponent_add_property(component,
                               icalproperty_new_rrule(icalrecurrencetype_from_string(text.c_str())));
    return true;
}

void Exporter::AddDeleted(icalcomponent* component, const Series& series) {
    for (const DWORD date : series.deleted)
        AddTime(component, icalproperty_new_exdate(FromMinutes(date + series.startMinutes, series.allDay)),
                series.tzid);
}

void Exporter::WriteException(IAppointment* item, const Series& series, const CALENDAREXCEPTION& exception,
                              const std::string& uid) {
    const std::int64_t ruleDay = exception.RuleDay() + civil::kDaysTo1899;
    Com<IRecurrencePattern> rule;
    Com<IAppointment> changed;
    if (FAILED(item->GetRecurrencePattern(rule.Out())) ||
        FAILED(rule->GetOccurrence(static_cast<DATE>(exception.RuleDay()), changed.Out())))
        return Complain(static_cast<CEOID>(Get(item, &IAppointment::get_Oid)),
                        "a changed occurrence can't be read");
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
    Write(m_output, event.get());
}

void Exporter::Appointment(IAppointment* item) {
    const auto oid = static_cast<CEOID>(Get(item, &IAppointment::get_Oid));
    const Com<IItem> bag = BagOf(item);
    const std::string uid = m_store.UidOrNew(oid, bag);
    const Component event = Begin(ICAL_VEVENT_COMPONENT, uid);
    Series series;
    const bool recurring =
        Get(item, &IAppointment::get_IsRecurring) != VARIANT_FALSE && ReadSeries(item, bag, series);
    Com<IRecurrencePattern> rule;
    const bool ruled = recurring && SUCCEEDED(item->GetRecurrencePattern(rule.Out())) &&
                       AddRule(event.get(), rule.Get(), series.start);
    if (ruled) {
        AddTime(event.get(), icalproperty_new_dtstart(series.start), series.tzid);
        icalcomponent_add_property(
            event.get(), icalproperty_new_duration(icaldurationtype_from_int(series.duration * 60)));
        AddDeleted(event.get(), series);
    } else {
        if (Get(item, &IAppointment::get_IsRecurring) != VARIANT_FALSE)
            Complain(oid, "its rule can't be written, the first date stands alone");
        AddSingleTimes(event.get(), item);
    }
    AddTexts(event.get(), item);
    AddOrganizer(event.get(), item);
    AddPeople(event.get(), item);
    AddReminder(event.get(), item);
    AddLinks(event.get(), oid);
    Write(m_output, event.get());
    ++m_written;
    if (!ruled) return;
    for (const CALENDAREXCEPTION* exception : series.record.m_listExceptions)
        WriteException(item, series, *exception, uid);
}

// A series when any of it may fall on these days.
bool Exporter::IsAskedFor(IAppointment* item) const {
    if (m_days.AreAll()) return true;
    DATE first = Get(item, &IAppointment::get_Start);
    DATE last =
        first + std::max(Get(item, &IAppointment::get_Duration) - 1, 0) / double{civil::kMinutesPerDay};
    Com<IRecurrencePattern> rule;
    if (Get(item, &IAppointment::get_IsRecurring) != VARIANT_FALSE &&
        SUCCEEDED(item->GetRecurrencePattern(rule.Out())))
        last += Get(rule.Get(), &IRecurrencePattern::get_PatternEndDate, kNoDate) - std::floor(first);
    return m_days.Touch(static_cast<LONG>(std::floor(first)), static_cast<LONG>(std::floor(last)));
}

void Exporter::Appointments() {
    m_failed += m_store.ForEach(olFolderCalendar, [&](const Com<IDispatch>& item) {
        const auto appointment = item.As<IAppointment>(IID_IAppointment);
        if (appointment && IsAskedFor(appointment.Get())) Appointment(appointment.Get());
    });
}

// --- What belongs together ----------------------------------------------------------------------------------------

// Nothing for an item that is gone.
void Exporter::AddRelation(icalcomponent* component, CEOID oid, icalparameter_reltype type) {
    Com<IItem> other;
    if (FAILED(m_store.App()->GetItemFromOidEx(oid, 0, other.Out()))) return;
    icalproperty* relation = icalproperty_new_relatedto(m_store.UidOrNew(oid, other).c_str());
    if (type != ICAL_RELTYPE_PARENT) icalproperty_add_parameter(relation, icalparameter_new_reltype(type));
    icalcomponent_add_property(component, relation);
}

void Exporter::AddLinks(icalcomponent* component, CEOID oid) {
    const auto [begin, end] = m_links.equal_range(oid);
    for (auto link = begin; link != end; ++link) AddRelation(component, link->second, ICAL_RELTYPE_SIBLING);
}

// A task hangs below the one whose number this is; a half says no more than that the branch is open.
void Exporter::AddParent(icalcomponent* component, const Com<IItem>& bag) {
    const WCHAR* name = u"QN_ParentOID";
    CEPROPID id = 0;
    if (FAILED(m_store.App()->GetIDsFromNames(1, &name, 0, &id)) || id == kUnknownNamedProperty) return;
    const Property stored(bag, id);
    const double value = stored.Value() ? stored.Value()->val.dblVal : 0;
    if (value >= 1 && value <= 0xFFFFFFFF)
        AddRelation(component, static_cast<CEOID>(value), ICAL_RELTYPE_PARENT);
}

// --- Tasks --------------------------------------------------------------------------------------------------------

// An open task is never at 100, whatever is stored; above that are states of the suite's own.
void Exporter::AddPercent(icalcomponent* component, ITask* item, const Com<IItem>& bag) {
    constexpr ULONG kComplete = 100;
    const WCHAR* name = u"QN_TaskPercentStatus";
    CEPROPID id = 0;
    if (FAILED(m_store.App()->GetIDsFromNames(1, &name, 0, &id)) || id == kUnknownNamedProperty) return;
    const Property stored(bag, id);
    const ULONG percent = stored.Value() ? stored.Value()->val.ulVal : 0;
    const ULONG most = Get(item, &ITask::get_Complete) != VARIANT_FALSE ? kComplete : kComplete - 1;
    if (percent > 0 && percent <= most)
        icalcomponent_add_property(component, icalproperty_new_percentcomplete(static_cast<int>(percent)));
}

void Exporter::AddTaskRest(icalcomponent* component, ITask* item, const Com<IItem>& bag) {
    AddPercent(component, item, bag);
    m_taskFields.Add(component, bag);
    const DATE reminder = Get(item, &ITask::get_ReminderTime, kNoDate);
    if (Get(item, &ITask::get_ReminderSet) != VARIANT_FALSE && reminder < kNoDate) {
        icaltriggertype trigger{};
        trigger.time = Utc(reminder);
        AddAlarm(component, trigger, TextOf(item, &ITask::get_Subject));
    }
    Com<IRecurrencePattern> rule;
    if (Get(item, &ITask::get_IsRecurring) == VARIANT_FALSE) return;
    if (FAILED(item->GetRecurrencePattern(rule.Out())) ||
        !AddRule(component, rule.Get(),
                 FromDate(Get(rule.Get(), &IRecurrencePattern::get_PatternStartDate), true)))
        Complain(static_cast<CEOID>(Get(item, &ITask::get_Oid)), "its rule can't be written");
}

void Exporter::Task(ITask* item) {
    const auto oid = static_cast<CEOID>(Get(item, &ITask::get_Oid));
    const Com<IItem> bag = BagOf(item);
    const Component todo = Begin(ICAL_VTODO_COMPONENT, m_store.UidOrNew(oid, bag));
    const DATE start = Get(item, &ITask::get_StartDate, kNoDate);
    const DATE due = Get(item, &ITask::get_DueDate, kNoDate);
    const DATE completed = Get(item, &ITask::get_DateCompleted, kNoDate);
    if (start < kNoDate) AddTime(todo.get(), icalproperty_new_dtstart(FromDate(start, true)), {});
    if (due < kNoDate) AddTime(todo.get(), icalproperty_new_due(FromDate(due, true)), {});
    AddText(todo.get(), &icalproperty_new_summary, TextOf(item, &ITask::get_Subject));
    AddNote(todo.get(), StoredNote(item).Blob());
    AddCategories(todo.get(), TextOf(item, &ITask::get_Categories));
    AddClass(todo.get(), Get(item, &ITask::get_Sensitivity));
    constexpr int kPriorities[] = {9, 5, 1}; // low, normal, high
    const LONG importance = Get(item, &ITask::get_Importance, LONG{1});
    if (importance >= 0 && importance <= 2)
        icalcomponent_add_property(todo.get(), icalproperty_new_priority(kPriorities[importance]));
    if (Get(item, &ITask::get_Complete) != VARIANT_FALSE) {
        icalcomponent_add_property(todo.get(), icalproperty_new_status(ICAL_STATUS_COMPLETED));
        // Noon of the day, so that it stays this day in the zones around.
        icalcomponent_add_property(todo.get(),
                                   icalproperty_new_completed(Utc(std::min(completed, kNoDate - 1) + 0.5)));
    }
    AddParent(todo.get(), bag);
    AddLinks(todo.get(), oid);
    AddTaskRest(todo.get(), item, bag);
    Write(m_output, todo.get());
    ++m_written;
}

// Start, due and completed day tell where it stands; one without any is on no day.
bool Exporter::IsAskedFor(ITask* item) const {
    if (m_days.AreAll()) return true;
    LONG first = kNoDay, last = std::numeric_limits<LONG>::min();
    for (const DATE date :
         {Get(item, &ITask::get_StartDate, kNoDate), Get(item, &ITask::get_DueDate, kNoDate),
          Get(item, &ITask::get_DateCompleted, kNoDate)}) {
        if (date >= kNoDate) continue;
        first = std::min(first, static_cast<LONG>(date));
        last = std::max(last, static_cast<LONG>(date));
    }
    return first != kNoDay && m_days.Touch(first, last);
}

void Exporter::Tasks() {
    m_failed += m_store.ForEach(olFolderTasks, [&](const Com<IDispatch>& item) {
        const auto task = item.As<ITask>(IID_ITask);
        if (task && IsAskedFor(task.Get())) Task(task.Get());
    });
}

// --- The journal --------------------------------------------------------------------------------------------------

void Exporter::Entry(CeDb& journal, CEOID oid) {
    CJournalData entry;
    if (!CJournal::ReadEntry(journal, oid, &entry)) return Complain(oid, "the journal entry can't be read");
    const auto day = static_cast<LONG>(ToDate(entry.m_stDate));
    if (!m_days.Touch(day, day)) return;
    const Component component = Begin(ICAL_VJOURNAL_COMPONENT, JournalUid(journal, oid));
    AddEntry(component.get(), entry, m_zones);
    if (entry.m_oidOwner) AddRelation(component.get(), entry.m_oidOwner, ICAL_RELTYPE_PARENT);
    Write(m_output, component.get());
    ++m_written;
}

void Exporter::Journal() {
    CeDb db;
    if (!db.Open(kJournalStore) || !CJournal::Open(db, kJournalByCreation)) return; // none, and none is made
    std::vector<CEOID> entries;
    for (CEOID at = db.SeekFirst(); at; at = db.SeekNext()) entries.push_back(at);
    for (const CEOID entry : entries) Entry(db, entry);
}

ExportTally ExportCalendar(Store& store, Output& output, const Days& days) {
    Exporter exporter(store, output, days);
    exporter.Appointments();
    exporter.Tasks();
    exporter.Journal();
    exporter.Finish();
    return {exporter.Written(), exporter.Failed()};
}

LONG DayOption(const Options& options, const char* name, LONG fallback) {
    if (!options.Has(name)) return fallback;
    const auto day = ParseDay(options.Get(name));
    if (!day) Usage("export: " + std::string(name) + " can't be " + options.Get(name));
    return static_cast<LONG>(*day);
}

} // namespace

int ExportCommand(const Words& words) {
    constexpr OptionRule kRules[] = {{"--ics", false}, {"--vcf", false}, {"--from", true}, {"--to", true}};
    const Options options("export", words, kRules);
    if (options.Has("--ics") == options.Has("--vcf")) Usage("export wants --ics or --vcf");
    if (options.Rest().size() > 1) Usage("export wants one file");
    Days days;
    days = {DayOption(options, "--from", days.first), DayOption(options, "--to", days.last)};
    if (!days.AreAll() && options.Has("--vcf")) Usage("export: contacts stand on no day");
    const std::string name = options.Rest().empty() ? "" : options.Rest()[0];
    Store store;
    Output output(name);
    const ExportTally tally =
        options.Has("--vcf") ? ExportCards(store, output) : ExportCalendar(store, output, days);
    output.Finish();
    if (!name.empty() && name != "-") std::printf("%u items written to %s\n", tally.written, name.c_str());
    return tally.failed ? kExitFailed : kExitDone;
}

} // namespace qn
