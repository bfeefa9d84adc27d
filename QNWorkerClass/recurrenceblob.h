// The reader of a series' recurrence blob (property 0x203F0064): its rule, its deleted dates and its changed
// occurrences. All numbers are little-endian; a date is minutes since 1 January 1601.
//
// One reader belongs to one thread at a time; several threads may each read with their own. The bytes are taken as they
// come: a read past the end gives 0, counts are cut to what the blob can hold, and nothing is changed on failure.
#pragma once

#include "NorvoTools/CeList.h"
#include "Platform/types.h"

#include <set>

struct CALENDAREXCEPTION;
struct DATACALENDARDB;

// Results of Parse.
inline constexpr int kBlobRead = 0;
inline constexpr int kBlobRefused = 1; // not a blob, or a series outside of the window
inline constexpr int kBlobInconsistent =
    2; // read as far as possible: its counts differ, as with any deleted date

class QN_API CRecurrenceParser {
public:
    // Series outside of this window, both ends included, are refused. At first everything is inside.
    void SetRestrict(const FILETIME& lo, const FILETIME& hi);
    void SetRestrictOpen();

    // Takes the blob of one record. On 0 and 2 the record has its pattern fields, start, last date (m_dtEnd in minutes)
    // and changed occurrences, and the list, which is empty, the dates that are deleted and not changed. `oid` and
    // `bAllDay` tell whose blob it is; the reading doesn't depend on them.
    int Parse(const BYTE* blob, DWORD size, DWORD oid, DATACALENDARDB* record, CeList<DWORD>* deletedList,
              bool bAllDay);

private:
    struct Pattern;
    struct Lists;

    WORD Read16();
    DWORD Read32();
    void Skip(ULONGLONG bytes) { m_position += bytes; }
    void MustBeZero(DWORD value);
    bool ReadPattern(Pattern& pattern);
    Lists FindLists();
    bool IsInRestrict(DWORD startDate, DWORD endDate) const;
    void ReadExceptions(DATACALENDARDB& record, const Lists& lists, std::multiset<LONG>& modifiedDays);
    void ReadException(CALENDAREXCEPTION& exception, std::multiset<LONG>& modifiedDays);
    DWORD ReadExceptionDates(CALENDAREXCEPTION& exception);
    void ReadExceptionParts(CALENDAREXCEPTION& exception);
    BSTR ReadText();
    LONG ReadBusyStatus();
    void FillDeleted(const Lists& lists, const std::multiset<LONG>& modifiedDays, CeList<DWORD>& deletedList);
    void CompareCounts(const Lists& lists, WORD exceptionCount);

    const BYTE* m_blob = nullptr;
    ULONGLONG m_size = 0;
    ULONGLONG m_position = 0;
    int m_status = kBlobRead;
    ULONGLONG m_lo = 0; // ticks
    ULONGLONG m_hi = ~ULONGLONG{0};
};
