// Open files.
#include "Platform/files.h"

#include "Platform/host/call.h"
#include "Platform/host/faults.h"
#include "Platform/host/fileobject.h"
#include "Platform/host/serialport.h"
#include "Platform/host/storefiles.h"
#include "Platform/threads.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <map>
#include <mutex>
#include <sys/file.h>
#include <unistd.h>

namespace plat {
namespace {

constexpr DWORD kNegativeSeek = 131;
constexpr mode_t kFileMode = 0666; // less the user's mask

// Who has which file open in this process, and what each lets the others do.
class OpenFiles {
public:
    bool Enter(const FileKey& key, ShareMode mode) {
        std::lock_guard lock(m_mutex);
        const auto [first, last] = m_open.equal_range({key.device, key.number});
        if (!std::all_of(first, last, [&](const auto& other) { return GetAlong(mode, other.second); }))
            return false;
        m_open.emplace(Number{key.device, key.number}, mode);
        return true;
    }
    void Leave(const FileKey& key, ShareMode mode) {
        std::lock_guard lock(m_mutex);
        const auto [first, last] = m_open.equal_range({key.device, key.number});
        const auto mine = std::find_if(first, last, [&](const auto& open) { return open.second == mode; });
        if (mine != last) m_open.erase(mine);
    }

private:
    using Number = std::pair<std::uint64_t, std::uint64_t>;

    static bool Allows(const ShareMode& mine, const ShareMode& other) {
        const bool reads = (other.access & GENERIC_READ) == 0 || (mine.share & FILE_SHARE_READ) != 0;
        const bool writes = (other.access & GENERIC_WRITE) == 0 || (mine.share & FILE_SHARE_WRITE) != 0;
        return reads && writes;
    }
    static bool GetAlong(const ShareMode& a, const ShareMode& b) { return Allows(a, b) && Allows(b, a); }

    std::mutex m_mutex;
    std::multimap<Number, ShareMode> m_open;
};

OpenFiles& Opened() {
    static auto* opened = new OpenFiles; // never destroyed: handles may be closed by static destructors
    return *opened;
}

struct OpenRequest {
    ShareMode mode;
    DWORD creation;
    DWORD attributes;
};

// Opens the entry, makes it when that is asked for, and tells whether it was there before.
DWORD OpenEntry(const Place& place, const OpenRequest& request, Fd& fd, bool& existed) {
    const bool writes = (request.mode.access & GENERIC_WRITE) != 0 || request.creation == CREATE_ALWAYS;
    // Never blocks on a pipe that somebody put there; the kind is looked at afterwards.
    const int flags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | (writes ? O_RDWR : O_RDONLY);
    existed = place.exists;
    if (existed) {
        if (request.creation == CREATE_NEW) return ERROR_FILE_EXISTS;
        fd = Fd(::openat(place.folder.Get(), place.name.c_str(), flags));
        if (fd) return 0;
        if (errno != ENOENT) return DeviceError(errno);
        existed = false; // deleted since it was found
    }
    if (request.creation == OPEN_EXISTING) return ERROR_FILE_NOT_FOUND;
    fd = Fd(::openat(place.folder.Get(), place.name.c_str(), flags | O_CREAT | O_EXCL, kFileMode));
    if (fd) return 0;
    if (errno == EEXIST && request.creation == CREATE_NEW) return ERROR_FILE_EXISTS;
    return DeviceError(errno);
}

DWORD CheckExisting(const FileObject& file, const OpenRequest& request) {
    if ((request.mode.access & GENERIC_WRITE) == 0 && request.creation != CREATE_ALWAYS) return 0;
    const bool readOnly = (ReadAttributes(file.Descriptor(), file.Facts()) & FILE_ATTRIBUTE_READONLY) != 0;
    return readOnly ? ERROR_ACCESS_DENIED : 0;
}

DWORD PrepareContent(FileObject& file, const OpenRequest& request, bool existed) {
    if (existed)
        if (const DWORD error = CheckExisting(file, request)) return error;
    if (existed && request.creation == CREATE_ALWAYS && ::ftruncate(file.Descriptor(), 0) != 0)
        return DeviceError(errno);
    const DWORD special =
        request.attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
    const bool fresh = !existed || request.creation == CREATE_ALWAYS;
    if (fresh && special)
        return WriteAttributes(file.Descriptor(), file.Facts(), special | FILE_ATTRIBUTE_ARCHIVE);
    return 0;
}

DWORD OpenFile(std::u16string_view path, const OpenRequest& request, std::shared_ptr<FileObject>& file,
               bool& existed) {
    if (FaultStrikes(PlatFault::FileOpen)) return ERROR_ACCESS_DENIED;
    Place place;
    if (const DWORD error = Resolve(path, LastLink::Follow, place)) return error;
    if (place.exists && !S_ISREG(place.status.st_mode)) return ERROR_ACCESS_DENIED;
    if (IsStoreFile(place.hostPath)) return ERROR_SHARING_VIOLATION;
    Fd fd;
    if (const DWORD error = OpenEntry(place, request, fd, existed)) return error;
    file = std::make_shared<FileObject>(std::move(fd), request.mode);
    if (const DWORD error = file->Claim()) return error;
    return PrepareContent(*file, request, existed);
}

} // namespace

FileObject::FileObject(Fd fd, ShareMode mode) : KernelObject(kKind), m_fd(std::move(fd)), m_mode(mode) {}

FileObject::~FileObject() {
    if (m_claimed) Opened().Leave(m_facts.key, m_mode);
}

DWORD FileObject::Claim() {
    struct stat status {};
    if (!ReadFacts(m_fd.Get(), nullptr, m_facts) || ::fstat(m_fd.Get(), &status) != 0)
        return DeviceError(errno);
    if (!S_ISREG(status.st_mode)) return ERROR_ACCESS_DENIED;
    if (!Opened().Enter(m_facts.key, m_mode)) return ERROR_SHARING_VIOLATION;
    m_claimed = true;
    // The lock goes with the open file description. Only the answer "taken" counts: some file systems have no locks.
    const int lock = (m_mode.share == 0 ? LOCK_EX : LOCK_SH) | LOCK_NB;
    if (::flock(m_fd.Get(), lock) != 0 && errno == EWOULDBLOCK) return ERROR_SHARING_VIOLATION;
    return 0;
}

DWORD FileObject::ReadBytes(BYTE* buffer, DWORD count, DWORD& read) {
    if ((m_mode.access & GENERIC_READ) == 0) return ERROR_ACCESS_DENIED;
    while (read < count) {
        const auto got = ::read(m_fd.Get(), buffer + read, count - read);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return read ? 0 : 30; // ERROR_READ_FAULT
        if (got == 0) break;
        read += static_cast<DWORD>(got);
    }
    return 0;
}

DWORD FileObject::WriteBytes(const BYTE* buffer, DWORD count, DWORD& written) {
    if ((m_mode.access & GENERIC_WRITE) == 0) return ERROR_ACCESS_DENIED;
    if (FaultStrikes(PlatFault::FileWrite)) return ERROR_DISK_FULL;
    while (written < count) {
        const auto put = ::write(m_fd.Get(), buffer + written, count - written);
        if (put < 0 && errno == EINTR) continue;
        if (put <= 0) return put < 0 ? DeviceError(errno) : ERROR_DISK_FULL;
        written += static_cast<DWORD>(put);
    }
    return 0;
}

DWORD FileObject::Seek(LONGLONG distance, int whence, ULONGLONG& position) {
    std::lock_guard lock(m_seek);
    LONGLONG base = 0;
    if (whence == SEEK_CUR) base = ::lseek(m_fd.Get(), 0, SEEK_CUR);
    if (whence == SEEK_END) {
        struct stat status {};
        if (::fstat(m_fd.Get(), &status) != 0) return DeviceError(errno);
        base = status.st_size;
    }
    LONGLONG target = 0;
    if (__builtin_add_overflow(base, distance, &target)) return ERROR_INVALID_PARAMETER;
    if (target < 0) return kNegativeSeek;
    if (::lseek(m_fd.Get(), target, SEEK_SET) < 0) return DeviceError(errno);
    position = static_cast<ULONGLONG>(target);
    return 0;
}

DWORD FileObject::CutHere() {
    if ((m_mode.access & GENERIC_WRITE) == 0) return ERROR_ACCESS_DENIED;
    if (FaultStrikes(PlatFault::FileWrite)) return ERROR_DISK_FULL;
    const auto position = ::lseek(m_fd.Get(), 0, SEEK_CUR);
    return position >= 0 && ::ftruncate(m_fd.Get(), position) == 0 ? 0 : DeviceError(errno);
}

DWORD FileObject::Sync() {
    if (FaultStrikes(PlatFault::FileSync)) return ERROR_WRITE_FAULT;
    return ::fsync(m_fd.Get()) == 0 ? 0 : ERROR_WRITE_FAULT;
}

} // namespace plat

namespace {

using plat::FileObject;

BOOL Give(DWORD error) {
    if (error) SetLastError(error);
    return error ? FALSE : TRUE;
}

// Runs `action` on the open file behind the handle.
template<class Action>
BOOL WithFile(HANDLE handle, Action action) {
    plat::HostCall call;
    const auto file = plat::FindObject<FileObject>(handle);
    return Give(file ? action(*file) : ERROR_INVALID_HANDLE);
}

} // namespace

HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES*, DWORD creation,
                   DWORD attributes, HANDLE) {
    if (plat::IsPortName(path)) return plat::OpenPort(path, access);
    plat::HostCall call;
    if (!path || creation < CREATE_NEW || creation > OPEN_ALWAYS) {
        SetLastError(path ? ERROR_INVALID_PARAMETER : ERROR_PATH_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    std::shared_ptr<FileObject> file;
    bool existed = false;
    if (const DWORD error = plat::OpenFile(path, {{access, share}, creation, attributes}, file, existed)) {
        file = nullptr; // releases what was claimed before the error is set
        SetLastError(error);
        return INVALID_HANDLE_VALUE;
    }
    const bool wasThere = existed && (creation == CREATE_ALWAYS || creation == OPEN_ALWAYS);
    const HANDLE handle = plat::AddHandle(std::move(file));
    if (!handle) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return INVALID_HANDLE_VALUE;
    }
    SetLastError(wasThere ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

BOOL ReadFile(HANDLE handle, void* buffer, DWORD count, DWORD* read, OVERLAPPED*) {
    DWORD got = 0;
    const auto port = plat::FindPort(handle);
    const BOOL done = port ? Give(port->Read(buffer, count, got)) : WithFile(handle, [&](FileObject& file) {
        return file.ReadBytes(static_cast<BYTE*>(buffer), count, got);
    });
    if (read) *read = got;
    return done;
}

BOOL WriteFile(HANDLE handle, const void* buffer, DWORD count, DWORD* written, OVERLAPPED*) {
    DWORD put = 0;
    const auto port = plat::FindPort(handle);
    const BOOL done = port ? Give(port->Write(buffer, count, put)) : WithFile(handle, [&](FileObject& file) {
        return file.WriteBytes(static_cast<const BYTE*>(buffer), count, put);
    });
    if (written) *written = put;
    return done;
}

DWORD SetFilePointer(HANDLE handle, LONG distance, LONG* high, DWORD method) {
    constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    ULONGLONG position = 0;
    const LONGLONG whole =
        high ? static_cast<LONGLONG>((static_cast<ULONGLONG>(static_cast<DWORD>(*high)) << 32) |
                                     static_cast<DWORD>(distance))
             : distance;
    const BOOL done = WithFile(handle, [&](FileObject& file) -> DWORD {
        if (method > FILE_END) return ERROR_INVALID_PARAMETER;
        return file.Seek(whole, kWhence[method], position);
    });
    if (!done) return INVALID_SET_FILE_POINTER;
    if (high) *high = static_cast<LONG>(position >> 32);
    SetLastError(ERROR_SUCCESS); // a position may look like the failure
    return static_cast<DWORD>(position);
}

DWORD GetFileSize(HANDLE handle, DWORD* high) {
    plat::FileFacts facts;
    const BOOL done = WithFile(handle, [&](FileObject& file) -> DWORD {
        return plat::ReadFacts(file.Descriptor(), nullptr, facts) ? 0 : plat::DeviceError(errno);
    });
    if (!done) return INVALID_FILE_SIZE;
    if (high) *high = static_cast<DWORD>(facts.size >> 32);
    SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(facts.size);
}

BOOL SetEndOfFile(HANDLE handle) {
    return WithFile(handle, [](FileObject& file) { return file.CutHere(); });
}

BOOL FlushFileBuffers(HANDLE handle) {
    return WithFile(handle, [](FileObject& file) { return file.Sync(); });
}

BOOL GetFileInformationByHandle(HANDLE handle, BY_HANDLE_FILE_INFORMATION* information) {
    return WithFile(handle, [&](FileObject& file) -> DWORD {
        plat::FileFacts facts;
        if (!information) return ERROR_INVALID_PARAMETER;
        if (!plat::ReadFacts(file.Descriptor(), nullptr, facts)) return plat::DeviceError(errno);
        *information = {};
        information->dwFileAttributes = plat::ReadAttributes(file.Descriptor(), facts);
        information->ftCreationTime = facts.times.creation;
        information->ftLastAccessTime = facts.times.lastAccess;
        information->ftLastWriteTime = facts.times.lastWrite;
        information->nFileSizeHigh = static_cast<DWORD>(facts.size >> 32);
        information->nFileSizeLow = static_cast<DWORD>(facts.size);
        information->nNumberOfLinks = facts.links;
        information->nFileIndexHigh = static_cast<DWORD>(facts.key.number >> 32);
        information->nFileIndexLow = static_cast<DWORD>(facts.key.number);
        information->dwOID = plat::ObjectId(facts.key);
        return 0;
    });
}

BOOL GetFileTime(HANDLE handle, FILETIME* creation, FILETIME* lastAccess, FILETIME* lastWrite) {
    return WithFile(handle, [&](FileObject& file) -> DWORD {
        plat::FileFacts facts;
        if (!plat::ReadFacts(file.Descriptor(), nullptr, facts)) return plat::DeviceError(errno);
        if (creation) *creation = facts.times.creation;
        if (lastAccess) *lastAccess = facts.times.lastAccess;
        if (lastWrite) *lastWrite = facts.times.lastWrite;
        return 0;
    });
}
