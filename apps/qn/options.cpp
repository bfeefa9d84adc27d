#include "apps/qn/options.h"

#include "apps/qn/support.h"

#include <algorithm>
#include <charconv>

namespace qn {

Options::Options(std::string_view command, std::span<const std::string> words,
                 std::span<const OptionRule> rules)
    : m_command(command) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word == "--") {
            m_rest.insert(m_rest.end(), words.begin() + static_cast<std::ptrdiff_t>(i) + 1, words.end());
            return;
        }
        if (word.size() < 3 || !word.starts_with("--")) {
            m_rest.push_back(word);
            continue;
        }
        const std::size_t equals = word.find('=');
        const std::string name = word.substr(0, equals);
        const auto rule =
            std::find_if(rules.begin(), rules.end(), [&](const auto& r) { return r.name == name; });
        if (rule == rules.end()) Usage(m_command + ": unknown option " + name);
        std::string value;
        if (rule->takesValue) {
            if (equals != std::string::npos)
                value = word.substr(equals + 1);
            else if (i + 1 < words.size())
                value = words[++i];
            else
                Usage(m_command + ": " + name + " wants a value");
        } else if (equals != std::string::npos) {
            Usage(m_command + ": " + name + " takes no value");
        }
        m_values[name].push_back(value);
    }
}

std::string Options::Get(std::string_view name, std::string_view fallback) const {
    const auto found = m_values.find(name);
    return found == m_values.end() ? std::string(fallback) : found->second.back();
}

std::vector<std::string> Options::All(std::string_view name) const {
    const auto found = m_values.find(name);
    return found == m_values.end() ? std::vector<std::string>() : found->second;
}

long Options::Number(std::string_view name, long fallback, long least, long most) const {
    if (!Has(name)) return fallback;
    const std::string text = Get(name);
    long value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < least || value > most)
        Usage(m_command + ": " + std::string(name) + " wants a number from " + std::to_string(least) +
              " to " + std::to_string(most));
    return value;
}

} // namespace qn
