// The list of contacts: a line to find them by, above it their names under the letters of the alphabet or under the headers
// of groups, the contacts that were used last, or the calls, as the contact view's settings say.
#pragma once

#include "apps/pages/contactsdata.h"
#include "apps/pages/letters.h"
#include "apps/pages/listview.h"
#include "apps/pages/textline.h"

namespace qn {

class ContactsView : public ListView {
public:
    ContactsView();

    void Begin() override;
    void Reload() override;
    void Wait(UINT most = 0) override { m_data.Wait(most); }
    bool IsTyping() const override { return m_find.HasFocus(); }
    void StartTyping() override { m_find.TakeFocus(); }
    const std::vector<std::u16string>& Categories() const override { return m_data.Categories(); }
    void Find(const std::u16string& text) override { m_find.SetText(text); }
    std::vector<MenuRow> MenuRows() override;
    bool CanDelete() const override;
    void DeleteCurrent() override;
    ContactsData& Data() { return m_data; }

private:
    // A row of the list: one of the thread's, or without one a letter.
    struct Line {
        DATACONTACTS* row;
        WCHAR letter = 0;
        DWORD group = 0; // tells the header that it stands under
    };
    // A letter that names stand under. The first one has no row: it stands above the list.
    struct Section {
        WCHAR letter;
        std::size_t line; // its first name
    };

    // --- ListView
    std::size_t RowCount() const override { return m_lines.size(); }
    std::u16string RowText(std::size_t row) override;
    ULONGLONG RowId(std::size_t row) const override;
    bool IsItem(std::size_t row) const override;
    CardText CardOf(std::size_t row) override;
    void OpenRow(std::size_t row) override;
    void ActOnHeading(std::size_t row) override;
    std::vector<MenuRow> ItemMenu(std::size_t row) override;
    std::u16string EmptyText() const override;
    void FillEmpty() override;
    int Indent(std::size_t row) const override;
    void Shape(std::size_t row, tagNM_GRIDCELL& cell) override;
    bool PaintRow(HDC hdc, const RECT& place, std::size_t row, bool selected) override;
    bool TakeTap(std::size_t row, int x) override;
    const WCHAR* CategoriesOf(std::size_t row) const override;
    bool RowKey(std::size_t row, WPARAM key) override;

    // --- TabView
    bool OpenBody(const RECT& inside) override;
    void PlaceBody(const RECT& place) override;
    void ShowBody(bool show) override;
    std::vector<HWND> BodyStops() const override { return {m_find.FocusWindow(), ListWindow()}; }
    bool BodyKey(WPARAM key) override;
    bool TypingKey(WPARAM key) override;
    std::vector<Bar::Cell> TitleCells() override;
    void CategoriesChosen(std::vector<std::u16string> names) override;
    void TimerOver(WPARAM id) override;
    LRESULT OnChar(WPARAM code, UINT repeat, UINT flags, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;

    // --- Rows
    void Loaded();
    void FillLines();
    void ShowLetter();
    void GoToLetter(std::size_t section);
    DATACONTACTS& Row(std::size_t row) const { return *m_lines[row].row; }
    bool IsCall(std::size_t row) const { return IsItem(row) && Row(row).m_oid == 0; }
    bool HasLetters() const { return !m_sections.empty(); }
    bool IsGrouped() const;
    LONG Count() const;

    // --- What is done
    void FindTyped();
    void GoToList();
    void ToggleGroup(std::size_t row);
    bool PassLetter(std::size_t row, bool down);
    std::vector<MenuRow> FormatRows();
    void SetFormat(ContactsDisplay format);
    std::u16string NumberToCall(std::size_t row) const;
    std::u16string NameOf(std::size_t row) const;
    void Call(std::size_t row);

    mutable ContactsData m_data;
    TextLine m_find;
    LetterLine m_letter;
    LetterStrip m_strip;
    Alphabet m_alphabet;
    std::vector<Line> m_lines;
    std::vector<Section> m_sections; // empty where names don't stand under letters
    std::u16string m_listed;         // what was typed for these lines
    bool m_goToList = false;         // when what is typed is found
    bool m_begun = false;
};

} // namespace qn
