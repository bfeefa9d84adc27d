// A list of days, each under a heading with the items below it: the week, with a bar of the hours beside each heading,
// and the agenda of the next weeks, which leaves empty days out.
#pragma once

#include "apps/pages/page.h"

#include <optional>

namespace qn {

class ListPage : public CalendarPage {
public:
    using CalendarPage::CalendarPage;
    const DATACALENDAR* SelectedLine(HWND list) const override;

protected:
    static constexpr std::size_t kNoLine = static_cast<std::size_t>(-1);
    struct Row {
        LONG day;
        std::size_t line; // kNoLine: the heading of the day
        DWORD oid;        // of the line's item
        bool IsSame(const Row& other) const { return day == other.day && oid == other.oid; }
    };
    virtual bool ShowsEmptyDays() const = 0;
    virtual std::u16string HeadingText(LONG day) const = 0;
    virtual int BarWidth(int) const { return 0; } // of the hours, in a row so wide; 0 is none

private:
    bool SetUpGrids() override;
    void Fill(bool sameDay) override;
    void Scroll() override;
    void FillBars();
    void Tapped(const tagNM_GRIDVIEW& view) override;
    LRESULT OnCellRequest(tagNM_GRIDCELL& cell) override;
    static int DrawCell(tagDRAWITEMSTRUCT& item, tagCELLINFO& cell);
    int DrawHeading(const tagDRAWITEMSTRUCT& item) const;
    const Row* RowAt(WORD row) const { return row < m_rows.size() ? &m_rows[row] : nullptr; }

    std::vector<Row> m_rows;
    std::vector<CDataMonth> m_bars; // from the first day on
    LONG m_firstDay = 0;
    // What stood at the top and what was selected before the list was built anew.
    WORD m_topRow = 0;
    std::optional<Row> m_selected;
    std::u16string m_text; // lent to the grid
};

class WeekPage : public ListPage {
public:
    using ListPage::ListPage;
    DayRange RangeOf(LONG day) const override;
    std::u16string Title(LONG day, bool narrow) const override;
    LONG Turned(LONG day, int pages) const override { return day + 7 * pages; }

private:
    bool ShowsEmptyDays() const override { return true; }
    std::u16string HeadingText(LONG day) const override;
    int BarWidth(int width) const override { return width / 2; }
};

class AgendaPage : public ListPage {
public:
    using ListPage::ListPage;
    static constexpr LONG kDays = 28;
    DayRange RangeOf(LONG day) const override { return {day, day + kDays - 1}; }
    std::u16string Title(LONG day, bool narrow) const override;
    LONG Turned(LONG day, int pages) const override { return day + 7 * pages; }

private:
    bool ShowsEmptyDays() const override { return false; }
    std::u16string HeadingText(LONG day) const override;
};

} // namespace qn
