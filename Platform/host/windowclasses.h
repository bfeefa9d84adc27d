// Classes of windows, by name and number.
#pragma once

#include "Platform/host/desktop.h"

namespace plat {

// Under the desktop's lock; null for none.
std::shared_ptr<WindowClass> FindClass(const Desktop& desktop, LPCWSTR nameOrNumber);
// Those that every program finds without registering them. For the desktop that is being made.
void AddHostClasses(Desktop& desktop);

} // namespace plat
