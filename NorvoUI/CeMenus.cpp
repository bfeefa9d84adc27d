#include "NorvoUI/CeMenus.h"

#include "Platform/windows.h"

#include <algorithm>

CeMenus::~CeMenus() { Clear(); }

void CeMenus::Clear() {
    for (const auto& [id, popup] : m_popups)
        if (popup.parent == 0) DestroyMenu(popup.menu); // and its sub-menus
    m_popups.clear();
    m_buttons.clear();
    m_items.clear();
}

// --- Building -----------------------------------------------------------------------------------------------------

bool CeMenus::AddButton(UINT id, LPCWSTR text, WORD picture) {
    if (std::ranges::find(m_buttons, id, &Button::id) != m_buttons.end()) return false;
    m_buttons.push_back({id, text ? text : u"", picture, false});
    return true;
}

HMENU CeMenus::PopupFor(UINT id) {
    if (const HMENU menu = GetPopup(id)) return menu;
    const auto button = std::ranges::find(m_buttons, id, &Button::id);
    if (button == m_buttons.end()) return nullptr;
    const HMENU menu = CreatePopupMenu();
    if (!menu) return nullptr;
    button->popup = true;
    m_popups[id] = {menu, 0};
    return menu;
}

bool CeMenus::AddItem(UINT popup, UINT id, LPCWSTR text, UINT flags) {
    const HMENU menu = PopupFor(popup);
    return menu && AppendMenuW(menu, flags & ~MF_POPUP, id, text);
}

bool CeMenus::AddSeparator(UINT popup) { return AddItem(popup, 0, nullptr, MF_SEPARATOR); }

bool CeMenus::AddPopup(UINT popup, UINT id, LPCWSTR text) {
    const HMENU menu = PopupFor(popup);
    if (!menu || id == 0 || m_popups.contains(id)) return false;
    const HMENU added = CreatePopupMenu();
    if (!added) return false;
    if (!AppendMenuW(menu, MF_POPUP, reinterpret_cast<ULONG_PTR>(added), text))
        return DestroyMenu(added), false;
    m_popups[id] = {added, popup};
    return true;
}

// --- State --------------------------------------------------------------------------------------------------------

void CeMenus::EnableItem(UINT id, bool enabled) {
    m_items[id].enabled = enabled;
    ShowEnabled(id, enabled);
}

// A sub-menu is known to the menu it stands in by its place alone.
void CeMenus::ShowEnabled(UINT id, bool enabled) {
    const UINT state = enabled ? MF_ENABLED : MF_GRAYED;
    const auto popup = m_popups.find(id);
    if (popup != m_popups.end() && popup->second.parent != 0) {
        const HMENU menu = GetPopup(popup->second.parent);
        for (int i = 0; i < GetMenuItemCount(menu); ++i)
            if (GetSubMenu(menu, i) == popup->second.menu)
                EnableMenuItem(menu, static_cast<UINT>(i), state | MF_BYPOSITION);
        return;
    }
    for (const auto& [button, top] : m_popups)
        if (top.parent == 0) EnableMenuItem(top.menu, id, state | MF_BYCOMMAND);
}

void CeMenus::DepressButton(UINT id, bool depressed) { m_items[id].depressed = depressed; }

bool CeMenus::CheckItem(UINT id, bool checked) {
    const UINT state = checked ? MF_CHECKED : MF_UNCHECKED;
    return std::ranges::any_of(m_popups, [&](const auto& popup) {
        return CheckMenuItem(popup.second.menu, id, state | MF_BYCOMMAND) != 0xFFFFFFFF;
    });
}

bool CeMenus::IsEnabled(UINT id) const {
    const auto item = m_items.find(id);
    return item == m_items.end() || item->second.enabled;
}

bool CeMenus::IsDepressed(UINT id) const {
    const auto item = m_items.find(id);
    return item != m_items.end() && item->second.depressed;
}

// --- Showing ------------------------------------------------------------------------------------------------------

HMENU CeMenus::GetPopup(UINT id) const {
    const auto popup = m_popups.find(id);
    return popup == m_popups.end() ? nullptr : popup->second.menu;
}

UINT CeMenus::Track(UINT popup, HWND hOwner, int x, int y) const {
    const HMENU menu = GetPopup(popup);
    return menu ? static_cast<UINT>(TrackPopupMenuEx(menu, TPM_RETURNCMD, x, y, hOwner, nullptr)) : 0;
}
