// Pictures of files, streams and resources, folders of resources, icons, lists of pictures.
#include "Platform/imagelist.h"
#include "Platform/imaging.h"
#include "Platform/modules.h"
#include "Platform/painting.h"
#include "Platform/threads.h"
#include "tests/support/canvas.h"
#include "tests/support/devicefiles.h"
#include "tests/support/pngmaker.h"

#include <array>
#include <tuple>

namespace {

void AppendLittleEndian(PNGBytes& bytes, unsigned long value, int count) {
    for (int i = 0; i < count; ++i) bytes.push_back(static_cast<BYTE>(value >> (8 * i)));
}

// A .bmp file of 24 bits: rows from the bottom of B, G, R.
PNGBytes Bmp(unsigned width, unsigned height, const PNGBytes& rows) {
    PNGBytes file{'B', 'M'};
    for (const unsigned long v : {54ul + rows.size(), 0ul, 54ul, 40ul, static_cast<unsigned long>(width),
                                  static_cast<unsigned long>(height)})
        AppendLittleEndian(file, v, 4);
    AppendLittleEndian(file, 1, 2);
    AppendLittleEndian(file, 24, 2);
    for (int i = 0; i < 6; ++i) AppendLittleEndian(file, 0, 4);
    return std::move(file) + rows;
}
const PNGBytes kRedOverBlue = Bmp(1, 2, {255, 0, 0, 0, 0, 0, 255, 0});

// One pixel of R, G, B, alpha.
PNGBytes PixelPng(std::array<unsigned, 4> rgba, DWORD side = 1) {
    PNGRecipe r;
    r.width = r.height = side;
    r.value = [rgba](DWORD, DWORD, unsigned s) { return rgba[s]; };
    return MakePNG(r);
}

// Bytes to be read, a few at a time.
class ReadStream : public IStream {
public:
    explicit ReadStream(PNGBytes bytes) : m_bytes(std::move(bytes)) {}
    HRESULT QueryInterface(const IID&, void**) override { return E_NOINTERFACE; }
    ULONG AddRef() override { return 1; }
    ULONG Release() override { return 1; }
    HRESULT Read(void* buffer, ULONG count, ULONG* read) override {
        *read = std::min<ULONG>({count, 7, static_cast<ULONG>(m_bytes.size() - m_at)});
        std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_at), *read, static_cast<BYTE*>(buffer));
        m_at += *read;
        return S_OK;
    }
    HRESULT Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }
    HRESULT Seek(LONGLONG, DWORD, ULONGLONG*) override { return E_NOTIMPL; }
    HRESULT SetSize(ULONGLONG) override { return E_NOTIMPL; }
    HRESULT GetSize(ULONGLONG*) override { return E_NOTIMPL; }
    HRESULT Commit(DWORD) override { return S_OK; }
    HRESULT Revert() override { return S_OK; }

private:
    PNGBytes m_bytes;
    std::size_t m_at = 0;
};

class Imaging : public DeviceFilesTest {
protected:
    void PutBytes(const std::string& name, const PNGBytes& bytes) {
        Put(name, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
};

TEST_F(Imaging, FilesAndStreams) {
    PutBytes("a.bmp", kRedOverBlue);
    PutBytes("key.png", PixelPng({255, 0, 0, 0}, 2));
    EXPECT_EQ(TakenRows(SHLoadImageFile(u"\\a.bmp")), (TextRows{"R", "B"}));
    EXPECT_EQ(TakenRows(SHLoadImageFile(u"\\key.png")), (TextRows{"GG", "GG"})); // the key shines through
    ReadStream bmp(kRedOverBlue), clear(PixelPng({255, 0, 0, 0})), half(PixelPng({255, 255, 255, 102}));
    EXPECT_EQ(TakenRows(PlatLoadImageStream(&bmp, 0)), (TextRows{"R", "B"}));
    EXPECT_EQ(TakenRows(PlatLoadImageStream(&clear, kWhite)), (TextRows{"W"}));
    const HBITMAP mixed = PlatLoadImageStream(&half, 0x000000); // 255 * 102 / 255
    BITMAPINFO info = SectionInfo(1, 1, 24, true);
    std::array<BYTE, 4> pixel{};
    GetDIBits(nullptr, mixed, 0, 1, pixel.data(), &info, DIB_RGB_COLORS);
    EXPECT_EQ(pixel, (std::array<BYTE, 4>{102, 102, 102, 0}));
    DeleteObject(mixed);
}

TEST_F(Imaging, WhatIsNoPictureIsRefused) {
    const PNGBytes giant = Bmp(0x7FFFFFF, 0x7FFFFF, {1, 2, 3, 4});
    const PNGBytes cases[] = {{},
                              {'B', 'M'},
                              {'t', 'e', 'x', 't'},
                              giant,
                              Bmp(20000, 1, {}),
                              Bmp(16000, 4000, {}), // more than its bytes can hold
                              PNGBytes(giant.begin(), giant.begin() + 20)};
    for (const PNGBytes& bytes : cases) {
        PutBytes("x", bytes);
        SetLastError(0);
        EXPECT_EQ(SHLoadImageFile(u"\\x"), nullptr) << bytes.size();
        EXPECT_EQ(GetLastError(), ERROR_INVALID_DATA);
        ReadStream stream(bytes);
        EXPECT_EQ(PlatLoadImageStream(&stream, 0), nullptr);
    }
    EXPECT_EQ(SHLoadImageFile(u"\\none.bmp"), nullptr);
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(SHLoadImageFile(nullptr), nullptr);
}

// --- Resources ----------------------------------------------------------------------------------------------------

TEST_F(Imaging, AFolderIsAModule) {
    Put("My Resources/strings.txt", "# comment\n7\tseven\\n\\\\\r\nx\tno number\n8\t\xC3\xA4 \n9 no tab\n");
    PutBytes("My Resources/png/5.png", PixelPng({255, 0, 0, 255}));
    PutBytes("My Resources/png/5-32.png", PixelPng({0, 0, 255, 255}, 2));
    PutBytes("My Resources/bmp/6.bmp", kRedOverBlue);
    const HINSTANCE folder = LoadLibraryW(u"\\my resources\\");
    ASSERT_NE(folder, nullptr);
    EXPECT_EQ(LoadLibraryW(u"\\My Resources"), folder);
    std::array<WCHAR, 40> text{};
    EXPECT_EQ(LoadStringW(folder, 7, text.data(), 40), 7);
    EXPECT_EQ(std::u16string(text.data()), u"seven\n\\");
    EXPECT_EQ(LoadStringW(folder, 8, text.data(), 40), 2);
    EXPECT_EQ(LoadStringW(folder, 9, text.data(), 40), 0);
    const auto bytes = [&](WORD id, LPCWSTR type) {
        const HRSRC found = FindResourceW(folder, MAKEINTRESOURCEW(id), type);
        const auto* data = found ? static_cast<const BYTE*>(LoadResource(folder, found)) : nullptr;
        return data ? PNGBytes(data, data + SizeofResource(folder, found)) : PNGBytes();
    };
    EXPECT_EQ(bytes(5, u"PngPic"), PixelPng({255, 0, 0, 255}));
    EXPECT_EQ(bytes(6, RT_BITMAP), kRedOverBlue);
    EXPECT_EQ(bytes(6, u"PNGPIC"), PNGBytes());
    EXPECT_EQ(bytes(5, u"OTHER"), PNGBytes());
    EXPECT_EQ(TakenRows(LoadBitmapW(folder, MAKEINTRESOURCEW(6))), (TextRows{"R", "B"}));
    EXPECT_EQ(LoadBitmapW(folder, MAKEINTRESOURCEW(5)), nullptr);
    PlatSetScreen({480, 640, 192});
    EXPECT_EQ(bytes(5, u"PNGPIC"), PixelPng({0, 0, 255, 255}, 2)); // the one for such screens
    EXPECT_TRUE(FreeLibrary(folder));
    EXPECT_TRUE(FreeLibrary(folder));
    EXPECT_EQ(FindResourceW(folder, MAKEINTRESOURCEW(6), RT_BITMAP), nullptr);
    EXPECT_EQ(LoadLibraryW(u"\\No Resources"), nullptr);
}

TEST_F(Imaging, RegisteredResourcesHaveNamedTypesAndDensities) {
    const BYTE bytes[] = {1, 2, 3};
    const PlatModuleResource resources[] = {
        {0, 5, bytes, 1, u"PNGPIC", 144}, {0, 5, bytes, 2, u"PNGPIC"}, {2, 5, bytes, 3}};
    PlatModule module{};
    module.name = u"Pictures.dll";
    module.resources = resources;
    module.resourceCount = std::size(resources);
    module.untilReset = true;
    const HINSTANCE handle = PlatRegisterModule(module);
    const auto size = [&](LPCWSTR type) {
        return SizeofResource(handle, FindResourceW(handle, MAKEINTRESOURCEW(5), type));
    };
    for (const auto& [dots, bytesThere] : {std::pair(96, 2u), {143, 2u}, {144, 1u}, {192, 1u}}) {
        PlatSetScreen({480, 640, dots});
        EXPECT_EQ(size(u"pngpic"), bytesThere) << dots;
    }
    EXPECT_EQ(size(RT_BITMAP), 3u);
    EXPECT_EQ(size(u"PNG"), 0u);
}

// --- Icons and lists ----------------------------------------------------------------------------------------------

TEST_F(Imaging, IconsAreDrawnWithTheirTransparency) {
    PutBytes("r/png/1.png", PixelPng({255, 0, 0, 255}));
    PutBytes("r/png/2.png", PixelPng({255, 255, 255, 51}));
    const HINSTANCE folder = LoadLibraryW(u"\\r");
    const HICON solid = LoadIconW(folder, MAKEINTRESOURCEW(1)),
                faint = LoadIconW(folder, MAKEINTRESOURCEW(2));
    const HICON wide = static_cast<HICON>(LoadImageW(folder, MAKEINTRESOURCEW(1), IMAGE_ICON, 3, 1, 0));
    SIZE size{};
    ASSERT_TRUE(PlatGetIconSize(wide, &size));
    EXPECT_EQ(std::tuple(size.cx, size.cy), std::tuple(3, 1));
    const Canvas canvas({"BBBB", "BBBB"});
    EXPECT_TRUE(DrawIconEx(canvas, 1, 0, solid, 2, 2, 0, nullptr, DI_NORMAL));
    EXPECT_EQ(canvas.Rows(), TextRows(2, "BRRB"));
    EXPECT_TRUE(DrawIconEx(canvas, 0, 1, wide, 0, 0, 0, nullptr, DI_NORMAL));
    EXPECT_EQ(canvas.Rows()[1], "RRRB");
    DrawIconEx(canvas, 3, 0, faint, 0, 0, 0, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)), DI_NORMAL);
    EXPECT_EQ(canvas.At(3, 0), 0x333333u); // a fifth of white over the brush
    for (const HICON icon : {solid, faint, wide}) EXPECT_TRUE(DestroyIcon(icon));
    EXPECT_FALSE(DestroyIcon(solid));
    EXPECT_FALSE(DrawIconEx(canvas, 0, 0, solid, 0, 0, 0, nullptr, DI_NORMAL));
    EXPECT_EQ(LoadIconW(folder, MAKEINTRESOURCEW(9)), nullptr);
    FreeLibrary(folder);
}

TEST_F(Imaging, ListsOfPictures) {
    const HIMAGELIST list = ImageList_Create(2, 2, ILC_COLOR24 | ILC_MASK, 0, 4);
    const Canvas strip({"RGBWR", "GGBBR"}), mask({"W...", "...."});
    EXPECT_EQ(ImageList_AddMasked(list, strip.Bitmap(), kGreen), 0); // two pictures, and one column too many
    EXPECT_EQ(ImageList_Add(list, strip.Bitmap(), mask.Bitmap()), 2);
    EXPECT_EQ(ImageList_Add(list, Canvas(1, 2).Bitmap(), nullptr), -1); // too narrow
    EXPECT_EQ(ImageList_GetImageCount(list), 4);
    int width = 0, height = 0;
    EXPECT_TRUE(ImageList_GetIconSize(list, &width, &height));
    EXPECT_EQ(std::pair(width, height), std::pair(2, 2));

    const Canvas canvas(8, 2);
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(ImageList_Draw(list, i, canvas, i * 2, 0, ILD_TRANSPARENT));
    EXPECT_EQ(canvas.Rows(), (TextRows{"R.BW.GBW", "..BBGGBB"}));
    EXPECT_TRUE(ImageList_DrawEx(list, 0, canvas, 4, 0, 2, 1, kWhite, CLR_NONE, ILD_NORMAL));
    EXPECT_EQ(canvas.Rows()[0], "R.BWRWBW");
    EXPECT_FALSE(ImageList_Draw(list, 4, canvas, 0, 0, 0));
    EXPECT_FALSE(ImageList_Draw(list, -1, canvas, 0, 0, 0));

    PutBytes("r/png/1.png", PixelPng({255, 255, 255, 255}));
    const HINSTANCE folder = LoadLibraryW(u"\\r");
    const HICON icon = LoadIconW(folder, MAKEINTRESOURCEW(1));
    EXPECT_EQ(ImageList_ReplaceIcon(list, -1, icon), 4);
    EXPECT_EQ(ImageList_ReplaceIcon(list, 0, icon), 0);
    EXPECT_EQ(ImageList_ReplaceIcon(list, 9, icon), -1);
    ImageList_Draw(list, 0, canvas, 0, 0, ILD_NORMAL);
    EXPECT_EQ(canvas.Rows()[1].substr(0, 2), "WW");
    DestroyIcon(icon);
    FreeLibrary(folder);
    EXPECT_TRUE(ImageList_Destroy(list));
    EXPECT_FALSE(ImageList_Destroy(list));
    EXPECT_EQ(ImageList_GetImageCount(list), -1);
    EXPECT_EQ(ImageList_Create(0, 1, 0, 0, 0), nullptr);
}

// Where a presenter has to show red, and in how many parts it looks.
std::string TakeRed() {
    std::string red;
    const auto note = [](void* context, const RECT& rect, const BYTE* pixels, int stride) {
        for (LONG y = rect.top; y < rect.bottom; ++y, pixels += stride)
            for (LONG x = rect.left; x < rect.right; ++x)
                if ((reinterpret_cast<const DWORD*>(pixels)[x - rect.left] & 0xFFFFFF) == 0xFF0000)
                    *static_cast<std::string*>(context) += std::to_string(x) + "," + std::to_string(y) + " ";
    };
    const UINT parts = PlatTakeDirty(note, &red);
    return red + "of " + std::to_string(parts);
}

TEST_F(Imaging, OnePictureFollowsThePointer) {
    const HIMAGELIST list = ImageList_Create(2, 2, ILC_COLOR24, 0, 1);
    ImageList_AddMasked(list, Canvas({"RG", "GR"}).Bitmap(), kGreen);
    PlatDragImage image{};
    EXPECT_FALSE(ImageList_BeginDrag(list, 1, 0, 0));
    EXPECT_FALSE(ImageList_DragMove(1, 1));
    EXPECT_TRUE(ImageList_BeginDrag(list, 0, 3, 4));
    EXPECT_FALSE(ImageList_BeginDrag(list, 0, 0, 0));
    EXPECT_FALSE(PlatGetDragImage(&image)); // before it has entered
    TakeRed();
    EXPECT_TRUE(ImageList_DragEnter(nullptr, 50, 60));
    ASSERT_TRUE(PlatGetDragImage(&image));
    EXPECT_EQ(std::tuple(image.list, image.index, image.position.x, image.position.y),
              std::tuple(list, 0, 47, 56));
    EXPECT_EQ(TakeRed(), "47,56 48,57 of 1");
    ImageList_Destroy(list);
    EXPECT_TRUE(ImageList_DragMove(10, 10));
    EXPECT_EQ(TakeRed(), "7,6 8,7 of 2") << "where it was and where it is";
    EXPECT_TRUE(ImageList_DragMove(2, 3)); // over the corner
    EXPECT_EQ(TakeRed(), "0,0 of 2");
    EXPECT_TRUE(ImageList_DragShowNolock(FALSE));
    EXPECT_FALSE(PlatGetDragImage(&image));
    EXPECT_EQ(TakeRed(), "of 1");
    EXPECT_TRUE(ImageList_DragShowNolock(TRUE));
    EXPECT_TRUE(PlatGetDragImage(&image));
    ImageList_EndDrag();
    EXPECT_FALSE(PlatGetDragImage(&image));
    EXPECT_EQ(TakeRed(), "of 1");
}

} // namespace
