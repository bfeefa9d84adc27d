// Searching a folder.
#include "Platform/files.h"

#include "Platform/host/call.h"
#include "Platform/host/filenames.h"
#include "Platform/host/filetable.h"
#include "Platform/host/handles.h"
#include "Platform/threads.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <vector>

namespace plat {
namespace {

// Both folded. "*" is any run, "?" any one unit. Linear but for the last star, which is retried one unit further on.
bool Matches(std::u16string_view pattern, std::u16string_view name) {
    std::size_t p = 0;
    std::size_t n = 0;
    std::size_t star = pattern.npos;
    std::size_t retry = 0;
    while (n < name.size()) {
        if (p < pattern.size() && (pattern[p] == u'?' || pattern[p] == name[n]) && pattern[p] != u'*') {
            ++p;
            ++n;
        } else if (p < pattern.size() && pattern[p] == u'*') {
            star = p++;
            retry = n;
        } else if (star != pattern.npos) {
            p = star + 1;
            n = ++retry;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(u'*', p) == pattern.npos;
}

// The names that matched when the search began; what each is, is looked up when its turn comes.
class Search : public KernelObject {
public:
    static constexpr Kind kKind = Kind::Find;
    Search(std::u16string folder, std::vector<std::u16string> names)
        : KernelObject(kKind), m_folder(std::move(folder)), m_names(std::move(names)) {}

    // False at the end. Passes over what was deleted meanwhile, and over links that lead outside.
    bool Next(WIN32_FIND_DATAW& data) {
        std::lock_guard lock(m_mutex);
        while (m_next < m_names.size())
            if (Describe(m_names[m_next++], data)) return true;
        return false;
    }

private:
    bool Describe(const std::u16string& name, WIN32_FIND_DATAW& data) const {
        Place place;
        FileFacts facts;
        if (Resolve(m_folder + u"\\" + name, LastLink::Follow, place) != 0 || !place.exists) return false;
        const Fd fd(::openat(place.folder.Get(), place.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        if (!fd || !ReadFacts(fd.Get(), nullptr, facts)) return false;
        data = {};
        data.dwFileAttributes = ReadAttributes(fd.Get(), facts);
        data.ftCreationTime = facts.times.creation;
        data.ftLastAccessTime = facts.times.lastAccess;
        data.ftLastWriteTime = facts.times.lastWrite;
        data.nFileSizeHigh = static_cast<DWORD>(facts.size >> 32);
        data.nFileSizeLow = static_cast<DWORD>(facts.size);
        data.dwOID = ObjectId(facts.key);
        data.cFileName[name.copy(data.cFileName, MAX_PATH - 1)] = 0;
        return true;
    }

    const std::u16string m_folder;
    const std::vector<std::u16string> m_names;
    std::mutex m_mutex;
    std::size_t m_next = 0;
};

DWORD ListNames(const Place& folder, std::u16string_view pattern, std::vector<std::u16string>& names) {
    const int fd =
        ::openat(folder.folder.Get(), folder.name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return errno == ENOTDIR ? ERROR_PATH_NOT_FOUND : DeviceError(errno);
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(::fdopendir(fd), ::closedir);
    const std::u16string folded = pattern == u"*.*" ? u"*" : FoldName(pattern);
    std::vector<FileKey> keys;
    while (const dirent* entry = entries ? ::readdir(entries.get()) : nullptr) {
        const std::string_view host = entry->d_name;
        if (host == "." || host == ".." ||
            (entry->d_type != DT_REG && entry->d_type != DT_DIR && entry->d_type != DT_LNK &&
             entry->d_type != DT_UNKNOWN))
            continue;
        auto name = ToDeviceName(host);
        if (name.size() >= MAX_PATH || !Matches(folded, FoldName(name))) continue;
        names.push_back(std::move(name));
        if (FileFacts facts; ReadFacts(::dirfd(entries.get()), entry->d_name, facts))
            keys.push_back(facts.key);
    }
    PrepareObjectIds(keys);
    std::sort(names.begin(), names.end());
    return 0;
}

DWORD StartSearch(std::u16string_view path, std::shared_ptr<Search>& search) {
    const auto cut = path.find_last_of(u"\\/");
    const auto pattern = cut == path.npos ? path : path.substr(cut + 1);
    // A folder without a name is the device folder: "\*".
    const std::u16string folder = cut == path.npos || cut == 0 ? u"\\" : std::u16string(path.substr(0, cut));
    if (pattern.empty() || pattern == u"." || pattern == u"..") return ERROR_INVALID_NAME;
    Place place;
    if (const DWORD error = Resolve(folder, LastLink::Follow, place)) return error;
    if (!place.exists) return ERROR_PATH_NOT_FOUND;
    std::vector<std::u16string> names;
    if (const DWORD error = ListNames(place, pattern, names)) return error;
    search = std::make_shared<Search>(folder, std::move(names));
    return 0;
}

} // namespace
} // namespace plat

HANDLE FindFirstFileW(LPCWSTR pattern, WIN32_FIND_DATAW* data) {
    plat::HostCall call;
    std::shared_ptr<plat::Search> search;
    DWORD error = pattern && data ? plat::StartSearch(pattern, search) : ERROR_INVALID_PARAMETER;
    if (!error && !search->Next(*data)) error = ERROR_NO_MORE_FILES;
    const HANDLE found = error ? nullptr : plat::AddHandle(std::move(search));
    if (found) return found;
    SetLastError(error ? error : ERROR_NOT_ENOUGH_MEMORY);
    return INVALID_HANDLE_VALUE;
}

BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* data) {
    plat::HostCall call;
    const auto search = plat::FindObject<plat::Search>(find);
    DWORD error = search && data ? 0 : search ? ERROR_INVALID_PARAMETER : ERROR_INVALID_HANDLE;
    if (!error && !search->Next(*data)) error = ERROR_NO_MORE_FILES;
    if (error) SetLastError(error);
    return error ? FALSE : TRUE;
}

BOOL FindClose(HANDLE find) {
    plat::HostCall call;
    if (plat::FindObject<plat::Search>(find) && plat::RemoveHandle(find)) return TRUE;
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}
