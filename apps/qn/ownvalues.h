// What iCalendar has no word for, on its way through a file: lines "X-QN-NAME:value".
#pragma once

#include "Platform/types.h"

#include <libical/ical.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace qn {

using OwnValues = std::map<std::string, std::string, std::less<>>; // by what stands behind "X-QN-"

void AddOwn(icalcomponent* component, const char* name, const std::string& value); // nothing for an empty one
// False for a property of somebody else.
bool TakeOwn(icalproperty* property, OwnValues& values);
std::string OwnText(const OwnValues& values, std::string_view name); // empty for none
std::optional<LONG> OwnNumber(const OwnValues& values, std::string_view name);

} // namespace qn
