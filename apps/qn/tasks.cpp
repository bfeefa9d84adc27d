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

#include <algorithm>
#include <cstdio>

namespace qn {

namespace {

constexpr const WCHAR* kTaskView = u"Software\\Norvo\\Quillonary\\TV";

constexpr OptionRule kRules[] = {
    {"--rule", true},    {"--date", true},  {"--days", true},  {"--context", true}, {"--below", true},
    {"--project", true}, {"--group", true}, {"--tree", false}, {"--sort", true},    {"--descending", false},
    {"--done", false},   {"--open", false}, {"--json", false},
};

constexpr Choice kRuleNames[] = {
    {"all", kTasksAll},           {"today", kTasksDue},         {"overdue", kTasksOverdue},
    {"undated", kTasksUndated},   {"active", kTasksActive},     {"tomorrow", kTasksDueTomorrow},
    {"done", kTasksCompleted},    {"next", kTasksNextDays},     {"day", kTasksOnDate},
    {"master", kTasksMaster},     {"unfiled", kTasksUnfiled},   {"context", kTasksOfContext},
    {"starred", kTasksStarred},   {"action", kTasksNextAction}, {"goal", kTasksOfGoal},
    {"project", kTasksOfProject},
};
// What an option says to one rule means nothing to the others.
constexpr Choice kRuleOptions[] = {
    {"--date", kTasksOnDate},  {"--days", kTasksNextDays},     {"--context", kTasksOfContext},
    {"--below", kTasksOfGoal}, {"--project", kTasksOfProject},
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

// By its UID, or by its OID.
CEOID FindTask(Store& store, const std::string& which) {
    CEOID oid = 0;
    const DWORD property = store.UidProperty(false);
    const std::u16string uid = Utf16(which);
    if (property &&
        SUCCEEDED(PlatFindItemByNamedText(store.App(), olFolderTasks, property, uid.c_str(), &oid)))
        return oid;
    const bool isNumber = which.find_first_not_of("0123456789abcdefABCDEFxX") == which.npos;
    Com<IItem> item;
    oid = isNumber ? ParseOid(which) : 0;
    const bool isTask = (oid & kOidKindMask) == kOidTask;
    if (!isTask || FAILED(store.App()->GetItemFromOidEx(oid, 0, item.Out())))
        throw Failure("no task " + which);
    return oid;
}

DWORD FindProject(const std::string& name) {
    CTaskProjects projects;
    if (const auto* list = projects.LoadProjects())
        for (const TASK_PROJECT* project : *list)
            if (project->name == Utf16(name).c_str()) return project->oid;
    throw Failure("no project " + name);
}

DWORD RuleOf(const ViewKey& view, const Options& options) {
    const DWORD rule =
        Wanted("tasks", options, "--rule", kRuleNames).value_or(view.Number(u"TV_FilterData", kTasksAll));
    for (const Choice& option : kRuleOptions) {
        if (!options.Has(option.name) || option.value == rule) continue;
        const auto* named = std::ranges::find(kRuleNames, option.value, &Choice::value);
        Usage("tasks: " + std::string(option.name) + " goes with --rule " + std::string(named->name));
    }
    return rule;
}

// At the key of the rule, where the thread reads them.
void FillView(ViewKey& view, const Options& options, Store& store) {
    const DWORD rule = RuleOf(view, options);
    const std::u16string below = Utf16(std::to_string(rule));
    if (options.Has("--rule")) view.Set(u"TV_FilterData", rule);
    if (options.Has("--context")) view.SetText(u"CurrentContextName", Utf16(options.Get("--context")));
    if (options.Has("--below")) view.Set(u"FCCurrentProjectOID", FindTask(store, options.Get("--below")));
    if (options.Has("--project")) view.Set(u"FCCurrentProjectOID", FindProject(options.Get("--project")));
    if (const auto group = Wanted("tasks", options, "--group", kGroups)) view.Set(u"GroupBy", *group, below);
    if (options.Has("--tree")) view.Set(u"GroupBy", kGroupTree, below);
    if (options.Has("--done")) view.Set(u"bShowCompleted", 1, below);
    if (options.Has("--days"))
        view.Set(u"TV_DaysFuture", static_cast<DWORD>(options.Number("--days", 14, 0, 36600)), below);
    const bool planner = IsOnDateRule(static_cast<LONG>(rule)) || rule == kTasksOfGoal;
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

// A header's dates are there for its order alone, but where it stands for one.
void PrintJson(const DATATASKS& row, LONG groupBy, Store& store) {
    const bool group = row.m_oid == 0;
    JsonLine json;
    const auto number = [&json](std::string_view name, LONGLONG value) {
        value ? json.Number(name, value) : json.Null(name);
    };
    json.Text("kind", group ? "group" : "task").Number("oid", row.m_oid).Number("record", row.m_oidRecord);
    json.Number("depth", row.m_nDepth).TextOrNull("uid", group ? std::string() : store.Uid(row.m_oid));
    json.Text("subject", TextOf(row.m_szSubject)).TextOrNull("letter", TextOf(row.m_szPriorityLetter));
    json.TextOrNull("number", TextOf(row.m_szPriorityNumber));
    number("regenerates", row.m_lPrioNumber);
    number("order", row.m_lManagerOrdinal);
    json.Number("importance", row.m_nImportance).Number("sensitivity", row.m_lSensitivity);
    json.Day("start", row.m_dtStart);
    json.Day("due", group && groupBy != kGroupDueDate ? kNoDate : row.m_dtDue);
    json.Day("completed", group ? kNoDate : row.m_dtCompleted).Moment("reminder", row.m_dtReminder);
    json.Bool("done", row.m_bCompleted).Number("percent", row.m_wPercent).Bool("overdue", row.m_bOverdue);
    json.Bool("duetoday", row.m_bDueToday).Bool("recurring", row.m_wFlag7).Bool("reminderset", row.m_wFlag8);
    json.Bool("starred", row.m_bStarred).Bool("note", row.m_bHasNote).Bool("link", row.m_bHasLink);
    json.Bool("journal", row.m_bHasJournalLink).Number("status", row.m_lGtdStatus);
    number("project", row.m_oidProject);
    number("parent", row.m_oidParentStored);
    json.Number("children", row.NumChildren())
        .Bool("expanded", row.m_bExpanded)
        .Bool("hidden", row.m_bHidden);
    json.Bool("keptforchildren", row.m_bKeptForChildren).Bool("loaded", row.m_bLoaded);
    json.Texts("categories", SplitCategories(TextOf(row.m_szCategories)));
    json.TextOrNull("icon", TextOf(row.m_szIcon));
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

// For this run: the view finds them as they were.
void OpenAll(CTasksThread& thread) {
    for (DATATASKS* row : thread.GetList()) {
        row->m_bExpanded = 1;
        row->m_bHidden = 0;
    }
    thread.SortDataList();
}

} // namespace

int TasksCommand(const Words& words) {
    const Options options("tasks", words, kRules);
    if (!options.Rest().empty()) Usage("tasks: what is " + options.Rest()[0] + "?");
    if (options.Has("--tree") && options.Has("--group")) Usage("tasks: --tree and --group don't go together");
    const auto date = ParseDay(options.Get("--date", "today"));
    if (!date) Usage("tasks: --date can't be " + options.Get("--date"));
    ViewKey view(kTaskView);
    Store store;
    FillView(view, options, store);
    CTasksThread thread;
    thread.Override(view.Get());
    thread.SetDateOn(*date);
    Client client([&](WPARAM, LPARAM) {
        if (options.Has("--open")) OpenAll(thread);
        for (int i = 1; i <= thread.GetActiveDataCount(); ++i) {
            const DATATASKS* row = thread.GetList().Get(i);
            options.Has("--json") ? PrintJson(*row, thread.GetGroupBy(), store) : PrintText(*row);
        }
    });
    thread.m_hClientWnd = client.Window();
    client.Run(thread);
    return kExitDone;
}

} // namespace qn
