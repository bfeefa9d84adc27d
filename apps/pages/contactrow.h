// How contacts, calls and headers of groups look in the list: mark-up with its ground.
#pragma once

#include "QNWorkerClass/DATACONTACTS.h"

#include <string>
#include <string_view>

namespace qn {

// The name that the order of the list goes by.
std::u16string_view OrderName(const DATACONTACTS& row, ContactsDisplay format);
// A filled row: the name, or what the call says, and quietly below it the number behind the letter of its kind.
std::u16string ContactMarkup(DATACONTACTS& row, ContactsDisplay format);
bool HasSecondLine(const DATACONTACTS& row);
std::u16string GroupMarkup(const DATACONTACTS& header);
// That the row shows, if it can be called; else empty.
std::u16string PhoneNumber(const DATACONTACTS& row);

} // namespace qn
