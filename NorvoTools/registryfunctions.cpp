#include "NorvoTools/registryfunctions.h"

#include "Platform/strings.h"

namespace {

class OpenedKey {
public:
    OpenedKey() = default;
    ~OpenedKey() {
        if (m_key) RegCloseKey(m_key);
    }
    OpenedKey(const OpenedKey&) = delete;
    OpenedKey& operator=(const OpenedKey&) = delete;

    LONG Open(HKEY root, const WCHAR* key) { return RegOpenKeyExW(root, key, 0, 0, &m_key); }
    LONG Create(HKEY root, const WCHAR* key) {
        DWORD disposition = 0;
        return RegCreateKeyExW(root, key, 0, nullptr, 0, 0, nullptr, &m_key, &disposition);
    }
    operator HKEY() const { return m_key; }

private:
    HKEY m_key = nullptr;
};

} // namespace

LONG GetFromRegistry(HKEY root, const WCHAR* key, const WCHAR* name, DWORD* value) {
    OpenedKey opened;
    if (LONG error = opened.Open(root, key)) return error;
    DWORD type = 0;
    DWORD read = 0;
    DWORD size = sizeof(read);
    if (LONG error = RegQueryValueExW(opened, name, nullptr, &type, reinterpret_cast<BYTE*>(&read), &size))
        return error;
    if (type != REG_DWORD || size != sizeof(read)) return ERROR_FILE_NOT_FOUND;
    *value = read;
    return ERROR_SUCCESS;
}

LONG SetToRegistry(HKEY root, const WCHAR* key, const WCHAR* name, DWORD value) {
    OpenedKey opened;
    if (LONG error = opened.Create(root, key)) return error;
    return RegSetValueExW(opened, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value));
}

LONG GetFromRegistrySZ(HKEY root, const WCHAR* key, const WCHAR* name, WCHAR* buffer, int chars) {
    if (!buffer || chars <= 0) return ERROR_INVALID_PARAMETER;
    OpenedKey opened;
    if (LONG error = opened.Open(root, key)) return error;
    // The type first: a value of another kind must not reach the caller's buffer.
    DWORD type = 0;
    if (LONG error = RegQueryValueExW(opened, name, nullptr, &type, nullptr, nullptr)) return error;
    if (type != REG_SZ) return ERROR_FILE_NOT_FOUND;
    DWORD size = static_cast<DWORD>(chars) * sizeof(WCHAR);
    if (LONG error = RegQueryValueExW(opened, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &size))
        return error;
    const DWORD units = size / sizeof(WCHAR);
    buffer[units < static_cast<DWORD>(chars) ? units : static_cast<DWORD>(chars) - 1] = 0;
    return ERROR_SUCCESS;
}

LONG SetToRegistrySZ(HKEY root, const WCHAR* key, const WCHAR* name, const WCHAR* value) {
    if (!value) value = u"";
    OpenedKey opened;
    if (LONG error = opened.Create(root, key)) return error;
    const auto bytes = static_cast<DWORD>((wcslen(value) + 1) * sizeof(WCHAR));
    return RegSetValueExW(opened, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value), bytes);
}

DWORD ReadRegistryWithDefault(const WCHAR* key, const WCHAR* name, DWORD defaultValue) {
    DWORD value = defaultValue;
    GetFromRegistry(HKEY_CURRENT_USER, key, name, &value);
    return value;
}

LONG DeleteRegistryValue(HKEY root, const WCHAR* key, const WCHAR* name) {
    OpenedKey opened;
    if (LONG error = opened.Open(root, key)) return error;
    return RegDeleteValueW(opened, name);
}

LONG EnumRegistryKeysSZ(HKEY root, const WCHAR* key, WCHAR* buffer, DWORD index) {
    OpenedKey opened;
    if (LONG error = opened.Open(root, key)) return error;
    DWORD chars = kRegistryKeyNameChars;
    return RegEnumKeyExW(opened, index, buffer, &chars, nullptr, nullptr, nullptr, nullptr);
}

LONG QueryKey(HKEY root, const WCHAR* key, DWORD* subKeys, DWORD* values, DWORD* maxSubKeyChars,
              DWORD* maxValueChars) {
    OpenedKey opened;
    if (LONG error = opened.Open(root, key)) return error;
    return RegQueryInfoKeyW(opened, nullptr, nullptr, nullptr, subKeys, maxSubKeyChars, nullptr, values,
                            maxValueChars, nullptr, nullptr, nullptr);
}
