// The calendar thread on a real store: expansion, lines of several days, filters, settings, headers and order.
#include "NorvoTools/errors.h"
#include "QNWorkerClass/calendarthread.h"
#include "QNWorkerClass/COutlook.h"
#include "QNWorkerClass/DATATASKS.h"
#include "QNWorkerClass/calendaroverlays.h"
#include "tests/support/appointments.h"
#include "tests/support/workedblobs.h"

#include <gtest/gtest.h>

namespace {

constexpr DWORD kMonday = 1 << 1, kThursday = 1 << 4, kFriday = 1 << 5;

class CalendarThread : public AppointmentTest {
protected:
    ~CalendarThread() override { SetCalendarOverlays({}); }
    Appointment Item() { return AddAppointment(); }
    static LONG DayOfText(const char* date) { return DayOfMinutes(Minutes(date)); }
};

// --- Series -------------------------------------------------------------------------------------------------------

TEST_F(CalendarThread, WorkedBlobsGiveTheirLines) {
    for (bool inRow : {false, true})
        for (const WorkedBlob& blob : WorkedBlobs()) {
            Appointment item = Item().On("2010-01-01").RawBlob(blob.bytes);
            if (blob.allDay) item.AllDay();
            if (inRow) item.BlobInRow();
            EXPECT_DAYS(DaysOf(item, blob.first, blob.last), blob.lines)
                << blob.name << (inRow ? " in the row" : " as a stream");
        }
}

TEST_F(CalendarThread, ChangedOccurrencesCarryTheirOwnFields) {
    const auto review = Moved("2010-03-02 10:00", "2010-03-02 15:00", "2010-03-02 16:00");
    const auto whole = Moved("2010-03-03 10:00", "2010-03-03 00:00", "2010-03-04 00:00");
    AddAppointment(u"Meeting")
        .On("2010-03-01 10:00")
        .Location(u"Here")
        .Daily(1)
        .Until("2010-03-04")
        .Changed(ChangedOccurrence(review).Subject(u"Review").Busy(3))
        .Changed(ChangedOccurrence(whole).Location(u"There").AllDay(true))
        .Save();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-04");
    EXPECT_DAYS(ListText(thread.GetList(), false), "Mon 2010-03-01 10:00..11:00 Meeting\n"
                                                   "Tue 2010-03-02 15:00..16:00 EXC Review\n"
                                                   "Wed 2010-03-03 all-day EXC Meeting\n"
                                                   "Thu 2010-03-04 10:00..11:00 Meeting\n");
    std::string fields;
    for (const DATACALENDAR* line : thread.GetList())
        if (!line->IsHeader())
            fields += Narrow(line->m_bstrLocation) + " " + std::to_string(line->m_lBusyStatus) + " " +
                      std::to_string(line->m_lDuration) + " " + std::to_string(line->m_bRecurring) + "\n";
    EXPECT_EQ("Here 2 60 1\nHere 3 60 1\nThere 2 1440 1\nHere 2 60 1\n", fields);
}

// What the list shows of occurrences about the edges of a range, also where one would expect something else. An item
// that began before it has lines for all its days: clients look them up by day.
TEST_F(CalendarThread, SeriesAboutTheEdgesOfARange) {
    const auto nightly = [&] { return Item().On("2010-03-01 22:00", 240); };
    const auto morning = [&](const char* date) { return Item().On((std::string(date) + " 10:00").c_str()); };
    const auto weekdays = Item().On("2010-03-01 08:00").Weekdays();
    const auto fourDays = Item().On("2010-03-01").AllDay(4).Weekly(4, kMonday);
    const auto february = Item().On("2008-02-15").AllDay().YearlyDay(2, 15);
    const auto changed = [&](const char* moment, DWORD end) {
        return morning("2010-03-01")
            .Daily(5)
            .Changed({Minutes(moment), end, Minutes("2010-03-11 10:00"), 0, {}});
    };
    const struct {
        const char* what;
        Appointment item;
        const char* first;
        const char* last;
        const char* lines;
    } kCases[] = {
        {"daily over midnight, from the night before the range", nightly().Daily(1), "2010-03-10",
         "2010-03-10",
         "Tue 2010-03-09 22:00..03-10 02:00\nWed 2010-03-10 03-09 22:00..02:00\n"
         "Wed 2010-03-10 22:00..03-11 02:00\n"},
        {"every second day over midnight", nightly().Daily(2), "2010-03-10", "2010-03-10",
         "Tue 2010-03-09 22:00..03-10 02:00\nWed 2010-03-10 03-09 22:00..02:00\n"},
        {"daily, before its first date", morning("2010-03-12").Daily(1), "2010-03-10", "2010-03-12",
         "Fri 2010-03-12 10:00..11:00\n"},
        {"after its end", morning("2010-03-01").Daily(1).Until("2010-03-09"), "2010-03-10", "2010-03-14", ""},
        {"weekdays, a range that begins on a Friday goes on with the Monday", weekdays, "2010-03-12",
         "2010-03-15", "Mon 2010-03-15 08:00..09:00\n"},
        {"weekdays, a range that begins on a Sunday has that Sunday", weekdays, "2010-03-14", "2010-03-15",
         "Sun 2010-03-14 08:00..09:00\nMon 2010-03-15 08:00..09:00\n"},
        {"every second week, counted from the week of the start",
         morning("2010-03-01").Weekly(2, kMonday | kFriday), "2010-03-08", "2010-03-21",
         "Mon 2010-03-15 10:00..11:00\nFri 2010-03-19 10:00..11:00\n"},
        {"weekly over midnight, from the day before the range", nightly().Weekly(1, kMonday), "2010-03-09",
         "2010-03-09", "Mon 2010-03-08 22:00..03-09 02:00\nTue 2010-03-09 03-08 22:00..02:00\n"},
        {"the last Friday, with five and with four of them", morning("2010-01-29").MonthlyNth(1, kFriday, 5),
         "2010-01-01", "2010-02-28", "Fri 2010-01-29 10:00..11:00\nFri 2010-02-26 10:00..11:00\n"},
        {"an nth weekday over midnight has no line on the morning behind it",
         Item().On("2010-01-04 22:00", 240).MonthlyNth(1, kMonday, 1), "2010-03-02", "2010-03-02", ""},
        {"an nth weekday of two days reaches into the range",
         Item().On("2010-01-04 12:00", 2160).MonthlyNth(1, kMonday, 1), "2010-03-02", "2010-03-02",
         "Mon 2010-03-01 12:00..03-03 00:00\nTue 2010-03-02 03-01 12:00..03-03 00:00\n"},
        {"a date of the rule before the start shows when the range begins on its day and year",
         morning("2010-01-15").MonthlyDay(1, 10), "2010-01-10", "2010-01-31",
         "Sun 2010-01-10 10:00..11:00\n"},
        {"and not when it begins a day earlier", morning("2010-01-15").MonthlyDay(1, 10), "2010-01-09",
         "2010-02-28", "Wed 2010-02-10 10:00..11:00\n"},
        {"29 February", Item().On("2008-02-29").AllDay().YearlyDay(2, 29), "2011-01-01", "2012-12-31",
         "Mon 2011-02-28 all-day\nWed 2012-02-29 all-day\n"},
        {"every year, whatever the period says", morning("2008-06-10").YearlyDay(6, 10), "2009-06-10",
         "2010-06-10", "Wed 2009-06-10 10:00..11:00\nThu 2010-06-10 10:00..11:00\n"},
        {"February in a range of February", february, "2014-02-01", "2014-02-28", "Sat 2014-02-15 all-day\n"},
        {"February in a range that begins in the January behind a leap year's next: a day late", february,
         "2014-01-31", "2014-02-28", "Sun 2014-02-16 all-day\n"},
        {"an nth weekday each year stays in its month", morning("2007-11-22").YearlyNth(11, kThursday, 4),
         "2008-01-01", "2008-12-31", "Thu 2008-11-27 10:00..11:00\n"},
        {"four days all day: seen on the third, not on the fourth of them", fourDays, "2010-03-03",
         "2010-03-03",
         "Mon 2010-03-01 all-day 03-01..03-04\nTue 2010-03-02 all-day 03-01..03-04\n"
         "Wed 2010-03-03 all-day 03-01..03-04\n"},
        {"on the fourth", fourDays, "2010-03-04", "2010-03-04", ""},
        {"moved into the range from before it: not by a daily walk",
         morning("2010-03-01")
             .Daily(1)
             .Until("2010-03-05")
             .Changed(Moved("2010-03-05 10:00", "2010-03-12 10:00", "2010-03-12 11:00")),
         "2010-03-10", "2010-03-14", ""},
        {"moved into the range from before it, by a monthly one",
         morning("2010-01-20")
             .MonthlyDay(1, 20)
             .Changed(Moved("2010-02-20 10:00", "2010-03-02 10:00", "2010-03-02 11:00")),
         "2010-03-01", "2010-03-14", "Tue 2010-03-02 10:00..11:00 EXC\n"},
        {"moved out of the range: listed all the same",
         changed("2010-05-03 10:00", Minutes("2010-05-03 11:00")), "2010-03-10", "2010-03-14",
         "Mon 2010-05-03 10:00..11:00 EXC\n"},
        {"in place over midnight for less than a day: its end stays on its own day",
         changed("2010-03-11 22:00", Minutes("2010-03-12 02:00")), "2010-03-11", "2010-03-12",
         "Thu 2010-03-11 22:00..02:00 EXC\n"},
        {"changed in place to last for millennia: the days of the difference, counted as a date's day",
         changed("2010-03-11 09:00", 0xFFFFFFFF), "2010-03-10", "2010-03-11",
         "Thu 2010-03-11 09:00..03-18 04:15 EXC\n"},
        {"moved, to last for millennia", changed("2010-03-12 09:00", 0xFFFFFFFF), "2010-03-10", "2010-03-13",
         "Fri 2010-03-12 09:00..9767-02-16 04:15 EXC\nSat 2010-03-13 03-12 09:00..9767-02-16 04:15 EXC\n"},
    };
    for (const auto& test : kCases)
        EXPECT_DAYS(DaysOf(test.item, test.first, test.last), test.lines) << test.what;
}

TEST_F(CalendarThread, BlobsThatCannotBeReadGiveNoLine) {
    std::vector<BYTE> damaged = WorkedBlobs()[0].bytes;
    damaged[0] = 0xFF;
    Item().On("2010-03-01 10:00").RawBlob(damaged).Save();
    Item().On("2010-03-01 12:00").RawBlob({1}).Save();
    EXPECT_DAYS(Days("2010-03-01", "2010-03-31"), "");
    // Without a range it keeps its own times.
    SetNumber(u"CAV_AppointmentFilter", kFilterRecurring);
    EXPECT_DAYS(Days("2010-03-01", "2010-03-31"),
                "Mon 2010-03-01 10:00..11:00\nMon 2010-03-01 12:00..13:00\n");
}

// --- Zones --------------------------------------------------------------------------------------------------------

TEST_F(CalendarThread, ASeriesInItsOwnZone) {
    TIME_ZONE_INFORMATION berlin = BerlinZone();
    PlatSetTimeZone(&berlin);
    // New York goes to summer time on 14 March, Berlin on the 28th.
    const auto series = Item().On("2010-03-08 10:00").Zone(NewYorkZone()).Weekly(1, kMonday);
    const char* const kThere = "Mon 2010-03-08 16:00..17:00\nMon 2010-03-15 15:00..16:00\n"
                               "Mon 2010-03-22 15:00..16:00\nMon 2010-03-29 16:00..17:00\n";
    const char* const kHere = "Mon 2010-03-08 10:00..11:00\nMon 2010-03-15 10:00..11:00\n"
                              "Mon 2010-03-22 10:00..11:00\nMon 2010-03-29 10:00..11:00\n";
    for (std::size_t size : {48, 172, 200, 0, 47, 49, 171}) // any other size is no zone
        EXPECT_DAYS(DaysOf(Appointment(series).ZoneSize(size), "2010-03-08", "2010-03-31"),
                    size == 48 || size >= 172 ? kThere : kHere)
            << size;
    // An all-day series keeps its date.
    EXPECT_DAYS(DaysOf(Appointment(series).AllDay().Until("2010-03-08"), "2010-03-01", "2010-03-31"),
                "Mon 2010-03-08 all-day\n");
}

TEST_F(CalendarThread, OneDayItemsKeepTheirDateOnEveryDayOfTheYear) {
    const LONG first = DayOfText("2010-01-01");
    for (TIME_ZONE_INFORMATION zone : {NewYorkZone(), BerlinZone(), SydneyZone(), TIME_ZONE_INFORMATION{}}) {
        PlatSetTimeZone(&zone);
        RemoveAll();
        m_store->Db().BeginTransaction();
        for (LONG i = 0; i < 365; ++i)
            ASSERT_NE(0u, Item().On(DateText(first + i).c_str()).AllDay().Busy(i).Save());
        m_store->Db().Commit();
        CCalendarThread thread;
        Load(thread, "2010-01-01", "2010-12-31");
        EXPECT_EQ(2 * 365, thread.GetActiveDataCount()) << "bias " << zone.Bias;
        for (const DATACALENDAR* line : thread.GetList()) {
            if (line->IsHeader()) continue;
            EXPECT_EQ(first + line->m_lBusyStatus, line->m_lDay) << LineText(*line) << " bias " << zone.Bias;
            EXPECT_EQ(line->m_lDay, static_cast<LONG>(line->m_dtEnd));
        }
    }
}

// --- Lines of several days ----------------------------------------------------------------------------------------

TEST_F(CalendarThread, ItemsOfSeveralDays) {
    const auto night = [&](DWORD minutes) { return Item().On("2010-03-01 23:00", minutes); };
    const auto day = [&](DWORD minutes) { return Item().On("2010-03-01 10:00", minutes); };
    const struct {
        const char* what;
        Appointment item;
        DWORD endsEarly; // AppointmentSingleIfEndsEarly
        const char* last;
        const char* lines; // from 1 March on
    } kCases[] = {
        {"over midnight", night(120), 0, "2010-03-02",
         "Mon 2010-03-01 23:00..03-02 01:00\nTue 2010-03-02 03-01 23:00..01:00\n"},
        {"over midnight, one line", night(120), 6, "2010-03-02", "Mon 2010-03-01 23:00..03-02 01:00 early\n"},
        {"up to the hour itself", night(420), 6, "2010-03-02", "Mon 2010-03-01 23:00..03-02 06:00 early\n"},
        {"a minute longer", night(421), 6, "2010-03-02",
         "Mon 2010-03-01 23:00..03-02 06:01\nTue 2010-03-02 03-01 23:00..06:01\n"},
        {"to midnight", day(840), 0, "2010-03-02", "Mon 2010-03-01 10:00..03-02 00:00\n"},
        {"to a midnight behind the range", day(3720), 0, "2010-03-02",
         "Mon 2010-03-01 10:00..03-04 00:00\nTue 2010-03-02 03-01 10:00..03-04 00:00\n"},
        {"the early end lies behind the range", night(1800), 6, "2010-03-02",
         "Mon 2010-03-01 23:00..03-03 05:00\nTue 2010-03-02 03-01 23:00..03-03 05:00\n"},
        {"the early end of a long one", night(1800), 6, "2010-03-03",
         "Mon 2010-03-01 23:00..03-03 05:00\nTue 2010-03-02 03-01 23:00..03-03 05:00 early\n"},
        {"begun before the range: lines from its start on", Item().On("2010-02-27 10:00", 4320), 0,
         "2010-03-05",
         "Sat 2010-02-27 10:00..03-02 10:00\nSun 2010-02-28 02-27 10:00..03-02 10:00\n"
         "Mon 2010-03-01 02-27 10:00..03-02 10:00\nTue 2010-03-02 02-27 10:00..10:00\n"},
        {"ended before the range", Item().On("2010-02-27 10:00"), 0, "2010-03-05", ""},
        {"behind the range", Item().On("2010-03-06"), 0, "2010-03-05", ""},
        {"two days all day", Item().On("2010-03-01").AllDay(2), 0, "2010-03-05",
         "Mon 2010-03-01 all-day 03-01..03-02\nTue 2010-03-02 all-day 03-01..03-02\n"},
        {"of no length", day(0), 0, "2010-03-01", "Mon 2010-03-01 10:00..10:00\n"},
        {"all day of no length ends a day early", Item().On("2010-03-02").AllDay(0), 0, "2010-03-02",
         "Tue 2010-03-02 all-day 03-02..03-01\n"},
        {"ended before it began", day(static_cast<DWORD>(-60)), 0, "2010-03-01",
         "Mon 2010-03-01 10:00..09:00\n"},
        {"for millennia", day(0x7FFFFFFF), 0, "2010-03-01", ""},
        {"ended millennia before", day(0x80000000), 0, "2010-03-01", ""},
        {"without a start", day(60).NoStart(), 0, "2010-03-01", ""},
    };
    for (const auto& test : kCases) {
        SetNumber(u"AppointmentSingleIfEndsEarly", test.endsEarly);
        EXPECT_DAYS(DaysOf(test.item, "2010-03-01", test.last), test.lines) << test.what;
    }
}

// Every end at midnight is one, whatever the sum of the doubles says.
TEST_F(CalendarThread, EndsAtMidnightFromAnyMinute) {
    m_store->Db().BeginTransaction();
    for (DWORD minute = 0; minute < 1440; minute += 7) {
        char moment[32];
        std::snprintf(moment, sizeof moment, "2010-03-01 %02u:%02u", minute / 60, minute % 60);
        Item().On(moment, 1440 - minute).Save();
    }
    m_store->Db().Commit();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-03");
    EXPECT_EQ(206 + 3, thread.GetActiveDataCount());
}

// --- Headers, order -----------------------------------------------------------------------------------------------

TEST_F(CalendarThread, EveryDayHasAHeaderAndAllDayItemsStandFirst) {
    AddAppointment(u"late").On("2010-03-02 15:00").Save();
    AddAppointment(u"b").On("2010-03-02 09:00").Save();
    AddAppointment(u"a").On("2010-03-02 09:00").Save();
    AddAppointment(u"whole").On("2010-03-02").AllDay().Save();
    CCalendarThread thread;
    EXPECT_DAYS(List(thread, "2010-03-01", "2010-03-03"), "Mon 2010-03-01 --\n"
                                                          "Tue 2010-03-02 --\n"
                                                          "Tue 2010-03-02 all-day whole\n"
                                                          "Tue 2010-03-02 09:00..10:00 a\n"
                                                          "Tue 2010-03-02 09:00..10:00 b\n"
                                                          "Tue 2010-03-02 15:00..16:00 late\n"
                                                          "Wed 2010-03-03 --\n");
    EXPECT_EQ(7, thread.GetActiveDataCount());
    thread.SetNoHeaderDates(true); // by start in the store, unsorted
    EXPECT_EQ("whole;b;a;late;", Subjects(thread, "2010-03-02"));
    thread.SortDataList(false);
    EXPECT_EQ("late", Narrow(thread.GetList().Get(1)->m_bstrSubject));
}

TEST_F(CalendarThread, AJournalHasItsDaysFromTheNewest) {
    Item().On("2010-03-01 10:00").Save();
    CCalendarThread thread(nullptr, 1, 1);
    EXPECT_DAYS(List(thread, "2010-03-01", "2010-03-02"),
                "Tue 2010-03-02 --\nMon 2010-03-01 --\nMon 2010-03-01 10:00..11:00\n");
}

// The order of two lines, which is the opposite of that of the two the other way round.
int OrderOf(CCalendarThread& thread, DATACALENDAR& a, DATACALENDAR& b) {
    DATACALENDAR* first = &a;
    DATACALENDAR* second = &b;
    const int there = CCalendarThread::CompareFunc(first, second, reinterpret_cast<CEUSER>(&thread));
    const int back = CCalendarThread::CompareFunc(second, first, reinterpret_cast<CEUSER>(&thread));
    EXPECT_EQ(there, -back);
    return there;
}

TEST_F(CalendarThread, OrderOfKindsOfLines) {
    CCalendarThread thread;
    DATACALENDAR lines[6];
    const LONG types[] = {3, 2, 3, 4, 6, 3};
    for (int i = 0; i < 6; ++i) {
        lines[i].m_nType = types[i];
        lines[i].m_lDay = 40238;
        lines[i].m_oid = i == 0 ? 0 : static_cast<DWORD>(100 + i);
    }
    lines[5].m_bSortLast = 1; // header, contact date, appointment, task, journal entry, and one behind all
    lines[5].m_lDay = 40000;
    for (int i = 0; i < 5; ++i) EXPECT_LT(OrderOf(thread, lines[i], lines[i + 1]), 0) << i;
    DATACALENDAR* nothing = nullptr;
    DATACALENDAR* something = &lines[1];
    EXPECT_LT(CCalendarThread::CompareFunc(something, nothing, reinterpret_cast<CEUSER>(&thread)), 0);

    SetNumber(u"CAV_ShowTaskOnTop", 1); // read with the tasks alone
    thread.SettingChange();
    EXPECT_GT(OrderOf(thread, lines[3], lines[2]), 0);
    SetNumber(u"WV_ShowTasks", 1);
    thread.SettingChange();
    EXPECT_LT(OrderOf(thread, lines[3], lines[2]), 0); // a task before an appointment,
    EXPECT_LT(OrderOf(thread, lines[1], lines[3]), 0); // but not before a contact date
    lines[3].m_lDay = 40239;
    EXPECT_GT(OrderOf(thread, lines[3], lines[2]), 0);
}

// Two tasks stand by the two keys of the settings, told by whoever owns tasks; without any by their ids.
TEST_F(CalendarThread, OrderOfTasksAndJournalEntries) {
    DATACALENDAR a, b;
    a.m_oid = 1;
    b.m_oid = 2;
    a.m_nType = b.m_nType = kLineTask;
    a.m_pTask = new DATATASKS;
    b.m_pTask = new DATATASKS;
    CCalendarThread thread;
    EXPECT_LT(OrderOf(thread, a, b), 0);
    CalendarOverlays overlays;
    overlays.pfnCompareTasks = [](const DATATASKS& x, const DATATASKS& y, LONG key) {
        const LONG p = key == 6 ? x.m_nImportance : x.m_lPrioNumber; // 6 and 3 are the keys without settings
        const LONG q = key == 6 ? y.m_nImportance : y.m_lPrioNumber;
        return key == 6 || key == 3 ? (p > q) - (p < q) : 0;
    };
    overlays.pfnCompareJournalDates = [](const DATACALENDAR& x, const DATACALENDAR& y, LONG key) {
        return key == 2 ? x.m_wMeeting - y.m_wMeeting : 0;
    };
    SetCalendarOverlays(overlays);
    a.m_pTask->m_lPrioNumber = 5;
    EXPECT_GT(OrderOf(thread, a, b), 0); // by the second key
    b.m_pTask->m_nImportance = 7;
    EXPECT_LT(OrderOf(thread, a, b), 0); // by the first
    SetNumber(u"TaskSortDescending", 1);
    thread.LoadSortPrefs();
    EXPECT_GT(OrderOf(thread, a, b), 0);
    SetNumber(u"TaskSort", 9);
    SetNumber(u"TaskSortDescending2", 1);
    thread.LoadSortPrefs();
    EXPECT_LT(OrderOf(thread, a, b), 0);

    DATACALENDAR early, late;
    early.m_nType = late.m_nType = kLineJournal;
    early.m_oid = late.m_oid = 1;
    early.m_dtStart = late.m_dtStart = 40238.5;
    early.m_bstrSubject = SysAllocString(u"same");
    late.m_bstrSubject = SysAllocString(u"same");
    late.m_wMeeting = 1;
    CCalendarThread journal(nullptr, 1, 1);
    EXPECT_EQ(0, OrderOf(thread, early, late));  // the journal's keys are for its own view
    EXPECT_LT(OrderOf(journal, early, late), 0); // by subject, then by the second date
    SetNumber(u"JournalSortDescending2", 1, u"Software\\Norvo\\Quillonary\\JV");
    journal.SettingChange();
    EXPECT_GT(OrderOf(journal, early, late), 0);
    SysFreeString(early.m_bstrSubject);
    early.m_bstrSubject = nullptr; // a missing subject stands first
    EXPECT_LT(OrderOf(journal, early, late), 0);
    SetNumber(u"JournalSortDescending", 1, u"Software\\Norvo\\Quillonary\\JV");
    journal.SettingChange();
    EXPECT_GT(OrderOf(journal, early, late), 0);
    early.m_dtStart = 40238.25;
    EXPECT_LT(OrderOf(journal, early, late), 0);
}

// --- Filters and settings -----------------------------------------------------------------------------------------

TEST_F(CalendarThread, FiltersWithoutARangeListEachRecordOnce) {
    AddAppointment(u"Labour Day").On("2005-05-01").AllDay().YearlyDay(5, 1).Save();
    AddAppointment(u"Standup").On("2010-03-03 10:00").Daily(1).Save();
    AddAppointment(u"Once").On("2012-01-01 10:00").Save();
    CCalendarThread thread;
    const std::string labourDay = "Sun 2005-05-01 --\nSun 2005-05-01 all-day Labour Day\n";
    SetNumber(u"CAV_AppointmentFilter", kFilterHolidays);
    EXPECT_DAYS(List(thread, "2020-01-01", "2020-01-02"), labourDay);
    SetNumber(u"CAV_AppointmentFilter", kFilterRecurring);
    EXPECT_DAYS(List(thread, "2020-01-01", "2020-01-02"),
                labourDay + "Wed 2010-03-03 --\nWed 2010-03-03 10:00..11:00 Standup\n");
    SetNumber(u"CAV_AppointmentFilter", kFilterBirthdays); // nobody recognises birthdays here
    EXPECT_DAYS(List(thread, "2020-01-01", "2020-01-02"), "");
    for (LONG none : {LONG{kFilterMeetings}, LONG{kFilterSingleSeries}, -1}) { // not from the settings
        SetNumber(u"CAV_AppointmentFilter", static_cast<DWORD>(none));
        EXPECT_DAYS(Days("2012-01-01", "2012-01-01"),
                    "Sun 2012-01-01 10:00..11:00 Once\nSun 2012-01-01 10:00..11:00 Standup\n");
    }
}

TEST_F(CalendarThread, HolidaysAreKnownByCategoryOrSubject) {
    const LONG holiday = AddCategory(u"Public HOLIDAY");
    AddAppointment(u"Easter").On("2010-04-04").AllDay().Save();
    AddAppointment(u"Boxing Day").On("2010-12-26").AllDay().Save();
    AddAppointment(u"Feast").On("2010-12-25").AllDay().Save();
    AddAppointment(u"Day off").On("2010-12-27").AllDay().Save(); // " day" wants the blank
    AddAppointment(u"Open day").On("2010-12-28 10:00").Save();   // not all day
    Associate(0x40000001, holiday);
    ResetFullCategoryList();
    SetNumber(u"CAV_AppointmentFilter", kFilterHolidays);
    EXPECT_DAYS(Days("2010-01-01", "2010-01-01"),
                "Sun 2010-04-04 all-day Easter\nSun 2010-12-26 all-day Boxing Day\n");
    SetText(u"HolidayCatName", u"none");
    SetText(u"HolidaySubName", u"FEAST");
    EXPECT_DAYS(Days("2010-01-01", "2010-01-01"), "Sat 2010-12-25 all-day Feast\n");
}

TEST_F(CalendarThread, BirthdaysOfTheOverlayAreOrderedByTheDayOfTheYear) {
    CalendarOverlays overlays;
    overlays.pfnRecognise = [](const CCalendarThread&, DATACALENDARDB& record) {
        record.m_wBirthdayYear = record.m_stStart.wYear;
    };
    overlays.pfnAddAge = [](const CCalendarThread&, DATACALENDAR& line) { line.m_bRecurring = 0; };
    SetCalendarOverlays(overlays);
    AddAppointment(u"Zoe").On("1970-12-01").AllDay().YearlyDay(12, 1).Save();
    AddAppointment(u"Abe").On("1990-02-02").AllDay().YearlyDay(2, 2).Save();
    AddAppointment(u"Meeting").On("1990-02-02 10:00").YearlyDay(2, 2).Save();
    SetNumber(u"CAV_AppointmentFilter", kFilterBirthdays);
    CCalendarThread thread;
    EXPECT_DAYS(List(thread, "2020-01-01", "2020-01-02"), "Fri 1990-02-02 --\nFri 1990-02-02 all-day Abe\n"
                                                          "Tue 1970-12-01 --\nTue 1970-12-01 all-day Zoe\n");
    EXPECT_EQ(0, thread.GetList().Get(2)->m_bRecurring);
}

// A floating item carries a rank before its subject, which goes; one of the category without a rank is an item like any
// other, and may be a birthday.
TEST_F(CalendarThread, FloatingItemsLoseTheirRank) {
    static int asked;
    asked = 0;
    CalendarOverlays overlays;
    overlays.pfnRecognise = [](const CCalendarThread&, DATACALENDARDB&) { ++asked; };
    SetCalendarOverlays(overlays);
    const LONG floating = AddCategory(u"Float");
    const std::u16string long200(200, u'x');
    CCalendarThread thread;
    DWORD oid = 0x40000000;
    for (const WCHAR* subject : {u"D1 22 Paint", u"WxRead", u"D1 2", u"D", u"d1 Low", u"Abe"}) {
        AddAppointment(subject).On("2010-03-01").AllDay().YearlyDay(3, 1).Save();
        Associate(++oid, floating);
    }
    ResetFullCategoryList();
    for (const WCHAR* category : {u"float", long200.c_str(), u""}) {
        SetText(u"FloatCat", category, u"Software\\Ostra\\QNToday");
        EXPECT_EQ("Abe;D;D1 2;D1 22 Paint;d1 Low;WxRead;", Subjects(thread, "2010-03-01"));
    }
    EXPECT_EQ(3 * 6, asked);
    asked = 0;
    SetText(u"FloatCat", u"Float", u"Software\\Ostra\\QNToday");
    EXPECT_EQ("Abe;D;D1 2;d1 Low;Paint;Read;", Subjects(thread, "2010-03-01"));
    EXPECT_EQ(2, asked); // "d1 Low" and "Abe"
}

TEST_F(CalendarThread, StatusAndPrivacy) {
    for (const WCHAR* busy : {u"0", u"2", u"3"})
        AddAppointment(busy).On("2010-03-01").Busy(*busy - u'0').Save();
    AddAppointment(u"private").On("2010-03-01").Sensitivity(2).Save();
    const struct {
        DWORD status;
        LONG privacy;
        const char* subjects;
    } kCases[] = {{0, -1, "0;2;3;private*;"}, {1, -1, "0;"},    {4, -1, "3;"},
                  {3, -1, "2;private*;"},     {0, 0, "0;2;3;"}, {0, 1, "private*;"},
                  {0, 12, "private*;"},       {0, 13, ""}};
    CCalendarThread thread;
    for (const auto& test : kCases) {
        SetNumber(u"ApptStatusFilter", test.status);
        SetNumber(u"FilterPrivacy", static_cast<DWORD>(test.privacy));
        EXPECT_EQ(test.subjects, Subjects(thread, "2010-03-01")) << test.status << " " << test.privacy;
    }
}

TEST_F(CalendarThread, CategoriesOfTheStore) {
    const LONG work = AddCategory(u"Work");
    AddAppointment(u"with").On("2010-03-01").Save();
    AddAppointment(u"without").On("2010-03-01").Save();
    Associate(0x40000001, work);
    CCalendarThread thread;
    CCategoryFilterInfo* filter = nullptr;
    thread.GetCategoryRestrict(filter);
    Choose(filter->m_list, {{u"Work", work}});
    const struct {
        LONG hide;
        DWORD includeNone;
        const char* subjects;
    } kModes[] = {{0, 0, "with;"}, {0, 1, "with;without;"}, {1, 0, "without;"}, {-1, 0, "without;"}};
    for (const auto& mode : kModes) {
        SetNumber(u"bHideCategories", static_cast<DWORD>(mode.hide));
        SetNumber(u"m_bIncludeNoCat", mode.includeNone);
        EXPECT_EQ(mode.subjects, Subjects(thread, "2010-03-01")) << mode.hide << mode.includeNone;
    }
    // The lists without a range know no such filter, nor one by status.
    SetNumber(u"ApptStatusFilter", 4);
    SetNumber(u"CAV_AppointmentFilter", kFilterHolidays);
    RemoveAll();
    AddAppointment(u"Labour day").On("2010-03-01").AllDay().Save();
    EXPECT_EQ("Labour day;", Subjects(thread, "2010-03-01"));
}

TEST_F(CalendarThread, HiddenItemsAndMissingSubjects) {
    AddAppointment(u"<\u2022>done\u2022>").On("2010-03-01 10:00").Daily(1).Until("2010-03-03").Save();
    AddAppointment(u"Open")
        .On("2010-03-01 12:00")
        .Daily(1)
        .Until("2010-03-02")
        .Changed(
            Moved("2010-03-02 12:00", "2010-03-02 13:00", "2010-03-02 14:00").Subject(u"<\u2022>that one"))
        .Save();
    AddAppointment().NoSubject().On("2010-03-02 18:00").Save();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-03");
    EXPECT_EQ(3 + 3 + 2 + 1, thread.GetActiveDataCount());
    SetNumber(u"DisplayCompletedAppointments", 0);
    EXPECT_DAYS(Days("2010-03-01", "2010-03-03"),
                "Mon 2010-03-01 12:00..13:00 Open\nTue 2010-03-02 18:00..19:00 <No Subject>\n");
}

TEST_F(CalendarThread, SettingsComeFromTheViewsOwnKey) {
    Item().On("2010-03-01").Busy(1).Save();
    SetNumber(u"ApptStatusFilter", 1, u"Software\\Test\\View");
    CCalendarThread own(u"Software\\Test\\View");
    EXPECT_EQ("", Subjects(own, "2010-03-01"));
    CCalendarThread common;
    EXPECT_EQ("Item;", Subjects(common, "2010-03-01"));
    CRegistry registry; // reading makes no key
    EXPECT_FALSE(registry.Exists(HKEY_CURRENT_USER, u"Software\\Ostra\\QNToday"));
    // A device without summer time is told of in the log.
    PlatTakeDebugOutput();
    common.SettingChange();
    const auto log = PlatTakeDebugOutput();
    ASSERT_EQ(1u, log.size());
    EXPECT_NE(std::u16string::npos, log[0].find(u": TimeZone is in unknown mode"));
}

// --- The range and single records ---------------------------------------------------------------------------------

TEST_F(CalendarThread, WhatIsInTheCache) {
    CCalendarThread thread;
    SYSTEMTIME inside = Date("2010-03-15 10:00");
    EXPECT_FALSE(thread.IsInCache(&inside));
    EXPECT_FALSE(thread.IsInCache(40252.0));
    SYSTEMTIME first = Date("2010-03-10 08:00");
    SYSTEMTIME last = Date("2010-03-20 08:00");
    first.wDayOfWeek = last.wDayOfWeek = 9; // not looked at
    thread.SetRestrict(&first, &last, true);
    const struct {
        const char* date;
        bool inCache;
        int days;
        bool inCacheForDays;
    } kDates[] = {
        {"2010-03-09 23:59", false, 1, false}, {"2010-03-10 00:00", true, 10, true},
        {"2010-03-10 00:00", true, 11, false}, {"2010-03-15 10:00", true, 4, true},
        {"2010-03-15 10:00", true, 5, false},  {"2010-03-20 23:59", true, 0, false},
        {"2010-03-20 00:00", true, 0, true},   {"2010-03-21 00:00", false, 0, false},
    };
    for (const auto& test : kDates) {
        SYSTEMTIME date = Date(test.date);
        EXPECT_EQ(test.inCache, thread.IsInCache(&date)) << test.date;
        EXPECT_EQ(test.inCacheForDays, thread.IsInCache(&date, test.days))
            << test.date << " and " << test.days;
    }
    SYSTEMTIME none = {2010, 2, 0, 31, 0, 0, 0, 0};
    thread.SetRestrict(&none, &last, true); // no such date: nothing changes
    EXPECT_TRUE(thread.IsInCache(&inside));
}

TEST_F(CalendarThread, ASingleRecordIsAddedToTheList) {
    AddAppointment(u"first").On("2010-03-01 10:00").Save();
    CEOID second = AddAppointment(u"second").On("2010-03-01 08:00").Daily(1).Until("2010-03-02").Save();
    CCalendarThread thread;
    const std::string loaded = List(thread, "2010-03-01", "2010-03-02");
    thread.CalendarThreadProc(nullptr, 0x7FFFFFFF); // no such record
    EXPECT_EQ(5, thread.GetActiveDataCount());
    thread.CalendarThreadProc(nullptr, second);
    EXPECT_EQ(7, thread.GetActiveDataCount());
    EXPECT_DAYS(ListText(thread.GetList(), true),
                loaded + "Mon 2010-03-01 08:00..09:00 second\nTue 2010-03-02 08:00..09:00 second\n");
}

TEST_F(CalendarThread, LinesCarryTheirItem) {
    COutlook outlook;
    g_pOutlook = &outlook;
    CEOID oid = AddAppointment(u"One").On("2010-03-01").Meeting(1).Location(u"Here").Save();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-01");
    const auto marks = [](const DATACALENDAR& line) {
        return Narrow(line.m_szCategories) + "|" + Narrow(line.m_szIcon) + "|" +
               std::to_string(line.m_bHasNote) + std::to_string(line.m_bHasLink) +
               std::to_string(line.m_bHasJournalLink);
    };
    {
        const DATACALENDAR& line = *thread.GetList().Get(2);
        EXPECT_EQ(oid, line.m_oidRecord);
        EXPECT_EQ(0x40000001u, line.m_oid); // the first number of its database
        EXPECT_EQ(1, line.m_wMeeting);
        EXPECT_EQ(1, line.m_bReminder);
        EXPECT_EQ(1, line.m_bListed);
        EXPECT_EQ("Here", Narrow(line.m_bstrLocation));
        EXPECT_EQ("||000", marks(line));
    }
    const LONG work = AddCategory(u"Work");
    Associate(0x40000001, AddCategory(u"A, B"));
    Associate(0x40000001, work);
    SetNamed(0x40000001, outlook.GetPOOM2Property(u"QN_IconName", CEVT_LPWSTR, true),
             {'s', 0, 'u', 0, 'n', 0});
    MakeStore(u"QuillonaryLinks", 1, CEVT_I4, 0x40000001);
    MakeStore(u"QuillonaryJournal_2", 0x2E, CEVT_I4, 0x40000001);
    m_store->Db().SeekFirst();
    ASSERT_TRUE(WriteStream(m_store->Db().m_hDb, 0x001E0064, {'n', 'o', 't', 'e'}));
    ResetFullCategoryList();
    Load(thread, "2010-03-01", "2010-03-01");
    EXPECT_EQ("Work, A, B|sun|111", marks(*thread.GetList().Get(2)));
    SetNumber(u"ShowHasNoteIcons", 0);
    Load(thread, "2010-03-01", "2010-03-01");
    EXPECT_EQ("Work, A, B|sun|011", marks(*thread.GetList().Get(2)));
    outlook.Close();
    g_pOutlook = nullptr;
    CQNDataThread::ms_IconProperty = 0;
}

TEST_F(CalendarThread, OnlyTheFirst65535RecordsAreRead) {
    m_store->Db().BeginTransaction();
    for (ULONGLONG i = 0; i < 65540; ++i)
        Add(m_store->Db().m_hDb,
            Values().Time(0x1042, (Minutes("2010-03-01") + i % 1000) * 600000000).UInt(0x1040, 30));
    m_store->Db().Commit();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-01");
    EXPECT_EQ(65535 + 1, thread.GetActiveDataCount());
}

TEST_F(CalendarThread, WithoutAppointmentsThereAreHeadersAlone) {
    Item().On("2010-03-01").Save();
    CCalendarThread none(nullptr, 0);
    EXPECT_DAYS(List(none, "2010-03-01", "2010-03-02"), "Mon 2010-03-01 --\nTue 2010-03-02 --\n");
    CCalendarThread missing;
    m_store.reset();
    DeleteDatabase(u"Appointments Database");
    EXPECT_DAYS(List(missing, "2010-03-01", "2010-03-02"), "Mon 2010-03-01 --\nTue 2010-03-02 --\n");
}

// --- Overlays that others register --------------------------------------------------------------------------------

TEST_F(CalendarThread, OverlaysAreAskedAndTakenOutAgain) {
    static std::string asked;
    asked.clear();
    CalendarOverlays overlays;
    overlays.pfnAddTasks = [](CCalendarThread& thread, CeManualEvent*) {
        asked += "tasks ";
        auto* line = new DATACALENDAR;
        line->m_nType = kLineTask;
        line->m_oid = 0xC0000001;
        line->m_lDay = 40238;
        thread.GetList().Add(line);
    };
    overlays.pfnAddJournal = [](CCalendarThread&, CeManualEvent*, CEOID oid) {
        asked += "journal " + std::to_string(oid) + " ";
    };
    overlays.pfnAddContacts = [](CCalendarThread&, CeManualEvent*) { asked += "contacts "; };
    SetCalendarOverlays(overlays);
    Item().On("2010-03-01").Save();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-01");
    EXPECT_EQ("tasks journal 0 contacts ", asked);
    EXPECT_EQ(3, thread.GetActiveDataCount());
    thread.RemoveTasksFromThread();
    EXPECT_EQ(2, thread.GetActiveDataCount());
    thread.AddTasksToThread(nullptr);
    EXPECT_EQ(3, thread.GetActiveDataCount());
    EXPECT_EQ(kLineTask, thread.GetList().Get(3)->m_nType); // sorted in, behind the appointment
    asked.clear();
    CCalendarThread journal(nullptr, 0, 1);
    journal.CalendarThreadProc(nullptr, 5);
    EXPECT_EQ("journal 5 ", asked);
}

} // namespace
