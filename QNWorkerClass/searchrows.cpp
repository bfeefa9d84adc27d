// The rows of a search: what all kinds have in common.
#include "QNWorkerClass/searchrows.h"

#include "NorvoTools/StrFunctions.h"
#include "NorvoTools/datetime.h"
#include "Platform/locale.h"
#include "Platform/poom.h"
#include "Platform/strings.h"
#include "Platform/windows.h"
#include "QNWorkerClass/searchthread.h"

#include <cstdlib>

namespace {

constexpr LONG kProgressRows = 5;

} // namespace

std::u16string ShortDateText(double date) {
    WCHAR text[80] = {};
    GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, date, nullptr, text,
                   static_cast<int>(std::size(text)));
    return text;
}

std::unique_ptr<DATAGENERAL> CSearchThread::NewRow(LONG type, int image, DWORD oid, CEOID record) {
    auto row = std::make_unique<DATAGENERAL>();
    WCHAR text[32];
    wsprintfW(text, u"<IMG SRC=%d> ", image);
    row->m_szImage = AllocLPWSTR(text);
    row->m_nType = type;
    row->m_oid = oid;
    row->m_oidRecord = record;
    return row;
}

// Of the current record of the store.
void CSearchThread::FillFromStores(DATAGENERAL& row) {
    row.m_szCategories = CategoryFromEDB(row.m_oid);
    row.m_szIcon = IconStrFromEDB(row.m_oid);
    row.m_bHasNote = m_bShowHasNote && !IsNoteEmpty(m_pDb.get(), PIMPR_NOTE);
    row.m_bHasLink = HasLink(row.m_oid) || HasJournalLink(row.m_oid);
}

void CSearchThread::AddRow(std::unique_ptr<DATAGENERAL> row) {
    row->m_bFilled = 1;
    if (row->m_szCategories && !*row->m_szCategories) {
        std::free(row->m_szCategories);
        row->m_szCategories = nullptr;
    }
    m_listResults.Add(row.release());
    const LONG count = m_listResults.GetCount();
    m_lActiveDataCount = count;
    // Who waits for the end of a search answers no message.
    if (m_bProgress && m_hClientWnd && count % kProgressRows == 0 && !StopRequested(&m_hStopEvent))
        SendMessageW(m_hClientWnd, kMsgListChanged, 0, count);
}
