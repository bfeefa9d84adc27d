// The common base of the calendar pages (day, week, agenda, month): their settings and colours, the mark-up of one item's
// row, and the bar of a day's 24 hours.
//
//     CCalendarSubview page;
//     page.Init();
//     page.InitColors(false);
//     page.InitOptionsSpecific();                       // the three again after each change of the options
//     page.FormatWeekItem(line, grid, 0, row, 2, CCalendarSubview::kShowLocation);
//
// The windows of the pages belong to the applications. Main thread.
#pragma once

#include "Platform/gdi.h"
#include "QNGridCtrl/DrawHTML.h"
#include "QNNewEditUI/CalendarColors.h"
#include "QNNewEditUI/CDataMonth.h"
#include "QNWorkerClass/DATACALENDAR.h"
#include "QNWorkerClass/DATATASKS.h"
#include "QNWorkerClass/categories.h"
#include "QNWorkerClass/categorycolors.h"

#include <array>
#include <memory>

class CHTMLGrid;
class MarkupText;

// Numbers of the settings.
enum CalendarOption {
    kAppLayout,
    kShowTaskDates,
    kShowTaskPriority,
    kShowTaskImportance,
    kShowTaskAlarmTime,
    kShowTaskDaysToDue,
    kClearType,
    kOldAppointments, // PastStyle
    kBoldAllDay,
    kReminderIcons,
    kRecurringIcons,
    kRegeneratingIcons,
    kPrivateIcons,
    kMeetingIcons,
    kLinkedIcons,
    kJournalIcons,
    kNoteIcons,
    kQuickEntryIcons,
    kScaleImages, // a mode of CHTMLGrid::SetBitmapScaling
    kCategoryIcons,
    kCategoryColors, // CategoryColorUse
    kStatusBar,      // the busy status as a slim bar, else as the ground of the row
    kTouchInterface,
    kTaskCheckbox,
    kCalendarOptions
};

// What an appointment that is over looks like.
enum PastStyle : DWORD { kPastColored = 0, kPastStruck, kPastStruckColored, kPastItalic, kPastItalicColored };
enum CategoryColorUse : DWORD { kCategoryToText = 0, kCategoryToBack = 1, kCategoryColorOff = 2 };

class QN_API CCalendarSubview {
public:
    CCalendarSubview();
    virtual ~CCalendarSubview() = default;
    CCalendarSubview(const CCalendarSubview&) = delete;
    CCalendarSubview& operator=(const CCalendarSubview&) = delete;

    // --- Settings -------------------------------------------------------------------------------------------------
    // Each reads its settings afresh.
    void Init();
    virtual void InitColors(bool bCategories); // with bCategories the colours of the categories too
    virtual void InitOptionsSpecific();
    virtual void
    InitTabVars(); // forgets what belongs to one view of the page: the selected span, the last category
    DWORD Option(CalendarOption option) const { return m_options[option]; }
    const CalendarColors& Colors() const { return m_colors; }

    void SetParent(HWND hParent) { m_hParent = hParent; }
    HWND GetParent() const { return m_hParent; }
    // Not owned, and read by FilterAgendaCategory; null: everything passes.
    void SetFilter(const CCategoryFilterInfo* pFilter) { m_pFilter = pFilter; }
    void SetTouchMode(bool bTouch) { m_options[kTouchInterface] = bTouch; }

    // Working hours of a weekday, 0 Sunday, kept as hhmm / 100 (8.30 is half past eight).
    enum WorkTime { kWorkStart, kWorkEnd };
    double WorkDay(int day, WorkTime time) const { return m_flWork[time][day]; }
    // Stores an end of the working hours, as hhmm, and gives it as it is kept. False for a day or time that is none.
    bool SetWorkDay(int day, WorkTime time, double& fraction, DWORD value);
    int WorkMinute(int day, WorkTime time) const; // of the day, 0 to 1440

    // --- Categories -----------------------------------------------------------------------------------------------
    void InitForCategory(const WCHAR* pszCategories, bool bColor, bool bIcons);
    const WCHAR* GetCategoryBasedBackground() const; // "#RRGGBB" when categories colour the ground, else null
    COLORREF GetCategoryColor() const { return m_categories.GetCategoryColorCR(); } // or kNoCategoryColor
    // Mark-up of the icons; the buffer holds CCategoryColorIcons::kIconText characters. True when there is any.
    bool CreateIconString(WCHAR* pszBuffer, bool bNoneIcon) const;
    // Whether an item of these categories is shown: by the filter; with `wanted` only if it has one of those, and not if
    // it has one of `unwanted`. Sets are names separated by commas; null and empty ones don't count.
    bool FilterAgendaCategory(const WCHAR* pszCategories, const WCHAR* pszWanted,
                              const WCHAR* pszUnwanted) const;

    // --- Mark-up of an item ---------------------------------------------------------------------------------------
    enum Image : DWORD {
        kImageReminder = 1,
        kImageRecurring = 2,
        kImageRegenerating = 4,
        kImagePrivate = 8,
        kImageMeeting = 0x10,
        kImageLinked = 0x20,
        kImageJournal = 0x40,
        kImageNote = 0x80,
        kImageQuickEntry = 0x100, // the icon that was picked for the item
        kImageCategories = 0x200, // of InitForCategory
    };
    // The images of an item that the options want.
    DWORD ImagesOf(const DATACALENDAR& item) const;
    // Images in front of the subject; the buffer holds kLeftChars.
    void SetImagesLeft(DWORD bits, WCHAR* pszBuffer, const WCHAR* pszIcon = nullptr) const;
    // Images and texts for the right-hand side, each text as "[text]"; with bSpan in a column of their own. `size` counts
    // characters; pieces that don't fit are left out. Null and empty texts are none.
    void SetImagesRight(DWORD bits, WCHAR* pszBuffer, int size, bool bSpan, const WCHAR* pszFirst,
                        const WCHAR* pszSecond) const;

    enum WeekItem : DWORD {
        kShowEnd = 1,
        kShowLocation = 2,
        kOneLine = 4,     // images stand in front, else behind the text
        kOwnIconLine = 8, // the place goes to the line of the images
    };
    // The row of an item. The text is good until the next call.
    const WCHAR* BuildWeekItem(const DATACALENDAR& item, int nFontSize, DWORD flags);
    // The same, put into a cell of the grid.
    void FormatWeekItem(const DATACALENDAR& item, CHTMLGrid& grid, WORD column, WORD row, int nFontSize,
                        DWORD flags);
    // The bitmap of a status bar, for the grid's message 2048 with the colour; the grid's cache owns it.
    static HBITMAP CreateStatusBar(COLORREF color);

    void SetTaskColors(const DATATASKS& task, const WCHAR*& pszBack, const WCHAR*& pszText,
                       const WCHAR*& pszStyle) const;
    // The link with the days until a task is due (below 0: since). Characters written; 0 and an empty text for kNoDueDays.
    static constexpr LONG kNoDueDays = 0x7FFFFFFF;
    static int FormatTaskDaysToDue(LONG days, WCHAR* pszBuffer, int size);
    // The time of a reminder, with its date when that isn't `day`; empty for a date that is none.
    int FormatTaskAlarms(double alarm, double day, WCHAR* pszBuffer, int size) const;

    // --- The bar of a day -----------------------------------------------------------------------------------------
    // Adds an appointment that isn't all-day to a day; `date` is the day as a whole number.
    void SetupBarDataStruct(CDataMonth& day, const DATACALENDAR& item, double date, bool bUseCategoryColor);
    void SetWantFreeTime(bool bWant) { m_bFreeTime = bWant; }
    // The part of the day that is selected, as fractions of the bar; none when the ends are equal.
    void SetSelectedSpan(double top, double bottom);

    enum BarForm { kBarFull, kBarSmall };
    static constexpr int kFirstHourSpot = 33493; // a hot spot is named by this plus its hour
    // Paints the bar in a cell. With hot spots each hour adds one, from the rectangle's top left. Gives 1, painted.
    static int OwnerDrawCellFullRowTimeBar(const CCalendarSubview& view, BarForm form, const CDataMonth& day,
                                           HDC hdc, const RECT& rect, HTMLHotSpots* pHotSpots);

    // 2, 5, 10 and 15 pixels at 96 dots an inch.
    static SHORT nScale2;
    static SHORT nScale5;
    static SHORT nScale10;
    static SHORT nScale15;

    static constexpr int kLeftChars = 2800;

protected:
    double m_flDayTop = 0;
    double m_flDayBottom = 0;

private:
    // The work buffers, in characters.
    static constexpr std::size_t kRowChars = 10000;
    static constexpr std::size_t kTimeChars = 150;
    static constexpr std::size_t kTextChars = 4096;
    static constexpr int kRightChars = static_cast<int>(kTextChars) - kLeftChars;

    struct Moment {
        double now;
        LONG today;
    };
    struct RowLook {
        const WCHAR* pszBack;
        const WCHAR* pszText;
        const WCHAR* pszStyle;
    };
    static Moment Now();
    void ReadWorkDays();

    RowLook AppointmentLook(const DATACALENDAR& item, const Moment& moment) const;
    void ApplyPast(RowLook& look) const;
    void FormatTimes(const DATACALENDAR& item, DWORD flags, MarkupText& text) const;
    void FormatTaskMarks(const DATATASKS& task, MarkupText& text) const;
    void AddSubject(const DATACALENDAR& item, MarkupText& row);
    void AddTail(const DATACALENDAR& item, const Moment& moment, DWORD flags, MarkupText& row) const;
    void BuildRight(const DATACALENDAR& item, WCHAR* pszBuffer) const;

    void TakeFreeTime(CDataMonth& day, double start, double end, int weekday) const;
    void PaintHalfHours(HDC hdc, const RECT& rect, int inset, const CDataMonth& day) const;
    void PaintMarks(HDC hdc, const RECT& rect, BarForm form, int weekday) const;
    void PaintSelectedSpan(HDC hdc, const RECT& rect) const;

    std::array<DWORD, kCalendarOptions> m_options{};
    CalendarColors m_colors;
    double m_flWork[2][7] = {};
    HWND m_hParent = nullptr;
    const CCategoryFilterInfo* m_pFilter = nullptr;
    CCategoryColorIcons m_categories;
    CCategoryColorIcons m_barCategories; // apart: a row's category must not change while a bar is filled
    bool m_bFreeTime = false;

    std::unique_ptr<WCHAR[]> m_szRow;
    std::unique_ptr<WCHAR[]> m_szTime;
    std::unique_ptr<WCHAR[]> m_szSubject;
    std::unique_ptr<WCHAR[]> m_szImages; // left, then right
};
