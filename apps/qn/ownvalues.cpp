#include "apps/qn/ownvalues.h"

#include "NorvoUI/inkdocument.h"
#include "Platform/memory.h"
#include "apps/qn/saving.h"
#include "apps/qn/vcardfile.h"

#include <charconv>
#include <cstring>

namespace qn {

namespace {

constexpr std::string_view kPrefix = "X-QN-";
constexpr const char* kNote = "NOTE";

struct TaskValue {
    const WCHAR* property;
    WORD type;
    const char* name;
};
constexpr TaskValue kTaskValues[] = {
    {u"QN_GTDContext", CEVT_LPWSTR, "CONTEXT"},     {u"QN_GTDStatus", CEVT_UI2, "STATUS"},
    {u"QN_GTDStarred", CEVT_BOOL, "STARRED"},       {u"QN_Tracked", CEVT_BOOL, "TRACKED"},
    {u"QN_TaskPercentStatus", CEVT_UI4, "PERCENT"}, {u"QN_IconName", CEVT_LPWSTR, "ICON"},
};
constexpr ULONG kFull = 100; // a percentage above it is a state of its own

std::string StoredText(const Property& stored, const TaskValue& value) {
    if (!stored.Value()) return {};
    if (value.type == CEVT_LPWSTR) return stored.Text();
    const CEVALUNION& number = stored.Value()->val;
    if (value.type == CEVT_UI4) return number.ulVal > kFull ? std::to_string(number.ulVal) : std::string();
    if (value.type == CEVT_UI2) return number.uiVal ? std::to_string(number.uiVal) : std::string();
    return number.boolVal ? "1" : "";
}

// Whether plain text says less than the note does.
bool IsMoreThanText(const CEBLOB& note) {
    const UINT form = GetBlobFormat(note.lpb, note.dwCount);
    if (form != kNoteRich && form != kNoteInk) return false;
    InkDocument document, plain;
    if (!document.Read({note.lpb, note.dwCount}, form)) return true;
    plain.Append(document.GetPlainText(), InkFormat{});
    return !document.GetBlocks().empty() || document.Write(kNoteRich) != plain.Write(kNoteRich);
}

} // namespace

void AddOwn(icalcomponent* component, const char* name, const std::string& value) {
    if (value.empty()) return;
    icalproperty* property = icalproperty_new_x(value.c_str());
    icalproperty_set_x_name(property, (std::string(kPrefix) + name).c_str());
    icalcomponent_add_property(component, property);
}

bool TakeOwn(icalproperty* property, OwnValues& values) {
    const char* name = icalproperty_get_x_name(property);
    if (!name || !std::string_view(name).starts_with(kPrefix)) return false;
    if (const char* value = icalproperty_get_x(property)) values.emplace(name + kPrefix.size(), value);
    return true;
}

std::string OwnText(const OwnValues& values, std::string_view name) {
    const auto found = values.find(name);
    return found == values.end() ? std::string() : found->second;
}

std::optional<LONG> OwnNumber(const OwnValues& values, std::string_view name) {
    const std::string text = OwnText(values, name);
    LONG number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || stop != text.data() + text.size()) return std::nullopt;
    return number;
}

void AddTaskValues(icalcomponent* component, Store& store, const Com<IItem>& bag) {
    for (const TaskValue& value : kTaskValues) {
        CEPROPID id = 0;
        if (FAILED(store.App()->GetIDsFromNames(1, &value.property, 0, &id)) || id == kUnknownNamedProperty)
            continue;
        AddOwn(component, value.name, StoredText(Property(bag, id), value));
    }
}

void SetTaskValues(Store& store, const Com<IItem>& bag, const OwnValues& values) {
    for (const TaskValue& value : kTaskValues) {
        std::u16string text = Utf16(OwnText(values, value.name));
        const LONG number = OwnNumber(values, value.name).value_or(0);
        if (value.type == CEVT_LPWSTR ? text.empty() : number <= 0 || number > 0xFFFF) continue;
        CEPROPVAL stored{};
        Check(store.App()->GetIDsFromNames(1, &value.property, value.type | kCreateNamedProperty,
                                           &stored.propid));
        if (value.type == CEVT_LPWSTR)
            stored.val.lpwstr = text.data();
        else
            stored.val.lVal = value.type == CEVT_BOOL ? 1 : number;
        Check(bag->SetProps(0, 1, &stored));
    }
}

void AddNote(icalcomponent* component, const CEBLOB& note) {
    const std::string text = NoteText(note);
    if (!text.empty()) icalcomponent_add_property(component, icalproperty_new_description(text.c_str()));
    if (note.lpb && IsMoreThanText(note)) AddOwn(component, kNote, EncodeBase64({note.lpb, note.dwCount}));
}

std::vector<BYTE> TakeNote(const std::string& text, const OwnValues& values) {
    std::string bytes;
    if (DecodeBase64(OwnText(values, kNote), bytes) && !bytes.empty()) {
        std::vector<BYTE> note(bytes.begin(), bytes.end());
        if (NoteText({static_cast<DWORD>(note.size()), note.data()}) == text) return note;
    }
    return NoteBytes(text);
}

} // namespace qn
