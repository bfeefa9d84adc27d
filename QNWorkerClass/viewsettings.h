// Reading the settings of one view: a key that is open for reading, if it is there. Reading settings never makes a key.
#pragma once

#include "NorvoTools/CRegistry.h"
#include "Platform/strings.h"

#include <algorithm>
#include <cstddef>
#include <initializer_list>

class ViewSettings {
public:
    // Under HKEY_CURRENT_USER. One at a time for a registry object.
    ViewSettings(CRegistry& registry, const WCHAR* key)
        : m_registry(registry), m_bOpen(registry.Exists(HKEY_CURRENT_USER, key)) {}
    ~ViewSettings() {
        if (m_bOpen) m_registry.CloseKey();
    }
    ViewSettings(const ViewSettings&) = delete;
    ViewSettings& operator=(const ViewSettings&) = delete;

    LONG Number(const WCHAR* name, LONG defaultValue) const {
        LONG value;
        return m_bOpen && m_registry.QueryValue(name, &value) == 0 ? value : defaultValue;
    }
    bool AnySet(std::initializer_list<const WCHAR*> names) const {
        return std::any_of(names.begin(), names.end(),
                           [this](const WCHAR* name) { return Number(name, 0) != 0; });
    }
    template<std::size_t N>
    void Text(const WCHAR* name, WCHAR (&text)[N], const WCHAR* defaultText) const {
        if (m_bOpen && m_registry.QueryValue(name, text, static_cast<DWORD>(N)) == 0) return;
        std::copy_n(defaultText, wcslen(defaultText) + 1, text);
    }

private:
    CRegistry& m_registry;
    bool m_bOpen;
};
