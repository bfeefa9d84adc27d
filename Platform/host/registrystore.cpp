#include "Platform/host/registrystore.h"

#include "Platform/host/devicefolder.h"
#include "Platform/host/faults.h"
#include "Platform/host/filenames.h"

#include <algorithm>
#include <mutex>
#include <unistd.h>

namespace plat {
namespace {

constexpr CEOID kSlot = 0; // the one counter of the registry's counter file
constexpr std::size_t kLongestName = 255;
constexpr std::size_t kDeepestKey = 512;
constexpr KeyId kIdsOfAFile = KeyId{1} << 40;

// Names that differ only in case are one, by their upper case.
constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS keys(id INTEGER PRIMARY KEY AUTOINCREMENT, parent INTEGER NOT NULL, "
    "name BLOB NOT NULL, folded BLOB NOT NULL, UNIQUE(parent, folded));"
    "CREATE TABLE IF NOT EXISTS vals(id INTEGER PRIMARY KEY AUTOINCREMENT, key INTEGER NOT NULL, "
    "name BLOB NOT NULL, folded BLOB NOT NULL, type INTEGER NOT NULL, data BLOB NOT NULL, UNIQUE(key, "
    "folded))";

std::vector<std::u16string_view> Cut(std::u16string_view path) {
    std::vector<std::u16string_view> names;
    while (!path.empty()) {
        const auto end = std::min(path.find(u'\\'), path.size());
        if (end > 0) names.push_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return names;
}

// At the end of the process, too: then all of it is in the one file, and whoever copies that has the settings.
struct CloseWithFolder {
    CloseWithFolder() {
        AtFolderChange([] { RegistryStore::Get().Close(); });
    }
    ~CloseWithFolder() { RegistryStore::Get().Close(); }
} const g_closeWithFolder;

} // namespace

RegistryStore& RegistryStore::Get() {
    // Never destroyed: static destructors of the library still read and write settings.
    static auto* store = new RegistryStore;
    return *store;
}

// --- The copy -----------------------------------------------------------------------------------------------------

bool RegistryStore::IsFresh() const {
    return m_seen != kNeverFresh && m_counters && m_counters->Load(kSlot) == m_seen;
}

DWORD RegistryStore::Refresh() {
    if (IsFresh()) return 0;
    if (const DWORD error = OpenFiles(Missing::Leave)) return error;
    if (!m_db.IsOpen()) return 0; // there is none: the copy is empty
    // The counter comes first: a write between the two makes it differ again.
    const DWORD counter = m_counters->Load(kSlot);
    if (!CatchUp()) return Fail();
    m_seen = counter & 1 ? kNeverFresh : counter;
    return 0;
}

DWORD RegistryStore::OpenFiles(Missing missing) {
    if (m_db.IsOpen()) {
        if (m_db.SameFile()) return 0;
        ForgetFile();
        m_db.Close();
    }
    if (missing == Missing::Leave && !HasDeviceFolder()) return 0;
    const std::string path = DeviceFolder() + "/registry.db";
    if (missing == Missing::Leave && ::access(path.c_str(), F_OK) != 0) return 0;
    if (const DWORD error = m_db.Open(path, kSchema, SmallDb::Sync::EveryCommit)) return error;
    m_counters = std::make_unique<SharedCounters>(path + "-counter");
    return 0;
}

// What is open in a file that has been replaced are keys that are gone.
void RegistryStore::ForgetFile() {
    Clear();
    m_firstId += kIdsOfAFile;
}

void RegistryStore::Close() {
    std::unique_lock lock(m_mutex);
    m_db.Close();
    m_counters = nullptr;
    Clear();
}

void RegistryStore::Clear() {
    m_keys.clear();
    for (KeyId root = 1; root <= kRegistryRoots; ++root) m_keys[-root];
    m_generation = -1;
    m_seen = kNeverFresh;
}

std::int64_t RegistryStore::FileGeneration() {
    SmallQuery query(m_db, "PRAGMA user_version");
    return query.Next() ? query.Number(0) : -1;
}

bool RegistryStore::Load() {
    // One snapshot for all of it, whether or not a transaction is open.
    if (!m_db.Execute("SAVEPOINT load")) return false;
    Clear();
    const std::int64_t generation = FileGeneration();
    const bool loaded = generation >= 0 && LoadKeys() && LoadValues();
    m_db.Execute("RELEASE load");
    if (loaded) m_generation = generation;
    return loaded;
}

bool RegistryStore::LoadKeys() {
    SmallQuery query(m_db, "SELECT id, parent, name FROM keys ORDER BY id");
    while (query.Next()) {
        const KeyId id = IdOf(query.Number(0));
        const KeyId parent = IdOf(query.Number(1));
        auto name = query.Text(2);
        // A parent is older than its keys, so the tree has no rings; a row that hangs nowhere is passed over.
        RegistryKey* above = parent < id ? KeyOf(parent) : nullptr;
        if (!above || name.empty()) continue;
        auto folded = FoldName(name);
        above->subKeys.Add(folded, {std::move(name), id});
        RegistryKey& key = m_keys[id];
        key.parent = parent;
        key.folded = std::move(folded);
    }
    return !query.Failed();
}

bool RegistryStore::LoadValues() {
    SmallQuery query(m_db, "SELECT key, name, type, data FROM vals ORDER BY id");
    while (query.Next()) {
        RegistryKey* key = KeyOf(IdOf(query.Number(0)));
        if (!key) continue;
        const auto bytes = query.Bytes(3);
        auto name = query.Text(1);
        auto folded = FoldName(name);
        key->values.Add(std::move(folded),
                        {std::move(name), static_cast<DWORD>(query.Number(2)), {bytes.begin(), bytes.end()}});
    }
    return !query.Failed();
}

RegistryKey* RegistryStore::KeyOf(KeyId id) {
    const auto found = m_keys.find(id);
    return found == m_keys.end() ? nullptr : &found->second;
}

// --- Writing ------------------------------------------------------------------------------------------------------

DWORD RegistryStore::Fail() {
    const DWORD error = m_db.LastError();
    m_seen = kNeverFresh;
    m_generation = -1;
    if (m_db.IsDamaged()) {
        m_db.StartAnew();
        ForgetFile();
    }
    return error ? error : ERROR_WRITE_FAULT;
}

bool RegistryStore::CatchUp() {
    const std::int64_t generation = FileGeneration();
    return generation >= 0 && (generation == m_generation || Load());
}

template<class Change, class Apply>
DWORD RegistryStore::Write(Change change, Apply apply) {
    std::unique_lock lock(m_mutex);
    if (FaultStrikes(PlatFault::RegistryWrite)) return ERROR_DISK_FULL;
    if (const DWORD error = OpenFiles(Missing::Make)) return error;
    if (m_db.IsReadOnly()) return ERROR_ACCESS_DENIED;
    DWORD busy = kNeverFresh;
    {
        SmallWrite write(m_db);
        if (!write || !CatchUp()) return Fail();
        if (const DWORD error = change()) return error;
        const std::int64_t next = (m_generation + 1) & 0x7FFFFFFF;
        if (!m_db.Execute(("PRAGMA user_version=" + std::to_string(next)).c_str())) return Fail();
        // Odd from before the commit until after it: whoever looks in between asks the file. A writer that dies there
        // leaves it odd, which costs speed and nothing else until the next write.
        busy = m_counters->MarkBusy(kSlot);
        const bool done = write.Commit();
        if (done) m_generation = next;
        if (done) apply();
        m_counters->MarkDone(kSlot, busy);
        if (!done) return Fail();
    }
    m_seen = busy + 1;
    if (m_counters->Load(kSlot) & 1) m_seen = kNeverFresh;
    return 0;
}

KeyId RegistryStore::Walk(KeyId from, std::u16string_view path, std::vector<std::u16string_view>& missing) {
    missing = Cut(path);
    auto next = missing.begin();
    for (; next != missing.end(); ++next) {
        const RegistryKey* key = KeyOf(from);
        const SubKey* below = key ? key->subKeys.Find(FoldName(*next)) : nullptr;
        if (!below) break;
        from = below->id;
    }
    missing.erase(missing.begin(), next);
    return from;
}

DWORD RegistryStore::FindKey(KeyId from, std::u16string_view path, KeyId& found) {
    return ReadTree([&]() -> DWORD {
        if (!KeyOf(from)) return ERROR_KEY_DELETED;
        std::vector<std::u16string_view> missing;
        found = Walk(from, path, missing);
        return missing.empty() ? 0 : ERROR_FILE_NOT_FOUND;
    });
}

DWORD RegistryStore::MakeKey(KeyId from, std::u16string_view path, KeyId& found, bool& isNew) {
    isNew = false;
    const auto names = Cut(path);
    const bool tooLong =
        std::any_of(names.begin(), names.end(), [](auto name) { return name.size() > kLongestName; });
    if (tooLong || names.size() > kDeepestKey) return ERROR_INVALID_PARAMETER;
    if (const DWORD error = FindKey(from, path, found); error != ERROR_FILE_NOT_FOUND) return error;
    KeyId parent = 0;
    std::vector<std::u16string_view> missing;
    std::vector<KeyId> made;
    const auto change = [&]() -> DWORD {
        if (!KeyOf(from)) return ERROR_KEY_DELETED;
        parent = Walk(from, path, missing);
        return InsertKeys(parent, missing, made);
    };
    const DWORD error = Write(change, [&] { AddKeys(parent, missing, made); });
    isNew = !made.empty();
    found = isNew ? made.back() : parent;
    return error;
}

DWORD RegistryStore::InsertKeys(KeyId parent, std::span<const std::u16string_view> names,
                                std::vector<KeyId>& made) {
    for (const auto name : names) {
        SmallQuery insert(m_db, "INSERT INTO keys(parent, name, folded) VALUES(?, ?, ?)");
        if (!insert.Bind(RowOf(parent)).Bind(name).Bind(FoldName(name)).Run()) return Fail();
        parent = IdOf(m_db.LastRowId());
        made.push_back(parent);
    }
    return 0;
}

void RegistryStore::AddKeys(KeyId parent, std::span<const std::u16string_view> names,
                            std::span<const KeyId> made) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto folded = FoldName(names[i]);
        KeyOf(parent)->subKeys.Add(folded, {std::u16string(names[i]), made[i]});
        RegistryKey& key = m_keys[made[i]];
        key.parent = parent;
        key.folded = std::move(folded);
        parent = made[i];
    }
}

DWORD RegistryStore::SetValue(KeyId id, std::u16string_view name, DWORD type, std::span<const BYTE> data) {
    if (name.size() > kLongestName) return ERROR_INVALID_PARAMETER;
    const auto folded = FoldName(name);
    bool same = false;
    const DWORD gone = ReadKey(id, [&](const RegistryKey& key) -> DWORD {
        const RegistryValue* value = key.values.Find(folded);
        same = value && value->type == type && std::ranges::equal(value->data, data);
        return 0;
    });
    if (gone || same) return gone; // settings are mostly written as they are: that needs no wait for the disk
    const auto change = [&]() -> DWORD {
        if (!KeyOf(id)) return ERROR_KEY_DELETED;
        SmallQuery put(m_db, "INSERT INTO vals(key, name, folded, type, data) VALUES(?, ?, ?, ?, ?) "
                             "ON CONFLICT(key, folded) DO UPDATE SET type=excluded.type, data=excluded.data");
        put.Bind(RowOf(id)).Bind(name).Bind(folded).Bind(std::int64_t{type}).Bind(data);
        return put.Run() ? 0 : Fail();
    };
    return Write(change, [&] {
        NamedItems<RegistryValue>& values = KeyOf(id)->values;
        if (RegistryValue* value = values.Find(folded)) {
            value->type = type;
            value->data.assign(data.begin(), data.end());
        } else {
            values.Add(folded, {std::u16string(name), type, {data.begin(), data.end()}});
        }
    });
}

DWORD RegistryStore::RemoveValue(KeyId id, std::u16string_view name) {
    const auto folded = FoldName(name);
    const auto find = [&](const RegistryKey& key) -> DWORD {
        return key.values.Find(folded) ? 0 : ERROR_FILE_NOT_FOUND;
    };
    if (const DWORD error = ReadKey(id, find)) return error; // what isn't there needs no write
    const auto change = [&]() -> DWORD {
        const RegistryKey* key = KeyOf(id);
        if (!key) return ERROR_KEY_DELETED;
        if (const DWORD error = find(*key)) return error;
        SmallQuery remove(m_db, "DELETE FROM vals WHERE key=? AND folded=?");
        return remove.Bind(RowOf(id)).Bind(folded).Run() ? 0 : Fail();
    };
    return Write(change, [&] { KeyOf(id)->values.Remove(folded); });
}

std::vector<KeyId> RegistryStore::Subtree(KeyId top) {
    std::vector<KeyId> keys{top};
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const auto& below = KeyOf(keys[i])->subKeys;
        for (std::size_t k = 0; k < below.Count(); ++k) keys.push_back(below.At(k).id);
    }
    return keys;
}

DWORD RegistryStore::DeleteRows(std::span<const KeyId> keys) {
    for (const KeyId id : keys) {
        const bool done = SmallQuery(m_db, "DELETE FROM vals WHERE key=?").Bind(RowOf(id)).Run() &&
                          SmallQuery(m_db, "DELETE FROM keys WHERE id=?").Bind(RowOf(id)).Run();
        if (!done) return Fail();
    }
    return 0;
}

DWORD RegistryStore::RemoveKey(KeyId from, std::u16string_view path) {
    KeyId found = 0;
    if (const DWORD error = FindKey(from, path, found)) return error;
    std::vector<KeyId> doomed;
    const auto change = [&]() -> DWORD {
        if (!KeyOf(from)) return ERROR_KEY_DELETED;
        std::vector<std::u16string_view> missing;
        const KeyId top = Walk(from, path, missing);
        if (!missing.empty()) return ERROR_FILE_NOT_FOUND;
        doomed = Subtree(top);
        return DeleteRows(doomed);
    };
    return Write(change, [&] {
        const RegistryKey& top = *KeyOf(doomed.front());
        KeyOf(top.parent)->subKeys.Remove(std::u16string(top.folded));
        for (const KeyId id : doomed) m_keys.erase(id);
    });
}

} // namespace plat
