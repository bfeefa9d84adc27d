// The window of the suite, driven by its pointer and keys on a screen without a display; what it changed is read back
// from the store and the settings.
#include "tests/support/shellwindow.h"
#include "tests/support/waiting.h"

#include "Platform/menus.h"
#include "QNNewEditUI/CalendarColors.h"

#include <cmath>

using qn::Bstr;
using qn::Com;
using qn::PageKind;
using qn::Paint;
using qn::Utf16;
using qn::Utf8;
using Lines = std::vector<std::string>;

namespace {

constexpr DATE At(int hour, int minute = 0, LONG day = kTuesday) {
    return day + (hour * 60 + minute) / 1440.0;
}

class ShellTest : public ShellWindowTest {
protected:
    static Com<IAppointment> Make(const WCHAR* subject, DATE start, const WCHAR* categories = u"") {
        Com<IDispatch> made;
        EXPECT_EQ(S_OK, g_pOutlook->CreateItem(olAppointmentItem, made.Out()));
        auto item = made.As<IAppointment>(IID_IAppointment);
        item->put_Subject(Bstr(subject));
        item->put_Start(start);
        item->put_Duration(30);
        item->put_Categories(Bstr(categories));
        return item;
    }
    static LONG Save(const Com<IAppointment>& item) {
        LONG oid = 0;
        EXPECT_EQ(S_OK, item->Save());
        item->get_Oid(&oid);
        return oid;
    }
    static void Daily(const Com<IAppointment>& item) {
        Com<IRecurrencePattern> pattern;
        ASSERT_EQ(S_OK, item->GetRecurrencePattern(pattern.Out()));
        pattern->put_RecurrenceType(olRecursDaily);
        pattern->put_Occurrences(20);
    }

    using ShellWindowTest::Open;
    void Open(PageKind page = PageKind::Day) {
        qn::ShellState state;
        state.page = page;
        Open(state);
    }
    // The page of the day begins at 7:30, below the date line; half an hour has 22 pixels.
    static int YAt(int hour, int minute) { return 40 + ((hour * 60 + minute) - 450) * 22 / 30 + 5; }
    static constexpr int kMarker = 49; // on the bars of the appointments
    static constexpr int kText = 200;

    // "24 9:00 Dentist", for the lines that the page has.
    Lines Shown() {
        Lines lines;
        for (const DATACALENDAR* line : shell->Calendar().Data().Lines()) {
            const SYSTEMTIME start = qn::ToSystemTime(line->m_dtStart);
            char text[32];
            std::snprintf(text, sizeof text, "%d %d:%02d ", start.wDay, start.wHour, start.wMinute);
            lines.push_back(text + Utf8(line->m_bstrSubject));
        }
        return lines;
    }
};

TEST_F(ShellTest, TurnsFiltersAndKeepsItsState) {
    Save(Make(u"Dentist", At(9), u"Health"));
    Save(Make(u"Review", At(11), u"Work"));
    Save(Make(u"Lunch", At(12, 0, kTuesday + 1), u"Work"));
    Open();
    EXPECT_EQ((Lines{"24 9:00 Dentist", "24 11:00 Review"}), Shown());
    Key(VK_RIGHT);
    EXPECT_EQ(Lines{"25 12:00 Lunch"}, Shown());
    Tap(20, 20); // the arrow at the left of the date line
    EXPECT_EQ(kTuesday, shell->Calendar().Day());
    Point(PlatPointerAction::Down, 20, 20);
    shell->Calendar().Data().Reload(); // what is pressed stays so
    Settle();
    Point(PlatPointerAction::Up, 20, 20);
    EXPECT_EQ(kTuesday - 1, shell->Calendar().Day());
    Point(PlatPointerAction::Down, 20, 20);
    Key('K', true); // other cells while one is pressed
    Point(PlatPointerAction::Up, 20, 20);
    EXPECT_EQ(nullptr, GetCapture());
    Key(VK_ESCAPE);
    Key('T');
    EXPECT_EQ(kTuesday, shell->Calendar().Day());
    Tap(144, 615); // the second tab
    EXPECT_EQ(qn::TabKind::Tasks, shell->Tab());
    Key('1', true);
    EXPECT_EQ(qn::TabKind::Calendar, shell->Tab());
    Key('W');
    EXPECT_EQ(PageKind::Week, shell->Calendar().Kind());
    EXPECT_EQ(3U, Shown().size());
    Key('K', true);
    Key(VK_DOWN); // all, Health, Work
    Key(VK_DOWN);
    Key(VK_RETURN);
    EXPECT_EQ((Lines{"24 11:00 Review", "25 12:00 Lunch"}), Shown());
    Key(VK_ESCAPE);
    Key('Q', true);
    EXPECT_TRUE(quit);

    const qn::ShellState kept = qn::ShellState::Read();
    EXPECT_EQ(PageKind::Week, kept.page);
    EXPECT_EQ(480, kept.width);
    EXPECT_EQ(640, kept.height);
    Open(kept);
    EXPECT_EQ((Lines{"24 11:00 Review", "25 12:00 Lunch"}), Shown());
}

TEST_F(ShellTest, ADragIsSaved) {
    const struct {
        const char* what;
        bool series;
        bool movedThere; // the occurrence of the next day, moved to this one
    } cases[] = {{"single", false, false}, {"occurrence", true, false}, {"moved occurrence", true, true}};
    for (const auto& one : cases) {
        SCOPED_TRACE(one.what);
        const auto item = Make(u"Talk", At(one.movedThere ? 16 : 9));
        if (one.series) Daily(item);
        Save(item);
        if (one.movedThere) {
            Com<IRecurrencePattern> pattern;
            Com<IAppointment> next;
            ASSERT_EQ(S_OK, item->GetRecurrencePattern(pattern.Out()));
            ASSERT_EQ(S_OK, pattern->GetOccurrence(kTuesday + 1, next.Out()));
            next->put_Start(At(9));
            ASSERT_EQ(S_OK, next->Save());
        }
        Open();
        Drag(kMarker, YAt(9, 0), YAt(10, 0));
        Drag(kMarker, YAt(10, 0), YAt(10, 30)); // what was moved can be moved again
        Lines expected{"24 10:30 Talk"};
        if (one.movedThere) expected.emplace_back("24 16:00 Talk");
        EXPECT_EQ(expected, Shown());
        Key(VK_RIGHT);
        EXPECT_EQ(one.series && !one.movedThere ? Lines{"25 9:00 Talk"} : Lines{}, Shown());
        Close();
        item->Delete();
    }
}

// The list tells the device's clock at that date, and so must what is looked for in the store.
TEST_F(ShellTest, OccurrencesOfTheSummerAreToldApart) {
    constexpr LONG kSummer = kTuesday + 200; // 12 June 2027
    const auto series = Make(u"Talk", At(9, 0, kSummer));
    Daily(series);
    Save(series);
    Com<IRecurrencePattern> pattern;
    Com<IAppointment> next;
    ASSERT_EQ(S_OK, series->GetRecurrencePattern(pattern.Out()));
    ASSERT_EQ(S_OK, pattern->GetOccurrence(kSummer + 1, next.Out()));
    next->put_Start(At(10, 0, kSummer));
    ASSERT_EQ(S_OK, next->Save());
    Open({}, kSummer);
    Drag(kMarker, YAt(9, 0), YAt(8, 30));
    EXPECT_EQ((Lines{"12 8:30 Talk", "12 10:00 Talk"}), Shown());
}

TEST_F(ShellTest, ADragThatCantBeSavedIsToldAndTakenBack) {
    Save(Make(u"Talk", At(9)));
    Open();
    PlatTakeMessageBoxes();
    PlatInjectFault(PlatFault::StoreWrite, 1, true);
    Drag(kMarker, YAt(9, 0), YAt(10, 0));
    EXPECT_EQ(1U, PlatTakeMessageBoxes().size());
    EXPECT_EQ(Lines{"24 9:00 Talk"}, Shown());
}

TEST_F(ShellTest, DeletingAsksAndCanBeUndone) {
    Save(Make(u"Dentist", At(9), u"Health"));
    const auto series = Make(u"Stand-up", At(10));
    Daily(series);
    Save(series);
    Open();
    Tap(kText, YAt(9, 0)); // its card
    PlatAnswerMessageBox(IDCANCEL);
    Key(VK_DELETE);
    EXPECT_EQ(2U, Shown().size());
    PlatAnswerMessageBox(IDOK);
    Key(VK_DELETE);
    EXPECT_EQ(Lines{"24 10:00 Stand-up"}, Shown());
    Key('Z', true);
    EXPECT_EQ((Lines{"24 9:00 Dentist", "24 10:00 Stand-up"}), Shown());
    EXPECT_EQ(u"Health", std::u16string(shell->Calendar().Data().Lines()[0]->m_szCategories));

    Key(VK_ESCAPE);
    Tap(kText, YAt(10, 0));
    PlatAnswerMessageBox(IDOK);
    Key(VK_DELETE);
    EXPECT_EQ(Lines{"24 9:00 Dentist"}, Shown());
    EXPECT_FALSE(shell->Calendar().CanUndo());
    Key(VK_RIGHT);
    EXPECT_EQ(Lines{"25 10:00 Stand-up"}, Shown()); // the others stay
}

TEST_F(ShellTest, TheRightButtonShowsTheMenuOfAnItem) {
    Save(Make(u"Dentist", At(9)));
    Open();
    const auto rightClick = [this] {
        PlatPointer(PlatPointerAction::HoldDown, kText, YAt(9, 0));
        Point(PlatPointerAction::HoldUp, kText, YAt(9, 0));
    };
    rightClick();
    ASSERT_EQ(1U, PlatTakeMenus().size());
    EXPECT_FALSE(shell->Calendar().IsCardOpen());
    PlatAnswerMenu(1); // open
    rightClick();
    EXPECT_TRUE(shell->Calendar().IsCardOpen());
}

TEST_F(ShellTest, AllDayItemsHaveAListOfTheirOwn) {
    const auto fair = Make(u"Fair", At(0));
    fair->put_AllDayEvent(VARIANT_TRUE);
    Save(fair);
    Open();
    Tap(kText, 50); // below the date line
    EXPECT_TRUE(shell->Calendar().IsCardOpen());
    Key(VK_ESCAPE);
    Key(VK_TAB); // the hours
    EXPECT_FALSE(shell->Calendar().HasItem());
    Key(VK_TAB); // the tabs, the date line, the list
    Key(VK_TAB);
    Key(VK_TAB);
    EXPECT_TRUE(shell->Calendar().HasItem());
    PlatAnswerMessageBox(IDOK);
    Key(VK_DELETE);
    EXPECT_EQ(Lines{}, Shown());
}

// Each page shows tasks by a setting of its own, though one load gives them to all.
TEST_F(ShellTest, TasksAndBirthdaysJoinTheCalendar) {
    Com<IDispatch> made;
    ASSERT_EQ(S_OK, g_pOutlook->CreateItem(olTaskItem, made.Out()));
    auto task = made.As<ITask>(IID_ITask);
    task->put_Subject(Bstr(u"Report"));
    task->put_DueDate(kTuesday);
    ASSERT_EQ(S_OK, task->Save());
    ASSERT_EQ(S_OK, g_pOutlook->CreateItem(olContactItem, made.Out()));
    auto contact = made.As<IContact>(IID_IContact);
    contact->put_FileAs(Bstr(u"Byron, Ada")); // has neither first nor last name
    contact->put_Birthday(kTuesday - 14610);  // 40 years with ten leap days
    ASSERT_EQ(S_OK, contact->Save());
    const auto kinds = [this] {
        std::vector<LONG> types;
        for (const DATACALENDAR* line : shell->Calendar().Data().Lines()) types.push_back(line->m_nType);
        return types;
    };
    Open();
    EXPECT_EQ(std::vector<LONG>{}, kinds());
    PlatAnswerMenu(8); // "Tasks"
    Key(VK_F1 + 9);
    EXPECT_EQ(std::vector<LONG>{kLineTask}, kinds());
    Key('W');
    EXPECT_EQ(std::vector<LONG>{}, kinds());
    Key('D');
    PlatAnswerMenu(7); // "Birthdays"
    Key(VK_F1 + 9);
    ASSERT_EQ((std::vector<LONG>{kLineContactDate, kLineTask}), kinds());
    EXPECT_EQ(u"(40 years)  ", std::u16string(shell->Calendar().Data().Lines()[0]->m_bstrSubject));
    Tap(kText, 50); // the first line above the hours
    EXPECT_TRUE(shell->Calendar().IsCardOpen());
    EXPECT_FALSE(shell->Calendar().CanDelete());
    Key(VK_ESCAPE);
    shell->Calendar().OpenCurrent(); // as the menus do
    EXPECT_TRUE(shell->Calendar().IsCardOpen());
    Key(VK_ESCAPE);
    PlatAnswerMenu(8);
    Key(VK_F1 + 9);
    EXPECT_EQ(std::vector<LONG>{kLineContactDate}, kinds());
}

TEST_F(ShellTest, KeysGoToNothingThatIsHidden) {
    Save(Make(u"Dentist", At(9)));
    PlatSetScreen({1280, 800, 96});
    Open(PageKind::Agenda);
    Key(VK_DOWN);
    Key(VK_DOWN);
    Key(VK_RETURN); // the card stands beside the list
    ASSERT_TRUE(shell->View().IsCardOpen());
    const HWND page = GetFocus();
    shell->MoveWindow(0, 0, 480, 640); // the card takes the place of the page
    EXPECT_FALSE(IsWindowVisible(page));
    EXPECT_TRUE(IsWindowVisible(GetFocus()));
    Key(VK_ESCAPE);
    EXPECT_EQ(page, GetFocus());
}

TEST_F(ShellTest, AnEmptyListLeadsOn) {
    Save(Make(u"Past", At(9, 0, kTuesday - 200), u"Home"));
    Save(Make(u"Summer", At(9, 0, kTuesday + 200), u"Work"));
    Open(PageKind::Agenda);
    EXPECT_EQ(Lines{}, Shown());
    Key(VK_DOWN);
    Key(VK_RETURN);
    EXPECT_EQ(kTuesday + 200, shell->Calendar().Day());
    EXPECT_EQ(1U, Shown().size());
    shell->Calendar().ShowCategories({u"Home"});
    Settle();
    EXPECT_EQ(Lines{}, Shown());
    Key(VK_DOWN);
    Key(VK_RETURN);
    EXPECT_EQ(1U, Shown().size()) << "all categories again";
}

TEST_F(ShellTest, FollowsTheStoreTheSchemeAndTheSize) {
    Open();
    Save(Make(u"New", At(9)));
    EXPECT_TRUE(qntest::Eventually([this] {
        PlatAdvanceClock(100); // changes come in bundles
        Settle();
        return Shown() == Lines{"24 9:00 New"};
    }));

    const COLORREF light = qn::ColorOf(Paint::Bar);
    EXPECT_EQ(light, PixelAt(2, 2));
    PlatAnswerMenu(17); // "Dark colours"
    Key(VK_F1 + 9);
    EXPECT_EQ(qn::Scheme::Dark, qn::ReadScheme());
    Settle();
    EXPECT_NE(light, qn::ColorOf(Paint::Bar));
    EXPECT_EQ(qn::ColorOf(Paint::Bar), PixelAt(2, 2));
    EXPECT_EQ(Lines{"24 9:00 New"}, Shown());
    Key(VK_RIGHT);
    EXPECT_EQ(kTuesday + 1, shell->Calendar().Day());
}

// Relative luminance and contrast: https://www.w3.org/TR/WCAG21/#dfn-contrast-ratio
double Luminance(COLORREF color) {
    const auto linear = [color](int shift) {
        const double c = static_cast<double>((color >> shift) & 0xFF) / 255;
        return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(0) + 0.7152 * linear(8) + 0.0722 * linear(16);
}

TEST_F(ShellTest, EveryTextIsLegible) {
    const auto expectContrast = [](COLORREF text, COLORREF ground) {
        const double a = Luminance(text), b = Luminance(ground);
        EXPECT_GE((std::max(a, b) + 0.05) / (std::min(a, b) + 0.05), 4.5)
            << std::hex << text << " on " << ground;
    };
    for (const qn::Scheme scheme : {qn::Scheme::Light, qn::Scheme::Dark}) {
        qn::UseScheme(scheme);
        constexpr std::pair<Paint, Paint> kPairs[] = {
            {Paint::BarText, Paint::Bar},       {Paint::BarText, Paint::Pressed},
            {Paint::ActiveText, Paint::Active}, {Paint::Text, Paint::Window},
            {Paint::Quiet, Paint::Window},      {Paint::Quiet, Paint::Hours},
            {Paint::Link, Paint::Window},       {Paint::Text, Paint::Heading},
            {Paint::TodayText, Paint::Today},   {Paint::Alert, Paint::Window}};
        for (const auto& [text, ground] : kPairs) expectContrast(qn::ColorOf(text), qn::ColorOf(ground));
        CalendarColors rows;
        rows.Read();
        for (const CalendarColor ground : {kColorBack, kColorToday, kColorJournal})
            expectContrast(rows.Value(kColorText), rows.Value(ground));
    }
}

} // namespace
