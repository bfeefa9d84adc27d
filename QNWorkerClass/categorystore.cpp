#include "QNWorkerClass/sidestores.h"

#include "NorvoTools/CeDb.h"
#include "NorvoTools/CeDbRecord.h"
#include "Platform/databases.h"
#include "Platform/poom.h"

#include <array>

namespace {

constexpr std::size_t kCategoryNameLimit = 1024;

SORTORDERSPECEX CategoryFirst() {
    SORTORDERSPECEX sort{};
    sort.wVersion = 2;
    sort.wNumProps = 2;
    sort.rgPropID[0] = kPropAssocCategory;
    sort.rgPropID[1] = kPropAssocItem;
    return sort;
}

// Whether an item of the kind is in the category: the first association past the kind's bits tells. A task has both
// bits, so a category that only tasks use counts for the other kinds too, as it always did.
bool IsUsedBy(CeDb& assoc, LONG category, DWORD kindBits) {
    std::array<CEPROPVAL, 2> key{};
    key[0].propid = kPropAssocCategory;
    key[0].val.lVal = category;
    key[1].propid = kPropAssocItem;
    key[1].val.ulVal = kindBits;
    if (!assoc.SeekGreaterRec(key.data(), 2)) return false;
    CeDbRecord record;
    std::array<DWORD, 2> ids{kPropAssocCategory, kPropAssocItem};
    if (!assoc.ReadRec(record, 2, ids.data())) return false;
    LONG foundCategory = 0;
    LONG oid = 0;
    return record.GetIndexVal(0, foundCategory) && record.GetIndexVal(1, oid) && foundCategory == category &&
           (static_cast<DWORD>(oid) & kindBits) == kindBits;
}

bool ReadCategory(CeDb& main, CategoryEntry& entry) {
    CeDbRecord record;
    std::array<DWORD, 2> ids{kPropCategoryId, kPropCategoryName};
    if (!main.ReadRec(record, 2, ids.data())) return false;
    entry.oidRecord = record.m_oid;
    LONG id = 0;
    record.GetIndexVal(0, id);
    entry.lId = id & 0xFFFF;
    entry.szName = record.TextAt(1).substr(0, kCategoryNameLimit);
    return true;
}

} // namespace

std::vector<CategoryEntry> ReadCategoryStore() {
    std::vector<CategoryEntry> entries;
    CeDb main;
    if (!main.MountVolumeEDB(kPimVolume, false) ||
        !main.OpenEDB(0, kCategoryMainDb, nullptr, 0, nullptr, nullptr))
        return entries;
    CeDb assoc;
    SORTORDERSPECEX sort = CategoryFirst();
    const bool haveAssoc = assoc.MountVolumeEDB(kPimVolume, false) &&
                           assoc.OpenEDB(0, kCategoryAssocDb, &sort, 0, nullptr, nullptr);
    for (CEOID oid = main.SeekFirst(); oid; oid = main.SeekNext()) {
        CategoryEntry entry;
        if (!ReadCategory(main, entry)) continue;
        if (entry.szName.empty()) {
            main.DeleteRecord(oid); // the cursor stays in the gap: the next step gives the record behind it
            continue;
        }
        if (haveAssoc) {
            entry.bUsedByAppointments = IsUsedBy(assoc, entry.lId, kOidAppointment);
            entry.bUsedByContacts = IsUsedBy(assoc, entry.lId, kOidContact);
            entry.bUsedByTasks = IsUsedBy(assoc, entry.lId, kOidTask);
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}
