// All modules that are known: registered ones for good, shared objects while they are referenced.
#pragma once

#include "Platform/modules.h"

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace plat {

// What a resource is looked up by.
struct ResourceKey {
    WORD name;
    WORD type;               // 0 for a named one
    std::u16string typeName; // folded, empty for a number
    int dots;                // of the screen, an inch
};

// Errors are the device's codes. Handles are checked against the table, so a stale one is simply no module.
class ModuleTable {
public:
    static ModuleTable& Get();

    HINSTANCE Register(const PlatModule& source);
    bool Unregister(std::u16string_view name);
    void Reset();

    DWORD Load(std::u16string_view name, HINSTANCE& handle);
    bool Free(HINSTANCE handle);
    // Null is the application.
    HINSTANCE Loaded(LPCWSTR name);
    bool Path(HINSTANCE handle, std::u16string& path);
    DWORD Entry(HINSTANCE handle, LPCWSTR name, FARPROC& address);

    DWORD String(HINSTANCE handle, UINT id, std::u16string_view& text);
    DWORD Resource(HINSTANCE handle, const ResourceKey& key, HRSRC& resource);
    const PlatModuleResource* Described(HINSTANCE handle, HRSRC resource);

private:
    struct Language;
    struct Module;

    ModuleTable();
    static HINSTANCE HandleOf(const Module* module);
    Module* Add();
    Module* Find(HINSTANCE handle);
    Module* FindByKey(const std::u16string& key);
    const Module* Application() const;
    HINSTANCE AddLibrary(const std::u16string& key, std::u16string name, void* library);
    DWORD LoadFolder(std::u16string_view name, HINSTANCE& handle);
    void ReadFolderResource(HINSTANCE handle, const ResourceKey& key);
    DWORD FindResource(HINSTANCE handle, const ResourceKey& key, HRSRC& resource);

    std::mutex m_mutex;
    std::vector<std::unique_ptr<Module>> m_modules; // in the order they came
    ULONG_PTR m_lastNumber = 0;                     // of a handle, of which none comes twice
};

} // namespace plat
