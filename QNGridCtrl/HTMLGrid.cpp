// A grid as a window: its life, and its messages to where they are answered.
#include "QNGridCtrl/HTMLGrid.h"

#include "NorvoTools/globals.h"
#include "NorvoUI/hidpi.h"

CHTMLGrid::CHTMLGrid()
    : m_wScrollRegion(static_cast<WORD>(ScalePx(g_HIDPI_LogPixelsX, 20))),
      m_nScrollingSensitivity(ScalePx(g_HIDPI_LogPixelsX, 4)) {}

CHTMLGrid::CHTMLGrid(HWND hParent, const RECT& rect, bool bVirtual, LPCWSTR pszName) : CHTMLGrid() {
    InitWindow(hParent, rect, bVirtual, pszName);
}

CHTMLGrid::~CHTMLGrid() {
    if (m_hWnd) DestroyWindow();
}

bool CHTMLGrid::SetKeysScrollMode(WORD mode) {
    if (mode > GRID_SCROLL_CURRENT) return false;
    m_nKeysScrollMode = mode;
    return true;
}

// --- Messages -----------------------------------------------------------------------------------------------------

LRESULT CHTMLGrid::OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) {
    handled = true;
    if (msg == WM_HSCROLL) return OnHScroll(LOWORD(wParam), HIWORD(wParam));
    if (msg == WM_VSCROLL) return OnVScroll(LOWORD(wParam), HIWORD(wParam));
    if (OnScrollMessage(msg, LOWORD(lParam))) return 0;
    handled = false;
    return OnInputMessage(msg, wParam, lParam, handled);
}

LRESULT CHTMLGrid::OnTimer(WPARAM id, bool& handled) {
    handled = true;
    if (OnScrollTimer(id))
        OnAutoScrolled();
    else
        handled = OnInputTimer(id);
    return 0;
}

LRESULT CHTMLGrid::OnHScroll(UINT code, int) { return OnBar(SB_HORZ, code); }
LRESULT CHTMLGrid::OnVScroll(UINT code, int) { return OnBar(SB_VERT, code); }

LRESULT CHTMLGrid::OnNotify(int, NMHDR* header, bool& handled) {
    handled = true;
    switch (header->code) {
    case HTMLN_IMAGE:
        return OnInlineImageNotify(*reinterpret_cast<tagNM_IMAGENOTIFY*>(header));
    case GRIDN_HOT_SPOT:
        return OnHotspotNotify(*reinterpret_cast<tagNM_GRIDVIEW*>(header));
    case GRIDN_CLICK:
        return OnClick(*reinterpret_cast<tagNM_GRIDVIEW*>(header));
    default:
        handled = false;
        return 0;
    }
}

LRESULT CHTMLGrid::OnHotspotNotify(tagNM_GRIDVIEW& view) { return NotifyOwner(view); }

bool CHTMLGrid::OnInlineImageNotify(tagNM_IMAGENOTIFY& image) {
    image.pImage = m_Images.Find({image.pszSource, image.hdr.idFrom}, image.bFromResource);
    return image.pImage != nullptr;
}
