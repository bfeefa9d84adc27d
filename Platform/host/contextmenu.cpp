#include "Platform/contextmenu.h"

#include "Platform/host/call.h"
#include "Platform/host/faults.h"

#include <atomic>

namespace {

std::atomic<PlatContextMenuProvider*> g_provider{nullptr};

[[maybe_unused]] const bool g_registered = [] {
    plat::AtReset([] { g_provider.store(nullptr); });
    return true;
}();

PlatContextMenuProvider* Provider() {
    plat::HostCall call;
    return g_provider.load();
}

} // namespace

void PlatSetContextMenuProvider(PlatContextMenuProvider* provider) { g_provider.store(provider); }

// A provider is called outside of host calls: what it invokes shows windows and pumps messages.

HANDLE SHExtendContextMenu(IDataObject* data, const WCHAR* className, const WCHAR* extensionClass,
                           HMENU popup, UINT first, UINT last, IUnknown** context) {
    *context = nullptr;
    PlatContextMenuProvider* provider = Provider();
    return provider ? provider->Extend(data, className, extensionClass, popup, first, last, context)
                    : nullptr;
}

void SHInvokeContextMenu(HANDLE extensions, HWND owner, UINT command) {
    if (PlatContextMenuProvider* provider = Provider()) provider->Invoke(extensions, owner, command);
}

void SHFreeContextMenu(HANDLE extensions) {
    PlatContextMenuProvider* provider = Provider();
    if (provider && extensions) provider->Free(extensions);
}
