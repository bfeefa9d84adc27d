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
//
// The class comes in three layers: CHTMLGridModel what it holds, CHTMLGridScreen how that is painted and scrolled, CHTMLGrid
// what a person does with it, and the slots that a class derived from it may fill.
#pragma once

#include "QNGridCtrl/HTMLGridInput.h"
#include "QNGridCtrl/HTMLGridScreen.h"

#include <memory>
#include <string>

class QN_API CHTMLGrid : public CHTMLGridScreen {
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
    LRESULT OnTimer(WPARAM id, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;
    LRESULT OnCreate(CREATESTRUCTW* create, bool& handled) override;
    LRESULT OnDestroy(bool& handled) override;
    LRESULT OnLButtonDown(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnLButtonUp(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnMouseMove(WPARAM flags, POINT point, bool& handled) override;
    LRESULT OnKeyDown(WPARAM code, UINT repeat, UINT flags, bool& handled) override;
    LRESULT OnKeyUp(WPARAM code, UINT repeat, UINT flags, bool& handled) override;
    LRESULT OnChar(WPARAM code, UINT repeat, UINT flags, bool& handled) override;

    // --- Input modes
    // What arrow keys do: GRID_SCROLL_; false for any other.
    bool SetKeysScrollMode(WORD mode);
    void SetScrollingSensitivity(int pixels) { m_nScrollingSensitivity = pixels; }
    void SetDragAllowed(bool bAllowed) { m_bDragAllowed = bAllowed; }
    bool GetDragAllowed() const { return m_bDragAllowed; }
    void SetGridHandleDlgCode(bool bOn) { m_bHandleDlgCode = bOn; }
    // An arrow key held for so long is told to the owner (GRIDN_KEY_HELD) and slowed down; 0 lets it repeat.
    void SetDelayedScrolling(DWORD milliseconds) { m_HeldKey.wait = milliseconds; }
    // A text field over the cell, or over all that is selected with it, with its EDITABLE text. What is written there goes to
    // the owner (GRIDM_EDIT_END). False when the owner refuses or there is no cell.
    bool EnableCellEdit(WORD col, WORD row, bool bWholeSelection);
    bool GetEditMode() const { return m_hEdit != nullptr; }
    // As if it was tapped: GRIDN_TAP with these data. The flags are not looked at.
    bool ActivateCell(WORD col, WORD row, DWORD data, DWORD flags);

protected:
    // --- Drags (HTMLGridDrag.cpp)
    void CheckDragScroll(POINT point); // scrolls while the point is near an edge
    void UpdateSelection(POINT point); // from where the press began to there
    void FinishDragOperation();

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
    WORD m_nKeysScrollMode = GRID_SCROLL_CURRENT;
    WORD m_wScrollRegion; // width of the bands at the edges that scroll during a drag
    int m_nScrollingSensitivity;
    bool m_bDragAllowed = false;
    bool m_bHandleDlgCode = false;

private:
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
    void CancelPress(bool released = false);
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
};
