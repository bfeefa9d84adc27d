#include "QNGridCtrl/PNGScale.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

namespace {

using Counts = std::vector<DWORD>;

// How many pixels of the target each one of the source makes; at least one is made.
Counts TargetCounts(DWORD side, DWORD ratio, DWORD& target) {
    Counts counts(side);
    const auto edge = [ratio](unsigned long long i) { return static_cast<DWORD>(i * ratio >> 12); };
    for (DWORD i = 0; i < side; ++i) counts[i] = edge(i + 1ULL) - edge(i);
    target = edge(side);
    if (target == 0) counts.back() = target = 1;
    return counts;
}

bool DropsAny(const Counts& counts) { return std::ranges::find(counts, 0u) != counts.end(); }

std::size_t RowBytes(DWORD width) { return (std::size_t{width} * 3 + 1) & ~std::size_t{1}; }

struct Rows {
    explicit Rows(PNGImage& i) : image(i), bytes(RowBytes(i.width)) {}
    BYTE* Pixels(DWORD y) const { return image.pixels.data() + y * bytes; }
    BYTE* Alpha(DWORD y) const { return image.alpha.data() + std::size_t{y} * image.width; }

    PNGImage& image;
    std::size_t bytes;
};

PNGImage Blank(DWORD width, DWORD height) {
    PNGImage image{width, height, {}, {}};
    image.pixels.assign(RowBytes(width) * height, 0);
    image.alpha.assign(std::size_t{width} * height, 0);
    return image;
}

void RepeatPixels(const BYTE* from, const BYTE* fromAlpha, const Counts& columns, BYTE* to, BYTE* toAlpha) {
    for (std::size_t x = 0; x < columns.size(); ++x)
        for (DWORD n = columns[x]; n > 0; --n, to += 3) {
            std::memcpy(to, from + x * 3, 3);
            *toAlpha++ = fromAlpha[x];
        }
}

void ScaleNearest(const Rows& from, const Rows& to, const Counts& columns, const Counts& rows) {
    DWORD y = 0;
    for (DWORD row = 0; row < from.image.height; ++row)
        for (DWORD n = 0; n < rows[row]; ++n, ++y)
            if (n == 0) {
                RepeatPixels(from.Pixels(row), from.Alpha(row), columns, to.Pixels(y), to.Alpha(y));
            } else {
                std::memcpy(to.Pixels(y), to.Pixels(y - 1), to.bytes);
                std::memcpy(to.Alpha(y), to.Alpha(y - 1), to.image.width);
            }
}

struct Sum {
    std::array<unsigned long long, 4> channels{}; // B, G, R, alpha
    DWORD pixels = 0;
};

// A source pixel belongs to the target pixel that it or the next one that makes any closes; what follows the last one
// that makes any is dropped.
void AddRow(const BYTE* pixels, const BYTE* alpha, const Counts& columns, std::vector<Sum>& sums) {
    std::size_t target = 0;
    for (std::size_t x = 0; x < columns.size() && target < sums.size(); ++x) {
        Sum& sum = sums[target];
        for (std::size_t c = 0; c < 3; ++c) sum.channels[c] += pixels[x * 3 + c];
        sum.channels[3] += alpha[x];
        ++sum.pixels;
        if (columns[x] != 0) ++target;
    }
}

void WriteMeans(std::vector<Sum>& sums, BYTE* pixels, BYTE* alpha) {
    for (Sum& sum : sums) {
        const DWORD n = std::max<DWORD>(sum.pixels, 1);
        for (std::size_t c = 0; c < 3; ++c) *pixels++ = static_cast<BYTE>(sum.channels[c] / n);
        *alpha++ = static_cast<BYTE>(sum.channels[3] / n);
        sum = {};
    }
}

void ScaleSmooth(const Rows& from, const Rows& to, const Counts& columns, const Counts& rows) {
    std::vector<Sum> sums(to.image.width);
    DWORD y = 0;
    for (DWORD row = 0; row < from.image.height && y < to.image.height; ++row) {
        AddRow(from.Pixels(row), from.Alpha(row), columns, sums);
        if (rows[row] == 0) continue;
        WriteMeans(sums, to.Pixels(y), to.Alpha(y));
        ++y;
    }
}

} // namespace

DWORD ScaleRatio(DWORD from, DWORD to) {
    constexpr unsigned long long kLargest = 0xFFFFFFFF;
    return static_cast<DWORD>(
        std::min((static_cast<unsigned long long>(to) << 12) / std::max<DWORD>(from, 1) + 1, kLargest));
}

bool ScalePNG(PNGImage& image, DWORD xRatio, DWORD yRatio, bool smooth, unsigned long long maxPixels) {
    try {
        const auto side = [](DWORD old, DWORD ratio) {
            return static_cast<unsigned long long>(old) * ratio >> 12;
        };
        const unsigned long long width = side(image.width, xRatio), height = side(image.height, yRatio);
        if (width > maxPixels || height > maxPixels || width * height > maxPixels) return false;
        PNGImage scaled;
        const Counts columns = TargetCounts(image.width, xRatio, scaled.width);
        const Counts rows = TargetCounts(image.height, yRatio, scaled.height);
        scaled = Blank(scaled.width, scaled.height);
        const bool shrinks =
            xRatio <= kScaleOne && yRatio <= kScaleOne && (DropsAny(columns) || DropsAny(rows));
        (smooth && shrinks ? ScaleSmooth : ScaleNearest)(Rows(image), Rows(scaled), columns, rows);
        image = std::move(scaled);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}
