// The inner side of fault injection: host operations ask here whether this call is the one to fail.
#pragma once

#include "Platform/testing.h"

namespace plat {

// True when the call has to fail. Costs one relaxed load while nothing is injected.
bool FaultStrikes(PlatFault fault);

// Called by PlatResetForTests, in the order of registration; registered once, by a static object of the host file.
void AtReset(void (*reset)());
// Called before the device folder changes (PlatSetDeviceFolder): close everything that is open there.
void AtFolderChange(void (*close)());

} // namespace plat
