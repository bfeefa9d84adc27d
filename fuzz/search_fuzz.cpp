// What is typed into a search, against what it looks at. The matcher of patterns must give the answers of the plain, recursive
// one, on long texts too, for which that one would take for ever; a text without wildcards is found where it stands.
// The first byte says how to look, then comes what is typed and, behind a zero, the text, both as UTF-16.
#include "NorvoTools/StrFunctions.h"
#include "Platform/strings.h"
#include "QNWorkerClass/searchmatch.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kMostSmall = 48;  // of what the recursion is asked
constexpr std::size_t kLongText = 5000; // nothing is found in time there but in steps that are counted

enum Answer : int { kGiveUp = -1, kNo = 0, kYes = 1, kUnknown = 2 };

// By the definition, each question answered once.
class PlainMatcher {
public:
    PlainMatcher(const std::u16string& text, const std::u16string& pattern)
        : m_text(text.c_str()), m_pattern(pattern.c_str()), m_width(pattern.size() + 1),
          m_known((text.size() + 1) * m_width, kUnknown) {}
    bool Matches() {
        if ((*m_pattern == u'*' || *m_pattern == u'?') && *m_text == u'.') return false;
        return Match(0, 0) == kYes;
    }

private:
    Answer Match(std::size_t text, std::size_t pattern) {
        Answer& known = m_known[text * m_width + pattern];
        if (known == kUnknown) known = Step(text, pattern);
        return known;
    }
    Answer Step(std::size_t text, std::size_t pattern) {
        const WCHAR* rest = m_pattern + pattern;
        if (!m_text[text]) return !rest[0] || (rest[0] == u'*' && !rest[1]) ? kYes : kGiveUp;
        if (rest[0] == u'*') return rest[1] ? Star(text, pattern + 1) : kYes;
        if (rest[0] == u'\\') ++pattern;
        const bool alike = rest[0] == u'?' || (m_pattern[pattern] && m_pattern[pattern] == m_text[text]);
        return alike ? Match(text + 1, pattern + 1) : kNo;
    }
    Answer Star(std::size_t text, std::size_t pattern) {
        for (; m_text[text]; ++text)
            if (const Answer answer = Match(text, pattern)) return answer;
        return kGiveUp;
    }

    const WCHAR* m_text;
    const WCHAR* m_pattern;
    std::size_t m_width;
    std::vector<Answer> m_known;
};

void CheckPattern(const std::u16string& text, const std::u16string& pattern) {
    if (text.size() <= kMostSmall && pattern.size() <= kMostSmall &&
        wildmat(text.c_str(), pattern.c_str()) != PlainMatcher(text, pattern).Matches())
        std::abort();
    if (text.empty()) return;
    std::u16string longText;
    while (longText.size() < kLongText) longText += text;
    wildmat(longText.c_str(), pattern.c_str());
}

void CheckSearch(const std::u16string& text, const std::u16string& typed, bool anywhere, bool sound) {
    const SearchPattern pattern(typed, anywhere, sound);
    if (pattern.IsEmpty() != typed.empty() || (!sound && pattern.HasSound())) std::abort();
    std::u16string fields, codes, lowered = text;
    AppendField(fields, text);
    AppendSound(codes, text);
    _wcslwr(lowered.data());
    const bool found = pattern.Matches(fields), sounds = pattern.MatchesSound(codes);
    if (text.empty() && (found || sounds)) std::abort();
    std::vector<BYTE> note{0xFF, 0xFE};
    note.resize(2 + text.size() * sizeof(WCHAR));
    std::memcpy(note.data() + 2, text.data(), text.size() * sizeof(WCHAR));
    const bool inNote = pattern.MatchesNote(note.data(), static_cast<DWORD>(note.size()));
    if (text.empty() || typed.empty() || pattern.IsPattern() || !anywhere) return;
    const bool stands = (u" " + lowered).find(pattern.Text()) != lowered.npos;
    if (found != stands || inNote != (lowered.find(pattern.Text()) != lowered.npos)) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    if (size < 3) return 0;
    std::u16string units((size - 1) / sizeof(WCHAR), u'\0');
    std::memcpy(units.data(), data + 1, units.size() * sizeof(WCHAR));
    const std::u16string typed = units.c_str();
    const std::u16string text = typed.size() < units.size() ? units.c_str() + typed.size() + 1 : u"";
    CheckPattern(text, typed);
    CheckSearch(text, typed, data[0] & 1, data[0] & 2);
    return 0;
}
