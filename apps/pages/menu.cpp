#include "apps/pages/menu.h"

#include "Platform/menus.h"
#include "Platform/windows.h"

namespace qn {

// The right button makes a tap before the press that is held.
bool IsHoldNext(HWND list) {
    MSG next{};
    return PeekMessageW(&next, list, WM_LBUTTONDOWN, WM_LBUTTONDOWN, PM_NOREMOVE) &&
           (next.wParam & MK_RBUTTON) != 0;
}

std::u16string MenuText(std::u16string_view name) {
    std::u16string text;
    for (const WCHAR c : name) {
        if (c == u'&') text += c;
        text += c == u'\t' ? u' ' : c;
    }
    return text;
}

void RunMenu(HWND owner, POINT at, const std::vector<MenuRow>& rows) {
    const HMENU menu = CreatePopupMenu();
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const UINT flags = rows[i].text.empty() ? MF_SEPARATOR
                                                : MF_STRING | (rows[i].enabled ? 0 : MF_GRAYED) |
                                                      (rows[i].checked ? MF_CHECKED : 0);
        AppendMenuW(menu, flags, i + 1, rows[i].text.c_str());
    }
    const auto chosen =
        static_cast<std::size_t>(TrackPopupMenuEx(menu, TPM_RETURNCMD, at.x, at.y, owner, nullptr));
    DestroyMenu(menu);
    if (chosen > 0 && chosen <= rows.size()) rows[chosen - 1].act();
}

} // namespace qn
