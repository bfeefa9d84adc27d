// The picture that is dragged, as whoever shows the screen lays it over the windows.
#pragma once

#include "Platform/host/surface.h"

#include <memory>
#include <optional>
#include <vector>

namespace plat {

struct DragPicture {
    RECT place;                                       // on the screen
    std::shared_ptr<const std::vector<Pixel>> pixels; // all rows, colours multiplied with their alpha
};
// Nothing while none is shown. Its lock may be taken while the screen's is held.
std::optional<DragPicture> ShownDragPicture();

} // namespace plat
