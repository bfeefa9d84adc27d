// The process-wide values of the library that every room reads. All are plain: the initialising thread writes them
// (process attach, InitQNTools, UnInitQNTools), everybody else only reads, without a lock, while the library is up.
#pragma once

#include "Platform/types.h"

extern QN_API HINSTANCE g_hInstance; // this library
// Every text, dialog and picture comes from here; null: loads yield nothing.
extern QN_API HINSTANCE g_hResources;
extern QN_API HINSTANCE g_hInkLibrary; // loaded by the ink control at first use, freed by UnInitQNTools

// The suite directory, without "\Norvo". Read it through GetNorvoDirectory, which settles it when it is null.
extern QN_API WCHAR* g_szNorvoDirectory;

// What the mark-up engine uses for "left" and "right": 0 (DT_LEFT) or 2 (DT_RIGHT).
extern QN_API DWORD g_dwLeftDefine;
extern QN_API DWORD g_dwRightDefine;

extern QN_API HBRUSH g_hWindowBrush; // the system's window brush; not owned
extern QN_API HFONT g_hBoldFont;     // the bold dialog font; owned by the frame

// Screen metrics, 0 until HIDPI_InitScaling.
extern QN_API DWORD g_HIDPI_LogPixelsX;
extern QN_API DWORD g_HIDPI_LogPixelsY;
extern QN_API DWORD g_HIDPI_IconPixels;
extern QN_API DWORD g_HIDPI_BorderPixels;
// Of the icons in a line of text: 32 becomes 24, 16 becomes 13.
extern QN_API DWORD g_HIDPI_IconPixels_Special;
extern QN_API DWORD g_bSquareScreen;
extern QN_API DWORD g_HIDPI_QNFontScale; // dots of a point, times 1000

// Colours of tabs and bars, 0 until InitLabelColors.
extern QN_API COLORREF crTabSelColor1;
extern QN_API COLORREF crTabSelColor2;
extern QN_API COLORREF crTabColor1;
extern QN_API COLORREF crTabColor2;
extern QN_API COLORREF crTabBorder;
extern QN_API COLORREF crArrowSelColor1;
extern QN_API COLORREF crArrowSelColor2;
extern QN_API COLORREF crTopBarColor;
