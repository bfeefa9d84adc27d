#include "Platform/strings.h"
#include "tests/support/narrow.h"

#include <gtest/gtest.h>
#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

namespace {

template<class... Args>
std::string Formatted(const WCHAR* format, Args... args) {
    WCHAR buffer[1024];
    const int length = wsprintfW(buffer, format, args...);
    EXPECT_EQ(static_cast<std::size_t>(length), wcslen(buffer));
    return Narrow(buffer);
}

TEST(Strings, ComparesUnitsUnsignedAndCaseByUnit) {
    EXPECT_LT(wcscmp(u"a", u"b"), 0);
    EXPECT_GT(wcscmp(u"\xFFE4", u"z"), 0) << "units are unsigned";
    EXPECT_GT(wcscmp(u"ab", u"a"), 0);
    EXPECT_EQ(wcsncmp(u"abX", u"abY", 2), 0);
    EXPECT_EQ(wcsncmp(u"ab", u"ab", 99), 0);
    EXPECT_LT(wcsncmp(u"a", u"ab", 2), 0);
    EXPECT_EQ(_wcsicmp(u"Äpfel ΣΩ Жук", u"äPFEL σω жУК"), 0);
    EXPECT_NE(_wcsicmp(u"straße", u"STRASSE"), 0) << "one unit never becomes two";
    EXPECT_EQ(_wcsnicmp(u"Norvo!", u"nORVO?", 5), 0);
    EXPECT_GT(_wcsnicmp(u"Norvo!", u"nORVO", 6), 0);
    EXPECT_EQ(_stricmp("AbC", "aBc"), 0);
    EXPECT_LT(_stricmp("abc", "ABCd"), 0);
    EXPECT_GT(_stricmp("\xE4", "z"), 0);
}

TEST(Strings, ChangesInPlace) {
    WCHAR text[16] = u"añ";
    wcscat(text, u"Z9");
    EXPECT_STREQ(Narrow(_wcsupr(text)).c_str(), "AÑZ9");
    EXPECT_STREQ(Narrow(_wcslwr(text)).c_str(), "añz9");
    EXPECT_STREQ(Narrow(_wcsrev(text)).c_str(), "9zña");
    WCHAR filled[4] = {1, 1, 1, 1};
    wcsncpy(filled, u"a", 3);
    EXPECT_EQ(filled[1], 0);
    EXPECT_EQ(filled[2], 0);
    EXPECT_EQ(filled[3], 1);
    WCHAR* copy = _wcsdup(u"copy");
    EXPECT_EQ(wcscmp(copy, u"copy"), 0);
    EXPECT_GE(_msize(copy), 5 * sizeof(WCHAR));
    std::free(copy);
    EXPECT_EQ(_wcsdup(nullptr), nullptr);
}

TEST(Strings, SearchesAndClassesOfUnits) {
    const WCHAR* text = u"abcabc";
    EXPECT_EQ(wcsstr(text, u"ca"), text + 2);
    EXPECT_EQ(wcsstr(text, u""), text);
    EXPECT_EQ(wcsstr(text, u"cb"), nullptr);
    EXPECT_EQ(wcschr(text, u'b'), text + 1);
    EXPECT_EQ(wcschr(text, u'\0'), text + 6);
    EXPECT_EQ(wcsrchr(text, u'a'), text + 3);
    EXPECT_EQ(wcsrchr(text, u'\0'), text + 6);
    EXPECT_EQ(wcsrchr(u"", u'x'), nullptr);
    const std::u16string spaces = u" \t\n\x0B\f\r\x85\xA0\x2003\x2028\x3000",
                         noSpaces = u"a\x200B\xFEFF\xFFA0";
    const std::u16string shown = u"Aß7.€+ \t한\x0301½\xD83D\xDE00", notShown = u"\x01\n\r\x7F\x85\x2028";
    for (const WCHAR c : spaces) EXPECT_NE(iswctype(c, kCharSpace), 0) << std::hex << int{c};
    for (const WCHAR c : noSpaces) EXPECT_EQ(iswctype(c, kCharSpace), 0) << std::hex << int{c};
    for (const WCHAR c : shown) EXPECT_NE(iswctype(c, kCharPrintable), 0) << std::hex << int{c};
    for (const WCHAR c : notShown) EXPECT_EQ(iswctype(c, kCharPrintable), 0) << std::hex << int{c};
    EXPECT_EQ(iswctype(u'\0', kCharSpace | kCharPrintable), 0);
    EXPECT_EQ(iswctype(u'F', kCharHex | kCharLower), static_cast<int>(kCharHex));
    EXPECT_EQ(iswctype(u'\n', kCharControl), static_cast<int>(kCharControl));
}

TEST(Strings, ReadsWholeNumbers) {
    struct {
        const WCHAR* text;
        int radix;
        LONG value;
        DWORD bare;
        int used;
    } const cases[] = {{u"42", 10, 42, 42, 2},
                       {u" \t\xA0-7x", 10, -7, 0xFFFFFFF9, 5},
                       {u"+0", 10, 0, 0, 2},
                       {u"2147483648", 10, INT32_MAX, 2147483648u, 10},
                       {u"-99999999999999999999", 10, INT32_MIN, UINT32_MAX, 21},
                       {u"0x1F", 0, 31, 31, 4},
                       {u"0xG", 0, 0, 0, 1},
                       {u"017", 0, 15, 15, 3},
                       {u"ff", 16, 255, 255, 2},
                       {u"0XFFFFFFFF", 16, INT32_MAX, 0xFFFFFFFF, 10},
                       {u"zz", 36, 1295, 1295, 2},
                       {u"", 10, 0, 0, 0},
                       {u"-", 10, 0, 0, 0},
                       {u"12", 1, 0, 0, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.text));
        WCHAR* end = nullptr;
        EXPECT_EQ(wcstol(c.text, &end, c.radix), c.value);
        EXPECT_EQ(end - c.text, c.used);
        EXPECT_EQ(wcstoul(c.text, nullptr, c.radix), c.bare);
    }
    EXPECT_EQ(_wtol(u"  -12abc"), -12);
}

TEST(Strings, ReadsRealNumbersInEveryLocale) {
    std::setlocale(LC_NUMERIC, "de_DE.UTF-8"); // where it exists its point is a comma
    struct {
        const WCHAR* text;
        double value;
        int used;
    } const cases[] = {
        {u"1.5", 1.5, 3},  {u" -.25e2x", -25.0, 7}, {u"3.", 3.0, 2},    {u"1e", 1.0, 1},
        {u"1e+", 1.0, 1},  {u"2,5", 2.0, 1},        {u".", 0.0, 0},     {u"abc", 0.0, 0},
        {u"0x10", 0.0, 1}, {u"inf", 0.0, 0},        {u"1E-2", 0.01, 4}, {u"401768", 401768.0, 6},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.text));
        WCHAR* end = nullptr;
        EXPECT_EQ(wcstod(c.text, &end), c.value);
        EXPECT_EQ(end - c.text, c.used);
    }
    EXPECT_TRUE(std::isinf(wcstod(u"1e999", nullptr)));
    std::setlocale(LC_NUMERIC, "C");
}

TEST(Strings, DigitsOfReals) {
    struct {
        double value;
        int digits;
        const char* text;
        int point;
        int sign;
    } const cases[] = {
        {3.14159, 3, "3142", 1, 0}, {-12.5, 1, "125", 2, 1}, {0.00123, 5, "123", -2, 0},
        {0.5, 0, "", 0, 0},         {3.0, 0, "3", 1, 0},     {0.0, 2, "00", 0, 0},
        {0.999, 2, "100", 1, 0},    {0.05, 2, "5", -1, 0},   {1e21, 0, "1000000000000000000000", 22, 0},
    };
    for (const auto& c : cases) {
        int point, sign;
        EXPECT_STREQ(_fcvt(c.value, c.digits, &point, &sign), c.text) << c.value;
        EXPECT_EQ(point, c.point) << c.value;
        EXPECT_EQ(sign, c.sign) << c.value;
    }
    int point, sign;
    _fcvt(std::numeric_limits<double>::max(), 1000, &point, &sign);
    EXPECT_EQ(point, 309);
    _fcvt(std::numeric_limits<double>::infinity(), 2, &point, &sign);
    EXPECT_GT(point, 40);
    char text[32];
    EXPECT_STREQ(_gcvt(1e50, 5, text), "1e+50");
    EXPECT_STREQ(_gcvt(-1.0 / 3, 17, text), "-0.33333333333333331");
    EXPECT_STREQ(_gcvt(-std::numeric_limits<double>::max(), 99, text), "-1.7976931348623157e+308");
}

TEST(Format, Numbers) {
    EXPECT_EQ(Formatted(u"%d|%5d|%-5d|%05d|%+d|% d|%.3d", -3, 42, 42, 42, 42, 42, 7),
              "-3|   42|42   |00042|+42| 42|007");
    EXPECT_EQ(Formatted(u"%u %x %X %o %#x %#o", 4294967295u, 0xbeefu, 0xBEEFu, 8u, 255u, 8u),
              "4294967295 beef BEEF 10 0xff 010");
    EXPECT_EQ(Formatted(u"%ld %lu %ul %hd", -1, 7u, 7u, 65535), "-1 7 7l -1");
    EXPECT_EQ(Formatted(u"%I64d %lld %llX", std::int64_t{-1} << 40, 5LL, ~0ULL),
              "-1099511627776 5 FFFFFFFFFFFFFFFF");
    EXPECT_EQ(Formatted(u"%-2.2X|%02x|%.0d|", 0xAu, 0xAu, 0), "0A|0a||");
    EXPECT_EQ(Formatted(u"%*d|%-*d|%.*d", 4, 1, 3, 2, 2, 3), "   1|2  |03");
    EXPECT_EQ(Formatted(u"%*d|", -4, 1), "1   |");
    EXPECT_EQ(Formatted(u"%d", std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(Formatted(u"%.2f %5.1f %g %E", 2.345, -1.25, 0.0001, 12345.0), "2.35 "
                                                                             " -1.2 0.0001 1.234500E+04");
}

TEST(Format, TextsAndWhatIsNoType) {
    EXPECT_EQ(Formatted(u"100%% %q %d", 5), "100% %q 5"); // it stands, and takes nothing
    EXPECT_EQ(Formatted(u"%n%d", 5), "%n5");
    EXPECT_EQ(Formatted(u"%"), "%");
    EXPECT_EQ(Formatted(u"%-08.3"), "%-08.3");
    EXPECT_EQ(Formatted(u"%s|%6s|%-6s|%.2s", u"äöü", u"ab", u"ab", u"abc"), "äöü|    ab|ab    |ab");
    EXPECT_EQ(Formatted(u"%S|%hs|%ls|%.3S", "n€", "h", u"l", "abcdef"), "n€|h|l|abc");
    EXPECT_EQ(Formatted(u"%s %S %.3s", static_cast<WCHAR*>(nullptr), static_cast<char*>(nullptr),
                        static_cast<WCHAR*>(nullptr)),
              "(null) (null) (nu");
    EXPECT_EQ(Formatted(u"%c%c%C", u'é', u'x', 'n'), "éxn");
    const WCHAR open[3] = {u'a', u'b', u'c'}; // no terminator within the precision
    EXPECT_EQ(Formatted(u"%.3s", open), "abc");
}

TEST(Format, NothingIsWrittenPastTheLimit) {
    const std::u16string big(3000, u'x');
    for (const WCHAR* format : {u"%s", u"%5000s", u"%-5000s|%s", u"%99999999999s"}) {
        std::u16string buffer(1100, u'#');
        EXPECT_EQ(wsprintfW(buffer.data(), format, big.c_str(), big.c_str()), 1023);
        EXPECT_EQ(buffer[1023], 0);
        EXPECT_EQ(buffer[1024], u'#');
    }
    std::u16string buffer(1100, u'#');
    EXPECT_EQ(wsprintfW(buffer.data(), u"%.99999d", 1), 1023);
    EXPECT_EQ(buffer[1024], u'#');
}

TEST(Format, BoundedForms) {
    WCHAR buffer[6] = u"#####";
    EXPECT_EQ(_snwprintf(buffer, 4, u"%d", 123), 3);
    EXPECT_EQ(Narrow(buffer), "123");
    buffer[4] = u'#';
    EXPECT_EQ(_snwprintf(buffer, 4, u"%d", 1234), 4);
    EXPECT_EQ(buffer[4], u'#') << "a text that fills the buffer is not ended";
    EXPECT_EQ(_snwprintf(buffer, 4, u"%d", 98765), -1);
    EXPECT_EQ(buffer[3], u'6');
    EXPECT_EQ(buffer[4], u'#');
    EXPECT_EQ(StringCchPrintfW(buffer, 4, u"%d", 98765), E_INSUFFICIENTBUFFER);
    EXPECT_EQ(Narrow(buffer), "987");
    EXPECT_EQ(StringCchPrintfW(buffer, 4, u"%s", u"abc"), S_OK);
    EXPECT_EQ(StringCchPrintfW(buffer, 0, u""), E_INVALIDARG);
}

TEST(Scan, Times) {
    int hour = -1, minute = -1;
    EXPECT_EQ(swscanf(u"9:30 pm", u"%d:%d", &hour, &minute), 2);
    EXPECT_EQ(hour * 100 + minute, 930);
    EXPECT_EQ(swscanf(u" 17 : 5", u"%d : %d", &hour, &minute), 2);
    EXPECT_EQ(hour * 100 + minute, 1705);
    EXPECT_EQ(swscanf(u"930", u"%d:%d", &hour, &minute), 1);
    EXPECT_EQ(hour, 930);
    EXPECT_EQ(swscanf(u"x", u"%d:%d", &hour, &minute), 0);
    EXPECT_EQ(swscanf(u"  ", u"%d:%d", &hour, &minute), -1);
}

TEST(Scan, OtherTypesAndLimits) {
    int a = 0;
    unsigned b = 0;
    short c = 0;
    WCHAR word[4] = u"";
    EXPECT_EQ(swscanf(u"0x1f,-2 12345", u"%i,%hd %2x", &a, &c, &b), 3);
    EXPECT_EQ(a, 31);
    EXPECT_EQ(c, -2);
    EXPECT_EQ(b, 0x12u);
    EXPECT_EQ(swscanf(u"1 2", u"%*d %d", &a), 1);
    EXPECT_EQ(a, 2);
    EXPECT_EQ(swscanf(u"abcdef 7", u"%3s%*c", word), 1);
    EXPECT_EQ(Narrow(word), "abc");
    EXPECT_EQ(swscanf(u"abcdef", u"%s", word), 0) << "a text without a limit is not read";
    EXPECT_EQ(swscanf(u"5%", u"%d%%", &a), 1);
}

// --- Code pages -----------------------------------------------------------------------------------------------------

TEST(CodePages, ReadsUtf8AndFallsBackByteByByte) {
    struct {
        const char* bytes;
        const WCHAR* text;
    } const cases[] = {
        {"Grüße €", u"Grüße €"},
        {"\xF0\x9F\x98\x80", u"\xD83D\xDE00"},
        {"\xE4 \x80\x96", u"ä €–"},         // windows-1252
        {"\xC3\xA4\xC3", u"äÃ"},            // cut in the middle
        {"\xC0\x80", u"À€"},                // overlong
        {"\xED\xA0\x80", u"í\u00A0€"},      // a surrogate
        {"\xF4\x90\x80\x80", u"ô\u0090€€"}, // above the last character
    };
    for (const auto& c : cases) {
        WCHAR text[32];
        const int units = MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, c.bytes, -1, text, 32);
        EXPECT_EQ(wcscmp(text, c.text), 0) << c.bytes;
        EXPECT_EQ(units, static_cast<int>(wcslen(c.text)) + 1);
        EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, c.bytes, -1, nullptr, 0), units);
    }
}

TEST(CodePages, WritesUtf8) {
    char bytes[32];
    EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, u"ä€\xD83D\xDE00", 4, bytes, 32, nullptr, nullptr), 9);
    EXPECT_EQ(std::string(bytes, 9), "ä€😀");
    EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, u"\xD83D!\xDE00", -1, bytes, 32, nullptr, nullptr), 4);
    EXPECT_STREQ(bytes, "?!?");
    BOOL lost = FALSE;
    EXPECT_EQ(WideCharToMultiByte(CP_1252, 0, u"€Ω", 2, bytes, 32, "*", &lost), 2);
    EXPECT_EQ(std::string(bytes, 2), "\x80*");
    EXPECT_TRUE(lost);
}

TEST(CodePages, RefusesWhatIsNotThereAndNeverCutsWithinACharacter) {
    WCHAR text[2];
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "abc", 3, text, 2), 0);
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, nullptr, -1, text, 2), 0);
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "abc", 0, text, 2), 0);
    EXPECT_EQ(MultiByteToWideChar(932, 0, "abc", 3, nullptr, 0), 0);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "\xE4", 1, text, 2), 0);
    char bytes[9] = "########";
    EXPECT_EQ(wcstombs(bytes, u"a€b", 3), 1u);
    EXPECT_STREQ(bytes, "a");
    EXPECT_EQ(wcstombs(bytes, u"a€b", 5), 5u);
    EXPECT_EQ(std::string(bytes, 5), "a€b");
    EXPECT_EQ(wcstombs(nullptr, u"a€b", 0), 5u);
}

} // namespace
