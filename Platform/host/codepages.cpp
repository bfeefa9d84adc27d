// MultiByteToWideChar and its kin: see Platform/strings.h.
#include "Platform/host/codepages.h"

#include "Platform/host/call.h"
#include "Platform/host/text.h"
#include "Platform/strings.h"
#include "Platform/threads.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>

namespace {

constexpr DWORD kErrorNoUnicodeTranslation = 1113;

// The page a caller means: the device's own (also by its other names) is UTF-8. 0 for one that is not known.
UINT PageOf(UINT page) {
    constexpr UINT kOemPage = 1;
    constexpr UINT kThreadPage = 3;
    if (page == CP_ACP || page == kOemPage || page == kThreadPage) return CP_UTF8;
    return page == CP_UTF8 || page == CP_1252 ? page : 0;
}

bool IsUtf8(std::string_view text) {
    for (char32_t c; !text.empty();) {
        const int used = plat::DecodeUtf8(text, c);
        if (used == 0) return false;
        text.remove_prefix(static_cast<std::size_t>(used));
    }
    return true;
}

std::u16string Widen1252(std::string_view text) {
    std::u16string wide(text.size(), u'\0');
    std::transform(text.begin(), text.end(), wide.begin(),
                   [](char c) { return plat::From1252(static_cast<BYTE>(c)); });
    return wide;
}

std::string Narrow1252(std::u16string_view text, const char* substitute, bool& substituted) {
    std::string narrow;
    narrow.reserve(text.size());
    for (char32_t c; !text.empty();) {
        text.remove_prefix(plat::DecodeUtf16(text, c));
        char byte;
        if (!plat::To1252(c, byte)) {
            byte = substitute ? *substitute : '?';
            substituted = true;
        }
        narrow += byte;
    }
    return narrow;
}

// Hands a converted text out, or the size that it takes when there is no buffer.
template<class Unit>
int Deliver(const std::basic_string<Unit>& text, Unit* buffer, int room) {
    if (text.size() > INT_MAX) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const int size = static_cast<int>(text.size());
    if (room == 0) return size;
    if (size > room) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    std::copy(text.begin(), text.end(), buffer);
    return size;
}

// A null text, no text at all, and a length below -1 are refused.
template<class Unit>
bool TakeText(const Unit* text, int length, bool hasBuffer, int room, std::basic_string_view<Unit>& view) {
    if (!text || length == 0 || length < -1 || room < 0 || (room > 0 && !hasBuffer)) return false;
    view = length < 0 ? std::basic_string_view<Unit>(text, std::char_traits<Unit>::length(text) + 1)
                      : std::basic_string_view<Unit>(text, static_cast<std::size_t>(length));
    return true;
}

} // namespace

int MultiByteToWideChar(UINT page, DWORD flags, const char* text, int length, WCHAR* buffer, int room) {
    plat::HostCall call;
    std::string_view view;
    const UINT known = PageOf(page);
    if (known == 0 || !TakeText(text, length, buffer != nullptr, room, view)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (page == CP_UTF8 && (flags & MB_ERR_INVALID_CHARS) && !IsUtf8(view)) {
        SetLastError(kErrorNoUnicodeTranslation);
        return 0;
    }
    return Deliver(known == CP_UTF8 ? plat::ToUtf16(view) : Widen1252(view), buffer, room);
}

int WideCharToMultiByte(UINT page, DWORD, const WCHAR* text, int length, char* buffer, int room,
                        const char* substitute, BOOL* substituted) {
    plat::HostCall call;
    std::u16string_view view;
    const UINT known = PageOf(page);
    if (known == 0 || !TakeText(text, length, buffer != nullptr, room, view)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    bool lost = false;
    const std::string narrow = known == CP_UTF8 ? plat::ToUtf8(view) : Narrow1252(view, substitute, lost);
    if (substituted) *substituted = lost;
    return Deliver(narrow, buffer, room);
}

std::size_t wcstombs(char* buffer, const WCHAR* text, std::size_t count) {
    std::u16string_view rest(text);
    std::size_t written = 0;
    while (!rest.empty()) {
        char32_t c;
        rest.remove_prefix(plat::DecodeUtf16(rest, c));
        char bytes[4];
        const std::size_t size = plat::EncodeUtf8(c == plat::kUnpaired ? U'?' : c, bytes);
        if (buffer && size > count - written) break;
        if (buffer) std::memcpy(buffer + written, bytes, size);
        written += size;
    }
    if (buffer && written < count) buffer[written] = 0;
    return written;
}
