// Lists of pictures of one size, and the picture that follows the pointer while something is dragged.
//
// Any thread may use a list, one at a time. A list keeps copies of what is put in and belongs to whoever made it.
#pragma once

#include "Platform/gdi.h"

#pragma GCC visibility push(default)

inline constexpr UINT ILC_COLOR24 = 0x18;
inline constexpr UINT ILC_COLOR32 = 0x20;
inline constexpr UINT ILC_MASK = 1;
// Pixels of one picture; null with error 87 for a side below 1 or over 4,096. The kind, the first size and the growth are not looked at.
HIMAGELIST ImageList_Create(int width, int height, UINT kind, int initial, int grow);
BOOL ImageList_Destroy(HIMAGELIST list);
// -1 where the handle is none, as everywhere below.
int ImageList_GetImageCount(HIMAGELIST list);
BOOL ImageList_GetIconSize(HIMAGELIST list, int* width, int* height);

// Each adds as many pictures as the bitmap is wide, side by side; the index of the first, -1 when it is too narrow. What
// is below the height of the list is left out, what is missing is transparent. The bitmap stays the caller's.
// White pixels of the mask are transparent; it may be null.
int ImageList_Add(HIMAGELIST list, HBITMAP image, HBITMAP mask);
// Pixels of the colour `key` are transparent.
int ImageList_AddMasked(HIMAGELIST list, HBITMAP image, COLORREF key);
// Puts a copy of the icon, stretched to the size of the list, in the place of a picture, behind the last for -1. Its index.
int ImageList_ReplaceIcon(HIMAGELIST list, int index, HICON icon);

inline constexpr UINT ILD_NORMAL = 0;
inline constexpr UINT ILD_TRANSPARENT = 1;
inline constexpr COLORREF CLR_NONE = 0xFFFFFFFF;
BOOL ImageList_Draw(HIMAGELIST list, int index, HDC dc, int x, int y, UINT style);
// At most width and height of it, where they are not 0, over a ground that is not CLR_NONE.
BOOL ImageList_DrawEx(HIMAGELIST list, int index, HDC dc, int x, int y, int width, int height,
                      COLORREF ground, COLORREF blend, UINT style);

// --- Dragging -----------------------------------------------------------------------------------------------------
// One picture at a time for the whole device. It is not painted on windows but laid over them when they are shown.

// The hot spot is the point of the picture that lies under the pointer. False while another is dragged.
BOOL ImageList_BeginDrag(HIMAGELIST list, int index, int hotX, int hotY);
// Shows it; x and y in pixels of the window, of the screen for null.
BOOL ImageList_DragEnter(HWND window, int x, int y);
BOOL ImageList_DragMove(int x, int y);
BOOL ImageList_DragShowNolock(BOOL show);
BOOL ImageList_DragLeave(HWND window);
void ImageList_EndDrag();

// Host side: what is laid over the windows. False when nothing is dragged or it is hidden.
struct PlatDragImage {
    HIMAGELIST list;
    int index;
    POINT position; // of its top left on the screen
};
bool PlatGetDragImage(PlatDragImage* image);

#pragma GCC visibility pop
