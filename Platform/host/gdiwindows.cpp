// The contexts of windows and of the screen.
#include "Platform/host/gdiobjects.h"

#include "Platform/windows.h"

namespace plat {
namespace {

// On the screen; empty for a window that isn't shown.
std::optional<RECT> ClientOnScreen(HWND window) {
    RECT client{};
    POINT origin{0, 0};
    if (!GetClientRect(window, &client) || !ClientToScreen(window, &origin)) return std::nullopt;
    return Moved(client, origin.x, origin.y);
}

} // namespace
} // namespace plat

using namespace plat;

HDC GetDC(HWND window) {
    HostCall call;
    std::shared_ptr<GdiContext> context = MakeContext();
    context->bitmap = {ScreenBitmap(), nullptr};
    if (window) {
        const std::optional<RECT> client = ClientOnScreen(window);
        if (!client) return nullptr;
        context->window = window;
        context->origin = {client->left, client->top};
        context->visible = Region(RECT{0, 0, WidthOf(*client), HeightOf(*client)});
    }
    return static_cast<HDC>(AddGdi(std::move(context)));
}

int ReleaseDC(HWND, HDC dc) {
    HostCall call;
    return RemoveContext(dc, false);
}
