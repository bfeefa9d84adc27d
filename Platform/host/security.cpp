#include "Platform/security.h"

#include "Platform/host/provider.h"

namespace plat {
namespace {

ProviderSlot<PlatLockProvider>& Slot() {
    static auto* slot = new ProviderSlot<PlatLockProvider>;
    return *slot;
}

struct ResetProvider {
    ResetProvider() {
        AtReset([] { PlatSetLockProvider(nullptr, nullptr); });
    }
} const g_resetProvider;

bool MayGoOn(HWND owner, LPCWSTR prompt) {
    const auto [provider, user] = Slot().Get();
    return !provider || provider(user, owner, prompt);
}

} // namespace
} // namespace plat

HRESULT SHDeviceLockAndPrompt() { return plat::MayGoOn(nullptr, nullptr) ? S_OK : E_ABORT; }

BOOL VerifyUser(const GUID*, LPCWSTR prompt, HWND owner, DWORD, void*) {
    return plat::MayGoOn(owner, prompt) ? TRUE : FALSE;
}

void PlatSetLockProvider(PlatLockProvider provider, void* user) { plat::Slot().Set(provider, user); }
