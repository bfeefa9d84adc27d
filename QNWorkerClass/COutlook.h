// The library's one session on the platform's object model of items. Made by InitQNTools, logged on at first use.
// Any thread may call it; nobody waits in Open. A call that is under way keeps its session, whoever closes it meanwhile.
#pragma once

#include "NorvoTools/CeCriticalSection.h"
#include "Platform/poom.h"
#include "Platform/types.h"

#include <memory>
#include <mutex>

class CeDb;

// Kinds of an item or a link.
enum DataType : LONG {
    kDataNone = 0,
    kDataFile = 1,
    kDataContact = 2,
    kDataAppointment = 3,
    kDataTask = 4,
    kDataFile8 = 8,
    kDataNoteFile = 9,
    kDataOtherFile = 10,
    kDataPhatPad = 11,
    kDataSteflilgu = 12,
    kDataMail = 15,
};

class QN_API COutlook {
public:
    COutlook() = default;
    virtual ~COutlook();
    COutlook(const COutlook&) = delete;
    COutlook& operator=(const COutlook&) = delete;

    // Logs on unless logged on; returns at once when another thread is inside.
    void Open();
    void Close();
    void SetParentWindow(HWND owner) { m_hOwner = owner; }
    // What each gives without a session stands behind it; otherwise the platform's own result.
    HRESULT GetItemFromOid(CEOID oid, IDispatch** item);                                        // -1
    HRESULT GetItemFromOidEx(CEOID oid, IItem** item);                                          // E_FAIL
    HRESULT CreateItem(LONG type, IDispatch** item);                                            // -1
    HRESULT GetDefaultFolder(LONG folder, IFolder** out);                                       // -1
    HRESULT SubscribeToNotifications(LONG folder, DWORD flags);                                 // E_FAIL
    HRESULT FindMatchingContact(const WCHAR* text, DWORD flags, IItem** item, DWORD* property); // E_FAIL
    HRESULT GetTimeZoneInformationFromIndex(LONG index, TIME_ZONE_INFORMATION* zone);           // E_FAIL
    // What is saved in between is one transaction (PlatBeginItemBatch): much faster for many items.
    HRESULT BeginBatch();          // E_FAIL
    HRESULT EndBatch(bool commit); // E_FAIL
    // The id of a named property; 0 on failure or, without `create`, for an unknown name.
    DWORD GetPOOM2Property(const WCHAR* name, WORD type, bool create);

    // What is saved in its scope, by any thread, becomes one change, durable at the end. Without a session, or in the scope
    // of another, it does nothing. Named properties that may be new are made before.
    class QN_API SaveBatch;

    static DataType GetQNItemType(CEOID oid);
    // Tells the user of a failed save; false when there was nothing to show.
    static bool DisplayPIMSaveError(HRESULT code);
    // The record id for an automatic number, 0 on failure; the database is left open on the record.
    static CEOID OpenAndSeekInEDB(CeDb* db, const WCHAR* name, WORD autoId);
    // The opposite; 0 on failure.
    static WORD GetAutoIDFromEDBID(const WCHAR* name, CEOID oid);

private:
    using Session = std::shared_ptr<IPOutlookApp2>;
    Session Current() const;
    Session EnsureOpen(); // null without a session
    Session LogOn() const;

    Session m_pApp;               // null: not logged on
    mutable std::mutex m_lockApp; // of the pointer alone, held for a copy of it
    HWND m_hOwner = nullptr;
    CeCriticalSection m_csOpen;
    bool m_bOpening = false; // under m_csOpen, which its owner may enter again
};

class QN_API COutlook::SaveBatch {
public:
    explicit SaveBatch(COutlook& outlook);
    ~SaveBatch();
    SaveBatch(const SaveBatch&) = delete;
    SaveBatch& operator=(const SaveBatch&) = delete;

private:
    Session m_pApp;
    bool m_bOpen;
};

// The frame's session; null until InitQNTools.
extern QN_API COutlook* g_pOutlook;
extern "C" QN_API COutlook* GetOutlookObject();

QN_API HRESULT NorvoChooseContact(tagCHOOSECONTACT* choice);
QN_API bool IsExchangeSync();

// The bridge to the shell's context-menu extensions: other programs' commands in an item's menu.
class QN_API CPocketOutlookIContext {
public:
    explicit CPocketOutlookIContext(DataType kind) : m_nKind(kind) {}
    ~CPocketOutlookIContext();
    CPocketOutlookIContext(const CPocketOutlookIContext&) = delete;
    CPocketOutlookIContext& operator=(const CPocketOutlookIContext&) = delete;

    void SetOID(CEOID oid); // makes the popup menu for the item
    HMENU GetMenu() const { return m_hMenu; }
    LONG GetMenuCount() const;
    void InvokeMenu(HWND window, UINT command);

private:
    void FreeContext();

    HMENU m_hMenu = nullptr;
    IUnknown* m_pContext = nullptr; // null without extensions
    HANDLE m_hContext = nullptr;    // the shell's
    DataType m_nKind;
};
