// What other threads and processes learn of a commit: the counters that keep read-ahead honest, and notifications.
#include "Platform/host/store.h"

#include "Platform/memory.h"
#include "Platform/windows.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <linux/futex.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

namespace plat {

// --- SharedCounters -----------------------------------------------------------------------------------------------

namespace {

constexpr size_t kCommitsAt = 0;
constexpr size_t kSlotsAt = 1024;

static_assert(std::atomic<DWORD>::is_always_lock_free && sizeof(std::atomic<DWORD>) == sizeof(DWORD));

std::atomic<DWORD>* WordAt(void* map, size_t offset) {
    return reinterpret_cast<std::atomic<DWORD>*>(static_cast<BYTE*>(map) + offset);
}

void Futex(std::atomic<DWORD>* word, int operation, DWORD value) {
    syscall(SYS_futex, word, operation, value, nullptr, nullptr, 0);
}

// The file has its bytes, and room for them on the disk: a write to a mapped hole of a full disk would end the process.
bool HasRoom(int file, off_t bytes) {
    struct stat info {};
    if (fstat(file, &info) != 0 || !S_ISREG(info.st_mode)) return false;
    if (fallocate(file, 0, 0, bytes) == 0) return true;
    // A file system that can't say so mostly has no holes either.
    return errno == EOPNOTSUPP && (info.st_size >= bytes || ftruncate(file, bytes) == 0);
}

} // namespace

SharedCounters::SharedCounters(std::string path) : m_path(std::move(path)) { Map(); }

SharedCounters::~SharedCounters() {
    if (m_map) munmap(m_map, kBytes);
}

void SharedCounters::Map() {
    const int file = open(m_path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (file < 0) return;
    void* map = MAP_FAILED;
    if (HasRoom(file, kBytes)) map = mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (map != MAP_FAILED) m_map = map;
    close(file);
}

std::atomic<DWORD>* SharedCounters::Slot(CEOID database) const {
    return WordAt(m_map, kSlotsAt + database % kSlots * sizeof(DWORD));
}

DWORD SharedCounters::Load(CEOID database) const {
    return m_map ? Slot(database)->load(std::memory_order_acquire) : 1;
}

DWORD SharedCounters::MarkBusy(CEOID database) {
    if (!m_map) Map(); // others may have them by now, and must hear of this writer
    if (!m_map) return 1;
    const DWORD before = Slot(database)->load(std::memory_order_acquire);
    const DWORD busy = before + (before & 1 ? 2 : 1);
    Slot(database)->store(busy, std::memory_order_seq_cst);
    return busy;
}

void SharedCounters::MarkDone(CEOID database, DWORD busy) {
    // The next writer may hold the volume already; then the slot is its own to finish.
    if (m_map) Slot(database)->compare_exchange_strong(busy, busy + 1, std::memory_order_seq_cst);
}

DWORD SharedCounters::Commits() const {
    return m_map ? WordAt(m_map, kCommitsAt)->load(std::memory_order_acquire) : 0;
}

void SharedCounters::TellCommit() {
    if (!m_map) return;
    WordAt(m_map, kCommitsAt)->fetch_add(1, std::memory_order_release);
    Futex(WordAt(m_map, kCommitsAt), FUTEX_WAKE, INT_MAX);
}

void SharedCounters::Wait(DWORD seen) const {
    if (m_map)
        Futex(WordAt(m_map, kCommitsAt), FUTEX_WAIT, seen);
    else
        usleep(200'000); // no shared word: look now and then
}

// --- Notification -------------------------------------------------------------------------------------------------

void FreeNotification(LPARAM notification) { LocalFree(reinterpret_cast<HLOCAL>(notification)); }

namespace {

void Post(const Subscription& to, const Change& change, const CEGUID& volume) {
    auto* told = static_cast<CENOTIFICATION*>(LocalAlloc(LPTR, sizeof(CENOTIFICATION)));
    if (!told) return;
    *told = {sizeof *told, to.parameter, change.type, volume, change.oid, change.database};
    if (!PostMessageW(to.window, WM_DBNOTIFICATION, 0, reinterpret_cast<LPARAM>(told))) LocalFree(told);
}

constexpr size_t kPackedChange = 12;
constexpr size_t kMostTold = 64;

} // namespace

DWORD Volume::Subscribe(Subscription subscription, Connection& connection, DWORD& id) {
    LONGLONG last = 0;
    {
        Statement statement = connection.Use(Sql::ChangesLast);
        if (!statement.Row()) return statement.Error();
        last = statement.Number(0);
    }
    std::lock_guard lock(m_mutex);
    if (!m_listener.joinable() && !m_retired) {
        std::unique_ptr<Connection> own;
        if (const DWORD error = Connection::Open(m_path, false, own)) return error;
        try {
            m_listener =
                std::thread([this, last, c = std::move(own)]() mutable { Listen(std::move(c), last); });
        } catch (const std::system_error&) {
            return ERROR_NOT_ENOUGH_MEMORY;
        }
    }
    subscription.id = ++m_lastSubscription;
    subscription.since = last;
    m_subscriptions.push_back(subscription);
    id = subscription.id;
    return 0;
}

void Volume::Unsubscribe(DWORD id) {
    std::lock_guard lock(m_mutex);
    std::erase_if(m_subscriptions, [id](const Subscription& s) { return s.id == id; });
}

void Volume::Listen(std::unique_ptr<Connection> connection, LONGLONG last) {
    while (!m_stop.load(std::memory_order_acquire)) {
        const DWORD seen = m_counters->Commits();
        { // the statement ends here: no snapshot is held while waiting
            Statement statement = connection->Use(Sql::ChangesSince);
            statement.Bind(1, last);
            while (statement.Row()) {
                last = statement.Number(0);
                Deliver(last, statement.Blob(1));
            }
        }
        if (!m_stop.load(std::memory_order_acquire)) m_counters->Wait(seen);
    }
}

void Volume::Deliver(LONGLONG id, Bytes changes) {
    std::vector<Subscription> all;
    {
        std::lock_guard lock(m_mutex);
        all = m_subscriptions;
    }
    for (const Subscription& to : all)
        if (to.since < id) DeliverTo(to, changes);
}

// A bulk change is told as one, or it would fill the window's queue and keep other messages out.
void Volume::DeliverTo(const Subscription& to, Bytes changes) {
    std::vector<Change> concerned;
    for (; changes.size() >= kPackedChange; changes = changes.subspan(kPackedChange)) {
        const Change change{Load32(changes.data()), Load32(changes.data() + 4), Load32(changes.data() + 8)};
        if (change.database == to.database) concerned.push_back(change);
    }
    if (concerned.size() > kMostTold) concerned = {{to.database, 0, DB_CEOID_CHANGED}};
    for (const Change& change : concerned) Post(to, change, m_guid);
}

void Volume::StopListening() {
    std::thread listener;
    {
        std::lock_guard lock(m_mutex);
        listener.swap(m_listener);
    }
    if (!listener.joinable()) return;
    m_stop.store(true, std::memory_order_release);
    m_counters->TellCommit();
    listener.join();
    m_stop.store(false, std::memory_order_release);
}

} // namespace plat
