// What rows of a search are made of.
#pragma once

#include "Platform/types.h"

#include <string>
#include <string_view>

// What a user wrote, as mark-up that shows it letter by letter.
std::u16string AsMarkup(std::u16string_view text);
std::u16string ShortDateText(double date);
