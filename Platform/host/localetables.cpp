#include "Platform/host/localetables.h"

#include "Platform/host/faults.h"
#include "Platform/locale.h"
#include "Platform/testing.h"

#include <unicode/calendar.h>
#include <unicode/dcfmtsym.h>
#include <unicode/dtfmtsym.h>
#include <unicode/smpdtfmt.h>
#include <unicode/uloc.h>
#include <unicode/ulocdata.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>

namespace plat {

namespace {

constexpr WCHAR kQuote = u'\'';

bool IsLetter(WCHAR c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }

// The picture letters for a run of one pattern letter; empty for what a picture can't say.
std::u16string PictureField(WCHAR letter, std::size_t count) {
    switch (letter) {
    case u'y':
    case u'u':
        return count == 2 ? u"yy" : u"yyyy";
    case u'M':
    case u'L':
        return std::u16string(std::min<std::size_t>(count, 4), u'M');
    case u'd':
        return std::u16string(std::min<std::size_t>(count, 2), u'd');
    case u'E':
    case u'c':
    case u'e':
        return count == 4 ? u"dddd" : u"ddd";
    case u'h':
    case u'K':
        return std::u16string(std::min<std::size_t>(count, 2), u'h');
    case u'H':
    case u'k':
        return std::u16string(std::min<std::size_t>(count, 2), u'H');
    case u'm':
        return std::u16string(std::min<std::size_t>(count, 2), u'm');
    case u's':
        return std::u16string(std::min<std::size_t>(count, 2), u's');
    case u'a':
    case u'b':
    case u'B':
        return u"tt";
    case u'G':
        return u"gg";
    default:
        return {};
    }
}

// The end of the quoted part that starts at `at`, behind its last quote.
std::size_t EndOfQuoted(std::u16string_view text, std::size_t at) {
    for (std::size_t i = at + 1; i < text.size(); ++i) {
        if (text[i] != kQuote) continue;
        if (i + 1 < text.size() && text[i + 1] == kQuote)
            ++i;
        else
            return i + 1;
    }
    return text.size();
}

std::size_t EndOfRun(std::u16string_view text, std::size_t at) {
    const std::size_t end = text.find_first_not_of(text[at], at);
    return end == std::u16string_view::npos ? text.size() : end;
}

// --- Pieces of a picture --------------------------------------------------------------------------------------------

struct Piece {
    WCHAR field; // 0 for text that stands for itself
    std::u16string text;
};

std::vector<Piece> PiecesOf(std::u16string_view picture) {
    std::vector<Piece> pieces;
    for (std::size_t at = 0; at < picture.size();) {
        const bool quoted = picture[at] == kQuote;
        const bool field = IsLetter(picture[at]);
        const std::size_t end = quoted ? EndOfQuoted(picture, at) : field ? EndOfRun(picture, at) : at + 1;
        const std::u16string text(picture.substr(at, end - at));
        if (field || pieces.empty() || pieces.back().field)
            pieces.push_back({field ? picture[at] : u'\0', text});
        else
            pieces.back().text += text;
        at = end;
    }
    return pieces;
}

std::u16string WithoutQuotes(std::u16string text) {
    std::erase(text, kQuote);
    return text;
}

// What stands between the first two fields.
std::u16string SeparatorOf(std::u16string_view picture, const std::u16string& fallback) {
    const std::vector<Piece> pieces = PiecesOf(picture);
    for (std::size_t i = 1; i + 1 < pieces.size(); ++i)
        if (pieces[i].field == 0 && pieces[i - 1].field) return WithoutQuotes(pieces[i].text);
    return fallback;
}

DateOrder OrderOf(std::u16string_view picture) {
    for (const Piece& piece : PiecesOf(picture)) {
        if (piece.field == u'M') return DateOrder::MonthDayYear;
        if (piece.field == u'd') return DateOrder::DayMonthYear;
        if (piece.field == u'y') return DateOrder::YearMonthDay;
    }
    return DateOrder::MonthDayYear;
}

// --- From ICU -------------------------------------------------------------------------------------------------------

// Narrow no-break and thin blanks are not in the fonts of small devices.
std::u16string Plain(std::u16string text) {
    std::replace_if(
        text.begin(), text.end(), [](WCHAR c) { return c == 0x202F || c == 0x2009; }, u' ');
    return text;
}

std::u16string FromIcu(const icu::UnicodeString& text) {
    return Plain({text.getBuffer(), static_cast<std::size_t>(text.length())});
}

std::u16string PictureOf(const icu::DateFormat* format, const WCHAR* fallback) {
    const auto* simple = dynamic_cast<const icu::SimpleDateFormat*>(format);
    if (!simple) return fallback;
    icu::UnicodeString pattern;
    return PictureOfPattern(FromIcu(simple->toPattern(pattern)));
}

std::u16string DatePicture(icu::DateFormat::EStyle style, const icu::Locale& locale, const WCHAR* fallback) {
    return PictureOf(
        std::unique_ptr<icu::DateFormat>(icu::DateFormat::createDateInstance(style, locale)).get(), fallback);
}
std::u16string TimePicture(icu::DateFormat::EStyle style, const icu::Locale& locale, const WCHAR* fallback) {
    return PictureOf(
        std::unique_ptr<icu::DateFormat>(icu::DateFormat::createTimeInstance(style, locale)).get(), fallback);
}

template<std::size_t Count>
void Take(const icu::UnicodeString* texts, int count, int first, std::array<std::u16string, Count>& out) {
    for (std::size_t i = 0; i < Count && static_cast<int>(i) + first < count; ++i)
        out[i] = FromIcu(texts[static_cast<int>(i) + first]);
}

void TakeNames(const icu::DateFormatSymbols& symbols, LocaleTables& tables) {
    using Symbols = icu::DateFormatSymbols;
    int count = 0;
    const auto* texts = symbols.getMonths(count, Symbols::FORMAT, Symbols::WIDE);
    Take(texts, count, 0, tables.months);
    texts = symbols.getMonths(count, Symbols::FORMAT, Symbols::ABBREVIATED);
    Take(texts, count, 0, tables.shortMonths);
    texts = symbols.getMonths(count, Symbols::STANDALONE, Symbols::WIDE);
    Take(texts, count, 0, tables.aloneMonths);
    texts = symbols.getMonths(count, Symbols::STANDALONE, Symbols::ABBREVIATED);
    Take(texts, count, 0, tables.aloneShortMonths);
    texts = symbols.getWeekdays(count, Symbols::STANDALONE, Symbols::WIDE);
    Take(texts, count, UCAL_SUNDAY, tables.weekdays);
    texts = symbols.getWeekdays(count, Symbols::STANDALONE, Symbols::ABBREVIATED);
    Take(texts, count, UCAL_SUNDAY, tables.shortWeekdays);
    texts = symbols.getAmPmStrings(count);
    if (count >= 2) {
        tables.morning = FromIcu(texts[0]);
        tables.afternoon = FromIcu(texts[1]);
    }
    texts = symbols.getEras(count);
    if (count >= 2) tables.era = FromIcu(texts[1]);
}

void TakeNumbers(const icu::Locale& locale, LocaleTables& tables) {
    UErrorCode error = U_ZERO_ERROR;
    const icu::DecimalFormatSymbols symbols(locale, error);
    using Symbols = icu::DecimalFormatSymbols;
    tables.decimal = FromIcu(symbols.getConstSymbol(Symbols::kDecimalSeparatorSymbol));
    tables.thousand = FromIcu(symbols.getConstSymbol(Symbols::kGroupingSeparatorSymbol));
    error = U_ZERO_ERROR;
    tables.metric = ulocdata_getMeasurementSystem(tables.id.c_str(), &error) != UMS_US;
    error = U_ZERO_ERROR;
    const std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(locale, error));
    if (calendar) tables.firstWeekday = calendar->getFirstDayOfWeek(error) - UCAL_SUNDAY;
}

std::unique_ptr<LocaleTables> MakeTables(const std::string& id) {
    auto tables = std::make_unique<LocaleTables>();
    // The device knows one calendar and one set of digits, whatever is usual in the country.
    const icu::Locale locale((id + "@calendar=gregorian;numbers=latn").c_str());
    tables->id = id;
    tables->language = locale.getLanguage();
    tables->country = locale.getCountry();
    if (const LCID lcid = uloc_getLCID(id.c_str())) tables->lcid = lcid;
    tables->shortDate = DatePicture(icu::DateFormat::kShort, locale, u"M/d/yy");
    tables->longDate = DatePicture(icu::DateFormat::kFull, locale, u"dddd, MMMM d, yyyy");
    tables->time = TimePicture(icu::DateFormat::kMedium, locale, u"h:mm:ss tt");
    tables->shortTime = TimePicture(icu::DateFormat::kShort, locale, u"h:mm tt");
    for (DWORD flags = 0; flags < tables->timePictures.size(); ++flags)
        tables->timePictures[flags] =
            AdaptTimePicture(flags & TIME_NOSECONDS ? tables->shortTime : tables->time, flags);
    tables->dateSeparator = SeparatorOf(tables->shortDate, u"/");
    tables->timeSeparator = SeparatorOf(AdaptTimePicture(tables->time, TIME_NOTIMEMARKER), u":");
    tables->order = OrderOf(tables->shortDate);
    tables->twentyFourHours = tables->time.find(u'H') != std::u16string::npos;
    UErrorCode error = U_ZERO_ERROR;
    TakeNames(icu::DateFormatSymbols(locale, error), *tables);
    TakeNumbers(locale, *tables);
    return tables;
}

// --- Which locale ---------------------------------------------------------------------------------------------------

constexpr const char* kDefaultLocale = "en_US";

// ICU has formats for the language.
bool IsKnown(const std::string& id) {
    char language[ULOC_LANG_CAPACITY];
    UErrorCode error = U_ZERO_ERROR;
    uloc_getLanguage(id.c_str(), language, sizeof language, &error);
    if (U_FAILURE(error) || !language[0]) return false;
    for (int i = 0; i < uloc_countAvailable(); ++i)
        if (std::string_view(uloc_getAvailable(i)) == language) return true;
    return false;
}

struct Known {
    std::mutex mutex;
    std::map<std::string, std::unique_ptr<const LocaleTables>> byId;
    std::map<LCID, const LocaleTables*> byNumber;
    std::atomic<const LocaleTables*> current{nullptr};
};

Known& All() {
    static auto* known = new Known; // used until the last thread ends
    return *known;
}

const bool g_registered = (AtReset([] { All().current = nullptr; }), true);

const LocaleTables& TablesOfNumber(LCID number) {
    Known& all = All();
    {
        std::lock_guard lock(all.mutex);
        if (const auto found = all.byNumber.find(number); found != all.byNumber.end()) return *found->second;
    }
    char id[ULOC_FULLNAME_CAPACITY];
    UErrorCode error = U_ZERO_ERROR;
    const int length = uloc_getLocaleForLCID(number & 0xFFFF, id, sizeof id, &error);
    if (U_FAILURE(error) || length <= 0 || length >= static_cast<int>(sizeof id)) return CurrentTables();
    const LocaleTables& tables = TablesOf(std::string(id));
    std::lock_guard lock(all.mutex);
    if (all.byNumber.size() < 1000) all.byNumber.emplace(number, &tables);
    return tables;
}

} // namespace

std::u16string PictureOfPattern(const std::u16string& pattern) {
    std::u16string picture;
    for (std::size_t at = 0; at < pattern.size();) {
        const bool quoted = pattern[at] == kQuote;
        const bool field = IsLetter(pattern[at]);
        const std::size_t end = quoted ? EndOfQuoted(pattern, at) : field ? EndOfRun(pattern, at) : at + 1;
        picture += field ? PictureField(pattern[at], end - at) : pattern.substr(at, end - at);
        at = end;
    }
    return picture;
}

std::u16string AdaptTimePicture(const std::u16string& picture, DWORD flags) {
    const auto dropped = [flags](WCHAR field) {
        if (field == u't') return (flags & (TIME_NOTIMEMARKER | TIME_FORCE24HOURFORMAT)) != 0;
        if (field == u's') return (flags & (TIME_NOSECONDS | TIME_NOMINUTESORSECONDS)) != 0;
        return field == u'm' && (flags & TIME_NOMINUTESORSECONDS) != 0;
    };
    std::u16string adapted;
    bool skipText = false; // what joins a dropped first field to the next
    std::u16string text;   // what joins the last field to the next, once that one stays
    for (const Piece& piece : PiecesOf(picture)) {
        if (piece.field == 0) {
            if (!skipText) text += piece.text;
            skipText = false;
        } else if (dropped(piece.field)) {
            text.clear();
            skipText = adapted.empty();
        } else {
            adapted += text + piece.text;
            text.clear();
        }
    }
    adapted += text;
    if (flags & TIME_FORCE24HOURFORMAT) std::replace(adapted.begin(), adapted.end(), u'h', u'H');
    return adapted;
}

std::string EnvironmentLocale() {
    for (const char* name : {"LC_ALL", "LC_TIME", "LANG"}) {
        const char* value = std::getenv(name);
        if (!value || !*value) continue;
        const std::string id(value, std::string_view(value).find_first_of(".@") == std::string_view::npos
                                        ? std::string_view(value).size()
                                        : std::string_view(value).find_first_of(".@"));
        return id.size() < ULOC_FULLNAME_CAPACITY && IsKnown(id) ? id
                                                                 : kDefaultLocale; // "C" and "POSIX" are none
    }
    return kDefaultLocale;
}

const LocaleTables& CurrentTables() {
    if (const LocaleTables* tables = All().current.load(std::memory_order_acquire)) return *tables;
    const LocaleTables& tables = TablesOf(EnvironmentLocale());
    All().current.store(&tables, std::memory_order_release);
    return tables;
}

const LocaleTables& TablesOf(LCID locale) {
    const bool own =
        locale == LOCALE_NEUTRAL || locale == LOCALE_USER_DEFAULT || locale == LOCALE_SYSTEM_DEFAULT;
    return own ? CurrentTables() : TablesOfNumber(locale);
}

const LocaleTables& TablesOf(const std::string& id) {
    Known& all = All();
    std::lock_guard lock(all.mutex);
    const std::string known = IsKnown(id) ? id : kDefaultLocale;
    auto& tables = all.byId[known];
    if (!tables) tables = MakeTables(known);
    return *tables;
}

} // namespace plat

void PlatSetLocale(const std::string& locale) {
    plat::All().current = locale.empty() ? nullptr : &plat::TablesOf(locale);
}
