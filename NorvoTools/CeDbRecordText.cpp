// The values of a record as text.
#include "NorvoTools/CeDbRecord.h"

#include "NorvoTools/CeString.h"
#include "Platform/clock.h"
#include "Platform/locale.h"

#include <array>
#include <string>

namespace {

constexpr int kDigits = 3;
constexpr LCID kSystemLocale = 2048;
constexpr WORD kFirstYearWithoutText = 10000;

std::u16string DateText(const FILETIME& time) {
    SYSTEMTIME date = {};
    if (!FileTimeToSystemTime(&time, &date) || date.wYear >= kFirstYearWithoutText) return {};
    std::array<WCHAR, 80> day = {};
    std::array<WCHAR, 80> hour = {};
    GetDateFormatW(kSystemLocale, DATE_SHORTDATE, &date, nullptr, day.data(), static_cast<int>(day.size()));
    GetTimeFormatW(kSystemLocale, TIME_NOSECONDS, &date, nullptr, hour.data(), static_cast<int>(hour.size()));
    return std::u16string(day.data()) + u' ' + hour.data();
}

} // namespace

bool CeDbRecord::GetIndexVal(int index, CeString& out) const {
    out.Empty();
    const CEPROPVAL* prop = Present(index);
    if (!prop) return false;
    switch (TypeFromPropID(prop->propid)) {
    case CEVT_I2:
        out.SetShort(prop->val.iVal);
        return true;
    case CEVT_I4:
        out.SetLong(prop->val.lVal);
        return true;
    case CEVT_UI2:
        out.SetULong(prop->val.uiVal);
        return true;
    case CEVT_UI4:
    case CEVT_RECID:
        out.SetULong(prop->val.ulVal);
        return true;
    case CEVT_R8:
        out.SetDouble(prop->val.dblVal, kDigits);
        return true;
    case CEVT_BOOL:
        out = prop->val.boolVal ? u"true" : u"false";
        return true;
    case CEVT_LPWSTR:
        out = CeString(TextAt(index));
        return true;
    case CEVT_FILETIME:
        out = CeString(DateText(prop->val.filetime));
        return true;
    case CEVT_BLOB:
        out = GetBlob(prop->val.blob.dwCount, prop->val.blob.lpb, false);
        return true;
    default:
        return false;
    }
}

CeString CeDbRecord::GetBlob(DWORD count, const BYTE* bytes, bool bSpaced) {
    constexpr std::u16string_view kHex = u"0123456789ABCDEF";
    std::u16string text;
    if (!bytes) count = 0;
    text.reserve(std::size_t{count} * (bSpaced ? 3 : 2));
    for (DWORD i = 0; i < count; ++i) {
        text += kHex[bytes[i] >> 4];
        text += kHex[bytes[i] & 15];
        if (bSpaced) text += u' ';
    }
    return CeString(std::u16string_view(text));
}
