// What other families of the host need to know of the clock: whether a test has set it, and when it moves.
#pragma once

#include "Platform/types.h"

namespace plat {

// True while PlatSetClock holds the clock: time passes by PlatAdvanceClock alone.
bool ClockIsSet();
// Whether Sleep passes on the set clock, in no time at all.
bool SleepMovesClock();
// Ticks of now since 1601, UTC.
std::int64_t NowTicks();
// Called after the set clock has moved or been given back (timers look for what is due); registered once, by a static
// object of the host file. Called without any lock held.
void AtClockChange(void (*changed)());

} // namespace plat
