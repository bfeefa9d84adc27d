// The inner side of fault injection: host operations ask here whether this call is the one to fail.
#pragma once

#include "Platform/testing.h"

namespace plat {

// True when the call has to fail. Costs one relaxed load while nothing is injected.
bool FaultStrikes(PlatFault fault);

} // namespace plat
