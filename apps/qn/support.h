// Small helpers of the command line: text, dates, failures.
#pragma once

#include "Platform/comref.h"
#include "Platform/types.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qn {

// Exit codes.
inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1; // nothing, or not all, could be done
inline constexpr int kExitBroken = 2; // the command line makes no sense, or the store can't be used

// What ends a command with a message on stderr.
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string& text, int code = kExitFailed)
        : std::runtime_error(text), m_code(code) {}
    int Code() const { return m_code; }

private:
    int m_code;
};
[[noreturn]] void Usage(const std::string& text);

// The store can't be opened or written: nothing that follows could be done either.
class StoreFailure : public Failure {
public:
    explicit StoreFailure(const std::string& text) : Failure(text, kExitBroken) {}
};

// "1 task", "2 tasks".
std::string Plural(std::size_t count, std::string_view noun, std::string_view rest = {});

std::string Utf8(std::u16string_view text);
std::u16string Utf16(std::string_view text);
std::string TextOf(const WCHAR* text); // of a row: null is empty
// For one line of a terminal: a character that would steer it is a blank.
std::string Printable(std::string_view utf8);

template<class T>
using Com = ComRef<T>;
using Bstr = BstrText;

// A day or a moment out of what a person types: "today", "tomorrow", "yesterday", "+7", "-3", "2026-11-21", or a date as
// the locale writes it. Empty when it is none.
std::optional<DATE> ParseDay(std::string_view text);
DATE Today();                       // whole day
std::string IsoDay(LONG day);       // "2026-11-21"
std::string IsoMoment(DATE moment); // "2026-11-21T09:30:00"
// As the user's locale writes them.
std::string LongDay(LONG day);
std::string ShortDay(LONG day);
std::string ClockTime(DATE moment);
SYSTEMTIME ToSystemTime(DATE date);
DATE ToDate(const SYSTEMTIME& date);

} // namespace qn
