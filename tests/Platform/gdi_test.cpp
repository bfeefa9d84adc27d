// Pixels: shapes, copies, sections, clips and the life of objects.
#include "Platform/gdi.h"

#include "Platform/threads.h"
#include "tests/support/canvas.h"

#include <gtest/gtest.h>
#include <algorithm>
#include <array>
#include <functional>
#include <thread>
#include <tuple>

namespace {

// An object for the time of a test.
struct Object {
    explicit Object(HGDIOBJ object) : handle(object) {}
    ~Object() { DeleteObject(handle); }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    operator HGDIOBJ() const { return handle; }
    HBRUSH Brush() const { return static_cast<HBRUSH>(handle); }
    HGDIOBJ handle;
};

// What is drawn with a red pen (of no width: none) and a green brush.
TextRows Drawn(int penWidth, const std::function<void(HDC)>& draw) {
    const Canvas canvas(6, 4);
    const Object brush(CreateSolidBrush(kGreen));
    const Object pen(CreatePen(static_cast<int>(penWidth ? PS_SOLID : PS_NULL), penWidth, kRed));
    const HGDIOBJ oldBrush = SelectObject(canvas, brush), oldPen = SelectObject(canvas, pen);
    draw(canvas);
    SelectObject(canvas, oldBrush);
    SelectObject(canvas, oldPen);
    return canvas.Rows();
}

TEST(Gdi, ShapesCoverTheToldPixels) {
    const RECT all{0, 0, 6, 4}, most{1, 1, 6, 4};
    const auto rectangle = [](HDC dc) { Rectangle(dc, 1, 0, 5, 4); };
    EXPECT_EQ(Drawn(1, rectangle), (TextRows{".RRRR.", ".RGGR.", ".RGGR.", ".RRRR."})); // the pen inside
    EXPECT_EQ(Drawn(2, rectangle), (TextRows(4, ".RRRR.")));
    EXPECT_EQ(Drawn(0, rectangle), (TextRows{".GGG..", ".GGG..", ".GGG..", "......"})); // smaller by one
    EXPECT_EQ(Drawn(1, [&](HDC dc) { DrawFocusRect(dc, &all); }),
              (TextRows{".W.W.W", "W.....", ".....W", "W.W.W."}));
    const auto pattern = [&](HDC dc) {
        const Object brush(CreatePatternBrush(Canvas({"RG", "B."}).Bitmap()));
        FillRect(dc, &most, brush.Brush());
    };
    EXPECT_EQ(Drawn(1, pattern), (TextRows{"......", "..B.B.", ".GRGRG", "..B.B."})); // from the origin
}

TEST(Gdi, LinesCoverTheToldPixels) {
    const struct {
        const char* name;
        int penWidth;
        BOOL (*shape)(HDC, const POINT*, int);
        std::vector<POINT> points;
        TextRows rows;
    } cases[] = {
        {"without its last point",
         1,
         Polyline,
         {{1, 1}, {4, 1}, {4, 3}},
         {"......", ".RRRR.", "....R.", "......"}},
        {"left and up", 1, Polyline, {{4, 3}, {1, 3}, {1, 0}}, {"......", ".R....", ".R....", ".RRRR."}},
        {"slanted", 1, Polyline, {{0, 0}, {3, 3}}, {"R.....", ".R....", "..R...", "......"}},
        {"wide, centred", 3, Polyline, {{1, 1}, {5, 1}}, {".RRRR.", ".RRRR.", ".RRRR.", "......"}},
        {"far",
         1,
         Polyline,
         {{-2000000, -2000000}, {2000000, 2000000}},
         {"R.....", ".R....", "..R...", "...R.."}},
        {"closed", 1, Polygon, {{0, 0}, {4, 0}, {4, 3}, {0, 3}}, {"RRRRR.", "RGGGR.", "RGGGR.", "RRRRR."}},
        {"filled", 0, Polygon, {{0, 0}, {4, 4}, {0, 4}}, {"......", "G.....", "GG....", "GGG..."}},
        {"two points: with both", 1, Polygon, {{1, 2}, {4, 2}}, {"......", "......", ".RRRR.", "......"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Drawn(c.penWidth,
                        [&](HDC dc) { c.shape(dc, c.points.data(), static_cast<int>(c.points.size())); }),
                  c.rows)
            << c.name;
}

TEST(Gdi, WhatInvertsIsItsOwnOpposite) {
    const Canvas canvas({"R.G", ".W.", "B.."});
    const TextRows before = canvas.Rows();
    const Object brush(CreateSolidBrush(kRed));
    const HGDIOBJ former = SelectObject(canvas, brush);
    const RECT all{0, 0, 3, 3};
    const std::function<void()> inversions[] = {[&] { InvertRect(canvas, &all); },
                                                [&] { DrawFocusRect(canvas, &all); },
                                                [&] { PatBlt(canvas, 0, 0, 3, 3, PATINVERT); }};
    for (const auto& invert : inversions) {
        invert();
        EXPECT_NE(canvas.Rows(), before);
        invert();
        EXPECT_EQ(canvas.Rows(), before);
    }
    const Object pattern(CreatePatternBrush(Canvas({"RG", "B."}).Bitmap()));
    const Canvas white(2, 2);
    PatBlt(white, 0, 0, 2, 2, WHITENESS);
    SelectObject(white, pattern);
    PatBlt(white, 0, 0, 2, 1, PATINVERT);
    SelectObject(white, GetStockObject(NULL_BRUSH));
    PatBlt(white, 0, 1, 2, 1, PATINVERT);
    PatBlt(white, 0, 0, 2, 1, PATINVERT);
    EXPECT_EQ(white.At(0, 0), 0xFFFF00u); // white less red
    EXPECT_EQ(white.At(1, 0), 0xFF00FFu);
    EXPECT_EQ(white.Rows()[1], "WW");
    PatBlt(canvas, 0, 0, 1, 3, PATCOPY);
    PatBlt(canvas, 1, 0, 1, 3, WHITENESS);
    PatBlt(canvas, 2, 0, 1, 3, BLACKNESS);
    EXPECT_EQ(canvas.Rows(), TextRows(3, "RW."));
    EXPECT_FALSE(PatBlt(canvas, 0, 0, 1, 1, 0x00123456));
    SelectObject(canvas, former);
}

// A copy within a bitmap acts as through another one, at any shift, also where a clip cuts it to pieces.
TEST(Gdi, CopiesWithinOneBitmapReadWhatWasThere) {
    constexpr int kSize = 7;
    for (const WORD bits : {WORD{24}, WORD{32}})
        for (int shift = 0; shift < 25; ++shift) {
            const int dx = shift % 5 - 2, dy = shift / 5 - 2;
            SCOPED_TRACE(testing::Message() << bits << " bits, by " << dx << ", " << dy);
            const Canvas canvas(kSize, kSize, bits);
            const auto value = [](int x, int y) { return static_cast<COLORREF>(y * 16 + x + 1); };
            for (int y = 0; y < kSize; ++y)
                for (int x = 0; x < kSize; ++x) SetPixel(canvas, x, y, value(x, y));
            const RECT hole{2, 3, 4, 5};
            ExcludeClipRect(canvas, hole.left, hole.top, hole.right, hole.bottom);
            ASSERT_TRUE(BitBlt(canvas, 1 + dx, 1 + dy, 5, 5, canvas, 1, 1, SRCCOPY));
            SelectClipRgn(canvas, nullptr);
            const RECT target{1 + dx, 1 + dy, 6 + dx, 6 + dy};
            for (int y = 0; y < kSize; ++y)
                for (int x = 0; x < kSize; ++x) {
                    const bool copied = PtInRect(&target, {x, y}) && !PtInRect(&hole, {x, y});
                    EXPECT_EQ(canvas.At(x, y), copied ? value(x - dx, y - dy) : value(x, y))
                        << x << ", " << y;
                }
        }
}

TEST(Gdi, CopiesFromAnotherBitmap) {
    const Canvas source({"RG", "BW"});
    struct Case {
        const char* name;
        std::function<BOOL(HDC)> copy;
        TextRows rows;
    };
    const Case cases[] = {
        {"what lies outside the source is not copied",
         [&](HDC dc) { return BitBlt(dc, 0, 0, 4, 4, source, -1, 1, SRCCOPY); },
         {"WBWW", "WWWW", "WWWW", "WWWW"}},
        {"doubled",
         [&](HDC dc) { return StretchBlt(dc, 0, 0, 4, 4, source, 0, 0, 2, 2, SRCCOPY); },
         {"RRGG", "RRGG", "BBWW", "BBWW"}},
        {"three of two",
         [&](HDC dc) { return StretchBlt(dc, 1, 1, 3, 3, source, 0, 0, 2, 2, SRCCOPY); },
         {"WWWW", "WRRG", "WRRG", "WBBW"}},
        {"halved takes the first",
         [&](HDC dc) { return StretchBlt(dc, 0, 0, 1, 1, source, 0, 0, 2, 2, SRCCOPY); },
         {"RWWW", "WWWW", "WWWW", "WWWW"}},
        {"the key is left out",
         [&](HDC dc) { return TransparentImage(dc, 0, 0, 4, 4, source, 0, 0, 2, 2, kGreen); },
         {"RRWW", "RRWW", "BBWW", "BBWW"}},
        {"nothing of nothing",
         [&](HDC dc) { return StretchBlt(dc, 0, 0, 4, 4, source, 0, 0, 0, 0, SRCCOPY); },
         {"WWWW", "WWWW", "WWWW", "WWWW"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Canvas canvas(4, 4, 24);
        PatBlt(canvas, 0, 0, 4, 4, WHITENESS);
        EXPECT_TRUE(c.copy(canvas));
        EXPECT_EQ(canvas.Rows(), c.rows);
    }
    const Canvas twice({"RG", ".."}); // within one bitmap stretching, too, reads what was there
    EXPECT_TRUE(StretchBlt(twice, 0, 0, 2, 2, twice, 1, 0, 1, 2, SRCCOPY));
    EXPECT_EQ(twice.Rows(), (TextRows{"GG", ".."}));

    constexpr int kLeast = static_cast<int>(0x80000000), kMost = 0x7FFFFFFF; // and nothing overflows
    for (const int at : {kLeast, kMost})
        for (const int size : {kLeast, 2, kMost}) {
            EXPECT_TRUE(BitBlt(twice, at, at, size, size, source, 0, 0, SRCCOPY));
            EXPECT_TRUE(BitBlt(twice, 0, 0, size, size, source, at, at, SRCCOPY));
            EXPECT_TRUE(StretchBlt(twice, at, at, size, size, source, at, at, size, size, SRCCOPY));
        }
    EXPECT_EQ(twice.Rows(), (TextRows{"GG", ".."}));
}

TEST(Gdi, AlphaWeighsBothPictures) {
    const Canvas below(1, 1, 24), above(1, 1, 32);
    const auto blend = [&](BYTE constant, BYTE format, std::array<BYTE, 4> bgra) {
        SetPixel(below, 0, 0, 0x643200); // B 100, G 50, R 0
        std::ranges::copy(bgra, above.Bits());
        EXPECT_TRUE(AlphaBlend(below, 0, 0, 1, 1, above, 0, 0, 1, 1, {AC_SRC_OVER, 0, constant, format}));
        return below.At(0, 0);
    };
    EXPECT_EQ(blend(0, 0, {200, 0, 255, 0}), 0x643200u);
    EXPECT_EQ(blend(255, 0, {200, 0, 255, 0}), 0xC800FFu);
    // 200*128 + 100*127 = 38300 -> 150; 50*127 = 6350 -> 25; 255*128 -> 128
    EXPECT_EQ(blend(128, 0, {200, 0, 255, 0}), 0x961980u);
    // Multiplied already: 60 + 100*(255-102)/255 = 120; 0 + 50*.6 = 30; 102 + 0
    EXPECT_EQ(blend(255, AC_SRC_ALPHA, {60, 0, 102, 102}), 0x781E66u);
    const Canvas opaque(1, 1, 24);
    EXPECT_FALSE(AlphaBlend(below, 0, 0, 1, 1, opaque, 0, 0, 1, 1, {AC_SRC_OVER, 0, 255, AC_SRC_ALPHA}));
}

TEST(Gdi, GradientsReachTheSecondColourBehindTheLastPixel) {
    for (const ULONG mode : {GRADIENT_FILL_RECT_H, GRADIENT_FILL_RECT_V}) {
        const Canvas canvas(6, 6);
        IntersectClipRect(canvas, 0, 0, 4, 4);
        TRIVERTEX corners[] = {{1, 1, 0, 0xFF00, 0x1000, 0}, {5, 5, 0xFF00, 0, 0x1000, 0}};
        GRADIENT_RECT rect{0, 1};
        ASSERT_TRUE(GradientFill(canvas, corners, 2, &rect, 1, mode));
        SelectClipRgn(canvas, nullptr);
        // A quarter of 255 a step, cut toward zero: red up, green down.
        const COLORREF expected[] = {0, 0x10FF00, 0x10C03F, 0x10807F, 0, 0};
        for (int i = 0; i < 6; ++i)
            for (int k = 0; k < 6; ++k) {
                const COLORREF color = mode == GRADIENT_FILL_RECT_H ? canvas.At(i, k) : canvas.At(k, i);
                EXPECT_EQ(color, k >= 1 && k < 4 ? expected[i] : 0) << i << ", " << k;
            }
        GRADIENT_RECT stray{0, 2};
        EXPECT_FALSE(GradientFill(canvas, corners, 2, &stray, 1, mode));
    }
}

// --- Bitmaps ------------------------------------------------------------------------------------------------------

// The caller's memory is the bitmap: what is drawn stands there, what is written there shows.
TEST(Gdi, TheMemoryOfASectionIsThePicture) {
    struct Case {
        WORD bits;
        bool topDown;
        std::size_t topLeft, secondRow; // bytes
    };
    // Three pixels of 24 bits are 9 bytes, padded to 12.
    const Case cases[] = {{24, true, 0, 12}, {24, false, 12, 0}, {32, true, 0, 12}, {32, false, 12, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.bits << (c.topDown ? " from the top" : " from the bottom"));
        const Canvas canvas(3, 2, c.bits, c.topDown);
        SetPixel(canvas, 0, 0, 0x112233);
        EXPECT_TRUE(std::equal(canvas.Bits() + c.topLeft, canvas.Bits() + c.topLeft + 3, "\x11\x22\x33"));
        canvas.Bits()[c.secondRow + 2u * c.bits / 8] = 0xFF; // blue of the last pixel
        EXPECT_EQ(canvas.Rows()[1], "..B");
        Canvas other(3, 2);
        BitBlt(other, 0, 0, 3, 2, canvas, 0, 0, SRCCOPY);
        EXPECT_EQ(other.Rows()[1], "..B");

        DIBSECTION whole{};
        ASSERT_EQ(GetObjectW(canvas.Bitmap(), sizeof whole, &whole), static_cast<int>(sizeof whole));
        EXPECT_EQ(whole.dsBm.bmBits, canvas.Bits());
        EXPECT_EQ(std::tuple(whole.dsBm.bmWidth, whole.dsBm.bmHeight, whole.dsBm.bmWidthBytes),
                  std::tuple(3, 2, 12));
    }
}

TEST(Gdi, BitsGoInFromTheTopAndComeOutFromTheBottom) {
    // One pixel and a byte of padding a row; 24 bits.
    const BYTE in[] = {1, 2, 3, 99, 4, 5, 6, 99};
    const Object bitmap(CreateBitmap(1, 2, 1, 24, in));
    BITMAPINFO info{};
    EXPECT_EQ(GetDIBits(nullptr, static_cast<HBITMAP>(bitmap.handle), 0, 0, nullptr, &info, DIB_RGB_COLORS),
              2);
    EXPECT_EQ(std::tuple(info.bmiHeader.biWidth, info.bmiHeader.biHeight, info.bmiHeader.biSizeImage),
              std::tuple(1, 2, 8u));
    const auto out = [&](UINT start, UINT rows, bool topDown, int width = 1) {
        std::vector<BYTE> bytes(8, 0xEE);
        info = SectionInfo(width, 2, 24, topDown);
        const int got =
            GetDIBits(nullptr, static_cast<HBITMAP>(bitmap.handle), start, rows, bytes.data(), &info, 0);
        bytes.resize(static_cast<std::size_t>(got) * 4);
        return bytes;
    };
    EXPECT_EQ(out(0, 9, false), (std::vector<BYTE>{4, 5, 6, 0xEE, 1, 2, 3, 0xEE}));
    EXPECT_EQ(out(0, 2, true), (std::vector<BYTE>{1, 2, 3, 0xEE, 4, 5, 6, 0xEE}));
    EXPECT_EQ(out(1, 1, false), (std::vector<BYTE>{1, 2, 3, 0xEE}));
    EXPECT_EQ(out(2, 1, false), std::vector<BYTE>{});
    EXPECT_EQ(out(0, 1, true, 2), (std::vector<BYTE>{4, 5, 6, 0xEE})); // wider rows than there are: the front
    EXPECT_EQ(out(0, 1, true, -1), std::vector<BYTE>{});
    const BYTE one[] = {7, 8, 9, 0, 7}; // a row that is cut is not taken
    EXPECT_EQ(SetBitmapBits(static_cast<HBITMAP>(bitmap.handle), 5, one), 4);
    EXPECT_EQ(out(0, 2, true), (std::vector<BYTE>{7, 8, 9, 0xEE, 4, 5, 6, 0xEE}));
}

TEST(Gdi, SizesThatCanNotBeAreRefused) {
    const struct {
        int width, height;
        WORD bits;
        DWORD error;
    } cases[] = {{0, 1, 24, ERROR_INVALID_PARAMETER},
                 {1, -1, 24, ERROR_INVALID_PARAMETER},
                 {1, 1, 8, ERROR_INVALID_PARAMETER},
                 {16385, 1, 24, ERROR_NOT_ENOUGH_MEMORY},
                 {1, 0x7FFFFFFF, 32, ERROR_NOT_ENOUGH_MEMORY}};
    for (const auto& c : cases) {
        SetLastError(0);
        EXPECT_EQ(CreateBitmap(c.width, c.height, 1, c.bits, nullptr), nullptr);
        EXPECT_EQ(GetLastError(), c.error) << c.width << "x" << c.height;
        if (c.height < 0) continue; // of a section: from the top
        const BITMAPINFO info = SectionInfo(c.width, c.height, c.bits, true);
        BYTE stale = 0;
        void* bits = &stale;
        EXPECT_EQ(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0), nullptr);
        EXPECT_EQ(GetLastError(), c.error);
        EXPECT_EQ(bits, nullptr);
    }
    EXPECT_EQ(CreateDIBSection(nullptr, nullptr, DIB_RGB_COLORS, nullptr, nullptr, 0), nullptr);
}

// --- Clip ---------------------------------------------------------------------------------------------------------

TEST(Gdi, NothingIsPaintedOrReadOutsideTheClip) {
    const Canvas canvas(5, 3);
    RECT box{};
    EXPECT_EQ(GetClipBox(canvas, &box), SIMPLEREGION);
    EXPECT_EQ(std::tuple(box.left, box.top, box.right, box.bottom), std::tuple(0, 0, 5, 3));
    EXPECT_EQ(ExcludeClipRect(canvas, 1, 1, 2, 2), COMPLEXREGION);
    EXPECT_EQ(IntersectClipRect(canvas, 0, 0, 4, 3), COMPLEXREGION);
    const Object brush(CreateSolidBrush(kRed));
    const RECT all{-9, -9, 99, 99};
    FillRect(canvas, &all, brush.Brush());
    EXPECT_EQ(SetPixel(canvas, 4, 0, kGreen), 0xFFFFFFFFu);
    EXPECT_EQ(canvas.At(1, 1), 0xFFFFFFFFu);
    EXPECT_EQ(SetPixel(canvas, 3, 0, kGreen), kGreen);
    EXPECT_EQ(SelectClipRgn(canvas, nullptr), SIMPLEREGION);
    EXPECT_EQ(canvas.Rows(), (TextRows{"RRRG.", "R.RR.", "RRRR."}));
    EXPECT_EQ(canvas.At(5, 0), 0xFFFFFFFFu);
    EXPECT_EQ(canvas.At(0, -1), 0xFFFFFFFFu);
    EXPECT_EQ(IntersectClipRect(canvas, 9, 9, 10, 10), NULLREGION);
    EXPECT_EQ(GetClipBox(canvas, &box), NULLREGION);
    EXPECT_TRUE(IsRectEmpty(&box));
}

TEST(Gdi, RegionsAreCombined) {
    const Object a(CreateRectRgn(0, 0, 2, 2)), b(CreateRectRgn(3, 2, 1, 0)),
        result(CreateRectRgn(0, 0, 0, 0));
    const struct {
        int mode, kind;
        TextRows rows;
    } cases[] = {{RGN_AND, SIMPLEREGION, {".R.", ".R."}},
                 {RGN_OR, SIMPLEREGION, {"RRR", "RRR"}},
                 {RGN_XOR, COMPLEXREGION, {"R.R", "R.R"}},
                 {RGN_DIFF, SIMPLEREGION, {"R..", "R.."}},
                 {RGN_COPY, SIMPLEREGION, {"RR.", "RR."}}};
    const auto region = [](const Object& o) { return static_cast<HRGN>(o.handle); };
    for (const auto& c : cases) {
        EXPECT_EQ(CombineRgn(region(result), region(a), region(b), c.mode), c.kind);
        const Canvas canvas(3, 2);
        SelectObject(canvas, result);
        const Object brush(CreateSolidBrush(kRed));
        const RECT all{0, 0, 3, 2};
        FillRect(canvas, &all, brush.Brush());
        SelectClipRgn(canvas, nullptr);
        EXPECT_EQ(canvas.Rows(), c.rows) << c.mode;
    }
    EXPECT_EQ(CombineRgn(region(result), region(a), region(b), 6), 0);
}

// --- Objects ------------------------------------------------------------------------------------------------------

TEST(Gdi, ADeletedObjectServesTheContextThatHasIt) {
    const Canvas canvas(2, 1);
    const HBRUSH brush = CreateSolidBrush(kRed);
    const HGDIOBJ former = SelectObject(canvas, brush);
    EXPECT_EQ(former, GetStockObject(WHITE_BRUSH));
    EXPECT_TRUE(DeleteObject(brush));
    PatBlt(canvas, 0, 0, 1, 1, PATCOPY);
    SelectObject(canvas, former);
    PatBlt(canvas, 1, 0, 1, 1, PATCOPY);
    EXPECT_EQ(canvas.Rows(), TextRows{"RW"});

    const HDC dc = CreateCompatibleDC(canvas);
    const HBITMAP bitmap = CreateCompatibleBitmap(dc, 3, 3);
    SelectObject(dc, bitmap);
    DeleteObject(bitmap);
    EXPECT_EQ(SetPixel(dc, 2, 2, kGreen), kGreen);
    EXPECT_TRUE(DeleteDC(dc));
}

TEST(ThreadsGdi, AContextThatAnotherThreadEndedIsGone) {
    const HDC dc = CreateCompatibleDC(nullptr);
    EXPECT_EQ(SetBkMode(dc, TRANSPARENT), OPAQUE);
    std::thread([dc] {
        EXPECT_EQ(SetBkMode(dc, OPAQUE), TRANSPARENT);
        EXPECT_TRUE(DeleteDC(dc));
    }).join();
    EXPECT_EQ(SetBkMode(dc, OPAQUE), 0);
}

TEST(Gdi, StaleAndForeignHandlesFail) {
    const Canvas canvas(1, 1);
    const HDC dc = CreateCompatibleDC(nullptr);
    const HBRUSH brush = CreateSolidBrush(kRed);
    DeleteDC(dc);
    DeleteObject(brush);
    const RECT all{0, 0, 1, 1};
    LOGBRUSH description{};
    const std::function<bool()> calls[] = {
        [&] { return FillRect(dc, &all, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH))) != 0; },
        [&] { return FillRect(canvas, &all, brush) != 0; },
        [&] { return FillRect(canvas, &all, reinterpret_cast<HBRUSH>(canvas.Bitmap())) != 0; },
        [&] { return SelectObject(canvas, brush) != nullptr; },
        [&] { return GetObjectW(brush, sizeof description, &description) != 0; },
        [&] { return DeleteObject(brush) != FALSE; },
        [&] { return DeleteDC(dc) != FALSE; },
        [&] { return DeleteObject(static_cast<HDC>(canvas)) != FALSE; }, // a context ends in DeleteDC
        [&] { return BitBlt(canvas, 0, 0, 1, 1, dc, 0, 0, SRCCOPY) != FALSE; },
        [&] { return SaveDC(dc) != 0; },
        [&] { return SetBkMode(dc, OPAQUE) != 0; },
        [&] { return GetClipBox(dc, nullptr) != 0; },
        [&] { return SetPixel(reinterpret_cast<HDC>(ULONG_PTR{77}), 0, 0, 0) != 0xFFFFFFFF; },
    };
    for (std::size_t i = 0; i < std::size(calls); ++i) {
        SetLastError(0);
        EXPECT_FALSE(calls[i]()) << i;
        EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE) << i;
    }
    EXPECT_EQ(canvas.Rows(), TextRows{"."});
    EXPECT_TRUE(DeleteObject(GetStockObject(BLACK_PEN))); // and it stays
    EXPECT_NE(SelectObject(canvas, GetStockObject(BLACK_PEN)), nullptr);
    EXPECT_EQ(GetStockObject(99), nullptr);
}

// Of the handles there can be, all taken: whatever needs one more fails, also what the host makes for itself.
TEST(Gdi, AFullTableIsTold) {
    const PlatScreen screen = PlatGetScreen();
    const HGDIOBJ font = GetStockObject(SYSTEM_FONT);
    std::vector<HRGN> all;
    while (const HRGN region = CreateRectRgn(0, 0, 1, 1)) all.push_back(region);
    EXPECT_EQ(GetLastError(), ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_GT(all.size(), 100'000u);
    PlatSetScreen({screen.width + 1, screen.height, screen.dotsPerInch});
    EXPECT_EQ(GetStockObject(SYSTEM_FONT), font); // of the same dots the same
    PlatSetScreen({screen.width, screen.height, 2 * screen.dotsPerInch});
    EXPECT_EQ(GetStockObject(SYSTEM_FONT), nullptr);
    EXPECT_EQ(CreateCompatibleDC(nullptr), nullptr);
    EXPECT_EQ(CreateSolidBrush(kRed), nullptr);
    for (const HRGN region : all) DeleteObject(region);
    EXPECT_NE(GetStockObject(SYSTEM_FONT), nullptr);
    PlatSetScreen(screen);
}

TEST(Gdi, SavedStateComesBack) {
    const Canvas canvas(2, 1);
    SetTextColor(canvas, kRed);
    EXPECT_EQ(SaveDC(canvas), 1);
    const HBRUSH brush = CreateSolidBrush(kGreen);
    SelectObject(canvas, brush);
    SetTextColor(canvas, kBlue);
    SetBkColor(canvas, kGreen);
    SetBkMode(canvas, TRANSPARENT);
    IntersectClipRect(canvas, 0, 0, 1, 1);
    EXPECT_EQ(SaveDC(canvas), 2);
    SetTextColor(canvas, kWhite);
    EXPECT_TRUE(RestoreDC(canvas, -1));
    EXPECT_EQ(GetTextColor(canvas), kBlue);
    EXPECT_TRUE(RestoreDC(canvas, 1));
    DeleteObject(brush);
    EXPECT_EQ(GetTextColor(canvas), kRed);
    EXPECT_EQ(GetBkColor(canvas), kWhite);
    EXPECT_EQ(SetBkMode(canvas, OPAQUE), OPAQUE);
    PatBlt(canvas, 0, 0, 2, 1, PATCOPY);
    EXPECT_EQ(canvas.Rows(), TextRows{"WW"});
    EXPECT_FALSE(RestoreDC(canvas, 1));
    EXPECT_FALSE(RestoreDC(canvas, -1));

    const HDC dc = CreateCompatibleDC(canvas); // on its own pixel
    SaveDC(dc);
    SelectObject(dc, canvas.Bitmap());
    EXPECT_EQ(SetPixel(dc, 1, 0, kGreen), kGreen);
    RestoreDC(dc, -1);
    EXPECT_EQ(SetPixel(dc, 1, 0, kRed), 0xFFFFFFFFu);
    DeleteDC(dc);
}

} // namespace
