// The screen in a real window of the person's desktop, with pointer, touch, wheel, keyboard, typed text and clipboard.
//
//     PlatWindow real;
//     real.title = "Calendar";
//     if (!PlatStartPresenting(real)) ...            // no display: everything still runs, unseen
//     const HWND top = CreateWindowExW(...);         // as large as the screen
//     PlatPresentWindow(top);
//     const int code = PlatRunMessages();            // until PostQuitMessage
//     PlatStopPresenting();
//
// The real window has a thread of its own, so that it takes input and shows what was painted whatever the application
// does; all calls belong to one thread of the application. Measures of the screen (gdi.h) are those of the real window
// from the start on, so it is started before anything asks for them.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

struct PlatWindow {
    const char* title = ""; // UTF-8
    // Pixels; 0: those of the screen as it is. No larger than the display has room for.
    int width = 0;
    int height = 0;
    int dotsPerInch = 0; // 0: what the environment says (PlatSetScreen), else what the display has
};
// False when there is no display, or one is shown already.
bool PlatStartPresenting(const PlatWindow& window);
// The top-level window that follows the size of the real one, hears WM_CLOSE when the person closes that, and gives it
// its title. It belongs to the calling thread; what it has painted by now is the first that the person sees. Null: none
// any more.
void PlatPresentWindow(HWND top);
// Takes messages out and dispatches them, shown or not; gives the number of PostQuitMessage.
int PlatRunMessages();
void PlatStopPresenting();

#pragma GCC visibility pop
