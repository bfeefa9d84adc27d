// Finding contacts: by the beginning of a name, on the key pad, and by all that a record holds.
#include "QNWorkerClass/contactsfind.h"

#include "NorvoTools/CStr.h"
#include "NorvoTools/StrFunctions.h"
#include "Platform/strings.h"
#include "QNWorkerClass/contactsrecord.h"
#include "QNWorkerClass/contactssort.h"
#include "QNWorkerClass/contactsthread.h"
#include "QNWorkerClass/propertyreader.h"
#include "QNWorkerClass/quickfind.h"

#include <algorithm>
#include <array>
#include <span>

namespace {

constexpr std::size_t kMostTyped = 1023;

std::vector<std::u16string> WordsOf(std::u16string_view text) {
    std::vector<std::u16string> words;
    for (std::size_t at = text.find_first_not_of(u' '); at < text.size();) {
        const std::size_t end = std::min(text.find(u' ', at), text.size());
        words.emplace_back(text.substr(at, end - at));
        at = text.find_first_not_of(u' ', end);
    }
    return words;
}

// The fields that are searched, in capitals, in the order file-as name, group key, first name, last name, company.
constexpr std::size_t kFields = 5;
std::array<std::u16string_view, kFields> CapitalFields(const DATACONTACTS& row) {
    ContactKeys& keys = row.Keys();
    if (keys.capitals.empty()) {
        const WCHAR* const fields[] = {row.m_szFileAs, row.m_szGroupKey, row.m_szFirstName, row.m_szLastName,
                                       row.m_szCompany};
        for (std::size_t i = 0; i < kFields; ++i) {
            keys.capitals += Capitals(CSTRView(fields[i]));
            keys.ends[i] = static_cast<DWORD>(keys.capitals.size());
            keys.capitals += u'\0';
        }
    }
    std::array<std::u16string_view, kFields> views;
    std::size_t start = 0;
    for (std::size_t i = 0; i < kFields; ++i) {
        views[i] = std::u16string_view(keys.capitals).substr(start, keys.ends[i] - start);
        start = keys.ends[i] + 1;
    }
    return views;
}

bool HoldsAllWords(std::u16string_view field, const std::vector<std::u16string>& words) {
    return std::ranges::all_of(words,
                               [&](const std::u16string& word) { return field.find(word) != field.npos; });
}

// The text as it stands, or a number without what numbers are set out with.
bool HoldsText(const std::u16string& capitals, const std::u16string& wanted) {
    if (capitals.find(wanted) != capitals.npos) return true;
    std::u16string phone(capitals.size() + 1, u'\0');
    CopyPhone(phone.data(), capitals.c_str());
    return std::u16string_view(phone.c_str()).find(wanted) != phone.npos;
}

} // namespace

std::u16string Capitals(std::u16string_view text) {
    std::u16string capitals(text);
    _wcsupr(capitals.data());
    return capitals;
}

// --- What was typed -----------------------------------------------------------------------------------------------

void CContactsThread::SetCompareString(const WCHAR* text, bool bFullSearch, int mode) {
    if (!text || !*text) return ClearCompareString();
    auto compare = std::make_shared<ContactsCompare>();
    compare->text = Capitals(std::u16string_view(text).substr(0, kMostTyped));
    compare->words = WordsOf(compare->text);
    compare->bFullSearch = bFullSearch;
    compare->bKeypad = mode == kFindKeypad && IsKeypadText(compare->text.c_str());
    compare->bFirstLetter = mode == kFindFirstLetter && compare->IsQuick() && compare->text.size() == 1;
    SetCompare(std::move(compare));
}

void CContactsThread::ClearCompareString() { SetCompare(nullptr); }

void CContactsThread::SetCompare(std::shared_ptr<const ContactsCompare> compare) {
    const PlatUnended unended;
    const std::lock_guard lock(m_compareLock);
    m_bCompare = compare != nullptr;
    m_pNextCompare = std::move(compare);
}

void CContactsThread::TakeCompare() {
    const PlatUnended unended;
    const std::lock_guard lock(m_compareLock);
    m_pCompare = m_pNextCompare;
}

// --- By the beginning of a name -----------------------------------------------------------------------------------

bool CContactsThread::Finds(const DATACONTACTS& row, const WCHAR* text, int len, LONG format,
                            bool bPrefixOnly) const {
    const std::u16string_view typed(text, static_cast<std::size_t>(len));
    const bool all = !bPrefixOnly;
    return ((all || format == kDisplayFirstLast) && BeginsAlike(CSTRView(row.m_szFirstName), typed)) ||
           ((all || format == kDisplayLastFirst) && BeginsAlike(CSTRView(row.m_szLastName), typed)) ||
           ((all || format == kDisplayFileAs) && BeginsAlike(CSTRView(row.m_szFileAs), typed)) ||
           (all && !IsByNames(format) && BeginsAlike(CSTRView(row.m_szGroupKey), typed));
}

int CContactsThread::FindCatCacheItem(DWORD oid, int start) {
    const CeSectionLock lock(m_csData);
    for (int i = std::max(start, m_listCatCache.GetBase()); i <= m_listCatCache.GetLast(); ++i)
        if (m_listCatCache.Get(i)->m_oid == oid) return i;
    return m_listCatCache.GetBase() - 1;
}

// Without a hit among the names, those formats are tried that look at the group key too.
int CContactsThread::FindCatCacheItem(const WCHAR* text, int len, ContactsDisplay format, bool bPrefixOnly,
                                      int start) {
    const CeSectionLock lock(m_csData);
    if (!text || len <= 0) return m_listCatCache.GetBase() - 1;
    const auto find = [&](LONG by) {
        for (int i = std::max(start, m_listCatCache.GetBase()); i <= m_listCatCache.GetLast(); ++i)
            if (Finds(*m_listCatCache.Get(i), text, len, by, bPrefixOnly)) return i;
        return m_listCatCache.GetBase() - 1;
    };
    const LONG first = format == kDisplayLookUp ? LONG{m_nFormat} : LONG{format};
    const int found = find(first);
    const bool again = found < m_listCatCache.GetBase() && !bPrefixOnly && IsByNames(first);
    return again ? find(kDisplayByCompany) : found;
}

// Whether the row is one of a plain list. Under a filter any name may begin so, else the one that orders the list.
bool CContactsThread::FindsListed(const DATACONTACTS& row, LONG format, bool bFiltered) {
    if (!m_pCompare) return true;
    const ContactsCompare& compare = *m_pCompare;
    if (!compare.IsQuick()) return FindsByCriteria(row);
    if (!bFiltered) return Finds(row, compare.text.c_str(), compare.Length(), format, true);
    if (!compare.bFirstLetter)
        return Finds(row, compare.text.c_str(), compare.Length(), kDisplayFileAs, false);
    const WCHAR* name = format == kDisplayFirstLast   ? row.m_szFirstName
                        : format == kDisplayLastFirst ? row.m_szLastName
                                                      : row.m_szFileAs;
    return BeginsAlike(CSTRView(name).empty() ? CSTRView(row.m_szFileAs) : CSTRView(name), compare.text);
}

// --- By all that is known -----------------------------------------------------------------------------------------

bool CContactsThread::FindsByCriteria(const DATACONTACTS& row) {
    if (!m_pCompare) return true;
    const auto fields = CapitalFields(row);
    if (m_pCompare->bKeypad) {
        std::array<const WCHAR*, kFields> texts;
        for (std::size_t i = 0; i < kFields; ++i) texts[i] = fields[i].empty() ? nullptr : fields[i].data();
        return KeypadMatch(texts, m_pCompare->text.c_str());
    }
    if (!m_pCompare->bFullSearch) return true;
    if (std::ranges::any_of(fields, [&](auto field) { return HoldsAllWords(field, m_pCompare->words); }))
        return true;
    const bool stored = m_bSearchFullData ? OpenContacts() : GetDatabaseClass()->IsOpen();
    return stored && FindsInRecord(row.m_oidRecord);
}

bool CContactsThread::FindsInRecord(CEOID oidRecord) {
    if (!m_pSearchReader) {
        const auto ids = FullSearchIds();
        m_pSearchReader = std::make_unique<PropertyReader>(std::vector<CEPROPID>(ids.begin(), ids.end()));
    }
    if (!m_pDb->SeekTo(oidRecord) || !m_pSearchReader->Read(*m_pDb)) return false;
    for (int i = 0; i < m_pSearchReader->Count(); ++i) {
        const std::u16string_view text = m_pSearchReader->Text(i);
        if (!text.empty() && HoldsText(Capitals(text), m_pCompare->text)) return true;
    }
    return false;
}

bool CContactsThread::CheckContactsSearchCriteria() {
    const CeSectionLock lock(m_csData);
    const DATACONTACTS* row = m_listCatCache.Get(m_listCatCache.GetCurrent());
    return row && FindsByCriteria(*row);
}

bool CContactsThread::CheckContactsT9SearchCriteria() {
    return m_pCompare && m_pCompare->bKeypad && CheckContactsSearchCriteria();
}

bool CContactsThread::SearchGroupByFieldNode(int len, const DATACONTACTS* row) {
    if (!m_pCompare) return true;
    if (!m_pCompare->IsQuick()) return FindsByCriteria(*row);
    const std::u16string_view typed =
        std::u16string_view(m_pCompare->text).substr(0, static_cast<std::size_t>(len));
    if (BeginsAlike(CSTRView(row->m_szGroupKey), typed, NORM_IGNORECASE)) return true;
    return m_bSearchCompanySubNodes && (BeginsAlike(CSTRView(row->m_szFileAs), typed) ||
                                        BeginsAlike(CSTRView(row->m_szLastName), typed) ||
                                        BeginsAlike(CSTRView(row->m_szFirstName), typed));
}
