// Pictures: our decoder beside another one, what this one does in its own way, damage, scaling and drawing.
#include "QNGridCtrl/PNGPicture.h"

#include "NorvoTools/registryfunctions.h"
#include "Platform/modules.h"
#include "QNGridCtrl/PNGScale.h"
#include "QNGridCtrl/PNGStaticWindow.h"
#include "tests/support/canvas.h"
#include "tests/support/devicefiles.h"
#include "tests/support/libpngpeer.h"
#include "tests/support/pngmaker.h"

#include <random>
#include <tuple>

namespace {

constexpr unsigned long long kMost = 1u << 20; // pixels

// Four bytes a pixel, as libpng gives them.
PNGBytes Flat(const PNGImage& image) {
    PNGBytes flat;
    if (image.pixels.empty()) return flat;
    const std::size_t rowBytes = image.pixels.size() / image.height;
    for (std::size_t y = 0; y < image.height; ++y)
        for (std::size_t x = 0; x < image.width; ++x) {
            const BYTE* pixel = &image.pixels[y * rowBytes + x * 3];
            flat.insert(flat.end(), pixel, pixel + 3);
            flat.push_back(image.alpha[y * image.width + x]);
        }
    return flat;
}

PNGBytes Decoded(const PNGBytes& file, DWORD expected = PNG_OK) {
    PNGImage image;
    EXPECT_EQ(DecodePNG(file, kMost, image), expected);
    return Flat(image);
}

// Values that neighbours share, with noise: filters then matter. A large one is inflated in more than one part.
PNGRecipe RandomRecipe(BYTE type, BYTE depth, bool large, std::mt19937& random) {
    PNGRecipe r;
    r.type = type;
    r.depth = depth;
    r.width = large ? 270 : 1 + random() % 40;
    r.height = large ? 270 : 1 + random() % 40;
    r.interlace = random() % 2;
    r.filter = static_cast<int>(random() % 6) - 1;
    r.split = random() % 3 ? 0 : 1 + random() % 50;
    const unsigned entries = type == 3 ? 1 + random() % (1u << std::min<unsigned>(depth, 8)) : 0;
    for (unsigned i = 0; i < entries * 3; ++i) r.palette.push_back(static_cast<BYTE>(random()));
    const unsigned seed = random();
    r.value = [=](DWORD x, DWORD y, unsigned s) {
        const unsigned noise = (x * 7919 + y * 104729 + s * 31 + seed) * 2654435761u >> 16;
        const unsigned value = x * 257 + y * 300 * (s + 1) + noise % 5;
        return entries ? value % entries : value;
    };
    if (type == 3 && random() % 2) r.transparency.resize(1 + random() % entries, static_cast<BYTE>(seed));
    // A transparent colour that stands at some pixel.
    if ((type == 0 || (type == 2 && depth == 8)) && random() % 2)
        for (unsigned s = 0; s < r.Samples(); ++s)
            AppendBigEndian(r.transparency, r.value(r.width / 2, r.height / 2, s) & ((1u << depth) - 1), 2);
    return r;
}

TEST(PNG, GoodFilesDecodeAsByLibpng) {
    const std::pair<BYTE, std::vector<BYTE>> kinds[] = {
        {0, {1, 2, 4, 8, 16}}, {2, {8, 16}}, {3, {1, 2, 4, 8}}, {4, {8, 16}}, {6, {8, 16}}};
    std::mt19937 random(4711);
    for (const auto& [type, depths] : kinds)
        for (const BYTE depth : depths)
            for (int i = 0; i < 60; ++i) {
                const PNGRecipe r = RandomRecipe(type, depth, depth >= 8 && i == 0, random);
                const PNGBytes file = MakePNG(r);
                const PNGBytes peer = DecodeWithLibpng(file);
                ASSERT_EQ(peer.size(), std::size_t{r.width} * r.height * 4);
                ASSERT_EQ(Decoded(file), peer)
                    << "type " << +type << " depth " << +depth << " number " << i << ", " << r.width << "x"
                    << r.height << " interlace " << +r.interlace << " filter " << r.filter;
            }
}

// --- What is told by hand -------------------------------------------------------------------------------------------

PNGRecipe Of(DWORD width, DWORD height, BYTE type, BYTE depth, PNGBytes transparency,
             std::vector<unsigned> samples) {
    PNGRecipe r;
    r.width = width;
    r.height = height;
    r.type = type;
    r.depth = depth;
    r.transparency = std::move(transparency);
    const unsigned count = r.Samples();
    r.value = [=](DWORD x, DWORD y, unsigned s) { return samples[(y * width + x) * count + s]; };
    return r;
}

TEST(PNG, SamplesBecomeColoursAndTransparency) {
    const struct {
        const char* name;
        PNGRecipe recipe;
        PNGBytes pixels;
    } cases[] = {
        {"one bit of grey", Of(2, 1, 0, 1, {}, {1, 0}), {255, 255, 255, 255, 0, 0, 0, 255}},
        {"two bits, one clear", Of(2, 1, 0, 2, {0, 2}, {1, 2}), {85, 85, 85, 255, 170, 170, 170, 0}},
        {"bytes of grey have no transparent value", Of(1, 1, 0, 8, {0, 7}, {7}), {7, 7, 7, 255}},
        {"of 16 bits the high byte counts",
         Of(1, 1, 6, 16, {}, {0x12FF, 0x34FF, 0x56FF, 0x78FF}),
         {0x56, 0x34, 0x12, 0x78}},
        {"a transparent colour: its low bytes",
         Of(2, 1, 2, 8, {9, 1, 9, 2, 9, 3}, {1, 2, 3, 1, 2, 4}),
         {3, 2, 1, 0, 4, 2, 1, 255}},
        {"its low bytes against the high ones of 16 bits",
         Of(1, 1, 2, 16, {0, 1, 0, 2, 0, 3}, {0x0155, 0x0255, 0x0355}),
         {3, 2, 1, 0}},
        {"grey with alpha", Of(1, 1, 4, 8, {}, {9, 100}), {9, 9, 9, 100}},
        {"no palette: black", Of(2, 1, 3, 8, {}, {0, 200}), {0, 0, 0, 255, 0, 0, 0, 255}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Decoded(MakePNG(c.recipe)), c.pixels);
    }
    PNGRecipe r = Of(2, 1, 3, 1, {50}, {1, 0});
    r.palette = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(Decoded(MakePNG(r)), (PNGBytes{6, 5, 4, 255, 3, 2, 1, 50}));
    r.palette.resize(300 * 3, 8); // what is too much is cut
    EXPECT_EQ(Decoded(MakePNG(r)), (PNGBytes{6, 5, 4, 255, 3, 2, 1, 50}));
    r = Of(2, 2, 0, 8, {}, {1, 2, 3, 4});
    r.filter = 5; // none that there is: the line as it stands
    EXPECT_EQ(Decoded(MakePNG(r)), (PNGBytes{1, 1, 1, 255, 2, 2, 2, 255, 3, 3, 3, 255, 4, 4, 4, 255}));
}

// --- Damage ---------------------------------------------------------------------------------------------------------

PNGRecipe SixteenGreys() {
    PNGRecipe r;
    r.type = 0;
    r.width = r.height = 4;
    r.filter = 0;
    r.value = [](DWORD x, DWORD y, unsigned) { return 100 + y * 4 + x; };
    return r;
}

TEST(PNG, DamageHasItsNumbers) {
    const PNGBytes good = MakePNG(SixteenGreys()), pixels = Decoded(good);
    for (const auto& [bytes, error] : {std::pair(0, PNG_NO_SIGNATURE),
                                       {7, PNG_NO_SIGNATURE},
                                       {8, PNG_BAD_STRUCTURE}, // the signature alone
                                       {32, PNG_BAD_STRUCTURE},
                                       {33, PNG_BAD_STRUCTURE}}) // no data
        Decoded({good.begin(), good.begin() + bytes}, error);
    const struct {
        std::size_t at;
        BYTE value;
        DWORD error;
    } changes[] = {{1, 'p', PNG_NO_SIGNATURE}, {13, 'X', PNG_OK}, // no name of the header is looked at
                   {19, 0, PNG_BAD_STRUCTURE}, {23, 0, PNG_BAD_STRUCTURE},
                   {24, 3, PNG_BAD_STRUCTURE}, {25, 1, PNG_BAD_STRUCTURE}, // no such depth or type
                   {28, 2, PNG_BAD_STRUCTURE}, {17, 0xFF, PNG_NO_MEMORY}}; // wider than the data can be
    for (const auto& c : changes) {
        SCOPED_TRACE(c.at);
        PNGBytes file = good;
        file[c.at] = c.value;
        Decoded(file, c.error);
    }

    const PNGBytes head = Signed(SixteenGreys()), data = Deflated(RawLines(SixteenGreys()));
    const PNGBytes end = Chunk("IEND", {}), whole = Chunk("IDAT", data);
    PNGBytes wrongSum = data, more = RawLines(SixteenGreys());
    wrongSum.back() ^= 1;
    more.resize(more.size() + 500, 3); // more lines than the height
    EXPECT_EQ(Decoded(head + Chunk("tEXt", {1, 2, 3}) + Chunk("IDAT", {}) + whole + end), pixels);
    EXPECT_EQ(Decoded(head + whole), pixels); // no end
    EXPECT_EQ(Decoded(head + Chunk("IDAT", Deflated(more))), pixels);
    EXPECT_EQ(Decoded(head + Chunk("IDAT", wrongSum), PNG_BAD_DATA), pixels);
    Decoded(head + Chunk("IDAT", {0, 0, 0, 0}), PNG_BAD_DATA);
    Decoded(head + end + whole, PNG_BAD_STRUCTURE);
    Decoded(Signed(Of(1, 1, 3, 16, {}, {})) + whole, PNG_BAD_STRUCTURE); // no palette has 16 bits
}

// Whatever is cut or changed: no fault, and what was not decoded is black and opaque.
TEST(PNG, CutAndChangedFilesShowWhatTheyHold) {
    PNGRecipe r = SixteenGreys();
    r.width = r.height = 64;
    const auto noise = [](DWORD x, DWORD y, unsigned) {
        return (x * 7919 + y * 104729) * 2654435761u >> 20 | 1;
    };
    r.value = noise;
    const PNGBytes file = MakePNG(r);
    const PNGBytes whole = Decoded(file);
    for (std::size_t cut = 60; cut < file.size(); cut += 37) {
        const PNGBytes pixels = Decoded({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(cut)});
        ASSERT_EQ(pixels.size(), whole.size());
        std::size_t line = 0;
        const auto same = [&](const PNGBytes& other) {
            return std::equal(pixels.begin() + static_cast<std::ptrdiff_t>(line * 256),
                              pixels.begin() + static_cast<std::ptrdiff_t>(line * 256 + 256),
                              other.begin() + static_cast<std::ptrdiff_t>(line * 256));
        };
        while (line < 64 && same(whole)) ++line;
        PNGBytes black(whole.size());
        for (std::size_t i = 3; i < black.size(); i += 4) black[i] = 255;
        for (; line < 64; ++line) ASSERT_TRUE(same(black)) << "cut at " << cut << ", line " << line;
    }
    std::mt19937 random(12);
    for (int i = 0; i < 3000; ++i) {
        PNGBytes changed = file;
        for (unsigned n = random() % 4 + 1; n > 0; --n) {
            const std::size_t range = i % 2 ? 60 : changed.size();
            changed[8 + random() % (range - 8)] = static_cast<BYTE>(random());
        }
        PNGImage image;
        const DWORD error = DecodePNG(changed, kMost, image);
        ASSERT_LE(image.pixels.size(), kMost * 4);
        const bool shown = error == PNG_OK || error == PNG_BAD_DATA;
        ASSERT_EQ(image.alpha.size(), shown ? std::size_t{image.width} * image.height : 0u) << i;
    }
}

// --- Scaling --------------------------------------------------------------------------------------------------------

PNGImage GreyImage(DWORD width, PNGBytes greys) {
    PNGImage image{width, static_cast<DWORD>(greys.size()) / width, {}, {}};
    for (std::size_t i = 0; i < greys.size(); ++i) {
        image.pixels.insert(image.pixels.end(), 3, greys[i]);
        if ((i + 1) % width == 0 && width % 2) image.pixels.push_back(0);
        image.alpha.push_back(static_cast<BYTE>(255 - greys[i]));
    }
    return image;
}

TEST(PNG, ScalesByWholePixels) {
    constexpr DWORD kOne = 4096;
    const PNGImage four = GreyImage(4, {10, 20, 30, 40, 12, 22, 32, 42});
    const struct {
        const char* name;
        PNGImage image;
        DWORD x, y;
        bool smooth;
        DWORD width;
        PNGBytes greys;
    } cases[] = {
        {"mean of four", four, kOne / 2, kOne / 2, true, 2, {16, 36}},
        {"nearest: the pixels that make one", four, kOne / 2, kOne / 2, false, 2, {22, 42}},
        {"the mean is cut", GreyImage(2, {10, 11}), kOne / 2, kOne, true, 1, {10}},
        {"larger repeats", GreyImage(2, {1, 2}), kOne * 2, kOne * 3 / 2, true, 4, {1, 1, 2, 2}},
        {"one axis larger: no means", four, kOne / 2, kOne + 1, true, 2, {20, 40, 22, 42}},
        {"three of four", GreyImage(4, {10, 20, 30, 40}), kOne * 3 / 4, kOne, true, 3, {15, 30, 40}},
        {"the rest is dropped", GreyImage(3, {10, 20, 90}), kOne / 2, kOne, true, 1, {15}},
        {"never nothing: the mean of all", four, 1, 1, true, 1, {26}},
        {"never nothing: the last", four, 0, 0, false, 1, {42}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        PNGImage image = c.image;
        ASSERT_TRUE(ScalePNG(image, c.x, c.y, c.smooth, kMost));
        EXPECT_EQ(image.width, c.width);
        PNGBytes greys;
        const PNGBytes flat = Flat(image);
        for (std::size_t i = 0; i < flat.size(); i += 4) {
            greys.push_back(flat[i]);
            EXPECT_NEAR(flat[i + 3], 255 - flat[i], 1); // both are cut
        }
        EXPECT_EQ(greys, c.greys);
    }
    PNGImage image = four;
    EXPECT_FALSE(ScalePNG(image, 0xFFFFFFFF, 0xFFFFFFFF, true, kMost));
    EXPECT_EQ(image.width, 4u);
    EXPECT_EQ(ScaleRatio(32, 16), 2049u);
}

// --- Pictures -------------------------------------------------------------------------------------------------------

class PNGFiles : public DeviceFilesTest {
protected:
    const WCHAR* File(const PNGBytes& bytes) {
        Put("p.png", std::string(bytes.begin(), bytes.end()));
        return u"\\p.png";
    }
    void PutPicture(int id, const PNGRecipe& recipe) {
        const PNGBytes bytes = MakePNG(recipe);
        Put("r/png/" + std::to_string(id) + ".png", std::string(bytes.begin(), bytes.end()));
    }
};

TEST_F(PNGFiles, ErrorsOfFiles) {
    EXPECT_EQ(PNGPicture(u"\\none.png").GetLastError(), PNG_NO_RESOURCE);
    EXPECT_EQ(PNGPicture(File({1, 2, 3})).GetLastError(), PNG_NO_SIGNATURE);
    PNGBytes bad = MakePNG(SixteenGreys());
    bad[45] ^= 0xFF;
    PNGPicture picture(File(bad));
    EXPECT_EQ(picture.GetLastError(), PNG_BAD_DATA);
    EXPECT_TRUE(picture.IsLoaded());
    PNGPicture none(u"\\none.png");
    none.PreDrawScale(3, 3, PNG_SMOOTH);
    EXPECT_EQ(none.GetLastError(), PNG_BAD_STRUCTURE);
    EXPECT_EQ(none.GetBitmap(0), nullptr);
    EXPECT_TRUE(PNGPicture::IsPNG(u"a.png"));
    EXPECT_FALSE(PNGPicture::IsPNG(u"a.PNG"));
    EXPECT_FALSE(PNGPicture::IsPNG(u"png"));
}

// Each share is cut by itself: 200*100/255 = 78, 50*155/255 = 30.
TEST_F(PNGFiles, IsBlendedOverTheGround) {
    PNGPicture picture(File(MakePNG(Of(3, 1, 4, 8, {}, {200, 100, 7, 255, 9, 0}))));
    const Canvas canvas(4, 2, 24);
    const auto grey = [](COLORREF v) { return v * 0x010101; };
    for (int x = 0; x < 4; ++x) SetPixel(canvas, x, 1, grey(50));
    picture.Draw(canvas, 0, 1);
    picture.Draw(canvas, 3, 1); // mostly outside
    picture.Draw(canvas, -2, 0);
    EXPECT_EQ(canvas.At(0, 1), grey(108));
    EXPECT_EQ(canvas.At(1, 1), grey(7));
    EXPECT_EQ(canvas.At(2, 1), grey(50));
    EXPECT_EQ(canvas.At(3, 1), grey(108));
    EXPECT_EQ(canvas.At(0, 0), 0u);
}

TEST_F(PNGFiles, BitmapsOfPictures) {
    PNGRecipe white = Of(2, 2, 4, 8, {}, {255, 255, 255, 0, 255, 255, 255, 255});
    PNGPicture picture(File(MakePNG(white)));
    PNGPicture overlay(File(MakePNG(Of(1, 1, 6, 8, {}, {255, 0, 0, 255}))));
    EXPECT_EQ(TakenRows(picture.GetBitmap(kBlue)), (TextRows{"WB", "WW"}));
    EXPECT_EQ(TakenRows(picture.GetBitmap(kBlue, nullptr, true)), (TextRows{"BB", "WB"}));
    EXPECT_EQ(TakenRows(picture.GetBitmap(kBlue, &overlay, true)), (TextRows{"RB", "WB"}));
    // Without its transparency it becomes a bitmap, and stays one.
    picture.PreDrawScale(2, 2, PNG_SMOOTH);
    EXPECT_EQ(TakenRows(picture.GetBitmap(kBlue)), (TextRows{"WW", "WW"}));
    picture.PreDrawScale(1, 1, PNG_SMOOTH);
    EXPECT_EQ(picture.GetWidth(), 2u);
}

TEST_F(PNGFiles, ResourcesAreDrawnAndListed) {
    const BYTE mail[] = {1, 2, 3};
    PutPicture(1, Of(2, 1, 4, 8, {}, {255, 255, 255, 0}));
    Put("r/png/2.png", {reinterpret_cast<const char*>(mail), sizeof mail});
    const HINSTANCE folder = LoadLibraryW(u"\\r");
    EXPECT_TRUE(PNGPicture::IsPNG(folder, 1));
    EXPECT_FALSE(PNGPicture::IsPNG(folder, 3));
    EXPECT_EQ(PNGPicture(folder, 2).GetLastError(), PNG_NO_SIGNATURE);
    EXPECT_EQ(PNGPicture(folder, 3).GetLastError(), PNG_NO_RESOURCE);

    const Canvas canvas(4, 2);
    EXPECT_TRUE(PNGPicture::DrawFromResources(canvas, 0, 0, 4, 1, folder, 1));
    EXPECT_TRUE(PNGPicture::DrawFromResources(canvas, 2, 1, 0, 0, folder, 1));
    EXPECT_FALSE(PNGPicture::DrawFromResources(canvas, 0, 0, 4, 1, folder, 3));
    EXPECT_EQ(canvas.Rows(), (TextRows{"WW..", "..W."}));

    const HIMAGELIST list = ImageList_Create(2, 1, ILC_COLOR24 | ILC_MASK, 1, 1);
    EXPECT_EQ(PNGPicture::AddToImageList(list, folder, 1), 0);
    EXPECT_EQ(PNGPicture::AddToImageList(list, folder, 3), -1);
    PatBlt(canvas, 0, 0, 4, 2, BLACKNESS);
    ImageList_Draw(list, 0, canvas, 1, 0, ILD_TRANSPARENT);
    EXPECT_EQ(canvas.Rows()[0], ".W..");
    ImageList_Destroy(list);
    FreeLibrary(folder);
}

TEST_F(PNGFiles, ASettingIsTheCeiling) {
    const WCHAR* sixteen = File(MakePNG(SixteenGreys()));
    for (const DWORD most : {15u, 16u, 0xFFFFFFFFu}) {
        SetToRegistry(HKEY_CURRENT_USER, u"Software\\Norvo\\Quillonary", u"PNGMaxPixels", most);
        EXPECT_EQ(PNGPicture(sixteen).GetLastError(), most < 16 ? PNG_NO_MEMORY : PNG_OK) << most;
    }
}

TEST_F(PNGFiles, TheSuitesPicturesFitTheScreen) {
    const HINSTANCE suite = LoadLibraryW(u"QNResources.dll");
    for (const auto& [dots, pixels] : {std::pair(96, 16u), {143, 16u}, {144, 32u}}) {
        PlatSetScreen({480, 640, dots});
        for (const WORD id : {10,  207, 209, 213, 214, 218, 219, 232, 233, 234,
                              237, 240, 260, 267, 293, 322, 328, 373, 374, 375}) {
            const PNGPicture picture(suite, id);
            EXPECT_EQ(picture.GetLastError(), PNG_OK) << id;
            EXPECT_EQ(std::pair(picture.GetWidth(), picture.GetHeight()), std::pair(pixels, pixels)) << id;
        }
    }
    EXPECT_FALSE(PNGPicture::IsPNG(suite, 0));
    FreeLibrary(suite);
}

// White all over, the picture in the middle; a window that is too small shows all of it, smaller.
TEST_F(PNGFiles, AWindowShowsItsPicture) {
    PutPicture(1, Of(2, 2, 6, 8, {}, {255, 0, 0, 255, 255, 0, 0, 255, 255, 0, 0, 255, 255, 0, 0, 0}));
    const HINSTANCE folder = LoadLibraryW(u"\\r");
    CeWnd parent;
    ASSERT_TRUE(parent.Create(nullptr, nullptr, RECT{0, 0, 4, 4}, u"", WS_POPUP | WS_VISIBLE));
    PNGStaticWindow window;
    EXPECT_FALSE(PNGStaticWindow().Init(parent.GetHWnd(), folder, 2));
    ASSERT_TRUE(window.Init(parent.GetHWnd(), folder, 1));
    UpdateWindow(window.GetHWnd());
    const HDC dc = GetDC(window.GetHWnd());
    EXPECT_EQ(RowsOf(dc, 4, 4), (TextRows{"WWWW", "WRRW", "WRWW", "WWWW"}));
    ReleaseDC(window.GetHWnd(), dc);
    MoveWindow(window.GetHWnd(), 0, 0, 1, 1, TRUE);
    UpdateWindow(window.GetHWnd());
    const HDC one = GetDC(window.GetHWnd()); // three quarters of red over white: 255*64/255 of the ground
    EXPECT_EQ(GetPixel(one, 0, 0), 0x4040FFu);
    ReleaseDC(window.GetHWnd(), one);
    DestroyWindow(parent.GetHWnd());
    FreeLibrary(folder);
}

// A side that no bitmap can have: it stays what it is.
TEST_F(PNGFiles, APictureTooWideForABitmap) {
    PNGRecipe r;
    r.type = 0;
    r.width = 20000;
    PNGPicture picture(File(MakePNG(r)));
    ASSERT_TRUE(picture.IsLoaded());
    picture.PreDrawScale(20000, 1, 0);
    EXPECT_EQ(picture.GetLastError(), PNG_NO_MEMORY);
    const Canvas canvas(2, 1);
    PatBlt(canvas, 0, 0, 2, 1, WHITENESS);
    picture.Draw(canvas, 0, 0);
    EXPECT_EQ(canvas.Rows(), TextRows{".."});
    EXPECT_EQ(picture.GetBitmap(0), nullptr);
}

} // namespace
