// What the person does with a row of buttons.
#include "NorvoUI/CeIconButton.h"

#include <algorithm>
#include <utility>

namespace {

constexpr ULONG_PTR kRepeatTimer = 1;
constexpr UINT kFirstWait = 400; // milliseconds
constexpr UINT kNextWait = 100;

WCHAR UpperCase(WCHAR c) { return c >= u'a' && c <= u'z' ? static_cast<WCHAR>(c - u'a' + u'A') : c; }

// The letter that "&" marks; 0 without one.
WCHAR MarkedLetter(const std::u16string& text) {
    WCHAR letter = 0;
    for (std::size_t i = 0; i + 1 < text.size(); ++i)
        if (text[i] == u'&' && text[++i] != u'&') letter = UpperCase(text[i]);
    return letter;
}

} // namespace

void CeIconButton::Tell(UINT id, WORD code) {
    const WPARAM command = static_cast<WPARAM>(static_cast<WORD>(id)) | static_cast<WPARAM>(code) << 16;
    ::SendMessageW(GetParent(), WM_COMMAND, command, reinterpret_cast<LPARAM>(m_hWnd));
}

// The parent may take the row away.
void CeIconButton::Act(int index) {
    Button& button = At(index);
    if (button.flags & ICONBUTTON_CHECK) button.depressed = !button.depressed;
    Repaint();
    Tell(button.id, button.flags & ICONBUTTON_DROPDOWN ? ICONBUTTON_DROPPED : ICONBUTTON_CLICKED);
}

bool CeIconButton::PressLetter(WCHAR letter) {
    for (int i = 0; i < Count(); ++i)
        if (At(i).enabled && MarkedLetter(At(i).text) == UpperCase(letter)) return Act(i), true;
    return false;
}

void CeIconButton::SetFocusedButton(UINT id) {
    m_focused = std::max(IndexOf(id), 0);
    if (m_hWnd) Repaint();
}

void CeIconButton::FocusEnd(bool last) {
    m_focused = last ? Count() : -1;
    if (!MoveFocus(last ? -1 : 1)) m_focused = 0;
}

bool CeIconButton::MoveFocus(int step) {
    for (int i = m_focused + step; i >= 0 && i < Count(); i += step)
        if (At(i).enabled) return m_focused = i, Repaint(), true;
    return false;
}

// --- Pointer ------------------------------------------------------------------------------------------------------

LRESULT CeIconButton::OnLButtonDown(WPARAM, POINT point, bool& handled) {
    handled = true;
    const int index = ButtonAt(point);
    if (index < 0 || !At(index).enabled) return 0;
    m_held = m_pressed = index;
    m_repeated = false;
    SetCapture();
    Repaint();
    UpdateWindow();
    if (At(index).flags & ICONBUTTON_REPEAT) SetTimer(kRepeatTimer, kFirstWait);
    return 0;
}

LRESULT CeIconButton::OnMouseMove(WPARAM, POINT point, bool& handled) {
    handled = true;
    const int pressed = m_held >= 0 && ButtonAt(point) == m_held ? m_held : -1;
    if (std::exchange(m_pressed, pressed) != pressed) Repaint();
    return 0;
}

LRESULT CeIconButton::OnLButtonUp(WPARAM, POINT point, bool& handled) {
    handled = true;
    const int held = m_held;
    const bool repeated = m_repeated;
    Release();
    if (held >= 0 && held < Count() && ButtonAt(point) == held && !repeated) {
        m_focused = held;
        Act(held);
    }
    return 0;
}

void CeIconButton::Release() {
    KillTimer(kRepeatTimer);
    m_repeated = false;
    m_pressed = m_held = -1;
    Repaint();
    if (GetCapture() == m_hWnd) ReleaseCapture();
}

LRESULT CeIconButton::OnTimer(WPARAM id, bool& handled) {
    if (id != kRepeatTimer) return CeWnd::OnTimer(id, handled);
    handled = true;
    SetTimer(kRepeatTimer, kNextWait);
    if (m_pressed < 0 || m_pressed >= Count()) return 0;
    m_repeated = true;
    Tell(At(m_pressed).id, ICONBUTTON_REPEATED);
    return 0;
}

// --- Keys and the rest --------------------------------------------------------------------------------------------

// Enter acts when it goes down, Space when it goes up: its character comes between and would be typed elsewhere.
LRESULT CeIconButton::OnKeyDown(WPARAM code, UINT repeat, UINT flags, bool& handled) {
    const bool again = (flags & HIWORD(KF_KEY_REPEATED)) != 0;
    const bool can = m_focused < Count() && At(m_focused).enabled;
    handled = true;
    switch (code) {
    case VK_LEFT:
    case VK_UP:
    case VK_RIGHT:
    case VK_DOWN:
        MoveFocus(code == VK_LEFT || code == VK_UP ? -1 : 1);
        return 0;
    case VK_SPACE:
        if (can && !again) m_held = m_pressed = m_focused, Repaint();
        return 0;
    case VK_RETURN:
        if (can && !again)
            Act(m_focused);
        else if (can && (At(m_focused).flags & ICONBUTTON_REPEAT))
            Tell(At(m_focused).id, ICONBUTTON_REPEATED);
        return 0;
    default:
        handled = false;
        return CeWnd::OnKeyDown(code, repeat, flags, handled);
    }
}

LRESULT CeIconButton::OnKeyUp(WPARAM code, UINT repeat, UINT flags, bool& handled) {
    if (code != VK_SPACE) return CeWnd::OnKeyUp(code, repeat, flags, handled);
    handled = true;
    const int held = m_held;
    Release();
    if (held >= 0 && held < Count() && At(held).enabled) Act(held);
    return 0;
}

LRESULT CeIconButton::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    if (msg == WM_SETFOCUS) Repaint();
    if (msg == WM_KILLFOCUS || msg == WM_CAPTURECHANGED || msg == WM_CANCELMODE) Release();
    return CeWnd::OnMessage(msg, wParam, lParam, handled);
}
