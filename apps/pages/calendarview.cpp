#include "apps/pages/calendarview.h"

#include "NorvoUI/CNorvoMBox.h"
#include "QNGridCtrl/HTMLEscape.h"
#include "QNWorkerClass/COutlook.h"
#include "apps/pages/daypage.h"
#include "apps/pages/listpage.h"
#include "apps/pages/menu.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

namespace {

constexpr int kBarHeight = 40; // pixels at 96 dots an inch, as the others
constexpr int kWide = 700;
constexpr int kNarrow = 440;
constexpr int kCardWidth = 340;
constexpr int kNoticeHeight = 36;
constexpr int kUndoWidth = 64;
constexpr int kLetterWidth = 7; // of a text of many

// The calendar's ends, with room for a page.
constexpr LONG kFirstDay = 1;
constexpr LONG kLastDay = 949900;
constexpr LONG kSearchedDays = 5 * 366;

enum Timer : WPARAM { kBusyTimer = 1, kNoticeTimer, kTodayTimer };
constexpr UINT kBusyWait = 150; // milliseconds: a short load shows no line
constexpr UINT kNoticeTime = 10000;
constexpr UINT kTodayTime = 60000;

} // namespace

CalendarView::CalendarView() : m_data([this] { Loaded(); }) {
    m_data.busy = [this](bool busy) { ShowBusy(busy); };
    m_pages[static_cast<std::size_t>(PageKind::Day)] = std::make_unique<DayPage>(*this);
    m_pages[static_cast<std::size_t>(PageKind::Week)] = std::make_unique<WeekPage>(*this);
    m_pages[static_cast<std::size_t>(PageKind::Agenda)] = std::make_unique<AgendaPage>(*this);
}

bool CalendarView::Open(HWND parent, const RECT& rect) {
    const DWORD kind = parent ? WS_CHILD | WS_VISIBLE : WS_POPUP;
    if (!Create(nullptr, parent, rect, u"", kind | WS_CLIPCHILDREN | WS_CLIPSIBLINGS)) return false;
    const RECT inside{0, 0, rect.right - rect.left, rect.bottom - rect.top};
    bool opened = m_dateLine.Open(GetHWnd(), inside) && m_card.Open(GetHWnd(), inside) &&
                  m_notice.Open(GetHWnd(), inside);
    for (const auto& page : m_pages) opened = opened && page->Open(GetHWnd(), inside);
    Arrange();
    SetTimer(kTodayTimer, kTodayTime);
    return opened;
}

void CalendarView::GoTo(PageKind kind, LONG day) {
    m_kind = kind;
    m_day = std::clamp(day, kFirstDay, kLastDay);
    m_cardOid = 0;
    m_searching = m_nothingAhead = false;
    const DayRange range = Page().RangeOf(m_day);
    m_data.Load(std::max(range.first, kFirstDay), range.last);
    FillDateLine();
    if (moved) moved();
}

void CalendarView::ShowCategories(std::vector<std::u16string> names) {
    m_data.SetCategories(std::move(names));
    m_nothingAhead = false;
    m_data.Reload();
    if (filtered) filtered();
}

// The page appears with its lines, so that none is ever seen empty for a moment.
void CalendarView::Loaded() {
    if (m_searching) return Found();
    const DayRange range = Page().RangeOf(m_day);
    if (m_data.FirstDay() > std::max(range.first, kFirstDay) || m_data.LastDay() < range.last) return;
    m_today = static_cast<LONG>(Today());
    Page().Show(m_data, m_day);
    if (const DATACALENDAR* line = FindCarded())
        m_card.Show(*line);
    else
        m_cardOid = 0;
    const HWND focus = ::GetFocus();
    Arrange();
    FillDateLine();
    if (::IsChild(GetHWnd(), focus) && !::IsWindowVisible(focus)) TakeFocus(); // it was on another page
}

void CalendarView::ShowBusy(bool busy) {
    if (busy) {
        SetTimer(kBusyTimer, kBusyWait);
    } else {
        KillTimer(kBusyTimer);
        m_dateLine.SetBusy(false);
    }
}

LRESULT CalendarView::OnTimer(WPARAM id, bool& handled) {
    handled = true;
    if (id != kTodayTimer) KillTimer(id);
    if (id == kBusyTimer) m_dateLine.SetBusy(true);
    if (id == kNoticeTimer) EndNotice();
    if (id == kTodayTimer && m_today != static_cast<LONG>(Today())) m_data.Reload();
    return 0;
}

const DATACALENDAR* CalendarView::FindCarded() const {
    if (m_cardOid == 0) return nullptr;
    const auto& lines = m_data.Lines();
    const auto found = std::ranges::find_if(lines, [&](const DATACALENDAR* line) {
        return line->m_oid == m_cardOid && line->m_lDay == m_cardDay;
    });
    return found == lines.end() ? nullptr : *found;
}

// A page that waits for its first lines has none yet.
const DATACALENDAR* CalendarView::Current() const {
    const DATACALENDAR* line = IsCardAlone() || ::GetFocus() == m_card.FocusWindow() ? FindCarded()
                               : Page().IsWindowVisible() ? Page().SelectedLine(::GetFocus())
                                                          : nullptr;
    return line && line->m_nType == kLineAppointment ? line : nullptr;
}

bool CalendarView::IsWide() const { return Width() > Scaled(kWide); }
bool CalendarView::IsNarrow() const { return Width() < Scaled(kNarrow); }

int CalendarView::Width() const {
    RECT client{};
    GetClientRect(&client);
    return client.right;
}

void CalendarView::Arrange() {
    RECT client{};
    GetClientRect(&client);
    const int top = Scaled(kBarHeight);
    const int below = m_told ? Scaled(kNoticeHeight) : 0;
    const int height = std::max<int>(client.bottom - top - below, 0);
    const bool card = m_cardOid != 0;
    m_notice.MoveWindow(0, top + height, client.right, below);
    m_notice.ShowWindow(m_told ? SW_SHOWNA : SW_HIDE);
    const int side = card && IsWide() ? Scaled(kCardWidth) : 0;
    m_dateLine.MoveWindow(0, 0, client.right, top);
    const int left = card && side == 0 ? 0 : client.right - side;
    m_card.MoveWindow(left, top, client.right - left, height);
    m_card.ShowWindow(card ? SW_SHOWNA : SW_HIDE);
    for (const auto& page : m_pages) {
        const bool shown = page.get() == &Page() && (!card || side > 0);
        if (shown) page->MoveWindow(0, top, client.right - side - (side > 0 ? Scaled(1) : 0), height);
        page->ShowWindow(shown ? SW_SHOWNA : SW_HIDE);
    }
}

// Only a line beside the card is never covered.
LRESULT CalendarView::OnEraseBkgnd(HDC hdc, bool& handled) {
    handled = true;
    RECT client{};
    GetClientRect(&client);
    const HBRUSH brush = CreateSolidBrush(ColorOf(Paint::Line));
    FillRect(hdc, &client, brush);
    DeleteObject(brush);
    return 1;
}

LRESULT CalendarView::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    Arrange();
    FillDateLine();
    return CeWnd::OnSize(type, cx, cy, handled);
}

void CalendarView::TakeFocus() {
    if (IsCardAlone())
        m_card.TakeFocus();
    else
        Page().TakeFocus();
}

bool CalendarView::MoveFocus(bool forward) {
    std::vector<HWND> stops{m_dateLine.GetHWnd()};
    if (!IsCardAlone())
        for (const HWND list : Page().Lists()) stops.push_back(list);
    if (m_cardOid != 0) stops.push_back(m_card.FocusWindow());
    if (m_told) stops.push_back(m_notice.GetHWnd());
    if (!forward) std::ranges::reverse(stops);
    auto next = std::ranges::find(stops, ::GetFocus());
    next = next == stops.end() ? stops.begin() : next + 1;
    if (next == stops.end()) return false;
    ::SetFocus(*next);
    return true;
}

void CalendarView::SetTools(std::vector<Bar::Cell> tools) {
    m_tools = std::move(tools);
    FillDateLine();
}

void CalendarView::SetCover(const std::u16string& title, std::function<void()> back) {
    m_coverTitle = title;
    m_coverBack = std::move(back);
    FillDateLine();
}

void CalendarView::FillDateLine() {
    const bool narrow = IsNarrow();
    const int arrow = Scaled(narrow ? 32 : kBarHeight);
    std::vector<Bar::Cell> cells;
    if (!m_coverTitle.empty()) {
        cells.push_back({u"<B>\u2039</B>", arrow, m_coverBack});
        cells.push_back({u"<B>" + HTMLEscape(m_coverTitle) + u"</B>"});
    } else if (IsCardAlone()) {
        cells.push_back({u"<B>\u2039</B>", arrow, [this] { CloseCard(); }});
        cells.push_back({u"<B>Summary</B>"});
    } else {
        // With little room the date itself leads to today.
        const auto today = [this] { GoTo(m_kind, static_cast<LONG>(Today())); };
        cells.push_back({u"<B>\u2039</B>", arrow, [this] { Turn(-1); }});
        cells.push_back({u"<B>" + HTMLEscape(Page().Title(m_day, narrow)) + u"</B>", 0,
                         narrow ? std::function<void()>(today) : nullptr});
        if (!narrow) cells.push_back({u"Today", Scaled(52), today});
        cells.push_back({u"<B>\u203A</B>", arrow, [this] { Turn(1); }});
    }
    cells.insert(cells.end(), m_tools.begin(), m_tools.end());
    m_dateLine.SetCells(std::move(cells));
}

// --- The card -----------------------------------------------------------------------------------------------------

void CalendarView::ShowCard(const DATACALENDAR& line) {
    m_cardOid = line.m_oid;
    m_cardDay = line.m_lDay;
    m_card.Show(line);
    Arrange();
    FillDateLine();
}

void CalendarView::OpenItem(const DATACALENDAR& line) {
    ShowCard(line);
    TakeFocus();
}

void CalendarView::OpenCurrent() {
    if (const DATACALENDAR* line = Current()) OpenItem(*line);
}

// Beside the page the card follows the keys.
void CalendarView::SelectionMoved() {
    const DATACALENDAR* line = Page().SelectedLine(::GetFocus());
    if (line && m_cardOid != 0 && IsWide()) ShowCard(*line);
}

void CalendarView::CloseCard() {
    m_cardOid = 0;
    Arrange();
    FillDateLine();
    TakeFocus();
}

void CalendarView::ShowItemMenu(const DATACALENDAR& line, POINT point) {
    const bool appointment = line.m_nType == kLineAppointment;
    RunMenu(GetHWnd(), point,
            {{u"Open\tEnter", [this] { OpenCurrent(); }, appointment},
             {u"Delete ...\tDelete", [this] { DeleteCurrent(); }, appointment}});
}

// --- Changes ------------------------------------------------------------------------------------------------------

void CalendarView::MoveItem(const DATACALENDAR& line, DATE start) {
    const HRESULT result = MoveAppointment(line, start);
    if (FAILED(result)) COutlook::DisplayPIMSaveError(result);
    m_data.Reload(); // also to put back what could not be moved
}

// A message box serves messages meanwhile: the lines may be others when it is answered.
void CalendarView::DeleteCurrent() {
    const DATACALENDAR* found = Current();
    if (!found) return;
    const std::unique_ptr<DATACALENDAR> line(found->Copy());
    const std::u16string name = u"\"" + Shortened(TextOf(line->m_bstrSubject)) + u"\"";
    const std::u16string question =
        line->m_bRecurring ? u"Delete " + name + u" on " + LongDate(line->m_lDay) +
                                 u"?\n\nThe other dates of the series stay. This date can't be brought back."
                           : u"Delete " + name + u"?\n\nYou can undo it.";
    CNorvoMBox box(line->m_bRecurring ? nullptr : u"Delete_Appt");
    box.SetButtonText(IDOK, u"&Delete");
    if (box.Ask(GetHWnd(), question.c_str(), u"Delete", MB_OKCANCEL | MB_ICONQUESTION) != IDOK) return;
    Com<IItem> undo;
    const HRESULT result = DeleteAppointment(*line, undo);
    if (FAILED(result)) {
        COutlook::DisplayPIMSaveError(result);
    } else {
        m_undo = std::move(undo);
        Tell(u"Deleted: ", TextOf(line->m_bstrSubject), CanUndo());
    }
    m_data.Reload();
}

void CalendarView::Undo() {
    if (!CanUndo()) return;
    const HRESULT result = m_undo->Save();
    if (FAILED(result)) {
        COutlook::DisplayPIMSaveError(result);
    } else {
        m_undo = Com<IItem>();
        EndNotice();
    }
    m_data.Reload();
}

// In one line: of a name as much as there is room for.
void CalendarView::Tell(std::u16string_view what, std::u16string_view name, bool undo) {
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

void CalendarView::EndNotice() {
    const bool focused = ::GetFocus() == m_notice.GetHWnd();
    m_told = false;
    Arrange();
    if (focused) TakeFocus();
}

// --- The empty list -----------------------------------------------------------------------------------------------

std::u16string CalendarView::EmptyText() const {
    const bool all = m_data.Categories().empty();
    if (all && m_nothingAhead)
        return u"Appointments will stand here, by day. There are none ahead.<BR><BR>The command<BR><B>qn "
               u"import "
               u"FILE.ics</B><BR>reads a calendar.";
    const std::u16string link = u"<BR><BR><U><A=fill>" + FontTag(Paint::Link);
    if (all) return u"No appointments in these four weeks." + link + u"Go to the next one</A></U>";
    return u"No appointments of the chosen categories in these four weeks." + link +
           u"Show all categories</A></U>";
}

void CalendarView::FillEmpty() {
    if (!m_data.Categories().empty()) return ShowCategories({});
    if (m_nothingAhead) return;
    const DayRange range = Page().RangeOf(m_day);
    m_searching = true;
    m_data.Load(range.last + 1, std::min(range.last + kSearchedDays, kLastDay));
}

void CalendarView::Found() {
    const LONG last = Page().RangeOf(m_day).last;
    const auto& lines = m_data.Lines();
    const auto next =
        std::ranges::find_if(lines, [last](const DATACALENDAR* line) { return line->m_lDay > last; });
    const bool none = next == lines.end();
    GoTo(m_kind, none ? m_day : (*next)->m_lDay);
    m_nothingAhead = none;
}

// --- Keys ---------------------------------------------------------------------------------------------------------

bool CalendarView::Key(WPARAM key) {
    const bool onBar = ::GetFocus() == m_dateLine.GetHWnd() || ::GetFocus() == m_notice.GetHWnd();
    if (onBar && key == VK_ESCAPE) return TakeFocus(), true;
    if (onBar && key >= VK_LEFT && key <= VK_DOWN) return false;
    const bool card = IsCardAlone();
    switch (key) {
    case VK_ESCAPE:
        return m_cardOid != 0 && (CloseCard(), true);
    case VK_LEFT:
        return !card && (Turn(-1), true);
    case VK_RIGHT:
        return !card && (Turn(1), true);
    case VK_UP:
    case VK_DOWN:
        return !card && Page().BeginSelection();
    case VK_DELETE:
        return DeleteCurrent(), true;
    case VK_F1 + 4:
        return m_data.Reload(), true;
    case 'T':
        return !card && (GoTo(m_kind, static_cast<LONG>(Today())), true);
    default:
        return false;
    }
}

} // namespace qn
