#include "NorvoTools/paths.h"

#include "NorvoTools/globals.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/files.h"
#include "Platform/registry.h"
#include "Platform/strings.h"

#include <cstdlib>

namespace {

WCHAR s_builtInDirectory[] = u"\\Program Files\\Norvo\\Quillonary"; // never freed

LONG ReadPath(const WCHAR* name, WCHAR* buffer, int chars) {
    return GetFromRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, name, buffer, chars);
}

bool PathExists(const WCHAR* path) { return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES; }

} // namespace

void InitNorvoDirectory() {
    if (g_szNorvoDirectory && g_szNorvoDirectory[0]) return;
    FreeNorvoDirectory();
    auto* buffer = static_cast<WCHAR*>(std::calloc(kPathValueChars + 1, sizeof(WCHAR)));
    g_szNorvoDirectory = buffer ? buffer : s_builtInDirectory;
    if (!buffer) return;
    if (ReadPath(u"Norvo_Folder", buffer, kPathValueChars) == 0 && PathExists(buffer)) return;
    // InstallDir is taken as it is: the folder may be on a card that is not in.
    if (ReadPath(u"InstallDir", buffer, kPathValueChars) != 0) {
        g_szNorvoDirectory = s_builtInDirectory;
        std::free(buffer);
    }
    SetToRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, u"Norvo_Folder", g_szNorvoDirectory);
}

const WCHAR* GetNorvoDirectory() {
    if (!g_szNorvoDirectory) InitNorvoDirectory();
    return g_szNorvoDirectory;
}

void FreeNorvoDirectory() {
    if (g_szNorvoDirectory != s_builtInDirectory) std::free(g_szNorvoDirectory);
    g_szNorvoDirectory = nullptr;
}

WCHAR* GetResourcesPath(WCHAR* buffer) {
    if (ReadPath(u"ResourcesLoc", buffer, kPathValueChars) == 0) return nullptr;
    return wcscpy(buffer, u"\\WINDOWS\\QNResources.dll");
}

void GetQNUtilsPath(WCHAR* buffer) {
    if (ReadPath(u"UtilsInstallDir", buffer, MAX_PATH) == 0 && buffer[0]) return;
    wcscpy(buffer, u"\\WINDOWS");
}
