#include "Platform/host/poom_host.h"

#include "Platform/clock.h"

#include <algorithm>

namespace plat::poom {

namespace {

constexpr CEPROPID kDays[] = {PIMPR_TASK_START, PIMPR_TASK_DUE, PIMPR_TASK_COMPLETED};

class TaskItem final : public SeriesItem, public ITask {
public:
    using PoomItem::Copy;
    using PoomItem::get_Oid;
    using SeriesItem::SeriesItem;

    HRESULT QueryInterface(const IID& iid, void** object) override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (iid == IID_ITask || iid == IID_IDispatch || iid == IID_IUnknown)
            *object = static_cast<ITask*>(this);
        else if (iid == IID_IItem)
            *object = static_cast<IItem*>(this);
        else
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return PoomItem::AddRef(); }
    ULONG Release() override { return PoomItem::Release(); }

    HRESULT get_Subject(BSTR* text) override { return GiveText(PIMPR_SUBJECT, text); }
    HRESULT put_Subject(BSTR text) override { return TakeText(PIMPR_SUBJECT, text); }
    HRESULT get_Categories(BSTR* text) override { return GiveText(PIMPR_CATEGORIES, text); }
    HRESULT put_Categories(BSTR text) override { return TakeText(PIMPR_CATEGORIES, text); }
    HRESULT get_StartDate(DATE* date) override { return GiveDay(PIMPR_TASK_START, date); }
    HRESULT put_StartDate(DATE date) override { return TakeDay(PIMPR_TASK_START, date); }
    HRESULT get_DueDate(DATE* date) override { return GiveDay(PIMPR_TASK_DUE, date); }
    HRESULT put_DueDate(DATE date) override { return TakeDay(PIMPR_TASK_DUE, date); }
    HRESULT get_DateCompleted(DATE* date) override { return GiveDay(PIMPR_TASK_COMPLETED, date); }
    HRESULT get_Importance(LONG* importance) override {
        return GiveLong(PIMPR_IMPORTANCE, importance, olImportanceNormal);
    }
    HRESULT put_Importance(LONG importance) override { return TakeLong(PIMPR_IMPORTANCE, importance); }
    HRESULT get_Complete(VARIANT_BOOL* complete) override {
        if (!complete) return E_POINTER;
        return Call([&] {
            *complete = Get(PIMPR_TASK_COMPLETED) ? VARIANT_TRUE : VARIANT_FALSE;
            return S_OK;
        });
    }
    HRESULT put_Complete(VARIANT_BOOL complete) override {
        return Call([&] {
            if (complete == VARIANT_FALSE)
                Put(PropValue::Absent(PIMPR_TASK_COMPLETED));
            else if (!Get(PIMPR_TASK_COMPLETED))
                Put(PropValue::Number(PIMPR_TASK_COMPLETED, TicksFromSeconds(DayOf(NowOnTheWall()))));
            return S_OK;
        });
    }
    HRESULT get_Sensitivity(LONG* sensitivity) override { return GiveLong(PIMPR_SENSITIVITY, sensitivity); }
    HRESULT put_Sensitivity(LONG sensitivity) override { return TakeLong(PIMPR_SENSITIVITY, sensitivity); }
    HRESULT get_ReminderSet(VARIANT_BOOL* set) override { return GiveBool(PIMPR_REMINDER_SET, set); }
    HRESULT put_ReminderSet(VARIANT_BOOL set) override { return TakeBool(PIMPR_REMINDER_SET, set); }
    HRESULT get_ReminderTime(DATE* date) override;
    HRESULT put_ReminderTime(DATE date) override;
    HRESULT get_IsRecurring(VARIANT_BOOL* recurring) override { return GiveBool(PIMPR_RECURRING, recurring); }
    HRESULT get_TeamTask(VARIANT_BOOL* team) override {
        if (!team) return E_POINTER;
        *team = VARIANT_FALSE;
        return S_OK;
    }
    HRESULT get_BodyInk(CEBLOB* ink) override { return GiveInk(ink); }
    HRESULT put_BodyInk(const CEBLOB* ink) override { return TakeInk(ink); }
    HRESULT get_Oid(LONG* oid) override { return GiveOid(oid); }
    HRESULT Save() override { return PoomItem::Save(); }
    HRESULT Delete() override { return PoomItem::Delete(); }
    HRESULT Copy(ITask** copy) override {
        if (!copy) return E_POINTER;
        *copy = nullptr;
        return Call([&] {
            Ref<PoomItem> twin;
            if (HRESULT hr = CopyItem(twin); FAILED(hr)) return hr;
            *copy = static_cast<TaskItem*>(twin.Give());
            return S_OK;
        });
    }
    HRESULT SkipRecurrence() override {
        return Call([this] { return Skip(); });
    }
    HRESULT GetRecurrencePattern(IRecurrencePattern** pattern) override { return GivePattern(pattern); }
    HRESULT ClearRecurrencePattern() override {
        return Call([this] { return IsRecurring() ? ClearSeries() : S_OK; });
    }

    IDispatch* AsDispatch() override { return static_cast<ITask*>(this); }
    void InitNew() override {
        for (CEPROPID id : {PIMPR_SENSITIVITY, PIMPR_REMINDER_SET, PIMPR_RECURRING})
            m_changed.Set(PropValue::Number(id, 0));
        m_changed.Set(PropValue::Number(PIMPR_IMPORTANCE, olImportanceNormal));
    }
    void Put(PropValue value) override {
        if (std::ranges::find(kDays, value.id) != std::end(kDays) && !value.absent)
            value.number = TicksFromSeconds(DayOf(SecondsFromTicks(value.number)));
        PoomItem::Put(std::move(value));
    }
    HRESULT GiveOccurrence(DWORD, IAppointment**) override { return E_FAIL; } // a task has one date at a time

protected:
    CEPROPID SeriesStream() const override { return PIMPR_TASK_RECURRENCE; }
    Series DefaultSeries() override {
        Series series;
        series.startDate = MinutesFromSeconds(DayOf(NowOnTheWall()));
        for (CEPROPID id : {PIMPR_TASK_DUE, PIMPR_TASK_START}) // the start counts when there are both
            if (const PropValue* day = Get(id))
                series.startDate = MinutesFromSeconds(SecondsFromTicks(day->number));
        return series;
    }
    HRESULT PrepareSave() override { return PackSeries(); }
    void Saved() override { m_seriesDirty = false; }

private:
    HRESULT Skip() {
        if (!IsRecurring()) return E_FAIL;
        if (!PlatGetRuleWalk()) return E_UNEXPECTED;
        if (HRESULT hr = LoadSeries(); FAILED(hr)) return hr;
        const PropValue* due = Get(PIMPR_TASK_DUE);
        const PropValue* start = Get(PIMPR_TASK_START);
        if (!due && !start) return E_FAIL;
        const Seconds from = SecondsFromTicks((due ? due : start)->number);
        if (HRESULT hr = CountEnd(*m_series); FAILED(hr)) return hr;
        const DWORD next = NextDate(*m_series, MinutesFromSeconds(from));
        if (!next) return E_FAIL;
        const Seconds move = SecondsFromMinutes(next) - from; // the span between the two stays
        for (CEPROPID id : {PIMPR_TASK_START, PIMPR_TASK_DUE})
            if (const PropValue* day = Get(id))
                Put(PropValue::Number(id, TicksFromSeconds(SecondsFromTicks(day->number) + move)));
        return Oid() ? SaveItem() : S_OK;
    }
};

HRESULT TaskItem::get_ReminderTime(DATE* date) {
    if (!date) return E_POINTER;
    return Call([&] {
        *date = kNoDate;
        const PropValue* time = Get(PIMPR_REMINDER_TIME);
        const FILETIME utc = FileTimeFromTicks(time ? time->number : 0);
        FILETIME local;
        if (time && FileTimeToLocalFileTime(&utc, &local))
            *date = DateFromSeconds(SecondsFromTicks(FileTimeTicks(local)));
        return S_OK;
    });
}

// By the bias in force now, as the reminder is read back.
HRESULT TaskItem::put_ReminderTime(DATE date) {
    return Call([&]() -> HRESULT {
        if (date >= kNoDate) return CheckAndPut(PropValue::Absent(PIMPR_REMINDER_TIME));
        const auto wall = SecondsFromDate(date);
        if (!wall) return E_INVALIDARG;
        const FILETIME local = FileTimeFromTicks(TicksFromSeconds(*wall));
        FILETIME utc;
        if (!LocalFileTimeToFileTime(&local, &utc)) return E_INVALIDARG;
        return CheckAndPut(PropValue::Number(PIMPR_REMINDER_TIME, FileTimeTicks(utc)));
    });
}

} // namespace

Ref<PoomItem> MakeTask(PoomApplication& app, const ItemKind& kind) {
    return Ref<PoomItem>(new TaskItem(app, kind));
}

} // namespace plat::poom
