// A task on one line, wherever lists show one.
#pragma once

#include <string>

struct DATATASKS;

namespace qn {

// "[ ] A1 Call Dana ...  (due 12/3/26, 40 %, high)  [Work]"
std::string TaskText(const DATATASKS& row);

} // namespace qn
