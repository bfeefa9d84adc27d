#include "Platform/host/store.h"

#include "Platform/host/call.h"

#include <algorithm>

namespace plat {

Stream::Stream(std::shared_ptr<Database> database, CEOID oid, CEPROPID propid, bool writable)
    : KernelObject(kKind), m_database(std::move(database)), m_oid(oid), m_propid(propid),
      m_writable(writable) {}

// What was written and not saved yet; nobody hears of a failure here, as nobody asked.
void Stream::OnLastClose() {
    SessionLock lock(GetSession());
    Save();
}

// Of a stream outside of the record only the size is known until it is read.
DWORD Stream::Open(const RecordView& record) {
    m_rollbacks = GetSession().Rollbacks();
    const auto entry = record.Find(m_propid);
    if (!entry && !m_writable) return ERROR_NOT_FOUND;
    m_loaded = true;
    if (!entry) return 0;
    m_size = entry->first;
    if (entry->Outside()) {
        m_loaded = false;
        m_version = entry->second & ~kStreamOutside;
        return m_size > kMaxStream ? ERROR_BAD_FORMAT : 0;
    }
    const auto bytes = record.BytesOf(*entry);
    if (!bytes) return ERROR_BAD_FORMAT;
    m_content.assign(bytes->begin(), bytes->end());
    return 0;
}

DWORD Stream::Seek(LONG offset, DWORD origin) {
    LONGLONG from = 0;
    if (origin == STREAM_SEEK_CUR)
        from = m_position;
    else if (origin == STREAM_SEEK_END)
        from = m_size;
    else if (origin != STREAM_SEEK_SET)
        return ERROR_INVALID_PARAMETER;
    const LONGLONG to = from + offset;
    if (to < 0 || to > m_size) return ERROR_SEEK;
    m_position = static_cast<DWORD>(to);
    return 0;
}

DWORD Stream::Read(BYTE* out, DWORD count, DWORD& read) {
    read = 0;
    count = std::min(count, m_size - m_position);
    if (m_loaded)
        std::copy_n(m_content.begin() + m_position, count, out);
    else if (const DWORD error = ReadOutside(out, m_position, count))
        return error;
    m_position += count;
    read = count;
    return 0;
}

DWORD Stream::ReadOutside(BYTE* out, DWORD from, DWORD count) {
    while (count > 0) {
        const DWORD skip = from % kStreamChunk;
        const DWORD part = std::min(count, kStreamChunk - skip);
        Statement row = GetSession().Conn().Use(Sql::ChunkGet);
        if (!row.Bind(1, ChunkRow(m_version, from / kStreamChunk)).Row())
            return row.Error() ? row.Error() : ERROR_KEY_DELETED; // replaced or gone since it was opened
        const Bytes bytes = row.Blob(0);
        if (bytes.size() < size_t{skip} + part) return ERROR_BAD_FORMAT;
        std::copy_n(bytes.begin() + skip, part, out);
        out += part;
        from += part;
        count -= part;
    }
    return 0;
}

DWORD Stream::LoadAll() {
    if (m_loaded) return 0;
    m_content.resize(m_size);
    const DWORD error = ReadOutside(m_content.data(), 0, m_size);
    const bool unreadable = error == ERROR_BAD_FORMAT || error == ERROR_KEY_DELETED;
    // What is damaged can still be written over: from there on it counts as zeros.
    m_loaded = !error || (unreadable && IsCurrent());
    if (m_loaded) return 0;
    m_content.clear();
    return error;
}

// Whether the record still names this stream, and not one that has replaced it.
bool Stream::IsCurrent() {
    Statement row = GetSession().Conn().Use(Sql::RecordGet);
    if (!row.Bind(1, RecordRow(m_database->m_cursor.DatabaseOid(), m_oid)).Row()) return false;
    const auto record = RecordView::Of(row.Blob(0));
    const auto entry = record ? record->Find(m_propid) : std::nullopt;
    return entry && entry->Outside() && (entry->second & ~kStreamOutside) == m_version;
}

DWORD Stream::WriteBytes(Bytes bytes) {
    if (!m_writable) return ERROR_ACCESS_DENIED;
    if (bytes.size() > kMaxStream - m_position) return ERROR_BAD_LENGTH;
    if (const DWORD error = LoadAll()) return error;
    const size_t end = m_position + bytes.size();
    if (end > m_content.size()) m_content.resize(end);
    std::copy(bytes.begin(), bytes.end(), m_content.begin() + m_position);
    m_size = static_cast<DWORD>(m_content.size());
    m_position = static_cast<DWORD>(end);
    m_changed = true;
    return 0;
}

DWORD Stream::SetSize(DWORD size) {
    if (!m_writable) return ERROR_ACCESS_DENIED;
    if (size > kMaxStream) return ERROR_BAD_LENGTH;
    if (size == 0) { // what there was need not be read
        m_content.clear();
        m_loaded = true;
    }
    if (const DWORD error = LoadAll()) return error;
    m_content.resize(size);
    m_size = size;
    m_position = std::min(m_position, size);
    m_changed = true;
    // Whoever empties a stream has nothing to write and to save behind it, and still has to hear of a failure.
    return size == 0 ? Save() : 0;
}

DWORD Stream::Save() {
    if (!m_changed) return 0;
    Session& session = GetSession();
    if (m_rollbacks != session.Rollbacks()) return ERROR_KEY_DELETED;
    Database& db = *m_database;
    const DWORD error = session.Write([&](Writer& writer) {
        if (const DWORD failed = writer.Renew(db.m_info)) return failed;
        return writer.PutStream(*db.m_info, m_oid, m_propid, m_content);
    });
    if (!error) m_changed = false;
    return error;
}

} // namespace plat
