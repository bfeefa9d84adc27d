// What the person does in the real window, told to the device: pointer, first finger, wheel, keys, typed text.
#pragma once

#include "Platform/host/sdl/sdlwindow.h"

#include <optional>

namespace plat {

class SdlInput {
public:
    explicit SdlInput(const SdlWindow& window) : m_window(window) {}
    // False for an event that is no input.
    bool Handle(const SDL_Event& event);
    // Nothing is held any more: another real window, or one that has lost the focus.
    void Forget();

private:
    void Key(const SDL_KeyboardEvent& event);
    bool Button(const SDL_MouseButtonEvent& button);
    bool Finger(const SDL_TouchFingerEvent& finger);
    void Wheel(const SDL_MouseWheelEvent& wheel) const;
    void Press(POINT point);
    void Move(POINT point) const;
    void Release(POINT point);

    const SdlWindow& m_window;
    std::optional<SDL_FingerID> m_finger; // the one that is the button
    POINT m_down{};                       // where the press began, and when
    Uint32 m_downTime = 0;
    Uint16 m_modifiers = 0; // at the last key
};

} // namespace plat
