#include "Platform/host/smalldb.h"

#include "Platform/host/resolve.h"
#include "Platform/host/store.h"
#include "Platform/host/text.h"
#include "Platform/threads.h"

#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace plat {
namespace {

static_assert(std::endian::native == std::endian::little, "texts go to disk as they stand in memory");

constexpr int kBusyMilliseconds = 10'000; // others write for milliseconds; this is for a machine in trouble

// One process at a time opens, makes or sets aside the small tables of a folder.
class FolderLock {
public:
    explicit FolderLock(const std::string& path)
        : m_folder(::open(path.substr(0, path.rfind('/')).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        while (m_folder && ::flock(m_folder.Get(), LOCK_EX) != 0 && errno == EINTR) continue;
    }

private:
    Fd m_folder; // closing it ends the lock
};

std::uint64_t FileNumber(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

bool IsLink(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

bool IsDamage(int code) { return (code & 0xFF) == SQLITE_CORRUPT || (code & 0xFF) == SQLITE_NOTADB; }

} // namespace

DWORD SmallDb::Open(const std::string& path, const char* schema, Sync sync) {
    Close();
    m_path = path;
    m_schema = schema;
    m_sync = sync;
    if (IsLink(m_path)) return ERROR_ACCESS_DENIED;
    const FolderLock lock(m_path);
    const DWORD error = OpenOnce();
    if (!error || !m_damaged) return error;
    SetAside();
    return OpenOnce();
}

DWORD SmallDb::StartAnew() {
    const FolderLock lock(m_path);
    // Another process may have done it already; its fresh file must stay.
    if (SameFile()) SetAside();
    return OpenOnce();
}

bool SmallDb::SameFile() const { return FileNumber(m_path) == m_fileNumber; }

void SmallDb::Close() {
    if (m_db) sqlite3_close_v2(m_db);
    m_db = nullptr;
    m_file.reset();
}

DWORD SmallDb::OpenOnce() {
    Close();
    const DWORD error = TryOpen();
    if (error) Close();
    return error;
}

DWORD SmallDb::TryOpen() {
    m_damaged = false;
    m_file.emplace(m_path);
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX;
    if (sqlite3_open_v2(m_path.c_str(), &m_db, flags, nullptr) != SQLITE_OK) return LastError();
    m_readOnly = sqlite3_db_readonly(m_db, "main") == 1;
    m_fileNumber = FileNumber(m_path);
    Distrust(m_db);
    sqlite3_extended_result_codes(m_db, 1);
    sqlite3_busy_timeout(m_db, kBusyMilliseconds);
    if (Prepare()) return 0;
    const DWORD error = LastError();
    return error ? error : ERROR_BAD_FORMAT; // a check that found damage is no failure of the database
}

// Reads every page once, and makes sure that all tables are ours: in a database of somebody else nothing is made.
bool SmallDb::IsSound() {
    SmallQuery check(*this, "PRAGMA quick_check(1)");
    const bool answered = check.Next();
    m_damaged = answered ? check.NarrowText(0) != "ok" : IsDamage(sqlite3_errcode(m_db));
    if (!answered || m_damaged) return false;
    SmallQuery foreign(*this,
                       "SELECT 1 FROM sqlite_schema WHERE type='table' AND name NOT LIKE 'sqlite_%' AND "
                       "instr(?, 'EXISTS ' || name || '(') = 0");
    m_damaged =
        foreign.Bind(std::span(reinterpret_cast<const BYTE*>(m_schema), std::strlen(m_schema))).Next();
    return !foreign.Failed() && !m_damaged;
}

bool SmallDb::Prepare() {
    if (!IsSound()) return false;
    if (m_readOnly) return true;
    return Execute("PRAGMA journal_mode=WAL") &&
           Execute(m_sync == Sync::EveryCommit ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL") &&
           Execute(m_schema);
}

void SmallDb::SetAside() {
    Close();
    std::string bad = m_path + ".bad";
    for (int i = 1; ::access(bad.c_str(), F_OK) == 0; ++i) bad = m_path + ".bad" + std::to_string(i);
    // The log goes first and along: it may hold what the file itself lacks.
    ::rename((m_path + "-wal").c_str(), (bad + "-wal").c_str());
    ::unlink((m_path + "-shm").c_str());
    const bool moved = ::rename(m_path.c_str(), bad.c_str()) == 0;
    const std::string line =
        m_path + (moved ? " is damaged or foreign; it stands aside as " + bad + " and a fresh one is begun.\n"
                        : " is damaged or foreign and can't be moved aside.\n");
    OutputDebugStringW(ToUtf16(line).c_str());
}

bool SmallDb::Execute(const char* sql) {
    const bool done = m_db && sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
    if (!done && m_db && IsDamage(sqlite3_errcode(m_db))) m_damaged = true;
    return done;
}

DWORD SmallDb::LastError() const {
    return m_db ? StoreError(sqlite3_extended_errcode(m_db)) : ERROR_NOT_ENOUGH_MEMORY;
}

std::int64_t SmallDb::LastRowId() const { return sqlite3_last_insert_rowid(m_db); }
int SmallDb::Changes() const { return sqlite3_changes(m_db); }

SmallQuery::SmallQuery(SmallDb& db, const char* sql) : m_db(db) {
    m_failed = !db.IsOpen() || sqlite3_prepare_v2(db.m_db, sql, -1, &m_statement, nullptr) != SQLITE_OK;
}

SmallQuery::~SmallQuery() { sqlite3_finalize(m_statement); }

SmallQuery& SmallQuery::Bind(std::int64_t value) {
    if (!m_failed) m_failed = sqlite3_bind_int64(m_statement, ++m_bound, value) != SQLITE_OK;
    return *this;
}

SmallQuery& SmallQuery::Bind(std::u16string_view text) {
    return Bind(std::span(reinterpret_cast<const BYTE*>(text.data()), text.size() * sizeof(WCHAR)));
}

SmallQuery& SmallQuery::Bind(std::span<const BYTE> bytes) {
    if (m_failed) return *this;
    // A null pointer would be stored as NULL, which is not an empty blob.
    const void* data = bytes.empty() ? static_cast<const void*>("") : bytes.data();
    m_failed = sqlite3_bind_blob64(m_statement, ++m_bound, data, bytes.size(), SQLITE_TRANSIENT) != SQLITE_OK;
    return *this;
}

SmallQuery& SmallQuery::BindNull() {
    ++m_bound; // what isn't bound is NULL
    return *this;
}

bool SmallQuery::Next() {
    if (m_failed) return false;
    const int result = sqlite3_step(m_statement);
    m_failed = result != SQLITE_ROW && result != SQLITE_DONE;
    if (m_failed && IsDamage(result)) m_db.m_damaged = true;
    return result == SQLITE_ROW;
}

bool SmallQuery::Run() { return !Next() && !m_failed; }

std::int64_t SmallQuery::Number(int column) const { return sqlite3_column_int64(m_statement, column); }

std::span<const BYTE> SmallQuery::Bytes(int column) const {
    const auto* data = static_cast<const BYTE*>(sqlite3_column_blob(m_statement, column));
    return {data, data ? static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)) : 0};
}

std::u16string SmallQuery::Text(int column) const {
    const auto bytes = Bytes(column);
    std::u16string text(bytes.size() / sizeof(WCHAR), u'\0');
    if (!text.empty()) std::memcpy(text.data(), bytes.data(), text.size() * sizeof(WCHAR));
    return text;
}

std::string SmallQuery::NarrowText(int column) const {
    const auto bytes = Bytes(column);
    return {bytes.begin(), bytes.end()};
}

bool SmallQuery::IsNull(int column) const { return sqlite3_column_type(m_statement, column) == SQLITE_NULL; }

} // namespace plat
