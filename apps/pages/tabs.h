// The tabs of the suite by kind.
#pragma once

#include "apps/pages/tabview.h"

#include <memory>

namespace qn {

enum class TabKind { Calendar, Tasks, Contacts, Notes, Search };
inline constexpr int kTabKinds = 5;

std::unique_ptr<TabView> MakeTab(TabKind kind);

} // namespace qn
