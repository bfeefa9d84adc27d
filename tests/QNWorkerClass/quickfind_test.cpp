// The key-pad find and the sound code.
#include "QNWorkerClass/quickfind.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

TEST(QuickFind, KeypadTexts) {
    EXPECT_TRUE(IsKeypadText(u"0123456789 #"));
    for (const WCHAR* text : {u"", u"12a", u"1*", u"\u0661"}) EXPECT_FALSE(IsKeypadText(text));
}

bool Matches(std::vector<const WCHAR*> fields, const WCHAR* typed) { return KeypadMatch(fields, typed); }

TEST(QuickFind, KeypadMatchesOneField) {
    const struct {
        const WCHAR* field;
        const WCHAR* typed;
        bool match;
    } cases[] = {
        // Rows: 0 ABC, 1 DEF, 2 GHI, 3 JKL, 4 MNO, 5 PQRS, 6 TUV, 7 WXYZ, 8 and # the digits.
        {u"Smith", u"5", true},
        {u"Smith", u"54262", true}, // S M I T H
        {u"Smith", u"426", true},   // inside
        {u"Smith", u"54263", false},
        {u"smith", u"54", true},              // case does not count
        {u"Fran\u00E7ois", u"1504042", true}, // F R A N c-cedilla O I
        {u"\u00E7", u"0", true},
        {u"Route 66", u"88", true},
        {u"Route 66", u"##", true},
        {u"Route 66", u"1 8", true}, // a blank matches a blank
        {u"Route66", u"1 8", false},
        {u"Anna", u"9", false}, // nine selects nothing, and never counts
        {u"Anna", u"09", false},
        // The match begins again behind the character that broke it, so the run ABD is not found here.
        {u"AABD", u"001", false},
    };
    for (const auto& c : cases) {
        const std::u16string field = c.field, typed = c.typed;
        EXPECT_EQ(c.match, Matches({c.field}, c.typed))
            << std::string(field.begin(), field.end()) << " / " << std::string(typed.begin(), typed.end());
    }
}

TEST(QuickFind, KeypadFieldsInOrder) {
    EXPECT_TRUE(Matches({nullptr, u"Jones", nullptr, u"Smith", nullptr}, u"54"));
    EXPECT_FALSE(Matches({u"Jones", u"Acme"}, u"54"));
    EXPECT_FALSE(Matches({nullptr, nullptr}, u"5"));
    // A field shorter than the typed text ends the test, also when a later one would match...
    EXPECT_FALSE(Matches({u"Jo", u"Smith"}, u"542"));
    // ... but not one behind the match.
    EXPECT_TRUE(Matches({u"Smith", u"Jo"}, u"542"));
}

std::u16string Code(const WCHAR* word) {
    SoundCode code;
    code.fill(u'?');
    EXPECT_EQ(word && *word, Soundex(word, code));
    EXPECT_EQ(0, code[4]);
    return code.data();
}

TEST(QuickFind, SoundCodes) {
    const struct {
        const WCHAR* word;
        const WCHAR* code;
    } cases[] = {
        {u"Smith", u"S503"},    // S, M, I, T
        {u"smith", u"s503"},    // the first as typed
        {u"Lee", u"L0"},        // no padding; the second vowel is the same digit
        {u"Ashcroft", u"A260"}, // A, S 2, H silent, C the same digit, R 6, O 0
        {u"Hwa", u"H0"},
        {u"M\u00FCller", u"M040"},
        {u"Se\u00F1or", u"S050"},
        {u"d-d", u"d"}, // what is in no group does not separate
        {u"dad", u"d03"},
        {u"123", u""},
        {u"1ab", u"11"}, // the first place takes the word's first character, whatever it is
        {u"", u""},
    };
    for (const auto& c : cases) {
        const std::u16string word = c.word;
        EXPECT_EQ(c.code, Code(c.word)) << std::string(word.begin(), word.end());
    }
    EXPECT_EQ(u"", Code(nullptr));
}

TEST(QuickFind, OnlyPhoneKeepsDigits) {
    const std::unique_ptr<WCHAR, decltype(&std::free)> digits(OnlyPhone(u"+49 (30) 12-34 ext. \u0665"),
                                                              &std::free);
    EXPECT_EQ(std::u16string(u"49301234"), digits.get());
    EXPECT_EQ(nullptr, OnlyPhone(nullptr));
}

} // namespace
