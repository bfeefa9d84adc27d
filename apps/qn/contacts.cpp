// The list of contacts: a real contacts thread loads it, and each row is filled as it is printed.
#include "QNWorkerClass/contactsthread.h"
#include "apps/qn/choice.h"
#include "apps/qn/client.h"
#include "apps/qn/commands.h"
#include "apps/qn/json.h"
#include "apps/qn/options.h"
#include "apps/qn/store.h"
#include "apps/qn/viewkey.h"

#include <algorithm>
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

const char* KindOf(const DATACONTACTS& row) {
    return row.m_bGroupHeader ? "group" : row.m_oid == 0 ? "call" : "contact";
}

// "Ada  outgoing 3/5/10 10:00 AM   1 h 2 m" of the mark-up of a call.
std::string CallText(std::string_view markup) {
    std::string text;
    for (std::size_t at = 0; at < markup.size(); ++at) {
        if (markup[at] != '<' || markup.substr(at).starts_with("<<")) {
            at += markup[at] == '<';
            text += markup[at];
            continue;
        }
        const std::string_view tag = markup.substr(at, markup.find('>', at) - at);
        if (tag == "<BR" && !text.empty()) text += "  ";
        if (tag.starts_with("<IMG"))
            text += tag.find("374") != tag.npos   ? "outgoing"
                    : tag.find("373") != tag.npos ? "answered"
                                                  : "missed";
        at += std::min(tag.size(), markup.size() - at);
    }
    return text;
}

std::string NameOf(DATACONTACTS& row, ContactsDisplay format) {
    if (row.m_oid != 0) return TextOf(row.GetNameDisplay(format));
    return row.m_bGroupHeader ? TextOf(row.m_szFileAs) : CallText(TextOf(row.m_szFileAs));
}

void PrintJson(DATACONTACTS& row, ContactsDisplay format, Store& store) {
    const auto number = [](JsonLine& json, std::string_view name, DWORD value) {
        value ? json.Number(name, value) : json.Null(name);
    };
    const bool group = row.m_bGroupHeader != 0;
    JsonLine json;
    json.Text("kind", KindOf(row));
    number(json, "oid", row.m_oid);
    number(json, "record", row.m_oidRecord);
    json.TextOrNull("uid", row.m_oid == 0 ? std::string() : store.Uid(row.m_oid));
    json.Number("depth", row.m_dwGroupId != 0 && !group);
    number(json, "group", row.m_dwGroupId);
    json.Text("name", NameOf(row, format)).TextOrNull("first", TextOf(row.m_szFirstName));
    json.TextOrNull("last", TextOf(row.m_szLastName)).TextOrNull("company", TextOf(row.m_szCompany));
    json.TextOrNull("fileas", TextOf(row.m_szFileAs)).TextOrNull("key", TextOf(row.m_szGroupKey));
    json.TextOrNull("line", TextOf(row.m_szExtraLine));
    number(json, "property", row.m_dwExtraProperty);
    number(json, "sim", row.m_dwSimNumber);
    group ? json.Number("count", row.m_lCount).Bool("open", row.m_bOpen) : json.Null("count").Null("open");
    json.Bool("link", row.m_bHasLink).Bool("journal", row.m_bHasJournalLink).Bool("note", row.m_bHasNote);
    json.Bool("picture", row.m_bHasPicture);
    json.Texts("categories", SplitCategories(TextOf(row.m_szCategories)));
    json.TextOrNull("icon", TextOf(row.m_szIcon));
    std::puts(json.Done().c_str());
}

void PrintText(DATACONTACTS& row, ContactsDisplay format) {
    if (row.m_bGroupHeader) {
        std::printf("%s %s\n", Printable(TextOf(row.m_szFileAs)).c_str(), TextOf(row.m_szExtraLine).c_str());
        return;
    }
    std::string text = row.m_dwGroupId ? "  " : "";
    text += Printable(NameOf(row, format));
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

void CheckOptions(const Options& options) {
    if (!options.Rest().empty()) Usage("contacts: what is " + options.Rest()[0] + "?");
    if (options.Has("--find") && options.Has("--keypad"))
        Usage("contacts: --find and --keypad don't go together");
    if (options.Has("--full") && !options.Has("--find")) Usage("contacts: --full goes with --find");
    if (options.Has("--find") && options.Get("--find").empty()) Usage("contacts: --find wants a text");
    const std::string keys = options.Get("--keypad", "0");
    if (keys.empty() || keys.find_first_not_of("0123456789# ") != keys.npos)
        Usage("contacts: --keypad takes digits, blanks and #");
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
    CheckOptions(options);
    ViewKey view(kContactView);
    if (const auto format = Wanted("contacts", options, "--format", kFormats))
        view.Set(u"DisplayFormat", *format);
    if (options.Has("--find")) view.Set(u"bSearchFullData", 1);
    Store store;
    CContactsThread thread;
    thread.Override(view.Get());
    thread.SettingChange();
    const std::u16string text = Utf16(options.Get("--find"));
    if (options.Has("--find")) thread.SetCompareString(text.c_str(), options.Has("--full"), kFindQuick);
    if (options.Has("--keypad"))
        thread.SetCompareString(Utf16(options.Get("--keypad")).c_str(), false, kFindKeypad);
    Client client([](WPARAM, LPARAM) {});
    thread.m_hClientWnd = client.Window();
    client.Run(thread);
    if (!text.empty() && thread.GetActiveDataCount() == 0) { // no name begins so: is it somewhere else?
        thread.SetCompareString(text.c_str(), true, kFindQuick);
        client.Run(thread);
    }
    if (!options.Has("--closed") && OpenGroups(thread)) client.Run(thread);
    PrintRows(thread, store, options.Has("--json"));
    return kExitDone;
}

} // namespace qn
