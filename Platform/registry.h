// The registry: keys and values under four roots, one store for each device folder, shared by all processes.
//
// Names match without regard to case and keep the case they were made with. Keys and values are enumerated in the order
// they were made; a value that is set again keeps its place. Leading and trailing backslashes of a key path don't
// count. Reads come from memory and see what other processes wrote; a write that returned 0 is on disk. The first write
// makes the files; reading makes none. A damaged or foreign file is moved aside (".bad"), and the registry begun anew.
//
// Any thread may call anything here, from before main until the process ends. Results are error codes: 0, 2 (no such
// key or value), 5 (the files can't be opened or written), 6 (not an open key), 11 (the file was found damaged just
// now), 29 (the disk failed), 32 (other processes kept it locked), 87, 112 (no room), 234 (buffer too small, the size
// needed is given), 259 (no more items), 1018 (the key was deleted meanwhile). An open key belongs to the caller
// until RegCloseKey.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

inline const HKEY HKEY_CLASSES_ROOT = reinterpret_cast<HKEY>(ULONG_PTR{0x80000000});
inline const HKEY HKEY_CURRENT_USER = reinterpret_cast<HKEY>(ULONG_PTR{0x80000001});
inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(ULONG_PTR{0x80000002});
inline const HKEY HKEY_USERS = reinterpret_cast<HKEY>(ULONG_PTR{0x80000003});

inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

// A null or empty `path` opens the key itself once more.
LONG RegOpenKeyExW(HKEY key, LPCWSTR path, DWORD options, DWORD access, HKEY* opened);
// Makes what is missing of the path. *disposition (may be null) tells whether the last key is new.
LONG RegCreateKeyExW(HKEY key, LPCWSTR path, DWORD reserved, LPWSTR className, DWORD options, DWORD access,
                     SECURITY_ATTRIBUTES* security, HKEY* opened, DWORD* disposition);
LONG RegCloseKey(HKEY key);

// Sizes are bytes; a text's size counts its terminator when it was stored with one. A null or empty name is the
// default value. With a null `data` only type and size are given.
LONG RegQueryValueExW(HKEY key, LPCWSTR name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size);
LONG RegSetValueExW(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size);
LONG RegDeleteValueW(HKEY key, LPCWSTR name);
// Deletes the key at `path` with all its values and sub-keys. Handles on them give 1018 from then on.
LONG RegDeleteKeyW(HKEY key, LPCWSTR path);

// *nameChars is the buffer's size in characters with the terminator, and becomes the name's length without it.
LONG RegEnumValueW(HKEY key, DWORD index, LPWSTR name, DWORD* nameChars, DWORD* reserved, DWORD* type,
                   BYTE* data, DWORD* size);
LONG RegEnumKeyExW(HKEY key, DWORD index, LPWSTR name, DWORD* nameChars, DWORD* reserved, LPWSTR className,
                   DWORD* classChars, FILETIME* lastWrite);
// Any result may be null. Lengths of names are in characters without terminator, the longest value in bytes.
LONG RegQueryInfoKeyW(HKEY key, LPWSTR className, DWORD* classChars, DWORD* reserved, DWORD* subKeys,
                      DWORD* longestSubKey, DWORD* longestClass, DWORD* values, DWORD* longestValueName,
                      DWORD* longestValue, DWORD* securitySize, FILETIME* lastWrite);
// Writes are on disk when they return; this only says so again.
LONG RegFlushKey(HKEY key);

#pragma GCC visibility pop
