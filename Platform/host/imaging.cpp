// Bitmaps and icons made of picture files.
#include "Platform/imaging.h"

#include "Platform/host/call.h"
#include "Platform/host/imageloader.h"
#include "Platform/host/resourcefolder.h"
#include "Platform/host/slots.h"
#include "Platform/memorycontext.h"
#include "Platform/modules.h"
#include "Platform/threads.h"

#include <mutex>
#include <new>
#include <optional>
#include <string>

namespace plat {
namespace {

constexpr std::size_t kLargestStream = 64u << 20;

// An icon is a bitmap of 32 bits, its colours multiplied with its alpha.
struct Icon {
    HBITMAP bitmap;
    SIZE size;
};
struct Icons {
    std::mutex lock;
    SlotTable<Icon> table;
};
Icons& TheIcons() {
    static Icons& icons = *new Icons;
    return icons;
}

std::optional<Icon> FindIcon(HICON handle) {
    Icons& icons = TheIcons();
    std::lock_guard lock(icons.lock);
    const Icon* icon = icons.table.Find(NumberOf(handle));
    if (!icon) SetLastError(ERROR_INVALID_HANDLE);
    return icon ? std::optional(*icon) : std::nullopt;
}

HICON AddIcon(HBITMAP bitmap, SIZE size) {
    if (!bitmap) return nullptr;
    Icons& icons = TheIcons();
    std::lock_guard lock(icons.lock);
    return HandleOf<HICON>(icons.table.Add({bitmap, size}));
}

bool Decode(std::string_view file, LoadedImage& image) {
    if (DecodeImage(file, image)) return true;
    SetLastError(ERROR_INVALID_DATA);
    return false;
}

// Rows of B, G, R over a ground, padded to two bytes, in the place of the picture's own, which are longer.
void LayOver(LoadedImage& image, COLORREF ground) {
    const BYTE below[] = {static_cast<BYTE>(ground >> 16), static_cast<BYTE>(ground >> 8),
                          static_cast<BYTE>(ground)};
    const BYTE* from = image.pixels.data();
    BYTE* to = image.pixels.data();
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x, from += 4) {
            const int clear = 255 - from[3];
            for (int c = 0; c < 3; ++c) *to++ = static_cast<BYTE>(from[c] + (below[c] * clear + 127) / 255);
        }
        to += image.width % 2;
    }
}

// 24 bits a pixel, over a ground.
HBITMAP FlatBitmap(std::string_view file, COLORREF ground) {
    LoadedImage image;
    if (!Decode(file, image)) return nullptr;
    LayOver(image, ground);
    return CreateBitmap(image.width, image.height, 1, 24, image.pixels.data());
}

// The bytes of a resource; empty when there is none.
std::string_view ResourceBytes(HINSTANCE instance, LPCWSTR name, LPCWSTR type) {
    const HRSRC resource = FindResourceW(instance, name, type);
    const HGLOBAL data = resource ? LoadResource(instance, resource) : nullptr;
    if (!data) return {};
    return {static_cast<const char*>(data), SizeofResource(instance, resource)};
}

bool ReadRest(IStream& stream, std::string& bytes) {
    try {
        char part[16 * 1024];
        ULONG read = 0;
        do {
            if (stream.Read(part, sizeof part, &read) < 0 || bytes.size() + read > kLargestStream)
                return false;
            bytes.append(part, read);
        } while (read > 0);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

HBITMAP StretchedCopy(HBITMAP bitmap, SIZE from, SIZE to) {
    const HBITMAP copy = CreateBitmap(to.cx, to.cy, 1, 32, nullptr);
    if (copy)
        StretchBlt(MemoryContext(copy), 0, 0, to.cx, to.cy, MemoryContext(bitmap), 0, 0, from.cx, from.cy,
                   SRCCOPY);
    return copy;
}

// Takes the place of the bitmap.
HBITMAP Stretched(HBITMAP bitmap, int width, int height) {
    BITMAP is{};
    if (!bitmap || !GetObjectW(bitmap, sizeof is, &is)) return nullptr;
    const int wide = width > 0 ? width : is.bmWidth, high = height > 0 ? height : is.bmHeight;
    if (wide == is.bmWidth && high == is.bmHeight) return bitmap;
    const HBITMAP stretched = StretchedCopy(bitmap, {is.bmWidth, is.bmHeight}, {wide, high});
    DeleteObject(bitmap);
    return stretched;
}

HBITMAP IconBitmap(HINSTANCE instance, LPCWSTR name) {
    LoadedImage image;
    const std::string_view bytes = ResourceBytes(instance, name, kPictureType.data());
    if (bytes.empty() || !Decode(bytes, image)) return nullptr;
    return CreateBitmap(image.width, image.height, 1, 32, image.pixels.data());
}

HICON MakeIcon(HINSTANCE instance, LPCWSTR name, int width, int height) {
    const HBITMAP bitmap = Stretched(IconBitmap(instance, name), width, height);
    BITMAP is{};
    if (bitmap) GetObjectW(bitmap, sizeof is, &is);
    return AddIcon(bitmap, {is.bmWidth, is.bmHeight});
}

} // namespace
} // namespace plat

using namespace plat;

HBITMAP SHLoadImageFile(LPCWSTR path) {
    HostCall call;
    std::string bytes;
    if (!path) SetLastError(ERROR_INVALID_PARAMETER);
    return path && ReadResourceFile(path, bytes) ? FlatBitmap(bytes, IMAGE_FILE_KEY) : nullptr;
}

HBITMAP PlatLoadImageStream(IStream* stream, COLORREF ground) {
    HostCall call;
    std::string bytes;
    if (stream && ReadRest(*stream, bytes)) return FlatBitmap(bytes, ground);
    SetLastError(stream ? ERROR_INVALID_DATA : ERROR_INVALID_PARAMETER);
    return nullptr;
}

HBITMAP LoadBitmapW(HINSTANCE instance, LPCWSTR name) {
    HostCall call;
    const std::string_view bytes = ResourceBytes(instance, name, RT_BITMAP);
    return bytes.empty() ? nullptr : FlatBitmap(bytes, IMAGE_FILE_KEY);
}

HICON LoadIconW(HINSTANCE instance, LPCWSTR name) {
    HostCall call;
    return MakeIcon(instance, name, 0, 0);
}

HANDLE LoadImageW(HINSTANCE instance, LPCWSTR name, UINT kind, int width, int height, UINT) {
    HostCall call;
    if (kind == IMAGE_ICON) return MakeIcon(instance, name, width, height);
    if (kind == IMAGE_BITMAP) return Stretched(LoadBitmapW(instance, name), width, height);
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
}

BOOL DestroyIcon(HICON handle) {
    HostCall call;
    const std::optional<Icon> icon = FindIcon(handle);
    if (!icon) return FALSE;
    {
        std::lock_guard lock(TheIcons().lock);
        TheIcons().table.Remove(NumberOf(handle));
    }
    return DeleteObject(icon->bitmap);
}

bool PlatGetIconSize(HICON handle, SIZE* size) {
    HostCall call;
    const std::optional<Icon> icon = FindIcon(handle);
    if (icon) *size = icon->size;
    return icon.has_value();
}

HICON PlatStretchIcon(HICON handle, int width, int height) {
    HostCall call;
    const std::optional<Icon> icon = FindIcon(handle);
    const SIZE size{width, height};
    return icon ? AddIcon(StretchedCopy(icon->bitmap, icon->size, size), size) : nullptr;
}

HBITMAP PlatIconBitmap(HICON handle, int width, int height) {
    HostCall call;
    const std::optional<Icon> icon = FindIcon(handle);
    return icon ? StretchedCopy(icon->bitmap, icon->size, {width, height}) : nullptr;
}

BOOL DrawIconEx(HDC dc, int x, int y, HICON handle, int width, int height, UINT, HBRUSH ground, UINT) {
    HostCall call;
    const std::optional<Icon> icon = FindIcon(handle);
    if (!icon) return FALSE;
    const int wide = width > 0 ? width : icon->size.cx, high = height > 0 ? height : icon->size.cy;
    const RECT place{x, y, x + wide, y + high};
    if (ground) FillRect(dc, &place, ground);
    return AlphaBlend(dc, x, y, wide, high, MemoryContext(icon->bitmap), 0, 0, icon->size.cx, icon->size.cy,
                      {AC_SRC_OVER, 0, 255, AC_SRC_ALPHA});
}
