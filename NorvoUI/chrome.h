// Colours, measures and marks of the suite's frames: menus, dialogs, rows of buttons. Grounds, texts and selections that are
// not listed here have the system's colours. Any thread may call.
#pragma once

#include "Platform/gdi.h"

enum EChromeColor {
    CHROME_BAR,
    CHROME_BAR_TEXT,
    CHROME_BAR_PRESSED,
    CHROME_ACTIVE, // what is depressed or acts by default
    CHROME_ACTIVE_TEXT,
    CHROME_LINE,
    CHROME_FOCUS, // the frame of what has the focus, on a bar
    CHROME_COLORS,
};
QN_API COLORREF ChromeColor(EChromeColor color);
// Another scheme from now on; windows that stand are not painted anew.
QN_API void SetChromeColor(EChromeColor color, COLORREF value);

// Pixels of the screen for pixels at 96 dots an inch.
QN_API int ChromePx(int pixels);
// How high a thing to tap is, in pixels: 40 (at 96 dots an inch) on the screens of handhelds, which are narrower than 600,
// else 32.
QN_API int ChromeTapHeight();
// What a line of text keeps free at its sides.
QN_API int ChromeMargin();

// Tahoma, deleted by itself.
class QN_API ChromeFont {
public:
    ChromeFont(int points, int weight) : m_hFont(Make(points, weight)) {}
    static HFONT Make(int points, int weight); // the caller's
    ~ChromeFont() { DeleteObject(m_hFont); }
    ChromeFont(const ChromeFont&) = delete;
    ChromeFont& operator=(const ChromeFont&) = delete;
    operator HFONT() const { return m_hFont; }

private:
    HFONT m_hFont;
};

QN_API void FillColor(HDC hdc, const RECT& rect, COLORREF color);
// A frame so many pixels thick inside the rectangle.
QN_API void FrameColor(HDC hdc, const RECT& rect, COLORREF color, int thick);

// Marks in the middle of a box, as large as its shorter side allows.
enum EChromeMark { MARK_CHECK, MARK_RADIO, MARK_LEFT, MARK_RIGHT, MARK_UP, MARK_DOWN };
QN_API void DrawMark(HDC hdc, const RECT& box, EChromeMark mark, COLORREF color);
