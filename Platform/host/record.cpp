#include "Platform/host/record.h"

#include <algorithm>

namespace plat {

namespace {

void Store32(BYTE* at, DWORD value) { std::memcpy(at, &value, sizeof value); }

size_t TextLength(const WCHAR* text) {
    size_t length = 0;
    while (text[length]) ++length;
    return length;
}

// The two words of a scalar, as they stand in the table of a record.
PropEntry ScalarEntry(const CEPROPVAL& value) {
    PropEntry entry{value.propid, 0, 0};
    switch (TypeFromPropID(value.propid)) {
    case CEVT_I2:
        entry.first = static_cast<DWORD>(static_cast<LONG>(value.val.iVal));
        break;
    case CEVT_UI2:
        entry.first = value.val.uiVal;
        break;
    case CEVT_R8:
    case CEVT_FILETIME:
        std::memcpy(&entry.first, &value.val, 4);
        std::memcpy(&entry.second, reinterpret_cast<const BYTE*>(&value.val) + 4, 4);
        break;
    default:
        entry.first = value.val.ulVal;
        break;
    }
    return entry;
}

void GiveScalar(const PropEntry& entry, CEVALUNION& val) {
    switch (TypeFromPropID(entry.propid)) {
    case CEVT_I2:
        val.iVal = static_cast<SHORT>(entry.first);
        break;
    case CEVT_UI2:
        val.uiVal = static_cast<USHORT>(entry.first);
        break;
    case CEVT_R8:
    case CEVT_FILETIME:
        val.filetime = {entry.first, entry.second};
        break;
    default:
        val.ulVal = entry.first;
        break;
    }
}

// What the bytes of a property take behind the array: texts with their terminator, blobs padded to even.
size_t PackedSize(CEPROPID propid, size_t length) {
    return TypeFromPropID(propid) == CEVT_LPWSTR ? (length & ~size_t{1}) + sizeof(WCHAR)
                                                 : (length + 1) & ~size_t{1};
}

} // namespace

void ByteBuffer::Grow(size_t count) {
    const size_t capacity = std::max({m_size + count, m_capacity * 2, size_t{256}});
    auto larger = std::make_unique_for_overwrite<BYTE[]>(capacity);
    if (m_size) std::memcpy(larger.get(), m_data.get(), m_size);
    m_data = std::move(larger);
    m_capacity = capacity;
}

bool IsStorable(CEPROPID propid) {
    switch (TypeFromPropID(propid)) {
    case CEVT_I2:
    case CEVT_I4:
    case CEVT_R8:
    case CEVT_BOOL:
    case CEVT_UI2:
    case CEVT_UI4:
    case CEVT_LPWSTR:
    case CEVT_FILETIME:
    case CEVT_BLOB:
    case CEVT_STREAM:
        return true;
    default:
        return false;
    }
}

std::optional<RecordView> RecordView::Of(Bytes bytes) {
    if (bytes.size() < kHeader) return std::nullopt;
    RecordView view;
    view.m_bytes = bytes;
    view.m_count = Load32(bytes.data());
    if (view.m_count > (bytes.size() - kHeader) / kEntry) return std::nullopt;
    return view;
}

DWORD RecordView::Search(CEPROPID propid) const {
    if (m_count == 0) return 0;
    const BYTE* table = m_bytes.data() + kHeader;
    DWORD low = 0;
    for (DWORD span = m_count; span > 0;) { // the first entry not below `propid`
        const DWORD half = span / 2;
        const bool below = Load32(table + (low + half) * kEntry) < propid;
        low = below ? low + half + 1 : low;
        span = below ? span - half - 1 : half;
    }
    return low < m_count && Load32(table + low * kEntry) == propid ? low : m_count;
}

std::optional<PropEntry> RecordView::Find(CEPROPID propid) const {
    const DWORD at = Search(propid);
    return at < m_count ? std::optional(At(at)) : std::nullopt;
}

std::optional<Bytes> RecordView::BytesOf(const PropEntry& entry) const {
    if (entry.Outside() || entry.second > m_bytes.size() || entry.first > m_bytes.size() - entry.second)
        return std::nullopt;
    return m_bytes.subspan(entry.second, entry.first);
}

void RecordDraft::Load(const RecordView& view) {
    m_items.clear();
    for (DWORD i = 0; i < view.Count(); ++i) {
        Item item{view.At(i)};
        if (HasBytes(item.entry.propid) && !item.entry.Outside()) {
            const auto bytes = view.BytesOf(item.entry);
            if (!bytes) continue;
            item.bytes = bytes->data();
        }
        m_items.push_back(item);
    }
}

bool RecordDraft::Set(const CEPROPVAL& value) {
    if (!IsStorable(value.propid)) return false;
    if (!HasBytes(value.propid)) {
        m_items.push_back({ScalarEntry(value)});
        return true;
    }
    if (TypeFromPropID(value.propid) == CEVT_LPWSTR) {
        const WCHAR* text = value.val.lpwstr ? value.val.lpwstr : u"";
        const size_t length = TextLength(text) * sizeof(WCHAR);
        if (length > kMaxRecord) return false;
        m_items.push_back(
            {{value.propid, static_cast<DWORD>(length), 0}, reinterpret_cast<const BYTE*>(text)});
        return true;
    }
    if (value.val.blob.dwCount && !value.val.blob.lpb) return false;
    m_items.push_back({{value.propid, value.val.blob.dwCount, 0}, value.val.blob.lpb});
    return true;
}

void RecordDraft::SetStream(CEPROPID propid, Bytes bytes) {
    m_items.push_back({{propid, static_cast<DWORD>(bytes.size()), 0}, bytes.data()});
}

void RecordDraft::SetOutsideStream(CEPROPID propid, DWORD length, DWORD version) {
    m_items.push_back({{propid, length, kStreamOutside | version}});
}

void RecordDraft::Remove(CEPROPID propid) {
    m_items.push_back({.entry = {propid, 0, 0}, .bytes = nullptr, .removed = true});
}

// Sorted once, at the end: a record may have tens of thousands of properties, told in any order.
void RecordDraft::Settle() {
    std::stable_sort(m_items.begin(), m_items.end(),
                     [](const Item& a, const Item& b) { return a.entry.propid < b.entry.propid; });
    auto kept = m_items.begin();
    for (auto at = m_items.begin(); at != m_items.end(); ++at) {
        const bool last = at + 1 == m_items.end() || at[1].entry.propid != at->entry.propid;
        if (last && !at->removed) *kept++ = *at;
    }
    m_items.erase(kept, m_items.end());
}

bool RecordDraft::Pack(DWORD autoNumber, ByteBuffer& out) {
    Settle();
    size_t size = RecordView::kHeader + m_items.size() * RecordView::kEntry;
    for (const Item& item : m_items) {
        if (HasBytes(item.entry.propid) && !item.entry.Outside()) size += item.entry.first;
        if (size > kMaxRecord) return false;
    }
    out.Clear();
    BYTE* const start = out.Extend(size);
    Store32(start, static_cast<DWORD>(m_items.size()));
    Store32(start + 4, autoNumber);
    BYTE* entry = start + RecordView::kHeader;
    BYTE* bytes = entry + m_items.size() * RecordView::kEntry;
    for (const Item& item : m_items) {
        const bool inside = HasBytes(item.entry.propid) && !item.entry.Outside();
        Store32(entry, item.entry.propid);
        Store32(entry + 4, item.entry.first);
        Store32(entry + 8, inside ? static_cast<DWORD>(bytes - start) : item.entry.second);
        entry += RecordView::kEntry;
        if (!inside || !item.entry.first) continue;
        std::memcpy(bytes, item.bytes, item.entry.first);
        bytes += item.entry.first;
    }
    return true;
}

std::vector<CEPROPID> AllProps(const RecordView& view, CEPROPID autoId) {
    std::vector<CEPROPID> ids;
    if (autoId) ids.push_back(autoId);
    for (DWORD i = 0; i < view.Count() && ids.size() < 0xFFFF; ++i)
        if (TypeFromPropID(view.At(i).propid) != CEVT_STREAM) ids.push_back(view.At(i).propid);
    return ids;
}

namespace {

// What lies behind the array so far, and what a text or blob adds to it.
class Tail {
public:
    Tail(BYTE* out, size_t used, size_t room) : m_out(out), m_used(used), m_room(room) {}
    size_t Used() const { return m_used; }

    void Place(const PropEntry& entry, Bytes bytes, CEPROPVAL& value) {
        const size_t size = PackedSize(entry.propid, bytes.size());
        BYTE* const at = m_out + m_used;
        m_used += size;
        if (!m_out || m_used > m_room) return;
        if (!bytes.empty()) std::memcpy(at, bytes.data(), bytes.size());
        if (TypeFromPropID(entry.propid) == CEVT_LPWSTR) {
            std::memset(at + size - sizeof(WCHAR), 0, sizeof(WCHAR));
            value.val.lpwstr = reinterpret_cast<WCHAR*>(at);
        } else {
            value.val.blob = {static_cast<DWORD>(bytes.size()), at};
        }
    }

private:
    BYTE* m_out;
    size_t m_used;
    size_t m_room;
};

void ReadPresent(const RecordView& view, const PropEntry& entry, CEPROPVAL& value, Tail& tail) {
    if (!HasBytes(entry.propid)) {
        GiveScalar(entry, value.val);
        return;
    }
    const auto bytes = view.BytesOf(entry);
    if (bytes)
        tail.Place(entry, *bytes, value);
    else
        value.wFlags = CEDB_PROPNOTFOUND;
}

} // namespace

size_t RecordReader::Read(const RecordView& view, std::span<const CEPROPID> ids, BYTE* out, size_t room) {
    if (m_hints.size() < ids.size()) m_hints.resize(ids.size());
    const size_t array = ids.size() * sizeof(CEPROPVAL);
    auto* const values = array <= room ? reinterpret_cast<CEPROPVAL*>(out) : nullptr;
    Tail tail(out, array, room);
    for (size_t i = 0; i < ids.size(); ++i) {
        CEPROPVAL unused;
        CEPROPVAL& value = values ? values[i] : unused;
        value.propid = ids[i];
        value.wLenData = 0;
        value.wFlags = 0;
        value.val.blob = {0, nullptr};
        const WORD type = TypeFromPropID(ids[i]);
        if (type == CEVT_RECID) {
            value.val.ulVal = view.AutoNumber();
            continue;
        }
        const DWORD at = type == CEVT_STREAM ? view.Count() : m_hints[i] = view.IndexOf(ids[i], m_hints[i]);
        if (at < view.Count())
            ReadPresent(view, view.At(at), value, tail);
        else
            value.wFlags = CEDB_PROPNOTFOUND;
    }
    return tail.Used();
}

} // namespace plat
