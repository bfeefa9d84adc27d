// A PNG picture: decoded once into colours and transparency, scaled once, blended over what is there.
//
// The format is that of ISO/IEC 15948, all kinds, depths and interlacing. Check values are not
// tested, so a damaged file shows as it decodes. A file can't make it allocate more than its own size allows: at most
// what its data could expand to, and at most `PNGMaxPixels` (of the suite's settings, 64 millions) pixels.
//
// A picture is used by one thread at a time.
#pragma once

#include "NorvoTools/globals.h"
#include "Platform/gdi.h"
#include "Platform/imagelist.h"
#include "QNGridCtrl/PNGDecoder.h"

enum PNGError : DWORD {
    PNG_OK = 0,
    PNG_NO_RESOURCE = 1, // or no such file
    PNG_NOT_LOADED = 2,
    PNG_NO_SIGNATURE = 3,
    PNG_BAD_STRUCTURE = 4, // also a kind that the format doesn't have, and a size of zero
    PNG_NO_MEMORY = 5,     // also a size that the data can't fill
    PNG_BAD_DATA = 6,      // shown as far as it could be read
};

inline constexpr DWORD PNG_SMOOTH = 1;     // scaling: average the pixels that become one
inline constexpr DWORD PNG_KEEP_ALPHA = 2; // scaling: stays transparent, else it becomes a plain bitmap

class QN_API PNGPicture {
public:
    explicit PNGPicture(const WCHAR* pszFile);
    PNGPicture(HINSTANCE hInstance, WORD wId); // of the type "PNGPIC"
    ~PNGPicture();
    PNGPicture(const PNGPicture&) = delete;
    PNGPicture& operator=(const PNGPicture&) = delete;

    static bool IsPNG(HINSTANCE hInstance, WORD wId); // that resource exists
    static bool IsPNG(const WCHAR* pszName);          // the name ends in ".png", in lower case

    bool IsLoaded() const { return m_bLoaded; } // there is something to draw
    DWORD GetWidth() const { return m_Image.width; }
    DWORD GetHeight() const { return m_Image.height; }
    DWORD GetLastError() const { return m_dwLastError; }
    // Empty once it has become a bitmap.
    const PNGImage& GetImage() const { return m_Image; }

    // Scales the picture as it is now; 4096 is 1.0. The sides become at least 1.
    void PreDrawScale(DWORD xRatio, DWORD yRatio, DWORD mode);
    void PreDrawScale(DWORD ratio, DWORD mode) { PreDrawScale(ratio, ratio, mode); }
    // To a size in pixels; nothing when it has that size.
    void PreDrawScale(int width, int height, DWORD mode);

    // Blends over the context.
    void Draw(HDC hdc, int x, int y);
    // A new bitmap of the picture on a ground, with another one on top; the caller owns it. Null without a picture, and
    // for one larger than bitmaps can be. Dithered, every second pixel
    // is ground, which looks disabled.
    HBITMAP GetBitmap(COLORREF background, PNGPicture* overlay = nullptr, bool bDither = false);
    // What is transparent shows magenta in the list's picture, and pure magenta is left out of it. The index, -1 on failure.
    int AddToImageList(HIMAGELIST list);

    // Load, act and forget.
    static int AddToImageList(HIMAGELIST list, HINSTANCE hInstance, WORD wId);
    // Scaled to a size that is not 0. False when there is no such picture.
    static bool DrawFromResources(HDC hdc, int x, int y, int cx, int cy, HINSTANCE hInstance, WORD wId);

private:
    void Parse(const BYTE* file, std::size_t size);
    void BecomeBitmap();

    PNGImage m_Image;
    HBITMAP m_hBitmap = nullptr; // owned
    DWORD m_dwLastError = PNG_OK;
    bool m_bLoaded = false;
};
