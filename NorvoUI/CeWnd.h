// Every window of the library is an object: a handle with its calls (CeBaseWnd) and the handlers of its messages
// (CeMsgWnd), joined by one window procedure for all classes. The object outlives its window unless OnFinalMessage
// deletes it. A crash in a handler is told to the user and ends the application in order.
#pragma once

#include "NorvoUI/CeBaseWnd.h"
#include "NorvoUI/CeMsgWnd.h"

class QN_API CeWnd : public CeBaseWnd, public CeMsgWnd {
public:
    CeWnd() = default;
    ~CeWnd() override; // a window that it still has goes back to its class
    CeWnd(const CeWnd&) = delete;
    CeWnd& operator=(const CeWnd&) = delete;

    // Position and size come from the rectangle; the instance is the application's when it is null. No class name makes a
    // plain window; a class of another procedure is superclassed under "CeWnd:" and its name. False when no window came of
    // it.
    bool Create(LPCWSTR pszClass, HWND hParent, const RECT& rect, LPCWSTR pszTitle, DWORD style,
                DWORD exStyle = 0, UINT id = 0, HINSTANCE hInstance = nullptr);
    bool Create(LPCWSTR pszClass, HWND hParent, const RECT* pRect, LPCWSTR pszTitle, DWORD style,
                DWORD exStyle = 0, UINT id = 0, HINSTANCE hInstance = nullptr);
    bool Create(LPCWSTR pszClass, HWND hParent, int x, int y, int cx, int cy, LPCWSTR pszTitle, DWORD style,
                DWORD exStyle = 0, UINT id = 0, HINSTANCE hInstance = nullptr);

    // Takes over a window that another class made. False when this object has a window, or that one an object.
    bool Subclass(HWND hWnd);
    bool Subclass(int id, HWND hParentDialog);
    // Gives the window back to its class, and its handle.
    HWND Unsubclass();

    // Registers a class of this procedure anew. Cursor and menu are dropped; without a background it is white.
    static bool RegisterClassW(LPCWSTR pszName, UINT style = 0, int classExtra = 0, int windowExtra = 0,
                               HICON icon = nullptr, HCURSOR cursor = nullptr, HBRUSH background = nullptr,
                               LPCWSTR pszMenu = nullptr, HINSTANCE hInstance = nullptr);
    // Registers "CeWnd:GENERIC", once a process, and gives that name.
    static LPCWSTR CreateGenericWndClass(HINSTANCE hInstance = nullptr);
    // Registers "CeWnd:" and the class's name with this procedure and all else of that class; nothing when the class is one
    // of ours and that name is taken. False when there is no such class. *pOldProc is its procedure; *pRegistered tells
    // whether the new class was made here or stood already.
    static bool RegisterWndSuperclass(LPCWSTR pszName, WNDPROC* pOldProc, bool* pRegistered,
                                      HINSTANCE hInstance = nullptr);
    // Whether a class has this procedure.
    static bool IsCeWndProc(LPCWSTR pszName, HINSTANCE hInstance = nullptr);

    void SendMessageToDescendants(UINT msg, WPARAM wParam, LPARAM lParam, bool bDeep = true);
    // The kind of text that the input panel is to offer. The panels of this host have but one, so nothing follows.
    void SetIMEType(DWORD) {}

private:
    // The procedure of all classes made here: it joins a new window to its object.
    static LRESULT StartWndProc(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam);
    // That of joined windows.
    static LRESULT WndProc(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam);
    struct Handling;
    static thread_local Handling* s_handling; // the messages that this thread is in, the innermost first
    LRESULT Dispatch(const Handling& handling, HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam);
    void StoreMessage(HWND hWnd, UINT msg, WPARAM wParam, LPARAM lParam);
    void Leave(HWND hWnd);
};
