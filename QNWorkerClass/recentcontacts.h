// The contacts that a person used last, in RecentContacts.bin of the suite directory: at most 50 OIDs, latest first.
//
// No state; any thread may call.
#pragma once

#include "Platform/types.h"

#include <vector>

inline constexpr std::size_t kMostRecentContacts = 50;

// Empty without the file, and when it is damaged: that is logged, and the file stays until the next MarkRecentContact.
QN_API std::vector<DWORD> ReadRecentContacts();

// Puts the contact at the head of the list and saves it. A damaged file is put aside, and the list begins anew. False when the
// list could not be read or written; the old file is then as it was.
QN_API bool MarkRecentContact(DWORD oid);
