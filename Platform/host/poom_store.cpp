#include "Platform/host/poom_store.h"

#include "Platform/memory.h"
#include "Platform/threads.h"

#include <algorithm>
#include <iterator>

namespace plat::poom {

namespace {

constexpr CEPROPID kNameOfProperty = 0x0001001F;
constexpr CEPROPID kNoKey = 0;
constexpr int kTries = 50; // of a read between the writes of others

struct Table {
    const WCHAR* name;
    CEPROPID keys[2];
};
// In the order of Side.
constexpr Table kTables[] = {
    {u"Appointments Database", {PIMPR_NUMBER, kNoKey}}, {u"Tasks Database", {PIMPR_NUMBER, kNoKey}},
    {u"Contacts Database", {PIMPR_NUMBER, kNoKey}},     {u"CategoryMainDB", {0x00010066, kNoKey}},
    {u"CategoryAssocDB", {0x00010013, 0x00020003}},     {u"PIMNamedPropVals", {0x00010013, 0x00020013}},
    {u"PIMNamedProps", {kNameOfProperty, kNoKey}},
};
static_assert(std::size(kTables) == static_cast<std::size_t>(Side::kCount));

SORTORDERSPECEX SortOf(const Table& table) {
    SORTORDERSPECEX sort{};
    sort.wVersion = 2;
    for (CEPROPID key : table.keys)
        if (key != kNoKey) sort.rgPropID[sort.wNumProps++] = key;
    return sort;
}

} // namespace

HRESULT LastFailure() {
    const DWORD error = GetLastError();
    return error ? static_cast<HRESULT>(0x80070000 | (error & 0xFFFF)) : E_FAIL;
}

HRESULT Store::Open() {
    if (m_session) return S_OK;
    if (!CeMountDBVolEx(&m_volume, u"\\pim.vol", nullptr, DBVOL_OPEN_ALWAYS)) return LastFailure();
    m_mounted = true;
    const HANDLE session = CeCreateSession(&m_volume);
    if (session == INVALID_HANDLE_VALUE || !session) {
        const DWORD error = GetLastError();
        Close();
        SetLastError(error); // also for those who ask for it
        return LastFailure();
    }
    m_session = session;
    return S_OK;
}

void Store::Close() {
    for (HANDLE& db : m_databases) {
        if (db) CloseHandle(db);
        db = nullptr;
    }
    if (m_session) CloseHandle(m_session); // takes an open batch back
    m_session = nullptr;
    if (m_mounted) CeUnmountDBVol(&m_volume);
    m_mounted = false;
    LocalFree(m_buffer);
    m_buffer = nullptr;
    m_bufferSize = 0;
    m_batch = false;
    m_undo.clear();
}

HANDLE Store::Get(Side side) {
    HANDLE& db = m_databases[static_cast<std::size_t>(side)];
    if (db) return db;
    if (FAILED(Open())) return INVALID_HANDLE_VALUE;
    const Table& table = kTables[static_cast<std::size_t>(side)];
    const SORTORDERSPECEX sort = SortOf(table);
    CEOID oid = 0;
    const HANDLE opened = CeOpenDatabaseInSession(m_session, &m_volume, &oid, table.name, &sort, 0, nullptr);
    if (opened == INVALID_HANDLE_VALUE || !opened) return INVALID_HANDLE_VALUE;
    return db = opened;
}

HRESULT Store::MakeNames() {
    const Table& table = kTables[static_cast<std::size_t>(Side::Names)];
    CEDBASEINFOEX info{};
    info.wVersion = 2;
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDSORTSPEC;
    std::u16string_view(table.name).copy(info.szDbaseName, CEDB_MAXDBASENAMELEN - 1);
    info.wNumSortOrder = 1;
    info.rgSortSpecs[0] = SortOf(table);
    // Another process may have been faster.
    return CeCreateDatabaseEx2(&m_volume, &info) || GetLastError() == ERROR_ALREADY_EXISTS ? S_OK
                                                                                           : LastFailure();
}

// --- Reads ----------------------------------------------------------------------------------------------------------

bool Store::Seek(Side side, std::span<const CEPROPVAL> keys) {
    const HANDLE db = Get(side);
    return db != INVALID_HANDLE_VALUE &&
           CeSeekDatabaseEx(db, CEDB_SEEK_VALUEFIRSTEQUAL, reinterpret_cast<ULONG_PTR>(keys.data()),
                            static_cast<WORD>(keys.size()), nullptr) != 0;
}

bool Store::SeekNextEqual(Side side, std::span<const CEPROPVAL> keys) {
    return CeSeekDatabaseEx(Get(side), CEDB_SEEK_VALUENEXTEQUAL, reinterpret_cast<ULONG_PTR>(keys.data()),
                            static_cast<WORD>(keys.size()), nullptr) != 0;
}

bool Store::SeekNth(Side side, LONG n, bool fromHere) {
    const HANDLE db = Get(side);
    return db != INVALID_HANDLE_VALUE &&
           CeSeekDatabaseEx(db, fromHere ? CEDB_SEEK_CURRENT : CEDB_SEEK_BEGINNING, static_cast<DWORD>(n), 0,
                            nullptr) != 0;
}

CEOID Store::SeekRecord(Side side, CEOID record) {
    const HANDLE db = Get(side);
    return db == INVALID_HANDLE_VALUE ? 0 : CeSeekDatabaseEx(db, CEDB_SEEK_CEOID, record, 0, nullptr);
}

CEOID Store::Read(Side side, PropBag& values) {
    values.Clear();
    WORD count = 0;
    const CEOID record =
        CeReadRecordPropsEx(Get(side), CEDB_ALLOWREALLOC, &count, nullptr, &m_buffer, &m_bufferSize, nullptr);
    if (!record) return 0;
    const auto* read = reinterpret_cast<const CEPROPVAL*>(m_buffer);
    for (WORD i = 0; i < count; ++i)
        if (!(read[i].wFlags & CEDB_PROPNOTFOUND)) values.Set(FromPropVal(read[i]));
    return record;
}

const CEPROPVAL* Store::Read(Side side, std::span<const CEPROPID> ids, CEOID* record) {
    auto count = static_cast<WORD>(ids.size());
    const CEOID read = CeReadRecordPropsEx(Get(side), CEDB_ALLOWREALLOC, &count, ids.data(), &m_buffer,
                                           &m_bufferSize, nullptr);
    if (record) *record = read;
    return read ? reinterpret_cast<const CEPROPVAL*>(m_buffer) : nullptr;
}

HRESULT Store::ReadStream(Side side, CEOID record, CEPROPID id, PropValue& stream) {
    stream = PropValue::Absent(id);
    for (int i = 0; i < kTries; ++i) {
        if (!SeekRecord(side, record)) return LastFailure();
        if (TryReadStream(side, id, stream.bytes)) {
            stream.absent = stream.bytes.empty();
            return S_OK;
        }
        if (GetLastError() == ERROR_NOT_FOUND) return S_OK;
        if (GetLastError() != ERROR_KEY_DELETED) break; // else another process has replaced it in the middle
    }
    return LastFailure();
}

// The stream of the current record.
bool Store::TryReadStream(Side side, CEPROPID id, std::vector<BYTE>& bytes) {
    bytes.clear();
    const HANDLE handle = CeOpenStream(Get(side), id, STREAM_READ);
    if (handle == INVALID_HANDLE_VALUE || !handle) return false;
    DWORD size = 0;
    DWORD read = 0;
    bool ok =
        CeStreamSeek(handle, 0, STREAM_SEEK_END, &size) && CeStreamSeek(handle, 0, STREAM_SEEK_SET, nullptr);
    if (ok && size) {
        bytes.resize(size);
        ok = CeStreamRead(handle, bytes.data(), size, &read) && read == size;
    }
    const DWORD error = GetLastError();
    CloseHandle(handle);
    SetLastError(error);
    if (!ok) bytes.clear();
    return ok;
}

// --- Writes ---------------------------------------------------------------------------------------------------------

bool Store::WriteNow(HANDLE db, CEOID record, std::span<PropValue* const> values, CEOID* written) {
    m_values.clear();
    for (PropValue* value : values) m_values.push_back(ToPropVal(*value));
    *written = CeWriteRecordProps(db, record, static_cast<WORD>(m_values.size()), m_values.data());
    return *written != 0;
}

// What the record holds now of these properties, so that a failed save inside a batch can put it back.
bool Store::KeepForUndo(Side side, CEOID record, std::span<PropValue* const> values) {
    std::vector<PropValue> old;
    if (!SeekRecord(side, record)) return false;
    PropBag present;
    if (!Read(side, present)) return false;
    for (const PropValue* value : values) {
        PropValue before = PropValue::Absent(value->id);
        if (IsStream(value->id)) {
            if (FAILED(ReadStream(side, record, value->id, before))) return false;
        } else if (const PropValue* found = present.Find(value->id)) {
            before = *found;
        }
        old.push_back(std::move(before));
    }
    m_undo.push_back([this, side, record, old]() mutable {
        std::vector<PropValue*> pointers;
        pointers.reserve(old.size());
        for (PropValue& value : old) pointers.push_back(&value);
        CEOID written;
        return WriteNow(Get(side), record, pointers, &written);
    });
    return true;
}

CEOID Store::Write(Side side, CEOID record, std::span<PropValue* const> values) {
    const HANDLE db = Get(side);
    if (db == INVALID_HANDLE_VALUE) return 0;
    const std::size_t mark = m_undo.size();
    if (m_batch && record && !KeepForUndo(side, record, values)) return 0;
    CEOID written = 0;
    if (!WriteNow(db, record, values, &written)) {
        m_undo.resize(mark);
        return 0;
    }
    if (m_batch && !record)
        m_undo.push_back([this, side, written] { return CeDeleteRecord(Get(side), written) != FALSE; });
    return written;
}

// A record that is put back after a failed save has a new object id; nobody keeps those of the side tables, and the item's
// own record is always the last that a save deletes.
bool Store::Delete(Side side, CEOID record) {
    const HANDLE db = Get(side);
    if (db == INVALID_HANDLE_VALUE) return false;
    PropBag kept;
    if (m_batch && (!SeekRecord(side, record) || !Read(side, kept))) return false;
    if (!CeDeleteRecord(db, record)) return false;
    if (m_batch)
        m_undo.push_back([this, side, kept]() mutable {
            std::vector<PropValue*> pointers;
            for (PropValue& value : kept) pointers.push_back(&value);
            CEOID written;
            return WriteNow(Get(side), 0, pointers, &written);
        });
    return true;
}

// --- Batches --------------------------------------------------------------------------------------------------------

HRESULT Store::BeginBatch() {
    if (m_batch) return E_UNEXPECTED;
    if (HRESULT hr = Open(); FAILED(hr)) return hr;
    if (!CeBeginTransaction(m_session, 0)) return LastFailure();
    m_batch = true;
    m_batchSpoilt = S_OK;
    return S_OK;
}

HRESULT Store::EndBatch(bool commit) {
    if (!m_batch) return E_UNEXPECTED;
    m_batch = false;
    m_undo.clear();
    const bool keep = commit && SUCCEEDED(m_batchSpoilt);
    if (!CeEndTransaction(m_session, keep)) return LastFailure();
    return commit ? m_batchSpoilt : S_OK;
}

void Store::Undo(std::size_t mark) {
    for (; m_undo.size() > mark; m_undo.pop_back())
        if (!m_undo.back()()) m_batchSpoilt = LastFailure();
}

HRESULT SaveScope::Begin() {
    if (HRESULT hr = m_store.Open(); FAILED(hr)) return hr;
    m_mark = m_store.m_undo.size();
    if (!m_store.m_batch && !CeBeginTransaction(m_store.m_session, 0)) return LastFailure();
    m_open = true;
    return S_OK;
}

HRESULT SaveScope::Commit() {
    m_open = false;
    if (m_store.m_batch) {
        m_store.m_undo.resize(m_mark);
        return S_OK;
    }
    return CeEndTransaction(m_store.m_session, TRUE) ? S_OK : LastFailure();
}

SaveScope::~SaveScope() {
    if (!m_open) return;
    const DWORD error = GetLastError();
    if (m_store.m_batch)
        m_store.Undo(m_mark);
    else
        CeEndTransaction(m_store.m_session, FALSE);
    SetLastError(error);
}

HRESULT DeleteBesides(Store& store, CEOID oid) {
    for (const auto& [side, key] :
         {std::pair{Side::Associations, CEPROPID{0x00010013}}, {Side::NamedValues, CEPROPID{0x00010013}}}) {
        const CEPROPVAL keys[] = {KeyOf(key, oid)};
        const CEPROPID ids[] = {key};
        while (store.Seek(side, keys)) {
            CEOID record = 0;
            if (!store.Read(side, ids, &record) || !store.Delete(side, record)) return LastFailure();
        }
    }
    return S_OK;
}

} // namespace plat::poom
