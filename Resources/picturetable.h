// The generated table of pictures: each in 16 pixels, and in 32 for screens of 144 dots an inch and more.
#pragma once

#include "Platform/modules.h"

extern const PlatModuleResource kPictures[];
extern const std::size_t kPictureCount;
