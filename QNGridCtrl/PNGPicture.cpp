#include "QNGridCtrl/PNGPicture.h"

#include "NorvoTools/registryfunctions.h"
#include "Platform/files.h"
#include "Platform/modules.h"
#include "Platform/threads.h"
#include "QNGridCtrl/PNGScale.h"

#include <string_view>
#include <vector>

namespace {

const WCHAR kSettings[] = u"Software\\Norvo\\Quillonary";
const WCHAR kResourceType[] = u"PNGPIC";
constexpr DWORD kMaxPixels = 64u << 20;

unsigned long long MaxPixels() { return ReadRegistryWithDefault(kSettings, u"PNGMaxPixels", kMaxPixels); }

// False when it can't be read.
bool ReadWholeFile(const WCHAR* path, std::vector<BYTE>& bytes) {
    const HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    const DWORD size = GetFileSize(file, nullptr);
    DWORD read = 0;
    bool good = size != INVALID_FILE_SIZE;
    if (good) {
        bytes.resize(size);
        good = size == 0 || (ReadFile(file, bytes.data(), size, &read, nullptr) && read == size);
    }
    CloseHandle(file);
    return good;
}

BYTE Over(BYTE above, BYTE below, BYTE alpha) {
    return static_cast<BYTE>(above * alpha / 255 +
                             below * (255 - alpha) / 255); // each share is cut by itself
}

// A section with a copy of what the context shows there, to blend on.
class Ground {
public:
    Ground(HDC target, int x, int y, int width, int height)
        : m_target(target), m_x(x), m_y(y), m_width(width), m_height(height),
          m_memory(CreateCompatibleDC(target)) {
        BITMAPINFO info{};
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        void* bits = nullptr;
        m_bitmap = CreateDIBSection(target, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        m_pixels = static_cast<BYTE*>(bits);
        if (!m_bitmap) return;
        m_former = SelectObject(m_memory, m_bitmap);
        BitBlt(m_memory, 0, 0, width, height, target, x, y, SRCCOPY);
    }
    ~Ground() {
        if (m_bitmap) SelectObject(m_memory, m_former);
        DeleteObject(m_bitmap);
        DeleteDC(m_memory);
    }
    Ground(const Ground&) = delete;
    Ground& operator=(const Ground&) = delete;

    BYTE* Pixels() const { return m_pixels; } // B, G, R and one more; null without memory
    void PutBack() const { BitBlt(m_target, m_x, m_y, m_width, m_height, m_memory, 0, 0, SRCCOPY); }

private:
    HDC m_target;
    int m_x, m_y, m_width, m_height;
    HDC m_memory;
    HBITMAP m_bitmap = nullptr;
    HGDIOBJ m_former = nullptr;
    BYTE* m_pixels = nullptr;
};

void DrawBitmap(HDC hdc, int x, int y, HBITMAP bitmap, const PNGImage& size) {
    const HDC memory = CreateCompatibleDC(hdc);
    const HGDIOBJ former = SelectObject(memory, bitmap);
    BitBlt(hdc, x, y, static_cast<int>(size.width), static_cast<int>(size.height), memory, 0, 0, SRCCOPY);
    SelectObject(memory, former);
    DeleteDC(memory);
}

} // namespace

PNGPicture::PNGPicture(const WCHAR* pszFile) {
    std::vector<BYTE> file;
    if (ReadWholeFile(pszFile, file))
        Parse(file.data(), file.size());
    else
        m_dwLastError = PNG_NO_RESOURCE;
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
    m_Image.pixels = {};
    m_Image.alpha = {};
}

void PNGPicture::Draw(HDC hdc, int x, int y) {
    if (m_hBitmap) return DrawBitmap(hdc, x, y, m_hBitmap, m_Image);
    if (!m_bLoaded) return;
    const DWORD width = m_Image.width, height = m_Image.height;
    const Ground ground(hdc, x, y, static_cast<int>(width), static_cast<int>(height));
    BYTE* below = ground.Pixels();
    if (!below) return;
    const std::size_t rowBytes = m_Image.pixels.size() / height;
    const BYTE* alpha = m_Image.alpha.data();
    for (DWORD row = 0; row < height; ++row) {
        const BYTE* pixel = m_Image.pixels.data() + row * rowBytes;
        for (DWORD column = 0; column < width; ++column, pixel += 3, below += 4, ++alpha)
            for (int c = 0; c < 3; ++c) below[c] = Over(pixel[c], below[c], *alpha);
    }
    ground.PutBack();
}

HBITMAP PNGPicture::GetBitmap(COLORREF background, PNGPicture* overlay, bool bDither) {
    const int width = static_cast<int>(m_Image.width), height = static_cast<int>(m_Image.height);
    const HDC screen = GetDC(nullptr);
    const HDC memory = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
    ReleaseDC(nullptr, screen);
    if (bitmap) {
        const HGDIOBJ former = SelectObject(memory, bitmap);
        const RECT all{0, 0, width, height};
        const HBRUSH brush = CreateSolidBrush(background);
        FillRect(memory, &all, brush);
        DeleteObject(brush);
        Draw(memory, 0, 0);
        if (bDither)
            for (int y = 0; y < height; ++y)
                for (int x = y % 2; x < width; x += 2) SetPixel(memory, x, y, background);
        if (overlay) overlay->Draw(memory, 0, 0);
        SelectObject(memory, former);
    }
    DeleteDC(memory);
    return bitmap;
}
