// The calendar as one window: a date line, the page of a day, a week or the agenda below it, and the card of an item,
// beside the page where there is room, else in its place.
#pragma once

#include "apps/pages/bar.h"
#include "apps/pages/card.h"
#include "apps/pages/changes.h"
#include "apps/pages/page.h"

#include <array>

namespace qn {

enum class PageKind { Day, Week, Agenda };
inline constexpr int kPageKinds = 3;

class CalendarView : public CeWnd, public PageHost {
public:
    CalendarView();

    // A child, or without a parent a window of its own.
    bool Open(HWND parent, const RECT& rect);
    // Shows a page; the lines come as soon as they are loaded.
    void GoTo(PageKind kind, LONG day);
    PageKind Kind() const { return m_kind; }
    LONG Day() const { return m_day; }
    // Names of categories, as CalendarData has them; loads anew.
    void ShowCategories(std::vector<std::u16string> names);
    CalendarData& Data() { return m_data; }
    // A key that was pressed; false when it means nothing here.
    bool Key(WPARAM key);
    void TakeFocus();
    // From the page to the date line and back, with more steps through the lists of a page; false behind the last.
    bool MoveFocus(bool forward);
    // Cells that the date line has at its end.
    void SetTools(std::vector<Bar::Cell> tools);
    // While a window covers the page: what the date line says, and what its arrow does. An empty title ends that.
    void SetCover(const std::u16string& title, std::function<void()> back);
    // Called when another page or day is shown.
    std::function<void()> moved;
    // Called when other categories are shown.
    std::function<void()> filtered;

    // --- What is done with the item that is selected or on the card
    bool HasItem() const { return Current() != nullptr; }
    bool IsCardOpen() const { return m_cardOid != 0; }
    void OpenCurrent();
    void DeleteCurrent(); // asks before
    bool CanUndo() const { return static_cast<bool>(m_undo); }
    void Undo(); // of the last deletion

private:
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;
    LRESULT OnTimer(WPARAM id, bool& handled) override;

    // --- PageHost
    void OpenItem(const DATACALENDAR& line) override;
    void ShowItemMenu(const DATACALENDAR& line, POINT point) override;
    void SelectionMoved() override;
    void OpenDay(LONG day) override { GoTo(PageKind::Day, day); }
    void Turn(int pages) override { GoTo(m_kind, Page().Turned(m_day, pages)); }
    void MoveItem(const DATACALENDAR& line, DATE start) override;
    std::u16string EmptyText() const override;
    void FillEmpty() override;

    CalendarPage& Page() const { return *m_pages[static_cast<std::size_t>(m_kind)]; }
    void Loaded();
    void Found(); // the search for the next appointment is over
    void ShowBusy(bool busy);
    void Arrange();
    void FillDateLine();
    void ShowCard(const DATACALENDAR& line);
    void CloseCard();
    void Tell(std::u16string_view what, std::u16string_view name, bool undo);
    void EndNotice();
    int Width() const;
    bool IsWide() const;   // the card stands beside the page
    bool IsNarrow() const; // the date line has no room for long words
    bool IsCardAlone() const { return m_cardOid != 0 && !IsWide(); }
    const DATACALENDAR* FindCarded() const;
    const DATACALENDAR* Current() const;

    CalendarData m_data;
    Bar m_dateLine;
    Bar m_notice; // below the page: what was done just now
    std::array<std::unique_ptr<CalendarPage>, kPageKinds> m_pages;
    Card m_card;
    PageKind m_kind = PageKind::Day;
    LONG m_day = 0;
    LONG m_today = 0; // that the page was drawn for
    std::vector<Bar::Cell> m_tools;
    std::u16string m_coverTitle;
    std::function<void()> m_coverBack;
    // The item on the card; no item: there is none.
    DWORD m_cardOid = 0;
    LONG m_cardDay = 0;
    Com<IItem> m_undo;
    bool m_told = false;         // the notice is shown
    bool m_searching = false;    // for the next appointment
    bool m_nothingAhead = false; // there was none
};

} // namespace qn
