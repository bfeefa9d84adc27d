// The optional notes library, "pwnotesapi.dll": databases of notes that another program keeps. Any of its entries may be
// missing, each is then null; without the library all are.
//
// The library is loaded when the first user of the process comes, and freed with the last.
#pragma once

#include "Platform/types.h"

inline constexpr DWORD kLibraryNoteProperty = 0x0002001F; // what a walk over notes goes by

// What the library tells of a note.
struct PWN_NOTE {
    DWORD dwSize;      // 584, set by the caller
    DWORD oid;         // 0: no note
    WCHAR szName[128]; // ended by zero or by the room, as the categories
    WCHAR szCategories[128];
    LONG nColor; // 0 to 4
    LONG nFlags;
    LONG bPrivate;
    DWORD dwGap;
    SYSTEMTIME stModified;
    SYSTEMTIME stCreated;
    SYSTEMTIME stUnused;
};
static_assert(sizeof(PWN_NOTE) == 584);

struct NoteLibrary {
    // The database behind the last one (null: the first); null at the end. A walk is ended by CloseFindDBHandle.
    HANDLE (*FindNextDatabase)(HANDLE last);
    DWORD (*GetDatabaseOid)(HANDLE database);
    int (*GetDatabaseName)(HANDLE database, WCHAR* name, int chars); // above 0 when there is one
    void (*CloseFindDBHandle)(HANDLE last);
    HANDLE (*FindNextNote)(DWORD database, HANDLE last, DWORD property); // as FindNextDatabase
    int (*GetNoteData)(HANDLE note, PWN_NOTE* data);                     // 1 on success
    void (*CloseFindNoteHandle)(HANDLE last);
    WCHAR* (*GetNotePreviewText)(DWORD database, DWORD note); // the caller's, by free; or null

    bool HasDatabases() const {
        return FindNextDatabase && GetDatabaseOid && GetDatabaseName && CloseFindDBHandle;
    }
    bool HasNotes() const { return FindNextNote && GetNoteData && CloseFindNoteHandle; }
};

// A share in the library.
class NoteLibraryUse {
public:
    NoteLibraryUse();
    ~NoteLibraryUse();
    NoteLibraryUse(const NoteLibraryUse&) = delete;
    NoteLibraryUse& operator=(const NoteLibraryUse&) = delete;
    const NoteLibrary* operator->() const { return &m_entries; }

private:
    NoteLibrary m_entries;
};
