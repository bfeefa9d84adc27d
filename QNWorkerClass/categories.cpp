#include "QNWorkerClass/categories.h"

#include "NorvoTools/CRegistry.h"
#include "NorvoTools/StrFunctions.h"
#include "Platform/locale.h"
#include "Platform/registry.h"
#include "Platform/strings.h"
#include "Platform/threads.h"
#include "QNWorkerClass/sidestores.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <string_view>

CFullCategoryList g_FullCategoryList{0, 1};

namespace {

constexpr WCHAR kSetSeparator = 0x0007;
constexpr unsigned kSetReadLimit = 7900;
constexpr std::size_t kSetWriteLimit = 2000;

std::mutex g_cacheLock;
CategorySnapshot g_cache; // null until the first read

// Reads the stores outside the lock: nobody waits for a database there, and a thread that is ended while it reads leaves
// no lock behind.
CategorySnapshot RefreshCache() {
    auto fresh = std::make_shared<const std::vector<CategoryEntry>>(ReadCategoryStore());
    PlatUnended unended;
    std::lock_guard guard(g_cacheLock);
    g_cache = fresh;
    return fresh;
}

CFullCategory* MakeCategory(const CategoryEntry& entry) {
    auto* category = new CFullCategory;
    category->m_szName = _wcsdup(entry.szName.c_str());
    category->m_lId = entry.lId;
    category->m_oidRecord = entry.oidRecord;
    category->m_wUsedByTasks = entry.bUsedByTasks;
    category->m_wUsedByAppointments = entry.bUsedByAppointments;
    category->m_wUsedByContacts = entry.bUsedByContacts;
    return category;
}

std::vector<std::u16string_view> SplitAt(std::u16string_view text, WCHAR separator) {
    std::vector<std::u16string_view> pieces;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        pieces.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return pieces;
}

// The categories of the device that are among the names, in the order of the store. None has an empty name.
void KeepNamed(const std::vector<std::u16string_view>& names, CFullCategoryList& list) {
    list.Clear();
    const CategorySnapshot cache = TakeCategorySnapshot();
    for (const CategoryEntry& entry : *cache)
        if (std::find(names.begin(), names.end(), entry.szName) != names.end()) list.Add(MakeCategory(entry));
}

// One chosen name against the pieces of a text form, one leading blank of each dropped. False ends the whole test (a hit
// under OR).
bool TestChosenName(std::u16string_view text, std::u16string_view name, bool bAnd, bool& result) {
    for (std::u16string_view piece : SplitAt(text, u',')) {
        if (piece.starts_with(u' ')) piece.remove_prefix(1);
        if (bAnd) {
            // Any other category beside the chosen one fails, and a text with none of the chosen passes: required.
            if (piece != name) result = false;
        } else if (piece == name) {
            result = true;
            return false;
        }
    }
    return true;
}

} // namespace

CFullCategory::~CFullCategory() { std::free(m_szName); }

CFullCategory* CFullCategory::Copy() const {
    auto* copy = new CFullCategory;
    copy->m_szName = m_szName ? _wcsdup(m_szName) : nullptr;
    copy->m_lId = m_lId;
    copy->m_oidRecord = m_oidRecord;
    copy->m_wChosen = m_wChosen;
    copy->m_wUsedByTasks = m_wUsedByTasks;
    copy->m_wUsedByAppointments = m_wUsedByAppointments;
    copy->m_wUsedByContacts = m_wUsedByContacts;
    copy->m_wReserved = m_wReserved;
    copy->m_bVisible = m_bVisible;
    return copy;
}

CategorySnapshot TakeCategorySnapshot() {
    {
        PlatUnended unended;
        std::lock_guard guard(g_cacheLock);
        if (g_cache && !g_cache->empty()) return g_cache;
    }
    return RefreshCache();
}

LONG GetFullCategoryInfo(CFullCategoryList& list, bool bRefresh) {
    const CategorySnapshot cache = bRefresh ? RefreshCache() : TakeCategorySnapshot();
    list.Clear();
    for (const CategoryEntry& entry : *cache) list.Add(MakeCategory(entry));
    return static_cast<LONG>(cache->size());
}

void ResetFullCategoryList() { GetFullCategoryInfo(g_FullCategoryList, true); }

int FullCategoryCompareFunc(CFullCategory* const& a, CFullCategory* const& b, CEUSER) {
    if (!a) return b ? 1 : 0;
    if (!b) return -1;
    return CompareStringW(LOCALE_USER_DEFAULT, 0, a->m_szName, -1, b->m_szName, -1) - 2;
}

void ConvertCategoryToCFullCategory(const WCHAR* text, CFullCategoryList& list) {
    std::vector<std::u16string_view> pieces = SplitAt(text ? text : u"", u',');
    // Behind a comma one character is skipped, whatever it is.
    for (std::size_t i = 1; i < pieces.size(); ++i) pieces[i] = pieces[i].substr(pieces[i].empty() ? 0 : 1);
    KeepNamed(pieces, list);
}

void ReadCategoryFromRegistry(const WCHAR* key, const WCHAR* name, CFullCategoryList& list,
                              bool bCustomViews) {
    list.Clear();
    CRegistry settings;
    if (bCustomViews) settings.SetRegistryType(kRegistryText, u"%s\\Norvo\\QNCustomViews.reg", true);
    if (!settings.Exists(HKEY_CURRENT_USER, key)) return;
    std::vector<WCHAR> buffer(kSetReadLimit + 1);
    if (settings.QueryValue(name, buffer.data(), kSetReadLimit, false) != 0) return;
    KeepNamed(SplitAt(buffer.data(), kSetSeparator), list);
}

void SaveCategoryToRegistry(const WCHAR* key, const WCHAR* name, const CFullCategoryList& list) {
    std::u16string text;
    for (const CFullCategory* category : list) {
        const std::u16string_view piece = category->m_szName ? category->m_szName : u"";
        const std::size_t needed = piece.size() + (text.empty() ? 0 : 1);
        if (piece.empty() || text.size() + needed > kSetWriteLimit)
            continue; // names that don't fit are left out
        if (!text.empty()) text += kSetSeparator;
        text += piece;
    }
    CRegistry settings;
    if (settings.OpenKey(HKEY_CURRENT_USER, key, nullptr) == 0) settings.SetValue(name, text.c_str());
}

void GetCategories(CeStrList<WCHAR*>& names, bool bRefresh, DWORD mask) {
    const CategorySnapshot cache = bRefresh ? RefreshCache() : TakeCategorySnapshot();
    names.Clear();
    for (const CategoryEntry& entry : *cache)
        if (entry.PassesMask(mask)) names.Add(entry.szName.c_str());
}

bool CategoryFilterHighLevel(const WCHAR* text, const CCategoryFilterInfo* filter) {
    if (!filter) return true;
    const LONG mode = filter->bHideCategories;
    if (filter->m_list.Count() == 0 && mode == kCategoriesShowChosen) return true;
    const std::u16string_view categories = text ? text : u"";
    const bool bAnd = filter->CategoryANDOR != 0;
    bool result = !categories.empty() && bAnd;
    if (!categories.empty() && mode != kCategoriesOnlyWithout) {
        for (const CFullCategory* chosen : filter->m_list) {
            const std::u16string_view name = chosen->m_szName ? chosen->m_szName : u"";
            if (categories.find(name) == categories.npos) continue;
            if (!TestChosenName(categories, name, bAnd, result)) break;
        }
    }
    if (mode == kCategoriesHideChosen) result = !result;
    if (categories.empty() && (mode == kCategoriesOnlyWithout || filter->m_bIncludeNoCat)) result = true;
    return result;
}
