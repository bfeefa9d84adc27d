// The object model of items: appointments, tasks and contacts of "\pim.vol" as objects.
//
// An application object (CoCreateInstance of CLSID_Application) hands out folders and items. An item is a bag of
// changed properties over its record: getters see the unsaved changes first, Save writes the record, the side databases
// and the streams in one transaction, and gives a new item its OID. The named getters and IItem see the same bag.
// What Save writes is what the databases of databases.h hold; the two are faces of one store and share no cache.
//
// Threads: any thread may use any object; the objects of one application object are served one call at a time.
// Ownership: interfaces are reference counted; an out pointer comes with a reference and is null on failure.
// A BSTR handed out is freed with SysFreeString; one handed in stays the caller's and may be null for the empty text.
// Dates: DATE is days since 30 December 1899, local time, rounded to the second; kNoDate (949998.0) means none.
// Results: S_OK; E_POINTER for a null out pointer; E_INVALIDARG for a value out of range; E_NOTFOUND; E_FAIL and
// store failures as 0x80070000 | error code (0x80070070 disk full).
#pragma once

#include "Platform/com.h"
#include "Platform/databases.h"
#include "Platform/stream.h"
#include "Platform/types.h"

#pragma GCC visibility push(default)

// --- Numbers ------------------------------------------------------------------------------------------------------

// Default folders.
inline constexpr int olFolderCalendar = 9;
inline constexpr int olFolderContacts = 10;
inline constexpr int olFolderTasks = 13;
inline constexpr int olFolderInfrared = 102;

// Kinds of CreateItem.
inline constexpr int olAppointmentItem = 1;
inline constexpr int olContactItem = 2;
inline constexpr int olTaskItem = 3;

// The two top bits of an OID; the rest is the record's automatic number.
inline constexpr CEOID kOidKindMask = 0xC0000000;
inline constexpr CEOID kOidAppointment = 0x40000000;
inline constexpr CEOID kOidContact = 0x80000000;
inline constexpr CEOID kOidTask = 0xC0000000;

// RecurrenceType.
inline constexpr LONG olRecursDaily = 0;
inline constexpr LONG olRecursWeekly = 1;
inline constexpr LONG olRecursMonthly = 2;
inline constexpr LONG olRecursMonthNth = 3;
inline constexpr LONG olRecursYearly = 5;
inline constexpr LONG olRecursYearNth = 6;

// DayOfWeekMask: 1 Sunday, 2 Monday ... 64 Saturday.
inline constexpr LONG olSunday = 1;
inline constexpr LONG olMonday = 2;
inline constexpr LONG olTuesday = 4;
inline constexpr LONG olWednesday = 8;
inline constexpr LONG olThursday = 16;
inline constexpr LONG olFriday = 32;
inline constexpr LONG olSaturday = 64;

enum OlSensitivity : LONG { olNormal = 0, olPersonal = 1, olPrivate = 2, olConfidential = 3 };
enum OlBusyStatus : LONG { olFree = 0, olTentative = 1, olBusy = 2, olOutOfOffice = 3 };
enum OlImportance : LONG { olImportanceLow = 0, olImportanceNormal = 1, olImportanceHigh = 2 };
enum OlMeetingRecipientType : LONG { olRequired = 1, olOptional = 2, olResource = 3 };
enum OlMeetingResponse : LONG {
    olResponseNone = 0,
    olResponseAccepted = 1,
    olResponseDeclined = 2,
    olResponseTentative = 3
};

// Flags of GetIDsFromNames: the type in the low word, and this one to create what is unknown.
inline constexpr ULONG kCreateNamedProperty = 0x10000;
// What an unknown name gets without it.
inline constexpr CEPROPID kUnknownNamedProperty = 0xFFFF0002;

// Property ids; the low word is the type (databases.h), 0x0064 a stream.
inline constexpr CEPROPID PIMPR_NUMBER = 0x10000066;              // the automatic number, read only
inline constexpr CEPROPID PIMPR_FOLDERNOTIFICATIONS = 0x10010013; // of a folder: its notification mask
inline constexpr CEPROPID PIMPR_SUBJECT = 0x0020001F;
inline constexpr CEPROPID PIMPR_SENSITIVITY = 0x00210013;
inline constexpr CEPROPID PIMPR_RECURRING = 0x0022000B;
inline constexpr CEPROPID PIMPR_REMINDER_SET = 0x0028000B;
inline constexpr CEPROPID PIMPR_REMINDER_MINUTES = 0x00290013;
inline constexpr CEPROPID PIMPR_CATEGORIES = 0x101D001F; // in no record: CategoryAssocDB
inline constexpr CEPROPID PIMPR_NOTE = 0x001E0064;       // BodyInk, Body
inline constexpr CEPROPID PIMPR_RECURRENCE = 0x203F0064; // of an appointment
inline constexpr CEPROPID PIMPR_RECIPIENTS = 0x60010064;
inline constexpr CEPROPID PIMPR_TASK_RECURRENCE =
    0x60020064; // the same layout, read by the object model alone

inline constexpr CEPROPID PIMPR_START = 0x10420040;    // UTC
inline constexpr CEPROPID PIMPR_DURATION = 0x10400013; // minutes
inline constexpr CEPROPID PIMPR_END = 0x10430040;      // UTC, made from the two above
inline constexpr CEPROPID PIMPR_ALLDAY = 0x0044000B;
inline constexpr CEPROPID PIMPR_LOCATION = 0x0041001F;
inline constexpr CEPROPID PIMPR_BUSYSTATUS = 0x00450013;
inline constexpr CEPROPID PIMPR_MEETINGSTATUS = 0x00500013;
inline constexpr CEPROPID PIMPR_ORGANIZER_NAME = 0x0051001F;
inline constexpr CEPROPID PIMPR_MEETING_ID = 0x00470041; // 28 random bytes
inline constexpr CEPROPID PIMPR_TIMEZONE = 0x00480041;   // 48 bytes in the record; given out as 172

inline constexpr CEPROPID PIMPR_IMPORTANCE = 0x00600013;
inline constexpr CEPROPID PIMPR_TASK_START = 0x00620040; // local whole days, no zone
inline constexpr CEPROPID PIMPR_TASK_DUE = 0x00630040;
inline constexpr CEPROPID PIMPR_TASK_COMPLETED = 0x00640040;
inline constexpr CEPROPID PIMPR_REMINDER_TIME = 0x10660040; // UTC

inline constexpr CEPROPID PIMPR_FILEAS = 0x0080001F;
inline constexpr CEPROPID PIMPR_TITLE = 0x0081001F;
inline constexpr CEPROPID PIMPR_FIRST_NAME = 0x0082001F;
inline constexpr CEPROPID PIMPR_MIDDLE_NAME = 0x0083001F;
inline constexpr CEPROPID PIMPR_LAST_NAME = 0x0084001F;
inline constexpr CEPROPID PIMPR_SUFFIX = 0x0085001F;
inline constexpr CEPROPID PIMPR_NICKNAME = 0x0086001F;
inline constexpr CEPROPID PIMPR_COMPANY = 0x008A001F;
inline constexpr CEPROPID PIMPR_DEPARTMENT = 0x008B001F;
inline constexpr CEPROPID PIMPR_JOB_TITLE = 0x008C001F;
inline constexpr CEPROPID PIMPR_MANAGER = 0x008D001F;
inline constexpr CEPROPID PIMPR_OFFICE = 0x008E001F;
inline constexpr CEPROPID PIMPR_ASSISTANT = 0x008F001F;
inline constexpr CEPROPID PIMPR_EMAIL1 = 0x0090001F;
inline constexpr CEPROPID PIMPR_EMAIL2 = 0x0091001F;
inline constexpr CEPROPID PIMPR_EMAIL3 = 0x0092001F;
inline constexpr CEPROPID PIMPR_IM1 = 0x0093001F;
inline constexpr CEPROPID PIMPR_IM2 = 0x0094001F;
inline constexpr CEPROPID PIMPR_IM3 = 0x0095001F;
inline constexpr CEPROPID PIMPR_MOBILE_TEL = 0x0096001F;
inline constexpr CEPROPID PIMPR_BUSINESS_TEL = 0x0097001F;
inline constexpr CEPROPID PIMPR_BUSINESS2_TEL = 0x0098001F;
inline constexpr CEPROPID PIMPR_HOME_TEL = 0x0099001F;
inline constexpr CEPROPID PIMPR_HOME2_TEL = 0x009A001F;
inline constexpr CEPROPID PIMPR_BUSINESS_FAX = 0x009B001F;
inline constexpr CEPROPID PIMPR_HOME_FAX = 0x009C001F;
inline constexpr CEPROPID PIMPR_PAGER = 0x009D001F;
inline constexpr CEPROPID PIMPR_CAR_TEL = 0x009E001F;
inline constexpr CEPROPID PIMPR_RADIO_TEL = 0x009F001F;
inline constexpr CEPROPID PIMPR_COMPANY_TEL = 0x00A0001F;
inline constexpr CEPROPID PIMPR_ASSISTANT_TEL = 0x00A1001F;
inline constexpr CEPROPID PIMPR_SPOUSE = 0x00A5001F;
inline constexpr CEPROPID PIMPR_CHILDREN = 0x00A6001F;
inline constexpr CEPROPID PIMPR_WEBPAGE = 0x00A7001F;
inline constexpr CEPROPID PIMPR_RINGTONE = 0x00A8001F;
inline constexpr CEPROPID PIMPR_CUSTOMER_ID = 0x00A9001F;
inline constexpr CEPROPID PIMPR_GOVERNMENT_ID = 0x00AA001F;
inline constexpr CEPROPID PIMPR_ACCOUNT = 0x00AB001F;
inline constexpr CEPROPID PIMPR_BUSINESS_STREET = 0x00C1001F; // then city, state, postal code, country
inline constexpr CEPROPID PIMPR_BUSINESS_CITY = 0x00C2001F;
inline constexpr CEPROPID PIMPR_BUSINESS_STATE = 0x00C3001F;
inline constexpr CEPROPID PIMPR_BUSINESS_POSTAL = 0x00C4001F;
inline constexpr CEPROPID PIMPR_BUSINESS_COUNTRY = 0x00C5001F;
inline constexpr CEPROPID PIMPR_HOME_STREET = 0x00D1001F;
inline constexpr CEPROPID PIMPR_HOME_CITY = 0x00D2001F;
inline constexpr CEPROPID PIMPR_HOME_STATE = 0x00D3001F;
inline constexpr CEPROPID PIMPR_HOME_POSTAL = 0x00D4001F;
inline constexpr CEPROPID PIMPR_HOME_COUNTRY = 0x00D5001F;
inline constexpr CEPROPID PIMPR_OTHER_STREET = 0x00E1001F;
inline constexpr CEPROPID PIMPR_OTHER_CITY = 0x00E2001F;
inline constexpr CEPROPID PIMPR_OTHER_STATE = 0x00E3001F;
inline constexpr CEPROPID PIMPR_OTHER_POSTAL = 0x00E4001F;
inline constexpr CEPROPID PIMPR_OTHER_COUNTRY = 0x00E5001F;
inline constexpr CEPROPID PIMPR_BIRTHDAY = 0x00F00040; // local whole days
inline constexpr CEPROPID PIMPR_ANNIVERSARY = 0x00F10040;
inline constexpr CEPROPID PIMPR_DEFAULT_NUMBER = 0x00F80013; // id of the field to dial
inline constexpr CEPROPID PIMPR_PICTURE = 0x00FF0064;
inline constexpr CEPROPID PIMPR_SOURCE_ID = 0x001B0013;
inline constexpr CEPROPID PIMPR_SOURCE_FLAGS = 0x01020013;
inline constexpr CEPROPID PIMPR_SOURCE_OWNED = 0x10100013;

// --- Ids of the object and its interfaces ---------------------------------------------------------------------------

inline constexpr CLSID CLSID_Application = {
    0x05058F23, 0x20BE, 0x11D2, {0x8F, 0x18, 0x00, 0x00, 0xF8, 0x7A, 0x43, 0x35}};
inline constexpr IID IID_IPOutlookApp2 = {
    0xAF7D0DC7, 0x3D35, 0x424B, {0xAA, 0x60, 0x27, 0xA3, 0x8B, 0x8B, 0x62, 0x9E}};
inline constexpr IID IID_IItem = {
    0xFB8998D0, 0x38F0, 0x4D12, {0xAC, 0x56, 0x4E, 0xC8, 0xFC, 0xE9, 0xF3, 0xD5}};
// The rest are numbers of our own.
inline constexpr IID IID_IFolder = {
    0x5D3A6E10, 0x9C41, 0x4B7E, {0xA2, 0x15, 0x3E, 0x60, 0x71, 0x8C, 0x0D, 0x01}};
inline constexpr IID IID_IPOutlookItemCollection = {
    0x5D3A6E10, 0x9C41, 0x4B7E, {0xA2, 0x15, 0x3E, 0x60, 0x71, 0x8C, 0x0D, 0x02}};
inline constexpr IID IID_IAppointment = {
    0x5D3A6E10, 0x9C41, 0x4B7E, {0xA2, 0x15, 0x3E, 0x60, 0x71, 0x8C, 0x0D, 0x03}};
inline constexpr IID IID_ITask = {
    0x5D3A6E10, 0x9C41, 0x4B7E, {0xA2, 0x15, 0x3E, 0x60, 0x71, 0x8C, 0x0D, 0x04}};
inline constexpr IID IID_IContact = {
    0x5D3A6E10, 0x9C41, 0x4B7E, {0xA2, 0x15, 0x3E, 0x60, 0x71, 0x8C, 0x0D, 0x05}};
inline constexpr IID IID_IRecurrencePattern = {
    0x5D3A6E10, 0x9C41, 0x4B7E, {0xA2, 0x15, 0x3E, 0x60, 0x71, 0x8C, 0x0D, 0x06}};
inline constexpr IID IID_IRecipients = {
    0x5D3A6E10, 0x9C41, 0x4B7E, {0xA2, 0x15, 0x3E, 0x60, 0x71, 0x8C, 0x0D, 0x07}};
inline constexpr IID IID_IRecipient = {
    0x5D3A6E10, 0x9C41, 0x4B7E, {0xA2, 0x15, 0x3E, 0x60, 0x71, 0x8C, 0x0D, 0x08}};
inline constexpr IID IID_IRecipient2 = {
    0x5D3A6E10, 0x9C41, 0x4B7E, {0xA2, 0x15, 0x3E, 0x60, 0x71, 0x8C, 0x0D, 0x09}};

// --- Interfaces ---------------------------------------------------------------------------------------------------

struct IAppointment;
struct IPOutlookItemCollection;

// Any item by its properties. A folder has it too, for its notification mask alone.
struct IItem : IUnknown {
    // The values of these ids in the order of the request, an absent one flagged 0x100; null ids with count 0: all that
    // the item has. Streams are no values and count as absent. With *values null or flag CEDB_ALLOWREALLOC (1) the block is
    // allocated from `heap` (null: LocalAlloc) and *size set; otherwise it must fit in *size bytes, or
    // E_INSUFFICIENTBUFFER is given and *size is what it takes. Texts and blobs lie in the block.
    virtual HRESULT GetProps(const CEPROPID* ids, ULONG flags, WORD count, CEPROPVAL** values, ULONG* size,
                             HANDLE heap) = 0;
    // Sets these, or deletes those flagged 0x0200 (CEDB_PROPDELETE); all or none. Written by Save; but a named property
    // of a saved item is written at once. E_INVALIDARG: a stream, the number, a zone that is not 48 or 172 bytes.
    virtual HRESULT SetProps(ULONG flags, ULONG count, const CEPROPVAL* values) = 0;
    // A stream property, positioned at 0. `access` is GENERIC_READ or GENERIC_WRITE or both; an absent one opens empty for
    // writing, E_NOTFOUND otherwise. Commit puts the bytes into the item; Save writes them.
    virtual HRESULT OpenProperty(CEPROPID id, DWORD access, IStream** stream) = 0;
    virtual HRESULT Save() = 0;
    // Takes the item out of the store with its associations, named properties and streams.
    virtual HRESULT Delete() = 0;
    // An unsaved twin, all properties with it.
    virtual HRESULT Copy(IItem** copy) = 0;
    virtual HRESULT get_Oid(CEOID* oid) = 0; // 0 until the first Save
    virtual HRESULT Display(HWND owner) = 0; // E_NOTIMPL

protected:
    ~IItem() = default;
};

struct IRecipient : IDispatch {
    virtual HRESULT get_Name(BSTR* name) = 0;
    virtual HRESULT get_Address(BSTR* address) = 0;

protected:
    ~IRecipient() = default;
};

// The second interface of a recipient, by QueryInterface.
struct IRecipient2 : IDispatch {
    virtual HRESULT put_Address(BSTR address) = 0;
    virtual HRESULT get_Type(LONG* type) = 0; // OlMeetingRecipientType
    virtual HRESULT put_Type(LONG type) = 0;
    virtual HRESULT get_MeetingResponseStatus(LONG* status) = 0; // OlMeetingResponse
    virtual HRESULT put_MeetingResponseStatus(LONG status) = 0;

protected:
    ~IRecipient2() = default;
};

// The people of an appointment; changes are written by its Save. Positions count from 1.
struct IRecipients : IDispatch {
    virtual HRESULT get_Count(int* count) = 0;
    virtual HRESULT Item(int index, IRecipient** recipient) = 0;
    virtual HRESULT Add(BSTR name,
                        IRecipient** recipient) = 0; // type required, no response; `recipient` may be null
    virtual HRESULT Remove(int index) = 0;

protected:
    ~IRecipients() = default;
};

// The rule of a series. The item is recurring once anything has been set here; Save of the item writes it. Times are the
// wall clock of the series' zone: the device's at the time the pattern was made, or the one that SetProps gave.
// A change of type, mask, day, month, instance, interval or start date drops the deleted and changed occurrences; a
// change of the end, the time of day or the duration keeps them. A value never set follows the first date.
struct IRecurrencePattern : IDispatch {
    virtual HRESULT get_RecurrenceType(LONG* type) = 0;
    virtual HRESULT put_RecurrenceType(LONG type) = 0;
    virtual HRESULT get_PatternStartDate(DATE* date) = 0;
    virtual HRESULT put_PatternStartDate(DATE date) = 0; // cut to the day
    virtual HRESULT get_PatternEndDate(DATE* date) = 0;  // kNoDate without an end
    virtual HRESULT put_PatternEndDate(DATE date) = 0;   // kNoDate or later: no end
    virtual HRESULT get_NoEndDate(VARIANT_BOOL* noEnd) = 0;
    virtual HRESULT
    put_NoEndDate(VARIANT_BOOL noEnd) = 0;            // FALSE alone changes nothing: a count or a date does
    virtual HRESULT get_Occurrences(LONG* count) = 0; // 0 without an end; deleted ones count
    virtual HRESULT put_Occurrences(LONG count) = 0;  // 1 or more
    virtual HRESULT get_StartTime(DATE* time) = 0;    // a fraction of a day
    virtual HRESULT put_StartTime(DATE time) = 0;
    virtual HRESULT get_EndTime(DATE* time) = 0;
    virtual HRESULT put_EndTime(DATE time) = 0; // earlier than the start: on the next day
    virtual HRESULT get_Duration(LONG* minutes) = 0;
    virtual HRESULT put_Duration(LONG minutes) = 0;
    virtual HRESULT get_Interval(LONG* interval) = 0;
    virtual HRESULT put_Interval(LONG interval) = 0; // daily with 0 and a mask: every day of the mask
    virtual HRESULT get_DayOfWeekMask(LONG* mask) = 0;
    virtual HRESULT put_DayOfWeekMask(LONG mask) = 0;
    virtual HRESULT get_DayOfMonth(LONG* day) = 0;
    virtual HRESULT put_DayOfMonth(LONG day) = 0;
    virtual HRESULT get_Instance(LONG* instance) = 0; // 1 to 4, 5 the last
    virtual HRESULT put_Instance(LONG instance) = 0;
    virtual HRESULT get_MonthOfYear(LONG* month) = 0;
    virtual HRESULT put_MonthOfYear(LONG month) = 0;
    // The occurrence that the rule has on this day, as it stands now. E_NOTFOUND: no date of the rule, or deleted.
    // Its Save writes a changed occurrence into the series, its Delete takes the day out; both are written at once when
    // the series is in the store and its rule has no unsaved change. Only Subject, Location, Start, Duration, End,
    // AllDayEvent, BusyStatus, Body and BodyInk can be set on it (a text of 65,534 characters, a note of 65,535 bytes at
    // most), the rest are refused with E_FAIL.
    virtual HRESULT GetOccurrence(DATE date, IAppointment** occurrence) = 0;

protected:
    ~IRecurrencePattern() = default;
};

// The note of an item has two faces. BodyInk is its bytes: lpb of get_BodyInk is the caller's, by LocalFree, and null when there
// is none. Body is a text, kept as UTF-16 with a byte-order mark; null or empty takes the note out, and it replaces rich
// text or ink. get_Body reads any note that PlatTextOfNote reads (notetext.h), and gives E_NOTIMPL for the others, of
// which only BodyInk tells.

// Start, Duration and End of a series are those of its first occurrence, in the wall clock of the series' zone.
struct IAppointment : IDispatch {
    virtual HRESULT get_Subject(BSTR* text) = 0;
    virtual HRESULT put_Subject(BSTR text) = 0;
    virtual HRESULT get_Location(BSTR* text) = 0;
    virtual HRESULT put_Location(BSTR text) = 0;
    virtual HRESULT get_Categories(BSTR* text) = 0; // joined by ", " in the order of their ids
    virtual HRESULT put_Categories(BSTR text) = 0;
    virtual HRESULT get_Start(DATE* date) = 0;
    virtual HRESULT put_Start(DATE date) = 0; // all-day: cut to the day
    virtual HRESULT get_End(DATE* date) = 0;
    virtual HRESULT put_End(DATE date) = 0; // sets Duration
    virtual HRESULT get_Duration(LONG* minutes) = 0;
    virtual HRESULT put_Duration(LONG minutes) = 0;
    virtual HRESULT get_AllDayEvent(VARIANT_BOOL* allDay) = 0;
    virtual HRESULT put_AllDayEvent(VARIANT_BOOL allDay) = 0;
    virtual HRESULT get_BusyStatus(LONG* status) = 0;
    virtual HRESULT put_BusyStatus(LONG status) = 0;
    virtual HRESULT get_Sensitivity(LONG* sensitivity) = 0;
    virtual HRESULT put_Sensitivity(LONG sensitivity) = 0;
    virtual HRESULT get_ReminderSet(VARIANT_BOOL* set) = 0;
    virtual HRESULT put_ReminderSet(VARIANT_BOOL set) = 0;
    virtual HRESULT get_ReminderMinutesBeforeStart(LONG* minutes) = 0;
    virtual HRESULT put_ReminderMinutesBeforeStart(LONG minutes) = 0;
    virtual HRESULT get_IsRecurring(VARIANT_BOOL* recurring) = 0;
    virtual HRESULT get_MeetingStatus(LONG* status) = 0;
    virtual HRESULT put_MeetingStatus(LONG status) = 0;
    virtual HRESULT get_Body(BSTR* text) = 0;
    virtual HRESULT put_Body(BSTR text) = 0;
    virtual HRESULT get_BodyInk(CEBLOB* ink) = 0;
    virtual HRESULT put_BodyInk(const CEBLOB* ink) = 0;
    virtual HRESULT get_Recipients(IRecipients** recipients) = 0;
    virtual HRESULT get_Oid(LONG* oid) = 0;
    virtual HRESULT Save() = 0;
    virtual HRESULT Delete() = 0;
    virtual HRESULT Copy(IAppointment** copy) = 0;
    virtual HRESULT Send() = 0;   // E_FAIL without a transport (PlatSetMeetingTransport)
    virtual HRESULT Cancel() = 0; // the same
    virtual HRESULT GetRecurrencePattern(IRecurrencePattern** pattern) = 0;
    virtual HRESULT ClearRecurrencePattern() = 0;

protected:
    ~IAppointment() = default;
};

struct ITask : IDispatch {
    virtual HRESULT get_Subject(BSTR* text) = 0;
    virtual HRESULT put_Subject(BSTR text) = 0;
    virtual HRESULT get_Categories(BSTR* text) = 0;
    virtual HRESULT put_Categories(BSTR text) = 0;
    virtual HRESULT get_StartDate(DATE* date) = 0; // whole days; kNoDate: none
    virtual HRESULT put_StartDate(DATE date) = 0;
    virtual HRESULT get_DueDate(DATE* date) = 0;
    virtual HRESULT put_DueDate(DATE date) = 0;
    virtual HRESULT get_DateCompleted(DATE* date) = 0;
    virtual HRESULT get_Importance(LONG* importance) = 0;
    virtual HRESULT put_Importance(LONG importance) = 0;
    virtual HRESULT get_Complete(VARIANT_BOOL* complete) = 0;
    virtual HRESULT put_Complete(VARIANT_BOOL complete) = 0; // TRUE keeps the day of an earlier completion
    virtual HRESULT get_Sensitivity(LONG* sensitivity) = 0;
    virtual HRESULT put_Sensitivity(LONG sensitivity) = 0;
    virtual HRESULT get_ReminderSet(VARIANT_BOOL* set) = 0;
    virtual HRESULT put_ReminderSet(VARIANT_BOOL set) = 0;
    virtual HRESULT get_ReminderTime(DATE* date) = 0;
    virtual HRESULT put_ReminderTime(DATE date) = 0;
    virtual HRESULT get_IsRecurring(VARIANT_BOOL* recurring) = 0;
    virtual HRESULT get_TeamTask(VARIANT_BOOL* team) = 0; // always FALSE
    virtual HRESULT get_Body(BSTR* text) = 0;
    virtual HRESULT put_Body(BSTR text) = 0;
    virtual HRESULT get_BodyInk(CEBLOB* ink) = 0;
    virtual HRESULT put_BodyInk(const CEBLOB* ink) = 0;
    virtual HRESULT get_Oid(LONG* oid) = 0;
    virtual HRESULT Save() = 0;
    virtual HRESULT Delete() = 0;
    virtual HRESULT Copy(ITask** copy) = 0;
    // Moves StartDate and DueDate to the next date of the rule behind the due date; E_FAIL past its end.
    virtual HRESULT SkipRecurrence() = 0;
    virtual HRESULT GetRecurrencePattern(IRecurrencePattern** pattern) = 0; // without GetOccurrence
    virtual HRESULT ClearRecurrencePattern() = 0;

protected:
    ~ITask() = default;
};

// All other fields of a contact by IItem.
struct IContact : IDispatch {
    virtual HRESULT get_Birthday(DATE* date) = 0; // kNoDate: none
    virtual HRESULT put_Birthday(DATE date) = 0;
    virtual HRESULT get_Anniversary(DATE* date) = 0;
    virtual HRESULT put_Anniversary(DATE date) = 0;
    virtual HRESULT
    get_FileAs(BSTR* text) = 0; // empty at Save: "last, first", the one present, else the company
    virtual HRESULT put_FileAs(BSTR text) = 0;
    virtual HRESULT get_Categories(BSTR* text) = 0;
    virtual HRESULT put_Categories(BSTR text) = 0;
    virtual HRESULT get_Body(BSTR* text) = 0;
    virtual HRESULT put_Body(BSTR text) = 0;
    virtual HRESULT get_BodyInk(CEBLOB* ink) = 0;
    virtual HRESULT put_BodyInk(const CEBLOB* ink) = 0;
    virtual HRESULT get_Oid(LONG* oid) = 0;
    virtual HRESULT Save() = 0;
    virtual HRESULT Delete() = 0;
    virtual HRESULT Copy(IContact** copy) = 0;

protected:
    ~IContact() = default;
};

// The items of a folder, read when first asked for, in the order of their numbers. Positions count from 1. An item comes
// as IAppointment, ITask or IContact.
//
// A restriction is "[Prop] op value" joined by AND: op is = <> < > <= >=; a value is a number, a text in double or single
// quotes (compared without case), TRUE or FALSE, or "<n" for a date by its number of days. Prop is the name of a getter
// ("Subject", "Start", "DueDate", "FileAs" ...) or "Oid". E_INVALIDARG for anything else.
struct IPOutlookItemCollection : IDispatch {
    virtual HRESULT get_Count(int* count) = 0;
    virtual HRESULT Item(int index, IDispatch** item) = 0;
    virtual HRESULT Find(BSTR restriction, IDispatch** item) = 0; // E_NOTFOUND when there is none
    virtual HRESULT FindNext(IDispatch** item) = 0;
    virtual HRESULT Restrict(BSTR restriction, IPOutlookItemCollection** items) = 0;
    virtual HRESULT Sort(BSTR property, VARIANT_BOOL descending) = 0; // "[Prop]"; equal ones keep their order
    // With recurrences a series stands as its occurrences, each with its own values, sorted by start with the rest: from the
    // date that the restriction sets for Start, or the first when that is later, and for 400 days at most. For a
    // calendar only.
    virtual HRESULT get_IncludeRecurrences(VARIANT_BOOL* include) = 0;
    virtual HRESULT put_IncludeRecurrences(VARIANT_BOOL include) = 0;

protected:
    ~IPOutlookItemCollection() = default;
};

// Also an IItem, by QueryInterface, with PIMPR_FOLDERNOTIFICATIONS.
struct IFolder : IDispatch {
    virtual HRESULT get_Items(IPOutlookItemCollection** items) = 0;
    virtual HRESULT get_DefaultItemType(int* kind) = 0;
    virtual HRESULT AddItemToInfraredFolder(int kind,
                                            IDispatch* item) = 0; // E_FAIL: there is no infrared port
    virtual HRESULT SendToInfrared() = 0;                         // E_FAIL

protected:
    ~IFolder() = default;
};

struct IPOutlookApp2 : IDispatch {
    // Opens the store; the other operations do so too. The owner is for message boxes, of which there are none.
    virtual HRESULT Logon(HWND owner) = 0;
    virtual HRESULT Logoff() = 0;
    virtual HRESULT GetDefaultFolder(int folder, IFolder** out) = 0;
    virtual HRESULT CreateItem(int kind, IDispatch** item) = 0;
    virtual HRESULT GetItemFromOid(LONG oid, IDispatch** item) = 0;
    virtual HRESULT GetItemFromOidEx(CEOID oid, DWORD flags, IItem** item) = 0;
    // Ids of named properties; see kCreateNamedProperty. Names are compared exactly; a name has one type for good: asked
    // with another one it keeps its own.
    virtual HRESULT GetIDsFromNames(ULONG count, const WCHAR* const* names, ULONG flags, CEPROPID* ids) = 0;
    // 0 is the device's zone, the others are the host's list by name; E_INVALIDARG past its end.
    virtual HRESULT GetTimeZoneInformationFromIndex(int index, TIME_ZONE_INFORMATION* zone) = 0;
    virtual HRESULT
    get_OutlookCompatible(VARIANT_BOOL* compatible) = 0; // TRUE at first, kept with the object
    virtual HRESULT put_OutlookCompatible(VARIANT_BOOL compatible) = 0;

protected:
    ~IPOutlookApp2() = default;
};

// --- Contacts by hand ---------------------------------------------------------------------------------------------

// The contact with this e-mail address (without case), else with a telephone number of the same digits; the lowest number
// wins. Either out pointer may be null. E_NOTFOUND when there is none. `flags` are not used.
HRESULT FindMatchingContact(const WCHAR* text, DWORD flags, IItem** contact, CEPROPID* property);

struct CHOOSECONTACT {
    DWORD cbSize;
    HWND hwndOwner;
    DWORD dwFlags;
    const WCHAR* lpszTitle;
    const WCHAR* lpszChoosePropertyText;
    UINT nCountRequiredProperties;
    const CEPROPID* rgpropidRequiredProperties;
    CEOID oidContactID;             // out
    BSTR bstrContactName;           // out, by SysFreeString
    CEPROPID propidSelected;        // out
    BSTR bstrPropertyValueSelected; // out, by SysFreeString
};
using tagCHOOSECONTACT = CHOOSECONTACT;

// Lets the user choose; E_ABORT when cancelled, or while nothing shows a list (PlatSetContactChooser).
HRESULT ChooseContact(CHOOSECONTACT* choose);

// --- Beside the device's own operations ---------------------------------------------------------------------------

using PlatContactChooser = HRESULT (*)(CHOOSECONTACT* choose);
void PlatSetContactChooser(PlatContactChooser chooser);

// Who takes meeting requests and cancellations to the people; null gives the E_FAIL of a device without one.
using PlatMeetingTransport = HRESULT (*)(IAppointment* meeting, bool cancel);
void PlatSetMeetingTransport(PlatMeetingTransport transport);

// Many saves in one store transaction. OIDs are given at once; a failed save inside leaves the others; the end makes all of
// them durable, or takes all of them back. Other writers wait for the end. E_UNEXPECTED: a batch is open (not open).
HRESULT PlatBeginItemBatch(IPOutlookApp2* app);
HRESULT PlatEndItemBatch(IPOutlookApp2* app, bool commit);

// The item of this folder whose named text property is exactly this text; E_NOTFOUND when there is none. Inside a batch
// the first call of a property makes an index that the saves keep current; outside each call reads them all.
HRESULT PlatFindItemByNamedText(IPOutlookApp2* app, LONG folder, DWORD namedPropId, const WCHAR* text,
                                CEOID* oid);

#pragma GCC visibility pop
