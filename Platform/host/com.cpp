#include "Platform/com.h"
#include "Platform/host/call.h"
#include "Platform/host/text.h"
#include "Platform/threads.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace plat {
namespace {

struct ClassEntry {
    CLSID clsid;
    IID iid; // what the factory gives out
    PlatClassFactory factory;
};

constexpr UINT kFirstFormat = 0xC000;
constexpr UINT kLastFormat = 0xFFFF;

struct ObjectModel {
    std::mutex lock;
    std::vector<ClassEntry> classes;
    std::map<std::u16string, UINT> formats; // by name in lower case
};
ObjectModel& TheObjectModel() {
    static ObjectModel& model = *new ObjectModel;
    return model;
}

ClassEntry FindClassEntry(const CLSID& clsid) {
    ObjectModel& model = TheObjectModel();
    std::lock_guard lock(model.lock);
    for (const ClassEntry& entry : model.classes)
        if (entry.clsid == clsid) return entry;
    return {};
}

} // namespace
} // namespace plat

HRESULT CoInitializeEx(void*, DWORD) {
    plat::HostCall call;
    return S_OK;
}

void CoUninitialize() { plat::HostCall call; }

// The factory is called outside of the host call: it's the code of whoever registered the class.
HRESULT CoCreateInstance(const CLSID& clsid, IUnknown* outer, DWORD, const IID& iid, void** object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (outer) return E_INVALIDARG;
    plat::ClassEntry entry;
    {
        plat::HostCall call;
        entry = plat::FindClassEntry(clsid);
    }
    if (!entry.factory) return REGDB_E_CLASSNOTREG;
    void* made = nullptr;
    const HRESULT result = entry.factory(&made);
    if (FAILED(result) || !made) return FAILED(result) ? result : E_UNEXPECTED;
    if (iid == entry.iid) {
        *object = made;
        return S_OK;
    }
    auto* unknown = static_cast<IUnknown*>(made);
    const HRESULT other = unknown->QueryInterface(iid, object);
    unknown->Release();
    return other;
}

void PlatRegisterClassObject(const CLSID& clsid, const IID& iid, PlatClassFactory factory) {
    plat::HostCall call;
    plat::ObjectModel& model = plat::TheObjectModel();
    std::lock_guard lock(model.lock);
    std::erase_if(model.classes, [&](const plat::ClassEntry& entry) { return entry.clsid == clsid; });
    if (factory) model.classes.push_back({clsid, iid, factory});
}

UINT RegisterClipboardFormatW(LPCWSTR name) {
    plat::HostCall call;
    if (!name || !*name) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    std::u16string key = name;
    std::ranges::transform(key, key.begin(), plat::LowerUnit);
    plat::ObjectModel& model = plat::TheObjectModel();
    std::lock_guard lock(model.lock);
    const auto known = model.formats.find(key);
    if (known != model.formats.end()) return known->second;
    const UINT number = plat::kFirstFormat + static_cast<UINT>(model.formats.size());
    if (number > plat::kLastFormat) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    return model.formats[key] = number;
}
