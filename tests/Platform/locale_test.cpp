#include "Platform/locale.h"

#include "Platform/clock.h"
#include "Platform/host/collation.h"
#include "Platform/strings.h"
#include "Platform/testing.h"
#include "Platform/threads.h"
#include "tests/support/narrow.h"

#include <gtest/gtest.h>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr SYSTEMTIME kAfternoon{2007, 3, 3, 14, 15, 5, 9, 0}; // a Wednesday
constexpr SYSTEMTIME kMidnight{2010, 12, 0, 5, 0, 7, 0, 0};

std::string DateText(DWORD flags, const SYSTEMTIME& date, const WCHAR* picture = nullptr) {
    WCHAR text[128] = u"";
    const int size = GetDateFormatW(LOCALE_USER_DEFAULT, flags, &date, picture, text, 128);
    EXPECT_EQ(size, static_cast<int>(wcslen(text)) + 1);
    EXPECT_EQ(GetDateFormatW(LOCALE_USER_DEFAULT, flags, &date, picture, nullptr, 0), size);
    return Narrow(text);
}
std::string TimeText(DWORD flags, const SYSTEMTIME& time, const WCHAR* picture = nullptr) {
    WCHAR text[128] = u"";
    const int size = GetTimeFormatW(LOCALE_USER_DEFAULT, flags, &time, picture, text, 128);
    EXPECT_EQ(size, static_cast<int>(wcslen(text)) + 1);
    return Narrow(text);
}
std::string Item(DWORD item) {
    WCHAR text[128] = u"";
    GetLocaleInfoW(LOCALE_USER_DEFAULT, item, text, 128);
    return Narrow(text);
}

class LocaleTest : public ::testing::Test {
protected:
    ~LocaleTest() override { PlatSetLocale(""); }
};

TEST_F(LocaleTest, DatesAndTimesOfLocales) {
    struct {
        const char *locale, *shortDate, *longDate, *time, *noSeconds;
    } const cases[] = {
        {"en_US", "3/14/07", "Wednesday, March 14, 2007", "3:05:09 PM", "3:05 PM"},
        {"de_DE", "14.03.07", "Mittwoch, 14. März 2007", "15:05:09", "15:05"},
        {"fr_FR", "14/03/2007", "mercredi 14 mars 2007", "15:05:09", "15:05"},
        {"es_ES", "14/3/07", "miércoles, 14 de marzo de 2007", "15:05:09", "15:05"},
        {"ja_JP", "2007/03/14", "2007年3月14日水曜日", "15:05:09", "15:05"},
        {"ru_RU", "14.03.2007", "среда, 14 марта 2007 г.", "15:05:09", "15:05"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.locale);
        PlatSetLocale(c.locale);
        EXPECT_EQ(DateText(DATE_SHORTDATE, kAfternoon), c.shortDate);
        EXPECT_EQ(DateText(DATE_LONGDATE, kAfternoon), c.longDate);
        EXPECT_EQ(TimeText(0, kAfternoon), c.time);
        EXPECT_EQ(TimeText(TIME_NOSECONDS, kAfternoon), c.noSeconds);
    }
}

TEST_F(LocaleTest, TimeFlags) {
    PlatSetLocale("en_US");
    EXPECT_EQ(TimeText(TIME_FORCE24HOURFORMAT, kAfternoon), "15:05:09");
    EXPECT_EQ(TimeText(TIME_FORCE24HOURFORMAT | TIME_NOSECONDS, kMidnight), "0:07");
    EXPECT_EQ(TimeText(TIME_NOTIMEMARKER, kAfternoon), "3:05:09");
    EXPECT_EQ(TimeText(TIME_NOMINUTESORSECONDS, kAfternoon), "3 PM");
    EXPECT_EQ(TimeText(TIME_NOSECONDS, kMidnight), "12:07 AM");
    PlatSetLocale("ko_KR"); // the mark stands in front
    EXPECT_EQ(TimeText(TIME_NOSECONDS, kAfternoon), "오후 3:05");
    EXPECT_EQ(TimeText(TIME_NOSECONDS | TIME_NOTIMEMARKER, kAfternoon), "3:05");
}

TEST_F(LocaleTest, Pictures) {
    PlatSetLocale("en_US");
    struct {
        const WCHAR* picture;
        const char* date;
    } const dates[] = {
        {u"d dd ddd dddd", "14 14 Wed Wednesday"},
        {u"M MM MMM MMMM", "3 03 Mar March"},
        {u"y yy yyyy", "7 07 2007"},
        {u"MMMDddd", "MarDWed"},
        {u"HH:mm", "HH:mm"},
        {u"'d ''quoted''' d", "d 'quoted' 14"},
        {u"'open d", "open d"},
        {u"", ""},
    };
    for (const auto& c : dates) EXPECT_EQ(DateText(0, kAfternoon, c.picture), c.date) << Narrow(c.picture);
    struct {
        const WCHAR* picture;
        const char* time;
    } const times[] = {
        {u"MMHHmmss", "MM150509"},
        {u"h hh H HH", "3 03 15 15"},
        {u"m mm s ss", "5 05 9 09"},
        {u"t tt", "P PM"},
        {u"d'h'", "dh"},
    };
    for (const auto& c : times) EXPECT_EQ(TimeText(0, kAfternoon, c.picture), c.time) << Narrow(c.picture);
    PlatSetLocale("ru_RU");
    EXPECT_EQ(DateText(0, kAfternoon, u"d MMMM"), "14 марта");
    EXPECT_EQ(DateText(0, kAfternoon, u"MMMM yyyy"), "март 2007");
    EXPECT_EQ(DateText(0, kAfternoon, u"dddd MMMM"), "среда март") << "a weekday is no day of the month";
}

TEST_F(LocaleTest, FormatsRefuseWhatIsNoDateAndSmallBuffers) {
    PlatSetLocale("en_US");
    WCHAR text[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    const SYSTEMTIME june31{2007, 6, 0, 31, 0, 0, 0, 0};
    const SYSTEMTIME hour24{2007, 6, 0, 30, 24, 0, 0, 0};
    EXPECT_EQ(GetDateFormatW(1024, 0, &june31, nullptr, text, 8), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(GetTimeFormatW(1024, 0, &hour24, nullptr, text, 8), 0);
    EXPECT_EQ(GetDateFormatW(1024, 0, &kAfternoon, nullptr, text, 7), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(text[7], 1) << "nothing behind the buffer";
    EXPECT_EQ(GetDateFormatW(1024, 0, &kAfternoon, nullptr, text, 8), 8);
}

TEST_F(LocaleTest, Items) {
    struct {
        const char *locale, *measure, *order, *hours, *dateSign, *timeSign, *morning, *afternoon, *firstDay;
    } const cases[] = {
        {"en_US", "1", "0", "0", "/", ":", "AM", "PM", "6"},
        {"en_GB", "0", "1", "1", "/", ":", "am", "pm", "0"},
        {"de_DE", "0", "1", "1", ".", ":", "AM", "PM", "0"},
        {"ja_JP", "0", "2", "1", "/", ":", "午前", "午後", "6"},
        {"fi_FI", "0", "1", "1", ".", ".", "ap.", "ip.", "0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.locale);
        PlatSetLocale(c.locale);
        EXPECT_EQ(Item(LOCALE_IMEASURE), c.measure);
        EXPECT_EQ(Item(LOCALE_IDATE), c.order);
        EXPECT_EQ(Item(LOCALE_ITIME), c.hours);
        EXPECT_EQ(Item(LOCALE_SDATE), c.dateSign);
        EXPECT_EQ(Item(LOCALE_STIME), c.timeSign);
        EXPECT_EQ(Item(LOCALE_S1159), c.morning);
        EXPECT_EQ(Item(LOCALE_S2359), c.afternoon);
        EXPECT_EQ(Item(LOCALE_IFIRSTDAYOFWEEK), c.firstDay);
    }
    PlatSetLocale("de_DE");
    EXPECT_EQ(Item(LOCALE_SDAYNAME1), "Montag");
    EXPECT_EQ(Item(LOCALE_SDAYNAME1 + 6), "Sonntag");
    EXPECT_EQ(Item(LOCALE_SMONTHNAME1 + 11), "Dezember");
    EXPECT_EQ(GetUserDefaultLCID(), 0x0407u);
    EXPECT_EQ(GetSystemDefaultLCID(), 0x0409u);
    DWORD number = 99;
    EXPECT_EQ(GetLocaleInfoW(1024, LOCALE_ITIME | LOCALE_RETURN_NUMBER, reinterpret_cast<WCHAR*>(&number), 2),
              2);
    EXPECT_EQ(number, 1u);
    WCHAR text[2];
    EXPECT_EQ(GetLocaleInfoW(1024, LOCALE_SDAYNAME1, text, 2), 0);
    EXPECT_EQ(GetLastError(), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(GetLocaleInfoW(1024, 0xABCD, text, 2), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(GetLocaleInfoW(0x0409, LOCALE_ITIME, text, 2), 2);
    EXPECT_EQ(text[0], u'0') << "a locale by its number, whatever the device's is";
}

TEST_F(LocaleTest, EnvironmentChoosesTheLocale) {
    struct {
        const char *all, *time, *lang, *date;
    } const cases[] = {
        {"", "", "de_DE.UTF-8", "14.03.07"},
        {"", "fr_FR@euro", "de_DE", "14/03/2007"},
        {"en_US", "fr_FR", "de_DE", "3/14/07"},
        {"C", "fr_FR", "", "3/14/07"},
        {"", "", "POSIX", "3/14/07"},
        {"", "", "C.UTF-8", "3/14/07"},
        {"", "", "", "3/14/07"},
        {"xx_YY", "", "", "3/14/07"},
    };
    for (const auto& c : cases) {
        setenv("LC_ALL", c.all, 1);
        setenv("LC_TIME", c.time, 1);
        setenv("LANG", c.lang, 1);
        PlatSetLocale("");
        EXPECT_EQ(DateText(DATE_SHORTDATE, kAfternoon), c.date) << c.all << "|" << c.time << "|" << c.lang;
    }
    for (const char* name : {"LC_ALL", "LC_TIME", "LANG"}) unsetenv(name);
}

// --- Comparison -----------------------------------------------------------------------------------------------------

int Compare(DWORD flags, const WCHAR* a, const WCHAR* b) {
    return CompareStringW(LOCALE_USER_DEFAULT, flags, a, -1, b, -1) - 2;
}

TEST_F(LocaleTest, ComparesByFlags) {
    PlatSetLocale("en_US");
    constexpr DWORD kString = SORT_STRINGSORT;
    constexpr DWORD kLoose = 0x30007;
    struct {
        DWORD flags;
        const WCHAR *a, *b;
        int order;
    } const cases[] = {
        {0, u"apple", u"Banana", -1},
        {0, u"a", u"A", -1},
        {0, u"A", u"b", -1},
        {0, u"résumé", u"resume", 1},
        {0, u"résumé", u"resumes", -1},
        {0, u"", u"a", -1},
        {0, u"coop", u"co-ops", -1},
        {kString, u"coop", u"co-ops", 1},
        {0, u"co-op", u"coop", -1},
        {0, u"its", u"it's", 1},
        {0, u"it's", u"itself", -1},
        {0, u"a-b", u"a-b", 0},
        {1, u"NORVO", u"norvo", 0},
        {1, u"é", u"e", 1},
        {kString | 1, u"NORVO", u"norvo", 0},
        {kString, u"NORVO", u"norvo", 1},
        {2, u"é", u"e", 0},
        {2, u"E", u"e", 1},
        {3, u"É", u"e", 0},
        {4, u"(a)", u"a", 0},
        {kLoose, u"Ö-b", u"ob", 0},
        {kLoose, u"カ", u"か", 0},
        {0, u"カ", u"か", 1},
        {0x10000, u"カ", u"か", 0},
        {0x20000, u"Ａ", u"A", 0},
        {0, u"Ａ", u"A", 1},
        {0x20000, u"ｶ", u"カ", 0},
        {0x30000, u"ｶ", u"か", 0},
        {0x20000, u"Ａ", u"a", 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Compare(c.flags, c.a, c.b), c.order)
            << std::hex << c.flags << " " << Narrow(c.a) << " " << Narrow(c.b);
        EXPECT_EQ(Compare(c.flags, c.b, c.a), -c.order)
            << std::hex << c.flags << " " << Narrow(c.b) << " " << Narrow(c.a);
    }
}

TEST_F(LocaleTest, ComparesInTheLanguage) {
    PlatSetLocale("sv_SE");
    EXPECT_EQ(Compare(0, u"ö", u"z"), 1);
    EXPECT_EQ(Compare(SORT_STRINGSORT, u"ö", u"z"), 1);
    EXPECT_EQ(CompareStringW(0x0407, 0, u"ö", -1, u"z", -1), CSTR_LESS_THAN);
    PlatSetLocale("de_DE");
    EXPECT_EQ(Compare(0, u"ö", u"z"), -1);
    PlatSetLocale("da_DK");
    EXPECT_EQ(Compare(0, u"a", u"A"), -1) << "small first, also where a language wants capitals first";
}

TEST_F(LocaleTest, ComparesByLength) {
    EXPECT_EQ(CompareStringW(1024, 0, u"abcX", 3, u"abcY", 3), CSTR_EQUAL);
    EXPECT_EQ(CompareStringW(1024, 0, u"abc", 0, u"a", 0), CSTR_EQUAL);
    EXPECT_EQ(CompareStringW(1024, 0, nullptr, -1, u"a", -1), 0);
    EXPECT_EQ(CompareStringW(1024, 0, u"\xD800", -1, u"\xDC00", -1), CSTR_LESS_THAN)
        << "halves of pairs have an order";
}

TEST_F(LocaleTest, ThreadsShareComparers) {
    PlatSetLocale("fr_FR");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([] {
            for (DWORD flags : {0u, 1u, 2u, 4u, 0x1000u, 0x1001u, 0x30007u})
                for (int i = 0; i < 200; ++i) EXPECT_EQ(Compare(flags, u"alpha", u"beta"), -1);
        });
    for (auto& thread : threads) thread.join();
}

TEST_F(LocaleTest, KeysCompareAsTheirTexts) {
    const plat::Collation& german = plat::CollationOf("de_DE");
    EXPECT_EQ(german.Locale(), "de_DE");
    EXPECT_EQ(&german, &plat::CollationOf("de_DE"));
    EXPECT_NE(german.Id(), plat::CollationOf("sv_SE").Id());
    const std::u16string texts[] = {u"",
                                    u"-",
                                    u"a",
                                    u"Ä",
                                    u"ab",
                                    u"A-b",
                                    u"ß",
                                    u"SS",
                                    u"z",
                                    u"\xD83D\xDE00",
                                    u"\xD800",
                                    std::u16string(5000, u'ü'),
                                    std::u16string(u"a\0b", 3)};
    for (const auto& a : texts)
        for (const auto& b : texts) {
            std::vector<BYTE> left{42}, right{42};
            german.AppendKey(a, left);
            german.AppendKey(b, right);
            const int byKey = left < right ? -1 : left > right;
            EXPECT_EQ(byKey, german.Compare(a, b)) << Narrow(a.c_str()) << " " << Narrow(b.c_str());
            EXPECT_EQ(std::count(left.begin(), left.end(), 0), 0);
        }
    std::vector<BYTE> small, capital;
    german.AppendKey(u"norvo", small);
    german.AppendKey(u"NORVO", capital);
    EXPECT_EQ(small, capital);
}

} // namespace
