// What a row shows besides its name: read from the stores when the row is drawn.
#include "QNWorkerClass/contactsthread.h"

#include "QNWorkerClass/contactsfind.h"
#include "QNWorkerClass/contactsrecord.h"
#include "QNWorkerClass/propertyreader.h"

#include <algorithm>

namespace {

constexpr DWORD kShortId = 0xFFFF; // up to here a preferred number is told by the high half of its id
constexpr DWORD kSimSource = 10;   // what the source counts for in the number of a SIM contact

// The texts stand behind the number of the record, and the preferred number behind them.
constexpr int kFirstText = 1;
constexpr int kPreferred = kFirstText + static_cast<int>(kContactLineIds.size());

bool IsPreferred(CEPROPID id, DWORD preferred) {
    return preferred > kShortId ? id == preferred : HIWORD(id) == preferred;
}

} // namespace

WORD CContactsThread::SetPropIds(CEPROPID* ids) const {
    CEPROPID* next = ids;
    *next++ = PIMPR_NUMBER;
    if (!m_bShowNamesOnly || (m_pCompare && m_pCompare->bFullSearch)) {
        next = std::ranges::copy(kContactLineIds, next).out;
        *next++ = PIMPR_DEFAULT_NUMBER;
    }
    if (m_bSimStore) {
        *next++ = PIMPR_SOURCE_FLAGS;
        *next++ = PIMPR_SOURCE_ID;
    }
    return static_cast<WORD>(next - ids);
}

std::vector<CEPROPID> CContactsThread::LineIds() const {
    std::vector<CEPROPID> ids(kPreferred + 3);
    ids.resize(SetPropIds(ids.data()));
    return ids;
}

void CContactsThread::FillContactInfo(DATACONTACTS* row) {
    if (!row || row->m_oid == 0) return;
    m_bDrawing = true;
    if (!m_bRunGoing) {
        OpenContacts();
        if (!m_pLineReader) m_pLineReader = std::make_unique<PropertyReader>(LineIds());
        FillRow(*row, *m_pLineReader);
    }
    m_bDrawing = false;
}

// With one phase all rows are ready when the list is.
bool CContactsThread::FillContactInfoInOnePhase(CeManualEvent* stop) {
    if (m_bUseTwoPhases) return true;
    OpenContacts();
    PropertyReader reader(LineIds());
    for (DATACONTACTS* row : m_listContacts) {
        if (StopRequested(stop)) return false;
        if (row->m_oid != 0) FillRow(*row, reader);
    }
    return true;
}

// A record that has gone leaves an empty line.
void CContactsThread::FillRow(DATACONTACTS& row, PropertyReader& reader) {
    row.ClearExtraData();
    row.m_bEmpty = row.m_bHasNote = row.m_bHasPicture = 0;
    row.m_bFilled = 1;
    row.m_dwExtraProperty = row.m_dwSimNumber = 0;
    if (!m_bLinksTried) InitiateLinksDB();
    m_bLinksTried = true;
    row.m_bHasLink = HasLink(row.m_oid);
    row.m_bHasJournalLink = HasJournalLink(row.m_oid);
    if (!m_pDb->IsOpen() || !m_pDb->SeekTo(row.m_oidRecord) || !reader.Read(*m_pDb)) {
        row.m_szExtraLine = NewText(u"");
        return;
    }
    if (m_bSimStore)
        row.m_dwSimNumber =
            reader.Number(reader.Count() - 2) + kSimSource * reader.Number(reader.Count() - 1);
    row.m_szCategories = CategoryFromEDB(row.m_oid);
    row.m_szIcon = IconStrFromEDB(row.m_oid);
    row.m_bHasNote = m_bShowHasNote && !IsNoteEmpty(m_pDb.get(), PIMPR_NOTE);
    row.m_bHasPicture = m_bShowPicture && !IsNoteEmpty(m_pDb.get(), PIMPR_PICTURE);
    FillLine(row, reader);
}

// The number that the contact prefers, else the first one it has.
void CContactsThread::FillLine(DATACONTACTS& row, const PropertyReader& reader) {
    int chosen = -1;
    if (!m_bShowNamesOnly) {
        const DWORD preferred = reader.Number(kPreferred);
        for (int i = kFirstText; i < kPreferred; ++i) {
            if (reader.Text(i).empty()) continue;
            const bool wanted = IsPreferred(reader.Id(i), preferred);
            if (wanted || chosen < 0) chosen = i;
            if (wanted) break;
        }
    }
    if (chosen >= 0) row.m_dwExtraProperty = reader.Id(chosen);
    row.m_szExtraLine = NewText(chosen >= 0 ? reader.Text(chosen) : u"");
}
