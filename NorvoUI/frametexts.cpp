#include "NorvoUI/frametexts.h"

#include "NorvoTools/globals.h"
#include "Platform/menus.h"
#include "Platform/modules.h"

namespace {

// In the order of EFrameText, whose first rows are the buttons from IDOK on.
struct Text {
    UINT number;
    const WCHAR* english;
};
constexpr Text kTexts[] = {
    {45001, u"OK"},      {45002, u"Cancel"}, {45003, u"&Abort"}, {45004, u"&Retry"},
    {45005, u"&Ignore"}, {45006, u"&Yes"},   {45007, u"&No"},    {45008, u"&Don't ask again"},
};

} // namespace

std::u16string FrameText(EFrameText text) {
    WCHAR buffer[128];
    const int length =
        LoadStringW(g_hResources, kTexts[text].number, buffer, static_cast<int>(std::size(buffer)));
    return length > 0 ? std::u16string(buffer, static_cast<std::size_t>(length)) : kTexts[text].english;
}

std::u16string ButtonText(int id) {
    return id >= IDOK && id <= IDNO ? FrameText(static_cast<EFrameText>(id - IDOK)) : u"";
}
