// The real window: making it, showing the painted parts of the screen in it, its measures.
#include "Platform/host/sdl/sdlwindow.h"

#include "Platform/painting.h"
#include "Platform/windows.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace plat {
namespace {

// What a display claims beyond is no measure: projectors and virtual displays tell anything.
constexpr float kLeastDots = 72;
constexpr float kMostDots = 600;

void SetHints() {
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
    SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
    SDL_SetHint(SDL_HINT_TOUCH_MOUSE_EVENTS, "0");
    SDL_SetHint(SDL_HINT_MOUSE_TOUCH_EVENTS, "0");
    SDL_SetHint(SDL_HINT_IME_INTERNAL_EDITING, "1"); // an input method shows itself what it composes
    SDL_SetHint(SDL_HINT_IME_SHOW_UI, "1");
    SDL_SetHint(SDL_HINT_APP_NAME, "QNTools");
}

// Under X11 pictures go to the server through shared memory; trying out a graphics driver instead would take tens of
// megabytes and as many milliseconds.
void KeepToMemory() {
    const char* const driver = SDL_GetCurrentVideoDriver();
    if (driver && std::strcmp(driver, "x11") == 0) SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
}

// No larger than the display has room for.
SIZE FitToDisplay(int width, int height) {
    SDL_Rect room{};
    if (SDL_GetDisplayUsableBounds(0, &room) == 0 && room.w > 0 && room.h > 0)
        return {std::min(width, room.w), std::min(height, room.h)};
    return {width, height};
}

} // namespace

// The renderer in memory: one page of a planner needs no graphics driver, whose start and size would be felt.
bool SdlWindow::Open(const char* title, int width, int height) {
    SetHints();
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) return false;
    KeepToMemory();
    const SIZE size = FitToDisplay(width, height);
    m_window.reset(SDL_CreateWindow(title, SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, size.cx, size.cy,
                                    SDL_WINDOW_HIDDEN | SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI));
    if (m_window) m_renderer.reset(SDL_CreateRenderer(m_window.get(), -1, SDL_RENDERER_SOFTWARE));
    if (m_renderer) return true;
    Close();
    return false;
}

void SdlWindow::Close() {
    m_texture.reset();
    m_renderer.reset();
    m_window.reset();
    m_shown = false;
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

bool SdlWindow::FitTexture() {
    const PlatScreen screen = PlatGetScreen();
    if (m_texture && m_textureSize.cx == screen.width && m_textureSize.cy == screen.height) return true;
    m_texture.reset(SDL_CreateTexture(m_renderer.get(), SDL_PIXELFORMAT_RGB888, SDL_TEXTUREACCESS_STREAMING,
                                      screen.width, screen.height));
    m_textureSize = {screen.width, screen.height};
    PlatTouchScreen();
    return m_texture != nullptr;
}

// The screen may have become larger since the texture was fitted; then everything is painted and taken again.
void SdlWindow::Take(void* context, const RECT& rect, const BYTE* pixels, int stride) {
    auto* self = static_cast<SdlWindow*>(context);
    const SDL_Rect part{rect.left, rect.top, std::min(rect.right, self->m_textureSize.cx) - rect.left,
                        std::min(rect.bottom, self->m_textureSize.cy) - rect.top};
    if (part.w > 0 && part.h > 0) SDL_UpdateTexture(self->m_texture.get(), &part, pixels, stride);
}

void SdlWindow::Present() {
    if (!FitTexture()) return;
    PlatTakeDirty(&SdlWindow::Take, this);
    Repeat();
    if (m_shown) return;
    m_shown = true;
    SDL_ShowWindow(m_window.get());
}

void SdlWindow::Repeat() {
    if (!m_texture) return Present();
    const SDL_Rect place{0, 0, m_textureSize.cx, m_textureSize.cy};
    const COLORREF ground = GetSysColor(COLOR_BACKGROUND); // beside it, until a larger window is painted
    SDL_SetRenderDrawColor(m_renderer.get(), static_cast<Uint8>(ground), static_cast<Uint8>(ground >> 8),
                           static_cast<Uint8>(ground >> 16), SDL_ALPHA_OPAQUE);
    SDL_RenderClear(m_renderer.get());
    SDL_RenderCopy(m_renderer.get(), m_texture.get(), nullptr, &place);
    SDL_RenderPresent(m_renderer.get());
}

SIZE SdlWindow::Size() const {
    int width = 0;
    int height = 0;
    SDL_GetRendererOutputSize(m_renderer.get(), &width, &height);
    return {width, height};
}

int SdlWindow::DotsPerInch() const {
    float dots = 0;
    const int display = std::max(SDL_GetWindowDisplayIndex(m_window.get()), 0);
    if (SDL_GetDisplayDPI(display, nullptr, &dots, nullptr) != 0) return 0;
    return dots < kLeastDots || dots > kMostDots ? 0 : static_cast<int>(std::lround(dots));
}

POINT SdlWindow::ToPixels(float x, float y) const {
    int width = 0;
    int height = 0;
    SDL_GetWindowSize(m_window.get(), &width, &height);
    const SIZE pixels = Size();
    if (width <= 0 || height <= 0) return {0, 0};
    return {static_cast<LONG>(std::floor(x * static_cast<float>(pixels.cx) / static_cast<float>(width))),
            static_cast<LONG>(std::floor(y * static_cast<float>(pixels.cy) / static_cast<float>(height)))};
}

void SdlWindow::SetTextPlace(const RECT& place) const {
    int width = 0;
    int height = 0;
    SDL_GetWindowSize(m_window.get(), &width, &height);
    const SIZE pixels = Size();
    if (pixels.cx <= 0 || pixels.cy <= 0) return;
    const SDL_Rect rect{place.left * width / pixels.cx, place.top * height / pixels.cy,
                        (place.right - place.left) * width / pixels.cx,
                        (place.bottom - place.top) * height / pixels.cy};
    SDL_SetTextInputRect(&rect);
}

} // namespace plat
