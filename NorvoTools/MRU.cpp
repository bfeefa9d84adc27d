#include "NorvoTools/MRU.h"

#include "NorvoTools/CRegistry.h"
#include "NorvoTools/CeFile.h"
#include "NorvoTools/CeString.h"
#include "Platform/strings.h"
#include "Platform/windows.h"

#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr UINT kListBoxAdd = 384;
constexpr UINT kComboBoxReset = 331;
constexpr UINT kComboBoxAdd = 323;

std::u16string ListKey(const WCHAR* name) {
    return std::u16string(u"Software\\Norvo\\Quillonary\\Menus\\") + (name ? name : u"") + u"\\MRU";
}

std::u16string EntryName(std::size_t number) {
    WCHAR text[16];
    wsprintfW(text, u"%i", static_cast<int>(number));
    return text;
}

// The entries of the open key, newest first, which is their order of creation; `at most` names are looked at.
std::vector<std::u16string> Entries(CRegistry& registry, int atMost,
                                    std::vector<std::u16string>* valueNames = nullptr) {
    std::vector<std::u16string> entries;
    const auto names = registry.ValueNames();
    for (const WCHAR* name : *names) {
        if (atMost-- == 0) break;
        CeString text;
        if (registry.QueryValue(name, text, nullptr) != 0) continue;
        entries.emplace_back(text.View());
        if (valueNames) valueNames->emplace_back(name);
    }
    return entries;
}

// Puts one entry after the other into whatever is to be filled.
class Filler {
public:
    Filler(HWND window, int id, MruTarget mode, CeStrList<>* list)
        : m_window(window), m_id(id), m_mode(mode), m_list(list) {
        const bool control = mode == MruTarget::ListBox || mode == MruTarget::ComboBox;
        if (HWND child = control && window && id ? GetDlgItem(window, id) : nullptr) m_window = child;
        if (mode == MruTarget::ComboBox) SendMessageW(m_window, kComboBoxReset, 0, 0);
    }
    void Add(const std::u16string& text, std::size_t index) {
        const auto parameter = reinterpret_cast<LPARAM>(text.c_str());
        switch (m_mode) {
        case MruTarget::ListBox:
            SendMessageW(m_window, kListBoxAdd, 0, parameter);
            break;
        case MruTarget::ComboBox:
            SendMessageW(m_window, kComboBoxAdd, 0, parameter);
            break;
        case MruTarget::Menu:
            AppendMenuW(reinterpret_cast<HMENU>(m_window), 0, static_cast<ULONG_PTR>(m_id) + index,
                        text.c_str());
            break;
        case MruTarget::List:
            if (m_list) m_list->Add(text.c_str());
            break;
        }
    }
    void Show() const {
        if (m_window && m_mode != MruTarget::Menu) ShowWindow(m_window, SW_SHOW);
    }

private:
    HWND m_window;
    int m_id;
    MruTarget m_mode;
    CeStrList<>* m_list;
};

} // namespace

void MRUSave(const WCHAR* name, const WCHAR* text) {
    if (!text || !text[0]) return;
    const std::u16string key = ListKey(name);
    CRegistry registry;
    if (registry.OpenKey(HKEY_CURRENT_USER, key.c_str()) != 0) return;
    std::vector<std::u16string> list = {text};
    for (std::u16string& entry : Entries(registry, kMruMax))
        if (lstrcmpW(entry.c_str(), text) != 0 && list.size() < kMruMax) list.push_back(std::move(entry));
    registry.DeleteKey(HKEY_CURRENT_USER, key.c_str());
    if (registry.OpenKey(HKEY_CURRENT_USER, key.c_str()) != 0) return;
    for (std::size_t i = 0; i < list.size(); ++i) registry.SetValue(EntryName(i).c_str(), list[i].c_str());
}

void MRUStrings(const WCHAR* name, WCHAR*** strings, DWORD* count) {
    if (!strings || !count) return;
    CleanupMRUStrings(strings, *count);
    CeString text;
    CRegistry registry;
    // The entry "1", the second one, is the only one that this reads.
    if (registry.ValueCount(HKEY_CURRENT_USER, ListKey(name).c_str()) > 0) {
        registry.QueryValue(u"1", text, nullptr);
        *count = 1;
    }
    *strings = static_cast<WCHAR**>(std::malloc(sizeof(WCHAR*)));
    if (*strings) **strings = _wcsdup(text.GetStr());
}

void CleanupMRUStrings(WCHAR*** strings, DWORD count) {
    if (!strings || !*strings) return;
    // An array for an empty list has one element too, whatever the count says.
    for (DWORD i = 0; i < (count ? count : 1); ++i) std::free((*strings)[i]);
    std::free(*strings);
    *strings = nullptr;
}

void MRU(HWND window, const WCHAR* name, int id, MruTarget mode, bool bCheckFiles, CeStrList<>* list) {
    Filler filler(window, id, mode, list);
    CRegistry registry;
    if (!registry.Exists(HKEY_CURRENT_USER, ListKey(name).c_str())) return;
    std::vector<std::u16string> valueNames;
    const std::vector<std::u16string> entries = Entries(registry, -1, &valueNames);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (bCheckFiles && !CeFile::Exists(entries[i].c_str(), false))
            registry.DeleteValue(valueNames[i].c_str());
        else
            filler.Add(entries[i], i);
    }
    if (registry.ValueCount() > 0) filler.Show();
}
