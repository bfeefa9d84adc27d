// Fields of items that iCalendar has no word for: they go as values of this suite's own, and come back as they went.
#pragma once

#include "apps/qn/ownvalues.h"
#include "apps/qn/store.h"

#include <string>
#include <vector>

namespace qn {

// The suite's fields of a task beside those of the platform. What a file doesn't tell stays as it is.
void AddTaskValues(icalcomponent* component, Store& store, const Com<IItem>& bag);
void SetTaskValues(Store& store, const Com<IItem>& bag, const OwnValues& values);

// A note: its text as the description, and, of one with more than text, the note itself.
void AddNote(icalcomponent* component, const CEBLOB& note);
// The note itself when it has this text, else the text: it was changed on its way.
std::vector<BYTE> TakeNote(const std::string& text, const OwnValues& values);

} // namespace qn
