// An open file behind a handle.
#pragma once

#include "Platform/host/filetable.h"
#include "Platform/host/handles.h"
#include "Platform/host/resolve.h"

#include <mutex>

namespace plat {

struct ShareMode {
    DWORD access; // GENERIC_READ, GENERIC_WRITE
    DWORD share;  // FILE_SHARE_READ, FILE_SHARE_WRITE

    friend bool operator==(const ShareMode&, const ShareMode&) = default;
};

// Operations give the device's error code. Reads and writes of two threads share the position, as on the device.
class FileObject : public KernelObject {
public:
    static constexpr Kind kKind = Kind::File;

    FileObject(Fd fd, ShareMode mode);
    ~FileObject() override;

    // Takes the share mode; before it succeeded nothing may be changed in the file.
    DWORD Claim();
    DWORD ReadBytes(BYTE* buffer, DWORD count, DWORD& read);
    DWORD WriteBytes(const BYTE* buffer, DWORD count, DWORD& written);
    DWORD Seek(LONGLONG distance, int whence, ULONGLONG& position);
    DWORD CutHere();
    DWORD Sync();

    int Descriptor() const { return m_fd.Get(); }
    const FileFacts& Facts() const { return m_facts; } // as they were at opening

private:
    const Fd m_fd;
    const ShareMode m_mode;
    FileFacts m_facts;
    bool m_claimed = false;
    std::mutex m_seek;
};

} // namespace plat
