// Menus and message boxes: data here; who shows them is the prompt provider, or a test's script.
//
// Any thread may use a menu. Nothing blocks in a headless run: without a provider a box answers at once, a menu with none.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

// --- Menus --------------------------------------------------------------------------------------------------------

inline constexpr UINT MF_STRING = 0x0000;
inline constexpr UINT MF_ENABLED = 0x0000;
inline constexpr UINT MF_UNCHECKED = 0x0000;
inline constexpr UINT MF_BYCOMMAND = 0x0000;
inline constexpr UINT MF_GRAYED = 0x0001;
inline constexpr UINT MF_DISABLED = 0x0002;
inline constexpr UINT MF_CHECKED = 0x0008;
inline constexpr UINT MF_POPUP = 0x0010;
inline constexpr UINT MF_MENUBREAK = 0x0040;
inline constexpr UINT MF_OWNERDRAW = 0x0100;
inline constexpr UINT MF_BYPOSITION = 0x0400;
inline constexpr UINT MF_SEPARATOR = 0x0800;
inline constexpr UINT MFT_RADIOCHECK = 0x0200;

inline constexpr UINT MIIM_STATE = 0x01;
inline constexpr UINT MIIM_ID = 0x02;
inline constexpr UINT MIIM_SUBMENU = 0x04;
inline constexpr UINT MIIM_TYPE = 0x10;
inline constexpr UINT MIIM_DATA = 0x20;
struct MENUITEMINFOW {
    UINT cbSize; // sizeof(MENUITEMINFOW)
    UINT fMask;
    UINT fType;  // MF_MENUBREAK, MF_OWNERDRAW, MF_SEPARATOR, MFT_RADIOCHECK
    UINT fState; // MF_GRAYED, MF_DISABLED, MF_CHECKED
    UINT wID;
    HMENU hSubMenu;
    HBITMAP hbmpChecked;
    HBITMAP hbmpUnchecked;
    ULONG_PTR dwItemData;
    LPWSTR dwTypeData; // in: the buffer of the text, or null; an owner-drawn item's value comes out
    UINT cch;          // in: its size; out: the length of the text
};

// A menu belongs to whoever made it; a sub-menu to the menu that it was put into. By command, an item is looked for in the
// menu and its sub-menus.
HMENU CreatePopupMenu();
// Destroys its sub-menus too.
BOOL DestroyMenu(HMENU menu);
// `flags` with MF_POPUP: `id` is the sub-menu. With MF_OWNERDRAW `text` is the item's own value. False with error 87 when
// the menu would come to stand in itself.
BOOL AppendMenuW(HMENU menu, UINT flags, ULONG_PTR id, LPCWSTR text);
// Before the item `position` (a command, or with MF_BYPOSITION a place from 0); a place behind the end appends.
BOOL InsertMenuW(HMENU menu, UINT position, UINT flags, ULONG_PTR id, LPCWSTR text);
// RemoveMenu leaves a sub-menu of the item alive, DeleteMenu destroys it.
BOOL RemoveMenu(HMENU menu, UINT position, UINT flags);
BOOL DeleteMenu(HMENU menu, UINT position, UINT flags);
// Both give the former state, 0xFFFFFFFF when there is no such item.
DWORD CheckMenuItem(HMENU menu, UINT item, UINT flags);
DWORD EnableMenuItem(HMENU menu, UINT item, UINT flags);
// Marks one of the items first to last with a dot and clears the others.
BOOL CheckMenuRadioItem(HMENU menu, UINT first, UINT last, UINT check, UINT flags);
// Fills what the mask asks for; the text is cut to the buffer.
BOOL GetMenuItemInfoW(HMENU menu, UINT item, BOOL byPosition, MENUITEMINFOW* info);
HMENU GetSubMenu(HMENU menu, int position);
// -1 for no menu.
int GetMenuItemCount(HMENU menu);
// 0xFFFFFFFF for a sub-menu and for no item.
UINT GetMenuItemID(HMENU menu, int position);
// The item's flags; of a sub-menu the low byte, with the number of its items in the next. 0xFFFFFFFF for no item.
UINT GetMenuState(HMENU menu, UINT item, UINT flags);

inline constexpr UINT TPM_RETURNCMD = 0x0100;
// Sends WM_INITMENUPOPUP to the window, lets the prompt provider choose, and returns the command (0 for none) with
// TPM_RETURNCMD; otherwise posts it to the window as WM_COMMAND and returns true. Only an enabled item can be chosen.
BOOL TrackPopupMenuEx(HMENU menu, UINT flags, int x, int y, HWND window, void* parameters);

// --- Prompts ------------------------------------------------------------------------------------------------------

inline constexpr UINT MB_OK = 0;
inline constexpr UINT MB_OKCANCEL = 1;
inline constexpr UINT MB_ABORTRETRYIGNORE = 2;
inline constexpr UINT MB_YESNOCANCEL = 3;
inline constexpr UINT MB_YESNO = 4;
inline constexpr UINT MB_RETRYCANCEL = 5;
inline constexpr UINT MB_TYPEMASK = 0x0F;
inline constexpr UINT MB_ICONHAND = 0x10;
inline constexpr UINT MB_ICONQUESTION = 0x20;
inline constexpr UINT MB_ICONEXCLAMATION = 0x30;
inline constexpr UINT MB_ICONASTERISK = 0x40;
inline constexpr UINT MB_SETFOREGROUND = 0x10000;
inline constexpr UINT MB_TOPMOST = 0x40000;
inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDABORT = 3;
inline constexpr int IDRETRY = 4;
inline constexpr int IDIGNORE = 5;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;

// Null texts are empty ones. Without a prompt provider it answers at once, with the first button of its kind, and writes a
// line to standard error while QN_DEBUG is set.
int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type);
// True when the sound was given to the prompt provider or there is none.
BOOL MessageBeep(UINT type);

// Host side: who shows message boxes and menus. Called on the thread that asks, with no lock held.
class PlatPromptProvider {
public:
    virtual ~PlatPromptProvider() = default;
    // One of the ID numbers above.
    virtual int ShowMessageBox(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) = 0;
    // The id of the chosen item, 0 for none.
    virtual UINT PickFromMenu(HWND owner, HMENU menu, int x, int y) = 0;
    virtual BOOL Beep(UINT type) = 0;
};
// The provider stays the caller's and must outlive its use; null takes it out. Gives the former one.
PlatPromptProvider* PlatSetPromptProvider(PlatPromptProvider* provider);

#pragma GCC visibility pop
