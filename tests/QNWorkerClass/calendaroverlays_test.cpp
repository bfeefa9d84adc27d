// What joins the appointments in the day list: birthdays and anniversaries, tasks, journal entries. Today is Wednesday, 10
// March 2010.
#include "QNWorkerClass/DATATASKS.h"
#include "tests/support/appointments.h"
#include "tests/support/tasks.h"

namespace {

class CalendarOverlays : public TasksTest {
protected:
    static constexpr WCHAR kCalendar[] = u"Software\\Norvo\\Quillonary\\CAV";

    CalendarOverlays() { SetNumber(kCalendar, u"CAV_ShowUndatedTasks", 0); }

    void AddContact(std::u16string first, std::u16string last, const char* birthday,
                    const char* anniversary) {
        const auto ticks = [](const char* date) { return ULONGLONG{Minutes(date)} * 600000000ULL; };
        Values values;
        if (!first.empty()) values.Text(HIWORD(PIMPR_FIRST_NAME), first);
        if (!last.empty()) values.Text(HIWORD(PIMPR_LAST_NAME), last);
        if (birthday) values.Time(HIWORD(PIMPR_BIRTHDAY), ticks(birthday));
        if (anniversary) values.Time(HIWORD(PIMPR_ANNIVERSARY), ticks(anniversary));
        const HANDLE db = Side(u"Contacts Database");
        Add(db, values);
        Close(db);
    }
    struct Entry {
        std::u16string title, type, categories, body;
        const char* date;
        const char* created = "2010-03-01";
        LONG minutes = 30;
        std::string ink = {};
    };
    static CEOID AddEntry(const Entry& entry) {
        CeDb db;
        SORTORDERSPECEX order = Order({{0x002D0040, 0}});
        if (!db.Open(u"QuillonaryJournal_2")) {
            EXPECT_TRUE(db.Create(u"QuillonaryJournal_2", 0, 1, &order, 0, nullptr));
            EXPECT_TRUE(db.Open(u"QuillonaryJournal_2"));
        }
        Values values;
        if (!entry.title.empty()) values.Text(0x30, entry.title);
        if (!entry.type.empty()) values.Text(0x31, entry.type);
        if (!entry.categories.empty()) values.Text(0x34, entry.categories);
        if (!entry.body.empty()) values.Text(0x2F, entry.body);
        if (!entry.ink.empty()) values.Stream(0x37, {entry.ink.begin(), entry.ink.end()});
        if (entry.date) values.Time(0x2B, ULONGLONG{Minutes(entry.date)} * 600000000ULL);
        values.Time(0x2D, ULONGLONG{Minutes(entry.created)} * 600000000ULL)
            .UInt(0x32, static_cast<ULONG>(entry.minutes));
        return Add(db.m_hDb, values);
    }
    static void Load(CCalendarThread& thread, const char* first, const char* last) {
        SYSTEMTIME from = Date(first), to = Date(last);
        CeManualEvent live;
        thread.SetRestrict(&from, &to, true);
        thread.CalendarThreadProc(&live, 0);
    }
    // "03-05 subject;"
    static std::string Lines(CCalendarThread& thread) {
        std::string text;
        for (const DATACALENDAR* line : thread.GetList()) {
            if (line->IsHeader()) continue;
            text += DateText(line->m_lDay).substr(5) + " " +
                    Narrow(line->m_pTask ? line->m_pTask->m_szSubject : line->m_bstrSubject) + ";";
        }
        return text;
    }
    static std::string Days(const char* first, const char* last) {
        CCalendarThread thread;
        Load(thread, first, last);
        return Lines(thread);
    }
};

TEST_F(CalendarOverlays, BirthdaysOfContactsHaveALineForEachYear) {
    AddContact(u"Ada", u"Byron", "1970-12-10", nullptr);
    AddContact(u"", u"Bob", "2012-02-29", "2010-06-01"); // born later
    EXPECT_EQ("", Days("2010-12-01", "2011-01-31"));
    SetNumber(kCalendar, u"ReadBirthdays", 1);
    // The years are all that is tested.
    EXPECT_EQ("02-28 (0 years)  Bob;06-01 (0 years)  Bob;12-10 (40 years) Ada Byron;02-28 (0 years)  Bob;"
              "06-01 (1 years)  Bob;12-10 (41 years) Ada Byron;",
              Days("2010-12-01", "2011-01-31"));
    CCalendarThread thread;
    Load(thread, "2010-12-10", "2010-12-10");
    const DATACALENDAR* line = thread.GetList().Get(thread.GetActiveDataCount());
    EXPECT_EQ("~Birthday 2 1440", Narrow(line->m_szCategories) + " " + std::to_string(line->m_nType) + " " +
                                      std::to_string(line->m_lDuration));
    EXPECT_EQ(0x80000001u, line->m_oid);
    SetNumber(kCalendar, u"CAV_AppointmentFilter", kFilterAnniversaries);
    EXPECT_EQ("06-01 (0 years)  Bob;", Days("2010-12-01", "2011-01-31"));
}

TEST_F(CalendarOverlays, YearlyAppointmentsMayBeBirthdays) {
    const auto add = [](const WCHAR* subject, const char* date, bool allDay) {
        AppointmentStore store;
        Appointment item(store, subject);
        item.On(date).YearlyDay(5, 3);
        if (allDay) item.AllDay();
        item.Save();
    };
    add(u"Eve's BIRTHDAY", "1980-05-03", true);
    add(u"Wedding anniversary", "2000-05-03", true);
    add(u"bday dinner", "2009-05-03 19:00", false);
    EXPECT_EQ("05-03 (10 years) Wedding anniversary;05-03 (30 years) Eve's BIRTHDAY;05-03 bday dinner;",
              Days("2010-05-03", "2010-05-03"));
    CCalendarThread thread;
    Load(thread, "1980-05-03", "1980-05-03"); // no age at birth: the series keeps its mark
    EXPECT_EQ("05-03 Eve's BIRTHDAY;", Lines(thread));
    EXPECT_TRUE(thread.GetList().Get(2)->m_bRecurring);
    EXPECT_EQ("~Birthday", Narrow(thread.GetList().Get(2)->m_szCategories));
    SetNumber(kCalendar, u"CAV_AppointmentFilter", kFilterBirthdays);
    EXPECT_EQ("05-03 (30 years) Eve's BIRTHDAY;", Days("2010-05-03", "2010-05-03"));
}

TEST_F(CalendarOverlays, TasksStandOnTheirDays) {
    AddTask(u"due").Due("2010-03-12").Save();
    AddTask(u"late").Due("2010-03-09").Save();
    AddTask(u"span").Start("2010-03-08").Due("2010-03-11").Save();
    AddTask(u"done").Due("2010-03-01").Done("2010-03-09").Save();
    AddTask(u"undated").Save();
    AddTask(u"high").Importance(2).Save();
    AddTask(u"private").Due("2010-03-12").Sensitivity(2).Save();
    AddTask(u"template").Due("2999-12-01").Save();
    EXPECT_EQ("", Days("2010-03-08", "2010-03-14"));
    SetNumber(kCalendar, u"WV_ShowTasks", 1);
    SetNumber(kCalendar, u"FilterPrivacy", 0);
    SetNumber(kCalendar, u"TaskSort", kSortSubject);
    const struct {
        const WCHAR* name;
        DWORD value;
        const char* expected;
    } kSteps[] = {
        {u"ShowOverDueToday", 1, "03-08 span;03-09 late;03-10 late;03-11 span;03-12 due;"},
        {u"ShowOverDueToday", 0, "03-08 span;03-09 late;03-11 span;03-12 due;"},
        {u"CA_ShowCompletedTasks", 1, "03-08 span;03-09 done;03-09 late;03-11 span;03-12 due;"},
        {u"CAV_ForceHighTasks", 1, "03-08 span;03-09 done;03-09 late;03-10 high;03-11 span;03-12 due;"},
        {u"CAV_ShowUndatedTasks", 1,
         "03-08 span;03-09 done;03-09 late;03-10 high;03-10 undated;03-11 span;03-12 due;"},
        {u"bShowInProgressTasksToday", 1,
         "03-08 span;03-09 done;03-09 late;03-10 high;03-10 span;03-10 undated;03-11 span;03-12 due;"},
        {u"bShowInProgressTasksToday", 2,
         "03-08 span;03-09 done;03-09 late;03-09 span;03-10 high;03-10 span;03-10 undated;03-11 span;03-12 "
         "due;"},
    };
    for (const auto& step : kSteps) {
        SetNumber(kCalendar, step.name, step.value);
        EXPECT_EQ(step.expected, Days("2010-03-08", "2010-03-14")) << Narrow(step.name) << step.value;
    }
    EXPECT_EQ("03-11 span;", Days("2010-03-11", "2010-03-11"));
}

TEST_F(CalendarOverlays, TasksOfOddDates) {
    AddTask(u"undated").Start("2010-03-12").Starred().Save();
    AddTask(u"backwards").Start("2010-03-13").Due("2010-03-11").Save();
    AddTask(u"late").Start("2010-03-08").Due("2010-03-09").Save();
    SetNumber(kCalendar, u"WV_ShowTasks", 1);
    SetNumber(kCalendar, u"CAV_ShowUndatedTasks", 1);
    SetNumber(kCalendar, u"TaskSort", kSortSubject);
    for (const DWORD inProgress : {0, 1, 2}) {
        SetNumber(kCalendar, u"bShowInProgressTasksToday", inProgress);
        CCalendarThread thread;
        Load(thread, "2010-03-08", "2010-03-14");
        EXPECT_EQ("03-09 late;03-10 late;03-10 undated;03-11 backwards;03-12 undated;03-13 backwards;",
                  Lines(thread));
        std::string marks; // what a task list marks is marked here
        for (const DATACALENDAR* line : thread.GetList())
            if (line->m_lDay == 40247 && line->m_pTask) // 10 March
                marks += line->m_pTask->m_bOverdue   ? "overdue;"
                         : line->m_pTask->m_bStarred ? "starred;"
                                                     : ";";
        EXPECT_EQ("overdue;starred;", marks);
    }
}

TEST_F(CalendarOverlays, JournalEntriesOfTheRange) {
    AddEntry(
        {u"Call", u"NewTask", u"Work", u"text", "2010-03-09 10:00", "2010-03-01", 30, "{\\rtf1 \\b <ink}"});
    AddEntry({u"", u"SMS", u"", u"text", "2010-03-09 09:00", "2010-03-01", 30, std::string(5001, 'x')});
    AddEntry({u"old", u"", u"", u"", "2010-02-01"});
    AddEntry({u"by creation", u"", u"", u"a<b" + std::u16string(100, u'x'), nullptr, "2010-03-08"});
    CCalendarThread thread(nullptr, 1, 1, 1);
    Load(thread, "2010-03-08", "2010-03-10");
    EXPECT_EQ("03-09 [SMS];03-09 Call [NewTask];03-08 by creation;", Lines(thread)); // from the newest day
    const DATACALENDAR* line = thread.GetList().Get(thread.GetActiveDataCount());
    EXPECT_EQ(u"a\u00ABb" + std::u16string(47, u'x'), line->m_bstrSpare);
    std::string bodies; // ink goes before text, unless it is too long
    for (const DATACALENDAR* entry : thread.GetList())
        if (entry->m_lDay != line->m_lDay && entry->m_bstrSpare) bodies += Narrow(entry->m_bstrSpare) + ";";
    EXPECT_EQ("text;\u00ABink;", bodies);
    CeManualEvent live;
    const int all = thread.GetActiveDataCount();
    thread.RemoveJournalFromThread();
    EXPECT_EQ(all - 3, thread.GetActiveDataCount());
    thread.AddJournalToThread(&live);
    EXPECT_EQ(all, thread.GetActiveDataCount());
    EXPECT_EQ("03-09 [SMS];03-09 Call [NewTask];03-08 by creation;", Lines(thread));
}

TEST_F(CalendarOverlays, TakingTasksOutLeavesTheRestInOrder) {
    AppointmentStore store;
    Appointment(store, u"meeting").On("2010-03-12 10:00").Save();
    AddTask(u"due").Due("2010-03-12").Save();
    SetNumber(kCalendar, u"WV_ShowTasks", 1);
    CCalendarThread thread;
    Load(thread, "2010-03-12", "2010-03-12");
    EXPECT_EQ("03-12 meeting;03-12 due;", Lines(thread));
    thread.RemoveTasksFromThread();
    EXPECT_EQ("03-12 meeting;", Lines(thread));
    EXPECT_EQ(2, thread.GetActiveDataCount());
    CeManualEvent live;
    thread.AddTasksToThread(&live);
    EXPECT_EQ("03-12 meeting;03-12 due;", Lines(thread));
}

} // namespace
