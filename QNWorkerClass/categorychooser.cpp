#include "QNWorkerClass/categorychooser.h"

#include "NorvoTools/CRegistry.h"
#include "NorvoTools/CeString.h"
#include "NorvoTools/globals.h"
#include "Platform/locale.h"
#include "Platform/registry.h"
#include "Platform/strings.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace {

constexpr const WCHAR* kGroupsKey = u"Software\\Norvo\\Quillonary\\Category_GroupHeadings";
constexpr const WCHAR* kGroupStateKey = u"Software\\Norvo\\Quillonary\\CategoryGroupState";
constexpr const WCHAR* kExtraHeader = u"Steflilgu";
constexpr UINT kTextNone = 42358;
constexpr LONG kExpanded = 1;
constexpr LONG kCollapsed = -1;
constexpr LONG kExtraGroup = 1; // behind the first group, before the user's
constexpr LONG kUnknownId = -1;

std::u16string NoneText() {
    CeString text;
    text.LoadStringW(kTextNone, g_hResources);
    return std::u16string(text.View());
}

std::vector<std::u16string> KeyNames(const WCHAR* key, bool bSubKeys) {
    CRegistry settings;
    if (!settings.Exists(HKEY_CURRENT_USER, key)) return {};
    const auto names = bSubKeys ? settings.SubKeyNames() : settings.ValueNames();
    return {names->begin(), names->end()};
}

bool NameBefore(const std::u16string& a, const std::u16string& b) {
    return CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, a.c_str(), -1, b.c_str(), -1) < CSTR_EQUAL;
}

bool Holds(const std::vector<std::u16string>& names, const std::u16string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

int CCategoryBase::CompareFunc(CCategoryItemList* const& a, CCategoryItemList* const& b, CEUSER) {
    if (a->m_nGroupIndex != b->m_nGroupIndex) return a->m_nGroupIndex < b->m_nGroupIndex ? -1 : 1;
    if (a->IsHeader() != b->IsHeader()) return a->IsHeader() ? -1 : 1;
    if ((a->m_nCheck != 0) != (b->m_nCheck != 0)) return a->m_nCheck != 0 ? -1 : 1;
    return CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE, a->m_szName.c_str(), -1, b->m_szName.c_str(),
                          -1) -
           CSTR_EQUAL;
}

auto CCategoryBase::ReadGroups(const std::u16string& noneName) const -> std::vector<Group> {
    std::vector<std::u16string> names = KeyNames(kGroupsKey, true);
    std::sort(names.begin(), names.end(), NameBefore);
    std::erase(names, noneName);
    const std::vector<std::u16string> collapsed = KeyNames(kGroupStateKey, false);
    std::vector<Group> groups;
    LONG nIndex = m_extra.empty() ? kExtraGroup : kExtraGroup + 1;
    for (const std::u16string& name : names) {
        const std::u16string key = std::u16string(kGroupsKey) + u"\\" + name;
        groups.push_back({name, nIndex++, KeyNames(key.c_str(), false), Holds(collapsed, name)});
    }
    return groups;
}

void CCategoryBase::SetupCategories(DWORD mask) {
    m_rows.Clear();
    m_bDuplicates = false;
    const std::u16string noneName = NoneText();
    const std::vector<Group> groups = ReadGroups(noneName);
    const std::vector<std::u16string> collapsed = KeyNames(kGroupStateKey, false);
    const bool bNoneVisible = !Holds(collapsed, noneName);
    AddHeader(noneName, 0, !bNoneVisible);
    if (!m_extra.empty()) {
        const bool bCollapsed = Holds(collapsed, kExtraHeader);
        AddHeader(kExtraHeader, kExtraGroup, bCollapsed);
        for (const std::u16string& name : m_extra) {
            CategoryEntry extra{name, kUnknownId};
            AddRow(extra, kExtraGroup, !bCollapsed);
        }
    }
    for (const Group& group : groups) AddHeader(group.szName, group.nIndex, group.bCollapsed);
    const CategorySnapshot categories = TakeCategorySnapshot();
    for (const CategoryEntry& category : *categories)
        if (category.PassesMask(mask)) PlaceCategory(category, groups, bNoneVisible);
    SortRows();
    if (mask != 0) DropEmptyHeaders();
}

void CCategoryBase::PlaceCategory(const CategoryEntry& category, const std::vector<Group>& groups,
                                  bool bNoneVisible) {
    int placed = 0;
    for (const Group& group : groups) {
        if (!Holds(group.members, category.szName)) continue;
        AddRow(category, group.nIndex, !group.bCollapsed);
        ++placed;
    }
    if (placed == 0) AddToNoneGroup(category, bNoneVisible);
    if (placed > 1) m_bDuplicates = true;
}

void CCategoryBase::AddHeader(const std::u16string& name, LONG nIndex, bool bCollapsed) {
    auto* header = new CCategoryItemList;
    header->m_szName = name;
    header->m_nGroup = bCollapsed ? kCollapsed : kExpanded;
    header->m_nGroupIndex = nIndex;
    m_rows.Add(header);
}

void CCategoryBase::AddRow(const CategoryEntry& category, LONG nIndex, bool bVisible) {
    auto* row = new CCategoryItemList;
    row->m_szName = category.szName;
    row->m_lId = category.lId;
    row->m_oidRecord = category.oidRecord;
    row->m_nGroupIndex = nIndex;
    row->m_bVisible = bVisible;
    m_rows.Add(row);
}

// A header directly in front of another, or at the end, has nothing to show.
void CCategoryBase::DropEmptyHeaders() {
    for (int i = m_rows.GetLast(); i >= m_rows.GetBase(); --i) {
        const CCategoryItemList* row = m_rows.Get(i);
        const CCategoryItemList* next = i < m_rows.GetLast() ? m_rows.Get(i + 1) : nullptr;
        if (row->IsHeader() && (!next || next->IsHeader())) m_rows.RemoveAt(i);
    }
}

bool CCategoryBase::ExpandGroup(int nIndex, bool bExpand) {
    CCategoryItemList* header = m_rows.Get(nIndex);
    if (m_rows.IsMiss() || !header->IsHeader()) return false;
    header->m_nGroup = bExpand ? kExpanded : kCollapsed;
    for (int i = nIndex + 1; i <= m_rows.GetLast(); ++i) {
        CCategoryItemList* row = m_rows.Get(i);
        if (row->IsHeader()) break;
        row->m_bVisible = bExpand;
    }
    CRegistry settings;
    if (settings.OpenKey(HKEY_CURRENT_USER, kGroupStateKey, nullptr) != 0) return true;
    if (bExpand)
        settings.DeleteValue(header->m_szName.c_str());
    else
        settings.SetValue(header->m_szName.c_str(), DWORD{1});
    return true;
}

void CCategoryFilterDlg::SetupChecks(const CFullCategoryList& chosen) {
    std::set<std::u16string_view> names;
    for (const CFullCategory* category : chosen)
        if (category->m_szName) names.insert(category->m_szName);
    for (CCategoryItemList* row : m_rows) {
        if (row->IsHeader() || !names.contains(row->m_szName)) continue;
        row->m_nCheck = 1;
        if (!m_bDuplicates) names.erase(row->m_szName);
    }
}

void CCategoryFilterDlg::OnOK(CFullCategoryList& chosen) {
    std::vector<std::u16string> names;
    for (const CCategoryItemList* row : m_rows)
        if (row->m_nCheck != 0 && !row->IsHeader()) names.push_back(row->m_szName);
    SetChosenList(std::move(names), chosen);
}

void CCategoryFilterDlg::SetChosenList(std::vector<std::u16string> names, CFullCategoryList& chosen) const {
    std::sort(names.begin(), names.end());
    if (m_bDuplicates) names.erase(std::unique(names.begin(), names.end()), names.end());
    chosen.Clear();
    CFullCategoryList all(0, PTRLIST_DELETE);
    GetFullCategoryInfo(all, false);
    for (const CFullCategory* category : all) {
        const auto named = std::find(names.begin(), names.end(), category->m_szName);
        if (named == names.end()) continue;
        chosen.Add(category->Copy());
        names.erase(named);
    }
    for (const std::u16string& name : names) {
        auto* unknown = new CFullCategory;
        unknown->m_szName = _wcsdup(name.c_str());
        unknown->m_lId = kUnknownId;
        chosen.Add(unknown);
    }
}
