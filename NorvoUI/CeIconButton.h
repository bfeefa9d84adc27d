// A row of buttons, each with a picture, a text or both, in one window: bars of pages and dialogs, soft keys, check boxes.
//
// It shows a press at once and acts at the release, by WM_COMMAND to the parent: the button's id below, the code above, the
// row in lParam. With the focus, arrows go from button to button, Enter and Space press. Thread of the window.
#pragma once

#include "NorvoUI/CeWnd.h"

#include <string>
#include <vector>

inline constexpr WORD ICONBUTTON_CLICKED = 0;
inline constexpr WORD ICONBUTTON_DROPPED = 256;  // of one with a menu, in place of CLICKED
inline constexpr WORD ICONBUTTON_REPEATED = 512; // again and again while it is held

inline constexpr DWORD ICONBUTTON_REPEAT = 1;
inline constexpr DWORD ICONBUTTON_DROPDOWN = 2; // a menu belongs to it: a small arrow
inline constexpr DWORD ICONBUTTON_CHECK = 4;    // a check box with its text; a click changes it

// What buttons there are, how they lie and look.
class QN_API CeIconButtonBase : public CeWnd {
public:
    ~CeIconButtonBase() override;

    bool Create(HWND hParent, const RECT& rect, UINT id = 0, DWORD style = WS_TABSTOP);
    // Behind the last. `width` in pixels at 96 dots an inch; 0: a share of what the others leave.
    void AddButton(UINT id, LPCWSTR text, WORD picture = 0, DWORD flags = 0, int width = 0);
    void RemoveAll();
    // "&" marks the letter that presses it. Nothing for an id that is none, as below.
    void SetIconText(UINT id, LPCWSTR text, int weight = FW_BOLD, int size = 8);
    void SetIconImage(UINT id, WORD picture);
    void EnableButton(UINT id, bool enabled);
    void DepressButton(UINT id, bool depressed);
    bool IsDepressed(UINT id) const;
    // By default a bar in its colours; else on the ground of windows.
    void SetOnWindow(bool onWindow);
    // Buttons without a width of their own: as wide as their text needs, at the right end.
    void SetPacked(bool packed);

    int Count() const { return static_cast<int>(m_buttons.size()); }
    // Where a button lies, on the screen; false for no such button.
    bool GetButtonRect(UINT id, RECT& rect) const;
    // The width that all texts have room in, in pixels.
    int IdealWidth() const;

protected:
    struct Button {
        UINT id;
        std::u16string text;
        HICON icon;
        DWORD flags;
        int width;
        int weight = FW_BOLD;
        int size = 8;
        bool enabled = true;
        bool depressed = false;
    };

    LRESULT OnPaint(bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;

    int IndexOf(UINT id) const; // -1 for none
    int ButtonAt(POINT point) const;
    const Button& At(int index) const { return m_buttons[static_cast<std::size_t>(index)]; }
    Button& At(int index) { return m_buttons[static_cast<std::size_t>(index)]; }
    void Repaint() { InvalidateRect(nullptr, FALSE); }

    int m_pressed = -1; // index, as below
    int m_held = -1;    // the button that the pointer or the space bar went down on
    int m_focused = 0;

private:
    Button* Find(UINT id);
    std::vector<RECT> Places() const;
    int WantedWidth(const Button& button) const;
    SIZE TextSize(const Button& button) const;
    void PaintButton(HDC hdc, const Button& button, const RECT& place, bool pressed, bool focused) const;
    void PaintFace(HDC hdc, const Button& button, RECT place, COLORREF color) const;

    std::vector<Button> m_buttons;
    bool m_onWindow = false;
    bool m_packed = false;
};

// What the person does with them.
class QN_API CeIconButton : public CeIconButtonBase {
public:
    // Presses the button whose text marks that letter; false when none does, or it is disabled.
    bool PressLetter(WCHAR letter);
    // The focus within the row: to a button, to the first or last one, or a step on (false at the end).
    void SetFocusedButton(UINT id);
    void FocusEnd(bool last);
    bool MoveFocus(int step);

protected:
    LRESULT OnLButtonDown(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnLButtonUp(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnMouseMove(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnKeyDown(WPARAM code, UINT repeat, UINT flags, bool& handled) override;
    LRESULT OnKeyUp(WPARAM code, UINT repeat, UINT flags, bool& handled) override;
    LRESULT OnTimer(WPARAM id, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;

private:
    void Release();
    void Act(int index);
    void Tell(UINT id, WORD code);

    bool m_repeated = false; // it has acted while it was held
};
