#include "Platform/locale.h"

#include "Platform/clock.h"
#include "Platform/host/collation.h"
#include "Platform/strings.h"
#include "Platform/testing.h"
#include "Platform/threads.h"
#include "tests/support/errorof.h"
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
    const struct {
        const char* locale;
        const WCHAR* picture;
        const char* text;
    } cases[] = {{"en_US", u"d dd ddd dddd", "14 14 Wed Wednesday"},
                 {"en_US", u"M MM MMM MMMM", "3 03 Mar March"},
                 {"en_US", u"y yy yyyy", "7 07 2007"},
                 {"en_US", u"MMMDddd", "MarDWed"},
                 {"en_US", u"'d ''quoted''' d", "d 'quoted' 14"},
                 {"en_US", u"'open d", "open d"},
                 {"en_US", u"", ""},
                 {"ru_RU", u"d MMMM", "14 марта"},
                 {"ru_RU", u"MMMM yyyy", "март 2007"},
                 {"ru_RU", u"dddd MMMM", "среда март"}}; // a weekday is no day of the month
    const std::pair<const WCHAR*, const char*> times[] = {{u"MMHHmmss", "MM150509"},
                                                          {u"h hh H HH", "3 03 15 15"},
                                                          {u"m mm s ss", "5 05 9 09"},
                                                          {u"t tt", "P PM"},
                                                          {u"d'h'", "dh"}};
    for (const auto& c : cases) {
        PlatSetLocale(c.locale);
        EXPECT_EQ(DateText(0, kAfternoon, c.picture), c.text) << Narrow(c.picture);
    }
    PlatSetLocale("en_US");
    for (const auto& [picture, text] : times)
        EXPECT_EQ(TimeText(0, kAfternoon, picture), text) << Narrow(picture);
    EXPECT_EQ(DateText(0, kAfternoon, u"HH:mm"), "HH:mm");
}

TEST_F(LocaleTest, FormatsRefuseWhatIsNoDateAndSmallBuffers) {
    PlatSetLocale("en_US");
    WCHAR text[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    const SYSTEMTIME june31{2007, 6, 0, 31, 0, 0, 0, 0};
    const SYSTEMTIME hour24{2007, 6, 0, 30, 24, 0, 0, 0};
    EXPECT_EQ(ErrorOf(GetDateFormatW(1024, 0, &june31, nullptr, text, 8)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(GetTimeFormatW(1024, 0, &hour24, nullptr, text, 8), 0);
    EXPECT_EQ(ErrorOf(GetDateFormatW(1024, 0, &kAfternoon, nullptr, text, 7)), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(text[7], 1) << "nothing behind the buffer";
    EXPECT_EQ(GetDateFormatW(1024, 0, &kAfternoon, nullptr, text, 8), 8);
}

TEST_F(LocaleTest, Items) {
    const std::pair<const char*, const char*> cases[] = {{"en_US", "1 0 0 / : AM PM 6 Monday December"},
                                                         {"en_GB", "0 1 1 / : am pm 0 Monday December"},
                                                         {"de_DE", "0 1 1 . : AM PM 0 Montag Dezember"},
                                                         {"ja_JP", "0 2 1 / : 午前 午後 6 月曜日 12月"},
                                                         {"fi_FI", "0 1 1 . . ap. ip. 0 maanantai joulukuu"}};
    for (const auto& [locale, wanted] : cases) {
        PlatSetLocale(locale);
        std::string items;
        for (const DWORD item :
             {LOCALE_IMEASURE, LOCALE_IDATE, LOCALE_ITIME, LOCALE_SDATE, LOCALE_STIME, LOCALE_S1159,
              LOCALE_S2359, LOCALE_IFIRSTDAYOFWEEK, LOCALE_SDAYNAME1, LOCALE_SMONTHNAME1 + 11})
            items += (items.empty() ? "" : " ") + Item(item);
        EXPECT_EQ(items, wanted) << locale;
    }
    PlatSetLocale("de_DE");
    EXPECT_EQ(GetUserDefaultLCID(), 0x0407u);
    EXPECT_EQ(GetSystemDefaultLCID(), 0x0409u);
    setenv("QN_LANGUAGE", "ja_JP", 1);
    EXPECT_EQ(GetSystemDefaultLCID(), 0x0411u);
    PlatSetSystemLanguage(0x0412);
    EXPECT_EQ(GetSystemDefaultLCID(), 0x0412u);
    unsetenv("QN_LANGUAGE");
    PlatSetSystemLanguage(0);
    DWORD number = 99;
    EXPECT_EQ(GetLocaleInfoW(1024, LOCALE_ITIME | LOCALE_RETURN_NUMBER, reinterpret_cast<WCHAR*>(&number), 2),
              2);
    EXPECT_EQ(number, 1u);
    WCHAR text[2];
    EXPECT_EQ(ErrorOf(GetLocaleInfoW(1024, LOCALE_SDAYNAME1, text, 2)), ERROR_INSUFFICIENT_BUFFER);
    EXPECT_EQ(ErrorOf(GetLocaleInfoW(1024, 0xABCD, text, 2)), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(GetLocaleInfoW(0x0409, LOCALE_ITIME, text, 2), 2);
    EXPECT_EQ(text[0], u'0') << "a locale by its number, whatever the device's is";
}

TEST_F(LocaleTest, EnvironmentChoosesTheLocale) {
    const struct {
        const char *all, *time, *lang, *date;
    } cases[] = {{"", "", "de_DE.UTF-8", "14.03.07"},
                 {"", "fr_FR@euro", "de_DE", "14/03/2007"},
                 {"en_US", "fr_FR", "de_DE", "3/14/07"},
                 {"C", "fr_FR", "", "3/14/07"},
                 {"", "", "POSIX", "3/14/07"},
                 {"", "", "C.UTF-8", "3/14/07"},
                 {"", "", "", "3/14/07"},
                 {"xx_YY", "", "", "3/14/07"}};
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
    const struct {
        DWORD flags;
        std::vector<std::u16string> pairs; // with their order between
    } cases[] = {
        {0,
         {u"apple<Banana", u"a<A", u"A<b", u"resume<résumé", u"résumé<resumes", u"<a", u"coop<co-ops",
          u"co-op<coop", u"it's<its", u"it's<itself", u"か<カ", u"A<Ａ", u"a-b=a-b"}},
        {kString, {u"co-ops<coop", u"norvo<NORVO"}},
        {kString | 1, {u"NORVO=norvo"}},
        {1, {u"e<é", u"NORVO=norvo"}},
        {2, {u"e<E", u"é=e"}},
        {3, {u"É=e"}},
        {4, {u"(a)=a"}},
        {0x30007, {u"Ö-b=ob", u"カ=か"}},
        {0x10000, {u"カ=か"}},
        {0x20000, {u"a<Ａ", u"Ａ=A", u"ｶ=カ"}},
        {0x30000, {u"ｶ=か"}}};
    for (const auto& c : cases)
        for (const std::u16string& pair : c.pairs) {
            const std::size_t sign = pair.find_first_of(u"<=");
            const std::u16string a = pair.substr(0, sign), b = pair.substr(sign + 1);
            const int order = pair[sign] == u'<' ? -1 : 0;
            EXPECT_EQ(Compare(c.flags, a.c_str(), b.c_str()), order)
                << std::hex << c.flags << " " << Narrow(pair.c_str());
            EXPECT_EQ(Compare(c.flags, b.c_str(), a.c_str()), -order)
                << std::hex << c.flags << " " << Narrow(pair.c_str());
        }
}

TEST_F(LocaleTest, ComparesInTheLanguageAndByLength) {
    PlatSetLocale("sv_SE");
    EXPECT_EQ(Compare(0, u"ö", u"z"), 1);
    EXPECT_EQ(Compare(SORT_STRINGSORT, u"ö", u"z"), 1);
    EXPECT_EQ(CompareStringW(0x0407, 0, u"ö", -1, u"z", -1), CSTR_LESS_THAN);
    PlatSetLocale("de_DE");
    EXPECT_EQ(Compare(0, u"ö", u"z"), -1);
    EXPECT_EQ(CompareStringW(1024, 0, u"abcX", 3, u"abcY", 3), CSTR_EQUAL);
    EXPECT_EQ(CompareStringW(1024, 0, u"abc", 0, u"a", 0), CSTR_EQUAL);
    EXPECT_EQ(CompareStringW(1024, 0, nullptr, -1, u"a", -1), 0);
    EXPECT_EQ(CompareStringW(1024, 0, u"\xD800", -1, u"\xDC00", -1), CSTR_LESS_THAN)
        << "halves of pairs have an order";
    PlatSetLocale("da_DK");
    EXPECT_EQ(Compare(0, u"a", u"A"), -1) << "small first, also where a language wants capitals first";
}

TEST_F(LocaleTest, ThreadsShareComparers) {
    PlatSetLocale("fr_FR");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([] {
            for (DWORD i = 0; i < 1400; ++i) EXPECT_EQ(Compare(i % 8, u"alpha", u"beta"), -1);
        });
    for (auto& thread : threads) thread.join();
}

TEST_F(LocaleTest, KeysCompareAsTheirTexts) {
    const plat::Collation& german = plat::CollationOf("de_DE");
    EXPECT_EQ(german.Locale(), "de_DE");
    EXPECT_EQ(&german, &plat::CollationOf("de_DE"));
    EXPECT_NE(german.Id(), plat::CollationOf("sv_SE").Id());
    std::vector<std::u16string> texts{u"", u"-", u"a", u"Ä", u"ab", u"A-b", u"ß", u"SS", u"z", u"\xD800"};
    texts.insert(texts.end(), {u"\xD83D\xDE00", std::u16string(5000, u'ü'), std::u16string(u"a\0b", 3)});
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
