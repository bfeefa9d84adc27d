// One row of a mixed result list, and a group of such rows.
#pragma once

#include "NorvoTools/CePtrList.h"
#include "Platform/types.h"
#include "QNWorkerClass/dates.h"

#include <string>

struct QN_API DATAGENERAL {
    DATAGENERAL() = default;
    virtual ~DATAGENERAL() { NullData(); }
    DATAGENERAL(const DATAGENERAL&) = delete;
    DATAGENERAL& operator=(const DATAGENERAL&) = delete;

    void NullData();

    double m_dtDate = kNoDate; // the date that sorting uses
    double m_dtStart = kNoDate;
    double m_dtEnd = kNoDate;
    LONG m_nType = 0;
    WCHAR* m_szText = nullptr; // main text; malloc by AllocLPWSTR, as the next four
    WCHAR* m_szCategories = nullptr;
    WCHAR* m_szSubject = nullptr;
    WCHAR* m_szIcon = nullptr;
    WCHAR* m_szImage = nullptr;
    DWORD m_oid = 0;
    DWORD m_oidRecord = 0;
    LONG m_lSensitivity = 0;
    BYTE m_bHasNote = 0;
    BYTE m_bHasLink = 0;
    BYTE m_bFilled = 0;
    BYTE m_bFlag = 1;
    // Of a journal entry: the item that it belongs to, 0 without one; its kind, as in m_nType; its title.
    DWORD m_oidLinked = 0;
    LONG m_nLinkedType = 0;
    WCHAR* m_szLinkedTitle = nullptr; // malloc
    std::string m_textKey;            // what CompareStringW goes by; empty until a sort needs it
};

// A result group with its hits.
struct QN_API DATAPARENT : DATAGENERAL {
    DATAPARENT();
    ~DATAPARENT() override;

    CePtrList<DATAGENERAL*> m_listChildren; // owned; first index 1
    LONG m_lCount = 0;
};
