// The packed form of a record: what a volume keeps of it, and what a cursor reads ahead.
//
//   0  number of properties     4  automatic number     8  the properties, by ascending id, 12 bytes each:
//      id, two words; a scalar has its value there, a text, blob or small stream its length in bytes and its offset
//      from the start of the record; a large stream its length and kStreamOutside | version, its bytes being rows
//      of their own. Behind them the bytes. All numbers are little-endian.
//
// Texts are UTF-16LE units without terminator, exactly as given. Views point into foreign bytes and check every
// access: a damaged record reads as one without the property in question.
#pragma once

#include "Platform/databases.h"

#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace plat {

using Bytes = std::span<const BYTE>;

inline DWORD Load32(const BYTE* at) {
    DWORD value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// A growing run of bytes that keeps its room when cleared and never writes what it doesn't need to.
class ByteBuffer {
public:
    void Clear() { m_size = 0; }
    void Resize(size_t size) { m_size = size < m_size ? size : m_size; }
    size_t Size() const { return m_size; }
    const BYTE* Data() const { return m_data.get(); }
    BYTE* Data() { return m_data.get(); }
    Bytes View() const { return {m_data.get(), m_size}; }
    // Room for `count` more bytes, counted in already.
    BYTE* Extend(size_t count) {
        if (m_capacity - m_size < count) Grow(count);
        BYTE* at = m_data.get() + m_size;
        m_size += count;
        return at;
    }
    void Append(Bytes bytes) {
        if (!bytes.empty()) std::memcpy(Extend(bytes.size()), bytes.data(), bytes.size());
    }
    void Append8(BYTE value) { *Extend(1) = value; }
    void Assign(Bytes bytes) {
        Clear();
        Append(bytes);
    }

private:
    void Grow(size_t count);

    std::unique_ptr<BYTE[]> m_data;
    size_t m_size = 0;
    size_t m_capacity = 0;
};

inline constexpr DWORD kStreamOutside = 0x80000000;
// A stream of at most so many bytes is kept in the record itself, and so comes along with a walk.
inline constexpr DWORD kSmallStream = 1024;
inline constexpr size_t kMaxRecord = 16u << 20;

constexpr bool HasBytes(CEPROPID propid) {
    const WORD type = TypeFromPropID(propid);
    return type == CEVT_LPWSTR || type == CEVT_BLOB || type == CEVT_STREAM;
}
// Types that a record can hold; the automatic number isn't among them, since the store itself keeps it.
bool IsStorable(CEPROPID propid);

struct PropEntry {
    CEPROPID propid = 0;
    DWORD first = 0;  // low word of a scalar, or length
    DWORD second = 0; // high word, or offset, or kStreamOutside | version

    bool Outside() const { return TypeFromPropID(propid) == CEVT_STREAM && (second & kStreamOutside); }
    ULONGLONG Scalar() const { return first | static_cast<ULONGLONG>(second) << 32; }
};

class RecordView {
public:
    RecordView() = default;
    // Null when the table of properties doesn't fit in the bytes.
    static std::optional<RecordView> Of(Bytes bytes);

    DWORD Count() const { return m_count; }
    DWORD AutoNumber() const { return m_bytes.empty() ? 0 : Load32(m_bytes.data() + 4); }
    PropEntry At(DWORD index) const {
        const BYTE* at = m_bytes.data() + kHeader + index * kEntry;
        return {Load32(at), Load32(at + 4), Load32(at + 8)};
    }
    std::optional<PropEntry> Find(CEPROPID propid) const;
    // Where a property stands, Count() when it is absent. `hint` is where it stood in the record before, which mostly
    // has the same shape.
    DWORD IndexOf(CEPROPID propid, DWORD hint) const {
        if (hint < m_count && Load32(m_bytes.data() + kHeader + hint * kEntry) == propid) return hint;
        return Search(propid);
    }
    // The bytes of a text, blob or small stream; null when they lie outside of the record.
    std::optional<Bytes> BytesOf(const PropEntry& entry) const;

    static constexpr DWORD kHeader = 8;
    static constexpr DWORD kEntry = 12;

private:
    DWORD Search(CEPROPID propid) const;

    Bytes m_bytes;
    DWORD m_count = 0;
};

// A record being put together; it points at the bytes of its sources until it is packed.
class RecordDraft {
public:
    void Clear() { m_items.clear(); }
    void Load(const RecordView& view);
    // Takes the value of a property over; false for a type or a pointer that can't be stored.
    bool Set(const CEPROPVAL& value);
    void SetStream(CEPROPID propid, Bytes bytes);
    void SetOutsideStream(CEPROPID propid, DWORD length, DWORD version);
    void Remove(CEPROPID propid);
    // False when the record would be too large.
    bool Pack(DWORD autoNumber, ByteBuffer& out);

private:
    struct Item {
        PropEntry entry;
        const BYTE* bytes = nullptr;
        bool removed = false;
    };
    void Settle();

    std::vector<Item> m_items; // as they were told; the last one of a property counts
};

// The ids of all properties but streams, with `autoId` in front when it isn't 0.
std::vector<CEPROPID> AllProps(const RecordView& view, CEPROPID autoId);

// Reads properties into the caller's form: an array of CEPROPVAL, then texts and blobs. Returns the bytes that it
// takes; when they are more than `room`, what stands in `out` means nothing. `out` is aligned for CEPROPVAL.
// A reader remembers where the properties stood, so that a walk with one list of ids needn't search.
class RecordReader {
public:
    size_t Read(const RecordView& view, std::span<const CEPROPID> ids, BYTE* out, size_t room);

private:
    std::vector<DWORD> m_hints; // by position in the list; any other list only finds them useless
};

} // namespace plat
