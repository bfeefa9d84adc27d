// The list of tasks, as the task view's settings say: a list, a tree or groups.
#pragma once

#include "QNWorkerClass/tasksthread.h"
#include "apps/pages/listdata.h"
#include "apps/pages/listview.h"
#include "apps/pages/taskchoice.h"

#include <map>

namespace qn {

class TaskData : public ListData<CTasksThread> {
public:
    using ListData::ListData;

private:
    void Prepare() override;
};

class TasksView : public ListView {
public:
    TasksView();

    void Begin() override;
    void Reload() override { m_data.Reload(); }
    void Wait(UINT most = 0) override { m_data.Wait(most); }
    const std::vector<std::u16string>& Categories() const override { return m_data.Categories(); }
    std::vector<MenuRow> MenuRows() override;
    void DeleteCurrent() override;

private:
    // --- ListView
    std::size_t RowCount() const override { return m_rows.size(); }
    std::u16string RowText(std::size_t row) override;
    ULONGLONG RowId(std::size_t row) const override;
    bool IsItem(std::size_t row) const override { return m_rows[row]->m_oid != 0; }
    CardText CardOf(std::size_t row) override;
    void ActOnHeading(std::size_t row) override { ShowBelow(row, !m_rows[row]->m_bExpanded); }
    std::vector<MenuRow> ItemMenu(std::size_t row) override;
    std::u16string EmptyText() const override;
    void FillEmpty() override;
    int Indent(std::size_t row) const override;
    int WrapIndent(std::size_t row) const override;
    bool TakeTap(std::size_t row, int x) override;
    const WCHAR* CategoriesOf(std::size_t row) const override;
    bool RowKey(std::size_t row, WPARAM key) override;
    bool PaintRow(HDC hdc, const RECT& place, std::size_t row, bool selected) override;

    // --- TabView
    std::vector<Bar::Cell> TitleCells() override;
    void CategoriesChosen(std::vector<std::u16string> names) override;

    // --- Rows
    void Loaded();
    void TakeRows(); // those that the data thread shows
    void RestoreBranches();
    LONG GroupBy() const { return m_data.Shown().GetGroupBy(); }
    bool IsGrouped() const { return GroupBy() != kGroupNone && GroupBy() != kGroupTree; }
    // The settings don't keep which branches are open.
    bool KeepsBranches() const { return GroupBy() == kGroupNone || GroupBy() == kGroupDueDate; }
    LONG OpenCount();
    // A list keeps the parents of what its rule shows. Where that is everything they are no less to be done.
    bool CountsParents() const { return m_choice.Rule() == kTasksAll; }
    std::size_t RowOf(const DATATASKS* task) const;

    // --- Branches
    bool IsBranch(std::size_t row) const { return m_rows[row]->IsParentNode(); }
    void ShowBelow(std::size_t row, bool show);
    bool StepIn(std::size_t row);
    bool StepOut(std::size_t row);

    // --- Changes
    void Mark(std::size_t row);
    void Skip(std::size_t row);
    void Finish(HRESULT result, const WCHAR* what, std::u16string_view name, std::function<HRESULT()> undo);

    // --- Menus
    std::vector<MenuRow> ListRows();
    void ChooseRule();

    mutable TaskData m_data;
    TaskChoice m_choice;
    std::vector<DATATASKS*> m_rows;     // of the data thread, as they are shown
    std::map<ULONGLONG, bool> m_opened; // branches that were opened (true) or closed here
    bool m_hasBranches = false;         // tasks with others below them
    bool m_begun = false;
    bool m_loaded = false;
};

} // namespace qn
