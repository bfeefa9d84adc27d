// A tab that is one list: rows of mark-up, headings among them, and the card of the item that is selected.
//
// A tab derived from it numbers its rows from 0; at most kMostRows of them are shown. It calls ShowRows whenever they are
// others. What a row is about stays selected and in sight by its id.
#pragma once

#include "QNGridCtrl/HTMLGrid.h"
#include "QNWorkerClass/categorycolors.h"
#include "apps/pages/tabview.h"

#include <string_view>

namespace qn {

class ListView;

// The owner-draw function finds its list by it.
class ListGrid : public CHTMLGrid {
public:
    ListView* list = nullptr;
};

class ListView : public TabView {
public:
    bool HasItem() const override;
    void OpenCurrent() override;
    CHTMLGrid& List() { return m_grid; }

protected:
    static constexpr std::size_t kNoRow = static_cast<std::size_t>(-1);
    static constexpr std::size_t kMostRows = 65535;

    // --- What a list fills in
    virtual std::size_t RowCount() const = 0;
    virtual std::u16string RowText(std::size_t row) = 0; // mark-up, the tag of the ground first
    virtual ULONGLONG RowId(std::size_t row) const = 0;  // of what it is about; the same after a load
    virtual bool IsItem(std::size_t row) const = 0;      // else a heading
    virtual CardText CardOf(std::size_t row) = 0;        // of an item
    virtual void ActOnHeading(std::size_t) {}            // it was tapped, or Enter was pressed on it
    // A link of the row's mark-up, by its target, or a picture by its source.
    virtual void ActOnLink(std::size_t row, std::u16string_view) { Activate(row); }
    virtual std::vector<MenuRow> ItemMenu(std::size_t row) = 0;
    virtual std::u16string EmptyText() const = 0;           // mark-up, in place of rows
    virtual void FillEmpty() {}                             // its link was tapped
    virtual int Indent(std::size_t) const { return 0; }     // of its text, pixels
    virtual int WrapIndent(std::size_t) const { return 0; } // more of it, behind the first line of the text
    // A tap so many pixels from the left edge, more than 0; false: it is one on the row.
    virtual bool TakeTap(std::size_t, int) { return false; }
    // Other margins or another least height of its cell; called behind RowText.
    virtual void Shape(std::size_t, tagNM_GRIDCELL&) {}
    // Names of categories, for the bar of their colour at the left edge; null for none.
    virtual const WCHAR* CategoriesOf(std::size_t) const { return nullptr; }
    virtual bool RowKey(std::size_t, WPARAM) {
        return false;
    } // pressed while this row is selected; kNoRow: none is
    // Paints over the ground of a row, below its text: true when it also painted the ground.
    virtual bool PaintRow(HDC, const RECT&, std::size_t, bool /* selected */) { return false; }

    // --- What a list calls
    void ShowRows();                 // they are others
    void UpdateRow(std::size_t row); // its text alone is another
    std::size_t SelectedRow() const; // kNoRow for none
    std::size_t CurrentItem() const; // the item that is on the card or selected; kNoRow for none
    std::size_t FindRow(ULONGLONG id) const;
    void SelectRow(std::size_t row);
    std::size_t TopRow() const; // the first in sight; kNoRow while there is none
    void ShowAtTop(std::size_t row) { m_grid.SetTopRow(static_cast<WORD>(row)); }
    virtual void OpenRow(std::size_t row);
    void PlaceList(const RECT& place) { MoveTo(m_grid, place); }
    HWND ListWindow() const { return m_grid.GetHWnd(); }
    static void MoveTo(CeWnd& window, const RECT& place) {
        window.MoveWindow(place.left, place.top, place.right - place.left, place.bottom - place.top);
    }

    // --- TabView
    bool OpenBody(const RECT& inside) override;
    void PlaceBody(const RECT& place) override { PlaceList(place); }
    void ShowBody(bool show) override { m_grid.ShowWindow(show ? SW_SHOWNA : SW_HIDE); }
    void FocusBody() override { m_grid.SetFocus(); }
    std::vector<HWND> BodyStops() const override { return {m_grid.GetHWnd()}; }
    void BodyEntered() override {
        if (::GetFocus() == m_grid.GetHWnd()) BeginSelection();
    }
    bool BodyKey(WPARAM key) override;
    void CardClosed() override { m_cardId = 0; }

    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;
    LRESULT OnNotify(int id, NMHDR* header, bool& handled) override;

private:
    static int DrawCell(tagDRAWITEMSTRUCT& item, tagCELLINFO& cell);
    int DrawRow(const tagDRAWITEMSTRUCT& item, const tagCELLINFO& cell);
    std::size_t ShownRows() const { return std::min(RowCount(), kMostRows); }
    void FillCell(tagNM_GRIDCELL& cell);
    void Tapped(const tagNM_GRIDVIEW& view);
    void Held(const tagNM_GRIDVIEW& view);
    void Activate(std::size_t row);
    void SelectionMoved();
    bool BeginSelection();
    void KeepSelected(const std::vector<ULONGLONG>& former, std::size_t chosen);
    std::size_t FindLeft(const std::vector<ULONGLONG>& former, std::size_t from) const;

    ListGrid m_grid;
    ULONGLONG m_cardId = 0; // of what is on the card
    ULONGLONG m_nextId = 0; // of what stood below the selected row that has gone
    // Of the rows that the grid has by now.
    std::vector<ULONGLONG> m_ids;
    CCategoryColorIcons m_colors;
    std::u16string m_text; // lent to the grid
    bool m_narrow = false; // the texts of the rows were made for that
};

} // namespace qn
