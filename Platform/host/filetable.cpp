#include "Platform/host/filetable.h"

#include "Platform/files.h"
#include "Platform/host/devicefolder.h"
#include "Platform/host/faults.h"
#include "Platform/host/smalldb.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <iterator>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unordered_map>
#include <vector>

namespace plat {
namespace {

constexpr char kAttributeName[] = "user.quillonary.attributes";
constexpr DWORD kKeptAttributes =
    FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS files(oid INTEGER PRIMARY KEY AUTOINCREMENT, device INTEGER "
    "NOT NULL, number INTEGER NOT NULL, birth INTEGER NOT NULL, attributes INTEGER, "
    "UNIQUE(device, number))";

struct KeyHash {
    std::size_t operator()(const FileKey& key) const {
        return std::hash<std::uint64_t>{}(key.number * 0x9E3779B97F4A7C15u ^ key.device);
    }
};

class FileTable {
public:
    DWORD Id(const FileKey& key) {
        std::lock_guard lock(m_mutex);
        // Another process may hand a number over when it saves a file; what was found here is only good for that
        // very file, and a file that was replaced has another number and birth.
        if (const auto known = m_ids.find(key); known != m_ids.end()) return known->second;
        const DWORD id = Row(key);
        if (id) m_ids.emplace(key, id);
        return id;
    }

    // One walk over the table for the process, and one commit for the files of a folder that are new.
    void Prepare(std::span<const FileKey> keys) {
        constexpr std::size_t kWorthIt = 4; // below, each is looked up by itself
        std::lock_guard lock(m_mutex);
        if (Unknown(keys).size() < kWorthIt || !Open()) return;
        if (!m_allRead) ReadAll();
        const std::vector<FileKey> unknown = Unknown(keys);
        if (unknown.empty()) return;
        SmallWrite write(m_db);
        std::vector<FileKey> fresh;
        for (const FileKey& key : unknown) // another process may have been faster
            if (const DWORD id = write ? Find(key) : 0)
                m_ids.emplace(key, id);
            else
                fresh.push_back(key);
        if (!write || !AddRows(fresh) || !write.Commit()) Drop();
    }

    void Forget(const FileKey& key) {
        std::lock_guard lock(m_mutex);
        m_ids.erase(key);
        if (!Exists() || !Open()) return;
        SmallQuery(m_db, "DELETE FROM files WHERE device=? AND number=?")
            .Bind(Signed(key.device))
            .Bind(Signed(key.number))
            .Run();
    }

    void HandOver(const FileKey& from, const FileKey& to) {
        std::lock_guard lock(m_mutex);
        Drop();
        if (!Exists() || !Open()) return;
        SmallWrite write(m_db);
        SmallQuery old(m_db, "SELECT 1 FROM files WHERE device=? AND number=?");
        if (!write || !old.Bind(Signed(from.device)).Bind(Signed(from.number)).Next()) return;
        SmallQuery(m_db, "DELETE FROM files WHERE device=? AND number=?")
            .Bind(Signed(to.device))
            .Bind(Signed(to.number))
            .Run();
        SmallQuery move(m_db, "UPDATE files SET device=?, number=?, birth=? WHERE device=? AND number=?");
        move.Bind(Signed(to.device)).Bind(Signed(to.number)).Bind(to.birth);
        if (move.Bind(Signed(from.device)).Bind(Signed(from.number)).Run()) write.Commit();
    }

    std::optional<DWORD> Attributes(const FileKey& key) {
        std::lock_guard lock(m_mutex);
        if (!Exists() || !Open()) return std::nullopt;
        SmallQuery query(m_db, "SELECT attributes FROM files WHERE device=? AND number=? AND birth=?");
        if (!query.Bind(Signed(key.device)).Bind(Signed(key.number)).Bind(key.birth).Next() ||
            query.IsNull(0))
            return std::nullopt;
        return static_cast<DWORD>(query.Number(0));
    }

    bool SetAttributes(const FileKey& key, DWORD attributes) {
        std::lock_guard lock(m_mutex);
        if (!Row(key)) return false;
        SmallQuery query(m_db, "UPDATE files SET attributes=? WHERE device=? AND number=?");
        return query.Bind(std::int64_t{attributes}).Bind(Signed(key.device)).Bind(Signed(key.number)).Run();
    }

    void Close() {
        std::lock_guard lock(m_mutex);
        m_db.Close();
        Drop();
    }

private:
    static std::int64_t Signed(std::uint64_t value) { return static_cast<std::int64_t>(value); }
    static std::string Path() { return DeviceFolder() + "/files.db"; }

    bool Exists() const {
        struct stat status {};
        return m_db.IsOpen() || ::stat(Path().c_str(), &status) == 0;
    }
    // Ids may be lost to a power cut together with the file that they were given to, so no commit waits for the disk.
    bool Open() { return m_db.IsOpen() || m_db.Open(Path(), kSchema, SmallDb::Sync::Lazy) == 0; }

    std::vector<FileKey> Unknown(std::span<const FileKey> keys) const {
        std::vector<FileKey> unknown;
        std::copy_if(keys.begin(), keys.end(), std::back_inserter(unknown),
                     [this](const FileKey& key) { return !m_ids.contains(key); });
        return unknown;
    }
    void ReadAll() {
        SmallQuery query(m_db, "SELECT oid, device, number, birth FROM files");
        while (query.Next())
            m_ids[{static_cast<std::uint64_t>(query.Number(1)), static_cast<std::uint64_t>(query.Number(2)),
                   query.Number(3)}] = static_cast<DWORD>(query.Number(0));
        m_allRead = true;
    }
    // One statement gives ids in a row. A row of an earlier file with the same number goes, and its id with it.
    bool AddRows(std::span<const FileKey> keys) {
        constexpr std::size_t kAtOnce = 200;
        while (!keys.empty()) {
            const auto part = keys.first(std::min(keys.size(), kAtOnce));
            std::string sql = "INSERT OR REPLACE INTO files(device, number, birth) VALUES(?, ?, ?)";
            for (std::size_t i = 1; i < part.size(); ++i) sql += ", (?, ?, ?)";
            SmallQuery add(m_db, sql.c_str());
            for (const FileKey& key : part)
                add.Bind(Signed(key.device)).Bind(Signed(key.number)).Bind(key.birth);
            if (!add.Run()) return false;
            auto id = static_cast<DWORD>(m_db.LastRowId() - static_cast<std::int64_t>(part.size()));
            for (const FileKey& key : part) m_ids[key] = ++id;
            keys = keys.subspan(part.size());
        }
        return true;
    }
    // What was read: another process, or a commit that failed, made it wrong.
    void Drop() {
        m_ids.clear();
        m_allRead = false;
    }
    DWORD Row(const FileKey& key) {
        if (!Open()) return 0;
        if (const DWORD id = Find(key)) return id;
        SmallWrite write(m_db);
        if (const DWORD id = Find(key)) return id; // another process was faster
        // A row of an earlier file with this number goes, and its id with it.
        SmallQuery stale(m_db, "DELETE FROM files WHERE device=? AND number=?");
        SmallQuery add(m_db, "INSERT INTO files(device, number, birth) VALUES(?, ?, ?)");
        stale.Bind(Signed(key.device)).Bind(Signed(key.number));
        add.Bind(Signed(key.device)).Bind(Signed(key.number)).Bind(key.birth);
        if (!write || !stale.Run() || !add.Run()) return 0;
        const auto id = static_cast<DWORD>(m_db.LastRowId());
        return write.Commit() ? id : 0;
    }
    DWORD Find(const FileKey& key) {
        SmallQuery query(m_db, "SELECT oid FROM files WHERE device=? AND number=? AND birth=?");
        query.Bind(Signed(key.device)).Bind(Signed(key.number)).Bind(key.birth);
        return query.Next() ? static_cast<DWORD>(query.Number(0)) : 0;
    }

    std::mutex m_mutex;
    SmallDb m_db;
    std::unordered_map<FileKey, DWORD, KeyHash> m_ids;
    bool m_allRead = false; // m_ids has what the table had when it was read
};

FileTable& Table() {
    static auto* table = new FileTable; // never destroyed: the last calls come when the process ends
    return *table;
}

struct CloseWithFolder {
    CloseWithFolder() {
        AtFolderChange([] { Table().Close(); });
    }
    ~CloseWithFolder() { Table().Close(); }
} const g_closeWithFolder;

FILETIME ToFileTime(const statx_timestamp& time) {
    constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;
    const std::int64_t ticks = (time.tv_sec + kSecondsTo1970) * 10'000'000 + time.tv_nsec / 100;
    return FileTimeFromTicks(ticks < 0 ? 0 : static_cast<ULONGLONG>(ticks));
}

DWORD Complete(DWORD kept, bool isFolder) {
    kept &= kKeptAttributes;
    if (isFolder) return kept | FILE_ATTRIBUTE_DIRECTORY;
    return kept ? kept : FILE_ATTRIBUTE_NORMAL;
}

} // namespace

bool ReadFacts(int fd, const char* name, FileFacts& facts) {
    struct statx x {};
    const int flags = AT_SYMLINK_NOFOLLOW | (name ? 0 : AT_EMPTY_PATH);
    if (::statx(fd, name ? name : "", flags, STATX_BASIC_STATS | STATX_BTIME, &x) != 0) return false;
    const bool born = (x.stx_mask & STATX_BTIME) != 0;
    facts.key.device = (std::uint64_t{x.stx_dev_major} << 32) | x.stx_dev_minor;
    facts.key.number = x.stx_ino;
    facts.key.birth = born ? x.stx_btime.tv_sec * 1'000'000'000 + x.stx_btime.tv_nsec : 0;
    facts.times = {ToFileTime(born ? x.stx_btime : x.stx_mtime), ToFileTime(x.stx_atime),
                   ToFileTime(x.stx_mtime)};
    facts.isFolder = S_ISDIR(x.stx_mode);
    facts.size = facts.isFolder ? 0 : x.stx_size;
    facts.links = x.stx_nlink;
    return true;
}

DWORD ObjectId(const FileKey& key) { return Table().Id(key); }
void PrepareObjectIds(std::span<const FileKey> keys) { Table().Prepare(keys); }
void ForgetFile(const FileKey& key) { Table().Forget(key); }
void HandOverFile(const FileKey& from, const FileKey& to) { Table().HandOver(from, to); }

namespace {

// An attribute of a file that was opened by O_PATH is reached by its name in /proc alone.
std::string NameOf(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

} // namespace

DWORD ReadAttributes(int fd, const FileFacts& facts) {
    const DWORD otherwise = facts.isFolder ? 0 : FILE_ATTRIBUTE_ARCHIVE;
    std::array<char, 16> text{};
    const auto length = ::getxattr(NameOf(fd).c_str(), kAttributeName, text.data(), text.size());
    if (length > 0) {
        DWORD kept = 0;
        const auto parsed = std::from_chars(text.data(), text.data() + length, kept);
        return Complete(parsed.ec == std::errc() ? kept : otherwise, facts.isFolder);
    }
    if (errno == ENOTSUP)
        if (const auto kept = Table().Attributes(facts.key)) return Complete(*kept, facts.isFolder);
    return Complete(otherwise, facts.isFolder);
}

DWORD WriteAttributes(int fd, const FileFacts& facts, DWORD attributes) {
    const std::string text = std::to_string(attributes & kKeptAttributes);
    if (::setxattr(NameOf(fd).c_str(), kAttributeName, text.data(), text.size(), 0) == 0) return 0;
    if (errno != ENOTSUP) return DeviceError(errno);
    return Table().SetAttributes(facts.key, attributes & kKeptAttributes) ? 0 : ERROR_ACCESS_DENIED;
}

} // namespace plat
