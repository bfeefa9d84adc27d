#include "apps/qn/exportparts.h"

#include "QNWorkerClass/journalstore.h"
#include "apps/qn/icsrules.h"
#include "apps/qn/icsfile.h"
#include "apps/qn/ownfields.h"

namespace qn {

void AddTime(icalcomponent* component, icalproperty* property, const std::string& tzid) {
    if (!tzid.empty()) icalproperty_add_parameter(property, icalparameter_new_tzid(tzid.c_str()));
    icalcomponent_add_property(component, property);
}

void AddText(icalcomponent* component, icalproperty* (*make)(const char*), const std::string& text) {
    if (!text.empty()) icalcomponent_add_property(component, make(text.c_str()));
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
    icalcomponent_add_property(
        component, icalproperty_new_transp(busy == 0 ? ICAL_TRANSP_TRANSPARENT : ICAL_TRANSP_OPAQUE));
    if (busy < 0 || busy > 3) return;
    icalproperty* words = icalproperty_new_x(kWords[busy]);
    icalproperty_set_x_name(words, "X-MICROSOFT-CDO-BUSYSTATUS");
    icalcomponent_add_property(component, words);
}

void AddTexts(icalcomponent* component, IAppointment* item) {
    AddText(component, &icalproperty_new_summary, TextOf(item, &IAppointment::get_Subject));
    AddText(component, &icalproperty_new_location, TextOf(item, &IAppointment::get_Location));
    AddNote(component, StoredNote(item).Blob());
    AddCategories(component, TextOf(item, &IAppointment::get_Categories));
    AddClass(component, Get(item, &IAppointment::get_Sensitivity));
    AddBusyStatus(component, Get(item, &IAppointment::get_BusyStatus));
}

// The store keeps the organizer's name; the address is that of the person of this name.
void AddOrganizer(icalcomponent* component, IAppointment* item) {
    const std::string name = Property(BagOf(item), PIMPR_ORGANIZER_NAME).Text();
    if (name.empty()) return;
    std::string address = name.find('@') == std::string::npos ? std::string(kNoAddress) : "mailto:" + name;
    Com<IRecipients> people;
    int count = 0;
    if (SUCCEEDED(item->get_Recipients(people.Out()))) people->get_Count(&count);
    for (int i = 1; i <= count; ++i) {
        Com<IRecipient> person;
        if (SUCCEEDED(people->Item(i, person.Out())) && TextOf(person.Get(), &IRecipient::get_Name) == name)
            address = "mailto:" + TextOf(person.Get(), &IRecipient::get_Address);
    }
    icalproperty* organizer = icalproperty_new_organizer(address.c_str());
    icalproperty_add_parameter(organizer, icalparameter_new_cn(name.c_str()));
    icalcomponent_add_property(component, organizer);
}

void AddPeople(icalcomponent* component, IAppointment* item) {
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
        icalproperty_add_parameter(attendee,
                                   icalparameter_new_partstat(kStates[state >= 0 && state <= 3 ? state : 0]));
        icalcomponent_add_property(component, attendee);
    }
}

void AddAlarm(icalcomponent* component, const icaltriggertype& trigger, const std::string& subject) {
    icalcomponent* alarm = icalcomponent_new(ICAL_VALARM_COMPONENT);
    icalcomponent_add_property(alarm, icalproperty_new_action(ICAL_ACTION_DISPLAY));
    icalproperty* when = icalproperty_new_trigger(trigger);
    if (!icaltime_is_null_time(trigger.time))
        icalproperty_add_parameter(when, icalparameter_new_value(ICAL_VALUE_DATETIME));
    icalcomponent_add_property(alarm, when);
    AddText(alarm, &icalproperty_new_description, subject);
    icalcomponent_add_component(component, alarm);
}

void AddReminder(icalcomponent* component, IAppointment* item) {
    if (Get(item, &IAppointment::get_ReminderSet) == VARIANT_FALSE) return;
    icaltriggertype trigger{};
    trigger.time = icaltime_null_time();
    trigger.duration =
        icaldurationtype_from_int(-60 * Get(item, &IAppointment::get_ReminderMinutesBeforeStart));
    AddAlarm(component, trigger, TextOf(item, &IAppointment::get_Subject));
}

// The date is on the wall's clock wherever the journal is read: it is in no zone.
void AddEntryDates(icalcomponent* component, const CJournalData& entry, ZoneTable& zones) {
    const SYSTEMTIME& date = entry.m_stDate;
    const bool isDay = date.wHour == 0 && date.wMinute == 0 && date.wSecond == 0;
    icalcomponent_add_property(component, icalproperty_new_dtstart(ToIcal(date, isDay)));
    const auto utc = [&](const SYSTEMTIME& local) {
        icaltimetype time = ToIcal(zones.ToUtc(When{ToIcal(local, false), {}}), false);
        time.zone = icaltimezone_get_utc_timezone();
        return time;
    };
    if (!entry.m_bCreatedMissing)
        icalcomponent_add_property(component, icalproperty_new_created(utc(entry.m_stCreated)));
    icalcomponent_add_property(component, icalproperty_new_lastmodified(utc(entry.m_stModified)));
}

void AddEntry(icalcomponent* component, const CJournalData& entry, ZoneTable& zones) {
    const auto text = [](const CeString& value) { return Utf8(value.View()); };
    const auto number = [](LONG value) { return value ? std::to_string(value) : std::string(); };
    AddEntryDates(component, entry, zones);
    AddText(component, &icalproperty_new_summary, text(entry.m_strTitle));
    std::vector<BYTE> note = entry.m_note;
    AddNote(component, {static_cast<DWORD>(note.size()), note.data()});
    AddCategories(component, text(entry.m_strCategories));
    AddOwn(component, "TYPE", text(entry.m_strType));
    AddOwn(component, "MINUTES", number(static_cast<LONG>(entry.m_nFlags)));
    AddOwn(component, "FLAG", entry.m_bFlag ? "1" : "");
    AddOwn(component, "NUMBER1", number(entry.m_nNumbers[0]));
    AddOwn(component, "NUMBER2", number(entry.m_nNumbers[1]));
    AddOwn(component, "NUMBER3", number(entry.m_nNumbers[2]));
}

} // namespace qn
