#include "QNWorkerClass/categorycolors.h"

#include "NorvoTools/CRegistry.h"
#include "NorvoTools/CeFile.h"
#include "NorvoTools/paths.h"
#include "NorvoTools/registryfunctions.h"
#include "Platform/files.h"
#include "Platform/registry.h"
#include "Platform/strings.h"
#include "Platform/threads.h"
#include "QNWorkerClass/categories.h"

#include <memory>
#include <mutex>
#include <vector>

namespace {

constexpr const WCHAR* kColorsKey = u"Software\\Norvo\\Quillonary\\Colors\\Categories";
constexpr COLORREF kHighestColor = 0x1000000;
constexpr int kIconPathLimit = 40;
constexpr DWORD kIconFileLimit = 256000;

struct ColorEntry {
    std::u16string szName;
    COLORREF cr;
    WCHAR szText[8];
};
using ColorTable = std::shared_ptr<const std::vector<ColorEntry>>;

std::mutex g_colorsLock;
ColorTable g_colors; // null until initialised

ColorEntry MakeColor(const WCHAR* name, COLORREF cr) {
    ColorEntry entry{name, cr, {}};
    wsprintfW(entry.szText, u"#%.2X%.2X%.2X", cr & 0xFF, (cr >> 8) & 0xFF, (cr >> 16) & 0xFF);
    return entry;
}

ColorTable ReadColors() {
    auto table = std::make_shared<std::vector<ColorEntry>>();
    CRegistry settings;
    if (!settings.Exists(HKEY_CURRENT_USER, kColorsKey)) return table;
    CeStrList<WCHAR*> names(0, 4, 1);
    GetCategories(names, true, 0);
    for (WCHAR* name : names) {
        DWORD cr = 0;
        if (settings.QueryValue(name, &cr, false) == 0 && cr != 0 && cr <= kHighestColor)
            table->push_back(MakeColor(name, cr));
    }
    return table;
}

ColorTable TakeColors() {
    PlatUnended unended;
    std::lock_guard guard(g_colorsLock);
    return g_colors;
}

bool IconExists(const std::u16string& folder, std::u16string_view category, const WCHAR* extension) {
    WCHAR path[240];
    const std::u16string name(category);
    wsprintfW(path, u"%.110s\\%.110s%s", folder.c_str(), name.c_str(), extension);
    return CeFile::Exists(path, false);
}

} // namespace

void CCategoryColorIcons::InitCategoryColors() {
    if (TakeColors()) return;
    ColorTable fresh = ReadColors();
    PlatUnended unended;
    std::lock_guard guard(g_colorsLock);
    if (!g_colors) g_colors = std::move(fresh);
}

void CCategoryColorIcons::ClearInit() {
    PlatUnended unended;
    std::lock_guard guard(g_colorsLock);
    g_colors.reset();
}

void CCategoryColorIcons::Reset() {
    m_szIcons[0] = 0;
    m_nIcons = 0;
    m_szLast.clear();
    m_bColor = m_bIcons = m_bHasColor = false;
    m_color = {};
}

void CCategoryColorIcons::ParseCategory(const WCHAR* text, bool bColor, bool bIcons) {
    if (!text || !*text || (!bColor && !bIcons)) {
        Reset();
        return;
    }
    if (m_szLast == text && m_bColor == bColor && m_bIcons == bIcons) return;
    Reset();
    m_szLast = text;
    m_bColor = bColor;
    m_bIcons = bIcons;
    if (bIcons) {
        WCHAR folder[kIconPathLimit + 1] = {};
        GetFromRegistrySZ(HKEY_CURRENT_USER, kSuiteKey, u"IconPath", folder, kIconPathLimit + 1);
        m_szIconPath = folder;
    }
    std::u16string_view rest = m_szLast;
    for (;;) {
        const std::size_t end = std::min(rest.find(u','), rest.size());
        std::u16string_view piece = rest.substr(0, end);
        if (!piece.empty() && piece.front() == u' ') piece.remove_prefix(1);
        if (bIcons) AddIcon(piece);
        if (bColor) TakeColor(piece);
        if (end == rest.size()) break;
        rest.remove_prefix(end + 1);
    }
}

void CCategoryColorIcons::AddIcon(std::u16string_view category) {
    if (category.find(u'"') != std::u16string_view::npos)
        return; // would leave the tag open to the end of the text
    const WCHAR* extension = IconExists(m_szIconPath, category, u".bmp")   ? u".bmp"
                             : IconExists(m_szIconPath, category, u".png") ? u".png"
                                                                           : nullptr;
    if (!extension) return;
    std::u16string tag = u"<IMG SRC=\"";
    tag.append(category).append(extension).append(u"\">");
    if (m_nIcons + tag.size() >= kIconText) return;
    tag.copy(m_szIcons + m_nIcons, tag.size());
    m_nIcons += tag.size();
    m_szIcons[m_nIcons] = 0;
}

// The last matching category of the text gives the colour.
void CCategoryColorIcons::TakeColor(std::u16string_view category) {
    const ColorTable table = TakeColors();
    if (!table) return;
    for (const ColorEntry& entry : *table) {
        if (entry.szName != category) continue;
        m_color.cr = entry.cr;
        wcscpy(m_color.szText, entry.szText);
        m_bHasColor = true;
    }
}

bool CCategoryColorIcons::GetIconString(WCHAR* dst, bool bNoneIcon) const {
    *dst = 0;
    if (!m_szLast.empty()) {
        wcscpy(dst, m_szIcons);
        return m_nIcons != 0;
    }
    if (!bNoneIcon) return false;
    wcscpy(dst, u"<IMG SRC=\"~NoCategory.bmp\">");
    return true;
}

const WCHAR* CCategoryColorIcons::GetCategoryColorString() const {
    return m_bHasColor ? m_color.szText : nullptr;
}

COLORREF CCategoryColorIcons::GetCategoryColorCR() const {
    return m_bHasColor ? m_color.cr : kNoCategoryColor;
}

void CCategoryDisplay::Init(const WCHAR* folder) {
    m_szFolder = folder ? folder : u"";
    LoadCategoryIcons();
}

void CCategoryDisplay::UnInit() { m_list.Clear(); }

void CCategoryDisplay::LoadCategoryIcons() {
    m_list.Clear();
    for (std::size_t start = 0; start < m_szTypes.size();) {
        const std::size_t dot = std::min(m_szTypes.find(u'.', start), m_szTypes.size());
        const std::u16string type = m_szTypes.substr(start, dot - start);
        start = dot + 1;
        if (type.empty()) continue;
        const std::u16string pattern = m_szFolder + u"\\*." + type;
        WIN32_FIND_DATAW found;
        const HANDLE search = FindFirstFileW(pattern.c_str(), &found);
        if (search == INVALID_HANDLE_VALUE) continue;
        do {
            const bool folder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
            if (!folder && found.nFileSizeHigh == 0 && found.nFileSizeLow < kIconFileLimit)
                m_list.Add(found.cFileName);
        } while (FindNextFileW(search, &found));
        FindClose(search);
    }
    m_list.Sort(true);
}
