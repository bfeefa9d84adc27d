#include "Platform/host/volume_seed.h"

#include "Platform/host/devicefolder.h"
#include "Platform/host/faults.h"
#include "Platform/host/text.h"
#include "Platform/threads.h"

#include <sqlite3.h>

#include <algorithm>
#include <sys/stat.h>
#include <system_error>

namespace plat {

namespace {

constexpr LONGLONG kApplication = 0x514E5652; // in the file's header: it is one of ours
constexpr LONGLONG kFormat = 1;
constexpr size_t kIdleConnections = 4;
constexpr std::chrono::milliseconds kTidyPause{200};

constexpr const char* kTables =
    "CREATE TABLE meta(name TEXT PRIMARY KEY,value TEXT) WITHOUT ROWID;"
    "CREATE TABLE dbs(oid INTEGER PRIMARY KEY,name BLOB,folded BLOB UNIQUE,type INTEGER,"
    "any_sort INTEGER,props BLOB);"
    "CREATE TABLE tally(db INTEGER PRIMARY KEY,records INTEGER,bytes INTEGER,"
    "last_auto INTEGER,free_auto INTEGER,modified INTEGER,next_oid INTEGER,"
    "next_stream INTEGER,schema INTEGER);"
    "CREATE TABLE ord(id INTEGER PRIMARY KEY,db INTEGER,spec BLOB);"
    "CREATE TABLE rec(id INTEGER PRIMARY KEY,data BLOB);"
    "CREATE TABLE ix(ord INTEGER,key BLOB,oid INTEGER,PRIMARY KEY(ord,key)) WITHOUT ROWID;"
    "CREATE TABLE strm(id INTEGER PRIMARY KEY,data BLOB);"
    "CREATE TABLE chg(id INTEGER PRIMARY KEY,data BLOB)";

// Two hashes of the path, so that a volume has the same id whenever it is mounted.
CEGUID GuidOf(const std::string& path) {
    ULONGLONG halves[2] = {0xCBF29CE484222325ull, 0x84222325CBF29CE4ull};
    for (const char c : path)
        for (ULONGLONG& half : halves) half = (half ^ static_cast<BYTE>(c)) * 0x100000001B3ull;
    return {static_cast<DWORD>(halves[0]) | 1, static_cast<DWORD>(halves[0] >> 32),
            static_cast<DWORD>(halves[1]), static_cast<DWORD>(halves[1] >> 32)};
}

std::string QuotedText(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) quoted += c == '\'' ? "''" : std::string(1, c);
    return quoted + "'";
}

DWORD StoreCollation(Connection& connection, const std::string& id) {
    return connection.Execute(
        ("INSERT OR REPLACE INTO meta VALUES('collation'," + QuotedText(id) + ")").c_str());
}

// Another process may be doing the same at this moment; then it is tried again for a while.
DWORD UseWriteAheadLog(Connection& connection) {
    const auto end = std::chrono::steady_clock::now() + kLockPatience;
    while (connection.AskText("PRAGMA journal_mode=WAL") != "wal") {
        const int result = sqlite3_errcode(connection.Raw());
        if ((result & 0xFF) != SQLITE_BUSY || std::chrono::steady_clock::now() > end)
            return result == SQLITE_OK || result == SQLITE_DONE ? ERROR_ACCESS_DENIED : StoreError(result);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return 0;
}

bool IsReadOnly(const Connection& connection) { return sqlite3_db_readonly(connection.Raw(), "main") == 1; }

} // namespace

// --- Opening ------------------------------------------------------------------------------------------------------

Volume::Volume(std::string path, const CEGUID& guid)
    : m_path(std::move(path)), m_file(m_path), m_guid(guid) {}

Volume::~Volume() { Retire(); }

// Whose file is it? Nothing has been written to it so far. `fresh` is a file without content. All questions are asked of
// one state of the file: another process may be making it at this moment.
DWORD Volume::Examine(Connection& connection, bool& fresh) {
    if (const DWORD error = connection.Execute("SAVEPOINT examine")) return error;
    const DWORD error = ExamineContent(connection, fresh);
    connection.Execute("RELEASE examine");
    return error;
}

DWORD Volume::ExamineContent(Connection& connection, bool& fresh) {
    if (const DWORD error = connection.Execute("SELECT count(*) FROM sqlite_schema")) return error;
    const LONGLONG application = connection.Ask("PRAGMA application_id", -1);
    fresh = application == 0 && connection.Ask("SELECT count(*) FROM sqlite_schema", -1) == 0;
    if (fresh) return 0;
    if (application != kApplication || connection.Ask("PRAGMA user_version", -1) != kFormat)
        return ERROR_BAD_FORMAT;
    Tally tally;
    return LoadTally(connection, 0, tally);
}

// Makes the tables in one transaction; of two processes that come at once, the second finds them made.
DWORD Volume::Prepare(Connection& connection, bool seed) {
    if (const DWORD error = UseWriteAheadLog(connection)) return error;
    if (const DWORD error = connection.Execute("BEGIN EXCLUSIVE")) return error;
    bool fresh = false;
    DWORD error = Examine(connection, fresh);
    if (!error && fresh) {
        const std::string marks = "PRAGMA application_id=" + std::to_string(kApplication) +
                                  ";PRAGMA user_version=" + std::to_string(kFormat) +
                                  ";INSERT INTO tally VALUES(0,0,0,0,0,0," + std::to_string(kFirstOid) +
                                  ",1,1)";
        error = connection.Execute(kTables);
        if (!error) error = connection.Execute(marks.c_str());
        if (!error) error = StoreCollation(connection, CurrentCollation().Id());
        m_collation = &CurrentCollation();
        if (!error && seed) error = SeedPim(*this, connection);
    }
    if (!error) error = connection.Execute("COMMIT");
    if (error && connection.InTransaction()) connection.Execute("ROLLBACK");
    return error;
}

DWORD Volume::Open(bool create, bool seed) {
    struct stat info {};
    const bool exists = stat(m_path.c_str(), &info) == 0;
    if (!exists && !create) return ERROR_FILE_NOT_FOUND;
    if (exists && !S_ISREG(info.st_mode)) return ERROR_ACCESS_DENIED;
    std::unique_ptr<Connection> connection;
    if (const DWORD error = Connection::Open(m_path, create, connection)) return error;
    bool fresh = false;
    if (const DWORD error = Examine(*connection, fresh)) return error;
    if (fresh && !create) return ERROR_BAD_FORMAT;
    m_counters = std::make_unique<SharedCounters>(m_path + "-gen");
    if (fresh) {
        if (const DWORD error = Prepare(*connection, seed)) return error;
    } else if (!IsReadOnly(*connection)) { // a copy that a tool made may have lost the mode
        if (const DWORD error = UseWriteAheadLog(*connection)) return error;
    }
    if (const DWORD error = RenewTextOrders(*connection)) return error;
    if (stat(m_path.c_str(), &info) != 0) return ERROR_FILE_NOT_FOUND;
    m_device = info.st_dev;
    m_inode = info.st_ino;
    GiveBack(std::move(connection));
    return 0;
}

bool Volume::SameFile() const {
    struct stat info {};
    return stat(m_path.c_str(), &info) == 0 && info.st_dev == m_device && info.st_ino == m_inode;
}

DWORD Volume::ReloadCollation(Connection& connection) {
    const std::string id = connection.AskText("SELECT value FROM meta WHERE name='collation'");
    if (id.empty()) return ERROR_BAD_FORMAT;
    m_collation.store(&CollationOf(id.substr(0, id.find('/'))), std::memory_order_release);
    return 0;
}

// Keys of texts without case belong to one locale and one version of its rules; with another they are made anew.
DWORD Volume::RenewTextOrders(Connection& connection) {
    const Collation& current = CurrentCollation();
    if (connection.AskText("SELECT value FROM meta WHERE name='collation'") == current.Id() ||
        IsReadOnly(connection))
        return ReloadCollation(connection);
    m_collation.store(&current, std::memory_order_release);
    Writer writer(*this, connection);
    if (const DWORD error = writer.Begin()) return error;
    Statement databases = connection.Use(Sql::DatabaseList);
    while (databases.Row())
        if (const DWORD error = writer.RebuildTextOrders(static_cast<CEOID>(databases.Number(0))))
            return error;
    if (databases.Error()) return databases.Error();
    if (const DWORD error = StoreCollation(connection, current.Id())) return error;
    return writer.Commit();
}

// --- Connections and open databases -------------------------------------------------------------------------------

DWORD Volume::Take(std::unique_ptr<Connection>& out) {
    {
        std::lock_guard lock(m_mutex);
        if (!m_idle.empty()) {
            out = std::move(m_idle.back());
            m_idle.pop_back();
        }
    }
    if (!out) return Connection::Open(m_path, false, out);
    out->m_interrupted.store(false, std::memory_order_relaxed);
    return 0;
}

void Volume::GiveBack(std::unique_ptr<Connection> connection) {
    if (!connection || connection->InTransaction()) return;
    std::lock_guard lock(m_mutex);
    if (!m_retired && m_idle.size() < kIdleConnections) m_idle.push_back(std::move(connection));
}

// --- The log ------------------------------------------------------------------------------------------------------

void Volume::TidySoon() {
    std::lock_guard lock(m_tidyMutex);
    if (m_tidying || m_tidyStop) return;
    if (m_tidier.joinable()) m_tidier.join(); // it has ended
    try {
        m_tidier = std::thread([this] { Tidy(); });
        m_tidying = true;
    } catch (const std::system_error&) {
        // No thread to be had now: the next commit asks again.
    }
}

void Volume::Tidy() {
    std::unique_lock lock(m_tidyMutex);
    m_tidyEnd.wait_for(lock, kTidyPause, [this] { return m_tidyStop; });
    if (!m_tidyStop) {
        lock.unlock();
        std::unique_ptr<Connection> connection;
        if (Take(connection) == 0) connection->TidyLog();
        GiveBack(std::move(connection));
        lock.lock();
    }
    m_tidying = false;
}

void Volume::StopTidying() {
    std::thread tidier;
    {
        std::lock_guard lock(m_tidyMutex);
        m_tidyStop = true;
        tidier.swap(m_tidier);
    }
    m_tidyEnd.notify_all();
    if (tidier.joinable()) tidier.join();
}

void Volume::Retire() {
    StopTidying();
    StopListening();
    std::vector<std::unique_ptr<Connection>> idle;
    {
        std::lock_guard lock(m_mutex);
        m_retired = true;
        idle.swap(m_idle);
    }
}

void Volume::CountOpen(CEOID database, int by) {
    std::lock_guard lock(m_mutex);
    if (by > 0) {
        m_open.push_back(database);
        return;
    }
    const auto at = std::find(m_open.begin(), m_open.end(), database);
    if (at != m_open.end()) m_open.erase(at);
}

bool Volume::IsOpen(CEOID database) {
    std::lock_guard lock(m_mutex);
    return std::find(m_open.begin(), m_open.end(), database) != m_open.end();
}

// --- The writer's gate --------------------------------------------------------------------------------------------

DWORD WriterGate::Enter(const std::atomic<bool>& interrupted) {
    const auto end = std::chrono::steady_clock::now() + kLockPatience;
    std::unique_lock lock(m_mutex);
    while (m_held) {
        // Waiting for oneself would end with the time-out and the same error.
        if (m_holder == std::this_thread::get_id() || interrupted.load(std::memory_order_relaxed) ||
            std::chrono::steady_clock::now() > end)
            return ERROR_SHARING_VIOLATION;
        m_freed.wait_for(lock, std::chrono::milliseconds(20));
    }
    m_held = true;
    m_holder = std::this_thread::get_id();
    return 0;
}

void WriterGate::Leave() {
    {
        std::lock_guard lock(m_mutex);
        m_held = false;
        m_holder = {};
    }
    m_freed.notify_one();
}

// --- The mounted volumes ------------------------------------------------------------------------------------------

namespace {

struct VolumeList {
    std::mutex mutex;
    std::vector<std::shared_ptr<Volume>> volumes;
};

// Never destroyed: static objects of the library may close handles at the very end.
VolumeList& List() {
    static auto* list = new VolumeList;
    return *list;
}

void RetireAll() {
    std::vector<std::shared_ptr<Volume>> all;
    {
        std::lock_guard lock(List().mutex);
        all.swap(List().volumes);
    }
    for (const auto& volume : all) volume->Retire();
}

[[maybe_unused]] const bool g_registered = (AtFolderChange(RetireAll), true);

// At the end of the process, or when the library is unloaded: no thread of a volume goes on.
struct End {
    ~End() { RetireAll(); }
};
const End g_end;

// With the list locked: a volume at this path, unless its file was replaced behind our back.
std::shared_ptr<Volume> KnownAt(const std::string& hostPath) {
    auto& volumes = List().volumes;
    const auto at =
        std::find_if(volumes.begin(), volumes.end(), [&](const auto& v) { return v->Path() == hostPath; });
    if (at == volumes.end()) return nullptr;
    if ((*at)->SameFile()) return *at;
    (*at)->Retire();
    volumes.erase(at);
    return nullptr;
}

void LogFailure(const std::u16string& path, DWORD error) {
    std::u16string line = u"Volume " + path + u" can't be mounted: ";
    line += error == ERROR_BAD_FORMAT ? u"the file is damaged or not a volume; it is left as it is" : u"";
    if (error != ERROR_BAD_FORMAT) line += u"error " + ToUtf16(std::to_string(error));
    OutputDebugStringW((line + u"\r\n").c_str());
}

DWORD MountAt(const std::string& hostPath, bool create, bool pim, std::shared_ptr<Volume>& out) {
    std::lock_guard lock(List().mutex);
    out = KnownAt(hostPath);
    if (!out) {
        auto volume = std::make_shared<Volume>(hostPath, GuidOf(hostPath));
        if (const DWORD error = volume->Open(create, pim)) return error;
        volume->m_mounts = volume->m_permanent =
            pim ? 1 : 0; // everybody uses it, and some release it once too often
        List().volumes.push_back(volume);
        out = std::move(volume);
    }
    ++out->m_mounts;
    return 0;
}

} // namespace

std::shared_ptr<Volume> MountVolume(const std::u16string& path, bool create, DWORD& error) {
    std::string hostPath;
    std::string pimPath;
    if (!MapDevicePath(path, hostPath)) {
        error = ERROR_INVALID_NAME;
        return nullptr;
    }
    const bool pim = MapDevicePath(u"\\pim.vol", pimPath) && pimPath == hostPath;
    std::shared_ptr<Volume> volume;
    error = MountAt(hostPath, create, pim, volume);
    if (!error) return volume;
    if (error != ERROR_FILE_NOT_FOUND) LogFailure(path, error);
    return nullptr;
}

std::shared_ptr<Volume> FindVolume(const CEGUID& guid) {
    std::lock_guard lock(List().mutex);
    for (const auto& volume : List().volumes)
        if (volume->m_mounts > 0 && volume->Guid() == guid) return volume;
    return nullptr;
}

bool UnmountVolume(const CEGUID& guid) {
    std::shared_ptr<Volume> unused; // destroyed outside of the lock
    std::lock_guard lock(List().mutex);
    auto& volumes = List().volumes;
    const auto at =
        std::find_if(volumes.begin(), volumes.end(), [&](const auto& v) { return v->Guid() == guid; });
    if (at == volumes.end() || (*at)->m_mounts <= (*at)->m_permanent) return false;
    if (--(*at)->m_mounts == 0 && at->use_count() == 1) {
        unused = std::move(*at);
        volumes.erase(at);
    }
    return true;
}

std::vector<std::shared_ptr<Volume>> MountedVolumes() {
    std::lock_guard lock(List().mutex);
    std::vector<std::shared_ptr<Volume>> mounted;
    for (const auto& volume : List().volumes)
        if (volume->m_mounts > 0) mounted.push_back(volume);
    return mounted;
}

} // namespace plat
