#include "NorvoTools/StrFunctions.h"

#include "Platform/memory.h"

#include <gtest/gtest.h>
#include <array>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

const WCHAR* const kNull = nullptr;
constexpr const WCHAR* kNone = u"<null>";

// The text of a new block, which is freed.
std::u16string Taken(WCHAR* s) {
    std::u16string text = s ? s : kNone;
    std::free(s);
    return text;
}

std::u16string At(const WCHAR* s) { return s ? s : kNone; }

TEST(StrFunctionsTest, AllocLPWSTR) {
    std::unique_ptr<WCHAR, decltype(&std::free)> s(AllocLPWSTR(u"abc"), &std::free);
    s.get()[10] = 0; // seven spare characters behind the terminator
    EXPECT_EQ(u"abc", At(s.get()));
    for (const WCHAR* empty : {kNull, u""}) {
        std::unique_ptr<WCHAR, decltype(&std::free)> zeros(AllocLPWSTR(empty), &std::free);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(0, zeros.get()[i]);
    }
}

TEST(StrFunctionsTest, BstrIsEmptyByItsFirstByte) {
    BSTR plain = AllocBSTR(u"abc");
    EXPECT_EQ(3, BSTRLen(plain));
    EXPECT_EQ(0, ReAllocBSTR(&plain, nullptr));
    EXPECT_EQ(u"abc", At(plain));
    EXPECT_EQ(1, ReAllocBSTR(&plain, u"wxyz"));
    EXPECT_EQ(4, BSTRLen(plain));
    FreeBSTR(plain);

    BSTR cut = AllocBSTR(u"\u0100bc"); // its low byte is zero
    EXPECT_EQ(0u, SysStringLen(cut));
    SysFreeString(cut);
    BSTR direct = SysAllocString(u"\u0200x");
    EXPECT_EQ(0, BSTRLen(direct));
    FreeBSTR(direct); // left alone, so it can still be read
    EXPECT_EQ(2u, SysStringLen(direct));
    SysFreeString(direct);
    FreeBSTR(nullptr);
    EXPECT_EQ(0, BSTRLen(nullptr));
}

TEST(StrFunctionsTest, SearchWithoutCase) {
    const WCHAR* text = u"Der ÄRGER kommt";
    EXPECT_EQ(text + 4, wcsistr(text, u"ärger"));
    EXPECT_EQ(nullptr, wcsistr(text, u"kommts"));
    EXPECT_EQ(nullptr, wcsistr(text, u""));
    EXPECT_EQ(nullptr, wcsistr(kNull, u"a"));
    EXPECT_EQ(nullptr, wcsistr(u"a", kNull));
    EXPECT_EQ(u"aab", At(wcsistr(u"aaaab", u"AAB")));
}

TEST(StrFunctionsTest, IndexOf) {
    EXPECT_EQ(1, IndexOf(u"banana", u'a'));
    EXPECT_EQ(3, IndexOf(u"banana", u'a', 2));
    EXPECT_EQ(-1, IndexOf(u"banana", u'a', 6));
    EXPECT_EQ(-1, IndexOf(kNull, u'a'));
    EXPECT_EQ(3, IndexOf(u"banana", u"ana", 2, true));
    EXPECT_EQ(-1, IndexOf(u"banana", u"ANA", 0, true));
    EXPECT_EQ(1, IndexOf(u"banana", u"ANA", 0, false));
    EXPECT_EQ(-1, IndexOf(u"banana", u"ana", -1, true));
    EXPECT_EQ(2, IndexOfA("BaNaNa", "nana"));
}

TEST(StrFunctionsTest, ReplaceStr) {
    struct Case {
        const WCHAR* s;
        const WCHAR* find;
        const WCHAR* with;
        int start;
        bool bCase;
        const WCHAR* expected;
    };
    const Case cases[] = {
        {u"a&b&c", u"&", u"&&", 0, true, u"a&&b&&c"}, // what was inserted is not searched again
        {u"a&b&c", u"&", u"", 2, true, u"a&bc"},      // from index 2
        {u"Xxx", u"x", u"y", 0, false, u"yyy"},
        {u"aaa", u"aa", u"b", 0, true, u"ba"},
        {kNull, u"a", u"b", 0, true, u""},
        {u"abc", kNull, u"b", 0, true, u"abc"},
        {u"abc", u"", u"b", 0, true, u"abc"},
        {u"abc", u"b", u"x", -1, true, u"abc"},
        {u"abc", u"c", u"x", 3, true, u"abc"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(c.expected, Taken(ReplaceStr(c.s, c.find, c.with, c.start, c.bCase)))
            << At(c.s).size() << c.start;
    WCHAR text[] = u"a/b/c";
    ReplaceChar(text, u'/', u'\\');
    EXPECT_EQ(u"a\\b\\c", At(text));
}

TEST(StrFunctionsTest, Parts) {
    const std::pair<const WCHAR*, WCHAR*> cases[] = {
        {u"cd", MidStr(u"abcde", 2, 2)},
        {u"cde", MidStr(u"abcde", 2)},
        {u"", MidStr(u"abcde", 5, 1)},
        {u"", MidStr(u"abcde", -1, 1)},
        {u"", MidStr(kNull, 0, 1)},
        {u"ab", LeftStr(u"abcde", 2)},
        {u"abcde", LeftStr(u"abcde", -1)},
        {u"de", RightStr(u"abcde", 2)},
        {u"abcde", RightStr(u"abcde", 6)},
        {u"a b ", LTrimStr(u"\t \u3000a b ")},
        {u" a b", RTrimStr(u" a b\r\n")},
        {u"a b", TrimStr(u" a b ")},
        {u"", TrimStr(u" \n ")},
        {kNone, TrimStr(kNull)},
        {u"\xFFA0x", LTrimStr(u" \xFFA0x")},
        {u"c.txt", JustFileName(u"\\a\\b\\c.txt")},
        {u"", JustFileName(u"\\a\\")},
        {u"\\a\\b\\", JustPath(u"\\a\\b\\c.txt")},
        {u"\\", JustPath(u"c.txt")},
    };
    for (const auto& [expected, part] : cases) EXPECT_EQ(expected, Taken(part));
    std::array<WCHAR, 8> buffer;
    EXPECT_EQ(buffer.data(), MidStr(u"abcde", buffer.data(), 1, 3));
    EXPECT_EQ(u"bcd", At(buffer.data()));
    WCHAR text[] = u"line \t\r\n";
    EXPECT_EQ(4, RTrimStrInPlace(text));
    EXPECT_EQ(u"line", At(text));
}

TEST(StrFunctionsTest, Fields) {
    EXPECT_EQ(3, SubStrCount(u"a,,b", u','));
    EXPECT_EQ(0, SubStrCount(nullptr, u','));
    EXPECT_EQ(u",b", At(GetDelimeterPtr(u"a,,b", 2, u',')));
    EXPECT_EQ(nullptr, GetDelimeterPtr(u"a,,b", 3, u','));
    EXPECT_STREQ("|b", GetDelimeterPtrA("a|b", 1, '|'));
    const WCHAR* expected[] = {kNone, u"a", u"", u"b", kNone};
    for (int n = 0; n < 5; ++n) EXPECT_EQ(expected[n], Taken(SubStr(u"a,,b", n, u','))) << n;
    EXPECT_EQ(u"whole", Taken(SubStr(u"whole", 1, u',')));
    EXPECT_EQ(u"", Taken(SubStr(u"a,", 2, u',')));
    std::unique_ptr<char, decltype(&std::free)> narrow(SubStrA("x;yz", 2, ';'), &std::free);
    EXPECT_STREQ("yz", narrow.get());
}

std::u16string Joined(const WCHAR* s, WCHAR ch) {
    std::unique_ptr<CeStrList<>> list(Split(s, ch));
    std::u16string joined;
    for (const WCHAR* field : *list) joined += u"[" + std::u16string(field) + u"]";
    return joined;
}

TEST(StrFunctionsTest, Split) {
    EXPECT_EQ(u"[a][][b]", Joined(u"a;;b", u';'));
    EXPECT_EQ(u"[][a][]", Joined(u";a;", u';'));
    EXPECT_EQ(u"", Joined(nullptr, u';'));
    std::unique_ptr<CeStrList<>> list(Split(u"Work;Home", u';'));
    EXPECT_EQ(1, list->Find(u"HOME"));
}

std::u16string Tokens(std::u16string text) {
    XSTRTOK state;
    state.m_pStart = text.data();
    state.m_pDelimiter = u",;"; // only the first counts
    std::u16string tokens;
    while (const WCHAR* token = xstrtok(&state)) tokens += u"[" + std::u16string(token) + u"]";
    EXPECT_EQ(nullptr, state.m_pStart);
    return tokens;
}

TEST(StrFunctionsTest, TokensKeepEmptyFields) {
    EXPECT_EQ(u"[a][][b]", Tokens(u"a,,b"));
    EXPECT_EQ(u"[][a]", Tokens(u",a"));
    EXPECT_EQ(u"[a;b]", Tokens(u"a;b"));
    EXPECT_EQ(u"", Tokens(u""));
}

TEST(StrFunctionsTest, Building) {
    std::array<WCHAR, 32> buffer{};
    int pos = 0;
    StringBuilder(buffer.data(), &pos, u"abc");
    StringBuilder(buffer.data(), &pos, u"defgh", 2);
    StringBuilder(buffer.data(), &pos, u"x", 0);
    SafeStringBuilder(buffer.data(), &pos, nullptr);
    SafeStringBuilder(buffer.data(), &pos, u"!", 5);
    EXPECT_EQ(u"abcde!", At(buffer.data()));
    EXPECT_EQ(6, pos);
    EXPECT_EQ(u"ab", At(wstrncpy(buffer.data(), u"abc", 2)));
    EXPECT_EQ(u"", At(wstrncpy(buffer.data(), nullptr, 2)));
    // The source may lie in the buffer.
    buffer = {u'a', u'b'};
    StringBuilder(buffer.data(), &(pos = 2), buffer.data());
    EXPECT_EQ(u"abab", At(buffer.data()));
    wstrncpy(buffer.data() + 1, buffer.data(), 4);
    EXPECT_EQ(u"aabab", At(buffer.data()));
    wstrncpy(buffer.data(), buffer.data() + 2, -1);
    EXPECT_EQ(u"", At(buffer.data()));
}

TEST(StrFunctionsTest, CopyPhoneEndsAtTheSourcesLength) {
    std::array<WCHAR, 32> buffer{};
    CopyPhone(buffer.data(), u"(030) 12-34");
    EXPECT_EQ(u"0301234", At(buffer.data())); // a zeroed buffer
    buffer = {u'a', u'b'};
    CopyPhone(buffer.data(), u"123");
    EXPECT_EQ(u"ab1", At(buffer.data())); // cut at 3
    CopyPhone(buffer.data(), u"");
    EXPECT_EQ(u"", At(buffer.data()));
}

TEST(StrFunctionsTest, Printable) {
    WCHAR text[] = u"a\x01"
                   u"b\nc\u00E4 d";
    EXPECT_EQ(u"abc\u00E4 d", Taken(CleanupStringForPrintable(text, 100)));
    EXPECT_EQ(u"ab", Taken(CleanupStringForPrintable(text, 4)));
    std::vector<WCHAR> bare{u'x', 1, u'y'}; // no more than n characters are looked at
    EXPECT_EQ(u"xy", Taken(CleanupStringForPrintable(bare.data(), 3)));
    EXPECT_EQ(text, CleanupStringForPrintable(text, 0));
    EXPECT_EQ(nullptr, CleanupStringForPrintable(nullptr, 5));
}

TEST(StrFunctionsTest, FileNames) {
    std::u16string bad = u"a\t\n\r\"*/:<>?\\|b";
    EXPECT_EQ(1, FilenameContrabandCleaner(bad.data(), true));
    EXPECT_EQ(14, FilenameContrabandCleaner(bad.data(), false));
    EXPECT_EQ(u"a____________b", bad);
    std::u16string longName(300, u'n');
    EXPECT_EQ(225, FilenameContrabandCleaner(longName.data(), false));
    EXPECT_EQ(300u, At(longName.c_str()).size());
}

std::u16string Url(const WCHAR* text, int size) {
    std::u16string buffer(static_cast<std::size_t>(size) + 4, u'#');
    UrlEncode(text, buffer.data(), size);
    EXPECT_EQ(u"####", buffer.substr(static_cast<std::size_t>(size))); // nothing beyond its room
    return At(buffer.c_str());
}

TEST(StrFunctionsTest, UrlEncode) {
    EXPECT_EQ(u"a+b", Url(u"a b", 50));
    EXPECT_EQ(u"A9%2F%3F%0A", Url(u"A9/?\n", 50));
    EXPECT_EQ(u"%E4%20%12", Url(u"\u00E4\u20AC\u1234", 50)); // only the two leading digits
    EXPECT_EQ(u"abcdefgh", Url(u"abcdefghij", 10));
    EXPECT_EQ(u"abcdef", Url(u"abcdef/", 10)); // the escape would pass size - 2
}

// The match as it is told, one recursion a star: 1 for a match, 0 for none, -1 to give up.
int DoMatch(const WCHAR* text, const WCHAR* pattern);

int Star(const WCHAR* text, const WCHAR* pattern) {
    for (; *text; ++text)
        if (int result = DoMatch(text, pattern)) return result;
    return -1;
}

int DoMatch(const WCHAR* text, const WCHAR* pattern) {
    for (; *pattern; ++text, ++pattern) {
        if (!*text) return pattern[0] == u'*' && !pattern[1] ? 1 : -1;
        if (*pattern == u'*') return pattern[1] ? Star(text, pattern + 1) : 1;
        if (*pattern == u'?') continue;
        if (*pattern == u'\\') ++pattern;
        if (*pattern != *text) return 0;
    }
    return *text ? 0 : 1;
}

std::vector<std::u16string> AllTexts(std::u16string_view letters, std::size_t longest) {
    std::vector<std::u16string> all{u""};
    for (std::size_t i = 0; i < all.size(); ++i)
        for (WCHAR c : letters)
            if (all[i].size() < longest) all.push_back(all[i] + c);
    return all;
}

TEST(StrFunctionsTest, WildmatAgreesWithTheRecursionOnEverythingSmall) {
    const auto texts = AllTexts(u"ab.*", 4);
    for (const std::u16string& pattern : AllTexts(u"ab*?\\", 5)) {
        const bool wildcard = pattern.starts_with(u'?') || pattern.starts_with(u'*');
        for (const std::u16string& text : texts) {
            const bool hidden = wildcard && text.starts_with(u'.');
            ASSERT_EQ(!hidden && DoMatch(text.c_str(), pattern.c_str()) == 1,
                      wildmat(text.c_str(), pattern.c_str()))
                << std::string(text.begin(), text.end()) << " / "
                << std::string(pattern.begin(), pattern.end());
        }
    }
}

TEST(StrFunctionsTest, Wildmat) {
    EXPECT_TRUE(wildmat(u"note.pwi", u"*.pwi"));
    EXPECT_FALSE(wildmat(u"ab", u"AB"));
    EXPECT_FALSE(wildmat(kNull, u"*"));
    EXPECT_FALSE(wildmat(u"a", kNull));
    // Stars beyond number must end in time and without recursion.
    std::u16string text(20000, u'a');
    std::u16string pattern;
    for (int i = 0; i < 2000; ++i) pattern += u"*a";
    EXPECT_TRUE(wildmat(text.c_str(), pattern.c_str()));
    EXPECT_FALSE(wildmat(text.c_str(), (pattern + u"b").c_str()));
}

} // namespace
