// The notes thread: the files of the documents folder and of storage cards, and the databases of the notes library, as one
// tree of folders and notes in a flat list. A folder is read only when it is open.
//
//     CNotesThread notes;
//     notes.m_hClientWnd = window;
//     notes.Start();                            // window: 32802, then 1274 with the count, then 32803
//     for (int i = 1; i <= notes.GetActiveDataCount(); ++i) Show(notes.GetList().Get(i));
//
// The object belongs to the thread that made it; the load runs on the worker. The list is the load's from Start to 1274, the
// client's afterwards, who may then open and close folders; such edits do nothing while a load runs. Rows belong to the
// thread object. Folders that can't be read are empty, and nobody is told.
#pragma once

#include "NorvoUI/CeInkCtrl.h"
#include "QNWorkerClass/CQNDataThread.h"
#include "QNWorkerClass/DATANOTES.h"
#include "QNWorkerClass/notelibrary.h"
#include "QNWorkerClass/notestores.h"

#include "Platform/files.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// Values of dwSort; any other is by subject. Folders stand before notes and go by name in every order.
enum NoteSort : LONG {
    kNotesBySubject = 0,
    kNotesByAlarm = 1,
    kNotesByCreated = 2,
    kNotesByModified = 3,
    kNotesBySize = 4,
    kNotesByCategory = 5,
};

class QN_API CNotesThread : public CQNDataThread {
public:
    CNotesThread();
    ~CNotesThread() override;

    // --- What to load; between two loads --------------------------------------------------------------------------
    void SettingChange(); // read afresh by each full load
    // Only notes with this text stay, in any case: in the subject, with bContents also in the body. bWildcard goes before
    // bAnywhere; without both the beginning counts. Closed folders are searched too, and stay closed.
    void SetCompareString(const WCHAR* text, bool bAnywhere, bool bContents, bool bWildcard);
    void ClearCompareString();
    // In place of the setting, for loads without bFull: 0 public notes, 1 private ones, below 0 all.
    void SetPrivacy(LONG mode) { m_nFilterPrivacy = mode; }
    void SetDateOn(double date);
    double GetOnDate() const { return m_dDateOn; }
    static bool IsValidExtension(const WCHAR* name);

    // --- Loading --------------------------------------------------------------------------------------------------
    // The load, on the caller's thread. Gives 0; the window is sent 1274 when the list is complete. Without bFull neither
    // settings are read nor rows sorted. The event may be null; when it is set the load ends, and nobody is told.
    DWORD NotesThreadProc(CeManualEvent* stop, bool bFull);
    int InitiateLinksDB() override; // the two text stores, which are all that this thread has

    // --- The list -------------------------------------------------------------------------------------------------
    CePtrList<DATANOTES*>& GetList() { return m_listNotes; } // first index 1
    LONG GetActiveDataCount() override { return m_listNotes.GetCount(); }
    // That a load has met, also those that the filters left out; folders opened since count by their rows.
    LONG GetRecordingCount() const { return m_nRecordings; }
    const std::vector<std::u16string>& GetRoots() const { return m_roots; }
    const std::u16string& GetRootFolder() const { return m_rootFolder; }
    // Of the notes of the library, each once.
    const std::vector<std::u16string>& GetLibraryCategories() const { return m_libraryCategories; }
    void SortDataList(); // by the settings as they are stored now

    // --- Folders --------------------------------------------------------------------------------------------------
    // 0 closed, 1 open, 2 closed and hidden, 3 open and hidden. With a compare text a closed one is told to be open.
    DWORD IsFolderOpen(const WCHAR* path);
    void SetFolderState(const WCHAR* path, DWORD state);
    // Opens or closes a folder of the list; with bPersist for good, and the list is sorted and the window told.
    void ExpandTreeNode(bool bExpand, DATANOTES* row, bool bPersist);
    void RemoveChildren(DATANOTES* row, bool bTell = false);
    // Read an open folder or database again; the list isn't sorted unless bSort.
    void UpdateFolder(const WCHAR* path, WORD bSort = 0);
    void UpdateDatabase(LONG oid);

    // --- Orders. The user value is the direction: 1, or -1 as well as 0 for descending ----------------------------
    static int CompareFuncBasic(DATANOTES* const& a, DATANOTES* const& b, CEUSER);
    static int CompareFuncSubject(DATANOTES* const& a, DATANOTES* const& b, CEUSER user);
    static int CompareFuncCategory(DATANOTES* const& a, DATANOTES* const& b, CEUSER user);
    static int CompareFuncSize(DATANOTES* const& a, DATANOTES* const& b, CEUSER user);
    static int CompareFuncAlarmTime(DATANOTES* const& a, DATANOTES* const& b, CEUSER user);
    static int CompareFuncCreatedTime(DATANOTES* const& a, DATANOTES* const& b, CEUSER user);
    static int CompareFuncModifiedTime(DATANOTES* const& a, DATANOTES* const& b, CEUSER user);
    static int CompareFuncOID(DATANOTES* const& a, DATANOTES* const& b, CEUSER);

    HWND m_hClientWnd = nullptr; // is told of a load

protected:
    DWORD ThreadProc() override;
    void PostKill() override;

private:
    using NoteCompare = int (*)(DATANOTES* const&, DATANOTES* const&, CEUSER);
    // The time in which folders are read: what the stores tell stands.
    class Reading {
    public:
        Reading(CNotesThread& thread, CeManualEvent* stop);
        ~Reading();
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;

    private:
        CNotesThread& m_thread;
    };

    // --- The load (notesthread.cpp) -------------------------------------------------------------------------------
    bool Load(CeManualEvent* stop, bool bFull);
    void Tell(LONG count);
    static void DeleteRow(DATANOTES** row, CEUSER, void*) { delete *row; }
    DWORD StateFor(DWORD stored) const; // as IsFolderOpen tells it
    bool IsLeftOut(DWORD state) const { return state > kFolderOpen && !m_bShowAllFolders; }
    static bool IsOpen(DWORD state) { return state == kFolderOpen || state == (kFolderOpen | kFolderHidden); }

    bool IsStopped();

    // --- Files (notesread.cpp) ------------------------------------------------------------------------------------
    DWORD StateOf(std::u16string_view path) const { return StateFor(m_pStores->StateOf(path)); }
    void AddMyDocumentsRoot();
    void AddStorageCards();
    void AddRoot(const std::u16string& path, bool bSubFolders);
    LONG AddFolderContents(const std::u16string& path, DATANOTES* parent, bool bSubFolders);
    LONG AddFolder(const std::u16string& path, bool bSubFolders, DATANOTES* parent);
    LONG AddSubFolder(const WIN32_FIND_DATAW& found, const std::u16string& path, DATANOTES* parent);
    bool MayFill(DWORD oid);
    bool AddPWINote(const WIN32_FIND_DATAW& found, DATANOTES* parent);
    void ReadAttributes(DATANOTES& row) const;
    std::unique_ptr<DATANOTES> NewRow(std::u16string_view title, std::u16string_view path);
    std::unique_ptr<DATANOTES> NewFolder(std::u16string_view title, std::u16string_view path, DWORD state);
    static void Attach(DATANOTES* row, DATANOTES* parent);

    // --- The notes library (notesread.cpp) ------------------------------------------------------------------------
    void AddHPCDatabases();
    LONG AddHPCDatabase(DWORD oid, DATANOTES* parent);
    bool AddLibraryNote(const PWN_NOTE& note, DWORD database, DATANOTES* parent);

    // --- Which notes are rows (notesfilter.cpp) -------------------------------------------------------------------
    bool FilterNote(const DATANOTES& row);
    bool ReadBody(const DATANOTES& row, std::u16string& body);
    bool Matches(std::u16string text) const;

    // --- The tree (notestree.cpp) ---------------------------------------------------------------------------------
    void Sort();
    static void SortHier(CePtrList<DATANOTES*>& level, NoteCompare compare, LONG direction);
    void LoadHier(const CePtrList<DATANOTES*>& level);
    void FillFolder(DATANOTES* row);
    void Empty(DATANOTES* row);
    void Reread(DATANOTES* row);
    template<class Test>
    DATANOTES* FindLast(Test test) const;

    CePtrList<DATANOTES*> m_listNotes; // owns all rows
    std::vector<std::u16string> m_roots;
    std::vector<std::u16string> m_libraryCategories;
    std::u16string m_rootFolder;
    DWORD m_nNextId = 1;
    LONG m_nRecordings = 0;
    NoteLibraryUse m_library;
    CeInkCtrl m_ink;
    std::unique_ptr<CRegistry> m_pNoteData;
    std::unique_ptr<CRegistry> m_pFolderStates;

    // While folders are read.
    std::unique_ptr<NoteStores> m_pStores;
    CeManualEvent* m_pStop = nullptr;
    std::vector<DWORD> m_chain;              // the folders that we are in, by file
    std::unordered_map<DWORD, int> m_visits; // how often a folder was filled
    bool m_bStopped = false;

    // What to compare with, in capitals.
    std::u16string m_szCompare;
    bool m_bCompareAnywhere = false;
    bool m_bCompareContents = false;
    bool m_bCompareWildcard = false;

    // Settings.
    LONG m_bShowAllFolders = 0;
    LONG m_nFilterPrivacy = -1;
    LONG m_nAppLayout = 3;
    double m_dDateOn = 0;
};
