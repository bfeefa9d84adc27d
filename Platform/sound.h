// Playing sounds on the wave device. This host has no loudspeaker of its own: without a provider there is no device, and
// every operation answers so.
//
// Any thread may call. Each gives 0 or one of the error numbers below. A block belongs to the caller, and stays where it
// is between waveOutPrepareHeader and waveOutUnprepareHeader.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

struct HWAVEOUT__;
using HWAVEOUT = HWAVEOUT__*;
using MMRESULT = UINT;

inline constexpr MMRESULT MMSYSERR_NOERROR = 0;
inline constexpr MMRESULT MMSYSERR_BADDEVICEID = 2; // no such device
inline constexpr MMRESULT MMSYSERR_INVALHANDLE = 5;
inline constexpr MMRESULT MMSYSERR_INVALFLAG = 10;
inline constexpr MMRESULT MMSYSERR_INVALPARAM = 11;
inline constexpr MMRESULT WAVERR_BADFORMAT = 32;
inline constexpr MMRESULT WAVERR_STILLPLAYING = 33;

inline constexpr UINT WAVE_MAPPER = 0xFFFFFFFF; // any device that takes the format
inline constexpr WORD WAVE_FORMAT_PCM = 1;
inline constexpr DWORD CALLBACK_NULL = 0;

struct WAVEFORMATEX {
    WORD wFormatTag; // WAVE_FORMAT_PCM
    WORD nChannels;
    DWORD nSamplesPerSec;
    DWORD nAvgBytesPerSec;
    WORD nBlockAlign; // bytes of one sample of all channels
    WORD wBitsPerSample;
    WORD cbSize; // 0
};

inline constexpr DWORD WHDR_DONE = 1;
inline constexpr DWORD WHDR_PREPARED = 2;
struct WAVEHDR {
    char* lpData;
    DWORD dwBufferLength; // bytes
    DWORD dwBytesRecorded;
    ULONG_PTR dwUser;
    // WHDR_DONE is set by another thread when the block has been played: look through std::atomic_ref.
    DWORD dwFlags;
    DWORD dwLoops;
    WAVEHDR* lpNext;
    ULONG_PTR reserved;
};

UINT waveOutGetNumDevs();
// There are no callbacks: `flags` is CALLBACK_NULL, or the result 10.
MMRESULT waveOutOpen(HWAVEOUT* wave, UINT device, const WAVEFORMATEX* format, ULONG_PTR callback,
                     ULONG_PTR instance, DWORD flags);
// 33 while a block is being played.
MMRESULT waveOutClose(HWAVEOUT wave);
MMRESULT waveOutPrepareHeader(HWAVEOUT wave, WAVEHDR* block, UINT size);
// 33 while it is being played.
MMRESULT waveOutUnprepareHeader(HWAVEOUT wave, WAVEHDR* block, UINT size);
// Plays the block behind those that wait, and returns at once.
MMRESULT waveOutWrite(HWAVEOUT wave, WAVEHDR* block, UINT size);
// Stops; all blocks are done.
MMRESULT waveOutReset(HWAVEOUT wave);
// The left channel in the low word, the right one in the high word; 65535 is loudest.
MMRESULT waveOutGetVolume(HWAVEOUT wave, DWORD* volume);
MMRESULT waveOutSetVolume(HWAVEOUT wave, DWORD volume);

// Host side: a loudspeaker. The operations come here with checked arguments, on the caller's thread; none may block. What
// is not overridden answers as a host without one.
class PlatWaveProvider {
public:
    virtual ~PlatWaveProvider() = default;
    virtual UINT CountDevices() { return 0; }
    virtual MMRESULT Open(HWAVEOUT*, UINT, const WAVEFORMATEX&) { return MMSYSERR_BADDEVICEID; }
    virtual MMRESULT Close(HWAVEOUT) { return MMSYSERR_INVALHANDLE; }
    virtual MMRESULT Prepare(HWAVEOUT, WAVEHDR&) { return MMSYSERR_INVALHANDLE; }
    virtual MMRESULT Unprepare(HWAVEOUT, WAVEHDR&) { return MMSYSERR_INVALHANDLE; }
    virtual MMRESULT Write(HWAVEOUT, WAVEHDR&) { return MMSYSERR_INVALHANDLE; }
    virtual MMRESULT Reset(HWAVEOUT) { return MMSYSERR_INVALHANDLE; }
    virtual MMRESULT GetVolume(HWAVEOUT, DWORD&) { return MMSYSERR_INVALHANDLE; }
    virtual MMRESULT SetVolume(HWAVEOUT, DWORD) { return MMSYSERR_INVALHANDLE; }
};
// The provider stays the caller's and must outlive its use; null takes it out.
void PlatSetWaveProvider(PlatWaveProvider* provider);

#pragma GCC visibility pop
