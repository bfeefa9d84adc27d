// What the object model counts in: wall-clock seconds, zones, property values. No locks, no store.
#pragma once

#include "Platform/poom.h"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace plat::poom {

// --- Time -----------------------------------------------------------------------------------------------------------

using Seconds = std::int64_t; // since 1 January 1601, of a wall clock or of UTC, as the name says
inline constexpr Seconds kMinute = 60;
inline constexpr Seconds kDay = 86'400;

// The day's midnight. Never called below 1601.
constexpr Seconds DayOf(Seconds wall) { return wall - wall % kDay; }

// To the nearest second; null for what lies outside of the years 1601 to 9999, and for no number.
std::optional<Seconds> SecondsFromDate(DATE date);
DATE DateFromSeconds(Seconds seconds);
Seconds SecondsFromTicks(ULONGLONG ticks);
ULONGLONG TicksFromSeconds(Seconds seconds);
// Of the recurrence block.
constexpr DWORD MinutesFromSeconds(Seconds seconds) { return static_cast<DWORD>(seconds / kMinute); }
constexpr Seconds SecondsFromMinutes(DWORD minutes) { return static_cast<Seconds>(minutes) * kMinute; }
// The device's wall clock now.
Seconds NowOnTheWall();

TIME_ZONE_INFORMATION DeviceZone();

// A timed start or end. Of the two candidates, with and without summer time, the one that reads back unchanged; a time
// of the lost hour reads back an hour later.
Seconds UtcFromWall(const TIME_ZONE_INFORMATION& zone, Seconds wall);
Seconds WallFromUtc(const TIME_ZONE_INFORMATION& zone, Seconds utc);
// A single all-day item: it is stored so that the calendar's own, coarser rule brings its midnight back.
Seconds UtcFromAllDay(const TIME_ZONE_INFORMATION& zone, Seconds midnight);
Seconds AllDayFromUtc(const TIME_ZONE_INFORMATION& zone, Seconds utc);

// The zone of a record: Bias, StandardBias, DaylightBias; then a year and a transition, twice.
inline constexpr std::size_t kPackedZone = 48;
using PackedZone = std::array<BYTE, kPackedZone>;
PackedZone PackZone(const TIME_ZONE_INFORMATION& zone);
// `bytes` holds at least 48. With the device's names when the rules are the device's, else without names.
TIME_ZONE_INFORMATION UnpackZone(std::span<const BYTE> bytes);

// --- Bytes ----------------------------------------------------------------------------------------------------------

// Little-endian numbers of a block that may be damaged: behind its end every read gives 0 and `Ok` turns false.
class ByteReader {
public:
    explicit ByteReader(std::span<const BYTE> bytes) : m_rest(bytes) {}
    bool Ok() const { return m_ok; }
    std::size_t Left() const { return m_rest.size(); }
    WORD Read16() { return static_cast<WORD>(Number(2)); }
    DWORD Read32() { return Number(4); }
    std::span<const BYTE> Take(std::size_t count);
    std::u16string Text(std::size_t units);

private:
    DWORD Number(std::size_t width);

    std::span<const BYTE> m_rest;
    bool m_ok = true;
};

class ByteWriter {
public:
    void Write16(DWORD value) { Number(value, 2); }
    void Write32(DWORD value) { Number(value, 4); }
    void Write(std::span<const BYTE> bytes);
    void Text(std::u16string_view text);
    std::vector<BYTE> Take() { return std::move(m_bytes); }

private:
    void Number(DWORD value, int width);

    std::vector<BYTE> m_bytes;
};

// --- Property values ------------------------------------------------------------------------------------------------

struct PropValue {
    CEPROPID id = 0;
    bool absent = false;     // known not to be there; to be deleted when it stands among the changes
    ULONGLONG number = 0;    // of all fixed types; a double by its bits, a FILETIME by its ticks
    std::u16string text;     // CEVT_LPWSTR
    std::vector<BYTE> bytes; // CEVT_BLOB, CEVT_STREAM

    static PropValue Absent(CEPROPID id) { return {id, true, 0, {}, {}}; }
    static PropValue Number(CEPROPID id, ULONGLONG number) { return {id, false, number, {}, {}}; }
    static PropValue Text(CEPROPID id, std::u16string_view text);     // absent when empty
    static PropValue Bytes(CEPROPID id, std::span<const BYTE> bytes); // absent when empty

    LONG Long() const { return static_cast<LONG>(number); }
    friend bool operator==(const PropValue&, const PropValue&) = default;
};

constexpr bool IsStream(CEPROPID id) { return TypeFromPropID(id) == CEVT_STREAM; }
// A type that a caller can set as a value.
bool IsSettableType(CEPROPID id);

// `value` must be of a settable type; pointers are followed.
PropValue FromPropVal(const CEPROPVAL& value);
// Pointers of the result point into `value`. A stream goes as a blob.
CEPROPVAL ToPropVal(PropValue& value);

// Values by id, ascending.
class PropBag {
public:
    const PropValue* Find(CEPROPID id) const;
    void Set(PropValue value);
    void Erase(CEPROPID id);
    bool Empty() const { return m_values.empty(); }
    void Clear() { m_values.clear(); }
    auto begin() const { return m_values.begin(); }
    auto end() const { return m_values.end(); }
    auto begin() { return m_values.begin(); }
    auto end() { return m_values.end(); }
    bool Same(const PropBag& other) const { return m_values == other.m_values; }

private:
    std::vector<PropValue> m_values;
};

// A block for GetProps: an array of CEPROPVAL in the order given, then texts and blobs. Returns its size.
std::size_t BlockSize(std::span<const PropValue* const> values);
void FillBlock(std::span<const CEPROPID> ids, std::span<const PropValue* const> values, BYTE* block);

} // namespace plat::poom
