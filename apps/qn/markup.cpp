// What the engine makes of a string of mark-up: a picture, and as text its tokens, what stands where, the hot spots.
#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"
#include "Platform/imaging.h"
#include "Platform/modules.h"
#include "Platform/windows.h"
#include "QNGridCtrl/ContextCanvas.h"
#include "QNGridCtrl/HTMLGridImages.h"
#include "QNGridCtrl/HTMLLayout.h"
#include "QNNewEditUI/CCalendarSubview.h"
#include "apps/qn/drawing.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>

namespace qn {

namespace {

constexpr OptionRule kRules[] = {
    {"--png", true}, {"--dump", false}, {"--width", true}, {"--dpi", true}, {"--line", false}};
constexpr int kUsualWidth = 240; // pixels at 96 dots an inch
constexpr int kMostWidth = 16384;

int DotsOf(const Options& options) {
    return static_cast<int>(options.Number("--dpi", 96, kLeastDots, kMostDots));
}

std::u16string ReadText(const std::string& name) {
    std::string bytes;
    if (name == "-") {
        bytes.assign(std::istreambuf_iterator<char>(std::cin), {});
    } else {
        std::ifstream in(name, std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(in), {});
        if (!in.is_open() || in.bad()) throw Failure(name + ": can't be read");
    }
    if (bytes.find('\0') != std::string::npos) throw Failure(name + ": is no text");
    return Utf16(bytes);
}

// --- Dumps --------------------------------------------------------------------------------------------------------

// In quotes, with what would leave the line or the quotes escaped.
std::string Quoted(std::u16string_view text) {
    std::string quoted = "\"";
    for (const char c : Utf8(text)) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return Printable(quoted + "\"");
}

std::string ColorText(COLORREF color) {
    WCHAR text[8];
    return ColorRefToHTML(color, text, 8) ? Utf8(text) : std::string();
}

std::string FontText(HFONT font) {
    LOGFONTW description{};
    if (!font || !GetObjectW(font, sizeof description, &description)) return {};
    std::string text = " " + Utf8(description.lfFaceName) + " " + std::to_string(description.lfHeight);
    if (description.lfWeight != FW_NORMAL) text += " weight " + std::to_string(description.lfWeight);
    if (description.lfItalic) text += " italic";
    if (description.lfUnderline) text += " underlined";
    if (description.lfStrikeOut) text += " struck";
    return text;
}

const char* KindName(TOKENTYPE kind) {
    constexpr const char* kNames[] = {"break", "text", "image", "column", "column end", "half", "rule"};
    return kind < std::size(kNames) ? kNames[kind] : "?";
}

void PrintToken(const HTMLTOKEN& token) {
    constexpr const char* kAligned[] = {"", " centre", " right", " right"};
    std::string line = std::string("  ") + KindName(token.eType);
    if (token.eType == TOKEN_TEXT || token.eType == TOKEN_IMAGE)
        line += " " + Quoted({token.pszText, token.nLength});
    if (token.eType == TOKEN_TEXT)
        line += FontText(token.hFont) + " " + ColorText(token.crFore) + " on " + ColorText(token.crBack);
    line += kAligned[token.uAlign & HTML_ALIGN_MASK];
    if (token.pszHREF && *token.pszHREF) line += " to " + Quoted(token.pszHREF);
    if (token.bNavigatable) line += " navigable";
    if (token.bEditable) line += " editable";
    if (token.eType == TOKEN_IMAGE && !token.pImage) line += " not found";
    if (token.eType == TOKEN_IMAGE && !token.bDrawImage) line += " not drawn";
    std::puts(line.c_str());
}

void PrintBox(const char* kind, const RECT& box, const std::string& what) {
    std::printf("  %s %d,%d %dx%d%s%s\n", kind, box.left, box.top, box.right - box.left, box.bottom - box.top,
                what.empty() ? "" : " ", what.c_str());
}

// Writes down what is painted, and paints it.
class RecordingCanvas : public ContextCanvas {
public:
    RecordingCanvas(HDC hdc, bool bPrint) : ContextCanvas(hdc), m_bPrint(bPrint) {}

    void TextOut(int x, int y, const RECT& clip, const WCHAR* text, int length) override {
        SIZE size{};
        Fit(text, length, -1, size);
        if (m_bPrint)
            PrintBox("text", {x, y, x + size.cx, y + size.cy},
                     Quoted({text, static_cast<std::size_t>(length)}));
        ContextCanvas::TextOut(x, y, clip, text, length);
    }
    void Edge(int left, int right, int y) override {
        if (m_bPrint) PrintBox("rule", {left, y, right, y + 1}, {});
        ContextCanvas::Edge(left, right, y);
    }
    void Picture(CHTMLImage& image, const RECT& rect) override {
        if (m_bPrint) PrintBox("picture", rect, {});
        ContextCanvas::Picture(image, rect);
    }

private:
    bool m_bPrint;
};

// --- The page -----------------------------------------------------------------------------------------------------

// A window that finds the pictures of its text, as a grid does, and paints it.
class Page : private HTMLBitmapLoader {
public:
    Page(const std::u16string& text, int width, bool bLine) : m_bLine(bLine) {
        WNDCLASSW cls{};
        cls.lpfnWndProc = &Page::Procedure;
        cls.lpszClassName = u"qn:mark-up";
        RegisterClassW(&cls);
        m_window = CreateWindowExW(0, cls.lpszClassName, u"", WS_POPUP, 0, 0, width, 1, nullptr, nullptr,
                                   nullptr, nullptr);
        SetWindowLongW(m_window, GWL_USERDATA, reinterpret_cast<LONG_PTR>(this));
        m_parser.SetHTML(text.c_str());
        m_parser.ParseHTML(m_window);
        m_size = {width, std::max<LONG>(Measure(width).cy, 1)};
    }
    ~Page() { DestroyWindow(m_window); }
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    void PrintTokens() const {
        std::puts("tokens");
        for (const HTMLTOKEN& token : m_parser.Tokens()) PrintToken(token);
    }
    void Paint(bool bPrint) {
        const HDC dc = CreateCompatibleDC(nullptr);
        const HBITMAP bitmap = CreateCompatibleBitmap(dc, m_size.cx, m_size.cy);
        if (!bitmap) {
            DeleteDC(dc);
            throw Failure("a picture of " + std::to_string(m_size.cx) + "x" + std::to_string(m_size.cy) +
                          " pixels is too large");
        }
        const HGDIOBJ former = SelectObject(dc, bitmap);
        if (bPrint) std::printf("layout %dx%d\n", m_size.cx, m_size.cy);
        PaintOn(dc, bPrint);
        if (bPrint) PrintSpots();
        SelectObject(dc, former);
        DeleteObject(bitmap);
        DeleteDC(dc);
    }
    void Save(const std::string& file, int dotsPerInch) {
        SetScreen(m_size.cx, m_size.cy, dotsPerInch);
        SetWindowPos(m_window, nullptr, 0, 0, m_size.cx, m_size.cy, SWP_SHOWWINDOW | SWP_NOZORDER);
        SavePicture(m_window, file);
    }

private:
    SIZE Measure(int width) {
        RECT rect{0, 0, width, 0};
        const HDC dc = CreateCompatibleDC(nullptr);
        DrawHTML(dc, rect, 0, m_parser, nullptr, HTML_MEASURE, HTML_NO_COLOR, m_bLine);
        DeleteDC(dc);
        return {rect.right - rect.left, rect.bottom - rect.top};
    }
    void PaintOn(HDC dc, bool bPrint) {
        RECT rect{0, 0, m_size.cx, m_size.cy};
        const HBRUSH ground = CreateSolidBrush(m_parser.GetBackColor(true));
        FillRect(dc, &rect, ground);
        DeleteObject(ground);
        RecordingCanvas canvas(dc, bPrint);
        m_spots.clear();
        HTMLLayout(canvas, m_parser, rect, 0, &m_spots, 0, HTML_NO_COLOR, m_bLine).Run();
    }
    void PrintSpots() const {
        std::puts("hot spots");
        for (const tagHOTSPOT& spot : m_spots) PrintBox("spot", spot.rect, Quoted(spot.szText));
    }

    HBITMAP BitmapOfFile(LPCWSTR pszPath) override { return SHLoadImageFile(pszPath); }
    HBITMAP BitmapOfResource(HINSTANCE hInstance, WORD wId) override {
        return LoadBitmapW(hInstance, MAKEINTRESOURCEW(wId));
    }
    HBITMAP BitmapOfIcon(HINSTANCE, WORD) override { return nullptr; }
    HBITMAP BitmapOfSwatch(DWORD number) override { return CCalendarSubview::CreateStatusBar(number); }

    LRESULT FindImage(tagNM_IMAGENOTIFY& image) {
        image.pImage = m_images.Find({image.pszSource, image.hdr.idFrom}, image.bFromResource);
        return image.pImage != nullptr;
    }
    static LRESULT Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        auto* page = reinterpret_cast<Page*>(GetWindowLongW(window, GWL_USERDATA));
        if (page && message == WM_NOTIFY && reinterpret_cast<NMHDR*>(lParam)->code == HTMLN_IMAGE)
            return page->FindImage(*reinterpret_cast<tagNM_IMAGENOTIFY*>(lParam));
        if (page && message == WM_PAINT) {
            PAINTSTRUCT paint;
            page->PaintOn(BeginPaint(window, &paint), false);
            EndPaint(window, &paint);
            return 0;
        }
        return DefWindowProcW(window, message, wParam, lParam);
    }

    bool m_bLine;
    HWND m_window = nullptr;
    HTMLGridImages m_images{*this};
    CHTMLParser m_parser;
    SIZE m_size{};
    HTMLHotSpots m_spots;
};

} // namespace

void PrepareMarkUp(const Words& words) {
    const Options options("mark-up", words, kRules);
    const PlatScreen screen = PlatGetScreen();
    SetScreen(screen.width, screen.height, DotsOf(options));
}

int MarkUpCommand(const Words& words) {
    const Options options("mark-up", words, kRules);
    if (options.Rest().size() != 1) Usage("mark-up: one FILE, or -");
    if (!options.Has("--png") && !options.Has("--dump")) Usage("mark-up: --png FILE or --dump");
    const int dots = DotsOf(options);
    const auto usual = ScalePx(static_cast<DWORD>(dots), kUsualWidth);
    const std::u16string text = ReadText(options.Rest()[0]);
    Page page(text, static_cast<int>(options.Number("--width", usual, 1, kMostWidth)), options.Has("--line"));
    if (options.Has("--dump")) {
        page.PrintTokens();
        page.Paint(true);
    }
    if (options.Has("--png")) page.Save(options.Get("--png"), dots);
    return kExitDone;
}

} // namespace qn
