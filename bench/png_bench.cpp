// Pictures beside libpng in the same run: every pair decodes the same files, as libpng's own writer made them, to
// colours and transparency. The pairs run in turns; the median of their ratios is printed and has a limit.
#include "QNGridCtrl/PNGDecoder.h"
#include "tests/support/libpngpeer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <vector>

namespace {

using Bytes = std::vector<BYTE>;

void Append(png_structp png, png_bytep data, png_size_t size) {
    auto& file = *static_cast<Bytes*>(png_get_io_ptr(png));
    file.insert(file.end(), data, data + size);
}

// With libpng's choice of filters and effort.
Bytes Written(png_uint_32 width, png_uint_32 height, int type,
              const std::function<unsigned(unsigned, unsigned, unsigned)>& sample) {
    Bytes file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &file, Append, nullptr);
    png_set_IHDR(png, info, width, height, 8, type, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    std::vector<png_color> palette;
    for (unsigned i = 0; i < 256; ++i)
        palette.push_back(
            {static_cast<png_byte>(i), static_cast<png_byte>(i * 7), static_cast<png_byte>(255 - i)});
    if (type == PNG_COLOR_TYPE_PALETTE) png_set_PLTE(png, info, palette.data(), 256);
    png_write_info(png, info);
    const unsigned samples = type == PNG_COLOR_TYPE_RGBA ? 4 : 1;
    Bytes row;
    for (unsigned y = 0; y < height; ++y) {
        row.clear();
        for (unsigned x = 0; x < width; ++x)
            for (unsigned s = 0; s < samples; ++s) row.push_back(static_cast<BYTE>(sample(x, y, s)));
        png_write_row(png, row.data());
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
}

// A disc with a soft edge and a slope of colour, as icons are.
unsigned Icon(unsigned x, unsigned y, unsigned s, unsigned turn) {
    const double far = std::hypot(x - 15.5, y - 15.5 - turn % 3);
    if (s == 3) return static_cast<unsigned>(std::clamp((15.0 - far) * 128, 0.0, 255.0));
    return far > 15 ? 0 : (60 + turn * 20 + y * (s + 3)) & 0xFF;
}

// Slopes, waves and a little noise, as photographs are.
unsigned Photo(unsigned x, unsigned y, unsigned s) {
    const unsigned noise = (x * 7919 + y * 104729 + s) * 2654435761u >> 29;
    if (s == 3) return x < 700 ? 255 : 255 - (x - 700) / 2;
    return static_cast<unsigned>(128 + 90 * std::sin(x * 0.011 + s) * std::cos(y * 0.007)) + noise;
}

std::vector<Bytes> Icons(int type) {
    std::vector<Bytes> files;
    for (unsigned turn = 0; turn < 24; ++turn)
        files.push_back(Written(32, 32, type,
                                [turn](unsigned x, unsigned y, unsigned s) { return Icon(x, y, s, turn); }));
    return files;
}

// Of this thread's processor: others may run beside it.
double Now() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double SecondsOf(const std::vector<Bytes>& files, int rounds, bool ours) {
    const double start = Now();
    for (int i = 0; i < rounds; ++i)
        for (const Bytes& file : files) {
            if (!ours) {
                if (DecodeWithLibpng(file).empty()) std::abort();
                continue;
            }
            PNGImage image;
            if (DecodePNG(file, 1u << 26, image) != 0) std::abort();
        }
    return Now() - start;
}

double Median(std::vector<double> values) {
    std::ranges::nth_element(values, values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2));
    return values[values.size() / 2];
}

// True within the limit.
bool Compare(const char* name, const std::vector<Bytes>& files, int rounds, double limit) {
    std::vector<double> ours, theirs, ratios;
    for (int turn = 0; turn < 31; ++turn) {
        ours.push_back(SecondsOf(files, rounds, true));
        theirs.push_back(SecondsOf(files, rounds, false));
        ratios.push_back(ours.back() / theirs.back());
    }
    const double count = static_cast<double>(rounds) * static_cast<double>(files.size());
    const double ratio = Median(ratios);
    std::printf("%-24s %9.1f us, libpng %9.1f us, ratio %.2f (at most %.2f)%s\n", name,
                Median(ours) / count * 1e6, Median(theirs) / count * 1e6, ratio, limit,
                ratio <= limit ? "" : "  TOO SLOW");
    return ratio <= limit;
}

} // namespace

int main() {
    const bool results[] = {
        Compare("icons 32x32 RGBA", Icons(PNG_COLOR_TYPE_RGBA), 40, 0.75),
        Compare("icons 32x32 palette", Icons(PNG_COLOR_TYPE_PALETTE), 40, 0.8),
        Compare("palette 512x512",
                {Written(512, 512, PNG_COLOR_TYPE_PALETTE,
                         [](unsigned x, unsigned y, unsigned s) { return Photo(x, y, s); })},
                4, 0.8),
        Compare("1024x1024 RGBA", {Written(1024, 1024, PNG_COLOR_TYPE_RGBA, Photo)}, 1, 1.0),
    };
    return std::ranges::find(results, false) == std::end(results) ? 0 : 1;
}
