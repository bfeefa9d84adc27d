// A text file as a note: a file of the documents folder, which is where lists of notes look.
#include "NorvoTools/CeFile.h"
#include "Platform/files.h"
#include "Platform/strings.h"
#include "apps/qn/saving.h"
#include "apps/qn/textlines.h"

#include <algorithm>
#include <filesystem>

namespace qn {

namespace {

constexpr std::size_t kLargestNote = 16 << 20;
constexpr std::size_t kLongestName = 120;
constexpr unsigned kMostTwins = 1000; // of one name
constexpr UINT kWesternPage = 1252;
constexpr std::size_t kMark = 2; // bytes

std::string ReadAll(InputFile& file) {
    std::string bytes;
    for (std::string_view head = file.Head(); !head.empty(); head = file.Head()) {
        bytes += head;
        if (bytes.size() > kLargestNote) throw Failure(file.Name() + ": larger than 16 MiB, no note");
        file.Stream().ignore(static_cast<std::streamsize>(head.size()));
    }
    return bytes;
}

std::u16string FromPage(std::string_view bytes, UINT page) {
    std::u16string text(bytes.size(), u'\0');
    const int length = static_cast<int>(bytes.size());
    text.resize(static_cast<std::size_t>(
        length ? MultiByteToWideChar(page, 0, bytes.data(), length, text.data(), length) : 0));
    return text;
}

std::u16string FromUtf16(std::string_view bytes, bool bigEndian) {
    std::u16string text;
    for (std::size_t i = kMark; i + 1 < bytes.size(); i += 2) {
        const auto first = static_cast<unsigned char>(bytes[i]);
        const auto second = static_cast<unsigned char>(bytes[i + 1]);
        text += static_cast<WCHAR>(bigEndian ? first << 8 | second : second << 8 | first);
    }
    return text;
}

// By the byte-order mark, else UTF-8, else Western; what holds zeros is no text.
std::u16string TextOfBytes(std::string_view bytes, const std::string& name, bool& western) {
    std::u16string text;
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
        text = FromUtf16(bytes, bytes[0] == '\xFE');
    } else {
        if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
        western = !IsUtf8(bytes);
        text = FromPage(bytes, western ? kWesternPage : CP_ACP);
    }
    if (text.find(u'\0') != text.npos) throw Failure(name + ": is no text");
    return text;
}

// UTF-16 with its mark: what every reader of notes knows, whatever the code page of the device.
std::vector<BYTE> FileBytes(const std::u16string& text) {
    std::vector<BYTE> bytes{0xFF, 0xFE};
    const auto* begin = reinterpret_cast<const BYTE*>(text.data());
    bytes.insert(bytes.end(), begin, begin + text.size() * sizeof(WCHAR));
    return bytes;
}

// The name without its ending and without what no name of the device can have. Lists of notes know ".txt", not ".md".
std::u16string NoteName(const std::string& path) {
    std::u16string name = Utf16(std::filesystem::path(path).stem().string()).substr(0, kLongestName);
    if (!name.empty() && (name.back() & 0xFC00) == 0xD800) name.pop_back(); // half a character
    for (WCHAR& c : name)
        if (c < u' ' || std::u16string_view(u"\\/:*?\"<>|").find(c) != std::u16string_view::npos) c = u'_';
    while (name.ends_with(u' ') || name.ends_with(u'.')) name.pop_back();
    return name.empty() ? u"Note" : name;
}

bool HoldsBytes(const std::u16string& path, const std::vector<BYTE>& bytes) {
    CeFile file;
    if (!file.Open(path.c_str(), GENERIC_READ, FILE_SHARE_READ, false)) return false;
    // The file stands behind its mark.
    std::vector<BYTE> stored(bytes.size());
    stored.resize(file.Read(stored.data(), static_cast<DWORD>(stored.size())));
    return std::equal(stored.begin(), stored.end(), bytes.begin() + kMark, bytes.end());
}

void WriteNew(const std::u16string& path, const std::vector<BYTE>& bytes, const std::string& name) {
    CeFile file;
    const auto count = static_cast<DWORD>(bytes.size());
    if (file.Create(path.c_str(), GENERIC_WRITE, FILE_ATTRIBUTE_NORMAL, false)) {
        file.Write(bytes.data(), count);
        if (file.Flush() && !file.WriteFailed()) return;
        file.Close();
        DeleteFileW(path.c_str());
    }
    throw Failure(name + ": can't be written to " + Utf8(path));
}

} // namespace

bool ImportNote(InputFile& file, const std::string& path, const ImportWishes& wishes) {
    bool western = false;
    const std::vector<BYTE> bytes = FileBytes(TextOfBytes(ReadAll(file), file.Name(), western));
    WCHAR folder[MAX_PATH] = {};
    SHGetSpecialFolderPath(nullptr, folder, CSIDL_PERSONAL, TRUE);
    const std::u16string stem = folder + (u"\\" + NoteName(path));
    std::u16string target = stem + u".txt";
    bool known = HoldsBytes(target, bytes);
    for (unsigned i = 2; !known && CeFile::Exists(target.c_str(), true); ++i) {
        if (i > kMostTwins) throw Failure(file.Name() + ": no name is free for it");
        target = stem + Utf16(" (" + std::to_string(i) + ").txt");
        known = HoldsBytes(target, bytes);
    }
    if (!known) WriteNew(target, bytes, file.Name());
    if (wishes.quiet) return true;
    std::printf("%s: %s %s\n", file.Name().c_str(),
                known ? "was there as" : "1 note imported:", Printable(Utf8(target)).c_str());
    if (western) std::printf("  it is not UTF-8, and was taken as Windows-1252\n");
    return true;
}

} // namespace qn
