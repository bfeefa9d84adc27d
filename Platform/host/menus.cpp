// Menus as data: rows with flags, ids, texts and sub-menus. Showing one is the business of the prompts.
#include "Platform/host/call.h"
#include "Platform/host/menus.h"
#include "Platform/host/slots.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

namespace plat {
namespace {

constexpr UINT kStateFlags = MF_GRAYED | MF_DISABLED | MF_CHECKED;
constexpr UINT kTypeFlags = MF_MENUBREAK | MF_OWNERDRAW | MF_SEPARATOR | MFT_RADIOCHECK;
constexpr UINT kNothing = 0xFFFFFFFF;

struct Item {
    UINT flags = 0; // of both kinds
    UINT id = 0;
    HMENU subMenu = nullptr;
    std::u16string text;
    ULONG_PTR data = 0;
};
using Menu = std::vector<Item>;

struct Menus {
    std::mutex lock;
    SlotTable<Menu> table;

    // All under the lock.
    Menu* Find(HMENU menu) { return table.Find(NumberOf(menu)); }
    // Is `menu` the other, or anywhere in it?
    bool Holds(HMENU outer, HMENU menu) {
        if (outer == menu) return true;
        const Menu* items = Find(outer);
        return items && std::ranges::any_of(*items, [&](const Item& item) {
                   return item.subMenu && Holds(item.subMenu, menu);
               });
    }
    void Destroy(HMENU menu) {
        auto items = table.Remove(NumberOf(menu));
        if (!items) return;
        for (const Item& item : *items)
            if (item.subMenu) Destroy(item.subMenu);
    }
};
Menus& TheMenus() {
    static Menus& menus = *new Menus;
    return menus;
}

struct Place {
    Menu* menu = nullptr;
    std::size_t index = 0;
    Item* operator->() const { return &(*menu)[index]; }
    explicit operator bool() const { return menu != nullptr; }
};

// By position in this menu, or by command in this menu and what hangs under it.
Place FindItem(Menus& menus, HMENU menu, UINT item, bool byPosition) {
    Menu* items = menus.Find(menu);
    if (!items) return {};
    if (byPosition) return item < items->size() ? Place{items, item} : Place{};
    for (std::size_t i = 0; i < items->size(); ++i) {
        const Item& at = (*items)[i];
        if (!at.subMenu && !(at.flags & MF_SEPARATOR) && at.id == item) return {items, i};
        if (at.subMenu)
            if (const Place inner = FindItem(menus, at.subMenu, item, false)) return inner;
    }
    return {};
}

template<class F, class T>
T WithItem(HMENU menu, UINT item, bool byPosition, T otherwise, F use) {
    HostCall call;
    Menus& menus = TheMenus();
    std::lock_guard lock(menus.lock);
    const Place place = FindItem(menus, menu, item, byPosition);
    if (!place)
        return SetLastError(menus.Find(menu) ? ERROR_INVALID_PARAMETER : kErrorInvalidMenu), otherwise;
    return use(menus, place);
}

Item MakeItem(UINT flags, ULONG_PTR id, LPCWSTR text) {
    Item item;
    item.flags = flags & (kStateFlags | kTypeFlags);
    if (flags & MF_POPUP)
        item.subMenu = reinterpret_cast<HMENU>(id);
    else
        item.id = static_cast<UINT>(id);
    if (flags & MF_OWNERDRAW)
        item.data = reinterpret_cast<ULONG_PTR>(text);
    else if (text && !(flags & MF_SEPARATOR))
        item.text = text;
    return item;
}

// The state bits in `mask` become those of `flags`; gives all state bits from before.
DWORD ChangeState(HMENU menu, UINT item, UINT flags, UINT mask) {
    return WithItem(menu, item, (flags & MF_BYPOSITION) != 0, DWORD{kNothing},
                    [&](Menus&, const Place& place) {
                        const UINT before = place->flags & mask;
                        place->flags = (place->flags & ~mask) | (flags & mask);
                        return before;
                    });
}

BOOL TakeOut(HMENU menu, UINT position, UINT flags, bool destroySubMenu) {
    return WithItem(menu, position, (flags & MF_BYPOSITION) != 0, BOOL{FALSE},
                    [&](Menus& menus, const Place& place) {
                        const HMENU subMenu = place->subMenu;
                        place.menu->erase(place.menu->begin() + static_cast<std::ptrdiff_t>(place.index));
                        if (destroySubMenu && subMenu) menus.Destroy(subMenu);
                        return TRUE;
                    });
}

void CopyItemText(const Item& item, MENUITEMINFOW& info) {
    if (item.flags & MF_OWNERDRAW) {
        info.dwTypeData = reinterpret_cast<LPWSTR>(item.data);
        return;
    }
    if (info.dwTypeData && info.cch > 0) {
        const std::size_t units = std::min<std::size_t>(item.text.size(), info.cch - 1);
        std::copy_n(item.text.data(), units, info.dwTypeData);
        info.dwTypeData[units] = 0;
    }
    info.cch = static_cast<UINT>(item.text.size());
}

void ListRows(Menus& menus, HMENU menu, int depth, std::vector<MenuRow>& rows) {
    const Menu* items = menus.Find(menu);
    if (!items) return;
    for (const Item& item : *items) {
        rows.push_back({depth, item.flags, item.id, item.subMenu != nullptr, item.text});
        if (item.subMenu) ListRows(menus, item.subMenu, depth + 1, rows);
    }
}

} // namespace

std::vector<MenuRow> RowsOf(HMENU menu) {
    std::vector<MenuRow> rows;
    Menus& menus = TheMenus();
    std::lock_guard lock(menus.lock);
    ListRows(menus, menu, 0, rows);
    return rows;
}

bool IsMenu(HMENU menu) {
    HostCall call;
    Menus& menus = TheMenus();
    std::lock_guard lock(menus.lock);
    return menus.Find(menu) != nullptr;
}

} // namespace plat

HMENU CreatePopupMenu() {
    plat::HostCall call;
    plat::Menus& menus = plat::TheMenus();
    std::lock_guard lock(menus.lock);
    const HMENU menu = plat::HandleOf<HMENU>(menus.table.Add({}));
    if (!menu) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return menu;
}

BOOL DestroyMenu(HMENU menu) {
    plat::HostCall call;
    plat::Menus& menus = plat::TheMenus();
    std::lock_guard lock(menus.lock);
    if (!menus.Find(menu)) return SetLastError(plat::kErrorInvalidMenu), FALSE;
    menus.Destroy(menu);
    return TRUE;
}

BOOL AppendMenuW(HMENU menu, UINT flags, ULONG_PTR id, LPCWSTR text) {
    return InsertMenuW(menu, plat::kNothing, flags | MF_BYPOSITION, id, text);
}

BOOL InsertMenuW(HMENU menu, UINT position, UINT flags, ULONG_PTR id, LPCWSTR text) {
    plat::HostCall call;
    plat::Menus& menus = plat::TheMenus();
    std::lock_guard lock(menus.lock);
    plat::Menu* items = menus.Find(menu);
    if (!items) return SetLastError(plat::kErrorInvalidMenu), FALSE;
    auto item = plat::MakeItem(flags, id, text);
    const bool badSubMenu =
        (flags & MF_POPUP) && (!menus.Find(item.subMenu) || menus.Holds(item.subMenu, menu));
    if (badSubMenu) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    plat::Place place = plat::FindItem(menus, menu, position, (flags & MF_BYPOSITION) != 0);
    if (!place) place = {items, items->size()};
    place.menu->insert(place.menu->begin() + static_cast<std::ptrdiff_t>(place.index), std::move(item));
    return TRUE;
}

BOOL RemoveMenu(HMENU menu, UINT position, UINT flags) { return plat::TakeOut(menu, position, flags, false); }
BOOL DeleteMenu(HMENU menu, UINT position, UINT flags) { return plat::TakeOut(menu, position, flags, true); }

DWORD CheckMenuItem(HMENU menu, UINT item, UINT flags) {
    return plat::ChangeState(menu, item, flags, MF_CHECKED);
}

DWORD EnableMenuItem(HMENU menu, UINT item, UINT flags) {
    return plat::ChangeState(menu, item, flags, MF_GRAYED | MF_DISABLED);
}

BOOL CheckMenuRadioItem(HMENU menu, UINT first, UINT last, UINT check, UINT flags) {
    if (first > last) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    plat::HostCall call;
    const bool byPosition = (flags & MF_BYPOSITION) != 0;
    plat::Menus& menus = plat::TheMenus();
    std::lock_guard lock(menus.lock);
    const plat::Place marked = plat::FindItem(menus, menu, check, byPosition);
    if (!marked) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    // The group is the rows of one menu, so a wide range costs no more than the rows there are.
    for (std::size_t i = 0; i < marked.menu->size(); ++i) {
        plat::Item& item = (*marked.menu)[i];
        const UINT number = byPosition ? static_cast<UINT>(i) : item.id;
        if (item.subMenu || number < first || number > last) continue;
        item.flags = i == marked.index ? item.flags | MFT_RADIOCHECK | MF_CHECKED : item.flags & ~MF_CHECKED;
    }
    return TRUE;
}

BOOL GetMenuItemInfoW(HMENU menu, UINT item, BOOL byPosition, MENUITEMINFOW* info) {
    if (!info || info->cbSize != sizeof *info) return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    return plat::WithItem(menu, item, byPosition != 0, BOOL{FALSE},
                          [&](plat::Menus&, const plat::Place& place) {
                              if (info->fMask & MIIM_STATE) info->fState = place->flags & plat::kStateFlags;
                              if (info->fMask & MIIM_ID) info->wID = place->id;
                              if (info->fMask & MIIM_SUBMENU) info->hSubMenu = place->subMenu;
                              if (info->fMask & MIIM_DATA) info->dwItemData = place->data;
                              if (info->fMask & MIIM_TYPE) {
                                  info->fType = place->flags & plat::kTypeFlags;
                                  plat::CopyItemText(*place.operator->(), *info);
                              }
                              return TRUE;
                          });
}

HMENU GetSubMenu(HMENU menu, int position) {
    return plat::WithItem(menu, static_cast<UINT>(position), true, HMENU{},
                          [](plat::Menus&, const plat::Place& place) { return place->subMenu; });
}

int GetMenuItemCount(HMENU menu) {
    plat::HostCall call;
    plat::Menus& menus = plat::TheMenus();
    std::lock_guard lock(menus.lock);
    const plat::Menu* items = menus.Find(menu);
    return items ? static_cast<int>(items->size()) : (SetLastError(plat::kErrorInvalidMenu), -1);
}

UINT GetMenuItemID(HMENU menu, int position) {
    return plat::WithItem(
        menu, static_cast<UINT>(position), true, plat::kNothing,
        [](plat::Menus&, const plat::Place& place) { return place->subMenu ? plat::kNothing : place->id; });
}

UINT GetMenuState(HMENU menu, UINT item, UINT flags) {
    return plat::WithItem(menu, item, (flags & MF_BYPOSITION) != 0, plat::kNothing,
                          [](plat::Menus& menus, const plat::Place& place) -> UINT {
                              if (!place->subMenu) return place->flags;
                              const plat::Menu* items = menus.Find(place->subMenu);
                              const auto count = items ? static_cast<UINT>(items->size()) : 0;
                              return (place->flags & 0xFF) | MF_POPUP | std::min(count, 0xFFu) << 8;
                          });
}
