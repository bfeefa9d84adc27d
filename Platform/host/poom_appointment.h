// Appointments: the item of the record, and an occurrence of a series as an item.
#pragma once

#include "Platform/host/poom_host.h"

#include <memory>

namespace plat::poom {

struct Recipient {
    std::u16string name;
    std::u16string address;
    LONG type = olRequired;
    LONG response = olResponseNone;
};
std::vector<std::shared_ptr<Recipient>> DecodeRecipients(std::span<const BYTE> block);
std::vector<BYTE> EncodeRecipients(const std::vector<std::shared_ptr<Recipient>>& recipients);

class AppointmentItem : public SeriesObject<IAppointment> {
public:
    using SeriesObject::SeriesObject;

    HRESULT get_Location(BSTR* text) override { return GiveText(PIMPR_LOCATION, text); }
    HRESULT put_Location(BSTR text) override { return TakeText(PIMPR_LOCATION, text); }
    HRESULT get_Start(DATE* date) override;
    HRESULT put_Start(DATE date) override;
    HRESULT get_End(DATE* date) override;
    HRESULT put_End(DATE date) override;
    HRESULT get_Duration(LONG* minutes) override;
    HRESULT put_Duration(LONG minutes) override;
    HRESULT get_AllDayEvent(VARIANT_BOOL* allDay) override { return GiveBool(PIMPR_ALLDAY, allDay); }
    HRESULT put_AllDayEvent(VARIANT_BOOL allDay) override { return TakeBool(PIMPR_ALLDAY, allDay); }
    HRESULT get_BusyStatus(LONG* status) override { return GiveLong(PIMPR_BUSYSTATUS, status); }
    HRESULT put_BusyStatus(LONG status) override { return TakeLong(PIMPR_BUSYSTATUS, status); }
    HRESULT get_ReminderMinutesBeforeStart(LONG* minutes) override {
        return GiveLong(PIMPR_REMINDER_MINUTES, minutes);
    }
    HRESULT put_ReminderMinutesBeforeStart(LONG minutes) override {
        return minutes < 0 ? E_INVALIDARG : TakeLong(PIMPR_REMINDER_MINUTES, minutes);
    }
    HRESULT get_MeetingStatus(LONG* status) override { return GiveLong(PIMPR_MEETINGSTATUS, status); }
    HRESULT put_MeetingStatus(LONG status) override { return TakeLong(PIMPR_MEETINGSTATUS, status); }
    HRESULT get_Recipients(IRecipients** recipients) override;
    HRESULT Send() override { return Transport(false); }
    HRESULT Cancel() override { return Transport(true); }

    // --- with the lock held ---
    void InitNew() override;
    HRESULT CanPut(const PropValue& value) override;
    void Put(PropValue value) override;
    bool Field(std::u16string_view name, FieldValue& value) override;
    HRESULT OpenOccurrence(DWORD day, Ref<PoomItem>& occurrence) override;
    HRESULT ClearSeries() override;

    // Of the wall clock of Zone(); all-day: a midnight.
    virtual Seconds WallStart();
    DWORD Minutes(); // all-day: whole days
    virtual TIME_ZONE_INFORMATION Zone();
    virtual HRESULT SetWallStart(Seconds wall);
    // A single appointment with the values of one of this series' occurrences.
    HRESULT CopyAsSingle(AppointmentItem& occurrence, const PropBag& own, Ref<PoomItem>& copy);

    std::vector<std::shared_ptr<Recipient>>& Recipients();
    void RecipientsChanged();

protected:
    CEPROPID SeriesStream() const override { return PIMPR_RECURRENCE; }
    Series DefaultSeries() override;
    bool IsAllDay() override { return BoolOf(PIMPR_ALLDAY); }
    void SeriesMade() override;
    void SeriesChanged() override;
    HRESULT PrepareSave() override;
    void Saved() override;
    void Refresh() override;
    const PropValue* ForCaller(CEPROPID id) override;
    // A single all-day item is stored by a rule of its own.
    virtual bool IsSingle() { return !IsRecurring(); }
    Seconds StoredMoment(Seconds wall);
    Seconds WallOf(Seconds stored);
    virtual void PutAllDay(const PropValue& value);

    std::optional<Seconds> m_wallStart; // unsaved, or as read
    bool m_timesTouched = false;

private:
    HRESULT Transport(bool cancel);
    void StoreTimes();
    HRESULT CanPutTimes();
    void PutEnd(Seconds wall);

    std::optional<std::vector<std::shared_ptr<Recipient>>> m_recipients;
    PropValue m_wideZone; // what ForCaller gave out last
};

// The record's zone blob, of either size; null for none.
std::optional<TIME_ZONE_INFORMATION> ZoneOf(const PropValue* blob);

Ref<PoomItem> MakeOccurrence(AppointmentItem& series, const Series& rule, DWORD day);

} // namespace plat::poom
