// The search: what is found in which fields of which store, by text, pattern and sound; rows, their order and headers.
// Results are shown as a letter for the kind and the subject: "C" contact, "A" appointment, "T" task, "N" note, "J" entry.
#include "QNWorkerClass/searchthread.h"

#include "NorvoTools/CRegistry.h"
#include "Platform/clock.h"
#include "QNWorkerClass/notestores.h"
#include "tests/support/appointments.h"
#include "tests/support/clientwindow.h"
#include "tests/support/engine.h"

#include <deque>
#include <fstream>

namespace {

constexpr WCHAR kView[] = u"Software\\Norvo\\Quillonary\\SV";

TEST(SearchPattern, TextsPatternsAndSounds) {
    const struct {
        const WCHAR* text;
        const WCHAR* fields;
        bool anywhere, found;
    } cases[] = {
        {u"smith", u" Ada SMITH", true, true},
        {u"smith", u" Ada Smith", false, false},
        {u"Smith", u" Smithers", false, true},
        {u"smithers", u" Smith", false, false},
        {u"muller", u" M\u00FCller", false, true},
        {u"muller", u" M\u00FCller", true, false},
        {u"ada smith", u" Ada Smith", true, true},
        {u"sm*h", u" Smith", false, true},
        {u"sm*h", u" Smithers", false, true},
        {u"sm*h", u" Asmith", false, false},
        {u"sm*h", u" A Smithers", true, true},
        {u"s?ith", u" Smith jr", false, true},
        {u"s?ith", u" Sith", true, false},
        {u"a**b", u" a-b", false, true},
        {u"*", u" x", false, true},
        {u"*", u"", false, false},
        {u"", u" x", true, false},
        {u"a", u" ", false, false},
    };
    for (const auto& c : cases) {
        std::u16string fields = c.fields;
        EXPECT_EQ(c.found, SearchPattern(c.text, c.anywhere, false).Matches(fields)) << &c - cases;
    }
    std::u16string codes;
    AppendSound(codes, u"Ada");
    AppendSound(codes, u"Smyth"); // S, then M, a vowel, T
    EXPECT_EQ(u" A30 S503", codes);
    EXPECT_TRUE(SearchPattern(u"SMITH", true, true).MatchesSound(codes));
    EXPECT_FALSE(SearchPattern(u"SMITH", false, true).MatchesSound(codes));
    const struct {
        const WCHAR* text;
        bool anywhere;
        const WCHAR* sound;
    } sounds[] = {{u"Smith", true, u"s503"}, {u"123", true, u""}, {u"1smith", true, u""},
                  {u"Sm*", false, u"s5"},    {u"sm*", true, u""}, // it begins with a star
                  {u"*", true, u""}};
    for (const auto& s : sounds) EXPECT_EQ(s.sound, SearchPattern(s.text, s.anywhere, true).Sound());
    codes = u" S5";
    EXPECT_TRUE(SearchPattern(u"sm*", false, true).MatchesSound(codes));
    const BYTE note[] = {'G', 'r', 'e', 'y', ' ', 'c', 'a', 't'};
    EXPECT_TRUE(SearchPattern(u"CAT", true, false).MatchesNote(note, sizeof note));
    EXPECT_FALSE(SearchPattern(u"cat", false, false).MatchesNote(note, sizeof note));
    EXPECT_FALSE(SearchPattern(u"gr", true, false).MatchesNote(note, 2)) << "no note has two bytes";
}

class SearchTest : public EngineTest {
protected:
    SearchTest() {
        const SYSTEMTIME noon{2010, 3, 3, 10, 12, 0, 0, 0};
        PlatSetClock(&noon);
        CRegistry::INIFileCache.Clear();
    }
    ~SearchTest() override { CRegistry::INIFileCache.Clear(); }

    static ULONGLONG Ticks(const char* date) {
        int year = 0, month = 0, day = 0;
        std::sscanf(date, "%d-%d-%d", &year, &month, &day);
        return static_cast<ULONGLONG>(civil::DaysFromCivil(year, month, day) * civil::kTicksPerDay);
    }
    static double Day(const char* date) {
        const auto day = static_cast<LONG>(Ticks(date) / civil::kTicksPerDay);
        return day - static_cast<LONG>(civil::kDaysTo1899);
    }
    // The record's id goes to m_record; gives the item's number.
    DWORD Put(const WCHAR* store, const Values& values) {
        const HANDLE db = Side(store);
        m_record = Add(db, values);
        CeSeekDatabaseEx(db, CEDB_SEEK_CEOID, m_record, 1, nullptr);
        const DWORD number = Read(db, {PIMPR_NUMBER})[0].val.ulVal;
        Close(db);
        return number;
    }
    // Alive for as long as the test, since a copy would point into what it was copied from.
    Values& NewValues() { return m_values.emplace_back(); }
    Values& TaskOf(std::u16string subject) {
        return NewValues().Text(HIWORD(PIMPR_SUBJECT), std::move(subject));
    }
    DWORD PutTask(const Values& values) { return Put(u"Tasks Database", values) | kOidTask; }
    DWORD PutContact(const Values& values) { return Put(u"Contacts Database", values) | kOidContact; }
    CEOID PutAppointment(std::u16string subject, const char* moment) {
        AppointmentStore store;
        return Appointment(store, std::move(subject)).On(moment).Save();
    }
    // An entry of the journal's store, which is made when it is missing.
    static CEOID PutEntry(const Values& values) {
        CeDb db;
        if (!db.Open(u"QuillonaryJournal_2", 0x002D0040)) {
            SORTORDERSPECEX orders[] = {Order({{0x002D0040, 0}}), Order({{0x002E0003, 0}})};
            EXPECT_TRUE(db.Create(u"QuillonaryJournal_2", 0, 2, orders, 0, nullptr));
            EXPECT_TRUE(db.Open(u"QuillonaryJournal_2", 0x002D0040));
        }
        return Add(db.m_hDb, values);
    }
    void PutNote(const std::string& name, const std::string& text) {
        std::filesystem::create_directories(HostPath("My Documents"));
        std::ofstream(HostPath("My Documents/" + name)) << text;
    }

    // A query for everything in all stores.
    static _QNSEARCH All() {
        _QNSEARCH query;
        query.bContacts = query.bTasks = query.bCalendar = query.bNotes = query.bJournal = 1;
        return query;
    }
    static std::string Rows(CSearchThread& search) {
        std::string text;
        for (const DATAGENERAL* row : search.GetList()) {
            text += text.empty() ? "" : " ";
            text += "??CATNJ"[row->m_nType];
            const std::string subject = Narrow(row->m_szSubject);
            text += subject.substr(subject.rfind('\\') + 1); // of a note the path
        }
        return text;
    }
    static std::string Find(CSearchThread& search, const WCHAR* text, _QNSEARCH query) {
        query.bstrText = SysAllocString(text);
        search.SetParams(&query);
        SysFreeString(query.bstrText);
        search.SearchThreadProc(0);
        EXPECT_EQ(search.GetList().Count(), search.GetActiveDataCount());
        return Rows(search);
    }
    static std::string Find(const WCHAR* text, const _QNSEARCH& query) {
        CSearchThread search;
        search.SetSort(99, false);
        return Find(search, text, query);
    }
    CEOID m_record = 0;
    std::deque<Values> m_values;
};

TEST_F(SearchTest, FieldsOfContacts) {
    const DWORD ada = PutContact(Values()
                                     .Text(0x80, u"Byron, Ada")
                                     .Text(0x82, u"Ada")
                                     .Text(0x84, u"Byron")
                                     .Text(0x8A, u"Acme")
                                     .Text(0x86, u"Countess")
                                     .Text(0x96, u"(030) 123-45")
                                     .Text(0x90, u"ada@host")
                                     .Text(0xE2, u"Paris")
                                     .Time(0xF0, Ticks("2010-03-20"))
                                     .Stream(0x1E, {'e', 'n', 'g', 'i', 'n', 'e'}));
    const struct {
        LONG field;
        const WCHAR* text;
        bool anywhere, notes, sound, found;
    } cases[] = {
        {kSearchAll, u"paris", true, false, false, true},
        {kSearchAll, u"aris", false, false, false, false},
        {kSearchAll, u"paris", false, false, false, true},
        {kSearchAll, u"03012345", false, false, false, true},
        {kSearchAll, u"engine", true, false, false, false},
        {kSearchAll, u"engine", true, true, false, true},
        {kSearchAll, u"ada byron", true, false, false, true},
        {kSearchLocation, u"ada", true, true, false, false},
        {kSearchNames, u"count", false, false, false, true},
        {kSearchNames, u"paris", true, false, false, false},
        {kSearchFirstName, u"ada", true, false, false, true},
        {kSearchFirstName, u"byron", true, false, false, false},
        {kSearchLastName, u"byron", true, false, false, true},
        {kSearchCompany, u"acme", false, false, false, true},
        {kSearchMail, u"host", true, false, false, true},
        {kSearchMail, u"acme", true, false, false, false},
        {kSearchPhone, u"12345", true, false, false, true},
        {kSearchPhone, u"123-45", true, false, false, true},
        {kSearchPhone, u"ada", true, false, false, false},
        {kSearchNames, u"Biren", true, false, false, false},
        {kSearchNames, u"Biren", true, false, true, true},
        {kSearchNames, u"Biren", false, false, true, true},
        {kSearchCompany, u"*", true, false, false, true},
    };
    for (const auto& c : cases) {
        _QNSEARCH query = All();
        query.lField = c.field;
        query.bAnywhere = c.anywhere;
        query.bSearchNotes = c.notes;
        query.bUseSoundex = c.sound;
        EXPECT_EQ(c.found ? "CByron, Ada" : "", Find(c.text, query)) << &c - cases;
    }
    _QNSEARCH march = All(), april = All(), before = All();
    march.dFrom = Day("2010-03-20");
    march.dTo = Day("2010-03-20") + 0.5;
    april.dFrom = Day("2010-04-01");
    EXPECT_EQ("CByron, Ada", Find(u"*", march));
    before.dTo = Day("2010-01-01");
    EXPECT_EQ("", Find(u"*", april));
    EXPECT_EQ("CByron, Ada", Find(u"*", before)) << "an open beginning takes all contacts";
    CSearchThread search;
    Find(search, u"acme", All());
    EXPECT_EQ(ada, search.GetList().Get(1)->m_oid);
    EXPECT_EQ(u"<IMG SRC=293> ", std::u16string(search.GetList().Get(1)->m_szImage));
    EXPECT_EQ(1, search.GetCounts().lContacts);
    EXPECT_EQ("", Find(u"*", {})) << "no store was chosen";
}

TEST_F(SearchTest, TasksByDatesStateAndPrivacy) {
    const auto due = [&](const WCHAR* subject, const char* date) -> Values& {
        return TaskOf(subject).Time(HIWORD(PIMPR_TASK_DUE), Ticks(date));
    };
    const DWORD work = PutTask(due(u"A1: late<b>", "2010-03-01").UInt(HIWORD(PIMPR_IMPORTANCE), 2));
    PutTask(due(u"now", "2010-03-10").Time(HIWORD(PIMPR_TASK_START), Ticks("2010-02-01")));
    PutTask(due(u"done", "2010-03-05").Time(HIWORD(PIMPR_TASK_COMPLETED), Ticks("2010-03-05")));
    PutTask(TaskOf(u"undated").UInt(HIWORD(PIMPR_SENSITIVITY), 2).Stream(0x1E, {'c', 'a', 'k', 'e'}));
    PutTask(due(u"template", "2999-12-01"));
    SetNamedScalar(work, u"QN_Tracked", CEVT_BOOL, DWORD{1});
    Associate(work, AddCategory(u"Work"));

    CSearchThread search;
    search.SetSort(99, false);
    EXPECT_EQ("Tdone Tlate<b> Tnow Tundated", Find(search, u"*", All()));
    const CSearchThread::Counts& counts = search.GetCounts();
    EXPECT_EQ("4 1 1 1 0 3 1", std::to_string(counts.lTasks) + " " + std::to_string(counts.lCompleted) + " " +
                                   std::to_string(counts.lOverdue) + " " + std::to_string(counts.lDueToday) +
                                   " " + std::to_string(counts.lLow) + " " + std::to_string(counts.lNormal) +
                                   " " + std::to_string(counts.lHigh));
    const DATAGENERAL* row = search.GetList().Get(2);
    EXPECT_EQ(u"<B>late<</BODY>b></B><BR>[3/1/10]  ", std::u16string(row->m_szText));
    EXPECT_EQ(u"Work", std::u16string(row->m_szCategories));
    EXPECT_EQ(nullptr, search.GetList().Get(4)->m_szCategories);

    // A goal of the planner is found neither with links nor without.
    MakeStore(u"QuillonaryLinks", 1, CEVT_I4, work);
    _QNSEARCH linked = All();
    for (const WORD noLinks : {WORD{0}, WORD{1}}) {
        linked.bNoLinks = noLinks;
        Find(search, u"late", linked);
        EXPECT_EQ(!noLinks, search.GetList().Get(1)->m_bHasLink);
    }
    MakeStore(u"QN_Goals", 1, CEVT_UI4, PutTask(TaskOf(u"goal")));
    EXPECT_EQ("", Find(u"goal", linked) + Find(u"goal", All()));

    const struct {
        const WCHAR* text;
        void (*change)(_QNSEARCH&);
        const char* found;
    } cases[] = {
        {u"a1", [](_QNSEARCH&) {}, ""}, // what stands in front of a subject is no part of it
        {u"late", [](_QNSEARCH& q) { q.lField = kSearchNames; }, "Tlate<b>"},
        {u"late", [](_QNSEARCH& q) { q.lField = kSearchMail; }, ""},
        {u"cake", [](_QNSEARCH& q) { q.bSearchNotes = 1; }, "Tundated"},
        {u"*", [](_QNSEARCH& q) { q.bTrackedOnly = 1; }, "Tlate<b>"},
        {u"*", [](_QNSEARCH& q) { q.lCompleted = 0; }, "Tlate<b> Tnow Tundated"},
        {u"*", [](_QNSEARCH& q) { q.lCompleted = 1; }, "Tdone"},
        {u"*", [](_QNSEARCH& q) { q.lPrivacy = 0; }, "Tundated"}, // what the mode tells of stays out
        {u"*", [](_QNSEARCH& q) { q.lPrivacy = 12; }, "Tdone Tlate<b> Tnow"},
        {u"*", [](_QNSEARCH& q) { q.dFrom = q.dTo = Day("2010-03-05"); }, "Tdone Tnow"},
        {u"*", [](_QNSEARCH& q) { q.dTo = Day("2010-03-04"); }, "Tlate<b> Tnow"},
        {u"*", [](_QNSEARCH& q) { q.dFrom = Day("2010-03-06"); }, "Tnow Ttemplate"},
    };
    for (const auto& c : cases) {
        _QNSEARCH query = All();
        c.change(query);
        const std::string found = c.found;
        EXPECT_EQ(found.substr(0, found.find(" Ttemplate")), Find(c.text, query)) << &c - cases;
    }
    DeleteDatabase(u"Appointments Database");
    DeleteDatabase(u"Contacts Database");
    EXPECT_EQ("Tlate<b>", Find(u"late", All())) << "stores that are gone have no rows";
}

TEST_F(SearchTest, OccurrencesOfAppointments) {
    {
        AppointmentStore store;
        Appointment(store, u"Standup").On("2010-03-01 10:00", 90).Daily(2).Until("2019-03-31").Save();
        Appointment(store, u"Lunch").On("2010-03-12 12:00", 60).Location(u"Caf\u00E9").Save();
    }
    const auto days = [](const WCHAR* text, const char* from, const char* to, LONG field = kSearchAll) {
        _QNSEARCH query = All();
        if (*from) query.dFrom = Day(from);
        if (*to) query.dTo = Day(to);
        query.lField = field;
        CSearchThread search;
        search.SetSort(kSearchByPureDate, false);
        Find(search, text, query);
        std::string found;
        for (const DATAGENERAL* row : search.GetList())
            found += DateText(static_cast<LONG>(row->m_dtDate)).substr(2) + " ";
        return found;
    };
    EXPECT_EQ("10-03-01 10-03-12 ", days(u"*", "", ""));
    EXPECT_EQ("10-03-11 10-03-12 10-03-13 ", days(u"*", "2010-03-11", "2010-03-14"));
    EXPECT_EQ("10-03-01 10-03-03 10-03-05 ", days(u"stand", "", "2010-03-06"));
    EXPECT_EQ("10-03-01 ", days(u"stand", "2009-01-01", "").substr(0, 9))
        << "further off than a series is followed";
    EXPECT_EQ("10-03-12 ", days(u"caf", "", "", kSearchLocation));
    EXPECT_EQ("", days(u"caf", "", "", kSearchNames));
    CSearchThread search;
    Find(search, u"stand", All());
    EXPECT_EQ(u"<B>Standup</B><BR>[3/1/10 10:00 AM]  <IMG SRC=242> 1hour, 30minutes",
              std::u16string(search.GetList().Get(1)->m_szText));
    SetNumber(u"Software\\Norvo\\Quillonary\\CAV", u"ShowDuration", 0);
    search.SettingChange();
    Find(search, u"lunch", All());
    EXPECT_EQ(u"<B>Lunch</B><BR>[3/12/10 12:00 PM]  Caf\u00E9",
              std::u16string(search.GetList().Get(1)->m_szText));
}

TEST_F(SearchTest, JournalEntriesUnderTheirItems) {
    const DWORD task = PutTask(TaskOf(u"A1: Roof"));
    const auto entry = [&](const WCHAR* title, const char* date, DWORD owner) -> Values& {
        return NewValues()
            .Text(0x30, title)
            .Text(0x31, u"Visit")
            .Time(0x2B, Ticks(date))
            .Time(0x2D, Ticks(date))
            .Int(0x2E, static_cast<LONG>(owner));
    };
    PutEntry(entry(u"one", "2010-03-01", task).Text(0x2F, u"old words"));
    PutEntry(entry(u"two", "2010-03-02", 0).Stream(0x37, {'n', 'e', 'w', 's'}));
    // A row has 200 units of it, and no half of a character.
    PutEntry(entry(u"three", "2010-03-03", task).Text(0x2F, std::u16string(199, u'x') + u"\xD83D\xDE00"));
    _QNSEARCH journal;
    journal.bJournal = 1;
    EXPECT_EQ("Jone", Find(u"words", journal));
    EXPECT_EQ("Jtwo", Find(u"news", journal));
    journal.bJournalSort = 1; // by text, the newest of equals first
    EXPECT_EQ("Jone Jthree Jtwo", Find(u"visit", journal));
    CSearchThread search;
    Find(search, u"visit", journal);
    SetNumber(u"Software\\Norvo\\Quillonary\\JV", u"JournalSort", 1);
    SetNumber(u"Software\\Norvo\\Quillonary\\JV", u"JournalSortDescending", 1);
    search.SortDataList();
    EXPECT_EQ("Jthree Jtwo Jone", Rows(search));
    journal.dFrom = journal.dTo = Day("2010-03-02");
    EXPECT_EQ("Jtwo", Find(u"*", journal));
    journal.bJournalAll = 1;

    CSearchThread grouped(1);
    Find(grouped, u"nothing", journal);
    std::string groups;
    for (DATAPARENT* header : grouped.GetGroups()) {
        groups += Narrow(header->m_szText) + ":";
        for (const DATAGENERAL* row : header->m_listChildren) groups += " " + Narrow(row->m_szSubject);
        groups += "; ";
    }
    EXPECT_EQ("None: two; Roof: three one; ", groups);
    WCHAR expected[120];
    wsprintfW(expected, u"<B>one</B> <IMG SRC=233><A=%u><U>Roof</U></A><BR><I>old words</I>", task);
    EXPECT_EQ(std::u16string(expected), grouped.GetList().Get(3)->m_szText);
    EXPECT_TRUE(std::u16string_view(grouped.GetList().Get(1)->m_szText)
                    .ends_with(u"><BR><I>" + std::u16string(199, u'x') + u"</I>"));
}

TEST_F(SearchTest, NotesByTitleAndBody) {
    PutNote("plan.txt", "the roof leaks");
    PutNote("list.txt", "milk");
    _QNSEARCH notes = All();
    EXPECT_EQ("", Find(u"roof", notes));
    notes.bSearchNotes = 1;
    EXPECT_EQ("Nplan.txt", Find(u"ROOF", notes));
    EXPECT_EQ("Nlist.txt Nplan.txt", Find(u"*", notes));
    notes.bAnywhere = 0;
    EXPECT_EQ("Nlist.txt", Find(u"li", notes));
    notes.lPrivacy = 12; // no more than "private"
    EXPECT_EQ("", Find(u"*", notes));
}

TEST_F(SearchTest, OrderAndHeadersByAge) {
    PutContact(Values().Text(0x80, u"Zoe"));
    const auto task = [&](const WCHAR* subject, const char* date, ULONG sensitivity) {
        PutTask(TaskOf(subject)
                    .Time(HIWORD(PIMPR_TASK_DUE), Ticks(date))
                    .UInt(HIWORD(PIMPR_SENSITIVITY), sensitivity));
    };
    task(u"b", "2010-03-16", 0);
    task(u"a", "2010-04-09", 1);
    task(u"c", "2010-06-20", 0);
    PutAppointment(u"d", "2010-03-17 10:00");
    _QNSEARCH query = All();
    const auto sorted = [&](LONG sort, bool descending) {
        CSearchThread search;
        search.SetSort(sort, descending);
        return Find(search, u"*", query);
    };
    // By kind first, in the order of "10", "237", "293", whatever the direction.
    EXPECT_EQ("Ta Tb Tc Ad CZoe", sorted(99, false));
    EXPECT_EQ("Tc Tb Ta Ad CZoe", sorted(99, true));
    EXPECT_EQ("Tb Tc Ta Ad CZoe", sorted(kSearchBySensitivity, false));
    EXPECT_EQ("Tb Ta Tc Ad CZoe", sorted(kSearchByDate, false));
    EXPECT_EQ("Tb Ad Ta Tc CZoe", sorted(kSearchByPureDate, false));
    SetNumber(kView, u"dwSort", kSearchByDate);
    SetNumber(kView, u"bDescending", 1);
    EXPECT_EQ("Tc Ta Tb Ad CZoe", sorted(0, false));

    query.dFrom = Day("2010-03-10");
    query.bGroupByAge = 1;
    query.bContacts = 0;
    CSearchThread search;
    const auto groups = [&] {
        std::string text;
        for (DATAPARENT* header : search.GetGroups()) {
            text += Narrow(header->m_szText) + (header->m_bFlag ? "" : " (closed)") + ":";
            for (const DATAGENERAL* row : header->m_listChildren) text += " " + Narrow(row->m_szSubject);
            text += "; ";
        }
        return text;
    };
    search.SetSort(kSearchByPureDate, false);
    Find(search, u"*", query);
    EXPECT_EQ("Next 7 Days: b; Next 30 Days: d; Next 90 Days: a; Later: c; ", groups());
    search.GetGroups().Get(2)->m_bFlag = 0;
    query.dTo = Day("2010-03-31");
    Find(search, u"*", query);
    EXPECT_EQ("Next 7 Days: b; Next 30 Days (closed): d; ", groups());
    query.bGroupByAge = 0;
    Find(search, u"*", query);
    EXPECT_EQ("", groups());
}

// One record anew: its old row goes, whatever it has become; the others stay.
TEST_F(SearchTest, OneRecordAnew) {
    PutTask(TaskOf(u"milk one"));
    const CEOID first = m_record;
    PutTask(TaskOf(u"milk two"));
    CSearchThread search;
    search.SetSort(99, false);
    EXPECT_EQ("Tmilk one Tmilk two", Find(search, u"milk", All()));
    for (const auto& [subject, rows] :
         {std::pair{u"milk three", "Tmilk three Tmilk two"}, {u"tea", "Tmilk two"}}) {
        const HANDLE db = Side(u"Tasks Database");
        EXPECT_NE(0u, Change(db, first, TaskOf(subject)));
        Close(db);
        search.SearchThreadProc(static_cast<LONG>(first));
        EXPECT_EQ(rows, Rows(search));
    }
}

class ThreadsSearch : public SearchTest {
protected:
    ThreadsSearch() {
        for (int i = 0; i < 12; ++i) PutTask(TaskOf(u"milk"));
    }
    void Prepare(CSearchThread& search) {
        _QNSEARCH query = All();
        query.bstrText = SysAllocString(u"milk");
        search.SetParams(&query);
        SysFreeString(query.bstrText);
        search.m_hClientWnd = m_client;
    }
    ClientWindow m_client;
};

TEST_F(ThreadsSearch, TellsProgressAndStops) {
    CSearchThread search;
    Prepare(search);
    search.Start();
    std::string told = m_client.UntilFinished();
    std::erase(told, ' ');
    EXPECT_NE(told.npos, told.find("1274(0,5)")) << told;
    EXPECT_NE(told.npos, told.find("1274(0,10)")) << told;
    EXPECT_NE(told.npos, told.find("1274(1,12)")) << told;
    search.SetProgress(false);
    search.Start();
    EXPECT_EQ(m_client.UntilFinished().find("1274(0"), std::string::npos);
    for (int round = 0; round < 12; ++round) {
        search.Start();
        std::this_thread::sleep_for(std::chrono::microseconds(round * 700));
        if (round % 3 == 0) search.Stop(true);
        search.SetSort(round % 4, round % 2 != 0);
        if (round % 3 == 1) search.SortDataList();
        if (round % 3 == 2 && search.IsRunning()) search.Kill(1);
        m_client.Pending();
    }
    search.Start();
    EXPECT_NE(m_client.UntilFinished().find("32803"), std::string::npos);
    while (search.IsRunning()) m_client.Pending();
    EXPECT_EQ(12, search.GetActiveDataCount());
}

// The client is not listening when the object goes.
TEST_F(ThreadsSearch, EndsWhileItWaitsForAnAnswer) {
    const auto start = std::chrono::steady_clock::now();
    {
        CSearchThread search;
        Prepare(search);
        search.Start();
        while (search.GetActiveDataCount() < 5) std::this_thread::yield();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
}

TEST_F(ThreadsSearch, EndedAmongNotesLetsSideFilesBeSaved) {
    for (int i = 0; i < 6; ++i) PutNote("milk " + std::to_string(i) + ".txt", "");
    CSearchThread search;
    _QNSEARCH notes;
    notes.bNotes = 1;
    notes.bstrText = SysAllocString(u"milk");
    search.SetParams(&notes);
    SysFreeString(notes.bstrText);
    search.m_hClientWnd = m_client;
    search.Start();
    while (search.GetActiveDataCount() < 5) std::this_thread::yield();
    search.Kill(1); // while it waits for an answer
    {
        CRegistry states(u"%s\\Norvo\\NoteFolderState.txt");
        states.OpenKey(HKEY_CURRENT_USER, kFolderStateKey);
        states.SetValue(u"\\My Documents", kFolderOpen);
    }
    CRegistry::INIFileCache.Clear(); // as the next start finds them
    CRegistry states(u"%s\\Norvo\\NoteFolderState.txt");
    DWORD state = kFolderClosed;
    states.OpenKey(HKEY_CURRENT_USER, kFolderStateKey);
    states.QueryValue(u"\\My Documents", &state);
    EXPECT_EQ(kFolderOpen, state);
}

} // namespace
