#include "apps/pages/contactsview.h"

#include "NorvoTools/CStr.h"
#include "NorvoTools/globals.h"
#include "NorvoUI/chrome.h"
#include "NorvoUI/modalkeys.h"
#include "NorvoTools/HTMLEscape.h"
#include "QNGridCtrl/PNGPicture.h"
#include "QNWorkerClass/contactssort.h"
#include "Resources/pictures.h"
#include "apps/pages/contactcard.h"
#include "apps/pages/contactrow.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"

#include <algorithm>
#include <utility>

namespace qn {

namespace {

constexpr int kRowHeight = 40; // pixels at 96 dots an inch, as the next
constexpr int kHeaderHeight = 32;
constexpr int kTwoLinesTop = 5;
constexpr int kOneLineTop = 12;
constexpr int kBesideBar = 4; // between the bar of a category and the text
constexpr int kCallWidth = 40;
constexpr int kCallPicture = 16;
constexpr std::size_t kLongList = 16; // rows, from which on a strip of letters stands beside the list

constexpr UINT kWarmWait = 200; // milliseconds: what was loaded is shown first

} // namespace

ContactsView::ContactsView() : m_data([this] { Loaded(); }) {
    m_data.busy = [this](bool busy) {
        ShowBusy(busy);
        if (!busy) SetTimer(kFirstOwnTimer, kWarmWait);
    };
    m_find.changed = [this] { FindTyped(); };
    m_strip.chosen = [this](std::size_t section) { GoToLetter(section); };
}

bool ContactsView::OpenBody(const RECT& inside) {
    return m_find.Open(GetHWnd(), inside, u"Find a name") && m_letter.Open(GetHWnd()) &&
           m_strip.Open(GetHWnd()) && ListView::OpenBody(inside) &&
           (List().SetMinRowHeight(static_cast<WORD>(Scaled(kRowHeight))), true);
}

// The line to find by, below it the letter of the first name in sight and the list, the letters beside it.
void ContactsView::PlaceBody(const RECT& place) {
    const LONG top = std::min<LONG>(place.top + TextLine::Height(), place.bottom);
    const LONG list = std::min<LONG>(top + (HasLetters() ? LetterHeadingHeight() : 0), place.bottom);
    const bool strip = m_sections.size() > 1 && m_lines.size() >= kLongList;
    const LONG right = place.right - (strip ? LetterStrip::Width() : 0);
    MoveTo(m_find, {place.left, place.top, place.right, top});
    MoveTo(m_letter, {place.left, top, place.right, list});
    MoveTo(m_strip, {right, list, place.right, place.bottom});
    PlaceList({place.left, list, right, place.bottom});
}

void ContactsView::ShowBody(bool show) {
    ListView::ShowBody(show);
    const int command = show ? SW_SHOWNA : SW_HIDE;
    m_find.ShowWindow(command);
    m_letter.ShowWindow(command);
    m_strip.ShowWindow(command);
}

void ContactsView::Begin() {
    if (!std::exchange(m_begun, true)) m_data.Reload();
}

void ContactsView::Reload() {
    m_data.Forget();
    m_data.Reload();
}

void ContactsView::CategoriesChosen(std::vector<std::u16string> names) {
    m_data.SetCategories(std::move(names));
    if (m_begun) m_data.Reload();
}

void ContactsView::TimerOver(WPARAM id) {
    KillTimer(id);
    m_data.Warm();
}

// --- Rows ---------------------------------------------------------------------------------------------------------

// What was typed is shown from its beginning; without it what was found last stays in sight.
void ContactsView::Loaded() {
    const bool lettered = HasLetters();
    const bool other = m_listed != m_data.ShownText();
    m_listed = m_data.ShownText();
    FillLines();
    ShowRows();
    if (lettered || HasLetters()) Arrange(); // behind that: a list of another size asks for rows
    if (other && (!m_listed.empty() || SelectedRow() == kNoRow))
        ShowAtTop(0);
    else if (other)
        SelectRow(SelectedRow());
    ShowLetter();
    FillBar();
    if (std::exchange(m_goToList, false)) GoToList();
}

void ContactsView::FillLines() {
    m_lines.clear();
    m_sections.clear();
    CContactsThread& thread = m_data.Shown();
    const ContactsDisplay format = thread.GetContactsDisplay();
    const bool lettered = IsByNames(format) && m_listed.empty();
    DWORD group = 0;
    for (DATACONTACTS* row : thread.GetList()) {
        if (row->m_bGroupHeader)
            group = static_cast<DWORD>(std::hash<std::u16string_view>()(CSTRView(row->m_szFileAs)));
        const WCHAR letter = lettered ? m_alphabet.LetterOf(OrderName(*row, format)) : WCHAR{0};
        if (lettered && (m_sections.empty() || m_sections.back().letter != letter)) {
            if (!m_sections.empty()) m_lines.push_back({nullptr, letter});
            m_sections.push_back({letter, m_lines.size()});
        }
        m_lines.push_back({row, 0, group});
    }
    std::vector<WCHAR> letters;
    for (const Section& section : m_sections) letters.push_back(section.letter);
    m_strip.SetLetters(std::move(letters));
}

bool ContactsView::IsItem(std::size_t row) const {
    return row < m_lines.size() && m_lines[row].row && !Row(row).m_bGroupHeader;
}

bool ContactsView::IsGrouped() const {
    return !m_lines.empty() && m_lines.front().row && Row(0).m_bGroupHeader != 0;
}

// One that stands under several headers counts once, but for a choice of them.
LONG ContactsView::Count() const {
    if (!IsGrouped()) {
        const auto letters = m_sections.empty() ? 0 : m_sections.size() - 1;
        return static_cast<LONG>(m_lines.size() - letters);
    }
    if (m_listed.empty() && Categories().empty()) return m_data.Shown().GetTotalNumRecords();
    LONG count = 0;
    for (const Line& line : m_lines) count += line.row->m_lCount;
    return count;
}

// A contact may stand under several headers; calls have nothing but their place.
ULONGLONG ContactsView::RowId(std::size_t row) const {
    const Line& line = m_lines[row];
    if (!line.row) return 1ULL << 63 | line.letter;
    if (line.row->m_bGroupHeader) return 1ULL << 62 | line.group;
    if (line.row->m_oid == 0) return 1ULL << 61 | row;
    return static_cast<ULONGLONG>(line.group & 0xFFFFFFF) << 32 | line.row->m_oid;
}

// The letter of the first name that is in sight: a letter's own row follows what stands above it.
void ContactsView::ShowLetter() {
    const std::size_t top = TopRow();
    if (!HasLetters() || top == kNoRow) return;
    const auto next = std::ranges::upper_bound(m_sections, top, {}, &Section::line);
    m_letter.SetLetter((next == m_sections.begin() ? next : next - 1)->letter);
}

void ContactsView::GoToLetter(std::size_t section) {
    if (section >= m_sections.size()) return;
    ShowAtTop(std::min(m_sections[section].line, kMostRows - 1));
    ShowLetter();
}

std::u16string ContactsView::RowText(std::size_t row) {
    if (!m_lines[row].row) return LetterHeading(m_lines[row].letter);
    DATACONTACTS& contact = Row(row);
    if (contact.m_bGroupHeader) return GroupMarkup(contact);
    if (!contact.m_bFilled) m_data.Shown().FillContactInfo(&contact);
    return ContactMarkup(contact, m_data.Shown().GetContactsDisplay());
}

void ContactsView::Shape(std::size_t row, tagNM_GRIDCELL& cell) {
    const auto above = [&cell](int pixels) { cell.rcMargins.top = cell.rcMargins.bottom = pixels; };
    if (!m_lines[row].row) {
        above(LetterHeadingPadding());
        cell.wMinHeight = static_cast<WORD>(LetterHeadingHeight());
    } else if (!IsItem(row)) {
        cell.wMinHeight = static_cast<WORD>(Scaled(kHeaderHeight));
    } else {
        above(Scaled(HasSecondLine(Row(row)) ? kTwoLinesTop : kOneLineTop));
        if (!NumberToCall(row).empty()) cell.rcMargins.right = Scaled(kCallWidth);
    }
}

int ContactsView::Indent(std::size_t row) const { return IsItem(row) ? Scaled(kBesideBar) : 0; }

const WCHAR* ContactsView::CategoriesOf(std::size_t row) const {
    return IsItem(row) ? Row(row).m_szCategories : nullptr;
}

// The picture of a call, for those who can be called.
bool ContactsView::PaintRow(HDC hdc, const RECT& place, std::size_t row, bool selected) {
    if (NumberToCall(row).empty()) return false;
    FillColor(hdc, place, selected ? GetSysColor(COLOR_HIGHLIGHT) : ColorOf(Paint::Window));
    const int side = Scaled(kCallPicture);
    PNGPicture::DrawFromResources(hdc, place.right - (Scaled(kCallWidth) + side) / 2,
                                  (place.top + place.bottom - side) / 2, side, side, g_hResources,
                                  kPictureCallOut);
    return true;
}

bool ContactsView::TakeTap(std::size_t row, int x) {
    RECT list{};
    ::GetClientRect(ListWindow(), &list);
    if (x < list.right - Scaled(kCallWidth) || NumberToCall(row).empty()) return false;
    Call(row);
    return true;
}

// Of a call: whoever has the number.
CardText ContactsView::CardOf(std::size_t row) {
    if (!IsCall(row)) return ContactCard(Row(row).m_oid);
    const std::u16string number = NumberToCall(row);
    Com<IItem> contact;
    CEOID oid = 0;
    if (!number.empty() && SUCCEEDED(FindMatchingContact(number.c_str(), 0, contact.Out(), nullptr)) &&
        SUCCEEDED(contact->get_Oid(&oid)))
        return ContactCard(oid);
    CardText card;
    card.titleLabel = u"Number";
    card.title = number;
    return card;
}

// --- Groups -------------------------------------------------------------------------------------------

void ContactsView::ActOnHeading(std::size_t row) {
    if (m_lines[row].row)
        ToggleGroup(row);
    else
        List().EmptySelection(); // a letter was tapped
}

void ContactsView::ToggleGroup(std::size_t row) {
    DATACONTACTS& header = Row(row);
    m_data.OpenGroup(header, !header.m_bOpen);
    FillLines();
    ShowRows();
}

bool ContactsView::RowKey(std::size_t row, WPARAM key) {
    if (row == kNoRow) return false;
    if (key == VK_UP || key == VK_DOWN) return PassLetter(row, key == VK_DOWN);
    if (!m_lines[row].row || !Row(row).m_bGroupHeader) return false;
    const bool open = Row(row).m_bOpen != 0;
    if (key != static_cast<WPARAM>(open ? VK_LEFT : VK_RIGHT)) return false;
    ToggleGroup(row);
    return true;
}

// The keys go from name to name: there is nothing to do with a letter.
bool ContactsView::PassLetter(std::size_t row, bool down) {
    if (down ? row + 2 >= m_lines.size() : row < 2) return false;
    if (m_lines[down ? row + 1 : row - 1].row) return false;
    SelectRow(down ? row + 2 : row - 2);
    return true;
}

std::vector<MenuRow> ContactsView::MenuRows() {
    return {{u"Names and groups ...", [this] { ShowTitleMenu(FormatRows()); }}};
}

std::vector<Bar::Cell> ContactsView::TitleCells() {
    const std::u16string count = m_data.WasShown() ? u" " + Utf16(std::to_string(Count())) : u"";
    return {{u"<B>Contacts</B>" + count + u" \u25BE", 0, [this] { ShowTitleMenu(FormatRows()); }}};
}

// --- Finding ------------------------------------------------------------------------------------------------------

void ContactsView::FindTyped() {
    m_goToList = false; // or the list would take the focus from who types on
    m_data.SetText(m_find.Text());
    if (m_begun) m_data.Reload();
}

void ContactsView::GoToList() {
    FocusBody();
    if (m_data.Text() != m_listed) {
        m_goToList = true;
        return;
    }
    if (SelectedRow() != kNoRow || m_lines.empty()) return;
    std::size_t first = 0;
    while (first < m_lines.size() && !IsItem(first)) ++first;
    SelectRow(first < m_lines.size() ? first : 0);
}

bool ContactsView::TypingKey(WPARAM key) {
    switch (key) {
    case VK_ESCAPE:
        if (m_find.Text().empty())
            FocusBody();
        else
            m_find.SetText(u"");
        return true;
    case VK_RETURN:
        SwallowCharacter(key); // it would open what is selected
        [[fallthrough]];
    case VK_DOWN:
        GoToList();
        return true;
    default:
        return false;
    }
}

bool ContactsView::BodyKey(WPARAM key) {
    if (key == VK_ESCAPE && !IsCardOpen() && !m_find.Text().empty()) {
        m_find.SetText(u"");
        return true;
    }
    if (key == VK_UP && ::GetFocus() == ListWindow() && SelectedRow() == 0) return m_find.TakeFocus(), true;
    const std::size_t top = TopRow();
    const bool begins = (key == VK_UP || key == VK_DOWN) && SelectedRow() == kNoRow;
    if (begins && ::GetFocus() == ListWindow() && top != kNoRow && !m_lines[top].row)
        return SelectRow(top + 1), true;
    return ListView::BodyKey(key);
}

// What is typed over the list goes into the line.
LRESULT ContactsView::OnChar(WPARAM code, UINT repeat, UINT flags, bool& handled) {
    constexpr WPARAM kBackspace = 8, kRubout = 0x7F;
    const bool text = code > u' ' && code != kRubout;
    if (!text && (code != kBackspace || m_find.Text().empty()))
        return ListView::OnChar(code, repeat, flags, handled);
    handled = true;
    m_find.Type(static_cast<WCHAR>(code));
    return 0;
}

LRESULT ContactsView::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    if (msg == GRIDM_SCROLLED) ShowLetter();
    return ListView::OnMessage(msg, wParam, lParam, handled);
}

// --- The empty list -----------------------------------------------------------------------------------------------

std::u16string ContactsView::EmptyText() const {
    if (!m_data.WasShown()) return {};
    const std::u16string link = u"<BR><BR><U><A=fill>" + FontTag(Paint::Link);
    if (!m_listed.empty())
        return u"Nobody is called \"" + HTMLEscape(Shortened(m_listed)) + u"\"." + link + u"Show all</A></U>";
    if (!m_data.Categories().empty())
        return u"No contacts of the chosen categories." + link + u"Show all categories</A></U>";
    switch (m_data.Shown().GetContactsDisplay()) {
    case kDisplayRecent:
        return u"The contacts that you open will stand here, the last one first." + link +
               u"Show all contacts</A></U>";
    case kDisplayCallLog:
        return u"The calls of your telephone will stand here." + link + u"Show all contacts</A></U>";
    default:
        return u"The people you know will stand here.<BR><BR>The command<BR><B>qn import "
               u"FILE.vcf</B><BR>reads "
               u"an address book.";
    }
}

void ContactsView::FillEmpty() {
    if (!m_data.WasShown()) return;
    if (!m_listed.empty()) return m_find.SetText(u"");
    if (!m_data.Categories().empty()) return ShowCategories({});
    const ContactsDisplay format = m_data.Shown().GetContactsDisplay();
    if (format == kDisplayRecent || format == kDisplayCallLog) SetFormat(kDisplayCompanyStyle);
}

} // namespace qn
