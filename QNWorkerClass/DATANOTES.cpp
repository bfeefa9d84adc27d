#include "QNWorkerClass/DATANOTES.h"

#include "Platform/memory.h"

#include <cstring>

DATANOTES::DATANOTES() : m_listChildren(0, 1) {}

DATANOTES::~DATANOTES() { NullData(true); }

void DATANOTES::NullData(bool bChildren) {
    for (BSTR* text : {&m_bstrTitle, &m_bstrCategory, &m_bstrPath}) {
        SysFreeString(*text);
        *text = nullptr;
    }
    m_oid = 0;
    m_lSize = 0;
    m_ftCreated = m_ftModified = m_ftAlarm = {};
    std::memset(m_abBlock, 0, sizeof m_abBlock);
    m_nParentIndex = m_nFlags = 0;
    m_bPrivate = m_bHasAlarm = 0;
    if (!bChildren) return;
    m_listChildren.Clear();
    m_bExpanded = 1;
    m_nChildCount = 0;
}

LONG DATANOTES::NumChildren() const { return static_cast<LONG>(m_listChildren.Count()); }

LONG DATANOTES::TotalNumChildren() const {
    LONG total = NumChildren();
    for (const DATANOTES* child : m_listChildren) total += child->TotalNumChildren();
    return total;
}
