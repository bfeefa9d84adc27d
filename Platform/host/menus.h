// A menu's rows, for whoever shows, records or checks them.
#pragma once

#include "Platform/types.h"

#include <string>
#include <vector>

namespace plat {

inline constexpr DWORD kErrorInvalidMenu = 1401;

struct MenuRow {
    int depth; // 0 in the menu itself, 1 in its sub-menus ...
    UINT flags;
    UINT id;
    bool opensSubMenu;
    std::u16string text;
};
// Depth first, in order.
std::vector<MenuRow> RowsOf(HMENU menu);
bool IsMenu(HMENU menu);

} // namespace plat
