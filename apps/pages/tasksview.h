// The list of tasks, as the task view's settings say: a list, a tree or groups.
#pragma once

#include "QNWorkerClass/tasksthread.h"
#include "apps/pages/listdata.h"
#include "apps/pages/listview.h"

namespace qn {

class TasksView : public ListView {
public:
    TasksView();

    void Begin() override;
    void Reload() override { m_data.Reload(); }
    void Wait(UINT most = 0) override { m_data.Wait(most); }
    const std::vector<std::u16string>& Categories() const override { return m_data.Categories(); }
    void DeleteCurrent() override {}

private:
    std::size_t RowCount() const override {
        return static_cast<std::size_t>(m_data.Shown().GetActiveDataCount());
    }
    std::u16string RowText(std::size_t row) override;
    ULONGLONG RowId(std::size_t row) const override;
    bool IsItem(std::size_t row) const override { return Row(row).m_oid != 0; }
    CardText CardOf(std::size_t row) override;
    std::vector<MenuRow> ItemMenu(std::size_t) override;
    std::u16string EmptyText() const override;
    std::vector<Bar::Cell> TitleCells() override;
    void CategoriesChosen(std::vector<std::u16string> names) override;

    const DATATASKS& Row(std::size_t row) const {
        return *m_data.Shown().GetList().Get(static_cast<int>(row) + 1);
    }

    mutable ListData<CTasksThread> m_data;
    bool m_begun = false;
};

} // namespace qn
