#include "apps/qn/ownfields.h"

#include "NorvoUI/inkdocument.h"
#include "Platform/memory.h"
#include "apps/qn/saving.h"
#include "apps/qn/vcardfile.h"

namespace qn {

namespace {

constexpr const char* kNote = "NOTE";

// A number goes and comes when it is one of these.
struct TaskValue {
    const WCHAR* property;
    WORD type;
    const char* name;
    LONG least = 1;
    LONG most = 1;
};
// A percentage of 101 is a state that is no percentage.
constexpr TaskValue kTaskValues[] = {
    {u"QN_GTDContext", CEVT_LPWSTR, "CONTEXT"}, {u"QN_GTDStatus", CEVT_UI2, "STATUS", 1, 10},
    {u"QN_GTDStarred", CEVT_BOOL, "STARRED"},   {u"QN_Tracked", CEVT_BOOL, "TRACKED"},
    {u"QN_IconName", CEVT_LPWSTR, "ICON"},      {u"QN_TaskPercentStatus", CEVT_UI4, "PERCENT", 101, 101},
};
constexpr std::size_t kLongestText = 1000; // what readers of such values have room for

LONG NumberOf(const CEVALUNION& stored, WORD type) {
    if (type == CEVT_UI2) return stored.uiVal;
    return type == CEVT_BOOL ? stored.boolVal != 0 : stored.lVal;
}

std::string StoredText(const Property& stored, const TaskValue& value) {
    if (!stored.Value()) return {};
    if (value.type == CEVT_LPWSTR) return stored.Text();
    const LONG number = NumberOf(stored.Value()->val, value.type);
    return number >= value.least && number <= value.most ? std::to_string(number) : std::string();
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
        const bool isText = value.type == CEVT_LPWSTR;
        if (isText ? text.empty() || text.size() > kLongestText : number < value.least || number > value.most)
            continue;
        CEPROPVAL stored{};
        Check(store.App()->GetIDsFromNames(1, &value.property, value.type | kCreateNamedProperty,
                                           &stored.propid));
        if (isText)
            stored.val.lpwstr = text.data();
        else
            stored.val.lVal = number;
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
