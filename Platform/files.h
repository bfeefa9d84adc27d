// Files and folders of the device.
//
// Paths are device paths ("\My Documents\a.txt"): "\" and "/" separate, a run of them counts as one, a leading one may
// be missing, letter case doesn't matter. They live under one host folder; a path, link or ".." that leads out of it
// is refused with error 123 (a name that can't be) or 5 (a link to the outside).
//
// Any thread may call anything here. A handle belongs to the caller until CloseHandle (FindClose for a search); two
// threads may use one handle, and share its position. Failures set GetLastError. Volumes and other stores that this
// process has in use are files that somebody has open for himself: error 32.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;
inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 1;
inline constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 2;
inline constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 4;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 16;
inline constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 32;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 128;
inline constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFF;
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;
inline constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFF;
inline constexpr int CSIDL_PERSONAL = 5; // the documents folder

struct OVERLAPPED; // never used: always null

struct BY_HANDLE_FILE_INFORMATION {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime; // all three in UTC
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD dwVolumeSerialNumber;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD nNumberOfLinks;
    DWORD nFileIndexHigh;
    DWORD nFileIndexLow;
    DWORD dwOID; // stays with the file when it is renamed or saved anew; 0 when the table can't be written
};

struct WIN32_FIND_DATAW {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwOID;
    WCHAR cFileName[MAX_PATH];
};

// --- Open files ---------------------------------------------------------------------------------------------------

// Opens or makes a file. `access` is GENERIC_READ and/or GENERIC_WRITE, `share` what others may do meanwhile: within
// the process exactly so, between processes a share of 0 keeps all others out. `attributes` serve a file that is made.
// INVALID_HANDLE_VALUE on failure: 2, 3, 5 (also a folder, or writing to a read-only file), 32 (share modes), 80
// (CREATE_NEW and it exists), 87, 112, 123. Success sets error 183 when CREATE_ALWAYS or OPEN_ALWAYS found the file,
// else 0.
HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security, DWORD creation,
                   DWORD attributes, HANDLE model);
// TRUE with *read 0 at the end of the file. FALSE: 5 (not opened for reading), 6, 30.
BOOL ReadFile(HANDLE file, void* buffer, DWORD count, DWORD* read, OVERLAPPED* overlapped);
// FALSE: 5 (not opened for writing), 6, 112; *written tells what is in the file.
BOOL WriteFile(HANDLE file, const void* buffer, DWORD count, DWORD* written, OVERLAPPED* overlapped);
// The new position's low half (the high one in *high when given, which is also the distance's high half);
// INVALID_SET_FILE_POINTER with an error other than 0 on failure: 6, 87, 131 (before the start).
DWORD SetFilePointer(HANDLE file, LONG distance, LONG* high, DWORD method);
// The low half, the high one in *high when given; INVALID_FILE_SIZE with an error other than 0 on failure.
DWORD GetFileSize(HANDLE file, DWORD* high);
// The file ends at the present position. FALSE: 5, 6, 112.
BOOL SetEndOfFile(HANDLE file);
// When it returns TRUE the content is on disk. FALSE: 6, 29.
BOOL FlushFileBuffers(HANDLE file);
BOOL GetFileInformationByHandle(HANDLE file, BY_HANDLE_FILE_INFORMATION* information);
// Any of the three may be null.
BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* lastAccess, FILETIME* lastWrite);

// --- Names --------------------------------------------------------------------------------------------------------

// INVALID_FILE_ATTRIBUTES on failure, also for a null or empty path. A file has at least one bit (32 unless it was
// set otherwise, 128 when none is left), a folder has 16.
DWORD GetFileAttributesW(LPCWSTR path);
BOOL SetFileAttributesW(LPCWSTR path, DWORD attributes);
// FALSE: 183 (exists), 3 (the folder above is missing), 5, 112, 123.
BOOL CreateDirectoryW(LPCWSTR path, SECURITY_ATTRIBUTES* security);
// FALSE: 145 (not empty), 2, 3, 5 (a file, or the root), 123.
BOOL RemoveDirectoryW(LPCWSTR path);
// FALSE: 2, 3, 5 (a folder or a read-only file), 32 (open somewhere), 123.
BOOL DeleteFileW(LPCWSTR path);
// The copy appears under its name only when it is whole. FALSE: 80 (exists and failIfExists), and as CreateFileW.
BOOL CopyFileW(LPCWSTR existing, LPCWSTR copy, BOOL failIfExists);
// Renames a file or folder. FALSE: 183 (the new name exists), 32 (the file is open), 2, 3, 5, 123.
BOOL MoveFileW(LPCWSTR existing, LPCWSTR moved);
// The last step of saving a file: `temporary`, already flushed and closed, takes the place of `target`, which may be
// missing, in one step that survives a power cut. The object id of `target` stays with its name.
BOOL PlatReplaceFile(LPCWSTR temporary, LPCWSTR target);

// --- Searching ----------------------------------------------------------------------------------------------------

// The last component may hold "*" and "?" ("*.*" is everything). INVALID_HANDLE_VALUE on failure: 18 (nothing
// matches), 3, 123. Entries come in the order of their names.
HANDLE FindFirstFileW(LPCWSTR pattern, WIN32_FIND_DATAW* data);
// FALSE with error 18 at the end.
BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* data);
BOOL FindClose(HANDLE find);

// --- Folders with a meaning ---------------------------------------------------------------------------------------

// The folder for temporary files, made when missing. It ends in a backslash. Returns the characters without the
// terminator, or, when `chars` is too small, those needed with it.
DWORD GetTempPathW(DWORD chars, LPWSTR buffer);
// CSIDL_PERSONAL is "\My Documents"; other numbers give FALSE, error 87. `buffer` has MAX_PATH characters.
BOOL SHGetSpecialFolderPath(HWND owner, LPWSTR buffer, int folder, BOOL create);
// Storage cards: the folders of the root whose names begin with "Storage Card". As FindFirstFileW and FindNextFileW, with
// FindClose at the end. They are the entries 7 and 8 of "note_prj.dll"; who knows other cards registers that module.
HANDLE FindFirstFlashCard(WIN32_FIND_DATAW* card);
BOOL FindNextFlashCard(HANDLE find, WIN32_FIND_DATAW* card);

#pragma GCC visibility pop
