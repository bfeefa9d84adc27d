#include "Platform/phone.h"

#include "Platform/host/provider.h"

namespace plat {
namespace {

ProviderSlot<PlatPhoneProvider>& Slot() {
    static auto* slot = new ProviderSlot<PlatPhoneProvider>;
    return *slot;
}

struct ResetProvider {
    ResetProvider() {
        AtReset([] { PlatSetPhoneProvider(nullptr, nullptr); });
    }
} const g_resetProvider;

} // namespace
} // namespace plat

LONG PhoneMakeCall(const PHONEMAKECALLINFO* info) {
    if (!info || info->cbSize != kPhoneMakeCallSize || !info->pszDestAddress || !*info->pszDestAddress)
        return E_INVALIDARG;
    const auto [provider, user] = plat::Slot().Get();
    return provider ? provider(user, *info) : E_NOINTERFACE;
}

void PlatSetPhoneProvider(PlatPhoneProvider provider, void* user) { plat::Slot().Set(provider, user); }
