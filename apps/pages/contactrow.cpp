#include "apps/pages/contactrow.h"

#include "NorvoTools/CStr.h"
#include "NorvoTools/HTMLEscape.h"
#include "Resources/pictures.h"
#include "apps/pages/contactcard.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"

namespace qn {

namespace {

std::u16string_view View(const WCHAR* text) { return text ? text : std::u16string_view(); }

std::u16string Picture(WORD number) { return u"<IMG SRC=" + Utf16(std::to_string(number)) + u">"; }

// The engine's mark-up of a call, whose first line is empty where the caller has no name.
std::u16string CallMarkup(const DATACONTACTS& call) {
    const std::u16string number = HTMLEscape(View(call.m_szExtraLine)), text(View(call.m_szFileAs));
    return GroundTag(Paint::Window) + FontTag(Paint::Text) +
           (text.starts_with(u"<BR>") ? number + text : text + u"</I>  " + number);
}

std::u16string Pictures(const DATACONTACTS& row) {
    std::u16string pictures;
    if (row.m_bHasLink) pictures += Picture(kPictureLinked);
    if (row.m_bHasJournalLink) pictures += Picture(kPictureJournal);
    if (row.m_bHasNote) pictures += Picture(kPictureNote);
    return pictures.empty() ? pictures : u"<SPAN>" + pictures + u"</SPAN>";
}

} // namespace

std::u16string_view OrderName(const DATACONTACTS& row, ContactsDisplay format) {
    const std::u16string_view first = CSTRView(row.m_szFirstName), last = CSTRView(row.m_szLastName);
    if (format == kDisplayFileAs || (first.empty() && last.empty())) return CSTRView(row.m_szFileAs);
    const bool byFirst = format == kDisplayFirstLast;
    return last.empty() || (byFirst && !first.empty()) ? first : last;
}

bool HasSecondLine(const DATACONTACTS& row) { return row.m_oid == 0 || !View(row.m_szExtraLine).empty(); }

std::u16string ContactMarkup(DATACONTACTS& row, ContactsDisplay format) {
    if (row.m_oid == 0) return CallMarkup(row);
    const std::u16string_view name = row.GetNameDisplay(format);
    const std::u16string shown =
        name.empty() ? FontTag(Paint::Quiet) + u"No name" : FontTag(Paint::Text) + HTMLEscape(name);
    std::u16string text = GroundTag(Paint::Window) + Pictures(row) + shown;
    if (!HasSecondLine(row)) return text;
    text += u"<BR>" + SmallFontTag(Paint::Quiet);
    if (const NumberKind* kind = FindNumberKind(row.m_dwExtraProperty)) text += {kind->letter, u' '};
    return text + HTMLEscape(View(row.m_szExtraLine));
}

std::u16string GroupMarkup(const DATACONTACTS& header) {
    return GroundTag(Paint::Heading) + FontTag(Paint::Text) +
           Picture(header.m_bOpen ? kPictureOpen : kPictureClosed) + u" <B>" +
           HTMLEscape(View(header.m_szFileAs)) + u"</B>  " + FontTag(Paint::Quiet) +
           HTMLEscape(View(header.m_szExtraLine));
}

std::u16string PhoneNumber(const DATACONTACTS& row) {
    if (row.m_oid == 0) return std::u16string(View(row.m_szIcon));
    const NumberKind* kind = FindNumberKind(row.m_dwExtraProperty);
    return kind && kind->phone ? std::u16string(View(row.m_szExtraLine)) : std::u16string();
}

} // namespace qn
