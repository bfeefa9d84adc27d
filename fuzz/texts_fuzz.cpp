// Texts of a user or a file: dates in every order, numbers, narrow bytes, pictures and formats of settings, fields.
// The first byte picks the reader, the rest is the text (as UTF-16, or as bytes for the code page).
#include "NorvoTools/StrFunctions.h"
#include "NorvoTools/datetime.h"
#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/strings.h"
#include "Platform/testing.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

void ReadDate(const std::u16string& text, unsigned char variant) {
    const char* locales[] = {"en_US", "de_DE", "ja_JP", "ko_KR"};
    PlatSetLocale(locales[variant % 4]);
    double days;
    SYSTEMTIME date;
    if (VarDateFromStr(text.c_str(), 0, variant / 4 % 3, &days) == S_OK &&
        !VariantTimeToSystemTime(days, &date))
        std::abort();
}

void UsePicture(const std::u16string& text) {
    const SYSTEMTIME date{2007, 3, 3, 14, 15, 5, 9, 0};
    std::vector<WCHAR> exact(
        static_cast<std::size_t>(GetDateFormatW(1024, 0, &date, text.c_str(), nullptr, 0)));
    if (!GetDateFormatW(1024, 0, &date, text.c_str(), exact.data(), static_cast<int>(exact.size())))
        std::abort();
    exact.assign(static_cast<std::size_t>(GetTimeFormatW(1024, 0, &date, text.c_str(), nullptr, 0)), 0);
    if (!GetTimeFormatW(1024, 0, &date, text.c_str(), exact.data(), static_cast<int>(exact.size())))
        std::abort();
}

// Only formats that ask for no more than is passed, and for no pointer: what else is there nobody can check.
void UseFormat(const std::u16string& text) {
    constexpr int kPassed = 8;
    int asked = 0;
    for (const WCHAR c : text) {
        if (c == u'*' || c == u's' || c == u'S' || c == u'p') return;
        asked += c == u'%';
    }
    if (asked > kPassed) return;
    WCHAR buffer[1024];
    if (wsprintfW(buffer, text.c_str(), 1, 2, 3, 4, 5, 6, 7, 8) >= 1024) std::abort();
}

void Scan(const std::u16string& text) {
    int a, b;
    swscanf(text.c_str(), u"%d:%d", &a, &b);
    WCHAR* end;
    wcstod(text.c_str(), &end);
    wcstol(text.c_str(), &end, 0);
    if (end < text.c_str() || end > text.c_str() + text.size()) std::abort();
}

void Widen(const char* bytes, int size) {
    const int units = MultiByteToWideChar(CP_ACP, 0, bytes, size, nullptr, 0);
    std::vector<WCHAR> wide(static_cast<std::size_t>(units));
    if (size > 0 && MultiByteToWideChar(CP_ACP, 0, bytes, size, wide.data(), units) != units) std::abort();
    if (units > 0) WideCharToMultiByte(CP_1252, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
}

// Splitting, counting, replacing and matching must tell the same story of a text.
void Cut(const std::u16string& bytes, WCHAR delimiter) {
    if (!delimiter) return;
    const std::u16string text = bytes.c_str();
    const std::unique_ptr<CeStrList<>> fields(Split(text.c_str(), delimiter));
    const int count = SubStrCount(text.c_str(), delimiter);
    std::u16string joined;
    for (const WCHAR* field : *fields) (joined += field) += delimiter;
    if (joined != text + delimiter || fields->GetCount() != count) std::abort();
    const WCHAR once[] = {delimiter, 0};
    const WCHAR twice[] = {delimiter, delimiter, 0};
    const std::unique_ptr<WCHAR, decltype(&std::free)> doubled(ReplaceStr(text.c_str(), once, twice),
                                                               &std::free);
    if (wcslen(doubled.get()) != text.size() + static_cast<std::size_t>(count) - 1) std::abort();
    std::u16string literal;
    for (const WCHAR c : text) (literal += u'\\') += c;
    if (!wildmat(text.c_str(), literal.c_str())) std::abort();
    std::vector<WCHAR> url(text.size() + 2);
    UrlEncode(text.c_str(), url.data(), static_cast<int>(url.size()));
    double day = 0;
    if (NorvoDateFromString(text.c_str(), 1, &day) == S_OK && !(day >= 0 && day < 1)) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    if (size < 2) return 0;
    std::u16string text((size - 2) / 2, u'\0');
    std::memcpy(text.data(), data + 2, text.size() * sizeof(WCHAR));
    switch (data[0] % 6) {
    case 0:
        ReadDate(text, data[1]);
        break;
    case 1:
        UsePicture(text);
        break;
    case 2:
        UseFormat(text);
        break;
    case 3:
        Scan(text);
        break;
    case 4:
        Widen(reinterpret_cast<const char*>(data) + 2, static_cast<int>(size - 2));
        break;
    default:
        Cut(text, data[1]);
        break;
    }
    return 0;
}
