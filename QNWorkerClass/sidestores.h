// The side databases of the platform's volume, and reading the device's categories from them.
#pragma once

#include "QNWorkerClass/categories.h"

inline constexpr const WCHAR* kPimVolume = u"\\pim.vol";
inline constexpr const WCHAR* kCategoryMainDb = u"CategoryMainDB";
inline constexpr const WCHAR* kCategoryAssocDb = u"CategoryAssocDB";
inline constexpr DWORD kPropCategoryId = 0x00010066;
inline constexpr DWORD kPropCategoryName = 0x0002001F;
inline constexpr DWORD kPropAssocItem = 0x00010013;
inline constexpr DWORD kPropAssocCategory = 0x00020003;
// Named properties of items: one record for each item and property.
inline constexpr const WCHAR* kNamedPropValsDb = u"PIMNamedPropVals";
inline constexpr DWORD kPropNamedItem = 0x00010013;
inline constexpr DWORD kPropNamedNumber = 0x00020013;
inline constexpr DWORD kPropNamedValue = 0x00030041;

// All categories with a name, in the order of the store; a record without one is deleted from it. Empty when the store
// can't be opened.
std::vector<CategoryEntry> ReadCategoryStore();
