// 16-bit text as UTF-8, for messages of tests and for comparing with plain literals; empty for null.
#pragma once

#include "Platform/strings.h"

#include <string>

inline std::string Narrow(const WCHAR* text) {
    if (!text) return {};
    std::string narrow(wcstombs(nullptr, text, 0), '\0');
    wcstombs(narrow.data(), text, narrow.size());
    return narrow;
}
