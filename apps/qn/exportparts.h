// What events and to-dos of an iCalendar file have in common: properties out of the items of the store.
#pragma once

#include "apps/qn/icszones.h"
#include "apps/qn/store.h"

#include <libical/ical.h>

#include <string>

struct CJournalData;

namespace qn {

// A time of a zone; one without takes an empty name. The component takes over the property.
void AddTime(icalcomponent* component, icalproperty* property, const std::string& tzid);
// Nothing where the text is empty.
void AddText(icalcomponent* component, icalproperty* (*make)(const char*), const std::string& text);
void AddClass(icalcomponent* component, LONG sensitivity);
void AddCategories(icalcomponent* component, const std::string& names);
// Subject, place, note, categories, privacy and busy status.
void AddTexts(icalcomponent* component, IAppointment* item);
void AddOrganizer(icalcomponent* component, IAppointment* item);
void AddPeople(icalcomponent* component, IAppointment* item);
void AddAlarm(icalcomponent* component, const icaltriggertype& trigger, const std::string& subject);
void AddReminder(icalcomponent* component, IAppointment* item);
// All of a journal entry but its UID and the item that it belongs to.
void AddEntry(icalcomponent* component, const CJournalData& entry, ZoneTable& zones);

} // namespace qn
