// What a grid holds and how large all of it is: cells, rows and columns, floaters, selection, look, pictures. How that comes
// to the screen stands in HTMLGridScreen.h, what a person does with it in HTMLGrid.h, which is the one to include.
#pragma once

#include "NorvoUI/CeWnd.h"
#include "QNGridCtrl/HTMLGridAxis.h"
#include "QNGridCtrl/HTMLGridFloaters.h"
#include "QNGridCtrl/HTMLGridImages.h"
#include "QNGridCtrl/HTMLGridRecords.h"
#include "QNGridCtrl/HTMLGridSelection.h"

#include <string>
#include <vector>

enum ELinkNavigationMode : DWORD {
    LINK_NAVIGATION_OFF = 0,
    LINK_NAVIGATION_BY_REQUEST = 1, // while it is switched on
    LINK_NAVIGATION_ALWAYS = 2,
};

// Scroll bars; both together are 3.
inline constexpr DWORD GRID_BAR_VERTICAL = 1;
inline constexpr DWORD GRID_BAR_HORIZONTAL = 2;

class QN_API CHTMLGridModel : public CeWnd, private HTMLBitmapLoader {
public:
    // --- Life (HTMLGridModel.cpp)
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
    // GRID_BAR_ bits of the bars that the grid may show.
    void SetShowScrollBars(DWORD bars);
    DWORD GetShowScrollBars() const { return m_dwShowBars; }
    // "SCROLLBAR" windows in place of its own bars; null for both ends that.
    void SetExternalScrollBars(HWND hVertical, HWND hHorizontal);

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
    WORD GetBottomRow() const;
    WORD GetLeftCol() const { return PixelToColumn(m_nLeftPixel); }
    int GetTopPixel() const { return m_nTopPixel; }
    int GetBottomPixel() const { return m_nTopPixel + m_nClientHeight - GetFixedRowsHeight(); }
    int GetLeftPixel() const { return m_nLeftPixel; }
    bool IsCellVisible(WORD col, WORD row) const;

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

    // --- Look (HTMLGridModel.cpp)
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
    void SetLinkNavigationMode(ELinkNavigationMode mode);
    void SetLinkNavigationOn(bool bOn);
    ELinkNavigationMode GetLinkNavigationMode() const { return m_eLinkNavigationMode; }
    bool GetLinkNavigationOn() const { return m_bLinkNavigationOn; }
    bool IsLinkNavigationActive() const;

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
    CHTMLGridModel();
    ~CHTMLGridModel() override;

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
    bool HasOwnBars() const { return !m_hVerticalBar && !m_hHorizontalBar; }
    // What a cell's text has of it, from the cell's left top on.
    RECT TextRect(WORD col, WORD row, const tagCELLINFO& cell) const;

    // --- Painting that is owed (HTMLGridModel.cpp)
    void Repaint(); // all
    void RequestUpdate(UpdateKind kind);
    void RequestCellUpdate(WORD col, WORD row);

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
    DWORD m_dwShowBars = GRID_BAR_VERTICAL | GRID_BAR_HORIZONTAL;
    HWND m_hVerticalBar = nullptr; // not the grid's own
    HWND m_hHorizontalBar = nullptr;

    int m_nUpdates = 0;
    DWORD m_dwOwed = 0;
    bool m_bInRecalc = false;
    bool m_bColsOwed = false; // the owner has given a column another width

    bool m_bBufferValid = false; // the retained picture is complete
    UpdateKind m_eUpdateKind = UPDATE_ALL;
    WORD m_wUpdateRow = GRID_NONE;
    WORD m_wUpdateCol = GRID_NONE;

    HWND m_hEdit = nullptr; // the text field over a cell; WM_CANCELMODE ends it

private:
    // --- HTMLBitmapLoader
    HBITMAP BitmapOfFile(LPCWSTR pszPath) override;
    HBITMAP BitmapOfResource(HINSTANCE hInstance, WORD wId) override;
    HBITMAP BitmapOfIcon(HINSTANCE hInstance, WORD wId) override;
    HBITMAP BitmapOfSwatch(DWORD number) override;

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
    void OfferBars();
    void RequestRow(WORD row);
    void RequestView();
    void SetBar(HWND hBar, int bar, int total, int fixed, int client, int position);
};
