// Records, cursors and streams as the device offers them.
#include "Platform/host/store.h"

#include "Platform/host/call.h"
#include "Platform/memory.h"
#include "Platform/threads.h"

#include <algorithm>

using namespace plat;

namespace {

BOOL Answer(DWORD error) {
    if (error) SetLastError(error);
    return error == 0;
}

CEOID AnswerOid(CEOID oid, DWORD error) {
    if (!oid) SetLastError(error ? error : ERROR_NOT_FOUND);
    return oid;
}

// --- Seeking ------------------------------------------------------------------------------------------------------

CEOID Seek(Cursor& cursor, Session& session, DWORD type, ULONG_PTR value, WORD count, DWORD& error) {
    const LONGLONG n = static_cast<LONG>(value); // 32 bits, whatever stood above them
    switch (type) {
    case CEDB_SEEK_CEOID:
        return cursor.SeekOid(session, static_cast<CEOID>(value), error);
    case CEDB_SEEK_BEGINNING:
        return cursor.SeekBeginning(session, n, error);
    case CEDB_SEEK_END:
        return cursor.SeekEnd(session, n, error);
    case CEDB_SEEK_CURRENT:
        return cursor.Step(session, n, error);
    case CEDB_SEEK_VALUESMALLER:
    case CEDB_SEEK_VALUEFIRSTEQUAL:
    case CEDB_SEEK_VALUEGREATER:
    case CEDB_SEEK_VALUENEXTEQUAL:
        if (value)
            return cursor.SeekValue(session, type, {reinterpret_cast<const CEPROPVAL*>(value), count}, error);
        [[fallthrough]];
    default:
        error = ERROR_INVALID_PARAMETER;
        return 0;
    }
}

// --- Reading ------------------------------------------------------------------------------------------------------

BYTE* Enlarge(BYTE* buffer, size_t bytes, HANDLE heap) {
    if (heap)
        return static_cast<BYTE*>(buffer ? HeapReAlloc(heap, 0, buffer, bytes) : HeapAlloc(heap, 0, bytes));
    return static_cast<BYTE*>(buffer ? LocalReAlloc(buffer, bytes, LMEM_MOVEABLE)
                                     : LocalAlloc(LMEM_FIXED, bytes));
}

DWORD ReadInto(RecordReader& reader, const RecordView& record, std::span<const CEPROPID> ids, DWORD flags,
               BYTE*& buffer, DWORD& size, HANDLE heap) {
    const size_t room = buffer ? size : 0;
    const size_t needed = reader.Read(record, ids, buffer, room);
    if (needed <= room) return 0;
    if (!(flags & CEDB_ALLOWREALLOC)) return ERROR_INSUFFICIENT_BUFFER;
    const size_t bytes =
        std::max(needed, sizeof(CEPROPVAL)); // a record without properties gets a buffer, too
    BYTE* larger = Enlarge(buffer, bytes, heap);
    if (!larger) return ERROR_NOT_ENOUGH_MEMORY;
    buffer = larger;
    size = static_cast<DWORD>(bytes);
    reader.Read(record, ids, buffer, bytes);
    return 0;
}

CEOID ReadCurrent(Database& db, DWORD flags, WORD& count, const CEPROPID* ids, BYTE*& buffer, DWORD& size,
                  HANDLE heap, DWORD& error) {
    RecordView record;
    const CEOID oid = db.m_cursor.Current(*db.m_session, record, error);
    if (!oid) return 0;
    if (ids) {
        error = ReadInto(db.m_reader, record, {ids, count}, flags, buffer, size, heap);
        return error ? 0 : oid;
    }
    const auto all = AllProps(record, db.m_info->AutoId());
    error = ReadInto(db.m_reader, record, all, flags, buffer, size, heap);
    if (error) return 0;
    count = static_cast<WORD>(all.size());
    return oid;
}

} // namespace

CEOID CeSeekDatabaseEx(HANDLE handle, DWORD seekType, ULONG_PTR value, WORD count, DWORD* index) {
    HostCall call;
    const auto& db = DatabaseOf(handle);
    if (!db) return AnswerOid(0, ERROR_INVALID_HANDLE);
    SessionLock lock(*db->m_session);
    DWORD error = 0;
    const CEOID oid = Seek(db->m_cursor, *db->m_session, seekType, value, count, error);
    if (oid && index) *index = db->m_cursor.Index(*db->m_session, error);
    return AnswerOid(oid, error);
}

CEOID CeReadRecordPropsEx(HANDLE handle, DWORD flags, WORD* count, const CEPROPID* ids, BYTE** buffer,
                          DWORD* size, HANDLE heap) {
    HostCall call;
    const auto& db = DatabaseOf(handle);
    if (!db) return AnswerOid(0, ERROR_INVALID_HANDLE);
    if (!count || !buffer || !size) return AnswerOid(0, ERROR_INVALID_PARAMETER);
    SessionLock lock(*db->m_session);
    DWORD error = 0;
    const CEOID oid = ReadCurrent(*db, flags, *count, ids, *buffer, *size, heap, error);
    return AnswerOid(oid, error);
}

CEOID CeWriteRecordProps(HANDLE handle, CEOID oid, WORD count, const CEPROPVAL* values) {
    HostCall call;
    const auto& db = DatabaseOf(handle);
    if (!db) return AnswerOid(0, ERROR_INVALID_HANDLE);
    if (count && !values) return AnswerOid(0, ERROR_INVALID_PARAMETER);
    SessionLock lock(*db->m_session);
    const DWORD error = db->m_session->Write([&](Writer& writer) {
        const DWORD failed = writer.Renew(db->m_info);
        return failed ? failed : writer.Put(*db->m_info, oid, {values, count});
    });
    return AnswerOid(error ? 0 : oid, error);
}

BOOL CeDeleteRecord(HANDLE handle, CEOID oid) {
    HostCall call;
    const auto& db = DatabaseOf(handle);
    if (!db) return Answer(ERROR_INVALID_HANDLE);
    SessionLock lock(*db->m_session);
    return Answer(db->m_session->Write([&](Writer& writer) {
        const DWORD failed = writer.Renew(db->m_info);
        return failed ? failed : writer.Delete(*db->m_info, oid);
    }));
}

// --- Streams ------------------------------------------------------------------------------------------------------

HANDLE CeOpenStream(HANDLE handle, CEPROPID propid, DWORD access) {
    HostCall call;
    const auto& db = DatabaseOf(handle);
    DWORD error = db ? 0 : ERROR_INVALID_HANDLE;
    std::shared_ptr<Stream> stream;
    if (!error && TypeFromPropID(propid) != CEVT_STREAM) error = ERROR_INVALID_PARAMETER;
    if (!error) {
        SessionLock lock(*db->m_session);
        RecordView record;
        const bool writable = (access & STREAM_WRITE) != 0;
        const CEOID oid = db->m_cursor.Current(*db->m_session, record, error);
        // Most records have no stream: that is told before anything is made.
        if (oid && !writable && !record.Find(propid)) error = ERROR_NOT_FOUND;
        if (!error) {
            stream = std::make_shared<Stream>(db, oid, propid, writable);
            error = stream->Open(record);
        }
    }
    const HANDLE opened = error ? nullptr : AddHandle(std::move(stream));
    if (opened) return opened;
    if (!error) error = ERROR_NOT_ENOUGH_MEMORY;
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

BOOL CeStreamSeek(HANDLE handle, DWORD offset, DWORD origin, DWORD* position) {
    HostCall call;
    const auto stream = FindObject<Stream>(handle);
    if (!stream) return Answer(ERROR_INVALID_HANDLE);
    SessionLock lock(stream->GetSession());
    const DWORD error = stream->Seek(static_cast<LONG>(offset), origin);
    if (!error && position) *position = stream->Position();
    return Answer(error);
}

BOOL CeStreamRead(HANDLE handle, BYTE* buffer, DWORD count, DWORD* read) {
    HostCall call;
    const auto stream = FindObject<Stream>(handle);
    if (!stream) return Answer(ERROR_INVALID_HANDLE);
    if (count && !buffer) return Answer(ERROR_INVALID_PARAMETER);
    SessionLock lock(stream->GetSession());
    DWORD done = 0;
    const DWORD error = stream->Read(buffer, count, done);
    if (read) *read = done;
    return Answer(error);
}

BOOL CeStreamWrite(HANDLE handle, const BYTE* buffer, DWORD count, DWORD* written) {
    HostCall call;
    const auto stream = FindObject<Stream>(handle);
    if (!stream) return Answer(ERROR_INVALID_HANDLE);
    if (count && !buffer) return Answer(ERROR_INVALID_PARAMETER);
    SessionLock lock(stream->GetSession());
    const DWORD error = stream->WriteBytes({buffer, count});
    if (written) *written = error ? 0 : count;
    return Answer(error);
}

BOOL CeStreamSetSize(HANDLE handle, DWORD size) {
    HostCall call;
    const auto stream = FindObject<Stream>(handle);
    if (!stream) return Answer(ERROR_INVALID_HANDLE);
    SessionLock lock(stream->GetSession());
    return Answer(stream->SetSize(size));
}

BOOL CeStreamSaveChanges(HANDLE handle) {
    HostCall call;
    const auto stream = FindObject<Stream>(handle);
    if (!stream) return Answer(ERROR_INVALID_HANDLE);
    SessionLock lock(stream->GetSession());
    return Answer(stream->Save());
}
