// The settings on the command line.
#include "NorvoTools/CRegistry.h"
#include "NorvoTools/CeString.h"
#include "NorvoTools/paths.h"
#include "Platform/registry.h"
#include "Platform/strings.h"
#include "apps/qn/commands.h"
#include "apps/qn/options.h"
#include "apps/qn/support.h"

#include <strings.h>

#include <charconv>
#include <cstdio>
#include <optional>

namespace qn {

namespace {

// A setting: its key and the name behind the last separator.
struct Place {
    HKEY root;
    std::u16string path; // the whole, as a key
    std::u16string key;
    std::u16string name;
};

struct Root {
    std::string_view prefix;
    HKEY root;
};

bool HasPrefix(std::string_view word, std::string_view prefix) {
    return word.size() >= prefix.size() && strncasecmp(word.data(), prefix.data(), prefix.size()) == 0;
}

Place ParseKey(std::string word) {
    for (char& c : word)
        if (c == '/') c = '\\';
    while (word.starts_with('\\')) word.erase(0, 1);
    while (word.ends_with('\\')) word.pop_back();
    const Root roots[] = {{"HKCU\\", HKEY_CURRENT_USER},  {"HKEY_CURRENT_USER\\", HKEY_CURRENT_USER},
                          {"HKLM\\", HKEY_LOCAL_MACHINE}, {"HKEY_LOCAL_MACHINE\\", HKEY_LOCAL_MACHINE},
                          {"HKCR\\", HKEY_CLASSES_ROOT},  {"HKEY_CLASSES_ROOT\\", HKEY_CLASSES_ROOT}};
    Place place{HKEY_CURRENT_USER, std::u16string(kSuiteKey) + u"\\" + Utf16(word), {}, {}};
    for (const Root& root : roots)
        if (HasPrefix(word, root.prefix))
            place = {root.root, Utf16(std::string_view(word).substr(root.prefix.size())), {}, {}};
    const std::size_t split = place.path.rfind(u'\\');
    if (split == place.path.npos || split + 1 == place.path.size())
        Usage("\"" + word + "\" names no setting");
    place.key = place.path.substr(0, split);
    place.name = place.path.substr(split + 1);
    return place;
}

std::optional<std::string> Value(CRegistry& settings, const std::u16string& name) {
    DWORD number = 0;
    if (settings.QueryValue(name.c_str(), &number) == 0) return std::to_string(number);
    CeString text;
    DWORD type = 0;
    if (settings.QueryValueType(name.c_str(), &type) == 0 && type == REG_SZ &&
        settings.QueryValue(name.c_str(), text, nullptr) == 0)
        return Utf8(text.View());
    return std::nullopt;
}

void PrintKey(CRegistry& settings) {
    const auto names = settings.ValueNames();
    for (const WCHAR* name : *names)
        std::printf("%s=%s\n", Utf8(name).c_str(), Value(settings, name).value_or("(binary)").c_str());
    const auto keys = settings.SubKeyNames();
    for (const WCHAR* name : *keys) std::printf("%s\\\n", Utf8(name).c_str());
}

std::optional<DWORD> ParseNumber(const std::string& text) {
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    const bool minus = text.starts_with("-");
    const char* begin = text.data() + (hex ? 2 : minus ? 1 : 0);
    const char* end = text.data() + text.size();
    DWORD number = 0;
    const auto [stop, error] = std::from_chars(begin, end, number, hex ? 16 : 10);
    if (begin == end || error != std::errc() || stop != end) return std::nullopt;
    if (minus && number > 0x80000000) return std::nullopt;
    return minus ? 0 - number : number;
}

} // namespace

int GetCommand(const Words& words) {
    const Options options("get", words, {});
    if (options.Rest().size() != 1) Usage("get wants one KEY");
    const Place place = ParseKey(options.Rest()[0]);
    CRegistry settings;
    if (settings.Exists(place.root, place.key.c_str())) {
        if (const auto value = Value(settings, place.name)) {
            std::puts(value->c_str());
            return kExitDone;
        }
    }
    if (!settings.Exists(place.root, place.path.c_str())) throw Failure(options.Rest()[0] + " is not set");
    PrintKey(settings);
    return kExitDone;
}

int SetCommand(const Words& words) {
    constexpr OptionRule kRules[] = {{"--text", false}, {"--number", false}, {"--delete", false}};
    // A value may begin with a minus; only words of two are options.
    const Options options("set", words, kRules);
    const std::size_t wanted = options.Has("--delete") ? 1 : 2;
    if (options.Rest().size() != wanted)
        Usage(wanted == 1 ? "set --delete wants one KEY" : "set wants KEY and VALUE");
    const Place place = ParseKey(options.Rest()[0]);
    CRegistry settings;
    LONG result = 0;
    if (options.Has("--delete")) {
        if (!settings.Exists(place.root, place.key.c_str()) || settings.DeleteValue(place.name.c_str()) != 0)
            throw Failure(options.Rest()[0] + " is not set");
        return kExitDone;
    }
    const std::string& value = options.Rest()[1];
    if (options.Has("--text") && options.Has("--number")) Usage("set: --text or --number");
    const auto number = options.Has("--text") ? std::nullopt : ParseNumber(value);
    if (options.Has("--number") && !number) Usage("set: " + value + " is no number");
    result = settings.OpenKey(place.root, place.key.c_str());
    if (result == 0)
        result = number ? settings.SetValue(place.name.c_str(), *number)
                        : settings.SetValue(place.name.c_str(), Utf16(value).c_str());
    if (result != 0)
        throw Failure(options.Rest()[0] + " can't be written (error " + std::to_string(-result) + ")");
    return kExitDone;
}

} // namespace qn
