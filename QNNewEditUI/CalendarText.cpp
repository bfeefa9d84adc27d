#include "QNNewEditUI/CalendarText.h"

#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/strings.h"

#include <algorithm>

namespace {

constexpr WCHAR kViewKey[] = u"Software\\Norvo\\Quillonary\\CAV";

struct Patterns {
    WCHAR szDate[40];
    WCHAR szTime[40];
};

// A separator of letters would be taken for a part of the picture.
void LocaleSeparator(DWORD item, const WCHAR* pszDefault, WCHAR (&text)[16]) {
    WCHAR plain[8] = {};
    if (GetLocaleInfoW(LOCALE_USER_DEFAULT, item, plain, static_cast<int>(std::size(plain))) == 0)
        wcscpy(plain, pszDefault);
    const bool letters =
        std::any_of(plain, plain + wcslen(plain), [](WCHAR c) { return towlower(c) != towupper(c); });
    _snwprintf(text, std::size(text), letters && !wcschr(plain, u'\'') ? u"'%s'" : u"%s", plain);
}

DWORD LocaleNumber(DWORD item) {
    DWORD value = 0;
    GetLocaleInfoW(LOCALE_USER_DEFAULT, item | LOCALE_RETURN_NUMBER, reinterpret_cast<WCHAR*>(&value), 2);
    return value;
}

Patterns ReadPatterns() {
    Patterns patterns{};
    WCHAR separator[16];
    LocaleSeparator(LOCALE_SDATE, u"/", separator);
    constexpr DWORD kDayFirst = 1;
    const bool dayFirst = LocaleNumber(LOCALE_IDATE) == kDayFirst;
    wsprintfW(patterns.szDate, dayFirst ? u"dd%sM" : u"M%sdd", separator);
    for (const WCHAR* key : {kSuiteKey, kViewKey}) {
        WCHAR own[std::size(patterns.szDate)] = {};
        if (GetFromRegistrySZ(HKEY_CURRENT_USER, key, u"Date_MM_d", own, static_cast<int>(std::size(own))) ==
                0 &&
            *own)
            wcscpy(patterns.szDate, own);
    }
    LocaleSeparator(LOCALE_STIME, u":", separator);
    wsprintfW(patterns.szTime, LocaleNumber(LOCALE_ITIME) ? u"H%smm" : u"h%smmt", separator);
    return patterns;
}

const Patterns& GetPatterns() {
    static const Patterns patterns = ReadPatterns();
    return patterns;
}

} // namespace

void InitCalendarPatterns() { GetPatterns(); }

CalendarShortText CalendarTimeText(double moment) {
    CalendarShortText text{};
    SYSTEMTIME time;
    if (!VariantTimeToSystemTime(moment, &time) ||
        !GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &time, GetPatterns().szTime, text.data(),
                        static_cast<int>(text.size())))
        text[0] = 0;
    _wcslwr(text.data());
    return text;
}

CalendarShortText CalendarDateText(double moment) {
    CalendarShortText text{};
    SYSTEMTIME date;
    if (!VariantTimeToSystemTime(moment, &date) ||
        !GetDateFormatW(LOCALE_USER_DEFAULT, 0, &date, GetPatterns().szDate, text.data(),
                        static_cast<int>(text.size())))
        text[0] = 0;
    return text;
}
