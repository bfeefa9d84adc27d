// Items of the locale: see Platform/locale.h.
#include "Platform/locale.h"

#include "Platform/host/call.h"
#include "Platform/host/faults.h"
#include "Platform/host/localetables.h"
#include "Platform/host/text.h"
#include "Platform/threads.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

namespace {

using plat::LocaleTables;

// Items whose answer is a number.
std::optional<DWORD> NumberItem(const LocaleTables& tables, DWORD item) {
    switch (item) {
    case LOCALE_IMEASURE:
        return tables.metric ? 0 : 1;
    case LOCALE_IDATE:
        return static_cast<DWORD>(tables.order);
    case LOCALE_ITIME:
        return tables.twentyFourHours ? 1 : 0;
    case LOCALE_IFIRSTDAYOFWEEK:
        return static_cast<DWORD>(tables.firstWeekday + 6) % 7; // from Monday
    default:
        return std::nullopt;
    }
}

const std::u16string* TextItem(const LocaleTables& tables, DWORD item) {
    switch (item) {
    case LOCALE_SDATE:
        return &tables.dateSeparator;
    case LOCALE_STIME:
        return &tables.timeSeparator;
    case LOCALE_SSHORTDATE:
        return &tables.shortDate;
    case LOCALE_SLONGDATE:
        return &tables.longDate;
    case LOCALE_STIMEFORMAT:
        return &tables.time;
    case LOCALE_S1159:
        return &tables.morning;
    case LOCALE_S2359:
        return &tables.afternoon;
    case LOCALE_SDECIMAL:
        return &tables.decimal;
    case LOCALE_STHOUSAND:
        return &tables.thousand;
    default:
        break;
    }
    const auto within = [item](DWORD first, DWORD count) { return item >= first && item < first + count; };
    if (within(LOCALE_SDAYNAME1, 7)) return &tables.weekdays[(item - LOCALE_SDAYNAME1 + 1) % 7];
    if (within(LOCALE_SABBREVDAYNAME1, 7))
        return &tables.shortWeekdays[(item - LOCALE_SABBREVDAYNAME1 + 1) % 7];
    if (within(LOCALE_SMONTHNAME1, 12)) return &tables.aloneMonths[item - LOCALE_SMONTHNAME1];
    if (within(LOCALE_SABBREVMONTHNAME1, 12))
        return &tables.aloneShortMonths[item - LOCALE_SABBREVMONTHNAME1];
    return nullptr;
}

std::optional<std::u16string> ItemText(const LocaleTables& tables, DWORD item) {
    if (const auto number = NumberItem(tables, item)) return plat::ToUtf16(std::to_string(*number));
    if (const std::u16string* text = TextItem(tables, item)) return *text;
    if (item == LOCALE_SLANGUAGE) return plat::ToUtf16(tables.id);
    if (item == LOCALE_SISO639LANGNAME) return plat::ToUtf16(tables.language);
    if (item == LOCALE_SISO3166CTRYNAME) return plat::ToUtf16(tables.country);
    return std::nullopt;
}

int Fail(DWORD error) {
    SetLastError(error);
    return 0;
}

int GiveNumber(DWORD number, WCHAR* buffer, int size) {
    constexpr int kUnits = sizeof(DWORD) / sizeof(WCHAR);
    if (size == 0) return kUnits;
    if (size < kUnits) return Fail(ERROR_INSUFFICIENT_BUFFER);
    std::memcpy(buffer, &number, sizeof number);
    return kUnits;
}

int GiveText(const std::u16string& text, WCHAR* buffer, int size) {
    const int needed = static_cast<int>(text.size()) + 1;
    if (size == 0) return needed;
    if (size < needed) return Fail(ERROR_INSUFFICIENT_BUFFER);
    std::copy_n(text.c_str(), needed, buffer);
    return needed;
}

} // namespace

namespace {

std::atomic<LCID> g_systemLanguage{0};
[[maybe_unused]] const bool g_registered = (plat::AtReset([] { g_systemLanguage = 0; }), true);

LCID EnvironmentLanguage() {
    const char* told = std::getenv("QN_LANGUAGE");
    return plat::TablesOf(std::string(told ? told : "en_US")).lcid;
}

} // namespace

int GetLocaleInfoW(LCID locale, DWORD item, WCHAR* buffer, int size) {
    plat::HostCall call;
    if (size < 0 || (size > 0 && !buffer)) return Fail(ERROR_INVALID_PARAMETER);
    const LocaleTables& tables = plat::TablesOf(locale);
    const DWORD plain = item & ~(LOCALE_RETURN_NUMBER | LOCALE_NOUSEROVERRIDE);
    if (item & LOCALE_RETURN_NUMBER) {
        const auto number = NumberItem(tables, plain);
        return number ? GiveNumber(*number, buffer, size) : Fail(ERROR_INVALID_PARAMETER);
    }
    const auto text = ItemText(tables, plain);
    return text ? GiveText(*text, buffer, size) : Fail(ERROR_INVALID_PARAMETER);
}

LCID GetSystemDefaultLCID() {
    plat::HostCall call;
    const LCID set = g_systemLanguage.load(std::memory_order_relaxed);
    return set ? set : EnvironmentLanguage();
}

void PlatSetSystemLanguage(LCID language) {
    plat::HostCall call;
    g_systemLanguage.store(language, std::memory_order_relaxed);
}

LCID GetUserDefaultLCID() {
    plat::HostCall call;
    return plat::CurrentTables().lcid;
}
