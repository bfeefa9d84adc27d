// The row of an item as mark-up, and the settings behind it.
#include "NorvoTools/globals.h"
#include "Platform/modules.h"
#include "QNGridCtrl/HTMLGrid.h"
#include "QNGridCtrl/HTMLParser.h"
#include "QNGridCtrl/PNGPicture.h"
#include "QNNewEditUI/MarkupText.h"
#include "Resources/pictures.h"
#include "tests/QNNewEditUI/calendarpage.h"
#include "tests/support/plainwindow.h"

#include <filesystem>
#include <fstream>

namespace {

using Subview = CCalendarSubview;

std::u16string Repeat(const WCHAR* piece, int times) {
    std::u16string text;
    while (times-- > 0) text += piece;
    return text;
}

class WeekItem : public CalendarPage {
protected:
    WeekItem() { g_hResources = LoadLibraryW(u"QNResources.dll"); }
    ~WeekItem() override {
        FreeLibrary(g_hResources);
        g_hResources = nullptr;
    }
    // A row, its constant parts shortened: [ground> | for the bar of a busy item, {text colour> 'editable'.
    std::string Row(const DATACALENDAR& item, DWORD flags = 0) {
        std::string row = Narrow(Page().BuildWeekItem(item, 2, flags));
        for (const auto& [from, to] :
             {std::pair<std::string, std::string>{"<FONT SIZE=2 NAME=\"Tahoma\" COLOR=#", "{"},
              {"<BODY BGCOLOR=#", "["},
              {"<IMG SRC=S16711680>", "|"},
              {"<EDITABLE>", "'"},
              {"</EDITABLE>", "'"}})
            for (std::size_t at; (at = row.find(from)) != std::string::npos;)
                row.replace(at, from.size(), to);
        return row;
    }
};

TEST_F(WeekItem, Times) {
    Set(u"Fonts", u"CAV_Font", u"Sans Serif");
    EXPECT_EQ(Narrow(Page().BuildWeekItem(Item(13, 60, 1), -3, Subview::kShowEnd)), // the row as it is told
              "<BODY BGCOLOR=#F6FFA6><IMG SRC=S16687724> <FONT SIZE=-3 NAME=\"Sans Serif\" COLOR=#000000>"
              "<A=ATIMES>1:00p</A>-<A=ATIMEE>2:00p</A> <EDITABLE>Lunch</EDITABLE>");
    Set(u"Fonts", u"CAV_Font", u"Tahoma");
    Set(u"CAV", u"ShowStatusBar", 0u);
    Set(u"Colors", u"crMVBusy", 0xEEEEEE);
    const struct {
        const char* what;
        Item item;
        DWORD flags;
        const char* row;
    } cases[] = {
        {"start and end", {13, 60}, Subview::kShowEnd, "<A=ATIMES>1:00p</A>-<A=ATIMEE>2:00p</A>"},
        {"over midnight, first day", {23, 120}, Subview::kShowEnd, "<A=ATIMES>11:00p</A><IMG SRC=233>"},
        {"to midnight", {23, 60}, Subview::kShowEnd, "<A=ATIMES>11:00p</A>-<A=ATIMEE>12:00a</A>"},
        {"second and last day", {23 - 24, 840}, 0, "<IMG SRC=234><A=ATIMEE>1:00p</A>"},
        {"a day between", {-1, 2880}, 0, "<IMG SRC=234><IMG SRC=233>"},
        {"no dates that can be", {1e9, 60}, Subview::kShowEnd, "<IMG SRC=234><IMG SRC=233>"},
    };
    for (const auto& test : cases)
        EXPECT_EQ(Row(test.item, test.flags), std::string("[EEEEEE>{000000>") + test.row + " 'Lunch'")
            << test.what;
}

TEST_F(WeekItem, KindsAndDays) {
    const struct {
        const char* what;
        Item item;
        DWORD flags;
        const char* row;
    } cases[] = {
        {"all-day", Item(0, 1440).AllDay(), 0, "[F6FFA6>| {000000><IMG SRC=219>  <B>'Lunch'</B>"},
        {"all-day, yesterday", Item(-24, 1440).AllDay().OnDay(kFriday - 1), 0,
         "[FFFFFF>| {000000><I><IMG SRC=219>  <B>'Lunch'</B>"},
        {"tomorrow", Item(24 + 9, 60, 0).OnDay(kFriday + 1), 0,
         "[FFFFFF><IMG SRC=S6291316> {000000><A=ATIMES>9:00a</A> 'Lunch'"},
        {"over since an hour", {10, 60}, 0, "[F6FFA6>| {000000><I><A=ATIMES>10:00a</A> 'Lunch'"},
        {"still going", {10, 121}, 0, "[F6FFA6>| {000000><A=ATIMES>10:00a</A> 'Lunch'"},
        {"journal", Item(9, 60).Type(kLineJournal), 0, "[CDCDCD>{000000><A=ATIMES>9:00a</A> Lunch"},
        {"place", Item(13, 60).Place(u"Room 5"), Subview::kShowLocation,
         "[F6FFA6>| {000000><A=ATIMES>1:00p</A> 'Lunch' [Room 5]"},
        {"place on the line of the images", Item(13, 60).Place(u"Room 5"),
         Subview::kShowLocation | Subview::kOwnIconLine,
         "[F6FFA6>| {000000><A=ATIMES>1:00p</A> 'Lunch'<BR> [Room 5]"},
    };
    for (const auto& test : cases) EXPECT_EQ(Row(test.item, test.flags), test.row) << test.what;
    Set(u"CAV", u"UseBoldAllday", 0u);
    EXPECT_EQ(Row(Item(0, 1440).AllDay()), "[F6FFA6>| {000000><IMG SRC=219>  'Lunch'");
}

TEST_F(WeekItem, PastStyles) {
    const char* const looks[] = {"{A7A29D>",    "{000000><S>", "{A7A29D><S>",
                                 "{000000><I>", "{A7A29D><I>", "{000000>"};
    for (DWORD style = 0; style < 6; ++style) {
        Set(u"CAV", u"dwOldApptHandle", style);
        EXPECT_EQ(Row(Item(9, 60)), std::string("[F6FFA6>| ") + looks[style] + "<A=ATIMES>9:00a</A> 'Lunch'");
    }
}

TEST_F(WeekItem, CategoryColors) {
    Color(u"Light", 0x80F0FF); // #FFF080
    Color(u"Dark", 0x402000);  // #002040
    const struct {
        DWORD use;
        const WCHAR* category;
        DWORD statusBar;
        const char* look;
    } cases[] = {
        {kCategoryToBack, u"Light", 1, "[FFF080>| {000000>"},
        {kCategoryToBack, u"Dark", 1, "[002040>| {FFFFFF>"}, // black could not be read there
        {kCategoryToText, u"Dark", 1, "[F6FFA6>| {002040>"},
        {kCategoryToText, u"Light", 1, "[F6FFA6>| {000000>"},
        {kCategoryToBack, u"Light", 0, "[FFF080>{000000>"},
        {kCategoryColorOff, u"Light", 0, "[0000FF>{FFFFFF>"}, // of the status
        {kCategoryToBack, u"Other", 1, "[F6FFA6>| {000000>"},
    };
    for (const auto& test : cases) {
        Set(u"CAV", u"ShowCatColorBackground", test.use);
        Set(u"CAV", u"ShowStatusBar", test.statusBar);
        EXPECT_EQ(Row(Item(13, 60).Categories(test.category)),
                  std::string(test.look) + "<A=ATIMES>1:00p</A> 'Lunch'");
    }
}

TEST_F(WeekItem, Images) {
    SetToRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, u"IconPath", u"\\Icons");
    std::filesystem::create_directories(HostPath("Icons"));
    std::ofstream(HostPath("Icons/Work.png")) << "x";
    Item item(13, 60);
    item.Categories(u"Work").Place(u"Hall");
    item.m_bReminder = item.m_bRecurring = item.m_bPrivate = item.m_bHasLink = item.m_bHasJournalLink =
        item.m_bHasNote = 1;
    item.m_wMeeting = 3;
    item.m_szIcon = _wcsdup(u"\\Icons\\a.png");
    const std::string right =
        "<SPAN><IMG SRC=241><IMG SRC=242><IMG SRC=244><IMG SRC=209><IMG SRC=245><IMG SRC=232>"
        "<IMG SRC=207></SPAN>";
    const std::string row = "{000000><A=ATIMES>1:00p</A> <IMG SRC=\"\\Icons\\a.png\"><IMG SRC=\"Work.png\">"
                            "'Lunch' [Hall]";
    EXPECT_EQ(Row(item, Subview::kShowLocation), "[F6FFA6>| " + row + right);
    EXPECT_EQ(Row(item, Subview::kShowLocation | Subview::kOneLine), "[F6FFA6>" + right + "| " + row);
    item.m_szIcon[3] = u'"'; // a name that would end its tag
    EXPECT_NE(Row(item).find("<IMG SRC=246><IMG SRC=\"Work.png\">"), std::string::npos);
    for (const WCHAR* name :
         {u"ShowReminderIcons", u"ShowRecurringIcons", u"ShowPrivateIcons", u"ShowMeetingIcons",
          u"ShowLinkedIcons", u"ShowJournalIcons", u"ShowHasNoteIcons", u"ShowQEIcons", u"ShowCatIcons"})
        Set(u"CAV", name, 0u);
    EXPECT_EQ(Row(item), "[F6FFA6>| {000000><A=ATIMES>1:00p</A> 'Lunch'");

    WCHAR buffer[40];
    m_page.SetImagesRight(Subview::kImageRegenerating, buffer, 40, false, u"a<b", nullptr);
    EXPECT_EQ(Narrow(buffer), "<IMG SRC=243>[a<</BODY>b]");
    m_page.SetImagesRight(Subview::kImageReminder | Subview::kImageNote, buffer, 30, true, nullptr, u"");
    EXPECT_EQ(Narrow(buffer), "<SPAN><IMG SRC=241></SPAN>"); // the second has no room
    m_page.SetImagesRight(Subview::kImageReminder, buffer, 20, true, nullptr, nullptr);
    EXPECT_EQ(Narrow(buffer), "");
    m_page.SetImagesRight(0, buffer, 40, true, nullptr, nullptr);
    EXPECT_EQ(Narrow(buffer), "");
}

TEST_F(WeekItem, PicturesOfTheLibraryComeByTheScreensDots) {
    for (const auto& [dots, side] : {std::pair{96, 16u}, {143, 16u}, {144, 32u}}) {
        PlatSetScreen({480, 640, dots});
        for (const WORD number :
             {kPictureTask, kPictureMeeting, kPictureAllDay, kPictureJournal, kPictureGoesOn, kPictureBegan,
              kPictureReminder, kPictureRecurring, kPictureRegenerating, kPicturePrivate, kPictureLinked,
              kPictureNote, kPictureQuickEntry}) {
            const PNGPicture picture(g_hResources, number);
            EXPECT_TRUE(picture.GetWidth() == side && picture.GetHeight() == side) << number;
        }
    }
    PlatSetScreen({});
}

TEST_F(WeekItem, GoesIntoTheGrid) {
    const HWND parent = PlainWindow(nullptr, WS_VISIBLE);
    CHTMLGrid grid;
    ASSERT_TRUE(grid.InitWindow(parent, {0, 0, 240, 320}, false, u"week"));
    grid.SetDimensions(2, 1);
    grid.CreateCells();
    const std::u16string text = u"Paint <red> " + Repeat(u"walls ", 20);
    for (const WORD row : {0, 1})
        Page().FormatWeekItem(Item(13, 60, 2, text.c_str()), grid, 0, row, 2,
                              row ? DWORD{Subview::kOneLine} : 0);
    WCHAR* const shown = grid.GetCellText(0, 0, true);
    EXPECT_EQ(Narrow(shown), Narrow(text.c_str()));
    free(shown);
    EXPECT_GT(grid.GetRowHeight(0, true), 2 * grid.GetRowHeight(1, true));
    DestroyWindow(parent);
}

// --- What users write ---------------------------------------------------------------------------------------------

// The visible texts of a row, joined; "|" for a break.
std::u16string Visible(const WCHAR* row, bool editableOnly = false) {
    CHTMLParser parser;
    parser.SetHTML(row);
    EXPECT_EQ(parser.ParseHTML(nullptr), 1);
    std::u16string text;
    for (const HTMLTOKEN& token : parser.Tokens()) {
        if (token.eType == TOKEN_TEXT && (token.bEditable || !editableOnly))
            text.append(token.pszText, token.nLength);
        if (token.eType == TOKEN_TAG) text += u'|';
    }
    return text;
}

TEST_F(WeekItem, SubjectsAndPlacesShowAsTheyAreWritten) {
    const std::unique_ptr<CeStrList<>> texts(Split(
        u"a<B>b\n1 < 2\n<\n<<\n<>\na<\n><\n<\"\n\"<B x=\"\n\"open\n</EDITABLE>x\n<A=\"x\">y\n<BR>\n<<<B>>>\n"
        u"<FONT COLOR=#FFFFFF>\na@b <a@b>\n&lt;&amp;\n%s%n%d\n<IMG SRC=219>\n<\u2022> done",
        u'\n'));
    ASSERT_EQ(texts->Count(), 20);
    for (const WCHAR* text : *texts) {
        const WCHAR* row = Page().BuildWeekItem(Item(13, 60, 2, text).Place(text), 2, Subview::kShowLocation);
        EXPECT_EQ(Narrow(Visible(row).c_str()), " 1:00p " + Narrow(text) + " [" + Narrow(text) + "]");
        EXPECT_EQ(Narrow(Visible(row, true).c_str()), Narrow(text)); // what an edit in the row would show
    }
}

TEST_F(WeekItem, SubjectsThatCantBeShownAreNotEditable) {
    using Text = std::u16string;
    const struct {
        const char* what;
        Text text;
        Text shown;
    } cases[] = {
        {"line breaks and controls", u"a\r\nb\tc\x01", u"a  b c "},
        {"a long one", Text(100000, u'x'), Text(3599, u'x') + u"\u2026"},
        {"8 characters of mark-up each", Text(9000, u'<'), Text(449, u'<') + u"\u2026"},
        {"pairs are not cut", u"x" + Repeat(u"\U0001F600", 5000),
         u"x" + Repeat(u"\U0001F600", 1799) + u"\u2026"},
    };
    for (const auto& test : cases) {
        const WCHAR* row = Page().BuildWeekItem(Item(13, 60, 2, test.text.c_str()).Place(u"Hall"), 2,
                                                Subview::kShowLocation);
        EXPECT_EQ(Narrow(Visible(row).c_str()), Narrow((u" 1:00p " + test.shown + u" [Hall]").c_str()))
            << test.what;
        EXPECT_EQ(Visible(row, true), u"") << test.what;
    }
}

// Everything at its longest still ends where it should.
TEST_F(WeekItem, LongestRow) {
    SetToRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, u"IconPath", u"\\Icons");
    std::filesystem::create_directories(HostPath("Icons"));
    std::u16string names;
    for (int i = 0; i < 60; ++i) {
        const std::string name = std::to_string(i) + std::string(70, 'c');
        std::ofstream(HostPath("Icons/" + name + ".bmp")) << "x";
        names += (i ? u", " : u"") + std::u16string(name.begin(), name.end());
    }
    Item item(13, 60, 2, std::u16string(9000, u'<').c_str());
    item.Categories(names.c_str()).Place(std::u16string(9000, u'<').c_str());
    item.m_bReminder = item.m_bHasNote = item.m_bPrivate = 1;
    item.m_szIcon = _wcsdup((u"\\" + std::u16string(254, u'i') + u".bmp").c_str());
    const std::u16string row = Page().BuildWeekItem(item, 2, Subview::kShowLocation);
    EXPECT_LT(row.size(), 10000u);
    EXPECT_TRUE(row.ends_with(u"]<SPAN><IMG SRC=241><IMG SRC=244><IMG SRC=207></SPAN>"));
}

// --- Tasks --------------------------------------------------------------------------------------------------------

struct TaskItem : Item {
    TaskItem(double due, LONG importance = 1, bool completed = false) : Item(0, 0) {
        m_nType = kLineTask;
        m_pTask = new DATATASKS;
        m_pTask->m_szSubject = _wcsdup(u"Paint <red>");
        m_pTask->m_dtDue = due;
        m_pTask->m_nImportance = importance;
        m_pTask->m_bCompleted = completed;
    }
};

TEST_F(WeekItem, Tasks) {
    const struct {
        TaskItem item;
        const char* row;
    } cases[] = {
        {{kFriday + 3},
         "[FFFFFF>{000000><IMG SRC=247> Paint <</BODY>red> <U><A=\"Due\">3d</A></U><SPAN>[11/23]</SPAN>"},
        {{kFriday - 12, 2},
         "[FFCCCC>{FF0000><IMG SRC=247> ! Paint <</BODY>red> <U><A=\"Due\">-12</A></U><SPAN>[11/08]</SPAN>"},
        {{kFriday},
         "[CCFFCC>{000000><IMG SRC=247> Paint <</BODY>red> <U><A=\"Due\">D!</A></U><SPAN>[11/20]</SPAN>"},
        {{kFriday - 1, 2, true}, "[AAAAAA>{3f3f3f><S><IMG SRC=10> ! Paint <</BODY>red><SPAN>[11/19]</SPAN>"},
        {{kFriday + 1, 2},
         "[FFFF74>{000000><IMG SRC=247> ! Paint <</BODY>red> <U><A=\"Due\">1d</A></U><SPAN>[11/21]</SPAN>"},
        {{kNoDate}, "[bdc4fe>{000000><IMG SRC=247> Paint <</BODY>red>"},
    };
    for (const auto& test : cases) EXPECT_EQ(Row(test.item), test.row);

    TaskItem item(kFriday - 1, 0);
    wcscpy(item.m_pTask->m_szPriorityLetter, u"<A");
    wcscpy(item.m_pTask->m_szPriorityNumber, u"12");
    item.m_pTask->m_wFlag8 = 1;
    item.m_pTask->m_dtReminder = kFriday + 1 + 9.5 / 24;
    Set(u"Colors", u"CAV_TaskUseOverdueColors", 0u); // the next that holds
    Set(u"Fonts", u"CAV_TaskImportanceStyle", u"<U><I>");
    EXPECT_EQ(Row(item),
              "[93B5F0>{000000><U><I><IMG SRC=247> ↓ <</BODY>A12 Paint <</BODY>red> <U><A=\"Due\">-1</A></U>"
              "<SPAN><IMG SRC=241>[11/19][11/21 9:30a]</SPAN>");
    item.m_pTask->m_dtReminder = kFriday + 9.5 / 24;
    for (const WCHAR* name :
         {u"ShowTaskDates", u"ShowTaskPriority", u"ShowTaskImportance", u"ShowTaskDaysToDue"})
        Set(u"CAV", name, 0u);
    Set(u"TV", u"TV_ShowCheckbox", 0u);
    EXPECT_EQ(Row(item), "[93B5F0>{000000><U><I> Paint <</BODY>red><SPAN><IMG SRC=241>[9:30a]</SPAN>");
}

// --- Settings -----------------------------------------------------------------------------------------------------

TEST_F(WeekItem, ColorsFallBackOnTheirDefaults) {
    const struct {
        const WCHAR* setting;
        const char* text;
        COLORREF value;
    } cases[] = {
        {u"#abcdef", "#abcdef", 0xEFCDAB},   {u"102030", "#102030", 0x302010},
        {u"#000000", "#000000", 0x010101},   {u"", "#F6FFA6", 0xA6FFF6},
        {u"#10203<", "#F6FFA6", 0xA6FFF6},   {u"#F0", "#0000F0", 0xF00000},
        {u"#12345678", "#F6FFA6", 0xA6FFF6},
    };
    for (const auto& test : cases) {
        Set(u"Colors", u"CAV_TodayColor", test.setting);
        EXPECT_EQ(Narrow(Page().Colors().Text(kColorToday)), test.text) << Narrow(test.setting);
        EXPECT_EQ(Page().Colors().Value(kColorToday), test.value) << Narrow(test.setting);
    }
    Set(u"Colors", u"crMVFree", 0x1000000u);
    Set(u"Colors", u"crMVTentative", 0x030201u);
    EXPECT_EQ(Page().Colors().OfStatus(0).cr, 0x5FFF74u);
    EXPECT_EQ(Narrow(Page().Colors().OfStatus(1).szText), "#010203");
    for (const WCHAR* style : {u"<B", u"B>", u"<>", u"<A=\"x>", u"<B>x", u"<<B>"}) {
        Set(u"Fonts", u"CAV_TaskDefaultStyle", style);
        EXPECT_EQ(Narrow(Page().Colors().StyleOf(kTaskPlain)), "") << Narrow(style);
    }
    Set(u"Fonts", u"CAV_TaskDefaultStyle", u"<B><FONT COLOR=#FF0000>");
    EXPECT_EQ(Narrow(Page().Colors().StyleOf(kTaskPlain)), "<B><FONT COLOR=#FF0000>");
}

TEST_F(WeekItem, OptionsFallBackOnOtherKeys) {
    const auto options = [&] { return std::pair(Page().Option(kTouchInterface), Page().Option(kAppLayout)); };
    EXPECT_EQ(options().first, 1u);
    SetToRegistry(HKEY_CURRENT_USER, kSuiteKey, u"DefaultTouchMode", 0);
    SetToRegistry(HKEY_CURRENT_USER, kSuiteKey, u"AppLayout", 4);
    EXPECT_EQ(options(), std::pair(0u, 4u));
    Set(u"CAV", u"TouchInterface", 1u);
    Set(u"CAV", u"AppLayout", 2u);
    EXPECT_EQ(options(), std::pair(1u, 2u));
}

TEST_F(WeekItem, FilterOfTheAgenda) {
    const struct {
        const WCHAR *categories, *wanted, *unwanted;
        bool shown;
    } cases[] = {
        {nullptr, nullptr, nullptr, true},        {u"Work", u"", u"", true},
        {u"Home, Work", u"Work", nullptr, true},  {u"Workout", u"Work", nullptr, false},
        {nullptr, u"Work", nullptr, false},       {u"Work", nullptr, u"Home, Work", false},
        {u"Work, Home", u"Work", u"Home", false}, {u"Work", u"Work", u"Home", true},
    };
    for (const auto& test : cases)
        EXPECT_EQ(Page().FilterAgendaCategory(test.categories, test.wanted, test.unwanted), test.shown);
    AddCategory(u"Work");
    ResetFullCategoryList();
    CCategoryFilterInfo filter;
    ConvertCategoryToCFullCategory(u"Work", filter.m_list);
    Page().SetFilter(&filter);
    EXPECT_TRUE(m_page.FilterAgendaCategory(u"Home, Work", nullptr, nullptr));
    EXPECT_FALSE(m_page.FilterAgendaCategory(u"Home", nullptr, nullptr));
}

} // namespace
