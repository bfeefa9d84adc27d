// Events of the real window as input of the device.
#include "Platform/host/sdl/sdlinput.h"

#include "Platform/input.h"
#include "Platform/strings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

namespace plat {
namespace {

struct KeyPair {
    SDL_Keycode key;
    int number;
};
constexpr KeyPair kKeys[] = {
    {SDLK_BACKSPACE, VK_BACK},  {SDLK_TAB, VK_TAB},        {SDLK_RETURN, VK_RETURN},
    {SDLK_KP_ENTER, VK_RETURN}, {SDLK_LSHIFT, VK_SHIFT},   {SDLK_RSHIFT, VK_SHIFT},
    {SDLK_LCTRL, VK_CONTROL},   {SDLK_RCTRL, VK_CONTROL},  {SDLK_LALT, VK_MENU},
    {SDLK_ESCAPE, VK_ESCAPE},   {SDLK_AC_BACK, VK_ESCAPE}, {SDLK_SPACE, VK_SPACE},
    {SDLK_PAGEUP, VK_PRIOR},    {SDLK_PAGEDOWN, VK_NEXT},  {SDLK_END, VK_END},
    {SDLK_HOME, VK_HOME},       {SDLK_LEFT, VK_LEFT},      {SDLK_UP, VK_UP},
    {SDLK_RIGHT, VK_RIGHT},     {SDLK_DOWN, VK_DOWN},      {SDLK_INSERT, VK_INSERT},
    {SDLK_DELETE, VK_DELETE},   {SDLK_SELECT, VK_RETURN},
};
// What the number pad means while it is not one.
constexpr KeyPair kPadKeys[] = {
    {SDLK_KP_1, VK_END},    {SDLK_KP_2, VK_DOWN},        {SDLK_KP_3, VK_NEXT}, {SDLK_KP_4, VK_LEFT},
    {SDLK_KP_6, VK_RIGHT},  {SDLK_KP_7, VK_HOME},        {SDLK_KP_8, VK_UP},   {SDLK_KP_9, VK_PRIOR},
    {SDLK_KP_0, VK_INSERT}, {SDLK_KP_PERIOD, VK_DELETE},
};

int NumberIn(std::span<const KeyPair> keys, SDL_Keycode key) {
    const auto pair = std::ranges::find(keys, key, &KeyPair::key);
    return pair != keys.end() ? pair->number : 0;
}

// 0 for a key that has no number here.
int KeyNumber(SDL_Keycode key, bool padHasDigits) {
    if (key >= SDLK_a && key <= SDLK_z) return 'A' + (key - SDLK_a);
    if (key >= SDLK_0 && key <= SDLK_9) return '0' + (key - SDLK_0);
    if (key >= SDLK_F1 && key <= SDLK_F12) return VK_F1 + (key - SDLK_F1);
    const int number = NumberIn(kKeys, key);
    return number || padHasDigits ? number : NumberIn(kPadKeys, key);
}

// The key of a command, which the window system tells as text all the same. The right Alt key makes characters.
bool IsCommand(Uint16 modifiers) {
    return (modifiers & (KMOD_CTRL | KMOD_LALT | KMOD_GUI)) != 0 &&
           (modifiers & (KMOD_RALT | KMOD_MODE)) == 0;
}

void Text(const char* utf8) {
    std::u16string text(std::strlen(utf8), u'\0'); // never more units than bytes
    const int length = MultiByteToWideChar(CP_UTF8, 0, utf8, static_cast<int>(text.size()), text.data(),
                                           static_cast<int>(text.size()));
    text.resize(static_cast<std::size_t>(std::max(length, 0)));
    if (!text.empty()) PlatText(text.c_str());
}

// A fast move over half the screen that stays level. Told before the release, so that it is no tap.
constexpr Uint32 kLongestFlick = 400; // milliseconds
void TellFlick(POINT from, POINT to, Uint32 milliseconds) {
    const PlatScreen screen = PlatGetScreen();
    const int dx = to.x - from.x;
    if (milliseconds >= kLongestFlick || std::abs(dx) * 2 <= screen.width ||
        std::abs(to.y - from.y) * 4 >= screen.height)
        return;
    PlatGesture(from.x, from.y, dx < 0 ? ARG_SCROLL_LEFT : ARG_SCROLL_RIGHT);
}

} // namespace

bool SdlInput::Handle(const SDL_Event& event) {
    switch (event.type) {
    case SDL_MOUSEMOTION:
        if (event.motion.which != SDL_TOUCH_MOUSEID)
            Move(m_window.ToPixels(static_cast<float>(event.motion.x), static_cast<float>(event.motion.y)));
        return true;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
        return event.button.which == SDL_TOUCH_MOUSEID || Button(event.button);
    case SDL_MOUSEWHEEL:
        return Wheel(event.wheel), true;
    case SDL_FINGERDOWN:
    case SDL_FINGERMOTION:
    case SDL_FINGERUP:
        return Finger(event.tfinger);
    case SDL_KEYDOWN:
    case SDL_KEYUP:
        return Key(event.key), true;
    case SDL_TEXTINPUT:
        if (!IsCommand(m_modifiers)) Text(event.text.text);
        return true;
    default:
        return false;
    }
}

void SdlInput::Key(const SDL_KeyboardEvent& event) {
    m_modifiers = event.keysym.mod;
    if (const int number = KeyNumber(event.keysym.sym, (m_modifiers & KMOD_NUM) != 0))
        PlatKey(number, event.type == SDL_KEYDOWN);
}

void SdlInput::Forget() {
    m_finger.reset();
    m_modifiers = 0;
}

void SdlInput::Press(POINT point) {
    m_down = point;
    m_downTime = SDL_GetTicks();
    PlatPointer(PlatPointerAction::Down, point.x, point.y);
}

void SdlInput::Move(POINT point) const { PlatPointer(PlatPointerAction::Move, point.x, point.y); }

void SdlInput::Release(POINT point) {
    TellFlick(m_down, point, SDL_GetTicks() - m_downTime);
    PlatPointer(PlatPointerAction::Up, point.x, point.y);
}

bool SdlInput::Button(const SDL_MouseButtonEvent& button) {
    const POINT point = m_window.ToPixels(static_cast<float>(button.x), static_cast<float>(button.y));
    const bool down = button.type == SDL_MOUSEBUTTONDOWN;
    if (button.button == SDL_BUTTON_LEFT)
        down ? Press(point) : Release(point);
    else if (button.button == SDL_BUTTON_RIGHT)
        PlatPointer(down ? PlatPointerAction::HoldDown : PlatPointerAction::HoldUp, point.x, point.y);
    return true;
}

// The first finger is the button; further ones do nothing until it is lifted.
bool SdlInput::Finger(const SDL_TouchFingerEvent& finger) {
    const SIZE size = m_window.Size();
    const auto pixel = [](float part, LONG pixels) { // the far edge is the last one's
        return std::clamp<LONG>(static_cast<LONG>(part * static_cast<float>(pixels)), 0,
                                std::max<LONG>(pixels - 1, 0));
    };
    const POINT point{pixel(finger.x, size.cx), pixel(finger.y, size.cy)};
    if (finger.type == SDL_FINGERDOWN) {
        if (m_finger) return true;
        m_finger = finger.fingerId;
        Press(point);
    } else if (m_finger == finger.fingerId) {
        if (finger.type == SDL_FINGERMOTION) return Move(point), true;
        m_finger.reset();
        Release(point);
    }
    return true;
}

void SdlInput::Wheel(const SDL_MouseWheelEvent& wheel) const {
    const int notches = wheel.direction == SDL_MOUSEWHEEL_FLIPPED ? -wheel.y : wheel.y;
    const POINT point = m_window.ToPixels(static_cast<float>(wheel.mouseX), static_cast<float>(wheel.mouseY));
    if (notches != 0) PlatWheel(point.x, point.y, notches);
}

} // namespace plat
