#include "QNWorkerClass/recurrenceblob.h"

#include "QNWorkerClass/DATACALENDARDB.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

namespace {

constexpr DWORD kMagicForm4 = 0x30043004;
constexpr DWORD kMagicForm5 = 0x30053005;
constexpr DWORD kForm5Extra = 8; // bytes between the pattern fields and the end type
constexpr DWORD kMarker = 0x3005;

// Parts of an exception record, in the order in which they stand.
constexpr WORD kHasSubject = 0x0001;
constexpr WORD kHasReminder = 0x0008;
constexpr WORD kHasReminderTime = 0x0004;
constexpr WORD kHasLocation = 0x0010;
constexpr WORD kHasBusyStatus = 0x0020;
constexpr WORD kHasAllDay = 0x0080;
constexpr WORD kHasBody = 0x0100;

constexpr WORD kHighestBusyStatus = 4;

// Dates of an exception record before this one show that the record doesn't begin where it was read.
constexpr DWORD kFirstSoundDate =
    static_cast<DWORD>(civil::DaysFromCivil(1700, 1, 1) * civil::kMinutesPerDay);

LONG DayOfMonth(DWORD minutes) { return CivilOf(DayOfMinutes(minutes)).day; }

bool SameDayAndMonth(DWORD a, DWORD b) {
    CivilDate x = CivilOf(DayOfMinutes(a));
    CivilDate y = CivilOf(DayOfMinutes(b));
    return x.day == y.day && x.month == y.month;
}

// Whole days of a difference, told as the day of a date counted from 1 January 1601: it starts over with each month.
LONG ExtraDays(DWORD start, DWORD end) { return end > start ? DayOfMonth(end - start) - 1 : 0; }

LONG MinutesToHour(DWORD minutes) { return static_cast<LONG>(minutes % civil::kMinutesPerDay / 60); }

} // namespace

// The fields up to the end type.
struct CRecurrenceParser::Pattern {
    WORD recurType = 0;
    WORD patternType = 0;
    RuleKind kind = RuleKind::None;
    DWORD yearOffset = 0;
    DWORD period = 0;
    DWORD weekMask = 0;
    DWORD day = 0;
    DWORD nth = 0;
};

// Where the lists stand, and how many dates of them the blob holds.
struct CRecurrenceParser::Lists {
    DWORD occurrences = 0;
    DWORD deletedCount = 0;
    DWORD modifiedCount = 0;
    ULONGLONG deletedAt = 0;
    ULONGLONG modifiedAt = 0;
    DWORD deletedHeld = 0;
    DWORD modifiedHeld = 0;
};

// --- Bytes --------------------------------------------------------------------------------------------------------

inline WORD CRecurrenceParser::Read16() {
    WORD value = 0;
    if (m_position + sizeof value <= m_size)
        value = static_cast<WORD>(m_blob[m_position] | m_blob[m_position + 1] << 8);
    m_position += sizeof value;
    return value;
}

inline DWORD CRecurrenceParser::Read32() {
    DWORD value = 0;
    if (m_position + sizeof value <= m_size) {
        const BYTE* at = m_blob + m_position;
        value = at[0] | static_cast<DWORD>(at[1]) << 8 | static_cast<DWORD>(at[2]) << 16 |
                static_cast<DWORD>(at[3]) << 24;
    }
    m_position += sizeof value;
    return value;
}

void CRecurrenceParser::MustBeZero(DWORD value) {
    if (value != 0) m_status = kBlobInconsistent;
}

// --- A blob ---------------------------------------------------------------------------------------------------

void CRecurrenceParser::SetRestrict(const FILETIME& lo, const FILETIME& hi) {
    m_lo = FileTimeTicks(lo);
    m_hi = FileTimeTicks(hi);
}

void CRecurrenceParser::SetRestrictOpen() {
    m_lo = 0;
    m_hi = ~ULONGLONG{0};
}

int CRecurrenceParser::Parse(const BYTE* blob, DWORD size, DWORD, DATACALENDARDB* record,
                             CeList<DWORD>* deletedList, bool) {
    if (!blob || size == 0) return kBlobRefused;
    m_blob = blob;
    m_size = size;
    m_position = 0;
    m_status = kBlobRead;

    Pattern pattern;
    if (!ReadPattern(pattern)) return kBlobRefused;
    Lists lists = FindLists();
    DWORD startDate = Read32();
    DWORD endDate = Read32();
    if (!IsInRestrict(startDate, endDate)) return kBlobRefused;
    if (Read32() != kMarker || Read32() != kMarker) return kBlobRefused;
    DWORD startTime = Read32();
    DWORD endTime = Read32();
    WORD exceptionCount = Read16();
    CompareCounts(lists, exceptionCount);

    record->ClearPattern();
    record->m_wRecurType = pattern.recurType;
    record->m_wPatternType = pattern.patternType;
    if (pattern.kind == RuleKind::Daily)
        record->m_dwPeriodMinutes = pattern.period;
    else if (pattern.kind == RuleKind::Weekly)
        record->m_dwPeriodWeeks = pattern.period;
    else if (pattern.kind != RuleKind::Weekday)
        record->m_dwPeriodMonths = pattern.period;
    record->m_dwWeekMask = pattern.weekMask;
    record->m_wDaysOfWeek = static_cast<WORD>(pattern.weekMask);
    record->m_dwDayOfYear = pattern.day;
    record->m_wDayOfMonth = static_cast<WORD>(pattern.day);
    record->m_wNth = static_cast<WORD>(pattern.nth);
    record->m_dwYearOffset = pattern.yearOffset;
    record->m_dwOccurrences = lists.occurrences;
    record->m_dtStart =
        VariantOf({DayOfMinutes(startDate), static_cast<LONG>(startDate % civil::kMinutesPerDay)});
    record->m_dtEnd = endDate;
    record->m_wStartHour = static_cast<WORD>(startTime / 60);
    record->m_wStartMinute = static_cast<WORD>(startTime % 60);
    record->m_wEndHour = static_cast<WORD>(endTime / 60);
    record->m_wEndMinute = static_cast<WORD>(endTime % 60);
    if (lists.deletedHeld == 0) return m_status;

    std::multiset<LONG> modifiedDays;
    ReadExceptions(*record, lists, modifiedDays);
    FillDeleted(lists, modifiedDays, *deletedList);
    return m_status;
}

// --- Header, pattern, lists ---------------------------------------------------------------------------------------

bool CRecurrenceParser::ReadPattern(Pattern& pattern) {
    DWORD magic = Read32();
    if (magic != kMagicForm4 && magic != kMagicForm5) return false;
    pattern.recurType = Read16();
    pattern.patternType = Read16();
    pattern.kind = KindOfRule(pattern.recurType, pattern.patternType);
    MustBeZero(Read16());
    pattern.yearOffset = Read32();
    pattern.period = Read32();
    MustBeZero(Read32());
    switch (pattern.kind) {
    case RuleKind::None:
        return false;
    case RuleKind::Daily:
        break;
    case RuleKind::Weekday:
    case RuleKind::Weekly:
        pattern.weekMask = Read32();
        break;
    case RuleKind::MonthlyDay:
    case RuleKind::YearlyDay:
        pattern.day = Read32();
        break;
    case RuleKind::MonthlyNth:
    case RuleKind::YearlyNth:
        pattern.weekMask = Read32();
        pattern.nth = Read32();
        break;
    }
    if (magic == kMagicForm5) Skip(kForm5Extra);
    return true;
}

// Steps over the lists to the start date. Without deleted dates no modified ones are looked for, whatever their count.
CRecurrenceParser::Lists CRecurrenceParser::FindLists() {
    auto held = [this](DWORD count) {
        ULONGLONG room = m_position < m_size ? (m_size - m_position) / sizeof(DWORD) : 0;
        return static_cast<DWORD>(std::min<ULONGLONG>(count, room));
    };
    Lists lists;
    Skip(4); // end type: the last date alone ends a series
    lists.occurrences = Read32();
    Skip(4); // first day of the week
    lists.deletedCount = Read32();
    lists.deletedAt = m_position;
    lists.deletedHeld = held(lists.deletedCount);
    Skip(ULONGLONG{lists.deletedCount} * sizeof(DWORD));
    lists.modifiedCount = Read32();
    if (lists.deletedCount == 0) return lists;
    lists.modifiedAt = m_position;
    lists.modifiedHeld = held(lists.modifiedCount);
    Skip(ULONGLONG{lists.modifiedCount} * sizeof(DWORD));
    return lists;
}

bool CRecurrenceParser::IsInRestrict(DWORD startDate, DWORD endDate) const {
    auto ticks = [](DWORD minutes) {
        return ULONGLONG{minutes} * static_cast<ULONGLONG>(civil::kTicksPerMinute);
    };
    return ticks(endDate) >= m_lo && ticks(startDate) <= m_hi;
}

// Called behind the exception count. A series with deleted dates that are not changed ones has unequal counts: normal.
void CRecurrenceParser::CompareCounts(const Lists& lists, WORD exceptionCount) {
    WORD deleted = static_cast<WORD>(lists.deletedCount);
    WORD modified = static_cast<WORD>(lists.modifiedCount);
    if (exceptionCount != deleted || exceptionCount != modified) m_status = kBlobInconsistent;
    if (exceptionCount == 0 && deleted == 0 && modified == 0 && m_position > m_size)
        m_status = kBlobInconsistent;
}

// A date of the deleted list that is in the modified list too is a changed occurrence. For moved ones the reading of
// the exceptions has put their dates by the rule there.
void CRecurrenceParser::FillDeleted(const Lists& lists, const std::multiset<LONG>& modifiedDays,
                                    CeList<DWORD>& deletedList) {
    m_position = lists.deletedAt;
    for (DWORD i = 0; i < lists.deletedHeld; ++i) {
        DWORD date = Read32();
        if (!modifiedDays.contains(DayOfMinutes(date))) deletedList.Add(date);
    }
}

// --- Exceptions ---------------------------------------------------------------------------------------------------

// One for each modified date, from the current position on.
void CRecurrenceParser::ReadExceptions(DATACALENDARDB& record, const Lists& lists,
                                       std::multiset<LONG>& modifiedDays) {
    ULONGLONG exceptionsAt = std::exchange(m_position, lists.modifiedAt);
    for (DWORD i = 0; i < lists.modifiedHeld; ++i) modifiedDays.insert(DayOfMinutes(Read32()));
    m_position = exceptionsAt;
    for (DWORD i = 0; i < lists.modifiedHeld && m_position < m_size; ++i) {
        auto exception = std::make_unique<CALENDAREXCEPTION>();
        ReadException(*exception, modifiedDays);
        record.m_listExceptions.Add(exception.release());
    }
}

void CRecurrenceParser::ReadException(CALENDAREXCEPTION& exception, std::multiset<LONG>& modifiedDays) {
    DWORD original = ReadExceptionDates(exception);
    exception.dwKeyDate = exception.dwStart;
    exception.lStartHour = MinutesToHour(exception.dwStart);
    exception.lStartMinute = static_cast<LONG>(exception.dwStart % 60);
    exception.lEndHour = MinutesToHour(exception.dwEnd);
    exception.lEndMinute = static_cast<LONG>(exception.dwEnd % 60);
    if (DayOfMonth(exception.dwStart) != DayOfMonth(exception.dwEnd)) {
        exception.bMultiDay = 1;
        exception.nExtraDays = ExtraDays(exception.dwStart, exception.dwEnd);
        exception.lEndHour += 24 * exception.nExtraDays;
        exception.stStart = civil::SystemTimeFromMinutes(exception.dwStart);
    }
    // A move by whole years, to the same day and month, is no move.
    if (!SameDayAndMonth(exception.dwStart, original)) {
        exception.bMoved = 1;
        exception.dwMovedTo = exception.dwStart;
        exception.dwOriginal = exception.dwKeyDate = original;
        auto entry = modifiedDays.find(DayOfMinutes(exception.dwStart));
        if (entry != modifiedDays.end()) {
            modifiedDays.erase(entry);
            modifiedDays.insert(DayOfMinutes(original));
        }
    }
    ReadExceptionParts(exception);
}

// Reads start, end and original date; gives the last. Writers have left records with one field too few or too many
// before this one: a date before 1700 shows it, and the read is repeated once, 4 bytes on or back.
DWORD CRecurrenceParser::ReadExceptionDates(CALENDAREXCEPTION& exception) {
    ULONGLONG begin = m_position;
    DWORD original = 0;
    auto read = [&] {
        exception.dwStart = Read32();
        exception.dwEnd = Read32();
        original = Read32();
    };
    read();
    if (exception.dwStart >= kFirstSoundDate && original >= kFirstSoundDate) return original;
    m_position = exception.dwStart < kFirstSoundDate ? begin + 4 : begin - 4;
    read();
    return original;
}

void CRecurrenceParser::ReadExceptionParts(CALENDAREXCEPTION& exception) {
    exception.wFlags = Read16();
    Skip(2);
    bool hasBody = exception.wFlags >= kHasBody;
    if (hasBody) {
        exception.wFlags = static_cast<WORD>(exception.wFlags - kHasBody);
        exception.bHasBody = 1;
        exception.dwKeyDate = exception.dwStart;
    }
    WORD flags = exception.wFlags;
    if (flags & kHasSubject) exception.bstrSubject = ReadText();
    if (flags & kHasReminder) Skip(4);
    if (flags & kHasReminderTime) Skip(4);
    if (flags & kHasLocation) exception.bstrLocation = ReadText();
    if (flags & kHasBusyStatus) exception.lBusyStatus = ReadBusyStatus();
    if (flags & kHasAllDay) {
        WORD allDay = Read16();
        Skip(2);
        if (allDay == 1 || allDay == 2) exception.nAllDay = allDay == 1 ? 1 : 0;
    }
    if (!hasBody) return;
    WORD bodySize = Read16();
    if (bodySize != 0) Skip(ULONGLONG{bodySize} + 4);
}

// A new BSTR of the units that the blob holds; the position moves on by the told count.
BSTR CRecurrenceParser::ReadText() {
    Skip(2);
    WORD count = Read16();
    ULONGLONG room = m_position < m_size ? (m_size - m_position) / sizeof(WCHAR) : 0;
    UINT units = static_cast<UINT>(std::min<ULONGLONG>(count, room));
    BSTR text = SysAllocStringLen(nullptr, units);
    if (text && units != 0) std::memcpy(text, m_blob + m_position, units * sizeof(WCHAR));
    Skip(ULONGLONG{count} * sizeof(WCHAR));
    return text;
}

// The value, or what some writers put before it: then the value is in the second half of eight bytes.
LONG CRecurrenceParser::ReadBusyStatus() {
    WORD value = Read16();
    Skip(2);
    if (value <= kHighestBusyStatus) return value;
    value = Read16();
    Skip(2);
    return value;
}
