#include "apps/pages/contactsdata.h"

#include "NorvoTools/CStr.h"
#include "NorvoTools/registryfunctions.h"
#include "QNWorkerClass/contactsrecord.h"
#include "QNWorkerClass/quickfind.h"

#include <algorithm>

namespace qn {

namespace {

// The engine counts the keys of a telephone from the one with A, B and C; those without letters stand for digits.
std::u16string EngineKeys(std::u16string_view typed) {
    std::u16string keys;
    for (const WCHAR key : typed)
        keys += key >= u'2' && key <= u'9' ? static_cast<WCHAR>(key - 2) : key == u' ' ? key : u'#';
    return keys;
}

// Calls always: of them the engine's quick find wants the whole name or number.
bool FindsInAllFields() {
    return ReadRegistryWithDefault(kContactView, kContactFindAll, 0) != 0 ||
           ReadRegistryWithDefault(kContactView, kContactFormat, kDisplayCompanyStyle) == kDisplayCallLog;
}

} // namespace

ContactsData::ContactsData(std::function<void()> changed)
    : ListData(std::move(changed), {kContactsDb}), m_known{{{&Shown()}, {&Loading()}}} {}

ContactsData::Knowledge& ContactsData::KnowledgeOf(const CContactsThread& thread) {
    return *std::ranges::find(m_known, &thread, &Knowledge::thread);
}

void ContactsData::Forget() {
    for (Knowledge& known : m_known) known.current = false;
}

void ContactsData::Warm() {
    if (IsLoading() || KnowledgeOf(Loading()).current) return;
    m_warmNext = true;
    Reload();
}

void ContactsData::Prepare() {
    CContactsThread& thread = Loading();
    Knowledge& known = KnowledgeOf(thread);
    m_warming = std::exchange(m_warmNext, false);
    if (!std::exchange(known.current, true)) thread.ClearCatCache();
    if (known.categories != Categories()) {
        known.categories = Categories();
        thread.SetCategoryRestrict(false); // or the rows that pass would be those of the run before
    }
    m_loadingText = m_text;
    const bool all = FindsInAllFields();
    const bool keypad = !all && IsKeypadText(m_text.c_str());
    thread.SetCompareString((keypad ? EngineKeys(m_text) : m_text).c_str(), all,
                            keypad ? kFindKeypad : kFindQuick);
    TellGroups(thread);
}

void ContactsData::Turn() {
    ListData::Turn();
    m_shownText = m_loadingText;
    m_turned = true;
}

// --- Groups -------------------------------------------------------------------------------------------------------

// A thread knows them by a header of this label.
void ContactsData::TellGroups(CContactsThread& thread) const {
    for (const auto& [label, open] : m_groups) {
        const std::unique_ptr<DATACONTACTS> header(new (nullptr) DATACONTACTS(nullptr));
        if (!header) return;
        header->m_szFileAs = AllocCSTR(label.c_str());
        thread.SetGroupHeaderOpen(header.get(), open);
    }
}

void ContactsData::OpenGroup(DATACONTACTS& header, bool open) {
    m_groups[std::u16string(CSTRView(header.m_szFileAs))] = open;
    Change([&](CContactsThread& thread) {
        thread.SetGroupHeaderOpen(&header, open);
        const auto id = static_cast<LONG>(header.m_dwGroupId);
        if (!open) return thread.TreeDeleteList(id);
        LONG place = thread.GetList().GetBase();
        for (const DATACONTACTS* row : thread.GetList()) {
            if (row == &header) break;
            ++place;
        }
        thread.TreeAddList(id, place, false);
    });
}

void ContactsData::OpenAllGroups(bool open) {
    for (const DATACONTACTS* row : Shown().GetList())
        if (row->m_bGroupHeader) m_groups[std::u16string(CSTRView(row->m_szFileAs))] = open;
}

} // namespace qn
