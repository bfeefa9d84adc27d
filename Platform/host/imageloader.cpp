#include "Platform/host/imageloader.h"

#include "Platform/host/surface.h"

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <algorithm>
#include <memory>
#include <new>

namespace plat {
namespace {

// No format packs more pixels than this into a byte; small pictures may.
constexpr long long kMostExpansion = 8320;
constexpr long long kSmall = 1 << 20;
constexpr long long kMostPixels = 64LL << 20;

struct Format {
    std::string_view beginning;
    const char* loader;
};
constexpr Format kFormats[] = {
    {"BM", "bmp"}, {"GIF8", "gif"}, {"\xFF\xD8\xFF", "jpeg"}, {"\x89PNG\r\n\x1A\n", "png"}};

const char* LoaderOf(std::string_view file) {
    for (const Format& format : kFormats)
        if (file.starts_with(format.beginning)) return format.loader;
    return nullptr;
}

struct Unref {
    void operator()(GdkPixbufLoader* loader) const { g_object_unref(loader); }
};
using Loader = std::unique_ptr<GdkPixbufLoader, Unref>;

struct SizeCheck {
    long long mostPixels;
    bool refused = false;
};

// A loader that is asked for nothing gives up before it takes memory for the pixels.
void CheckSize(GdkPixbufLoader* loader, int width, int height, gpointer data) {
    auto& check = *static_cast<SizeCheck*>(data);
    const bool fits = width > 0 && height > 0 && width <= Surface::kLargestSide &&
                      height <= Surface::kLargestSide &&
                      static_cast<long long>(width) * height <= check.mostPixels;
    if (fits) return;
    check.refused = true;
    gdk_pixbuf_loader_set_size(loader, 0, 0);
}

// In parts, so that a size that is too large is seen before much follows it. What has come before damage is kept.
void Feed(GdkPixbufLoader* loader, std::string_view file, const bool& refused) {
    constexpr std::size_t kPart = 4096;
    while (!file.empty() && !refused) {
        const std::string_view part = file.substr(0, kPart);
        file.remove_prefix(part.size());
        const auto* bytes = reinterpret_cast<const guchar*>(part.data());
        if (!gdk_pixbuf_loader_write(loader, bytes, part.size(), nullptr)) return;
    }
    gdk_pixbuf_loader_close(loader, nullptr);
}

BYTE Share(BYTE channel, BYTE alpha) { return static_cast<BYTE>((channel * alpha + 127) / 255); }

void CopyPixels(const GdkPixbuf* source, LoadedImage& image) {
    image.width = gdk_pixbuf_get_width(source);
    image.height = gdk_pixbuf_get_height(source);
    const auto samples = static_cast<std::size_t>(gdk_pixbuf_get_n_channels(source));
    const auto stride = static_cast<std::size_t>(gdk_pixbuf_get_rowstride(source));
    const BYTE* pixels = gdk_pixbuf_read_pixels(source);
    const auto width = static_cast<std::size_t>(image.width), height = static_cast<std::size_t>(image.height);
    image.pixels.resize(width * height * 4);
    BYTE* to = image.pixels.data();
    for (std::size_t y = 0; y < height; ++y) {
        const BYTE* at = pixels + y * stride;
        for (std::size_t x = 0; x < width; ++x, at += samples, to += 4) {
            const BYTE alpha = samples == 4 ? at[3] : BYTE{255};
            for (std::size_t c = 0; c < 3; ++c) to[c] = Share(at[2 - c], alpha);
            to[3] = alpha;
        }
    }
}

} // namespace

bool DecodeImage(std::string_view file, LoadedImage& image) {
    const char* format = LoaderOf(file);
    const Loader loader(format ? gdk_pixbuf_loader_new_with_type(format, nullptr) : nullptr);
    if (!loader) return false;
    const auto most = std::max(static_cast<long long>(file.size()) * kMostExpansion, kSmall);
    SizeCheck check{std::min(most, kMostPixels)};
    g_signal_connect(loader.get(), "size-prepared", G_CALLBACK(&CheckSize), &check);
    Feed(loader.get(), file, check.refused);
    const GdkPixbuf* pixels = check.refused ? nullptr : gdk_pixbuf_loader_get_pixbuf(loader.get());
    if (!pixels || gdk_pixbuf_get_bits_per_sample(pixels) != 8 || gdk_pixbuf_get_n_channels(pixels) < 3)
        return false;
    try {
        CopyPixels(pixels, image);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

} // namespace plat
