// Device paths: whatever text is given as a path, nothing outside the device folder is read, made, changed or deleted.
// The first byte picks the operation, the rest is the path as UTF-16.
#include "Platform/files.h"
#include "Platform/testing.h"
#include "Platform/threads.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace fs = std::filesystem;

namespace {

constexpr char kSecret[] = "outside";

// <scratch>/device is the device folder, <scratch>/outside must stay as it is.
struct Scratch {
    fs::path top;

    Scratch() {
        std::string pattern = (fs::temp_directory_path() / "qnfuzz-XXXXXX").string();
        top = mkdtemp(pattern.data());
        fs::create_directories(top / "outside");
        std::ofstream(top / "outside/secret.txt") << kSecret;
        PlatSetDeviceFolder((top / "device").string());
        Fill();
    }
    ~Scratch() {
        PlatSetDeviceFolder("");
        fs::remove_all(top);
    }
    // As it was before: each input stands for itself.
    void Fill() const {
        const fs::path device = top / "device";
        fs::create_directories(device);
        for (const auto& entry : fs::directory_iterator(device))
            if (!entry.path().filename().string().starts_with("files.db")) fs::remove_all(entry.path());
        fs::create_directories(device / "My Documents");
        std::ofstream(device / "a.txt") << "inside";
        std::ofstream(device / "My Documents/b.txt") << "inside";
        fs::create_symlink("../outside", device / "up");
        fs::create_symlink(top / "outside/secret.txt", device / "out.txt");
        fs::create_symlink(device / "My Documents", device / "in");
        fs::create_symlink("ring", device / "ring");
        fs::create_symlink("My Documents/../../outside/secret.txt", device / "round");
    }
    bool OutsideIsWhole() const {
        std::ifstream in(top / "outside/secret.txt");
        const std::string text{std::istreambuf_iterator<char>(in), {}};
        const auto entries = [](const fs::path& folder) {
            return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
        };
        return text == kSecret && entries(top / "outside") == 1 && entries(top) == 2;
    }
};

void Read(LPCWSTR path) {
    const HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    char bytes[16]{};
    DWORD read = 0;
    ReadFile(file, bytes, sizeof bytes - 1, &read, nullptr);
    CloseHandle(file);
    if (std::strcmp(bytes, kSecret) == 0) std::abort();
}

void Write(LPCWSTR path) {
    const HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    DWORD written = 0;
    WriteFile(file, "x", 1, &written, nullptr);
    CloseHandle(file);
    // What was made must be found again under the same name.
    if (GetFileAttributesW(path) == INVALID_FILE_ATTRIBUTES) std::abort();
}

void Search(LPCWSTR path) {
    WIN32_FIND_DATAW data{};
    const HANDLE find = FindFirstFileW(path, &data);
    if (find == INVALID_HANDLE_VALUE) return;
    do {
        if (std::u16string_view(data.cFileName) == u"secret.txt") std::abort();
    } while (FindNextFileW(find, &data));
    FindClose(find);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Scratch scratch;
    if (size == 0) return 0;
    std::u16string path((size - 1) / 2, u'\0');
    std::memcpy(path.data(), data + 1, path.size() * 2);
    switch (data[0] % 8) {
    case 0:
        Read(path.c_str());
        break;
    case 1:
        Write(path.c_str());
        break;
    case 2:
        Search(path.c_str());
        break;
    case 3:
        DeleteFileW(path.c_str());
        break;
    case 4:
        CreateDirectoryW(path.c_str(), nullptr);
        break;
    case 5:
        MoveFileW(u"\\a.txt", path.c_str());
        break;
    case 6:
        CopyFileW(u"\\a.txt", path.c_str(), FALSE);
        break;
    case 7:
        CopyFileW(path.c_str(), u"\\copy.txt", FALSE), Read(u"\\copy.txt");
        break;
    }
    if (!scratch.OutsideIsWhole()) std::abort();
    scratch.Fill();
    return 0;
}
