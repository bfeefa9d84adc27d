// What a list of tasks shows of a row, and the card of a task.
#pragma once

#include "QNWorkerClass/DATATASKS.h"
#include "apps/pages/card.h"

#include <string>

namespace qn {

// Pixels for the box of a task, or the arrow of a branch, with the blank behind it.
int TaskBoxWidth();

// Mark-up. `tree`: with an arrow, or room for one, in front. `narrow`: the pictures stand behind the subject, not at the
// right edge.
// `quiet`: it stands there for its children alone.
std::u16string TaskRowText(const DATATASKS& task, bool tree, bool narrow, bool quiet);
// Of a group. `byDate`: the group of a due date.
std::u16string TaskHeadingText(const DATATASKS& header, bool byDate);
CardText TaskCard(const DATATASKS& task);
std::u16string_view TaskName(const DATATASKS& task);

} // namespace qn
