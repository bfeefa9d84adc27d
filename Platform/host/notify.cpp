// The queue of user notifications, and the pump that delivers them.
#include "Platform/notify.h"

#include "Platform/clock.h"
#include "Platform/host/call.h"
#include "Platform/host/devicefolder.h"
#include "Platform/host/faults.h"
#include "Platform/host/programs.h"
#include "Platform/host/provider.h"
#include "Platform/host/smalldb.h"
#include "Platform/host/text.h"
#include "Platform/threads.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace plat {
namespace {

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS queue(id INTEGER PRIMARY KEY AUTOINCREMENT, type INTEGER NOT NULL, event "
    "INTEGER NOT "
    "NULL, application BLOB NOT NULL, arguments BLOB NOT NULL, start INTEGER NOT NULL, finish INTEGER NOT "
    "NULL, "
    "action INTEGER, title BLOB, text BLOB, sound BLOB);"
    "CREATE INDEX IF NOT EXISTS due ON queue(start)";

struct Dialog {
    DWORD action = 0;
    std::u16string title;
    std::u16string text;
    std::u16string sound;
};
// A row. Times are ticks of local time, so that they sort; 0 is none.
struct Notification {
    std::int64_t id = 0;
    DWORD type = 0;
    DWORD event = 0;
    std::u16string application;
    std::u16string arguments;
    std::int64_t start = 0;
    std::int64_t end = 0;
    std::optional<Dialog> dialog;
};

bool IsNone(const SYSTEMTIME& time) { return time.wYear == 0 && time.wMonth == 0 && time.wDay == 0; }

// False for a date that can't be.
bool ToTicks(const SYSTEMTIME& time, std::int64_t& ticks) {
    FILETIME file{};
    ticks = 0;
    if (IsNone(time)) return true;
    if (!SystemTimeToFileTime(&time, &file)) return false;
    ticks = static_cast<std::int64_t>(FileTimeTicks(file));
    return true;
}

SYSTEMTIME FromTicks(std::int64_t ticks) {
    SYSTEMTIME time{};
    const FILETIME file = FileTimeFromTicks(static_cast<ULONGLONG>(ticks));
    if (ticks) FileTimeToSystemTime(&file, &time);
    return time;
}

bool FromCaller(const CE_NOTIFICATION_TRIGGER& trigger, const CE_USER_NOTIFICATION* user, Notification& row) {
    if (trigger.dwSize != kNotificationTriggerSize) return false;
    if (trigger.dwType < CNT_EVENT || trigger.dwType > CNT_PERIOD) return false;
    if (trigger.dwType != CNT_EVENT && IsNone(trigger.stStartTime)) return false;
    if (!ToTicks(trigger.stStartTime, row.start) || !ToTicks(trigger.stEndTime, row.end)) return false;
    row.type = trigger.dwType;
    row.event = trigger.dwEvent;
    row.application = TextOf(trigger.lpszApplication);
    row.arguments = TextOf(trigger.lpszArguments);
    if (user)
        row.dialog = {user->ActionFlags, std::u16string(TextOf(user->pwszDialogTitle)),
                      std::u16string(TextOf(user->pwszDialogText)), std::u16string(TextOf(user->pwszSound))};
    return true;
}

// --- The queue ----------------------------------------------------------------------------------------------------

constexpr char kColumns[] =
    "SELECT id, type, event, application, arguments, start, finish, action, title, text, sound FROM queue ";

Notification RowOf(const SmallQuery& query) {
    Notification row;
    row.id = query.Number(0);
    row.type = static_cast<DWORD>(query.Number(1));
    row.event = static_cast<DWORD>(query.Number(2));
    row.application = query.Text(3);
    row.arguments = query.Text(4);
    row.start = query.Number(5);
    row.end = query.Number(6);
    if (!query.IsNull(7))
        row.dialog = {static_cast<DWORD>(query.Number(7)), query.Text(8), query.Text(9), query.Text(10)};
    return row;
}

class Queue {
public:
    static Queue& Get() {
        static auto* queue = new Queue; // never destroyed: the pump may outlive static objects
        return *queue;
    }

    // Adds the row, or changes the one with its id; gives the id.
    DWORD Put(Notification& row) {
        std::lock_guard lock(m_mutex);
        if (!Open()) return ERROR_DISK_FULL;
        SmallWrite write(m_db);
        if (row.id && !Has(row.id)) return write ? ERROR_INVALID_HANDLE : Fail();
        SmallQuery put(
            m_db,
            "INSERT OR REPLACE INTO queue(id, type, event, application, arguments, start, finish, action, "
            "title, text, sound) VALUES(?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
        row.id ? put.Bind(row.id) : put.BindNull();
        put.Bind(std::int64_t{row.type})
            .Bind(std::int64_t{row.event})
            .Bind(row.application)
            .Bind(row.arguments);
        put.Bind(row.start).Bind(row.end);
        if (row.dialog)
            put.Bind(std::int64_t{row.dialog->action})
                .Bind(row.dialog->title)
                .Bind(row.dialog->text)
                .Bind(row.dialog->sound);
        const bool isNew = row.id == 0;
        if (!write || !put.Run()) return Fail();
        const std::int64_t id = isNew ? m_db.LastRowId() : row.id;
        if (id > 0x7FFFFFFE || !write.Commit()) return Fail();
        row.id = id;
        return 0;
    }

    DWORD Remove(std::int64_t id) {
        std::lock_guard lock(m_mutex);
        if (!Open()) return ERROR_INVALID_HANDLE;
        if (!SmallQuery(m_db, "DELETE FROM queue WHERE id=?").Bind(id).Run()) return Fail();
        return m_db.Changes() ? 0 : ERROR_INVALID_HANDLE;
    }

    std::optional<Notification> Find(std::int64_t id) {
        std::lock_guard lock(m_mutex);
        if (!Open()) return std::nullopt;
        SmallQuery query(m_db, std::string(kColumns).append("WHERE id=?").c_str());
        if (!query.Bind(id).Next()) return std::nullopt;
        return RowOf(query);
    }

    std::vector<std::int64_t> Ids() { return Numbers("SELECT id FROM queue ORDER BY id", 0); }
    std::vector<std::int64_t> Due(std::int64_t now) {
        return Numbers("SELECT id FROM queue WHERE type<>1 AND start<=? ORDER BY start, id", now);
    }

    // Takes the row out for good when `deliver` says that it was delivered. While that goes on no other process can
    // deliver the same row; should this one die, the row is still there.
    template<class Deliver>
    bool Settle(std::int64_t id, std::int64_t now, Deliver deliver) {
        std::lock_guard lock(m_mutex);
        if (!Open()) return false;
        SmallWrite write(m_db);
        Notification row;
        {
            SmallQuery query(m_db, std::string(kColumns).append("WHERE id=? AND start<=?").c_str());
            if (!write || !query.Bind(id).Bind(now).Next())
                return false; // cleared, moved, or delivered elsewhere
            row = RowOf(query);
        }
        if (!SmallQuery(m_db, "DELETE FROM queue WHERE id=?").Bind(id).Run()) return false;
        deliver(row);
        return write.Commit();
    }

    void Close() {
        std::lock_guard lock(m_mutex);
        m_db.Close();
    }

private:
    bool Open() {
        if (m_db.IsOpen()) return true;
        if (m_db.Open(DeviceFolder() + "/notifications.db", kSchema, SmallDb::Sync::EveryCommit) == 0)
            return true;
        m_db.Close();
        return false;
    }
    DWORD Fail() {
        const DWORD error = m_db.LastError();
        if (m_db.IsDamaged()) m_db.StartAnew();
        return error ? error : ERROR_DISK_FULL;
    }
    bool Has(std::int64_t id) {
        SmallQuery query(m_db, "SELECT 1 FROM queue WHERE id=?");
        return query.Bind(id).Next();
    }
    std::vector<std::int64_t> Numbers(const char* sql, std::int64_t bound) {
        std::lock_guard lock(m_mutex);
        std::vector<std::int64_t> numbers;
        if (!Open()) return numbers;
        SmallQuery query(m_db, sql);
        if (bound) query.Bind(bound);
        while (query.Next()) numbers.push_back(query.Number(0));
        return numbers;
    }

    std::mutex m_mutex;
    SmallDb m_db;
};

// --- Delivery -----------------------------------------------------------------------------------------------------

ProviderSlot<PlatReminderProvider>& Slot() {
    static auto* slot = new ProviderSlot<PlatReminderProvider>;
    return *slot;
}

// The body of a desktop notification may be read as mark-up.
std::string EscapeMarkup(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else if (c == '>')
            escaped += "&gt;";
        else if (c != '\r')
            escaped += c;
    }
    return escaped;
}

// The title of a calendar reminder is a line for programs ("POOM: ..."): people get the first line of the text.
void ForPeople(const Dialog& dialog, std::u16string& title, std::u16string& body) {
    title = dialog.title;
    body = dialog.text;
    if (!title.empty() && !title.starts_with(u"POOM:")) return;
    const auto end = std::min(body.find_first_of(u"\r\n"), body.size());
    title = body.substr(0, end);
    body.erase(0, std::min(body.find_first_not_of(u"\r\n", end), body.size()));
}

void ShowDialog(const Dialog& dialog) {
    std::u16string title;
    std::u16string body;
    ForPeople(dialog, title, body);
    if (title.empty()) title = u"Reminder";
    DWORD error = 0;
    StartedProgram started;
    if (RecordStart(u"notify-send", title + u"\n" + body, error)) return;
    const auto [provider, user] = Slot().Get();
    if (provider) return provider(user, title.c_str(), body.c_str());
    // "--": a title may begin with a dash.
    const std::vector<std::string> arguments{"--app-name=Quillonary", "--", ToUtf8(title),
                                             EscapeMarkup(ToUtf8(body))};
    if (StartHostProgram("notify-send", arguments, started) == 0) return;
    OutputDebugStringW((u"Reminder: " + title + u" " + body + u"\n").c_str());
}

void StartApplication(const Notification& row) {
    DWORD error = 0;
    StartedProgram started;
    if (StartedElsewhere(row.application, row.arguments, error)) return;
    if (StartDeviceProgram(row.application, row.arguments, started) == 0) return;
    OutputDebugStringW(
        (u"Due, but nothing runs it: " + row.application + u" " + row.arguments + u"\n").c_str());
}

void Deliver(const Notification& row) {
    if (!row.dialog)
        StartApplication(row);
    else if (row.dialog->action & PUN_DIALOG)
        ShowDialog(*row.dialog);
    else
        OutputDebugStringW((u"Due: " + row.dialog->title + u"\n").c_str());
}

DWORD RunDue(std::int64_t now) {
    DWORD delivered = 0;
    for (const std::int64_t id : Queue::Get().Due(now))
        delivered += Queue::Get().Settle(id, now, Deliver) ? 1u : 0u;
    return delivered;
}

// --- The pump -----------------------------------------------------------------------------------------------------

class Pump {
public:
    static Pump& Get() {
        static auto* pump = new Pump; // never destroyed: a pump that nobody stopped ends with the process
        return *pump;
    }
    void Start() {
        std::lock_guard order(m_order);
        if (m_thread.joinable()) return;
        m_stop = false;
        m_thread = std::thread([this] { Run(); });
    }
    void Stop() {
        std::lock_guard order(m_order);
        if (!m_thread.joinable()) return;
        {
            std::lock_guard lock(m_mutex);
            m_stop = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }
    void Wake() {
        {
            std::lock_guard lock(m_mutex);
            m_changed = true;
        }
        m_wake.notify_all();
    }

private:
    // Other processes add rows, and the clock may be set, so it looks at the queue now and then in any case.
    static constexpr std::chrono::seconds kLongestSleep{15};

    void Run() {
        std::unique_lock lock(m_mutex);
        while (!m_stop) {
            m_changed = false;
            lock.unlock();
            SYSTEMTIME local{};
            GetLocalTime(&local);
            PlatRunDueNotifications(local);
            lock.lock();
            m_wake.wait_for(lock, UntilNextMinute(local), [this] { return m_stop || m_changed; });
        }
    }
    // Reminders stand at whole minutes.
    static std::chrono::milliseconds UntilNextMinute(const SYSTEMTIME& local) {
        const std::chrono::milliseconds rest((60 - local.wSecond) * 1000 - local.wMilliseconds + 5);
        return std::min<std::chrono::milliseconds>(rest, kLongestSleep);
    }

    std::mutex m_order; // of Start and Stop
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::thread m_thread;
    bool m_stop = false;
    bool m_changed = false;
};

struct Hooks {
    Hooks() {
        AtReset([] {
            Pump::Get().Stop();
            PlatSetReminderProvider(nullptr, nullptr);
        });
        AtFolderChange([] {
            Pump::Get().Stop();
            Queue::Get().Close();
        });
    }
} const g_hooks;

// --- Giving a notification back -----------------------------------------------------------------------------------

// Lays a header and everything it points to into one buffer; with no buffer it only counts.
class Layout {
public:
    explicit Layout(BYTE* buffer) : m_buffer(buffer) {}
    template<class T>
    T* Place() {
        m_used = (m_used + alignof(T) - 1) / alignof(T) * alignof(T);
        T* at = m_buffer ? new (m_buffer + m_used) T{} : nullptr;
        m_used += sizeof(T);
        return at;
    }
    LPCWSTR Place(std::u16string_view text) {
        auto* at = m_buffer ? reinterpret_cast<WCHAR*>(m_buffer + m_used) : nullptr;
        if (at) at[text.copy(at, text.size())] = 0;
        m_used += (text.size() + 1) * sizeof(WCHAR);
        return at;
    }
    std::size_t Used() const { return m_used; }

private:
    BYTE* const m_buffer;
    std::size_t m_used = 0;
};

std::size_t LayOut(const Notification& row, BYTE* buffer) {
    Layout layout(buffer);
    auto* header = layout.Place<CE_NOTIFICATION_INFO_HEADER>();
    auto* trigger = layout.Place<CE_NOTIFICATION_TRIGGER>();
    auto* user = row.dialog ? layout.Place<CE_USER_NOTIFICATION>() : nullptr;
    const LPCWSTR application = layout.Place(row.application);
    const LPCWSTR arguments = layout.Place(row.arguments);
    const LPCWSTR title = row.dialog ? layout.Place(row.dialog->title) : nullptr;
    const LPCWSTR text = row.dialog ? layout.Place(row.dialog->text) : nullptr;
    const LPCWSTR sound = row.dialog ? layout.Place(row.dialog->sound) : nullptr;
    if (!buffer) return layout.Used();
    *header = {reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(row.id)), 0, trigger, user};
    *trigger = {kNotificationTriggerSize, row.type,          row.event, application, arguments,
                FromTicks(row.start),     FromTicks(row.end)};
    if (user) *user = {row.dialog->action, title, text, sound, 0, 0};
    return layout.Used();
}

std::int64_t IdOf(HANDLE handle) { return static_cast<std::int64_t>(reinterpret_cast<ULONG_PTR>(handle)); }

} // namespace
} // namespace plat

HANDLE CeSetUserNotificationEx(HANDLE notification, const CE_NOTIFICATION_TRIGGER* trigger,
                               const CE_USER_NOTIFICATION* user) {
    plat::HostCall call;
    plat::Notification row;
    DWORD error = trigger && plat::FromCaller(*trigger, user, row) ? 0 : ERROR_INVALID_PARAMETER;
    row.id = plat::IdOf(notification);
    if (!error) error = plat::Queue::Get().Put(row);
    if (error) SetLastError(error);
    if (error) return nullptr;
    plat::Pump::Get().Wake();
    return reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(row.id));
}

BOOL CeClearUserNotification(HANDLE notification) {
    plat::HostCall call;
    const DWORD error = plat::Queue::Get().Remove(plat::IdOf(notification));
    if (error) SetLastError(error);
    return error ? FALSE : TRUE;
}

BOOL CeGetUserNotificationHandles(HANDLE* handles, DWORD count, DWORD* needed) {
    plat::HostCall call;
    const auto ids = plat::Queue::Get().Ids();
    if (needed) *needed = static_cast<DWORD>(ids.size());
    for (std::size_t i = 0; handles && i < std::min<std::size_t>(count, ids.size()); ++i)
        handles[i] = reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(ids[i]));
    if (!handles || count >= ids.size()) return TRUE;
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
}

BOOL CeGetUserNotification(HANDLE notification, DWORD size, DWORD* needed, BYTE* buffer) {
    plat::HostCall call;
    const auto row = plat::Queue::Get().Find(plat::IdOf(notification));
    if (!row) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    const std::size_t bytes = plat::LayOut(*row, nullptr);
    if (needed) *needed = static_cast<DWORD>(bytes);
    if (!buffer || size < bytes) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    plat::LayOut(*row, buffer);
    return TRUE;
}

void PlatSetReminderProvider(PlatReminderProvider provider, void* user) { plat::Slot().Set(provider, user); }

DWORD PlatRunDueNotifications(const SYSTEMTIME& now) {
    plat::HostCall call;
    std::int64_t ticks = 0;
    return plat::ToTicks(now, ticks) ? plat::RunDue(ticks) : 0;
}

void PlatStartNotificationPump() {
    plat::HostCall call;
    plat::Pump::Get().Start();
}

void PlatStopNotificationPump() {
    plat::HostCall call;
    plat::Pump::Get().Stop();
}
