// The list of tasks: a real tasks thread loads it, and each row is printed as its view shows it.
#include "QNWorkerClass/tasksthread.h"
#include "apps/qn/choice.h"
#include "apps/qn/client.h"
#include "apps/qn/commands.h"
#include "apps/qn/json.h"
#include "apps/qn/options.h"
#include "apps/qn/store.h"
#include "apps/qn/tasktext.h"
#include "apps/qn/viewkey.h"

#include <cstdio>

namespace qn {

namespace {

constexpr const WCHAR* kTaskView = u"Software\\Norvo\\Quillonary\\TV";

constexpr OptionRule kRules[] = {
    {"--rule", true},  {"--date", true}, {"--days", true},        {"--context", true}, {"--group", true},
    {"--tree", false}, {"--sort", true}, {"--descending", false}, {"--done", false},   {"--json", false},
};

constexpr Choice kRuleNames[] = {
    {"all", kTasksAll},         {"today", kTasksDue},         {"overdue", kTasksOverdue},
    {"undated", kTasksUndated}, {"active", kTasksActive},     {"tomorrow", kTasksDueTomorrow},
    {"done", kTasksCompleted},  {"next", kTasksNextDays},     {"day", kTasksOnDate},
    {"master", kTasksMaster},   {"unfiled", kTasksUnfiled},   {"context", kTasksOfContext},
    {"starred", kTasksStarred}, {"action", kTasksNextAction},
};
constexpr Choice kGroups[] = {
    {"none", kGroupNone},     {"category", kGroupCategory}, {"importance", kGroupImportance},
    {"letter", kGroupLetter}, {"progress", kGroupProgress}, {"completion", kGroupCompletion},
    {"date", kGroupDueDate},  {"manager", kGroupManager},   {"status", kGroupGtdStatus},
};
constexpr Choice kSorts[] = {
    {"subject", kSortSubject},
    {"due", kSortDue},
    {"start", 3},
    {"priority", kSortPriority},
    {"completion", kSortCompletion},
    {"letter", kSortPriorityOnly},
    {"category", kSortCategory},
};

// At the key of the rule, where the thread reads them.
void FillView(ViewKey& view, const Options& options) {
    const DWORD rule =
        Wanted("tasks", options, "--rule", kRuleNames).value_or(view.Number(u"TV_FilterData", kTasksAll));
    const std::u16string below = Utf16(std::to_string(rule));
    if (options.Has("--rule")) view.Set(u"TV_FilterData", rule);
    if (options.Has("--context")) view.SetText(u"CurrentContextName", Utf16(options.Get("--context")));
    if (const auto group = Wanted("tasks", options, "--group", kGroups)) view.Set(u"GroupBy", *group, below);
    if (options.Has("--tree")) view.Set(u"GroupBy", kGroupTree, below);
    if (options.Has("--done")) view.Set(u"bShowCompleted", 1, below);
    if (options.Has("--days"))
        view.Set(u"TV_DaysFuture", static_cast<DWORD>(options.Number("--days", 14, 0, 36600)), below);
    const bool planner = IsOnDateRule(static_cast<LONG>(rule));
    if (options.Has("--descending"))
        view.Set(planner ? u"TaskSortDescendingFC" : u"TaskSortDescending", 1, below);
    if (!options.Has("--sort")) return;
    const std::string keys = options.Get("--sort");
    const std::size_t comma = keys.find(',');
    view.Set(planner ? u"TaskSortFC" : u"TaskSort", Choose("tasks", "--sort", keys.substr(0, comma), kSorts),
             below);
    if (comma != std::string::npos)
        view.Set(planner ? u"TaskSortFC2" : u"TaskSort2",
                 Choose("tasks", "--sort", keys.substr(comma + 1), kSorts), below);
}

void PrintJson(const DATATASKS& row, Store& store) {
    const bool group = row.m_oid == 0;
    JsonLine json;
    json.Text("kind", group ? "group" : "task").Number("oid", row.m_oid).Number("depth", row.m_nDepth);
    json.Text("uid", group ? std::string() : store.Uid(row.m_oid)).Text("subject", TextOf(row.m_szSubject));
    json.Text("letter", TextOf(row.m_szPriorityLetter)).Text("number", TextOf(row.m_szPriorityNumber));
    json.Number("regenerates", row.m_lPrioNumber).Number("importance", row.m_nImportance);
    json.Number("sensitivity", row.m_lSensitivity);
    json.Day("start", row.m_dtStart).Day("due", row.m_dtDue).Day("completed", row.m_dtCompleted);
    json.Moment("reminder", row.m_dtReminder);
    json.Bool("done", row.m_bCompleted).Number("percent", row.m_wPercent).Bool("overdue", row.m_bOverdue);
    json.Bool("duetoday", row.m_bDueToday).Bool("recurring", row.m_wFlag7).Bool("reminderset", row.m_wFlag8);
    json.Bool("starred", row.m_bStarred).Bool("note", row.m_bHasNote).Bool("link", row.m_bHasLink);
    json.Bool("journal", row.m_bHasJournalLink)
        .Number("status", row.m_lGtdStatus)
        .Number("project", row.m_oidProject);
    json.Number("parent", row.m_oidParentStored).Number("children", row.NumChildren());
    json.Bool("expanded", row.m_bExpanded).Bool("keptforchildren", row.m_bKeptForChildren);
    json.Texts("categories", SplitCategories(TextOf(row.m_szCategories))).Text("icon", TextOf(row.m_szIcon));
    std::puts(json.Done().c_str());
}

void PrintText(const DATATASKS& row) {
    const std::string indent(static_cast<std::size_t>(row.m_nDepth) * 2, ' ');
    const bool group = row.m_oid == 0;
    const std::string text =
        group ? Printable(TextOf(row.m_szSubject)) + " (" + std::to_string(row.NumChildren()) + ")"
              : TaskText(row);
    std::puts((indent + text).c_str());
}

} // namespace

int TasksCommand(const Words& words) {
    const Options options("tasks", words, kRules);
    if (!options.Rest().empty()) Usage("tasks: what is " + options.Rest()[0] + "?");
    if (options.Has("--tree") && options.Has("--group")) Usage("tasks: --tree and --group don't go together");
    const auto date = ParseDay(options.Get("--date", "today"));
    if (!date) Usage("tasks: --date can't be " + options.Get("--date"));
    ViewKey view(kTaskView);
    FillView(view, options);
    Store store;
    CTasksThread thread;
    thread.Override(view.Get());
    thread.SetDateOn(*date);
    Client client([&](WPARAM, LPARAM rows) {
        for (int i = 1; i <= rows; ++i) {
            const DATATASKS* row = thread.GetList().Get(i);
            options.Has("--json") ? PrintJson(*row, store) : PrintText(*row);
        }
    });
    thread.m_hClientWnd = client.Window();
    client.Run(thread);
    return kExitDone;
}

} // namespace qn
