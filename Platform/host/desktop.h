// The state of the window system: classes, windows, queues, timers. One lock guards all of it; no procedure of a window
// and no other operation is ever called while it is held.
#pragma once

#include "Platform/host/region.h"
#include "Platform/host/slots.h"
#include "Platform/host/text.h"
#include "Platform/host/thread.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

namespace plat {

struct WindowClass {
    std::u16string name;
    ATOM atom = 0;
    WNDCLASSW data{}; // its name points into `name`
    int windows = 0;
};

struct ScrollBar {
    int least = 0;
    int most = 100;
    UINT page = 0;
    int position = 0;
    bool disabled = false; // shown, with nothing to scroll

    bool HasRoom() const { return static_cast<long long>(most) - least >= std::max(page, 1U); }
    int LastPosition() const { return static_cast<int>(most - std::max<long long>(page, 1) + 1); }
};

struct Window {
    HWND handle = nullptr;
    std::shared_ptr<WindowClass> windowClass;
    DWORD threadId = 0; // 0: the desktop
    WNDPROC procedure = nullptr;
    HWND parent = nullptr;      // of a child; the desktop for a top-level one; null for a message-only one
    HWND owner = nullptr;       // of a top-level window
    std::vector<HWND> children; // topmost first
    DWORD style = 0;
    DWORD exStyle = 0;
    LONG_PTR id = 0;
    LONG_PTR userData = 0;
    std::vector<LONG_PTR> extra;
    HINSTANCE instance = nullptr;
    std::u16string text;
    RECT rect{};                   // in the client area of the parent
    RECT client{};                 // in its own rectangle
    std::array<ScrollBar, 3> bars; // by SB_HORZ, SB_VERT, SB_CTL
    Region update;                 // what is to be painted, in the client area
    bool erase = false;            // and its ground too
    bool paintAsked = false;       // WM_PAINT is wanted, even with nothing in `update`
    bool noRedraw = false;         // WM_SETREDRAW
    bool wantsGestures = false;
    bool isScrollBar = false; // a window of the class "SCROLLBAR"
    HFONT font = nullptr;
    bool dying = false;

    bool Is(DWORD bits) const { return (style & bits) != 0; }
    bool NeedsPaint() const { return paintAsked || !update.IsEmpty(); }
};

struct SentMessage {
    MSG message{};
    std::shared_ptr<Thread> sender;
    LRESULT result = 0;
    bool done = false;
};
using SentPointer = std::shared_ptr<SentMessage>;

using KeySet = std::bitset<256>;

// What the person did, until the thread takes it out and it becomes a message.
struct InputRecord {
    enum class Kind { Pointer, Key, Character, Message };
    Kind kind;
    UINT message;
    WPARAM wParam = 0;
    LPARAM lParam = 0;
    HWND window = nullptr; // where the pointer was when it came; whom a ready message concerns
    bool held = false;     // a press that counts as held
    POINT point{};         // on the screen
    DWORD time = 0;
    KeySet keys{}; // as they are behind it
};

struct Queue {
    std::shared_ptr<Thread> thread;
    std::deque<MSG> posted;
    std::deque<InputRecord> input;
    std::deque<SentPointer> sent;
    std::vector<SentPointer> serving; // taken out of `sent`, not answered yet
    bool quit = false;
    int exitCode = 0;
    HWND active = nullptr;
    HWND focus = nullptr;
    KeySet keys;       // by the input taken out so far
    POINT lastPoint{}; // of the message taken out last
    bool held = false; // the button was pressed by a press that counts as held
};

// The part of a scroll bar that is being pressed.
struct BarDrag {
    enum class Part { None, LineUp, PageUp, Thumb, PageDown, LineDown };
    HWND window = nullptr;
    int bar = 0;
    Part part = Part::None;
    int grip = 0;  // of the thumb: from its start to the pointer
    int track = 0; // and the position that it is at
};

struct Press {
    HWND window = nullptr;
    POINT point{};
    DWORD time = 0;
};

struct Timer {
    DWORD threadId;
    HWND window; // null for one of the thread
    ULONG_PTR id;
    UINT period;
    DWORD due; // tick count
    TIMERPROC procedure;
};

// What is left of windows and threads that went: nobody will dispatch or serve it any more.
struct Leftovers {
    std::vector<MSG> posted;
    std::vector<SentPointer> sent; // answered already, but for waking their senders
};

struct Desktop {
    std::mutex lock;
    std::map<std::u16string, std::shared_ptr<WindowClass>> classes; // by name in lower case
    ATOM lastAtom = 0xC000;
    SlotTable<std::unique_ptr<Window>> windows;
    HWND root = nullptr; // the desktop window
    HWND foreground = nullptr;
    int dotsPerInch = 96;
    HWND capture = nullptr;
    POINT cursor{};
    KeySet keys;
    BarDrag drag;
    Press lastPress; // for double clicks
    std::unordered_map<DWORD, Queue> queues;
    std::vector<Timer> timers;
    ULONG_PTR lastTimer = 0x7F00; // ids made for timers without a window

    // All under the lock.
    Window* Find(HWND window);
    // Its children's list for a window of the tree; the desktop's for a top-level one.
    Window* ParentOf(const Window& window) { return Find(window.parent); }
    bool StandsUnder(HWND window, HWND parent);
    Queue& QueueOf(const std::shared_ptr<Thread>& thread);
    Queue* FindQueue(DWORD threadId);
    // The queue of a window's thread; null for no window.
    Queue* QueueOfWindow(HWND window);
    HWND TopLevelOf(HWND window);
    int Scaled(int pixels) const { return (pixels * dotsPerInch + 48) / 96; }
    // Nothing remembers it any more, but for its own queue.
    void Forget(HWND window);
    // Takes a window and all under it out of every list.
    void Erase(HWND window, Leftovers& left);
    // The next number for a class that none has.
    ATOM FreeAtom();
};

Desktop& TheDesktop();

// A copy of what a caller wants to know of a window; sets error 1400 and gives nothing when there is none.
template<class F>
auto WithWindow(HWND window, F read) -> std::optional<decltype(read(std::declval<Window&>()))> {
    Desktop& desktop = TheDesktop();
    std::lock_guard lock(desktop.lock);
    Window* found = desktop.Find(window);
    if (!found) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return std::nullopt;
    }
    return read(*found);
}

// Places come from settings too: they are kept where no sum of them overflows.
inline RECT RectAt(LONG x, LONG y, LONG width, LONG height) {
    static constexpr LONG kFarthest = 1 << 20;
    const auto near = [](LONG value) { return std::clamp(value, -kFarthest, kFarthest); };
    const LONG left = near(x), top = near(y);
    return {left, top, left + near(std::max(width, 0)), top + near(std::max(height, 0))};
}
inline LPARAM PairOf(LONG low, LONG high) {
    return MAKELPARAM(static_cast<WORD>(low), static_cast<WORD>(high));
}
// Which messages a caller wants to take out.
struct MessageFilter {
    HWND window;
    UINT first;
    UINT last;

    bool Numbers(UINT message) const {
        return (first == 0 && last == 0) || (message >= first && message <= last);
    }
    bool Fits(Desktop& desktop, const MSG& message) const;
};
// A window that was shown becomes the active one, if it is a top-level one that may. With no lock held.
void ActivateShown(HWND window);
// Who becomes active when this one goes or hides; null when it isn't active. With no lock held.
HWND NextActive(HWND window);
// Wakes the senders, and frees what notifications among the messages carry. With no lock held.
void LetGo(const Leftovers& left);
// Copies with a terminator, cut to `count` units with it; gives the units without it.
int CopyText(const std::u16string& text, LPWSTR buffer, int count);
// The first timer of a thread: how long from `now` (0 when due), nothing without timers.
std::optional<DWORD> UntilTimer(const Desktop& desktop, DWORD threadId, DWORD now);
// The first due timer that fits as a message, and when it is due again; false for none.
bool TakeTimer(Desktop& desktop, DWORD threadId, const MessageFilter& filter, DWORD now, bool remove,
               MSG& message);

} // namespace plat
