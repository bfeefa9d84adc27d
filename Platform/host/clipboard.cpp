// The clipboard: one text, kept here or by the desktop that shows the screen.
#include "Platform/host/call.h"
#include "Platform/host/faults.h"
#include "Platform/host/thread.h"
#include "Platform/memory.h"
#include "Platform/system.h"
#include "Platform/threads.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <utility>

namespace plat {
namespace {

constexpr DWORD kErrorClipboardNotOpen = 1418;

struct Clipboard {
    std::mutex lock;
    DWORD owner = 0; // the thread that has opened it
    std::u16string text;
    HLOCAL given = nullptr; // what the present opener was given, or has put in
    PlatClipboardProvider* provider = nullptr;
};
Clipboard& TheClipboard() {
    static Clipboard& clipboard = *new Clipboard;
    return clipboard;
}

void Reset() {
    Clipboard& clipboard = TheClipboard();
    std::lock_guard lock(clipboard.lock);
    clipboard.owner = 0;
    clipboard.text.clear();
    LocalFree(std::exchange(clipboard.given, nullptr));
    clipboard.provider = nullptr;
}
[[maybe_unused]] const bool g_registered = (AtReset(&Reset), true);

// What the calling thread, which has it open, works on; nothing otherwise.
bool IsOpen(const Clipboard& clipboard) {
    if (clipboard.owner == GetCurrentThreadId()) return true;
    SetLastError(kErrorClipboardNotOpen);
    return false;
}

// A block may be put in again that was given out.
void Give(Clipboard& clipboard, HLOCAL block) {
    const HLOCAL former = std::exchange(clipboard.given, block);
    if (former != block) LocalFree(former);
}

bool Put(const std::u16string& text, HLOCAL block) {
    PlatClipboardProvider* provider;
    {
        HostCall call;
        Clipboard& clipboard = TheClipboard();
        std::lock_guard lock(clipboard.lock);
        if (!IsOpen(clipboard)) return false;
        clipboard.text = text;
        Give(clipboard, block);
        provider = clipboard.provider;
    }
    if (provider) provider->PutText(text);
    return true;
}

std::u16string Current() {
    PlatClipboardProvider* provider;
    {
        HostCall call;
        Clipboard& clipboard = TheClipboard();
        std::lock_guard lock(clipboard.lock);
        if (!clipboard.provider) return clipboard.text;
        provider = clipboard.provider;
    }
    return provider->GetText();
}

// The text of a block, as far as it goes when it has no end.
std::u16string TextOfBlock(HLOCAL block) {
    const auto* units = static_cast<const WCHAR*>(block);
    const std::size_t count = LocalSize(block) / sizeof(WCHAR);
    return {units, std::find(units, units + count, u'\0')};
}

} // namespace
} // namespace plat

using namespace plat;

BOOL OpenClipboard(HWND) {
    HostCall call;
    Clipboard& clipboard = TheClipboard();
    std::lock_guard lock(clipboard.lock);
    const DWORD self = GetCurrentThreadId();
    // A thread that has ended doesn't keep it.
    if (clipboard.owner != 0 && clipboard.owner != self && FindThread(clipboard.owner))
        return SetLastError(ERROR_ACCESS_DENIED), FALSE;
    clipboard.owner = self;
    return TRUE;
}

BOOL CloseClipboard() {
    HostCall call;
    Clipboard& clipboard = TheClipboard();
    std::lock_guard lock(clipboard.lock);
    if (!IsOpen(clipboard)) return FALSE;
    clipboard.owner = 0;
    LocalFree(std::exchange(clipboard.given, nullptr));
    return TRUE;
}

BOOL EmptyClipboard() { return Put({}, nullptr); }

HANDLE SetClipboardData(UINT format, HANDLE data) {
    if (format != CF_UNICODETEXT || LocalSize(data) < sizeof(WCHAR))
        return SetLastError(ERROR_INVALID_PARAMETER), nullptr;
    return Put(TextOfBlock(data), data) ? data : nullptr;
}

HANDLE GetClipboardData(UINT format) {
    const std::u16string text = format == CF_UNICODETEXT ? Current() : std::u16string();
    HostCall call;
    Clipboard& clipboard = TheClipboard();
    std::lock_guard lock(clipboard.lock);
    if (!IsOpen(clipboard) || text.empty()) return nullptr;
    const std::size_t bytes = (text.size() + 1) * sizeof(WCHAR);
    auto* block = static_cast<WCHAR*>(LocalAlloc(LMEM_FIXED, bytes));
    if (!block) return nullptr;
    std::copy_n(text.c_str(), text.size() + 1, block);
    Give(clipboard, block);
    return block;
}

BOOL IsClipboardFormatAvailable(UINT format) { return format == CF_UNICODETEXT && !Current().empty(); }

PlatClipboardProvider* PlatSetClipboardProvider(PlatClipboardProvider* provider) {
    HostCall call;
    Clipboard& clipboard = TheClipboard();
    std::lock_guard lock(clipboard.lock);
    return std::exchange(clipboard.provider, provider);
}
