// From the records of a real store to lines: series and their changed occurrences, zones, items of several days.
#include "QNWorkerClass/calendarthread.h"
#include "tests/support/appointments.h"
#include "tests/support/workedblobs.h"

#include <gtest/gtest.h>

namespace {

constexpr DWORD kMonday = 1 << 1;

class CalendarExpansion : public AppointmentTest {
protected:
    Appointment Item() { return AddAppointment(); }
};

// --- Series -------------------------------------------------------------------------------------------------------

TEST_F(CalendarExpansion, WorkedBlobsGiveTheirLines) {
    for (bool inRow : {false, true})
        for (const WorkedBlob& blob : WorkedBlobs()) {
            Appointment item = Item().On("2010-01-01").RawBlob(blob.bytes);
            if (blob.allDay) item.AllDay();
            if (inRow) item.BlobInRow();
            EXPECT_DAYS(DaysOf(item, blob.first, blob.last), blob.lines)
                << blob.name << (inRow ? " in the row" : " as a stream");
        }
}

TEST_F(CalendarExpansion, ChangedOccurrencesCarryTheirOwnFields) {
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
TEST_F(CalendarExpansion, SeriesAboutTheEdgesOfARange) {
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
        {"weekdays, a range that begins on a Friday goes on with the Monday", weekdays, "2010-03-12",
         "2010-03-15", "Mon 2010-03-15 08:00..09:00\n"},
        {"weekdays, a range that begins on a Sunday has that Sunday", weekdays, "2010-03-14", "2010-03-15",
         "Sun 2010-03-14 08:00..09:00\nMon 2010-03-15 08:00..09:00\n"},
        {"weekly over midnight, from the day before the range", nightly().Weekly(1, kMonday), "2010-03-09",
         "2010-03-09", "Mon 2010-03-08 22:00..03-09 02:00\nTue 2010-03-09 03-08 22:00..02:00\n"},
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
        {"every year, whatever the period says", morning("2008-06-10").YearlyDay(6, 10), "2009-06-10",
         "2010-06-10", "Wed 2009-06-10 10:00..11:00\nThu 2010-06-10 10:00..11:00\n"},
        {"February in a range that begins in the January behind a leap year's next: a day late", february,
         "2014-01-31", "2014-02-28", "Sun 2014-02-16 all-day\n"},
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

TEST_F(CalendarExpansion, BlobsThatCannotBeReadGiveNoLine) {
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

TEST_F(CalendarExpansion, ASeriesInItsOwnZone) {
    TIME_ZONE_INFORMATION berlin = Berlin();
    PlatSetTimeZone(&berlin);
    // New York goes to summer time on 14 March, Berlin on the 28th.
    const auto series = Item().On("2010-03-08 10:00").Zone(Eastern()).Weekly(1, kMonday);
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

TEST_F(CalendarExpansion, OneDayItemsKeepTheirDateOnEveryDayOfTheYear) {
    const LONG first = DayOfMinutes(Minutes("2010-01-01"));
    for (TIME_ZONE_INFORMATION zone : {Eastern(), Berlin(), Sydney(), TIME_ZONE_INFORMATION{}}) {
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

TEST_F(CalendarExpansion, ItemsOfSeveralDays) {
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
        {"two days all day", Item().On("2010-03-01").AllDay(2), 0, "2010-03-05",
         "Mon 2010-03-01 all-day 03-01..03-02\nTue 2010-03-02 all-day 03-01..03-02\n"},
        {"of no length", day(0), 0, "2010-03-01", "Mon 2010-03-01 10:00..10:00\n"},
        {"all day of no length ends a day early", Item().On("2010-03-02").AllDay(0), 0, "2010-03-02",
         "Tue 2010-03-02 all-day 03-02..03-01\n"},
        {"ended before it began", day(static_cast<DWORD>(-60)), 0, "2010-03-01",
         "Mon 2010-03-01 10:00..09:00\n"},
        {"ended millennia before", day(0x80000000), 0, "2010-03-01", ""},
        {"without a start", day(60).NoStart(), 0, "2010-03-01", ""},
    };
    for (const auto& test : kCases) {
        SetNumber(u"AppointmentSingleIfEndsEarly", test.endsEarly);
        EXPECT_DAYS(DaysOf(test.item, "2010-03-01", test.last), test.lines) << test.what;
    }
}

// Every end at midnight is one, whatever the sum of the doubles says.
// Every end at midnight is one, whatever the sum of the doubles says.
TEST_F(CalendarExpansion, EndsAtMidnightFromAnyMinute) {
    m_store->Db().BeginTransaction();
    const double midnight = VariantOfSeconds(LONGLONG{Minutes("2010-03-01")} * 60);
    for (DWORD minute = 0; minute < 1440; minute += 7)
        Item().On(MomentText(midnight + minute / 1440.0).c_str(), 1440 - minute).Save();
    m_store->Db().Commit();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-03");
    EXPECT_EQ(206 + 3, thread.GetActiveDataCount());
}

} // namespace
