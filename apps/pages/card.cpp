#include "apps/pages/card.h"

#include "NorvoTools/HTMLEscape.h"
#include "NorvoUI/chrome.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"

#include <algorithm>

namespace qn {

namespace {

constexpr int kLabelWidth = 90; // pixels at 96 dots an inch, as the next
constexpr int kFrame = 2;

std::u16string ShownWith(Paint ink, const std::u16string& markup) {
    return GroundTag(Paint::Window) + FontTag(ink) + markup;
}

} // namespace

bool Card::Open(HWND parent, const RECT& rect) {
    if (!Create(nullptr, parent, rect, u"", WS_CHILD | WS_CLIPCHILDREN | WS_CLIPSIBLINGS)) return false;
    const RECT inside{0, 0, rect.right - rect.left, rect.bottom - rect.top};
    if (!m_grid.InitWindow(GetHWnd(), inside, false, u"")) return false;
    m_grid.SetTouchScrolling(true);
    m_grid.SetLinesColor(ColorOf(Paint::Line));
    m_grid.SetShowVLines(false);
    m_grid.SetSelectionMode(3); // nothing is selected on a card
    return true;
}

void Card::Show(const CardText& card) {
    const RECT margins{Scaled(6), Scaled(4), Scaled(6), Scaled(4)};
    m_grid.BeginUpdate();
    m_grid.DestroyCells();
    m_grid.SetFixedRowCount(0);
    m_grid.SetDimensions(static_cast<DWORD>(card.fields.size()) + 1, 2);
    m_grid.SetColWidth(0, static_cast<WORD>(Scaled(kLabelWidth)));
    m_grid.SetColWidth(1, HTMLGridAxis::kAutomatic);
    m_grid.SetShowHLines(true);
    m_grid.CreateCells();
    m_grid.SetCellText(0, 0, ShownWith(Paint::Quiet, HTMLEscape(card.titleLabel)).c_str(), margins);
    m_grid.SetCellText(1, 0, ShownWith(Paint::Text, u"<B>" + HTMLEscape(card.title) + u"</B>").c_str(),
                       margins);
    for (std::size_t i = 0; i < card.fields.size(); ++i) {
        const auto row = static_cast<WORD>(i + 1);
        m_grid.SetCellText(0, row, ShownWith(Paint::Quiet, HTMLEscape(card.fields[i].first)).c_str(),
                           margins);
        m_grid.SetCellText(1, row, ShownWith(Paint::Text, HTMLEscapeLines(card.fields[i].second)).c_str(),
                           margins);
    }
    m_grid.EndUpdate();
}

LRESULT Card::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    const int frame = Scaled(kFrame);
    m_grid.MoveWindow(frame, frame, std::max(cx - 2 * frame, 0), std::max(cy - 2 * frame, 0));
    return CeWnd::OnSize(type, cx, cy, handled);
}

LRESULT Card::OnEraseBkgnd(HDC hdc, bool& handled) {
    handled = true;
    RECT client{};
    GetClientRect(&client);
    FillColor(hdc, client, ColorOf(::GetFocus() == m_grid.GetHWnd() ? Paint::Focus : Paint::Window));
    return 1;
}

LRESULT Card::Grid::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    if (msg == WM_SETFOCUS || msg == WM_KILLFOCUS) ::InvalidateRect(::GetParent(GetHWnd()), nullptr, TRUE);
    return CHTMLGrid::OnMessage(msg, wParam, lParam, handled);
}

} // namespace qn
