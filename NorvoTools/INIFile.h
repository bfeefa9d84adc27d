// The settings store that is a text file: sections of named values in the form of a registry export. In memory it is a
// list of sections; a save merges what this process changed into what the file holds by then.
//
// CRegistry is the interface; it guards every call with the one lock of all text stores. What a line may look like:
//
//     [HKEY_CURRENT_USER\Software\Norvo\Quillonary\CAV]
//     "Header"="Today"
//     "ShowHeaders"=dword:00000001
//
// Strings stand as they are, without any escape. A string that holds "dword:" comes back as a number; that is the form.
#pragma once

#include "Platform/types.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

inline constexpr DWORD kValueString = 1;     // REG_SZ
inline constexpr DWORD kValueDoubleWord = 4; // REG_DWORD

class QN_API INIFile {
public:
    // Lines of this many characters and more are passed over by the reader.
    static constexpr std::size_t kMaxLine = 8097;

    struct Value {
        std::u16string name;
        std::u16string text; // of a string
        DWORD number = 0;    // of a double word
        DWORD type = kValueString;
        bool changed = false;
    };
    struct Section {
        std::u16string name;
        bool changed = false;
        std::vector<Value> values;
        std::vector<std::u16string> deleted; // names of values deleted since the load

        Value* Find(std::u16string_view value);
        const Value* Find(std::u16string_view value) const;
        // Takes a value out and remembers its name; false when it is not there.
        bool Delete(std::u16string_view value);
        // Sets a value and marks it and the section as changed.
        void Set(Value value);
    };

    explicit INIFile(std::u16string fileName) : m_fileName(std::move(fileName)) {}

    const std::u16string& FileName() const { return m_fileName; }

    // The text of a file, byte-order mark already gone. Never fails; what the form doesn't know is passed over, and
    // LinesLost tells of it.
    void Parse(std::u16string_view text);
    // The lines as they are written, each without its line end.
    std::vector<std::u16string> Lines() const;
    // Reads the file. False when it can't be read; a missing or empty file is an empty store.
    bool Load();
    // Merges into what the file holds now and writes the result. 0, or E_FAIL with the file as it was and the changes
    // still pending.
    LONG Save();

    // The first section of that name.
    Section* Find(std::u16string_view section);
    // Finds or adds; `isNew` tells which. A section that was deleted since the load knows its deleted values again.
    Section& Open(std::u16string_view section, bool& isNew);
    // Takes a section out, remembering its name and its values; false when it is not there.
    bool Delete(std::u16string_view section);

    bool IsDirty() const { return m_dirty; }
    void SetDirty() { m_dirty = true; }
    // Lines that a rewrite would lose: too long, broken by a zero, outside a section, or without "=".
    std::size_t LinesLost() const { return m_linesLost; }
    const std::vector<Section>& Sections() const { return m_sections; }
    std::vector<Section>& Sections() { return m_sections; }

    int m_nRefs = 0; // of a cached file

private:
    void ParseLine(std::u16string_view line);
    void MergeInto(INIFile& fresh) const;
    bool KeepCopy() const;
    bool Write() const;
    void ClearChanges();

    std::u16string m_fileName;
    std::vector<Section> m_sections;
    std::vector<Section> m_deletedSections;
    bool m_dirty = false;
    bool m_readFailed = false;
    std::size_t m_linesLost = 0;
};
