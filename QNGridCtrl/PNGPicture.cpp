#include "QNGridCtrl/PNGPicture.h"

#include "NorvoTools/registryfunctions.h"
#include "Platform/files.h"
#include "Platform/memorycontext.h"
#include "Platform/modules.h"
#include "Platform/threads.h"
#include "QNGridCtrl/PNGScale.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string_view>
#include <vector>

namespace {

const WCHAR kSettings[] = u"Software\\Norvo\\Quillonary";
const WCHAR kResourceType[] = u"PNGPIC";
constexpr DWORD kMaxPixels = 64u << 20;
constexpr COLORREF kListKey = 0xFF00FF;

// Any more would be too wide for coordinates.
unsigned long long MaxPixels() {
    constexpr DWORD kMost = 0x3FFFFFFF;
    return std::min(ReadRegistryWithDefault(kSettings, u"PNGMaxPixels", kMaxPixels), kMost);
}

PNGError ReadWhole(HANDLE file, std::vector<BYTE>& bytes) {
    try {
        const DWORD size = GetFileSize(file, nullptr);
        if (size == INVALID_FILE_SIZE) return PNG_NO_RESOURCE;
        DWORD read = 0;
        bytes.resize(size);
        if (size > 0 && !ReadFile(file, bytes.data(), size, &read, nullptr)) return PNG_NO_RESOURCE;
        return read == size ? PNG_OK : PNG_NO_RESOURCE;
    } catch (const std::bad_alloc&) {
        return PNG_NO_MEMORY;
    }
}

PNGError ReadWholeFile(const WCHAR* path, std::vector<BYTE>& bytes) {
    const HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return PNG_NO_RESOURCE;
    const PNGError error = ReadWhole(file, bytes);
    CloseHandle(file);
    return error;
}

BYTE Over(BYTE above, BYTE below, BYTE alpha) {
    return static_cast<BYTE>(above * alpha / 255 +
                             below * (255 - alpha) / 255); // each share is cut by itself
}

HBITMAP MakeSection(int width, int height, void** bits) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    return CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, bits, nullptr, 0);
}

// A section with a copy of what the context shows there, to blend on.
class Ground {
public:
    Ground(HDC target, const RECT& place)
        : m_target(target), m_place(place), m_width(place.right - place.left),
          m_height(place.bottom - place.top), m_bitmap(MakeSection(m_width, m_height, &m_pixels)),
          m_memory(m_bitmap) {
        BitBlt(m_memory, 0, 0, m_width, m_height, target, place.left, place.top, SRCCOPY);
    }
    ~Ground() {
        if (m_bitmap) DeleteObject(m_bitmap); // the context lets it go behind this
    }
    Ground(const Ground&) = delete;
    Ground& operator=(const Ground&) = delete;

    BYTE* Pixels() const { return static_cast<BYTE*>(m_pixels); } // B, G, R and one more; null without memory
    void PutBack() const {
        BitBlt(m_target, m_place.left, m_place.top, m_width, m_height, m_memory, 0, 0, SRCCOPY);
    }

private:
    HDC m_target;
    RECT m_place;
    int m_width, m_height;
    void* m_pixels = nullptr;
    HBITMAP m_bitmap;
    MemoryContext m_memory;
};

// Of pixels in a row.
void BlendRow(const BYTE* above, const BYTE* alpha, BYTE* below, LONG count) {
    for (LONG i = 0; i < count; ++i, above += 3, below += 4)
        if (alpha[i] == 255)
            std::memcpy(below, above, 3);
        else if (alpha[i] != 0)
            for (int c = 0; c < 3; ++c) below[c] = Over(above[c], below[c], alpha[i]);
}

} // namespace

PNGPicture::PNGPicture(const WCHAR* pszFile) {
    std::vector<BYTE> file;
    m_dwLastError = ReadWholeFile(pszFile, file);
    if (m_dwLastError == PNG_OK) Parse(file.data(), file.size());
}

PNGPicture::PNGPicture(HINSTANCE hInstance, WORD wId) {
    const HRSRC resource = FindResourceW(hInstance, MAKEINTRESOURCEW(wId), kResourceType);
    const HGLOBAL data = resource ? LoadResource(hInstance, resource) : nullptr;
    if (data)
        Parse(static_cast<const BYTE*>(data), SizeofResource(hInstance, resource));
    else
        m_dwLastError = resource ? PNG_NOT_LOADED : PNG_NO_RESOURCE;
}

PNGPicture::~PNGPicture() {
    if (m_hBitmap) DeleteObject(m_hBitmap);
}

void PNGPicture::Parse(const BYTE* file, std::size_t size) {
    m_dwLastError = DecodePNG({file, size}, MaxPixels(), m_Image);
    m_bLoaded = m_dwLastError == PNG_OK || m_dwLastError == PNG_BAD_DATA;
}

bool PNGPicture::IsPNG(HINSTANCE hInstance, WORD wId) {
    return FindResourceW(hInstance, MAKEINTRESOURCEW(wId), kResourceType) != nullptr;
}

bool PNGPicture::IsPNG(const WCHAR* pszName) {
    return pszName && std::u16string_view(pszName).ends_with(u".png");
}

void PNGPicture::PreDrawScale(DWORD xRatio, DWORD yRatio, DWORD mode) {
    if (m_Image.width == 0 || m_Image.height == 0) {
        m_dwLastError = PNG_BAD_STRUCTURE;
        return;
    }
    if (m_Image.pixels.empty()) return; // a bitmap already
    if (!ScalePNG(m_Image, xRatio, yRatio, (mode & PNG_SMOOTH) != 0, MaxPixels()))
        m_dwLastError = PNG_NO_MEMORY;
    else if (!(mode & PNG_KEEP_ALPHA))
        BecomeBitmap();
}

void PNGPicture::PreDrawScale(int width, int height, DWORD mode) {
    const auto x = static_cast<DWORD>(width > 0 ? width : 0);
    const auto y = static_cast<DWORD>(height > 0 ? height : 0);
    if (x == m_Image.width && y == m_Image.height && (mode & PNG_KEEP_ALPHA)) return;
    PreDrawScale(ScaleRatio(m_Image.width, x), ScaleRatio(m_Image.height, y), mode);
}

void PNGPicture::BecomeBitmap() {
    m_hBitmap = CreateBitmap(static_cast<int>(m_Image.width), static_cast<int>(m_Image.height), 1, 24,
                             m_Image.pixels.data());
    if (!m_hBitmap) {
        m_dwLastError = PNG_NO_MEMORY; // and the pixels stay
        return;
    }
    m_Image.pixels = {};
    m_Image.alpha = {};
}

void PNGPicture::Draw(HDC hdc, int x, int y) {
    const auto width = static_cast<LONG>(m_Image.width), height = static_cast<LONG>(m_Image.height);
    if (m_hBitmap) {
        BitBlt(hdc, x, y, width, height, MemoryContext(m_hBitmap), 0, 0, SRCCOPY);
        return;
    }
    RECT box, shown; // what can be seen of it
    const RECT whole{x, y, x + width, y + height};
    if (!m_bLoaded || !GetClipBox(hdc, &box) || !IntersectRect(&shown, &whole, &box)) return;
    const Ground ground(hdc, shown);
    BYTE* below = ground.Pixels();
    if (!below) return;
    const std::size_t rowBytes = m_Image.pixels.size() / m_Image.height;
    const LONG count = shown.right - shown.left;
    for (LONG at = shown.top; at < shown.bottom; ++at, below += static_cast<std::ptrdiff_t>(count) * 4) {
        const auto row = static_cast<std::size_t>(at - y), column = static_cast<std::size_t>(shown.left - x);
        BlendRow(m_Image.pixels.data() + row * rowBytes + column * 3,
                 m_Image.alpha.data() + row * m_Image.width + column, below, count);
    }
    ground.PutBack();
}

HBITMAP PNGPicture::GetBitmap(COLORREF background, PNGPicture* overlay, bool bDither) {
    if (!m_bLoaded) return nullptr;
    const int width = static_cast<int>(m_Image.width), height = static_cast<int>(m_Image.height);
    const HBITMAP bitmap = CreateCompatibleBitmap(nullptr, width, height);
    if (!bitmap) return nullptr;
    const MemoryContext memory(bitmap);
    const RECT all{0, 0, width, height};
    const HBRUSH brush = CreateSolidBrush(background);
    FillRect(memory, &all, brush);
    DeleteObject(brush);
    Draw(memory, 0, 0);
    if (bDither)
        for (int y = 0; y < height; ++y)
            for (int x = y % 2; x < width; x += 2) SetPixel(memory, x, y, background);
    if (overlay) overlay->Draw(memory, 0, 0);
    return bitmap;
}

int PNGPicture::AddToImageList(HIMAGELIST list) {
    const HBITMAP bitmap = GetBitmap(kListKey);
    const int index = bitmap ? ImageList_AddMasked(list, bitmap, kListKey) : -1;
    if (bitmap) DeleteObject(bitmap);
    return index;
}

int PNGPicture::AddToImageList(HIMAGELIST list, HINSTANCE hInstance, WORD wId) {
    return PNGPicture(hInstance, wId).AddToImageList(list);
}

bool PNGPicture::DrawFromResources(HDC hdc, int x, int y, int cx, int cy, HINSTANCE hInstance, WORD wId) {
    PNGPicture picture(hInstance, wId);
    if (cx > 0 && cy > 0) picture.PreDrawScale(cx, cy, PNG_SMOOTH | PNG_KEEP_ALPHA);
    picture.Draw(hdc, x, y);
    return picture.IsLoaded();
}
