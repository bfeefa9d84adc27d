// The generated tables of texts; English first, which stands in for what another language lacks.
#pragma once

#include "Platform/modules.h"

extern const PlatStringTable kLanguages[];
extern const std::size_t kLanguageCount;
