// PNG files: any bytes give an error or an image of the size that is told, which then can be scaled.
#include "QNGridCtrl/PNGScale.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    constexpr unsigned long long kMost = 1u << 20;
    PNGImage image;
    DecodePNG({data, size}, kMost, image);
    if (image.pixels.empty()) return 0;
    const std::size_t rowBytes = (std::size_t{image.width} * 3 + 1) / 2 * 2;
    if (image.pixels.size() != rowBytes * image.height) std::abort();
    if (image.alpha.size() != std::size_t{image.width} * image.height) std::abort();
    const DWORD ratio = data[size - 1] * 64u;
    PNGImage nearest = image;
    ScalePNG(nearest, ratio, 8192 - ratio / 4, false, kMost);
    ScalePNG(image, ratio, ratio / 2, true, kMost);
    return 0;
}
