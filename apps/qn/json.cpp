#include "apps/qn/json.h"

#include "Platform/poom.h"
#include "apps/qn/support.h"

#include <cstdio>

namespace qn {

std::string JsonQuoted(std::string_view utf8) {
    std::string out = "\"";
    for (const char c : utf8) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
                out += escaped;
            } else {
                out += c;
            }
        }
    }
    return out + "\"";
}

void JsonLine::Name(std::string_view name) {
    if (m_text.size() > 1) m_text += ',';
    m_text += JsonQuoted(name) + ":";
}

JsonLine& JsonLine::Text(std::string_view name, std::string_view utf8) {
    Name(name);
    m_text += JsonQuoted(utf8);
    return *this;
}

JsonLine& JsonLine::Number(std::string_view name, long long value) {
    Name(name);
    m_text += std::to_string(value);
    return *this;
}

JsonLine& JsonLine::Bool(std::string_view name, bool value) {
    Name(name);
    m_text += value ? "true" : "false";
    return *this;
}

JsonLine& JsonLine::Null(std::string_view name) {
    Name(name);
    m_text += "null";
    return *this;
}

JsonLine& JsonLine::Day(std::string_view name, double date) {
    return date == kNoDate ? Null(name) : Text(name, IsoDay(static_cast<LONG>(date)));
}

JsonLine& JsonLine::Moment(std::string_view name, double date) {
    return date == kNoDate ? Null(name) : Text(name, IsoMoment(date));
}

JsonLine& JsonLine::TextOrNull(std::string_view name, std::string_view utf8) {
    return utf8.empty() ? Null(name) : Text(name, utf8);
}

JsonLine& JsonLine::Texts(std::string_view name, std::span<const std::string> values) {
    Name(name);
    m_text += '[';
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i) m_text += ',';
        m_text += JsonQuoted(values[i]);
    }
    m_text += ']';
    return *this;
}

} // namespace qn
