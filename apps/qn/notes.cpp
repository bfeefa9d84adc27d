// The list of notes: a real notes thread loads the tree of folders and notes.
#include "Platform/clock.h"
#include "Platform/poom.h"
#include "QNWorkerClass/notesthread.h"
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

constexpr const WCHAR* kNoteView = u"Software\\Norvo\\Quillonary\\AV";

constexpr OptionRule kRules[] = {
    {"--sort", true},      {"--ascending", false}, {"--descending", false}, {"--find", true},
    {"--contents", false}, {"--hidden", false},    {"--open", false},       {"--json", false},
};

constexpr Choice kSorts[] = {
    {"subject", kNotesBySubject},   {"alarm", kNotesByAlarm}, {"created", kNotesByCreated},
    {"modified", kNotesByModified}, {"size", kNotesBySize},   {"category", kNotesByCategory},
};

// Times of files are local already.
DATE DateOf(const FILETIME& time) {
    SYSTEMTIME moment;
    return FileTimeTicks(time) == 0 || !FileTimeToSystemTime(&time, &moment) ? kNoDate : ToDate(moment);
}

// --- Rows as objects ----------------------------------------------------------------------------------------------

void AddNumber(JsonLine& json, std::string_view name, LONGLONG number, bool bKnown) {
    bKnown ? json.Number(name, number) : json.Null(name);
}

// A file has a type and a size, a note of the library a color and flags; a folder that holds nothing has a row that says so.
void PrintJson(const DATANOTES& row) {
    const bool file = !row.m_bFolder && row.m_nKind != 0 && row.m_nKind != kNoteDatabase;
    const bool library = !row.m_bFolder && row.m_nKind == kNoteDatabase;
    JsonLine json;
    json.Text("kind", row.m_bFolder ? "folder" : file || library ? "note" : "empty");
    AddNumber(json, "type", row.m_nKind, row.m_nKind != 0);
    json.Number("oid", row.m_oid).Number("depth", row.m_nDepth);
    AddNumber(json, "parent", row.m_oidParent, row.m_pParent != nullptr);
    json.Text("subject", TextOf(row.m_bstrTitle)).TextOrNull("path", TextOf(row.m_bstrPath));
    json.Texts("categories", SplitCategories(TextOf(row.m_bstrCategory)));
    AddNumber(json, "kilobytes", row.m_lSize, file);
    json.Moment("created", DateOf(row.m_ftCreated)).Moment("modified", DateOf(row.m_ftModified));
    json.Moment("alarm", DateOf(row.m_ftAlarm));
    json.Bool("hasalarm", row.m_bHasAlarm).Bool("private", row.m_bPrivate);
    AddNumber(json, "color", row.m_crColor, library && row.m_crColor != 0);
    AddNumber(json, "flags", row.m_nFlags, library);
    AddNumber(json, "database", row.m_oidDatabase, library);
    json.Bool("hidden", row.m_lHidden != 0).Bool("shown", row.m_bShown).Bool("expanded", row.m_bExpanded);
    json.Number("children", row.NumChildren());
    std::puts(json.Done().c_str());
}

// --- Rows as text -------------------------------------------------------------------------------------------------

std::string Facts(const DATANOTES& row) {
    std::string facts;
    const auto add = [&facts](bool wanted, const std::string& fact) {
        if (wanted) facts += (facts.empty() ? "  (" : ", ") + fact;
    };
    add(row.m_lSize > 0, std::to_string(row.m_lSize) + " KB");
    const DATE modified = DateOf(row.m_ftModified), alarm = DateOf(row.m_ftAlarm);
    add(modified != kNoDate, IsoDay(static_cast<LONG>(modified)));
    add(alarm != kNoDate, "alarm " + IsoMoment(alarm).substr(0, 16));
    add(row.m_bPrivate, "private");
    return facts.empty() ? facts : facts + ")";
}

void PrintText(const DATANOTES& row) {
    std::string text(static_cast<std::size_t>(row.m_nDepth) * 2, ' ');
    text += Printable(TextOf(row.m_bstrTitle));
    text += !row.m_bFolder ? Facts(row) : row.m_bExpanded ? "/" : "/ ...";
    if (row.m_bstrCategory && *row.m_bstrCategory) text += "  [" + Printable(Utf8(row.m_bstrCategory)) + "]";
    std::puts(text.c_str());
}

// Whether the row is a note that was found or leads to one.
bool LeadsToNote(const DATANOTES& row) {
    if (!row.m_bFolder) return row.m_nKind != 0;
    const auto leads = [](const DATANOTES* child) { return LeadsToNote(*child); };
    return std::any_of(row.m_listChildren.begin(), row.m_listChildren.end(), leads);
}

} // namespace

int NotesCommand(const Words& words) {
    const Options options("notes", words, kRules);
    if (!options.Rest().empty()) Usage("notes: what is " + options.Rest()[0] + "?");
    const bool find = options.Has("--find");
    if (options.Has("--contents") && !find) Usage("notes: --contents wants --find");
    if (find && options.Get("--find").empty()) Usage("notes: --find wants a text");
    if (options.Has("--ascending") && options.Has("--descending"))
        Usage("notes: --ascending and --descending don't go together");
    ViewKey view(kNoteView);
    if (const auto sort = Wanted("notes", options, "--sort", kSorts)) view.Set(u"dwSort", *sort);
    if (options.Has("--ascending")) view.Set(u"bDescending", 0);
    if (options.Has("--descending")) view.Set(u"bDescending", 1);
    if (options.Has("--hidden")) view.Set(u"ShowAllFolders", 1);
    Store store;
    CNotesThread thread;
    thread.Override(view.Get());
    // A text to find opens every folder for this run.
    if (find)
        thread.SetCompareString(Utf16(options.Get("--find")).c_str(), true, options.Has("--contents"), false);
    else if (options.Has("--open"))
        thread.SetCompareString(u"*", false, false, true);
    Client client([&](WPARAM, LPARAM) {
        for (const DATANOTES* row : thread.GetList())
            if (options.Has("--json"))
                PrintJson(*row);
            else if (!find || LeadsToNote(*row))
                PrintText(*row);
    });
    thread.m_hClientWnd = client.Window();
    client.Run(thread);
    return kExitDone;
}

} // namespace qn
