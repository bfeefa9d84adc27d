#include "QNWorkerClass/categorymenu.h"

#include "NorvoUI/CeMenus.h"
#include "Platform/windows.h"

#include <algorithm>
#include <atomic>
#include <string>
#include <string_view>

namespace {

constexpr int kEntriesBetweenSeparators = 5;

// The highest count of entries that any menu had; it only grows, so that no menu keeps an old entry.
std::atomic<int> g_nHighestCount{0};

// By position: an entry and the separator in front of it carry one number, and a separator is no command.
void RemoveEntries(HMENU menu) {
    const UINT count = static_cast<UINT>(g_nHighestCount.load());
    for (int i = GetMenuItemCount(menu) - 1; i >= 0; --i) {
        const UINT id = GetMenuItemID(menu, i);
        if (id >= kMenuFirstCategory && id < kMenuFirstCategory + count)
            RemoveMenu(menu, static_cast<UINT>(i), MF_BYPOSITION);
    }
}

std::u16string MenuText(std::u16string_view name) {
    std::u16string text;
    for (WCHAR c : name) text.append(c == u'&' ? 2 : 1, c);
    return text;
}

bool IsChosen(const CFullCategoryList& chosen, std::u16string_view name) {
    return std::any_of(chosen.begin(), chosen.end(), [&](const CFullCategory* category) {
        return category->m_szName && name == category->m_szName;
    });
}

void ShowFilterState(CeMenus* bar, HMENU menu, bool bFiltered) {
    if (bFiltered) {
        CheckMenuItem(menu, kMenuAllCategories, MF_BYCOMMAND | MF_UNCHECKED);
        return;
    }
    CheckMenuRadioItem(menu, kMenuAllCategories, kMenuCategoriesEnd, kMenuAllCategories, MF_BYCOMMAND);
    if (!bar) return;
    bar->EnableItem(kMenuClearFilter, false);
    bar->DepressButton(kButtonCategories, true);
}

} // namespace

void AddCategoriesToMenuBar(CeMenus* bar, HMENU menu, const CFullCategoryList& chosen, bool bRefresh,
                            DWORD mask) {
    RemoveEntries(menu);
    ShowFilterState(bar, menu, chosen.Count() != 0);
    CeStrList<WCHAR*> names(0, 4, 1);
    GetCategories(names, bRefresh, mask);
    int index = 0;
    for (const WCHAR* name : names) {
        if (index == kMenuMostCategories) break;
        const UINT id = kMenuFirstCategory + static_cast<UINT>(index);
        if (index % kEntriesBetweenSeparators == 0) AppendMenuW(menu, MF_SEPARATOR, id, nullptr);
        const UINT state = IsChosen(chosen, name) ? MF_CHECKED : MF_UNCHECKED;
        AppendMenuW(menu, MF_STRING | state, id, MenuText(name).c_str());
        ++index;
    }
    int highest = g_nHighestCount.load();
    while (highest < index && !g_nHighestCount.compare_exchange_weak(highest, index)) {}
}
