// The links of items to items, files and messages, in a database of the suite's own ("QuillonaryLinks").
#pragma once

#include "Platform/types.h"

// What a link points at.
enum class LinkKind : LONG { kOldFile = 1, kContact = 2, kAppointment = 3, kTask = 4, kFile = 8, kMail = 15 };

class QN_API CLinks {
public:
    // Once a process: makes the store when it can't be opened; one of an older version gets the property that it lacks.
    // False when the store can't be opened afterwards; for want of memory the user is told.
    static bool CheckAndCreateDB();
    // A link of one item to a target: another item, a file (`text` is its path) or a message. One that is there already is
    // not doubled, and that is a success. Two items are linked by two of these, one from each side. False without an
    // owner, for an item with itself, and when the store can't be written.
    static bool Create(CEOID owner, CEOID target, const WCHAR* text, LinkKind kind, LONG flag,
                       const WCHAR* display);
};
