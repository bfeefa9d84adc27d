// An occurrence of a series as an item: its own values over those of the series, written into the recurrence block.
#include "Platform/host/poom_appointment.h"

#include <algorithm>

namespace plat::poom {

namespace {

// The values that an occurrence can have of its own; Start is apart, in m_wallStart.
constexpr CEPROPID kOwn[] = {PIMPR_SUBJECT, PIMPR_LOCATION, PIMPR_BUSYSTATUS,
                             PIMPR_ALLDAY,  PIMPR_DURATION, PIMPR_NOTE};
// What the 16-bit counts of its record can tell.
constexpr std::size_t kLongestText = 0xFFFE;
constexpr std::size_t kLargestNote = 0xFFFF;

class Occurrence final : public AppointmentItem {
public:
    Occurrence(AppointmentItem& series, const Series& rule, DWORD day)
        : AppointmentItem(series.App(), series.Kind()), m_item(Ref<AppointmentItem>::Of(series)), m_day(day) {
        const ChangedOccurrence* changed = rule.FindChanged(day);
        m_original = day + rule.startTime;
        Seconds start = SecondsFromMinutes(m_original);
        DWORD minutes = m_item->Minutes();
        if (changed) {
            m_kept = *changed;
            start = SecondsFromMinutes(changed->start);
            minutes = changed->end > changed->start ? changed->end - changed->start : 0;
            TakeOver(*changed);
        }
        m_changed.Set(PropValue::Number(PIMPR_DURATION, minutes));
        m_wallStart = start;
        m_savedStart = start;
        m_savedValues = m_changed;
    }

    HRESULT get_Recipients(IRecipients** recipients) override { return m_item->get_Recipients(recipients); }

    CEOID Oid() const override { return m_item->Oid(); }
    bool IsRecurring() override { return true; }
    HRESULT CurrentSeries(Series& series) override { return m_item->CurrentSeries(series); }
    HRESULT EditSeries(const std::function<void(Series&)>&) override { return E_FAIL; }
    HRESULT ClearSeries() override { return E_FAIL; }
    HRESULT GivePattern(IRecurrencePattern** pattern) override { return m_item->GivePattern(pattern); }
    HRESULT OpenOccurrence(DWORD day, Ref<PoomItem>& occurrence) override {
        return m_item->OpenOccurrence(day, occurrence);
    }
    TIME_ZONE_INFORMATION Zone() override { return m_item->Zone(); }

    const PropValue* Get(CEPROPID id) override {
        const PropValue* own = m_changed.Find(id);
        if (own) return own->absent ? nullptr : own;
        return m_item->Get(id);
    }

    std::vector<CEPROPID> AllIds() override {
        std::vector<CEPROPID> ids = m_item->AllIds();
        for (const PropValue& own : m_changed)
            if (!IsStream(own.id)) ids.push_back(own.id);
        std::ranges::sort(ids);
        ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
        std::erase_if(ids, [this](CEPROPID id) { return !Get(id); });
        return ids;
    }

    HRESULT LoadStream(CEPROPID id) override { return m_changed.Find(id) ? S_OK : m_item->LoadStream(id); }

    // The fields of the series are set on the series; its named properties may be set from here.
    HRESULT CanPut(const PropValue& value) override {
        const bool time = value.id == PIMPR_START || value.id == PIMPR_END;
        if (IsNamed(value.id)) return S_OK;
        if (!time && std::ranges::find(kOwn, value.id) == std::end(kOwn)) return E_FAIL;
        if (value.text.size() > kLongestText || value.bytes.size() > kLargestNote) return E_INVALIDARG;
        return AppointmentItem::CanPut(value);
    }
    void Put(PropValue value) override {
        if (value.id == PIMPR_DURATION)
            PoomItem::Put(std::move(value)); // NOLINT(bugprone-parent-virtual-call)
        else
            AppointmentItem::Put(std::move(value));
    }
    HRESULT SetWallStart(Seconds wall) override {
        m_wallStart = IsAllDay() ? DayOf(wall) : wall;
        return S_OK;
    }

    HRESULT SaveItem() override {
        if (m_changed.Same(m_savedValues) && m_wallStart == m_savedStart) return S_OK;
        ChangedOccurrence changed = Record();
        if (HRESULT hr = m_item->EditOccurrences([&](Series& series) { series.Change(changed); }); FAILED(hr))
            return hr;
        m_kept = std::move(changed);
        m_savedValues = m_changed;
        m_savedStart = m_wallStart;
        return S_OK;
    }
    HRESULT DeleteItem() override {
        return m_item->EditOccurrences([this](Series& series) { series.DeleteOccurrence(m_day); });
    }
    HRESULT CopyItem(Ref<PoomItem>& copy) override { return m_item->CopyAsSingle(*this, m_changed, copy); }

protected:
    bool IsSingle() override { return false; }
    PoomItem& NamedOwner() override { return *m_item; }
    void PutAllDay(const PropValue& value) override {
        if (value.number) m_wallStart = DayOf(*m_wallStart);
    }
    void Refresh() override {
        const Seconds start = WallStart();
        m_computed.Set(PropValue::Number(PIMPR_START, TicksFromSeconds(StoredMoment(start))));
        m_computed.Set(PropValue::Number(
            PIMPR_END, TicksFromSeconds(StoredMoment(start + SecondsFromMinutes(Minutes())))));
    }
    const PropValue* ForCaller(CEPROPID id) override {
        if (id == PIMPR_START || id == PIMPR_END) return m_computed.Find(id);
        return AppointmentItem::ForCaller(id);
    }

private:
    void TakeOver(const ChangedOccurrence& changed) {
        if (changed.subject) m_changed.Set(PropValue::Text(PIMPR_SUBJECT, *changed.subject));
        if (changed.location) m_changed.Set(PropValue::Text(PIMPR_LOCATION, *changed.location));
        if (changed.busyStatus) m_changed.Set(PropValue::Number(PIMPR_BUSYSTATUS, *changed.busyStatus));
        if (changed.allDay) m_changed.Set(PropValue::Number(PIMPR_ALLDAY, *changed.allDay));
        if (changed.note) m_changed.Set(PropValue::Bytes(PIMPR_NOTE, *changed.note));
    }
    // Only what differs from the series gets a part.
    bool Differs(CEPROPID id) {
        const PropValue* own = Get(id);
        const PropValue* series = m_item->Get(id);
        if (!own || !series) return own != series;
        return *own != *series;
    }
    ChangedOccurrence Record() {
        ChangedOccurrence record;
        record.otherFlags = m_kept.otherFlags;
        record.reserved = m_kept.reserved;
        record.part4 = m_kept.part4;
        record.part8 = m_kept.part8;
        record.start = MinutesFromSeconds(WallStart());
        record.end = record.start + Minutes();
        record.original = m_original;
        if (Differs(PIMPR_SUBJECT)) record.subject = TextOf(PIMPR_SUBJECT);
        if (Differs(PIMPR_LOCATION)) record.location = TextOf(PIMPR_LOCATION);
        if (Differs(PIMPR_BUSYSTATUS)) record.busyStatus = static_cast<WORD>(LongOf(PIMPR_BUSYSTATUS));
        if (Differs(PIMPR_ALLDAY)) record.allDay = BoolOf(PIMPR_ALLDAY);
        if (Differs(PIMPR_NOTE)) {
            const PropValue* note = Get(PIMPR_NOTE);
            record.note = note ? note->bytes : std::vector<BYTE>();
        }
        return record;
    }

    Ref<AppointmentItem> m_item;
    const DWORD m_day;
    DWORD m_original = 0;
    ChangedOccurrence m_kept; // the record as it was, for the parts that are of other writers
    PropBag m_savedValues;
    std::optional<Seconds> m_savedStart;
    PropBag m_computed;
};

} // namespace

HRESULT AppointmentItem::CopyAsSingle(AppointmentItem& occurrence, const PropBag& own, Ref<PoomItem>& copy) {
    const Seconds wall = occurrence.WallStart();
    copy = App().MakeItem(Kind());
    if (HRESULT hr = CopyInto(*copy); FAILED(hr)) return hr;
    auto& twin = static_cast<AppointmentItem&>(*copy);
    twin.SeriesItem::ClearSeries();
    twin.m_changed.Erase(PIMPR_TIMEZONE);
    twin.m_changed.Erase(PIMPR_RECURRENCE);
    for (const PropValue& value : own) twin.m_changed.Set(value);
    twin.m_wallStart = occurrence.IsAllDay() ? wall : WallFromUtc(DeviceZone(), UtcFromWall(Zone(), wall));
    twin.m_timesTouched = true;
    return S_OK;
}

Ref<PoomItem> MakeOccurrence(AppointmentItem& series, const Series& rule, DWORD day) {
    return Ref<PoomItem>(new Occurrence(series, rule, day));
}

} // namespace plat::poom
