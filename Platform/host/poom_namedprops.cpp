// Named properties: their ids in PIMNamedProps, their values in PIMNamedPropVals.
#include "Platform/host/poom_store.h"

#include "Platform/threads.h"

#include <algorithm>
#include <cstring>

namespace plat::poom {

namespace {

constexpr CEPROPID kName = 0x0001001F;
constexpr CEPROPID kNumber = 0x00020013;
constexpr CEPROPID kType = 0x00030013;
constexpr DWORD kFirstNumber = 0x6100;
constexpr DWORD kLastNumber = 0xFFFE;

constexpr CEPROPID kItem = 0x00010013;
constexpr CEPROPID kProperty = 0x00020013;
constexpr CEPROPID kValue = 0x00030041;

std::optional<CEPROPID> FindName(Store& store, std::u16string_view name) {
    std::u16string text(name);
    CEPROPVAL key{};
    key.propid = kName;
    key.val.lpwstr = text.data();
    const CEPROPVAL keys[] = {key};
    const CEPROPID ids[] = {kName, kNumber, kType};
    for (bool more = store.Seek(Side::Names, keys); more; more = store.SeekNextEqual(Side::Names, keys)) {
        const CEPROPVAL* values = store.Read(Side::Names, ids);
        if (values && !(values[0].wFlags & CEDB_PROPNOTFOUND) && name == values[0].val.lpwstr)
            return values[1].val.ulVal << 16 | (values[2].val.ulVal & 0xFFFF);
    }
    return std::nullopt;
}

DWORD NextNumber(Store& store) {
    DWORD next = kFirstNumber;
    const CEPROPID ids[] = {kNumber};
    for (bool more = store.SeekNth(Side::Names, 0, false); more; more = store.SeekNth(Side::Names, 1, true))
        if (const CEPROPVAL* values = store.Read(Side::Names, ids))
            next = std::max(next, values[0].val.ulVal + 1);
    return next;
}

HRESULT AddName(Store& store, std::u16string_view name, WORD type, CEPROPID* id) {
    if (store.Get(Side::Names) == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_NOT_FOUND &&
        !store.InBatch())
        if (HRESULT hr = store.MakeNames(); FAILED(hr)) return hr;
    SaveScope scope(store);
    if (HRESULT hr = scope.Begin(); FAILED(hr)) return hr;
    if (const auto found = FindName(store, name)) { // another process may have been faster
        *id = *found;
        return scope.Commit();
    }
    const DWORD number = NextNumber(store);
    if (number > kLastNumber) return E_FAIL;
    PropValue values[] = {PropValue::Text(kName, name), PropValue::Number(kNumber, number),
                          PropValue::Number(kType, type)};
    PropValue* const pointers[] = {&values[0], &values[1], &values[2]};
    if (!store.Write(Side::Names, 0, pointers)) return LastFailure();
    *id = number << 16 | type;
    return scope.Commit();
}

// --- Values ---------------------------------------------------------------------------------------------------------

std::size_t Width(CEPROPID id) {
    switch (TypeFromPropID(id)) {
    case CEVT_I2:
    case CEVT_UI2:
        return 2;
    case CEVT_R8:
    case CEVT_FILETIME:
        return 8;
    default:
        return 4;
    }
}

std::vector<BYTE> Pack(const PropValue& value) {
    if (TypeFromPropID(value.id) == CEVT_BLOB) return value.bytes;
    std::vector<BYTE> bytes;
    if (TypeFromPropID(value.id) == CEVT_LPWSTR) {
        bytes.resize((value.text.size() + 1) *
                     sizeof(WCHAR)); // with its terminator: readers take it as it stands
        std::memcpy(bytes.data(), value.text.c_str(), bytes.size());
        return bytes;
    }
    bytes.resize(Width(value.id));
    std::memcpy(bytes.data(), &value.number, bytes.size());
    return bytes;
}

PropValue Unpack(CEPROPID id, const CEBLOB& blob) {
    PropValue value{id, false, 0, {}, {}};
    const std::span<const BYTE> bytes(blob.lpb, blob.lpb ? blob.dwCount : 0);
    if (TypeFromPropID(id) == CEVT_BLOB) {
        value.bytes.assign(bytes.begin(), bytes.end());
    } else if (TypeFromPropID(id) == CEVT_LPWSTR) {
        value.text = ByteReader(bytes).Text(bytes.size() / sizeof(WCHAR));
        value.text.resize(std::min(value.text.find(u'\0'), value.text.size()));
    } else if (bytes.size() >= Width(id)) {
        std::memcpy(&value.number, bytes.data(), Width(id));
    } else {
        value.absent = true;
    }
    return value;
}

// The record of one value; 0 when there is none.
CEOID SeekValue(Store& store, CEOID oid, CEPROPID id) {
    const CEPROPVAL keys[] = {KeyOf(kItem, oid), KeyOf(kProperty, id)};
    if (!store.Seek(Side::NamedValues, keys)) return 0;
    const CEPROPID ids[] = {kValue};
    CEOID record = 0;
    store.Read(Side::NamedValues, ids, &record);
    return record;
}

} // namespace

HRESULT IdFromName(Store& store, std::u16string_view name, ULONG flags, CEPROPID* id) {
    *id = kUnknownNamedProperty;
    if (name.empty()) return E_INVALIDARG;
    if (const auto found = FindName(store, name)) {
        *id = *found;
        return S_OK;
    }
    if (!(flags & kCreateNamedProperty)) return S_OK;
    const WORD type = LOWORD(flags);
    if (!IsSettableType(type)) return E_INVALIDARG;
    return AddName(store, name, type, id);
}

PropValue ReadNamed(Store& store, CEOID oid, CEPROPID id) {
    if (!oid || !SeekValue(store, oid, id)) return PropValue::Absent(id);
    const CEPROPID ids[] = {kValue};
    const CEPROPVAL* values = store.Read(Side::NamedValues, ids);
    if (!values || (values[0].wFlags & CEDB_PROPNOTFOUND)) return PropValue::Absent(id);
    return Unpack(id, values[0].val.blob);
}

std::vector<PropValue> ReadAllNamed(Store& store, CEOID oid) {
    std::vector<PropValue> all;
    const CEPROPVAL keys[] = {KeyOf(kItem, oid)};
    const CEPROPID ids[] = {kProperty, kValue};
    for (bool more = store.Seek(Side::NamedValues, keys); more;
         more = store.SeekNextEqual(Side::NamedValues, keys)) {
        const CEPROPVAL* values = store.Read(Side::NamedValues, ids);
        if (values && !((values[0].wFlags | values[1].wFlags) & CEDB_PROPNOTFOUND))
            all.push_back(Unpack(values[0].val.ulVal, values[1].val.blob));
    }
    return all;
}

HRESULT WriteNamed(Store& store, CEOID oid, const PropValue& value) {
    if (store.Get(Side::NamedValues) == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_FILE_NOT_FOUND ? S_OK : LastFailure();
    const CEOID record = SeekValue(store, oid, value.id);
    if (value.absent) return !record || store.Delete(Side::NamedValues, record) ? S_OK : LastFailure();
    PropValue item = PropValue::Number(kItem, oid);
    PropValue property = PropValue::Number(kProperty, value.id);
    PropValue blob{kValue, false, 0, {}, Pack(value)};
    PropValue* const pointers[] = {&item, &property, &blob};
    return store.Write(Side::NamedValues, record, pointers) ? S_OK : LastFailure();
}

void WalkNamedText(Store& store, CEPROPID id,
                   const std::function<bool(CEOID oid, std::u16string_view text)>& visit) {
    const CEPROPID ids[] = {kItem, kProperty, kValue};
    for (bool more = store.SeekNth(Side::NamedValues, 0, false); more;
         more = store.SeekNth(Side::NamedValues, 1, true)) {
        const CEPROPVAL* values = store.Read(Side::NamedValues, ids);
        if (!values || values[1].val.ulVal != id || (values[2].wFlags & CEDB_PROPNOTFOUND)) continue;
        const CEOID oid = values[0].val.ulVal;
        if (!visit(oid, Unpack(id, values[2].val.blob).text)) return;
    }
}

} // namespace plat::poom
