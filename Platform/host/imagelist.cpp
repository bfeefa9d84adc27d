#include "Platform/imagelist.h"

#include "Platform/host/call.h"
#include "Platform/host/dragimage.h"
#include "Platform/host/faults.h"
#include "Platform/host/scene.h"
#include "Platform/host/slots.h"
#include "Platform/imaging.h"
#include "Platform/memorycontext.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace plat {
namespace {

// Each picture is a bitmap of 32 bits, its colours multiplied with its alpha.
struct ImageList {
    ImageList(int w, int h) : width(w), height(h) {}
    ~ImageList() {
        for (const HBITMAP image : images) DeleteObject(image);
    }
    ImageList(const ImageList&) = delete;
    ImageList& operator=(const ImageList&) = delete;

    int width, height;
    std::vector<HBITMAP> images;
};
using ListPointer = std::shared_ptr<ImageList>;

using Pixels = std::vector<Pixel>;

struct Drag {
    PlatDragImage image;
    POINT hot;
    SIZE size;
    std::shared_ptr<const Pixels> pixels; // the list may end meanwhile
    HWND window = nullptr;
    bool shown = false;

    RECT Place() const {
        const auto [x, y] = image.position;
        return shown ? RECT{x, y, x + size.cx, y + size.cy} : RECT{};
    }
};
struct Lists {
    std::mutex lock; // of the table and the drag; a list is used by one thread
    SlotTable<ListPointer> table;
    std::optional<Drag> drag;
};
Lists& TheLists() {
    static Lists& lists = *new Lists;
    return lists;
}
[[maybe_unused]] const bool g_registered = (AtReset([] {
                                                std::lock_guard lock(TheLists().lock);
                                                TheLists().drag.reset();
                                            }),
                                            true);

ListPointer FindList(HIMAGELIST handle) {
    Lists& lists = TheLists();
    std::lock_guard lock(lists.lock);
    const ListPointer* list = lists.table.Find(NumberOf(handle));
    if (!list) SetLastError(ERROR_INVALID_HANDLE);
    return list ? *list : nullptr;
}

HBITMAP FindImage(const ImageList& list, int index) {
    if (index >= 0 && static_cast<std::size_t>(index) < list.images.size())
        return list.images[static_cast<std::size_t>(index)];
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
}

// All rows from the top; empty for no bitmap.
Pixels PixelsOf(HBITMAP bitmap, SIZE& size) {
    BITMAP is{};
    if (!GetObjectW(bitmap, sizeof is, &is)) return {};
    size = {is.bmWidth, is.bmHeight};
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = is.bmWidth;
    info.bmiHeader.biHeight = -is.bmHeight;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    Pixels pixels(static_cast<std::size_t>(is.bmWidth) * static_cast<std::size_t>(is.bmHeight));
    GetDIBits(nullptr, bitmap, 0, static_cast<UINT>(is.bmHeight), pixels.data(), &info, DIB_RGB_COLORS);
    return pixels;
}

// Cuts the bitmap into pictures; see(x, y, colour) says which pixels are seen.
template<class F>
int AddCut(ImageList& list, HBITMAP bitmap, F seen) {
    SIZE size{};
    const Pixels pixels = PixelsOf(bitmap, size);
    const auto first = static_cast<int>(list.images.size());
    if (size.cx < list.width) return -1;
    Pixels part(static_cast<std::size_t>(list.width) * static_cast<std::size_t>(list.height));
    for (int left = 0; left + list.width <= size.cx; left += list.width) {
        std::ranges::fill(part, 0u);
        for (int y = 0; y < std::min<int>(list.height, size.cy); ++y)
            for (int x = 0; x < list.width; ++x) {
                const DWORD color = pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(size.cx) +
                                           static_cast<std::size_t>(left + x)] &
                                    0xFFFFFF;
                if (seen(left + x, y, color))
                    part[static_cast<std::size_t>(y) * static_cast<std::size_t>(list.width) +
                         static_cast<std::size_t>(x)] = 0xFF000000 | color;
            }
        list.images.push_back(CreateBitmap(list.width, list.height, 1, 32, part.data()));
    }
    return first;
}

// The drag, changed under the lock; false without one. Where it was seen and where it is now the screen is shown anew.
template<class F>
BOOL ChangeDrag(F change) {
    RECT before, behind;
    {
        Lists& lists = TheLists();
        std::lock_guard lock(lists.lock);
        if (!lists.drag) return FALSE;
        before = lists.drag->Place();
        change(*lists.drag);
        behind = lists.drag->Place();
    }
    if (EqualRect(&before, &behind)) return TRUE;
    Region seen(before);
    seen.Or(Region(behind));
    std::lock_guard lock(ScreenLock());
    MarkPainted(seen);
    return TRUE;
}

void Place(Drag& drag, POINT pointer) {
    drag.image.position = {pointer.x - drag.hot.x, pointer.y - drag.hot.y};
}

POINT OnScreen(HWND window, int x, int y) {
    POINT point{x, y};
    if (window) ClientToScreen(window, &point);
    return point;
}

} // namespace

std::optional<DragPicture> ShownDragPicture() {
    Lists& lists = TheLists();
    std::lock_guard lock(lists.lock);
    if (!lists.drag || !lists.drag->shown) return std::nullopt;
    return DragPicture{lists.drag->Place(), lists.drag->pixels};
}

} // namespace plat

using namespace plat;

HIMAGELIST ImageList_Create(int width, int height, UINT, int, int) {
    HostCall call;
    constexpr int kLargestSide = 4096;
    if (width < 1 || height < 1 || width > kLargestSide || height > kLargestSide) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    Lists& lists = TheLists();
    std::lock_guard lock(lists.lock);
    return HandleOf<HIMAGELIST>(lists.table.Add(std::make_shared<ImageList>(width, height)));
}

BOOL ImageList_Destroy(HIMAGELIST handle) {
    HostCall call;
    std::optional<ListPointer> ended; // goes behind the lock
    Lists& lists = TheLists();
    std::lock_guard lock(lists.lock);
    ended = lists.table.Remove(NumberOf(handle));
    if (!ended) SetLastError(ERROR_INVALID_HANDLE);
    return ended.has_value();
}

int ImageList_GetImageCount(HIMAGELIST handle) {
    HostCall call;
    const ListPointer list = FindList(handle);
    return list ? static_cast<int>(list->images.size()) : -1;
}

BOOL ImageList_GetIconSize(HIMAGELIST handle, int* width, int* height) {
    HostCall call;
    const ListPointer list = FindList(handle);
    if (!list) return FALSE;
    *width = list->width;
    *height = list->height;
    return TRUE;
}

int ImageList_Add(HIMAGELIST handle, HBITMAP image, HBITMAP mask) {
    HostCall call;
    const ListPointer list = FindList(handle);
    if (!list) return -1;
    SIZE size{};
    const Pixels covered = mask ? PixelsOf(mask, size) : Pixels();
    return AddCut(*list, image, [&](int x, int y, DWORD) {
        if (x >= size.cx || y >= size.cy) return true;
        const std::size_t at =
            static_cast<std::size_t>(y) * static_cast<std::size_t>(size.cx) + static_cast<std::size_t>(x);
        return (covered[at] & 0xFFFFFF) != 0xFFFFFF;
    });
}

int ImageList_AddMasked(HIMAGELIST handle, HBITMAP image, COLORREF key) {
    HostCall call;
    const ListPointer list = FindList(handle);
    if (!list) return -1;
    const DWORD left = (key & 0xFF) << 16 | (key & 0xFF00) | (key >> 16 & 0xFF);
    return AddCut(*list, image, [left](int, int, DWORD color) { return color != left; });
}

int ImageList_ReplaceIcon(HIMAGELIST handle, int index, HICON icon) {
    HostCall call;
    const ListPointer list = FindList(handle);
    const bool adds = index == -1;
    if (!list || (!adds && !FindImage(*list, index))) return -1;
    const HBITMAP bitmap = PlatIconBitmap(icon, list->width, list->height);
    if (!bitmap) return -1;
    if (adds) {
        list->images.push_back(bitmap);
        return static_cast<int>(list->images.size()) - 1;
    }
    DeleteObject(std::exchange(list->images[static_cast<std::size_t>(index)], bitmap));
    return index;
}

BOOL ImageList_Draw(HIMAGELIST list, int index, HDC dc, int x, int y, UINT style) {
    return ImageList_DrawEx(list, index, dc, x, y, 0, 0, CLR_NONE, CLR_NONE, style);
}

BOOL ImageList_DrawEx(HIMAGELIST handle, int index, HDC dc, int x, int y, int width, int height,
                      COLORREF ground, COLORREF, UINT) {
    HostCall call;
    const ListPointer list = FindList(handle);
    const HBITMAP image = list ? FindImage(*list, index) : nullptr;
    if (!image) return FALSE;
    const int wide = width > 0 ? std::min(width, list->width) : list->width;
    const int high = height > 0 ? std::min(height, list->height) : list->height;
    if (ground != CLR_NONE) {
        const RECT place{x, y, x + wide, y + high};
        const HBRUSH brush = CreateSolidBrush(ground);
        FillRect(dc, &place, brush);
        DeleteObject(brush);
    }
    return AlphaBlend(dc, x, y, wide, high, MemoryContext(image), 0, 0, wide, high,
                      {AC_SRC_OVER, 0, 255, AC_SRC_ALPHA});
}

// --- Dragging -----------------------------------------------------------------------------------------------------

BOOL ImageList_BeginDrag(HIMAGELIST handle, int index, int hotX, int hotY) {
    HostCall call;
    const ListPointer list = FindList(handle);
    const HBITMAP image = list ? FindImage(*list, index) : nullptr;
    if (!image) return FALSE;
    Drag drag{{handle, index, {0, 0}}, {hotX, hotY}, {}, nullptr};
    drag.pixels = std::make_shared<const Pixels>(PixelsOf(image, drag.size));
    Lists& lists = TheLists();
    std::lock_guard lock(lists.lock);
    if (lists.drag) return FALSE;
    lists.drag = std::move(drag);
    return TRUE;
}

BOOL ImageList_DragEnter(HWND window, int x, int y) {
    HostCall call;
    const POINT pointer = OnScreen(window, x, y);
    return ChangeDrag([&](Drag& drag) {
        drag.window = window;
        drag.shown = true;
        Place(drag, pointer);
    });
}

BOOL ImageList_DragMove(int x, int y) {
    HostCall call;
    HWND window = nullptr;
    if (!ChangeDrag([&](Drag& drag) { window = drag.window; })) return FALSE;
    const POINT pointer = OnScreen(window, x, y);
    return ChangeDrag([&](Drag& drag) { Place(drag, pointer); });
}

BOOL ImageList_DragShowNolock(BOOL show) {
    HostCall call;
    return ChangeDrag([&](Drag& drag) { drag.shown = show != FALSE; });
}

BOOL ImageList_DragLeave(HWND) { return ImageList_DragShowNolock(FALSE); }

void ImageList_EndDrag() {
    HostCall call;
    ImageList_DragShowNolock(FALSE);
    std::lock_guard lock(TheLists().lock);
    TheLists().drag.reset();
}

bool PlatGetDragImage(PlatDragImage* image) {
    HostCall call;
    bool shown = false;
    ChangeDrag([&](const Drag& drag) {
        shown = drag.shown;
        if (shown) *image = drag.image;
    });
    return shown;
}
