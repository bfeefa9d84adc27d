#include "QNWorkerClass/sortkey.h"

#include "Platform/locale.h"

#include <array>

std::string TextSortKey(std::u16string_view text, DWORD flags) {
    std::array<char, 256> room; // enough for most texts
    const auto map = [&](char* buffer, std::size_t size) {
        return LCMapStringW(LOCALE_USER_DEFAULT, LCMAP_SORTKEY | flags, text.data() ? text.data() : u"",
                            static_cast<int>(text.size()), reinterpret_cast<WCHAR*>(buffer),
                            static_cast<int>(size));
    };
    const int size = map(room.data(), room.size());
    if (size != 0) return {room.data(), static_cast<std::size_t>(size)};
    std::string key(static_cast<std::size_t>(map(nullptr, 0)), '\0');
    key.resize(static_cast<std::size_t>(map(key.data(), key.size())));
    return key;
}
