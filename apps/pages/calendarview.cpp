#include "apps/pages/calendarview.h"

#include "Platform/poom.h"
#include "QNWorkerClass/COutlook.h"
#include "apps/pages/daypage.h"
#include "apps/pages/listpage.h"
#include "apps/pages/pagetext.h"
#include "apps/qn/support.h"

#include <algorithm>
#include <cmath>

namespace qn {

namespace {

constexpr int kBarHeight = 40; // pixels at 96 dots an inch, as the others
constexpr int kWide = 700;
constexpr int kNarrow = 440;
constexpr int kCardWidth = 340;

// The calendar's ends, with room for a page.
constexpr LONG kFirstDay = 1;
constexpr LONG kLastDay = 949900;

// An occurrence of a series becomes a changed one.
HRESULT MoveAppointment(const DATACALENDAR& line, DATE start) {
    Com<IDispatch> found;
    if (!g_pOutlook) return E_FAIL;
    HRESULT result = g_pOutlook->GetItemFromOid(line.m_oid, found.Out());
    auto item = found.As<IAppointment>(IID_IAppointment);
    if (FAILED(result) || !item) return FAILED(result) ? result : E_FAIL;
    if (line.m_bRecurring) {
        Com<IRecurrencePattern> pattern;
        Com<IAppointment> occurrence;
        result = item->GetRecurrencePattern(pattern.Out());
        if (SUCCEEDED(result)) result = pattern->GetOccurrence(std::floor(line.m_dtStart), occurrence.Out());
        if (FAILED(result)) return result;
        item = std::move(occurrence);
    }
    DATE now = 0;
    result = item->get_Start(&now);
    if (SUCCEEDED(result)) result = item->put_Start(now + (start - line.m_dtStart));
    return SUCCEEDED(result) ? item->Save() : result;
}

} // namespace

CalendarView::CalendarView() : m_data([this] { Loaded(); }) {
    m_pages[static_cast<std::size_t>(PageKind::Day)] = std::make_unique<DayPage>(*this);
    m_pages[static_cast<std::size_t>(PageKind::Week)] = std::make_unique<WeekPage>(*this);
    m_pages[static_cast<std::size_t>(PageKind::Agenda)] = std::make_unique<AgendaPage>(*this);
}

bool CalendarView::Open(HWND parent, const RECT& rect) {
    const DWORD kind = parent ? WS_CHILD | WS_VISIBLE : WS_POPUP;
    if (!Create(nullptr, parent, rect, u"", kind | WS_CLIPCHILDREN | WS_CLIPSIBLINGS)) return false;
    const RECT inside{0, 0, rect.right - rect.left, rect.bottom - rect.top};
    bool opened = m_dateLine.Open(GetHWnd(), inside) && m_card.Open(GetHWnd(), inside);
    for (const auto& page : m_pages) opened = opened && page->Open(GetHWnd(), inside);
    Arrange();
    return opened;
}

void CalendarView::GoTo(PageKind kind, LONG day) {
    m_kind = kind;
    m_day = std::clamp(day, kFirstDay, kLastDay);
    m_cardOid = 0;
    const DayRange range = Page().RangeOf(m_day);
    m_data.Load(std::max(range.first, kFirstDay), range.last);
    FillDateLine();
    if (moved) moved();
}

// The page appears with its lines, so that none is ever seen empty for a moment.
void CalendarView::Loaded() {
    const DayRange range = Page().RangeOf(m_day);
    if (m_data.FirstDay() > std::max(range.first, kFirstDay) || m_data.LastDay() < range.last) return;
    Page().Show(m_data, m_day);
    if (const DATACALENDAR* line = FindCarded())
        m_card.Show(*line);
    else
        m_cardOid = 0;
    Arrange();
    if (::IsChild(GetHWnd(), ::GetFocus())) TakeFocus(); // it may have been on another page
}

const DATACALENDAR* CalendarView::FindCarded() const {
    if (m_cardOid == 0) return nullptr;
    const auto& lines = m_data.Lines();
    const auto found = std::ranges::find_if(lines, [&](const DATACALENDAR* line) {
        return line->m_oid == m_cardOid && line->m_lDay == m_cardDay;
    });
    return found == lines.end() ? nullptr : *found;
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
    const int height = std::max<int>(client.bottom - top, 0);
    const bool card = m_cardOid != 0;
    const int side = card && IsWide() ? Scaled(kCardWidth) : 0;
    m_dateLine.MoveWindow(0, 0, client.right, top);
    const int left = card && side == 0 ? 0 : client.right - side;
    m_card.MoveWindow(left, top, client.right - left, height);
    m_card.ShowWindow(card ? SW_SHOWNA : SW_HIDE);
    for (const auto& page : m_pages) {
        const bool shown = page.get() == &Page() && (!card || side > 0);
        if (shown) page->MoveWindow(0, top, client.right - side, height);
        page->ShowWindow(shown ? SW_SHOWNA : SW_HIDE);
    }
}

LRESULT CalendarView::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    Arrange();
    FillDateLine();
    return CeWnd::OnSize(type, cx, cy, handled);
}

void CalendarView::TakeFocus() {
    if (m_cardOid != 0 && !IsWide())
        m_card.TakeFocus();
    else
        Page().TakeFocus();
}

void CalendarView::SetTools(std::vector<Bar::Cell> tools) {
    m_tools = std::move(tools);
    FillDateLine();
}

void CalendarView::FillDateLine() {
    const int small = Scaled(kBarHeight);
    std::vector<Bar::Cell> cells;
    if (m_cardOid != 0 && !IsWide()) {
        cells.push_back({u"<B>\u2039</B>", small, false, [this] { CloseCard(); }});
        cells.push_back({u"<B>Summary</B>", 0, false, nullptr});
    } else {
        // With little room the date itself leads to today.
        const auto today = [this] { GoTo(m_kind, static_cast<LONG>(Today())); };
        const bool narrow = IsNarrow();
        cells.push_back({u"<B>\u2039</B>", small, false, [this] { Turn(-1); }});
        cells.push_back({u"<B>" + Escaped(Page().Title(m_day, narrow)) + u"</B>", 0, false,
                         narrow ? std::function<void()>(today) : nullptr});
        if (!narrow) cells.push_back({u"Today", Scaled(52), false, today});
        cells.push_back({u"<B>\u203A</B>", small, false, [this] { Turn(1); }});
        cells.insert(cells.end(), m_tools.begin(), m_tools.end());
    }
    m_dateLine.SetCells(std::move(cells));
}

void CalendarView::OpenItem(const DATACALENDAR& line) {
    m_cardOid = line.m_oid;
    m_cardDay = line.m_lDay;
    m_card.Show(line);
    Arrange();
    FillDateLine();
    TakeFocus();
}

void CalendarView::CloseCard() {
    m_cardOid = 0;
    Arrange();
    FillDateLine();
    TakeFocus();
}

void CalendarView::MoveItem(const DATACALENDAR& line, DATE start) {
    const HRESULT result = MoveAppointment(line, start);
    if (FAILED(result)) COutlook::DisplayPIMSaveError(result);
    m_data.Reload(); // also to put back what could not be moved
}

bool CalendarView::Key(WPARAM key) {
    const bool card = m_cardOid != 0 && !IsWide();
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
    case 'T':
        return !card && (GoTo(m_kind, static_cast<LONG>(Today())), true);
    default:
        return false;
    }
}

} // namespace qn
