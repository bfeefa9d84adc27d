// Editing a cell in place: a text field over it, which ends with Enter, or when anything else is used.
#include "QNGridCtrl/HTMLGrid.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/edit.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace {

constexpr int kLongest = 4095;       // characters of a cell that are taken
constexpr DWORD kStyle = 0x50800044; // child, visible, border; several rows that scroll
constexpr int kExtraHeight = 2;      // pixels at 96 dots an inch, as the next two
constexpr int kSpareWidth = 3;
constexpr int kLeastHeight = 14;

std::u16string EditedText(HWND hWnd) {
    std::u16string text(static_cast<std::size_t>(::GetWindowTextLengthW(hWnd)), 0);
    ::GetWindowTextW(hWnd, text.data(), static_cast<int>(text.size()) + 1);
    return text;
}

} // namespace

bool CHTMLGrid::EnableCellEdit(WORD col, WORD row, bool bWholeSelection) {
    if (col >= GetColCount() || row >= GetRowCount()) return false;
    const HWND self = m_hWnd;
    EndEdit(true);
    if (!::IsWindow(self)) return false;
    if (!IsCellSelected(col, row)) SetSelection(col, row, col, row);
    tagNM_GRIDVIEW view = ViewOf(col, row, GRIDM_EDIT_BEGIN);
    if (AskOwner(GRIDM_EDIT_BEGIN, view) == 0 || !::IsWindow(self)) return false;
    const tagCELLINFO* cell = RequestCell(col, row);
    if (!cell) return false;
    std::array<WCHAR, kLongest + 1> text{};
    const HFONT hFont = cell->GetText(text.data(), kLongest, true);
    SHSipPreference(self, SIP_UP);
    MakeRowTopMost(row);
    return OpenEdit(EditRect(col, row, bWholeSelection), col, row, text.data(), hFont);
}

// The cell, or all that is selected with it.
RECT CHTMLGrid::EditRect(WORD col, WORD row, bool bWholeSelection) const {
    RECT first{}, last{};
    const bool whole = bWholeSelection && IsCellSelected(col, row);
    GetCellRect(whole ? m_Selection.left : col, whole ? m_Selection.top : row, first);
    GetCellRect(whole ? m_Selection.right : col, whole ? m_Selection.bottom : row, last);
    const LONG width = std::max<LONG>(last.right - first.left - ScalePx(g_HIDPI_LogPixelsX, kSpareWidth), 1);
    const LONG height = std::max<LONG>(last.bottom - first.top + ScalePx(g_HIDPI_LogPixelsY, kExtraHeight),
                                       ScalePx(g_HIDPI_LogPixelsY, kLeastHeight));
    return {first.left + 1, first.top - 1, first.left + 1 + width, first.top - 1 + height};
}

bool CHTMLGrid::OpenEdit(const RECT& rect, WORD col, WORD row, LPCWSTR pszText, HFONT hFont) {
    m_hEdit = CreateWindowExW(0, u"EDIT", nullptr, kStyle, rect.left, rect.top, rect.right - rect.left,
                              rect.bottom - rect.top, m_hWnd, nullptr, nullptr, nullptr);
    if (!m_hEdit) return false;
    m_Edit = {};
    m_Edit.col = col;
    m_Edit.row = row;
    ::SetWindowLongW(m_hEdit, GWL_USERDATA, reinterpret_cast<LONG_PTR>(this));
    m_Edit.pfnFormer = reinterpret_cast<WNDPROC>(
        ::SetWindowLongW(m_hEdit, GWL_WNDPROC, reinterpret_cast<LONG_PTR>(&CHTMLGrid::EditWndProc)));
    ::SendMessageW(m_hEdit, WM_SETFONT, reinterpret_cast<WPARAM>(hFont), FALSE);
    ::SendMessageW(m_hEdit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(pszText));
    ::SendMessageW(m_hEdit, EM_SETSEL, 0, -1);
    ::SetFocus(m_hEdit);
    ::SetCapture(m_hEdit);
    return true;
}

LRESULT CHTMLGrid::EditWndProc(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    auto* grid = reinterpret_cast<CHTMLGrid*>(::GetWindowLongW(hWnd, GWL_USERDATA));
    const WNDPROC former = grid->m_Edit.pfnFormer;
    bool handled = false;
    const LRESULT result = grid->OnProcessEditMessage(msg, wParam, lParam, handled);
    return handled ? result : CallWindowProcW(former, hWnd, msg, wParam, lParam);
}

LRESULT CHTMLGrid::OnProcessEditMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    switch (msg) {
    case WM_DESTROY:
        ::SetWindowLongW(m_hEdit, GWL_WNDPROC, reinterpret_cast<LONG_PTR>(m_Edit.pfnFormer));
        m_hEdit = nullptr;
        return 0;
    case WM_KILLFOCUS:
    case WM_CANCELMODE:
        handled = !m_Edit.ending;
        EndEdit(true);
        return 0;
    case WM_LBUTTONDOWN:
        if (!IsOutsideEdit(lParam)) return 0;
        handled = true;
        return ::SendMessageW(m_hEdit, WM_CANCELMODE, 0, 0);
    case WM_KEYDOWN:
    case WM_KEYUP:
    case WM_CHAR:
        return OnEditKey(msg, wParam, handled);
    case WM_GETDLGCODE:
        handled = true;
        return DLGC_WANTARROWS | DLGC_WANTALLKEYS | DLGC_WANTCHARS | DLGC_HASSETSEL;
    default:
        return 0;
    }
}

// Enter ends it when it goes up, if it went down here; so does Escape, and leaves the cell as it was.
LRESULT CHTMLGrid::OnEditKey(UINT msg, WPARAM key, bool& handled) {
    handled = key == VK_RETURN || key == VK_ESCAPE;
    if (!handled) return 0;
    if (msg == WM_KEYDOWN) m_Edit.keyDown = key;
    if (msg == WM_KEYUP && std::exchange(m_Edit.keyDown, 0) == key) EndEdit(key == VK_RETURN);
    return 0;
}

bool CHTMLGrid::IsOutsideEdit(LPARAM lParam) const {
    const auto pair = static_cast<ULONG_PTR>(lParam);
    const POINT point = {static_cast<SHORT>(LOWORD(pair)), static_cast<SHORT>(HIWORD(pair))};
    RECT client{};
    ::GetClientRect(m_hEdit, &client);
    return !PtInRect(&client, point);
}

// The new text is the owner's to apply.
void CHTMLGrid::EndEdit(bool bKeep) {
    if (!m_hEdit || std::exchange(m_Edit.ending, true)) return;
    const std::u16string text = EditedText(m_hEdit);
    const WORD col = m_Edit.col, row = m_Edit.row;
    const HWND focus = GetFocus(), self = m_hWnd;
    const bool taken = focus && focus != m_hEdit && focus != self; // by who makes it end
    ::DestroyWindow(m_hEdit);
    SHSipPreference(self, SIP_DOWN);
    if (!taken) ::SetFocus(self);
    if (!bKeep || !::IsWindow(self)) return;
    tagNM_GRIDVIEW view = ViewOf(col, row, GRIDM_EDIT_END);
    view.pszText = text.c_str();
    view.dwData = static_cast<DWORD>(text.size());
    AskOwner(GRIDM_EDIT_END, view);
}
