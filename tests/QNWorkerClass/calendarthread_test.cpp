// The calendar thread on a real store: headers and order, filters and settings, what a line carries, the range.
#include "QNWorkerClass/calendarthread.h"
#include "QNWorkerClass/COutlook.h"
#include "QNWorkerClass/DATATASKS.h"
#include "tests/support/appointments.h"

#include <gtest/gtest.h>

namespace {

class CalendarThread : public AppointmentTest {
protected:
    Appointment Item() { return AddAppointment(); }
};

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

// Two tasks stand by the two keys of the settings: priority without importance, then the start.
TEST_F(CalendarThread, OrderOfTasksAndJournalEntries) {
    DATACALENDAR a, b;
    a.m_oid = 1;
    b.m_oid = 2;
    a.m_nType = b.m_nType = kLineTask;
    a.m_pTask = new DATATASKS;
    b.m_pTask = new DATATASKS;
    CCalendarThread thread;
    EXPECT_LT(OrderOf(thread, a, b), 0); // by their ids
    a.m_pTask->m_dtStart = 40002;
    b.m_pTask->m_dtStart = 40001;
    EXPECT_GT(OrderOf(thread, a, b), 0);
    a.m_pTask->m_szPriorityLetter[0] = u'A';
    EXPECT_LT(OrderOf(thread, a, b), 0);
    SetNumber(u"TaskSortDescending", 1);
    thread.LoadSortPrefs();
    EXPECT_GT(OrderOf(thread, a, b), 0);
    SetNumber(u"TaskSort", 3); // the start, and again
    SetNumber(u"TaskSortDescending2", 1);
    thread.LoadSortPrefs();
    EXPECT_LT(OrderOf(thread, a, b), 0);

    DATACALENDAR early, late;
    early.m_nType = late.m_nType = kLineJournal;
    early.m_oid = late.m_oid = 1;
    early.m_dtStart = late.m_dtStart = 40238.5;
    early.m_bstrSubject = SysAllocString(u"same");
    late.m_bstrSubject = SysAllocString(u"same");
    early.m_dtJournalModified = 40238;
    late.m_dtJournalModified = 40239;
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

// A floating item carries a rank before its subject, which goes; one of the category without a rank is an item like any
// other, and may be a birthday.
TEST_F(CalendarThread, FloatingItemsLoseTheirRank) {
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
    SetText(u"BDayCatName", u"float"); // all of the category, unless they float
    EXPECT_EQ("(10 ) Abe;(10 ) D;(10 ) D1 2;(10 ) D1 22 Paint;(10 ) d1 Low;(10 ) WxRead;",
              Subjects(thread, "2020-03-01"));
    SetText(u"FloatCat", u"Float", u"Software\\Ostra\\QNToday");
    EXPECT_EQ("(10 ) Abe;(10 ) d1 Low;D;D1 2;Paint;Read;", Subjects(thread, "2020-03-01"));
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
    // Without a chosen one the mode alone counts.
    filter->m_list.Clear();
    SetNumber(u"m_bIncludeNoCat", 0);
    EXPECT_EQ("without;", Subjects(thread, "2010-03-01"));
    SetNumber(u"bHideCategories", 0);
    EXPECT_EQ("with;without;", Subjects(thread, "2010-03-01"));
    // The lists without a range know no such filter, nor one by status.
    Choose(filter->m_list, {{u"Work", work}});
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
    thread.SetRestrict(&first, &last, false); // with the times of day
    SYSTEMTIME early = Date("2010-03-10 07:59");
    SYSTEMTIME late = Date("2010-03-19 08:00");
    EXPECT_TRUE(thread.IsInCache(&early));
    EXPECT_FALSE(thread.IsInCache(&early, 1));
    EXPECT_TRUE(thread.IsInCache(&late, 1));
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

} // namespace
