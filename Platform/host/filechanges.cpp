// Names of files: attributes, folders, deleting, copying, renaming.
#include "Platform/files.h"

#include "Platform/host/call.h"
#include "Platform/host/faults.h"
#include "Platform/host/filenames.h"
#include "Platform/host/filetable.h"
#include "Platform/host/resolve.h"
#include "Platform/host/storefiles.h"
#include "Platform/threads.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <unistd.h>
#include <vector>

namespace plat {
namespace {

constexpr std::u16string_view kTemporaryFolder = u"\\Temp\\";
constexpr std::u16string_view kDocumentsFolder = u"\\My Documents";
constexpr mode_t kFolderMode = 0777; // less the user's mask
constexpr mode_t kFileMode = 0666;

DWORD ResolveExisting(LPCWSTR path, LastLink last, Place& place) {
    if (!path) return ERROR_PATH_NOT_FOUND;
    const DWORD error = Resolve(path, last, place);
    return error ? error : place.exists ? 0 : ERROR_FILE_NOT_FOUND;
}

// Files of other kinds than ours are refused.
DWORD OpenEntry(const Place& place, int flags, Fd& fd, FileFacts& facts) {
    if (!S_ISREG(place.status.st_mode) && !S_ISDIR(place.status.st_mode)) return ERROR_ACCESS_DENIED;
    fd = Fd(::openat(place.folder.Get(), place.name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC));
    return fd && ReadFacts(fd.Get(), nullptr, facts) ? 0 : DeviceError(errno);
}

// For asking and marking alone: that doesn't count as having it open.
DWORD OpenForMarks(const Place& place, Fd& fd, FileFacts& facts) {
    return OpenEntry(place, O_PATH, fd, facts);
}

// For reading and locking.
DWORD OpenForUse(const Place& place, Fd& fd, FileFacts& facts) {
    if (IsStoreFile(place.hostPath)) return ERROR_SHARING_VIOLATION;
    return OpenEntry(place, O_RDONLY | O_NONBLOCK, fd, facts);
}

DWORD AttributesOf(LPCWSTR path, DWORD& attributes) {
    Place place;
    Fd fd;
    FileFacts facts;
    if (const DWORD error = ResolveExisting(path, LastLink::Follow, place)) return error;
    if (const DWORD error = OpenForMarks(place, fd, facts)) return error;
    attributes = ReadAttributes(fd.Get(), facts);
    return 0;
}

DWORD SetAttributesOf(LPCWSTR path, DWORD attributes) {
    Place place;
    Fd fd;
    FileFacts facts;
    if (const DWORD error = ResolveExisting(path, LastLink::Follow, place)) return error;
    if (const DWORD error = OpenForMarks(place, fd, facts)) return error;
    return WriteAttributes(fd.Get(), facts, attributes);
}

DWORD SyncFolder(int folder) {
    if (FaultStrikes(PlatFault::FileSync)) return ERROR_WRITE_FAULT;
    const Fd fd(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return fd && ::fsync(fd.Get()) == 0 ? 0 : ERROR_WRITE_FAULT;
}

DWORD MakeFolder(LPCWSTR path) {
    Place place;
    if (!path) return ERROR_PATH_NOT_FOUND;
    if (const DWORD error = Resolve(path, LastLink::Follow, place)) return error;
    if (place.exists) return ERROR_ALREADY_EXISTS;
    return ::mkdirat(place.folder.Get(), place.name.c_str(), kFolderMode) == 0 ? 0 : DeviceError(errno);
}

DWORD RemoveFolder(LPCWSTR path) {
    Place place;
    if (const DWORD error = ResolveExisting(path, LastLink::Keep, place)) return error;
    if (place.IsRoot() || !S_ISDIR(place.status.st_mode)) return ERROR_ACCESS_DENIED;
    return ::unlinkat(place.folder.Get(), place.name.c_str(), AT_REMOVEDIR) == 0 ? 0 : DeviceError(errno);
}

// Error 32 while somebody, here or in another process, has the file open: every open file holds a lock.
DWORD CheckNotOpen(int fd) {
    return ::flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK ? ERROR_SHARING_VIOLATION : 0;
}

// For a file that is about to lose its name. A link or a folder has no marks of its own to look at.
DWORD CheckRemovable(const Place& place, bool readOnlyMatters, FileFacts& facts) {
    if (!S_ISREG(place.status.st_mode)) return 0;
    Fd fd;
    if (const DWORD error = OpenForUse(place, fd, facts)) return error;
    const bool readOnly = (ReadAttributes(fd.Get(), facts) & FILE_ATTRIBUTE_READONLY) != 0;
    return readOnlyMatters && readOnly ? ERROR_ACCESS_DENIED : CheckNotOpen(fd.Get());
}

DWORD RemoveFile(LPCWSTR path) {
    Place place;
    FileFacts facts;
    if (const DWORD error = ResolveExisting(path, LastLink::Keep, place)) return error;
    if (S_ISDIR(place.status.st_mode)) return ERROR_ACCESS_DENIED;
    if (const DWORD error = CheckRemovable(place, true, facts)) return error;
    if (::unlinkat(place.folder.Get(), place.name.c_str(), 0) != 0) return DeviceError(errno);
    if (facts.links == 1) ForgetFile(facts.key);
    return 0;
}

DWORD SyncFile(int fd) {
    if (FaultStrikes(PlatFault::FileSync)) return ERROR_WRITE_FAULT;
    return ::fsync(fd) == 0 ? 0 : ERROR_WRITE_FAULT;
}

DWORD CopyBytes(int from, int to) {
    // A copy of a file that somebody writes to alone might be of no state that it ever had.
    if (::flock(from, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK) return ERROR_SHARING_VIOLATION;
    std::vector<char> buffer(std::size_t{1} << 18);
    for (;;) {
        const auto got = ::read(from, buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return 30; // ERROR_READ_FAULT
        if (got == 0) return SyncFile(to);
        if (FaultStrikes(PlatFault::FileWrite)) return ERROR_DISK_FULL;
        for (ssize_t at = 0; at < got;) {
            const auto put = ::write(to, buffer.data() + at, static_cast<std::size_t>(got - at));
            if (put < 0 && errno == EINTR) continue;
            if (put <= 0) return put < 0 ? DeviceError(errno) : ERROR_DISK_FULL;
            at += put;
        }
    }
}

// A file under a name of its own, that is gone again unless it was renamed.
class ScratchFile {
public:
    explicit ScratchFile(int folder) : m_folder(folder) {
        static std::atomic<unsigned> s_number{0};
        m_name = ".copy-" + std::to_string(::getpid()) + "-" + std::to_string(++s_number);
        m_fd = Fd(
            ::openat(folder, m_name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kFileMode));
    }
    ~ScratchFile() {
        if (m_fd && !m_renamed) ::unlinkat(m_folder, m_name.c_str(), 0);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    int Descriptor() const { return m_fd.Get(); }
    explicit operator bool() const { return static_cast<bool>(m_fd); }
    DWORD RenameTo(const std::string& name, bool failIfExists) {
        if (FaultStrikes(PlatFault::FileRename)) return ERROR_ACCESS_DENIED;
        const unsigned flags = failIfExists ? RENAME_NOREPLACE : 0;
        m_renamed = ::renameat2(m_folder, m_name.c_str(), m_folder, name.c_str(), flags) == 0;
        if (m_renamed) return 0;
        return errno == EEXIST ? ERROR_FILE_EXISTS : DeviceError(errno);
    }

private:
    const int m_folder;
    std::string m_name;
    Fd m_fd;
    bool m_renamed = false;
};

DWORD CopyContent(const Place& source, const Place& target, bool failIfExists) {
    Fd from;
    FileFacts facts;
    if (const DWORD error = OpenForUse(source, from, facts)) return error;
    ScratchFile scratch(target.folder.Get());
    if (!scratch) return DeviceError(errno);
    if (const DWORD error = CopyBytes(from.Get(), scratch.Descriptor())) return error;
    FileFacts copied;
    if (!ReadFacts(scratch.Descriptor(), nullptr, copied)) return DeviceError(errno);
    const DWORD attributes = ReadAttributes(from.Get(), facts);
    if (attributes != FILE_ATTRIBUTE_ARCHIVE) WriteAttributes(scratch.Descriptor(), copied, attributes);
    FileFacts replaced;
    const bool replaces = ReadFacts(target.folder.Get(), target.name.c_str(), replaced);
    if (const DWORD error = scratch.RenameTo(target.name, failIfExists)) return error;
    if (replaces) HandOverFile(replaced.key, copied.key);
    return 0;
}

DWORD CopyTo(LPCWSTR existing, LPCWSTR copy, bool failIfExists) {
    Place source;
    Place target;
    if (const DWORD error = ResolveExisting(existing, LastLink::Follow, source)) return error;
    if (!S_ISREG(source.status.st_mode)) return ERROR_ACCESS_DENIED;
    if (!copy) return ERROR_PATH_NOT_FOUND;
    if (const DWORD error = Resolve(copy, LastLink::Follow, target)) return error;
    if (target.exists) {
        FileFacts facts;
        if (failIfExists) return ERROR_FILE_EXISTS;
        const bool same =
            target.status.st_ino == source.status.st_ino && target.status.st_dev == source.status.st_dev;
        if (same) return ERROR_SHARING_VIOLATION;
        if (!S_ISREG(target.status.st_mode)) return ERROR_ACCESS_DENIED;
        if (const DWORD error = CheckRemovable(target, true, facts)) return error;
    }
    return CopyContent(source, target, failIfExists);
}

// A new name that only differs in case finds the file itself: then the name is taken as it was given.
bool IsSameEntry(const Place& a, const Place& b) {
    return b.exists && a.hostPath == b.hostPath && a.status.st_ino == b.status.st_ino;
}

std::string LastName(std::u16string_view path) {
    while (!path.empty() && (path.back() == u'\\' || path.back() == u'/')) path.remove_suffix(1);
    const auto cut = path.find_last_of(u"\\/");
    return ToHostName(cut == path.npos ? path : path.substr(cut + 1));
}

DWORD Move(LPCWSTR existing, LPCWSTR moved) {
    Place source;
    Place target;
    FileFacts facts;
    if (const DWORD error = ResolveExisting(existing, LastLink::Keep, source)) return error;
    if (!moved) return ERROR_PATH_NOT_FOUND;
    if (const DWORD error = Resolve(moved, LastLink::Keep, target)) return error;
    if (source.IsRoot()) return ERROR_ACCESS_DENIED;
    const bool recased = IsSameEntry(source, target);
    if (target.exists && !recased) return ERROR_ALREADY_EXISTS;
    if (const DWORD error = CheckRemovable(source, false, facts)) return error;
    if (FaultStrikes(PlatFault::FileRename)) return ERROR_ACCESS_DENIED;
    const std::string name = recased ? LastName(moved) : target.name;
    if (name == source.name && recased) return 0;
    const int result = ::renameat2(source.folder.Get(), source.name.c_str(), target.folder.Get(),
                                   name.c_str(), RENAME_NOREPLACE);
    return result == 0 ? 0 : DeviceError(errno);
}

// What the device knows of the old file goes over to the new one before it takes the name.
void InheritMarks(const Place& source, const Place& target, FileFacts& from, FileFacts& to) {
    Fd old;
    Fd fresh;
    if (!target.exists || OpenForMarks(target, old, from) || OpenForMarks(source, fresh, to)) return;
    const DWORD attributes = ReadAttributes(old.Get(), from);
    if (attributes != ReadAttributes(fresh.Get(), to)) WriteAttributes(fresh.Get(), to, attributes);
}

DWORD Replace(LPCWSTR temporary, LPCWSTR replaced) {
    Place source;
    Place target;
    if (const DWORD error = ResolveExisting(temporary, LastLink::Keep, source)) return error;
    if (!replaced) return ERROR_PATH_NOT_FOUND;
    if (const DWORD error = Resolve(replaced, LastLink::Follow, target)) return error;
    if (!S_ISREG(source.status.st_mode)) return ERROR_ACCESS_DENIED;
    if (target.exists && !S_ISREG(target.status.st_mode)) return ERROR_ACCESS_DENIED;
    if (IsStoreFile(source.hostPath) || IsStoreFile(target.hostPath)) return ERROR_SHARING_VIOLATION;
    FileFacts old;
    FileFacts fresh;
    InheritMarks(source, target, old, fresh);
    if (FaultStrikes(PlatFault::FileRename)) return ERROR_ACCESS_DENIED;
    if (::renameat(source.folder.Get(), source.name.c_str(), target.folder.Get(), target.name.c_str()) != 0)
        return DeviceError(errno);
    if (target.exists) HandOverFile(old.key, fresh.key);
    return SyncFolder(target.folder.Get());
}

BOOL Give(DWORD error) {
    if (error) SetLastError(error);
    return error ? FALSE : TRUE;
}

} // namespace
} // namespace plat

DWORD GetFileAttributesW(LPCWSTR path) {
    plat::HostCall call;
    DWORD attributes = 0;
    return plat::Give(plat::AttributesOf(path, attributes)) ? attributes : INVALID_FILE_ATTRIBUTES;
}

BOOL SetFileAttributesW(LPCWSTR path, DWORD attributes) {
    plat::HostCall call;
    return plat::Give(plat::SetAttributesOf(path, attributes));
}

BOOL CreateDirectoryW(LPCWSTR path, SECURITY_ATTRIBUTES*) {
    plat::HostCall call;
    return plat::Give(plat::MakeFolder(path));
}

BOOL RemoveDirectoryW(LPCWSTR path) {
    plat::HostCall call;
    return plat::Give(plat::RemoveFolder(path));
}

BOOL DeleteFileW(LPCWSTR path) {
    plat::HostCall call;
    return plat::Give(plat::RemoveFile(path));
}

BOOL CopyFileW(LPCWSTR existing, LPCWSTR copy, BOOL failIfExists) {
    plat::HostCall call;
    return plat::Give(plat::CopyTo(existing, copy, failIfExists != FALSE));
}

BOOL MoveFileW(LPCWSTR existing, LPCWSTR moved) {
    plat::HostCall call;
    return plat::Give(plat::Move(existing, moved));
}

BOOL PlatReplaceFile(LPCWSTR temporary, LPCWSTR target) {
    plat::HostCall call;
    return plat::Give(plat::Replace(temporary, target));
}

DWORD GetTempPathW(DWORD chars, LPWSTR buffer) {
    plat::HostCall call;
    const auto length = static_cast<DWORD>(plat::kTemporaryFolder.size());
    if (!buffer || chars <= length) return length + 1;
    plat::MakeFolder(plat::kTemporaryFolder.data());
    plat::kTemporaryFolder.copy(buffer, length);
    buffer[length] = 0;
    return length;
}

BOOL SHGetSpecialFolderPath(HWND, LPWSTR buffer, int folder, BOOL create) {
    plat::HostCall call;
    if (!buffer || folder != CSIDL_PERSONAL) return plat::Give(ERROR_INVALID_PARAMETER);
    if (create) {
        const DWORD error = plat::MakeFolder(plat::kDocumentsFolder.data());
        if (error && error != ERROR_ALREADY_EXISTS) return plat::Give(error);
    }
    buffer[plat::kDocumentsFolder.copy(buffer, MAX_PATH - 1)] = 0;
    return TRUE;
}
