// The files that SQLite has open in this process. Its locks belong to the process and the file, not to a descriptor:
// whoever opened and closed such a file beside it would drop them, and with them all that keeps two writers apart. So
// no file operation opens one; to the rest of the device they are files that somebody has open for himself.
#pragma once

#include <string>

namespace plat {

// While it lives, a database stands at this host path, with its log and the index of that.
class StoreFile {
public:
    explicit StoreFile(std::string hostPath);
    ~StoreFile();
    StoreFile(const StoreFile&) = delete;
    StoreFile& operator=(const StoreFile&) = delete;

private:
    const std::string m_path;
};

bool IsStoreFile(const std::string& hostPath);

} // namespace plat
