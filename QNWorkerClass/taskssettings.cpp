// The settings of a task view: some at its key, the rest at the key of the filter rule below it.
#include "QNWorkerClass/tasksthread.h"

#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/clock.h"
#include "Platform/strings.h"
#include "QNWorkerClass/viewsettings.h"

namespace {

constexpr WCHAR kHeadingsKey[] = u"Software\\Norvo\\Quillonary\\TV\\GroupHeadings";
constexpr LONG kNoDaysFuture = 949998; // what an absent setting reads as; replaced at the first use
constexpr LONG kNoPriorityFilter = 4;
constexpr int kContextChars = 1028; // what a value of a task holds, with the terminator

bool HasHeadings() {
    DWORD keys = 0, values = 0;
    return QueryKey(HKEY_CURRENT_USER, kHeadingsKey, &keys, &values) == 0 && values != 0;
}

} // namespace

std::u16string CTasksThread::RuleKey() const {
    WCHAR rule[16];
    wsprintfW(rule, u"\\%d", m_nRule);
    return std::u16string(m_szSettingsKey) + rule;
}

void CTasksThread::SettingChange() {
    m_listParentsSeen.clear();
    m_listExcluded.clear();
    ReadRootSettings();
    ReadRuleSettings();
    m_bFeatureFC = static_cast<LONG>(ReadRegistryWithDefault(kSuiteKey, u"Feature_FC", 0));
    m_bFeatureGTD = static_cast<LONG>(ReadRegistryWithDefault(kSuiteKey, u"Feature_GTD", 1));
    m_bGroupHeadings = HasHeadings();
    ApplyForcedSettings();
    // Views once could leave the name out; the setting is still read, and has no effect any more.
    m_bShowProjectName = 1;
    RefreshToday();
}

void CTasksThread::ReadRootSettings() {
    const ViewSettings root(m_regSettings, m_szSettingsKey);
    m_bShowHasNote = root.Number(u"ShowHasNoteIcons", 1);
    m_nRule = root.Number(u"TV_FilterData", kTasksAll);
    m_bAlwaysShowNamedHeaders = root.Number(u"bAlwaysShowNamedHeaders", 0);
    m_bShowProjectName = root.Number(u"ShowProjectName", -1);
    m_CategoryFilter.bHideCategories = root.Number(u"bHideCategories", 0);
    m_CategoryFilter.m_bIncludeNoCat = root.Number(u"m_bIncludeNoCat", 0);
    m_CategoryFilter.CategoryANDOR = root.Number(u"CategoryANDOR", 0);
    if (IsProjectRule(m_nRule))
        m_oidProjectFilter = static_cast<DWORD>(root.Number(u"FCCurrentProjectOID", 0));
    m_bContextMode = m_nRule == kTasksOfContext;
    if (m_bContextMode) {
        WCHAR name[kContextChars];
        root.Text(u"CurrentContextName", name, u"");
        m_strContextFilter = name;
    }
}

void CTasksThread::ReadRuleSettings() {
    const ViewSettings rule(m_regSettings, RuleKey().c_str());
    m_nDaysFuture = rule.Number(u"TV_DaysFuture", kNoDaysFuture);
    m_nFilterPrivacy = rule.Number(u"FilterPrivacy", -1);
    m_nFilterPriority = rule.Number(u"TV_FilterPriority", kNoPriorityFilter);
    m_bShowCompleted = rule.Number(u"bShowCompleted", 0);
    m_bShowUndated = rule.Number(u"bShowUndated", 1);
    m_bShowOverDue = rule.Number(u"bShowOverDue", 1);
    m_nGroupBy = rule.Number(u"GroupBy", kGroupNone);
    m_bShowExpanded = rule.Number(u"bShowExpanded", 0);
}

// What a rule would show nothing without.
void CTasksThread::ForceRuleSettings() {
    if (m_nRule == kTasksCompleted) m_bShowCompleted = 1;
    if (m_nRule == kTasksUndated || m_nRule == kTasksCompleted) m_bShowUndated = 1;
}

void CTasksThread::ApplyForcedSettings() {
    ForceRuleSettings();
    if (IsProjectRule(m_nRule)) m_bShowCompleted = 1;
    if (m_nRule == kTasksOfGoal) m_nGroupBy = kGroupTree;
    if (m_nGroupBy == kGroupCompletion) m_bShowCompleted = 1;
    if (m_nGroupBy == kGroupManager) m_bShowCompleted = 0;
}

void CTasksThread::RefreshToday() {
    SYSTEMTIME now;
    double today = 0;
    GetLocalTime(&now);
    if (SystemTimeToVariantTime(&now, &today)) m_iToday = static_cast<LONG>(today);
}

void CTasksThread::LoadSortPrefs() {
    const bool planner = IsOnDateRule(m_nRule) || m_nRule == kTasksOfGoal;
    {
        const ViewSettings rule(m_regSettings, RuleKey().c_str());
        m_sort.nTaskSort = rule.Number(planner ? u"TaskSortFC" : u"TaskSort",
                                       planner ? LONG{kSortCompletion} : LONG{kSortPriority});
        m_sort.nTaskSort2 = rule.Number(planner ? u"TaskSortFC2" : u"TaskSort2",
                                        planner ? LONG{kSortPriority} : LONG{kSortSubject});
        m_sort.bDescending = rule.Number(planner ? u"TaskSortDescendingFC" : u"TaskSortDescending", 0) != 0;
        m_sort.bDescending2 =
            rule.Number(planner ? u"TaskSortDescendingFC2" : u"TaskSortDescending2", 0) != 0;
    }
    m_sort.nUndated = ViewSettings(m_regSettings, m_szSettingsKey).Number(u"UndatedTaskSort", -1);
    PublishTaskSort(m_sort);
}
