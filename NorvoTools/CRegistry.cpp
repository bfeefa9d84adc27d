#include "NorvoTools/CRegistry.h"

#include "NorvoTools/CeCriticalSection.h"
#include "NorvoTools/CeFile.h"
#include "NorvoTools/CeString.h"
#include "NorvoTools/paths.h"
#include "Platform/strings.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

CePtrList<CRegistry::INIFile*> CRegistry::INIFileCache(0, PTRLIST_DELETE);

namespace {

// The one lock of all text stores: their cache, what is in them, and their saving.
CeCriticalSection s_textStores;

constexpr const WCHAR* kDefaultFile = u"%s\\Norvo\\Settings.txt";
constexpr const WCHAR* kDefaultValueName = u"@"; // in text stores; "" in the platform registry
constexpr DWORD kPlatformStringChars = 200;
constexpr DWORD kFirstStringBytes = 260;
constexpr DWORD kMaxNameChars = 16384; // of a key or value in the platform registry

LONG Negated(LONG error) { return -std::abs(error); }

const HKEY kClosed = reinterpret_cast<HKEY>(LONG_PTR{-1});

// A name with "%s" lies in the suite directory.
std::u16string FullFileName(const WCHAR* file) {
    std::u16string name(file);
    if (const std::size_t at = name.find(u"%s"); at != std::u16string::npos)
        name.replace(at, 2, GetNorvoDirectory());
    return name;
}

std::u16string KeyPath(const WCHAR* key) {
    std::u16string_view path = key ? key : u"";
    while (!path.empty() && path.front() == u'\\') path.remove_prefix(1);
    while (!path.empty() && path.back() == u'\\') path.remove_suffix(1);
    return std::u16string(path);
}

const WCHAR* RootName(HKEY root) {
    if (root == HKEY_LOCAL_MACHINE) return u"HKEY_LOCAL_MACHINE";
    if (root == HKEY_CLASSES_ROOT) return u"HKEY_CLASSES_ROOT";
    if (root == HKEY_USERS) return u"HKEY_USERS";
    return u"HKEY_CURRENT_USER"; // and so does any other number
}

const WCHAR* TextName(const WCHAR* name) { return name && name[0] ? name : kDefaultValueName; }

INIFile* FindCached(const std::u16string& name) {
    for (INIFile* file : CRegistry::INIFileCache)
        if (_wcsicmp(file->FileName().c_str(), name.c_str()) == 0) return file;
    return nullptr;
}

void CopyText(WCHAR* buffer, DWORD size, std::u16string_view text) {
    text = text.substr(0, size - 1);
    std::copy(text.begin(), text.end(), buffer);
    buffer[text.size()] = 0;
}

} // namespace

// --- Making and leaving ---------------------------------------------------------------------------------------------

CRegistry::CRegistry(_REGISTRY_TYPE type) : CRegistry(type, nullptr) {}
CRegistry::CRegistry(const WCHAR* file) : CRegistry(kRegistryText, file) {}
CRegistry::CRegistry(_REGISTRY_TYPE type, const WCHAR* file, int bCache) {
    SetClosed();
    SetRegistryType(type, file ? file : kDefaultFile, bCache);
}

CRegistry::~CRegistry() {
    CloseKey();
    ReleaseFile();
}

void CRegistry::SetClosed() { m_hKey = kClosed; }

// The last object on a changed file writes it. The file itself stays in the cache, so who comes next finds what is in
// memory.
void CRegistry::ReleaseFile() {
    if (!m_pFile) return;
    // Over both: of two objects that go at once one must see that it is the last.
    CeSectionLock lock(s_textStores);
    SaveINIFile(false);
    if (!m_own) --m_pFile->m_nRefs;
    m_pFile = nullptr;
    m_own.reset();
}

LONG CRegistry::SetRegistryType(_REGISTRY_TYPE type, const WCHAR* file, int bCache) {
    CloseKey();
    ReleaseFile();
    m_type = type;
    if (!OnText()) return 0;
    if (!file || !file[0]) return kNoFileName;
    const std::u16string name = FullFileName(file);
    CeSectionLock lock(s_textStores);
    if (INIFile* cached = FindCached(name)) {
        ++cached->m_nRefs;
        m_pFile = cached;
        return 0;
    }
    if (!CeFile::Exists(name.c_str(), false)) CeFile::CreatePath(name.c_str());
    auto loaded = std::make_unique<INIFile>(name);
    loaded->Load(); // a file that can't be read is an empty store, and nobody hears of it
    loaded->m_nRefs = 1;
    m_pFile = loaded.get();
    if (bCache)
        INIFileCache.Add(loaded.release());
    else
        m_own = std::move(loaded);
    return 0;
}

const WCHAR* CRegistry::INIFileName() const {
    return OnText() && m_pFile ? m_pFile->FileName().c_str() : u"";
}

std::vector<CRegistry::INIFile::Section> CRegistry::CopyOfSections() const {
    CeSectionLock lock(s_textStores);
    return m_pFile ? m_pFile->Sections() : std::vector<INIFile::Section>();
}

bool CRegistry::INIFileInCache(const WCHAR* file) {
    if (!file) return false;
    CeSectionLock lock(s_textStores);
    return FindCached(FullFileName(file)) != nullptr;
}

LONG CRegistry::SaveINIFile(int bForce) {
    if (!m_pFile) return OnText() ? kFailure : 0;
    CeSectionLock lock(s_textStores);
    const bool last = m_own || m_pFile->m_nRefs <= 1;
    if (!bForce && !(m_pFile->IsDirty() && last)) return 0;
    return m_pFile->Save();
}

std::u16string CRegistry::SectionName(HKEY root, const WCHAR* key) {
    return std::u16string(RootName(root)) + u'\\' + KeyPath(key);
}

HKEY CRegistry::SplitSectionName(const std::u16string& section, std::u16string& key) {
    for (HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_CLASSES_ROOT, HKEY_USERS}) {
        const std::u16string start = std::u16string(RootName(root)) + u'\\';
        if (_wcsnicmp(section.c_str(), start.c_str(), start.size()) != 0) continue;
        key = section.substr(start.size());
        return root;
    }
    key = section;
    return HKEY_CURRENT_USER;
}

// --- Keys -----------------------------------------------------------------------------------------------------------

// The section behind the open key. Its index may have moved since the opening, so the name decides. The lock is held.
INIFile::Section* CRegistry::OpenSection() {
    if (!m_pFile || m_hKey == kClosed) return nullptr;
    auto& sections = m_pFile->Sections();
    const auto index = reinterpret_cast<std::size_t>(m_hKey);
    if (index < sections.size() && _wcsicmp(sections[index].name.c_str(), m_section.c_str()) == 0)
        return &sections[index];
    INIFile::Section* section = m_pFile->Find(m_section);
    if (section) m_hKey = reinterpret_cast<HKEY>(section - sections.data());
    return section;
}

LONG CRegistry::OpenKey(HKEY root, const WCHAR* key, DWORD* disposition) {
    CloseKey();
    DWORD made = 0;
    if (!OnText()) {
        HKEY opened = nullptr;
        const LONG error = RegCreateKeyExW(root, key, 0, nullptr, 0, 0, nullptr, &opened, &made);
        if (error) return Negated(error);
        m_hKey = opened;
    } else {
        if (!m_pFile) return kFailure;
        CeSectionLock lock(s_textStores);
        bool isNew = false;
        m_section = SectionName(root, key);
        const INIFile::Section& section = m_pFile->Open(m_section, isNew);
        m_hKey = reinterpret_cast<HKEY>(&section - m_pFile->Sections().data());
        made = isNew ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
    }
    if (disposition) *disposition = made;
    return 0;
}

void CRegistry::CloseKey() {
    if (!OnText() && m_hKey != kClosed) RegCloseKey(m_hKey);
    SetClosed();
    m_section.clear();
}

bool CRegistry::Exists(HKEY root, const WCHAR* key) {
    CloseKey();
    if (!OnText()) {
        HKEY opened = nullptr;
        if (RegOpenKeyExW(root, key, 0, 0, &opened)) return false;
        m_hKey = opened;
        return true;
    }
    if (!m_pFile) return false;
    CeSectionLock lock(s_textStores);
    const std::u16string name = SectionName(root, key);
    const INIFile::Section* section = m_pFile->Find(name);
    if (!section) return false;
    m_section = name;
    m_hKey = reinterpret_cast<HKEY>(section - m_pFile->Sections().data());
    return true;
}

LONG CRegistry::DeleteKey(HKEY root, const WCHAR* key) {
    CloseKey();
    if (!OnText()) return Negated(RegDeleteKeyW(root, key));
    if (!m_pFile) return kFailure;
    CeSectionLock lock(s_textStores);
    return m_pFile->Delete(SectionName(root, key)) ? 0 : kFailure;
}

LONG CRegistry::FlushKey() {
    if (OnText()) return 0;
    return m_hKey == kClosed ? kFailure : Negated(RegFlushKey(m_hKey));
}

LONG CRegistry::SubKeyCount() {
    if (OnText()) {
        CeSectionLock lock(s_textStores);
        return m_pFile ? static_cast<LONG>(m_pFile->Sections().size()) : 0;
    }
    DWORD count = 0;
    if (m_hKey == kClosed || RegQueryInfoKeyW(m_hKey, nullptr, nullptr, nullptr, &count, nullptr, nullptr,
                                              nullptr, nullptr, nullptr, nullptr, nullptr))
        return 0;
    return static_cast<LONG>(count);
}

LONG CRegistry::SubKeyName(LONG index, WCHAR* buffer, DWORD size) {
    if (!buffer || size == 0) return kFailure;
    if (!OnText()) {
        if (m_hKey == kClosed) return kFailure;
        return Negated(RegEnumKeyExW(m_hKey, static_cast<DWORD>(index), buffer, &size, nullptr, nullptr,
                                     nullptr, nullptr));
    }
    CeSectionLock lock(s_textStores);
    if (!m_pFile || index < 0 || index >= SubKeyCount()) return -static_cast<LONG>(ERROR_NO_MORE_ITEMS);
    CopyText(buffer, size, m_pFile->Sections()[static_cast<std::size_t>(index)].name);
    return 0;
}

std::unique_ptr<CeStrList<>> CRegistry::SubKeyNames() {
    auto names = std::make_unique<CeStrList<>>(0, STRLIST_WCSDUP, STRCOMPARE_LOCALENOCASE);
    if (OnText()) {
        CeSectionLock lock(s_textStores);
        if (m_pFile)
            for (const INIFile::Section& section : m_pFile->Sections()) names->Add(section.name.c_str());
        return names;
    }
    std::vector<WCHAR> name(kMaxNameChars);
    for (LONG i = 0; SubKeyName(i, name.data(), kMaxNameChars) == 0; ++i) names->Add(name.data());
    return names;
}

bool CRegistry::Updated(HKEY root, const WCHAR* key) {
    if (!OnText() || !m_pFile) return false;
    CeSectionLock lock(s_textStores);
    const INIFile::Section* section = m_pFile->Find(SectionName(root, key));
    return section && section->changed;
}

// --- Values ---------------------------------------------------------------------------------------------------------

INIFile::Value* CRegistry::FindValue(const WCHAR* name) {
    INIFile::Section* section = OpenSection();
    return section ? section->Find(TextName(name)) : nullptr;
}

bool CRegistry::QueryValueUpdated(const WCHAR* name) {
    if (!OnText()) return false;
    CeSectionLock lock(s_textStores);
    const INIFile::Value* value = FindValue(name);
    return value && value->changed;
}

LONG CRegistry::QueryValueType(const WCHAR* name, DWORD* type) {
    if (!type || m_hKey == kClosed) return kFailure;
    if (!OnText()) return Negated(RegQueryValueExW(m_hKey, name, nullptr, type, nullptr, nullptr));
    CeSectionLock lock(s_textStores);
    const INIFile::Value* value = FindValue(name);
    if (!value) return kFailure;
    *type = value->type;
    return 0;
}

LONG CRegistry::ReadDoubleWord(const WCHAR* name, DWORD* value) {
    if (!value || m_hKey == kClosed) return kFailure;
    if (OnText()) {
        CeSectionLock lock(s_textStores);
        const INIFile::Value* found = FindValue(name);
        if (!found || found->type != kValueDoubleWord) return kFailure;
        *value = found->number;
        return 0;
    }
    DWORD type = 0;
    DWORD read = 0;
    DWORD size = sizeof(read);
    if (const LONG error =
            RegQueryValueExW(m_hKey, name, nullptr, &type, reinterpret_cast<BYTE*>(&read), &size))
        return Negated(error);
    if (type != REG_DWORD || size != sizeof(read)) return kFailure;
    *value = read;
    return 0;
}

LONG CRegistry::QueryValue(const WCHAR* name, DWORD* value, bool bWriteBack) {
    const LONG result = ReadDoubleWord(name, value);
    if (result != 0 && bWriteBack && value && *value != 0) SetValue(name, *value);
    return result;
}

LONG CRegistry::QueryValue(const WCHAR* name, LONG* value, bool bWriteBack) {
    return QueryValue(name, reinterpret_cast<DWORD*>(value), bWriteBack);
}

LONG CRegistry::QueryPlatformString(const WCHAR* name, WCHAR* buffer, DWORD size) {
    if (!buffer) return kFailure;
    if (size == 0) size = kPlatformStringChars;
    DWORD type = 0;
    if (const LONG error = RegQueryValueExW(m_hKey, name, nullptr, &type, nullptr, nullptr))
        return Negated(error);
    if (type != REG_SZ) return kFailure;
    DWORD bytes = size * sizeof(WCHAR);
    if (const LONG error =
            RegQueryValueExW(m_hKey, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer), &bytes))
        return Negated(error);
    // Other programs store strings without their terminator.
    buffer[std::min<DWORD>(bytes / sizeof(WCHAR), size - 1)] = 0;
    return 0;
}

LONG CRegistry::QueryTextString(const WCHAR* name, WCHAR* buffer, DWORD size) {
    CeSectionLock lock(s_textStores);
    const INIFile::Value* value = FindValue(name);
    if (!value || value->type != kValueString) return kFailure;
    if (!buffer) return size == 0 ? static_cast<LONG>(value->text.size()) : kFailure;
    CopyText(buffer, size == 0 ? static_cast<DWORD>(value->text.size()) + 1 : size, value->text);
    return 0;
}

LONG CRegistry::QueryValue(const WCHAR* name, WCHAR* buffer, DWORD size, bool bWriteBack) {
    if (m_hKey == kClosed) return kFailure;
    const LONG result =
        OnText() ? QueryTextString(name, buffer, size) : QueryPlatformString(name, buffer, size);
    if (result < 0 && bWriteBack && buffer) SetValue(name, buffer);
    return result;
}

LONG CRegistry::QueryValue(const WCHAR* name, CeString& value, const WCHAR* defaultText) {
    if (OnText()) return kFailure;
    LONG result = kFailure;
    if (m_hKey != kClosed) {
        std::vector<WCHAR> buffer(kFirstStringBytes / sizeof(WCHAR));
        result = QueryPlatformString(name, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (result == -static_cast<LONG>(ERROR_MORE_DATA)) {
            DWORD bytes = 0;
            RegQueryValueExW(m_hKey, name, nullptr, nullptr, nullptr, &bytes);
            buffer.resize(bytes / sizeof(WCHAR) + 1);
            result = QueryPlatformString(name, buffer.data(), static_cast<DWORD>(buffer.size()));
        }
        if (result == 0) value = buffer.data();
    }
    if (result != 0 && defaultText) value = defaultText;
    return result;
}

LONG CRegistry::QueryBinValue(const WCHAR* name, BYTE* buffer, DWORD* size) {
    if (OnText() || m_hKey == kClosed || !size) return kFailure;
    DWORD type = 0;
    return Negated(RegQueryValueExW(m_hKey, name, nullptr, &type, buffer, size));
}

LONG CRegistry::SetBinValue(const WCHAR* name, const BYTE* bytes, DWORD size) {
    if (OnText() || m_hKey == kClosed) return kFailure;
    return Negated(RegSetValueExW(m_hKey, name, 0, REG_BINARY, bytes, size));
}

LONG CRegistry::SetTextValue(INIFile::Value value) {
    CeSectionLock lock(s_textStores);
    INIFile::Section* section = OpenSection();
    if (!section) return kFailure;
    section->Set(std::move(value));
    m_pFile->SetDirty();
    return 0;
}

LONG CRegistry::SetValue(const WCHAR* name, DWORD value) {
    if (OnText()) return SetTextValue({TextName(name), {}, value, kValueDoubleWord, true});
    if (m_hKey == kClosed) return kFailure;
    return Negated(
        RegSetValueExW(m_hKey, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value)));
}

LONG CRegistry::SetValue(const WCHAR* name, const WCHAR* text) {
    if (!text) text = u"";
    if (OnText()) return SetTextValue({TextName(name), text, 0, kValueString, true});
    if (m_hKey == kClosed) return kFailure;
    const auto bytes = static_cast<DWORD>((wcslen(text) + 1) * sizeof(WCHAR));
    return Negated(RegSetValueExW(m_hKey, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), bytes));
}

LONG CRegistry::DeleteValue(const WCHAR* name) {
    if (m_hKey == kClosed) return kFailure;
    if (!OnText()) return Negated(RegDeleteValueW(m_hKey, name));
    CeSectionLock lock(s_textStores);
    INIFile::Section* section = OpenSection();
    if (!section) return kFailure;
    if (!section->Delete(TextName(name))) return kNoSuchValue;
    m_pFile->SetDirty();
    return 0;
}

LONG CRegistry::ValueCount() {
    if (m_hKey == kClosed) return 0;
    if (OnText()) {
        CeSectionLock lock(s_textStores);
        const INIFile::Section* section = OpenSection();
        return section ? static_cast<LONG>(section->values.size()) : 0;
    }
    DWORD count = 0;
    if (RegQueryInfoKeyW(m_hKey, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count, nullptr,
                         nullptr, nullptr, nullptr))
        return 0;
    return static_cast<LONG>(count);
}

LONG CRegistry::ValueCount(HKEY root, const WCHAR* key) { return Exists(root, key) ? ValueCount() : 0; }

LONG CRegistry::ValueName(LONG index, WCHAR* buffer, DWORD size) {
    if (!buffer || size == 0 || m_hKey == kClosed) return kFailure;
    if (!OnText())
        return Negated(RegEnumValueW(m_hKey, static_cast<DWORD>(index), buffer, &size, nullptr, nullptr,
                                     nullptr, nullptr));
    CeSectionLock lock(s_textStores);
    const INIFile::Section* section = OpenSection();
    if (!section) return kFailure;
    if (index < 0 || static_cast<std::size_t>(index) >= section->values.size())
        return -static_cast<LONG>(ERROR_NO_MORE_ITEMS);
    CopyText(buffer, size, section->values[static_cast<std::size_t>(index)].name);
    return 0;
}

std::unique_ptr<CeStrList<>> CRegistry::ValueNames() {
    auto names = std::make_unique<CeStrList<>>(0, STRLIST_WCSDUP, STRCOMPARE_LOCALENOCASE);
    if (OnText()) {
        CeSectionLock lock(s_textStores);
        if (const INIFile::Section* section = OpenSection())
            for (const INIFile::Value& value : section->values) names->Add(value.name.c_str());
        return names;
    }
    std::vector<WCHAR> name(kMaxNameChars);
    for (LONG i = 0; ValueName(i, name.data(), kMaxNameChars) == 0; ++i) names->Add(name.data());
    return names;
}

LONG CRegistry::QueryArray(QNREG* rows, DWORD count, bool bWriteBack) {
    LONG result = 0;
    for (QNREG* row = rows; row != rows + count; ++row) {
        const LONG read = ReadDoubleWord(row->szName, row->pdwValue);
        if (read != 0) *row->pdwValue = row->dwDefault;
        if (read != 0 && result == 0) result = read;
        if (bWriteBack) SetValue(row->szName, *row->pdwValue);
    }
    return result;
}
