// Categories: the cached list of the device's categories, the filter that all data threads apply, and the text form of
// a set of categories ("Work, Home").
//
// The cached list is process-wide: an immutable snapshot behind one lock. Any thread may call these functions; the
// lists that they fill belong to the caller.
#pragma once

#include "NorvoTools/CePtrList.h"
#include "NorvoTools/CeStrList.h"
#include "Platform/types.h"

#include <memory>
#include <string>
#include <vector>

struct QN_API CFullCategory {
    CFullCategory() = default;
    ~CFullCategory();
    CFullCategory(const CFullCategory&) = delete;
    CFullCategory& operator=(const CFullCategory&) = delete;

    CFullCategory* Copy() const; // deep; the caller owns it

    WCHAR* m_szName = nullptr; // owned, C heap
    LONG m_lId = 0;            // -1: a name that is in no store
    DWORD m_oidRecord = 0;
    WORD m_wChosen = 1; // chosen in the view
    WORD m_wUsedByTasks = 0;
    WORD m_wUsedByAppointments = 0;
    WORD m_wUsedByContacts = 0;
    WORD m_wReserved = 0;
    BYTE m_bVisible = 1;
};

using CFullCategoryList = CePtrList<CFullCategory*>;

// Modes of CCategoryFilterInfo::bHideCategories.
inline constexpr LONG kCategoriesShowChosen = 0;
inline constexpr LONG kCategoriesHideChosen = 1;
inline constexpr LONG kCategoriesOnlyWithout = -1;

struct QN_API CCategoryFilterInfo {
    LONG m_bIncludeNoCat = 0;
    LONG bHideCategories = kCategoriesShowChosen;
    LONG CategoryANDOR = 0; // not 0: all chosen ones, 0: one of them
    CFullCategoryList m_list{0, 1};
};

// Kinds of items, for masks. 0 means all.
inline constexpr DWORD kUsedByTasks = 1;
inline constexpr DWORD kUsedByAppointments = 2;
inline constexpr DWORD kUsedByContacts = 4;

// The frame's list, filled at start and by ResetFullCategoryList, on the main thread.
extern QN_API CFullCategoryList g_FullCategoryList;

// Fills the caller's list with copies of the cached list (read from the stores when the cache is empty or bRefresh is
// set) and gives the count. Stores that can't be opened give an empty list.
QN_API LONG GetFullCategoryInfo(CFullCategoryList& list, bool bRefresh);
extern "C" QN_API void ResetFullCategoryList();
// By name in the user's locale; a null first operand sorts last, two nulls are equal.
QN_API int FullCategoryCompareFunc(CFullCategory* const& a, CFullCategory* const& b, CEUSER user);
// The categories that an item's text names.
QN_API void ConvertCategoryToCFullCategory(const WCHAR* text, CFullCategoryList& list);
// A set kept in the settings: names separated by U+0007. With bCustomViews from the custom views file.
QN_API void ReadCategoryFromRegistry(const WCHAR* key, const WCHAR* name, CFullCategoryList& list,
                                     bool bCustomViews);
QN_API void SaveCategoryToRegistry(const WCHAR* key, const WCHAR* name, const CFullCategoryList& list);
// The names of the visible categories that one of the kinds of the mask uses.
QN_API void GetCategories(CeStrList<WCHAR*>& names, bool bRefresh, DWORD mask);
// The filter on items whose categories are only a text.
QN_API bool CategoryFilterHighLevel(const WCHAR* text, const CCategoryFilterInfo* filter);

// The snapshot behind the list, for the data threads: taken once a load, valid for as long as it is held.
struct CategoryEntry {
    std::u16string szName;
    LONG lId = 0;
    DWORD oidRecord = 0;
    bool bUsedByTasks = false;
    bool bUsedByAppointments = false;
    bool bUsedByContacts = false;

    // Whether one of the kinds of the mask uses it; 0 asks for none.
    bool PassesMask(DWORD mask) const {
        return mask == 0 || ((mask & kUsedByTasks) && bUsedByTasks) ||
               ((mask & kUsedByAppointments) && bUsedByAppointments) ||
               ((mask & kUsedByContacts) && bUsedByContacts);
    }
};
using CategorySnapshot = std::shared_ptr<const std::vector<CategoryEntry>>;
CategorySnapshot TakeCategorySnapshot();
