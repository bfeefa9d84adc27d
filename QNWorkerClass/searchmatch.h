// What a search looks for: the text that was typed as words, a pattern or everything, and its sound. One object for one
// search; it changes nothing, so any thread may ask it.
#pragma once

#include "Platform/types.h"
#include "QNWorkerClass/quickfind.h"

#include <string>
#include <string_view>

class QN_API SearchPattern {
public:
    SearchPattern() = default;
    // A text of "*" finds everything; one with "*" or "?" is a pattern for the whole of a field. With bAnywhere the text
    // counts wherever it stands in a field, else at its beginning.
    SearchPattern(std::u16string_view text, bool bAnywhere, bool bUseSound);

    bool IsEmpty() const { return m_text.empty(); } // finds nothing
    bool FindsAll() const { return m_bAll; }
    bool IsPattern() const { return m_bPattern; }
    bool IsAnywhere() const { return m_bAnywhere; }
    // False when none was wanted, or the text doesn't begin with a letter, as a pattern that counts anywhere.
    bool HasSound() const { return !m_sound.empty(); }
    const std::u16string& Sound() const { return m_sound; }
    // In lower case; the pattern of a pattern.
    const std::u16string& Text() const { return m_text; }

    // Fields, each behind a blank. The text is lowered in its place.
    bool Matches(std::u16string& fields) const;
    // Sound codes of fields, each behind a blank.
    bool MatchesSound(std::u16string& codes) const;
    // The bytes of a note, of whatever form.
    bool MatchesNote(const BYTE* bytes, DWORD length) const;

private:
    std::u16string m_text;
    std::u16string m_sound;
    bool m_bAnywhere = false;
    bool m_bPattern = false;
    bool m_bAll = false;
};

// Appends a blank and the text; nothing for an empty one.
void AppendField(std::u16string& fields, std::u16string_view text);
// The same for the text's sound.
void AppendSound(std::u16string& codes, std::u16string_view text);
