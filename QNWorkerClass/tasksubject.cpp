#include "QNWorkerClass/tasksubject.h"

#include "Platform/strings.h"

namespace {

constexpr std::size_t kNone = std::u16string_view::npos;
constexpr std::size_t kLongestPlain = 3;    // of what stands before the colon: "A12"
constexpr std::size_t kLongestWithDays = 7; // "A12|999"

bool IsDigit(WCHAR c) { return c >= u'0' && c <= u'9'; }

// The letter and its number; false when the text before `end` is none.
bool ParsePriority(std::u16string_view text, std::size_t end, TaskSubject& subject) {
    if (!iswctype(text[0], kCharAlpha)) return false;
    const WCHAR first = text[1], second = text.size() > 2 ? text[2] : u'\0';
    if (end == 3) {
        if (!IsDigit(first) || !IsDigit(second)) return false;
        WCHAR* number = subject.szNumber;
        if (first != u'0') *number++ = first;
        *number = second;
    } else if (IsDigit(first)) {
        subject.szNumber[0] = first;
    } else if (end == 2) {
        return false;
    }
    subject.szLetter[0] = text[0];
    return true;
}

LONG ParseDays(std::u16string_view text) {
    LONG days = 0;
    for (const WCHAR c : text) {
        if (!IsDigit(c)) break;
        days = days * 10 + (c - u'0');
    }
    return days;
}

} // namespace

// The bar is the first one of the whole text, also behind the colon: "A12: a|b" has the number 1, and "AB: a|b" loses its
// second letter. Subjects were written with that, so it stays.
TaskSubject ParseTaskSubject(std::u16string_view text) {
    TaskSubject subject;
    subject.text = text;
    const std::size_t colon = text.find(u':'), bar = text.find(u'|');
    if (colon == kNone || colon == 0) return subject;
    if (colon > (bar == kNone ? kLongestPlain : kLongestWithDays)) return subject;
    TaskSubject found;
    if (bar == 0) {
        if (!IsDigit(text[1])) return subject;
    } else if (!ParsePriority(text, bar == kNone ? colon : bar, found)) {
        return subject;
    }
    if (bar < colon) found.nDays = ParseDays(text.substr(bar + 1, colon - bar - 1));
    found.text = text.substr(colon + 1);
    if (found.text.starts_with(u' ')) found.text.remove_prefix(1);
    return found;
}
