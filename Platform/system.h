// Measures, colours and settings of the device; the clipboard. Any thread may call.
#pragma once

#include "Platform/types.h"

#include <string>

#pragma GCC visibility push(default)

// --- Measures -----------------------------------------------------------------------------------------------------

inline constexpr int SM_CXSCREEN = 0;
inline constexpr int SM_CYSCREEN = 1;
inline constexpr int SM_CXVSCROLL = 2;
inline constexpr int SM_CYHSCROLL = 3;
inline constexpr int SM_CYCAPTION = 4;
inline constexpr int SM_CXBORDER = 5;
inline constexpr int SM_CYBORDER = 6;
inline constexpr int SM_CXICON = 11;
inline constexpr int SM_CYICON = 12;
inline constexpr int SM_CXSMICON = 49;
inline constexpr int SM_CYSMICON = 50;
// Pixels, by the screen's dots per inch; 0 for a number that is not listed above.
int GetSystemMetrics(int index);

// --- Colours ------------------------------------------------------------------------------------------------------

inline constexpr DWORD SYS_COLOR_INDEX_FLAG = 0x40000000;
inline constexpr int COLOR_SCROLLBAR = 0;
inline constexpr int COLOR_BACKGROUND = 1;
inline constexpr int COLOR_WINDOW = 5;
inline constexpr int COLOR_WINDOWFRAME = 6;
inline constexpr int COLOR_WINDOWTEXT = 8;
inline constexpr int COLOR_CAPTIONTEXT = 9;
inline constexpr int COLOR_HIGHLIGHT = 13;
inline constexpr int COLOR_HIGHLIGHTTEXT = 14;
inline constexpr int COLOR_BTNFACE = 15;
inline constexpr int COLOR_BTNSHADOW = 16;
inline constexpr int COLOR_GRAYTEXT = 17;
inline constexpr int COLOR_BTNTEXT = 18;
inline constexpr int COLOR_HOTLIGHT = 26;
// By index, with or without the flag; 0 for one that is none.
COLORREF GetSysColor(int index);
// Belongs to the host; null for an index that is none. After a change of the colour it is another brush.
HBRUSH GetSysColorBrush(int index);
// Host side: another colour from now on; all windows are painted anew. False for an index that is none.
bool PlatSetSysColor(int index, COLORREF color);

// --- Settings -----------------------------------------------------------------------------------------------------

inline constexpr UINT SPI_SETWORKAREA = 47;
inline constexpr UINT SPI_GETWORKAREA = 48;
inline constexpr UINT SPI_GETOEMINFO = 258;
// The work area (a RECT), or the name of the device (`parameter` characters of `data`, cut to fit); false with error 87
// for all else.
BOOL SystemParametersInfoW(UINT action, UINT parameter, void* data, UINT update);

inline constexpr DWORD DM_DISPLAYORIENTATION = 0x00800000;
inline constexpr DWORD CDS_TEST = 2;
inline constexpr LONG DISP_CHANGE_SUCCESSFUL = 0;
inline constexpr LONG DISP_CHANGE_FAILED = -1;
inline constexpr LONG DISP_CHANGE_BADPARAM = -5;
struct DEVMODEW {
    WCHAR dmDeviceName[32];
    WORD dmSpecVersion;
    WORD dmDriverVersion;
    WORD dmSize; // sizeof(DEVMODEW)
    WORD dmDriverExtra;
    DWORD dmFields;
    SHORT dmPrinter[13]; // settings of printers
    WCHAR dmFormName[32];
    WORD dmLogPixels;
    DWORD dmBitsPerPel;
    DWORD dmPelsWidth;
    DWORD dmPelsHeight;
    DWORD dmDisplayFlags;
    DWORD dmDisplayFrequency;
    DWORD dmDisplayOrientation; // quarter turns
};
static_assert(sizeof(DEVMODEW) == 192);
// With CDS_TEST and dmFields DM_DISPLAYORIENTATION: fills in the orientation. The screen can't be turned from here, so
// anything else fails.
LONG ChangeDisplaySettingsEx(LPCWSTR device, DEVMODEW* mode, HWND window, DWORD flags, void* parameter);
// Host side: how the screen stands, in quarter turns; 0 at first.
void PlatSetOrientation(DWORD orientation);

struct INITCOMMONCONTROLSEX {
    DWORD dwSize; // 8
    DWORD dwICC;
};
// Nothing is to be prepared on this host; false for a record of another size.
BOOL InitCommonControlsEx(const INITCOMMONCONTROLSEX* classes);

// --- Clipboard ----------------------------------------------------------------------------------------------------

inline constexpr UINT CF_UNICODETEXT = 13;
// One thread has it at a time, until CloseClipboard: false with error 5 while another has. The rest fails with error 1418
// on a thread that hasn't. The window, which may be null, is not looked at.
BOOL OpenClipboard(HWND window);
BOOL CloseClipboard();
BOOL EmptyClipboard();
// `data` is a LocalAlloc block with a text that ends with zero; it belongs to the clipboard from now on and is given back.
// Null with error 87 for another format or a block that is none.
HANDLE SetClipboardData(UINT format, HANDLE data);
// A block that belongs to the clipboard, good until it is closed. Null when there is no text.
HANDLE GetClipboardData(UINT format);
BOOL IsClipboardFormatAvailable(UINT format);

// Host side: the clipboard of the person's desktop. Called with no lock held.
class PlatClipboardProvider {
public:
    virtual ~PlatClipboardProvider() = default;
    virtual void PutText(const std::u16string& text) = 0; // empty: the clipboard is emptied
    virtual std::u16string GetText() = 0;
};
// The provider stays the caller's and must outlive its use; null: the device keeps the text itself. Gives the former one.
PlatClipboardProvider* PlatSetClipboardProvider(PlatClipboardProvider* provider);

#pragma GCC visibility pop
