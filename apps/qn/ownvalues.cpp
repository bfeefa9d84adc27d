#include "apps/qn/ownvalues.h"

#include <charconv>

namespace qn {

namespace {

constexpr std::string_view kPrefix = "X-QN-";

} // namespace

void AddOwn(icalcomponent* component, const char* name, const std::string& value) {
    if (value.empty()) return;
    icalproperty* property = icalproperty_new_x(value.c_str());
    icalproperty_set_x_name(property, (std::string(kPrefix) + name).c_str());
    icalcomponent_add_property(component, property);
}

bool TakeOwn(icalproperty* property, OwnValues& values) {
    const char* name = icalproperty_get_x_name(property);
    if (!name || !std::string_view(name).starts_with(kPrefix)) return false;
    if (const char* value = icalproperty_get_x(property)) values.emplace(name + kPrefix.size(), value);
    return true;
}

std::string OwnText(const OwnValues& values, std::string_view name) {
    const auto found = values.find(name);
    return found == values.end() ? std::string() : found->second;
}

std::optional<LONG> OwnNumber(const OwnValues& values, std::string_view name) {
    const std::string text = OwnText(values, name);
    LONG number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || stop != text.data() + text.size()) return std::nullopt;
    return number;
}

} // namespace qn
