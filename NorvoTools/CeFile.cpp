#include "NorvoTools/CeFile.h"

#include "NorvoTools/StrFunctions.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

namespace {

constexpr std::array<BYTE, 2> kUnicodeMark = {0xFF, 0xFE};

} // namespace

CeFile::~CeFile() {
    if (IsOpen() && Writable()) Commit();
    Close();
}

bool CeFile::IsOpen() const { return m_hFile && m_hFile != INVALID_HANDLE_VALUE; }

bool CeFile::Open(const WCHAR* path, DWORD access, DWORD share, bool bCreate) {
    Close();
    m_hFile = CreateFileW(path, access, share, nullptr, bCreate ? OPEN_ALWAYS : OPEN_EXISTING,
                          FILE_ATTRIBUTE_NORMAL, nullptr);
    if (!IsOpen()) return false;
    m_dwAccess = access;
    if (Size() == 0)
        Close();
    else
        DetectMark();
    return true;
}

bool CeFile::Create(const WCHAR* path, DWORD access, DWORD attributes, bool bOverwrite) {
    Close();
    m_hFile =
        CreateFileW(path, access, 0, nullptr, bOverwrite ? CREATE_ALWAYS : CREATE_NEW, attributes, nullptr);
    if (!IsOpen()) return false;
    m_dwAccess = access;
    return true;
}

// Also on a file that is open for writing alone: the read fails then, and the file counts as narrow.
void CeFile::DetectMark() {
    std::array<BYTE, 2> start = {};
    DWORD read = 0;
    const bool complete =
        ReadFile(m_hFile, start.data(), start.size(), &read, nullptr) && read == start.size();
    m_bUnicode = complete && start == kUnicodeMark;
    if (!m_bUnicode) SetFilePointer(m_hFile, 0, nullptr, FILE_BEGIN);
}

void CeFile::Close() {
    CeSectionLock lock(m_csBuffers);
    if (IsOpen()) {
        FlushLocked();
        CloseHandle(m_hFile);
    }
    m_hFile = nullptr;
    m_dwAccess = 0;
    m_bUnicode = 0;
    m_info = {};
    m_write = {};
    m_read = {};
    m_lines = {};
    m_bWriteFailed = false;
}

bool CeFile::Exists(const WCHAR* path, bool bFolderCounts) {
    if (!path) return false;
    const DWORD attributes = GetFileAttributesW(path);
    if (attributes == INVALID_FILE_ATTRIBUTES) return false;
    return bFolderCounts || !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

void CeFile::CreatePath(const WCHAR* path) {
    if (!path) return;
    const std::u16string whole(path);
    const std::size_t end = whole.rfind(u'\\');
    if (end == std::u16string::npos || end == 0) return;
    if (Exists(whole.substr(0, end).c_str(), true)) return;
    // Most of them exist, so failures say nothing.
    for (std::size_t at = whole.find(u'\\', 1); at != std::u16string::npos && at <= end;
         at = whole.find(u'\\', at + 1))
        CreateDirectoryW(whole.substr(0, at).c_str(), nullptr);
}

// --- Reading --------------------------------------------------------------------------------------------------------

bool CeFile::MakeReadBuffer() {
    if (m_read.bytes) return true;
    const DWORD fileSize = Size();
    m_read.size = fileSize <= kBufferBytes ? fileSize + 4 : kBufferBytes;
    m_read.bytes.reset(new (std::nothrow) BYTE[m_read.size]);
    m_read.logicalEnd = m_bUnicode && fileSize >= kUnicodeMark.size() ? fileSize - 2 : fileSize;
    return m_read.bytes != nullptr;
}

bool CeFile::FillReadBuffer() {
    m_read.position = 0;
    m_read.filled = 0;
    DWORD read = 0;
    if (ReadFile(m_hFile, m_read.bytes.get(), m_read.size, &read, nullptr)) m_read.filled = read;
    return m_read.filled > 0;
}

DWORD CeFile::Read(void* buffer, DWORD count) {
    CeSectionLock lock(m_csBuffers);
    if (!IsOpen() || !Readable() || count == 0) return 0;
    FlushLocked();
    if (!MakeReadBuffer()) return 0;
    if (Unread() == 0 && !FillReadBuffer()) return 0;
    // The logical end is that of the file, the position that in the buffer. So in a file larger than the buffer nothing
    // is ever cut, and the loop ends with the file.
    count = std::min(count, m_read.logicalEnd - std::min(m_read.position, m_read.logicalEnd));
    auto* out = static_cast<BYTE*>(buffer);
    DWORD done = 0;
    while (done < count && (Unread() > 0 || FillReadBuffer())) {
        const DWORD n = std::min(count - done, Unread());
        std::memcpy(out + done, m_read.bytes.get() + m_read.position, n);
        m_read.position += n;
        done += n;
    }
    return done;
}

// The file's own pointer goes back to where the reader stands.
void CeFile::DropReadAhead() {
    if (Unread() > 0) SetFilePointer(m_hFile, -static_cast<LONG>(Unread()), nullptr, FILE_CURRENT);
    m_read = {};
}

bool CeFile::EndOfFile() {
    CeSectionLock lock(m_csBuffers);
    if (m_lines.text || Unread() > 0) return false;
    BYTE next = 0;
    DWORD read = 0;
    if (!IsOpen() || !ReadFile(m_hFile, &next, 1, &read, nullptr) || read == 0) return true;
    SetFilePointer(m_hFile, -1, nullptr, FILE_CURRENT);
    return false;
}

DWORD CeFile::Size() const {
    if (!IsOpen()) return 0;
    const DWORD size = GetFileSize(m_hFile, nullptr);
    return size == INVALID_FILE_SIZE ? 0 : size;
}

// --- Writing --------------------------------------------------------------------------------------------------------

bool CeFile::MakeWriteBuffer() {
    if (m_write.bytes) return true;
    m_write.bytes.reset(new (std::nothrow) BYTE[kBufferBytes]);
    if (!m_write.bytes) return false;
    m_write.size = kBufferBytes;
    return true;
}

void CeFile::WriteThrough(const void* bytes, DWORD count) {
    DWORD written = 0;
    if (!WriteFile(m_hFile, bytes, count, &written, nullptr) || written != count) m_bWriteFailed = true;
}

void CeFile::StorePending(const BYTE* bytes, DWORD count) {
    std::memcpy(m_write.bytes.get() + m_write.position, bytes, count);
    m_write.position += count;
    m_write.pending += count;
}

DWORD CeFile::Write(const void* buffer, DWORD count) {
    CeSectionLock lock(m_csBuffers);
    if (!IsOpen() || !Writable() || !buffer) return count;
    DropReadAhead();
    const auto* bytes = static_cast<const BYTE*>(buffer);
    if (count >= kBufferBytes || !MakeWriteBuffer()) {
        FlushLocked();
        WriteThrough(bytes, count);
        return count;
    }
    // What happens at the end of the buffer decides what files hold, and stays: a block that fits exactly is not stored
    // at all, and one that crosses the end stands in the file with its first bytes twice.
    const DWORD room = m_write.size - m_write.position;
    if (count < room) {
        StorePending(bytes, count);
    } else if (count > room) {
        StorePending(bytes, room);
        FlushLocked();
        StorePending(bytes, count);
    }
    return count;
}

bool CeFile::FlushLocked() {
    if (m_write.pending > 0) WriteThrough(m_write.bytes.get(), m_write.pending);
    m_write.position = 0;
    m_write.pending = 0;
    return !m_bWriteFailed;
}

bool CeFile::Flush() {
    CeSectionLock lock(m_csBuffers);
    return FlushLocked();
}

bool CeFile::Commit() {
    CeSectionLock lock(m_csBuffers);
    if (!IsOpen() || !FlushLocked()) return false;
    if (!FlushFileBuffers(m_hFile)) m_bWriteFailed = true;
    return !m_bWriteFailed;
}

bool CeFile::SetEndOfFile() {
    CeSectionLock lock(m_csBuffers);
    if (!IsOpen()) return false;
    Move(0, FILE_CURRENT);
    return ::SetEndOfFile(m_hFile) != FALSE;
}

// --- Position -------------------------------------------------------------------------------------------------------

DWORD CeFile::Move(LONGLONG distance, DWORD origin) {
    if (!IsOpen()) return INVALID_SET_FILE_POINTER;
    FlushLocked();
    DropReadAhead();
    auto high = static_cast<LONG>(distance >> 32);
    return SetFilePointer(m_hFile, static_cast<LONG>(distance), &high, origin);
}

DWORD CeFile::SetPosition(DWORD offset) {
    CeSectionLock lock(m_csBuffers);
    return Move(offset, FILE_BEGIN);
}

DWORD CeFile::MovePosition(LONG delta) {
    CeSectionLock lock(m_csBuffers);
    return Move(delta, FILE_CURRENT);
}

DWORD CeFile::SetPositionBegin() { return SetPosition(0); }

DWORD CeFile::SetPositionEnd() {
    CeSectionLock lock(m_csBuffers);
    return Move(0, FILE_END);
}

DWORD CeFile::GetPosition() {
    CeSectionLock lock(m_csBuffers);
    if (!IsOpen()) return INVALID_SET_FILE_POINTER;
    return SetFilePointer(m_hFile, 0, nullptr, FILE_CURRENT) - Unread() + m_write.pending;
}

// --- Information ----------------------------------------------------------------------------------------------------

void CeFile::RefreshInformation() {
    if (IsOpen()) GetFileInformationByHandle(m_hFile, &m_info);
}

DWORD CeFile::GetAttributes() {
    RefreshInformation();
    return m_info.dwFileAttributes;
}

FILETIME CeFile::GetCreationTime() {
    RefreshInformation();
    return m_info.ftCreationTime;
}

FILETIME CeFile::GetLastAccessTime() {
    RefreshInformation();
    return m_info.ftLastAccessTime;
}

FILETIME CeFile::GetLastWriteTime() {
    RefreshInformation();
    return m_info.ftLastWriteTime;
}

DWORD CeFile::GetFileOID() {
    RefreshInformation();
    return m_info.dwOID;
}

bool CeFile::WriteUnicodeHeader() {
    if (!IsOpen() || !Writable()) return false;
    SetPositionBegin();
    Write(kUnicodeMark.data(), kUnicodeMark.size());
    m_bUnicode = 1;
    return true;
}
