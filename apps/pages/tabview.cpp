#include "apps/pages/tabview.h"

#include "NorvoUI/CNorvoMBox.h"
#include "NorvoTools/HTMLEscape.h"
#include "QNWorkerClass/COutlook.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

namespace {

constexpr int kBarHeight = 40;   // pixels at 96 dots an inch, as the others
constexpr int kNarrowArrow = 28; // so that a date has its place on the smallest screen
constexpr int kWide = 700;
constexpr int kNarrow = 440;
constexpr int kCardWidth = 340;
constexpr int kNoticeHeight = 36;
constexpr int kUndoWidth = 64;
constexpr int kLetterWidth = 7; // of a text of many

enum Timer : WPARAM { kBusyTimer = 1, kNoticeTimer, kDayTimer };
constexpr UINT kBusyWait = 150; // milliseconds: a short load shows no line
constexpr UINT kNoticeTime = 10000;
constexpr UINT kDayTime = 60000;

} // namespace

bool TabView::Open(HWND parent, const RECT& rect) {
    const DWORD kind = parent ? WS_CHILD : WS_POPUP;
    if (!Create(nullptr, parent, rect, u"", kind | WS_CLIPCHILDREN | WS_CLIPSIBLINGS)) return false;
    const RECT inside{0, 0, rect.right - rect.left, rect.bottom - rect.top};
    const bool opened = m_bar.Open(GetHWnd(), inside) && m_card.Open(GetHWnd(), inside) &&
                        m_notice.Open(GetHWnd(), inside) && OpenBody(inside);
    if (opened) Arrange();
    m_today = static_cast<LONG>(Today());
    SetTimer(kDayTimer, kDayTime);
    return opened;
}

void TabView::ShowCategories(std::vector<std::u16string> names) {
    CategoriesChosen(std::move(names));
    if (filtered) filtered();
}

// --- Places -------------------------------------------------------------------------------------------------------

int TabView::Width() const {
    RECT client{};
    GetClientRect(&client);
    return client.right;
}

bool TabView::IsWide() const { return Width() > Scaled(kWide); }
bool TabView::IsNarrow() const { return Width() < Scaled(kNarrow); }
int TabView::ArrowWidth() const { return Scaled(IsNarrow() ? kNarrowArrow : kBarHeight); }

void TabView::Arrange() {
    RECT client{};
    GetClientRect(&client);
    const int top = Scaled(kBarHeight);
    const int below = m_told ? Scaled(kNoticeHeight) : 0;
    const int bottom = top + std::max<int>(client.bottom - top - below, 0);
    m_bar.MoveWindow(0, 0, client.right, top);
    m_notice.MoveWindow(0, bottom, client.right, below);
    m_notice.ShowWindow(m_told ? SW_SHOWNA : SW_HIDE);
    const int side = m_cardOpen && IsWide() ? Scaled(kCardWidth) : 0;
    const int left = m_cardOpen && side == 0 ? 0 : client.right - side;
    m_card.MoveWindow(left, top, client.right - left, bottom - top);
    m_card.ShowWindow(m_cardOpen ? SW_SHOWNA : SW_HIDE);
    const bool body = !m_cardOpen || side > 0;
    if (body) PlaceBody({0, top, client.right - side - (side > 0 ? Scaled(1) : 0), bottom});
    ShowBody(body);
    KeepFocusSeen();
}

// Keys would still go to a window that was hidden.
void TabView::KeepFocusSeen() {
    const HWND focus = ::GetFocus();
    if (IsWindowVisible() && ::IsChild(GetHWnd(), focus) && !::IsWindowVisible(focus)) TakeFocus();
}

LRESULT TabView::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    Arrange();
    FillBar();
    return CeWnd::OnSize(type, cx, cy, handled);
}

// Only a line beside the card is never covered.
LRESULT TabView::OnEraseBkgnd(HDC hdc, bool& handled) {
    handled = true;
    RECT client{};
    GetClientRect(&client);
    const HBRUSH brush = CreateSolidBrush(ColorOf(Paint::Line));
    FillRect(hdc, &client, brush);
    DeleteObject(brush);
    return 1;
}

// --- The bar ------------------------------------------------------------------------------------------------------

void TabView::SetTools(std::vector<Bar::Cell> tools) {
    m_tools = std::move(tools);
    FillBar();
}

void TabView::SetCover(const std::u16string& title, std::function<void()> back) {
    m_coverTitle = title;
    m_coverBack = std::move(back);
    FillBar();
}

void TabView::FillBar() {
    std::vector<Bar::Cell> cells;
    if (!m_coverTitle.empty()) {
        cells.push_back({u"<B>\u2039</B>", ArrowWidth(), m_coverBack});
        cells.push_back({u"<B>" + HTMLEscape(m_coverTitle) + u"</B>"});
    } else if (IsCardAlone()) {
        cells.push_back({u"<B>\u2039</B>", ArrowWidth(), [this] { CloseCard(); }});
        cells.push_back({u"<B>Summary</B>"});
    } else {
        cells = TitleCells();
    }
    for (Bar::Cell& tool : m_tools) {
        tool.width = ArrowWidth();
        cells.push_back(tool);
    }
    m_bar.SetCells(std::move(cells));
}

void TabView::ShowTitleMenu(const std::vector<MenuRow>& rows) {
    POINT corner{0, Scaled(kBarHeight)};
    ClientToScreen(&corner);
    RunMenu(GetHWnd(), corner, rows);
}

void TabView::ShowBusy(bool busy) {
    if (busy) {
        SetTimer(kBusyTimer, kBusyWait);
    } else {
        KillTimer(kBusyTimer);
        m_bar.SetBusy(false);
    }
}

LRESULT TabView::OnTimer(WPARAM id, bool& handled) {
    handled = true;
    if (id >= kFirstOwnTimer) return TimerOver(id), 0;
    if (id == kDayTimer) return SeeDay(), 0;
    KillTimer(id);
    if (id == kBusyTimer) m_bar.SetBusy(true);
    if (id == kNoticeTimer) EndNotice();
    return 0;
}

// "Today" is another day after midnight.
void TabView::SeeDay() {
    const auto today = static_cast<LONG>(Today());
    if (std::exchange(m_today, today) != today) Reload();
}

// --- The card -----------------------------------------------------------------------------------------------------

void TabView::ShowCard(const CardText& card) {
    m_card.Show(card);
    if (m_cardOpen) return;
    m_cardOpen = true;
    Arrange();
    FillBar();
}

void TabView::LoseCard() {
    if (!m_cardOpen) return;
    m_cardOpen = false;
    CardClosed();
    Arrange();
    FillBar();
}

void TabView::CloseCard() {
    LoseCard();
    TakeFocus();
}

// --- Changes ------------------------------------------------------------------------------------------------------

bool TabView::AskToDelete(const std::u16string& question, const WCHAR* remembered) {
    CNorvoMBox box(remembered);
    box.SetButtonText(IDOK, u"&Delete");
    return box.Ask(GetHWnd(), question.c_str(), u"Delete", MB_OKCANCEL | MB_ICONQUESTION) == IDOK;
}

void TabView::Undo() {
    if (!m_undo) return;
    const HRESULT result = m_undo();
    if (FAILED(result)) {
        COutlook::DisplayPIMSaveError(result);
    } else {
        m_undo = nullptr;
        EndNotice();
    }
    Reload();
}

void TabView::Tell(std::u16string_view what, std::u16string_view name) { ShowNotice(what, name, false); }

void TabView::Tell(std::u16string_view what, std::u16string_view name, UndoStep undo) {
    m_undo = std::move(undo);
    ShowNotice(what, name, CanUndo());
}

void TabView::ShowNotice(std::u16string_view what, std::u16string_view name, bool undo) {
    m_told = true;
    const int room = (Width() - (undo ? Scaled(kUndoWidth) : 0)) / Scaled(kLetterWidth);
    const int most = std::clamp(room - static_cast<int>(what.size()), 1, 60);
    std::vector<Bar::Cell> cells{
        {HTMLEscape(std::u16string(what) + Shortened(name, static_cast<std::size_t>(most)))}};
    if (undo) cells.push_back({u"<B>Undo</B>", Scaled(kUndoWidth), [this] { Undo(); }});
    m_notice.SetCells(std::move(cells));
    SetTimer(kNoticeTimer, kNoticeTime);
    Arrange();
}

void TabView::EndNotice() {
    m_told = false;
    Arrange();
}

// --- Keys ---------------------------------------------------------------------------------------------------------

void TabView::TakeFocus() {
    if (IsCardAlone())
        m_card.TakeFocus();
    else
        FocusBody();
}

bool TabView::MoveFocus(bool forward) {
    std::vector<HWND> stops{m_bar.GetHWnd()};
    if (!IsCardAlone())
        for (const HWND window : BodyStops()) stops.push_back(window);
    if (m_cardOpen) stops.push_back(m_card.FocusWindow());
    if (m_told) stops.push_back(m_notice.GetHWnd());
    if (!forward) std::ranges::reverse(stops);
    auto next = std::ranges::find(stops, ::GetFocus());
    next = next == stops.end() ? stops.begin() : next + 1;
    if (next == stops.end()) return false;
    ::SetFocus(*next);
    if (!IsOnCard()) BodyEntered();
    return true;
}

bool TabView::Key(WPARAM key) {
    if (key == VK_F1 + 4) return Reload(), true;
    if (IsTyping()) return TypingKey(key);
    const bool onBar = ::GetFocus() == m_bar.GetHWnd() || ::GetFocus() == m_notice.GetHWnd();
    if (onBar && key == VK_ESCAPE) return TakeFocus(), true;
    if (onBar && key >= VK_LEFT && key <= VK_DOWN) return false;
    if (!IsCardAlone() && BodyKey(key)) return true;
    switch (key) {
    case VK_ESCAPE:
        return m_cardOpen && (CloseCard(), true);
    case VK_DELETE:
        return DeleteCurrent(), true;
    default:
        return false;
    }
}

} // namespace qn
