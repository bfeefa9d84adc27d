// Birthdays and anniversaries in the day list: from the contacts, and yearly appointments that are in fact such days.
#include "QNWorkerClass/calendarthread.h"

#include "NorvoTools/datetime.h"
#include "Platform/memory.h"
#include "Platform/poom.h"
#include "Platform/strings.h"
#include "QNWorkerClass/sidestores.h"
#include "QNWorkerClass/tasksrecord.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace {

constexpr WCHAR kContactsDb[] = u"Contacts Database";
enum ContactProperty : int { kFirstName, kLastName, kBirthday, kAnniversary, kContactNumber, kContactProps };
constexpr std::array<CEPROPID, kContactProps> kContactIds{PIMPR_FIRST_NAME, PIMPR_LAST_NAME, PIMPR_BIRTHDAY,
                                                          PIMPR_ANNIVERSARY, PIMPR_NUMBER};

constexpr WCHAR kBirthdayMark[] = u"~Birthday";
constexpr WCHAR kAnniversaryMark[] = u"~Anniversary";
constexpr LONG kYes = -1; // of the platform's booleans

LONG YearOfDay(LONG day) { return CivilOf(day).year; }

// The same date in another year; 29 February becomes the 28th where the year has none.
LONG DayInYear(double date, LONG year) {
    CivilDate day = CivilOf(static_cast<LONG>(date));
    if (day.month == 2 && day.day == 29 && !isleapyear(static_cast<int>(year))) day.day = 28;
    day.year = year;
    return DayOf(day);
}

void ReplaceBstr(BSTR& text, const WCHAR* with) {
    if (BSTR copy = SysAllocString(with)) {
        SysFreeString(text);
        text = copy;
    }
}

} // namespace

// --- From the contacts --------------------------------------------------------------------------------------------

LONG CCalendarThread::AddContactInfo(CeManualEvent* stop) {
    const bool wanted =
        m_nFilter != kFilterHolidays && m_nFilter != kFilterRecurring && m_nFilter != kFilterMeetings;
    if (!m_bReadBirthdays || !m_bReadAppointments || !wanted) return 0;
    CeDb db;
    if (!db.MountVolumeEDB(kPimVolume, false) || !db.Open(kContactsDb)) return 0;
    CeDbRecord record;
    LONG added = 0;
    for (CEOID oid = db.SeekBegin(0); oid; oid = db.SeekNext()) {
        if (stop && StopRequested(stop)) break; // the lines so far stay
        if (db.ReadRec(record, kContactProps, kContactIds.data())) added += AddContactLines(record);
    }
    return added;
}

LONG CCalendarThread::AddContactLines(const CeDbRecord& record) {
    LONG added = 0;
    if (m_nFilter != kFilterAnniversaries) added += AddContactDate(record, kBirthday, kBirthdayMark);
    if (m_nFilter != kFilterBirthdays) added += AddContactDate(record, kAnniversary, kAnniversaryMark);
    return added;
}

// A line for each year of the range. The years are all that is tested: the client finds lines by their day, and doesn't see
// those of a first or last year that lie outside.
LONG CCalendarThread::AddContactDate(const CeDbRecord& record, int index, const WCHAR* category) {
    const double date = RecordDateAt(record, index);
    if (date == kNoDate) return 0;
    const LONG first = m_nFilter == kFilterAll ? YearOfDay(m_range.first) : LONG{m_stToday.wYear};
    const LONG last = m_nFilter == kFilterAll ? YearOfDay(m_range.last) : 0;
    DWORD number = 0;
    record.GetIndexVal(kContactNumber, number);
    const std::u16string firstName(record.TextAt(kFirstName)), lastName(record.TextAt(kLastName));
    for (LONG year = first; year <= std::max(first, last); ++year) {
        auto line = std::make_unique<DATACALENDAR>();
        WCHAR subject[2048];
        if (_snwprintf(subject, std::size(subject) - 1, u"(%i %s) %s %s",
                       AgeIn(year, YearOfDay(static_cast<LONG>(date))), m_szYears, firstName.c_str(),
                       lastName.c_str()) < 0)
            subject[std::size(subject) - 1] = 0;
        line->m_bstrSubject = SysAllocString(subject);
        line->m_bstrLocation = SysAllocString(u"");
        line->m_szCategories = _wcsdup(category);
        line->m_lDay = DayInYear(date, year);
        line->m_dtStart = line->m_dtEnd = line->m_lDay;
        line->m_oid = number | kOidContact;
        line->m_oidRecord = record.m_oid;
        line->m_nType = kLineContactDate;
        line->m_lDuration = kMinutesPerDay;
        line->m_bAllDay = static_cast<WORD>(kYes);
        line->m_bListed = 1;
        m_listData.Add(line.release());
    }
    return std::max(first, last) - first + 1;
}

// --- Among the appointments ---------------------------------------------------------------------------------------

void CCalendarThread::RecogniseYearlyDay() {
    DATACALENDARDB& record = *m_pRecord;
    if (!m_szBDayCatName[0] && !m_szAnnCatName[0]) return;
    std::u16string text = record.m_bstrSubject;
    if (record.m_szCategories) text += record.m_szCategories;
    _wcslwr(text.data());
    const auto holds = [&text](const WCHAR* word) { return text.find(word) != text.npos; };
    if (m_szBDayCatName[0] && m_nFilter != kFilterAnniversaries &&
        (holds(m_szBDayCatName) || holds(u"birthday") || holds(u"bday")))
        record.m_wBirthdayYear = record.m_stStart.wYear;
    else if (m_szAnnCatName[0] && m_nFilter != kFilterBirthdays && (holds(m_szAnnCatName) || holds(u"anniv")))
        record.m_wAnniversaryYear = record.m_stStart.wYear;
}

LONG CCalendarThread::AgeIn(LONG year, LONG birth) const { return std::max<LONG>(year - birth, 0); }

// The day's kind among the categories, and the age before the subject; such a line shows no mark of a series.
void CCalendarThread::AddAge(DATACALENDAR& line) const {
    const bool anniversary = line.m_wAnniversaryYear != 0;
    std::u16string categories = line.m_szCategories ? line.m_szCategories : u"";
    if (!categories.empty()) categories += u", ";
    categories += anniversary ? kAnniversaryMark : kBirthdayMark;
    std::free(line.m_szCategories);
    line.m_szCategories = _wcsdup(categories.c_str());

    const LONG year = m_bExpandInRange ? YearOfDay(m_occurrence.day) : LONG{m_stToday.wYear};
    const LONG age = AgeIn(year, anniversary ? line.m_wAnniversaryYear : line.m_wBirthdayYear);
    if (age == 0) return;
    WCHAR subject[1100];
    if (_snwprintf(subject, std::size(subject) - 1, u"(%i %s) %s", age, m_szYears, line.m_bstrSubject) < 0)
        subject[std::size(subject) - 1] = 0;
    ReplaceBstr(line.m_bstrSubject, subject);
    line.m_bRecurring = 0;
}
