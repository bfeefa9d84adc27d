#include "QNWorkerClass/DATAGENERAL.h"

#include <cstdlib>

void DATAGENERAL::NullData() {
    for (WCHAR** text : {&m_szText, &m_szCategories, &m_szSubject, &m_szIcon, &m_szImage, &m_szLinkedTitle}) {
        std::free(*text);
        *text = nullptr;
    }
    m_dtDate = m_dtStart = m_dtEnd = kNoDate;
    m_nType = 0;
    m_oid = m_oidRecord = 0;
    m_lSensitivity = 0;
    m_bHasNote = m_bHasLink = m_bFilled = 0;
    m_bFlag = 1;
    m_oidLinked = 0;
    m_nLinkedType = 0;
    m_textKey.clear();
}

DATAPARENT::DATAPARENT() : m_listChildren(1, 1) {}

DATAPARENT::~DATAPARENT() = default;
