// One row of a task list or tree, or a group header (object id 0). Owned by the list or the parent row it stands in; the
// thread of a task view owns all of its rows itself.
#pragma once

#include "NorvoTools/CePtrList.h"
#include "Platform/types.h"
#include "QNWorkerClass/dates.h"

#include <string>

// What CompareStringW goes by, as bytes that compare in its order; empty until a sort needs them.
struct TaskSortKeys {
    std::string subject;
    std::string categories;
};

struct QN_API DATATASKS {
    DATATASKS();
    ~DATATASKS();
    DATATASKS(const DATATASKS&) = delete;
    DATATASKS& operator=(const DATATASKS&) = delete;

    // Clears the row; with bChildren the children and the fields of the tree too.
    void NullData(bool bChildren);
    // A deep copy that the caller owns; with bChildren the children are copied too.
    DATATASKS* Copy(bool bChildren) const;
    bool IsParentNode() const { return NumChildren() != 0; }
    LONG NumChildren() const;
    LONG TotalNumChildren() const; // all depths

    DWORD m_oid = 0; // 0 is a group header
    DWORD m_oidRecord = 0;
    LONG m_nImportance = 1; // 0 low, 1 normal, 2 high
    LONG m_lSensitivity = 0;
    LONG m_lPrioNumber = 0;
    WCHAR m_szPriorityLetter[4] = {};
    WCHAR m_szPriorityNumber[4] = {};
    WCHAR* m_szSubject = nullptr; // malloc, as the next two
    WCHAR* m_szCategories = nullptr;
    WCHAR* m_szIcon = nullptr;
    double m_dtDue = kNoDate; // each date is followed by a spare
    double m_dtDueSpare = kNoDate;
    double m_dtStart = kNoDate;
    double m_dtStartSpare = kNoDate;
    double m_dtCompleted = kNoDate;
    double m_dtReminder = kNoDate;
    BYTE m_wFlag7 = 0; // recurring
    BYTE m_wFlag8 = 0; // reminder set
    BYTE m_bHasNote = 0;
    BYTE m_bHasLink = 0;
    BYTE m_bHasJournalLink = 0;
    BYTE m_bCompleted = 0;
    BYTE m_bStarred = 0;
    WORD m_wPercent = 0;
    BYTE m_bOverdue = 0;
    BYTE m_bDueToday = 0;
    DWORD m_oidParent = 0;
    DWORD m_oidParentStored = 0;
    DWORD m_oidProject = 0;
    BYTE m_bExpanded = 1;
    BYTE m_bHidden = 0;
    BYTE m_bLoaded = 0;
    BYTE m_bKeptForChildren = 0;
    // The counts of the thread that the row has a share in; the tree may change what it shows meanwhile.
    BYTE m_bCountedActive = 0;
    BYTE m_bCountedCompleted = 0;
    BYTE m_bCountedPercent = 0;
    LONG m_lGtdStatus = 0;
    DATATASKS* m_pParent = nullptr; // not owned
    SHORT m_nDepth = 0;
    CePtrList<DATATASKS*> m_listChildren; // owned, but in the rows of a thread; first index 0
    LONG m_lManagerOrdinal = 0;           // the place under its header in the priority manager, from 1
    SHORT m_nProgress = 0;                // of a header by progress: which one, 0 to 7
    TaskSortKeys m_keys;
};
