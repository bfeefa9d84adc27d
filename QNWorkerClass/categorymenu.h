// The category menu of a view.
#pragma once

#include "QNWorkerClass/categories.h"

class CeMenus;

inline constexpr UINT kMenuAllCategories = 5000;
inline constexpr UINT kMenuCategoriesEnd = 5998;
inline constexpr UINT kMenuFirstCategory = 5002; // and on, by index
inline constexpr int kMenuMostCategories = 949;
inline constexpr UINT kMenuClearFilter = 40293;
inline constexpr UINT kButtonCategories = 40106;

// Builds the category part of `menu`: entries of the categories that the mask lets through, those of `chosen` checked.
// `bar` may be null. Main thread.
QN_API void AddCategoriesToMenuBar(CeMenus* bar, HMENU menu, const CFullCategoryList& chosen, bool bRefresh,
                                   DWORD mask);
