#include "NorvoTools/CeString.h"
#include "NorvoTools/CStr.h"
#include "NorvoTools/CTempString.h"

#include "Platform/memory.h"
#include "Platform/modules.h"
#include "Platform/strings.h"
#include "tests/support/device.h"
#include "tests/support/plainwindow.h"

#include <algorithm>
#include <memory>
#include <thread>

namespace {

std::u16string Text(const CeString& s) { return std::u16string(s.View()); }

// --- Sharing ------------------------------------------------------------------------------------------------------

TEST(CeStringTest, AssignmentSharesAndCopyConstructionCopies) {
    CeString first(u"Berlin");
    CeString shared;
    shared = first;
    EXPECT_EQ(first.GetStr(), shared.GetStr());
    EXPECT_EQ(2, first.GetRefs());
    CeString copy(first);
    EXPECT_NE(first.GetStr(), copy.GetStr());
    EXPECT_EQ(2, first.GetRefs());
    shared = u"Bonn";
    EXPECT_EQ(1, first.GetRefs());
    first = *&first; // itself
    EXPECT_EQ(u"Berlin", Text(first));
}

TEST(CeStringTest, ChangingInPlaceLeavesTheSharerAlone) {
    struct Case {
        const char* name;
        void (*change)(CeString&);
        const WCHAR* expected;
    };
    const Case cases[] = {
        {"MakeUpper", [](CeString& s) { s.MakeUpper(); }, u"ABC"},
        {"operator[]", [](CeString& s) { s[1] = u'-'; }, u"a-c"},
        {"Replace", [](CeString& s) { s.Replace(u'a', u'o'); }, u"oBc"},
        {"Append", [](CeString& s) { s += u"d"; }, u"aBcd"},
        {"Truncate", [](CeString& s) { s.Truncate(1); }, u"a"},
        {"Empty", [](CeString& s) { s.Empty(); }, u""},
    };
    for (const Case& c : cases) {
        CeString kept(u"aBc");
        CeString changed;
        changed = kept;
        c.change(changed);
        EXPECT_EQ(c.expected, Text(changed)) << c.name;
        EXPECT_EQ(u"aBc", Text(kept)) << c.name;
        EXPECT_EQ(1, kept.GetRefs()) << c.name;
    }
}

TEST(CeStringTest, SetIndexCharReachesEverySharer) {
    CeString first(u"abc");
    CeString shared;
    shared = first;
    first.SetIndexChar(-1, u'x');
    first.SetIndexChar(3, u'y');
    EXPECT_EQ(u"xbc", Text(shared));
    EXPECT_EQ(0, first.GetIndexChar(3));
}

TEST(CeStringTest, TheEmptyRepresentationIsNeverCountedOrChanged) {
    CeString a;
    CeString b(u"x");
    b = a;
    b.MakeUpper();
    b.Set(u'x');
    b[0] = u'x';
    b.SetIndexChar(0, u'x');
    CeString c((const WCHAR*)nullptr);
    EXPECT_EQ(a.GetStr(), b.GetStr());
    EXPECT_EQ(a.GetStr(), c.GetStr());
    EXPECT_EQ(0, a.GetRefs());
    EXPECT_EQ(0, a.GetStr()[0]);
}

TEST(CeStringTest, TwoThreadsMayHoldOneRepresentation) {
    CeString source(u"shared by two threads");
    auto work = [&source] {
        for (int i = 0; i < 20000; ++i) {
            CeString mine;
            mine = source;
            mine.MakeUpper();
        }
    };
    std::thread first(work);
    std::thread second(work);
    first.join();
    second.join();
    EXPECT_EQ(1, source.GetRefs());
    EXPECT_EQ(u"shared by two threads", Text(source));
}

// --- Values -------------------------------------------------------------------------------------------------------

TEST(CeStringTest, NarrowTextIsWidenedWithItsSign) {
    EXPECT_EQ(u"A\xFFE4", Text(CeString("A\xE4")));
    EXPECT_EQ(u"ab", Text(CeString("abc", 2)));
}

TEST(CeStringTest, Numbers) {
    EXPECT_EQ(u"-2147483648", Text(CeString(LONG(INT32_MIN))));
    EXPECT_EQ(u"ffffffff", Text(CeString(LONG(-1), 16)));
    EXPECT_EQ(u"4294967295", Text(CeString(DWORD(0xFFFFFFFF))));
    EXPECT_EQ(u"101", Text(CeString(DWORD(5), 2)));
    EXPECT_EQ(-17, static_cast<int>(CeString(u" -17 apples")));
    EXPECT_EQ(2.5, static_cast<double>(CeString(u"2.5")));
}

TEST(CeStringTest, Doubles) {
    struct Case {
        double value;
        int digits;
        const WCHAR* expected;
    };
    const Case cases[] = {
        {3.0, 0, u"3."},        {-0.0625, 4, u"-0.0625"},     {0.001, 2, u"0.00"},
        {99.999, 2, u"100.00"}, {1234567.5, 1, u"1234567.5"},
    };
    for (const Case& c : cases) EXPECT_EQ(c.expected, Text(CeString(c.value, c.digits))) << c.value;
    // Beyond 40 places of the point there is an exponent in place of the zeros.
    for (double value : {1e41, -2.5e200}) {
        std::u16string text = Text(CeString(value, 3));
        EXPECT_NE(std::u16string::npos, text.find(u'e')) << value;
        EXPECT_EQ(value, wcstod(text.c_str(), nullptr));
    }
}

TEST(CeStringTest, NullComparesAsMinusOne) {
    CeString s(u"b");
    const WCHAR* null = nullptr;
    EXPECT_EQ(-1, s.Compare(null));
    EXPECT_EQ(-1, s.CompareNoCase(null));
    EXPECT_TRUE(s != null && s < null && s <= null);
    EXPECT_FALSE(s == null || s > null || s >= null);
    EXPECT_TRUE(u"a" < s && s < u"c" && u"b" == s && s <= u"b");
    EXPECT_TRUE(CeString(u"b") == s && CeString(u"a") < s);
    // Every operator looks at the text up to its terminator, even while a buffer is longer.
    CeString received;
    wcscpy(received.GetBufferSetLength(9), u"b");
    EXPECT_TRUE(received == s && received <= s && received == u"b");
    EXPECT_EQ(0, s.CompareNoCase(u"B"));
    // Units are unsigned.
    EXPECT_GT(CeString(u"\xFFE4").Compare(u"z"), 0);
}

// --- Find, parts, change ------------------------------------------------------------------------------------------

TEST(CeStringTest, Finding) {
    CeString s(u"Monday, monday");
    EXPECT_EQ(7, s.FindIndex(u' '));
    EXPECT_EQ(-1, s.FindIndex(u"Tuesday"));
    EXPECT_EQ(s.GetStr(), s.FindNoCase(u"MONDAY"));
    EXPECT_EQ(13, s.ReverseFindIndex(u'y'));
    EXPECT_EQ(s.GetStr() + 6, s.FindOneOf(u" ,"));
    EXPECT_EQ(nullptr, s.FindOneOf(u"xz"));
    EXPECT_EQ(s.GetStr() + 6, s.FindNotOneOf(u"MonDday"));
    EXPECT_EQ(nullptr, CeString(u"aaa").FindNotOneOf(u"a"));
}

TEST(CeStringTest, Parts) {
    const CeString s(u"abcdef");
    const std::pair<const WCHAR*, CeString> cases[] = {
        {u"ab", s.Left(2)},    {u"abcdef", s.Left(-1)}, {u"ef", s.Right(2)},     {u"cd", s.Mid(2, 2)},
        {u"f", s.Mid(5, 100)}, {u"", s.Mid(-1, 2)},     {u"bcdef", s.Delete(0)}, {u"abcdef", s.Delete(6)},
    };
    for (const auto& [expected, part] : cases) EXPECT_EQ(expected, Text(part));
    EXPECT_EQ(u"abcdef", Text(s));
}

TEST(CeStringTest, TrimmingIsNotSymmetric) {
    CeString s(u"\xFFA0 \t\u3000text\r\n \xFFA0");
    s.Trim();
    EXPECT_EQ(u"text\r\n \xFFA0", Text(s));
    CeString white(u" \t\n");
    white.Trim();
    EXPECT_EQ(CeString().GetStr(), white.GetStr());
    CeString right(u"text \u00A0\u2003\n");
    right.RTrim();
    EXPECT_EQ(u"text", Text(right));
}

TEST(CeStringTest, TruncateOnlyShortens) {
    CeString s(u"abc");
    for (int n : {-1, 3, 4, 0}) {
        s.Truncate(n);
        EXPECT_EQ(n == 0 ? u"" : u"abc", Text(s)) << n;
    }
}

TEST(CeStringTest, PlusChangesTheLeftOperand) {
    CeString s(u"a");
    CeString& result = s + u"b" + u'c' + CeString(u"d");
    EXPECT_EQ(&s, &result);
    EXPECT_EQ(u"abcd", Text(s));
    s += s;
    EXPECT_EQ(u"abcdabcd", Text(s));
    s = s.GetStr() + 6;
    EXPECT_EQ(u"cd", Text(s));
}

// --- Buffers ------------------------------------------------------------------------------------------------------

TEST(CeStringTest, BuffersReceiveText) {
    CeString s(u"abc");
    CeString shared;
    shared = s;
    EXPECT_EQ(nullptr, s.GetBuffer(0));
    EXPECT_EQ(shared.GetStr(), s.GetBuffer(3)); // the present text, as it is
    EXPECT_EQ(shared.GetStr(), s.GetBufferSetLength(3));
    s.GetBufferSetLength(0); // unshares and keeps the text
    EXPECT_EQ(1, shared.GetRefs());
    EXPECT_EQ(u"abc", Text(s));
    wcscpy(s.GetBuffer(10), u"new");
    s.ReleaseBuffer();
    EXPECT_EQ(u"new", Text(s));
    EXPECT_EQ(u"abc", Text(shared));
    s.GetBuffer(10);
    s.ReleaseBuffer(); // nothing was written
    EXPECT_TRUE(s.IsEmpty());
}

TEST(CeStringTest, StringCopyCountsMarkAndTerminator) {
    const CeString s(u"ab");
    DWORD size = 0;
    std::unique_ptr<WCHAR, decltype(&free)> plain(s.GetStringCopy(true, false, &size), &free);
    EXPECT_EQ(6u, size);
    EXPECT_EQ(u"ab", std::u16string(plain.get()));
    WCHAR* marked = s.GetStringCopy(false, true, &size);
    EXPECT_EQ(8u, size);
    EXPECT_EQ(8u, LocalSize(marked));
    const BYTE expected[] = {0xFF, 0xFE, 'a', 0, 'b', 0, 0, 0};
    EXPECT_EQ(0, memcmp(expected, marked, sizeof(expected)));
    LocalFree(marked);
}

// --- Formats and resources ----------------------------------------------------------------------------------------

TEST(CeStringTest, FormatIsCut) {
    CeString s;
    s.Format(u"%d %s|%-3u|%.2s", -5, u"text", 7u, u"xyz");
    EXPECT_EQ(u"-5 text|7  |xy", Text(s));
    std::u16string longText(2000, u'x');
    s.Format(u"%s", longText.c_str());
    EXPECT_EQ(1023, s.GetLength());
    s.Format(2000, u"%s", longText.c_str());
    EXPECT_EQ(2000, s.GetLength());
    s.Format(3, u"%s", u"abcdef");
    EXPECT_EQ(u"abc", Text(s));
}

TEST(CeStringTest, ErrorTexts) {
    CeString s;
    s.FormatMessageW(0x2BADC0DE);
    EXPECT_EQ(u"Error 732807390 occured", Text(s));
}

class CeStringResourceTest : public DeviceTest {};

TEST_F(CeStringResourceTest, StringsComeFromTheModule) {
    const std::u16string longText(65535, u'L');
    const PlatModuleString strings[] = {{7, u"seven", 5}, {8, longText.c_str(), 65535}};
    const PlatStringTable table[] = {{"en", strings, 2}};
    PlatModule module{u"cestringtest.dll"};
    module.languages = table;
    module.languageCount = 1;
    module.untilReset = true;
    HINSTANCE handle = PlatRegisterModule(module);
    EXPECT_EQ(u"seven", Text(CeString(7u, handle)));
    EXPECT_TRUE(longText == Text(CeString(8u, handle)));
    CeString missing(u"old");
    EXPECT_FALSE(missing.LoadStringW(9, handle));
    EXPECT_TRUE(missing.IsEmpty());
    // A small number as a pointer is asked of the application, never followed.
    auto asText = [](ULONG_PTR number) { return Text(CeString(reinterpret_cast<const WCHAR*>(number))); };
    EXPECT_EQ(u"", asText(7));
    module.name = nullptr;
    PlatRegisterModule(module);
    EXPECT_EQ(u"seven", asText(7));
    EXPECT_EQ(u"", asText(65535));
    PlatResetForTests();
    EXPECT_EQ(u"", asText(7));
}

TEST_F(CeStringResourceTest, WindowTexts) {
    const HWND window = PlainWindow(nullptr, 0, u"caption");
    EXPECT_EQ(u"caption", Text(CeString(window)));
    CeString s;
    EXPECT_TRUE(s.SetWindowTextW(window));
    EXPECT_EQ(u"", Text(CeString(window)));
    DestroyWindow(window);
    s = u"kept";
    EXPECT_FALSE(s.GetWindowTextW(window));
    EXPECT_EQ(u"kept", Text(s));
}

// --- CSTR blocks --------------------------------------------------------------------------------------------------

TEST(CstrTest, TheLengthStandsBeforeTheText) {
    WCHAR* c = AllocCSTR(u"abc");
    EXPECT_EQ(3u, reinterpret_cast<DWORD*>(c)[-1]);
    EXPECT_EQ(1, ExtendCSTR(&c, u"de"));
    EXPECT_EQ(5, CSTRLen(c));
    EXPECT_EQ(u"abcde", std::u16string(c));
    EXPECT_EQ(0, ExtendCSTRLen(&c, u"f", 0));
    EXPECT_EQ(1, ReAllocCSTR(&c, c + 3)); // out of itself
    EXPECT_EQ(u"de", std::u16string(c));
    EXPECT_EQ(1, ReAllocCSTRLen(&c, u"xyz", 2));
    EXPECT_EQ(u"xy", std::u16string(c));
    FreeCSTR(c);
    WCHAR* none = nullptr;
    EXPECT_EQ(0, ExtendCSTR(&none, u"a"));
    EXPECT_EQ(0, CSTRLen(nullptr));
}

TEST(CstrTest, BlocksOfAPrivateHeapDieWithIt) {
    HANDLE heap = HeapCreate(0, 0, 0);
    WCHAR* old = AllocCSTR(u"first", heap);
    WCHAR* c = old;
    EXPECT_EQ(1, ReAllocCSTR(&c, u"second", heap));
    EXPECT_EQ(1, ExtendCSTR(&c, u"!", heap));
    EXPECT_EQ(u"second!", std::u16string(c));
    EXPECT_EQ(u"first", std::u16string(old)); // not freed one by one
    EXPECT_TRUE(HeapDestroy(heap));
}

TEST(CstrTest, ScratchBuffersStartZeroed) {
    CTempString scratch(6);
    EXPECT_EQ(0, std::count_if(&scratch[0], &scratch[0] + 6, [](WCHAR c) { return c != 0; }));
}

TEST(CstrTest, OwnersCopy) {
    CStr s;
    s += u"ab";
    s.Append(u"cdef", 2);
    const CStr copy(s);
    s.Empty();
    EXPECT_EQ(u"abcd", std::u16string(copy));
    EXPECT_EQ(static_cast<const WCHAR*>(CStr::Null), static_cast<const WCHAR*>(s));
}

} // namespace
