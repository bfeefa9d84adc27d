// Lists of the texts used last, newest first, at most fifteen, on the platform registry.
#pragma once

#include "NorvoTools/CeStrList.h"
#include "Platform/types.h"

inline constexpr int kMruMax = 15;

enum class MruTarget : int {
    ListBox = 0,
    ComboBox = 1,
    Menu = 2,
    List = 3,
};

extern "C" {
// Puts the text in front of the list; it stands there once. Nothing for an empty text.
QN_API void MRUSave(const WCHAR* name, const WCHAR* text);

// Frees the former array and gives a new one of one element: the entry that stands second in the list, or an empty string
// when the list is empty; the count stays as it was then. Begin with a null array and the count 0, and free it with
// CleanupMRUStrings.
QN_API void MRUStrings(const WCHAR* name, WCHAR*** strings, DWORD* count);
QN_API void CleanupMRUStrings(WCHAR*** strings, DWORD count);

// Fills a list box or combo box (the window, or its child `id`; shown when the list has entries), a menu (given as
// `window`; the identifiers are `id` plus the place in the list) or the caller's list. With bCheckFiles the entries are
// paths, and one whose file is gone leaves the list for good.
QN_API void MRU(HWND window, const WCHAR* name, int id, MruTarget mode, bool bCheckFiles, CeStrList<>* list);
}
