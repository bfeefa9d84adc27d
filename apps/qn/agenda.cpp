// The day list: a real calendar thread loads it, a window of ours hears its messages and prints the lines.
#include "Platform/clock.h"
#include "Platform/strings.h"
#include "QNWorkerClass/calendarthread.h"
#include "apps/qn/choice.h"
#include "apps/qn/client.h"
#include "apps/qn/commands.h"
#include "apps/qn/json.h"
#include "apps/qn/options.h"
#include "apps/qn/store.h"
#include "apps/qn/viewkey.h"

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
    if (!options.Has("--category")) return;
    view.Set(u"bHideCategories", options.Has("--hide"));
    view.Set(u"CategoryANDOR", options.Has("--all-of"));
    view.Set(u"m_bIncludeNoCat", options.Has("--no-category"));
}

void ChooseCategories(CCalendarThread& thread, const Options& options) {
    CCategoryFilterInfo* filter = nullptr;
    thread.GetCategoryRestrict(filter);
    CFullCategoryList all(0, PTRLIST_DELETE);
    GetFullCategoryInfo(all, true);
    for (const std::string& wanted : options.All("--category")) {
        const std::u16string name = Utf16(wanted);
        bool found = false;
        for (const CFullCategory* category : all) {
            if (_wcsicmp(category->m_szName, name.c_str()) != 0) continue;
            filter->m_list.Add(category->Copy());
            found = true;
        }
        if (!found) throw Failure("there is no category \"" + wanted + "\"");
    }
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

std::string TextOf(BSTR text) { return text ? Utf8({text, SysStringLen(text)}) : std::string(); }

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
        JsonLine json;
        json.Text("kind", KindName(line)).Text("day", IsoDay(line.m_lDay));
        // A header has no times of its own: it stands for its whole day.
        json.Text("start", IsoMoment(header ? line.m_lDay : line.m_dtStart));
        json.Text("end", IsoMoment(header ? line.m_lDay : line.m_dtEnd));
        json.Bool("allday", line.m_bAllDay)
            .Bool("recurring", line.m_bRecurring)
            .Bool("exception", line.m_bException);
        json.Bool("endsearlier", line.m_bEndsEarlier).Bool("reminder", line.m_bReminder);
        json.Bool("private", line.m_bPrivate).Bool("note", line.m_bHasNote).Number("oid", line.m_oid);
        json.Text("uid", header ? std::string() : m_store.Uid(line.m_oid));
        json.Text("subject", TextOf(line.m_bstrSubject)).Text("location", TextOf(line.m_bstrLocation));
        json.Texts("categories",
                   SplitCategories(line.m_szCategories ? Utf8(line.m_szCategories) : std::string()));
        json.Number("busy", line.m_lBusyStatus);
        std::puts(json.Done().c_str());
    }

    void PrintText(const DATACALENDAR& line) {
        if (line.IsHeader()) {
            PrintHeader(line.m_lDay);
            return;
        }
        std::string text = "  " + Times(line) + "  " + Printable(TextOf(line.m_bstrSubject));
        const std::string place = Printable(TextOf(line.m_bstrLocation));
        if (!place.empty()) text += ", " + place;
        if (line.m_szCategories && *line.m_szCategories)
            text += "  [" + Printable(Utf8(line.m_szCategories)) + "]";
        std::puts((text + Marks(line)).c_str());
    }

    void PrintHeader(LONG day) const {
        const LONG ahead = day - static_cast<LONG>(Today());
        const char* word = ahead == 0    ? " (today)"
                           : ahead == 1  ? " (tomorrow)"
                           : ahead == -1 ? " (yesterday)"
                                         : "";
        std::printf("%s%s\n", LongDay(day).c_str(), word);
    }

    static std::string Times(const DATACALENDAR& line) {
        const bool begins = std::floor(line.m_dtStart) == line.m_lDay;
        const bool ends = std::floor(line.m_dtEnd) == line.m_lDay;
        std::string text = line.m_bAllDay ? "all day" : begins ? ClockTime(line.m_dtStart) : "...";
        if (!line.m_bAllDay && line.m_dtEnd > line.m_dtStart)
            text += " - " + (ends ? ClockTime(line.m_dtEnd) : "...");
        constexpr std::size_t kColumn = 19; // "12:30 PM - 12:45 PM"
        return text.size() < kColumn ? std::string(kColumn - text.size(), ' ') + text : text;
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
    for (const char* option : {"--all-of", "--hide", "--no-category"})
        if (options.Has(option) && !options.Has("--category"))
            Usage("agenda: " + std::string(option) + " wants --category");
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
    const SYSTEMTIME first = ToSystemTime(*from);
    const SYSTEMTIME last = ToSystemTime(*from + days - 1);
    thread.SetRestrict(&first, &last, true);
    ChooseCategories(thread, options);
    thread.SetCategoryRestrict(false);
    client.Run(thread);
    return kExitDone;
}

} // namespace qn
