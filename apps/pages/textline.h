// A line of text to type into: a prompt in quiet text while it is empty, and a cell at its right that empties it.
//
// The keys that mean more than text there (Escape, Enter, Down) are its owner's, by TabView::TypingKey.
#pragma once

#include "NorvoUI/CeWnd.h"
#include "Platform/edit.h"

#include <functional>
#include <string>

namespace qn {

class TextLine : public CeWnd {
public:
    ~TextLine() override;
    bool Open(HWND parent, const RECT& rect, std::u16string prompt);
    static int Height(); // that suits it, in pixels

    std::u16string Text() const;
    void SetText(const std::u16string& text); // the caret stands behind it
    // As if it had been typed: a window that has the focus in its place passes it on. Takes the focus.
    void Type(WCHAR unit);
    void TakeFocus() { m_field.SetFocus(); }
    bool HasFocus() const { return ::GetFocus() == FocusWindow(); }
    HWND FocusWindow() const { return m_field.GetHWnd(); }
    // Called after each change of the text, also by SetText.
    std::function<void()> changed;

private:
    class Field : public CeWnd {
    public:
        std::u16string prompt;

    private:
        LRESULT OnPaint(bool& handled) override;
    };

    LRESULT OnPaint(bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnCommand(WPARAM wParam, LPARAM lParam, bool& handled) override;
    LRESULT OnLButtonDown(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnLButtonUp(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;

    RECT Box() const;   // the frame
    RECT Cross() const; // the cell that empties it
    bool IsEmpty() const { return m_field.GetWindowTextLengthW() == 0; }
    void Arrange();
    void PaintCross(HDC hdc) const;
    void Press(bool pressed);
    void MoveCaretToEnd();

    Field m_field;
    HFONT m_hFont = nullptr; // owned
    bool m_pressed = false;  // the cell
};

} // namespace qn
