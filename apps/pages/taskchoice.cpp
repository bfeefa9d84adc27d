#include "apps/pages/taskchoice.h"

#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "apps/qn/support.h"

#include <algorithm>

namespace qn {

namespace {

constexpr const WCHAR* kView = u"Software\\Norvo\\Quillonary\\TV";
constexpr const WCHAR* kRule = u"TV_FilterData";
constexpr const WCHAR* kGroup = u"GroupBy";
constexpr const WCHAR* kDone = u"bShowCompleted";
constexpr const WCHAR* kContext = u"CurrentContextName";
constexpr const WCHAR* kDays = u"TV_DaysFuture";
constexpr LONG kDaysUnset = 949998, kDaysUsual = 14;
constexpr LONG kDaysOffered[] = {7, 14, 30};
constexpr int kContextChars = 260;

enum class Offered { Always, WithGtd, Never };
struct RuleRow {
    LONG rule;
    const WCHAR* name;
    const WCHAR* none; // what an empty list says
    Offered offered = Offered::Always;
};
// In the order of the menu; the last are of views that another program has set.
constexpr RuleRow kRules[] = {
    {kTasksAll, u"All", u"No tasks."},
    {kTasksDue, u"Today", u"Nothing is due today."},
    {kTasksDueTomorrow, u"Tomorrow", u"Nothing is due until tomorrow."},
    {kTasksNextDays, u"", u"Nothing is due in these days."},
    {kTasksOverdue, u"Overdue", u"Nothing is overdue."},
    {kTasksActive, u"Active", u"No task has begun or is due."},
    {kTasksUndated, u"Undated", u"Every task has a date."},
    {kTasksStarred, u"Starred", u"No task has a star."},
    {kTasksNextAction, u"Next actions", u"No task is a next action.", Offered::WithGtd},
    {kTasksUnfiled, u"Unfiled", u"Every task has a project, a context or a status.", Offered::WithGtd},
    {kTasksCompleted, u"Done", u"No task is done."},
    {kTasksOfContext, u"", u"No task is of this context.", Offered::Never},
    {kTasksOnDate, u"Of the day", u"Nothing is due today.", Offered::Never},
    {kTasksMaster, u"Of no day", u"Every task has a date.", Offered::Never},
    {kTasksOfGoal, u"Of the goal", u"No task is of this goal.", Offered::Never},
    {kTasksOfProject, u"Of the project", u"No task is of this project.", Offered::Never},
};

// A number that is no rule shows all.
const RuleRow& RowOf(LONG rule) {
    const auto* found = std::ranges::find(kRules, rule, &RuleRow::rule);
    return found == std::end(kRules) ? kRules[0] : *found;
}

std::u16string NextDaysName(LONG days) {
    return u"Next " + Utf16(Plural(static_cast<std::size_t>(std::max<LONG>(days, 0)), "day"));
}

bool HasGtd() { return ReadRegistryWithDefault(kSuiteKey, u"Feature_GTD", 1) != 0; }

struct Named {
    LONG value;
    const WCHAR* name;
};
constexpr Named kGroups[] = {
    {kGroupNone, u"None"},
    {kGroupCategory, u"Category"},
    {kGroupImportance, u"Importance"},
    {kGroupLetter, u"Priority"},
    {kGroupProgress, u"Progress"},
    {kGroupDueDate, u"Due date"},
    {kGroupCompletion, u"Completion"},
    {kGroupGtdStatus, u"Status"}, // with that feature
};
constexpr LONG kSortStart = 3;
struct Order {
    LONG key;
    LONG second; // decides between equal ones
    const WCHAR* name;
};
constexpr Order kOrders[] = {
    {kSortPriority, kSortSubject, u"Priority"}, {kSortDue, kSortPriority, u"Due date"},
    {kSortStart, kSortPriority, u"Start"},      {kSortSubject, kSortPriority, u"Subject"},
    {kSortCategory, kSortSubject, u"Category"}, {kSortCompletion, kSortPriority, u"Completion"},
};

bool IsPlanner(LONG rule) { return IsOnDateRule(rule) || rule == kTasksOfGoal; }

} // namespace

// --- The settings -------------------------------------------------------------------------------------------------

LONG TaskChoice::Rule() const { return static_cast<LONG>(ReadRegistryWithDefault(kView, kRule, kTasksAll)); }

std::u16string TaskChoice::RuleKey() const { return kView + Utf16("\\" + std::to_string(Rule())); }

LONG TaskChoice::Number(const WCHAR* name, LONG fallback) const {
    return static_cast<LONG>(ReadRegistryWithDefault(RuleKey().c_str(), name, static_cast<DWORD>(fallback)));
}

void TaskChoice::Set(const WCHAR* name, LONG value) const {
    SetToRegistry(HKEY_CURRENT_USER, RuleKey().c_str(), name, static_cast<DWORD>(value));
}

LONG TaskChoice::GroupBy() const {
    return Rule() == kTasksOfGoal ? LONG{kGroupTree} : Number(kGroup, kGroupNone);
}

bool TaskChoice::IsDoneForced() const {
    return Rule() == kTasksCompleted || IsProjectRule(Rule()) || GroupBy() == kGroupCompletion;
}

bool TaskChoice::ShowsDone() const { return IsDoneForced() || Number(kDone, 0) != 0; }

LONG TaskChoice::DaysAhead() const {
    const LONG days = Number(kDays, kDaysUnset);
    return days == kDaysUnset ? kDaysUsual : days;
}

LONG TaskChoice::SortKey() const {
    return IsPlanner(Rule()) ? Number(u"TaskSortFC", kSortCompletion) : Number(u"TaskSort", kSortPriority);
}

void TaskChoice::SetRule(LONG rule) const {
    SetToRegistry(HKEY_CURRENT_USER, kView, kRule, static_cast<DWORD>(rule));
    m_changed();
}

void TaskChoice::SetNextDays(LONG days) const {
    SetToRegistry(HKEY_CURRENT_USER, kView, kRule, kTasksNextDays);
    Set(kDays, days);
    m_changed();
}

void TaskChoice::SetContext(const std::u16string& name) const {
    SetToRegistrySZ(HKEY_CURRENT_USER, kView, kContext, name.c_str());
    SetRule(kTasksOfContext);
}

// Groups of dates keep no state of their own: they are open.
void TaskChoice::SetGroup(LONG group) const {
    Set(kGroup, group);
    if (group == kGroupDueDate) Set(u"bShowExpanded", 1);
    m_changed();
}

void TaskChoice::SetOrder(LONG key, LONG second) const {
    const bool planner = IsPlanner(Rule());
    Set(planner ? u"TaskSortFC" : u"TaskSort", key);
    Set(planner ? u"TaskSortFC2" : u"TaskSort2", second);
    m_changed();
}

void TaskChoice::ShowAll() const { SetRule(kTasksAll); }

void TaskChoice::ShowDone(bool show) const {
    Set(kDone, show);
    m_changed();
}

// --- Names --------------------------------------------------------------------------------------------------------

std::u16string TaskChoice::RuleName() const {
    const LONG rule = Rule();
    if (rule == kTasksNextDays) return NextDaysName(DaysAhead());
    if (rule == kTasksOfContext) {
        WCHAR name[kContextChars] = {};
        GetFromRegistrySZ(HKEY_CURRENT_USER, kView, kContext, name, kContextChars);
        return *name ? name : u"No context";
    }
    return RowOf(rule).name;
}

std::u16string TaskChoice::NoneText() const { return RowOf(Rule()).none; }

std::u16string TaskChoice::GroupName() const {
    const auto* found = std::ranges::find(kGroups, GroupBy(), &Named::value);
    return found == std::end(kGroups) ? u"" : found->name;
}

std::u16string TaskChoice::OrderName() const {
    const auto* found = std::ranges::find(kOrders, SortKey(), &Order::key);
    return found == std::end(kOrders) ? u"" : found->name;
}

// --- Menus --------------------------------------------------------------------------------------------------------

std::vector<MenuRow> TaskChoice::RuleRows() const {
    std::vector<MenuRow> rows;
    for (const RuleRow& row : kRules) {
        if (row.offered == Offered::Never || (row.offered == Offered::WithGtd && !HasGtd())) continue;
        const bool chosen = row.rule == Rule();
        if (row.rule != kTasksNextDays) {
            rows.push_back({row.name, [this, &row] { SetRule(row.rule); }, true, chosen});
            continue;
        }
        for (const LONG days : kDaysOffered)
            rows.push_back({NextDaysName(days), [this, days] { SetNextDays(days); }, true,
                            chosen && days == DaysAhead()});
    }
    return rows;
}

std::vector<MenuRow> TaskChoice::ContextRows(const std::vector<TaskContext>& contexts) const {
    const std::u16string chosen = Rule() == kTasksOfContext ? RuleName() : u"";
    std::vector<MenuRow> rows;
    rows.reserve(contexts.size());
    for (const TaskContext& context : contexts)
        rows.push_back({MenuText(context.name) + u"\t" + Utf16(std::to_string(context.nOpen)),
                        [this, name = context.name] { SetContext(name); }, true, context.name == chosen});
    std::ranges::sort(rows, {}, &MenuRow::text);
    return rows;
}

std::vector<MenuRow> TaskChoice::GroupRows() const {
    std::vector<MenuRow> rows;
    for (const Named& row : kGroups)
        if (row.value != kGroupGtdStatus || HasGtd())
            rows.push_back(
                {row.name, [this, group = row.value] { SetGroup(group); }, true, row.value == GroupBy()});
    return rows;
}

std::vector<MenuRow> TaskChoice::OrderRows() const {
    std::vector<MenuRow> rows;
    for (const Order& row : kOrders)
        rows.push_back(
            {row.name, [this, &row] { SetOrder(row.key, row.second); }, true, row.key == SortKey()});
    const WCHAR* name = IsPlanner(Rule()) ? u"TaskSortDescendingFC" : u"TaskSortDescending";
    const bool descending = Number(name, 0) != 0;
    rows.push_back({});
    rows.push_back({u"Reverse",
                    [this, name, descending] {
                        Set(name, !descending);
                        m_changed();
                    },
                    true, descending});
    return rows;
}

std::vector<MenuRow> TaskChoice::SwitchRows() const {
    const bool tree = IsTree(), done = ShowsDone();
    return {{u"As a tree", [this, tree] { SetGroup(tree ? LONG{kGroupNone} : LONG{kGroupTree}); },
             Rule() != kTasksOfGoal, tree},
            {u"With done tasks", [this, done] { ShowDone(!done); }, !IsDoneForced(), done}};
}

} // namespace qn
