// Pictures from files, streams and resources: BMP, GIF (its first picture), JPEG and PNG, known by how they begin. Any
// thread may call. What is loaded is the caller's: bitmaps end in DeleteObject, icons in DestroyIcon.
//
// A picture of more than 16,384 pixels a side or 64 million pixels is refused, and so is a large one of so few bytes that
// they can't hold it. Each failure gives null with an error: 2 or another of the file for one that can't be read, 1814 for
// a resource that isn't there, 13 for what is no picture.
#pragma once

#include "Platform/gdi.h"
#include "Platform/stream.h"

#pragma GCC visibility push(default)

// What shines through the transparent parts of files: drawn by TransparentImage with this key, they are left out.
inline constexpr COLORREF IMAGE_FILE_KEY = 0x00FF00;

// A file of the device, laid over the key.
HBITMAP SHLoadImageFile(LPCWSTR path);
// The rest of a stream, from where it stands, laid over a ground; what the imaging factory was asked for. At most 64 MiB.
HBITMAP PlatLoadImageStream(IStream* stream, COLORREF ground);

// The resource of that number: of the type RT_BITMAP, laid over the key.
HBITMAP LoadBitmapW(HINSTANCE instance, LPCWSTR name);
// Of the type "PNGPIC", with its transparency.
HICON LoadIconW(HINSTANCE instance, LPCWSTR name);
inline constexpr UINT IMAGE_BITMAP = 0;
inline constexpr UINT IMAGE_ICON = 1;
// LoadBitmapW or LoadIconW by the kind; a size that is not 0 is stretched to. 87 for another kind.
HANDLE LoadImageW(HINSTANCE instance, LPCWSTR name, UINT kind, int width, int height, UINT flags);

BOOL DestroyIcon(HICON icon);
// False with error 6 for a handle that is no icon.
bool PlatGetIconSize(HICON icon, SIZE* size);
// Stretched to a size in pixels: another icon, or a bitmap of 32 bits whose colours are multiplied with their alpha.
HICON PlatStretchIcon(HICON icon, int width, int height);
HBITMAP PlatIconBitmap(HICON icon, int width, int height);
inline constexpr UINT DI_NORMAL = 3;
// At its place in the context, stretched to a size that is not 0; the brush, when there is one, fills the ground first.
BOOL DrawIconEx(HDC dc, int x, int y, HICON icon, int width, int height, UINT step, HBRUSH ground,
                UINT flags);

#pragma GCC visibility pop
