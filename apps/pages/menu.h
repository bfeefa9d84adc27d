// A popup menu of actions.
#pragma once

#include "Platform/types.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qn {

struct MenuRow {
    std::u16string text; // a tab stands before its key; empty: a line between two groups
    std::function<void()> act;
    bool enabled = true;
    bool checked = false;
};

// A name that users wrote, as part of a row's text: "&" would mark a key, and a tab begins one.
std::u16string MenuText(std::u16string_view name);

// Shows it at a point of the screen and does what is chosen.
void RunMenu(HWND owner, POINT at, const std::vector<MenuRow>& rows);

// Whether the tap that a list tells of comes from the right button: its menu comes in place of what a tap does.
bool IsHoldNext(HWND list);

} // namespace qn
