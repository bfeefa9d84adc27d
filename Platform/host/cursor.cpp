#include "Platform/host/store.h"

#include <algorithm>

namespace plat {

namespace {

constexpr DWORD kMostAhead = 256;
constexpr size_t kMostBytesAhead = 256 * 1024;
constexpr BYTE kAboveAllKeys[] = {0xFF};

CEOID OidOfKey(Bytes key) {
    if (key.size() < 4) return 0;
    const BYTE* at = key.data() + key.size() - 4;
    return static_cast<CEOID>(at[0]) << 24 | static_cast<CEOID>(at[1]) << 16 |
           static_cast<CEOID>(at[2]) << 8 | at[3];
}

} // namespace

// --- The batch ----------------------------------------------------------------------------------------------------

bool Cursor::BatchGood(Session& session) const {
    return m_row >= 0 && !(m_counter & 1) && m_changes == session.Changes() &&
           m_counter == session.GetVolume().Counters().Load(m_database);
}

// Before the batch goes, its row's key is the place.
void Cursor::KeepKey() {
    if (m_row < 0) return;
    const Bytes key = KeyOf(m_rows[static_cast<size_t>(m_row)]);
    m_key.assign(key.begin(), key.end());
    m_row = -1;
}

// The counter is taken before the records are read: whoever commits behind this line changes it.
void Cursor::StartBatch(Session& session, bool forward) {
    KeepKey();
    m_rows.clear();
    m_bytes.Clear();
    m_forward = forward;
    m_changes = session.Changes();
    m_counter = session.GetVolume().Counters().Load(m_database);
}

void Cursor::AddRow(Bytes key, Bytes data, CEOID oid) {
    const size_t at = m_bytes.Size();
    m_bytes.Append(data);
    m_bytes.Append(key);
    m_rows.push_back({oid, at + data.size(), key.size(), at, data.size()});
}

// From m_bound, without it, into the batch.
DWORD Cursor::Fetch(Session& session, bool forward, LONGLONG skip, DWORD rows) {
    StartBatch(session, forward);
    return m_order.id ? FetchKeys(session, forward, skip, rows) : FetchRecords(session, forward, skip, rows);
}

DWORD Cursor::FetchKeys(Session& session, bool forward, LONGLONG skip, DWORD rows) {
    Statement row = session.Conn().Use(forward ? Sql::KeysForward : Sql::KeysBackward);
    row.Bind(1, m_order.id).Bind(2, RecordRow(m_database, 0)).Bind(3, m_bound).Bind(4, rows).Bind(5, skip);
    while (m_bytes.Size() < kMostBytesAhead && row.Row())
        AddRow(row.Blob(0), row.Blob(1), static_cast<CEOID>(row.Number(2)));
    return row.Error();
}

DWORD Cursor::FetchRecords(Session& session, bool forward, LONGLONG skip, DWORD rows) {
    LONGLONG from = m_bound.size() == 4 ? RecordRow(m_database, OidOfKey(m_bound)) : 0;
    if (m_bound.size() != 4) from = RecordRow(m_database, forward ? 0 : 0xFFFFFFFF);
    Statement row = session.Conn().Use(forward ? Sql::RecordsForward : Sql::RecordsBackward);
    row.Bind(1, from).Bind(2, RecordRow(m_database, forward ? 0xFFFFFFFF : 0)).Bind(3, rows).Bind(4, skip);
    while (m_bytes.Size() < kMostBytesAhead && row.Row()) {
        const auto oid = static_cast<CEOID>(row.Number(0));
        m_keyScratch.clear();
        AppendOid(oid, m_keyScratch);
        AddRow(m_keyScratch, row.Blob(1), oid);
    }
    return row.Error();
}

// One record by its id. `keepPlace` leaves the walked place where it is, whatever key the record has now.
DWORD Cursor::FetchOne(Session& session, CEOID oid, bool keepPlace) {
    StartBatch(session, true);
    Statement row = session.Conn().Use(Sql::RecordGet);
    if (!row.Bind(1, RecordRow(m_database, oid)).Row()) return row.Error() ? row.Error() : ERROR_NOT_FOUND;
    const Bytes data = row.Blob(0);
    if (!keepPlace) {
        const auto record = RecordView::Of(data);
        if (!record) return ERROR_BAD_FORMAT;
        m_key.clear();
        if (m_order.id)
            AppendRecordKey(m_order, *record, oid, session.GetVolume().TextOrder(), m_key);
        else
            AppendOid(oid, m_key);
    }
    AddRow(m_key, data, oid);
    m_row = 0;
    return 0;
}

// --- Places -------------------------------------------------------------------------------------------------------

CEOID Cursor::Miss(DWORD& error) {
    if (!error) error = ERROR_NOT_FOUND;
    return 0;
}

// Behind a fetch: on its first row, or behind the end that the walk went to.
CEOID Cursor::Land(bool forward, DWORD& error) {
    if (error) return 0;
    if (m_rows.empty()) {
        m_place = forward ? Place::AfterLast : Place::BeforeFirst;
        m_index = -1;
        return Miss(error);
    }
    m_place = Place::On;
    m_row = 0;
    return m_oid = m_rows.front().oid;
}

CEOID Cursor::SeekOid(Session& session, CEOID oid, DWORD& error) {
    error = FetchOne(session, oid, false);
    m_ahead = 1;
    if (error) return 0; // the cursor stays where it was
    m_place = Place::On;
    m_index = -1;
    return m_oid = oid;
}

CEOID Cursor::SeekBeginning(Session& session, LONGLONG n, DWORD& error) {
    if (n < 0) {
        m_place = Place::BeforeFirst;
        m_row = -1;
        return Miss(error);
    }
    m_ahead = 1;
    m_bound.clear();
    error = Fetch(session, true, n, m_ahead);
    m_index = n;
    return Land(true, error);
}

CEOID Cursor::SeekEnd(Session& session, LONGLONG n, DWORD& error) {
    if (n < 0) {
        m_place = Place::AfterLast;
        m_row = -1;
        return Miss(error);
    }
    m_ahead = 1;
    m_bound.assign(std::begin(kAboveAllKeys), std::end(kAboveAllKeys));
    error = Fetch(session, false, n, m_ahead);
    m_index = -1;
    return Land(false, error);
}

CEOID Cursor::Step(Session& session, LONGLONG n, DWORD& error) {
    switch (m_place) {
    case Place::Fresh:
        return SeekBeginning(session, n, error);
    case Place::BeforeFirst:
        return SeekBeginning(session, n - 1, error);
    case Place::AfterLast:
        return SeekEnd(session, -n - 1, error);
    case Place::On:
        break;
    }
    if (BatchGood(session)) {
        if (StepInBatch(n)) return m_oid;
        m_ahead = std::min(m_ahead * 2, kMostAhead);
    } else {
        m_ahead = 1;
        m_index = -1; // others may have added before it
    }
    if (n) return StepFromKey(session, n, error);
    RecordView unused;
    return Current(session, unused, error);
}

bool Cursor::StepInBatch(LONGLONG n) {
    const LONGLONG to = m_forward ? m_row + n : m_row - n;
    if (to < 0 || to >= static_cast<LONGLONG>(m_rows.size())) return false;
    m_row = to;
    m_oid = m_rows[static_cast<size_t>(to)].oid;
    MoveIndex(n);
    return true;
}

CEOID Cursor::StepFromKey(Session& session, LONGLONG n, DWORD& error) {
    const bool forward = n > 0;
    KeepKey();
    m_bound = m_key;
    error = Fetch(session, forward, (forward ? n : -n) - 1, m_ahead);
    MoveIndex(n);
    return Land(forward, error);
}

// --- By value -----------------------------------------------------------------------------------------------------

// Nearest by value: on a descending order the greater values stand before.
CEOID Cursor::SeekValue(Session& session, DWORD seekType, std::span<const CEPROPVAL> values, DWORD& error) {
    Key prefix;
    if (!AppendValueKey(m_order, values, session.GetVolume().TextOrder(), prefix)) {
        error = ERROR_INVALID_PARAMETER;
        return 0;
    }
    if (seekType == CEDB_SEEK_VALUENEXTEQUAL) {
        const CEOID next = Step(session, 1, error);
        return next ? OnlyWhen(BeginsWith(PlaceKey(), prefix), true, error) : 0;
    }
    KeepKey();
    m_ahead = 1;
    m_index = -1;
    m_bound = prefix;
    if (seekType == CEDB_SEEK_VALUEFIRSTEQUAL) {
        if (InGap(session, prefix)) return OnlyWhen(false, true, error);
        error = Fetch(session, true, 0, 1);
        if (!error) KeepGap(prefix);
        return Land(true, error) ? OnlyWhen(BeginsWith(PlaceKey(), prefix), true, error) : 0;
    }
    const bool forward = (seekType == CEDB_SEEK_VALUEGREATER) != m_order.FirstDescends();
    if (forward) NextPrefix(m_bound);
    error = Fetch(session, forward, 0, 1);
    // A record without the property has no value that could be smaller or greater.
    return Land(forward, error) ? OnlyWhen(FirstPresent(PlaceKey()), forward, error) : 0;
}

// Between a key that was sought and the one that was found there is none, until somebody writes. Loads seek side
// databases once a record, and most of those are nearly empty: what falls into the known gap costs no query.
bool Cursor::InGap(Session& session, const Key& prefix) const {
    if ((m_gapCounter & 1) || m_gapChanges != session.Changes() ||
        m_gapCounter != session.GetVolume().Counters().Load(m_database))
        return false;
    return prefix >= m_gapLow && (m_gapOpen || (prefix < m_gapHigh && !BeginsWith(m_gapHigh, prefix)));
}

// The batch has just been read from `sought` on.
void Cursor::KeepGap(const Key& sought) {
    const bool open = m_rows.empty();
    const Bytes found = open ? Bytes() : KeyOf(m_rows.front());
    const bool same = m_gapCounter == m_counter && m_gapChanges == m_changes && m_gapOpen == open &&
                      std::ranges::equal(found, m_gapHigh);
    if (!same || sought < m_gapLow) m_gapLow = sought;
    if (same) return;
    m_gapHigh.assign(found.begin(), found.end());
    m_gapOpen = open;
    m_gapCounter = m_counter;
    m_gapChanges = m_changes;
}

Bytes Cursor::PlaceKey() const {
    return m_row >= 0 ? KeyOf(m_rows[static_cast<size_t>(m_row)]) : Bytes(m_key);
}

CEOID Cursor::OnlyWhen(bool good, bool forward, DWORD& error) {
    if (good) return m_oid;
    m_rows.clear();
    m_row = -1;
    return Land(forward, error);
}

DWORD Cursor::Index(Session& session, DWORD& error) {
    if (m_index >= 0) return static_cast<DWORD>(m_index);
    Statement row = session.Conn().Use(m_order.id ? Sql::KeysBelow : Sql::RecordsBelow);
    if (m_order.id)
        row.Bind(1, m_order.id).Bind(2, PlaceKey());
    else
        row.Bind(1, RecordRow(m_database, 0)).Bind(2, RecordRow(m_database, m_oid));
    if (row.Row())
        m_index = row.Number(0);
    else
        error = row.Error();
    return static_cast<DWORD>(m_index);
}

// --- The current record -------------------------------------------------------------------------------------------

CEOID Cursor::Current(Session& session, RecordView& record, DWORD& error) {
    if (m_place == Place::Fresh && !SeekBeginning(session, 0, error)) return 0;
    if (m_place != Place::On) return Miss(error);
    if (!BatchGood(session)) {
        m_ahead = 1;
        error = FetchOne(session, m_oid, true);
        if (error == ERROR_NOT_FOUND)
            error = ERROR_KEY_DELETED; // deleted by another; the walk goes on from here
        if (error) return 0;
    }
    const auto view = RecordView::Of(DataOf(m_rows[static_cast<size_t>(m_row)]));
    if (!view) {
        error = ERROR_BAD_FORMAT;
        return 0;
    }
    record = *view;
    return m_oid;
}

} // namespace plat
