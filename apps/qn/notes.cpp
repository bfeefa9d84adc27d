// The list of notes: a real notes thread loads the tree of folders and notes.
#include "Platform/clock.h"
#include "QNWorkerClass/notesthread.h"
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

constexpr const WCHAR* kNoteView = u"Software\\Norvo\\Quillonary\\AV";

constexpr OptionRule kRules[] = {
    {"--sort", true},      {"--ascending", false}, {"--descending", false}, {"--find", true},
    {"--contents", false}, {"--hidden", false},    {"--open", false},       {"--json", false},
};

constexpr Choice kSorts[] = {
    {"subject", kNotesBySubject},   {"alarm", kNotesByAlarm}, {"created", kNotesByCreated},
    {"modified", kNotesByModified}, {"size", kNotesBySize},   {"category", kNotesByCategory},
};

// Times of files are local already; 0 is none.
std::string MomentOf(const FILETIME& time) {
    SYSTEMTIME moment;
    if (FileTimeTicks(time) == 0 || !FileTimeToSystemTime(&time, &moment)) return {};
    return IsoMoment(ToDate(moment));
}

void AddMoment(JsonLine& json, std::string_view name, const FILETIME& time) {
    const std::string moment = MomentOf(time);
    moment.empty() ? json.Null(name) : json.Text(name, moment);
}

void PrintJson(const DATANOTES& row) {
    JsonLine json;
    json.Text("kind", row.m_bFolder ? "folder" : "note").Number("type", row.m_nKind).Number("oid", row.m_oid);
    json.Number("depth", row.m_nDepth)
        .Text("subject", TextOf(row.m_bstrTitle))
        .Text("path", TextOf(row.m_bstrPath));
    json.Texts("categories", SplitCategories(TextOf(row.m_bstrCategory))).Number("kilobytes", row.m_lSize);
    AddMoment(json, "created", row.m_ftCreated);
    AddMoment(json, "modified", row.m_ftModified);
    AddMoment(json, "alarm", row.m_ftAlarm);
    json.Bool("private", row.m_bPrivate)
        .Bool("expanded", row.m_bExpanded)
        .Number("children", row.NumChildren());
    std::puts(json.Done().c_str());
}

void PrintText(const DATANOTES& row) {
    std::string text(static_cast<std::size_t>(row.m_nDepth) * 2, ' ');
    text += Printable(TextOf(row.m_bstrTitle));
    if (row.m_bFolder) {
        text += row.m_bExpanded ? "/" : "/ ...";
    } else if (row.m_lSize > 0) {
        text +=
            "  (" + std::to_string(row.m_lSize) + " KB, " + MomentOf(row.m_ftModified).substr(0, 10) + ")";
    }
    if (row.m_bstrCategory && *row.m_bstrCategory) text += "  [" + Printable(Utf8(row.m_bstrCategory)) + "]";
    std::puts(text.c_str());
}

} // namespace

int NotesCommand(const Words& words) {
    const Options options("notes", words, kRules);
    if (!options.Rest().empty()) Usage("notes: what is " + options.Rest()[0] + "?");
    if (options.Has("--contents") && !options.Has("--find")) Usage("notes: --contents wants --find");
    ViewKey view(kNoteView);
    if (const auto sort = Wanted("notes", options, "--sort", kSorts)) view.Set(u"dwSort", *sort);
    if (options.Has("--ascending")) view.Set(u"bDescending", 0);
    if (options.Has("--descending")) view.Set(u"bDescending", 1);
    if (options.Has("--hidden")) view.Set(u"ShowAllFolders", 1);
    Store store;
    CNotesThread thread;
    thread.Override(view.Get());
    // An empty text finds everything, and opens every folder for this run.
    if (options.Has("--find"))
        thread.SetCompareString(Utf16(options.Get("--find")).c_str(), true, options.Has("--contents"), false);
    else if (options.Has("--open"))
        thread.SetCompareString(u"*", false, false, true);
    Client client([&](WPARAM, LPARAM rows) {
        for (int i = 1; i <= rows; ++i)
            if (const DATANOTES* row = thread.GetList().Get(i))
                options.Has("--json") ? PrintJson(*row) : PrintText(*row);
    });
    thread.m_hClientWnd = client.Window();
    client.Run(thread);
    return kExitDone;
}

} // namespace qn
