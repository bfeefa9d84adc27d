// The two halves of reading a record of the "Appointments Database".
#include "QNWorkerClass/calendarthread.h"

#include "NorvoTools/StrFunctions.h"
#include "Platform/memory.h"
#include "Platform/strings.h"
#include "QNWorkerClass/COutlook.h"
#include "QNWorkerClass/sidestores.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr WCHAR kAppointments[] = u"Appointments Database";
constexpr CEPROPID kStartProperty = 0x10420040;
constexpr CEPROPID kPatternStream = 0x203F0064;
constexpr CEPROPID kNoteStream = 0x001E0064;

// The properties of a record by their place in the list that is read.
enum Appointment : int {
    kStart,
    kDuration,
    kAllDay,
    kReminder,
    kRecurring,
    kSensitivity,
    kBusyStatus,
    kSubject,
    kLocation,
    kMeeting,
    kZone,
    kPattern,
    kSecondDate, // read along
    kRecordId,
    kPatternInRow, // the blob as a plain property, where a tool left it so
    kAppointmentProps,
};
constexpr std::array<CEPROPID, kAppointmentProps> kAppointmentIds{
    kStartProperty, 0x10400013, 0x0044000B, 0x0028000B, 0x0022000B, 0x00210013, 0x00450013, 0x0020001F,
    0x0041001F,     0x00500013, 0x00480041, 0x203F0064, 0x10430040, 0x10000066, 0x203F0041,
};

constexpr DWORD kReadBufferSize = 0x20000;
constexpr DWORD kMostRecords = 65535;
constexpr DWORD kStopInterval = 20;
constexpr DWORD kAutoIdMask = 0xFFFF;

constexpr DWORD kPackedZoneSize = 48;
constexpr DWORD kFullZoneSize = sizeof(TIME_ZONE_INFORMATION);

constexpr WCHAR kHiddenMark[] = u"<\u2022>";

template<class T>
T FieldAt(const CEBLOB& blob, std::size_t offset) {
    T value;
    std::memcpy(&value, blob.lpb + offset, sizeof value);
    return value;
}

// The three biases; then each date behind a year of two bytes, which is its own first field again.
void UnpackZone(const CEBLOB& blob, TIME_ZONE_INFORMATION& zone) {
    zone.Bias = FieldAt<LONG>(blob, 0);
    zone.StandardBias = FieldAt<LONG>(blob, 4);
    zone.DaylightBias = FieldAt<LONG>(blob, 8);
    zone.StandardDate = FieldAt<SYSTEMTIME>(blob, 14);
    zone.DaylightDate = FieldAt<SYSTEMTIME>(blob, 32);
}

BSTR NewBstr(std::u16string_view text) {
    return SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

bool IsPresent(const CeDbRecord& record, int index) {
    return index < record.m_wNumProps && !(record.m_pProps[index].wFlags & kPropAbsent);
}

template<class T>
T ValueAt(const CeDbRecord& record, int index) {
    T value{};
    record.GetIndexVal(index, value);
    return value;
}

} // namespace

// --- The walk over the records ------------------------------------------------------------------------------------

void CCalendarThread::SetPropIdsAppts() {
    std::copy(kAppointmentIds.begin(), kAppointmentIds.end(), m_PropIds.begin());
    m_nPropIds = kAppointmentProps;
}

bool CCalendarThread::OpenAppointments() {
    CeDb* db = GetDatabaseClass();
    return db->MountVolumeEDB(kPimVolume, false) && db->Open(kAppointments, kStartProperty, 0, nullptr);
}

bool CCalendarThread::ReadAppointments(CeManualEvent* stop, CEOID oid) {
    m_pDeletedDates = std::make_unique<CeList<DWORD>>(0);
    bool finished = true;
    if (OpenAppointments()) {
        DWORD count = oid != 0 ? 1 : std::min(m_pDb->GetNumRecords(), kMostRecords);
        CEOID first = oid != 0 ? m_pDb->SeekTo(oid) : m_pDb->SeekFirst();
        if (first != 0) finished = ReadRecords(stop, count);
        m_pDb->Close();
    }
    m_pDeletedDates.reset();
    m_pRecord.reset();
    return finished;
}

bool CCalendarThread::ReadRecords(CeManualEvent* stop, DWORD count) {
    if (!m_pReadBuffer) {
        m_cbReadBuffer = CeRecordBufferSize(kReadBufferSize, kAppointmentProps);
        m_pReadBuffer = static_cast<BYTE*>(LocalAlloc(LMEM_ZEROINIT, m_cbReadBuffer));
        if (!m_pReadBuffer) return true;
    }
    m_pRecord = std::make_unique<DATACALENDARDB>();
    for (DWORD i = 1; i <= count; ++i) {
        m_pDeletedDates->Clear();
        if (fReadRecord()) ListRecord();
        m_pRecord->NullData();
        FreePattern();
        if (stop && i % kStopInterval == 0 && StopRequested(stop)) return false;
        if (i < count && m_pDb->SeekNext() == 0) break; // others have deleted records meanwhile
    }
    return true;
}

// A series that can't be read, or lies outside of the range, gives nothing; never is it taken for a plain appointment.
void CCalendarThread::ListRecord() {
    if (ParseAndCheckRecurring()) {
        if (m_bExpandInRange)
            fFillEventList();
        else
            fFillSeriesOnce();
    } else if (!m_pRecord->m_bRecurring && (!m_bExpandInRange || TouchesRange())) {
        fFillNonRecurrEvnt();
    }
}

bool CCalendarThread::TouchesRange() const {
    LONG start = static_cast<LONG>(m_pRecord->m_dtStart);
    LONG end = static_cast<LONG>(m_pRecord->m_dtEnd);
    return end >= m_range.first && start <= m_range.last && start <= kLatestListDate &&
           end <= kLatestListDate && start >= 0 && end >= 0;
}

// --- The cheap half -----------------------------------------------------------------------------------------------

bool CCalendarThread::fReadRecord() {
    DATACALENDARDB& record = *m_pRecord;
    CeDbRecord& row = *m_pDbRecord;
    if (!m_pDb->ReadRec(row, m_pReadBuffer, m_cbReadBuffer, m_nPropIds, m_PropIds.data())) return false;
    record.m_oidRecord = row.m_oid;
    record.m_oid = (ValueAt<DWORD>(row, kRecordId) & kAutoIdMask) | kOidAppointment;
    record.m_lBusyStatus = ValueAt<LONG>(row, kBusyStatus);
    LONG sensitivity = ValueAt<LONG>(row, kSensitivity);
    record.m_bPrivate = sensitivity != 0;
    if (m_bFilterCategoryStatus && m_nApptStatusFilter != 0 &&
        record.m_lBusyStatus != m_nApptStatusFilter - 1)
        return false;
    if (m_nFilterPrivacy != -1 && !CheckPrivacy(m_nFilterPrivacy, sensitivity)) return false;

    record.m_bRecurring = ValueAt<bool>(row, kRecurring);
    record.m_bAllDay = ValueAt<bool>(row, kAllDay);
    record.m_wMeeting = static_cast<WORD>(ValueAt<DWORD>(row, kMeeting));
    record.m_lDuration = ValueAt<LONG>(row, kDuration);
    if (!PassesFirstFilters()) return false;
    if (record.m_bRecurring) ReadPattern();
    return ReadStart();
}

bool CCalendarThread::PassesFirstFilters() {
    const DATACALENDARDB& record = *m_pRecord;
    switch (m_nFilter) {
    case kFilterBirthdays:
    case kFilterAnniversaries:
        return record.m_bAllDay && record.m_bRecurring;
    case kFilterHolidays:
        return record.m_bAllDay != 0;
    case kFilterRecurring:
        return record.m_bRecurring != 0;
    case kFilterMeetings:
        return record.m_wMeeting != 0;
    default:
        return true;
    }
}

void CCalendarThread::ReadPattern() {
    FreePattern(); // what a terminated run left
    if (const CEBLOB* inRow = m_pDbRecord->BlobAt(kPatternInRow)) {
        m_pPattern = inRow->lpb;
        m_cbPattern = inRow->dwCount;
        return;
    }
    CEBLOB stream;
    if (!m_pDb->ReadStream(kPatternStream, &stream)) return;
    m_hPattern = stream.lpb;
    m_pPattern = stream.lpb;
    m_cbPattern = stream.dwCount;
}

void CCalendarThread::FreePattern() {
    LocalFree(m_hPattern);
    m_hPattern = nullptr;
    m_pPattern = nullptr;
    m_cbPattern = 0;
}

bool CCalendarThread::ReadStart() {
    DATACALENDARDB& record = *m_pRecord;
    FILETIME stored;
    if (!m_pDbRecord->GetIndexVal(kStart, stored)) return false;
    if (FileTimeTicks(stored) >= static_cast<ULONGLONG>(civil::kEndOfTicks)) return false;
    LONGLONG utc = static_cast<LONGLONG>(FileTimeTicks(stored)) / civil::kTicksPerSecond;
    bool plainAllDay = record.m_bAllDay && !record.m_bRecurring;
    LONGLONG start;
    if (plainAllDay && m_tzLocal.Bias < kMinutesPerDay && m_tzLocal.DaylightBias < kMinutesPerDay)
        start = AllDayStart(utc);
    else if (!m_zoneLocal.ToLocal(utc, start))
        return false;
    // Whole minutes are added to whole seconds, so that an end at midnight is one.
    LONGLONG minutes = LONGLONG{record.m_lDuration} - (plainAllDay ? kMinutesPerDay : 0);
    record.m_stStart = civil::SystemTimeFromTicks(start * civil::kTicksPerSecond);
    record.m_dtStart = VariantOfSeconds(start);
    record.m_dtEnd = VariantOfSeconds(start + minutes * 60);
    record.m_lDay = static_cast<LONG>(record.m_dtStart);
    if (record.m_bRecurring)
        ReadEventZone();
    else if (m_nFilter == kFilterAll &&
             (record.m_lDay - 1 > m_range.last || record.m_lDay - 1 > kLatestListDate))
        return false;
    return true;
}

// The local midnight of an all-day item that is no series. The bias is that of the stored, universal date, and summer's
// on the very day of the change back too, so that the item keeps its date wherever the device goes.
LONGLONG CCalendarThread::AllDayStart(LONGLONG utc) {
    LONGLONG day = utc / (kMinutesPerDay * 60LL);
    civil::Date date = civil::CivilFromDays(day);
    SYSTEMTIME change = {};
    if (m_tzLocal.StandardDate.wMonth != 0)
        ConvertToAbsolute(static_cast<WORD>(date.year), &m_tzLocal.StandardDate, &change);
    bool summer = m_zoneLocal.IsInDST(day) ||
                  (change.wYear == date.year && change.wMonth == date.month && change.wDay == date.day);
    return utc -
           60LL * (LONGLONG{m_tzLocal.Bias} + (summer ? m_tzLocal.DaylightBias : m_tzLocal.StandardBias));
}

// The zone that a series was made in: 48 bytes, or the full form. Any other size is no zone.
void CCalendarThread::ReadEventZone() {
    DATACALENDARDB& record = *m_pRecord;
    record.SetHasZone(false);
    const CEBLOB* blob = m_pDbRecord->BlobAt(kZone);
    if (!blob) return;
    if (blob->dwCount == kPackedZoneSize)
        UnpackZone(*blob, record.m_tzEvent);
    else if (blob->dwCount >= kFullZoneSize)
        std::memcpy(&record.m_tzEvent, blob->lpb, kFullZoneSize);
    else
        return;
    record.SetHasZone(true);
    m_zoneEvent.SetZone(record.m_tzEvent);
}

// --- The dear half ------------------------------------------------------------------------------------------------

bool CCalendarThread::ReadRestFirst() {
    if (!m_pRecord->m_bRefused) m_pRecord->m_bRefused = !fReadRestOfRecord();
    return !m_pRecord->m_bRefused;
}

bool CCalendarThread::fReadRestOfRecord() {
    DATACALENDARDB& record = *m_pRecord;
    const CeDbRecord& row = *m_pDbRecord;
    // The filter's seeks belong to the dear half: most records have no line in the range, whatever their categories.
    if (m_bFilterCategoryStatus && !CategoryFilterEDB(record.m_oid, &m_CategoryFilter)) return false;
    record.m_bstrSubject = NewBstr(IsPresent(row, kSubject) ? row.TextAt(kSubject) : u"<No Subject>");
    if (!record.m_bstrSubject || !IsAppointmentToBeDisplayed(record.m_bstrSubject)) return false;
    record.m_bstrLocation = NewBstr(row.TextAt(kLocation));
    record.m_bReminder = ValueAt<bool>(row, kReminder);
    record.m_szCategories = CategoryFromEDB(record.m_oid);
    record.m_bHasNote = m_bShowHasNote && !IsNoteEmpty(m_pDb.get(), kNoteStream);
    record.m_szIcon = IconStrFromEDB(record.m_oid);
    if (IsFloat())
        CutFloatText();
    else if (record.m_bAllDay && record.m_wRecurType == kRecurYearly && record.m_wPatternType == kPatternDay)
        RecogniseYearlyDay();
    if (!PassesSecondFilters()) return false;
    record.m_bHasLink = HasLink(record.m_oid);
    record.m_bHasJournalLink = HasJournalLink(record.m_oid);
    return true;
}

bool CCalendarThread::IsAppointmentToBeDisplayed(const WCHAR* subject) const {
    return m_bDisplayCompletedAppointments || wcsncmp(subject, kHiddenMark, std::size(kHiddenMark) - 1) != 0;
}

// A floating item carries its rank before the subject: D or W, one more character, then digits and blanks.
bool CCalendarThread::IsFloat() const {
    const WCHAR rank = m_pRecord->m_bstrSubject[0];
    return m_szFloatCat[0] && (rank == u'D' || rank == u'W') &&
           wcscmp(m_pRecord->m_szCategories, m_szFloatCat) == 0;
}

void CCalendarThread::CutFloatText() {
    BSTR& subject = m_pRecord->m_bstrSubject;
    if (subject[1] == 0) return;
    const WCHAR* rest = subject + 2;
    while ((*rest >= u'0' && *rest <= u'9') || *rest == u' ') ++rest;
    if (*rest == 0) return;
    if (BSTR cut = SysAllocString(rest)) {
        SysFreeString(subject);
        subject = cut;
    }
}

bool CCalendarThread::PassesSecondFilters() const {
    const DATACALENDARDB& record = *m_pRecord;
    switch (m_nFilter) {
    case kFilterBirthdays:
        return record.m_wBirthdayYear != 0;
    case kFilterAnniversaries:
        return record.m_wAnniversaryYear != 0;
    case kFilterHolidays:
        return wcsistr(record.m_szCategories, m_szHolidayCatName) ||
               wcsistr(record.m_bstrSubject, m_szHolidaySubName);
    default:
        return true;
    }
}
