// Items with a rule, and the rule as an object.
#include "Platform/host/poom_host.h"

#include "Platform/civil.h"

namespace plat::poom {

// --- The item's side ------------------------------------------------------------------------------------------------

bool SeriesItem::IsRecurring() { return BoolOf(PIMPR_RECURRING); }

HRESULT SeriesItem::LoadSeries() {
    if (m_series) return S_OK;
    if (HRESULT hr = LoadStream(SeriesStream()); FAILED(hr)) return hr;
    const PropValue* block = Get(SeriesStream());
    Series series;
    if (!block || !DecodeSeries(block->bytes, series)) return E_FAIL;
    m_series = std::move(series);
    return S_OK;
}

HRESULT SeriesItem::CurrentSeries(Series& series) {
    if (!IsRecurring()) {
        series = DefaultSeries();
        return S_OK;
    }
    if (HRESULT hr = LoadSeries(); FAILED(hr)) return hr;
    series = *m_series;
    return S_OK;
}

namespace {

bool SameRule(const PlatRule& a, const PlatRule& b) {
    return a.wRecurType == b.wRecurType && a.wPatternType == b.wPatternType &&
           a.dwYearOffset == b.dwYearOffset && a.dwPeriod == b.dwPeriod && a.dwWeekMask == b.dwWeekMask &&
           a.dwDay == b.dwDay && a.dwNth == b.dwNth && a.dwStartDate == b.dwStartDate;
}

} // namespace

HRESULT SeriesItem::EditSeries(const std::function<void(Series&)>& edit) {
    Series series;
    if (HRESULT hr = CurrentSeries(series); FAILED(hr)) return hr;
    const PlatRule before = series.Rule();
    edit(series);
    // Equal values set again, as an editor does that writes all it has, must not cost the changed occurrences.
    if (!SameRule(before, series.Rule())) series.ForgetOccurrences();
    const bool made = !IsRecurring();
    m_series = std::move(series);
    m_seriesDirty = true;
    m_changed.Set(PropValue::Number(PIMPR_RECURRING, 1));
    if (made) SeriesMade();
    SeriesChanged();
    return S_OK;
}

HRESULT SeriesItem::ClearSeries() {
    if (!IsRecurring()) return S_OK;
    m_series.reset();
    m_seriesDirty = false;
    m_changed.Set(PropValue::Absent(SeriesStream()));
    m_changed.Set(PropValue::Number(PIMPR_RECURRING, 0));
    return S_OK;
}

HRESULT SeriesItem::PackSeries() {
    if (!m_seriesDirty) return S_OK;
    if (HRESULT hr = CountEnd(*m_series); FAILED(hr)) return hr;
    if (IsAllDay()) {
        m_series->SetStartTime(0);
        m_series->duration = WholeDays(m_series->duration);
    }
    m_changed.Set(PropValue::Bytes(SeriesStream(), EncodeSeries(*m_series)));
    return S_OK;
}

HRESULT SeriesItem::CopyItem(Ref<PoomItem>& copy) {
    if (HRESULT hr = PrepareSave(); FAILED(hr)) return hr;
    return PoomItem::CopyItem(copy);
}

HRESULT SeriesItem::EditOccurrences(const std::function<void(Series&)>& edit) {
    if (!m_record || m_seriesDirty) {
        if (HRESULT hr = LoadSeries(); FAILED(hr)) return hr;
        edit(*m_series);
        m_seriesDirty = true;
        return S_OK;
    }
    SaveScope scope(Records());
    if (HRESULT hr = scope.Begin(); FAILED(hr)) return hr;
    // As it stands in the store, so that two occurrences changed through two objects both stay.
    PropValue block;
    Series stored;
    if (HRESULT hr = Records().ReadStream(Kind().side, m_record, SeriesStream(), block); FAILED(hr))
        return hr;
    if (!DecodeSeries(block.bytes, stored)) return E_FAIL;
    edit(stored);
    if (HRESULT hr = CountEnd(stored); FAILED(hr)) return hr;
    block = PropValue::Bytes(SeriesStream(), EncodeSeries(stored));
    PropValue* const values[] = {&block};
    if (!Records().Write(Kind().side, m_record, values)) return LastFailure();
    if (HRESULT hr = scope.Commit(); FAILED(hr)) return hr;
    m_loaded.Set(std::move(block));
    m_series = std::move(stored);
    return S_OK;
}

// --- The object -----------------------------------------------------------------------------------------------------

namespace {

constexpr LONG kLargestInterval = 9999;
constexpr LONG kLargestCount = 999'999;

// Zero says that the value isn't given: editors write it for what they don't show.
std::optional<LONG> Given(LONG value) { return value ? std::optional(value) : std::nullopt; }

class Pattern final : public Object<IRecurrencePattern> {
public:
    explicit Pattern(SeriesItem& item) : m_item(Ref<SeriesItem>::Of(item)) {}

    HRESULT get_RecurrenceType(LONG* type) override {
        return Tell(type, [](const Series& series) { return series.type; });
    }
    HRESULT put_RecurrenceType(LONG type) override {
        if (type < 0 || type > olRecursYearNth || type == 4) return E_INVALIDARG;
        return Edit([type](Series& series) { series.type = type; });
    }
    HRESULT get_PatternStartDate(DATE* date) override {
        return Tell(date, [](const Series& series) { return Day(series.startDate); });
    }
    HRESULT put_PatternStartDate(DATE date) override {
        const auto seconds = SecondsFromDate(date);
        if (!seconds || date >= kNoDate) return E_INVALIDARG;
        return Edit([day = MinutesFromSeconds(DayOf(*seconds))](Series& series) { series.startDate = day; });
    }
    HRESULT get_PatternEndDate(DATE* date) override {
        return TellCounted(date, [](const Series& series) {
            return series.end == SeriesEnd::Never ? kNoDate : Day(series.endDate);
        });
    }
    HRESULT put_PatternEndDate(DATE date) override {
        const auto seconds = SecondsFromDate(date);
        if (!seconds) return E_INVALIDARG;
        const DWORD day = MinutesFromSeconds(DayOf(*seconds));
        if (date >= kNoDate || day >= kFirstEndless) return put_NoEndDate(VARIANT_TRUE);
        return EditEnd([day](Series& series) {
            series.end = SeriesEnd::ByDate;
            series.endDate = day;
        });
    }
    HRESULT get_NoEndDate(VARIANT_BOOL* noEnd) override {
        return Tell(noEnd, [](const Series& series) {
            return series.end == SeriesEnd::Never ? VARIANT_TRUE : VARIANT_FALSE;
        });
    }
    HRESULT put_NoEndDate(VARIANT_BOOL noEnd) override {
        if (noEnd == VARIANT_FALSE) return S_OK;
        return EditEnd([](Series& series) { series.end = SeriesEnd::Never; });
    }
    HRESULT get_Occurrences(LONG* count) override {
        return TellCounted(count, [](const Series& series) {
            return series.end == SeriesEnd::Never ? 0 : static_cast<LONG>(series.count);
        });
    }
    HRESULT put_Occurrences(LONG count) override {
        if (count < 1 || count > kLargestCount) return E_INVALIDARG;
        return EditEnd([count](Series& series) {
            series.end = SeriesEnd::AfterCount;
            series.count = static_cast<DWORD>(count);
        });
    }
    HRESULT get_StartTime(DATE* time) override {
        return Tell(time, [](const Series& series) { return series.startTime / 1440.0; });
    }
    HRESULT put_StartTime(DATE time) override {
        const auto minutes = MinutesOfTime(time);
        if (!minutes) return E_INVALIDARG;
        return Edit([minutes](Series& series) { series.SetStartTime(*minutes); });
    }
    HRESULT get_EndTime(DATE* time) override {
        return Tell(time, [](const Series& series) {
            return (series.startTime + series.duration) % kMinutesOfDay / 1440.0;
        });
    }
    HRESULT put_EndTime(DATE time) override {
        const auto minutes = MinutesOfTime(time);
        if (!minutes) return E_INVALIDARG;
        return Edit([minutes](Series& series) {
            series.duration = (*minutes + kMinutesOfDay - series.startTime) % kMinutesOfDay;
        });
    }
    HRESULT get_Duration(LONG* minutes) override {
        return Tell(minutes, [](const Series& series) { return static_cast<LONG>(series.duration); });
    }
    HRESULT put_Duration(LONG minutes) override {
        if (minutes < 0 || minutes > static_cast<LONG>(kLargestDuration)) return E_INVALIDARG;
        return Edit([minutes](Series& series) { series.duration = static_cast<DWORD>(minutes); });
    }
    HRESULT get_Interval(LONG* interval) override {
        return Tell(interval, [](const Series& series) { return series.interval.value_or(1); });
    }
    HRESULT put_Interval(LONG interval) override {
        if (interval < 0 || interval > kLargestInterval) return E_INVALIDARG;
        return Edit([interval](Series& series) { series.interval = interval; });
    }
    HRESULT get_DayOfWeekMask(LONG* mask) override {
        return Tell(mask, [](const Series& series) {
            return series.weekMask.value_or(static_cast<LONG>(series.Rule().dwWeekMask));
        });
    }
    HRESULT put_DayOfWeekMask(LONG mask) override {
        if (mask < 0 || mask > 127) return E_INVALIDARG;
        return Edit([mask](Series& series) { series.weekMask = Given(mask); });
    }
    HRESULT get_DayOfMonth(LONG* day) override {
        return Tell(day, [](const Series& series) {
            return series.dayOfMonth.value_or(static_cast<LONG>(series.Rule().dwDay));
        });
    }
    HRESULT put_DayOfMonth(LONG day) override {
        if (day < 0 || day > 31) return E_INVALIDARG;
        return Edit([day](Series& series) { series.dayOfMonth = Given(day); });
    }
    HRESULT get_Instance(LONG* instance) override {
        return Tell(instance, [](const Series& series) {
            return series.instance.value_or(static_cast<LONG>(series.Rule().dwNth));
        });
    }
    HRESULT put_Instance(LONG instance) override {
        if (instance < 0 || instance > 5) return E_INVALIDARG;
        return Edit([instance](Series& series) { series.instance = Given(instance); });
    }
    HRESULT get_MonthOfYear(LONG* month) override {
        return Tell(month, [](const Series& series) {
            const bool yearly = series.type == olRecursYearly || series.type == olRecursYearNth;
            return series.month.value_or(yearly ? MonthOf(series.startDate) : 0);
        });
    }
    HRESULT put_MonthOfYear(LONG month) override {
        if (month < 0 || month > 12) return E_INVALIDARG;
        return Edit([month](Series& series) { series.month = Given(month); });
    }
    HRESULT GetOccurrence(DATE date, IAppointment** occurrence) override {
        return m_item->Give(occurrence, [&]() -> HRESULT {
            const auto seconds = SecondsFromDate(date);
            if (!seconds || date >= kNoDate) return E_INVALIDARG;
            Ref<PoomItem> item;
            const HRESULT hr = m_item->OpenOccurrence(MinutesFromSeconds(DayOf(*seconds)), item);
            if (SUCCEEDED(hr)) *occurrence = static_cast<IAppointment*>(item.Give()->AsDispatch());
            return hr;
        });
    }

private:
    ~Pattern() override = default;

    static DATE Day(DWORD minutes) { return DateFromSeconds(SecondsFromMinutes(minutes)); }
    static LONG MonthOf(DWORD minutes) { return civil::CivilFromDays(minutes / kMinutesOfDay).month; }
    static std::optional<DWORD> MinutesOfTime(DATE time) {
        const auto seconds = SecondsFromDate(time);
        if (!seconds) return std::nullopt;
        return static_cast<DWORD>(*seconds % kDay / kMinute);
    }

    template<class T, class F>
    HRESULT Tell(T* out, F value, bool counted = false) {
        if (!out) return E_POINTER;
        return m_item->Call([&] {
            Series series;
            if (HRESULT hr = m_item->CurrentSeries(series); FAILED(hr)) return hr;
            if (HRESULT hr = counted ? CountEnd(series) : S_OK; FAILED(hr)) return hr;
            *out = value(series);
            return S_OK;
        });
    }
    template<class T, class F>
    HRESULT TellCounted(T* out, F value) {
        return Tell(out, value, true);
    }
    HRESULT Edit(const std::function<void(Series&)>& edit) {
        return m_item->Call([&] { return m_item->EditSeries(edit); });
    }
    HRESULT EditEnd(const std::function<void(Series&)>& edit) {
        return Edit([&](Series& series) {
            edit(series);
            series.endCounted = false;
        });
    }

    Ref<SeriesItem> m_item;
};

} // namespace

HRESULT SeriesItem::GivePattern(IRecurrencePattern** pattern) {
    return Give(pattern, [&] {
        Series series; // a damaged block is told here, and stays as it is
        if (HRESULT hr = CurrentSeries(series); FAILED(hr)) return hr;
        *pattern = new Pattern(*this);
        return S_OK;
    });
}

} // namespace plat::poom
