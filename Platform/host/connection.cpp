#include "Platform/host/store.h"

#include "Platform/host/faults.h"

#include <sqlite3.h>

#include <algorithm>
#include <unistd.h>

namespace plat {

namespace {

constexpr std::array<const char*, static_cast<size_t>(Sql::Count)> kStatements = {
    "BEGIN IMMEDIATE",
    "COMMIT",
    "ROLLBACK",
    // Tally
    "SELECT records,bytes,last_auto,free_auto,modified,next_oid,next_stream,schema FROM tally WHERE db=?1",
    "UPDATE tally SET "
    "records=?2,bytes=?3,last_auto=?4,free_auto=?5,modified=?6,next_oid=?7,next_stream=?8,schema=?9 "
    "WHERE db=?1",
    // Record
    "SELECT data FROM rec WHERE id=?1",
    "INSERT INTO rec(id,data) VALUES(?1,?2)",
    "UPDATE rec SET data=?2 WHERE id=?1",
    "DELETE FROM rec WHERE id=?1",
    // Key
    "INSERT OR REPLACE INTO ix(ord,key,oid) VALUES(?1,?2,?3)",
    "DELETE FROM ix WHERE ord=?1 AND key=?2",
    "DELETE FROM ix WHERE ord=?1 AND oid=?2",
    "SELECT i.key,r.data,i.oid FROM ix i CROSS JOIN rec r ON r.id=(?2|i.oid) WHERE i.ord=?1 AND i.key>?3 "
    "ORDER BY i.key LIMIT ?4 OFFSET ?5",
    "SELECT i.key,r.data,i.oid FROM ix i CROSS JOIN rec r ON r.id=(?2|i.oid) WHERE i.ord=?1 AND i.key<?3 "
    "ORDER BY i.key DESC LIMIT ?4 OFFSET ?5",
    "SELECT count(*) FROM ix WHERE ord=?1 AND key<?2",
    // Records in the order of creation
    "SELECT id,data FROM rec WHERE id>?1 AND id<=?2 ORDER BY id LIMIT ?3 OFFSET ?4",
    "SELECT id,data FROM rec WHERE id<?1 AND id>=?2 ORDER BY id DESC LIMIT ?3 OFFSET ?4",
    "SELECT count(*) FROM rec WHERE id>=?1 AND id<?2",
    // Chunk
    "SELECT data FROM strm WHERE id=?1",
    "INSERT OR REPLACE INTO strm(id,data) VALUES(?1,?2)",
    "DELETE FROM strm WHERE id>=?1 AND id<=?2",
    // Changes
    "INSERT INTO chg(data) VALUES(?1)",
    "DELETE FROM chg WHERE id<=?1",
    "SELECT id,data FROM chg WHERE id>?1 ORDER BY id",
    "SELECT max(id) FROM chg",
    // Databases
    "SELECT oid,name,type,any_sort,props FROM dbs WHERE folded=?1",
    "SELECT oid,name,type,any_sort,props FROM dbs WHERE oid=?1",
    "SELECT id,spec FROM ord WHERE db=?1 ORDER BY id",
    "INSERT OR REPLACE INTO dbs(oid,name,folded,type,any_sort,props) VALUES(?1,?2,?3,?4,?5,?6)",
    "DELETE FROM dbs WHERE oid=?1",
    "INSERT INTO tally VALUES(?1,0,0,0,?2,?3,0,0,0)",
    "DELETE FROM tally WHERE db=?1",
    "INSERT INTO ord(id,db,spec) VALUES(?1,?2,?3)",
    "DELETE FROM ord WHERE id=?1",
    "DELETE FROM ix WHERE ord=?1",
    "DELETE FROM rec WHERE id>=?1 AND id<=?2",
    "SELECT oid FROM dbs ORDER BY oid",
};

using Clock = std::chrono::steady_clock;

// A log of that size is tidied at once, by whoever commits: nothing else came to it for long.
constexpr int kTooManyLogPages = 8000;

// Waits longer each time, at most 5 ms, so that a short write of another process costs little and is soon noticed.
int WaitForOthers(void* user, int tries) {
    thread_local Clock::time_point begun;
    if (tries == 0) begun = Clock::now();
    const auto& connection = *static_cast<Connection*>(user);
    if (connection.m_interrupted.load(std::memory_order_relaxed) || Clock::now() - begun > kLockPatience)
        return 0;
    usleep(tries < 7 ? 50u << tries : 5000);
    return 1;
}

// Takes the place of SQLite's own check-pointing within commits. The commit has been made by now: that the log can't be
// tidied, since another does it at this moment, is no failure of it.
int CountLogPages(void* count, sqlite3* db, const char* name, int pages) {
    *static_cast<int*>(count) = pages;
    if (pages >= kTooManyLogPages)
        sqlite3_wal_checkpoint_v2(db, name, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
    return SQLITE_OK;
}

} // namespace

void Distrust(sqlite3* db) {
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
}

DWORD StoreError(int sqliteResult) {
    switch (sqliteResult & 0xFF) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
        return ERROR_SUCCESS;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
    case SQLITE_PROTOCOL:
    case SQLITE_INTERRUPT:
        return ERROR_SHARING_VIOLATION;
    case SQLITE_FULL:
        return ERROR_DISK_FULL;
    case SQLITE_IOERR:
        return ERROR_WRITE_FAULT;
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
        return ERROR_ACCESS_DENIED;
    case SQLITE_NOMEM:
        return ERROR_NOT_ENOUGH_MEMORY;
    case SQLITE_TOOBIG:
        return ERROR_BAD_LENGTH;
    default:
        return ERROR_BAD_FORMAT; // not a database, corrupt, or tables that aren't ours
    }
}

// --- Statement ----------------------------------------------------------------------------------------------------

Statement::~Statement() {
    if (m_statement) sqlite3_reset(m_statement);
}

Statement& Statement::Bind(int position, LONGLONG value) {
    if (m_statement) sqlite3_bind_int64(m_statement, position, value);
    return *this;
}

Statement& Statement::Bind(int position, Bytes bytes) {
    static constexpr BYTE kNothing = 0; // a null pointer would bind NULL and not an empty blob
    if (m_statement)
        sqlite3_bind_blob64(m_statement, position, bytes.empty() ? &kNothing : bytes.data(), bytes.size(),
                            SQLITE_STATIC);
    return *this;
}

int Statement::Step() {
    const int result = m_statement ? sqlite3_step(m_statement) : m_made;
    m_error = StoreError(result);
    return result;
}

bool Statement::Row() { return Step() == SQLITE_ROW; }

DWORD Statement::Run() {
    Step();
    return m_error;
}

LONGLONG Statement::Number(int column) const { return sqlite3_column_int64(m_statement, column); }

Bytes Statement::Blob(int column) const {
    const auto* bytes = static_cast<const BYTE*>(sqlite3_column_blob(m_statement, column));
    const int size = sqlite3_column_bytes(m_statement, column);
    return bytes && size > 0 ? Bytes(bytes, static_cast<size_t>(size)) : Bytes();
}

// --- Connection ---------------------------------------------------------------------------------------------------

DWORD Connection::Open(const std::string& path, bool create, std::unique_ptr<Connection>& out) {
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
    sqlite3* db = nullptr;
    const int result = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
    std::unique_ptr<Connection> connection(new Connection(db));
    if (result != SQLITE_OK) return StoreError(result);
    Distrust(db);
    sqlite3_busy_handler(db, WaitForOthers, connection.get());
    sqlite3_wal_hook(db, CountLogPages, &connection->m_logPages);
    const DWORD error =
        connection->Execute("PRAGMA synchronous=FULL; PRAGMA secure_delete=FAST;"
                            "PRAGMA temp_store=MEMORY; PRAGMA cache_size=-8192; PRAGMA cell_size_check=ON");
    if (!error) out = std::move(connection);
    return error;
}

Connection::~Connection() {
    for (sqlite3_stmt* statement : m_statements) sqlite3_finalize(statement);
    sqlite3_close(m_db);
}

Statement Connection::Use(Sql which) {
    sqlite3_stmt*& statement = m_statements[static_cast<size_t>(which)];
    int made = SQLITE_OK;
    if (!statement)
        made = sqlite3_prepare_v3(m_db, kStatements[static_cast<size_t>(which)], -1,
                                  SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    return Statement(statement, made);
}

DWORD Connection::Execute(const char* sql) {
    return StoreError(sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr));
}

LONGLONG Connection::Ask(const char* sql, LONGLONG otherwise) {
    sqlite3_stmt* statement = nullptr;
    LONGLONG answer = otherwise;
    if (sqlite3_prepare_v2(m_db, sql, -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW)
        answer = sqlite3_column_int64(statement, 0);
    sqlite3_finalize(statement);
    return answer;
}

std::string Connection::AskText(const char* sql) {
    sqlite3_stmt* statement = nullptr;
    std::string answer;
    if (sqlite3_prepare_v2(m_db, sql, -1, &statement, nullptr) == SQLITE_OK &&
        sqlite3_step(statement) == SQLITE_ROW)
        if (const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)))
            answer = text;
    sqlite3_finalize(statement);
    return answer;
}

void Connection::Interrupt() {
    m_interrupted.store(true, std::memory_order_relaxed);
    sqlite3_interrupt(m_db);
}

void Connection::TidyLog() {
    sqlite3_wal_checkpoint_v2(m_db, "main", SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
}

int Connection::Changed() const { return sqlite3_changes(m_db); }

bool Connection::InTransaction() const { return !sqlite3_get_autocommit(m_db); }

} // namespace plat
