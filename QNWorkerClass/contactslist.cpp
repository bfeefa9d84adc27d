// The lists without groups: all contacts or those that were found, the recent ones, the calls; and the order of a list.
#include "QNWorkerClass/contactsthread.h"

#include "NorvoTools/CStr.h"
#include "NorvoTools/StrFunctions.h"
#include "Platform/clock.h"
#include "Platform/locale.h"
#include "Platform/strings.h"
#include "QNWorkerClass/calllog.h"
#include "QNWorkerClass/contactsfind.h"
#include "QNWorkerClass/contactssort.h"
#include "QNWorkerClass/recentcontacts.h"
#include "QNWorkerClass/texts.h"
#include "NorvoTools/HTMLEscape.h"

#include <algorithm>

namespace {

constexpr DWORD kSecondsPerMinute = 60;
constexpr DWORD kSecondsPerHour = 3600;

// Pictures of a call.
constexpr UINT kPictureOutgoing = 374;
constexpr UINT kPictureAnswered = 373;
constexpr UINT kPictureMissed = 375;

std::u16string View(const WCHAR* text) { return text ? text : u""; }

template<class... Values>
std::u16string Format(const WCHAR* format, Values... values) {
    WCHAR text[64];
    wsprintfW(text, format, values...);
    return text;
}

UINT PictureOf(const CCallLogEntry& entry) {
    return entry.dwFlags & kCallOutgoing   ? kPictureOutgoing
           : entry.dwFlags & kCallAnswered ? kPictureAnswered
                                           : kPictureMissed;
}

std::u16string DateAndTime(FILETIME time) {
    SYSTEMTIME local{};
    WCHAR date[64] = {}, clock[64] = {};
    FileTimeToLocalFileTime(&time, &time);
    if (!FileTimeToSystemTime(&time, &local)) return u" ";
    GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &local, nullptr, date,
                   static_cast<int>(std::size(date)));
    GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_NOSECONDS, &local, nullptr, clock,
                   static_cast<int>(std::size(clock)));
    return std::u16string(date) + u" " + clock;
}

// "1 h 5 m 3 s", without what is 0.
std::u16string Duration(DWORD seconds) {
    const auto unit = [](UINT text) { return LoadText(text).c_str()[0]; };
    std::u16string duration;
    const DWORD hours = seconds / kSecondsPerHour, minutes = seconds % kSecondsPerHour / kSecondsPerMinute;
    if (hours) duration += Format(u"%d %c ", hours, unit(kTextHours));
    if (minutes) duration += Format(u"%d %c ", minutes, unit(kTextMinutes));
    if (seconds % kSecondsPerMinute)
        duration += Format(u"%d %c", seconds % kSecondsPerMinute, unit(kTextSeconds));
    return duration;
}

std::u16string CallMarkup(const CCallLogEntry& entry) {
    std::u16string markup;
    if (entry.pszName && *entry.pszName) markup = u"<B>" + HTMLEscape(entry.pszName) + u"</B>";
    markup += u"<BR>" + Format(u"<IMG SRC=\"%d\">", PictureOf(entry)) + u" " + DateAndTime(entry.ftStartTime);
    if (const DWORD seconds = entry.Seconds()) markup += u"   <I>" + Duration(seconds);
    return markup;
}

} // namespace

// --- Contacts -----------------------------------------------------------------------------------------------------

bool CContactsThread::ListContacts(CeManualEvent* stop) {
    const bool filtered = IsFiltered();
    for (DATACONTACTS* row : m_listCatCache) {
        if (StopRequested(stop)) return false;
        if (row->m_bPasses && FindsListed(*row, m_nFormat, filtered)) m_listContacts.Add(row);
    }
    return true;
}

// As a filtered list by file-as names, in the order of their use; those that are gone leave no gap.
bool CContactsThread::ListRecent(CeManualEvent* stop) {
    const std::vector<DWORD> recent = ReadRecentContacts();
    std::unordered_map<DWORD, DATACONTACTS*> rows;
    for (const DWORD oid : recent) rows.emplace(oid, nullptr);
    for (DATACONTACTS* row : m_listCatCache)
        if (const auto found = rows.find(row->m_oid); found != rows.end()) found->second = row;
    for (const DWORD oid : recent) {
        if (StopRequested(stop)) return false;
        DATACONTACTS*& row = rows[oid];
        if (row && FindsListed(*row, kDisplayFileAs, true)) m_listContacts.Add(row);
        row = nullptr; // each once
    }
    return true;
}

// --- Calls --------------------------------------------------------------------------------------------------------

bool CContactsThread::ListCalls(CeManualEvent* stop) {
    m_pCallLog = std::make_unique<CCallLog>();
    bool finished = true;
    CCallLogEntry entry;
    while (finished && m_pCallLog->Next(entry)) {
        if (PassesCall(entry)) AddCall(entry);
        finished = !StopRequested(stop);
    }
    m_pCallLog.reset();
    return finished;
}

bool CContactsThread::PassesCall(const CCallLogEntry& entry) const {
    if (!m_pCompare) return true;
    const WCHAR* wanted = m_pCompare->text.c_str();
    const auto matches = [&](const WCHAR* field) {
        if (!field) return false;
        if (m_pCompare->bFullSearch) return wcsistr(field, wanted) != nullptr;
        return CompareStringW(LOCALE_USER_DEFAULT, NORM_IGNORECASE | SORT_STRINGSORT, field, -1, wanted,
                              -1) == CSTR_EQUAL;
    };
    return matches(entry.pszName) || matches(entry.pszNameType) || matches(entry.pszNumber);
}

// The texts of a call are its own, so they come from the C heap.
void CContactsThread::AddCall(const CCallLogEntry& entry) {
    std::unique_ptr<DATACONTACTS> row(new (nullptr) DATACONTACTS(nullptr));
    if (!row) return;
    const std::u16string number = View(entry.pszNumber);
    row->m_szFileAs = AllocCSTR(CallMarkup(entry).c_str());
    row->m_szIcon = AllocHeapText(number, nullptr);
    row->m_szExtraLine = AllocHeapText(number + u" " + View(entry.pszNameType), nullptr);
    row->m_bFilled = 1;
    m_listContacts.Add(row.get());
    m_calls.push_back(std::move(row));
}

// --- The list -----------------------------------------------------------------------------------------------------

void CContactsThread::ClearData() {
    const CeSectionLock lock(m_csData);
    for (DATACONTACTS* row : m_listContacts) row->m_dwGroupId = row->m_dwSortGroupId = 0;
    m_listContacts.Clear();
    m_listHeaders.Clear();
    m_twins.clear();
    m_calls.clear();
    m_dropped.clear();
    m_lActiveDataCount = 0;
}

void CContactsThread::FillShownKeys(LONG format) {
    for (DATACONTACTS* row : m_listContacts)
        if (!row->m_bGroupHeader) FillShownKey(*row, format);
}

void CContactsThread::SortDataList(bool bSimple) {
    const DataHold hold(*this);
    if (hold.IsHeld()) SortRows(bSimple);
}

void CContactsThread::SortRows(bool bSimple) {
    FillShownKeys(bSimple ? LONG{kDisplayFileAs} : static_cast<LONG>(m_listContacts.GetUser()));
    m_listContacts.SetCompare(bSimple ? &CompareFuncSimple : &CompareFunc);
    m_listContacts.Sort(!bSimple);
}

int CContactsThread::CompareCatCacheItem(DATACONTACTS* const& a, DATACONTACTS* const& b, CEUSER format) {
    return CompareCachedContacts(a, b, static_cast<LONG>(format));
}

int CContactsThread::CompareFunc(DATACONTACTS* const& a, DATACONTACTS* const& b, CEUSER format) {
    return CompareShownContacts(a, b, static_cast<LONG>(format));
}

int CContactsThread::CompareFuncSimple(DATACONTACTS* const& a, DATACONTACTS* const& b, CEUSER) {
    return CompareContactsByFileAs(a, b);
}
