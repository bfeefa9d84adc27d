#include "NorvoUI/CeLabelEdit.h"

#include "NorvoUI/chrome.h"

#include <algorithm>

namespace {

constexpr UINT kEditId = 1;
constexpr int kLabelPoints = 8;
constexpr int kTextPoints = 9;

} // namespace

CeLabelEdit::~CeLabelEdit() {
    if (m_hWnd) DestroyWindow();
    if (m_hFont) DeleteObject(m_hFont);
}

bool CeLabelEdit::Create(HWND hParent, const RECT& rect, LPCWSTR label, LPCWSTR text, UINT id, int labelWidth,
                         DWORD style) {
    m_label = label ? label : u"";
    m_labelWidth = labelWidth;
    const DWORD child = WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS;
    if (!CeWnd::Create(nullptr, hParent, rect, u"", child | WS_CLIPCHILDREN, 0, id)) return false;
    const auto editId = reinterpret_cast<HMENU>(static_cast<ULONG_PTR>(kEditId));
    m_edit.Attach(CreateWindowExW(0, u"EDIT", text, child | WS_BORDER | WS_TABSTOP | style, 0, 0, 0, 0,
                                  m_hWnd, editId, nullptr, nullptr));
    m_hFont = ChromeFont::Make(kTextPoints, FW_NORMAL);
    m_edit.SetFont(m_hFont);
    Arrange();
    return m_edit.GetHWnd() != nullptr;
}

void CeLabelEdit::SetLabel(LPCWSTR label) {
    m_label = label ? label : u"";
    Arrange();
    InvalidateRect(nullptr, FALSE);
}

std::u16string CeLabelEdit::GetText() const {
    std::u16string text(static_cast<std::size_t>(m_edit.GetWindowTextLengthW()), u'\0');
    m_edit.GetWindowTextW(text.data(), static_cast<int>(text.size()) + 1);
    return text;
}

void CeLabelEdit::SetText(LPCWSTR text) { m_edit.SetWindowTextW(text); }

int CeLabelEdit::LabelWidth() const {
    if (m_labelWidth > 0) return ChromePx(m_labelWidth);
    const ChromeFont font(kLabelPoints, FW_NORMAL);
    const HDC hdc = GetDC();
    const HGDIOBJ former = SelectObject(hdc, font);
    SIZE size{};
    GetTextExtentPoint32W(hdc, m_label.c_str(), static_cast<int>(m_label.size()), &size);
    SelectObject(hdc, former);
    ReleaseDC(hdc);
    return size.cx + ChromeMargin();
}

// The label never takes more than half of the row.
void CeLabelEdit::Arrange() {
    RECT client{};
    GetClientRect(&client);
    const int left = std::min(LabelWidth(), static_cast<int>(client.right / 2));
    m_edit.MoveWindow(left, 0, client.right - left, client.bottom);
}

LRESULT CeLabelEdit::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    if (m_edit.GetHWnd()) Arrange();
    return CeWnd::OnSize(type, cx, cy, handled);
}

LRESULT CeLabelEdit::OnCommand(WPARAM wParam, LPARAM lParam, bool& handled) {
    if (reinterpret_cast<HWND>(lParam) != m_edit.GetHWnd()) return CeWnd::OnCommand(wParam, lParam, handled);
    handled = true;
    if (HIWORD(wParam) == EN_KILLFOCUS) OnLeave();
    const WPARAM told = static_cast<WORD>(GetDlgCtrlID()) | (wParam & 0xFFFF0000);
    return ::SendMessageW(GetParent(), WM_COMMAND, told, reinterpret_cast<LPARAM>(m_hWnd));
}

LRESULT CeLabelEdit::OnPaint(bool& handled) {
    handled = true;
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(&paint);
    if (!hdc) return 0;
    RECT box{}, edit{};
    GetClientRect(&box);
    FillColor(hdc, paint.rcPaint, GetSysColor(COLOR_WINDOW));
    m_edit.GetClientRect(&edit);
    box.right -= edit.right + ChromePx(2);
    const ChromeFont font(kLabelPoints, FW_NORMAL);
    const HGDIOBJ former = SelectObject(hdc, font);
    SetBkMode(hdc, TRANSPARENT);
    SetTextColor(hdc, GetSysColor(COLOR_GRAYTEXT));
    DrawTextW(hdc, m_label.c_str(), -1, &box, DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS | DT_NOPREFIX);
    SelectObject(hdc, former);
    EndPaint(&paint);
    return 0;
}

LRESULT CeLabelEdit::OnEraseBkgnd(HDC, bool& handled) {
    handled = true;
    return 1;
}

LRESULT CeLabelEdit::OnLButtonDown(WPARAM, POINT, bool& handled) {
    handled = true;
    m_edit.SetFocus();
    return 0;
}

LRESULT CeLabelEdit::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    switch (msg) {
    case WM_SETFOCUS:
        handled = true;
        m_edit.SetFocus();
        return 0;
    case WM_SETTEXT:
    case WM_GETTEXT:
    case WM_GETTEXTLENGTH:
        if (!m_edit.GetHWnd()) break; // while it is made
        handled = true;
        return m_edit.SendMessageW(msg, wParam, lParam);
    default:
        break;
    }
    return CeWnd::OnMessage(msg, wParam, lParam, handled);
}
