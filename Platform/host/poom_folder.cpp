#include "Platform/host/poom_host.h"

#include "Platform/memory.h"

namespace plat::poom {

namespace {

class Folder final : public Object<IFolder, IItem> {
public:
    Folder(PoomApplication& app, int folder) : m_app(Ref<PoomApplication>::Of(app)), m_folder(folder) {}

    HRESULT get_Items(IPOutlookItemCollection** items) override {
        return m_app->Give(items, [&] { return MakeCollection(*m_app, m_folder, items); });
    }
    HRESULT get_DefaultItemType(int* kind) override {
        const ItemKind* found = KindOfFolder(m_folder);
        const HRESULT hr = m_app->Tell(kind, [&] { return found ? found->kind : 0; });
        return found || FAILED(hr) ? hr : E_FAIL;
    }
    HRESULT AddItemToInfraredFolder(int, IDispatch*) override { return E_FAIL; }
    HRESULT SendToInfrared() override { return E_FAIL; }

    // A folder's only property is its notification mask.
    HRESULT GetProps(const CEPROPID* ids, ULONG flags, WORD count, CEPROPVAL** values, ULONG* size,
                     HANDLE heap) override;
    HRESULT SetProps(ULONG, ULONG count, const CEPROPVAL* values) override {
        if (count && !values) return E_POINTER;
        return m_app->Call([&]() -> HRESULT {
            for (const CEPROPVAL& value : std::span(values, count))
                if (value.propid != PIMPR_FOLDERNOTIFICATIONS) return E_INVALIDARG;
            for (const CEPROPVAL& value : std::span(values, count))
                m_app->SetNotificationMask(m_folder, value.wFlags & CEDB_PROPDELETE ? 0 : value.val.ulVal);
            return S_OK;
        });
    }
    HRESULT OpenProperty(CEPROPID, DWORD, IStream** stream) override {
        if (stream) *stream = nullptr;
        return E_NOTIMPL;
    }
    HRESULT Save() override { return S_OK; } // nothing is held back
    HRESULT Delete() override { return E_NOTIMPL; }
    HRESULT Copy(IItem** copy) override {
        if (copy) *copy = nullptr;
        return E_NOTIMPL;
    }
    HRESULT get_Oid(CEOID* oid) override {
        return m_app->Tell(oid, [] { return CEOID{0}; });
    }
    HRESULT Display(HWND) override { return E_NOTIMPL; }

private:
    ~Folder() override = default;

    Ref<PoomApplication> m_app;
    const int m_folder;
};

HRESULT Folder::GetProps(const CEPROPID* ids, ULONG flags, WORD count, CEPROPVAL** values, ULONG* size,
                         HANDLE heap) {
    if (!values || !size) return E_POINTER;
    return m_app->Call([&] {
        const CEPROPID own = PIMPR_FOLDERNOTIFICATIONS;
        const std::span<const CEPROPID> wanted = ids ? std::span(ids, count) : std::span(&own, 1);
        const PropValue mask = PropValue::Number(own, m_app->NotificationMask(m_folder));
        std::vector<const PropValue*> found;
        for (CEPROPID id : wanted) found.push_back(id == own ? &mask : nullptr);
        return GiveBlock(wanted, found, flags, values, size, heap);
    });
}

} // namespace

HRESULT MakeFolder(PoomApplication& app, int folder, IFolder** out) {
    *out = new Folder(app, folder);
    return S_OK;
}

} // namespace plat::poom
