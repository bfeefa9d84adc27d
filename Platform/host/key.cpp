#include "Platform/host/key.h"

#include <algorithm>

namespace plat {

namespace {

constexpr BYTE kAbsentFirst = 0x00;
constexpr BYTE kPresent = 0x01;
constexpr BYTE kAbsentLast = 0x02;

void AppendBigEndian(ULONGLONG value, int bytes, Key& key) {
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8)
        key.push_back(static_cast<BYTE>(value >> shift));
}

// Doubles compare as unsigned numbers when positive ones get their sign bit and negative ones are inverted.
ULONGLONG SortableDouble(double value) {
    if (value == 0) value = 0; // both zeros are one value
    ULONGLONG bits;
    std::memcpy(&bits, &value, sizeof bits);
    constexpr ULONGLONG kSign = 1ull << 63;
    return bits & kSign ? ~bits : bits | kSign;
}

void AppendScalar(WORD type, const CEVALUNION& val, Key& key) {
    switch (type) {
    case CEVT_I2:
        AppendBigEndian(static_cast<WORD>(val.iVal ^ 0x8000), 2, key);
        break;
    case CEVT_UI2:
        AppendBigEndian(val.uiVal, 2, key);
        break;
    case CEVT_I4:
        AppendBigEndian(val.ulVal ^ 0x80000000u, 4, key);
        break;
    case CEVT_BOOL:
        key.push_back(val.boolVal ? 1 : 0);
        break;
    case CEVT_R8:
        AppendBigEndian(SortableDouble(val.dblVal), 8, key);
        break;
    case CEVT_FILETIME:
        AppendBigEndian(FileTimeTicks(val.filetime), 8, key);
        break;
    default:
        AppendBigEndian(val.ulVal, 4, key);
        break;
    }
}

// The units of a text may lie at an odd address, as they do in a packed record.
void AppendText(Bytes utf16, DWORD flags, const Collation& collation, Key& key) {
    const size_t length = utf16.size() / sizeof(WCHAR);
    if (!(flags & CEDB_SORT_CASEINSENSITIVE)) {
        for (size_t i = 0; i < length; ++i) {
            key.push_back(utf16[2 * i + 1]);
            key.push_back(utf16[2 * i]);
        }
        key.insert(key.end(), 2, 0);
        return;
    }
    thread_local std::u16string text;
    text.resize(length);
    if (length) std::memcpy(text.data(), utf16.data(), length * sizeof(WCHAR));
    collation.AppendKey(text, key);
    key.push_back(0);
}

CEVALUNION ScalarOf(const PropEntry& entry) {
    CEVALUNION val;
    val.filetime = {entry.first, entry.second};
    return val;
}

void Invert(Key& key, size_t from) {
    for (size_t i = from; i < key.size(); ++i) key[i] = static_cast<BYTE>(~key[i]);
}

// `bytes` is the value of a text, `val` of anything else.
void AppendPresent(CEPROPID propid, DWORD flags, const CEVALUNION& val, Bytes bytes,
                   const Collation& collation, Key& key) {
    key.push_back(kPresent);
    const size_t from = key.size();
    if (TypeFromPropID(propid) == CEVT_LPWSTR)
        AppendText(bytes, flags, collation, key);
    else
        AppendScalar(TypeFromPropID(propid), val, key);
    if (flags & CEDB_SORT_DESCENDING) Invert(key, from);
}

bool HasOrder(CEPROPID propid) {
    const WORD type = TypeFromPropID(propid);
    return type == CEVT_RECID || (IsStorable(propid) && type != CEVT_BLOB && type != CEVT_STREAM);
}

Bytes TextBytes(const WCHAR* text) {
    return text ? Bytes(reinterpret_cast<const BYTE*>(text), std::u16string_view(text).size() * sizeof(WCHAR))
                : Bytes();
}

} // namespace

std::optional<SortOrder> SortOrder::Of(const SORTORDERSPECEX& spec) {
    if (!spec.wNumProps || spec.wNumProps > CEDB_MAXSORTPROP) return std::nullopt;
    SortOrder order;
    order.count = spec.wNumProps;
    for (WORD i = 0; i < spec.wNumProps; ++i) {
        if (!HasOrder(spec.rgPropID[i])) return std::nullopt;
        order.props[i] = spec.rgPropID[i];
        order.flags[i] = spec.rgdwFlags[i];
    }
    return order;
}

bool SortOrder::SameProps(const SortOrder& other) const {
    return count == other.count && std::equal(props.begin(), props.begin() + count, other.props.begin());
}

void AppendOid(CEOID oid, Key& key) { AppendBigEndian(oid, 4, key); }

void AppendRecordKey(const SortOrder& order, const RecordView& record, CEOID oid, const Collation& collation,
                     Key& key) {
    for (WORD i = 0; i < order.count; ++i) {
        const CEPROPID propid = order.props[i];
        auto entry = record.Find(propid);
        if (TypeFromPropID(propid) == CEVT_RECID) entry = PropEntry{propid, record.AutoNumber(), 0};
        std::optional<Bytes> bytes = Bytes();
        if (entry && HasBytes(propid)) bytes = record.BytesOf(*entry);
        if (entry && bytes)
            AppendPresent(propid, order.flags[i], ScalarOf(*entry), *bytes, collation, key);
        else
            key.push_back(order.flags[i] & CEDB_SORT_UNKNOWNFIRST ? kAbsentFirst : kAbsentLast);
    }
    AppendOid(oid, key);
}

bool AppendValueKey(const SortOrder& order, std::span<const CEPROPVAL> values, const Collation& collation,
                    Key& key) {
    if (values.empty() || values.size() > order.count) return false;
    for (size_t i = 0; i < values.size(); ++i) {
        const CEPROPVAL& value = values[i];
        if (value.propid != order.props[i]) return false;
        const Bytes text = HasBytes(value.propid) ? TextBytes(value.val.lpwstr) : Bytes();
        AppendPresent(value.propid, order.flags[i], value.val, text, collation, key);
    }
    return true;
}

void NextPrefix(Key& prefix) {
    while (!prefix.empty() && prefix.back() == 0xFF) prefix.pop_back();
    if (!prefix.empty()) ++prefix.back();
}

bool BeginsWith(Bytes key, Bytes prefix) {
    return key.size() >= prefix.size() && std::equal(prefix.begin(), prefix.end(), key.begin());
}

} // namespace plat
