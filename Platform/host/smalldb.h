// The host's own small tables (registry, notifications, file numbers): one SQLite file each, in WAL mode.
// Not thread-safe by itself: each owner guards its database with its own lock.
#pragma once

#include "Platform/host/storefiles.h"
#include "Platform/types.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace plat {

class SmallDb {
public:
    SmallDb() = default;
    ~SmallDb() { Close(); }
    SmallDb(const SmallDb&) = delete;
    SmallDb& operator=(const SmallDb&) = delete;

    enum class Sync { EveryCommit, Lazy };
    // Opens or makes the database and its tables. A damaged file, or one with tables of somebody else, is moved aside
    // to "<path>.bad" (".bad1", ...) with a line to the debug output, and a fresh one is begun. A link is refused: it
    // may lead anywhere. A schema never loses a table, or files that have it would count as somebody else's. The
    // error code of the device: 0, 5, 32, 112.
    DWORD Open(const std::string& path, const char* schema, Sync sync);
    // The same for a database that has been found damaged while it was read. Both leave it closed when they fail.
    DWORD StartAnew();
    void Close();
    bool IsOpen() const { return m_db != nullptr; }
    // Whether the path still leads to the file that was opened.
    bool SameFile() const;
    // True when the file could only be opened for reading.
    bool IsReadOnly() const { return m_readOnly; }

    bool Execute(const char* sql);
    // Of the last failure, as the device's error code.
    DWORD LastError() const;
    // Whether the last failure says that the file itself is broken.
    bool IsDamaged() const { return m_damaged; }
    std::int64_t LastRowId() const;
    int Changes() const;

private:
    friend class SmallQuery;
    DWORD OpenOnce();
    DWORD TryOpen();
    bool Prepare();
    bool IsSound();
    void SetAside();

    sqlite3* m_db = nullptr;
    std::string m_path;
    std::optional<StoreFile> m_file; // while it is open
    const char* m_schema = nullptr;
    Sync m_sync = Sync::EveryCommit;
    std::uint64_t m_fileNumber = 0;
    bool m_readOnly = false;
    bool m_damaged = false;
};

// One statement, used once. Text goes in and out as UTF-16LE blobs: it may hold anything, half surrogate pairs included.
class SmallQuery {
public:
    SmallQuery(SmallDb& db, const char* sql);
    ~SmallQuery();
    SmallQuery(const SmallQuery&) = delete;
    SmallQuery& operator=(const SmallQuery&) = delete;

    SmallQuery& Bind(std::int64_t value);
    SmallQuery& Bind(std::u16string_view text);
    SmallQuery& Bind(std::span<const BYTE> bytes);
    SmallQuery& BindNull();

    // True while there is a row; afterwards Failed tells an error from the end.
    bool Next();
    bool Failed() const { return m_failed; }
    // For a statement without rows: true when it was done.
    bool Run();

    std::int64_t Number(int column) const;
    std::u16string Text(int column) const;
    std::string NarrowText(int column) const;
    // Valid until the next step.
    std::span<const BYTE> Bytes(int column) const;
    bool IsNull(int column) const;

private:
    SmallDb& m_db;
    sqlite3_stmt* m_statement = nullptr;
    int m_bound = 0;
    bool m_failed = false;
};

// A transaction that takes the writer's place at once, and is undone unless it was committed.
class SmallWrite {
public:
    explicit SmallWrite(SmallDb& db) : m_db(db), m_open(db.Execute("BEGIN IMMEDIATE")) {}
    ~SmallWrite() {
        if (m_open) m_db.Execute("ROLLBACK");
    }
    SmallWrite(const SmallWrite&) = delete;
    SmallWrite& operator=(const SmallWrite&) = delete;
    explicit operator bool() const { return m_open; }
    bool Commit() {
        if (!m_open || !m_db.Execute("COMMIT")) return false;
        m_open = false;
        return true;
    }

private:
    SmallDb& m_db;
    bool m_open;
};

} // namespace plat
