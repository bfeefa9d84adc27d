// What buttons a row has, how they lie and look.
#include "NorvoUI/CeIconButton.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/chrome.h"
#include "Platform/imaging.h"
#include "Platform/modules.h"

#include <algorithm>

namespace {

constexpr int kGap = 4; // pixels at 96 dots an inch, as the others
constexpr int kArrowWidth = 12;
constexpr int kCheckSide = 16;
constexpr int kCheckInset = 2;
constexpr int kCheckPoints = 9;
constexpr int kFocusInset = 3;
constexpr int kLeastPacked = 72;

int IconSide() {
    ChromePx(0); // the screen has been measured then
    return static_cast<int>(g_HIDPI_IconPixels);
}

} // namespace

CeIconButtonBase::~CeIconButtonBase() {
    if (m_hWnd) DestroyWindow();
    RemoveAll();
}

bool CeIconButtonBase::Create(HWND hParent, const RECT& rect, UINT id, DWORD style) {
    return CeWnd::Create(nullptr, hParent, rect, u"", WS_CHILD | WS_VISIBLE | WS_CLIPSIBLINGS | style, 0, id);
}

// --- The buttons --------------------------------------------------------------------------------------------------

void CeIconButtonBase::AddButton(UINT id, LPCWSTR text, WORD picture, DWORD flags, int width) {
    m_buttons.push_back({id, text ? text : u"", nullptr, flags, width});
    if (flags & ICONBUTTON_CHECK) SetIconText(id, text, FW_NORMAL, kCheckPoints); // as the fields round it
    SetIconImage(id, picture);
}

void CeIconButtonBase::RemoveAll() {
    for (const Button& button : m_buttons)
        if (button.icon) DestroyIcon(button.icon);
    m_buttons.clear();
    m_pressed = m_held = -1;
    m_focused = 0;
    if (m_hWnd) Repaint();
}

int CeIconButtonBase::IndexOf(UINT id) const {
    const auto found = std::ranges::find(m_buttons, id, &Button::id);
    return found == m_buttons.end() ? -1 : static_cast<int>(found - m_buttons.begin());
}

CeIconButtonBase::Button* CeIconButtonBase::Find(UINT id) {
    const int index = IndexOf(id);
    if (index < 0) return nullptr;
    if (m_hWnd) Repaint();
    return &At(index);
}

void CeIconButtonBase::SetIconText(UINT id, LPCWSTR text, int weight, int size) {
    Button* const button = Find(id);
    if (!button) return;
    button->text = text ? text : u"";
    button->weight = weight;
    button->size = size;
}

void CeIconButtonBase::SetIconImage(UINT id, WORD picture) {
    Button* const button = Find(id);
    if (!button) return;
    if (button->icon) DestroyIcon(button->icon);
    button->icon = picture != 0 ? LoadIconW(g_hResources, MAKEINTRESOURCEW(picture)) : nullptr;
}

void CeIconButtonBase::EnableButton(UINT id, bool enabled) {
    if (Button* const button = Find(id)) button->enabled = enabled;
}

void CeIconButtonBase::DepressButton(UINT id, bool depressed) {
    if (Button* const button = Find(id)) button->depressed = depressed;
}

bool CeIconButtonBase::IsDepressed(UINT id) const {
    const int index = IndexOf(id);
    return index >= 0 && At(index).depressed;
}

void CeIconButtonBase::SetOnWindow(bool onWindow) {
    m_onWindow = onWindow;
    if (m_hWnd) Repaint();
}

void CeIconButtonBase::SetPacked(bool packed) {
    m_packed = packed;
    if (m_hWnd) Repaint();
}

// --- Where they lie -----------------------------------------------------------------------------------------------

SIZE CeIconButtonBase::TextSize(const Button& button) const {
    const ChromeFont font(button.size, button.weight);
    const HDC hdc = CreateCompatibleDC(nullptr);
    const HGDIOBJ former = SelectObject(hdc, font);
    RECT box{};
    DrawTextW(hdc, button.text.c_str(), -1, &box, DT_CALCRECT | DT_SINGLELINE);
    SelectObject(hdc, former);
    DeleteDC(hdc);
    return {button.text.empty() ? 0 : box.right, box.bottom};
}

int CeIconButtonBase::WantedWidth(const Button& button) const {
    int width = TextSize(button).cx + 2 * ChromeMargin();
    if (button.icon) width += IconSide() + (button.text.empty() ? 0 : ChromePx(kGap));
    if (button.flags & ICONBUTTON_CHECK) width += ChromePx(kCheckSide + kGap);
    if (button.flags & ICONBUTTON_DROPDOWN) width += ChromePx(kArrowWidth);
    return width;
}

int CeIconButtonBase::IdealWidth() const {
    int width = 0;
    for (const Button& button : m_buttons)
        width +=
            button.width > 0 ? ChromePx(button.width) : std::max(WantedWidth(button), ChromePx(kLeastPacked));
    return width;
}

// Who has a width keeps it, the others share the rest; packed ones take what they need where all of them have room.
std::vector<RECT> CeIconButtonBase::Places() const {
    RECT client{};
    GetClientRect(&client);
    const int ideal = IdealWidth();
    const bool packed = m_packed && ideal <= client.right;
    int rest = client.right, shares = 0;
    for (const Button& button : m_buttons) button.width > 0 ? rest -= ChromePx(button.width) : ++shares;
    std::vector<RECT> places;
    LONG x = packed ? client.right - ideal : 0;
    for (const Button& button : m_buttons) {
        int width = ChromePx(button.width);
        if (button.width <= 0 && packed) {
            width = std::max(WantedWidth(button), ChromePx(kLeastPacked));
        } else if (button.width <= 0 && shares > 0) {
            width = std::max(rest, 0) / shares--;
            rest -= width;
        }
        places.push_back({x, 0, x + width, client.bottom});
        x += width;
    }
    return places;
}

int CeIconButtonBase::ButtonAt(POINT point) const {
    const std::vector<RECT> places = Places();
    const auto hit =
        std::ranges::find_if(places, [&](const RECT& place) { return PtInRect(&place, point) != 0; });
    return hit == places.end() ? -1 : static_cast<int>(hit - places.begin());
}

bool CeIconButtonBase::GetButtonRect(UINT id, RECT& rect) const {
    const int index = IndexOf(id);
    if (index < 0 || !m_hWnd) return false;
    rect = Places()[static_cast<std::size_t>(index)];
    ClientToScreen(&rect);
    return true;
}

// --- Painting -----------------------------------------------------------------------------------------------------

LRESULT CeIconButtonBase::OnPaint(bool& handled) {
    handled = true;
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(&paint);
    if (!hdc) return 0;
    FillColor(hdc, paint.rcPaint, m_onWindow ? GetSysColor(COLOR_WINDOW) : ChromeColor(CHROME_BAR));
    SetBkMode(hdc, TRANSPARENT);
    const std::vector<RECT> places = Places();
    const bool focus = GetFocus() == m_hWnd;
    for (int i = 0; i < Count(); ++i)
        PaintButton(hdc, At(i), places[static_cast<std::size_t>(i)], i == m_pressed, focus && i == m_focused);
    EndPaint(&paint);
    return 0;
}

void CeIconButtonBase::PaintButton(HDC hdc, const Button& button, const RECT& place, bool pressed,
                                   bool focused) const {
    const bool check = (button.flags & ICONBUTTON_CHECK) != 0;
    const bool active = button.depressed && !check;
    COLORREF text = m_onWindow ? GetSysColor(COLOR_WINDOWTEXT) : ChromeColor(CHROME_BAR_TEXT);
    if (pressed || active) {
        text = ChromeColor(pressed ? CHROME_BAR_TEXT : CHROME_ACTIVE_TEXT);
        FillColor(hdc, place, ChromeColor(pressed ? CHROME_BAR_PRESSED : CHROME_ACTIVE));
    }
    if (!button.enabled) text = m_onWindow ? GetSysColor(COLOR_GRAYTEXT) : ChromeColor(CHROME_LINE);
    PaintFace(hdc, button, place, text);
    if (!focused) return;
    RECT frame = place;
    InflateRect(&frame, -ChromePx(kFocusInset), -ChromePx(kFocusInset));
    FrameColor(hdc, frame, m_onWindow ? GetSysColor(COLOR_HIGHLIGHT) : ChromeColor(CHROME_FOCUS),
               ChromePx(1));
}

// Check box, picture, text and arrow side by side; all in the middle, but a check box stands left.
void CeIconButtonBase::PaintFace(HDC hdc, const Button& button, RECT place, COLORREF color) const {
    const LONG margin = ChromeMargin(), gap = ChromePx(kGap), middle = (place.top + place.bottom) / 2;
    LONG x = place.left + margin, right = place.right - margin;
    if (button.flags & ICONBUTTON_DROPDOWN) {
        right -= ChromePx(kArrowWidth);
        DrawMark(hdc, {right, place.top, right + ChromePx(kArrowWidth), place.bottom}, MARK_DOWN, color);
    }
    const LONG spare = right - x - (WantedWidth(button) - 2 * margin);
    if (button.flags & ICONBUTTON_CHECK) {
        const LONG side = ChromePx(kCheckSide);
        const RECT box = {x, middle - side / 2, x + side, middle - side / 2 + side};
        FrameColor(hdc, box, color, ChromePx(1));
        RECT mark = box;
        InflateRect(&mark, -ChromePx(kCheckInset), -ChromePx(kCheckInset));
        if (button.depressed) DrawMark(hdc, mark, MARK_CHECK, color);
        x = box.right + gap;
    } else if (spare > 0) {
        x += spare / 2;
    }
    if (button.icon) {
        const int side = IconSide();
        DrawIconEx(hdc, x, middle - side / 2, button.icon, side, side, 0, nullptr, DI_NORMAL);
        x += side + gap;
    }
    const ChromeFont font(button.size, button.weight);
    const HGDIOBJ former = SelectObject(hdc, font);
    RECT box = {x, place.top, right, place.bottom};
    SetTextColor(hdc, color);
    DrawTextW(hdc, button.text.c_str(), -1, &box, DT_SINGLELINE | DT_VCENTER | DT_END_ELLIPSIS);
    SelectObject(hdc, former);
}

LRESULT CeIconButtonBase::OnEraseBkgnd(HDC, bool& handled) {
    handled = true;
    return 1;
}

LRESULT CeIconButtonBase::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    Repaint();
    return CeWnd::OnSize(type, cx, cy, handled);
}
