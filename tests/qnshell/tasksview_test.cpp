// The page of tasks in the window of the suite; what it changed is read back from the store and the settings.
#include "tests/support/shellwindow.h"

#include "NorvoTools/registryfunctions.h"
#include "Platform/menus.h"
#include "QNGridCtrl/HTMLGrid.h"
#include "QNWorkerClass/tasksthread.h"
#include "apps/pages/listview.h"

#include <cstdlib>

using qn::Bstr;
using qn::Com;
using qn::Utf16;
using qn::Utf8;
using Lines = std::vector<std::string>;

namespace {

constexpr const WCHAR* kView = u"Software\\Norvo\\Quillonary\\TV";
constexpr const WCHAR* kAllTasks = u"Software\\Norvo\\Quillonary\\TV\\42250";

class TasksViewTest : public ShellWindowTest {
protected:
    struct Task {
        const WCHAR* subject;
        LONG due = 0; // days from today; kNever: none
        DWORD parent = 0;
        const WCHAR* categories = u"";
    };
    static constexpr LONG kNever = 100000;

    static Com<ITask> Make(const Task& task) {
        Com<IDispatch> made;
        EXPECT_EQ(S_OK, g_pOutlook->CreateItem(olTaskItem, made.Out()));
        auto item = made.As<ITask>(IID_ITask);
        item->put_Subject(Bstr(task.subject));
        if (task.due != kNever) item->put_DueDate(kTuesday + task.due);
        item->put_Categories(Bstr(task.categories));
        SetNamed(item, u"QN_ParentOID", CEVT_R8, {.dblVal = task.parent + 0.5}); // the half: open
        return item;
    }
    static void SetNamed(const Com<ITask>& item, const WCHAR* name, WORD type, CEVALUNION value) {
        CEPROPVAL named{};
        named.propid = g_pOutlook->GetPOOM2Property(name, type, true);
        named.val = value;
        EXPECT_EQ(S_OK, item.As<IItem>(IID_IItem)->SetProps(0, 1, &named));
    }
    static DWORD Save(const Com<ITask>& item) {
        LONG oid = 0;
        EXPECT_EQ(S_OK, item->Save());
        item->get_Oid(&oid);
        return static_cast<DWORD>(oid);
    }
    static DWORD Add(const Task& task) { return Save(Make(task)); }
    static Com<ITask> Open(DWORD oid) {
        Com<IDispatch> found;
        EXPECT_EQ(S_OK, g_pOutlook->GetItemFromOid(oid, found.Out()));
        return found.As<ITask>(IID_ITask);
    }
    static bool IsDone(DWORD oid) {
        VARIANT_BOOL done = VARIANT_FALSE;
        Open(oid)->get_Complete(&done);
        return done != VARIANT_FALSE;
    }
    static DATE DueOf(DWORD oid) {
        DATE due = 0;
        Open(oid)->get_DueDate(&due);
        return due;
    }
    static void Set(const WCHAR* name, LONG value) {
        SetToRegistry(HKEY_CURRENT_USER, kAllTasks, name, static_cast<DWORD>(value));
    }

    void Show() { ShellWindowTest::Open(qn::TabKind::Tasks); }
    CHTMLGrid& Grid() { return static_cast<qn::ListView&>(shell->View()).List(); }
    // The texts of the rows, blanks between their parts made one; an empty list is one row.
    Lines Shown() {
        Lines lines;
        for (WORD row = 0; row < Grid().GetRowCount(); ++row) {
            Grid().GetRowHeight(row, true); // asks for it
            WCHAR* text = Grid().GetCellText(0, row, false);
            std::string line;
            for (const char c : Utf8(text ? text : u""))
                if (c != ' ' || (!line.empty() && line.back() != ' ')) line += c;
            while (line.ends_with(' ')) line.pop_back();
            lines.push_back(line);
            std::free(text);
        }
        return lines;
    }
    static constexpr int kFirstRow = 40 + 16; // the middle of it, below the bar
    static constexpr int kBox = 14, kArrow = 14, kBoxBehindArrow = 34, kSubject = 240;
    int RowAt(WORD row) { return kFirstRow + Grid().RowToPixel(row); }
    // At once, or it would be a press that is held on a row that is selected.
    void TapRow(int x, WORD row) {
        PlatPointer(PlatPointerAction::Down, x, RowAt(row));
        PlatPointer(PlatPointerAction::Up, x, RowAt(row));
        Settle();
    }
    void Choose(std::initializer_list<UINT> rows) { // of the menu of the title, and of those that it opens
        for (const UINT row : rows) PlatAnswerMenu(row);
        Tap(200, 20);
    }
};

TEST_F(TasksViewTest, ATapOnTheBoxCompletes) {
    const DWORD call = Add({u"A1: Call"});
    Com<ITask> letter = Make({u"Write", 1});
    SetNamed(letter, u"QN_TaskPercentStatus", CEVT_UI4, {.ulVal = 40});
    const DWORD write = Save(letter);
    Show();
    EXPECT_EQ((Lines{"Today A1 Call", "Tomorrow Write"}), Shown());
    TapRow(kBox, 0);
    EXPECT_TRUE(IsDone(call));
    EXPECT_EQ(Lines{"Tomorrow Write"}, Shown());
    Key('Z', true);
    EXPECT_FALSE(IsDone(call));
    EXPECT_EQ(2U, Shown().size());
    TapRow(kSubject, 1);
    EXPECT_TRUE(shell->View().IsCardOpen());
    Key(VK_ESCAPE);
    Key(VK_SPACE);
    EXPECT_TRUE(IsDone(write));
    Set(u"bShowCompleted", 1);
    Key(VK_F1 + 4);
    EXPECT_EQ(2U, Shown().size());
    Key(VK_END);
    Key(VK_SPACE);
    EXPECT_FALSE(IsDone(write));
}

TEST_F(TasksViewTest, ATaskThatComesAgainMovesOn) {
    Com<ITask> plants = Make({u"|7: Water the plants", -4});
    plants->put_StartDate(kTuesday - 5);
    const DWORD oid = Save(plants);
    Show();
    TapRow(kBox, 0);
    EXPECT_FALSE(IsDone(oid));
    EXPECT_EQ(kTuesday + 7, DueOf(oid));
    Set(u"bShowCompleted", 1);
    Key(VK_F1 + 4);
    EXPECT_EQ(2U, Shown().size()) << "the finished twin";
    Key('Z', true);
    EXPECT_EQ(1U, Shown().size());
    EXPECT_EQ(kTuesday - 4, DueOf(oid));
}

TEST_F(TasksViewTest, ClosedBranchesStayClosed) {
    const struct {
        const char* what;
        LONG group;
    } cases[] = {{"tree", kGroupTree}, {"list", kGroupNone}};
    const DWORD house = Add({u"House", kNever});
    const DWORD roof = Add({u"Roof", kNever, house});
    Add({u"Tiles", kNever, roof});
    Add({u"Garden", kNever});
    for (const auto& one : cases) {
        SCOPED_TRACE(one.what);
        Set(u"GroupBy", one.group);
        Show();
        ASSERT_EQ(4U, Shown().size());
        Key(VK_HOME);
        if (Shown()[0] == "Garden") Key(VK_DOWN);
        const WORD top = Grid().GetRow();
        Key(VK_LEFT);
        EXPECT_EQ(2U, Shown().size());
        Key(VK_F1 + 4);
        EXPECT_EQ(2U, Shown().size());
        EXPECT_EQ(top, Grid().GetRow());
        TapRow(kArrow, top);
        EXPECT_EQ(4U, Shown().size());
        Key(VK_RIGHT); // to the first below it, and back
        EXPECT_EQ(top + 1, Grid().GetRow());
        Key(VK_LEFT);
        Key(VK_LEFT);
        EXPECT_EQ(top, Grid().GetRow());
        Key(VK_RIGHT);
        Close();
    }
}

TEST_F(TasksViewTest, ABranchIsCompletedWithAllBelowIt) {
    Set(u"GroupBy", kGroupTree);
    const DWORD house = Add({u"House", kNever});
    const DWORD roof = Add({u"Roof", kNever, house});
    Show();
    TapRow(kBoxBehindArrow, 0);
    EXPECT_TRUE(IsDone(house) && IsDone(roof));
    EXPECT_EQ(1U, Shown().size()) << "the text of an empty list";
    Key('Z', true);
    EXPECT_FALSE(IsDone(house) || IsDone(roof));
    EXPECT_EQ((Lines{"House", "Roof"}), Shown());
}

TEST_F(TasksViewTest, GroupsCloseAndStaySo) {
    Add({u"Call", 0, 0, u"Work, Home"});
    Add({u"Read", 1, 0, u"Home"});
    const struct {
        LONG group;
        Lines open;
        Lines closed;
    } cases[] = {
        {kGroupCategory,
         {"Home (2)", "Today Call", "Tomorrow Read", "Work (1)", "Today Call"},
         {"Home (2)", "Work (1)", "Today Call"}},
        {kGroupProgress,
         {"Due Today (1)", "Today Call", "Due Tomorrow (1)", "Tomorrow Read"},
         {"Due Today (1)", "Due Tomorrow (1)", "Tomorrow Read"}},
        {kGroupDueDate,
         {"Today, 24 November (1)", "Today Call", "Tomorrow, 25 November (1)", "Tomorrow Read"},
         {"Today, 24 November (1)", "Tomorrow, 25 November (1)", "Tomorrow Read"}},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.group);
        Set(u"GroupBy", one.group);
        Set(u"bShowExpanded", 1);
        Show();
        EXPECT_EQ(one.open, Shown());
        TapRow(kSubject, 0);
        EXPECT_EQ(one.closed, Shown());
        Key(VK_F1 + 4);
        EXPECT_EQ(one.closed, Shown());
        Key(VK_HOME);
        Key(VK_RETURN);
        EXPECT_EQ(one.open, Shown());
        Close();
    }
}

TEST_F(TasksViewTest, DeletingAsksAndCanBeUndone) {
    Set(u"GroupBy", kGroupTree);
    const DWORD house = Add({u"House", kNever});
    Com<ITask> item = Make({u"Roof", 3, house, u"Home"});
    item->put_Body(Bstr(u"of tiles"));
    const DWORD roof = Save(item);
    Add({u"Tiles", kNever, roof});
    Com<ITask> hidden = Make({u"Hidden", kNever, roof});
    hidden->put_Complete(VARIANT_TRUE);
    const DWORD last = Save(hidden);
    Show();
    const Lines all{"House", "Friday Roof", "Tiles"};
    EXPECT_EQ(all, Shown());
    Key(VK_HOME);
    Key(VK_DOWN);
    PlatAnswerMessageBox(IDCANCEL);
    Key(VK_DELETE);
    EXPECT_EQ(all, Shown());
    PlatAnswerMessageBox(IDOK);
    Key(VK_DELETE);
    EXPECT_EQ((Lines{"House", "Tiles"}), Shown());
    Key(VK_DOWN); // what stood below it
    EXPECT_EQ(1, Grid().GetRow());
    Key('Z', true);
    EXPECT_EQ(all, Shown());
    Set(u"bShowCompleted", 1);
    Key(VK_F1 + 4);
    EXPECT_EQ((Lines{"House", "Friday Roof", "Hidden", "Tiles"}), Shown()) << "below it again";
    TapRow(kSubject, 1);
    Bstr note, categories;
    const Com<ITask> back = Open(last + 1);
    back->get_Body(note.Out());
    back->get_Categories(categories.Out());
    EXPECT_EQ(u"of tiles", note.View());
    EXPECT_EQ(u"Home", categories.View());
}

TEST_F(TasksViewTest, TheMenuOfTheTitleChoosesWhatIsShown) {
    Add({u"Late", -3});
    Add({u"Soon", 1});
    Add({u"Later", 20});
    Com<ITask> home = Make({u"Lamp", kNever});
    WCHAR context[] = u"@home";
    SetNamed(home, u"QN_GTDContext", CEVT_LPWSTR, {.lpwstr = context});
    Save(home);
    Show();
    EXPECT_EQ(4U, Shown().size());
    Choose({7}); // overdue
    EXPECT_EQ(Lines{"11/21/26 Late"}, Shown());
    EXPECT_EQ(LONG{kTasksOverdue}, static_cast<LONG>(ReadRegistryWithDefault(kView, u"TV_FilterData", 0)));
    Choose({14, 1}); // the first context
    EXPECT_EQ(Lines{"Lamp"}, Shown());
    Choose({10}); // starred: none is
    Key(VK_DOWN);
    Key(VK_RETURN); // shows all
    EXPECT_EQ(4U, Shown().size());
    Choose({4}); // the next 7 days
    EXPECT_EQ((Lines{"Lamp", "11/21/26 Late", "Tomorrow Soon"}), Shown());
    Choose({1});
    Choose({17, 4}); // by subject
    EXPECT_EQ((Lines{"Lamp", "11/21/26 Late", "12/14/26 Later", "Tomorrow Soon"}), Shown());
    Choose({17, 8}); // the other way
    EXPECT_EQ((Lines{"Tomorrow Soon", "12/14/26 Later", "11/21/26 Late", "Lamp"}), Shown());
}

TEST_F(TasksViewTest, TheListKeepsItsPlace) {
    Set(u"TaskSort", kSortSubject);
    for (WCHAR c = u'A'; c <= u'Z'; ++c) Add({(u"Task " + std::u16string(1, c)).c_str(), kNever});
    Show();
    Grid().SetTopRow(5);
    Tap(kBox, kFirstRow); // the row at the top goes
    EXPECT_EQ(5, Grid().GetTopRow());
    EXPECT_EQ("Task G", Shown()[5]);
    EXPECT_EQ(5 * 33, Grid().GetTopPixel());
    Grid().ScrollByPixelDown(10);
    Key(VK_F1 + 4);
    EXPECT_EQ(5 * 33 + 10, Grid().GetTopPixel());
}

TEST_F(TasksViewTest, ADateThatIsSkippedMovesOn) {
    Com<ITask> plants = Make({u"Water", 0});
    Com<IRecurrencePattern> rule;
    ASSERT_EQ(S_OK, plants->GetRecurrencePattern(rule.Out()));
    rule->put_RecurrenceType(olRecursWeekly);
    rule->put_Occurrences(2);
    const DWORD oid = Save(plants);
    Show();
    const auto skip = [this] { // in the menu of the row
        PlatAnswerMenu(3);
        PlatPointer(PlatPointerAction::HoldDown, kSubject, kFirstRow);
        Point(PlatPointerAction::HoldUp, kSubject, kFirstRow);
    };
    skip();
    EXPECT_EQ(kTuesday + 7, DueOf(oid));
    skip(); // past the last one
    EXPECT_EQ(kTuesday + 7, DueOf(oid));
    Key('Z', true); // what was told since has changed nothing
    EXPECT_EQ(kTuesday, DueOf(oid));
    PlatInjectFault(PlatFault::StoreWrite, 1, true);
    PlatTakeMessageBoxes();
    TapRow(kBox, 0);
    EXPECT_EQ(1U, PlatTakeMessageBoxes().size());
    EXPECT_EQ(1U, Shown().size());
    EXPECT_FALSE(IsDone(oid));
}

TEST_F(TasksViewTest, AtMidnightTheDaysAreOthers) {
    Add({u"Call", 1});
    Show();
    EXPECT_EQ(Lines{"Tomorrow Call"}, Shown());
    const SYSTEMTIME next{2026, 11, 3, 25, 0, 0, 10, 0};
    PlatSetClock(&next);
    PlatAdvanceClock(61000);
    Settle();
    EXPECT_EQ(Lines{"Today Call"}, Shown());
}

} // namespace
