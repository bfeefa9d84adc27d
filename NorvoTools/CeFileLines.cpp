// The line side of CeFile: whole-file loading, reading with wrap-round, writing.
#include "NorvoTools/CeFile.h"

#include "Platform/strings.h"

#include <cstring>
#include <limits>
#include <new>

namespace {

constexpr WCHAR kLineEnd[] = {u'\r', u'\n'};
constexpr char kNarrowLineEnd[] = {'\r', '\n'};

std::unique_ptr<WCHAR[]> MakeText(std::size_t chars) {
    return std::unique_ptr<WCHAR[]>(new (std::nothrow) WCHAR[chars + 1]);
}

} // namespace

bool CeFile::ReadRest(std::unique_ptr<BYTE[]>& bytes, DWORD& count) {
    FlushLocked();
    DropReadAhead();
    const DWORD room = Size(); // never less than the rest
    bytes.reset(new (std::nothrow) BYTE[room]);
    if (!bytes) return false;
    count = 0;
    DWORD read = 0;
    while (count < room && ReadFile(m_hFile, bytes.get() + count, room - count, &read, nullptr) && read > 0)
        count += read;
    return true;
}

bool CeFile::LoadLines(bool bNarrow) {
    std::unique_ptr<BYTE[]> bytes;
    DWORD size = 0;
    if (!ReadRest(bytes, size) || size > static_cast<DWORD>(std::numeric_limits<int>::max())) return false;
    const auto* narrow = reinterpret_cast<const char*>(bytes.get());
    int chars = static_cast<int>(size / sizeof(WCHAR));
    if (bNarrow)
        chars = MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, narrow, static_cast<int>(size), nullptr, 0);
    if (chars <= 0) return false;
    auto text = MakeText(static_cast<std::size_t>(chars));
    if (!text) return false;
    if (bNarrow)
        chars =
            MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, narrow, static_cast<int>(size), text.get(), chars);
    else
        std::memcpy(text.get(), bytes.get(), static_cast<std::size_t>(chars) * sizeof(WCHAR));
    m_lines = {std::move(text), 0, static_cast<DWORD>(chars)};
    return true;
}

DWORD CeFile::ReadULine(WCHAR* buffer, DWORD max) {
    if (!buffer || max == 0 || !Readable()) return 0;
    CeSectionLock lock(m_csBuffers);
    buffer[0] = 0;
    if (!m_lines.text && (!IsOpen() || !LoadLines(false))) return 0;
    const WCHAR* text = m_lines.text.get();
    DWORD& at = m_lines.position;
    DWORD copied = 0;
    while (at < m_lines.count && text[at] != u'\r' && copied < max) buffer[copied++] = text[at++];
    buffer[copied] = 0;
    if (at < m_lines.count && text[at] == u'\r') {
        ++at;
        if (at < m_lines.count && text[at] == u'\n') ++at;
    }
    // The reader starts over at the end; see the header.
    if (at >= m_lines.count) at = 0;
    return copied;
}

DWORD CeFile::ReadLine(WCHAR* buffer, DWORD max) {
    if (buffer && max > 0 && Readable() && !m_bUnicode) {
        CeSectionLock lock(m_csBuffers);
        if (!m_lines.text && (!IsOpen() || !LoadLines(true))) {
            buffer[0] = 0;
            return 0;
        }
    }
    return ReadULine(buffer, max);
}

bool CeFile::WriteLine(const WCHAR* text, bool bNarrow) {
    if (!IsOpen() || !Writable()) return false;
    if (!text) text = u"";
    const auto length = static_cast<int>(wcslen(text));
    if (bNarrow) {
        const int size =
            length == 0 ? 0 : WideCharToMultiByte(CP_ACP, 0, text, length, nullptr, 0, nullptr, nullptr);
        std::unique_ptr<char[]> bytes(new (std::nothrow) char[static_cast<std::size_t>(size) + 1]);
        if (!bytes) return false;
        if (size > 0) WideCharToMultiByte(CP_ACP, 0, text, length, bytes.get(), size, nullptr, nullptr);
        Write(bytes.get(), static_cast<DWORD>(size));
        Write(kNarrowLineEnd, sizeof(kNarrowLineEnd));
    } else {
        Write(text, static_cast<DWORD>(length) * sizeof(WCHAR));
        Write(kLineEnd, sizeof(kLineEnd));
    }
    m_bUnicode = !bNarrow;
    return true;
}
