#include "apps/qn/vcardcontact.h"

#include "Platform/civil.h"
#include "apps/qn/support.h"

#include <algorithm>
#include <cstdio>

namespace qn {

namespace {

// Lists read a text of up to so many characters; one of more would keep the whole contact out of them.
constexpr std::size_t kLongestText = 1000;
constexpr int kFirstYear = 1602;
constexpr int kLastYear = 4499;

// The same under the names that other programs give.
constexpr VcardText kOtherNames[] = {
    {"X-EVOLUTION-MANAGER", PIMPR_MANAGER}, {"X-EVOLUTION-ASSISTANT", PIMPR_ASSISTANT},
    {"X-EVOLUTION-SPOUSE", PIMPR_SPOUSE},   {"X-EVOLUTION-FILE-AS", PIMPR_FILEAS},
    {"X-MS-MANAGER", PIMPR_MANAGER},        {"X-MS-ASSISTANT", PIMPR_ASSISTANT},
};

// Messengers that older cards name by a property each.
constexpr const char* kMessengers[] = {"AIM",   "GADUGADU", "GOOGLE-TALK", "GROUPWISE", "GTALK",
                                       "ICQ",   "JABBER",   "MATRIX",      "MSN",       "QQ",
                                       "SKYPE", "TWITTER",  "YAHOO"};

// Said by others too, or only where the card comes from: not missed.
constexpr const char* kSpare[] = {"VERSION",
                                  "PRODID",
                                  "REV",
                                  "PROFILE",
                                  "CLIENTPIDMAP",
                                  "MAILER",
                                  "FN",
                                  "X-ABSHOWAS",
                                  "X-ABUID",
                                  "SOURCE",
                                  "X-ABLABEL",
                                  "NAME",
                                  "KIND",
                                  "BEGIN",
                                  "SORT-STRING",
                                  "X-ABADR",
                                  "TZ",
                                  "X-PHONETIC-FIRST-NAME",
                                  "X-PHONETIC-LAST-NAME"};

std::string Lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    return text;
}

// Without blanks at the ends.
std::string Trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\n");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\n") - first + 1);
}

void Join(std::string& text, const std::string& more, const char* between) {
    if (more.empty()) return;
    text += (text.empty() ? "" : between) + more;
}

bool HasTypes(const VcardProperty& property, std::string_view types) {
    while (!types.empty()) {
        const std::size_t comma = std::min(types.find(','), types.size());
        if (!property.HasType(types.substr(0, comma))) return false;
        types.remove_prefix(std::min(comma + 1, types.size()));
    }
    return true;
}

// How much a property is preferred, smaller first.
int Preference(const VcardProperty& property) {
    constexpr int kNone = 1000;
    if (property.HasType("PREF")) return 1;
    const int told = std::atoi(property.Parameter("PREF").c_str());
    return told > 0 ? std::min(told, kNone) : kNone;
}

// --- Dates --------------------------------------------------------------------------------------------------------

struct CardDate {
    int year = 0; // 0: not told
    int month = 0;
    int day = 0;
};

// 19850412, 1985-04-12, 1985-4-12, with or without a time behind; --0412 and --04-12. The rest is no date of a day.
std::optional<CardDate> ParseDate(const std::string& text) {
    CardDate date;
    int used = 0;
    const char* from = text.c_str();
    if (text.starts_with("--")) {
        if (std::sscanf(from, "--%2d-%2d%n", &date.month, &date.day, &used) != 2 &&
            std::sscanf(from, "--%2d%2d%n", &date.month, &date.day, &used) != 2)
            return std::nullopt;
    } else if (std::sscanf(from, "%4d-%2d-%2d%n", &date.year, &date.month, &date.day, &used) != 3 &&
               std::sscanf(from, "%4d%2d%2d%n", &date.year, &date.month, &date.day, &used) != 3) {
        return std::nullopt;
    }
    const char behind = from[used];
    if (behind != '\0' && behind != 'T' && behind != 't' && behind != ' ') return std::nullopt;
    return date;
}

bool IsReal(const CardDate& date) {
    return date.year >= kFirstYear && date.year <= kLastYear && date.month >= 1 && date.month <= 12 &&
           date.day >= 1 && date.day <= civil::DaysInMonth(date.year, date.month);
}

// --- The parts of a card --------------------------------------------------------------------------------------------

class Taker {
public:
    Taker(const Vcard& card, Contact& contact, VcardNotices& notices)
        : m_card(card), m_contact(contact), m_notices(notices) {}
    std::string Take();

private:
    using Property = VcardProperty;

    void TakeProperty(const Property& property);
    bool TakeText(const Property& property, std::span<const VcardText> texts);
    void TakeName(const Property& property);
    void TakeOrganization(const Property& property);
    void TakeCategories(const Property& property);
    void TakeRelated(const Property& property);
    void TakeMessenger(const Property& property);
    bool TakeOldMessenger(const Property& property);
    void TakeDate(const Property& property, std::optional<DATE>& day);
    void TakePicture(const Property& property);
    void TakePhones();
    void TakePhone(const Property& property, CEPROPID field);
    std::string PhoneText(const Property& property) const;
    void TakeAddress(const Property& property);
    void BreakName();
    void FillFileAs();

    std::vector<const Property*> Sorted(const char* name) const;
    std::string Plain(const Property& property) const {
        return Trimmed(PlainValue(property.value, m_card.IsOld()));
    }
    void Set(CEPROPID field, const std::string& text);
    void SetOneOf(std::span<const CEPROPID> fields, const std::string& text, const char* label);
    // A value that has no field left stands in the note.
    void PutInNote(const std::string& label, const std::string& text);
    bool Has(CEPROPID field) const { return m_contact.texts.contains(field); }
    void Unkept(const std::string& what) { ++m_contact.unkept[what]; }

    const Vcard& m_card;
    Contact& m_contact;
    VcardNotices& m_notices;
    std::map<std::string, std::string> m_labels; // that the person gave, by the group of their properties
    std::string m_name;                          // FN
    bool m_hasParts = false;                     // N, though it may be empty
    int m_preference = 1000;
};

void Taker::PutInNote(const std::string& label, const std::string& text) {
    Join(m_contact.leftover, label + ": " + text, "\n");
    Unkept("values in fields of their own (in the note now)");
}

void Taker::Set(CEPROPID field, const std::string& text) {
    if (text.empty()) return;
    const std::u16string wide = Utf16(text);
    if (wide.size() <= kLongestText) {
        m_contact.texts[field] = text;
        return;
    }
    const bool inCharacter = (wide[kLongestText] & 0xFC00) == 0xDC00; // the second half of one
    m_contact.texts[field] = Utf8(std::u16string_view(wide).substr(0, kLongestText - inCharacter));
    PutInNote("Whole", text);
}

void Taker::SetOneOf(std::span<const CEPROPID> fields, const std::string& text, const char* label) {
    if (text.empty()) return;
    for (const CEPROPID field : fields)
        if (!Has(field)) return Set(field, text);
    PutInNote(label, text);
}

std::vector<const VcardProperty*> Taker::Sorted(const char* name) const {
    std::vector<const Property*> found;
    for (const Property& property : m_card.properties)
        if (property.name == name) found.push_back(&property);
    std::ranges::stable_sort(found, {}, [](const Property* one) { return Preference(*one); });
    return found;
}

// Each part may be a list of names, which are one text here. The first name of several holds.
void Taker::TakeName(const Property& property) {
    constexpr CEPROPID kParts[] = {PIMPR_LAST_NAME, PIMPR_FIRST_NAME, PIMPR_MIDDLE_NAME, PIMPR_TITLE,
                                   PIMPR_SUFFIX};
    if (std::ranges::any_of(kParts, [&](CEPROPID field) { return Has(field); }))
        return Unkept("further names");
    const char separator = m_card.version >= 30 ? ',' : '\0';
    const auto parts = RawParts(property.value, ';', m_card.IsOld());
    for (std::size_t i = 0; i < parts.size() && i < std::size(kParts); ++i) {
        std::string text;
        for (const std::string& name : SplitValue(parts[i], separator, m_card.IsOld()))
            Join(text, Trimmed(name), " ");
        Set(kParts[i], text);
    }
}

void Taker::TakeOrganization(const Property& property) {
    const auto parts = SplitValue(property.value, ';', m_card.IsOld());
    if (Has(PIMPR_COMPANY)) return PutInNote("Company", Plain(property));
    Set(PIMPR_COMPANY, Trimmed(parts[0]));
    std::string department;
    for (std::size_t i = 1; i < parts.size(); ++i) Join(department, Trimmed(parts[i]), ", ");
    Set(PIMPR_DEPARTMENT, department);
}

void Taker::TakeCategories(const Property& property) {
    constexpr std::size_t kMost = 200;
    for (const std::string& part : SplitValue(property.value, ',', false)) {
        if (m_contact.categories.size() >= kMost) return Unkept("categories beyond two hundred of a contact");
        std::string name = Trimmed(part);
        // The store joins the names of an item with commas. Cards without a version escape those that separate.
        if (name.find(',') != std::string::npos && m_card.version != 0)
            Unkept("commas in category names (semicolons now)"), std::ranges::replace(name, ',', ';');
        for (const std::string& one : SplitValue(name, ',', false))
            if (const std::string clean = Trimmed(one);
                !clean.empty() &&
                std::ranges::find(m_contact.categories, clean) == m_contact.categories.end())
                m_contact.categories.push_back(clean);
    }
}

void Taker::TakeRelated(const Property& property) {
    const std::string text = Plain(property);
    if (text.starts_with("urn:")) return Unkept("relations to other cards");
    if (property.HasType("SPOUSE") && !Has(PIMPR_SPOUSE)) return Set(PIMPR_SPOUSE, text);
    if (property.HasType("CHILD")) {
        std::string children = Has(PIMPR_CHILDREN) ? m_contact.texts[PIMPR_CHILDREN] : "";
        if (children.size() + text.size() > kLongestText) return PutInNote("Child", text);
        Join(children, text, ", ");
        return Set(PIMPR_CHILDREN, children);
    }
    PutInNote("Related", text);
}

constexpr CEPROPID kImFields[] = {PIMPR_IM1, PIMPR_IM2, PIMPR_IM3};
constexpr CEPROPID kTitleFields[] = {PIMPR_JOB_TITLE};
constexpr CEPROPID kMailFields[] = {PIMPR_EMAIL1, PIMPR_EMAIL2, PIMPR_EMAIL3};

// An address of no known messenger is "im:..." in cards; contacts have it bare.
void Taker::TakeMessenger(const Property& property) {
    const std::string text = Plain(property);
    SetOneOf(kImFields, text.starts_with("im:") ? text.substr(3) : text, "IM");
}

// "X-SKYPE:joe", which is "skype:joe"; and "X-IM;1:joe".
bool Taker::TakeOldMessenger(const Property& property) {
    if (property.name == "X-IM" || property.name == "X-MS-IMADDRESS") return TakeMessenger(property), true;
    for (const char* messenger : kMessengers)
        if (property.name == std::string("X-") + messenger)
            return SetOneOf(kImFields, Lower(messenger) + ":" + Plain(property), "IM"), true;
    return false;
}

void Taker::TakeDate(const Property& property, std::optional<DATE>& day) {
    const std::string text = Plain(property);
    if (text.empty()) return;
    if (day == kNoDate) day.reset();
    const auto date = ParseDate(text);
    const std::string omitted = property.Parameter("X-APPLE-OMIT-YEAR");
    const bool noYear = date && (date->year == 0 || omitted == std::to_string(date->year));
    if (noYear)
        return m_notices.Add(property.line, property.name + ": a date without a year: left out", false);
    if (!date || !IsReal(*date))
        return m_notices.Add(property.line,
                             property.name + ": \"" + Printable(text.substr(0, 40)) + "\" is no date");
    day = static_cast<DATE>(civil::DaysFromCivil(date->year, date->month, date->day) - civil::kDaysTo1899);
}

// The bytes of a picture's file stand in the card, in base64; what is elsewhere stays there.
void Taker::TakePicture(const Property& property) {
    std::optional<std::string>& picture = m_contact.picture;
    if (picture && !picture->empty()) return Unkept("further pictures");
    if (property.isBroken) return picture.reset(); // which was told
    if (property.isEncoded || property.value.empty()) {
        picture = property.value;
        return;
    }
    picture.reset();
    const std::size_t comma = property.value.find(',');
    std::string head = Upper(std::string_view(property.value).substr(0, std::min<std::size_t>(comma, 100)));
    std::erase(head, '\\'); // some escape the comma
    if (!head.starts_with("DATA:") || !head.ends_with(";BASE64"))
        return Unkept("pictures that are elsewhere");
    if (std::string bytes; DecodeBase64(std::string_view(property.value).substr(comma + 1), bytes))
        picture = std::move(bytes);
    else
        m_notices.Add(property.line, "PHOTO: base64 that is none");
}

// Each field, the most special first, takes the first number that fits it.
void Taker::TakePhones() {
    auto phones = Sorted("TEL");
    std::erase_if(phones, [&](const Property* phone) { return PhoneText(*phone).empty(); });
    for (const VcardPhone& one : VcardPhones()) {
        const auto fits = [&](const Property* phone) {
            return phone->HasType("FAX") == std::string_view(one.types).ends_with("FAX") &&
                   HasTypes(*phone, one.types);
        };
        const auto found = Has(one.field) ? phones.end() : std::ranges::find_if(phones, fits);
        if (found == phones.end()) continue;
        TakePhone(**found, one.field);
        phones.erase(found);
    }
    for (const Property* phone : phones) PutInNote(phone->HasType("FAX") ? "Fax" : "Tel", PhoneText(*phone));
}

// A number, or as "tel:+49-30-1;ext=2".
std::string Taker::PhoneText(const Property& property) const {
    constexpr std::string_view kExtension = ";ext=";
    std::string text = Plain(property);
    if (Upper(std::string_view(text).substr(0, 4)) != "TEL:") return text;
    const std::size_t extension = text.find(kExtension);
    std::string number = text.substr(4, text.find(';') - 4);
    if (extension == text.npos) return number;
    const std::size_t begin = extension + kExtension.size();
    return number + " x" + text.substr(begin, text.find(';', begin) - begin);
}

void Taker::TakePhone(const Property& property, CEPROPID field) {
    Set(field, PhoneText(property));
    if (property.HasType("FAX") || Preference(property) >= m_preference) return;
    m_preference = Preference(property);
    m_contact.preferred = field;
}

// Box, extended address, street, city, state, postal code, country: the first three are the street here.
void Taker::TakeAddress(const Property& property) {
    auto parts = SplitValue(property.value, ';', m_card.IsOld());
    constexpr std::size_t kStreet = 2;
    constexpr std::size_t kAll = 7;
    parts.resize(std::max(parts.size(), kAll));
    std::string street = Trimmed(parts[kStreet]);
    Join(street, Trimmed(parts[1]), "\n");
    Join(street, Trimmed(parts[0]), "\n");
    const auto isFree = [&](CEPROPID first) {
        for (unsigned part = 0; part < 5; ++part)
            if (Has(AddressPart(first, part))) return false;
        return true;
    };
    for (const VcardAddress& one : VcardAddresses()) {
        const bool isTyped = property.HasType("HOME") || property.HasType("WORK");
        const bool isOther = std::string_view(one.type) == "OTHER";
        if ((isTyped ? !property.HasType(one.type) : !isOther) || !isFree(one.street)) continue;
        Set(one.street, street);
        for (unsigned part = 1; part < 5; ++part)
            Set(AddressPart(one.street, part), Trimmed(parts[kStreet + part]));
        return;
    }
    std::string text = street;
    for (std::size_t i = kStreet + 1; i < kAll; ++i) Join(text, Trimmed(parts[i]), ", ");
    if (!text.empty()) PutInNote("Address", text);
}

bool Taker::TakeText(const Property& property, std::span<const VcardText> texts) {
    const auto found = std::ranges::find(texts, property.name, &VcardText::name);
    if (found == texts.end()) return false;
    const std::string text = Plain(property);
    if (Has(found->field) && !text.empty())
        PutInNote(property.name, text);
    else
        Set(found->field, text);
    return true;
}

void Taker::TakeProperty(const Property& property) {
    const std::string& name = property.name;
    m_hasParts = m_hasParts || name == "N";
    if (name == "N") return TakeName(property);
    if (name == "FN") m_name = m_name.empty() ? Plain(property) : m_name;
    if (name == "UID") m_contact.uid = Plain(property);
    if (name == "REV") m_contact.revision = Plain(property);
    for (const char* later : {"UID", "TEL", "EMAIL", "ADR", "IMPP", "ROLE"})
        if (name == later) return;
    if (name == "ORG") return TakeOrganization(property);
    if (name == "NOTE") return Join(m_contact.note, Plain(property), "\n\n");
    if (name == "CATEGORIES") return TakeCategories(property);
    if (name == "PHOTO") return TakePicture(property);
    if (name == "BDAY") return TakeDate(property, m_contact.birthday);
    const bool isAnniversary = name == "ANNIVERSARY" || name == "X-ANNIVERSARY" ||
                               name == "X-EVOLUTION-ANNIVERSARY" || name == "X-MS-ANNIVERSARY";
    const auto label = m_labels.find(property.group);
    if (isAnniversary || (name == "X-ABDATE" && (label == m_labels.end() ||
                                                 label->second.find("ANNIVERSARY") != std::string::npos)))
        return TakeDate(property, m_contact.anniversary);
    if (name == "RELATED") return TakeRelated(property);
    if (TakeText(property, VcardTexts()) || TakeText(property, kOtherNames) || TakeOldMessenger(property))
        return;
    if (std::ranges::find(kSpare, name) != std::end(kSpare)) return;
    Unkept(name.starts_with("X-") ? "values private to other programs (X-...)" : name.substr(0, 40));
}

// A card may tell the full name alone. Of one who belongs to a company lists would then show the company.
void Taker::BreakName() {
    const auto company = m_contact.texts.find(PIMPR_COMPANY);
    if (m_hasParts || company == m_contact.texts.end() || company->second == m_name) return;
    const std::size_t blank = m_name.rfind(' ');
    Set(PIMPR_FIRST_NAME, Trimmed(m_name.substr(0, blank)));
    if (blank != std::string::npos) Set(PIMPR_LAST_NAME, m_name.substr(blank + 1));
}

// The name that lists show: what the card tells, else made from the parts, else any word that tells who it is.
void Taker::FillFileAs() {
    auto& texts = m_contact.texts;
    if (!m_name.empty() && m_card.version == 0 && !Has(PIMPR_FILEAS)) Set(PIMPR_FILEAS, m_name);
    if (Has(PIMPR_FILEAS)) return;
    const bool named = Has(PIMPR_LAST_NAME) || Has(PIMPR_FIRST_NAME);
    Set(PIMPR_FILEAS, named || m_name.empty() ? DefaultFileAs(texts) : m_name);
    for (const CEPROPID field :
         {PIMPR_NICKNAME, PIMPR_EMAIL1, PIMPR_MOBILE_TEL, PIMPR_HOME_TEL, PIMPR_BUSINESS_TEL})
        if (!Has(PIMPR_FILEAS) && Has(field)) texts[PIMPR_FILEAS] = texts[field];
}

std::string Taker::Take() {
    m_contact.line = m_card.line;
    for (const Property& property : m_card.properties)
        if (property.name == "X-ABLABEL" && !property.group.empty())
            m_labels[property.group] = Upper(Plain(property));
    for (const Property& property : m_card.properties) {
        if (property.name.ends_with("KIND") && Upper(property.value) == "GROUP") return "a group of cards";
        TakeProperty(property);
    }
    TakePhones();
    for (const Property* mail : Sorted("EMAIL")) SetOneOf(kMailFields, Plain(*mail), "E-mail");
    for (const Property* address : Sorted("ADR")) TakeAddress(*address);
    for (const Property* messenger : Sorted("IMPP")) TakeMessenger(*messenger);
    for (const Property* role : Sorted("ROLE")) SetOneOf(kTitleFields, Plain(*role), "Role");
    BreakName();
    FillFileAs();
    return Has(PIMPR_FILEAS) ? std::string() : "a card that names nobody";
}

} // namespace

std::string TakeContact(const Vcard& card, Contact& contact, VcardNotices& notices) {
    return Taker(card, contact, notices).Take();
}

} // namespace qn
