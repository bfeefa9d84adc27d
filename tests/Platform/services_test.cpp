// What a desktop has not: ports, a loudspeaker, the libraries of a phone. Absent at first, there when somebody brings them.
#include "Platform/files.h"
#include "Platform/modules.h"
#include "Platform/phone.h"
#include "Platform/serial.h"
#include "Platform/sound.h"
#include "tests/support/devicefiles.h"
#include "tests/support/waiting.h"

#include <atomic>
#include <cstring>

using namespace qntest;

namespace {

class Services : public DeviceFilesTest {
protected:
    static HANDLE Open(LPCWSTR name, DWORD creation = OPEN_EXISTING) {
        return CreateFileW(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, creation, 0, nullptr);
    }
};

// --- Serial ports -------------------------------------------------------------------------------------------------

TEST_F(Services, APortThatIsNotThereIsNoFileEither) {
    for (const auto name : {u"COM1:", u"com0:", u"BTC9:"})
        for (const DWORD creation : {CREATE_NEW, CREATE_ALWAYS, OPEN_EXISTING, OPEN_ALWAYS})
            EXPECT_EQ(ErrorOf(Open(name, creation)), ERROR_DEV_NOT_EXIST);
    EXPECT_FALSE(OnDisk("COM1:"));
    const HANDLE file = Open(u"COMA.txt", CREATE_NEW);
    DCB state{};
    DWORD number = 0;
    EXPECT_EQ(ErrorOf(GetCommState(file, &state)), ERROR_INVALID_HANDLE); // a file is no port
    EXPECT_EQ(ErrorOf(WaitCommEvent(nullptr, &number, nullptr)), ERROR_INVALID_HANDLE);
    EXPECT_TRUE(CloseHandle(file));
}

// A modem that answers every command with OK.
struct Modem : PlatSerialPort {
    static inline std::atomic<int> s_alive{0};
    Modem() { ++s_alive; }
    ~Modem() override {
        CloseHandle(closed);
        --s_alive;
    }
    DWORD Read(void* buffer, DWORD count, DWORD& read) override {
        read = static_cast<DWORD>(answer.copy(static_cast<char*>(buffer), count));
        answer.erase(0, read);
        return 0;
    }
    DWORD Write(const void* bytes, DWORD count, DWORD& written) override {
        written = count;
        if (std::memchr(bytes, '\r', count)) answer += "OK\r";
        return 0;
    }
    DWORD GetState(DCB& state) override { return state = line, 0; }
    DWORD SetState(const DCB& state) override { return line = state, 0; }
    DWORD SetTimeouts(const COMMTIMEOUTS& given) override { return timeouts = given, 0; }
    DWORD Escape(DWORD function) override { return raised = function == SETDTR, 0; }
    DWORD GetModemStatus(DWORD& status) override { return status = raised ? MS_RLSD_ON : 0, 0; }
    DWORD Purge(DWORD) override { return answer.clear(), 0; }
    DWORD SetMask(DWORD) override { return ERROR_NOT_SUPPORTED; }
    DWORD WaitEvent(DWORD& events) override {
        WaitForSingleObject(closed, kLong);
        return events = 0, ERROR_ABORTED;
    }
    void Close() override { SetEvent(closed); }

    static constexpr DWORD ERROR_ABORTED = 995;
    std::string answer;
    DCB line{};
    COMMTIMEOUTS timeouts{};
    bool raised = false;
    HANDLE closed = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

TEST_F(Services, APortOfTheProviderServesTheCallsOfFiles) {
    PlatSetSerialProvider(
        [](void*, LPCWSTR name, DWORD access) -> std::unique_ptr<PlatSerialPort> {
            const bool known = std::u16string(name) == u"COM2:" && access == (GENERIC_READ | GENERIC_WRITE);
            return known ? std::make_unique<Modem>() : nullptr;
        },
        nullptr);
    EXPECT_EQ(Open(u"COM1:"), INVALID_HANDLE_VALUE);
    const HANDLE port = Open(u"COM2:");
    ASSERT_NE(port, INVALID_HANDLE_VALUE);
    DCB set{}, state{};
    set.BaudRate = 9600;
    set.dwControl = 0x1013;
    EXPECT_TRUE(SetCommState(port, &set));
    EXPECT_TRUE(GetCommState(port, &state));
    EXPECT_EQ(state.BaudRate, 9600u);
    EXPECT_EQ(state.dwControl, 0x1013u);
    EXPECT_EQ(ErrorOf(SetCommState(port, nullptr)), ERROR_INVALID_PARAMETER);
    const COMMTIMEOUTS timeouts{10, 10, 0, 10, 1000};
    EXPECT_TRUE(SetCommTimeouts(port, &timeouts));
    DWORD status = 0, moved = 0;
    EXPECT_TRUE(EscapeCommFunction(port, SETDTR));
    EXPECT_TRUE(GetCommModemStatus(port, &status));
    EXPECT_EQ(status, MS_RLSD_ON);
    EXPECT_EQ(ErrorOf(SetCommMask(port, EV_RXCHAR)), ERROR_NOT_SUPPORTED);

    char answer[8] = "";
    EXPECT_TRUE(WriteFile(port, "AT\r", 3, &moved, nullptr));
    EXPECT_EQ(moved, 3u);
    EXPECT_TRUE(ReadFile(port, answer, 2, &moved, nullptr));
    EXPECT_EQ(std::string(answer, moved), "OK");
    EXPECT_TRUE(PurgeComm(port, PURGE_RXCLEAR));
    EXPECT_TRUE(ReadFile(port, answer, 8, &moved, nullptr));
    EXPECT_EQ(moved, 0u);
    EXPECT_EQ(GetFileSize(port, nullptr), INVALID_FILE_SIZE);

    TestThread waiter([&] {
        DWORD events = 0;
        return WaitCommEvent(port, &events, nullptr) ? 0 : GetLastError();
    });
    std::this_thread::sleep_for(10ms);
    EXPECT_TRUE(CloseHandle(port)); // ends the wait of the other thread, or its call before it waits
    const DWORD ended = waiter.Join();
    EXPECT_TRUE(ended == Modem::ERROR_ABORTED || ended == ERROR_INVALID_HANDLE) << ended;
    EXPECT_EQ(Modem::s_alive, 0);
    EXPECT_FALSE(WriteFile(port, "AT\r", 3, &moved, nullptr));
    PlatResetForTests();
    EXPECT_EQ(Open(u"COM2:"), INVALID_HANDLE_VALUE);
}

// --- Sound --------------------------------------------------------------------------------------------------------

struct Speaker : PlatWaveProvider {
    UINT CountDevices() override { return 1; }
    MMRESULT Open(HWAVEOUT* wave, UINT, const WAVEFORMATEX& format) override {
        if (format.wBitsPerSample != 16) return WAVERR_BADFORMAT;
        *wave = reinterpret_cast<HWAVEOUT>(this);
        return 0;
    }
    MMRESULT Write(HWAVEOUT, WAVEHDR& block) override {
        block.dwFlags |= WHDR_DONE;
        played += block.dwBufferLength;
        return 0;
    }
    DWORD played = 0;
};

TEST_F(Services, WithoutALoudspeakerThereIsNoWaveDevice) {
    const WAVEFORMATEX format{WAVE_FORMAT_PCM, 1, 44100, 88200, 2, 16, 0};
    char samples[4] = {};
    WAVEHDR block{samples, sizeof samples, 0, 0, 0, 0, nullptr, 0};
    HWAVEOUT wave = reinterpret_cast<HWAVEOUT>(&block);
    DWORD volume = 0;
    EXPECT_EQ(waveOutGetNumDevs(), 0u);
    EXPECT_EQ(waveOutOpen(&wave, WAVE_MAPPER, &format, 0, 0, CALLBACK_NULL), MMSYSERR_BADDEVICEID);
    EXPECT_EQ(wave, nullptr);
    for (const MMRESULT result :
         {waveOutPrepareHeader(wave, &block, sizeof block), waveOutWrite(wave, &block, sizeof block),
          waveOutUnprepareHeader(wave, &block, sizeof block), waveOutGetVolume(wave, &volume),
          waveOutSetVolume(wave, 65535), waveOutReset(wave), waveOutClose(wave)})
        EXPECT_EQ(result, MMSYSERR_INVALHANDLE);

    Speaker speaker;
    PlatSetWaveProvider(&speaker);
    EXPECT_EQ(waveOutGetNumDevs(), 1u);
    EXPECT_EQ(waveOutOpen(&wave, 0, nullptr, 0, 0, CALLBACK_NULL), MMSYSERR_INVALPARAM);
    EXPECT_EQ(waveOutOpen(&wave, 0, &format, 0, 0, 0x30000), MMSYSERR_INVALFLAG);
    ASSERT_EQ(waveOutOpen(&wave, 0, &format, 0, 0, CALLBACK_NULL), MMSYSERR_NOERROR);
    EXPECT_EQ(waveOutWrite(wave, &block, 4), MMSYSERR_INVALPARAM); // the size is that of the header
    EXPECT_EQ(waveOutWrite(wave, &block, sizeof block), MMSYSERR_NOERROR);
    EXPECT_EQ(speaker.played, 4u);
    EXPECT_EQ(block.dwFlags, WHDR_DONE);
    PlatResetForTests();
    EXPECT_EQ(waveOutGetNumDevs(), 0u);
}

// --- Libraries by name --------------------------------------------------------------------------------------------

TEST_F(Services, LibrariesOfADeviceAreAbsentUntilTheyAreRegistered) {
    for (const auto name : {u"phone.dll", u"sms.dll", u"cellcore.dll", u"CEMAPI.dll", u"WININET.dll",
                            u"inkx.dll", u"tgetfile.dll", u"pwnotesapi.dll", u"MacroEditor.dll"}) {
        EXPECT_EQ(ErrorOf(LoadLibraryW(name)), ERROR_MOD_NOT_FOUND);
    }
    static const PlatModuleEntry kPhone[] = {{"PhoneMakeCall", 0, reinterpret_cast<FARPROC>(&PhoneMakeCall)}};
    PlatRegisterModule({.name = u"phone.dll", .entries = kPhone, .entryCount = 1, .untilReset = true});
    std::u16string dialled;
    PlatSetPhoneProvider(
        [](void* user, const PHONEMAKECALLINFO& info) -> LONG {
            return *static_cast<std::u16string*>(user) = info.pszDestAddress, 0;
        },
        &dialled);
    const HINSTANCE phone = LoadLibraryW(u"\\Windows\\Phone.DLL");
    ASSERT_NE(phone, nullptr);
    EXPECT_EQ(ErrorOf(GetProcAddressW(phone, u"PhoneAddSpeedDial")), ERROR_PROC_NOT_FOUND);
    const auto call = reinterpret_cast<PhoneMakeCallProc>(GetProcAddressW(phone, u"PhoneMakeCall"));
    ASSERT_NE(call, nullptr);
    const PHONEMAKECALLINFO info{kPhoneMakeCallSize, 1, u"+49 30 1", nullptr, u"Ann", nullptr};
    EXPECT_EQ(call(&info), 0);
    EXPECT_EQ(dialled, u"+49 30 1");
}

} // namespace
