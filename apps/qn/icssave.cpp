#include "apps/qn/icssave.h"

#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/databases.h"
#include "apps/qn/support.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace qn {

namespace {

constexpr std::size_t kMostSplit = 4000; // single appointments of one series
constexpr LONG kMinutesPerDay = civil::kMinutesPerDay;
constexpr LONG kMeeting = 1;
constexpr const char* kPercentName = "QN_TaskPercentStatus";

// A save that failed; the group is told of and the next one goes on.
struct SaveFailed {
    HRESULT result;
};

// Single appointments of one UID are told apart by a number behind it.
std::string NumberedUid(const std::string& uid, std::size_t index) {
    return index == 0 ? uid : uid + "#" + std::to_string(index);
}

CEPROPVAL TextProperty(CEPROPID id, std::u16string& text) {
    CEPROPVAL value{};
    value.propid = id;
    value.val.lpwstr = text.data();
    return value;
}

std::string JoinCategories(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

bool SameDay(const icaltimetype& a, const icaltimetype& b) {
    return a.year == b.year && a.month == b.month && a.day == b.day;
}

DATE WholeDay(DATE date) { return std::floor(date); }

} // namespace

IcsSaver::IcsSaver(Store& store, ZoneTable& zones, LONG horizonYears) : m_store(store), m_zones(zones) {
    SYSTEMTIME today = ToSystemTime(Today());
    m_thisYear = today.wYear;
    const std::int64_t day = civil::DaysFromCivil(today.wYear + horizonYears, today.wMonth, today.wDay);
    m_horizonDay = static_cast<LONG>(day - civil::kDaysTo1899);
    m_store.UidProperty(true);
}

void IcsSaver::Remark(const std::string& what, unsigned times) {
    if (times) m_tally.remarks[what] += times;
}

void IcsSaver::Complain(unsigned line, std::string why) {
    ++m_tally.skipped;
    m_complaints.push_back({line, std::move(why)});
}

void IcsSaver::Check(HRESULT result) const {
    if (FAILED(result)) throw SaveFailed{result};
}

void IcsSaver::Save(const IcsGroup& group) {
    const IcsItem& first = group.master ? *group.master : *group.changes.front();
    try {
        if (first.isTodo)
            SaveTask(first);
        else
            SaveAppointment(group);
    } catch (const SaveFailed& failed) {
        if (failed.result == static_cast<HRESULT>(0x80070000 | ERROR_DISK_FULL))
            throw Failure("the disk is full; what was saved before is safe");
        Complain(first.line, "can't be saved: " + Reason(failed.result));
    }
}

void IcsSaver::SaveAppointment(const IcsGroup& group) {
    // Changed occurrences of a series that the file doesn't have stand for themselves.
    if (!group.master) {
        for (std::size_t i = 0; i < group.changes.size(); ++i) {
            const IcsItem& change = *group.changes[i];
            if (change.cancelled)
                Complain(change.line, "cancels an occurrence of a series that the file doesn't have");
            else
                SaveSingle(change, change.start, NumberedUid(change.uid, i));
        }
        return;
    }
    const IcsItem& item = *group.master;
    if (item.cancelled) {
        Complain(item.line, "is cancelled");
        return;
    }
    if (item.rules.empty() && item.extraDates.empty()) {
        SaveSingle(item, item.start, item.uid);
        DropLeftovers(item.uid, 1);
        return;
    }
    Series series{SeriesZone(item), {}};
    series.start = m_zones.ToZone(item.start, series.tzid);
    std::optional<Pattern> pattern;
    if (item.rules.size() == 1) {
        std::optional<icaltimetype> until = UntilOf(item.rules[0]);
        if (until && !until->is_date) until = m_zones.ToZone({*until, item.start.tzid}, series.tzid);
        pattern = PatternOf(item.rules[0], series.start, until);
    }
    if (pattern)
        SaveSeries(group, *pattern, series);
    else
        SaveSplit(group, series);
}

// The clock that a series runs on: empty is the device's.
std::string IcsSaver::SeriesZone(const IcsItem& item) {
    if (item.start.IsDate()) return {};
    if (icaltime_is_utc(item.start.time)) return "UTC";
    return m_zones.Find(item.start.tzid) ? item.start.tzid : std::string();
}

// --- One appointment ----------------------------------------------------------------------------------------------

CEOID IcsSaver::Find(LONG folder, const std::string& uid) {
    CEOID oid = 0;
    if (uid.empty()) return 0;
    const std::u16string text = Utf16(uid);
    const HRESULT found =
        PlatFindItemByNamedText(m_store.App(), folder, m_store.UidProperty(true), text.c_str(), &oid);
    return SUCCEEDED(found) ? oid : 0;
}

auto IcsSaver::Open(const std::string& uid) -> Target {
    Target target;
    if (const CEOID oid = Find(olFolderCalendar, uid)) {
        Com<IDispatch> item;
        Check(m_store.App()->GetItemFromOid(static_cast<LONG>(oid), item.Out()));
        target.appointment = item.As<IAppointment>(IID_IAppointment);
        target.isNew = false;
        target.appointment->ClearRecurrencePattern();
        return target;
    }
    Com<IDispatch> item;
    Check(m_store.App()->CreateItem(olAppointmentItem, item.Out()));
    target.appointment = item.As<IAppointment>(IID_IAppointment);
    return target;
}

template<class Item>
void IcsSaver::GiveUid(const Com<Item>& item, const std::string& uid) {
    if (uid.empty()) return;
    std::u16string text = Utf16(uid);
    const CEPROPVAL value = TextProperty(m_store.UidProperty(true), text);
    Check(item.template As<IItem>(IID_IItem)->SetProps(0, 1, &value));
}

void IcsSaver::Finish(Target& target, const IcsItem& item, const std::string& uid) {
    FillPeople(target.appointment.Get(), item);
    GiveUid(target.appointment, uid);
    Check(target.appointment->Save());
    ++(target.isNew ? m_tally.newAppointments : m_tally.updatedAppointments);
    Remark("further alarms", item.furtherAlarms);
    Remark("attachments", item.attachments);
}

void IcsSaver::SaveSingle(const IcsItem& item, const When& start, const std::string& uid) {
    Target target = Open(uid);
    FillTexts(target.appointment.Get(), item);
    FillTimes(target.appointment.Get(), item, m_zones.ToDevice(start));
    FillReminder(target.appointment.Get(), item);
    Finish(target, item, uid);
}

void IcsSaver::FillTexts(IAppointment* appointment, const IcsItem& item) {
    Check(appointment->put_Subject(Bstr(Utf16(item.summary))));
    Check(appointment->put_Location(Bstr(Utf16(item.location))));
    Check(appointment->put_Categories(Bstr(Utf16(JoinCategories(item.categories)))));
    Check(appointment->put_Sensitivity(item.sensitivity));
    Check(appointment->put_BusyStatus(item.busyStatus));
    std::vector<BYTE> note = NoteBytes(item.note);
    const CEBLOB ink{static_cast<DWORD>(note.size()), note.data()};
    Check(appointment->put_BodyInk(&ink));
}

LONG IcsSaver::DurationMinutes(const IcsItem& item) {
    if (item.end.IsSet()) {
        if (item.start.IsDate()) {
            const auto days = civil::DaysFromCivil(item.end.time.year, item.end.time.month, item.end.time.day) -
                              civil::DaysFromCivil(item.start.time.year, item.start.time.month, item.start.time.day);
            return static_cast<LONG>(std::max<std::int64_t>(days, 1)) * kMinutesPerDay;
        }
        const auto minutes =
            (civil::TicksOf(m_zones.ToUtc(item.end)) - civil::TicksOf(m_zones.ToUtc(item.start))) / civil::kTicksPerMinute;
        return static_cast<LONG>(std::clamp<std::int64_t>(minutes, 0, 366LL * 50 * kMinutesPerDay));
    }
    if (item.duration) return std::max(*item.duration / 60, 0);
    return item.start.IsDate() ? kMinutesPerDay : 0;
}

void IcsSaver::FillTimes(IAppointment* appointment, const IcsItem& item, DATE start) {
    Check(appointment->put_AllDayEvent(item.start.IsDate() ? VARIANT_TRUE : VARIANT_FALSE));
    Check(appointment->put_Start(start));
    Check(appointment->put_Duration(DurationMinutes(item)));
}

void IcsSaver::FillReminder(IAppointment* appointment, const IcsItem& item) {
    std::optional<LONG> minutes = item.reminderMinutes;
    if (item.reminderTime && item.start.IsSet())
        minutes = static_cast<LONG>((civil::TicksOf(m_zones.ToUtc(item.start)) -
                                     civil::TicksOf(m_zones.ToUtc(*item.reminderTime))) /
                                    civil::kTicksPerMinute);
    if (minutes && *minutes < 0) {
        Remark("alarms behind the start");
        minutes.reset();
    }
    Check(appointment->put_ReminderSet(minutes ? VARIANT_TRUE : VARIANT_FALSE));
    if (minutes) Check(appointment->put_ReminderMinutesBeforeStart(*minutes));
}

void IcsSaver::FillPeople(IAppointment* appointment, const IcsItem& item) {
    Com<IRecipients> people;
    Check(appointment->get_Recipients(people.Out()));
    int count = 0;
    people->get_Count(&count);
    while (count > 0) people->Remove(count--);
    for (const Attendee& attendee : item.attendees) {
        Com<IRecipient> added;
        if (FAILED(people->Add(Bstr(Utf16(attendee.name)), added.Out()))) continue;
        const Com<IRecipient2> more = added.As<IRecipient2>(IID_IRecipient2);
        if (!more) continue;
        more->put_Address(Bstr(Utf16(attendee.address)));
        more->put_Type(attendee.type);
        more->put_MeetingResponseStatus(attendee.response);
    }
    Check(appointment->put_MeetingStatus(item.attendees.empty() ? 0 : kMeeting));
    if (item.organizer.empty()) return;
    std::u16string organizer = Utf16(item.organizer);
    const CEPROPVAL value = TextProperty(PIMPR_ORGANIZER_NAME, organizer);
    void* properties = nullptr;
    if (SUCCEEDED(appointment->QueryInterface(IID_IItem, &properties))) {
        const Com<IItem> bag(static_cast<IItem*>(properties));
        Check(bag->SetProps(0, 1, &value));
    }
}

// --- Series -------------------------------------------------------------------------------------------------------

void IcsSaver::GiveZone(IAppointment* appointment, const Series& series) {
    if (series.tzid.empty()) return;
    // Rules change over the years: those of today hold for a series that still runs.
    const int year = std::max<int>(series.start.year, m_thisYear);
    const auto rules = m_zones.Rules(series.tzid, year);
    if (!rules) return;
    TIME_ZONE_INFORMATION zone = *rules;
    CEPROPVAL value{};
    value.propid = PIMPR_TIMEZONE;
    value.val.blob = {sizeof zone, reinterpret_cast<BYTE*>(&zone)};
    void* properties = nullptr;
    Check(appointment->QueryInterface(IID_IItem, &properties));
    const Com<IItem> bag(static_cast<IItem*>(properties));
    Check(bag->SetProps(0, 1, &value));
}

void IcsSaver::ApplyPattern(IRecurrencePattern* rule, const Pattern& pattern, DATE firstDay) const {
    Check(rule->put_RecurrenceType(pattern.type));
    Check(rule->put_Interval(pattern.interval));
    if (pattern.mask) Check(rule->put_DayOfWeekMask(pattern.mask));
    if (pattern.day) Check(rule->put_DayOfMonth(pattern.day));
    if (pattern.instance) Check(rule->put_Instance(pattern.instance));
    if (pattern.month) Check(rule->put_MonthOfYear(pattern.month));
    Check(rule->put_PatternStartDate(firstDay));
    if (pattern.occurrences)
        Check(rule->put_Occurrences(pattern.occurrences));
    else if (pattern.endDay)
        Check(rule->put_PatternEndDate(*pattern.endDay));
    else
        Check(rule->put_NoEndDate(VARIANT_TRUE));
}

void IcsSaver::SetPattern(IAppointment* appointment, const IcsItem& item, const Pattern& pattern, const Series& series) {
    Com<IRecurrencePattern> rule;
    Check(appointment->GetRecurrencePattern(rule.Out()));
    const DATE start = ToDate(FromIcal(series.start));
    ApplyPattern(rule.Get(), pattern, WholeDay(start));
    Check(rule->put_StartTime(item.start.IsDate() ? 0.0 : start - WholeDay(start)));
    Check(rule->put_Duration(DurationMinutes(item)));
}

void IcsSaver::DeleteOccurrence(IRecurrencePattern* rule, const When& date, const Series& series, unsigned line) {
    const DATE day = WholeDay(ToDate(FromIcal(m_zones.ToZone(date, series.tzid))));
    Com<IAppointment> occurrence;
    if (FAILED(rule->GetOccurrence(day, occurrence.Out()))) {
        Remark("excluded dates that the rule doesn't have");
        return;
    }
    if (FAILED(occurrence->Delete()))
        Complain(line, "an excluded date can't be taken out");
    else
        ++m_tally.deletedOccurrences;
}

void IcsSaver::ChangeOccurrence(IRecurrencePattern* rule, const IcsItem& change, const IcsItem& master,
                                const Series& series) {
    if (change.cancelled) {
        DeleteOccurrence(rule, change.recurrenceId, series, change.line);
        return;
    }
    if (change.thisAndFuture) {
        Complain(change.line, "changes an occurrence and all that follow, which a series can't hold");
        return;
    }
    const DATE day = WholeDay(ToDate(FromIcal(m_zones.ToZone(change.recurrenceId, series.tzid))));
    Com<IAppointment> occurrence;
    if (FAILED(rule->GetOccurrence(day, occurrence.Out()))) {
        Complain(change.line, "changes an occurrence that the series doesn't have");
        return;
    }
    if (change.summary != master.summary) Check(occurrence->put_Subject(Bstr(Utf16(change.summary))));
    if (change.location != master.location) Check(occurrence->put_Location(Bstr(Utf16(change.location))));
    if (change.busyStatus != master.busyStatus) Check(occurrence->put_BusyStatus(change.busyStatus));
    if (change.note != master.note) {
        std::vector<BYTE> note = NoteBytes(change.note);
        const CEBLOB ink{static_cast<DWORD>(note.size()), note.data()};
        Check(occurrence->put_BodyInk(&ink));
    }
    FillTimes(occurrence.Get(), change, ToDate(FromIcal(m_zones.ToZone(change.start, series.tzid))));
    const HRESULT saved = occurrence->Save();
    if (FAILED(saved))
        Complain(change.line, "a changed occurrence can't be saved: " + Reason(saved));
    else
        ++m_tally.changedOccurrences;
}

void IcsSaver::SaveSeries(const IcsGroup& group, const Pattern& pattern, const Series& series) {
    const IcsItem& item = *group.master;
    Target target = Open(item.uid);
    IAppointment* appointment = target.appointment.Get();
    FillTexts(appointment, item);
    GiveZone(appointment, series);
    FillTimes(appointment, item, ToDate(FromIcal(series.start)));
    FillReminder(appointment, item);
    SetPattern(appointment, item, pattern, series);
    Com<IRecurrencePattern> rule;
    Check(appointment->GetRecurrencePattern(rule.Out()));
    for (const When& date : item.exceptionDates) DeleteOccurrence(rule.Get(), date, series, item.line);
    for (const IcsItem* change : group.changes) ChangeOccurrence(rule.Get(), *change, item, series);
    Finish(target, item, item.uid);
    std::size_t index = 1;
    SaveExtras(item, index);
    DropLeftovers(item.uid, index);
}

// Dates beside the rule become appointments of their own.
void IcsSaver::SaveExtras(const IcsItem& master, std::size_t& index) {
    for (const When& date : master.extraDates) SaveSingle(master, date, NumberedUid(master.uid, index++));
    m_tally.splitAppointments += static_cast<unsigned>(master.extraDates.size());
}

void IcsSaver::SaveSplit(const IcsGroup& group, const Series& series) {
    const IcsItem& item = *group.master;
    const icaltimetype horizon = ToIcal(ToSystemTime(m_horizonDay + 1), false);
    std::vector<icaltimetype> dates{series.start};
    for (const std::string& rule : item.rules)
        if (!ExpandRule(rule, series.start, horizon, kMostSplit, dates)) m_tally.horizonCut = true;
    for (const When& extra : item.extraDates) dates.push_back(m_zones.ToZone(extra, series.tzid));
    const auto isExcluded = [&](const icaltimetype& date) {
        return std::any_of(item.exceptionDates.begin(), item.exceptionDates.end(), [&](const When& excluded) {
            return SameDay(m_zones.ToZone(excluded, series.tzid), date);
        });
    };
    const std::string tzid = series.tzid == "UTC" ? std::string() : series.tzid;
    std::size_t index = 0;
    for (icaltimetype date : dates) {
        if (isExcluded(date)) continue;
        const auto change = std::find_if(group.changes.begin(), group.changes.end(), [&](const IcsItem* c) {
            return SameDay(m_zones.ToZone(c->recurrenceId, series.tzid), date);
        });
        if (change != group.changes.end() && (*change)->cancelled) continue;
        const bool changed = change != group.changes.end();
        if (series.tzid == "UTC") date.zone = icaltimezone_get_utc_timezone();
        const When start = changed ? (*change)->start : When{date, tzid};
        SaveSingle(changed ? **change : item, start, NumberedUid(item.uid, index++));
    }
    ++m_tally.splitSeries;
    m_tally.splitAppointments += static_cast<unsigned>(index);
    DropLeftovers(item.uid, index);
}

// Single appointments that an earlier import made and this one has no more.
void IcsSaver::DropLeftovers(const std::string& uid, std::size_t from) {
    if (uid.empty()) return;
    for (std::size_t index = std::max<std::size_t>(from, 1);; ++index) {
        const CEOID oid = Find(olFolderCalendar, NumberedUid(uid, index));
        Com<IItem> item;
        if (!oid || FAILED(m_store.App()->GetItemFromOidEx(oid, 0, item.Out())) || FAILED(item->Delete())) return;
    }
}

// --- Tasks --------------------------------------------------------------------------------------------------------

void IcsSaver::SaveTask(const IcsItem& item) {
    if (item.cancelled) {
        Complain(item.line, "is cancelled");
        return;
    }
    const CEOID oid = Find(olFolderTasks, item.uid);
    Com<IDispatch> found;
    Check(oid ? m_store.App()->GetItemFromOid(static_cast<LONG>(oid), found.Out())
              : m_store.App()->CreateItem(olTaskItem, found.Out()));
    const Com<ITask> task = found.As<ITask>(IID_ITask);
    const Com<IItem> properties = task.As<IItem>(IID_IItem);
    FillTask(task.Get(), item, properties);
    GiveUid(task, item.uid);
    Check(task->Save());
    ++(oid ? m_tally.updatedTasks : m_tally.newTasks);
    Remark("further alarms", item.furtherAlarms);
    Remark("attachments", item.attachments);
    Remark("attendees of to-dos", static_cast<unsigned>(item.attendees.size()));
}

void IcsSaver::FillTask(ITask* task, const IcsItem& item, const Com<IItem>& properties) {
    Check(task->put_Subject(Bstr(Utf16(item.summary))));
    Check(task->put_Categories(Bstr(Utf16(JoinCategories(item.categories)))));
    Check(task->put_Sensitivity(item.sensitivity));
    Check(task->put_Importance(item.priority == 0 || item.priority == 5 ? 1 : item.priority < 5 ? 2 : 0));
    Check(task->put_StartDate(item.start.IsSet() ? WholeDay(m_zones.ToDevice(item.start)) : kNoDate));
    Check(task->put_DueDate(item.end.IsSet() ? WholeDay(m_zones.ToDevice(item.end)) : kNoDate));
    std::vector<BYTE> note = NoteBytes(item.note);
    const CEBLOB ink{static_cast<DWORD>(note.size()), note.data()};
    Check(task->put_BodyInk(&ink));
    Check(task->put_Complete(item.completed ? VARIANT_TRUE : VARIANT_FALSE));
    if (item.completedAt.IsSet()) {
        const SYSTEMTIME day = ToSystemTime(WholeDay(m_zones.ToDevice(item.completedAt)));
        CEPROPVAL value{};
        value.propid = PIMPR_TASK_COMPLETED;
        SystemTimeToFileTime(&day, &value.val.filetime);
        Check(properties->SetProps(0, 1, &value));
    }
    if (item.percent) {
        const std::u16string name = Utf16(kPercentName);
        const WCHAR* names[] = {name.c_str()};
        CEPROPVAL value{};
        Check(m_store.App()->GetIDsFromNames(1, names, CEVT_UI4 | kCreateNamedProperty, &value.propid));
        value.val.ulVal = static_cast<DWORD>(item.percent);
        Check(properties->SetProps(0, 1, &value));
    }
    const When& base = item.end.IsSet() ? item.end : item.start;
    std::optional<DATE> reminder;
    if (item.reminderTime)
        reminder = m_zones.ToDevice(*item.reminderTime);
    else if (item.reminderMinutes && base.IsSet())
        reminder = m_zones.ToDevice(base) - static_cast<double>(*item.reminderMinutes) / kMinutesPerDay;
    Check(task->put_ReminderSet(reminder ? VARIANT_TRUE : VARIANT_FALSE));
    Check(task->put_ReminderTime(reminder.value_or(kNoDate)));
    Check(task->ClearRecurrencePattern());
    if (item.rules.empty()) return;
    const icaltimetype start = m_zones.ToZone(base, {});
    const auto pattern = item.rules.size() == 1 && base.IsSet()
                             ? PatternOf(item.rules[0], start, UntilOf(item.rules[0]))
                             : std::nullopt;
    if (!pattern) {
        Remark("rules of to-dos that no pattern holds");
        return;
    }
    Com<IRecurrencePattern> rule;
    Check(task->GetRecurrencePattern(rule.Out()));
    ApplyPattern(rule.Get(), *pattern, WholeDay(ToDate(FromIcal(start))));
}

} // namespace qn
