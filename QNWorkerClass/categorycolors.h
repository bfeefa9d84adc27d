// The colour and the icons that a user gave to categories, and the files offered as such icons.
#pragma once

#include "NorvoTools/CeStrList.h"
#include "Platform/types.h"

#include <string>

inline constexpr COLORREF kNoCategoryColor = 0xFFB43480; // what the mark-up engine takes as no colour

// One object parses the category texts of one list, one after another; it keeps the last, since neighbours are mostly
// alike. Not shared between threads. The colour table behind it is process-wide and filled once.
class QN_API CCategoryColorIcons {
public:
    CCategoryColorIcons() = default;

    // Colour (of the last coloured category) and icon mark-up of a category text.
    void ParseCategory(const WCHAR* text, bool bColor, bool bIcons);
    // Mark-up of the icons, into a buffer of kIconText characters; true when there is any. Without a parsed text and
    // with bNoneIcon, the icon of "no category".
    bool GetIconString(WCHAR* dst, bool bNoneIcon) const;
    const WCHAR* GetCategoryColorString() const; // "#RRGGBB", null when there is none
    COLORREF GetCategoryColorCR() const;         // kNoCategoryColor when there is none
    void Reset();

    static void InitCategoryColors(); // reads the settings once
    static void ClearInit();          // the next InitCategoryColors reads again

    static constexpr std::size_t kIconText = 2249;

private:
    struct Color {
        COLORREF cr = kNoCategoryColor;
        WCHAR szText[8] = {};
    };
    void AddIcon(std::u16string_view category);
    void TakeColor(std::u16string_view category);

    WCHAR m_szIcons[kIconText] = {};
    std::u16string m_szLast;
    std::u16string m_szIconPath;
    std::size_t m_nIcons = 0;
    bool m_bColor = false;
    bool m_bIcons = false;
    bool m_bHasColor = false;
    Color m_color;
};

// The icon files of a folder, by their types.
class QN_API CCategoryDisplay {
public:
    explicit CCategoryDisplay(const WCHAR* folder) { Init(folder); }
    CCategoryDisplay(const WCHAR* folder, const WCHAR* types) {
        SetGraphicTypes(types);
        Init(folder);
    }

    void SetGraphicTypes(const WCHAR* types) { m_szTypes = types ? types : u""; } // ".bmp.png"
    void Init(const WCHAR* folder);                                               // clears and loads
    void UnInit();
    CeStrList<WCHAR*>& GetList() { return m_list; } // names, sorted
    void LoadCategoryIcons();

private:
    CeStrList<WCHAR*> m_list{0, 4, 6};
    std::u16string m_szFolder;
    std::u16string m_szTypes = u".bmp";
};
