// The table of modules, and shared objects of the device folder.
#include "Platform/modules.h"

#include "Platform/host/call.h"
#include "Platform/host/devicefolder.h"
#include "Platform/host/faults.h"
#include "Platform/host/filenames.h"
#include "Platform/host/localetables.h"
#include "Platform/host/moduletable.h"
#include "Platform/host/resolve.h"
#include "Platform/host/resourcefolder.h"
#include "Platform/host/text.h"
#include "Platform/threads.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <deque>
#include <dlfcn.h>
#include <memory>
#include <mutex>
#include <string>
#include <unistd.h>
#include <vector>

namespace plat {
namespace {

constexpr std::u16string_view kModuleFolder = u"\\WINDOWS\\";
constexpr ULONG_PTR kLastOrdinal = 0xFFFF;

// "\Program Files\x\Foo" and "foo.dll" are one module.
std::u16string ModuleKey(std::u16string_view name) {
    const auto cut = name.find_last_of(u"\\/");
    std::u16string key = FoldName(cut == name.npos ? name : name.substr(cut + 1));
    if (!key.empty() && key.find(u'.') == key.npos) key += u".DLL";
    return key;
}

std::string HostPathOfApplication() {
    std::array<char, PATH_MAX> path{};
    const auto length = ::readlink("/proc/self/exe", path.data(), path.size());
    return length > 0 ? std::string(path.data(), static_cast<std::size_t>(length))
                      : std::string("application");
}

// Where the program lies in the device folder, or under WINDOWS when it lies elsewhere on the host.
std::u16string ApplicationPath() {
    const std::string whole = HostPathOfApplication();
    const std::string folder = DeviceFolder() + "/";
    std::string_view path = whole;
    if (!path.starts_with(folder))
        return std::u16string(kModuleFolder) + ToDeviceName(path.substr(path.rfind('/') + 1));
    path.remove_prefix(folder.size());
    std::u16string device;
    while (!path.empty()) {
        const auto end = std::min(path.find('/'), path.size());
        device += u"\\" + ToDeviceName(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return device;
}

} // namespace

struct ModuleTable::Language {
    std::string name; // "de", or "pt_BR" for one country's form
    std::unordered_map<UINT, PlatModuleString> strings;

    const PlatModuleString* Find(UINT id) const {
        const auto found = strings.find(id);
        return found == strings.end() ? nullptr : &found->second;
    }
};

struct ModuleTable::Module {
    HINSTANCE handle = nullptr;
    std::u16string key;
    std::u16string name;
    std::vector<PlatModuleEntry> entries;
    std::deque<PlatModuleResource> resources; // a handle points at each
    std::vector<Language> languages;          // the first is the one that every text stands in
    void* library = nullptr;                  // of a shared object
    std::shared_ptr<ResourceFolder> folder;   // of a folder; its resources come when they are asked for
    DWORD references = 0;
    bool isRegistered = false;
    bool untilReset = false;

    bool IsApplication() const { return key.empty(); }

    static bool IsOf(const PlatModuleResource& entry, const ResourceKey& wanted) {
        if (entry.name != wanted.name) return false;
        return entry.typeName ? wanted.typeName == entry.typeName
                              : wanted.typeName.empty() && wanted.type == entry.type;
    }
    bool Holds(const ResourceKey& wanted, WORD leastDots) const {
        return std::ranges::any_of(resources, [&](const auto& entry) {
            return IsOf(entry, wanted) && entry.leastDots == leastDots;
        });
    }
    // The one for the densest screens that this one still is.
    const PlatModuleResource* FindResource(const ResourceKey& wanted) const {
        const PlatModuleResource* best = nullptr;
        for (const PlatModuleResource& entry : resources) {
            const bool fits = IsOf(entry, wanted) && entry.leastDots <= wanted.dots;
            if (fits && (!best || entry.leastDots > best->leastDots)) best = &entry;
        }
        return best;
    }

    // In the device's language, as near as there is one.
    const PlatModuleString* FindText(UINT id) const {
        if (languages.empty()) return nullptr;
        if (languages.size() > 1)
            for (const std::string* wanted : {&CurrentTables().id, &CurrentTables().language})
                for (const Language& language : languages)
                    if (const auto* text = language.name == *wanted ? language.Find(id) : nullptr)
                        return text;
        return languages.front().Find(id);
    }
};

ModuleTable::ModuleTable() {
    Add()->isRegistered = true; // the application
}

ModuleTable& ModuleTable::Get() {
    static auto* table = new ModuleTable; // never destroyed: FreeLibrary is called by static destructors
    return *table;
}

HINSTANCE ModuleTable::HandleOf(const Module* module) { return module->handle; }

ModuleTable::Module* ModuleTable::Add() {
    constexpr ULONG_PTR kStep = 0x10000; // so that none is taken for a small number
    m_modules.push_back(std::make_unique<Module>());
    m_modules.back()->handle = reinterpret_cast<HINSTANCE>(m_lastNumber += kStep);
    return m_modules.back().get();
}

ModuleTable::Module* ModuleTable::Find(HINSTANCE handle) {
    const auto found = std::find_if(m_modules.begin(), m_modules.end(),
                                    [&](const auto& module) { return HandleOf(module.get()) == handle; });
    return found == m_modules.end() ? nullptr : found->get();
}

ModuleTable::Module* ModuleTable::FindByKey(const std::u16string& key) {
    // From the end: what was registered last stands before what it replaces.
    const auto found = std::find_if(m_modules.rbegin(), m_modules.rend(),
                                    [&](const auto& module) { return module->key == key; });
    return key.empty() || found == m_modules.rend() ? nullptr : found->get();
}

const ModuleTable::Module* ModuleTable::Application() const {
    const auto found = std::find_if(m_modules.rbegin(), m_modules.rend(),
                                    [](const auto& module) { return module->IsApplication(); });
    return found->get(); // the first of all is one
}

HINSTANCE ModuleTable::Register(const PlatModule& source) {
    std::lock_guard lock(m_mutex);
    Module* module = Add();
    if (source.name) {
        module->key = ModuleKey(source.name);
        module->name = source.name;
    }
    module->entries.assign(source.entries, source.entries + source.entryCount);
    module->resources.assign(source.resources, source.resources + source.resourceCount);
    module->isRegistered = true;
    module->untilReset = source.untilReset;
    for (std::size_t i = 0; i < source.languageCount; ++i) {
        const PlatStringTable& table = source.languages[i];
        Language& language = module->languages.emplace_back();
        language.name = table.language;
        for (std::size_t k = 0; k < table.count; ++k)
            language.strings.emplace(table.strings[k].id, table.strings[k]);
    }
    return HandleOf(module);
}

bool ModuleTable::Unregister(std::u16string_view name) {
    std::lock_guard lock(m_mutex);
    const Module* module = FindByKey(ModuleKey(name));
    if (!module || !module->isRegistered) return false;
    std::erase_if(m_modules, [&](const auto& entry) { return entry.get() == module; });
    return true;
}

void ModuleTable::Reset() {
    std::lock_guard lock(m_mutex);
    std::erase_if(m_modules, [](const auto& module) { return module->untilReset; });
}

DWORD ModuleTable::Load(std::u16string_view name, HINSTANCE& handle) {
    const std::u16string key = ModuleKey(name);
    if (key.empty()) return name.size() > 1 ? LoadFolder(name, handle) : ERROR_INVALID_PARAMETER;
    {
        std::lock_guard lock(m_mutex);
        if (Module* module = FindByKey(key)) {
            ++module->references;
            handle = HandleOf(module);
            return 0;
        }
    }
    // Without the lock: the library's own start-up code may call back.
    Place place;
    const std::u16string path = std::u16string(kModuleFolder) + key;
    if (Resolve(path, LastLink::Follow, place) != 0 || !place.exists || !S_ISREG(place.status.st_mode))
        return LoadFolder(name, handle);
    void* library = ::dlopen(place.hostPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) return ERROR_BAD_FORMAT;
    handle = AddLibrary(key, ToDeviceName(place.name), library);
    return 0;
}

// Known by its whole path, which no name of a module looks like.
DWORD ModuleTable::LoadFolder(std::u16string_view name, HINSTANCE& handle) {
    if (name.find(u'\\') == name.npos) return ERROR_MOD_NOT_FOUND;
    std::shared_ptr<ResourceFolder> folder = ResourceFolder::Open(name);
    if (!folder) return ERROR_MOD_NOT_FOUND;
    const std::u16string key = FoldName(folder->Path());
    std::lock_guard lock(m_mutex);
    Module* module = FindByKey(key);
    if (!module) {
        module = Add();
        module->key = key;
        module->name = folder->Path();
        module->languages.push_back({"", folder->Strings()});
        module->folder = std::move(folder);
    }
    ++module->references;
    handle = HandleOf(module);
    return 0;
}

HINSTANCE ModuleTable::AddLibrary(const std::u16string& key, std::u16string name, void* library) {
    std::lock_guard lock(m_mutex);
    Module* module = FindByKey(key);
    if (module) {
        ::dlclose(library); // another thread was faster; it holds a reference of its own
    } else {
        module = Add();
        module->key = key;
        module->name = std::move(name);
        module->library = library;
    }
    ++module->references;
    return HandleOf(module);
}

bool ModuleTable::Free(HINSTANCE handle) {
    void* library = nullptr;
    {
        std::lock_guard lock(m_mutex);
        Module* module = Find(handle);
        if (!module || module->references == 0) return false;
        if (--module->references == 0 && !module->isRegistered) {
            library = module->library;
            std::erase_if(m_modules, [&](const auto& entry) { return entry.get() == module; });
        }
    }
    if (library) ::dlclose(library);
    return true;
}

HINSTANCE ModuleTable::Loaded(LPCWSTR name) {
    std::lock_guard lock(m_mutex);
    const Module* module = name ? FindByKey(ModuleKey(name)) : Application();
    return module ? HandleOf(module) : nullptr;
}

bool ModuleTable::Path(HINSTANCE handle, std::u16string& path) {
    std::lock_guard lock(m_mutex);
    const Module* module = handle ? Find(handle) : Application();
    if (!module) return false;
    path = module->IsApplication() ? ApplicationPath()
           : module->folder        ? module->name
                                   : std::u16string(kModuleFolder) + module->name;
    return true;
}

DWORD ModuleTable::Entry(HINSTANCE handle, LPCWSTR name, FARPROC& address) {
    std::lock_guard lock(m_mutex);
    const Module* module = Find(handle);
    if (!module) return ERROR_INVALID_HANDLE;
    const auto ordinal = reinterpret_cast<ULONG_PTR>(name);
    const bool byName = ordinal > kLastOrdinal;
    const std::string wanted = byName ? ToUtf8(name) : std::string();
    for (const PlatModuleEntry& entry : module->entries) {
        const bool found =
            byName ? entry.name && wanted == entry.name : ordinal != 0 && entry.ordinal == ordinal;
        if (found) address = entry.address;
        if (found) return 0;
    }
    if (module->library && byName)
        address = reinterpret_cast<FARPROC>(::dlsym(module->library, wanted.c_str()));
    return address ? 0 : ERROR_PROC_NOT_FOUND;
}

DWORD ModuleTable::String(HINSTANCE handle, UINT id, std::u16string_view& text) {
    std::lock_guard lock(m_mutex);
    const Module* module = Find(handle);
    if (!module) return ERROR_INVALID_HANDLE;
    const PlatModuleString* found = module->FindText(id);
    if (!found) return ERROR_RESOURCE_NAME_NOT_FOUND;
    text = {found->text, found->length};
    return 0;
}

DWORD ModuleTable::FindResource(HINSTANCE handle, const ResourceKey& key, HRSRC& resource) {
    std::lock_guard lock(m_mutex);
    const Module* module = Find(handle);
    if (!module) return ERROR_INVALID_HANDLE;
    const PlatModuleResource* found = module->FindResource(key);
    if (!found) return ERROR_RESOURCE_NAME_NOT_FOUND;
    resource = reinterpret_cast<HRSRC>(const_cast<PlatModuleResource*>(found));
    return 0;
}

DWORD ModuleTable::Resource(HINSTANCE handle, const ResourceKey& key, HRSRC& resource) {
    DWORD error = FindResource(handle, key, resource);
    if (error != ERROR_RESOURCE_NAME_NOT_FOUND) return error;
    ReadFolderResource(handle, key);
    return FindResource(handle, key, resource);
}

// The forms for all screens at once: what is found next time must not hang on the one asked for first.
void ModuleTable::ReadFolderResource(HINSTANCE handle, const ResourceKey& key) {
    std::shared_ptr<ResourceFolder> folder;
    {
        std::lock_guard lock(m_mutex);
        if (const Module* module = Find(handle)) folder = module->folder;
    }
    if (!folder) return;
    for (const ResourceFolder::File& file : folder->FilesOf(key.name, key.type, key.typeName)) {
        std::string bytes;
        if (!ReadResourceFile(file.path, bytes)) continue;
        std::lock_guard lock(m_mutex);
        Module* module = Find(handle);
        if (!module || module->folder != folder) return;
        if (module->Holds(key, file.leastDots)) continue;
        const std::string& kept = folder->Keep(std::move(bytes));
        module->resources.push_back({key.type, key.name, kept.data(), static_cast<DWORD>(kept.size()),
                                     key.typeName.empty() ? nullptr : kPictureType.data(), file.leastDots});
    }
}

const PlatModuleResource* ModuleTable::Described(HINSTANCE handle, HRSRC resource) {
    std::lock_guard lock(m_mutex);
    const Module* module = Find(handle);
    if (!module) return nullptr;
    const auto found =
        std::find_if(module->resources.begin(), module->resources.end(), [&](const auto& entry) {
            return reinterpret_cast<HRSRC>(const_cast<PlatModuleResource*>(&entry)) == resource;
        });
    return found == module->resources.end() ? nullptr : &*found;
}

namespace {

struct ResetModules {
    ResetModules() {
        AtReset([] { ModuleTable::Get().Reset(); });
    }
} const g_resetModules;

} // namespace
} // namespace plat

using plat::ModuleTable;

HINSTANCE PlatRegisterModule(const PlatModule& module) {
    plat::HostCall call;
    return ModuleTable::Get().Register(module);
}

bool PlatUnregisterModule(LPCWSTR name) {
    plat::HostCall call;
    return name && ModuleTable::Get().Unregister(name);
}

HINSTANCE LoadLibraryW(LPCWSTR name) {
    plat::HostCall call;
    HINSTANCE handle = nullptr;
    if (const DWORD error = name ? ModuleTable::Get().Load(name, handle) : ERROR_INVALID_PARAMETER)
        SetLastError(error);
    return handle;
}

BOOL FreeLibrary(HINSTANCE module) {
    plat::HostCall call;
    if (ModuleTable::Get().Free(module)) return TRUE;
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

FARPROC GetProcAddressW(HINSTANCE module, LPCWSTR name) {
    plat::HostCall call;
    FARPROC address = nullptr;
    if (const DWORD error = ModuleTable::Get().Entry(module, name, address)) SetLastError(error);
    return address;
}

HINSTANCE GetModuleHandleW(LPCWSTR name) {
    plat::HostCall call;
    const HINSTANCE handle = ModuleTable::Get().Loaded(name);
    if (!handle) SetLastError(ERROR_MOD_NOT_FOUND);
    return handle;
}

DWORD GetModuleFileNameW(HINSTANCE module, LPWSTR buffer, DWORD chars) {
    plat::HostCall call;
    std::u16string path;
    if (!buffer || chars == 0 || !ModuleTable::Get().Path(module, path)) {
        SetLastError(buffer && chars ? ERROR_INVALID_HANDLE : ERROR_INVALID_PARAMETER);
        return 0;
    }
    const auto length = path.copy(buffer, chars - 1);
    buffer[length] = 0;
    return static_cast<DWORD>(length);
}

BOOL DisableThreadLibraryCalls(HINSTANCE module) {
    plat::HostCall call;
    std::u16string ignored;
    if (module && ModuleTable::Get().Path(module, ignored)) return TRUE;
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}
