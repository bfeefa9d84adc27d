#include "QNGridCtrl/HTMLLayout.h"

#include "NorvoTools/globals.h"
#include "Platform/windows.h"

#include <algorithm>

namespace {

constexpr int kUnwrappedWidth = 32000;
constexpr int kFarthest = 1 << 28; // no coordinate grows beyond

int Add(int a, int b) {
    return static_cast<int>(std::min<long long>(static_cast<long long>(a) + b, kFarthest));
}
int Width(const RECT& rect) { return rect.right - rect.left; }

// Between the column and the right edge: two pixels at 96 dots an inch.
int ColumnMargin() { return static_cast<int>((g_HIDPI_LogPixelsX + 24) * 2 / 96); }

// What a hostile text may cost: a line is measured again at each change of alignment, as far as the line reaches.
long long MeasuringBudget(const CHTMLParser& parser) {
    return 64 * static_cast<long long>(parser.Tokens().size()) + 4096;
}

} // namespace

HTMLLayout::HTMLLayout(HTMLCanvas& canvas, CHTMLParser& parser, RECT& rect, int wrapIndent,
                       HTMLHotSpots* hotSpots, DWORD flags, COLORREF selectionTextColor, bool noWrap)
    : m_canvas(canvas), m_parser(parser), m_rect(rect), m_start(rect), m_indent(wrapIndent),
      m_hotSpots(hotSpots), m_flags(flags), m_selectionColor(selectionTextColor), m_noWrap(noWrap),
      m_whole(rect), m_work(MeasuringBudget(parser)) {}

void HTMLLayout::Run() {
    if (m_hotSpots) m_hotSpots->clear();
    m_canvas.SetColors(nullptr, nullptr);
    m_parser.FirstToken();
    StartTop();
    while (const HTMLTOKEN* token = m_parser.Curr()) Place(*token);
    End();
}

void HTMLLayout::Place(const HTMLTOKEN& token) {
    switch (token.eType) {
    case TOKEN_TAG:
        return Break();
    case TOKEN_TEXT:
        return Text(token);
    case TOKEN_IMAGE:
        return Image(token);
    case TOKEN_SPAN:
        return OpenColumn();
    case TOKEN_ENDSPAN:
        return CloseColumn();
    case TOKEN_TAB:
        return Tab();
    case TOKEN_EDGE: // along the bottom, wherever the tag stands
        if (Painting())
            m_canvas.Edge(m_rect.left, m_rect.right, m_rect.bottom - static_cast<int>(g_HIDPI_BorderPixels));
        return NextToken();
    }
    NextToken();
}

void HTMLLayout::End() {
    CountPen();
    CloseLine();
    m_font = nullptr;
    UseFont();
    m_rect = m_start;
    if (Painting()) return;
    m_rect.right = m_start.left + m_rightmost;
    m_rect.bottom = m_start.top + m_height;
}

void HTMLLayout::NextToken() { m_parser.NextToken(); }

// --- Text ---------------------------------------------------------------------------------------------------------

void HTMLLayout::Text(const HTMLTOKEN& token) {
    if (!m_text) BeginText(token);
    Select(token.hFont);
    const RECT box = Box();
    const RECT place{m_pen, m_top, box.right, m_top + m_lineHeight};
    HTMLRun run;
    if (!HasNoRoom(m_lineStart, m_pen, box.right)) run = PlaceRun(m_text, m_left, place);
    if (Painting() && Selected() && m_parser.IsCurrTokenFocused())
        m_canvas.FocusFrame({m_pen, m_top, m_pen + run.size.cx, m_top + run.size.cy});
    const bool shown = run.whole || run.placed > 0;
    if (shown && token.pszHREF && *token.pszHREF) AddHotSpot(token.pszHREF, run.size.cx);
    MovePen(run.size.cx);
    // A text that had no room for a character on two lines in a row is given up, so that no width can hold the walk.
    if (run.whole || (!shown && m_placedNothing)) return EndText();
    m_placedNothing = !shown;
    m_text += run.placed;
    m_left -= run.placed;
    m_done += run.placed;
    Wrap(run, token.uAlign);
}

void HTMLLayout::BeginText(const HTMLTOKEN& token) {
    m_text = token.pszText;
    m_left = static_cast<int>(token.nLength);
    m_done = 0;
    if ((token.uAlign & HTML_ALIGN_MASK) != m_align) AlignTo(token.uAlign, true);
    if (!Painting()) return;
    m_ground = false;
    if (Selected() && !(m_flags & HTML_KEEP_COLORS)) {
        const COLORREF color =
            m_selectionColor != HTML_NO_COLOR
                ? m_selectionColor
                : GetSysColor(static_cast<int>(COLOR_HIGHLIGHTTEXT | SYS_COLOR_INDEX_FLAG));
        return m_canvas.SetColors(&color, nullptr);
    }
    m_ground = token.crBack != m_parser.GetBackColor(true);
    m_canvas.SetColors(&token.crFore, m_ground ? &token.crBack : nullptr);
}

void HTMLLayout::EndText() {
    m_text = nullptr;
    if (m_ground) m_canvas.SetColors(nullptr, nullptr);
    m_ground = false;
    m_placedNothing = false;
    NextToken();
}

// --- Images -------------------------------------------------------------------------------------------------------

void HTMLLayout::Image(const HTMLTOKEN& token) {
    const SIZE size = ImageSize(Width(m_start), !Painting(), m_top);
    if (size.cx < 1 || size.cy < 1) return NextToken();
    const bool indent = (token.uAlign & HTML_ALIGN_MASK) != HTML_ALIGN_CENTER; // centred in the whole box
    if ((token.uAlign & HTML_ALIGN_MASK) != m_align) AlignTo(token.uAlign, indent);
    // At the start of its line an image stands where it is and is clipped, else it would never show.
    if (!m_noWrap && m_pen > m_lineStart && m_pen + size.cx > Box().right) {
        CountPen();
        CloseLine();
        const SIZE next = MeasureLine({.width = LineLimit(), .ignoreAlign = true});
        return StartLine(token.uAlign, next, indent && !m_inColumn);
    }
    m_lineHeight = std::max(m_lineHeight, static_cast<int>(size.cy));
    if (Painting()) PaintImage(token, size);
    MovePen(size.cx);
    NextToken();
}

void HTMLLayout::PaintImage(const HTMLTOKEN& token, const SIZE& size) {
    const int bottom = Box().bottom;
    if (m_top + size.cy > bottom || m_top + m_lineHeight > bottom) return;
    const int y = m_top + (m_lineHeight - size.cy) / 2;
    if (token.bDrawImage) m_canvas.Picture(*token.pImage, {m_pen, y, m_pen + size.cx, y + size.cy});
    if (token.nLength != 0)
        AddHotSpot(token.pszText, size.cx); // an image that isn't drawn is an area with a name
}

// --- Breaks, columns ----------------------------------------------------------------------------------------------

void HTMLLayout::Break() {
    CountPen();
    CloseLine();
    NextToken();
    const HTMLTOKEN* next = m_parser.Curr();
    StartLine(next ? next->uAlign : m_align, MeasureLine({.width = LineLimit()}), !m_inColumn);
}

// The middle is one of the page, whatever the rectangle's left is: columns of lists stand under one another by it.
void HTMLLayout::Tab() {
    CountPen();
    m_pen = Width(m_rect) / 2;
    NextToken();
}

void HTMLLayout::OpenColumn() {
    CountPen();
    if (m_pen > m_lineStart) m_height = std::max(m_height, m_top + m_lineHeight - m_start.top);
    if (m_inColumn) m_rect = m_whole; // a second column takes the place of the first
    m_whole = m_rect;
    NextToken();
    const double share = m_noWrap ? 1.5 : 2.5;
    const int limit = std::max(static_cast<int>(Width(m_rect) / share), 1);
    m_inColumn = m_haveColumn = true;
    const SIZE size = MeasureLine({.width = limit, .allLines = !m_noWrap});
    m_columnBottom = Add(m_top, size.cy);
    m_height = std::max(m_height, m_columnBottom - static_cast<int>(m_start.top));
    m_columnLeft = m_rect.right - ColumnMargin() - size.cx;
    m_rect.left = m_pen = m_lineStart = m_columnLeft;
}

// The main text begins again at the top, beside the column.
void HTMLLayout::CloseColumn() {
    NextToken();
    if (!m_inColumn) return;
    CountPen();
    CloseLine();
    m_inColumn = false;
    m_rect = m_whole;
    StartTop();
}

// --- Lines --------------------------------------------------------------------------------------------------------

// Where lines stand: the rectangle, beside the column as long as the line begins above the column's bottom.
RECT HTMLLayout::Box() const {
    RECT box = m_rect;
    if (m_haveColumn && !m_inColumn && m_top < m_columnBottom) box.right = m_columnLeft;
    return box;
}

int HTMLLayout::LineLimit() const { return m_noWrap ? kUnwrappedWidth : std::max(Width(Box()), 1); }

int HTMLLayout::LeftEdge(UINT align, int width, bool indent) const {
    const RECT box = Box();
    const int shift = indent ? m_indent : 0;
    width = std::min(width, Width(box));
    switch (align & HTML_ALIGN_MASK) {
    case HTML_ALIGN_CENTER:
        return box.left + shift + (Width(box) - shift - width) / 2;
    case HTML_ALIGN_RIGHT:
        return box.right - width;
    default:
        return box.left + shift;
    }
}

void HTMLLayout::StartLine(UINT align, const SIZE& size, bool indent) {
    m_align = align & HTML_ALIGN_MASK;
    m_lineHeight = size.cy;
    m_pen = m_lineStart = LeftEdge(align, size.cx, indent);
}

void HTMLLayout::StartTop() {
    m_top = m_rect.top;
    const SIZE size = MeasureLine({.width = LineLimit(), .ignoreAlign = true});
    StartLine(m_parser.GetCurrTextAlign(), size, false);
}

// The next line takes over the size of the piece just placed; only at the right edge it has to be measured.
void HTMLLayout::Wrap(const HTMLRun& run, UINT align) {
    CountPen();
    CloseLine();
    SIZE size{run.size.cx, run.placed > 0 ? run.size.cy : m_lineHeight};
    if ((align & HTML_ALIGN_MASK) == HTML_ALIGN_RIGHT)
        size = MeasureLine({.width = LineLimit(), .skip = m_done});
    StartLine(align, size, !m_inColumn && m_top != m_start.top);
}

// Jumps to where text of another alignment stands on this line. At the right edge it must not run over what is there:
// then it gets a line of its own.
void HTMLLayout::AlignTo(UINT align, bool indent) {
    CountPen();
    const SIZE size = MeasureLine({.width = LineLimit()});
    const bool shifted = indent && !m_inColumn && m_top != m_start.top;
    const int target = LeftEdge(align, size.cx, shifted);
    if ((align & HTML_ALIGN_MASK) == HTML_ALIGN_RIGHT && target < m_pen && !m_noWrap) {
        CloseLine();
        return StartLine(align, size, shifted);
    }
    m_align = align & HTML_ALIGN_MASK;
    m_lineHeight = std::max(m_lineHeight, static_cast<int>(size.cy));
    m_pen = target;
}

void HTMLLayout::CloseLine() {
    m_height = std::max(m_height, Add(m_top - m_start.top, m_lineHeight));
    m_top = Add(m_top, m_lineHeight);
}

void HTMLLayout::MovePen(int width) { m_pen = Add(m_pen, width); }

void HTMLLayout::CountPen() { m_rightmost = std::max(m_rightmost, m_pen - static_cast<int>(m_start.left)); }

void HTMLLayout::AddHotSpot(const WCHAR* text, int width) {
    if (!m_hotSpots) return;
    HTMLHotSpots& spots = *m_hotSpots;
    if (spots.size() == spots.capacity()) {
        const std::size_t n = spots.size();
        spots.reserve(n + (n <= 8 ? 4 : n <= 64 ? 16 : n / 4));
    }
    tagHOTSPOT& spot = spots.emplace_back();
    const int left = m_pen - m_start.left;
    const int top = m_top - m_start.top;
    spot.rect = {left, top, Add(left, width), Add(top, m_lineHeight)};
    std::size_t n = 0;
    for (; text[n] && n + 1 < tagHOTSPOT::kCapacity; ++n) spot.szText[n] = text[n];
    spot.szText[n] = 0;
}
