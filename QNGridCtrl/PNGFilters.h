// The filters of PNG lines: each line is a difference from its left and upper neighbours.
#pragma once

#include "Platform/types.h"

#include <cstddef>

// Puts right a line of a filter byte and `size` bytes, given the one above it, which was put right before; its own filter
// byte is not looked at. `distance`: the whole bytes of a pixel, 1, 2, 3, 4, 6 or 8, of which `size` is a multiple.
void ApplyPNGFilter(BYTE* line, const BYTE* upper, std::size_t size, std::size_t distance);
