#include "QNWorkerClass/searchmatch.h"

#include "NorvoTools/StrFunctions.h"
#include "Platform/locale.h"
#include "Platform/notetext.h"
#include "Platform/strings.h"

namespace {

constexpr DWORD kLeastNote = 3;               // bytes
constexpr std::size_t kLongestNote = 133'120; // bytes of its text that are looked at

// "**" is no more than "*", and the matcher wants it so.
std::u16string PatternOf(std::u16string_view text, bool bAnywhere) {
    std::u16string pattern(bAnywhere ? u"*" : u"");
    pattern.append(text).append(u"*");
    for (std::size_t at; (at = pattern.find(u"**")) != pattern.npos;) pattern.erase(at, 1);
    return pattern;
}

// A code always begins with the first character of what was typed; it tells a sound only where that is a letter.
std::u16string SoundOf(const std::u16string& text) {
    SoundCode code{};
    return Soundex(text.c_str(), code) && iswctype(code[0], kCharAlpha) ? code.data() : u"";
}

bool MatchesPattern(const std::u16string& text, const std::u16string& pattern) {
    return wildmat(text.c_str(), pattern.c_str());
}

} // namespace

SearchPattern::SearchPattern(std::u16string_view text, bool bAnywhere, bool bUseSound)
    : m_text(text), m_bAnywhere(bAnywhere), m_bAll(text == u"*") {
    _wcslwr(m_text.data());
    m_bPattern = text.find_first_of(u"*?") != text.npos;
    if (m_bPattern && !m_bAll) m_text = PatternOf(m_text, bAnywhere);
    if (bUseSound) m_sound = SoundOf(m_text);
}

bool SearchPattern::Matches(std::u16string& fields) const {
    if (fields.empty() || m_text.empty()) return false;
    if (m_bAll) return true;
    _wcslwr(fields.data());
    if (m_bAnywhere) return m_bPattern ? MatchesPattern(fields, m_text) : fields.find(m_text) != fields.npos;
    const std::u16string_view field = std::u16string_view(fields).substr(1);
    if (m_bPattern) return MatchesPattern(fields.substr(1), m_text);
    const std::u16string_view head = field.substr(0, m_text.size());
    return !head.empty() &&
           CompareStringW(LOCALE_USER_DEFAULT, kFindFlags, head.data(), static_cast<int>(head.size()),
                          m_text.data(), static_cast<int>(m_text.size())) == CSTR_EQUAL;
}

bool SearchPattern::MatchesSound(std::u16string& codes) const {
    if (m_sound.empty() || codes.empty()) return false;
    _wcslwr(codes.data());
    if (m_bPattern) return MatchesPattern(m_bAnywhere ? codes : codes.substr(1), m_sound);
    if (m_bAnywhere) return codes.find(m_sound) != codes.npos;
    return std::u16string_view(codes).substr(1).starts_with(m_sound);
}

bool SearchPattern::MatchesNote(const BYTE* bytes, DWORD length) const {
    std::u16string text;
    if (length < kLeastNote || m_text.empty() || !PlatTextOfNote(bytes, length, text)) return false;
    if (text.size() > kLongestNote / sizeof(WCHAR)) text.resize(kLongestNote / sizeof(WCHAR));
    if (m_bAll) return true;
    _wcslwr(text.data());
    // The matcher passes over what begins with a point, as if it were a hidden file.
    if (m_bPattern) return MatchesPattern(m_bAnywhere ? u" " + text : text, m_text);
    return m_bAnywhere ? text.find(m_text) != text.npos : text.starts_with(m_text);
}

void AppendField(std::u16string& fields, std::u16string_view text) {
    if (!text.empty()) fields.append(u" ").append(text);
}

void AppendSound(std::u16string& codes, std::u16string_view text) {
    SoundCode code{};
    if (Soundex(std::u16string(text).c_str(), code)) AppendField(codes, code.data());
}
