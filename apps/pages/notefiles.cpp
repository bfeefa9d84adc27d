#include "apps/pages/notefiles.h"

#include "NorvoTools/CRegistry.h"
#include "NorvoTools/CeFile.h"
#include "Platform/files.h"
#include "Platform/threads.h"
#include "apps/qn/support.h"

#include <string_view>

namespace qn {

namespace {

constexpr std::size_t kEnding = 4; // ".txt"

// The first of "front 2 back", "front 3 back" ... that no file has.
std::u16string FreeName(std::u16string_view front, std::u16string_view back) {
    for (int number = 2;; ++number) {
        std::u16string path(front);
        path.append(Utf16(std::to_string(number))).append(back);
        if (!CeFile::Exists(path.c_str(), true)) return path;
    }
}

// Short, whatever the note is called, and without an ending that a list of notes knows.
std::u16string AsideOf(const std::u16string& path) {
    return FreeName(path.substr(0, path.rfind(u'\\') + 1) + u"~deleted", {});
}

void MoveEntry(const std::u16string& from, const std::u16string& to) {
    CRegistry notes(kNoteData);
    if (!notes.Exists(HKEY_CURRENT_USER, from.c_str())) return;
    if (!to.empty()) notes.CopyValuesToKey(HKEY_CURRENT_USER, to.c_str());
    notes.DeleteKey(HKEY_CURRENT_USER, from.c_str());
    notes.SaveINIFile(true);
}

} // namespace

std::u16string DocumentsFolder() {
    WCHAR path[MAX_PATH] = {};
    SHGetSpecialFolderPath(nullptr, path, CSIDL_PERSONAL, TRUE);
    return path;
}

std::shared_ptr<DeletedNote> DeletedNote::Delete(const std::u16string& path) {
    std::u16string aside = AsideOf(path);
    if (!MoveFileW(path.c_str(), aside.c_str())) return nullptr;
    MoveEntry(path, aside);
    return std::shared_ptr<DeletedNote>(new DeletedNote(path, std::move(aside)));
}

HRESULT DeletedNote::Restore() {
    std::u16string target = m_path;
    const std::size_t stem = target.size() - kEnding;
    if (CeFile::Exists(target.c_str(), true))
        target = FreeName(m_path.substr(0, stem) + u" ", m_path.substr(stem));
    if (!MoveFileW(m_aside.c_str(), target.c_str()))
        return static_cast<HRESULT>(0x80070000 | (GetLastError() & 0xFFFF));
    MoveEntry(m_aside, target);
    m_aside.clear();
    return S_OK;
}

DeletedNote::~DeletedNote() {
    if (m_aside.empty()) return;
    SetFileAttributesW(m_aside.c_str(), FILE_ATTRIBUTE_NORMAL); // of one that is only to be read
    DeleteFileW(m_aside.c_str());
    MoveEntry(m_aside, {});
}

} // namespace qn
