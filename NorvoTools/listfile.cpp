#include "NorvoTools/listfile.h"

#include "Platform/files.h"
#include "Platform/threads.h"
#include "NorvoTools/CeFile.h"
#include "NorvoTools/errors.h"
#include "NorvoTools/waitables.h"

#include <memory>
#include <string>

namespace {

constexpr BYTE kVersion = 1;
constexpr std::size_t kLengthBytes = 4;
constexpr DWORD kLargestFile = 64u << 20; // more is no list of the suite
constexpr int kOpenAttempts = 50;         // while another process saves the same list
constexpr DWORD kAttemptPause = 10;       // ms
constexpr WCHAR kSaveMutex[] = u"Norvo_ListFile_Save";
constexpr DWORD kSaveWait = 30000; // ms

// Little-endian fields out of bytes that may end anywhere.
class Reader {
public:
    explicit Reader(std::span<const BYTE> bytes) : m_bytes(bytes) {}

    bool AtEnd() const { return m_nAt == m_bytes.size(); }
    std::size_t Offset() const { return m_nAt; }

    bool Bytes(std::size_t count, std::span<const BYTE>& out) {
        if (count > m_bytes.size() - m_nAt) return false;
        out = m_bytes.subspan(m_nAt, count);
        m_nAt += count;
        return true;
    }
    bool Byte(BYTE& out) {
        std::span<const BYTE> bytes;
        if (!Bytes(1, bytes)) return false;
        out = bytes[0];
        return true;
    }
    bool Number(DWORD& out) {
        std::span<const BYTE> b;
        if (!Bytes(kLengthBytes, b)) return false;
        out = b[0] | DWORD{b[1]} << 8 | DWORD{b[2]} << 16 | DWORD{b[3]} << 24;
        return true;
    }

private:
    std::span<const BYTE> m_bytes;
    std::size_t m_nAt = 0;
};

// Compared like C strings: what stands behind a zero in the file doesn't count.
bool IsMagic(std::span<const BYTE> found, std::string_view magic) {
    std::string_view text(reinterpret_cast<const char*>(found.data()), found.size());
    return text.substr(0, text.find('\0')) == magic;
}

int ParseHead(Reader& reader, std::string_view magic, CeListFileContents& contents) {
    BYTE version;
    if (!reader.Byte(version)) return LISTFILE_SHORT;
    if (version != kVersion) return LISTFILE_FORMAT;
    DWORD magicLength;
    std::span<const BYTE> magicBytes;
    if (!reader.Number(magicLength) || !reader.Bytes(magicLength, magicBytes)) return LISTFILE_SHORT;
    if (!IsMagic(magicBytes, magic)) return LISTFILE_FORMAT;
    DWORD count, current, base;
    if (!reader.Number(count) || !reader.Number(current) || !reader.Number(base) ||
        !reader.Number(contents.dwElementArgument))
        return LISTFILE_SHORT;
    contents.nCurrent = static_cast<int>(current);
    contents.nBase = static_cast<int>(base);
    return LISTFILE_OK;
}

int ParseElements(Reader& reader, CeListFileContents& contents) {
    while (!reader.AtEnd()) {
        DWORD length;
        std::span<const BYTE> element;
        if (!reader.Number(length) || !reader.Bytes(length, element)) return LISTFILE_SHORT;
        contents.elements.push_back(element);
    }
    return LISTFILE_OK;
}

void PutNumber(std::vector<BYTE>& out, DWORD n) {
    for (unsigned shift = 0; shift < 32; shift += 8) out.push_back(static_cast<BYTE>(n >> shift));
}

struct CloseFile {
    void operator()(void* file) const { CloseHandle(file); }
};
using File = std::unique_ptr<void, CloseFile>;

// A file that another process has open just now is waited for a while.
File Open(const WCHAR* path, DWORD access, DWORD creation) {
    for (int attempt = 1;; ++attempt) {
        HANDLE file = CreateFileW(path, access, 0, nullptr, creation, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE) return File(file);
        if (GetLastError() != ERROR_SHARING_VIOLATION || attempt == kOpenAttempts) return nullptr;
        Sleep(kAttemptPause);
    }
}

bool WriteWhole(const WCHAR* path, std::span<const BYTE> bytes) {
    File file = Open(path, GENERIC_WRITE, CREATE_ALWAYS);
    DWORD written = 0;
    return file && WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
           written == bytes.size() && FlushFileBuffers(file.get());
}

} // namespace

int ParseListFile(std::span<const BYTE> bytes, std::string_view magic, CeListFileContents& contents) {
    contents = {};
    Reader reader(bytes);
    int code = ParseHead(reader, magic, contents);
    if (code == LISTFILE_OK) code = ParseElements(reader, contents);
    if (code == LISTFILE_OK) return code;
    contents.elements.clear();
    contents.nErrorOffset = reader.Offset();
    return code;
}

std::vector<BYTE> BuildListFile(std::string_view magic, const CeListFileContents& contents) {
    std::vector<BYTE> out{kVersion};
    PutNumber(out, static_cast<DWORD>(magic.size() + 1));
    out.insert(out.end(), magic.begin(), magic.end());
    out.push_back(0);
    PutNumber(out, static_cast<DWORD>(contents.elements.size()));
    PutNumber(out, static_cast<DWORD>(contents.nCurrent));
    PutNumber(out, static_cast<DWORD>(contents.nBase));
    PutNumber(out, contents.dwElementArgument);
    for (std::span<const BYTE> element : contents.elements) {
        PutNumber(out, static_cast<DWORD>(element.size()));
        out.insert(out.end(), element.begin(), element.end());
    }
    return out;
}

int ReadListFileBytes(const WCHAR* path, std::vector<BYTE>& bytes) {
    bytes.clear();
    File file = Open(path, GENERIC_READ, OPEN_EXISTING);
    if (!file) {
        DWORD error = GetLastError();
        return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND ? LISTFILE_OK : LISTFILE_CLOSED;
    }
    DWORD high = 0;
    DWORD size = GetFileSize(file.get(), &high);
    if (high != 0 || size > kLargestFile) return LISTFILE_NOMEMORY;
    if (size == 0) return LISTFILE_SHORT;
    bytes.resize(size);
    DWORD read = 0;
    if (!ReadFile(file.get(), bytes.data(), size, &read, nullptr)) read = 0;
    bytes.resize(read);
    return read == size ? LISTFILE_OK : LISTFILE_CLOSED;
}

int WriteListFileBytes(const WCHAR* path, std::span<const BYTE> bytes) {
    CeMutex others; // they write beside the file under the same name
    const DWORD wait = others.Create(kSaveMutex, kSaveWait, false);
    if (wait != WAIT_OBJECT_0 && wait != WAIT_ABANDONED) return LISTFILE_SHORT;
    CeFile::CreatePath(path);
    const std::u16string beside = std::u16string(path) + u".new";
    if (WriteWhole(beside.c_str(), bytes) && PlatReplaceFile(beside.c_str(), path)) return LISTFILE_OK;
    DWORD error = GetLastError();
    DeleteFileW(beside.c_str());
    SetLastError(error);
    return LISTFILE_SHORT;
}

bool SetListFileAside(const WCHAR* path) {
    return PlatReplaceFile(path, (std::u16string(path) + u".bad").c_str()) != FALSE;
}

void LogListFileDamage(const WCHAR* path, std::size_t nOffset, int nCode) {
    CeTraceLog(u"List file %.300s is damaged at byte %u (code %d)", path, static_cast<UINT>(nOffset), nCode);
}
