// By what other programs know the entries of the journal.
#pragma once

#include "Platform/types.h"

#include <string>
#include <unordered_map>

class CeDb;
struct CJournalData;

namespace qn {

// The UID that its file gave the entry, kept in the text that the journal keeps for others; of another entry one made of
// what never changes. Empty when there is no such entry.
std::string JournalUid(CEOID oid);
std::string JournalUid(CeDb& journal, CEOID oid);     // of a store that is open
std::unordered_map<std::string, CEOID> JournalUids(); // of all entries
// A text that stands there already is somebody else's and stays.
void KeepJournalUid(CJournalData& entry, const std::string& uid);

} // namespace qn
