#include "apps/pages/calendarview.h"

#include "NorvoTools/registryfunctions.h"
#include "NorvoTools/HTMLEscape.h"
#include "QNWorkerClass/COutlook.h"
#include "Resources/pictures.h"
#include "apps/pages/appointmentcard.h"
#include "apps/pages/changes.h"
#include "apps/pages/contactcard.h"
#include "apps/pages/daypage.h"
#include "apps/pages/listpage.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/searchcards.h"
#include "apps/pages/taskrow.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"

#include <algorithm>
#include <memory>

namespace qn {

namespace {

// The calendar's ends, with room for a page.
constexpr LONG kFirstDay = 1;
constexpr LONG kLastDay = 949900;
constexpr LONG kSearchedDays = 5 * 366;

constexpr int kTodayWidth = 52; // pixels at 96 dots an inch

struct Kind {
    const WCHAR* word;
    WORD picture;
};
// In the order of PageKind.
constexpr Kind kKinds[kPageKinds] = {
    {u"Day", kPictureDayPage}, {u"Week", kPictureWeekPage}, {u"Agenda", kPictureAgendaPage}};

CardText CardOf(const DATACALENDAR& line) {
    if (line.m_pTask) return TaskCard(*line.m_pTask);
    if (line.m_nType == kLineContactDate) return ContactCard(line.m_oid);
    if (line.m_nType == kLineJournal) return JournalCard(line.m_oid, u"");
    return AppointmentCard(line);
}

} // namespace

CalendarView::CalendarView() : m_data([this] { Loaded(); }) {
    m_data.busy = [this](bool busy) { ShowBusy(busy); };
    m_pages[static_cast<std::size_t>(PageKind::Day)] = std::make_unique<DayPage>(*this);
    m_pages[static_cast<std::size_t>(PageKind::Week)] = std::make_unique<WeekPage>(*this);
    m_pages[static_cast<std::size_t>(PageKind::Agenda)] = std::make_unique<AgendaPage>(*this);
}

bool CalendarView::OpenBody(const RECT& inside) {
    return std::ranges::all_of(m_pages, [&](const auto& page) { return page->Open(GetHWnd(), inside); });
}

void CalendarView::GoTo(PageKind kind, LONG day) {
    m_kind = kind;
    m_day = std::clamp(day, kFirstDay, kLastDay);
    m_searching = m_nothingAhead = false;
    m_data.SetPage(PageLetter());
    const DayRange range = Page().RangeOf(m_day);
    m_data.Load(std::max(range.first, kFirstDay), range.last);
    FillBar();
    if (moved) moved();
}

void CalendarView::CategoriesChosen(std::vector<std::u16string> names) {
    m_data.SetCategories(std::move(names));
    m_nothingAhead = false;
    m_data.Reload();
}

// The page appears with its lines, so that none is ever seen empty for a moment.
void CalendarView::Loaded() {
    if (m_searching) return Found();
    const DayRange range = Page().RangeOf(m_day);
    if (m_data.FirstDay() > std::max(range.first, kFirstDay) || m_data.LastDay() < range.last) return;
    Page().Show(m_data, m_day);
    if (const DATACALENDAR* line = FindCarded())
        ShowCard(CardOf(*line));
    else
        LoseCard();
    Arrange();
    FillBar();
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
    if (IsOnCard()) return FindCarded();
    return Page().IsWindowVisible() ? Page().SelectedLine(::GetFocus()) : nullptr;
}

void CalendarView::PlaceBody(const RECT& place) {
    Page().MoveWindow(place.left, place.top, place.right - place.left, place.bottom - place.top);
}

void CalendarView::ShowBody(bool show) {
    for (const auto& page : m_pages) page->ShowWindow(show && page.get() == &Page() ? SW_SHOWNA : SW_HIDE);
}

// With little room the date itself leads to today.
std::vector<Bar::Cell> CalendarView::TitleCells() {
    const bool narrow = IsNarrow();
    const std::u16string title = u"<B>" + HTMLEscape(Page().Title(m_day, narrow)) + u"</B>";
    std::vector<Bar::Cell> cells;
    cells.push_back({u"<B>\u2039</B>", ArrowWidth(), [this] { Turn(-1); }});
    if (narrow)
        cells.push_back({title, 0, [this] { GoToToday(); }});
    else
        cells.push_back({title});
    if (!narrow) cells.push_back({u"Today", Scaled(kTodayWidth), [this] { GoToToday(); }});
    cells.push_back({u"<B>\u203A</B>", ArrowWidth(), [this] { Turn(1); }});
    cells.push_back(
        {u"", ArrowWidth(), [this] { ChooseKind(); }, kKinds[static_cast<std::size_t>(m_kind)].picture});
    return cells;
}

std::vector<MenuRow> CalendarView::MenuRows() {
    std::vector<MenuRow> rows;
    for (int i = 0; i < kPageKinds; ++i) {
        const auto kind = static_cast<PageKind>(i);
        const std::u16string word = kKinds[i].word;
        rows.push_back({word + u"\t" + word[0], [this, kind] { GoTo(kind, m_day); }, true, kind == m_kind});
    }
    rows.push_back({});
    rows.push_back({u"Today\tT", [this] { GoToToday(); }});
    rows.push_back({});
    rows.push_back(Overlay(u"Birthdays", kShowBirthdays));
    rows.push_back(Overlay(u"Tasks", ShowTasksName(PageLetter())));
    rows.push_back(Overlay(u"Journal", ShowJournalName(PageLetter())));
    return rows;
}

// A row that turns a setting of the page on or off.
MenuRow CalendarView::Overlay(const WCHAR* word, const std::u16string& setting) {
    const bool shown = ReadRegistryWithDefault(kCalendarView, setting.c_str(), 0) != 0;
    const auto turn = [this, setting, shown] {
        SetToRegistry(HKEY_CURRENT_USER, kCalendarView, setting.c_str(), shown ? 0 : 1);
        m_data.Reload();
    };
    return {word, turn, true, shown};
}

void CalendarView::ChooseKind() {
    RECT place{};
    GetClientRect(&place);
    POINT corner{place.right, place.top};
    ClientToScreen(&corner);
    RunMenu(GetHWnd(), corner, MenuRows());
}

void CalendarView::GoToToday() { GoTo(m_kind, static_cast<LONG>(Today())); }

// --- The card -----------------------------------------------------------------------------------------------------

void CalendarView::ShowCardOf(const DATACALENDAR& line) {
    m_cardOid = line.m_oid;
    m_cardDay = line.m_lDay;
    ShowCard(CardOf(line));
}

void CalendarView::OpenItem(const DATACALENDAR& line) {
    ShowCardOf(line);
    TakeFocus();
}

void CalendarView::OpenCurrent() {
    if (const DATACALENDAR* line = Current()) OpenItem(*line);
}

// Beside the page the card follows the keys.
void CalendarView::SelectionMoved() {
    const DATACALENDAR* line = Page().SelectedLine(::GetFocus());
    if (line && m_cardOid != 0 && IsWide()) ShowCardOf(*line);
}

void CalendarView::ShowItemMenu(const DATACALENDAR& line, POINT point) {
    const bool appointment = line.m_nType == kLineAppointment;
    RunMenu(GetHWnd(), point,
            {{u"Open\tEnter", [this] { OpenCurrent(); }},
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
    if (!CanDelete()) return;
    const std::unique_ptr<DATACALENDAR> line(Current()->Copy());
    const std::u16string name = u"\"" + Shortened(TextOf(line->m_bstrSubject)) + u"\"";
    const std::u16string question =
        line->m_bRecurring ? u"Delete " + name + u" on " + LongDate(line->m_lDay) +
                                 u"?\n\nThe other dates of the series stay. This date can't be brought back."
                           : u"Delete " + name + u"?\n\nYou can undo it.";
    if (!AskToDelete(question, line->m_bRecurring ? nullptr : u"Delete_Appt")) return;
    Com<IItem> twin;
    const HRESULT result = DeleteAppointment(*line, twin);
    if (FAILED(result)) {
        COutlook::DisplayPIMSaveError(result);
    } else {
        std::function<HRESULT()> undo;
        if (twin) undo = [kept = std::make_shared<Com<IItem>>(std::move(twin))] { return (*kept)->Save(); };
        Tell(u"Deleted: ", TextOf(line->m_bstrSubject), std::move(undo));
    }
    m_data.Reload();
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

bool CalendarView::BodyKey(WPARAM key) {
    switch (key) {
    case VK_LEFT:
        return Turn(-1), true;
    case VK_RIGHT:
        return Turn(1), true;
    case VK_UP:
    case VK_DOWN:
        return !IsOnCard() && Page().BeginSelection();
    case 'T':
        return GoToToday(), true;
    case 'D':
        return GoTo(PageKind::Day, m_day), true;
    case 'W':
        return GoTo(PageKind::Week, m_day), true;
    case 'A':
        return GoTo(PageKind::Agenda, m_day), true;
    default:
        return false;
    }
}

} // namespace qn
