// What the commands that draw share: the screen of this run and its picture as a file.
#pragma once

#include "apps/qn/commands.h"
#include "apps/qn/options.h"
#include "apps/qn/support.h"

#include "Platform/gdi.h"

namespace qn {

inline constexpr int kLeastDots = 48;
inline constexpr int kMostDots = 1200;

// Makes the screen that large; a Failure when memory can't hold it.
void SetScreen(int width, int height, int dotsPerInch);
// The window and all in it as a PNG file, whole or not at all.
void SavePicture(HWND window, const std::string& file);

} // namespace qn
