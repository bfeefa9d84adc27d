#include "Platform/sound.h"

#include "Platform/host/call.h"
#include "Platform/host/faults.h"

#include <atomic>

namespace {

std::atomic<PlatWaveProvider*> g_provider{nullptr};

[[maybe_unused]] const bool g_registered = (plat::AtReset([] { g_provider.store(nullptr); }), true);

PlatWaveProvider& Provider() {
    plat::HostCall call;
    static auto* none = new PlatWaveProvider; // asked until the last thread ends
    PlatWaveProvider* provider = g_provider.load();
    return provider ? *provider : *none;
}

bool IsBlock(const WAVEHDR* block, UINT size) { return block && size >= sizeof *block; }

} // namespace

void PlatSetWaveProvider(PlatWaveProvider* provider) { g_provider.store(provider); }

UINT waveOutGetNumDevs() { return Provider().CountDevices(); }

MMRESULT waveOutOpen(HWAVEOUT* wave, UINT device, const WAVEFORMATEX* format, ULONG_PTR, ULONG_PTR,
                     DWORD flags) {
    if (!wave || !format) return MMSYSERR_INVALPARAM;
    if (flags != CALLBACK_NULL) return MMSYSERR_INVALFLAG;
    *wave = nullptr;
    return Provider().Open(wave, device, *format);
}

MMRESULT waveOutClose(HWAVEOUT wave) { return Provider().Close(wave); }

MMRESULT waveOutPrepareHeader(HWAVEOUT wave, WAVEHDR* block, UINT size) {
    return IsBlock(block, size) ? Provider().Prepare(wave, *block) : MMSYSERR_INVALPARAM;
}

MMRESULT waveOutUnprepareHeader(HWAVEOUT wave, WAVEHDR* block, UINT size) {
    return IsBlock(block, size) ? Provider().Unprepare(wave, *block) : MMSYSERR_INVALPARAM;
}

MMRESULT waveOutWrite(HWAVEOUT wave, WAVEHDR* block, UINT size) {
    return IsBlock(block, size) ? Provider().Write(wave, *block) : MMSYSERR_INVALPARAM;
}

MMRESULT waveOutReset(HWAVEOUT wave) { return Provider().Reset(wave); }

MMRESULT waveOutGetVolume(HWAVEOUT wave, DWORD* volume) {
    return volume ? Provider().GetVolume(wave, *volume) : MMSYSERR_INVALPARAM;
}

MMRESULT waveOutSetVolume(HWAVEOUT wave, DWORD volume) { return Provider().SetVolume(wave, volume); }
