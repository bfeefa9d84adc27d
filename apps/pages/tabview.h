// What all tabs of the suite share: a bar with the title and tools above, what the tab is about below it, the card of an
// item beside that where there is room, else in its place, and a notice of what was done just now.
#pragma once

#include "apps/pages/bar.h"
#include "apps/pages/card.h"
#include "apps/pages/menu.h"

#include <utility>

namespace qn {

class TabView : public CeWnd {
public:
    // A child, or without a parent a window of its own.
    bool Open(HWND parent, const RECT& rect);
    // Loads and shows what has not been loaded yet, or may have changed; called whenever the tab is brought to the front.
    virtual void Begin() = 0;
    // Loads anew.
    virtual void Reload() = 0;
    // Dispatches messages until all is loaded, or so many milliseconds are over (0: however long it takes).
    virtual void Wait(UINT most = 0) = 0;
    // A key that was pressed, not of the control ones; false when it means nothing here.
    bool Key(WPARAM key);
    void TakeFocus();
    // The focus is in a line of text, which gets the keys first.
    virtual bool IsTyping() const { return false; }
    // The focus goes to the line of text; where there is none it stays.
    virtual void StartTyping() {}
    // From the bar through the windows below it, forward or backward; false behind the last.
    bool MoveFocus(bool forward);
    // Cells that the bar has at its end, as wide as arrows.
    void SetTools(std::vector<Bar::Cell> tools);
    // While a window covers the page: what the bar says, and what its arrow does. An empty title ends that.
    void SetCover(const std::u16string& title, std::function<void()> back);
    // Names of categories, as ListLoad has them.
    virtual const std::vector<std::u16string>& Categories() const = 0;
    void ShowCategories(std::vector<std::u16string> names);
    // As if this had been typed into the line of text; tabs without one don't listen.
    virtual void Find(const std::u16string&) {}
    // Called when other categories are shown.
    std::function<void()> filtered;
    // What the tab adds to the menu of the window, above the common rows.
    virtual std::vector<MenuRow> MenuRows() { return {}; }

    // --- What is done with the item that is selected or on the card
    virtual bool HasItem() const = 0;
    virtual bool CanDelete() const { return HasItem(); }
    bool IsCardOpen() const { return m_cardOpen; }
    virtual void OpenCurrent() = 0;
    virtual void DeleteCurrent() = 0; // asks before
    bool CanUndo() const { return static_cast<bool>(m_undo); }
    void Undo();                               // the last change
    using UndoStep = std::function<HRESULT()>; // gives the result of the store
    // For a view that takes the place of another one. It outlives the view.
    UndoStep TakeUndo() { return std::exchange(m_undo, nullptr); }
    void SetUndo(UndoStep undo) { m_undo = std::move(undo); }

protected:
    // --- What a tab fills in. The body is what stands below the bar.
    virtual bool OpenBody(const RECT& inside) = 0;
    virtual void PlaceBody(const RECT& place) = 0;
    virtual void ShowBody(bool show) = 0;
    virtual void FocusBody() = 0;
    virtual std::vector<HWND> BodyStops() const = 0; // windows that take the focus, from top to bottom
    virtual void BodyEntered() {} // keys may have brought the focus to one of them: it shows where it is
    virtual std::vector<Bar::Cell> TitleCells() = 0; // of the bar while the body is seen
    virtual bool BodyKey(WPARAM key) = 0;            // while it is seen
    virtual bool TypingKey(WPARAM) { return false; } // that the line of text shall not have
    virtual void CardClosed() = 0;                   // no item is on it any more
    virtual void CategoriesChosen(std::vector<std::u16string> names) = 0; // and loads anew what was loaded
    virtual void TimerOver(WPARAM) {} // of kFirstOwnTimer and above; it goes on until killed

    static constexpr WPARAM kFirstOwnTimer = 16;
    void Arrange();
    void FillBar();
    void ShowBusy(bool busy);
    void ShowCard(const CardText& card);
    void CloseCard(); // and what stood there before is seen again
    void LoseCard();  // its item has gone
    // In one line; of a name as much as there is room for.
    void Tell(std::u16string_view what, std::u16string_view name);
    // The same of a change, which is undone by `undo` from now on; without it by nothing.
    void Tell(std::u16string_view what, std::u16string_view name, UndoStep undo);
    // The menu of the title, below it.
    void ShowTitleMenu(const std::vector<MenuRow>& rows);
    bool AskToDelete(const std::u16string& question, const WCHAR* remembered);
    int Width() const;
    bool IsWide() const;   // the card stands beside the body
    bool IsNarrow() const; // the bar has no room for long words
    bool IsCardAlone() const { return m_cardOpen && !IsWide(); }
    bool IsOnCard() const { return IsCardAlone() || ::GetFocus() == m_card.FocusWindow(); }
    int ArrowWidth() const; // of a cell of the bar, in pixels

    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;

private:
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;
    LRESULT OnTimer(WPARAM id, bool& handled) override;
    void ShowNotice(std::u16string_view what, std::u16string_view name, bool undo);
    void EndNotice();
    void KeepFocusSeen();
    void SeeDay();

    Bar m_bar;
    Bar m_notice; // below the body
    Card m_card;
    std::vector<Bar::Cell> m_tools;
    std::u16string m_coverTitle;
    std::function<void()> m_coverBack;
    bool m_cardOpen = false;
    bool m_told = false; // the notice is shown
    UndoStep m_undo;
    LONG m_today = 0; // that the texts were made for
};

} // namespace qn
