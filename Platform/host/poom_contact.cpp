// Contacts, and how one is found by an address or a number.
#include "Platform/host/poom_host.h"

#include "Platform/host/text.h"

#include <algorithm>

namespace plat::poom {

namespace {

std::atomic<PlatContactChooser> g_contactChooser{nullptr};

constexpr CEPROPID kEmails[] = {PIMPR_EMAIL1, PIMPR_EMAIL2, PIMPR_EMAIL3};
constexpr CEPROPID kTelephones[] = {
    PIMPR_MOBILE_TEL, PIMPR_BUSINESS_TEL, PIMPR_BUSINESS2_TEL, PIMPR_HOME_TEL,
    PIMPR_HOME2_TEL,  PIMPR_BUSINESS_FAX, PIMPR_HOME_FAX,      PIMPR_PAGER,
    PIMPR_CAR_TEL,    PIMPR_RADIO_TEL,    PIMPR_COMPANY_TEL,   PIMPR_ASSISTANT_TEL,
};

class ContactItem final : public ItemObject<PoomItem, IContact> {
public:
    using ItemObject::ItemObject;

    HRESULT get_Birthday(DATE* date) override { return GiveDay(PIMPR_BIRTHDAY, date); }
    HRESULT put_Birthday(DATE date) override { return TakeDay(PIMPR_BIRTHDAY, date); }
    HRESULT get_Anniversary(DATE* date) override { return GiveDay(PIMPR_ANNIVERSARY, date); }
    HRESULT put_Anniversary(DATE date) override { return TakeDay(PIMPR_ANNIVERSARY, date); }
    HRESULT get_FileAs(BSTR* text) override { return GiveText(PIMPR_FILEAS, text); }
    HRESULT put_FileAs(BSTR text) override { return TakeText(PIMPR_FILEAS, text); }

protected:
    HRESULT PrepareSave() override {
        if (Get(PIMPR_FILEAS)) return S_OK;
        PropValue made = PropValue::Text(PIMPR_FILEAS, MadeFileAs());
        if (!made.absent) m_changed.Set(std::move(made));
        return S_OK;
    }

private:
    std::u16string MadeFileAs() {
        const std::u16string first = TextOf(PIMPR_FIRST_NAME);
        const std::u16string last = TextOf(PIMPR_LAST_NAME);
        if (!first.empty() && !last.empty()) return last + u", " + first;
        if (!first.empty() || !last.empty()) return first + last;
        return TextOf(PIMPR_COMPANY);
    }
};

std::u16string DigitsOf(std::u16string_view text) {
    std::u16string digits;
    std::ranges::copy_if(text, std::back_inserter(digits), [](WCHAR c) { return c >= u'0' && c <= u'9'; });
    return digits;
}

std::u16string_view TextAt(const CEPROPVAL* values, std::size_t i) {
    return values[i].wFlags & CEDB_PROPNOTFOUND ? std::u16string_view() : ViewOf(values[i].val.lpwstr);
}

struct Match {
    CEOID record = 0;
    CEPROPID property = 0;
};

// The first contact by number for which a field of `ids` passes.
template<class F>
Match FindContact(Store& store, std::span<const CEPROPID> ids, F passes) {
    for (bool more = store.SeekNth(Side::Contacts, 0, false); more;
         more = store.SeekNth(Side::Contacts, 1, true)) {
        CEOID record = 0;
        const CEPROPVAL* values = store.Read(Side::Contacts, ids, &record);
        for (std::size_t i = 0; values && i < ids.size(); ++i)
            if (passes(TextAt(values, i))) return {record, ids[i]};
    }
    return {};
}

HRESULT Find(PoomApplication& app, std::u16string_view text, IItem** contact, CEPROPID* property) {
    Store& store = app.Records();
    if (HRESULT hr = store.Open(); FAILED(hr)) return hr;
    Match match =
        FindContact(store, kEmails, [&](std::u16string_view mail) { return SameWithoutCase(mail, text); });
    const std::u16string digits = DigitsOf(text);
    if (!match.record && !digits.empty())
        match = FindContact(store, kTelephones,
                            [&](std::u16string_view number) { return DigitsOf(number) == digits; });
    if (!match.record) return E_NOTFOUND;
    if (property) *property = match.property;
    if (!contact) return S_OK;
    Ref<PoomItem> item;
    if (!store.SeekRecord(Side::Contacts, match.record)) return LastFailure();
    if (HRESULT hr = app.ItemAtCursor(*KindOf(olContactItem), item); FAILED(hr)) return hr;
    *contact = item.Give();
    return S_OK;
}

} // namespace

Ref<PoomItem> MakeContact(PoomApplication& app, const ItemKind& kind) {
    return Ref<PoomItem>(new ContactItem(app, kind));
}

} // namespace plat::poom

HRESULT FindMatchingContact(const WCHAR* text, DWORD, IItem** contact, CEPROPID* property) {
    using namespace plat::poom;
    if (contact) *contact = nullptr;
    if (!text || !*text) return E_INVALIDARG;
    Ref<PoomApplication> app(new (std::nothrow) PoomApplication);
    if (!app) return E_OUTOFMEMORY;
    return app->Call([&] { return Find(*app, text, contact, property); });
}

HRESULT ChooseContact(CHOOSECONTACT* choose) {
    if (!choose) return E_POINTER;
    const PlatContactChooser chooser = plat::poom::g_contactChooser.load();
    return chooser ? chooser(choose) : E_ABORT;
}

void PlatSetContactChooser(PlatContactChooser chooser) {
    plat::HostCall call;
    plat::poom::g_contactChooser.store(chooser);
}
