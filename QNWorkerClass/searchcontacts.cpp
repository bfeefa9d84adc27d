// Contacts that a search finds.
#include "NorvoTools/StrFunctions.h"
#include "Platform/poom.h"
#include "Platform/strings.h"
#include "QNWorkerClass/contactsrecord.h"
#include "QNWorkerClass/propertyreader.h"
#include "QNWorkerClass/searchthread.h"
#include "QNWorkerClass/tasksrecord.h"
#include "NorvoTools/HTMLEscape.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::array kMainNames{PIMPR_FILEAS, PIMPR_FIRST_NAME, PIMPR_LAST_NAME, PIMPR_COMPANY};
constexpr std::array kOtherNames{PIMPR_MIDDLE_NAME, PIMPR_TITLE,       PIMPR_SUFFIX,        PIMPR_DEPARTMENT,
                                 PIMPR_JOB_TITLE,   PIMPR_OFFICE,      PIMPR_ASSISTANT,     PIMPR_CHILDREN,
                                 PIMPR_SPOUSE,      PIMPR_CUSTOMER_ID, PIMPR_GOVERNMENT_ID, PIMPR_NICKNAME,
                                 PIMPR_MANAGER};
// The second number at home stands twice, as callers of the list of properties have always had it.
constexpr std::array kPhones{PIMPR_COMPANY_TEL, PIMPR_BUSINESS_TEL, PIMPR_HOME2_TEL,    PIMPR_MOBILE_TEL,
                             PIMPR_PAGER,       PIMPR_HOME_TEL,     PIMPR_HOME2_TEL,    PIMPR_ASSISTANT_TEL,
                             PIMPR_CAR_TEL,     PIMPR_HOME_FAX,     PIMPR_BUSINESS_FAX, PIMPR_RADIO_TEL};
constexpr std::array kMails{PIMPR_EMAIL1, PIMPR_EMAIL2, PIMPR_EMAIL3, PIMPR_IM1, PIMPR_IM2, PIMPR_IM3};
constexpr std::array kAddresses{PIMPR_BUSINESS_STREET, PIMPR_BUSINESS_CITY,    PIMPR_BUSINESS_STATE,
                                PIMPR_BUSINESS_POSTAL, PIMPR_BUSINESS_COUNTRY, PIMPR_HOME_STREET,
                                PIMPR_HOME_CITY,       PIMPR_HOME_STATE,       PIMPR_HOME_COUNTRY,
                                PIMPR_HOME_POSTAL,     PIMPR_OTHER_STREET,     PIMPR_OTHER_CITY,
                                PIMPR_OTHER_STATE,     PIMPR_OTHER_POSTAL,     PIMPR_OTHER_COUNTRY};

// Where the groups begin among the properties that are read.
constexpr int kNamesAt = 0;
constexpr int kNames = static_cast<int>(kMainNames.size() + kOtherNames.size());
constexpr int kPhonesAt = kNames;
constexpr int kMailsAt = kPhonesAt + static_cast<int>(kPhones.size());
constexpr int kAddressesAt = kMailsAt + static_cast<int>(kMails.size());
constexpr int kMostIds = 64;

enum GroupKind : int { kGroupOfNames, kGroupOfPhones, kGroupOfTexts };

constexpr int kImage = 293;

// All but one of the main names.
bool NeedsFullFields(LONG field) {
    return field == kSearchAll || field == kSearchNames || field == kSearchMail || field == kSearchPhone;
}

std::u16string PlainPhone(std::u16string_view phone) {
    std::u16string plain(phone.size() + 1, u'\0');
    CopyPhone(plain.data(), std::u16string(phone).c_str());
    plain.resize(wcslen(plain.c_str()));
    return plain;
}

} // namespace

WORD CSearchThread::SetPropIdsContacts(CEPROPID* ids) const {
    const CEPROPID* const first = ids;
    ids = std::ranges::copy(kMainNames, ids).out;
    if (NeedsFullFields(m_query.lField)) {
        ids = std::ranges::copy(kOtherNames, ids).out;
        ids = std::ranges::copy(kPhones, ids).out;
        ids = std::ranges::copy(kMails, ids).out;
        ids = std::ranges::copy(kAddresses, ids).out;
    }
    if (HasRange()) {
        *ids++ = PIMPR_ANNIVERSARY;
        *ids++ = PIMPR_BIRTHDAY;
    }
    *ids++ = PIMPR_NUMBER;
    return static_cast<WORD>(ids - first);
}

void CSearchThread::ReadContacts(CEOID resume) {
    if (!OpenPim(kContactsDb)) return;
    std::array<CEPROPID, kMostIds> ids;
    const WORD count = SetPropIdsContacts(ids.data());
    PropertyReader reader({ids.begin(), ids.begin() + count});
    WalkRecords(*m_pDb, resume, [&] {
        if (!reader.Read(*m_pDb) || !ContactCheck(reader)) return;
        auto row =
            NewRow(kDataContact, kImage, reader.Number(count - 1) | kOidContact, reader.Record().m_oid);
        const std::u16string name(reader.Text(0));
        row->m_szSubject = AllocLPWSTR(name.c_str());
        row->m_szText = AllocLPWSTR(HTMLEscape(name).c_str());
        FillFromStores(*row);
        ++m_counts.lContacts;
        AddRow(std::move(row));
    });
}

bool CSearchThread::ContactCheck(const PropertyReader& reader) {
    if (m_bFrom && !ContactDatesMatch(reader)) return false; // one without a beginning is none for contacts
    const DWORD oid = reader.Number(reader.Count() - 1) | kOidContact;
    if (!CategoryFilterEDB(oid, &m_CategoryFilter)) return false;
    return m_pattern.FindsAll() || ContactFieldsMatch(reader);
}

// The two dates stand before the number.
bool CSearchThread::ContactDatesMatch(const PropertyReader& reader) const {
    for (const int index : {reader.Count() - 3, reader.Count() - 2}) {
        const double date = RecordDateAt(reader.Record(), index);
        if (date != kNoDate && m_range.Holds(static_cast<LONG>(date))) return true;
    }
    return false;
}

bool CSearchThread::ContactFieldsMatch(const PropertyReader& reader) {
    const auto names = [&](int first, int count) {
        return ContactGroupMatches(reader, first, count, kGroupOfNames);
    };
    const auto phones = [&] {
        return ContactGroupMatches(reader, kPhonesAt, static_cast<int>(kPhones.size()), kGroupOfPhones);
    };
    const auto mails = [&] {
        return ContactGroupMatches(reader, kMailsAt, static_cast<int>(kMails.size()), kGroupOfTexts);
    };
    bool found = false;
    switch (m_query.lField) {
    case kSearchAll:
        found = names(kNamesAt, kNames) || phones() || mails() ||
                ContactGroupMatches(reader, kAddressesAt, static_cast<int>(kAddresses.size()), kGroupOfTexts);
        break;
    case kSearchNames:
        found = names(kNamesAt, kNames);
        break;
    case kSearchFirstName:
    case kSearchLastName:
    case kSearchCompany:
        found = names(m_query.lField - kSearchNames, 1);
        break;
    case kSearchMail:
        found = mails();
        break;
    case kSearchPhone:
        found = phones();
        break;
    default:
        return false;
    }
    return found || (m_query.bSearchNotes && NoteMatches(*m_pDb, PIMPR_NOTE));
}

// The fields of a group as one text, or, where only their beginnings count, each by itself. Numbers count without what
// they are set out with, too, and names by their sound.
bool CSearchThread::ContactGroupMatches(const PropertyReader& reader, int first, int count, int kind) {
    std::u16string fields, further;
    const auto matches = [&] {
        const bool found =
            (kind == kGroupOfNames ? m_pattern.MatchesSound(further) : m_pattern.Matches(further)) ||
            m_pattern.Matches(fields);
        fields.clear();
        further.clear();
        return found;
    };
    for (int i = first; i < first + count; ++i) {
        const std::u16string_view text = reader.Text(i);
        if (text.empty()) continue;
        AppendField(fields, text);
        if (kind == kGroupOfPhones)
            AppendField(further, PlainPhone(text));
        else if (kind == kGroupOfNames && m_pattern.HasSound())
            AppendSound(further, text);
        if (!m_pattern.IsAnywhere() && matches()) return true;
    }
    return matches();
}
