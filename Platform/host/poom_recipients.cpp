// The people of an appointment: a list held by the item, and a stream of its record.
#include "Platform/host/poom_appointment.h"

#include <algorithm>

namespace plat::poom {

namespace {

constexpr DWORD kVersion = 1;
constexpr std::size_t kSmallestRecipient = 16; // two lengths, type, response

void WriteText(ByteWriter& out, std::u16string_view text) {
    out.Write32(static_cast<DWORD>(text.size()));
    out.Text(text);
}

std::u16string ReadText(ByteReader& in) {
    const DWORD units = in.Read32();
    return in.Text(units);
}

// Both interfaces of one recipient.
class RecipientObject final : public Object<IRecipient, IRecipient2> {
public:
    RecipientObject(AppointmentItem& item, std::shared_ptr<Recipient> recipient)
        : m_item(Ref<AppointmentItem>::Of(item)), m_recipient(std::move(recipient)) {}

    HRESULT get_Name(BSTR* name) override {
        return m_item->Give(name, [&] { return GiveBstr(m_recipient->name, name); });
    }
    HRESULT get_Address(BSTR* address) override {
        return m_item->Give(address, [&] { return GiveBstr(m_recipient->address, address); });
    }
    HRESULT put_Address(BSTR address) override {
        return Change([&] { m_recipient->address = ViewOf(address); });
    }
    HRESULT get_Type(LONG* type) override {
        return m_item->Tell(type, [this] { return m_recipient->type; });
    }
    HRESULT put_Type(LONG type) override {
        if (type < olRequired || type > olResource) return E_INVALIDARG;
        return Change([&] { m_recipient->type = type; });
    }
    HRESULT get_MeetingResponseStatus(LONG* status) override {
        return m_item->Tell(status, [this] { return m_recipient->response; });
    }
    HRESULT put_MeetingResponseStatus(LONG status) override {
        if (status < olResponseNone || status > olResponseTentative) return E_INVALIDARG;
        return Change([&] { m_recipient->response = status; });
    }

private:
    ~RecipientObject() override = default;

    template<class F>
    HRESULT Change(F change) {
        return m_item->Call([&] {
            change();
            m_item->RecipientsChanged();
            return S_OK;
        });
    }

    Ref<AppointmentItem> m_item;
    std::shared_ptr<Recipient> m_recipient;
};

class RecipientsObject final : public Object<IRecipients> {
public:
    explicit RecipientsObject(AppointmentItem& item) : m_item(Ref<AppointmentItem>::Of(item)) {}

    HRESULT get_Count(int* count) override {
        return m_item->Tell(count, [this] { return static_cast<int>(m_item->Recipients().size()); });
    }
    HRESULT Item(int index, IRecipient** recipient) override {
        return m_item->Give(recipient, [&]() -> HRESULT {
            if (!Has(index)) return E_INVALIDARG;
            *recipient =
                new RecipientObject(*m_item, m_item->Recipients()[static_cast<std::size_t>(index) - 1]);
            return S_OK;
        });
    }
    HRESULT Add(BSTR name, IRecipient** recipient) override {
        if (recipient) *recipient = nullptr;
        return m_item->Call([&] {
            auto added = std::make_shared<Recipient>();
            added->name = ViewOf(name);
            if (recipient) *recipient = new RecipientObject(*m_item, added);
            m_item->Recipients().push_back(std::move(added));
            m_item->RecipientsChanged();
            return S_OK;
        });
    }
    HRESULT Remove(int index) override {
        return m_item->Call([&]() -> HRESULT {
            if (!Has(index)) return E_INVALIDARG;
            m_item->Recipients().erase(m_item->Recipients().begin() + (index - 1));
            m_item->RecipientsChanged();
            return S_OK;
        });
    }

private:
    ~RecipientsObject() override = default;
    bool Has(int index) {
        return index >= 1 && static_cast<std::size_t>(index) <= m_item->Recipients().size();
    }

    Ref<AppointmentItem> m_item;
};

} // namespace

std::vector<std::shared_ptr<Recipient>> DecodeRecipients(std::span<const BYTE> block) {
    std::vector<std::shared_ptr<Recipient>> recipients;
    ByteReader in(block);
    if (in.Read32() != kVersion) return recipients;
    const DWORD count = in.Read32();
    if (count > in.Left() / kSmallestRecipient) return recipients;
    for (DWORD i = 0; i < count; ++i) {
        auto recipient = std::make_shared<Recipient>();
        recipient->name = ReadText(in);
        recipient->address = ReadText(in);
        recipient->type = static_cast<LONG>(in.Read32());
        recipient->response = static_cast<LONG>(in.Read32());
        if (!in.Ok()) break;
        recipients.push_back(std::move(recipient));
    }
    return recipients;
}

std::vector<BYTE> EncodeRecipients(const std::vector<std::shared_ptr<Recipient>>& recipients) {
    if (recipients.empty()) return {};
    ByteWriter out;
    out.Write32(kVersion);
    out.Write32(static_cast<DWORD>(recipients.size()));
    for (const auto& recipient : recipients) {
        WriteText(out, recipient->name);
        WriteText(out, recipient->address);
        out.Write32(static_cast<DWORD>(recipient->type));
        out.Write32(static_cast<DWORD>(recipient->response));
    }
    return out.Take();
}

std::vector<std::shared_ptr<Recipient>>& AppointmentItem::Recipients() {
    if (!m_recipients) {
        const PropValue* block = Get(PIMPR_RECIPIENTS);
        m_recipients = block ? DecodeRecipients(block->bytes) : std::vector<std::shared_ptr<Recipient>>();
    }
    return *m_recipients;
}

void AppointmentItem::RecipientsChanged() {
    m_changed.Set(PropValue::Bytes(PIMPR_RECIPIENTS, EncodeRecipients(Recipients())));
}

HRESULT AppointmentItem::get_Recipients(IRecipients** recipients) {
    return Give(recipients, [&]() -> HRESULT {
        if (HRESULT hr = LoadStream(PIMPR_RECIPIENTS); FAILED(hr)) return hr;
        *recipients = new RecipientsObject(*this);
        return S_OK;
    });
}

} // namespace plat::poom
