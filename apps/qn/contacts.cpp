// The list of contacts: a real contacts thread loads it, and each row is filled as it is printed.
#include "QNWorkerClass/contactsthread.h"
#include "apps/qn/choice.h"
#include "apps/qn/client.h"
#include "apps/qn/commands.h"
#include "apps/qn/json.h"
#include "apps/qn/options.h"
#include "apps/qn/store.h"
#include "apps/qn/viewkey.h"

#include <cstdio>

namespace qn {

namespace {

constexpr const WCHAR* kContactView = u"Software\\Norvo\\Quillonary\\CV";

constexpr OptionRule kRules[] = {
    {"--format", true}, {"--find", true},    {"--full", false},
    {"--keypad", true}, {"--closed", false}, {"--json", false},
};

constexpr Choice kFormats[] = {
    {"first", kDisplayFirstLast},   {"last", kDisplayLastFirst},      {"file-as", kDisplayFileAs},
    {"company", kDisplayByCompany}, {"category", kDisplayByCategory}, {"department", kDisplayByKey7},
    {"city", kDisplayByKey8},       {"state", kDisplayByKey9},        {"country", kDisplayByKey10},
    {"recent", kDisplayRecent},     {"calls", kDisplayCallLog},
};

void PrintJson(DATACONTACTS& row, ContactsDisplay format, Store& store) {
    const bool group = row.m_bGroupHeader != 0;
    JsonLine json;
    json.Text("kind", group ? "group" : "contact").Number("oid", row.m_oid);
    json.Text("uid", row.m_oid == 0 ? std::string() : store.Uid(row.m_oid));
    json.Text("name", group ? TextOf(row.m_szFileAs) : TextOf(row.GetNameDisplay(format)));
    json.Text("first", TextOf(row.m_szFirstName)).Text("last", TextOf(row.m_szLastName));
    json.Text("company", TextOf(row.m_szCompany)).Text("fileas", TextOf(row.m_szFileAs));
    json.Text("key", TextOf(row.m_szGroupKey)).Text("line", TextOf(row.m_szExtraLine));
    json.Number("property", row.m_dwExtraProperty)
        .Number("sim", row.m_dwSimNumber)
        .Number("group", row.m_dwGroupId);
    json.Number("count", row.m_lCount).Bool("open", row.m_bOpen).Bool("link", row.m_bHasLink);
    json.Bool("journal", row.m_bHasJournalLink)
        .Bool("note", row.m_bHasNote)
        .Bool("picture", row.m_bHasPicture);
    json.Texts("categories", SplitCategories(TextOf(row.m_szCategories))).Text("icon", TextOf(row.m_szIcon));
    std::puts(json.Done().c_str());
}

void PrintText(DATACONTACTS& row, ContactsDisplay format) {
    if (row.m_bGroupHeader) {
        std::printf("%s %s\n", Printable(TextOf(row.m_szFileAs)).c_str(), TextOf(row.m_szExtraLine).c_str());
        return;
    }
    std::string text = row.m_dwGroupId ? "  " : "";
    text += Printable(TextOf(row.GetNameDisplay(format)));
    if (row.m_szExtraLine && *row.m_szExtraLine) text += "  " + Printable(Utf8(row.m_szExtraLine));
    if (row.m_szCategories && *row.m_szCategories) text += "  [" + Printable(Utf8(row.m_szCategories)) + "]";
    if (row.m_bHasNote) text += "  (note)";
    std::puts(text.c_str());
}

void PrintRows(CContactsThread& thread, Store& store, bool json) {
    const ContactsDisplay format = thread.GetContactsDisplay();
    for (DATACONTACTS* row : thread.GetList()) {
        if (!row->m_bFilled && row->m_oid != 0) thread.FillContactInfo(row);
        json ? PrintJson(*row, format, store) : PrintText(*row, format);
    }
}

// Headers are closed until somebody opens them; true when there were any.
bool OpenGroups(CContactsThread& thread) {
    bool any = false;
    for (DATACONTACTS* row : thread.GetList()) {
        if (!row->m_bGroupHeader || row->m_bOpen) continue;
        thread.SetGroupHeaderOpen(row, true);
        any = true;
    }
    return any;
}

} // namespace

int ContactsCommand(const Words& words) {
    const Options options("contacts", words, kRules);
    if (!options.Rest().empty()) Usage("contacts: what is " + options.Rest()[0] + "?");
    if (options.Has("--find") && options.Has("--keypad"))
        Usage("contacts: --find and --keypad don't go together");
    const std::u16string keys = Utf16(options.Get("--keypad"));
    if (options.Has("--keypad") && keys.find_first_not_of(u"0123456789# ") != keys.npos)
        Usage("contacts: --keypad takes digits, blanks and #");
    ViewKey view(kContactView);
    if (const auto format = Wanted("contacts", options, "--format", kFormats))
        view.Set(u"DisplayFormat", *format);
    Store store;
    CContactsThread thread;
    thread.Override(view.Get());
    thread.SettingChange();
    if (options.Has("--find"))
        thread.SetCompareString(Utf16(options.Get("--find")).c_str(), options.Has("--full"), kFindQuick);
    if (options.Has("--keypad")) thread.SetCompareString(keys.c_str(), false, kFindKeypad);
    Client client([](WPARAM, LPARAM) {});
    thread.m_hClientWnd = client.Window();
    client.Run(thread);
    if (!options.Has("--closed") && OpenGroups(thread)) client.Run(thread);
    PrintRows(thread, store, options.Has("--json"));
    return kExitDone;
}

} // namespace qn
