// Numbers, formats, windows and resources of CeString: what needs more than the text itself.
#include "NorvoTools/CeString.h"

#include "Platform/memory.h"
#include "Platform/modules.h"
#include "Platform/strings.h"
#include "Platform/threads.h"
#include "Platform/windows.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int kFormatBuffer = 1024; // characters of Format, terminator included
constexpr int kLargestPlace = 40;   // of a decimal point written out
constexpr WCHAR kByteOrderMark = 0xFEFF;
constexpr int kLongestResource = 65535;       // characters
constexpr DWORD kAllocateFromSystem = 0x1100; // FormatMessageW makes the buffer and asks the system
constexpr DWORD kSystemLanguage = 2048;

// The digits of a number, at the end of the buffer.
struct Digits {
    std::array<WCHAR, 34> text;
    int first = static_cast<int>(text.size());

    void Push(WCHAR c) { text[static_cast<std::size_t>(--first)] = c; }
    const WCHAR* Begin() const { return text.data() + first; }
    int Length() const { return static_cast<int>(text.size()) - first; }
};

Digits ToDigits(DWORD n, int radix) {
    Digits digits;
    auto base = static_cast<DWORD>(radix < 2 || radix > 36 ? 10 : radix);
    do {
        digits.Push(u"0123456789abcdefghijklmnopqrstuvwxyz"[n % base]);
        n /= base;
    } while (n);
    return digits;
}

std::string PlainDouble(const std::string& digits, int place) {
    if (place > 0) {
        std::string whole = digits.substr(0, static_cast<std::size_t>(place));
        std::string rest = digits.size() > whole.size() ? digits.substr(whole.size()) : "";
        whole.resize(static_cast<std::size_t>(place), '0');
        return whole + "." + rest;
    }
    return "0." + std::string(static_cast<std::size_t>(-place), '0') + digits;
}

} // namespace

// --- Numbers ------------------------------------------------------------------------------------------------------

void CeString::SetShort(SHORT n, int nRadix) { SetLong(n, nRadix); }

// Only decimal numbers have a sign; in any other radix the 32 bits are shown.
void CeString::SetLong(LONG n, int nRadix) {
    bool negative = n < 0 && nRadix == 10;
    Digits digits = ToDigits(negative ? 0u - static_cast<DWORD>(n) : static_cast<DWORD>(n), nRadix);
    if (negative) digits.Push(u'-');
    SetText(digits.Begin(), digits.Length());
}

void CeString::SetULong(DWORD n, int nRadix) {
    Digits digits = ToDigits(n, nRadix);
    SetText(digits.Begin(), digits.Length());
}

void CeString::SetDouble(double value, int nDigits) {
    int place = 0;
    int sign = 0;
    std::string text = _fcvt(value, nDigits, &place, &sign);
    if (place < -kLargestPlace || place > kLargestPlace) {
        std::array<char, 512> buffer{};
        text = _gcvt(value, std::clamp(nDigits, 1, 17), buffer.data());
    } else {
        text = (sign ? "-" : "") + PlainDouble(text, place);
    }
    SetNarrow(text.data(), static_cast<int>(text.size()));
}

CeString::operator int() const { return _wtol(m_psz); }
CeString::operator double() const { return wcstod(m_psz, nullptr); }

// --- Formats ------------------------------------------------------------------------------------------------------

void CeString::Format(const WCHAR* pszFormat, ...) {
    std::array<WCHAR, kFormatBuffer> buffer{};
    va_list arguments;
    va_start(arguments, pszFormat);
    int length = wvsprintfW(buffer.data(), pszFormat, arguments);
    va_end(arguments);
    SetText(buffer.data(), length);
}

void CeString::Format(int n, const WCHAR* pszFormat, ...) {
    if (n <= 0) return Release();
    std::vector<WCHAR> buffer(static_cast<std::size_t>(n) + 1);
    va_list arguments;
    va_start(arguments, pszFormat);
    int length = _vsnwprintf(buffer.data(), static_cast<std::size_t>(n), pszFormat, arguments);
    va_end(arguments);
    SetText(buffer.data(), length < 0 ? n : length); // a negative count: cut at n
}

void CeString::FormatMessageW(DWORD dwCode) {
    WCHAR* text = nullptr;
    DWORD length = ::FormatMessageW(kAllocateFromSystem, nullptr, dwCode, kSystemLanguage,
                                    reinterpret_cast<WCHAR*>(&text), 0, nullptr);
    std::unique_ptr<void, decltype(&LocalFree)> owner(text, &LocalFree);
    if (length && text)
        SetText(text, static_cast<int>(length));
    else
        Format(u"Error %d occured", dwCode);
}

// --- Window and resource ------------------------------------------------------------------------------------------

bool CeString::GetWindowTextW(HWND hWnd) {
    if (!IsWindow(hWnd)) return false;
    int length = ::GetWindowTextLengthW(hWnd);
    if (length <= 0) {
        Release();
        return true;
    }
    WCHAR* buffer = Fresh(length);
    buffer[0] = 0;
    ::GetWindowTextW(hWnd, buffer, length + 1);
    ReleaseBuffer();
    return true;
}

bool CeString::SetWindowTextW(HWND hWnd) const { return IsWindow(hWnd) && ::SetWindowTextW(hWnd, m_psz); }

bool CeString::LoadStringW(UINT nResource, HINSTANCE hModule) {
    if (!hModule) hModule = GetModuleHandleW(nullptr);
    std::array<WCHAR, 512> buffer;
    int length = ::LoadStringW(hModule, nResource, buffer.data(), static_cast<int>(buffer.size()));
    if (length < static_cast<int>(buffer.size()) - 1) {
        SetText(buffer.data(), length);
    } else { // it may have been cut
        std::vector<WCHAR> whole(kLongestResource + 1);
        SetText(whole.data(), ::LoadStringW(hModule, nResource, whole.data(), kLongestResource + 1));
    }
    return !IsEmpty();
}

// --- Out ----------------------------------------------------------------------------------------------------------

WCHAR* CeString::GetStringCopy(bool bMalloc, bool bBOM, DWORD* pSize) const {
    std::size_t mark = bBOM ? 1 : 0;
    std::size_t text = static_cast<std::size_t>(GetLength()) + 1;
    std::size_t bytes = (mark + text) * sizeof(WCHAR);
    auto* copy = static_cast<WCHAR*>(bMalloc ? std::malloc(bytes) : LocalAlloc(0, static_cast<UINT>(bytes)));
    if (pSize) *pSize = copy ? static_cast<DWORD>(bytes) : 0;
    if (!copy) return nullptr;
    if (bBOM) copy[0] = kByteOrderMark;
    std::memcpy(copy + mark, m_psz, text * sizeof(WCHAR));
    return copy;
}
