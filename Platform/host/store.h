// The property store on SQLite: the one interface between the database operations of the device and the files.
//
// A volume is one SQLite file in WAL mode. Two tables serve all its databases: `rec` holds the packed records under
// their database and object id, `ix` the keys of all sort orders. Beside them `meta`, `dbs` (databases), `ord` (sort
// orders), `tally` (counters, changed with every write, so one small page), `strm` (streams too large for the record,
// in chunks) and `chg` (what changed, for those who asked to be told). Making a database is rows, not tables.
//
// A session owns a connection, and its lock is held for the length of an operation. A write takes the volume's gate,
// then BEGIN IMMEDIATE; it never upgrades a read. Locks are taken in the order session, gate, volume. Nothing of this
// may be used across fork.
//
// Errors are the device's numbers, 0 for success.
#pragma once

#include "Platform/host/handles.h"
#include "Platform/host/key.h"
#include "Platform/host/storefiles.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

struct sqlite3;
struct sqlite3_stmt;

namespace plat {

// Frees what message WM_DBNOTIFICATION carries. The message loop calls it once the message has been dispatched.
void FreeNotification(LPARAM notification);

// A writer that can't get the volume for so long gives up with error 32.
inline constexpr std::chrono::seconds kLockPatience{10};
inline constexpr CEOID kFirstOid =
    0x00100000; // far above any automatic number, so a mix-up of the two fails at once
inline constexpr CEOID kLastOid = 0x3FFFFFFF;

// --- Connections (connection.cpp) ---------------------------------------------------------------------------------

enum class Sql : BYTE {
    Begin,
    Commit,
    Rollback,
    TallyGet,
    TallyPut,
    RecordGet,
    RecordAdd,
    RecordPut,
    RecordDelete,
    KeyAdd,
    KeyDelete,
    KeyDeleteByOid,
    KeysForward,
    KeysBackward,
    KeysBelow,
    RecordsForward,
    RecordsBackward,
    RecordsBelow,
    ChunkGet,
    ChunkPut,
    ChunksDelete,
    ChangesAdd,
    ChangesTrim,
    ChangesSince,
    ChangesLast,
    DatabaseByName,
    DatabaseByOid,
    OrdersOf,
    DatabasePut,
    DatabaseDelete,
    TallyAdd,
    TallyDelete,
    OrderAdd,
    OrderDelete,
    KeysDelete,
    RecordsDelete,
    DatabaseList,
    Count
};

// One prepared statement in use: bound by position, stepped, and reset at its end.
class Statement {
public:
    // `made` is the result of preparing it.
    Statement(sqlite3_stmt* statement, int made) : m_statement(statement), m_made(made) {}
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& Bind(int position, LONGLONG value);
    Statement& Bind(int position, Bytes bytes); // must live until the statement's end
    // SQLITE_ROW or SQLITE_DONE, or what went wrong.
    int Step();
    // One row that doesn't have to be there; Error() tells an absent one from a failure.
    bool Row();
    // A statement without rows.
    DWORD Run();
    DWORD Error() const { return m_error; }
    LONGLONG Number(int column) const;
    Bytes Blob(int column) const; // until the next step

private:
    sqlite3_stmt* m_statement;
    int m_made;
    DWORD m_error = 0;
};

DWORD StoreError(int sqliteResult);
// A file may come from anywhere: nothing that stands in its schema is run.
void Distrust(sqlite3* db);

class Connection {
public:
    // `create` makes a missing file. The volume's settings are those of the connection; nothing is read yet.
    static DWORD Open(const std::string& path, bool create, std::unique_ptr<Connection>& out);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    Statement Use(Sql which);
    // A statement that is needed once, such as those of making a volume.
    DWORD Execute(const char* sql);
    LONGLONG Ask(const char* sql, LONGLONG otherwise);
    std::string AskText(const char* sql);
    // Breaks off what runs now, from any thread.
    void Interrupt();
    bool InTransaction() const;
    sqlite3* Raw() const { return m_db; }
    // Rows that the last statement changed.
    int Changed() const;
    // Pages in the write-ahead log after this connection's last commit.
    int LogPages() const { return m_logPages; }
    // Moves the log into the volume's file as far as readers allow, without waiting for anyone.
    void TidyLog();

    std::atomic<bool> m_interrupted{false}; // ends waiting for a lock

private:
    explicit Connection(sqlite3* db) : m_db(db) {}

    sqlite3* m_db;
    std::array<sqlite3_stmt*, static_cast<size_t>(Sql::Count)> m_statements{};
    int m_logPages = 0;
};

// --- Shared with other processes (changes.cpp) --------------------------------------------------------------------

// Counters in a small mapped file beside the volume. A slot is odd while a writer commits to one of its databases, so
// what was read ahead is good as long as the slot is even and unchanged. One word counts commits and is waited on.
class SharedCounters {
public:
    explicit SharedCounters(std::string path);
    ~SharedCounters();
    SharedCounters(const SharedCounters&) = delete;
    SharedCounters& operator=(const SharedCounters&) = delete;

    // 1, which is never good, when the file can't be mapped.
    DWORD Load(CEOID database) const;
    // Only by the one writer that holds the volume. An odd slot was left by a writer that died: it's taken over.
    DWORD MarkBusy(CEOID database);
    void MarkDone(CEOID database, DWORD busy);

    DWORD Commits() const;
    void TellCommit();
    // Until the word differs from `seen`.
    void Wait(DWORD seen) const;

private:
    static constexpr size_t kSlots = 256;
    static constexpr size_t kBytes = 4096;
    void Map();
    std::atomic<DWORD>* Slot(CEOID database) const;

    const std::string m_path;
    std::atomic<void*> m_map{nullptr};
};

struct Change {
    CEOID database;
    CEOID oid;
    UINT type;
};

struct Subscription {
    DWORD id = 0;
    CEOID database = 0;
    HWND window = nullptr;
    ULONG_PTR parameter = 0;
    LONGLONG since = 0; // the last change it doesn't hear of
};

// --- Volumes (volume.cpp) -----------------------------------------------------------------------------------------

// A database as it was made. Never changed; a changed database gets a new one.
struct DbInfo {
    CEOID oid = 0;
    std::u16string name;
    DWORD type = 0;
    bool anySort = false; // made without sort orders: any single property will do
    std::vector<SortOrder> orders;
    std::vector<PropEntry> schema; // propid and flags
    LONGLONG version = 0;          // Tally::schema when it was read

    const SortOrder* Find(const SortOrder& wanted) const;
    CEPROPID AutoId() const;
};

// The writer's place of a volume within this process: held by a session from BEGIN to COMMIT, not by a thread, so
// that the transaction of an ended thread can be rolled back by another.
class WriterGate {
public:
    // 32 when it isn't free in time, at once when this very thread holds it by another session.
    DWORD Enter(const std::atomic<bool>& interrupted);
    void Leave();

private:
    std::mutex m_mutex;
    std::condition_variable m_freed;
    bool m_held = false;
    std::thread::id m_holder;
};

class Volume : public std::enable_shared_from_this<Volume> {
public:
    Volume(std::string path, const CEGUID& guid);
    ~Volume();

    const CEGUID& Guid() const { return m_guid; }
    const std::string& Path() const { return m_path; }

    // Opens the file, or makes it when `create`; `seed` gives a new one the databases of the PIM applications.
    DWORD Open(bool create, bool seed);
    bool SameFile() const; // the path still leads to the file that was opened

    DWORD Take(std::unique_ptr<Connection>& out);
    void GiveBack(std::unique_ptr<Connection> connection);
    // No file stays open but for handles in use.
    void Retire();

    WriterGate& Gate() { return m_gate; }
    SharedCounters& Counters() { return *m_counters; }
    const Collation& TextOrder() const { return *m_collation.load(std::memory_order_acquire); }
    DWORD ReloadCollation(Connection& connection);

    // How many handles this process has on a database.
    void CountOpen(CEOID database, int by);
    bool IsOpen(CEOID database);

    // The log has grown: it is tidied in the background, once writing pauses.
    void TidySoon();

    DWORD Subscribe(Subscription subscription, Connection& connection, DWORD& id);
    void Unsubscribe(DWORD id);

    int m_mounts = 0;    // guarded by the list of volumes
    int m_permanent = 0; // of them the host's own, which nobody can release

private:
    DWORD Examine(Connection& connection, bool& fresh);
    DWORD ExamineContent(Connection& connection, bool& fresh);
    DWORD Prepare(Connection& connection, bool seed);
    DWORD RenewTextOrders(Connection& connection);
    void Listen(std::unique_ptr<Connection> connection, LONGLONG last);
    void Deliver(LONGLONG id, Bytes changes);
    void DeliverTo(const Subscription& to, Bytes changes);
    void StopListening();
    void Tidy();
    void StopTidying();

    const std::string m_path;
    const StoreFile m_file; // as long as there may be connections
    const CEGUID m_guid;
    ULONGLONG m_device = 0;
    ULONGLONG m_inode = 0;
    std::unique_ptr<SharedCounters> m_counters;
    std::atomic<const Collation*> m_collation{nullptr};
    WriterGate m_gate;

    std::mutex m_mutex;
    bool m_retired = false;
    std::vector<std::unique_ptr<Connection>> m_idle;
    std::vector<CEOID> m_open; // one entry a handle
    std::vector<Subscription> m_subscriptions;
    DWORD m_lastSubscription = 0;
    std::thread m_listener;
    std::atomic<bool> m_stop{false};

    std::mutex m_tidyMutex;
    std::condition_variable m_tidyEnd;
    std::thread m_tidier;
    bool m_tidying = false;
    bool m_tidyStop = false;
};

// The mounted volumes of this process. Mounting by path counts; `error` tells why there is none.
std::shared_ptr<Volume> MountVolume(const std::u16string& path, bool create, DWORD& error);
std::shared_ptr<Volume> FindVolume(const CEGUID& guid);
bool UnmountVolume(const CEGUID& guid);
std::vector<std::shared_ptr<Volume>> MountedVolumes();

// Reading the list of databases. Error 2 when there is no such one.
DWORD LoadDatabase(Connection& connection, CEOID oid, std::shared_ptr<const DbInfo>& out);
DWORD LoadDatabase(Connection& connection, std::u16string_view name, std::shared_ptr<const DbInfo>& out);
std::u16string FoldDatabaseName(std::u16string_view name);

constexpr LONGLONG RecordRow(CEOID database, CEOID oid) {
    return static_cast<LONGLONG>(database) << 32 | oid;
}

// --- Writing (writer.cpp, catalog.cpp) ------------------------------------------------------------------------------

// The counters of one database, or (database 0) of the volume.
struct Tally {
    CEOID database = 0;
    LONGLONG records = 0;
    LONGLONG bytes = 0;
    LONGLONG lastAuto = 0; // the highest automatic number given
    LONGLONG freeAuto = 0; // no number below it is free again
    LONGLONG modified = 0; // file time
    LONGLONG nextOid = 0;
    LONGLONG nextStream = 0;
    LONGLONG schema = 0; // counts changes of databases and sort orders
    bool changed = false;
};
DWORD LoadTally(Connection& connection, CEOID database, Tally& out);

// The write side of a session, between Begin and Commit or Rollback. Operations that fail leave the transaction to
// be rolled back.
class Writer {
public:
    Writer(Volume& volume, Connection& connection) : m_volume(volume), m_connection(connection) {}
    ~Writer() { Rollback(); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    DWORD Begin();
    DWORD Commit();
    void Rollback();
    bool Active() const { return m_active; }
    // Writing within a transaction that is not the writer's own: the making of a volume. Part stores the counters.
    void Join() { m_joined = true; }
    DWORD Part();
    // An operation that broke off in the middle takes its transaction with it: it can only be rolled back.
    void Spoil(DWORD error) {
        if (m_midway) m_spoiled = error;
    }
    // What the open transaction has ended by, 0 while it stands. A failing disk ends it behind our back; what is written
    // then would be a change of its own.
    DWORD Spoiled();

    void StartOperation();
    // `info` is renewed when the database was changed meanwhile; error 2 when it's gone.
    DWORD Renew(std::shared_ptr<const DbInfo>& info);
    // Adds a record (oid 0) or changes one; `oid` gets its id.
    DWORD Put(const DbInfo& db, CEOID& oid, std::span<const CEPROPVAL> values);
    DWORD PutStream(const DbInfo& db, CEOID oid, CEPROPID propid, Bytes content);
    DWORD Delete(const DbInfo& db, CEOID oid);

    DWORD CreateDatabase(const DbInfo& wanted, CEOID& oid);
    DWORD DeleteDatabase(const DbInfo& db);
    // Rewrites name, type, schema and sort orders; orders with an id of 0 are new and get their keys.
    DWORD ChangeDatabase(const DbInfo& db, const DbInfo& wanted);
    DWORD RemoveProps(const DbInfo& db, std::span<const CEPROPID> ids);
    // All keys of the orders that compare texts without case anew.
    DWORD RebuildTextOrders(CEOID database);

private:
    DWORD TallyOf(CEOID database, Tally*& out);
    DWORD NextOid(CEOID& out);
    DWORD AddTally(CEOID database);
    DWORD NextAutoNumber(const DbInfo& db, Tally& tally, DWORD& out);
    DWORD LowestFree(const DbInfo& db, LONGLONG from, LONGLONG& out);
    DWORD Fetch(CEOID database, CEOID oid);
    DWORD Apply(std::span<const CEPROPVAL> values);
    DWORD SetStream(CEPROPID propid, Bytes content);
    void DropStream(CEPROPID propid);
    DWORD Insert(const DbInfo& db, CEOID& oid);
    DWORD Replace(const DbInfo& db, CEOID oid);
    DWORD ReplaceKey(const SortOrder& order, CEOID oid, const RecordView& after);
    DWORD DropKey(const SortOrder& order, CEOID oid);
    DWORD AddKey(const SortOrder& order, CEOID oid, const RecordView& record);
    DWORD DeleteDroppedStreams();
    // Calls `visit(oid, record)` for all records of a database, until it gives an error.
    template<class Visit>
    DWORD ForEach(CEOID database, Visit visit);
    DWORD BuildKeys(CEOID database, const SortOrder& order);
    DWORD AddOrder(CEOID database, SortOrder order);
    DWORD DropOrder(LONGLONG id);
    DWORD PutDatabase(CEOID oid, const DbInfo& db);
    DWORD SchemaChanged();
    DWORD WriteTallies();
    DWORD WriteChanges();
    void Note(CEOID database, CEOID oid, UINT type);
    void Forget();

    Volume& m_volume;
    Connection& m_connection;
    bool m_active = false;
    bool m_midway = false; // an operation has begun to write
    DWORD m_spoiled = 0;
    bool m_joined = false;
    std::deque<Tally> m_tallies; // whose addresses stay
    std::vector<Change> m_changes;
    std::vector<CEOID> m_touched;
    std::vector<DWORD> m_droppedStreams;
    // Scratch of one record, kept for the next.
    RecordDraft m_draft;
    ByteBuffer m_old;
    ByteBuffer m_new;
    std::optional<RecordView> m_oldView;
    Key m_keyBefore;
    Key m_keyAfter;
    ByteBuffer m_packedChanges;
};

template<class Visit>
DWORD Writer::ForEach(CEOID database, Visit visit) {
    Statement rows = m_connection.Use(Sql::RecordsForward);
    rows.Bind(1, RecordRow(database, 0) - 1).Bind(2, RecordRow(database, 0xFFFFFFFF)).Bind(3, -1).Bind(4, 0);
    while (rows.Row()) {
        const auto record = RecordView::Of(rows.Blob(1));
        if (!record) continue;
        if (const DWORD error = visit(static_cast<CEOID>(rows.Number(0)), *record)) return error;
    }
    return rows.Error();
}

// --- Sessions (session.cpp) ---------------------------------------------------------------------------------------

class Session : public KernelObject {
public:
    static constexpr Kind kKind = Kind::Session;
    Session(std::shared_ptr<Volume> volume, std::unique_ptr<Connection> connection);
    ~Session() override;
    static DWORD Make(std::shared_ptr<Volume> volume, std::shared_ptr<Session>& out);
    void OnLastClose() override;

    Volume& GetVolume() { return *m_volume; }
    const std::shared_ptr<Volume>& SharedVolume() { return m_volume; }

    void Interrupt(DWORD threadId);
    void Recover(DWORD threadId);

    // All below: with the session locked.
    Connection& Conn() { return *m_connection; }
    DWORD Begin();
    DWORD End(bool commit);
    // Runs one change in the open transaction, or in one of its own.
    template<class Change>
    DWORD Write(Change change) {
        const bool own = !m_writer.Active();
        if (const DWORD error = own ? m_writer.Begin() : m_writer.Spoiled()) return error;
        m_writer.StartOperation();
        DWORD error = change(m_writer);
        ++m_changes;
        if (own) return FinishOwn(error);
        if (error) m_writer.Spoil(error);
        return error;
    }
    // Counts what this session changed itself, and roll-backs: what was read ahead before is void.
    ULONGLONG Changes() const { return m_changes; }
    // Streams opened before a roll-back have nothing to save behind it.
    ULONGLONG Rollbacks() const { return m_rollbacks; }

private:
    friend class SessionLock;
    DWORD FinishOwn(DWORD error);
    void Abandon();

    std::shared_ptr<Volume> m_volume;
    std::mutex m_mutex;
    std::unique_ptr<Connection> m_connection;
    Writer m_writer;
    std::atomic<DWORD> m_user{0}; // the thread that is inside
    std::atomic<DWORD> m_transactionThread{0};
    ULONGLONG m_changes = 0;
    ULONGLONG m_rollbacks = 0;
};

class SessionLock {
public:
    explicit SessionLock(Session& session);
    ~SessionLock();
    SessionLock(const SessionLock&) = delete;
    SessionLock& operator=(const SessionLock&) = delete;

private:
    Session& m_session;
};

// --- Cursors (cursor.cpp) -----------------------------------------------------------------------------------------

// A place in a sort order: a key, not a row number and not an open statement, so others may write meanwhile. It reads
// 1, 2, 4 ... 256 records ahead as a walk goes on.
class Cursor {
public:
    Cursor(CEOID database, const SortOrder& order) : m_database(database), m_order(order) {}

    CEOID DatabaseOid() const { return m_database; }
    // Each gives the object id, 0 with an error.
    CEOID SeekOid(Session& session, CEOID oid, DWORD& error);
    CEOID SeekBeginning(Session& session, LONGLONG n, DWORD& error);
    CEOID SeekEnd(Session& session, LONGLONG n, DWORD& error);
    CEOID Step(Session& session, LONGLONG n, DWORD& error);
    CEOID SeekValue(Session& session, DWORD seekType, std::span<const CEPROPVAL> values, DWORD& error);
    // From the start of the order.
    DWORD Index(Session& session, DWORD& error);

    // The current record; a view into this cursor's bytes.
    CEOID Current(Session& session, RecordView& record, DWORD& error);

private:
    enum class Place : BYTE { Fresh, BeforeFirst, On, AfterLast };
    struct Row {
        CEOID oid;
        size_t key;
        size_t keySize;
        size_t data;
        size_t dataSize;
    };
    bool BatchGood(Session& session) const;
    Bytes KeyOf(const Row& row) const { return m_bytes.View().subspan(row.key, row.keySize); }
    Bytes DataOf(const Row& row) const { return m_bytes.View().subspan(row.data, row.dataSize); }
    void KeepKey();
    void StartBatch(Session& session, bool forward);
    void AddRow(Bytes key, Bytes data, CEOID oid);
    DWORD Fetch(Session& session, bool forward, LONGLONG skip, DWORD rows);
    DWORD FetchKeys(Session& session, bool forward, LONGLONG skip, DWORD rows);
    DWORD FetchRecords(Session& session, bool forward, LONGLONG skip, DWORD rows);
    DWORD FetchOne(Session& session, CEOID oid, bool keepPlace);
    CEOID Land(bool forward, DWORD& error);
    CEOID StepFromKey(Session& session, LONGLONG n, DWORD& error);
    bool StepInBatch(LONGLONG n);
    CEOID OnlyWhen(bool good, bool forward, DWORD& error);
    bool InGap(Session& session, const Key& prefix) const;
    void KeepGap(const Key& sought);
    Bytes PlaceKey() const;
    static CEOID Miss(DWORD& error);
    void MoveIndex(LONGLONG n) {
        if (m_index >= 0) m_index += n;
    }

    const CEOID m_database;
    const SortOrder m_order;
    Place m_place = Place::Fresh;
    CEOID m_oid = 0;
    Key m_key;             // of the place, unless m_row tells a row of the batch
    LONGLONG m_index = -1; // of the place, -1 unknown
    LONGLONG m_row = -1;
    std::vector<Row> m_rows;
    ByteBuffer m_bytes;
    bool m_forward = true;
    DWORD m_ahead = 1;
    DWORD m_counter = 1;     // the shared counter when the batch was read; odd is never good
    ULONGLONG m_changes = 0; // the session's own
    Key m_bound;
    Key m_keyScratch;
    // No key lies from here to there (or to the end of the order), as of these two.
    Key m_gapLow;
    Key m_gapHigh;
    bool m_gapOpen = false;
    DWORD m_gapCounter = 1;
    ULONGLONG m_gapChanges = 0;
};

class Database : public KernelObject {
public:
    static constexpr Kind kKind = Kind::Database;
    Database(std::shared_ptr<Session> session, std::shared_ptr<const DbInfo> info, const SortOrder& order);
    void OnLastClose() override;

    const std::shared_ptr<Session> m_session;
    std::shared_ptr<const DbInfo> m_info; // guarded by the session's lock, as all below
    const SortOrder m_order;
    Cursor m_cursor;
    RecordReader m_reader;
    DWORD m_subscription = 0;
};

// The database behind a handle, null when there is none. A walk asks for the same one twice a record, so each thread
// remembers its last; the reference is good until the calling thread asks again.
const std::shared_ptr<Database>& DatabaseOf(HANDLE handle);
// A thread that was ended remembers nothing any more.
void ForgetDatabaseOf(DWORD threadId);

// --- Streams (stream.cpp) -----------------------------------------------------------------------------------------

inline constexpr DWORD kStreamChunk = 32000;
inline constexpr DWORD kMaxStream = 256u << 20;
// The row of a chunk; versions are never used twice in a volume.
constexpr LONGLONG ChunkRow(DWORD version, DWORD chunk) {
    return static_cast<LONGLONG>(version) << 16 | chunk;
}

class Stream : public KernelObject {
public:
    static constexpr Kind kKind = Kind::Stream;
    Stream(std::shared_ptr<Database> database, CEOID oid, CEPROPID propid, bool writable);
    void OnLastClose() override;

    // With the session locked; the record is the current one of the database.
    DWORD Open(const RecordView& record);
    DWORD Seek(LONG offset, DWORD origin);
    DWORD Read(BYTE* out, DWORD count, DWORD& read);
    DWORD WriteBytes(Bytes bytes);
    DWORD SetSize(DWORD size);
    DWORD Save();
    DWORD Position() const { return m_position; }
    Session& GetSession() { return *m_database->m_session; }

private:
    DWORD LoadAll();
    bool IsCurrent();
    DWORD ReadOutside(BYTE* out, DWORD from, DWORD count);

    const std::shared_ptr<Database> m_database;
    const CEOID m_oid;
    const CEPROPID m_propid;
    const bool m_writable;
    bool m_changed = false;
    bool m_loaded = false; // m_content is the stream; otherwise it lies outside, as m_version
    DWORD m_version = 0;
    DWORD m_size = 0;
    DWORD m_position = 0;
    ULONGLONG m_rollbacks = 0;
    std::vector<BYTE> m_content;
};

} // namespace plat
