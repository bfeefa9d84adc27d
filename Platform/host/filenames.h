// One component of a device path as the name of a host file, and back. Nothing is lost in either direction.
#pragma once

#include "Platform/types.h"

#include <string>
#include <string_view>

namespace plat {

// False for "..", for a unit that no device name may hold (controls and \ / : * ? " < > |), and for a name that is
// too long for the host.
bool ValidDeviceName(std::u16string_view name);

// UTF-8; an unpaired surrogate becomes "%uD83D", and the "%" of a "%u" becomes "%u0025".
std::string ToHostName(std::u16string_view name);
// The reverse. A byte that is not UTF-8, or that no device name may hold, becomes the unit 0xDC00 + byte, so that the
// device sees every host file under a name of its own.
std::u16string ToDeviceName(std::string_view hostName);

// Upper case, for comparing.
std::u16string FoldName(std::u16string_view name);
// Whether the host file has this name for the device; `folded` comes from FoldName.
bool HasDeviceName(std::string_view hostName, std::u16string_view folded);

} // namespace plat
