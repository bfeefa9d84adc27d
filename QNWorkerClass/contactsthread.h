// The contacts thread: the rows of a contact list. A cache holds the names of all contacts and lives as long as the object;
// the display list is made of it at each run, by the view's format, the category filter and what was typed to find. What
// a row shows besides (the line with a number, categories, icons) is read when it is drawn.
//
//     CContactsThread contacts;
//     contacts.m_hClientWnd = window;
//     contacts.SetCompareString(u"ada", false, kFindQuick);
//     contacts.Start();                         // window: 32802, then 1274 with the count, then 32803
//     for (DATACONTACTS* row : contacts.GetList()) {
//         if (!row->m_bFilled) contacts.FillContactInfo(row);
//         Show(row->GetNameDisplay(contacts.GetContactsDisplay()), row->m_szExtraLine);
//     }
//
// The object belongs to the thread that made it. The list is the run's from Start to 1274, the client's afterwards. Cache
// edits wait for a run that is going; drawing doesn't, and leaves the row as it is. Rows belong to the thread object.
// Settings stand under Software\Norvo\Quillonary\CV.
#pragma once

#include "QNWorkerClass/CQNDataThread.h"
#include "QNWorkerClass/DATACONTACTS.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

class CCallLog;
class PropertyReader;
struct CCallLogEntry;
struct ContactsCompare;

// Modes of SetCompareString.
enum ContactsFind : int {
    kFindQuick = 0,       // names that begin so
    kFindFirstLetter = 1, // of one letter: by the name the list is ordered by
    kFindKeypad = 2,      // digits stand for letters
};

// wParam of 1274 when one group was opened.
inline constexpr WPARAM kTreeBranchChanged = 4;

class QN_API CContactsThread : public CQNDataThread {
public:
    CContactsThread();
    ~CContactsThread() override;

    // --- What to show ---------------------------------------------------------------------------------------------
    void SettingChange(); // reads the settings; each run does
    void SetCategoryRestrict(bool bSave) override;
    ContactsDisplay GetContactsDisplay() const { return static_cast<ContactsDisplay>(m_nFormat.load()); }
    // For the next run. At most 1,023 characters count; none, or null, is as ClearCompareString. Key-pad mode falls back
    // to the plain one when the text is more than digits, blanks and '#'.
    void SetCompareString(const WCHAR* text, bool bFullSearch, int mode);
    void ClearCompareString();
    bool IsCompareString() const { return m_bCompare; }

    // --- A run, on the caller's thread ----------------------------------------------------------------------------
    // The window is sent 1274 when the list is complete. A run that finds another going does nothing.
    void LoadContacts(CeManualEvent* stop);

    // --- The list -------------------------------------------------------------------------------------------------
    CePtrList<DATACONTACTS*>& GetList() { return m_listContacts; } // first index 1; owns nothing
    LONG GetActiveDataCount() override { return m_lActiveDataCount; }
    void ClearData();
    // By the format, group by group; or plainly by file-as names, the last one first. Nothing happens while a run is going.
    void SortDataList(bool bSimple);
    // Reads what a row of this object shows besides its name. Nothing happens while a run is going: the row stays unfilled.
    void FillContactInfo(DATACONTACTS* row);
    WORD SetPropIds(CEPROPID* ids) const; // what that reads, at most 23; gives how many

    // --- Groups ---------------------------------------------------------------------------------------------------
    // Puts the rows below the header of this group id at this place of the list, which is open then; gives how many. Unless
    // bBatch the list is sorted and the window sent 1274 with wParam 4; with bBatch and without the setting OpenOnCompare a
    // closed header stays closed, and its rows are counted alone.
    LONG TreeAddList(LONG id, LONG position, bool bBatch);
    void TreeDeleteList(LONG id);
    // Kept by the label, as long as the object lives.
    void SetGroupHeaderOpen(DATACONTACTS* header, bool bOpen);
    static bool CheckGroupByField(const DATACONTACTS* header, const DATACONTACTS* row);
    // Whether the row is found under its header; `len` characters of the text are compared.
    bool SearchGroupByFieldNode(int len, const DATACONTACTS* row);

    // --- The cache ------------------------------------------------------------------------------------------------
    void LoadCatCache();
    void ClearCatCache(); // and the list, which points into it
    bool IsCatCacheLoaded() const { return m_bCacheLoaded; }
    LONG GetTotalNumRecords() const { return m_lTotalNumRecords; }
    void SetTotalNumRecords(LONG count) { m_lTotalNumRecords = count; }
    // By the id of the database record. Nothing while the cache is empty.
    void AddCatCacheItem(CEOID oidRecord);
    void UpdateCatCacheItem(CEOID oidRecord);
    void DeleteCatCacheItem(CEOID oidRecord); // a row that is listed stays there until the next run
    void FinishUpdatingCatCacheItem();        // puts the cache in order again
    // Index in the cache (first 1) from `start` on; 0 when there is none.
    int FindCatCacheItem(DWORD oid, int start);
    // The first row whose name begins so: the name by which the format orders, or with bPrefixOnly off any of its names.
    int FindCatCacheItem(const WCHAR* text, int len, ContactsDisplay format, bool bPrefixOnly, int start);
    DATACONTACTS* GetCatCacheItem(int index) { return m_listCatCache.Get(index); } // null outside
    // Where the list has this row of the cache; -1 when it is left out.
    int MatchCacheToDataThread(int cacheIndex);
    // Whether what was typed is found in the row of the cache that was read last.
    bool CheckContactsSearchCriteria();
    bool CheckContactsT9SearchCriteria();

    // --- Orders: see contactssort.h -------------------------------------------------------------------------------
    static int CompareCatCacheItem(DATACONTACTS* const& a, DATACONTACTS* const& b, CEUSER format);
    static int CompareFunc(DATACONTACTS* const& a, DATACONTACTS* const& b, CEUSER format);
    static int CompareFuncSimple(DATACONTACTS* const& a, DATACONTACTS* const& b, CEUSER);

    HWND m_hClientWnd = nullptr; // is told of a run

protected:
    DWORD ThreadProc() override;
    void PostKill() override;

private:
    using Rows = std::vector<DATACONTACTS*>;
    struct Category {
        std::u16string name;
        Rows rows;
    };

    // --- The run (contactsthread.cpp) -----------------------------------------------------------------------------
    bool Load(CeManualEvent* stop);
    bool PrepareCache(CeManualEvent* stop);
    bool BuildList(CeManualEvent* stop);
    bool OpenContacts();
    void CloseStores();
    void SendCount(WPARAM kind);

    // --- The cache (contactscache.cpp) ----------------------------------------------------------------------------
    bool ReadCache(CeManualEvent* stop); // false when stopped; the cache is empty then
    PropertyReader NamesReader() const;
    void DropCache();
    DATACONTACTS* NewCacheRow(const PropertyReader& reader, CEOID oidRecord);
    void FillNames(DATACONTACTS& row, const PropertyReader& reader, CEOID oidRecord);
    bool IsHiddenSim(const PropertyReader& reader) const;
    WCHAR* SharedText(std::u16string_view text);
    bool UpdateCatCacheForGroupBy(CeManualEvent* stop); // false when stopped
    LONG CacheOrder() const;
    void SortCache();
    bool IsFiltered() const;
    void FilterCatCacheItems();
    int IndexOfRecord(CEOID oidRecord);

    // --- Finding (contactsfind.cpp) -------------------------------------------------------------------------------
    void SetCompare(std::shared_ptr<const ContactsCompare> compare);
    void TakeCompare();
    bool Finds(const DATACONTACTS& row, const WCHAR* text, int len, LONG format, bool bPrefixOnly) const;
    bool FindsListed(const DATACONTACTS& row, LONG format, bool bFiltered);
    bool FindsByCriteria(const DATACONTACTS& row);
    bool FindsInRecord(CEOID oidRecord);

    // --- The lists (contactslist.cpp) -----------------------------------------------------------------------------
    bool ListContacts(CeManualEvent* stop);
    bool ListRecent(CeManualEvent* stop);
    bool ListCalls(CeManualEvent* stop);
    bool PassesCall(const CCallLogEntry& entry) const;
    void AddCall(const CCallLogEntry& entry);
    void FillShownKeys(LONG format);
    void SortRows(bool bSimple);

    // --- Groups (contactsgroups.cpp) ------------------------------------------------------------------------------
    bool ListGroups(CeManualEvent* stop);
    bool ListCategories(CeManualEvent* stop);
    DATACONTACTS* AddHeader(std::u16string_view label);
    void PutUnder(DATACONTACTS* header, DATACONTACTS* row);
    void ShowCount(DATACONTACTS& header);
    void FinishHeaders();
    bool OpensOnCompare() const;
    void AddBranch(DATACONTACTS* header, const Rows& rows, bool bOpen);
    void CollectByKey(const DATACONTACTS& header, Rows& rows);
    void CollectByCategory(const DATACONTACTS& header, Rows& rows);
    void RemoveBranch(DWORD id);
    std::vector<Category> NameCategories(std::map<LONG, Rows>& byId);
    static std::vector<Category> OnePerName(std::vector<Category> categories);

    // --- Rows (contactsfill.cpp) ----------------------------------------------------------------------------------
    void FillRow(DATACONTACTS& row, PropertyReader& reader);
    void FillLine(DATACONTACTS& row, const PropertyReader& reader);
    bool FillContactInfoInOnePhase(CeManualEvent* stop);
    std::vector<CEPROPID> LineIds() const;

    CePtrList<DATACONTACTS*> m_listContacts;
    CePtrList<DATACONTACTS*> m_listCatCache; // owned
    CePtrList<DATACONTACTS*> m_listHeaders;  // owned, in the order of the list
    // A contact in two open groups stands there as two rows: the second one borrows its names.
    std::unordered_map<const DATACONTACTS*, std::unique_ptr<DATACONTACTS>> m_twins;
    std::vector<std::unique_ptr<DATACONTACTS>> m_calls;
    std::vector<std::unique_ptr<DATACONTACTS>> m_dropped;          // no longer in the cache, but still listed
    std::unordered_map<std::u16string_view, WCHAR*> m_sharedTexts; // of the heap: group keys and labels
    std::unordered_set<std::u16string> m_openGroups;               // labels in capitals
    std::unique_ptr<CCallLog> m_pCallLog;
    std::unique_ptr<PropertyReader> m_pLineReader;
    std::unique_ptr<PropertyReader> m_pSearchReader;
    std::atomic<LONG> m_lActiveDataCount{0};
    std::atomic<LONG> m_lTotalNumRecords{0};
    std::atomic<bool> m_bCacheLoaded{false};
    std::atomic<bool> m_bRefilter{true};
    // A run waits for the row that is being drawn, and nothing is drawn while it goes. The lock of the load is not used for
    // that: a run that finds it taken would be lost.
    std::atomic<bool> m_bRunGoing{false};
    std::atomic<bool> m_bDrawing{false};
    bool m_bSimStore = false; // the store orders by file-as name and SIM mark
    bool m_bLinksTried = false;

    // What was typed: the client's, and what the run goes by.
    std::mutex m_compareLock;
    std::shared_ptr<const ContactsCompare> m_pNextCompare;
    std::shared_ptr<const ContactsCompare> m_pCompare;
    std::atomic<bool> m_bCompare{false};

    // What the cache was last put in order for; -1: for nothing yet.
    struct Prepared {
        LONG nFormat = -1;
        LONG nNameFormat = -1;
        LONG bNamesOnly = -1;
        bool operator==(const Prepared&) const = default;
    };
    Prepared m_prepared;
    LONG m_nKeyFormat = -1; // whose group keys the cache has

    // Settings.
    std::atomic<LONG> m_nFormat{kDisplayFirstLast};
    LONG m_bShowNamesOnly = 0;
    LONG m_bUseTwoPhases = 1;
    LONG m_bShowSIM = 1;
    LONG m_bShowPicture = 0;
    LONG m_bOpenOnCompare = 1;
    LONG m_bSearchCompanySubNodes = 1;
    LONG m_bSearchFullData = 0;
};
