// Journal entries in the day list.
#include "QNWorkerClass/calendarthread.h"

#include "Platform/memory.h"
#include "Platform/notetext.h"
#include "Platform/strings.h"
#include "QNWorkerClass/journalstore.h"
#include "QNWorkerClass/tasksrecord.h"

#include <algorithm>

namespace {

enum JournalProperty : int {
    kTitle,
    kType,
    kMinutes,
    kCategories,
    kCreated,
    kEntryDate,
    kModified,
    kJournalProps,
    kInkBody = kJournalProps,
    kTextBody,
    kJournalPropsWithBody,
};
constexpr std::array<CEPROPID, kJournalPropsWithBody> kJournalIds{0x0030001F, 0x0031001F, 0x00320013,
                                                                  0x0034001F, 0x002D0040, 0x002B0040,
                                                                  0x002C0040, 0x00370064, 0x002F001F};
constexpr DWORD kReadBufferSize = 25600;
constexpr std::size_t kSubjectChars = 599; // the text was built in a buffer of 600
constexpr std::size_t kLongBody = 100;
constexpr std::size_t kCutBody = 50;

// "title [type]", "[type]", "title" or nothing.
std::u16string SubjectOf(const CeDbRecord& record) {
    std::u16string subject(record.TextAt(kTitle));
    if (const std::u16string_view type = record.TextAt(kType); !type.empty()) {
        if (!subject.empty()) subject += u" ";
        subject.append(u"[").append(type).append(u"]");
    }
    return subject.substr(0, kSubjectChars);
}

// The text of the entry's ink, for one that isn't long: a long one is not read at all.
bool InkBody(CeDb* db, std::u16string& text) {
    constexpr DWORD kLongestInk = 5000;
    CEBLOB ink{};
    if (!db || db->StreamSize(kJournalIds[kInkBody]) > kLongestInk ||
        !db->ReadStream(kJournalIds[kInkBody], &ink))
        return false;
    const bool good = PlatTextOfNote(ink.lpb, ink.dwCount, text);
    LocalFree(ink.lpb);
    return good;
}

// A "<" would begin a tag where the text is shown.
std::u16string BodyOf(CeDb* db, const CeDbRecord& record) {
    constexpr WCHAR kLeftQuote = 171;
    std::u16string body;
    if (!InkBody(db, body)) body = record.TextAt(kTextBody);
    std::replace(body.begin(), body.end(), u'<', kLeftQuote);
    return body.size() > kLongBody ? body.substr(0, kCutBody) : body;
}

} // namespace

void CCalendarThread::AddJournal(CeManualEvent* stop, CEOID oid) {
    if (!m_bAddingOverlays) DeleteJournalInList();
    if (!m_bShowJournal || m_nFilter != kFilterAll) return;
    std::copy(kJournalIds.begin(), kJournalIds.end(), m_PropIds.begin());
    m_nPropIds = m_bJournalBody ? WORD{kJournalPropsWithBody} : WORD{kJournalProps};
    const DWORD size = CeRecordBufferSize(kReadBufferSize, kJournalPropsWithBody);
    const HLOCAL buffer = LocalAlloc(LPTR, size);
    m_pDbOverlay = std::make_unique<CeDb>();
    if (buffer && !StopRequested(stop) && m_pDbOverlay->Open(kJournalStore)) {
        CeDbRecord record;
        const bool single = oid != 0;
        bool show = false;
        for (CEOID at = single ? m_pDbOverlay->SeekTo(oid) : m_pDbOverlay->SeekFirst();
             at && !StopRequested(stop); at = single ? 0 : m_pDbOverlay->SeekNext())
            if (m_pDbOverlay->ReadRec(record, buffer, size, m_nPropIds, m_PropIds.data()))
                AddNewJournal(&record, &show, single);
        record.DetachBuffer();
    }
    m_pDbOverlay.reset();
    LocalFree(buffer);
}

LONG CCalendarThread::AddNewJournal(CeDbRecord* record, bool* pbShow, bool) {
    *pbShow = false;
    const std::u16string categories(record->TextAt(kCategories));
    if (!CategoryFilterHighLevel(categories.c_str(), &m_CategoryFilter)) return 0;
    double date = RecordDateAt(*record, kEntryDate);
    if (date == kNoDate) date = RecordDateAt(*record, kCreated);
    const LONG day = static_cast<LONG>(date);
    if (date == kNoDate || day < m_range.first || day > m_range.last) return 0;
    auto line = std::make_unique<DATACALENDAR>();
    record->GetIndexVal(kMinutes, line->m_lDuration);
    line->m_oid = line->m_oidRecord = record->m_oid;
    line->m_nType = kLineJournal;
    line->m_bHasJournalLink = 1;
    line->m_lDay = day;
    line->m_dtStart = date;
    line->m_dtEnd = date + line->m_lDuration / static_cast<double>(kMinutesPerDay);
    line->m_dtJournalCreated = RecordDateAt(*record, kCreated);
    line->m_dtJournalModified = RecordDateAt(*record, kModified);
    line->m_szCategories = _wcsdup(categories.c_str());
    line->m_bstrSubject = SysAllocString(SubjectOf(*record).c_str());
    line->m_bstrLocation = SysAllocString(u"");
    if (m_bJournalBody) line->m_bstrSpare = SysAllocString(BodyOf(m_pDbOverlay.get(), *record).c_str());
    line->m_bListed = 1;
    m_listData.Add(line.release());
    *pbShow = true;
    return 1;
}
