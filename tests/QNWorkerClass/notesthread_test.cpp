// The notes thread: which files and folders are rows, in which order, found by which text, opened and closed. Rows are shown
// as a tree: "> " for a closed folder, "v " for an open one, two blanks for each depth.
#include "NorvoTools/CRegistry.h"
#include "Platform/memory.h"
#include "QNWorkerClass/notesthread.h"
#include "tests/support/clientwindow.h"
#include "tests/support/engine.h"
#include "tests/support/narrow.h"

#include <algorithm>
#include <fstream>

namespace {

constexpr WCHAR kView[] = u"Software\\Norvo\\Quillonary\\AV";

class NotesTest : public EngineTest {
protected:
    NotesTest() { ForgetTextStores(); }
    ~NotesTest() override { ForgetTextStores(); }
    static void ForgetTextStores() { CRegistry::INIFileCache.Clear(); }

    void Put(const std::string& relative, std::string_view bytes = "text") {
        const std::filesystem::path path = HostPath(relative);
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << bytes;
    }
    static void SetState(const WCHAR* path, DWORD state) {
        CRegistry states(u"%s\\Norvo\\NoteFolderState.txt");
        states.OpenKey(HKEY_CURRENT_USER, kFolderStateKey);
        states.SetValue(path, state);
    }
    static DWORD StoredState(const WCHAR* path) {
        CRegistry states(u"%s\\Norvo\\NoteFolderState.txt");
        DWORD state = 77;
        states.OpenKey(HKEY_CURRENT_USER, kFolderStateKey);
        states.QueryValue(path, &state);
        return state;
    }
    // Of a note in the documents folder.
    static void SetAttributes(const WCHAR* name, const WCHAR* category, DWORD alarm, DWORD isPrivate) {
        CRegistry notes(u"%s\\Norvo\\NoteData.txt");
        notes.OpenKey(HKEY_CURRENT_USER, (std::u16string(u"\\My Documents\\") + name).c_str());
        notes.SetValue(u"Category", category);
        notes.SetValue(u"AHDT", alarm);
        notes.SetValue(u"ALDT", DWORD{0});
        notes.SetValue(u"Private", isPrivate);
    }
    static std::string Rows(CNotesThread& thread) {
        std::string text;
        for (const DATANOTES* row : thread.GetList()) {
            text += std::string(2 * static_cast<std::size_t>(row->m_nDepth), ' ');
            if (row->m_bFolder) text += row->m_bExpanded ? "v " : "> ";
            text += Narrow(row->m_bstrTitle) + "\n";
        }
        return text;
    }
    static std::string Load(CNotesThread& thread) {
        thread.NotesThreadProc(nullptr, true);
        return Rows(thread);
    }
    static std::string Load() {
        CNotesThread thread;
        return Load(thread);
    }
    // The notes of the documents folder in one line.
    static std::string Notes(CNotesThread& thread) {
        std::string text;
        thread.NotesThreadProc(nullptr, true);
        for (const DATANOTES* row : thread.GetList())
            if (!row->m_bFolder) text += Narrow(row->m_bstrTitle) + " ";
        return text;
    }
    static std::string Notes() {
        CNotesThread thread;
        return Notes(thread);
    }
    static DATANOTES* Find(CNotesThread& thread, std::string_view title) {
        for (DATANOTES* row : thread.GetList())
            if (Narrow(row->m_bstrTitle) == title) return row;
        return nullptr;
    }
};

TEST_F(NotesTest, TreeOfFilesAndFolders) {
    EXPECT_EQ("> \\My Documents\n", Load()); // closed until somebody opens it
    SetState(u"\\My Documents", kFolderOpen);
    EXPECT_EQ("v \\My Documents\n  (No notes)\n", Load());
    for (const char* name :
         {"a.txt", "b.doc", "c.PWI", "d.wav", "e.pmi", "f.rtf", "g.psw", ".txt", "noending"})
        Put(std::string("My Documents/") + name);
    Put("My Documents/empty.txt", "");
    Put("My Documents/large.txt", std::string(5000, 'x'));
    for (const char* folder : {"Templates", "norvo", "Closed", "Open", "Open/Below", "Hidden"})
        Put("My Documents/" + std::string(folder) + "/in.txt");
    SetState(u"\\my documents\\OPEN", kFolderOpen); // names are told apart by more than case
    SetState(u"\\My Documents\\Hidden", kFolderHidden | kFolderOpen);
    SetNumber(kView, u"bDescending", 0);
    const std::string notes = "  a.txt\n  c.PWI\n  d.wav\n  e.pmi\n  empty.txt\n  f.rtf\n  large.txt\n";
    CNotesThread thread;
    EXPECT_EQ("v \\My Documents\n  > Closed\n  v Open\n    > Below\n    in.txt\n" + notes, Load(thread));
    EXPECT_EQ(1, thread.GetRecordingCount());
    const struct {
        const char* title;
        LONG kind, size;
    } kRows[] = {
        {"a.txt", 9, 1}, {"d.wav", 10, 1}, {"e.pmi", 11, 1}, {"empty.txt", 9, 1}, {"large.txt", 9, 4}};
    for (const auto& row : kRows) {
        const DATANOTES* note = Find(thread, row.title);
        EXPECT_EQ(std::to_string(row.kind) + " " + std::to_string(row.size),
                  std::to_string(note->m_nKind) + " " + std::to_string(note->m_lSize));
        EXPECT_EQ("\\My Documents\\" + std::string(row.title), Narrow(note->m_bstrPath));
        EXPECT_EQ(thread.GetList().Get(1)->m_oid, note->m_oidParent);
    }
    SetNumber(kView, u"ShowAllFolders", 1);
    EXPECT_EQ("v \\My Documents\n  > Closed\n  v Hidden\n    in.txt\n  v Open\n    > Below\n    in.txt\n" +
                  notes,
              Load());
    SetNumber(u"Software\\Norvo\\Quillonary", u"AppLayout", 0); // the root without folders
    EXPECT_EQ("v \\My Documents\n" + notes, Load());
    SetState(u"\\My Documents", kFolderHidden);
    SetNumber(kView, u"ShowAllFolders", 0);
    EXPECT_EQ("", Load());
}

TEST_F(NotesTest, StorageCardsAreRootsToo) {
    Put("Storage Card/n.txt");
    Put("Storage Card2/Sub/n.txt");
    Put("Storage Card of bluetooth/n.txt");
    Put("Storage Card.txt");
    SetState(u"\\Storage Card2", kFolderOpen);
    CNotesThread thread;
    EXPECT_EQ("> \\My Documents\n> \\Storage Card\nv \\Storage Card2\n  > Sub\n", Load(thread));
    EXPECT_EQ(3u, thread.GetRoots().size());
    // Another module knows other cards.
    static const PlatModuleEntry kCards[] = {
        {nullptr, 7, reinterpret_cast<FARPROC>(+[](WIN32_FIND_DATAW* card) -> HANDLE {
             std::u16string_view(u"Other").copy(card->cFileName, MAX_PATH);
             return reinterpret_cast<HANDLE>(ULONG_PTR{0x7000001});
         })},
        {nullptr, 8, reinterpret_cast<FARPROC>(+[](HANDLE, WIN32_FIND_DATAW*) -> BOOL { return FALSE; })},
    };
    PlatRegisterModule({.name = u"note_prj.dll", .entries = kCards, .entryCount = 2, .untilReset = true});
    EXPECT_EQ("> \\My Documents\n> \\Other\n", Load());
}

TEST_F(NotesTest, AttributesAndOrders) {
    SetState(u"\\My Documents", kFolderOpen);
    Put("My Documents/b.txt", std::string(3000, 'x'));
    Put("My Documents/a.txt", std::string(9000, 'x'));
    Put("My Documents/c.txt");
    SetAttributes(u"A.txt", u"Work", 7, 0);
    SetAttributes(u"b.txt", u"Home", 9, 2);
    const auto now = std::filesystem::file_time_type::clock::now();
    for (const auto& [name, hours] : {std::pair{"a", 3}, {"b", 1}, {"c", 2}})
        std::filesystem::last_write_time(HostPath("My Documents/" + std::string(name) + ".txt"),
                                         now - std::chrono::hours(hours));
    const struct {
        LONG sort;
        const char* descending;
        const char* ascending;
    } kCases[] = {
        {kNotesBySubject, "c.txt b.txt a.txt ", "a.txt b.txt c.txt "},
        {kNotesByAlarm, "b.txt a.txt c.txt ", "c.txt a.txt b.txt "},
        {kNotesByModified, "b.txt c.txt a.txt ", "a.txt c.txt b.txt "},
        {kNotesBySize, "a.txt b.txt c.txt ", "c.txt b.txt a.txt "},
        {kNotesByCategory, "a.txt b.txt c.txt ", "c.txt b.txt a.txt "},
        {77, "c.txt b.txt a.txt ", "a.txt b.txt c.txt "},
    };
    for (const auto& row : kCases) {
        SetNumber(kView, u"dwSort", static_cast<DWORD>(row.sort));
        SetNumber(kView, u"bDescending", 1);
        EXPECT_EQ(row.descending, Notes()) << row.sort;
        SetNumber(kView, u"bDescending", 0);
        EXPECT_EQ(row.ascending, Notes()) << row.sort;
    }
    CNotesThread thread;
    Load(thread);
    const DATANOTES* note = Find(thread, "b.txt");
    EXPECT_EQ("Home", Narrow(note->m_bstrCategory));
    EXPECT_EQ(ULONGLONG{9} << 32, FileTimeTicks(note->m_ftAlarm));
    EXPECT_TRUE(note->m_bHasAlarm && note->m_bPrivate);

    for (const auto& [mode, expected] : {std::pair{0, "a.txt c.txt "}, {1, "b.txt "}}) {
        SetNumber(kView, u"FilterPrivacy", static_cast<DWORD>(mode));
        EXPECT_EQ(expected, Notes());
    }
    // Recordings count though they are filtered, and once.
    Put("My Documents/d.wav");
    SetAttributes(u"d.wav", u"", 0, 0);
    for (int i = 0; i < 2; ++i) thread.UpdateFolder(u"\\My Documents");
    EXPECT_EQ(1, thread.GetRecordingCount());
    Load(thread);
    EXPECT_EQ(1, thread.GetRecordingCount());
    for (int i = 0; i < 2; ++i) thread.UpdateFolder(u"\\My Documents");
    EXPECT_EQ(1, thread.GetRecordingCount());
    EXPECT_EQ(nullptr, Find(thread, "d.wav"));
}

TEST_F(NotesTest, TimesAreLocal) {
    SetState(u"\\My Documents", kFolderOpen);
    Put("My Documents/Sub/a.txt");
    const auto modified = [](const char* title) {
        CNotesThread thread;
        Load(thread);
        return FileTimeTicks(Find(thread, title)->m_ftModified);
    };
    SetState(u"\\My Documents\\Sub", kFolderOpen);
    const ULONGLONG file = modified("a.txt"), folder = modified("Sub");
    TIME_ZONE_INFORMATION zone = {};
    zone.Bias = -60;
    PlatSetTimeZone(&zone);
    EXPECT_EQ(ULONGLONG{3600} * 10'000'000, modified("a.txt") - file);
    EXPECT_EQ(ULONGLONG{3600} * 10'000'000, modified("Sub") - folder);
}

TEST_F(NotesTest, DamagedSideFilesTellWhatTheyCan) {
    for (const char* note : {"a", "b", "c"}) Put(std::string("My Documents/") + note + ".txt");
    Put("My Documents/Twice/in.txt");
    const std::string side = "Program Files/Norvo/Quillonary/Norvo/";
    Put(side + "NoteFolderState.txt", R"(no section
[HKEY_CURRENT_USER\Software\Norvo\Quillonary\NV\FolderState]
"\My Documents"=dword:00000001
"\My Documents\Twice"="open"
"\My Documents\Twice"=dword:00000001
[HKEY_CURRENT_USER\Software\Norvo\Quillonary\NV\FolderState]
"\My Documents\Twice"=dword:00000001
)");
    Put(side + "NoteData.txt", R"([HKEY_CURRENT_USER\My Documents\a.txt]
"Category"=dword:00000001
"AHDT"="soon"
"Private"="yes"
[HKEY_CURRENT_USER\My Documents\b.txt]
"Category"="First"
=
"AHDT"=dword:xyz
[HKEY_CURRENT_USER\My Documents\b.txt]
"Category"="Second"
[HKEY_CURRENT_USER\My Documents\c.txt)");
    SetNumber(kView, u"bDescending", 0);
    CNotesThread thread;
    EXPECT_EQ("v \\My Documents\n  > Twice\n  a.txt\n  b.txt\n  c.txt\n", Load(thread));
    EXPECT_EQ(DWORD{kFolderClosed}, thread.IsFolderOpen(u"\\My Documents\\Twice"));
    std::string told;
    for (const DATANOTES* row : thread.GetList())
        if (row->m_nKind)
            told += Narrow(row->m_bstrCategory ? row->m_bstrCategory : u"-") + (row->m_bHasAlarm ? "!" : "") +
                    (row->m_bPrivate ? "p " : " ");
    EXPECT_EQ("- First - ", told);
}

TEST_F(NotesTest, TextsAreFoundEverywhere) {
    SetState(u"\\My Documents", kFolderOpen);
    Put("My Documents/Shopping.txt", "Milk\r\nand Honey");
    Put("My Documents/rich.rtf", "{\\rtf1 the \\b milk\\b0 y way}");
    Put("My Documents/wide.txt", std::string("\xFF\xFEM\0i\0l\0k\0", 10));
    Put("My Documents/milk.wav", "milk");
    Put("My Documents/binary.pwi", std::string("{\\pwi\x07\x00\xFFmilk", 12));
    Put("My Documents/Closed/milk too.txt", "");
    SetNumber(kView, u"bDescending", 0);
    const struct {
        const WCHAR* text;
        bool anywhere, contents, wildcard;
        const char* expected;
    } kCases[] = {
        {u"milk", true, true, false, "milk too.txt milk.wav rich.rtf Shopping.txt wide.txt "},
        {u"MILK", false, true, false, "milk too.txt milk.wav Shopping.txt wide.txt "},
        {u"milk", true, false, false, "milk too.txt milk.wav "},
        {u"*honey", false, true, true, "(No notes) Shopping.txt "},
        {u"shopping.txt and more", false, false, false,
         "(No notes) Shopping.txt "}, // the shorter text decides
        {u"nowhere", true, true, false, "(No notes) "},
    };
    for (const auto& row : kCases) {
        CNotesThread thread;
        thread.SetCompareString(row.text, row.anywhere, row.contents, row.wildcard);
        EXPECT_EQ(row.expected, Notes(thread)) << Narrow(row.text);
        EXPECT_EQ(DWORD{kFolderOpen}, thread.IsFolderOpen(u"\\My Documents\\Closed"));
        thread.ClearCompareString();
        EXPECT_EQ(DWORD{kFolderClosed}, thread.IsFolderOpen(u"\\My Documents\\Closed"));
    }
    EXPECT_EQ(77u, StoredState(u"\\My Documents\\Closed")); // as it was: nothing is stored
}

TEST_F(NotesTest, FoldersOpenAndCloseInPlace) {
    SetState(u"\\My Documents", kFolderOpen);
    Put("My Documents/Sub/in.txt");
    Put("My Documents/Sub/rec.wav");
    Put("My Documents/z.txt");
    SetNumber(kView, u"bDescending", 0);
    CNotesThread thread;
    const std::string closed = "v \\My Documents\n  > Sub\n  z.txt\n";
    const std::string open = "v \\My Documents\n  v Sub\n    in.txt\n    rec.wav\n  z.txt\n";
    EXPECT_EQ(closed, Load(thread));
    thread.ExpandTreeNode(true, Find(thread, "z.txt"), true); // no folder
    thread.ExpandTreeNode(true, Find(thread, "Sub"), true);
    EXPECT_EQ(open, Rows(thread));
    EXPECT_EQ("1 5 1", std::to_string(StoredState(u"\\My Documents\\Sub")) + " " +
                           std::to_string(thread.GetActiveDataCount()) + " " +
                           std::to_string(thread.GetRecordingCount()));
    Put("My Documents/Sub/new.txt");
    std::filesystem::remove(HostPath("My Documents/Sub/rec.wav"));
    thread.UpdateFolder(u"\\my documents\\sub\\", 1);
    EXPECT_EQ("v \\My Documents\n  v Sub\n    in.txt\n    new.txt\n  z.txt\n", Rows(thread));
    EXPECT_EQ(0, thread.GetRecordingCount());
    thread.ExpandTreeNode(false, Find(thread, "Sub"), false);
    EXPECT_EQ(closed, Rows(thread));
    EXPECT_EQ(1u, StoredState(u"\\My Documents\\Sub")); // not for good
    thread.UpdateFolder(u"\\My Documents\\Sub");        // a closed one stays as it is
    EXPECT_EQ(closed, Rows(thread));
    thread.ExpandTreeNode(false, Find(thread, "Sub"), true);
    EXPECT_EQ(0u, StoredState(u"\\My Documents\\Sub"));
}

TEST_F(NotesTest, OddFoldersEndTheReading) {
    SetState(u"\\My Documents", kFolderOpen);
    Put("My Documents/Loop/in.txt");
    std::filesystem::create_directory_symlink(".", HostPath("My Documents/Loop/self"));
    std::filesystem::create_directory_symlink("..", HostPath("My Documents/Loop/up"));
    CNotesThread search; // opens every folder
    search.SetCompareString(u"in", true, false, false);
    EXPECT_EQ("v \\My Documents\n  v Loop\n    > self\n    > up\n    in.txt\n", Load(search));
    // A path of 257 characters is read, one of 258 is not.
    for (const int extra : {0, 1}) {
        std::string path = "My Documents/";
        while (path.size() < 200) path += std::string(40, static_cast<char>('a' + extra)) + "/";
        path += std::string(static_cast<std::size_t>(256 + extra) - path.size(), 'y');
        Put(path + "/x.txt");
        CNotesThread thread;
        thread.SetCompareString(u"x.txt", true, false, false);
        Load(thread);
        const auto count =
            std::count_if(thread.GetList().begin(), thread.GetList().end(),
                          [](const DATANOTES* row) { return Narrow(row->m_bstrTitle) == "x.txt"; });
        EXPECT_EQ(1, count); // that of the first round
    }
}

// Links are known by the numbers of files, which such a device doesn't have.
TEST_F(NotesTest, LinksEndWithoutNumbersOfFiles) {
    for (const char* link : {"one", "two"}) {
        std::filesystem::create_directories(HostPath("My Documents"));
        std::filesystem::create_directory_symlink(".", HostPath("My Documents/") + link);
    }
    PlatSetDeviceFolder("");
    std::filesystem::remove(HostPath("files.db"));
    std::filesystem::create_directory(HostPath("files.db"));
    PlatSetDeviceFolder(m_folder);
    CNotesThread search;
    search.SetCompareString(u"in", true, false, false);
    Load(search);
    EXPECT_GT(search.GetActiveDataCount(), 1000);
    EXPECT_LT(search.GetActiveDataCount(), 10000);
}

// --- The notes library --------------------------------------------------------------------------------------------

struct FakeNote {
    DWORD oid;
    const WCHAR* name;
    const WCHAR* category;
    LONG color;
    const WCHAR* preview;
};
const FakeNote kFakeNotes[] = {
    {500, u"Blue", u"Work", 1, u"plain words"},
    {0, u"None", u"", 0, nullptr},
    {501, u"Red", u"Work", 9, u"{\\rtf1 rich \\b w\u017Brds}"},
};

const PlatModuleEntry kLibrary[] = {
    {"PWN_FindNextDatabase", 0, reinterpret_cast<FARPROC>(+[](HANDLE last) -> HANDLE {
         return last ? nullptr : reinterpret_cast<HANDLE>(ULONG_PTR{1});
     })},
    {"PWN_GetDatabaseOid", 0, reinterpret_cast<FARPROC>(+[](HANDLE) -> DWORD { return 77; })},
    {"PWN_GetDatabaseName", 0, reinterpret_cast<FARPROC>(+[](HANDLE, WCHAR* name, int) -> int {
         wcscpy(name, u"Library");
         return 1;
     })},
    {"PWN_CloseFindDBHandle", 0, reinterpret_cast<FARPROC>(+[](HANDLE) {})},
    {"PWN_FindNextNote", 0, reinterpret_cast<FARPROC>(+[](DWORD oid, HANDLE last, DWORD property) -> HANDLE {
         const auto next = reinterpret_cast<ULONG_PTR>(last) + 1;
         return oid == 77 && property == 0x0002001F && next <= std::size(kFakeNotes)
                    ? reinterpret_cast<HANDLE>(next)
                    : nullptr;
     })},
    {"PWN_GetNoteData", 0, reinterpret_cast<FARPROC>(+[](HANDLE handle, BYTE* record) -> int {
         const FakeNote& note = kFakeNotes[reinterpret_cast<ULONG_PTR>(handle) - 1];
         DWORD size;
         std::memcpy(&size, record, 4);
         if (size != 584) return 0;
         std::memcpy(record + 4, &note.oid, 4);
         wcscpy(reinterpret_cast<WCHAR*>(record + 8), note.name);
         wcscpy(reinterpret_cast<WCHAR*>(record + 264), note.category);
         std::memcpy(record + 520, &note.color, 4);
         const SYSTEMTIME modified{2010, 3, 3, 10, 12, 0, 0, 0};
         std::memcpy(record + 536, &modified, sizeof modified);
         return 1;
     })},
    {"PWN_CloseFindNoteHandle", 0, reinterpret_cast<FARPROC>(+[](HANDLE) {})},
    {"PWN_GetNotePreviewText", 0, reinterpret_cast<FARPROC>(+[](DWORD, DWORD oid) -> WCHAR* {
         return _wcsdup(kFakeNotes[oid == 500 ? 0 : 2].preview);
     })},
};

TEST_F(NotesTest, DatabasesOfTheLibraryStandFirst) {
    EXPECT_EQ("> \\My Documents\n", Load());
    PlatRegisterModule({.name = u"pwnotesapi.dll", .entries = kLibrary, .entryCount = 2, .untilReset = true});
    EXPECT_EQ("> \\My Documents\n", Load()); // what the walk needs is missing
    PlatRegisterModule({.name = u"pwnotesapi.dll",
                        .entries = kLibrary,
                        .entryCount = std::size(kLibrary),
                        .untilReset = true});
    SetState(u"\\Library", kFolderOpen); // a folder of files
    EXPECT_EQ("> Library\n> \\My Documents\n", Load());
    SetState(u"Library", kFolderOpen);
    SetNumber(kView, u"bDescending", 0);
    CNotesThread thread;
    EXPECT_EQ("v Library\n  Blue\n  Red\n> \\My Documents\n", Load(thread));
    const DATANOTES* note = Find(thread, "Blue");
    EXPECT_EQ("500 77 77 12 80ff80", std::to_string(note->m_oid) + " " + std::to_string(note->m_oidDatabase) +
                                         " " + std::to_string(note->m_oidParent) + " " +
                                         std::to_string(note->m_nKind) +
                                         (note->m_crColor == 0x80FF80 ? " 80ff80" : " other"));
    EXPECT_EQ(std::vector<std::u16string>{u"Work"}, thread.GetLibraryCategories());
    thread.UpdateDatabase(77);
    EXPECT_EQ(4, thread.GetActiveDataCount());
    for (const auto& [text, expected] :
         {std::pair{u"rich w\u017Brds", "(No notes) Red "}, {u"plain", "(No notes) Blue "}}) {
        CNotesThread search;
        search.SetCompareString(text, true, true, false);
        std::string found = Notes(search);
        EXPECT_NE(std::string::npos, found.find(expected + std::string("(No notes) ").size())) << found;
        EXPECT_EQ(std::string::npos, found.find(text == std::u16string_view(u"plain") ? "Red" : "Blue"));
    }
}

// --- The run ------------------------------------------------------------------------------------------------------

TEST_F(NotesTest, SetEventStopsAndDateKeepsItsOddForm) {
    SetState(u"\\My Documents", kFolderOpen);
    Put("My Documents/a.txt");
    CNotesThread thread;
    CeManualEvent stop;
    stop.Set();
    thread.NotesThreadProc(&stop, true);
    EXPECT_EQ(nullptr, Find(thread, "a.txt"));
    stop.Reset();
    thread.NotesThreadProc(&stop, true);
    EXPECT_NE(nullptr, Find(thread, "a.txt"));
    thread.SetDateOn(40247.75);
    EXPECT_EQ(40247.75, thread.GetOnDate());
    EXPECT_LT(CNotesThread().GetOnDate(), 1e-300); // the day in the low half of the date
    EXPECT_GT(CNotesThread().GetOnDate(), 0);
}

class ThreadsNotes : public NotesTest {
protected:
    ThreadsNotes() {
        SetState(u"\\My Documents", kFolderOpen);
        for (int i = 0; i < 50; ++i) Put("My Documents/note " + std::to_string(i) + ".txt");
    }
    ClientWindow m_client;
};

TEST_F(ThreadsNotes, ClientIsTold) {
    CNotesThread thread;
    thread.m_hClientWnd = m_client;
    thread.Start();
    const std::string told = m_client.UntilFinished();
    for (const char* message : {"32802 ", "1274(1,51) ", "32803 "})
        EXPECT_NE(told.npos, told.find(message)) << told;
}

// The client is not listening when the object goes.
TEST_F(ThreadsNotes, EndsWhileItWaitsForAnAnswer) {
    const auto start = std::chrono::steady_clock::now();
    {
        CNotesThread thread;
        thread.m_hClientWnd = m_client;
        thread.Start();
        std::this_thread::sleep_for(std::chrono::milliseconds(100)); // a load takes a few
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
}

TEST_F(ThreadsNotes, EndedSearchLeavesNothingLocked) {
    CNotesThread thread;
    thread.SetCompareString(u"text", true, true, false);
    for (int round = 0; round < 12; ++round) {
        thread.Start();
        std::this_thread::sleep_for(std::chrono::microseconds(round * 500));
        thread.Kill(1);
    }
    EXPECT_EQ(51, (Load(thread), thread.GetActiveDataCount()));
    for (int i = 0; i < 50; ++i)
        EXPECT_TRUE(
            DeleteFileW((u"\\My Documents\\" +
                         std::u16string(Find(thread, "note " + std::to_string(i) + ".txt")->m_bstrTitle))
                            .c_str()))
            << i;
}

TEST_F(ThreadsNotes, TwoLoadsAtOnceAndStartsOverRunningOnes) {
    CNotesThread one, two;
    for (int round = 0; round < 5; ++round) {
        one.Start();
        two.Start();
    }
    one.WaitForComplete();
    two.WaitForComplete();
    EXPECT_EQ(51, one.GetActiveDataCount());
    EXPECT_EQ(51, two.GetActiveDataCount());
}

} // namespace
