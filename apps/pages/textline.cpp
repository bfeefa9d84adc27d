#include "apps/pages/textline.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/chrome.h"
#include "QNGridCtrl/PNGPicture.h"
#include "Resources/pictures.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"

namespace qn {

namespace {

constexpr int kInset = 4; // round the frame; pixels at 96 dots an inch, as the next
constexpr int kPictureCell = 26;
constexpr int kPictureSide = 16;
constexpr int kCrossCell = 32;
constexpr int kFieldMargin = 2; // the field's own, beside its text
constexpr int kTextPoints = 9;
constexpr int kCrossPoints = 11;

int Middle(LONG from, LONG to, int length) { return static_cast<int>(from + (to - from - length) / 2); }

} // namespace

TextLine::~TextLine() {
    if (m_hWnd) DestroyWindow();
    if (m_hFont) DeleteObject(m_hFont);
}

int TextLine::Height() { return ChromeTapHeight() + 2 * Scaled(kInset) - Scaled(2); }

bool TextLine::Open(HWND parent, const RECT& rect, std::u16string prompt) {
    m_field.prompt = std::move(prompt);
    const DWORD child = WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS;
    if (!Create(nullptr, parent, rect, u"", child | WS_CLIPCHILDREN)) return false;
    if (!m_field.Create(u"EDIT", GetHWnd(), RECT{}, u"", child | WS_TABSTOP | ES_AUTOHSCROLL)) return false;
    m_hFont = ChromeFont::Make(kTextPoints, FW_NORMAL);
    m_field.SetFont(m_hFont);
    Arrange();
    return true;
}

// --- Text ---------------------------------------------------------------------------------------------------------

std::u16string TextLine::Text() const {
    std::u16string text(static_cast<std::size_t>(m_field.GetWindowTextLengthW()), u'\0');
    m_field.GetWindowTextW(text.data(), static_cast<int>(text.size()) + 1);
    return text;
}

void TextLine::SetText(const std::u16string& text) {
    m_field.SetWindowTextW(text.c_str());
    MoveCaretToEnd();
}

void TextLine::MoveCaretToEnd() {
    const auto end = static_cast<WPARAM>(m_field.GetWindowTextLengthW());
    m_field.SendMessageW(EM_SETSEL, end, static_cast<LPARAM>(end));
}

void TextLine::Type(WCHAR unit) {
    MoveCaretToEnd();
    TakeFocus();
    m_field.SendMessageW(WM_CHAR, unit, 1);
}

LRESULT TextLine::OnCommand(WPARAM wParam, LPARAM lParam, bool& handled) {
    if (reinterpret_cast<HWND>(lParam) != m_field.GetHWnd()) return CeWnd::OnCommand(wParam, lParam, handled);
    handled = true;
    InvalidateRect(nullptr, FALSE); // the cross comes and goes with the text, the frame shows the focus
    if (HIWORD(wParam) == EN_CHANGE && changed) changed();
    return 0;
}

// --- Places and painting ------------------------------------------------------------------------------------------

RECT TextLine::Box() const {
    RECT box{};
    GetClientRect(&box);
    InflateRect(&box, -Scaled(kInset), -Scaled(kInset));
    return box;
}

RECT TextLine::Cross() const {
    RECT cell = Box();
    cell.left = cell.right - Scaled(kCrossCell);
    return cell;
}

void TextLine::Arrange() {
    RECT inside = Box();
    InflateRect(&inside, -Scaled(2), -Scaled(2));
    inside.left = Box().left + Scaled(kPictureCell);
    inside.right = Cross().left;
    m_field.MoveWindow(inside.left, inside.top, inside.right - inside.left, inside.bottom - inside.top);
    InvalidateRect(nullptr, FALSE);
}

LRESULT TextLine::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    if (m_field.GetHWnd()) Arrange();
    return CeWnd::OnSize(type, cx, cy, handled);
}

void TextLine::PaintCross(HDC hdc) const {
    RECT cell = Cross();
    InflateRect(&cell, -Scaled(2), -Scaled(2));
    if (m_pressed) FillColor(hdc, cell, ColorOf(Paint::Heading));
    const ChromeFont font(kCrossPoints, FW_BOLD);
    const HGDIOBJ former = SelectObject(hdc, font);
    SetBkMode(hdc, TRANSPARENT);
    SetTextColor(hdc, ColorOf(Paint::Quiet));
    DrawTextW(hdc, u"\u00D7", 1, &cell, DT_SINGLELINE | DT_CENTER | DT_VCENTER | DT_NOPREFIX);
    SelectObject(hdc, former);
}

LRESULT TextLine::OnPaint(bool& handled) {
    handled = true;
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(&paint);
    if (!hdc) return 0;
    FillColor(hdc, paint.rcPaint, ColorOf(Paint::Window));
    const RECT box = Box();
    const bool focused = HasFocus();
    FrameColor(hdc, box, ColorOf(focused ? Paint::Focus : Paint::Line), Scaled(focused ? 2 : 1));
    const int side = Scaled(kPictureSide);
    PNGPicture::DrawFromResources(hdc, Middle(box.left, box.left + Scaled(kPictureCell), side),
                                  Middle(box.top, box.bottom, side), side, side, g_hResources,
                                  kPictureSearch);
    if (!IsEmpty()) PaintCross(hdc);
    EndPaint(&paint);
    return 0;
}

LRESULT TextLine::OnEraseBkgnd(HDC, bool& handled) {
    handled = true;
    return 1;
}

// The prompt lies over what the field has painted; both begin at the same place.
LRESULT TextLine::Field::OnPaint(bool& handled) {
    handled = true;
    Default();
    if (GetWindowTextLengthW() > 0) return 0;
    RECT place{};
    GetClientRect(&place);
    InflateRect(&place, -Scaled(kFieldMargin), 0);
    const HDC hdc = GetDC();
    const ChromeFont font(kTextPoints, FW_NORMAL);
    const HGDIOBJ former = SelectObject(hdc, font);
    SetBkMode(hdc, TRANSPARENT);
    SetTextColor(hdc, ColorOf(Paint::Quiet));
    DrawTextW(hdc, prompt.c_str(), -1, &place, DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS | DT_NOPREFIX);
    SelectObject(hdc, former);
    ReleaseDC(hdc);
    return 0;
}

// --- The pointer --------------------------------------------------------------------------------------------------

void TextLine::Press(bool pressed) {
    m_pressed = pressed;
    InvalidateRect(nullptr, FALSE);
}

// Beside the field is the field too, but for the cell.
LRESULT TextLine::OnLButtonDown(WPARAM, POINT point, bool& handled) {
    handled = true;
    const RECT cell = Cross();
    if (IsEmpty() || !PtInRect(&cell, point)) return TakeFocus(), 0;
    SetCapture();
    Press(true);
    return 0;
}

LRESULT TextLine::OnLButtonUp(WPARAM, POINT point, bool& handled) {
    handled = true;
    if (!m_pressed) return 0;
    ReleaseCapture(); // which ends the press
    const RECT cell = Cross();
    if (!PtInRect(&cell, point)) return 0;
    SetText(u"");
    TakeFocus();
    return 0;
}

LRESULT TextLine::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    if ((msg == WM_CAPTURECHANGED || msg == WM_CANCELMODE) && m_pressed) Press(false);
    if (msg != WM_SETFOCUS) return CeWnd::OnMessage(msg, wParam, lParam, handled);
    handled = true;
    TakeFocus();
    return 0;
}

} // namespace qn
