// A grid on the screen: painted into a picture that is kept, so that only what has changed is painted again, and scrolled,
// by pixels, rows, bars and fingers.
#pragma once

#include "QNGridCtrl/HTMLGridKinetic.h"
#include "QNGridCtrl/HTMLGridModel.h"
#include "QNGridCtrl/HTMLToolTip.h"

#include <array>
#include <memory>

// What arrows of the scroll bars and arrow keys do.
inline constexpr WORD GRID_SCROLL_ROW = 0;
inline constexpr WORD GRID_SCROLL_PAGE = 1;
inline constexpr WORD GRID_SCROLL_CURRENT = 2; // the current row moves

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

class QN_API CHTMLGridScreen : public CHTMLGridModel {
public:
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
    // The first one that is seen of those that scroll.
    void SetTopRow(WORD row);
    void SetLeftCol(WORD col);
    bool MakeCellVisible(WORD col, WORD row); // scrolls as little as it takes; true when it did
    void MakeRowTopMost(WORD row) { SetTopRow(row); }
    // Of its own bar or the one in its place; SB_VERT or SB_HORZ.
    bool GetScrollInfoEx(int bar, SCROLLINFO& info) const;
    int SetScrollInfoEx(int bar, const SCROLLINFO& info);
    // A tip at the right edge while the vertical thumb is dragged, with the owner's text for the row there.
    void SetScrollTip(bool bOn);
    // Fingers scroll, with momentum; without it they select.
    void SetTouchScrolling(bool bOn);
    bool GetTouchScrolling() const { return m_bTouchScrolling; }
    bool IsScrolling() const { return m_Kinetic.IsMoving(); }
    // The finger that scrolls is still down.
    bool IsTouchScrollingDown() const { return m_Kinetic.IsTouched(); }
    // Two pictures of the grid, as it was at SlideViewBefore, which hides it, and as it is, slid one over the other.
    void SlideViewBefore();
    void SlideViewAfter(bool bForward);
    void Slide(CHTMLGridScreen& other, bool bForward); // this one hides, the other is shown in its place
    // During a paint: whether the cell is in what is painted.
    bool IsCellUpdated(WORD col, WORD row) const;
    bool SetBarsScrollMode(WORD mode); // GRID_SCROLL_; false for any other
    void SetThumbTrack(bool bOn) { m_bThumbTrack = bOn; }
    void SetAllowAutoScroll(bool bAllow) { m_bAllowAutoScroll = bAllow; }
    bool GetAllowAutoScroll() const { return m_bAllowAutoScroll; }

protected:
    CHTMLGridScreen() = default;
    ~CHTMLGridScreen() override { DestroyBitmapBuffer(); }

    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnDestroy(bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;
    LRESULT OnPaint(bool& handled) override;
    void DestroyBitmapBuffer();

    // --- Scrolling (HTMLGridScroll.cpp)
    void UpdateParentWithScrollingPosition(bool bVertical); // tells the owner of another one
    // During a drag at the edges: a row or column at each tick. Directions are GRID_TO_ bits.
    void StartAutoScroll(DWORD directions);
    void StopAutoScroll();
    void AutoScroll();
    bool OnScrollTimer(WPARAM id); // false: another one
    // GRIDM_SCROLL_DOWN and its kin; false: another one.
    bool OnScrollMessage(UINT msg, int pixels);
    bool OnBar(int bar, UINT code); // one of the SB_ codes
    // The finger has let go: back from beyond the end, then the momentum.
    void EndTouchScroll();
    // The scroll position, within its bounds; true when that moved anything.
    bool MoveTo(int left, int top) { return MoveTo(left, top, m_nOverscroll); }
    bool MoveTo(int left, int top, int overscroll);

    WORD m_nBarsScrollMode = GRID_SCROLL_ROW;
    bool m_bTouchScrolling = false;
    bool m_bThumbTrack = true;
    bool m_bAllowAutoScroll = true;

    // --- Painting
    HBITMAP m_hBackBitmap = nullptr; // the retained picture of the client area
    int m_nSpare = 0;                // rows of pixels of the bitmap beyond it
    int m_nPictureTop = 0;           // the row of the bitmap where it begins now
    HTMLGridView m_Painted;          // at the last paint
    HDC m_hBuffer = nullptr;         // the context that has it selected, kept for the next step of a scroll
    RECT m_rcUpdated{};              // what is painted now, and what of it lies in the pane at work
    RECT m_rcPane{};
    HBITMAP m_hSlideBitmap = nullptr;

    // --- Scrolling
    HTMLGridKinetic m_Kinetic;
    std::unique_ptr<CHTMLToolTip> m_pScrollTip; // null: none is wanted
    DWORD m_dwAutoScroll = 0;
    int m_nToldTop = -1; // to the owner
    int m_nToldLeft = -1;

private:
    // --- Painting (HTMLGridPaint.cpp, HTMLGridUpdate.cpp, HTMLGridFloaterPaint.cpp)
    RECT Client() const;
    bool HoldBuffer(int spare);
    void PaintBuffer(HDC hdc);
    bool PrepareBuffer();
    void CopyOut(HDC hdc) const;
    void ClipToPane(HDC hdc) const;
    void UpdateScreen(HDC hdc);
    void UpdateSelection(HDC hdc);
    void UpdateScrolled(HDC hdc);
    void ShiftRows(HDC hdc, const RECT& rows, int dy);
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
    void MeasureAbove(int pixels);
    bool FindBar(int bar, HWND& hBar, int& number) const;
    bool StepCurrentRow(int step);
    bool ScrollByArrow(int bar, int step);
    bool ScrollToThumb(int bar);
    void ShowScrollTip();
    bool ScrollByBar(int bar, UINT code);
};
