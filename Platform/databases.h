// Property databases: volumes of databases, each a set of records with typed properties, walked in sort orders.
//
// A volume is one file of the device ("\pim.vol"). Mount it, open a database of it (in a session when several changes
// shall be one), seek, read, write, close. A change that was reported as done, outside a transaction or by
// CeEndTransaction, is on disk. Several handles, threads and processes may use one volume at once; each sees what the
// others have committed.
//
// Threads: every operation may be called from any thread. A database handle has one cursor, so a handle belongs to
// one thread at a time; a seek and the read behind it are two steps, between which others may write.
// Ownership: names and values are only read. Buffers of CeReadRecordPropsEx belong to the caller. Handles are closed
// with CloseHandle. Closing a session rolls its open transaction back; databases opened in it go on working.
//
// Each operation sets the last error when it fails; the errors of nearly all of them are 5 (no access),
// 6 (not a handle of that kind), 11 (the volume is damaged), 29 (the disk failed), 32 (another writer kept the volume
// locked), 87 (a wrong argument) and 112 (disk full). Others are told at the operation.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

using CEPROPID = DWORD; // low 16 bits the type, high 16 bits the id

// Types of a property.
inline constexpr WORD CEVT_I2 = 2;
inline constexpr WORD CEVT_I4 = 3;
inline constexpr WORD CEVT_R8 = 5;
inline constexpr WORD CEVT_BOOL = 11;
inline constexpr WORD CEVT_UI2 = 18;
inline constexpr WORD CEVT_UI4 = 19;
inline constexpr WORD CEVT_LPWSTR = 31;
inline constexpr WORD CEVT_FILETIME = 64;
inline constexpr WORD CEVT_BLOB = 65;
inline constexpr WORD CEVT_STREAM = 100; // reached by CeOpenStream, never read with the record
inline constexpr WORD CEVT_RECID = 102;  // the record's automatic number in its database, given by the store

constexpr WORD TypeFromPropID(CEPROPID propid) { return LOWORD(propid); }
constexpr WORD IdFromPropID(CEPROPID propid) { return HIWORD(propid); }

// CEPROPVAL::wFlags.
inline constexpr WORD CEDB_PROPNOTFOUND = 0x100; // the record doesn't have it
inline constexpr WORD CEDB_PROPDELETE = 0x200;   // take it out of the record

struct CEGUID {
    DWORD Data1;
    DWORD Data2;
    DWORD Data3;
    DWORD Data4;
    friend bool operator==(const CEGUID&, const CEGUID&) = default;
};
static_assert(sizeof(CEGUID) == 16);

struct CEBLOB {
    DWORD dwCount;
    BYTE* lpb;
};
using _CEBLOB = CEBLOB;

union CEVALUNION {
    SHORT iVal;
    USHORT uiVal;
    LONG lVal;
    ULONG ulVal;
    FILETIME filetime;
    LPWSTR lpwstr;
    CEBLOB blob;
    BOOL boolVal;
    double dblVal;
};

struct CEPROPVAL {
    CEPROPID propid;
    WORD wLenData; // not used
    WORD wFlags;
    CEVALUNION val;
};
static_assert(sizeof(CEPROPVAL) == 24 && offsetof(CEPROPVAL, val) == 8);

// A property of a database's schema. The schema is kept and told; records aren't bound to it.
struct CEPROPSPEC {
    WORD wVersion;
    CEPROPID propid;
    DWORD dwFlags;
    LPWSTR pwszPropName;
    DWORD cchPropName;
};

// Flags of a sort order's property.
inline constexpr DWORD CEDB_SORT_DESCENDING = 1;
inline constexpr DWORD CEDB_SORT_CASEINSENSITIVE = 2;
inline constexpr DWORD CEDB_SORT_UNKNOWNFIRST = 4; // records without the property come first, not last

// Flag of opening: each read goes on to the next record. Taken and ignored, since nobody asks for it.
inline constexpr DWORD CEDB_AUTOINCREMENT = 1;

inline constexpr WORD CEDB_MAXSORTORDER = 16;
inline constexpr WORD CEDB_MAXSORTPROP = 16;
inline constexpr WORD CEDB_MAXDBASENAMELEN = 32; // with its terminator

struct SORTORDERSPEC {
    CEPROPID propid;
    DWORD dwFlags;
};

struct SORTORDERSPECEX {
    WORD wVersion; // 2
    WORD wNumProps;
    WORD wKeyFlags; // taken and ignored
    WORD wPad;
    CEPROPID rgPropID[CEDB_MAXSORTPROP];
    DWORD rgdwFlags[CEDB_MAXSORTPROP];
};
static_assert(sizeof(SORTORDERSPECEX) == 136 && offsetof(SORTORDERSPECEX, rgdwFlags) == 72);

// Which fields of CEDBASEINFO and CEDBASEINFOEX count.
inline constexpr DWORD CEDB_VALIDNAME = 1;
inline constexpr DWORD CEDB_VALIDTYPE = 2;
inline constexpr DWORD CEDB_VALIDSORTSPEC = 4;
inline constexpr DWORD CEDB_VALIDCREATE = 0x80000000;

struct CEDBASEINFO {
    DWORD dwFlags;
    WCHAR szDbaseName[CEDB_MAXDBASENAMELEN];
    DWORD dwDbaseType;
    WORD wNumRecords; // 65,535 stands for more, too
    WORD wNumSortOrder;
    DWORD dwSize; // bytes of all records
    FILETIME ftLastModified;
    SORTORDERSPEC rgSortSpecs[CEDB_MAXSORTORDER];
};

struct CEDBASEINFOEX {
    WORD wVersion; // 1 or 2
    WORD wNumSortOrder;
    DWORD dwFlags;
    WCHAR szDbaseName[CEDB_MAXDBASENAMELEN];
    DWORD dwDbaseType;
    DWORD dwNumRecords;
    DWORD dwSize;
    FILETIME ftLastModified;
    SORTORDERSPECEX rgSortSpecs[CEDB_MAXSORTORDER];
};

// Kinds of an object.
inline constexpr WORD OBJTYPE_INVALID = 0;
inline constexpr WORD OBJTYPE_FILE = 1;
inline constexpr WORD OBJTYPE_DIRECTORY = 2;
inline constexpr WORD OBJTYPE_DATABASE = 3;
inline constexpr WORD OBJTYPE_RECORD = 4;

struct CEFILEINFO {
    DWORD dwAttributes;
    CEOID oidParent;
    WCHAR szFileName[MAX_PATH];
    FILETIME ftLastChanged;
    DWORD dwLength;
};
struct CEDIRINFO {
    DWORD dwAttributes;
    CEOID oidParent;
    WCHAR szDirName[MAX_PATH];
};
struct CERECORDINFO {
    CEOID oidParent; // the database
};

struct CEOIDINFO {
    WORD wObjType;
    WORD wPad;
    union {
        CEFILEINFO infFile;
        CEDIRINFO infDirectory;
        CEDBASEINFO infDatabase;
        CERECORDINFO infRecord;
    };
};

struct CEOIDINFOEX {
    WORD wVersion; // 1 or 2, set by the caller
    WORD wObjType;
    union {
        CEFILEINFO infFile;
        CEDIRINFO infDirectory;
        CEDBASEINFOEX infDatabase;
        CERECORDINFO infRecord;
    };
};

// Notification of changes. The window given at open gets a message 0x03FD for each changed record of the database,
// whoever changed it; its lParam is a CENOTIFICATION that the host frees once the message has been dispatched. A
// transaction of more than 64 changes is told in few messages with an object id of 0.
inline constexpr UINT WM_DBNOTIFICATION = 0x03FD;
inline constexpr DWORD CEDB_EXNOTIFICATION = 1;

struct CENOTIFYREQUEST {
    DWORD dwSize; // of this structure, or 20 as on the device
    HWND hwnd;
    DWORD dwFlags;
    HANDLE hHeap;
    ULONG_PTR dwParam; // comes back in the notification
};

// CENOTIFICATION::uType.
inline constexpr UINT DB_CEOID_CREATED = 0x0401;
inline constexpr UINT DB_CEOID_RECORD_DELETED = 0x0403;
inline constexpr UINT DB_CEOID_CHANGED = 0x0406;

struct CENOTIFICATION {
    DWORD dwSize;
    ULONG_PTR dwParam;
    UINT uType;
    CEGUID guid;     // the volume
    CEOID oid;       // the record
    CEOID oidParent; // the database
};

// Flags of CeMountDBVol and CeMountDBVolEx: the values of file creation.
inline constexpr DWORD DBVOL_OPEN_EXISTING = 3;
inline constexpr DWORD DBVOL_OPEN_ALWAYS = 4;

struct CEVOLUMEOPTIONS; // none is known; the argument is null

// --- Volumes ------------------------------------------------------------------------------------------------------

// Mounts a volume and gives its id, which depends on its path alone. Mounting again counts. Flags 3 want an existing
// file, 4 make a missing one; other bits are ignored. `\pim.vol` is made with the databases of the PIM applications.
// Errors: 2 no such file, 11 not a volume or a damaged one (its file is left as it is), 123 not a device path.
BOOL CeMountDBVol(CEGUID* guid, LPCWSTR path, DWORD flags);
BOOL CeMountDBVolEx(CEGUID* guid, LPCWSTR path, CEVOLUMEOPTIONS* options, DWORD flags);
// Releases one mount. Open handles stay usable. Error 2 when it isn't mounted; `\pim.vol` stays mounted then.
BOOL CeUnmountDBVol(const CEGUID* guid);

// --- Sessions and transactions ------------------------------------------------------------------------------------

// A session on a mounted volume, INVALID_HANDLE_VALUE on failure (error 2: not mounted).
HANDLE CeCreateSession(const CEGUID* guid);
// Everything written through databases of the session from now on is one change. `level` is taken and ignored: the
// transaction has the volume for itself as a writer. Errors: 32 another writer didn't end, 87 one is open already.
BOOL CeBeginTransaction(HANDLE session, DWORD level);
// Ends it; false with `commit` means that nothing of it was stored. Error 87 when none is open.
BOOL CeEndTransaction(HANDLE session, BOOL commit);

// --- Databases ----------------------------------------------------------------------------------------------------

// Opens by object id, or by name (without regard to case) when `*oid` is 0 or `name` is given; `*oid` gets the id.
// The sort order is one that the database was made with (compared by its properties), any single property when it
// was made without one, or null for the order of creation. The cursor stands on the first record.
// INVALID_HANDLE_VALUE on failure; errors: 2 no such volume or database, 87 no such sort order.
HANDLE CeOpenDatabaseInSession(HANDLE session, const CEGUID* guid, CEOID* oid, LPCWSTR name,
                               const SORTORDERSPECEX* sort, DWORD flags, const CENOTIFYREQUEST* notify);
HANDLE CeOpenDatabaseEx2(const CEGUID* guid, CEOID* oid, LPCWSTR name, const SORTORDERSPECEX* sort,
                         DWORD flags, const CENOTIFYREQUEST* notify);
// Make a database; the new object id, or 0. Errors: 2 not mounted, 87 no name or a sort order of blobs, 183 the name
// is taken. CeCreateDatabaseEx takes sort orders of one property each.
CEOID CeCreateDatabaseEx(const CEGUID* guid, const CEDBASEINFO* info);
CEOID CeCreateDatabaseEx2(const CEGUID* guid, const CEDBASEINFOEX* info);
CEOID CeCreateDatabaseWithProps(const CEGUID* guid, const CEDBASEINFOEX* info, DWORD count,
                                const CEPROPSPEC* props);
// Deletes the database with its records. Errors: 2 no such one, 32 it is open.
BOOL CeDeleteDatabaseEx(const CEGUID* guid, CEOID oid);
// Changes name, type and sort orders, as the flags of `info` say. Errors: 2, 32 it is open, 183 the name is taken.
BOOL CeSetDatabaseInfoEx2(const CEGUID* guid, CEOID oid, const CEDBASEINFOEX* info);
// Add to the schema (a property that is there is replaced); take out of it and out of all records. Errors: 2, 32.
BOOL CeAddDatabaseProps(const CEGUID* guid, CEOID oid, DWORD count, const CEPROPSPEC* props);
BOOL CeRemoveDatabaseProps(const CEGUID* guid, CEOID oid, DWORD count, const CEPROPID* ids);
// The schema of an open database: `*count` is the room of `props`, then the number there is. `ids` selects, or null.
// The names in `props` are null. Error 122 when the room is too small.
BOOL CeGetDatabaseProps(HANDLE db, WORD* count, const CEPROPID* ids, CEPROPSPEC* props);
// What an object is: a database with its name and number of records, or a record with its database. Error 2.
// Without a volume all mounted ones are asked, in the order of their mounting.
BOOL CeOidGetInfo(CEOID oid, CEOIDINFO* info);
BOOL CeOidGetInfoEx2(const CEGUID* guid, CEOID oid, CEOIDINFOEX* info);

// --- Records ------------------------------------------------------------------------------------------------------

// How CeSeekDatabaseEx finds its record.
inline constexpr DWORD CEDB_SEEK_CEOID = 1;            // by object id
inline constexpr DWORD CEDB_SEEK_BEGINNING = 2;        // the nth, from 0
inline constexpr DWORD CEDB_SEEK_END = 4;              // the nth before the last
inline constexpr DWORD CEDB_SEEK_CURRENT = 8;          // n records on, or back
inline constexpr DWORD CEDB_SEEK_VALUESMALLER = 16;    // the nearest record with smaller values
inline constexpr DWORD CEDB_SEEK_VALUEFIRSTEQUAL = 32; // the first with these values
inline constexpr DWORD CEDB_SEEK_VALUEGREATER = 64;    // the nearest with greater values
inline constexpr DWORD CEDB_SEEK_VALUENEXTEQUAL = 128; // the next record, when it has these values

// Moves the cursor. `value` is a number, an object id, or the address of `count` CEPROPVAL for the leading properties
// of the sort order. `*index`, when asked for, gets the record's position from the start (which costs a count unless
// the walk began at an end). Returns the object id, 0 when there is no such record (error 1168). A seek by number or
// value that finds nothing leaves the cursor behind that end of the database; a step from there comes back.
// A record deleted under the cursor leaves a gap: n = 1 is the record that followed it, -1 the one before, 0 none.
CEOID CeSeekDatabaseEx(HANDLE db, DWORD seekType, ULONG_PTR value, WORD count, DWORD* index);

inline constexpr DWORD CEDB_ALLOWREALLOC = 1;

// Reads properties of the current record: an array of CEPROPVAL in the order of `ids` (null: all there are), then
// texts and blobs. An absent property and a stream come back flagged CEDB_PROPNOTFOUND. Without CEDB_ALLOWREALLOC
// they must fit in `*buffer` (error 122; nothing is changed); with it the buffer is made or grown in `heap`, null
// meaning the one of LocalAlloc, and `*size` told. Advances nothing. Returns the object id, 0 on failure: 1168 no
// current record, 1018 it has been deleted.
CEOID CeReadRecordPropsEx(HANDLE db, DWORD flags, WORD* count, const CEPROPID* ids, BYTE** buffer,
                          DWORD* size, HANDLE heap);
// Adds a record (oid 0) or changes the listed properties of one: CEDB_PROPDELETE takes out, CEDB_PROPNOTFOUND and the
// automatic number are passed over, a blob for a stream property becomes the stream. Returns the object id, 0 on
// failure: 2 or 1018 no such record, 24 the record is too large. The cursor stays where it is.
CEOID CeWriteRecordProps(HANDLE db, CEOID oid, WORD count, const CEPROPVAL* values);
// One that is damaged beyond reading goes, too. Errors: 2 no such record.
BOOL CeDeleteRecord(HANDLE db, CEOID oid);

// --- Streams ------------------------------------------------------------------------------------------------------

inline constexpr DWORD STREAM_READ = 1;
inline constexpr DWORD STREAM_WRITE = 2;
inline constexpr DWORD STREAM_SEEK_SET = 0;
inline constexpr DWORD STREAM_SEEK_CUR = 1;
inline constexpr DWORD STREAM_SEEK_END = 2;

// Opens a stream property of the current record, for reading (error 1168 when the record doesn't have it) or for
// reading and writing (made when missing). What is written is kept until CeStreamSaveChanges or CloseHandle; a size
// of 0 takes effect at once. INVALID_HANDLE_VALUE on failure.
HANDLE CeOpenStream(HANDLE db, CEPROPID propid, DWORD access);
// `*position`, when asked for, gets the new place; outside of the stream nothing moves (error 25).
BOOL CeStreamSeek(HANDLE stream, DWORD offset, DWORD origin, DWORD* position);
// Reads at most `count` bytes; fewer, or none, at the end. 1018 when the stream was replaced meanwhile.
BOOL CeStreamRead(HANDLE stream, BYTE* buffer, DWORD count, DWORD* read);
BOOL CeStreamWrite(HANDLE stream, const BYTE* buffer, DWORD count, DWORD* written);
BOOL CeStreamSetSize(HANDLE stream, DWORD size);
BOOL CeStreamSaveChanges(HANDLE stream);

#pragma GCC visibility pop
