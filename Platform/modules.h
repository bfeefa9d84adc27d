// Modules: libraries found by name, their entry points, and the texts and pictures they carry.
//
// LoadLibraryW finds, in this order, a module registered with PlatRegisterModule, then a shared object of that file
// name in the device folder's WINDOWS, then a folder of the device with resources; nothing else. Names match without
// regard to case, a path in front is ignored but for a folder, and a name without a dot means ".dll". Any thread may call
// anything here, from before main on.
//
// A folder of resources holds "strings.txt" (UTF-8, lines of number, tab and text with \n, \r, \t, \\), "png/ID.png",
// the resources of the type "PNGPIC" ("png/ID-32.png" instead from 144 dots an inch on), and "bmp/ID.bmp".
#pragma once

#include "Platform/types.h"

#include <cstddef>

#pragma GCC visibility push(default)

using FARPROC = void (*)();

// --- Registering --------------------------------------------------------------------------------------------------

struct PlatModuleEntry {
    const char* name; // may be null when there is only an ordinal
    WORD ordinal;     // 0 for none
    FARPROC address;
};
struct PlatModuleString {
    UINT id;
    const WCHAR* text;
    DWORD length; // characters, without terminator
};
// The texts of one language, in any order. A module may carry several languages; the first is the fall-back.
struct PlatStringTable {
    const char* language; // "en", "de"; "pt_BR" for one country's form
    const PlatModuleString* strings;
    std::size_t count;
};
struct PlatModuleResource {
    WORD type; // unless typeName is set
    WORD name;
    const void* data;
    DWORD size;
    const WCHAR* typeName = nullptr; // in capitals, "PNGPIC"
    WORD leastDots =
        0; // for screens of so many dots an inch and more; of several, the one with the most that fit holds
};
// Everything pointed to belongs to the caller and must stay for the life of the process.
struct PlatModule {
    const WCHAR* name; // "QNResources.dll"; null: what the application itself brings
    const PlatModuleEntry* entries = nullptr;
    std::size_t entryCount = 0;
    const PlatStringTable* languages = nullptr;
    std::size_t languageCount = 0;
    const PlatModuleResource* resources = nullptr;
    std::size_t resourceCount = 0;
    bool untilReset = false; // taken out again by PlatResetForTests
};
// The module registered last under a name is the one that is found. Returns its handle, with no reference taken.
HINSTANCE PlatRegisterModule(const PlatModule& module);
// Takes the last registration of that name out; handles on it become invalid. False when there is none.
bool PlatUnregisterModule(LPCWSTR name);

// --- Modules ------------------------------------------------------------------------------------------------------

// Null on failure: 126 (no such module), 11 (a file that is no library of this system), 87. Each success wants a
// FreeLibrary.
HINSTANCE LoadLibraryW(LPCWSTR name);
BOOL FreeLibrary(HINSTANCE module);
// By name (exact case) or by ordinal (a "pointer" of 1 to 65,535). Null, error 127 when there is no such entry, 6 for
// no module.
FARPROC GetProcAddressW(HINSTANCE module, LPCWSTR name);
// A loaded or registered module, with no reference taken; a null name is the application. Null, error 126.
HINSTANCE GetModuleHandleW(LPCWSTR name);
// The device path: a module stands in "\WINDOWS", the application where it lies in the device folder, else there too.
// Returns the characters written without terminator, cut to the buffer; 0 on failure.
DWORD GetModuleFileNameW(HINSTANCE module, LPWSTR buffer, DWORD chars);
// No module hears of threads here, so there is nothing to switch off. FALSE, error 6 for no module.
BOOL DisableThreadLibraryCalls(HINSTANCE module);

// --- Resources ----------------------------------------------------------------------------------------------------

inline LPCWSTR MAKEINTRESOURCEW(WORD number) {
    return reinterpret_cast<LPCWSTR>(static_cast<ULONG_PTR>(number));
}
inline const LPCWSTR RT_BITMAP = reinterpret_cast<LPCWSTR>(ULONG_PTR{2}); // a whole .bmp file
inline const LPCWSTR RT_RCDATA = reinterpret_cast<LPCWSTR>(ULONG_PTR{10});

// Copies the text in the language of the device's locale, else in the module's first language, cut to `chars` with its
// terminator; returns its characters. 0 and an empty text on failure: 1814, 6.
int LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int chars);
// The name is a number (MAKEINTRESOURCEW), the type a number or a text, compared without regard to case. Null, error
// 1814 when there is none.
HRSRC FindResourceW(HINSTANCE module, LPCWSTR name, LPCWSTR type);
// The bytes; they belong to the module and need no release.
HGLOBAL LoadResource(HINSTANCE module, HRSRC resource);
DWORD SizeofResource(HINSTANCE module, HRSRC resource);

#pragma GCC visibility pop
