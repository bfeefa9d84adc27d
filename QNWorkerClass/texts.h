// The suite's texts that the engine puts into its lists.
#pragma once

#include "NorvoTools/globals.h"
#include "Platform/modules.h"

#include <string>

inline constexpr UINT kTextNone = 42358; // what has no value
inline constexpr UINT kTextHours = 41184;
inline constexpr UINT kTextMinutes = 41188;
inline constexpr UINT kTextSeconds = 44688;

// At most `chars` characters with the terminator; empty without the text.
inline std::u16string LoadText(UINT id, int chars = 256) {
    std::u16string text(static_cast<std::size_t>(chars), u'\0');
    text.resize(static_cast<std::size_t>(LoadStringW(g_hResources, id, text.data(), chars)));
    return text;
}
