#include "Platform/host/editlayout.h"

#include <algorithm>
#include <numeric>

namespace plat {
namespace {

bool EndsRow(char16_t unit) { return unit == u'\r' || unit == u'\n'; }
bool IsLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

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
}

// Cuts a paragraph into rows. Blanks at the end of a row may stand out of it.
void EditLayout::Wrap(std::u16string_view text, int start, int end, int next, int width) {
    int x = 0, breakAt = start;
    for (int i = start; width > 0 && i < end; ++i) {
        const auto at = static_cast<std::size_t>(i);
        const bool blank = text[at] <= u' ';
        x += m_Widths[at];
        const int whole = i > start && IsLowSurrogate(text[at]) ? i - 1 : i;
        if (x > width && whole > start && !blank) {
            const int cut = breakAt > start ? breakAt : whole;
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

int EditLayout::LeftOf(int position) const { return Span(At(RowOf(position)).start, position); }

int EditLayout::PositionAt(int row, int x) const {
    const Row& found = At(row);
    const bool wrapped = found.end == found.next && row + 1 < RowCount();
    const int last = wrapped ? found.end - 1 : found.end; // its end is the start of the next one
    int position = found.start;
    for (int left = 0; position < last; ++position) {
        const int width = m_Widths[static_cast<std::size_t>(position)];
        if (x < left + (width + 1) / 2) break;
        left += width;
    }
    return position;
}

} // namespace plat
