// The grid: a table of cells, each of them a string of mark-up, with fixed rows and columns, floaters that cross rows,
// selection, scrolling and links. It shows nearly everything of the suite.
//
// The owner is the parent window; what both say to each other stands in HTMLGridRecords.h. A virtual grid asks its owner
// for cells when they come into view; the rows it hasn't seen are estimated. In any other grid CreateCells makes the cells
// and SetCellText fills them.
//
// Rows and columns are numbered from 0, at most 65,535 of each; GRID_NONE (65535) is none. Sizes are pixels. A row or
// column beyond the dimensions: nothing is done, the result is 0, false or null. Setters repaint. The thread of the window
// calls everything.
#pragma once

#include "NorvoTools/CeCriticalSection.h"
#include "NorvoUI/CeWnd.h"
#include "QNGridCtrl/HTMLGridAxis.h"
#include "QNGridCtrl/HTMLGridFloaters.h"
#include "QNGridCtrl/HTMLGridImages.h"
#include "QNGridCtrl/HTMLGridInput.h"
#include "QNGridCtrl/HTMLGridKinetic.h"
#include "QNGridCtrl/HTMLGridRecords.h"
#include "QNGridCtrl/HTMLGridSelection.h"
#include "QNGridCtrl/HTMLToolTip.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

enum ELinkNavigationMode : DWORD {
    LINK_NAVIGATION_OFF = 0,
    LINK_NAVIGATION_BY_REQUEST = 1, // while it is switched on
    LINK_NAVIGATION_ALWAYS = 2,
};

// What arrows of the scroll bars and arrow keys do.
inline constexpr WORD GRID_SCROLL_ROW = 0;
inline constexpr WORD GRID_SCROLL_PAGE = 1;
inline constexpr WORD GRID_SCROLL_CURRENT = 2; // the current row moves

inline constexpr DWORD GRID_BAR_VERTICAL = 1;
inline constexpr DWORD GRID_BAR_HORIZONTAL = 2;

inline constexpr DWORD GRID_TO_TOP = 1;
inline constexpr DWORD GRID_TO_BOTTOM = 2;
inline constexpr DWORD GRID_TO_LEFT = 4;
inline constexpr DWORD GRID_TO_RIGHT = 8;

// What a paint has shown. The first and last row and column in view tell how far everything has moved since.
struct HTMLGridView {
    HTMLGridSelection selection;
    const tagFLOATERINFO* floater = nullptr; // the selected one
    HTMLGridSelection cells;                 // in view, of those that scroll
    RECT place{};                            // of these cells
    SIZE fixed{};                            // width and height of the fixed ones
};

// One of the four parts of the client area, by the fixed rows and columns: its cells are moved together.
struct HTMLGridPane {
    RECT rect;
    WORD firstRow, endRow; // whose cells it may show
    WORD firstCol, endCol;
    SIZE shift; // from the place in the whole to that in the client area
    bool floaters;
};

class QN_API CHTMLGrid : public CeWnd, private HTMLBitmapLoader {
public:
    CHTMLGrid();
    CHTMLGrid(HWND hParent, const RECT& rect, bool bVirtual, LPCWSTR pszName);
    ~CHTMLGrid() override;

    // --- Slots of its own, in this order
    // Enter and Space: into the links of the selected cell, to the target of the one that is focused, else ActivateCell.
    virtual bool OnActionButton();
    virtual void OnReserved1() {}
    virtual LRESULT OnKillFocus(HWND hTo, bool& handled);
    // One of the SB_ codes; the position counts for none of them, it is read from the bar.
    virtual LRESULT OnHScroll(UINT code, int position);
    LRESULT OnNotify(int id, NMHDR* header, bool& handled) override;
    virtual LRESULT OnVScroll(UINT code, int position);
    // A double tap on the current cell edits it.
    virtual LRESULT OnClick(tagNM_GRIDVIEW& view);
    virtual void OnReserved2() {}
    // A hot spot was activated: tells the owner.
    virtual LRESULT OnHotspotNotify(tagNM_GRIDVIEW& view);
    // Finds the image of an IMG: true and the record filled, or false.
    virtual bool OnInlineImageNotify(tagNM_IMAGENOTIFY& image);
    // Fills the record for a point of the client area; false where there is no cell.
    virtual bool OnDragQuery(POINT point, tagGRIDDRAG& drag);
    // The window that would take the object (null: none, and `handled` false); the picture and the tip follow.
    virtual LRESULT OnDragOver(POINT point, HWND& hTarget, tagGRIDDRAG& drag, bool& handled);
    virtual bool OnDragStart(POINT point); // may one begin?
    // What the text field over a cell gets; left unhandled it is the field's own.
    virtual LRESULT OnProcessEditMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled);
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnDestroy(bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;
    LRESULT OnPaint(bool& handled) override;
    LRESULT OnTimer(WPARAM id, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;
    LRESULT OnCreate(CREATESTRUCTW* create, bool& handled) override;
    LRESULT OnLButtonDown(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnLButtonUp(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnMouseMove(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnKeyDown(WPARAM code, UINT repeat, UINT flags, bool& handled) override;
    LRESULT OnKeyUp(WPARAM code, UINT repeat, UINT flags, bool& handled) override;
    LRESULT OnChar(WPARAM code, UINT repeat, UINT flags, bool& handled) override;

    // --- Life (HTMLGrid.cpp)
    bool InitWindow(HWND hParent, const RECT& rect, bool bVirtual, LPCWSTR pszName);
    // Cells beyond go, new ones are not made. More than 65,535 rows or columns are cut.
    void SetDimensions(DWORD rows, DWORD cols);
    void SetFixedRowCount(WORD count);
    void SetFixedColCount(WORD count);
    void CreateCells();
    void DestroyCells(); // and all floaters
    // Before `index`, or at the end; makes its cells unless the grid is virtual.
    void InsertRow(WORD index);
    void DeleteRows(WORD first, WORD count);
    void DeleteCols(WORD first, WORD count);
    // Between both nothing is recalculated or painted; they nest.
    void BeginUpdate() { ++m_nUpdates; }
    void EndUpdate();
    bool IsInUpdate() const { return m_nUpdates > 0; }
    void UpdateGrid(); // recalculates and repaints all
    void ForcePaint(); // what is to be painted, now
    void Invalidate(const RECT* rect = nullptr);

    // --- Dimensions (HTMLGridLayout.cpp)
    WORD GetColCount() const { return static_cast<WORD>(m_Cols.Count()); }
    WORD GetRowCount() const { return static_cast<WORD>(m_Rows.Count()); }
    WORD GetFixedColCount() const { return m_wFixedCols; }
    WORD GetFixedRowCount() const { return m_wFixedRows; }
    int GetColWidth(WORD col) const { return col < m_Cols.Count() ? m_Cols.Size(col) : 0; }
    void SetColWidth(WORD col, WORD width); // HTMLGridAxis::kAutomatic: a share of what is left
    // Measures a row of a virtual grid that was only estimated, with bForce any row anew.
    int GetRowHeight(WORD row, bool bForce = false);
    void SetRowHeight(WORD row, WORD height); // HTMLGridAxis::kAutomatic: by its cells
    WORD GetMinRowHeight() const { return m_wMinRowHeight; }
    void SetMinRowHeight(WORD height);
    bool GetRowHeightFixed() const { return m_bRowHeightFixed; }
    void SetRowHeightFixed(bool bFixed); // every row has the least height
    int GetTotalHeight() const { return m_Rows.Total(); }
    int GetTotalWidth() const { return m_Cols.Total(); }
    int GetFixedRowsHeight() const { return m_Rows.Before(m_wFixedRows); }
    int GetFixedColsWidth() const { return m_Cols.Before(m_wFixedCols); }
    void SetFixedColsFix(bool bFix); // floaters in fixed columns are drawn too

    // --- Cells (HTMLGridText.cpp)
    // Null text and cells that don't exist (but in a virtual grid) are ignored: false.
    bool SetCellText(WORD col, WORD row, LPCWSTR pszText);
    bool SetCellText(WORD col, WORD row, LPCWSTR pszText, BYTE quality);
    bool SetCellText(WORD col, WORD row, LPCWSTR pszText, const RECT& margins);
    bool SetCellText(WORD col, WORD row, LPCWSTR pszText, BYTE quality, const RECT& margins);
    // At most 4,095 characters of the visible text; null for no cell. The caller frees it (free).
    WCHAR* GetCellText(WORD col, WORD row, bool bEditableOnly);
    // Asks the owner anew for a cell, or all of a row.
    void UpdateCellText(WORD col, WORD row);
    void UpdateRowText(WORD row);
    void SetCellData(WORD col, WORD row, DWORD data);
    DWORD GetCellData(WORD col, WORD row) const;
    void SetCellSingleLine(WORD col, WORD row, bool bSingleLine);
    void SetDefaultHotSpot(WORD col, WORD row, DWORD index);
    void SetCellOnActionLinkNavigable(WORD col, WORD row, bool bNavigable);
    void SetRowFullRowSelect(WORD row, bool bFull);
    void SetRowUserID(WORD row, DWORD id);
    DWORD GetRowUserID(WORD row) const { return row < m_RowUserIDs.size() ? m_RowUserIDs[row] : 0; }
    // The text of a hot spot as painted last, of the last one for a larger index; null without any. The caller frees it.
    WCHAR* GetCellHotSpot(WORD col, WORD row, DWORD index) const;
    // Appends up to 150 spots of a cell, moved to the right by `shift`.
    void CopyCellHotSpots(HTMLHotSpots& destination, WORD row, WORD col, int shift) const;
    // A new picture of a cell as it would be painted, without lines; null for no cell. The caller owns it.
    HBITMAP GetCellBitmap(WORD col, WORD row);
    tagCELLINFO* FindCell(WORD col, WORD row) const { return m_Cells.Find(col, row); }
    bool CopyCellToClipBoard(WORD col, WORD row);
    // Cells of a row with tabs between them, rows with line ends.
    bool CopySelectedCellsToClipBoard();

    // --- Geometry (HTMLGridGeometry.cpp)
    // Cells lie in the client area; fixed ones at its edges, the others scrolled.
    bool GetCellRect(WORD col, WORD row, RECT& rect) const;
    bool GetCellFromPoint(POINT point, WORD& col, WORD& row) const; // GRID_NONE in both when there is none
    bool GetCellFromPoint(POINT point, WORD& col, WORD& row, RECT& rect) const;
    bool GetPointFromCell(WORD col, WORD row, POINT& point) const; // its left top
    // Between numbers and pixels from the first row or column on, fixed ones included, whatever is scrolled.
    WORD PixelToRow(int pixel) const;
    int RowToPixel(WORD row) const { return m_Rows.Before(row < m_Rows.Count() ? row : m_Rows.Count()); }
    WORD PixelToColumn(int pixel) const;
    int ColumnToPixel(WORD col) const { return m_Cols.Before(col < m_Cols.Count() ? col : m_Cols.Count()); }
    // Of the scrolled part; the first ones may be cut by the fixed ones.
    WORD GetTopRow() const { return PixelToRow(m_nTopPixel); }
    void SetTopRow(WORD row);
    WORD GetBottomRow() const;
    WORD GetLeftCol() const { return PixelToColumn(m_nLeftPixel); }
    void SetLeftCol(WORD col);
    int GetTopPixel() const { return m_nTopPixel; }
    int GetBottomPixel() const { return m_nTopPixel + m_nClientHeight - GetFixedRowsHeight(); }
    int GetLeftPixel() const { return m_nLeftPixel; }
    bool IsCellVisible(WORD col, WORD row) const;
    bool MakeCellVisible(WORD col, WORD row); // scrolls as little as it takes; true when it did
    void MakeRowTopMost(WORD row) { SetTopRow(row); }

    // --- Selection (HTMLGridSelecting.cpp); the right bottom cell becomes the current one
    bool SetSelection(WORD left, WORD top, WORD right, WORD bottom); // true when it changed
    void GetSelection(WORD& left, WORD& top, WORD& right, WORD& bottom) const;
    void EmptySelection();
    bool IsCellSelected(WORD col, WORD row) const { return m_Selection.Holds(col, row); }
    void SetRow(WORD row); // selects it, or its cell in the current column
    WORD GetRow() const { return m_wCurRow; }
    void SetCol(WORD col);
    WORD GetCol() const { return m_wCurCol; }
    void SetRowSelect(bool bRows);
    bool GetRowSelect() const { return m_bRowSelect; }
    void SetColInRowSelect(WORD col) { m_wColInRowSelect = col; }
    WORD GetColInRowSelect() const { return m_wColInRowSelect; }
    void SetMultiSelect(bool bMulti) { m_bMultiSelect = bMulti; }
    bool GetMultiSelect() const { return m_bMultiSelect; }
    bool SetSelectionMode(WORD mode); // one of GRID_SELECT_; false for any other
    WORD GetSelectionMode() const { return m_wSelectionMode; }
    void SetSelectionColor(COLORREF ground, COLORREF text);

    // --- Floaters (HTMLGridFloating.cpp)
    // Over rowSpan rows, cut at the last one, 0 is 1. The owner is asked for its mark-up. False without text or cell, and
    // when the column has that id. Percents are hundredths of its height.
    bool AddFloater(WORD col, WORD row, DWORD id, WORD rowSpan, WORD barPercent, WORD barTopPercent,
                    COLORREF color, bool bNoDrag);
    bool DeleteFloater(WORD col, DWORD id);
    int FloaterCount() const { return m_Floaters.Count(); }
    bool CellHasFloaters(WORD col, WORD row) const;
    // Of the first and last row of the block that a cell's floaters are in, the largest number of them in one cell.
    int GetFloaterBlockBounds(WORD row, WORD col, WORD& first, WORD& last) const;
    // bMovable: the point is on its marker bar. Null without one.
    tagFLOATERINFO* GetFloaterFromPoint(POINT point, bool& bMovable);
    tagFLOATERINFO* GetFloaterFromPoint(POINT point, WORD col, WORD row, bool& bMovable);
    bool IsFloaterSelected() const { return m_pCurFloater != nullptr; }
    const tagFLOATERINFO* GetSelectedFloater() const { return m_pCurFloater; }
    void SetFloaterOptions(bool bText, bool bBar);
    void GetFloaterOptions(bool& bText, bool& bBar) const {
        bText = m_bFloaterTextOn, bBar = m_bFloaterBarOn;
    }
    // The selected floater is one of the current cell: it stays, else the cell's first (forward) or last, or none.
    void UpdateSelectionForFloaters(bool bForward);
    // The next or former floater of the current cell; false, and none, behind the last.
    bool MoveFloaterSelection(bool bForward);

    // --- Look (HTMLGrid.cpp)
    void SetBackColor(COLORREF color);
    COLORREF GetBackColor() const { return m_crBack; }
    COLORREF GetFixedBackColor() const { return m_crFixedBack; }
    void SetLinesColor(COLORREF color);
    void SetShowHLines(bool bShow);
    void SetShowVLines(bool bShow);
    void SetShowFixedHLines(bool bShow);
    void SetShowFixedVLines(bool bShow);
    bool GetShowHLines() const { return m_bShowHLines; }
    bool GetShowVLines() const { return m_bShowVLines; }
    bool GetShowFixedHLines() const { return m_bShowFixedHLines; }
    bool GetShowFixedVLines() const { return m_bShowFixedVLines; }
    void SetBorder(bool bBorder);
    void SetShowFocus(bool bShow);
    bool GetShowFocus() const { return m_bShowFocus; }
    // Of cells and floaters parsed from now on.
    void SetFontQuality(BYTE quality) { m_FontQuality = quality; }
    BYTE GetFontQuality() const { return m_FontQuality; }
    void SetBitmapScaling(DWORD mode) { m_dwBitmapScaling = mode; }
    void SetResourcesRootPath(LPCWSTR pszRoot) { m_Images.SetRoot(pszRoot); }
    LPCWSTR GetResourcesRootPath() const { return m_Images.GetRoot(); }
    void SetResourcesInstance(HINSTANCE hInstance) { m_Images.SetInstance(hInstance); }
    HINSTANCE GetResourcesInstance() const { return m_Images.GetInstance(); }
    void SetCustomPaintProc(GRIDPAINTPROC paint) { m_pfnCustomPaint = paint; }
    // Both give the draw function that was there.
    GRIDDRAWPROC SetCellOwnerDrawProc(GRIDDRAWPROC draw, GRIDDRAWPROC idealRect);
    GRIDDRAWPROC SetFixedCellOwnerDrawProc(GRIDDRAWPROC draw, GRIDDRAWPROC idealRect);
    // The window whose children its tips are; null is the grid.
    void SetToolTipParent(HWND hParent) { m_hToolTipParent = hParent; }
    HWND GetToolTipParent() const { return m_hToolTipParent ? m_hToolTipParent : m_hWnd; }
    // One flag for all grids.
    static bool IsGradientDrawSupported() { return s_bGradient; }
    static void SetGradientDrawSupported(bool bSupported) { s_bGradient = bSupported; }

    // --- Scrolling (HTMLGridScroll.cpp); true when anything moved
    // A finger (bTouch) goes on beyond the ends, half as far as it moves, unless bNoClamp; the rest takes that back first.
    bool ScrollByPixelUp(int pixels, bool bNoClamp = false, bool bTouch = false);
    bool ScrollByPixelDown(int pixels, bool bNoClamp = false, bool bTouch = false);
    bool ScrollByPixelLeft(int pixels);
    bool ScrollByPixelRight(int pixels);
    // Another row at the top; one that is cut there counts. bSelect: that row is selected.
    bool ScrollByRowUp(WORD rows, bool bSelect = false);
    bool ScrollByRowDown(WORD rows, bool bSelect = false);
    bool ScrollByColLeft(WORD cols);
    bool ScrollByColRight(WORD cols);
    bool ScrollByPageUp();
    bool ScrollByPageDown();
    bool ScrollByPageLeft();
    bool ScrollByPageRight();
    bool ScrollToTop();
    bool ScrollToBottom();
    bool ScrollToLeft();
    bool ScrollToRight();
    // Of its own bar or the one in its place; SB_VERT or SB_HORZ.
    bool GetScrollInfoEx(int bar, SCROLLINFO& info) const;
    int SetScrollInfoEx(int bar, const SCROLLINFO& info);
    // A tip at the right edge while the vertical thumb is dragged, with the owner's text for the row there.
    void SetScrollTip(bool bOn);
    // Fingers scroll, with momentum; without it they select.
    void SetTouchScrolling(bool bOn);
    bool IsScrolling() const { return m_Kinetic.IsMoving(); }
    bool IsTouchScrollingDown() const {
        return m_Kinetic.IsTouched();
    } // the finger that scrolls is still down
    // Two pictures of the grid, as it was at SlideViewBefore, which hides it, and as it is, slid one over the other.
    void SlideViewBefore();
    void SlideViewAfter(bool bForward);
    void Slide(CHTMLGrid& other, bool bForward); // this one hides, the other is shown in its place
    // During a paint: whether the cell is in what is painted.
    bool IsCellUpdated(WORD col, WORD row) const;
    // GRID_BAR_ bits of the bars that the grid may show.
    void SetShowScrollBars(DWORD bars);
    DWORD GetShowScrollBars() const { return m_dwShowBars; }
    // "SCROLLBAR" windows in place of its own bars; null for both ends that.
    void SetExternalScrollBars(HWND hVertical, HWND hHorizontal);
    bool SetBarsScrollMode(WORD mode); // GRID_SCROLL_; false for any other
    bool SetKeysScrollMode(WORD mode);
    void SetThumbTrack(bool bOn) { m_bThumbTrack = bOn; }
    void SetAllowAutoScroll(bool bAllow) { m_bAllowAutoScroll = bAllow; }
    bool GetAllowAutoScroll() const { return m_bAllowAutoScroll; }

    // --- Input modes
    bool GetTouchScrolling() const { return m_bTouchScrolling; }
    void SetScrollingSensitivity(int pixels) { m_nScrollingSensitivity = pixels; }
    void SetDragAllowed(bool bAllowed) { m_bDragAllowed = bAllowed; }
    bool GetDragAllowed() const { return m_bDragAllowed; }
    void SetLinkNavigationMode(ELinkNavigationMode mode);
    void SetLinkNavigationOn(bool bOn);
    ELinkNavigationMode GetLinkNavigationMode() const { return m_eLinkNavigationMode; }
    bool GetLinkNavigationOn() const { return m_bLinkNavigationOn; }
    bool IsLinkNavigationActive() const;
    void SetGridHandleDlgCode(bool bOn) { m_bHandleDlgCode = bOn; }
    // An arrow key held for so long is told to the owner (GRIDN_KEY_HELD) and slowed down; 0 lets it repeat.
    void SetDelayedScrolling(DWORD milliseconds) { m_HeldKey.wait = milliseconds; }
    // A text field over the cell, or over all that is selected with it, with its EDITABLE text. What is written there goes to
    // the owner (GRIDM_EDIT_END). False when the owner refuses or there is no cell.
    bool EnableCellEdit(WORD col, WORD row, bool bWholeSelection);
    bool GetEditMode() const { return m_hEdit != nullptr; }
    // As if it was tapped: GRIDN_TAP with these data. The flags are not looked at.
    bool ActivateCell(WORD col, WORD row, DWORD data, DWORD flags);

    // --- Images (HTMLGridRequests.cpp); the grid owns them
    HBITMAP AddBitmapToCache(WORD id) { return m_Images.Bitmap(id); }
    // A file of the resources root, or with bSwatch what the owner makes of the number behind its first letter.
    HBITMAP AddBitmapToCache(LPCWSTR pszName, int length, bool bSwatch);
    PNGPicture* AddPNGToCache(WORD id) { return m_Images.Png(id); }
    PNGPicture* AddPNGToCache(LPCWSTR pszName) { return m_Images.PngFile(pszName ? pszName : u""); }
    HBITMAP AddIconToCache(WORD id) { return m_Images.Icon(id); }
    CHTMLImage* GetHTMLImageFromCache(HBITMAP bitmap) { return m_Images.Image(bitmap); }
    CHTMLImage* GetHTMLImageFromCache(PNGPicture* picture) { return m_Images.Image(picture); }
    // Cells and floaters forget their images.
    void ClearBitmapCache();

protected:
    // What the next paint has to do. A second kind of work before it makes it all.
    enum UpdateKind { UPDATE_ALL = 0, UPDATE_SELECTION = 1, UPDATE_SCROLLED = 2, UPDATE_CELL = 4 };
    // What EndUpdate has to do.
    static constexpr DWORD kOwedRecalc = 1;
    static constexpr DWORD kOwedRepaint = 16;
    static constexpr DWORD kOwedScreenCells = 32;

    // --- Owner (HTMLGridRequests.cpp)
    HWND Owner() const { return GetParent(); }
    tagNM_GRIDVIEW ViewOf(WORD col, WORD row, UINT code) const;
    LRESULT NotifyOwner(tagNM_GRIDVIEW& view) const;            // WM_NOTIFY with its code
    LRESULT AskOwner(UINT message, tagNM_GRIDVIEW& view) const; // that message
    // The cell that is there, or what the owner answers; null for none. Other cells and the dimensions may have changed.
    tagCELLINFO* RequestCell(WORD col, WORD row);
    bool ReadFloaterText(WORD col, WORD row, DWORD id, CHTMLParser& text);

    // --- Layout (HTMLGridLayout.cpp)
    int RecalcCols(int width); // both give the total
    int RecalcRows();
    void RecalcGrid();
    void RecalcMaxScrolls();
    // Requests and measures what is in view.
    void RecalcScreenCells();
    void SetupScrollBars() { UpdateScrollBars(GRID_BAR_VERTICAL | GRID_BAR_HORIZONTAL); }
    void UpdateScrollBars(DWORD bars);
    int GetCellHeight(HDC hdc, WORD row, WORD col);
    bool IsFixed(WORD col, WORD row) const { return col < m_wFixedCols || row < m_wFixedRows; }
    bool HasHLines(WORD col, WORD row) const {
        return IsFixed(col, row) ? m_bShowFixedHLines : m_bShowHLines;
    }
    bool HasVLines(WORD col, WORD row) const {
        return IsFixed(col, row) ? m_bShowFixedVLines : m_bShowVLines;
    }
    // The record that the owner's drawing functions get.
    tagDRAWITEMSTRUCT DrawItem(HDC hdc, WORD col, WORD row, const RECT& rect, const tagCELLINFO& cell) const;
    // The scroll position, within its bounds; true when that moved anything.
    bool MoveTo(int left, int top) { return MoveTo(left, top, m_nOverscroll); }
    bool MoveTo(int left, int top, int overscroll); // HTMLGridScroll.cpp

    // --- Scrolling (HTMLGridScroll.cpp)
    void UpdateParentWithScrollingPosition(bool bVertical); // tells the owner of another one
    // During a drag at the edges: a row or column at each tick. Directions are GRID_TO_ bits.
    void StartAutoScroll(DWORD directions);
    void StopAutoScroll();
    void AutoScroll();
    // The finger has let go: back from beyond the end, then the momentum.
    void EndTouchScroll();

    // --- Drags (HTMLGridDrag.cpp)
    void CheckDragScroll(POINT point); // scrolls while the point is near an edge
    void UpdateSelection(POINT point); // from where the press began to there
    void FinishDragOperation();

    // --- Painting that is owed (HTMLGrid.cpp)
    void Repaint(); // all
    void RequestUpdate(UpdateKind kind);
    void RequestCellUpdate(WORD col, WORD row);
    void DestroyBitmapBuffer();

    // --- Selection (HTMLGridSelecting.cpp)
    HTMLGridSelectionRules SelectionRules() const;
    void pvt_SetSelection(const HTMLGridSelection& bounds);

    HTMLGridAxis m_Cols;
    HTMLGridAxis m_Rows;
    HTMLGridCells m_Cells;
    HTMLGridFloaters m_Floaters{m_Cells};
    HTMLGridImages m_Images{*this};
    std::vector<DWORD> m_RowUserIDs;

    WORD m_wFixedCols = 0;
    WORD m_wFixedRows = 0;
    WORD m_wMinRowHeight;
    int m_nAverageRowHeight = 0; // of rows not measured yet
    bool m_bRowHeightFixed = false;
    bool m_bVirtual = false;
    bool m_bFixedColsFix = false;
    int m_nClientWidth = 0; // what the bars leave
    int m_nClientHeight = 0;
    int m_nTopPixel = 0; // scroll position, from row 0: the least is the height of the fixed rows
    int m_nLeftPixel = 0;
    int m_nMaxTop = 0;
    int m_nMaxLeft = 0;
    int m_nOverscroll = 0; // pixels beyond the end, negative beyond the top, while bouncing

    HTMLGridSelection m_Selection;
    WORD m_wCurCol = GRID_NONE;
    WORD m_wCurRow = GRID_NONE;
    tagFLOATERINFO* m_pCurFloater = nullptr;
    WORD m_wSelectionMode = GRID_SELECT_CELLS;
    bool m_bMultiSelect = false;
    bool m_bRowSelect = false;
    WORD m_wColInRowSelect = 0;

    bool m_bShowHLines = false;
    bool m_bShowVLines = true;
    bool m_bShowFixedHLines = true;
    bool m_bShowFixedVLines = true;
    bool m_bShowFocus = false;
    COLORREF m_crLines;
    COLORREF m_crBack;
    HBRUSH m_hBackBrush; // owned, as the next
    COLORREF m_crFixedBack;
    HBRUSH m_hSelBrush;
    COLORREF m_crSelText;
    bool m_bFloaterTextOn = true;
    bool m_bFloaterBarOn = true;
    WORD m_wFloaterBarWidth;
    BYTE m_FontQuality = 0;
    DWORD m_dwBitmapScaling = 0;
    GRIDPAINTPROC m_pfnCustomPaint = nullptr;
    GRIDDRAWPROC m_pfnDraw = nullptr;
    GRIDDRAWPROC m_pfnIdealRect = nullptr;
    GRIDDRAWPROC m_pfnFixedDraw = nullptr;
    GRIDDRAWPROC m_pfnFixedIdealRect = nullptr;
    HWND m_hToolTipParent = nullptr;
    static bool s_bGradient;

    ELinkNavigationMode m_eLinkNavigationMode = LINK_NAVIGATION_OFF;
    bool m_bLinkNavigationOn = false;
    WORD m_nBarsScrollMode = GRID_SCROLL_ROW;
    WORD m_nKeysScrollMode = GRID_SCROLL_CURRENT;
    WORD m_wScrollRegion; // width of the bands at the edges that scroll during a drag
    int m_nScrollingSensitivity;
    bool m_bDragAllowed = false;
    bool m_bTouchScrolling = false;
    bool m_bThumbTrack = true;
    bool m_bAllowAutoScroll = true;
    bool m_bHandleDlgCode = false;
    DWORD m_dwShowBars = GRID_BAR_VERTICAL | GRID_BAR_HORIZONTAL;
    HWND m_hVerticalBar = nullptr; // not the grid's own
    HWND m_hHorizontalBar = nullptr;

    int m_nUpdates = 0;
    DWORD m_dwOwed = 0;
    bool m_bInRecalc = false;
    bool m_bColsOwed = false; // the owner has given a column another width
    CeCriticalSection m_cs;

    // --- Editing
    HWND m_hEdit = nullptr; // the text field over a cell; WM_CANCELMODE ends it

    // --- Painting
    HBITMAP m_hBackBitmap = nullptr; // the retained picture of the client area
    bool m_bBufferValid = false;     // it is complete
    UpdateKind m_eUpdateKind = UPDATE_ALL;
    WORD m_wUpdateRow = GRID_NONE;
    WORD m_wUpdateCol = GRID_NONE;
    HTMLGridView m_Painted;  // at the last paint
    HDC m_hBuffer = nullptr; // the context that has it selected, kept for the next step of a scroll
    RECT m_rcUpdated{};      // what is painted now, and what of it lies in the pane at work
    RECT m_rcPane{};
    HBITMAP m_hSlideBitmap = nullptr;

    // --- Scrolling
    HTMLGridKinetic m_Kinetic;
    std::unique_ptr<CHTMLToolTip> m_pScrollTip; // null: none is wanted
    DWORD m_dwAutoScroll = 0;
    int m_nToldTop = -1; // to the owner
    int m_nToldLeft = -1;

    // --- Input
    static constexpr ULONG_PTR kHeldKeyTimer = 85;
    HTMLGridPress m_Press;
    HTMLGridObjectDrag m_Drag;
    std::unique_ptr<CHTMLToolTip> m_pDragTip; // made at first use
    bool m_bAutoCapture = false;              // taken for scrolling at an edge
    int m_nTapCount = 0;                      // 2: a double tap
    WORD m_wAnchorCol = GRID_NONE;            // where a selection that is stretched begins
    WORD m_wAnchorRow = GRID_NONE;
    HTMLGridHeldKey m_HeldKey;
    bool m_bEnterDown = false;
    bool m_bEnterDone = false; // its character has acted
    HTMLGridEdit m_Edit;

private:
    // --- HTMLBitmapLoader
    HBITMAP BitmapOfFile(LPCWSTR pszPath) override;
    HBITMAP BitmapOfResource(HINSTANCE hInstance, WORD wId) override;
    HBITMAP BitmapOfIcon(HINSTANCE hInstance, WORD wId) override;
    HBITMAP BitmapOfSwatch(DWORD number) override;

    // --- Painting (HTMLGridPaint.cpp, HTMLGridUpdate.cpp, HTMLGridFloaterPaint.cpp)
    RECT Client() const;
    bool HoldBuffer();
    void PaintBuffer(HDC hdc);
    bool PrepareBuffer();
    void CopyOut(HDC hdc) const;
    void ClipToPane(HDC hdc) const;
    void UpdateScreen(HDC hdc);
    void UpdateSelection(HDC hdc);
    void UpdateScrolled(HDC hdc);
    void UpdateCell(HDC hdc);
    HTMLGridView View() const;
    bool MovedBy(SIZE& moved) const;
    bool MayShift(SIZE moved) const;
    RECT RangeRect(const HTMLGridSelection& range) const;
    void PaintPart(HDC hdc, const RECT& part);
    std::array<HTMLGridPane, 4> Panes() const;
    void PaintPane(HDC hdc, const HTMLGridPane& pane, const RECT& box);
    void DrawBackground(HDC hdc, const RECT& box) const;
    void DrawWindowGradient(HDC hdc) const;
    bool HasGradientGround(COLORREF color) const { return s_bGradient && color == 0xFFFFFF; }
    void OnCellDraw(HDC hdc, WORD row, WORD col, const RECT& rect);
    void DrawNoCell(HDC hdc, WORD row, WORD col, RECT rect) const;
    void DrawGround(HDC hdc, const RECT& rect, bool bSelected, COLORREF color) const;
    void DrawLines(HDC hdc, WORD row, WORD col, RECT& rect) const;
    void OnCellFloatersDraw(HDC hdc, WORD row, WORD col, const RECT& rect);
    bool IsFirstUpdated(WORD col, WORD row, WORD first) const;
    void DrawFloater(HDC hdc, tagFLOATERINFO& floater, const RECT& slot);
    void DrawFloaterBar(HDC hdc, const tagFLOATERINFO& floater, const RECT& slot, const RECT& bar) const;
    void DrawFloaterBody(HDC hdc, tagFLOATERINFO& floater, const RECT& body);

    // --- Scrolling
    bool FindBar(int bar, HWND& hBar, int& number) const;
    bool StepCurrentRow(int step);
    bool ScrollByArrow(int bar, int step);
    bool ScrollToThumb(int bar);
    void ShowScrollTip();
    bool OnBar(int bar, UINT code);

    // --- Pointer (HTMLGridInput.cpp)
    void BeginPress(POINT point);
    bool PressFloater(POINT point);
    void PressCell(bool bShift);
    bool SelectTo(WORD col, WORD row);
    bool Hold(POINT point);
    void CountTap();
    bool PressHotSpot(POINT point);
    void Click(POINT point);
    bool IsPlainPress() const;
    bool IsSwipe(POINT point) const;
    void Swipe(bool bLeft);
    bool IsTouchStep(POINT point) const;
    void TouchStep(POINT point);
    void TouchVertically(LONG dy, DWORD elapsed);
    void TouchHorizontally(LONG dx, DWORD elapsed);
    bool IsRubberBand(POINT point);
    void EndTouch();
    void CancelPress();
    void Tap(POINT point);
    tagNM_GRIDVIEW ViewAt(POINT point, UINT code) const;
    const HTMLHotSpots* HotSpotsAt(POINT& point);
    const HTMLHotSpots* FloaterHotSpotsAt(const RECT& cell, POINT& point);
    bool FindHotSpot(POINT point, std::u16string& text);
    bool FindDefaultHotSpot(std::u16string& text) const;
    bool OnInputTimer(WPARAM id);
    LRESULT OnInputMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled);
    void OnCaptureLost();
    bool OnGesture(WPARAM wParam, LPARAM lParam);

    // --- Drags
    DWORD EdgeAt(POINT point) const;
    void ScrollAtEdge(DWORD direction);
    void OnAutoScrolled();
    void DragSelection(POINT point);
    void DragFloater(POINT point);
    bool FloaterMayGo(WORD& col, WORD& row) const;
    bool MoveFloater(WORD col, WORD row);
    void ShowFloaterTip(POINT point);
    tagNM_GRIDVIEW FloaterView() const;
    void EndFloaterDrag();
    bool IsObjectDrag(POINT point);
    bool BeginObjectDrag(POINT point);
    void DragObject(POINT point);
    void Drop(POINT point);
    void ShowDragTip(POINT point, int position, LPCWSTR pszText);
    void HideDragTip();

    // --- Keys (HTMLGridKeys.cpp)
    bool OnOtherKey(WPARAM vk);
    bool OnArrow(WPARAM vk, bool bRepeated);
    void ScrollByKey(WPARAM vk);
    void PageByKey(WPARAM vk);
    bool MoveLink(WPARAM vk);
    void EndLinkNavigation(tagCELLINFO& cell);
    bool MoveSelection(WPARAM vk, bool bRepeated);
    WORD ArrowTarget(bool bUpright, bool bForward, bool bWrap) const;
    void BeginExtension();
    void SelectByKey(WORD col, WORD row, bool bForward, bool bUpright);
    void SelectRow(WORD row);
    void TellKeySelection();
    bool DropsHeldKey(WPARAM vk, bool bRepeated);
    void TellHeldKey(DWORD state);
    void EndHeldKey();
    WORD ActionCol() const;
    void EnterLinks(tagCELLINFO& cell, WORD col, WORD row);
    bool ActivateLink(tagCELLINFO& cell, WORD col, WORD row);
    bool HoldOrActivate(WORD col, WORD row);

    // --- Editing (HTMLGridEdit.cpp)
    RECT EditRect(WORD col, WORD row, bool bWholeSelection) const;
    bool OpenEdit(const RECT& rect, WORD col, WORD row, LPCWSTR pszText, HFONT hFont);
    static LRESULT EditWndProc(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam);
    LRESULT OnEditKey(UINT msg, WPARAM key, bool& handled);
    bool IsOutsideEdit(LPARAM lParam) const;
    void EndEdit(bool bKeep);

    void Resize(int rows, int cols);
    void Reset();
    tagCELLINFO* CellForText(WORD col, WORD row);
    void ParseCell(tagCELLINFO& cell, LPCWSTR pszText, BYTE quality);
    tagCELLINFO* AskForCell(WORD col, WORD row);
    void Fill(tagCELLINFO& cell, WORD col, WORD row, const tagNM_GRIDCELL& answer);
    void RowChanged(WORD row);
    std::u16string TextOf(WORD col, WORD row) const;
    bool PutOnClipBoard(const std::u16string& text) const;

    int MeasureRow(HDC hdc, WORD row, bool bAsk, bool& bMeasured);
    void RemeasureRow(WORD row);
    SIZE WholeClient() const;
    void TryClient(int width, int height);
    void FitBars();
    bool HasOwnBars() const { return !m_hVerticalBar && !m_hHorizontalBar; }
    void OfferBars();
    void RequestRow(WORD row);
    void RequestView();
    RECT TextRect(WORD col, WORD row, const tagCELLINFO& cell) const;
    void SetBar(HWND hBar, int bar, int total, int fixed, int client, int position);
};
