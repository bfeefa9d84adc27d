// Records, seeks and streams of CeDb.
#include "NorvoTools/CeDb.h"

#include "NorvoTools/errors.h"
#include "Platform/memory.h"
#include "Platform/threads.h"

namespace {

constexpr int kReadTries = 50;

class Stream {
public:
    Stream(HANDLE db, CEPROPID propid, DWORD access) : m_handle(CeOpenStream(db, propid, access)) {}
    ~Stream() {
        if (!IsOpen()) return;
        ToStart();
        CloseHandle(m_handle);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    bool IsOpen() const {
        return m_handle && m_handle != INVALID_HANDLE_VALUE &&
               m_handle != reinterpret_cast<HANDLE>(LONG_PTR{-2});
    }
    bool ToStart() { return CeStreamSeek(m_handle, 0, STREAM_SEEK_SET, nullptr) != FALSE; }
    DWORD Size() {
        DWORD size = 0;
        return ToStart() && CeStreamSeek(m_handle, 0, STREAM_SEEK_END, &size) ? size : 0;
    }
    operator HANDLE() const { return m_handle; }

private:
    HANDLE m_handle;
};

} // namespace

CEOID CeDb::Seek(DWORD type, ULONG_PTR value, WORD count, DWORD* index) {
    const CEOID oid = CeSeekDatabaseEx(m_hDb, type, value, count, index);
    if (oid == 0) HandleError(u"Seek");
    return oid;
}

bool CeDb::AddRec(CeDbRecord& rec) {
    rec.m_oid = CeWriteRecordProps(m_hDb, 0, rec.m_wNumProps, rec.m_pProps);
    return rec.m_oid != 0;
}

bool CeDb::UpdateRec(CeDbRecord& rec) {
    return rec.m_oid != 0 && CeWriteRecordProps(m_hDb, rec.m_oid, rec.m_wNumProps, rec.m_pProps) == rec.m_oid;
}

bool CeDb::DeleteRecord(CEOID oid) {
    if (CeDeleteRecord(m_hDb, oid)) return true;
    HandleError(u"Delete");
    return false;
}

bool CeDb::ReadRec(CeDbRecord& rec, WORD count, const CEPROPID* ids) {
    rec.FreeOwnedBlobs();
    rec.FreeBuffer();
    rec.m_bLocalHeap = true;
    rec.m_hDb = m_hDb;
    BYTE* buffer = nullptr;
    DWORD size = 0;
    rec.m_oid = CeReadRecordPropsEx(m_hDb, CEDB_ALLOWREALLOC, &count, ids, &buffer, &size, GetProcessHeap());
    rec.m_pProps = reinterpret_cast<CEPROPVAL*>(buffer);
    rec.m_cbBuffer = size;
    const bool done = rec.m_oid != 0 && buffer && count != 0;
    rec.m_wNumProps = done ? count : 0; // a failed read leaves nothing to look at
    return done;
}

bool CeDb::ReadRec(CeDbRecord& rec, void* buffer, DWORD size, WORD count, const CEPROPID* ids) {
    rec.FreeOwnedBlobs();
    if (!rec.m_bLent && rec.m_pProps != buffer) rec.FreeBuffer();
    rec.m_bLocalHeap = true;
    rec.m_bLent = true;
    rec.m_hDb = m_hDb;
    rec.m_pProps = static_cast<CEPROPVAL*>(buffer);
    rec.m_cbBuffer = size;
    auto* bytes = static_cast<BYTE*>(buffer);
    rec.m_oid = CeReadRecordPropsEx(m_hDb, 0, &count, ids, &bytes, &size, nullptr);
    const bool done = rec.m_oid != 0 && buffer && count != 0;
    rec.m_wNumProps = done ? count : 0; // the bytes in the buffer are those of an earlier record
    return done;
}

DWORD CeDb::StreamSize(CEPROPID propid) {
    if (!IsOpen()) return 0;
    Stream stream(m_hDb, propid, STREAM_READ);
    return stream.IsOpen() ? stream.Size() : 0;
}

bool CeDb::ReadStream(CEPROPID propid, CEBLOB* blob) {
    if (!IsOpen() || !blob) return false;
    *blob = {0, nullptr};
    // Another process may replace a stream between the calls; then it is opened anew.
    for (int tries = 0; tries < kReadTries; ++tries) {
        Stream stream(m_hDb, propid, STREAM_READ);
        if (!stream.IsOpen()) return false;
        const DWORD size = stream.Size();
        if (size == 0) return false;
        auto* bytes =
            static_cast<BYTE*>(LocalAlloc(LMEM_ZEROINIT, (std::size_t{size} + 1) & ~std::size_t{1}));
        if (!bytes) return false;
        DWORD read = 0;
        if (stream.ToStart() && CeStreamRead(stream, bytes, size, &read)) {
            *blob = {read, bytes};
            return true;
        }
        const DWORD error = GetLastError();
        LocalFree(bytes);
        if (error != ERROR_KEY_DELETED) return false;
    }
    return false;
}

bool CeDb::WriteStream(CEPROPID propid, const CEBLOB* blob) {
    if (!IsOpen() || !blob) return false;
    Stream stream(m_hDb, propid, STREAM_WRITE);
    if (!stream.IsOpen()) {
        ShowError();
        return false;
    }
    if (!stream.ToStart() || !CeStreamSetSize(stream, blob->dwCount) || blob->dwCount == 0) return false;
    DWORD written = 0;
    if (!CeStreamWrite(stream, blob->lpb, blob->dwCount, &written) || written != blob->dwCount) return false;
    return CeStreamSaveChanges(stream) != FALSE;
}
