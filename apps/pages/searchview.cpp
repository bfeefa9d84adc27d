#include "apps/pages/searchview.h"

#include "NorvoTools/registryfunctions.h"
#include "NorvoUI/modalkeys.h"
#include "Platform/clock.h"
#include "NorvoTools/HTMLEscape.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

namespace {

constexpr const WCHAR* kShell = u"Software\\Norvo\\Quillonary\\Shell";
constexpr const WCHAR* kKindsName = u"SearchKinds";
constexpr const WCHAR* kInNotesName = u"SearchInNotes";
constexpr const WCHAR* kBySoundName = u"SearchBySound";
constexpr const WCHAR* kView = u"Software\\Norvo\\Quillonary\\SV"; // the engine's
constexpr const WCHAR* kOrderName = u"dwSort";
constexpr const WCHAR* kDescendingName = u"bDescending";

constexpr UINT kPause = 250;        // milliseconds without a key, before a search
constexpr DWORD kBetweenRows = 100; // milliseconds: rows that come are shown in bundles
constexpr WPARAM kPauseTimer = 16;

constexpr int kKindsHeight = 32; // pixels at 96 dots an inch, as the next
constexpr int kKindWidth = 76;
constexpr int kBesideWidth = 640; // from which on the kinds stand beside the line
constexpr int kStep = 20;         // a picture and a blank

struct Kind {
    const WCHAR* word;
    SearchKind bit;
};
constexpr Kind kKinds[] = {{u"Calendar", kFindAppointments},
                           {u"Tasks", kFindTasks},
                           {u"Contacts", kFindContacts},
                           {u"Notes", kFindNotes},
                           {u"Journal", kFindJournal}};

struct Order {
    LONG sort;
    const WCHAR* words;
};
constexpr Order kOrders[] = {{0, u"By kind and name"},
                             {kSearchByDate, u"By kind and date"},
                             {kSearchByCategory, u"By kind and category"},
                             {kSearchByPureDate, u"By date"}};

// Days from today, both included; kNoDay: open.
struct Dates {
    const WCHAR* words;
    LONG first;
    LONG last;
};
constexpr Dates kDates[] = {{u"Any date", kNoDay, kNoDay},
                            {u"From today on", 0, kNoDay},
                            {u"Next 30 days", 0, 30},
                            {u"Last 30 days", -30, 0},
                            {u"Last 12 months", -365, 0}};

std::u16string Trimmed(const std::u16string& text) {
    const std::size_t first = text.find_first_not_of(u' ');
    return first == std::u16string::npos ? u"" : text.substr(first, text.find_last_not_of(u' ') + 1 - first);
}

LONG ReadOrder() { return static_cast<LONG>(ReadRegistryWithDefault(kView, kOrderName, 0)); }
bool ReadDescending() { return ReadRegistryWithDefault(kView, kDescendingName, 1) != 0; }

} // namespace

SearchView::SearchView() : m_data([this] { Loaded(); }) {
    m_data.busy = [this](bool busy) { ShowBusy(busy); };
    m_data.progress = [this](LONG count) { TakeSome(count); };
    m_line.changed = [this] { Typed(); };
    m_wishes.kinds = ReadRegistryWithDefault(kShell, kKindsName, kFindAll) & kFindAll;
    m_wishes.inNotes = ReadRegistryWithDefault(kShell, kInNotesName, 0) != 0;
    m_wishes.bySound = ReadRegistryWithDefault(kShell, kBySoundName, 0) != 0;
}

bool SearchView::OpenBody(const RECT& inside) {
    if (!m_line.Open(GetHWnd(), inside, u"Search everything") || !m_kinds.Open(GetHWnd(), inside))
        return false;
    FillKinds();
    return ListView::OpenBody(inside);
}

void SearchView::PlaceBody(const RECT& place) {
    const int height = TextLine::Height();
    const LONG top = std::min<LONG>(place.top + height, place.bottom);
    const bool beside = place.right - place.left >= Scaled(kBesideWidth);
    const LONG right =
        beside ? place.right - static_cast<LONG>(std::size(kKinds)) * Scaled(kKindWidth) : place.right;
    const LONG below = beside ? top : std::min<LONG>(top + Scaled(kKindsHeight), place.bottom);
    MoveTo(m_line, {place.left, place.top, right, top});
    MoveTo(m_kinds,
           beside ? RECT{right, place.top, place.right, top} : RECT{place.left, top, place.right, below});
    PlaceList({place.left, below, place.right, place.bottom});
}

void SearchView::ShowBody(bool show) {
    ListView::ShowBody(show);
    m_line.ShowWindow(show ? SW_SHOWNA : SW_HIDE);
    m_kinds.ShowWindow(show ? SW_SHOWNA : SW_HIDE);
}

std::vector<HWND> SearchView::BodyStops() const {
    return {m_line.FocusWindow(), m_kinds.GetHWnd(), ListWindow()};
}

void SearchView::FocusBody() { SelectedRow() == kNoRow ? m_line.TakeFocus() : ListView::FocusBody(); }

// Names from A on, as long as nobody has settled it.
void SearchView::Begin() {
    if (std::exchange(m_begun, true)) return;
    DWORD value = 0;
    if (GetFromRegistry(HKEY_CURRENT_USER, kView, kDescendingName, &value) != 0)
        SetToRegistry(HKEY_CURRENT_USER, kView, kDescendingName, 0);
    Search();
    ShowRows();
}

void SearchView::CategoriesChosen(std::vector<std::u16string> names) {
    m_data.SetCategories(std::move(names));
    Search();
}

// --- The question -------------------------------------------------------------------------------------------------

void SearchView::Find(const std::u16string& text) {
    m_line.SetText(text);
    Search();
}

// What was looked for before isn't wanted any more.
void SearchView::Typed() {
    if (!m_begun) return;
    m_data.Ask({});
    m_waiting = true;
    SetTimer(kPauseTimer, kPause);
    if (m_line.Text().empty()) Search();
}

void SearchView::TimerOver(WPARAM) { Search(); }

SearchQuestion SearchView::QuestionNow() const {
    SearchQuestion question = m_wishes;
    question.text = Trimmed(m_line.Text());
    const Dates& dates = kDates[m_dates];
    const auto today = static_cast<LONG>(Today());
    if (dates.first != kNoDay) question.first = today + dates.first;
    if (dates.last != kNoDay) question.last = today + dates.last;
    question.byAge = dates.first == 0;
    return question;
}

// On another day the dates are others.
void SearchView::Reload() { m_data.Question() == QuestionNow() ? m_data.Reload() : Search(); }

void SearchView::Search() {
    KillTimer(kPauseTimer);
    m_waiting = false;
    if (!m_begun) return;
    const SearchQuestion question = QuestionNow();
    m_taken = 0;
    m_takenAt = 0;
    m_fresh = true;
    m_data.Ask(question);
    if (!question.text.empty()) return;
    m_rows.clear();
    m_count = 0;
    m_done = false;
    ShowRows();
    FillBar();
}

void SearchView::Keep() {
    SetToRegistry(HKEY_CURRENT_USER, kShell, kKindsName, m_wishes.kinds);
    SetToRegistry(HKEY_CURRENT_USER, kShell, kInNotesName, m_wishes.inNotes);
    SetToRegistry(HKEY_CURRENT_USER, kShell, kBySoundName, m_wishes.bySound);
}

void SearchView::Change(bool SearchQuestion::*wish) {
    m_wishes.*wish = !(m_wishes.*wish);
    Keep();
    Search();
}

void SearchView::FillKinds() {
    std::vector<Bar::Cell> cells;
    for (const Kind& kind : kKinds)
        cells.push_back({kind.word, 0,
                         [this, &kind] {
                             m_wishes.kinds ^= kind.bit;
                             Keep();
                             FillKinds();
                             Search();
                         },
                         0, (m_wishes.kinds & kind.bit) != 0});
    m_kinds.SetCells(std::move(cells));
}

// --- What was found -----------------------------------------------------------------------------------------------

// The search goes on when this returns, and has its list to itself again. Of one that is only done anew the rows come all
// at once: those that are shown are its answer so far.
void SearchView::TakeSome(LONG count) {
    const DWORD now = GetTickCount();
    if (!m_fresh || !m_data.IsCurrent() || (m_takenAt != 0 && now - m_takenAt < kBetweenRows)) return;
    if (m_taken == 0) m_rows.clear();
    while (m_taken < count) m_rows.push_back(SearchRow::Of(*m_data.Loading().GetList().Get(++m_taken)));
    m_takenAt = std::max<DWORD>(now, 1);
    m_count = count;
    m_done = false;
    m_shown = m_data.Question();
    ShowRows();
    FillBar();
}

// Of a new question the first rows are seen, or the one that is selected.
void SearchView::Loaded() {
    m_done = true;
    m_shown = m_data.Question();
    FillRows();
    if (std::exchange(m_fresh, false)) SelectedRow() == kNoRow ? ShowAtTop(0) : SelectRow(SelectedRow());
}

void SearchView::FillRows() {
    m_rows.clear();
    CSearchThread& search = m_data.Shown();
    if (m_shown.byAge)
        for (const DATAPARENT* header : search.GetGroups()) AddHeading(*header);
    else
        for (const DATAGENERAL* row : search.GetList()) m_rows.push_back(SearchRow::Of(*row));
    m_count = search.GetActiveDataCount();
    ShowRows();
    FillBar();
}

void SearchView::AddHeading(const DATAPARENT& header) {
    m_rows.push_back(SearchRow::OfHeading(header));
    if (IsClosed(m_rows.back())) return;
    for (const DATAGENERAL* row : header.m_listChildren) m_rows.push_back(SearchRow::Of(*row));
}

// --- Rows ---------------------------------------------------------------------------------------------------------

std::u16string SearchView::RowText(std::size_t index) {
    SearchRow& row = m_rows[index];
    if (!IsItem(index)) return SearchHeadingText(row, !IsClosed(row));
    row.TellWhere(m_shown.text);
    return SearchRowText(row, m_shown.text);
}

int SearchView::Indent(std::size_t row) const { return IsItem(row) ? Scaled(4) : 0; }
int SearchView::WrapIndent(std::size_t) const { return Scaled(kStep); }

void SearchView::ActOnHeading(std::size_t index) {
    const std::u16string title = m_rows[index].title;
    if (!m_closed.insert(title).second) m_closed.erase(title);
    FillRows();
}

bool SearchView::RowKey(std::size_t row, WPARAM key) {
    if (row == kNoRow || IsItem(row)) return false;
    if (key != static_cast<WPARAM>(IsClosed(m_rows[row]) ? VK_RIGHT : VK_LEFT)) return false;
    return ActOnHeading(row), true;
}

std::vector<MenuRow> SearchView::ItemMenu(std::size_t) {
    return {{u"Open\tEnter", [this] { OpenCurrent(); }}};
}

// --- The empty list -----------------------------------------------------------------------------------------------

SearchView::Offer SearchView::OfferMore() {
    if (m_wishes.kinds != kFindAll)
        return {u"Search everywhere", [this] {
                    m_wishes.kinds = kFindAll;
                    Keep();
                    FillKinds();
                    Search();
                }};
    if (!m_wishes.inNotes) return {u"Search in notes too", [this] { Change(&SearchQuestion::inNotes); }};
    if (m_dates != 0) return {u"Search all dates", [this] { SetDates(0); }};
    if (!Categories().empty()) return {u"Search all categories", [this] { ShowCategories({}); }};
    return {};
}

std::u16string SearchView::EmptyText() const {
    if (!m_waiting && m_data.Question().text.empty())
        return u"What you look for will stand here.<BR>Write a word of it, or a part of a number, above.";
    if (!m_done || m_waiting) return {};
    const std::u16string text = u"Nothing was found for \"" + HTMLEscape(Shortened(m_shown.text)) + u"\".";
    const Offer offer = const_cast<SearchView*>(this)->OfferMore();
    return offer.words ? text + u"<BR><BR><U><A=more>" + FontTag(Paint::Link) + offer.words + u"</A></U>"
                       : text;
}

void SearchView::FillEmpty() {
    if (m_data.Question().text.empty()) return m_line.TakeFocus();
    const Offer offer = OfferMore();
    if (m_done && offer.act) offer.act(); // else there is no link by now
}

// --- Menus --------------------------------------------------------------------------------------------------------

std::vector<Bar::Cell> SearchView::TitleCells() {
    std::u16string title = u"<B>Search</B>";
    if (m_count > 0) title += u" " + Utf16(std::to_string(m_count));
    return {{title + u" \u25BE", 0, [this] { ShowTitleMenu(OrderRows()); }}};
}

std::vector<MenuRow> SearchView::MenuRows() {
    return {{u"Order and dates ...", [this] { ShowTitleMenu(OrderRows()); }}};
}

std::vector<MenuRow> SearchView::OrderRows() {
    std::vector<MenuRow> rows;
    const LONG shown = ReadOrder();
    const bool descending = ReadDescending();
    const bool free = kDates[m_dates].first != 0; // else they stand under headers, by date
    for (const Order& order : kOrders)
        rows.push_back({order.words, [this, &order, descending] { Sort(order.sort, descending); }, free,
                        free && order.sort == shown});
    rows.push_back(
        {u"Descending", [this, shown, descending] { Sort(shown, !descending); }, free, free && descending});
    rows.push_back({});
    rows.push_back({u"In notes too", [this] { Change(&SearchQuestion::inNotes); }, true, m_wishes.inNotes});
    rows.push_back(
        {u"Names that sound alike", [this] { Change(&SearchQuestion::bySound); }, true, m_wishes.bySound});
    rows.push_back({});
    for (int i = 0; i < static_cast<int>(std::size(kDates)); ++i)
        rows.push_back({kDates[i].words, [this, i] { SetDates(i); }, true, i == m_dates});
    return rows;
}

void SearchView::SetDates(int choice) {
    m_dates = choice;
    Search();
}

void SearchView::Sort(LONG order, bool descending) {
    SetToRegistry(HKEY_CURRENT_USER, kView, kOrderName, static_cast<DWORD>(order));
    SetToRegistry(HKEY_CURRENT_USER, kView, kDescendingName, descending);
    if (!m_done) return m_data.Reload();
    m_data.Change([](CSearchThread& search) {
        search.SettingChange();
        search.SortDataList();
    });
    FillRows();
}

// --- Keys ---------------------------------------------------------------------------------------------------------

void SearchView::GoToList() {
    if (m_rows.empty()) return;
    ListView::FocusBody();
    if (SelectedRow() == kNoRow) SelectRow(!IsItem(0) && m_rows.size() > 1 ? 1 : 0);
}

bool SearchView::TypingKey(WPARAM key) {
    switch (key) {
    case VK_ESCAPE:
        m_line.Text().empty() ? GoToList() : m_line.SetText(u"");
        return true;
    case VK_RETURN:
        SwallowCharacter(key); // it would open what is selected
        m_waiting ? Search() : GoToList();
        return true;
    case VK_DOWN:
        return GoToList(), true;
    default:
        return false;
    }
}

bool SearchView::BodyKey(WPARAM key) {
    if (key == VK_ESCAPE && !IsCardOpen()) return m_line.TakeFocus(), true;
    if (key == VK_UP && ::GetFocus() == ListWindow() && SelectedRow() == 0) return m_line.TakeFocus(), true;
    return ListView::BodyKey(key);
}

// What is typed over the list goes into the line.
LRESULT SearchView::OnChar(WPARAM code, UINT repeat, UINT flags, bool& handled) {
    constexpr WPARAM kBackspace = 8, kRubout = 0x7F;
    if ((code <= u' ' || code == kRubout) && code != kBackspace)
        return ListView::OnChar(code, repeat, flags, handled);
    handled = true;
    m_line.Type(static_cast<WCHAR>(code));
    return 0;
}

} // namespace qn
