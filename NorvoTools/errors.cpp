#include "NorvoTools/errors.h"

#include "Platform/clock.h"
#include "Platform/files.h"
#include "Platform/memory.h"
#include "Platform/modules.h"
#include "Platform/strings.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstring>
#include <memory>

namespace {

constexpr int kErrorTextChars = 4096;
constexpr int kLineChars = 1024;    // the most that wvsprintfW writes
constexpr DWORD kSystemText = 4352; // FormatMessageW: allocate the buffer, texts of the system
constexpr WCHAR kLogFile[] = u"\\QN8_ERROR_LOG.txt";

std::atomic<CeTraceHook> s_traceHook{nullptr};

// The log is shared for reading only, so a writer that comes at the same moment has to try again.
HANDLE OpenLog() {
    constexpr int kTries = 20;
    for (int i = 0; i < kTries; ++i) {
        HANDLE file = CreateFileW(kLogFile, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_SHARING_VIOLATION) return file;
        Sleep(1);
    }
    return INVALID_HANDLE_VALUE;
}

void AppendToLog(const WCHAR* line) {
    std::array<char, 3 * kLineChars + 2> bytes; // a unit takes at most three in the code page
    const int length = static_cast<int>(wcslen(line));
    int count = length == 0 ? 0
                            : WideCharToMultiByte(CP_ACP, 0, line, length, bytes.data(), 3 * kLineChars,
                                                  nullptr, nullptr);
    bytes[static_cast<std::size_t>(count)] = '\r';
    bytes[static_cast<std::size_t>(count) + 1] = '\n';
    HANDLE file = OpenLog();
    if (file == INVALID_HANDLE_VALUE) return;
    SetFilePointer(file, 0, nullptr, FILE_END);
    DWORD written = 0;
    WriteFile(file, bytes.data(), static_cast<DWORD>(count) + 2, &written, nullptr);
    CloseHandle(file);
}

} // namespace

CShowError::CShowError(WORD stringId, HINSTANCE resources, UINT flags) {
    if (!resources) return;
    std::array<WCHAR, kLineChars> text = {};
    if (LoadStringW(resources, stringId, text.data(), kLineChars) <= 0)
        wsprintfW(text.data(), u"Resource Error text was not found. \r\rResource %d not loaded.", stringId);
    m_nResult = MessageBoxW(GetForegroundWindow(), text.data(), u"QN Message", flags);
}

void ShowError(const WCHAR* format, ...) {
    std::array<WCHAR, kErrorTextChars> text = {};
    std::va_list arguments;
    va_start(arguments, format);
    wvsprintfW(text.data(), format, arguments);
    va_end(arguments);
    MessageBoxW(nullptr, text.data(), nullptr, kErrorBoxFlags);
}

void ShowError() {
    WCHAR* text = nullptr;
    FormatMessageW(kSystemText, nullptr, GetLastError(), 0, reinterpret_cast<WCHAR*>(&text), 0, nullptr);
    if (!text) return;
    // As an argument, never as the format: what the system says may hold a percent sign.
    ShowError(u"%s", text);
    CeTraceLog(u"%s", text);
    LocalFree(text);
}

void CeTraceLog(const WCHAR* format, ...) {
    const DWORD lastError = GetLastError();
    std::array<WCHAR, kLineChars> lineFormat;
    std::array<WCHAR, kLineChars + 2> line;
    wsprintfW(lineFormat.data(), u"%ld: %s", GetTickCount(), format);
    std::va_list arguments;
    va_start(arguments, format);
    wvsprintfW(line.data(), lineFormat.data(), arguments);
    va_end(arguments);
    AppendToLog(line.data());
    wcscat(line.data(), u"\r\n");
    OutputDebugStringW(line.data());
    SetLastError(lastError);
}

CeTraceHook CeSetTraceHook(CeTraceHook hook) { return s_traceHook.exchange(hook); }

void CeTrace(const WCHAR* format, ...) {
    CeTraceHook hook = s_traceHook.load();
    if (!hook) return;
    std::array<WCHAR, kLineChars> line;
    std::va_list arguments;
    va_start(arguments, format);
    wvsprintfW(line.data(), format, arguments);
    va_end(arguments);
    hook(line.data());
}
