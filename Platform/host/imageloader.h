// Picture files decoded by the library that the system has.
#pragma once

#include "Platform/types.h"

#include <string_view>
#include <vector>

namespace plat {

struct LoadedImage {
    int width = 0;
    int height = 0;
    // Rows from the top of B, G, R, alpha; the colours are multiplied with their alpha.
    std::vector<BYTE> pixels;
};

// False for what is no picture, is damaged before its first row, or is too large.
bool DecodeImage(std::string_view file, LoadedImage& image);

} // namespace plat
