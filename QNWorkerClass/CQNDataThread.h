// The base of all data threads: what every load needs. The side databases (categories, named properties, links,
// journal, planning stores), the filters that run on each record, and the settings of the view.
//
// A thread object belongs to the thread that made it. A load runs on the worker and holds m_csData; a second load that
// finds it taken returns at once. The list of a derived class is read by its client between two loads.
#pragma once

#include "NorvoTools/CRegistry.h"
#include "NorvoTools/CeCriticalSection.h"
#include "NorvoTools/CeDb.h"
#include "NorvoTools/CeDbRecord.h"
#include "NorvoTools/CeWorkerThread.h"
#include "QNWorkerClass/COutlook.h"
#include "QNWorkerClass/categories.h"
#include "QNWorkerClass/dates.h"

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct DATATASKS;

// Messages to the client window of a data thread.
inline constexpr UINT kMsgLoadBegins = 32802;     // 0, 0
inline constexpr UINT kMsgListChanged = 1274;     // 1 final, 0 progress; number of lines
inline constexpr UINT kMsgThreadFinished = 32803; // 0, 0

class QN_API CQNDataThread : public CeWorkerThread {
public:
    CQNDataThread();
    ~CQNDataThread() override;
    CQNDataThread(const CQNDataThread&) = delete;
    CQNDataThread& operator=(const CQNDataThread&) = delete;

    // Another key of settings for this object; the next SettingChange reads it.
    void Override(const WCHAR* key);
    // Saves the filter's modes under m_szSettingsKey when bSave.
    virtual void SetCategoryRestrict(bool bSave);
    // Opens links and journal (and the planning stores with m_bGoalsToo); 0 when that has been done, else 1.
    virtual int InitiateLinksDB();
    virtual void CloseLinksDB();
    virtual LONG GetActiveDataCount();

    void GetCategoryRestrict(CCategoryFilterInfo*& filter) { filter = &m_CategoryFilter; }
    CeDb* GetDatabaseClass();

    // Brings up what is still undone of the side databases and the named properties. At the head of each load.
    void SetupThreadResources();

    // Filters. All pass when the store that they need is missing.
    bool CategoryFilterEDB(CEOID oid, CCategoryFilterInfo* filter);
    bool CategoryAndFilterEDB(CEOID oid, CFullCategoryList& list);
    bool CategoryOrFilterEDB(CEOID oid, CFullCategoryList& list);
    static bool CheckPrivacy(LONG mode, LONG sensitivity);
    // False for a task that is a mission statement, goal or compass entry.
    bool FilterSpecialTask(CEOID oid);
    // Whether the stream property of the database's current record holds no note worth an icon.
    bool IsNoteEmpty(CeDb* db, DWORD propid);

    // Values of an item by its OID. Texts are new: from m_hHeap, or by malloc without one.
    WCHAR* CategoryFromEDB(CEOID oid); // never null; empty without categories
    WCHAR* IconStrFromEDB(CEOID oid);  // null when there is none
    DWORD TaskPercentFromOID(CEOID oid);
    DWORD GtdProjectFromOID(CEOID oid);
    bool GtdStarredFromOID(CEOID oid);
    bool TrackedFromOID(CEOID oid);
    // The parent's OID; bFraction says that a fraction was left.
    DWORD ParentFromOID(CEOID oid, bool& bFraction);

    // Numbers of the named properties, 0 until resolved; shared by all threads.
    static std::atomic<DWORD> ms_IconProperty;
    static std::atomic<DWORD> ms_ParentProperty;
    static std::atomic<DWORD> ms_PercentProperty;
    static std::atomic<DWORD> ms_TrackedProperty;
    static std::atomic<DWORD> ms_GtdProjectProperty;
    static std::atomic<DWORD> ms_StarredProperty;
    static std::atomic<DWORD> ms_ContextProperty;
    static std::atomic<DWORD> ms_StatusProperty;

    // True when a run has to end: no event, no handle, or signalled.
    static bool StopRequested(CeManualEvent* stop);

protected:
    // Stop, for a destructor. The run may wait for this thread's answer to a message that the list has changed: what is
    // sent is answered meanwhile, what is posted stays.
    void StopAnswering();
    // The value of a named property of an item; false when absent. The bytes stay valid until the next read.
    bool ReadNamedProperty(CEOID oid, DWORD property, CEBLOB& value);
    // A scalar of `width` bytes out of such a value; what the value lacks is 0.
    ULONGLONG NamedScalar(CEOID oid, DWORD property, unsigned width);
    // The categories of an item; null for an id that the device doesn't know.
    std::vector<LONG> CategoriesOf(CEOID oid); // ids, ascending; 0 for one that can't be read
    const CategoryEntry* FindCategory(LONG id);
    // Whether the record with this one key is in the database.
    static bool SeekKey(CeDb* db, DWORD propid, DWORD value);
    // Whether links or journal entries of the item exist; false while those stores are closed.
    bool HasLink(CEOID oid);
    bool HasJournalLink(CEOID oid);
    // What the side databases tell of a task: categories, icon, percentage, note (of the current record of `db`), links.
    void FillTaskFromStores(DATATASKS& row, CeDb* db);
    WCHAR* NewText(std::u16string_view text); // from m_hHeap, or by malloc without one

    // Reads the named values and the categories of all items from this OID on in two walks; until the scope ends they are
    // answered from there. A seek for each value of each item costs more than the walks.
    class ItemScan {
    public:
        ItemScan(CQNDataThread& thread, CEOID first);
        ~ItemScan();
        ItemScan(const ItemScan&) = delete;
        ItemScan& operator=(const ItemScan&) = delete;

    private:
        CQNDataThread& m_thread;
    };
    // The items of the scan that have a value of this property.
    std::vector<CEOID> ItemsWithNamed(DWORD property) const;

    // The lock of a load, held for a scope if it was free. While the worker holds it that is known, since a terminated
    // thread can't leave it: PostKill calls LeaveForKilled.
    class DataHold {
    public:
        explicit DataHold(CQNDataThread& thread);
        ~DataHold();
        DataHold(const DataHold&) = delete;
        DataHold& operator=(const DataHold&) = delete;
        bool IsHeld() const { return m_bHeld; }

    private:
        CQNDataThread& m_thread;
        bool m_bHeld;
    };
    void LeaveForKilled();

    CeCriticalSection m_csData;
    std::unique_ptr<CeDb> m_pDbLinks;
    std::unique_ptr<CeDb> m_pDbJournal;
    std::unique_ptr<CeDb> m_pDb;
    BYTE m_bLinksOpen = 0;
    BYTE m_bGoalsToo = 0;
    HANDLE m_hHeap = nullptr; // of row strings; null means the C heap
    CRegistry m_regSettings;
    WCHAR m_szSettingsKey[257] = {};
    LONG m_bShowHasNote = 1;
    CCategoryFilterInfo m_CategoryFilter;
    CeDbRecord m_recNamed;
    CeDbRecord m_recCategory;
    std::unique_ptr<CeDb> m_pDbCategoryAssoc;
    std::unique_ptr<CeDb> m_pDbNamedProps;
    std::unique_ptr<CeDb> m_pDbMission;
    std::unique_ptr<CeDb> m_pDbGoals;
    std::unique_ptr<CeDb> m_pDbCompass;
    // -1 from construction on, and nothing else writes it: so the setting SizeNoteCheck is never read and the size rule
    // of IsNoteEmpty always holds. It must stay so: notes show their icons by it.
    LONG m_nSizeNoteCheck = -1;

private:
    struct NamedEntry {
        CEOID oid;
        DWORD property;
        DWORD offset; // of the value in the bytes
        DWORD size;
    };
    struct ScannedItems {
        CEOID first;
        std::vector<NamedEntry> entries; // by item, then property
        std::vector<BYTE> bytes;
        bool bCategories = false;                       // the next is filled
        std::vector<std::pair<CEOID, LONG>> categories; // by item, then id
    };
    void ScanNamedValues(ScannedItems& items);
    void ScanCategories(ScannedItems& items);
    bool FindNamedValue(CEOID oid, DWORD property, CEBLOB& value);

    void OpenCategoryAssociations();
    void ResolveNamedProperties();
    void OpenNamedProperties();
    std::unique_ptr<CeDb> OpenLinkStore(const WCHAR* name, DWORD sortProp);
    std::unique_ptr<CeDb> OpenPlanningStore(const WCHAR* name, DWORD sortProp);
    bool NoteHeadIsEmpty(HANDLE stream, DWORD size);

    CategorySnapshot m_categories;
    std::size_t m_nLastCategory = 0;
    BYTE m_abNoteHead[50] = {};
    std::unique_ptr<ScannedItems> m_pScanned; // alive within an ItemScan
    std::atomic<bool> m_bHoldsData{false};    // a load of the worker holds m_csData
    BYTE* m_pNamedBuffer = nullptr;
    BYTE* m_pCategoryBuffer = nullptr;
    std::u16string m_szCategoryBuffer; // scratch of CategoryFromEDB
};
