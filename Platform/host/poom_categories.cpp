// Categories of items: the text of a getter against the rows of CategoryMainDB and CategoryAssocDB.
#include "Platform/host/poom_store.h"

#include "Platform/threads.h"

#include <algorithm>
#include <map>

namespace plat::poom {

namespace {

constexpr CEPROPID kCategoryId =
    0x00010066; // the automatic number of CategoryMainDB, of which 16 bits are used
constexpr CEPROPID kCategoryName = 0x0002001F;
constexpr CEPROPID kAssociatedItem = 0x00010013;
constexpr CEPROPID kAssociatedCategory = 0x00020003;

std::u16string_view Trimmed(std::u16string_view text) {
    const auto first = text.find_first_not_of(u" \t");
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(u" \t") - first + 1);
}

std::vector<std::u16string> SplitNames(std::u16string_view text) {
    std::vector<std::u16string> names;
    while (!text.empty()) {
        const auto comma = std::min(text.find(u','), text.size());
        const auto name = Trimmed(text.substr(0, comma));
        if (!name.empty() && std::ranges::find(names, name) == names.end()) names.emplace_back(name);
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return names;
}

// The ids that the item has now, ascending, with their records.
std::map<LONG, CEOID> AssociationsOf(Store& store, CEOID oid) {
    std::map<LONG, CEOID> found;
    const CEPROPVAL keys[] = {KeyOf(kAssociatedItem, oid)};
    const CEPROPID ids[] = {kAssociatedCategory};
    for (bool more = store.Seek(Side::Associations, keys); more;
         more = store.SeekNextEqual(Side::Associations, keys)) {
        CEOID record = 0;
        if (const CEPROPVAL* values = store.Read(Side::Associations, ids, &record))
            found[values[0].val.lVal] = record;
    }
    return found;
}

std::optional<LONG> FindCategory(Store& store, std::u16string_view name) {
    const CEPROPID ids[] = {kCategoryName, kCategoryId};
    for (bool more = store.SeekNth(Side::Categories, 0, false); more;
         more = store.SeekNth(Side::Categories, 1, true)) {
        const CEPROPVAL* values = store.Read(Side::Categories, ids);
        if (values && !(values[0].wFlags & CEDB_PROPNOTFOUND) && name == values[0].val.lpwstr)
            return static_cast<LONG>(values[1].val.ulVal & 0xFFFF);
    }
    return std::nullopt;
}

std::optional<LONG> AddCategory(Store& store, std::u16string_view name) {
    PropValue text = PropValue::Text(kCategoryName, name);
    PropValue* const values[] = {&text};
    const CEOID record = store.Write(Side::Categories, 0, values);
    const CEPROPID ids[] = {kCategoryId};
    if (!record || !store.SeekRecord(Side::Categories, record)) return std::nullopt;
    const CEPROPVAL* read = store.Read(Side::Categories, ids);
    if (!read) return std::nullopt;
    return static_cast<LONG>(read[0].val.ulVal & 0xFFFF);
}

} // namespace

std::u16string ReadCategories(Store& store, CEOID oid) {
    std::u16string joined;
    const CEPROPID ids[] = {kCategoryName};
    for (const auto& [id, record] : AssociationsOf(store, oid)) {
        const CEPROPVAL keys[] = {KeyOf(kCategoryId, static_cast<DWORD>(id))};
        if (!store.Seek(Side::Categories, keys)) continue;
        const CEPROPVAL* values = store.Read(Side::Categories, ids);
        if (!values || (values[0].wFlags & CEDB_PROPNOTFOUND)) continue;
        if (!joined.empty()) joined += u", ";
        joined += values[0].val.lpwstr;
    }
    return joined;
}

HRESULT WriteCategories(Store& store, CEOID oid, std::u16string_view text) {
    if (store.Get(Side::Associations) == INVALID_HANDLE_VALUE ||
        store.Get(Side::Categories) == INVALID_HANDLE_VALUE)
        return GetLastError() == ERROR_FILE_NOT_FOUND ? S_OK : LastFailure();
    auto before = AssociationsOf(store, oid);
    for (const auto& name : SplitNames(text)) {
        auto id = FindCategory(store, name);
        if (!id) id = AddCategory(store, name);
        if (!id) return LastFailure();
        if (before.erase(*id)) continue;
        PropValue item = PropValue::Number(kAssociatedItem, oid);
        PropValue category = PropValue::Number(kAssociatedCategory, static_cast<DWORD>(*id));
        PropValue* const values[] = {&item, &category};
        if (!store.Write(Side::Associations, 0, values)) return LastFailure();
    }
    for (const auto& [id, record] : before)
        if (!store.Delete(Side::Associations, record)) return LastFailure();
    return S_OK;
}

} // namespace plat::poom
