// What is stored: lists, single items, taking out.
#include "Platform/databases.h"
#include "NorvoTools/CeDb.h"
#include "QNWorkerClass/COutlook.h"
#include "QNWorkerClass/journalstore.h"
#include "apps/qn/commands.h"
#include "apps/qn/journaluid.h"
#include "apps/qn/json.h"
#include "apps/qn/options.h"
#include "apps/qn/store.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>

namespace qn {

namespace {

struct FolderKind {
    std::string_view name;
    int folder;
};
constexpr FolderKind kFolders[] = {
    {"appointments", olFolderCalendar}, {"tasks", olFolderTasks}, {"contacts", olFolderContacts}};

std::string When(IAppointment* item) {
    const DATE start = Get(item, &IAppointment::get_Start);
    const bool allDay = Get(item, &IAppointment::get_AllDayEvent) != VARIANT_FALSE;
    const LONG day = static_cast<LONG>(std::floor(start));
    return ShortDay(day) + (allDay ? "" : " " + ClockTime(start));
}

std::string Day(DATE date) { return date >= kNoDate ? "" : ShortDay(static_cast<LONG>(date)); }

void PrintAppointment(IAppointment* item, bool json) {
    const auto oid = static_cast<CEOID>(Get(item, &IAppointment::get_Oid));
    const bool recurring = Get(item, &IAppointment::get_IsRecurring) != VARIANT_FALSE;
    if (!json) {
        std::printf("%10u  %-20s  %s%s\n", oid, When(item).c_str(),
                    Printable(TextOf(item, &IAppointment::get_Subject)).c_str(),
                    recurring ? "  (series)" : "");
        return;
    }
    const DATE start = Get(item, &IAppointment::get_Start);
    JsonLine line;
    line.Text("kind", "appointment").Number("oid", oid).Text("start", IsoMoment(start));
    line.Number("minutes", Get(item, &IAppointment::get_Duration));
    line.Bool("allday", Get(item, &IAppointment::get_AllDayEvent) != VARIANT_FALSE)
        .Bool("recurring", recurring);
    line.Text("subject", TextOf(item, &IAppointment::get_Subject));
    line.Text("location", TextOf(item, &IAppointment::get_Location));
    line.Texts("categories", SplitCategories(TextOf(item, &IAppointment::get_Categories)));
    std::puts(line.Done().c_str());
}

void PrintTask(ITask* item, bool json) {
    const auto oid = static_cast<CEOID>(Get(item, &ITask::get_Oid));
    const bool complete = Get(item, &ITask::get_Complete) != VARIANT_FALSE;
    const DATE due = Get(item, &ITask::get_DueDate, kNoDate);
    if (!json) {
        std::printf("%10u  [%c] %-16s  %s\n", oid, complete ? 'x' : ' ', Day(due).c_str(),
                    Printable(TextOf(item, &ITask::get_Subject)).c_str());
        return;
    }
    JsonLine line;
    line.Text("kind", "task").Number("oid", oid);
    due >= kNoDate ? line.Null("due") : line.Text("due", IsoDay(static_cast<LONG>(due)));
    line.Bool("complete", complete).Number("importance", Get(item, &ITask::get_Importance));
    line.Text("subject", TextOf(item, &ITask::get_Subject));
    line.Texts("categories", SplitCategories(TextOf(item, &ITask::get_Categories)));
    std::puts(line.Done().c_str());
}

void PrintContact(IContact* item, bool json) {
    const auto oid = static_cast<CEOID>(Get(item, &IContact::get_Oid));
    if (!json)
        std::printf("%10u  %s\n", oid, Printable(TextOf(item, &IContact::get_FileAs)).c_str());
    else
        std::puts(JsonLine()
                      .Text("kind", "contact")
                      .Number("oid", oid)
                      .Text("fileas", TextOf(item, &IContact::get_FileAs))
                      .Done()
                      .c_str());
}

void PrintItem(const Com<IDispatch>& item, bool json) {
    if (const auto appointment = item.As<IAppointment>(IID_IAppointment))
        PrintAppointment(appointment.Get(), json);
    else if (const auto task = item.As<ITask>(IID_ITask))
        PrintTask(task.Get(), json);
    else if (const auto contact = item.As<IContact>(IID_IContact))
        PrintContact(contact.Get(), json);
}

// --- One item -----------------------------------------------------------------------------------------------------

void Field(const char* name, const std::string& value) {
    if (value.empty()) return;
    // Lines behind the first stand under it.
    std::string text;
    for (std::size_t at = 0; at <= value.size();) {
        const std::size_t end = std::min(value.find('\n', at), value.size());
        text += (at ? "\n               " : "") + Printable(std::string_view(value).substr(at, end - at));
        at = end + 1;
    }
    std::printf("  %-12s %s\n", name, text.c_str());
}

std::string Choice(LONG value, std::initializer_list<const char*> names) {
    return value >= 0 && static_cast<std::size_t>(value) < names.size() ? names.begin()[value]
                                                                        : std::to_string(value);
}

std::string Days(LONG mask) {
    constexpr const char* kNames[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                      "Thursday", "Friday", "Saturday"};
    std::string text;
    for (int i = 0; i < 7; ++i)
        if (mask & (1 << i)) text += (text.empty() ? "" : ", ") + std::string(kNames[i]);
    return text;
}

std::string Describe(IRecurrencePattern* rule) {
    const LONG interval = Get(rule, &IRecurrencePattern::get_Interval);
    const std::string every = interval > 1 ? "every " + std::to_string(interval) + " " : "every ";
    const std::string s = interval > 1 ? "s" : "";
    const LONG mask = Get(rule, &IRecurrencePattern::get_DayOfWeekMask);
    const LONG day = Get(rule, &IRecurrencePattern::get_DayOfMonth);
    const std::string nth = Choice(Get(rule, &IRecurrencePattern::get_Instance),
                                   {"", "first", "second", "third", "fourth", "last"});
    const LONG month = Get(rule, &IRecurrencePattern::get_MonthOfYear);
    std::string text;
    switch (Get(rule, &IRecurrencePattern::get_RecurrenceType)) {
    case olRecursDaily:
        text = interval ? every + "day" + s : "on " + Days(mask);
        break;
    case olRecursWeekly:
        text = every + "week" + s + " on " + Days(mask);
        break;
    case olRecursMonthly:
        text = every + "month" + s + " on day " + std::to_string(day);
        break;
    case olRecursMonthNth:
        text = every + "month" + s + " on the " + nth + " of " + Days(mask);
        break;
    case olRecursYearly:
        text = "every year on day " + std::to_string(day) + " of month " + std::to_string(month);
        break;
    default:
        text = "every year on the " + nth + " of " + Days(mask) + " in month " + std::to_string(month);
        break;
    }
    if (Get(rule, &IRecurrencePattern::get_NoEndDate) != VARIANT_FALSE) return text;
    const DATE end = Get(rule, &IRecurrencePattern::get_PatternEndDate, kNoDate);
    return text + ", until " + Day(end) + " (" +
           std::to_string(Get(rule, &IRecurrencePattern::get_Occurrences)) + " times)";
}

std::string People(IAppointment* item) {
    Com<IRecipients> people;
    int count = 0;
    if (FAILED(item->get_Recipients(people.Out())) || FAILED(people->get_Count(&count))) return {};
    std::string text;
    for (int i = 1; i <= count; ++i) {
        Com<IRecipient> person;
        if (FAILED(people->Item(i, person.Out()))) continue;
        const std::string name = TextOf(person.Get(), &IRecipient::get_Name);
        const std::string address = TextOf(person.Get(), &IRecipient::get_Address);
        text += (text.empty() ? "" : "\n") + name +
                (address.empty() || address == name ? "" : " <" + address + ">");
    }
    return text;
}

std::string Privacy(LONG sensitivity) {
    return Choice(sensitivity, {"", "personal", "private", "confidential"});
}

template<class Item>
void ShowRule(Item* item) {
    Com<IRecurrencePattern> rule;
    if (Get(item, &Item::get_IsRecurring) != VARIANT_FALSE &&
        SUCCEEDED(item->GetRecurrencePattern(rule.Out())))
        Field("Repeats", Describe(rule.Get()));
}

void ShowAppointment(IAppointment* item) {
    const bool allDay = Get(item, &IAppointment::get_AllDayEvent) != VARIANT_FALSE;
    const LONG minutes = Get(item, &IAppointment::get_Duration);
    Field("Subject", TextOf(item, &IAppointment::get_Subject));
    Field("Start", When(item));
    Field("Duration",
          allDay ? std::to_string(minutes / 1440) + " day(s)" : std::to_string(minutes) + " minutes");
    Field("Location", TextOf(item, &IAppointment::get_Location));
    Field("Categories", TextOf(item, &IAppointment::get_Categories));
    Field("Busy",
          Choice(Get(item, &IAppointment::get_BusyStatus), {"free", "tentative", "busy", "out of office"}));
    Field("Privacy", Privacy(Get(item, &IAppointment::get_Sensitivity)));
    if (Get(item, &IAppointment::get_ReminderSet) != VARIANT_FALSE)
        Field("Reminder",
              std::to_string(Get(item, &IAppointment::get_ReminderMinutesBeforeStart)) + " minutes before");
    ShowRule(item);
    Field("Organizer", Property(BagOf(item), PIMPR_ORGANIZER_NAME).Text());
    Field("People", People(item));
    Field("Note", NoteOf(item));
}

void ShowTask(ITask* item) {
    Field("Subject", TextOf(item, &ITask::get_Subject));
    Field("Starts", Day(Get(item, &ITask::get_StartDate, kNoDate)));
    Field("Due", Day(Get(item, &ITask::get_DueDate, kNoDate)));
    Field("Completed", Day(Get(item, &ITask::get_DateCompleted, kNoDate)));
    Field("Importance", Choice(Get(item, &ITask::get_Importance), {"low", "normal", "high"}));
    Field("Privacy", Privacy(Get(item, &ITask::get_Sensitivity)));
    const DATE reminder = Get(item, &ITask::get_ReminderTime, kNoDate);
    if (Get(item, &ITask::get_ReminderSet) != VARIANT_FALSE && reminder < kNoDate)
        Field("Reminder", Day(reminder) + " " + ClockTime(reminder));
    ShowRule(item);
    Field("Categories", TextOf(item, &ITask::get_Categories));
    Field("Note", NoteOf(item));
}

void ShowContact(IContact* item) {
    Field("Name", TextOf(item, &IContact::get_FileAs));
    Field("Birthday", Day(Get(item, &IContact::get_Birthday, kNoDate)));
    Field("Anniversary", Day(Get(item, &IContact::get_Anniversary, kNoDate)));
    Field("Categories", TextOf(item, &IContact::get_Categories));
    Field("Note", NoteOf(item));
}

// --- Journal entries ----------------------------------------------------------------------------------------------

constexpr std::string_view kJournal = "journal";

// Their numbers bear no kind.
bool IsJournal(CEOID oid) { return (oid & kOidKindMask) == 0; }

std::string DateOf(const CJournalData& entry) {
    const DATE date = ToDate(entry.m_stDate);
    return Day(date) + (std::floor(date) == date ? "" : " " + ClockTime(date));
}

void PrintEntry(CEOID oid, const CJournalData& entry, bool json) {
    const std::string title = Utf8(entry.m_strTitle.View());
    if (!json)
        return void(std::printf("%10u  %-20s  %s\n", oid, DateOf(entry).c_str(), Printable(title).c_str()));
    JsonLine line;
    line.Text("kind", kJournal).Number("oid", oid).Text("start", IsoMoment(ToDate(entry.m_stDate)));
    line.Number("minutes", entry.m_nFlags).Text("subject", title);
    line.Texts("categories", SplitCategories(Utf8(entry.m_strCategories.View())));
    std::puts(line.Done().c_str());
}

void ListJournal(bool json) {
    CeDb store;
    if (!store.Open(kJournalStore) || !CJournal::Open(store, kJournalByCreation))
        return; // none, and none is made
    std::vector<CEOID> entries;
    for (CEOID at = store.SeekFirst(); at; at = store.SeekNext()) entries.push_back(at);
    CJournalData entry;
    for (const CEOID oid : entries)
        if (CJournal::ReadEntry(store, oid, &entry)) PrintEntry(oid, entry, json);
}

void ShowEntry(CEOID oid, const std::string& word) {
    CeDb store;
    CJournalData entry;
    if (!store.Open(kJournalStore) || !CJournal::ReadEntry(store, oid, &entry))
        throw Failure(word + ": " + Reason(E_NOTFOUND));
    std::printf("%s\n", word.c_str());
    Field("Subject", Utf8(entry.m_strTitle.View()));
    Field("Kind", Utf8(entry.m_strType.View()));
    Field("Date", DateOf(entry));
    if (entry.m_nFlags) Field("Duration", std::to_string(entry.m_nFlags) + " minutes");
    Field("Categories", Utf8(entry.m_strCategories.View()));
    if (entry.m_oidOwner) Field("Belongs to", std::to_string(entry.m_oidOwner));
    Field("Note", NoteText({static_cast<DWORD>(entry.m_note.size()), entry.m_note.data()}));
    Field("UID", JournalUid(oid));
}

void DeleteEntry(CEOID oid, const std::string& word) {
    CeDb store;
    if (!store.Open(kJournalStore) || !CJournal::DeleteEntry(oid))
        throw Failure(word + ": " + Reason(E_NOTFOUND));
}

Com<IDispatch> OpenItem(Store& store, const std::string& word) {
    Com<IDispatch> item;
    const HRESULT found = store.App()->GetItemFromOid(static_cast<LONG>(ParseOid(word)), item.Out());
    if (FAILED(found)) throw Failure(word + ": " + Reason(found));
    return item;
}

} // namespace

int ListCommand(const Words& words) {
    constexpr OptionRule kRules[] = {{"--json", false}};
    const Options options("list", words, kRules);
    if (options.Rest().size() > 1) Usage("list wants one kind");
    const std::string kind = options.Rest().empty() ? "" : options.Rest()[0];
    if (!kind.empty() && kind != kJournal &&
        std::ranges::find(kFolders, kind, &FolderKind::name) == std::end(kFolders))
        Usage("list: there are no " + kind);
    Store store;
    unsigned unread = 0;
    for (const FolderKind& folder : kFolders)
        if (kind.empty() || folder.name == kind)
            unread += store.ForEach(
                folder.folder, [&](const Com<IDispatch>& item) { PrintItem(item, options.Has("--json")); });
    if (kind.empty() || kind == kJournal) ListJournal(options.Has("--json"));
    return unread ? kExitFailed : kExitDone;
}

int ShowCommand(const Words& words) {
    const Options options("show", words, {});
    if (options.Rest().empty()) Usage("show wants an item number");
    Store store;
    for (const std::string& word : options.Rest()) {
        if (const CEOID oid = ParseOid(word); IsJournal(oid)) {
            ShowEntry(oid, word);
            continue;
        }
        const Com<IDispatch> item = OpenItem(store, word);
        std::printf("%s\n", word.c_str());
        if (const auto appointment = item.As<IAppointment>(IID_IAppointment))
            ShowAppointment(appointment.Get());
        else if (const auto task = item.As<ITask>(IID_ITask))
            ShowTask(task.Get());
        else if (const auto contact = item.As<IContact>(IID_IContact))
            ShowContact(contact.Get());
        Field("UID", store.Uid(ParseOid(word)));
    }
    return kExitDone;
}

int DeleteCommand(const Words& words) {
    const Options options("delete", words, {});
    if (options.Rest().empty()) Usage("delete wants an item number");
    Store store;
    for (const std::string& word : options.Rest()) {
        if (const CEOID oid = ParseOid(word); IsJournal(oid)) {
            DeleteEntry(oid, word);
            continue;
        }
        const Com<IItem> item = OpenItem(store, word).As<IItem>(IID_IItem);
        const HRESULT gone = item ? item->Delete() : E_NOTFOUND;
        if (FAILED(gone)) throw Failure(word + ": " + Reason(gone));
    }
    return kExitDone;
}

} // namespace qn
