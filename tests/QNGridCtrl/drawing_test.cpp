// Open pixels, filters, gradients, scaled drawing.
#include "NorvoTools/registryfunctions.h"
#include "NorvoUI/hidpi.h"
#include "Platform/imaging.h"
#include "Platform/modules.h"
#include "QNGridCtrl/BitmapBuffer.h"
#include "QNGridCtrl/gradients.h"
#include "QNGridCtrl/hidpidraw.h"
#include "tests/support/canvas.h"
#include "tests/support/devicefiles.h"
#include "tests/support/pngmaker.h"

#include <tuple>

namespace {

using Values = std::vector<int>;

// The red channel along a row or a column.
Values Reds(HDC dc, int count, bool down = false) {
    Values reds;
    for (int i = 0; i < count; ++i)
        reds.push_back(static_cast<int>(GetPixel(dc, down ? 0 : i, down ? i : 0) & 0xFF));
    return reds;
}

// --- Buffers --------------------------------------------------------------------------------------------------------

class Buffers : public ::testing::TestWithParam<bool> {}; // from the top or from the bottom

TEST_P(Buffers, FillDrawAndCopy) {
    BitmapBuffer buffer;
    EXPECT_FALSE(buffer.FillBackground(kRed));
    ASSERT_TRUE(buffer.CreateBufferFill(3, 2, kRed, GetParam()));
    EXPECT_TRUE(buffer.FillRect({1, 1, 9, 9}, kBlue));
    EXPECT_EQ(buffer.GetRow(1)[3], 0xFF); // B, G, R
    EXPECT_EQ(buffer.GetRow(2), nullptr);
    SetPixel(buffer.GetDC(nullptr), 2, 0, kGreen);
    const Canvas canvas(4, 3);
    EXPECT_TRUE(buffer.Draw(canvas, 1, 1));
    buffer.ReleaseDC();
    EXPECT_EQ(canvas.Rows(), (TextRows{"....", ".RRG", ".RBB"}));

    BitmapBuffer other;
    ASSERT_TRUE(other.CreateBufferFill(2, 3, kWhite, !GetParam()));
    EXPECT_TRUE(other.BitBlt(buffer));
    EXPECT_FALSE(other.Alpha(buffer, 100)); // another size
    const Canvas copy(2, 3);
    other.Draw(copy, 0, 0);
    EXPECT_EQ(copy.Rows(), (TextRows{"RR", "RB", "WW"}));
    EXPECT_FALSE(buffer.CreateBuffer(0, 5, GetParam()));
    EXPECT_EQ(buffer.GetBitmap(), nullptr);
}

TEST_P(Buffers, BlendRoundsToTheNearest) {
    BitmapBuffer mine, other;
    ASSERT_TRUE(mine.CreateBufferFill(1, 1, 0x00FF64, GetParam()));
    ASSERT_TRUE(other.CreateBufferFill(1, 1, 0xFF00C8, !GetParam()));
    ASSERT_TRUE(mine.Alpha(other, 128));
    // 100 and 200: 38300 / 255 = 150.2; 255 and 0: 127; 0 and 255: 128.
    EXPECT_EQ(GetPixel(mine.GetDC(nullptr), 0, 0), 0x807F96u);
}

// A copy of what stands above, a sum with clamp and without, and edges that stay.
TEST_P(Buffers, FiltersSeeTheirNeighbours) {
    const struct {
        BITMAPFILTER_MATRIX matrix;
        int middle;
    } cases[] = {{{{0, 1, 0, 0, 0, 0, 0, 0, 0}, 1, 0, true}, 2},
                 {{{0, 0, 0, 0, 0, 1, 0, 0, 0}, 1, 10, true}, 16},
                 {{{1, 1, 1, 1, 1, 1, 1, 1, 1}, 9, 0, true}, 5},
                 {{{0, 0, 0, 0, 100, 0, 0, 0, 0}, 1, 0, true}, 255},
                 {{{0, 0, 0, 0, 100, 0, 0, 0, 0}, 1, 0, false}, 244},
                 {{{0, 0, 0, 0, -1, 0, 0, 0, 0}, 2, 0, true}, 0},
                 {{{0, 0, 0, 0, 7, 0, 0, 0, 0}, 0, 0, true}, 35}};
    for (const auto& c : cases) {
        BitmapBuffer buffer;
        ASSERT_TRUE(buffer.CreateBuffer(3, 3, GetParam()));
        const HDC dc = buffer.GetDC(nullptr);
        for (int i = 0; i < 9; ++i) SetPixel(dc, i % 3, i / 3, static_cast<COLORREF>(i + 1));
        ASSERT_TRUE(buffer.SpatialFilter(BitmapFilter(c.matrix)));
        for (int i = 0; i < 9; ++i)
            EXPECT_EQ(static_cast<int>(GetPixel(dc, i % 3, i / 3) & 0xFF), i == 4 ? c.middle : i + 1) << i;
    }
}

TEST_P(Buffers, RadialFillsAreLinearByTheDistance) {
    BitmapBuffer buffer;
    ASSERT_TRUE(buffer.CreateBufferFill(7, 1, 7, GetParam()));
    EXPECT_TRUE(buffer.RadialGradientFill(2, 0, 4, 100, 200));
    EXPECT_EQ(Reds(buffer.GetDC(nullptr), 7), (Values{150, 125, 100, 125, 150, 175, 200}));
    EXPECT_TRUE(buffer.RadialGradientFill(0, 0, 1, 0, 0));
    EXPECT_EQ(Reds(buffer.GetDC(nullptr), 3), (Values{0, 0, 100}));
    EXPECT_FALSE(buffer.RadialGradientFill(0, 0, 0, 0, 0));
}

INSTANTIATE_TEST_SUITE_P(Orders, Buffers, ::testing::Bool());

// --- Gradients ------------------------------------------------------------------------------------------------------

class Gradients : public DeviceTest {};

TEST_F(Gradients, TheDarkerTwin) {
    int r = 0, g = 0, b = 0;
    const struct {
        COLORREF color, twin;
        int delta;
    } cases[] = {{0x000000, 0x424242, 66},
                 {0x000000, 0x2C2C2C, 300},
                 {0x102030, 0x00000E, 34},
                 {0xFFFFFF, 0xBDBDBD, 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(SetGradientColor(c.color, r, g, b, c.delta), c.twin);
        EXPECT_EQ(static_cast<COLORREF>(r | g << 8 | b << 16), c.twin);
    }
}

TEST_F(Gradients, BandsStandInForThePlatform) {
    const struct {
        const char* name;
        int length, steps;
        Values reds;
    } cases[] = {
        // Five sixths of 12 are 10; bands of 2, each nearer to the 100 in front: 0 + 100 * distance / 10.
        {"bands", 12, 5, {100, 100, 80, 80, 60, 60, 40, 40, 20, 20, 0, 0}},
        {"what is left in front", 12, 3, {100, 90, 90, 90, 60, 60, 60, 30, 30, 30, 0, 0}},
        {"more steps than pixels: one pixel each", 6, 99, {100, 80, 60, 40, 20, 0}},
        {"one step", 6, 1, {100, 100, 100, 100, 100, 0}},
        {"nothing to fade over", 1, 32, {0}},
    };
    for (const bool horizontal : {true, false})
        for (const auto& c : cases) {
            SCOPED_TRACE(c.name);
            PlatInjectFault(PlatFault::Gradient, 1, true);
            const Canvas canvas(horizontal ? c.length : 1, horizontal ? 1 : c.length);
            GradientFillRectEx(canvas, {0, 0, horizontal ? c.length : 1, horizontal ? 1 : c.length}, 100, 0,
                               c.steps, horizontal);
            PlatInjectFault(PlatFault::Gradient, 0);
            EXPECT_EQ(Reds(canvas, c.length, !horizontal), c.reds);
        }
    const Canvas canvas(4, 1);
    GradientFillRect(canvas, {0, 0, 4, 1}, 0, 0x0000C8);
    EXPECT_EQ(Reds(canvas, 4), (Values{0, 50, 100, 150}));
}

TEST_F(Gradients, LooksOfHeaders) {
    const RECT tall{0, 0, 1, 8}, wide{0, 0, 16, 8};
    const Canvas canvas(16, 8);
    DrawHeaderGradient(HEADER_SUBTLE, tall, canvas, 120, 0);
    EXPECT_EQ(Reds(canvas, 8, true), (Values{120, 100, 80, 60, 40, 20, 0, 0}));
    DrawHeaderGradient(HEADER_SOLID, tall, canvas, 120, 7);
    EXPECT_EQ(Reds(canvas, 8, true), Values(8, 7));
    // Of red 90: a grey of 30 + 80 towards 95, then 21 towards 90; quarters of the way each.
    DrawHeaderGradient(HEADER_GLASS, wide, canvas, 0, 90);
    EXPECT_EQ(Reds(canvas, 8, true), (Values{110, 107, 103, 99, 21, 38, 55, 72}));
    EXPECT_EQ(GetPixel(canvas, 0, 0), 0x6E6E6Eu);
    // From the corner: half of 255 to 200 in sixteenths along, half of 0 to 200 in eighths down.
    DrawGlassGradient({0, 0, 2, 8}, canvas, 200);
    EXPECT_EQ(GetPixel(canvas, 0, 0) & 0xFF, 127u); // 255 * 127 / 255
}

TEST_F(Gradients, TheSystemsLookIsReadOnce) {
    const WCHAR kKey[] = u"Software\\Norvo\\Quillonary";
    const Canvas shown(16, 8), glass(16, 8);
    const RECT rect{0, 0, 16, 8};
    DrawSystemGradient(rect, shown, 0, 90);
    DrawGlassGradient(rect, glass, 90);
    EXPECT_EQ(Reds(shown, 8, true), Reds(glass, 8, true));
    EXPECT_EQ(ReadRegistryWithDefault(kKey, u"SystemHeaderStyle", 0),
              HEADER_GLASS); // written when it was missing
    SetToRegistry(HKEY_CURRENT_USER, kKey, u"SystemHeaderStyle", HEADER_SOLID);
    DrawSystemGradient(rect, shown, 0, 90);
    EXPECT_EQ(Reds(shown, 8, true), Reds(glass, 8, true));
}

TEST_F(Gradients, ShadesAndBrushes) {
    const Canvas canvas(4, 1);
    PaintRect(canvas, 0, 0, 2, 1, kBlue);
    PaintRect(canvas, 2, 0, 2, 1, kWhite);
    EXPECT_EQ(canvas.Rows(), TextRows{"BBWW"});
    EXPECT_EQ(GetBkColor(canvas), kWhite); // as it was
    EXPECT_TRUE(ShadeRect(canvas, {0, 0, 2, 1}, kWhite, nullptr, 51));
    EXPECT_EQ(canvas.At(1, 0), 0xFF3333u);
    EXPECT_TRUE(ShadeRect(canvas, {2, 0, 3, 1}, kRed, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)), 255));
    EXPECT_EQ(canvas.Rows(), TextRows{"??.W"});
    EXPECT_FALSE(ShadeRect(canvas, {2, 0, 2, 1}, kRed, nullptr, 255));

    const RECT rect{0, 0, 4, 1};
    const HBRUSH brush = CreateGradientPatternBrush(rect, canvas, 200); // from 134 in quarters of 66
    FillRect(canvas, &rect, brush);
    DeleteObject(brush);
    EXPECT_EQ(Reds(canvas, 4), (Values{134, 150, 167, 183}));
}

// --- Scaled drawing -------------------------------------------------------------------------------------------------

// Each of them reads the screen when nothing has yet.
class Dense : public DeviceFilesTest {
protected:
    Dense() {
        PlatSetScreen({480, 640, 192});
        g_HIDPI_LogPixelsX = g_HIDPI_BorderPixels = g_HIDPI_IconPixels = 0;
    }
    ~Dense() override { g_HIDPI_LogPixelsX = 0; }
};

TEST_F(Dense, LinesAndBitmapsAreTwiceAsLarge) {
    const Canvas canvas(6, 4);
    const POINT line[] = {{0, 0}, {6, 0}};
    PatBlt(canvas, 0, 0, 6, 4, WHITENESS);
    HIDPI_BorderRectangle(canvas, 0, 0, 5, 4);
    HIDPI_BorderPolyline(canvas, line, 2);
    EXPECT_EQ(canvas.Rows(), (TextRows{"......", "......", ".....W", ".....W"}));
    HIDPI_Rectangle(canvas, 0, 0, 6, 4);
    HPEN red = CreatePen(PS_SOLID, 1, kRed);
    const HGDIOBJ former = SelectObject(canvas, red);
    HIDPI_Polyline(canvas, line, 2);
    EXPECT_EQ(SelectObject(canvas, former), red); // the pen is what it was
    DeleteObject(red);
    EXPECT_EQ(canvas.Rows(), (TextRows{"RRRRRR", "RRRRRR", "......", "......"}));

    const Canvas small({"RG"});
    const HBITMAP large = HIDPI_StretchBitmap_Transparent(small.Bitmap(), 0, 0, kGreen);
    BITMAP size{};
    GetObjectW(large, sizeof size, &size);
    EXPECT_EQ(std::pair(size.bmWidth, size.bmHeight), std::pair(4, 2));
    const HIMAGELIST list = ImageList_Create(4, 2, ILC_COLOR24, 1, 1);
    EXPECT_EQ(ImageList_AddMasked(list, large, kGreen), 0);
    PatBlt(canvas, 0, 0, 6, 4, WHITENESS);
    ImageList_Draw(list, 0, canvas, 0, 0, ILD_TRANSPARENT);
    EXPECT_EQ(canvas.Rows(), (TextRows{"RRWWWW", "RRWWWW", "WWWWWW", "WWWWWW"}));
    ImageList_Destroy(list);
    DeleteObject(large);
    EXPECT_EQ(HIDPI_StretchBitmap(nullptr, 1, 1), nullptr);
    EXPECT_EQ(HIDPI_GetBitmapLogPixels(small.Bitmap()), 96);
}

// Three pictures of one pixel at 96 dots an inch, and an icon.
TEST_F(Dense, PicturesOfResourcesAreTwiceAsLarge) {
    const char bmp[] = "BM\x42\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\3\0\0\0\1\0\0\0\1\0\x18\0"
                       "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"
                       "\0\0\xFF\0\xFF\0\xFF\0\0\0\0"; // red, green, blue
    const PNGBytes png = MakePNG({.value = [](DWORD, DWORD, unsigned) { return 255u; }});
    Put("r/bmp/1.bmp", {bmp, sizeof bmp});
    Put("r/png/2.png", {reinterpret_cast<const char*>(png.data()), png.size()});
    const HINSTANCE folder = LoadLibraryW(u"\\r");
    const HIMAGELIST list = HIDPI_ImageList_LoadImage(folder, 1, 1, 4, kGreen);
    const Canvas canvas(6, 2);
    for (int i = 0; i < 3; ++i) ImageList_Draw(list, i, canvas, i * 2, 0, ILD_TRANSPARENT);
    EXPECT_EQ(canvas.Rows(), TextRows(2, "RR..BB"));
    EXPECT_EQ(HIDPI_ImageList_LoadImage(folder, 1, 0, 4, kGreen), nullptr);
    EXPECT_EQ(HIDPI_ImageList_LoadImage(folder, 2, 1, 4, kGreen), nullptr);
    const auto sideOf = [](HICON icon) {
        SIZE size{};
        PlatGetIconSize(icon, &size);
        DestroyIcon(icon);
        return size.cx;
    };
    EXPECT_EQ(sideOf(HIDPI_LoadIcon(folder, 2)), 32); // as small icons are
    const HICON icon = LoadIconW(folder, MAKEINTRESOURCEW(2));
    EXPECT_EQ(sideOf(HIDPI_StretchIcon(icon, 0, 5)), 2);
    EXPECT_EQ(sideOf(icon), 1);
    ImageList_Destroy(list);
    FreeLibrary(folder);
}

} // namespace
