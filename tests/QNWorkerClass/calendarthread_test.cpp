// The calendar thread on a real store: expansion, lines of several days, filters, settings, headers and order.
#include "QNWorkerClass/calendarthread.h"
#include "QNWorkerClass/DATATASKS.h"
#include "QNWorkerClass/calendaroverlays.h"
#include "tests/support/appointments.h"
#include "tests/support/workedblobs.h"

#include <gtest/gtest.h>

namespace {

class CalendarThread : public AppointmentTest {
protected:
    void RemoveAll() {
        while (CEOID oid = m_store->Db().SeekFirst()) CeDeleteRecord(m_store->Db().m_hDb, oid);
    }
    static LONG DayOfText(const char* date) { return DayOfMinutes(Minutes(date)); }
};

// --- Series -------------------------------------------------------------------------------------------------------

TEST_F(CalendarThread, WorkedBlobsGiveTheirLines) {
    for (bool inRow : {false, true})
        for (const WorkedBlob& blob : WorkedBlobs()) {
            Appointment item = AddAppointment();
            if (blob.allDay) item.AllDay();
            if (inRow) item.BlobInRow();
            ASSERT_NE(0u, item.On("2010-01-01").RawBlob(blob.bytes).Save());
            EXPECT_DAYS(Days(blob.first, blob.last), blob.lines)
                << blob.name << (inRow ? " in the row" : " as a stream");
            RemoveAll();
        }
}

TEST_F(CalendarThread, ChangedOccurrencesCarryTheirOwnFields) {
    AddAppointment(u"Meeting")
        .On("2010-03-01")
        .At("10:00", 60)
        .Location(u"Here")
        .Daily(1)
        .Until("2010-03-04")
        .Changed(Moved("2010-03-02 10:00", "2010-03-02 15:00", "2010-03-02 16:00").Subject(u"Review").Busy(3))
        .Changed(
            Moved("2010-03-03 10:00", "2010-03-03 00:00", "2010-03-04 00:00").Location(u"There").AllDay(true))
        .Save();
    CCalendarThread thread;
    EXPECT_DAYS(Days(thread, "2010-03-01", "2010-03-04", false, true),
                "Mon 2010-03-01  2010-03-01 10:00..2010-03-01 11:00 Meeting\n"
                "Tue 2010-03-02  2010-03-02 15:00..2010-03-02 16:00 EXC Review\n"
                "Wed 2010-03-03  all-day 2010-03-03..2010-03-03 EXC Meeting\n"
                "Thu 2010-03-04  2010-03-04 10:00..2010-03-04 11:00 Meeting\n");
    std::string fields;
    for (const DATACALENDAR* line : thread.GetList()) {
        if (line->IsHeader()) continue;
        fields += Narrow(line->m_bstrLocation) + " " + std::to_string(line->m_lBusyStatus) + " " +
                  std::to_string(line->m_lDuration) + " " + std::to_string(line->m_bRecurring) + "\n";
    }
    EXPECT_EQ("Here 2 60 1\nHere 3 60 1\nThere 2 1440 1\nHere 2 60 1\n", fields);
}

// What the list shows of occurrences about the edges of a range, also where one would expect something else. An item
// that began before the range has lines for all its days: clients look them up by day.
TEST_F(CalendarThread, SeriesAboutTheEdgesOfARange) {
    using Make = void (*)(Appointment&);
    const struct {
        const char* what;
        Make make;
        const char* first;
        const char* last;
        const char* lines;
    } kCases[] = {
        {"daily over midnight, from the night before the range",
         [](Appointment& a) { a.On("2010-03-01").At("22:00", 240).Daily(1); }, "2010-03-10", "2010-03-10",
         "Tue 2010-03-09  2010-03-09 22:00..2010-03-10 02:00\n"
         "Wed 2010-03-10  2010-03-09 22:00..2010-03-10 02:00 copy\n"
         "Wed 2010-03-10  2010-03-10 22:00..2010-03-11 02:00\n"},
        {"every second day over midnight",
         [](Appointment& a) { a.On("2010-03-01").At("22:00", 240).Daily(2); }, "2010-03-10", "2010-03-10",
         "Tue 2010-03-09  2010-03-09 22:00..2010-03-10 02:00\n"
         "Wed 2010-03-10  2010-03-09 22:00..2010-03-10 02:00 copy\n"},
        {"daily, before its first date", [](Appointment& a) { a.On("2010-03-12").At("10:00", 60).Daily(1); },
         "2010-03-10", "2010-03-12", "Fri 2010-03-12  2010-03-12 10:00..2010-03-12 11:00\n"},
        {"weekdays, a range that begins on a Friday goes on with the Monday",
         [](Appointment& a) { a.On("2010-03-01").At("08:00", 60).Weekdays(); }, "2010-03-12", "2010-03-15",
         "Mon 2010-03-15  2010-03-15 08:00..2010-03-15 09:00\n"},
        {"weekdays, a range that begins on a Sunday has that Sunday",
         [](Appointment& a) { a.On("2010-03-01").At("08:00", 60).Weekdays(); }, "2010-03-14", "2010-03-15",
         "Sun 2010-03-14  2010-03-14 08:00..2010-03-14 09:00\n"
         "Mon 2010-03-15  2010-03-15 08:00..2010-03-15 09:00\n"},
        {"every second week, counted from the week of the start",
         [](Appointment& a) { a.On("2010-03-01").At("10:00", 60).Weekly(2, 1 << 1 | 1 << 5); }, "2010-03-08",
         "2010-03-21",
         "Mon 2010-03-15  2010-03-15 10:00..2010-03-15 11:00\n"
         "Fri 2010-03-19  2010-03-19 10:00..2010-03-19 11:00\n"},
        {"weekly over midnight, from the day before the range",
         [](Appointment& a) { a.On("2010-03-01").At("22:00", 240).Weekly(1, 1 << 1); }, "2010-03-09",
         "2010-03-09",
         "Mon 2010-03-08  2010-03-08 22:00..2010-03-09 02:00\n"
         "Tue 2010-03-09  2010-03-08 22:00..2010-03-09 02:00 copy\n"},
        {"the last Friday, with five and with four of them",
         [](Appointment& a) { a.On("2010-01-29").At("10:00", 60).MonthlyNth(1, 1 << 5, 5); }, "2010-01-01",
         "2010-02-28",
         "Fri 2010-01-29  2010-01-29 10:00..2010-01-29 11:00\n"
         "Fri 2010-02-26  2010-02-26 10:00..2010-02-26 11:00\n"},
        {"an nth weekday over midnight has no line on the morning behind it",
         [](Appointment& a) { a.On("2010-01-04").At("22:00", 240).MonthlyNth(1, 1 << 1, 1); }, "2010-03-02",
         "2010-03-02", ""},
        {"an nth weekday of two days reaches into the range",
         [](Appointment& a) { a.On("2010-01-04").At("12:00", 2160).MonthlyNth(1, 1 << 1, 1); }, "2010-03-02",
         "2010-03-02",
         "Mon 2010-03-01  2010-03-01 12:00..2010-03-03 00:00\n"
         "Tue 2010-03-02  2010-03-01 12:00..2010-03-03 00:00 copy\n"},
        {"a date of the rule before the start shows when the range begins on its day and year",
         [](Appointment& a) { a.On("2010-01-15").At("10:00", 60).MonthlyDay(1, 10); }, "2010-01-10",
         "2010-01-31", "Sun 2010-01-10  2010-01-10 10:00..2010-01-10 11:00\n"},
        {"and not when it begins a day earlier",
         [](Appointment& a) { a.On("2010-01-15").At("10:00", 60).MonthlyDay(1, 10); }, "2010-01-09",
         "2010-02-28", "Wed 2010-02-10  2010-02-10 10:00..2010-02-10 11:00\n"},
        {"29 February", [](Appointment& a) { a.On("2008-02-29").AllDay().YearlyDay(2, 29); }, "2011-01-01",
         "2012-12-31",
         "Mon 2011-02-28  all-day 2011-02-28..2011-02-28\nWed 2012-02-29  all-day 2012-02-29..2012-02-29\n"},
        {"every year, whatever the period says",
         [](Appointment& a) { a.On("2008-06-10").At("10:00", 60).YearlyDay(6, 10); }, "2009-06-10",
         "2010-06-10",
         "Wed 2009-06-10  2009-06-10 10:00..2009-06-10 11:00\nThu 2010-06-10  2010-06-10 10:00..2010-06-10 "
         "11:00\n"},
        {"February in a range of February",
         [](Appointment& a) { a.On("2008-02-15").AllDay().YearlyDay(2, 15); }, "2014-02-01", "2014-02-28",
         "Sat 2014-02-15  all-day 2014-02-15..2014-02-15\n"},
        {"February in a range that begins in the January behind a leap year's next: a day late",
         [](Appointment& a) { a.On("2008-02-15").AllDay().YearlyDay(2, 15); }, "2014-01-31", "2014-02-28",
         "Sun 2014-02-16  all-day 2014-02-16..2014-02-16\n"},
        {"an nth weekday each year stays in its month",
         [](Appointment& a) { a.On("2007-11-22").At("10:00", 60).YearlyNth(11, 1 << 4, 4); }, "2008-01-01",
         "2008-12-31", "Thu 2008-11-27  2008-11-27 10:00..2008-11-27 11:00\n"},
        {"four days all day: seen on the third, not on the fourth of them",
         [](Appointment& a) { a.On("2010-03-01").AllDay(4).Weekly(4, 1 << 1); }, "2010-03-03", "2010-03-03",
         "Mon 2010-03-01  all-day 2010-03-01..2010-03-04\n"
         "Tue 2010-03-02  all-day 2010-03-01..2010-03-04 copy\n"
         "Wed 2010-03-03  all-day 2010-03-01..2010-03-04 copy\n"},
        {"on the fourth", [](Appointment& a) { a.On("2010-03-01").AllDay(4).Weekly(4, 1 << 1); },
         "2010-03-04", "2010-03-04", ""},
        {"moved into the range from before it: not by a daily walk",
         [](Appointment& a) {
             a.On("2010-03-01")
                 .At("10:00", 60)
                 .Daily(1)
                 .Until("2010-03-05")
                 .Changed(Moved("2010-03-05 10:00", "2010-03-12 10:00", "2010-03-12 11:00"));
         },
         "2010-03-10", "2010-03-14", ""},
        {"moved into the range from before it, by a monthly one",
         [](Appointment& a) {
             a.On("2010-01-20")
                 .At("10:00", 60)
                 .MonthlyDay(1, 20)
                 .Changed(Moved("2010-02-20 10:00", "2010-03-02 10:00", "2010-03-02 11:00"));
         },
         "2010-03-01", "2010-03-14", "Tue 2010-03-02  2010-03-02 10:00..2010-03-02 11:00 EXC\n"},
        {"moved out of the range: listed all the same",
         [](Appointment& a) {
             a.On("2010-03-01")
                 .At("10:00", 60)
                 .Daily(5)
                 .Changed(Moved("2010-03-11 10:00", "2010-05-03 10:00", "2010-05-03 11:00"));
         },
         "2010-03-10", "2010-03-14", "Mon 2010-05-03  2010-05-03 10:00..2010-05-03 11:00 EXC\n"},
        {"in place over midnight for less than a day: its end stays on its own day",
         [](Appointment& a) {
             a.On("2010-03-01")
                 .At("10:00", 60)
                 .Daily(1)
                 .Until("2010-03-02")
                 .Changed(Moved("2010-03-02 10:00", "2010-03-02 22:00", "2010-03-03 02:00"));
         },
         "2010-03-02", "2010-03-03", "Tue 2010-03-02  2010-03-02 22:00..2010-03-02 02:00 EXC\n"},
        {"changed in place to last for millennia: the days of the difference, counted as a date's day",
         [](Appointment& a) {
             a.On("2010-03-01")
                 .At("10:00", 60)
                 .Daily(5)
                 .Changed({Minutes("2010-03-11 09:00"), 0xFFFFFFFF, Minutes("2010-03-11 10:00"), 0, {}});
         },
         "2010-03-10", "2010-03-11", "Thu 2010-03-11  2010-03-11 09:00..2010-03-18 04:15 EXC\n"},
        {"moved, to last for millennia",
         [](Appointment& a) {
             a.On("2010-03-01")
                 .At("10:00", 60)
                 .Daily(5)
                 .Changed({Minutes("2010-03-12 09:00"), 0xFFFFFFFF, Minutes("2010-03-11 10:00"), 0, {}});
         },
         "2010-03-10", "2010-03-13",
         "Fri 2010-03-12  2010-03-12 09:00..9767-02-16 04:15 EXC\n"
         "Sat 2010-03-13  2010-03-12 09:00..9767-02-16 04:15 EXC copy\n"},
        {"after its end",
         [](Appointment& a) { a.On("2010-03-01").At("10:00", 60).Daily(1).Until("2010-03-09"); },
         "2010-03-10", "2010-03-14", ""},
    };
    for (const auto& test : kCases) {
        Appointment item = AddAppointment();
        test.make(item);
        ASSERT_NE(0u, item.Save());
        EXPECT_DAYS(Days(test.first, test.last), test.lines) << test.what;
        RemoveAll();
    }
}

TEST_F(CalendarThread, BlobsThatCannotBeReadGiveNoLine) {
    std::vector<BYTE> damaged = WorkedBlobs()[0].bytes;
    damaged[0] = 0xFF;
    AddAppointment().On("2010-03-01").At("10:00", 60).RawBlob(damaged).Save();
    AddAppointment().On("2010-03-01").At("12:00", 60).RawBlob({1}).Save();
    EXPECT_DAYS(Days("2010-03-01", "2010-03-31"), "");
    // Without a range it keeps its own times.
    SetNumber(u"CAV_AppointmentFilter", kFilterRecurring);
    EXPECT_DAYS(Days("2010-03-01", "2010-03-31"), "Mon 2010-03-01  2010-03-01 10:00..2010-03-01 11:00\n"
                                                  "Mon 2010-03-01  2010-03-01 12:00..2010-03-01 13:00\n");
}

// --- Zones --------------------------------------------------------------------------------------------------------

TEST_F(CalendarThread, ASeriesInItsOwnZone) {
    TIME_ZONE_INFORMATION berlin = BerlinZone();
    PlatSetTimeZone(&berlin);
    // New York goes to summer time on 14 March, Berlin on the 28th.
    AddAppointment().On("2010-03-08").At("10:00", 60).Zone(NewYorkZone()).Weekly(1, 1 << 1).Save();
    EXPECT_DAYS(Days("2010-03-08", "2010-03-31"), "Mon 2010-03-08  2010-03-08 16:00..2010-03-08 17:00\n"
                                                  "Mon 2010-03-15  2010-03-15 15:00..2010-03-15 16:00\n"
                                                  "Mon 2010-03-22  2010-03-22 15:00..2010-03-22 16:00\n"
                                                  "Mon 2010-03-29  2010-03-29 16:00..2010-03-29 17:00\n");
}

TEST_F(CalendarThread, AllDaySeriesKeepTheirDateInAnyZone) {
    TIME_ZONE_INFORMATION berlin = BerlinZone();
    PlatSetTimeZone(&berlin);
    AddAppointment()
        .On("2010-03-08")
        .AllDay()
        .Zone(NewYorkZone())
        .Weekly(1, 1 << 1)
        .Until("2010-03-08")
        .Save();
    EXPECT_DAYS(Days("2010-03-01", "2010-03-31"), "Mon 2010-03-08  all-day 2010-03-08..2010-03-08\n");
}

// The moment of a local midnight, by asking for it.
LONGLONG MidnightUtc(const TIME_ZONE_INFORMATION& zone, LONGLONG localMinutes) {
    for (LONG bias : {zone.DaylightBias, zone.StandardBias}) {
        SYSTEMTIME utc = civil::SystemTimeFromMinutes(localMinutes + zone.Bias + bias);
        SYSTEMTIME local;
        bool summer;
        CeSystemTimeToTzSpecificLocalTime(&zone, &utc, &local, &summer);
        if (civil::MinutesOf(local) == localMinutes) return civil::MinutesOf(utc);
    }
    return localMinutes + zone.Bias;
}

TEST_F(CalendarThread, OneDayItemsKeepTheirDateOnEveryDayOfTheYear) {
    const LONG first = DayOfText("2010-01-01");
    for (TIME_ZONE_INFORMATION zone : {NewYorkZone(), BerlinZone(), SydneyZone(), TIME_ZONE_INFORMATION{}}) {
        PlatSetTimeZone(&zone);
        m_store->Db().BeginTransaction();
        for (LONG day = first; day < first + 365; ++day) {
            CEPROPVAL values[4] = {};
            LONGLONG utc = MidnightUtc(zone, (day + civil::kDaysTo1899) * 1440);
            values[0].propid = 0x10420040;
            values[0].val.filetime = FileTimeFromTicks(static_cast<ULONGLONG>(utc) * 600000000ULL);
            values[1].propid = 0x10400013;
            values[1].val.ulVal = 1440;
            values[2].propid = 0x0044000B;
            values[2].val.boolVal = 1;
            values[3].propid = 0x00450013;
            values[3].val.ulVal = static_cast<ULONG>(day - first);
            ASSERT_NE(0u, CeWriteRecordProps(m_store->Db().m_hDb, 0, 4, values));
        }
        m_store->Db().Commit();
        CCalendarThread thread;
        Load(thread, "2010-01-01", "2010-12-31");
        EXPECT_EQ(2 * 365, thread.GetActiveDataCount()) << "bias " << zone.Bias;
        for (const DATACALENDAR* line : thread.GetList())
            if (!line->IsHeader()) {
                EXPECT_EQ(first + line->m_lBusyStatus, line->m_lDay)
                    << DateText(line->m_lDay) << " bias " << zone.Bias;
                EXPECT_EQ(line->m_lDay, static_cast<LONG>(line->m_dtEnd));
            }
        RemoveAll();
    }
}

// --- Lines of several days ----------------------------------------------------------------------------------------

TEST_F(CalendarThread, ItemsOfSeveralDays) {
    const struct {
        const char* what;
        const char* date;
        const char* clock;
        DWORD minutes;
        DWORD endsEarly; // AppointmentSingleIfEndsEarly
        const char* first;
        const char* last;
        const char* lines;
    } kCases[] = {
        {"over midnight", "2010-03-01", "23:00", 120, 0, "2010-03-01", "2010-03-02",
         "Mon 2010-03-01  2010-03-01 23:00..2010-03-02 01:00\nTue 2010-03-02  2010-03-01 23:00..2010-03-02 "
         "01:00 copy\n"},
        {"over midnight, one line", "2010-03-01", "23:00", 120, 6, "2010-03-01", "2010-03-02",
         "Mon 2010-03-01  2010-03-01 23:00..2010-03-02 01:00 early\n"},
        {"up to the hour itself", "2010-03-01", "23:00", 420, 6, "2010-03-01", "2010-03-02",
         "Mon 2010-03-01  2010-03-01 23:00..2010-03-02 06:00 early\n"},
        {"a minute longer", "2010-03-01", "23:00", 421, 6, "2010-03-01", "2010-03-02",
         "Mon 2010-03-01  2010-03-01 23:00..2010-03-02 06:01\nTue 2010-03-02  2010-03-01 23:00..2010-03-02 "
         "06:01 copy\n"},
        {"to midnight", "2010-03-01", "10:00", 840, 0, "2010-03-01", "2010-03-02",
         "Mon 2010-03-01  2010-03-01 10:00..2010-03-02 00:00\n"},
        {"to a midnight behind the range", "2010-03-01", "10:00", 3720, 0, "2010-03-01", "2010-03-02",
         "Mon 2010-03-01  2010-03-01 10:00..2010-03-04 00:00\nTue 2010-03-02  2010-03-01 10:00..2010-03-04 "
         "00:00 copy\n"},
        {"the early end lies behind the range", "2010-03-01", "23:00", 1800, 6, "2010-03-01", "2010-03-02",
         "Mon 2010-03-01  2010-03-01 23:00..2010-03-03 05:00\nTue 2010-03-02  2010-03-01 23:00..2010-03-03 "
         "05:00 copy\n"},
        {"the early end of a long one", "2010-03-01", "23:00", 1800, 6, "2010-03-01", "2010-03-03",
         "Mon 2010-03-01  2010-03-01 23:00..2010-03-03 05:00\n"
         "Tue 2010-03-02  2010-03-01 23:00..2010-03-03 05:00 copy early\n"},
        {"begun before the range: lines from its start on", "2010-02-27", "10:00", 4320, 0, "2010-03-01",
         "2010-03-05",
         "Sat 2010-02-27  2010-02-27 10:00..2010-03-02 10:00\nSun 2010-02-28  2010-02-27 10:00..2010-03-02 "
         "10:00 copy\n"
         "Mon 2010-03-01  2010-02-27 10:00..2010-03-02 10:00 copy\n"
         "Tue 2010-03-02  2010-02-27 10:00..2010-03-02 10:00 copy\n"},
        {"ended before the range", "2010-02-27", "10:00", 60, 0, "2010-03-01", "2010-03-05", ""},
        {"behind the range", "2010-03-06", "00:00", 60, 0, "2010-03-01", "2010-03-05", ""},
    };
    for (const auto& test : kCases) {
        SetNumber(u"AppointmentSingleIfEndsEarly", test.endsEarly);
        AddAppointment().On(test.date).At(test.clock, test.minutes).Save();
        EXPECT_DAYS(Days(test.first, test.last), test.lines) << test.what;
        RemoveAll();
    }
    SetNumber(u"AppointmentSingleIfEndsEarly", 0);
    AddAppointment().On("2010-03-01").AllDay(2).Save();
    EXPECT_DAYS(Days("2010-03-01", "2010-03-05"), "Mon 2010-03-01  all-day 2010-03-01..2010-03-02\n"
                                                  "Tue 2010-03-02  all-day 2010-03-01..2010-03-02 copy\n");
}

// Every end at midnight is one, whatever the sum of the doubles says.
TEST_F(CalendarThread, EndsAtMidnightFromAnyMinute) {
    m_store->Db().BeginTransaction();
    for (DWORD minute = 0; minute < 1440; minute += 7) {
        char clock[8];
        std::snprintf(clock, sizeof clock, "%02u:%02u", minute / 60, minute % 60);
        AddAppointment().On("2010-03-01").At(clock, 1440 - minute).Save();
    }
    m_store->Db().Commit();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-03");
    EXPECT_EQ(206 + 3, thread.GetActiveDataCount());
}

// --- Headers, order -----------------------------------------------------------------------------------------------

TEST_F(CalendarThread, EveryDayHasAHeaderAndAllDayItemsStandFirst) {
    AddAppointment(u"late").On("2010-03-02").At("15:00", 60).Save();
    AddAppointment(u"b").On("2010-03-02").At("09:00", 60).Save();
    AddAppointment(u"a").On("2010-03-02").At("09:00", 60).Save();
    AddAppointment(u"whole").On("2010-03-02").AllDay().Save();
    CCalendarThread thread;
    EXPECT_DAYS(Days(thread, "2010-03-01", "2010-03-03", true, true),
                "Mon 2010-03-01 -- \n"
                "Tue 2010-03-02 -- \n"
                "Tue 2010-03-02  all-day 2010-03-02..2010-03-02 whole\n"
                "Tue 2010-03-02  2010-03-02 09:00..2010-03-02 10:00 a\n"
                "Tue 2010-03-02  2010-03-02 09:00..2010-03-02 10:00 b\n"
                "Tue 2010-03-02  2010-03-02 15:00..2010-03-02 16:00 late\n"
                "Wed 2010-03-03 -- \n");
    EXPECT_EQ(7, thread.GetActiveDataCount());

    thread.SetNoHeaderDates(true);
    EXPECT_DAYS(
        Days(thread, "2010-03-01", "2010-03-03", true, true),
        "Tue 2010-03-02  all-day 2010-03-02..2010-03-02 whole\n"
        "Tue 2010-03-02  2010-03-02 09:00..2010-03-02 10:00 b\n"
        "Tue 2010-03-02  2010-03-02 09:00..2010-03-02 10:00 a\n"
        "Tue 2010-03-02  2010-03-02 15:00..2010-03-02 16:00 late\n"); // by start in the store, unsorted
    thread.SortDataList(false);
    EXPECT_EQ("late", Narrow(thread.GetList().Get(1)->m_bstrSubject));
}

TEST_F(CalendarThread, AJournalHasItsDaysFromTheNewest) {
    AddAppointment().On("2010-03-01").At("10:00", 60).Save();
    CCalendarThread thread(nullptr, 1, 1);
    EXPECT_DAYS(Days(thread, "2010-03-01", "2010-03-02", true),
                "Tue 2010-03-02 --\n"
                "Mon 2010-03-01 --\n"
                "Mon 2010-03-01  2010-03-01 10:00..2010-03-01 11:00\n");
}

TEST_F(CalendarThread, OrderOfKindsOfLines) {
    CCalendarThread thread;
    auto order = [&thread](DATACALENDAR& a, DATACALENDAR& b) {
        DATACALENDAR* first = &a;
        DATACALENDAR* second = &b;
        int there = CCalendarThread::CompareFunc(first, second, reinterpret_cast<CEUSER>(&thread));
        int back = CCalendarThread::CompareFunc(second, first, reinterpret_cast<CEUSER>(&thread));
        EXPECT_EQ(there, -back);
        return there;
    };
    DATACALENDAR lines[6];
    const LONG types[] = {3, 2, 3, 4, 6, 3};
    for (int i = 0; i < 6; ++i) {
        lines[i].m_nType = types[i];
        lines[i].m_lDay = 40238;
        lines[i].m_oid = i == 0 ? 0 : static_cast<DWORD>(100 + i);
    }
    lines[5].m_bSortLast = 1; // header, contact date, appointment, task, journal entry, and one behind all
    lines[5].m_lDay = 40000;
    for (int i = 0; i < 5; ++i) EXPECT_LT(order(lines[i], lines[i + 1]), 0) << i;
    DATACALENDAR* nothing = nullptr;
    DATACALENDAR* something = &lines[1];
    EXPECT_LT(CCalendarThread::CompareFunc(something, nothing, reinterpret_cast<CEUSER>(&thread)), 0);

    SetNumber(u"WV_ShowTasks", 1);
    SetNumber(u"CAV_ShowTaskOnTop", 1);
    thread.SettingChange();
    EXPECT_LT(order(lines[3], lines[2]), 0); // a task before an appointment,
    EXPECT_LT(order(lines[1], lines[3]), 0); // but not before a contact date
    lines[3].m_lDay = 40239;
    EXPECT_GT(order(lines[3], lines[2]), 0);
}

// --- Filters and settings -----------------------------------------------------------------------------------------

TEST_F(CalendarThread, FiltersWithoutARangeListEachRecordOnce) {
    AddAppointment(u"Labour Day").On("2005-05-01").AllDay().YearlyDay(5, 1).Save();
    AddAppointment(u"Standup").On("2010-03-03").At("10:00", 60).Daily(1).Save();
    AddAppointment(u"Once").On("2012-01-01").At("10:00", 60).Save();
    CCalendarThread thread;
    SetNumber(u"CAV_AppointmentFilter", kFilterHolidays);
    EXPECT_DAYS(Days(thread, "2020-01-01", "2020-01-02", true, true),
                "Sun 2005-05-01 -- \n"
                "Sun 2005-05-01  all-day 2005-05-01..2005-05-01 Labour Day\n");
    SetNumber(u"CAV_AppointmentFilter", kFilterRecurring);
    EXPECT_DAYS(Days(thread, "2020-01-01", "2020-01-02", true, true),
                "Sun 2005-05-01 -- \n"
                "Sun 2005-05-01  all-day 2005-05-01..2005-05-01 Labour Day\n"
                "Wed 2010-03-03 -- \n"
                "Wed 2010-03-03  2010-03-03 10:00..2010-03-03 11:00 Standup\n");
    // Nobody recognises birthdays here.
    SetNumber(u"CAV_AppointmentFilter", kFilterBirthdays);
    EXPECT_DAYS(Days(thread, "2020-01-01", "2020-01-02", true), "");
    for (DWORD none :
         {DWORD{kFilterMeetings}, DWORD{kFilterSingleSeries}, DWORD{0xFFFFFFFF}}) { // not from the settings
        SetNumber(u"CAV_AppointmentFilter", none);
        EXPECT_DAYS(Days(thread, "2012-01-01", "2012-01-01", false, true),
                    "Sun 2012-01-01  2012-01-01 10:00..2012-01-01 11:00 Once\n"
                    "Sun 2012-01-01  2012-01-01 10:00..2012-01-01 11:00 Standup\n");
    }
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
    AddAppointment(u"Meeting").On("1990-02-02").At("10:00", 60).YearlyDay(2, 2).Save();
    SetNumber(u"CAV_AppointmentFilter", kFilterBirthdays);
    CCalendarThread thread;
    std::string lines = Days(thread, "2020-01-01", "2020-01-02", true, true);
    SetCalendarOverlays({});
    EXPECT_DAYS(lines, "Fri 1990-02-02 -- \n"
                       "Fri 1990-02-02  all-day 1990-02-02..1990-02-02 Abe\n"
                       "Tue 1970-12-01 -- \n"
                       "Tue 1970-12-01  all-day 1970-12-01..1970-12-01 Zoe\n");
    EXPECT_EQ(0, thread.GetList().Get(2)->m_bRecurring);
}

TEST_F(CalendarThread, StatusAndPrivacy) {
    for (LONG busy : {0, 2, 3})
        AddAppointment(u"busy " + std::u16string(1, static_cast<WCHAR>(u'0' + busy)))
            .On("2010-03-01")
            .Busy(busy)
            .Save();
    AddAppointment(u"private").On("2010-03-01").Sensitivity(2).Save();
    CCalendarThread thread;
    auto subjects = [&] {
        std::string text;
        Load(thread, "2010-03-01", "2010-03-01");
        for (const DATACALENDAR* line : thread.GetList())
            if (!line->IsHeader()) text += Narrow(line->m_bstrSubject) + (line->m_bPrivate ? "*;" : ";");
        return text;
    };
    EXPECT_EQ("busy 0;busy 2;busy 3;private*;", subjects());
    SetNumber(u"ApptStatusFilter", 1);
    EXPECT_EQ("busy 0;", subjects());
    SetNumber(u"ApptStatusFilter", 4);
    EXPECT_EQ("busy 3;", subjects());
    SetNumber(u"ApptStatusFilter", 0);
    SetNumber(u"FilterPrivacy", 0);
    EXPECT_EQ("busy 0;busy 2;busy 3;", subjects());
    SetNumber(u"FilterPrivacy", 12);
    EXPECT_EQ("private*;", subjects());
}

TEST_F(CalendarThread, CategoriesOfTheStore) {
    AddAppointment(u"with").On("2010-03-01").Save();
    AddAppointment(u"without").On("2010-03-01").Save();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-01");
    ASSERT_EQ(3, thread.GetActiveDataCount());
    DWORD oidWith = thread.GetList().Get(2)->m_oid;
    ASSERT_EQ("with", Narrow(thread.GetList().Get(2)->m_bstrSubject));
    CeDb associations;
    ASSERT_TRUE(associations.MountVolumeEDB(u"\\pim.vol", false) && associations.Open(u"CategoryAssocDB"));
    CEPROPVAL values[2] = {};
    values[0].propid = 0x00010013;
    values[0].val.ulVal = oidWith;
    values[1].propid = 0x00020003;
    values[1].val.lVal = 7;
    ASSERT_NE(0u, CeWriteRecordProps(associations.m_hDb, 0, 2, values));

    CCategoryFilterInfo* filter = nullptr;
    thread.GetCategoryRestrict(filter);
    auto* chosen = new CFullCategory;
    chosen->m_lId = 7;
    filter->m_list.Add(chosen);
    const struct {
        DWORD hide;
        DWORD includeNone;
        const char* lines;
    } kModes[] = {{0, 0, "with;"}, {0, 1, "with;without;"}, {1, 0, "without;"}, {0xFFFFFFFF, 0, "without;"}};
    for (const auto& mode : kModes) {
        SetNumber(u"bHideCategories", mode.hide);
        SetNumber(u"m_bIncludeNoCat", mode.includeNone);
        Load(thread, "2010-03-01", "2010-03-01");
        std::string text;
        for (const DATACALENDAR* line : thread.GetList())
            if (!line->IsHeader()) text += Narrow(line->m_bstrSubject) + ";";
        EXPECT_EQ(mode.lines, text) << mode.hide << mode.includeNone;
    }
}

TEST_F(CalendarThread, HiddenItemsAndMissingSubjects) {
    AddAppointment(u"<\u2022>done</\u2022>")
        .On("2010-03-01")
        .At("10:00", 60)
        .Daily(1)
        .Until("2010-03-03")
        .Save();
    AddAppointment(u"Open")
        .On("2010-03-01")
        .At("12:00", 60)
        .Daily(1)
        .Until("2010-03-02")
        .Changed(
            Moved("2010-03-02 12:00", "2010-03-02 13:00", "2010-03-02 14:00").Subject(u"<\u2022>that one"))
        .Save();
    AddAppointment().NoSubject().On("2010-03-02").At("18:00", 60).Save();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-03");
    EXPECT_EQ(3 + 3 + 2 + 1, thread.GetActiveDataCount());
    SetNumber(u"DisplayCompletedAppointments", 0);
    EXPECT_DAYS(Days(thread, "2010-03-01", "2010-03-03", false, true),
                "Mon 2010-03-01  2010-03-01 12:00..2010-03-01 13:00 Open\n"
                "Tue 2010-03-02  2010-03-02 18:00..2010-03-02 19:00 <No Subject>\n");
}

TEST_F(CalendarThread, SettingsComeFromTheViewsOwnKey) {
    AddAppointment().On("2010-03-01").Busy(1).Save();
    SetNumber(u"ApptStatusFilter", 1, u"Software\\Test\\View");
    CCalendarThread own(u"Software\\Test\\View");
    EXPECT_DAYS(Days(own, "2010-03-01", "2010-03-01"), "");
    CCalendarThread common;
    EXPECT_NE("", Days(common, "2010-03-01", "2010-03-01"));
    CRegistry registry; // reading makes no key
    EXPECT_FALSE(registry.Exists(HKEY_CURRENT_USER, u"Software\\Ostra\\QNToday"));
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
    AddAppointment(u"first").On("2010-03-01").At("10:00", 60).Save();
    CEOID second =
        AddAppointment(u"second").On("2010-03-01").At("08:00", 60).Daily(1).Until("2010-03-02").Save();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-02");
    ASSERT_EQ(5, thread.GetActiveDataCount());
    thread.CalendarThreadProc(nullptr, second);
    ASSERT_EQ(7, thread.GetActiveDataCount());
    EXPECT_EQ("second", Narrow(thread.GetList().Get(6)->m_bstrSubject));
    EXPECT_EQ("second", Narrow(thread.GetList().Get(7)->m_bstrSubject));
    thread.CalendarThreadProc(nullptr, 0x7FFFFFFF); // no such record
    EXPECT_EQ(7, thread.GetActiveDataCount());
}

TEST_F(CalendarThread, LinesCarryTheirItem) {
    CEOID oid = AddAppointment(u"One").On("2010-03-01").Meeting(1).Location(u"Here").Save();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-01");
    const DATACALENDAR& line = *thread.GetList().Get(2);
    EXPECT_EQ(oid, line.m_oidRecord);
    EXPECT_EQ(0x40000001u, line.m_oid); // the first number of its database
    EXPECT_EQ(1, line.m_wMeeting);
    EXPECT_EQ(1, line.m_bReminder);
    EXPECT_EQ(1, line.m_bListed);
    EXPECT_EQ(0, line.m_bHasNote);
    EXPECT_EQ("Here", Narrow(line.m_bstrLocation));
    EXPECT_EQ("", Narrow(line.m_szCategories));
    EXPECT_EQ(nullptr, line.m_szIcon);
}

TEST_F(CalendarThread, OnlyTheFirst65535RecordsAreRead) {
    m_store->Db().BeginTransaction();
    CEPROPVAL values[2] = {};
    values[0].propid = 0x10420040;
    values[1].propid = 0x10400013;
    values[1].val.ulVal = 30;
    for (DWORD i = 0; i < 65540; ++i) {
        values[0].val.filetime =
            FileTimeFromTicks(ULONGLONG{Minutes("2010-03-01") + i % 1000} * 600000000ULL);
        ASSERT_NE(0u, CeWriteRecordProps(m_store->Db().m_hDb, 0, 2, values));
    }
    m_store->Db().Commit();
    CCalendarThread thread;
    Load(thread, "2010-03-01", "2010-03-01");
    EXPECT_EQ(65535 + 1, thread.GetActiveDataCount());
}

TEST_F(CalendarThread, WithoutAppointmentsThereAreHeadersAlone) {
    AddAppointment().On("2010-03-01").Save();
    CCalendarThread thread(nullptr, 0);
    EXPECT_DAYS(Days(thread, "2010-03-01", "2010-03-02", true), "Mon 2010-03-01 --\nTue 2010-03-02 --\n");
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
    AddAppointment().On("2010-03-01").Save();
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
    SetCalendarOverlays({});
}

} // namespace
