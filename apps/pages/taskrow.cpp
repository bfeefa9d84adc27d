#include "apps/pages/taskrow.h"

#include "NorvoTools/HTMLEscape.h"
#include "QNWorkerClass/CTaskProjects.h"
#include "QNWorkerClass/tasksubject.h"
#include "QNWorkerClass/texts.h"
#include "Resources/pictures.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/taskchanges.h"
#include "apps/pages/theme.h"

#include <iterator>

namespace qn {

namespace {

constexpr std::size_t kLongestSubject = 160; // characters in a row; the card has them all
constexpr int kBoxWidth = 20;                // pixels at 96 dots an inch
constexpr LONG kHigh = 2, kLow = 0;
constexpr UINT kFirstStatusText = 44801;
constexpr LONG kStatuses = 11;
constexpr std::u16string_view kNoName = u"(no subject)";

std::u16string Picture(WORD number, bool drawn = true) {
    return Utf16("<IMG SRC=" + std::to_string(number) + (drawn ? ">" : " NODRAW>"));
}

std::u16string Number(LONG number) { return Utf16(std::to_string(number)); }

// In the user's words, without the weekday of a day that is far.
std::u16string DueText(LONG day) {
    const LONG ahead = day - static_cast<LONG>(Today());
    return ahead >= -1 && ahead < 7 ? NearDay(day) : DateText(day, nullptr);
}

std::u16string DayText(DATE date) { return date == kNoDate ? u"" : NearDay(static_cast<LONG>(date)); }

std::u16string PriorityOf(const DATATASKS& task) {
    return std::u16string(task.m_szPriorityLetter) + task.m_szPriorityNumber;
}

// Letter and number on a ground of their own, and a mark of the importance.
std::u16string PriorityText(const DATATASKS& task) {
    const auto filled = [](const std::u16string& text) {
        return FilledFontTag(Paint::TodayText, Paint::Today) + u" " + HTMLEscape(text) + u" " +
               FontTag(Paint::Text) + u" ";
    };
    const std::u16string letter = PriorityOf(task);
    std::u16string text = letter.empty() ? u"" : filled(letter);
    if (task.m_nImportance == kHigh) text += filled(u"!");
    if (task.m_nImportance == kLow) text += FontTag(Paint::Quiet) + u"\u2193 " + FontTag(Paint::Text);
    return text;
}

struct StatePicture {
    BYTE DATATASKS::*flag;
    WORD picture;
};
constexpr StatePicture kStates[] = {
    {&DATATASKS::m_wFlag8, kPictureReminder},         {&DATATASKS::m_wFlag7, kPictureRecurring},
    {&DATATASKS::m_bHasNote, kPictureNote},           {&DATATASKS::m_bHasLink, kPictureLinked},
    {&DATATASKS::m_bHasJournalLink, kPictureJournal},
};

std::u16string Pictures(const DATATASKS& task) {
    std::u16string pictures;
    for (const StatePicture& state : kStates)
        if (task.*state.flag) pictures += Picture(state.picture);
    if (task.m_lPrioNumber > 0) pictures += Picture(kPictureRegenerating);
    if (task.m_lSensitivity != 0) pictures += Picture(kPicturePrivate);
    return pictures;
}

std::u16string Facts(const DATATASKS& task) {
    std::u16string facts;
    if (task.m_bStarred) facts += FontTag(Paint::Link) + u"\u2605";
    if (task.m_dtDue != kNoDate) {
        const Paint ink = task.m_bOverdue ? Paint::Alert : task.m_bDueToday ? Paint::Text : Paint::Quiet;
        facts += (facts.empty() ? u"" : u" ") + FontTag(ink) +
                 HTMLEscape(DueText(static_cast<LONG>(task.m_dtDue)));
    }
    return facts;
}

} // namespace

int TaskBoxWidth() { return Scaled(kBoxWidth); }

std::u16string_view TaskName(const DATATASKS& task) {
    const std::u16string_view name = task.m_szSubject ? task.m_szSubject : u"";
    return name.empty() ? kNoName : name;
}

std::u16string TaskRowText(const DATATASKS& task, bool tree, bool narrow, bool quiet) {
    const std::u16string pictures = Pictures(task);
    std::u16string column = Facts(task);
    if (!narrow && !pictures.empty()) column += (column.empty() ? u"" : u" ") + pictures;
    if (!column.empty()) column = u"<SPAN>" + column + u"</SPAN>";
    const std::u16string end = narrow && !pictures.empty() ? u" " + pictures : u"";
    std::u16string text = GroundTag(Paint::Window) + column + FontTag(Paint::Text);
    if (tree) text += Picture(task.m_bExpanded ? kPictureOpen : kPictureClosed, task.IsParentNode()) + u" ";
    text += Picture(task.m_bCompleted ? kPictureTask : kPictureTaskOpen) + u" ";
    const std::u16string name = HTMLEscape(Shortened(TaskName(task), kLongestSubject));
    if (task.m_bCompleted) return text + FontTag(Paint::Quiet) + u"<S>" + name + u"</S>" + end;
    return text + PriorityText(task) + (quiet ? FontTag(Paint::Quiet) : u"") + name + end;
}

namespace {

// The heading that a user gave to a letter comes with tags around it.
std::u16string HeadingName(const DATATASKS& header, bool byDate) {
    constexpr std::u16string_view kBegin = u"<Q>", kEnd = u"</Q>";
    std::u16string_view name = header.m_szSubject ? header.m_szSubject : u"";
    if (name.starts_with(kBegin) && name.ends_with(kEnd))
        name = name.substr(kBegin.size(), name.size() - kBegin.size() - kEnd.size());
    const auto day = static_cast<LONG>(header.m_dtDue);
    const LONG ahead = byDate && header.m_dtDue != kNoDate ? day - static_cast<LONG>(Today()) : -2;
    return (ahead >= -1 && ahead < 7 ? NearDay(day) + u", " + DateText(day, u"d MMMM")
                                     : std::u16string(name));
}

} // namespace

std::u16string TaskHeadingText(const DATATASKS& header, bool byDate) {
    return GroundTag(Paint::Heading) + FontTag(Paint::Text) +
           Picture(header.m_bExpanded ? kPictureOpen : kPictureClosed) + u" <B>" +
           HTMLEscape(HeadingName(header, byDate)) + u"</B> (" + Number(header.NumChildren()) + u")";
}

// --- The card -----------------------------------------------------------------------------------------------------

namespace {

std::u16string ImportanceText(LONG importance) {
    return importance == kHigh ? u"High" : importance == kLow ? u"Low" : u"";
}

std::u16string PriorityWords(const DATATASKS& task) {
    const std::u16string letter = PriorityOf(task), importance = ImportanceText(task.m_nImportance);
    return letter.empty() || importance.empty() ? letter + importance : letter + u", " + importance;
}

std::u16string StatusText(LONG status) {
    return status > 0 && status < kStatuses ? LoadText(kFirstStatusText + static_cast<UINT>(status)) : u"";
}

std::u16string ReminderText(const DATATASKS& task) {
    if (!task.m_wFlag8 || task.m_dtReminder == kNoDate) return {};
    return DayText(task.m_dtReminder) + u", " + TimeText(task.m_dtReminder);
}

std::u16string ParentName(DWORD parent) {
    Com<ITask> task;
    Bstr subject;
    if (parent == 0 || FAILED(OpenTask(parent, task)) || FAILED(task->get_Subject(subject.Out()))) return {};
    return std::u16string(ParseTaskSubject(subject.View()).text);
}

std::u16string ProjectName(DWORD project) {
    CTaskProjects projects;
    if (project == 0 || !projects.LoadProjects()) return {};
    const TASK_PROJECT* found = projects.FindProjectbyID(project);
    return found ? std::u16string(found->name.View()) : std::u16string();
}

std::u16string NoteText(const Com<ITask>& task) {
    Bstr note;
    return task && SUCCEEDED(task->get_Body(note.Out())) ? LongText(note.View()) : std::u16string();
}

struct RuleWords {
    LONG type;
    const char* unit;
};
constexpr RuleWords kRuleWords[] = {{olRecursDaily, "day"},     {olRecursWeekly, "week"},
                                    {olRecursMonthly, "month"}, {olRecursMonthNth, "month"},
                                    {olRecursYearly, "year"},   {olRecursYearNth, "year"}};

// "Every week", "Every 2 months".
std::u16string RuleText(const Com<ITask>& task) {
    Com<IRecurrencePattern> rule;
    LONG type = 0, interval = 0;
    if (!task || FAILED(task->GetRecurrencePattern(rule.Out())) || FAILED(rule->get_RecurrenceType(&type)) ||
        FAILED(rule->get_Interval(&interval)))
        return u"Yes";
    for (const RuleWords& words : kRuleWords)
        if (words.type == type)
            return u"Every " + Utf16(interval > 1 ? Plural(static_cast<std::size_t>(interval), words.unit)
                                                  : std::string(words.unit));
    return u"Yes";
}

} // namespace

CardText TaskCard(const DATATASKS& task) {
    Com<ITask> item;
    OpenTask(task.m_oid, item);
    CardText card;
    card.title = TaskName(task);
    card.Add(u"Due", DayText(task.m_dtDue) + (task.m_bOverdue ? u", overdue" : u""));
    card.Add(u"Start", DayText(task.m_dtStart));
    card.Add(u"Done",
             task.m_bCompleted ? task.m_dtCompleted == kNoDate ? u"Yes" : DayText(task.m_dtCompleted) : u"");
    card.Add(u"Priority", PriorityWords(task));
    if (task.m_wPercent > 0 && !task.m_bCompleted) card.Add(u"Progress", Number(task.m_wPercent) + u" %");
    card.Add(u"Status", StatusText(task.m_lGtdStatus));
    card.Add(u"Part of", ParentName(task.m_oidParentStored));
    card.Add(u"Project", ProjectName(task.m_oidProject));
    if (item) card.Add(u"Context", NamedText(item, u"QN_GTDContext"));
    card.Add(u"Categories", task.m_szCategories ? task.m_szCategories : u"");
    card.Add(u"Starred", task.m_bStarred ? u"Yes" : u"");
    card.Add(u"Reminder", ReminderText(task));
    if (task.m_wFlag7) card.Add(u"Repeats", RuleText(item));
    if (task.m_lPrioNumber > 0)
        card.Add(u"Comes again",
                 Utf16(Plural(static_cast<std::size_t>(task.m_lPrioNumber), "day")) + u" after it was done");
    card.Add(u"Private", task.m_lSensitivity != 0 ? u"Yes" : u"");
    card.Add(u"Note", NoteText(item));
    return card;
}

} // namespace qn
