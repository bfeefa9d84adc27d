#include "NorvoTools/HTMLEscape.h"

#include <algorithm>

std::u16string HTMLEscape(std::u16string_view text) {
    constexpr WCHAR kFirstVisible = 32;
    std::u16string markup;
    markup.reserve(text.size());
    for (const WCHAR c : text) {
        if (c == u'<')
            markup += HTML_LITERAL_LESS;
        else
            markup += std::max(c, kFirstVisible);
    }
    return markup;
}

// An empty line has no height of its own, so it gets a blank.
std::u16string HTMLEscapeLines(std::u16string_view text) {
    std::u16string markup;
    while (true) {
        const std::size_t end = std::min(text.find_first_of(u"\r\n"), text.size());
        markup += end == 0 ? u" " : HTMLEscape(text.substr(0, end));
        if (end == text.size()) return markup;
        const bool pair = text.substr(end).starts_with(u"\r\n");
        text.remove_prefix(end + (pair ? 2 : 1));
        markup += u"<BR>";
    }
}
