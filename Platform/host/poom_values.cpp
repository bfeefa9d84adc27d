#include "Platform/host/poom_values.h"

#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/zonerules.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace plat::poom {

namespace {

constexpr Seconds kEndOfTime = civil::kEndOfTicks / civil::kTicksPerSecond;

SYSTEMTIME Fields(Seconds seconds) { return civil::SystemTimeFromTicks(seconds * civil::kTicksPerSecond); }

// The moments at which this wall clock could show that time: with summer time, without it.
std::array<Seconds, 2> Candidates(const TIME_ZONE_INFORMATION& zone, Seconds wall) {
    return {wall + (static_cast<Seconds>(zone.Bias) + zone.DaylightBias) * kMinute,
            wall + (static_cast<Seconds>(zone.Bias) + zone.StandardBias) * kMinute};
}

void Write(ByteWriter& out, const SYSTEMTIME& t) {
    for (WORD word :
         {t.wYear, t.wMonth, t.wDayOfWeek, t.wDay, t.wHour, t.wMinute, t.wSecond, t.wMilliseconds})
        out.Write16(word);
}

SYSTEMTIME ReadTransition(ByteReader& in) {
    SYSTEMTIME t;
    for (WORD* word :
         {&t.wYear, &t.wMonth, &t.wDayOfWeek, &t.wDay, &t.wHour, &t.wMinute, &t.wSecond, &t.wMilliseconds})
        *word = in.Read16();
    return t;
}

std::u16string_view TextOf(const WCHAR* text) {
    return text ? std::u16string_view(text) : std::u16string_view();
}

std::size_t Padded(std::size_t size) { return (size + 7) & ~std::size_t{7}; }

} // namespace

// --- Time -----------------------------------------------------------------------------------------------------------

std::optional<Seconds> SecondsFromDate(DATE date) {
    if (!(date > -200'000.0 && date < 3'000'000.0)) return std::nullopt; // also what is no number
    // Before day 0 the whole part is negative and the fraction still counts on.
    const double whole = std::trunc(date);
    const double fraction = std::fabs(date - whole);
    const Seconds seconds = (static_cast<Seconds>(whole) + civil::kDaysTo1899) * kDay +
                            static_cast<Seconds>(std::floor(fraction * kDay + 0.5));
    if (seconds < 0 || seconds >= kEndOfTime) return std::nullopt;
    return seconds;
}

DATE DateFromSeconds(Seconds seconds) {
    const Seconds day = civil::FloorDiv(seconds, kDay) - civil::kDaysTo1899;
    const double fraction = static_cast<double>(seconds - (day + civil::kDaysTo1899) * kDay) / kDay;
    return day < 0 ? static_cast<double>(day) - fraction : static_cast<double>(day) + fraction;
}

// A number that is no date, as a damaged record may hold one, is the last there is.
Seconds SecondsFromTicks(ULONGLONG ticks) {
    return std::min(static_cast<Seconds>(ticks / civil::kTicksPerSecond), kEndOfTime - 1);
}

ULONGLONG TicksFromSeconds(Seconds seconds) {
    return static_cast<ULONGLONG>(std::max<Seconds>(seconds, 0)) * civil::kTicksPerSecond;
}

Seconds NowOnTheWall() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return civil::TicksOf(now) / civil::kTicksPerSecond;
}

TIME_ZONE_INFORMATION DeviceZone() {
    TIME_ZONE_INFORMATION zone{};
    GetTimeZoneInformation(&zone);
    return zone;
}

Seconds WallFromUtc(const TIME_ZONE_INFORMATION& zone, Seconds utc) {
    const SYSTEMTIME moment = Fields(utc);
    SYSTEMTIME wall;
    bool summer = false;
    if (!CeSystemTimeToTzSpecificLocalTime(&zone, &moment, &wall, &summer)) return utc;
    return civil::TicksOf(wall) / civil::kTicksPerSecond;
}

Seconds UtcFromWall(const TIME_ZONE_INFORMATION& zone, Seconds wall) {
    const auto [summer, standard] = Candidates(zone, wall);
    return WallFromUtc(zone, summer) == wall ? summer : standard;
}

Seconds AllDayFromUtc(const TIME_ZONE_INFORMATION& zone, Seconds utc) {
    if (zone.Bias >= 1440 || zone.DaylightBias >= 1440) return WallFromUtc(zone, utc);
    // The stored date is taken as it is, though it is one of UTC: the list of the calendar is made that way.
    const SYSTEMTIME stored = Fields(utc);
    bool summer = IsInDST(stored.wYear, stored.wMonth, stored.wDay, &zone);
    if (zone.StandardDate.wMonth != 0 && zone.DaylightDate.wMonth != 0) {
        SYSTEMTIME change{};
        ConvertToAbsolute(stored.wYear, &zone.StandardDate, &change);
        summer = summer || (stored.wYear == change.wYear && stored.wMonth == change.wMonth &&
                            stored.wDay == change.wDay);
    }
    return utc -
           (static_cast<Seconds>(zone.Bias) + (summer ? zone.DaylightBias : zone.StandardBias)) * kMinute;
}

Seconds UtcFromAllDay(const TIME_ZONE_INFORMATION& zone, Seconds midnight) {
    const auto candidates = Candidates(zone, midnight);
    for (Seconds utc : candidates)
        if (AllDayFromUtc(zone, utc) == midnight) return utc;
    for (Seconds utc : candidates)
        if (DayOf(AllDayFromUtc(zone, utc)) == midnight) return utc;
    return candidates[1];
}

PackedZone PackZone(const TIME_ZONE_INFORMATION& zone) {
    ByteWriter out;
    for (LONG bias : {zone.Bias, zone.StandardBias, zone.DaylightBias}) out.Write32(static_cast<DWORD>(bias));
    out.Write16(0); // the year in front of each transition
    Write(out, zone.StandardDate);
    out.Write16(0);
    Write(out, zone.DaylightDate);
    const auto bytes = out.Take();
    PackedZone packed;
    std::copy(bytes.begin(), bytes.end(), packed.begin());
    return packed;
}

TIME_ZONE_INFORMATION UnpackZone(std::span<const BYTE> bytes) {
    ByteReader in(bytes);
    TIME_ZONE_INFORMATION zone{};
    for (LONG* bias : {&zone.Bias, &zone.StandardBias, &zone.DaylightBias})
        *bias = static_cast<LONG>(in.Read32());
    in.Read16();
    zone.StandardDate = ReadTransition(in);
    in.Read16();
    zone.DaylightDate = ReadTransition(in);
    const TIME_ZONE_INFORMATION device = DeviceZone();
    if (PackZone(device) == PackZone(zone)) return device;
    return zone;
}

// --- Bytes ----------------------------------------------------------------------------------------------------------

std::span<const BYTE> ByteReader::Take(std::size_t count) {
    if (count > m_rest.size()) {
        m_ok = false;
        m_rest = {};
        return {};
    }
    const auto taken = m_rest.first(count);
    m_rest = m_rest.subspan(count);
    return taken;
}

std::u16string ByteReader::Text(std::size_t units) {
    const auto bytes = Take(units * sizeof(WCHAR));
    std::u16string text(bytes.size() / sizeof(WCHAR), u'\0');
    if (!text.empty()) std::memcpy(text.data(), bytes.data(), bytes.size());
    return text;
}

DWORD ByteReader::Number(std::size_t width) {
    const auto bytes = Take(width);
    DWORD value = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) value |= static_cast<DWORD>(bytes[i]) << (8 * i);
    return value;
}

void ByteWriter::Write(std::span<const BYTE> bytes) {
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
}

void ByteWriter::Text(std::u16string_view text) {
    for (WCHAR unit : text) Write16(unit);
}

void ByteWriter::Number(DWORD value, int width) {
    for (int i = 0; i < width; ++i) m_bytes.push_back(static_cast<BYTE>(value >> (8 * i)));
}

// --- Property values ------------------------------------------------------------------------------------------------

PropValue PropValue::Text(CEPROPID id, std::u16string_view text) {
    return {id, text.empty(), 0, std::u16string(text), {}};
}

PropValue PropValue::Bytes(CEPROPID id, std::span<const BYTE> bytes) {
    return {id, bytes.empty(), 0, {}, std::vector<BYTE>(bytes.begin(), bytes.end())};
}

bool IsSettableType(CEPROPID id) {
    constexpr WORD kTypes[] = {CEVT_I2,  CEVT_I4,     CEVT_R8,       CEVT_BOOL, CEVT_UI2,
                               CEVT_UI4, CEVT_LPWSTR, CEVT_FILETIME, CEVT_BLOB};
    return std::ranges::find(kTypes, TypeFromPropID(id)) != std::end(kTypes);
}

PropValue FromPropVal(const CEPROPVAL& value) {
    PropValue result{value.propid, false, 0, {}, {}};
    switch (TypeFromPropID(value.propid)) {
    case CEVT_LPWSTR:
        result.text = TextOf(value.val.lpwstr);
        break;
    case CEVT_BLOB:
        if (value.val.blob.lpb)
            result.bytes.assign(value.val.blob.lpb, value.val.blob.lpb + value.val.blob.dwCount);
        break;
    case CEVT_R8:
    case CEVT_FILETIME:
        std::memcpy(&result.number, &value.val, sizeof result.number);
        break;
    case CEVT_I2:
        result.number = static_cast<DWORD>(static_cast<LONG>(value.val.iVal));
        break;
    case CEVT_UI2:
        result.number = value.val.uiVal;
        break;
    default:
        result.number = value.val.ulVal;
        break;
    }
    return result;
}

CEPROPVAL ToPropVal(PropValue& value) {
    CEPROPVAL result{};
    result.propid = value.id;
    if (value.absent) {
        result.wFlags = CEDB_PROPDELETE;
        return result;
    }
    switch (TypeFromPropID(value.id)) {
    case CEVT_LPWSTR:
        result.val.lpwstr = value.text.data();
        break;
    case CEVT_BLOB:
    case CEVT_STREAM:
        result.val.blob = {static_cast<DWORD>(value.bytes.size()), value.bytes.data()};
        break;
    default: // little-endian: the low bytes are the narrower types
        std::memcpy(&result.val, &value.number, sizeof value.number);
        break;
    }
    return result;
}

const PropValue* PropBag::Find(CEPROPID id) const {
    const auto at = std::ranges::lower_bound(m_values, id, {}, &PropValue::id);
    return at != m_values.end() && at->id == id ? &*at : nullptr;
}

void PropBag::Set(PropValue value) {
    const auto at = std::ranges::lower_bound(m_values, value.id, {}, &PropValue::id);
    if (at != m_values.end() && at->id == value.id)
        *at = std::move(value);
    else
        m_values.insert(at, std::move(value));
}

void PropBag::Erase(CEPROPID id) {
    const auto at = std::ranges::lower_bound(m_values, id, {}, &PropValue::id);
    if (at != m_values.end() && at->id == id) m_values.erase(at);
}

std::size_t BlockSize(std::span<const PropValue* const> values) {
    std::size_t size = Padded(values.size() * sizeof(CEPROPVAL));
    for (const PropValue* value : values) {
        if (!value || value->absent || IsStream(value->id)) continue;
        if (TypeFromPropID(value->id) == CEVT_LPWSTR) size += (value->text.size() + 1) * sizeof(WCHAR);
        if (TypeFromPropID(value->id) == CEVT_BLOB) size += (value->bytes.size() + 1) & ~std::size_t{1};
    }
    return size;
}

void FillBlock(std::span<const CEPROPID> ids, std::span<const PropValue* const> values, BYTE* block) {
    auto* out = reinterpret_cast<CEPROPVAL*>(block);
    BYTE* data = block + Padded(values.size() * sizeof(CEPROPVAL));
    for (std::size_t i = 0; i < values.size(); ++i) {
        const PropValue* value = values[i];
        out[i] = {};
        out[i].propid = ids[i];
        if (!value || value->absent || IsStream(ids[i])) {
            out[i].wFlags = CEDB_PROPNOTFOUND;
        } else if (TypeFromPropID(ids[i]) == CEVT_LPWSTR) {
            out[i].val.lpwstr = reinterpret_cast<WCHAR*>(data);
            const std::size_t size = (value->text.size() + 1) * sizeof(WCHAR);
            std::memcpy(data, value->text.c_str(), size);
            data += size;
        } else if (TypeFromPropID(ids[i]) == CEVT_BLOB) {
            out[i].val.blob = {static_cast<DWORD>(value->bytes.size()), data};
            if (!value->bytes.empty()) std::memcpy(data, value->bytes.data(), value->bytes.size());
            data += (value->bytes.size() + 1) & ~std::size_t{1};
        } else {
            std::memcpy(&out[i].val, &value->number, sizeof value->number);
        }
    }
}

} // namespace plat::poom
