// Windows that move what they show, and what that takes.
#include "Platform/painting.h"
#include "tests/support/windows.h"

#include <climits>

using namespace qntest;

namespace {

// A fills its parent, and the screen; each of its pixels has a letter. What it paints itself is 'A'.
class PaintingScroll : public WindowTest {
protected:
    PaintingScroll() : WindowTest({6, 4, 96}) {}

    struct Scene {
        HWND parent, a;
    };
    static Scene MakeScene() {
        const HWND parent = Make('P', {0, 0, 6, 4});
        const Scene scene{parent, Make('A', {0, 0, 6, 4}, parent)};
        Pump();
        SetLetters(scene.a);
        return scene;
    }
    static void SetLetters(HWND window) {
        const HDC dc = GetDC(window);
        for (int i = 0; i < 24; ++i) SetPixel(dc, i % 6, i / 6, ColorOfLetter(static_cast<char>('a' + i)));
        ReleaseDC(window, dc);
    }
    static HWND Cover(HWND parent) {
        const HWND cover = Make('B', {2, 0, 4, 2}, parent);
        Pump();
        return cover;
    }

    struct Case {
        const char* name;
        std::function<void(const Scene&)> prepare;
        int dx, dy;
        std::optional<RECT> part, clip;
        UINT flags;
        const char* picture;
        int kind; // of what is told, and its box
        RECT box;
    };
};

constexpr RECT Box(LONG left, LONG top, LONG right, LONG bottom) { return {left, top, right, bottom}; }
const RECT kPart{1, 1, 5, 3};

TEST_F(PaintingScroll, OnlyValidPixelsOfTheWindowMove) {
    const auto nothing = [](const Scene&) {};
    const auto owe = [](const RECT& rect) {
        return [rect](const Scene& s) { InvalidateRect(s.a, &rect, FALSE); };
    };
    const auto none = std::nullopt;
    constexpr UINT kPaint = SW_INVALIDATE;
    const Case cases[] = {
        {"up", nothing, 0, -1, none, none, kPaint, "ghijkl\nmnopqr\nstuvwx\nAAAAAA\n", SIMPLEREGION,
         Box(0, 3, 6, 4)},
        {"down and right", nothing, 1, 1, none, none, kPaint, "AAAAAA\nAabcde\nAghijk\nAmnopq\n",
         COMPLEXREGION, Box(0, 0, 6, 4)},
        {"up and left, only told", nothing, -1, -1, none, none, 0, "hijklf\nnopqrl\ntuvwxr\nstuvwx\n",
         COMPLEXREGION, Box(0, 0, 6, 4)},
        {"a part", nothing, -1, 0, kPart, none, kPaint, "abcdef\nhijkAl\nnopqAr\nstuvwx\n", SIMPLEREGION,
         Box(4, 1, 5, 3)},
        {"a part that stays inside", nothing, -1, 0, kPart, kPart, kPaint, "abcdef\ngijkAl\nmopqAr\nstuvwx\n",
         SIMPLEREGION, Box(4, 1, 5, 3)},
        {"nowhere", nothing, 0, 0, none, none, kPaint, "abcdef\nghijkl\nmnopqr\nstuvwx\n", NULLREGION,
         Box(0, 0, 0, 0)},
        {"out of view", nothing, 0, -4, none, none, kPaint, "AAAAAA\nAAAAAA\nAAAAAA\nAAAAAA\n", SIMPLEREGION,
         Box(0, 0, 6, 4)},
        {"farther than there is", nothing, INT_MIN, INT_MAX, kPart, none, kPaint,
         "abcdef\ngAAAAl\nmAAAAr\nstuvwx\n", SIMPLEREGION, kPart},
        {"what is to be painted moves along", owe(Box(0, 0, 2, 2)), 0, 1, none, none, kPaint,
         "AAAAAA\nAAcdef\nAAijkl\nmnopqr\n", COMPLEXREGION, Box(0, 0, 6, 3)},
        {"and stays owed where nothing comes", owe(Box(0, 0, 2, 2)), 0, 1, none, none, 0,
         "AAcdef\nAAcdef\nAAijkl\nmnopqr\n", COMPLEXREGION, Box(0, 0, 6, 3)},
        {"and ends where good pixels come", owe(Box(0, 3, 6, 4)), 0, 1, none, none, kPaint,
         "AAAAAA\nabcdef\nghijkl\nmnopqr\n", SIMPLEREGION, Box(0, 0, 6, 1)},
        {"under a window", [](const Scene&) { Cover(nullptr); }, 0, 1, none, none, kPaint,
         "AABBAA\nabBBef\nghAAkl\nmnopqr\n", COMPLEXREGION, Box(0, 0, 6, 3)},
        {"under a sibling, which it paints over", [](const Scene& s) { Cover(s.parent); }, 0, 1, none, none,
         kPaint, "AAAAAA\nabAAef\nghAAkl\nmnopqr\n", COMPLEXREGION, Box(0, 0, 6, 3)},
        {"over a sibling that has painted over it",
         [](const Scene& s) {
             const HWND b = Cover(s.parent);
             SetWindowPos(b, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
             Pump();
             SetLetters(s.a);
             InvalidateRect(b, nullptr, FALSE);
             Pump();
         },
         0, 1, none, none, kPaint, "AAAAAA\nabAAef\nghAAkl\nmnopqr\n", COMPLEXREGION, Box(0, 0, 6, 3)},
        {"under a child", [](const Scene& s) { Cover(s.a); }, 0, 1, none, none, kPaint,
         "AABBAA\nabBBef\nghAAkl\nmnopqr\n", COMPLEXREGION, Box(0, 0, 6, 3)},
        {"with its child", [](const Scene& s) { Cover(s.a); }, 0, 1, none, none, kPaint | SW_SCROLLCHILDREN,
         "AAAAAA\nabBBef\nghBBkl\nmnopqr\n", COMPLEXREGION, Box(0, 0, 6, 3)},
        {"partly outside of its parent", [](const Scene& s) { MoveWindow(s.parent, 0, 0, 6, 3, FALSE); }, 0,
         -1, none, none, kPaint, "ghijkl\nmnopqr\nAAAAAA\nstuvwx\n", SIMPLEREGION, Box(0, 2, 6, 3)},
    };
    const HRGN told = CreateRectRgn(0, 0, 1, 1);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Scene scene = MakeScene();
        c.prepare(scene);
        RECT box{}, ofRegion{};
        const int kind = ScrollWindowEx(scene.a, c.dx, c.dy, c.part ? &*c.part : nullptr,
                                        c.clip ? &*c.clip : nullptr, told, &box, c.flags);
        EXPECT_EQ(kind, c.kind);
        EXPECT_EQ(GetRgnBox(told, &ofRegion), c.kind);
        EXPECT_TRUE(EqualRect(&box, &c.box));
        EXPECT_TRUE(EqualRect(&ofRegion, &c.box));
        Pump();
        EXPECT_EQ(Picture(), c.picture);
        while (const HWND left = FindWindowW(ClassOf(false), nullptr)) DestroyWindow(left);
    }
    DeleteObject(told);
}

TEST_F(PaintingScroll, ThePresenterShowsAllThatHasMoved) {
    const Scene scene = MakeScene();
    RECT dirty{};
    const auto take = [](void* context, const RECT& rect, const BYTE*, int) {
        *static_cast<RECT*>(context) = rect;
    };
    PlatTakeDirty(take, &dirty);
    ScrollWindowEx(scene.a, 0, -1, nullptr, nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(PlatTakeDirty(take, &dirty), 1u);
    const RECT moved{0, 0, 6, 3};
    EXPECT_TRUE(EqualRect(&dirty, &moved));
    EXPECT_EQ(ScrollWindowEx(scene.a, 0, -1, nullptr, nullptr, static_cast<HRGN>(GetStockObject(BLACK_PEN)),
                             nullptr, 0),
              0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    DestroyWindow(scene.a);
    EXPECT_EQ(ScrollWindowEx(scene.a, 0, -1, nullptr, nullptr, nullptr, nullptr, 0), 0);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_WINDOW_HANDLE);
}

TEST_F(PaintingScroll, APaintThatIsAskedForComesOnce) {
    const HWND a = Make('A', {0, 0, 4, 4});
    Pump();
    int paints = 0;
    s_handler = [&](HWND, UINT message, WPARAM, LPARAM) { return paints += message == WM_PAINT, false; };
    const auto ask = [&] { RedrawWindow(a, nullptr, nullptr, RDW_INTERNALPAINT); };
    ask(), Pump();
    EXPECT_EQ(paints, 1);
    ask(), UpdateWindow(a), UpdateWindow(a);
    EXPECT_EQ(paints, 2);
    ask(), ValidateRect(a, nullptr), Pump();
    EXPECT_EQ(paints, 2);
    EXPECT_FALSE(GetUpdateRect(a, nullptr, FALSE));
}

// What is drawn in the coordinates of a context in memory, on its bitmap.
TEST_F(PaintingScroll, OriginsOfContextsInMemory) {
    const HDC dc = CreateCompatibleDC(nullptr);
    const HBITMAP bitmap = CreateCompatibleBitmap(dc, 4, 4);
    SelectObject(dc, bitmap);
    IntersectClipRect(dc, 0, 0, 2, 4);
    const int level = SaveDC(dc);
    POINT former{9, 9};
    EXPECT_TRUE(SetViewportOrgEx(dc, 1, 2, &former));
    EXPECT_EQ(former.x, 0);
    RECT clip{};
    GetClipBox(dc, &clip);
    EXPECT_TRUE(clip.left == -1 && clip.top == -2 && clip.right == 1 && clip.bottom == 2);
    SetPixel(dc, 0, 1, 0x123456);
    EXPECT_EQ(GetPixel(dc, 0, 1), 0x123456u);
    RestoreDC(dc, level);
    EXPECT_EQ(GetPixel(dc, 1, 3), 0x123456u);
    DeleteDC(dc);
    DeleteObject(bitmap);
    const HDC screen = GetDC(nullptr);
    EXPECT_FALSE(SetViewportOrgEx(screen, 1, 1, nullptr));
    ReleaseDC(nullptr, screen);
}

} // namespace
