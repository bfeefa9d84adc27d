// Mark-up of any kind, parsed and laid out over a text layer of fixed widths: it ends, what is painted lies within what
// was measured, wherever the rectangle stands, and its links stand where measuring found them.
// Three bytes tell how, the rest is the text: a character each, but for two that no byte has.
#include "QNGridCtrl/HTMLImage.h"
#include "tests/support/fixedcanvas.h"
#include "tests/support/pictureowner.h"

#include <cstdlib>

namespace {

// How far the painted pieces reach.
class ReachingCanvas : public FixedCanvas {
public:
    void TextOut(int x, int y, const RECT& clip, const WCHAR*, int length) override {
        Reach(std::min<LONG>(x + length * kCharacter, clip.right), y);
    }
    void Picture(CHTMLImage&, const RECT& rect) override { Reach(rect.right, rect.bottom); }
    SIZE reached{0, 0};

private:
    void Reach(LONG x, LONG y) { reached = {std::max(reached.cx, x), std::max(reached.cy, y)}; }
};

struct Page {
    int width;
    int indent;
    DWORD flags;
    bool noWrap;
};

SIZE LayOut(const Page& page, CHTMLParser& parser, RECT rect, DWORD mode, HTMLHotSpots& spots,
            ReachingCanvas& canvas) {
    HTMLLayout(canvas, parser, rect, page.indent, &spots, page.flags | mode, HTML_NO_COLOR, page.noWrap)
        .Run();
    return {rect.right - rect.left, rect.bottom - rect.top};
}

// The middle of the page is that of the screen. A picture that is too wide, or made so, has a size of its own in each.
bool IsExempt(CHTMLParser& parser, int width) {
    parser.FirstToken();
    for (; const HTMLTOKEN* token = parser.Curr(); parser.NextToken()) {
        if (token->eType == TOKEN_TAB) return true;
        DWORD asked = 0;
        bool draw = false;
        const CHTMLImage* image = parser.GetCurrTokenBitmap(asked, draw);
        if (image && (image->GetWidth() > width * 2 / 5 || static_cast<LONGLONG>(asked) > image->GetHeight()))
            return true;
    }
    return false;
}

bool SameSpots(const HTMLHotSpots& a, const HTMLHotSpots& b) {
    return std::ranges::equal(a, b, [](const tagHOTSPOT& x, const tagHOTSPOT& y) {
        return EqualRect(&x.rect, &y.rect) && std::u16string_view(x.szText) == y.szText;
    });
}

void Check(const Page& page, CHTMLParser& parser) {
    ReachingCanvas first, second, canvas; // each begins with the same font
    HTMLHotSpots measured, moved, painted;
    const SIZE size = LayOut(page, parser, {0, 0, page.width, 0}, HTML_MEASURE, measured, first);
    if (size.cx < 0 || size.cy < 0) std::abort();
    const bool exempt = IsExempt(parser, page.width);
    const SIZE there = LayOut(page, parser, {40, -60, 40 + page.width, -60}, HTML_MEASURE, moved, second);
    if (!exempt && (there.cx != size.cx || there.cy != size.cy || !SameSpots(measured, moved))) std::abort();

    LayOut(page, parser, {0, 0, page.width, size.cy}, 0, painted, canvas);
    if (exempt) return;
    if (canvas.reached.cx > size.cx || canvas.reached.cy > size.cy) std::abort();
    const bool pictures =
        std::ranges::any_of(parser.Tokens(), [](const HTMLTOKEN& token) { return token.pImage; });
    if (!pictures && !SameSpots(measured, painted)) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static PictureOwner& owner = *new PictureOwner;
    if (size < 3) return 0;
    std::u16string text;
    for (std::size_t i = 3; i < size; ++i) {
        constexpr WCHAR kLoneSurrogate = 0xD800, kBullet = 0x2022;
        text += data[i] == 0xFE ? kLoneSurrogate : data[i] == 0xFF ? kBullet : WCHAR{data[i]};
    }
    CHTMLParser parser;
    parser.SetBitmapScaling(data[1] >> 2 & 7);
    parser.SetHTML(text.c_str());
    if (parser.ParseHTML(owner.Window()) != 1) std::abort();
    parser.SetNavigatable(true);
    parser.OnNavigationButton(39);
    Check({data[0] * 2, data[2] % 64, data[1] & 1u ? HTML_SELECTED : 0u, (data[1] & 2) != 0}, parser);
    return 0;
}
