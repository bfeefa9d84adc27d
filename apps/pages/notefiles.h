// What the notes page changes: the file of a note, with what the suite knows of it beside.
#pragma once

#include "Platform/types.h"

#include <memory>
#include <string>

namespace qn {

// The text stores of notes and of their folders.
inline constexpr WCHAR kNoteData[] = u"%s\\Norvo\\NoteData.txt";
inline constexpr WCHAR kFolderStates[] = u"%s\\Norvo\\NoteFolderState.txt";

std::u16string DocumentsFolder();

// A note that was deleted: its file stands aside, in the same folder, until this object goes.
class DeletedNote {
public:
    // Null when the file can't be moved; GetLastError tells why.
    static std::shared_ptr<DeletedNote> Delete(const std::u16string& path);
    ~DeletedNote();
    DeletedNote(const DeletedNote&) = delete;
    DeletedNote& operator=(const DeletedNote&) = delete;

    // As it was; under a name beside its own when that is taken by now.
    HRESULT Restore();

private:
    DeletedNote(std::u16string path, std::u16string aside)
        : m_path(std::move(path)), m_aside(std::move(aside)) {}

    std::u16string m_path;
    std::u16string m_aside; // empty when it was restored
};

} // namespace qn
