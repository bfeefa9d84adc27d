// The day list: a real calendar thread loads it, a window of ours hears its messages and prints the lines.
#include "NorvoTools/CRegistry.h"
#include "NorvoTools/paths.h"
#include "Platform/clock.h"
#include "Platform/registry.h"
#include "Platform/strings.h"
#include "Platform/windows.h"
#include "QNWorkerClass/calendarthread.h"
#include "apps/qn/commands.h"
#include "apps/qn/json.h"
#include "apps/qn/options.h"
#include "apps/qn/store.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <optional>

namespace qn {

namespace {

constexpr const WCHAR* kCalendarView = u"Software\\Norvo\\Quillonary\\CAV";
constexpr LONG kLongestRange = 36600; // days

constexpr OptionRule kRules[] = {
    {"--from", true},        {"--days", true},         {"--category", true}, {"--all-of", false},
    {"--hide", false},       {"--no-category", false}, {"--filter", true},   {"--status", true},
    {"--no-headers", false}, {"--json", false},
};

struct Named {
    std::string_view name;
    DWORD value;
};
constexpr Named kFilters[] = {{"all", kFilterAll},
                              {"birthdays", kFilterBirthdays},
                              {"anniversaries", kFilterAnniversaries},
                              {"holidays", kFilterHolidays},
                              {"recurring", kFilterRecurring}};
// A status filter is the busy status and 1; 0 means off.
constexpr Named kStatuses[] = {{"free", 1}, {"tentative", 2}, {"busy", 3}, {"out", 4}};

template<std::size_t N>
DWORD Choose(const Options& options, std::string_view option, const Named (&choices)[N]) {
    const std::string given = options.Get(option);
    for (const Named& choice : choices)
        if (choice.name == given) return choice.value;
    Usage("agenda: " + std::string(option) + " can't be " + given);
}

// The view of this run: the calendar's own settings, or, where the command line asks for others, a copy with them put in,
// which goes again with the run.
class View {
public:
    explicit View(const Options& options) {
        const auto filter = Wanted(options, "--filter", kFilters);
        const auto status = Wanted(options, "--status", kStatuses);
        if (!filter && !status && !options.Has("--category")) return;
        m_key = Utf16(Utf8(kSuiteKey) + "\\QnAgenda" + std::to_string(getpid()));
        m_settings.DeleteKey(HKEY_CURRENT_USER, m_key.c_str());
        if (m_settings.Exists(HKEY_CURRENT_USER, kCalendarView) &&
            m_settings.OpenKey(HKEY_CURRENT_USER, kCalendarView) == 0)
            m_settings.CopyValuesToKey(HKEY_CURRENT_USER, m_key.c_str());
        if (m_settings.OpenKey(HKEY_CURRENT_USER, m_key.c_str()) != 0)
            throw Failure("the settings can't be written");
        if (filter) m_settings.SetValue(u"CAV_AppointmentFilter", *filter);
        if (status) m_settings.SetValue(u"ApptStatusFilter", *status);
        if (!options.Has("--category")) return;
        m_settings.SetValue(u"bHideCategories", DWORD{options.Has("--hide")});
        m_settings.SetValue(u"CategoryANDOR", DWORD{options.Has("--all-of")});
        m_settings.SetValue(u"m_bIncludeNoCat", DWORD{options.Has("--no-category")});
    }
    ~View() {
        if (!m_key.empty()) m_settings.DeleteKey(HKEY_CURRENT_USER, m_key.c_str());
    }
    View(const View&) = delete;
    View& operator=(const View&) = delete;
    const WCHAR* Key() const { return m_key.empty() ? kCalendarView : m_key.c_str(); }

private:
    template<std::size_t N>
    static std::optional<DWORD> Wanted(const Options& options, std::string_view option,
                                       const Named (&choices)[N]) {
        if (!options.Has(option)) return std::nullopt;
        return Choose(options, option, choices);
    }

    CRegistry m_settings;
    std::u16string m_key;
};

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

struct Client {
    CCalendarThread* thread;
    Printer* printer;
    bool finished = false;
};

LRESULT ClientProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* client = reinterpret_cast<Client*>(GetWindowLongW(window, GWL_USERDATA));
    if (client && message == kMsgListChanged) {
        for (int i = 1; i <= lParam; ++i)
            if (const DATACALENDAR* line = client->thread->GetList().Get(i)) client->printer->Print(*line);
        return 0;
    }
    if (client && message == kMsgThreadFinished) {
        client->finished = true;
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

HWND MakeClientWindow(Client& client) {
    WNDCLASSW cls{};
    cls.lpfnWndProc = &ClientProc;
    cls.lpszClassName = u"qn:agenda";
    RegisterClassW(&cls);
    const HWND window =
        CreateWindowExW(0, cls.lpszClassName, u"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (!window) throw Failure("no window for the calendar thread");
    SetWindowLongW(window, GWL_USERDATA, reinterpret_cast<LONG_PTR>(&client));
    return window;
}

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
    const View view(options);
    Store store;
    Printer printer(options, store);
    CCalendarThread thread(view.Key());
    Client client{&thread, &printer};
    thread.m_hClientWnd = MakeClientWindow(client);
    const SYSTEMTIME first = ToSystemTime(*from);
    const SYSTEMTIME last = ToSystemTime(*from + days - 1);
    thread.SetRestrict(&first, &last, true);
    ChooseCategories(thread, options);
    thread.SetCategoryRestrict(false);
    thread.Start();
    MSG message;
    while (!client.finished && GetMessageW(&message, nullptr, 0, 0)) DispatchMessageW(&message);
    thread.Stop(true);
    DestroyWindow(thread.m_hClientWnd);
    return kExitDone;
}

} // namespace qn
