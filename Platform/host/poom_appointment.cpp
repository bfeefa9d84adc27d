#include "Platform/host/poom_appointment.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace plat::poom {

namespace {

std::atomic<PlatMeetingTransport> g_meetingTransport{nullptr};

constexpr std::size_t kMeetingIdSize = 28;
constexpr DWORD kDefaultMinutes = 60;

// What every appointment's record has, so that a deletion of one sets it back.
constexpr struct {
    CEPROPID id;
    DWORD value;
} kAlways[] = {
    {PIMPR_ALLDAY, 0},      {PIMPR_REMINDER_SET, 0},    {PIMPR_RECURRING, 0},
    {PIMPR_SENSITIVITY, 0}, {PIMPR_BUSYSTATUS, olBusy}, {PIMPR_MEETINGSTATUS, 0},
};

constexpr LONG kLargestDuration = 1'440 * 3'660;

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

HRESULT AppointmentItem::QueryInterface(const IID& iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (iid == IID_IAppointment || iid == IID_IDispatch || iid == IID_IUnknown)
        *object = static_cast<IAppointment*>(this);
    else if (iid == IID_IItem)
        *object = static_cast<IItem*>(this);
    else
        return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

void AppointmentItem::InitNew() {
    for (const auto& value : kAlways) m_changed.Set(PropValue::Number(value.id, value.value));
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
        const Seconds utc = start ? SecondsFromTicks(start->number) : 0;
        const bool singleAllDay = IsAllDay() && IsSingle();
        m_wallStart = singleAllDay ? AllDayFromUtc(DeviceZone(), utc) : WallFromUtc(Zone(), utc);
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
            series.startTime = MinutesFromSeconds(wall % kDay);
            if (otherDay) series.startDate = MinutesFromSeconds(DayOf(wall));
        });
        if (FAILED(hr)) return hr;
    }
    m_wallStart = wall;
    m_timesTouched = true;
    return S_OK;
}

HRESULT AppointmentItem::get_Start(DATE* date) {
    if (!date) return E_POINTER;
    return Call([&] {
        *date = DateFromSeconds(WallStart());
        return S_OK;
    });
}

HRESULT AppointmentItem::put_Start(DATE date) {
    const auto wall = SecondsFromDate(date);
    if (!wall || date >= kNoDate) return E_INVALIDARG;
    return Call([&] { return SetWallStart(*wall); });
}

HRESULT AppointmentItem::get_End(DATE* date) {
    if (!date) return E_POINTER;
    return Call([&] {
        *date = DateFromSeconds(WallStart() + SecondsFromMinutes(Minutes()));
        return S_OK;
    });
}

HRESULT AppointmentItem::put_End(DATE date) {
    const auto wall = SecondsFromDate(date);
    if (!wall || date >= kNoDate) return E_INVALIDARG;
    return Call([&]() -> HRESULT {
        const Seconds minutes = (*wall - WallStart()) / kMinute;
        if (minutes < 0 || minutes > kLargestDuration) return E_INVALIDARG;
        return CheckAndPut(PropValue::Number(PIMPR_DURATION, static_cast<ULONGLONG>(minutes)));
    });
}

HRESULT AppointmentItem::get_Duration(LONG* minutes) {
    if (!minutes) return E_POINTER;
    return Call([&] {
        *minutes = static_cast<LONG>(Minutes());
        return S_OK;
    });
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
        return value.absent ? E_INVALIDARG : S_OK;
    case PIMPR_DURATION:
        return value.absent || value.number > static_cast<ULONGLONG>(kLargestDuration) ? E_INVALIDARG : S_OK;
    case PIMPR_TIMEZONE:
        return value.absent || ZoneOf(&value) ? S_OK : E_INVALIDARG;
    default:
        return PoomItem::CanPut(value);
    }
}

void AppointmentItem::Put(PropValue value) {
    if (value.absent)
        for (const auto& always : kAlways)
            if (always.id == value.id) value = PropValue::Number(value.id, always.value);
    switch (value.id) {
    case PIMPR_START: {
        const Seconds utc = SecondsFromTicks(value.number);
        SetWallStart(IsAllDay() && IsSingle() ? AllDayFromUtc(DeviceZone(), utc) : WallFromUtc(Zone(), utc));
        return;
    }
    case PIMPR_END: {
        const Seconds end = WallFromUtc(Zone(), SecondsFromTicks(value.number));
        Put(PropValue::Number(PIMPR_DURATION,
                              static_cast<ULONGLONG>(std::max<Seconds>(end - WallStart(), 0) / kMinute)));
        return;
    }
    case PIMPR_DURATION:
        WallStart();
        if (IsRecurring() && value.number != Minutes())
            EditSeries([&](Series& series) { series.duration = static_cast<DWORD>(value.number); });
        m_timesTouched = true;
        break;
    case PIMPR_ALLDAY:
        m_wallStart = WallStart(); // by the rule in force until now
        if (value.number) m_wallStart = DayOf(*m_wallStart);
        m_timesTouched = true;
        if (IsRecurring() && BoolOf(PIMPR_ALLDAY) != (value.number != 0)) {
            const auto time = MinutesFromSeconds(*m_wallStart % kDay);
            m_changed.Set(value);
            EditSeries([time](Series& series) { series.startTime = time; });
        }
        break;
    case PIMPR_TIMEZONE: {
        // The wall clock stays, and with it what a series shows in its own zone.
        m_wallStart = WallStart();
        m_timesTouched = true;
        const auto zone = ZoneOf(&value);
        if (!value.absent && zone) {
            const PackedZone packed = PackZone(*zone);
            value = PropValue::Bytes(PIMPR_TIMEZONE, packed);
        }
        break;
    }
    default:
        break;
    }
    PoomItem::Put(std::move(value));
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

HRESULT AppointmentItem::ClearRecurrencePattern() {
    return Call([this] { return ClearSeries(); });
}

HRESULT AppointmentItem::GiveOccurrence(DWORD day, IAppointment** occurrence) {
    if (!IsRecurring()) return E_NOTFOUND;
    if (HRESULT hr = LoadSeries(); FAILED(hr)) return hr;
    if (HRESULT hr = CountEnd(*m_series); FAILED(hr)) return hr;
    const bool changed = m_series->FindChanged(day) != nullptr;
    if (!changed && m_series->IsDeleted(day)) return E_NOTFOUND;
    if (!changed && !PlatGetRuleWalk()) return E_UNEXPECTED;
    if (!changed && !HasRuleDate(*m_series, day)) return E_NOTFOUND;
    return MakeOccurrence(*this, *m_series, day, occurrence);
}

HRESULT OccurrencesOf(PoomItem& item, Seconds from, Seconds to, std::vector<OccurrenceStart>& starts) {
    auto& appointment = static_cast<AppointmentItem&>(item);
    Series series;
    if (HRESULT hr = appointment.CurrentSeries(series); FAILED(hr)) return hr;
    if (HRESULT hr = CountEnd(series); FAILED(hr)) return hr;
    for (DWORD day : RuleDates(series, MinutesFromSeconds(DayOf(from)), MinutesFromSeconds(DayOf(to))))
        if (!series.IsDeleted(day)) starts.push_back({day, SecondsFromMinutes(day + series.startTime)});
    for (const ChangedOccurrence& changed : series.changed)
        starts.push_back({changed.OriginalDay(), SecondsFromMinutes(changed.start)});
    std::erase_if(starts,
                  [&](const OccurrenceStart& start) { return start.start < from || start.start > to; });
    std::ranges::stable_sort(starts, {}, &OccurrenceStart::start);
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

HRESULT AppointmentItem::Copy(IAppointment** copy) {
    if (!copy) return E_POINTER;
    *copy = nullptr;
    return Call([&] {
        Ref<PoomItem> twin;
        if (HRESULT hr = CopyItem(twin); FAILED(hr)) return hr;
        *copy = static_cast<AppointmentItem*>(twin.Give());
        return S_OK;
    });
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
