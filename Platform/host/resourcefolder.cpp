#include "Platform/host/resourcefolder.h"

#include "Platform/files.h"
#include "Platform/host/resolve.h"
#include "Platform/host/text.h"
#include "Platform/threads.h"

#include <charconv>
#include <new>

namespace plat {
namespace {

constexpr DWORD kLargestFile = 64u << 20;

// False with an error for more than is sensible or there is memory for.
bool MakeRoom(std::string& bytes, DWORD size) {
    try {
        if (size <= kLargestFile) {
            bytes.resize(size);
            return true;
        }
    } catch (const std::bad_alloc&) { // as for one that is too large
    }
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return false;
}

bool ReadOpen(HANDLE file, std::string& bytes) {
    const DWORD size = GetFileSize(file, nullptr);
    DWORD read = 0;
    return MakeRoom(bytes, size) &&
           (size == 0 || (ReadFile(file, bytes.data(), size, &read, nullptr) && read == size));
}

// The letter behind a backslash.
WCHAR Unescaped(WCHAR letter) {
    switch (letter) {
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return letter;
    }
}

std::u16string WithoutEscapes(std::u16string_view text) {
    std::u16string plain;
    for (std::size_t i = 0; i < text.size(); ++i)
        plain += text[i] == u'\\' && i + 1 < text.size() ? Unescaped(text[++i]) : text[i];
    return plain;
}

std::u16string NumberText(WORD number) { return ToUtf16(std::to_string(number)); }

} // namespace

bool ReadResourceFile(const std::u16string& path, std::string& bytes) {
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    const bool good = ReadOpen(file, bytes);
    CloseHandle(file);
    return good;
}

std::unique_ptr<ResourceFolder> ResourceFolder::Open(std::u16string_view path) {
    while (path.ends_with(u'\\')) path.remove_suffix(1);
    Place place;
    const bool found = !path.empty() && Resolve(path, LastLink::Follow, place) == 0 && place.exists;
    if (!found || !S_ISDIR(place.status.st_mode)) return nullptr;
    auto folder = std::make_unique<ResourceFolder>();
    folder->m_path = path;
    std::string strings;
    if (ReadResourceFile(folder->m_path + u"\\strings.txt", strings)) folder->ReadStrings(strings);
    return folder;
}

void ResourceFolder::ReadStrings(std::string_view file) {
    while (!file.empty()) {
        std::string_view line = file.substr(0, file.find('\n'));
        file.remove_prefix(std::min(line.size() + 1, file.size()));
        if (line.ends_with('\r')) line.remove_suffix(1);
        UINT id = 0;
        const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), id);
        const auto digits = static_cast<std::size_t>(end - line.data());
        if (error != std::errc() || digits == line.size() || line[digits] != '\t') continue;
        const std::u16string& text = m_texts.emplace_back(WithoutEscapes(ToUtf16(line.substr(digits + 1))));
        m_strings[id] = {id, text.c_str(), static_cast<DWORD>(text.size())};
    }
}

std::vector<ResourceFolder::File> ResourceFolder::FilesOf(WORD name, WORD type,
                                                          std::u16string_view typeName) const {
    const std::u16string number = NumberText(name);
    if (typeName == kPictureType)
        return {{m_path + u"\\png\\" + number + u".png", 0},
                {m_path + u"\\png\\" + number + u"-32.png", kDenseScreen}};
    if (typeName.empty() && type == kBitmapType) return {{m_path + u"\\bmp\\" + number + u".bmp", 0}};
    return {};
}

} // namespace plat
