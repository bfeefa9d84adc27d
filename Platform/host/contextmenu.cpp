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

} // namespace

void PlatSetContextMenuProvider(PlatContextMenuProvider* provider) { g_provider.store(provider); }

HANDLE SHExtendContextMenu(IDataObject* data, const WCHAR* className, const WCHAR* extensionClass,
                           HMENU popup, UINT first, UINT last, IUnknown** context) {
    plat::HostCall call;
    *context = nullptr;
    PlatContextMenuProvider* provider = g_provider.load();
    return provider ? provider->Extend(data, className, extensionClass, popup, first, last, context)
                    : nullptr;
}

void SHInvokeContextMenu(HANDLE extensions, HWND owner, UINT command) {
    plat::HostCall call;
    if (PlatContextMenuProvider* provider = g_provider.load()) provider->Invoke(extensions, owner, command);
}

void SHFreeContextMenu(HANDLE extensions) {
    plat::HostCall call;
    PlatContextMenuProvider* provider = g_provider.load();
    if (provider && extensions) provider->Free(extensions);
}
