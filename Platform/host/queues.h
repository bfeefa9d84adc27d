// What waits need of the message queues.
#pragma once

#include "Platform/host/futex.h"
#include "Platform/types.h"

namespace plat {

// Has another thread sent something that waits to be served?
bool HasSends(DWORD threadId);
// Serves the first of them; to be called outside of every host call. False when there is none.
bool ServeOneSend();
// A posted message, the end, or a timer that is due. Otherwise `next` is brought forward to the first timer.
bool HasInput(DWORD threadId, Clock::time_point& next);

} // namespace plat
