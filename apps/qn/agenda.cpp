// The day list: a real calendar thread loads it, a window of ours hears its messages and prints the lines.
#include "Platform/clock.h"
#include "QNWorkerClass/DATATASKS.h"
#include "QNWorkerClass/calendarthread.h"
#include "apps/qn/categoryoptions.h"
#include "apps/qn/choice.h"
#include "apps/qn/client.h"
#include "apps/qn/commands.h"
#include "apps/qn/journaluid.h"
#include "apps/qn/json.h"
#include "apps/qn/options.h"
#include "apps/qn/store.h"
#include "apps/qn/tasktext.h"

#include <cmath>
#include <cstdio>

namespace qn {

namespace {

constexpr const WCHAR* kCalendarView = u"Software\\Norvo\\Quillonary\\CAV";
constexpr LONG kLongestRange = 36600; // days

constexpr OptionRule kRules[] = {
    {"--from", true},        {"--days", true},         {"--category", true}, {"--all-of", false},
    {"--hide", false},       {"--no-category", false}, {"--filter", true},   {"--status", true},
    {"--no-headers", false}, {"--json", false},
};

constexpr Choice kFilters[] = {{"all", kFilterAll},
                               {"birthdays", kFilterBirthdays},
                               {"anniversaries", kFilterAnniversaries},
                               {"holidays", kFilterHolidays},
                               {"recurring", kFilterRecurring}};
// A status filter is the busy status and 1; 0 means off.
constexpr Choice kStatuses[] = {{"free", 1}, {"tentative", 2}, {"busy", 3}, {"out", 4}};

void FillView(ViewKey& view, const Options& options) {
    if (const auto filter = Wanted("agenda", options, "--filter", kFilters))
        view.Set(u"CAV_AppointmentFilter", *filter);
    if (const auto status = Wanted("agenda", options, "--status", kStatuses))
        view.Set(u"ApptStatusFilter", *status);
    FillCategoryModes("agenda", options, view);
}

std::string_view KindName(const DATACALENDAR& line) {
    if (line.IsHeader()) return "date";
    switch (line.m_nType) {
    case kLineContactDate:
        return "contact";
    case kLineTask:
        return "task";
    case kLineJournal:
        return "journal";
    default:
        return "appointment";
    }
}

class Printer {
public:
    Printer(const Options& options, Store& store)
        : m_json(options.Has("--json")), m_headers(!options.Has("--no-headers")), m_store(store) {}
    void Print(const DATACALENDAR& line) {
        if (line.IsHeader()) m_day = line.m_lDay;
        if (line.IsHeader() && !m_headers) return;
        if (m_json)
            PrintJson(line);
        else if (!m_headers || line.m_lDay == m_day) // what lies about the range belongs under no header
            PrintText(line);
    }

private:
    void PrintJson(const DATACALENDAR& line) {
        const bool header = line.IsHeader();
        const DATATASKS* task = line.m_pTask;
        JsonLine json;
        json.Text("kind", KindName(line)).Text("day", IsoDay(line.m_lDay));
        // A header has no times of its own: it stands for its whole day. A task has a due day in place of an end.
        json.Moment("start", header ? line.m_lDay : task ? task->m_dtStart : line.m_dtStart);
        json.Moment("end", header ? line.m_lDay : line.m_dtEnd);
        json.Bool("allday", line.m_bAllDay)
            .Bool("recurring", task ? task->m_wFlag7 : line.m_bRecurring)
            .Bool("exception", line.m_bException);
        json.Bool("endsearlier", line.m_bEndsEarlier)
            .Bool("reminder", task ? task->m_wFlag8 : line.m_bReminder);
        json.Bool("private", task ? task->m_lSensitivity != 0 : line.m_bPrivate != 0)
            .Bool("note", task ? task->m_bHasNote : line.m_bHasNote)
            .Number("oid", line.m_oid);
        json.Text("uid", Uid(line)).Text("subject", TextOf(task ? task->m_szSubject : line.m_bstrSubject));
        json.Text("location", TextOf(line.m_bstrLocation));
        json.Texts("categories", SplitCategories(TextOf(task ? task->m_szCategories : line.m_szCategories)));
        json.Number("busy", line.m_lBusyStatus).Number("duration", line.m_lDuration);
        json.Number("meeting", line.m_wMeeting)
            .Bool("link", task ? task->m_bHasLink : line.m_bHasLink)
            .Bool("journal", task ? task->m_bHasJournalLink : line.m_bHasJournalLink);
        json.TextOrNull("icon", TextOf(task ? task->m_szIcon : line.m_szIcon));
        json.TextOrNull("body", TextOf(line.m_bstrSpare));
        json.Moment("created", line.m_dtJournalCreated).Moment("modified", line.m_dtJournalModified);
        Year(json, "birthday", line.m_wBirthdayYear);
        Year(json, "anniversary", line.m_wAnniversaryYear);
        AddTask(json, task);
        std::puts(json.Done().c_str());
    }

    static void Year(JsonLine& json, std::string_view name, WORD year) {
        year ? json.Number(name, year) : json.Null(name);
    }

    static void AddTask(JsonLine& json, const DATATASKS* task) {
        if (!task) {
            for (const char* name : {"due", "completed", "done", "percent", "importance", "letter", "number",
                                     "starred", "overdue"})
                json.Null(name);
            return;
        }
        json.Day("due", task->m_dtDue).Day("completed", task->m_dtCompleted).Bool("done", task->m_bCompleted);
        json.Number("percent", task->m_wPercent).Number("importance", task->m_nImportance);
        json.TextOrNull("letter", TextOf(task->m_szPriorityLetter));
        json.TextOrNull("number", TextOf(task->m_szPriorityNumber));
        json.Bool("starred", task->m_bStarred).Bool("overdue", task->m_bOverdue);
    }

    std::string Uid(const DATACALENDAR& line) const {
        if (line.IsHeader()) return {};
        return line.m_nType == kLineJournal ? JournalUid(line.m_oid) : m_store.Uid(line.m_oid);
    }

    void PrintText(const DATACALENDAR& line) {
        if (line.IsHeader()) {
            PrintHeader(line.m_lDay);
            return;
        }
        constexpr std::size_t kColumn = 19; // "12:30 PM - 12:45 PM"
        std::string times = Times(line);
        if (times.size() < kColumn) times.insert(0, kColumn - times.size(), ' ');
        std::puts(("  " + times + "  " + (line.m_pTask ? TaskText(*line.m_pTask) : LineText(line))).c_str());
    }

    static std::string LineText(const DATACALENDAR& line) {
        std::string text = Printable(TextOf(line.m_bstrSubject));
        const std::string place = Printable(TextOf(line.m_bstrLocation));
        if (!place.empty()) text += ", " + place;
        if (line.m_nType != kLineContactDate && line.m_szCategories && *line.m_szCategories)
            text += "  [" + Printable(Utf8(line.m_szCategories)) + "]";
        return text + Marks(line);
    }

    void PrintHeader(LONG day) const {
        const LONG ahead = day - static_cast<LONG>(Today());
        const char* word = ahead == 0    ? " (today)"
                           : ahead == 1  ? " (tomorrow)"
                           : ahead == -1 ? " (yesterday)"
                                         : "";
        std::printf("%s%s\n", LongDay(day).c_str(), word);
    }

    static bool IsDayEntry(const DATACALENDAR& line) {
        return line.m_nType == kLineJournal && line.m_dtStart == line.m_lDay && line.m_lDuration == 0;
    }

    // What has no time of day says what it is.
    static std::string Times(const DATACALENDAR& line) {
        if (line.m_pTask) return "task";
        if (line.m_nType == kLineContactDate)
            return TextOf(line.m_szCategories) == "~Birthday" ? "birthday" : "anniversary";
        if (IsDayEntry(line)) return "journal";
        const bool begins = std::floor(line.m_dtStart) == line.m_lDay;
        const bool ends = std::floor(line.m_dtEnd) == line.m_lDay;
        std::string text = line.m_bAllDay ? "all day" : begins ? ClockTime(line.m_dtStart) : "...";
        if (!line.m_bAllDay && line.m_dtEnd > line.m_dtStart)
            text += " - " + (ends ? ClockTime(line.m_dtEnd) : "...");
        return text;
    }

    static std::string Marks(const DATACALENDAR& line) {
        std::string marks;
        const auto add = [&](bool wanted, const char* mark) {
            if (wanted) marks += std::string(marks.empty() ? "  (" : ", ") + mark;
        };
        add(line.m_bRecurring && !line.m_bException, "series");
        add(line.m_bException, "changed");
        add(line.m_bReminder, "reminder");
        add(line.m_bPrivate, "private");
        add(line.m_bHasNote, "note");
        add(line.m_nType == kLineJournal && !IsDayEntry(line), "journal");
        return marks.empty() ? marks : marks + ")";
    }

    bool m_json;
    bool m_headers;
    LONG m_day = kNoDay; // of the last header
    Store& m_store;
};

} // namespace

int AgendaCommand(const Words& words) {
    const Options options("agenda", words, kRules);
    if (!options.Rest().empty()) Usage("agenda: what is " + options.Rest()[0] + "?");
    const auto from = ParseDay(options.Get("--from", "today"));
    if (!from) Usage("agenda: --from can't be " + options.Get("--from"));
    const LONG days = static_cast<LONG>(options.Number("--days", 7, 1, kLongestRange));
    if (*from + days > kNoDate) Usage("agenda: the calendar ends with the year 4500");
    ViewKey view(kCalendarView);
    FillView(view, options);
    Store store;
    Printer printer(options, store);
    CCalendarThread thread(view.Get());
    Client client([&](WPARAM, LPARAM rows) {
        for (int i = 1; i <= rows; ++i)
            if (const DATACALENDAR* line = thread.GetList().Get(i)) printer.Print(*line);
    });
    thread.m_hClientWnd = client.Window();
    thread.SetJournalBodyRead(options.Has("--json"));
    const SYSTEMTIME first = ToSystemTime(*from);
    const SYSTEMTIME last = ToSystemTime(*from + days - 1);
    thread.SetRestrict(&first, &last, true);
    ChooseCategories(options, thread);
    thread.SetCategoryRestrict(false);
    client.Run(thread);
    return kExitDone;
}

} // namespace qn
