// Which task of an iCalendar file hangs below which.
#include "apps/qn/icssave.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <unordered_set>

namespace qn {

namespace {

constexpr const WCHAR* kParentName =
    u"QN_ParentOID"; // a double: the number of the parent, and a half for an open branch
constexpr int kDeepest = 1000;

// Nothing where a task has never had a place in the tree.
std::optional<double> StoredParent(const Com<IItem>& bag, DWORD property) {
    const Property stored(bag, property);
    if (!stored.Value()) return std::nullopt;
    const double value = stored.Value()->val.dblVal;
    return value >= 0 && value <= 0xFFFFFFFF ? value : 0;
}

} // namespace

DWORD IcsSaver::ParentProperty() {
    if (m_parentProperty) return m_parentProperty;
    CEPROPID id = 0;
    Check(m_store.App()->GetIDsFromNames(1, &kParentName, CEVT_R8 | kCreateNamedProperty, &id));
    return m_parentProperty = id;
}

CEOID IcsSaver::ParentOf(CEOID oid, Parents& parents) {
    const auto [at, isNew] = parents.try_emplace(oid, 0);
    Com<IItem> bag;
    if (isNew && SUCCEEDED(m_store.App()->GetItemFromOidEx(oid, 0, bag.Out())))
        at->second = static_cast<CEOID>(std::floor(StoredParent(bag, ParentProperty()).value_or(0)));
    return at->second;
}

// True also when the way up is too long for a tree that anyone made.
bool IcsSaver::LeadsTo(CEOID from, CEOID oid, Parents& parents) {
    for (int depth = 0; from; from = ParentOf(from, parents))
        if (from == oid || ++depth > kDeepest) return true;
    return false;
}

// A task that is new in the tree is open, so that who imports a tree sees it; one that was closed since stays so.
void IcsSaver::StoreParent(CEOID oid, CEOID parent, bool isParent) {
    Com<IItem> bag;
    Check(m_store.App()->GetItemFromOidEx(oid, 0, bag.Out()));
    const double open = parent != 0 || isParent ? 0.5 : 0;
    const std::optional<double> stored = StoredParent(bag, ParentProperty());
    CEPROPVAL value{};
    value.propid = ParentProperty();
    value.val.dblVal = static_cast<double>(parent) + (stored ? *stored - std::floor(*stored) : open);
    if (value.val.dblVal != stored.value_or(0)) Check(bag->SetProps(0, 1, &value));
}

// A file that knows of parents tells where all of its tasks stand; another one leaves the tree as it is.
void IcsSaver::SaveParents() {
    if (std::ranges::all_of(m_places, [](const Place& place) { return place.parentUid.empty(); })) return;
    Parents parents;
    for (const Place& place : m_places) parents[place.oid] = 0;
    for (const Place& place : m_places) {
        if (place.parentUid.empty()) continue;
        const CEOID parent = Find(olFolderTasks, m_store.UidProperty(true), place.parentUid);
        if (!parent)
            Remark("parents of to-dos that are not there");
        else if (LeadsTo(parent, place.oid, parents))
            Complain(place.line, "its parents lead back to itself: it stands at the top");
        else
            parents[place.oid] = parent;
    }
    std::unordered_set<CEOID> above;
    for (const auto& [oid, parent] : parents) above.insert(parent);
    for (const Place& place : m_places) try {
            StoreParent(place.oid, parents[place.oid], above.contains(place.oid));
        } catch (const SaveFailed& failed) {
            Complain(place.line, WhyNotSaved(failed));
        }
}

} // namespace qn
