// What rows of a search are made of.
#pragma once

#include "Platform/types.h"

#include <string>

std::u16string ShortDateText(double date);
