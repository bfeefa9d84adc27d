// The tree of folders and notes.
#pragma once

#include "QNWorkerClass/notesthread.h"
#include "apps/pages/listdata.h"
#include "apps/pages/listview.h"

namespace qn {

class NotesView : public ListView {
public:
    NotesView();

    void Begin() override;
    void Reload() override { m_data.Reload(); }
    void Wait(UINT most = 0) override { m_data.Wait(most); }
    const std::vector<std::u16string>& Categories() const override { return m_data.Categories(); }
    std::vector<MenuRow> MenuRows() override { return OrderRows(); }
    bool CanDelete() const override;
    void DeleteCurrent() override;

private:
    std::size_t RowCount() const override { return m_rows; }
    std::u16string RowText(std::size_t row) override;
    ULONGLONG RowId(std::size_t row) const override;
    bool IsItem(std::size_t row) const override { return Row(row).m_nKind != 0 && !Row(row).m_bFolder; }
    CardText CardOf(std::size_t row) override;
    void ActOnHeading(std::size_t row) override;
    bool RowKey(std::size_t row, WPARAM key) override;
    std::vector<MenuRow> ItemMenu(std::size_t row) override;
    std::u16string EmptyText() const override;
    void FillEmpty() override;
    int Indent(std::size_t row) const override;
    int WrapIndent(std::size_t) const override;
    const WCHAR* CategoriesOf(std::size_t row) const override { return Row(row).m_bstrCategory; }
    std::vector<Bar::Cell> TitleCells() override;
    void CategoriesChosen(std::vector<std::u16string> names) override;

    DATANOTES& Row(std::size_t row) const { return *m_data.Shown().GetList().Get(static_cast<int>(row) + 1); }
    void Loaded();
    std::u16string NoteText(const DATANOTES& note) const;
    void Toggle(std::size_t row);
    std::vector<MenuRow> OrderRows();
    void Sort(LONG order, bool descending);
    void OpenElsewhere(const std::u16string& path);

    mutable ListData<CNotesThread> m_data;
    std::size_t m_rows = 0; // 0 while there is nothing but empty folders to list from
    bool m_begun = false;
};

} // namespace qn
