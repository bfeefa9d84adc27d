// What a grid remembers from one event of the pointer or the keys to the next, and the records of its drags.
#pragma once

#include "QNGridCtrl/HTMLGridSelection.h"

struct tagFLOATERINFO;

// The record of the messages of a drag, GRIDM_DROP_QUERY to GRIDM_DRAG_TIP.
struct tagGRIDDRAG {
    NMHDR hdr; // the grid that it began in
    WORD wRow; // of the cell under the point, or GRID_NONE
    WORD wCol;
    WORD wRowCount;
    WORD wColCount;
    POINT point; // in the grid's client area
    WORD wSelLeft;
    WORD wSelTop;
    WORD wSelRight;
    WORD wSelBottom;
    const WCHAR* pszTip; // GRIDM_DRAG_TIP: the owner's answer
};

// A press, from the button going down to the next one. Points are in the client area.
struct HTMLGridPress {
    POINT down{};
    POINT last{};         // of the last scroll step
    POINT move{};         // seen last
    DWORD time = 0;       // of the press, then of the last scroll step
    WORD col = GRID_NONE; // what was pressed
    WORD row = GRID_NONE;
    WORD formerCol = GRID_NONE; // the current cell before
    WORD formerRow = GRID_NONE;
    bool button = false;     // still down
    bool known = false;      // what was pressed was selected before, or is a floater
    bool selected = false;   // the press has changed the selection
    bool consumed = false;   // by a menu or a hot spot
    bool swiped = false;     // nothing more happens
    bool touch = false;      // it has become a touch scroll
    bool captured = false;   // for that
    bool rubberBand = false; // it draws a selection
    bool floater = false;    // a floater was pressed, on its bar if it is movable
    bool floaterMovable = false;
    bool floaterMoved = false;
    DWORD floaterID = 0;
    WORD floaterCol = GRID_NONE; // where it is now
    WORD floaterOffset = 0;      // rows from its first one to the one that was pressed
};

// An object that is being dragged.
struct HTMLGridObjectDrag {
    bool active = false;
    HWND hFormerCapture = nullptr;
    HIMAGELIST hImages = nullptr; // the grid's, once the owner has given it
};

// An arrow key that is held. The states are told to the owner.
inline constexpr DWORD GRID_HELD_BEGIN = 32;
inline constexpr DWORD GRID_HELD_GOES_ON = 16;
inline constexpr DWORD GRID_HELD_END = 48;
struct HTMLGridHeldKey {
    DWORD wait = 0; // milliseconds; 0: keys simply repeat
    DWORD state = 0;
    WPARAM key = 0;
    DWORD tick = 0;
};

// The text field over a cell.
struct HTMLGridEdit {
    WNDPROC pfnFormer = nullptr;
    WORD col = GRID_NONE;
    WORD row = GRID_NONE;
    bool ending = false;
    WPARAM keyDown = 0; // Enter or Escape, pressed here
};

// Flicks that the host recognises.
class QN_API CNativeGestures {
public:
    enum class Flick { None, Other, Left, Right };

    static bool IsSupported() { return GesturesSupported() != FALSE; }
    static bool Enable(HWND hWnd) { return IsSupported() && EnableGestures(hWnd, TRUE); }
    // Of the parameters of WM_GESTURE.
    static Flick Read(WPARAM wParam, LPARAM lParam);
};
