// The error of the last call, its text, and debug output.
#include "Platform/host/call.h"
#include "Platform/host/faults.h"
#include "Platform/host/text.h"
#include "Platform/memory.h"
#include "Platform/testing.h"
#include "Platform/threads.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <string_view>

namespace {

thread_local DWORD t_lastError = ERROR_SUCCESS;

struct ErrorText {
    DWORD code;
    std::u16string_view text;
};
constexpr std::array kTexts = {
    ErrorText{ERROR_SUCCESS, u"The operation completed successfully."},
    ErrorText{ERROR_FILE_NOT_FOUND, u"The system cannot find the file specified."},
    ErrorText{ERROR_PATH_NOT_FOUND, u"The system cannot find the path specified."},
    ErrorText{ERROR_ACCESS_DENIED, u"Access is denied."},
    ErrorText{ERROR_INVALID_HANDLE, u"The handle is invalid."},
    ErrorText{ERROR_NOT_ENOUGH_MEMORY, u"There is not enough memory to process this command."},
    ErrorText{ERROR_BAD_FORMAT, u"The file or the data has an incorrect format."},
    ErrorText{ERROR_NO_MORE_FILES, u"There are no more files."},
    ErrorText{ERROR_BAD_LENGTH, u"The length of the data is incorrect."},
    ErrorText{ERROR_SEEK, u"The specified position cannot be reached."},
    ErrorText{ERROR_WRITE_FAULT, u"The system cannot write to the storage."},
    ErrorText{30, u"The system cannot read from the device."},
    ErrorText{31, u"A device attached to the system is not functioning."},
    ErrorText{ERROR_SHARING_VIOLATION, u"The file is being used by another program."},
    ErrorText{ERROR_NOT_SUPPORTED, u"The request is not supported."},
    ErrorText{ERROR_DUP_NAME, u"The name is in use already."},
    ErrorText{55, u"The device is no longer available."},
    ErrorText{ERROR_FILE_EXISTS, u"The file exists."},
    ErrorText{ERROR_INVALID_PARAMETER, u"The parameter is incorrect."},
    ErrorText{ERROR_DISK_FULL, u"There is not enough space on the storage."},
    ErrorText{ERROR_INSUFFICIENT_BUFFER, u"The data area passed to a system call is too small."},
    ErrorText{ERROR_INVALID_NAME, u"The file name or path is incorrect."},
    ErrorText{ERROR_MOD_NOT_FOUND, u"The specified module could not be found."},
    ErrorText{ERROR_PROC_NOT_FOUND, u"The specified procedure could not be found."},
    ErrorText{131, u"The position lies before the beginning of the file."},
    ErrorText{145, u"The directory is not empty."},
    ErrorText{ERROR_ALREADY_EXISTS, u"It cannot be created because it exists already."},
    ErrorText{ERROR_MORE_DATA, u"More data is available."},
    ErrorText{ERROR_NO_MORE_ITEMS, u"No more data is available."},
    ErrorText{ERROR_NOT_OWNER, u"The mutex is not owned by the caller."},
    ErrorText{ERROR_KEY_DELETED, u"The record or key has been marked for deletion."},
    ErrorText{ERROR_NO_ASSOCIATION, u"No application is associated with the file for this operation."},
    ErrorText{ERROR_NOT_FOUND, u"The element was not found."},
    ErrorText{ERROR_INVALID_WINDOW_HANDLE, u"The window handle is invalid."},
    ErrorText{1401, u"The menu handle is invalid."},
    ErrorText{1407, u"The window class cannot be found."},
    ErrorText{1410, u"The window class exists already."},
    ErrorText{1411, u"The window class does not exist."},
    ErrorText{1412, u"The window class has open windows."},
    ErrorText{ERROR_RESOURCE_NAME_NOT_FOUND, u"The specified resource cannot be found."},
};

constexpr DWORD kErrorNoText = 317;

const ErrorText* FindText(DWORD code) {
    const auto found = std::ranges::find(kTexts, code, &ErrorText::code);
    return found == kTexts.end() ? nullptr : &*found;
}

// Lines that nobody takes don't grow without end.
constexpr std::size_t kMostLines = 4096;

struct DebugOutput {
    std::mutex lock;
    std::deque<std::u16string> lines;
};
DebugOutput& TheDebugOutput() {
    static DebugOutput& output = *new DebugOutput;
    return output;
}

[[maybe_unused]] const bool g_registered = (plat::AtReset([] { PlatTakeDebugOutput(); }), true);

} // namespace

// No checkpoints: the host's own operations use both on every path.
DWORD GetLastError() { return t_lastError; }
void SetLastError(DWORD error) { t_lastError = error; }

DWORD FormatMessageW(DWORD flags, const void*, DWORD messageId, DWORD, LPWSTR buffer, DWORD size, void*) {
    plat::HostCall call;
    const auto fail = [](DWORD error) { return SetLastError(error), DWORD{0}; };
    if (!(flags & FORMAT_MESSAGE_FROM_SYSTEM) || !buffer) return fail(ERROR_INVALID_PARAMETER);
    const ErrorText* found = FindText(messageId);
    if (!found) return fail(kErrorNoText);
    const std::u16string_view text = found->text;
    if (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) {
        const std::size_t units = std::max<std::size_t>(text.size() + 1, size);
        auto* block = static_cast<WCHAR*>(LocalAlloc(LMEM_FIXED, units * sizeof(WCHAR)));
        *reinterpret_cast<WCHAR**>(buffer) = block;
        if (!block) return fail(ERROR_NOT_ENOUGH_MEMORY);
        buffer = block;
    } else if (size <= text.size()) {
        return fail(ERROR_INSUFFICIENT_BUFFER);
    }
    std::ranges::copy(text, buffer);
    buffer[text.size()] = 0;
    return static_cast<DWORD>(text.size());
}

void OutputDebugStringW(LPCWSTR text) {
    if (!text) return;
    plat::HostCall call;
    {
        DebugOutput& output = TheDebugOutput();
        std::lock_guard lock(output.lock);
        if (output.lines.size() == kMostLines) output.lines.pop_front();
        output.lines.emplace_back(text);
    }
    if (std::getenv("QN_DEBUG")) std::fputs(plat::ToUtf8(text).c_str(), stderr);
}

std::vector<std::u16string> PlatTakeDebugOutput() {
    plat::HostCall call;
    DebugOutput& output = TheDebugOutput();
    std::lock_guard lock(output.lock);
    std::vector<std::u16string> lines(output.lines.begin(), output.lines.end());
    output.lines.clear();
    return lines;
}
