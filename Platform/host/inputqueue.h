// Input between the person and a thread's messages.
#pragma once

#include "Platform/host/desktop.h"

namespace plat {

// Where the pointer is: the window, and whether in its client area.
struct PointerPlace {
    HWND window = nullptr;
    bool client = false;
};

// All under the desktop's lock.
PointerPlace PlaceOf(Desktop& desktop, POINT onScreen);
// The first input that becomes a message that fits; what concerns nobody any more goes, what concerns another thread goes
// there. Input for a scroll bar of the host is not a message: it is told by `host`.
enum class TakeMode { Look, Keep, Remove };
enum class TakenInput { None, Message, Host };
TakenInput TakeInput(Desktop& desktop, Queue& queue, const MessageFilter& filter, TakeMode mode, MSG& message,
                     InputRecord& host);

// On the thread that has taken it out, with no lock held.
void WorkScrollBar(const InputRecord& input);
// The window's top-level window becomes the active one.
void ActivateByPress(HWND window);

} // namespace plat
