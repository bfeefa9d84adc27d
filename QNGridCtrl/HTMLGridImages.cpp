#include "QNGridCtrl/HTMLGridImages.h"

#include "NorvoTools/globals.h"
#include "QNGridCtrl/PNGPicture.h"
#include "Resources/pictures.h"

namespace {

constexpr std::size_t kShortestFile = 5; // "a.bmp"
constexpr std::size_t kExtension = 4;    // with its point

// The picture of what has no category: the suite's own where the user has none of that name.
constexpr std::u16string_view kNoCategoryFile = u"~NoCategory.bmp";

bool IsDigit(WCHAR c) { return c >= u'0' && c <= u'9'; }

// A sign and digits; more than 32 bits wrap.
DWORD NumberIn(std::u16string_view text) {
    const bool negative = text.starts_with(u'-');
    if (negative || text.starts_with(u'+')) text.remove_prefix(1);
    DWORD number = 0;
    for (const WCHAR c : text) {
        if (!IsDigit(c)) break;
        number = number * 10 + (c - u'0');
    }
    return negative ? 0 - number : number;
}

bool IsFileName(std::u16string_view source, std::size_t rootLength) {
    return source.size() >= kShortestFile && source.size() + rootLength < MAX_PATH &&
           source[source.size() - kExtension] == u'.';
}

template<class Load>
HBITMAP Keep(std::map<DWORD, HBITMAP>& bitmaps, DWORD key, Load load) {
    if (const auto found = bitmaps.find(key); found != bitmaps.end()) return found->second;
    const HBITMAP bitmap = load();
    if (bitmap) bitmaps[key] = bitmap;
    return bitmap;
}

} // namespace

HTMLImageSource ParseImageSource(std::u16string_view source, std::size_t rootLength) {
    using Kind = HTMLImageSource::Kind;
    if (IsFileName(source, rootLength))
        return {PNGPicture::IsPNG(std::u16string(source).c_str()) ? Kind::PngFile : Kind::BitmapFile, 0};
    if (!source.empty() && IsDigit(source[0])) return {Kind::Resource, LOWORD(NumberIn(source))};
    return {Kind::Swatch, source.empty() ? 0 : NumberIn(source.substr(1))};
}

DWORD HashImageName(std::u16string_view name) {
    constexpr DWORD kTop = 0xF0000000;
    DWORD hash = 0;
    for (const WCHAR c : name) {
        hash = c + (c + hash) * 16;
        if (const DWORD top = hash & kTop; top != 0) hash = (hash ^ (top >> 24)) & ~top;
    }
    return hash;
}

HTMLGridImages::HTMLGridImages(HTMLBitmapLoader& loader) : m_Loader(loader) {}

HTMLGridImages::~HTMLGridImages() { Clear(); }

void HTMLGridImages::SetRoot(LPCWSTR pszRoot) {
    m_Root = pszRoot ? pszRoot : u"";
    if (!m_Root.empty() && !m_Root.ends_with(u'\\')) m_Root += u'\\';
}

HINSTANCE HTMLGridImages::Instance() const { return m_hInstance ? m_hInstance : g_hResources; }

std::u16string HTMLGridImages::PathOf(std::u16string_view name) const {
    std::u16string path = name.starts_with(u'\\') ? std::u16string() : m_Root;
    path += name;
    return path;
}

CHTMLImage* HTMLGridImages::Find(std::u16string_view source, BYTE& bFromResource) {
    const HTMLImageSource wanted = ParseImageSource(source, m_Root.size());
    const WORD id = LOWORD(wanted.number);
    bFromResource =
        wanted.kind == HTMLImageSource::Kind::PngFile || wanted.kind == HTMLImageSource::Kind::Resource;
    switch (wanted.kind) {
    case HTMLImageSource::Kind::PngFile:
        return Image(PngFile(source));
    case HTMLImageSource::Kind::BitmapFile:
        if (CHTMLImage* image = Image(BitmapFile(source)); image || source != kNoCategoryFile) return image;
        bFromResource = true;
        return Image(KeepPng(m_PngNames, HashImageName(source), g_hResources, kPictureNoCategory));
    case HTMLImageSource::Kind::Resource:
        if (id == 0) return nullptr;
        return PNGPicture::IsPNG(Instance(), id) ? Image(Png(id)) : Image(Bitmap(id));
    case HTMLImageSource::Kind::Swatch:
        return Image(Swatch(source, wanted.number));
    }
    return nullptr;
}

// --- Loading ------------------------------------------------------------------------------------------------------

HBITMAP HTMLGridImages::Bitmap(WORD wId) {
    const HBITMAP bitmap = Keep(m_BitmapIds, wId, [&] { return m_Loader.BitmapOfResource(Instance(), wId); });
    return bitmap ? bitmap : Icon(wId);
}

HBITMAP HTMLGridImages::Icon(WORD wId) {
    return Keep(m_BitmapIds, wId, [&] { return m_Loader.BitmapOfIcon(Instance(), wId); });
}

HBITMAP HTMLGridImages::BitmapFile(std::u16string_view name) {
    return Keep(m_BitmapNames, HashImageName(name),
                [&] { return m_Loader.BitmapOfFile(PathOf(name).c_str()); });
}

HBITMAP HTMLGridImages::Swatch(std::u16string_view source, DWORD number) {
    return Keep(m_BitmapNames, HashImageName(source), [&] { return m_Loader.BitmapOfSwatch(number); });
}

template<class... Source>
PNGPicture* HTMLGridImages::KeepPng(Pngs& pngs, DWORD key, Source... source) {
    if (const auto found = pngs.find(key); found != pngs.end()) return found->second.get();
    auto picture = std::make_unique<PNGPicture>(source...);
    if (!picture->IsLoaded()) return nullptr;
    return (pngs[key] = std::move(picture)).get();
}

PNGPicture* HTMLGridImages::Png(WORD wId) { return KeepPng(m_PngIds, wId, Instance(), wId); }

PNGPicture* HTMLGridImages::PngFile(std::u16string_view name) {
    const std::u16string path = PathOf(name);
    return KeepPng(m_PngNames, HashImageName(name), path.c_str());
}

// --- Images -------------------------------------------------------------------------------------------------------

template<class T>
CHTMLImage* HTMLGridImages::ImageOf(T picture) {
    if (!picture) return nullptr;
    for (const auto& image : m_Images)
        if (image->IsOf(picture)) return image.get();
    auto image = std::make_unique<CHTMLImage>(picture);
    if (!image->IsValid()) return nullptr;
    return m_Images.emplace_back(std::move(image)).get();
}

CHTMLImage* HTMLGridImages::Image(HBITMAP bitmap) { return ImageOf(bitmap); }
CHTMLImage* HTMLGridImages::Image(PNGPicture* picture) { return ImageOf(picture); }

void HTMLGridImages::Clear() {
    m_Images.clear();
    for (Bitmaps* bitmaps : {&m_BitmapIds, &m_BitmapNames}) {
        for (const auto& bitmap : *bitmaps) DeleteObject(bitmap.second);
        bitmaps->clear();
    }
    m_PngIds.clear();
    m_PngNames.clear();
}
