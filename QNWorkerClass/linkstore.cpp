#include "QNWorkerClass/linkstore.h"

#include "NorvoTools/CeDb.h"
#include "NorvoTools/errors.h"
#include "Platform/threads.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

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

struct Link {
    CEOID owner;
    CEOID target;
    std::u16string_view text;
    LinkKind kind;
    LONG flag;
    std::u16string_view display;
};

enum Field : int { kNumberAt, kOwnerAt, kTargetAt, kTextAt, kKindAt, kFlagAt, kDisplayAt };

LONG NumberAt(const CeDbRecord& record, int field) {
    LONG value = 0;
    record.GetIndexVal(field, value);
    return value;
}

// Messages are told apart by number and text, or by the text alone; everything else by the target.
bool IsSame(const CeDbRecord& record, const Link& link) {
    if (NumberAt(record, kKindAt) != static_cast<LONG>(link.kind)) return false;
    const bool target = NumberAt(record, kTargetAt) == static_cast<LONG>(link.target);
    if (link.kind != LinkKind::kMail) return target;
    const LONG flag = NumberAt(record, kFlagAt);
    return record.TextAt(kTextAt) == link.text && (flag == 0 || (flag == 1 && target));
}

bool IsThere(CeDb& db, const Link& link) {
    CEPROPVAL owner{};
    owner.propid = kOwner;
    owner.val.lVal = static_cast<LONG>(link.owner);
    CeDbRecord record;
    for (CEOID at = db.SeekRec(&owner, 1); at; at = db.SeekNextRec(&owner, 1))
        if (db.ReadRec(record, static_cast<WORD>(kIds.size()), kIds.data()) && IsSame(record, link))
            return true;
    return false;
}

// One more than the last, so that the number of a link that went comes again.
LONG NextNumber() {
    CeDb db;
    CeDbRecord record;
    const bool any = db.Open(kStore, kNumber) && db.SeekLast() && db.ReadRec(record, 1, &kNumber);
    return any ? NumberAt(record, 0) + 1 : 1;
}

bool AddLink(CeDb& db, const Link& link, LONG number) {
    CeDbRecord record;
    record.AddProps(kIds.data(), static_cast<WORD>(kIds.size()));
    record.SetIndexVal(kNumberAt, number);
    record.SetIndexVal(kOwnerAt, static_cast<LONG>(link.owner));
    record.SetIndexVal(kTargetAt, static_cast<LONG>(link.target));
    record.SetIndexVal(kKindAt, static_cast<LONG>(link.kind));
    record.SetIndexVal(kFlagAt, link.flag);
    const bool hasText = link.target == 0 || link.kind == LinkKind::kFile || link.kind == LinkKind::kMail;
    const auto put = [&](int field, std::u16string_view text, bool wanted) {
        if (wanted && !text.empty())
            record.SetIndexVal(field, std::u16string(text).c_str());
        else
            record.RemProp(field);
    };
    put(kTextAt, link.text, hasText);
    put(kDisplayAt, link.display, true);
    return db.AddRec(record);
}

std::u16string_view ViewOf(const WCHAR* text) {
    return text ? std::u16string_view(text) : std::u16string_view();
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

bool CLinks::Create(CEOID owner, CEOID target, const WCHAR* text, LinkKind kind, LONG flag,
                    const WCHAR* display) {
    if (owner == 0 || owner == target) return false;
    CLinkBatch batch;
    return batch.Create(owner, target, text, kind, flag, display) && batch.Commit();
}

std::vector<std::pair<CEOID, CEOID>> CLinks::ItemPairs() {
    std::vector<std::pair<CEOID, CEOID>> pairs;
    CeDb db;
    if (!db.Open(kStore, kOwner)) return pairs;
    CeDbRecord record;
    for (CEOID at = db.SeekFirst(); at; at = db.SeekNext()) {
        if (!db.ReadRec(record, static_cast<WORD>(kIds.size()), kIds.data())) continue;
        const auto kind = static_cast<LinkKind>(NumberAt(record, kKindAt));
        const bool item =
            kind == LinkKind::kContact || kind == LinkKind::kAppointment || kind == LinkKind::kTask;
        const auto owner = static_cast<CEOID>(NumberAt(record, kOwnerAt));
        const auto target = static_cast<CEOID>(NumberAt(record, kTargetAt));
        if (item && owner && target) pairs.emplace_back(owner, target);
    }
    return pairs;
}

CLinkBatch::CLinkBatch() {
    CLinks::CheckAndCreateDB();
    m_bOpen = m_db.Open(kStore, kOwner) && m_db.BeginTransaction();
}

CLinkBatch::~CLinkBatch() {
    if (m_bOpen) m_db.RollBack();
}

bool CLinkBatch::Create(CEOID owner, CEOID target, const WCHAR* text, LinkKind kind, LONG flag,
                        const WCHAR* display) {
    if (!m_bOpen || owner == 0 || owner == target) return false;
    const Link link{owner, target, ViewOf(text), kind, flag, ViewOf(display)};
    if ((target != 0 || kind == LinkKind::kMail) && IsThere(m_db, link)) return true;
    if (m_nNumber == 0) m_nNumber = NextNumber();
    return AddLink(m_db, link, m_nNumber++);
}

bool CLinkBatch::Commit() { return std::exchange(m_bOpen, false) && m_db.Commit(); }
