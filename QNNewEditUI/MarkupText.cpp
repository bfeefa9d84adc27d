#include "QNNewEditUI/MarkupText.h"

#include "Platform/strings.h"
#include "NorvoTools/HTMLEscape.h"

#include <algorithm>
#include <cstdarg>

namespace {

constexpr WCHAR kFirstVisible = 32;
constexpr WCHAR kEllipsis[] = u"\u2026";

bool IsHighSurrogate(WCHAR c) { return (c & 0xFC00) == 0xD800; }

} // namespace

MarkupText::MarkupText(WCHAR* pszBuffer, std::size_t capacity)
    : m_pszBuffer(pszBuffer), m_capacity(capacity) {
    *m_pszBuffer = 0;
}

MarkupText& MarkupText::Add(std::u16string_view markup) {
    if (markup.size() >= m_capacity - m_length) return *this;
    m_length += markup.copy(m_pszBuffer + m_length, markup.size());
    m_pszBuffer[m_length] = 0;
    return *this;
}

MarkupText& MarkupText::Format(const WCHAR* pszFormat, ...) {
    std::va_list arguments;
    va_start(arguments, pszFormat);
    const std::size_t room = m_capacity - m_length;
    const int written = _vsnwprintf(m_pszBuffer + m_length, room, pszFormat, arguments);
    va_end(arguments);
    if (written >= 0 && static_cast<std::size_t>(written) < room)
        m_length += static_cast<std::size_t>(written);
    m_pszBuffer[m_length] = 0;
    return *this;
}

bool MarkupText::AddUserText(std::u16string_view text, std::size_t limit) {
    const std::size_t end = m_length + std::min(limit, m_capacity - 1 - m_length);
    bool exact = true;
    std::size_t cut = m_length; // where an ellipsis still fits behind whole characters
    for (const WCHAR c : text) {
        if (m_length < end && !(m_length > 0 && IsHighSurrogate(m_pszBuffer[m_length - 1]))) cut = m_length;
        const WCHAR shown = std::max(c, kFirstVisible);
        const std::u16string_view piece = c == u'<' ? HTML_LITERAL_LESS : std::u16string_view(&shown, 1);
        if (piece.size() > end - m_length) {
            m_length = cut;
            if (cut < end) Add(kEllipsis);
            return false;
        }
        exact = exact && shown == c;
        Add(piece);
    }
    return exact;
}
