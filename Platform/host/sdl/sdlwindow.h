// The real window: what the screen's bitmap shows, as a texture. One thread makes it, uses it and ends it.
#pragma once

#include "Platform/gdi.h"

#include <SDL.h>

#include <memory>

namespace plat {

class SdlWindow {
public:
    // False when there is no display. The sizes are wishes.
    bool Open(const char* title, int width, int height);
    void Close();

    // Takes what was painted and shows it.
    void Present();
    // Shows it again: the window was covered, or has another size.
    void Repeat();
    // The texture is lost.
    void Forget() { m_texture.reset(); }

    void SetTitle(const char* title) { SDL_SetWindowTitle(m_window.get(), title); }
    // Pixels; what the person has made of it.
    SIZE Size() const;
    // Of the display that it stands on; 0 when that doesn't tell.
    int DotsPerInch() const;
    // A place in the window's own coordinates, in pixels.
    POINT ToPixels(float x, float y) const;
    // Where text is typed, in pixels.
    void SetTextPlace(const RECT& place) const;

private:
    template<class T, void (*End)(T*)>
    struct Ender {
        void operator()(T* object) const { End(object); }
    };
    template<class T, void (*End)(T*)>
    using Owned = std::unique_ptr<T, Ender<T, End>>;

    bool FitTexture();
    static void Take(void* context, const RECT& rect, const BYTE* pixels, int stride);

    Owned<SDL_Window, SDL_DestroyWindow> m_window;
    Owned<SDL_Renderer, SDL_DestroyRenderer> m_renderer;
    Owned<SDL_Texture, SDL_DestroyTexture> m_texture;
    SIZE m_textureSize{};
    bool m_shown = false;
};

} // namespace plat
