// The text field: windows of the class "EDIT". Their text is that of any window (WM_SETTEXT, WM_GETTEXT), their font that
// of WM_SETFONT, and WM_CUT, WM_COPY, WM_PASTE, WM_CLEAR and WM_UNDO do what they say.
//
// Positions count units of the text; a surrogate pair and a CR LF are never parted. With ES_MULTILINE a text has rows, that
// wrap at the width unless ES_AUTOHSCROLL is set, and a bar if the window has WS_VSCROLL. Selection by pointer, double click
// and Shift; words with Ctrl; Ctrl+A, C, X, V, Z, Y. What the person does is told to the parent by WM_COMMAND: the id in the
// low half of wParam, one of the EN numbers in the high one, the window in lParam.
#pragma once

#include "Platform/types.h"

#pragma GCC visibility push(default)

inline constexpr DWORD ES_MULTILINE = 0x0004;
inline constexpr DWORD ES_PASSWORD = 0x0020; // shown as "*", and not to be copied
inline constexpr DWORD ES_AUTOVSCROLL = 0x0040;
inline constexpr DWORD ES_AUTOHSCROLL = 0x0080;
inline constexpr DWORD ES_READONLY = 0x0800;
inline constexpr DWORD ES_WANTRETURN = 0x1000; // Enter is the field's, not the dialog's
inline constexpr DWORD ES_NUMBER = 0x2000;     // digits are all that can be typed

inline constexpr UINT EM_GETSEL =
    0xB0; // DWORD* in wParam and lParam, either may be null; gives both in halves
inline constexpr UINT EM_SETSEL =
    0xB1; // where it starts and where the caret is; -1 as the end is the text's,
          // as the start it takes the selection away
inline constexpr UINT EM_SCROLLCARET = 0xB7; // into view
inline constexpr UINT EM_GETMODIFY = 0xB8;   // has the person changed the text since it was set?
inline constexpr UINT EM_SETMODIFY = 0xB9;
inline constexpr UINT EM_GETLINECOUNT = 0xBA;
inline constexpr UINT EM_LINEINDEX = 0xBB;  // where a row begins (-1: that of the caret); -1 behind the last
inline constexpr UINT EM_REPLACESEL = 0xC2; // lParam the text; without wParam it can't be undone
inline constexpr UINT EM_LIMITTEXT =
    0xC5; // units that the text may have from now on; 0 is no limit, 32,767 at first
inline constexpr UINT EM_CANUNDO = 0xC6;
inline constexpr UINT EM_UNDO = 0xC7; // the last run of changes; once more does them again
inline constexpr UINT EM_SETPASSWORDCHAR = 0xCC;
inline constexpr UINT EM_SETREADONLY = 0xCF;

inline constexpr WORD EN_SETFOCUS = 0x100;
inline constexpr WORD EN_KILLFOCUS = 0x200;
inline constexpr WORD EN_CHANGE = 0x300; // the text is another one, and shown
inline constexpr WORD EN_UPDATE = 0x400; // it is about to be shown

// Answers to WM_GETDLGCODE.
inline constexpr LRESULT DLGC_WANTARROWS = 0x01;
inline constexpr LRESULT DLGC_WANTALLKEYS = 0x04;
inline constexpr LRESULT DLGC_HASSETSEL = 0x08;
inline constexpr LRESULT DLGC_WANTCHARS = 0x80;

#pragma GCC visibility pop
