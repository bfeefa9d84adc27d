#include "QNWorkerClass/categories.h"

#include "NorvoTools/CRegistry.h"
#include "NorvoTools/StrFunctions.h"
#include "Platform/locale.h"
#include "Platform/registry.h"
#include "Platform/strings.h"
#include "QNWorkerClass/sidestores.h"

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

bool UsedByMask(const CategoryEntry& entry, DWORD mask) {
    return mask == 0 || ((mask & kUsedByTasks) && entry.bUsedByTasks) ||
           ((mask & kUsedByAppointments) && entry.bUsedByAppointments) ||
           ((mask & kUsedByContacts) && entry.bUsedByContacts);
}

// The pieces of a text form: split at commas, one leading blank of each dropped.
template<class Visit>
void ForEachPiece(std::u16string_view text, Visit visit) {
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(u',', start), text.size());
        std::u16string_view piece = text.substr(start, end - start);
        if (!piece.empty() && piece.front() == u' ') piece.remove_prefix(1);
        if (!visit(piece)) return;
        start = end + 1;
    }
}

// One chosen name against the pieces. False ends the whole test (a hit under OR).
bool TestChosenName(std::u16string_view text, std::u16string_view name, bool bAnd, bool& result) {
    bool goOn = true;
    ForEachPiece(text, [&](std::u16string_view piece) {
        if (bAnd) {
            // Any other category beside the chosen one fails, and a text with none of the chosen passes: required.
            if (piece != name) result = false;
            return true;
        }
        if (piece != name) return true;
        result = true;
        goOn = false;
        return false;
    });
    return goOn;
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
    list.Clear();
    if (!text || !*text) return;
    const CategorySnapshot cache = TakeCategorySnapshot();
    for (const CategoryEntry& entry : *cache) {
        bool named = false;
        bool first = true;
        std::u16string_view rest = text;
        for (;;) {
            const std::size_t end = std::min(rest.find(u','), rest.size());
            std::u16string_view piece = rest.substr(0, end);
            // Behind a comma one character is skipped, whatever it is.
            if (!first && !piece.empty()) piece.remove_prefix(1);
            first = false;
            if (piece == entry.szName) named = true;
            if (end == rest.size()) break;
            rest.remove_prefix(end + 1);
        }
        if (named) list.Add(MakeCategory(entry));
    }
}

void ReadCategoryFromRegistry(const WCHAR* key, const WCHAR* name, CFullCategoryList& list, bool bCustomViews) {
    list.Clear();
    CRegistry settings;
    if (bCustomViews) settings.SetRegistryType(kRegistryText, u"%s\\Norvo\\QNCustomViews.reg", true);
    if (!settings.Exists(HKEY_CURRENT_USER, key)) return;
    std::vector<WCHAR> buffer(kSetReadLimit + 1);
    if (settings.QueryValue(name, buffer.data(), kSetReadLimit, false) != 0) return;
    const CategorySnapshot cache = TakeCategorySnapshot();
    std::u16string_view rest = buffer.data();
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find(kSetSeparator), rest.size());
        const std::u16string_view piece = rest.substr(0, end);
        if (!piece.empty())
            for (const CategoryEntry& entry : *cache)
                if (entry.szName == piece) list.Add(MakeCategory(entry));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
}

void SaveCategoryToRegistry(const WCHAR* key, const WCHAR* name, const CFullCategoryList& list) {
    std::u16string text;
    for (const CFullCategory* category : list) {
        const std::u16string_view piece = category->m_szName ? category->m_szName : u"";
        const std::size_t needed = piece.size() + (text.empty() ? 0 : 1);
        if (piece.empty() || text.size() + needed > kSetWriteLimit) continue; // names that don't fit are left out
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
        if (UsedByMask(entry, mask)) names.Add(const_cast<WCHAR*>(entry.szName.c_str()));
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
