#include "Platform/host/devicefolder.h"

#include "Platform/host/filenames.h"
#include "Platform/host/resolve.h"
#include "Platform/threads.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <deque>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <pwd.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace plat {

Fd::~Fd() {
    if (m_fd >= 0) ::close(m_fd);
}

namespace {

constexpr int kMaxLinks = 40;
constexpr std::size_t kMaxDepth = 128; // one descriptor a level
constexpr int kFolderFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

// The device folder, opened.
struct Root {
    std::string path;     // as it was told
    std::string realPath; // without links
    Fd fd;
};

struct RootState {
    std::mutex mutex;
    std::string told; // by SetDeviceFolder
    std::shared_ptr<const Root> root;
};
// Never destroyed: static objects of others still come here when the process ends.
RootState& State() {
    static auto* state = new RootState;
    return *state;
}

std::string HomeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 4096> buffer{};
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found)
        return found->pw_dir;
    return "/";
}

std::string FolderOfEnvironment() {
    if (const char* device = std::getenv("QN_DEVICE"); device && *device) return device;
    if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data == '/')
        return std::string(data) + "/quillonary";
    return HomeFolder() + "/.local/share/quillonary";
}

std::string RootPath(const std::string& told) {
    std::error_code error;
    auto path = std::filesystem::absolute(told.empty() ? FolderOfEnvironment() : told, error)
                    .lexically_normal()
                    .string();
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

std::shared_ptr<const Root> OpenRoot(const std::string& told) {
    auto root = std::make_shared<Root>();
    std::error_code error;
    const std::string path = RootPath(told);
    root->path = path;
    // What the suite keeps is nobody else's business.
    if (std::filesystem::create_directories(path, error)) ::chmod(path.c_str(), 0700);
    root->fd = Fd(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    root->realPath = std::filesystem::canonical(path, error).string();
    if (error) root->realPath = path;
    return root;
}

std::shared_ptr<const Root> CurrentRoot() {
    auto& state = State();
    std::lock_guard lock(state.mutex);
    // A folder that could not be made or opened is tried again at the next call.
    if (!state.root || !state.root->fd) state.root = OpenRoot(state.told);
    return state.root;
}

// The host name of a folder's entry that matches but for case: the first by its bytes, so that every process and every
// call finds the same one.
std::optional<std::string> FindByCase(int folder, std::u16string_view name) {
    const int fd = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return std::nullopt;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(::fdopendir(fd), ::closedir);
    if (!entries) {
        ::close(fd);
        return std::nullopt;
    }
    const std::u16string folded = FoldName(name);
    std::optional<std::string> best;
    while (const dirent* entry = ::readdir(entries.get()))
        if (HasDeviceName(entry->d_name, folded) && (!best || *best > entry->d_name)) best = entry->d_name;
    return best;
}

// One walk from the device folder down a path.
class Walk {
public:
    explicit Walk(std::shared_ptr<const Root> root) : m_root(std::move(root)) {}

    DWORD Run(std::u16string_view path, LastLink last, Place& place) {
        if (const DWORD error = Cut(path)) return error;
        if (!m_root->fd) return ERROR_PATH_NOT_FOUND;
        while (!m_steps.empty()) {
            const Step step = std::move(m_steps.front());
            m_steps.pop_front();
            if (const DWORD error = Take(step, last, place); error || m_arrived) return error;
        }
        return ArriveAtFolder(place);
    }

private:
    // A component still to go: of the device path, or of a link, which is taken byte for byte and may go up.
    struct Step {
        std::u16string device;
        std::string host;
    };

    DWORD Cut(std::u16string_view path) {
        if (path.empty()) return ERROR_PATH_NOT_FOUND;
        while (!path.empty()) {
            const auto end = std::min(path.find_first_of(u"\\/"), path.size());
            const auto name = path.substr(0, end);
            path.remove_prefix(std::min(end + 1, path.size()));
            if (name.empty() || name == u".") continue;
            if (!ValidDeviceName(name)) return ERROR_INVALID_NAME;
            m_steps.push_back({std::u16string(name), {}});
        }
        return m_steps.size() > kMaxDepth ? ERROR_INVALID_NAME : 0;
    }

    DWORD Take(const Step& step, LastLink last, Place& place) {
        if (step.host == "..") return GoUp();
        const bool atEnd = m_steps.empty();
        std::string name = step.host.empty() ? ToHostName(step.device) : step.host;
        struct stat status {};
        bool exists = Look(name, status);
        if (!exists && !step.device.empty()) {
            if (auto found = FindByCase(Folder(), step.device)) {
                name = *found;
                exists = Look(name, status);
            }
        }
        if (!exists && !atEnd) return Missing(name, place);
        if (exists && S_ISLNK(status.st_mode) && !(atEnd && last == LastLink::Keep)) return FollowLink(name);
        if (exists && S_ISDIR(status.st_mode) && !atEnd) return GoDown(name);
        if (!atEnd) return Missing(name, place);
        return Arrive(std::move(name), exists, status, place);
    }

    bool Look(const std::string& name, struct stat& status) const {
        return ::fstatat(Folder(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    }
    int Folder() const { return m_folders.empty() ? m_root->fd.Get() : m_folders.back().Get(); }

    DWORD GoUp() {
        if (m_folders.empty()) return ERROR_ACCESS_DENIED;
        m_folders.pop_back();
        m_names.pop_back();
        return 0;
    }

    DWORD GoDown(const std::string& name) {
        if (m_folders.size() >= kMaxDepth) return ERROR_INVALID_NAME;
        Fd folder(::openat(Folder(), name.c_str(), kFolderFlags));
        if (!folder) return errno == ENOENT ? ERROR_PATH_NOT_FOUND : DeviceError(errno);
        m_folders.push_back(std::move(folder));
        m_names.push_back(name);
        return 0;
    }

    DWORD FollowLink(const std::string& name) {
        if (++m_links > kMaxLinks) return ERROR_ACCESS_DENIED;
        std::array<char, PATH_MAX> buffer{};
        const auto length = ::readlinkat(Folder(), name.c_str(), buffer.data(), buffer.size());
        if (length <= 0 || static_cast<std::size_t>(length) == buffer.size()) return ERROR_ACCESS_DENIED;
        std::string target(buffer.data(), static_cast<std::size_t>(length));
        if (target[0] == '/') {
            auto inside = InsideRoot(target);
            if (!inside) return ERROR_ACCESS_DENIED;
            m_folders.clear();
            m_names.clear();
            target = *inside;
        }
        PushLink(target);
        return 0;
    }

    // The rest behind the device folder of an absolute path, when it lies in there.
    std::optional<std::string> InsideRoot(const std::string& target) const {
        const auto behind = [&](const std::string& path,
                                const std::string& folder) -> std::optional<std::string> {
            if (path.compare(0, folder.size(), folder) != 0) return std::nullopt;
            if (path.size() > folder.size() && path[folder.size()] != '/') return std::nullopt;
            return path.substr(folder.size());
        };
        if (auto rest = behind(target, m_root->path)) return rest;
        std::error_code error;
        return behind(std::filesystem::weakly_canonical(target, error).string(), m_root->realPath);
    }

    void PushLink(const std::string& target) {
        std::vector<Step> steps;
        for (std::size_t at = 0; at < target.size();) {
            const auto end = std::min(target.find('/', at), target.size());
            if (auto name = target.substr(at, end - at); !name.empty() && name != ".")
                steps.push_back({{}, name});
            at = end + 1;
        }
        m_steps.insert(m_steps.begin(), steps.begin(), steps.end());
    }

    std::string HostPath(const std::string& last) const {
        std::string path = m_root->path;
        for (const auto& name : m_names) path += "/" + name;
        return last.empty() ? path : path + "/" + last;
    }

    DWORD Missing(const std::string& name, Place& place) {
        place.hostPath = HostPath(name);
        for (const auto& step : m_steps)
            place.hostPath += "/" + (step.host.empty() ? ToHostName(step.device) : step.host);
        return ERROR_PATH_NOT_FOUND;
    }

    DWORD Arrive(std::string name, bool exists, const struct stat& status, Place& place) {
        m_arrived = true;
        place.hostPath = HostPath(name);
        place.folder = Fd(::fcntl(Folder(), F_DUPFD_CLOEXEC, 0));
        place.name = std::move(name);
        place.exists = exists;
        place.status = status;
        return place.folder ? 0 : DeviceError(errno);
    }

    // The path ended where the walk stands (it was the device folder, or a link went up): give it as an
    // entry of the folder above.
    DWORD ArriveAtFolder(Place& place) {
        struct stat status {};
        if (::fstat(Folder(), &status) != 0) return DeviceError(errno);
        if (m_folders.empty()) return Arrive(".", true, status, place);
        std::string name = std::move(m_names.back());
        m_names.pop_back();
        m_folders.pop_back();
        return Arrive(std::move(name), true, status, place);
    }

    const std::shared_ptr<const Root> m_root;
    std::deque<Step> m_steps;
    std::vector<Fd> m_folders; // from below the device folder down
    std::vector<std::string> m_names;
    int m_links = 0;
    bool m_arrived = false;
};

} // namespace

DWORD Resolve(std::u16string_view devicePath, LastLink last, Place& place) {
    place = Place();
    return Walk(CurrentRoot()).Run(devicePath, last, place);
}

std::string DeviceFolder() { return CurrentRoot()->path; }

bool HasDeviceFolder() {
    auto& state = State();
    std::lock_guard lock(state.mutex);
    std::error_code error;
    return (state.root && state.root->fd) || std::filesystem::is_directory(RootPath(state.told), error);
}

void SetDeviceFolder(const std::string& hostFolder) {
    auto& state = State();
    std::lock_guard lock(state.mutex);
    state.told = hostFolder;
    state.root = nullptr;
}

bool MapDevicePath(std::u16string_view devicePath, std::string& hostPath) {
    Place place;
    const DWORD error = Resolve(devicePath, LastLink::Follow, place);
    if (place.hostPath.empty()) {
        // Whatever keeps the path from having a host form, the answer to the caller is one.
        SetLastError(ERROR_INVALID_NAME);
        return false;
    }
    static_cast<void>(error); // a missing folder above shows when the path is used
    hostPath = std::move(place.hostPath);
    return true;
}

DWORD DeviceError(int hostError) {
    constexpr DWORD kTooManyOpenFiles = 4;
    constexpr DWORD kNotSameDevice = 17;
    constexpr DWORD kGeneralFailure = 31;
    constexpr DWORD kDirectoryNotEmpty = 145;
    switch (hostError) {
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
        return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ELOOP:
        return ERROR_ACCESS_DENIED;
    case EEXIST:
        return ERROR_ALREADY_EXISTS;
    case ENOTEMPTY:
        return kDirectoryNotEmpty;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return ERROR_DISK_FULL;
    case ENAMETOOLONG:
        return ERROR_INVALID_NAME;
    case EMFILE:
    case ENFILE:
        return kTooManyOpenFiles;
    case ENOMEM:
        return ERROR_NOT_ENOUGH_MEMORY;
    case EXDEV:
        return kNotSameDevice;
    case EBUSY:
    case ETXTBSY:
        return ERROR_SHARING_VIOLATION;
    case EIO:
        return ERROR_WRITE_FAULT;
    case EINVAL:
        return ERROR_INVALID_PARAMETER;
    default:
        return kGeneralFailure;
    }
}

} // namespace plat
