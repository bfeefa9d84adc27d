// The text layer of a context.
#include "QNGridCtrl/ContextCanvas.h"

#include "NorvoTools/globals.h"
#include "Platform/gdi.h"
#include "QNGridCtrl/HTMLImage.h"

#include <algorithm>

namespace {

constexpr COLORREF kEdgeColor = 0xBEBEBE;
constexpr LONG kWidest = 1 << 24;

// A piece ends behind a blank, where no letters join; in a text without any at least not inside of a surrogate pair.
int PieceAt(const WCHAR* text, int start, int piece, int length) {
    if (start + piece == length) return piece;
    for (int i = piece; i > 0; --i)
        if (text[start + i - 1] == u' ') return i;
    const WCHAR last = text[start + piece - 1];
    return last >= 0xD800 && last < 0xDC00 ? piece - 1 : piece;
}

} // namespace

HFONT ContextCanvas::SelectFont(HFONT font) {
    m_font = font;
    m_front = nullptr;
    return static_cast<HFONT>(SelectObject(m_hdc, font));
}

// In pieces, so that a long text costs what fits and not what there is.
int ContextCanvas::Fit(const WCHAR* text, int length, int width, SIZE& size) {
    if (width < 0 && KnowsFront(text, length)) {
        size = {m_widths[static_cast<std::size_t>(length) - 1], m_height};
        return length;
    }
    int fit = 0;
    size = {0, 0};
    do {
        const int piece = PieceAt(text, fit, std::min(kPiece, length - fit), length);
        int fits = piece;
        SIZE extent{};
        if (width < 0)
            GetTextExtentExPointW(m_hdc, text + fit, piece, 0, nullptr, nullptr, &extent);
        else
            GetTextExtentExPointW(m_hdc, text + fit, piece, width - size.cx, &fits,
                                  fit == 0 ? m_widths.data() : nullptr, &extent);
        if (fit == 0 && width >= 0) {
            m_front = text;
            m_frontLength = piece;
            m_height = extent.cy;
        }
        size.cx = std::min(size.cx + extent.cx, kWidest);
        size.cy = std::max(size.cy, extent.cy);
        fit += fits;
        if (fits < piece) break;
    } while (fit < length);
    return fit;
}

// Whether the widths from the last look at this text are those of its front. Letters that join may look otherwise at an
// end; below their scripts none does.
bool ContextCanvas::KnowsFront(const WCHAR* text, int length) const {
    constexpr WCHAR kFirstJoining = 0x590;
    return text == m_front && length > 0 && length <= m_frontLength &&
           std::all_of(text, text + length, [](WCHAR c) { return c < kFirstJoining; });
}

int ContextCanvas::Descent() {
    for (const KnownDescent& known : m_descents)
        if (m_font && known.font == m_font) return known.descent;
    TEXTMETRICW metrics{};
    GetTextMetricsW(m_hdc, &metrics);
    m_descents = {KnownDescent{m_font, metrics.tmDescent}, m_descents[0]};
    return metrics.tmDescent;
}

void ContextCanvas::TextOut(int x, int y, const RECT& clip, const WCHAR* text, int length) {
    ExtTextOutW(m_hdc, x, y, ETO_CLIPPED, &clip, text, static_cast<UINT>(length), nullptr);
}

void ContextCanvas::SetColors(const COLORREF* text, const COLORREF* ground) {
    SetBkMode(m_hdc, ground ? OPAQUE : TRANSPARENT);
    if (ground) SetBkColor(m_hdc, *ground);
    if (text) SetTextColor(m_hdc, *text);
}

void ContextCanvas::FocusFrame(const RECT& rect) { DrawFocusRect(m_hdc, &rect); }

void ContextCanvas::Edge(int left, int right, int y) {
    const HPEN pen = CreatePen(PS_SOLID, static_cast<int>(g_HIDPI_BorderPixels), kEdgeColor);
    const HGDIOBJ former = SelectObject(m_hdc, pen);
    const POINT line[] = {{left, y}, {right, y}};
    Polygon(m_hdc, line, 2);
    SelectObject(m_hdc, former);
    DeleteObject(pen);
}

void ContextCanvas::Picture(CHTMLImage& image, const RECT& rect) {
    image.DrawTransparent(m_hdc, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top);
}
