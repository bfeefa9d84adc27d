// A popup menu on the screen. Rows with a check, a dot, the arrow of a sub-menu; "&" underlines a letter, what stands behind a
// tab stop is the key that does the same.
//
//   pointer   a release on a row chooses, resting on one opens its sub-menu; a press outside closes; a menu that is
//             taller than the screen follows the finger and the wheel
//   keys      arrows, Home, End; Right and Left into a sub-menu and out; Enter, Space; Escape; letters choose
//
// The window that has the focus keeps it.
#pragma once

#include "Platform/menus.h"

// Waits for the choice: the id, 0 for none. The menu's left top is at the point of the screen, or where it fits. Sends the
// owner WM_INITMENUPOPUP for each sub-menu that opens. Ends without a choice when the application does.
QN_API UINT ShowPopupMenu(HWND hOwner, HMENU menu, POINT at);
