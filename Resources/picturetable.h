// The generated table of pictures: each in 16 and in 32 pixels.
#pragma once

#include "Platform/types.h"

#include <cstddef>

struct Picture {
    WORD number;
    WORD pixels; // of a side
    const BYTE* png;
    DWORD size; // bytes
};
extern const Picture kPictures[];
extern const std::size_t kPictureCount;
