// 1,000 short lines of two fonts with a link and the gap of an image, wrapped at 240 pixels: parsed and measured, and
// painted with their hot spots. The peer is Pango with the same face, text, styles and gap, painting through cairo.
//
// The instructions of parsing and measuring all lines once, with fonts that are warm, for the steady gate:
//
//     valgrind --tool=callgrind --toggle-collect=MeasureLines markup_bench --drive
#include "Platform/testing.h"
#include "Platform/windows.h"
#include "QNGridCtrl/DrawHTML.h"
#include "QNGridCtrl/HTMLImage.h"
#include "bench/ratios.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int kLines = 1000;
constexpr int kWidth = 240;
constexpr int kTallest = 200; // of a wrapped line
constexpr int kGap = 16;      // the sides of the image

// --- Ours ---------------------------------------------------------------------------------------------------------

std::vector<std::u16string> MakeLines() {
    std::vector<std::u16string> lines;
    for (int i = 0; i < kLines; ++i) {
        std::string line = "<FONT SIZE=2>" + std::to_string(8 + i % 10) +
                           ":30 <IMG SRC=233 SIZE=16 NODRAW><B>Review " + std::to_string(i) +
                           "</B> with <A=\"OID:" + std::to_string(i) +
                           "\">Example Person</A> in the large room, bring the papers";
        lines.emplace_back(line.begin(), line.end());
    }
    return lines;
}

const std::vector<std::u16string>& Lines() {
    static const std::vector<std::u16string> lines = MakeLines();
    return lines;
}

// Answers every wish for an image with one bitmap.
LRESULT GiveImages(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != WM_NOTIFY) return DefWindowProcW(window, message, wParam, lParam);
    static CHTMLImage image(CreateCompatibleBitmap(nullptr, kGap, kGap));
    reinterpret_cast<tagNM_IMAGENOTIFY*>(lParam)->pImage = &image;
    return TRUE;
}

HWND ImageWindow() {
    static const HWND window = [] {
        WNDCLASSW windowClass{};
        windowClass.lpfnWndProc = &GiveImages;
        windowClass.lpszClassName = u"QN mark-up benchmark";
        RegisterClassW(&windowClass);
        return CreateWindowExW(0, windowClass.lpszClassName, u"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                               nullptr, nullptr);
    }();
    return window;
}

HDC Context() {
    static const HDC dc = [] {
        const HDC made = CreateCompatibleDC(nullptr);
        SelectObject(made, CreateCompatibleBitmap(made, kWidth, kTallest));
        return made;
    }();
    return dc;
}

SIZE MeasureLine(CHTMLParser& parser, const std::u16string& line) {
    RECT rect{0, 0, kWidth, 0};
    parser.SetHTML(line.c_str());
    parser.ParseHTML(ImageWindow());
    DrawHTML(Context(), rect, 0, parser, nullptr, HTML_MEASURE, HTML_NO_COLOR, false);
    return {rect.right, rect.bottom};
}

// The height of all.
int MeasureAll() {
    int height = 0;
    for (const std::u16string& line : Lines()) {
        CHTMLParser parser;
        height += MeasureLine(parser, line).cy;
    }
    return height;
}

} // namespace

// A name of its own for the counter.
extern "C" [[gnu::noinline]] int MeasureLines() { return MeasureAll(); }

namespace {

std::size_t PaintLines() {
    std::size_t spots = 0;
    HTMLHotSpots hotSpots;
    for (const std::u16string& line : Lines()) {
        CHTMLParser parser;
        const SIZE size = MeasureLine(parser, line);
        RECT rect{0, 0, kWidth, size.cy};
        FillRect(Context(), &rect, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
        DrawHTML(Context(), rect, 0, parser, &hotSpots, 0, HTML_NO_COLOR, false);
        spots += hotSpots.size();
    }
    return spots;
}

// --- Pango --------------------------------------------------------------------------------------------------------

constexpr char kGapCharacter[] = "\xEF\xBF\xBC";

std::vector<std::string> MakePeerLines() {
    std::vector<std::string> lines;
    for (int i = 0; i < kLines; ++i)
        lines.push_back(std::to_string(8 + i % 10) + ":30 " + kGapCharacter + "<b>Review " +
                        std::to_string(i) +
                        "</b> with <span foreground=\"#0000FF\">Example Person</span> in the large room, "
                        "bring the papers");
    return lines;
}

class Peer {
public:
    Peer()
        : m_surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, kWidth, kTallest)),
          m_cairo(cairo_create(m_surface)) {
        // The face that ours finds.
        for (const char* file : {"/usr/share/wine/fonts/tahoma.ttf", "/usr/share/wine/fonts/tahomabd.ttf"})
            FcConfigAppFontAddFile(nullptr, reinterpret_cast<const FcChar8*>(file));
        m_layout = pango_cairo_create_layout(m_cairo);
        PangoFontDescription* font = pango_font_description_from_string("Tahoma 9");
        pango_layout_set_font_description(m_layout, font);
        pango_font_description_free(font);
        pango_layout_set_width(m_layout, kWidth * PANGO_SCALE);
    }
    ~Peer() {
        g_object_unref(m_layout);
        cairo_destroy(m_cairo);
        cairo_surface_destroy(m_surface);
    }

    int MeasureAll() {
        int height = 0;
        for (const std::string& line : m_lines) height += Measure(line);
        return height;
    }

    std::size_t PaintAll() {
        std::size_t spots = 0;
        for (const std::string& line : m_lines) {
            const int height = Measure(line);
            cairo_set_source_rgb(m_cairo, 1, 1, 1);
            cairo_rectangle(m_cairo, 0, 0, kWidth, height);
            cairo_fill(m_cairo);
            cairo_set_source_rgb(m_cairo, 0, 0, 0);
            pango_cairo_show_layout(m_cairo, m_layout);
            spots += Spots();
        }
        return spots;
    }

private:
    int Measure(const std::string& line) {
        PangoAttrList* attributes = nullptr;
        char* text = nullptr;
        pango_parse_markup(line.c_str(), -1, 0, &attributes, &text, nullptr, nullptr);
        const PangoRectangle box{0, -kGap * PANGO_SCALE, kGap * PANGO_SCALE, kGap * PANGO_SCALE};
        PangoAttribute* gap = pango_attr_shape_new(&box, &box);
        m_gapAt = static_cast<int>(std::strstr(text, kGapCharacter) - text);
        m_linkAt = static_cast<int>(std::strstr(text, "Example") - text);
        gap->start_index = static_cast<guint>(m_gapAt);
        gap->end_index = gap->start_index + sizeof kGapCharacter - 1;
        pango_attr_list_insert(attributes, gap);
        pango_layout_set_attributes(m_layout, attributes);
        pango_layout_set_text(m_layout, text, -1);
        pango_attr_list_unref(attributes);
        g_free(text);
        int width = 0, height = 0;
        pango_layout_get_pixel_size(m_layout, &width, &height);
        return height;
    }

    // Where the link and the gap stand.
    std::size_t Spots() {
        PangoRectangle place;
        for (const int at : {m_gapAt, m_linkAt}) {
            pango_layout_index_to_pos(m_layout, at, &place);
            benchmark::DoNotOptimize(place);
        }
        return 2;
    }

    const std::vector<std::string> m_lines = MakePeerLines();
    cairo_surface_t* m_surface;
    cairo_t* m_cairo;
    PangoLayout* m_layout;
    int m_gapAt = 0;
    int m_linkAt = 0;
};

Peer& ThePeer() {
    static Peer peer;
    return peer;
}

// --- The run ------------------------------------------------------------------------------------------------------

void OursMeasure(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(MeasureLines());
}
void PeerMeasure(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(ThePeer().MeasureAll());
}
void OursPaint(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(PaintLines());
}
void PeerPaint(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(ThePeer().PaintAll());
}
void OursExtent(benchmark::State& state) {
    const std::u16string text = u"in the large room, 2";
    int fit = 0;
    SIZE size{};
    for (auto _ : state) {
        GetTextExtentExPointW(Context(), text.data(), 20, 100, &fit, nullptr, &size);
        benchmark::DoNotOptimize(size);
    }
}
BENCHMARK(OursMeasure)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(PeerMeasure)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(OursPaint)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(PeerPaint)->Unit(benchmark::kMicrosecond)->Repetitions(5);
BENCHMARK(OursExtent)->Unit(benchmark::kNanosecond)->Repetitions(5);

int Drive() {
    const int height = MeasureAll(); // warms the fonts
    std::printf("%d lines, %d pixels high\n", kLines, height);
    return MeasureLines() == height ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--drive") == 0) return Drive();
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatio("parsed and measured: Pango / ours (20 or more)", "PeerMeasure", "OursMeasure");
    reporter.PrintRatio("and painted, with hot spots: Pango / ours (4 or more)", "PeerPaint", "OursPaint");
    return 0;
}
