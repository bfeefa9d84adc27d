// Composing mail with the desktop's mail program.
#include "Platform/messaging.h"

#include "Platform/host/call.h"
#include "Platform/host/programs.h"
#include "Platform/host/provider.h"
#include "Platform/host/resolve.h"
#include "Platform/host/text.h"

#include <string>
#include <vector>

namespace plat {
namespace {

constexpr char kComposer[] = "xdg-email";
constexpr DWORD kMostAttachments = 100;

ProviderSlot<PlatMailProvider>& Slot() {
    static auto* slot = new ProviderSlot<PlatMailProvider>;
    return *slot;
}

struct ResetProvider {
    ResetProvider() {
        AtReset([] { PlatSetMailProvider(nullptr, nullptr); });
    }
} const g_resetProvider;

void AddOption(std::vector<std::string>& arguments, const char* option, LPCWSTR value) {
    if (value && *value) arguments.insert(arguments.end(), {option, ToUtf8(value)});
}

bool AddAttachments(std::vector<std::string>& arguments, const MAILCOMPOSEFIELDS& fields) {
    if (fields.cAttachments > kMostAttachments || (fields.cAttachments && !fields.pszAttachments))
        return false;
    const WCHAR* path = fields.pszAttachments;
    for (DWORD i = 0; i < fields.cAttachments; ++i) {
        const std::u16string_view name(path);
        Place place;
        if (Resolve(name, LastLink::Follow, place) != 0 || !place.exists) return false;
        arguments.insert(arguments.end(), {"--attach", place.hostPath});
        path += name.size() + 1;
    }
    return true;
}

HRESULT ComposeOnDesktop(const MAILCOMPOSEFIELDS& fields) {
    if (fields.pszAccount && *fields.pszAccount) return E_FAIL; // transports are the device's own
    std::vector<std::string> arguments{"--utf8"};
    AddOption(arguments, "--cc", fields.pszCc);
    AddOption(arguments, "--bcc", fields.pszBcc);
    AddOption(arguments, "--subject", fields.pszSubject);
    AddOption(arguments, "--body", fields.pszBody);
    if (!AddAttachments(arguments, fields)) return E_INVALIDARG;
    const std::string to = ToUtf8(TextOf(fields.pszTo));
    if (to.starts_with('-')) return E_INVALIDARG; // it would be read as an option
    if (!to.empty()) arguments.push_back(to);
    StartedProgram started;
    return StartHostProgram(kComposer, arguments, started) == 0 ? S_OK : E_FAIL;
}

std::u16string Described(const MAILCOMPOSEFIELDS& fields) {
    std::u16string all(TextOf(fields.pszTo));
    for (const LPCWSTR text : {fields.pszSubject, fields.pszBody}) all.append(u"\n").append(TextOf(text));
    return all;
}

} // namespace
} // namespace plat

HRESULT MailComposeMessage(const MAILCOMPOSEFIELDS* fields) {
    if (!fields) return E_INVALIDARG;
    const auto [provider, user] = plat::Slot().Get();
    if (provider) return provider(user, *fields);
    plat::HostCall call;
    DWORD error = 0;
    if (plat::RecordStart(u"mail", plat::Described(*fields), error)) return error ? E_FAIL : S_OK;
    return plat::ComposeOnDesktop(*fields);
}

void PlatSetMailProvider(PlatMailProvider provider, void* user) { plat::Slot().Set(provider, user); }
