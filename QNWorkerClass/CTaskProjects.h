// The projects that tasks belong to: names with ids, in a small store of the suite's own ("QN_Projects"). A task points at
// its project by the named property QN_GTDProject; nothing here points back.
//
// An object belongs to one thread. The store is made at the first need of the process.
#pragma once

#include "NorvoTools/CeDb.h"
#include "NorvoTools/CePtrList.h"
#include "NorvoTools/CeString.h"
#include "Platform/types.h"

struct TASK_PROJECT {
    DWORD oid;
    CeString name;
};

class QN_API CTaskProjects {
public:
    explicit CTaskProjects(HWND hwnd = nullptr); // the window is told of changes of the store

    // Once a process: makes the store when it can't be opened. A store that goes later stays away.
    void CheckAndCreateDB();
    bool OpenDB();
    // All projects by name, first index 0; the list belongs to the object. Null when the store can't be opened.
    CePtrList<TASK_PROJECT*>* LoadProjects();
    void SortByName();
    // The OID, also of one of this name that is there already; 0 for no name and on failure, which is reported.
    DWORD CreateProject(const WCHAR* name);
    TASK_PROJECT* FindProjectbyID(DWORD oid); // null when there is none
    // Tasks of the project keep their pointer, which then points nowhere.
    void RemoveProject(DWORD oid);

private:
    CeDb m_db;
    CePtrList<TASK_PROJECT*> m_listProjects;
    HWND m_hWnd;
};
