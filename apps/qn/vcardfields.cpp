// Which property of a card is which field of a contact.
#include "apps/qn/vcardcontact.h"

#include <algorithm>

namespace qn {

namespace {

constexpr VcardText kTexts[] = {
    {"NICKNAME", PIMPR_NICKNAME},     {"TITLE", PIMPR_JOB_TITLE},
    {"URL", PIMPR_WEBPAGE},           {"X-MANAGER", PIMPR_MANAGER},
    {"X-OFFICE", PIMPR_OFFICE},       {"X-ASSISTANT", PIMPR_ASSISTANT},
    {"X-SPOUSE", PIMPR_SPOUSE},       {"X-CHILDREN", PIMPR_CHILDREN},
    {"X-RINGTONE", PIMPR_RINGTONE},   {"X-CUSTOMERID", PIMPR_CUSTOMER_ID},
    {"X-ACCOUNTNAME", PIMPR_ACCOUNT}, {"X-GOVERNMENTID", PIMPR_GOVERNMENT_ID},
    {"X-FILE-AS", PIMPR_FILEAS},
};

// In the order of trying; what is more special comes first.
constexpr VcardPhone kPhones[] = {
    {PIMPR_BUSINESS_FAX, "WORK,FAX"},
    {PIMPR_HOME_FAX, "HOME,FAX"},
    {PIMPR_BUSINESS_FAX, "FAX"},
    {PIMPR_HOME_FAX, "FAX"},
    {PIMPR_PAGER, "PAGER"},
    {PIMPR_CAR_TEL, "CAR"},
    {PIMPR_RADIO_TEL, "RADIO"},
    {PIMPR_ASSISTANT_TEL, "ASSISTANT"},
    {PIMPR_COMPANY_TEL, "COMPANY"},
    {PIMPR_COMPANY_TEL, "MAIN"},
    {PIMPR_MOBILE_TEL, "CELL"},
    {PIMPR_MOBILE_TEL, "IPHONE"},
    {PIMPR_BUSINESS_TEL, "WORK"},
    {PIMPR_BUSINESS2_TEL, "WORK"},
    {PIMPR_HOME_TEL, "HOME"},
    {PIMPR_HOME2_TEL, "HOME"},
    {PIMPR_HOME_TEL, ""},
    {PIMPR_HOME2_TEL, ""},
    {PIMPR_BUSINESS_TEL, ""},
    {PIMPR_BUSINESS2_TEL, ""},
};

constexpr VcardAddress kAddresses[] = {
    {"HOME", PIMPR_HOME_STREET}, {"WORK", PIMPR_BUSINESS_STREET}, {"OTHER", PIMPR_OTHER_STREET}};

} // namespace

std::span<const VcardText> VcardTexts() { return kTexts; }
std::span<const VcardPhone> VcardPhones() { return kPhones; }
std::span<const VcardAddress> VcardAddresses() { return kAddresses; }

std::vector<CEPROPID> VcardFields() {
    std::vector<CEPROPID> fields = {PIMPR_LAST_NAME, PIMPR_FIRST_NAME, PIMPR_MIDDLE_NAME, PIMPR_TITLE,
                                    PIMPR_SUFFIX,    PIMPR_COMPANY,    PIMPR_DEPARTMENT,  PIMPR_EMAIL1,
                                    PIMPR_EMAIL2,    PIMPR_EMAIL3,     PIMPR_IM1,         PIMPR_IM2,
                                    PIMPR_IM3};
    for (const VcardText& text : kTexts) fields.push_back(text.field);
    for (const VcardPhone& phone : kPhones) fields.push_back(phone.field);
    for (const VcardAddress& address : kAddresses)
        for (unsigned part = 0; part < 5; ++part) fields.push_back(AddressPart(address.street, part));
    std::ranges::sort(fields);
    fields.erase(std::unique(fields.begin(), fields.end()), fields.end());
    return fields;
}

std::string DefaultFileAs(const std::map<CEPROPID, std::string>& texts) {
    const auto text = [&](CEPROPID field) {
        const auto found = texts.find(field);
        return found == texts.end() ? std::string() : found->second;
    };
    std::string name = text(PIMPR_LAST_NAME);
    const std::string first = text(PIMPR_FIRST_NAME);
    if (!first.empty()) name += (name.empty() ? "" : ", ") + first;
    return name.empty() ? text(PIMPR_COMPANY) : name;
}

} // namespace qn
