#include "NorvoTools/globals.h"

HINSTANCE g_hInstance = nullptr;
HINSTANCE g_hResources = nullptr;
HINSTANCE g_hInkLibrary = nullptr;

WCHAR* g_szNorvoDirectory = nullptr;

DWORD g_dwLeftDefine = 0;
DWORD g_dwRightDefine = 2;

HBRUSH g_hWindowBrush = nullptr;
HFONT g_hBoldFont = nullptr;

DWORD g_HIDPI_LogPixelsX = 0;
DWORD g_HIDPI_LogPixelsY = 0;
DWORD g_HIDPI_IconPixels = 0;
DWORD g_HIDPI_BorderPixels = 0;
DWORD g_HIDPI_IconPixels_Special = 0;
DWORD g_bSquareScreen = 0;
DWORD g_HIDPI_QNFontScale = 0;

COLORREF crTabSelColor1 = 0;
COLORREF crTabSelColor2 = 0;
COLORREF crTabColor1 = 0;
COLORREF crTabColor2 = 0;
COLORREF crTabBorder = 0;
COLORREF crArrowSelColor1 = 0;
COLORREF crArrowSelColor2 = 0;
COLORREF crTopBarColor = 0;
