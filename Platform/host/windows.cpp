// Windows from their making to their end.
#include "Platform/windows.h"
#include "Platform/host/desktop.h"
#include "Platform/host/messages.h"
#include "Platform/host/scene.h"
#include "Platform/host/scrollbars.h"
#include "Platform/host/store.h"
#include "Platform/host/windowclasses.h"
#include "Platform/databases.h"
#include "Platform/threads.h"

#include <algorithm>
#include <unistd.h>

namespace plat {
namespace {

constexpr DWORD kErrorNoWindowClass = 1407;

// The desktop: the parent of all top-level windows, without a thread.
void MakeRoot(Desktop& desktop) {
    const PlatScreen screen = PlatGetScreen();
    auto root = std::make_unique<Window>();
    root->windowClass = std::make_shared<WindowClass>();
    root->windowClass->name = u"Desktop";
    root->style = WS_VISIBLE;
    root->rect = root->client = {0, 0, screen.width, screen.height};
    desktop.dotsPerInch = screen.dotsPerInch;
    Window& window = *root;
    window.handle = desktop.root = HandleOf<HWND>(desktop.windows.Add(std::move(root)));
}

} // namespace

Desktop& TheDesktop() {
    static Desktop& desktop = *[] {
        auto* made = new Desktop;
        MakeRoot(*made);
        AddHostClasses(*made);
        return made;
    }();
    return desktop;
}

Window* Desktop::Find(HWND window) {
    auto* found = windows.Find(NumberOf(window));
    return found ? found->get() : nullptr;
}

bool Desktop::StandsUnder(HWND window, HWND parent) {
    const Window* at = Find(window);
    while (at && at->parent && at->parent != parent) at = Find(at->parent);
    return at && at->parent == parent && parent != nullptr;
}

HWND Desktop::TopLevelOf(HWND handle) {
    const Window* window = Find(handle);
    while (window && window->parent && window->parent != root) window = Find(window->parent);
    return window ? window->handle : nullptr;
}

void Desktop::Forget(HWND handle) {
    if (foreground == handle) foreground = nullptr;
    if (capture == handle) capture = nullptr;
    if (drag.window == handle) drag = {};
    if (lastPress.window == handle) lastPress = {};
}

namespace {

// Their senders get 0. Those that are being served are answered by the procedure that still runs.
template<class F>
void AnswerSends(Queue& queue, Leftovers& left, F which) {
    std::erase_if(queue.sent, [&](const SentPointer& sent) {
        if (!which(*sent)) return false;
        sent->done = true;
        left.sent.push_back(sent);
        return true;
    });
}

} // namespace

void Desktop::Erase(HWND handle, Leftovers& left) {
    Window* window = Find(handle);
    if (!window) return;
    while (!window->children.empty()) {
        const HWND child = window->children.back();
        window->children.pop_back();
        Erase(child, left);
        window = Find(handle);
    }
    if (Window* parent = ParentOf(*window)) std::erase(parent->children, handle);
    Forget(handle);
    std::erase_if(timers, [handle](const Timer& timer) { return timer.window == handle; });
    if (Queue* queue = FindQueue(window->threadId)) {
        if (queue->active == handle) queue->active = nullptr;
        if (queue->focus == handle) queue->focus = nullptr;
        std::erase_if(queue->posted, [&](const MSG& message) {
            if (message.hwnd != handle) return false;
            left.posted.push_back(message);
            return true;
        });
        AnswerSends(*queue, left, [handle](const SentMessage& sent) { return sent.message.hwnd == handle; });
    }
    --window->windowClass->windows;
    windows.Remove(NumberOf(handle));
}

// Takes a window away and paints what stood behind it. Under a SceneLock.
void EraseAndExpose(Desktop& desktop, HWND handle, Leftovers& left) {
    const Window* window = desktop.Find(handle);
    if (!window) return;
    Region area = VisibleArea(desktop, *window, Area::Window);
    const HWND behind = window->parent;
    desktop.Erase(handle, left);
    ++g_scene;
    if (Window* parent = desktop.Find(behind)) Expose(desktop, *parent, std::move(area));
}

int CopyText(const std::u16string& text, LPWSTR buffer, int count) {
    if (!buffer || count <= 0) return 0;
    const std::size_t units = std::min<std::size_t>(text.size(), static_cast<std::size_t>(count) - 1);
    std::copy_n(text.data(), units, buffer);
    buffer[units] = 0;
    return static_cast<int>(units);
}

void LetGo(const Leftovers& left) {
    for (const auto& sent : left.sent) sent->sender->waker.Wake();
    for (const MSG& message : left.posted)
        if (message.message == WM_DBNOTIFICATION) FreeNotification(message.lParam);
}

void DropThreadWindows(DWORD threadId) {
    Leftovers left;
    Desktop& desktop = TheDesktop();
    {
        SceneLock lock;
        std::vector<HWND> mine;
        desktop.windows.ForEach([&](std::uint32_t number, const std::unique_ptr<Window>& window) {
            if (window->threadId == threadId) mine.push_back(HandleOf<HWND>(number));
        });
        for (const HWND window : mine) EraseAndExpose(desktop, window, left);
        std::erase_if(desktop.timers, [&](const Timer& timer) { return timer.threadId == threadId; });
        if (Queue* queue = desktop.FindQueue(threadId)) {
            left.posted.insert(left.posted.end(), queue->posted.begin(), queue->posted.end());
            AnswerSends(*queue, left, [](const SentMessage&) { return true; });
            for (const auto& sent : queue->serving) sent->done = true;
            left.sent.insert(left.sent.end(), queue->serving.begin(), queue->serving.end());
            desktop.queues.erase(threadId);
        }
    }
    LetGo(left);
}

namespace {

// --- Making and destroying ----------------------------------------------------------------------------------------

struct Creation {
    CREATESTRUCTW data;
    bool messageOnly = false;
};

RECT PlacedRect(const CREATESTRUCTW& data) {
    const auto given = [](int value) { return value == CW_USEDEFAULT ? 0 : value; };
    return RectAt(given(data.x), given(data.y), given(data.cx), given(data.cy));
}

// Under a SceneLock. Null and the error when the class or the parent is none; a window that is going gets no children.
Window* AddWindow(Desktop& desktop, const Creation& creation, const std::shared_ptr<Thread>& thread) {
    const CREATESTRUCTW& data = creation.data;
    const bool child = (static_cast<DWORD>(data.style) & WS_CHILD) != 0;
    auto windowClass = FindClass(desktop, data.lpszClass);
    if (!windowClass) return SetLastError(kErrorNoWindowClass), nullptr;
    const Window* above = desktop.Find(data.hwndParent);
    const bool wanted = data.hwndParent || (child && !creation.messageOnly);
    if (wanted && (!above || (child && above->dying)))
        return SetLastError(ERROR_INVALID_WINDOW_HANDLE), nullptr;
    auto made = std::make_unique<Window>();
    Window& window = *made;
    const HWND handle = HandleOf<HWND>(desktop.windows.Add(std::move(made)));
    if (!handle)
        return SetLastError(ERROR_NOT_ENOUGH_MEMORY), nullptr; // the window is gone with the failed addition
    window.handle = handle;
    window.threadId = thread->threadId;
    window.procedure = windowClass->data.lpfnWndProc;
    window.style = static_cast<DWORD>(data.style);
    window.exStyle = data.dwExStyle;
    window.id = child ? reinterpret_cast<LONG_PTR>(data.hMenu) : 0;
    window.extra.resize((static_cast<std::size_t>(windowClass->data.cbWndExtra) + 3) / 4);
    window.instance = data.hInstance;
    window.text = TextOf(data.lpszName);
    window.rect = PlacedRect(data);
    window.parent = creation.messageOnly ? nullptr : child ? data.hwndParent : desktop.root;
    window.owner = child ? nullptr : data.hwndParent;
    if (Window* parent = desktop.ParentOf(window))
        parent->children.insert(parent->children.begin(), window.handle);
    window.client = ClientInside(desktop, window);
    ++windowClass->windows;
    window.windowClass = std::move(windowClass);
    desktop.QueueOf(thread);
    ++g_scene;
    Expose(desktop, window, VisibleArea(desktop, window, Area::Window));
    return &window;
}

std::vector<HWND> ChildrenOf(HWND window) {
    HostCall call;
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    const Window* found = desktop.Find(window);
    return found ? found->children : std::vector<HWND>();
}

// What the window, or one under it, owns.
std::vector<HWND> OwnedBy(HWND window) {
    HostCall call;
    std::vector<HWND> owned;
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    desktop.windows.ForEach([&](std::uint32_t number, const std::unique_ptr<Window>& other) {
        if (other->owner && (other->owner == window || desktop.StandsUnder(other->owner, window)))
            owned.push_back(HandleOf<HWND>(number));
    });
    return owned;
}

// False when it is going already, or gone.
bool MarkDying(HWND window) {
    HostCall call;
    return WithWindow(window, [](Window& found) { return !std::exchange(found.dying, true); })
        .value_or(false);
}

// What stands under the window first, then the window, as long as each is still there.
void SendDestroy(HWND window) {
    for (const HWND child : ChildrenOf(window))
        if (MarkDying(child)) SendDestroy(child);
    if (IsWindow(window)) SendMessageW(window, WM_DESTROY, 0, 0);
}

// False, with the error, when the window is none, not the caller's, or going already.
bool BeginDestroy(HWND window) {
    HostCall call;
    const DWORD self = GetCurrentThreadId();
    const auto begun = WithWindow(window, [self](Window& found) {
        if (found.threadId != self) return SetLastError(ERROR_ACCESS_DENIED), false;
        return !std::exchange(found.dying, true);
    });
    return begun.value_or(false);
}

void EraseWindow(HWND window) {
    HostCall call;
    Leftovers left;
    {
        SceneLock lock;
        EraseAndExpose(TheDesktop(), window, left);
    }
    LetGo(left);
}

// What a window on the screen hears behind WM_CREATE.
void TellPlace(HWND window) {
    RECT client{};
    LPARAM place = 0;
    bool shown = false, onScreen = false;
    {
        HostCall call;
        WithWindow(window, [&](Window& found) {
            onScreen = found.parent != nullptr;
            shown = found.Is(WS_VISIBLE);
            client = found.client;
            return place = PairOf(found.rect.left + client.left, found.rect.top + client.top);
        });
    }
    if (!onScreen) return;
    SendMessageW(window, WM_SIZE, 0, PairOf(client.right - client.left, client.bottom - client.top));
    SendMessageW(window, WM_MOVE, 0, place);
    if (shown) SendMessageW(window, WM_SHOWWINDOW, TRUE, 0);
    if (shown) ActivateShown(window);
}

} // namespace
} // namespace plat

// --- Windows ------------------------------------------------------------------------------------------------------

HWND CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR name, DWORD style, int x, int y, int width,
                     int height, HWND parent, HMENU menu, HINSTANCE instance, void* parameter) {
    plat::Creation creation{{parameter, instance, menu, parent, height, width, y, x, static_cast<LONG>(style),
                             name, className, exStyle}};
    creation.messageOnly = parent == HWND_MESSAGE;
    if (creation.messageOnly) creation.data.hwndParent = nullptr;
    HWND window;
    {
        plat::HostCall call;
        const auto self = plat::CurrentThreadObject();
        plat::SceneLock lock;
        const plat::Window* made = plat::AddWindow(plat::TheDesktop(), creation, self);
        if (!made) return nullptr;
        window = made->handle;
    }
    if (SendMessageW(window, WM_CREATE, 0, reinterpret_cast<LPARAM>(&creation.data)) == -1) {
        DestroyWindow(window);
        return nullptr;
    }
    plat::TellPlace(window);
    return IsWindow(window) ? window : nullptr;
}

BOOL DestroyWindow(HWND window) {
    if (!plat::BeginDestroy(window)) return FALSE;
    for (const HWND owned : plat::OwnedBy(window)) DestroyWindow(owned);
    plat::SendDestroy(window);
    const HWND next = plat::NextActive(window);
    plat::EraseWindow(window);
    if (next) SetActiveWindow(next);
    return TRUE;
}

LRESULT CallWindowProcW(WNDPROC procedure, HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    { plat::HostCall call; }
    return procedure ? procedure(window, message, wParam, lParam) : 0;
}

namespace plat {
namespace {

template<class T>
LONG_PTR Replace(T& place, const LONG_PTR* value) {
    LONG_PTR former;
    if constexpr (std::is_pointer_v<T>) {
        former = reinterpret_cast<LONG_PTR>(place);
        if (value) place = reinterpret_cast<T>(*value);
    } else {
        former = static_cast<LONG_PTR>(place);
        if (value) place = static_cast<T>(*value);
    }
    return former;
}

LONG_PTR ReplaceLong(Window& window, int index, const LONG_PTR* value) {
    switch (index) {
    case GWL_WNDPROC:
        return Replace(window.procedure, value);
    case GWL_ID:
        return Replace(window.id, value);
    case GWL_STYLE:
        return Replace(window.style, value);
    case GWL_EXSTYLE:
        return Replace(window.exStyle, value);
    case GWL_USERDATA:
        return Replace(window.userData, value);
    default:
        break;
    }
    if (index < 0 || index % 4 != 0 || static_cast<std::size_t>(index) / 4 >= window.extra.size())
        return SetLastError(ERROR_INVALID_PARAMETER), 0;
    return Replace(window.extra[static_cast<std::size_t>(index) / 4], value);
}

} // namespace
} // namespace plat

LONG_PTR GetWindowLongW(HWND window, int index) {
    plat::HostCall call;
    return plat::WithWindow(window,
                            [&](plat::Window& found) { return plat::ReplaceLong(found, index, nullptr); })
        .value_or(0);
}

LONG_PTR SetWindowLongW(HWND window, int index, LONG_PTR value) {
    plat::HostCall call;
    const auto replace = [&](plat::Window& found) {
        const LONG_PTR former = plat::ReplaceLong(found, index, &value);
        if (index == GWL_STYLE) ++plat::g_scene; // what it clips
        return former;
    };
    return plat::WithWindow(window, replace).value_or(0);
}

BOOL IsWindow(HWND window) {
    plat::HostCall call;
    plat::Desktop& desktop = plat::TheDesktop();
    std::lock_guard lock(desktop.lock);
    return desktop.Find(window) != nullptr;
}

HWND FindWindowW(LPCWSTR className, LPCWSTR text) {
    plat::HostCall call;
    plat::Desktop& desktop = plat::TheDesktop();
    std::lock_guard lock(desktop.lock);
    const auto wanted = className ? plat::FindClass(desktop, className) : nullptr;
    if (className && !wanted) return nullptr;
    for (const HWND handle : desktop.Find(desktop.root)->children) {
        const plat::Window* window = desktop.Find(handle);
        if (wanted && window->windowClass != wanted) continue;
        if (!text || window->text == text) return handle;
    }
    return nullptr;
}

BOOL SetWindowTextW(HWND window, LPCWSTR text) {
    return SendMessageW(window, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text)) != 0;
}

int GetWindowTextW(HWND window, LPWSTR buffer, int count) {
    if (!buffer || count <= 0) return 0;
    buffer[0] = 0;
    return static_cast<int>(
        SendMessageW(window, WM_GETTEXT, static_cast<WPARAM>(count), reinterpret_cast<LPARAM>(buffer)));
}

int GetWindowTextLengthW(HWND window) {
    return static_cast<int>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0));
}

DWORD GetWindowThreadProcessId(HWND window, DWORD* processId) {
    plat::HostCall call;
    const auto thread = plat::WithWindow(window, [](plat::Window& found) { return found.threadId; });
    if (thread && processId) *processId = static_cast<DWORD>(getpid());
    return thread.value_or(0);
}
