#include "QNGridCtrl/MessageBoxDialog.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/chrome.h"
#include "NorvoUI/frametexts.h"
#include "QNGridCtrl/DrawHTML.h"
#include "NorvoTools/HTMLEscape.h"
#include "Resources/pictures.h"

#include <algorithm>
#include <utility>

namespace {

constexpr UINT kTextId = 100;
constexpr UINT kCheckId = 101;
constexpr int kTextWidth = 300; // pixels at 96 dots an inch, as below: of the longest lines
constexpr int kLeastWidth = 160;
constexpr int kPictureSide = 32;
constexpr int kPadding = 10; // round picture and text
constexpr int kLine = 20;

constexpr UINT kIconMask = 0xF0;
constexpr UINT kDefaultMask = 0xF00; // the number of the button that acts by default

WORD PictureOf(UINT type) {
    switch (type & kIconMask) {
    case MB_ICONHAND:
        return kPictureError;
    case MB_ICONQUESTION:
        return kPictureQuestion;
    case MB_ICONEXCLAMATION:
        return kPictureWarning;
    case MB_ICONASTERISK:
        return kPictureInformation;
    default:
        return 0;
    }
}

int ButtonCount(const int* ids) {
    int count = 0;
    while (ids[count] != 0) ++count;
    return count;
}

// What Escape answers: Cancel, else the last button, which takes nothing into work: No, or the only one. Ignoring does.
UINT CancelOf(const int* ids) {
    const int last = ids[ButtonCount(ids) - 1];
    return static_cast<UINT>(last == IDIGNORE ? IDABORT : last);
}

std::u16string BoxMarkup(std::u16string_view text) {
    WCHAR color[8], ground[8];
    ColorRefToHTML(GetSysColor(COLOR_WINDOWTEXT), color, 8);
    ColorRefToHTML(GetSysColor(COLOR_WINDOW), ground, 8);
    return std::u16string(u"<BODY BGCOLOR=") + ground + u"><FONT SIZE=2 NAME=\"Tahoma\" COLOR=" + color +
           u">" + HTMLEscapeLines(text);
}

} // namespace

MessageBoxDialog::MessageBoxDialog(LPCWSTR text, LPCWSTR caption, UINT type, CNorvoMBox* asking)
    : CeDialog(caption), m_markup(BoxMarkup(text ? text : u"")), m_type(type), m_pAsking(asking) {}

int MessageBoxDialog::Ask(HWND hOwner) {
    const int answer = DoModal(hOwner);
    const int* const ids = MessageBoxButtons(m_type);
    const bool given = std::find(ids, ids + ButtonCount(ids), answer) != ids + ButtonCount(ids);
    if (given && m_pAsking) m_pAsking->SetRemember(m_Check.IsDepressed(kCheckId));
    return given ? answer : static_cast<int>(CancelOf(ids));
}

// --- What stands in it --------------------------------------------------------------------------------------------

bool MessageBoxDialog::OnInitDialog() {
    AddButtons();
    AddPicture();
    m_Text.InitWindow(m_hWnd, RECT{}, false, u"");
    m_Text.ModifyStyle(WS_TABSTOP, 0);
    m_Text.BeginUpdate();
    m_Text.SetDimensions(1, 1);
    m_Text.SetColWidth(0, HTMLGridAxis::kAutomatic);
    m_Text.SetShowHLines(false);
    m_Text.SetShowVLines(false);
    m_Text.SetBorder(false);
    m_Text.SetBackColor(GetSysColor(COLOR_WINDOW));
    m_Text.SetSelectionMode(3); // nothing is selected here
    m_Text.CreateCells();
    m_Text.SetCellText(0, 0, m_markup.c_str());
    m_Text.EndUpdate();
    if (m_pAsking && m_pAsking->CanRemember() && m_Check.Create(m_hWnd, RECT{}, kCheckId)) {
        m_Check.SetOnWindow(true);
        m_Check.AddButton(kCheckId, FrameText(FRAMETEXT_DONT_ASK).c_str(), 0, ICONBUTTON_CHECK);
    }
    return false; // the button that acts by default has the focus
}

void MessageBoxDialog::AddButtons() {
    SetStandardButtons(false, false);
    const int* const ids = MessageBoxButtons(m_type);
    for (const int* id = ids; *id != 0; ++id) {
        const LPCWSTR own = m_pAsking ? m_pAsking->GetButtonText(*id) : nullptr;
        m_Menus.AddButton(static_cast<UINT>(*id), own ? own : ButtonText(*id).c_str());
    }
    const int asked = static_cast<int>((m_type & kDefaultMask) >> 8);
    SetDefaultCommand(static_cast<UINT>(ids[std::min(asked, ButtonCount(ids) - 1)]));
    SetCancelCommand(CancelOf(ids));
}

void MessageBoxDialog::AddPicture() {
    const WORD number = PictureOf(m_type);
    if (number != 0) m_Picture.Init(m_hWnd, g_hResources, number);
}

int MessageBoxDialog::PictureWidth() const {
    return m_Picture.GetHWnd() ? ChromePx(kPictureSide + kPadding) : 0;
}
int MessageBoxDialog::CheckHeight() const { return m_Check.GetHWnd() ? ChromeTapHeight() : 0; }

// Of the text in that width, and the width that it takes of it.
int MessageBoxDialog::TextHeight(int width, int* used) const {
    CHTMLParser parser;
    parser.SetHTML(m_markup.c_str());
    parser.ParseHTML(nullptr);
    RECT box = {0, 0, width, 0};
    const HDC hdc = GetDC();
    DrawHTML(hdc, box, 0, parser, nullptr, HTML_MEASURE, HTML_NO_COLOR, false);
    ReleaseDC(hdc);
    *used = static_cast<int>(box.right);
    return static_cast<int>(box.bottom);
}

SIZE MessageBoxDialog::GetContentSize(SIZE most) {
    const int around = 2 * ChromePx(kPadding) + PictureWidth();
    int width = 0;
    const int room = std::min(static_cast<int>(most.cx), ChromePx(kTextWidth) + around) - around;
    const int height = TextHeight(room, &width);
    const LONG wide =
        std::max({width + 1, ChromePx(kLeastWidth) - around, m_Check.GetHWnd() ? m_Check.IdealWidth() : 0});
    const LONG high = std::max(height, m_Picture.GetHWnd() ? ChromePx(kPictureSide) : 0);
    return {std::min<LONG>(wide, room) + around, high + 2 * ChromePx(kPadding) + CheckHeight()};
}

void MessageBoxDialog::OnLayout(const RECT& content) {
    RECT text = content;
    const LONG padding = ChromePx(kPadding), side = ChromePx(kPictureSide);
    text.bottom -= CheckHeight();
    m_Check.MoveWindow({content.left, text.bottom, content.right, content.bottom});
    InflateRect(&text, -padding, -padding);
    m_Picture.MoveWindow({text.left, text.top, text.left + side, std::min(text.top + side, text.bottom)});
    text.left += PictureWidth();
    int used = 0;
    const int height = TextHeight(static_cast<int>(text.right - text.left), &used);
    const LONG spare = text.bottom - text.top - height;
    if (spare > 0) text.top += spare / 2, text.bottom = text.top + height;
    m_Text.SetTouchScrolling(spare < 0);
    if (spare < 0) m_Text.ModifyStyle(0, WS_TABSTOP); // it can be scrolled by keys
    m_Text.MoveWindow(text);
}

// --- A long text --------------------------------------------------------------------------------------------------

LRESULT MessageBoxDialog::Text::OnVScroll(UINT code, int position) {
    if (code != SB_LINEUP && code != SB_LINEDOWN) return CHTMLGrid::OnVScroll(code, position);
    code == SB_LINEUP ? ScrollByPixelUp(ChromePx(kLine)) : ScrollByPixelDown(ChromePx(kLine));
    return 0;
}

LRESULT MessageBoxDialog::Text::OnKeyDown(WPARAM code, UINT repeat, UINT flags, bool& handled) {
    constexpr std::pair<int, UINT> kKeys[] = {{VK_UP, SB_LINEUP},    {VK_DOWN, SB_LINEDOWN},
                                              {VK_PRIOR, SB_PAGEUP}, {VK_NEXT, SB_PAGEDOWN},
                                              {VK_HOME, SB_TOP},     {VK_END, SB_BOTTOM}};
    const auto key = std::ranges::find(kKeys, static_cast<int>(code), &std::pair<int, UINT>::first);
    if (key == std::end(kKeys)) return CHTMLGrid::OnKeyDown(code, repeat, flags, handled);
    handled = true;
    return OnVScroll(key->second, 0);
}

// --- What the person does -----------------------------------------------------------------------------------------

LRESULT MessageBoxDialog::OnCommand(WPARAM wParam, LPARAM, bool& handled) {
    handled = true;
    if (LOWORD(wParam) != kCheckId) EndDialog(LOWORD(wParam));
    return 0;
}

bool MessageBoxDialog::OnLetter(WCHAR letter) {
    return CeDialog::OnLetter(letter) || (m_Check.GetHWnd() && m_Check.PressLetter(letter));
}
