// The links of items to items, files and messages, in a database of the suite's own ("QuillonaryLinks").
#pragma once

#include "Platform/types.h"

class QN_API CLinks {
public:
    // Once a process: makes the store when it can't be opened; one of an older version gets the property that it lacks.
    // False when the store can't be opened afterwards; for want of memory the user is told.
    static bool CheckAndCreateDB();
};
