// What iCalendar has no word for, on its way through a file: lines "X-QN-NAME:value", which come back as they went.
#pragma once

#include "Platform/databases.h"
#include "apps/qn/store.h"

#include <libical/ical.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace qn {

using OwnValues = std::map<std::string, std::string, std::less<>>; // by what stands behind "X-QN-"

void AddOwn(icalcomponent* component, const char* name, const std::string& value); // nothing for an empty one
// False for a property of somebody else.
bool TakeOwn(icalproperty* property, OwnValues& values);
std::string OwnText(const OwnValues& values, std::string_view name); // empty for none
std::optional<LONG> OwnNumber(const OwnValues& values, std::string_view name);

// The suite's fields of a task beside those of the platform. What a file doesn't tell stays as it is.
void AddTaskValues(icalcomponent* component, Store& store, const Com<IItem>& bag);
void SetTaskValues(Store& store, const Com<IItem>& bag, const OwnValues& values);

// A note: its text as the description, and, of one with more than text, the note itself.
void AddNote(icalcomponent* component, const CEBLOB& note);
// The note itself when it has this text, else the text: it was changed on its way.
std::vector<BYTE> TakeNote(const std::string& text, const OwnValues& values);

} // namespace qn
