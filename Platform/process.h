// Starting programs and documents, and shortcuts.
//
// A device program is a row of the host program table: the key "Software\Norvo\HostPrograms" of HKEY_LOCAL_MACHINE
// maps its name (a device path or a bare file name) to a host command. The command and the arguments are cut at blanks,
// with double quotes holding a piece together; no shell ever reads them. What is started lives on by itself.
// Nothing here waits for a program. Any thread may call. A host may take all of it over (PlatSetProgramProvider).
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

struct STARTUPINFOW; // never used: always null

struct PROCESS_INFORMATION {
    HANDLE hProcess; // both belong to the caller: CloseHandle
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};

inline constexpr DWORD SEE_MASK_NOCLOSEPROCESS = 0x40;
inline constexpr int SW_SHOWNORMAL = 1;

struct SHELLEXECUTEINFO {
    DWORD cbSize;
    DWORD fMask;
    HWND hwnd;
    LPCWSTR lpVerb; // null or "open"
    LPCWSTR lpFile;
    LPCWSTR lpParameters;
    LPCWSTR lpDirectory;
    int nShow;
    HINSTANCE hInstApp;
    void* lpIDList;
    LPWSTR lpClass;
    HKEY hkeyClass;
    DWORD dwHotKey;
    HANDLE hIcon;
    HANDLE hProcess; // with SEE_MASK_NOCLOSEPROCESS, when a program was started: the caller's
};

// Starts a program of the host program table. FALSE: 2 (no such file), 3 (no such folder), 8 (no process could be
// made), 1155 (nothing on the host runs it), 87.
BOOL CreateProcessW(LPCWSTR image, LPCWSTR arguments, SECURITY_ATTRIBUTES* process,
                    SECURITY_ATTRIBUTES* thread, BOOL inherit, DWORD flags, void* environment, LPWSTR folder,
                    STARTUPINFOW* startup, PROCESS_INFORMATION* information);
// A program of the table is started, a shortcut goes to its target, an URL or an existing document goes to the
// desktop's opener. FALSE with the errors of CreateProcessW.
BOOL ShellExecuteEx(SHELLEXECUTEINFO* info);

// Writes a shortcut file that holds the target's text. FALSE with the errors of CreateFileW.
BOOL SHCreateShortcut(LPCWSTR shortcut, LPCWSTR target);
// Reads it back, cut to `chars`. FALSE: 2, 3, 11 (not a shortcut).
BOOL SHGetShortcutTarget(LPCWSTR shortcut, LPWSTR target, int chars);

// Host side: whoever starts programs and opens documents in place of this host. Gives 0 when it did, else the error of the
// call. Called on the thread that asks, or that delivers a notification: it must not block nor use notifications.
using PlatProgramProvider = DWORD (*)(void* user, LPCWSTR file, LPCWSTR arguments);
// Null puts the host's own way back.
void PlatSetProgramProvider(PlatProgramProvider provider, void* user);

// The message that the store is full.
int SHShowOutOfMemory(HWND owner, UINT flags);

#pragma GCC visibility pop
