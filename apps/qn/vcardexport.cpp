// Writes the contacts as cards (vCard 4.0).
#include "Platform/clock.h"
#include "Platform/files.h"
#include "apps/qn/vcardexport.h"
#include "apps/qn/vcardcontact.h"
#include "apps/qn/vcardfile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

namespace qn {

namespace {

constexpr std::size_t kLineBytes = 75;

// Long lines are folded, between characters.
std::string Folded(const std::string& line) {
    std::string text;
    std::size_t begin = 0;
    for (std::size_t room = kLineBytes; line.size() - begin > room; room = kLineBytes - 1) {
        std::size_t end = begin + room;
        while ((line[end] & 0xC0) == 0x80) --end;
        text += line.substr(begin, end - begin) + "\r\n ";
        begin = end;
    }
    return text + line.substr(begin) + "\r\n";
}

std::string Escaped(std::string_view text, std::string_view special = ",;") {
    std::string escaped;
    for (const char c : text) {
        if (c == '\n') {
            escaped += "\\n";
            continue;
        }
        if (c == '\r') continue;
        if (c == '\\' || special.find(c) != std::string_view::npos) escaped += '\\';
        escaped += c;
    }
    return escaped;
}

const char* PictureKind(const std::vector<BYTE>& bytes) {
    const std::string_view head(reinterpret_cast<const char*>(bytes.data()),
                                std::min<std::size_t>(bytes.size(), 4));
    if (head.starts_with("\xFF\xD8")) return "image/jpeg";
    if (head.starts_with("\x89PNG")) return "image/png";
    if (head.starts_with("GIF8")) return "image/gif";
    return head.starts_with("BM") ? "image/bmp" : "application/octet-stream";
}

class Card {
public:
    Card(const Com<IItem>& bag, IContact* item, Output& output)
        : m_bag(bag), m_item(item), m_output(output) {}
    bool ReadTexts();   // false: they can't be read
    bool ReadPicture(); // false: there is one that can't be read
    void Write(const std::string& uid);

private:
    std::string Text(CEPROPID field) const {
        const auto found = m_texts.find(field);
        return found == m_texts.end() ? std::string() : found->second;
    }
    void Line(const std::string& head, const std::string& value) {
        if (!value.empty()) m_output.Write(Folded(head + ":" + value));
    }
    void Parts(const std::string& head, std::initializer_list<std::string> parts);
    void WriteNames();
    void WritePhones();
    void WriteAddresses();
    void WriteDate(const char* name, DATE date);

    const Com<IItem>& m_bag;
    IContact* m_item;
    Output& m_output;
    std::map<CEPROPID, std::string> m_texts;
    std::vector<BYTE> m_picture;
};

bool Card::ReadTexts() {
    static const std::vector<CEPROPID> fields = VcardFields();
    CEPROPVAL* values = nullptr;
    ULONG size = 0;
    if (FAILED(m_bag->GetProps(fields.data(), 0, static_cast<WORD>(fields.size()), &values, &size, nullptr)))
        return false;
    for (std::size_t i = 0; i < fields.size(); ++i)
        if (!(values[i].wFlags & CEDB_PROPNOTFOUND) && values[i].val.lpwstr && *values[i].val.lpwstr)
            m_texts[fields[i]] = Utf8(values[i].val.lpwstr);
    LocalFree(values);
    return true;
}

bool Card::ReadPicture() {
    Com<IStream> stream;
    const HRESULT opened = m_bag->OpenProperty(PIMPR_PICTURE, GENERIC_READ, stream.Out());
    if (FAILED(opened)) return opened == E_NOTFOUND;
    ULONGLONG size = 0;
    if (FAILED(stream->GetSize(&size))) return false;
    std::vector<BYTE> bytes(static_cast<std::size_t>(size));
    ULONG read = 0;
    stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &read);
    if (read == bytes.size()) m_picture = std::move(bytes);
    return read == size;
}

// A structure, when any part of it says something.
void Card::Parts(const std::string& head, std::initializer_list<std::string> parts) {
    if (std::ranges::all_of(parts, &std::string::empty)) return;
    std::string value;
    for (const std::string& part : parts) value += (&part == parts.begin() ? "" : ";") + Escaped(part);
    Line(head, value);
}

// The name that lists show is told where it would not be made of the others again. No card is without FN.
void Card::WriteNames() {
    std::string full;
    for (const CEPROPID field :
         {PIMPR_TITLE, PIMPR_FIRST_NAME, PIMPR_MIDDLE_NAME, PIMPR_LAST_NAME, PIMPR_SUFFIX})
        if (const std::string text = Text(field); !text.empty()) full += (full.empty() ? "" : " ") + text;
    const bool named = !Text(PIMPR_LAST_NAME).empty() || !Text(PIMPR_FIRST_NAME).empty();
    const std::string fileAs = Text(PIMPR_FILEAS);
    if (!named && !fileAs.empty()) full = fileAs;
    if (full.empty()) full = m_texts.empty() ? "(no name)" : m_texts.begin()->second;
    Line("FN", Escaped(full));
    Parts("N", {Text(PIMPR_LAST_NAME), Text(PIMPR_FIRST_NAME), Text(PIMPR_MIDDLE_NAME), Text(PIMPR_TITLE),
                Text(PIMPR_SUFFIX)});
    if (Text(PIMPR_DEPARTMENT).empty())
        Line("ORG", Escaped(Text(PIMPR_COMPANY)));
    else
        Parts("ORG", {Text(PIMPR_COMPANY), Text(PIMPR_DEPARTMENT)});
    const std::string made = named ? DefaultFileAs(m_texts) : fileAs;
    for (const VcardText& one : VcardTexts()) {
        if (one.field == PIMPR_FILEAS && fileAs == made) continue;
        const bool isAddress = one.field == PIMPR_WEBPAGE;
        Line(one.name, Escaped(Text(one.field), isAddress ? "" : ",;"));
    }
}

// "TYPE=work,fax"; what cards know no word for is "x-car".
std::string TypesOf(std::string_view types) {
    std::string text = "TYPE=";
    for (const char* own : {"CAR", "RADIO", "ASSISTANT", "COMPANY"})
        if (types == own) text += "x-";
    for (const char c : types) text += c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return text;
}

void Card::WritePhones() {
    constexpr unsigned kHighHalf = 16;
    const Property preferred(m_bag, PIMPR_DEFAULT_NUMBER);
    const DWORD number = preferred.Value() ? preferred.Value()->val.ulVal : 0;
    std::vector<CEPROPID> done;
    for (const VcardPhone& one : VcardPhones()) {
        if (!*one.types || std::ranges::find(done, one.field) != done.end()) continue;
        done.push_back(one.field);
        const bool isPreferred = number && (number == one.field >> kHighHalf || number == one.field);
        Line("TEL;" + TypesOf(one.types) + (isPreferred ? ";PREF=1" : ""), Escaped(Text(one.field)));
    }
    for (const CEPROPID field : {PIMPR_EMAIL1, PIMPR_EMAIL2, PIMPR_EMAIL3})
        Line("EMAIL", Escaped(Text(field)));
    for (const CEPROPID field : {PIMPR_IM1, PIMPR_IM2, PIMPR_IM3}) {
        const std::string text = Text(field);
        const bool isAddress = text.find(':') != std::string::npos;
        if (!text.empty()) Line("IMPP", Escaped(isAddress ? text : "im:" + text, ""));
    }
}

void Card::WriteAddresses() {
    for (const VcardAddress& one : VcardAddresses()) {
        const auto part = [&](unsigned number) { return Text(AddressPart(one.street, number)); };
        const bool isOther = std::string_view(one.type) == "OTHER";
        Parts(isOther ? std::string("ADR") : "ADR;" + TypesOf(one.type),
              {"", "", part(0), part(1), part(2), part(3), part(4)});
    }
}

void Card::WriteDate(const char* name, DATE date) {
    if (date >= kNoDate) return;
    std::string day = IsoDay(static_cast<LONG>(date));
    std::erase(day, '-');
    Line(name, day);
}

void Card::Write(const std::string& uid) {
    m_output.Write("BEGIN:VCARD\r\nVERSION:4.0\r\n");
    Line("UID", Escaped(uid));
    WriteNames();
    WritePhones();
    WriteAddresses();
    WriteDate("BDAY", Get(m_item, &IContact::get_Birthday, kNoDate));
    WriteDate("ANNIVERSARY", Get(m_item, &IContact::get_Anniversary, kNoDate));
    std::string categories;
    for (const std::string& name : SplitCategories(TextOf(m_item, &IContact::get_Categories)))
        categories += (categories.empty() ? "" : ",") + Escaped(name);
    Line("CATEGORIES", categories);
    Line("NOTE", Escaped(NoteOf(m_item)));
    if (!m_picture.empty())
        Line("PHOTO", std::string("data:") + PictureKind(m_picture) + ";base64," + EncodeBase64(m_picture));
    m_output.Write("END:VCARD\r\n");
}

} // namespace

ExportTally ExportCards(Store& store, Output& output) {
    ExportTally tally;
    const unsigned unread = store.ForEach(olFolderContacts, [&](const Com<IDispatch>& item) {
        const auto contact = item.As<IContact>(IID_IContact);
        if (!contact) return;
        const Com<IItem> bag = BagOf(contact.Get());
        const auto oid = static_cast<CEOID>(Get(contact.Get(), &IContact::get_Oid));
        const auto complain = [&](const char* what) {
            ++tally.failed;
            std::fprintf(stderr, "qn: item %u: %s can't be read\n", oid, what);
        };
        Card card(bag, contact.Get(), output);
        if (!card.ReadTexts()) return complain("it");
        if (!card.ReadPicture()) complain("its picture");
        card.Write(store.UidOrNew(oid, bag));
        ++tally.written;
    });
    tally.failed += unread;
    return tally;
}

} // namespace qn
