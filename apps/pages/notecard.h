// What the pages tell of a note.
#pragma once

#include "QNWorkerClass/DATANOTES.h"
#include "apps/pages/card.h"

namespace qn {

CardText NoteCard(const DATANOTES& note);
// The same by the path of a file; no title when it is gone.
CardText NoteCard(const WCHAR* path);

std::u16string NoteTitle(const DATANOTES& note);    // the name of a file without its ending
std::u16string ShownPath(std::u16string_view path); // as a person writes it
// Empty for none. The times of notes are local.
std::u16string NoteDay(const FILETIME& time, bool narrow);
std::u16string NoteSize(LONG kilobytes);

} // namespace qn
