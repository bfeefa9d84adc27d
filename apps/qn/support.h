// Small helpers of the command line: text, owners of the object model's results, dates.
#pragma once

#include "Platform/memory.h"
#include "Platform/types.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

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
// For one line of a terminal: a character that would steer it is a blank.
std::string Printable(std::string_view utf8);

// An owned BSTR.
class Bstr {
public:
    Bstr() = default;
    explicit Bstr(std::u16string_view text)
        : m_text(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
    ~Bstr() { SysFreeString(m_text); }
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    operator BSTR() const { return m_text; }
    BSTR* Out() { return &m_text; }
    std::u16string_view View() const {
        return m_text ? std::u16string_view(m_text, SysStringLen(m_text)) : std::u16string_view();
    }

private:
    BSTR m_text = nullptr;
};

// A counted reference.
template<class T>
class Com {
public:
    Com() = default;
    explicit Com(T* object) : m_object(object) {}
    Com(Com&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    Com& operator=(Com&& other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~Com() {
        if (m_object) m_object->Release();
    }
    T* operator->() const { return m_object; }
    T* Get() const { return m_object; }
    T** Out() { return &m_object; }
    explicit operator bool() const { return m_object != nullptr; }
    // The object's other interface; empty when it has none.
    template<class U>
    Com<U> As(const IID& iid) const {
        void* found = nullptr;
        if (m_object) m_object->QueryInterface(iid, &found);
        return Com<U>(static_cast<U*>(found));
    }

private:
    T* m_object = nullptr;
};

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
