#include "Platform/host/poom_appointment.h"

#include "Platform/civil.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace plat::poom {

namespace {

std::atomic<PlatMeetingTransport> g_meetingTransport{nullptr};

constexpr std::size_t kMeetingIdSize = 28;
constexpr DWORD kDefaultMinutes = 60;

constexpr Seconds kEndOfDates = (949'998 + civil::kDaysTo1899) * kDay; // where "no date" begins

std::vector<BYTE> RandomBytes(std::size_t count) {
    std::random_device source;
    std::vector<BYTE> bytes(count);
    for (BYTE& byte : bytes) byte = static_cast<BYTE>(source());
    return bytes;
}

// The next half hour of now.
Seconds NextHalfHour() {
    constexpr Seconds kHalfHour = 30 * kMinute;
    return (NowOnTheWall() / kHalfHour + 1) * kHalfHour;
}

} // namespace

std::optional<TIME_ZONE_INFORMATION> ZoneOf(const PropValue* blob) {
    if (!blob) return std::nullopt;
    if (blob->bytes.size() == kPackedZone) return UnpackZone(blob->bytes);
    if (blob->bytes.size() < sizeof(TIME_ZONE_INFORMATION)) return std::nullopt;
    TIME_ZONE_INFORMATION zone;
    std::memcpy(&zone, blob->bytes.data(), sizeof zone);
    return zone;
}

void AppointmentItem::InitNew() {
    PoomItem::InitNew();
    m_changed.Set(PropValue::Number(PIMPR_DURATION, kDefaultMinutes));
    m_wallStart = NextHalfHour();
    m_timesTouched = true;
}

// --- Times ----------------------------------------------------------------------------------------------------------

TIME_ZONE_INFORMATION AppointmentItem::Zone() {
    if (IsRecurring())
        if (const auto zone = ZoneOf(Get(PIMPR_TIMEZONE))) return *zone;
    return DeviceZone();
}

Seconds AppointmentItem::WallStart() {
    if (!m_wallStart) {
        const PropValue* start = Get(PIMPR_START);
        m_wallStart = WallOf(start ? SecondsFromTicks(start->number) : 0);
    }
    return IsAllDay() ? DayOf(*m_wallStart) : *m_wallStart;
}

DWORD AppointmentItem::Minutes() {
    const auto minutes = static_cast<DWORD>(std::max(LongOf(PIMPR_DURATION), 0));
    return IsAllDay() ? WholeDays(minutes) : minutes;
}

Seconds AppointmentItem::StoredMoment(Seconds wall) {
    return IsAllDay() && IsSingle() ? UtcFromAllDay(DeviceZone(), wall) : UtcFromWall(Zone(), wall);
}

Seconds AppointmentItem::WallOf(Seconds stored) {
    return IsAllDay() && IsSingle() ? AllDayFromUtc(DeviceZone(), stored) : WallFromUtc(Zone(), stored);
}

void AppointmentItem::StoreTimes() {
    const Seconds start = WallStart();
    const DWORD minutes = Minutes();
    m_changed.Set(PropValue::Number(PIMPR_START, TicksFromSeconds(StoredMoment(start))));
    m_changed.Set(PropValue::Number(PIMPR_DURATION, minutes));
    m_changed.Set(
        PropValue::Number(PIMPR_END, TicksFromSeconds(StoredMoment(start + SecondsFromMinutes(minutes)))));
}

void AppointmentItem::Refresh() {
    if (m_timesTouched) StoreTimes();
}

HRESULT AppointmentItem::SetWallStart(Seconds wall) {
    if (IsAllDay()) wall = DayOf(wall);
    if (wall == WallStart()) return S_OK;
    if (IsRecurring()) {
        const bool otherDay = DayOf(wall) != DayOf(WallStart());
        const HRESULT hr = EditSeries([&](Series& series) {
            series.SetStartTime(MinutesFromSeconds(wall % kDay));
            if (otherDay) series.startDate = MinutesFromSeconds(DayOf(wall));
        });
        if (FAILED(hr)) return hr;
    }
    m_wallStart = wall;
    m_timesTouched = true;
    return S_OK;
}

HRESULT AppointmentItem::get_Start(DATE* date) {
    return Tell(date, [this] { return DateFromSeconds(WallStart()); });
}

HRESULT AppointmentItem::put_Start(DATE date) {
    const auto wall = SecondsFromDate(date);
    if (!wall || date >= kNoDate) return E_INVALIDARG;
    return Call([&] { return SetWallStart(*wall); });
}

HRESULT AppointmentItem::get_End(DATE* date) {
    return Tell(date, [this] { return DateFromSeconds(WallStart() + SecondsFromMinutes(Minutes())); });
}

HRESULT AppointmentItem::put_End(DATE date) {
    const auto wall = SecondsFromDate(date);
    if (!wall || date >= kNoDate) return E_INVALIDARG;
    return Call([&]() -> HRESULT {
        const Seconds minutes = (*wall - WallStart()) / kMinute;
        if (minutes < 0) return E_INVALIDARG;
        return CheckAndPut(PropValue::Number(PIMPR_DURATION, static_cast<ULONGLONG>(minutes)));
    });
}

HRESULT AppointmentItem::get_Duration(LONG* minutes) {
    return Tell(minutes, [this] { return static_cast<LONG>(Minutes()); });
}

HRESULT AppointmentItem::put_Duration(LONG minutes) {
    if (minutes < 0) return E_INVALIDARG;
    return TakeLong(PIMPR_DURATION, minutes);
}

bool AppointmentItem::Field(std::u16string_view name, FieldValue& value) {
    const auto is = [name](std::u16string_view other) { return SameWithoutCase(name, other); };
    if (is(u"Start"))
        value = {false, DateFromSeconds(WallStart()), {}};
    else if (is(u"End"))
        value = {false, DateFromSeconds(WallStart() + SecondsFromMinutes(Minutes())), {}};
    else if (is(u"Duration"))
        value = {false, static_cast<double>(Minutes()), {}};
    else
        return PoomItem::Field(name, value);
    return true;
}

// --- Properties that hang together ----------------------------------------------------------------------------------

HRESULT AppointmentItem::CanPut(const PropValue& value) {
    switch (value.id) {
    case PIMPR_START:
    case PIMPR_END:
        return value.absent || SecondsFromTicks(value.number) >= kEndOfDates ? E_INVALIDARG : CanPutTimes();
    case PIMPR_DURATION:
        return value.absent || value.number > kLargestDuration ? E_INVALIDARG : CanPutTimes();
    case PIMPR_ALLDAY:
        return CanPutTimes();
    case PIMPR_TIMEZONE:
        return value.absent || ZoneOf(&value) ? S_OK : E_INVALIDARG;
    default:
        return PoomItem::CanPut(value);
    }
}

// The times of a series stand in its block, too: one that can't be read isn't left behind with others.
HRESULT AppointmentItem::CanPutTimes() {
    Series series;
    return IsRecurring() ? CurrentSeries(series) : S_OK;
}

void AppointmentItem::Put(PropValue value) {
    switch (value.id) {
    case PIMPR_START:
        SetWallStart(WallOf(SecondsFromTicks(value.number)));
        return;
    case PIMPR_END:
        return PutEnd(WallOf(SecondsFromTicks(value.number)));
    case PIMPR_DURATION:
        WallStart();
        if (IsRecurring() && value.number != Minutes())
            EditSeries([&](Series& series) { series.duration = static_cast<DWORD>(value.number); });
        m_timesTouched = true;
        break;
    case PIMPR_ALLDAY:
        PutAllDay(value);
        break;
    case PIMPR_TIMEZONE:
        // The wall clock stays, and with it what a series shows in its own zone.
        m_wallStart = WallStart();
        m_timesTouched = true;
        if (const auto zone = ZoneOf(&value); zone && !value.absent) {
            const PackedZone packed = PackZone(*zone);
            value = PropValue::Bytes(PIMPR_TIMEZONE, packed);
        }
        break;
    default:
        break;
    }
    PoomItem::Put(std::move(value));
}

void AppointmentItem::PutEnd(Seconds wall) {
    // The stored end of a day near a change of the clock may lie an hour beside its midnight.
    if (IsAllDay()) wall = DayOf(wall + kDay / 2);
    const Seconds minutes = std::clamp<Seconds>((wall - WallStart()) / kMinute, 0, kLargestDuration);
    Put(PropValue::Number(PIMPR_DURATION, static_cast<DWORD>(minutes)));
}

void AppointmentItem::PutAllDay(const PropValue& value) {
    m_wallStart = WallStart(); // by the rule in force until now
    if (value.number) m_wallStart = DayOf(*m_wallStart);
    m_timesTouched = true;
    if (!IsRecurring() || IsAllDay() == (value.number != 0)) return;
    const auto time = MinutesFromSeconds(*m_wallStart % kDay);
    m_changed.Set(value);
    EditSeries([time](Series& series) { series.SetStartTime(time); });
}

const PropValue* AppointmentItem::ForCaller(CEPROPID id) {
    if (id != PIMPR_TIMEZONE) return Get(id);
    const auto zone = ZoneOf(Get(PIMPR_TIMEZONE));
    if (!zone) return nullptr;
    m_wideZone = {PIMPR_TIMEZONE, false, 0, {}, std::vector<BYTE>(sizeof *zone)};
    std::memcpy(m_wideZone.bytes.data(), &*zone, sizeof *zone);
    return &m_wideZone;
}

// --- The series -----------------------------------------------------------------------------------------------------

Series AppointmentItem::DefaultSeries() {
    Series series;
    series.startDate = MinutesFromSeconds(DayOf(WallStart()));
    series.startTime = MinutesFromSeconds(WallStart() % kDay);
    series.duration = Minutes();
    return series;
}

// A zone that was given before the rule stays; else the series is in the device's, whatever that becomes later.
void AppointmentItem::SeriesMade() {
    if (ZoneOf(Get(PIMPR_TIMEZONE))) return;
    const PackedZone packed = PackZone(DeviceZone());
    m_changed.Set(PropValue::Bytes(PIMPR_TIMEZONE, packed));
}

void AppointmentItem::SeriesChanged() {
    m_wallStart = SecondsFromMinutes(m_series->startDate + m_series->startTime);
    m_changed.Set(PropValue::Number(PIMPR_DURATION, m_series->duration));
    m_timesTouched = true;
}

HRESULT AppointmentItem::ClearSeries() {
    if (!IsRecurring()) return S_OK;
    const Seconds wall = WallStart();
    const Seconds utc = UtcFromWall(Zone(), wall);
    SeriesItem::ClearSeries();
    m_changed.Set(PropValue::Absent(PIMPR_TIMEZONE));
    m_wallStart = IsAllDay() ? wall : WallFromUtc(DeviceZone(), utc);
    m_timesTouched = true;
    return S_OK;
}

HRESULT AppointmentItem::OpenOccurrence(DWORD day, Ref<PoomItem>& occurrence) {
    if (!IsRecurring()) return E_NOTFOUND;
    if (HRESULT hr = LoadSeries(); FAILED(hr)) return hr;
    if (HRESULT hr = CountEnd(*m_series); FAILED(hr)) return hr;
    const bool changed = m_series->FindChanged(day) != nullptr;
    if (!changed && m_series->IsDeleted(day)) return E_NOTFOUND;
    if (!changed && !PlatGetRuleWalk()) return E_UNEXPECTED;
    if (!changed && !HasRuleDate(*m_series, day)) return E_NOTFOUND;
    occurrence = MakeOccurrence(*this, *m_series, day);
    return S_OK;
}

HRESULT OccurrencesOf(PoomItem& item, Seconds from, Seconds span, bool plain,
                      std::vector<OccurrenceTimes>& times) {
    Series series;
    if (HRESULT hr = static_cast<AppointmentItem&>(item).CurrentSeries(series); FAILED(hr)) return hr;
    if (HRESULT hr = CountEnd(series); FAILED(hr)) return hr;
    Seconds first = SecondsFromMinutes(series.startDate + series.startTime);
    if (!series.changed.empty()) first = std::min(first, SecondsFromMinutes(series.changed.front().start));
    from = std::max(from, first);
    std::vector<DWORD> days;
    if (plain)
        days = RuleDates(series, MinutesFromSeconds(DayOf(from)), MinutesFromSeconds(DayOf(from + span)));
    std::erase_if(days, [&](DWORD day) { return series.IsDeleted(day); });
    for (DWORD day : days) {
        const Seconds start = SecondsFromMinutes(day + series.startTime);
        times.push_back({day, start, start + SecondsFromMinutes(series.duration), false});
    }
    for (const ChangedOccurrence& changed : series.changed)
        times.push_back({changed.OriginalDay(), SecondsFromMinutes(changed.start),
                         SecondsFromMinutes(changed.end), true});
    std::erase_if(times,
                  [&](const OccurrenceTimes& one) { return one.start < from || one.start > from + span; });
    std::ranges::stable_sort(times, {}, &OccurrenceTimes::start);
    return S_OK;
}

// --- Saving ---------------------------------------------------------------------------------------------------------

HRESULT AppointmentItem::PrepareSave() {
    if (HRESULT hr = PackSeries(); FAILED(hr)) return hr;
    if (m_seriesDirty)
        m_wallStart = SecondsFromMinutes(FirstDate(*m_series) + (IsAllDay() ? 0 : m_series->startTime));
    if (m_timesTouched || m_seriesDirty) StoreTimes();
    if (m_changed.Find(PIMPR_RECIPIENTS) && Get(PIMPR_RECIPIENTS) && !Get(PIMPR_MEETING_ID))
        m_changed.Set(PropValue::Bytes(PIMPR_MEETING_ID, RandomBytes(kMeetingIdSize)));
    return S_OK;
}

void AppointmentItem::Saved() {
    m_wallStart.reset();
    m_timesTouched = false;
    m_seriesDirty = false;
    if (!IsRecurring()) m_series.reset();
}

HRESULT AppointmentItem::Transport(bool cancel) {
    const PlatMeetingTransport transport = g_meetingTransport.load();
    return transport ? transport(this, cancel) : E_FAIL;
}

Ref<PoomItem> MakeAppointment(PoomApplication& app, const ItemKind& kind) {
    return Ref<PoomItem>(new AppointmentItem(app, kind));
}

} // namespace plat::poom

void PlatSetMeetingTransport(PlatMeetingTransport transport) {
    plat::HostCall call;
    plat::poom::g_meetingTransport.store(transport);
}
