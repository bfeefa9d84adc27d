#include "Platform/host/editlayout.h"

#include "Platform/host/textorder.h"

#include <algorithm>
#include <climits>
#include <numeric>

namespace plat {
namespace {

bool EndsRow(char16_t unit) { return unit == u'\r' || unit == u'\n'; }

} // namespace

std::u16string EditLayout::Shown(std::u16string_view text, WCHAR password) {
    if (password != 0) return std::u16string(text.size(), password);
    std::u16string shown(text);
    std::ranges::replace_if(
        shown, [](char16_t unit) { return unit < u' '; }, u' ');
    return shown;
}

void EditLayout::Measure(HDC hdc, std::u16string_view shown) {
    m_Widths.assign(shown.size(), 0);
    SIZE size;
    const int count = static_cast<int>(shown.size());
    if (count == 0 || !GetTextExtentExPointW(hdc, shown.data(), count, 0, nullptr, m_Widths.data(), &size))
        return;
    std::adjacent_difference(m_Widths.begin(), m_Widths.end(), m_Widths.begin());
}

void EditLayout::Build(HDC hdc, std::u16string_view text, std::u16string_view shown, bool multiLine,
                       int width) {
    m_Rows.clear();
    Measure(hdc, shown);
    m_Starts = CharacterStarts(text);
    const int length = static_cast<int>(text.size());
    const auto at = [text](int index) { return text[static_cast<std::size_t>(index)]; };
    int start = 0;
    for (int end = 0; multiLine && end < length; ++end) {
        if (!EndsRow(at(end))) continue;
        const bool two = at(end) == u'\r' && end + 1 < length && at(end + 1) == u'\n';
        const int next = end + (two ? 2 : 1);
        Wrap(text, start, end, next, width);
        start = next;
        end = next - 1;
    }
    Wrap(text, start, length, length, width);
    m_Lefts.assign(shown.size(), 0);
    m_FromRight.assign(shown.size(), 0);
    for (const Row& row : m_Rows) {
        const auto first = static_cast<std::size_t>(row.start);
        PlaceUnits(shown.substr(first, static_cast<std::size_t>(row.end - row.start)),
                   m_Widths.data() + first, m_Lefts.data() + first, m_FromRight.data() + first);
    }
}

// Cuts a paragraph into rows. Blanks at the end of a row may stand out of it.
void EditLayout::Wrap(std::u16string_view text, int start, int end, int next, int width) {
    int x = 0, breakAt = start,
        character = start; // where the last blank ended, and where the last character began
    for (int i = start; width > 0 && i < end; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const bool blank = text[at] <= u' ';
        x += m_Widths[at];
        if (m_Starts[at]) character = i;
        if (x > width && character > start && !blank) {
            const int cut = breakAt > start ? breakAt : character;
            m_Rows.push_back({start, cut, cut});
            start = breakAt = cut;
            x = Span(cut, i + 1);
        }
        if (blank || text[at] == u'-') breakAt = i + 1;
    }
    m_Rows.push_back({start, end, next});
}

int EditLayout::Span(int from, int to) const {
    const int count = static_cast<int>(m_Widths.size());
    return std::accumulate(m_Widths.begin() + std::min(from, count), m_Widths.begin() + std::min(to, count),
                           0);
}

int EditLayout::RowOf(int position) const {
    const auto behind = std::ranges::upper_bound(m_Rows, position, std::ranges::less(),
                                                 [](const Row& row) { return row.start; });
    return std::max(0, static_cast<int>(behind - m_Rows.begin()) - 1);
}

int EditLayout::LeftOf(int position) const {
    const Row& row = At(RowOf(position));
    if (row.start == row.end) return 0;
    const bool behind = position >= row.end;
    const auto unit = static_cast<std::size_t>(behind ? row.end - 1 : position);
    return m_Lefts[unit] + (behind != (m_FromRight[unit] != 0) ? m_Widths[unit] : 0);
}

int EditLayout::EndOfCharacter(int start, int end) const {
    do ++start;
    while (start < end && !m_Starts[static_cast<std::size_t>(start)]);
    return start;
}

EditLayout::Piece EditLayout::PlaceOf(int start, int end) const {
    Piece piece{INT_MAX, INT_MIN};
    for (auto at = static_cast<std::size_t>(start); at < static_cast<std::size_t>(end); ++at) {
        piece.left = std::min(piece.left, m_Lefts[at]);
        piece.right = std::max(piece.right, m_Lefts[at] + m_Widths[at]);
    }
    return piece;
}

int EditLayout::PositionAt(int row, int x) const {
    const Row& found = At(row);
    const bool wrapped = found.end == found.next && row + 1 < RowCount();
    int nearest = found.start, least = INT_MAX;
    for (int start = found.start, end; start < found.end; start = end) {
        end = EndOfCharacter(start, found.end);
        const Piece place = PlaceOf(start, end);
        const int distance = std::max({place.left - x, x - place.right + 1, 0});
        if (distance >= least) continue;
        least = distance;
        const bool right = x >= place.left + (place.right - place.left + 1) / 2;
        nearest = right != (m_FromRight[static_cast<std::size_t>(start)] != 0) ? end : start;
    }
    return wrapped ? std::min(nearest, found.end - 1) : nearest; // its end is the start of the next one
}

std::vector<EditLayout::Piece> EditLayout::PiecesOf(int from, int to) const {
    std::vector<Piece> pieces;
    for (int at = from; at < to; ++at) {
        const Piece unit = PlaceOf(at, at + 1);
        Piece* last = pieces.empty() ? nullptr : &pieces.back();
        if (last && unit.left == last->right)
            last->right = unit.right;
        else if (last && unit.right == last->left)
            last->left = unit.left;
        else
            pieces.push_back(unit);
    }
    return pieces;
}

} // namespace plat
