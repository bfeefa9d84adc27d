// The one access to the property databases of the device: a mounted volume, a session on it, one open database and its
// cursor. Belongs to one thread at a time. The platform's own volume is \pim.vol; the suite's is MountNorvoVolume's.
//
// Failures come back as results; the last error tells more. HandleError traces them and never stops the caller.
#pragma once

#include "NorvoTools/CeDbRecord.h"
#include "Platform/databases.h"
#include "Platform/types.h"

class QN_API CeDb {
public:
    CeDb();
    ~CeDb(); // closes and unmounts
    CeDb(const CeDb&) = delete;
    CeDb& operator=(const CeDb&) = delete;

    // --- Volumes. Mounting the path that is mounted already is true at once; another one is unmounted first. ---
    bool MountVolume(const WCHAR* path);                // an old volume; fails when it is missing
    bool MountVolumeEDB(const WCHAR* path, bool bFlag); // makes it when it is missing
    // Shares the other object's mount and session. Without one: by the path, or false without both.
    bool MountVolume(CeDb* other, const WCHAR* path, bool bEDB);
    bool MountNorvoVolume();
    bool UnMountVolume();
    bool IsMounted() const { return m_szVolume[0] != 0 && m_hSession != nullptr; }
    bool IsOpen() const { return m_hDb != INVALID_HANDLE_VALUE; }
    bool MatchDatabaseGUID(const CEGUID& guid) const;

    // --- Sessions and transactions ---
    bool CreateSession();
    void CloseSession();
    // Makes the session when there is none.
    bool BeginTransaction();
    // Without a session there is nothing to do, and that is a success.
    bool Commit();
    bool RollBack();

    // --- Databases. The suite's volume is mounted when none is. `hwnd` is told of changes. ---
    bool Open(CEOID oid, CEPROPID sortProp = 0, DWORD flags = 0, HWND hwnd = nullptr);
    bool Open(const WCHAR* name, CEPROPID sortProp = 0, DWORD flags = 0, HWND hwnd = nullptr);
    // In a session, with the cursor on the first record. A `notify` of the caller (from new) is this object's
    // afterwards.
    bool OpenEDB(CEOID oid, const WCHAR* name, const SORTORDERSPECEX* sort, DWORD flags, HWND hwnd,
                 CENOTIFYREQUEST* notify = nullptr);
    // Without a session; where the cursor stands is the platform's business.
    bool OpenCEDB(CEOID oid, const WCHAR* name, const SORTORDERSPECEX* sort, DWORD flags, HWND hwnd,
                  CENOTIFYREQUEST* notify = nullptr);
    void Close();
    // At most 16 sort orders, more are dropped.
    bool Create(const WCHAR* name, DWORD type, WORD count, const SORTORDERSPEC* orders);
    bool Create(const WCHAR* name, DWORD type, WORD count, const SORTORDERSPECEX* orders, WORD propCount,
                const CEPROPSPEC* props);
    // The database that is or was open by id; 0 when there is none.
    bool Delete();
    bool SetInfo(CEOID oid, CEDBASEINFOEX* info);
    DWORD AddDatabaseProps(CEOID oid, WORD count, const CEPROPSPEC* props); // the last error, 0 for success
    DWORD RemoveDatabaseProps(CEOID oid, WORD count, const CEPROPID* props);
    bool GetInfo(CEOID oid, CEOIDINFOEX* info) const;
    DWORD GetNumRecords() const;
    // The name of the database that a record lies in, as a new BSTR; null when it is no record.
    BSTR GetDatabaseNameFromOID(CEOID oid) const;
    CENOTIFYREQUEST* GetNotificationRequest() const { return m_pNotify; }

    // --- Records ---
    bool AddRec(CeDbRecord& rec); // the new id goes to rec.m_oid
    bool UpdateRec(CeDbRecord& rec);
    bool DeleteRecord(CEOID oid);
    // Reads the current record into a new buffer of the record's own; ids null: all properties.
    bool ReadRec(CeDbRecord& rec, WORD count, const CEPROPID* ids);
    // Reads into the caller's buffer (a LocalAlloc block), which the record owns from then on: see DetachBuffer. A
    // record that doesn't fit fails. Don't add properties or longer texts to such a record.
    bool ReadRec(CeDbRecord& rec, void* buffer, DWORD size, WORD count, const CEPROPID* ids);
    DWORD StreamSize(CEPROPID propid); // of the current record; 0 for none
    // The whole stream as a new LocalAlloc block; false for an empty one.
    bool ReadStream(CEPROPID propid, CEBLOB* blob);
    // False also for an empty blob, which truncates the stream.
    bool WriteStream(CEPROPID propid, const CEBLOB* blob);

    // --- Seeks: the id of the record, 0 when there is none ---
    CEOID Seek(DWORD type, ULONG_PTR value, WORD count, DWORD* index = nullptr);
    CEOID SeekTo(CEOID oid) { return Seek(CEDB_SEEK_CEOID, oid, 1); }
    CEOID SeekBegin(DWORD n) { return Seek(CEDB_SEEK_BEGINNING, n, 1); }
    CEOID SeekFirst() { return SeekBegin(0); }
    CEOID SeekEnd(DWORD n) { return Seek(CEDB_SEEK_END, n, 1); }
    CEOID SeekLast() { return SeekEnd(0); }
    CEOID SeekCurrent(LONG n) { return Seek(CEDB_SEEK_CURRENT, static_cast<DWORD>(n), 1); }
    CEOID SeekNext() { return SeekCurrent(1); }
    CEOID SeekPrev() { return SeekCurrent(-1); }
    CEOID SeekSmallerRec(const CEPROPVAL* vals, WORD count) {
        return SeekValues(CEDB_SEEK_VALUESMALLER, vals, count);
    }
    CEOID SeekRec(const CEPROPVAL* vals, WORD count) {
        return SeekValues(CEDB_SEEK_VALUEFIRSTEQUAL, vals, count);
    }
    CEOID SeekGreaterRec(const CEPROPVAL* vals, WORD count) {
        return SeekValues(CEDB_SEEK_VALUEGREATER, vals, count);
    }
    CEOID SeekNextRec(const CEPROPVAL* vals, WORD count) {
        return SeekValues(CEDB_SEEK_VALUENEXTEQUAL, vals, count);
    }

    // Looks at the last error after an operation: traces it, or tells the user that the store is full.
    void HandleError(const WCHAR* operation) const;

    HANDLE m_hDb = INVALID_HANDLE_VALUE;
    CEOID m_oid = 0; // of the database; 0 until known
    CEGUID m_guid = {};
    bool m_bEDB = false;
    WCHAR m_szVolume[256] = {};
    WCHAR m_szName[257] = {};
    HANDLE m_hSession = INVALID_HANDLE_VALUE;
    CENOTIFYREQUEST* m_pNotify = nullptr;

private:
    CEOID SeekValues(DWORD type, const CEPROPVAL* vals, WORD count) {
        return Seek(type, reinterpret_cast<ULONG_PTR>(vals), count);
    }
    bool Mount(const WCHAR* path, bool bEDB, DWORD flags);
    bool OpenBySort(CEOID oid, const WCHAR* name, CEPROPID sortProp, DWORD flags, HWND hwnd);
    bool PrepareOpen(CEOID oid, const WCHAR* name, HWND hwnd, CENOTIFYREQUEST* notify, ULONG_PTR param);
    CEOID CloseForChange(CEOID oid);
    bool HasVolume() const { return m_szVolume[0] != 0; }
    static void HandleMountError();
};
