// What the list of tasks shows, and how: the settings of the task view, which its data thread reads with each load, and the
// menus that change them. Group, order and done tasks are settings of each rule.
#pragma once

#include "QNWorkerClass/tasksthread.h"
#include "apps/pages/menu.h"

namespace qn {

class TaskChoice {
public:
    // `changed` is called when a menu has changed a setting.
    explicit TaskChoice(std::function<void()> changed) : m_changed(std::move(changed)) {}

    LONG Rule() const;
    std::u16string RuleName() const; // "All", "Next 14 days", "@home"
    std::u16string NoneText() const; // that no task passes it
    LONG GroupBy() const;
    bool IsTree() const { return GroupBy() == kGroupTree; }
    bool ShowsDone() const;
    // The other tasks of a list that shows none.
    void ShowAll() const;
    void ShowDone(bool show) const;

    std::vector<MenuRow> RuleRows() const;
    std::vector<MenuRow> ContextRows(const std::vector<TaskContext>& contexts) const;
    std::vector<MenuRow> GroupRows() const;
    std::vector<MenuRow> OrderRows() const;
    // The two that are on or off.
    std::vector<MenuRow> SwitchRows() const;
    std::u16string GroupName() const;
    std::u16string OrderName() const;

private:
    std::u16string RuleKey() const;
    LONG Number(const WCHAR* name, LONG fallback) const; // of the rule
    void Set(const WCHAR* name, LONG value) const;
    bool IsDoneForced() const;
    LONG DaysAhead() const;
    LONG SortKey() const;
    void SetRule(LONG rule) const;
    void SetNextDays(LONG days) const;
    void SetContext(const std::u16string& name) const;
    void SetGroup(LONG group) const;
    void SetOrder(LONG key, LONG second) const;

    std::function<void()> m_changed;
};

} // namespace qn
