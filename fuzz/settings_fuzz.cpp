// The settings text: any characters parse, and what is written of them reads back as the same text.
#include "NorvoTools/INIFile.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

std::u16string Written(const INIFile& file) {
    std::u16string text;
    for (const std::u16string& line : file.Lines()) text += line + u"\r\n";
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::u16string text(size / sizeof(char16_t), u'\0');
    if (!text.empty()) std::memcpy(text.data(), data, text.size() * sizeof(char16_t));
    INIFile file(u"\\fuzz.reg");
    file.Parse(text);
    // Values without a name are never written, and a section of such alone is an empty one afterwards.
    for (INIFile::Section& section : file.Sections())
        std::erase_if(section.values, [](const INIFile::Value& value) { return value.name.empty(); });
    const std::u16string written = Written(file);
    INIFile again(u"\\fuzz.reg");
    again.Parse(written);
    // The quotes may take a line over its limit; apart from that a rewrite changes nothing.
    if (again.LinesLost() == 0 && Written(again) != written) std::abort();
    return 0;
}
