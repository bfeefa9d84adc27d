// Scroll bars: their ranges and positions, how they lie and look.
#include "Platform/host/scrollbars.h"

#include "Platform/host/gdiobjects.h"
#include "Platform/host/scene.h"

namespace plat {

BarDrag::Part BarLayout::PartAt(POINT point) const {
    using Part = BarDrag::Part;
    const int along = Along(point);
    if (along < arrow) return Part::LineUp;
    if (along >= length - arrow) return Part::LineDown;
    if (thumbLength == 0) return Part::None;
    if (along < thumb) return Part::PageUp;
    return along < thumb + thumbLength ? Part::Thumb : Part::PageDown;
}

int BarLayout::PositionAt(const ScrollBar& bar, int start) const {
    const long long way = length - 2 * arrow - thumbLength;
    const long long positions = static_cast<long long>(bar.LastPosition()) - bar.least;
    if (way <= 0 || positions <= 0) return bar.least;
    const long long at = std::clamp<long long>(start - arrow, 0, way);
    return static_cast<int>(bar.least + (at * positions + way / 2) / way);
}

namespace {

RECT BarOnScreen(Desktop& desktop, const Window& window, int bar) {
    const RECT whole = WindowOnScreen(desktop, window);
    const RECT client = Moved(window.client, whole.left, whole.top);
    const int across = desktop.Scaled(kBarPixels);
    switch (bar) {
    case SB_VERT:
        return {client.right, client.top, client.right + across, client.bottom};
    case SB_HORZ:
        return {client.left, client.bottom, client.right, client.bottom + across};
    default:
        return client;
    }
}

bool HasBar(const Window& window, int bar) {
    if (bar == SB_CTL) return window.isScrollBar;
    return window.Is(bar == SB_VERT ? WS_VSCROLL : WS_HSCROLL);
}

// The thumb is as long as the page is of the range.
void PlaceThumb(const Desktop& desktop, const ScrollBar& bar, int position, BarLayout& layout) {
    const long long track = layout.length - 2LL * layout.arrow;
    const int least = desktop.Scaled(8);
    if (bar.disabled || !bar.HasRoom() || track < least) return;
    const long long range = static_cast<long long>(bar.most) - bar.least + 1;
    const long long wanted = bar.page > 0 ? track * bar.page / range : desktop.Scaled(kBarPixels);
    layout.thumbLength = static_cast<int>(std::clamp<long long>(wanted, least, track));
    const long long way = track - layout.thumbLength;
    const long long positions = static_cast<long long>(bar.LastPosition()) - bar.least;
    const long long at = std::clamp<long long>(static_cast<long long>(position) - bar.least, 0, positions);
    layout.thumb = layout.arrow + static_cast<int>(positions > 0 ? way * at / positions : 0);
}

} // namespace

std::optional<BarLayout> LayoutOf(Desktop& desktop, const Window& window, int bar) {
    if (!HasBar(window, bar)) return std::nullopt;
    BarLayout layout;
    layout.rect = BarOnScreen(desktop, window, bar);
    layout.upright = bar == SB_VERT || (bar == SB_CTL && window.Is(SBS_VERT));
    layout.length = layout.upright ? HeightOf(layout.rect) : WidthOf(layout.rect);
    layout.arrow = std::min(desktop.Scaled(kBarPixels), layout.length / 2);
    const ScrollBar& data = window.bars[static_cast<std::size_t>(bar)];
    const BarDrag& drag = desktop.drag;
    const bool dragged = drag.window == window.handle && drag.bar == bar && drag.part == BarDrag::Part::Thumb;
    PlaceThumb(desktop, data, dragged ? drag.track : data.position, layout);
    return layout;
}

int BarAt(Desktop& desktop, const Window& window, POINT onScreen) {
    for (const int bar : {SB_HORZ, SB_VERT})
        if (const auto layout = LayoutOf(desktop, window, bar); layout && layout->Holds(onScreen)) return bar;
    return -1;
}

// --- Looks --------------------------------------------------------------------------------------------------------

namespace {

Region Part(const Region& onScreen, const RECT& rect) {
    Region part(rect);
    part.And(onScreen);
    return part;
}

// A rectangle given along and across the bar.
RECT Across(const BarLayout& bar, int from, int to, int inset) {
    const RECT& r = bar.rect;
    if (bar.upright) return {r.left + inset, r.top + from, r.right - inset, r.top + to};
    return {r.left + from, r.top + inset, r.left + to, r.bottom - inset};
}

// A triangle in the middle of an arrow's square, a row a step from its tip.
void PaintArrow(const BarLayout& bar, bool first, COLORREF color, const Region& onScreen) {
    const int across = bar.upright ? WidthOf(bar.rect) : HeightOf(bar.rect);
    const int rows = std::max(across / 4, 1);
    const int middle = across / 2, begin = (first ? 0 : bar.length - bar.arrow) + (bar.arrow - rows) / 2;
    for (int i = 0; i < rows; ++i) {
        const int at = begin + (first ? i : rows - 1 - i);
        const RECT row = bar.upright ? RECT{bar.rect.left + middle - i, bar.rect.top + at,
                                            bar.rect.left + middle + i + 1, bar.rect.top + at + 1}
                                     : RECT{bar.rect.left + at, bar.rect.top + middle - i,
                                            bar.rect.left + at + 1, bar.rect.top + middle + i + 1};
        FillScreen(Part(onScreen, row), color);
    }
}

} // namespace

void PaintBar(Desktop& desktop, const Window& window, int bar, const Region& onScreen) {
    const auto layout = LayoutOf(desktop, window, bar);
    if (!layout || Part(onScreen, layout->rect).IsEmpty()) return;
    const bool dragged = desktop.drag.window == window.handle && desktop.drag.bar == bar &&
                         desktop.drag.part == BarDrag::Part::Thumb;
    FillScreen(Part(onScreen, layout->rect), GetSysColor(COLOR_BTNFACE));
    const COLORREF arrows = GetSysColor(layout->thumbLength > 0 ? COLOR_GRAYTEXT : COLOR_BTNSHADOW);
    PaintArrow(*layout, true, arrows, onScreen);
    PaintArrow(*layout, false, arrows, onScreen);
    const RECT thumb = Across(*layout, layout->thumb, layout->thumb + layout->thumbLength, desktop.Scaled(2));
    if (layout->thumbLength > 0)
        FillScreen(Part(onScreen, thumb), GetSysColor(dragged ? COLOR_GRAYTEXT : COLOR_BTNSHADOW));
}

void PaintWindowBars(Desktop& desktop, const Window& window, const RECT& whole, const Region& onScreen) {
    PaintBar(desktop, window, SB_HORZ, onScreen);
    PaintBar(desktop, window, SB_VERT, onScreen);
    if (!HasBar(window, SB_HORZ) || !HasBar(window, SB_VERT)) return;
    const int across = desktop.Scaled(kBarPixels);
    const POINT corner{whole.left + window.client.right, whole.top + window.client.bottom};
    FillScreen(Part(onScreen, {corner.x, corner.y, corner.x + across, corner.y + across}),
               GetSysColor(COLOR_BTNFACE));
}

// --- Ranges and positions -----------------------------------------------------------------------------------------

namespace {

bool IsBar(int bar) { return bar == SB_HORZ || bar == SB_VERT || bar == SB_CTL; }

void Take(ScrollBar& bar, const SCROLLINFO& info) {
    if (info.fMask & SIF_RANGE) {
        bar.least = info.nMin;
        bar.most = std::max(info.nMin, info.nMax);
    }
    if (info.fMask & SIF_PAGE) bar.page = info.nPage;
    if (info.fMask & SIF_POS) bar.position = info.nPos;
    const long long range = static_cast<long long>(bar.most) - bar.least + 1;
    bar.page = static_cast<UINT>(std::min<long long>(bar.page, range));
    bar.position = std::clamp(bar.position, bar.least, std::max(bar.least, bar.LastPosition()));
}

// Shows or hides a window's bar; true when the client area has changed.
bool ShowBar(Desktop& desktop, Window& window, int bar, bool show) {
    const DWORD bit = bar == SB_VERT ? WS_VSCROLL : WS_HSCROLL;
    window.style = show ? window.style | bit : window.style & ~bit;
    const RECT former = window.client, now = ClientInside(desktop, window);
    if (EqualRect(&former, &now)) return false;
    ChangeScene(desktop, window, true, [&](Window& changed) { return changed.client = now, true; });
    return true;
}

struct Result {
    int former;
    int position;
    bool sized;
    LPARAM size;
};

std::optional<Result> SetBar(HWND handle, int bar, const SCROLLINFO& info, bool redraw) {
    HostCall call;
    if (!IsBar(bar)) return SetLastError(ERROR_INVALID_PARAMETER), std::nullopt;
    SceneLock lock;
    Desktop& desktop = TheDesktop();
    Window* window = desktop.Find(handle);
    if (!window) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), std::nullopt;
    ScrollBar& data = window->bars[static_cast<std::size_t>(bar)];
    Result result{data.position, 0, false, 0};
    Take(data, info);
    result.position = data.position;
    const bool extent = (info.fMask & (SIF_RANGE | SIF_PAGE)) != 0;
    if (extent) data.disabled = !data.HasRoom();
    if (extent && bar != SB_CTL)
        result.sized =
            ShowBar(desktop, *window, bar, data.HasRoom() || (info.fMask & SIF_DISABLENOSCROLL) != 0);
    result.size = PairOf(WidthOf(window->client), HeightOf(window->client));
    if (redraw && !result.sized)
        PaintBar(desktop, *window, bar,
                 VisibleArea(desktop, *window, bar == SB_CTL ? Area::Client : Area::Window));
    return result;
}

std::optional<Result> SetAndTell(HWND window, int bar, const SCROLLINFO& info, bool redraw) {
    const auto result = SetBar(window, bar, info, redraw);
    if (result && result->sized) SendMessageW(window, WM_SIZE, 0, result->size);
    return result;
}

} // namespace
} // namespace plat

using namespace plat;

int SetScrollInfo(HWND window, int bar, const SCROLLINFO* info, BOOL redraw) {
    if (!info || info->cbSize != sizeof *info) return SetLastError(ERROR_INVALID_PARAMETER), 0;
    const auto result = SetAndTell(window, bar, *info, redraw != 0);
    return result ? result->position : 0;
}

BOOL GetScrollInfo(HWND window, int bar, SCROLLINFO* info) {
    HostCall call;
    if (!IsBar(bar) || !info || info->cbSize != sizeof *info)
        return SetLastError(ERROR_INVALID_PARAMETER), FALSE;
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    const Window* found = desktop.Find(window);
    if (!found) return SetLastError(ERROR_INVALID_WINDOW_HANDLE), FALSE;
    const ScrollBar& data = found->bars[static_cast<std::size_t>(bar)];
    const BarDrag& drag = desktop.drag;
    const bool dragged = drag.window == window && drag.bar == bar && drag.part == BarDrag::Part::Thumb;
    if (info->fMask & SIF_RANGE) info->nMin = data.least, info->nMax = data.most;
    if (info->fMask & SIF_PAGE) info->nPage = data.page;
    if (info->fMask & SIF_POS) info->nPos = data.position;
    if (info->fMask & SIF_TRACKPOS) info->nTrackPos = dragged ? drag.track : data.position;
    return TRUE;
}

int SetScrollPos(HWND window, int bar, int position, BOOL redraw) {
    SCROLLINFO info{sizeof info, SIF_POS, 0, 0, 0, position, 0};
    const auto result = SetAndTell(window, bar, info, redraw != 0);
    return result ? result->former : 0;
}

int GetScrollPos(HWND window, int bar) {
    SCROLLINFO info{sizeof info, SIF_POS, 0, 0, 0, 0, 0};
    return GetScrollInfo(window, bar, &info) ? info.nPos : 0;
}

BOOL SetScrollRange(HWND window, int bar, int least, int most, BOOL redraw) {
    const SCROLLINFO info{sizeof info, SIF_RANGE, least, most, 0, 0, 0};
    return SetAndTell(window, bar, info, redraw != 0).has_value();
}
