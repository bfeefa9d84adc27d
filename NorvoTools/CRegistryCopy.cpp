// Copies between the stores: import, export, append.
#include "NorvoTools/CRegistry.h"

#include "NorvoTools/CeString.h"
#include "Platform/strings.h"

namespace {

constexpr int kMaxKeyDepth = 64;
constexpr const WCHAR* kDefaultValueName = u"@"; // of text stores; "" in the platform registry

std::u16string ReplacedAll(std::u16string text, std::u16string_view find, std::u16string_view with) {
    if (find.empty()) return text;
    for (std::size_t at = text.find(find); at != std::u16string::npos; at = text.find(find, at + with.size()))
        text.replace(at, find.size(), with);
    return text;
}

bool IsUnder(const std::u16string& section, const std::u16string& key) {
    if (_wcsnicmp(section.c_str(), key.c_str(), key.size()) != 0) return false;
    return section.size() == key.size() || key.back() == u'\\' || section[key.size()] == u'\\';
}

} // namespace

// Strings and double words of the open platform key, under the names that a text store gives them.
std::vector<INIFile::Value> CRegistry::CopyOfValues() {
    std::vector<INIFile::Value> values;
    const auto names = ValueNames();
    for (const WCHAR* name : *names) {
        INIFile::Value value;
        value.name = name && name[0] ? name : kDefaultValueName;
        QueryValueType(name, &value.type);
        CeString text;
        if (value.type == kValueDoubleWord) {
            if (ReadDoubleWord(name, &value.number) == 0) values.push_back(std::move(value));
        } else if (value.type == kValueString && QueryValue(name, text, nullptr) == 0) {
            value.text = text.View();
            values.push_back(std::move(value));
        }
    }
    return values;
}

void CRegistry::SetValues(const std::vector<INIFile::Value>& values) {
    for (const INIFile::Value& value : values) {
        if (value.name.empty()) continue;
        const WCHAR* name = value.name == kDefaultValueName ? u"" : value.name.c_str();
        if (value.type == kValueDoubleWord)
            SetValue(name, value.number);
        else
            SetValue(name, value.text.c_str());
    }
}

LONG CRegistry::CopyValuesToKey(HKEY root, const WCHAR* key) {
    if (m_hKey == reinterpret_cast<HKEY>(LONG_PTR{-1})) return kFailure;
    if (!OnText()) {
        CRegistry target;
        if (const LONG error = target.OpenKey(root, key)) return error;
        target.SetValues(CopyOfValues());
        return 0;
    }
    const std::u16string source = m_section;
    std::vector<INIFile::Value> values;
    for (const INIFile::Section& section : CopyOfSections())
        if (_wcsicmp(section.name.c_str(), source.c_str()) == 0 && values.empty()) values = section.values;
    if (const LONG error = OpenKey(root, key)) return error;
    SetValues(values);
    std::u16string sourceKey;
    const HKEY sourceRoot = SplitSectionName(source, sourceKey);
    return Exists(sourceRoot, sourceKey.c_str()) ? 0 : kFailure;
}

LONG CRegistry::ImportINIFile(const WCHAR* file) {
    CRegistry source(kRegistryText, file, 0);
    for (const INIFile::Section& section : source.CopyOfSections()) {
        std::u16string key;
        const HKEY root = SplitSectionName(section.name, key);
        CRegistry target;
        if (target.OpenKey(root, key.c_str()) == 0) target.SetValues(section.values);
    }
    return kFailure; // in all cases; nobody looks at it
}

void CRegistry::ExportKey(HKEY root, const std::u16string& key, CRegistry& out, int depth) {
    CRegistry from;
    if (depth > kMaxKeyDepth || !from.Exists(root, key.c_str())) return;
    if (out.OpenKey(root, key.c_str()) == 0) out.SetValues(from.CopyOfValues());
    const auto names = from.SubKeyNames();
    for (const WCHAR* name : *names) ExportKey(root, key + u'\\' + name, out, depth + 1);
}

LONG CRegistry::ExportINIFile(HKEY root, const WCHAR* key, const WCHAR* file, CRegistry* out) {
    std::unique_ptr<CRegistry> made;
    if (!out) {
        made = std::make_unique<CRegistry>(kRegistryText, file);
        out = made.get();
    }
    if (!OnText()) {
        ExportKey(root, key ? key : u"", *out, 0);
        return kFailure; // in all cases; nobody looks at it
    }
    const std::u16string start = SectionName(root, key);
    for (const INIFile::Section& section : CopyOfSections()) {
        if (!IsUnder(section.name, start)) continue;
        std::u16string sectionKey;
        const HKEY sectionRoot = SplitSectionName(section.name, sectionKey);
        if (out->OpenKey(sectionRoot, sectionKey.c_str()) == 0) out->SetValues(section.values);
    }
    return kFailure;
}

LONG CRegistry::ExportRegistry(HKEY root, const WCHAR* key, const WCHAR* file, CRegistry* out) {
    CRegistry platform;
    return platform.ExportINIFile(root, key, file, out);
}

LONG CRegistry::AppendINIFile(const WCHAR* file, const WCHAR* find, const WCHAR* replace) {
    CRegistry source(kRegistryText, file, 0);
    for (const INIFile::Section& section : source.CopyOfSections()) {
        std::u16string key;
        const HKEY root = SplitSectionName(section.name, key);
        if (find && replace) key = ReplacedAll(std::move(key), find, replace);
        if (OpenKey(root, key.c_str()) == 0) SetValues(section.values);
    }
    return kFailure;
}
