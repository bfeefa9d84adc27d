// The layout of mark-up on a context.
#include "QNGridCtrl/DrawHTML.h"

#include "NorvoTools/globals.h"
#include "QNGridCtrl/HTMLImage.h"
#include "QNGridCtrl/HTMLLayout.h"

#include <algorithm>

namespace {

constexpr COLORREF kEdgeColor = 0xBEBEBE;

class ContextCanvas : public HTMLCanvas {
public:
    explicit ContextCanvas(HDC hdc) : m_hdc(hdc) {}

    HFONT SelectFont(HFONT font) override {
        m_descent = -1;
        return static_cast<HFONT>(SelectObject(m_hdc, font));
    }

    // In pieces, so that a long text costs what fits and not what there is.
    int Fit(const WCHAR* text, int length, int width, SIZE& size) override {
        constexpr int kPiece = 256;
        int fit = 0;
        size = {0, 0};
        do {
            const int piece = PieceAt(text, fit, std::min(kPiece, length - fit), length);
            int fits = piece;
            SIZE extent{};
            if (width < 0)
                GetTextExtentExPointW(m_hdc, text + fit, piece, 0, nullptr, nullptr, &extent);
            else
                GetTextExtentExPointW(m_hdc, text + fit, piece, width - size.cx, &fits, nullptr, &extent);
            size.cx = std::min(size.cx + extent.cx, kWidest);
            size.cy = std::max(size.cy, extent.cy);
            fit += fits;
            if (fits < piece) break;
        } while (fit < length);
        return fit;
    }

    int Descent() override {
        if (m_descent >= 0) return m_descent;
        TEXTMETRICW metrics{};
        GetTextMetricsW(m_hdc, &metrics);
        return m_descent = metrics.tmDescent;
    }

    void TextOut(int x, int y, const RECT& clip, const WCHAR* text, int length) override {
        ExtTextOutW(m_hdc, x, y, ETO_CLIPPED, &clip, text, static_cast<UINT>(length), nullptr);
    }

    void SetColors(const COLORREF* text, const COLORREF* ground) override {
        SetBkMode(m_hdc, ground ? OPAQUE : TRANSPARENT);
        if (ground) SetBkColor(m_hdc, *ground);
        if (text) SetTextColor(m_hdc, *text);
    }

    void FocusFrame(const RECT& rect) override { DrawFocusRect(m_hdc, &rect); }

    void Edge(int left, int right, int y) override {
        const HPEN pen = CreatePen(PS_SOLID, static_cast<int>(g_HIDPI_BorderPixels), kEdgeColor);
        const HGDIOBJ former = SelectObject(m_hdc, pen);
        const POINT line[] = {{left, y}, {right, y}};
        Polygon(m_hdc, line, 2);
        SelectObject(m_hdc, former);
        DeleteObject(pen);
    }

    void Picture(CHTMLImage& image, const RECT& rect) override {
        image.DrawTransparent(m_hdc, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top);
    }

private:
    static constexpr LONG kWidest = 1 << 24;

    // A piece does not end inside of a surrogate pair.
    static int PieceAt(const WCHAR* text, int start, int piece, int length) {
        const WCHAR last = text[start + piece - 1];
        const bool half = last >= 0xD800 && last < 0xDC00 && start + piece < length;
        return half && piece > 1 ? piece - 1 : piece;
    }

    HDC m_hdc;
    int m_descent = -1; // of the selected font; -1: not asked yet
};

} // namespace

void DrawHTML(HDC hdc, RECT& rect, WORD wrapIndent, CHTMLParser& parser, HTMLHotSpots* hotSpots, DWORD flags,
              COLORREF selectionTextColor, bool bNoWrap) {
    ContextCanvas canvas(hdc);
    HTMLLayout(canvas, parser, rect, wrapIndent, hotSpots, flags, selectionTextColor, bNoWrap).Run();
}
