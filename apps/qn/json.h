// One JSON object on one line, written as its members come.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace qn {

class JsonLine {
public:
    JsonLine& Text(std::string_view name, std::string_view utf8);
    JsonLine& Number(std::string_view name, long long value);
    JsonLine& Bool(std::string_view name, bool value);
    JsonLine& Null(std::string_view name);
    // Of a date: "2026-11-21", "2026-11-21T09:30:00"; null for none.
    JsonLine& Day(std::string_view name, double date);
    JsonLine& Moment(std::string_view name, double date);
    // Null for an empty text.
    JsonLine& TextOrNull(std::string_view name, std::string_view utf8);
    JsonLine& Texts(std::string_view name, std::span<const std::string> values);
    std::string Done() const { return m_text + "}"; }

private:
    void Name(std::string_view name);
    std::string m_text = "{";
};

std::string JsonQuoted(std::string_view utf8);

} // namespace qn
