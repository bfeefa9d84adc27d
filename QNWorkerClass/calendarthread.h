// The calendar thread: turns the "Appointments Database" into one sorted list of day lines for a range of days. The
// list holds a header for each day and the appointments of that day, series expanded to their occurrences, items of
// several days repeated on each of them; tasks, journal entries, birthdays and anniversaries as the settings tell.
//
//     CCalendarThread thread(key);               // the constructor reads the view's settings
//     thread.m_hClientWnd = window;
//     thread.SetRestrict(&first, &last, true);
//     thread.Start();                            // window: 32802, then 1274 with the count, then 32803
//     for (int i = 1; i <= thread.GetActiveDataCount(); ++i) Show(thread.GetList().Get(i));
//
// The object belongs to the thread that made it; the load runs on the worker. SetRestrict, IsInCache and
// GetActiveDataCount may be called while it runs; the list is the load's from Start to 1274, the client's afterwards.
// Two objects may load at once. A load that finds another one of this object going returns at once.
#pragma once

#include "QNWorkerClass/CQNDataThread.h"
#include "QNWorkerClass/DATACALENDARDB.h"
#include "QNWorkerClass/recurrenceblob.h"
#include "QNWorkerClass/zonecache.h"

#include <array>
#include <atomic>
#include <memory>
#include <vector>

// What a load is about: CAV_AppointmentFilter. Only 0 has a range; the others list all such records, one line each.
enum CalendarFilter : LONG {
    kFilterAll = 0,
    kFilterBirthdays = 1,
    kFilterAnniversaries = 2,
    kFilterHolidays = 3,
    kFilterRecurring = 4,
    kFilterMeetings = 5,     // never from the settings
    kFilterSingleSeries = 6, // set by the search thread, which expands one series: no copies for further days
};

class QN_API CCalendarThread : public CQNDataThread {
public:
    // A null key means Software\Norvo\Quillonary\CAV. With bShowJournal the days run from the newest to the oldest.
    explicit CCalendarThread(const WCHAR* settingsKey = nullptr, int bReadAppointments = 1,
                             int bShowJournal = 0, int bJournalBody = 0);
    ~CCalendarThread() override;

    // --- What to load ---------------------------------------------------------------------------------------------
    void SetSettingsKey(const WCHAR* key);
    // The range of days, both ends included; with bWholeDays the times of day are dropped. A date that doesn't exist
    // leaves the range as it was. The answer of IsInCache changes at once, before any load.
    void SetRestrict(const SYSTEMTIME* start, const SYSTEMTIME* end, bool bWholeDays);
    bool IsInCache(const SYSTEMTIME* date) const;
    bool IsInCache(double date) const;                      // by whole days
    bool IsInCache(const SYSTEMTIME* date, int days) const; // by the moment
    // No headers, and no sorting by the load: the client sorts.
    void SetNoHeaderDates(bool bNoHeaders) { m_bNoHeaderDates = bNoHeaders; }
    void SetShowTasks(int bShow) { m_bShowTasks = bShow; }
    void SetJournalBodyRead(bool bRead) { m_bJournalBody = bRead; }

    // --- Loading --------------------------------------------------------------------------------------------------
    // The load, on the caller's thread. `oid` 0 loads everything anew; otherwise the lines of this one record are added
    // and nothing is sorted or told. Without a running worker no message is posted. Gives 0.
    DWORD CalendarThreadProc(CeManualEvent* stop, CEOID oid);
    // Rereads all settings of the view, the zone and today. A load does it by itself.
    void SettingChange();

    // --- The list -------------------------------------------------------------------------------------------------
    LONG GetActiveDataCount() override { return m_lActiveCount; }
    CePtrList<DATACALENDAR*>& GetList() { return m_listData; }
    // By the settings as they are stored now; does nothing while a load runs.
    void SortDataList(bool bAscending);
    void SortDataListWithSettings(bool bAscending);
    // Change one overlay without a new load; nothing while one runs.
    void AddTasksToThread(CeManualEvent* stop);
    void RemoveTasksFromThread();
    void AddJournalToThread(CeManualEvent* stop);
    void RemoveJournalFromThread();

    // The orders of the list; `user` is the thread object.
    static int CompareFunc(DATACALENDAR* const& a, DATACALENDAR* const& b, CEUSER user);
    static int CompareFuncBirthday(DATACALENDAR* const& a, DATACALENDAR* const& b, CEUSER user);
    static int CompareFuncDate(DATACALENDAR* const& a, DATACALENDAR* const& b, CEUSER user);
    int CompareJournals(const DATACALENDAR& a, const DATACALENDAR& b) const;
    static int CompareJournalsPrv(const DATACALENDAR& a, const DATACALENDAR& b, LONG key);
    void LoadSortPrefs();

    // False for a hidden item (a subject that starts with "<•>") while those are not shown.
    bool IsAppointmentToBeDisplayed(const WCHAR* subject) const;

    // --- Steps of a rule, on dates --------------------------------------------------------------------------------
    // Each changes `date`, whose weekday is set anew where the date exists.
    void fDateAdjust(const DATACALENDARDB& record, SYSTEMTIME& date) const;
    void fIncrementMonth(const DATACALENDARDB& record, SYSTEMTIME& date) const;
    void fIncrementByYear(const DATACALENDARDB& record, SYSTEMTIME& date, LONG month) const;
    LONG fGetMonthInNum(DWORD minutes) const { return MonthOfYearOffset(minutes); }
    void fGetNthWeekDay(const DATACALENDARDB& record, SYSTEMTIME& date) const;
    void fGetEventWeekDays(const DATACALENDARDB& record, CeList<LONG>& days) const; // in order
    bool fCheckNextWeekDay(const CeList<LONG>& days,
                           SYSTEMTIME& date) const; // to the next day in the week, if any
    LONG fGetCurrentWeekDayOfEvent(const DATACALENDARDB& record) const {
        return LowestWeekday(record.m_wDaysOfWeek);
    }
    // The next three are kept for those who know them; the thread calls none of them. Whether the date falls on a day of
    // the pattern's week; the days from it to the next one that does, 1 to 7, or 0 for a pattern without days; nothing.
    bool fCheckWeeklyDate(const DATACALENDARDB& record, const SYSTEMTIME& date) const;
    LONG GetDays(const DATACALENDARDB& record, const SYSTEMTIME& date) const;
    void fcheckMultidayEvent() const {} // AddCalendarItemToList gives an item its days

    HWND m_hClientWnd = nullptr; // is told of a load

protected:
    DWORD ThreadProc() override;
    void PostKill() override;

    // One range of days, as the worker took it at the head of its load.
    struct DayRange {
        LONG first = 0;
        LONG last = -1;
    };
    // Start and end of a line, in the device's time.
    struct LineTimes {
        DayTime start;
        DayTime end;
    };

    // --- Reading (calendarread.cpp) -------------------------------------------------------------------------------
    void SetPropIdsAppts();
    bool OpenAppointments();
    bool ReadAppointments(CeManualEvent* stop, CEOID oid); // false when it was stopped
    bool ReadRecords(CeManualEvent* stop, DWORD count);
    void ListRecord();
    bool TouchesRange() const;
    bool fReadRecord();       // the cheap half; false drops the record
    bool fReadRestOfRecord(); // the dear half, for a record that gets a line
    // The dear half, once a record; a refusal holds for the whole record.
    bool ReadRestOnce() { return (m_pRecord->m_bstrSubject && !m_pRecord->m_bRefused) || ReadRestFirst(); }
    bool ReadRestFirst();
    bool PassesFirstFilters();
    void ReadPattern();
    bool ReadStart();
    void ReadEventZone();
    LONGLONG AllDayStart(LONGLONG utc);
    bool IsFloat() const;
    void CutFloatText();
    bool PassesSecondFilters() const;
    void FreePattern();

    // Days before the range in which an occurrence may begin that reaches into it.
    static constexpr LONG kReachBack = 2;

    // --- Expanding (calendarexpand.cpp) ---------------------------------------------------------------------------
    bool ParseAndCheckRecurring();
    void fFillEventList();
    void fFillNonRecurrEvnt();
    void fFillSeriesOnce(); // one line at the pattern's first date
    void fFillDailyEvents(const RecurrenceRule& rule);
    void fFillWeekDayEvents(const RecurrenceRule& rule);
    void fFillWeeklyEvents(const RecurrenceRule& rule);
    void fFillMonthlyType2(const RecurrenceRule& rule);
    void fFillMonthlyType3(const RecurrenceRule& rule);
    void fFillYearlyType2(const RecurrenceRule& rule);
    void fFillYearlyType3(const RecurrenceRule& rule);
    template<class Skip>
    void WalkEvents(const RecurrenceRule& rule, bool overMidnight, Skip skip);
    bool IsBeforeSeriesMonthly(const RecurrenceRule& rule, LONG day) const;
    void fFillEventInfo(DATACALENDARDB& record);
    struct SpecialDays; // deleted and changed ones of a series
    bool fCheckExp(DATACALENDARDB& record, const SpecialDays& days, LONG day);
    static bool fCheckDeleteExp(const SpecialDays& days, LONG day);
    bool OccurrenceIsTooEarly() const { return m_occurrence.day < m_range.first - kReachBack; }
    static LineTimes TimesFromMidnight(LONG startHour, LONG startMinute, LONG endHour, LONG endMinute,
                                       bool bAllDay);
    bool PlaceTimes(const LineTimes& fromMidnight, bool bZone, LineTimes& times);
    void SetLineTimes(const LineTimes& times, DATACALENDAR& line) const;
    // Gives the line its times; false, and the line unchanged, when they are no dates.
    bool fGetRecurTimingStr(bool bZone, LONG startHour, LONG startMinute, LONG endHour, LONG endMinute,
                            DATACALENDAR& line, LONGLONG extraMinutes);
    bool ToDeviceTime(DayTime& time);

    // --- The list (calendarlist.cpp, calendarsort.cpp) ------------------------------------------------------------
    void AddCalendarItemToList(std::unique_ptr<DATACALENDAR> line);
    void AddFurtherDays(DATACALENDAR* listed);
    void AddCalendarDate();
    void AddCalendarDatesForRange();
    void AddCalendarDatesForData();
    void InsertHeader(int index, LONG day);
    void DeleteTasksInList() { RemoveLines(kLineTask); }
    void DeleteJournalInList() { RemoveLines(kLineJournal); }
    void RemoveLines(LONG nType);
    void RemoveFromThread(LONG nType);
    template<class Add>
    void AddToThread(Add add);
    void SetCompareByFilter();
    int CompareTasks(const DATACALENDAR& a, const DATACALENDAR& b) const;

    // --- Contact dates (calendardates.cpp) ------------------------------------------------------------------------
    LONG AddContactInfo(CeManualEvent* stop); // the lines added
    LONG AddContactLines(const CeDbRecord& record);
    LONG AddContactDate(const CeDbRecord& record, int index, const WCHAR* category);
    void
    RecogniseYearlyDay(); // whether the current record, a yearly all-day series, is a birthday or an anniversary
    void AddAge(DATACALENDAR& line) const;
    LONG AgeIn(LONG year, LONG birth) const;

    // --- Tasks (calendartasks.cpp) --------------------------------------------------------------------------------
    WORD SetTaskProps();
    void AddTasks(CeManualEvent* stop);
    // The lines of the task of the current record; *pbShow: whether it is shown at all.
    LONG AddNewTask(CeDbRecord* record, bool* pbShow, bool bUpdate);
    bool ShowsTask(const DATATASKS& task);
    std::vector<LONG> DaysOfTask(const DATATASKS& task) const; // also such outside of the range
    void CopyInProgressTasks(const DATATASKS& task, std::vector<LONG>& days) const;
    void AddTaskLine(const DATATASKS& task, LONG day);

    // --- Journal (calendarjournal.cpp) ----------------------------------------------------------------------------
    void AddJournal(CeManualEvent* stop, CEOID oid);
    LONG AddNewJournal(CeDbRecord* record, bool* pbShow, bool bSingle);

    // --- Settings (calendarsettings.cpp) --------------------------------------------------------------------------
    void ReadViewSettings();
    void ReadSuiteSettings();
    void ReadJournalSort();

    // --- The load (calendarthread.cpp) ----------------------------------------------------------------------------
    bool Load(CeManualEvent* stop, CEOID oid);
    void SetLoadRange();
    void ChooseMode();
    void AddEverythingElse(CeManualEvent* stop);

    CePtrList<DATACALENDAR*> m_listData;
    std::atomic<LONG> m_lActiveCount{0};
    std::unique_ptr<DATACALENDARDB> m_pRecord;      // alive during a load
    std::unique_ptr<CeList<DWORD>> m_pDeletedDates; // of the current record, in minutes; alive during a load
    std::unique_ptr<CRecurrenceParser> m_pRecurParser;
    const BYTE* m_pPattern = nullptr; // recurrence blob of the current record
    DWORD m_cbPattern = 0;
    HLOCAL m_hPattern = nullptr; // owns it, unless it stands in the record
    std::unique_ptr<CeDbRecord> m_pDbRecord;
    std::array<CEPROPID, 25> m_PropIds{};
    WORD m_nPropIds = 0;
    DWORD m_cbReadBuffer = 0;
    BYTE* m_pReadBuffer = nullptr; // LocalAlloc, kept between loads
    TIME_ZONE_INFORMATION m_tzLocal = {};
    ZoneCache m_zoneLocal;
    ZoneCache m_zoneEvent; // of the current record

    std::atomic<double> m_dtRestrictStart{kNoDate};
    std::atomic<double> m_dtRestrictEnd{kNoDate};
    DayRange m_range;                   // of the load
    std::unique_ptr<CeDb> m_pDbOverlay; // of the tasks, then of the journal
    DayTime m_occurrence;               // the current one, by the event's clock
    LineTimes m_fromMidnight;           // of each occurrence of the current series that isn't changed
    SYSTEMTIME m_stToday = {};
    double m_dtToday = 0;
    WCHAR m_szYears[16] = {}; // the unit behind an age
    LONG m_bReadAppointments;
    LONG m_bShowJournal;
    LONG m_bJournalOrder; // days from the newest to the oldest
    std::atomic<bool> m_bJournalBody;
    BYTE m_bExpandInRange = 1;
    BYTE m_bFilterCategoryStatus = 0;
    LONG m_bAddingOverlays = 0;
    std::atomic<bool> m_bNoHeaderDates{false};
    std::atomic<LONG> m_bShowTasks{0};

    // Settings.
    LONG m_nFilter = kFilterAll;
    LONG m_bShowCompletedTasks = 0;
    LONG m_bShowUndatedTasks = 0;
    LONG m_bForceHighTasks = 0;
    LONG m_bShowTaskOnTop = 0;
    LONG m_bShowOverDueToday = 1;
    LONG m_bReadBirthdays = 0;
    LONG m_nApptStatusFilter = 0; // 0 off, otherwise busy status + 1
    LONG m_nFilterPrivacy = -1;
    LONG m_bDisplayCompletedAppointments = 1;
    LONG m_bShowInProgressTasksToday = 0;
    // An hour: an overnight item that ends before it has no line on its last morning.
    LONG m_nSingleIfEndsEarly = 0;
    static constexpr std::size_t kSettingText = 200; // a longer one is no setting
    WCHAR m_szAnnCatName[kSettingText] = {};         // lower case, as the next
    WCHAR m_szBDayCatName[kSettingText] = {};
    WCHAR m_szHolidayCatName[kSettingText] = {};
    WCHAR m_szHolidaySubName[kSettingText] = {};
    WCHAR m_szFloatCat[kSettingText] = {};
    LONG m_nTaskSort = 6;
    LONG m_bTaskSortDescending = 0;
    LONG m_nTaskSort2 = 3;
    LONG m_bTaskSortDescending2 = 0;
    LONG m_nJournalSort = 0;
    LONG m_bJournalSortDescending = 0;
    LONG m_nJournalSort2 = 2;
    LONG m_bJournalSortDescending2 = 0;
};
