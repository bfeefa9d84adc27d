// The disk side of INIFile: loading, and the save that merges.
#include "NorvoTools/INIFile.h"

#include "NorvoTools/CeFile.h"
#include "NorvoTools/errors.h"
#include "NorvoTools/waitables.h"
#include "Platform/files.h"
#include "Platform/strings.h"

#include <algorithm>
#include <memory>
#include <new>

namespace {

// Two processes that save at once must not merge into the same old file.
constexpr WCHAR kSaveMutex[] = u"Norvo_INIFile_Save";
constexpr DWORD kSaveWait = 30000;
constexpr int kMaxCopies = 100;
constexpr DWORD kMaxFileBytes = 64U << 20;

// The characters of a file that is open and not empty. False when they can't be read.
bool ReadText(CeFile& file, std::u16string& text, bool& oddByte) {
    const DWORD mark = file.IsUnicode() ? 2 : 0;
    const DWORD size = file.Size() - mark;
    if (size > kMaxFileBytes) return false;
    std::unique_ptr<BYTE[]> bytes(new (std::nothrow) BYTE[size + 1]);
    if (!bytes || file.Read(bytes.get(), size) != size) return false;
    if (file.IsUnicode()) {
        text.assign(size / sizeof(WCHAR), u'\0');
        std::copy_n(bytes.get(), text.size() * sizeof(WCHAR), reinterpret_cast<BYTE*>(text.data()));
        oddByte = size % sizeof(WCHAR) != 0;
        return true;
    }
    const auto* narrow = reinterpret_cast<const char*>(bytes.get());
    const int length = static_cast<int>(size);
    const int chars = MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, narrow, length, nullptr, 0);
    if (chars <= 0) return false;
    text.assign(static_cast<std::size_t>(chars), u'\0');
    return MultiByteToWideChar(CP_ACP, MB_PRECOMPOSED, narrow, length, text.data(), chars) == chars;
}

} // namespace

bool INIFile::Load() {
    Parse({});
    m_readFailed = false;
    CeFile file;
    if (!file.Open(m_fileName.c_str(), GENERIC_READ, FILE_SHARE_READ, false)) {
        m_readFailed = CeFile::Exists(m_fileName.c_str(), true);
        return !m_readFailed;
    }
    if (!file.IsOpen() || (file.IsUnicode() && file.Size() <= 2)) return true; // an empty file
    std::u16string text;
    bool oddByte = false;
    m_readFailed = !ReadText(file, text, oddByte);
    if (m_readFailed) return false;
    Parse(text);
    if (oddByte) ++m_linesLost;
    return true;
}

LONG INIFile::Save() {
    CeMutex others;
    const DWORD wait = others.Create(kSaveMutex, kSaveWait, false);
    if (wait != WAIT_OBJECT_0 && wait != WAIT_ABANDONED) return E_FAIL;
    INIFile fresh(m_fileName);
    fresh.Load();
    // What a rewrite would lose is kept beside the file first; without the copy the file stays as it is.
    if ((fresh.m_readFailed || fresh.m_linesLost > 0) && !fresh.KeepCopy()) return E_FAIL;
    MergeInto(fresh);
    if (!fresh.Write()) return E_FAIL;
    fresh.ClearChanges();
    fresh.m_nRefs = m_nRefs;
    *this = std::move(fresh);
    return S_OK;
}

bool INIFile::KeepCopy() const {
    CeTrace(u"Settings %s: %d lines can't be kept, a copy goes beside the file\n", m_fileName.c_str(),
            static_cast<int>(m_linesLost));
    std::u16string copy = m_fileName + u".bad";
    for (int i = 1; i < kMaxCopies && CeFile::Exists(copy.c_str(), true); ++i) {
        WCHAR number[8];
        wsprintfW(number, u"%d", i);
        copy = m_fileName + u".bad" + number;
    }
    // With all names taken the last copy gives way: a file that loses a line at every save must not end the saving.
    return CopyFileW(m_fileName.c_str(), copy.c_str(), FALSE) != FALSE;
}

bool INIFile::Write() const {
    const std::u16string beside = m_fileName + u".tmp";
    CeFile::CreatePath(m_fileName.c_str());
    CeFile file;
    if (!file.Create(beside.c_str(), GENERIC_WRITE, FILE_ATTRIBUTE_NORMAL, true)) return false;
    file.WriteUnicodeHeader();
    for (const std::u16string& line : Lines()) file.WriteLine(line.c_str(), false);
    const bool written = file.Commit();
    file.Close();
    if (written && PlatReplaceFile(beside.c_str(), m_fileName.c_str())) return true;
    DeleteFileW(beside.c_str());
    return false;
}
