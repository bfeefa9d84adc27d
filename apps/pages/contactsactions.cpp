// What is done in the list of contacts: with one of them, and with the whole.
#include "NorvoTools/registryfunctions.h"
#include "Platform/phone.h"
#include "QNWorkerClass/recentcontacts.h"
#include "apps/pages/changes.h"
#include "apps/pages/contactcard.h"
#include "apps/pages/contactrow.h"
#include "apps/pages/contactsview.h"
#include "apps/pages/pagetext.h"

#include <memory>

namespace qn {

namespace {

struct Format {
    const WCHAR* word; // null: a line between two groups of them
    ContactsDisplay format;
};
constexpr Format kFormats[] = {{u"By first name", kDisplayFirstLast},
                               {u"By last name", kDisplayLastFirst},
                               {u"By file-as name", kDisplayFileAs},
                               {nullptr, kDisplayLookUp},
                               {u"By company", kDisplayByCompany},
                               {u"By category", kDisplayByCategory},
                               {u"By department", kDisplayByKey7},
                               {u"By city", kDisplayByKey8},
                               {u"By state", kDisplayByKey9},
                               {u"By country", kDisplayByKey10},
                               {nullptr, kDisplayLookUp},
                               {u"Used last", kDisplayRecent},
                               {u"Calls", kDisplayCallLog}};

} // namespace

// --- Names and groups ---------------------------------------------------------------------------------------------

std::vector<MenuRow> ContactsView::FormatRows() {
    const ContactsDisplay now = m_data.Shown().GetContactsDisplay();
    std::vector<MenuRow> rows;
    for (const Format& one : kFormats) {
        const ContactsDisplay format = one.format;
        rows.push_back(one.word
                           ? MenuRow{one.word, [this, format] { SetFormat(format); }, true, format == now}
                           : MenuRow{});
    }
    rows.push_back({});
    for (const bool open : {true, false}) {
        const auto act = [this, open] {
            m_data.OpenAllGroups(open);
            m_data.Reload();
        };
        if (IsGrouped()) rows.push_back({open ? u"Open all groups" : u"Close all groups", act});
    }
    const bool all = ReadRegistryWithDefault(kContactView, kContactFindAll, 0) != 0;
    const auto turn = [this, all] {
        SetToRegistry(HKEY_CURRENT_USER, kContactView, kContactFindAll, all ? 0 : 1);
        m_data.Reload();
    };
    rows.push_back({u"Find in all fields", turn, true, all});
    return rows;
}

void ContactsView::SetFormat(ContactsDisplay format) {
    SetToRegistry(HKEY_CURRENT_USER, kContactView, kContactFormat, static_cast<DWORD>(format));
    m_data.Reload();
}

// --- What is done with a contact ----------------------------------------------------------------------------------

std::u16string ContactsView::NumberToCall(std::size_t row) const {
    return IsItem(row) ? PhoneNumber(Row(row)) : std::u16string();
}

std::u16string ContactsView::NameOf(std::size_t row) const {
    return IsCall(row) ? NumberToCall(row) : Row(row).GetNameDisplay(m_data.Shown().GetContactsDisplay());
}

void ContactsView::OpenRow(std::size_t row) {
    if (!IsCall(row)) MarkRecentContact(Row(row).m_oid);
    ListView::OpenRow(row);
}

void ContactsView::Call(std::size_t row) {
    const std::u16string number = NumberToCall(row), name = NameOf(row);
    if (!IsCall(row)) MarkRecentContact(Row(row).m_oid);
    PHONEMAKECALLINFO call{};
    call.cbSize = kPhoneMakeCallSize;
    call.pszDestAddress = number.c_str();
    call.pszCalledParty = name.c_str();
    const LONG result = PhoneMakeCall(&call);
    if (result == 0)
        Tell(u"Calling ", name);
    else
        Tell(result == E_NOINTERFACE ? u"There is no telephone here. The number: "
                                     : u"No call could be made to ",
             number);
}

std::vector<MenuRow> ContactsView::ItemMenu(std::size_t row) {
    const std::u16string number = NumberToCall(row);
    std::vector<MenuRow> rows{{u"Open\tEnter", [this] { OpenCurrent(); }}};
    const auto call = [this, id = RowId(row)] {
        if (const std::size_t now = FindRow(id); now != kNoRow) Call(now);
    };
    if (!number.empty()) rows.push_back({u"Call " + Shortened(number, 30), call});
    rows.push_back({u"Delete ...\tDelete", [this] { DeleteCurrent(); }, CanDelete()});
    return rows;
}

bool ContactsView::CanDelete() const {
    const std::size_t row = CurrentItem();
    return row != kNoRow && !IsCall(row);
}

// A message box serves messages meanwhile: the rows may be others when it is answered.
void ContactsView::DeleteCurrent() {
    if (!CanDelete()) return;
    const std::size_t row = CurrentItem();
    const DWORD oid = Row(row).m_oid;
    const std::u16string name = NameOf(row);
    if (!AskToDelete(u"Delete \"" + Shortened(name) + u"\"?\n\nYou can undo it.", u"Delete_Contact")) return;
    Com<IItem> twin;
    const HRESULT result = DeleteItem(oid, twin);
    if (FAILED(result))
        COutlook::DisplayPIMSaveError(result);
    else
        Tell(u"Deleted: ", name,
             [kept = std::make_shared<Com<IItem>>(std::move(twin))] { return (*kept)->Save(); });
    Reload();
}

} // namespace qn
