#include "apps/qn/textlines.h"

#include <unicode/utf8.h>

namespace qn {

bool TextLines::Next(std::string& line) {
    line.clear();
    if (m_again) {
        m_again = false;
        line = m_last;
        return true;
    }
    constexpr int kEnd = std::istream::traits_type::eof();
    int c = m_in.sbumpc();
    if (c == kEnd) return false;
    for (; c != kEnd && c != '\n'; c = m_in.sbumpc()) {
        if (c == '\r' && EndsHere()) break;
        ++m_bytes;
        if (line.size() >= m_longest) continue;
        if (c) // a zero would end the text for all who read it
            line += static_cast<char>(c);
        else
            line += "\xEF\xBF\xBD";
    }
    ++m_bytes;
    if (m_number == 0 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
    while (line.ends_with('\r')) line.pop_back();
    ++m_number;
    return true;
}

bool TextLines::EndsHere() {
    const int next = m_in.sgetc();
    if (m_number == 0) m_returns = next != '\n' && next != '\r' && next != std::istream::traits_type::eof();
    return m_returns;
}

std::string Upper(std::string_view text) {
    std::string upper(text);
    for (char& c : upper)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    return upper;
}

bool IsUtf8(std::string_view text) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto length = static_cast<std::int32_t>(text.size());
    for (std::int32_t i = 0; i < length;) {
        UChar32 c = 0;
        U8_NEXT(bytes, i, length, c);
        if (c < 0) return false;
    }
    return true;
}

} // namespace qn
