// To-dos of an iCalendar file as tasks.
#include "Platform/civil.h"
#include "Platform/clock.h"
#include "Platform/databases.h"
#include "apps/qn/icssave.h"

namespace qn {

namespace {

constexpr const WCHAR* kPercentName = u"QN_TaskPercentStatus";

// 1 to 4 is high, 5 or nothing normal, 6 to 9 low; written as 1, 5 and 9. The letter and number that a subject may begin
// with ("A1: Call Dana") are words of the subject: they come and go as they stand and are never made of a priority, or the
// task would read differently in the program that it came from.
LONG ImportanceOf(int priority) { return priority == 0 || priority == 5 ? 1 : priority < 5 ? 2 : 0; }

} // namespace

void IcsSaver::SaveTodo(const IcsGroup& group) {
    for (const IcsItem* change : group.changes)
        Complain(change->line, "changes one date of a to-do that repeats");
    if (group.master) SaveTask(*group.master);
}

void IcsSaver::SaveTask(const IcsItem& item) {
    if (item.cancelled) return Cancel(item);
    const CEOID oid = Find(olFolderTasks, m_store.UidProperty(true), item.uid);
    Com<IDispatch> found;
    Check(oid ? m_store.App()->GetItemFromOid(static_cast<LONG>(oid), found.Out())
              : m_store.App()->CreateItem(olTaskItem, found.Out()));
    const Com<ITask> task = found.As<ITask>(IID_ITask);
    const Com<IItem> properties = task.As<IItem>(IID_IItem);
    FillTask(task.Get(), item, properties, oid == 0);
    SetText(properties, m_store.UidProperty(true), item.uid);
    SaveItem(task.Get(), oid == 0);
    LONG saved = 0;
    Check(task->get_Oid(&saved));
    m_places.push_back({item.line, static_cast<CEOID>(saved), item.parentUid});
    ++(oid ? m_tally.updatedTasks : m_tally.newTasks);
    RemarkUnkept(item);
}

void IcsSaver::FillTask(ITask* task, const IcsItem& item, const Com<IItem>& properties, bool isNew) {
    Check(task->put_Subject(Bstr(Utf16(item.summary))));
    Check(task->put_Categories(Bstr(Utf16(Categories(item)))));
    Check(task->put_Sensitivity(item.sensitivity));
    Check(task->put_Importance(ImportanceOf(item.priority)));
    SetNote(task, TakeNote(item.note, item.own));
    if (item.percent || !isNew) {
        CEPROPVAL value{};
        Check(
            m_store.App()->GetIDsFromNames(1, &kPercentName, CEVT_UI4 | kCreateNamedProperty, &value.propid));
        value.val.ulVal = static_cast<DWORD>(item.percent);
        Check(properties->SetProps(0, 1, &value));
    }
    m_taskFields.Set(properties, item.own);
    Check(task->ClearRecurrencePattern());
    FillTaskDates(task, item, properties);
    FillTaskReminder(task, item, DueOf(item));
    FillTaskRule(task, item);
}

// The moment a to-do is due at, on the device's clock.
std::optional<DATE> IcsSaver::DueOf(const IcsItem& item) {
    if (item.end.IsSet()) return m_zones.ToDevice(item.end);
    if (!item.start.IsSet() || !item.minutes) return std::nullopt;
    return m_zones.ToDevice(item.start) +
           static_cast<double>(std::max<LONG>(*item.minutes, 0)) / civil::kMinutesPerDay;
}

void IcsSaver::FillTaskDates(ITask* task, const IcsItem& item, const Com<IItem>& properties) {
    const auto due = DueOf(item);
    Check(task->put_StartDate(item.start.IsSet() ? WholeDay(m_zones.ToDevice(item.start)) : kNoDate));
    Check(task->put_DueDate(due ? WholeDay(*due) : kNoDate));
    Check(task->put_Complete(item.completed ? VARIANT_TRUE : VARIANT_FALSE));
    if (!item.completedAt.IsSet()) return;
    const SYSTEMTIME day = ToSystemTime(WholeDay(m_zones.ToDevice(item.completedAt)));
    CEPROPVAL value{};
    value.propid = PIMPR_TASK_COMPLETED;
    SystemTimeToFileTime(&day, &value.val.filetime);
    Check(properties->SetProps(0, 1, &value));
}

void IcsSaver::FillTaskReminder(ITask* task, const IcsItem& item, std::optional<DATE> due) {
    std::optional<DATE> base = item.start.IsSet() ? std::optional(m_zones.ToDevice(item.start)) : due;
    if (item.reminderFromEnd && due) base = due;
    std::optional<DATE> reminder;
    if (item.reminderTime)
        reminder = m_zones.ToDevice(*item.reminderTime);
    else if (item.reminderMinutes && base)
        reminder = *base - static_cast<double>(*item.reminderMinutes) / civil::kMinutesPerDay;
    Check(task->put_ReminderSet(reminder ? VARIANT_TRUE : VARIANT_FALSE));
    Check(task->put_ReminderTime(reminder.value_or(kNoDate)));
}

void IcsSaver::FillTaskRule(ITask* task, const IcsItem& item) {
    if (item.rules.empty()) return;
    const When& base = item.end.IsSet() ? item.end : item.start;
    const Series series;
    const auto start = Wall(base, series);
    const auto pattern = item.rules.size() == 1 && base.IsSet()
                             ? PatternOf(item.rules[0], start, UntilWall(item.rules[0], item, series))
                             : std::nullopt;
    if (!pattern) return Remark("rules of to-dos that no pattern holds");
    Com<IRecurrencePattern> rule;
    Check(task->GetRecurrencePattern(rule.Out()));
    ApplyPattern(rule.Get(), *pattern, WholeDay(ToDate(FromIcal(start))));
}

} // namespace qn
