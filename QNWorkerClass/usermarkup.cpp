#include "QNWorkerClass/usermarkup.h"

#include <algorithm>

// "<<" is a literal one, but its second half may begin a tag with what follows: so that tag is one without effect.
std::u16string AsMarkup(std::u16string_view text) {
    constexpr std::u16string_view kLiteralLess = u"<</BODY>";
    std::u16string markup;
    markup.reserve(text.size());
    for (const WCHAR c : text) {
        if (c == u'<')
            markup += kLiteralLess;
        else
            markup += std::max(c, u' ');
    }
    return markup;
}
