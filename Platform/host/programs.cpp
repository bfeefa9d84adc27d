#include "Platform/host/programs.h"

#include "Platform/host/faults.h"
#include "Platform/host/filenames.h"
#include "Platform/host/provider.h"
#include "Platform/host/registrystore.h"
#include "Platform/host/resolve.h"
#include "Platform/host/text.h"
#include "Platform/process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace plat {
namespace {

constexpr std::u16string_view kProgramTable = u"Software\\Norvo\\HostPrograms";
constexpr KeyId kMachine = -3;

// --- The recorder of tests ----------------------------------------------------------------------------------------

struct Recorder {
    std::mutex mutex;
    bool on = false;
    DWORD error = 0;
    std::vector<PlatProgramRecord> programs;
};
Recorder& TheRecorder() {
    static auto* recorder = new Recorder;
    return *recorder;
}

ProviderSlot<PlatProgramProvider>& Slot() {
    static auto* slot = new ProviderSlot<PlatProgramProvider>;
    return *slot;
}

struct ResetRecorder {
    ResetRecorder() {
        AtReset([] {
            PlatSetProgramProvider(nullptr, nullptr);
            PlatRecordPrograms(false);
            PlatTakePrograms();
        });
    }
} const g_resetRecorder;

// --- Starting -----------------------------------------------------------------------------------------------------

// What the started side tells back: its number, or why there is none.
struct Report {
    int processId = 0;
    int error = 0;
};

// Everything a child needs, made before the fork: behind it, in a process that had threads, only system calls are safe.
struct Launch {
    std::string file;
    std::vector<char*> arguments; // null at the end
    int report = -1;              // the pipe's writing end; closed by a successful exec
};

void Tell(int pipe, const Report& report) {
    while (::write(pipe, &report, sizeof report) < 0 && errno == EINTR) continue;
}

[[noreturn]] void RunProgram(const Launch& launch) {
    ::signal(SIGPIPE, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    const int nothing = ::open("/dev/null", O_RDWR);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO}) ::dup2(nothing, standard);
    Tell(launch.report, {::getpid(), 0});
    ::execve(launch.file.c_str(), launch.arguments.data(), environ);
    Tell(launch.report, {0, errno});
    ::_exit(127);
}

// The child starts the program as a grandchild and ends, so that nobody here has to wait for the program.
[[noreturn]] void Detach(const Launch& launch) {
    ::setsid();
    const pid_t child = ::fork();
    if (child == 0) RunProgram(launch);
    if (child < 0) Tell(launch.report, {0, EAGAIN});
    ::_exit(0);
}

DWORD ReadReports(int pipe, StartedProgram& started) {
    Report report;
    while (true) {
        const auto got = ::read(pipe, &report, sizeof report);
        if (got < 0 && errno == EINTR) continue;
        if (got != static_cast<ssize_t>(sizeof report)) break;
        if (report.error == ENOENT || report.error == EACCES || report.error == ENOEXEC)
            return ERROR_NO_ASSOCIATION;
        if (report.error) return ERROR_NOT_ENOUGH_MEMORY;
        started.processId = report.processId;
    }
    return started.processId ? 0 : ERROR_NOT_ENOUGH_MEMORY;
}

// --- The host program table ---------------------------------------------------------------------------------------

std::u16string_view BaseName(std::u16string_view path) {
    const auto cut = path.find_last_of(u"\\/");
    return cut == path.npos ? path : path.substr(cut + 1);
}

bool LookUp(std::u16string_view name, std::u16string& command) {
    KeyId table = 0;
    if (RegistryStore::Get().FindKey(kMachine, kProgramTable, table) != 0) return false;
    const auto folded = FoldName(name);
    const DWORD error = RegistryStore::Get().ReadKey(table, [&](const RegistryKey& key) -> DWORD {
        const RegistryValue* value = key.values.Find(folded);
        if (!value || value->type != 1) return ERROR_FILE_NOT_FOUND; // REG_SZ
        command.assign(value->data.size() / sizeof(WCHAR), u'\0');
        std::memcpy(command.data(), value->data.data(), command.size() * sizeof(WCHAR));
        command.resize(std::min(command.find(u'\0'), command.size()));
        return 0;
    });
    return error == 0 && !command.empty();
}

DWORD WhyNoProgram(std::u16string_view image) {
    Place place;
    if (const DWORD error = Resolve(image, LastLink::Follow, place)) return error;
    return place.exists ? ERROR_NO_ASSOCIATION : ERROR_FILE_NOT_FOUND;
}

} // namespace

std::vector<std::u16string> CutCommandLine(std::u16string_view line) {
    std::vector<std::u16string> pieces;
    std::u16string piece;
    bool quoted = false;
    bool any = false; // "" is a piece too
    for (std::size_t i = 0; i < line.size(); ++i) {
        const WCHAR c = line[i];
        if (c == u'"' && quoted && i + 1 < line.size() && line[i + 1] == u'"') {
            piece += line[++i];
        } else if (c == u'"') {
            quoted = !quoted;
            any = true;
        } else if (!quoted && (c == u' ' || c == u'\t')) {
            if (any) pieces.push_back(std::move(piece));
            piece.clear();
            any = false;
        } else {
            piece += c;
            any = true;
        }
    }
    if (any) pieces.push_back(std::move(piece));
    return pieces;
}

std::string FindCommand(const std::string& command) {
    if (command.empty()) return {};
    if (command.find('/') != command.npos)
        return ::access(command.c_str(), X_OK) == 0 ? command : std::string();
    const char* path = std::getenv("PATH");
    std::string_view rest = path ? path : "/usr/local/bin:/usr/bin:/bin";
    while (!rest.empty()) {
        const auto end = std::min(rest.find(':'), rest.size());
        std::string file = std::string(rest.substr(0, end)) + "/" + command;
        if (end > 0 && ::access(file.c_str(), X_OK) == 0) return file;
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return {};
}

DWORD StartHostProgram(const std::string& command, const std::vector<std::string>& arguments,
                       StartedProgram& started) {
    Launch launch;
    launch.file = FindCommand(command);
    if (launch.file.empty()) return ERROR_NO_ASSOCIATION;
    launch.arguments.push_back(launch.file.data());
    for (const auto& argument : arguments) launch.arguments.push_back(const_cast<char*>(argument.c_str()));
    launch.arguments.push_back(nullptr);
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) return ERROR_NOT_ENOUGH_MEMORY;
    const Fd reading(ends[0]);
    launch.report = ends[1];
    pid_t child = 0;
    {
        const Fd writing(ends[1]);
        child = ::fork();
        if (child == 0) Detach(launch);
    }
    if (child < 0) return ERROR_NOT_ENOUGH_MEMORY;
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) continue;
    return ReadReports(reading.Get(), started);
}

DWORD StartDeviceProgram(std::u16string_view image, std::u16string_view arguments, StartedProgram& started) {
    std::u16string line;
    // The table may tell two programs of one name apart by their paths.
    if (!LookUp(image, line) && !LookUp(BaseName(image), line)) return WhyNoProgram(image);
    const auto command = CutCommandLine(line);
    std::vector<std::string> given;
    for (std::size_t i = 1; i < command.size(); ++i) given.push_back(ToUtf8(command[i]));
    for (const auto& argument : CutCommandLine(arguments)) given.push_back(ToUtf8(argument));
    return StartHostProgram(command.empty() ? std::string() : ToUtf8(command[0]), given, started);
}

bool RecordStart(std::u16string_view file, std::u16string_view arguments, DWORD& error) {
    HostCall call;
    auto& recorder = TheRecorder();
    std::lock_guard lock(recorder.mutex);
    if (!recorder.on) return false;
    recorder.programs.push_back({std::u16string(file), std::u16string(arguments)});
    error = recorder.error;
    return true;
}

bool StartedElsewhere(std::u16string_view file, std::u16string_view arguments, DWORD& error) {
    if (RecordStart(file, arguments, error)) return true;
    const auto [provider, user] = Slot().Get();
    if (provider) error = provider(user, std::u16string(file).c_str(), std::u16string(arguments).c_str());
    return provider != nullptr;
}

} // namespace plat

void PlatSetProgramProvider(PlatProgramProvider provider, void* user) { plat::Slot().Set(provider, user); }

void PlatRecordPrograms(bool record, DWORD error) {
    auto& recorder = plat::TheRecorder();
    std::lock_guard lock(recorder.mutex);
    recorder.on = record;
    recorder.error = error;
}

std::vector<PlatProgramRecord> PlatTakePrograms() {
    auto& recorder = plat::TheRecorder();
    std::lock_guard lock(recorder.mutex);
    return std::exchange(recorder.programs, {});
}
