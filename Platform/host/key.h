// Keys of sort orders: comparing two keys byte by byte is comparing the records.
//
// For each property of the order a presence byte (absent last, or first when asked for), then the value: numbers
// big-endian with their sign turned, texts as big-endian units and a zero unit, or by collation when case doesn't
// count; inverted when descending. The object id ends the key, so no two are equal and ties are in order of creation.
// No value's bytes are the beginning of another's, so a prefix of values is a prefix of bytes.
#pragma once

#include "Platform/host/collation.h"
#include "Platform/host/record.h"

namespace plat {

using Key = std::vector<BYTE>;

struct SortOrder {
    LONGLONG id = 0; // in the volume; 0 is the order of creation
    WORD count = 0;
    std::array<CEPROPID, CEDB_MAXSORTPROP> props{};
    std::array<DWORD, CEDB_MAXSORTPROP> flags{};

    // Null for an order that can't be: no property, too many, or one that has no order.
    static std::optional<SortOrder> Of(const SORTORDERSPECEX& spec);
    bool SameProps(const SortOrder& other) const;
    bool FirstDescends() const { return count && (flags[0] & CEDB_SORT_DESCENDING); }
};

void AppendRecordKey(const SortOrder& order, const RecordView& record, CEOID oid, const Collation& collation,
                     Key& key);
// The leading values of an order; false when they aren't the order's properties, in its sequence.
bool AppendValueKey(const SortOrder& order, std::span<const CEPROPVAL> values, const Collation& collation,
                    Key& key);
void AppendOid(CEOID oid, Key& key);

// The first key behind all that begin with `prefix`; empty when there is none.
void NextPrefix(Key& prefix);
bool BeginsWith(Bytes key, Bytes prefix);
// Whether the first property of the order is there in the record of this key.
inline bool FirstPresent(Bytes key) { return !key.empty() && key[0] == 0x01; }

} // namespace plat
