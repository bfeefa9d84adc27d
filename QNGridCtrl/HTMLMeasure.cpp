// How much of a text stands on a line, and how large a line or a column will be.
#include "QNGridCtrl/HTMLLayout.h"

#include "NorvoTools/globals.h"
#include "QNGridCtrl/HTMLImage.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int kWidest = 32768;
constexpr int kTallest = 1 << 20;

// Brackets and the slash are no places to break at: addresses and references stay whole.
bool BreaksBehind(WCHAR c) { return c == u' ' || c == u'-' || c == u';' || c == u','; }

int EdgeHeight() { return static_cast<int>((g_HIDPI_LogPixelsY + 24) * 2 / 96); }

// Behind the last place to break at among the characters that fit; all of them inside a word that is too long.
int BreakAt(const WCHAR* text, int fit) {
    for (int i = fit; i > 0; --i)
        if (BreaksBehind(text[i - 1])) return i;
    return fit;
}

int Scaled(int side, int from, int to) {
    const float scaled = static_cast<float>(to) / static_cast<float>(from) * static_cast<float>(side);
    return static_cast<int>(std::min(scaled, static_cast<float>(kTallest)));
}

// Text ends at the right edge. Tails and marks of some scripts reach out of their line, which takes nothing from the next
// one; but not those of a text that is taller than its line.
RECT ClipOf(const RECT& line, int textHeight) {
    if (textHeight > line.bottom - line.top) return line;
    const int reach = textHeight / 4;
    return {line.left - reach, line.top - reach, line.right, line.bottom + reach};
}

} // namespace

HTMLRun HTMLLayout::PlaceRun(const WCHAR* text, int length, const RECT& rect) {
    const HTMLRun run = MeasureRun(text, length, rect.right - rect.left);
    if (!Painting() || run.placed == 0 || rect.left >= rect.right) return run;
    UseFont();
    m_canvas.TextOut(rect.left, rect.top, ClipOf(rect, run.size.cy), text, run.placed);
    return run;
}

// What of a text stands in a width; all of it where nothing wraps.
HTMLRun HTMLLayout::MeasureRun(const WCHAR* text, int length, int width) {
    if (length == 0 || width < 1) return {length, true, {0, 0}};
    if (m_noWrap) width = -1;
    if (const HTMLRun* known = KnownRun(text, length, width)) return *known;
    const HTMLRun run = AskRun(text, length, width);
    if (m_expected == kMeasuring && m_answered < kAnswers)
        m_answers[m_answered++] = {text, m_font, length, width, run};
    return run;
}

const HTMLRun* HTMLLayout::KnownRun(const WCHAR* text, int length, int width) {
    if (m_expected >= m_answered) return nullptr;
    const Answer& next = m_answers[m_expected++];
    if (next.text == text && next.width == width && next.length == length && next.font == m_font)
        return &next.run;
    m_expected = m_answered; // another line than the one that was measured
    return nullptr;
}

// A negative width has no end.
HTMLRun HTMLLayout::AskRun(const WCHAR* text, int length, int width) {
    UseFont();
    HTMLRun run{length, true, {0, 0}};
    const int fit = m_canvas.Fit(text, length, width, run.size);
    if (fit < length && width >= 0) {
        run = {BreakAt(text, fit), false, {0, 0}};
        if (run.placed > 0) m_canvas.Fit(text, run.placed, -1, run.size);
    }
    run.size.cy = std::min<LONG>(run.size.cy, kTallest);
    return run;
}

// --- Lines --------------------------------------------------------------------------------------------------------

// Walks from the cursor to the end of the line, or of all lines of the column.
class HTMLLineWalk {
public:
    HTMLLineWalk(HTMLLayout& layout, const HTMLLineMeasure& measure)
        : m_layout(layout), m_measure(measure), m_limit(measure.width ? measure.width : kWidest),
          m_skip(measure.skip), m_inColumn(layout.m_inColumn) {}

    SIZE Measure() {
        CHTMLParser& parser = m_layout.m_parser;
        if (const HTMLTOKEN* first = parser.Curr()) TakeAlign(*first);
        while (const HTMLTOKEN* token = parser.Curr()) {
            if (--m_layout.m_work < 0) break;
            const Step step = Take(*token);
            if (step == Step::Stop) break;
            if (step == Step::Next) {
                parser.NextToken();
                m_skip = 0;
            }
        }
        CloseLine();
        return m_size;
    }

private:
    enum class Step { Next, Again, Stop };

    Step Take(const HTMLTOKEN& token) {
        switch (token.eType) {
        case TOKEN_TAG: // ends the line, and is left for the walk
            if (!m_measure.allLines) return Step::Stop;
            CloseLine();
            return Step::Next;
        case TOKEN_SPAN:
            m_inColumn = true;
            return Step::Next;
        case TOKEN_ENDSPAN: // one that closes nothing is nothing
            return m_inColumn ? Step::Stop : Step::Next;
        case TOKEN_EDGE:
            m_height += EdgeHeight();
            return Step::Stop;
        case TOKEN_TEXT:
            return Text(token);
        case TOKEN_IMAGE:
            return Image(token);
        default:
            return Step::Next;
        }
    }

    Step Text(const HTMLTOKEN& token) {
        TakeAlign(token);
        m_layout.Select(token.hFont);
        HTMLRun run;
        if (!m_layout.HasNoRoom(0, m_used, m_limit))
            run = m_layout.MeasureRun(token.pszText + m_skip, static_cast<int>(token.nLength) - m_skip,
                                      m_limit - m_used);
        const bool nothing = !run.whole && run.placed == 0;
        if (nothing && std::exchange(m_placedNothing, true)) return Step::Stop;
        if (!nothing) m_placedNothing = false;
        if (!m_alignChanged) {
            if (!run.whole) m_skip += run.placed;
            m_used = std::min(m_used + static_cast<int>(run.size.cx), kTallest);
            m_descent = std::max(m_descent, m_layout.Descent());
            m_height = std::max(m_height, static_cast<int>(run.size.cy));
        } else if (run.size.cy > m_height) {
            m_descent = m_layout.Descent(); // the height stays: this text stands on the line, but not with it
        }
        if (run.whole) return Step::Next;
        if (!m_measure.allLines) return Step::Stop;
        CloseLine();
        return Step::Again;
    }

    Step Image(const HTMLTOKEN& token) {
        TakeAlign(token);
        if (m_alignChanged) return Step::Next;
        const SIZE size = m_layout.ImageSize(m_limit, true, m_layout.m_top + m_size.cy);
        if (size.cx < 1 || size.cy < 1) return Step::Next;
        if (m_used + size.cx <= m_limit) {
            m_used += size.cx;
            m_height = std::max(m_height, m_descent + static_cast<int>(size.cy));
            return Step::Next;
        }
        if (!m_measure.allLines || m_used == 0) return Step::Stop;
        m_height += size.cy;
        CloseLine();
        return Step::Again;
    }

    void TakeAlign(const HTMLTOKEN& token) {
        const UINT align = token.uAlign & HTML_ALIGN_MASK;
        if (std::exchange(m_newLine, false)) m_align = align;
        if (!m_measure.ignoreAlign && align != m_align) m_alignChanged = true;
    }

    void CloseLine() {
        m_size.cx = std::max(m_size.cx, m_used);
        m_size.cy = std::min(m_size.cy + m_height, kTallest);
        m_used = m_height = 0;
        m_alignChanged = false;
        m_newLine = true;
    }

    HTMLLayout& m_layout;
    const HTMLLineMeasure& m_measure;
    const int m_limit;
    int m_skip;
    bool m_inColumn;
    int m_used = 0; // of the width
    int m_height = 0;
    int m_descent = 0;
    UINT m_align = 0; // of the first token of the line
    bool m_newLine = true;
    bool m_alignChanged = false; // what follows on the line stands at another edge
    bool m_placedNothing = false;
    SIZE m_size{};
};

SIZE HTMLLayout::MeasureLine(const HTMLLineMeasure& measure) {
    const HFONT font = m_font;
    m_parser.SetBookmark();
    m_answered = 0;
    m_expected = kMeasuring;
    const SIZE size = HTMLLineWalk(*this, measure).Measure();
    m_expected = 0;
    m_parser.GotoBookmark();
    m_font = font;
    return size;
}

// --- Images -------------------------------------------------------------------------------------------------------

// The size of the image at the cursor, 0 when it takes no room. `squeeze` fits in one that is wider than the limit in its
// own size: it measures as a square, while the painter leaves it as it is and clips it.
SIZE HTMLLayout::ImageSize(int limit, bool squeeze, int top) const {
    DWORD wanted = 0;
    bool draw = false;
    const CHTMLImage* image = m_parser.GetCurrTokenBitmap(wanted, draw);
    const int width = image ? image->GetWidth() : 0;
    const int height = image ? image->GetHeight() : 0;
    if (width < 2 || height < 2) return {0, 0};

    SIZE size{width, height};
    const int asked = static_cast<int>(std::min<DWORD>(wanted, kTallest));
    const bool nearly = asked > height && asked - height <= static_cast<int>(g_HIDPI_BorderPixels);
    if (asked != 0 && asked != height && !nearly) {
        size = {Scaled(width, height, asked), asked};
        if (size.cx > limit) size = {limit - 2, Scaled(height, width, limit - 2)};
    } else if (squeeze && width > limit) {
        size = {limit - 2, limit - 2};
    }
    const int bottom = Painting() ? m_start.bottom : 0;
    if (bottom != 0 && top + size.cy > bottom) {
        size.cy = bottom - top - 2;
        size.cx = Scaled(width, height, static_cast<int>(size.cy));
    }
    return size;
}

// --- Fonts --------------------------------------------------------------------------------------------------------

void HTMLLayout::Select(HFONT font) {
    if (font) m_font = font;
}

// Selects it when something is asked of it.
void HTMLLayout::UseFont() {
    if (m_selected == m_font) return;
    const HFONT former = m_canvas.SelectFont(m_font ? m_font : m_firstFont);
    if (!m_firstFont) m_firstFont = former;
    m_selected = m_font;
}

int HTMLLayout::Descent() {
    UseFont();
    return m_canvas.Descent();
}
