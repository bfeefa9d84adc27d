#include "Platform/host/storefiles.h"

#include <mutex>
#include <set>
#include <utility>

namespace plat {
namespace {

struct Open {
    std::mutex mutex;
    std::multiset<std::string> paths;
};

Open& Opened() {
    static auto* opened = new Open; // never destroyed: stores close when the process ends
    return *opened;
}

} // namespace

StoreFile::StoreFile(std::string hostPath) : m_path(std::move(hostPath)) {
    std::lock_guard lock(Opened().mutex);
    Opened().paths.insert(m_path);
}

StoreFile::~StoreFile() {
    std::lock_guard lock(Opened().mutex);
    Opened().paths.erase(Opened().paths.find(m_path));
}

bool IsStoreFile(const std::string& hostPath) {
    std::string base = hostPath;
    for (const char* const suffix : {"-wal", "-shm", "-journal"})
        if (base.ends_with(suffix)) base.resize(base.rfind('-'));
    std::lock_guard lock(Opened().mutex);
    return Opened().paths.contains(hostPath) || Opened().paths.contains(base);
}

} // namespace plat
