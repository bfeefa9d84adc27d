// The frame of the suite's dialogs: a title bar (none without a title), the content, a bar of commands at the bottom with
// OK, Cancel and what m_Menus adds; the keys that every dialog has.
//
//   Tab, Shift+Tab   to the next or former window with WS_TABSTOP, in the order they were made, the command bar last
//   Enter            the default command (OK), unless the field with the focus keeps it (WM_GETDLGCODE)
//   Escape           Cancel, unless a field that is being edited in place keeps it
//   letters          the command that marks it, with Alt, or without where nothing is typed
//
// The window is made by Create (shown until EndDialog destroys it) or CeDialog::DoModal. It stands over its owner, never
// leaves the screen and fills a small one; it follows when the screen changes. Thread of the window.
#pragma once

#include "NorvoUI/CeIconButton.h"
#include "NorvoUI/CeMenus.h"
#include "NorvoUI/CePopupFrame.h"
#include "NorvoUI/CeWnd.h"

#include <string>
#include <vector>

class QN_API CeBaseDialog : public CeWnd {
public:
    static int m_bSoftKeys; // commands share the whole width of the bar; settled by InitQNTools

    // The size of the content in pixels at 96 dots an inch; 0: all there is room for.
    explicit CeBaseDialog(LPCWSTR title = u"", SIZE size = {0, 0});
    ~CeBaseDialog() override;

    // The active window is the owner when it is null.
    bool Create(HWND hOwner);
    // Keeps the result; the window goes, at once or with the end of its loop.
    virtual void EndDialog(int result);
    int GetResult() const { return m_nResult; }
    void SetTitle(LPCWSTR title);

    // --- To be overridden
    // The window stands, unseen: here the content is made, as children. The focus goes to the first window with WS_TABSTOP
    // (true) or to the command that acts by default (false), unless it was set here.
    virtual bool OnInitDialog() { return true; }
    virtual void OnOK() { EndDialog(IDOK); }
    virtual void OnCancel() { EndDialog(IDCANCEL); }
    // The content has this place in the client area.
    virtual void OnLayout(const RECT& content) { static_cast<void>(content); }
    // Pixels; at most so many. By default the size of the constructor.
    virtual SIZE GetContentSize(SIZE most);
    // IDOK and IDCANCEL; commands of the bar and of its menus come here too.
    LRESULT OnCommand(WPARAM wParam, LPARAM lParam, bool& handled) override;

    // Whether a message taken out of the queue was a key of the dialog, which is then done with.
    bool TakeKey(const MSG& message);

protected:
    // False leaves a bar without OK and Cancel. Before the window is made.
    void SetStandardButtons(bool ok, bool cancel);
    // What Enter does, and what Escape and closing do; 0 for nothing.
    void SetDefaultCommand(UINT id) { m_nDefault = id; }
    void SetCancelCommand(UINT id) { m_nCancel = id; }
    // The bar shows what m_Menus has; the commands' state as it is there.
    void UpdateBar();
    // The window, unseen; then what stands below it is painted and it shows.
    bool CreateFrame(HWND hOwner);
    void ShowFrame(bool activate = true);

    // A letter where nothing is typed, or with Alt. True when it marks something here.
    virtual bool OnLetter(WCHAR letter) { return m_Bar.PressLetter(letter); }

    LRESULT OnPaint(bool& handled) override;
    LRESULT OnEraseBkgnd(HDC hdc, bool& handled) override;
    LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled) override;
    LRESULT OnClose(bool& handled) override;
    LRESULT OnActivate(WPARAM wParam, LPARAM lParam, bool& handled) override;
    LRESULT OnSettingChange(WORD flag, LPCWSTR text, bool& handled) override;
    LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled) override;

    CeMenus m_Menus;
    CeIconButton m_Bar;
    int m_nResult = IDCANCEL;

private:
    void Place();
    void Arrange();
    void FillBar();
    void UpdateStates();
    void Settle();
    bool IsOwn(HWND hWnd) const { return hWnd && (hWnd == m_hWnd || IsChild(hWnd)); }
    bool TakeKeyDown(const MSG& message);
    bool PressEnter(const MSG& message);
    std::vector<HWND> TabStops() const;
    void MoveToTabStop(bool back);
    void FocusFirst(bool content);
    int TitleHeight() const;
    void Command(UINT id); // nothing for one that is 0 or disabled
    void DropMenu(UINT id);

    CePopupFrame m_Frame;
    std::u16string m_title;
    SIZE m_size;
    UINT m_nDefault = IDOK;
    UINT m_nCancel = IDCANCEL;
    bool m_ok = true;
    bool m_cancel = true;
    HWND m_hFocus = nullptr; // while another window is active
};
