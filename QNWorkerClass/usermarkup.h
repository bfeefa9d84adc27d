// What a user or another program wrote, in rows whose text is mark-up.
#pragma once

#include "Platform/types.h"

#include <string>
#include <string_view>

// Mark-up that shows the text letter by letter; control characters are blanks.
std::u16string AsMarkup(std::u16string_view text);
