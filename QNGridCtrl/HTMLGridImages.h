// The pictures of a grid's mark-up: found by the source of an IMG, loaded once, kept until Clear.
//
//   "logo.png", "a\b.bmp"   a file of the resources root, of the device with a leading backslash
//   "~NoCategory.bmp"       such a file, or else the suite's own picture
//   "237"                   a resource of the resources instance
//   "S4294967292"           anything else is a swatch, which the grid's owner makes of the number behind the first letter
#pragma once

#include "QNGridCtrl/HTMLImage.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

// What an image source asks for.
struct HTMLImageSource {
    enum class Kind { PngFile, BitmapFile, Resource, Swatch };
    Kind kind;
    DWORD number; // of the resource (0: none) or swatch
};
// `rootLength`: characters of the resources root, which stands before a file's name.
QN_API HTMLImageSource ParseImageSource(std::u16string_view source, std::size_t rootLength);

// What file images and swatches are kept by.
QN_API DWORD HashImageName(std::u16string_view name);

// Who makes bitmaps of sources. Each is the caller's, null when there is none.
class HTMLBitmapLoader {
public:
    virtual ~HTMLBitmapLoader() = default;
    virtual HBITMAP BitmapOfFile(LPCWSTR pszPath) = 0;
    virtual HBITMAP BitmapOfResource(HINSTANCE hInstance, WORD wId) = 0;
    virtual HBITMAP BitmapOfIcon(HINSTANCE hInstance, WORD wId) = 0;
    virtual HBITMAP BitmapOfSwatch(DWORD number) = 0;
};

// Thread of the window. All pictures belong to it; what it gives is valid until Clear.
class QN_API HTMLGridImages {
public:
    explicit HTMLGridImages(HTMLBitmapLoader& loader);
    ~HTMLGridImages();
    HTMLGridImages(const HTMLGridImages&) = delete;
    HTMLGridImages& operator=(const HTMLGridImages&) = delete;

    // Ends with one backslash; null is none.
    void SetRoot(LPCWSTR pszRoot);
    LPCWSTR GetRoot() const { return m_Root.c_str(); }
    // Null: the library's own.
    void SetInstance(HINSTANCE hInstance) { m_hInstance = hInstance; }
    HINSTANCE GetInstance() const { return m_hInstance; }

    // Null when there is none; `bFromResource` tells scaling about PNG files and resources.
    CHTMLImage* Find(std::u16string_view source, BYTE& bFromResource);

    // The picture that is there, or loaded now.
    HBITMAP Bitmap(WORD wId); // or else the icon
    HBITMAP Icon(WORD wId);
    HBITMAP BitmapFile(std::u16string_view name);
    HBITMAP Swatch(std::u16string_view source, DWORD number);
    PNGPicture* Png(WORD wId);
    PNGPicture* PngFile(std::u16string_view name);

    // The one image of a bitmap or picture; null when there is nothing to draw.
    CHTMLImage* Image(HBITMAP bitmap);
    CHTMLImage* Image(PNGPicture* picture);
    void Clear();

private:
    using Bitmaps = std::map<DWORD, HBITMAP>;
    using Pngs = std::map<DWORD, std::unique_ptr<PNGPicture>>;

    HINSTANCE Instance() const;
    std::u16string PathOf(std::u16string_view name) const;
    template<class T>
    CHTMLImage* ImageOf(T picture);
    template<class... Source>
    static PNGPicture* KeepPng(Pngs& pngs, DWORD key, Source... source);

    HTMLBitmapLoader& m_Loader;
    std::u16string m_Root;
    HINSTANCE m_hInstance = nullptr;
    Bitmaps m_BitmapIds, m_BitmapNames;
    Pngs m_PngIds, m_PngNames;
    std::vector<std::unique_ptr<CHTMLImage>> m_Images;
};
