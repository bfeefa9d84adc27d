// Finding the host file of a device path without ever leaving the device folder, also while others rename things in it:
// the walk goes from folder to folder by descriptors and never lets the kernel follow a link.
#pragma once

#include "Platform/types.h"

#include <string>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace plat {

// A file descriptor that closes itself.
class Fd {
public:
    explicit Fd(int fd = -1) : m_fd(fd) {}
    Fd(Fd&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    Fd& operator=(Fd&& other) noexcept {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~Fd();
    int Get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }

private:
    int m_fd;
};

struct Place {
    Fd folder;        // holds the file; only good for *at calls
    std::string name; // in `folder`; "." when the path is the device folder itself
    bool exists = false;
    struct stat status {}; // when it exists
    std::string hostPath;

    bool IsRoot() const { return name == "."; }
};

enum class LastLink { Follow, Keep };

// 0, or the error: 123 (a component can't be a name, or ".."), 5 (a link to the outside), 3 (a folder above is missing,
// or there is no path). A missing last component is no error; with error 3 only `hostPath` is set, to what it would be.
DWORD Resolve(std::u16string_view devicePath, LastLink last, Place& place);

// The device's error code for an errno of a file operation.
DWORD DeviceError(int hostError);

} // namespace plat
