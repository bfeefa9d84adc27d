// Text in a rectangle: lines, alignment, marked letters, three dots for what is too long. It stands on the operations
// on one row of text alone.
#include "Platform/gdi.h"

#include "Platform/host/call.h"
#include "Platform/threads.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <unicode/uchar.h>
#include <unicode/utf16.h>
#include <vector>

namespace {

using Text = std::u16string_view;

constexpr std::size_t kNoMark = static_cast<std::size_t>(-1);

class TextInRect {
public:
    TextInRect(HDC dc, RECT& rect, UINT flags) : m_dc(dc), m_rect(rect), m_flags(flags) {}

    // The height of the lines.
    int Run(Text text) {
        TEXTMETRICW metrics{};
        if (!GetTextMetricsW(m_dc, &metrics)) return 0;
        m_lineHeight = metrics.tmHeight;
        TakeMarks(text);
        BreakLines(m_text);
        const auto height = static_cast<int>(std::min<std::size_t>(m_lines.size(), 0x10000) *
                                             static_cast<std::size_t>(m_lineHeight));
        if (m_flags & DT_CALCRECT)
            Size(height);
        else
            Paint();
        return height;
    }

private:
    struct Line {
        std::size_t start;
        std::size_t size;
    };

    bool Has(UINT flag) const { return (m_flags & flag) != 0; }
    int RectWidth() const { return m_rect.right - m_rect.left; }

    // "&" underlines the letter behind it, "&&" is one; the last one marked counts.
    void TakeMarks(Text text) {
        if (Has(DT_NOPREFIX)) {
            m_text = text;
            return;
        }
        m_text.reserve(text.size());
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] == u'&') {
                if (++i == text.size()) break;
                if (text[i] != u'&') m_mark = m_text.size();
            }
            m_text += text[i];
        }
    }

    int WidthOf(Text text) const {
        SIZE size{};
        GetTextExtentPoint32W(m_dc, text.data(), static_cast<int>(text.size()), &size);
        return size.cx;
    }

    void BreakLines(Text text) {
        if (Has(DT_SINGLELINE)) {
            m_lines.push_back({0, text.size()});
            return;
        }
        std::size_t start = 0;
        while (start <= text.size()) {
            const std::size_t end = std::min(text.find_first_of(u"\r\n", start), text.size());
            AddParagraph(start, end);
            if (end == text.size()) break;
            const bool pair = text[end] == u'\r' && end + 1 < text.size() && text[end + 1] == u'\n';
            start = end + (pair ? 2 : 1);
            if (start == text.size()) break;
        }
    }

    // A word that is wider than the rectangle has a line of its own. The blanks a line breaks at are left out.
    void AddParagraph(std::size_t start, std::size_t end) {
        while (Has(DT_WORDBREAK)) {
            const Text rest = Text(m_text).substr(start, end - start);
            const std::size_t fit = Fit(rest);
            if (fit >= rest.size()) break;
            std::size_t blank = rest.rfind(u' ', fit);
            if (blank == Text::npos || blank == 0) blank = rest.find(u' ', std::max<std::size_t>(fit, 1));
            if (blank == Text::npos) break;
            const std::size_t last = rest.find_last_not_of(u' ', blank);
            m_lines.push_back({start, last == Text::npos ? 0 : last + 1});
            const std::size_t next = rest.find_first_not_of(u' ', blank);
            if (next == Text::npos) return;
            start += next;
        }
        m_lines.push_back({start, end - start});
    }

    // What is far longer than a line need not be measured whole.
    std::size_t Fit(Text text) const {
        std::size_t piece = 512;
        std::size_t fit = 0;
        do {
            piece *= 2;
            fit = Fit(text.substr(0, piece), RectWidth());
        } while (fit == piece && piece < text.size());
        return fit;
    }

    std::size_t Fit(Text text, int width) const {
        int fit = 0;
        GetTextExtentExPointW(m_dc, text.data(), static_cast<int>(text.size()), width, &fit, nullptr,
                              nullptr);
        return static_cast<std::size_t>(fit);
    }

    void Size(int height) {
        int width = 0;
        for (const Line& line : m_lines) width = std::max(width, WidthOf(TextOf(line)));
        m_rect.right = m_rect.left + width;
        m_rect.bottom = m_rect.top + height;
    }

    void Paint() {
        int y = m_rect.top;
        // A single line is centred also without being called one.
        if (Has(DT_VCENTER) && m_lines.size() == 1) y += (m_rect.bottom - m_rect.top - m_lineHeight) / 2;
        for (const Line& line : m_lines) {
            if (y >= m_rect.bottom && !Has(DT_NOCLIP)) break;
            PaintLine(line, y);
            y += m_lineHeight;
        }
    }

    void PaintLine(const Line& line, int y) {
        const Text text = Shortened(TextOf(line));
        const int width = WidthOf(text);
        int x = m_rect.left;
        if (Has(DT_RIGHT))
            x = m_rect.right - width;
        else if (Has(DT_CENTER))
            x += (RectWidth() - width) / 2;
        const UINT clipped = Has(DT_NOCLIP) ? 0 : ETO_CLIPPED;
        ExtTextOutW(m_dc, x, y, clipped, &m_rect, text.data(), static_cast<UINT>(text.size()), nullptr);
        if (m_mark >= line.start && m_mark - line.start < text.size())
            PaintMark(text, m_mark - line.start, x, y);
    }

    // A text too long for the rectangle ends in three dots.
    Text Shortened(Text text) {
        if (!Has(DT_END_ELLIPSIS) || WidthOf(text) <= RectWidth()) return text;
        constexpr Text kDots = u"...";
        const std::size_t fit = Fit(text, std::max(0, RectWidth() - WidthOf(kDots)));
        m_short = std::u16string(text.substr(0, fit)).append(kDots);
        constexpr char16_t kFromRight =
            0x200F; // without width; the dots before it stand where the text is cut
        if (EndsFromRight(text.substr(0, fit))) m_short += kFromRight;
        return m_short;
    }

    static bool EndsFromRight(Text text) {
        for (std::size_t i = text.size(); i > 0; --i) {
            const UCharDirection direction = u_charDirection(text[i - 1]);
            if (direction == U_LEFT_TO_RIGHT) return false;
            if (direction == U_RIGHT_TO_LEFT || direction == U_RIGHT_TO_LEFT_ARABIC) return true;
        }
        return false;
    }

    // The line under a marked letter.
    void PaintMark(Text text, std::size_t mark, int x, int y) {
        TEXTMETRICW metrics{};
        GetTextMetricsW(m_dc, &metrics);
        const std::size_t end = EndOfCharacter(text, mark);
        const int left = x + WidthOf(text.substr(0, mark)), right = x + WidthOf(text.substr(0, end));
        RECT line = {left, y + metrics.tmAscent + 1, right, y + metrics.tmAscent + 2};
        if (!Has(DT_NOCLIP) && !IntersectRect(&line, &line, &m_rect)) return;
        const COLORREF ground = SetBkColor(m_dc, GetTextColor(m_dc));
        ExtTextOutW(m_dc, 0, 0, ETO_OPAQUE, &line, nullptr, 0, nullptr);
        SetBkColor(m_dc, ground);
    }

    static std::size_t EndOfCharacter(Text text, std::size_t at) {
        const bool pair = U16_IS_LEAD(text[at]) && at + 1 < text.size() && U16_IS_TRAIL(text[at + 1]);
        return at + (pair ? 2 : 1);
    }

    Text TextOf(const Line& line) const { return Text(m_text).substr(line.start, line.size); }

    HDC m_dc;
    RECT& m_rect;
    const UINT m_flags;
    int m_lineHeight = 0;
    std::u16string m_text; // without the marks
    std::size_t m_mark = kNoMark;
    std::vector<Line> m_lines;
    std::u16string m_short;
};

} // namespace

int DrawTextW(HDC dc, LPCWSTR text, int count, RECT* rect, UINT flags) {
    plat::HostCall call;
    if (!rect || count < -1 || (!text && count != 0)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const Text whole = count == -1 ? Text(text) : Text(text, static_cast<std::size_t>(count));
    return TextInRect(dc, *rect, flags).Run(whole);
}
