// A row of a search as a line for a person and as an object for a program.
#pragma once

#include "QNWorkerClass/DATAGENERAL.h"
#include "apps/qn/store.h"

#include <string>

namespace qn {

// "appointment  Lunch  3/12/10 12:30 PM  1hour, Canteen  [Work]  (note)".
std::string SearchText(const DATAGENERAL& row, const Store& store);
// All that the row holds; under a header with depth 1, else null and 0.
std::string SearchJson(const DATAGENERAL& row, Store& store, const DATAPARENT* header);
// "Next 7 Days (3)".
std::string HeaderText(const DATAPARENT& header);
std::string HeaderJson(const DATAPARENT& header);

} // namespace qn
