#include "Platform/serial.h"

#include "Platform/host/handles.h"
#include "Platform/host/provider.h"
#include "Platform/host/serialport.h"
#include "Platform/host/text.h"
#include "Platform/threads.h"

#include <string_view>

namespace plat {
namespace {

ProviderSlot<PlatSerialProvider>& Slot() {
    static auto* slot = new ProviderSlot<PlatSerialProvider>;
    return *slot;
}

[[maybe_unused]] const bool g_registered = (AtReset([] { PlatSetSerialProvider(nullptr, nullptr); }), true);

class PortObject final : public KernelObject {
public:
    static constexpr Kind kKind = Kind::Port;
    explicit PortObject(std::unique_ptr<PlatSerialPort> port)
        : KernelObject(kKind), m_port(std::move(port)) {}
    void OnLastClose() override { m_port->Close(); }
    PlatSerialPort* Port() const { return m_port.get(); }

private:
    const std::unique_ptr<PlatSerialPort> m_port;
};

HANDLE NoPort(DWORD error) {
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
}

// `action` gives an error code; a null argument of the caller never gets to it.
template<class Action>
BOOL WithPort(HANDLE handle, bool arguments, Action action) {
    const auto port = FindPort(handle);
    const DWORD error = !port ? ERROR_INVALID_HANDLE : !arguments ? ERROR_INVALID_PARAMETER : action(*port);
    if (error) SetLastError(error);
    return error == 0;
}

} // namespace

bool IsPortName(LPCWSTR name) {
    const std::u16string_view text = name ? name : u"";
    if (text.size() != 5 || text[3] < u'0' || text[3] > u'9' || text[4] != u':') return false;
    const WCHAR kind[] = {UpperUnit(text[0]), UpperUnit(text[1]), UpperUnit(text[2]), 0};
    return std::u16string_view(kind) == u"COM" || std::u16string_view(kind) == u"BTC";
}

HANDLE OpenPort(LPCWSTR name, DWORD access) {
    const auto [provider, user] = Slot().Get();
    auto port = provider ? provider(user, name, access) : nullptr;
    if (!port) return NoPort(ERROR_DEV_NOT_EXIST);
    HostCall call;
    const HANDLE handle = AddHandle(std::make_shared<PortObject>(std::move(port)));
    if (!handle) return NoPort(ERROR_NOT_ENOUGH_MEMORY);
    SetLastError(ERROR_SUCCESS);
    return handle;
}

std::shared_ptr<PlatSerialPort> FindPort(HANDLE handle) {
    HostCall call;
    auto object = FindObject<PortObject>(handle);
    PlatSerialPort* port = object ? object->Port() : nullptr;
    return {std::move(object), port};
}

} // namespace plat

using plat::WithPort;

void PlatSetSerialProvider(PlatSerialProvider provider, void* user) { plat::Slot().Set(provider, user); }

BOOL GetCommState(HANDLE port, DCB* state) {
    return WithPort(port, state != nullptr, [&](PlatSerialPort& open) { return open.GetState(*state); });
}

BOOL SetCommState(HANDLE port, const DCB* state) {
    return WithPort(port, state != nullptr, [&](PlatSerialPort& open) { return open.SetState(*state); });
}

BOOL SetCommTimeouts(HANDLE port, const COMMTIMEOUTS* timeouts) {
    return WithPort(port, timeouts != nullptr,
                    [&](PlatSerialPort& open) { return open.SetTimeouts(*timeouts); });
}

BOOL EscapeCommFunction(HANDLE port, DWORD function) {
    return WithPort(port, true, [&](PlatSerialPort& open) { return open.Escape(function); });
}

BOOL GetCommModemStatus(HANDLE port, DWORD* status) {
    return WithPort(port, status != nullptr,
                    [&](PlatSerialPort& open) { return open.GetModemStatus(*status); });
}

BOOL PurgeComm(HANDLE port, DWORD what) {
    return WithPort(port, true, [&](PlatSerialPort& open) { return open.Purge(what); });
}

BOOL SetCommMask(HANDLE port, DWORD events) {
    return WithPort(port, true, [&](PlatSerialPort& open) { return open.SetMask(events); });
}

BOOL WaitCommEvent(HANDLE port, DWORD* events, OVERLAPPED*) {
    return WithPort(port, events != nullptr, [&](PlatSerialPort& open) { return open.WaitEvent(*events); });
}
