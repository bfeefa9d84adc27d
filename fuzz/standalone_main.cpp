// Runs a fuzz target over the files, and the files of the folders, that are named. Without one it fails: a corpus that
// got lost must not pass.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int count, char** arguments) {
    namespace fs = std::filesystem;
    std::set<fs::path> files; // in one order everywhere
    for (int i = 1; i < count; ++i) {
        if (!fs::is_directory(arguments[i]))
            files.insert(arguments[i]);
        else
            for (const auto& entry : fs::directory_iterator(arguments[i])) files.insert(entry.path());
    }
    for (const auto& file : files) {
        std::ifstream in(file, std::ios::binary);
        if (!in) {
            std::fprintf(stderr, "%s can't be read\n", file.c_str());
            return 1;
        }
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
        std::fprintf(stderr, "%s\n", file.c_str()); // the last one named is the one that failed
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    }
    std::fprintf(stderr, "%zu inputs\n", files.size());
    return files.empty() ? 1 : 0;
}
