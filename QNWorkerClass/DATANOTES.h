// One row of the notes list or tree: a folder or a note. Owned by the list or the parent row it stands in; the thread of a
// notes view owns all of its rows itself.
#pragma once

#include "NorvoTools/CePtrList.h"
#include "Platform/types.h"

#include <string>

// Kinds of rows. A folder of files, and the row that stands in an empty one, have none.
inline constexpr LONG kNoteFile = 9; // of a kind that isn't told below
inline constexpr LONG kNoteRecording = 10;
inline constexpr LONG kNotePmi = 11;
inline constexpr LONG kNoteDatabase = 12; // a database of the notes library, or a note in one

struct QN_API DATANOTES {
    DATANOTES();
    ~DATANOTES();
    DATANOTES(const DATANOTES&) = delete;
    DATANOTES& operator=(const DATANOTES&) = delete;

    // Clears the row; with bChildren the children and the fields of the tree too.
    void NullData(bool bChildren);
    bool IsParentNode() const { return NumChildren() != 0; }
    LONG NumChildren() const;
    LONG TotalNumChildren() const; // all depths

    DWORD m_oid = 0;            // a running number; the library's OID for its notes and databases
    BSTR m_bstrTitle = nullptr; // owned, as the next two
    BSTR m_bstrCategory = nullptr;
    BSTR m_bstrPath = nullptr;
    LONG m_lSize = 0;           // kilobytes
    FILETIME m_ftCreated = {};  // local, as the modified time
    FILETIME m_ftModified = {}; //
    FILETIME m_ftAlarm = {};
    COLORREF m_crColor = 0; // of a note of the library, as the next two
    LONG m_nFlags = 0;
    DWORD m_oidDatabase = 0;
    LONG m_lHidden = 0; // 2 for a folder that shows only with all folders, else 0
    LONG m_nKind = 0;
    BYTE m_bFolder = 0;
    BYTE m_bShown = 0;
    BYTE m_bPrivate = 0;
    BYTE m_bHasAlarm = 0;
    BYTE m_bExpanded = 1;
    DWORD m_oidParent = 0;
    SHORT m_nDepth = 0;
    DATANOTES* m_pParent = nullptr;       // not owned
    CePtrList<DATANOTES*> m_listChildren; // owned, but in the rows of a thread; first index 0
    std::string m_titleKey;               // what CompareStringW goes by; empty until a sort needs it
};
