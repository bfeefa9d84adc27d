// The search: a line for the text, the kinds of items to search, and what was found.
#pragma once

#include "apps/pages/listview.h"
#include "apps/pages/searchdata.h"
#include "apps/pages/searchrow.h"
#include "apps/pages/textline.h"

#include <set>

namespace qn {

class SearchView : public ListView {
public:
    SearchView();

    void Begin() override;
    void Reload() override;
    void Wait(UINT most = 0) override { m_data.Wait(most); }
    bool IsTyping() const override { return m_line.HasFocus(); }
    void StartTyping() override { m_line.TakeFocus(); }
    const std::vector<std::u16string>& Categories() const override { return m_data.Categories(); }
    void Find(const std::u16string& text) override;
    std::vector<MenuRow> MenuRows() override;
    bool CanDelete() const override { return false; }
    void DeleteCurrent() override {}
    SearchData& Data() { return m_data; }

private:
    // --- ListView
    std::size_t RowCount() const override { return m_rows.size(); }
    std::u16string RowText(std::size_t row) override;
    ULONGLONG RowId(std::size_t row) const override { return m_rows[row].Id(); }
    bool IsItem(std::size_t row) const override { return m_rows[row].type != 0; }
    CardText CardOf(std::size_t row) override { return SearchCard(m_rows[row]); }
    void ActOnHeading(std::size_t row) override;
    bool RowKey(std::size_t row, WPARAM key) override;
    std::vector<MenuRow> ItemMenu(std::size_t) override;
    std::u16string EmptyText() const override;
    void FillEmpty() override;
    int Indent(std::size_t row) const override;
    int WrapIndent(std::size_t row) const override;
    const WCHAR* CategoriesOf(std::size_t row) const override { return m_rows[row].categories.c_str(); }

    // --- TabView
    bool OpenBody(const RECT& inside) override;
    void PlaceBody(const RECT& place) override;
    void ShowBody(bool show) override;
    void FocusBody() override;
    std::vector<HWND> BodyStops() const override;
    bool BodyKey(WPARAM key) override;
    bool TypingKey(WPARAM key) override;
    std::vector<Bar::Cell> TitleCells() override;
    void CategoriesChosen(std::vector<std::u16string> names) override;
    void TimerOver(WPARAM id) override;
    LRESULT OnChar(WPARAM code, UINT repeat, UINT flags, bool& handled) override;

    // --- The question
    void Typed();
    SearchQuestion QuestionNow() const;
    void Search();
    void Keep();
    void Change(bool SearchQuestion::*wish);
    void FillKinds();

    // --- What was found
    void TakeSome(LONG count);
    void Loaded();
    void FillRows();
    void AddHeading(const DATAPARENT& header);
    bool IsClosed(const SearchRow& heading) const { return m_closed.contains(heading.title); }
    void GoToList();

    // --- Menus
    std::vector<MenuRow> OrderRows();
    void Sort(LONG order, bool descending);
    void SetDates(int choice);
    struct Offer { // what may find more
        const WCHAR* words = nullptr;
        std::function<void()> act;
    };
    Offer OfferMore();

    SearchData m_data;
    TextLine m_line;
    Bar m_kinds;
    SearchQuestion m_wishes; // all but the text
    int m_dates = 0;         // index of the choice
    std::vector<SearchRow> m_rows;
    SearchQuestion m_shown;            // that they are the answer to
    std::set<std::u16string> m_closed; // headings
    LONG m_count = 0;                  // items found
    LONG m_taken = 0;                  // rows of the search that goes on
    DWORD m_takenAt = 0;               // milliseconds
    bool m_done = false;               // the rows are all
    bool m_fresh = false;              // another question than that of the rows
    bool m_waiting = false;            // for a pause in typing
    bool m_begun = false;
};

} // namespace qn
