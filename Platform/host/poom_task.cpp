#include "Platform/host/poom_host.h"

#include "Platform/clock.h"

namespace plat::poom {

namespace {

class TaskItem final : public SeriesObject<ITask> {
public:
    using SeriesObject::SeriesObject;

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
        return Tell(complete, [this] { return IsComplete() ? VARIANT_TRUE : VARIANT_FALSE; });
    }
    HRESULT put_Complete(VARIANT_BOOL complete) override {
        return Call([&] {
            if (complete == VARIANT_FALSE)
                Put(PropValue::Absent(PIMPR_TASK_COMPLETED));
            else if (!IsComplete())
                Put(PropValue::Number(PIMPR_TASK_COMPLETED, TicksFromSeconds(DayOf(NowOnTheWall()))));
            return S_OK;
        });
    }
    HRESULT get_ReminderTime(DATE* date) override {
        return Tell(date, [this] { return ReminderTime(); });
    }
    HRESULT put_ReminderTime(DATE date) override;
    HRESULT get_TeamTask(VARIANT_BOOL* team) override {
        return Tell(team, [] { return VARIANT_FALSE; });
    }
    HRESULT SkipRecurrence() override {
        return Call([this] { return Skip(); });
    }

    HRESULT OpenOccurrence(DWORD, Ref<PoomItem>&) override { return E_FAIL; } // it has one date at a time
    bool Field(std::u16string_view name, FieldValue& value) override {
        const bool known = PoomItem::Field(name, value);
        if (SameWithoutCase(name, u"ReminderTime")) value.number = ReminderTime();
        return known;
    }

protected:
    CEPROPID SeriesStream() const override { return PIMPR_TASK_RECURRENCE; }
    Series DefaultSeries() override {
        Series series;
        const auto due = DayAt(PIMPR_TASK_DUE).value_or(DayOf(NowOnTheWall()));
        series.startDate = MinutesFromSeconds(DayAt(PIMPR_TASK_START).value_or(due));
        return series;
    }
    HRESULT PrepareSave() override { return PackSeries(); }
    void Saved() override { m_seriesDirty = false; }

private:
    HRESULT Skip() {
        if (!IsRecurring()) return E_FAIL;
        if (!PlatGetRuleWalk()) return E_UNEXPECTED;
        if (HRESULT hr = LoadSeries(); FAILED(hr)) return hr;
        const auto start = DayAt(PIMPR_TASK_START);
        const auto due = DayAt(PIMPR_TASK_DUE);
        if (!due && !start) return E_FAIL;
        const Seconds from = due ? *due : *start;
        if (HRESULT hr = CountEnd(*m_series); FAILED(hr)) return hr;
        const DWORD next = NextDate(*m_series, MinutesFromSeconds(from));
        if (!next) return E_FAIL;
        const Seconds move = SecondsFromMinutes(next) - from; // the span between the two stays
        if (start) Put(PropValue::Number(PIMPR_TASK_START, TicksFromSeconds(*start + move)));
        if (due) Put(PropValue::Number(PIMPR_TASK_DUE, TicksFromSeconds(*due + move)));
        return Oid() ? SaveItem() : S_OK;
    }
    // By the bias in force now, whatever it will be then.
    DATE ReminderTime() {
        const PropValue* time = Get(PIMPR_REMINDER_TIME);
        const FILETIME utc = FileTimeFromTicks(time ? time->number : 0);
        FILETIME local;
        if (!time || !FileTimeToLocalFileTime(&utc, &local)) return kNoDate;
        return DateFromSeconds(SecondsFromTicks(FileTimeTicks(local)));
    }
    bool IsComplete() { return DayAt(PIMPR_TASK_COMPLETED).has_value(); }
};

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
