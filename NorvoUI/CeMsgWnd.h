// The dispatch of messages to handlers that a window's class overrides.
//
// A handler sets `handled` when the message is done with; left false, the message goes on to Default: the procedure that
// the class was made over, else the system's. Of the results only those of commands, notifications, erasing and messages
// without a handler of their own count; the others give 0. Everything runs on the thread that made the window.
#pragma once

#include "Platform/windows.h"

class QN_API CeMsgWnd {
public:
    virtual ~CeMsgWnd() = default;
    virtual LRESULT Default();
    virtual LRESULT ProcessMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled);
    virtual LRESULT OnChar(WPARAM code, UINT repeat, UINT flags, bool& handled);
    virtual LRESULT OnClose(bool& handled);
    virtual LRESULT OnCreate(CREATESTRUCTW* create, bool& handled);
    virtual LRESULT OnCommand(WPARAM wParam, LPARAM lParam, bool& handled);
    virtual LRESULT OnNotify(int id, NMHDR* header, bool& handled);
    virtual LRESULT OnDestroy(bool& handled);
    virtual LRESULT OnEnable(BOOL enabled, bool& handled);
    virtual LRESULT OnEraseBkgnd(HDC hdc, bool& handled);
    virtual LRESULT OnKeyDown(WPARAM code, UINT repeat, UINT flags, bool& handled);
    virtual LRESULT OnKeyUp(WPARAM code, UINT repeat, UINT flags, bool& handled);
    virtual LRESULT OnLButtonDblClk(WPARAM flags, POINT point, bool& handled);
    virtual LRESULT OnLButtonDown(WPARAM flags, POINT point, bool& handled);
    virtual LRESULT OnLButtonUp(WPARAM flags, POINT point, bool& handled);
    virtual LRESULT OnMouseMove(WPARAM flags, POINT point, bool& handled);
    virtual LRESULT OnMove(int x, int y, bool& handled);
    virtual LRESULT OnPaint(bool& handled);
    virtual LRESULT OnShowWindow(BOOL show, int status, bool& handled);
    // Notices a turned display; an override that wants to hear of it calls this one.
    virtual LRESULT OnSize(WPARAM type, int cx, int cy, bool& handled);
    virtual LRESULT OnTimer(WPARAM id, bool& handled);
    virtual LRESULT OnSettingChange(WORD flag, LPCWSTR text, bool& handled);
    virtual LRESULT OnActivate(WPARAM wParam, LPARAM lParam, bool& handled);
    virtual LRESULT OnOrientationChange(int cx, int cy, bool& handled);
    virtual LRESULT OnIMEHandler(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled);
    virtual LRESULT OnMessage(UINT msg, WPARAM wParam, LPARAM lParam, bool& handled);
    // Once, before the object has its handle.
    virtual void OnFirstMessage(HWND hWnd);
    // Once, when the handle is gone: the object may delete itself here.
    virtual void OnFinalMessage(HWND hWnd);

protected:
    WNDPROC m_pfnSuperWndProc = nullptr; // where Default goes on; null is the system's
    HWND m_hMsgWnd = nullptr;            // the message being handled
    UINT m_uMsg = 0;
    WPARAM m_wParam = 0;
    LPARAM m_lParam = 0;
    DWORD m_dwOrientation = 0; // of the display, as last seen
};
