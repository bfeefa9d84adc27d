// What the suite keeps beside the files of notes, in two text stores: categories, alarm and privacy of notes, and the states
// of folders. Taken as a whole at the head of a reading, so that a row is found without a walk over the store.
#pragma once

#include "NorvoTools/CRegistry.h"
#include "Platform/types.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// States of a folder, named by its full path.
inline constexpr DWORD kFolderClosed = 0;
inline constexpr DWORD kFolderOpen = 1;
inline constexpr DWORD kFolderHidden = 2; // and closed; with kFolderOpen 3
inline constexpr WCHAR kFolderStateKey[] = u"Software\\Norvo\\Quillonary\\NV\\FolderState";

class NoteStores {
public:
    NoteStores(const CRegistry& notes, const CRegistry& folders);

    DWORD StateOf(std::u16string_view path) const; // kFolderClosed when nothing is known
    // Null when the store has no section for the note.
    const INIFile::Section* Note(std::u16string_view path) const;

private:
    std::vector<INIFile::Section> m_sections;
    std::unordered_map<std::u16string, const INIFile::Section*> m_notes; // by folded path
    std::unordered_map<std::u16string, DWORD> m_folders;
};
