// VarDateFromStr: dates and times as people write them. The text is cut into numbers, words and signs; the time is
// taken out first, then the month's name, and what is left are the numbers of the date in the order of the locale.
#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/host/call.h"
#include "Platform/host/localetables.h"
#include "Platform/host/text.h"
#include "Platform/strings.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

using plat::LocaleTables;

constexpr std::size_t kMostUnits = 128; // more is no date

struct Token {
    enum class Kind { Number, Word, Sign } kind;
    int value = 0;         // of a number
    int digits = 0;        // how many it was written with
    std::u16string text{}; // of a word, small letters; of a sign the one unit
    bool Is(Kind other) const { return kind == other; }
    bool IsSign(WCHAR c) const { return kind == Kind::Sign && text[0] == c; }
};
using Tokens = std::vector<Token>;

std::u16string Lower(std::u16string_view text) {
    std::u16string lower(text);
    for (WCHAR& c : lower) c = plat::LowerUnit(c);
    return lower;
}

bool IsDigit(WCHAR c) { return c >= u'0' && c <= u'9'; }
bool IsLetter(WCHAR c) { return iswctype(c, kCharAlpha) != 0 && !IsDigit(c); }

// --- Cutting --------------------------------------------------------------------------------------------------------

// Replaces a mark of the locale ("a. m.", "오후") by one of ours, when it stands for itself.
void NameMark(std::u16string& text, const std::u16string& mark, const WCHAR* name) {
    if (mark.empty()) return;
    const std::u16string sought = Lower(mark);
    const std::size_t at = text.find(sought);
    if (at == std::u16string::npos) return;
    const std::size_t end = at + sought.size();
    if ((at > 0 && IsLetter(text[at - 1])) || (end < text.size() && IsLetter(text[end]))) return;
    text.replace(at, sought.size(), name);
}

Token NumberToken(std::u16string_view text, std::size_t& at) {
    Token token{.kind = Token::Kind::Number};
    for (; at < text.size() && IsDigit(text[at]); ++at, ++token.digits)
        token.value = std::min(token.value * 10 + (text[at] - u'0'), 100'000);
    return token;
}

Tokens Cut(std::u16string_view text) {
    Tokens tokens;
    for (std::size_t at = 0; at < text.size();) {
        if (IsDigit(text[at])) {
            tokens.push_back(NumberToken(text, at));
        } else if (IsLetter(text[at])) {
            const std::size_t first = at;
            while (at < text.size() && IsLetter(text[at])) ++at;
            tokens.push_back(
                {.kind = Token::Kind::Word, .text = std::u16string(text.substr(first, at - first))});
        } else {
            if (!iswctype(text[at], kCharSpace))
                tokens.push_back({.kind = Token::Kind::Sign, .text = std::u16string(1, text[at])});
            ++at;
        }
    }
    return tokens;
}

// --- The time -------------------------------------------------------------------------------------------------------

enum class Half { None, Morning, Afternoon };

Half TakeHalf(Tokens& tokens) {
    for (auto at = tokens.begin(); at != tokens.end(); ++at) {
        if (!at->Is(Token::Kind::Word)) continue;
        const bool morning = at->text == u"am" || at->text == u"a";
        const bool afternoon = at->text == u"pm" || at->text == u"p";
        if (!morning && !afternoon) continue;
        tokens.erase(at);
        return morning ? Half::Morning : Half::Afternoon;
    }
    return Half::None;
}

// Second of the day; nothing when the numbers are no time.
std::optional<int> SecondOf(int hour, int minute, int second, Half half) {
    if (half != Half::None && hour == 0) return std::nullopt;
    if (half == Half::Afternoon && hour < 12) hour += 12;
    if (half == Half::Morning && hour == 12) hour = 0;
    if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return hour * 3600 + minute * 60 + second;
}

struct TimePart {
    bool found = false;
    bool wrong = false;
    int second = 0;
};

// "h:mm", "h:mm:ss", or with a mark one number behind which no other stands ("3 pm").
TimePart TakeTime(Tokens& tokens, WCHAR separator) {
    const Half half = TakeHalf(tokens);
    const auto isNumber = [&](std::size_t i) {
        return i < tokens.size() && tokens[i].Is(Token::Kind::Number);
    };
    const auto joined = [&](std::size_t i) {
        return isNumber(i) && i + 1 < tokens.size() && tokens[i + 1].IsSign(separator) && isNumber(i + 2);
    };
    const auto finish = [&](std::size_t first, std::size_t count, std::optional<int> second) {
        tokens.erase(tokens.begin() + static_cast<std::ptrdiff_t>(first),
                     tokens.begin() + static_cast<std::ptrdiff_t>(first + count));
        return TimePart{true, !second, second.value_or(0)};
    };
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        if (!joined(i)) continue;
        const bool seconds = joined(i + 2);
        const int second = seconds ? tokens[i + 4].value : 0;
        return finish(i, seconds ? 5 : 3, SecondOf(tokens[i].value, tokens[i + 2].value, second, half));
    }
    if (half == Half::None) return {};
    if (!tokens.empty() && tokens.back().Is(Token::Kind::Number))
        return finish(tokens.size() - 1, 1, SecondOf(tokens.back().value, 0, 0, half));
    return {true, true, 0};
}

// --- Words of the date ----------------------------------------------------------------------------------------------

template<std::size_t Count>
int NameAt(const std::array<std::u16string, Count>& names, std::u16string_view word) {
    constexpr std::size_t kLeastPrefix = 3;
    for (std::size_t i = 0; i < Count; ++i) {
        std::u16string name = Lower(names[i]);
        if (!name.empty() && name.back() == u'.') name.pop_back();
        const bool prefix = word.size() >= kLeastPrefix && name.starts_with(word);
        if (!name.empty() && (name == word || prefix)) return static_cast<int>(i);
    }
    return -1;
}

// 1 to 12, 0 for a word that is no month of the locale.
int MonthIn(const LocaleTables& tables, std::u16string_view word) {
    for (const auto* names :
         {&tables.months, &tables.shortMonths, &tables.aloneMonths, &tables.aloneShortMonths})
        if (const int at = NameAt(*names, word); at >= 0) return at + 1;
    return 0;
}

bool IsWeekdayIn(const LocaleTables& tables, std::u16string_view word) {
    return NameAt(tables.weekdays, word) >= 0 || NameAt(tables.shortWeekdays, word) >= 0;
}

// Words that say nothing: those of the locale's own pictures ("de"), endings of English numbers, the T of ISO.
bool IsFiller(const LocaleTables& tables, const std::u16string& word) {
    for (const std::u16string_view known : {u"st", u"nd", u"rd", u"th", u"t", u"of", u"the"})
        if (word == known) return true;
    return tables.longDate.find(word) != std::u16string::npos ||
           tables.shortDate.find(word) != std::u16string::npos;
}

// Takes all words out; false for one that is not known, or for a second month.
bool TakeWords(Tokens& tokens, const LocaleTables& tables, int& month) {
    const LocaleTables& english = plat::TablesOf(std::string("en_US"));
    month = 0;
    for (const Token& token : tokens) {
        if (!token.Is(Token::Kind::Word)) continue;
        int named = MonthIn(tables, token.text);
        if (named == 0) named = MonthIn(english, token.text);
        if (named != 0 && month != 0) return false;
        if (named != 0) {
            month = named;
            continue;
        }
        const bool known = IsWeekdayIn(tables, token.text) || IsWeekdayIn(english, token.text);
        if (!known && !IsFiller(tables, token.text)) return false;
    }
    std::erase_if(tokens, [](const Token& token) { return token.Is(Token::Kind::Word); });
    return true;
}

// --- The numbers of the date ----------------------------------------------------------------------------------------

bool IsYear(const Token& token) { return token.digits > 2 || token.value > 31; }

int FullYear(const Token& token) {
    constexpr int kFirstOfNext = 30; // 00 to 29 are 20xx
    if (token.digits > 2) return token.value;
    return token.value + (token.value < kFirstOfNext ? 2000 : 1900);
}

std::optional<civil::Date> MakeDate(int year, int month, int day) {
    if (year < 100 || year > 9999 || day < 1 || day > civil::DaysInMonth(year, month)) return std::nullopt;
    return civil::Date{year, month, day};
}

std::optional<civil::Date> ThreeInOrder(const Tokens& n, plat::DateOrder order) {
    switch (order) {
    case plat::DateOrder::MonthDayYear:
        return MakeDate(FullYear(n[2]), n[0].value, n[1].value);
    case plat::DateOrder::DayMonthYear:
        return MakeDate(FullYear(n[2]), n[1].value, n[0].value);
    case plat::DateOrder::YearMonthDay:
        return MakeDate(FullYear(n[0]), n[1].value, n[2].value);
    }
    return std::nullopt;
}

// In the locale's order; where that gives no date, in the others.
std::optional<civil::Date> OfThree(const Tokens& n, plat::DateOrder order) {
    using enum plat::DateOrder;
    if (n[0].digits > 2) return ThreeInOrder(n, YearMonthDay);
    const bool yearLast = n[2].digits > 2;
    if (yearLast && order == YearMonthDay) order = DayMonthYear;
    for (const plat::DateOrder tried : {order, MonthDayYear, DayMonthYear, YearMonthDay}) {
        if (yearLast && tried == YearMonthDay) continue;
        if (const auto date = ThreeInOrder(n, tried)) return date;
    }
    return std::nullopt;
}

std::optional<civil::Date> OfTwo(const Tokens& n, plat::DateOrder order, int thisYear) {
    if (IsYear(n[1])) return MakeDate(FullYear(n[1]), n[0].value, 1);
    if (IsYear(n[0])) return MakeDate(FullYear(n[0]), n[1].value, 1);
    const bool dayFirst = order == plat::DateOrder::DayMonthYear;
    const auto usual = MakeDate(thisYear, n[dayFirst ? 1 : 0].value, n[dayFirst ? 0 : 1].value);
    return usual ? usual : MakeDate(thisYear, n[dayFirst ? 0 : 1].value, n[dayFirst ? 1 : 0].value);
}

std::optional<civil::Date> BesideMonth(const Tokens& n, int month, int thisYear) {
    if (n.size() == 1)
        return IsYear(n[0]) ? MakeDate(FullYear(n[0]), month, 1) : MakeDate(thisYear, month, n[0].value);
    if (n.size() != 2) return std::nullopt;
    const bool yearFirst = IsYear(n[0]);
    return MakeDate(FullYear(n[yearFirst ? 0 : 1]), month, n[yearFirst ? 1 : 0].value);
}

bool IsDateSign(const Token& token) {
    const WCHAR c = token.text[0];
    return c == u'/' || c == u'-' || c == u'.' || c == u',' || c == 0x2010 || c == 0x2011 || c == 0x200F ||
           c == 0x200E;
}

std::optional<civil::Date> TakeDate(Tokens tokens, const LocaleTables& tables) {
    int month;
    if (!TakeWords(tokens, tables, month)) return std::nullopt;
    for (const Token& token : tokens)
        if (token.Is(Token::Kind::Sign) && !IsDateSign(token)) return std::nullopt;
    std::erase_if(tokens, [](const Token& token) { return token.Is(Token::Kind::Sign); });
    SYSTEMTIME now;
    GetLocalTime(&now);
    if (month != 0) return BesideMonth(tokens, month, now.wYear);
    if (tokens.size() == 3) return OfThree(tokens, tables.order);
    return tokens.size() == 2 ? OfTwo(tokens, tables.order, now.wYear) : std::nullopt;
}

} // namespace

HRESULT VarDateFromStr(const WCHAR* text, LCID locale, DWORD flags, DATE* days) {
    plat::HostCall call;
    if (!text || !days || wcslen(text) > kMostUnits) return DISP_E_TYPEMISMATCH;
    const LocaleTables& tables = plat::TablesOf(locale);
    std::u16string lower = Lower(text);
    NameMark(lower, tables.morning, u" am ");
    NameMark(lower, tables.afternoon, u" pm ");
    Tokens tokens = Cut(lower);
    TimePart time = TakeTime(tokens, u':');
    const WCHAR localSign = tables.timeSeparator.empty() ? u':' : tables.timeSeparator[0];
    if (!time.found && (flags & VAR_TIMEVALUEONLY)) time = TakeTime(tokens, localSign);
    if (time.wrong) return DISP_E_TYPEMISMATCH;

    const bool hasDate = !tokens.empty();
    const auto date = hasDate ? TakeDate(std::move(tokens), tables) : std::nullopt;
    const bool dateWrong = hasDate && !date;
    const bool dateWanted = (flags & VAR_DATEVALUEONLY) != 0;
    const bool timeWanted = (flags & VAR_TIMEVALUEONLY) != 0;
    if (dateWrong || (!date && !time.found) || (dateWanted && !date) || (timeWanted && !time.found))
        return DISP_E_TYPEMISMATCH;

    const double fraction = dateWanted ? 0.0 : time.second / 86'400.0;
    const std::int64_t whole =
        date && !timeWanted ? civil::DaysFromCivil(date->year, date->month, date->day) - civil::kDaysTo1899
                            : 0;
    const auto day = static_cast<double>(whole);
    *days = whole < 0 ? day - fraction : day + fraction;
    return S_OK;
}
