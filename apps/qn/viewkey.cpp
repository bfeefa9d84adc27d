#include "apps/qn/viewkey.h"

#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "apps/qn/support.h"

#include <unistd.h>

namespace qn {

ViewKey::~ViewKey() {
    if (!m_copy.empty()) m_settings.DeleteKey(HKEY_CURRENT_USER, m_copy.c_str());
}

DWORD ViewKey::Number(const WCHAR* name, DWORD fallback) const {
    return ReadRegistryWithDefault(Get(), name, fallback);
}

void ViewKey::BeginCopy() {
    if (!m_copy.empty()) return;
    m_copy = Utf16(Utf8(kSuiteKey) + "\\QnView" + std::to_string(getpid()));
    m_settings.DeleteKey(HKEY_CURRENT_USER, m_copy.c_str()); // of an earlier process of this number
    CopyKey({});
}

void ViewKey::CopyKey(const std::u16string& below) {
    const std::u16string tail = below.empty() ? below : u"\\" + below;
    const std::u16string from = m_view + tail, to = m_copy + tail;
    if (m_settings.Exists(HKEY_CURRENT_USER, to.c_str()) ||
        !m_settings.Exists(HKEY_CURRENT_USER, from.c_str()))
        return;
    if (m_settings.OpenKey(HKEY_CURRENT_USER, from.c_str()) == 0)
        m_settings.CopyValuesToKey(HKEY_CURRENT_USER, to.c_str());
    m_settings.CloseKey();
}

void ViewKey::Set(const WCHAR* name, DWORD value, const std::u16string& below) {
    BeginCopy();
    if (!below.empty()) CopyKey(below);
    const std::u16string key = below.empty() ? m_copy : m_copy + u"\\" + below;
    if (SetToRegistry(HKEY_CURRENT_USER, key.c_str(), name, value) != 0)
        throw Failure("the settings can't be written");
}

void ViewKey::SetText(const WCHAR* name, const std::u16string& value) {
    BeginCopy();
    if (SetToRegistrySZ(HKEY_CURRENT_USER, m_copy.c_str(), name, value.c_str()) != 0)
        throw Failure("the settings can't be written");
}

} // namespace qn
