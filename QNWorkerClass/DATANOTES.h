// One row of the notes list or tree: a folder or a note. Owned by the list or the parent row it stands in.
#pragma once

#include "NorvoTools/CePtrList.h"
#include "Platform/types.h"

struct QN_API DATANOTES {
    DATANOTES();
    ~DATANOTES();
    DATANOTES(const DATANOTES&) = delete;
    DATANOTES& operator=(const DATANOTES&) = delete;

    // Clears the row; with bChildren the children too.
    void NullData(bool bChildren);
    bool IsParentNode() const { return NumChildren() != 0; }
    LONG NumChildren() const;
    LONG TotalNumChildren() const; // all depths

    DWORD m_oid = 0;
    BSTR m_bstrTitle = nullptr; // owned, as the next two
    BSTR m_bstrCategory = nullptr;
    BSTR m_bstrPath = nullptr;
    LONG m_lSize = 0; // kilobytes
    FILETIME m_ftCreated = {};
    FILETIME m_ftModified = {};
    FILETIME m_ftAlarm = {};
    BYTE m_abBlock[16] = {};
    LONG m_nParentIndex = 0;
    LONG m_nFlags = 0;
    BYTE m_bExpanded = 1;
    CePtrList<DATANOTES*> m_listChildren; // owned; first index 0
    LONG m_nChildCount = 0;
    BYTE m_bPrivate = 0;
    BYTE m_bHasAlarm = 0;
};
