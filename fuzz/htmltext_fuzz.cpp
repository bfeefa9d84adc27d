// Texts without their tags and entities, and what users wrote within mark-up: it shows letter by letter.
// As UTF-16; the first byte tells how much of a user's text is taken.
#include "Platform/strings.h"
#include "QNGridCtrl/HTMLParser.h"
#include "QNNewEditUI/MarkupText.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

void TakeTagsOut(const std::u16string& html) {
    const std::unique_ptr<WCHAR, decltype(&std::free)> plain(HTMLToText(html.c_str()), &std::free);
    const std::u16string_view text = plain.get(), source = html.c_str();
    if (text.size() > source.size()) std::abort();
    if (source.find_first_of(u"<&") == source.npos && text != source) std::abort();
    COLORREF color = 0;
    WCHAR again[8];
    if (HTMLToColorRef(html.c_str(), &color) && ColorRefToHTML(color, again, 8) != 7) std::abort();
}

void ShowUserText(const std::u16string& text, std::size_t limit) {
    std::vector<WCHAR> buffer(limit + 8), shown(limit + 9);
    MarkupText markup(buffer.data(), buffer.size());
    const bool exact = markup.AddUserText(text, limit);
    if (markup.Length() > limit || wcslen(buffer.data()) != markup.Length()) std::abort();
    CHTMLParser parser;
    parser.SetHTML(buffer.data());
    parser.ParseHTML(nullptr);
    parser.GetText(shown.data(), static_cast<int>(limit + 8), false);
    if (exact && text != shown.data()) std::abort();
    for (const HTMLTOKEN& token : parser.Tokens())
        if (token.eType != TOKEN_TEXT) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    if (size < 1) return 0;
    std::u16string text((size - 1) / sizeof(WCHAR), u'\0');
    std::memcpy(text.data(), data + 1, text.size() * sizeof(WCHAR));
    TakeTagsOut(text);
    ShowUserText(text, std::size_t{data[0]} * 2);
    return 0;
}
