// What a grid and its owner, the parent window, say to each other.
//
// Messages (GRIDM_) are sent with wParam 0 and a tagNM_GRIDVIEW in lParam unless told otherwise, those of an object's
// drag (2028 to 2032) with a tagGRIDDRAG, and wParam the window under it. Notifications (GRIDN_) are WM_NOTIFY, with the
// grid's id in wParam. Texts in a record belong to its sender; a text that the owner hands over is parsed at once, so
// that it may be freed or used again at the next message. What is typed goes on to the owner as WM_CHAR, Delete as
// WM_KEYDOWN.
#pragma once

#include "QNGridCtrl/HTMLGridCells.h"

// --- Numbers ------------------------------------------------------------------------------------------------------

inline constexpr UINT GRIDM_CELL = 2021;          // tagNM_GRIDCELL: the mark-up of a cell that isn't there
inline constexpr UINT GRIDM_SELECTION_TIP = 2022; // text of the tip while a selection is dragged
inline constexpr UINT GRIDM_SCROLL_TIP = 2023;    // text of the scroll bar's tip for a row
inline constexpr UINT GRIDM_FLOATER_TIP = 2024;   // text of the tip while a floater is dragged
inline constexpr UINT GRIDM_FLOATER_TO =
    2025; // may it go there from the cell wParam? 0 no; 2 in its column; 1 in its row; else both
inline constexpr UINT GRIDM_FLOATER_TEXT = 2026;  // pszText: the mark-up of the floater dwData; null: none
inline constexpr UINT GRIDM_FLOATER_MOVED = 2027; // its drag is over
inline constexpr UINT GRIDM_DROP_QUERY = 2028;    // to the window under a drag: would it accept?
inline constexpr UINT GRIDM_DROP_ALLOWED = 2029;  // to the owner: is that target allowed?
inline constexpr UINT GRIDM_DROP = 2030;          // dropped; wParam null: nowhere that accepts
inline constexpr UINT GRIDM_DRAG_BEGIN = 2031;    // may a drag begin?
inline constexpr UINT GRIDM_DRAG_TIP = 2032;      // pszTip: text of the drag's tip; 1: none
inline constexpr UINT GRIDM_DRAG_IMAGES = 2033;   // an image list, the grid's from then on; dwData the index
inline constexpr UINT GRIDM_EDIT_BEGIN = 2034;    // tagNM_GRIDVIEW: may this cell be edited?
inline constexpr UINT GRIDM_EDIT_END = 2035;      // tagNM_GRIDVIEW: the new text and its length
inline constexpr UINT GRIDM_SCROLL_DOWN =
    2036; // of the grid to itself: the distance in the low half of lParam
inline constexpr UINT GRIDM_SCROLL_UP = 2037;
inline constexpr UINT GRIDM_SCROLL_LEFT = 2038;
inline constexpr UINT GRIDM_SCROLL_RIGHT = 2039;
inline constexpr UINT GRIDM_SCROLLED = 2044; // posted: wParam 1 vertical, 0 horizontal; lParam the position
inline constexpr UINT GRIDM_KEY_SELECTED = 2045; // arrow keys moved the selection
inline constexpr UINT GRIDM_SWIPE_LEFT = 2054;
inline constexpr UINT GRIDM_SWIPE_RIGHT = 2055;
inline constexpr UINT GRIDM_HOLD_QUERY =
    0xFFFFFFCE; // -50: wParam the grid; 0: there is a menu for a press that is held
inline constexpr UINT GRIDM_SWATCH =
    2048; // wParam the grid, lParam the number behind the letter: answers a bitmap

inline constexpr UINT GRIDN_HOT_SPOT_PRESS = 2046;
inline constexpr UINT GRIDN_HOT_SPOT = 1125;       // activated
inline constexpr UINT GRIDN_TEST_HOT_SPOTS = 2047; // pressed on a cell that has some: shall they be tested?
inline constexpr UINT GRIDN_KEY_HELD = 2049;       // x the arrow key, dwData one of GRID_HELD_
inline constexpr UINT GRIDN_HOLD = 1000;           // pressed and held: the context menu
inline constexpr UINT GRIDN_CLICK = 0xFFFFFFFE;    // -2; to the grid itself, then to the owner
inline constexpr UINT GRIDN_TAP_SELECTED = 0xFFFFFFF3; // -13: tapped, which changed the selection
inline constexpr UINT GRIDN_TAP = 0xFFFFFF8E;          // -114: tapped what was selected

// --- Records ------------------------------------------------------------------------------------------------------

struct tagNM_GRIDVIEW {
    NMHDR hdr;
    LONG x; // in the grid's client area
    LONG y;
    const WCHAR* pszHotSpot;
    const WCHAR* pszText; // edited, or handed over by the owner
    DWORD dwData;         // its length, or the id of a floater
    WORD wRow;
    WORD wCol;
};

// The owner fills in all but the header and the row's id.
struct tagNM_GRIDCELL {
    NMHDR hdr; // idFrom: column | row << 16
    BYTE bSingleLine;
    BYTE bOwnerFlag;
    DWORD dwData;
    DWORD dwRowID;   // of SetRowUserID
    WORD wColWidth;  // 65535 leaves the column's; else it has this width from now on
    WORD wRowHeight; // the same for the row, if it was given none yet
    RECT rcMargins;
    const WCHAR* pszText; // null: there is no cell
    BYTE FontQuality;     // the grid's on entry
    WORD wWrapIndent;
    WORD wMinHeight;
};

// --- Drawing by the owner -----------------------------------------------------------------------------------------

class CHTMLGrid;

inline constexpr UINT GRID_ITEM_SELECTED = 1;
inline constexpr UINT GRID_ITEM_KEEP_COLORS = 8; // links are being navigated

struct tagDRAWITEMSTRUCT {
    UINT CtlType; // 0
    UINT CtlID;   // the grid's
    UINT itemID;  // column | row << 16
    UINT itemAction;
    UINT itemState; // GRID_ITEM_ numbers
    CHTMLGrid* pGrid;
    HDC hDC;
    RECT rcItem;
    DWORD itemData; // the cell's
};

inline constexpr int GRID_DRAW_ALL = 0;        // not handled: the grid paints the cell
inline constexpr int GRID_DRAW_NOTHING = 1;    // completely painted
inline constexpr int GRID_DRAW_LINES_TEXT = 2; // the ground is done
inline constexpr int GRID_DRAW_LINES = 3;      // ground and text are done
// Paints a cell and gives one of the numbers above; or fills rcItem with the size wanted, 0 leaves that to the text.
using GRIDDRAWPROC = int (*)(tagDRAWITEMSTRUCT& item, tagCELLINFO& cell);
// The context of the buffer before each paint, null after it.
using GRIDPAINTPROC = void (*)(HDC hdc);

// A pair for lines that stretch over the whole client width: they paint in column 0 alone, the others have its hot spots.
QN_API int GlobalFullLineOwnerDrawCell(tagDRAWITEMSTRUCT& item, tagCELLINFO& cell);
QN_API int GlobalFullLineOwnerGetIdealRect(tagDRAWITEMSTRUCT& item, tagCELLINFO& cell);
