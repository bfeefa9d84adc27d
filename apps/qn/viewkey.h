// The settings of a view for one run of a command: the view's own, or, where the command line asks for others, a copy with
// them put in, which goes again with the run.
#pragma once

#include "NorvoTools/CRegistry.h"
#include "Platform/types.h"

#include <string>

namespace qn {

class ViewKey {
public:
    explicit ViewKey(const WCHAR* key) : m_view(key) {}
    ~ViewKey();
    ViewKey(const ViewKey&) = delete;
    ViewKey& operator=(const ViewKey&) = delete;

    const WCHAR* Get() const { return m_copy.empty() ? m_view.c_str() : m_copy.c_str(); }
    // In the copy, or in a key below it ("42250").
    void Set(const WCHAR* name, DWORD value, const std::u16string& below = {});
    void SetText(const WCHAR* name, const std::u16string& value);
    DWORD Number(const WCHAR* name, DWORD fallback) const;

private:
    void BeginCopy();
    void CopyKey(const std::u16string& below);

    std::u16string m_view;
    std::u16string m_copy;
    CRegistry m_settings;
};

} // namespace qn
