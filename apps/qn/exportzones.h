// The zones of items as an iCalendar file tells them.
#pragma once

#include "Platform/types.h"

#include <string>

namespace qn {

// The device's zone goes by its name; any other by its rules, since an item keeps no name.
std::string ZoneName(const TIME_ZONE_INFORMATION& zone);

// A whole VTIMEZONE.
std::string ZoneDefinition(const std::string& name, const TIME_ZONE_INFORMATION& zone);

} // namespace qn
