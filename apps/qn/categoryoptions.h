// The categories of a list by the command line: --category NAME, given once or several times, with --all-of, --hide and
// --no-category.
#pragma once

#include "QNWorkerClass/CQNDataThread.h"
#include "apps/qn/options.h"
#include "apps/qn/viewkey.h"

namespace qn {

// How the chosen ones filter, into the settings of the view. A usage failure for the further options without --category.
void FillCategoryModes(std::string_view command, const Options& options, ViewKey& view);
// The chosen ones, into the filter of the thread. A Failure for a name that no category has.
void ChooseCategories(const Options& options, CQNDataThread& thread);

} // namespace qn
