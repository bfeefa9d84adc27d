// An option whose value is one of some names.
#pragma once

#include "apps/qn/options.h"
#include "apps/qn/support.h"

#include <optional>

namespace qn {

struct Choice {
    std::string_view name;
    DWORD value;
};

// What the given name stands for; a name that is none is a usage failure.
template<std::size_t N>
DWORD Choose(std::string_view command, std::string_view option, const std::string& given,
             const Choice (&choices)[N]) {
    std::string names;
    for (const Choice& choice : choices) {
        if (choice.name == given) return choice.value;
        names.append(names.empty() ? "" : ", ").append(choice.name);
    }
    Usage(std::string(command) + ": " + std::string(option) + " can't be " + given + "; it is one of " +
          names);
}

// Nothing when the option isn't given.
template<std::size_t N>
std::optional<DWORD> Wanted(std::string_view command, const Options& options, std::string_view option,
                            const Choice (&choices)[N]) {
    if (!options.Has(option)) return std::nullopt;
    return Choose(command, option, options.Get(option), choices);
}

} // namespace qn
