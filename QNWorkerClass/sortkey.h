// What CompareStringW goes by, as bytes: keys of one set of flags compare byte by byte as the texts do.
#pragma once

#include <string>
#include <string_view>

#include "Platform/types.h"

// Of the user's locale; `flags` are those of CompareStringW. Empty when there is no memory for it.
std::string TextSortKey(std::u16string_view text, DWORD flags = 0);
