// Starting programs and documents, and shortcuts.
#include "Platform/process.h"

#include "Platform/host/call.h"
#include "Platform/host/handles.h"
#include "Platform/host/programs.h"
#include "Platform/host/resolve.h"
#include "Platform/host/text.h"
#include "Platform/files.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace plat {
namespace {

constexpr char kOpener[] = "xdg-open";
constexpr std::size_t kLongestShortcut = 4096; // bytes

// A handle for what was started. It runs detached, so there is nothing to wait for and nothing to end.
class StartedProcess : public KernelObject {
public:
    StartedProcess() : KernelObject(Kind::Process) {}
};
HANDLE NewProcessHandle() { return AddHandle(std::make_shared<StartedProcess>()); }

bool EndsWith(std::u16string_view text, std::u16string_view lowerEnd) {
    if (text.size() < lowerEnd.size()) return false;
    return std::ranges::equal(text.substr(text.size() - lowerEnd.size()), lowerEnd, {}, LowerUnit);
}

// "http://...", "mailto:..."; one letter before the colon would be a drive.
bool IsUrl(std::u16string_view text) {
    const auto colon = text.find(u':');
    if (colon == text.npos || colon < 2) return false;
    const auto isLetter = [](WCHAR c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); };
    const auto isScheme = [&](WCHAR c) {
        return isLetter(c) || (c >= u'0' && c <= u'9') || c == u'+' || c == u'-' || c == u'.';
    };
    return isLetter(text[0]) && std::ranges::all_of(text.substr(0, colon), isScheme);
}

DWORD OpenOnDesktop(const std::string& what, StartedProgram& started) {
    return StartHostProgram(kOpener, {what}, started);
}

DWORD ReadShortcut(std::u16string_view path, std::u16string& target) {
    Place place;
    if (const DWORD error = Resolve(path, LastLink::Follow, place)) return error;
    if (!place.exists) return ERROR_FILE_NOT_FOUND;
    const Fd fd(
        ::openat(place.folder.Get(), place.name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    std::array<char, kLongestShortcut + 1> bytes{};
    const auto length =
        fd && S_ISREG(place.status.st_mode) ? ::read(fd.Get(), bytes.data(), bytes.size()) : -1;
    if (length <= 0 || length > static_cast<ssize_t>(kLongestShortcut)) return ERROR_BAD_FORMAT;
    target = ToUtf16({bytes.data(), static_cast<std::size_t>(length)});
    // Shortcuts made by a device have the number of characters in front: "18#\windows\x.exe".
    const auto digits = target.find_first_not_of(u"0123456789");
    if (digits != target.npos && digits > 0 && target[digits] == u'#') target.erase(0, digits + 1);
    target.erase(std::min(target.find_last_not_of(u"\r\n ") + 1, target.size()));
    return target.empty() ? ERROR_BAD_FORMAT : 0;
}

// A shortcut's text is a command line: the program, quoted when it has blanks, and its arguments.
void CutTarget(std::u16string_view target, std::u16string& file, std::u16string& arguments) {
    const bool quoted = target.starts_with(u'"');
    const auto end = std::min(quoted ? target.find(u'"', 1) : target.find(u' '), target.size());
    file = target.substr(quoted ? 1 : 0, end - (quoted ? 1 : 0));
    auto rest = target.substr(std::min(end + (quoted ? 1 : 0), target.size()));
    rest.remove_prefix(std::min(rest.find_first_not_of(u' '), rest.size()));
    arguments = rest;
}

DWORD OpenDocument(std::u16string_view file, StartedProgram& started) {
    Place place;
    if (const DWORD error = Resolve(file, LastLink::Follow, place)) return error;
    if (!place.exists) return ERROR_FILE_NOT_FOUND;
    // What isn't in the program table and is a program of the device can't run here; the desktop must not guess.
    if (EndsWith(file, u".exe")) return ERROR_NO_ASSOCIATION;
    return OpenOnDesktop(place.hostPath, started);
}

DWORD Execute(std::u16string_view file, std::u16string_view arguments, bool mayFollow,
              StartedProgram& started) {
    if (IsUrl(file)) return OpenOnDesktop(ToUtf8(file), started);
    const DWORD error = StartDeviceProgram(file, arguments, started);
    if (error != ERROR_NO_ASSOCIATION) return error;
    if (!EndsWith(file, u".lnk")) return OpenDocument(file, started);
    std::u16string target;
    std::u16string program;
    std::u16string given;
    if (!mayFollow) return ERROR_NO_ASSOCIATION; // shortcuts don't chain, so they can't go round
    if (const DWORD unread = ReadShortcut(file, target)) return unread;
    CutTarget(target, program, given);
    if (!arguments.empty()) given += (given.empty() ? u"" : u" ") + std::u16string(arguments);
    return Execute(program, given, false, started);
}

BOOL Give(DWORD error) {
    if (error) SetLastError(error);
    return error ? FALSE : TRUE;
}

} // namespace
} // namespace plat

BOOL CreateProcessW(LPCWSTR image, LPCWSTR arguments, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*, BOOL, DWORD,
                    void*, LPWSTR, STARTUPINFOW*, PROCESS_INFORMATION* information) {
    const auto file = plat::TextOf(image);
    if (file.empty()) return plat::Give(ERROR_INVALID_PARAMETER);
    plat::StartedProgram started;
    DWORD error = 0;
    const bool elsewhere = plat::StartedElsewhere(file, plat::TextOf(arguments), error);
    plat::HostCall call;
    if (!elsewhere) error = plat::StartDeviceProgram(file, plat::TextOf(arguments), started);
    if (!error && information)
        *information = {plat::NewProcessHandle(), plat::NewProcessHandle(),
                        static_cast<DWORD>(started.processId), 0};
    return plat::Give(error);
}

BOOL ShellExecuteEx(SHELLEXECUTEINFO* info) {
    if (!info) return plat::Give(ERROR_INVALID_PARAMETER);
    const auto file = plat::TextOf(info->lpFile);
    if (file.empty()) return plat::Give(ERROR_INVALID_PARAMETER);
    const auto arguments = plat::TextOf(info->lpParameters);
    plat::StartedProgram started;
    DWORD error = 0;
    const bool elsewhere = plat::StartedElsewhere(file, arguments, error);
    plat::HostCall call;
    if (!elsewhere) error = plat::Execute(file, arguments, true, started);
    if (!error && (info->fMask & SEE_MASK_NOCLOSEPROCESS)) info->hProcess = plat::NewProcessHandle();
    return plat::Give(error);
}

BOOL SHCreateShortcut(LPCWSTR shortcut, LPCWSTR target) {
    plat::HostCall call;
    const std::string text = plat::ToUtf8(plat::TextOf(target));
    if (text.empty() || text.size() > plat::kLongestShortcut) return plat::Give(ERROR_INVALID_PARAMETER);
    const HANDLE file =
        CreateFileW(shortcut, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return FALSE;
    DWORD written = 0;
    const BOOL done = WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    const DWORD error = done ? 0 : GetLastError();
    CloseHandle(file);
    return plat::Give(error);
}

BOOL SHGetShortcutTarget(LPCWSTR shortcut, LPWSTR target, int chars) {
    plat::HostCall call;
    std::u16string text;
    if (!shortcut || !target || chars <= 0) return plat::Give(ERROR_INVALID_PARAMETER);
    if (const DWORD error = plat::ReadShortcut(shortcut, text)) return plat::Give(error);
    target[text.copy(target, static_cast<std::size_t>(chars) - 1)] = 0;
    return TRUE;
}

int SHShowOutOfMemory(HWND owner, UINT) {
    return MessageBoxW(owner,
                       u"There is not enough room to keep this. Delete files or items that you no longer "
                       u"need, then try again.",
                       u"Out of Store", MB_OK | MB_ICONHAND);
}
