#include "apps/qn/searchrow.h"

#include "NorvoTools/HTMLEscape.h"
#include "QNWorkerClass/DATACALENDAR.h"
#include "QNWorkerClass/searchthread.h"
#include "apps/qn/journaluid.h"
#include "apps/qn/json.h"

#include <vector>

namespace qn {

namespace {

constexpr std::u16string_view kSeriesMark = u"<IMG SRC=242> "; // in a row that stands for all of a series

std::string_view KindName(LONG type) {
    switch (type) {
    case kDataContact:
        return "contact";
    case kDataAppointment:
        return "appointment";
    case kDataTask:
        return "task";
    case kRowNote:
        return "note";
    case kLineJournal:
        return "journal";
    default:
        return "item";
    }
}

// Empty for a note, which is known by its path.
std::string UidOf(const DATAGENERAL& row, Store& store) {
    if (row.m_nType == kLineJournal) return JournalUid(row.m_oid);
    return row.m_nType == kRowNote ? std::string() : store.Uid(row.m_oid);
}

// What a user wrote, out of the mark-up that shows it.
std::string Plain(std::u16string_view markup) {
    std::u16string text(markup);
    for (std::size_t at = 0; (at = text.find(HTML_LITERAL_LESS, at)) != text.npos; ++at)
        text.erase(at + 1, HTML_LITERAL_LESS.size() - 1); // its first character is what it stands for
    return Utf8(text);
}

std::u16string_view Behind(std::u16string_view text, std::u16string_view mark) {
    const std::size_t at = text.find(mark);
    return at == text.npos ? std::u16string_view() : text.substr(at + mark.size());
}

// A note is known by its path alone, and shown by its name.
std::string TitleOf(const DATAGENERAL& row) {
    return row.m_nType == kRowNote ? Plain(row.m_szText ? row.m_szText : u"") : TextOf(row.m_szSubject);
}

// A search has read no more of a contact than its name: the company and a number or address.
void AddContact(const DATAGENERAL& row, const Store& store, std::vector<std::string>& parts) {
    Com<IDispatch> item;
    if (FAILED(store.App()->GetItemFromOid(static_cast<LONG>(row.m_oid), item.Out()))) return;
    const Com<IItem> bag = BagOf(item.Get());
    const std::string company = Property(bag, PIMPR_COMPANY).Text();
    if (company != parts[0]) parts.push_back(company);
    for (const CEPROPID id : {PIMPR_MOBILE_TEL, PIMPR_BUSINESS_TEL, PIMPR_HOME_TEL, PIMPR_EMAIL1}) {
        parts.push_back(Property(bag, id).Text());
        if (!parts.back().empty()) return;
    }
}

// "<BR>[3/12/10 12:30 PM]  1hour, Canteen" of a task or an appointment.
void AddDates(std::u16string_view markup, std::vector<std::string>& parts) {
    const std::u16string_view dates = Behind(markup, u"<BR>[");
    const std::size_t end = dates.find(u']');
    if (end == dates.npos) return;
    parts.push_back(Plain(dates.substr(0, end)));
    std::u16string_view rest = Behind(dates, u"]  ");
    if (rest.starts_with(kSeriesMark)) rest.remove_prefix(kSeriesMark.size());
    parts.push_back(Plain(rest));
}

std::string MarksOf(const DATAGENERAL& row) {
    std::string marks;
    const auto add = [&marks](bool wanted, const char* mark) {
        if (wanted) marks += std::string(marks.empty() ? "(" : ", ") + mark;
    };
    add(std::u16string_view(row.m_szText ? row.m_szText : u"").find(kSeriesMark) != std::u16string_view::npos,
        "series");
    add(row.m_bHasNote && row.m_nType != kLineJournal, "note"); // the note of an entry is shown
    add(row.m_bHasLink && row.m_nType != kLineJournal, "linked");
    return marks.empty() ? marks : marks + ")";
}

void AddEntry(const DATAGENERAL& row, std::vector<std::string>& parts) {
    if (row.m_dtDate != kNoDate) parts.push_back(ShortDay(static_cast<LONG>(row.m_dtDate)));
    if (row.m_szLinkedTitle && *row.m_szLinkedTitle) parts.push_back("of " + Utf8(row.m_szLinkedTitle));
    const std::u16string_view body = Behind(row.m_szText ? row.m_szText : u"", u"<BR><I>");
    parts.push_back(Plain(body.substr(0, body.rfind(u"</I>"))));
}

void AddNote(const DATAGENERAL& row, std::vector<std::string>& parts) {
    if (row.m_dtDate != kNoDate) parts.push_back(ShortDay(static_cast<LONG>(row.m_dtDate)));
    const std::string path = TextOf(row.m_szSubject);
    parts.push_back(path.substr(0, path.rfind('\\')));
}

std::vector<std::string> PartsOf(const DATAGENERAL& row, const Store& store) {
    std::vector<std::string> parts{TitleOf(row)};
    switch (row.m_nType) {
    case kDataContact:
        AddContact(row, store, parts);
        break;
    case kRowNote:
        AddNote(row, parts);
        break;
    case kLineJournal:
        AddEntry(row, parts);
        break;
    default:
        AddDates(row.m_szText ? row.m_szText : u"", parts);
        break;
    }
    if (row.m_szCategories && *row.m_szCategories) parts.push_back("[" + Utf8(row.m_szCategories) + "]");
    parts.push_back(MarksOf(row));
    return parts;
}

} // namespace

std::string SearchText(const DATAGENERAL& row, const Store& store) {
    constexpr std::size_t kColumn = 11; // "appointment"
    std::string text(KindName(row.m_nType));
    text.resize(kColumn, ' ');
    for (const std::string& part : PartsOf(row, store))
        if (!part.empty()) text += "  " + Printable(part);
    return text;
}

std::string SearchJson(const DATAGENERAL& row, Store& store, const DATAPARENT* header) {
    const bool note = row.m_nType == kRowNote;
    JsonLine json;
    json.Text("kind", KindName(row.m_nType)).Number("type", row.m_nType).Number("depth", header ? 1 : 0);
    json.TextOrNull("group", header ? TextOf(header->m_szText) : std::string());
    json.Number("oid", row.m_oid).Number("record", row.m_oidRecord);
    json.TextOrNull("uid", UidOf(row, store));
    json.Text("subject", TitleOf(row)).TextOrNull("path", note ? TextOf(row.m_szSubject) : std::string());
    json.Text("text", TextOf(row.m_szText)).Text("image", TextOf(row.m_szImage));
    if (row.m_nType == kDataTask) // of whole days
        json.Day("date", row.m_dtDate).Day("start", row.m_dtStart).Day("end", row.m_dtEnd);
    else
        json.Moment("date", row.m_dtDate).Moment("start", row.m_dtStart).Moment("end", row.m_dtEnd);
    json.Number("sensitivity", row.m_lSensitivity).Bool("note", row.m_bHasNote).Bool("link", row.m_bHasLink);
    row.m_oidLinked ? json.Number("linked", row.m_oidLinked) : json.Null("linked");
    json.TextOrNull("linkedkind", row.m_nLinkedType ? KindName(row.m_nLinkedType) : std::string_view());
    json.TextOrNull("linkedtitle", TextOf(row.m_szLinkedTitle));
    json.Texts("categories", SplitCategories(TextOf(row.m_szCategories)));
    return json.TextOrNull("icon", TextOf(row.m_szIcon)).Done();
}

std::string HeaderText(const DATAPARENT& header) {
    return Printable(TextOf(header.m_szText)) + " (" + std::to_string(header.m_lCount) + ")";
}

std::string HeaderJson(const DATAPARENT& header) {
    JsonLine json;
    json.Text("kind", "group").Number("type", header.m_nType).Number("depth", 0).Number("oid", header.m_oid);
    json.Text("subject", TextOf(header.m_szText)).Number("children", header.m_lCount);
    return json.Bool("open", header.m_bFlag).Done();
}

} // namespace qn
