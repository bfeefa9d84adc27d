#include "QNWorkerClass/DATANOTES.h"

#include "Platform/memory.h"

DATANOTES::DATANOTES() : m_listChildren(0, PTRLIST_DELETE) {}

DATANOTES::~DATANOTES() { NullData(true); }

void DATANOTES::NullData(bool bChildren) {
    for (BSTR* text : {&m_bstrTitle, &m_bstrCategory, &m_bstrPath}) {
        SysFreeString(*text);
        *text = nullptr;
    }
    m_oid = m_oidDatabase = 0;
    m_lSize = m_nFlags = m_lHidden = m_nKind = 0;
    m_crColor = 0;
    m_ftCreated = m_ftModified = m_ftAlarm = {};
    m_bFolder = m_bShown = m_bPrivate = m_bHasAlarm = 0;
    m_titleKey.clear();
    if (!bChildren) return;
    m_listChildren.Clear();
    m_bExpanded = 1;
    m_oidParent = 0;
    m_nDepth = 0;
    m_pParent = nullptr;
}

LONG DATANOTES::NumChildren() const { return static_cast<LONG>(m_listChildren.Count()); }

LONG DATANOTES::TotalNumChildren() const {
    LONG total = NumChildren();
    for (const DATANOTES* child : m_listChildren) total += child->TotalNumChildren();
    return total;
}
