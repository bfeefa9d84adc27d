// The physical lines of a text that is read once, from a file or a pipe.
#pragma once

#include <istream>
#include <string>
#include <string_view>

namespace qn {

// Lines with their numbers, byte-order mark dropped. A carriage return alone ends a line where the first line has it so;
// elsewhere it is text, but at the end of a line. What a line has beyond `longest` bytes is not kept.
class TextLines {
public:
    TextLines(std::istream& in, std::size_t longest) : m_in(*in.rdbuf()), m_longest(longest) {}
    bool Next(std::string& line);
    // The line comes once more.
    void Again(std::string line) {
        m_last = std::move(line);
        m_again = true;
    }
    unsigned Number() const { return m_number; }
    std::size_t Bytes() const { return m_bytes; }

private:
    bool EndsHere();

    std::streambuf& m_in;
    std::size_t m_longest;
    bool m_returns = false;
    unsigned m_number = 0;
    std::size_t m_bytes = 0;
    bool m_again = false;
    std::string m_last;
};

// In capitals, ASCII only.
std::string Upper(std::string_view text);

bool IsUtf8(std::string_view text);

} // namespace qn
