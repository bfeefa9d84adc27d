// What the pages tell of a contact: its card, read through the object model, and the kinds of its numbers.
#pragma once

#include "Platform/poom.h"
#include "apps/pages/card.h"

namespace qn {

struct NumberKind {
    CEPROPID id;
    WCHAR letter; // for a row
    const WCHAR* label;
    bool phone; // can be called
};
// Null for what is no number or address.
const NumberKind* FindNumberKind(CEPROPID id);

// Empty, but for what is told in place of it, when the contact isn't there any more.
CardText ContactCard(DWORD oid);

} // namespace qn
