// The links of items to items, files and messages, in a database of the suite's own ("QuillonaryLinks").
#pragma once

#include "NorvoTools/CeDb.h"
#include "Platform/types.h"

#include <utility>
#include <vector>

// What a link points at.
enum class LinkKind : LONG { kOldFile = 1, kContact = 2, kAppointment = 3, kTask = 4, kFile = 8, kMail = 15 };

class QN_API CLinks {
public:
    // Once a process: makes the store when it can't be opened; one of an older version gets the property that it lacks.
    // False when the store can't be opened afterwards; for want of memory the user is told.
    static bool CheckAndCreateDB();
    // One link as a change of its own; see CLinkBatch.
    static bool Create(CEOID owner, CEOID target, const WCHAR* text, LinkKind kind, LONG flag,
                       const WCHAR* display);
    // Owner and target of all links between items, also such to items that are gone.
    static std::vector<std::pair<CEOID, CEOID>> ItemPairs();
};

// Links that are written as one change. Until it ends nobody else writes to the suite's volume, and what was not committed is
// taken back.
class QN_API CLinkBatch {
public:
    CLinkBatch();
    ~CLinkBatch();
    CLinkBatch(const CLinkBatch&) = delete;
    CLinkBatch& operator=(const CLinkBatch&) = delete;

    // A link of one item to a target: another item, a file (`text` is its path) or a message. One that is there already is
    // not doubled, and that is a success. Two items are linked by two of these, one from each side. False without an
    // owner, for an item with itself, and when the store can't be written.
    bool Create(CEOID owner, CEOID target, const WCHAR* text, LinkKind kind, LONG flag, const WCHAR* display);
    bool Commit();

private:
    CeDb m_db;
    bool m_bOpen;
    LONG m_nNumber = 0; // of the next link; 0 until one is wanted
};
