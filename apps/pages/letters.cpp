#include "apps/pages/letters.h"

#include "NorvoUI/chrome.h"
#include "Platform/locale.h"
#include "Platform/strings.h"
#include "QNGridCtrl/DrawHTML.h"
#include "QNWorkerClass/quickfind.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"

#include <algorithm>

namespace qn {

namespace {

constexpr int kHeadingHeight = 22; // pixels at 96 dots an inch, as the next
constexpr int kHeadingPadding = 3;
constexpr int kTextLeft = 6;
constexpr int kStripWidth = 20;
constexpr int kLetterHeight = 13; // of one that can be read
constexpr int kLetterPoints = 8;

constexpr WCHAR kNoLetter = u'#';
constexpr WCHAR kHan = u'\u6F22'; // for all of its characters

int Compare(WCHAR a, WCHAR b) { return CompareStringW(LOCALE_USER_DEFAULT, kFindFlags, &a, 1, &b, 1); }

bool IsHan(WCHAR c) { return (c >= 0x3400 && c <= 0x9FFF) || (c >= 0xF900 && c <= 0xFAFF); }

WCHAR Capital(WCHAR c) {
    WCHAR text[] = {c, 0};
    _wcsupr(text);
    return text[0];
}

// A kana with its mark of voice stands under the one without, in hiragana.
WCHAR PlainKana(WCHAR c) {
    constexpr DWORD kSoundAlike = NORM_IGNORENONSPACE | NORM_IGNOREKANATYPE;
    if (c >= 0x30A1 && c <= 0x30F6) c = static_cast<WCHAR>(c - 0x60);
    for (WCHAR plain = static_cast<WCHAR>(c - 2); plain < c; ++plain)
        if (CompareStringW(LOCALE_USER_DEFAULT, kSoundAlike, &plain, 1, &c, 1) == CSTR_EQUAL) return plain;
    return c;
}

// Accents stay with their letter where the locale sorts them so, and stand behind Z where it doesn't.
WCHAR FindLetter(WCHAR c) {
    if (c >= 0xD800 && c < 0xE000) return kNoLetter; // half of a character
    if (IsHan(c)) return kHan;
    if (c >= 0x3043 && c <= 0x30FF) return PlainKana(c);
    if (Compare(c, u'A') == CSTR_LESS_THAN) return kNoLetter;
    if (Compare(c, u'Z') == CSTR_GREATER_THAN) return Capital(c);
    WCHAR letter = u'Z';
    while (letter > u'A' && Compare(c, letter) == CSTR_LESS_THAN) --letter;
    return letter;
}

} // namespace

// What the order of names passes over says nothing of where a name stands. Forms of one letter are that letter.
WCHAR Alphabet::LetterOf(std::u16string_view name) {
    const std::size_t start = name.find_first_not_of(u"-'\u2010\u2019 ");
    if (start == name.npos) return kNoLetter;
    if (const auto known = m_letters.find(name[start]); known != m_letters.end()) return known->second;
    const WCHAR letter = FindLetter(name[start]);
    const auto same = std::ranges::find_if(m_letters, [letter](const auto& known) {
        return letter > u'Z' && known.second > u'Z' && Compare(known.second, letter) == CSTR_EQUAL;
    });
    return m_letters[name[start]] = same == m_letters.end() ? letter : same->second;
}

// --- The heading --------------------------------------------------------------------------------------------------

std::u16string LetterHeading(WCHAR letter) {
    return GroundTag(Paint::Heading) + FontTag(Paint::Text) + u"<B>" + letter + u"</B>";
}

int LetterHeadingHeight() { return Scaled(kHeadingHeight); }
int LetterHeadingPadding() { return Scaled(kHeadingPadding); }

bool LetterLine::Open(HWND parent) {
    return Create(nullptr, parent, RECT{}, u"", WS_CHILD | WS_CLIPSIBLINGS);
}

void LetterLine::SetLetter(WCHAR letter) {
    if (letter == m_letter) return;
    m_letter = letter;
    InvalidateRect(nullptr, FALSE);
}

LRESULT LetterLine::OnPaint(bool& handled) {
    handled = true;
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(&paint);
    RECT place{};
    GetClientRect(&place);
    FillColor(hdc, place, ColorOf(Paint::Heading));
    if (m_letter != 0) {
        const std::u16string text = LetterHeading(m_letter);
        CHTMLParser parser;
        parser.SetHTML(text.c_str());
        parser.ParseHTML(nullptr);
        InflateRect(&place, -Scaled(kTextLeft), -LetterHeadingPadding());
        DrawHTML(hdc, place, 0, parser, nullptr, 0, HTML_NO_COLOR, true);
    }
    EndPaint(&paint);
    return 0;
}

LRESULT LetterLine::OnEraseBkgnd(HDC, bool& handled) {
    handled = true;
    return 1;
}

// --- The strip ----------------------------------------------------------------------------------------------------

bool LetterStrip::Open(HWND parent) {
    return Create(nullptr, parent, RECT{}, u"", WS_CHILD | WS_CLIPSIBLINGS);
}

int LetterStrip::Width() { return Scaled(kStripWidth); }

void LetterStrip::SetLetters(std::vector<WCHAR> letters) {
    if (letters == m_letters) return;
    m_letters = std::move(letters);
    Release();
    InvalidateRect(nullptr, FALSE);
}

// Each letter has its share of the height; where that is too low to read, some are left out.
LRESULT LetterStrip::OnPaint(bool& handled) {
    handled = true;
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(&paint);
    RECT client{};
    GetClientRect(&client);
    FillColor(hdc, client, ColorOf(m_pressed == kNone ? Paint::Window : Paint::Heading));
    const ChromeFont font(kLetterPoints, FW_NORMAL);
    const HGDIOBJ former = SelectObject(hdc, font);
    SetBkMode(hdc, TRANSPARENT);
    const std::size_t count = m_letters.size(), room = RoomFor(client);
    const std::size_t step = std::max<std::size_t>((count + room - 1) / room, 1);
    for (std::size_t i = 0; i < count; i += step) {
        RECT place{0, TopOf(i, client), client.right, TopOf(std::min(i + step, count), client)};
        const bool pressed = m_pressed >= i && m_pressed < i + step;
        SetTextColor(hdc, ColorOf(pressed ? Paint::Text : Paint::Quiet));
        DrawTextW(hdc, &m_letters[i], 1, &place, DT_SINGLELINE | DT_CENTER | DT_VCENTER | DT_NOPREFIX);
    }
    SelectObject(hdc, former);
    EndPaint(&paint);
    return 0;
}

LONG LetterStrip::TopOf(std::size_t letter, const RECT& client) const {
    return static_cast<LONG>(letter * static_cast<std::size_t>(client.bottom) / m_letters.size());
}

std::size_t LetterStrip::RoomFor(const RECT& client) {
    return static_cast<std::size_t>(std::max<LONG>(client.bottom / Scaled(kLetterHeight), 1));
}

LRESULT LetterStrip::OnEraseBkgnd(HDC, bool& handled) {
    handled = true;
    return 1;
}

void LetterStrip::Choose(POINT point) {
    RECT client{};
    GetClientRect(&client);
    if (m_letters.empty() || client.bottom <= 0) return;
    const LONG y = std::clamp<LONG>(point.y, 0, client.bottom - 1);
    const std::size_t index =
        static_cast<std::size_t>(y) * m_letters.size() / static_cast<std::size_t>(client.bottom);
    if (index == m_pressed) return;
    m_pressed = index;
    InvalidateRect(nullptr, FALSE);
    if (chosen) chosen(index);
}

void LetterStrip::Release() {
    if (m_pressed == kNone) return;
    m_pressed = kNone;
    InvalidateRect(nullptr, FALSE);
    if (GetCapture() == GetHWnd()) ReleaseCapture();
}

LRESULT LetterStrip::OnLButtonDown(WPARAM, POINT point, bool& handled) {
    handled = true;
    SetCapture();
    Choose(point);
    return 0;
}

LRESULT LetterStrip::OnMouseMove(WPARAM, POINT point, bool& handled) {
    handled = true;
    if (m_pressed != kNone) Choose(point);
    return 0;
}

LRESULT LetterStrip::OnLButtonUp(WPARAM, POINT, bool& handled) {
    handled = true;
    Release();
    return 0;
}

LRESULT LetterStrip::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    if (msg == WM_CAPTURECHANGED || msg == WM_CANCELMODE) Release();
    return CeWnd::OnMessage(msg, wParam, lParam, handled);
}

} // namespace qn
