// The object behind a database handle, and the short way to it.
#include "Platform/host/store.h"

#include "Platform/host/call.h"

#include <algorithm>

namespace plat {

namespace {

struct LastDatabase;

struct LastDatabases {
    std::mutex mutex;
    std::vector<LastDatabase*> all;
};

LastDatabases& List() {
    static auto* list = new LastDatabases;
    return *list;
}

// What a thread asked for last. It keeps the object alive, so it is emptied when that thread closes the handle, when
// it asks for another one, and when it ends in whatever way.
struct LastDatabase {
    LastDatabase() : threadId(t_thread ? t_thread->threadId : 0) {
        std::lock_guard lock(List().mutex);
        List().all.push_back(this);
    }
    ~LastDatabase() {
        std::lock_guard lock(List().mutex);
        std::erase(List().all, this);
    }
    LastDatabase(const LastDatabase&) = delete;
    LastDatabase& operator=(const LastDatabase&) = delete;

    const DWORD threadId;
    HANDLE handle = nullptr;
    std::shared_ptr<Database> database;
    DWORD closed = 0; // handles on it, when this one was found open
};

// A plain pointer, since static objects close their handles when the thread's own objects are gone already.
thread_local LastDatabase* t_last = nullptr;

struct ThreadEnd {
    ~ThreadEnd() {
        delete t_last;
        t_last = nullptr;
    }
};

LastDatabase& Last() {
    if (!t_last) {
        thread_local ThreadEnd end;
        t_last = new LastDatabase;
    }
    return *t_last;
}

} // namespace

Database::Database(std::shared_ptr<Session> session, std::shared_ptr<const DbInfo> info,
                   const SortOrder& order)
    : KernelObject(kKind), m_session(std::move(session)), m_info(std::move(info)), m_order(order),
      m_cursor(m_info->oid, order) {
    m_session->GetVolume().CountOpen(m_info->oid, 1);
}

void Database::OnLastClose() {
    Volume& volume = m_session->GetVolume();
    if (m_subscription) volume.Unsubscribe(m_subscription);
    volume.CountOpen(m_cursor.DatabaseOid(), -1);
    if (t_last && t_last->database.get() == this)
        t_last->database.reset(); // the caller holds this object, too
}

const std::shared_ptr<Database>& DatabaseOf(HANDLE handle) {
    LastDatabase& last = Last();
    if (last.handle == handle && last.database && last.database->ClosedHandles() == last.closed)
        return last.database;
    last.database = FindObject<Database>(handle);
    last.handle = handle;
    if (!last.database) return last.database;
    // Looked up once more behind the count: if it is closed later than this, the count tells.
    last.closed = last.database->ClosedHandles();
    if (!FindHandle(handle)) last.database.reset();
    return last.database;
}

void ForgetDatabaseOf(DWORD threadId) {
    std::vector<std::shared_ptr<Database>> forgotten; // declared first: they go when the lock is free again
    std::lock_guard lock(List().mutex);
    for (LastDatabase* last : List().all)
        if (last->threadId == threadId) forgotten.push_back(std::move(last->database));
}

} // namespace plat
