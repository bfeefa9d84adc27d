// Keys that a loop of messages takes for itself.
#pragma once

#include "Platform/windows.h"

// The character that a key made with its press (Enter, Escape, Tab) is taken out of the queue, so that who has the focus
// behind the loop never sees it. Call with the press just taken out.
inline void SwallowCharacter(WPARAM key) {
    MSG message{};
    if (PeekMessageW(&message, nullptr, WM_CHAR, WM_CHAR, PM_NOREMOVE) && message.wParam == key)
        PeekMessageW(&message, nullptr, WM_CHAR, WM_CHAR, PM_REMOVE);
}
