// A folder of the device that stands for a module: "strings.txt" holds its texts (UTF-8, one a line: number, tab, text,
// with \n, \r, \t and \\; a line that is none is left out), "png/ID.png" its pictures of the type "PNGPIC", "bmp/ID.bmp"
// its bitmaps. "png/ID-32.png" takes a picture's place from 144 dots an inch on.
#pragma once

#include "Platform/modules.h"

#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace plat {

inline constexpr std::u16string_view kPictureType = u"PNGPIC";
inline constexpr WORD kBitmapType = 2;
inline constexpr WORD kDenseScreen = 144; // dots an inch

class ResourceFolder {
public:
    // A device path. Null when there is no such folder.
    static std::unique_ptr<ResourceFolder> Open(std::u16string_view path);

    const std::u16string& Path() const { return m_path; }
    // By number; their memory is the folder's.
    const std::unordered_map<UINT, PlatModuleString>& Strings() const { return m_strings; }

    struct File {
        std::u16string path;
        WORD leastDots; // the screens it is for
    };
    // What could hold a resource; the bytes come from ReadResourceFile.
    std::vector<File> FilesOf(WORD name, WORD type, std::u16string_view typeName) const;
    // Keeps bytes for as long as the folder is.
    const std::string& Keep(std::string bytes) { return m_files.emplace_back(std::move(bytes)); }

private:
    void ReadStrings(std::string_view file);

    std::u16string m_path; // without a backslash at its end
    std::deque<std::u16string> m_texts;
    std::unordered_map<UINT, PlatModuleString> m_strings;
    std::deque<std::string> m_files;
};

// False for a file that isn't there, can't be read, or is larger than 64 MiB. Not under a lock.
bool ReadResourceFile(const std::u16string& path, std::string& bytes);

} // namespace plat
