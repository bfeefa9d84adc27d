// The text field among the host's own files: one object for each window of the class "EDIT". It calls nothing but the
// public operations, on the window's own thread.
#pragma once

#include "Platform/edit.h"
#include "Platform/host/editlayout.h"
#include "Platform/host/edittext.h"
#include "Platform/windows.h"

#include <optional>
#include <string>

namespace plat {

class EditControl {
public:
    EditControl(HWND window, LPCWSTR text);

    // Nothing: the message is the system's.
    std::optional<LRESULT> Handle(UINT message, WPARAM wParam, LPARAM lParam);

private:
    // --- Messages of its own and about the text (edit.cpp)
    std::optional<LRESULT> HandleText(UINT message, WPARAM wParam, LPARAM lParam);
    std::optional<LRESULT> HandleEdit(UINT message, WPARAM wParam, LPARAM lParam);
    void SetText(LPCWSTR text);
    LRESULT SelectionTo(DWORD* start, DWORD* end) const;
    void Select(LPARAM start, LPARAM end);
    LRESULT LineIndex(int line);
    void SetReadOnly(bool readOnly);
    bool UndoOrRedo();

    // --- Input (editinput.cpp)
    std::optional<LRESULT> HandleInput(UINT message, WPARAM wParam, LPARAM lParam);
    bool Key(int key);
    bool Shortcut(int key);
    void MoveCaret(int key, bool extend);
    bool GoesBack(int key, const EditLayout::Row& row) const;
    void MoveRows(int rows, bool extend);
    void Character(WCHAR unit);
    void Press(POINT point, bool word);
    void DragTo(POINT point);
    void Release();
    int PositionAt(POINT point);
    void Scroll(int code, bool vertical);

    // --- Changes that the person makes (edit.cpp)
    void Type(std::u16string_view text);
    void Enter(std::u16string_view text, bool typed);
    void DeleteBy(EditText::Motion motion);
    void Copy();
    void Cut();
    void Paste();
    void StepBack();
    void StepForward();
    void Changed();
    void Notify(WORD code);

    // --- Rows and painting (editpaint.cpp)
    std::optional<LRESULT> HandlePaint(UINT message, WPARAM wParam, LPARAM lParam);
    void Relayout();
    void UpdateBar();
    void ShowCaret();
    RECT CaretRect() const; // of the client area
    void ShowSteadyCaret();
    void SetFocusState(bool focused);
    void Blink();
    void ScrollTo(int x, int row);
    void Invalidate();
    void Paint(HDC hdc);
    HBRUSH PrepareColors(HDC hdc) const;
    void PaintRow(HDC hdc, int row, int y);
    void PaintCaret(HDC hdc);
    RECT TextRect() const; // of the client area
    int VisibleRows() const;
    int TopOf(int row) const;

    DWORD Style() const { return static_cast<DWORD>(GetWindowLongW(m_hWnd, GWL_STYLE)); }
    bool Is(DWORD style) const { return (Style() & style) != 0; }
    bool IsReadOnly() const { return Is(ES_READONLY); }

    HWND m_hWnd;
    EditText m_Text;
    EditLayout m_Layout;
    std::u16string m_Shown;
    HFONT m_hFont = nullptr;
    int m_nLineHeight = 1;
    int m_nScrollX = 0; // pixels
    int m_nTopRow = 0;  // the first one that is shown
    int m_nGoalX = -1;  // where the caret wants to be while it goes from row to row
    int m_nLimit;       // units; 0 is none
    WCHAR m_cPassword;  // 0: none
    bool m_bHasBar;
    bool m_bModified = false;
    bool m_bUndone = false; // the last thing was EM_UNDO
    bool m_bFocused = false;
    bool m_bCaretOn = false;
    bool m_bPressed = false;
    bool m_bCaptured = false; // by the press
    WCHAR m_cHigh = 0;        // first half of a character that is being typed
};

LRESULT EditProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

} // namespace plat
