#include "QNWorkerClass/quickfind.h"

#include "Platform/strings.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;

// Letters of each key. The rows start at key "0", which carries A, B and C.
constexpr std::array kKeyRows = {
    u"ABC\u00DF\u00C4\u00C2\u00C1\u00C0\u00C7"sv,
    u"DEF\u00CB\u00CA\u00C9\u00C8"sv,
    u"GHI\u00CE"sv,
    u"JKL"sv,
    u"MNO\u00D6\u00D4\u00D3\u00D2\u00D4\u00D1"sv,
    u"PQRS"sv,
    u"TUV\u00DC\u00DB"sv,
    u"WXYZ"sv,
    u"0123456789"sv,
};
constexpr std::size_t kDigitsRow = kKeyRows.size() - 1;

// Letters that sound alike; the index is the digit of the group.
constexpr std::array kSoundGroups = {
    u"AEIOUY\u00D2\u00D3\u00D4\u00D5\u00D6\u00D8\u00D9\u00DA\u00DB\u00DC\u00DD"
    u"\u00C0\u00C1\u00C2\u00C3\u00C4\u00C5\u00C6\u00C8\u00C9\u00CA\u00CB\u00CC\u00CD\u00CE\u00CF"sv,
    u"BFPV"sv,
    u"CGKJQSXZ\u00D0\u00C7"sv,
    u"DT"sv,
    u"L"sv,
    u"MN\u00D1"sv,
    u"R"sv,
    u"HW"sv,
};
constexpr int kNoGroup = -1;
constexpr int kSilentGroup = 7; // H and W: not heard behind another letter
constexpr int kNoDigitYet = 8;  // a digit that no letter has
constexpr std::size_t kCodeLength = 4;

const std::u16string_view* RowOfKey(WCHAR key) {
    if (key == u'#') return &kKeyRows[kDigitsRow];
    if (key >= u'0' && key <= u'8') return &kKeyRows[key - u'0'];
    return nullptr; // 9 selects nothing
}

bool FieldMatches(std::u16string field, std::u16string_view typed) {
    _wcsupr(field.data());
    std::size_t key = 0;
    std::size_t count = 0;
    for (std::size_t i = 0; i < field.size() && key < typed.size(); ++i) {
        if (typed[key] == u' ') {
            if (field[i] == u' ') ++count;
        } else if (const auto* row = RowOfKey(typed[key])) {
            if (row->find(field[i]) != row->npos)
                ++count;
            else
                count = key = 0; // begin again at the next letter
        }
        if (count != 0) ++key;
    }
    return count == typed.size();
}

int SoundGroup(WCHAR letter) {
    for (std::size_t i = 0; i < kSoundGroups.size(); ++i)
        if (kSoundGroups[i].find(letter) != std::u16string_view::npos) return static_cast<int>(i);
    return kNoGroup;
}

} // namespace

bool BeginsAlike(std::u16string_view name, std::u16string_view typed, DWORD flags) {
    const std::size_t length = std::min(name.size(), typed.size());
    return length != 0 && CompareStringW(LOCALE_USER_DEFAULT, flags, name.data(), static_cast<int>(length),
                                         typed.data(), static_cast<int>(length)) == CSTR_EQUAL;
}

bool IsKeypadText(const WCHAR* typed) {
    if (!typed || !*typed) return false;
    for (; *typed; ++typed)
        if (!(*typed >= u'0' && *typed <= u'9') && *typed != u' ' && *typed != u'#') return false;
    return true;
}

bool KeypadMatch(std::span<const WCHAR* const> fields, const WCHAR* typed) {
    const std::u16string_view keys = typed ? typed : u"";
    for (const WCHAR* field : fields) {
        if (!field) continue;
        // One short field ends the test for all of them: what the finder's users are used to, so it stays.
        if (wcslen(field) < keys.size()) return false;
        if (FieldMatches(field, keys)) return true;
    }
    return false;
}

// Not the textbook code: vowels are written, nothing is padded, the first letter keeps its case, accented letters belong
// to groups, and a character of no group neither separates nor breaks a run. Stored codes depend on each of these.
bool Soundex(const WCHAR* word, SoundCode& code) {
    code.fill(0);
    if (!word || !*word) return false;
    int last = kNoDigitYet;
    std::size_t written = 0;
    for (const WCHAR* c = word; *c && written < kCodeLength; ++c) {
        const int group = SoundGroup(towupper(*c));
        if (group == kNoGroup || (group == kSilentGroup && written != 0) || group == last) continue;
        last = group;
        code[written] = written == 0 ? word[0] : static_cast<WCHAR>(u'0' + group);
        ++written;
    }
    return true;
}

WCHAR* OnlyPhone(const WCHAR* text) {
    if (!text) return nullptr;
    auto* digits = static_cast<WCHAR*>(std::malloc((wcslen(text) + 1) * sizeof(WCHAR)));
    if (!digits) return nullptr;
    WCHAR* out = digits;
    for (; *text; ++text)
        if (*text >= u'0' && *text <= u'9') *out++ = *text;
    *out = 0;
    return digits;
}
