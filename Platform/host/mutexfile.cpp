// Named mutexes between processes: locks on single bytes of a small file in the user's runtime folder. The locks belong to
// the open file and not to the process, so closing another file never drops them, and a process that dies gives them up.
#include "Platform/host/devicefolder.h"
#include "Platform/host/syncobjects.h"
#include "Platform/host/text.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace plat {
namespace {

constexpr off_t kHeldByte =
    0; // also a mark in the file itself: 1 while held, so a holder that died left it at 1
constexpr off_t kExistsByte = 1; // locked shared by everyone with a handle

bool Lock(int file, off_t byte, short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return fcntl(file, F_OFD_SETLK, &lock) == 0;
}

void Mark(int file, char held) { (void)!pwrite(file, &held, 1, kHeldByte); }

bool Marked(int file) {
    char held = 0;
    return pread(file, &held, 1, kHeldByte) == 1 && held != 0;
}

// Made when missing; false unless it is the user's own, which nobody else can write to.
bool IsOwnFolder(const std::string& folder) {
    mkdir(folder.c_str(), 0700);
    struct stat info = {};
    return lstat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == getuid() &&
           (info.st_mode & 022) == 0;
}

// Empty when it can't be had.
std::string RuntimeFolder() {
    const char* runtime = getenv("XDG_RUNTIME_DIR");
    std::error_code error;
    const std::string temporary = std::filesystem::temp_directory_path(error).string();
    for (const std::string& base : {std::string(runtime ? runtime : ""), temporary}) {
        std::string folder = base + "/quillonary-" + std::to_string(getuid());
        if (!base.empty() && IsOwnFolder(folder)) return folder;
    }
    return {};
}

// FNV-1a, 64 bits.
std::uint64_t Hash(std::string_view bytes) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char c : bytes) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    return hash;
}

// A name holds for one device: for all processes on the same device folder.
std::string FileOf(const std::u16string& name) {
    const std::string folder = RuntimeFolder();
    if (folder.empty()) return {};
    char file[64];
    std::snprintf(file, sizeof file, "/mutex-%016llx-%016llx",
                  static_cast<unsigned long long>(Hash(DeviceFolder())),
                  static_cast<unsigned long long>(Hash(ToUtf8(name))));
    return folder + file;
}

} // namespace

std::unique_ptr<MutexFile> MutexFile::Open(const std::u16string& name, bool hold, bool& existed) {
    const std::string path = FileOf(name);
    const int file = path.empty() ? -1 : open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (file < 0) return nullptr;
    std::unique_ptr<MutexFile> result(new MutexFile(file));
    // Whoever gets the whole lock is alone and the mutex fresh; others have it whole only for the moment of this test.
    for (;;) {
        existed = !Lock(file, kExistsByte, F_WRLCK);
        if (!existed) Mark(file, 0);
        if (!existed && hold) Lock(file, kHeldByte, F_WRLCK); // before anybody else can
        if (Lock(file, kExistsByte, F_RDLCK)) return result;
        if (errno != EAGAIN && errno != EACCES && errno != EINTR) return nullptr; // no such locks here
        std::this_thread::yield();
    }
}

MutexFile::~MutexFile() { close(m_file); }

Taken MutexFile::TryHold() {
    if (!Lock(m_file, kHeldByte, F_WRLCK)) return Taken::No;
    const bool left = Marked(m_file);
    Mark(m_file, 1);
    return left ? Taken::Abandoned : Taken::Yes;
}

void MutexFile::LetGo(bool abandoned) {
    if (!abandoned) Mark(m_file, 0);
    Lock(m_file, kHeldByte, F_UNLCK);
}

} // namespace plat
