#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/contextmenu.h"
#include "Platform/memory.h"
#include "Platform/windows.h"
#include "QNWorkerClass/COutlook.h"

#include <atomic>

namespace {

constexpr UINT kFirstCommand = 5500;
constexpr UINT kLastCommand = 5600;
constexpr HRESULT kNoAdvising = static_cast<HRESULT>(0x80040003); // the object tells of no changes

// What an extension is told of: one item reference.
struct ItemRef {
    DWORD kind;
    CEOID oid;
};
struct ItemRefArray {
    DWORD count;
    ItemRef item;
};

// Offers the reference under "ItemRefArray"; everything else a data object can do is refused.
class ItemData final : public IDataObject {
public:
    ItemData(DataType kind, CEOID oid)
        : m_reference{1, {static_cast<DWORD>(kind), oid}},
          m_format(RegisterClipboardFormatW(u"ItemRefArray")) {}

    HRESULT QueryInterface(const IID& iid, void** object) override {
        if (!object) return E_POINTER;
        *object = nullptr;
        if (iid != IID_IUnknown && iid != IID_IDataObject) return E_NOINTERFACE;
        AddRef();
        *object = static_cast<IDataObject*>(this);
        return S_OK;
    }
    ULONG AddRef() override { return ++m_refs; }
    ULONG Release() override {
        const ULONG left = --m_refs;
        if (left == 0) delete this;
        return left;
    }
    HRESULT GetData(FORMATETC* format, STGMEDIUM* medium) override {
        if (!format || !medium) return E_POINTER;
        if (QueryGetData(format) != S_OK) return DV_E_FORMATETC;
        auto* copy = static_cast<ItemRefArray*>(LocalAlloc(0, sizeof m_reference));
        if (!copy) return E_OUTOFMEMORY;
        *copy = m_reference;
        *medium = {};
        medium->tymed = TYMED_HGLOBAL;
        medium->hGlobal = copy;
        return S_OK;
    }
    HRESULT QueryGetData(FORMATETC* format) override {
        if (!format) return E_POINTER;
        const bool offered = format->cfFormat == m_format && !format->ptd &&
                             format->dwAspect == DVASPECT_CONTENT && format->lindex == -1 &&
                             (format->tymed & TYMED_HGLOBAL);
        return offered ? S_OK : DV_E_FORMATETC;
    }
    HRESULT GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
    HRESULT GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override { return E_NOTIMPL; }
    HRESULT SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
    HRESULT EnumFormatEtc(DWORD, IEnumFORMATETC**) override { return E_NOTIMPL; }
    HRESULT DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return kNoAdvising; }
    HRESULT DUnadvise(DWORD) override { return kNoAdvising; }
    HRESULT EnumDAdvise(IEnumSTATDATA**) override { return kNoAdvising; }

private:
    ~ItemData() = default;

    const ItemRefArray m_reference;
    const UINT m_format;
    std::atomic<ULONG> m_refs{1};
};

const WCHAR* ShellClass(DataType kind) {
    switch (kind) {
    case kDataContact:
        return u"Contacts";
    case kDataAppointment:
        return u"Calendar";
    case kDataTask:
        return u"Tasks";
    default:
        return nullptr;
    }
}

} // namespace

CPocketOutlookIContext::~CPocketOutlookIContext() { FreeContext(); }

void CPocketOutlookIContext::FreeContext() {
    SHFreeContextMenu(m_hContext);
    m_hContext = nullptr;
    if (m_pContext) m_pContext->Release();
    m_pContext = nullptr;
    if (m_hMenu) DestroyMenu(m_hMenu);
    m_hMenu = nullptr;
}

void CPocketOutlookIContext::SetOID(CEOID oid) {
    const WCHAR* shellClass = ShellClass(m_nKind);
    if (!shellClass) return;
    FreeContext();
    m_hMenu = CreatePopupMenu();
    if (ReadRegistryWithDefault(kSuiteKey, u"EnableThirdPartyContext", 0) == 0) return;
    auto* data = new ItemData(m_nKind, oid);
    m_hContext = SHExtendContextMenu(data, shellClass, u"Main_ContextMenu", m_hMenu, kFirstCommand,
                                     kLastCommand, &m_pContext);
    data->Release();
    if (m_nKind == kDataContact) return;
    EnableMenuItem(m_hMenu, 0, MF_BYPOSITION | MF_GRAYED);
    AppendMenuW(m_hMenu, MF_SEPARATOR, 0, nullptr);
}

LONG CPocketOutlookIContext::GetMenuCount() const {
    if (!m_hContext || !m_pContext) return 0;
    m_pContext->AddRef();
    return static_cast<LONG>(m_pContext->Release()) - 1;
}

void CPocketOutlookIContext::InvokeMenu(HWND window, UINT command) {
    if (m_hContext) SHInvokeContextMenu(m_hContext, window, command);
}
