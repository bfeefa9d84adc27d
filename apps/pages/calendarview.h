// The calendar as one window: a date line, the page of a day, a week or the agenda below it, and the card of an item, beside
// the page where there is room, else in its place.
#pragma once

#include "apps/pages/bar.h"
#include "apps/pages/card.h"
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
    CalendarData& Data() { return m_data; }
    // A key that was pressed; false when it means nothing here.
    bool Key(WPARAM key);
    void TakeFocus();
    // Cells that the date line has at its end.
    void SetTools(std::vector<Bar::Cell> tools);
    // Called when another page or day is shown.
    std::function<void()> moved;

private:
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;

    // --- PageHost
    void OpenItem(const DATACALENDAR& line) override;
    void OpenDay(LONG day) override { GoTo(PageKind::Day, day); }
    void Turn(int pages) override { GoTo(m_kind, Page().Turned(m_day, pages)); }
    void MoveItem(const DATACALENDAR& line, DATE start) override;

    CalendarPage& Page() const { return *m_pages[static_cast<std::size_t>(m_kind)]; }
    void Loaded();
    void Arrange();
    void FillDateLine();
    void CloseCard();
    int Width() const;
    bool IsWide() const;   // the card stands beside the page
    bool IsNarrow() const; // the date line has no room for long words
    const DATACALENDAR* FindCarded() const;

    CalendarData m_data;
    Bar m_dateLine;
    std::array<std::unique_ptr<CalendarPage>, kPageKinds> m_pages;
    Card m_card;
    PageKind m_kind = PageKind::Day;
    LONG m_day = 0;
    std::vector<Bar::Cell> m_tools;
    // The item on the card; no item: there is none.
    DWORD m_cardOid = 0;
    LONG m_cardDay = 0;
};

} // namespace qn
