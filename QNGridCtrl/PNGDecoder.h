// From the bytes of a PNG file to colours and transparency.
#pragma once

#include "Platform/types.h"

#include <span>
#include <vector>

struct PNGImage {
    DWORD width = 0;
    DWORD height = 0;
    std::vector<BYTE> pixels; // rows of B, G, R, each padded to an even number of bytes
    std::vector<BYTE> alpha;  // one byte a pixel
};

// A PNGError; with PNG_OK and PNG_BAD_DATA there is an image. No more than `maxPixels` pixels.
DWORD DecodePNG(std::span<const BYTE> file, unsigned long long maxPixels, PNGImage& image);
