#include "apps/pages/card.h"

#include "QNGridCtrl/HTMLEscape.h"
#include "apps/pages/changes.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/theme.h"

namespace qn {

namespace {

constexpr int kLabelWidth = 90; // pixels at 96 dots an inch
constexpr std::size_t kLongestNote = 16000;

// What the line doesn't tell.
struct Details {
    std::u16string note;
    LONG reminder = -1; // minutes
};

Details DetailsOf(const DATACALENDAR& line) {
    Details details;
    Com<IAppointment> item;
    if (FAILED(OpenAppointment(line, item))) return details;
    Bstr note;
    if (SUCCEEDED(item->get_Body(note.Out()))) details.note = note.View().substr(0, kLongestNote);
    if (note.View().size() > kLongestNote) details.note += u"\n\u2026";
    VARIANT_BOOL set = VARIANT_FALSE;
    LONG minutes = 0;
    if (SUCCEEDED(item->get_ReminderSet(&set)) && set != VARIANT_FALSE &&
        SUCCEEDED(item->get_ReminderMinutesBeforeStart(&minutes)))
        details.reminder = minutes;
    return details;
}

std::u16string StatusText(LONG status) {
    constexpr const WCHAR* kTexts[] = {u"Free", u"Tentative", u"Busy", u"Out of office"};
    return status >= 0 && status < 4 ? kTexts[status] : u"";
}

std::u16string ReminderText(LONG minutes) {
    if (minutes < 0) return {};
    if (minutes == 0) return u"At the start";
    const auto counted = [](LONG count, const char* unit) {
        return Utf16(Plural(static_cast<std::size_t>(count), unit)) + u" before";
    };
    if (minutes % 1440 == 0) return counted(minutes / 1440, "day");
    return minutes % 60 == 0 ? counted(minutes / 60, "hour") : counted(minutes, "minute");
}

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

void Card::Show(const DATACALENDAR& line) {
    const Details details = line.m_nType == kLineAppointment ? DetailsOf(line) : Details();
    std::vector<Field> fields;
    const auto add = [&](const WCHAR* label, const std::u16string& text) {
        if (!text.empty()) fields.emplace_back(label, HTMLEscapeLines(text));
    };
    add(u"When", WhenText(line));
    add(u"Where", std::u16string(TextOf(line.m_bstrLocation)));
    add(u"Shown as", StatusText(line.m_lBusyStatus));
    add(u"Categories", line.m_szCategories ? line.m_szCategories : u"");
    add(u"Reminder", ReminderText(details.reminder));
    add(u"Repeats",
        line.m_bRecurring ? line.m_bException ? u"One of a series, changed" : u"One of a series" : u"");
    add(u"Private", line.m_bPrivate ? u"Yes" : u"");
    add(u"Note", details.note);
    Fill(std::u16string(TextOf(line.m_bstrSubject)), fields);
}

void Card::Fill(const std::u16string& title, const std::vector<Field>& fields) {
    const RECT margins{Scaled(6), Scaled(4), Scaled(6), Scaled(4)};
    m_grid.BeginUpdate();
    m_grid.DestroyCells();
    m_grid.SetFixedRowCount(0);
    m_grid.SetDimensions(static_cast<DWORD>(fields.size()) + 1, 2);
    m_grid.SetColWidth(0, static_cast<WORD>(Scaled(kLabelWidth)));
    m_grid.SetColWidth(1, HTMLGridAxis::kAutomatic);
    m_grid.SetShowHLines(true);
    m_grid.CreateCells();
    m_grid.SetCellText(0, 0, ShownWith(Paint::Quiet, u"Subject").c_str(), margins);
    m_grid.SetCellText(1, 0, ShownWith(Paint::Text, u"<B>" + HTMLEscape(title) + u"</B>").c_str(), margins);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const auto row = static_cast<WORD>(i + 1);
        m_grid.SetCellText(0, row, ShownWith(Paint::Quiet, HTMLEscape(fields[i].first)).c_str(), margins);
        m_grid.SetCellText(1, row, ShownWith(Paint::Text, fields[i].second).c_str(), margins);
    }
    m_grid.EndUpdate();
}

LRESULT Card::OnSize(WPARAM type, int cx, int cy, bool& handled) {
    m_grid.MoveWindow(0, 0, cx, cy);
    return CeWnd::OnSize(type, cx, cy, handled);
}

} // namespace qn
