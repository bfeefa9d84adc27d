// Journal entries that a search finds, the newest first.
#include "NorvoTools/StrFunctions.h"
#include "Platform/comref.h"
#include "Platform/memory.h"
#include "Platform/notetext.h"
#include "Platform/poom.h"
#include "Platform/strings.h"
#include "QNWorkerClass/DATACALENDAR.h"
#include "QNWorkerClass/journalstore.h"
#include "QNWorkerClass/propertyreader.h"
#include "QNWorkerClass/searchthread.h"
#include "QNWorkerClass/tasksrecord.h"
#include "QNWorkerClass/tasksubject.h"
#include "NorvoTools/HTMLEscape.h"

namespace {

enum Field : int {
    kTitle,
    kOldNote,
    kType,
    kCreated,
    kOwner,
    kCategories,
    kExtra,
    kFlag,
    kDate,
    kModified,
    kFields
};
constexpr std::array<CEPROPID, kFields> kIds{0x0030001F, 0x002F001F, 0x0031001F, 0x002D0040, 0x002E0003,
                                             0x0034001F, 0x0035001F, 0x0036000B, 0x002B0040, 0x002C0040};
constexpr CEPROPID kNote = 0x00370064;
constexpr int kImage = 232;
constexpr std::size_t kBodyChars = 200; // of a row

// What an item is called, of a task without what stands in front of its subject; empty for one that is gone.
std::u16string ReadTitle(DWORD oid) {
    ComRef<IDispatch> item;
    BSTR title = nullptr;
    COutlook* outlook = GetOutlookObject();
    if (!outlook || FAILED(outlook->GetItemFromOid(oid, item.Out())) || !item) return {};
    switch (COutlook::GetQNItemType(oid)) {
    case kDataContact:
        if (const auto contact = item.As<IContact>(IID_IContact)) contact->get_FileAs(&title);
        break;
    case kDataAppointment:
        if (const auto appointment = item.As<IAppointment>(IID_IAppointment))
            appointment->get_Subject(&title);
        break;
    default:
        if (const auto task = item.As<ITask>(IID_ITask)) task->get_Subject(&title);
        break;
    }
    std::u16string text(title ? title : u"");
    SysFreeString(title);
    if (COutlook::GetQNItemType(oid) == kDataTask) text = std::u16string(ParseTaskSubject(text).text);
    return text;
}

// The stream; else the text of a record of an older version.
std::u16string BodyOf(CeDb& store, const CeDbRecord& record) {
    CEBLOB note{};
    std::u16string body;
    if (store.ReadStream(kNote, &note) && !PlatTextOfNote(note.lpb, note.dwCount, body)) body.clear();
    LocalFree(note.lpb);
    if (body.empty()) body = record.TextAt(kOldNote);
    if (body.size() <= kBodyChars) return body;
    const bool halved = (body[kBodyChars - 1] & 0xFC00) == 0xD800; // the last character
    return body.substr(0, kBodyChars - (halved ? 1 : 0));
}

} // namespace

void CSearchThread::ReadJournal(CEOID resume) {
    m_pDb->Close();
    if (!m_pDb->MountNorvoVolume() || !m_pDb->Open(kJournalStore, kIds[kCreated])) return;
    PropertyReader reader({kIds.begin(), kIds.end()});
    for (CEOID at = resume ? m_pDb->SeekTo(resume) : m_pDb->SeekLast(); at && !StopRequested(&m_hStopEvent);
         at = resume ? 0 : m_pDb->SeekPrev())
        if (reader.Read(*m_pDb) && JournalCheck(reader.Record())) AddJournalEntry(reader.Record());
}

bool CSearchThread::JournalCheck(const CeDbRecord& record) {
    if (!CategoryFilterHighLevel(std::u16string(record.TextAt(kCategories)).c_str(), &m_CategoryFilter))
        return false;
    if (m_query.bJournalAll) return true;
    if (m_bFrom && m_bTo) {
        const auto within = [&](int field) {
            const double date = RecordDateAt(record, field);
            return date != kNoDate && m_range.Holds(static_cast<LONG>(date));
        };
        if (!within(kDate) && !within(kModified)) return false;
    }
    if (m_pattern.FindsAll()) return true;
    if (m_query.lField != kSearchAll && m_query.lField != kSearchNames) return false;
    const std::u16string_view texts[] = {record.TextAt(kTitle), record.TextAt(kOldNote),
                                         record.TextAt(kType)};
    return TextsMatch(std::span(texts).first(m_query.lField == kSearchAll ? 3 : 1)) ||
           NoteMatches(*m_pDb, kNote);
}

// "<B>Title</B> <IMG SRC=233><A=3221225473><U>Item</U></A><BR><I>What was noted</I>".
void CSearchThread::AddJournalEntry(const CeDbRecord& record) {
    auto row = NewRow(kLineJournal, kImage, record.m_oid, record.m_oid);
    const std::u16string title(record.TextAt(kTitle));
    std::u16string text = u"<B>" + HTMLEscape(title) + u"</B>";
    LONG owner = 0;
    record.GetIndexVal(kOwner, owner);
    row->m_oidLinked = static_cast<DWORD>(owner);
    if (owner) {
        const std::u16string& linked = TitleOfItem(row->m_oidLinked);
        row->m_nLinkedType = COutlook::GetQNItemType(row->m_oidLinked);
        row->m_szLinkedTitle = AllocLPWSTR(linked.c_str());
        WCHAR link[48];
        wsprintfW(link, u" <IMG SRC=233><A=%u><U>", row->m_oidLinked);
        text += link + HTMLEscape(linked) + u"</U></A>";
    }
    const std::u16string body = BodyOf(*m_pDb, record);
    if (!body.empty()) text += u"<BR><I>" + HTMLEscape(body) + u"</I>";
    row->m_szSubject = AllocLPWSTR(title.c_str());
    row->m_szText = AllocLPWSTR(text.c_str());
    row->m_szCategories = AllocLPWSTR(std::u16string(record.TextAt(kCategories)).c_str());
    row->m_dtStart = RecordDateAt(record, kDate);
    row->m_dtEnd = RecordDateAt(record, kModified);
    row->m_dtDate = row->m_dtStart != kNoDate ? row->m_dtStart : RecordDateAt(record, kCreated);
    row->m_bHasNote = !body.empty();
    row->m_bHasLink = owner != 0;
    AddRow(std::move(row));
}

const std::u16string& CSearchThread::TitleOfItem(DWORD oid) {
    const auto [found, isNew] = m_titles.try_emplace(oid);
    if (isNew) found->second = ReadTitle(oid);
    return found->second;
}
