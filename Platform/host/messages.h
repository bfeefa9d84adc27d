// What the window host offers other host files.
#pragma once

#include "Platform/types.h"

namespace plat {

// After the clock that GetTickCount reads was set or moved on: threads that wait for messages look at their timers
// again. The clock tells it by itself (AtClockChange).
void WakeTimers();

// The thread has ended or is held for ever: its windows, timers and queue go, senders that wait for it get 0.
void DropThreadWindows(DWORD threadId);

// The HBRUSH of a colour that belongs to the host: made once for each colour, never deleted.
HBRUSH SystemBrush(COLORREF color);

} // namespace plat
