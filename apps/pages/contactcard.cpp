#include "apps/pages/contactcard.h"

#include "QNWorkerClass/COutlook.h"
#include "QNWorkerClass/dates.h"
#include "apps/pages/pagetext.h"
#include "apps/qn/support.h"

#include <algorithm>
#include <map>

namespace qn {

namespace {

// In the order of the card.
constexpr NumberKind kNumbers[] = {
    {PIMPR_MOBILE_TEL, u'm', u"Mobile", true},
    {PIMPR_BUSINESS_TEL, u'w', u"Work", true},
    {PIMPR_BUSINESS2_TEL, u'w', u"Work 2", true},
    {PIMPR_HOME_TEL, u'h', u"Home", true},
    {PIMPR_HOME2_TEL, u'h', u"Home 2", true},
    {PIMPR_COMPANY_TEL, u'o', u"Office", true},
    {PIMPR_CAR_TEL, u'c', u"Car", true},
    {PIMPR_RADIO_TEL, u'r', u"Radio", true},
    {PIMPR_ASSISTANT_TEL, u'a', u"Assistant", true},
    {PIMPR_PAGER, u'p', u"Pager", true},
    {PIMPR_BUSINESS_FAX, u'f', u"Work fax", false},
    {PIMPR_HOME_FAX, u'f', u"Home fax", false},
    {PIMPR_EMAIL1, u'e', u"E-mail", false},
    {PIMPR_EMAIL2, u'e', u"E-mail 2", false},
    {PIMPR_EMAIL3, u'e', u"E-mail 3", false},
    {PIMPR_IM1, u'i', u"Chat", false},
    {PIMPR_IM2, u'i', u"Chat 2", false},
    {PIMPR_IM3, u'i', u"Chat 3", false},
};

struct Labelled {
    CEPROPID id;
    const WCHAR* label;
};
constexpr Labelled kWork[] = {{PIMPR_COMPANY, u"Company"}, {PIMPR_DEPARTMENT, u"Department"},
                              {PIMPR_JOB_TITLE, u"Job"},   {PIMPR_OFFICE, u"Room"},
                              {PIMPR_MANAGER, u"Manager"}, {PIMPR_ASSISTANT, u"Assistant's name"}};
constexpr Labelled kPeople[] = {{PIMPR_WEBPAGE, u"Web page"},
                                {PIMPR_NICKNAME, u"Nickname"},
                                {PIMPR_SPOUSE, u"Partner"},
                                {PIMPR_CHILDREN, u"Children"}};
// The street, then city, state, postal code and country behind it.
constexpr Labelled kAddresses[] = {{PIMPR_HOME_STREET, u"Home address"},
                                   {PIMPR_BUSINESS_STREET, u"Work address"},
                                   {PIMPR_OTHER_STREET, u"Other address"}};
constexpr CEPROPID kNextPart = 0x00010000;
constexpr int kAddressParts = 5;

constexpr CEPROPID kNames[] = {PIMPR_TITLE, PIMPR_FIRST_NAME, PIMPR_MIDDLE_NAME, PIMPR_LAST_NAME,
                               PIMPR_SUFFIX};

// The texts of a contact by their ids.
class Texts {
public:
    explicit Texts(IItem& item);
    std::u16string Get(CEPROPID id) const {
        const auto found = m_texts.find(id);
        return found == m_texts.end() ? std::u16string() : found->second;
    }

private:
    std::map<CEPROPID, std::u16string> m_texts;
};

std::vector<CEPROPID> AllIds() {
    std::vector<CEPROPID> ids(std::begin(kNames), std::end(kNames));
    ids.push_back(PIMPR_FILEAS);
    for (const NumberKind& kind : kNumbers) ids.push_back(kind.id);
    for (const Labelled& field : kWork) ids.push_back(field.id);
    for (const Labelled& field : kPeople) ids.push_back(field.id);
    for (const Labelled& address : kAddresses)
        for (CEPROPID part = 0; part < kAddressParts; ++part) ids.push_back(address.id + part * kNextPart);
    return ids;
}

Texts::Texts(IItem& item) {
    const std::vector<CEPROPID> ids = AllIds();
    CEPROPVAL* values = nullptr;
    ULONG size = 0;
    if (FAILED(item.GetProps(ids.data(), 0, static_cast<WORD>(ids.size()), &values, &size, nullptr))) return;
    for (std::size_t i = 0; i < ids.size(); ++i)
        if (!(values[i].wFlags & CEDB_PROPNOTFOUND) && values[i].val.lpwstr)
            m_texts[ids[i]] = values[i].val.lpwstr;
    LocalFree(values);
}

void Append(std::u16string& text, const std::u16string& part, const WCHAR* between) {
    if (part.empty()) return;
    if (!text.empty()) text += between;
    text += part;
}

std::u16string FullName(const Texts& texts) {
    std::u16string name;
    if (texts.Get(PIMPR_FIRST_NAME).empty() && texts.Get(PIMPR_LAST_NAME).empty())
        return texts.Get(PIMPR_FILEAS);
    for (const CEPROPID id : kNames) Append(name, texts.Get(id), u" ");
    return name;
}

// Postal code and city share a line.
std::u16string AddressText(const Texts& texts, CEPROPID street) {
    const auto part = [&](int number) {
        return texts.Get(street + static_cast<CEPROPID>(number) * kNextPart);
    };
    std::u16string town = part(3), text = part(0);
    Append(town, part(1), u" ");
    for (const std::u16string& line : {town, part(2), part(4)}) Append(text, line, u"\n");
    return text;
}

// With the years since then.
std::u16string AnniversaryText(DATE date) {
    if (date >= kNoDay) return {};
    const auto day = static_cast<LONG>(date);
    const SYSTEMTIME then = ToSystemTime(date), now = ToSystemTime(Today());
    const bool ahead = now.wMonth < then.wMonth || (now.wMonth == then.wMonth && now.wDay < then.wDay);
    const int years = now.wYear - then.wYear - (ahead ? 1 : 0);
    if (years <= 0) return LongDate(day);
    return LongDate(day) + u" (" + Utf16(Plural(static_cast<std::size_t>(years), "year")) + u")";
}

void AddDates(CardText& card, IContact& contact) {
    DATE birthday = kNoDate, anniversary = kNoDate;
    contact.get_Birthday(&birthday);
    contact.get_Anniversary(&anniversary);
    card.Add(u"Birthday", AnniversaryText(birthday));
    card.Add(u"Anniversary", AnniversaryText(anniversary));
}

void AddNote(CardText& card, IContact& contact) {
    Bstr categories, note;
    if (SUCCEEDED(contact.get_Categories(categories.Out())))
        card.Add(u"Categories", std::u16string(categories.View()));
    if (SUCCEEDED(contact.get_Body(note.Out()))) card.Add(u"Note", LongText(note.View()));
}

} // namespace

const NumberKind* FindNumberKind(CEPROPID id) {
    const auto* found = std::ranges::find(kNumbers, id, &NumberKind::id);
    return found == std::end(kNumbers) ? nullptr : found;
}

CardText ContactCard(DWORD oid) {
    CardText card;
    card.titleLabel = u"Name";
    Com<IDispatch> found;
    if (!g_pOutlook || FAILED(g_pOutlook->GetItemFromOid(oid, found.Out()))) return card;
    const auto item = found.As<IItem>(IID_IItem);
    const auto contact = found.As<IContact>(IID_IContact);
    if (!item || !contact) return card;
    const Texts texts(*item.Get());
    card.title = FullName(texts);
    for (const Labelled& field : kWork) card.Add(field.label, texts.Get(field.id));
    for (const NumberKind& kind : kNumbers) card.Add(kind.label, texts.Get(kind.id));
    for (const Labelled& address : kAddresses) card.Add(address.label, AddressText(texts, address.id));
    AddDates(card, *contact.Get());
    for (const Labelled& field : kPeople) card.Add(field.label, texts.Get(field.id));
    AddNote(card, *contact.Get());
    return card;
}

} // namespace qn
