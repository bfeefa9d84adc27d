// The fields in front of a task's subject, as UTF-16: what is taken off any text is of their form, and fields that are written
// in front of a text are read as they were.
#include "Platform/strings.h"
#include "QNWorkerClass/tasksubject.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr std::size_t kLongestPrefix = 9; // "A12|999: "
constexpr LONG kMostDays = 999999;        // "|999999: "
constexpr std::u16string_view kDigits = u"0123456789";

void Check(bool good) {
    if (!good) std::abort();
}

void CheckAnyText(std::u16string_view text) {
    const TaskSubject subject = ParseTaskSubject(text);
    const std::u16string_view letter = subject.szLetter, number = subject.szNumber;
    Check(text.ends_with(subject.text));
    const std::u16string_view prefix = text.substr(0, text.size() - subject.text.size());
    if (prefix.empty()) {
        Check(letter.empty() && number.empty() && subject.nDays == 0);
        return;
    }
    Check(prefix.size() <= kLongestPrefix && (prefix.ends_with(u":") || prefix.ends_with(u": ")));
    Check(letter.empty() ? prefix[0] == u'|' && number.empty()
                         : prefix[0] == letter[0] && iswctype(letter[0], kCharAlpha));
    Check(number.find_first_not_of(kDigits) == number.npos && (number.size() < 2 || number[0] != u'0'));
    Check(subject.nDays >= 0 && subject.nDays <= kMostDays);
}

// With days, since a bar in the rest would be taken for theirs.
void CheckWritten(WCHAR letter, unsigned value, std::u16string_view rest) {
    const std::string number = value % 101 ? std::to_string(value % 101 - 1) : "",
                      days = std::to_string(value % 1000);
    std::u16string text;
    if (iswctype(letter, kCharAlpha)) (text += letter).append(number.begin(), number.end());
    text += u'|';
    text.append(days.begin(), days.end()).append(u": ").append(rest);
    const TaskSubject subject = ParseTaskSubject(text);
    Check(subject.text == rest && subject.nDays == static_cast<LONG>(value % 1000));
    if (text[0] == u'|') return;
    Check(subject.szLetter[0] == letter && std::u16string(number.begin(), number.end()) == subject.szNumber);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    std::u16string text(size / sizeof(WCHAR), u'\0');
    std::memcpy(text.data(), data, text.size() * sizeof(WCHAR));
    CheckAnyText(text);
    if (text.size() >= 2) CheckWritten(text[0], text[1], std::u16string_view(text).substr(2));
    return 0;
}
