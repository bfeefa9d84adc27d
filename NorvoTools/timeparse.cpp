// Times and dates out of text, and the device's habits.
#include "NorvoTools/datetime.h"
#include "NorvoTools/StrFunctions.h"

#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/strings.h"

#include <array>
#include <string>
#include <string_view>

namespace {

constexpr HRESULT kNoText = static_cast<HRESULT>(0x80020005);
constexpr HRESULT kNoTime = static_cast<HRESULT>(0x80020008);
constexpr DWORD kTimeFlag = 1;
constexpr DWORD kDateFlag = 2;
constexpr int kMinutesPerDay = 1440;
constexpr int kTooLarge = 100'000; // no hour, no minute: digits beyond it only have to stay too large

std::u16string LocaleItem(DWORD item) {
    std::array<WCHAR, 80> text{};
    int length = GetLocaleInfoW(LOCALE_USER_DEFAULT, item, text.data(), static_cast<int>(text.size()));
    return length > 0 ? std::u16string(text.data()) : std::u16string();
}

bool IsDigit(WCHAR c) { return c >= u'0' && c <= u'9'; }

// Digits taken off the front of a text.
struct Number {
    int value = 0;
    int digits = 0; // 0: there was none

    explicit Number(std::u16string_view& text) {
        for (; !text.empty() && IsDigit(text.front()); text.remove_prefix(1), ++digits)
            if (value < kTooLarge) value = value * 10 + (text.front() - u'0');
    }
};

struct Clock {
    int hour;
    int minute;
};

// "9:30", "9" or "930", where the text starts with a digit.
Clock ReadClock(std::u16string_view text) {
    Number first(text);
    const std::u16string separator = LocaleItem(LOCALE_STIME);
    if (text.starts_with(separator)) {
        text.remove_prefix(separator.size());
        while (!text.empty() && iswctype(text.front(), kCharSpace)) text.remove_prefix(1);
        Number second(text);
        if (second.digits) return {first.value, second.value};
    }
    if (first.digits >= 3) return {first.value / 100, first.value % 100};
    return {first.value, 0};
}

bool IsAfternoon(const WCHAR* text) { return wcsistr(text, LocaleItem(LOCALE_S2359).c_str()) != nullptr; }

HRESULT TimeFromText(const WCHAR* text, double* result) {
    std::u16string_view digits(text);
    while (!digits.empty() && !IsDigit(digits.front())) digits.remove_prefix(1);
    if (digits.empty()) return kNoTime;
    auto [hour, minute] = ReadClock(digits);
    const bool afternoon = IsAfternoon(text);
    if (afternoon && hour < 12)
        hour += 12;
    else if (!afternoon && hour == 12 && LocaleItem(LOCALE_ITIME) == u"0")
        hour = 0;
    if (hour >= 24 || minute >= 60) return kNoTime;
    *result = (hour * 60 + minute) / static_cast<double>(kMinutesPerDay);
    return S_OK;
}

} // namespace

HRESULT NorvoDateFromString(const WCHAR* pszText, DWORD dwFlags, double* pResult) {
    if (!pszText || !*pszText) return kNoText;
    if (!pResult) return E_INVALIDARG;
    if (dwFlags == 0 || (dwFlags & kTimeFlag)) return TimeFromText(pszText, pResult);
    if (dwFlags & kDateFlag) return VarDateFromStr(pszText, LOCALE_NEUTRAL, VAR_DATEVALUEONLY, pResult);
    return E_INVALIDARG;
}

bool IsEuroFormat() {
    const std::u16string measure = LocaleItem(LOCALE_IMEASURE);
    return !measure.empty() && _wtol(measure.c_str()) == 0;
}

int GetDefaultFirstDayOfDevice() {
    const std::u16string first = LocaleItem(LOCALE_IFIRSTDAYOFWEEK);
    const LONG day = _wtol(first.c_str()); // 0 Monday
    return first.empty() || day < 0 || day > 5 ? 0 : day + 1;
}
