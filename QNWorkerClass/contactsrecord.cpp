#include "QNWorkerClass/contactsrecord.h"

#include "QNWorkerClass/DATACONTACTS.h"

namespace {

constexpr CEPROPID kKey7[] = {PIMPR_DEPARTMENT};
constexpr CEPROPID kKey8[] = {PIMPR_BUSINESS_CITY, PIMPR_HOME_CITY, PIMPR_OTHER_CITY};
constexpr CEPROPID kKey9[] = {PIMPR_BUSINESS_STATE, PIMPR_HOME_STATE, PIMPR_OTHER_STATE};
constexpr CEPROPID kKey10[] = {PIMPR_BUSINESS_COUNTRY, PIMPR_HOME_COUNTRY, PIMPR_OTHER_COUNTRY};

constexpr CEPROPID kFurtherText = 0x10A3001F; // a text of the contact's page that has no name

constexpr CEPROPID kFullSearch[] = {
    PIMPR_BUSINESS_TEL,
    PIMPR_MOBILE_TEL,
    PIMPR_PAGER,
    PIMPR_HOME_TEL,
    PIMPR_EMAIL1,
    PIMPR_EMAIL2,
    PIMPR_EMAIL3,
    PIMPR_BUSINESS2_TEL,
    PIMPR_HOME2_TEL,
    PIMPR_BUSINESS_FAX,
    PIMPR_RADIO_TEL,
    PIMPR_CAR_TEL,
    PIMPR_ASSISTANT_TEL,
    PIMPR_HOME_FAX,
    PIMPR_BUSINESS_STREET,
    PIMPR_BUSINESS_CITY,
    PIMPR_BUSINESS_STATE,
    PIMPR_BUSINESS_POSTAL,
    PIMPR_BUSINESS_COUNTRY,
    PIMPR_HOME_STREET,
    PIMPR_HOME_CITY,
    PIMPR_HOME_STATE,
    PIMPR_HOME_POSTAL,
    PIMPR_HOME_COUNTRY,
    PIMPR_TITLE,
    PIMPR_FIRST_NAME,
    PIMPR_MIDDLE_NAME,
    PIMPR_LAST_NAME,
    PIMPR_SUFFIX,
    PIMPR_ASSISTANT,
    PIMPR_CHILDREN,
    PIMPR_SPOUSE,
    PIMPR_DEPARTMENT,
    PIMPR_JOB_TITLE,
    PIMPR_OTHER_STREET,
    PIMPR_OTHER_CITY,
    PIMPR_OTHER_STATE,
    PIMPR_OTHER_POSTAL,
    PIMPR_OTHER_COUNTRY,
    PIMPR_IM1,
    PIMPR_IM2,
    PIMPR_IM3,
    PIMPR_OFFICE,
    PIMPR_COMPANY_TEL,
    kFurtherText,
    PIMPR_MANAGER,
    PIMPR_RINGTONE,
    PIMPR_CUSTOMER_ID,
    PIMPR_GOVERNMENT_ID,
    PIMPR_ACCOUNT,
    PIMPR_NICKNAME,
};

} // namespace

std::span<const CEPROPID> GroupKeyIds(LONG format) {
    switch (format) {
    case kDisplayByKey7:
        return kKey7;
    case kDisplayByKey8:
        return kKey8;
    case kDisplayByKey9:
        return kKey9;
    case kDisplayByKey10:
        return kKey10;
    default:
        return {};
    }
}

std::span<const CEPROPID> FullSearchIds() { return kFullSearch; }
