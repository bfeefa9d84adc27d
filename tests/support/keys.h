// Keys by their names, as the scripts of tests have them.
#pragma once

#include "Platform/input.h"

#include <map>
#include <string>

namespace qntest {

// "Down" or "A"; S-, C- and A- before it: with Shift, Ctrl, Alt. Pressed so many times, as if it was held, and released.
inline void PressKey(const std::string& name, int times = 1) {
    static const std::map<std::string, int> keys = {
        {"Up", VK_UP},        {"Down", VK_DOWN},  {"Left", VK_LEFT},  {"Right", VK_RIGHT}, {"Home", VK_HOME},
        {"End", VK_END},      {"PgUp", VK_PRIOR}, {"PgDn", VK_NEXT},  {"BS", VK_BACK},     {"Del", VK_DELETE},
        {"Enter", VK_RETURN}, {"Esc", VK_ESCAPE}, {"Ins", VK_INSERT}, {"F2", VK_F1 + 1},   {"S-", VK_SHIFT},
        {"C-", VK_CONTROL},   {"A-", VK_MENU}};
    if (name.size() > 2 && name[1] == '-') {
        const int with = keys.at(name.substr(0, 2));
        PlatKey(with, true);
        PressKey(name.substr(2), times);
        return PlatKey(with, false);
    }
    const int key = name.size() == 1 ? name[0] : keys.at(name);
    for (int i = 0; i < times; ++i) PlatKey(key, true);
    PlatKey(key, false);
}

} // namespace qntest
