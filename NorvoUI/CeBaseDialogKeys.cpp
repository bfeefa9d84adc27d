// The keys of every dialog, and who has the focus in it.
#include "NorvoUI/CeBaseDialog.h"

#include "NorvoUI/modalkeys.h"
#include "Platform/edit.h"

#include <algorithm>

namespace {

LRESULT DialogCode(HWND focus, WPARAM key) { return focus ? SendMessageW(focus, WM_GETDLGCODE, key, 0) : 0; }

bool KeepsEnter(HWND focus) { return (DialogCode(focus, VK_RETURN) & DLGC_WANTALLKEYS) != 0; }

// A text that is being edited in place: the key ends that, not the dialog.
bool KeepsEscape(HWND focus) {
    constexpr LRESULT kBoth = DLGC_WANTALLKEYS | DLGC_HASSETSEL;
    return (DialogCode(focus, VK_ESCAPE) & kBoth) == kBoth;
}

bool Types(HWND focus) { return (DialogCode(focus, 0) & DLGC_WANTCHARS) != 0; }

bool IsLetter(WPARAM key) { return (key >= 'A' && key <= 'Z') || (key >= '0' && key <= '9'); }

// Under a window that can be reached, in the order they were made: a new window stands above the others.
void AddTabStops(HWND parent, std::vector<HWND>& stops) {
    std::vector<HWND> children;
    for (HWND child = GetWindow(parent, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT))
        children.push_back(child);
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
        const auto style = static_cast<DWORD>(GetWindowLongW(*child, GWL_STYLE));
        if (!(style & WS_VISIBLE) || (style & WS_DISABLED)) continue;
        if (style & WS_TABSTOP)
            stops.push_back(*child);
        else
            AddTabStops(*child, stops);
    }
}

} // namespace

bool CeBaseDialog::TakeKey(const MSG& message) {
    if (!m_hWnd || !IsOwn(message.hwnd)) return false;
    switch (message.message) {
    case WM_KEYDOWN:
        return TakeKeyDown(message);
    case WM_SYSKEYDOWN:
        return IsLetter(message.wParam) && OnLetter(static_cast<WCHAR>(message.wParam));
    case WM_CHAR:
        return !Types(message.hwnd) && OnLetter(static_cast<WCHAR>(message.wParam));
    default:
        return false;
    }
}

bool CeBaseDialog::TakeKeyDown(const MSG& message) {
    switch (message.wParam) {
    case VK_TAB:
        SwallowCharacter(VK_TAB);
        MoveToTabStop(GetKeyState(VK_SHIFT) < 0);
        return true;
    case VK_RETURN:
        return !KeepsEnter(message.hwnd) && PressEnter(message);
    case VK_ESCAPE:
        if (KeepsEscape(message.hwnd)) return false;
        SwallowCharacter(VK_ESCAPE);
        Command(m_nCancel);
        return true;
    default:
        return false;
    }
}

// On the bar it is the focused button's. A key that is still down from before presses nothing.
bool CeBaseDialog::PressEnter(const MSG& message) {
    SwallowCharacter(VK_RETURN);
    if (message.lParam & KF_KEY_REPEATED) return true;
    if (message.hwnd == m_Bar.GetHWnd()) return false;
    Command(m_nDefault);
    return true;
}

// --- Focus --------------------------------------------------------------------------------------------------------

// The bar was made last, but windows may have come behind it since.
std::vector<HWND> CeBaseDialog::TabStops() const {
    std::vector<HWND> stops;
    AddTabStops(m_hWnd, stops);
    const HWND bar = m_Bar.GetHWnd();
    std::stable_partition(stops.begin(), stops.end(), [bar](HWND stop) { return stop != bar; });
    if (m_Bar.Count() == 0) std::erase(stops, bar);
    return stops;
}

void CeBaseDialog::MoveToTabStop(bool back) {
    const HWND focus = GetFocus(), bar = m_Bar.GetHWnd();
    if (focus == bar && m_Bar.MoveFocus(back ? -1 : 1)) return;
    const std::vector<HWND> stops = TabStops();
    if (stops.empty()) return;
    const auto at =
        std::ranges::find_if(stops, [focus](HWND stop) { return stop == focus || ::IsChild(stop, focus); });
    const auto count = stops.size();
    const auto index =
        static_cast<std::size_t>(at - stops.begin()); // `count` for none: the first, or the last
    const HWND next = stops[back ? (index + count - 1) % count : index + 1 < count ? index + 1 : 0];
    if (next == bar) m_Bar.FocusEnd(back);
    ::SetFocus(next);
}

void CeBaseDialog::FocusFirst(bool content) {
    const std::vector<HWND> stops = TabStops();
    m_hFocus = stops.empty() ? m_hWnd : content ? stops.front() : stops.back();
    if (m_hFocus == m_Bar.GetHWnd()) m_Bar.SetFocusedButton(m_nDefault);
}

LRESULT CeBaseDialog::OnActivate(WPARAM wParam, LPARAM, bool& handled) {
    handled = true;
    const HWND focus = GetFocus();
    const bool within = IsOwn(focus) && focus != m_hWnd;
    if (LOWORD(wParam) == 0) {
        if (within) m_hFocus = focus;
    } else if (!within) {
        ::SetFocus(IsOwn(m_hFocus) ? m_hFocus : m_hWnd);
    }
    return 0;
}
