// The bar of a day: half hours, conflicts, free time, and its pixels.
#include "tests/QNNewEditUI/calendarpage.h"
#include "Platform/windows.h"
#include "tests/support/canvas.h"

#include <cmath>
#include <sstream>

namespace {

class TimeBar : public CalendarPage {
protected:
    // "9=-B 10-11=BB": the hours that hold something, each half by its colour; runs of equal hours together.
    static std::string Bar(const CDataMonth& day) {
        static const std::map<COLORREF, char> letters = {{0x5FFF74, 'F'}, {0xFEA26C, 'T'}, {0xFF0000, 'B'},
                                                         {0x82051B, 'O'}, {0x0000FF, '!'}, {0x00A000, 'C'}};
        const auto halves = [&](int hour) {
            std::string text;
            for (int half = 0; half < 2; ++half)
                text += day.bHalfUsed[hour][half] ? letters.at(day.crHalf[hour][half]) : '-';
            return text;
        };
        std::ostringstream out;
        for (int hour = 0; hour < 24; ++hour) {
            const int first = hour;
            while (hour < 23 && halves(hour + 1) == halves(first)) ++hour;
            if (halves(first) == "--") continue;
            out << (out.tellp() > 0 ? " " : "") << first;
            if (hour > first) out << "-" << hour;
            out << "=" << halves(first);
        }
        return out.str();
    }
    static std::string Free(const CDataMonth& day) {
        std::ostringstream out;
        const auto time = [&](double part) {
            const long minutes = std::lround(part * 1440);
            out << minutes / 60 << ":" << minutes % 60 / 10 << minutes % 10;
        };
        for (const auto& [start, end] : day.FreeTime) {
            if (out.tellp() > 0) out << " ";
            time(start);
            out << "-";
            time(end);
        }
        return out.str();
    }
};

TEST_F(TimeBar, HalfHoursOfOneItem) {
    const struct {
        const char* what;
        Item item;
        LONG day;
        const char* bar;
        const char* parts; // of the day
    } cases[] = {
        {"from and to within half hours", {9 + 40 / 60.0, 30}, kFriday, "9=-B 10=B-", "am"},
        {"to the full hour", {9, 60}, kFriday, "9=BB", "am"},
        {"to one past half past", {9, 31}, kFriday, "9=BB", "am"},
        {"no length", {14, 0, 1}, kFriday, "14=T-", "pm"},
        {"up to noon counts as afternoon", {10, 120, 0}, kFriday, "10-11=FF", "am pm"},
        {"through noon", {11.5, 60, 3}, kFriday, "11=-O 12=O-", "am pm"},
        {"over midnight", {23.75, 60}, kFriday, "23=-B", "pm"},
        {"the next day, to a quarter to one", {23.75, 60}, kFriday + 1, "0=B-", "am"},
        {"middle of three days", {10, 2850}, kFriday + 1, "0-23=BB", "am pm"},
        {"last of three days, to half past nine: whole hours", {10, 2850}, kFriday + 2, "0-8=BB", "am"},
        {"first day, when the end is late", {10, 3480}, kFriday, "10-13=BB", "am pm"},
        {"a length that can't be", {9, -2147483647}, kFriday, "9=B-", "am"},
        {"no date", {NAN, 60}, kFriday, "0=BB", "am"},
        {"a number that is no status", {9, 60, 77}, kFriday, "9=BB", "am"},
        {"a number below all", {9, 60, -9}, kFriday, "9=FF", "am"},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.what);
        CDataMonth day;
        Page().SetupBarDataStruct(day, test.item, test.day, false);
        EXPECT_EQ(Bar(day), test.bar);
        EXPECT_EQ(std::string(day.bHasAM ? "am" : "") + (day.bHasAM && day.bHasPM ? " " : "") +
                      (day.bHasPM ? "pm" : ""),
                  test.parts);
        EXPECT_EQ(day.bHasBar, 1);
    }
}

TEST_F(TimeBar, OnlyTimedAppointmentsTakePart) {
    CDataMonth day;
    Page().SetWantFreeTime(true);
    Page().SetupBarDataStruct(day, Item(9, 60).AllDay(), kFriday, false);
    for (LONG type : {kLineTask, kLineJournal, kLineContactDate})
        Page().SetupBarDataStruct(day, Item(9, 60).Type(type), kFriday, false);
    EXPECT_EQ(Bar(day), "");
    EXPECT_EQ(Free(day), "0:00-24:00");
    EXPECT_EQ(day.bHasBar, 0);
}

TEST_F(TimeBar, WhenItemsMeet) {
    constexpr LONG kFree = 0, kTentative = 1, kBusy = 2, kOut = 3;
    const struct {
        std::vector<LONG> statuses; // of items at the same hour, one after another
        const char* bar;
    } cases[] = {
        {{kBusy, kOut}, "9=!!"},       {{kBusy, kFree}, "9=BB"},           {{kFree, kBusy}, "9=BB"},
        {{kTentative, kBusy}, "9=BB"}, {{kTentative, kTentative}, "9=TT"}, {{kOut, kOut, kTentative}, "9=!!"},
    };
    for (const auto& test : cases) {
        CDataMonth day;
        for (LONG status : test.statuses) Page().SetupBarDataStruct(day, Item(9, 60, status), kFriday, false);
        EXPECT_EQ(Bar(day), test.bar) << "of " << testing::PrintToString(test.statuses);
        EXPECT_EQ(day.nHalfStatus[9][0], *std::max_element(test.statuses.begin(), test.statuses.end()));
    }
    CDataMonth day; // side by side
    Page().SetupBarDataStruct(day, Item(9, 60), kFriday, false);
    Page().SetupBarDataStruct(day, Item(9.5, 60), kFriday, false);
    EXPECT_EQ(Bar(day), "9=B! 10=B-");
}

TEST_F(TimeBar, CategoryColors) {
    Color(u"Garden", 0x00A000);
    Item garden(9, 60);
    garden.Categories(u"Else, Garden");
    for (const bool wanted : {true, false}) {
        CDataMonth day;
        Page().SetupBarDataStruct(day, garden, kFriday, wanted);
        Page().SetupBarDataStruct(day, Item(11, 60).Categories(u"Else"), kFriday, wanted);
        EXPECT_EQ(Bar(day), wanted ? "9=CC 11=BB" : "9=BB 11=BB");
        Page().SetupBarDataStruct(day, garden, kFriday, wanted);
        EXPECT_EQ(Bar(day), "9=!! 11=BB");
    }
}

TEST_F(TimeBar, FreeTime) {
    const struct {
        const char* what;
        std::vector<std::pair<double, double>> items; // from, to
        const char* free;
    } cases[] = {
        {"elsewhere: the working hours", {{5, 6}}, "8:00-17:00"},
        {"from before the start", {{7, 9}}, "9:00-17:00"},
        {"beyond the end", {{16, 18}}, "8:00-16:00"},
        {"more than all", {{7, 18}}, ""},
        {"across a gap", {{9, 10}, {9.5, 11}}, "8:00-9:00 11:00-17:00"},
        {"across two pieces", {{9, 10}, {8.5, 10.5}}, "8:00-8:30 10:30-17:00"},
        {"a piece goes, the next is cut", {{9, 10}, {7, 11}}, "11:00-17:00"},
        {"no time at all", {{9, 9}}, "8:00-9:00 9:00-17:00"},
    };
    for (const auto& test : cases) {
        CDataMonth day;
        Page().SetWantFreeTime(true);
        for (const auto& [from, to] : test.items)
            Page().SetupBarDataStruct(day, Item(from, std::lround((to - from) * 60), 0), kFriday, false);
        EXPECT_EQ(Free(day), test.free) << test.what;
    }
}

TEST_F(TimeBar, WorkingHours) {
    Set(u"CAV", u"HourStartWork_5", 830);
    Set(u"CAV", u"HourEndWork_5", 1715);
    Set(u"CAV", u"HourStartWork_6", 900); // an end before it moves up
    Set(u"CAV", u"HourEndWork_6", 700);
    Set(u"CAV", u"HourStartWork_0", 2401); // no time: the default
    Set(u"CAV", u"HourEndWork_0", 2400);
    CCalendarSubview& page = Page();
    page.SetWantFreeTime(true);
    const char* const expected[] = {"8:30-17:15", "9:00-9:00", "8:00-24:00", "8:00-17:00"};
    for (int i = 0; i < 4; ++i) { // Friday, Saturday, Sunday, Monday
        CDataMonth day;
        page.SetupBarDataStruct(day, Item(24 * i + 5, 60), kFriday + i, false);
        EXPECT_EQ(Free(day), expected[i]);
    }
    double kept = 0;
    EXPECT_TRUE(page.SetWorkDay(5, CCalendarSubview::kWorkEnd, kept, 1830));
    EXPECT_DOUBLE_EQ(kept, 18.30);
    EXPECT_EQ(page.WorkMinute(5, CCalendarSubview::kWorkEnd), 18 * 60 + 30);
    EXPECT_EQ(Page().WorkMinute(5, CCalendarSubview::kWorkEnd), 18 * 60 + 30); // read again
    EXPECT_FALSE(page.SetWorkDay(7, CCalendarSubview::kWorkEnd, kept, 1830));
    EXPECT_FALSE(page.SetWorkDay(5, CCalendarSubview::kWorkEnd, kept, 2401));
}

// 240 pixels: 10 an hour. Working hours from 8 to 17.
TEST_F(TimeBar, Pixels) {
    constexpr COLORREF kFrame = 0xABABAB, kWork = 0xCEFFFF, kBusyColor = 0xFF0000, kOther = 0x123456;
    CDataMonth day;
    static_cast<SYSTEMTIME&>(day) = {2026, 11, 5, 20, 0, 0, 0, 0};
    Page().SetupBarDataStruct(day, Item(9, 90), kFriday, false);
    const struct {
        const char* what;
        int x, y;
        COLORREF full, small;
    } probes[] = {
        {"beside the bar", 0, 10, kOther, kOther},
        {"frame left", 1, 10, kFrame, kFrame},
        {"frame bottom", 50, 20, kFrame, kFrame},
        {"before work", 80, 10, kWhite, kWhite},
        {"work begins", 81, 10, kWork, kWork},
        {"nine, first half", 91, 10, kBusyColor, kBusyColor},
        {"the small form is lower", 91, 3, kBusyColor, kWork},
        {"between the halves", 96, 10, kWork, kWork},
        {"nine, second half", 97, 10, kBusyColor, kBusyColor},
        {"ten, first half", 105, 10, kBusyColor, kBusyColor},
        {"noon", 121, 10, kFrame, kRed}, // and now
        {"the tick of noon", 121, 19, kFrame, 0},
        {"now", 123, 10, kRed, kRed},
        {"after now", 124, 10, kWork, kWork},
        {"after work", 171, 10, kWhite, kWhite},
    };
    for (const auto form : {CCalendarSubview::kBarFull, CCalendarSubview::kBarSmall}) {
        Canvas canvas(260, 30);
        const RECT all{0, 0, 260, 30};
        const HBRUSH other = CreateSolidBrush(kOther);
        FillRect(canvas, &all, other);
        DeleteObject(other);
        EXPECT_EQ(CCalendarSubview::OwnerDrawCellFullRowTimeBar(Page(), form, day, canvas, {1, 1, 241, 21},
                                                                nullptr),
                  1);
        for (const auto& probe : probes)
            EXPECT_EQ(canvas.At(probe.x, probe.y),
                      form == CCalendarSubview::kBarFull ? probe.full : probe.small)
                << probe.what << (form == CCalendarSubview::kBarFull ? ", full" : ", small");
    }
}

// 24 of 240 pixels in the system's colour of selections, 150 parts of 255 over white.
TEST_F(TimeBar, SelectedSpan) {
    Canvas canvas(240, 20);
    const auto paint = [&](double top, double bottom) {
        Page().SetSelectedSpan(top, bottom);
        CCalendarSubview::OwnerDrawCellFullRowTimeBar(m_page, CCalendarSubview::kBarFull, CDataMonth(),
                                                      canvas, {0, 0, 240, 20}, nullptr);
    };
    const COLORREF selection = GetSysColor(13);
    paint(0.1, 0.2);
    EXPECT_EQ(canvas.At(23, 10), kWhite);
    EXPECT_EQ(canvas.At(48, 10), kWhite);
    for (const int x : {24, 47})
        for (const int shift : {0, 8, 16})
            EXPECT_NEAR((canvas.At(x, 10) >> shift) & 0xFF,
                        (150 * ((selection >> shift) & 0xFF) + 105 * 255) / 255.0, 1.01);
    m_page.InitTabVars();                                      // forgets it
    paint(m_page.WorkDay(0, CCalendarSubview::kWorkStart), 7); // beyond the day: no span
    EXPECT_EQ(canvas.At(30, 10), kWhite);
}

TEST_F(TimeBar, HourSpots) {
    Canvas canvas(120, 20);
    HTMLHotSpots spots;
    CCalendarSubview::OwnerDrawCellFullRowTimeBar(Page(), CCalendarSubview::kBarFull, CDataMonth(), canvas,
                                                  {10, 5, 110, 15}, &spots); // 4 1/6 pixels an hour
    ASSERT_EQ(spots.size(), 24u);
    EXPECT_EQ(Narrow(spots[0].szText), "33493");
    EXPECT_EQ(Narrow(spots[23].szText), "33516");
    const RECT noon{50, 0, 54, 10};
    EXPECT_TRUE(EqualRect(&spots[12].rect, &noon));
    for (std::size_t i = 1; i < spots.size(); ++i) EXPECT_EQ(spots[i].rect.left, spots[i - 1].rect.right);
    EXPECT_EQ(spots[23].rect.right, 100);
}

} // namespace
