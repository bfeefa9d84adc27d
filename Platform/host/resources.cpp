// Texts and other resources of modules.
#include "Platform/modules.h"

#include "Platform/gdi.h"
#include "Platform/host/call.h"
#include "Platform/host/filenames.h"
#include "Platform/host/moduletable.h"
#include "Platform/threads.h"

#include <algorithm>

namespace {

// The number behind MAKEINTRESOURCEW; 0, which no resource has, for a real text.
WORD NumberOf(LPCWSTR name) {
    const auto value = reinterpret_cast<ULONG_PTR>(name);
    return value <= 0xFFFF ? static_cast<WORD>(value) : WORD{0};
}

} // namespace

int LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int chars) {
    plat::HostCall call;
    std::u16string_view text;
    DWORD error = buffer && chars > 0 ? 0 : ERROR_INVALID_PARAMETER;
    if (!error) {
        buffer[0] = 0;
        error = plat::ModuleTable::Get().String(module, id, text);
    }
    if (error) {
        SetLastError(error);
        return 0;
    }
    const auto length = text.copy(buffer, static_cast<std::size_t>(chars) - 1);
    buffer[length] = 0;
    return static_cast<int>(length);
}

HRSRC FindResourceW(HINSTANCE module, LPCWSTR name, LPCWSTR type) {
    plat::HostCall call;
    HRSRC resource = nullptr;
    plat::ResourceKey key{NumberOf(name), NumberOf(type), {}, PlatGetScreen().dotsPerInch};
    if (type && key.type == 0) key.typeName = plat::FoldName(type);
    const DWORD error = plat::ModuleTable::Get().Resource(module, key, resource);
    if (error) SetLastError(error);
    return resource;
}

HGLOBAL LoadResource(HINSTANCE module, HRSRC resource) {
    plat::HostCall call;
    const PlatModuleResource* described = plat::ModuleTable::Get().Described(module, resource);
    if (!described) SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return described ? const_cast<void*>(described->data) : nullptr;
}

DWORD SizeofResource(HINSTANCE module, HRSRC resource) {
    plat::HostCall call;
    const PlatModuleResource* described = plat::ModuleTable::Get().Described(module, resource);
    if (!described) SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
    return described ? described->size : 0;
}
