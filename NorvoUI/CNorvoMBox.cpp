#include "NorvoUI/CNorvoMBox.h"

#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/registry.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

thread_local CNorvoMBox* t_pCurrent = nullptr;

std::u16string PromptsKey() { return std::u16string(kSuiteKey) + u"\\Prompts"; }

bool HasButton(UINT type, int button) {
    for (const int* id = MessageBoxButtons(type); *id != 0; ++id)
        if (*id == button) return true;
    return false;
}

} // namespace

const int* MessageBoxButtons(UINT type) {
    static constexpr std::array<std::array<int, 4>, 6> kButtons = {{
        {IDOK},
        {IDOK, IDCANCEL},
        {IDABORT, IDRETRY, IDIGNORE},
        {IDYES, IDNO, IDCANCEL},
        {IDYES, IDNO},
        {IDRETRY, IDCANCEL},
    }};
    const UINT kind = type & MB_TYPEMASK;
    return kButtons[kind < kButtons.size() ? kind : 0].data();
}

CNorvoMBox::CNorvoMBox(LPCWSTR key) : m_key(key ? key : u"") {}

int CNorvoMBox::Ask(HWND hOwner, LPCWSTR text, LPCWSTR caption, UINT type) {
    const int remembered = CanRemember() ? GetRemembered(m_key.c_str()) : 0;
    if (remembered != IDCANCEL && HasButton(type, remembered)) return remembered;
    m_remember = false;
    CNorvoMBox* const outer = std::exchange(t_pCurrent, this);
    const int answer = MessageBoxW(hOwner, text, caption, type);
    t_pCurrent = outer;
    if (m_remember && CanRemember()) Remember(m_key.c_str(), answer);
    return answer;
}

// A plain box that comes up while this one is shown is none of it.
CNorvoMBox* CNorvoMBox::TakeCurrent() { return std::exchange(t_pCurrent, nullptr); }

LPCWSTR CNorvoMBox::GetButtonText(int button) const {
    const auto text = m_texts.find(button);
    return text == m_texts.end() ? nullptr : text->second.c_str();
}

// --- What is remembered -------------------------------------------------------------------------------------------

int CNorvoMBox::GetRemembered(LPCWSTR key) {
    return static_cast<int>(ReadRegistryWithDefault(PromptsKey().c_str(), key, 0));
}

void CNorvoMBox::Remember(LPCWSTR key, int answer) {
    if (answer == IDCANCEL) return; // to be asked never again and nothing ever done
    SetToRegistry(HKEY_CURRENT_USER, PromptsKey().c_str(), key, static_cast<DWORD>(answer));
}

void CNorvoMBox::Forget(LPCWSTR key) { DeleteRegistryValue(HKEY_CURRENT_USER, PromptsKey().c_str(), key); }

void CNorvoMBox::ForgetAll() { RegDeleteKeyW(HKEY_CURRENT_USER, PromptsKey().c_str()); }
