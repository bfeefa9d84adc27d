// What is read of a record of the "Contacts Database": the names for the cache, the number line for a row that is drawn, all
// texts for a full search.
#pragma once

#include "Platform/poom.h"

#include <array>
#include <span>

inline constexpr const WCHAR* kContactsDb = u"Contacts Database";

// Where the names stand in what is read for the cache; behind them the group keys, then the SIM mark.
enum ContactProperty : int {
    kContactNumber,
    kContactFileAs,
    kContactFirstName,
    kContactLastName,
    kContactCompany,
    kContactNames,
};
inline constexpr std::array<CEPROPID, kContactNames> kContactNameIds{
    PIMPR_NUMBER, PIMPR_FILEAS, PIMPR_FIRST_NAME, PIMPR_LAST_NAME, PIMPR_COMPANY};

// The properties that a grouping goes by; the first present one is the key. None for the company and other formats.
std::span<const CEPROPID> GroupKeyIds(LONG format);

// The numbers and addresses that the line of a row is taken from, in the order of preference.
inline constexpr std::array<CEPROPID, 19> kContactLineIds{
    PIMPR_BUSINESS_TEL, PIMPR_MOBILE_TEL, PIMPR_PAGER,         PIMPR_HOME_TEL,  PIMPR_EMAIL1,
    PIMPR_EMAIL2,       PIMPR_EMAIL3,     PIMPR_IM1,           PIMPR_IM2,       PIMPR_IM3,
    PIMPR_COMPANY_TEL,  PIMPR_RADIO_TEL,  PIMPR_BUSINESS2_TEL, PIMPR_HOME2_TEL, PIMPR_BUSINESS_FAX,
    PIMPR_RADIO_TEL,    PIMPR_CAR_TEL,    PIMPR_ASSISTANT_TEL, PIMPR_HOME_FAX,
};

// The texts that a full search looks at.
std::span<const CEPROPID> FullSearchIds();
