// The mark-up of one item's row in a week or agenda list:
//
//     <BODY BGCOLOR=ground>[images]bar<FONT SIZE=n NAME="font" COLOR=text>style times images subject place [images]
//
// Images for the right-hand side stand in front in rows of one line, else at the end.
#include "QNNewEditUI/CCalendarSubview.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/clock.h"
#include "Platform/modules.h"
#include "Platform/strings.h"
#include "QNGridCtrl/HTMLGrid.h"
#include "QNNewEditUI/CalendarText.h"
#include "QNNewEditUI/MarkupText.h"
#include "Resources/pictures.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace {

constexpr UINT kTextDays = 42474;
constexpr UINT kTextDueToday = 44033;

constexpr std::size_t kSubjectLimit = 3600; // characters of mark-up
constexpr std::size_t kPlaceLimit = 1800;
constexpr std::size_t kIconLimit = 259; // the longest source of an image

// The last day that an item touches: one that ends at midnight doesn't touch the day behind it.
LONG LastDay(const DATACALENDAR& item) {
    const LONG day = CalendarDay(item.m_dtEnd);
    return item.m_dtEnd > item.m_dtStart && item.m_dtEnd == day ? day - 1 : day;
}

// --- Contrast -----------------------------------------------------------------------------------------------------

// Relative luminance and contrast ratio: https://www.w3.org/TR/WCAG21/#dfn-relative-luminance
double Luminance(COLORREF color) {
    const auto linear = [color](int shift) {
        const double c = static_cast<double>((color >> shift) & 0xFF) / 255;
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(0) + 0.7152 * linear(8) + 0.0722 * linear(16);
}

double Contrast(double a, double b) { return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05); }

// The text's colour, or black or white where it couldn't be read.
const WCHAR* Readable(const WCHAR* pszText, const WCHAR* pszBack) {
    constexpr double kLeastContrast = 4.5;
    COLORREF text = 0, back = 0xFFFFFF;
    HTMLToColorRef(pszText, &text);
    HTMLToColorRef(pszBack, &back);
    const double ground = Luminance(back);
    if (Contrast(Luminance(text), ground) >= kLeastContrast) return pszText;
    return Contrast(0, ground) >= Contrast(1, ground) ? u"#000000" : u"#FFFFFF";
}

std::u16string_view View(const WCHAR* text) { return text ? text : std::u16string_view(); }

// --- Images -------------------------------------------------------------------------------------------------------

struct ImageRow {
    DWORD bit;
    CalendarOption option;
    WORD picture;
};
// In the order in which they stand in the row.
constexpr ImageRow kImages[] = {
    {CCalendarSubview::kImageReminder, kReminderIcons, kPictureReminder},
    {CCalendarSubview::kImageRecurring, kRecurringIcons, kPictureRecurring},
    {CCalendarSubview::kImageRegenerating, kRegeneratingIcons, kPictureRegenerating},
    {CCalendarSubview::kImagePrivate, kPrivateIcons, kPicturePrivate},
    {CCalendarSubview::kImageMeeting, kMeetingIcons, kPictureMeeting},
    {CCalendarSubview::kImageLinked, kLinkedIcons, kPictureLinked},
    {CCalendarSubview::kImageJournal, kJournalIcons, kPictureJournal},
    {CCalendarSubview::kImageNote, kNoteIcons, kPictureNote},
};

DWORD BitsOf(const DATACALENDAR& item) {
    DWORD bits = 0;
    const auto add = [&bits](bool set, DWORD bit) { bits |= set ? bit : 0; };
    if (const DATATASKS* task = item.m_pTask) {
        add(task->m_wFlag8 != 0, CCalendarSubview::kImageReminder);
        add(task->m_wFlag7 != 0, CCalendarSubview::kImageRecurring);
        add(task->m_lSensitivity != 0, CCalendarSubview::kImagePrivate);
        add(task->m_bHasLink != 0, CCalendarSubview::kImageLinked);
        add(task->m_bHasJournalLink != 0, CCalendarSubview::kImageJournal);
        add(task->m_bHasNote != 0, CCalendarSubview::kImageNote);
        return bits;
    }
    add(item.m_bReminder != 0, CCalendarSubview::kImageReminder);
    add(item.m_bRecurring != 0, CCalendarSubview::kImageRecurring);
    add(item.m_bPrivate != 0, CCalendarSubview::kImagePrivate);
    add(item.m_wMeeting != 0, CCalendarSubview::kImageMeeting);
    add(item.m_bHasLink != 0, CCalendarSubview::kImageLinked);
    add(item.m_bHasJournalLink != 0, CCalendarSubview::kImageJournal);
    add(item.m_bHasNote != 0, CCalendarSubview::kImageNote);
    return bits;
}

const WCHAR* IconOf(const DATACALENDAR& item) {
    return item.m_pTask ? item.m_pTask->m_szIcon : item.m_szIcon;
}

// A name with a quote would end the tag early, and what is no picture's name has none.
bool IsIconFile(std::u16string_view icon) {
    return icon.size() > 4 && icon.size() <= kIconLimit && icon[icon.size() - 4] == u'.' &&
           icon.find(u'"') == std::u16string_view::npos;
}

void AddImage(MarkupText& text, WORD picture) { text.Format(u"<IMG SRC=%u>", UINT{picture}); }

void AddBracketed(MarkupText& text, const WCHAR* pszText) {
    constexpr std::size_t kLimit = 200;
    if (View(pszText).empty()) return;
    text.Add(u"[");
    text.AddUserText(pszText, kLimit);
    text.Add(u"]");
}

} // namespace

CCalendarSubview::Moment CCalendarSubview::Now() {
    SYSTEMTIME local;
    GetLocalTime(&local);
    double now = 0;
    SystemTimeToVariantTime(&local, &now);
    return {now, CalendarDay(now)};
}

// --- Images -------------------------------------------------------------------------------------------------------

DWORD CCalendarSubview::ImagesOf(const DATACALENDAR& item) const {
    DWORD bits = 0;
    const DWORD present = BitsOf(item);
    for (const ImageRow& image : kImages)
        if ((present & image.bit) && m_options[image.option]) bits |= image.bit;
    if (m_options[kQuickEntryIcons] && !View(IconOf(item)).empty()) bits |= kImageQuickEntry;
    if (m_options[kCategoryIcons]) bits |= kImageCategories;
    return bits;
}

void CCalendarSubview::SetImagesLeft(DWORD bits, WCHAR* pszBuffer, const WCHAR* pszIcon) const {
    MarkupText text(pszBuffer, kLeftChars);
    if (bits & kImageQuickEntry) {
        const std::u16string_view icon = View(pszIcon);
        if (IsIconFile(icon))
            text.Add(u"<IMG SRC=\"").Add(icon).Add(u"\">");
        else
            AddImage(text, kPictureQuickEntry);
    }
    WCHAR icons[CCategoryColorIcons::kIconText];
    if ((bits & kImageCategories) && CreateIconString(icons, false)) text.Add(icons);
}

void CCalendarSubview::SetImagesRight(DWORD bits, WCHAR* pszBuffer, int size, bool bSpan,
                                      const WCHAR* pszFirst, const WCHAR* pszSecond) const {
    static constexpr std::u16string_view kBegin = u"<SPAN>", kEnd = u"</SPAN>";
    if (size < 1) return;
    MarkupText text(pszBuffer, static_cast<std::size_t>(size));
    const int room = std::min(size - static_cast<int>(kBegin.size() + kEnd.size()), kRightChars);
    if (room < 1) return;
    WCHAR content[kRightChars];
    MarkupText pieces(content, static_cast<std::size_t>(room));
    for (const ImageRow& image : kImages)
        if (bits & image.bit) AddImage(pieces, image.picture);
    AddBracketed(pieces, pszFirst);
    AddBracketed(pieces, pszSecond);
    if (pieces.Length() == 0) return;
    text.Add(bSpan ? kBegin : u"").Add(content).Add(bSpan ? kEnd : u"");
}

void CCalendarSubview::BuildRight(const DATACALENDAR& item, WCHAR* pszBuffer) const {
    CalendarShortText due{};
    WCHAR alarm[80] = {};
    if (const DATATASKS* task = item.m_pTask) {
        if (m_options[kShowTaskDates] && IsListDate(task->m_dtDue)) due = CalendarDateText(task->m_dtDue);
        if (m_options[kShowTaskAlarmTime] && task->m_wFlag8)
            FormatTaskAlarms(task->m_dtReminder, item.m_lDay, alarm, static_cast<int>(std::size(alarm)));
    }
    SetImagesRight(ImagesOf(item), pszBuffer, kRightChars, true, due.data(), alarm);
}

HBITMAP CCalendarSubview::CreateStatusBar(COLORREF color) {
    constexpr int kLinePoints = 11; // a line of the mark-up's default font
    const int height = std::max(1, static_cast<int>(g_HIDPI_LogPixelsY) * kLinePoints / 72);
    const int width = std::max(1, static_cast<int>(nScale5));
    const HDC dc = CreateCompatibleDC(nullptr);
    const HBITMAP bitmap = CreateCompatibleBitmap(dc, width, height);
    const HGDIOBJ former = SelectObject(dc, bitmap);
    const HBRUSH brush = CreateSolidBrush(color & 0xFFFFFF);
    const RECT all{0, 0, width, height};
    FillRect(dc, &all, brush);
    SelectObject(dc, former);
    DeleteObject(brush);
    DeleteDC(dc);
    return bitmap;
}

// --- Colours ------------------------------------------------------------------------------------------------------

CCalendarSubview::RowLook CCalendarSubview::AppointmentLook(const DATACALENDAR& item,
                                                            const Moment& moment) const {
    RowLook look{GetCategoryBasedBackground(), m_colors.Text(kColorText), u""};
    const WCHAR* category = m_categories.GetCategoryColorString();
    if (category && m_options[kCategoryColors] == kCategoryToText) look.pszText = category;
    if (!look.pszBack && item.m_nType == kLineAppointment && !m_options[kStatusBar])
        look.pszBack = m_colors.OfStatus(item.m_lBusyStatus).szText;
    const bool colored = look.pszBack != nullptr;
    if (!colored)
        look.pszBack = m_colors.Text(item.m_nType == kLineJournal  ? kColorJournal
                                     : item.m_lDay == moment.today ? kColorToday
                                                                   : kColorBack);
    const bool past = item.m_bAllDay ? CalendarDay(item.m_dtEnd) < moment.today : item.m_dtEnd < moment.now;
    if (past && item.m_nType == kLineAppointment) ApplyPast(look);
    if (colored || look.pszText == category) look.pszText = Readable(look.pszText, look.pszBack);
    return look;
}

void CCalendarSubview::ApplyPast(RowLook& look) const {
    const DWORD style = m_options[kOldAppointments];
    if (style == kPastColored || style == kPastStruckColored || style == kPastItalicColored)
        look.pszText = m_colors.Text(kColorPast);
    if (style == kPastStruck || style == kPastStruckColored) look.pszStyle = u"<S>";
    if (style == kPastItalic || style == kPastItalicColored) look.pszStyle = u"<I>";
}

void CCalendarSubview::SetTaskColors(const DATATASKS& task, const WCHAR*& pszBack, const WCHAR*& pszText,
                                     const WCHAR*& pszStyle) const {
    const LONG today = Now().today;
    const bool dated = IsListDate(task.m_dtDue);
    constexpr LONG kHigh = 2, kNormal = 1;
    const struct {
        bool holds;
        TaskLook look;
    } looks[] = {
        {task.m_bCompleted != 0, kTaskCompleted},
        {dated && CalendarDay(task.m_dtDue) < today && !task.m_bCompleted, kTaskOverdue},
        {dated && CalendarDay(task.m_dtDue) == today && !task.m_bCompleted, kTaskDueToday},
        {task.m_nImportance >= kHigh, kTaskHigh},
        {task.m_nImportance < kNormal, kTaskLow},
        {!dated, kTaskUndated},
        {true, kTaskPlain},
    };
    const auto found = std::find_if(std::begin(looks), std::end(looks),
                                    [this](const auto& row) { return row.holds && m_colors.Uses(row.look); });
    pszBack = m_colors.Text(CalendarColors::BackOf(found->look));
    pszText = m_colors.Text(CalendarColors::TextOf(found->look));
    pszStyle = m_colors.StyleOf(found->look);
}

// --- Tasks --------------------------------------------------------------------------------------------------------

int CCalendarSubview::FormatTaskDaysToDue(LONG days, WCHAR* pszBuffer, int size) {
    MarkupText text(pszBuffer, static_cast<std::size_t>(size));
    if (days == kNoDueDays) return 0;
    const auto letter = [](UINT id, WCHAR otherwise) {
        WCHAR word[32] = {};
        LoadStringW(g_hResources, id, word, static_cast<int>(std::size(word)));
        return *word > u' ' && *word != u'<' ? *word : otherwise;
    };
    constexpr WCHAR kNow = u'!';
    if (days == 0)
        text.Format(u" <U><A=\"Due\">%c%c</A></U>", letter(kTextDueToday, u'D'), kNow);
    else if (days < 0)
        text.Format(u" <U><A=\"Due\">%c%d</A></U>", u'-', -days);
    else
        text.Format(u" <U><A=\"Due\">%d%c</A></U>", days, letter(kTextDays, u'd'));
    return static_cast<int>(text.Length());
}

int CCalendarSubview::FormatTaskAlarms(double alarm, double day, WCHAR* pszBuffer, int size) const {
    MarkupText text(pszBuffer, static_cast<std::size_t>(size));
    if (!IsListDate(alarm)) return 0;
    if (CalendarDay(alarm) != CalendarDay(day)) text.Add(CalendarDateText(alarm).data()).Add(u" ");
    text.Add(CalendarTimeText(alarm).data());
    return static_cast<int>(text.Length());
}

void CCalendarSubview::FormatTaskMarks(const DATATASKS& task, MarkupText& text) const {
    constexpr std::size_t kPriorityLimit = 24;
    if (m_options[kTaskCheckbox]) AddImage(text, task.m_bCompleted ? kPictureTask : kPictureTaskOpen);
    if (m_options[kShowTaskImportance] && task.m_nImportance > 1) text.Add(u" !");
    if (m_options[kShowTaskImportance] && task.m_nImportance < 1) text.Add(u" \u2193");
    if (m_options[kShowTaskPriority] && (*task.m_szPriorityLetter || *task.m_szPriorityNumber)) {
        text.Add(u" ");
        text.AddUserText(task.m_szPriorityLetter, kPriorityLimit);
        text.AddUserText(task.m_szPriorityNumber, kPriorityLimit);
    }
}

// --- The row ------------------------------------------------------------------------------------------------------

void CCalendarSubview::FormatTimes(const DATACALENDAR& item, DWORD flags, MarkupText& text) const {
    if (item.m_bAllDay) {
        AddImage(text, kPictureAllDay);
        text.Add(u" ");
        return;
    }
    const bool beganBefore = CalendarDay(item.m_dtStart) != item.m_lDay;
    const bool goesOn = LastDay(item) > item.m_lDay;
    if (beganBefore)
        AddImage(text, kPictureBegan);
    else
        text.Format(u"<A=ATIMES>%s</A>", CalendarTimeText(item.m_dtStart).data());
    if (goesOn)
        AddImage(text, kPictureGoesOn);
    else if (beganBefore)
        text.Format(u"<A=ATIMEE>%s</A>", CalendarTimeText(item.m_dtEnd).data());
    else if (flags & kShowEnd)
        text.Format(u"-<A=ATIMEE>%s</A>", CalendarTimeText(item.m_dtEnd).data());
}

// A subject that doesn't show as it is can't be edited in the row: what is typed there would take its place.
void CCalendarSubview::AddSubject(const DATACALENDAR& item, MarkupText& row) {
    MarkupText subject(m_szSubject.get(), kTextChars);
    const WCHAR* text = item.m_pTask ? item.m_pTask->m_szSubject : item.m_bstrSubject;
    const bool exact = subject.AddUserText(View(text), kSubjectLimit);
    const bool bold = item.m_bAllDay && !item.m_pTask && m_options[kBoldAllDay];
    const bool editable = exact && item.m_nType == kLineAppointment;
    row.Add(bold ? u"<B>" : u"").Add(editable ? u"<EDITABLE>" : u"");
    row.Add(subject.Text());
    row.Add(editable ? u"</EDITABLE>" : u"").Add(bold ? u"</B>" : u"");
}

void CCalendarSubview::AddTail(const DATACALENDAR& item, const Moment& moment, DWORD flags,
                               MarkupText& row) const {
    if (const DATATASKS* task = item.m_pTask) {
        WCHAR due[64];
        const bool shown = m_options[kShowTaskDaysToDue] && !task->m_bCompleted && IsListDate(task->m_dtDue);
        FormatTaskDaysToDue(shown ? CalendarDay(task->m_dtDue) - moment.today : kNoDueDays, due,
                            static_cast<int>(std::size(due)));
        row.Add(due);
        return;
    }
    const std::u16string_view place = View(item.m_bstrLocation);
    if (!(flags & kShowLocation) || place.empty()) return;
    row.Add(flags & kOwnIconLine ? u"<BR> [" : u" [");
    row.AddUserText(place, kPlaceLimit);
    row.Add(u"]");
}

const WCHAR* CCalendarSubview::BuildWeekItem(const DATACALENDAR& item, int nFontSize, DWORD flags) {
    // The longest of each part leaves room for the rest.
    static_assert(22 + kRightChars + 24 + 90 + 48 + kTimeChars + kLeftChars + 40 + kSubjectLimit +
                      kPlaceLimit + 16 <=
                  kRowChars);
    const Moment moment = Now();
    const DATATASKS* task = item.m_pTask;
    InitForCategory(task ? task->m_szCategories : item.m_szCategories,
                    m_options[kCategoryColors] != kCategoryColorOff, m_options[kCategoryIcons] != 0);
    WCHAR* const left = m_szImages.get();
    WCHAR* const right = left + kLeftChars;
    SetImagesLeft(ImagesOf(item), left, IconOf(item));
    BuildRight(item, right);
    MarkupText times(m_szTime.get(), kTimeChars);
    RowLook look{};
    if (task) {
        SetTaskColors(*task, look.pszBack, look.pszText, look.pszStyle);
        FormatTaskMarks(*task, times);
    } else {
        look = AppointmentLook(item, moment);
        FormatTimes(item, flags, times);
    }

    MarkupText row(m_szRow.get(), kRowChars);
    row.Format(u"<BODY BGCOLOR=%s>", look.pszBack);
    if (flags & kOneLine) row.Add(right);
    if (m_options[kStatusBar] && item.m_nType == kLineAppointment && !task)
        row.Format(u"<IMG SRC=S%u> ", m_colors.OfStatus(item.m_lBusyStatus).cr);
    row.Format(u"<FONT SIZE=%d NAME=\"%s\" COLOR=%s>", nFontSize, m_colors.Font(), look.pszText);
    row.Add(look.pszStyle).Add(times.Text()).Add(u" ").Add(left);
    AddSubject(item, row);
    AddTail(item, moment, flags, row);
    if (!(flags & kOneLine)) row.Add(right);
    return row.Text();
}

void CCalendarSubview::FormatWeekItem(const DATACALENDAR& item, CHTMLGrid& grid, WORD column, WORD row,
                                      int nFontSize, DWORD flags) {
    constexpr BYTE kGreyEdges = 0, kFineEdges = 5;
    grid.SetCellSingleLine(column, row, (flags & kOneLine) != 0);
    grid.SetCellText(column, row, BuildWeekItem(item, nFontSize, flags),
                     m_options[kClearType] ? kFineEdges : kGreyEdges);
}
