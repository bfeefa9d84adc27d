#include "NorvoUI/CeInkCtrl.h"

#include "NorvoTools/CeFile.h"
#include "NorvoTools/CeString.h"
#include "NorvoTools/errors.h"
#include "Platform/files.h"
#include "Platform/memory.h"
#include "Platform/menus.h"
#include "Platform/strings.h"
#include "Platform/threads.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace {

constexpr std::size_t kMostSteps = 100; // that can be undone
constexpr LONG kBehindInsertBegin = 998, kBehindInsertEnd = 999;
constexpr std::size_t kShortestPath = 5, kLongestPath = 260;
constexpr std::size_t kBesideChars = 60;

bool WriteBytes(const std::u16string& path, const std::vector<BYTE>& bytes) {
    CeFile file;
    if (!file.Create(path.c_str(), GENERIC_WRITE, FILE_ATTRIBUTE_NORMAL, true)) return false;
    file.Write(bytes.data(), static_cast<DWORD>(bytes.size()));
    return file.Commit();
}

// Beside it first, so that a write that fails leaves the old note; under a name that is no longer than its own may be.
bool SaveBytes(const std::u16string& path, const std::vector<BYTE>& bytes) {
    const std::size_t name = path.find_last_of(u"\\/") + 1;
    std::u16string beside = path.substr(0, name + kBesideChars);
    if ((beside.back() & 0xFC00) == 0xD800) beside.pop_back(); // half a character
    beside += u".~new";
    const bool saved = WriteBytes(beside, bytes) && PlatReplaceFile(beside.c_str(), path.c_str()) != FALSE;
    if (!saved) {
        const DWORD error = GetLastError();
        DeleteFileW(beside.c_str());
        SetLastError(error);
    }
    return saved;
}

bool ReadBytes(const WCHAR* path, std::vector<BYTE>& bytes) {
    const PlatUnended unended; // a search that is ended must not leave the note open: nobody could delete it
    const HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD high = 0, read = 0;
    const DWORD size = GetFileSize(file, &high);
    bool good = high == 0 && size <= CeInkCtrl::kLargestFile;
    if (good) bytes.resize(size);
    good = good && ReadFile(file, bytes.data(), size, &read, nullptr);
    CloseHandle(file);
    bytes.resize(good ? read : 0);
    return good;
}

DWORD ObjectIdOf(const std::u16string& path) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return 0;
    BY_HANDLE_FILE_INFORMATION information{};
    GetFileInformationByHandle(file, &information);
    CloseHandle(file);
    return information.dwOID;
}

} // namespace

// --- In and out ---------------------------------------------------------------------------------------------------

void CeInkCtrl::SelectFormat() {
    m_format = m_document.GetFormat(m_begin == 0 ? 0 : m_begin - 1);
    m_format.block = -1;
}

void CeInkCtrl::Restart() {
    m_undo.clear();
    m_begin = m_end = m_insertEnd = 0;
    SelectFormat();
}

bool CeInkCtrl::StreamIn(const BYTE* bytes, DWORD length, UINT format) {
    const bool good = m_document.Read({bytes, length}, length == 0 ? kNoteBytes : format);
    Restart();
    return good;
}

bool CeInkCtrl::StreamInBLOB(const _CEBLOB* blob, UINT format) {
    return blob && blob->lpb ? StreamIn(blob->lpb, blob->dwCount, format) : StreamIn(nullptr, 0, format);
}

bool CeInkCtrl::StreamOut(_CEBLOB* blob, UINT format) const {
    *blob = {};
    const std::vector<BYTE> bytes = m_document.Write(format);
    if (bytes.empty()) return format == kNoteBytes || format == kNoteWide;
    blob->lpb = static_cast<BYTE*>(LocalAlloc(LMEM_FIXED, bytes.size()));
    if (!blob->lpb) return false;
    std::memcpy(blob->lpb, bytes.data(), bytes.size());
    blob->dwCount = static_cast<DWORD>(bytes.size());
    return true;
}

DWORD CeInkCtrl::GetDataLength(UINT format) const {
    return static_cast<DWORD>(m_document.Write(format).size());
}

std::u16string CeInkCtrl::GetString(DWORD limit) const {
    std::u16string text = m_document.GetPlainText();
    text.resize(std::min<std::size_t>(text.size(), limit / sizeof(WCHAR)));
    return text;
}

void CeInkCtrl::SetText(const WCHAR* text) {
    m_document.Clear();
    if (text) m_document.Append(text, InkFormat{});
    Restart();
}

// --- Files --------------------------------------------------------------------------------------------------------

UINT CeInkCtrl::ParseFileFormat(const WCHAR* name) {
    const std::size_t length = wcslen(name);
    const WCHAR* ending = name + (length < 3 ? length : length - 3);
    if (_wcsicmp(ending, u"rtf") == 0) return kNoteRich;
    if (_wcsicmp(ending, u"txt") == 0) return kNoteWide;
    return kNoteInk;
}

bool CeInkCtrl::ReadFromFile(const WCHAR* path) {
    StreamIn(nullptr, 0, kNoteBytes);
    std::vector<BYTE> bytes;
    return ReadBytes(path, bytes) && StreamIn(bytes.data(), static_cast<DWORD>(bytes.size()), kNoteByContent);
}

DWORD CeInkCtrl::WriteToFile(const WCHAR* path, UINT format) const {
    const std::size_t length = wcslen(path);
    if (length < kShortestPath || length > kLongestPath) return 0;
    const std::vector<BYTE> bytes = m_document.Write(format);
    if (SaveBytes(path, bytes)) return ObjectIdOf(path);
    WCHAR documents[MAX_PATH];
    if (SHGetSpecialFolderPath(nullptr, documents, CSIDL_PERSONAL, TRUE)) {
        const std::u16string_view whole = path;
        const std::u16string other =
            std::u16string(documents).append(u"\\").append(whole.substr(whole.find_last_of(u"\\/") + 1));
        if (SaveBytes(other, bytes)) return ObjectIdOf(other);
    }
    CeString message;
    message.FormatMessageW(GetLastError());
    message += u" File: ";
    message += path;
    MessageBoxW(nullptr, message, u"", kErrorBoxFlags);
    return 0;
}

// --- Editing ------------------------------------------------------------------------------------------------------

bool CeInkCtrl::InsertText(const WCHAR* text) {
    if (m_bReadOnly || !text) return false;
    InkText ink = m_document.Dress(text, m_begin);
    ink.spans[0].format = m_format;
    const std::size_t end = m_begin + ink.text.size();
    m_undo.push_back({m_begin, end, m_document.Replace(m_begin, m_end, ink)});
    if (m_undo.size() > kMostSteps) m_undo.erase(m_undo.begin());
    m_begin = m_end = m_insertEnd = end;
    return true;
}

bool CeInkCtrl::Undo() {
    if (m_bReadOnly || m_undo.empty()) return false;
    const Step step = std::move(m_undo.back());
    m_undo.pop_back();
    m_document.Replace(step.begin, step.end, step.removed);
    m_begin = step.begin;
    m_end = m_insertEnd = step.begin + step.removed.text.size();
    SelectFormat();
    return true;
}

void CeInkCtrl::SetSel(LONG begin, LONG end) {
    const std::size_t length = m_document.GetLength();
    if (begin == kBehindInsertBegin && end == kBehindInsertEnd && length < kBehindInsertEnd) {
        m_begin = m_end = std::min(m_insertEnd, length);
    } else {
        const auto cut = [length](LONG at) {
            return std::min(static_cast<std::size_t>(std::max(at, 0)), length);
        };
        m_begin = cut(std::min(begin, end));
        m_end = cut(std::max(begin, end));
    }
    SelectFormat();
}

void CeInkCtrl::GetSel(LONG& begin, LONG& end) const {
    begin = static_cast<LONG>(m_begin);
    end = static_cast<LONG>(m_end);
}

bool CeInkCtrl::Find(const WCHAR* text, bool bCase) {
    if (!text) return false;
    std::size_t at = m_document.Find(text, m_end, bCase);
    if (at == std::u16string::npos) at = m_document.Find(text, 0, bCase);
    if (at == std::u16string::npos) return false;
    SetSel(static_cast<LONG>(at), static_cast<LONG>(at + wcslen(text)));
    return true;
}

INKPROPERTIES CeInkCtrl::GetProperties() const {
    const InkFormat format = m_begin == m_end ? m_format : m_document.GetFormat(m_begin);
    INKPROPERTIES properties{{}, format.halfPoints, format.style, m_document.GetAlign(m_begin), format.color};
    const std::u16string& face = m_document.GetFaces()[format.face];
    face.copy(properties.szFace, std::size(properties.szFace) - 1);
    return properties;
}

bool CeInkCtrl::SetProperties(const INKPROPERTIES& properties) {
    if (m_bReadOnly) return false;
    const auto* faceEnd = std::find(std::begin(properties.szFace), std::end(properties.szFace), u'\0');
    m_format = {m_document.AddFace({properties.szFace, faceEnd}),
                std::clamp(properties.wHalfPoints, kLeastHalfPoints, kMostHalfPoints),
                static_cast<BYTE>(properties.bStyle & kInkStyles), properties.crText};
    m_document.SetFormat(m_begin, m_end, m_format);
    m_document.SetAlign(m_begin, m_end, properties.align);
    return true;
}

void CeInkCtrl::SetZoom(int percent) { m_nZoom = std::clamp(percent, 25, 400); }
