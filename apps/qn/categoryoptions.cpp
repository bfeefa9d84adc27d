#include "apps/qn/categoryoptions.h"

#include "Platform/strings.h"
#include "apps/qn/support.h"

namespace qn {

void FillCategoryModes(std::string_view command, const Options& options, ViewKey& view) {
    if (!options.Has("--category")) {
        for (const char* option : {"--all-of", "--hide", "--no-category"})
            if (options.Has(option)) Usage(std::string(command) + ": " + option + " wants --category");
        return;
    }
    view.Set(u"bHideCategories", options.Has("--hide"));
    view.Set(u"CategoryANDOR", options.Has("--all-of"));
    view.Set(u"m_bIncludeNoCat", options.Has("--no-category"));
}

void ChooseCategories(const Options& options, CQNDataThread& thread) {
    CCategoryFilterInfo* filter = nullptr;
    thread.GetCategoryRestrict(filter);
    CFullCategoryList all(0, PTRLIST_DELETE);
    GetFullCategoryInfo(all, true);
    for (const std::string& wanted : options.All("--category")) {
        const std::u16string name = Utf16(wanted);
        bool found = false;
        for (const CFullCategory* category : all) {
            if (_wcsicmp(category->m_szName, name.c_str()) != 0) continue;
            filter->m_list.Add(category->Copy());
            found = true;
        }
        if (!found) throw Failure("there is no category \"" + wanted + "\"");
    }
}

} // namespace qn
