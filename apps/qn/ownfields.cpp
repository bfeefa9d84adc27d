#include "apps/qn/ownfields.h"

#include "NorvoUI/inkdocument.h"
#include "Platform/memory.h"
#include "apps/qn/saving.h"
#include "apps/qn/vcardfile.h"

namespace qn {

namespace {

constexpr const char* kNote = "NOTE";
constexpr const char* kProject = "PROJECT";
constexpr const WCHAR* kProjectProperty = u"QN_GTDProject";

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

CEPROPID TaskFields::Id(const WCHAR* property, WORD type, bool create) const {
    CEPROPID id = 0;
    const HRESULT result =
        m_store.App()->GetIDsFromNames(1, &property, create ? type | kCreateNamedProperty : 0, &id);
    if (create) Check(result);
    return FAILED(result) || id == kUnknownNamedProperty ? 0 : id;
}

void TaskFields::Add(icalcomponent* component, const Com<IItem>& bag) {
    for (const TaskValue& value : kTaskValues)
        if (const CEPROPID id = Id(value.property, value.type, false))
            AddOwn(component, value.name, StoredText(Property(bag, id), value));
    AddProject(component, bag);
}

void TaskFields::Set(const Com<IItem>& bag, const OwnValues& values) {
    for (const TaskValue& value : kTaskValues) {
        std::u16string text = Utf16(OwnText(values, value.name));
        const LONG number = OwnNumber(values, value.name).value_or(0);
        const bool isText = value.type == CEVT_LPWSTR;
        if (isText ? text.empty() || text.size() > kLongestText : number < value.least || number > value.most)
            continue;
        CEPROPVAL stored{};
        stored.propid = Id(value.property, value.type, true);
        if (isText)
            stored.val.lpwstr = text.data();
        else
            stored.val.lVal = number;
        Check(bag->SetProps(0, 1, &stored));
    }
    SetProject(bag, OwnText(values, kProject));
}

CTaskProjects& TaskFields::Projects() {
    if (!m_projects) m_projects.emplace().LoadProjects();
    return *m_projects;
}

void TaskFields::AddProject(icalcomponent* component, const Com<IItem>& bag) {
    const CEPROPID id = Id(kProjectProperty, CEVT_UI4, false);
    if (!id) return;
    const Property stored(bag, id);
    if (!stored.Value() || stored.Value()->val.ulVal == 0) return;
    if (const TASK_PROJECT* project = Projects().FindProjectbyID(stored.Value()->val.ulVal))
        AddOwn(component, kProject, Utf8(project->name.View()));
}

void TaskFields::SetProject(const Com<IItem>& bag, const std::string& name) {
    const std::u16string wide = Utf16(name);
    if (wide.empty() || wide.size() > kLongestText) return;
    CEPROPVAL stored{};
    stored.val.ulVal = Projects().CreateProject(wide.c_str());
    if (stored.val.ulVal == 0) return;
    stored.propid = Id(kProjectProperty, CEVT_UI4, true);
    Check(bag->SetProps(0, 1, &stored));
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
