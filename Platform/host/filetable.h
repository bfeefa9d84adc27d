// What the device knows of a file beyond what the host keeps: its object id, and its attributes where the file system
// has no extended ones. The table is a file of the device folder; an id stays with a file through renames, and goes over
// to the file that is saved in its place.
#pragma once

#include "Platform/host/resolve.h"
#include "Platform/types.h"

#include <optional>
#include <span>

namespace plat {

// A file, whatever its name. The birth time tells a new file from an earlier one whose number it was given.
struct FileKey {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    std::int64_t birth = 0; // nanoseconds since 1970, 0 when the file system doesn't tell

    friend bool operator==(const FileKey&, const FileKey&) = default;
};

struct FileTimes {
    FILETIME creation{};
    FILETIME lastAccess{};
    FILETIME lastWrite{};
};

struct FileFacts {
    FileKey key;
    FileTimes times;
    std::uint64_t size = 0;
    DWORD links = 1;
    bool isFolder = false;
};
// Of an open file (name null), or of an entry of an open folder; a link itself, not what it points to.
bool ReadFacts(int fd, const char* name, FileFacts& facts);

// The file's object id, given on first use; 0 when the table can't be written.
DWORD ObjectId(const FileKey& key);
// Looks up or gives the ids of many files at once, for whoever asks for each of them next.
void PrepareObjectIds(std::span<const FileKey> keys);
// The file is gone, or another has taken its place.
void ForgetFile(const FileKey& key);
void HandOverFile(const FileKey& from, const FileKey& to);

// The device's attributes of an open file or folder; O_PATH will do.
DWORD ReadAttributes(int fd, const FileFacts& facts);
DWORD WriteAttributes(int fd, const FileFacts& facts, DWORD attributes);

} // namespace plat
