#include "apps/pages/searchrow.h"

#include "Platform/strings.h"
#include "NorvoTools/HTMLEscape.h"
#include "QNWorkerClass/COutlook.h"
#include "QNWorkerClass/searchthread.h"
#include "QNWorkerClass/tasksubject.h"
#include "Resources/pictures.h"
#include "apps/pages/contactcard.h"
#include "apps/pages/notecard.h"
#include "apps/pages/pagetext.h"
#include "apps/pages/searchcards.h"
#include "apps/pages/theme.h"
#include "apps/qn/support.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace qn {

namespace {

constexpr LONG kRowJournal = 6;

std::u16string_view View(const WCHAR* text) { return text ? text : u""; }

std::u16string Lowered(std::u16string_view text) {
    std::u16string low(text);
    for (WCHAR& unit : low) unit = towlower(unit);
    return low;
}

bool IsPattern(std::u16string_view text) { return text.find_first_of(u"*?") != std::u16string_view::npos; }

ULONGLONG HashOf(std::u16string_view text) {
    return static_cast<ULONGLONG>(std::hash<std::u16string_view>()(text)) | 1;
}

// A note is known by its path.
void NameNote(SearchRow& row) {
    row.path = row.title;
    const std::size_t name = row.path.rfind(u'\\') + 1;
    row.title = row.path.substr(name, row.path.rfind(u'.') - name);
    if (name > 1) row.context = HTMLEscape(ShownPath(row.path.substr(0, name - 1)));
}

// Pieces of such a text in another style would stand in the wrong order.
bool IsFromTheRight(std::u16string_view text) {
    return std::ranges::any_of(
        text, [](WCHAR c) { return (c >= 0x590 && c < 0x900) || (c >= 0xFB1D && c < 0xFF00); });
}

std::u16string Marked(std::u16string_view title, std::u16string_view wanted) {
    if (wanted.empty() || IsPattern(wanted) || IsFromTheRight(title)) return HTMLEscape(title);
    const std::u16string low = Lowered(title), part = Lowered(wanted);
    std::u16string marked;
    std::size_t from = 0;
    for (std::size_t at; (at = low.find(part, from)) != std::u16string::npos; from = at + part.size())
        marked += HTMLEscape(title.substr(from, at - from)) + u"<B>" +
                  HTMLEscape(title.substr(at, part.size())) + u"</B>";
    return marked + HTMLEscape(title.substr(from));
}

} // namespace

// The engine's mark-up tells more in a second line.
SearchRow SearchRow::Of(const DATAGENERAL& found) {
    SearchRow row;
    const bool journal = found.m_nType == kRowJournal;
    row.type = found.m_nType;
    row.oid = found.m_oid;
    row.record = found.m_oidRecord;
    row.start = found.m_dtStart;
    row.end = found.m_dtEnd;
    row.title = View(found.m_szSubject);
    row.image = View(found.m_szImage);
    row.linked = View(found.m_szLinkedTitle);
    if (found.m_nLinkedType == kDataTask) row.linked = ParseTaskSubject(View(found.m_szLinkedTitle)).text;
    row.categories = View(found.m_szCategories);
    row.hasNote = found.m_bHasNote && !journal;
    row.hasLink = found.m_bHasLink && !journal;
    row.isPrivate = found.m_lSensitivity != 0;
    const std::u16string_view text = View(found.m_szText);
    if (const std::size_t second = text.find(u"<BR>"); second != std::u16string_view::npos)
        row.context = text.substr(second + 4);
    if (found.m_nType == kRowNote) NameNote(row);
    return row;
}

SearchRow SearchRow::OfHeading(const DATAPARENT& header) {
    SearchRow row;
    row.title = View(header.m_szText);
    row.context = Utf16(std::to_string(header.m_lCount));
    return row;
}

// Occurrences of a series have the id of the series.
ULONGLONG SearchRow::Id() const {
    if (type == 0) return HashOf(title);
    if (type == kRowNote) return HashOf(path);
    const auto minute = static_cast<ULONGLONG>(static_cast<LONGLONG>(start * 1440)) & 0xFFFFFFFF;
    return (ULONGLONG{oid} << 32 | minute) + static_cast<ULONGLONG>(type);
}

namespace {

CardText CardOf(const SearchRow& row) {
    switch (row.type) {
    case kDataContact:
        return ContactCard(row.oid);
    case kDataTask:
        return TaskCard(row.oid);
    case kRowNote:
        return NoteCard(row.path.c_str());
    case kRowJournal:
        return JournalCard(row.record, row.linked);
    default:
        return AppointmentCard(row.oid, row.start, row.end);
    }
}

bool Holds(std::u16string_view text, std::u16string_view low) {
    return Lowered(text).find(low) != std::u16string::npos;
}

// What stands around the place, with what was looked for in bold.
std::u16string Around(std::u16string_view text, std::size_t at, std::u16string_view wanted) {
    constexpr std::size_t kBefore = 24, kShown = 60;
    const std::size_t blank = at > kBefore ? text.find(u' ', at - kBefore) : 0;
    const std::size_t begin =
        at > kBefore ? std::min(blank, at - 1) + 1 : 0; // no blank on the way: the place
    return (begin > 0 ? u"\u2026" : u"") + Marked(Shortened(text.substr(begin), kShown), wanted);
}

} // namespace

void SearchRow::TellWhere(std::u16string_view wanted) {
    if (std::exchange(told, true) || wanted.empty() || IsPattern(wanted)) return;
    const std::u16string low = Lowered(wanted);
    if (Holds(title, low) || Holds(context, low)) return;
    for (const auto& [label, value] : CardOf(*this).fields) {
        const std::size_t at = Lowered(value).find(low);
        if (at == std::u16string::npos) continue;
        if (!context.empty()) context += u"  ";
        context += HTMLEscape(label) + u": " + Around(value, at, wanted);
        return;
    }
}

std::u16string SearchRowText(const SearchRow& row, std::u16string_view wanted) {
    std::u16string right;
    for (const auto& [shown, picture] :
         {std::pair(row.isPrivate, kPicturePrivate), std::pair(row.hasLink, kPictureLinked),
          std::pair(row.hasNote, kPictureNote)})
        if (shown) right += PictureTag(picture);
    std::u16string text = GroundTag(Paint::Window);
    if (!right.empty()) text += u"<SPAN>" + right + u"</SPAN>";
    text +=
        FontTag(Paint::Text) + row.image + (row.title.empty() ? u"(no subject)" : Marked(row.title, wanted));
    if (!row.linked.empty()) text += FontTag(Paint::Quiet) + u"  " + HTMLEscape(row.linked);
    if (!row.context.empty()) text += u"<BR>" + SmallFontTag(Paint::Quiet) + row.context;
    return text;
}

std::u16string SearchHeadingText(const SearchRow& row, bool open) {
    return GroundTag(Paint::Heading) + FontTag(Paint::Text) +
           PictureTag(open ? kPictureOpen : kPictureClosed) + u" <B>" + HTMLEscape(row.title) + u"</B> (" +
           row.context + u")";
}

CardText SearchCard(const SearchRow& row) {
    CardText card = CardOf(row);
    if (!card.title.empty() || !card.fields.empty()) return card;
    card.title = row.title;
    card.Add(u"Gone", u"It was deleted, or moved, since it was found.");
    return card;
}

} // namespace qn
