// The calendar: the page of a day, a week or the agenda, with a date line above it.
#pragma once

#include "Platform/poom.h"
#include "apps/pages/page.h"
#include "apps/pages/tabview.h"

#include <algorithm>
#include <array>
#include <memory>

namespace qn {

enum class PageKind { Day, Week, Agenda };
inline constexpr int kPageKinds = 3;

class CalendarView : public TabView, public PageHost {
public:
    CalendarView();

    // Shows a page; the lines come as soon as they are loaded.
    void GoTo(PageKind kind, LONG day);
    PageKind Kind() const { return m_kind; }
    LONG Day() const { return m_day; }
    CalendarData& Data() { return m_data; }
    // Called when another page or day is shown.
    std::function<void()> moved;

    void Begin() override {}
    void Reload() override { m_data.Reload(); }
    void Wait(UINT most = 0) override { m_data.Wait(most); }
    const std::vector<std::u16string>& Categories() const override { return m_data.Categories(); }
    std::vector<MenuRow> MenuRows() override;
    bool HasItem() const override { return Current() != nullptr; }
    bool CanDelete() const override {
        const DATACALENDAR* line = Current();
        return line && line->m_nType == kLineAppointment; // other items are deleted where they are at home
    }
    void OpenCurrent() override;
    void DeleteCurrent() override;

private:
    // --- TabView
    bool OpenBody(const RECT& inside) override;
    void PlaceBody(const RECT& place) override;
    void ShowBody(bool show) override;
    void FocusBody() override { Page().TakeFocus(); }
    std::vector<HWND> BodyStops() const override { return Page().Lists(); }
    void BodyEntered() override {
        const std::vector<HWND> lists = BodyStops();
        if (std::ranges::find(lists, ::GetFocus()) != lists.end()) Page().BeginSelection();
    }
    std::vector<Bar::Cell> TitleCells() override;
    bool BodyKey(WPARAM key) override;
    void CardClosed() override { m_cardOid = 0; }
    void CategoriesChosen(std::vector<std::u16string> names) override;

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
    void GoToToday();
    void ChooseKind();
    WCHAR PageLetter() const { return u"DWA"[static_cast<std::size_t>(m_kind)]; }
    MenuRow Overlay(const WCHAR* word, const std::u16string& setting);
    void ShowCardOf(const DATACALENDAR& line);
    const DATACALENDAR* FindCarded() const;
    const DATACALENDAR* Current() const;

    CalendarData m_data;
    std::array<std::unique_ptr<CalendarPage>, kPageKinds> m_pages;
    PageKind m_kind = PageKind::Day;
    LONG m_day = 0;
    // The item on the card; no item: there is none.
    DWORD m_cardOid = 0;
    LONG m_cardDay = 0;
    bool m_searching = false;    // for the next appointment
    bool m_nothingAhead = false; // there was none
};

} // namespace qn
