// What was typed to find contacts, ready to be compared: it never changes, so the client may set another while a run goes by it.
#pragma once

#include "Platform/types.h"

#include <string>
#include <string_view>
#include <vector>

std::u16string Capitals(std::u16string_view text);

struct ContactsCompare {
    std::u16string text; // in capitals
    std::vector<std::u16string> words;
    bool bFullSearch = false;
    bool bKeypad = false;
    bool bFirstLetter = false;

    bool IsQuick() const { return !bFullSearch && !bKeypad; }
    int Length() const { return static_cast<int>(text.size()); }
};
