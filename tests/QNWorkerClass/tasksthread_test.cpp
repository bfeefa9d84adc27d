// The tasks thread: which tasks are rows under which rule, what is counted, in which order they stand, and their shape as a
// tree or in groups. Today is 10 March 2010.
#include "Platform/locale.h"
#include "QNWorkerClass/tasksubject.h"
#include "tests/support/poom.h"
#include "tests/support/tasks.h"

#include <cmath>
#include <future>
#include <thread>

namespace {

// --- The subject --------------------------------------------------------------------------------------------------

TEST(TaskSubject, PrefixIsTakenOffWhenItIsExactlyOne) {
    const struct {
        const WCHAR* text;
        const char* expected; // letter, number, days, rest
    } kCases[] = {
        {u"A1: Call", "A,1,0,Call"},
        {u"B03|7: Report", "B,3,7,Report"},
        {u"|7: Water plants", ",,7,Water plants"},
        {u"C12:x", "C,12,0,x"},
        {u"D:  y", "D,,0, y"},
        {u"Б2: z", "Б,2,0,z"},      // a letter of any script
        {u"A12: a|b", "A,1,0,a|b"}, // the bar behind the colon counts
        {u"Note: a|b", "N,,0,a|b"},
        {u"AB: no bar", ",,0,AB: no bar"},
        {u"A1x: no", ",,0,A1x: no"},
        {u"A123: too long", ",,0,A123: too long"},
        {u"1: no letter", ",,0,1: no letter"},
        {u"|x: no digit", ",,0,|x: no digit"},
        {u": nothing before", ",,0,: nothing before"},
        {u"no colon", ",,0,no colon"},
        {u"A", ",,0,A"},
        {u"", ",,0,"},
    };
    for (const auto& row : kCases) {
        const TaskSubject subject = ParseTaskSubject(row.text);
        EXPECT_EQ(row.expected, Narrow(subject.szLetter) + "," + Narrow(subject.szNumber) + "," +
                                    std::to_string(subject.nDays) + "," +
                                    Narrow(std::u16string(subject.text).c_str()));
    }
}

// --- The rules ----------------------------------------------------------------------------------------------------

TEST_F(TasksTest, RulesShowWhatTheySay) {
    AddTask(u"past").Due("2010-03-01").Save();
    AddTask(u"today").Start("2010-03-01").Due("2010-03-10").Save();
    AddTask(u"tomorrow").Due("2010-03-11").Save();
    AddTask(u"begins").Start("2010-03-10").Due("2010-05-01").Save();
    AddTask(u"far").Start("2010-04-30").Due("2010-05-01").Save();
    AddTask(u"undated").Save();
    AddTask(u"done").Due("2010-03-02").Done("2010-03-10").Save();
    AddTask(u"longdone").Due("2010-03-02").Done("2010-03-03").Save();
    AddTask(u"starred").Due("2010-06-01").Starred().Save();
    AddTask(u"next").Due("2010-06-01").Status(1).Save();
    AddTask(u"home").Due("2010-06-01").Context(u"@home").Save();
    AddTask(u"template").Due("2999-12-01").Save();
    SetNumber(kView, u"FCCurrentProjectOID", 77);
    SetText(kView, u"CurrentContextName", u"@home");

    const struct {
        LONG rule;
        bool completed;
        const char* expected; // in the order of their subjects
    } kCases[] = {
        {kTasksAll, true, "begins done far home longdone next past starred today tomorrow undated "},
        {kTasksAll, false, "begins far home next past starred today tomorrow undated "},
        {kTasksDue, true, "begins done past today undated "},
        {kTasksOverdue, true, "past "},
        {kTasksUndated, true, "undated "},
        {kTasksActive, true, "begins done past today undated "},
        {kTasksDueTomorrow, true, "begins done past today tomorrow undated "},
        {kTasksCompleted, false, "done longdone "},
        {kTasksNextDays, true, "begins done longdone past today tomorrow undated "}, // 14 days
        {kTasksOnDate, true, "begins done past today "},
        {kTasksMaster, true, "undated "},
        {kTasksUnfiled, true, "begins done far longdone past starred today tomorrow undated "},
        {kTasksOfProject, true, ""},
        {kTasksOfContext, true, "home "},
        {kTasksStarred, true, "starred "},
        {kTasksNextAction, true, "next "},
        {99, false, "begins far home next past starred today tomorrow undated "}, // no rule
    };
    for (const auto& row : kCases) {
        Rule(row.rule);
        for (const WCHAR* key : {u"TaskSort", u"TaskSortFC"}) RuleSetting(key, kSortSubject, row.rule);
        RuleSetting(u"bShowCompleted", row.completed, row.rule);
        CTasksThread thread;
        thread.SetDateOn(At("2010-03-10"));
        EXPECT_EQ(row.expected, Load(thread)) << row.rule;
    }
}

TEST_F(TasksTest, FiltersOfPrivacyImportanceDatesAndCategory) {
    const LONG work = AddCategory(u"Work");
    AddTask(u"a").Due("2010-03-01").Importance(2).In(work).Save();
    AddTask(u"b").Due("2010-04-01").Sensitivity(2).Save();
    AddTask(u"c").Importance(0).Save();
    RuleSetting(u"TaskSort", kSortSubject);
    EXPECT_EQ("a b c ", Load());
    const struct {
        const WCHAR* name;
        LONG value, standard;
        const char* expected;
    } kCases[] = {
        {u"FilterPrivacy", 0, -1, "a c "},  {u"FilterPrivacy", 12, -1, "b "},
        {u"TV_FilterPriority", 2, 4, "a "}, {u"TV_FilterPriority", 3, 4, "a b c "},
        {u"bShowUndated", 0, 1, "a b "},    {u"bShowOverDue", 0, 1, "b c "},
    };
    for (const auto& row : kCases) {
        RuleSetting(row.name, row.value);
        EXPECT_EQ(row.expected, Load()) << Narrow(row.name) << row.value;
        RuleSetting(row.name, row.standard);
    }
    Rule(kTasksNextDays);
    RuleSetting(u"TV_DaysFuture", 0x7FFFFFFF, kTasksNextDays); // settings hold any number
    SetNumber(kView, u"UndatedTaskSort", 0x80000000);
    RuleSetting(u"TaskSort", kSortDue, kTasksNextDays);
    EXPECT_EQ("a b c ", Load());
    Rule(kTasksAll);
    CTasksThread thread;
    CCategoryFilterInfo* filter = nullptr;
    thread.GetCategoryRestrict(filter);
    AddTo(filter->m_list, u"Work", work);
    EXPECT_EQ("a ", Load(thread));
    EXPECT_EQ(1, thread.GetCounts().lTotal);
}

TEST_F(TasksTest, PlanningItemsAreNoTasks) {
    const DWORD goal = AddTask(u"goal").Save();
    AddTask(u"task").Save();
    MakeStore(u"QN_Goals", 1, CEVT_UI4, goal);
    EXPECT_EQ("task ", Load());
}

// --- Counts and fields --------------------------------------------------------------------------------------------

TEST_F(TasksTest, CountsAndFieldsOfARow) {
    const LONG work = AddCategory(u"Work"), home = AddCategory(u"Home");
    const DWORD call = AddTask(u"B2|3: Call")
                           .Start("2010-03-01")
                           .Due("2010-03-10")
                           .Importance(2)
                           .Percent(40)
                           .Starred()
                           .In(home)
                           .In(work)
                           .Save();
    AddTask(u"late").Due("2010-03-09").Percent(100).Context(u"@phone").Status(1).Save();
    const DWORD done = AddTask(u"done").Done("2010-03-08").Percent(5).Context(u"@phone").Save();
    AddTask(u"template").Due("2999-11-27").Importance(0).Save();
    RuleSetting(u"bShowCompleted", 1);
    CTasksThread thread;
    Load(thread);
    const CTasksThread::Counts& n = thread.GetCounts();
    EXPECT_EQ("active 3 completed 1 overdue 1 today 1 high 1 normal 2 low 0 total 3 percent 1 unfiled 2 "
              "starred 1 status 1",
              "active " + std::to_string(n.lActive) + " completed " + std::to_string(n.lCompleted) +
                  " overdue " + std::to_string(n.lOverdue) + " today " + std::to_string(n.lDueToday) +
                  " high " + std::to_string(n.lHigh) + " normal " + std::to_string(n.lNormal) + " low " +
                  std::to_string(n.lLow) + " total " + std::to_string(n.lTotal) + " percent " +
                  std::to_string(n.lPercent) + " unfiled " + std::to_string(n.lUnfiled) + " starred " +
                  std::to_string(n.lStarred) + " status " + std::to_string(n.lStatusOne));
    ASSERT_EQ(1u, thread.GetContexts().size());
    EXPECT_EQ(u"@phone", thread.GetContexts()[0].name);
    EXPECT_EQ(1, thread.GetContexts()[0].nOpen);

    const DATATASKS* row = RowOf(thread, call);
    ASSERT_TRUE(row);
    EXPECT_EQ("Call", Narrow(row->m_szSubject));
    EXPECT_EQ("Work, Home", Narrow(row->m_szCategories)); // in the order of their ids
    EXPECT_EQ("B2", Narrow(row->m_szPriorityLetter) + Narrow(row->m_szPriorityNumber));
    EXPECT_EQ(3, row->m_lPrioNumber);
    EXPECT_EQ(40, row->m_wPercent);
    EXPECT_EQ(At("2010-03-10"), row->m_dtDue);
    EXPECT_TRUE(row->m_bDueToday && row->m_bStarred && !row->m_bOverdue);
    EXPECT_EQ(100, RowOf(thread, done)->m_wPercent);
    EXPECT_EQ(0, RowOf(thread, call + 1)->m_wPercent); // open, and 100 was stored
}

// Values of any size and content: what is there counts, and no parent is one that can't be an OID.
TEST_F(TasksTest, DamagedValues) {
    const auto bytes = [this](DWORD oid, const WCHAR* name, WORD type, std::vector<BYTE> value) {
        SetNamed(oid, m_outlook.GetPOOM2Property(name, type, true), std::move(value));
    };
    const DWORD first = AddTask(u"p").Save();
    bytes(first, u"QN_TaskPercentStatus", CEVT_UI4, {40, 0, 0});
    bytes(first, u"QN_GTDStatus", CEVT_UI2, {1});
    bytes(first, u"QN_GTDContext", CEVT_LPWSTR, {'@', 0, 'h', 0, 'x'});
    bytes(first, u"QN_ParentOID", CEVT_R8, {1, 2, 3});
    for (const double parent : {std::nan(""), 1e300, -1.0, HUGE_VAL})
        SetNamedScalar(AddTask(u"q").Save(), u"QN_ParentOID", CEVT_R8, parent);
    RuleSetting(u"GroupBy", kGroupTree);
    CTasksThread thread;
    EXPECT_EQ("p q q q q ", Load(thread));
    EXPECT_EQ(0, thread.GetTreeCount());
    EXPECT_EQ(40, RowOf(thread, first)->m_wPercent);
    EXPECT_EQ(1, RowOf(thread, first)->m_lGtdStatus);
    ASSERT_EQ(1u, thread.GetContexts().size());
    EXPECT_EQ(u"@h", thread.GetContexts()[0].name);
    for (DATATASKS* row : thread.GetList()) thread.ExpandTreeNode(true, row, false);
    EXPECT_EQ("p q q q q ", Load(thread));
}

// --- Orders -------------------------------------------------------------------------------------------------------

TEST_F(TasksTest, OrdersByEachKey) {
    AddTask(u"A2: m").Due("2010-03-05").Start("2010-03-01").Save();
    AddTask(u"A: k").Due("2010-03-04").Importance(2).Save();
    AddTask(u"B1: l").Start("2010-03-02").Importance(0).Save();
    AddTask(u"a").Due("2010-03-04").Done("2010-03-01").Save();
    AddTask(u"z").Due("2010-03-06").Done("2010-03-02").Save();
    RuleSetting(u"bShowCompleted", 1);
    const struct {
        LONG key, second;
        bool descending;
        const char* expected;
    } kCases[] = {
        {kSortSubject, 2, false, "a k l m z "},
        {kSortSubject, 2, true, "z m l k a "},
        {kSortDue, kSortSubject, false, "a k m z l "}, // undated last, in both directions
        {kSortDue, kSortSubject, true, "z m a k l "},
        {3, kSortSubject, false, "m l a k z "},             // by start
        {kSortPriority, kSortSubject, false, "k m a z l "}, // importance, letter, no number before one
        {kSortPriorityOnly, kSortSubject, false, "k m l a z "},
        {kSortPriorityOnly, kSortSubject, true, "a z l m k "},
        {kSortCompletion, kSortSubject, false, "k l m z a "}, // the later date first
        {kSortCompletion, kSortSubject, true, "z a k l m "},
        {kSortDue, kSortCompletion, false, "k a m z l "},
    };
    for (const auto& row : kCases) {
        RuleSetting(u"TaskSort", row.key);
        RuleSetting(u"TaskSort2", row.second);
        RuleSetting(u"TaskSortDescending", row.descending);
        EXPECT_EQ(row.expected, Load()) << row.key << " " << row.second << " " << row.descending;
    }
}

// A comparison outside of a sort goes by what was read last: on its thread, else in the process.
TEST_F(TasksTest, ComparisonsGoByWhatWasReadLast) {
    DATATASKS a, b;
    a.m_dtDue = 40000;
    b.m_dtDue = 40001;
    std::promise<void> read;
    std::promise<int> before;
    auto after = std::async(std::launch::async, [&] {
        before.set_value(CTasksThread::TasksCompareDueDate(&a, &b, 0));
        read.get_future().wait();
        return CTasksThread::TasksCompareDueDate(&a, &b, 0);
    });
    const int first = before.get_future().get();
    RuleSetting(u"TaskSortDescending", 1);
    CTasksThread().SortDataList();
    read.set_value();
    EXPECT_EQ(1, after.get());
    EXPECT_EQ(1, CTasksThread::TasksCompareDueDate(&a, &b, 0));
    EXPECT_NE(0, first);
}

// The same words, with sort keys and without.
TEST_F(TasksTest, SortKeysOrderAsComparisonsDo) {
    const WCHAR* const kWords[] = {u"co-op", u"coop", u"co-ops", u"Äpfel", u"apfel", u"Apfel",
                                   u"zebra", u"",     u"it's",   u"its",   u"10",    u"9"};
    const auto key = [](const WCHAR* word) {
        DATATASKS row;
        row.m_szSubject = _wcsdup(word);
        FillTaskSortKeys(row, false);
        return row.m_keys.subject;
    };
    const auto sign = [](int order) { return (order > 0) - (order < 0); };
    for (const WCHAR* a : kWords)
        for (const WCHAR* b : kWords)
            EXPECT_EQ(CompareStringW(LOCALE_USER_DEFAULT, 0, a, -1, b, -1) - CSTR_EQUAL,
                      sign(key(a).compare(key(b))))
                << Narrow(a) << " " << Narrow(b);
}

// --- Groups -------------------------------------------------------------------------------------------------------

TEST_F(TasksTest, GroupsUnderHeaders) {
    const LONG work = AddCategory(u"Work"), home = AddCategory(u"Home");
    AddTask(u"A1: p").Due("2010-03-01").Importance(2).In(work).In(home).Save();
    AddTask(u"q").Due("2010-03-11").In(home).Status(2).Save();
    AddTask(u"c: r").Due("2010-03-14").Done("2010-03-09").Save();
    AddTask(u"s").Save();
    RuleSetting(u"bShowCompleted", 1);
    const struct {
        LONG group;
        bool descending;
        const char* expected;
    } kCases[] = {
        {kGroupCategory, false, "=None .r .s =Home .p .q =Work .p "},
        {kGroupImportance, false, "=High .p =Normal .q .r .s =Low "},
        {kGroupLetter, false, "=None .q .s =A .p =c .r "},
        {kGroupProgress, false,
         "=Overdue .p =Due Today =Due Tomorrow .q =Due in 7 Days =Due in a Month =Due Later "
         "=No Due Date .s =Completed .r "},
        {kGroupCompletion, false,
         "=Not Completed .p .q .s =Completed This Week .r =Completed This Month =Completed Earlier "},
        {kGroupGtdStatus, false,
         "=No Status .p .r .s =Next Action =Active .q =Planning =Delegated =Waiting =On "
         "Hold =Postponed =Someday =Canceled =Reference "},
        // The direction turns the rows round, and of the headers those of status and of completed dates.
        {kGroupCategory, true, "=Home .q .p =Work .p =None .s .r "},
        {kGroupImportance, true, "=High .p =Normal .s .r .q =Low "},
        {kGroupCompletion, true,
         "=Not Completed .s .q .p =Completed Earlier =Completed This Month =Completed This Week .r "},
        {kGroupGtdStatus, true,
         "=Reference =Canceled =Someday =Postponed =On Hold =Waiting =Delegated =Planning =Active .q =Next "
         "Action =No Status .s .r .p "},
    };
    for (const auto& row : kCases) {
        RuleSetting(u"GroupBy", row.group);
        RuleSetting(u"TaskSort", kSortSubject);
        RuleSetting(u"TaskSortDescending", row.descending);
        EXPECT_EQ(row.expected, Load()) << row.group;
    }
    // By date the headers are the dates of the locale; closed where nothing says otherwise.
    RuleSetting(u"GroupBy", kGroupDueDate);
    RuleSetting(u"bShowExpanded", 1);
    const std::string dates = Load();
    EXPECT_NE(std::string::npos, dates.find("March 1, 2010 .p =")) << dates;
    EXPECT_NE(std::string::npos, dates.find("=None .s ")) << dates;
}

TEST_F(TasksTest, AClosedGroupHidesItsRowsAndStaysClosed) {
    AddTask(u"p").Importance(2).Save();
    AddTask(u"q").Save();
    AddTask(u"r").Save();
    RuleSetting(u"GroupBy", kGroupImportance);
    CTasksThread thread;
    EXPECT_EQ("=High .p =Normal .q .r =Low ", Load(thread));
    EXPECT_EQ(2, thread.ExpandTreeNode(false, thread.GetList().Get(3), true));
    EXPECT_EQ("=High .p #Normal =Low | .r .q ", Text(thread));
    EXPECT_EQ("=High .p #Normal =Low | .r .q ", Load());
    thread.ExpandAll(false);
    EXPECT_EQ("#High #Normal #Low | .r .q .p ", Text(thread));
    thread.ExpandAll(true);
    EXPECT_EQ("=High .p =Normal .q .r =Low ", Text(thread));
    // The state of the header without a letter has no name.
    RuleSetting(u"GroupBy", kGroupLetter);
    EXPECT_EQ("=None .p .q .r ", Load(thread));
    thread.ExpandTreeNode(false, thread.GetList().Get(1), true);
    EXPECT_EQ("#None | .r .q .p ", Load());
}

TEST_F(TasksTest, AGroupWithoutChildrenGoesWithTheNextSort) {
    const LONG work = AddCategory(u"Work"), home = AddCategory(u"Home");
    const DWORD both = AddTask(u"p").In(work).In(home).Save();
    AddTask(u"q").In(home).Save();
    RuleSetting(u"GroupBy", kGroupCategory);
    CTasksThread thread;
    EXPECT_EQ("=Home .p .q =Work .p ", Load(thread));
    thread.DeleteTaskFromThread(IndexOf(thread, both));
    EXPECT_EQ(3, thread.GetActiveDataCount());
    thread.SortDataList();
    EXPECT_EQ("=Home .q ", Text(thread));
    EXPECT_EQ(1, thread.GetCounts().lActive);
}

// Two categories of one name put a task under one header twice.
TEST_F(TasksTest, CategoriesOfOneName) {
    const DWORD task = AddTask(u"p").In(AddCategory(u"Work")).In(AddCategory(u"Work")).Save();
    AddTask(u"q").Save();
    RuleSetting(u"GroupBy", kGroupCategory);
    CTasksThread thread;
    EXPECT_EQ("=None .q =Work .p .p ", Load(thread));
    Update(thread, task);
    thread.SortDataList();
    EXPECT_EQ("=None .q =Work .p .p ", Text(thread));
    thread.DeleteTaskFromThread(IndexOf(thread, task));
    thread.SortDataList();
    EXPECT_EQ("=None .q ", Text(thread));
}

TEST_F(TasksTest, AfterTheLastTaskTheFixedHeadersAreMadeAnew) {
    AddTask(u"p").Save();
    RuleSetting(u"GroupBy", kGroupImportance);
    CTasksThread thread;
    Load(thread);
    thread.DeleteTaskFromThread(3);
    thread.SortDataList();
    EXPECT_EQ("", Text(thread));
    EXPECT_EQ(1, Update(thread, AddTask(u"q").Importance(2).Save()));
    thread.SortDataList();
    EXPECT_EQ("=High .q =Normal =Low ", Text(thread));
}

TEST_F(TasksTest, ThePriorityManagerHasAllLettersAndNumbersItsRows) {
    const DWORD second = AddTask(u"A2: q").Save();
    const DWORD first = AddTask(u"A1: p").Save();
    const DWORD none = AddTask(u"r").Save();
    RuleSetting(u"GroupBy", kGroupManager);
    CTasksThread thread;
    const std::string text = Load(thread);
    EXPECT_EQ("=None .r =A .p .q =B =C ", text.substr(0, 24));
    EXPECT_EQ(27, thread.GetGroups().Count());
    EXPECT_EQ("1 2 1", std::to_string(RowOf(thread, first)->m_lManagerOrdinal) + " " +
                           std::to_string(RowOf(thread, second)->m_lManagerOrdinal) + " " +
                           std::to_string(RowOf(thread, none)->m_lManagerOrdinal));
}

TEST_F(TasksTest, HeadingsOfLetters) {
    AddTask(u"A1: p").Save();
    AddTask(u"x: q").Save();
    SetText(u"Software\\Norvo\\Quillonary\\TV\\GroupHeadings", u"A", u"Must");
    SetText(u"Software\\Norvo\\Quillonary\\TV\\GroupHeadings", u"B", u"Should");
    RuleSetting(u"GroupBy", kGroupLetter);
    EXPECT_EQ("=<Q>Must</Q> .p =x .q ", Load());
    SetNumber(kView, u"bAlwaysShowNamedHeaders", 1);
    EXPECT_EQ("=None =<Q>Must</Q> .p =<Q>Should</Q> =x .q ", Load());
}

// --- The tree -----------------------------------------------------------------------------------------------------

TEST_F(TasksTest, ATreeOfTasks) {
    const DWORD plan = AddTask(u"plan").Percent(10).Save();
    const DWORD step = AddTask(u"step").Below(plan).Save();
    AddTask(u"leaf").Below(step).Percent(50).Save();
    AddTask(u"end").Below(step).Done("2010-03-01").Save();
    AddTask(u"alone").Save();
    RuleSetting(u"GroupBy", kGroupTree);
    RuleSetting(u"bShowCompleted", 1);
    RuleSetting(u"TaskSort", kSortSubject);
    CTasksThread thread;
    // A parent is as expanded as it is stored; the top one was never stored so.
    EXPECT_EQ("alone +plan | ..leaf ..end .+step ", Load(thread));
    EXPECT_EQ(75, RowOf(thread, step)->m_wPercent);
    EXPECT_EQ(75, RowOf(thread, plan)->m_wPercent);
    EXPECT_EQ(-3, thread.ExpandTreeNode(true, RowOf(thread, plan), true));
    EXPECT_EQ("alone -plan .-step ..end ..leaf ", Text(thread));
    EXPECT_EQ("alone -plan .-step ..end ..leaf ", Load()); // it was stored
    EXPECT_EQ(3, thread.GetDisplayedTreeCount());
}

TEST_F(TasksTest, ListsShowLeavesAndKeepTheirParents) {
    const DWORD plan = AddTask(u"plan").Save();
    AddTask(u"step").Below(plan).Save();
    AddTask(u"alone").Importance(2).Save();
    // A parent stands over its children, though no rule shows it.
    CTasksThread thread;
    EXPECT_EQ("alone -plan .step ", Load(thread));
    EXPECT_TRUE(RowOf(thread, plan)->m_bKeptForChildren);
    EXPECT_EQ(2, thread.GetCounts().lActive);
    RuleSetting(u"GroupBy", kGroupImportance);
    EXPECT_EQ("=High .alone =Normal .step =Low ", Load());
}

TEST_F(TasksTest, BrokenParentsBecomeRoots) {
    AddTask(u"none").Below(0x40000001).Save();    // no task's OID
    AddTask(u"gone").Below(0xC000FF00).Save();    // no such task
    AddTask(u"self").Below(kOidTask | 3).Save();  // itself: the third record
    AddTask(u"first").Below(kOidTask | 5).Save(); // each other
    AddTask(u"second").Below(kOidTask | 4).Save();
    AddTask(u"hangs").Below(kOidTask | 5).Save();
    for (const LONG group : {kGroupNone, kGroupTree}) {
        RuleSetting(u"GroupBy", group);
        RuleSetting(u"TaskSort", kSortSubject);
        EXPECT_EQ("first gone none -second .hangs self ", Load()) << group;
    }
    CTasksThread thread;
    Load(thread);
    const DWORD self = kOidTask | 3, first = kOidTask | 4;
    Update(thread, self);
    EXPECT_EQ(0u, RowOf(thread, self)->m_oidParentStored);
    thread.SetTaskHTField(self, first, true, false); // out of its circle, below one of another
    Update(thread, self);
    EXPECT_EQ(first, RowOf(thread, self)->m_oidParentStored);
}

// What is kept for a child alone goes with it, from all lists.
TEST_F(TasksTest, KeptParentsGoWithTheirLastChild) {
    const DWORD plan = AddTask(u"plan").Done("2010-03-01").Below(0).Save();
    const DWORD step = AddTask(u"step").Done("2010-03-01").Below(plan).Save();
    const DWORD leaf = AddTask(u"leaf").Below(step).Save();
    RuleSetting(u"GroupBy", kGroupTree);
    CTasksThread thread;
    EXPECT_EQ("-plan .-step ..leaf ", Load(thread));
    thread.DeleteTaskFromThread(IndexOf(thread, leaf));
    EXPECT_EQ(0, thread.GetActiveDataCount());
    thread.SortDataList();
    EXPECT_EQ("", Text(thread));
}

// The percents and marks of parents come from their children; the counts are of what is stored.
TEST_F(TasksTest, CountsStayThoseOfTheRecords) {
    const DWORD plan = AddTask(u"plan").Below(0).Save();
    const DWORD step = AddTask(u"step").Below(plan).Percent(50).Save();
    const DWORD top = AddTask(u"top").Below(0).Percent(10).Save();
    AddTask(u"end").Below(top).Done("2010-03-01").Save();
    RuleSetting(u"GroupBy", kGroupTree);
    RuleSetting(u"bShowCompleted", 1);
    CTasksThread thread;
    Load(thread);
    EXPECT_TRUE(RowOf(thread, top)->m_bCompleted);
    const auto counts = [&thread] {
        const CTasksThread::Counts& n = thread.GetCounts();
        return std::to_string(n.lTotal) + " " + std::to_string(n.lActive) + " " +
               std::to_string(n.lCompleted) + " " + std::to_string(n.lPercent);
    };
    EXPECT_EQ("4 4 1 2", counts());
    Update(thread, step);
    EXPECT_EQ("4 4 1 2", counts());
    thread.DeleteTaskFromThread(IndexOf(thread, plan));
    EXPECT_EQ("3 3 1 2", counts());
    thread.DeleteTaskFromThread(IndexOf(thread, top));
    EXPECT_EQ("2 2 1 1", counts());
}

TEST_F(TasksTest, RowsMoveInTheTreeAndInTheStore) {
    const DWORD plan = AddTask(u"plan").Save();
    const DWORD step = AddTask(u"step").Save();
    const DWORD leaf = AddTask(u"leaf").Below(step).Save();
    RuleSetting(u"GroupBy", kGroupTree);
    RuleSetting(u"TaskSort", kSortSubject);
    CTasksThread thread;
    Load(thread);
    const _HIERSTRUCT node{step, plan, 1};
    thread.AddTreeNode(&node, IndexOf(thread, step), IndexOf(thread, plan));
    EXPECT_TRUE(CTasksThread::IsDescendant(RowOf(thread, plan), RowOf(thread, leaf)));
    const _HIERSTRUCT loop{plan, leaf, 1};
    thread.AddTreeNode(&loop, IndexOf(thread, plan), IndexOf(thread, leaf)); // below itself: nothing happens
    thread.ExpandTreeNode(true, RowOf(thread, plan), true);
    EXPECT_EQ("-plan .-step ..leaf ", Text(thread));
    EXPECT_EQ("-plan .-step ..leaf ", Load());
    const _HIERSTRUCT out{step, 0, 0};
    thread.RemoveTreeNode(&out, IndexOf(thread, step), true);
    thread.SortDataList();
    EXPECT_EQ("-plan .leaf step ", Text(thread));
    EXPECT_EQ("-plan .leaf step ", Load());
    thread.DeleteTaskFromThread(IndexOf(thread, plan)); // it may only be hidden: the store keeps its tree
    thread.SortDataList();
    EXPECT_EQ("leaf step ", Text(thread));
    EXPECT_EQ("-plan .leaf step ", Load());
}

TEST_F(TasksTest, TasksOfAProject) {
    const DWORD goal = AddTask(u"goal").Save();
    const DWORD step = AddTask(u"step").Below(goal).Save();
    AddTask(u"part").Below(step).Save();
    AddTask(u"other").Below(AddTask(u"else").Save()).Save();
    SetNumber(kView, u"FCCurrentProjectOID", goal);
    Rule(kTasksOfGoal);
    EXPECT_EQ("-step .part ", Load());
    SetNumber(kView, u"FCCurrentProjectOID", 0);
    EXPECT_EQ("", Load());
    // In groups a row has its place, whatever its parent is.
    const DWORD roof = AddTask(u"roof").Project(77).Save();
    AddTask(u"beam").Project(77).Below(roof).Save();
    AddTask(u"tile").Project(77).Importance(2).Save();
    SetNumber(kView, u"FCCurrentProjectOID", 77);
    Rule(kTasksOfProject);
    RuleSetting(u"GroupBy", kGroupImportance, kTasksOfProject);
    EXPECT_EQ("=High .tile =Normal .beam =Low ", Load());
}

TEST_F(TasksTest, UpdatesASingleRow) {
    const DWORD call = AddTask(u"call").Due("2010-03-09").Save();
    AddTask(u"write").Save();
    RuleSetting(u"TaskSort", kSortSubject);
    CTasksThread thread;
    EXPECT_EQ("call write ", Load(thread));
    EXPECT_EQ(1, thread.GetCounts().lOverdue);
    const HANDLE db = Side(u"Tasks Database");
    const CEOID record = RowOf(thread, call)->m_oidRecord;
    Change(db, record, Values().Text(HIWORD(PIMPR_SUBJECT), u"zoo").Flagged(PIMPR_TASK_DUE, CEDB_PROPDELETE));
    Close(db);
    EXPECT_EQ(1, Update(thread, call));
    thread.SortDataList();
    EXPECT_EQ("write zoo ", Text(thread));
    EXPECT_EQ(0, thread.GetCounts().lOverdue);
    EXPECT_EQ(2, thread.GetCounts().lActive);
    // Below the task before it, whose row then goes from a list of leaves.
    const DWORD ask = AddTask(u"ask").Save();
    Update(thread, ask);
    thread.SortDataList();
    thread.SetTaskHTField(call, ask, false, false);
    Update(thread, call);
    EXPECT_EQ("write zoo ", Text(thread));
}

// --- Projects -----------------------------------------------------------------------------------------------------

TEST_F(TasksTest, ProjectsByNameAndId) {
    CTaskProjects projects;
    projects.CheckAndCreateDB(); // once a process, so for some other test's device perhaps
    if (!projects.OpenDB()) {
        const SORTORDERSPECEX order = Order({{0x0020001F, 0}});
        ASSERT_TRUE(CeDb().Create(u"QN_Projects", 0, 1, &order, 0, nullptr));
    }
    ASSERT_TRUE(projects.LoadProjects());
    const DWORD roof = projects.CreateProject(u"Roof");
    const DWORD garden = projects.CreateProject(u"Garden");
    EXPECT_NE(0u, roof);
    EXPECT_EQ(roof, projects.CreateProject(u"Roof"));
    EXPECT_EQ(0u, projects.CreateProject(u""));
    CTaskProjects again;
    CePtrList<TASK_PROJECT*>* list = again.LoadProjects();
    ASSERT_TRUE(list);
    ASSERT_EQ(2, list->Count());
    EXPECT_EQ("Garden", Narrow(list->Get(0)->name));
    ASSERT_TRUE(again.FindProjectbyID(garden));
    again.RemoveProject(garden);
    EXPECT_FALSE(again.FindProjectbyID(garden));
    EXPECT_EQ(1, CTaskProjects().LoadProjects()->Count());
}

// --- The worker ---------------------------------------------------------------------------------------------------

TEST_F(TasksTest, AnEmptyStoreAndALockedOne) {
    CTasksThread thread;
    EXPECT_EQ("", Load(thread));
    EXPECT_EQ(0, thread.GetActiveDataCount());
    AddTask(u"p").Save();
    CeManualEvent stop;
    stop.Set();
    thread.TasksThreadProc(&stop); // stopped before the first record
    EXPECT_EQ("", Text(thread));
    EXPECT_EQ(1, Update(thread, kOidTask | 1)); // without the store, which a stopped load drops
    EXPECT_EQ("p ", Load(thread));
    EXPECT_EQ("p ", Load(thread)); // again
}

class Busy : public CTasksThread {
public:
    using CTasksThread::m_csData;
};

TEST_F(TasksTest, NothingIsSortedWhileALoadRuns) {
    AddTask(u"p").Due("2010-03-02").Save();
    AddTask(u"q").Due("2010-03-01").Save();
    Busy thread;
    EXPECT_EQ("p q ", Load(thread));
    RuleSetting(u"TaskSort", kSortDue);
    std::thread([&thread] { thread.m_csData.Lock(); }).join();
    thread.SortDataList();
    EXPECT_EQ("p q ", Text(thread));
    thread.m_csData.Leave();
    thread.SortDataList();
    EXPECT_EQ("q p ", Text(thread));
}

} // namespace
