// What is painted where: visible areas, update regions, frames, the presenter. Also run under the thread sanitizer.
#include "tests/support/waiting.h"
#include "tests/support/windows.h"

#include <atomic>
#include <cairo.h>
#include <vector>

using namespace qntest;

namespace {

class Painting : public WindowTest {
protected:
    Painting() : WindowTest({10, 6, 96}) {}
};

// --- Visible areas ------------------------------------------------------------------------------------------------

// P covers most of the screen; in it A, and B above A, which overlap in one pixel of the column 5, row 3.
struct Scene {
    HWND p, a, b;
};

struct Case {
    const char* name;
    DWORD parentStyle;
    DWORD lowerStyle; // of A
    std::function<void(const Scene&)> act;
    const char* picture;
};

constexpr const char* kAll = "..........\n"
                             ".PPPPPPPP.\n"
                             ".PAAAAPPP.\n"
                             ".PAAABBBP.\n"
                             ".PPPPBBBP.\n"
                             "..........\n";
constexpr const char* kWithoutB = "..........\n"
                                  ".PPPPPPPP.\n"
                                  ".PAAAAPPP.\n"
                                  ".PAAAAPPP.\n"
                                  ".PPPPPPPP.\n"
                                  "..........\n";

const Case kScenes[] = {
    {"all shown", WS_CLIPCHILDREN, 0, [](const Scene&) {}, kAll},
    {"the parent paints over its children, and they again", 0, 0,
     [](const Scene& s) { InvalidateRect(s.p, nullptr, TRUE); }, kAll},
    {"the lower one paints outside of the upper one", WS_CLIPCHILDREN, WS_CLIPSIBLINGS,
     [](const Scene& s) { InvalidateRect(s.a, nullptr, TRUE); }, kAll},
    {"and without the style over it", WS_CLIPCHILDREN, 0,
     [](const Scene& s) { InvalidateRect(s.a, nullptr, TRUE); },
     "..........\n.PPPPPPPP.\n.PAAAAPPP.\n.PAAAABBP.\n.PPPPBBBP.\n..........\n"},
    {"hidden", WS_CLIPCHILDREN, WS_CLIPSIBLINGS, [](const Scene& s) { ShowWindow(s.b, SW_HIDE); }, kWithoutB},
    {"hidden where the parent doesn't clip", 0, 0, [](const Scene& s) { ShowWindow(s.b, SW_HIDE); },
     kWithoutB},
    {"destroyed", WS_CLIPCHILDREN, WS_CLIPSIBLINGS, [](const Scene& s) { DestroyWindow(s.b); }, kWithoutB},
    {"raised", WS_CLIPCHILDREN, WS_CLIPSIBLINGS, [](const Scene& s) { BringWindowToTop(s.a); },
     "..........\n.PPPPPPPP.\n.PAAAAPPP.\n.PAAAABBP.\n.PPPPBBBP.\n..........\n"},
    {"moved", WS_CLIPCHILDREN, WS_CLIPSIBLINGS, [](const Scene& s) { MoveWindow(s.b, 6, 2, 9, 9, TRUE); },
     "..........\n.PPPPPPPP.\n.PAAAAPPP.\n.PAAAAPBB.\n.PPPPPPBB.\n..........\n"},
    {"moved without painting", WS_CLIPCHILDREN, 0, [](const Scene& s) { MoveWindow(s.b, 0, 0, 1, 1, FALSE); },
     kAll},
    {"given to the screen", WS_CLIPCHILDREN, WS_CLIPSIBLINGS,
     [](const Scene& s) {
         SetParent(s.b, nullptr);
         SetWindowPos(s.b, nullptr, 0, 0, 3, 1, SWP_NOZORDER);
     },
     "BBB.......\n.PPPPPPPP.\n.PAAAAPPP.\n.PAAAAPPP.\n.PPPPPPPP.\n..........\n"},
    {"all gone", WS_CLIPCHILDREN, 0, [](const Scene& s) { DestroyWindow(s.p); },
     "..........\n..........\n..........\n..........\n..........\n..........\n"},
};

TEST_F(Painting, WhatIsSeenWhere) {
    for (const Case& c : kScenes) {
        SCOPED_TRACE(c.name);
        Scene scene{};
        scene.p = Make('P', {1, 1, 9, 5}, nullptr, c.parentStyle);
        scene.a = Make('A', {1, 1, 5, 3}, scene.p, c.lowerStyle);
        scene.b = Make('B', {4, 2, 7, 4}, scene.p);
        Pump();
        c.act(scene);
        Pump();
        EXPECT_EQ(Picture(), c.picture);
        DestroyWindow(scene.b);
        DestroyWindow(scene.p);
    }
}

TEST_F(Painting, AContextFollowsItsWindow) {
    const HWND a = Make('A', {0, 0, 4, 2});
    Pump();
    const HDC dc = GetDC(a);
    MoveWindow(a, 5, 3, 4, 2, TRUE);
    const HWND b = Make('B', {5, 3, 7, 4});
    Pump();
    SetPixel(dc, 0, 0, ColorOfLetter('x')); // under B
    SetPixel(dc, 3, 1, ColorOfLetter('x'));
    EXPECT_EQ(Picture(), "..........\n..........\n..........\n.....BBAA.\n.....AAAx.\n..........\n");
    RECT box;
    EXPECT_EQ(GetClipBox(dc, &box), COMPLEXREGION);
    DestroyWindow(a);
    EXPECT_EQ(GetClipBox(dc, &box), NULLREGION);
    EXPECT_EQ(ReleaseDC(a, dc), 1);
    EXPECT_EQ(ErrorOf(GetDC(a)), ERROR_INVALID_WINDOW_HANDLE);
    DestroyWindow(b);
}

// --- Regions ------------------------------------------------------------------------------------------------------

// Sets of the nine pixels of a small bitmap, as bits, beside regions.
class Sets {
public:
    Sets() : m_dc(CreateCompatibleDC(nullptr)), m_bitmap(CreateCompatibleBitmap(nullptr, 3, 3)) {
        SelectObject(m_dc, m_bitmap);
    }
    ~Sets() {
        DeleteDC(m_dc);
        DeleteObject(m_bitmap);
    }
    unsigned PixelsOf(HRGN region) const {
        const RECT all{0, 0, 3, 3};
        FillRect(m_dc, &all, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
        SelectClipRgn(m_dc, region);
        FillRect(m_dc, &all, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
        SelectClipRgn(m_dc, nullptr);
        unsigned bits = 0;
        for (int i = 0; i < 9; ++i) bits |= GetPixel(m_dc, i % 3, i / 3) != 0 ? 1U << i : 0;
        return bits;
    }
    static unsigned Combined(unsigned a, unsigned b, int mode) {
        const unsigned both[] = {a & b, a | b, a ^ b, a & ~b};
        return both[mode - RGN_AND];
    }

private:
    HDC m_dc;
    HBITMAP m_bitmap;
};

TEST_F(Painting, RegionsAreSetsOfPixels) {
    const Sets sets;
    std::vector<HRGN> rects;
    for (int i = 0; i < 256; ++i) { // every rectangle
        const int left = i % 4, top = i / 4 % 4, right = i / 16 % 4, bottom = i / 64;
        if (left < right && top < bottom) rects.push_back(CreateRectRgn(left, top, right, bottom));
    }
    ASSERT_EQ(rects.size(), 36u);
    const HRGN first = CreateRectRgn(0, 0, 0, 0), second = CreateRectRgn(0, 0, 0, 0);
    for (std::size_t a = 0; a < rects.size(); ++a)
        for (const int inner : {RGN_AND, RGN_OR, RGN_XOR, RGN_DIFF}) {
            const HRGN b = rects[(a * 7 + 5) % rects.size()];
            CombineRgn(first, rects[a], b, inner);
            const unsigned pixels = Sets::Combined(sets.PixelsOf(rects[a]), sets.PixelsOf(b), inner);
            ASSERT_EQ(sets.PixelsOf(first), pixels) << a << " " << inner;
            for (const HRGN c : rects)
                for (const int outer : {RGN_AND, RGN_OR, RGN_XOR, RGN_DIFF}) {
                    const unsigned other = sets.PixelsOf(c);
                    CombineRgn(second, first, c, outer);
                    ASSERT_EQ(sets.PixelsOf(second), Sets::Combined(pixels, other, outer))
                        << a << " " << outer;
                    CombineRgn(second, c, first, outer);
                    ASSERT_EQ(sets.PixelsOf(second), Sets::Combined(other, pixels, outer))
                        << a << " " << outer;
                }
        }
    for (const HRGN region : rects) DeleteObject(region);
    DeleteObject(first);
    DeleteObject(second);
}

// --- Update regions -----------------------------------------------------------------------------------------------

RECT UpdateBox(HWND window) {
    RECT box{-1, -1, -1, -1};
    const BOOL some = GetUpdateRect(window, &box, FALSE);
    EXPECT_EQ(some, !IsRectEmpty(&box));
    return box;
}

TEST_F(Painting, UpdateRegionsGrowAndShrink) {
    const HWND a = Make('A', {0, 0, 8, 6});
    Pump();
    const RECT one{1, 1, 3, 2}, two{5, 3, 20, 4}, none{-5, -5, 0, 0};
    struct Step {
        const char* name;
        std::function<void()> act;
        RECT box;
    };
    const HRGN region = CreateRectRgn(4, 0, 6, 2);
    const Step steps[] = {
        {"one", [&] { InvalidateRect(a, &one, FALSE); }, {1, 1, 3, 2}},
        {"cut to the client area", [&] { InvalidateRect(a, &two, FALSE); }, {1, 1, 8, 4}},
        {"nothing of it", [&] { InvalidateRect(a, &none, TRUE); }, {1, 1, 8, 4}},
        {"validated in part", [&] { ValidateRect(a, &one); }, {5, 3, 8, 4}},
        {"validated", [&] { ValidateRect(a, nullptr); }, {0, 0, 0, 0}},
        {"a region", [&] { RedrawWindow(a, nullptr, region, RDW_INVALIDATE); }, {4, 0, 6, 2}},
        {"painted now", [&] { RedrawWindow(a, nullptr, nullptr, RDW_UPDATENOW); }, {0, 0, 0, 0}},
        {"all", [&] { InvalidateRect(a, nullptr, FALSE); }, {0, 0, 8, 6}},
        {"hidden", [&] { ShowWindow(a, SW_HIDE); }, {0, 0, 0, 0}},
        {"not seen", [&] { InvalidateRect(a, nullptr, TRUE); }, {0, 0, 0, 0}},
        {"shown again", [&] { ShowWindow(a, SW_SHOW); }, {0, 0, 8, 6}},
        {"drawing stopped",
         [&] {
             SendMessageW(a, WM_SETREDRAW, 0, 0), ValidateRect(a, nullptr), InvalidateRect(a, nullptr, TRUE);
         },
         {0, 0, 0, 0}},
        {"and begun", [&] { SendMessageW(a, WM_SETREDRAW, 1, 0); }, {0, 0, 8, 6}},
    };
    for (const Step& step : steps) {
        step.act();
        const RECT box = UpdateBox(a);
        EXPECT_TRUE(EqualRect(&box, &step.box))
            << step.name << ": " << box.left << " " << box.top << " " << box.right << " " << box.bottom;
    }
    DeleteObject(region);
    DestroyWindow(a);
    EXPECT_EQ(ErrorOf(InvalidateRect(a, nullptr, TRUE)), ERROR_INVALID_WINDOW_HANDLE);
    PAINTSTRUCT paint;
    EXPECT_EQ(BeginPaint(a, &paint), nullptr);
}

TEST_F(Painting, OnlyTheUpdateRegionIsPaintedAndErased) {
    const HWND a = Make('A', {0, 0, 6, 3});
    Pump();
    std::string erased;
    RECT painted{};
    s_handler = [&](HWND window, UINT message, WPARAM wParam, LPARAM) {
        if (message == WM_ERASEBKGND) {
            erased += 'e';
            const HBRUSH brush = CreateSolidBrush(ColorOfLetter('e'));
            const RECT everywhere{-9, -9, 99, 99};
            FillRect(reinterpret_cast<HDC>(wParam), &everywhere, brush);
            DeleteObject(brush);
            return true;
        }
        if (message != WM_PAINT) return false;
        PAINTSTRUCT paint;
        const HDC dc = BeginPaint(window, &paint);
        EXPECT_EQ(paint.fErase, erased.empty() ? FALSE : TRUE); // 0 was the answer
        painted = paint.rcPaint;
        for (int x = 0; x < 6; ++x) SetPixel(dc, x, 1, ColorOfLetter('p'));
        EXPECT_FALSE(GetUpdateRect(window, nullptr, FALSE)); // all of it is taken
        EndPaint(window, &paint);
        return true;
    };
    const RECT one{1, 0, 2, 3}, two{4, 1, 5, 2};
    InvalidateRect(a, &one, FALSE);
    InvalidateRect(a, &two, FALSE);
    UpdateWindow(a);
    EXPECT_EQ(Picture().substr(0, 33), "AAAAAA....\nApAApA....\nAAAAAA....\n");
    EXPECT_EQ(painted.left, 1);
    EXPECT_EQ(painted.right, 5);
    InvalidateRect(a, &one, TRUE);
    UpdateWindow(a);
    UpdateWindow(a); // nothing more to paint
    EXPECT_EQ(erased, "e");
    EXPECT_EQ(Picture().substr(0, 33), "AeAAAA....\nApAApA....\nAeAAAA....\n");
}

TEST_F(Painting, TheGroundIsTheClassBrush) {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &DefWindowProcW;
    windowClass.lpszClassName = u"QN ground";
    const struct {
        HBRUSH brush;
        COLORREF color;
    } grounds[] = {{reinterpret_cast<HBRUSH>(static_cast<LONG_PTR>(COLOR_HIGHLIGHT + 1)), 0xD77800},
                   {static_cast<HBRUSH>(GetStockObject(GRAY_BRUSH)), 0x808080},
                   {nullptr, GetSysColor(COLOR_BACKGROUND)}};
    for (const auto& ground : grounds) {
        windowClass.hbrBackground = ground.brush;
        ASSERT_NE(RegisterClassW(&windowClass), 0);
        const HWND window = CreateWindowExW(0, u"QN ground", u"", WS_POPUP | WS_VISIBLE, 2, 2, 2, 2, nullptr,
                                            nullptr, nullptr, nullptr);
        Pump();
        EXPECT_EQ(ScreenPixel(3, 3), ground.color);
        DestroyWindow(window);
        EXPECT_TRUE(UnregisterClassW(u"QN ground", nullptr));
    }
}

TEST_F(Painting, PaintComesBehindPostsAndInputAndBeforeTimers) {
    const HWND a = Make('A', {0, 0, 4, 4});
    Pump();
    const SYSTEMTIME noon{2026, 11, 6, 21, 12, 0, 0, 0};
    PlatSetClock(&noon);
    SetTimer(a, 1, 10, nullptr);
    PlatAdvanceClock(10);
    InvalidateRect(a, nullptr, FALSE);
    PlatPointer(PlatPointerAction::Move, 1, 1);
    PostMessageW(a, WM_USER, 0, 0);
    std::vector<UINT> order;
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        order.push_back(message.message);
        DispatchMessageW(&message);
    }
    EXPECT_EQ(order, (std::vector<UINT>{WM_USER, WM_MOUSEMOVE, WM_PAINT, WM_TIMER}));
}

// --- Frames -------------------------------------------------------------------------------------------------------

TEST_F(Painting, BordersLieInsideTheWindow) {
    const HWND a = Make('A', {1, 1, 6, 5}, nullptr, WS_BORDER);
    const HWND b = Make('B', {1, 0, 9, 9}, a);
    Pump();
    EXPECT_EQ(Picture(), "..........\n.#####....\n.#ABB#....\n.#ABB#....\n.#####....\n..........\n");
    TakeLog();
    SetWindowLongW(a, GWL_STYLE, static_cast<LONG_PTR>(WS_POPUP | WS_VISIBLE));
    RECT client{};
    GetClientRect(a, &client);
    EXPECT_EQ(client.right, 3); // until the frame is asked for
    SetWindowPos(a, nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_FRAMECHANGED);
    Pump();
    EXPECT_EQ(TakeLog(), "A place 1,1\nA size 5,4\n");
    EXPECT_EQ(Picture(), "..........\n.ABBBB....\n.ABBBB....\n.ABBBB....\n.ABBBB....\n..........\n");
    POINT point{0, 0};
    ClientToScreen(b, &point);
    EXPECT_EQ(point.x, 2);
}

TEST_F(Painting, AWindowHearsOfItsPlaceBehindItsCreation) {
    Make('A', {1, 2, 7, 6}, nullptr, WS_BORDER);
    EXPECT_EQ(TakeLog(), "A size 4,2\nA place 2,3\nA shown 1\nA active 1\nA focus from 0\n");
}

// --- The presenter ------------------------------------------------------------------------------------------------

struct Presenter final : PlatPresenter {
    void ScreenPainted() override { ++told; }
    void ShowInputPanel(BOOL show) override { panel = show; }
    std::atomic<int> told{0};
    BOOL panel = FALSE;
};

std::string TakeDirty() {
    std::string boxes;
    PlatTakeDirty(
        [](void* context, const RECT& rect, const BYTE* pixels, int stride) {
            const BYTE* last =
                pixels + (rect.bottom - rect.top - 1) * stride + (rect.right - rect.left - 1) * 4;
            *static_cast<std::string*>(context) +=
                std::to_string(rect.left) + " " + std::to_string(rect.top) + " " +
                std::to_string(rect.right) + " " + std::to_string(rect.bottom) + " " +
                static_cast<char>(last[2]) + "\n"; // red tells the letter
        },
        &boxes);
    return boxes;
}

TEST_F(Painting, ThePresenterHearsOfWhatIsPainted) {
    const HWND a = Make('A', {1, 1, 9, 5});
    Pump();
    Presenter presenter;
    EXPECT_EQ(PlatSetPresenter(&presenter), nullptr);
    TakeDirty();
    EXPECT_EQ(presenter.told, 0);
    const RECT part{2, 1, 4, 3};
    for (int i = 0; i < 2; ++i) {
        InvalidateRect(a, &part, FALSE);
        Pump();
    }
    EXPECT_EQ(presenter.told, 1); // once until it looks
    EXPECT_EQ(TakeDirty(), "3 2 5 4 A\n");
    EXPECT_EQ(TakeDirty(), "");
    const HDC dc = GetDC(a);
    SetPixel(dc, 0, 0, 0);
    EXPECT_EQ(TakeDirty(), "1 1 9 5 A\n");
    SetPixel(dc, 0, 0, 0); // with the same context again
    EXPECT_EQ(TakeDirty(), "1 1 9 5 A\n");
    ReleaseDC(a, dc);
    EXPECT_EQ(presenter.told, 3);
    PlatTouchScreen();
    EXPECT_EQ(PlatTakeDirty([](void*, const RECT&, const BYTE*, int) {}, nullptr), 1u);
    EXPECT_TRUE(SHSipPreference(a, SIP_UP));
    EXPECT_TRUE(presenter.panel);
    EXPECT_EQ(PlatSetPresenter(nullptr), &presenter);
}

TEST_F(Painting, ANewScreenIsPaintedAnew) {
    const HWND a = Make('A', {0, 0, 3, 2}, nullptr, WS_BORDER);
    Pump();
    TakeLog();
    MSG message;
    PlatSetScreen({8, 3, 192});
    EXPECT_TRUE(PeekMessageW(&message, a, WM_SETTINGCHANGE, WM_SETTINGCHANGE, PM_REMOVE));
    EXPECT_EQ(message.wParam, SPI_SETWORKAREA);
    SetWindowPos(a, nullptr, 0, 0, 6, 6, SWP_NOMOVE | SWP_NOZORDER);
    Pump();
    EXPECT_EQ(Picture(), "######..\n######..\n##AA##..\n"); // two pixels at 192 dots
    EXPECT_TRUE(PlatSetSysColor(COLOR_WINDOWFRAME, ColorOfLetter('f')));
    EXPECT_FALSE(PlatSetSysColor(99, 0));
    Pump();
    EXPECT_EQ(ScreenPixel(1, 1), ColorOfLetter('f'));
}

TEST_F(Painting, PicturesOfTheScreenAndOfAWindow) {
    const HWND a = Make('A', {7, 2, 12, 5});
    const std::string screen = HostPath("screen.png"), window = HostPath("window.png");
    EXPECT_TRUE(PlatSaveWindow(a, window.c_str())); // paints first
    EXPECT_TRUE(PlatSaveScreen(screen.c_str()));
    const struct {
        const std::string& file;
        int width, height, x, y;
    } pictures[] = {{screen, 10, 6, 9, 4}, {window, 3, 3, 2, 2}};
    for (const auto& picture : pictures) {
        cairo_surface_t* read = cairo_image_surface_create_from_png(picture.file.c_str());
        ASSERT_EQ(cairo_image_surface_get_width(read), picture.width);
        EXPECT_EQ(cairo_image_surface_get_height(read), picture.height);
        const unsigned char* pixel = cairo_image_surface_get_data(read) +
                                     picture.y * cairo_image_surface_get_stride(read) + picture.x * 4;
        EXPECT_EQ(pixel[2], 'A');
        cairo_surface_destroy(read);
    }
    EXPECT_FALSE(PlatSaveScreen(HostPath("no/such/folder.png").c_str()));
    MoveWindow(a, 100, 100, 5, 5, TRUE);
    EXPECT_FALSE(PlatSaveWindow(a, window.c_str()));
}

// --- Threads ------------------------------------------------------------------------------------------------------

class ThreadsPainting : public WindowTest {
protected:
    ThreadsPainting() : WindowTest({40, 30, 96}) {}
};

// Two threads paint windows that overlap, while this one moves them, invalidates and looks at the screen.
TEST_F(ThreadsPainting, TwoPaintWhileAThirdMovesAndLooks) {
    std::atomic<HWND> windows[2]{};
    const auto paint = [&](std::size_t which, char letter) {
        const HWND window = Make(letter, {0, 0, 20, 20});
        windows[which] = window;
        MSG message;
        while (GetMessageW(&message, nullptr, 0, 0) > 0) {
            DispatchMessageW(&message);
            const HDC dc = GetDC(window);
            SetPixel(dc, 3, 3, ColorOfLetter(letter));
            ReleaseDC(window, dc);
        }
        DestroyWindow(window);
        return 0u;
    };
    TestThread a([&] { return paint(0, 'A'); }), b([&] { return paint(1, 'B'); });
    ASSERT_TRUE(Eventually([&] { return windows[0].load() && windows[1].load(); }));
    for (int i = 0; i < 200; ++i) {
        const HWND window = windows[i % 2];
        SetWindowPos(window, i % 3 ? HWND_TOP : HWND_BOTTOM, i % 17, i % 11, 0, 0,
                     SWP_NOSIZE | SWP_NOACTIVATE);
        InvalidateRect(window, nullptr, TRUE);
        PlatPointer(PlatPointerAction::Move, i % 40, i % 30);
        TakeDirty();
    }
    SetWindowPos(windows[0], HWND_TOP, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE);
    SetWindowPos(windows[1], HWND_TOP, 10, 10, 0, 0, SWP_NOSIZE | SWP_NOACTIVATE);
    EXPECT_TRUE(Eventually([] { // all of both in the end
        return ScreenPixel(5, 5) == ColorOfLetter('A') && ScreenPixel(15, 15) == ColorOfLetter('B') &&
               ScreenPixel(29, 29) == ColorOfLetter('B') &&
               ScreenPixel(35, 5) == GetSysColor(COLOR_BACKGROUND);
    }));
    for (const TestThread* thread : {&a, &b}) PostThreadMessageW(thread->Id(), WM_QUIT, 0, 0);
    for (const TestThread* thread : {&a, &b}) EXPECT_EQ(thread->Join(), 0u);
    EXPECT_EQ(ScreenPixel(15, 15), GetSysColor(COLOR_BACKGROUND));
}

} // namespace
