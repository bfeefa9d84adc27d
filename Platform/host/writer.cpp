#include "Platform/host/store.h"

#include "Platform/host/faults.h"

#include <algorithm>
#include <sqlite3.h>

namespace plat {

namespace {

constexpr LONGLONG kLastShortAuto = 65535; // item numbers carry 16 bits of it
constexpr size_t kChangesARow = 1024;
constexpr LONGLONG kChangesKept = 4096;
constexpr LONGLONG kTrimEvery = 256;
constexpr int kManyLogPages = 1000;

LONGLONG Now() {
    constexpr LONGLONG kUnixEpoch = 116444736000000000; // in ticks since 1601
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return kUnixEpoch + std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() / 100;
}

} // namespace

// --- Transactions -------------------------------------------------------------------------------------------------

DWORD Writer::Begin() {
    if (FaultStrikes(PlatFault::StoreLocked)) return ERROR_SHARING_VIOLATION;
    if (const DWORD error = m_volume.Gate().Enter(m_connection.m_interrupted)) return error;
    if (const DWORD error = m_connection.Use(Sql::Begin).Run()) {
        m_volume.Gate().Leave();
        return error;
    }
    m_active = true;
    return 0;
}

DWORD Writer::Part() {
    const DWORD error = WriteTallies();
    Forget();
    m_joined = false;
    return error;
}

DWORD Writer::Spoiled() {
    if (!m_spoiled && !m_connection.InTransaction()) m_spoiled = ERROR_WRITE_FAULT;
    return m_spoiled;
}

DWORD Writer::Commit() {
    DWORD error = Spoiled();
    if (!error && FaultStrikes(PlatFault::StoreCommit)) error = ERROR_DISK_FULL;
    if (!error) error = WriteTallies();
    if (!error) error = WriteChanges();
    if (error) {
        Rollback();
        return error;
    }
    std::array<DWORD, 8> few{};
    std::vector<DWORD> many(m_touched.size() > few.size() ? m_touched.size() : 0);
    DWORD* const busy = many.empty() ? few.data() : many.data();
    for (size_t i = 0; i < m_touched.size(); ++i) busy[i] = m_volume.Counters().MarkBusy(m_touched[i]);
    error = m_connection.Use(Sql::Commit).Run();
    if (error && m_connection.InTransaction()) m_connection.Use(Sql::Rollback).Run();
    for (size_t i = 0; i < m_touched.size(); ++i) m_volume.Counters().MarkDone(m_touched[i], busy[i]);
    if (!error && !m_touched.empty()) m_volume.Counters().TellCommit();
    Forget();
    m_active = false;
    m_volume.Gate().Leave();
    if (!error && m_connection.LogPages() > kManyLogPages) m_volume.TidySoon();
    return error;
}

void Writer::Rollback() {
    Forget();
    if (!m_active) return;
    if (m_connection.InTransaction()) m_connection.Use(Sql::Rollback).Run();
    m_active = false;
    m_volume.Gate().Leave();
}

void Writer::Forget() {
    m_tallies.clear();
    m_changes.clear();
    m_touched.clear();
    m_droppedStreams.clear();
    m_midway = false;
    m_spoiled = 0;
}

void Writer::StartOperation() {
    m_midway = false;
    m_droppedStreams.clear();
    m_draft.Clear();
    m_old.Clear();
    m_oldView.reset();
}

void Writer::Note(CEOID database, CEOID oid, UINT type) {
    if (std::find(m_touched.begin(), m_touched.end(), database) == m_touched.end())
        m_touched.push_back(database);
    if (type) m_changes.push_back({database, oid, type});
}

DWORD Writer::WriteTallies() {
    for (Tally& tally : m_tallies) {
        if (!tally.changed) continue;
        const DWORD error = m_connection.Use(Sql::TallyPut)
                                .Bind(1, tally.database)
                                .Bind(2, tally.records)
                                .Bind(3, tally.bytes)
                                .Bind(4, tally.lastAuto)
                                .Bind(5, tally.freeAuto)
                                .Bind(6, tally.modified)
                                .Bind(7, tally.nextOid)
                                .Bind(8, tally.nextStream)
                                .Bind(9, tally.schema)
                                .Run();
        if (error) return error;
        tally.changed = false;
    }
    return 0;
}

DWORD Writer::WriteChanges() {
    for (size_t from = 0; from < m_changes.size(); from += kChangesARow) {
        const auto row = std::span(m_changes).subspan(from, std::min(kChangesARow, m_changes.size() - from));
        m_packedChanges.Clear();
        for (const Change& change : row) {
            const DWORD words[3] = {change.database, change.oid, change.type};
            m_packedChanges.Append({reinterpret_cast<const BYTE*>(words), sizeof words});
        }
        if (const DWORD error = m_connection.Use(Sql::ChangesAdd).Bind(1, m_packedChanges.View()).Run())
            return error;
        const LONGLONG id = sqlite3_last_insert_rowid(m_connection.Raw());
        if (id % kTrimEvery) continue;
        if (const DWORD error = m_connection.Use(Sql::ChangesTrim).Bind(1, id - kChangesKept).Run())
            return error;
    }
    return 0;
}

DWORD Writer::TallyOf(CEOID database, Tally*& out) {
    const auto at = std::find_if(m_tallies.begin(), m_tallies.end(),
                                 [=](const Tally& t) { return t.database == database; });
    if (at != m_tallies.end()) {
        out = &*at;
        return 0;
    }
    Tally tally;
    if (const DWORD error = LoadTally(m_connection, database, tally)) return error;
    out = &m_tallies.emplace_back(tally);
    return 0;
}

DWORD Writer::NextOid(CEOID& out) {
    Tally* volume = nullptr;
    if (const DWORD error = TallyOf(0, volume)) return error;
    if (volume->nextOid < kFirstOid) return ERROR_BAD_FORMAT;
    if (volume->nextOid > kLastOid) return ERROR_DISK_FULL;
    out = static_cast<CEOID>(volume->nextOid++);
    volume->changed = true;
    return 0;
}

DWORD Writer::AddTally(CEOID database) {
    return m_connection.Use(Sql::TallyAdd).Bind(1, database).Bind(2, kLastShortAuto + 1).Bind(3, Now()).Run();
}

DWORD Writer::Renew(std::shared_ptr<const DbInfo>& info) {
    Tally* volume = nullptr;
    if (const DWORD error = TallyOf(0, volume)) return error;
    if (volume->schema == info->version) return 0;
    std::shared_ptr<const DbInfo> loaded;
    if (const DWORD error = LoadDatabase(m_connection, info->oid, loaded)) return error;
    auto renewed = std::make_shared<DbInfo>(*loaded);
    renewed->version = volume->schema;
    info = std::move(renewed);
    return m_volume.ReloadCollation(m_connection);
}

// --- Records ------------------------------------------------------------------------------------------------------

// The record as it is goes to m_old and m_oldView, where the draft points.
DWORD Writer::Fetch(CEOID database, CEOID oid) {
    Statement row = m_connection.Use(Sql::RecordGet);
    if (!row.Bind(1, RecordRow(database, oid)).Row()) return row.Error() ? row.Error() : ERROR_FILE_NOT_FOUND;
    m_old.Assign(row.Blob(0));
    m_oldView = RecordView::Of(m_old.View());
    return m_oldView ? 0 : ERROR_BAD_FORMAT;
}

DWORD Writer::Put(const DbInfo& db, CEOID& oid, std::span<const CEPROPVAL> values) {
    StartOperation();
    if (FaultStrikes(PlatFault::StoreWrite)) return ERROR_DISK_FULL;
    if (oid) {
        if (const DWORD error = Fetch(db.oid, oid)) return error;
        m_draft.Load(*m_oldView);
    }
    if (const DWORD error = Apply(values)) return error;
    return oid ? Replace(db, oid) : Insert(db, oid);
}

DWORD Writer::PutStream(const DbInfo& db, CEOID oid, CEPROPID propid, Bytes content) {
    StartOperation();
    if (FaultStrikes(PlatFault::StoreWrite)) return ERROR_DISK_FULL;
    if (const DWORD error = Fetch(db.oid, oid))
        return error == ERROR_FILE_NOT_FOUND ? ERROR_KEY_DELETED : error;
    m_draft.Load(*m_oldView);
    if (const DWORD error = SetStream(propid, content)) return error;
    return Replace(db, oid);
}

DWORD Writer::Apply(std::span<const CEPROPVAL> values) {
    for (const CEPROPVAL& value : values) {
        const WORD type = TypeFromPropID(value.propid);
        if ((value.wFlags & CEDB_PROPNOTFOUND) || type == CEVT_RECID) continue;
        if (value.wFlags & CEDB_PROPDELETE) {
            DropStream(value.propid);
            m_draft.Remove(value.propid);
        } else if (type == CEVT_STREAM) {
            const CEBLOB& blob = value.val.blob;
            if (blob.dwCount && !blob.lpb) return ERROR_INVALID_PARAMETER;
            if (const DWORD error = SetStream(value.propid, {blob.lpb, blob.dwCount})) return error;
        } else if (!m_draft.Set(value)) {
            return ERROR_INVALID_PARAMETER;
        }
    }
    return 0;
}

DWORD Writer::SetStream(CEPROPID propid, Bytes content) {
    if (content.size() > kMaxStream) return ERROR_BAD_LENGTH;
    DropStream(propid);
    if (content.size() <= kSmallStream) {
        m_draft.SetStream(propid, content);
        return 0;
    }
    Tally* volume = nullptr;
    if (const DWORD error = TallyOf(0, volume)) return error;
    if (volume->nextStream >= kStreamOutside) return ERROR_DISK_FULL;
    const DWORD version = static_cast<DWORD>(volume->nextStream++);
    volume->changed = true;
    m_midway = true;
    m_draft.SetOutsideStream(propid, static_cast<DWORD>(content.size()), version);
    for (DWORD chunk = 0; chunk * size_t{kStreamChunk} < content.size(); ++chunk) {
        const size_t from = chunk * size_t{kStreamChunk};
        const Bytes bytes = content.subspan(from, std::min<size_t>(kStreamChunk, content.size() - from));
        const DWORD error =
            m_connection.Use(Sql::ChunkPut).Bind(1, ChunkRow(version, chunk)).Bind(2, bytes).Run();
        if (error) return error;
    }
    return 0;
}

// The bytes of a stream outside of the record go once the record has been written.
void Writer::DropStream(CEPROPID propid) {
    const auto entry = m_oldView ? m_oldView->Find(propid) : std::nullopt;
    if (entry && entry->Outside()) m_droppedStreams.push_back(entry->second & ~kStreamOutside);
}

DWORD Writer::DeleteDroppedStreams() {
    for (const DWORD version : m_droppedStreams) {
        const LONGLONG first = ChunkRow(version, 0);
        if (const DWORD error =
                m_connection.Use(Sql::ChunksDelete).Bind(1, first).Bind(2, first | 0xFFFF).Run())
            return error;
    }
    m_droppedStreams.clear();
    return 0;
}

DWORD Writer::AddKey(const SortOrder& order, CEOID oid, const RecordView& record) {
    m_keyAfter.clear();
    AppendRecordKey(order, record, oid, m_volume.TextOrder(), m_keyAfter);
    return m_connection.Use(Sql::KeyAdd).Bind(1, order.id).Bind(2, m_keyAfter).Bind(3, oid).Run();
}

// The key of m_keyBefore. Where that isn't the record's key, or the record can't tell it, something was damaged: then
// the order is searched for it.
DWORD Writer::DropKey(const SortOrder& order, CEOID oid) {
    const DWORD error = m_connection.Use(Sql::KeyDelete).Bind(1, order.id).Bind(2, m_keyBefore).Run();
    if (error || m_connection.Changed() > 0) return error;
    return m_connection.Use(Sql::KeyDeleteByOid).Bind(1, order.id).Bind(2, oid).Run();
}

DWORD Writer::ReplaceKey(const SortOrder& order, CEOID oid, const RecordView& after) {
    m_keyBefore.clear();
    AppendRecordKey(order, *m_oldView, oid, m_volume.TextOrder(), m_keyBefore);
    m_keyAfter.clear();
    AppendRecordKey(order, after, oid, m_volume.TextOrder(), m_keyAfter);
    if (m_keyBefore == m_keyAfter) return 0;
    if (const DWORD error = DropKey(order, oid)) return error;
    return m_connection.Use(Sql::KeyAdd).Bind(1, order.id).Bind(2, m_keyAfter).Bind(3, oid).Run();
}

DWORD Writer::Insert(const DbInfo& db, CEOID& oid) {
    Tally* tally = nullptr;
    if (const DWORD error = TallyOf(db.oid, tally)) return error;
    DWORD number = 0;
    if (const DWORD error = NextAutoNumber(db, *tally, number)) return error;
    if (!m_draft.Pack(number, m_new)) return ERROR_BAD_LENGTH;
    m_midway = true;
    const auto record = RecordView::Of(m_new.View());
    CEOID added = 0;
    if (const DWORD error = NextOid(added)) return error;
    if (const DWORD error =
            m_connection.Use(Sql::RecordAdd).Bind(1, RecordRow(db.oid, added)).Bind(2, m_new.View()).Run())
        return error;
    for (const SortOrder& order : db.orders)
        if (const DWORD error = AddKey(order, added, *record)) return error;
    tally->records += 1;
    tally->bytes += static_cast<LONGLONG>(m_new.Size());
    tally->modified = Now();
    tally->changed = true;
    Note(db.oid, added, DB_CEOID_CREATED);
    oid = added;
    return 0;
}

DWORD Writer::Replace(const DbInfo& db, CEOID oid) {
    if (!m_draft.Pack(m_oldView->AutoNumber(), m_new)) return ERROR_BAD_LENGTH;
    const Bytes before = m_old.View();
    const Bytes after = m_new.View();
    if (std::equal(before.begin(), before.end(), after.begin(), after.end())) return 0;
    m_midway = true;
    const auto record = RecordView::Of(after);
    for (const SortOrder& order : db.orders)
        if (const DWORD error = ReplaceKey(order, oid, *record)) return error;
    if (const DWORD error =
            m_connection.Use(Sql::RecordPut).Bind(1, RecordRow(db.oid, oid)).Bind(2, after).Run())
        return error;
    if (const DWORD error = DeleteDroppedStreams()) return error;
    Tally* tally = nullptr;
    if (const DWORD error = TallyOf(db.oid, tally)) return error;
    tally->bytes += static_cast<LONGLONG>(after.size()) - static_cast<LONGLONG>(before.size());
    tally->modified = Now();
    tally->changed = true;
    Note(db.oid, oid, DB_CEOID_CHANGED);
    return 0;
}

DWORD Writer::Delete(const DbInfo& db, CEOID oid) {
    StartOperation();
    if (FaultStrikes(PlatFault::StoreWrite)) return ERROR_DISK_FULL;
    const DWORD fetched = Fetch(db.oid, oid);
    if (fetched && fetched != ERROR_BAD_FORMAT) return fetched;
    // One that is damaged beyond reading goes, too; its streams and its number are not known any more.
    const RecordView old = m_oldView.value_or(RecordView());
    m_midway = true;
    for (DWORD i = 0; i < old.Count(); ++i) DropStream(old.At(i).propid);
    for (const SortOrder& order : db.orders) {
        m_keyBefore.clear();
        AppendRecordKey(order, old, oid, m_volume.TextOrder(), m_keyBefore);
        if (const DWORD error = DropKey(order, oid)) return error;
    }
    if (const DWORD error = m_connection.Use(Sql::RecordDelete).Bind(1, RecordRow(db.oid, oid)).Run())
        return error;
    if (const DWORD error = DeleteDroppedStreams()) return error;
    Tally* tally = nullptr;
    if (const DWORD error = TallyOf(db.oid, tally)) return error;
    tally->records -= 1;
    tally->bytes -= static_cast<LONGLONG>(m_old.Size());
    tally->freeAuto = std::min<LONGLONG>(tally->freeAuto, old.AutoNumber());
    tally->modified = Now();
    tally->changed = true;
    Note(db.oid, oid, DB_CEOID_RECORD_DELETED);
    return 0;
}

// --- Automatic numbers --------------------------------------------------------------------------------------------

// 1 to 65,535 in turn, then the lowest that is free, and only when none is, the numbers above.
DWORD Writer::NextAutoNumber(const DbInfo& db, Tally& tally, DWORD& out) {
    if (tally.lastAuto >= kLastShortAuto && tally.freeAuto <= kLastShortAuto) {
        LONGLONG lowest = 0;
        if (const DWORD error = LowestFree(db, std::max<LONGLONG>(tally.freeAuto, 1), lowest)) return error;
        tally.freeAuto = lowest + 1;
        if (lowest <= kLastShortAuto) {
            out = static_cast<DWORD>(lowest);
            return 0;
        }
    }
    out = static_cast<DWORD>(++tally.lastAuto);
    return 0;
}

// By the order of the numbers when the database has one, so that the search ends at the first gap.
DWORD Writer::LowestFree(const DbInfo& db, LONGLONG from, LONGLONG& out) {
    for (const SortOrder& order : db.orders) {
        if (TypeFromPropID(order.props[0]) != CEVT_RECID || order.FirstDescends()) continue;
        CEPROPVAL value{order.props[0], 0, 0, {}};
        value.val.ulVal = static_cast<ULONG>(from);
        Key bound;
        AppendValueKey(order, {&value, 1}, m_volume.TextOrder(), bound);
        Statement rows = m_connection.Use(Sql::KeysForward);
        rows.Bind(1, order.id).Bind(2, RecordRow(db.oid, 0)).Bind(3, bound).Bind(4, -1).Bind(5, 0);
        for (out = from; rows.Row(); ++out) {
            const auto record = RecordView::Of(rows.Blob(1));
            if (record && record->AutoNumber() != out) break; // a damaged one may have this number
        }
        return rows.Error();
    }
    std::vector<bool> taken(kLastShortAuto + 2);
    const DWORD error = ForEach(db.oid, [&](CEOID, const RecordView& record) {
        if (record.AutoNumber() <= kLastShortAuto) taken[record.AutoNumber()] = true;
        return 0u;
    });
    out = std::find(taken.begin() + static_cast<std::ptrdiff_t>(from), taken.end(), false) - taken.begin();
    return error;
}

} // namespace plat
