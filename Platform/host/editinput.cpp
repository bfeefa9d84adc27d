// Keys, characters and the pointer in a text field.
#include "Platform/host/edit.h"
#include "Platform/host/textorder.h"

#include <algorithm>
#include <utility>

namespace plat {
namespace {

using Motion = EditText::Motion;

constexpr WCHAR kBackspace = 8;
constexpr WCHAR kTab = 9;
constexpr WCHAR kReturn = 13;

bool IsDown(int key) { return GetKeyState(key) < 0; }

POINT PointOf(LPARAM lParam) {
    return {static_cast<SHORT>(LOWORD(static_cast<ULONG_PTR>(lParam))),
            static_cast<SHORT>(HIWORD(static_cast<ULONG_PTR>(lParam)))};
}

} // namespace

std::optional<LRESULT> EditControl::HandleInput(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_KEYDOWN:
        if (!Key(static_cast<int>(wParam))) return std::nullopt;
        return 0;
    case WM_CHAR:
        Character(static_cast<WCHAR>(wParam));
        return 0;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
        Press(PointOf(lParam), message == WM_LBUTTONDBLCLK);
        return 0;
    case WM_MOUSEMOVE:
        if (m_bPressed) DragTo(PointOf(lParam));
        return 0;
    case WM_LBUTTONUP:
    case WM_CANCELMODE:
        Release();
        if (message == WM_CANCELMODE) return std::nullopt;
        return 0;
    case WM_CAPTURECHANGED:
        m_bPressed = m_bCaptured = false;
        return 0;
    case WM_VSCROLL:
    case WM_HSCROLL:
        Scroll(LOWORD(wParam), message == WM_VSCROLL);
        return 0;
    case WM_GETDLGCODE: { // for the key in wParam: Escape is the dialog's
        const bool keeps = (Is(ES_MULTILINE) || Is(ES_WANTRETURN)) && wParam != VK_ESCAPE;
        const LRESULT returns = keeps ? DLGC_WANTALLKEYS : 0;
        return returns | DLGC_WANTARROWS | DLGC_WANTCHARS | DLGC_HASSETSEL;
    }
    default:
        return std::nullopt;
    }
}

// --- Keys ---------------------------------------------------------------------------------------------------------

bool EditControl::Key(int key) {
    const bool word = IsDown(VK_CONTROL), shift = IsDown(VK_SHIFT);
    switch (key) {
    case VK_LEFT:
    case VK_RIGHT:
    case VK_UP:
    case VK_DOWN:
    case VK_HOME:
    case VK_END:
    case VK_PRIOR:
    case VK_NEXT:
        MoveCaret(key, shift);
        return true;
    case VK_DELETE:
        if (shift)
            Cut();
        else
            DeleteBy(word ? Motion::WordRight : Motion::Right);
        return true;
    case VK_INSERT:
        if (word) Copy();
        if (shift) Paste();
        return true;
    default:
        return word && Shortcut(key);
    }
}

bool EditControl::Shortcut(int key) {
    switch (key) {
    case 'A':
        Select(0, -1);
        return true;
    case 'C':
        Copy();
        return true;
    case 'X':
        Cut();
        return true;
    case 'V':
        Paste();
        return true;
    case 'Z':
        StepBack();
        return true;
    case 'Y':
        StepForward();
        return true;
    default:
        return false;
    }
}

void EditControl::MoveCaret(int key, bool extend) {
    const bool ctrl = IsDown(VK_CONTROL), rows = Is(ES_MULTILINE);
    const EditLayout::Row& row = m_Layout.At(m_Layout.RowOf(m_Text.Caret()));
    const bool wrapped = row.end == row.next && row.end < m_Text.Length();
    if (key == VK_PRIOR || key == VK_NEXT) {
        MoveRows((key == VK_NEXT ? 1 : -1) * std::max(VisibleRows() - 1, 1), extend);
    } else if (rows && (key == VK_UP || key == VK_DOWN)) {
        MoveRows(key == VK_DOWN ? 1 : -1, extend);
    } else {
        m_nGoalX = -1;
        if (key == VK_HOME)
            m_Text.MoveTo(ctrl ? 0 : row.start, extend);
        else if (key == VK_END)
            m_Text.MoveTo(ctrl ? m_Text.Length() : row.end - (wrapped ? 1 : 0), extend);
        else if (GoesBack(key, row))
            m_Text.Move(ctrl ? Motion::WordLeft : Motion::Left, extend);
        else
            m_Text.Move(ctrl ? Motion::WordRight : Motion::Right, extend);
    }
    ShowCaret();
}

// Left is onward in what is written from the right, for all of a row, so that the caret never goes in circles.
bool EditControl::GoesBack(int key, const EditLayout::Row& row) const {
    const auto start = static_cast<std::size_t>(row.start), end = static_cast<std::size_t>(row.end);
    const bool turned = BeginsFromRight(std::u16string_view(m_Shown).substr(start, end - start));
    return key == VK_UP || key == (turned ? VK_RIGHT : VK_LEFT);
}

// Up and down the caret keeps to where it came from, also across shorter rows.
void EditControl::MoveRows(int rows, bool extend) {
    if (m_nGoalX < 0) m_nGoalX = m_Layout.LeftOf(m_Text.Caret());
    const int row = std::clamp(m_Layout.RowOf(m_Text.Caret()) + rows, 0, m_Layout.RowCount() - 1);
    m_Text.MoveTo(m_Layout.PositionAt(row, m_nGoalX), extend);
}

// A character beyond 16 bits comes in two halves.
void EditControl::Character(WCHAR unit) {
    const WCHAR high = std::exchange(m_cHigh, WCHAR{0});
    if (unit == kBackspace) {
        DeleteBy(IsDown(VK_CONTROL) ? Motion::WordLeft : Motion::Left);
    } else if (unit == kReturn) {
        if (Is(ES_MULTILINE)) Type(u"\r\n");
    } else if ((unit & 0xFC00) == 0xD800) {
        m_cHigh = unit;
    } else if ((unit & 0xFC00) == 0xDC00) {
        const WCHAR pair[] = {high, unit};
        if (high != 0) Type({pair, 2});
    } else if (unit >= u' ' ? unit != 0x7F : unit == kTab && Is(ES_MULTILINE)) {
        Type({&unit, 1});
    }
}

// --- Pointer ------------------------------------------------------------------------------------------------------

int EditControl::PositionAt(POINT point) {
    const RECT rect = TextRect();
    const int rowAbove = (point.y - rect.top - (point.y < rect.top ? m_nLineHeight - 1 : 0)) / m_nLineHeight;
    const int row = std::clamp(m_nTopRow + rowAbove, 0, m_Layout.RowCount() - 1);
    return m_Layout.PositionAt(row, static_cast<int>(point.x) - rect.left + m_nScrollX);
}

void EditControl::Press(POINT point, bool word) {
    SetFocus(m_hWnd);
    if (!IsWindow(m_hWnd)) return;
    m_bPressed = !word;
    if (GetCapture() != m_hWnd) {
        SetCapture(m_hWnd);
        m_bCaptured = true;
    }
    m_nGoalX = -1;
    if (word)
        m_Text.SelectWord(PositionAt(point));
    else
        m_Text.MoveTo(PositionAt(point), IsDown(VK_SHIFT));
    ShowCaret();
}

// Outside, the text follows the pointer.
void EditControl::DragTo(POINT point) {
    m_Text.MoveTo(PositionAt(point), true);
    ShowCaret();
}

// A capture that was there before the press stays.
void EditControl::Release() {
    m_bPressed = false;
    if (std::exchange(m_bCaptured, false) && GetCapture() == m_hWnd) ReleaseCapture();
}

void EditControl::Scroll(int code, bool vertical) {
    if (!vertical || !Is(ES_MULTILINE)) return;
    SCROLLINFO info{};
    info.cbSize = sizeof info;
    info.fMask = SIF_TRACKPOS;
    const int page = std::max(VisibleRows() - 1, 1);
    switch (code) {
    case SB_LINEUP:
        return ScrollTo(m_nScrollX, m_nTopRow - 1);
    case SB_LINEDOWN:
        return ScrollTo(m_nScrollX, m_nTopRow + 1);
    case SB_PAGEUP:
        return ScrollTo(m_nScrollX, m_nTopRow - page);
    case SB_PAGEDOWN:
        return ScrollTo(m_nScrollX, m_nTopRow + page);
    case SB_THUMBPOSITION:
    case SB_THUMBTRACK:
        if (GetScrollInfo(m_hWnd, SB_VERT, &info)) ScrollTo(m_nScrollX, info.nTrackPos);
        return;
    case SB_TOP:
        return ScrollTo(m_nScrollX, 0);
    case SB_BOTTOM:
        return ScrollTo(m_nScrollX, m_Layout.RowCount());
    default:
        return;
    }
}

} // namespace plat
