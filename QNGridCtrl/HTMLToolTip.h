// A small window over its parent that shows a string of mark-up: as large as the text, inside the parent, never taller
// than it needs. A tap tells its first hot spot to the parent.
#pragma once

#include "NorvoUI/CeWnd.h"
#include "QNGridCtrl/DrawHTML.h"

// Which corner of the tip lies on the point.
inline constexpr int TIP_TOP_LEFT = 1;
inline constexpr int TIP_BOTTOM_LEFT = 2;
inline constexpr int TIP_TOP_RIGHT = 3;
inline constexpr int TIP_BOTTOM_RIGHT = 4;

class QN_API CHTMLToolTip : public CeWnd {
public:
    explicit CHTMLToolTip(HWND hParent);
    ~CHTMLToolTip() override;

    bool Create(HWND hParent); // hidden
    // `point` in the parent's client area. On top of its siblings; its size comes with UpdateToolTip.
    void ShowToolTip(POINT point, int position);
    // New text, size and place; null hides it.
    void UpdateToolTip(LPCWSTR pszText, bool bBigMargin);
    void HideToolTip() { ShowWindow(SW_HIDE); }

    LRESULT OnNotify(int id, NMHDR* header, bool& handled) override;
    LRESULT OnLButtonDown(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnLButtonUp(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnPaint(bool& handled) override;

private:
    SIZE TextSize();
    void Place(SIZE size);

    CHTMLParser m_Text;
    HTMLHotSpots m_HotSpots;
    POINT m_ptAnchor{};
    int m_nPosition = TIP_TOP_LEFT;
    RECT m_rcWindow{}; // in the parent's client area
};
