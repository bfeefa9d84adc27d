#include "Platform/host/poom_host.h"

#include "Platform/memory.h"

namespace plat::poom {

namespace {

class Folder final : public IFolder, public IItem {
public:
    Folder(PoomApplication& app, int folder) : m_app(Ref<PoomApplication>::Of(app)), m_folder(folder) {}

    HRESULT QueryInterface(const IID& iid, void** object) override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (iid == IID_IFolder || iid == IID_IDispatch || iid == IID_IUnknown)
            *object = static_cast<IFolder*>(this);
        else if (iid == IID_IItem)
            *object = static_cast<IItem*>(this);
        else
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG AddRef() override { return m_count.Up(); }
    ULONG Release() override {
        const ULONG left = m_count.Down();
        if (left == 0) delete this;
        return left;
    }

    HRESULT get_Items(IPOutlookItemCollection** items) override {
        if (!items) return E_POINTER;
        *items = nullptr;
        return m_app->Call([&] { return MakeCollection(*m_app, m_folder, items); });
    }
    HRESULT get_DefaultItemType(int* kind) override {
        if (!kind) return E_POINTER;
        const ItemKind* found = KindOfFolder(m_folder);
        *kind = found ? found->kind : 0;
        return found ? S_OK : E_FAIL;
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
        if (!oid) return E_POINTER;
        *oid = 0;
        return S_OK;
    }
    HRESULT Display(HWND) override { return E_NOTIMPL; }

private:
    ~Folder() = default;

    Counted m_count;
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
