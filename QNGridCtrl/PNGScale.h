// Scaling of decoded pictures by whole pixels: each target pixel is one source pixel, or the mean of those it stands for.
#pragma once

#include "QNGridCtrl/PNGDecoder.h"

inline constexpr DWORD kScaleOne = 4096; // 1.0

// The ratio that makes `from` pixels `to` pixels.
DWORD ScaleRatio(DWORD from, DWORD to);

// False without memory or for a size over `maxPixels`; the image is unchanged then.
bool ScalePNG(PNGImage& image, DWORD xRatio, DWORD yRatio, bool smooth, unsigned long long maxPixels);
