// The settings, addressed by root, key path and value name, on one of two stores: the platform registry, or a text file
// that mimics it. Who has a CRegistry doesn't care which.
//
// An object belongs to one thread and has one key open. Results are 0 for success and negative otherwise; a platform
// error e comes back as -e. A value that can't be read leaves the caller's variable alone: test for a non-zero result
// and take your default.
#pragma once

#include "NorvoTools/CePtrList.h"
#include "NorvoTools/CeStrList.h"
#include "NorvoTools/INIFile.h"
#include "Platform/registry.h"
#include "Platform/types.h"

#include <memory>
#include <string>
#include <vector>

class CeString;

enum _REGISTRY_TYPE : int {
    kRegistryText = 0,
    kRegistryPlatform = 1,
};

// A row of QueryArray.
struct QNREG {
    const WCHAR* szName;
    DWORD* pdwValue;
    DWORD dwDefault;
};

class QN_API CRegistry {
public:
    using INIFile = ::INIFile;

    // Results beside the platform's.
    static constexpr LONG kFailure = static_cast<LONG>(0x80004005);
    static constexpr LONG kNoFileName = static_cast<LONG>(0x80070057);
    static constexpr LONG kNoSuchValue = static_cast<LONG>(0x80004005 | 0x4000);

    CRegistry() { SetClosed(); } // the platform registry
    explicit CRegistry(_REGISTRY_TYPE type);
    explicit CRegistry(const WCHAR* file); // a text store
    // A null file is %s\Norvo\Settings.txt, "%s" being the suite directory.
    CRegistry(_REGISTRY_TYPE type, const WCHAR* file, int bCache = 1);
    // Closes the key. The last object on a text file saves it.
    ~CRegistry();
    CRegistry(const CRegistry&) = delete;
    CRegistry& operator=(const CRegistry&) = delete;

    // On the text store: takes the file out of the shared cache, or loads it. A file that can't be read is an empty
    // store. kNoFileName for a null or empty name.
    LONG SetRegistryType(_REGISTRY_TYPE type, const WCHAR* file, int bCache = 1);
    _REGISTRY_TYPE RegistryType() const { return m_type; }
    HKEY KeyRef() const { return m_hKey; } // on the text store the index of the section; -1 when closed
    const WCHAR* INIFileName() const;      // empty on the platform registry

    // Opening makes the key when it is missing. The disposition is 1 for a new key and 2 for an old one.
    LONG OpenKey(HKEY root, const WCHAR* key, DWORD* disposition = nullptr);
    void CloseKey();
    // Whether the key is there; if so it is open afterwards. Never makes one.
    bool Exists(HKEY root, const WCHAR* key);
    LONG DeleteKey(HKEY root, const WCHAR* key);

    // A null or empty name is the default value of the key. With bWriteBack a read that fails writes what the variable
    // holds: a number if it is not 0, a text in any case.
    LONG QueryValue(const WCHAR* name, DWORD* value, bool bWriteBack = false);
    LONG QueryValue(const WCHAR* name, LONG* value, bool bWriteBack = false);
    // A string of at most `size` characters, terminator included. Size 0: on the platform registry 200; on the text store
    // a null buffer gives the length as a positive result, another one takes the whole text.
    LONG QueryValue(const WCHAR* name, WCHAR* buffer, DWORD size, bool bWriteBack = false);
    // Platform registry only. On any failure the default is assigned (null: nothing).
    LONG QueryValue(const WCHAR* name, CeString& value, const WCHAR* defaultText);
    LONG QueryBinValue(const WCHAR* name, BYTE* buffer, DWORD* size); // platform registry only
    LONG SetBinValue(const WCHAR* name, const BYTE* bytes, DWORD size);
    LONG QueryValueType(const WCHAR* name, DWORD* type);
    LONG SetValue(const WCHAR* name, DWORD value);
    LONG SetValue(const WCHAR* name, LONG value) { return SetValue(name, static_cast<DWORD>(value)); }
    LONG SetValue(const WCHAR* name, const WCHAR* text); // null is stored empty
    LONG DeleteValue(const WCHAR* name);

    LONG ValueCount();                                     // of the open key; 0 without one
    LONG ValueCount(HKEY root, const WCHAR* key);          // opens the key when it exists
    LONG ValueName(LONG index, WCHAR* buffer, DWORD size); // size in characters
    std::unique_ptr<CeStrList<>> ValueNames();             // base 0, in the order of creation
    // On the text store these count and name all sections of the file, whichever key is open, root included.
    LONG SubKeyCount();
    LONG SubKeyName(LONG index, WCHAR* buffer, DWORD size);
    std::unique_ptr<CeStrList<>> SubKeyNames();
    // The whole text store as it stands now, for whoever looks up many of its keys; none on the platform registry.
    std::vector<INIFile::Section> CopyOfSections() const;

    LONG FlushKey();
    // Reads each row, its default where that fails; with bWriteBack writes each value back. The first failure, or 0.
    LONG QueryArray(QNREG* rows, DWORD count, bool bWriteBack);
    // Text store: changed since the load. Always false on the platform registry.
    bool Updated(HKEY root, const WCHAR* key);
    bool QueryValueUpdated(const WCHAR* name);
    // Without bForce only for the last object on a changed file. 0x80004005 when it can't be written.
    LONG SaveINIFile(int bForce);

    static bool INIFileInCache(const WCHAR* file);
    // Copies between stores, of strings and double words. All four give 0x80004005 in all cases, also on success, and
    // callers ignore it.
    static LONG ImportINIFile(const WCHAR* file);
    LONG ExportINIFile(HKEY root, const WCHAR* key, const WCHAR* file, CRegistry* out = nullptr);
    static LONG ExportRegistry(HKEY root, const WCHAR* key, const WCHAR* file, CRegistry* out = nullptr);
    LONG AppendINIFile(const WCHAR* file, const WCHAR* find, const WCHAR* replace);
    // Copies the values of the open key of this store to a key of the same store.
    LONG CopyValuesToKey(HKEY root, const WCHAR* key);

    // All cached text files of the process, held until its end. Guarded by the lock of the text stores.
    static CePtrList<INIFile*> INIFileCache;

private:
    bool OnText() const { return m_type == kRegistryText; }
    void SetClosed();
    INIFile::Section* OpenSection();
    INIFile::Value* FindValue(const WCHAR* name);
    LONG SetTextValue(INIFile::Value value);
    void ReleaseFile();
    LONG QueryPlatformString(const WCHAR* name, WCHAR* buffer, DWORD size);
    LONG QueryTextString(const WCHAR* name, WCHAR* buffer, DWORD size);
    LONG ReadDoubleWord(const WCHAR* name, DWORD* value);
    std::vector<INIFile::Value> CopyOfValues();
    void SetValues(const std::vector<INIFile::Value>& values);

    static std::u16string SectionName(HKEY root, const WCHAR* key);
    // The opposite. A section without a root of ours counts as a key of the current user.
    static HKEY SplitSectionName(const std::u16string& section, std::u16string& key);
    static void ExportKey(HKEY root, const std::u16string& key, CRegistry& out, int depth);

    _REGISTRY_TYPE m_type = kRegistryPlatform;
    INIFile* m_pFile = nullptr;     // text store: the cache's, or m_own
    std::unique_ptr<INIFile> m_own; // a file that is not in the cache
    HKEY m_hKey;                    // platform handle, or the index of the section
    std::u16string m_section;       // its name: a deletion or a merge may move the index
};
