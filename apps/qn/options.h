// The words of one command: options, each with or without a value, and what is left.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qn {

struct OptionRule {
    std::string_view name; // "--from"
    bool takesValue;
};

class Options {
public:
    // "--name value", "--name=value"; "--" ends the options. An unknown or incomplete one is a usage failure.
    Options(std::string_view command, std::span<const std::string> words, std::span<const OptionRule> rules);

    bool Has(std::string_view name) const { return m_values.contains(name); }
    std::string Get(std::string_view name, std::string_view fallback = {}) const; // the last one given
    std::vector<std::string> All(std::string_view name) const;
    long Number(std::string_view name, long fallback, long least, long most) const;
    const std::vector<std::string>& Rest() const { return m_rest; }

private:
    std::string m_command;
    std::map<std::string, std::vector<std::string>, std::less<>> m_values;
    std::vector<std::string> m_rest;
};

} // namespace qn
