#include "Platform/host/store.h"

#include "Platform/host/call.h"

#include <algorithm>

namespace plat {

namespace {

DWORD ThisThread() { return t_thread ? t_thread->threadId : 0; }

// All sessions, for the moment at which a thread is ended from outside.
struct SessionList {
    std::mutex mutex;
    std::vector<std::weak_ptr<Session>> sessions;
};

SessionList& List() {
    static auto* list = new SessionList;
    return *list;
}

std::vector<std::shared_ptr<Session>> AllSessions() {
    std::lock_guard lock(List().mutex);
    std::vector<std::shared_ptr<Session>> all;
    for (const auto& weak : List().sessions)
        if (auto session = weak.lock()) all.push_back(std::move(session));
    return all;
}

void Remember(const std::shared_ptr<Session>& session) {
    std::lock_guard lock(List().mutex);
    std::erase_if(List().sessions, [](const auto& weak) { return weak.expired(); });
    List().sessions.push_back(session);
}

void InterruptThread(DWORD threadId) {
    for (const auto& session : AllSessions()) session->Interrupt(threadId);
}

void RecoverThread(DWORD threadId) {
    if (!threadId) return;
    ForgetDatabaseOf(threadId);
    for (const auto& session : AllSessions()) session->Recover(threadId);
}

[[maybe_unused]] const bool g_registered = (SetStoreHooks({InterruptThread, RecoverThread}), true);

} // namespace

// --- SessionLock --------------------------------------------------------------------------------------------------

SessionLock::SessionLock(Session& session) : m_session(session) {
    session.m_mutex.lock();
    session.m_user.store(ThisThread(), std::memory_order_release);
}

SessionLock::~SessionLock() {
    m_session.m_connection->m_interrupted.store(false, std::memory_order_relaxed);
    m_session.m_user.store(0, std::memory_order_release);
    m_session.m_mutex.unlock();
}

// --- Session ------------------------------------------------------------------------------------------------------

Session::Session(std::shared_ptr<Volume> volume, std::unique_ptr<Connection> connection)
    : KernelObject(kKind), m_volume(std::move(volume)), m_connection(std::move(connection)),
      m_writer(*m_volume, *m_connection) {}

Session::~Session() {
    m_writer.Rollback();
    m_volume->GiveBack(std::move(m_connection));
}

DWORD Session::Make(std::shared_ptr<Volume> volume, std::shared_ptr<Session>& out) {
    std::unique_ptr<Connection> connection;
    if (const DWORD error = volume->Take(connection)) return error;
    out = std::make_shared<Session>(std::move(volume), std::move(connection));
    Remember(out);
    return 0;
}

void Session::OnLastClose() {
    SessionLock lock(*this);
    Abandon();
}

void Session::Interrupt(DWORD threadId) {
    // The connection lives as long as this session, which the caller holds.
    if (threadId && m_user.load(std::memory_order_acquire) == threadId) m_connection->Interrupt();
}

// Only the ended thread's own sessions are locked: another may be waiting, in its lock, for this very transaction.
void Session::Recover(DWORD threadId) {
    if (!threadId || m_transactionThread.load(std::memory_order_acquire) != threadId) return;
    SessionLock lock(*this);
    Abandon();
}

void Session::Abandon() {
    if (!m_writer.Active()) return;
    m_writer.Rollback();
    m_transactionThread.store(0, std::memory_order_release);
    ++m_changes;
    ++m_rollbacks;
}

DWORD Session::Begin() {
    if (m_writer.Active()) return ERROR_INVALID_PARAMETER;
    if (const DWORD error = m_writer.Begin()) return error;
    m_transactionThread.store(ThisThread(), std::memory_order_release);
    return 0;
}

DWORD Session::End(bool commit) {
    if (!m_writer.Active()) return ERROR_INVALID_PARAMETER;
    if (!commit) {
        Abandon();
        return 0;
    }
    const DWORD error = m_writer.Commit();
    m_transactionThread.store(0, std::memory_order_release);
    ++m_changes;
    if (error) ++m_rollbacks;
    return error;
}

DWORD Session::FinishOwn(DWORD error) {
    if (!error) return m_writer.Commit();
    m_writer.Rollback();
    return error;
}

} // namespace plat
