// Reads files of other programs into the store: calendars, cards, notes.
#include "apps/qn/commands.h"
#include "apps/qn/options.h"
#include "apps/qn/saving.h"
#include "apps/qn/textlines.h"

#include <algorithm>
#include <cstdio>

namespace qn {

namespace {

bool HasEnding(const std::string& name, std::initializer_list<const char*> endings) {
    const std::string upper = Upper(name);
    return std::ranges::any_of(endings, [&](const char* ending) { return upper.ends_with(ending); });
}

bool BeginsWithCard(std::string_view head) {
    if (head.starts_with("\xEF\xBB\xBF")) head.remove_prefix(3);
    head.remove_prefix(std::min(head.find_first_not_of(" \t\r\n"), head.size()));
    return Upper(head.substr(0, 11)) == "BEGIN:VCARD";
}

// By the name of the file, else by what it begins with.
bool ImportFile(Store& store, const std::string& name, const ImportWishes& wishes, Progress& progress) {
    InputFile file(name);
    if (HasEnding(name, {".TXT", ".TEXT", ".MD", ".MARKDOWN"})) return ImportNote(file, name, wishes);
    if (HasEnding(name, {".VCF", ".VCARD"}) || BeginsWithCard(file.Head()))
        return ImportCards(store, file, wishes, progress);
    return ImportCalendar(store, file, wishes, progress);
}

} // namespace

int ImportCommand(const Words& words) {
    constexpr OptionRule kRules[] = {{"--horizon", true}, {"--quiet", false}, {"--timing", false}};
    const Options options("import", words, kRules);
    if (options.Rest().empty()) Usage("import wants a file");
    const ImportWishes wishes{static_cast<LONG>(options.Number("--horizon", 5, 1, 100)),
                              options.Has("--quiet"), options.Has("--timing")};
    Store store;
    Progress progress(!wishes.quiet);
    int code = kExitDone;
    for (const std::string& name : options.Rest()) {
        try {
            if (!ImportFile(store, name, wishes, progress)) code = kExitFailed;
        } catch (const StoreFailure&) {
            throw; // no other file can be stored either
        } catch (const Failure& failure) {
            progress.Clear();
            std::fflush(stdout);
            std::fprintf(stderr, "qn: %s\n", failure.what());
            code = kExitFailed;
        }
    }
    return code;
}

} // namespace qn
