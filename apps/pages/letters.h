// The alphabet of a long list of names: the letter that a name stands under, the heading that stays above the list, and the strip
// beside it that leads to each letter.
#pragma once

#include "NorvoUI/CeWnd.h"

#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qn {

// The letters under which names stand that come in the order of the locale.
class Alphabet {
public:
    // A to Z, a letter of another script, or '#' for all that is none.
    WCHAR LetterOf(std::u16string_view name);

private:
    std::unordered_map<WCHAR, WCHAR> m_letters; // by what a name begins with
};

// Mark-up of a heading, with its ground.
std::u16string LetterHeading(WCHAR letter);
int LetterHeadingHeight(); // pixels, as the next
int LetterHeadingPadding();

class LetterLine : public CeWnd {
public:
    bool Open(HWND parent);
    void SetLetter(WCHAR letter);

private:
    LRESULT OnPaint(bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;

    WCHAR m_letter = 0;
};

class LetterStrip : public CeWnd {
public:
    bool Open(HWND parent);
    static int Width(); // pixels
    void SetLetters(std::vector<WCHAR> letters);
    // Called with the index of a letter that was tapped, or came under the finger.
    std::function<void(std::size_t index)> chosen;

private:
    LRESULT OnPaint(bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;
    LRESULT OnLButtonDown(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnMouseMove(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnLButtonUp(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;
    LONG TopOf(std::size_t letter, const RECT& client) const;
    static std::size_t RoomFor(const RECT& client); // letters that can be read
    void Choose(POINT point);
    void Release();

    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    std::vector<WCHAR> m_letters;
    std::size_t m_pressed = kNone;
};

} // namespace qn
