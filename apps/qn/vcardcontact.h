// What a card says, as the fields of a contact; and which property of a card is which field.
#pragma once

#include "Platform/databases.h"
#include "Platform/poom.h"
#include "apps/qn/vcardfile.h"

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qn {

struct Contact {
    unsigned line = 0;
    std::string uid;
    std::string revision; // when the card was written, as the file has it; the same form sorts by time
    std::map<CEPROPID, std::string> texts; // UTF-8; there is always a PIMPR_FILEAS
    // kNoDate: the card has none; nothing: it has one that can't be taken.
    std::optional<DATE> birthday = kNoDate;
    std::optional<DATE> anniversary = kNoDate;
    std::string note;
    std::string leftover; // values that have no field left, for the end of the note
    std::vector<std::string> categories;
    std::optional<std::string> picture = ""; // the bytes of its file; empty and nothing as with dates
    CEPROPID preferred = 0;                  // the telephone number to dial
    std::map<std::string, unsigned> unkept;  // what no field of it can hold, in words, and how often
};

// A card as a contact. Returns why it can't be taken, empty when it can.
std::string TakeContact(const Vcard& card, Contact& contact, VcardNotices& notices);

// A property of one text, and its field.
struct VcardText {
    const char* name;
    CEPROPID field;
};
std::span<const VcardText> VcardTexts();

// Telephone numbers: the types that a number has for its field. The first that is free and fits is taken.
struct VcardPhone {
    CEPROPID field;
    const char* types; // "WORK,FAX"; empty: fits a number of any type but a fax
};
std::span<const VcardPhone> VcardPhones();

struct VcardAddress {
    const char* type;
    CEPROPID street; // then city, state, postal code and country
};
std::span<const VcardAddress> VcardAddresses();

// The field of an address behind its street: 1 city, 2 state, 3 postal code, 4 country.
constexpr CEPROPID AddressPart(CEPROPID street, unsigned part) { return street + (part << 16); }

// All texts of a contact that a card can hold.
std::vector<CEPROPID> VcardFields();

// "last, first", the one there is, else the company: the name that a contact gets when it has none of its own.
std::string DefaultFileAs(const std::map<CEPROPID, std::string>& texts);

} // namespace qn
