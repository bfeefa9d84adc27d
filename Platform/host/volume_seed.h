// The databases that a new `\pim.vol` is made with.
#pragma once

#include "Platform/host/store.h"

namespace plat {

// In the open transaction of the volume's making.
DWORD SeedPim(Volume& volume, Connection& connection);

} // namespace plat
