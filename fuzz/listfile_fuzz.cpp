// The list file reader: any bytes parse or fail, and what was parsed comes back the same from what is built of it.
#include "NorvoTools/CeStrList.h"
#include "NorvoTools/listfile.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::string_view kMagic = "CONTEXTS100";
    CeListFileContents contents;
    if (ParseListFile({data, size}, kMagic, contents) != LISTFILE_OK) {
        if (!contents.elements.empty() || contents.nErrorOffset > size) std::abort();
        return 0;
    }
    CeStrList<> list(0, STRLIST_WCSDUP);
    if (LoadList(contents, list) != LISTFILE_OK) std::abort();
    if (static_cast<std::size_t>(list.GetCount()) != contents.elements.size()) std::abort();

    const std::vector<BYTE> built = BuildListFile(kMagic, contents);
    CeListFileContents again;
    if (ParseListFile(built, kMagic, again) != LISTFILE_OK) std::abort();
    auto same = [](std::span<const BYTE> a, std::span<const BYTE> b) { return std::ranges::equal(a, b); };
    if (!std::ranges::equal(contents.elements, again.elements, same)) std::abort();
    if (again.nCurrent != contents.nCurrent || again.nBase != contents.nBase) std::abort();
    return 0;
}
