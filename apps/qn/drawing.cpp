#include "apps/qn/drawing.h"

#include "Platform/painting.h"

#include <cstdio>
#include <filesystem>

namespace qn {

void SetScreen(int width, int height, int dotsPerInch) {
    if (!PlatSetScreen({width, height, dotsPerInch}))
        throw Failure("a picture of " + std::to_string(width) + "x" + std::to_string(height) +
                      " pixels is too large");
}

void SavePicture(HWND window, const std::string& file) {
    const std::string beside = file + ".part";
    std::error_code error;
    if (PlatSaveWindow(window, beside.c_str()))
        std::filesystem::rename(beside, file, error);
    else
        error = std::make_error_code(std::errc::io_error);
    if (!error) return;
    std::remove(beside.c_str());
    throw Failure(file + ": can't be written");
}

} // namespace qn
