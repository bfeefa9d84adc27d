// Where the suite's data, resources and helper programs lie. The directory is settled at process attach; the calls
// that only read may come from any thread.
#pragma once

#include "Platform/types.h"

// The key of all settings, under HKEY_CURRENT_USER.
inline constexpr const WCHAR* kSuiteKey = u"Software\\Norvo\\Quillonary";

// Characters that a path value may have in the registry, and the least size of the buffers it is read into.
inline constexpr int kPathValueChars = 400;

extern "C" {
// Settles g_szNorvoDirectory: the value Norvo_Folder while that folder exists, else InstallDir, else the built-in one,
// which is then written back to Norvo_Folder. Nothing happens when the directory is set already.
QN_API void InitNorvoDirectory();

// The suite directory, settled first when it is not. Data files are "%s\Norvo\..." of it. Never null.
QN_API const WCHAR* GetNorvoDirectory();

// Frees and clears the suite directory; the next GetNorvoDirectory settles it anew.
QN_API void FreeNorvoDirectory();

// Puts the path of the resource library into the buffer (at least kPathValueChars). The result is null when the value
// ResourcesLoc gave it and the buffer otherwise: use the buffer, not the result.
QN_API WCHAR* GetResourcesPath(WCHAR* buffer);

// Puts the folder of the helper programs into the buffer (at least MAX_PATH): UtilsInstallDir, or "\WINDOWS".
QN_API void GetQNUtilsPath(WCHAR* buffer);
}
