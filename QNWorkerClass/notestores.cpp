#include "QNWorkerClass/notestores.h"

#include "Platform/strings.h"

namespace {

constexpr std::u16string_view kRoot = u"hkey_current_user\\";

// Names differ in more than case.
std::u16string Folded(std::u16string_view name) {
    std::u16string folded(name);
    for (WCHAR& unit : folded) unit = towlower(unit);
    return folded;
}

// A section's name lacks the backslash that a path begins with.
std::u16string FoldedKey(std::u16string_view path) {
    while (path.starts_with(u'\\')) path.remove_prefix(1);
    return Folded(path);
}

std::u16string KeyOf(const INIFile::Section& section) {
    const std::u16string name = Folded(section.name);
    return name.starts_with(kRoot) ? name.substr(kRoot.size()) : std::u16string();
}

} // namespace

NoteStores::NoteStores(const CRegistry& notes, const CRegistry& folders)
    : m_sections(notes.CopyOfSections()) {
    for (const INIFile::Section& section : m_sections) m_notes.emplace(KeyOf(section), &section);
    const std::u16string states = FoldedKey(kFolderStateKey);
    for (const INIFile::Section& section : folders.CopyOfSections()) {
        if (KeyOf(section) != states) continue;
        for (const INIFile::Value& value : section.values)
            m_folders.emplace(Folded(value.name),
                              value.type == kValueDoubleWord ? value.number : kFolderClosed);
        break; // of names that stand twice the first one counts
    }
}

DWORD NoteStores::StateOf(std::u16string_view path) const {
    const auto found = m_folders.find(Folded(path));
    return found == m_folders.end() ? kFolderClosed : found->second;
}

const INIFile::Section* NoteStores::Note(std::u16string_view path) const {
    const auto found = m_notes.find(FoldedKey(path));
    return found == m_notes.end() ? nullptr : found->second;
}
