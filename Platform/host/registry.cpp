// The registry's operations over its store: handles, sizes and error codes.
#include "Platform/registry.h"

#include "Platform/host/call.h"
#include "Platform/host/filenames.h"
#include "Platform/host/registrystore.h"
#include "Platform/host/text.h"

#include <cstring>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

namespace plat {
namespace {

constexpr ULONG_PTR kFirstRoot = 0x80000000;
constexpr DWORD kLargestValue = 16u << 20;
constexpr DWORD kHandleStep = 4;
constexpr DWORD kFirstHandle = 0x100;

// Open keys. Numbers go up and start again only after half a billion, so that a closed handle stays closed.
class KeyHandles {
public:
    HKEY Add(KeyId id) {
        std::unique_lock lock(m_mutex);
        do {
            m_last = m_last >= 0x7FFFFFF0 ? kFirstHandle : m_last + kHandleStep;
        } while (!m_open.emplace(m_last, id).second);
        return reinterpret_cast<HKEY>(static_cast<ULONG_PTR>(m_last));
    }
    // 0 when it is no open key.
    KeyId Find(HKEY key) const {
        const auto number = reinterpret_cast<ULONG_PTR>(key);
        if (number >= kFirstRoot && number < kFirstRoot + kRegistryRoots)
            return -static_cast<KeyId>(number - kFirstRoot) - 1;
        std::shared_lock lock(m_mutex);
        const auto found = m_open.find(number);
        return found == m_open.end() ? 0 : found->second;
    }
    bool Remove(HKEY key) {
        std::unique_lock lock(m_mutex);
        return m_open.erase(reinterpret_cast<ULONG_PTR>(key)) != 0;
    }

private:
    mutable std::shared_mutex m_mutex;
    std::unordered_map<ULONG_PTR, KeyId> m_open;
    ULONG_PTR m_last = kFirstHandle;
};

KeyHandles& Handles() {
    static auto* handles = new KeyHandles;
    return *handles;
}

// Bytes into a caller's buffer by the rules of the registry: only the size without a buffer, 234 with the size needed.
DWORD GiveData(const std::vector<BYTE>& value, BYTE* data, DWORD* size) {
    if (!size) return data ? ERROR_INVALID_PARAMETER : 0;
    const DWORD room = *size;
    *size = static_cast<DWORD>(value.size());
    if (!data) return 0;
    if (room < value.size()) return ERROR_MORE_DATA;
    if (!value.empty()) std::memcpy(data, value.data(), value.size());
    return 0;
}

DWORD GiveName(std::u16string_view name, LPWSTR buffer, DWORD* chars) {
    if (!buffer || !chars) return ERROR_INVALID_PARAMETER;
    const DWORD room = *chars;
    *chars = static_cast<DWORD>(name.size());
    if (room <= name.size()) return ERROR_MORE_DATA;
    buffer[name.copy(buffer, name.size())] = 0;
    return 0;
}

template<class Read>
LONG ReadOpenKey(HKEY key, Read read) {
    const KeyId id = Handles().Find(key);
    return static_cast<LONG>(id ? RegistryStore::Get().ReadKey(id, read) : ERROR_INVALID_HANDLE);
}

template<class Item, class Length>
DWORD Longest(const NamedItems<Item>& items, Length length) {
    std::size_t longest = 0;
    for (std::size_t i = 0; i < items.Count(); ++i) longest = std::max(longest, length(items.At(i)));
    return static_cast<DWORD>(longest);
}

template<class T>
void Give(T* target, T value) {
    if (target) *target = value;
}

} // namespace
} // namespace plat

using plat::Handles;
using plat::KeyId;
using plat::RegistryKey;
using plat::RegistryStore;
using plat::RegistryValue;

LONG RegOpenKeyExW(HKEY key, LPCWSTR path, DWORD, DWORD, HKEY* opened) {
    plat::HostCall call;
    const KeyId from = Handles().Find(key);
    KeyId found = 0;
    if (!opened) return ERROR_INVALID_PARAMETER;
    if (!from) return ERROR_INVALID_HANDLE;
    if (const DWORD error = RegistryStore::Get().FindKey(from, plat::TextOf(path), found))
        return static_cast<LONG>(error);
    *opened = Handles().Add(found);
    return ERROR_SUCCESS;
}

LONG RegCreateKeyExW(HKEY key, LPCWSTR path, DWORD, LPWSTR, DWORD, DWORD, SECURITY_ATTRIBUTES*, HKEY* opened,
                     DWORD* disposition) {
    plat::HostCall call;
    const KeyId from = Handles().Find(key);
    KeyId found = 0;
    bool isNew = false;
    if (!opened) return ERROR_INVALID_PARAMETER;
    if (!from) return ERROR_INVALID_HANDLE;
    if (const DWORD error = RegistryStore::Get().MakeKey(from, plat::TextOf(path), found, isNew))
        return static_cast<LONG>(error);
    *opened = Handles().Add(found);
    plat::Give(disposition, isNew ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY);
    return ERROR_SUCCESS;
}

LONG RegCloseKey(HKEY key) {
    plat::HostCall call;
    const bool isRoot = Handles().Find(key) < 0;
    return isRoot || Handles().Remove(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LONG RegQueryValueExW(HKEY key, LPCWSTR name, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
    plat::HostCall call;
    const auto folded = plat::FoldName(plat::TextOf(name));
    return plat::ReadOpenKey(key, [&](const RegistryKey& open) -> DWORD {
        const RegistryValue* value = open.values.Find(folded);
        if (!value) return ERROR_FILE_NOT_FOUND;
        plat::Give(type, value->type);
        return plat::GiveData(value->data, data, size);
    });
}

LONG RegSetValueExW(HKEY key, LPCWSTR name, DWORD, DWORD type, const BYTE* data, DWORD size) {
    plat::HostCall call;
    const KeyId id = Handles().Find(key);
    if (!id) return ERROR_INVALID_HANDLE;
    if ((!data && size) || size > plat::kLargestValue) return ERROR_INVALID_PARAMETER;
    return static_cast<LONG>(RegistryStore::Get().SetValue(id, plat::TextOf(name), type, {data, size}));
}

LONG RegDeleteValueW(HKEY key, LPCWSTR name) {
    plat::HostCall call;
    const KeyId id = Handles().Find(key);
    return static_cast<LONG>(id ? RegistryStore::Get().RemoveValue(id, plat::TextOf(name))
                                : ERROR_INVALID_HANDLE);
}

LONG RegDeleteKeyW(HKEY key, LPCWSTR path) {
    plat::HostCall call;
    const KeyId id = Handles().Find(key);
    if (!id) return ERROR_INVALID_HANDLE;
    // Without a path this would take a root, or the ground from under the caller's own handle.
    const bool named = plat::TextOf(path).find_first_not_of(u'\\') != std::u16string_view::npos;
    return static_cast<LONG>(named ? RegistryStore::Get().RemoveKey(id, path) : ERROR_INVALID_PARAMETER);
}

LONG RegEnumValueW(HKEY key, DWORD index, LPWSTR name, DWORD* nameChars, DWORD*, DWORD* type, BYTE* data,
                   DWORD* size) {
    plat::HostCall call;
    return plat::ReadOpenKey(key, [&](const RegistryKey& open) -> DWORD {
        if (index >= open.values.Count()) return ERROR_NO_MORE_ITEMS;
        const RegistryValue& value = open.values.At(index);
        if (const DWORD error = plat::GiveName(value.name, name, nameChars)) return error;
        plat::Give(type, value.type);
        return plat::GiveData(value.data, data, size);
    });
}

LONG RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, DWORD* nameChars, DWORD*, LPWSTR, DWORD* classChars,
                   FILETIME* lastWrite) {
    plat::HostCall call;
    return plat::ReadOpenKey(key, [&](const RegistryKey& open) -> DWORD {
        if (index >= open.subKeys.Count()) return ERROR_NO_MORE_ITEMS;
        plat::Give(classChars, DWORD{0});
        plat::Give(lastWrite, FILETIME{});
        return plat::GiveName(open.subKeys.At(index).name, name, nameChars);
    });
}

LONG RegQueryInfoKeyW(HKEY key, LPWSTR, DWORD* classChars, DWORD*, DWORD* subKeys, DWORD* longestSubKey,
                      DWORD* longestClass, DWORD* values, DWORD* longestValueName, DWORD* longestValue,
                      DWORD* securitySize, FILETIME* lastWrite) {
    plat::HostCall call;
    const auto nameLength = [](const auto& item) { return item.name.size(); };
    return plat::ReadOpenKey(key, [&](const RegistryKey& open) -> DWORD {
        plat::Give(subKeys, static_cast<DWORD>(open.subKeys.Count()));
        plat::Give(longestSubKey, plat::Longest(open.subKeys, nameLength));
        plat::Give(values, static_cast<DWORD>(open.values.Count()));
        plat::Give(longestValueName, plat::Longest(open.values, nameLength));
        plat::Give(longestValue,
                   plat::Longest(open.values, [](const RegistryValue& value) { return value.data.size(); }));
        for (DWORD* unused : {classChars, longestClass, securitySize}) plat::Give(unused, DWORD{0});
        plat::Give(lastWrite, FILETIME{});
        return ERROR_SUCCESS;
    });
}

LONG RegFlushKey(HKEY key) {
    plat::HostCall call;
    return plat::ReadOpenKey(key, [](const RegistryKey&) -> DWORD { return ERROR_SUCCESS; });
}
