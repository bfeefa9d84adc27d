// The vCard reader and what it makes of cards: any bytes are contacts or are refused, each contact has a name that lists can
// show, and no text is longer than they read.
#include "apps/qn/support.h"
#include "apps/qn/vcardcontact.h"

#include <cstdlib>
#include <sstream>

namespace {

constexpr std::size_t kLongestText = 1000;

void CheckContact(const qn::Contact& contact) {
    if (!contact.texts.contains(PIMPR_FILEAS)) std::abort();
    for (const auto& [field, text] : contact.texts)
        if (text.empty() || !qn::IsUtf8(text) || qn::Utf16(text).size() > kLongestText) std::abort();
    const std::string note = contact.note + contact.leftover;
    if (!qn::IsUtf8(note) || note.find('\0') != std::string::npos) std::abort();
    for (const std::string& name : contact.categories)
        if (name.empty() || name.find(',') != std::string::npos) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
    try {
        qn::VcardReader reader(in, "input");
        qn::VcardNotices notices;
        for (qn::Vcard card; reader.Next(card, notices);) {
            qn::Contact contact;
            if (qn::TakeContact(card, contact, notices).empty()) CheckContact(contact);
        }
        if (reader.Bytes() > size + 1) std::abort();
    } catch (const qn::Failure&) { // no card at all
    }
    return 0;
}
