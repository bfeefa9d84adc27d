// Single reads and writes of the platform registry. Any thread may call them. Results are the registry's own error
// codes, 0 for success, where nothing else is told; a failed read leaves the caller's variable alone.
#pragma once

#include "Platform/registry.h"
#include "Platform/types.h"

// Characters of the buffer that EnumRegistryKeysSZ fills, terminator included.
inline constexpr DWORD kRegistryKeyNameChars = 75;

extern "C" {
// A double word; a value of another type fails as well.
QN_API LONG GetFromRegistry(HKEY root, const WCHAR* key, const WCHAR* name, DWORD* value);
// Creates the key when it is missing, and writes REG_DWORD.
QN_API LONG SetToRegistry(HKEY root, const WCHAR* key, const WCHAR* name, DWORD value);

// A string of at most `chars` characters, terminator included; always terminated on success. ERROR_MORE_DATA for a
// longer one.
QN_API LONG GetFromRegistrySZ(HKEY root, const WCHAR* key, const WCHAR* name, WCHAR* buffer, int chars);
// Creates the key when it is missing, and writes REG_SZ; null is written as an empty string.
QN_API LONG SetToRegistrySZ(HKEY root, const WCHAR* key, const WCHAR* name, const WCHAR* value);

// A double word under HKEY_CURRENT_USER, or the default on any error.
QN_API DWORD ReadRegistryWithDefault(const WCHAR* key, const WCHAR* name, DWORD defaultValue);

QN_API LONG DeleteRegistryValue(HKEY root, const WCHAR* key, const WCHAR* name);

// The name of the sub-key at the index, in creation order; ERROR_NO_MORE_ITEMS past the last.
QN_API LONG EnumRegistryKeysSZ(HKEY root, const WCHAR* key, WCHAR* buffer, DWORD index);

// How many sub-keys and values a key has, and the longest of their names (without terminator). Null counts are skipped.
QN_API LONG QueryKey(HKEY root, const WCHAR* key, DWORD* subKeys, DWORD* values,
                     DWORD* maxSubKeyChars = nullptr, DWORD* maxValueChars = nullptr);
}
