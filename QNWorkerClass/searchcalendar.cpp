// Appointments that a search finds, each occurrence of a series by itself.
#include "NorvoTools/StrFunctions.h"
#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/poom.h"
#include "Platform/strings.h"
#include "QNWorkerClass/calendarthread.h"
#include "QNWorkerClass/propertyreader.h"
#include "QNWorkerClass/searchrows.h"
#include "QNWorkerClass/searchthread.h"
#include "QNWorkerClass/texts.h"
#include "NorvoTools/HTMLEscape.h"

#include <algorithm>
#include <optional>

namespace {

enum Field : int { kSubject, kLocation, kRecurring, kSensitivity, kNumber, kFields };
constexpr std::array<CEPROPID, kFields> kIds{PIMPR_SUBJECT, PIMPR_LOCATION, PIMPR_RECURRING,
                                             PIMPR_SENSITIVITY, PIMPR_NUMBER};
constexpr DWORD kNumberMask = 0xFFFF;
constexpr int kImage = 237;
constexpr std::u16string_view kSeriesMark = u"<IMG SRC=242> ";
constexpr UINT kTextHour = 41186;
constexpr UINT kTextMinute = 41189;
constexpr LONG kMinutesPerHour = 60;
// How far a series is followed when one end of the range is open.
constexpr LONG kOpenDays = 400;

std::u16string LowerText(UINT id) {
    std::u16string text = LoadText(id);
    _wcslwr(text.data());
    return text;
}

std::u16string TimeText(double date) {
    WCHAR text[80] = {};
    SYSTEMTIME time;
    if (VariantTimeToSystemTime(date, &time))
        GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_NOSECONDS, &time, nullptr, text,
                       static_cast<int>(std::size(text)));
    return text;
}

// The first word for one, the second for any other number.
std::u16string Amount(LONG number, UINT one, UINT many) {
    WCHAR digits[16];
    wsprintfW(digits, u"%d", number);
    return digits + LowerText(number == 1 ? one : many);
}

} // namespace

// A calendar thread that stays on the calling thread and expands one record of its store at a time. It filters nothing but
// privacy.
class CSearchThread::Occurrences : public CCalendarThread {
public:
    Occurrences(LONG privacy, LONG showHasNote) {
        m_nFilter = kFilterSingleSeries;
        m_nApptStatusFilter = 0;
        m_nFilterPrivacy = privacy;
        m_bShowHasNote = showHasNote;
        SetupThreadResources();
        SetPropIdsAppts();
        m_pDeletedDates = std::make_unique<CeList<DWORD>>(0);
    }
    bool Open(bool links) {
        if (links) InitiateLinksDB();
        return OpenAppointments();
    }
    CeDb& Store() { return *m_pDb; }
    // Values of most items will be asked for.
    void ScanItems() { m_scan.emplace(*this, kOidAppointment); }

    // Those of the current record in these days; of a single appointment it, when it touches them.
    CePtrList<DATACALENDAR*>& Within(const Range& days) {
        m_bExpandInRange = 1;
        m_dtRestrictStart = days.first;
        m_dtRestrictEnd = days.last;
        return Read();
    }
    // The current record once, a series by its first date.
    CePtrList<DATACALENDAR*>& Once() {
        m_bExpandInRange = 0;
        return Read();
    }

private:
    CePtrList<DATACALENDAR*>& Read() {
        SetLoadRange();
        m_listData.Clear();
        ReadRecords(nullptr, 1);
        return m_listData;
    }
    std::optional<ItemScan> m_scan;
};

void CSearchThread::ReadCalendar(CEOID resume) {
    Occurrences occurrences(m_query.lPrivacy, m_bShowHasNote);
    if (!occurrences.Open(!m_query.bNoLinks)) return;
    if (m_pattern.FindsAll() && !resume) occurrences.ScanItems();
    PropertyReader reader({kIds.begin(), kIds.end()});
    CeDb& store = occurrences.Store();
    WalkRecords(store, resume, [&] {
        if (!reader.Read(store)) return;
        const DWORD oid = (reader.Number(kNumber) & kNumberMask) | kOidAppointment;
        if (ApptCheck(reader.Record(), oid, store)) AddOccurrences(reader.Record(), occurrences);
    });
}

bool CSearchThread::ApptCheck(const CeDbRecord& record, DWORD oid, CeDb& store) {
    if (m_query.bTrackedOnly && !TrackedFromOID(oid)) return false;
    if (!CategoryFilterEDB(oid, &m_CategoryFilter)) return false;
    if (m_pattern.FindsAll()) return true;
    std::u16string_view texts[2];
    if (m_query.lField == kSearchAll || m_query.lField == kSearchNames) texts[0] = record.TextAt(kSubject);
    if (m_query.lField == kSearchAll || m_query.lField == kSearchLocation)
        texts[1] = record.TextAt(kLocation);
    if (m_query.lField < kSearchAll || m_query.lField > kSearchNames) return false;
    return TextsMatch(texts) || (m_query.bSearchNotes && NoteMatches(store, PIMPR_NOTE));
}

// A row for each occurrence within the range; without a range one, of the first date. With one end of the range open a
// series is followed for a year and a bit, and one that has nothing there is shown by its first date.
void CSearchThread::AddOccurrences(const CeDbRecord& record, Occurrences& occurrences) {
    bool recurring = false;
    record.GetIndexVal(kRecurring, recurring);
    Range days = m_range;
    if (recurring && !m_bTo) days.last = std::min(days.last, days.first + kOpenDays);
    if (recurring && !m_bFrom) days.first = std::max(days.first, days.last - kOpenDays);
    bool once = !HasRange();
    auto* lines = once ? &occurrences.Once() : &occurrences.Within(days);
    if (lines->IsEmpty() && recurring && m_bFrom != m_bTo) {
        once = true;
        lines = &occurrences.Once();
    }
    for (const DATACALENDAR* line : *lines) {
        if (StopRequested(&m_hStopEvent)) return; // a century of days
        if (HasRange() && !m_range.Holds(static_cast<LONG>(line->m_dtStart))) continue;
        auto row = NewRow(kLineAppointment, kImage, line->m_oid, line->m_oidRecord);
        row->m_szSubject = AllocLPWSTR(line->m_bstrSubject);
        row->m_szText = AllocLPWSTR(TextOf(*line, recurring && once).c_str());
        row->m_szCategories = AllocLPWSTR(line->m_szCategories);
        if (line->m_szIcon) row->m_szIcon = AllocLPWSTR(line->m_szIcon);
        row->m_dtDate = row->m_dtStart = line->m_dtStart;
        row->m_dtEnd = line->m_dtEnd;
        record.GetIndexVal(kSensitivity, row->m_lSensitivity);
        row->m_bHasNote = line->m_bHasNote != 0;
        row->m_bHasLink = line->m_bHasLink || line->m_bHasJournalLink;
        AddRow(std::move(row));
    }
}

// "<B>Lunch</B><BR>[3/12/10 12:30 PM]  1hour, 30minutes, Canteen"; with a picture when it stands for a whole series.
std::u16string CSearchThread::TextOf(const DATACALENDAR& line, bool series) const {
    std::u16string text = u"<B>" + HTMLEscape(line.m_bstrSubject ? line.m_bstrSubject : u"") + u"</B><BR>[" +
                          ShortDateText(line.m_dtStart);
    if (!line.m_bAllDay) text += u" " + TimeText(line.m_dtStart);
    text += u"]  ";
    if (series) text += kSeriesMark;
    text += DurationText(line.m_lDuration);
    if (line.m_bstrLocation && *line.m_bstrLocation) {
        if (text.back() != u' ') text += u", ";
        text += HTMLEscape(line.m_bstrLocation);
    }
    return text;
}

std::u16string CSearchThread::DurationText(LONG minutes) const {
    if (!m_bShowDuration || minutes <= 0) return {};
    const LONG hours = minutes / kMinutesPerHour, rest = minutes % kMinutesPerHour;
    std::u16string text;
    if (hours) text = Amount(hours, kTextHour, kTextHours);
    if (hours && rest) text += u", ";
    if (rest) text += Amount(rest, kTextMinute, kTextMinutes);
    return text;
}
