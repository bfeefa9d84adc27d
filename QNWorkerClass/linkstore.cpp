#include "QNWorkerClass/linkstore.h"

#include "NorvoTools/CeDb.h"
#include "NorvoTools/errors.h"
#include "Platform/threads.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <iterator>

namespace {

constexpr WCHAR kStore[] = u"QuillonaryLinks";
constexpr CEPROPID kNumber = 0x00000003;
constexpr CEPROPID kOwner = 0x00010003;
constexpr CEPROPID kTarget = 0x00020003;
constexpr CEPROPID kDisplayText = 0x0006001F; // older versions had none
// Number, owner, target, path, kind, flag, displayed text.
constexpr std::array<CEPROPID, 7> kIds{kNumber,    kOwner,     kTarget,     0x0003001F,
                                       0x00040003, 0x00050003, kDisplayText};

CEPROPSPEC SpecOf(CEPROPID id) { return {2, id, 0, nullptr, 0}; }

bool CreateStore(CeDb& db) {
    constexpr CEPROPID kOrders[] = {kOwner, kNumber, kTarget};
    SORTORDERSPECEX orders[std::size(kOrders)]{};
    for (std::size_t i = 0; i < std::size(kOrders); ++i) {
        orders[i].wVersion = 2;
        orders[i].wNumProps = 1;
        orders[i].rgPropID[0] = kOrders[i];
    }
    std::array<CEPROPSPEC, kIds.size()> props{};
    std::ranges::transform(kIds, props.begin(), &SpecOf);
    return db.Create(kStore, 0, static_cast<WORD>(std::size(orders)), orders, static_cast<WORD>(props.size()),
                     props.data()) &&
           db.Open(kStore, kOwner);
}

void AddDisplayText(CeDb& db) {
    constexpr WORD kOldCount = 6;
    std::array<CEPROPSPEC, 16> props{};
    auto count = static_cast<WORD>(props.size());
    if (!CeGetDatabaseProps(db.m_hDb, &count, nullptr, props.data()) || count != kOldCount) return;
    const CEPROPSPEC added = SpecOf(kDisplayText);
    db.AddDatabaseProps(db.m_oid, 1, &added);
}

} // namespace

bool CLinks::CheckAndCreateDB() {
    static std::atomic<bool> checked{false};
    if (checked.exchange(true)) return true;
    CeDb db;
    bool open = db.Open(kStore, kOwner);
    if (!open && GetLastError() == ERROR_NOT_ENOUGH_MEMORY) {
        ShowError(u"Unable to open database - Out of Memory");
        return false;
    }
    if (!open) open = CreateStore(db);
    if (open) AddDisplayText(db);
    return open;
}
