#include "QNWorkerClass/DATATASKS.h"

#include "Platform/strings.h"

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t kSpareCharacters = 8; // the views append to these texts in place

WCHAR* CopyWithRoom(const WCHAR* text) {
    if (!text) return nullptr;
    const std::size_t length = wcslen(text);
    auto* copy = static_cast<WCHAR*>(std::calloc(length + 1 + kSpareCharacters, sizeof(WCHAR)));
    if (copy) std::memcpy(copy, text, length * sizeof(WCHAR));
    return copy;
}

void FreeText(WCHAR*& text) {
    std::free(text);
    text = nullptr;
}

} // namespace

DATATASKS::DATATASKS() : m_listChildren(0, 1) {}

DATATASKS::~DATATASKS() { NullData(true); }

void DATATASKS::NullData(bool bChildren) {
    FreeText(m_szSubject);
    FreeText(m_szCategories);
    FreeText(m_szIcon);
    m_oid = m_oidRecord = 0;
    m_nImportance = 1;
    m_lSensitivity = m_lPrioNumber = 0;
    m_szPriorityLetter[0] = m_szPriorityNumber[0] = 0;
    m_dtDue = m_dtDueSpare = m_dtStart = m_dtStartSpare = m_dtCompleted = m_dtReminder = kNoDate;
    m_wFlag7 = m_wFlag8 = 0;
    m_bHasNote = m_bHasLink = m_bHasJournalLink = m_bCompleted = m_bStarred = 0;
    m_wPercent = 0;
    m_bOverdue = m_bDueToday = 0;
    m_oidProject = 0;
    m_lGtdStatus = 0;
    m_lManagerOrdinal = 0;
    m_bCountedActive = m_bCountedCompleted = m_bCountedPercent = 0;
    m_keys = {};
    if (!bChildren) return;
    m_listChildren.Clear();
    m_oidParent = m_oidParentStored = 0;
    m_bExpanded = 1;
    m_bHidden = m_bLoaded = m_bKeptForChildren = 0;
    m_pParent = nullptr;
    m_nDepth = m_nProgress = 0;
}

DATATASKS* DATATASKS::Copy(bool bChildren) const {
    auto* row = new DATATASKS;
    row->m_oid = m_oid;
    row->m_oidRecord = m_oidRecord;
    row->m_nImportance = m_nImportance;
    row->m_lSensitivity = m_lSensitivity;
    row->m_lPrioNumber = m_lPrioNumber;
    std::memcpy(row->m_szPriorityLetter, m_szPriorityLetter, sizeof m_szPriorityLetter);
    std::memcpy(row->m_szPriorityNumber, m_szPriorityNumber, sizeof m_szPriorityNumber);
    row->m_szSubject = CopyWithRoom(m_szSubject);
    row->m_szCategories = CopyWithRoom(m_szCategories);
    row->m_szIcon = CopyWithRoom(m_szIcon);
    row->m_dtDue = m_dtDue;
    row->m_dtDueSpare = m_dtDueSpare;
    row->m_dtStart = m_dtStart;
    row->m_dtStartSpare = m_dtStartSpare;
    row->m_dtCompleted = m_dtCompleted;
    row->m_dtReminder = m_dtReminder;
    row->m_wFlag7 = m_wFlag7;
    row->m_wFlag8 = m_wFlag8;
    row->m_bHasNote = m_bHasNote;
    row->m_bHasLink = m_bHasLink;
    row->m_bHasJournalLink = m_bHasJournalLink;
    row->m_bCompleted = m_bCompleted;
    row->m_bStarred = m_bStarred;
    row->m_wPercent = m_wPercent;
    row->m_bOverdue = m_bOverdue;
    row->m_bDueToday = m_bDueToday;
    row->m_oidParent = m_oidParent;
    row->m_oidParentStored = m_oidParentStored;
    row->m_oidProject = m_oidProject;
    row->m_bExpanded = m_bExpanded;
    row->m_bHidden = m_bHidden;
    row->m_bLoaded = m_bLoaded;
    row->m_bKeptForChildren = m_bKeptForChildren;
    row->m_bCountedActive = m_bCountedActive;
    row->m_bCountedCompleted = m_bCountedCompleted;
    row->m_bCountedPercent = m_bCountedPercent;
    row->m_lGtdStatus = m_lGtdStatus;
    row->m_nDepth = m_nDepth;
    row->m_lManagerOrdinal = m_lManagerOrdinal;
    row->m_nProgress = m_nProgress;
    row->m_keys = m_keys;
    if (!bChildren) return row;
    for (DATATASKS* child : m_listChildren) {
        DATATASKS* copy = child->Copy(true);
        copy->m_pParent = row;
        row->m_listChildren.Add(copy);
    }
    return row;
}

LONG DATATASKS::NumChildren() const { return static_cast<LONG>(m_listChildren.Count()); }

// Without recursion: a chain of parents may be as long as the list.
LONG DATATASKS::TotalNumChildren() const {
    LONG total = 0;
    std::vector<const DATATASKS*> rows{this};
    while (!rows.empty()) {
        const DATATASKS* row = rows.back();
        rows.pop_back();
        total += row->NumChildren();
        rows.insert(rows.end(), row->m_listChildren.begin(), row->m_listChildren.end());
    }
    return total;
}
