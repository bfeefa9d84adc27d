#include "apps/qn/icssave.h"

#include "Platform/civil.h"
#include "Platform/databases.h"
#include "apps/qn/support.h"

#include <algorithm>
#include <cmath>

namespace qn {

namespace {

constexpr LONG kMinutesPerDay = civil::kMinutesPerDay;
constexpr LONG kLongest = kMinutesPerDay * 3660; // of an appointment of the store
constexpr LONG kMeeting = 1;

} // namespace

DATE WholeDay(DATE date) { return std::floor(date); }

IcsSaver::IcsSaver(Store& store, ZoneTable& zones, LONG horizonYears)
    : m_store(store), m_zones(zones), m_taskFields(store) {
    SYSTEMTIME today = ToSystemTime(Today());
    m_thisYear = today.wYear;
    const std::int64_t day = civil::DaysFromCivil(today.wYear + horizonYears, today.wMonth, today.wDay);
    m_horizonDay = static_cast<LONG>(day - civil::kDaysTo1899);
    m_store.UidProperty(true);
    m_store.PartProperty(true);
}

void IcsSaver::Remark(const std::string& what, unsigned times) {
    if (times) m_tally.remarks[what] += times;
}

std::string IcsSaver::Categories(const IcsItem& item) {
    unsigned leftOut = 0;
    std::string text = m_categories.Join(item.categories, leftOut);
    Remark("categories behind the first thousand of the file", leftOut);
    return text;
}

void IcsSaver::RemarkUnkept(const IcsItem& item) {
    for (const auto& [what, times] : item.unkept) Remark(what, times);
}

void IcsSaver::Complain(unsigned line, std::string why) { m_complaints.push_back({line, std::move(why)}); }

void IcsSaver::Save(const IcsGroup& group) {
    const IcsItem& first = group.master ? *group.master : *group.changes.front();
    try {
        if (first.isTodo)
            SaveTodo(group);
        else if (first.isJournal)
            KeepEntry(group);
        else
            SaveAppointment(group);
        if (group.master && !group.master->relatedUids.empty()) m_related.push_back(group.master);
    } catch (const SaveFailed& failed) {
        Complain(first.line, WhyNotSaved(failed));
    }
}

// The journal is written behind all items, for an entry may belong to one that stands later in the file.
void IcsSaver::KeepEntry(const IcsGroup& group) {
    for (const IcsItem* change : group.changes) Complain(change->line, "changes one date of a journal entry");
    if (group.master) m_entries.push_back(group.master);
}

void IcsSaver::SaveAppointment(const IcsGroup& group) {
    if (!group.master) return SaveOrphans(group);
    const IcsItem& item = *group.master;
    if (item.cancelled) return Cancel(item);
    if (!item.rules.empty() || !item.extraDates.empty() || !group.changes.empty())
        return SaveRepeating(group);
    const bool isNew = SaveSingle(item, item.start, {}, {item.uid, {}});
    if (!isNew) DropParts(item.uid, 1);
}

// A cancelled event is not wanted: one that is stored goes.
void IcsSaver::Cancel(const IcsItem& item) {
    const bool todo = item.isTodo;
    Delete(Find(todo ? olFolderTasks : olFolderCalendar, m_store.UidProperty(true), item.uid));
    if (!todo) DropParts(item.uid, 1);
    ++m_tally.cancelled;
}

// --- One appointment ----------------------------------------------------------------------------------------------

CEOID IcsSaver::Find(LONG folder, DWORD property, const std::string& text) {
    CEOID oid = 0;
    const HRESULT found = PlatFindItemByNamedText(m_store.App(), folder, property, Utf16(text).c_str(), &oid);
    return SUCCEEDED(found) ? oid : 0;
}

CEOID IcsSaver::FindItem(const Identity& identity) {
    return identity.part.empty() ? Find(olFolderCalendar, m_store.UidProperty(true), identity.uid)
                                 : Find(olFolderCalendar, m_store.PartProperty(true), identity.part);
}

bool IcsSaver::Delete(CEOID oid) {
    Com<IItem> item;
    if (!oid || FAILED(m_store.App()->GetItemFromOidEx(oid, 0, item.Out()))) return false;
    Check(item->Delete());
    return true;
}

auto IcsSaver::Open(const Identity& identity) -> Target {
    Target target;
    Com<IDispatch> item;
    if (const CEOID oid = FindItem(identity)) {
        Check(m_store.App()->GetItemFromOid(static_cast<LONG>(oid), item.Out()));
        target.appointment = item.As<IAppointment>(IID_IAppointment);
        target.isNew = false;
        Check(target.appointment->ClearRecurrencePattern());
    } else {
        Check(m_store.App()->CreateItem(olAppointmentItem, item.Out()));
        target.appointment = item.As<IAppointment>(IID_IAppointment);
    }
    return target;
}

void IcsSaver::Finish(Target& target, const IcsItem& item, const Identity& identity) {
    FillPeople(target, item);
    const Com<IItem> bag = target.appointment.As<IItem>(IID_IItem);
    if (identity.part.empty())
        SetText(bag, m_store.UidProperty(true), identity.uid);
    else
        SetText(bag, m_store.PartProperty(true), identity.part);
    SaveItem(target.appointment.Get(), target.isNew);
    ++(target.isNew ? m_tally.newAppointments : m_tally.updatedAppointments);
}

bool IcsSaver::SaveSingle(const IcsItem& item, const When& start, std::optional<LONG> minutes,
                          const Identity& identity) {
    const LONG length = minutes ? *minutes : DurationMinutes(item);
    Target target = Open(identity);
    FillTexts(target.appointment.Get(), item);
    FillTimes(target.appointment.Get(), item, m_zones.ToDevice(start), length);
    FillReminder(target.appointment.Get(), item);
    Finish(target, item, identity);
    // Said once of a series that was split.
    if (identity.part.empty()) RemarkUnkept(item);
    return target.isNew;
}

void IcsSaver::FillTexts(IAppointment* appointment, const IcsItem& item) {
    Check(appointment->put_Subject(Bstr(Utf16(item.summary))));
    Check(appointment->put_Location(Bstr(Utf16(item.location))));
    Check(appointment->put_Categories(Bstr(Utf16(Categories(item)))));
    Check(appointment->put_Sensitivity(item.sensitivity));
    Check(appointment->put_BusyStatus(item.busyStatus));
    SetNote(appointment, TakeNote(item.note, item.own));
}

LONG IcsSaver::DurationMinutes(const IcsItem& item) {
    std::int64_t minutes = item.start.IsDate() ? kMinutesPerDay : 0;
    if (item.end.IsSet() && item.start.IsDate())
        minutes = (civil::DaysOf(FromIcal(item.end.time)) - civil::DaysOf(FromIcal(item.start.time))) *
                  kMinutesPerDay;
    else if (item.end.IsSet())
        minutes = civil::FloorDiv(civil::TicksOf(m_zones.ToUtc(item.end)) -
                                      civil::TicksOf(m_zones.ToUtc(item.start)),
                                  civil::kTicksPerMinute);
    else if (item.minutes)
        minutes = *item.minutes;
    if (minutes < 0) Remark("ends before the start");
    if (minutes > kLongest) Remark("lengths of more than ten years (ten now)");
    return static_cast<LONG>(std::clamp<std::int64_t>(minutes, 0, kLongest));
}

void IcsSaver::FillTimes(IAppointment* appointment, const IcsItem& item, DATE start, LONG minutes) {
    Check(appointment->put_AllDayEvent(item.start.IsDate() ? VARIANT_TRUE : VARIANT_FALSE));
    Check(appointment->put_Start(start));
    Check(appointment->put_Duration(item.start.IsDate() ? std::max(minutes, kMinutesPerDay) : minutes));
}

void IcsSaver::FillReminder(IAppointment* appointment, const IcsItem& item) {
    std::optional<std::int64_t> minutes = item.reminderMinutes;
    if (item.reminderTime)
        minutes = civil::FloorDiv(civil::TicksOf(m_zones.ToUtc(item.start)) -
                                      civil::TicksOf(m_zones.ToUtc(*item.reminderTime)),
                                  civil::kTicksPerMinute);
    if (minutes && *minutes < 0) {
        Remark("alarms behind the start");
        minutes.reset();
    }
    Check(appointment->put_ReminderSet(minutes ? VARIANT_TRUE : VARIANT_FALSE));
    if (minutes)
        Check(appointment->put_ReminderMinutesBeforeStart(
            static_cast<LONG>(std::min<std::int64_t>(*minutes, kLongest))));
}

void IcsSaver::FillPeople(const Target& target, const IcsItem& item) {
    IAppointment* appointment = target.appointment.Get();
    Check(appointment->put_MeetingStatus(item.attendees.empty() ? 0 : kMeeting));
    if (target.isNew && item.attendees.empty() && item.organizer.empty()) return;
    SetText(target.appointment.As<IItem>(IID_IItem), PIMPR_ORGANIZER_NAME, item.organizer);
    Com<IRecipients> people;
    Check(appointment->get_Recipients(people.Out()));
    int count = 0;
    Check(people->get_Count(&count));
    while (count > 0) Check(people->Remove(count--));
    for (const Attendee& attendee : item.attendees) {
        Com<IRecipient> added;
        Check(people->Add(Bstr(Utf16(attendee.name)), added.Out()));
        const Com<IRecipient2> more = added.As<IRecipient2>(IID_IRecipient2);
        Check(more->put_Address(Bstr(Utf16(attendee.address))));
        Check(more->put_Type(attendee.type));
        Check(more->put_MeetingResponseStatus(attendee.response));
    }
}

} // namespace qn
